// Opening tracks (kind from the name, the check of the first bytes, the AIFF chunk walk), the
// version 1 record (field bounds and quirks as read and written, comparison codes, the tag version
// label) and the copies between the version 1 record and the version 2 fields.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "export/xml_export.h"
#include "support/cli_runner.h"
#include "support/log_capture.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"
#include "tags/aiff_chunks.h"
#include "tags/id3_tag.h"
#include "tags/id3v1.h"
#include "tags/id3v1_writer.h"
#include "tags/tag_copy.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::LogCapture;
using support::V1Layout;

ByteVec audio() { return support::buildStream({}, 20); }

TEST(KindFromPath, FourCharactersFromTheLastDotIgnoringCase) {
    for (auto [path, known] : {std::pair{"/x/A.MP3", true}, {"a.mp3x", true}, {"a.AIFF", true}, {"t.TdF", true},
                               {"a.mp3.bak", false}, {"a.mpeg", false}, {"song", false}})
        EXPECT_EQ(ID3Tag::kindFromPath(path, nullptr), known) << path;
}

// `size` zero bytes with the sync pair FF `second` at `at`.
ByteVec pairAt(size_t size, size_t at, uint8_t second) {
    ByteVec out(size, 0);
    out[at] = 0xFF;
    out[at + 1] = second;
    return out;
}

TEST(FrameSyncScan, LayerBitDecidesForMp3AndAFailingPairAtTheEndAccepts) {
    EXPECT_TRUE(scanForFrameSync(pairAt(6, 2, 0xFB), false));
    EXPECT_FALSE(scanForFrameSync(pairAt(6, 2, 0xFD), false));
    EXPECT_TRUE(scanForFrameSync(pairAt(6, 2, 0xFD), true));  // a tag data file takes any pair
    EXPECT_TRUE(scanForFrameSync(pairAt(6, 4, 0xFC), false));
    EXPECT_TRUE(scanForFrameSync(pairAt(9000, 8190, 0xE0), false));
}

TEST(TrackOpen, RefusalsAreReportedAndLeaveTheTrackAsItWas) {
    support::TempDir dir;
    using support::concat, support::bytesOf;
    for (auto [name, bytes, message] : std::vector<std::tuple<const char*, ByteVec, std::string>>{
             {"mp4.mp3", concat({ByteVec{0, 0, 0, 0x20, 'f', 't', 'y', 'p', 'M', '4', 'A', ' '}, audio()}),
              "File appears to be an MP4 not a valid MP3 file"},
             {"late.mp3", concat({bytesOf("RIFF"), ByteVec(8196, 0), audio()}),
              "File is not a valid MP3 file (0x52494646)"},
             {"riff.aif", concat({bytesOf("RIFF"), audio()}), "File is not a valid AIFF file (0x52494646)"}}) {
        std::string path = dir.file(name);
        support::writeFile(path, bytes);
        LogCapture log;
        ID3Tag track;
        track.v1.title = "kept";
        EXPECT_EQ(track.open(path.c_str()), 0) << name;
        EXPECT_EQ(track.v1.title, "kept") << name;
        EXPECT_EQ(log.undated(), "[S]: Opening ID3 track: " + path + "\n[E]: " + message + "\n");
    }
}

support::AiffChunk comm(uint32_t frames, size_t length = 18) {
    ByteVec body = support::commBody(2, frames, 16, 44100);
    body.resize(length);
    return {"COMM", body, {}, true};
}

ByteVec aiff(std::vector<support::AiffChunk> chunks) {
    return support::buildAiff(support::AiffLayout{"FORM", "AIFF", std::move(chunks), {}});
}

TEST(AiffWalk, ChunksAreSkippedByTheirRoundedSizes) {
    ByteVec odd = {'o', 'd', 'd', '!', '!'};
    struct Case {
        const char* name;
        ByteVec file;
        long frames;   // -1: no COMM read
        long id3Size;  // -1: no "ID3 " chunk met
    };
    for (const Case& c : {
             Case{"OddSizeWithoutPadByte", aiff({{"ANNO", odd, {}, false}, comm(77)}), -1, -1},
             // 17 is rounded up before the comparison: the pad byte ends the 80-bit rate.
             Case{"CommOf17BytesIsRead", aiff({comm(100, 17)}), 100, -1},
             Case{"LaterCommReplacesAnEarlierOne", aiff({comm(10), comm(20)}), 20, -1},
             Case{"LowerCaseId3ChunkOfOddSizeEndsTheWalk", aiff({{"id3 ", ByteVec(13, 0), {}, true}, comm(5)}), -1, 14},
         }) {
        AiffWalk walk = walkAiffChunks(c.file, AiffFormHeaderSize);
        EXPECT_EQ(walk.commFound ? long(walk.common.sampleFrames) : -1, c.frames) << c.name;
        EXPECT_EQ(walk.id3Found ? long(walk.id3Size) : -1, c.id3Size) << c.name;
    }
}

// ---------------------------------------------------------------- the version 1 record

std::string fields(const ID3Tag& t) {
    return t.v1.title + "|" + t.v1.artist + "|" + t.v1.album + "|" + t.v1.year + "|" + t.v1.comment + "|" +
           std::to_string(t.v1.track) + "|" + std::to_string(t.v1.genre);
}

TEST(Id3v1Parse, FieldsStopAtTheirBoundsAndKeepTheirQuirks) {
    const std::string thirty = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123";
    for (auto [layout, read] : std::vector<std::pair<support::V1Layout, std::string>>{
             {{thirty, "Band", "", "19999", "c", 3, 17}, thirty + "|Band||1999|c|3|17"},
             // A 30-character comment reads as its first 29, and its last character as the track.
             {{"t", "a", "", "2001", thirty, 0, 1}, "t|a||2001|" + thirty.substr(0, 29) + "|51|1"},
             // Track 0 means none; every genre above 79, 255 included, reads as 12 (Other).
             {{"t", "a", "", "2001", "c", 0, 80}, "t|a||2001|c|255|12"}}) {
        ID3Tag track;
        ASSERT_TRUE(parseV1(track, support::buildV1(layout)));
        EXPECT_EQ(fields(track), read);
    }
    ID3Tag lower;
    ByteVec record = support::buildV1({"Song", "", "", "", "", 0, 0});
    std::copy_n("tag", 3, record.begin());
    EXPECT_TRUE(readV1(lower, record));
    EXPECT_FALSE(lower.v1Found);  // the marker is exact
}

TEST(Id3v1Compare, FirstDifferenceInCodeOrderWithItsLabel) {
    ID3Tag a, b;
    for (ID3Tag* t : {&a, &b}) {
        t->isMp3 = true;
        readV1(*t, support::buildV1({"Title", "Artist", "Album", "2004", "Comment", 7, 13}));
    }
    EXPECT_EQ(compareV1(a, b), 0);
    b.v1.genre = 14;
    EXPECT_EQ(compareV1(a, b), 10);
    b.v1.album += "x";
    EXPECT_EQ(compareV1(a, b), 4);
    EXPECT_EQ(fieldLabel(4), "Album");
    EXPECT_EQ(fieldLabel(45), "");
    // State differences are logged without ending the comparison; a disabled record is not compared.
    LogCapture log;
    b.v1Found = false;
    EXPECT_EQ(compareV1(a, b), 4);
    b.v1.enabled = false;
    EXPECT_EQ(compareV1(a, b), 0);
    const std::string loaded = "[S]: Comparing V1 loaded state failed (1 != 0)\n";
    EXPECT_EQ(log.undated(), loaded + loaded + "[W]: Comparing V1 enabled state failed (1 != 0)\n");
}

TEST(VersionLabel, MarksUnsupportedVersionsAndPodcasts) {
    ID3Tag track;
    track.tagVersionText = "kept";  // without tags the label is left as it was
    track.v2.podcast = true;
    buildVersionLabel(track, 4);
    EXPECT_EQ(track.tagVersionText, "kept (podcast)");
    track.v1Found = track.v2Found = true;
    buildVersionLabel(track, 5);
    EXPECT_EQ(track.tagVersionText, "V1 and V2.5 (unsupported) (podcast)");
}

ByteVec recordOf(const Id3v1Tag& v1, bool convert) {
    V1Record record = buildV1Record(v1, convert);
    return ByteVec(record.begin(), record.end());
}

TEST(V1Record, FieldsTrackAndGenreBytes) {
    const std::string x35(35, 'x'), c29(29, 'c');
    ByteVec commentAndTrack = support::buildV1(V1Layout{"", "", "", "", c29, 0, 0});
    commentAndTrack[126] = 5;  // a 29-character comment fills byte 125 and the track follows
    const std::vector<std::tuple<Id3v1Tag, bool, ByteVec>> cases = {
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

// ---------------------------------------------------------------- copies between the versions

TEST(CopyV2ToV1, CutsTextsAndMapsTrackAndGenre) {
    const std::string forty = "0123456789012345678901234567890123456789";
    ByteVec greek = support::utf16Bytes(u"Ωmega é");
    for (auto [title, genre, number, expected] : std::vector<std::tuple<OptText, OptText, uint16_t, std::string>>{
             {TextValue::latin1(forty), TextValue::latin1("rock"), 7,
              forty.substr(0, 30) + "|A|B|1999|" + forty.substr(0, 29) + "|7|17"},
             // Unicode text keeps its ISO-8859-1 characters; names outside the first 80 genres give 255.
             {TextValue::utf16(std::string(greek.begin(), greek.end())), TextValue::latin1("Folk"), 255,
              "mega \xE9|A|B|1999|" + forty.substr(0, 29) + "|255|255"},
             {std::nullopt, TextValue::latin1(""), 256, "|A|B|1999|" + forty.substr(0, 29) + "|255|12"}}) {
        ID3Tag track;
        track.v2.title = title;
        track.v2.artist = TextValue::latin1("A");
        track.v2.album = TextValue::latin1("B");
        track.v2.year = "1999";
        track.v2.comment = TextValue::latin1(forty);
        track.v2.genre = genre;
        track.v2.trackNumber = number;
        copyV2ToV1(track);
        EXPECT_EQ(fields(track), expected);
        EXPECT_TRUE(track.v1.enabled && track.v1FromV2);
    }
}

// The XML export of a version 1 only track goes through a copy that lasts only while it runs.
TEST(CopyV1ToV2, ForTheXmlExportOnlyWhileItRuns) {
    support::TempDir dir;
    ID3Tag track;
    track.v1 = {true, "Song", "", "", "", "", 3, 17};
    EXPECT_EQ(exportXml(dir.file("t.xml"), &track, 2, true), ExportStatus::Ok);
    EXPECT_FALSE(track.v2Present || track.v2Modified);
}

}  // namespace
}  // namespace tagwick
