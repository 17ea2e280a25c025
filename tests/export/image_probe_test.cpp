// Picture header probing: sizes and bits per pixel of JPEG, PNG, GIF, BMP and TIFF headers,
// the program's own JPEG offsets and reversed TIFF byte order, and when the probe complains.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "export/image_probe.h"
#include "support/log_capture.h"
#include "support/tag_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;

ByteVec cut(ByteVec bytes, size_t length) {
    bytes.resize(length);
    return bytes;
}

ByteVec with(ByteVec bytes, size_t at, std::initializer_list<uint8_t> values) {
    std::copy(values.begin(), values.end(), bytes.begin() + long(at));
    return bytes;
}

struct ProbeCase {
    const char* name;
    ByteVec bytes;
    bool ok;
    uint32_t width, height, bitsPerPixel;
    bool complains;  // "Invalid picture header for size" at the warning level; else nothing logged
};

class ImageProbe : public testing::TestWithParam<ProbeCase> {};

TEST_P(ImageProbe, SizeAndComplaint) {
    const ProbeCase& c = GetParam();
    support::LogCapture log;
    ImageSize size = probeImageSize(Bytes(c.bytes));
    EXPECT_EQ(std::tuple(size.ok, size.width, size.height, size.bitsPerPixel),
              std::tuple(c.ok, c.width, c.height, c.bitsPerPixel));
    EXPECT_EQ(log.messages().size(), c.complains ? 1u : 0u) << log.text();
    EXPECT_EQ(log.has(LogWarning, "Invalid picture header for size"), c.complains);
}

std::vector<ProbeCase> probeCases() {
    using support::jpegImage;
    using support::pngImage;
    const uint16_t segments[] = {20, 9};
    ByteVec riff = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'E', 'B', 'P'};
    return {
        // PNG: bit depth times 3 for colour types 2 and 3, 4 for 6, 2 for 4, 1 otherwise.
        {"PngGreyAndOtherTypes", pngImage(640, 480, 4, 0), true, 640, 480, 4, false},
        {"PngPaletteAsRgb", pngImage(640, 480, 16, 3), true, 640, 480, 48, false},
        {"PngGreyAlpha", pngImage(640, 480, 8, 4), true, 640, 480, 16, false},
        {"PngRgbAlphaDepth8Is32Bits", pngImage(1, 2, 8, 6), true, 1, 2, 32, false},
        {"PngSizesAreBigEndian32", pngImage(0x01020304, 0x00A0B0C0), true, 0x01020304, 0x00A0B0C0, 24, false},
        {"Png26BytesAreEnough", cut(pngImage(7, 9), 26), true, 7, 9, 24, false},
        {"Png25BytesAreTooFew", cut(pngImage(7, 9), 25), false, 0, 0, 0, false},
        {"PngWithoutIhdr", with(pngImage(7, 9), 12, {'X'}), false, 0, 0, 0, false},
        // JPEG, at C0 counted from its FF: height from bytes 3-4, width from 5-6, bits byte 2 times
        // byte 7. On a standard frame header (length 17, precision 8) that is: height = 17 << 8 | 8,
        // width = the real height, bits = the length's high byte times the real width's high byte.
        {"JpegProgramOffsets", jpegImage(0x0280, 0x01E0, 3), true, 0x01E0, (17u << 8) | 8u, 0, false},
        // 100 components make the frame header 308 (0x0134) bytes long.
        {"JpegBitsFromLengthAndWidthHighBytes", jpegImage(0x0280, 0x01E0, 100), true, 0x01E0, 0x3408, 2, false},
        {"JpegBitsAreByte2TimesByte7",
         with(with(ByteVec(40, 0), 0, {0xFF, 0xD8}), 20, {0xFF, 0xC0, 0x03, 0x00, 0x64, 0x00, 0xC8, 0x08}), true, 0xC8,
         0x64, 24, false},
        // The step is 2 plus the 16-bit value at bytes 4-5 counted from the FF.
        {"JpegStepsOverSegments", jpegImage(300, 200, 1, segments), true, 200, (11u << 8) | 8u, 0, false},
        {"JpegSegmentWithoutLengthCopy",
         [] {
             ByteVec jpeg = jpegImage(300, 200, 3);
             ByteVec segment = {0xFF, 0xE1, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00};
             jpeg.insert(jpeg.begin() + 20, segment.begin(), segment.end());
             return jpeg;
         }(),
         false, 0, 0, 0, true},
        {"JpegWithoutMarkerAt20", with(jpegImage(300, 200), 20, {0}), false, 0, 0, 0, true},
        {"Jpeg21BytesAreTooFew", cut(jpegImage(300, 200), 21), false, 0, 0, 0, false},
        {"JpegFrameHeaderCutShort", cut(jpegImage(300, 200, 3, {}, 0), 24), false, 0, 0, 0, true},
        {"GifSizesAreLittleEndian16", support::gifImage(0x0102, 0x0304), true, 0x0102, 0x0304, 0, false},
        {"Gif10BytesAreEnough", support::gifImage(5, 6, 0), true, 5, 6, 0, false},
        {"Gif9BytesAreTooFew", cut(support::gifImage(5, 6, 0), 9), false, 0, 0, 0, false},
        {"BmpLittleEndian", support::bmpImage(0x00012345, 0x321, 32, 0), true, 0x00012345, 0x321, 32, false},
        {"Bmp29BytesAreTooFew", cut(support::bmpImage(8, 8, 24, 0), 29), false, 0, 0, 0, false},
        // TIFF: "MM" data is read little-endian and "II" data big-endian.
        {"TiffMotorolaMarkReadLittleEndian", support::tiffImage(true, 1200, 800), true, 1200, 800, 0, false},
        {"TiffIntelMarkReadBigEndian", support::tiffImage(false, 1200, 800), true, 1200, 800, 0, false},
        // "MM" laid out big-endian: the directory offset 8 reads as 0x08000000, beyond the data.
        {"TiffInItsConventionalOrder", with(support::tiffImage(false, 1200, 800), 0, {'M', 'M'}), false, 0, 0, 0,
         false},
        // A size met before the end was reached stays in the outputs, though the probe is not ok.
        {"TiffWithoutHeight", with(support::tiffImage(true, 10, 20), 26, {2}), false, 10, 0, 0, true},
        {"TiffZeroWidthKeepsLooking", support::tiffImage(true, 0, 20), false, 0, 20, 0, true},
        {"UnknownSignature", riff, false, 0, 0, 0, true},
        {"FewerThanFourBytes", ByteVec{'G', 'I', 'F'}, false, 0, 0, 0, false},
    };
}

INSTANTIATE_TEST_SUITE_P(Cases, ImageProbe, testing::ValuesIn(probeCases()),
                         [](const testing::TestParamInfo<ProbeCase>& info) { return std::string(info.param.name); });

TEST(ImageKind, FromTheFirstBytes) {
    struct Case {
        std::vector<uint8_t> bytes;
        int kind;
    };
    for (const Case& c : {Case{{0xFF, 0xD8}, 1}, Case{{'G', 'I', 'F', '8'}, 2},
                          Case{{'M', 'M', 0, 42}, 3}, Case{{'I', 'I', 42, 0}, -1},
                          Case{{0x89, 'P', 'N', 'G'}, 4}, Case{{0x89, 'P', 'N'}, -1},
                          Case{{'B', 'M', 0, 0}, -1}, Case{{'g', 'i', 'f', '8'}, -1},
                          Case{{0xFF}, -1}, Case{{}, -1}})
        EXPECT_EQ(imageKind(Bytes(c.bytes)), c.kind) << testing::PrintToString(c.bytes);
}

}  // namespace
}  // namespace tagwick
