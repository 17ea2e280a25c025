#include "base/genres.h"
#include "base/text.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "support/tag_builders.h"

namespace tagwick {
namespace {

// UTF-16 bytes as a string: little-endian with a mark unless told otherwise.
std::string u16(std::u16string_view units, bool bigEndian = false, bool mark = true) {
    support::ByteVec bytes = support::utf16Bytes(units, bigEndian, mark);
    return std::string(bytes.begin(), bytes.end());
}

TEST(ToSingleByte, KeepsOnlyTheModesRange) {
    const std::tuple<std::string, int, std::string> cases[] = {
        {u16(u"Caf\u00E9"), 1, "Caf"},    {u16(u"Caf\u00E9"), 2, "Caf"},  // 233 is above 207
        {u16(u"\u00D1"), 2, ""},          {u16(u"\u00C7a"), 1, "a"},       {u16(u"\u00C7a"), 2, "\xC7" "a"},
        {u16(u"a\tb\u20ACy"), 2, "aby"},  {u16(u"Song", false, false), 1, "Song"}};
    for (const auto& [utf16, mode, expected] : cases) EXPECT_EQ(toSingleByte(utf16, mode), expected) << mode;
}

TEST(NumberTexts, SizeAndDuration) {
    const std::pair<long long, const char*> sizes[] = {
        {1023, "1023 bytes"}, {1536, "1.00 KB (1536 bytes)"}, {1000000, "976.00 KB (1000000 bytes)"},
        {1024000, "0.98 MB (1024000 bytes)"}};
    for (const auto& [bytes, text] : sizes) EXPECT_EQ(sizeText(bytes), text);
    const std::tuple<long long, long long, const char*> durations[] = {
        {59, 1, "59 seconds"}, {60, 1, "1:00 (60 seconds)"}, {3661, 1, "1:01:01 (3661 seconds)"},
        {61999, 1000, "1:01 (61 seconds)"}, {75, 0, "1:15 (75 seconds)"}};
    for (const auto& [value, divisor, text] : durations) EXPECT_EQ(durationText(value, divisor), text);
}

TEST(Genres, StandardSpellingsAndOnlyTheStandardListIsSearched) {
    EXPECT_EQ(genreName(40), "AlternRock");
    EXPECT_EQ(genreName(67), "Psychadelic");
    EXPECT_EQ(genreName(78), "Rock & Roll");
    EXPECT_EQ(genreName(80), "Other");  // not "unknown"
    EXPECT_EQ(extendedGenre(43), "A Capella");
    EXPECT_EQ(genreIndex("rock", false), 17);
    EXPECT_EQ(genreIndex("Folk", true), 12);
    EXPECT_EQ(genreIndex("Folk", false), -1);
    EXPECT_EQ(genreIndex("unknown", false), -1);
}

TEST(ValueForms, NormalTimestampKeepsTheMostPreciseValidForm) {
    const std::tuple<const char*, bool, bool, const char*> cases[] = {
        {"2006-05-12 13:45", true, false, "2006-05-12T13:45"}, {"2006-05-12T13:45:01", false, true, "2006-05-12 13:45:01Z"},
        {"2006-05-12T13", true, true, "2006-05-12T13Z"},       {"2006-13-01", true, false, "2006"},
        {"2006-05-12T25:00:00", true, false, "2006-05-12"},    {"2006-5-2 3:4:5", true, false, "2006-05-02T03:04:05"},
        {"999-01-01", true, false, ""}};
    for (const auto& [text, separatorIsT, appendZ, expected] : cases)
        EXPECT_EQ(normalTimestamp(text, separatorIsT, appendZ), expected) << text;
}

}  // namespace
}  // namespace tagwick
