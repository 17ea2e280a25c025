#include "base/logger.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "base/files.h"  // UniqueFile
#include "support/cli_runner.h"

namespace tagwick {
namespace {

using support::readText;

timeval localAt(int year, int month, int day, int hour, int minute, int second, long microseconds = 0) {
    tm local{};
    local.tm_year = year - 1900, local.tm_mon = month - 1, local.tm_mday = day;
    local.tm_hour = hour, local.tm_min = minute, local.tm_sec = second, local.tm_isdst = -1;
    return timeval{mktime(&local), microseconds};
}

std::string contents(FILE* stream) {
    std::fflush(stream);
    return readText("/proc/self/fd/" + std::to_string(fileno(stream)));
}

const std::string Stamp = "2006-05-12 13:45:01";

// Pins the clock to 2006-05-12 13:45:01.123456 and captures standard output and standard error.
class LoggerTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(console_ && errors_ && file_);
        Logger::resetForTests();
        Logger::setConsoleStreams(console_.get(), errors_.get());
        pin(localAt(2006, 5, 12, 13, 45, 1, 123456));
    }
    void TearDown() override { Logger::resetForTests(); }
    void pin(timeval now) {
        now_ = now;
        Logger::setClock([this] { return now_; });
    }

    UniqueFile console_{std::tmpfile()}, errors_{std::tmpfile()}, file_{std::tmpfile()};
    support::TempDir dir_;
    timeval now_{};
};

TEST_F(LoggerTest, FileGetsDatedLinesAndTheConsoleTheBareMessage) {
    EXPECT_EQ(Logger::log(1, "no file yet"), int(sizeof "no file yet"));
    Logger::attach(2, file_.get(), nullptr, false, 0);
    EXPECT_EQ(Logger::log(3, "Opening ID3 track: %s", "a.mp3"), 0);  // above the level: nothing at all
    Logger::log(0, "\n# %s CMD Version %d.%d.%d", "Tagwick", 1, 24, 38);
    Logger::log(1, "Failed to rename the file");
    Logger::log(2, "ends\r");
    Logger::setConsoleEcho(false);
    Logger::log(2, "quiet");
    EXPECT_EQ(contents(errors_.get()), Stamp + ": no file yet\n");
    EXPECT_EQ(contents(file_.get()), "\n# Tagwick CMD Version 1.24.38\n" + Stamp + ": Failed to rename the file\n" +
                                         Stamp + ": ends\r" + Stamp + ": quiet\n");
    EXPECT_EQ(contents(console_.get()), "\n# Tagwick CMD Version 1.24.38\nFailed to rename the file\nends\r");
}

TEST_F(LoggerTest, DatedFilesNameTheYear2000As100AndRollOverEachDay) {
    pin(localAt(2000, 1, 2, 10, 0, 0));
    ASSERT_NE(Logger::openDated(2, dir_.path().c_str(), "y", nullptr, false, 0, 0), nullptr);
    EXPECT_EQ(Logger::datedPath(), dir_.file("y1000102.log"));
    pin(localAt(2006, 5, 12, 23, 0, 0));
    ASSERT_NE(Logger::openDated(3, dir_.path().c_str(), "d", "ctx", false, 2, 0), nullptr);
    Logger::log(1, "first");
    pin(localAt(2006, 5, 13, 0, 0, 5));
    Logger::log(3, "second");
    EXPECT_EQ(readText(dir_.file("d060512.log")), "2006-05-12 23:00:00 [E] [ctx] first\n");
    EXPECT_EQ(readText(dir_.file("d060513.log")), "2006-05-13 00:00:05 [ctx] second\n");
}

}  // namespace
}  // namespace tagwick
