// Picture headers of any shape through the size probe and the kind test. A failed probe may keep
// a width or height it found before the bytes ran out (only `ok` tells success), so the probe is
// only held to what the sanitizers check.
#include <cstdint>

#include "export/image_probe.h"
#include "quiet_logger.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    quietLogger();
    tagwick::Bytes bytes(data, size);
    (void)tagwick::probeImageSize(bytes);
    (void)tagwick::imageKind(bytes);
    return 0;
}
