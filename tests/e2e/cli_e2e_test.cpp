// Runs the built program: help and version, the scan's messages, and the run log.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cli/help_text.h"
#include "support/cli_runner.h"

namespace tagwick {
namespace {

using support::CliOptions;
using support::CliResult;
using support::runCli;

const std::string VersionLine = "Tagwick version: 1.24.38 (1.17.78.342) \n\n";
const std::string NoTrack = "No target track specified (use -h for help)\n";

std::string logHeader() { return "\n# Tagwick CMD Version 1.24.38 (1.17.78.342)\n"; }

class HelpRequest : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(HelpRequest, PrintsVersionAndHelpOnly) {
    support::TempDir dir;
    support::writeText(dir.file("song.mp3"), "not really audio");
    CliOptions options;
    options.workingDir = dir.path();
    CliResult r = runCli(GetParam(), options);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, VersionLine + helpText());
    EXPECT_NE(r.out.find("\nUsage: tagwickcli [options] file [file]...\n\nVersion 2 tag information:\n"),
              std::string::npos);
    for (const char* line : {"\nVersion 1 tag information:\n", "\nPodcast information:\n", "\nMPEG information:\n",
                             "\nMiscellaneous:\n", "does not include cf, cl, im, ir, ly, es, vn, pcon or pcof.\n"}) {
        EXPECT_NE(r.out.find(line), std::string::npos) << line;
    }
    // The file named with the help request is left alone.
    EXPECT_EQ(support::readText(dir.file("song.mp3")), "not really audio");
}

INSTANTIATE_TEST_SUITE_P(Cli, HelpRequest,
                         testing::Values(std::vector<std::string>{}, std::vector<std::string>{"-h"},
                                         std::vector<std::string>{"-?"}, std::vector<std::string>{"/H"},
                                         std::vector<std::string>{"song.mp3", "-ti", "x", "-h"},
                                         std::vector<std::string>{"-ver", "-h", "song.mp3"}),
                         [](const auto& info) { return "Case" + std::to_string(info.index); });

TEST(Cli, VersionRequestGoesOn) {
    CliResult r = runCli({"-ver"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, VersionLine + NoTrack);
}

TEST(Cli, NoTrackIsReported) {
    CliResult r = runCli({"-d", "-ti", "x"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, NoTrack);
}

TEST(Cli, ScanMessagesGoToStandardOutputInOrder) {
    support::TempDir dir;
    CliOptions options;
    options.workingDir = dir.path();
    CliResult r = runCli({"--xyz", "/nosuchoption", "/missing-tagwick/song.mp3", "nosuchfolder/a.mp3", "-ti",
                          "-ar", "x", "--g", "-tr"},
                         options);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out,
              "Unknown delete command xyz\n"
              "Unknown command nosuchoption\n"
              "File not found /missing-tagwick/song.mp3\n"
              "Failed to find the file using 'nosuchfolder/a.mp3'\n"
              "Unknown command ti\n"
              "Unknown command tr\n" +
                  NoTrack);
}

TEST(Cli, HeaderNeverReachesStandardOutput) {
    CliResult r = runCli({"-ver"});
    EXPECT_EQ(r.out.find("CMD Version"), std::string::npos);
    // Without a log file the Logger writes to standard error.
    EXPECT_NE(r.err.find("# Tagwick CMD Version 1.24.38 (1.17.78.342)\n"), std::string::npos) << r.err;
}

// A user of the test's own with a log folder under /Users, removed at the end.
class RunLogFile : public testing::Test {
protected:
    void SetUp() override {
        name_ = "tagwick-e2e-" + std::to_string(getpid()) + "-" +
                testing::UnitTest::GetInstance()->current_test_info()->name();
        createdRoot_ = !std::filesystem::exists("/Users");
        std::error_code error;
        std::filesystem::create_directories(logFolder(), error);
        if (error) GTEST_SKIP() << "cannot create " << logFolder() << ": " << error.message();
        created_ = true;
    }
    void TearDown() override {
        std::error_code ignored;
        if (created_) std::filesystem::remove_all("/Users/" + name_, ignored);
        // Only when this test made it, and only while empty (other runs may be using it).
        if (createdRoot_) rmdir("/Users");
    }
    std::string logFolder() const { return "/Users/" + name_ + "/library/logs"; }
    std::string logFile() const { return logFolder() + "/tagwick.log"; }

    std::string name_;
    bool created_ = false;
    bool createdRoot_ = false;
};

TEST_F(RunLogFile, TwoRunsAppendTwoHeaders) {
    CliOptions options;
    options.user = name_;
    CliResult first = runCli({"-ver"}, options);
    CliResult second = runCli({"-d"}, options);
    EXPECT_EQ(first.out, VersionLine + NoTrack);
    EXPECT_EQ(second.out, NoTrack);
    EXPECT_EQ(first.err, "");
    EXPECT_EQ(second.err, "");
    EXPECT_EQ(support::readText(logFile()), logHeader() + logHeader());
}

TEST_F(RunLogFile, LognameGivesTheNameWhenUserIsUnset) {
    CliOptions options;
    options.user = "";
    options.env = {{"LOGNAME", name_}};
    CliResult r = runCli({"-ver"}, options);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(support::readText(logFile()), logHeader());
}

TEST_F(RunLogFile, UserComesBeforeLogname) {
    CliOptions options;
    options.user = name_;
    options.env = {{"LOGNAME", "tagwick-e2e-someone-else"}};
    runCli({"-ver"}, options);
    EXPECT_EQ(support::readText(logFile()), logHeader());
}

TEST_F(RunLogFile, ExistingLogIsAppendedTo) {
    support::writeText(logFile(), "earlier line\n");
    CliOptions options;
    options.user = name_;
    runCli({"-h"}, options);
    EXPECT_EQ(support::readText(logFile()), "earlier line\n" + logHeader());
}

}  // namespace
}  // namespace tagwick
