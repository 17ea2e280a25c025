// The track information display through the program itself: -d, -m [novbr], -imd, -iac and the
// default display, each compared with the exact standard output.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick::support {
namespace {

V2Frame frame(const char* id, ByteVec payload) { return {id, std::move(payload), 0, std::nullopt, false}; }
V2Frame textFrame(const char* id, std::string_view text) { return frame(id, latin1Payload(text)); }
ByteVec v2Tag(int major, std::vector<V2Frame> frames) {
    V2TagLayout layout;
    layout.major = major;
    layout.frames = std::move(frames);
    return buildV2Tag(layout);
}

const std::string Header = "Track information for '{path}'\n";
const std::string NoV1 = "\nNo ID3 Version 1 tag found\n";
const std::string NoV2 = "\nNo ID3 Version 2 tag found\n";
const std::string NotRead = "Failed to read the information from the file '{path}'.\n";

// A V2 block with a title, an artist and nothing else that is shown only when present.
std::string plainV2Block(const std::string& title, const std::string& artist, const std::string& ufid) {
    return "\nID3 Version 2 tag data:\n Title: " + title + "\n Artist: " + artist +
           "\n Album: \n Year: \n Genre: \n Comment: \n Composer: \n Copyright: \n Original artist: \n"
           " Compilation: No\n Picture count: 0\n Lyrics: No\n Conductor: \n Lyricist: \n"
           " Orchestra/Album artist: \n Publisher: \n Content: \n Subtitle: \n Podcast: No\n Podcast ID: \n"
           " Podcast description: \n Advisory: \n UFID: " + ufid + "\n";
}

std::vector<V2Frame> everyDisplayedFrame() {
    return {
        textFrame("TRCK", "3/12"),
        frame("TIT2", textPayload(1, utf16Bytes(u"Καλημέρα"))),
        frame("TPE1", textPayload(2, utf16Bytes(u"Björk", true, false))),  // UTF-16BE without a mark
        textFrame("TALB", "The Album"), textFrame("TYER", "2004"), textFrame("TCON", "(17)"),
        frame("COMM", commentPayload(0, "eng", {}, bytesOf("A comment"))),
        textFrame("TCOM", "The Composer"), textFrame("TCOP", "2004 Label"), textFrame("TOPE", "Someone Else"),
        textFrame("TENC", "Encoder Person"), frame("WXXX", userUrlPayload(0, {}, "http://example.com/track")),
        textFrame("TCMP", "1"), frame("APIC", apicPayload("image/png", 3, "", pngImage(300, 200))),
        frame("USLT", commentPayload(0, "eng", {}, bytesOf("Some lyrics"))),
        textFrame("TPE3", "The Conductor"), textFrame("TEXT", "The Lyricist"), textFrame("TPE2", "The Orchestra"),
        textFrame("TPUB", "The Publisher"), textFrame("TIT1", "The Group"), textFrame("TIT3", "The Subtitle"),
        textFrame("TPOS", "1/2"), textFrame("TSRC", "USABC0400001"), textFrame("TDRC", "2004-05-06"),
        textFrame("TDRL", "2004-07-08"), textFrame("TKEY", "Am"), textFrame("TBPM", "120"),
        frame("WOAR", bytesOf("http://example.com/artist")), frame("PCST", ByteVec(4, 0)),
        textFrame("TGID", "pod-42"), textFrame("WFED", "http://example.com/feed"), textFrame("TDES", "A podcast"),
        textFrame("TRTG", "1"), textFrame("TMOO", "Calm"), textFrame("TPRO", "2004 Producer"),
        textFrame("TSWC", "T-034.524.680-1"), frame("UFID", ufidPayload("http://example.org", bytesOf("abc-123"))),
    };
}

const std::string FullV2Block =
    "\nID3 Version 2 tag data:\n Track: 3 of 12\n Title: Καλημέρα\n Artist: Björk\n Album: The Album\n Year: 2004\n"
    " Genre: Rock\n Comment: A comment\n Composer: The Composer\n Copyright: 2004 Label\n"
    " Original artist: Someone Else\n Encoded by: Encoder Person\n URL: http://example.com/track\n"
    " Compilation: Yes\n Picture count: 1\n Lyrics: Yes\n Conductor: The Conductor\n Lyricist: The Lyricist\n"
    " Orchestra/Album artist: The Orchestra\n Publisher: The Publisher\n Content: The Group\n"
    " Subtitle: The Subtitle\n Set/Disc: 1 of 2\n ISRC: USABC0400001\n Record time: 2004-05-06\n"
    " Release time: 2004-07-08\n Initial key: Am\n BPM: 120\n Artist URL: http://example.com/artist\n"
    " Podcast: Yes\n Podcast ID: pod-42\n Podcast feed: http://example.com/feed\n Podcast description: A podcast\n"
    " Advisory: Explicit lyrics\n Mood: Calm\n Produced notice: 2004 Producer\n ISWC: T-034.524.680-1\n"
    " UFID: http://example.org abc-123\n";

ByteVec fullTrack() { return concat({v2Tag(4, everyDisplayedFrame()), buildStream({}, 20)}); }

// 25-byte V2 tag, 200 joint-stereo frames of 417 bytes with the copyright bit, a V1 record
// without a track number and with the genre byte 255 (read as genre 12).
ByteVec cbrTrack() {
    FrameLayout layout;
    layout.channelMode = 1;
    layout.copyright = true;
    return concat({v2Tag(3, {textFrame("TIT2", "Song")}), buildStream(layout, 200),
                   buildV1({"Song", "Band", "", "", "", 0, 255})});
}

// Length: (83553 - 25) x 8 bits / 128000 bit/s = 5.2 s.
const std::string CbrFileInformation =
    "\nFile information:\n Location: {dir}\n Size: 81.00 KB (83553 bytes)\n Length: 5 seconds\n"
    " Type: MPEG-1 layer 3\n Bitrate: 128 kbps (CBR)\n Frequency: 44.100 kHz\n Channels: Joint stereo\n"
    " Copyright: Yes\n Original: No\n Frames: 200\n Header size: 25 bytes\n Tag version: V1 and V2.3\n";

// A Xing frame naming the encoder, then 20 rounds of six bit rates:
// 417 + 20 x (522 + 626 + 731 + 835 + 1044 + 417) = 83917 bytes.
ByteVec vbrTrack() {
    XingLayout xing;
    xing.frames = 120;
    xing.lame = "LAME3.99r";
    ByteVec bytes = buildXingFrameAt36({}, xing);
    std::vector<int> rates;
    for (int round = 0; round < 20; ++round) rates.insert(rates.end(), {160, 192, 224, 256, 320, 128});
    append(bytes, buildVbrStream({}, rates));
    return bytes;
}

// A mono AIFF of 16000 sample frames at 8000 Hz, with a V2 tag; `formSize` lies when given.
ByteVec monoAiff(std::optional<uint32_t> formSize = std::nullopt) {
    AiffLayout layout;
    layout.chunks.push_back({"COMM", commBody(1, 16000, 16, 8000.0), std::nullopt, true});
    layout.chunks.push_back({"SSND", ssndBody(32000), std::nullopt, true});
    layout.chunks.push_back({"ID3 ", v2Tag(3, {textFrame("TIT2", "Take")}), std::nullopt, true});
    layout.formSizeOverride = formSize;
    return buildAiff(layout);
}

// The AIFF summary comes from the COMM chunk; it sets no bit-rate text and no audio start.
const std::string AiffFileInformation =
    "\nFile information:\n Location: {dir}\n Size: 31.00 KB (32088 bytes)\n Length: 2 seconds\n Type: AIFF \n"
    " Bitrate: \n Frequency: 8.000 kHz\n Channels: Mono\n Copyright: No\n Original: No\n Sample size: 16 bit\n"
    " Frames: 16000\n Header size: 0 bytes\n Tag version: V2.3\n";

struct Shown {
    const char* name;
    const char* file;
    ByteVec (*bytes)();
    std::vector<std::string> options;
    std::string expected;  // "{path}" and "{dir}" stand for the track's path and folder
};

class Display : public testing::TestWithParam<Shown> {};

std::string replaced(std::string text, const std::string& key, const std::string& value) {
    for (size_t at = text.find(key); at != std::string::npos; at = text.find(key, at + value.size()))
        text.replace(at, key.size(), value);
    return text;
}

TEST_P(Display, ShowsExactlyThis) {
    TempDir dir;
    std::string path = dir.file(GetParam().file);
    writeFile(path, GetParam().bytes());
    std::vector<std::string> args = GetParam().options;
    args.push_back(path);
    CliResult result = runCli(args);
    // The display gives no status of its own, not even for a track it cannot read.
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, replaced(replaced(GetParam().expected, "{path}", path), "{dir}", dir.path()));
}

INSTANTIATE_TEST_SUITE_P(
    Tracks, Display,
    testing::Values(
        Shown{"V1OnlyTrack", "song.mp3",
              [] { return concat({buildStream({}, 20), buildV1({"Song", "Band", "Record", "1999", "Nice", 3, 17})}); },
              {"-d"},
              Header + "\nID3 Version 1 tag data:\n Track: 3\n Title: Song\n Artist: Band\n Album: Record\n"
                       " Year: 1999\n Genre: Rock\n Comment: Nice\n" + NoV2},
        Shown{"V2WithoutTrackNumberAndUfidOwner", "hello.mp3",
              [] {
                  return concat({v2Tag(3, {textFrame("TIT2", "Hello"), textFrame("TPE1", "World"),
                                           frame("UFID", ufidPayload("", bytesOf("id-1")))}),
                                 buildStream({}, 20)});
              },
              {"-d"}, Header + NoV1 + plainV2Block("Hello", "World", "Default id-1")},
        Shown{"FullV2Tag", "full.mp3", fullTrack, {"-d"}, Header + NoV1 + FullV2Block},
        // The JPEG probe reads its size two bytes early in the C0 segment: 00 11 08 | 01 E0 | 02 80
        // gives width 0x01E0 = 480 and height 0x1108 = 4360. Unknown data shows 0 x 0.
        Shown{"ImageDetails", "pictures.mp3",
              [] {
                  ByteVec tag = v2Tag(3, {frame("APIC", apicPayload("image/png", 3, "front", pngImage(300, 200))),
                                          frame("APIC", apicPayload("image/jpeg", 4, "back", jpegImage(640, 480))),
                                          frame("APIC", apicPayload("image/x-odd", 0, "", ByteVec(8, 1)))});
                  return concat({tag, buildStream({}, 20)});
              },
              {"-imd"},
              Header + "\nImage details:\n Image type: image/png\n Image size: 300 x 200\n"
                       " Image type: image/jpeg\n Image size: 480 x 4360\n"
                       " Image type: image/x-odd\n Image size: 0 x 0\n"},
        Shown{"NoImages", "bare.mp3",
              [] { return concat({v2Tag(3, {textFrame("TIT2", "Bare")}), buildStream({}, 20)}); },
              {"-imd"}, Header + "\nNo images found\n"},
        Shown{"CbrFileInformation", "cbr.mp3", cbrTrack, {"-m"}, Header + CbrFileInformation},
        Shown{"DefaultIsTagsAndFileInformation", "cbr.mp3", cbrTrack, {},
              Header + "\nID3 Version 1 tag data:\n Title: Song\n Artist: Band\n Album: \n Year: \n Genre: Other\n"
                       " Comment: \n" + plainV2Block("Song", "", "Default ") + CbrFileInformation},
        // Average (128 + 20 x 1280) / 121 = 212 kbit/s; length 83917 x 8 / 212000 = 3.2 s.
        Shown{"VbrFileInformationWithEncoder", "vbr.mp3", vbrTrack, {"-m"},
              Header + "\nFile information:\n Location: {dir}\n Size: 81.00 KB (83917 bytes)\n Length: 3 seconds\n"
                       " Type: MPEG-1 layer 3\n Bitrate: 212 kbps (VBR average)\n Frequency: 44.100 kHz\n"
                       " Channels: Stereo\n Copyright: No\n Original: No\n Frames: 121\n Header size: 0 bytes\n"
                       " Encoder: LAME3.99r\n Tag version: \n"},
        Shown{"FullScanCountsEveryFrame", "long.mp3", [] { return buildStream({}, 1500); }, {"-m"},
              Header + "\nFile information:\n Location: {dir}\n Size: 610.00 KB (625500 bytes)\n"
                       " Length: 39 seconds\n Type: MPEG-1 layer 3\n Bitrate: 128 kbps (CBR)\n"
                       " Frequency: 44.100 kHz\n Channels: Stereo\n Copyright: No\n Original: No\n Frames: 1500\n"
                       " Header size: 0 bytes\n Tag version: \n"},
        // With novbr only 1000 frames are read and the count extrapolated: 1000 frame lengths over 1001
        // frames average 416 bytes, and 625500 / 416 = 1503.
        Shown{"NoVbrExtrapolatesTheFrameCount", "long.mp3", [] { return buildStream({}, 1500); }, {"-m", "novbr"},
              Header + "\nFile information:\n Location: {dir}\n Size: 610.00 KB (625500 bytes)\n"
                       " Length: 39 seconds\n Type: MPEG-1 layer 3\n Bitrate: 128 kbps (CBR quick)\n"
                       " Frequency: 44.100 kHz\n Channels: Stereo\n Copyright: No\n Original: No\n Frames: 1503\n"
                       " Header size: 0 bytes\n Tag version: \n"},
        Shown{"AiffFileInformation", "take.aif", [] { return monoAiff(); }, {"-m"}, Header + AiffFileInformation},
        Shown{"AiffWithWrongFormSizeIsRefused", "take.aif", [] { return monoAiff(40000); }, {"-m"}, NotRead},
        Shown{"AiffWithWrongFormSizeIsReadWithIac", "take.aif", [] { return monoAiff(40000); }, {"-m", "-iac"},
              Header + AiffFileInformation},
        // A tag data file is laid out as V2 tag then V1 record; its V1 record is not loaded.
        Shown{"TagDataFile", "tags.tdf",
              [] {
                  return concat({v2Tag(3, {textFrame("TIT2", "Kept"), textFrame("TPE1", "Someone")}),
                                 buildV1({"Kept", "Someone", "", "", "", 0, 255})});
              },
              {"-d", "-m"},
              Header + NoV1 + plainV2Block("Kept", "Someone", "Default ") +
                  "\nFile information:\n Location: {dir}\n Size: 171 bytes\n Length: \n Frames: 0\n"
                  " Header size: 0 bytes\n Tag version: V2.3\n"},
        Shown{"AllThreeBlocks", "full.mp3", fullTrack, {"-d", "-m", "-imd"},
              Header + NoV1 + FullV2Block +
                  "\nFile information:\n Location: {dir}\n Size: 8.00 KB (9204 bytes)\n"
                  " Length: 0 seconds\n Type: MPEG-1 layer 3\n"
                  " Bitrate: 128 kbps (CBR)\n Frequency: 44.100 kHz\n Channels: Stereo\n Copyright: No\n"
                  " Original: No\n Frames: 20\n Header size: 864 bytes\n Tag version: V2.4 (podcast)\n"
                  "\nImage details:\n Image type: image/png\n Image size: 300 x 200\n"},
        Shown{"UnreadableTrack", "text.mp3", [] { return bytesOf(std::string(9000, 'x')); }, {"-d"}, NotRead}),
    [](const testing::TestParamInfo<Shown>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tagwick::support
