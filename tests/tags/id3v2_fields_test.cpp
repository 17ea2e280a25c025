// The standard frame ID tables, the frame-to-field rows and the value rules applied when frames
// become fields (pairs, genres, comments, ratings, identifiers, pictures, podcast frames).
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>

#include "support/tag_builders.h"
#include "tags/id3v2_fields.h"
#include "tags/id3v2_reader.h"
#include "tags/id3v2_test_support.h"

namespace tagwick {
namespace {

using namespace tagwick::test;
using support::commentPayload;
using support::latin1Payload;
using support::textPayload;
using support::utf16Bytes;

V2Frame frame(std::string id, ByteVec payload) {
    V2Frame f;
    f.id = std::move(id);
    f.payload = std::move(payload);
    return f;
}

V2Frame text(std::string id, std::string_view value) { return frame(std::move(id), latin1Payload(value)); }

// ---------------------------------------------------------------- ID tables

TEST(Id3v2Tables, HoldDistinctIdsOfTheRightLength) {
    std::set<std::string_view> four(FrameIds4.begin(), FrameIds4.end());
    std::set<std::string_view> three(FrameIds3.begin(), FrameIds3.end());
    EXPECT_EQ(four.size(), 100u);
    EXPECT_EQ(three.size(), 69u);
    for (std::string_view id : FrameIds4) EXPECT_EQ(id.size(), 4u) << id;
    for (std::string_view id : FrameIds3) EXPECT_EQ(id.size(), 3u) << id;
    EXPECT_EQ(FrameIds4[0], "AENC");
    EXPECT_EQ(FrameIds4[StandardIdCountV23 - 1], "TSWC");
    EXPECT_EQ(FrameIds4[StandardIdCountV23], "ASPI");
    EXPECT_EQ(FrameIds4[99], "TSST");
    EXPECT_EQ(FrameIds3[0], "BUF");
    EXPECT_EQ(FrameIds3[68], "TDR");
}

struct StandardCase {
    const char* id;
    int version;
    bool standard;
};

class Id3v2StandardIds : public testing::TestWithParam<StandardCase> {};

TEST_P(Id3v2StandardIds, DependOnTheVersion) {
    EXPECT_EQ(isStandardFrameId(GetParam().id, GetParam().version), GetParam().standard)
        << GetParam().id << " in 2." << GetParam().version;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Id3v2StandardIds,
    testing::Values(StandardCase{"TIT2", 3, true}, StandardCase{"TCMP", 3, true}, StandardCase{"PCST", 3, true},
                    StandardCase{"WFD ", 3, true}, StandardCase{"TSWC", 3, true}, StandardCase{"RVA2", 3, false},
                    StandardCase{"TDRC", 3, false}, StandardCase{"RVA2", 4, true}, StandardCase{"TSST", 4, true},
                    StandardCase{"TSST", 7, true}, StandardCase{"XYZW", 4, false}, StandardCase{"TIT2", 2, false},
                    StandardCase{"TT2", 2, true}, StandardCase{"TDR", 2, true}, StandardCase{"PCS", 2, true},
                    StandardCase{"TT2", 3, false}, StandardCase{"TIT", 4, false}, StandardCase{"", 4, false}));

TEST(Id3v2Rows, EveryIdIsStandardInItsTable) {
    for (const V2FieldRow& row : V2FieldRows) {
        EXPECT_TRUE(isStandardFrameId(row.id, 4)) << row.id;
        if (!row.id22.empty()) {
            EXPECT_TRUE(isStandardFrameId(row.id22, 2)) << row.id22;
        }
        if (!row.altId.empty()) {
            EXPECT_TRUE(isStandardFrameId(row.altId, 4)) << row.altId;
        }
        EXPECT_EQ(&fieldRow(row.field), &row);
    }
}

TEST(Id3v2Rows, AreFoundByTheIdsOfTheVersion) {
    ASSERT_NE(findFieldRow("TT2", 2), nullptr);
    EXPECT_EQ(findFieldRow("TT2", 2)->field, V2Field::Title);
    EXPECT_EQ(findFieldRow("TIT2", 3)->field, V2Field::Title);
    EXPECT_EQ(findFieldRow("WFD ", 4)->field, V2Field::PodcastFeed);
    EXPECT_EQ(findFieldRow("WFED", 3)->field, V2Field::PodcastFeed);
    EXPECT_EQ(findFieldRow("WFD", 2)->field, V2Field::PodcastFeed);
    EXPECT_EQ(findFieldRow("TIT2", 2), nullptr);
    EXPECT_EQ(findFieldRow("TT2", 4), nullptr);
    EXPECT_EQ(findFieldRow("TRSN", 4), nullptr);
    EXPECT_EQ(findFieldRow("", 2), nullptr);  // rows without a 2.2 frame do not match an empty ID
}

TEST(Id3v2Rows, TextFieldsAreDistinctAndOnlyForTextKinds) {
    Id3v2Tag tag;
    std::set<const OptText*> seen;
    for (const V2FieldRow& row : V2FieldRows) {
        OptText* field = textField(tag, row.field);
        bool textKind = row.kind == V2FrameKind::Text || row.kind == V2FrameKind::Text8 ||
                        row.kind == V2FrameKind::Genre || row.kind == V2FrameKind::Comment ||
                        row.kind == V2FrameKind::UserUrl || row.kind == V2FrameKind::Url ||
                        row.kind == V2FrameKind::FeedUrl;
        EXPECT_EQ(field != nullptr, textKind) << row.id;
        if (field) {
            EXPECT_TRUE(seen.insert(field).second) << row.id;
        }
    }
}

// Every plain text row is read from its 2.3/2.4 frame and from its 2.2 frame.
TEST(Id3v2Rows, EveryTextRowTakesItsFrames) {
    for (const V2FieldRow& row : V2FieldRows) {
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
}

// ---------------------------------------------------------------- value rules

TEST(Id3v2Values, ReadDecimal) {
    EXPECT_EQ(readDecimal("12"), 12);
    EXPECT_EQ(readDecimal("  7x"), 7);
    EXPECT_EQ(readDecimal("0"), 0);
    EXPECT_EQ(readDecimal(""), -1);
    EXPECT_EQ(readDecimal("abc"), -1);
    EXPECT_EQ(readDecimal("-1"), -1);
    EXPECT_GT(readDecimal("99999999999999999999"), 65535);
}

TEST(Id3v2Values, NumberPairs) {
    using Pair = std::pair<uint16_t, uint16_t>;
    EXPECT_EQ(parseNumberPair("3/12"), Pair(3, 12));
    EXPECT_EQ(parseNumberPair("7"), Pair(7, NumberNotSet));
    EXPECT_EQ(parseNumberPair("/9"), Pair(NumberNotSet, 9));
    EXPECT_EQ(parseNumberPair("04/ 10"), Pair(4, 10));
    EXPECT_EQ(parseNumberPair(""), Pair(NumberNotSet, NumberNotSet));
    EXPECT_EQ(parseNumberPair("70000/65535"), Pair(NumberNotSet, NumberNotSet));
    EXPECT_EQ(parseNumberPair("65534/0"), Pair(65534, 0));
}

struct GenreCase {
    const char* name;
    const char* text;
    const char* genre;
};

class Id3v2Genre : public testing::TestWithParam<GenreCase> {};

TEST_P(Id3v2Genre, FromFrameText) {
    Parsed parsed = parseFrames(3, {text("TCON", GetParam().text)});
    EXPECT_EQ(utf8Of(parsed.tag.genre), GetParam().genre);
    EXPECT_EQ(genreFromText(TextValue::latin1(GetParam().text)).utf8(), GetParam().genre);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Id3v2Genre,
    testing::Values(GenreCase{"NumberOnly", "(17)", "Rock"}, GenreCase{"NumberAndName", "(17)Rock", "Rock"},
                    GenreCase{"NumberWinsOverName", "(0)Rock", "Blues"}, GenreCase{"LastStandard", "(79)", "Hard Rock"},
                    GenreCase{"FirstExtension", "(80)", "Folk"}, GenreCase{"LastExtension", "(125)", "Dance Hall"},
                    GenreCase{"BeyondTheLists", "(130)", ""}, GenreCase{"BeyondTheListsWithText", "(126)Other", "Other"},
                    GenreCase{"PlainName", "Rock", "Rock"}, GenreCase{"NotANumber", "(abc)Rock", "Rock"},
                    GenreCase{"Negative", "(-1)Pop", "Pop"}, GenreCase{"NoClosingParenthesis", "(17", "Rock"},
                    GenreCase{"ParenthesisLater", "Hard (Rock) x", " x"}, GenreCase{"BareNumber", "17", "17"}),
    [](const testing::TestParamInfo<GenreCase>& info) { return std::string(info.param.name); });

TEST(Id3v2Values, Utf16GenreTextKeepsItsEncoding) {
    Parsed parsed = parseFrames(3, {frame("TCON", textPayload(1, utf16Bytes(u"(abc)R\u00f6ck")))});
    ASSERT_TRUE(parsed.tag.genre.has_value());
    EXPECT_TRUE(parsed.tag.genre->isUtf16());
    EXPECT_EQ(parsed.tag.genre->utf8(), "R\u00f6ck");
    Parsed numbered = parseFrames(3, {frame("TCON", textPayload(1, utf16Bytes(u"(13)")))});
    EXPECT_EQ(utf8Of(numbered.tag.genre), "Pop");
    EXPECT_FALSE(numbered.tag.genre->isUtf16());
}

TEST(Id3v2Values, AdvisoryDigit) {
    EXPECT_EQ(advisoryFromText(TextValue::latin1("1")), 1);
    EXPECT_EQ(advisoryFromText(TextValue::latin1("2")), 2);
    EXPECT_EQ(advisoryFromText(TextValue::latin1("A")), 17);
    EXPECT_EQ(advisoryFromText(TextValue::latin1("/")), '/');
    EXPECT_EQ(advisoryFromText(TextValue::latin1("\x01")), 1);
    EXPECT_EQ(advisoryFromText(TextValue::latin1("")), 0);
    EXPECT_EQ(advisoryFromText(TextValue::utf16(std::string("\xFE\xFF\x00\x32", 4))), 2);
    EXPECT_EQ(advisoryFromText(TextValue::utf16(std::string("\xFF\xFE\x31\x00", 4))), 1);
}

struct MimeCase {
    const char* mime;
    const char* word;
};

class Id3v2PictureMime : public testing::TestWithParam<MimeCase> {};

TEST_P(Id3v2PictureMime, GivesTheFormatWord) {
    ByteVec data{1, 2, 3, 4};
    Parsed parsed = parseFrames(3, {frame("APIC", support::apicPayload(GetParam().mime, 3, "front", data))});
    ASSERT_EQ(parsed.tag.pictures.size(), 1u);
    const Picture& picture = parsed.tag.pictures[0];
    EXPECT_EQ(picture.mime, GetParam().mime);
    EXPECT_EQ(picture.format, GetParam().word);
    EXPECT_EQ(picture.pictureType, 3);
    EXPECT_EQ(picture.description, "front");
    EXPECT_EQ(picture.data, data);
}

INSTANTIATE_TEST_SUITE_P(Cases, Id3v2PictureMime,
                         testing::Values(MimeCase{"image/jpeg", "jpeg"}, MimeCase{"image/jpg", "jpeg"},
                                         MimeCase{"image/tif", "tiff"}, MimeCase{"image/tiff", "tiff"},
                                         MimeCase{"image/png", "png"}, MimeCase{"image/gif", "gif"},
                                         MimeCase{"image/bmp", "bmp"}, MimeCase{"image/webp", "webp"},
                                         MimeCase{"IMAGE/PNG", "png"}, MimeCase{"image/x-portable", "x-por"},
                                         MimeCase{"jpg", "jpeg"}));

TEST(Id3v2Values, PicFormatsGiveMimeTypes) {
    EXPECT_EQ(mimeFromPicFormat("PNG"), "image/png");
    EXPECT_EQ(mimeFromPicFormat("JPG"), "image/jpeg");
    EXPECT_EQ(mimeFromPicFormat("GIF"), "image/gif");
    EXPECT_EQ(mimeFromPicFormat(std::string_view("\0\0\0", 3)), "");
}

// ---------------------------------------------------------------- the mapping, frame by frame

std::string pairText(uint16_t number, uint16_t total) { return std::to_string(number) + "/" + std::to_string(total); }

struct MappingCase {
    const char* name;
    int major;
    std::vector<V2Frame> frames;
    std::function<std::string(const Id3v2Tag&)> field;
    std::string expected;
    int mode = 0;
};

class Id3v2Mapping : public testing::TestWithParam<MappingCase> {};

TEST_P(Id3v2Mapping, FramesBecomeFields) {
    Parsed parsed = parseFrames(GetParam().major, GetParam().frames, GetParam().mode);
    EXPECT_EQ(GetParam().field(parsed.tag), GetParam().expected);
}

auto title = [](const Id3v2Tag& t) { return utf8Of(t.title); };
auto comment = [](const Id3v2Tag& t) { return utf8Of(t.comment); };
auto track = [](const Id3v2Tag& t) { return pairText(t.trackNumber, t.trackTotal); };
auto set = [](const Id3v2Tag& t) { return pairText(t.setNumber, t.setTotal); };

ByteVec utf16Comment(std::u16string_view description, ByteVec textBytes, uint8_t encoding = 1) {
    return commentPayload(encoding, "eng", utf16Bytes(description), textBytes);
}

std::vector<MappingCase> mappingCases() {
    ByteVec ident(70, 'i');
    return {
        {"TrackAndTotal", 3, {text("TRCK", "3/12")}, track, "3/12"},
        {"TrackOnly", 4, {text("TRCK", "7")}, track, "7/65535"},
        {"TrackFromVersionTwoTwo", 2, {text("TRK", "3/11")}, track, "3/11"},
        {"FirstTrackFrameWins", 3, {text("TRCK", "1/2"), text("TRCK", "5/6")}, track, "1/2"},
        {"SetPair", 3, {text("TPOS", "1/2")}, set, "1/2"},
        {"SetFromVersionTwoTwo", 2, {text("TPA", "2/3")}, set, "2/3"},
        {"Year", 3, {text("TYER", "2004")}, [](const Id3v2Tag& t) { return t.year; }, "2004"},
        {"YearCutToFour", 3, {text("TYER", "20045")}, [](const Id3v2Tag& t) { return t.year; }, "2004"},
        {"Utf16Year", 3, {frame("TYER", textPayload(1, utf16Bytes(u"1999")))},
         [](const Id3v2Tag& t) { return t.year; }, "1999"},
        {"FirstTitleWins", 3, {text("TIT2", "First"), text("TIT2", "Second")}, title, "First"},
        {"EmptyTitleStillWins", 3, {text("TIT2", ""), text("TIT2", "Second")}, title, ""},
        {"Comment", 3, {frame("COMM", commentPayload(0, "eng", {}, support::ByteVec{'H', 'i'}))}, comment, "Hi"},
        {"ITunesCommentIsSkipped", 3,
         {frame("COMM", commentPayload(0, "eng", bytesOf("iTunNORM"), bytesOf(" 0000080E"))),
          frame("COMM", commentPayload(0, "eng", {}, bytesOf("Real")))},
         comment, "Real"},
        {"FirstOtherCommentWins", 3,
         {frame("COMM", commentPayload(0, "eng", bytesOf("x"), bytesOf("One"))),
          frame("COMM", commentPayload(0, "eng", {}, bytesOf("Two")))},
         comment, "One"},
        {"Utf16ITunesCommentIsSkipped", 4,
         {frame("COMM", utf16Comment(u"iTunSMPB", utf16Bytes(u"x"))),
          frame("COMM", utf16Comment(u"", utf16Bytes(u"Real")))},
         comment, "Real"},
        {"Utf16CommentLittleEndian", 3, {frame("COMM", utf16Comment(u"d", utf16Bytes(u"\u00e9t\u00e9")))}, comment,
         "\u00e9t\u00e9"},
        {"Utf16CommentBigEndian", 3, {frame("COMM", utf16Comment(u"d", utf16Bytes(u"\u0416", true)))}, comment,
         "\u0416"},
        {"Utf16CommentWithoutMarkButLatin", 3,
         {frame("COMM", utf16Comment(u"d", utf16Bytes(u"Plain", true, false)))}, comment, "Plain"},
        {"Utf16CommentWithoutMarkIsDropped", 3,
         {frame("COMM", utf16Comment(u"d", utf16Bytes(u"Plain", false, false))),
          frame("COMM", commentPayload(0, "eng", {}, bytesOf("Next")))},
         comment, "Next"},
        {"BigEndianCommentWithoutMark", 4,
         {frame("COMM", commentPayload(2, "eng", utf16Bytes(u"d", true, false), utf16Bytes(u"BE", true, false)))},
         comment, "BE"},
        {"Utf8Comment", 4, {frame("COMM", commentPayload(3, "eng", bytesOf("d"), bytesOf("\xE2\x82\xAC")))}, comment,
         "\u20ac"},
        {"CommentFromVersionTwoTwo", 2, {frame("COM", commentPayload(0, "eng", {}, bytesOf("Old")))}, comment,
         "Old"},
        {"Lyrics", 3, {frame("USLT", commentPayload(0, "eng", bytesOf("iTunes"), bytesOf("La la")))},
         [](const Id3v2Tag& t) { return utf8Of(t.lyrics); }, "La la"},
        {"LyricsFromVersionTwoTwo", 2, {frame("ULT", commentPayload(0, "eng", {}, bytesOf("Old")))},
         [](const Id3v2Tag& t) { return utf8Of(t.lyrics); }, "Old"},
        {"AdvisoryDigit", 4, {text("TRTG", "1"), text("TRTG", "2")}, [](const Id3v2Tag& t) { return std::to_string(t.advisory); }, "1"},
        {"AdvisoryTakenWhileZero", 4, {text("TRTG", "0"), text("TRTG", "2")},
         [](const Id3v2Tag& t) { return std::to_string(t.advisory); }, "2"},
        {"Podcast", 3, {frame("PCST", {0, 0, 0, 0})}, [](const Id3v2Tag& t) { return std::to_string(t.podcast); },
         "1"},
        {"PodcastFromVersionTwoTwo", 2, {frame("PCS", {1})},
         [](const Id3v2Tag& t) { return std::to_string(t.podcast); }, "1"},
        {"FeedWithBlankId", 3, {text("WFD ", "http://feed")},
         [](const Id3v2Tag& t) { return utf8Of(t.podcastFeed); }, "http://feed"},
        {"Rating", 3, {frame("POPM", support::popmPayload("a@b.c", 196, ByteVec{0, 0, 1, 0}))},
         [](const Id3v2Tag& t) { return std::to_string(t.hasRating) + ":" + std::to_string(t.rating); }, "1:196"},
        {"RatingWithoutTerminator", 3, {frame("POPM", bytesOf("mail"))},
         [](const Id3v2Tag& t) { return std::to_string(t.hasRating) + ":" + std::to_string(t.rating); }, "1:0"},
        {"UniqueIdentifierCutTo64", 3, {frame("UFID", support::ufidPayload("http://owner", ident))},
         [](const Id3v2Tag& t) { return t.ufidOwner + "|" + t.ufid; }, "http://owner|" + std::string(64, 'i')},
        {"CdIdentifier", 3, {frame("MCDI", {0, 1, 2, 0xFF})},
         [](const Id3v2Tag& t) { return std::string(t.cdIdentifier.begin(), t.cdIdentifier.end()); },
         std::string("\0\1\2\xFF", 4)},
        {"UserUrl", 3, {frame("WXXX", support::userUrlPayload(1, utf16Bytes(u"home"), "http://x.org"))},
         [](const Id3v2Tag& t) { return utf8Of(t.url); }, "http://x.org"},
        {"ArtistUrl", 3, {frame("WOAR", bytesOf("http://artist"))},
         [](const Id3v2Tag& t) { return utf8Of(t.artistUrl); }, "http://artist"},
        {"Compilation", 3, {text("TCMP", "1")}, [](const Id3v2Tag& t) { return std::to_string(t.compilation); }, "1"},
        {"CompilationZero", 3, {text("TCMP", "0")}, [](const Id3v2Tag& t) { return std::to_string(t.compilation); },
         "0"},
        {"ReleaseTimeFromVersionTwoTwoNeedsAMode", 2, {text("TDR", "2001")},
         [](const Id3v2Tag& t) { return utf8Of(t.releaseTime); }, "<absent>"},
        {"ReleaseTimeFromVersionTwoTwo", 2, {text("TDR", "2001")},
         [](const Id3v2Tag& t) { return utf8Of(t.releaseTime); }, "2001", 1},
        {"PictureFromVersionTwoTwo", 2, {frame("PIC", support::picPayload("PNG", 0, "", ByteVec{9, 9}))},
         [](const Id3v2Tag& t) { return t.pictures.at(0).mime + "|" + t.pictures.at(0).format; }, "image/png|png"},
        {"JpegFromVersionTwoTwo", 2, {frame("PIC", support::picPayload("JPG", 3, "c", ByteVec{9}))},
         [](const Id3v2Tag& t) { return t.pictures.at(0).mime + "|" + t.pictures.at(0).format; }, "image/jpeg|jpeg"},
    };
}

INSTANTIATE_TEST_SUITE_P(Cases, Id3v2Mapping, testing::ValuesIn(mappingCases()),
                         [](const testing::TestParamInfo<MappingCase>& info) { return std::string(info.param.name); });

TEST(Id3v2Mapping, UserTextsAreKeptWholeInOrder) {
    Parsed parsed = parseFrames(3, {frame("TXXX", {0, 'a', 0, 'b'}), frame("TXXX", {1, 0xFF, 0xFE, 0, 0})});
    ASSERT_EQ(parsed.tag.userTexts.size(), 2u);
    EXPECT_EQ(parsed.tag.userTexts[0], (ByteVec{0, 'a', 0, 'b'}));
    EXPECT_EQ(parsed.tag.userTexts[1], (ByteVec{1, 0xFF, 0xFE, 0, 0}));
}

TEST(Id3v2Mapping, PictureWithEmptyMimeIsDropped) {
    LogCapture log;
    Parsed parsed = parseFrames(3, {frame("APIC", support::apicPayload("", 3, "", ByteVec{1})),
                                    frame("APIC", support::apicPayload("image/gif", 4, "", ByteVec{2}))},
                                2);
    ASSERT_EQ(parsed.tag.pictures.size(), 1u);
    EXPECT_EQ(parsed.tag.pictures[0].format, "gif");
    EXPECT_TRUE(parsed.tag.keptFrames.empty());
    EXPECT_TRUE(log.has(LogError, "Invalid picture MIME "));
}

TEST(Id3v2Mapping, PicturesKeepUtf16DescriptionsApart) {
    ByteVec payload{1};
    for (char c : std::string("image/png")) payload.push_back(uint8_t(c));
    payload.push_back(0);
    payload.push_back(6);
    ByteVec description = utf16Bytes(u"d");
    payload.insert(payload.end(), description.begin(), description.end());
    payload.insert(payload.end(), {0, 0, 0x89, 'P', 'N', 'G'});
    Parsed parsed = parseFrames(3, {frame("APIC", payload)});
    ASSERT_EQ(parsed.tag.pictures.size(), 1u);
    EXPECT_EQ(parsed.tag.pictures[0].pictureType, 6);
    EXPECT_EQ(parsed.tag.pictures[0].description, std::string("\xFF\xFE" "d\0", 4));
    EXPECT_EQ(parsed.tag.pictures[0].data, (ByteVec{0x89, 'P', 'N', 'G'}));
}

TEST(Id3v2Mapping, ConversionClearAppliesToComments) {
    ByteVec payload = utf16Comment(u"", utf16Bytes(u"\u00c7\u0416x"));
    Parsed parsed = parseFrames(3, {frame("COMM", payload)}, 0, false);
    ASSERT_TRUE(parsed.tag.comment.has_value());
    EXPECT_FALSE(parsed.tag.comment->isUtf16());
    EXPECT_EQ(parsed.tag.comment->bytes(), "\xC7x");
}

}  // namespace
}  // namespace tagwick
