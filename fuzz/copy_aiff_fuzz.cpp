// Fuzz entry for the AIFF container rebuild: any bytes as the source form, written with a new
// tag chunk (after the sound data or at the end of the form, with and without -iac) and
// without one. The rebuild may refuse, but never reads past its input and never writes more
// than the input plus the new chunk.
#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/file_reader.h"
#include "base/file_writer.h"
#include "quiet_logger.h"
#include "tags/aiff_container.h"
#include "tags/id3_tag.h"
#include "tags/id3v2_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagwick;
    quietLogger();
    static const int input = memfd_create("copy_aiff_input", 0);
    static const int output = memfd_create("copy_aiff_output", 0);
    if (input < 0 || output < 0 || ftruncate(input, 0) != 0 || pwrite(input, data, size, 0) != ssize_t(size))
        return 0;
    const std::string inputPath = "/proc/self/fd/" + std::to_string(input);

    ID3Tag track;
    track.isAiff = true;
    track.v2.title = TextValue::latin1("Fuzzed");
    const uint64_t newChunk = 8 + buildV2Tag(track, 3, false, 0).size();
    for (int variant = 0; variant < 5; ++variant) {
        track.chunkAfterSound = variant % 2 == 0;
        track.ignoreAiffCorruption = variant >= 2;
        FileReader source;
        if (!source.open(inputPath.c_str())) return 0;
        if (ftruncate(output, 0) != 0) return 0;
        FileWriter out(output);
        if (variant < 4) writeAiffWithTag(track, source, out, 3, false, 0);
        else writeAiffWithoutTag(track, source, out);
        if (!out.flush()) __builtin_trap();
        // An odd chunk cut short gains its pad byte back.
        struct stat written {};
        if (fstat(output, &written) != 0 || uint64_t(written.st_size) > size + newChunk + 1) __builtin_trap();
    }
    return 0;
}
