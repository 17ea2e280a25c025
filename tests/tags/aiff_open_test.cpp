// Opening AIFF tracks: the form header and its size check, the chunk walk (odd sizes, the
// COMM chunk, the "ID3 " chunk that ends the walk), the sound summary, and the corpus samples.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "base/logger.h"
#include "base/text.h"
#include "support/cli_runner.h"
#include "support/tag_builders.h"
#include "tags/aiff_chunks.h"
#include "tags/id3_tag.h"

namespace tagwick {
namespace {

using support::AiffChunk;
using support::AiffSpec;
using support::ByteVec;

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

AiffChunk chunk(std::string id, ByteVec body, bool padOdd = true) {
    AiffChunk c;
    c.id = std::move(id);
    c.body = std::move(body);
    c.padOdd = padOdd;
    return c;
}

AiffChunk comm(uint16_t channels = 2, uint32_t frames = 1000, double rate = 44100) {
    return chunk("COMM", support::commBody(channels, frames, 16, rate));
}

ByteVec titleTag(std::string_view title) {
    support::V2TagSpec spec;
    support::V2Frame frame;
    frame.id = "TIT2";
    frame.payload = support::latin1Payload(title);
    spec.frames.push_back(frame);
    return support::buildV2Tag(spec);
}

class AiffOpen : public testing::Test {
protected:
    std::string write(const ByteVec& bytes, std::string_view name = "track.aif") {
        std::string path = dir.file(name);
        support::writeFile(path, bytes);
        return path;
    }
    support::TempDir dir;
};

// ---------------------------------------------------------------- the form header

TEST_F(AiffOpen, PlainAiffOpens) {
    ByteVec file = support::simpleAiff(44100, 44100);
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(write(file).c_str()), 1);
    EXPECT_TRUE(track.isAiff);
    EXPECT_TRUE(log.has("AIFF header found"));
    EXPECT_FALSE(log.has("Compressed"));
    EXPECT_FALSE(log.has("consistent"));
    EXPECT_EQ(track.aiff.channels, 2);
    EXPECT_EQ(track.aiff.sampleFrames, 44100u);
    EXPECT_EQ(track.aiff.sampleSize, 16u);
    EXPECT_EQ(track.aiff.sampleRate, 44100u);
    EXPECT_EQ(track.mpeg.versionCode, VersionAiff);
    EXPECT_EQ(track.mpeg.frameCount, 44100u);
    EXPECT_EQ(track.mpeg.lengthSeconds, 1u);
    EXPECT_FLOAT_EQ(track.frequencyHz(), 44100.0f);
    EXPECT_FLOAT_EQ(track.frequencyKHz(), 44.1f);
    EXPECT_EQ(track.fileSize, file.size());
    EXPECT_EQ(track.sizeText, sizeText(static_cast<long long>(file.size())));
    EXPECT_FALSE(track.v2Present);
    EXPECT_EQ(track.tagVersionText, "");
}

TEST_F(AiffOpen, FormSizeMismatchIsOverlookedWhenIgnoring) {
    AiffSpec spec;
    spec.chunks = {comm(), chunk("SSND", support::ssndBody(100))};
    spec.formSizeOverride = 5000;
    ByteVec file = support::buildAiff(spec);
    LogCapture log;
    ID3Tag track;
    ASSERT_TRUE(track.ignoreAiffCorruption);
    EXPECT_EQ(track.open(write(file).c_str()), 1);
    std::string expected = format("Size in header is not consistent with file size (5000 <> %zu - 8) (ignoring...)\n",
                                  file.size());
    EXPECT_TRUE(log.has(expected)) << log.text();
    EXPECT_EQ(track.aiff.sampleRate, 44100u);
}

TEST_F(AiffOpen, FormSizeMismatchRefusesWhenNotIgnoring) {
    AiffSpec spec;
    spec.chunks = {comm(), chunk("SSND", support::ssndBody(100))};
    spec.trailing = {1, 2, 3, 4};  // bytes after the form
    ByteVec file = support::buildAiff(spec);
    LogCapture log;
    ID3Tag track;
    track.ignoreAiffCorruption = false;
    EXPECT_EQ(track.open(write(file).c_str()), 0);
    std::string expected = format("Size in header is not consistent with file size (%zu <> %zu - 8)\n",
                                  file.size() - 12, file.size());
    EXPECT_TRUE(log.has(expected)) << log.text();
    EXPECT_FALSE(log.has("AIFF header found"));
    EXPECT_EQ(track.mpeg.versionCode, VersionUnknown);
}

TEST_F(AiffOpen, ConsistentFormSizeIsSilentEvenWhenNotIgnoring) {
    LogCapture log;
    ID3Tag track;
    track.ignoreAiffCorruption = false;
    EXPECT_EQ(track.open(write(support::simpleAiff(10, 8000)).c_str()), 1);
    EXPECT_FALSE(log.has("consistent"));
}

TEST_F(AiffOpen, NotAFormIsRefusedWithItsFirstBytes) {
    ByteVec file = support::simpleAiff(10, 8000);
    std::copy_n("RIFF", 4, file.begin());
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(write(file).c_str()), 0);
    EXPECT_TRUE(log.has("File is not a valid AIFF file (0x52494646)"));
    EXPECT_FALSE(track.kindCheckPassed);
}

TEST_F(AiffOpen, IdTagAtTheStartIsNotAnAiff) {
    ByteVec file = titleTag("x");
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(write(file).c_str()), 0);
    EXPECT_TRUE(log.has("File is not a valid AIFF file (0x49443303)"));
}

TEST_F(AiffOpen, LowerCaseFormIsAccepted) {
    AiffSpec spec;
    spec.formId = "form";
    spec.chunks = {comm()};
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 1);
}

TEST_F(AiffOpen, AifcIsReportedAsCompressed) {
    for (const char* type : {"AIFC", "aifc"}) {
        AiffSpec spec;
        spec.formType = type;
        spec.chunks = {chunk("COMM", support::commBody(1, 50, 16, 8000, "ulaw")), chunk("SSND", support::ssndBody(100))};
        LogCapture log;
        ID3Tag track;
        EXPECT_EQ(track.open(write(support::buildAiff(spec), "c.aifc").c_str()), 1) << type;
        EXPECT_TRUE(log.has("Compressed AIFF header found")) << type;
        EXPECT_EQ(track.aiff.sampleRate, 8000u);
        EXPECT_EQ(track.mpeg.channelMode, ChannelMono);
    }
}

TEST_F(AiffOpen, UnknownFormTypeSkipsTheWalk) {
    AiffSpec spec;
    spec.formType = "WAVE";
    spec.chunks = {comm()};
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 0);
    EXPECT_TRUE(track.kindCheckPassed);
    EXPECT_FALSE(log.has("AIFF header found"));
    EXPECT_EQ(track.aiff.sampleRate, 0u);
}

TEST_F(AiffOpen, UnknownFormTypeLooksForATagRightAfterTheHeader) {
    // Without the walk the tag is looked for where the stream stands: after the form type.
    ByteVec file = {'F', 'O', 'R', 'M', 0, 0, 0, 0, 'A', 'I', 'F', 'X'};
    ByteVec tag = titleTag("Straight after");
    file.insert(file.end(), tag.begin(), tag.end());
    file[7] = uint8_t(file.size() - 8);
    ID3Tag track;
    EXPECT_EQ(track.open(write(file).c_str()), 0);
    EXPECT_TRUE(track.v2Found);
    ASSERT_TRUE(track.v2.title.has_value());
    EXPECT_EQ(track.v2.title->utf8(), "Straight after");
}

// ---------------------------------------------------------------- the chunk walk

TEST_F(AiffOpen, OddChunkSizeIsRoundedUp) {
    AiffSpec spec;
    spec.chunks = {chunk("ANNO", {'o', 'd', 'd', '!', '!'}), comm(1, 77, 22050)};
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 1);
    EXPECT_EQ(track.aiff.sampleFrames, 77u);
    EXPECT_EQ(track.aiff.sampleRate, 22050u);
}

TEST_F(AiffOpen, OddChunkWithoutPadByteMisleadsTheWalk) {
    AiffSpec spec;
    spec.chunks = {chunk("ANNO", {'o', 'd', 'd', '!', '!'}, false), comm(1, 77, 22050)};
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 0);
    EXPECT_EQ(track.aiff.sampleRate, 0u);
}

TEST_F(AiffOpen, CommOf16BytesIsNotRead) {
    ByteVec body = support::commBody(2, 100, 16, 44100);
    body.resize(16);
    AiffSpec spec;
    spec.chunks = {chunk("COMM", body)};
    AiffWalk walk = walkAiffChunks(support::buildAiff(spec), AiffFormHeaderSize);
    EXPECT_FALSE(walk.commFound);
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 0);
    EXPECT_EQ(track.aiff.channels, 0);
}

TEST_F(AiffOpen, CommOf17BytesIsReadOnceRoundedUp) {
    // The size is rounded up before it is compared with 17, so 18 bytes are read: the
    // 80-bit rate takes the pad byte as its last byte.
    ByteVec body = support::commBody(2, 100, 16, 44100);
    body.resize(17);
    AiffSpec spec;
    spec.chunks = {chunk("COMM", body)};
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 1);
    EXPECT_EQ(track.aiff.channels, 2);
    EXPECT_EQ(track.aiff.sampleFrames, 100u);
    EXPECT_EQ(track.aiff.sampleRate, 44100u);  // the dropped byte was zero
}

TEST_F(AiffOpen, LongerCommSkipsItsRest) {
    ByteVec body = support::commBody(2, 100, 16, 44100, "NONE");
    body.push_back(0x55);  // odd: 25 bytes, padded
    AiffSpec spec;
    spec.chunks = {chunk("COMM", body), chunk("ID3 ", titleTag("after comm"))};
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 1);
    EXPECT_EQ(track.aiff.sampleFrames, 100u);
    ASSERT_TRUE(track.v2.title.has_value());
    EXPECT_EQ(track.v2.title->utf8(), "after comm");
}

TEST_F(AiffOpen, LaterCommReplacesAnEarlierOne) {
    AiffSpec spec;
    spec.chunks = {comm(2, 10, 8000), comm(1, 20, 11025)};
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 1);
    EXPECT_EQ(track.aiff.sampleFrames, 20u);
    EXPECT_EQ(track.aiff.sampleRate, 11025u);
}

TEST_F(AiffOpen, Id3ChunkAfterTheSoundIsLoaded) {
    ByteVec tag = titleTag("Chunk title");
    ByteVec file = support::simpleAiff(100, 48000, tag);
    ID3Tag track;
    ASSERT_EQ(track.open(write(file).c_str()), 1);
    EXPECT_TRUE(track.v2Present);
    EXPECT_TRUE(track.v2Found);
    EXPECT_EQ(track.v2.title->utf8(), "Chunk title");
    size_t padded = tag.size() + tag.size() % 2;
    EXPECT_EQ(track.aiffTagSize, padded);
    EXPECT_EQ(track.aiffTagOffset, file.size() - padded);
    EXPECT_EQ(track.tagVersionText, "V2.3");
    EXPECT_EQ(track.v2Minor, 3);
    EXPECT_FLOAT_EQ(track.frequencyHz(), 48000.0f);
}

TEST_F(AiffOpen, Id3ChunkEndsTheWalk) {
    AiffSpec spec;
    spec.chunks = {chunk("ID3 ", titleTag("first")), comm()};
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 0);  // COMM never reached
    EXPECT_EQ(track.v2.title->utf8(), "first");
    EXPECT_EQ(track.aiff.sampleRate, 0u);
    EXPECT_EQ(track.tagVersionText, "V2.3");
}

TEST_F(AiffOpen, FirstOfTwoId3ChunksWinsAndCaseIsIgnored) {
    AiffSpec spec;
    spec.chunks = {comm(), chunk("id3 ", titleTag("lower")), chunk("ID3 ", titleTag("upper"))};
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 1);
    EXPECT_EQ(track.v2.title->utf8(), "lower");
}

TEST_F(AiffOpen, OddId3ChunkSizeIsRecordedRoundedUp) {
    support::V2TagSpec tagSpec;
    tagSpec.padding = 3;
    ByteVec tag = support::buildV2Tag(tagSpec);  // 13 bytes
    ASSERT_EQ(tag.size() % 2, 1u);
    AiffSpec spec;
    spec.chunks = {comm(), chunk("ID3 ", tag)};
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 1);
    EXPECT_EQ(track.aiffTagSize, tag.size() + 1);
}

TEST_F(AiffOpen, ChunkClaimingMoreThanTheFileEndsTheWalk) {
    AiffSpec spec;
    AiffChunk huge = chunk("JUNK", ByteVec(10, 0));
    huge.sizeOverride = 0xFFFFFFFF;
    spec.chunks = {huge, comm()};
    ByteVec file = support::buildAiff(spec);
    AiffWalk walk = walkAiffChunks(file, AiffFormHeaderSize);
    EXPECT_FALSE(walk.commFound);
    EXPECT_FALSE(walk.id3Found);
    EXPECT_EQ(walk.position, file.size());
    ID3Tag track;
    EXPECT_EQ(track.open(write(file).c_str()), 0);
}

TEST_F(AiffOpen, CommCutByTheEndOfTheFile) {
    AiffSpec spec;
    spec.chunks = {comm(2, 500, 44100)};
    ByteVec file = support::buildAiff(spec);
    file.resize(file.size() - 6);  // half the sample rate is missing
    ID3Tag track;
    EXPECT_EQ(track.open(write(file).c_str()), 0);
    EXPECT_EQ(track.aiff.channels, 2);
    EXPECT_EQ(track.aiff.sampleFrames, 500u);
    EXPECT_EQ(track.aiff.sampleRate, 0u);
}

TEST(AiffWalk, ChunkHeaderCutShortEndsTheWalk) {
    ByteVec file = support::buildAiff(AiffSpec{});
    for (size_t extra : {1u, 4u, 6u}) {
        ByteVec cut = file;
        ByteVec tail = {'C', 'O', 'M', 'M', 0, 0};
        cut.insert(cut.end(), tail.begin(), tail.begin() + long(extra));
        AiffWalk walk = walkAiffChunks(cut, AiffFormHeaderSize);
        EXPECT_EQ(walk.position, cut.size());
        EXPECT_EQ(walk.chunkCount, 0u);
    }
}

TEST(AiffWalk, ZeroSizeChunksStillAdvance) {
    AiffSpec spec;
    for (int i = 0; i < 50; ++i) spec.chunks.push_back(chunk("NONE", {}));
    spec.chunks.push_back(comm(1, 3, 8000));
    AiffWalk walk = walkAiffChunks(support::buildAiff(spec), AiffFormHeaderSize);
    EXPECT_EQ(walk.chunkCount, 51u);
    EXPECT_TRUE(walk.commFound);
    EXPECT_EQ(walk.common.sampleRate, 8000u);
}

TEST(AiffForm, HeaderFields) {
    AiffSpec spec;
    spec.formType = "AIFc";
    spec.formSizeOverride = 0x01020304;
    AiffForm form = readAiffForm(support::buildAiff(spec));
    EXPECT_EQ(form.formSize, 0x01020304u);
    EXPECT_TRUE(form.known);
    EXPECT_TRUE(form.compressed);  // the fourth character is made upper case first
    spec.formType = "AIFX";
    form = readAiffForm(support::buildAiff(spec));
    EXPECT_FALSE(form.known);
    EXPECT_FALSE(form.compressed);
    spec.formType = "AIFF";
    form = readAiffForm(support::buildAiff(spec));
    EXPECT_TRUE(form.known);
    EXPECT_FALSE(form.compressed);
}

TEST(AiffForm, ShortHeader) {
    ByteVec file = {'F', 'O', 'R', 'M', 0, 0};
    AiffForm form = readAiffForm(file);
    EXPECT_EQ(form.formSize, 0u);
    EXPECT_FALSE(form.known);
}

TEST_F(AiffOpen, AiffGetsNoVersionOneTag) {
    AiffSpec spec;
    spec.chunks = {comm()};
    spec.trailing = support::buildV1(support::V1Spec{"v1 title", "", "", "", "", 1, 2});
    std::vector<std::string> messages;
    ProgressCallback progress = [&](const char* message, int) { messages.emplace_back(message); };
    ID3Tag track;
    EXPECT_EQ(track.open(write(support::buildAiff(spec)).c_str(), &progress), 1);
    EXPECT_FALSE(track.v1Found);
    EXPECT_EQ(track.v1.title, "");
    std::vector<std::string> expected = {"Starting...", "Parsing...", "Finished"};
    EXPECT_EQ(messages, expected);
}

TEST_F(AiffOpen, ChannelModeAndLength) {
    struct Case {
        uint16_t channels;
        uint32_t frames;
        uint8_t mode;
        uint64_t seconds;
    };
    for (const Case& c : {Case{1, 44101, ChannelMono, 1}, Case{4, 44105, ChannelMulti, 2}}) {
        AiffSpec spec;
        spec.chunks = {comm(c.channels, c.frames, 44100)};
        ID3Tag track;
        ASSERT_EQ(track.open(write(support::buildAiff(spec)).c_str()), 1);
        EXPECT_EQ(track.mpeg.channelMode, c.mode);
        EXPECT_EQ(track.mpeg.lengthSeconds, c.seconds);
        EXPECT_EQ(track.mpeg.averageBitrate, 16u * c.channels * 44100u / 1000u);
    }
}

// ---------------------------------------------------------------- the corpus

// -1 (or 0 for the rate and the chunk offset): not stated by MANIFEST.md, not checked.
struct AiffFact {
    const char* name;
    const char* file;
    int result;
    int channels;
    long long frames;
    uint32_t rate;
    int bits;
    bool id3;
    uint32_t id3Chunk;    // offset of the "ID3 " chunk as measured (its data follows 8 bytes later)
    bool sizeWarning;
};

class CorpusAiff : public testing::TestWithParam<AiffFact> {};

TEST_P(CorpusAiff, FactsAgree) {
    const AiffFact& f = GetParam();
    std::string source = support::corpusFile(f.file);
    if (source.empty()) GTEST_SKIP() << "corpus folder absent";
    support::TempDir dir;
    std::string path = dir.file("sample.aif");
    support::writeFile(path, support::readFile(source));
    LogCapture log;
    ID3Tag track;
    EXPECT_EQ(track.open(path.c_str()), f.result);
    EXPECT_TRUE(track.kindCheckPassed);
    if (f.channels >= 0) {
        EXPECT_EQ(track.aiff.channels, f.channels);
    }
    if (f.frames >= 0) {
        EXPECT_EQ(track.aiff.sampleFrames, uint32_t(f.frames));
    }
    if (f.rate != 0) {
        EXPECT_EQ(track.aiff.sampleRate, f.rate);
    }
    if (f.bits >= 0) {
        EXPECT_EQ(track.aiff.sampleSize, uint32_t(f.bits));
    }
    EXPECT_EQ(track.v2Present, f.id3);
    if (f.id3 && f.id3Chunk != 0) {
        EXPECT_EQ(track.aiffTagOffset, f.id3Chunk + 8);
    }
    EXPECT_EQ(log.has("Size in header is not consistent with file size"), f.sizeWarning);
}

// Facts from MANIFEST.md. Where the program's own rules give another reading, the row says so.
INSTANTIATE_TEST_SUITE_P(
    AiffOpen, CorpusAiff,
    testing::Values(
        AiffFact{"TaglibEmpty", "taglib/empty.aiff", 1, 1, 2941, 44100, 16, false, 0, false},
        AiffFact{"TaglibAlaw", "taglib/alaw.aifc", 1, 1, 1622, 44100, 16, false, 0, false},
        AiffFact{"TaglibDuplicate", "taglib/duplicate_id3v2.aiff", 1, -1, -1, 0, -1, true, 5936, false},
        // The pad byte of the last chunk lies outside the form: the file is one byte longer.
        AiffFact{"TaglibNoise", "taglib/noise.aif", 1, 1, 101, 0, 24, false, 0, true},
        AiffFact{"TaglibNoiseOdd", "taglib/noise_odd.aif", 1, 1, 101, 0, 24, false, 0, false},
        // A COMM of size 0 is not read (17 bytes or fewer), so there is no rate and no summary.
        AiffFact{"TaglibSegfault", "taglib/segfault.aif", 0, 0, 0, 0, 0, false, 0, true},
        // The form type "AI\x80F" is neither AIFF nor AIFC: no walk, no tag, no summary.
        AiffFact{"TaglibExcessiveAlloc", "taglib/excessive_alloc.aif", 0, 0, 0, 0, 0, false, 0, true},
        AiffFact{"MutagenWithId3", "mutagen/with-id3.aif", 1, 1, 8000, 8000, 16, true, 16054, false},
        // 1 s at 8000 Hz: 8000 sample frames.
        AiffFact{"Mutagen1ch", "mutagen/8k-1ch-1s-silence.aif", 1, 1, 8000, 8000, 16, false, 0, false},
        AiffFact{"Mutagen4ch", "mutagen/8k-4ch-1s-silence.aif", 1, 4, 8000, 8000, 16, false, 0, false},
        AiffFact{"TinytagNoAudio", "tinytag/no_audio.aiff", 1, 2, 0, 8000, 16, false, 0, false},
        // The 80-bit rate has its sign bit set: it reads as 0 and no summary is made.
        AiffFact{"TinytagInvalidRate", "tinytag/invalid_sample_rate.aiff", 0, 1, -1, 0, 16, false, 0, true},
        AiffFact{"TinytagZeroValues", "tinytag/zero_value_properties.aiff", 0, 0, 0, 0, 0, false, 0, true},
        // 0.29995 s at 11025 Hz: 3307 sample frames.
        AiffFact{"TinytagPluck", "tinytag/pluck-pcm8.aiff", 1, 2, 3307, 11025, 8, true, 0, false},
        AiffFact{"TinytagTagged", "tinytag/test-tagged.aiff", 1, 2, 44100, 44100, 16, true, 176484, false},
        // The "ID3 " chunk lies outside the form; the walk is not bounded by the form size.
        AiffFact{"SharpSample", "taglib-sharp/sample.aif", 1, 1, 88204, 44100, -1, true, 176454, true},
        AiffFact{"MetadataMiscChunk", "music-metadata/Pmiscck.aif", 1, 1, 9, 8000, 16, false, 0, false},
        AiffFact{"MetadataNoSound", "music-metadata/Pnossnd.aif", 1, 1, 0, 8000, 16, false, 0, false},
        AiffFact{"MetadataTrailingJunk", "music-metadata/Ptjunk.aif", 1, 1, 9, 8000, 16, false, 0, true},
        AiffFact{"MetadataNoNull", "music-metadata/Fnonull.aif", 1, 1, 9, 8000, 16, false, 0, true},
        // A COMM of size 0 again (the source rejects the file for it too).
        AiffFact{"MetadataCwe835", "music-metadata/CWE-835-01.aiff", 0, 0, 0, 0, 0, false, 0, true},
        // The odd COMM (21) is rounded up to 22, so the next chunk ID reads "SND\0"; the
        // COMM values themselves are read before that.
        AiffFact{"HsLongComm", "hsaudiotag/long_comm_field.aif", 1, 2, 5840604, 44100, -1, false, 0, true},
        // 1411200 bit/s at 44100 Hz and 2 channels: 16 bits.
        AiffFact{"HsWithId3", "hsaudiotag/with_id3.aif", 1, 2, 5840604, 44100, 16, true, 88, true},
        AiffFact{"RustPadding", "rust-id3/padding.aiff", 1, -1, -1, 0, -1, true, 47148, false}),
    [](const testing::TestParamInfo<AiffFact>& info) { return std::string(info.param.name); });

class CorpusAiffTags : public AiffOpen {
protected:
    bool open(std::string_view relative, ID3Tag& track) {
        std::string source = support::corpusFile(relative);
        if (source.empty()) return false;
        EXPECT_EQ(track.open(write(support::readFile(source)).c_str()), 1) << relative;
        return true;
    }
};

TEST_F(CorpusAiffTags, TitlesFromTheId3Chunk) {
    struct Case {
        const char* file;
        const char* title;
        const char* label;
    };
    const Case cases[] = {
        {"mutagen/with-id3.aif", "AIFF title", "V2.4"},
        {"tinytag/test-tagged.aiff", "thetitle", "V2.3"},
        {"taglib/duplicate_id3v2.aiff", "Title1", "V2.4"},  // not "Title2" of the second chunk
        {"taglib-sharp/sample.aif", "Aiff Title", "V2.2"},
        {"rust-id3/padding.aiff", "TEST TITLE", "V2.4"},
    };
    for (const Case& c : cases) {
        ID3Tag track;
        if (!open(c.file, track)) GTEST_SKIP() << "corpus folder absent";
        ASSERT_TRUE(track.v2.title.has_value()) << c.file;
        EXPECT_EQ(track.v2.title->utf8(), c.title);
        EXPECT_EQ(track.tagVersionText, c.label) << c.file;
    }
}

TEST_F(CorpusAiffTags, ExtendedHeaderOf24TagLeavesNoFields) {
    // The 2.4 extended header is stepped over by its size + 14, which lands on zero bytes:
    // the tag counts as present with no fields (the source reads "Pluck").
    ID3Tag track;
    if (!open("tinytag/pluck-pcm8.aiff", track)) GTEST_SKIP() << "corpus folder absent";
    EXPECT_TRUE(track.v2Found);
    EXPECT_FALSE(track.v2.title.has_value());
    EXPECT_EQ(track.aiffTagSize, 146u);
}

TEST_F(CorpusAiffTags, LengthsFollowTheRoundingRule) {
    ID3Tag silence;
    if (!open("mutagen/8k-1ch-1s-silence.aif", silence)) GTEST_SKIP() << "corpus folder absent";
    EXPECT_EQ(silence.mpeg.lengthSeconds, 1u);
    EXPECT_EQ(silence.mpeg.channelMode, ChannelMono);
    ID3Tag four;
    ASSERT_TRUE(open("mutagen/8k-4ch-1s-silence.aif", four));
    EXPECT_EQ(four.mpeg.channelMode, ChannelMulti);
    EXPECT_EQ(four.mpeg.averageBitrate, 512u);
    // 5840604 frames at 44100 Hz are 132.4 s: the source says 132, while the summary rounds
    // a remainder of five frames or more up to the next second.
    ID3Tag assimil;
    ASSERT_TRUE(open("hsaudiotag/with_id3.aif", assimil));
    EXPECT_EQ(assimil.mpeg.lengthSeconds, 133u);
    EXPECT_EQ(assimil.mpeg.averageBitrate, 1411u);
}

TEST_F(CorpusAiffTags, EmptyAndOneByteFilesAreNotAiff) {
    for (const char* file : {"tinytag/empty_file.aiff", "tinytag/invalid_file.aiff"}) {
        std::string source = support::corpusFile(file);
        if (source.empty()) GTEST_SKIP() << "corpus folder absent";
        LogCapture log;
        ID3Tag track;
        EXPECT_EQ(track.open(write(support::readFile(source)).c_str()), 0);
        EXPECT_TRUE(log.has("File is not a valid AIFF file (0x00000000)")) << file;
        EXPECT_FALSE(track.kindCheckPassed);
    }
}

}  // namespace
}  // namespace tagwick
