// The version 2 tag. The reader: header check, tag flags, damaged frames with their messages, the
// syncsafe fallback, encodings, tag type modes, and the value rules applied when frames become
// fields. The writer, checked byte for byte against tags laid out by the test builders, and every
// row of the field table written alone, read back, compared and written again. The verification's
// comparison (code and label of the first difference, the differences that are none), -import's
// merge of field sets, what python3-mutagen reads of the written tags, and saves that meet a
// track which is gone.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/cli_runner.h"
#include "support/log_capture.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"
#include "tags/id3_tag.h"
#include "tags/id3v1.h"
#include "tags/id3v2_compare.h"
#include "tags/id3v2_fields.h"
#include "tags/id3v2_merge.h"
#include "tags/id3v2_reader.h"
#include "tags/id3v2_writer.h"
#include "tags/track_save.h"

namespace tagwick {
namespace {

using namespace tagwick::support;

using Facts = std::map<std::string, std::string>;

ByteVec tag(int major, std::vector<V2Frame> frames, size_t padding = 0, uint8_t flags = 0) {
    return buildV2Tag({major, flags, std::move(frames), {}, padding});
}

V2Frame frame(std::string id, ByteVec payload, uint16_t flags = 0) { return {std::move(id), std::move(payload), flags, {}, false}; }
V2Frame text(std::string id, std::string_view value) { return frame(std::move(id), latin1Payload(value)); }
V2Frame sized(V2Frame f, uint32_t size, bool plain = false) {
    f.sizeOverride = size;
    f.plainSize = plain;
    return f;
}
V2Frame comm(uint8_t encoding, ByteVec description, ByteVec value) {
    return frame("COMM", commentPayload(encoding, "eng", description, value));
}

std::string utf8Of(const OptText& t) { return t ? t->utf8() : "<absent>"; }

// What the reader makes of a tag: the fields it sets, its outcome, and every line it logs.
Facts readFacts(const ByteVec& bytes, int mode) {
    LogCapture log;
    Id3v2Tag t;
    const std::vector<uint8_t> exact(bytes);  // any read past the tag's length overflows the heap
    const V2ParseOutcome outcome = parseV2(t, exact, V2ReadSettings{mode, true});
    Facts f = {{"status", std::to_string(outcome.status) + (outcome.found ? "" : " not found")},
               {"title", utf8Of(t.title)}, {"artist", utf8Of(t.artist)}, {"genre", utf8Of(t.genre)},
               {"comment", utf8Of(t.comment)}, {"release", utf8Of(t.releaseTime)},
               {"track", std::to_string(t.trackNumber) + "/" + std::to_string(t.trackTotal)}, {"kept", ""},
               {"picture", t.pictures.empty() ? "<none>" : t.pictures[0].mime + "|" + t.pictures[0].format},
               {"log", log.undated()}};
    for (const KeptFrame& k : t.keptFrames) f["kept"] += (f["kept"].empty() ? "" : " ") + k.id;
    return f;
}

// Text in which no run of four bytes can be taken for a frame ID.
std::string unframedText(size_t length) {
    std::string out;
    while (out.size() < length) out += "ab. ";
    out.resize(length);
    return out;
}

ByteVec withTrailing(ByteVec bytes, std::string_view extra) {
    bytes.insert(bytes.end(), extra.begin(), extra.end());
    ByteVec size = syncsafeBytes(uint32_t(bytes.size() - 10));
    std::copy(size.begin(), size.end(), bytes.begin() + 6);
    return bytes;
}

TEST(Id3v2Header, SizeOrNoTag) {
    auto header = [](uint8_t major, uint8_t flags) { return ByteVec{'I', 'D', '3', major, 0, flags, 0, 0, 2, 1}; };
    LogCapture log;
    EXPECT_EQ(tagSizeFromHeader(header(3, 0)), 267u);
    EXPECT_EQ(tagSizeFromHeader(header(3, 0x20)), 0u);  // experimental alone is no tag
    EXPECT_EQ(tagSizeFromHeader(ByteVec{'i', 'd', '3', 3, 0, 0, 0, 0, 0, 100}), 0u);
    EXPECT_EQ(tagSizeFromHeader(header(5, 0)), 267u);
    EXPECT_EQ(log.undated(), "[E]: ID3 tag version 2.5 is incompatible (max 2.4)\n");
}

// Each case lists the facts it cares about; the log is always compared (empty when not listed).
TEST(Id3v2Reader, FieldsOutcomeAndLog) {
    struct Case {
        const char* name;
        ByteVec bytes;
        Facts facts;
        int mode = 0;
    };
    const std::string t199 = unframedText(199);  // in a 200-byte frame: 00 00 00 C8, 72 when read as syncsafe
    std::string zeroAt72 = t199;
    zeroAt72[71] = '\0';
    ByteVec flagged{0, 0, 0, 5};  // data length indicator, then the unsynchronised payload
    append(flagged, unsynchronise(latin1Payload("\xFF\xE0z\xFF")));
    const std::string nonStandard = "[E]: Non-standard 2.4 tag ID found 'XYZW' (size 3)\n";
    const ByteVec unmapped = tag(4, {text("TIT2", "T"), frame("XYZW", {1, 2, 3}), frame("RVA2", {4, 5})});
    const std::vector<Case> cases = {
        {"Version5ReadAs4", tag(5, {text("TIT2", t199)}),
         {{"title", t199}, {"log", "[W]: Warning: Tag version 2.5 found (max allowed is 2.4)\n"}}},
        {"UnsynchronisationRefusedUpTo23", tag(3, {text("TIT2", "T")}, 0, 0x80),
         {{"status", "2"}, {"title", "<absent>"},
          {"log", "[W]: Warning: Unsynchronisation is not supported in version 2.3\n"}}},
        {"UnsynchronisationIn24", tag(4, {text("TIT2", "T")}, 0, 0x80), {{"status", "0"}, {"title", "T"}}},
        // The extended header is skipped by its size plus 14; in 2.4 the size counts its own
        // field, so the skip lands four bytes late.
        {"ExtendedHeader23", buildV2Tag({3, 0x40, {text("TIT2", "After")}, {0, 0, 0, 6, 0, 0, 0, 0, 0, 0}}),
         {{"title", "After"}}},
        {"ExtendedHeader24", buildV2Tag({4, 0x40, {text("TIT2", "After")}, {0, 0, 0, 6, 1, 0, 'x', 'x', 'x', 'x'}}),
         {{"title", "After"}}},
        // Damage stops the walk, keeping the frames before it.
        {"EmptyFrame", tag(3, {text("TIT2", "A"), frame("TPE1", {}), text("TPE1", "C")}),
         {{"status", "1"}, {"title", "A"}, {"artist", "<absent>"},
          {"log", "[E]: Tag 2.3 frame TPE1 size error (0, max 44)\n"}}},
        {"FramePastTheTag", tag(3, {sized(text("TIT2", "abc"), 420)}, 400),
         {{"status", "1"}, {"title", "<absent>"}, {"log", "[E]: Frame buffer size mismatch (420:425 404)\n"}}},
        {"ShortId22", withTrailing(tag(2, {text("TT2", "A")}), "XY"),
         {{"status", "1"}, {"title", "A"}, {"log", "[E]: Failed to read the 2.2 frame ID (20:22)\n"}}},
        {"DataLengthFlagWithoutRoom", tag(4, {frame("TIT2", {0}, 0x0001), text("TPE1", "B")}),
         {{"status", "1"}, {"title", "<absent>"}, {"artist", "<absent>"},
          {"log", "[E]: Frame buffer size mismatch (-3:256 9)\n"}}},
        {"PlainSizePastTheTag", tag(4, {sized(text("TIT2", unframedText(99)), 200, true)}),
         {{"status", "1"}, {"title", "<absent>"},
          {"log", "[E]: Failed to read the 2.4 non-syncsafe frame (120:220)\n"}}},
        {"NoFrameAfterPlainSize", withTrailing(tag(4, {sized(text("TIT2", t199), 200, true)}), "ab. ab. "),
         {{"status", "1"}, {"title", "<absent>"},
          {"log", "[E]: Failed to validate the tag position after a non-syncsafe frame\n"}}},
        // A 2.4 size is syncsafe unless the bytes after it are no frame; a zero there is padding.
        {"PlainSizeFallback", tag(4, {sized(text("TIT2", t199), 200, true), text("TPE1", "Next")}),
         {{"status", "0"}, {"title", t199}, {"artist", "Next"}}},
        {"ZeroWhereSyncsafeEnds", tag(4, {sized(text("TIT2", zeroAt72), 200, true), text("TPE1", "Next")}),
         {{"status", "0"}, {"title", t199.substr(0, 71)}, {"artist", "<absent>"}}},
        {"DataLengthAndUnsynchronisedFrame", tag(4, {frame("TIT2", flagged, 0x0003)}),
         {{"title", "\xC3\xBF\xC3\xA0z\xC3\xBF"}}},
        {"Utf16BigEndianWithoutMark", tag(4, {frame("TIT2", textPayload(2, utf16Bytes(u"H\u00e9", true, false)))}),
         {{"title", "H\u00e9"}}, 2},
        {"Utf16WithoutMark", tag(4, {frame("TIT2", textPayload(1, utf16Bytes(u"Hi", false, false)))}),
         {{"title", "<absent>"}}, 2},
        {"UnknownEncoding", tag(4, {frame("TIT2", {4, 'H', 'i'})}),
         {{"title", "<absent>"}, {"log", "[E]: Unknown Unicode type 4 found for frame ID TIT2\n"}}, 2},
        // Tag type modes drop or keep unmapped frames; the two progress messages are tied to the
        // modes this way round on purpose.
        {"Mode0", unmapped, {{"title", "T"}, {"kept", ""}, {"log", nonStandard}}, 0},
        {"Mode1", unmapped,
         {{"title", "T"}, {"kept", "RVA2"}, {"log", nonStandard + "[S]: Adding non-standard tag field 'RVA2'\n"}}, 1},
        {"Mode2", unmapped,
         {{"title", "T"}, {"kept", "XYZW RVA2"},
          {"log", nonStandard + "[S]: Adding unsupported but valid tag field 'XYZW'\n"
                                "[S]: Adding unsupported but valid tag field 'RVA2'\n"}}, 2},
        // Mode 1 follows the table of the version; compilation frames count as standard; mapped
        // ones are never kept.
        {"Mode1In23", tag(3, {frame("RVA2", {1}), frame("RVAD", {2}), text("TCMP", "1"), text("TIT2", "First"),
                              text("TIT2", "Second")}),
         {{"kept", "RVAD"}, {"title", "First"},
          {"log", "[E]: Non-standard 2.3 tag ID found 'RVA2' (size 1)\n"
                  "[S]: Adding non-standard tag field 'RVAD'\n"}}, 1},
        {"NothingKeptFrom22", tag(2, {frame("RVA", {1, 2})}),
         {{"kept", ""}, {"log", "[W]: Copying all tag data is not supported for frame ID RVA in version 2.2\n"}}, 1},
        // The value rules applied when frames become fields.
        {"TrackWithoutTotal", tag(4, {text("TRCK", "7")}), {{"track", "7/65535"}}},
        {"GenreNumberBeforeName", tag(3, {text("TCON", "(0)Rock")}), {{"genre", "Blues"}}},
        {"GenreNumberPastTheList", tag(3, {text("TCON", "(130)")}), {{"genre", ""}}},
        {"GenreNegative", tag(3, {text("TCON", "(-1)Pop")}), {{"genre", "Pop"}}},
        {"GenreBracketsInTheName", tag(3, {text("TCON", "Hard (Rock) x")}), {{"genre", " x"}}},
        {"ITunesCommentSkipped", tag(3, {comm(0, bytesOf("iTunNORM"), bytesOf(" 0E")), comm(0, {}, bytesOf("Real"))}),
         {{"comment", "Real"}}},
        {"CommentWithDescriptionSkipped",
         tag(3, {comm(1, utf16Bytes(u"d"), utf16Bytes(u"Plain", false, false)), comm(0, {}, bytesOf("Next"))}),
         {{"comment", "Next"}}},
        {"ReleaseTime22Mode0", tag(2, {text("TDR", "2001")}), {{"release", "<absent>"}}},
        {"ReleaseTime22Mode1", tag(2, {text("TDR", "2001")}), {{"release", "2001"}}, 1},
        {"Picture22", tag(2, {frame("PIC", {0, 'J', 'P', 'G', 3, 'c', 0, 9})}), {{"picture", "image/jpeg|jpeg"}}},
        {"PictureJpg", tag(3, {frame("APIC", apicPayload("image/jpg", 3, "", ByteVec{1}))}),
         {{"picture", "image/jpg|jpeg"}}},
        {"PictureFormatCut", tag(3, {frame("APIC", apicPayload("image/x-portable", 3, "", ByteVec{1}))}),
         {{"picture", "image/x-portable|x-por"}}},
        {"PictureWithoutMime", tag(3, {frame("APIC", apicPayload("", 3, "", ByteVec{1}))}),
         {{"picture", "<none>"}, {"log", "[E]: Invalid picture MIME \n"}}},
    };
    for (const Case& c : cases) {
        Facts expected = c.facts;
        expected.try_emplace("log", "");
        const Facts actual = readFacts(c.bytes, c.mode);
        for (const auto& [key, value] : expected) EXPECT_EQ(actual.at(key), value) << c.name << ": " << key;
    }
}

// ---------------------------------------------------------------- the writer

TextValue latin(std::string text) { return TextValue::latin1(std::move(text)); }
TextValue wide(std::u16string_view text, bool bigEndian = false) {
    ByteVec bytes = utf16Bytes(text, bigEndian);
    return TextValue::utf16(std::string(bytes.begin(), bytes.end()));
}
// Little-endian text with its mark and the two-byte terminator.
ByteVec wideText(std::u16string_view value) { return concat({utf16Bytes(value), ByteVec{0, 0}}); }
V2Frame wideFrame(std::string id, std::u16string_view value) { return frame(std::move(id), textPayload(1, wideText(value))); }

std::vector<uint8_t> written(const std::function<void(Id3v2Tag&)>& set, V2WriteSettings settings) {
    Id3v2Tag fields;
    set(fields);
    return tagwick::buildV2Tag(fields, settings);
}

// One value for each row of the field table: texts are UTF-16 (their 8-bit form " \xC7a ?").
void setRow(Id3v2Tag& t, const V2FieldRow& row) {
    if (OptText* value = textField(t, row.field)) {
        *value = wide(u" \u00c7a \u263a");
        return;
    }
    switch (row.field) {
        case V2Field::Track: t.trackNumber = 4; return;
        case V2Field::Set: t.setTotal = 3; return;
        case V2Field::Year: t.year = "1970"; return;
        case V2Field::Compilation: t.compilation = true; return;
        case V2Field::Rating: t.hasRating = true; return;  // rating 0
        case V2Field::Ufid: t.hasUfid = true, t.ufid = std::string(70, 'u'); return;
        case V2Field::CdIdentifier: t.cdIdentifier = {0, 1, 2}; return;
        case V2Field::Podcast: t.podcast = true; return;
        case V2Field::Advisory: t.advisory = 7; return;
        case V2Field::UserText: t.userTexts = {textPayload(1, concat({wideText(u"d"), utf16Bytes(u"v")}))}; return;
        case V2Field::Picture: t.pictures = {{"image/gif", "gif", 3, "front", bytesOf("GIF89a")}}; return;
        default: ADD_FAILURE() << "no value for the row " << row.id;
    }
}

TEST(V2Writer, EveryFieldInTheWritersOrder) {
    auto all = [](Id3v2Tag& t) {
        for (const V2FieldRow& row : V2FieldRows) setRow(t, row);
        t.keptFrames = {{"RVA2", 0x00C0, ByteVec(200, 7)}, {"XY", 0, {1}}};
    };
    const std::u16string_view v = u" \u00c7a \u263a";
    const std::string v8 = " \xC7" "a ?";
    auto w = [&](std::string id) { return wideFrame(std::move(id), v); };
    ByteVec comment = commentPayload(1, "eng", utf16Bytes(u""), concat({wideText(v), ByteVec{0, 0}}));
    std::vector<V2Frame> frames = {
        text("TRCK", "4"), w("TIT2"), w("TPE1"), w("TALB"), text("TYER", "1970"), w("TCON"), frame("COMM", comment),
        w("TCOM"), w("TCOP"), w("TOPE"), text("TENC", v8), frame("WXXX", userUrlPayload(0, {}, v8)),
        text("TCMP", "1"), w("TPE3"), w("TEXT"), w("TPUB"), w("TPE2"), w("TIT1"), w("TIT3"), w("TSSE"),
        text("TPOS", "/3"), text("TSRC", v8), text("TBPM", v8), text("TKEY", v8), frame("WOAR", bytesOf(v8)),
        frame("POPM", {0, 0}), frame("UFID", ufidPayload("Default", bytesOf(std::string(64, 'u')))),
        frame("MCDI", {0, 1, 2}), text("TDRL", v8), text("TDRC", v8), text("TPRO", v8), text("TMOO", v8),
        frame("PCST", {0, 0, 0, 0}), w("TGID"), w("WFED"), w("TDES"), text("TRTG", "2"), text("TSWC", v8),
        frame("TXXX", textPayload(1, concat({wideText(u"d"), utf16Bytes(u"v")}))), frame("USLT", comment),
        frame("APIC", apicPayload("image/gif", 0, "", bytesOf("GIF89a"))), frame("RVA2", ByteVec(200, 7)),
        frame(std::string("XY\0\0", 4), {1})};
    EXPECT_EQ(written(all, V2WriteSettings{4, false, 2, true}), programTag(4, frames));
    // 2.3 leaves out the 2.4 frames; mode 0 the user texts and kept frames.
    std::erase_if(frames, [](const V2Frame& f) {
        return f.id == "TDRL" || f.id == "TDRC" || f.id == "TPRO" || f.id == "TMOO" || f.id == "TXXX" ||
               f.id == "RVA2" || f.id[0] == 'X';
    });
    EXPECT_EQ(written(all, V2WriteSettings{3, false, 0, true}), programTag(3, frames));
}

struct Layout {
    std::function<void(Id3v2Tag&)> set;
    std::vector<V2Frame> frames;
    int version = 3;
    bool convert = false;
    bool allowTotalOnly = true;
};

TEST(V2Writer, LayoutRules) {
    const std::string x300(300, 'x');
    const std::vector<std::pair<const char*, Layout>> cases = {
        {"Latin1", {[](Id3v2Tag& t) { t.title = latin(std::string("Caf\xE9\0B", 6)); }, {text("TIT2", "Caf\xE9")}}},
        {"BigEndianSwapped", {[](Id3v2Tag& t) { t.title = wide(u"Hi\u0416", true); }, {wideFrame("TIT2", u"Hi\u0416")}}},
        {"SyncsafeIn24", {[&](Id3v2Tag& t) { t.album = latin(x300); }, {text("TALB", x300)}, 4}},
        {"PlainIn23", {[&](Id3v2Tag& t) { t.album = latin(x300); }, {text("TALB", x300)}, 3}},
        {"CountAloneNeedsTheFlag", {[](Id3v2Tag& t) { t.trackTotal = 12, t.setNumber = 0; }, {text("TPOS", "0")}, 3,
                                    false, false}},
        {"OneDigitGenre", {[](Id3v2Tag& t) { t.genre = latin("Jazz"); }, {text("TCON", "(8)Jazz")}}},
        // A three-digit number loses its ')' to the name.
        {"ThreeDigitGenre", {[](Id3v2Tag& t) { t.genre = latin("humour"); }, {text("TCON", "(100Humour")}}},
        {"Utf16ListedGenre", {[](Id3v2Tag& t) { t.genre = wide(u"Blues"); }, {wideFrame("TCON", u"(0)Blues")}}},
        {"Latin1Comment", {[](Id3v2Tag& t) { t.lyrics = latin("La"); }, {frame("USLT", commentPayload(0, "eng", {}, bytesOf("La")))}}},
        {"AdvisoryOne", {[](Id3v2Tag& t) { t.advisory = 1; }, {text("TRTG", "1")}}},
        {"TrimTextFramesOnly",
         {[](Id3v2Tag& t) {
              t.title = wide(u" \tT \u65e5\r\n"), t.year = " 99 ", t.genre = latin(" Jazz "), t.comment = latin(" c ");
              t.iswc = latin(" i "), t.podcastFeed = latin(" f ");
          },
          {wideFrame("TIT2", u"T \u65e5"), text("TYER", "99"), text("TCON", "(8)Jazz"),
           frame("COMM", commentPayload(0, "eng", {}, bytesOf(" c "))), text("WFED", " f "), text("TSWC", " i ")},
          3, true}},
        // A format word above five characters is cut in the MIME text, yet counted whole.
        {"LongFormatWord", {[](Id3v2Tag& t) { t.pictures = {{"", "abcdefgh", 0, "", {9}}}; },
                            {frame("APIC", concat({apicPayload("image/abcde", 0, "", ByteVec{9}), ByteVec(3, 0)}))}}},
    };
    for (const auto& [name, c] : cases)
        EXPECT_EQ(written(c.set, V2WriteSettings{c.version, c.convert, 0, c.allowTotalOnly}),
                  programTag(c.version, c.frames)) << name;
}

TEST(V2Writer, PaddingAndVersionChoice) {
    EXPECT_EQ(v2PaddingFor(100), 18u);
    EXPECT_EQ(v2PaddingFor(110), 136u);

    for (auto [recording, release, version] : std::vector<std::tuple<OptText, OptText, int>>{
             {latin("2001"), {}, 4}, {latin(""), latin(""), 3}}) {
        ID3Tag track;
        track.v2.recordingTime = recording, track.v2.releaseTime = release;
        EXPECT_EQ(chooseV2Version(track), version);
        EXPECT_EQ(tagwick::buildV2Tag(track, 0, false, 0)[3], version);
    }
}

TEST(V2Writer, EachRowAloneReadsBackAsItselfAndWritesTheSameBytes) {
    for (int version : {3, 4}) {
        for (const V2FieldRow& row : V2FieldRows) {
            V2WriteSettings settings{version, false, 2, true};
            std::vector<uint8_t> tag = written([&](Id3v2Tag& t) { setRow(t, row); }, settings);
            Id3v2Tag original, read;
            setRow(original, row);
            parseV2(read, tag, V2ReadSettings{2, true});
            bool present = version == 4 || isStandardFrameId(row.id, 3);
            for (const V2FieldRow& other : V2FieldRows)
                EXPECT_EQ(holdsField(read, other.field), other.field == row.field && present)
                    << row.id << " read back as " << other.id << " in 2." << version;
            if (!present) continue;
            EXPECT_EQ(compareV2Fields(original, read, version), 0) << row.id << " in 2." << version;
            EXPECT_EQ(tagwick::buildV2Tag(read, settings), tag) << row.id << " in 2." << version;
        }
    }
}

TEST(CompareV2, FirstDifferenceAndItsLabel) {
    Id3v2Tag base;
    base.title = wide(u"T"), base.album = latin("A"), base.year = "2000", base.trackNumber = 3;
    base.trackTotal = 9, base.genre = latin("rock"), base.advisory = 5, base.hasUfid = true, base.ufid = "abc";
    base.isrc = wide(u"\u0100x"), base.recordingTime = latin("2001"), base.setTotal = 4;
    using Change = std::function<void(Id3v2Tag&)>;
    const std::vector<std::tuple<Change, int, std::string_view, int>> cases = {
        {[](Id3v2Tag& t) { t.title.reset(), t.album = latin("B"); }, 103, "Title", 4},
        {[](Id3v2Tag& t) { t.title = wide(u"T", true), t.album = latin("B"); }, 104, "Album", 4},
        {[](Id3v2Tag& t) { t.year = "1999", t.trackTotal = 10; }, 109, "Tracks", 4},
        {[](Id3v2Tag& t) { t.genre = latin("(17)Rock"), t.composer = latin(""); }, 0, "", 4},
        {[](Id3v2Tag& t) { t.genre = latin("Pop"); }, 110, "Genre", 4},
        {[](Id3v2Tag& t) { t.pictures.resize(1); }, 129, "Picture count", 4},
        {[](Id3v2Tag& t) { t.isrc = latin("x"); }, 132, "ISRC", 4},
        {[](Id3v2Tag& t) { t.recordingTime = latin("2002"); }, 133, "Record time", 4},
        {[](Id3v2Tag& t) { t.recordingTime = latin("2002"), t.advisory = 2, t.compilation = true; }, 137, "Compilation", 3},
        {[](Id3v2Tag& t) { t.advisory = 1; }, 138, "Advisory", 4},
        {[](Id3v2Tag& t) { t.setTotal = 5, t.isrc = latin("?x"), t.mood = latin("m"); }, 140, "Mood", 4},
        {[](Id3v2Tag& t) { t.ufidOwner = "Default", t.ufid = "ab"; }, 0, "", 4},
        {[](Id3v2Tag& t) { t.hasUfid = false; }, 142, "UFID owner", 4},
        {[](Id3v2Tag& t) { t.ufid = "abd"; }, 143, "UFID data", 4},
    };
    for (const auto& [change, code, label, version] : cases) {
        Id3v2Tag other = base;
        change(other);
        EXPECT_EQ(compareV2Fields(base, other, version), code) << label;
        EXPECT_EQ(fieldLabel(code), label);
    }
}

TEST(CompareV2, FlagMessagesAndTracksWithoutVersion2Data) {
    ID3Tag a, b;
    a.v2.title = latin("A");
    a.v2Found = a.v2Present = true;
    LogCapture log;
    EXPECT_EQ(compareV2(a, b, 4), 0);
    EXPECT_EQ(log.undated(), "[S]: Comparing V2 loaded state failed (1 != 0)\n"
                             "[W]: Comparing V2 enabled state failed (1 != 0)\n");
    b.v2Present = true;
    EXPECT_EQ(compareV2(a, b, 4), 103);
}

// -import's merge: what the imported field set holds replaces the track's, the rest stays.
TEST(MergeV2Fields, HeldFieldsAndNonEmptyListsReplaceTheTracks) {
    Id3v2Tag target, source, expected;
    target.title = latin("Old"), target.artist = latin("Kept"), target.trackNumber = 1, target.trackTotal = 2;
    target.advisory = 1, target.pictures = {{"", "png", 0, "", {1}}}, target.userTexts = {{0, 'u'}};
    target.keptFrames = {{"PRIV", 0, {1}}};

    source.title = latin("New"), source.comment = latin(""), source.trackTotal = 12, source.compilation = true;
    source.hasUfid = true, source.ufid = "id", source.pictures = {{"", "jpeg", 0, "", {2}}, {"", "gif", 0, "", {3}}};
    source.keptFrames = {{"RVA2", 0, {9}}};

    expected.title = latin("New"), expected.artist = latin("Kept"), expected.comment = latin("");
    expected.trackTotal = 12, expected.compilation = true, expected.advisory = 1, expected.hasUfid = true;
    expected.ufid = "id", expected.pictures = source.pictures, expected.userTexts = target.userTexts;
    expected.keptFrames = source.keptFrames;

    mergeV2Fields(target, source);
    V2WriteSettings everything{4, false, 2, true};
    EXPECT_EQ(tagwick::buildV2Tag(target, everything), tagwick::buildV2Tag(expected, everything));
}

// Another reader of the tags the writer builds, in a track of a built tag and a few MPEG frames.
TEST(V2WriterInterop, MutagenReadsWhatWasWritten) {
    if (std::system("/usr/bin/python3 -c 'import mutagen' 2>/dev/null") != 0) GTEST_SKIP() << "no python3-mutagen";
    TempDir dir;
    Id3v2Tag fields;
    fields.title = TextValue::fromUtf8("H\u00e9llo \u263a");
    fields.artist = latin("Artist");
    fields.trackNumber = 3, fields.trackTotal = 12;
    fields.genre = latin("rock");
    fields.year = "2006";
    fields.comment = TextValue::fromUtf8("\u00c7omment \u263a");
    fields.lyrics = latin("La la");
    fields.pictures = {{"image/png", "png", 3, "", pngImage(1, 1)}};
    // Prints the version and mutagen's own listing of the frames.
    const std::string read = "/usr/bin/python3 -c \"import sys, mutagen.mp3; f = mutagen.mp3.MP3(sys.argv[1]); "
                             "print('version 2.%d' % f.tags.version[1]); print(f.tags.pprint())\" " +
                             dir.file("t.mp3") + " > " + dir.file("out") + " 2>&1";
    for (int version : {3, 4}) {
        writeFile(dir.file("t.mp3"),
                  concat({tagwick::buildV2Tag(fields, V2WriteSettings{version, false, 0, true}), buildStream({}, 10)}));
        EXPECT_EQ(std::system(read.c_str()), 0) << readText(dir.file("out"));
        // mutagen shows the year as a recording time. In 2.4, where a text frame may hold several
        // values, the two zero bytes that end a UTF-16 comment read as a second, empty value.
        std::string comment = version == 3 ? "\u00c7omment \u263a" : "\u00c7omment \u263a / ";
        EXPECT_EQ(readText(dir.file("out")), "version 2." + std::to_string(version) + "\n" +
                                                 "APIC=other,  (image/png, " +
                                                 std::to_string(fields.pictures[0].data.size()) + " bytes)\n"
                                                 "COMM==eng=" + comment + "\n"
                                                 "TCON=Rock\n"
                                                 "TDRC=2006\n"
                                                 "TIT2=H\u00e9llo \u263a\n"
                                                 "TPE1=Artist\n"
                                                 "TRCK=3/12\n"
                                                 "USLT==eng=La la\n");
    }
}

// The track was opened, then deleted before its save: both saves give up with their messages
// and the note, and leave the folder empty.
TEST(TrackSave, TrackThatVanishedBeforeTheSaveIsNotBroughtBack) {
    TempDir dir;
    const std::string path = dir.file("song.mp3");
    writeFile(path, concat({programTag(3, {latin1Frame("TIT2", "Old")}), buildStream({}, 20)}));
    ID3Tag track;
    ASSERT_NE(track.open(path.c_str()), 0);
    track.v2.title = TextValue::latin1("New");
    std::filesystem::remove(path);

    LogCapture log;
    EXPECT_EQ(updateV2(track, false, 0, false, false, 0), SourceNotOpenable);
    EXPECT_EQ(removeV2(track, false, false), SourceNotOpenable);
    const std::string note = "[E]: NOTE: the original file has not been altered.\n";
    EXPECT_EQ(log.undated(), "[S]: Updating V2 to track: " + path + "\n" +
                                 "[E]: Failed to open the source for read only (error: No such file or directory)\n" +
                                 note + "[S]: Removing V2 from track: " + path + "\n" + "[E]: Failed to open the file '" +
                                 path + "' for reading to remove the version 2 tag (error: No such file or directory)\n" +
                                 note);
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

}  // namespace
}  // namespace tagwick
