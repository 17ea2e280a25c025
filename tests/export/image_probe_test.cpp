// Picture header probing: sizes and bits per pixel of JPEG, PNG, GIF, BMP and TIFF headers,
// the program's own JPEG offsets and reversed TIFF byte order, and when the probe complains.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "base/logger.h"
#include "export/image_probe.h"
#include "support/tag_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;

constexpr const char* InvalidHeader = "Invalid picture header for size";

// Collects what the Logger writes (no log file is open, so it goes to the error stream).
class LogCapture {
public:
    LogCapture() {
        Logger::resetForTests();
        file_ = std::tmpfile();
        Logger::setConsoleStreams(nullptr, file_);
        Logger::setMaxLevel(3);
    }
    ~LogCapture() {
        Logger::resetForTests();
        std::fclose(file_);
    }
    std::string text() const {
        std::fflush(file_);
        std::string out;
        std::rewind(file_);
        char buffer[512];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, file_)) > 0) out.append(buffer, n);
        return out;
    }

private:
    FILE* file_ = nullptr;
};

ImageSize probe(const ByteVec& bytes) { return probeImageSize(Bytes(bytes)); }

// ---------------------------------------------------------------- PNG

struct PngCase {
    const char* name;
    uint8_t depth;
    uint8_t colourType;
    uint32_t bitsPerPixel;
};

class PngBits : public testing::TestWithParam<PngCase> {};

TEST_P(PngBits, DepthTimesChannelsOfColourType) {
    const PngCase& c = GetParam();
    ImageSize size = probe(support::pngImage(640, 480, c.depth, c.colourType));
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.width, 640u);
    EXPECT_EQ(size.height, 480u);
    EXPECT_EQ(size.bitsPerPixel, c.bitsPerPixel);
}

INSTANTIATE_TEST_SUITE_P(ImageProbe, PngBits,
                         testing::Values(PngCase{"Grey8", 8, 0, 8}, PngCase{"Rgb8", 8, 2, 24},
                                         PngCase{"Palette8", 8, 3, 24}, PngCase{"GreyAlpha8", 8, 4, 16},
                                         PngCase{"RgbAlpha8", 8, 6, 32}, PngCase{"Rgb16", 16, 2, 48},
                                         PngCase{"RgbAlpha16", 16, 6, 64}, PngCase{"UnknownType5", 8, 5, 8},
                                         PngCase{"UnknownType7", 4, 7, 4}),
                         [](const testing::TestParamInfo<PngCase>& info) { return std::string(info.param.name); });

TEST(ImageProbe, PngColourType6Depth8Is32Bits) {
    ImageSize size = probe(support::pngImage(1, 2, 8, 6));
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.bitsPerPixel, 32u);
    EXPECT_EQ(size.width, 1u);
    EXPECT_EQ(size.height, 2u);
}

TEST(ImageProbe, PngSizesAreBigEndian32) {
    ImageSize size = probe(support::pngImage(0x01020304, 0x00A0B0C0));
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.width, 0x01020304u);
    EXPECT_EQ(size.height, 0x00A0B0C0u);
}

TEST(ImageProbe, Png24BytesIsNotOkAndSilent) {
    LogCapture log;
    ByteVec png = support::pngImage(100, 100);
    png.resize(24);
    ImageSize size = probe(png);
    EXPECT_FALSE(size.ok);
    EXPECT_EQ(size.width, 0u);
    EXPECT_EQ(size.height, 0u);
    EXPECT_EQ(log.text(), "");
}

TEST(ImageProbe, Png26BytesIsEnough) {
    ByteVec png = support::pngImage(7, 9, 8, 2, 0);
    png.resize(26);
    ImageSize size = probe(png);
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.width, 7u);
    EXPECT_EQ(size.bitsPerPixel, 24u);
}

TEST(ImageProbe, PngWithoutIhdrIsNotOkAndSilent) {
    LogCapture log;
    ByteVec png = support::pngImage(100, 100);
    png[12] = 'X';
    ImageSize size = probe(png);
    EXPECT_FALSE(size.ok);
    EXPECT_EQ(size.width, 0u);
    EXPECT_EQ(log.text(), "");
}

// ---------------------------------------------------------------- JPEG

TEST(ImageProbe, JpegReadsTheProgramsOwnFrameHeaderOffsets) {
    // At the C0 marker the probe takes height from bytes 3-4, width from 5-6 and bits per
    // pixel as byte 2 times byte 7, counted from the FF. On a standard frame header that is:
    // height = low length byte and precision, width = the real height, bits = length high
    // byte times the real width's high byte.
    ByteVec jpeg = support::jpegImage(0x0280, 0x01E0, 3);
    ImageSize size = probe(jpeg);
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.height, (17u << 8) | 8u);  // length 17 (8 + 3 components x 3), precision 8
    EXPECT_EQ(size.width, 0x01E0u);
    EXPECT_EQ(size.bitsPerPixel, 0u);  // the length's high byte is 0
}

TEST(ImageProbe, JpegBitsFromLengthHighByteAndWidthHighByte) {
    // 100 components make the frame header 308 (0x0134) bytes long.
    ByteVec jpeg = support::jpegImage(0x0280, 0x01E0, 100);
    ImageSize size = probe(jpeg);
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.height, (0x34u << 8) | 8u);
    EXPECT_EQ(size.width, 0x01E0u);
    EXPECT_EQ(size.bitsPerPixel, 0x01u * 0x02u);
}

TEST(ImageProbe, JpegBitsAreByte2TimesByte7) {
    ByteVec jpeg(40, 0);
    jpeg[0] = 0xFF;
    jpeg[1] = 0xD8;
    const uint8_t frame[] = {0xFF, 0xC0, 0x03, 0x00, 0x64, 0x00, 0xC8, 0x08};
    std::copy(std::begin(frame), std::end(frame), jpeg.begin() + 20);
    ImageSize size = probe(jpeg);
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.height, 0x0064u);
    EXPECT_EQ(size.width, 0x00C8u);
    EXPECT_EQ(size.bitsPerPixel, 24u);
}

TEST(ImageProbe, JpegStepsBySegmentLengthReadFourBytesAfterTheMarker) {
    const uint16_t segments[] = {20, 9};
    ByteVec jpeg = support::jpegImage(300, 200, 1, segments);
    ImageSize size = probe(jpeg);
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.width, 200u);  // the real height, as the offsets give it
}

TEST(ImageProbe, JpegStandardSegmentWithoutLengthCopyIsInvalid) {
    // A segment whose bytes 4-5 (counted from FF) are zero sends the walk to its own length
    // field, which is not a marker.
    LogCapture log;
    ByteVec jpeg = support::jpegImage(300, 200, 3);
    ByteVec segment = {0xFF, 0xE1, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00};
    jpeg.insert(jpeg.begin() + 20, segment.begin(), segment.end());
    ImageSize size = probe(jpeg);
    EXPECT_FALSE(size.ok);
    EXPECT_NE(log.text().find(InvalidHeader), std::string::npos);
}

TEST(ImageProbe, JpegWithoutMarkerAtByte20IsInvalid) {
    LogCapture log;
    ByteVec jpeg = support::jpegImage(300, 200);
    jpeg[20] = 0x00;
    EXPECT_FALSE(probe(jpeg).ok);
    EXPECT_NE(log.text().find(InvalidHeader), std::string::npos);
}

TEST(ImageProbe, JpegShorterThan22BytesIsSilent) {
    LogCapture log;
    ByteVec jpeg = support::jpegImage(300, 200);
    jpeg.resize(21);
    EXPECT_FALSE(probe(jpeg).ok);
    EXPECT_EQ(log.text(), "");
}

TEST(ImageProbe, JpegWalkRunningPastTheEndIsInvalid) {
    LogCapture log;
    ByteVec jpeg = support::jpegImage(300, 200, 3, {}, 0);
    jpeg.resize(24);  // the frame header's FF C0 is there, its fields are not
    ImageSize size = probe(jpeg);
    EXPECT_FALSE(size.ok);
    EXPECT_EQ(size.width, 0u);
    EXPECT_NE(log.text().find(InvalidHeader), std::string::npos);
}

TEST(ImageProbe, JpegSegmentLoopEndsAtTheData) {
    // Every step points to another non-C0 marker until the data runs out.
    ByteVec jpeg(4096, 0);
    jpeg[0] = 0xFF;
    jpeg[1] = 0xD8;
    for (size_t at = 20; at + 6 <= jpeg.size(); at += 6) {
        jpeg[at] = 0xFF;
        jpeg[at + 1] = 0xE2;
        jpeg[at + 5] = 4;  // step 2 + 4
    }
    LogCapture log;
    EXPECT_FALSE(probe(jpeg).ok);
    EXPECT_NE(log.text().find(InvalidHeader), std::string::npos);
}

// ---------------------------------------------------------------- GIF, BMP

TEST(ImageProbe, GifSizesAreLittleEndian16) {
    ImageSize size = probe(support::gifImage(0x0102, 0x0304));
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.width, 0x0102u);
    EXPECT_EQ(size.height, 0x0304u);
    EXPECT_EQ(size.bitsPerPixel, 0u);
}

TEST(ImageProbe, GifNeedsTenBytes) {
    LogCapture log;
    ByteVec gif = support::gifImage(5, 6, 0);
    ASSERT_EQ(gif.size(), 10u);
    EXPECT_TRUE(probe(gif).ok);
    gif.resize(9);
    EXPECT_FALSE(probe(gif).ok);
    EXPECT_EQ(log.text(), "");
}

TEST(ImageProbe, BmpSizesAndBitsAreLittleEndian) {
    ImageSize size = probe(support::bmpImage(0x00012345, 0x00000321, 32));
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.width, 0x00012345u);
    EXPECT_EQ(size.height, 0x321u);
    EXPECT_EQ(size.bitsPerPixel, 32u);
}

TEST(ImageProbe, BmpNeedsThirtyBytes) {
    ByteVec bmp = support::bmpImage(8, 8, 24, 0);
    ASSERT_EQ(bmp.size(), 30u);
    EXPECT_TRUE(probe(bmp).ok);
    bmp.resize(29);
    EXPECT_FALSE(probe(bmp).ok);
}

// ---------------------------------------------------------------- TIFF

TEST(ImageProbe, TiffMotorolaMarkIsReadLittleEndian) {
    ImageSize size = probe(support::tiffImage(true, 1200, 800));
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.width, 1200u);
    EXPECT_EQ(size.height, 800u);
    EXPECT_EQ(size.bitsPerPixel, 0u);
}

TEST(ImageProbe, TiffIntelMarkIsReadBigEndian) {
    ImageSize size = probe(support::tiffImage(false, 1200, 800));
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.width, 1200u);
    EXPECT_EQ(size.height, 800u);
}

TEST(ImageProbe, TiffInItsConventionalByteOrderIsNotUnderstood) {
    // "MM" data laid out big-endian, as the format itself would have it: the directory offset
    // 8 reads as 0x08000000, far beyond the data.
    ByteVec tiff = support::tiffImage(false, 1200, 800);
    tiff[0] = 'M';
    tiff[1] = 'M';
    LogCapture log;
    EXPECT_FALSE(probe(tiff).ok);
    EXPECT_EQ(log.text(), "");
}

TEST(ImageProbe, TiffDirectoryBeyondTheDataIsSilent) {
    ByteVec tiff = support::tiffImage(true, 10, 20);
    tiff[4] = 0xF0;  // little-endian offset 0xF0
    LogCapture log;
    EXPECT_FALSE(probe(tiff).ok);
    EXPECT_EQ(log.text(), "");
}

TEST(ImageProbe, TiffWithoutHeightIsInvalid) {
    ByteVec tiff = support::tiffImage(true, 10, 20);
    tiff[26] = 0x02;  // tag 258 instead of 257
    LogCapture log;
    ImageSize size = probe(tiff);
    EXPECT_FALSE(size.ok);
    EXPECT_EQ(size.width, 0u);
    EXPECT_EQ(size.height, 0u);
    EXPECT_NE(log.text().find(InvalidHeader), std::string::npos);
}

TEST(ImageProbe, TiffZeroWidthKeepsLooking) {
    ByteVec tiff = support::tiffImage(true, 0, 20);
    LogCapture log;
    EXPECT_FALSE(probe(tiff).ok);
    EXPECT_NE(log.text().find(InvalidHeader), std::string::npos);
}

// ---------------------------------------------------------------- signatures

TEST(ImageProbe, UnknownSignatureLogsAtWarningLevel) {
    ByteVec data = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'E', 'B', 'P'};
    LogCapture log;
    EXPECT_FALSE(probe(data).ok);
    std::string first = log.text();
    EXPECT_NE(first.find(InvalidHeader), std::string::npos);
    // A warning: filtered once only errors are shown.
    Logger::setMaxLevel(1);
    EXPECT_FALSE(probe(data).ok);
    EXPECT_EQ(log.text(), first);
}

TEST(ImageProbe, FewerThanFourBytesIsNotOkAndSilent) {
    LogCapture log;
    ByteVec data = {0xFF, 0xD8, 0xFF};
    EXPECT_FALSE(probe(data).ok);
    ByteVec gif = {'G', 'I', 'F'};
    EXPECT_FALSE(probe(gif).ok);
    EXPECT_FALSE(probeImageSize(Bytes()).ok);
    EXPECT_EQ(log.text(), "");
}

struct KindCase {
    const char* name;
    std::vector<uint8_t> bytes;
    int kind;
};

class ImageKinds : public testing::TestWithParam<KindCase> {};

TEST_P(ImageKinds, FromFirstBytes) { EXPECT_EQ(imageKind(Bytes(GetParam().bytes)), GetParam().kind); }

INSTANTIATE_TEST_SUITE_P(
    ImageProbe, ImageKinds,
    testing::Values(KindCase{"Jpeg", {0xFF, 0xD8, 0xFF, 0xE0}, 1}, KindCase{"JpegTwoBytes", {0xFF, 0xD8}, 1},
                    KindCase{"Gif", {'G', 'I', 'F', '8'}, 2}, KindCase{"TiffMotorola", {'M', 'M', 0, 42}, 3},
                    KindCase{"TiffIntelNotRecognised", {'I', 'I', 42, 0}, -1},
                    KindCase{"Png", {0x89, 'P', 'N', 'G'}, 4}, KindCase{"PngCut", {0x89, 'P', 'N'}, -1},
                    KindCase{"Bmp", {'B', 'M', 0, 0}, -1}, KindCase{"LowerGif", {'g', 'i', 'f', '8'}, -1},
                    KindCase{"Empty", {}, -1}, KindCase{"OneByte", {0xFF}, -1}),
    [](const testing::TestParamInfo<KindCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tagwick
