// The printing half of the track display, on tracks filled in by hand (no file is read), and
// the choice of work made by the track run.
#include "cli/display.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "cli/options.h"
#include "cli/track_run.h"
#include "support/tag_builders.h"
#include "tags/id3_tag.h"

namespace tagwick {
namespace {

using support::ByteVec;

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

TextValue utf16Le(std::u16string_view text) {
    ByteVec bytes = support::utf16Bytes(text, false, true);
    return TextValue::utf16(std::string(bytes.begin(), bytes.end()));
}

// The V2 block of a tag that holds nothing: every line that is not "when present" shows.
const char* const EmptyV2Block =
    "\nID3 Version 2 tag data:\n"
    " Title: \n"
    " Artist: \n"
    " Album: \n"
    " Year: \n"
    " Genre: \n"
    " Comment: \n"
    " Composer: \n"
    " Copyright: \n"
    " Original artist: \n"
    " Compilation: No\n"
    " Picture count: 0\n"
    " Lyrics: No\n"
    " Conductor: \n"
    " Lyricist: \n"
    " Orchestra/Album artist: \n"
    " Publisher: \n"
    " Content: \n"
    " Subtitle: \n"
    " Podcast: No\n"
    " Podcast ID: \n"
    " Podcast description: \n"
    " Advisory: \n"
    " UFID: Default \n";

std::string v2BlockOf(const ID3Tag& track) {
    return capture([&](FILE* out) { printTagBlocks(out, track); });
}

// ------------------------------------------------------------------ labelled lines

TEST(Display, LabelledLineHasBlankColonBlankAndLineFeed) {
    EXPECT_EQ(capture([](FILE* out) { printLabelled(out, "Title", "Song"); }), " Title: Song\n");
}

TEST(Display, LabelledLineWithoutValueKeepsTheLabel) {
    EXPECT_EQ(capture([](FILE* out) { printLabelled(out, "Title", nullptr); }), " Title: \n");
    EXPECT_EQ(capture([](FILE* out) { printLabelled(out, "Title", ""); }), " Title: \n");
}

// ------------------------------------------------------------------ version 1

TEST(DisplayV1, RecordIsShownInOrderThenMissingV2) {
    ID3Tag track;
    track.v1Found = true;
    track.v1.enabled = true;
    track.v1.track = 7;
    track.v1.title = "Song";
    track.v1.artist = "Band";
    track.v1.album = "Record";
    track.v1.year = "1999";
    track.v1.genre = 17;
    track.v1.comment = "Nice";
    EXPECT_EQ(v2BlockOf(track),
              "\nID3 Version 1 tag data:\n"
              " Track: 7\n"
              " Title: Song\n"
              " Artist: Band\n"
              " Album: Record\n"
              " Year: 1999\n"
              " Genre: Rock\n"
              " Comment: Nice\n"
              "\nNo ID3 Version 2 tag found\n");
}

TEST(DisplayV1, TrackByte255HasNoTrackLine) {
    ID3Tag track;
    track.v1Found = true;
    track.v1.track = 255;
    track.v1.genre = 0;
    std::string text = v2BlockOf(track);
    EXPECT_EQ(text.find(" Track:"), std::string::npos) << text;
    EXPECT_NE(text.find(" Genre: Blues\n"), std::string::npos) << text;
}

TEST(DisplayV1, TrackByte254IsStillShown) {
    ID3Tag track;
    track.v1Found = true;
    track.v1.track = 254;
    EXPECT_NE(v2BlockOf(track).find("\nID3 Version 1 tag data:\n Track: 254\n Title: \n"), std::string::npos);
}

TEST(DisplayV1, GenreByteOutsideTheListShowsOther) {
    ID3Tag track;
    track.v1Found = true;
    track.v1.genre = 200;
    EXPECT_NE(v2BlockOf(track).find(" Genre: Other\n"), std::string::npos);
}

TEST(DisplayV1, NoTagGivesOneLine) {
    ID3Tag track;
    EXPECT_EQ(v2BlockOf(track), "\nNo ID3 Version 1 tag found\n\nNo ID3 Version 2 tag found\n");
}

// ------------------------------------------------------------------ version 2

TEST(DisplayV2, EmptyTagShowsEveryLineThatIsNotOptional) {
    ID3Tag track;
    track.v2Found = true;
    EXPECT_EQ(v2BlockOf(track), std::string("\nNo ID3 Version 1 tag found\n") + EmptyV2Block);
}

TEST(DisplayV2, TrackAndSetPairsShowNumberAndTotal) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.trackNumber = 3;
    track.v2.trackTotal = 12;
    track.v2.setNumber = 1;
    track.v2.setTotal = 2;
    std::string text = v2BlockOf(track);
    EXPECT_NE(text.find("\nID3 Version 2 tag data:\n Track: 3 of 12\n Title: \n"), std::string::npos) << text;
    EXPECT_NE(text.find(" Subtitle: \n Set/Disc: 1 of 2\n Podcast: No\n"), std::string::npos) << text;
}

// The line feed belongs to the " of" part, so a number without a total runs into the next line.
TEST(DisplayV2, NumberWithoutTotalHasNoLineFeed) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.trackNumber = 3;
    track.v2.setNumber = 4;
    std::string text = v2BlockOf(track);
    EXPECT_NE(text.find("\nID3 Version 2 tag data:\n Track: 3 Title: \n"), std::string::npos) << text;
    EXPECT_NE(text.find(" Subtitle: \n Set/Disc: 4 Podcast: No\n"), std::string::npos) << text;
    EXPECT_EQ(text.find(" of "), std::string::npos) << text;
}

TEST(DisplayV2, TotalWithoutNumberShowsOnlyTheOfPart) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.trackTotal = 12;
    std::string text = v2BlockOf(track);
    EXPECT_NE(text.find("\nID3 Version 2 tag data:\n of 12\n Title: \n"), std::string::npos) << text;
    EXPECT_EQ(text.find(" Track:"), std::string::npos) << text;
}

TEST(DisplayV2, TrackZeroPrintsAnEmptyNumber) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.trackNumber = 0;
    track.v2.trackTotal = 5;
    EXPECT_NE(v2BlockOf(track).find("\n Track:  of 5\n"), std::string::npos);
}

TEST(DisplayV2, Utf16TextIsShownAsUtf8) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.title = utf16Le(u"Καλημέρα");
    track.v2.artist = TextValue::latin1("Caf\xe9");
    std::string text = v2BlockOf(track);
    EXPECT_NE(text.find(" Title: Καλημέρα\n"), std::string::npos) << text;
    EXPECT_NE(text.find(" Artist: Café\n"), std::string::npos) << text;
}

TEST(DisplayV2, YesNoLinesFollowTheirFields) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.compilation = true;
    track.v2.lyrics = TextValue::latin1("la la");
    track.v2.podcast = true;
    track.v2.pictures.resize(3);
    std::string text = v2BlockOf(track);
    EXPECT_NE(text.find(" Compilation: Yes\n Picture count: 3\n Lyrics: Yes\n"), std::string::npos) << text;
    EXPECT_NE(text.find(" Podcast: Yes\n"), std::string::npos) << text;
}

struct OptionalRow {
    const char* name;
    const char* label;
    std::function<void(Id3v2Tag&)> set;
    const char* before;  // the line that the row follows
};

class DisplayV2Optional : public testing::TestWithParam<OptionalRow> {};

TEST_P(DisplayV2Optional, ShownOnlyWhenPresentAndInItsPlace) {
    const OptionalRow& row = GetParam();
    ID3Tag track;
    track.v2Found = true;
    std::string label = std::string(" ") + row.label + ":";
    EXPECT_EQ(v2BlockOf(track).find(label), std::string::npos);

    row.set(track.v2);
    std::string text = v2BlockOf(track);
    std::string expected = std::string(row.before) + label + " value\n";
    EXPECT_NE(text.find(expected), std::string::npos) << text;
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DisplayV2Optional,
    testing::Values(
        OptionalRow{"EncodedBy", "Encoded by", [](Id3v2Tag& t) { t.encodedBy = TextValue::latin1("value"); },
                    " Original artist: \n"},
        OptionalRow{"Url", "URL", [](Id3v2Tag& t) { t.url = TextValue::latin1("value"); }, " Original artist: \n"},
        OptionalRow{"Isrc", "ISRC", [](Id3v2Tag& t) { t.isrc = TextValue::latin1("value"); }, " Subtitle: \n"},
        OptionalRow{"RecordTime", "Record time", [](Id3v2Tag& t) { t.recordingTime = TextValue::latin1("value"); },
                    " Subtitle: \n"},
        OptionalRow{"ReleaseTime", "Release time", [](Id3v2Tag& t) { t.releaseTime = TextValue::latin1("value"); },
                    " Subtitle: \n"},
        OptionalRow{"InitialKey", "Initial key", [](Id3v2Tag& t) { t.initialKey = TextValue::latin1("value"); },
                    " Subtitle: \n"},
        OptionalRow{"Bpm", "BPM", [](Id3v2Tag& t) { t.bpm = TextValue::latin1("value"); }, " Subtitle: \n"},
        OptionalRow{"ArtistUrl", "Artist URL", [](Id3v2Tag& t) { t.artistUrl = TextValue::latin1("value"); },
                    " Subtitle: \n"},
        OptionalRow{"PodcastFeed", "Podcast feed", [](Id3v2Tag& t) { t.podcastFeed = TextValue::latin1("value"); },
                    " Podcast ID: \n"},
        OptionalRow{"Mood", "Mood", [](Id3v2Tag& t) { t.mood = TextValue::latin1("value"); }, " Advisory: \n"},
        OptionalRow{"ProducedNotice", "Produced notice",
                    [](Id3v2Tag& t) { t.producedNotice = TextValue::latin1("value"); }, " Advisory: \n"},
        OptionalRow{"Iswc", "ISWC", [](Id3v2Tag& t) { t.iswc = TextValue::latin1("value"); }, " Advisory: \n"}),
    [](const testing::TestParamInfo<OptionalRow>& info) { return std::string(info.param.name); });

TEST(DisplayV2, OptionalRowsKeepTheirOrder) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.isrc = TextValue::latin1("I");
    track.v2.recordingTime = TextValue::latin1("R");
    track.v2.releaseTime = TextValue::latin1("L");
    track.v2.initialKey = TextValue::latin1("K");
    track.v2.bpm = TextValue::latin1("B");
    track.v2.artistUrl = TextValue::latin1("A");
    track.v2.mood = TextValue::latin1("M");
    track.v2.producedNotice = TextValue::latin1("P");
    track.v2.iswc = TextValue::latin1("W");
    std::string text = v2BlockOf(track);
    EXPECT_NE(text.find(" Subtitle: \n ISRC: I\n Record time: R\n Release time: L\n Initial key: K\n BPM: B\n"
                        " Artist URL: A\n Podcast: No\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find(" Advisory: \n Mood: M\n Produced notice: P\n ISWC: W\n UFID: Default \n"), std::string::npos)
        << text;
}

struct AdvisoryCase {
    const char* name;
    int value;
    const char* line;  // nullptr: no Advisory line at all
};

class DisplayV2Advisory : public testing::TestWithParam<AdvisoryCase> {};

TEST_P(DisplayV2Advisory, OnlyTheThreeKnownValuesAreShown) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.advisory = GetParam().value;
    std::string text = v2BlockOf(track);
    if (GetParam().line) {
        EXPECT_NE(text.find(std::string(" Podcast description: \n") + GetParam().line + " UFID:"), std::string::npos)
            << text;
    } else {
        EXPECT_EQ(text.find(" Advisory:"), std::string::npos) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(Values, DisplayV2Advisory,
                         testing::Values(AdvisoryCase{"None", 0, " Advisory: \n"},
                                         AdvisoryCase{"Explicit", 1, " Advisory: Explicit lyrics\n"},
                                         AdvisoryCase{"Clean", 2, " Advisory: Clean lyrics\n"},
                                         AdvisoryCase{"Three", 3, nullptr}, AdvisoryCase{"Negative", -1, nullptr}),
                         [](const testing::TestParamInfo<AdvisoryCase>& info) { return std::string(info.param.name); });

TEST(DisplayV2, UfidShowsOwnerAndIdentifier) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.hasUfid = true;
    track.v2.ufidOwner = "http://example.org";
    track.v2.ufid = "abc-123";
    EXPECT_NE(v2BlockOf(track).find(" UFID: http://example.org abc-123\n"), std::string::npos);
}

TEST(DisplayV2, UfidWithoutOwnerShowsDefault) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.hasUfid = true;
    track.v2.ufid = "id-1";
    std::string text = v2BlockOf(track);
    const std::string last = " Advisory: \n UFID: Default id-1\n";
    ASSERT_GE(text.size(), last.size());
    EXPECT_EQ(text.substr(text.size() - last.size()), last) << text;
}

TEST(DisplayV2, UfidIdentifierIsCutTo64BytesAndAtANul) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.hasUfid = true;
    track.v2.ufidOwner = "o";
    track.v2.ufid = std::string(70, 'x');
    EXPECT_NE(v2BlockOf(track).find(" UFID: o " + std::string(64, 'x') + "\n"), std::string::npos);

    track.v2.ufid = std::string("ab\0cd", 5);
    EXPECT_NE(v2BlockOf(track).find(" UFID: o ab\n"), std::string::npos);
}

// ------------------------------------------------------------------ file information

void makeMpegTrack(ID3Tag& track) {
    track.path = "/music/album/song.mp3";
    track.isMp3 = true;
    track.fileSize = 1536;
    MpegInfo& info = track.mpeg;
    info.lengthText = "1:05 (65 seconds)";
    info.versionCode = VersionMpeg1;
    info.layerCode = 2;
    info.channelMode = 1;
    info.bitrateText = "128 kbps (CBR)";
    info.frequency = 0;  // 44100 Hz for MPEG-1
    info.frameCount = 2490;
    info.audioStart = 2048;
    info.copyrightBit = true;
    info.originalBit = false;
    track.tagVersionText = "V1 and V2.3";
}

TEST(DisplayFileInfo, MpegTrackShowsEveryLine) {
    ID3Tag track;
    makeMpegTrack(track);
    track.mpeg.encoder = "LAME3.99r";
    EXPECT_EQ(capture([&](FILE* out) { printFileInfo(out, track); }),
              "\nFile information:\n"
              " Location: /music/album\n"
              " Size: 1.00 KB (1536 bytes)\n"
              " Length: 1:05 (65 seconds)\n"
              " Type: MPEG-1 layer 3\n"
              " Bitrate: 128 kbps (CBR)\n"
              " Frequency: 44.100 kHz\n"
              " Channels: Joint stereo\n"
              " Copyright: Yes\n"
              " Original: No\n"
              " Frames: 2490\n"
              " Header size: 2048 bytes\n"
              " Encoder: LAME3.99r\n"
              " Tag version: V1 and V2.3\n");
}

TEST(DisplayFileInfo, NoEncoderLineWithoutAnEncoder) {
    ID3Tag track;
    makeMpegTrack(track);
    std::string text = capture([&](FILE* out) { printFileInfo(out, track); });
    EXPECT_EQ(text.find("Encoder"), std::string::npos) << text;
    EXPECT_NE(text.find(" Header size: 2048 bytes\n Tag version: V1 and V2.3\n"), std::string::npos) << text;
}

TEST(DisplayFileInfo, Mpeg2FrequencyHasThreeDecimals) {
    ID3Tag track;
    makeMpegTrack(track);
    track.mpeg.versionCode = VersionMpeg2;
    track.mpeg.frequency = 0;  // 22050 Hz
    track.mpeg.channelMode = ChannelMono;
    std::string text = capture([&](FILE* out) { printFileInfo(out, track); });
    EXPECT_NE(text.find(" Type: MPEG-2 LSF layer 3\n"), std::string::npos) << text;
    EXPECT_NE(text.find(" Frequency: 22.050 kHz\n Channels: Mono\n"), std::string::npos) << text;
}

TEST(DisplayFileInfo, AiffTrackAddsTheSampleSize) {
    ID3Tag track;
    track.path = "/music/take.aif";
    track.isAiff = true;
    track.fileSize = 500;
    MpegInfo& info = track.mpeg;
    info.versionCode = VersionAiff;
    info.layerCode = LayerNone;
    info.channelMode = ChannelMulti;
    info.frequency = 8000;
    track.aiff.sampleRate = 8000;  // the rate shown comes from the COMM chunk
    info.sampleSize = 24;
    info.frameCount = 16000;
    info.lengthText = "2 seconds";
    track.tagVersionText = "V2.3";
    EXPECT_EQ(capture([&](FILE* out) { printFileInfo(out, track); }),
              "\nFile information:\n"
              " Location: /music\n"
              " Size: 500 bytes\n"
              " Length: 2 seconds\n"
              " Type: AIFF \n"
              " Bitrate: \n"
              " Frequency: 8.000 kHz\n"
              " Channels: Multi channel\n"
              " Copyright: No\n"
              " Original: No\n"
              " Sample size: 24 bit\n"
              " Frames: 16000\n"
              " Header size: 0 bytes\n"
              " Tag version: V2.3\n");
}

TEST(DisplayFileInfo, TagDataFileHasNoStreamLines) {
    ID3Tag track;
    track.path = "tags.tdf";
    track.isTagDataFile = true;
    track.fileSize = 10;
    track.tagVersionText = "V2.3";
    EXPECT_EQ(capture([&](FILE* out) { printFileInfo(out, track); }),
              "\nFile information:\n"
              " Location: .\n"
              " Size: 10 bytes\n"
              " Length: \n"
              " Frames: 0\n"
              " Header size: 0 bytes\n"
              " Tag version: V2.3\n");
}

// ------------------------------------------------------------------ images

Picture pictureOf(const char* mime, ByteVec data) {
    Picture picture;
    picture.mime = mime;
    picture.data = std::move(data);
    return picture;
}

TEST(DisplayImages, NoPicturesGiveOneLine) {
    ID3Tag track;
    track.v2Found = true;
    EXPECT_EQ(capture([&](FILE* out) { printImageDetails(out, track); }), "\nNo images found\n");
}

TEST(DisplayImages, EachPictureShowsItsTypeAndProbedSize) {
    ID3Tag track;
    track.v2Found = true;
    track.v2.pictures.push_back(pictureOf("image/png", support::pngImage(300, 200)));
    track.v2.pictures.push_back(pictureOf("image/gif", support::gifImage(16, 9)));
    track.v2.pictures.push_back(pictureOf("image/x-unknown", ByteVec{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(capture([&](FILE* out) { printImageDetails(out, track); }),
              "\nImage details:\n"
              " Image type: image/png\n"
              " Image size: 300 x 200\n"
              " Image type: image/gif\n"
              " Image size: 16 x 9\n"
              " Image type: image/x-unknown\n"
              " Image size: 0 x 0\n");
}

// ------------------------------------------------------------------ the whole display

TEST(DisplayTrackInfo, OnlyTheBlocksAskedForFollowTheHeader) {
    ID3Tag track;
    makeMpegTrack(track);
    DisplayOptions options;
    options.showImages = true;
    EXPECT_EQ(capture([&](FILE* out) { printTrackInfo(out, track, options); }),
              "Track information for '/music/album/song.mp3'\n\nNo images found\n");

    options.showImages = false;
    options.showTags = true;
    EXPECT_EQ(capture([&](FILE* out) { printTrackInfo(out, track, options); }),
              "Track information for '/music/album/song.mp3'\n"
              "\nNo ID3 Version 1 tag found\n\nNo ID3 Version 2 tag found\n");
}

TEST(DisplayTrackInfo, BlocksComeInTagsFileImagesOrder) {
    ID3Tag track;
    makeMpegTrack(track);
    DisplayOptions options;
    options.showTags = options.showFileInfo = options.showImages = true;
    std::string text = capture([&](FILE* out) { printTrackInfo(out, track, options); });
    size_t tags = text.find("\nNo ID3 Version 2 tag found\n");
    size_t file = text.find("\nFile information:\n");
    size_t images = text.find("\nNo images found\n");
    ASSERT_NE(tags, std::string::npos);
    ASSERT_NE(file, std::string::npos);
    ASSERT_NE(images, std::string::npos);
    EXPECT_LT(tags, file);
    EXPECT_LT(file, images);
    EXPECT_EQ(text.substr(text.size() - 17), "\nNo images found\n");
}

// ------------------------------------------------------------------ the run's choices

struct WorkCase {
    const char* name;
    std::function<void(TagUpdate&)> set;
    TrackWork expected;
};

class TrackRunWork : public testing::TestWithParam<WorkCase> {};

TEST_P(TrackRunWork, FirstRequestedKindWins) {
    TagUpdate update;
    GetParam().set(update);
    EXPECT_EQ(chooseWork(update), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Precedence, TrackRunWork,
    testing::Values(
        WorkCase{"NothingIsDefault", [](TagUpdate&) {}, TrackWork::Default},
        WorkCase{"ImagesAloneDisplay", [](TagUpdate& u) { u.showImages = true; }, TrackWork::Display},
        WorkCase{"DisplayBeatsCheckAndFields",
                 [](TagUpdate& u) {
                     u.showTags = true;
                     u.check = 1;
                     u.title = "x";
                 },
                 TrackWork::Display},
        WorkCase{"CheckBeatsExport",
                 [](TagUpdate& u) {
                     u.check = 1;
                     u.exportFile = "x.tdf";
                 },
                 TrackWork::Check},
        WorkCase{"CheckFix", [](TagUpdate& u) { u.check = 2; }, TrackWork::Fix},
        WorkCase{"ExportBeatsCsv",
                 [](TagUpdate& u) {
                     u.exportFile = "x.tdf";
                     u.csvFile = "x.csv";
                 },
                 TrackWork::ExportTagData},
        WorkCase{"CsvBeatsXml",
                 [](TagUpdate& u) {
                     u.csvFile = "x.csv";
                     u.xmlFile = "x.xml";
                 },
                 TrackWork::ExportCsv},
        WorkCase{"XmlBeatsImages",
                 [](TagUpdate& u) {
                     u.xmlFile = "x.xml";
                     u.imageExportFile = "x.jpg";
                 },
                 TrackWork::ExportXml},
        WorkCase{"ImagesBeatUpdate",
                 [](TagUpdate& u) {
                     u.imageExportFile = "x.jpg";
                     u.title = "x";
                 },
                 TrackWork::ExportImages},
        WorkCase{"FieldIsUpdate", [](TagUpdate& u) { u.title = "x"; }, TrackWork::Update},
        WorkCase{"MpegValueIsUpdate", [](TagUpdate& u) { u.printChannels = true; }, TrackWork::Update},
        WorkCase{"RemoveApeAloneIsDefault", [](TagUpdate& u) { u.removeApe = true; }, TrackWork::Default},
        WorkCase{"OutputAloneIsDefault", [](TagUpdate& u) { u.outputFile = "copy.mp3"; }, TrackWork::Default}),
    [](const testing::TestParamInfo<WorkCase>& info) { return std::string(info.param.name); });

TEST(TrackRun, ChannelCodesFollowTheChannelMode) {
    EXPECT_EQ(channelCode(0), 2);
    EXPECT_EQ(channelCode(1), 2);
    EXPECT_EQ(channelCode(2), 2);
    EXPECT_EQ(channelCode(3), 1);
    EXPECT_EQ(channelCode(4), 3);
    EXPECT_EQ(channelCode(5), 4);
    EXPECT_EQ(channelCode(255), 4);
}

}  // namespace
}  // namespace tagwick
