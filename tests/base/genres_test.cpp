#include "base/genres.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tagwick {
namespace {

TEST(GenreTable, KnownSlotsHoldTheStandardNames) {
    EXPECT_EQ(genreSlot(0), "Blues");
    EXPECT_EQ(genreSlot(12), "Other");
    EXPECT_EQ(genreSlot(17), "Rock");
    EXPECT_EQ(genreSlot(40), "AlternRock");
    EXPECT_EQ(genreSlot(60), "Top 40");
    EXPECT_EQ(genreSlot(67), "Psychadelic");
    EXPECT_EQ(genreSlot(78), "Rock & Roll");
    EXPECT_EQ(genreSlot(79), "Hard Rock");
    EXPECT_EQ(genreSlot(80), "unknown");
}

TEST(GenreTable, OutsideTheSlotsIsEmpty) {
    EXPECT_EQ(genreSlot(81), "");
    EXPECT_EQ(genreSlot(-1), "");
}

TEST(GenreTable, NamesAreDistinctAndFitTheirSlots) {
    std::set<std::string> seen;
    for (int i = 0; i <= GenreCount; ++i) {
        std::string_view name = genreSlot(i);
        EXPECT_FALSE(name.empty()) << i;
        EXPECT_LT(name.size(), 20u) << name;
        EXPECT_TRUE(seen.insert(std::string(name)).second) << name;
    }
    for (int i = 0; i < ExtendedGenreCount; ++i) {
        EXPECT_LT(extendedGenre(i).size(), 20u);
        EXPECT_TRUE(seen.insert(std::string(extendedGenre(i))).second) << extendedGenre(i);
    }
}

TEST(ExtendedGenre, RunsFromFolkToDanceHall) {
    EXPECT_EQ(extendedGenre(0), "Folk");
    EXPECT_EQ(extendedGenre(13), "Psychedelic Rock");
    EXPECT_EQ(extendedGenre(43), "A Capella");
    EXPECT_EQ(extendedGenre(45), "Dance Hall");
    EXPECT_EQ(extendedGenre(46), "");
    EXPECT_EQ(extendedGenre(-1), "");
}

TEST(GenreName, EightyAndAboveIsOther) {
    EXPECT_EQ(genreName(17), "Rock");
    EXPECT_EQ(genreName(79), "Hard Rock");
    EXPECT_EQ(genreName(80), "Other");
    EXPECT_EQ(genreName(123), "Other");
    EXPECT_EQ(genreName(255), "Other");
}

TEST(GenreIndex, IgnoresLetterCase) {
    EXPECT_EQ(genreIndex("rock", false), 17);
    EXPECT_EQ(genreIndex("ROCK & roll", false), 78);
    EXPECT_EQ(genreIndex("hip-hop", true), 7);
}

TEST(GenreIndex, ExtensionNamesAreNotSearched) {
    EXPECT_EQ(genreIndex("Folk", true), 12);
    EXPECT_EQ(genreIndex("Folk", false), -1);
    // Nor is the "unknown" slot.
    EXPECT_EQ(genreIndex("unknown", false), -1);
}

TEST(GenreIndex, NeedsTheWholeName) {
    EXPECT_EQ(genreIndex("Roc", false), -1);
    EXPECT_EQ(genreIndex("Rocks", false), -1);
    EXPECT_EQ(genreIndex("", false), -1);
}

TEST(GenreIndex, MissingNameGivesTheFallback) {
    EXPECT_EQ(genreIndex(nullptr, true), 12);
    EXPECT_EQ(genreIndex(nullptr, false), -1);
}

TEST(GenreIndex, FindsEveryStandardName) {
    for (unsigned i = 0; i < unsigned(GenreCount); ++i)
        EXPECT_EQ(genreIndex(std::string(genreName(i)).c_str(), false), int(i)) << genreName(i);
}

struct PairCase {
    const char* name;
    uint16_t number;
    uint16_t total;
    bool allowTotalOnly;
    const char* expected;
};

class NumberPairText : public testing::TestWithParam<PairCase> {};

TEST_P(NumberPairText, Formats) {
    EXPECT_EQ(numberPairText(GetParam().number, GetParam().total, GetParam().allowTotalOnly), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, NumberPairText,
                         testing::Values(PairCase{"Both", 3, 12, false, "3/12"},
                                         PairCase{"NumberOnly", 3, NumberNotSet, true, "3"},
                                         PairCase{"TotalOnlyAllowed", NumberNotSet, 12, true, "/12"},
                                         PairCase{"TotalOnlyRefused", NumberNotSet, 12, false, ""},
                                         PairCase{"Neither", NumberNotSet, NumberNotSet, true, ""},
                                         PairCase{"Zeros", 0, 0, false, "0/0"},
                                         PairCase{"Largest", 65534, 65534, false, "65534/65534"}),
                         [](const testing::TestParamInfo<PairCase>& info) { return std::string(info.param.name); });

struct TimestampCase {
    const char* name;
    const char* text;
    bool separatorIsT;
    bool appendZ;
    const char* expected;
};

class NormalTimestamp : public testing::TestWithParam<TimestampCase> {};

TEST_P(NormalTimestamp, KeepsTheMostPreciseValidForm) {
    EXPECT_EQ(normalTimestamp(GetParam().text, GetParam().separatorIsT, GetParam().appendZ), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, NormalTimestamp,
    testing::Values(TimestampCase{"HourMinute", "2006-05-12 13:45", true, false, "2006-05-12T13:45"},
                    TimestampCase{"HourMinuteZ", "2006-05-12 13:45", true, true, "2006-05-12T13:45Z"},
                    TimestampCase{"Full", "2006-05-12T13:45:01", true, false, "2006-05-12T13:45:01"},
                    TimestampCase{"FullBlankZ", "2006-05-12T13:45:01", false, true, "2006-05-12 13:45:01Z"},
                    TimestampCase{"HourOnly", "2006-05-12T13", true, true, "2006-05-12T13Z"},
                    TimestampCase{"HourOnlyBlank", "2006-05-12 13", false, false, "2006-05-12 13"},
                    TimestampCase{"DateOnlyNoZ", "2006-05-12", true, true, "2006-05-12"},
                    TimestampCase{"YearMonth", "2006-05", true, true, "2006-05"},
                    TimestampCase{"Year", "2006", true, true, "2006"},
                    TimestampCase{"BadMonth", "2006-13-01", true, false, "2006"},
                    TimestampCase{"BadDay", "2006-05-32", true, false, "2006-05"},
                    TimestampCase{"BadHour", "2006-05-12T25:00:00", true, false, "2006-05-12"},
                    TimestampCase{"BadMinute", "2006-05-12T23:60:00", true, false, "2006-05-12T23"},
                    TimestampCase{"BadSecond", "2006-05-12T23:59:60", true, false, "2006-05-12T23:59"},
                    TimestampCase{"SingleDigits", "2006-5-2 3:4:5", true, false, "2006-05-02T03:04:05"},
                    TimestampCase{"EarlyYear", "999-01-01", true, false, ""},
                    TimestampCase{"FirstYearAllowed", "1100", true, false, "1100"},
                    TimestampCase{"NotANumber", "abc", true, false, ""},
                    TimestampCase{"Empty", "", true, false, ""}),
    [](const testing::TestParamInfo<TimestampCase>& info) { return std::string(info.param.name); });

TEST(NormalTimestampNull, IsEmpty) { EXPECT_EQ(normalTimestamp(nullptr, true, true), ""); }

TEST(DisplayTimestamp, ReplacesTheFirstT) {
    EXPECT_EQ(displayTimestamp("2006-05-12T13:45"), "2006-05-12 13:45");
    EXPECT_EQ(displayTimestamp("2006T1T2"), "2006 1T2");
    EXPECT_EQ(displayTimestamp("2006"), "2006");
    EXPECT_EQ(displayTimestamp(nullptr), "");
    EXPECT_EQ(displayTimestamp(std::string(100, '7').c_str()), std::string(63, '7'));
}

TEST(AdvisoryName, NamesTheCodes) {
    EXPECT_EQ(advisoryName(0), "");
    EXPECT_EQ(advisoryName(1), "Explicit lyrics");
    EXPECT_EQ(advisoryName(2), "Clean lyrics");
    EXPECT_EQ(advisoryName(3), "");
    EXPECT_EQ(advisoryName(-1), "");
}

}  // namespace
}  // namespace tagwick
