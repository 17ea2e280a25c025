#include "base/genres.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace tagwick {
namespace {

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
