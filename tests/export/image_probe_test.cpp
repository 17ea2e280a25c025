// Picture header probing: sizes and bits per pixel, the program's own JPEG offsets and reversed
// TIFF byte order, and when the probe complains or stays silent.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "export/image_probe.h"
#include "support/log_capture.h"
#include "support/tag_builders.h"

namespace tagwick {
namespace {

using namespace tagwick::support;

ByteVec cut(ByteVec bytes, size_t length) {
    bytes.resize(length);
    return bytes;
}

ByteVec with(ByteVec bytes, size_t at, std::initializer_list<uint8_t> values) {
    std::copy(values.begin(), values.end(), bytes.begin() + long(at));
    return bytes;
}

TEST(ImageProbe, SizeAndComplaint) {
    struct Case {
        const char* name;
        ByteVec bytes;
        bool ok;
        uint32_t width, height, bitsPerPixel;
        bool complains;  // "Invalid picture header for size" at the warning level; else nothing logged
    };
    const uint16_t segments[] = {20, 9};
    for (const Case& c : std::vector<Case>{
             {"PngPaletteAsRgb", pngImage(640, 480, 16, 3), true, 640, 480, 48, false},
             {"PngRgbAlphaDepth8Is32Bits", pngImage(1, 2, 8, 6), true, 1, 2, 32, false},
             {"Png25BytesAreTooFew", cut(pngImage(7, 9), 25), false, 0, 0, 0, false},
             {"PngWithoutIhdr", with(pngImage(7, 9), 12, {'X'}), false, 0, 0, 0, false},
             // At C0 counted from its FF: height from bytes 3-4, width from 5-6, bits byte 2 times byte 7.
             {"JpegBitsAreByte2TimesByte7",
              with(with(ByteVec(40, 0), 0, {0xFF, 0xD8}), 20, {0xFF, 0xC0, 3, 0, 0x64, 0, 0xC8, 8}), true, 0xC8, 0x64,
              24, false},
             // The step is 2 plus the 16-bit value at bytes 4-5 counted from the FF.
             {"JpegStepsOverSegments", jpegImage(300, 200, 1, segments), true, 200, (11u << 8) | 8u, 0, false},
             {"JpegWithoutMarkerAt20", with(jpegImage(300, 200), 20, {0}), false, 0, 0, 0, true},
             {"Jpeg21BytesAreTooFew", cut(jpegImage(300, 200), 21), false, 0, 0, 0, false},
             {"JpegFrameHeaderCutShort", cut(jpegImage(300, 200, 3, {}, 0), 24), false, 0, 0, 0, true},
             {"BmpLittleEndian", bmpImage(0x00012345, 0x321, 32, 0), true, 0x00012345, 0x321, 32, false},
             // "MM" data is read little-endian and "II" data big-endian.
             {"TiffMotorolaMark", tiffImage(true, 1200, 800), true, 1200, 800, 0, false},
             {"TiffIntelMark", tiffImage(false, 1200, 800), true, 1200, 800, 0, false},
             {"TiffInItsConventionalOrder", with(tiffImage(false, 1200, 800), 0, {'M', 'M'}), false, 0, 0, 0, false},
             // A size met before the end stays in the outputs, though the probe is not ok.
             {"TiffWithoutHeight", with(tiffImage(true, 10, 20), 26, {2}), false, 10, 0, 0, true},
             {"UnknownSignature", ByteVec{'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'E', 'B', 'P'}, false, 0, 0, 0, true},
             {"FewerThanFourBytes", ByteVec{'G', 'I', 'F'}, false, 0, 0, 0, false}}) {
        LogCapture log;
        ImageSize size = probeImageSize(Bytes(c.bytes));
        EXPECT_EQ(std::tuple(size.ok, size.width, size.height, size.bitsPerPixel),
                  std::tuple(c.ok, c.width, c.height, c.bitsPerPixel)) << c.name;
        EXPECT_EQ(log.messages().size(), c.complains ? 1u : 0u) << c.name << log.text();
        EXPECT_EQ(log.has(LogWarning, "Invalid picture header for size"), c.complains) << c.name;
    }
}

TEST(ImageKind, FromTheFirstBytes) {
    // The little-endian TIFF mark is not recognised here.
    for (auto [bytes, kind] : std::vector<std::pair<ByteVec, int>>{
             {{0xFF, 0xD8}, 1}, {{'G', 'I', 'F', '8'}, 2}, {{'M', 'M', 0, 42}, 3}, {{'I', 'I', 42, 0}, -1},
             {{0x89, 'P', 'N', 'G'}, 4}, {{'B', 'M', 0, 0}, -1}, {{}, -1}})
        EXPECT_EQ(imageKind(Bytes(bytes)), kind) << testing::PrintToString(bytes);
}

}  // namespace
}  // namespace tagwick
