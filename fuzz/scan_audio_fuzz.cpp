// Fuzz entry for the stream checker: the check walk and its report over any bytes, then the
// rebuild walk of the same bytes into a scratch descriptor.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "mpeg/stream_checker.h"

namespace {

int scratchDescriptor() {
    static int fd = [] {
        int made = memfd_create("scan_audio_fuzz", 0);
        if (made < 0) {
            FILE* file = std::tmpfile();  // kept open for the whole run
            made = file ? fileno(file) : -1;
        }
        return made;
    }();
    return fd;
}

FILE* nullStream() {
    static FILE* stream = std::fopen("/dev/null", "w");
    return stream;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagwick;

    std::vector<uint8_t> copy(data, data + size);
    CheckStats checked;
    if (scanAudio(copy, checked, nullStream(), false, -1) != 0) __builtin_trap();
    printReport(nullStream(), checked, false);
    // Checking must never change the data it walks.
    if (!std::equal(copy.begin(), copy.end(), data)) __builtin_trap();

    const int fd = scratchDescriptor();
    if (fd < 0) return 0;
    if (ftruncate(fd, 0) != 0 || lseek(fd, 0, SEEK_SET) != 0) return 0;
    std::vector<uint8_t> mutableCopy(data, data + size);
    CheckStats rebuilt;
    if (scanAudio(mutableCopy, rebuilt, nullptr, true, fd) != 0) __builtin_trap();
    // Corrected CRC bytes may change what a later run search sees, so the two walks are not
    // compared count for count.
    if (rebuilt.errorCount != 1) __builtin_trap();
    if (rebuilt.framesDropped < 0 || rebuilt.framesDropped > rebuilt.totalFrames()) __builtin_trap();
    return 0;
}
