// Opening tracks: the kind from the name, the kind check of the first bytes, the order of the
// loading steps, the AIFF form and chunk walk, and corpus samples with quirks of their own.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "tags/aiff_chunks.h"
#include "tags/id3_tag.h"
#include "tags/id3v2_test_support.h"

namespace tagwick {
namespace {

using namespace tagwick::test;
using support::AiffChunk;
using support::FrameLayout;

ByteVec audio(size_t frames = 20, const FrameLayout& layout = FrameLayout{}) { return support::buildStream(layout, frames); }

ByteVec v2Tag(std::string_view title, int major = 3, size_t padding = 0) {
    return buildTag(major, {text("TIT2", title)}, padding);
}

ByteVec v1Record(std::string_view title, int track = 0, uint8_t genre = 255) {
    return support::buildV1(support::V1Layout{std::string(title), "artist", "album", "1999", "comment", track, genre});
}

ByteVec join(std::initializer_list<ByteVec> parts) {
    ByteVec out;
    for (const ByteVec& part : parts) support::append(out, part);
    return out;
}

AiffChunk chunk(std::string id, ByteVec body, bool padOdd = true) {
    return {std::move(id), std::move(body), {}, padOdd};
}

AiffChunk comm(uint16_t channels = 2, uint32_t frames = 1000, double rate = 44100, size_t length = 18) {
    ByteVec body = support::commBody(channels, frames, 16, rate);
    body.resize(length);
    return chunk("COMM", body);
}

ByteVec aiff(std::vector<AiffChunk> chunks, std::string formType = "AIFF", std::string formId = "FORM") {
    return support::buildAiff(support::AiffLayout{std::move(formId), std::move(formType), std::move(chunks), {}, {}});
}

// What an opened track holds, as texts.
Facts trackFacts(const ID3Tag& t) {
    auto yes = [](bool flag) { return std::string(flag ? "yes" : "no"); };
    auto n = [](auto value) { return std::to_string(value); };
    return {{"kind", t.isMp3 ? "mp3" : t.isAiff ? "aiff" : t.isTagDataFile ? "tdf" : "none"},
            {"checked", yes(t.kindCheckPassed)}, {"label", t.tagVersionText}, {"minor", n(t.v2Minor)},
            {"v1", t.v1Found ? t.v1.title + "|" + n(t.v1.track) + "|" + n(t.v1.genre) : "<none>"},
            {"v1 enabled", yes(t.v1.enabled)}, {"v2 present", yes(t.v2Present)},
            {"v2 found", yes(t.v2Found)}, {"title", utf8Of(t.v2.title)}, {"frames", n(t.mpeg.frameCount)},
            {"audio start", n(t.mpeg.audioStart)}, {"bitrate", n(t.mpeg.averageBitrate)},
            {"hz", n(long(t.frequencyHz()))}, {"khz", format("%.3f", t.frequencyKHz())},
            {"channels", n(t.aiff.channels)}, {"sample frames", n(t.aiff.sampleFrames)},
            {"sample size", n(t.aiff.sampleSize)}, {"seconds", n(t.mpeg.lengthSeconds)},
            {"mode", t.mpeg.channelMode == ChannelMono    ? "mono"
                     : t.mpeg.channelMode == ChannelMulti ? "multi"
                                                          : "other"},
            {"tag at", n(t.aiffTagOffset)}, {"tag size", n(t.aiffTagSize)}, {"file size", n(t.fileSize)},
            {"size text", t.sizeText}, {"path", t.path}};
}

class TrackOpen : public testing::Test {
protected:
    std::string write(std::string_view name, const ByteVec& bytes) {
        std::string path = dir.file(name);
        support::writeFile(path, bytes);
        return path;
    }
    int open(ID3Tag& track, std::string_view name, const ByteVec& bytes) {
        return track.open(write(name, bytes).c_str());
    }
    support::TempDir dir;
};

// ---------------------------------------------------------------- kind from the name, first bytes

TEST(KindFromPath, FourCharactersFromTheLastDotIgnoringCase) {
    for (auto [path, kind] : {std::pair<const char*, const char*>{"/x/A.MP3", "mp3"}, {"a.mp3x", "mp3"},
                              {"a.AIFF", "aiff"}, {"tags.TdF", "tdf"}, {"a.mp3.bak", "none"}, {"a.mpeg", "none"},
                              {"song", "none"}, {"song.", "none"}, {"/music.mp3/song", "mp3"}, {nullptr, "none"}}) {
        ID3Tag track;
        track.isMp3 = track.isAiff = track.isTagDataFile = true;  // every result is stored
        EXPECT_EQ(ID3Tag::kindFromPath(path, &track), std::string(kind) != "none") << kind;
        EXPECT_EQ(ID3Tag::kindFromPath(path, nullptr), std::string(kind) != "none") << kind;
        EXPECT_EQ(trackFacts(track)["kind"], kind);
    }
}

// `size` zero bytes with the pair FF `second` at `at`.
ByteVec pairAt(size_t size, size_t at, uint8_t second) {
    ByteVec out(size, 0);
    out[at] = 0xFF;
    out[at + 1] = second;
    return out;
}

TEST(FrameSyncScan, AcceptsTheFirstFittingPairWithin8192Bytes) {
    struct Case {
        const char* name;
        ByteVec bytes;
        bool tagDataFile, accepted;
        size_t end;
    };
    for (const Case& c : {
             Case{"LayerThree", pairAt(6, 2, 0xFB), false, true, 4},
             Case{"LayerTwoIsNoMp3", pairAt(6, 2, 0xFD), false, false, 6},
             Case{"LayerTwoIsATagDataFile", pairAt(6, 2, 0xFD), true, true, 4},
             Case{"TopThreeBitsNeeded", pairAt(4, 0, 0xC2), true, false, 4},
             Case{"FailingPairDoesNotEndTheScan", ByteVec{0xFF, 0xFD, 0, 0, 0xFF, 0xE2, 0}, false, true, 6},
             Case{"FailingPairAtTheEndAccepts", pairAt(6, 4, 0xFC), false, true, 6},
             Case{"FailingPairBeforeTheEnd", pairAt(7, 4, 0xFC), false, false, 7},
             Case{"FailingPairAtTheLimitAccepts", pairAt(9000, 8190, 0xE0), false, true, 8192},
             Case{"FailingPairBeforeTheLimit", pairAt(9000, 8189, 0xE0), false, false, 8192},
             Case{"PairAcrossTheLimit", pairAt(9000, 8191, 0xFB), true, false, 8192},
         }) {
        size_t end = 0;
        EXPECT_EQ(scanForFrameSync(c.bytes, c.tagDataFile, &end), c.accepted) << c.name;
        EXPECT_EQ(end, c.end) << c.name;
    }
}

TEST_F(TrackOpen, RefusalsAreReportedAndLeaveTheTrackAsItWas) {
    ByteVec mp4 = join({ByteVec{0, 0, 0, 0x20, 'f', 't', 'y', 'p', 'M', '4', 'A', ' '}, audio()});
    ByteVec upperMp4 = mp4;
    upperMp4[4] = 'F';
    ByteVec notForm = support::simpleAiff(10, 8000);
    std::copy_n("RIFF", 4, notForm.begin());
    struct Case {
        const char* name;
        ByteVec bytes;
        std::string message;  // at the error level; empty: nothing logged at all
    };
    for (const Case& c : {Case{"song.mpeg", audio(), ""},
                          Case{"mp4.mp3", mp4, "File appears to be an MP4 not a valid MP3 file"},
                          Case{"mp4.tdf", upperMp4, "File appears to be an MP4 not a valid MP3 file"},
                          Case{"late.mp3", join({bytesOf("RIFF"), ByteVec(8196, 0), audio()}),
                               "File is not a valid MP3 file (0x52494646)"},
                          Case{"empty.mp3", {}, "File is not a valid MP3 file (0x00000000)"},
                          Case{"two.mp3", {0x41, 0x42}, "File is not a valid MP3 file (0x41420000)"},
                          Case{"riff.aif", notForm, "File is not a valid AIFF file (0x52494646)"}}) {
        LogCapture log;
        ID3Tag track;
        track.v1.title = "kept";
        EXPECT_EQ(open(track, c.name, c.bytes), 0) << c.name;
        EXPECT_FALSE(track.kindCheckPassed) << c.name;
        EXPECT_EQ(track.v1.title, "kept") << c.name;
        EXPECT_EQ(log.messages().size(), c.message.empty() ? 0u : 2u) << log.text();
        EXPECT_TRUE(c.message.empty() || log.has(LogError, c.message)) << log.text();
    }
    LogCapture log;
    ID3Tag track;
    std::string missing = dir.file("missing.mp3");
    EXPECT_EQ(track.open(missing.c_str()), 0);
    EXPECT_TRUE(log.has(LogError, "Failed to open the file '" + missing + "' for reading (error: " +
                                      errorText(ENOENT) + ")"));
    // A folder opens for reading but yields no bytes, so it fails the check of the first bytes.
    std::string folder = dir.file("folder.mp3");
    std::filesystem::create_directory(folder);
    LogCapture folderLog;
    EXPECT_EQ(track.open(folder.c_str()), 0);
    EXPECT_TRUE(folderLog.has(LogError, "File is not a valid MP3 file (0x00000000)")) << folderLog.text();
}

// ---------------------------------------------------------------- MP3 and tag data files

TEST_F(TrackOpen, UpperCaseExtensionOpensAsMp3) {
    FrameLayout mpeg2;
    mpeg2.version = 2;
    mpeg2.bitrateKbps = 64;
    mpeg2.sampleRateIndex = 1;
    ByteVec file = audio(30, mpeg2);
    std::string path = write("SONG.MP3", file);
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str()), 1);
    EXPECT_TRUE(log.has(LogProgress, "Opening ID3 track: " + path));
    expectFacts(trackFacts(track), {{"kind", "mp3"}, {"path", path}, {"hz", "24000"}, {"khz", "24.000"},
                                    {"file size", std::to_string(file.size())},
                                    {"size text", sizeText(static_cast<long long>(file.size()))}});
}

TEST_F(TrackOpen, KindCheckPassesOnId3OrASyncWithin8192Bytes) {
    ID3Tag padded, lower, both, early;
    // 9000 bytes of padding put the first frame beyond the scan, but "ID3" needs no scan.
    EXPECT_EQ(open(padded, "padded.mp3", join({v2Tag("Long padding", 3, 9000), audio()})), 1);
    EXPECT_EQ(utf8Of(padded.v2.title), "Long padding");
    // The kind check ignores case, the tag itself needs "ID3" exactly.
    EXPECT_EQ(open(lower, "lower.mp3", join({bytesOf("id3"), ByteVec(8997, 0), audio()})), 1);
    expectFacts(trackFacts(lower), {{"v2 present", "no"}, {"audio start", "9000"}});
    // "ID3" at the start wins over "ftyp" at bytes 4 to 7.
    ByteVec ftyp = join({v2Tag("x"), audio()});
    std::copy_n("ftyp", 4, ftyp.begin() + 4);
    open(both, "both.mp3", ftyp);
    EXPECT_TRUE(both.kindCheckPassed);
    EXPECT_EQ(open(early, "early.mp3", join({bytesOf("RIFF"), ByteVec(7996, 0), audio()})), 1);
    EXPECT_EQ(early.mpeg.audioStart, 8000u);
}

TEST_F(TrackOpen, TagsAreLoadedAndLabelled) {
    ID3Tag v1Only, both, huge;
    EXPECT_EQ(open(v1Only, "v1.mp3", join({audio(), v1Record("Old song", 0, 255)})), 1);
    // Track 0 reads as no track and genre 255 as Other.
    expectFacts(trackFacts(v1Only), {{"v1", "Old song|255|12"}, {"v1 enabled", "yes"}, {"label", "V1"}});
    EXPECT_EQ(open(both, "both.mp3", join({v2Tag("New", 4), audio(), v1Record("Old", 9, 17)})), 1);
    expectFacts(trackFacts(both), {{"v1", "Old|9|17"}, {"title", "New"}, {"label", "V1 and V2.4"}});
    // A tag that claims more than the file holds cannot be read whole: it is not parsed at all,
    // but still counts as present (and leaves no audio).
    support::V2TagLayout layout;
    layout.frames = {text("TIT2", "Cut short")};
    layout.sizeOverride = 0x0FFFFFFF;
    LogCapture log;
    EXPECT_EQ(open(huge, "huge.mp3", support::buildV2Tag(layout)), 0);
    expectFacts(trackFacts(huge), {{"checked", "yes"}, {"v2 present", "yes"}, {"v2 found", "no"}, {"title", "<absent>"}});
    EXPECT_TRUE(log.has(LogError, "Failed to load the tag data (error: " + errorText(0) + ")")) << log.text();
}

TEST_F(TrackOpen, SummaryBeginsAfterTheTag) {
    // The tag's text holds the header of a 64 kbit/s frame; the audio is 128 kbit/s.
    FrameLayout fake;
    fake.bitrateKbps = 64;
    uint32_t word = support::headerWord(fake);
    std::string title = "xx";
    for (int shift : {24, 16, 8, 0}) title += char(uint8_t(word >> shift));
    ByteVec tag = v2Tag(title + std::string(400, 'y'));
    ID3Tag track;
    ASSERT_EQ(open(track, "fake.mp3", join({tag, audio(12)})), 1);
    expectFacts(trackFacts(track), {{"audio start", std::to_string(tag.size())}, {"bitrate", "128"}, {"frames", "12"}});
}

TEST_F(TrackOpen, ProgressStepsAndWriteCheck) {
    std::string path = write("progress.mp3", join({v2Tag("p"), audio(), v1Record("p")}));
    std::vector<std::pair<std::string, int>> calls;
    ProgressCallback progress = [&](const char* message, int percent) {
        if (std::string(message).rfind("Loading " + path, 0) != 0) calls.emplace_back(message, percent);
    };
    ID3Tag track;
    ASSERT_EQ(track.open(path.c_str(), &progress, true), 1);
    EXPECT_TRUE(track.writable);
    EXPECT_EQ(calls, (std::vector<std::pair<std::string, int>>{
                         {"Starting...", 0}, {"Loading V1...", 20}, {"Loading V2...", 40}, {"Parsing...", 70},
                         {"Finished", 90}}));
    // A folder cannot be opened for update, whoever runs the test; the check is made only when asked.
    std::string folder = dir.file("folder.mp3");
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    LogCapture quiet(0);
    ID3Tag checked, unchecked;
    EXPECT_EQ(checked.open(folder.c_str(), nullptr, true), 0);
    EXPECT_EQ(unchecked.open(folder.c_str()), 0);
    EXPECT_FALSE(checked.writable);
    EXPECT_TRUE(unchecked.writable);
}

TEST_F(TrackOpen, ReopeningClearsTheLoadedStateAndResetRestoresTheSettings) {
    ID3Tag track;
    ASSERT_EQ(open(track, "a.mp3", join({v2Tag("first"), audio(), v1Record("first")})), 1);
    ASSERT_EQ(open(track, "b.mp3", audio(5)), 1);
    expectFacts(trackFacts(track), {{"v1", "<none>"}, {"v2 found", "no"}, {"title", "<absent>"}, {"label", ""},
                                    {"frames", "5"}, {"path", dir.file("b.mp3")}});
    EXPECT_EQ(track.v1.genre, 255);
    track.ignoreAiffCorruption = track.chunkAfterSound = false;
    track.reset();
    EXPECT_TRUE(track.ignoreAiffCorruption && track.chunkAfterSound);
    expectFacts(trackFacts(track), {{"kind", "none"}, {"path", ""}, {"frames", "0"}});
}

TEST_F(TrackOpen, TagDataFileGetsNoV1AndNoSummary) {
    ByteVec file = join({v2Tag("Exported"), audio(), v1Record("Exported v1")});
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(open(track, "export.tdf", file), 0);
    expectFacts(trackFacts(track), {{"kind", "tdf"}, {"checked", "yes"}, {"v1", "<none>"}, {"title", "Exported"},
                                    {"frames", "0"}, {"hz", "0"}, {"label", "V2.3"},
                                    {"size text", sizeText(static_cast<long long>(file.size()))}});
    EXPECT_FALSE(log.contains("Failed"));
}

// ---------------------------------------------------------------- AIFF

TEST_F(TrackOpen, PlainAiffOpensWithItsSoundSummary) {
    std::vector<std::string> progress;
    ProgressCallback callback = [&](const char* message, int) { progress.emplace_back(message); };
    ByteVec file = support::simpleAiff(44100, 44100);
    std::string path = write("track.aif", file);
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str(), &callback), 1);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"Opening ID3 track: " + path, "AIFF header found"}));
    EXPECT_EQ(progress, (std::vector<std::string>{"Starting...", "Parsing...", "Finished"}));  // no V1, no V2
    expectFacts(trackFacts(track), {{"kind", "aiff"}, {"channels", "2"}, {"sample frames", "44100"},
                                    {"sample size", "16"}, {"seconds", "1"}, {"hz", "44100"}, {"khz", "44.100"},
                                    {"label", ""}, {"size text", sizeText(static_cast<long long>(file.size()))}});
    EXPECT_EQ(track.mpeg.versionCode, VersionAiff);
}

TEST_F(TrackOpen, AiffFormSizeMismatchIsOverlookedOnlyWhenIgnoringCorruption) {
    ByteVec file = join({support::simpleAiff(10, 8000), ByteVec{1, 2, 3, 4}});  // bytes after the form
    std::string warning = format("Size in header is not consistent with file size (%zu <> %zu - 8)",
                                 file.size() - 12, file.size());
    for (bool ignore : {true, false}) {
        LogCapture log;
        ID3Tag track;
        track.ignoreAiffCorruption = ignore;
        EXPECT_EQ(open(track, "track.aif", file), ignore ? 1 : 0);
        EXPECT_TRUE(log.has(LogWarning, warning + (ignore ? " (ignoring...)" : ""))) << log.text();
        EXPECT_EQ(log.contains("AIFF header found"), ignore);
    }
    ID3Tag consistent;
    consistent.ignoreAiffCorruption = false;
    EXPECT_EQ(open(consistent, "track.aif", support::simpleAiff(10, 8000)), 1);
}

TEST_F(TrackOpen, AiffFormVariants) {
    ID3Tag lower, unknown;
    EXPECT_EQ(open(lower, "lower.aif", aiff({comm()}, "AIFF", "form")), 1);
    for (const char* type : {"AIFC", "aifc"}) {
        LogCapture log;
        ID3Tag track;
        EXPECT_EQ(open(track, "c.aifc", aiff({comm(1, 50, 8000)}, type)), 1);
        EXPECT_TRUE(log.has(LogProgress, "Compressed AIFF header found")) << type;
        EXPECT_EQ(trackFacts(track)["mode"], "mono");
    }
    // An unknown form type skips the walk: the tag is looked for right after the form type.
    ByteVec tagged = join({bytesOf("FORM"), ByteVec(4, 0), bytesOf("AIFX"), v2Tag("Straight after")});
    support::putBe32(tagged, 4, uint32_t(tagged.size() - 8));
    EXPECT_EQ(open(unknown, "x.aif", tagged), 0);
    expectFacts(trackFacts(unknown), {{"checked", "yes"}, {"hz", "0"}, {"title", "Straight after"}});
    AiffForm form = readAiffForm(ByteVec{'F', 'O', 'R', 'M', 0, 0});
    EXPECT_FALSE(form.known || form.compressed || form.formSize != 0);
}

TEST(AiffWalk, ChunksAreSkippedByTheirRoundedSizes) {
    AiffChunk huge = chunk("JUNK", ByteVec(10, 0));
    huge.sizeOverride = 0xFFFFFFFF;
    std::vector<AiffChunk> empties(50, chunk("NONE", {}));
    empties.push_back(comm(1, 3));
    ByteVec cutComm = aiff({comm(2, 500)});
    cutComm.resize(cutComm.size() - 6);  // half the sample rate is missing
    struct Case {
        const char* name;
        ByteVec file;
        long frames;   // -1: no COMM read
        uint32_t rate;
        long id3Size;  // -1: no "ID3 " chunk met
        size_t chunks;
    };
    ByteVec odd = {'o', 'd', 'd', '!', '!'};
    for (const Case& c : {
             Case{"OddSizeRoundedUp", aiff({chunk("ANNO", odd), comm(1, 77)}), 77, 44100, -1, 2},
             Case{"OddSizeWithoutPadByte", aiff({chunk("ANNO", odd, false), comm(1, 77)}), -1, 0, -1, 2},
             Case{"CommOf16BytesIsNotRead", aiff({comm(2, 100, 44100, 16)}), -1, 0, -1, 1},
             // 17 is rounded up before the comparison: the pad byte ends the 80-bit rate.
             Case{"CommOf17BytesIsRead", aiff({comm(2, 100, 44100, 17)}), 100, 44100, -1, 1},
             Case{"LongerCommSkipsItsRest", aiff({comm(2, 100, 44100, 25), chunk("ID3 ", v2Tag("x"))}), 100, 44100, 22,
                  2},
             Case{"LaterCommReplacesAnEarlierOne", aiff({comm(2, 10, 8000), comm(1, 20, 11025)}), 20, 11025, -1, 2},
             Case{"Id3ChunkEndsTheWalk", aiff({chunk("ID3 ", v2Tag("first")), comm()}), -1, 0, 26, 1},
             Case{"LowerCaseId3ChunkOfOddSize", aiff({comm(), chunk("id3 ", ByteVec(13, 0))}), 1000, 44100, 14, 2},
             Case{"ChunkClaimingMoreThanTheFile", aiff({huge, comm()}), -1, 0, -1, 1},
             Case{"CommCutByTheEndOfTheFile", cutComm, 500, 0, -1, 1},
             Case{"ZeroSizeChunksStillAdvance", aiff(empties), 3, 44100, -1, 51},
             Case{"ChunkSizeCutShort", join({aiff({}), bytesOf("COMM"), ByteVec{0, 0}}), -1, 0, -1, 0},
         }) {
        AiffWalk walk = walkAiffChunks(c.file, AiffFormHeaderSize);
        EXPECT_EQ(walk.commFound ? long(walk.common.sampleFrames) : -1, c.frames) << c.name;
        EXPECT_EQ(walk.common.sampleRate, c.rate) << c.name;
        EXPECT_EQ(walk.id3Found ? long(walk.id3Size) : -1, c.id3Size) << c.name;
        EXPECT_EQ(walk.chunkCount, c.chunks) << c.name;
        EXPECT_EQ(walk.position, walk.id3Found ? walk.position : c.file.size()) << c.name;
    }
}

TEST_F(TrackOpen, FirstId3ChunkOfAnAiffIsLoadedWhereverItStands) {
    ByteVec tag = v2Tag("Chunk title");
    ByteVec file = support::simpleAiff(100, 48000, tag);
    ID3Tag track, first;
    ASSERT_EQ(open(track, "t.aif", file), 1);
    size_t padded = tag.size() + tag.size() % 2;
    expectFacts(trackFacts(track), {{"v2 found", "yes"}, {"title", "Chunk title"}, {"label", "V2.3"},
                                    {"tag size", std::to_string(padded)},
                                    {"tag at", std::to_string(file.size() - padded)}, {"hz", "48000"}});
    EXPECT_EQ(open(first, "f.aif", aiff({comm(), chunk("id3 ", v2Tag("lower")), chunk("ID3 ", v2Tag("upper"))})), 1);
    EXPECT_EQ(utf8Of(first.v2.title), "lower");
}

// ---------------------------------------------------------------- the corpus

struct CorpusCase {
    const char* name;
    const char* file;
    int result;  // -1: not checked
    Facts facts;
    const char* message = nullptr;  // logged at any level
};

class CorpusTrack : public TrackOpen, public testing::WithParamInterface<CorpusCase> {};

TEST_P(CorpusTrack, FactsAgree) {
    const CorpusCase& c = GetParam();
    std::string source = support::corpusFile(c.file);
    if (source.empty()) GTEST_SKIP() << "corpus folder absent";
    LogCapture log;
    ID3Tag track;
    std::string extension = std::filesystem::path(c.file).extension().string();
    int result = open(track, extension.starts_with(".aif") ? "t.aif" : "t.mp3", support::readFile(source));
    EXPECT_TRUE(c.result < 0 || result == c.result) << result;
    expectFacts(trackFacts(track), c.facts);
    EXPECT_TRUE(!c.message || log.contains(c.message)) << log.text();
}

const char* const SizeWarning = "Size in header is not consistent with file size";

INSTANTIATE_TEST_SUITE_P(
    Samples, CorpusTrack,
    testing::Values(
        CorpusCase{"TextFile", "mp3agic/notanmp3.mp3", 0, {{"checked", "no"}},
                   "File is not a valid MP3 file (0x54484953)"},
        // The pad byte of the last chunk lies outside the form: the file is one byte longer.
        CorpusCase{"PadOutsideTheForm", "taglib/noise.aif", 1, {{"sample frames", "101"}, {"sample size", "24"}},
                   SizeWarning},
        // A COMM of size 0 is not read (17 bytes or fewer): no rate, no summary.
        CorpusCase{"EmptyComm", "taglib/segfault.aif", 0, {{"checked", "yes"}, {"channels", "0"}}, SizeWarning},
        // The form type "AI\x80F" is neither AIFF nor AIFC: no walk, no tag, no summary.
        CorpusCase{"UnknownFormType", "taglib/excessive_alloc.aif", 0, {{"checked", "yes"}, {"v2 present", "no"}}},
        // The 80-bit rate has its sign bit set: it reads as 0 and no summary is made.
        CorpusCase{"NegativeRate", "tinytag/invalid_sample_rate.aiff", 0, {{"channels", "1"}, {"hz", "0"}}},
        // The 2.4 extended header is stepped over by its size + 14: a present tag without fields.
        CorpusCase{"ExtendedHeaderInAiff", "tinytag/pluck-pcm8.aiff", 1,
                   {{"v2 found", "yes"}, {"title", "<absent>"}, {"sample frames", "3307"}, {"tag size", "146"}}},
        // The "ID3 " chunk lies outside the form; the walk is not bounded by the form size.
        CorpusCase{"TagOutsideTheForm", "taglib-sharp/sample.aif", 1, {{"title", "Aiff Title"}, {"label", "V2.2"}},
                   SizeWarning},
        // The odd COMM (21) is rounded up to 22, so the next chunk ID reads "SND\0".
        CorpusCase{"LongComm", "hsaudiotag/long_comm_field.aif", 1, {{"sample frames", "5840604"}}, SizeWarning}),
    [](const testing::TestParamInfo<CorpusCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tagwick
