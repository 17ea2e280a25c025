// The printing half of the track display on tracks filled in by hand, for the values a track file
// cannot easily carry, and the run's choice of work. Whole displays are compared in the e2e tests.
#include "cli/display.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "cli/options.h"
#include "cli/track_run.h"
#include "tags/id3_tag.h"

namespace tagwick {
namespace {

std::string capture(const std::function<void(FILE*)>& print) {
    char* buffer = nullptr;
    size_t length = 0;
    FILE* out = open_memstream(&buffer, &length);
    if (out == nullptr) return "<open_memstream failed>";
    print(out);
    std::fclose(out);
    std::string text(buffer, length);
    std::free(buffer);
    return text;
}

std::string tagBlocksOf(const ID3Tag& track) {
    return capture([&](FILE* out) { printTagBlocks(out, track); });
}

TEST(Display, V1TrackByte254IsShownAnd255IsNot) {
    ID3Tag track;
    track.v1Found = true;
    track.v1.track = 254;
    EXPECT_NE(tagBlocksOf(track).find("\nID3 Version 1 tag data:\n Track: 254\n Title: \n"), std::string::npos);
    track.v1.track = 255;
    EXPECT_EQ(tagBlocksOf(track).find(" Track:"), std::string::npos);
}

// " Track: %s" and " of %s\n" are printed each on its own, so the line feed comes with the total.
TEST(Display, EachPartOfANumberPairShowsWhenBelow65535) {
    struct Case {
        uint16_t number, total, set, sets;
        std::vector<std::string> shown;  // each must appear in the V2 block
    };
    for (const Case& pair : {
             Case{3, 65535, 4, 65535, {"data:\n Track: 3 Title: \n", " Subtitle: \n Set/Disc: 4 Podcast: No\n"}},
             Case{65535, 12, 65535, 2, {"data:\n of 12\n Title: \n", " Subtitle: \n of 2\n Podcast:"}},
             Case{0, 5, 65534, 65534, {"data:\n Track:  of 5\n", " Set/Disc: 65534 of 65534\n"}},
         }) {
        ID3Tag track;
        track.v2Found = true;
        track.v2.trackNumber = pair.number;
        track.v2.trackTotal = pair.total;
        track.v2.setNumber = pair.set;
        track.v2.setTotal = pair.sets;
        std::string text = tagBlocksOf(track);
        for (const std::string& part : pair.shown) EXPECT_NE(text.find(part), std::string::npos) << part << text;
    }
}

// Values 0 and 1 show in the whole displays; unknown values leave the line out.
TEST(Display, AdvisoryShowsOnlyTheThreeKnownValues) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.advisory = 2;
    EXPECT_NE(tagBlocksOf(track).find(" Podcast description: \n Advisory: Clean lyrics\n UFID:"), std::string::npos);
    for (int unknown : {3, -1}) {
        track.v2.advisory = unknown;
        EXPECT_EQ(tagBlocksOf(track).find(" Advisory:"), std::string::npos) << unknown;
    }
}

// A row shown only when its frame was read keeps its label when the frame's text is empty.
TEST(Display, OptionalRowReadWithEmptyTextKeepsItsLabel) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.isrc = TextValue::latin1("");
    track.v2.mood = TextValue::latin1("");
    std::string text = tagBlocksOf(track);
    EXPECT_NE(text.find(" Subtitle: \n ISRC: \n Podcast: No\n"), std::string::npos) << text;
    EXPECT_NE(text.find(" Advisory: \n Mood: \n UFID: Default \n"), std::string::npos) << text;
}

TEST(Display, UfidIdentifierIsCutTo64BytesAndAtANul) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.ufidOwner = "o";
    track.v2.ufid = std::string(70, 'x');
    EXPECT_NE(tagBlocksOf(track).find(" UFID: o " + std::string(64, 'x') + "\n"), std::string::npos);
    track.v2.ufid = std::string("ab\0cd", 5);
    EXPECT_NE(tagBlocksOf(track).find(" UFID: o ab\n"), std::string::npos);
}

// Most of these kinds of work cannot be told apart from the outside yet.
TEST(TrackRun, FirstRequestedKindOfWorkWins) {
    struct Case {
        std::function<void(TagUpdate&)> set;
        TrackWork expected;
    };
    const Case cases[] = {
        {[](TagUpdate& u) { u.showImages = true; }, TrackWork::Display},
        {[](TagUpdate& u) { u.showFileInfo = true, u.check = 1; }, TrackWork::Display},
        {[](TagUpdate& u) { u.check = 1, u.exportFile = "x.tdf"; }, TrackWork::Check},
        {[](TagUpdate& u) { u.check = 2; }, TrackWork::Fix},
        {[](TagUpdate& u) { u.exportFile = "x", u.csvFile = "x"; }, TrackWork::ExportTagData},
        {[](TagUpdate& u) { u.csvFile = "x", u.xmlFile = "x"; }, TrackWork::ExportCsv},
        {[](TagUpdate& u) { u.xmlFile = "x", u.imageExportFile = "x"; }, TrackWork::ExportXml},
        {[](TagUpdate& u) { u.imageExportFile = "x", u.title = "x"; }, TrackWork::ExportImages},
        {[](TagUpdate& u) { u.printChannels = true; }, TrackWork::Update},
        {[](TagUpdate& u) { u.outputFile = "copy.mp3"; }, TrackWork::Default},
    };
    for (size_t row = 0; row < std::size(cases); ++row) {
        TagUpdate update;
        cases[row].set(update);
        EXPECT_EQ(chooseWork(update), cases[row].expected) << "row " << row;
    }
}

// Modes 0 to 3 are checked through -mchn on real streams; these modes come from no MPEG header.
TEST(TrackRun, ChannelCodeOfMultiChannelAndUnknownModes) {
    EXPECT_EQ(channelCode(4), 3);
    EXPECT_EQ(channelCode(5), 4);
}

}  // namespace
}  // namespace tagwick
