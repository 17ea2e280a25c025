// The version 2 reader: header check, tag flags, damaged frames with their messages, the syncsafe
// fallback, encodings, tag type modes, and the value rules applied when frames become fields.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "support/cli_runner.h"
#include "support/log_capture.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"
#include "tags/id3v2_fields.h"
#include "tags/id3v2_reader.h"

namespace tagwick {
namespace {

using namespace tagwick::support;
using Facts = std::map<std::string, std::string>;

struct Parsed {
    Id3v2Tag tag;
    V2ParseOutcome outcome;
};

// Parses a copy of exactly the tag's length, so that any read past it is a heap overflow.
Parsed parse(const ByteVec& bytes, int mode = 0) {
    Parsed p;
    std::vector<uint8_t> exact(bytes);
    p.outcome = parseV2(p.tag, exact, V2ReadSettings{mode, true});
    return p;
}

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

std::string utf8Of(const OptText& t) { return t ? t->utf8() : "<absent>"; }

Facts factsOf(const Parsed& p) {
    const Id3v2Tag& t = p.tag;
    Facts f = {{"status", std::to_string(p.outcome.status)}, {"title", utf8Of(t.title)}, {"artist", utf8Of(t.artist)},
               {"genre", utf8Of(t.genre)}, {"comment", utf8Of(t.comment)}, {"release", utf8Of(t.releaseTime)},
               {"track", std::to_string(t.trackNumber) + "/" + std::to_string(t.trackTotal)}, {"kept", ""},
               {"picture", t.pictures.empty() ? "<none>" : t.pictures[0].mime + "|" + t.pictures[0].format}};
    for (const KeptFrame& k : t.keptFrames) f["kept"] += (f["kept"].empty() ? "" : " ") + k.id;
    return f;
}

void expectFacts(const Facts& actual, const Facts& expected) {
    for (const auto& [key, value] : expected) EXPECT_EQ(actual.at(key), value) << key;
}

// Text in which no run of four bytes can be taken for a frame ID.
std::string unframedText(size_t length) {
    std::string out;
    while (out.size() < length) out += "ab. ";
    out.resize(length);
    return out;
}

TEST(Id3v2Header, SizeOrNoTag) {
    auto header = [](uint8_t major, uint8_t flags) { return ByteVec{'I', 'D', '3', major, 0, flags, 0, 0, 2, 1}; };
    LogCapture log;
    EXPECT_EQ(tagSizeFromHeader(header(3, 0)), 267u);
    EXPECT_EQ(tagSizeFromHeader(header(3, 0x20)), 0u);  // experimental alone is no tag
    EXPECT_EQ(tagSizeFromHeader(ByteVec{'i', 'd', '3', 3, 0, 0, 0, 0, 0, 100}), 0u);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(tagSizeFromHeader(header(5, 0)), 267u);
    EXPECT_TRUE(log.has(LogError, "ID3 tag version 2.5 is incompatible (max 2.4)"));
}

TEST(Id3v2Reader, VersionFiveIsReadAsFourAndUnsynchronisationStopsUpToThree) {
    LogCapture log;
    std::string title = unframedText(199);  // a 200-byte frame: its size is syncsafe
    EXPECT_EQ(utf8Of(parse(tag(5, {text("TIT2", title)})).tag.title), title);
    EXPECT_TRUE(log.has(LogWarning, "Warning: Tag version 2.5 found (max allowed is 2.4)"));
    expectFacts(factsOf(parse(tag(3, {text("TIT2", "T")}, 0, 0x80))), {{"status", "2"}, {"title", "<absent>"}});
    EXPECT_TRUE(log.has(LogWarning, "Warning: Unsynchronisation is not supported in version 2.3"));
    EXPECT_EQ(utf8Of(parse(tag(4, {text("TIT2", "T")}, 0, 0x80)).tag.title), "T");
}

TEST(Id3v2Reader, ExtendedHeaderIsSkippedBySizePlusFourteen) {
    EXPECT_EQ(utf8Of(parse(buildV2Tag({3, 0x40, {text("TIT2", "After")}, {0, 0, 0, 6, 0, 0, 0, 0, 0, 0}})).tag.title),
              "After");
    // In 2.4 the size counts its own field, so the skip lands four bytes late.
    EXPECT_EQ(utf8Of(parse(buildV2Tag({4, 0x40, {text("TIT2", "After")}, {0, 0, 0, 6, 1, 0, 'x', 'x', 'x', 'x'}}))
                         .tag.title),
              "After");
}

ByteVec withTrailing(ByteVec bytes, std::string_view extra) {
    bytes.insert(bytes.end(), extra.begin(), extra.end());
    ByteVec size = syncsafeBytes(uint32_t(bytes.size() - 10));
    std::copy(size.begin(), size.end(), bytes.begin() + 6);
    return bytes;
}

TEST(Id3v2Reader, DamageStopsTheWalkKeepingEarlierFrames) {
    V2Frame plain = sized(text("TIT2", unframedText(199)), 200, true);
    for (auto [bytes, message, title] : std::vector<std::tuple<ByteVec, std::string, std::string>>{
             {tag(3, {text("TIT2", "A"), frame("TPE1", {}), text("TPE1", "C")}),
              "Tag 2.3 frame TPE1 size error (0, max 44)", "A"},
             {tag(3, {sized(text("TIT2", "abc"), 420)}, 400), "Frame buffer size mismatch (420:425 404)", "<absent>"},
             {withTrailing(tag(2, {text("TT2", "A")}), "XY"), "Failed to read the 2.2 frame ID (20:22)", "A"},
             {tag(4, {frame("TIT2", {0}, 0x0001), text("TPE1", "B")}), "Frame buffer size mismatch (-3:256 9)",
              "<absent>"},
             {tag(4, {sized(text("TIT2", unframedText(99)), 200, true)}),
              "Failed to read the 2.4 non-syncsafe frame (120:220)", "<absent>"},
             {withTrailing(tag(4, {plain}), "ab. ab. "),
              "Failed to validate the tag position after a non-syncsafe frame", "<absent>"}}) {
        LogCapture log;
        Parsed p = parse(bytes);
        EXPECT_TRUE(p.outcome.found);
        expectFacts(factsOf(p), {{"status", "1"}, {"title", title}, {"artist", "<absent>"}});
        EXPECT_TRUE(log.has(LogError, message)) << log.text();
    }
}

TEST(Id3v2Reader, SyncsafeSizeUnlessTheBytesAfterItAreNoFrame) {
    // 00 00 00 C8: 200 as a plain number, 72 as syncsafe, which lands inside the text.
    std::string title = unframedText(199);
    expectFacts(factsOf(parse(tag(4, {sized(text("TIT2", title), 200, true), text("TPE1", "Next")}))),
                {{"status", "0"}, {"title", title}, {"artist", "Next"}});
    std::string zeroAt72 = title;
    zeroAt72[71] = '\0';  // a zero where the syncsafe reading ends is taken for padding
    expectFacts(factsOf(parse(tag(4, {sized(text("TIT2", zeroAt72), 200, true), text("TPE1", "Next")}))),
                {{"status", "0"}, {"title", title.substr(0, 71)}, {"artist", "<absent>"}});
}

TEST(Id3v2Reader, FrameFlagsAndEncodings) {
    ByteVec payload{0, 0, 0, 5};
    append(payload, unsynchronise(latin1Payload("\xFF\xE0z\xFF")));
    Parsed flagged = parse(tag(4, {frame("TIT2", payload, 0x0003)}));
    ASSERT_TRUE(flagged.tag.title.has_value());
    EXPECT_EQ(flagged.tag.title->bytes(), "\xFF\xE0z\xFF");

    struct Case {
        ByteVec payload;
        std::string title;
        const char* message;
    };
    for (const Case& c : {Case{textPayload(2, utf16Bytes(u"H\u00e9", true, false)), "H\u00e9", nullptr},
                          Case{textPayload(1, utf16Bytes(u"Hi", false, false)), "<absent>", nullptr},
                          Case{ByteVec{4, 'H', 'i'}, "<absent>", "Unknown Unicode type 4 found for frame ID TIT2"}}) {
        LogCapture log;
        EXPECT_EQ(utf8Of(parse(tag(4, {frame("TIT2", c.payload)}), 2).tag.title), c.title);
        EXPECT_EQ(log.messages(), c.message ? std::vector<std::string>{c.message} : std::vector<std::string>{});
    }
}

TEST(Id3v2Reader, TagTypeModesDropOrKeepUnmappedFrames) {
    const std::string nonStandard = "Non-standard 2.4 tag ID found 'XYZW' (size 3)";
    // The two progress messages are tied to the modes this way round on purpose.
    const std::vector<std::vector<std::string>> messages = {
        {nonStandard},
        {nonStandard, "Adding non-standard tag field 'RVA2'"},
        {nonStandard, "Adding unsupported but valid tag field 'XYZW'", "Adding unsupported but valid tag field 'RVA2'"}};
    const char* kept[] = {"", "RVA2", "XYZW RVA2"};
    for (int mode : {0, 1, 2}) {
        LogCapture log;
        Parsed p = parse(tag(4, {text("TIT2", "T"), frame("XYZW", {1, 2, 3}), frame("RVA2", {4, 5})}), mode);
        expectFacts(factsOf(p), {{"title", "T"}, {"kept", kept[mode]}});
        EXPECT_EQ(log.messages(), messages[size_t(mode)]);
    }
    // Mode 1 follows the table of the version; compilation frames count as standard; mapped ones are never kept.
    Parsed v23 = parse(tag(3, {frame("RVA2", {1}), frame("RVAD", {2}), text("TCMP", "1"), text("TIT2", "First"),
                               text("TIT2", "Second")}), 1);
    expectFacts(factsOf(v23), {{"kept", "RVAD"}, {"title", "First"}});
    // Nothing is kept from a 2.2 tag.
    LogCapture log;
    EXPECT_TRUE(parse(tag(2, {frame("RVA", {1, 2})}), 1).tag.keptFrames.empty());
    EXPECT_TRUE(log.has(LogWarning, "Copying all tag data is not supported for frame ID RVA in version 2.2"));
}

V2Frame comm(uint8_t encoding, ByteVec description, ByteVec value) {
    return frame("COMM", commentPayload(encoding, "eng", description, value));
}

TEST(Id3v2Fields, ValueRules) {
    struct Case {
        int major;
        std::vector<V2Frame> frames;
        Facts facts;
        int mode = 0;
    };
    for (const Case& c : std::vector<Case>{
             {4, {text("TRCK", "7")}, {{"track", "7/65535"}}},
             {3, {text("TCON", "(0)Rock")}, {{"genre", "Blues"}}},
             {3, {text("TCON", "(130)")}, {{"genre", ""}}},
             {3, {text("TCON", "(-1)Pop")}, {{"genre", "Pop"}}},
             {3, {text("TCON", "Hard (Rock) x")}, {{"genre", " x"}}},
             {3, {comm(0, bytesOf("iTunNORM"), bytesOf(" 0E")), comm(0, {}, bytesOf("Real"))}, {{"comment", "Real"}}},
             {3, {comm(1, utf16Bytes(u"d"), utf16Bytes(u"Plain", false, false)), comm(0, {}, bytesOf("Next"))},
              {{"comment", "Next"}}},
             {2, {text("TDR", "2001")}, {{"release", "<absent>"}}},
             {2, {text("TDR", "2001")}, {{"release", "2001"}}, 1},
             {2, {frame("PIC", {0, 'J', 'P', 'G', 3, 'c', 0, 9})}, {{"picture", "image/jpeg|jpeg"}}},
             {3, {frame("APIC", apicPayload("image/jpg", 3, "", ByteVec{1}))}, {{"picture", "image/jpg|jpeg"}}},
             {3, {frame("APIC", apicPayload("image/x-portable", 3, "", ByteVec{1}))},
              {{"picture", "image/x-portable|x-por"}}},
         })
        expectFacts(factsOf(parse(tag(c.major, c.frames), c.mode)), c.facts);
    LogCapture log;
    EXPECT_TRUE(parse(tag(3, {frame("APIC", apicPayload("", 3, "", ByteVec{1}))})).tag.pictures.empty());
    EXPECT_TRUE(log.has(LogError, "Invalid picture MIME "));
}

// A handful of real tags from the sample corpus.
TEST(Id3v2Fields, CorpusSamples) {
    struct Case {
        const char* file;
        Facts facts;
        int mode = 0;
    };
    for (const Case& c : std::vector<Case>{
             {"taglib-sharp/sample_v2_4_unsynch.mp3",
              {{"title", "MP3 title unicode (\u12a2\u1275\u12ee\u1335\u12eb)"}, {"genre", "Acid Punk"}}},
             {"rust-id3/github-issue-86a.id3", {{"status", "0"}, {"kept", "TFLT TSIZ USER PRIV PRIV PRIV PRIV PRIV"}}, 2},
         }) {
        std::string path = corpusFile(c.file);
        if (path.empty()) GTEST_SKIP() << "corpus folder absent";
        ByteVec file = readFile(path);
        uint32_t size = tagSizeFromHeader(file);
        ASSERT_NE(size, 0u) << c.file;
        expectFacts(factsOf(parse(ByteVec(file.begin(), file.begin() + std::min<size_t>(size, file.size())), c.mode)),
                    c.facts);
    }
}

}  // namespace
}  // namespace tagwick
