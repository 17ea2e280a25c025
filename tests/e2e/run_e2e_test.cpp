// The per-track run through the program itself: statuses, -e, the MPEG value options, the
// choice of work, and the work this build does not do yet.
#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <vector>

#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick::support {
namespace {

const char* const NotBuilt = "This build cannot change or export tags yet\n";

size_t countOf(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

// 200 frames of 417 bytes at 128 kbit/s: 83400 x 8 / 128000 = 5.2 seconds.
ByteVec fiveSecondTrack() { return buildStream({}, 200); }

TEST(Run, MpegValuesActOnTheFirstTrackOnlyInTheirOwnOrder) {
    TempDir dir;
    std::string a = dir.file("a.mp3"), b = dir.file("b.mp3");
    writeFile(a, fiveSecondTrack());
    writeFile(b, buildStream({}, 400));  // 10 seconds
    ByteVec before = readFile(b);
    CliResult result = runCli({"-mchn", "-mfrq", "-mbtr", "-mlen", a, b});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "5\n128000\n44100\n2\n");
    EXPECT_EQ(readFile(b), before);
    EXPECT_EQ(runCli({"-mlen", b, a}).out, "10\n");
    EXPECT_EQ(runCli({"-v", "-mlen", a}).out, "Updating the ID3 tag information for 'a.mp3'\n5\n");
}

// A named pipe with no writer must not keep the program waiting: it cannot be read as a track.
TEST(Run, NamedPipeIsRefusedWithoutWaiting) {
    TempDir dir;
    std::string pipe = dir.file("pipe.mp3");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    CliResult display = runCli({pipe});
    EXPECT_EQ(display.out, "Failed to read the information from the file '" + pipe + "'.\n");
    EXPECT_NE(display.err.find("Failed to open the file '" + pipe + "' for reading"), std::string::npos);
    EXPECT_EQ(runCli({"-mlen", pipe}).status, 1);
    EXPECT_NE(runCli({"-check", pipe}).err.find("Error: Cannot open track '" + pipe + "' or it is empty"),
              std::string::npos);
}

TEST(Run, MpegValuesFollowTheSummary) {
    struct Case {
        int version, kbps, mode;
        std::vector<std::string> options;
        const char* printed;
    };
    for (const Case& value : {Case{1, 128, 1, {"-mchn"}, "2\n"},  // joint stereo
                              Case{1, 128, 2, {"-mchn"}, "2\n"},  // dual channel
                              Case{1, 128, 3, {"-mchn"}, "1\n"},  // mono
                              Case{2, 64, 3, {"-mfrq", "-mbtr"}, "64000\n22050\n"}}) {
        FrameLayout layout;
        layout.version = value.version, layout.bitrateKbps = value.kbps, layout.channelMode = value.mode;
        TempDir dir;
        std::string a = dir.file("a.mp3");
        writeFile(a, buildStream(layout, 50));
        std::vector<std::string> args = value.options;
        args.push_back(a);
        CliResult result = runCli(args);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out, value.printed);
    }
}

// The second of three tracks fails its check; the third (notes.txt, skipped with success) shows
// on standard output only when it is reached. The status is that of the last track processed.
TEST(Run, FailingTrackStopsTheRunOnlyWithE) {
    TempDir dir;
    std::string good = dir.file("good.mp3"), bad = dir.file("bad.mp3"), notes = dir.file("notes.txt");
    std::string text = dir.file("text.mp3");
    writeFile(good, fiveSecondTrack());
    ByteVec garbage = buildStream({}, 20);
    garbage.insert(garbage.end(), 2000, 0x55);
    writeFile(bad, garbage);
    writeText(notes, "text");
    writeText(text, std::string(9000, 'x'));
    const std::string skipped = "File type is not supported for " + notes + "\n";

    CliResult all = runCli({"-check", good, bad, notes});
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.out, skipped);
    EXPECT_EQ(countOf(all.err, "Checking audio file '"), 2u) << all.err;

    CliResult stopped = runCli({"-e", "-check", good, bad, notes});
    EXPECT_EQ(stopped.status, 4);
    EXPECT_EQ(stopped.out, "");
    EXPECT_EQ(countOf(stopped.err, "Checking audio file '"), 2u) << stopped.err;

    EXPECT_EQ(runCli({"-check", good, bad}).status, 4);

    // A track that cannot be opened for an update is status 1.
    CliResult goesOn = runCli({"-mlen", text, good});
    EXPECT_EQ(goesOn.status, 0);
    EXPECT_EQ(goesOn.out, "5\n");
    CliResult stops = runCli({"-e", "-mlen", text, good});
    EXPECT_EQ(stops.status, 1);
    EXPECT_EQ(stops.out, "");
}

// -d with a field only displays; a modifier alone leads to the default display. Nothing is written.
TEST(Run, DisplayAndModifiersAloneChangeNothing) {
    TempDir dir;
    std::string a = dir.file("a.mp3");
    writeFile(a, concat({fiveSecondTrack(), buildV1({"Old", "", "", "", "", 0, 255})}));
    ByteVec before = readFile(a);
    CliResult display = runCli({"-d", "-ti", "x", a});
    EXPECT_EQ(display.status, 0);
    EXPECT_EQ(display.err.find(NotBuilt), std::string::npos) << display.err;
    EXPECT_EQ(display.out, runCli({"-d", a}).out);
    CliResult modifier = runCli({"-rmape", a});
    EXPECT_EQ(modifier.status, 0);
    EXPECT_EQ(modifier.out, runCli({"-d", "-m", a}).out);
    EXPECT_EQ(readFile(a), before);
}

// Work of later builds must say that it was not done and fail the track, leaving it untouched.
struct UnbuiltCase {
    const char* name;
    std::vector<std::string> options;  // the track goes first, so -rename takes no format from it
    bool displaysFirst = false;
};

class RunUnbuilt : public testing::TestWithParam<UnbuiltCase> {};

TEST_P(RunUnbuilt, SaysSoAndFailsTheTrack) {
    TempDir dir;
    std::string a = dir.file("a.mp3");
    writeFile(a, concat({fiveSecondTrack(), buildV1({"Old", "", "", "", "", 0, 255})}));
    ByteVec before = readFile(a);
    std::vector<std::string> args = {a};
    args.insert(args.end(), GetParam().options.begin(), GetParam().options.end());
    // File values are relative names: a value beginning with '/' would be read as an option.
    CliOptions inDir;
    inDir.workingDir = dir.path();
    CliResult result = runCli(args, inDir);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(countOf(result.err, NotBuilt), 1u) << result.err;
    EXPECT_EQ(readFile(a), before);
    EXPECT_EQ(result.out.find("Track information for '" + a + "'\n") != std::string::npos, GetParam().displaysFirst)
        << result.out;
    EXPECT_TRUE(readFile(dir.file("out.tdf")).empty());
    EXPECT_TRUE(readFile(dir.file("copy.mp3")).empty());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RunUnbuilt,
    testing::Values(UnbuiltCase{"FieldUpdate", {"-ti", "x"}}, UnbuiltCase{"V1FieldUpdate", {"-t", "x"}},
                    UnbuiltCase{"RemoveV1", {"-rm1"}}, UnbuiltCase{"RemoveV2", {"-rm2", "-ti", "x"}},
                    UnbuiltCase{"CopyV1ToV2", {"-v1v2"}}, UnbuiltCase{"Import", {"-import", "other.tdf"}},
                    UnbuiltCase{"TagDataExport", {"-export", "out.tdf"}}, UnbuiltCase{"CsvExport", {"-csv", "out.csv"}},
                    UnbuiltCase{"XmlExport", {"-xml", "out.xml"}}, UnbuiltCase{"ImageExport", {"-imex", "cover.jpg"}},
                    UnbuiltCase{"OutputCopy", {"-out", "copy.mp3", "-ti", "x"}},
                    UnbuiltCase{"OutputCopyBeforeMpegValues", {"-out", "copy.mp3", "-mlen"}},
                    UnbuiltCase{"RenameAlone", {"-rename"}}, UnbuiltCase{"RenameAfterDisplay", {"-d", "-rename"}, true}),
    [](const testing::TestParamInfo<UnbuiltCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tagwick::support
