#include "base/text.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "support/tag_builders.h"

namespace tagwick {
namespace {

// UTF-16 bytes as a string: little-endian with a mark unless told otherwise.
std::string u16(std::u16string_view units, bool bigEndian = false, bool mark = true) {
    support::ByteVec bytes = support::utf16Bytes(units, bigEndian, mark);
    return std::string(bytes.begin(), bytes.end());
}

TEST(BoundedCopies, AlwaysTerminateAndNeverWritePastTheSize) {
    std::string source(2000, 'a');
    for (size_t i = 0; i < source.size(); ++i) source[i] = char('a' + i % 26);
    std::vector<char> buffer(1024 + 8, '#');
    copyBounded(buffer.data(), 1024, source.c_str());
    EXPECT_EQ(std::string(buffer.data()), source.substr(0, 1023));
    EXPECT_EQ(std::string(buffer.begin() + 1024, buffer.end()), std::string(8, '#'));
    char small[6] = "abc";
    appendBounded(small, sizeof small, "defgh");
    EXPECT_STREQ(small, "abcde");
    copyBytesBounded(small, sizeof small, "ab", 10);  // stops at the source's end
    appendBytesBounded(small, sizeof small, "xyz", 2);
    EXPECT_STREQ(small, "abxy");
    copyBounded(small, 1, "abc");
    EXPECT_STREQ(small, "");
    char formatted[8];
    EXPECT_EQ(formatBounded(formatted, sizeof formatted, "%s-%d", "abcdef", 1234), 11);
    EXPECT_STREQ(formatted, "abcdef-");
    const char* volatile missing = nullptr;  // opaque to the optimiser, which would warn
    EXPECT_EQ(format("[%s]%02d|%.2f|%%", missing, 7, 0.5), "[(null)]07|0.50|%");
    EXPECT_EQ(format("%s", std::string(5000, 'z').c_str()).size(), 5000u);
}

TEST(SmallTexts, ComparisonsErrorTextAndNumbers) {
    EXPECT_LT(compareText(nullptr, ""), 0);
    EXPECT_EQ(compareText(nullptr, nullptr), 0);
    EXPECT_LT(compareText("B", "a"), 0);  // plain byte order
    EXPECT_EQ(compareNoCase("ROCK", "rock"), 0);
    EXPECT_LT(compareNoCase("ab", "abc"), 0);
    EXPECT_EQ(compareNoCase("abcX", "ABCy", 3), 0);
    EXPECT_TRUE(equalsNoCase("Mp3", "mP3") && !equalsNoCase("mp3", "mp"));
    std::string full = strerror(ENOENT);
    EXPECT_EQ(errorText(ENOENT), full);
    EXPECT_EQ(errorText(ENOENT, 8), full.substr(0, 7));
    EXPECT_EQ(numberText(2006), "2006");
    EXPECT_EQ(numberText(0) + numberText(-3), "");
}

TEST(Encodings, Utf16AndLatin1ToUtf8) {
    const std::pair<std::string, std::string> cases[] = {
        {u16(u"Caf\u00E9"), "Caf\xC3\xA9"},
        {u16(u"Caf\u00E9", true), "Caf\xC3\xA9"},
        {u16(u"\u20AC1", true, false), "\xE2\x82\xAC" "1"},  // no mark: big-endian
        {u16(u"\U0001D11E"), "\xF0\x9D\x84\x9E"},            // surrogate pair
        {u16(std::u16string{char16_t(0xD834), u'x'}), "\xEF\xBF\xBDx"},
        {u16(std::u16string{u'a', char16_t(0xD834)}, true, false), "a\xEF\xBF\xBD"},
        {u16(u"ab") + "\x41", "ab"},                         // an odd last byte is dropped
    };
    for (const auto& [bytes, expected] : cases) EXPECT_EQ(utf16ToUtf8(bytes), expected) << expected;
    EXPECT_EQ(latin1ToUtf8("Caf\xE9\xFF"), "Caf\xC3\xA9\xC3\xBF");
}

TEST(Encodings, Utf8ToUtf16TakesInvalidBytesAsLatin1) {
    EXPECT_EQ(utf8ToUtf16("a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E"),
              (std::u16string{u'a', 0xE9, 0x20AC, 0xD834, 0xDD1E}));
    // A lone E9, a truncated sequence, an overlong form and an encoded surrogate.
    EXPECT_EQ(utf8ToUtf16("f\xE9|\xE2\x82|\xC0\xAF|\xED\xA0\x80"),
              (std::u16string{u'f', 0xE9, u'|', 0xE2, 0x82, u'|', 0xC0, 0xAF, u'|', 0xED, 0xA0, 0x80}));
}

TEST(TextValue, KeepsLatin1WhenItFitsElseLittleEndianUtf16) {
    TextValue latin = TextValue::fromUtf8("Caf\xC3\xA9");
    EXPECT_FALSE(latin.isUtf16());
    EXPECT_EQ(latin.bytes(), "Caf\xE9");
    EXPECT_EQ(latin.utf8(), "Caf\xC3\xA9");
    EXPECT_EQ(TextValue::fromUtf8("Caf\xE9").bytes(), "Caf\xE9");  // a bad byte stands for itself
    TextValue wide = TextValue::fromUtf8("\xE2\x82\xAC" "5");
    EXPECT_TRUE(wide.isUtf16());
    EXPECT_EQ(wide.bytes(), std::string("\xFF\xFE\xAC\x20\x35\x00", 6));
    EXPECT_EQ(wide.utf8(), "\xE2\x82\xAC" "5");
    EXPECT_EQ(TextValue::latin1(std::string("ab\0cd", 5)).utf8(), "ab");
    EXPECT_EQ(TextValue::utf16(u16(std::u16string(u"ab\0cd", 5))).utf8(), "ab");
    EXPECT_TRUE(TextValue::latin1(std::string("\0x", 2)).empty() && TextValue().empty());
    EXPECT_EQ(TextValue::latin1("x"), TextValue::fromUtf8("x"));
    EXPECT_FALSE(TextValue::latin1("x") == TextValue::utf16(u16(u"x")));
}

TEST(ToSingleByte, KeepsOnlyTheModesRange) {
    const std::tuple<std::string, int, std::string> cases[] = {
        {u16(u"Caf\u00E9"), 1, "Caf"},         {u16(u"Caf\u00E9"), 2, "Caf"},  // 233 is above 207
        {u16(u"\u00D1"), 2, ""},               {u16(u"\u00C7a"), 1, "a"},       {u16(u"\u00C7a"), 2, "\xC7" "a"},
        {u16(u"a\u007F"), 1, "a"},             {u16(u"a\u007F"), 2, "a\x7F"},  {u16(u"a\tb\u001Fx\u20ACy"), 2, "abxy"},
        {u16(u"Song", true), 1, "Song"},       {u16(u"Song", true, false), 1, "Song"},  // first byte 0: big-endian
        {u16(u"Song", false, false), 1, "Song"}, {u16(std::u16string(u"ab\0cd", 5)), 1, "ab"}, {"A", 1, ""}};
    for (const auto& [utf16, mode, expected] : cases) EXPECT_EQ(toSingleByte(utf16, mode), expected) << mode;
    EXPECT_EQ(toSingleByte(TextValue::latin1("Caf\xE9"), 1), "Caf\xE9");
    EXPECT_EQ(toSingleByte(TextValue::utf16(u16(u"Caf\u00E9")), 1), "Caf");
}

TEST(NumberTexts, SizeDurationAndClock) {
    const std::pair<long long, const char*> sizes[] = {
        {1023, "1023 bytes"}, {1536, "1.00 KB (1536 bytes)"}, {1000000, "976.00 KB (1000000 bytes)"},
        {1023999, "999.00 KB (1023999 bytes)"}, {1024000, "0.98 MB (1024000 bytes)"},
        {5000000000LL, "4768.37 MB (5000000000 bytes)"}};
    for (const auto& [bytes, text] : sizes) EXPECT_EQ(sizeText(bytes), text);
    const std::tuple<long long, long long, const char*> durations[] = {
        {59, 1, "59 seconds"}, {60, 1, "1:00 (60 seconds)"}, {3599, 1, "59:59 (3599 seconds)"},
        {3661, 1, "1:01:01 (3661 seconds)"}, {61999, 1000, "1:01 (61 seconds)"}, {75, 0, "1:15 (75 seconds)"},
        {LLONG_MIN, -1, "2562047788015215:30:07 (9223372036854775807 seconds)"}};
    for (const auto& [value, divisor, text] : durations) EXPECT_EQ(durationText(value, divisor), text);
    EXPECT_EQ(clockText(59, false, '.'), "59");
    EXPECT_EQ(clockText(605, false, ':'), "10:05");
    EXPECT_EQ(clockText(3661, false, '.'), "1.01.01");
    EXPECT_EQ(clockText(3661, true, '.'), "3661");
}

}  // namespace
}  // namespace tagwick
