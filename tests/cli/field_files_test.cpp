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

namespace tagwick {
namespace {

// A named pipe without a writer must not hold the scan or an update up.
TEST(FieldFiles, NamedPipeWithoutAWriterDoesNotHang) {
    support::TempDir dir;
    const std::string pipe = dir.file("pipe.txt");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (bool picture : {false, true}) {
        std::future<void> done = std::async(std::launch::async, [&] {
            testing::internal::CaptureStdout();
            std::vector<uint8_t> data;
            std::string word;
            if (picture) {
                EXPECT_FALSE(loadPicture(pipe.c_str(), data, word));
            } else {
                (void)readCommentsFile(pipe.c_str());
            }
            testing::internal::GetCapturedStdout();
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
