// Opening MP3 and tag data files: the kind from the name, the kind check of the first bytes,
// the order of the loading steps, and every sample of the corpus opened without harm.
#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "base/logger.h"
#include "base/text.h"
#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"
#include "tags/id3_tag.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::FrameSpec;

// Collects what the Logger writes (no log file is open, so it goes to the error stream).
class LogCapture {
public:
    explicit LogCapture(unsigned level = 3) {
        Logger::resetForTests();
        file_ = std::tmpfile();
        Logger::setConsoleStreams(nullptr, file_);
        Logger::setMaxLevel(level);
    }
    ~LogCapture() {
        Logger::resetForTests();
        std::fclose(file_);
    }
    std::string text() const {
        std::fflush(file_);
        std::string out;
        std::rewind(file_);
        char buffer[512];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, file_)) > 0) out.append(buffer, n);
        return out;
    }
    bool has(std::string_view message) const { return text().find(message) != std::string::npos; }

private:
    FILE* file_ = nullptr;
};

ByteVec audio(size_t frames = 20, const FrameSpec& spec = FrameSpec{}) { return support::buildStream(spec, frames); }

support::V2Frame titleFrame(std::string_view title) {
    support::V2Frame frame;
    frame.id = "TIT2";
    frame.payload = support::latin1Payload(title);
    return frame;
}

ByteVec v2Tag(std::string_view title, int major = 3, size_t padding = 0) {
    support::V2TagSpec spec;
    spec.major = major;
    spec.frames.push_back(titleFrame(title));
    spec.padding = padding;
    return support::buildV2Tag(spec);
}

ByteVec v1Record(std::string_view title, int track = 0, uint8_t genre = 255) {
    return support::buildV1(support::V1Spec{std::string(title), "artist", "album", "1999", "comment", track, genre});
}

class TrackOpen : public testing::Test {
protected:
    std::string write(std::string_view name, const ByteVec& bytes) {
        std::string path = dir.file(name);
        support::writeFile(path, bytes);
        return path;
    }
    support::TempDir dir;
};

// ---------------------------------------------------------------- kind from the name

struct KindCase {
    const char* name;
    const char* path;
    bool mp3, aiff, tdf;
};

class KindFromPath : public testing::TestWithParam<KindCase> {};

TEST_P(KindFromPath, FourCharactersFromTheLastDot) {
    const KindCase& c = GetParam();
    ID3Tag track;
    track.isMp3 = track.isAiff = track.isTagDataFile = true;  // every result is stored
    bool any = c.mp3 || c.aiff || c.tdf;
    EXPECT_EQ(ID3Tag::kindFromPath(c.path, &track), any);
    EXPECT_EQ(track.isMp3, c.mp3);
    EXPECT_EQ(track.isAiff, c.aiff);
    EXPECT_EQ(track.isTagDataFile, c.tdf);
    EXPECT_EQ(ID3Tag::kindFromPath(c.path, nullptr), any);
}

INSTANTIATE_TEST_SUITE_P(
    TrackOpen, KindFromPath,
    testing::Values(KindCase{"Mp3", "a.mp3", true, false, false}, KindCase{"UpperMp3", "/x/A.MP3", true, false, false},
                    KindCase{"Mp3x", "a.mp3x", true, false, false}, KindCase{"Aif", "a.aif", false, true, false},
                    KindCase{"Aiff", "a.AIFF", false, true, false}, KindCase{"Aifc", "a.aifc", false, true, false},
                    KindCase{"Tdf", "tags.TdF", false, false, true}, KindCase{"Mp3Bak", "a.mp3.bak", false, false, false},
                    KindCase{"Mpeg", "a.mpeg", false, false, false}, KindCase{"Mp", "a.mp", false, false, false},
                    KindCase{"NoDot", "song", false, false, false}, KindCase{"TrailingDot", "song.", false, false, false},
                    KindCase{"DotInFolder", "/music.mp3/song", true, false, false},
                    KindCase{"Mp2", "a.mp2", false, false, false}, KindCase{"Wav", "a.wav", false, false, false}),
    [](const testing::TestParamInfo<KindCase>& info) { return std::string(info.param.name); });

TEST(KindFromPathNull, NullPathHasNoKind) {
    ID3Tag track;
    EXPECT_FALSE(ID3Tag::kindFromPath(nullptr, &track));
    EXPECT_FALSE(track.isMp3 || track.isAiff || track.isTagDataFile);
}

// ---------------------------------------------------------------- the frame sync scan

TEST(FrameSyncScan, Mp3NeedsTheLowLayerBit) {
    ByteVec layer3 = {0, 0, 0xFF, 0xFB, 0x90, 0};
    ByteVec layer2 = {0, 0, 0xFF, 0xFD, 0x90, 0};
    size_t end = 0;
    EXPECT_TRUE(scanForFrameSync(layer3, false, &end));
    EXPECT_EQ(end, 4u);
    EXPECT_FALSE(scanForFrameSync(layer2, false));
    EXPECT_TRUE(scanForFrameSync(layer2, true, &end));
    EXPECT_EQ(end, 4u);
}

TEST(FrameSyncScan, TopThreeBitsMustBeSet) {
    ByteVec notSync = {0xFF, 0xC2, 0, 0};
    EXPECT_FALSE(scanForFrameSync(notSync, false));
    EXPECT_FALSE(scanForFrameSync(notSync, true));
}

TEST(FrameSyncScan, FailingPairDoesNotEndTheScan) {
    ByteVec data = {0xFF, 0xFD, 0x00, 0x00, 0xFF, 0xE2, 0x00};
    size_t end = 0;
    EXPECT_TRUE(scanForFrameSync(data, false, &end));
    EXPECT_EQ(end, 6u);
}

TEST(FrameSyncScan, ScanStoppingOnAFailingPairAccepts) {
    // At the end of the file...
    ByteVec atEnd = {'A', 'B', 'C', 'D', 0xFF, 0xFC};
    EXPECT_TRUE(scanForFrameSync(atEnd, false));
    ByteVec oneMore = {'A', 'B', 'C', 'D', 0xFF, 0xFC, 0x00};
    EXPECT_FALSE(scanForFrameSync(oneMore, false));
    // ...and at the 8192-byte limit.
    ByteVec atLimit(9000, 0);
    atLimit[8190] = 0xFF;
    atLimit[8191] = 0xE0;
    EXPECT_TRUE(scanForFrameSync(atLimit, false));
    ByteVec beforeLimit(9000, 0);
    beforeLimit[8189] = 0xFF;
    beforeLimit[8190] = 0xE0;
    EXPECT_FALSE(scanForFrameSync(beforeLimit, false));
}

TEST(FrameSyncScan, OnlyTheFirst8192BytesAreScanned) {
    ByteVec inside(9000, 0);
    inside[8190] = 0xFF;
    inside[8191] = 0xFB;
    EXPECT_TRUE(scanForFrameSync(inside, false));
    ByteVec straddling(9000, 0);
    straddling[8191] = 0xFF;
    straddling[8192] = 0xFB;
    EXPECT_FALSE(scanForFrameSync(straddling, false));
    EXPECT_FALSE(scanForFrameSync(straddling, true));
}

TEST(FrameSyncScan, TinyInputs) {
    EXPECT_FALSE(scanForFrameSync(Bytes(), false));
    ByteVec one = {0xFF};
    EXPECT_FALSE(scanForFrameSync(one, true));
}

// ---------------------------------------------------------------- opening MP3 files

TEST_F(TrackOpen, UpperCaseExtensionOpensAsMp3) {
    std::string path = write("SONG.MP3", audio());
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str()), 1);
    EXPECT_TRUE(track.isMp3);
    EXPECT_TRUE(track.kindCheckPassed);
    EXPECT_EQ(track.path, path);
    EXPECT_TRUE(log.has("Opening ID3 track: " + path));
    EXPECT_EQ(track.mpeg.versionCode, VersionMpeg1);
    EXPECT_EQ(track.mpeg.frameCount, 20u);
}

TEST_F(TrackOpen, UnknownExtensionIsNotOpenedAndNothingIsLogged) {
    std::string path = write("song.mpeg", audio());
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str()), 0);
    EXPECT_FALSE(track.kindCheckPassed);
    EXPECT_EQ(track.path, "");
    EXPECT_EQ(log.text(), "");
}

TEST_F(TrackOpen, MissingFileIsReported) {
    std::string path = dir.file("missing.mp3");
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str()), 0);
    EXPECT_TRUE(log.has("Failed to open the file '" + path + "' for reading (error: " + errorText(ENOENT) + ")"));
}

TEST_F(TrackOpen, Id3StartIsAcceptedWithoutTheSyncScan) {
    // 9000 bytes of tag padding put the first frame beyond the scan's reach.
    ByteVec file = v2Tag("Long padding", 3, 9000);
    support::append(file, audio());
    std::string path = write("padded.mp3", file);
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str()), 1);
    EXPECT_FALSE(log.has("not a valid MP3"));
    EXPECT_TRUE(track.v2Found);
    EXPECT_TRUE(track.v2Present);
    ASSERT_TRUE(track.v2.title.has_value());
    EXPECT_EQ(track.v2.title->utf8(), "Long padding");
}

TEST_F(TrackOpen, LowerCaseId3PassesTheKindCheckOnly) {
    ByteVec file = {'i', 'd', '3', 3, 0, 0, 0, 0, 0, 0};
    file.resize(9000, 0);
    support::append(file, audio());
    std::string path = write("lower.mp3", file);
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str()), 1);
    EXPECT_TRUE(track.kindCheckPassed);
    // The tag itself needs "ID3" exactly.
    EXPECT_FALSE(track.v2Present);
    EXPECT_EQ(track.mpeg.audioStart, 9000u);
}

TEST_F(TrackOpen, FtypIsRefusedAsMp4) {
    ByteVec file = {0, 0, 0, 0x20, 'f', 't', 'y', 'p', 'M', '4', 'A', ' '};
    support::append(file, audio());
    for (const char* name : {"mp4.mp3", "mp4.tdf"}) {
        std::string path = write(name, file);
        LogCapture log;
        ID3Tag track;
        EXPECT_EQ(track.open(path.c_str()), 0);
        EXPECT_FALSE(track.kindCheckPassed);
        EXPECT_TRUE(log.has("File appears to be an MP4 not a valid MP3 file"));
    }
    file[4] = 'F';
    file[5] = 'T';
    std::string path = write("upper.mp3", file);
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str()), 0);
    EXPECT_TRUE(log.has("File appears to be an MP4 not a valid MP3 file"));
}

TEST_F(TrackOpen, Id3BeatsFtyp) {
    ByteVec file = v2Tag("x");
    std::copy_n("ftyp", 4, file.begin() + 4);  // bytes 4..7 of the header; the tag size goes wrong
    support::append(file, audio());
    std::string path = write("both.mp3", file);
    LogCapture log;
    ID3Tag track;
    track.open(path.c_str());
    EXPECT_TRUE(track.kindCheckPassed);
    EXPECT_FALSE(log.has("MP4"));
}

TEST_F(TrackOpen, SyncBeyond8192IsRefusedShowingTheFirstFourBytes) {
    ByteVec file = {'R', 'I', 'F', 'F'};
    file.resize(8200, 0);
    support::append(file, audio());
    std::string path = write("late.mp3", file);
    LogCapture log;
    ID3Tag track;
    track.v1.title = "kept";
    EXPECT_EQ(track.open(path.c_str()), 0);
    EXPECT_TRUE(log.has("File is not a valid MP3 file (0x52494646)"));
    EXPECT_FALSE(track.kindCheckPassed);
    // A refused file leaves the loaded state as it was.
    EXPECT_EQ(track.v1.title, "kept");
}

TEST_F(TrackOpen, SyncWithin8192IsAccepted) {
    ByteVec file = {'R', 'I', 'F', 'F'};
    file.resize(8000, 0);
    support::append(file, audio());
    std::string path = write("early.mp3", file);
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str()), 1);
    EXPECT_EQ(track.mpeg.audioStart, 8000u);
}

TEST_F(TrackOpen, EmptyAndTinyFilesAreRefused) {
    LogCapture log;
    ID3Tag track;
    std::string empty = write("empty.mp3", {});
    EXPECT_EQ(track.open(empty.c_str()), 0);
    EXPECT_TRUE(log.has("File is not a valid MP3 file (0x00000000)"));
    std::string two = write("two.mp3", {0x41, 0x42});
    EXPECT_EQ(track.open(two.c_str()), 0);
    EXPECT_TRUE(log.has("File is not a valid MP3 file (0x41420000)"));
}

TEST_F(TrackOpen, LayerTwoStreamIsNotAnMp3ButIsATagDataFile) {
    FrameSpec layer2;
    layer2.layer = 2;
    layer2.filler = 0x11;
    ByteVec file = {'a', 'b', 'c', 'd'};
    support::append(file, audio(30, layer2));
    ID3Tag mp3;
    LogCapture log;
    EXPECT_EQ(mp3.open(write("layer2.mp3", file).c_str()), 0);
    EXPECT_TRUE(log.has("File is not a valid MP3 file (0x61626364)"));
    ID3Tag tdf;
    EXPECT_EQ(tdf.open(write("layer2.tdf", file).c_str()), 0);
    EXPECT_TRUE(tdf.kindCheckPassed);
}

TEST_F(TrackOpen, V1IsLoadedForMp3) {
    ByteVec file = audio();
    support::append(file, v1Record("Old song", 0, 255));
    std::string path = write("v1.mp3", file);
    ID3Tag track;
    ASSERT_EQ(track.open(path.c_str()), 1);
    EXPECT_TRUE(track.v1Found);
    EXPECT_TRUE(track.v1.enabled);
    EXPECT_EQ(track.v1.title, "Old song");
    EXPECT_EQ(track.v1.genre, 12);   // 255 reads as Other
    EXPECT_EQ(track.v1.track, 255);  // 0 reads as no track
    EXPECT_EQ(track.tagVersionText, "V1");
    EXPECT_FALSE(track.v2Found);
}

TEST_F(TrackOpen, BothTagsGiveTheCombinedLabel) {
    ByteVec file = v2Tag("New song", 4);
    support::append(file, audio());
    support::append(file, v1Record("Old song", 9, 17));
    std::string path = write("both.mp3", file);
    ID3Tag track;
    ASSERT_EQ(track.open(path.c_str()), 1);
    EXPECT_EQ(track.tagVersionText, "V1 and V2.4");
    EXPECT_EQ(track.v2Minor, 4);
    EXPECT_EQ(track.v1.track, 9);
    EXPECT_EQ(track.v1.genre, 17);
    EXPECT_EQ(track.v2.title->utf8(), "New song");
}

TEST_F(TrackOpen, UnsupportedVersionIsLabelled) {
    ByteVec file = v2Tag("Future", 5);
    support::append(file, audio());
    std::string path = write("future.mp3", file);
    ID3Tag track;
    ASSERT_EQ(track.open(path.c_str()), 1);
    EXPECT_EQ(track.v2Minor, 5);
    EXPECT_EQ(track.tagVersionText, "V2.5 (unsupported)");
}

TEST_F(TrackOpen, SummaryBeginsAfterTheTag) {
    // The tag's text holds a frame header of a 64 kbit/s frame; the audio is 128 kbit/s.
    FrameSpec fake;
    fake.bitrateKbps = 64;
    uint32_t word = support::headerWord(fake);
    std::string text = "xx";
    for (int shift : {24, 16, 8, 0}) text += char(uint8_t(word >> shift));
    text += std::string(400, 'y');
    ByteVec tag = v2Tag(text);
    ByteVec file = tag;
    support::append(file, audio(12));
    std::string path = write("fake.mp3", file);
    ID3Tag track;
    ASSERT_EQ(track.open(path.c_str()), 1);
    EXPECT_EQ(track.mpeg.audioStart, tag.size());
    EXPECT_EQ(track.mpeg.averageBitrate, 128u);
    EXPECT_EQ(track.mpeg.frameCount, 12u);
}

TEST_F(TrackOpen, TagClaimingMoreThanTheFileHolds) {
    support::V2TagSpec spec;
    spec.frames.push_back(titleFrame("Cut short"));
    spec.sizeOverride = 0x0FFFFFFF;  // about 256 MB
    ByteVec file = support::buildV2Tag(spec);
    std::string path = write("huge.mp3", file);
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str()), 0);  // nothing after the tag: no audio
    EXPECT_TRUE(track.kindCheckPassed);
    EXPECT_TRUE(track.v2Present);
    EXPECT_TRUE(track.v2Found);
    ASSERT_TRUE(track.v2.title.has_value());
    EXPECT_EQ(track.v2.title->utf8(), "Cut short");
}

TEST_F(TrackOpen, SizeAndFrequency) {
    FrameSpec mpeg2;
    mpeg2.version = 2;
    mpeg2.bitrateKbps = 64;
    mpeg2.sampleRateIndex = 1;
    ByteVec file = audio(30, mpeg2);
    std::string path = write("mpeg2.mp3", file);
    ID3Tag track;
    ASSERT_EQ(track.open(path.c_str()), 1);
    EXPECT_EQ(track.fileSize, file.size());
    EXPECT_EQ(track.sizeText, sizeText(static_cast<long long>(file.size())));
    EXPECT_FLOAT_EQ(track.frequencyHz(), 24000.0f);
    EXPECT_FLOAT_EQ(track.frequencyKHz(), 24.0f);
}

TEST_F(TrackOpen, ScanModeIsHandedToTheSummary) {
    std::string path = write("long.mp3", audio(1200));
    ID3Tag full, probe;
    probe.scanMode = ScanMode::Probe;
    ASSERT_EQ(full.open(path.c_str()), 1);
    ASSERT_EQ(probe.open(path.c_str()), 1);
    EXPECT_FALSE(full.mpeg.estimated);
    EXPECT_TRUE(probe.mpeg.estimated);
}

TEST_F(TrackOpen, ProgressStepsInOrder) {
    ByteVec file = v2Tag("p");
    support::append(file, audio());
    support::append(file, v1Record("p"));
    std::string path = write("progress.mp3", file);
    std::vector<std::pair<std::string, int>> calls;
    ProgressCallback progress = [&](const char* message, int percent) { calls.emplace_back(message, percent); };
    ID3Tag track;
    ASSERT_EQ(track.open(path.c_str(), &progress), 1);
    std::vector<std::pair<std::string, int>> ours;
    for (auto& call : calls)
        if (call.first.rfind("Loading " + path, 0) != 0 || call.second != 100) ours.push_back(call);
    std::vector<std::pair<std::string, int>> expected = {
        {"Starting...", 0}, {"Loading V1...", 20}, {"Loading V2...", 40}, {"Parsing...", 70}, {"Finished", 90}};
    EXPECT_EQ(ours, expected);
}

TEST_F(TrackOpen, WriteCheckOnlyWhenAsked) {
    std::string path = write("rw.mp3", audio());
    ID3Tag track;
    track.writable = false;
    ASSERT_EQ(track.open(path.c_str(), nullptr, true), 1);
    EXPECT_TRUE(track.writable);
    if (geteuid() != 0) {
        chmod(path.c_str(), 0444);
        ID3Tag readOnly;
        ASSERT_EQ(readOnly.open(path.c_str(), nullptr, true), 1);
        EXPECT_FALSE(readOnly.writable);
        ID3Tag unchecked;
        ASSERT_EQ(unchecked.open(path.c_str()), 1);
        EXPECT_TRUE(unchecked.writable);
    }
}

TEST_F(TrackOpen, ReopeningClearsTheLoadedState) {
    ByteVec first = v2Tag("first");
    support::append(first, audio());
    support::append(first, v1Record("first"));
    std::string a = write("a.mp3", first);
    std::string b = write("b.mp3", audio(5));
    ID3Tag track;
    ASSERT_EQ(track.open(a.c_str()), 1);
    ASSERT_TRUE(track.v1Found && track.v2Found);
    ASSERT_EQ(track.open(b.c_str()), 1);
    EXPECT_FALSE(track.v1Found);
    EXPECT_FALSE(track.v2Found);
    EXPECT_FALSE(track.v2.title.has_value());
    EXPECT_EQ(track.v1.title, "");
    EXPECT_EQ(track.v1.genre, 255);
    EXPECT_EQ(track.tagVersionText, "");
    EXPECT_EQ(track.mpeg.frameCount, 5u);
    EXPECT_EQ(track.path, b);
}

TEST(TrackReset, SettingsBackToTheirDefaults) {
    ID3Tag track;
    track.ignoreAiffCorruption = false;
    track.writable = false;
    track.v2TextConversion = false;
    track.chunkAfterSound = false;
    track.spareFlag = true;
    track.isMp3 = true;
    track.path = "x.mp3";
    track.v1Found = true;
    track.v1.track = 3;
    track.v1.genre = 4;
    track.v1.title = "t";
    track.mpeg.frameCount = 9;
    track.reset();
    EXPECT_TRUE(track.ignoreAiffCorruption);
    EXPECT_TRUE(track.writable);
    EXPECT_TRUE(track.v2TextConversion);
    EXPECT_TRUE(track.chunkAfterSound);
    EXPECT_FALSE(track.spareFlag);
    EXPECT_FALSE(track.isMp3);
    EXPECT_EQ(track.path, "");
    EXPECT_FALSE(track.v1Found);
    EXPECT_EQ(track.v1.track, 255);
    EXPECT_EQ(track.v1.genre, 255);
    EXPECT_EQ(track.v1.title, "");
    EXPECT_EQ(track.mpeg.frameCount, 0u);
}

// ---------------------------------------------------------------- tag data files

TEST_F(TrackOpen, TagDataFileGetsNoV1AndNoSummary) {
    ByteVec file = v2Tag("Exported");
    support::append(file, v1Record("Exported v1"));
    std::string path = write("export.tdf", file);
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str()), 0);
    EXPECT_TRUE(track.kindCheckPassed);
    EXPECT_TRUE(track.isTagDataFile);
    EXPECT_FALSE(track.v1Found);
    EXPECT_EQ(track.v1.title, "");
    EXPECT_TRUE(track.v2Found);
    EXPECT_EQ(track.v2.title->utf8(), "Exported");
    EXPECT_EQ(track.mpeg.versionCode, VersionUnknown);
    EXPECT_EQ(track.tagVersionText, "V2.3");
    EXPECT_EQ(track.sizeText, sizeText(static_cast<long long>(file.size())));
    EXPECT_FALSE(log.has("Failed"));
}

TEST_F(TrackOpen, TagDataFileWithAudioStillGetsNoSummary) {
    ByteVec file = v2Tag("x");
    support::append(file, audio());
    ID3Tag track;
    EXPECT_EQ(track.open(write("audio.tdf", file).c_str()), 0);
    EXPECT_EQ(track.mpeg.frameCount, 0u);
    EXPECT_FLOAT_EQ(track.frequencyHz(), 0.0f);
}

// ---------------------------------------------------------------- the corpus

bool hasSuffix(const std::string& name, std::string_view suffix) {
    return name.size() >= suffix.size() && equalsNoCase(std::string_view(name).substr(name.size() - suffix.size()), suffix);
}

void listFiles(const std::string& folder, std::vector<std::string>& out) {
    DIR* dir = opendir(folder.c_str());
    if (!dir) return;
    while (dirent* entry = readdir(dir)) {
        std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        std::string path = folder + "/" + name;
        struct stat info {};
        if (stat(path.c_str(), &info) != 0) continue;
        if (S_ISDIR(info.st_mode)) listFiles(path, out);
        else out.push_back(path);
    }
    closedir(dir);
}

TEST_F(TrackOpen, EveryCorpusSampleOpensWithoutHarm) {
    std::string root = support::corpusFile("");
    if (root.empty()) GTEST_SKIP() << "corpus folder absent";
    std::vector<std::string> files;
    listFiles(root, files);
    ASSERT_FALSE(files.empty());
    LogCapture log(1);
    int opened = 0, tried = 0;
    for (const std::string& source : files) {
        std::vector<std::string> names;
        if (hasSuffix(source, ".mp3") || hasSuffix(source, ".mp2")) names = {"sample.mp3", "sample.tdf"};
        else if (hasSuffix(source, ".id3") || hasSuffix(source, ".tag")) names = {"sample.mp3", "sample.tdf"};
        else if (hasSuffix(source, ".aif") || hasSuffix(source, ".aiff") || hasSuffix(source, ".aifc"))
            names = {"sample.aif"};
        ByteVec bytes = support::readFile(source);
        for (const std::string& name : names) {
            std::string path = write(name, bytes);
            ID3Tag track;
            int result = track.open(path.c_str());
            ++tried;
            EXPECT_TRUE(result == 0 || result == 1) << source;
            if (result == 1) ++opened;
            if (track.kindCheckPassed) {
                EXPECT_EQ(track.fileSize, bytes.size()) << source;
                EXPECT_LE(track.mpeg.audioStart, bytes.size()) << source;
            }
            if (result == 1 && track.isMp3) {
                EXPECT_GT(track.mpeg.frameCount, 0u) << source;
            }
        }
    }
    EXPECT_GT(tried, 100);
    EXPECT_GT(opened, 50);
}

class CorpusTrack : public TrackOpen {
protected:
    // Opens a corpus sample copied under `name`; false (test skipped) when the corpus is absent.
    bool openSample(std::string_view relative, std::string_view name, ID3Tag& track, int* result = nullptr) {
        std::string source = support::corpusFile(relative);
        if (source.empty()) return false;
        std::string path = write(name, support::readFile(source));
        int r = track.open(path.c_str());
        if (result) *result = r;
        return true;
    }
};

TEST_F(CorpusTrack, Mp3agicV1AndV23) {
    ID3Tag track;
    int result = 0;
    if (!openSample("mp3agic/v1andv23tags.mp3", "t.mp3", track, &result)) GTEST_SKIP();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(track.v1.track, 1);
    EXPECT_EQ(track.v1.artist, "ARTIST123456789012345678901234");
    EXPECT_EQ(track.v1.title, "TITLE1234567890123456789012345");
    EXPECT_EQ(track.v1.album, "ALBUM1234567890123456789012345");
    EXPECT_EQ(track.v1.year, "2001");
    EXPECT_EQ(track.v1.genre, 13);
    EXPECT_EQ(track.v1.comment, "COMMENT123456789012345678901");
    EXPECT_EQ(track.tagVersionText, "V1 and V2.3");
    // The source puts the audio after the Xing frame (0x5EC); the summary counts the Xing
    // frame, which follows the tag at 0x44B, as the first frame.
    EXPECT_EQ(track.mpeg.audioStart, 0x44Bu);
    EXPECT_FLOAT_EQ(track.frequencyHz(), 44100.0f);
}

TEST_F(CorpusTrack, Mp3agicV1WithoutTrack) {
    ID3Tag track;
    if (!openSample("mp3agic/v1tagwithnotrack.mp3", "t.mp3", track)) GTEST_SKIP();
    EXPECT_TRUE(track.v1Found);
    EXPECT_EQ(track.v1.track, 255);
    EXPECT_EQ(track.v1.title, "TITLE1234567890123456789012345");
}

TEST_F(CorpusTrack, MutagenV1Only) {
    ID3Tag track;
    if (!openSample("mutagen/silence-44-s-v1.mp3", "t.mp3", track)) GTEST_SKIP();
    EXPECT_EQ(track.v1.title, "Silence");
    EXPECT_EQ(track.v1.artist, "piman");
    EXPECT_EQ(track.v1.album, "Quod Libet Test Data");
    EXPECT_EQ(track.v1.year, "2004");
    EXPECT_EQ(track.v1.track, 2);
    EXPECT_EQ(track.v1.genre, 50);
    EXPECT_EQ(track.tagVersionText, "V1");
    EXPECT_FALSE(track.v2Found);
}

TEST_F(CorpusTrack, MutagenBothVersions) {
    ID3Tag track;
    if (!openSample("mutagen/id3v1v2-combined.mp3", "t.mp3", track)) GTEST_SKIP();
    EXPECT_EQ(track.v1.title, "cosmic american");
    EXPECT_EQ(track.v1.album, "Hymns for the Exiled");
    EXPECT_EQ(track.v1.year, "1337");
    EXPECT_EQ(track.v1.track, 3);
    EXPECT_EQ(track.tagVersionText, "V1 and V2.4");
}

TEST_F(CorpusTrack, TinytagMpeg2WithV1) {
    ID3Tag track;
    if (!openSample("tinytag/mpeg2_id3v1.mp3", "t.mp3", track)) GTEST_SKIP();
    EXPECT_EQ(track.v1.title, "some title");
    EXPECT_EQ(track.v1.genre, 12);  // stored as 255
    EXPECT_FLOAT_EQ(track.frequencyHz(), 24000.0f);
}

TEST_F(CorpusTrack, BareV1RecordReadDirectly) {
    std::string source = support::corpusFile("rust-id3/id3v1.id3");
    if (source.empty()) GTEST_SKIP();
    ByteVec bytes = support::readFile(source);
    ID3Tag track;
    ASSERT_TRUE(readV1(track, bytes));
    EXPECT_EQ(track.v1.title, "Title");
    EXPECT_EQ(track.v1.artist, "Artist");
    EXPECT_EQ(track.v1.album, "Album");
    EXPECT_EQ(track.v1.year, "2017");
    EXPECT_EQ(track.v1.comment, "Comment");
    EXPECT_EQ(track.v1.track, 1);
    EXPECT_EQ(track.v1.genre, 31);
}

TEST_F(CorpusTrack, TextFileNamedMp3IsRefused) {
    ID3Tag track;
    LogCapture log;
    int result = 1;
    if (!openSample("mp3agic/notanmp3.mp3", "t.mp3", track, &result)) GTEST_SKIP();
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(log.has("File is not a valid MP3 file (0x54484953)"));  // "THIS"
}

TEST_F(CorpusTrack, WholeTagUnsynchronisationStillCountsAsATag) {
    ID3Tag track;
    if (!openSample("taglib/unsynch.id3", "t.mp3", track)) GTEST_SKIP();
    EXPECT_TRUE(track.v2Present);
    EXPECT_TRUE(track.v2Found);
    EXPECT_FALSE(track.v2.title.has_value());
    EXPECT_EQ(track.tagVersionText, "V2.3");
}

}  // namespace
}  // namespace tagwick
