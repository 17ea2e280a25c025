// The stream checker: frame decoding, run search, CRCs, the walk with its exact report (VBR
// headers, tags, RIFF wrapper, invalid data), checkAudioFile's streams, and sample files.
#include "mpeg/stream_checker.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <tuple>
#include <optional>

#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::concat;
using support::FrameLayout;

constexpr size_t kFrame = 417;  // the default frame: MPEG-1 layer III, 128 kbit/s, 44100 Hz

FrameLayout frameOf(int version, int layer, int kbps, int rateIndex = 0, bool padding = false, int mode = 0) {
    FrameLayout s;
    s.version = version;
    s.layer = layer;
    s.bitrateKbps = kbps;
    s.sampleRateIndex = rateIndex;
    s.padding = padding;
    s.channelMode = mode;
    return s;
}

FrameLayout withCrc(bool wrong, FrameLayout s = {}) {
    s.crc = true;
    s.wrongCrc = wrong;
    return s;
}

ByteVec frames(size_t count, const FrameLayout& frame = {}) { return support::buildStream(frame, count); }
ByteVec zeros(size_t n) { return ByteVec(n, 0); }
ByteVec id3v1() { return support::buildV1({}); }
ByteVec id3v2(size_t padding, bool footer = false) {
    support::V2TagLayout tag;
    tag.major = 4;
    tag.flags = footer ? 0x10 : 0;
    tag.footer = footer;
    tag.padding = padding;
    return support::buildV2Tag(tag);
}
ByteVec apeTag() {
    support::ApeLayout ape;
    ape.items.push_back({"Title", "x"});
    return support::buildApeTag(ape);
}

ByteVec xingFrame(std::optional<uint32_t> frameCount, std::optional<uint32_t> byteCount, const char* tag = "Xing",
                  const FrameLayout& frame = {}) {
    support::XingLayout x;
    x.tag = tag;
    x.frames = frameCount;
    x.bytes = byteCount;
    return support::buildXingFrame(frame, x);
}
ByteVec vbriFrame(uint32_t byteCount, uint32_t frameCount) {
    return support::buildVbriFrame({}, {.bytes = byteCount, .frames = frameCount});
}

// Runs `write` against an in-memory stream and returns what it wrote.
template <typename Write>
std::string captured(Write write) {
    char* buffer = nullptr;
    size_t length = 0;
    FILE* stream = open_memstream(&buffer, &length);
    write(stream);
    std::fclose(stream);
    std::string out(buffer, length);
    std::free(buffer);
    return out;
}

struct Checked {
    CheckStats stats;
    std::string text;
};

Checked check(ByteVec bytes) {
    Checked out;
    out.text = captured([&](FILE* stream) {
        EXPECT_EQ(scanAudio(bytes, out.stats, stream, false, -1), 0);
        printReport(stream, out.stats, false);
    });
    return out;
}

TEST(StreamCheckerReport, PrefixesByLevel) {
    EXPECT_EQ(captured([](FILE* s) {
                  for (int level : {0, 1, 2, 3, 4, -1}) report(s, level, "%s %d", "text", level);
              }),
              "text 0\nError: text 1\nWarning: text 2\nInfo: text 3\n");
    EXPECT_EQ(report(nullptr, 1, "x"), 0);
}

TEST(DecodeFrameHeader, FailuresKeepTheKindCounted) {
    FrameLayout freeFormat, indexFifteen, noRate, badVersion, badLayer;
    freeFormat.bitrateIndex = 0;
    indexFifteen.bitrateIndex = 15;
    noRate.sampleRateIndex = 3;
    badVersion.versionBits = 1;
    badLayer.layerBits = 0;
    const std::pair<FrameLayout, int> cases[] = {
        {freeFormat, 1}, {indexFifteen, 1}, {noRate, 1}, {badVersion, 0}, {badLayer, 0}};
    for (const auto& [frame, counted] : cases) {
        const ByteVec data = concat({zeros(5), support::buildFrame(frame)});
        CheckStats stats;
        EXPECT_EQ(decodeFrameHeader(data, 5, stats), -1);
        EXPECT_EQ(stats.totalFrames(), counted);
        EXPECT_EQ(stats.streamErrorOffset, 5);
        EXPECT_EQ(stats.dataBytes, 0);
    }
    CheckStats stats;
    EXPECT_EQ(decodeFrameHeader(ByteVec{0xFF, 0xFB, 0x90}, 0, stats), -1);
    EXPECT_EQ(stats.totalFrames(), 0);
}

TEST(FindFrameRun, FindsOneKindBackToBackInsideTheData) {
    const ByteVec falseSyncs = {0xFF, 0xFB, 0x90, 0x00, 0xFF, 0x00, 0xFF, 0xE0};
    const ByteVec data = concat({falseSyncs, zeros(92), frames(8)});
    EXPECT_EQ(findFrameRun(data, 0, 8), 100);
    EXPECT_EQ(findFrameRun(data, 0, 9), -1);
    EXPECT_EQ(findFrameRun(data, 101, 6), int64_t(100 + kFrame));
    ByteVec cut = frames(8);
    cut.pop_back();
    EXPECT_EQ(findFrameRun(cut, 0, 8), -1);
    EXPECT_EQ(findFrameRun(cut, 0, 7), 0);
    const ByteVec mixed = concat({frames(4), frames(4, frameOf(1, 2, 128))});
    EXPECT_EQ(findFrameRun(mixed, 0, 8), -1);
    EXPECT_EQ(findFrameRun(mixed, 1, 4), int64_t(4 * kFrame));
    EXPECT_EQ(findFrameRun(mixed, mixed.size() + 10, 1), -1);
    // Only the first frame of a run is found by its sync; the later headers are decoded where
    // they fall, so a lost sync byte there does not break the run.
    ByteVec unsynced = frames(8);
    unsynced[3 * kFrame] = 0x00;
    EXPECT_EQ(findFrameRun(unsynced, 0, 8), 0);
}

// The side information covered is 32 bytes for MPEG-1 stereo, 17 for mono, 17 and 9 for MPEG-2/2.5.
TEST(CheckFrameCrc, SideInformationLengthAndFix) {
    for (FrameLayout s : {frameOf(1, 3, 128), frameOf(1, 3, 64, 0, false, 3), frameOf(2, 3, 64),
                        frameOf(2, 3, 32, 0, false, 3), frameOf(25, 3, 32, 0, false, 3)}) {
        s = withCrc(false, s);
        s.filler = 0x5A;  // side information that is not all zero
        const ByteVec good = support::buildFrame(s);
        s.wrongCrc = true;
        const ByteVec wrong = support::buildFrame(s);
        ByteVec frame = good;
        CheckStats stats;
        ASSERT_GT(decodeFrameHeader(frame, 0, stats), 0);
        EXPECT_TRUE(checkFrameCrc(frame, 0, stats, false));
        EXPECT_EQ(stats.crcErrorCount, 0);
        frame = wrong;
        EXPECT_FALSE(checkFrameCrc(frame, 0, stats, false));
        EXPECT_EQ(frame, wrong);
        EXPECT_FALSE(checkFrameCrc(frame, 0, stats, true));
        EXPECT_EQ(frame, good);
        EXPECT_EQ(std::tie(stats.crcErrorSeen, stats.crcErrorCount), std::make_tuple(1, 2));
    }
}

const std::string kNoTags = "Warning: No supported tags were found\n";
const std::string kTooFew = "Warning: Too few MPEG frames (this is not a valid MPEG audio file)\n";
const std::string kL3 = "Information: MPEG 1 Layer III, ";
const std::string kStreamError = "Warning: An MPEG stream error has been detected\n";
const std::string kTruncated =
    "Warning: The audio track has been truncated or there is invalid data at the end of the file (from offset ";

// The summary line of `count` MPEG-1 layer III frames, after the warning that no tag was found.
std::string untagged(int count, const std::string& rate = "CBR") {
    return kNoTags + kL3 + std::to_string(count) + " MPEG frames, " + rate + ", No tags\n";
}

struct WalkCase {
    const char* name;
    ByteVec (*data)();
    std::string text;
    int errors;
};

class StreamCheckerWalk : public testing::TestWithParam<WalkCase> {};

TEST_P(StreamCheckerWalk, ReportsExactly) {
    Checked out = check(GetParam().data());
    EXPECT_EQ(out.text, GetParam().text);
    EXPECT_EQ(out.stats.errorCount, GetParam().errors);
}

const int kVbrRates[] = {128, 160, 128, 192, 128, 160, 128, 192, 128, 160};  // 5 * 417 + 3 * 522 + 2 * 626 bytes

ByteVec xingAt36InMono() {
    support::XingLayout x;
    x.frames = x.bytes = 1;
    const FrameLayout mono = frameOf(1, 3, 128, 0, false, 3);
    return concat({support::buildXingFrameAt36(mono, x), frames(10, mono)});
}
ByteVec halfLastFrame() {
    ByteVec data = frames(11);
    data.resize(10 * kFrame + 200);
    return data;
}
ByteVec lyingFrameInside() {
    ByteVec bad = support::buildFrame(frameOf(1, 3, 128, 0, true));  // claims 418 bytes, has 417
    bad.pop_back();
    return concat({frames(5), bad, frames(10)});
}
ByteVec riffWrapped() {
    support::RiffLayout riff;
    riff.before.push_back({"fact", ByteVec(4, 1)});
    return support::buildRiffWave(frames(10), riff);
}
ByteVec oversizedId3v2() {
    ByteVec data = concat({id3v2(100), frames(2)});
    data[8] = 0x7F;  // the tag claims 10 + (0x7F << 7 | 100) = 16366 bytes
    return data;
}
ByteVec severalKinds() {
    return concat({frames(4, frameOf(25, 3, 64)), frames(3, frameOf(1, 1, 128)), frames(3, frameOf(2, 2, 64))});
}

INSTANTIATE_TEST_SUITE_P(
    Cases, StreamCheckerWalk,
    testing::Values(
        WalkCase{"TenFrames", [] { return frames(10); }, untagged(10), 0},
        WalkCase{"NineFramesAreTooFew", [] { return frames(9); }, kTooFew + untagged(9), 0},
        WalkCase{"TinyFile", [] { return ByteVec{1, 2, 3}; },
                 kTooFew + kNoTags + "Information: No MPEG frames, CBR, No tags\n", 0},
        WalkCase{"BothId3Tags", [] { return concat({id3v2(100), frames(10), id3v1()}); },
                 kL3 + "10 MPEG frames, CBR, ID3v1 ID3v2\n", 0},
        WalkCase{"Id3v2Footer", [] { return concat({id3v2(50, true), frames(10)}); },
                 kL3 + "10 MPEG frames, CBR, ID3v2\n", 0},
        WalkCase{"Id3v2PastTheEnd", oversizedId3v2,
                 kTooFew + kTruncated + "16366)\nInformation: No MPEG frames, CBR, ID3v2\n", 1},
        WalkCase{"Id3HeaderTooShort", [] { return ByteVec{'I', 'D', '3', 4, 0, 0, 0, 0}; },
                 "Error: Unknown audio format\n", 0},
        WalkCase{"XingMayLeaveOutItsOwnFrame", [] { return concat({xingFrame(10, 11 * kFrame), frames(10)}); },
                 untagged(11), 0},
        WalkCase{"XingCountsWrong", [] { return concat({xingFrame(9, 1), frames(10)}); },
                 "Warning: Wrong number of MPEG frames specified in Xing header (9 found, expected 11)\n"
                 "Warning: Wrong number of MPEG data bytes specified in Xing header (1 found, expected 4587)\n" +
                     untagged(11), 2},
        // Unlike the summary, the checker takes "Xing" and "Info" only as they are written, and
        // only after the side information (21 bytes into an MPEG-1 mono frame, not 36).
        WalkCase{"LowerCaseXing", [] { return concat({xingFrame(1, 1, "xing"), frames(10)}); }, untagged(11), 0},
        WalkCase{"XingAt36InMono", xingAt36InMono, untagged(11), 0},
        WalkCase{"VbriHasNoToleranceOfOne", [] { return concat({vbriFrame(5, 10), frames(10)}); },
                 "Warning: Wrong number of MPEG frames specified in VBRI header (10 found, expected 11)\n"
                 "Warning: Wrong number of MPEG data bytes specified in VBRI header (5 found, expected 4587)\n" +
                     untagged(11), 2},
        WalkCase{"VbrWithoutHeader", [] { return support::buildVbrStream({}, kVbrRates); },
                 "Warning: VBR detected, but no VBR header is present (seeking may not work properly)\n" +
                     untagged(10, "VBR is present but no VBR header was found"), 0},
        WalkCase{"VbrWithXing", [] { return concat({xingFrame({}, {}), support::buildVbrStream({}, kVbrRates)}); },
                 untagged(11, "VBR (Xing header)"), 0},
        // The VBRI frame's 417 bytes and 4903 of the others: exact counts, so nothing to report.
        WalkCase{"VbrWithVbri", [] { return concat({vbriFrame(5320, 11), support::buildVbrStream({}, kVbrRates)}); },
                 untagged(11, "VBR (VBRI header)"), 0},
        WalkCase{"LayerTwoCrcsUnchecked", [] { return frames(10, withCrc(true, frameOf(1, 2, 128))); },
                 "Warning: Invalid layer-III frame encountered\n" + kNoTags +
                     "Information: MPEG 1 Layer II, 10 MPEG frames, CBR, CRC, No tags\n", 1},
        WalkCase{"GarbageBeforeEightFrames", [] { return concat({zeros(100), frames(8)}); },
                 "Warning: Invalid data at the beginning of the file\n" + kTooFew + untagged(8), 1},
        WalkCase{"GarbageWithoutEightFrames", [] { return concat({zeros(100), frames(7), zeros(50)}); },
                 "Error: Unknown audio format\n", 0},
        WalkCase{"InvalidDataInside", [] { return concat({frames(10), zeros(50), frames(10)}); },
                 kStreamError + untagged(20), 1},
        // The walk lands one byte into the next frame; the search goes back into the last frame.
        WalkCase{"RunSearchStartsInsideTheLastFrame", lyingFrameInside, kStreamError + untagged(16), 1},
        // The walk jumps over the whole last frame, so the offset lies past the data.
        WalkCase{"HalfAFrameAtTheEnd", halfLastFrame, kTruncated + "4587)\n" + untagged(11), 1},
        WalkCase{"RiffWrapper", riffWrapped,
                 "Warning: This is a RIFF file, not an MPEG audio stream\n" + untagged(10), 1},
        WalkCase{"RiffAfterAFrame", [] { return concat({frames(10), support::buildRiffWave(frames(10))}); },
                 kStreamError + untagged(20), 1},
        WalkCase{"ApeAndId3v1", [] { return concat({frames(10), apeTag(), id3v1()}); },
                 kL3 + "10 MPEG frames, CBR, ID3v1 APEv2\n", 0},
        WalkCase{"TwoApeTags", [] { return concat({frames(10), apeTag(), apeTag()}); },
                 "Warning: More than one APEv2 tags have been found\n" + kL3 +
                     "10 MPEG frames, CBR, Multiple tags found (ID3v1 x0, ID3v2 x0, APEv2 x2)\n", 1},
        WalkCase{"ShortApeHead", [] { return concat({frames(10), support::bytesOf("APETAGEX1234")}); },
                 kTruncated + "4170)\n" + untagged(10), 1},
        WalkCase{"SeveralKinds", severalKinds,
                 "Warning: VBR detected, but no VBR header is present (seeking may not work properly)\n"
                 "Warning: Invalid layer-III frame encountered\n"
                 "Warning: Different MPEG versions or layers in one file\n" + kNoTags +
                     "Information: MPEG versions 3 M1 L1 3 M2 L2 4 M2.5 L3, 10 MPEG frames, VBR is present but no VBR "
                     "header was found, No tags\n", 1}),
    [](const testing::TestParamInfo<WalkCase>& info) { return info.param.name; });

// Every kind by its name, walked by its exact lengths: layer I in 4-byte slots, layer III of
// MPEG-2 and 2.5 by half the rule of the others.
TEST(StreamCheckerWalk, EveryKindByNameAndLength) {
    const std::pair<FrameLayout, const char*> cases[] = {
        {frameOf(1, 1, 448, 2, true), "MPEG 1 Layer I"},    {frameOf(1, 2, 384, 1), "MPEG 1 Layer II"},
        {frameOf(1, 3, 320, 1, true), "MPEG 1 Layer III"},  {frameOf(2, 1, 256, 0, true), "MPEG 2 Layer I"},
        {frameOf(2, 2, 160, 1), "MPEG 2 Layer II"},         {frameOf(2, 3, 160, 2, true), "MPEG 2 Layer III"},
        {frameOf(25, 1, 32, 1), "MPEG 2.5 Layer I"},        {frameOf(25, 2, 8), "MPEG 2.5 Layer II"},
        {frameOf(25, 3, 8, 2, true), "MPEG 2.5 Layer III"}};
    for (const auto& [frame, name] : cases) {
        const Checked c = check(frames(10, frame));
        EXPECT_NE(c.text.find("\nInformation: " + std::string(name) + ", 10 MPEG frames, CBR, No tags\n"),
                  std::string::npos) << c.text;
        EXPECT_EQ(c.stats.dataBytes, int32_t(10 * support::standardFrameLength(frame))) << name;
    }
}

TEST(CheckAudioFile, ReportStreamAndFailures) {
    support::TempDir dir;
    const std::string missing = dir.file("none.mp3"), empty = dir.file("empty.mp3"), track = dir.file("a.mp3");
    const std::string log = dir.file("check.log"), noLog = dir.file("no/such/folder.log");
    support::writeFile(empty, {});
    support::writeFile(track, frames(10));
    support::writeText(log, "old contents that must go\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(checkAudioFile(missing.c_str(), nullptr, true, false, false, false), 0);
    EXPECT_EQ(checkAudioFile(empty.c_str(), log.c_str(), true, false, false, false), 0);
    EXPECT_EQ(checkAudioFile(track.c_str(), noLog.c_str(), false, false, false, false), 0);
    EXPECT_EQ(checkAudioFile(track.c_str(), log.c_str(), false, true, false, false), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: Cannot open track '" + missing + "' or it is empty\n" +
                                                          "Error: Cannot open track '" + empty + "' or it is empty\n" +
                                                          "Error: Failed to open the log file '" + noLog + "'\n");
    // The log is written anew; quiet leaves out the summary line.
    EXPECT_EQ(support::readText(log), "Checking audio file '" + track + "'...\n" + kNoTags);
}

// Sample files: the whole report, and a fix that rebuilds exactly those with problems.
struct CorpusCase {
    const char* file;
    std::string report;
    int errors;
};

class StreamCheckerCorpus : public testing::TestWithParam<CorpusCase> {};

TEST_P(StreamCheckerCorpus, ReportAndFix) {
    const CorpusCase& c = GetParam();
    const std::string path = support::corpusFile(c.file);
    if (path.empty()) GTEST_SKIP() << "no sample corpus";
    const ByteVec original = support::readFile(path);
    const Checked out = check(original);
    EXPECT_EQ(out.text, c.report);
    EXPECT_EQ(out.stats.errorCount, c.errors);
    support::TempDir dir;
    const std::string copy = dir.file("copy.mp3");
    support::writeFile(copy, original);
    EXPECT_EQ(checkAudioFile(copy.c_str(), dir.file("log").c_str(), true, false, false, false), c.errors ? 1 : 0);
    EXPECT_EQ(support::readFile(copy + ".bak"), c.errors ? original : ByteVec{});
}

INSTANTIATE_TEST_SUITE_P(
    Files, StreamCheckerCorpus,
    testing::Values(
        CorpusCase{"taglib-sharp/sample_v2_3_ext_header.mp3", kL3 + "104 MPEG frames, CBR, CRC, ID3v1 ID3v2\n", 0},
        CorpusCase{"hsaudiotag/crc53865.mp3", kTooFew + untagged(1, "CBR, CRC"), 0},
        // Layer II CRCs are not checked.
        CorpusCase{"music-metadata/fl10.mp2",
                   "Warning: Invalid layer-III frame encountered\n" + kNoTags +
                       "Information: MPEG 1 Layer II, 49 MPEG frames, CBR, CRC, No tags\n", 1},
        CorpusCase{"taglib/garbage.mp3",
                   "Warning: Invalid data at the beginning of the file\n"
                   "Warning: Invalid data at the end of the file\n"
                   "Warning: Wrong number of MPEG frames specified in Xing header (72243 found, expected 19)\n"
                   "Warning: Wrong number of MPEG data bytes specified in Xing header (15097520 found, "
                   "expected 3969)\n" + untagged(19), 4},
        CorpusCase{"mp3agic/incompletempegframe.mp3",
                   kTooFew + kTruncated + "3968)\n" + kL3 + "7 MPEG frames, VBR (Xing header), ID3v1 ID3v2\n", 1},
        CorpusCase{"taglib/invalid-frames3.mp3", "Error: Unknown audio format\n", 0}));

}  // namespace
}  // namespace tagwick
