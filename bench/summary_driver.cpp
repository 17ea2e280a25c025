// Runs the stream summary alone over files read through the track reader, as the track
// opening does, so that its cost can be measured apart from the rest of the program.
//
//   summary_driver [-mode 0|1|2] file...
//
// Prints one line per file: frames, bit rate text and length text.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/bytes.h"
#include "base/file_reader.h"
#include "mpeg/mpeg_info.h"

using namespace tagwick;

namespace {

// Where the search for the first frame begins: after an ID3v2 tag at the start.
uint64_t tagEnd(FileReader& file) {
    const Bytes head = file.view(0, 10);
    if (head.size() < 10 || !startsWith(head, 0, "ID3")) return 0;
    const uint64_t end = 10 + syncsafeAt(head, 6) + ((head[5] & 0x10) ? 10 : 0);
    return end < file.size() ? end : file.size();
}

}  // namespace

int main(int argc, char** argv) {
    int first = 1;
    ScanMode mode = ScanMode::Full;
    if (argc > 2 && std::strcmp(argv[1], "-mode") == 0) {
        mode = ScanMode(std::atoi(argv[2]));
        first = 3;
    }
    int status = 0;
    for (int i = first; i < argc; ++i) {
        FileReader file;
        if (!file.open(argv[i])) {
            std::fprintf(stderr, "summary_driver: cannot open '%s'\n", argv[i]);
            status = 1;
            continue;
        }
        MpegInfo info;
        if (!loadMpegInfo(info, file, tagEnd(file), mode, nullptr, argv[i])) {
            std::printf("%s: no MPEG frame\n", argv[i]);
            continue;
        }
        std::printf("%s: %u frames, %s, %s\n", argv[i], info.frameCount, info.bitrateText.c_str(),
                    info.lengthText.c_str());
    }
    return status;
}
