#include "cli/run_log.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "base/logger.h"
#include "support/cli_runner.h"

namespace tagwick {
namespace {

TEST(RunLog, PathIsUnderTheUsersFolder) {
    EXPECT_EQ(runLogPath("alice"), "/Users/alice/library/logs/tagwick.log");
    EXPECT_EQ(runLogPath(""), "/Users//library/logs/tagwick.log");
}

TEST(RunLog, PathIsCutToItsBuffer) {
    std::string path = runLogPath(std::string(2000, 'u'));
    EXPECT_EQ(path.size(), 1023u);
    EXPECT_EQ(path.rfind("/Users/uuu", 0), 0u);
}

// Points USER at a name of its own for the test and restores the environment afterwards.
class RunLogForUser : public testing::Test {
protected:
    void SetUp() override {
        const char* user = std::getenv("USER");
        const char* logname = std::getenv("LOGNAME");
        if (user) savedUser_ = user;
        if (logname) savedLogname_ = logname;
        name_ = "tagwick-runlog-unit-" + std::to_string(getpid());
        setenv("USER", name_.c_str(), 1);
        Logger::resetForTests();
    }
    void TearDown() override {
        if (savedUser_) setenv("USER", savedUser_->c_str(), 1);
        else unsetenv("USER");
        if (savedLogname_) setenv("LOGNAME", savedLogname_->c_str(), 1);
        else unsetenv("LOGNAME");
        std::error_code ignored;
        if (created_) std::filesystem::remove_all("/Users/" + name_, ignored);
        // Only when this test made it, and only while empty (other runs may be using it).
        if (createdRoot_) rmdir("/Users");
        Logger::resetForTests();
    }
    bool makeLogFolder() {
        std::error_code error;
        createdRoot_ = !std::filesystem::exists("/Users");
        std::filesystem::create_directories("/Users/" + name_ + "/library/logs", error);
        created_ = !error;
        return created_;
    }

    std::string name_;
    std::optional<std::string> savedUser_;
    std::optional<std::string> savedLogname_;
    bool created_ = false;
    bool createdRoot_ = false;
};

TEST_F(RunLogForUser, HeaderGoesToTheFileOnlyAndEchoFollows) {
    if (!makeLogFolder()) GTEST_SKIP() << "cannot create /Users/" << name_;
    testing::internal::CaptureStdout();
    {
        RunLog log("9.8.7.6");
        EXPECT_TRUE(log.opened());
        EXPECT_EQ(log.path(), "/Users/" + name_ + "/library/logs/tagwick.log");
        EXPECT_EQ(Logger::maxLevel(), 2u);
        Logger::log(LogError, "Something failed");
        Logger::log(LogProgress, "Not shown at level 2");
    }
    std::fflush(stdout);
    std::string printed = testing::internal::GetCapturedStdout();
    // Echo is on after the header: the error shows without its date, the header not at all.
    EXPECT_EQ(printed, "Something failed\n");

    std::string logged = support::readText("/Users/" + name_ + "/library/logs/tagwick.log");
    const std::string header = "\n# Tagwick CMD Version 1.24.38 (9.8.7.6)\n";
    ASSERT_EQ(logged.rfind(header, 0), 0u) << logged;
    std::string rest = logged.substr(header.size());
    // "YYYY-MM-DD hh:mm:ss: Something failed"
    ASSERT_EQ(rest.size(), 19u + 2u + 17u) << rest;
    EXPECT_EQ(rest.substr(19), ": Something failed\n");
}

TEST_F(RunLogForUser, LogFollowsLognameWhenUserIsUnset) {
    if (!makeLogFolder()) GTEST_SKIP() << "cannot create /Users/" << name_;
    unsetenv("USER");
    setenv("LOGNAME", name_.c_str(), 1);
    { RunLog log("1.2.3.4"); EXPECT_TRUE(log.opened()); }
    EXPECT_EQ(support::readText("/Users/" + name_ + "/library/logs/tagwick.log"),
              "\n# Tagwick CMD Version 1.24.38 (1.2.3.4)\n");
}

TEST_F(RunLogForUser, MissingFolderLeavesTheLoggerOnStandardError) {
    RunLog log("1.2.3.4");
    EXPECT_FALSE(log.opened());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Logger::log(LogError, "Goes to standard error");
    std::fflush(stdout);
    std::string out = testing::internal::GetCapturedStdout();
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(out, "");
    EXPECT_NE(err.find(": Goes to standard error\n"), std::string::npos) << err;
}

}  // namespace
}  // namespace tagwick
