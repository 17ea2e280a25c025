// The standard frame ID tables, the frame-to-field rows and the value rules applied when frames
// become fields (pairs, genres, comments, ratings, identifiers, pictures, podcast frames), and the
// fields read from the real tags of the sample corpus.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/cli_runner.h"
#include "tags/id3v2_fields.h"
#include "tags/id3v2_test_support.h"

namespace tagwick {
namespace {

using namespace tagwick::test;
using support::commentPayload;
using support::textPayload;
using support::utf16Bytes;

TEST(Id3v2Tables, StandardIdsDependOnTheVersion) {
    struct Case {
        const char* id;
        int version;
        bool standard;
    };
    // The podcast and compilation frames count as standard; 2.3 stops at TSWC, 2.4 adds 18 more.
    for (const Case& c : {Case{"TCMP", 3, true}, Case{"WFD ", 3, true}, Case{"TSWC", 3, true}, Case{"RVA2", 3, false},
                          Case{"RVA2", 4, true}, Case{"TSST", 7, true}, Case{"XYZW", 4, false},
                          Case{"TIT2", 2, false}, Case{"TDR", 2, true}, Case{"TT2", 3, false}, Case{"", 4, false}})
        EXPECT_EQ(isStandardFrameId(c.id, c.version), c.standard) << c.id << " in 2." << c.version;
}

// Every row's IDs are standard, and every text row is read from its 2.3/2.4 frame and its 2.2 one.
TEST(Id3v2Rows, EveryTextRowTakesItsFrames) {
    for (const V2FieldRow& row : V2FieldRows) {
        EXPECT_TRUE(isStandardFrameId(row.id, 4)) << row.id;
        EXPECT_TRUE(row.id22.empty() || isStandardFrameId(row.id22, 2)) << row.id22;
        EXPECT_EQ(&fieldRow(row.field), &row);
        if (row.kind != V2FrameKind::Text && row.kind != V2FrameKind::Text8 && row.kind != V2FrameKind::FeedUrl)
            continue;
        std::string value = "value of " + std::string(row.id);
        Parsed v24 = parseFrames(4, {text(std::string(row.id), value)}, 1);
        EXPECT_EQ(utf8Of(*textField(v24.tag, row.field)), value) << row.id;
        EXPECT_TRUE(v24.tag.keptFrames.empty()) << row.id;
        if (row.id22.empty() || row.field == V2Field::ReleaseTime) continue;
        Parsed v22 = parseFrames(2, {text(std::string(row.id22), value)});
        EXPECT_EQ(utf8Of(*textField(v22.tag, row.field)), value) << row.id22;
    }
    EXPECT_EQ(findFieldRow("TIT2", 2), nullptr);
    EXPECT_EQ(findFieldRow("", 2), nullptr);  // rows without a 2.2 frame do not match an empty ID
}

TEST(Id3v2Values, NumbersPairsAndAdvisories) {
    using Pair = std::pair<uint16_t, uint16_t>;
    EXPECT_EQ(readDecimal("  7x"), 7);
    EXPECT_EQ(readDecimal("-1"), -1);
    EXPECT_EQ(parseNumberPair("04/ 10"), Pair(4, 10));
    EXPECT_EQ(parseNumberPair("/9"), Pair(NumberNotSet, 9));
    EXPECT_EQ(parseNumberPair("70000/65535"), Pair(NumberNotSet, NumberNotSet));
    EXPECT_EQ(parseNumberPair("65534/0"), Pair(65534, 0));
    EXPECT_EQ(advisoryFromText(TextValue::latin1("A")), 17);
    EXPECT_EQ(advisoryFromText(TextValue::latin1("/")), '/');
    EXPECT_EQ(advisoryFromText(TextValue::utf16(std::string("\xFE\xFF\x00\x32", 4))), 2);
}

// ---------------------------------------------------------------- the mapping, frame by frame

struct MappingCase {
    const char* name;
    int major;
    std::vector<V2Frame> frames;
    Facts facts;
    int mode = 0;
};

class Id3v2Mapping : public testing::TestWithParam<MappingCase> {};

TEST_P(Id3v2Mapping, FramesBecomeFields) {
    expectFacts(factsOf(parseFrames(GetParam().major, GetParam().frames, GetParam().mode)), GetParam().facts);
}

MappingCase genre(const char* name, const char* value, const char* expected) {
    return {name, 3, {text("TCON", value)}, {{"genre", expected}}};
}

MappingCase comment(const char* name, int major, std::vector<V2Frame> frames, const char* expected) {
    return {name, major, std::move(frames), {{"comment", expected}}};
}

MappingCase apic(const char* name, const char* mime, const char* expected) {
    return {name, 3, {frame("APIC", support::apicPayload(mime, 3, "", ByteVec{1}))}, {{"picture", expected}}};
}

V2Frame comm(uint8_t encoding, ByteVec description, ByteVec value) {
    return frame("COMM", commentPayload(encoding, "eng", description, value));
}

std::vector<MappingCase> mappingCases() {
    return {
        {"TrackOnly", 4, {text("TRCK", "7")}, {{"track", "7/65535"}}},
        {"PairsFromVersionTwoTwo", 2, {text("TRK", "3/11"), text("TPA", "2/3")}, {{"track", "3/11"}, {"set", "2/3"}}},
        {"EmptyFirstTitleStillWins", 3, {text("TIT2", ""), text("TIT2", "Second")}, {{"title", ""}}},
        {"YearCutToFour", 3, {text("TYER", "20045")}, {{"year", "2004"}}},
        {"Utf16Year", 3, {frame("TYER", textPayload(1, utf16Bytes(u"1999")))}, {{"year", "1999"}}},
        genre("GenreNumberOnly", "(17)", "Rock"),
        genre("GenreNumberWinsOverName", "(0)Rock", "Blues"),
        genre("GenreLastOfFirstList", "(79)", "Hard Rock"),
        genre("GenreFirstOfSecondList", "(80)", "Folk"),
        genre("GenreLastOfSecondList", "(125)", "Dance Hall"),
        genre("GenreBeyondTheLists", "(130)", ""),
        genre("GenreBeyondTheListsWithText", "(126)Other", "Other"),
        genre("GenreNotANumber", "(abc)Rock", "Rock"),
        genre("GenreMinusOne", "(-1)Pop", "Pop"),
        genre("GenreNoClosingParenthesis", "(17", "Rock"),
        genre("GenreParenthesisLater", "Hard (Rock) x", " x"),
        {"Utf16GenreText", 3, {frame("TCON", textPayload(1, utf16Bytes(u"(abc)R\u00f6ck")))}, {{"genre", "R\u00f6ck"}}},
        comment("ITunesCommentIsSkipped", 3,
                {comm(0, bytesOf("iTunNORM"), bytesOf(" 0000080E")), comm(0, {}, bytesOf("Real"))}, "Real"),
        comment("Utf16ITunesCommentIsSkipped", 4,
                {comm(1, utf16Bytes(u"iTunSMPB"), utf16Bytes(u"x")), comm(1, utf16Bytes(u""), utf16Bytes(u"Real"))},
                "Real"),
        comment("FirstOtherCommentWins", 3, {comm(0, bytesOf("x"), bytesOf("One")), comm(0, {}, bytesOf("Two"))},
                "One"),
        comment("Utf16CommentBigEndian", 3, {comm(1, utf16Bytes(u"d"), utf16Bytes(u"\u0416", true))}, "\u0416"),
        comment("Utf16CommentWithoutMarkButLatin", 3,
                {comm(1, utf16Bytes(u"d"), utf16Bytes(std::u16string(u"Plain\0", 6), true, false))}, "Plain"),
        comment("Utf16CommentWithoutMarkIsDropped", 3,
                {comm(1, utf16Bytes(u"d"), utf16Bytes(u"Plain", false, false)), comm(0, {}, bytesOf("Next"))}, "Next"),
        comment("BigEndianCommentWithoutMark", 4,
                {comm(2, utf16Bytes(u"d", true, false), utf16Bytes(u"BE", true, false))}, "BE"),
        comment("Utf8Comment", 4, {comm(3, bytesOf("d"), bytesOf("\xE2\x82\xAC"))}, "\u20ac"),
        {"LyricsAreNotSkippedForTheirDescription", 3,
         {frame("USLT", commentPayload(0, "eng", bytesOf("iTunes"), bytesOf("La la")))}, {{"lyrics", "La la"}}},
        {"FirstNonZeroAdvisory", 4, {text("TRTG", "0"), text("TRTG", "1"), text("TRTG", "2")}, {{"advisory", "1"}}},
        {"CompilationFlag", 4, {text("TCMP", "1")}, {{"compilation", "yes"}}},
        {"AnyPodcastFrame", 2, {frame("PCS", {1})}, {{"podcast", "yes"}}},
        {"FeedWithBlankId", 3, {text("WFD ", "http://feed")}, {{"feed", "http://feed"}}},
        {"Rating", 3, {frame("POPM", support::popmPayload("a@b.c", 196, ByteVec{0, 0, 1, 0}))}, {{"rating", "196"}}},
        {"UniqueIdentifierCutTo64", 3, {frame("UFID", support::ufidPayload("http://o", ByteVec(70, 'i')))},
         {{"ufid", "http://o|" + std::string(64, 'i')}}},
        {"UserUrlAfterUtf16Description", 3,
         {frame("WXXX", support::userUrlPayload(1, utf16Bytes(u"home"), "http://x.org"))}, {{"url", "http://x.org"}}},
        {"ArtistUrlHasNoEncodingByte", 3, {frame("WOAR", bytesOf("http://a"))}, {{"artist url", "http://a"}}},
        {"UserTextsAreKept", 3, {frame("TXXX", {0, 'a', 0, 'b'}), frame("TXXX", {1, 0xFF, 0xFE, 0, 0})},
         {{"user text 1", std::string("\0a\0b", 4)}, {"user text 2", std::string("\1\xFF\xFE\0\0", 5)}, {"kept", ""}},
         2},
        {"ReleaseTimeFromVersionTwoTwoNeedsAMode", 2, {text("TDR", "2001")}, {{"release time", "<absent>"}}},
        {"ReleaseTimeFromVersionTwoTwo", 2, {text("TDR", "2001")}, {{"release time", "2001"}}, 1},
        {"PngFromVersionTwoTwo", 2, {frame("PIC", support::picPayload("PNG", 0, "", ByteVec{9}))},
         {{"picture", "image/png|png"}}},
        {"JpegFromVersionTwoTwo", 2, {frame("PIC", support::picPayload("JPG", 3, "c", ByteVec{9}))},
         {{"picture", "image/jpeg|jpeg"}}},
        apic("JpgMime", "image/jpg", "image/jpg|jpeg"),
        apic("MimeCaseIgnored", "IMAGE/PNG", "IMAGE/PNG|png"),
        apic("UnknownMimeKeepsItsSubtype", "image/webp", "image/webp|webp"),
        apic("FormatWordCutToFive", "image/x-portable", "image/x-portable|x-por"),
    };
}

INSTANTIATE_TEST_SUITE_P(Cases, Id3v2Mapping, testing::ValuesIn(mappingCases()),
                         [](const testing::TestParamInfo<MappingCase>& info) { return std::string(info.param.name); });

TEST(Id3v2Mapping, PicturesWithEmptyMimeAreDroppedAndUtf16DescriptionsKeptApart) {
    LogCapture log;
    // Encoding 1, MIME, type 6, a UTF-16 description with its two-byte terminator, then the data.
    ByteVec payload = bytesOf(std::string("\x01image/png\0\x06\xFF\xFE" "d\0\0\0\x89PNG", 22));
    Parsed parsed =
        parseFrames(3, {frame("APIC", support::apicPayload("", 3, "", ByteVec{1})), frame("APIC", payload)}, 2);
    ASSERT_EQ(parsed.tag.pictures.size(), 1u);
    EXPECT_EQ(parsed.tag.pictures[0].pictureType, 6);
    EXPECT_EQ(parsed.tag.pictures[0].description, std::string("\xFF\xFE" "d\0", 4));
    EXPECT_EQ(parsed.tag.pictures[0].data, (ByteVec{0x89, 'P', 'N', 'G'}));
    EXPECT_TRUE(parsed.tag.keptFrames.empty());
    EXPECT_TRUE(log.has(LogError, "Invalid picture MIME "));
}

// ---------------------------------------------------------------- real tags of the sample corpus

// The header size is taken, the tag (clamped to the file) is parsed, and the fields are compared
// with the facts recorded for the sample. Where this program's rules read less than the
// sample's notes give, the program's rule is asserted.
struct CorpusCase {
    const char* name;
    const char* file;
    Facts facts;
    int mode = 0;
    const char* message = nullptr;  // logged at any level
};

class Id3v2Corpus : public testing::TestWithParam<CorpusCase> {};

TEST_P(Id3v2Corpus, FactsAgree) {
    std::string path = support::corpusFile(GetParam().file);
    if (path.empty()) GTEST_SKIP() << "corpus folder absent";
    std::vector<uint8_t> file = support::readFile(path);
    ASSERT_FALSE(file.empty()) << path;
    LogCapture log;
    uint32_t size = tagSizeFromHeader(file);
    Parsed parsed;
    if (size != 0)
        parsed = parseBytes(ByteVec(file.begin(), file.begin() + std::min<size_t>(size, file.size())), GetParam().mode);
    Facts actual = factsOf(parsed);
    actual["size"] = std::to_string(size);
    expectFacts(actual, GetParam().facts);
    EXPECT_TRUE(!GetParam().message || log.contains(GetParam().message)) << log.text();
}

INSTANTIATE_TEST_SUITE_P(
    Samples, Id3v2Corpus,
    testing::Values(
        CorpusCase{"UnsynchronisedFramesWithIndicators", "taglib-sharp/sample_v2_4_unsynch.mp3",
                   {{"title", "MP3 title unicode (\u12a2\u1275\u12ee\u1335\u12eb)"}, {"genre", "Acid Punk"},
                    {"track", "6/7"}, {"recording time", "1234"}}},
        // TYER is read in a 2.4 tag too; the first comment is described "iTunes_CDDB_..." and passed over.
        CorpusCase{"YearAndCommentOf24", "mutagen/id3v1v2-combined.mp3",
                   {{"minor", "4"}, {"year", "2004"}, {"comment", "Waterbug Records, www.anaismitchell.com"}}},
        CorpusCase{"ManyFields", "taglib/itunes10.mp3",
                   {{"orchestra", "Album Artist"}, {"bpm", "180"}, {"compilation", "yes"}, {"set", "1/2"},
                    {"genre", "Heavy Metal"}, {"lyrics", "Lyrics"}, {"subtitle", "Description"}, {"group", "Grouping"},
                    {"track", "1/10"}, {"picture", "image/png|png"}, {"picture bytes", "2315"}}},
        CorpusCase{"VersionTwoTwoYear", "taglib/id3v22-tda.mp3", {{"year", "2010"}}},
        // A bare "40" genre is kept as written; the picture runs past the end of the file.
        CorpusCase{"LongTitleCutByTheFile", "tinytag/id3v24-long-title.mp3",
                   {{"title", "Out of the Woodwork"}, {"genre", "40"}, {"pictures", "0"}, {"status", "stopped"}}},
        CorpusCase{"GarbageFrameAfterGoodOnes", "rust-id3/github-issue-156a.id3",
                   {{"title", "Elevator Music Attempt #1"}, {"status", "stopped"}, {"found", "yes"}}},
        // USER carries flag bits 0xB100; every unmapped frame of the layout is kept.
        CorpusCase{"UnknownFrameFlagsKept", "rust-id3/github-issue-86a.id3",
                   {{"status", "complete"}, {"kept", "TFLT TSIZ USER PRIV PRIV PRIV PRIV PRIV"}}, 2},
        CorpusCase{"W000Kept", "taglib/w000.mp3", {{"kept W000", "lukas.lalinsky@example.com____"}}, 2},
        CorpusCase{"RareFrames", "taglib/rare_frames.mp3",
                   {{"size", "1007"}, {"url", "http://a.user.url"}, {"user texts", "2"}}},
        CorpusCase{"OnlyTlenUnmapped", "mutagen/silence-44-s.mp3", {{"size", "1314"}, {"kept", "TLEN"}}, 2},
        CorpusCase{"ExperimentalFlagOnlyIsNoTag", "hsaudiotag/221-compressed.tag", {{"size", "0"}}},
        CorpusCase{"WholeTagUnsynchronisation", "hsaudiotag/230-picture.tag",
                   {{"found", "yes"}, {"status", "unsynchronised"}, {"title", "<absent>"}},
                   0, "Warning: Unsynchronisation is not supported in version 2.3"},
        // The flag is set without an extended header: its size is read from "TIT2".
        CorpusCase{"ExtendedFlagWithoutHeader", "mutagen/issue_21.id3", {{"found", "yes"}, {"title", "<absent>"}}},
        // The syncsafe reading of the first frame lands on zero bytes inside its data.
        CorpusCase{"PlainSizesEndingOnZeros", "hsaudiotag/v24_no_syncsafe.tag",
                   {{"status", "complete"}, {"title", "<absent>"}, {"cd bytes", "420"}}},
        // TENC declares one byte but flags a four-byte data length indicator: the walk stops.
        CorpusCase{"FrameShorterThanItsIndicator", "taglib/broken-tenc.id3",
                   {{"status", "stopped"}, {"title", "<absent>"}}, 0, "Frame buffer size mismatch (-3:256 256)"},
        CorpusCase{"HugeFrameSize", "taglib/excessive_alloc.mp3", {{"status", "stopped"}, {"title", "Bush"}}},
        CorpusCase{"CompressedFramesAreNotDecompressed", "taglib/compressed_id3_frame_invalid.mp3",
                   {{"status", "stopped"}}, 0, "Tag 2.3 frame WOAR size error (0, max 5000)"}),
    [](const testing::TestParamInfo<CorpusCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tagwick
