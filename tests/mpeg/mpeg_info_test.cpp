// The stream summary: tables, first-frame search, encoder probes, the frame walk with its
// three modes, averages, extrapolation, length, the AIFF summary, and the sample corpus.
#include "mpeg/mpeg_info.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <string>
#include <vector>

#include "base/logger.h"
#include "support/mpeg_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::FrameSpec;

// The result of one summary call on fresh fields.
struct Summary {
    bool made = false;
    MpegInfo info;
};

Summary summarize(const ByteVec& bytes, ScanMode mode = ScanMode::Full, size_t start = 0) {
    Summary s;
    s.made = loadMpegInfo(s.info, Bytes(bytes), start, mode, nullptr, "track.mp3");
    return s;
}

// Catches what the summary logs (progress level included) for the life of the object.
class LogCapture {
public:
    LogCapture() : stream_(std::tmpfile()) {
        Logger::resetForTests();
        Logger::setMaxLevel(LogProgress);
        Logger::setConsoleStreams(stream_, stream_);
    }
    ~LogCapture() {
        Logger::resetForTests();
        if (stream_) std::fclose(stream_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::string text() const {
        std::string out;
        if (!stream_) return out;
        std::fflush(stream_);
        std::rewind(stream_);
        char buffer[512];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, stream_)) > 0) out.append(buffer, n);
        return out;
    }

private:
    FILE* stream_;
};

const char* const ProbeNotice = "VBR has not been found in the first 1000 frames (assuming CBR)";
const char* const SteadyNotice = "VBR has not been found in the first 500 frames (assuming CBR)";

FrameSpec mpeg1(int kbps = 128) {
    FrameSpec spec;
    spec.bitrateKbps = kbps;
    return spec;
}

// A frame whose length follows the summary's rule (for versions and layers where the
// standard's length differs).
FrameSpec bySummaryRule(FrameSpec spec) {
    spec.length = support::summaryRuleLength(spec);
    return spec;
}

void appendFrames(ByteVec& out, const FrameSpec& spec, size_t count) { support::append(out, support::buildStream(spec, count)); }

ByteVec id3v1Record() {
    ByteVec record(128, 0);
    record[0] = 'T';
    record[1] = 'A';
    record[2] = 'G';
    for (size_t i = 3; i < 33; ++i) record[i] = 'x';
    record[127] = 255;
    return record;
}

// ------------------------------------------------------------------------------------ tables

struct BitrateCase {
    const char* name;
    uint32_t version;
    uint32_t layer;
    uint32_t index;
    uint32_t kbps;
};

class MpegTablesBitrate : public ::testing::TestWithParam<BitrateCase> {};

TEST_P(MpegTablesBitrate, FollowsRowRule) {
    const BitrateCase& c = GetParam();
    EXPECT_EQ(summaryBitrate(c.version, c.layer, c.index), c.kbps);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, MpegTablesBitrate,
    ::testing::Values(BitrateCase{"Mpeg1Layer3", VersionMpeg1, 2, 9, 128},
                      BitrateCase{"Mpeg1Layer3Top", VersionMpeg1, 2, 14, 320},
                      BitrateCase{"Mpeg1Layer2Top", VersionMpeg1, 1, 14, 384},
                      BitrateCase{"Mpeg1Layer1Top", VersionMpeg1, 0, 14, 448},
                      BitrateCase{"Mpeg2Layer1", VersionMpeg2, 0, 9, 144},
                      BitrateCase{"Mpeg2Layer2", VersionMpeg2, 1, 9, 80},
                      BitrateCase{"Mpeg2Layer3Top", VersionMpeg2, 2, 14, 160},
                      BitrateCase{"Mpeg25Layer3", VersionMpeg25, 2, 1, 8},
                      BitrateCase{"FreeFormatIsZero", VersionMpeg1, 2, 0, 0},
                      BitrateCase{"IndexFifteenIsZero", VersionMpeg1, 2, 15, 0},
                      BitrateCase{"IndexFifteenMpeg2IsZero", VersionMpeg2, 0, 15, 0},
                      // The reserved version has an odd code, so it reads the MPEG-1 rows.
                      BitrateCase{"ReservedVersionReadsMpeg1Layer3", VersionReserved, 2, 2, 40},
                      BitrateCase{"ReservedVersionReadsMpeg1Layer1", VersionReserved, 0, 2, 64},
                      // The reserved layer of MPEG-2/2.5 reads the next group's first row (MPEG-1 layer I).
                      BitrateCase{"ReservedLayerMpeg2ReadsMpeg1Layer1", VersionMpeg2, 3, 2, 64},
                      BitrateCase{"ReservedLayerMpeg25ReadsMpeg1Layer1", VersionMpeg25, 3, 14, 448},
                      // For MPEG-1 there is no next group.
                      BitrateCase{"ReservedLayerMpeg1IsZero", VersionMpeg1, 3, 9, 0}),
    [](const auto& info) { return std::string(info.param.name); });

struct RateCase {
    const char* name;
    uint32_t version;
    uint32_t index;
    float hz;
};

class MpegTablesSampleRate : public ::testing::TestWithParam<RateCase> {};

TEST_P(MpegTablesSampleRate, ByVersionAndIndex) {
    const RateCase& c = GetParam();
    EXPECT_EQ(sampleRateFor(c.version, c.index), c.hz);
}

INSTANTIATE_TEST_SUITE_P(Rates, MpegTablesSampleRate,
                         ::testing::Values(RateCase{"Mpeg1First", VersionMpeg1, 0, 44100.0f},
                                           RateCase{"Mpeg1Third", VersionMpeg1, 2, 32000.0f},
                                           RateCase{"Mpeg2Second", VersionMpeg2, 1, 24000.0f},
                                           RateCase{"Mpeg25Third", VersionMpeg25, 2, 8000.0f},
                                           RateCase{"Mpeg25First", VersionMpeg25, 0, 11025.0f},
                                           RateCase{"ReservedVersion", VersionReserved, 0, 0.0f},
                                           RateCase{"ReservedIndex", VersionMpeg1, 3, 0.0f},
                                           RateCase{"AiffCodeHasNoTable", VersionAiff, 0, 0.0f}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(MpegTables, FrameLengthUses144000ForEveryLayer) {
    EXPECT_EQ(summaryFrameLength(128, 44100.0f, 0), 417u);
    EXPECT_EQ(summaryFrameLength(128, 44100.0f, 1), 418u);
    // MPEG-2 layer III: the standard's 72000 would give 208.
    EXPECT_EQ(summaryFrameLength(64, 22050.0f, 0), 417u);
    // Layer I: the standard's (12000 * 32 / 44100) * 4 would give 32.
    EXPECT_EQ(summaryFrameLength(32, 44100.0f, 0), 104u);
    EXPECT_EQ(summaryFrameLength(448, 32000.0f, 1), 2017u);
    EXPECT_EQ(summaryFrameLength(8, 8000.0f, 0), 144u);
    EXPECT_EQ(summaryFrameLength(0, 44100.0f, 1), 1u);
    EXPECT_EQ(summaryFrameLength(128, 0.0f, 1), 0u);
}

TEST(MpegTables, FrameLengthMatchesBuildersRule) {
    for (int version : {1, 2, 25}) {
        for (int layer : {1, 2, 3}) {
            for (int rateIndex : {0, 1, 2}) {
                for (int bitrateIndex = 1; bitrateIndex < 15; ++bitrateIndex) {
                    FrameSpec spec;
                    spec.version = version;
                    spec.layer = layer;
                    spec.sampleRateIndex = rateIndex;
                    spec.bitrateIndex = bitrateIndex;
                    spec.padding = bitrateIndex % 2 == 1;
                    const uint32_t versionCode = version == 1 ? 3 : version == 2 ? 2 : 0;
                    const uint32_t kbps = summaryBitrate(versionCode, uint32_t(layer - 1), uint32_t(bitrateIndex));
                    ASSERT_EQ(int(kbps), support::standardBitrateKbps(spec));
                    EXPECT_EQ(summaryFrameLength(kbps, sampleRateFor(versionCode, uint32_t(rateIndex)),
                                                 spec.padding ? 1 : 0),
                              support::summaryRuleLength(spec))
                        << "version " << version << " layer " << layer << " index " << bitrateIndex;
                }
            }
        }
    }
}

TEST(MpegTables, NameTables) {
    const char* versions[] = {"MPEG-2.5 LSF", "RESERVED", "MPEG-2 LSF", "MPEG-1", "UNKNOWN", "AIFF"};
    for (uint32_t code = 0; code < 6; ++code) EXPECT_EQ(versionName(code), versions[code]);
    const char* layers[] = {"layer 1", "layer 2", "layer 3", "unknown", ""};
    for (uint32_t code = 0; code < 5; ++code) EXPECT_EQ(layerName(code), layers[code]);
    const char* modes[] = {"Stereo", "Joint stereo", "Dual channel", "Mono", "Multi channel", "unknown"};
    for (uint32_t code = 0; code < 6; ++code) EXPECT_EQ(channelModeName(code), modes[code]);
    EXPECT_EQ(versionName(77), "UNKNOWN");
    EXPECT_EQ(layerName(9), "unknown");
    EXPECT_EQ(channelModeName(200), "unknown");
}

TEST(MpegTables, RateLabels) {
    EXPECT_EQ(rateLabel(true, false), "VBR average");
    EXPECT_EQ(rateLabel(true, true), "VBR quick");
    EXPECT_EQ(rateLabel(false, false), "CBR");
    EXPECT_EQ(rateLabel(false, true), "CBR quick");
}

// ------------------------------------------------------------------------- first frame

TEST(MpegSummary, DecodesFirstHeaderAfterGarbage) {
    FrameSpec spec;
    spec.version = 2;
    spec.sampleRateIndex = 1;  // 24000 Hz
    spec.bitrateKbps = 64;
    spec.channelMode = 3;
    spec.crc = true;
    spec.copyright = true;
    spec.original = true;
    spec = bySummaryRule(spec);
    // Sync pairs the search must pass over: 0xFF before a byte without bit 1 (layer II),
    // before one without the top three bits, and a lone 0xFF.
    ByteVec bytes = {0x00, 0xFF, 0xE0, 0x12, 0xFF, 0xFD, 0x90, 0x00, 0xFF, 0x7F, 0xFF, 0x00, 0x41};
    const size_t audioAt = bytes.size();
    appendFrames(bytes, spec, 12);

    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.audioStart, audioAt);
    EXPECT_EQ(s.info.versionCode, VersionMpeg2);
    EXPECT_EQ(s.info.layerCode, 2);
    EXPECT_EQ(s.info.protectionBit, 0u);
    EXPECT_EQ(s.info.frequency, 1u);
    EXPECT_EQ(s.info.channelMode, ChannelMono);
    EXPECT_TRUE(s.info.copyrightBit);
    EXPECT_TRUE(s.info.originalBit);
    EXPECT_EQ(s.info.frameCount, 12u);
    EXPECT_EQ(s.info.averageBitrate, 64u);
    EXPECT_FALSE(s.info.streamError);
}

TEST(MpegSummary, HeaderBitsClearWhenNotSet) {
    ByteVec bytes = support::buildStream(mpeg1(), 4);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.versionCode, VersionMpeg1);
    EXPECT_EQ(s.info.protectionBit, 1u);
    EXPECT_EQ(s.info.channelMode, 0);
    EXPECT_FALSE(s.info.copyrightBit);
    EXPECT_FALSE(s.info.originalBit);
    EXPECT_EQ(versionName(s.info.versionCode), "MPEG-1");
    EXPECT_EQ(layerName(s.info.layerCode), "layer 3");
}

TEST(MpegSummary, LayerTwoFirstFrameIsSkipped) {
    FrameSpec layer2 = mpeg1();
    layer2.layer = 2;
    ByteVec bytes = support::buildFrame(layer2);
    const size_t audioAt = bytes.size();
    appendFrames(bytes, mpeg1(), 10);

    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.audioStart, audioAt);
    EXPECT_EQ(s.info.layerCode, 2);
    EXPECT_EQ(s.info.frameCount, 10u);
}

TEST(MpegSummary, LayerTwoStreamHasNoFrame) {
    FrameSpec layer2 = mpeg1();
    layer2.layer = 2;
    Summary s = summarize(support::buildStream(layer2, 20));
    EXPECT_FALSE(s.made);
}

TEST(MpegSummary, LayerOneIsAcceptedAndWalksBySummaryRule) {
    FrameSpec layer1 = mpeg1(32);
    layer1.layer = 1;
    ASSERT_NE(support::summaryRuleLength(layer1), support::standardFrameLength(layer1));

    Summary byRule = summarize(support::buildStream(bySummaryRule(layer1), 25));
    ASSERT_TRUE(byRule.made);
    EXPECT_EQ(byRule.info.layerCode, 0);
    EXPECT_EQ(byRule.info.frameCount, 25u);
    EXPECT_FALSE(byRule.info.streamError);

    // With the standard's lengths the second header is not where the rule looks for it.
    Summary standard = summarize(support::buildStream(layer1, 25));
    ASSERT_TRUE(standard.made);
    EXPECT_LT(standard.info.frameCount, 25u);
}

TEST(MpegSummary, Mpeg2WalksBySummaryRuleNotStandardLength) {
    FrameSpec spec;
    spec.version = 2;
    spec.bitrateKbps = 64;  // 22050 Hz: 417 bytes by the rule, 208 by the standard
    ASSERT_EQ(support::summaryRuleLength(spec), 417u);
    ASSERT_EQ(support::standardFrameLength(spec), 208u);

    Summary byRule = summarize(support::buildStream(bySummaryRule(spec), 30));
    ASSERT_TRUE(byRule.made);
    EXPECT_EQ(byRule.info.frameCount, 30u);
    EXPECT_FALSE(byRule.info.streamError);

    // 417 bytes in lies the second byte of the third frame: not a header, not a tag.
    Summary standard = summarize(support::buildStream(spec, 30));
    ASSERT_TRUE(standard.made);
    EXPECT_EQ(standard.info.frameCount, 1u);
    EXPECT_TRUE(standard.info.streamError);
}

TEST(MpegSummary, SearchBeginsAtStartOffset) {
    ByteVec bytes = support::buildStream(mpeg1(), 8);
    // From offset 1 the pair at 0-1 is not seen; the next header is the second frame.
    Summary s = summarize(bytes, ScanMode::Full, 1);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.audioStart, 417u);
    EXPECT_EQ(s.info.frameCount, 7u);
}

TEST(MpegSummary, NoFrameReturnsFalse) {
    EXPECT_FALSE(summarize(ByteVec{}).made);
    EXPECT_FALSE(summarize(ByteVec(5000, 0)).made);
    EXPECT_FALSE(summarize(ByteVec(5000, 0xFF) /* every header has rate index 3 */).made);
    ByteVec frames = support::buildStream(mpeg1(), 3);
    EXPECT_FALSE(summarize(frames, ScanMode::Full, frames.size()).made);
    EXPECT_FALSE(summarize(frames, ScanMode::Full, frames.size() + 100).made);
}

TEST(MpegSummary, HeaderCutByEndOfFileIsNoFrame) {
    Summary s = summarize(ByteVec{0x00, 0xFF, 0xFB, 0x90});
    EXPECT_FALSE(s.made);
    EXPECT_FALSE(s.info.streamError);
}

TEST(MpegSummary, StreamErrorIsClearedOnEntry) {
    MpegInfo info;
    info.streamError = true;
    ByteVec bytes = support::buildStream(mpeg1(), 5);
    ASSERT_TRUE(loadMpegInfo(info, Bytes(bytes), 0, ScanMode::Full, nullptr, "x"));
    EXPECT_FALSE(info.streamError);
}

TEST(MpegSummary, ZeroRateFirstFrameIsSkipped) {
    FrameSpec badRate = mpeg1();
    badRate.sampleRateIndex = 3;
    badRate.length = 417;
    ByteVec bytes = support::buildFrame(badRate);
    appendFrames(bytes, mpeg1(), 6);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.audioStart, 417u);
    EXPECT_EQ(s.info.frameCount, 6u);
    EXPECT_EQ(s.info.frequency, 0u);
}

TEST(MpegSummary, BitrateIndexFifteenFirstFrameIsSkipped) {
    FrameSpec bad = mpeg1();
    bad.bitrateIndex = 15;
    bad.length = 417;
    ByteVec bytes = support::buildFrame(bad);
    appendFrames(bytes, mpeg1(), 6);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.audioStart, 417u);
    EXPECT_EQ(s.info.frameCount, 6u);
    EXPECT_EQ(s.info.averageBitrate, 128u);
}

TEST(MpegSummary, BitrateIndexFifteenEndsWalk) {
    ByteVec bytes = support::buildStream(mpeg1(), 10);
    FrameSpec bad = mpeg1();
    bad.bitrateIndex = 15;
    bad.length = 417;
    support::append(bytes, support::buildFrame(bad));
    appendFrames(bytes, mpeg1(), 10);

    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    // The frame with rate 0 is counted, then its length of 0 ends the walk.
    EXPECT_EQ(s.info.frameCount, 11u);
    EXPECT_TRUE(s.info.vbrDetected);
    EXPECT_EQ(s.info.averageBitrate, 10u * 128u / 11u);
    EXPECT_EQ(s.info.bitrateText, "116 kbps (VBR average)");
    EXPECT_FALSE(s.info.streamError);
}

// ------------------------------------------------------------------------- encoder probes

struct LameCase {
    const char* name;
    const char* text;
    const char* encoder;
};

class MpegSummaryLameTag : public ::testing::TestWithParam<LameCase> {};

TEST_P(MpegSummaryLameTag, CutByVersion) {
    const LameCase& c = GetParam();
    support::XingSpec xing;
    xing.frames = 20;
    xing.lame = c.text;
    ByteVec bytes = support::buildXingFrameAt36(mpeg1(), xing);
    appendFrames(bytes, mpeg1(), 19);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.encoder, c.encoder);
}

INSTANTIATE_TEST_SUITE_P(
    Versions, MpegSummaryLameTag,
    ::testing::Values(LameCase{"DottedMinorKeepsEight", "LAME3.90.3", "LAME3.90"},
                      LameCase{"LetterSuffixKeepsNine", "LAME3.96r", "LAME3.96r"},
                      LameCase{"SpaceSuffixKeepsNine", "LAME3.97 \x01\x02", "LAME3.97 "},
                      LameCase{"ExactlyThreeNineKeepsNine", "LAME3.90rABCDEF", "LAME3.90r"},
                      LameCase{"OldVersionKeepsTwenty", "LAME3.88 (beta 1, Dec 12 1999)", "LAME3.88 (beta 1, De"},
                      LameCase{"JustBelowKeepsTwenty", "LAME3.89rABCDEFGHIJKLMNOP", "LAME3.89rABCDEFGHIJK"},
                      // 3.100 reads as the number 3.1.
                      LameCase{"ThreeHundredReadsAsThreePointOne", "LAME3.100ABCDEFGHIJKLMNOP", "LAME3.100ABCDEFGHIJK"},
                      LameCase{"NoNumberKeepsTwenty", "LAMEx.yzABCDEFGHIJKLMNOP", "LAMEx.yzABCDEFGHIJKL"},
                      LameCase{"LowerCaseMatches", "lame3.99r", "lame3.99r"},
                      LameCase{"TextEndsEarly", "LAME3.9", "LAME3.9"}),
    [](const auto& info) { return std::string(info.param.name); });

struct XingWordCase {
    const char* name;
    const char* word;
    bool seen;
};

class MpegSummaryXingWord : public ::testing::TestWithParam<XingWordCase> {};

TEST_P(MpegSummaryXingWord, ComparedWithoutCase) {
    const XingWordCase& c = GetParam();
    support::XingSpec xing;
    xing.tag = c.word;
    xing.frames = 20;
    xing.lame = "LAME3.99r";
    ByteVec bytes = support::buildXingFrameAt36(mpeg1(), xing);
    appendFrames(bytes, mpeg1(), 19);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    // Unseen, the LAME text is still found by the scan of the first frame's body, which keeps 8 bytes.
    EXPECT_EQ(s.info.encoder, c.seen ? "LAME3.99r" : "LAME3.99");
}

INSTANTIATE_TEST_SUITE_P(Words, MpegSummaryXingWord,
                         ::testing::Values(XingWordCase{"Xing", "Xing", true}, XingWordCase{"Info", "Info", true},
                                           XingWordCase{"UpperInfo", "INFO", true},
                                           XingWordCase{"MixedXing", "xInG", true},
                                           XingWordCase{"NotXing", "Xinf", false},
                                           XingWordCase{"Vbri", "VBRI", false}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(MpegSummary, XingInMpeg1MonoIsNotSeenButBodyScanFindsLame) {
    FrameSpec mono = mpeg1();
    mono.channelMode = 3;
    support::XingSpec xing;
    xing.tag = "Info";
    xing.frames = 20;
    xing.bytes = 20 * 417;
    xing.lame = "LAME3.99r";
    xing.lameOffset = 21 + 120;  // where an encoder puts it behind a header at the standard place
    ByteVec bytes = support::buildXingFrame(mono, xing);
    appendFrames(bytes, mono, 19);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.encoder, "LAME3.99");
    EXPECT_EQ(s.info.channelMode, ChannelMono);
}

TEST(MpegSummary, XingInMpeg2IsNotSeenButBodyScanFindsLame) {
    FrameSpec spec;
    spec.version = 2;
    spec.bitrateKbps = 64;
    spec.channelMode = 3;
    spec = bySummaryRule(spec);
    support::XingSpec xing;
    xing.frames = 20;
    xing.lame = "LAME3.96r";
    xing.lameOffset = 13 + 120;
    ByteVec bytes = support::buildXingFrame(spec, xing);
    appendFrames(bytes, spec, 19);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.encoder, "LAME3.96");
    EXPECT_EQ(s.info.frameCount, 20u);
}

TEST(MpegSummary, BareLameAt36KeepsEightBytes) {
    ByteVec first = support::buildFrame(mpeg1());
    support::putText(first, 36, "LAME3.99.5");
    ByteVec bytes = first;
    appendFrames(bytes, mpeg1(), 9);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.encoder, "LAME3.99");
}

TEST(MpegSummary, NoEncoderLeavesEncoderEmpty) {
    support::XingSpec xing;
    xing.frames = 10;  // no LAME text behind it
    ByteVec bytes = support::buildXingFrameAt36(mpeg1(), xing);
    appendFrames(bytes, mpeg1(), 9);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.encoder, "");
}

// A stream of `count` frames of 417 bytes where frame `frameNumber` (1-based) carries `text` at `at`.
ByteVec streamWithText(size_t count, size_t frameNumber, size_t at, std::string_view text) {
    ByteVec bytes = support::buildStream(mpeg1(), count);
    const size_t frameStart = (frameNumber - 1) * 417;
    for (size_t i = 0; i < text.size(); ++i) bytes[frameStart + at + i] = uint8_t(text[i]);
    return bytes;
}

TEST(MpegSummaryBodyScan, FindsLameInLaterFrame) {
    Summary s = summarize(streamWithText(20, 5, 300, "LAME3.98r"));
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.encoder, "LAME3.98");
}

TEST(MpegSummaryBodyScan, StartsThirteenBytesBeforeBodyEnd) {
    // A body of 413 bytes is scanned from its offset 404, which is frame offset 408.
    Summary reached = summarize(streamWithText(20, 3, 408, "LAME3.98"));
    EXPECT_EQ(reached.info.encoder, "LAME3.98");
    Summary beyond = summarize(streamWithText(20, 3, 409, "LAME3.98"));
    EXPECT_EQ(beyond.info.encoder, "");
}

TEST(MpegSummaryBodyScan, PrintableBytesBehindTextAreCrossed) {
    Summary s = summarize(streamWithText(20, 2, 200, "LAME3.97UUUUUUUUUUUUUU~ \x7F"));
    EXPECT_EQ(s.info.encoder, "LAME3.97");
}

TEST(MpegSummaryBodyScan, ControlByteBehindTextEndsScan) {
    Summary s = summarize(streamWithText(20, 2, 200, "LAME3.97UUU\x01UUU"));
    EXPECT_EQ(s.info.encoder, "");
    Summary high = summarize(streamWithText(20, 2, 200, "LAME3.97UUU\x80UUU"));
    EXPECT_EQ(high.info.encoder, "");
}

TEST(MpegSummaryBodyScan, OtherLetterLEndsScan) {
    Summary upper = summarize(streamWithText(20, 2, 200, "LAME3.97 LOOK"));
    EXPECT_EQ(upper.info.encoder, "");
    Summary lower = summarize(streamWithText(20, 2, 200, "LAME3.97 look"));
    EXPECT_EQ(lower.info.encoder, "");
    Summary caseBlind = summarize(streamWithText(20, 2, 200, "lAmE3.97 ok"));
    EXPECT_EQ(caseBlind.info.encoder, "lAmE3.97");
}

TEST(MpegSummaryBodyScan, OnlyFirst199FramesAreScanned) {
    Summary last = summarize(streamWithText(250, 199, 300, "LAME3.98r"));
    EXPECT_EQ(last.info.encoder, "LAME3.98");
    Summary late = summarize(streamWithText(250, 200, 300, "LAME3.98r"));
    EXPECT_EQ(late.info.encoder, "");
}

TEST(MpegSummaryBodyScan, FirstFoundEncoderIsKept) {
    ByteVec bytes = streamWithText(20, 2, 300, "LAME3.98r");
    const ByteVec later = streamWithText(20, 4, 300, "LAME3.12r");
    std::copy(later.begin() + 3 * 417, later.begin() + 4 * 417, bytes.begin() + 3 * 417);
    EXPECT_EQ(summarize(bytes).info.encoder, "LAME3.98");

    support::XingSpec xing;
    xing.frames = 20;
    xing.lame = "LAME3.99r";
    ByteVec withTag = support::buildXingFrameAt36(mpeg1(), xing);
    support::append(withTag, ByteVec(bytes.begin() + 417, bytes.end()));
    EXPECT_EQ(summarize(withTag).info.encoder, "LAME3.99r");
}

// ------------------------------------------------------------------------- end of the walk

TEST(MpegSummaryWalk, Id3v1AfterLastFrameEndsQuietly) {
    ByteVec bytes = support::buildStream(mpeg1(), 20);
    support::append(bytes, id3v1Record());
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.frameCount, 20u);
    EXPECT_FALSE(s.info.streamError);
    EXPECT_EQ(s.info.bitrateText, "128 kbps (CBR)");
}

struct TrailerCase {
    const char* name;
    std::vector<uint8_t> bytes;
    bool streamError;
};

class MpegSummaryTrailer : public ::testing::TestWithParam<TrailerCase> {};

TEST_P(MpegSummaryTrailer, EndsWalk) {
    const TrailerCase& c = GetParam();
    ByteVec bytes = support::buildStream(mpeg1(), 12);
    support::append(bytes, c.bytes);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.frameCount, 12u);
    EXPECT_EQ(s.info.streamError, c.streamError);
}

INSTANTIATE_TEST_SUITE_P(
    Words, MpegSummaryTrailer,
    ::testing::Values(TrailerCase{"TagWord", {'T', 'A', 'G', 0, 1, 2}, false},
                      // The tag test is a bit mask: any word holding the bits of "TAG" passes.
                      TrailerCase{"WordHoldingTagBits", {'_', 'O', 'O', 0x00, 1, 2}, false},
                      TrailerCase{"UagHoldsTagBits", {'U', 'A', 'G', 'x'}, false},
                      TrailerCase{"TafLacksABit", {'T', 'A', 'F', 0}, true},
                      TrailerCase{"ApeTagWord", {'A', 'P', 'E', 'T', 'A', 'G', 'E', 'X'}, true},
                      TrailerCase{"Zeros", {0, 0, 0, 0, 0, 0}, true},
                      TrailerCase{"FewerThanFourBytes", {0, 0, 0}, false},
                      TrailerCase{"Nothing", {}, false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(MpegSummaryWalk, TruncatedLastFrameIsCountedWithoutError) {
    ByteVec bytes = support::buildStream(mpeg1(), 10);
    bytes.resize(bytes.size() - 200);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.frameCount, 10u);
    EXPECT_FALSE(s.info.streamError);

    ByteVec headerCut = support::buildStream(mpeg1(), 10);
    headerCut.resize(9 * 417 + 2);
    Summary cut = summarize(headerCut);
    EXPECT_EQ(cut.info.frameCount, 9u);
    EXPECT_FALSE(cut.info.streamError);
}

TEST(MpegSummaryWalk, Mpeg25HeaderEndsWalk) {
    FrameSpec spec;
    spec.version = 25;
    spec.bitrateKbps = 8;
    spec.sampleRateIndex = 2;  // 8000 Hz
    spec = bySummaryRule(spec);
    ByteVec bytes = support::buildStream(spec, 6);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.versionCode, VersionMpeg25);
    EXPECT_EQ(versionName(s.info.versionCode), "MPEG-2.5 LSF");
    // The second header lacks the twelfth sync bit.
    EXPECT_EQ(s.info.frameCount, 1u);
    const uint32_t second = support::headerWord(spec);
    EXPECT_EQ(s.info.streamError, (second & 0x54414700u) != 0x54414700u);
    EXPECT_EQ(s.info.averageBitrate, 8u);
}

TEST(MpegSummaryWalk, ReservedVersionHeaderEndsWalk) {
    ByteVec bytes = support::buildStream(mpeg1(), 7);
    FrameSpec reserved = mpeg1();
    reserved.versionBits = 1;  // the twelfth sync bit is the version's high bit
    support::append(bytes, support::buildFrame(reserved));
    appendFrames(bytes, mpeg1(), 5);
    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.frameCount, 7u);
    EXPECT_EQ(s.info.audioStart, 0u);
    EXPECT_TRUE(s.info.streamError);
}

TEST(MpegSummaryWalk, ReservedLayerFrameReadsNextGroupsRow) {
    FrameSpec spec;
    spec.version = 2;
    spec.bitrateKbps = 64;  // index 8
    spec = bySummaryRule(spec);
    ByteVec bytes = support::buildStream(spec, 5);
    FrameSpec reservedLayer = spec;
    reservedLayer.layerBits = 0;
    // Index 8 of the first MPEG-1 row is 256 kbit/s: trunc(256 * 144000 / 22050) = 1671 bytes.
    reservedLayer.length = 1671;
    support::append(bytes, support::buildFrame(reservedLayer));
    appendFrames(bytes, spec, 4);

    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.frameCount, 10u);
    EXPECT_TRUE(s.info.vbrDetected);
    EXPECT_EQ(s.info.averageBitrate, (9u * 64u + 256u) / 10u);
    EXPECT_FALSE(s.info.streamError);
}

TEST(MpegSummaryWalk, ZeroRateFrameRestartsSearch) {
    ByteVec bytes = support::buildStream(mpeg1(), 10);
    // A header of the walk with rate index 3 (no sample rate) sends the summary back to the search.
    FrameSpec noRate = mpeg1(64);
    noRate.sampleRateIndex = 3;
    noRate.length = 300;
    support::append(bytes, support::buildFrame(noRate));
    const size_t secondStart = bytes.size();
    FrameSpec other = mpeg1(192);
    appendFrames(bytes, other, 20);

    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.audioStart, secondStart);
    EXPECT_EQ(s.info.frameCount, 20u);
    EXPECT_EQ(s.info.averageBitrate, 192u);
    EXPECT_FALSE(s.info.vbrDetected);
}

TEST(MpegSummaryWalk, VbrAverageOverWholeStream) {
    const std::vector<int> rates = {128, 160, 192, 320, 32, 64, 128, 256, 224, 112, 96, 80, 40, 48, 56};
    std::vector<int> all;
    for (int round = 0; round < 20; ++round) all.insert(all.end(), rates.begin(), rates.end());
    ByteVec bytes = support::buildVbrStream(mpeg1(), all);

    Summary s = summarize(bytes);
    ASSERT_TRUE(s.made);
    const uint32_t sum = uint32_t(std::accumulate(all.begin(), all.end(), 0));
    EXPECT_EQ(s.info.frameCount, all.size());
    EXPECT_TRUE(s.info.vbrDetected);
    EXPECT_FALSE(s.info.estimated);
    EXPECT_EQ(s.info.averageBitrate, sum / all.size());
    EXPECT_EQ(s.info.bitrateText, std::to_string(sum / all.size()) + " kbps (VBR average)");
}

// ------------------------------------------------------------------------- modes

TEST(MpegSummaryModes, FullModeWalksEveryCbrFrame) {
    LogCapture log;
    ByteVec bytes = support::buildStream(mpeg1(), 1500);
    Summary s = summarize(bytes, ScanMode::Full);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.frameCount, 1500u);
    EXPECT_FALSE(s.info.estimated);
    EXPECT_EQ(s.info.bitrateText, "128 kbps (CBR)");
    EXPECT_EQ(log.text().find("VBR has not been found"), std::string::npos);
}

TEST(MpegSummaryModes, ProbeModeCbrStopsAfterThousandFrames) {
    LogCapture log;
    ByteVec bytes = support::buildStream(mpeg1(), 1500);
    Summary s = summarize(bytes, ScanMode::Probe);
    ASSERT_TRUE(s.made);
    EXPECT_TRUE(s.info.estimated);
    EXPECT_FALSE(s.info.vbrDetected);
    EXPECT_EQ(s.info.bitrateText, "128 kbps (CBR quick)");
    EXPECT_NE(log.text().find(ProbeNotice), std::string::npos) << log.text();
    // The walk stopped at frame 1001 with the lengths of frames 2 to 1001 summed: the average
    // length is 1000 * 417 / 1001 = 416, so the estimate is a little above the 1500 frames.
    EXPECT_EQ(s.info.frameCount, uint32_t(bytes.size() / (1000 * 417 / 1001)));
    EXPECT_EQ(s.info.frameCount, 1503u);
}

TEST(MpegSummaryModes, ProbeModeShortCbrWalksToEnd) {
    LogCapture log;
    Summary s = summarize(support::buildStream(mpeg1(), 1000), ScanMode::Probe);
    ASSERT_TRUE(s.made);
    EXPECT_FALSE(s.info.estimated);
    EXPECT_EQ(s.info.frameCount, 1000u);
    EXPECT_EQ(s.info.bitrateText, "128 kbps (CBR)");
    EXPECT_EQ(log.text().find("VBR has not been found"), std::string::npos);
}

TEST(MpegSummaryModes, ProbeModeVbrWalksToEnd) {
    std::vector<int> rates;
    for (int i = 0; i < 1600; ++i) rates.push_back(i % 3 == 0 ? 160 : 128);
    Summary s = summarize(support::buildVbrStream(mpeg1(), rates), ScanMode::Probe);
    ASSERT_TRUE(s.made);
    EXPECT_FALSE(s.info.estimated);
    EXPECT_EQ(s.info.frameCount, 1600u);
    EXPECT_TRUE(s.info.vbrDetected);
}

TEST(MpegSummaryModes, SteadyModeCbrStopsWhenAverageSettles) {
    LogCapture log;
    Summary s = summarize(support::buildStream(mpeg1(), 1500), ScanMode::Steady);
    ASSERT_TRUE(s.made);
    // The reference is set at frame 2; more than 200 frames later and past 500 the walk stops.
    EXPECT_EQ(s.info.frameCount, 501u);
    EXPECT_FALSE(s.info.estimated);
    EXPECT_EQ(s.info.bitrateText, "128 kbps (CBR)");
    EXPECT_EQ(log.text().find("VBR has not been found"), std::string::npos);
}

TEST(MpegSummaryModes, SteadyModeVbrStopsWhenAverageSettles) {
    std::vector<int> rates;
    for (int i = 0; i < 1500; ++i) rates.push_back(i % 2 == 0 ? 128 : 160);
    Summary s = summarize(support::buildVbrStream(mpeg1(), rates), ScanMode::Steady);
    ASSERT_TRUE(s.made);
    // The average swings 144/138/144/140/144/141/144 and settles at frame 8 (the last move
    // of more than 2), so the walk stops at 501 with 251 frames of 128 and 250 of 160.
    EXPECT_EQ(s.info.frameCount, 501u);
    EXPECT_FALSE(s.info.estimated);
    EXPECT_EQ(s.info.averageBitrate, (251u * 128u + 250u * 160u) / 501u);
    EXPECT_EQ(s.info.bitrateText, "143 kbps (VBR average)");
}

TEST(MpegSummaryModes, SteadyModeEstimatesWhenAverageKeepsMoving) {
    std::vector<int> rates(300, 32);
    rates.resize(2000, 320);
    ByteVec bytes = support::buildVbrStream(mpeg1(), rates);
    Summary s = summarize(bytes, ScanMode::Steady);
    ASSERT_TRUE(s.made);
    // After the switch the average climbs by more than 2 every dozen frames or so, so at
    // frame 1001 it last moved less than 200 frames before: the walk stops there, estimated.
    EXPECT_TRUE(s.info.estimated);
    EXPECT_TRUE(s.info.vbrDetected);
    const uint32_t walked = 1001;
    const uint32_t sum = 300 * 32 + (walked - 300) * 320;
    EXPECT_EQ(s.info.averageBitrate, sum / walked);
    EXPECT_EQ(s.info.bitrateText, std::to_string(sum / walked) + " kbps (VBR quick)");
    const uint64_t lengths = 299 * support::summaryRuleLength(mpeg1(32)) + (walked - 300) * support::summaryRuleLength(mpeg1(320));
    EXPECT_EQ(s.info.frameCount, uint32_t(bytes.size() / (lengths / walked)));
}

TEST(MpegSummaryModes, SumOfLengthsCarriesOverRestart) {
    LogCapture log;
    ByteVec bytes = support::buildStream(mpeg1(), 10);
    FrameSpec noRate = mpeg1();
    noRate.sampleRateIndex = 3;
    noRate.length = 417;
    support::append(bytes, support::buildFrame(noRate));
    const size_t audioAt = bytes.size();
    appendFrames(bytes, mpeg1(), 1500);

    Summary s = summarize(bytes, ScanMode::Probe);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.audioStart, audioAt);
    EXPECT_TRUE(s.info.estimated);
    // Frames 2-10 of the first run and 2-1001 of the second are in the sum: 1009 * 417 / 1001 = 420.
    EXPECT_EQ(s.info.frameCount, uint32_t((bytes.size() - audioAt) / (1009 * 417 / 1001)));
    EXPECT_EQ(s.info.frameCount, 1489u);
    EXPECT_NE(log.text().find(ProbeNotice), std::string::npos);
}

TEST(MpegSummaryModes, SteadyMarkCarriesOverRestart) {
    LogCapture log;
    std::vector<int> first(200, 128);
    first.resize(400, 320);
    ByteVec bytes = support::buildVbrStream(mpeg1(), first);
    FrameSpec noRate = mpeg1();
    noRate.sampleRateIndex = 3;
    noRate.length = 417;
    support::append(bytes, support::buildFrame(noRate));
    const size_t audioAt = bytes.size();
    appendFrames(bytes, mpeg1(224), 1500);

    Summary s = summarize(bytes, ScanMode::Steady);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.audioStart, audioAt);
    // The first run's average reaches 224 at its frame 400, where the mark is set. The second
    // run (224 kbit/s throughout) keeps that reference and mark, so at frame 501 it is not yet
    // steady for 200 frames, and the CBR limit of mode 1 ends the walk.
    EXPECT_TRUE(s.info.estimated);
    EXPECT_FALSE(s.info.vbrDetected);
    EXPECT_EQ(s.info.bitrateText, "224 kbps (CBR quick)");
    EXPECT_NE(log.text().find(SteadyNotice), std::string::npos) << log.text();
    const uint64_t lengths = 199 * 417 + 200 * support::summaryRuleLength(mpeg1(320)) +
                             500 * support::summaryRuleLength(mpeg1(224));
    EXPECT_EQ(s.info.frameCount, uint32_t((bytes.size() - audioAt) / (lengths / 501)));
}

// ------------------------------------------------------------------------- length and progress

TEST(MpegSummaryLength, FromFileSizeAndAverage) {
    ByteVec bytes(1000, 0);
    appendFrames(bytes, mpeg1(), 2400);
    support::append(bytes, id3v1Record());
    Summary s = summarize(bytes, ScanMode::Full, 10);
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.audioStart, 1000u);
    // Everything after the first frame counts, the ID3v1 record included: 1000928 * 8 / 128000.
    EXPECT_EQ(s.info.lengthSeconds, (bytes.size() - 1000) * 8 / 128000);
    EXPECT_EQ(s.info.lengthSeconds, 62u);
    EXPECT_EQ(s.info.lengthText, "1:02 (62 seconds)");
}

TEST(MpegSummaryLength, SetLengthFormsAndZeroDenominator) {
    MpegInfo info;
    setLength(info, 3661000, 1000);
    EXPECT_EQ(info.lengthSeconds, 3661u);
    EXPECT_EQ(info.lengthText, "1:01:01 (3661 seconds)");
    setLength(info, 59999, 1000);
    EXPECT_EQ(info.lengthSeconds, 59u);
    EXPECT_EQ(info.lengthText, "59 seconds");
    // Without a denominator the seconds are 0 while the text shows the numerator itself.
    setLength(info, 75, 0);
    EXPECT_EQ(info.lengthSeconds, 0u);
    EXPECT_EQ(info.lengthText, "1:15 (75 seconds)");
}

TEST(MpegSummaryLength, LongLengthTextFitsItsSlot) {
    MpegInfo info;
    setLength(info, 9000000000000000000ull, 1);
    EXPECT_LT(info.lengthText.size(), LengthTextSize);
    EXPECT_EQ(info.lengthText.rfind("2500000000000000:", 0), 0u);
}

TEST(MpegSummaryProgress, ReportsLoadingOnceWithName) {
    std::vector<std::pair<std::string, int>> calls;
    ProgressCallback callback = [&calls](const char* message, int percent) { calls.emplace_back(message, percent); };
    ByteVec bytes = support::buildStream(mpeg1(), 10);
    MpegInfo info;
    ASSERT_TRUE(loadMpegInfo(info, Bytes(bytes), 0, ScanMode::Full, &callback, "/music/song.mp3"));
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].first, "Loading /music/song.mp3");
    EXPECT_EQ(calls[0].second, 100);

    calls.clear();
    MpegInfo none;
    ByteVec empty(100, 0);
    EXPECT_FALSE(loadMpegInfo(none, Bytes(empty), 0, ScanMode::Full, &callback, "x"));
    EXPECT_TRUE(calls.empty());
}

TEST(MpegSummaryProgress, LongNameIsCut) {
    std::string message;
    ProgressCallback callback = [&message](const char* text, int) { message = text; };
    const std::string name(3000, 'n');
    ByteVec bytes = support::buildStream(mpeg1(), 3);
    MpegInfo info;
    ASSERT_TRUE(loadMpegInfo(info, Bytes(bytes), 0, ScanMode::Full, &callback, name.c_str()));
    EXPECT_EQ(message.size(), 1055u);
    EXPECT_EQ(message.rfind("Loading nnn", 0), 0u);
}

// ------------------------------------------------------------------------- AIFF

TEST(AiffSummary, FiveSampleFramesPastSecondRoundUp) {
    MpegInfo info;
    ASSERT_TRUE(loadAiffInfo(info, AiffCommon{2, 44101, 16, 44100}));
    EXPECT_EQ(info.lengthSeconds, 1u);
    EXPECT_EQ(info.lengthText, "1 seconds");
    MpegInfo more;
    ASSERT_TRUE(loadAiffInfo(more, AiffCommon{2, 44105, 16, 44100}));
    EXPECT_EQ(more.lengthSeconds, 2u);
    MpegInfo four;
    ASSERT_TRUE(loadAiffInfo(four, AiffCommon{2, 44104, 16, 44100}));
    EXPECT_EQ(four.lengthSeconds, 1u);
    MpegInfo whole;
    ASSERT_TRUE(loadAiffInfo(whole, AiffCommon{2, 88200, 16, 44100}));
    EXPECT_EQ(whole.lengthSeconds, 2u);
}

TEST(AiffSummary, FieldsFromCommonChunk) {
    MpegInfo info;
    ASSERT_TRUE(loadAiffInfo(info, AiffCommon{2, 44100, 16, 44100}));
    EXPECT_EQ(info.versionCode, VersionAiff);
    EXPECT_EQ(info.layerCode, LayerNone);
    EXPECT_EQ(info.averageBitrate, 1411u);
    EXPECT_EQ(info.sampleSize, 16u);
    EXPECT_EQ(info.frequency, 44100u);
    EXPECT_EQ(info.frameCount, 44100u);
    EXPECT_EQ(info.channelMode, 0);  // two channels leave the cleared mode: stereo
    EXPECT_EQ(versionName(info.versionCode), "AIFF");
    EXPECT_EQ(layerName(info.layerCode), "");
}

TEST(AiffSummary, ChannelModes) {
    MpegInfo mono;
    ASSERT_TRUE(loadAiffInfo(mono, AiffCommon{1, 8000, 16, 8000}));
    EXPECT_EQ(mono.channelMode, ChannelMono);
    EXPECT_EQ(mono.averageBitrate, 128u);
    MpegInfo four;
    ASSERT_TRUE(loadAiffInfo(four, AiffCommon{4, 8000, 16, 8000}));
    EXPECT_EQ(four.channelMode, ChannelMulti);
    EXPECT_EQ(four.averageBitrate, 512u);
    MpegInfo stereo;
    stereo.channelMode = 1;
    ASSERT_TRUE(loadAiffInfo(stereo, AiffCommon{2, 8000, 16, 8000}));
    EXPECT_EQ(stereo.channelMode, 1);
}

TEST(AiffSummary, BitrateWrapsIn32Bits) {
    MpegInfo info;
    ASSERT_TRUE(loadAiffInfo(info, AiffCommon{2, 0, 32, 100000000}));
    // 32 * 2 * 100000000 = 6400000000 wraps to 2105032704.
    EXPECT_EQ(info.averageBitrate, 2105032u);
    EXPECT_EQ(info.lengthSeconds, 0u);
    EXPECT_EQ(info.lengthText, "0 seconds");
}

TEST(AiffSummary, LengthDoesNotOverflowNearTheTop) {
    MpegInfo info;
    ASSERT_TRUE(loadAiffInfo(info, AiffCommon{2, 0xFFFFFFFFu, 16, 0xFFFFFFF0u}));
    // 15 frames past one second: rounded up to 2 seconds without 32-bit overflow.
    EXPECT_EQ(info.lengthSeconds, 2u);
}

TEST(AiffSummary, ZeroRateFails) {
    MpegInfo info;
    EXPECT_FALSE(loadAiffInfo(info, AiffCommon{2, 44100, 16, 0}));
    EXPECT_EQ(info.versionCode, VersionAiff);
    EXPECT_EQ(info.layerCode, LayerNone);
    EXPECT_EQ(info.frameCount, 0u);
}

// ------------------------------------------------------------------------- sample corpus

std::string corpusDir() { return TAGWICK_CORPUS_DIR; }

std::vector<uint8_t> readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Where the summary's search begins: after an ID3v2 tag at the start, clamped to the file.
size_t id3v2End(const std::vector<uint8_t>& file) {
    if (file.size() < 10 || file[0] != 'I' || file[1] != 'D' || file[2] != '3') return 0;
    size_t total = 10 + syncsafeAt(Bytes(file), 6);
    if (file[5] & 0x10) total += 10;
    return std::min(total, file.size());
}

Summary summarizeCorpusFile(const std::string& relative, ScanMode mode = ScanMode::Full) {
    const std::vector<uint8_t> file = readAll(corpusDir() + "/" + relative);
    Summary s;
    s.made = loadMpegInfo(s.info, Bytes(file), id3v2End(file), mode, nullptr, relative.c_str());
    return s;
}

bool corpusPresent() { return std::filesystem::is_directory(corpusDir()); }

TEST(MpegSummaryCorpus, EveryMp3SummarisesWithoutFault) {
    if (!corpusPresent()) GTEST_SKIP() << "sample corpus absent";
    size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(corpusDir())) {
        const std::string ext = entry.path().extension().string();
        if (!entry.is_regular_file() || (ext != ".mp3" && ext != ".mp2")) continue;
        ++files;
        const std::vector<uint8_t> file = readAll(entry.path().string());
        const size_t start = id3v2End(file);
        for (ScanMode mode : {ScanMode::Full, ScanMode::Steady, ScanMode::Probe}) {
            MpegInfo info;
            const bool made = loadMpegInfo(info, Bytes(file), start, mode, nullptr, "corpus");
            SCOPED_TRACE(entry.path().string());
            if (!made) continue;
            EXPECT_GE(info.audioStart, start);
            EXPECT_LT(info.audioStart + 4, file.size() + 1);
            EXPECT_GE(info.frameCount, 1u);
            EXPECT_GT(info.averageBitrate, 0u);
            EXPECT_LE(info.layerCode, 2);
            EXPECT_LT(info.encoder.size(), EncoderTextSize);
            EXPECT_EQ(info.lengthSeconds, (file.size() - info.audioStart) * 8 / (uint64_t(info.averageBitrate) * 1000));
            EXPECT_NE(info.bitrateText.find(" kbps ("), std::string::npos);
        }
    }
    EXPECT_GT(files, 50u);
}


// Facts from the corpus manifest, as this program's rules give them. -1 leaves a field unchecked.
struct CorpusCase {
    const char* name;
    const char* file;
    bool made = true;
    int64_t audioStart = -1;
    int64_t frameCount = -1;
    const char* bitrateText = nullptr;
    int64_t lengthSeconds = -1;
    const char* encoder = nullptr;
    int64_t versionCode = -1;
    int64_t channelMode = -1;
    int streamError = -1;
};

class MpegSummaryCorpusFacts : public ::testing::TestWithParam<CorpusCase> {};

TEST_P(MpegSummaryCorpusFacts, MatchesManifest) {
    if (!corpusPresent()) GTEST_SKIP() << "sample corpus absent";
    const CorpusCase& c = GetParam();
    const Summary s = summarizeCorpusFile(c.file);
    ASSERT_EQ(s.made, c.made);
    if (!c.made) return;
    if (c.audioStart >= 0) {
        EXPECT_EQ(int64_t(s.info.audioStart), c.audioStart);
    }
    if (c.frameCount >= 0) {
        EXPECT_EQ(int64_t(s.info.frameCount), c.frameCount);
    }
    if (c.bitrateText) {
        EXPECT_EQ(s.info.bitrateText, c.bitrateText);
    }
    if (c.lengthSeconds >= 0) {
        EXPECT_EQ(int64_t(s.info.lengthSeconds), c.lengthSeconds);
    }
    if (c.encoder) {
        EXPECT_EQ(s.info.encoder, c.encoder);
    }
    if (c.versionCode >= 0) {
        EXPECT_EQ(int64_t(s.info.versionCode), c.versionCode);
    }
    if (c.channelMode >= 0) {
        EXPECT_EQ(int64_t(s.info.channelMode), c.channelMode);
    }
    if (c.streamError >= 0) {
        EXPECT_EQ(s.info.streamError, c.streamError == 1);
    }
}

// Field order: name, file, made, audioStart, frameCount, bitrateText, lengthSeconds, encoder,
// versionCode, channelMode, streamError.
const CorpusCase CorpusFacts[] = {
    // 136 frames from 0 to the end of the file; 64 kbit/s, 1 channel, 3 s (3553 ms).
    {.name = "Bladeenc", .file = "taglib/bladeenc.mp3", .audioStart = 0, .frameCount = 136,
     .bitrateText = "64 kbps (CBR)", .lengthSeconds = 3, .encoder = "", .channelMode = ChannelMono, .streamError = 0},
    // Tag of 1314 bytes, 143 frames of 32 kbit/s joint stereo (about 3.77 s), ID3v1 at the end.
    {.name = "Silence44", .file = "mutagen/silence-44-s.mp3", .audioStart = 1314, .frameCount = 143,
     .bitrateText = "32 kbps (CBR)", .lengthSeconds = 3, .encoder = "", .versionCode = VersionMpeg1,
     .channelMode = 1, .streamError = 0},
    {.name = "Silence44V1Only", .file = "mutagen/silence-44-s-v1.mp3", .audioStart = 0, .frameCount = 143,
     .bitrateText = "32 kbps (CBR)", .lengthSeconds = 3, .streamError = 0},
    // The ID3v1 record after the audio ends the walk quietly; the appended tag is not reached.
    {.name = "TrailingTagAfterV1", .file = "mutagen/audacious-trailing-id32-id31.mp3", .frameCount = 143,
     .streamError = 0},
    // Three 192 kbit/s frames after a 10433-byte tag, the first with "Info" and "LAME3.96r".
    {.name = "Itunes10", .file = "taglib/itunes10.mp3", .audioStart = 10433, .frameCount = 3,
     .bitrateText = "192 kbps (CBR)", .encoder = "LAME3.96r"},
    // 19 frames from 246 to the end; Info and "LAME3.99r"; 128 kbit/s (127.995 by the source), 0.47 s.
    {.name = "TinytagCbr", .file = "tinytag/cbr.mp3", .audioStart = 246, .frameCount = 19,
     .bitrateText = "128 kbps (CBR)", .lengthSeconds = 0, .encoder = "LAME3.99r"},
    // Xing (4 frames) and "LAME3.99r" at 156: 5 frames in all, the Xing frame counted.
    {.name = "MutagenLame", .file = "mutagen/lame.mp3", .audioStart = 0, .frameCount = 5, .encoder = "LAME3.99r"},
    // A bare "LAME3.99.5" at 36 keeps its first 8 bytes.
    {.name = "CutOffTitles", .file = "tinytag/cut_off_titles.mp3", .audioStart = 194,
     .bitrateText = "192 kbps (CBR)", .encoder = "LAME3.99"},
    // "LAME3.95" at 21 of a mono frame: not the probe's place, found by the body scan.
    {.name = "Mono56k", .file = "tinytag/silence-44khz-56k-mono-1s.mp3", .audioStart = 0, .frameCount = 40,
     .bitrateText = "56 kbps (CBR)", .lengthSeconds = 1, .encoder = "LAME3.95", .channelMode = ChannelMono,
     .streamError = 0},
    // Xing frame at 0x44B, then 6 audio frames; with it they average 125 kbit/s. ID3v1 after them.
    {.name = "Mp3agicBothTags", .file = "mp3agic/v1andv23tags.mp3", .audioStart = 0x44B, .frameCount = 7,
     .bitrateText = "125 kbps (VBR average)", .versionCode = VersionMpeg1, .channelMode = 1, .streamError = 0},
    {.name = "Mp3agicNoTags", .file = "mp3agic/notags.mp3", .audioStart = 0, .frameCount = 7,
     .bitrateText = "125 kbps (VBR average)"},
    // The source ignores the frame cut one byte short; the summary counts it (its header is
    // there) and then reads "AG" + title one byte before the ID3v1 record: a stream error.
    {.name = "Mp3agicIncompleteFrame", .file = "mp3agic/incompletempegframe.mp3", .audioStart = 0x44B,
     .frameCount = 7, .streamError = 1},
    // Invalid data before the first valid frame at 327; 15 frames, 160 kbit/s, 392 ms.
    {.name = "InvalidFrames1", .file = "taglib/invalid-frames1.mp3", .audioStart = 327, .frameCount = 15,
     .bitrateText = "160 kbps (CBR)", .lengthSeconds = 0},
    // First valid frame at 969; 7 frames at 320 kbit/s, the last one cut by the end of the file.
    {.name = "InvalidFrames3", .file = "taglib/invalid-frames3.mp3", .audioStart = 969, .frameCount = 7,
     .bitrateText = "320 kbps (CBR)", .streamError = 0},
    // 615 bytes of gap after the tag; the first frame at 2382 (192 kbit/s).
    {.name = "GapAfterTag", .file = "music-metadata/issue-979.mp3", .audioStart = 2382,
     .bitrateText = "192 kbps (CBR)", .versionCode = VersionMpeg1},
    // The search runs through the second tag to the audio at 31217 (320 kbit/s). The source's
    // 230 s is the whole song; this file holds 5 frames, and the length comes from its size.
    {.name = "TwoTagsBeforeAudio", .file = "music-metadata/id3-multi-02.mp3", .audioStart = 31217,
     .frameCount = 5, .bitrateText = "320 kbps (CBR)", .lengthSeconds = 0},
    // The tag's size stops 6 bytes short of the first frame at 1638.
    {.name = "TagShortOfFrame", .file = "taglib-sharp/null_title_v2.mp3", .audioStart = 1638},
    // Four junk bytes between the tag (283) and the first frame (287).
    {.name = "JunkAfterTag", .file = "lofty/junk_between_id3_and_mp3.mp3", .audioStart = 287},
    // The declared tag ends at 1070, after the stray sync at 1068; the next clean run starts at 1485.
    {.name = "EmptyFrameTag", .file = "tinytag/empty_frame.mp3", .audioStart = 1485, .bitrateText = "32 kbps (CBR)"},
    // The source finds the first frame at 2255, behind 2047 random bytes and a tag. The summary
    // searches from the file's start (no tag there) and takes the first pair that passes its
    // test, a false sync at 297 inside the garbage, whose next "header" is not one.
    {.name = "GarbageFirst", .file = "taglib/garbage.mp3", .audioStart = 297, .frameCount = 1, .streamError = 1},
    // The source reports the audio at 8049, after a second tag. The summary starts after the
    // first tag (3943) and takes a false sync inside the second one.
    {.name = "DuplicateTags", .file = "taglib/duplicate_id3v2.mp3", .audioStart = 3964, .frameCount = 1},
    // MPEG-2 layer III: by the 144000 rule the second header is looked for at twice its real
    // distance, so the walk stops after the first frame with a stream error.
    {.name = "Mpeg2ByRule", .file = "taglib/mpeg2.mp3", .audioStart = 0, .frameCount = 1, .lengthSeconds = 2,
     .versionCode = VersionMpeg2, .channelMode = ChannelMono, .streamError = 1},
    {.name = "Mpeg2Silence", .file = "mutagen/silence-44-s-mpeg2.mp3", .frameCount = 1,
     .versionCode = VersionMpeg2, .streamError = 1},
    // MPEG 2.5: the second header lacks the twelfth sync bit, which ends the walk.
    {.name = "Mpeg25Silence", .file = "mutagen/silence-44-s-mpeg25.mp3", .frameCount = 1,
     .versionCode = VersionMpeg25},
    // "LAME3.100" behind Xing: see Lame3100KeepsTwentyCharacters.
    {.name = "Lame3100", .file = "mutagen/no-tags.mp3", .audioStart = 0, .frameCount = 5},
    // Info at 21 of a mono frame is not seen, and the body scan of the first frame stops at the
    // binary LAME tag fields before reaching "LAME3.99r": no encoder. The source's 1887 s come
    // from the Info frame count of a file cut to 4096 bytes; the summary uses the file's size.
    {.name = "LameCbrTruncated", .file = "taglib/lame_cbr.mp3", .audioStart = 208, .frameCount = 19,
     .bitrateText = "64 kbps (CBR)", .lengthSeconds = 0, .encoder = "", .channelMode = ChannelMono},
    // 32 kbit/s joint stereo; 2.052 s by the source.
    {.name = "XingBlank", .file = "taglib/xing.mp3", .audioStart = 0, .bitrateText = "32 kbps (CBR)",
     .lengthSeconds = 2, .channelMode = 1},
    // Layer II only, text, empty and 3-byte files: the search never accepts a frame.
    {.name = "LayerTwo", .file = "tinytag/mpeg1_44_1khz.mp2", .made = false},
    {.name = "LayerTwoMono", .file = "music-metadata/fl13.mp2", .made = false},
    {.name = "NotAnMp3", .file = "mp3agic/notanmp3.mp3", .made = false},
    {.name = "EmptyFile", .file = "mutagen/emptyfile.mp3", .made = false},
    {.name = "ThreeBytes", .file = "tinytag/incomplete.mp3", .made = false},
};

INSTANTIATE_TEST_SUITE_P(Files, MpegSummaryCorpusFacts, ::testing::ValuesIn(CorpusFacts),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(MpegSummaryCorpus, Lame3100KeepsTwentyCharacters) {
    if (!corpusPresent()) GTEST_SKIP() << "sample corpus absent";
    const Summary s = summarizeCorpusFile("mutagen/no-tags.mp3");
    ASSERT_TRUE(s.made);
    EXPECT_EQ(s.info.encoder.rfind("LAME3.100", 0), 0u);
    EXPECT_GT(s.info.encoder.size(), 9u);
    EXPECT_LE(s.info.encoder.size(), 20u);
}

TEST(MpegSummaryCorpus, ModesAgreeOnSmallFiles) {
    if (!corpusPresent()) GTEST_SKIP() << "sample corpus absent";
    // Fewer than 500 frames: no mode stops early, so all three give the same summary.
    for (const char* file : {"taglib/bladeenc.mp3", "mp3agic/v1andv23tags.mp3", "mutagen/silence-44-s.mp3"}) {
        const Summary full = summarizeCorpusFile(file, ScanMode::Full);
        for (ScanMode mode : {ScanMode::Steady, ScanMode::Probe}) {
            const Summary other = summarizeCorpusFile(file, mode);
            EXPECT_EQ(other.info.frameCount, full.info.frameCount) << file;
            EXPECT_EQ(other.info.bitrateText, full.info.bitrateText) << file;
            EXPECT_FALSE(other.info.estimated) << file;
        }
    }
}

}  // namespace
}  // namespace tagwick
