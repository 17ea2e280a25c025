#include "base/text.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace tagwick {
namespace {

// UTF-16 bytes from code units, little- or big-endian, with an optional mark.
std::string utf16Bytes(std::u16string_view units, bool bigEndian, bool mark) {
    std::string out;
    if (mark) out = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (char16_t u : units) {
        char high = char(u >> 8), low = char(u & 0xFF);
        out += bigEndian ? high : low;
        out += bigEndian ? low : high;
    }
    return out;
}

// ---- Bounded copies ----

TEST(CopyBounded, LongTextKeepsRoomForTheTerminator) {
    std::string source(2000, 'a');
    for (size_t i = 0; i < source.size(); ++i) source[i] = char('a' + i % 26);
    std::vector<char> buffer(1024 + 8, '#');
    copyBounded(buffer.data(), 1024, source.c_str());
    EXPECT_EQ(std::strlen(buffer.data()), 1023u);
    EXPECT_EQ(std::string(buffer.data()), source.substr(0, 1023));
    // Nothing written past the given size.
    for (size_t i = 1024; i < buffer.size(); ++i) EXPECT_EQ(buffer[i], '#');
}

TEST(CopyBounded, ShortTextAndEdgeSizes) {
    char buffer[8];
    copyBounded(buffer, sizeof buffer, "abc");
    EXPECT_STREQ(buffer, "abc");
    copyBounded(buffer, 1, "abc");
    EXPECT_STREQ(buffer, "");
    copyBounded(buffer, sizeof buffer, nullptr);
    EXPECT_STREQ(buffer, "");
}

TEST(AppendBounded, CutsAtTheBufferEnd) {
    char buffer[6] = "abc";
    appendBounded(buffer, sizeof buffer, "defgh");
    EXPECT_STREQ(buffer, "abcde");
    appendBounded(buffer, sizeof buffer, "x");
    EXPECT_STREQ(buffer, "abcde");
}

TEST(CopyBytesBounded, TakesAtMostTheCount) {
    char buffer[16];
    copyBytesBounded(buffer, sizeof buffer, "abcdef", 3);
    EXPECT_STREQ(buffer, "abc");
    // A count past the text's end stops at its terminator.
    copyBytesBounded(buffer, sizeof buffer, "ab", 10);
    EXPECT_STREQ(buffer, "ab");
    appendBytesBounded(buffer, sizeof buffer, "xyz", 2);
    EXPECT_STREQ(buffer, "abxy");
    copyBytesBounded(buffer, 4, "abcdef", 6);
    EXPECT_STREQ(buffer, "abc");
}

// ---- Formatting ----

TEST(FormatBounded, CutsAndReportsTheFullLength) {
    char buffer[8];
    EXPECT_EQ(formatBounded(buffer, sizeof buffer, "%s-%d", "abcdef", 1234), 11);
    EXPECT_STREQ(buffer, "abcdef-");
}

TEST(FormatBounded, NullTextPrintsNull) {
    char buffer[32];
    const char* volatile missing = nullptr;  // opaque to the optimiser, which would warn
    formatBounded(buffer, sizeof buffer, "[%s]", missing);
    EXPECT_STREQ(buffer, "[(null)]");
}

TEST(Format, HasNoLengthLimit) {
    std::string big(5000, 'z');
    EXPECT_EQ(format("<%s>", big.c_str()), "<" + big + ">");
    EXPECT_EQ(format("%02d|%.2f|%c|%%|%lld", 7, 1.005 + 0.0, 'q', 123456789012LL), "07|1.00|q|%|123456789012");
}

// ---- Comparisons ----

TEST(CompareText, MissingSortsFirst) {
    EXPECT_LT(compareText(nullptr, ""), 0);
    EXPECT_GT(compareText("", nullptr), 0);
    EXPECT_EQ(compareText(nullptr, nullptr), 0);
    EXPECT_LT(compareText("a", "b"), 0);
    EXPECT_EQ(compareText("same", "same"), 0);
    // Plain byte order: upper case before lower case.
    EXPECT_LT(compareText("B", "a"), 0);
}

TEST(CompareNoCase, IgnoresLetterCase) {
    EXPECT_EQ(compareNoCase("ROCK", "rock"), 0);
    EXPECT_LT(compareNoCase("ab", "abc"), 0);
    EXPECT_GT(compareNoCase("abd", "ABC"), 0);
    EXPECT_NE(compareNoCase("abcX", "ABCy"), 0);
    EXPECT_EQ(compareNoCase("abcX", "ABCy", 3), 0);
    EXPECT_EQ(compareNoCase("x", "y", 0), 0);
}

TEST(EqualsNoCase, NeedsTheSameLength) {
    EXPECT_TRUE(equalsNoCase("Mp3", "mP3"));
    EXPECT_FALSE(equalsNoCase("mp3", "mp"));
    EXPECT_FALSE(equalsNoCase("mp", "mp3"));
}

TEST(ErrorText, IsTheSystemTextCutToTheLimit) {
    std::string full = strerror(ENOENT);
    EXPECT_EQ(errorText(ENOENT), full);
    EXPECT_EQ(errorText(ENOENT, 8), full.substr(0, 7));
    EXPECT_EQ(errorText(ENOENT, 0), "");
}

TEST(NumberText, OnlyPositiveNumbersShow) {
    EXPECT_EQ(numberText(1), "1");
    EXPECT_EQ(numberText(2006), "2006");
    EXPECT_EQ(numberText(0), "");
    EXPECT_EQ(numberText(-3), "");
}

// ---- Encodings ----

TEST(Latin1ToUtf8, EncodesHighBytesAsTwo) {
    EXPECT_EQ(latin1ToUtf8("Caf\xE9"), "Caf\xC3\xA9");
    EXPECT_EQ(latin1ToUtf8("\xFF\x7F"), "\xC3\xBF\x7F");
    EXPECT_EQ(latin1ToUtf8(""), "");
}

TEST(Utf16ToUtf8, HonoursTheMark) {
    EXPECT_EQ(utf16ToUtf8(utf16Bytes(u"Caf\u00E9", false, true)), "Caf\xC3\xA9");
    EXPECT_EQ(utf16Bytes(u"A", true, true), std::string("\xFE\xFF\x00\x41", 4));
    EXPECT_EQ(utf16ToUtf8(utf16Bytes(u"Caf\u00E9", true, true)), "Caf\xC3\xA9");
}

TEST(Utf16ToUtf8, WithoutMarkIsBigEndian) {
    EXPECT_EQ(utf16ToUtf8(utf16Bytes(u"\u20AC1", true, false)), "\xE2\x82\xAC" "1");
}

TEST(Utf16ToUtf8, JoinsSurrogatePairs) {
    // U+1D11E, musical G clef.
    EXPECT_EQ(utf16ToUtf8(utf16Bytes(u"\U0001D11E", false, true)), "\xF0\x9D\x84\x9E");
    EXPECT_EQ(utf16ToUtf8(utf16Bytes(u"\U0001D11E", true, false)), "\xF0\x9D\x84\x9E");
}

TEST(Utf16ToUtf8, LoneSurrogateAndOddByteAreHandled) {
    std::u16string lone = {char16_t(0xD834), u'x'};
    EXPECT_EQ(utf16ToUtf8(utf16Bytes(lone, false, true)), "\xEF\xBF\xBDx");
    std::u16string endsHigh = {u'a', char16_t(0xD834)};
    EXPECT_EQ(utf16ToUtf8(utf16Bytes(endsHigh, true, false)), "a\xEF\xBF\xBD");
    EXPECT_EQ(utf16ToUtf8(utf16Bytes(u"ab", false, true) + "\x41"), "ab");
}

TEST(Utf8ToUtf16, EncodesAllPlanes) {
    EXPECT_EQ(utf8ToUtf16("a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E"),
              (std::u16string{u'a', char16_t(0xE9), char16_t(0x20AC), char16_t(0xD834), char16_t(0xDD1E)}));
}

TEST(Utf8ToUtf16, InvalidBytesAreLatin1) {
    // A lone E9, a truncated sequence, an overlong form and an encoded surrogate.
    EXPECT_EQ(utf8ToUtf16("Caf\xE9"), (std::u16string{u'C', u'a', u'f', char16_t(0xE9)}));
    EXPECT_EQ(utf8ToUtf16("\xE2\x82"), (std::u16string{char16_t(0xE2), char16_t(0x82)}));
    EXPECT_EQ(utf8ToUtf16("\xC0\xAF"), (std::u16string{char16_t(0xC0), char16_t(0xAF)}));
    EXPECT_EQ(utf8ToUtf16("\xED\xA0\x80"), (std::u16string{char16_t(0xED), char16_t(0xA0), char16_t(0x80)}));
}

// ---- TextValue ----

TEST(TextValue, FromUtf8KeepsLatin1WhenItFits) {
    TextValue v = TextValue::fromUtf8("Caf\xC3\xA9");
    EXPECT_FALSE(v.isUtf16());
    EXPECT_EQ(v.bytes(), "Caf\xE9");
    EXPECT_EQ(v.utf8(), "Caf\xC3\xA9");
}

TEST(TextValue, FromUtf8UsesLittleEndianUtf16AboveLatin1) {
    TextValue v = TextValue::fromUtf8("\xE2\x82\xAC" "5");
    EXPECT_TRUE(v.isUtf16());
    EXPECT_EQ(v.bytes(), std::string("\xFF\xFE\xAC\x20\x35\x00", 6));
    EXPECT_EQ(v.utf8(), "\xE2\x82\xAC" "5");
}

TEST(TextValue, FromUtf8TakesBadBytesAsLatin1) {
    TextValue v = TextValue::fromUtf8("Caf\xE9");
    EXPECT_FALSE(v.isUtf16());
    EXPECT_EQ(v.bytes(), "Caf\xE9");
    EXPECT_EQ(v.utf8(), "Caf\xC3\xA9");
}

TEST(TextValue, Utf8StopsAtTheFirstNul) {
    TextValue latin = TextValue::latin1(std::string("ab\0cd", 5));
    EXPECT_EQ(latin.utf8(), "ab");
    TextValue wide = TextValue::utf16(utf16Bytes(std::u16string(u"ab\0cd", 5), false, true));
    EXPECT_EQ(wide.utf8(), "ab");
    EXPECT_TRUE(TextValue::latin1(std::string("\0x", 2)).empty());
    EXPECT_FALSE(latin.empty());
}

TEST(TextValue, AbsentValueIsEmpty) {
    TextValue v;
    EXPECT_TRUE(v.empty());
    EXPECT_EQ(v.utf8(), "");
    EXPECT_FALSE(v.isUtf16());
}

TEST(TextValue, EqualityLooksAtEncodingAndBytes) {
    EXPECT_EQ(TextValue::latin1("x"), TextValue::fromUtf8("x"));
    EXPECT_FALSE(TextValue::latin1("x") == TextValue::utf16(utf16Bytes(u"x", false, true)));
}

// ---- Single-byte form ----

struct SingleByteCase {
    const char* name;
    std::string utf16;
    int mode;
    std::string expected;
};

class ToSingleByte : public testing::TestWithParam<SingleByteCase> {};

TEST_P(ToSingleByte, KeepsOnlyTheAllowedRange) {
    EXPECT_EQ(toSingleByte(GetParam().utf16, GetParam().mode), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ToSingleByte,
    testing::Values(
        // é is 233, above 207: dropped in both modes.
        SingleByteCase{"CafeModeOne", utf16Bytes(u"Caf\u00E9", false, true), 1, "Caf"},
        SingleByteCase{"CafeModeTwo", utf16Bytes(u"Caf\u00E9", false, true), 2, "Caf"},
        SingleByteCase{"EnyeModeOne", utf16Bytes(u"\u00D1", false, true), 1, ""},
        SingleByteCase{"EnyeModeTwo", utf16Bytes(u"\u00D1", false, true), 2, ""},
        SingleByteCase{"CedillaModeOne", utf16Bytes(u"\u00C7a", false, true), 1, "a"},
        SingleByteCase{"CedillaModeTwo", utf16Bytes(u"\u00C7a", false, true), 2, "\xC7" "a"},
        SingleByteCase{"DeleteOnlyInModeTwo", utf16Bytes(u"a\u007F", false, true), 1, "a"},
        SingleByteCase{"DeleteKeptInModeTwo", utf16Bytes(u"a\u007F", false, true), 2, "a\x7F"},
        SingleByteCase{"ControlsDropped", utf16Bytes(u"a\tb\u001F", false, true), 2, "ab"},
        SingleByteCase{"NonLatinDropped", utf16Bytes(u"x\u20ACy", false, true), 2, "xy"},
        SingleByteCase{"BigEndianMark", utf16Bytes(u"Song", true, true), 1, "Song"},
        SingleByteCase{"BigEndianWithoutMark", utf16Bytes(u"Song", true, false), 1, "Song"},
        SingleByteCase{"LittleEndianWithoutMark", utf16Bytes(u"Song", false, false), 1, "Song"},
        SingleByteCase{"NulEndsTheText", utf16Bytes(std::u16string(u"ab\0cd", 5), false, true), 1, "ab"},
        SingleByteCase{"TooShort", std::string("A"), 1, ""}),
    [](const testing::TestParamInfo<SingleByteCase>& info) { return std::string(info.param.name); });

TEST(ToSingleByteValue, Latin1ComesBackUnchanged) {
    EXPECT_EQ(toSingleByte(TextValue::latin1("Caf\xE9"), 1), "Caf\xE9");
    EXPECT_EQ(toSingleByte(TextValue::utf16(utf16Bytes(u"Caf\u00E9", false, true)), 1), "Caf");
}

// ---- Size, duration and clock texts ----

struct NumberTextCase {
    const char* name;
    long long value;
    long long divisor;
    std::string expected;
};

std::string numberCaseName(const testing::TestParamInfo<NumberTextCase>& info) { return info.param.name; }

class SizeText : public testing::TestWithParam<NumberTextCase> {};

TEST_P(SizeText, Formats) { EXPECT_EQ(sizeText(GetParam().value), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(
    Cases, SizeText,
    testing::Values(NumberTextCase{"Zero", 0, 0, "0 bytes"}, NumberTextCase{"JustBelowAKilobyte", 1023, 0, "1023 bytes"},
                    NumberTextCase{"OneKilobyte", 1024, 0, "1.00 KB (1024 bytes)"},
                    // Only whole kilobytes are printed.
                    NumberTextCase{"FractionDropped", 1536, 0, "1.00 KB (1536 bytes)"},
                    NumberTextCase{"AMillion", 1000000, 0, "976.00 KB (1000000 bytes)"},
                    NumberTextCase{"LastKilobyteForm", 1023999, 0, "999.00 KB (1023999 bytes)"},
                    NumberTextCase{"ThousandKilobytes", 1024000, 0, "0.98 MB (1024000 bytes)"},
                    NumberTextCase{"FiveMegabytes", 5 * 1048576LL + 1000, 0, "5.00 MB (5243880 bytes)"},
                    NumberTextCase{"BeyondFourGigabytes", 5000000000LL, 0, "4768.37 MB (5000000000 bytes)"}),
    numberCaseName);

class DurationText : public testing::TestWithParam<NumberTextCase> {};

TEST_P(DurationText, Formats) { EXPECT_EQ(durationText(GetParam().value, GetParam().divisor), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(
    Cases, DurationText,
    testing::Values(NumberTextCase{"Zero", 0, 1, "0 seconds"}, NumberTextCase{"FiftyNine", 59, 1, "59 seconds"},
                    NumberTextCase{"OneMinute", 60, 1, "1:00 (60 seconds)"},
                    NumberTextCase{"LastMinuteForm", 3599, 1, "59:59 (3599 seconds)"},
                    NumberTextCase{"OneHour", 3600, 1, "1:00:00 (3600 seconds)"},
                    NumberTextCase{"HourMinuteSecond", 3661, 1, "1:01:01 (3661 seconds)"},
                    NumberTextCase{"Milliseconds", 61999, 1000, "1:01 (61 seconds)"},
                    NumberTextCase{"ZeroDivisorUsesTheValue", 75, 0, "1:15 (75 seconds)"},
                    NumberTextCase{"LongTrack", 100000, 1, "27:46:40 (100000 seconds)"}),
    numberCaseName);

TEST(DurationTextExtremes, DoNotOverflow) {
    EXPECT_EQ(durationText(LLONG_MIN, -1), format("%lld:%02lld:%02lld (%lld seconds)", LLONG_MAX / 3600,
                                                   LLONG_MAX % 3600 / 60, LLONG_MAX % 60, LLONG_MAX));
    EXPECT_EQ(durationText(-120, -1), "2:00 (120 seconds)");
}

struct ClockCase {
    const char* name;
    long long seconds;
    bool plainOnly;
    char separator;
    std::string expected;
};

class ClockText : public testing::TestWithParam<ClockCase> {};

TEST_P(ClockText, Formats) {
    EXPECT_EQ(clockText(GetParam().seconds, GetParam().plainOnly, GetParam().separator), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, ClockText,
                         testing::Values(ClockCase{"Seconds", 59, false, '.', "59"},
                                         ClockCase{"Minutes", 61, false, '.', "1.01"},
                                         ClockCase{"OtherSeparator", 605, false, ':', "10:05"},
                                         ClockCase{"Hours", 3661, false, '.', "1.01.01"},
                                         ClockCase{"PlainOnly", 3661, true, '.', "3661"}),
                         [](const testing::TestParamInfo<ClockCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tagwick
