// Names from tags: every format sequence and the prepared fields; where moveTrack puts a track
// when its name is taken or its folder cannot be made.
#include "export/track_rename.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/cli_runner.h"
#include "support/tag_builders.h"
#include "tags/id3_tag.h"

namespace tagwick {
namespace {

using namespace support;
namespace fs = std::filesystem;

std::string utf16(std::u16string_view text) {
    ByteVec bytes = utf16Bytes(text);
    return std::string(bytes.begin(), bytes.end());
}

// Track 3 of 12, MPEG-1 at 44100 Hz, 192 kbit/s, 3725 seconds long.
void fill(ID3Tag& track) {
    track.isMp3 = true;
    track.v2.title = TextValue::latin1(" AC/DC: Live? ");
    track.v2.artist = TextValue::utf16(utf16(u"Björk Ω"));
    track.v2.album = TextValue::latin1("Album");
    track.v2.trackNumber = 3;
    track.v2.trackTotal = 12;
    track.v2.releaseTime = TextValue::latin1("2006-05-12");
    track.v2.recordingTime = TextValue::latin1("1999-01-01");
    track.mpeg.versionCode = VersionMpeg1;
    track.mpeg.frequency = 0;
    track.mpeg.averageBitrate = 192;
    track.mpeg.lengthSeconds = 3725;
}

TEST(NameFormat, EverySequence) {
    ID3Tag track;
    fill(track);
    for (auto [format, utf8, expected] : std::vector<std::tuple<std::string, bool, std::string>>{
             {"%A/%L/%n %T", false, "Bjrk/Album/03 AC_DC_ Live_"},
             {"%A - %T", true, "Björk Ω - AC_DC_ Live_"},
             {"%N|%M|%Y|%B|%b|%F|%f", false, "3_12_2006_192_192000_44_44100"},
             {"%S %s 100%%", false, "1.02.05 3725 100%"},
             {"%x%T", false, "AC_DC_ Live_"},
             {"%~T", false, "T"},
             {"%C%0%/<a>\"b\"*?:|\\", false, "_a__b______"},
             {"end%", false, "end"}}) {
        EXPECT_EQ(expandNameFormat(track, format, utf8), expected) << format;
    }
    track.v2.trackNumber = NumberNotSet;
    track.v2.trackTotal = 1000;
    track.v2.releaseTime.reset();
    track.mpeg.lengthSeconds = 59;
    track.mpeg.versionCode = VersionUnknown;
    EXPECT_EQ(expandNameFormat(track, "%N - %T.%n.%M.%Y.%S.%F.%f", false), " - AC_DC_ Live_..1000.1999.59..");
    track.v2.trackNumber = 7;
    EXPECT_EQ(expandNameFormat(track, "%n", false), "0007");
}

TEST(MoveTrack, NeverReplacesAndKeepsANumberedName) {
    TempDir dir;
    writeText(dir.file("Song.mp3"), "other");
    ID3Tag track;
    track.path = dir.file("a.mp3");
    writeText(track.path, "mine");
    ASSERT_TRUE(moveTrack(track, false, 0, "Song", ""));
    EXPECT_EQ(track.path, dir.file("Song-1.mp3"));
    EXPECT_EQ(readText(dir.file("Song.mp3")), "other");
    // Asked again, the name is already right, numbered as it is.
    ASSERT_TRUE(moveTrack(track, false, 0, "Song", ""));
    EXPECT_EQ(track.path, dir.file("Song-1.mp3"));
    // Once the name is free the track takes it.
    fs::remove(dir.file("Song.mp3"));
    ASSERT_TRUE(moveTrack(track, false, 0, "Song", ""));
    EXPECT_EQ(track.path, dir.file("Song.mp3"));
    // A folder that cannot be made (a file stands in its way) leaves the track in its folder.
    writeText(dir.file("blocker"), "");
    ASSERT_TRUE(moveTrack(track, false, 5, "Song", "blocker/sub"));
    EXPECT_EQ(track.path, dir.file("05-Song.mp3"));
}

}  // namespace
}  // namespace tagwick
