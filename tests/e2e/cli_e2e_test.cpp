// Runs the built program: help and version, the scan's messages, and the run log.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cli/options.h"
#include "support/cli_runner.h"

namespace tagwick {
namespace {

using namespace support;

const std::string VersionLine = "Tagwick version: 1.24.38 (1.17.78.342) \n\n";
const std::string NoTrack = "No target track specified (use -h for help)\n";
const std::string LogHeader = "\n# Tagwick CMD Version 1.24.38 (1.17.78.342)\n";

TEST(Cli, HelpRequestPrintsVersionAndHelpAndProcessesNothing) {
    TempDir dir;
    writeText(dir.file("song.mp3"), "not really audio");
    const CliResult plain = runCli({}, {dir.path()});
    EXPECT_EQ(plain.status, 0);
    const std::string& help = plain.out;
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"/?"}, {"song.mp3", "-ti", "x", "-H"}, {"--help"}}) {
        CliResult r = runCli(args, {dir.path()});
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.out, help) << testing::PrintToString(args);
    }
    EXPECT_EQ(readText(dir.file("song.mp3")), "not really audio");

    EXPECT_TRUE(help.starts_with(VersionLine + "Usage: tagwickcli [options] file [file]...\n\n")) << help;
    size_t previous = 0;
    for (const char* group : {"Version 2 tag information:", "Version 1 tag information:", "Podcast information:",
                              "MPEG information:", "Miscellaneous:"}) {
        size_t at = help.find(std::string("\n\n") + group + "\n");
        EXPECT_TRUE(at != std::string::npos && at > previous) << group;
        previous = at;
    }
    auto listed = [&](const std::string& w) {  // "  -w ..." or "  -h, -?"
        for (const std::string& form : {"\n  -" + w + ' ', "\n  -" + w + ',', ", -" + w + ' '})
            if (help.find(form) != std::string::npos) return true;
        return false;
    };
    for (std::string_view word : optionWords()) EXPECT_TRUE(listed(std::string(word))) << word;
    const std::string indent(28, ' ');
    for (const std::string& lines :
         {"  -xml file [noimg] [v]     save tag data as XML, without images with noimg\n" + indent +
              "Note: If v is set to 1 the CSV or XML will be retricted\n" + indent +
              "to a previous version for compatability\n",
          "  -check [fix]              check the MPEG stream, and with fix rebuild it\n" + indent +
              "Fixing errors may remove the ID3v2 tag\n",
          std::string("  -cl                       compilation flag on (iTunes)\n")})
        EXPECT_NE(help.find(lines), std::string::npos) << lines;
    EXPECT_TRUE(help.ends_with(
        "\n  -h, -?                    print the help text\n\n"
        "Where text can be in 8 bit ISO-8859-1 (Latin 1) format or 7 bit ASCII and\n"
        "utext can also be in UTF-8 for Unicode support.\n"
        "File names can also be in UTF-8 format if supported by the operating system.\n"
        "Note: The ID3 V1 standard does not support Unicode.\n\n"
        "To delete a tag field add an extra '-' to the argument, for example\n"
        "'-ti \"A title\"' would add the title and '--ti' would delete the title.\n"
        "Note: The delete option is only available for V1, V2 and Podcast fields and\n"
        "does not include cf, cl, im, ir, ly, es, vn, pcon or pcof.\n"))
        << help;
}

TEST(Cli, ScanMessagesGoToStandardOutputBeforeTheVersionLine) {
    TempDir dir;
    // A value beginning with '-' or '/' makes its option not match; the value is then scanned itself.
    CliResult r = runCli({"--xyz", "--helpme", "-al", "/nosuchoption", "/missing-tagwick/song.mp3",
                          "nosuchfolder/a.mp3", "-ti", "-ar", "x", "-ver", "--g", "-tr"}, {dir.path()});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "Unknown delete command xyz\nUnknown delete command helpme\nUnknown command al\n"
                     "Unknown command nosuchoption\n"
                     "File not found /missing-tagwick/song.mp3\nFailed to find the file using 'nosuchfolder/a.mp3'\n"
                     "Unknown command ti\nUnknown command tr\n" + VersionLine + NoTrack);
    // Without a log file the Logger writes to standard error, header included.
    EXPECT_EQ(r.err, LogHeader);
}

TEST(Cli, EachRunAppendsAHeaderToTheUsersLogAndMessagesEchoWithoutTheDate) {
    const std::string name = "tagwick-e2e-" + std::to_string(getpid()), home = "/Users/" + name;
    const std::string log = home + "/library/logs/tagwick.log";
    const bool madeUsers = !std::filesystem::exists("/Users");
    const std::shared_ptr<void> cleanup(nullptr, [&](void*) {  // runs at the end of the test
        std::error_code ignored;
        std::filesystem::remove_all(home, ignored);
        if (madeUsers) rmdir("/Users");  // only when this test made it (and it is empty)
    });
    std::error_code error;
    std::filesystem::create_directories(home + "/library/logs", error);
    if (error) GTEST_SKIP() << "cannot create " << home << ": " << error.message();
    writeText(log, "earlier line\n");
    TempDir dir;
    writeText(dir.file("a.mp3"), "junk");
    CliOptions options{dir.path(), name, {{"LOGNAME", "tagwick-e2e-someone-else"}}, {}};  // USER comes first

    CliResult failed = runCli({"-ti", "x", "a.mp3"}, options);
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.out, "File is not a valid MP3 file (0x6A756E6B)\n");
    EXPECT_EQ(failed.err, "");
    options.user = "";  // with USER unset, LOGNAME names the log's owner
    options.env = {{"LOGNAME", name}};
    EXPECT_EQ(runCli({"--Version"}, options).out, VersionLine + NoTrack);

    const std::string text = readText(log), start = "earlier line\n" + LogHeader;
    ASSERT_TRUE(text.starts_with(start)) << text;
    // "YYYY-MM-DD hh:mm:ss" then the message, then the second run's header.
    const std::string rest = text.substr(start.size());
    EXPECT_TRUE(rest.size() > 19 && rest[4] == '-' && rest[10] == ' ') << text;
    EXPECT_EQ(rest.substr(19), ": File is not a valid MP3 file (0x6A756E6B)\n" + LogHeader);
}

}  // namespace
}  // namespace tagwick
