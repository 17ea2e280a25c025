// The exports and renames: picture header probing (sizes and bits per pixel, the program's own
// JPEG offsets and reversed TIFF byte order, when the probe complains); the exports on a full disk
// (an XML document or a picture that cannot be finished is removed, the other pictures are still
// written, a CSV row is taken back from its table, each with its message and status 11); names
// from tags (every format sequence and the prepared fields) and where moveTrack puts a track when
// its name is taken or its folder cannot be made.
#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>
#include <vector>

#include "export/csv_export.h"
#include "export/image_probe.h"
#include "export/picture_export.h"
#include "export/track_rename.h"
#include "export/xml_export.h"
#include "support/cli_runner.h"
#include "support/export_tracks.h"
#include "support/log_capture.h"
#include "support/tag_builders.h"
#include "tags/id3_tag.h"

namespace tagwick {
namespace {

using namespace tagwick::support;
namespace fs = std::filesystem;

ByteVec cut(ByteVec bytes, size_t length) {
    bytes.resize(length);
    return bytes;
}

ByteVec with(ByteVec bytes, size_t at, std::initializer_list<uint8_t> values) {
    std::copy(values.begin(), values.end(), bytes.begin() + long(at));
    return bytes;
}

TEST(ImageProbe, SizeComplaintAndKind) {
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
        EXPECT_EQ(log.undated(), c.complains ? "[W]: Invalid picture header for size\n" : "") << c.name;
    }
    // The kind, from the first bytes: the little-endian TIFF mark is not recognised here.
    for (auto [bytes, kind] : std::vector<std::pair<ByteVec, int>>{
             {{0xFF, 0xD8}, 1}, {{'G', 'I', 'F', '8'}, 2}, {{'M', 'M', 0, 42}, 3}, {{'I', 'I', 42, 0}, -1},
             {{0x89, 'P', 'N', 'G'}, 4}, {{'B', 'M', 0, 0}, -1}, {{}, -1}})
        EXPECT_EQ(imageKind(Bytes(bytes)), kind) << testing::PrintToString(bytes);
}

TEST(PictureFileName, LongNameIsCutTo1023Bytes) {
    EXPECT_EQ(pictureFileName(std::string(1020, 'a'), false, 0, pictureExtensions('j')), std::string(1020, 'a') + ".jp");
}


// ---------------------------------------------------------------- full disk

// An XML document or a picture that cannot be finished is removed (the other pictures are still
// written), and a CSV row is taken back from its table.
TEST(FullDisk, UnfinishedExportsAreTakenBack) {
    TempDir dir;
    writeFile(dir.file("t.mp3"), everyFieldTrack());
    ID3Tag track;
    ASSERT_NE(track.open(dir.file("t.mp3").c_str()), 0);
    const std::string csv = dir.file("t.csv"), xml = dir.file("t.xml");
    ASSERT_EQ(exportCsv(csv, &track, 2), ExportStatus::Ok);
    const std::vector<uint8_t> table = readFile(csv);
    track.v2.pictures.resize(3);
    track.v2.pictures[1].data.assign(50000, 'p');
    LogCapture log;
    {
        FileSizeLimit limit(table.size() + 100);
        EXPECT_EQ(exportCsv(csv, &track, 2), ExportStatus::NotCreatable);
    }
    {
        FileSizeLimit limit(8192);
        EXPECT_EQ(exportXml(xml, &track, 2, true), ExportStatus::NotCreatable);
        EXPECT_EQ(exportPictures(&track, dir.path(), true), ExportStatus::NotCreatable);
    }
    // The XML document meets the full disk at the PNG and again at the GIF after it.
    EXPECT_EQ(log.undated(), "[E]: Failed to write the tag data to the CSV file '" + csv + "' (27)\n"
                             "[E]: Failed to write the picture data to the XML file (27)\n"
                             "[E]: Failed to write the picture data to the XML file (27)\n"
                             "[E]: Failed to write the tag data to the XML file '" + xml + "' (27)\n"
                             "[E]: Failed to write the picture data to the file (27) (wrote 8192 of 50000)\n");
    EXPECT_EQ(readFile(csv), table);
    EXPECT_FALSE(fs::exists(xml));
    EXPECT_EQ(readFile(dir.file("Picture.jpg")).size(), 200u);
    EXPECT_FALSE(fs::exists(dir.file("Picture1.png")));
    EXPECT_EQ(readFile(dir.file("Picture2.gif")).size(), 5u);
}

// ---------------------------------------------------------------- rename

std::string utf16(std::u16string_view text) {
    ByteVec bytes = utf16Bytes(text);
    return std::string(bytes.begin(), bytes.end());
}

// Track 3 of 12, MPEG-1 at 44100 Hz, 192 kbit/s, 3725 seconds long.
void fill(ID3Tag& track) {
    track.isMp3 = true;
    track.v2.title = TextValue::latin1(" AC/DC: Live? ");
    track.v2.artist = TextValue::utf16(utf16(u"Björk Ω"));
    track.v2.album = TextValue::latin1("Album");
    track.v2.trackNumber = 3;
    track.v2.trackTotal = 12;
    track.v2.releaseTime = TextValue::latin1("2006-05-12");
    track.v2.recordingTime = TextValue::latin1("1999-01-01");
    track.mpeg.versionCode = VersionMpeg1;
    track.mpeg.frequency = 0;
    track.mpeg.averageBitrate = 192;
    track.mpeg.lengthSeconds = 3725;
}

TEST(NameFormat, EverySequence) {
    ID3Tag track;
    fill(track);
    for (auto [format, utf8, expected] : std::vector<std::tuple<std::string, bool, std::string>>{
             {"%N|%M|%Y|%B|%b|%F|%f", false, "3_12_2006_192_192000_44_44100"},
             {"%S %s 100%%", false, "1.02.05 3725 100%"},
             {"%x%T", false, "AC_DC_ Live_"},
             {"%~T", false, "T"},
             {"%C%0%/<a>\"b\"*?:|\\", false, "_a__b______"},
             {"end%", false, "end"}}) {
        EXPECT_EQ(expandNameFormat(track, format, utf8), expected) << format;
    }
    track.v2.trackNumber = NumberNotSet;
    track.v2.trackTotal = 1000;
    track.v2.releaseTime.reset();
    track.mpeg.lengthSeconds = 59;
    track.mpeg.versionCode = VersionUnknown;
    EXPECT_EQ(expandNameFormat(track, "%N - %T.%n.%M.%Y.%S.%F.%f", false), " - AC_DC_ Live_..1000.1999.59..");
    track.v2.trackNumber = 7;
    EXPECT_EQ(expandNameFormat(track, "%n", false), "0007");
}

TEST(MoveTrack, NeverReplacesAndTakesTheNextFreeName) {
    TempDir dir;
    writeText(dir.file("Song.mp3"), "other");
    ID3Tag track;
    track.path = dir.file("a.mp3");
    writeText(track.path, "mine");
    ASSERT_TRUE(moveTrack(track, false, 0, "Song", ""));
    EXPECT_EQ(track.path, dir.file("Song-1.mp3"));
    EXPECT_EQ(readText(dir.file("Song.mp3")), "other");
    // Asked again, its own numbered name counts as taken too.
    ASSERT_TRUE(moveTrack(track, false, 0, "Song", ""));
    EXPECT_EQ(track.path, dir.file("Song-2.mp3"));
    // A folder that cannot be made (a file stands in its way) leaves the track in its folder.
    writeText(dir.file("blocker"), "");
    ASSERT_TRUE(moveTrack(track, false, 5, "Song", "blocker/sub"));
    EXPECT_EQ(track.path, dir.file("05-Song.mp3"));
}

}  // namespace
}  // namespace tagwick
