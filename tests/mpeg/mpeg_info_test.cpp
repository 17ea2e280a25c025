// The stream summary: table quirks, first-frame search, encoder probes, the frame walk with its
// three modes, extrapolation, length, progress, the AIFF summary, and the sample corpus.
#include "mpeg/mpeg_info.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "support/cli_runner.h"
#include "support/log_capture.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::FrameLayout;
using support::LogCapture;

struct Summary {
    bool made = false;
    MpegInfo info;
};

Summary summarize(const ByteVec& bytes, ScanMode mode = ScanMode::Full, size_t start = 0) {
    Summary s;
    s.info.streamError = true;  // every call must clear it
    s.made = loadMpegInfo(s.info, Bytes(bytes), start, mode, nullptr, "track.mp3");
    return s;
}

const char* const ProbeNotice = "VBR has not been found in the first 1000 frames (assuming CBR)";
const char* const SteadyNotice = "VBR has not been found in the first 500 frames (assuming CBR)";

// A frame laid out by the summary's 144000 rule (the standard's own for MPEG-1 layer III).
FrameLayout ruled(int version, int kbps, int layer = 3, int mode = 0) {
    FrameLayout s;
    s.version = version;
    s.bitrateKbps = kbps;
    s.layer = layer;
    s.channelMode = mode;
    if (version != 1 || layer != 3) s.length = support::summaryRuleLength(s);
    return s;
}
FrameLayout mpeg1(int kbps = 128) { return ruled(1, kbps); }

ByteVec stream(size_t count, const FrameLayout& s = mpeg1()) { return support::buildStream(s, count); }
ByteVec frame(const FrameLayout& s) { return support::buildFrame(s); }
ByteVec cat(std::initializer_list<std::span<const uint8_t>> parts) { return support::concat(parts); }
ByteVec vbr(std::vector<int> rates) { return support::buildVbrStream(mpeg1(), rates); }

// A 417-byte frame whose header leaves nothing to go on (no sample rate or no bit rate).
ByteVec deadFrame(int rateIndex, int bitrateIndex) {
    FrameLayout s = mpeg1();
    s.sampleRateIndex = rateIndex;
    s.bitrateIndex = bitrateIndex;
    s.length = 417;
    return frame(s);
}

TEST(MpegTables, BitrateRowAndFrameLengthQuirks) {
    // Row (version & 1) * 3 + layer: the reserved version reads the MPEG-1 rows, the reserved
    // layer of MPEG-2/2.5 the first MPEG-1 row; MPEG-1 has no row after its last.
    EXPECT_EQ(summaryBitrate(VersionReserved, 2, 2), 40u);
    EXPECT_EQ(summaryBitrate(VersionMpeg2, 3, 2), 64u);
    EXPECT_EQ(summaryBitrate(VersionMpeg25, 3, 14), 448u);
    EXPECT_EQ(summaryBitrate(VersionMpeg1, 3, 9), 0u);
    EXPECT_EQ(summaryBitrate(VersionMpeg1, 2, 15), 0u);
    EXPECT_EQ(sampleRateFor(VersionReserved, 0), 0.0f);
    EXPECT_EQ(sampleRateFor(VersionMpeg1, 3), 0.0f);
    // 144000 for every version and layer.
    EXPECT_EQ(summaryFrameLength(128, 44100.0f, 1), 418u);
    EXPECT_EQ(summaryFrameLength(64, 22050.0f, 0), 417u);  // MPEG-2 layer III: the standard gives 208
    EXPECT_EQ(summaryFrameLength(32, 44100.0f, 0), 104u);  // layer I: the standard gives 32
    EXPECT_EQ(summaryFrameLength(128, 0.0f, 1), 0u);
}

TEST(MpegSummary, DecodesFirstHeaderAfterFalseSyncs) {
    FrameLayout s = ruled(2, 64, 3, 3);
    s.sampleRateIndex = 1;
    s.crc = s.copyright = s.original = true;
    s.length = support::summaryRuleLength(s);
    // 0xFF before a layer II byte, before a byte without the top bits, and a lone 0xFF.
    const ByteVec garbage = {0x00, 0xFF, 0xE0, 0x12, 0xFF, 0xFD, 0x90, 0x00, 0xFF, 0x7F, 0xFF, 0x00, 0x41};
    Summary r = summarize(cat({garbage, stream(12, s)}));
    ASSERT_TRUE(r.made);
    EXPECT_EQ(r.info.audioStart, garbage.size());
    EXPECT_EQ(std::tuple(r.info.versionCode, r.info.layerCode, r.info.protectionBit, r.info.frequency),
              std::tuple(VersionMpeg2, uint8_t(2), 0u, 1u));
    EXPECT_EQ(r.info.channelMode, ChannelMono);
    EXPECT_TRUE(r.info.copyrightBit && r.info.originalBit);
    EXPECT_EQ(r.info.frameCount, 12u);
    EXPECT_FALSE(r.info.streamError);
}

TEST(MpegSummary, UnusableFirstFramesAreSkipped) {
    for (const ByteVec& first : {frame(ruled(1, 128, 2)), deadFrame(3, -1), deadFrame(0, 15)}) {
        Summary s = summarize(cat({first, stream(10)}));
        EXPECT_EQ(s.info.audioStart, first.size());
        EXPECT_EQ(s.info.frameCount, 10u);
        EXPECT_EQ(s.info.averageBitrate, 128u);
    }
    Summary fromOne = summarize(stream(8), ScanMode::Full, 1);  // the search begins at the start given
    EXPECT_EQ(fromOne.info.audioStart, 417u);
    EXPECT_EQ(fromOne.info.frameCount, 7u);
}

TEST(MpegSummary, NoFrameReturnsFalse) {
    EXPECT_FALSE(summarize(ByteVec{}).made);
    EXPECT_FALSE(summarize(ByteVec(5000, 0xFF)).made);  // every header has rate index 3
    EXPECT_FALSE(summarize(stream(20, ruled(1, 128, 2))).made);
    EXPECT_FALSE(summarize(stream(3), ScanMode::Full, 3 * 417 + 100).made);
    Summary cut = summarize(ByteVec{0x00, 0xFF, 0xFB, 0x90});
    EXPECT_FALSE(cut.made);
    EXPECT_FALSE(cut.info.streamError);
}

TEST(MpegSummary, XingWordAndLameVersionCut) {
    const struct {
        const char* word;
        const char* lame;
        const char* encoder;
    } cases[] = {
        {"Xing", "LAME3.90.3", "LAME3.90"},  // 3.9 or more: 9 characters, 8 when the ninth is "."
        {"Info", "LAME3.96r", "LAME3.96r"},
        {"INFO", "LAME3.88 (beta 1, Dec 12 1999)", "LAME3.88 (beta 1, De"},  // below 3.9: 20
        {"Xing", "LAME3.100ABCDEFGHIJKLMNOP", "LAME3.100ABCDEFGHIJK"},       // 3.100 reads as 3.1
        {"xInG", "lame3.99r", "lame3.99r"},
        {"Xinf", "LAME3.99r", "LAME3.99"},  // not a Xing word: the body scan keeps 8 bytes
    };
    for (const auto& c : cases) {
        support::XingLayout xing;
        xing.tag = c.word;
        xing.frames = 20;
        xing.lame = c.lame;
        EXPECT_EQ(summarize(cat({support::buildXingFrameAt36(mpeg1(), xing), stream(19)})).info.encoder, c.encoder)
            << c.word << " " << c.lame;
    }
}

TEST(MpegSummary, XingOutsideOffset36IsNotSeenButBareLameAt36Is) {
    // MPEG-1 mono (header at 21) and MPEG-2 mono (at 13): only the body scan finds the text.
    for (const FrameLayout& s : {ruled(1, 128, 3, 3), ruled(2, 64, 3, 3)}) {
        support::XingLayout xing;
        xing.tag = "Info";
        xing.frames = 20;
        xing.lame = "LAME3.99r";
        xing.lameOffset = 4 + support::sideInfoLength(s) + 120;
        Summary r = summarize(cat({support::buildXingFrame(s, xing), stream(19, s)}));
        EXPECT_EQ(r.info.encoder, "LAME3.99");
        EXPECT_EQ(r.info.frameCount, 20u);
    }
    ByteVec first = frame(mpeg1());
    support::putText(first, 36, "LAME3.99.5");
    EXPECT_EQ(summarize(cat({first, stream(9)})).info.encoder, "LAME3.99");
}

// Backwards from 13 bytes before the body's end: zero bytes are skipped, an "L" ends the scan
// (taking "LAME" and 4 more bytes when they stand there), and so does a byte outside 0x20-0x7F.
TEST(MpegSummary, BodyScanFindsLame) {
    const struct {
        size_t count, number, at;  // `count` frames; frame `number` (1-based) holds the text at `at`
        const char* text;
        const char* encoder;
    } cases[] = {
        {20, 5, 300, "LAME3.98r", "LAME3.98"},
        {20, 3, 408, "LAME3.98", "LAME3.98"},  // a 413-byte body is scanned from its offset 404
        {20, 3, 409, "LAME3.98", ""},
        {20, 2, 200, "LAME3.97UUUUUUUUUUUUUU~ \x7F", "LAME3.97"},
        {20, 2, 200, "LAME3.97UUU\x01UUU", ""},
        {20, 2, 200, "LAME3.97UUU\x80UUU", ""},
        {20, 2, 200, "LAME3.97 look", ""},
        {20, 2, 200, "lAmE3.97 ok", "lAmE3.97"},
        {250, 199, 300, "LAME3.98r", "LAME3.98"},  // only frames below 200 are scanned
        {250, 200, 300, "LAME3.98r", ""},
    };
    for (const auto& c : cases) {
        ByteVec bytes = stream(c.count);
        std::copy_n(c.text, std::strlen(c.text), bytes.begin() + long((c.number - 1) * 417 + c.at));
        EXPECT_EQ(summarize(bytes).info.encoder, c.encoder) << c.number << " " << c.at << " " << c.text;
    }
}

TEST(MpegSummaryWalk, WordAfterTheLastFrame) {
    const std::pair<ByteVec, bool> cases[] = {
        {support::bytesOf("TAGTitle of the song"), false},
        {{'_', 'O', 'O', 0x00, 1, 2}, false},  // a bit mask, not equality: it holds the bits of "TAG"
        {{'T', 'A', 'F', 0}, true},
        {frame(ruled(25, 64)), true},  // the twelfth sync bit is missing: an MPEG 2.5 header ends it
        {{0, 0, 0}, false},
    };
    for (const auto& [bytes, streamError] : cases) {
        Summary s = summarize(cat({stream(12), bytes}));
        EXPECT_EQ(s.info.frameCount, 12u);
        EXPECT_EQ(s.info.streamError, streamError) << bytes.size();
        EXPECT_EQ(s.info.bitrateText, "128 kbps (CBR)");
    }
}

TEST(MpegSummaryWalk, CutLastFrameAndBitrateIndexFifteen) {
    ByteVec cut = stream(10);
    cut.resize(cut.size() - 200);
    EXPECT_EQ(summarize(cut).info.frameCount, 10u);
    EXPECT_FALSE(summarize(cut).info.streamError);
    Summary s = summarize(cat({stream(10), deadFrame(0, 15), stream(10)}));
    EXPECT_EQ(s.info.frameCount, 11u);  // counted with 0 kbit/s, then its length of 0 ends the walk
    EXPECT_EQ(s.info.bitrateText, "116 kbps (VBR average)");
    EXPECT_FALSE(s.info.streamError);
}

TEST(MpegSummaryWalk, ReservedLayerFrameReadsNextGroupsRow) {
    FrameLayout reserved = ruled(2, 64);  // index 8
    reserved.layerBits = 0;
    reserved.length = 1671;  // index 8 of the first MPEG-1 row: 256 kbit/s, 256 * 144000 / 22050
    Summary s = summarize(cat({stream(5, ruled(2, 64)), frame(reserved), stream(4, ruled(2, 64))}));
    EXPECT_EQ(s.info.frameCount, 10u);
    EXPECT_EQ(s.info.averageBitrate, (9u * 64u + 256u) / 10u);
    EXPECT_FALSE(s.info.streamError);
}

TEST(MpegSummaryModes, CbrStopsEarlyInProbeAndSteadyModes) {
    LogCapture log;
    EXPECT_EQ(summarize(stream(1500), ScanMode::Full).info.frameCount, 1500u);
    EXPECT_EQ(summarize(stream(1000), ScanMode::Probe).info.bitrateText, "128 kbps (CBR)");
    EXPECT_EQ(summarize(cat({frame(mpeg1(160)), stream(1599)}), ScanMode::Probe).info.frameCount, 1600u);  // VBR
    EXPECT_TRUE(log.messages().empty());
    Summary probe = summarize(stream(1500), ScanMode::Probe);
    EXPECT_EQ(probe.info.bitrateText, "128 kbps (CBR quick)");
    EXPECT_TRUE(log.has(LogProgress, ProbeNotice)) << log.text();
    // Lengths of frames 2 to 1001 over 1001 frames: 416 bytes, so 625500 / 416 frames.
    EXPECT_EQ(probe.info.frameCount, 1503u);
    // Steady mode: the reference is set at frame 2; past frame 500 and 200 frames later the walk
    // stops, quietly and without estimating.
    Summary steady = summarize(stream(1500), ScanMode::Steady);
    EXPECT_EQ(steady.info.frameCount, 501u);
    EXPECT_EQ(steady.info.bitrateText, "128 kbps (CBR)");
    EXPECT_EQ(log.messages().size(), 1u);
}

TEST(MpegSummaryModes, SteadyModeEstimatesWhenTheAverageKeepsMoving) {
    std::vector<int> rates(300, 32);
    rates.resize(2000, 320);
    const ByteVec bytes = vbr(rates);
    Summary s = summarize(bytes, ScanMode::Steady);
    // At frame 1001 the average last moved less than 200 frames before.
    EXPECT_EQ(s.info.bitrateText, std::to_string((300 * 32 + 701 * 320) / 1001) + " kbps (VBR quick)");
    // Frames 2-300 of 104 bytes and 301-1001 of 1044 bytes, averaged over 1001 frames.
    EXPECT_EQ(s.info.frameCount, uint32_t(bytes.size() / ((299 * 104 + 701 * 1044) / 1001)));
}

// A dead frame sends the walk back to the search. The count, bit-rate sum and VBR flag start
// again; the sum of lengths, the steady reference and its mark stay from before.
TEST(MpegSummaryModes, WalkStateOnRestart) {
    LogCapture log;
    const ByteVec head = cat({stream(10), deadFrame(3, -1)});
    Summary probe = summarize(cat({head, stream(1500, mpeg1(192))}), ScanMode::Probe);
    EXPECT_EQ(probe.info.audioStart, head.size());
    EXPECT_EQ(probe.info.bitrateText, "192 kbps (CBR quick)");
    // Frames 2-10 of the first run (417 bytes) and 2-1001 of the second (626 bytes) over 1001.
    EXPECT_EQ(probe.info.frameCount, 1500u * 626u / ((9u * 417u + 1000u * 626u) / 1001u));
    EXPECT_TRUE(log.has(LogProgress, ProbeNotice));

    std::vector<int> first(200, 128);
    first.resize(400, 320);
    const ByteVec steadyHead = cat({vbr(first), deadFrame(3, -1)});
    Summary steady = summarize(cat({steadyHead, stream(1500, mpeg1(224))}), ScanMode::Steady);
    // The reference 224 and its mark at frame 400 stay, so at frame 501 the second run is not
    // yet steady for 200 frames and mode 1's CBR limit ends the walk.
    EXPECT_EQ(steady.info.bitrateText, "224 kbps (CBR quick)");
    EXPECT_TRUE(log.has(LogProgress, SteadyNotice)) << log.text();
    EXPECT_EQ(steady.info.frameCount, uint32_t(1500 * 731 / ((199 * 417 + 200 * 1044 + 500 * 731) / 501)));
}

TEST(MpegSummaryLength, FromFileSizeAndAverage) {
    Summary s = summarize(cat({ByteVec(1000, 0), stream(2400), support::buildV1({})}), ScanMode::Full, 10);
    EXPECT_EQ(s.info.audioStart, 1000u);
    // Everything from the first frame on counts, the ID3v1 record too: 1000928 * 8 / 128000.
    EXPECT_EQ(s.info.lengthText, "1:02 (62 seconds)");
    MpegInfo info;
    setLength(info, 75, 0);  // no denominator: 0 seconds, while the text shows the numerator
    EXPECT_EQ(info.lengthSeconds, 0u);
    EXPECT_EQ(info.lengthText, "1:15 (75 seconds)");
}

TEST(MpegSummaryProgress, ReportsLoadingOnceAndCutsLongNames) {
    std::vector<std::pair<std::string, int>> calls;
    ProgressCallback callback = [&calls](const char* message, int percent) { calls.emplace_back(message, percent); };
    const ByteVec bytes = stream(10), empty(100, 0);
    const std::string longName(3000, 'n');
    MpegInfo info;
    EXPECT_TRUE(loadMpegInfo(info, Bytes(bytes), 0, ScanMode::Full, &callback, "/music/song.mp3"));
    EXPECT_FALSE(loadMpegInfo(info, Bytes(empty), 0, ScanMode::Full, &callback, "x"));
    EXPECT_TRUE(loadMpegInfo(info, Bytes(bytes), 0, ScanMode::Full, &callback, longName.c_str()));
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0], std::make_pair(std::string("Loading /music/song.mp3"), 100));
    EXPECT_EQ(calls[1].first, "Loading " + std::string(1055 - 8, 'n'));  // 1056 bytes with the terminator
}

TEST(AiffSummary, FiveSampleFramesPastASecondRoundUp) {
    const std::pair<uint32_t, uint64_t> cases[] = {{44101, 1}, {44104, 1}, {44105, 2}, {88200, 2}};
    for (const auto& [frames, seconds] : cases) {
        MpegInfo info;
        ASSERT_TRUE(loadAiffInfo(info, AiffCommon{2, frames, 16, 44100}));
        EXPECT_EQ(info.lengthSeconds, seconds) << frames;
    }
    MpegInfo top;  // 15 frames past one second, without 32-bit overflow
    ASSERT_TRUE(loadAiffInfo(top, AiffCommon{2, 0xFFFFFFFFu, 16, 0xFFFFFFF0u}));
    EXPECT_EQ(top.lengthSeconds, 2u);
}

TEST(AiffSummary, TwoChannelsKeepTheModeAndTheBitrateWraps) {
    MpegInfo info;
    info.channelMode = 1;
    ASSERT_TRUE(loadAiffInfo(info, AiffCommon{2, 0, 32, 100000000}));
    EXPECT_EQ(info.channelMode, 1);
    EXPECT_EQ(info.averageBitrate, 2105032u);  // 32 * 2 * 100000000 wraps in 32 bits to 2105032704
    MpegInfo noRate;
    EXPECT_FALSE(loadAiffInfo(noRate, AiffCommon{2, 44100, 16, 0}));
    EXPECT_EQ(std::tuple(noRate.versionCode, noRate.layerCode), std::tuple(VersionAiff, LayerNone));
}

Summary summarizeFile(const std::string& path, ScanMode mode) {
    const ByteVec file = support::readFile(path);
    size_t start = 0;  // after an ID3v2 tag at the start, clamped to the file
    if (file.size() >= 10 && file[0] == 'I' && file[1] == 'D' && file[2] == '3')
        start = std::min<size_t>(file.size(), 10 + syncsafeAt(Bytes(file), 6) + ((file[5] & 0x10) ? 10 : 0));
    Summary s;
    s.made = loadMpegInfo(s.info, Bytes(file), start, mode, nullptr, "corpus");
    return s;
}

// Facts of sample files by this program's rules; -1 or null leaves a field unchecked. With
// fewer than 500 frames no mode stops early, so all three agree.
struct CorpusCase {
    const char* name;
    const char* file;
    int64_t audioStart, frameCount;  // audioStart -2: no summary is made
    const char* bitrateText;
    const char* encoder;
    int streamError;
};

class MpegSummaryCorpusFacts : public ::testing::TestWithParam<CorpusCase> {};

TEST_P(MpegSummaryCorpusFacts, MatchesTheFile) {
    const CorpusCase& c = GetParam();
    const std::string path = support::corpusFile(c.file);
    if (path.empty()) GTEST_SKIP() << "sample corpus absent";
    const Summary s = summarizeFile(path, ScanMode::Full);
    ASSERT_EQ(s.made, c.audioStart != -2);
    if (c.audioStart >= 0) { EXPECT_EQ(int64_t(s.info.audioStart), c.audioStart); }
    if (c.frameCount >= 0) { EXPECT_EQ(int64_t(s.info.frameCount), c.frameCount); }
    if (c.bitrateText) { EXPECT_EQ(s.info.bitrateText, c.bitrateText); }
    if (c.encoder) { EXPECT_EQ(s.info.encoder, c.encoder); }
    if (c.streamError >= 0) { EXPECT_EQ(s.info.streamError, c.streamError == 1); }
    for (ScanMode mode : {ScanMode::Steady, ScanMode::Probe}) {
        const Summary other = summarizeFile(path, mode);
        EXPECT_EQ(other.info.frameCount, s.info.frameCount);
        EXPECT_EQ(other.info.bitrateText, s.info.bitrateText);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Files, MpegSummaryCorpusFacts,
    ::testing::Values(
        CorpusCase{"BareLameAt36", "tinytag/cut_off_titles.mp3", 194, -1, "192 kbps (CBR)", "LAME3.99", -1},
        // "LAME3.95" at 21 of a mono frame: not the probe's place, found by the body scan.
        CorpusCase{"MonoBodyScan", "tinytag/silence-44khz-56k-mono-1s.mp3", 0, 40, "56 kbps (CBR)", "LAME3.95", 0},
        // A frame cut one byte short is counted; the next read is "AG" + title: a stream error.
        CorpusCase{"IncompleteFrame", "mp3agic/incompletempegframe.mp3", 0x44B, 7, nullptr, nullptr, 1},
        CorpusCase{"TwoTagsBeforeAudio", "music-metadata/id3-multi-02.mp3", 31217, 5, "320 kbps (CBR)", nullptr, -1},
        // No tag at the start: the first pair that passes the test is a false sync in the garbage.
        CorpusCase{"GarbageFirst", "taglib/garbage.mp3", 297, 1, nullptr, nullptr, 1},
        // MPEG-2: by the 144000 rule the second header is looked for at twice its distance.
        CorpusCase{"Mpeg2ByRule", "taglib/mpeg2.mp3", 0, 1, nullptr, nullptr, 1},
        CorpusCase{"LayerTwo", "tinytag/mpeg1_44_1khz.mp2", -2, -1, nullptr, nullptr, -1}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tagwick
