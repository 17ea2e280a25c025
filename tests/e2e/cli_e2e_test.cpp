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
const std::string LogHeader = "\n# Tagwick CMD Version 1.24.38 (1.17.78.342)\n";

TEST(Cli, HelpRequestPrintsVersionAndHelpAndProcessesNothing) {
    support::TempDir dir;
    support::writeText(dir.file("song.mp3"), "not really audio");
    CliOptions options;
    options.workingDir = dir.path();
    const std::vector<std::string> requests[] = {
        {}, {"-h"}, {"-?"}, {"/H"}, {"song.mp3", "-ti", "x", "-h"}, {"-ver", "-h", "song.mp3"}};
    for (const std::vector<std::string>& args : requests) {
        CliResult r = runCli(args, options);
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.out, VersionLine + helpText()) << testing::PrintToString(args);
    }
    EXPECT_EQ(support::readText(dir.file("song.mp3")), "not really audio");
}

TEST(Cli, VersionRequestGoesOnToTheTracks) {
    CliResult r = runCli({"-ver"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, VersionLine + NoTrack);
    // Without a log file the Logger writes to standard error, header included.
    EXPECT_NE(r.err.find(LogHeader), std::string::npos) << r.err;
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

// Removes a folder of the test's own, and /Users too when the test made it and it is empty.
struct Cleanup {
    std::string path;
    bool madeRoot;
    ~Cleanup() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
        if (madeRoot) rmdir("/Users");
    }
};

TEST(Cli, RunsAppendAHeaderEachToTheUsersLogAndMessagesEchoWithoutTheDate) {
    const std::string name = "tagwick-e2e-" + std::to_string(getpid()), home = "/Users/" + name;
    const std::string log = home + "/library/logs/tagwick.log";
    Cleanup cleanup{home, !std::filesystem::exists("/Users")};
    std::error_code error;
    std::filesystem::create_directories(home + "/library/logs", error);
    if (error) GTEST_SKIP() << "cannot create " << home << ": " << error.message();
    support::writeText(log, "earlier line\n");
    support::TempDir dir;
    support::writeText(dir.file("a.mp3"), "junk");
    CliOptions options;
    options.user = name;  // USER comes before LOGNAME
    options.env = {{"LOGNAME", "tagwick-e2e-someone-else"}};
    options.workingDir = dir.path();

    CliResult failed = runCli({"-ti", "x", "a.mp3"}, options);
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.out, "File is not a valid MP3 file (0x6A756E6B)\n");
    CliResult second = runCli({"-ver"}, options);
    EXPECT_EQ(second.out, VersionLine + NoTrack);
    EXPECT_EQ(failed.err + second.err, "");

    const std::string message = ": File is not a valid MP3 file (0x6A756E6B)\n";
    std::string text = support::readText(log);
    const std::string start = "earlier line\n" + LogHeader;
    ASSERT_EQ(text.rfind(start, 0), 0u) << text;
    // "YYYY-MM-DD hh:mm:ss" then the message, then the second run's header.
    std::string rest = text.substr(start.size());
    EXPECT_TRUE(rest.size() > 19 && rest[4] == '-' && rest[10] == ' ') << text;
    EXPECT_EQ(rest.substr(19), message + LogHeader);

    options.user = "";  // with USER unset, LOGNAME names the log's owner
    options.env = {{"LOGNAME", name}};
    runCli({"-ver"}, options);
    EXPECT_EQ(support::readText(log), text + LogHeader);
}

}  // namespace
}  // namespace tagwick
