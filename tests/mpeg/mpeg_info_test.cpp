// The stream summary: first-frame search and header, encoder strings, the end of the walk, the
// quick modes with their extrapolation and carry-over, and the AIFF summary. (The length of a
// track is shown whole by the display's end-to-end tests.)
#include "mpeg/mpeg_info.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "support/log_capture.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::concat;
using support::FrameLayout;

MpegInfo summarize(const ByteVec& bytes, ScanMode mode = ScanMode::Full) {
    MpegInfo info;
    info.streamError = true;  // every call must clear it
    EXPECT_TRUE(loadMpegInfo(info, Bytes(bytes), 0, mode, nullptr, "track.mp3"));
    return info;
}

// A frame laid out by the summary's single 144000 rule (the standard's own for MPEG-1 layer III).
FrameLayout ruled(int version, int kbps, int layer = 3, int mode = 0) {
    FrameLayout s;
    std::tie(s.version, s.bitrateKbps, s.layer, s.channelMode) = std::tuple(version, kbps, layer, mode);
    s.length = support::summaryRuleLength(s);
    return s;
}
ByteVec stream(size_t count, const FrameLayout& s = ruled(1, 128)) { return support::buildStream(s, count); }

TEST(MpegSummary, FirstHeaderAfterFalseSyncsAndALayerTwoFrame) {
    FrameLayout s = ruled(2, 64, 3, 3);  // MPEG-2 walked by the 144000 rule
    s.sampleRateIndex = 1;
    s.crc = s.copyright = s.original = true;
    s.length = support::summaryRuleLength(s);
    const ByteVec garbage = concat({ByteVec{0x00, 0xFF, 0xFD, 0x90, 0x00, 0xFF, 0x7F, 0xFF, 0x41},
                                    support::buildFrame(ruled(1, 128, 2))});
    const MpegInfo info = summarize(concat({garbage, stream(12, s)}));
    EXPECT_EQ(info.audioStart, garbage.size());
    EXPECT_EQ(std::tuple(info.versionCode, info.layerCode, info.protectionBit, info.frequency, info.channelMode),
              std::tuple(VersionMpeg2, uint8_t(2), 0u, 1u, ChannelMono));
    EXPECT_TRUE(info.copyrightBit && info.originalBit);
    EXPECT_EQ(info.frameCount, 12u);
    EXPECT_FALSE(info.streamError);
}

TEST(MpegSummary, LameVersionCutAfterAXingOrInfoWord) {
    const struct {
        const char *word, *lame, *encoder;
    } cases[] = {
        {"Xing", "LAME3.90.3", "LAME3.90"},
        {"Info", "LAME3.96r", "LAME3.96r"},
        {"INFO", "LAME3.88 (beta 1, Dec 12 1999)", "LAME3.88 (beta 1, De"},
        {"Xinf", "LAME3.99r", "LAME3.99"},  // not a Xing word: the body scan keeps 8 bytes
    };
    for (const auto& c : cases) {
        support::XingLayout xing;
        std::tie(xing.tag, xing.frames, xing.lame) = std::tuple(c.word, 20u, c.lame);
        EXPECT_EQ(summarize(concat({support::buildXingFrameAt36(ruled(1, 128), xing), stream(19)})).encoder, c.encoder)
            << c.word << " " << c.lame;
    }
}

TEST(MpegSummary, XingOutsideOffset36IsMissedButTheBodyScanFindsLame) {
    const FrameLayout mono = ruled(1, 128, 3, 3);  // the Xing word at 21
    support::XingLayout xing;
    const size_t lameAt = 4 + support::sideInfoLength(mono) + 120;
    std::tie(xing.tag, xing.lame, xing.lameOffset) = std::tuple("Info", "LAME3.99r", lameAt);
    EXPECT_EQ(summarize(concat({support::buildXingFrame(mono, xing), stream(19, mono)})).encoder, "LAME3.99");
    // Only the bodies of frames below 200 are scanned, backwards from 13 bytes before their end.
    const std::tuple<size_t, size_t, const char*> cases[] = {
        {199, 300, "LAME3.98"}, {200, 300, ""}, {3, 408, "LAME3.98"}, {3, 409, ""}};
    for (const auto& [number, at, encoder] : cases) {
        ByteVec bytes = stream(250);
        std::copy_n("LAME3.98r", 9, bytes.begin() + long((number - 1) * 417 + at));
        EXPECT_EQ(summarize(bytes).encoder, encoder) << number << " " << at;
    }
}

TEST(MpegSummary, WordAfterTheLastFrame) {
    const std::pair<ByteVec, bool> cases[] = {
        {support::buildV1({}), false},
        {{'_', 'O', 'O', 0x00}, false},  // a bit mask, not equality: it holds the bits of "TAG"
        {{'T', 'A', 'F', 0}, true},
        {support::buildFrame(ruled(25, 64)), true},  // an MPEG 2.5 header ends the walk
    };
    for (const auto& [bytes, streamError] : cases) {
        const MpegInfo info = summarize(concat({stream(12), bytes}));
        EXPECT_EQ(info.frameCount, 12u);
        EXPECT_EQ(info.streamError, streamError) << bytes.size();
        EXPECT_EQ(info.bitrateText, "128 kbps (CBR)");
    }
}

TEST(MpegSummary, ReservedLayerReadsTheNextGroupsRow) {
    FrameLayout reserved = ruled(2, 64);
    reserved.layerBits = 0;
    reserved.length = 1671;  // index 8 of the first MPEG-1 row: 256 kbit/s, 256 * 144000 / 22050
    const MpegInfo info =
        summarize(concat({stream(9, ruled(2, 64)), support::buildFrame(reserved), stream(4, ruled(2, 64))}));
    EXPECT_EQ(info.frameCount, 14u);
    EXPECT_EQ(info.bitrateText, "77 kbps (VBR average)");  // (13 * 64 + 256) / 14
}

TEST(MpegSummary, QuickModesStopEarlyAndExtrapolate) {
    support::LogCapture log;
    const MpegInfo probe = summarize(stream(1500), ScanMode::Probe);
    EXPECT_EQ(probe.bitrateText, "128 kbps (CBR quick)");
    // The first frame is counted but its length not summed: 625500 / (417000 / 1001) frames.
    EXPECT_EQ(probe.frameCount, 1503u);
    const std::vector<std::string> notice{"VBR has not been found in the first 1000 frames (assuming CBR)"};
    EXPECT_EQ(log.messages(), notice);
    const MpegInfo steady = summarize(stream(1500), ScanMode::Steady);  // steady for 200 frames past 500
    EXPECT_EQ(std::tuple(steady.frameCount, steady.bitrateText), std::tuple(501u, std::string("128 kbps (CBR)")));
    EXPECT_EQ(log.messages(), notice);
}

// A frame without a sample rate sends the walk back to the search; the sum of lengths stays.
TEST(MpegSummary, SumOfLengthsCarriesOverARestart) {
    FrameLayout dead = ruled(1, 128);
    dead.sampleRateIndex = 3;
    const ByteVec head = concat({stream(10), support::buildFrame(dead)});
    const MpegInfo info = summarize(concat({head, stream(1500, ruled(1, 192))}), ScanMode::Probe);
    EXPECT_EQ(info.audioStart, head.size());
    EXPECT_EQ(info.bitrateText, "192 kbps (CBR quick)");
    EXPECT_EQ(info.frameCount, 1492u);  // 939000 bytes over (9 * 417 + 1000 * 626) / 1001 = 629
}

TEST(AiffSummary, FiveSampleFramesPastASecondRoundUp) {
    MpegInfo a, b;
    ASSERT_TRUE(loadAiffInfo(a, AiffCommon{2, 44104, 16, 44100}) && loadAiffInfo(b, AiffCommon{2, 44105, 16, 44100}));
    EXPECT_EQ(std::tuple(a.lengthSeconds, b.lengthSeconds), std::tuple(1u, 2u));
}

}  // namespace
}  // namespace tagwick
