#include "cli/field_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
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

struct Loaded {
    bool ok = false;
    ByteVec data;
    std::string word, printed;
};

Loaded load(const std::string& path) {
    Loaded r;
    testing::internal::CaptureStdout();
    r.ok = loadPicture(path.c_str(), r.data, r.word);
    std::fflush(stdout);
    r.printed = testing::internal::GetCapturedStdout();
    return r;
}

TEST(Pictures, TypeComesFromTheFirstBytesAndFailuresSayWhy) {
    support::TempDir dir;
    const ByteVec png = support::pngImage(2, 2);
    const std::string cover = dir.file("cover.jpg"), little = dir.file("little.tif"), tiny = dir.file("tiny.jpg");
    support::writeFile(cover, png);
    support::writeFile(little, support::tiffImage(false, 2, 2));  // only the "MM" mark is taken
    support::writeFile(tiny, ByteVec{0xFF, 0xD8, 0xFF});
    Loaded r = load(cover);
    EXPECT_TRUE(r.ok && r.printed.empty() && r.word == "png" && r.data == png);
    EXPECT_EQ(load(little).printed, "Invalid image type detected for '" + little + "'\n");
    EXPECT_EQ(load(dir.file("none")).printed, "Failed to open the picture '" + dir.file("none") + "' (2)\n");
    EXPECT_EQ(load(tiny).printed, "Failed to read the picture type (0)\n");
}

// A named pipe without a writer must not hold the scan or an update up.
TEST(FieldFiles, NamedPipeWithoutAWriterDoesNotHang) {
    support::TempDir dir;
    const std::string pipe = dir.file("pipe.txt");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (bool picture : {false, true}) {
        std::future<void> done = std::async(std::launch::async, [&] {
            if (picture) {
                EXPECT_FALSE(load(pipe).ok);
            } else {
                testing::internal::CaptureStdout();
                (void)readCommentsFile(pipe.c_str());
                testing::internal::GetCapturedStdout();
            }
        });
        bool finished = done.wait_for(std::chrono::seconds(3)) == std::future_status::ready;
        if (!finished) {  // let the blocked reader go so that the test can end
            int writer = ::open(pipe.c_str(), O_WRONLY);
            if (writer >= 0) ::close(writer);
        }
        done.wait();
        EXPECT_TRUE(finished) << picture;
    }
}

}  // namespace
}  // namespace tagwick
