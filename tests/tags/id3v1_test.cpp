// The version 1 record: reading its fields with their bounds and quirks, comparing two
// tracks field by field, the field labels, and the tag version label.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "base/genres.h"
#include "base/logger.h"
#include "tags/id3_tag.h"
#include "tags/id3v1.h"
#include "support/tag_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::V1Spec;

// Collects what the Logger writes (no log file is open, so it goes to the error stream).
class LogCapture {
public:
    explicit LogCapture(unsigned level = 3) {
        Logger::resetForTests();
        file_ = std::tmpfile();
        Logger::setConsoleStreams(nullptr, file_);
        Logger::setMaxLevel(level);
    }
    ~LogCapture() {
        Logger::resetForTests();
        std::fclose(file_);
    }
    std::string text() const {
        std::fflush(file_);
        std::string out;
        std::rewind(file_);
        char buffer[512];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, file_)) > 0) out.append(buffer, n);
        return out;
    }

private:
    FILE* file_ = nullptr;
};

const std::string Thirty = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123";  // 30 characters

// ---------------------------------------------------------------- parsing

TEST(Id3v1Parse, FullWidthFieldsStopAtTheirBounds) {
    ID3Tag track;
    V1Spec spec{Thirty, "artist" + Thirty, "album" + Thirty, "19999", Thirty, 0, 17};
    ByteVec record = support::buildV1(spec);
    ASSERT_TRUE(parseV1(track, record));
    EXPECT_EQ(track.v1.title, Thirty);
    EXPECT_EQ(track.v1.artist, ("artist" + Thirty).substr(0, 30));
    EXPECT_EQ(track.v1.album, ("album" + Thirty).substr(0, 30));
    EXPECT_EQ(track.v1.year, "1999");
    EXPECT_EQ(track.v1.genre, 17);
    EXPECT_TRUE(track.v1Found);
}

TEST(Id3v1Parse, ThirtyCharacterCommentReadsAsItsFirst29) {
    ID3Tag track;
    ByteVec record = support::buildV1(V1Spec{"t", "a", "b", "2001", Thirty, 0, 1});
    ASSERT_EQ(record[126], uint8_t(Thirty[29]));  // byte 126 holds the comment's last character
    parseV1(track, record);
    EXPECT_EQ(track.v1.comment, Thirty.substr(0, 29));
    // The 30th comment character sits where a track number would be read.
    EXPECT_EQ(track.v1.track, uint8_t(Thirty[29]));
}

TEST(Id3v1Parse, ShortFieldsEndAtTheirZero) {
    ID3Tag track;
    ByteVec record = support::buildV1(V1Spec{"Hi", "", "Al", "99", "c", 3, 0});
    // Bytes after a field's terminator do not belong to it.
    record[3 + 5] = 'X';
    parseV1(track, record);
    EXPECT_EQ(track.v1.title, "Hi");
    EXPECT_EQ(track.v1.artist, "");
    EXPECT_EQ(track.v1.album, "Al");
    EXPECT_EQ(track.v1.year, "99");
    EXPECT_EQ(track.v1.comment, "c");
    EXPECT_EQ(track.v1.track, 3);
}

TEST(Id3v1Parse, TrackZeroMeansNoTrack) {
    ID3Tag track;
    ByteVec record = support::buildV1(V1Spec{"t", "a", "b", "2001", "comment", 0, 5});
    ASSERT_EQ(record[126], 0);
    parseV1(track, record);
    EXPECT_EQ(track.v1.track, 255);
}

TEST(Id3v1Parse, Version11TrackByte) {
    ID3Tag track;
    parseV1(track, support::buildV1(V1Spec{"t", "a", "b", "2001", std::string(28, 'c'), 255, 5}));
    EXPECT_EQ(track.v1.track, 255);
    EXPECT_EQ(track.v1.comment, std::string(28, 'c'));
    parseV1(track, support::buildV1(V1Spec{"t", "a", "b", "2001", "c", 12, 5}));
    EXPECT_EQ(track.v1.track, 12);
}

struct GenreCase {
    const char* name;
    uint8_t stored;
    uint8_t read;
};

class Id3v1Genre : public testing::TestWithParam<GenreCase> {};

TEST_P(Id3v1Genre, AboveSeventyNineBecomesOther) {
    ID3Tag track;
    parseV1(track, support::buildV1(V1Spec{"t", "a", "b", "2001", "c", 1, GetParam().stored}));
    EXPECT_EQ(track.v1.genre, GetParam().read);
}

INSTANTIATE_TEST_SUITE_P(Id3v1Parse, Id3v1Genre,
                         testing::Values(GenreCase{"Blues", 0, 0}, GenreCase{"Pop", 13, 13},
                                         GenreCase{"LastStandard", 79, 79}, GenreCase{"FirstExtension", 80, 12},
                                         GenreCase{"Extension125", 125, 12}, GenreCase{"NoGenre", 255, 12}),
                         [](const testing::TestParamInfo<GenreCase>& info) { return std::string(info.param.name); });

TEST(Id3v1Parse, ParseDoesNotSetEnabled) {
    ID3Tag track;
    parseV1(track, support::buildV1(V1Spec{"t", "a", "b", "2001", "c", 1, 2}));
    EXPECT_FALSE(track.v1.enabled);
    EXPECT_TRUE(track.v1Found);
}

// ---------------------------------------------------------------- reading from a file's bytes

TEST(Id3v1Read, ReadsTheLast128Bytes) {
    ID3Tag track;
    ByteVec file(1000, 0xAA);
    ByteVec record = support::buildV1(V1Spec{"Song", "Band", "Disc", "2010", "note", 4, 20});
    file.insert(file.end(), record.begin(), record.end());
    EXPECT_TRUE(readV1(track, file));
    EXPECT_TRUE(track.v1.enabled);
    EXPECT_TRUE(track.v1Found);
    EXPECT_EQ(track.v1.title, "Song");
    EXPECT_EQ(track.v1.artist, "Band");
    EXPECT_EQ(track.v1.track, 4);
    EXPECT_EQ(track.v1.genre, 20);
}

TEST(Id3v1Read, RecordNotAtTheEndIsNotRead) {
    ID3Tag track;
    ByteVec file = support::buildV1(V1Spec{"Song", "Band", "Disc", "2010", "note", 4, 20});
    file.push_back(0);
    EXPECT_TRUE(readV1(track, file));
    EXPECT_FALSE(track.v1.enabled);
    EXPECT_FALSE(track.v1Found);
    EXPECT_EQ(track.v1.title, "");
}

TEST(Id3v1Read, TagMarkerIsExact) {
    ID3Tag track;
    ByteVec file = support::buildV1(V1Spec{"Song", "Band", "Disc", "2010", "note", 4, 20});
    file[0] = 't';
    file[1] = 'a';
    file[2] = 'g';
    EXPECT_TRUE(readV1(track, file));
    EXPECT_FALSE(track.v1Found);
}

TEST(Id3v1Read, ShortFileLogsAndFails) {
    LogCapture log;
    ID3Tag track;
    ByteVec file(127, 0);
    EXPECT_FALSE(readV1(track, file));
    EXPECT_FALSE(track.v1Found);
    EXPECT_NE(log.text().find("Failed to load the V1 tag (error: "), std::string::npos);
}

TEST(Id3v1Read, ExactlyOneRecordIsRead) {
    LogCapture log;
    ID3Tag track;
    EXPECT_TRUE(readV1(track, support::buildV1(V1Spec{"Only", "", "", "", "", 0, 255})));
    EXPECT_EQ(track.v1.title, "Only");
    EXPECT_EQ(track.v1.genre, GenreOther);
    EXPECT_EQ(log.text(), "");
}

// ---------------------------------------------------------------- comparing

class Id3v1Compare : public testing::Test {
protected:
    void SetUp() override {
        for (ID3Tag* t : {&a, &b}) {
            t->isMp3 = true;
            t->v1Found = true;
            parseV1(*t, support::buildV1(V1Spec{"Title", "Artist", "Album", "2004", "Comment", 7, 13}));
            t->v1.enabled = true;
        }
    }
    ID3Tag a, b;
};

TEST_F(Id3v1Compare, EqualRecordsGiveZero) { EXPECT_EQ(compareV1(a, b), 0); }

TEST_F(Id3v1Compare, EachFieldHasItsCode) {
    struct Change {
        int code;
        void (*apply)(Id3v1Tag&);
    };
    const Change changes[] = {
        {3, [](Id3v1Tag& v) { v.title += "x"; }},   {4, [](Id3v1Tag& v) { v.album += "x"; }},
        {5, [](Id3v1Tag& v) { v.artist += "x"; }},  {6, [](Id3v1Tag& v) { v.comment += "x"; }},
        {7, [](Id3v1Tag& v) { v.year = "2005"; }},  {8, [](Id3v1Tag& v) { v.track = 8; }},
        {10, [](Id3v1Tag& v) { v.genre = 14; }},
    };
    for (const Change& change : changes) {
        ID3Tag other;
        other.isMp3 = true;
        other.v1Found = true;
        other.v1 = a.v1;
        change.apply(other.v1);
        EXPECT_EQ(compareV1(a, other), change.code) << "code " << change.code;
        EXPECT_EQ(fieldLabel(change.code), fieldLabel(change.code + 100));
    }
}

TEST_F(Id3v1Compare, FirstDifferenceInCodeOrderWins) {
    // Title (3) is checked before album (4), album before artist (5), track (8) before genre (10).
    b.v1.artist = "Other";
    b.v1.album = "Other";
    EXPECT_EQ(compareV1(a, b), 4);
    b.v1.title = "Other";
    EXPECT_EQ(compareV1(a, b), 3);
    ID3Tag c;
    c.isMp3 = true;
    c.v1 = a.v1;
    c.v1.genre = 1;
    c.v1.track = 1;
    EXPECT_EQ(compareV1(a, c), 8);
}

TEST_F(Id3v1Compare, OnlyMp3TracksAreCompared) {
    b.v1.title = "Different";
    b.isMp3 = false;
    b.isAiff = true;
    EXPECT_EQ(compareV1(a, b), 0);
    EXPECT_EQ(compareV1(b, a), 0);
}

TEST_F(Id3v1Compare, DisabledRecordIsNotCompared) {
    b.v1.title = "Different";
    b.v1.enabled = false;
    EXPECT_EQ(compareV1(a, b), 0);
    b.v1.enabled = true;
    EXPECT_EQ(compareV1(a, b), 3);
}

TEST_F(Id3v1Compare, StateDifferencesAreLoggedAtTheirLevels) {
    b.v1Found = false;
    b.v1.enabled = false;
    {
        LogCapture log(3);
        EXPECT_EQ(compareV1(a, b), 0);
        std::string text = log.text();
        EXPECT_NE(text.find("Comparing V1 loaded state failed (1 != 0)"), std::string::npos);
        EXPECT_NE(text.find("Comparing V1 enabled state failed (1 != 0)"), std::string::npos);
    }
    {
        // The loaded state is a progress message, the enabled state a warning.
        LogCapture log(2);
        compareV1(a, b);
        std::string text = log.text();
        EXPECT_EQ(text.find("loaded state"), std::string::npos);
        EXPECT_NE(text.find("Comparing V1 enabled state failed (1 != 0)"), std::string::npos);
    }
}

TEST_F(Id3v1Compare, LoadedStateDifferenceDoesNotEndTheComparison) {
    LogCapture log;
    b.v1Found = false;
    b.v1.year = "1990";
    EXPECT_EQ(compareV1(a, b), 7);
    EXPECT_NE(log.text().find("Comparing V1 loaded state failed (1 != 0)"), std::string::npos);
}

// ---------------------------------------------------------------- labels

TEST(FieldLabel, VersionOneCodesStartAtThree) {
    EXPECT_EQ(fieldLabel(3), "Title");
    EXPECT_EQ(fieldLabel(4), "Album");
    EXPECT_EQ(fieldLabel(5), "Artist");
    EXPECT_EQ(fieldLabel(6), "Comment");
    EXPECT_EQ(fieldLabel(7), "Year");
    EXPECT_EQ(fieldLabel(8), "Track");
    EXPECT_EQ(fieldLabel(9), "Tracks");
    EXPECT_EQ(fieldLabel(10), "Genre");
}

TEST(FieldLabel, VersionTwoCodesFollowTheComparisonOrder) {
    // The order in which the version 2 comparison reports its codes, from 103 on.
    const std::vector<std::string> expected = {
        "Title",        "Album",         "Artist",           "Comment",     "Year",
        "Track",        "Tracks",        "Genre",            "Composer",    "Original artist",
        "Copyright",    "URL",           "Encoded by",       "Lyrics",      "Conductor",
        "Lyricist",     "Publisher",     "Orchestra",        "Content",     "Subtitle",
        "Encoder settings", "Artist URL", "Podcast",         "Podcast ID",  "Podcast feed",
        "Podcast description", "Picture count", "Set",       "Sets",        "ISRC",
        "Record time",  "Release time",  "BPM",              "Initial key", "Compilation",
        "Advisory",     "Produced notice", "Mood",           "ISWC",        "UFID owner",
        "UFID data"};
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(fieldLabel(int(103 + i)), expected[i]) << "code " << 103 + i;
        EXPECT_EQ(fieldLabel(int(3 + i)), expected[i]) << "code " << 3 + i;
    }
}

TEST(FieldLabel, CodesOutsideTheListAreEmpty) {
    for (int code : {-1, 0, 1, 2, 44, 45, 100, 102, 144, 145, 1000}) EXPECT_EQ(fieldLabel(code), "") << code;
}

// ---------------------------------------------------------------- tag version label

struct LabelCase {
    const char* name;
    bool v1;
    bool v2;
    int minor;
    bool podcast;
    const char* label;
};

class VersionLabel : public testing::TestWithParam<LabelCase> {};

TEST_P(VersionLabel, Built) {
    const LabelCase& c = GetParam();
    ID3Tag track;
    track.v1Found = c.v1;
    track.v2Found = c.v2;
    track.v2.podcast = c.podcast;
    buildVersionLabel(track, c.minor);
    EXPECT_EQ(track.tagVersionText, c.label);
    EXPECT_EQ(track.v2Minor, c.minor);
}

INSTANTIATE_TEST_SUITE_P(
    Id3v1, VersionLabel,
    testing::Values(LabelCase{"V1Only", true, false, 3, false, "V1"},
                    LabelCase{"V2Only", false, true, 3, false, "V2.3"},
                    LabelCase{"Both", true, true, 4, false, "V1 and V2.4"},
                    LabelCase{"V22", false, true, 2, false, "V2.2"},
                    LabelCase{"V25Unsupported", false, true, 5, false, "V2.5 (unsupported)"},
                    LabelCase{"BothUnsupported", true, true, 9, false, "V1 and V2.9 (unsupported)"},
                    LabelCase{"V1Podcast", true, false, 0, true, "V1 (podcast)"},
                    LabelCase{"BothPodcast", true, true, 3, true, "V1 and V2.3 (podcast)"},
                    LabelCase{"UnsupportedPodcast", false, true, 6, true, "V2.6 (unsupported) (podcast)"},
                    LabelCase{"NeitherPodcast", false, false, 0, true, " (podcast)"},
                    LabelCase{"Neither", false, false, 0, false, ""}),
    [](const testing::TestParamInfo<LabelCase>& info) { return std::string(info.param.name); });

TEST(VersionLabel, WithoutTagsTheLabelIsLeftAsItWas) {
    ID3Tag track;
    track.tagVersionText = "V2.3";
    buildVersionLabel(track, 4);
    EXPECT_EQ(track.tagVersionText, "V2.3");
    EXPECT_EQ(track.v2Minor, 4);
}

TEST(VersionLabel, RebuildReplacesTheOldLabel) {
    ID3Tag track;
    track.v2Found = true;
    buildVersionLabel(track, 3);
    track.v1Found = true;
    buildVersionLabel(track, 4);
    EXPECT_EQ(track.tagVersionText, "V1 and V2.4");
}

}  // namespace
}  // namespace tagwick
