// The per-track run through the program itself: kinds of work, statuses, -e, the MPEG value
// options, and the work this build does not do yet.
#include <gtest/gtest.h>

#include <string>
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
ByteVec fiveSecondTrack(FrameSpec layout = {}) { return buildStream(layout, 200); }

// 20 good frames and then 2000 bytes that are no audio at all: the checker reports them.
ByteVec trackWithGarbageAtTheEnd() {
    ByteVec bytes = buildStream(FrameSpec{}, 20);
    bytes.insert(bytes.end(), 2000, 0x55);
    return bytes;
}

TEST(Run, UnsupportedFileTypeIsSkippedWithSuccess) {
    TempDir dir;
    std::string notes = dir.file("notes.txt");
    writeText(notes, "not a track\n");
    CliResult result = runCli({"-d", notes});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "File type is not supported for " + notes + "\n");
}

TEST(Run, MpegLengthActsOnTheFirstTrackOnly) {
    TempDir dir;
    std::string a = dir.file("a.mp3"), b = dir.file("b.mp3");
    writeFile(a, fiveSecondTrack());
    writeFile(b, buildStream(FrameSpec{}, 400));  // 10 seconds
    ByteVec before = readFile(b);
    CliResult result = runCli({"-mlen", a, b});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "5\n");
    EXPECT_EQ(readFile(b), before);

    CliResult swapped = runCli({"-mlen", b, a});
    EXPECT_EQ(swapped.out, "10\n");
}

TEST(Run, MpegValuesPrintInTheirOwnOrder) {
    TempDir dir;
    std::string a = dir.file("a.mp3");
    writeFile(a, fiveSecondTrack());
    CliResult result = runCli({"-mchn", "-mfrq", "-mbtr", "-mlen", a});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "5\n128000\n44100\n2\n");
}

struct MpegValueCase {
    const char* name;
    FrameSpec frames;
    const char* option;
    const char* printed;
};

FrameSpec withMode(int mode) {
    FrameSpec layout;
    layout.channelMode = mode;
    return layout;
}

FrameSpec mpeg2(int kbps) {
    FrameSpec layout;
    layout.version = 2;
    layout.bitrateKbps = kbps;
    layout.channelMode = 3;
    return layout;
}

class RunMpegValue : public testing::TestWithParam<MpegValueCase> {};

TEST_P(RunMpegValue, PrintsTheValueOfTheSummary) {
    TempDir dir;
    std::string a = dir.file("a.mp3");
    writeFile(a, buildStream(GetParam().frames, 50));
    CliResult result = runCli({GetParam().option, a});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(
    Values, RunMpegValue,
    testing::Values(MpegValueCase{"StereoIsTwo", withMode(0), "-mchn", "2\n"},
                    MpegValueCase{"JointStereoIsTwo", withMode(1), "-mchn", "2\n"},
                    MpegValueCase{"DualChannelIsTwo", withMode(2), "-mchn", "2\n"},
                    MpegValueCase{"MonoIsOne", withMode(3), "-mchn", "1\n"},
                    MpegValueCase{"Mpeg2FrequencyInHertz", mpeg2(64), "-mfrq", "22050\n"},
                    MpegValueCase{"Mpeg2BitRateInBitsPerSecond", mpeg2(64), "-mbtr", "64000\n"}),
    [](const testing::TestParamInfo<MpegValueCase>& info) { return std::string(info.param.name); });

TEST(Run, VerboseUpdateNamesTheTrackByItsBaseName) {
    TempDir dir;
    std::string a = dir.file("a.mp3");
    writeFile(a, fiveSecondTrack());
    CliResult result = runCli({"-v", "-mlen", a});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Updating the ID3 tag information for 'a.mp3'\n5\n");
}

TEST(Run, TrackThatCannotBeOpenedForAnUpdateIsStatusOne) {
    TempDir dir;
    std::string bad = dir.file("bad.mp3"), good = dir.file("good.mp3");
    writeText(bad, std::string(9000, 'x'));
    writeFile(good, fiveSecondTrack());

    CliResult goesOn = runCli({"-mlen", bad, good});
    EXPECT_EQ(goesOn.status, 0);
    EXPECT_EQ(goesOn.out, "5\n");

    CliResult stops = runCli({"-e", "-mlen", bad, good});
    EXPECT_EQ(stops.status, 1);
    EXPECT_EQ(stops.out, "");

    CliResult last = runCli({"-mlen", bad});
    EXPECT_EQ(last.status, 1);
}

TEST(Run, CheckOfAGoodTrackSucceeds) {
    TempDir dir;
    std::string good = dir.file("good.mp3");
    writeFile(good, fiveSecondTrack());
    CliResult result = runCli({"-check", good});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("Checking audio file '" + good + "'..."), std::string::npos) << result.err;
}

TEST(Run, CheckThatFindsProblemsIsStatusFour) {
    TempDir dir;
    std::string bad = dir.file("bad.mp3");
    writeFile(bad, trackWithGarbageAtTheEnd());
    CliResult result = runCli({"-check", bad});
    EXPECT_EQ(result.status, 4);
}

// Second of three tracks fails; the third (notes.txt) shows on standard output when it is reached.
TEST(Run, FailingSecondTrackDoesNotStopTheRunWithoutE) {
    TempDir dir;
    std::string good = dir.file("good.mp3"), bad = dir.file("bad.mp3"), notes = dir.file("notes.txt");
    writeFile(good, fiveSecondTrack());
    writeFile(bad, trackWithGarbageAtTheEnd());
    writeText(notes, "text");
    CliResult result = runCli({"-check", good, bad, notes});
    EXPECT_EQ(result.status, 0);  // the third track's
    EXPECT_EQ(result.out, "File type is not supported for " + notes + "\n");
    EXPECT_EQ(countOf(result.err, "Checking audio file '"), 2u) << result.err;
}

TEST(Run, FailingSecondTrackStopsTheRunWithE) {
    TempDir dir;
    std::string good = dir.file("good.mp3"), bad = dir.file("bad.mp3"), notes = dir.file("notes.txt");
    writeFile(good, fiveSecondTrack());
    writeFile(bad, trackWithGarbageAtTheEnd());
    writeText(notes, "text");
    CliResult result = runCli({"-e", "-check", good, bad, notes});
    EXPECT_EQ(result.status, 4);  // the second track's
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(countOf(result.err, "Checking audio file '"), 2u) << result.err;
}

TEST(Run, StatusIsThatOfTheLastTrack) {
    TempDir dir;
    std::string good = dir.file("good.mp3"), bad = dir.file("bad.mp3");
    writeFile(good, fiveSecondTrack());
    writeFile(bad, trackWithGarbageAtTheEnd());
    EXPECT_EQ(runCli({"-check", bad, good}).status, 0);
    EXPECT_EQ(runCli({"-check", good, bad}).status, 4);
}

TEST(Run, DisplayWithAFieldOnlyDisplays) {
    TempDir dir;
    std::string a = dir.file("a.mp3");
    writeFile(a, concat({fiveSecondTrack(), buildV1({"Old", "", "", "", "", 0, 255})}));
    ByteVec before = readFile(a);
    CliResult result = runCli({"-d", "-ti", "x", a});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err.find(NotBuilt), std::string::npos) << result.err;
    EXPECT_EQ(result.out.substr(0, result.out.find('\n') + 1), "Track information for '" + a + "'\n");
    EXPECT_NE(result.out.find(" Title: Old\n"), std::string::npos) << result.out;
    EXPECT_EQ(result.out.find(" Title: x"), std::string::npos) << result.out;
    EXPECT_EQ(readFile(a), before);
}

TEST(Run, NoOptionsDisplayTagsAndFileInformation) {
    TempDir dir;
    std::string a = dir.file("a.mp3");
    writeFile(a, fiveSecondTrack());
    CliResult plain = runCli({a});
    CliResult asked = runCli({"-d", "-m", a});
    EXPECT_EQ(plain.status, 0);
    EXPECT_NE(plain.out.find("\nNo ID3 Version 1 tag found\n\nNo ID3 Version 2 tag found\n\nFile information:\n"),
              std::string::npos)
        << plain.out;
    EXPECT_EQ(plain.out, asked.out);
    EXPECT_EQ(plain.out.find("Image details"), std::string::npos);
}

TEST(Run, ModifierAloneLeadsToTheDefaultDisplay) {
    TempDir dir;
    std::string a = dir.file("a.mp3");
    writeFile(a, fiveSecondTrack());
    CliResult result = runCli({"-rmape", a});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, runCli({a}).out);
}

// Work of later builds must say that it was not done and fail the track, leaving it untouched.
struct UnbuiltCase {
    const char* name;
    std::vector<std::string> options;  // the track goes first, so -rename takes no format from it
    bool displaysFirst;
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
    EXPECT_NE(result.err.find(NotBuilt), std::string::npos) << result.err;
    EXPECT_EQ(readFile(a), before);
    if (GetParam().displaysFirst) {
        EXPECT_NE(result.out.find("Track information for '" + a + "'\n"), std::string::npos) << result.out;
    } else {
        EXPECT_EQ(result.out.find("Track information"), std::string::npos) << result.out;
    }
    // Nothing was written next to the track: the folder holds the track alone.
    EXPECT_EQ(readFile(dir.file("out.tdf")).size(), 0u);
    EXPECT_EQ(readFile(dir.file("copy.mp3")).size(), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RunUnbuilt,
    testing::Values(UnbuiltCase{"FieldUpdate", {"-ti", "x"}, false},
                    UnbuiltCase{"V1FieldUpdate", {"-t", "x"}, false},
                    UnbuiltCase{"RemoveV1", {"-rm1"}, false},
                    UnbuiltCase{"RemoveV2", {"-rm2", "-ti", "x"}, false},
                    UnbuiltCase{"CopyV1ToV2", {"-v1v2"}, false},
                    UnbuiltCase{"Import", {"-import", "other.tdf"}, false},
                    UnbuiltCase{"TagDataExport", {"-export", "out.tdf"}, false},
                    UnbuiltCase{"CsvExport", {"-csv", "out.csv"}, false},
                    UnbuiltCase{"XmlExport", {"-xml", "out.xml"}, false},
                    UnbuiltCase{"ImageExport", {"-imex", "cover.jpg"}, false},
                    UnbuiltCase{"OutputCopy", {"-out", "copy.mp3", "-ti", "x"}, false},
                    UnbuiltCase{"OutputCopyBeforeMpegValues", {"-out", "copy.mp3", "-mlen"}, false},
                    UnbuiltCase{"RenameAlone", {"-rename"}, false},
                    UnbuiltCase{"RenameAfterDisplay", {"-d", "-rename"}, true}),
    [](const testing::TestParamInfo<UnbuiltCase>& info) { return std::string(info.param.name); });

TEST(Run, UnbuiltWorkWithEStopsAtTheFirstTrack) {
    TempDir dir;
    std::string a = dir.file("a.mp3"), b = dir.file("b.mp3");
    writeFile(a, fiveSecondTrack());
    writeFile(b, fiveSecondTrack());
    CliResult result = runCli({"-e", "-ti", "x", a, b});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(countOf(result.err, NotBuilt), 1u) << result.err;

    CliResult all = runCli({"-ti", "x", a, b});
    EXPECT_EQ(countOf(all.err, NotBuilt), 2u) << all.err;
}

}  // namespace
}  // namespace tagwick::support
