// The version 2 header check and frame walk: versions, flags, sizes, the syncsafe fallback,
// frame flags, encodings, tag type modes and damaged tags.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

#include "support/mpeg_builders.h"
#include "tags/id3v2_test_support.h"

namespace tagwick {
namespace {

using namespace tagwick::test;
using support::latin1Payload;
using support::textPayload;
using support::utf16Bytes;

ByteVec header(uint8_t major, uint8_t flags, std::array<uint8_t, 4> size = {0, 0, 0, 100}) {
    return {'I', 'D', '3', major, 0, flags, size[0], size[1], size[2], size[3]};
}

// Appends raw bytes to a built tag and corrects its size field.
ByteVec withTrailing(ByteVec tag, std::string_view extra) {
    tag.insert(tag.end(), extra.begin(), extra.end());
    ByteVec size = support::syncsafeBytes(uint32_t(tag.size() - 10));
    std::copy(size.begin(), size.end(), tag.begin() + 6);
    return tag;
}

// Text in which no run of four bytes can be taken for a frame ID.
std::string unframedText(size_t length) {
    std::string out;
    while (out.size() < length) out += "ab. ";
    out.resize(length);
    return out;
}

V2Frame sized(V2Frame f, uint32_t size, bool plain = false) {
    f.sizeOverride = size;
    f.plainSize = plain;
    return f;
}

// ---------------------------------------------------------------- header check

TEST(Id3v2Header, SizeOrNoTagSilently) {
    struct Case {
        const char* name;
        ByteVec bytes;
        uint32_t size;
    };
    LogCapture log;
    for (const Case& c : {Case{"SyncsafeSize", header(3, 0, {0, 0, 2, 1}), 267},
                          Case{"HighSyncsafeByte", header(4, 0, {1, 0, 0, 0}), (1u << 21) + 10},
                          Case{"NineBytes", ByteVec{'I', 'D', '3', 3, 0, 0, 0, 0, 1}, 0},
                          Case{"MagicIsExact", ByteVec{'i', 'd', '3', 3, 0, 0, 0, 0, 0, 100}, 0},
                          Case{"ExperimentalFlagOnly", header(3, 0x20), 0}, Case{"UnknownFlagOnly", header(3, 0x01), 0},
                          Case{"Unsynchronisation", header(3, 0x80), 110}, Case{"Extended", header(3, 0x40), 110},
                          Case{"ExperimentalWithFooter", header(3, 0x30), 110}})
        EXPECT_EQ(tagSizeFromHeader(c.bytes), c.size) << c.name;
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(tagSizeFromHeader(header(5, 0, {0, 0, 0, 20})), 30u);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"ID3 tag version 2.5 is incompatible (max 2.4)"});
    EXPECT_TRUE(log.has(LogError, "ID3 tag version 2.5 is incompatible (max 2.4)"));
}

// ---------------------------------------------------------------- versions and tag flags

TEST(Id3v2Reader, ReadsEachVersionWithItsOwnFrameLayoutAndVersionFiveAsFour) {
    EXPECT_EQ(parseBytes(ByteVec{'I', 'D', '3', 3, 0, 0, 0, 0, 0}).outcome.status, V2ParseTooShort);
    for (int major : {2, 3, 4}) {
        bool v22 = major == 2;
        Parsed p = parseFrames(major, {text(v22 ? "TT2" : "TIT2", "Title"), text(v22 ? "TP1" : "TPE1", "Artist")});
        expectFacts(factsOf(p), {{"title", "Title"}, {"artist", "Artist"}, {"found", "yes"}, {"status", "complete"},
                                 {"minor", std::to_string(major)}});
    }
    LogCapture log;
    // Syncsafe sizes (a 200-byte frame) and the 2.4 ID table (RVA2 is standard there).
    std::string title = unframedText(199);
    expectFacts(factsOf(parseFrames(5, {text("TIT2", title), frame("RVA2", {1, 2})}, 1)),
                {{"minor", "5"}, {"title", title}, {"kept", "RVA2"}});
    EXPECT_TRUE(log.has(LogWarning, "Warning: Tag version 2.5 found (max allowed is 2.4)"));
}

TEST(Id3v2Reader, WholeTagUnsynchronisationStopsOnlyUpToVersionThree) {
    for (int major : {2, 3}) {
        LogCapture log;
        Parsed parsed = parseBytes(buildTag(major, {text(major == 2 ? "TT2" : "TIT2", "Title")}, 0, 0x80));
        expectFacts(factsOf(parsed), {{"found", "yes"}, {"status", "unsynchronised"}, {"title", "<absent>"}});
        std::string warning = "Warning: Unsynchronisation is not supported in version 2." + std::to_string(major);
        EXPECT_EQ(log.messages(), std::vector<std::string>{warning});
        EXPECT_TRUE(log.has(LogWarning, warning));
    }
    EXPECT_EQ(utf8Of(parseBytes(buildTag(4, {text("TIT2", "Title")}, 0, 0x80)).tag.title), "Title");
}

TEST(Id3v2Reader, ExtendedHeaderIsSkippedBySizePlusFourteen) {
    support::V2TagLayout layout;
    layout.major = 3;
    layout.flags = 0x40;
    layout.extendedHeader = {0, 0, 0, 6, 0, 0, 0, 0, 0, 0};  // size 6, not counting its own field
    layout.frames = {text("TIT2", "After")};
    EXPECT_EQ(utf8Of(parseBytes(support::buildV2Tag(layout)).tag.title), "After");
    // In 2.4 the size counts its own field, so the skip lands four bytes late: on the first
    // frame's size bytes, whose leading zero reads as padding.
    layout.major = 4;
    layout.extendedHeader = {0, 0, 0, 6, 1, 0};
    expectFacts(factsOf(parseBytes(support::buildV2Tag(layout))),
                {{"found", "yes"}, {"status", "complete"}, {"title", "<absent>"}});
    layout.extendedHeader = {0, 0, 0, 6, 1, 0, 'x', 'x', 'x', 'x'};
    EXPECT_EQ(utf8Of(parseBytes(support::buildV2Tag(layout)).tag.title), "After");
}

TEST(Id3v2Reader, PaddingEndsTheWalkSilentlyAndNonStandardIdsAreReported) {
    LogCapture log;
    Parsed padded = parseBytes(buildTag(3, {text("TIT2", "Title")}, 100));
    expectFacts(factsOf(padded), {{"status", "complete"}, {"title", "Title"}});
    EXPECT_EQ(log.text(), "");
    // TDRC is a 2.4 frame: not standard in a 2.3 tag, but still mapped.
    EXPECT_EQ(utf8Of(parseFrames(3, {text("TDRC", "2004")}).tag.recordingTime), "2004");
    EXPECT_TRUE(log.has(LogError, "Non-standard 2.3 tag ID found 'TDRC' (size 5)"));
}

// ---------------------------------------------------------------- damaged tags

TEST(Id3v2Reader, DamageStopsTheWalkKeepingEarlierFrames) {
    struct Case {
        const char* name;
        ByteVec tag;
        std::string message;  // logged at the error level
        std::string title;    // what survives of the frames before the damage
    };
    V2Frame plain = sized(text("TIT2", unframedText(199)), 200, true);
    for (const Case& c : std::initializer_list<Case>{
            {"ZeroSizeFrame", buildTag(3, {text("TIT2", "A"), frame("TPE1", {}), text("TPE1", "C")}),
             "Tag 2.3 frame TPE1 size error (0, max 44)", "A"},
            {"FrameLargerThanTheTag", buildTag(3, {sized(text("TIT2", "x"), 5000)}),
             "Tag 2.3 frame TIT2 size error (5000, max 22)", "<absent>"},
            // 10 + 10 + 4 + 40 padding = 64 bytes; 44 left after the frame header.
            {"FrameLongerThanTheBytesLeft", buildTag(3, {sized(text("TIT2", "abc"), 55)}, 40),
             "Frame buffer size mismatch (55:256 44)", "<absent>"},
            {"BufferGrowsToFrameSizePlusFive", buildTag(3, {sized(text("TIT2", "abc"), 420)}, 400),
             "Frame buffer size mismatch (420:425 404)", "<absent>"},
            {"TruncatedFrameId", withTrailing(buildTag(3, {text("TIT2", "A")}), "XY"),
             "Failed to get the 2.3 frame ID (24:26)", "A"},
            {"TruncatedFrameIdOfVersionTwoTwo", withTrailing(buildTag(2, {text("TT2", "A")}), "XY"),
             "Failed to read the 2.2 frame ID (20:22)", "A"},
            {"TruncatedFrameHeader", withTrailing(buildTag(3, {text("TIT2", "A")}), "XYZW12"),
             "Failed to get the frame size (28:32)", "A"},
            // After the header and the skipped indicator the position is 24 of 33.
            {"FrameShorterThanItsIndicator", buildTag(4, {frame("TIT2", {0}, 0x0001), text("TPE1", "B")}),
             "Frame buffer size mismatch (-3:256 9)", "<absent>"},
            // 72 as syncsafe, 200 as a plain number; only 100 bytes are there.
            {"PlainSizeRunningPastTheTag", buildTag(4, {sized(text("TIT2", unframedText(99)), 200, true)}),
             "Failed to read the 2.4 non-syncsafe frame (120:220)", "<absent>"},
            {"InvalidPositionAfterPlainSizedFrame", withTrailing(buildTag(4, {plain}), "ab. ab. "),
             "Failed to validate the tag position after a non-syncsafe frame", "<absent>"},
         }) {
        SCOPED_TRACE(c.name);
        LogCapture log;
        expectFacts(factsOf(parseBytes(c.tag)),
                    {{"found", "yes"}, {"status", "stopped"}, {"title", c.title}, {"artist", "<absent>"}});
        EXPECT_TRUE(log.has(LogError, c.message)) << log.text();
    }
}

// ---------------------------------------------------------------- frame flags and sizes

TEST(Id3v2Reader, IndicatorAndUnsynchronisationAreUndone) {
    ByteVec indicated{0, 0, 0, 6, 0, 'H', 'e', 'l', 'l', 'o'};
    EXPECT_EQ(utf8Of(parseFrames(4, {frame("TIT2", indicated, 0x0001)}).tag.title), "Hello");
    // In 2.3 there is no indicator: the encoding byte 0 is followed by a NUL.
    EXPECT_EQ(utf8Of(parseFrames(3, {frame("TIT2", indicated, 0x0001)}).tag.title), "");

    ByteVec payload{0, 0, 0, 5};
    support::append(payload, support::unsynchronise(latin1Payload("\xFF\xE0z\xFF")));
    ASSERT_EQ(payload, (ByteVec{0, 0, 0, 5, 0, 0xFF, 0, 0xE0, 'z', 0xFF, 0}));
    Parsed parsed = parseFrames(4, {frame("TIT2", payload, 0x0003), text("TPE1", "B")});
    ASSERT_TRUE(parsed.tag.title.has_value());
    EXPECT_EQ(parsed.tag.title->bytes(), "\xFF\xE0z\xFF");
    EXPECT_EQ(utf8Of(parsed.tag.artist), "B");
    EXPECT_EQ(removeUnsynchronisation(ByteVec{0, 0xFF, 0, 0, 0xFF, 0}), (ByteVec{0, 0xFF, 0, 0xFF}));
    EXPECT_EQ(removeUnsynchronisation(ByteVec{0xFE, 0, 0xFF, 1}), (ByteVec{0xFE, 0, 0xFF, 1}));
}

TEST(Id3v2Reader, SyncsafeSizeUnlessTheBytesAfterItAreNoFrame) {
    std::string title = unframedText(199);
    std::string zeroAt72 = title;
    zeroAt72[71] = '\0';  // data byte 72, where the syncsafe reading of 200 ends
    struct Case {
        const char* name;
        V2Frame first;
        std::string title, artist;
    };
    // 00 00 00 C8: 200 as a plain number, 72 as syncsafe, which lands inside the text.
    for (const Case& c : {Case{"PlainWhenSyncsafeLandsInData", sized(text("TIT2", title), 200, true), title, "Next"},
                          // 00 00 01 48: 200 as syncsafe, 328 as a plain number.
                          Case{"SyncsafeWhenTheNextFrameFollows", text("TIT2", title), title, "Next"},
                          Case{"ZeroAtTheSyncsafeEndIsPadding", sized(text("TIT2", zeroAt72), 200, true),
                               title.substr(0, 71), "<absent>"},
                          // 80 80 80 85: 5 as syncsafe, over two thousand million as a plain number.
                          Case{"HugePlainReading", sized(text("TIT2", "Tiny"), 0x80808085u, true), "Tiny", "Next"}}) {
        SCOPED_TRACE(c.name);
        expectFacts(factsOf(parseFrames(4, {c.first, text("TPE1", "Next")})),
                    {{"status", "complete"}, {"title", c.title}, {"artist", c.artist}});
    }
}

// ---------------------------------------------------------------- text encodings

TEST(Id3v2Reader, TextEncodingsAreDecodedOrTheFrameDropped) {
    struct Case {
        const char* name;
        ByteVec payload;      // of a TIT2 frame in a 2.4 tag
        std::string title;    // "<absent>" when the frame is dropped
        bool utf16;
        const char* message;  // the only line logged, or none
    };
    for (const Case& c : {
             Case{"BigEndianWithoutMark", textPayload(2, utf16Bytes(u"H\u00e9", true, false)), "H\u00e9", true,
                  nullptr},
             Case{"MarkedLittleEndian", textPayload(1, utf16Bytes(u"\u03a9 x")), "\u03a9 x", true, nullptr},
             Case{"MarkedBigEndian", textPayload(1, utf16Bytes(u"\u03a9 x", true)), "\u03a9 x", true, nullptr},
             Case{"MarkByItsTopSevenBits", ByteVec{1, 0xFF, 0xFF, 'H', 0, 'i', 0}, "Hi", true, nullptr},
             Case{"Utf16WithoutMarkIsDroppedSilently", textPayload(1, utf16Bytes(u"Hi", false, false)), "<absent>",
                  false, nullptr},
             Case{"UnknownEncoding", ByteVec{4, 'H', 'i'}, "<absent>", false,
                  "Unknown Unicode type 4 found for frame ID TIT2"},
             Case{"Utf8WithinLatin1", textPayload(3, bytesOf("Caf\xC3\xA9")), "Caf\u00e9", false, nullptr},
             Case{"Utf8BeyondLatin1", textPayload(3, bytesOf("\xCE\xA9mega")), "\u03a9mega", true, nullptr},
             Case{"Latin1EndsAtItsTerminator", bytesOf(std::string("\0T\0itle", 7)), "T", false, nullptr},
             Case{"Utf16EndsAtItsTerminator", textPayload(1, utf16Bytes(std::u16string(u"A\0B", 3))), "A", true,
                  nullptr}}) {
        LogCapture log;
        Parsed parsed = parseFrames(4, {frame("TIT2", c.payload)}, 2);
        EXPECT_EQ(utf8Of(parsed.tag.title), c.title) << c.name;
        EXPECT_EQ(parsed.tag.title && parsed.tag.title->isUtf16(), c.utf16) << c.name;
        EXPECT_TRUE(parsed.tag.keptFrames.empty()) << c.name;
        EXPECT_EQ(log.messages(), c.message ? std::vector<std::string>{c.message} : std::vector<std::string>{})
            << c.name;
    }
    // With the conversion flag clear, UTF-16 text is stored as single-byte text.
    Parsed converted = parseFrames(3, {frame("TIT2", textPayload(1, utf16Bytes(u"\u00c7a \u0416")))}, 0, false);
    ASSERT_TRUE(converted.tag.title.has_value());
    EXPECT_FALSE(converted.tag.title->isUtf16());
    EXPECT_EQ(converted.tag.title->bytes(), "\xC7" "a ");
}

// ---------------------------------------------------------------- tag type modes

TEST(Id3v2Reader, TagTypeModesDropOrKeepUnmappedFrames) {
    const std::string nonStandard = "Non-standard 2.4 tag ID found 'XYZW' (size 3)";
    // The two progress messages are tied to the modes this way round on purpose.
    const std::vector<std::vector<std::string>> messages = {
        {nonStandard},
        {nonStandard, "Adding non-standard tag field 'RVA2'"},
        {nonStandard, "Adding unsupported but valid tag field 'XYZW'",
         "Adding unsupported but valid tag field 'RVA2'"}};
    const char* kept[] = {"", "RVA2", "XYZW RVA2"};
    for (int mode : {0, 1, 2}) {
        LogCapture log;
        Parsed parsed = parseFrames(4, {text("TIT2", "T"), frame("XYZW", {1, 2, 3}), frame("RVA2", {4, 5})}, mode);
        expectFacts(factsOf(parsed), {{"title", "T"}, {"kept", kept[mode]}, {"kept RVA2", mode ? "\4\5" : "<none>"}});
        EXPECT_EQ(log.messages(), messages[size_t(mode)]);
        for (size_t i = 1; i < log.lines().size(); ++i) EXPECT_EQ(log.lines()[i].level, LogProgress);
    }
    // Mode 1 follows the table of the version (RVA2 is a 2.4 frame); mapped frames are never kept.
    Parsed v23 = parseFrames(3, {frame("RVA2", {1}), frame("RVAD", {2}), frame("TCMP", {0, 'x'}),
                                 text("TIT2", "First"), text("TIT2", "Second"), text("TXXX", "x")},
                             1);
    expectFacts(factsOf(v23), {{"kept", "RVAD"}, {"title", "First"}});
    // Nothing is kept from a 2.2 tag.
    for (int mode : {1, 2}) {
        LogCapture log;
        Parsed parsed = parseFrames(2, {frame("RVA", {1, 2}), frame("XYZ", {3})}, mode);
        EXPECT_TRUE(parsed.tag.keptFrames.empty());
        EXPECT_TRUE(log.has(LogWarning, "Copying all tag data is not supported for frame ID RVA in version 2.2"));
        EXPECT_EQ(log.has(LogWarning, "Copying all tag data is not supported for frame ID XYZ in version 2.2"),
                  mode == 2);
    }
}

TEST(Id3v2Reader, KeptFramesHoldTheDecodedData) {
    ByteVec payload{0, 0, 0, 3};
    support::append(payload, support::unsynchronise(latin1Payload("\xFF\xE0")));
    Parsed parsed = parseFrames(
        4, {frame("TSOA", payload, 0x4003), frame("TSOP", textPayload(2, utf16Bytes(u"A", true, false)))}, 2);
    ASSERT_EQ(parsed.tag.keptFrames.size(), 2u);
    EXPECT_EQ(parsed.tag.keptFrames[0].data, (ByteVec{0, 0xFF, 0xE0}));
    EXPECT_EQ(parsed.tag.keptFrames[0].flags, 0x4000);
    // Big-endian UTF-16 without a mark is kept as what it was read as: UTF-16 with a mark.
    EXPECT_EQ(parsed.tag.keptFrames[1].data, (ByteVec{1, 0xFE, 0xFF, 0, 'A'}));
}

}  // namespace
}  // namespace tagwick
