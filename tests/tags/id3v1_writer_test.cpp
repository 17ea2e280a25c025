// The version 1 record as written: bounded fields, the comment reaching byte 125, the track and
// genre bytes, the -trim rule; and what the reader makes of it.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/tag_builders.h"
#include "tags/id3_tag.h"
#include "tags/id3v1_writer.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::V1Layout;

Id3v1Tag fields(std::string title, std::string artist, std::string album, std::string year, std::string comment,
                uint8_t track, uint8_t genre) {
    return {true, std::move(title), std::move(artist), std::move(album), std::move(year), std::move(comment), track, genre};
}

ByteVec withByte(ByteVec record, size_t at, uint8_t value) {
    record[at] = value;
    return record;
}

TEST(V1Record, FieldsTrackAndGenreBytes) {
    const std::string longText(35, 'x');
    struct Case {
        const char* name;
        Id3v1Tag v1;
        bool convert;
        ByteVec expected;
    };
    const std::vector<Case> cases = {
        {"AllFields", fields("Title", "Artist", "Album", "2001", "Hi", 7, 17), false,
         support::buildV1(V1Layout{"Title", "Artist", "Album", "2001", "Hi", 7, 17})},
        {"LongFieldsAreCut", fields(longText, longText, longText, "20011", longText, 255, 255), false,
         support::buildV1(V1Layout{longText, longText, longText, "2001", longText.substr(0, 29), 0, 255})},
        {"TwentyNineCharacterCommentKeepsTheTrack", fields("", "", "", "", std::string(29, 'c'), 5, 0), false,
         withByte(support::buildV1(V1Layout{"", "", "", "", std::string(29, 'c'), 0, 0}), 126, 5)},
        {"TrackZero", fields("T", "", "", "", "", 0, 12), false, support::buildV1(V1Layout{"T", "", "", "", "", 0, 12})},
        {"NulEndsAField", fields(std::string("A\0B", 3), "", "", "", "", 255, 1), false,
         support::buildV1(V1Layout{"A", "", "", "", "", 0, 1})},
        {"TrimAfterTheCut", fields(std::string(29, 'a') + " b", " Ar\t", "Al", " 99 ", "\r\nC ", 1, 2), true,
         support::buildV1(V1Layout{std::string(29, 'a'), "Ar", "Al", "99", "C", 1, 2})},
        {"NoTrimWithoutConvert", fields(" T ", "", "", "", "", 255, 2), false,
         support::buildV1(V1Layout{" T ", "", "", "", "", 0, 2})},
    };
    for (const Case& c : cases) {
        V1Record record = buildV1Record(c.v1, c.convert);
        EXPECT_EQ(ByteVec(record.begin(), record.end()), c.expected) << c.name;
    }
}

TEST(V1Record, ReadsBackAsWritten) {
    ID3Tag track, second;
    track.isMp3 = second.isMp3 = true;
    track.v1 = fields("Title", "Artist", "Album", "2001", std::string(29, 'c'), 9, 79);
    V1Record record = buildV1Record(track, false);
    ASSERT_TRUE(parseV1(second, record));
    second.v1.enabled = true;
    EXPECT_EQ(compareV1(track, second), 0);
    // No genre (255) is written as it is and reads back as Other (12): the comparison tells.
    track.v1.genre = 255;
    record = buildV1Record(track, false);
    parseV1(second, record);
    EXPECT_EQ(record[127], 255);
    EXPECT_EQ(compareV1(track, second), 10);
}

}  // namespace
}  // namespace tagwick
