#include "base/genres.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace tagwick {
namespace {

TEST(Genres, NamesKeepTheStandardSpellings) {
    EXPECT_EQ(genreSlot(40), "AlternRock");
    EXPECT_EQ(genreSlot(67), "Psychadelic");
    EXPECT_EQ(genreSlot(78), "Rock & Roll");
    EXPECT_EQ(genreSlot(80), "unknown");
    EXPECT_EQ(genreSlot(81), "");
    EXPECT_EQ(extendedGenre(0), "Folk");
    EXPECT_EQ(extendedGenre(43), "A Capella");
    EXPECT_EQ(extendedGenre(45), "Dance Hall");
    EXPECT_EQ(extendedGenre(46), "");
}

TEST(Genres, NameFromEightyOnIsOtherAndIndexSearchesOnlyTheStandardList) {
    EXPECT_EQ(genreName(79), "Hard Rock");
    EXPECT_EQ(genreName(80), "Other");
    EXPECT_EQ(genreName(255), "Other");
    EXPECT_EQ(genreIndex("rock", false), 17);
    EXPECT_EQ(genreIndex("ROCK & roll", false), 78);
    EXPECT_EQ(genreIndex("Folk", true), 12);
    EXPECT_EQ(genreIndex("Folk", false), -1);
    EXPECT_EQ(genreIndex("unknown", false), -1);
    EXPECT_EQ(genreIndex("Roc", false), -1);
    EXPECT_EQ(genreIndex(nullptr, true), 12);
    for (unsigned i = 0; i < unsigned(GenreCount); ++i)
        EXPECT_EQ(genreIndex(std::string(genreName(i)).c_str(), false), int(i)) << genreName(i);
}

TEST(ValueForms, NormalTimestampKeepsTheMostPreciseValidForm) {
    const std::tuple<const char*, bool, bool, const char*> cases[] = {
        {"2006-05-12 13:45", true, false, "2006-05-12T13:45"}, {"2006-05-12 13:45", true, true, "2006-05-12T13:45Z"},
        {"2006-05-12T13:45:01", false, true, "2006-05-12 13:45:01Z"}, {"2006-05-12T13", true, true, "2006-05-12T13Z"},
        {"2006-05-12", true, true, "2006-05-12"}, {"2006-05", true, true, "2006-05"},
        {"2006-13-01", true, false, "2006"}, {"2006-05-32", true, false, "2006-05"},
        {"2006-05-12T25:00:00", true, false, "2006-05-12"}, {"2006-05-12T23:60:00", true, false, "2006-05-12T23"},
        {"2006-05-12T23:59:60", true, false, "2006-05-12T23:59"},
        {"2006-5-2 3:4:5", true, false, "2006-05-02T03:04:05"}, {"999-01-01", true, false, ""},
        {"1100", true, false, "1100"}, {"abc", true, false, ""},
    };
    for (const auto& [text, separatorIsT, appendZ, expected] : cases)
        EXPECT_EQ(normalTimestamp(text, separatorIsT, appendZ), expected) << text;
    EXPECT_EQ(normalTimestamp(nullptr, true, true), "");
}

TEST(ValueForms, NumberPairsDisplayTimestampsAndAdvisoryNames) {
    EXPECT_EQ(numberPairText(3, 12, false), "3/12");
    EXPECT_EQ(numberPairText(3, NumberNotSet, false), "3");
    EXPECT_EQ(numberPairText(NumberNotSet, 12, true), "/12");
    EXPECT_EQ(numberPairText(NumberNotSet, 12, false), "");
    EXPECT_EQ(numberPairText(0, 65534, false), "0/65534");
    EXPECT_EQ(displayTimestamp("2006T1T2"), "2006 1T2");
    EXPECT_EQ(displayTimestamp(nullptr), "");
    EXPECT_EQ(displayTimestamp(std::string(100, '7').c_str()), std::string(63, '7'));
    EXPECT_EQ(advisoryName(1), "Explicit lyrics");
    EXPECT_EQ(advisoryName(2), "Clean lyrics");
    EXPECT_EQ(std::string(advisoryName(0)) + std::string(advisoryName(3)), "");
}

}  // namespace
}  // namespace tagwick
