// The version 2 header check and frame walk: versions, flags, sizes, the syncsafe fallback,
// data length indicators, unsynchronisation, encodings, tag type modes and damaged tags.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/tag_builders.h"
#include "tags/id3v2_reader.h"
#include "tags/id3v2_test_support.h"

namespace tagwick {
namespace {

using namespace tagwick::test;
using support::latin1Payload;
using support::syncsafeBytes;
using support::textPayload;
using support::utf16Bytes;

ByteVec header(uint8_t major, uint8_t flags, ByteVec size = {0, 0, 0, 0}) {
    ByteVec out{'I', 'D', '3', major, 0, flags};
    out.insert(out.end(), size.begin(), size.end());
    return out;
}

// Appends raw bytes to a built tag and corrects its size field.
ByteVec withTrailing(ByteVec tag, const ByteVec& extra) {
    tag.insert(tag.end(), extra.begin(), extra.end());
    ByteVec size = syncsafeBytes(uint32_t(tag.size() - 10));
    std::copy(size.begin(), size.end(), tag.begin() + 6);
    return tag;
}

// Text in which every run of four bytes holds a byte that cannot start a frame ID.
std::string unframedText(size_t length) {
    std::string text;
    while (text.size() < length) text += "ab. ";
    text.resize(length);
    return text;
}

V2Frame frame(std::string id, ByteVec payload, uint16_t flags = 0) {
    V2Frame f;
    f.id = std::move(id);
    f.payload = std::move(payload);
    f.flags = flags;
    return f;
}

V2Frame text(std::string id, std::string_view value) { return frame(std::move(id), latin1Payload(value)); }

// ---------------------------------------------------------------- header check

TEST(Id3v2Header, SizeIsSyncsafeSizePlusHeader) {
    EXPECT_EQ(tagSizeFromHeader(header(3, 0, {0x00, 0x00, 0x02, 0x01})), 267u);
    EXPECT_EQ(tagSizeFromHeader(header(4, 0, {0x01, 0x00, 0x00, 0x00})), (1u << 21) + 10);
}

TEST(Id3v2Header, NeedsTenBytesAndExactMagic) {
    ByteVec nine = header(3, 0, {0, 0, 1});
    EXPECT_EQ(tagSizeFromHeader(nine), 0u);
    for (std::string magic : {"id3", "ID2", "TAG", "3DI"}) {
        ByteVec bytes = header(3, 0, {0, 0, 1, 0});
        std::copy(magic.begin(), magic.end(), bytes.begin());
        EXPECT_EQ(tagSizeFromHeader(bytes), 0u) << magic;
    }
}

struct FlagCase {
    const char* name;
    uint8_t flags;
    bool found;
};

class Id3v2HeaderFlags : public testing::TestWithParam<FlagCase> {};

TEST_P(Id3v2HeaderFlags, OnlyKnownFlagsMakeATag) {
    LogCapture log;
    uint32_t size = tagSizeFromHeader(header(3, GetParam().flags, {0, 0, 0, 100}));
    EXPECT_EQ(size, GetParam().found ? 110u : 0u);
    EXPECT_TRUE(log.lines().empty());
}

INSTANTIATE_TEST_SUITE_P(Cases, Id3v2HeaderFlags,
                         testing::Values(FlagCase{"None", 0x00, true}, FlagCase{"ExperimentalOnly", 0x20, false},
                                         FlagCase{"UnknownLowBit", 0x01, false},
                                         FlagCase{"Unsynchronisation", 0x80, true},
                                         FlagCase{"ExtendedHeader", 0x40, true}, FlagCase{"Footer", 0x10, true},
                                         FlagCase{"ExperimentalAndFooter", 0x30, true},
                                         FlagCase{"ExperimentalAndUnsync", 0xA0, true}),
                         [](const testing::TestParamInfo<FlagCase>& info) { return std::string(info.param.name); });

TEST(Id3v2Header, VersionAboveFourIsReportedAndStillSized) {
    LogCapture log;
    EXPECT_EQ(tagSizeFromHeader(header(5, 0, {0, 0, 0, 20})), 30u);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"ID3 tag version 2.5 is incompatible (max 2.4)"});
    EXPECT_TRUE(log.has(LogError, "ID3 tag version 2.5 is incompatible (max 2.4)"));
}

// ---------------------------------------------------------------- versions and tag flags

TEST(Id3v2Reader, ShorterThanAHeaderIsNotFound) {
    Parsed parsed = parseBytes(ByteVec{'I', 'D', '3', 3, 0, 0, 0, 0, 0});
    EXPECT_FALSE(parsed.outcome.found);
    EXPECT_EQ(parsed.outcome.status, V2ParseTooShort);
}

TEST(Id3v2Reader, ReadsEachVersionWithItsOwnFrameLayout) {
    Parsed v22 = parseFrames(2, {text("TT2", "Two"), text("TP1", "Artist")});
    Parsed v23 = parseFrames(3, {text("TIT2", "Three"), text("TPE1", "Artist")});
    Parsed v24 = parseFrames(4, {text("TIT2", "Four"), text("TPE1", "Artist")});
    EXPECT_EQ(utf8Of(v22.tag.title), "Two");
    EXPECT_EQ(utf8Of(v23.tag.title), "Three");
    EXPECT_EQ(utf8Of(v24.tag.title), "Four");
    for (const Parsed* p : {&v22, &v23, &v24}) {
        EXPECT_EQ(utf8Of(p->tag.artist), "Artist");
        EXPECT_TRUE(p->outcome.found);
        EXPECT_EQ(p->outcome.status, V2ParseComplete);
    }
    EXPECT_EQ(v22.outcome.minor, 2);
    EXPECT_EQ(v23.outcome.minor, 3);
    EXPECT_EQ(v24.outcome.minor, 4);
}

TEST(Id3v2Reader, VersionFiveIsReadAsVersionFour) {
    LogCapture log;
    // Syncsafe sizes (a 200-byte frame) and the 2.4 ID table (RVA2 is standard there).
    std::string title = unframedText(199);
    Parsed parsed = parseFrames(5, {text("TIT2", title), frame("RVA2", {1, 2})}, 1);
    EXPECT_EQ(parsed.outcome.minor, 5);
    EXPECT_EQ(utf8Of(parsed.tag.title), title);
    ASSERT_EQ(parsed.tag.keptFrames.size(), 1u);
    EXPECT_EQ(parsed.tag.keptFrames[0].id, "RVA2");
    EXPECT_TRUE(log.has(LogWarning, "Warning: Tag version 2.5 found (max allowed is 2.4)"));
}

TEST(Id3v2Reader, UnsynchronisedVersionThreeTagIsPresentButEmpty) {
    for (int major : {2, 3}) {
        LogCapture log;
        Parsed parsed = parseBytes(buildTag(major, {text(major == 2 ? "TT2" : "TIT2", "Title")}, 0, 0x80));
        EXPECT_TRUE(parsed.outcome.found);
        EXPECT_EQ(parsed.outcome.status, V2ParseUnsynchronised);
        EXPECT_FALSE(parsed.tag.title.has_value());
        EXPECT_EQ(log.messages(),
                  std::vector<std::string>{"Warning: Unsynchronisation is not supported in version 2." +
                                           std::to_string(major)});
        EXPECT_TRUE(log.lines().at(0).level == LogWarning);
    }
}

TEST(Id3v2Reader, UnsynchronisationFlagOfVersionFourDoesNotStopTheRead) {
    Parsed parsed = parseBytes(buildTag(4, {text("TIT2", "Title")}, 0, 0x80));
    EXPECT_EQ(utf8Of(parsed.tag.title), "Title");
}

TEST(Id3v2Reader, ExtendedHeaderOfVersionThreeIsSkipped) {
    support::V2TagSpec layout;
    layout.major = 3;
    layout.flags = 0x40;
    layout.extendedHeader = {0, 0, 0, 6, 0, 0, 0, 0, 0, 0};  // size 6, not counting its own field
    layout.frames = {text("TIT2", "After the extended header")};
    Parsed parsed = parseBytes(support::buildV2Tag(layout));
    EXPECT_EQ(utf8Of(parsed.tag.title), "After the extended header");
}

TEST(Id3v2Reader, ExtendedHeaderOfVersionFourSkipsFourBytesTooMany) {
    support::V2TagSpec layout;
    layout.major = 4;
    layout.flags = 0x40;
    layout.extendedHeader = {0, 0, 0, 6, 1, 0};  // size 6, counting its own field
    layout.frames = {text("TIT2", "Title")};
    // The position lands on the first frame's size bytes, whose leading zero reads as padding.
    Parsed parsed = parseBytes(support::buildV2Tag(layout));
    EXPECT_TRUE(parsed.outcome.found);
    EXPECT_EQ(parsed.outcome.status, V2ParseComplete);
    EXPECT_FALSE(parsed.tag.title.has_value());

    // With four filler bytes after it, the frames are found.
    layout.extendedHeader = {0, 0, 0, 6, 1, 0, 'x', 'x', 'x', 'x'};
    parsed = parseBytes(support::buildV2Tag(layout));
    EXPECT_EQ(utf8Of(parsed.tag.title), "Title");
}

// ---------------------------------------------------------------- frame checks

TEST(Id3v2Reader, PaddingEndsTheWalkNormally) {
    LogCapture log;
    Parsed parsed = parseBytes(buildTag(3, {text("TIT2", "Title")}, 100));
    EXPECT_EQ(parsed.outcome.status, V2ParseComplete);
    EXPECT_EQ(utf8Of(parsed.tag.title), "Title");
    EXPECT_TRUE(log.lines().empty());
}

TEST(Id3v2Reader, ZeroSizeFrameEndsTheParseAndKeepsEarlierFrames) {
    LogCapture log;
    ByteVec tag = buildTag(3, {text("TIT2", "A"), frame("TPE1", {}), text("TALB", "C")});
    Parsed parsed = parseBytes(tag);
    EXPECT_EQ(utf8Of(parsed.tag.title), "A");
    EXPECT_FALSE(parsed.tag.artist.has_value());
    EXPECT_FALSE(parsed.tag.album.has_value());
    EXPECT_TRUE(parsed.outcome.found);
    EXPECT_EQ(parsed.outcome.status, V2ParseStopped);
    EXPECT_TRUE(log.has(LogError, "Tag 2.3 frame TPE1 size error (0, max " + std::to_string(tag.size()) + ")"));
}

TEST(Id3v2Reader, FrameLargerThanTheTagStops) {
    LogCapture log;
    V2Frame big = text("TIT2", "x");
    big.sizeOverride = 5000;
    ByteVec tag = buildTag(3, {big});
    Parsed parsed = parseBytes(tag);
    EXPECT_FALSE(parsed.tag.title.has_value());
    EXPECT_TRUE(log.has(LogError, "Tag 2.3 frame TIT2 size error (5000, max " + std::to_string(tag.size()) + ")"));
}

TEST(Id3v2Reader, FrameLongerThanTheBytesLeftStops) {
    LogCapture log;
    V2Frame f = text("TIT2", "abc");
    f.sizeOverride = 55;
    // 10 + 10 + 4 + 40 padding = 64 bytes; 44 left after the frame header.
    Parsed parsed = parseBytes(buildTag(3, {f}, 40));
    EXPECT_FALSE(parsed.tag.title.has_value());
    EXPECT_EQ(parsed.outcome.status, V2ParseStopped);
    EXPECT_TRUE(log.has(LogError, "Frame buffer size mismatch (55:256 44)"));
}

TEST(Id3v2Reader, FrameBufferGrowsToTheFrameSizePlusFive) {
    LogCapture log;
    V2Frame f = text("TIT2", "abc");
    f.sizeOverride = 420;
    Parsed parsed = parseBytes(buildTag(3, {f}, 400));  // 424 bytes, 404 left
    EXPECT_TRUE(log.has(LogError, "Frame buffer size mismatch (420:425 404)"));
}

TEST(Id3v2Reader, TruncatedFrameIdStops) {
    LogCapture log;
    Parsed parsed = parseBytes(withTrailing(buildTag(3, {text("TIT2", "A")}), bytesOf("XY")));
    EXPECT_EQ(utf8Of(parsed.tag.title), "A");
    EXPECT_EQ(parsed.outcome.status, V2ParseStopped);
    EXPECT_TRUE(log.has(LogError, "Failed to get the 2.3 frame ID (24:26)"));

    LogCapture log22;
    parsed = parseBytes(withTrailing(buildTag(2, {text("TT2", "A")}), bytesOf("XY")));
    EXPECT_EQ(utf8Of(parsed.tag.title), "A");
    EXPECT_TRUE(log22.has(LogError, "Failed to read the 2.2 frame ID (20:22)"));
}

TEST(Id3v2Reader, TruncatedFrameHeaderStops) {
    LogCapture log;
    Parsed parsed = parseBytes(withTrailing(buildTag(3, {text("TIT2", "A")}), bytesOf("XYZW12")));
    EXPECT_EQ(utf8Of(parsed.tag.title), "A");
    EXPECT_TRUE(log.has(LogError, "Failed to get the frame size (28:32)"));
}

TEST(Id3v2Reader, NonStandardIdIsReportedAndStillRead) {
    LogCapture log;
    // TDRC is a 2.4 frame: not standard in a 2.3 tag, but still mapped.
    Parsed parsed = parseFrames(3, {text("TDRC", "2004")});
    EXPECT_EQ(utf8Of(parsed.tag.recordingTime), "2004");
    EXPECT_TRUE(log.has(LogError, "Non-standard 2.3 tag ID found 'TDRC' (size 5)"));
}

// ---------------------------------------------------------------- frame flags

TEST(Id3v2Reader, DataLengthIndicatorIsSkippedInVersionFour) {
    ByteVec payload{0, 0, 0, 6};
    ByteVec textBytes = latin1Payload("Hello");
    payload.insert(payload.end(), textBytes.begin(), textBytes.end());
    Parsed v24 = parseFrames(4, {frame("TIT2", payload, 0x0001)});
    EXPECT_EQ(utf8Of(v24.tag.title), "Hello");
    // Version 3 has no such flag: the four bytes stay, and the encoding byte 0 is followed by NULs.
    Parsed v23 = parseFrames(3, {frame("TIT2", payload, 0x0001)});
    ASSERT_TRUE(v23.tag.title.has_value());
    EXPECT_EQ(v23.tag.title->bytes(), "");
}

TEST(Id3v2Reader, FrameShorterThanItsDataLengthIndicatorStops) {
    LogCapture log;
    // 10 + 11 + 12 = 33 bytes; after the header and the skipped indicator the position is 24.
    Parsed parsed = parseFrames(4, {frame("TIT2", {0}, 0x0001), text("TPE1", "B")});
    EXPECT_FALSE(parsed.tag.title.has_value());
    EXPECT_FALSE(parsed.tag.artist.has_value());
    EXPECT_TRUE(log.has(LogError, "Frame buffer size mismatch (-3:256 9)"));
}

TEST(Id3v2Reader, FrameUnsynchronisationIsUndone) {
    ByteVec payload = support::unsynchronise(latin1Payload("\xFF\xE0z\xFF"));
    ASSERT_EQ(payload, (ByteVec{0, 0xFF, 0, 0xE0, 'z', 0xFF, 0}));
    Parsed parsed = parseFrames(4, {frame("TIT2", payload, 0x0002), text("TPE1", "B")});
    ASSERT_TRUE(parsed.tag.title.has_value());
    EXPECT_EQ(parsed.tag.title->bytes(), "\xFF\xE0z\xFF");
    EXPECT_EQ(utf8Of(parsed.tag.artist), "B");
}

TEST(Id3v2Reader, IndicatorAndUnsynchronisationTogether) {
    ByteVec payload{0, 0, 0, 4};
    ByteVec body = support::unsynchronise(latin1Payload("\xFF\xF0x"));
    payload.insert(payload.end(), body.begin(), body.end());
    Parsed parsed = parseFrames(4, {frame("TIT2", payload, 0x0003)});
    ASSERT_TRUE(parsed.tag.title.has_value());
    EXPECT_EQ(parsed.tag.title->bytes(), "\xFF\xF0x");
}

TEST(Id3v2Reader, RemoveUnsynchronisationDropsZeroAfterFF) {
    EXPECT_EQ(removeUnsynchronisation(ByteVec{0xFF, 0, 0}), (ByteVec{0xFF, 0}));
    EXPECT_EQ(removeUnsynchronisation(ByteVec{0, 0xFF, 0, 0xFF, 0}), (ByteVec{0, 0xFF, 0xFF}));
    EXPECT_EQ(removeUnsynchronisation(ByteVec{0xFE, 0, 0xFF, 1}), (ByteVec{0xFE, 0, 0xFF, 1}));
    // Every pair of bytes survives a round trip through the test builder's scheme.
    for (int a = 0; a < 256; a += 5)
        for (int b : {0, 1, 0x7F, 0xDF, 0xE0, 0xFF}) {
            ByteVec data{uint8_t(a), 0xFF, uint8_t(b), 0xFF};
            EXPECT_EQ(removeUnsynchronisation(support::unsynchronise(data)), data) << a << " " << b;
        }
}

// ---------------------------------------------------------------- plain sizes in 2.4

TEST(Id3v2Reader, PlainSizeIsUsedWhenTheSyncsafeReadingLandsInData) {
    std::string title = unframedText(199);
    V2Frame plain = text("TIT2", title);
    plain.plainSize = true;
    ByteVec tag = buildTag(4, {plain, text("TPE1", "Next")});
    ASSERT_EQ(ByteVec(tag.begin() + 14, tag.begin() + 18), (ByteVec{0, 0, 0, 0xC8}));  // 72 when syncsafe
    Parsed parsed = parseBytes(tag);
    EXPECT_EQ(utf8Of(parsed.tag.title), title);
    EXPECT_EQ(utf8Of(parsed.tag.artist), "Next");
    EXPECT_EQ(parsed.outcome.status, V2ParseComplete);
}

TEST(Id3v2Reader, SyncsafeSizeStandsWhenTheNextFrameFollows) {
    std::string title = unframedText(199);
    ByteVec tag = buildTag(4, {text("TIT2", title), text("TPE1", "Next")});
    ASSERT_EQ(ByteVec(tag.begin() + 14, tag.begin() + 18), (ByteVec{0, 0, 1, 0x48}));  // 328 when plain
    Parsed parsed = parseBytes(tag);
    EXPECT_EQ(utf8Of(parsed.tag.title), title);
    EXPECT_EQ(utf8Of(parsed.tag.artist), "Next");
}

TEST(Id3v2Reader, SyncsafeReadingLandingOnZeroIsTakenAsPadding) {
    std::string title = unframedText(199);
    title[71] = '\0';  // data byte 72, where the syncsafe reading ends
    V2Frame plain = text("TIT2", title);
    plain.plainSize = true;
    Parsed parsed = parseBytes(buildTag(4, {plain, text("TPE1", "Next")}));
    EXPECT_EQ(utf8Of(parsed.tag.title), title.substr(0, 71));
    EXPECT_FALSE(parsed.tag.artist.has_value());
    EXPECT_EQ(parsed.outcome.status, V2ParseComplete);
}

TEST(Id3v2Reader, PlainSizeRunningPastTheTagStops) {
    LogCapture log;
    V2Frame plain = text("TIT2", unframedText(99));
    plain.plainSize = true;
    plain.sizeOverride = 200;  // 72 as syncsafe; only 100 bytes are there
    Parsed parsed = parseBytes(buildTag(4, {plain}));
    EXPECT_FALSE(parsed.tag.title.has_value());
    EXPECT_EQ(parsed.outcome.status, V2ParseStopped);
    EXPECT_TRUE(log.has(LogError, "Failed to read the 2.4 non-syncsafe frame (120:220)"));
}

TEST(Id3v2Reader, PositionAfterAPlainSizedFrameMustLookValid) {
    LogCapture log;
    V2Frame plain = text("TIT2", unframedText(199));
    plain.plainSize = true;
    Parsed parsed = parseBytes(withTrailing(buildTag(4, {plain}), bytesOf("ab. ab. ")));
    EXPECT_FALSE(parsed.tag.title.has_value());
    EXPECT_EQ(parsed.outcome.status, V2ParseStopped);
    EXPECT_TRUE(log.has(LogError, "Failed to validate the tag position after a non-syncsafe frame"));
}

TEST(Id3v2Reader, HugePlainReadingOfSmallSyncsafeSizeIsHarmless) {
    // Size bytes 80 80 80 85: 5 as syncsafe, over two thousand million as a plain number.
    V2Frame f = text("TIT2", "Tiny");
    f.plainSize = true;
    f.sizeOverride = 0x80808085u;
    ByteVec tag = buildTag(4, {f, text("TPE1", "Next")});
    Parsed parsed = parseBytes(tag);
    EXPECT_EQ(utf8Of(parsed.tag.title), "Tiny");
    EXPECT_EQ(utf8Of(parsed.tag.artist), "Next");
}

// ---------------------------------------------------------------- text encodings

TEST(Id3v2Reader, BigEndianUtf16GetsAMark) {
    Parsed parsed = parseFrames(4, {frame("TIT2", textPayload(2, utf16Bytes(u"H\u00e9", true, false)))});
    ASSERT_TRUE(parsed.tag.title.has_value());
    EXPECT_TRUE(parsed.tag.title->isUtf16());
    EXPECT_EQ(parsed.tag.title->bytes(), std::string("\xFE\xFF\x00H\x00\xE9", 6));
    EXPECT_EQ(parsed.tag.title->utf8(), "H\u00e9");
}

TEST(Id3v2Reader, Utf16WithMarkIsStoredInEitherByteOrder) {
    for (bool bigEndian : {false, true}) {
        Parsed parsed = parseFrames(3, {frame("TIT2", textPayload(1, utf16Bytes(u"\u03a9 x", bigEndian)))});
        ASSERT_TRUE(parsed.tag.title.has_value());
        EXPECT_TRUE(parsed.tag.title->isUtf16());
        EXPECT_EQ(parsed.tag.title->utf8(), "\u03a9 x");
    }
}

TEST(Id3v2Reader, Utf16WithoutMarkIsDroppedSilently) {
    LogCapture log;
    Parsed parsed = parseFrames(3, {frame("TIT2", textPayload(1, utf16Bytes(u"Hi", false, false)))}, 2);
    EXPECT_FALSE(parsed.tag.title.has_value());
    EXPECT_TRUE(parsed.tag.keptFrames.empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST(Id3v2Reader, MarkIsRecognisedByItsTopSevenBits) {
    Parsed parsed = parseFrames(3, {frame("TIT2", {1, 0xFF, 0xFF, 'H', 0, 'i', 0})});
    ASSERT_TRUE(parsed.tag.title.has_value());
    EXPECT_EQ(parsed.tag.title->utf8(), "Hi");
}

TEST(Id3v2Reader, UnknownEncodingIsReportedAndDropped) {
    LogCapture log;
    Parsed parsed = parseFrames(3, {frame("TIT2", {4, 'H', 'i'}), frame("TSOA", {7, 'x'})}, 2);
    EXPECT_FALSE(parsed.tag.title.has_value());
    EXPECT_TRUE(parsed.tag.keptFrames.empty());
    EXPECT_TRUE(log.has(LogError, "Unknown Unicode type 4 found for frame ID TIT2"));
    EXPECT_TRUE(log.has(LogError, "Unknown Unicode type 7 found for frame ID TSOA"));
}

TEST(Id3v2Reader, Utf8IsStoredAsLatin1OrUtf16) {
    Parsed latin = parseFrames(4, {frame("TIT2", textPayload(3, bytesOf("Caf\xC3\xA9")))});
    ASSERT_TRUE(latin.tag.title.has_value());
    EXPECT_FALSE(latin.tag.title->isUtf16());
    EXPECT_EQ(latin.tag.title->bytes(), "Caf\xE9");

    Parsed wide = parseFrames(4, {frame("TIT2", textPayload(3, bytesOf("\xCE\xA9mega")))});
    ASSERT_TRUE(wide.tag.title.has_value());
    EXPECT_TRUE(wide.tag.title->isUtf16());
    EXPECT_EQ(wide.tag.title->utf8(), "\u03a9mega");
}

TEST(Id3v2Reader, TextEndsAtItsTerminator) {
    Parsed parsed = parseFrames(3, {frame("TIT2", bytesOf(std::string("\0T\0itle", 7))),
                                    frame("TPE1", textPayload(1, utf16Bytes(std::u16string(u"A\0B", 3))))});
    EXPECT_EQ(parsed.tag.title->bytes(), "T");
    EXPECT_EQ(parsed.tag.artist->utf8(), "A");
}

TEST(Id3v2Reader, ConversionClearStoresSingleByteText) {
    ByteVec payload = textPayload(1, utf16Bytes(u"\u00c7a \u00e9t\u00e9"));
    Parsed converted = parseFrames(3, {frame("TIT2", payload)}, 0, false);
    ASSERT_TRUE(converted.tag.title.has_value());
    EXPECT_FALSE(converted.tag.title->isUtf16());
    EXPECT_EQ(converted.tag.title->bytes(), "\xC7" "a t");  // 233 lies above 207
    Parsed asRead = parseFrames(3, {frame("TIT2", payload)}, 0, true);
    EXPECT_TRUE(asRead.tag.title->isUtf16());
    EXPECT_EQ(asRead.tag.title->utf8(), "\u00c7a \u00e9t\u00e9");
}

// ---------------------------------------------------------------- tag type modes

std::vector<std::string> keptIds(const Id3v2Tag& tag) {
    std::vector<std::string> ids;
    for (const KeptFrame& kept : tag.keptFrames) ids.push_back(kept.id);
    return ids;
}

TEST(Id3v2Reader, ModeZeroDropsUnmappedFrames) {
    LogCapture log;
    Parsed parsed = parseFrames(4, {text("TIT2", "T"), frame("XYZW", {1, 2, 3}), frame("RVA2", {4, 5})}, 0);
    EXPECT_TRUE(parsed.tag.keptFrames.empty());
    EXPECT_EQ(utf8Of(parsed.tag.title), "T");
    EXPECT_EQ(log.messages(), std::vector<std::string>{"Non-standard 2.4 tag ID found 'XYZW' (size 3)"});
}

TEST(Id3v2Reader, ModeOneKeepsOnlyStandardFrames) {
    LogCapture log;
    Parsed parsed = parseFrames(4, {text("TIT2", "T"), frame("XYZW", {1, 2, 3}), frame("RVA2", {4, 5})}, 1);
    ASSERT_EQ(keptIds(parsed.tag), std::vector<std::string>{"RVA2"});
    EXPECT_EQ(parsed.tag.keptFrames[0].data, (ByteVec{4, 5}));
    EXPECT_TRUE(log.has(LogProgress, "Adding non-standard tag field 'RVA2'"));
    EXPECT_EQ(log.lines().size(), 2u);  // and the non-standard ID report of XYZW
}

TEST(Id3v2Reader, ModeTwoKeepsEveryUnmappedFrame) {
    LogCapture log;
    Parsed parsed = parseFrames(4, {text("TIT2", "T"), frame("XYZW", {1, 2, 3}), frame("RVA2", {4, 5})}, 2);
    ASSERT_EQ(keptIds(parsed.tag), (std::vector<std::string>{"XYZW", "RVA2"}));
    EXPECT_EQ(parsed.tag.keptFrames[0].data, (ByteVec{1, 2, 3}));
    EXPECT_TRUE(log.has(LogProgress, "Adding unsupported but valid tag field 'XYZW'"));
    EXPECT_TRUE(log.has(LogProgress, "Adding unsupported but valid tag field 'RVA2'"));
}

TEST(Id3v2Reader, ModeOneUsesTheTableOfTheVersion) {
    Parsed parsed = parseFrames(3, {frame("RVA2", {1}), frame("RVAD", {2}), frame("TCMP", {0, 'x'})}, 1);
    // RVA2 is a 2.4 frame; TCMP is mapped, so it is never kept.
    EXPECT_EQ(keptIds(parsed.tag), std::vector<std::string>{"RVAD"});
}

TEST(Id3v2Reader, VersionTwoTwoKeepsNothing) {
    for (int mode : {1, 2}) {
        LogCapture log;
        Parsed parsed = parseFrames(2, {frame("RVA", {1, 2}), frame("XYZ", {3})}, mode);
        EXPECT_TRUE(parsed.tag.keptFrames.empty());
        EXPECT_TRUE(log.has(LogWarning, "Copying all tag data is not supported for frame ID RVA in version 2.2"));
        bool xyzWarned = log.has(LogWarning, "Copying all tag data is not supported for frame ID XYZ in version 2.2");
        EXPECT_EQ(xyzWarned, mode == 2);
    }
}

TEST(Id3v2Reader, MappedFramesAreNeverKept) {
    Parsed parsed = parseFrames(3, {text("TIT2", "First"), text("TIT2", "Second"), text("TXXX", "x")}, 2);
    EXPECT_EQ(utf8Of(parsed.tag.title), "First");
    EXPECT_TRUE(parsed.tag.keptFrames.empty());
}

TEST(Id3v2Reader, KeptFramesHoldTheDecodedData) {
    ByteVec payload{0, 0, 0, 3};
    ByteVec body = support::unsynchronise(latin1Payload("\xFF\xE0"));
    payload.insert(payload.end(), body.begin(), body.end());
    Parsed parsed = parseFrames(4, {frame("TSOA", payload, 0x4003),
                                    frame("TSOP", textPayload(2, utf16Bytes(u"A", true, false)))},
                                2);
    ASSERT_EQ(parsed.tag.keptFrames.size(), 2u);
    EXPECT_EQ(parsed.tag.keptFrames[0].data, (ByteVec{0, 0xFF, 0xE0}));
    EXPECT_EQ(parsed.tag.keptFrames[0].flags, 0x4000);
    // Big-endian UTF-16 without a mark is kept as what it was read as: UTF-16 with a mark.
    EXPECT_EQ(parsed.tag.keptFrames[1].data, (ByteVec{1, 0xFE, 0xFF, 0, 'A'}));
}

// ---------------------------------------------------------------- damaged tags

TEST(Id3v2Reader, StoppedTagStillCountsAsFound) {
    LogCapture log;
    V2Frame broken = text("TPE1", "x");
    broken.sizeOverride = 0;
    Parsed parsed = parseFrames(4, {text("TIT2", "Kept"), broken});
    EXPECT_EQ(log.messages(), std::vector<std::string>{"Tag 2.4 frame TPE1 size error (0, max 37)"});
    EXPECT_TRUE(parsed.outcome.found);
    EXPECT_EQ(parsed.outcome.status, V2ParseStopped);
    EXPECT_EQ(utf8Of(parsed.tag.title), "Kept");
}

class Id3v2Truncation : public testing::TestWithParam<int> {};

// Every prefix of a tag parses without reading outside it, and a frame is either whole or absent.
TEST_P(Id3v2Truncation, EveryPrefixParsesSafely) {
    int major = GetParam();
    bool v22 = major == 2;
    ByteVec picture(300, 0xFF);
    ByteVec full = buildTag(major, {text(v22 ? "TT2" : "TIT2", "Full Title"),
                                    frame(v22 ? "PIC" : "APIC",
                                          v22 ? support::picPayload("PNG", 3, "d", picture)
                                              : support::apicPayload("image/png", 3, "d", picture)),
                                    frame(v22 ? "COM" : "COMM",
                                          support::commentPayload(1, "eng", utf16Bytes(u"d"), utf16Bytes(u"Note"))),
                                    text(v22 ? "TP1" : "TPE1", "Artist")},
                            8);
    Logger::setMaxLevel(0);
    for (size_t length = 0; length <= full.size(); ++length) {
        Parsed parsed = parseBytes(ByteVec(full.begin(), full.begin() + length), 2);
        EXPECT_EQ(parsed.outcome.found, length >= 10);
        if (parsed.tag.title) {
            EXPECT_EQ(parsed.tag.title->utf8(), "Full Title") << length;
        }
        if (parsed.tag.artist) {
            EXPECT_EQ(parsed.tag.artist->utf8(), "Artist") << length;
        }
        if (parsed.tag.comment) {
            EXPECT_EQ(parsed.tag.comment->utf8(), "Note") << length;
        }
        for (const Picture& p : parsed.tag.pictures) EXPECT_EQ(p.data, picture) << length;
    }
    Logger::resetForTests();
    Parsed whole = parseBytes(full);
    EXPECT_EQ(utf8Of(whole.tag.artist), "Artist");
    EXPECT_EQ(whole.tag.pictures.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Versions, Id3v2Truncation, testing::Values(2, 3, 4),
                         [](const testing::TestParamInfo<int>& info) { return "V2" + std::to_string(info.param); });

}  // namespace
}  // namespace tagwick
