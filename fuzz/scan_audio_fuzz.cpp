// Fuzz entry for the stream checker: the check walk and its report over any bytes, then the
// rebuild walk of the same bytes into a scratch descriptor. The report goes to no stream, so
// its lines are built but never formatted.
#include <cstdint>
#include <cstdio>
#include <sys/mman.h>
#include <unistd.h>

#include "mpeg/stream_checker.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagwick;

    const Bytes bytes(data, size);
    CheckStats checked;
    if (scanAudio(bytes, checked, nullptr, false, -1) != 0) __builtin_trap();
    printReport(nullptr, checked, false);

    static const int fd = memfd_create("scan_audio_fuzz", 0);
    if (fd < 0) return 0;
    if (ftruncate(fd, 0) != 0 || lseek(fd, 0, SEEK_SET) != 0) return 0;
    CheckStats rebuilt;
    if (scanAudio(bytes, rebuilt, nullptr, true, fd) != 0) __builtin_trap();
    // The rebuild walks the same bytes as the check (corrections go to the output only), so it
    // meets the same frames; it only leaves some of them out.
    if (rebuilt.frameCounts != checked.frameCounts) __builtin_trap();
    if (rebuilt.errorCount != 1) __builtin_trap();
    if (rebuilt.framesDropped < 0 || rebuilt.framesDropped > rebuilt.totalFrames()) __builtin_trap();
    return 0;
}
