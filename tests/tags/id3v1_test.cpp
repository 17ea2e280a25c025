// The version 1 record: reading its fields with their bounds and quirks, comparing two tracks
// field by field, the field labels, and the tag version label.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/log_capture.h"
#include "support/tag_builders.h"
#include "tags/id3_tag.h"
#include "tags/id3v1.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::LogCapture;
using support::V1Layout;

const std::string Thirty = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123";

std::string fields(const ID3Tag& t) {
    return t.v1.title + "|" + t.v1.artist + "|" + t.v1.album + "|" + t.v1.year + "|" + t.v1.comment + "|" +
           std::to_string(t.v1.track) + "|" + std::to_string(t.v1.genre);
}

TEST(Id3v1Parse, FieldsStopAtTheirBoundsAndZeros) {
    struct Case {
        V1Layout layout;
        std::string read;
    };
    for (const Case& c : {
             Case{{Thirty, "Band", "album" + Thirty, "19999", "c", 3, 17},
                  Thirty + "|Band|album" + Thirty.substr(0, 25) + "|1999|c|3|17"},
             // A 30-character comment reads as its first 29, and its last character as the track.
             Case{{"t", "a", "b", "2001", Thirty, 0, 1}, "t|a|b|2001|" + Thirty.substr(0, 29) + "|51|1"},
             // Track 0 means none; every genre above 79, 255 included, reads as 12 (Other).
             Case{{"t", "a", "b", "2001", "c", 0, 79}, "t|a|b|2001|c|255|79"},
             Case{{"t", "a", "b", "2001", "c", 12, 80}, "t|a|b|2001|c|12|12"},
             Case{{"t", "a", "b", "2001", "c", 255, 255}, "t|a|b|2001|c|255|12"},
         }) {
        ID3Tag track;
        ByteVec record = support::buildV1(c.layout);
        record[33 + 5] = 'X';  // after the artist's terminator: not part of it
        ASSERT_TRUE(parseV1(track, record));
        EXPECT_EQ(fields(track), c.read);
        EXPECT_TRUE(track.v1Found);
        EXPECT_FALSE(track.v1.enabled);  // only reading a file enables the record
    }
}

TEST(Id3v1Read, OnlyAnExactMarkerInTheLast128Bytes) {
    ByteVec record = support::buildV1(V1Layout{"Song", "Band", "Disc", "2010", "note", 4, 20});
    ByteVec file(1000 + record.size(), 0xAA);
    std::copy(record.begin(), record.end(), file.end() - long(record.size()));
    ID3Tag atEnd, notAtEnd, lowerCase, shortFile;
    EXPECT_TRUE(readV1(atEnd, file));
    EXPECT_TRUE(atEnd.v1.enabled && atEnd.v1Found);
    EXPECT_EQ(fields(atEnd), "Song|Band|Disc|2010|note|4|20");
    file.push_back(0);
    EXPECT_TRUE(readV1(notAtEnd, file));
    EXPECT_FALSE(notAtEnd.v1.enabled || notAtEnd.v1Found);
    std::copy_n("tag", 3, record.begin());
    EXPECT_TRUE(readV1(lowerCase, record));
    EXPECT_FALSE(lowerCase.v1Found);
    LogCapture log;
    EXPECT_FALSE(readV1(shortFile, ByteVec(127, 0)));
    EXPECT_FALSE(shortFile.v1Found);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].level, LogError);
    EXPECT_TRUE(log.lines()[0].message.starts_with("Failed to load the V1 tag (error: "));
}

TEST(Id3v1Compare, EachFieldHasItsCodeInOrder) {
    ID3Tag a, b;
    for (ID3Tag* t : {&a, &b}) {
        t->isMp3 = t->v1Found = true;
        parseV1(*t, support::buildV1(V1Layout{"Title", "Artist", "Album", "2004", "Comment", 7, 13}));
        t->v1.enabled = true;
    }
    EXPECT_EQ(compareV1(a, b), 0);
    // Each change hides the ones before it: the first difference in code order is reported.
    b.v1.genre = 14;
    EXPECT_EQ(compareV1(a, b), 10);
    b.v1.track = 8;
    EXPECT_EQ(compareV1(a, b), 8);
    b.v1.year = "2005";
    EXPECT_EQ(compareV1(a, b), 7);
    b.v1.comment += "x";
    EXPECT_EQ(compareV1(a, b), 6);
    b.v1.artist += "x";
    EXPECT_EQ(compareV1(a, b), 5);
    b.v1.album += "x";
    EXPECT_EQ(compareV1(a, b), 4);
    b.v1.title += "x";
    EXPECT_EQ(compareV1(a, b), 3);

    // State differences are logged without ending the comparison; a disabled record or a track
    // that is no MP3 is not compared.
    LogCapture log;
    b.v1Found = false;
    EXPECT_EQ(compareV1(a, b), 3);
    b.v1.enabled = false;
    EXPECT_EQ(compareV1(a, b), 0);
    EXPECT_TRUE(log.has(LogProgress, "Comparing V1 loaded state failed (1 != 0)"));
    EXPECT_TRUE(log.has(LogWarning, "Comparing V1 enabled state failed (1 != 0)"));
    b.v1.enabled = true;
    b.isMp3 = false;
    EXPECT_EQ(compareV1(b, a), 0);
}

TEST(FieldLabel, CodesFromThreeAndFrom103NameTheSameList) {
    for (auto [code, label] : {std::pair{3, "Title"}, {4, "Album"}, {5, "Artist"}, {8, "Track"}, {9, "Tracks"},
                               {10, "Genre"}, {103, "Title"}, {123, "Encoder settings"}, {143, "UFID data"}})
        EXPECT_EQ(fieldLabel(code), label) << code;
    for (int code : {-1, 2, 44, 45, 102, 144, 1000}) EXPECT_EQ(fieldLabel(code), "") << code;
}

TEST(VersionLabel, BuiltFromTheTagsFound) {
    struct Case {
        bool v1, v2;
        int minor;
        bool podcast;
        const char* label;
    };
    for (const Case& c : {Case{true, false, 3, false, "V1"}, Case{true, true, 4, false, "V1 and V2.4"},
                          Case{false, true, 4, false, "V2.4"}, Case{true, true, 5, false, "V1 and V2.5 (unsupported)"},
                          Case{false, true, 6, true, "V2.6 (unsupported) (podcast)"},
                          Case{false, false, 0, true, "kept (podcast)"}, Case{false, false, 4, false, "kept"}}) {
        ID3Tag track;
        track.tagVersionText = "kept";  // without tags the label is left as it was
        track.v1Found = c.v1;
        track.v2Found = c.v2;
        track.v2.podcast = c.podcast;
        buildVersionLabel(track, c.minor);
        EXPECT_EQ(track.tagVersionText, c.label);
        EXPECT_EQ(track.v2Minor, c.minor);
    }
}

}  // namespace
}  // namespace tagwick
