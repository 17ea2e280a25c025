// Picture headers of any shape through the size probe and the kind test.
#include <cstdint>
#include <cstdio>

#include "base/logger.h"
#include "export/image_probe.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FILE* sink = [] {
        FILE* f = std::fopen("/dev/null", "w");
        tagwick::Logger::setConsoleStreams(f, f);
        tagwick::Logger::setMaxLevel(3);
        return f;
    }();
    (void)sink;
    tagwick::Bytes bytes(data, size);
    tagwick::ImageSize image = tagwick::probeImageSize(bytes);
    if (!image.ok && (image.width != 0 || image.height != 0 || image.bitsPerPixel != 0)) __builtin_trap();
    (void)tagwick::imageKind(bytes);
    return 0;
}
