#include "cli/field_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "support/cli_runner.h"

namespace tagwick {
namespace {

using support::TempDir;
using Bytes = std::vector<uint8_t>;

Bytes bytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

// Captures what a reader prints while it runs.
template <typename Call>
std::string printedBy(Call call) {
    testing::internal::CaptureStdout();
    call();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// ---- picture type ----

struct PictureCase {
    const char* label;
    Bytes head;
    PictureType type;
};

class PictureTypeFromHead : public testing::TestWithParam<PictureCase> {};

TEST_P(PictureTypeFromHead, IsToldFromTheFirstBytes) { EXPECT_EQ(pictureTypeOf(GetParam().head), GetParam().type); }

INSTANTIATE_TEST_SUITE_P(FieldFiles, PictureTypeFromHead,
                         testing::Values(PictureCase{"Jpeg", {0xFF, 0xD8, 0xFF, 0xE0}, PictureType::Jpeg},
                                         PictureCase{"Gif", {'G', 'I', 'F', '8'}, PictureType::Gif},
                                         PictureCase{"BigEndianTiff", {'M', 'M', 0, 42}, PictureType::Tiff},
                                         PictureCase{"LittleEndianTiff", {'I', 'I', 42, 0}, PictureType::Unknown},
                                         PictureCase{"Png", {0x89, 'P', 'N', 'G'}, PictureType::Png},
                                         PictureCase{"PngWithoutHighByte", {'P', 'N', 'G', ' '}, PictureType::Unknown},
                                         PictureCase{"Bitmap", {'B', 'M', 0, 0}, PictureType::Unknown},
                                         PictureCase{"JpegSecondByteWrong", {0xFF, 0xD9, 0, 0}, PictureType::Unknown},
                                         PictureCase{"Short", {0xFF}, PictureType::Unknown},
                                         PictureCase{"Empty", {}, PictureType::Unknown}),
                         [](const auto& info) { return std::string(info.param.label); });

TEST(FieldFiles, PictureTypeWords) {
    EXPECT_STREQ(pictureTypeWord(PictureType::Unknown), "unknown");
    EXPECT_STREQ(pictureTypeWord(PictureType::Jpeg), "jpeg");
    EXPECT_STREQ(pictureTypeWord(PictureType::Gif), "gif");
    EXPECT_STREQ(pictureTypeWord(PictureType::Tiff), "tiff");
    EXPECT_STREQ(pictureTypeWord(PictureType::Png), "png");
    EXPECT_STREQ(pictureTypeWord(static_cast<PictureType>(9)), "unknown");
}

// ---- picture loader ----

TEST(FieldFiles, PngNamedJpgIsLoadedAsPng) {
    TempDir dir;
    Bytes png = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 1, 2, 3, 4, 5};
    std::string path = dir.file("cover.jpg");
    support::writeFile(path, png);
    Bytes data;
    std::string word;
    bool loaded = false;
    EXPECT_EQ(printedBy([&] { loaded = loadPicture(path.c_str(), data, word); }), "");
    EXPECT_TRUE(loaded);
    EXPECT_EQ(word, "png");
    EXPECT_EQ(data, png);
}

TEST(FieldFiles, LittleEndianTiffIsRefused) {
    TempDir dir;
    std::string path = dir.file("scan.tif");
    support::writeFile(path, Bytes{'I', 'I', 42, 0, 8, 0, 0, 0});
    Bytes data;
    std::string word;
    bool loaded = true;
    EXPECT_EQ(printedBy([&] { loaded = loadPicture(path.c_str(), data, word); }),
              "Invalid image type detected for '" + path + "'\n");
    EXPECT_FALSE(loaded);
}

TEST(FieldFiles, MissingPictureIsReported) {
    TempDir dir;
    std::string path = dir.file("none.jpg");
    Bytes data;
    std::string word;
    bool loaded = true;
    EXPECT_EQ(printedBy([&] { loaded = loadPicture(path.c_str(), data, word); }),
              "Failed to open the picture '" + path + "' (2)\n");
    EXPECT_FALSE(loaded);
}

TEST(FieldFiles, PictureShorterThanItsTypeIsReported) {
    TempDir dir;
    std::string path = dir.file("tiny.jpg");
    support::writeFile(path, Bytes{0xFF, 0xD8, 0xFF});
    Bytes data;
    std::string word;
    bool loaded = true;
    EXPECT_EQ(printedBy([&] { loaded = loadPicture(path.c_str(), data, word); }),
              "Failed to read the picture type (0)\n");
    EXPECT_FALSE(loaded);
}

TEST(FieldFiles, EveryAcceptedPictureTypeLoadsWhole) {
    TempDir dir;
    const std::pair<Bytes, const char*> cases[] = {
        {{0xFF, 0xD8, 0xFF, 0xE0, 9}, "jpeg"},
        {{'G', 'I', 'F', '8', '9', 'a'}, "gif"},
        {{'M', 'M', 0, 42, 0, 0, 0, 8}, "tiff"},
        {{0x89, 'P', 'N', 'G'}, "png"},
    };
    for (const auto& [bytes, expected] : cases) {
        std::string path = dir.file(std::string("picture.") + expected);
        support::writeFile(path, bytes);
        Bytes data;
        std::string word;
        ASSERT_TRUE(loadPicture(path.c_str(), data, word)) << expected;
        EXPECT_EQ(word, expected);
        EXPECT_EQ(data, bytes);
    }
}

// ---- text files ----

struct TextCase {
    const char* label;
    Bytes data;
    std::string text;
};

class TextFileContents : public testing::TestWithParam<TextCase> {};

TEST_P(TextFileContents, AreDecoded) { EXPECT_EQ(textFileContents(GetParam().data), GetParam().text); }

INSTANTIATE_TEST_SUITE_P(
    FieldFiles, TextFileContents,
    testing::Values(TextCase{"Plain", bytesOf("Hello\nworld"), "Hello\nworld"},
                    TextCase{"Latin1KeptAsItIs", {'C', 'a', 'f', 0xE9}, std::string("Caf\xE9")},
                    TextCase{"Utf8KeptAsItIs", bytesOf("Caf\xC3\xA9"), "Caf\xC3\xA9"},
                    TextCase{"StopsAtZero", {'a', 'b', 0, 'c'}, "ab"},
                    TextCase{"LittleEndianUtf16", {0xFF, 0xFE, 'H', 0, 'i', 0, 0xE9, 0}, "Hi\xC3\xA9"},
                    TextCase{"BigEndianUtf16", {0xFE, 0xFF, 0, 'H', 0, 'i', 0x20, 0xAC}, "Hi\xE2\x82\xAC"},
                    TextCase{"Utf16StopsAtZero", {0xFF, 0xFE, 'a', 0, 0, 0, 'b', 0}, "a"},
                    // The odd last byte pairs with the terminator that follows the data.
                    TextCase{"Utf16OddLength", {0xFF, 0xFE, 'a', 0, 'b'}, "ab"},
                    TextCase{"MarkOnly", {0xFF, 0xFE}, ""},
                    TextCase{"SingleByte", {'x'}, "x"},
                    TextCase{"Empty", {}, ""}),
    [](const auto& info) { return std::string(info.param.label); });

TEST(FieldFiles, CommentsFileIsReadWhole) {
    TempDir dir;
    std::string path = dir.file("comments.txt");
    support::writeFile(path, Bytes{0xFF, 0xFE, 'O', 0, 'k', 0});
    std::optional<std::string> text;
    EXPECT_EQ(printedBy([&] { text = readCommentsFile(path.c_str()); }), "");
    EXPECT_EQ(text, std::optional<std::string>("Ok"));
}

TEST(FieldFiles, EmptyLyricsFileGivesEmptyText) {
    TempDir dir;
    std::string path = dir.file("lyrics.txt");
    support::writeText(path, "");
    EXPECT_EQ(readLyricsFile(path.c_str()), std::optional<std::string>(""));
}

TEST(FieldFiles, MissingTextFilesAreReportedWithTheirWording) {
    TempDir dir;
    std::string path = dir.file("missing.txt");
    std::optional<std::string> comments = "x";
    std::optional<std::string> lyrics = "x";
    EXPECT_EQ(printedBy([&] { comments = readCommentsFile(path.c_str()); }),
              "Failed to open the comments file '" + path + "' (2)\n");
    EXPECT_EQ(printedBy([&] { lyrics = readLyricsFile(path.c_str()); }),
              "Failed to open the lyrics file '" + path + "' (2)\n");
    EXPECT_FALSE(comments.has_value());
    EXPECT_FALSE(lyrics.has_value());
}

TEST(FieldFiles, FolderGivenAsTextFileIsAReadFailure) {
    TempDir dir;
    struct stat info {};
    ASSERT_EQ(stat(dir.path().c_str(), &info), 0);
    // A folder opens for reading here but gives no data; with a size of 0 there is nothing to miss.
    if (info.st_size == 0) GTEST_SKIP() << "folder sizes are 0 on this file system";
    std::optional<std::string> text = "x";
    EXPECT_EQ(printedBy([&] { text = readLyricsFile(dir.path().c_str()); }),
              "Failed to read the lyrics data (21)\n");
    EXPECT_FALSE(text.has_value());
}

}  // namespace
}  // namespace tagwick
