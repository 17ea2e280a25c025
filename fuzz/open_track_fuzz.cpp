// Opens the input as a track named as an MP3, an AIFF and a tag data file, the way the display
// opens a track: kind check, version 1 and 2 tags, chunk walk and summary. The AIFF is opened
// twice, overlooking its size errors and not (the setting means nothing to the other kinds).
//
// The input is written once into a scratch file through a descriptor kept open, and the three
// names are links to it, so an input costs two system calls besides the opens it is about.
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "quiet_logger.h"
#include "tags/id3_tag.h"

namespace {

// One scratch folder per process, removed with its files at exit.
struct Scratch {
    std::string folder;
    int data = -1;
    Scratch() {
        char pattern[] = "/tmp/tagwick-open-fuzz.XXXXXX";
        if (!mkdtemp(pattern)) return;
        folder = pattern;
        for (const char* name : {"track.mp3", "track.aif", "track.tdf"})
            if (symlink("data", (folder + "/" + name).c_str()) != 0) return;
        data = open((folder + "/data").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    }
    ~Scratch() {
        std::error_code ignored;
        if (!folder.empty()) std::filesystem::remove_all(folder, ignored);
    }
};

void openAs(const std::string& path, bool ignoreCorruption) {
    tagwick::ID3Tag track;
    track.ignoreAiffCorruption = ignoreCorruption;
    track.tagTypeMode = 2;
    track.open(path.c_str());
    // What the display reads afterwards must be usable.
    (void)track.frequencyKHz();
    (void)track.tagVersionText.size();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    quietLogger();
    static const Scratch scratch;
    if (scratch.data < 0 || ftruncate(scratch.data, off_t(size)) != 0 ||
        pwrite(scratch.data, data, size, 0) != ssize_t(size))
        return 0;
    openAs(scratch.folder + "/track.mp3", true);
    openAs(scratch.folder + "/track.tdf", true);
    openAs(scratch.folder + "/track.aif", true);
    openAs(scratch.folder + "/track.aif", false);
    return 0;
}
