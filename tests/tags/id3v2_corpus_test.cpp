// Real tags from the shared sample corpus: the header size is taken (clamped to the file), the
// tag is parsed, and the fields are compared with what the corpus notes record. Where the
// library a sample comes from reads more than this program's rules allow, the program's rule is
// asserted and the reason given.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "support/cli_runner.h"
#include "tags/id3v2_reader.h"
#include "tags/id3v2_test_support.h"

namespace tagwick {
namespace {

using namespace tagwick::test;

struct CorpusTag {
    size_t fileSize = 0;
    uint32_t tagSize = 0;  // as the header tells, before clamping
    Parsed parsed;
};

// Loads the sample and parses its leading tag; false (after GTEST_SKIP) when the corpus is absent.
bool load(const char* relative, CorpusTag& out, int mode = 0) {
    std::string path = support::corpusFile(relative);
    if (path.empty()) return false;
    std::vector<uint8_t> file = support::readFile(path);
    out.fileSize = file.size();
    out.tagSize = tagSizeFromHeader(file);
    if (out.tagSize == 0) return true;
    file.resize(std::min<size_t>(out.tagSize, file.size()));
    out.parsed = parseBytes(file, mode);
    return true;
}

#define LOAD_OR_SKIP(relative, tag, ...)                                          \
    CorpusTag tag;                                                                \
    if (!load(relative, tag __VA_OPT__(, ) __VA_ARGS__)) GTEST_SKIP() << "corpus folder absent"

const Id3v2Tag& fields(const CorpusTag& tag) { return tag.parsed.tag; }

// ---------------------------------------------------------------- tags read in full

TEST(Id3v2Corpus, Taglib005411PlainSizedPicture) {
    LOAD_OR_SKIP("taglib/005411.id3", tag);
    EXPECT_EQ(tag.tagSize, 38402u);
    // APIC's size only works as a plain number; the title frame comes after it.
    EXPECT_EQ(utf8Of(fields(tag).title), "Sunshine Superman");
    ASSERT_EQ(fields(tag).pictures.size(), 1u);
    EXPECT_EQ(fields(tag).pictures[0].mime, "image/jpg");
    EXPECT_EQ(fields(tag).pictures[0].format, "jpeg");
    EXPECT_EQ(fields(tag).pictures[0].data.at(0), 0xFF);
}

TEST(Id3v2Corpus, TaglibUnsynch24) {
    LOAD_OR_SKIP("taglib/unsynch24.id3", tag);
    EXPECT_EQ(utf8Of(fields(tag).title), "Hi");
}

TEST(Id3v2Corpus, TaglibSharpVersionThreeExtendedHeader) {
    LOAD_OR_SKIP("taglib-sharp/sample_v2_3_ext_header.mp3", tag);
    EXPECT_EQ(tag.tagSize, 345u);
    EXPECT_EQ(utf8Of(fields(tag).title), "Title v2");
}

TEST(Id3v2Corpus, TaglibSharpVersionFourUnsynchronised) {
    LOAD_OR_SKIP("taglib-sharp/sample_v2_4_unsynch.mp3", tag);
    const Id3v2Tag& t = fields(tag);
    EXPECT_EQ(utf8Of(t.title), "MP3 title unicode (\u12a2\u1275\u12ee\u1335\u12eb)");
    EXPECT_EQ(utf8Of(t.artist), "MP3 artist unicode (\u1283\u12ed\u120c \u1308\u1265\u1228\u1225\u120b\u1234)");
    EXPECT_EQ(utf8Of(t.album), "MP3 album");
    EXPECT_EQ(utf8Of(t.composer), "MP3 composer");
    EXPECT_EQ(utf8Of(t.genre), "Acid Punk");
    EXPECT_EQ(t.trackNumber, 6);
    EXPECT_EQ(t.trackTotal, 7);
    EXPECT_EQ(utf8Of(t.recordingTime), "1234");
    EXPECT_TRUE(utf8Of(t.comment).starts_with("MP3 comment"));
}

TEST(Id3v2Corpus, MutagenVersionTwoTwo) {
    LOAD_OR_SKIP("mutagen/id3v22-test.mp3", tag);
    const Id3v2Tag& t = fields(tag);
    EXPECT_EQ(tag.parsed.outcome.minor, 2);
    EXPECT_EQ(t.trackNumber, 3);
    EXPECT_EQ(t.trackTotal, 11);
    EXPECT_EQ(utf8Of(t.artist), "Anais Mitchell");
    EXPECT_EQ(utf8Of(t.title), "cosmic american");
    EXPECT_EQ(utf8Of(t.album), "Hymns for the Exiled");
    EXPECT_EQ(t.year, "2004");
    EXPECT_EQ(utf8Of(t.comment), "Waterbug Records, www.anaismitchell.com");
}

TEST(Id3v2Corpus, MutagenCombinedSkipsITunesComments) {
    LOAD_OR_SKIP("mutagen/id3v1v2-combined.mp3", tag);
    const Id3v2Tag& t = fields(tag);
    EXPECT_EQ(tag.parsed.outcome.minor, 4);
    EXPECT_EQ(utf8Of(t.artist), "Anais Mitchell");
    EXPECT_EQ(t.trackNumber, 3);
    EXPECT_EQ(t.trackTotal, 11);
    EXPECT_EQ(t.year, "2004");  // TYER is read in a 2.4 tag too
    // The first comment is described "iTunes_CDDB_TrackNumber" and is passed over.
    EXPECT_EQ(utf8Of(t.comment), "Waterbug Records, www.anaismitchell.com");
}

TEST(Id3v2Corpus, HsaudiotagVersionTwoTwo) {
    LOAD_OR_SKIP("hsaudiotag/v22.tag", tag);
    const Id3v2Tag& t = fields(tag);
    EXPECT_EQ(utf8Of(t.title), "Chanson de Nuit - Op. 15 No. 1");
    EXPECT_EQ(utf8Of(t.artist), "Kennedy / Pettinger");
    EXPECT_EQ(utf8Of(t.album), "Salut d'Amour (Elgar)");
    EXPECT_EQ(t.year, "1984");
    EXPECT_EQ(utf8Of(t.genre), "Classical");
}

TEST(Id3v2Corpus, TaglibITunes10) {
    LOAD_OR_SKIP("taglib/itunes10.mp3", tag);
    const Id3v2Tag& t = fields(tag);
    EXPECT_EQ(utf8Of(t.title), "iTunes10MP3");
    EXPECT_EQ(utf8Of(t.artist), "Artist");
    EXPECT_EQ(utf8Of(t.album), "Album");
    EXPECT_EQ(utf8Of(t.orchestra), "Album Artist");
    EXPECT_EQ(utf8Of(t.bpm), "180");
    EXPECT_EQ(utf8Of(t.comment), "Comments");
    EXPECT_TRUE(t.compilation);
    EXPECT_EQ(utf8Of(t.composer), "Composer");
    EXPECT_EQ(t.year, "2011");
    EXPECT_EQ(t.setNumber, 1);
    EXPECT_EQ(t.setTotal, 2);
    EXPECT_EQ(utf8Of(t.genre), "Heavy Metal");
    EXPECT_EQ(utf8Of(t.lyrics), "Lyrics");
    EXPECT_EQ(utf8Of(t.subtitle), "Description");
    EXPECT_EQ(utf8Of(t.contentGroup), "Grouping");
    EXPECT_EQ(t.trackNumber, 1);
    EXPECT_EQ(t.trackTotal, 10);
    ASSERT_EQ(t.pictures.size(), 1u);
    EXPECT_EQ(t.pictures[0].mime, "image/png");
    EXPECT_EQ(t.pictures[0].data.size(), 2315u);
    EXPECT_EQ(t.pictures[0].pictureType, 0);
    EXPECT_TRUE(t.pictures[0].description.empty());
}

TEST(Id3v2Corpus, TaglibVersionTwoTwoDate) {
    LOAD_OR_SKIP("taglib/id3v22-tda.mp3", tag);
    EXPECT_EQ(fields(tag).year, "2010");
}

TEST(Id3v2Corpus, Mp3agicUnicodeTags) {
    LOAD_OR_SKIP("mp3agic/v23unicodetags.mp3", tag);
    const Id3v2Tag& t = fields(tag);
    EXPECT_EQ(utf8Of(t.artist), "\u03b3\u03b5\u03b9\u03ac \u03c3\u03bf\u03c5");
    EXPECT_EQ(utf8Of(t.title), "\u4e2d\u6587");
    EXPECT_EQ(utf8Of(t.album), "\u3053\u3093\u306b\u3061\u306f");
    EXPECT_EQ(utf8Of(t.composer), "\u0ab9\u0ac7\u0ab2\u0acd\u0ab2\u0acb");
}

TEST(Id3v2Corpus, Mp3agicTagLength) {
    LOAD_OR_SKIP("mp3agic/v1andv23tags.mp3", tag);
    EXPECT_EQ(tag.tagSize, 0x44Bu);
    EXPECT_EQ(tag.parsed.outcome.minor, 3);
}

TEST(Id3v2Corpus, TinytagUtf16WithoutMarkUnderEncodingTwo) {
    LOAD_OR_SKIP("tinytag/utf16_no_bom.mp3", tag);
    EXPECT_GT(tag.tagSize, tag.fileSize);  // read as far as the file goes
    EXPECT_EQ(utf8Of(fields(tag).title), "no bom test \u00eb");
    EXPECT_EQ(utf8Of(fields(tag).artist), "no bom test 2 \u00eb");
}

TEST(Id3v2Corpus, TaglibSharpTitleEndsAtNul) {
    LOAD_OR_SKIP("taglib-sharp/null_title_v2.mp3", tag);
    EXPECT_EQ(utf8Of(fields(tag).title), "T");
}

TEST(Id3v2Corpus, LoftyJunkAfterTag) {
    LOAD_OR_SKIP("lofty/junk_between_id3_and_mp3.mp3", tag);
    EXPECT_EQ(tag.tagSize, 283u);
    EXPECT_EQ(utf8Of(fields(tag).artist), "artist test");
    EXPECT_EQ(utf8Of(fields(tag).album), "album test");
    EXPECT_EQ(utf8Of(fields(tag).title), "title test");
    EXPECT_EQ(utf8Of(fields(tag).encoderSettings), "Lavf58.62.100");
}

TEST(Id3v2Corpus, LoftyFullTest) {
    LOAD_OR_SKIP("lofty/full_test.mp3", tag);
    EXPECT_EQ(utf8Of(fields(tag).artist), "Foo artist");
}

TEST(Id3v2Corpus, TinytagLongTitleCutByTheFile) {
    LOAD_OR_SKIP("tinytag/id3v24-long-title.mp3", tag);
    const Id3v2Tag& t = fields(tag);
    EXPECT_EQ(utf8Of(t.title), "Out of the Woodwork");
    EXPECT_EQ(utf8Of(t.artist), "Courtney Barnett");
    EXPECT_EQ(utf8Of(t.album), "The Double EP: A Sea of Split Peas");
    EXPECT_EQ(t.trackNumber, 1);
    EXPECT_EQ(t.trackTotal, 12);
    EXPECT_EQ(t.setNumber, 1);
    EXPECT_EQ(t.setTotal, 1);
    EXPECT_EQ(utf8Of(t.comment), "Amazon.com Song ID: 240853806");
    // The genre text is a bare "40" without parentheses, which this program keeps as written.
    EXPECT_EQ(utf8Of(t.genre), "40");
    // The picture runs past the end of the file: the walk stops there.
    EXPECT_TRUE(t.pictures.empty());
    EXPECT_EQ(tag.parsed.outcome.status, V2ParseStopped);
}

TEST(Id3v2Corpus, RustId3GarbageFrameAfterGoodOnes) {
    LOAD_OR_SKIP("rust-id3/github-issue-156a.id3", tag);
    EXPECT_EQ(utf8Of(fields(tag).title), "Elevator Music Attempt #1");
    EXPECT_EQ(utf8Of(fields(tag).artist), "Christiaan Bakker");
    EXPECT_EQ(utf8Of(fields(tag).album), "Echoes From The Past");
    EXPECT_EQ(tag.parsed.outcome.status, V2ParseStopped);
    EXPECT_TRUE(tag.parsed.outcome.found);
}

TEST(Id3v2Corpus, RustId3UnknownFrameFlags) {
    LOAD_OR_SKIP("rust-id3/github-issue-86a.id3", tag, 2);
    EXPECT_EQ(tag.parsed.outcome.status, V2ParseComplete);
    bool userKept = false;
    for (const KeptFrame& kept : fields(tag).keptFrames) userKept = userKept || kept.id == "USER";
    EXPECT_TRUE(userKept);
}

TEST(Id3v2Corpus, TaglibW000KeptWithModeTwo) {
    LOAD_OR_SKIP("taglib/w000.mp3", tag, 2);
    auto kept = std::find_if(fields(tag).keptFrames.begin(), fields(tag).keptFrames.end(),
                             [](const KeptFrame& f) { return f.id == "W000"; });
    ASSERT_NE(kept, fields(tag).keptFrames.end());
    EXPECT_EQ(std::string(kept->data.begin(), kept->data.end()), "lukas.lalinsky@example.com____");
}

TEST(Id3v2Corpus, TaglibRareFrames) {
    LOAD_OR_SKIP("taglib/rare_frames.mp3", tag);
    EXPECT_EQ(tag.tagSize, 1007u);
    EXPECT_TRUE(fields(tag).hasUfid);
    EXPECT_EQ(utf8Of(fields(tag).url), "http://a.user.url");
    EXPECT_EQ(fields(tag).userTexts.size(), 2u);
}

TEST(Id3v2Corpus, MutagenSilence) {
    LOAD_OR_SKIP("mutagen/silence-44-s.mp3", tag, 2);
    EXPECT_EQ(tag.tagSize, 1314u);
    EXPECT_EQ(utf8Of(fields(tag).title), "Silence");
    EXPECT_EQ(fields(tag).trackNumber, 2);
    // Only TLEN is unmapped among its frames.
    ASSERT_EQ(fields(tag).keptFrames.size(), 1u);
    EXPECT_EQ(fields(tag).keptFrames[0].id, "TLEN");
}

TEST(Id3v2Corpus, TagSizesOfStackedTags) {
    LOAD_OR_SKIP("taglib/duplicate_id3v2.mp3", first);
    EXPECT_EQ(first.tagSize, 3943u);
    LOAD_OR_SKIP("music-metadata/id3-multi-02.mp3", multi);
    EXPECT_EQ(multi.tagSize, 4096u);
}

// ---------------------------------------------------------------- where the program reads less

TEST(Id3v2Corpus, HsaudiotagExperimentalFlagOnlyIsNoTag) {
    LOAD_OR_SKIP("hsaudiotag/221-compressed.tag", tag);
    EXPECT_EQ(tag.tagSize, 0u);
}

TEST(Id3v2Corpus, TagsAfterLeadingGarbageOrAtTheEndAreNotAtTheStart) {
    for (const char* name : {"taglib/garbage.mp3", "mutagen/audacious-trailing-id32-id31.mp3"}) {
        LOAD_OR_SKIP(name, tag);
        EXPECT_EQ(tag.tagSize, 0u) << name;
    }
}

// Other libraries undo whole-tag unsynchronisation of 2.3 tags; this program refuses it and
// keeps the tag as present without fields.
TEST(Id3v2Corpus, WholeTagUnsynchronisationOfVersionThree) {
    for (const char* name : {"taglib/unsynch.id3", "hsaudiotag/230-picture.tag", "rust-id3/github-issue-86b.id3",
                             "music-metadata/issue-979.mp3"}) {
        LogCapture log;
        LOAD_OR_SKIP(name, tag);
        EXPECT_TRUE(tag.parsed.outcome.found) << name;
        EXPECT_EQ(tag.parsed.outcome.status, V2ParseUnsynchronised) << name;
        EXPECT_FALSE(fields(tag).title.has_value()) << name;
        EXPECT_TRUE(log.has(LogWarning, "Warning: Unsynchronisation is not supported in version 2.3")) << name;
    }
}

// The extended header is skipped by its size + 14 also in 2.4, where the size counts itself:
// the walk lands on the first frame's size bytes, whose leading zero reads as padding.
TEST(Id3v2Corpus, VersionFourExtendedHeadersLeaveNoFields) {
    for (const char* name : {"taglib/extended-header.mp3", "mutagen/id3v24_extended_header.id3",
                             "rust-id3/id3v24_ext.id3", "tinytag/cbr.mp3"}) {
        LOAD_OR_SKIP(name, tag);
        EXPECT_TRUE(tag.parsed.outcome.found) << name;
        EXPECT_EQ(tag.parsed.outcome.status, V2ParseComplete) << name;
        EXPECT_FALSE(fields(tag).title.has_value()) << name;  // "Druids", "One Second of Silence", ...
        EXPECT_FALSE(fields(tag).artist.has_value()) << name;
    }
}

// The extended header flag is set without an extended header: its size is read from "TIT2",
// which puts the position past the end of the tag.
TEST(Id3v2Corpus, MutagenExtendedFlagWithoutHeader) {
    LOAD_OR_SKIP("mutagen/issue_21.id3", tag);
    EXPECT_TRUE(tag.parsed.outcome.found);
    EXPECT_FALSE(fields(tag).title.has_value());
}

// The syncsafe reading of the first frame lands on zero bytes inside its data, which count as
// padding; the title further on is not reached.
TEST(Id3v2Corpus, HsaudiotagPlainSizesEndingOnZeros) {
    LOAD_OR_SKIP("hsaudiotag/v24_no_syncsafe.tag", tag);
    EXPECT_EQ(tag.parsed.outcome.status, V2ParseComplete);
    EXPECT_FALSE(fields(tag).title.has_value());
    EXPECT_EQ(fields(tag).cdIdentifier.size(), 420u);
}

// A zero-size first frame ends the walk before anything is taken.
TEST(Id3v2Corpus, ZeroSizeFirstFrames) {
    for (const char* name : {"mutagen/bad-POPM-frame.mp3", "tinytag/empty_frame.mp3"}) {
        LOAD_OR_SKIP(name, tag);
        EXPECT_EQ(tag.parsed.outcome.status, V2ParseStopped) << name;
        EXPECT_FALSE(fields(tag).hasRating) << name;
        EXPECT_FALSE(fields(tag).artist.has_value()) << name;
    }
}

// Text frames of encoding 1 that lack a byte order mark are dropped.
TEST(Id3v2Corpus, Utf16WithoutMarkIsDropped) {
    LOAD_OR_SKIP("tinytag/cut_off_titles.mp3", cut);
    EXPECT_FALSE(fields(cut).title.has_value());  // "Tony Hawk VS Wayne Gretzky" for other readers
    EXPECT_FALSE(fields(cut).artist.has_value());
    LOAD_OR_SKIP("music-metadata/issue-471.mp3", later);
    EXPECT_FALSE(fields(later).title.has_value());  // "Between Worlds"
    EXPECT_EQ(fields(later).year, "2013");
}

// TENC declares one byte but flags a four-byte data length indicator: the walk stops there,
// where other readers drop that frame alone.
TEST(Id3v2Corpus, TaglibFrameShorterThanItsIndicator) {
    LogCapture log;
    LOAD_OR_SKIP("taglib/broken-tenc.id3", tag);
    EXPECT_EQ(tag.parsed.outcome.status, V2ParseStopped);
    EXPECT_FALSE(fields(tag).title.has_value());
    EXPECT_TRUE(log.has(LogError, "Frame buffer size mismatch (-3:256 256)"));
}

TEST(Id3v2Corpus, BrokenFrameSizes) {
    LOAD_OR_SKIP("tinytag/id3_broken_frame_size.mp3", broken);
    EXPECT_FALSE(fields(broken).title.has_value());
    EXPECT_EQ(broken.parsed.outcome.status, V2ParseStopped);
    LOAD_OR_SKIP("taglib/excessive_alloc.mp3", fuzzed);
    EXPECT_EQ(utf8Of(fields(fuzzed).title), "Bush");
    EXPECT_EQ(fuzzed.parsed.outcome.status, V2ParseStopped);
}

TEST(Id3v2Corpus, CompressedFramesAreNotDecompressed) {
    LogCapture log;
    LOAD_OR_SKIP("taglib/compressed_id3_frame_invalid.mp3", tag);
    EXPECT_EQ(tag.parsed.outcome.status, V2ParseStopped);  // at the zero-size WOAR frame
    EXPECT_TRUE(log.has(LogError, "Tag 2.3 frame WOAR size error (0, max 5000)"));
}

// ---------------------------------------------------------------- every sample

TEST(Id3v2Corpus, EverySampleParsesInEveryMode) {
    std::string root = support::corpusFile("");
    if (root.empty()) GTEST_SKIP() << "corpus folder absent";
    Logger::setMaxLevel(0);
    int tags = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file()) continue;
        std::vector<uint8_t> file = support::readFile(entry.path().string());
        uint32_t size = tagSizeFromHeader(file);
        // The whole file is also handed over as if it were a tag, to walk arbitrary bytes.
        std::vector<uint8_t> tagBytes(file.begin(), file.begin() + std::min<size_t>(size, file.size()));
        for (int mode : {0, 1, 2})
            for (bool conversion : {true, false}) {
                Parsed parsed = parseBytes(size ? tagBytes : file, mode, conversion);
                EXPECT_EQ(parsed.outcome.found, (size ? tagBytes : file).size() >= 10) << entry.path();
                EXPECT_LE(parsed.tag.ufid.size(), UfidLimit);
                for (const Picture& p : parsed.tag.pictures) EXPECT_LE(p.format.size(), FormatWordLimit);
            }
        if (size) ++tags;
    }
    Logger::resetForTests();
    EXPECT_GE(tags, 50);
}

}  // namespace
}  // namespace tagwick
