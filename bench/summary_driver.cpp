// Runs the stream summary alone over mapped files, as the track opening does, so that its cost
// can be measured apart from the rest of the program.
//
//   summary_driver [-mode 0|1|2] file...
//
// Prints one line per file: frames, bit rate text and length text.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/bytes.h"
#include "mpeg/mpeg_info.h"

using namespace tagwick;

namespace {

class MappedFile {
public:
    explicit MappedFile(const char* path) {
        fd_ = open(path, O_RDONLY);
        if (fd_ < 0) return;
        struct stat st {};
        if (fstat(fd_, &st) != 0) return;
        size_ = size_t(st.st_size);
        if (size_ == 0) {
            valid_ = true;
            return;
        }
        void* data = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd_, 0);
        if (data == MAP_FAILED) return;
        data_ = static_cast<const uint8_t*>(data);
        valid_ = true;
    }
    ~MappedFile() {
        if (data_) munmap(const_cast<uint8_t*>(data_), size_);
        if (fd_ >= 0) close(fd_);
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    bool valid() const { return valid_; }
    Bytes bytes() const { return {data_, size_}; }

private:
    int fd_ = -1;
    const uint8_t* data_ = nullptr;
    size_t size_ = 0;
    bool valid_ = false;
};

// Where the search for the first frame begins: after an ID3v2 tag at the start.
size_t tagEnd(Bytes file) {
    if (!startsWith(file, 0, "ID3") || file.size() < 10) return 0;
    size_t end = 10 + syncsafeAt(file, 6) + ((file[5] & 0x10) ? 10 : 0);
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
        MappedFile file(argv[i]);
        if (!file.valid()) {
            std::fprintf(stderr, "summary_driver: cannot map '%s'\n", argv[i]);
            status = 1;
            continue;
        }
        MpegInfo info;
        if (!loadMpegInfo(info, file.bytes(), tagEnd(file.bytes()), mode, nullptr, argv[i])) {
            std::printf("%s: no MPEG frame\n", argv[i]);
            continue;
        }
        std::printf("%s: %u frames, %s, %s\n", argv[i], info.frameCount, info.bitrateText.c_str(),
                    info.lengthText.c_str());
    }
    return status;
}
