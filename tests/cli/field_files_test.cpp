#include "cli/field_files.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <future>

#include <string>
#include <vector>

#include "support/cli_runner.h"
#include "support/tag_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::TempDir;

// What `call` printed on standard output.
template <typename Call>
std::string printedBy(Call call) {
    testing::internal::CaptureStdout();
    call();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

TEST(Pictures, TypeIsToldFromTheFirstBytesOnly) {
    // Whole pictures of each type are loaded below; these heads are the near misses.
    const std::pair<ByteVec, PictureType> cases[] = {
        {{0xFF, 0xD8}, PictureType::Jpeg},          {{'M', 'M'}, PictureType::Tiff},
        {{'P', 'N', 'G', ' '}, PictureType::Unknown}, {{0xFF, 0xD9, 0, 0}, PictureType::Unknown},
        {{0xFF}, PictureType::Unknown}};
    for (const auto& [head, type] : cases) EXPECT_EQ(pictureTypeOf(head), type) << int(type);
    EXPECT_STREQ(pictureTypeWord(static_cast<PictureType>(9)), "unknown");
}

TEST(Pictures, LoaderReadsTheWholeFileWhateverItsName) {
    TempDir dir;
    // A PNG named .jpg is still a PNG.
    const std::tuple<const char*, ByteVec, const char*> cases[] = {
        {"cover.jpg", support::pngImage(2, 2), "png"},
        {"a.jpg", support::jpegImage(2, 2), "jpeg"},
        {"a.gif", support::gifImage(2, 2), "gif"},
        {"a.tif", support::tiffImage(true, 2, 2), "tiff"},
    };
    for (const auto& [name, bytes, word] : cases) {
        std::string path = dir.file(name);
        support::writeFile(path, bytes);
        ByteVec data;
        std::string format;
        bool loaded = false;
        EXPECT_EQ(printedBy([&] { loaded = loadPicture(path.c_str(), data, format); }), "");
        EXPECT_TRUE(loaded) << name;
        EXPECT_EQ(format, word);
        EXPECT_EQ(data, bytes);
    }
}

TEST(Pictures, LoaderReportsWhyItFailed) {
    TempDir dir;
    support::writeFile(dir.file("scan.tif"), support::tiffImage(false, 2, 2));
    support::writeFile(dir.file("tiny.jpg"), ByteVec{0xFF, 0xD8, 0xFF});
    const std::pair<std::string, std::string> cases[] = {
        {dir.file("scan.tif"), "Invalid image type detected for '" + dir.file("scan.tif") + "'\n"},
        {dir.file("none.jpg"), "Failed to open the picture '" + dir.file("none.jpg") + "' (2)\n"},
        {dir.file("tiny.jpg"), "Failed to read the picture type (0)\n"},
    };
    for (const auto& [path, message] : cases) {
        ByteVec data;
        std::string format;
        bool loaded = true;
        EXPECT_EQ(printedBy([&] { loaded = loadPicture(path.c_str(), data, format); }), message);
        EXPECT_FALSE(loaded);
    }
}

TEST(TextFiles, ContentsAreDecodedFromUtf16WhenAMarkLeads) {
    // Other bytes are kept as they are; an odd last byte pairs with the terminator after the data.
    const std::pair<ByteVec, std::string> cases[] = {
        {{'C', 'a', 'f', 0xE9}, "Caf\xE9"},          {{'a', 'b', 0, 'c'}, "ab"},
        {{0xFF, 0xFE, 'H', 0, 0xE9, 0}, "H\xC3\xA9"}, {{0xFE, 0xFF, 0, 'H', 0x20, 0xAC}, "H\xE2\x82\xAC"},
        {{0xFF, 0xFE, 'a', 0, 0, 0, 'b', 0}, "a"},    {{0xFF, 0xFE, 'a', 0, 'b'}, "ab"},
        {{0xFF, 0xFE}, ""},                           {{}, ""}};
    for (const auto& [data, text] : cases) EXPECT_EQ(textFileContents(data), text) << text;
}

TEST(TextFiles, ReadersReadWholeFilesAndReportWithTheirOwnWording) {
    TempDir dir;
    support::writeFile(dir.file("comments.txt"), ByteVec{0xFF, 0xFE, 'O', 0, 'k', 0});
    support::writeText(dir.file("lyrics.txt"), "");
    EXPECT_EQ(readCommentsFile(dir.file("comments.txt").c_str()), std::optional<std::string>("Ok"));
    EXPECT_EQ(readLyricsFile(dir.file("lyrics.txt").c_str()), std::optional<std::string>(""));

    std::string missing = dir.file("missing.txt");
    std::optional<std::string> comments = "x", lyrics = "x";
    EXPECT_EQ(printedBy([&] { comments = readCommentsFile(missing.c_str()); }),
              "Failed to open the comments file '" + missing + "' (2)\n");
    EXPECT_EQ(printedBy([&] { lyrics = readLyricsFile(missing.c_str()); }),
              "Failed to open the lyrics file '" + missing + "' (2)\n");
    EXPECT_FALSE(comments.has_value());
    EXPECT_FALSE(lyrics.has_value());

    // A folder opens for reading but gives none of the bytes its size promises.
    struct stat info {};
    ASSERT_EQ(stat(dir.path().c_str(), &info), 0);
    if (info.st_size == 0) GTEST_SKIP() << "folder sizes are 0 on this file system";
    EXPECT_EQ(printedBy([&] { lyrics = readLyricsFile(dir.path().c_str()); }), "Failed to read the lyrics data (21)\n");
    EXPECT_EQ(printedBy([&] { comments = readCommentsFile(dir.path().c_str()); }),
              "Failed to read the comments data (21)\n");
    EXPECT_FALSE(lyrics.has_value());
}


// A named pipe with no writer must not hold the scan or an update up.
TEST(FieldFiles, NamedPipeWithoutAWriterDoesNotHang) {
    TempDir dir;
    std::string pipe = dir.file("pipe.txt");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    auto waitFor = [&](auto call) {
        std::future<void> done = std::async(std::launch::async, call);
        bool finished = done.wait_for(std::chrono::seconds(3)) == std::future_status::ready;
        if (!finished) {
            // Let the blocked reader go so that the test itself can end.
            int writer = ::open(pipe.c_str(), O_WRONLY);
            if (writer >= 0) ::close(writer);
            done.wait();
        }
        return finished;
    };
    EXPECT_TRUE(waitFor([&] {
        testing::internal::CaptureStdout();
        (void)readCommentsFile(pipe.c_str());
        testing::internal::GetCapturedStdout();
    }));
    EXPECT_TRUE(waitFor([&] {
        std::vector<uint8_t> data;
        std::string word;
        testing::internal::CaptureStdout();
        EXPECT_FALSE(loadPicture(pipe.c_str(), data, word));
        testing::internal::GetCapturedStdout();
    }));
}

}  // namespace
}  // namespace tagwick
