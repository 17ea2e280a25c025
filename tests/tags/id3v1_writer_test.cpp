// The version 1 record as written: bounded fields, the comment reaching byte 125, the track and
// genre bytes, the -trim rule; and what the reader makes of it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/tag_builders.h"
#include "tags/id3_tag.h"
#include "tags/id3v1_writer.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::V1Layout;

ByteVec recordOf(const Id3v1Tag& v1, bool convert) {
    V1Record record = buildV1Record(v1, convert);
    return ByteVec(record.begin(), record.end());
}

TEST(V1Record, FieldsTrackAndGenreBytes) {
    const std::string x35(35, 'x'), c29(29, 'c');
    ByteVec commentAndTrack = support::buildV1(V1Layout{"", "", "", "", c29, 0, 0});
    commentAndTrack[126] = 5;  // a 29-character comment fills byte 125 and the track follows
    const std::vector<std::tuple<Id3v1Tag, bool, ByteVec>> cases = {
        {{true, "Title", "Artist", "Album", "2001", "Hi", 7, 17}, false,
         support::buildV1(V1Layout{"Title", "Artist", "Album", "2001", "Hi", 7, 17})},
        {{true, x35, x35, x35, "20011", x35, 255, 255}, false,
         support::buildV1(V1Layout{x35, x35, x35, "2001", x35.substr(0, 29), 0, 255})},
        {{true, "", "", "", "", c29, 5, 0}, false, commentAndTrack},
        {{true, std::string("A\0B", 3), " T ", "", "", "", 0, 1}, false, support::buildV1(V1Layout{"A", " T ", "", "", "", 0, 1})},
        // Trimmed after the cut: the blank at the title's 30th place goes, the "b" was already cut.
        {{true, std::string(29, 'a') + " b", " Ar\t", "Al", " 99 ", "\r\nC ", 1, 2}, true,
         support::buildV1(V1Layout{std::string(29, 'a'), "Ar", "Al", "99", "C", 1, 2})},
    };
    for (const auto& [v1, convert, expected] : cases) EXPECT_EQ(recordOf(v1, convert), expected) << v1.title;
}

TEST(V1Record, ReadsBackAsWritten) {
    ID3Tag track, second;
    track.isMp3 = second.isMp3 = true;
    track.v1 = {true, "Title", "Artist", "Album", "2001", std::string(29, 'c'), 9, 79};
    ASSERT_TRUE(parseV1(second, buildV1Record(track, false)));
    second.v1.enabled = true;
    EXPECT_EQ(compareV1(track, second), 0);
    // No genre (255) is written as it is and reads back as Other (12): the comparison tells.
    track.v1.genre = 255;
    parseV1(second, buildV1Record(track, false));
    EXPECT_EQ(compareV1(track, second), 10);
}

}  // namespace
}  // namespace tagwick
