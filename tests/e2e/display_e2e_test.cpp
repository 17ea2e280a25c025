// The track information display through the program itself: -d, -m [novbr], -imd and the
// default display, compared with the exact standard output.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick::support {
namespace {

V2Frame frame(const char* id, ByteVec payload) {
    V2Frame built;
    built.id = id;
    built.payload = std::move(payload);
    return built;
}

V2Frame textFrame(const char* id, std::string_view text) { return frame(id, latin1Payload(text)); }

ByteVec v2Tag(int major, std::vector<V2Frame> frames) {
    V2TagSpec layout;
    layout.major = major;
    layout.frames = std::move(frames);
    return buildV2Tag(layout);
}

FrameSpec cbr128() { return FrameSpec{}; }  // MPEG-1 layer III, 128 kbit/s, 44100 Hz, stereo: 417 bytes

struct Track {
    TempDir dir;
    std::string path;
    Track(std::string_view name, std::span<const uint8_t> bytes) : path(dir.file(name)) { writeFile(path, bytes); }
};

std::string header(const std::string& path) { return "Track information for '" + path + "'\n"; }

const char* const NoV1 = "\nNo ID3 Version 1 tag found\n";
const char* const NoV2 = "\nNo ID3 Version 2 tag found\n";

// ------------------------------------------------------------------ tags

TEST(Display, V1OnlyTrackShowsTheV1BlockAndNoV2Tag) {
    V1Spec v1{"Song", "Band", "Record", "1999", "Nice", 3, 17};
    Track track("song.mp3", concat({buildStream(cbr128(), 20), buildV1(v1)}));
    CliResult result = runCli({"-d", track.path});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, header(track.path) +
                              "\nID3 Version 1 tag data:\n"
                              " Track: 3\n"
                              " Title: Song\n"
                              " Artist: Band\n"
                              " Album: Record\n"
                              " Year: 1999\n"
                              " Genre: Rock\n"
                              " Comment: Nice\n" +
                              NoV2);
}

TEST(Display, V1WithoutTrackNumberHasNoTrackLine) {
    V1Spec v1{"Song", "Band", "Record", "1999", "Nice", 0, 255};
    Track track("song.mp3", concat({buildStream(cbr128(), 20), buildV1(v1)}));
    CliResult result = runCli({"-d", track.path});
    // Genre byte 255 reads as genre 12.
    EXPECT_EQ(result.out, header(track.path) +
                              "\nID3 Version 1 tag data:\n"
                              " Title: Song\n"
                              " Artist: Band\n"
                              " Album: Record\n"
                              " Year: 1999\n"
                              " Genre: Other\n"
                              " Comment: Nice\n" +
                              NoV2);
}

TEST(Display, V2WithoutTrackNumberHasNoTrackPart) {
    ByteVec tag = v2Tag(3, {textFrame("TIT2", "Hello"), textFrame("TPE1", "World")});
    Track track("hello.mp3", concat({tag, buildStream(cbr128(), 20)}));
    CliResult result = runCli({"-d", track.path});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, header(track.path) + NoV1 +
                              "\nID3 Version 2 tag data:\n"
                              " Title: Hello\n"
                              " Artist: World\n"
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
                              " UFID: Default \n");
}

std::vector<V2Frame> everyDisplayedFrame() {
    return {
        textFrame("TRCK", "3/12"),
        frame("TIT2", textPayload(1, utf16Bytes(u"Καλημέρα"))),
        frame("TPE1", textPayload(2, utf16Bytes(u"Björk", true, false))),  // UTF-16BE without a mark
        textFrame("TALB", "The Album"),
        textFrame("TYER", "2004"),
        textFrame("TCON", "(17)"),
        frame("COMM", commentPayload(0, "eng", {}, bytesOf("A comment"))),
        textFrame("TCOM", "The Composer"),
        textFrame("TCOP", "2004 Label"),
        textFrame("TOPE", "Someone Else"),
        textFrame("TENC", "Encoder Person"),
        frame("WXXX", userUrlPayload(0, {}, "http://example.com/track")),
        textFrame("TCMP", "1"),
        frame("APIC", apicPayload("image/png", 3, "", pngImage(300, 200))),
        frame("USLT", commentPayload(0, "eng", {}, bytesOf("Some lyrics"))),
        textFrame("TPE3", "The Conductor"),
        textFrame("TEXT", "The Lyricist"),
        textFrame("TPE2", "The Orchestra"),
        textFrame("TPUB", "The Publisher"),
        textFrame("TIT1", "The Group"),
        textFrame("TIT3", "The Subtitle"),
        textFrame("TPOS", "1/2"),
        textFrame("TSRC", "USABC0400001"),
        textFrame("TDRC", "2004-05-06"),
        textFrame("TDRL", "2004-07-08"),
        textFrame("TKEY", "Am"),
        textFrame("TBPM", "120"),
        frame("WOAR", bytesOf("http://example.com/artist")),
        frame("PCST", ByteVec(4, 0)),
        textFrame("TGID", "pod-42"),
        textFrame("WFED", "http://example.com/feed"),
        textFrame("TDES", "A podcast"),
        textFrame("TRTG", "1"),
        textFrame("TMOO", "Calm"),
        textFrame("TPRO", "2004 Producer"),
        textFrame("TSWC", "T-034.524.680-1"),
        frame("UFID", ufidPayload("http://example.org", bytesOf("abc-123"))),
    };
}

const char* const FullV2Block =
    "\nID3 Version 2 tag data:\n"
    " Track: 3 of 12\n"
    " Title: Καλημέρα\n"
    " Artist: Björk\n"
    " Album: The Album\n"
    " Year: 2004\n"
    " Genre: Rock\n"
    " Comment: A comment\n"
    " Composer: The Composer\n"
    " Copyright: 2004 Label\n"
    " Original artist: Someone Else\n"
    " Encoded by: Encoder Person\n"
    " URL: http://example.com/track\n"
    " Compilation: Yes\n"
    " Picture count: 1\n"
    " Lyrics: Yes\n"
    " Conductor: The Conductor\n"
    " Lyricist: The Lyricist\n"
    " Orchestra/Album artist: The Orchestra\n"
    " Publisher: The Publisher\n"
    " Content: The Group\n"
    " Subtitle: The Subtitle\n"
    " Set/Disc: 1 of 2\n"
    " ISRC: USABC0400001\n"
    " Record time: 2004-05-06\n"
    " Release time: 2004-07-08\n"
    " Initial key: Am\n"
    " BPM: 120\n"
    " Artist URL: http://example.com/artist\n"
    " Podcast: Yes\n"
    " Podcast ID: pod-42\n"
    " Podcast feed: http://example.com/feed\n"
    " Podcast description: A podcast\n"
    " Advisory: Explicit lyrics\n"
    " Mood: Calm\n"
    " Produced notice: 2004 Producer\n"
    " ISWC: T-034.524.680-1\n"
    " UFID: http://example.org abc-123\n";

TEST(Display, FullV2TagShowsEveryLabelInOrder) {
    Track track("full.mp3", concat({v2Tag(4, everyDisplayedFrame()), buildStream(cbr128(), 20)}));
    CliResult result = runCli({"-d", track.path});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, header(track.path) + NoV1 + FullV2Block);
}

TEST(Display, UfidWithoutOwnerShowsDefault) {
    ByteVec tag = v2Tag(3, {textFrame("TIT2", "Hello"), frame("UFID", ufidPayload("", bytesOf("id-1")))});
    Track track("ufid.mp3", concat({tag, buildStream(cbr128(), 20)}));
    CliResult result = runCli({"-d", track.path});
    const std::string last = " Advisory: \n UFID: Default id-1\n";
    ASSERT_GE(result.out.size(), last.size()) << result.out;
    EXPECT_EQ(result.out.substr(result.out.size() - last.size()), last) << result.out;
}

// ------------------------------------------------------------------ images

TEST(Display, ImageDetailsGiveTypeAndProbedSize) {
    ByteVec tag = v2Tag(3, {textFrame("TIT2", "Pictures"),
                            frame("APIC", apicPayload("image/png", 3, "front", pngImage(300, 200))),
                            frame("APIC", apicPayload("image/jpeg", 4, "back", jpegImage(640, 480)))});
    Track track("pictures.mp3", concat({tag, buildStream(cbr128(), 20)}));
    CliResult result = runCli({"-imd", track.path});
    EXPECT_EQ(result.status, 0);
    // The JPEG probe reads its size two bytes early in the C0 segment (length low byte and
    // precision as the height, the real height as the width): 00 11 08 | 01 E0 | 02 80 gives
    // width 0x01E0 = 480 and height 0x1108 = 4360.
    EXPECT_EQ(result.out, header(track.path) +
                              "\nImage details:\n"
                              " Image type: image/png\n"
                              " Image size: 300 x 200\n"
                              " Image type: image/jpeg\n"
                              " Image size: 480 x 4360\n");
}

TEST(Display, ImageDetailsWithoutPictures) {
    ByteVec tag = v2Tag(3, {textFrame("TIT2", "Bare")});
    Track track("bare.mp3", concat({tag, buildStream(cbr128(), 20)}));
    CliResult result = runCli({"-imd", track.path});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, header(track.path) + "\nNo images found\n");
}

// ------------------------------------------------------------------ file information

TEST(Display, FileInformationOfACbrTrack) {
    FrameSpec layout = cbr128();
    layout.channelMode = 1;
    layout.copyright = true;
    ByteVec tag = v2Tag(3, {textFrame("TIT2", "Song")});  // 10 + 10 + 5 = 25 bytes
    Track track("cbr.mp3", concat({tag, buildStream(layout, 200), buildV1({"Song", "", "", "", "", 0, 255})}));
    ASSERT_EQ(readFile(track.path).size(), 83553u);  // 25 + 200 x 417 + 128
    CliResult result = runCli({"-m", track.path});
    EXPECT_EQ(result.status, 0);
    // Length: (83553 - 25) x 8 bits / 128000 bit/s = 5.2 s.
    EXPECT_EQ(result.out, header(track.path) +
                              "\nFile information:\n"
                              " Location: " + track.dir.path() + "\n"
                              " Size: 81.00 KB (83553 bytes)\n"
                              " Length: 5 seconds\n"
                              " Type: MPEG-1 layer 3\n"
                              " Bitrate: 128 kbps (CBR)\n"
                              " Frequency: 44.100 kHz\n"
                              " Channels: Joint stereo\n"
                              " Copyright: Yes\n"
                              " Original: No\n"
                              " Frames: 200\n"
                              " Header size: 25 bytes\n"
                              " Tag version: V1 and V2.3\n");
}

// A Xing frame naming the encoder, then 20 rounds of six bit rates.
ByteVec vbrTrack() {
    XingSpec xing;
    xing.frames = 120;
    xing.lame = "LAME3.99r";
    ByteVec bytes = buildXingFrameAt36(cbr128(), xing);
    std::vector<int> rates;
    for (int round = 0; round < 20; ++round) rates.insert(rates.end(), {160, 192, 224, 256, 320, 128});
    append(bytes, buildVbrStream(cbr128(), rates));
    return bytes;
}

TEST(Display, FileInformationOfAVbrTrackWithEncoder) {
    Track track("vbr.mp3", vbrTrack());
    // 417 + 20 x (522 + 626 + 731 + 835 + 1044 + 417) bytes.
    ASSERT_EQ(readFile(track.path).size(), 83917u);
    CliResult result = runCli({"-m", track.path});
    EXPECT_EQ(result.status, 0);
    // Average (128 + 20 x 1280) / 121 = 212 kbit/s; length 83917 x 8 / 212000 = 3.2 s.
    EXPECT_EQ(result.out, header(track.path) +
                              "\nFile information:\n"
                              " Location: " + track.dir.path() + "\n"
                              " Size: 81.00 KB (83917 bytes)\n"
                              " Length: 3 seconds\n"
                              " Type: MPEG-1 layer 3\n"
                              " Bitrate: 212 kbps (VBR average)\n"
                              " Frequency: 44.100 kHz\n"
                              " Channels: Stereo\n"
                              " Copyright: No\n"
                              " Original: No\n"
                              " Frames: 121\n"
                              " Header size: 0 bytes\n"
                              " Encoder: LAME3.99r\n"
                              " Tag version: \n");
}

TEST(Display, NoVbrProbesTheFirstThousandFrames) {
    Track track("long.mp3", buildStream(cbr128(), 1500));
    CliResult full = runCli({"-m", track.path});
    EXPECT_NE(full.out.find(" Bitrate: 128 kbps (CBR)\n"), std::string::npos) << full.out;
    EXPECT_NE(full.out.find(" Frames: 1500\n"), std::string::npos) << full.out;

    CliResult quick = runCli({"-m", "novbr", track.path});
    EXPECT_EQ(quick.status, 0);
    // The count is extrapolated: 1000 frame lengths over 1001 frames average 416 bytes, and
    // 625500 / 416 = 1503.
    EXPECT_EQ(quick.out, header(track.path) +
                             "\nFile information:\n"
                             " Location: " + track.dir.path() + "\n"
                             " Size: 610.00 KB (625500 bytes)\n"
                             " Length: 39 seconds\n"
                             " Type: MPEG-1 layer 3\n"
                             " Bitrate: 128 kbps (CBR quick)\n"
                             " Frequency: 44.100 kHz\n"
                             " Channels: Stereo\n"
                             " Copyright: No\n"
                             " Original: No\n"
                             " Frames: 1503\n"
                             " Header size: 0 bytes\n"
                             " Tag version: \n");
}

ByteVec monoAiff(std::optional<uint32_t> formSize = std::nullopt) {
    AiffSpec layout;
    layout.chunks.push_back({"COMM", commBody(1, 16000, 16, 8000.0), std::nullopt, true});
    layout.chunks.push_back({"SSND", ssndBody(32000), std::nullopt, true});
    layout.chunks.push_back({"ID3 ", v2Tag(3, {textFrame("TIT2", "Take")}), std::nullopt, true});
    layout.formSizeOverride = formSize;
    return buildAiff(layout);
}

// The AIFF summary comes from the COMM chunk; it sets no bit-rate text and no audio start.
const char* const AiffFileInformation =
    " Size: 31.00 KB (32088 bytes)\n"
    " Length: 2 seconds\n"
    " Type: AIFF \n"
    " Bitrate: \n"
    " Frequency: 8.000 kHz\n"
    " Channels: Mono\n"
    " Copyright: No\n"
    " Original: No\n"
    " Sample size: 16 bit\n"
    " Frames: 16000\n"
    " Header size: 0 bytes\n"
    " Tag version: V2.3\n";

TEST(Display, FileInformationOfAnAiffTrack) {
    Track track("take.aif", monoAiff());
    ASSERT_EQ(readFile(track.path).size(), 32088u);  // 12 + 26 + 32016 + 34
    CliResult result = runCli({"-m", track.path});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, header(track.path) + "\nFile information:\n Location: " + track.dir.path() + "\n" +
                              AiffFileInformation);
}

TEST(Display, AiffWithAWrongFormSizeNeedsIac) {
    Track track("take.aif", monoAiff(40000));
    CliResult refused = runCli({"-m", track.path});
    EXPECT_EQ(refused.status, 0);
    EXPECT_EQ(refused.out, "Failed to read the information from the file '" + track.path + "'.\n");

    CliResult accepted = runCli({"-m", "-iac", track.path});
    EXPECT_EQ(accepted.status, 0);
    EXPECT_EQ(accepted.out, header(track.path) + "\nFile information:\n Location: " + track.dir.path() + "\n" +
                                AiffFileInformation);
}

// ------------------------------------------------------------------ whole tracks

TEST(Display, DefaultDisplayShowsTagsAndFileInformation) {
    ByteVec tag = v2Tag(3, {textFrame("TIT2", "Song")});
    Track track("song.mp3", concat({tag, buildStream(cbr128(), 200), buildV1({"Song", "Band", "", "", "", 0, 17})}));
    CliResult result = runCli({track.path});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, header(track.path) +
                              "\nID3 Version 1 tag data:\n"
                              " Title: Song\n"
                              " Artist: Band\n"
                              " Album: \n"
                              " Year: \n"
                              " Genre: Rock\n"
                              " Comment: \n"
                              "\nID3 Version 2 tag data:\n"
                              " Title: Song\n"
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
                              " UFID: Default \n"
                              "\nFile information:\n"
                              " Location: " + track.dir.path() + "\n"
                              " Size: 81.00 KB (83553 bytes)\n"
                              " Length: 5 seconds\n"
                              " Type: MPEG-1 layer 3\n"
                              " Bitrate: 128 kbps (CBR)\n"
                              " Frequency: 44.100 kHz\n"
                              " Channels: Stereo\n"
                              " Copyright: No\n"
                              " Original: No\n"
                              " Frames: 200\n"
                              " Header size: 25 bytes\n"
                              " Tag version: V1 and V2.3\n");
}

TEST(Display, AllThreeBlocksWithDmImd) {
    Track track("full.mp3", concat({v2Tag(4, everyDisplayedFrame()), buildStream(cbr128(), 20)}));
    CliResult result = runCli({"-d", "-m", "-imd", track.path});
    EXPECT_EQ(result.status, 0);
    std::string tagsPart = header(track.path) + NoV1 + FullV2Block + "\nFile information:\n";
    EXPECT_EQ(result.out.substr(0, tagsPart.size()), tagsPart);
    EXPECT_NE(result.out.find(" Tag version: V2.4 (podcast)\n\nImage details:\n"
                              " Image type: image/png\n Image size: 300 x 200\n"),
              std::string::npos)
        << result.out;
}

TEST(Display, TagDataFileShowsItsV2TagWithoutAStream) {
    ByteVec tag = v2Tag(3, {textFrame("TIT2", "Kept"), textFrame("TPE1", "Someone")});
    // A tag data file is laid out as V2 tag then V1 record; its V1 record is not loaded.
    Track track("tags.tdf", concat({tag, buildV1({"Kept", "Someone", "", "", "", 0, 255})}));
    CliResult result = runCli({"-d", track.path});
    EXPECT_EQ(result.status, 0);
    std::string tags = header(track.path) + NoV1 + "\nID3 Version 2 tag data:\n Title: Kept\n Artist: Someone\n";
    EXPECT_EQ(result.out.substr(0, tags.size()), tags) << result.out;

    CliResult info = runCli({"-m", track.path});
    EXPECT_EQ(info.status, 0);
    std::string expected = header(track.path) +
                           "\nFile information:\n"
                           " Location: " + track.dir.path() + "\n"
                           " Size: " + std::to_string(readFile(track.path).size()) + " bytes\n"
                           " Length: \n"
                           " Frames: 0\n"
                           " Header size: 0 bytes\n";
    EXPECT_EQ(info.out.substr(0, expected.size()), expected) << info.out;
    EXPECT_EQ(info.out.find(" Type:"), std::string::npos) << info.out;
}

TEST(Display, UnreadableTrackGetsTheFailureMessage) {
    Track track("text.mp3", bytesOf(std::string(9000, 'x')));
    CliResult result = runCli({"-d", track.path});
    // The display branch gives no status of its own.
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Failed to read the information from the file '" + track.path + "'.\n");
}

TEST(Display, EveryTrackIsDisplayedInTurn) {
    TempDir dir;
    std::string first = dir.file("one.mp3"), second = dir.file("two.mp3");
    writeFile(first, concat({buildStream(cbr128(), 20), buildV1({"One", "", "", "", "", 0, 1})}));
    writeFile(second, concat({buildStream(cbr128(), 20), buildV1({"Two", "", "", "", "", 0, 2})}));
    CliResult result = runCli({"-d", first, second});
    EXPECT_EQ(result.status, 0);
    size_t one = result.out.find(header(first) + "\nID3 Version 1 tag data:\n Title: One\n");
    size_t two = result.out.find(header(second) + "\nID3 Version 1 tag data:\n Title: Two\n");
    ASSERT_NE(one, std::string::npos) << result.out;
    ASSERT_NE(two, std::string::npos) << result.out;
    EXPECT_LT(one, two);
}

}  // namespace
}  // namespace tagwick::support
