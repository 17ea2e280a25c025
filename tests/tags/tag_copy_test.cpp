// Copying between the version 1 record and the version 2 fields: cuts and the track and genre
// rules towards version 1 (the other way is seen in the XML export of a version 1 only track),
// and the XML export's copy that lasts only while it runs.
#include "tags/tag_copy.h"

#include <gtest/gtest.h>

#include <string>

#include "export/xml_export.h"
#include "support/cli_runner.h"
#include "support/tag_builders.h"
#include "tags/id3_tag.h"

namespace tagwick {
namespace {

std::string v1Fields(const Id3v1Tag& v1) {
    return v1.title + "|" + v1.artist + "|" + v1.album + "|" + v1.year + "|" + v1.comment + "|" +
           std::to_string(v1.track) + "|" + std::to_string(v1.genre);
}

TEST(CopyV2ToV1, CutsTextsAndMapsTrackAndGenre) {
    const std::string forty = "0123456789012345678901234567890123456789";
    support::ByteVec greek = support::utf16Bytes(u"Ωmega é");
    for (auto [title, genre, number, expected] : std::vector<std::tuple<OptText, OptText, uint16_t, std::string>>{
             {TextValue::latin1(forty), TextValue::latin1("rock"), 7,
              forty.substr(0, 30) + "|A|B|1999|" + forty.substr(0, 29) + "|7|17"},
             // Unicode text keeps its ISO-8859-1 characters; names outside the first 80 genres give 255.
             {TextValue::utf16(std::string(greek.begin(), greek.end())), TextValue::latin1("Folk"), 255,
              "mega \xE9|A|B|1999|" + forty.substr(0, 29) + "|255|255"},
             {std::nullopt, std::nullopt, 300, "|A|B|1999|" + forty.substr(0, 29) + "|255|12"},
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
        EXPECT_EQ(v1Fields(track.v1), expected);
        EXPECT_TRUE(track.v1.enabled && track.v1FromV2);
    }
}

TEST(CopyV1ToV2, ForTheXmlExportOnlyWhileItRuns) {
    support::TempDir dir;
    ID3Tag track;
    track.v1 = {true, "Song", "", "", "", "", 3, 17};
    EXPECT_EQ(exportXml(dir.file("t.xml"), &track, 2, true), ExportStatus::Ok);
    EXPECT_FALSE(track.v2Present || track.v2Modified);
}

}  // namespace
}  // namespace tagwick
