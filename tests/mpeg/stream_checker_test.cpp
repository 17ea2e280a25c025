// The stream checker's walk, frame decoding, CRC and VBR header reading, and its report.
#include "mpeg/stream_checker.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

#include "support/cli_runner.h"
#include "support/mpeg_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::FrameSpec;
using support::bytesOf;
using support::concat;

// The default frame: MPEG-1 layer III, 128 kbit/s, 44100 Hz, stereo, 417 bytes.
constexpr size_t kFrame = 417;

struct Checked {
    CheckStats stats;
    std::string text;
};

// Runs the check walk and the report over `bytes`, capturing what the report stream got.
Checked check(ByteVec bytes, bool quiet = false) {
    Checked out;
    char* buffer = nullptr;
    size_t length = 0;
    FILE* stream = open_memstream(&buffer, &length);
    EXPECT_EQ(scanAudio(bytes, out.stats, stream, false, -1), 0);
    printReport(stream, out.stats, quiet);
    std::fclose(stream);
    out.text.assign(buffer, length);
    std::free(buffer);
    return out;
}

ByteVec zeros(size_t n) { return ByteVec(n, 0); }

// A bare ID3v2.4 tag: header and `bodySize` zero bytes (padding), with the footer flag on request.
ByteVec id3v2Tag(uint32_t bodySize, bool footer = false) {
    ByteVec tag = {'I', 'D', '3', 4, 0, uint8_t(footer ? 0x10 : 0),
                   uint8_t((bodySize >> 21) & 0x7F), uint8_t((bodySize >> 14) & 0x7F),
                   uint8_t((bodySize >> 7) & 0x7F), uint8_t(bodySize & 0x7F)};
    tag.resize(10 + bodySize, 0);
    if (footer) {
        ByteVec foot = {'3', 'D', 'I', 4, 0, 0x10, tag[6], tag[7], tag[8], tag[9]};
        support::append(tag, foot);
    }
    return tag;
}

ByteVec id3v1Tag() {
    ByteVec tag(128, 0);
    tag[0] = 'T';
    tag[1] = 'A';
    tag[2] = 'G';
    return tag;
}

ByteVec frames(size_t count, FrameSpec frame = {}) { return support::buildStream(frame, count); }

support::XingSpec xing(const char* tag, std::optional<uint32_t> frameCount, std::optional<uint32_t> byteCount) {
    support::XingSpec x;
    x.tag = tag;
    x.frames = frameCount;
    x.bytes = byteCount;
    return x;
}

support::VbriSpec vbri(uint32_t byteCount, uint32_t frameCount) {
    support::VbriSpec v;
    v.bytes = byteCount;
    v.frames = frameCount;
    return v;
}

ByteVec apeTag() {
    support::ApeSpec ape;
    ape.items.push_back({"Title", "x"});
    return support::buildApeTag(ape);
}

std::string captureReport(int level, const char* text) {
    char* buffer = nullptr;
    size_t length = 0;
    FILE* stream = open_memstream(&buffer, &length);
    report(stream, level, "%s %d", text, 7);
    std::fclose(stream);
    std::string out(buffer, length);
    std::free(buffer);
    return out;
}

// ------------------------------------------------------------------ report()

TEST(StreamCheckerReport, PrefixesByLevel) {
    EXPECT_EQ(captureReport(0, "plain"), "plain 7\n");
    EXPECT_EQ(captureReport(1, "bad"), "Error: bad 7\n");
    EXPECT_EQ(captureReport(2, "odd"), "Warning: odd 7\n");
    EXPECT_EQ(captureReport(3, "note"), "Info: note 7\n");
}

TEST(StreamCheckerReport, OtherLevelsAndNullStreamWriteNothing) {
    EXPECT_EQ(captureReport(4, "x"), "");
    EXPECT_EQ(captureReport(-1, "x"), "");
    EXPECT_EQ(report(nullptr, 1, "x"), 0);
}

// ------------------------------------------------------------------ decodeFrameHeader

struct LengthCase {
    const char* name;
    FrameSpec frame;
    int length;
    int kind;
    int version;
    int layer;
};

class DecodeFrameLength : public testing::TestWithParam<LengthCase> {};

TEST_P(DecodeFrameLength, StandardLengthAndKind) {
    const LengthCase& c = GetParam();
    ByteVec frame = support::buildFrame(c.frame);
    CheckStats stats;
    EXPECT_EQ(decodeFrameHeader(frame, 0, stats), c.length);
    EXPECT_EQ(size_t(c.length), support::standardFrameLength(c.frame));  // the builders agree
    for (int kind = 0; kind < FrameKindCount; ++kind)
        EXPECT_EQ(stats.frameCounts[size_t(kind)], kind == c.kind ? 1 : 0) << "kind " << kind;
    EXPECT_EQ(stats.version, c.version);
    EXPECT_EQ(stats.layer, c.layer);
    EXPECT_EQ(stats.dataBytes, c.length);
    EXPECT_EQ(stats.previousBitrate, support::standardBitrateKbps(c.frame));
    EXPECT_EQ(stats.streamErrorOffset, -1);
}

FrameSpec frameOf(int version, int layer, int kbps, int rateIndex = 0, bool padding = false) {
    FrameSpec s;
    s.version = version;
    s.layer = layer;
    s.bitrateKbps = kbps;
    s.sampleRateIndex = rateIndex;
    s.padding = padding;
    return s;
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, DecodeFrameLength,
    testing::Values(LengthCase{"M1L3At128k", frameOf(1, 3, 128), 417, KindM1L3, 1, 3},
                    LengthCase{"M1L3Padded", frameOf(1, 3, 128, 0, true), 418, KindM1L3, 1, 3},
                    LengthCase{"M1L3At320k48k", frameOf(1, 3, 320, 1), 960, KindM1L3, 1, 3},
                    LengthCase{"M1L1At32k48k", frameOf(1, 1, 32, 1), 32, KindM1L1, 1, 1},
                    LengthCase{"M1L1PaddedCountsFourBytes", frameOf(1, 1, 448, 2, true), 676, KindM1L1, 1, 1},
                    LengthCase{"M1L2At384k48k", frameOf(1, 2, 384, 1), 1152, KindM1L2, 1, 2},
                    LengthCase{"M2L3At8k", frameOf(2, 3, 8), 26, KindM2L3, 2, 3},
                    LengthCase{"M2L3At160k16k", frameOf(2, 3, 160, 2), 720, KindM2L3, 2, 3},
                    LengthCase{"M2L1At256k", frameOf(2, 1, 256), 556, KindM2L1, 2, 1},
                    LengthCase{"M2L2UsesTheLongRule", frameOf(2, 2, 160, 1), 960, KindM2L2, 2, 2},
                    LengthCase{"M25L3At8k8k", frameOf(25, 3, 8, 2), 72, KindM25L3, 25, 3},
                    LengthCase{"M25L3At64k", frameOf(25, 3, 64), 417, KindM25L3, 25, 3},
                    LengthCase{"M25L1At32k12k", frameOf(25, 1, 32, 1), 128, KindM25L1, 25, 1},
                    LengthCase{"M25L2At8k", frameOf(25, 2, 8), 104, KindM25L2, 25, 2}),
    [](const testing::TestParamInfo<LengthCase>& info) { return info.param.name; });

TEST(DecodeFrameHeader, BadBitrateIndexStillCountsTheKind) {
    for (int index : {0, 15}) {
        FrameSpec s;
        s.bitrateIndex = index;
        ByteVec data = concat({zeros(5), support::buildFrame(s)});
        CheckStats stats;
        EXPECT_EQ(decodeFrameHeader(data, 5, stats), -1) << index;
        EXPECT_EQ(stats.frameCounts[KindM1L3], 1) << index;
        EXPECT_EQ(stats.streamErrorOffset, 5) << index;
        EXPECT_EQ(stats.dataBytes, 0);
    }
}

TEST(DecodeFrameHeader, ReservedSampleRateFailsAfterStoringTheBitrate) {
    FrameSpec s = frameOf(2, 3, 64);
    s.sampleRateIndex = 3;
    ByteVec data = support::buildFrame(s);
    CheckStats stats;
    EXPECT_EQ(decodeFrameHeader(data, 0, stats), -1);
    EXPECT_EQ(stats.frameCounts[KindM2L3], 1);
    EXPECT_EQ(stats.previousBitrate, 64);
    EXPECT_EQ(stats.streamErrorOffset, 0);
}

TEST(DecodeFrameHeader, ReservedVersionOrLayerCountsNothing) {
    FrameSpec badVersion;
    badVersion.versionBits = 1;
    FrameSpec badLayer;
    badLayer.layerBits = 0;
    for (const FrameSpec& s : {badVersion, badLayer}) {
        ByteVec data = support::buildFrame(s);
        CheckStats stats;
        EXPECT_EQ(decodeFrameHeader(data, 0, stats), -1);
        EXPECT_EQ(stats.totalFrames(), 0);
        EXPECT_EQ(stats.streamErrorOffset, 0);
    }
}

TEST(DecodeFrameHeader, FewerThanFourBytesFail) {
    ByteVec data = {0xFF, 0xFB, 0x90};
    CheckStats stats;
    EXPECT_EQ(decodeFrameHeader(data, 0, stats), -1);
    EXPECT_EQ(stats.totalFrames(), 0);
}

TEST(DecodeFrameHeader, VbrIsSetOnlyAgainstAnEarlierBitrate) {
    CheckStats stats;
    ByteVec first = support::buildFrame(frameOf(1, 3, 128));
    ByteVec same = support::buildFrame(frameOf(1, 3, 128));
    ByteVec other = support::buildFrame(frameOf(1, 3, 160));
    EXPECT_EQ(stats.previousBitrate, -2);
    decodeFrameHeader(other, 0, stats);  // the first frame has nothing to differ from
    EXPECT_EQ(stats.vbr, 0);
    decodeFrameHeader(other, 0, stats);
    EXPECT_EQ(stats.vbr, 0);
    decodeFrameHeader(first, 0, stats);
    EXPECT_EQ(stats.vbr, 1);
    EXPECT_EQ(stats.previousBitrate, 128);
    CheckStats steady;
    decodeFrameHeader(first, 0, steady);
    decodeFrameHeader(same, 0, steady);
    EXPECT_EQ(steady.vbr, 0);
}

TEST(DecodeFrameHeader, ProtectionAndChannelFlags) {
    FrameSpec protectedMono;
    protectedMono.crc = true;
    protectedMono.channelMode = 3;
    FrameSpec plainJoint;
    plainJoint.channelMode = 1;
    CheckStats stats;
    ByteVec a = support::buildFrame(protectedMono);
    ByteVec b = support::buildFrame(plainJoint);
    decodeFrameHeader(a, 0, stats);
    EXPECT_EQ(stats.protectedFrame, 1);
    EXPECT_EQ(stats.crcPresent, 1);
    EXPECT_EQ(stats.stereo, 0);
    decodeFrameHeader(b, 0, stats);
    EXPECT_EQ(stats.protectedFrame, 0);
    EXPECT_EQ(stats.crcPresent, 1);  // stays set for the file
    EXPECT_EQ(stats.stereo, 1);
}

// ------------------------------------------------------------------ findFrameRun

TEST(FindFrameRun, FindsTheRunAfterGarbage) {
    ByteVec data = concat({zeros(100), frames(8)});
    EXPECT_EQ(findFrameRun(data, 0, 8), 100);
    EXPECT_EQ(findFrameRun(data, 0, 9), -1);
    EXPECT_EQ(findFrameRun(data, 101, 6), int64_t(100 + kFrame));
}

TEST(FindFrameRun, SkipsFalseSyncs) {
    ByteVec garbage = {0xFF, 0xFB, 0x90, 0x00, 0xFF, 0x00, 0xFF, 0xE0};
    ByteVec data = concat({garbage, zeros(10), frames(6)});
    EXPECT_EQ(findFrameRun(data, 0, 6), int64_t(garbage.size() + 10));
}

TEST(FindFrameRun, ARunKeepsOneVersionAndLayer) {
    FrameSpec layer2 = frameOf(1, 2, 128);
    ByteVec data = concat({frames(4), frames(4, layer2)});
    EXPECT_EQ(findFrameRun(data, 0, 8), -1);
    EXPECT_EQ(findFrameRun(data, 0, 4), 0);
    EXPECT_EQ(findFrameRun(data, 1, 4), int64_t(4 * kFrame));
}

TEST(FindFrameRun, TheLastFrameMustFit) {
    ByteVec data = frames(8);
    data.pop_back();
    EXPECT_EQ(findFrameRun(data, 0, 8), -1);
    EXPECT_EQ(findFrameRun(data, 0, 7), 0);
}

TEST(FindFrameRun, StartBeyondTheDataFindsNothing) {
    ByteVec data = frames(2);
    EXPECT_EQ(findFrameRun(data, data.size() - 3, 1), -1);
    EXPECT_EQ(findFrameRun(data, data.size() + 10, 1), -1);
    EXPECT_EQ(findFrameRun(ByteVec{0xFF, 0xFB}, 0, 1), -1);
}

// ------------------------------------------------------------------ checkFrameCrc

struct CrcCase {
    const char* name;
    FrameSpec frame;
};

class CheckFrameCrc : public testing::TestWithParam<CrcCase> {};

TEST_P(CheckFrameCrc, RightValueMatches) {
    FrameSpec s = GetParam().frame;
    s.crc = true;
    s.filler = 0x5A;  // side information that is not all zero
    ByteVec frame = support::buildFrame(s);
    CheckStats stats;
    ASSERT_GT(decodeFrameHeader(frame, 0, stats), 0);
    EXPECT_TRUE(checkFrameCrc(frame, 0, stats, false));
    EXPECT_EQ(stats.crcErrorSeen, 0);
    EXPECT_EQ(stats.crcErrorCount, 0);
}

TEST_P(CheckFrameCrc, WrongValueIsCountedAndFixedOnlyWhenAsked) {
    FrameSpec s = GetParam().frame;
    s.crc = true;
    s.filler = 0x5A;
    const ByteVec good = support::buildFrame(s);
    s.wrongCrc = true;
    ByteVec frame = support::buildFrame(s);
    const ByteVec original = frame;
    CheckStats stats;
    ASSERT_GT(decodeFrameHeader(frame, 0, stats), 0);
    EXPECT_FALSE(checkFrameCrc(frame, 0, stats, false));
    EXPECT_EQ(frame, original);
    EXPECT_FALSE(checkFrameCrc(frame, 0, stats, true));
    EXPECT_EQ(frame, good);
    EXPECT_EQ(stats.crcErrorSeen, 1);
    EXPECT_EQ(stats.crcErrorCount, 2);
    EXPECT_TRUE(checkFrameCrc(frame, 0, stats, false));
}

FrameSpec mono(FrameSpec s) {
    s.channelMode = 3;
    return s;
}

INSTANTIATE_TEST_SUITE_P(SideInformation, CheckFrameCrc,
                         testing::Values(CrcCase{"Mpeg1Stereo", frameOf(1, 3, 128)},
                                         CrcCase{"Mpeg1Mono", mono(frameOf(1, 3, 64))},
                                         CrcCase{"Mpeg2Stereo", frameOf(2, 3, 64)},
                                         CrcCase{"Mpeg2Mono", mono(frameOf(2, 3, 32))},
                                         CrcCase{"Mpeg25Mono", mono(frameOf(25, 3, 32))}),
                         [](const testing::TestParamInfo<CrcCase>& info) { return info.param.name; });

TEST(CheckFrameCrcValue, StandardPolynomialAndStart) {
    // Header FF FA 90 00 (MPEG-1 layer III with CRC, mono), all-zero side information of 17
    // bytes: CRC-16 with polynomial 0x8005, start 0xFFFF, computed bit by bit here.
    ByteVec frame = {0xFF, 0xFA, 0x90, 0xC0, 0x00, 0x00};
    frame.resize(417, 0);
    unsigned crc = 0xFFFF;
    std::vector<uint8_t> covered = {0x90, 0xC0};
    covered.resize(2 + 17, 0);
    for (uint8_t byte : covered)
        for (int bit = 7; bit >= 0; --bit) {
            bool top = ((crc >> 15) & 1) != (((byte >> bit) & 1) != 0);
            crc = ((crc << 1) & 0xFFFF) ^ (top ? 0x8005 : 0);
        }
    CheckStats stats;
    ASSERT_EQ(decodeFrameHeader(frame, 0, stats), 417);
    EXPECT_FALSE(checkFrameCrc(frame, 0, stats, true));
    EXPECT_EQ(frame[4], uint8_t(crc >> 8));
    EXPECT_EQ(frame[5], uint8_t(crc));
}

// ------------------------------------------------------------------ VBR headers

struct XingCase {
    const char* name;
    std::optional<uint32_t> frames;
    std::optional<uint32_t> bytes;
};

class ReadXingHeader : public testing::TestWithParam<XingCase> {};

TEST_P(ReadXingHeader, FlagsChooseTheCounts) {
    const XingCase& c = GetParam();
    for (const FrameSpec& s : {frameOf(1, 3, 128), mono(frameOf(1, 3, 128)), mono(frameOf(2, 3, 64))}) {
        ByteVec frame = support::buildXingFrame(s, xing("Xing", c.frames, c.bytes));
        CheckStats stats;
        ASSERT_GT(decodeFrameHeader(frame, 0, stats), 0);
        ASSERT_TRUE(readXingHeader(frame, 0, stats));
        EXPECT_EQ(stats.vbrHeaderFound, 1);
        EXPECT_EQ(stats.vbrHeaderIsXing, 1);
        EXPECT_EQ(stats.headerHasFrames, c.frames ? 1 : 0);
        EXPECT_EQ(stats.headerFrames, c.frames ? int32_t(*c.frames) : -1);
        EXPECT_EQ(stats.headerHasBytes, c.bytes ? 1 : 0);
        EXPECT_EQ(stats.headerBytes, c.bytes ? int32_t(*c.bytes) : -1);
    }
}

INSTANTIATE_TEST_SUITE_P(Flags, ReadXingHeader,
                         testing::Values(XingCase{"Both", 1234, 567890}, XingCase{"FramesOnly", 77, std::nullopt},
                                         XingCase{"BytesOnly", std::nullopt, 4321},
                                         XingCase{"Neither", std::nullopt, std::nullopt}),
                         [](const testing::TestParamInfo<XingCase>& info) { return info.param.name; });

TEST(ReadXingHeaderWord, InfoCountsAndCaseMatters) {
    ByteVec info = support::buildXingFrame({}, xing("Info", 5, std::nullopt));
    ByteVec lower = support::buildXingFrame({}, xing("xing", 5, std::nullopt));
    ByteVec misplaced = support::buildXingFrameAt36(mono(frameOf(1, 3, 128)), xing("Xing", 5, std::nullopt));
    for (auto* frame : {&info, &lower, &misplaced}) {
        CheckStats stats;
        decodeFrameHeader(*frame, 0, stats);
        EXPECT_EQ(readXingHeader(*frame, 0, stats), frame == &info);
        EXPECT_EQ(stats.vbrHeaderFound, frame == &info ? 1 : 0);
    }
}

TEST(ReadVbriHeader, ReadsBytesAndFrames) {
    ByteVec frame = support::buildVbriFrame({}, vbri(99999, 321));
    CheckStats stats;
    decodeFrameHeader(frame, 0, stats);
    EXPECT_FALSE(readXingHeader(frame, 0, stats));
    ASSERT_TRUE(readVbriHeader(frame, 0, stats));
    EXPECT_EQ(stats.vbrHeaderFound, 1);
    EXPECT_EQ(stats.vbrHeaderIsXing, 0);
    EXPECT_EQ(stats.headerBytes, 99999);
    EXPECT_EQ(stats.headerFrames, 321);
    EXPECT_EQ(stats.headerHasBytes, 1);
    EXPECT_EQ(stats.headerHasFrames, 1);
}

TEST(ReadVbriHeader, ShortDataIsNoHeader) {
    ByteVec frame = support::buildVbriFrame({}, vbri(1, 2));
    frame.resize(36 + 17);
    CheckStats stats;
    EXPECT_FALSE(readVbriHeader(frame, 0, stats));
    EXPECT_EQ(stats.vbrHeaderFound, 0);
}

// ------------------------------------------------------------------ findRiffData

TEST(FindRiffData, WalksChunksToTheDataBody) {
    ByteVec audio = frames(2);
    support::RiffSpec riff;
    riff.before.push_back({"LIST", ByteVec(21, 'x')});
    ByteVec data = concat({zeros(3), support::buildRiffWave(audio, riff)});
    const int64_t expected = 3 + 12 + (8 + 16) + (8 + 21) + 8;
    EXPECT_EQ(findRiffData(data, 3), expected);
    EXPECT_TRUE(std::equal(audio.begin(), audio.end(), data.begin() + expected));
}

TEST(FindRiffData, RejectsWhatIsNotAWaveWithData) {
    ByteVec wave = support::buildRiffWave(frames(1));
    ByteVec notWave = wave;
    notWave[8] = 'A';
    ByteVec noData = ByteVec(wave.begin(), wave.begin() + 12 + 24);  // RIFF header and fmt only
    ByteVec lying = ByteVec(wave.begin(), wave.begin() + 12 + 24);
    lying[16] = 0xFF;  // fmt chunk size far past the end
    lying.resize(lying.size() + 20, 0);
    EXPECT_EQ(findRiffData(notWave, 0), -1);
    EXPECT_EQ(findRiffData(noData, 0), -1);
    EXPECT_EQ(findRiffData(lying, 0), -1);
    EXPECT_EQ(findRiffData(ByteVec(wave.begin(), wave.begin() + 11), 0), -1);
    EXPECT_EQ(findRiffData(wave, 1), -1);
}

// ------------------------------------------------------------------ the walk and the report

const char* const kNoTags = "Warning: No supported tags were found\n";
const char* const kTooFew = "Warning: Too few MPEG frames (this is not a valid MPEG audio file)\n";

TEST(StreamCheckerReport, CleanStreamWithoutTags) {
    Checked c = check(frames(10));
    EXPECT_EQ(c.text, std::string(kNoTags) + "Information: MPEG 1 Layer III, 10 MPEG frames, CBR, No tags\n");
    EXPECT_EQ(c.stats.errorCount, 0);
    EXPECT_EQ(c.stats.dataBytes, int32_t(10 * kFrame));
}

TEST(StreamCheckerReport, NineFramesAreTooFewTenAreNot) {
    EXPECT_NE(check(frames(9)).text.find(kTooFew), std::string::npos);
    EXPECT_EQ(check(frames(10)).text.find("Too few"), std::string::npos);
    EXPECT_EQ(check(frames(9)).stats.errorCount, 0);
}

TEST(StreamCheckerReport, QuietLeavesOutTheSummary) {
    Checked c = check(frames(10), true);
    EXPECT_EQ(c.text, kNoTags);
}

TEST(StreamCheckerReport, BothId3TagsEndTheSummary) {
    Checked c = check(concat({id3v2Tag(100), frames(10), id3v1Tag()}));
    EXPECT_EQ(c.text, "Information: MPEG 1 Layer III, 10 MPEG frames, CBR, ID3v1 ID3v2\n");
    EXPECT_EQ(c.stats.id3v1Count, 1);
    EXPECT_EQ(c.stats.id3v2Count, 1);
}

TEST(StreamCheckerReport, Id3v2FooterIsSkippedToo) {
    Checked c = check(concat({id3v2Tag(50, true), frames(10)}));
    EXPECT_EQ(c.text, "Information: MPEG 1 Layer III, 10 MPEG frames, CBR, ID3v2\n");
    EXPECT_EQ(c.stats.errorCount, 0);
}

TEST(StreamCheckerReport, Id3v2LargerThanTheFileIsTruncation) {
    ByteVec data = concat({id3v2Tag(100), frames(2)});
    data[8] = 0x7F;  // claims about 16 kB
    Checked c = check(data);
    const int32_t claimed = 10 + ((0x7F << 7) | 100);
    EXPECT_EQ(c.stats.truncatedOffset, claimed);
    EXPECT_NE(c.text.find("Warning: The audio track has been truncated or there is invalid data at the end of the "
                          "file (from offset " + std::to_string(claimed) + ")\n"),
              std::string::npos);
    EXPECT_EQ(c.stats.totalFrames(), 0);
}

TEST(StreamCheckerReport, TooShortId3HeaderIsTruncatedAtZero) {
    Checked c = check(ByteVec{'I', 'D', '3', 4, 0, 0, 0, 0});
    EXPECT_EQ(c.stats.truncatedOffset, 0);
    EXPECT_EQ(c.text, "Error: Unknown audio format\n");
}

TEST(StreamCheckerReport, TinyFileHasAnEmptyWalk) {
    Checked c = check(ByteVec{1, 2, 3});
    EXPECT_EQ(c.text, std::string(kTooFew) + kNoTags + "Information: No MPEG frames, CBR, No tags\n");
}

TEST(StreamCheckerReport, XingFrameCountMayLeaveOutItsOwnFrame) {
    const int32_t bytes = int32_t(11 * kFrame);
    for (uint32_t count : {10u, 11u}) {
        Checked c = check(concat({support::buildXingFrame({}, xing("Xing", count, uint32_t(bytes))), frames(10)}));
        EXPECT_EQ(c.text.find("Wrong number"), std::string::npos) << count;
        EXPECT_EQ(c.stats.errorCount, 0);
    }
    Checked low = check(concat({support::buildXingFrame({}, xing("Xing", 9u, 1u)), frames(10)}));
    EXPECT_EQ(low.text, std::string("Warning: Wrong number of MPEG frames specified in Xing header (9 found, expected 11)\n") +
                            "Warning: Wrong number of MPEG data bytes specified in Xing header (1 found, expected " +
                            std::to_string(bytes) + ")\n" + kNoTags +
                            "Information: MPEG 1 Layer III, 11 MPEG frames, CBR, No tags\n");
    EXPECT_EQ(low.stats.errorCount, 2);
}

TEST(StreamCheckerReport, VbriFrameCountMustBeExact) {
    const uint32_t bytes = uint32_t(11 * kFrame);
    Checked exact = check(concat({support::buildVbriFrame({}, vbri(bytes, 11)), frames(10)}));
    EXPECT_EQ(exact.stats.errorCount, 0);
    Checked oneLess = check(concat({support::buildVbriFrame({}, vbri(bytes, 10)), frames(10)}));
    EXPECT_NE(oneLess.text.find("Warning: Wrong number of MPEG frames specified in VBRI header (10 found, expected 11)\n"),
              std::string::npos);
    EXPECT_EQ(oneLess.stats.errorCount, 1);
    Checked badBytes = check(concat({support::buildVbriFrame({}, vbri(5, 11)), frames(10)}));
    EXPECT_NE(badBytes.text.find("Warning: Wrong number of MPEG data bytes specified in VBRI header (5 found, expected " +
                                 std::to_string(bytes) + ")\n"),
              std::string::npos);
}

TEST(StreamCheckerReport, InfoHeaderOnConstantBitrateSaysCbr) {
    Checked c = check(concat({support::buildXingFrame({}, xing("Info", 10u, std::nullopt)), frames(10)}));
    EXPECT_EQ(c.text, std::string(kNoTags) + "Information: MPEG 1 Layer III, 11 MPEG frames, CBR, No tags\n");
}

TEST(StreamCheckerReport, VbrTextsFollowTheHeader) {
    const int rates[] = {128, 160, 128, 192, 128, 160, 128, 192, 128, 160};
    ByteVec vbr = support::buildVbrStream({}, rates);
    Checked bare = check(vbr);
    EXPECT_EQ(bare.text, "Warning: VBR detected, but no VBR header is present (seeking may not work properly)\n" +
                             std::string(kNoTags) +
                             "Information: MPEG 1 Layer III, 10 MPEG frames, VBR is present but no VBR header was "
                             "found, No tags\n");
    EXPECT_EQ(bare.stats.errorCount, 0);
    Checked xing = check(concat({support::buildXingFrame({}, {}), vbr}));
    EXPECT_NE(xing.text.find(", VBR (Xing header),"), std::string::npos);
    Checked vbri = check(concat({support::buildVbriFrame({}, {}), vbr}));
    EXPECT_NE(vbri.text.find(", VBR (VBRI header),"), std::string::npos);
}

TEST(StreamCheckerReport, LayerTwoIsFlaggedAndItsCrcsAreNotChecked) {
    FrameSpec s = frameOf(1, 2, 128);
    s.crc = true;
    s.wrongCrc = true;
    Checked c = check(frames(10, s));
    EXPECT_EQ(c.text, "Warning: Invalid layer-III frame encountered\n" + std::string(kNoTags) +
                          "Information: MPEG 1 Layer II, 10 MPEG frames, CBR, CRC, No tags\n");
    EXPECT_EQ(c.stats.crcErrorCount, 0);
    EXPECT_EQ(c.stats.errorCount, 1);
}

TEST(StreamCheckerReport, WrongCrcsAreCounted) {
    FrameSpec good;
    good.crc = true;
    FrameSpec bad = good;
    bad.wrongCrc = true;
    ByteVec data = concat({frames(3, good), frames(1, bad), frames(4, good), frames(1, bad), frames(1, good)});
    Checked c = check(data);
    EXPECT_EQ(c.text, "Warning: 2 frames have the wrong CRC\n" + std::string(kNoTags) +
                          "Information: MPEG 1 Layer III, 10 MPEG frames, CBR, CRC, No tags\n");
    EXPECT_EQ(c.stats.errorCount, 1);
    EXPECT_EQ(c.stats.crcErrorCount, 2);
}

TEST(StreamCheckerReport, GarbageBeforeEightFrames) {
    Checked c = check(concat({zeros(100), frames(8)}));
    EXPECT_EQ(c.text, "Warning: Invalid data at the beginning of the file\n" + std::string(kTooFew) + kNoTags +
                          "Information: MPEG 1 Layer III, 8 MPEG frames, CBR, No tags\n");
    EXPECT_EQ(c.stats.errorCount, 1);
    EXPECT_EQ(c.stats.invalidStartOffset, 0);
}

TEST(StreamCheckerReport, GarbageWithoutEightFramesIsUnknown) {
    Checked c = check(concat({zeros(100), frames(7), zeros(50)}));
    EXPECT_EQ(c.text, "Error: Unknown audio format\n");
    EXPECT_EQ(c.stats.errorCount, 0);
    EXPECT_EQ(c.stats.unknownFormatOffset, 0);
}

TEST(StreamCheckerReport, InvalidDataInsideTheStream) {
    Checked c = check(concat({frames(10), zeros(50), frames(10)}));
    EXPECT_EQ(c.text, "Warning: An MPEG stream error has been detected\n" + std::string(kNoTags) +
                          "Information: MPEG 1 Layer III, 20 MPEG frames, CBR, No tags\n");
    EXPECT_EQ(c.stats.streamErrorOffset, int32_t(10 * kFrame));
    EXPECT_EQ(c.stats.errorCount, 1);
}

TEST(StreamCheckerReport, RunSearchStartsInsideTheLastFrame) {
    // A frame whose header claims one byte more than it has: the walk lands one byte into the
    // next frame, and the search must go back to find that frame.
    FrameSpec lying;
    lying.padding = true;
    ByteVec bad = support::buildFrame(lying);
    bad.pop_back();
    Checked c = check(concat({frames(5), bad, frames(10)}));
    EXPECT_EQ(c.stats.streamErrorOffset, int32_t(6 * kFrame + 1));
    EXPECT_EQ(c.text, "Warning: An MPEG stream error has been detected\n" + std::string(kNoTags) +
                          "Information: MPEG 1 Layer III, 16 MPEG frames, CBR, No tags\n");
}

TEST(StreamCheckerReport, InvalidDataAtTheEnd) {
    Checked c = check(concat({frames(10), zeros(50)}));
    EXPECT_EQ(c.text, "Warning: Invalid data at the end of the file\n" + std::string(kNoTags) +
                          "Information: MPEG 1 Layer III, 10 MPEG frames, CBR, No tags\n");
    EXPECT_EQ(c.stats.invalidEndOffset, int32_t(10 * kFrame));
    EXPECT_EQ(c.stats.errorCount, 1);
}

TEST(StreamCheckerReport, FailedHeaderStillCountsAsAFrame) {
    FrameSpec broken;
    broken.bitrateIndex = 15;
    ByteVec data = concat({frames(10), support::buildFrame(broken)});
    Checked c = check(data);
    EXPECT_EQ(c.stats.totalFrames(), 11);
    EXPECT_EQ(c.stats.streamErrorOffset, int32_t(10 * kFrame));
    EXPECT_EQ(c.stats.invalidEndOffset, int32_t(10 * kFrame));
    EXPECT_NE(c.text.find("Information: MPEG 1 Layer III, 11 MPEG frames, CBR, No tags\n"), std::string::npos);
}

TEST(StreamCheckerReport, HalfAFrameAtTheEnd) {
    ByteVec data = frames(11);
    data.resize(10 * kFrame + 200);
    Checked c = check(data);
    // The walk jumps over the whole last frame, so the offset lies past the data.
    EXPECT_EQ(c.text, "Warning: The audio track has been truncated or there is invalid data at the end of the file "
                      "(from offset " + std::to_string(11 * kFrame) + ")\n" + kNoTags +
                      "Information: MPEG 1 Layer III, 11 MPEG frames, CBR, No tags\n");
    EXPECT_EQ(c.stats.errorCount, 1);
}

TEST(StreamCheckerReport, RiffWrapper) {
    support::RiffSpec riff;
    riff.before.push_back({"fact", ByteVec(4, 1)});
    Checked c = check(support::buildRiffWave(frames(10), riff));
    EXPECT_EQ(c.text, "Warning: This is a RIFF file, not an MPEG audio stream\n" + std::string(kNoTags) +
                          "Information: MPEG 1 Layer III, 10 MPEG frames, CBR, No tags\n");
    EXPECT_EQ(c.stats.riffOffset, 0);
    EXPECT_EQ(c.stats.errorCount, 1);
}

TEST(StreamCheckerReport, RiffAfterAFrameIsInvalidData) {
    ByteVec data = concat({frames(10), support::buildRiffWave(frames(10))});
    Checked c = check(data);
    EXPECT_EQ(c.stats.riffOffset, -1);
    EXPECT_EQ(c.stats.streamErrorOffset, int32_t(10 * kFrame));
    EXPECT_EQ(c.stats.totalFrames(), 20);
}

TEST(StreamCheckerReport, ApeTags) {
    Checked one = check(concat({frames(10), apeTag(), id3v1Tag()}));
    EXPECT_EQ(one.text, "Information: MPEG 1 Layer III, 10 MPEG frames, CBR, ID3v1 APEv2\n");
    Checked two = check(concat({frames(10), apeTag(), apeTag()}));
    EXPECT_EQ(two.text, "Warning: More than one APEv2 tags have been found\n"
                        "Information: MPEG 1 Layer III, 10 MPEG frames, CBR, Multiple tags found (ID3v1 x0, ID3v2 x0, "
                        "APEv2 x2)\n");
    EXPECT_EQ(two.stats.errorCount, 1);
}

TEST(StreamCheckerReport, ShortApeHeadIsTruncation) {
    ByteVec data = concat({frames(10), bytesOf("APETAGEX1234")});
    Checked c = check(data);
    EXPECT_EQ(c.stats.truncatedOffset, int32_t(10 * kFrame));
    EXPECT_EQ(c.stats.apeCount, 0);
}

TEST(StreamCheckerReport, SeveralKindsAreListed) {
    Checked c = check(concat({frames(5), frames(5, frameOf(2, 3, 128))}));
    EXPECT_EQ(c.text, "Warning: Different MPEG versions or layers in one file\n" + std::string(kNoTags) +
                          "Information: MPEG versions 5 M1 L3 5 M2 L3, 10 MPEG frames, CBR, No tags\n");
    EXPECT_EQ(c.stats.errorCount, 0);
    Checked three = check(concat({frames(4, frameOf(25, 3, 64)), frames(3, frameOf(1, 1, 128)), frames(3, frameOf(2, 2, 64))}));
    EXPECT_NE(three.text.find("Information: MPEG versions 3 M1 L1 3 M2 L2 4 M2.5 L3, 10 MPEG frames, VBR is present"),
              std::string::npos);
}

TEST(StreamCheckerReport, SingleKindNames) {
    struct Case {
        FrameSpec frame;
        const char* name;
    } cases[] = {{frameOf(1, 1, 128), "MPEG 1 Layer I"},  {frameOf(2, 1, 128), "MPEG 2 Layer I"},
                 {frameOf(2, 2, 64), "MPEG 2 Layer II"},  {frameOf(25, 1, 64), "MPEG 2.5 Layer I"},
                 {frameOf(25, 2, 64), "MPEG 2.5 Layer II"}, {frameOf(25, 3, 64), "MPEG 2.5 Layer III"}};
    for (const Case& one : cases) {
        Checked c = check(frames(10, one.frame));
        EXPECT_NE(c.text.find(std::string("Information: ") + one.name + ", 10 MPEG frames"), std::string::npos)
            << one.name << "\n" << c.text;
    }
}

TEST(StreamCheckerReport, ApeWalkNeverLeavesTheData) {
    // A size field of 4 GB must only lead to a truncation report.
    ByteVec ape = apeTag();
    for (int i = 12; i < 16; ++i) ape[size_t(i)] = 0xFF;
    Checked c = check(concat({frames(10), ape}));
    EXPECT_EQ(c.stats.apeCount, 1);
    EXPECT_GE(c.stats.errorCount, 1);
    EXPECT_NE(c.text.find("truncated"), std::string::npos);
}

// ------------------------------------------------------------------ checkAudioFile

// Catches what goes to standard error while it lives.
class StderrCapture {
public:
    StderrCapture() {
        std::fflush(stderr);
        saved_ = dup(2);
        file_ = std::tmpfile();
        dup2(fileno(file_), 2);
    }
    ~StderrCapture() { restore(); }
    std::string text() {
        restore();
        std::string out;
        std::rewind(file_);
        char buffer[4096];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, file_)) > 0) out.append(buffer, n);
        return out;
    }

private:
    void restore() {
        if (saved_ < 0) return;
        std::fflush(stderr);
        dup2(saved_, 2);
        close(saved_);
        saved_ = -1;
    }
    int saved_ = -1;
    FILE* file_ = nullptr;
};

TEST(CheckAudioFile, MissingOrEmptyTrack) {
    support::TempDir dir;
    const std::string missing = dir.file("none.mp3");
    const std::string empty = dir.file("empty.mp3");
    support::writeFile(empty, {});
    for (const std::string& path : {missing, empty}) {
        StderrCapture capture;
        EXPECT_EQ(checkAudioFile(path.c_str(), nullptr, true, false, false, false), 0);
        EXPECT_EQ(capture.text(), "Error: Cannot open track '" + path + "' or it is empty\n");
    }
}

TEST(CheckAudioFile, ReportGoesToStandardError) {
    support::TempDir dir;
    const std::string path = dir.file("a.mp3");
    FrameSpec bad;
    bad.crc = true;
    bad.wrongCrc = true;
    support::writeFile(path, concat({frames(10), frames(1, bad), id3v1Tag()}));
    StderrCapture capture;
    EXPECT_EQ(checkAudioFile(path.c_str(), nullptr, false, false, false, false), 1);
    EXPECT_EQ(capture.text(), "Checking audio file '" + path + "'...\n" +
                                  "Warning: 1 frames have the wrong CRC\n"
                                  "Information: MPEG 1 Layer III, 11 MPEG frames, CBR, CRC, ID3v1\n");
}

TEST(CheckAudioFile, ReportGoesToTheLogFileWhenGiven) {
    support::TempDir dir;
    const std::string path = dir.file("a.mp3");
    const std::string log = dir.file("check.log");
    support::writeFile(path, frames(10));
    support::writeText(log, "old contents that must go\n");
    StderrCapture capture;
    EXPECT_EQ(checkAudioFile(path.c_str(), log.c_str(), false, true, false, false), 0);
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(support::readText(log), "Checking audio file '" + path + "'...\n" + kNoTags);
}

TEST(CheckAudioFile, UnopenableLogFile) {
    support::TempDir dir;
    const std::string path = dir.file("a.mp3");
    const std::string log = dir.file("no/such/folder.log");
    support::writeFile(path, frames(10));
    StderrCapture capture;
    EXPECT_EQ(checkAudioFile(path.c_str(), log.c_str(), false, false, false, false), 0);
    EXPECT_EQ(capture.text(), "Error: Failed to open the log file '" + log + "'\n");
}

// ------------------------------------------------------------------ real files

std::string checkFileReport(const std::string& path, CheckStats& stats) {
    std::vector<uint8_t> data = support::readFile(path);
    char* buffer = nullptr;
    size_t length = 0;
    FILE* stream = open_memstream(&buffer, &length);
    scanAudio(data, stats, stream, false, -1);
    printReport(stream, stats, false);
    std::fclose(stream);
    std::string out(buffer, length);
    std::free(buffer);
    return out;
}

TEST(StreamCheckerCorpus, ProtectedFramesHaveRightCrcs) {
    const std::string path = support::corpusFile("taglib-sharp/sample_v2_3_ext_header.mp3");
    if (path.empty()) GTEST_SKIP() << "no sample corpus";
    CheckStats stats;
    std::string text = checkFileReport(path, stats);
    EXPECT_EQ(stats.crcErrorCount, 0) << text;
    EXPECT_EQ(stats.frameCounts[KindM1L3], 104) << text;
    EXPECT_EQ(stats.crcPresent, 1);
    EXPECT_NE(text.find(", 104 MPEG frames, CBR, CRC, ID3v1 ID3v2\n"), std::string::npos) << text;
}

TEST(StreamCheckerCorpus, SingleProtectedFrame) {
    const std::string path = support::corpusFile("hsaudiotag/crc53865.mp3");
    if (path.empty()) GTEST_SKIP() << "no sample corpus";
    CheckStats stats;
    std::string text = checkFileReport(path, stats);
    EXPECT_EQ(stats.crcErrorCount, 0) << text;
    EXPECT_EQ(stats.crcPresent, 1);
}

TEST(StreamCheckerCorpus, LayerTwoConformanceStreamWithCrc) {
    const std::string path = support::corpusFile("music-metadata/fl10.mp2");
    if (path.empty()) GTEST_SKIP() << "no sample corpus";
    CheckStats stats;
    std::string text = checkFileReport(path, stats);
    EXPECT_NE(text.find("Warning: Invalid layer-III frame encountered\n"), std::string::npos) << text;
    EXPECT_EQ(stats.crcErrorCount, 0);
    EXPECT_GT(stats.frameCounts[KindM1L2], 0);
}

}  // namespace
}  // namespace tagwick
