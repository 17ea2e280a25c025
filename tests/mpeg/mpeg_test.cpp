// The stream summary (first-frame search and header, encoder strings, the end of the walk, the
// quick modes with their extrapolation and carry-over, the AIFF summary; the length of a track is
// shown whole by the display's end-to-end tests) and the stream checker with its rebuild (the
// exact report of a walk over built streams, the failures of checkAudioFile, what a rebuild keeps
// and drops, its VBR header patch, and a rebuild whose temporary file cannot be written).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <tuple>
#include <unistd.h>
#include <vector>

#include "mpeg/mpeg_info.h"
#include "mpeg/stream_checker.h"
#include "support/cli_runner.h"
#include "support/export_tracks.h"
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
    summarize(stream(1500), ScanMode::Probe);  // its count and bit rate are shown by the display's end-to-end test
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

// ---------------------------------------------------------------- the stream checker

constexpr size_t kFrame = 417;  // the default frame: MPEG-1 layer III, 128 kbit/s, 44100 Hz

FrameLayout frameOf(int version, int layer, int kbps, int mode = 0, bool wrongCrc = false) {
    FrameLayout s;
    std::tie(s.version, s.layer, s.bitrateKbps, s.channelMode) = std::tuple(version, layer, kbps, mode);
    s.crc = s.wrongCrc = wrongCrc;
    s.filler = 0x5A;
    return s;
}
ByteVec frames(size_t count, const FrameLayout& frame = {}) { return support::buildStream(frame, count); }
ByteVec apeTag() {
    support::ApeLayout ape;
    ape.items.push_back({"Title", "x"});
    return support::buildApeTag(ape);
}
ByteVec xingFrame(uint32_t count, uint32_t bytes, const char* tag = "Xing") {
    support::XingLayout x;
    std::tie(x.tag, x.frames, x.bytes) = std::tuple(tag, count, bytes);
    return support::buildXingFrame({}, x);
}
const int kVbrRates[] = {128, 160, 128, 192, 128, 160, 128, 192, 128, 160};  // 5 * 417 + 3 * 522 + 2 * 626 bytes

struct Checked {
    CheckStats stats;
    std::string text;
};
Checked check(ByteVec bytes) {
    Checked out;
    char* buffer = nullptr;
    size_t length = 0;
    FILE* stream = open_memstream(&buffer, &length);
    EXPECT_EQ(scanAudio(bytes, out.stats, stream, false, -1), 0);
    printReport(stream, out.stats, false);
    std::fclose(stream);
    out.text.assign(buffer, length);
    std::free(buffer);
    return out;
}

const std::string kNoTags = "Warning: No supported tags were found\n";
const std::string kTooFew = "Warning: Too few MPEG frames (this is not a valid MPEG audio file)\n";
const std::string kL3 = "Information: MPEG 1 Layer III, ";
std::string untagged(int count, const std::string& rate = "CBR") {
    return kNoTags + kL3 + std::to_string(count) + " MPEG frames, " + rate + ", No tags\n";
}

// The whole report of a walk over each built stream, and its error count.
TEST(StreamCheckerWalk, ReportsExactly) {
    const struct {
        const char* name;
        ByteVec data;
        std::string text;
        int errors;
    } cases[] = {
        {"NineFramesAreTooFew", frames(9), kTooFew + untagged(9), 0},
        {"BothId3Tags", concat({support::buildV2Tag({}), frames(10), support::buildV1({})}),
         kL3 + "10 MPEG frames, CBR, ID3v1 ID3v2\n", 0},
        // An Info header of a CBR stream may leave out its own frame, but not a byte.
        {"InfoMayLeaveOutItsOwnFrame", concat({xingFrame(10, 1, "Info"), frames(10)}),
         "Warning: Wrong number of MPEG data bytes specified in Xing header (1 found, expected 4587)\n" +
             untagged(11), 1},
        {"XingCountsThatLie", concat({xingFrame(999, 1), frames(10)}),
         "Warning: Wrong number of MPEG frames specified in Xing header (999 found, expected 11)\n"
         "Warning: Wrong number of MPEG data bytes specified in Xing header (1 found, expected 4587)\n" +
             untagged(11), 2},
        {"VbriHasNoToleranceOfOne", concat({support::buildVbriFrame({}, {.bytes = 5, .frames = 10}), frames(10)}),
         "Warning: Wrong number of MPEG frames specified in VBRI header (10 found, expected 11)\n"
         "Warning: Wrong number of MPEG data bytes specified in VBRI header (5 found, expected 4587)\n" +
             untagged(11), 2},
        {"VbrWithVbri",
         concat({support::buildVbriFrame({}, {.bytes = 5320, .frames = 11}), support::buildVbrStream({}, kVbrRates)}),
         untagged(11, "VBR (VBRI header)"), 0},
        // Nine side-information bytes under the CRC of an MPEG-2 mono frame.
        {"WrongCrcsInMpeg2Mono", concat({frames(8, frameOf(2, 3, 32, 3, true)), frames(2, frameOf(2, 3, 32, 3))}),
         "Warning: 8 frames have the wrong CRC\n" + kNoTags +
             "Information: MPEG 2 Layer III, 10 MPEG frames, CBR, CRC, No tags\n", 1},
        {"LayerTwoCrcsUnchecked", frames(10, frameOf(1, 2, 128, 0, true)),
         "Warning: Invalid layer-III frame encountered\n" + kNoTags +
             "Information: MPEG 1 Layer II, 10 MPEG frames, CBR, CRC, No tags\n", 1},
        {"GarbageBeforeEightFrames", concat({ByteVec(100, 0), frames(8)}),
         "Warning: Invalid data at the beginning of the file\n" + kTooFew + untagged(8), 1},
        {"GarbageWithoutEightFrames", concat({ByteVec(100, 0), frames(7), ByteVec(50, 0)}),
         "Error: Unknown audio format\n", 0},
        {"InvalidDataInside", concat({frames(10), ByteVec(50, 0), frames(10)}),
         "Warning: An MPEG stream error has been detected\n" + untagged(20), 1},
        // The walk jumps over the whole last frame, so the offset lies past the data.
        {"HalfAFrameAtTheEnd", [] { ByteVec d = frames(11); d.resize(10 * kFrame + 200); return d; }(),
         "Warning: The audio track has been truncated or there is invalid data at the end of the file (from "
         "offset 4587)\n" + untagged(11), 1},
        {"RiffWrapper", support::buildRiffWave(frames(10)),
         "Warning: This is a RIFF file, not an MPEG audio stream\n" + untagged(10), 1},
        {"TwoApeTags", concat({frames(10), apeTag(), apeTag()}),
         "Warning: More than one APEv2 tags have been found\n" + kL3 +
             "10 MPEG frames, CBR, Multiple tags found (ID3v1 x0, ID3v2 x0, APEv2 x2)\n", 1},
        {"SeveralKinds",
         concat({frames(4, frameOf(25, 3, 64)), frames(3, frameOf(1, 1, 128)), frames(3, frameOf(2, 2, 64))}),
         "Warning: VBR detected, but no VBR header is present (seeking may not work properly)\n"
         "Warning: Invalid layer-III frame encountered\n"
         "Warning: Different MPEG versions or layers in one file\n" + kNoTags +
             "Information: MPEG versions 3 M1 L1 3 M2 L2 4 M2.5 L3, 10 MPEG frames, VBR is present but no VBR "
             "header was found, No tags\n", 1},
    };
    for (const auto& c : cases) {
        const Checked out = check(c.data);
        EXPECT_EQ(out.text, c.text) << c.name;
        EXPECT_EQ(out.stats.errorCount, c.errors) << c.name;
    }
}

// Both walks look at a file through the reader's window: about one read per buffer, not per frame.
TEST(FileWalks, ReadAboutOnceABuffer) {
    support::TempDir dir;
    const ByteVec sound = frames(12000);
    support::writeFile(dir.file("t.mp3"), sound);
    const uint64_t buffers = sound.size() / FileReader::BufferSize + 1;
    FileReader file;
    ASSERT_TRUE(file.open(dir.file("t.mp3").c_str()));
    CheckStats stats;
    EXPECT_EQ(scanAudio(file, stats, nullptr, nullptr), 0);
    EXPECT_EQ(stats.totalFrames(), 12000);
    EXPECT_LE(file.readCalls(), buffers + 1);
    MpegInfo info;
    ASSERT_TRUE(loadMpegInfo(info, file, 0, ScanMode::Full, nullptr, "t.mp3"));
    EXPECT_EQ(info.frameCount, 12000u);
    EXPECT_LE(file.readCalls(), 2 * buffers + 2);
}

TEST(CheckAudioFile, FailuresAndTheLogFile) {
    support::TempDir dir;
    const std::string empty = dir.file("empty.mp3"), track = dir.file("a.mp3");
    const std::string log = dir.file("check.log"), noLog = dir.file("no/such/folder.log");
    support::writeFile(empty, {});
    support::writeFile(track, frames(10));
    support::writeText(log, "old contents that must go\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(checkAudioFile(empty.c_str(), log.c_str(), true, false, false, false), 0);
    EXPECT_EQ(checkAudioFile(track.c_str(), noLog.c_str(), false, false, false, false), 0);
    EXPECT_EQ(checkAudioFile(track.c_str(), log.c_str(), false, true, false, false), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: Cannot open track '" + empty + "' or it is empty\n" +
                                                          "Error: Failed to open the log file '" + noLog + "'\n");
    // The log is written anew; quiet leaves out the summary line.
    EXPECT_EQ(support::readText(log), "Checking audio file '" + track + "'...\n" + kNoTags);
}

ByteVec rebuild(ByteVec data, int framesDropped) {
    support::TempDir dir;
    const int fd = open(dir.file("out").c_str(), O_RDWR | O_CREAT, 0600);
    CheckStats stats;
    EXPECT_EQ(scanAudio(data, stats, nullptr, true, fd), 0);
    close(fd);
    EXPECT_EQ(stats.framesDropped, framesDropped);
    EXPECT_EQ(stats.errorCount, 1);  // after any rebuild run
    return support::readFile(dir.file("out"));
}

TEST(RebuildWalk, KeepsAndDrops) {
    const ByteVec sound = concat({support::buildV2Tag({}), frames(12), apeTag(), support::buildV1({})});
    EXPECT_EQ(rebuild(sound, 0), sound);
    // A tag directly before invalid data is taken back with it; a frame there costs one frame.
    EXPECT_EQ(rebuild(concat({support::buildV2Tag({}), ByteVec(30, 0), frames(10)}), 0), frames(10));
    EXPECT_EQ(rebuild(concat({frames(10), apeTag(), ByteVec(40, 0)}), 0), frames(10));
    // The bare stream: no RIFF header, and the chunk after the data is invalid data.
    EXPECT_EQ(rebuild(support::buildRiffWave(frames(10), support::RiffChunk{"LIST", ByteVec(30, 'x')}), 1), frames(9));
}

TEST(RebuildWalk, VbrHeaderGetsTheCountsOfTheRebuiltStream) {
    const ByteVec xing = xingFrame(999, 1);
    ByteVec data = concat({xing, frames(10)});
    data.resize(data.size() - 200);  // half a frame at the end is dropped
    // The counts after "Xing" and the flags: one lower than the eleven frames counted.
    ByteVec expected = concat({xing, frames(9)});
    support::putBe32(expected, 44, 10);
    support::putBe32(expected, 48, uint32_t(10 * kFrame));
    EXPECT_EQ(rebuild(data, 1), expected);
    // VBRI: the bytes at 46, the frames at 50.
    const ByteVec vbri = support::buildVbriFrame({}, {7, 7});
    expected = concat({vbri, frames(8)});
    support::putBe32(expected, 46, uint32_t(9 * kFrame));
    support::putBe32(expected, 50, 9);
    EXPECT_EQ(rebuild(concat({vbri, frames(9), ByteVec(40, 0)}), 1), expected);
}

TEST(RebuildTrack, FailedTemporaryWriteLeavesTheTrackAlone) {
    support::TempDir dir;
    const std::string path = dir.file("big.mp3"), log = dir.file("log");
    const ByteVec original = concat({frames(30), ByteVec(100, 0), frames(30)});
    support::writeFile(path, original);
    {
        support::FileSizeLimit limit(4096);  // the rebuilt file may not grow past this
        EXPECT_EQ(checkAudioFile(path.c_str(), log.c_str(), true, false, false, false), 1);
    }
    EXPECT_EQ(support::readFile(path), original);
    const std::string text = support::readText(log);
    EXPECT_NE(text.find("Rebuilding file '" + path + "'...\n\nError: Failed to write to the temporary file\n"),
              std::string::npos) << text;
    EXPECT_EQ(text.find("rebuilt"), std::string::npos);
}

}  // namespace
}  // namespace tagwick
