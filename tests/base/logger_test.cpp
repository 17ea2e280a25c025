#include "base/logger.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "base/files.h"
#include "support/cli_runner.h"

namespace tagwick {
namespace {

// A local calendar time as the clock would give it.
timeval localAt(int year, int month, int day, int hour, int minute, int second, long microseconds = 0) {
    tm local{};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    return timeval{mktime(&local), microseconds};
}

std::string contents(FILE* stream) {
    std::fflush(stream);
    std::rewind(stream);
    std::string text;
    char block[512];
    size_t n;
    while ((n = std::fread(block, 1, sizeof block, stream)) > 0) text.append(block, n);
    return text;
}

// Pins the clock to 2006-05-12 13:45:01 and captures standard output and standard error.
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

    UniqueFile console_{std::tmpfile()};
    UniqueFile errors_{std::tmpfile()};
    UniqueFile file_{std::tmpfile()};
    timeval now_{};
};

TEST_F(LoggerTest, MessageAboveTheMaximumLevelIsDropped) {
    Logger::attach(2, file_.get(), nullptr, false, 0);
    EXPECT_EQ(Logger::log(3, "Opening ID3 track: %s", "a.mp3"), 0);
    EXPECT_EQ(file(), "");
    EXPECT_EQ(console(), "");
    EXPECT_EQ(errors(), "");
}

TEST_F(LoggerTest, MaximumLevelCanBeRaised) {
    Logger::setMaxLevel(3);
    EXPECT_EQ(Logger::maxLevel(), 3u);
    EXPECT_GT(Logger::log(3, "progress"), 0);
    EXPECT_EQ(errors(), "2006-05-12 13:45:01: progress\n");
}

TEST_F(LoggerTest, NegativeLevelIsNeverShown) {
    Logger::setMaxLevel(6);
    EXPECT_EQ(Logger::log(-1, "x"), 0);
    EXPECT_EQ(errors(), "");
}

TEST_F(LoggerTest, WithoutStreamEverythingGoesToStandardError) {
    EXPECT_EQ(Logger::log(1, "Failed to rename the file"), int(sizeof "Failed to rename the file"));
    EXPECT_EQ(errors(), "2006-05-12 13:45:01: Failed to rename the file\n");
    // No stream, so no echo either.
    EXPECT_EQ(console(), "");
}

TEST_F(LoggerTest, EchoShowsTheBareMessageOnStandardOutput) {
    Logger::attach(2, file_.get(), nullptr, false, 0);
    Logger::setConsoleEcho(true);
    Logger::log(1, "Failed to rename the file");
    EXPECT_EQ(file(), "2006-05-12 13:45:01: Failed to rename the file\n");
    EXPECT_EQ(console(), "Failed to rename the file\n");
    EXPECT_EQ(errors(), "");
}

TEST_F(LoggerTest, EchoOffKeepsStandardOutputQuiet) {
    Logger::attach(2, file_.get(), nullptr, false, 0);
    Logger::setConsoleEcho(false);
    Logger::log(1, "quiet");
    EXPECT_EQ(file(), "2006-05-12 13:45:01: quiet\n");
    EXPECT_EQ(console(), "");
}

TEST_F(LoggerTest, HeaderWithLineFeedGetsNoPrefix) {
    Logger::attach(2, file_.get(), nullptr, false, 0);
    Logger::log(0, "\n# %s CMD Version %d.%d.%d (%s)", "Tagwick", 1, 24, 38, "1.17.78.342");
    EXPECT_EQ(file(), "\n# Tagwick CMD Version 1.24.38 (1.17.78.342)\n");
    EXPECT_EQ(Logger::lastLine(), "\n# Tagwick CMD Version 1.24.38 (1.17.78.342)\n");
}

TEST_F(LoggerTest, HashGetsNoPrefix) {
    Logger::log(0, "# banner");
    EXPECT_EQ(errors(), "# banner\n");
}

TEST_F(LoggerTest, HashFromAnArgumentStillGetsThePrefix) {
    Logger::log(1, "%s", "# not a header");
    EXPECT_EQ(errors(), "2006-05-12 13:45:01: # not a header\n");
}

struct LineEndCase {
    const char* name;
    const char* message;
    const char* expected;
};

class LoggerLineEnd : public LoggerTest, public testing::WithParamInterface<LineEndCase> {};

TEST_P(LoggerLineEnd, AddsALineFeedOnlyWhenMissing) {
    Logger::log(1, "%s", GetParam().message);
    EXPECT_EQ(errors(), std::string("2006-05-12 13:45:01: ") + GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, LoggerLineEnd,
                         testing::Values(LineEndCase{"Plain", "abc", "abc\n"},
                                         LineEndCase{"EndsInLineFeed", "abc\n", "abc\n"},
                                         LineEndCase{"EndsInCarriageReturn", "abc\r", "abc\r"},
                                         LineEndCase{"Empty", "", "\n"},
                                         LineEndCase{"InnerLineFeed", "a\nb", "a\nb\n"}),
                         [](const testing::TestParamInfo<LineEndCase>& info) { return std::string(info.param.name); });

TEST_F(LoggerTest, LongMessageIsCutAt1023Bytes) {
    std::string longText(2000, 'm');
    int count = Logger::log(1, "%s", longText.c_str());
    EXPECT_EQ(count, 1024);
    EXPECT_EQ(errors(), "2006-05-12 13:45:01: " + std::string(1023, 'm') + "\n");
}

TEST_F(LoggerTest, MillisecondsFollowTheSeconds) {
    Logger::attach(2, file_.get(), nullptr, true, 0);
    Logger::log(1, "x");
    pin(localAt(2006, 5, 12, 13, 45, 2, 7999));
    Logger::log(1, "y");
    EXPECT_EQ(file(), "2006-05-12 13:45:01.123: x\n2006-05-12 13:45:02.007: y\n");
}

TEST_F(LoggerTest, LastLineHoldsPrefixAndMessage) {
    Logger::log(2, "Warning %d", 5);
    EXPECT_EQ(Logger::lastLine(), "2006-05-12 13:45:01: Warning 5\n");
}

TEST_F(LoggerTest, CloseClosesTheStreamAndFallsBackToStandardError) {
    support::TempDir dir;
    std::string path = dir.file("run.log");
    FILE* stream = std::fopen(path.c_str(), "a+");
    ASSERT_NE(stream, nullptr);
    Logger::attach(2, stream, nullptr, false, 0);
    Logger::log(1, "to file");
    Logger::close();  // closes `stream`
    Logger::log(1, "after close");
    EXPECT_EQ(support::readText(path), "2006-05-12 13:45:01: to file\n");
    EXPECT_EQ(errors(), "2006-05-12 13:45:01: after close\n");
    EXPECT_EQ(console(), "to file\n");
}

// ---- Level letters ----

struct LetterCase {
    const char* name;
    int mode;
    int level;
    const char* letterPart;
};

class LoggerLetters : public LoggerTest, public testing::WithParamInterface<LetterCase> {};

TEST_P(LoggerLetters, ShowTheLetterWhereTheModeAllows) {
    Logger::attach(6, file_.get(), nullptr, false, GetParam().mode);
    Logger::log(GetParam().level, "text");
    EXPECT_EQ(file(), std::string("2006-05-12 13:45:01") + GetParam().letterPart + ": text\n");
}

INSTANTIATE_TEST_SUITE_P(Cases, LoggerLetters,
                         testing::Values(LetterCase{"NoneByDefault", 0, 1, ""},
                                         LetterCase{"ModeOneError", 1, 1, " [E]"},
                                         LetterCase{"ModeOneWarning", 1, 2, ""},
                                         LetterCase{"ModeTwoError", 2, 1, " [E]"},
                                         LetterCase{"ModeTwoWarning", 2, 2, " [W]"},
                                         LetterCase{"ModeTwoProgress", 2, 3, ""},
                                         LetterCase{"ModeTwoHeaderLevel", 2, 0, ""},
                                         LetterCase{"ModeThreeHeaderLevel", 3, 0, " [X]"},
                                         LetterCase{"ModeThreeProgress", 3, 3, " [S]"},
                                         LetterCase{"ModeThreeN", 3, 4, " [N]"},
                                         LetterCase{"ModeThreeV", 3, 5, " [V]"},
                                         LetterCase{"ModeThreeDebug", 3, 6, " [D]"},
                                         LetterCase{"OtherModeNone", 4, 1, ""}),
                         [](const testing::TestParamInfo<LetterCase>& info) { return std::string(info.param.name); });

TEST_F(LoggerTest, ModeTwoWithContextAndMilliseconds) {
    Logger::attach(3, file_.get(), "job", true, 2);
    Logger::log(1, "bad");
    Logger::log(3, "good");
    EXPECT_EQ(file(), "2006-05-12 13:45:01.123 [E] [job] bad\n2006-05-12 13:45:01.123 [job] good\n");
}

// ---- Context prefix ----

struct ContextCase {
    const char* name;
    std::string contextName;
    bool nullName;
    int number;
    std::string expected;
};

class LoggerContext : public LoggerTest, public testing::WithParamInterface<ContextCase> {};

TEST_P(LoggerContext, BuildsThePrefix) {
    Logger::setContext(GetParam().nullName ? nullptr : GetParam().contextName.c_str(), GetParam().number);
    EXPECT_EQ(Logger::contextPrefix(), GetParam().expected);
    Logger::log(1, "m");
    EXPECT_EQ(errors(), "2006-05-12 13:45:01" + GetParam().expected + "m\n");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, LoggerContext,
    testing::Values(ContextCase{"NameAndNumber", "job", false, 7, " [job][7] "},
                    ContextCase{"NameOnly", "job", false, 0, " [job] "},
                    ContextCase{"NumberOnly", "", true, 5, " [5] "},
                    ContextCase{"EmptyNameNumberOnly", "", false, -2, " [-2] "},
                    ContextCase{"Neither", "", true, 0, ": "},
                    ContextCase{"LongNameWithNumber", std::string(100, 'n'), false, 3,
                                " [" + std::string(56, 'n') + "][3] "},
                    ContextCase{"LongNameAlone", std::string(100, 'n'), false, 0, " [" + std::string(64, 'n') + "] "}),
    [](const testing::TestParamInfo<ContextCase>& info) { return std::string(info.param.name); });

// ---- Dated files ----

class LoggerDated : public LoggerTest {
protected:
    support::TempDir dir_;
};

TEST_F(LoggerDated, NamesTheFileByDate) {
    FILE* stream = Logger::openDated(2, dir_.path().c_str(), "run", nullptr, false, 0, 0);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(Logger::datedPath(), dir_.path() + "/run060512.log");
    Logger::log(1, "dated");
    Logger::close();
    EXPECT_EQ(support::readText(dir_.path() + "/run060512.log"), "2006-05-12 13:45:01: dated\n");
}

TEST_F(LoggerDated, FolderEndingInSeparatorGetsNoSecond) {
    ASSERT_NE(Logger::openDated(2, (dir_.path() + "/").c_str(), "p", nullptr, false, 0, 0), nullptr);
    EXPECT_EQ(Logger::datedPath(), dir_.path() + "/p060512.log");
}

TEST_F(LoggerDated, YearTwoThousandIsOneHundred) {
    pin(localAt(2000, 1, 2, 10, 0, 0));
    ASSERT_NE(Logger::openDated(2, dir_.path().c_str(), "y", nullptr, false, 0, 0), nullptr);
    EXPECT_EQ(Logger::datedPath(), dir_.path() + "/y1000102.log");
    pin(localAt(1999, 12, 31, 10, 0, 0));
    ASSERT_NE(Logger::openDated(2, dir_.path().c_str(), "y", nullptr, false, 0, 0), nullptr);
    EXPECT_EQ(Logger::datedPath(), dir_.path() + "/y991231.log");
    pin(localAt(2001, 3, 4, 10, 0, 0));
    ASSERT_NE(Logger::openDated(2, dir_.path().c_str(), "y", nullptr, false, 0, 0), nullptr);
    EXPECT_EQ(Logger::datedPath(), dir_.path() + "/y010304.log");
}

TEST_F(LoggerDated, NamePrefixIsCutToElevenBytes) {
    ASSERT_NE(Logger::openDated(2, dir_.path().c_str(), "abcdefghijklmnop", nullptr, false, 0, 0), nullptr);
    EXPECT_EQ(Logger::datedPath(), dir_.path() + "/abcdefghijk060512.log");
}

TEST_F(LoggerDated, ContextNameAndNumberApply) {
    ASSERT_NE(Logger::openDated(2, dir_.path().c_str(), "c", "svc", false, 0, 4), nullptr);
    Logger::log(1, "m");
    Logger::close();
    EXPECT_EQ(support::readText(dir_.path() + "/c060512.log"), "2006-05-12 13:45:01 [svc][4] m\n");
}

TEST_F(LoggerDated, NextDayOpensANewFile) {
    ASSERT_NE(Logger::openDated(3, dir_.path().c_str(), "d", "ctx", false, 2, 0), nullptr);
    Logger::log(1, "first");
    pin(localAt(2006, 5, 13, 0, 0, 5));
    Logger::log(3, "second");
    EXPECT_EQ(Logger::datedPath(), dir_.path() + "/d060513.log");
    Logger::close();
    EXPECT_EQ(support::readText(dir_.path() + "/d060512.log"), "2006-05-12 13:45:01 [E] [ctx] first\n");
    // The level, letter mode and context are kept across the change of day.
    EXPECT_EQ(support::readText(dir_.path() + "/d060513.log"), "2006-05-13 00:00:05 [ctx] second\n");
}

TEST_F(LoggerDated, NewYearOpensANewFile) {
    pin(localAt(2006, 12, 31, 23, 59, 59));
    ASSERT_NE(Logger::openDated(2, dir_.path().c_str(), "n", nullptr, false, 0, 0), nullptr);
    Logger::log(1, "old");
    pin(localAt(2007, 1, 1, 0, 0, 1));
    Logger::log(1, "new");
    Logger::close();
    EXPECT_EQ(support::readText(dir_.path() + "/n061231.log"), "2006-12-31 23:59:59: old\n");
    EXPECT_EQ(support::readText(dir_.path() + "/n070101.log"), "2007-01-01 00:00:01: new\n");
}

TEST_F(LoggerDated, EarlierDayKeepsTheFile) {
    ASSERT_NE(Logger::openDated(2, dir_.path().c_str(), "b", nullptr, false, 0, 0), nullptr);
    pin(localAt(2006, 5, 11, 9, 0, 0));
    Logger::log(1, "clock went back");
    Logger::close();
    EXPECT_EQ(support::readText(dir_.path() + "/b060512.log"), "2006-05-11 09:00:00: clock went back\n");
    EXPECT_FALSE(fileExists((dir_.path() + "/b060511.log").c_str()));
}

TEST_F(LoggerDated, AttachedStreamNeverRotates) {
    Logger::attach(2, file_.get(), nullptr, false, 0);
    pin(localAt(2006, 5, 20, 9, 0, 0));
    Logger::log(1, "later");
    EXPECT_EQ(file(), "2006-05-20 09:00:00: later\n");
}

TEST_F(LoggerDated, UnopenableFolderFallsBackToStandardError) {
    EXPECT_EQ(Logger::openDated(2, dir_.file("missing/folder").c_str(), "x", nullptr, false, 0, 0), nullptr);
    Logger::log(1, "nowhere to go");
    EXPECT_EQ(errors(), "2006-05-12 13:45:01: nowhere to go\n");
    EXPECT_EQ(console(), "");
}

}  // namespace
}  // namespace tagwick
