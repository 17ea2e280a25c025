// The track information display through the program itself (-d, -m [novbr], -imd, -iac and the
// default display) compared with the exact standard output, and the real sample tracks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/cli_runner.h"
#include "support/export_tracks.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick::support {
namespace {

namespace fs = std::filesystem;

ByteVec v2Tag(std::vector<V2Frame> frames) { return buildV2Tag({3, 0, std::move(frames), {}, 0}); }

const std::string Header = "Track information for '{path}'\n";
const std::string NotRead = "Failed to read the information from the file '{path}'.\n";

// 200 joint-stereo frames of 417 bytes with the copyright bit, then a V1 record without a track
// number and with the genre byte 255 (read as genre 12).
ByteVec cbrTrack() {
    FrameLayout layout;
    layout.channelMode = 1;
    layout.copyright = true;
    return concat({buildStream(layout, 200), buildV1({"Song", "Band", "", "", "", 0, 255})});
}

// A mono AIFF of 16000 sample frames at 8000 Hz, with a V2 tag and a form size that lies.
ByteVec lyingAiff() {
    AiffLayout layout;
    layout.chunks = {{"COMM", commBody(1, 16000, 16, 8000.0), {}, true}, {"SSND", ssndBody(32000), {}, true},
                     {"ID3 ", v2Tag({latin1Frame("TIT2", "Take")}), {}, true}};
    layout.formSizeOverride = 40000;
    return buildAiff(layout);
}

TEST(Display, ShowsExactlyThis) {
    struct Shown {
        const char* name;
        const char* file;
        ByteVec bytes;
        std::vector<std::string> options;
        std::string expected;  // "{path}" and "{dir}" stand for the track's path and folder
    };
    const ByteVec pictures = v2Tag({v2Frame("APIC", apicPayload("image/jpeg", 4, "back", jpegImage(640, 480))),
                                    v2Frame("APIC", apicPayload("image/x-odd", 0, "", ByteVec(8, 1))),
                                    v2Frame("APIC", apicPayload("image/png", 3, "", pngImage(300, 200)))});
    const std::vector<Shown> cases = {
        {"V2WithoutTrackNumberUfidOwnerOrImages", "hello.mp3",
         concat({v2Tag({latin1Frame("TIT2", "Hello"), latin1Frame("TPE1", "World"),
                        v2Frame("UFID", ufidPayload("", bytesOf("id-1")))}),
                 buildStream({}, 20)}),
         {"-d", "-imd"},
         Header + "\nNo ID3 Version 1 tag found\n\nID3 Version 2 tag data:\n Title: Hello\n Artist: World\n"
                  " Album: \n Year: \n Genre: \n Comment: \n Composer: \n Copyright: \n Original artist: \n"
                  " Compilation: No\n Picture count: 0\n Lyrics: No\n Conductor: \n Lyricist: \n"
                  " Orchestra/Album artist: \n Publisher: \n Content: \n Subtitle: \n Podcast: No\n"
                  " Podcast ID: \n Podcast description: \n Advisory: \n UFID: Default id-1\n\nNo images found\n"},
        // Texts in three encodings, line breaks and the version 1 record's bytes shown as they are.
        {"EveryField", "full.mp3", everyFieldTrack(), {"-d", "-m"},
         Header + "\nID3 Version 1 tag data:\n Track: 5\n Title: Caf\xE9 V1 <1>\n Artist: Band\n Album: Record\n"
                  " Year: 1999\n Genre: Rock\n Comment: Two\nlines\n\nID3 Version 2 tag data:\n Track: 3 of 12\n"
                  " Title: Rock & \"Roll\" <live> 'x' Καλημέρα\n Artist: Björk\n Album: Café Album\n Year: 2004\n"
                  " Genre: Rock\n Comment: First line\r\nSecond\n\nThird\rFourth & more\n Composer: Com,poser\n"
                  " Copyright: Line\nbreak\n Original artist:  Someone\n Encoded by: \tEncoder\\Person\n"
                  " URL: http://example.com/track?a=1&b=2\n Compilation: Yes\n Picture count: 7\n Lyrics: Yes\n"
                  " Conductor: The Conductor\n Lyricist: O'Brien\n Orchestra/Album artist: The Orchestra\n"
                  " Publisher: He said \"hi\"\n Content: The Group\n Subtitle: Sub\ntitle\n Set/Disc: 1 of 2\n"
                  " ISRC: USABC0400001\n Record time: 2004-05-06T07:08:09\n Release time: 2004-07-08T10:11\n"
                  " Initial key: Am\n BPM: 120\n Artist URL: http://example.com/artist\n Podcast: Yes\n"
                  " Podcast ID: pod-42\n Podcast feed: http://example.com/feed\n"
                  " Podcast description: Pod\r\n\r\ndescription\n Advisory: Clean lyrics\n Mood: Calm\n"
                  " Produced notice: 2004 Producer\n ISWC: T-034.524.680-1\n UFID: http://example.org abc\n"
                  "\nFile information:\n Location: {dir}\n Size: 9.00 KB (9793 bytes)\n Length: 0 seconds\n"
                  " Type: MPEG-1 layer 3\n Bitrate: 128 kbps (CBR)\n Frequency: 44.100 kHz\n"
                  " Channels: Stereo\n Copyright: No\n Original: No\n Frames: 20\n Header size: 1325 bytes\n"
                  " Tag version: V1 and V2.4 (podcast)\n"},
        // The JPEG probe reads its size two bytes early in the C0 segment: 00 11 08 | 01 E0 | 02 80
        // gives width 0x01E0 = 480 and height 0x1108 = 4360. Unknown data shows 0 x 0.
        {"ImageDetails", "pictures.mp3", concat({pictures, buildStream({}, 20)}), {"-imd"},
         Header + "\nImage details:\n Image type: image/jpeg\n Image size: 480 x 4360\n"
                  " Image type: image/x-odd\n Image size: 0 x 0\n Image type: image/png\n Image size: 300 x 200\n"},
        // A track with only a V1 record; 83400 bytes of audio at 128 kbit/s last 5.2 s.
        {"DefaultIsTagsAndFileInformation", "cbr.mp3", cbrTrack(), {},
         Header + "\nID3 Version 1 tag data:\n Title: Song\n Artist: Band\n Album: \n Year: \n Genre: Other\n"
                  " Comment: \n\nNo ID3 Version 2 tag found\n"
                  "\nFile information:\n Location: {dir}\n Size: 81.00 KB (83528 bytes)\n Length: 5 seconds\n"
                  " Type: MPEG-1 layer 3\n Bitrate: 128 kbps (CBR)\n Frequency: 44.100 kHz\n"
                  " Channels: Joint stereo\n Copyright: Yes\n Original: No\n Frames: 200\n"
                  " Header size: 0 bytes\n Tag version: V1\n"},
        // With novbr only 1000 frames are read and the count extrapolated: 1000 frame lengths over 1001
        // frames average 416 bytes, and 625500 / 416 = 1503.
        {"NoVbrExtrapolatesTheFrameCount", "long.mp3", buildStream({}, 1500), {"-m", "novbr"},
         Header + "\nFile information:\n Location: {dir}\n Size: 610.00 KB (625500 bytes)\n"
                  " Length: 39 seconds\n Type: MPEG-1 layer 3\n Bitrate: 128 kbps (CBR quick)\n"
                  " Frequency: 44.100 kHz\n Channels: Stereo\n Copyright: No\n Original: No\n Frames: 1503\n"
                  " Header size: 0 bytes\n Tag version: \n"},
        {"AiffWithWrongFormSizeIsRefused", "take.aif", lyingAiff(), {"-m"}, NotRead},
        // The AIFF summary comes from the COMM chunk; it sets no bit-rate text and no audio start.
        {"AiffWithWrongFormSizeIsReadWithIac", "take.aif", lyingAiff(), {"-m", "-iac"},
         Header + "\nFile information:\n Location: {dir}\n Size: 31.00 KB (32088 bytes)\n Length: 2 seconds\n"
                  " Type: AIFF \n Bitrate: \n Frequency: 8.000 kHz\n Channels: Mono\n Copyright: No\n"
                  " Original: No\n Sample size: 16 bit\n Frames: 16000\n Header size: 0 bytes\n"
                  " Tag version: V2.3\n"},
    };
    for (const Shown& c : cases) {
        TempDir dir;
        std::string path = dir.file(c.file);
        writeFile(path, c.bytes);
        std::vector<std::string> args = c.options;
        args.push_back(path);
        CliResult result = runCli(args);
        EXPECT_EQ(result.status, 0) << c.name;  // even for a track that cannot be read
        EXPECT_EQ(result.out, replaced(replaced(c.expected, "{path}", path), "{dir}", dir.path())) << c.name;
    }
}

// Tags that python3-mutagen writes (2.3 and 2.4; Latin-1, UTF-16 with and without a mark, UTF-8;
// number pairs, genres, comments, lyrics and a picture) are shown as they were written.
TEST(Display, TagsWrittenByMutagen) {
    if (std::system("/usr/bin/python3 -c 'import mutagen' 2>/dev/null") != 0) GTEST_SKIP() << "no python3-mutagen";
    TempDir dir;
    writeText(dir.file("write.py"), R"(
import sys
from mutagen.id3 import ID3, TIT2, TPE1, TALB, TRCK, TPOS, TCON, COMM, USLT, TCOM, TPE2, TYER, TDRC, APIC
path, v = sys.argv[1], int(sys.argv[2])
t = ID3()
t.add(TIT2(encoding=1, text='Caf\u00e9 \u263a'))
t.add(TPE1(encoding=0, text='Bj\u00f6rk'))
t.add(TALB(encoding=3 if v == 4 else 1, text='\u0391lbum'))
t.add(TRCK(encoding=0, text='3/12'))
t.add(TPOS(encoding=0, text='1/2'))
t.add(TCON(encoding=0, text='(17)Rock' if v == 3 else '17'))
t.add(COMM(encoding=1, lang='eng', desc='', text='Two\nlines'))
t.add(USLT(encoding=0, lang='eng', desc='', text='La la'))
t.add(TCOM(encoding=2 if v == 4 else 1, text='Comp\u00f8ser'))
t.add(TPE2(encoding=0, text='Band'))
t.add(TYER(encoding=0, text='2004') if v == 3 else TDRC(encoding=0, text='2004-05-06'))
t.add(APIC(encoding=0, mime='image/png', type=3, desc='', data=b'\x89PNG\r\n\x1a\n' + bytes(30)))
t.save(path, v2_version=v)
)");
    const std::string track = dir.file("t.mp3");
    for (int version : {3, 4}) {
        writeFile(track, buildStream({}, 10));
        const std::string write = "/usr/bin/python3 " + dir.file("write.py") + " " + track + " " +
                                  std::to_string(version);
        ASSERT_EQ(std::system(write.c_str()), 0);
        // A 2.4 genre given as a bare number is shown as it stands; its year is a recording time.
        const bool v24 = version == 4;
        EXPECT_EQ(runCli({"-d", track}).out,
                  "Track information for '" + track + "'\n\nNo ID3 Version 1 tag found\n\nID3 Version 2 tag data:\n"
                  " Track: 3 of 12\n Title: Caf\u00e9 \u263a\n Artist: Bj\u00f6rk\n Album: \u0391lbum\n Year: " +
                      (v24 ? "" : "2004") + "\n Genre: " + (v24 ? "17" : "Rock") +
                      "\n Comment: Two\nlines\n Composer: Comp\u00f8ser\n Copyright: \n Original artist: \n"
                      " Compilation: No\n Picture count: 1\n Lyrics: Yes\n Conductor: \n Lyricist: \n"
                      " Orchestra/Album artist: Band\n Publisher: \n Content: \n Subtitle: \n Set/Disc: 1 of 2\n" +
                      (v24 ? " Record time: 2004-05-06\n" : "") +
                      " Podcast: No\n Podcast ID: \n Podcast description: \n Advisory: \n UFID: Default \n")
            << version;
    }
}

// Every sample track (and every sample tag under a tag data file's name) is displayed without a
// crash, with the header or the refusal; those listed must show these lines, in this order.
TEST(Corpus, SamplesAreDisplayed) {
    const std::string root = corpusFile("");
    if (root.empty()) GTEST_SKIP() << "no sample corpus";
    using Lines = std::vector<std::string>;
    const std::map<std::string, std::pair<Lines, Lines>> samples = {
        // The source counts 6 audio frames; the summary also counts the Xing frame that leads them.
        {"mp3agic/v1andv23tags.mp3", {{"-m"}, {" Bitrate: 125 kbps (VBR average)", " Frames: 7",
                                               " Header size: 1099 bytes", " Tag version: V1 and V2.3"}}},
        // A 2.4 extended header moves the frame walk onto the first frame's size bytes, so the tag
        // is present without fields although the title is there.
        {"tinytag/cbr.mp3", {{"-d", "-m"}, {" Title: ", " Encoder: LAME3.99r", " Tag version: V2.4"}}},
        {"taglib-sharp/sample_v2_4_unsynch.mp3",
         {{"-d"}, {" Title: MP3 title unicode (\u12a2\u1275\u12ee\u1335\u12eb)", " Genre: Acid Punk"}}},
        // A 2.4 frame with a plain size is read by the non-syncsafe fallback; a track number without
        // a total leaves the line open.
        {"taglib/005411.id3", {{"-d"}, {" Track: 1 Title: Sunshine Superman", " Picture count: 1"}}},
        // The form size is far beyond the file. 5840604 sample frames leave 19404 over 132 whole
        // seconds, which round up.
        {"hsaudiotag/with_id3.aif", {{"-d", "-m", "-iac"}, {" Artist: Assimil", " Length: 2:13 (133 seconds)"}}},
        // The "ID3 " chunk lies outside the form: the chunk walk is not bounded by the form size.
        {"taglib-sharp/sample.aif", {{"-d", "-iac"}, {" Title: Aiff Title"}}},
        {"mutagen/8k-4ch-1s-silence.aif", {{"-mchn", "-mbtr"}, {"512000", "3"}}},
    };
    TempDir dir;
    size_t displayed = 0, listed = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        const std::string extension = entry.path().extension().string();  // the samples' names are in lower case
        std::string path = entry.path().string();
        if (extension == ".id3") {
            path = dir.file("tag.tdf");
            fs::copy_file(entry.path(), path, fs::copy_options::overwrite_existing);
        } else if (extension != ".mp3" && extension != ".aif" && extension != ".aiff" && extension != ".aifc") {
            continue;
        }
        const auto sample = samples.find(fs::relative(entry.path(), root).string());
        Lines args = sample == samples.end() ? Lines{"-d", "-m", "-imd", "-iac"} : sample->second.first;
        args.push_back(path);
        const CliResult result = runCli(args);
        SCOPED_TRACE(entry.path().string());
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err.find("Sanitizer"), std::string::npos) << result.err;
        EXPECT_EQ(result.err.find("runtime error"), std::string::npos) << result.err;
        if (sample == samples.end()) {
            EXPECT_TRUE(result.out.starts_with("Track information for '" + path + "'\n") ||
                        result.out == replaced(NotRead, "{path}", path)) << result.out;
            ++displayed;
            continue;
        }
        ++listed;
        const std::string out = "\n" + result.out;
        size_t at = 0;
        for (const std::string& line : sample->second.second) {
            at = out.find("\n" + line + "\n", at);
            ASSERT_NE(at, std::string::npos) << "lacks, or out of order: " << line << "\n" << out;
            ++at;
        }
    }
    EXPECT_GE(displayed, 90u);
    EXPECT_EQ(listed, samples.size());
}

}  // namespace
}  // namespace tagwick::support
