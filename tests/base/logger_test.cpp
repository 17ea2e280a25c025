#include "base/logger.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <tuple>

#include "base/files.h"
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
    std::rewind(stream);
    std::string text;
    char block[512];
    for (size_t n; (n = std::fread(block, 1, sizeof block, stream)) > 0;) text.append(block, n);
    return text;
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
    std::string console() { return contents(console_.get()); }
    std::string errors() { return contents(errors_.get()); }
    std::string file() { return contents(file_.get()); }
    std::string dated(const std::string& name) { return readText(dir_.file(name)); }

    UniqueFile console_{std::tmpfile()}, errors_{std::tmpfile()}, file_{std::tmpfile()};
    support::TempDir dir_;
    timeval now_{};
};

TEST_F(LoggerTest, FilteredLevelsWriteNothing) {
    Logger::attach(2, file_.get(), nullptr, false, 0);
    EXPECT_EQ(Logger::log(3, "Opening ID3 track: %s", "a.mp3"), 0);
    Logger::setMaxLevel(6);
    EXPECT_EQ(Logger::log(-1, "x"), 0);
    EXPECT_EQ(file() + console() + errors(), "");
    Logger::setMaxLevel(3);
    EXPECT_EQ(Logger::maxLevel(), 3u);
    EXPECT_GT(Logger::log(3, "progress"), 0);
    EXPECT_EQ(file(), Stamp + ": progress\n");
}

TEST_F(LoggerTest, EchoShowsTheBareMessageOnlyWhileAFileIsOpen) {
    EXPECT_EQ(Logger::log(1, "Failed to rename the file"), int(sizeof "Failed to rename the file"));
    Logger::attach(2, file_.get(), nullptr, false, 0);
    Logger::log(1, "Failed to rename the file");
    Logger::setConsoleEcho(false);
    Logger::log(1, "quiet");
    EXPECT_EQ(errors(), Stamp + ": Failed to rename the file\n");
    EXPECT_EQ(file(), Stamp + ": Failed to rename the file\n" + Stamp + ": quiet\n");
    EXPECT_EQ(console(), "Failed to rename the file\n");
}

TEST_F(LoggerTest, PrefixLineEndsAndLength) {
    Logger::log(0, "\n# %s CMD Version %d.%d.%d (%s)", "Tagwick", 1, 24, 38, "1.17.78.342");
    EXPECT_EQ(Logger::lastLine(), "\n# Tagwick CMD Version 1.24.38 (1.17.78.342)\n");
    std::string expected = Logger::lastLine();
    Logger::log(0, "# banner");
    expected += "# banner\n";
    // Only the format's own first character counts, and a line feed is added only when missing.
    for (const auto& [message, written] : {std::pair{"# not a header", "# not a header\n"}, {"abc\n", "abc\n"},
                                           {"abc\r", "abc\r"}, {"", "\n"}, {"a\nb", "a\nb\n"}}) {
        Logger::log(1, "%s", message);
        expected += Stamp + ": " + written;
    }
    EXPECT_EQ(Logger::log(1, "%s", std::string(2000, 'm').c_str()), 1024);
    expected += Stamp + ": " + std::string(1023, 'm') + "\n";
    EXPECT_EQ(errors(), expected);
}

TEST_F(LoggerTest, FailedPrefixWriteEndsTheCall) {
    support::writeText(dir_.file("ro"), "");
    UniqueFile readOnly(std::fopen(dir_.file("ro").c_str(), "rb"));
    Logger::attach(2, readOnly.get(), nullptr, false, 0);
    EXPECT_LT(Logger::log(1, "lost"), 0);
    EXPECT_EQ(console(), "");
}

TEST_F(LoggerTest, LetterModesMillisecondsAndContext) {
    const std::tuple<int, int, const char*> letters[] = {{0, 1, ""},     {1, 1, " [E]"}, {1, 2, ""},
                                                         {2, 2, " [W]"}, {2, 3, ""},     {2, 0, ""},
                                                         {3, 0, " [X]"}, {3, 6, " [D]"}, {4, 1, ""}};
    for (const auto& [mode, level, part] : letters) {
        Logger::attach(6, nullptr, nullptr, false, mode);
        Logger::log(level, "t");
        EXPECT_EQ(Logger::lastLine(), Stamp + part + ": t\n") << mode << " " << level;
    }
    const std::string longName(100, 'n');
    const std::tuple<const char*, int, std::string> contexts[] = {
        {"job", 7, " [job][7] "}, {"job", 0, " [job] "}, {nullptr, 5, " [5] "}, {"", -2, " [-2] "}, {nullptr, 0, ": "},
        {longName.c_str(), 3, " [" + std::string(56, 'n') + "][3] "},
        {longName.c_str(), 0, " [" + std::string(64, 'n') + "] "}};
    for (const auto& [name, number, prefix] : contexts) {
        Logger::setContext(name, number);
        EXPECT_EQ(Logger::contextPrefix(), prefix);
    }
    Logger::attach(3, file_.get(), "job", true, 2);
    Logger::log(1, "bad");
    pin(localAt(2006, 5, 12, 13, 45, 2, 7999));
    Logger::log(3, "good");
    EXPECT_EQ(file(), Stamp + ".123 [E] [job] bad\n2006-05-12 13:45:02.007 [job] good\n");
}

TEST_F(LoggerTest, CloseClosesTheStreamAndFallsBackToStandardError) {
    FILE* stream = std::fopen(dir_.file("run.log").c_str(), "a+");
    ASSERT_NE(stream, nullptr);
    Logger::attach(2, stream, nullptr, false, 0);
    Logger::log(1, "to file");
    Logger::close();  // closes `stream`
    Logger::log(1, "after close");
    EXPECT_EQ(dated("run.log"), Stamp + ": to file\n");
    EXPECT_EQ(errors(), Stamp + ": after close\n");
    EXPECT_EQ(console(), "to file\n");
}

TEST_F(LoggerTest, DatedFileNames) {
    ASSERT_NE(Logger::openDated(2, dir_.path().c_str(), "c", "svc", false, 0, 4), nullptr);
    EXPECT_EQ(Logger::datedPath(), dir_.file("c060512.log"));
    Logger::log(1, "m");
    EXPECT_EQ(dated("c060512.log"), Stamp + " [svc][4] m\n");
    ASSERT_NE(Logger::openDated(2, (dir_.path() + "/").c_str(), "abcdefghijklmnop", nullptr, false, 0, 0), nullptr);
    EXPECT_EQ(Logger::datedPath(), dir_.file("abcdefghijk060512.log"));
    // Years since 1900, less 100 only when above 100: the year 2000 is "100", 2001 is "01".
    for (const auto& [when, name] : {std::pair{localAt(2000, 1, 2, 10, 0, 0), "y1000102.log"},
                                     {localAt(2001, 3, 4, 10, 0, 0), "y010304.log"}}) {
        pin(when);
        ASSERT_NE(Logger::openDated(2, dir_.path().c_str(), "y", nullptr, false, 0, 0), nullptr);
        EXPECT_EQ(Logger::datedPath(), dir_.file(name));
    }
    EXPECT_EQ(Logger::openDated(2, dir_.file("missing/folder").c_str(), "x", nullptr, false, 0, 0), nullptr);
    Logger::log(1, "nowhere to go");
    EXPECT_EQ(errors(), "2001-03-04 10:00:00: nowhere to go\n");
}

TEST_F(LoggerTest, NextDayOrYearOpensANewDatedFileKeepingTheSettings) {
    ASSERT_NE(Logger::openDated(3, dir_.path().c_str(), "d", "ctx", false, 2, 0), nullptr);
    Logger::log(1, "first");
    pin(localAt(2006, 5, 11, 9, 0, 0));
    Logger::log(1, "clock went back");
    pin(localAt(2006, 5, 13, 0, 0, 5));
    Logger::log(3, "second");
    EXPECT_EQ(dated("d060512.log"), Stamp + " [E] [ctx] first\n2006-05-11 09:00:00 [E] [ctx] clock went back\n");
    EXPECT_EQ(dated("d060513.log"), "2006-05-13 00:00:05 [ctx] second\n");
    pin(localAt(2006, 12, 31, 23, 59, 59));
    ASSERT_NE(Logger::openDated(2, dir_.path().c_str(), "n", nullptr, false, 0, 0), nullptr);
    pin(localAt(2007, 1, 1, 0, 0, 1));
    Logger::log(1, "new");
    EXPECT_EQ(dated("n070101.log"), "2007-01-01 00:00:01: new\n");
}

}  // namespace
}  // namespace tagwick
