// Every real sample track through the display, and the facts recorded for the samples compared
// with what the display shows. Where this program's own rules give another value than the
// sample's source reports, the row says why.
#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

#include "support/cli_runner.h"

namespace tagwick::support {
namespace {

namespace fs = std::filesystem;

std::string lowerExtension(const fs::path& path) {
    std::string extension = path.extension().string();
    for (char& c : extension) c = char(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

// The name a sample is displayed under: track names as they are; MPEG layer II files as ".mp3";
// bare tags (".id3", ".tag") as tag data files. Empty: not a track of any kind.
std::string displayExtension(const fs::path& path) {
    std::string extension = lowerExtension(path);
    if (extension == ".mp3" || extension == ".aif" || extension == ".aiff" || extension == ".aifc") return "";
    if (extension == ".mp2") return ".mp3";
    if (extension == ".id3" || extension == ".tag") return ".tdf";
    return "-";
}

bool sanitizerSpoke(const std::string& err) {
    return err.find("Sanitizer") != std::string::npos || err.find("runtime error") != std::string::npos;
}

TEST(Corpus, EverySampleIsDisplayedWithoutACrash) {
    std::string root = corpusFile("");
    if (root.empty()) GTEST_SKIP() << "no sample corpus";
    TempDir copies;
    size_t displayed = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file()) continue;
        std::string rename = displayExtension(entry.path());
        if (rename == "-") continue;
        std::string path = entry.path().string();
        if (!rename.empty()) {
            path = copies.file(entry.path().parent_path().filename().string() + "_" +
                               entry.path().filename().string() + rename);
            fs::copy_file(entry.path(), path, fs::copy_options::overwrite_existing);
        }
        for (const std::vector<std::string>& options :
             {std::vector<std::string>{"-d", "-m", "-imd"}, std::vector<std::string>{"-m", "novbr", "-iac"}}) {
            std::vector<std::string> args = options;
            args.push_back(path);
            CliResult result = runCli(args);
            SCOPED_TRACE(path + " with " + options[0] + " " + options[1]);
            EXPECT_LT(result.status, 128);
            EXPECT_TRUE(result.status == 0 || result.status == 1) << result.status;
            EXPECT_FALSE(sanitizerSpoke(result.err)) << result.err;
            std::string shown = "Track information for '" + path + "'\n";
            std::string failed = "Failed to read the information from the file '" + path + "'.\n";
            EXPECT_TRUE(result.out.starts_with(shown) || result.out == failed) << result.out;
        }
        ++displayed;
    }
    EXPECT_GE(displayed, 90u);
}

struct SampleFacts {
    const char* name;
    const char* file;                   // relative to the corpus folder
    std::vector<std::string> options;   // before the file
    std::vector<std::string> lines;     // each must appear in standard output, whole
};

class CorpusFacts : public testing::TestWithParam<SampleFacts> {};

TEST_P(CorpusFacts, DisplayAgreesWithTheRecordedFacts) {
    const SampleFacts& facts = GetParam();
    std::string path = corpusFile(facts.file);
    if (path.empty()) GTEST_SKIP() << "no sample corpus";
    std::vector<std::string> args = facts.options;
    args.push_back(path);
    CliResult result = runCli(args);
    EXPECT_EQ(result.status, 0);
    for (const std::string& line : facts.lines) {
        EXPECT_NE(("\n" + result.out).find("\n" + line + "\n"), std::string::npos) << "missing: " << line << "\n"
                                                                                  << result.out;
    }
}

const std::vector<std::string> DisplayAll = {"-d", "-m"};

INSTANTIATE_TEST_SUITE_P(
    Samples, CorpusFacts,
    testing::Values(
        // The source counts 6 audio frames; the summary also counts the Xing frame that leads
        // them. 156 ms of audio is 0 whole seconds. The average 125 kbit/s is the source's too.
        SampleFacts{"Mp3agicV1AndV23",
                    "mp3agic/v1andv23tags.mp3",
                    DisplayAll,
                    {"ID3 Version 1 tag data:", " Track: 1", " Title: TITLE1234567890123456789012345",
                     " Artist: ARTIST123456789012345678901234", " Album: ALBUM1234567890123456789012345",
                     " Year: 2001", " Genre: Pop", " Comment: COMMENT123456789012345678901",
                     " Type: MPEG-1 layer 3", " Bitrate: 125 kbps (VBR average)", " Frequency: 44.100 kHz",
                     " Channels: Joint stereo", " Copyright: No", " Original: Yes", " Frames: 7",
                     " Header size: 1099 bytes", " Length: 0 seconds", " Tag version: V1 and V2.3"}},
        SampleFacts{"Mp3agicNoTags",
                    "mp3agic/notags.mp3",
                    DisplayAll,
                    {"No ID3 Version 1 tag found", "No ID3 Version 2 tag found", " Header size: 0 bytes",
                     " Bitrate: 125 kbps (VBR average)", " Frames: 7"}},
        SampleFacts{"Mp3agicIncompleteFrame",
                    "mp3agic/incompletempegframe.mp3",
                    DisplayAll,
                    {" Tag version: V1 and V2.3", " Header size: 1099 bytes"}},
        // A track byte of 0 means no track number.
        SampleFacts{"Mp3agicV1WithoutTrack",
                    "mp3agic/v1tagwithnotrack.mp3",
                    {"-d"},
                    {"ID3 Version 1 tag data:", " Title: TITLE1234567890123456789012345"}},
        SampleFacts{"Mp3agicUnicode",
                    "mp3agic/v23unicodetags.mp3",
                    DisplayAll,
                    {" Title: 中文", " Artist: γειά σου", " Album: こんにちは", " Composer: હેલ્લો",
                     " Header size: 202 bytes", " Tag version: V2.3"}},
        // 1464 ms is 1 whole second.
        SampleFacts{"LoftyFullTest",
                    "lofty/full_test.mp3",
                    DisplayAll,
                    {" Artist: Bar artist", " Artist: Foo artist", " Frequency: 48.000 kHz", " Channels: Stereo",
                     " Copyright: No", " Original: No", " Length: 1 seconds", " Header size: 31 bytes",
                     " Tag version: V1 and V2.4"}},
        // The first frame header follows the four junk bytes.
        SampleFacts{"LoftyJunkAfterTag",
                    "lofty/junk_between_id3_and_mp3.mp3",
                    DisplayAll,
                    {" Title: title test", " Artist: artist test", " Album: album test", " Header size: 287 bytes"}},
        // About 3.77 s of audio is 3 whole seconds; genre byte 50 is Darkwave.
        SampleFacts{"MutagenV1Only",
                    "mutagen/silence-44-s-v1.mp3",
                    DisplayAll,
                    {" Track: 2", " Title: Silence", " Artist: piman", " Album: Quod Libet Test Data", " Year: 2004",
                     " Genre: Darkwave", "No ID3 Version 2 tag found", " Bitrate: 32 kbps (CBR)",
                     " Channels: Joint stereo", " Frequency: 44.100 kHz", " Length: 3 seconds", " Frames: 143",
                     " Tag version: V1"}},
        // The V1 genre byte 255 reads as genre 12.
        SampleFacts{"MutagenV23AndV1",
                    "mutagen/silence-44-s.mp3",
                    DisplayAll,
                    {" Title: Silence", " Genre: Other", " Frames: 143", " Header size: 1314 bytes",
                     " Bitrate: 32 kbps (CBR)", " Tag version: V1 and V2.3"}},
        SampleFacts{"MutagenV22",
                    "mutagen/id3v22-test.mp3",
                    DisplayAll,
                    {" Track: 3 of 11", " Title: cosmic american", " Artist: Anais Mitchell",
                     " Album: Hymns for the Exiled", " Year: 2004", " Comment: Waterbug Records, www.anaismitchell.com",
                     " Frequency: 44.100 kHz", " Bitrate: 160 kbps (CBR)", " Header size: 2225 bytes",
                     " Tag version: V2.2"}},
        SampleFacts{"MutagenV24AndV1Combined",
                    "mutagen/id3v1v2-combined.mp3",
                    {"-d"},
                    {" Track: 3 of 11", " Artist: Anais Mitchell", " Album: Hymns for the Exiled", " Year: 1337",
                     " Comment: v1 comment", " Year: 2004", " Comment: Waterbug Records, www.anaismitchell.com"}},
        // The encoder text follows the Xing header at 156 bytes into the first frame.
        SampleFacts{"MutagenLame", "mutagen/lame.mp3", {"-m"}, {" Encoder: LAME3.99r", " Frames: 5"}},
        SampleFacts{"TaglibItunes10",
                    "taglib/itunes10.mp3",
                    {"-m"},
                    {" Encoder: LAME3.96r", " Bitrate: 192 kbps (CBR)", " Header size: 10433 bytes", " Frames: 3",
                     " Tag version: V2.2"}},
        // 3553 ms is 3 whole seconds.
        SampleFacts{"TaglibBladeenc",
                    "taglib/bladeenc.mp3",
                    DisplayAll,
                    {" Bitrate: 64 kbps (CBR)", " Channels: Mono", " Frequency: 44.100 kHz", " Frames: 136",
                     " Length: 3 seconds", "No ID3 Version 1 tag found", "No ID3 Version 2 tag found"}},
        // 2.052 s is 2 whole seconds.
        SampleFacts{"TaglibXing",
                    "taglib/xing.mp3",
                    DisplayAll,
                    {"No ID3 Version 1 tag found", "No ID3 Version 2 tag found", " Bitrate: 32 kbps (CBR)",
                     " Length: 2 seconds"}},
        // The 2.4 genre "13" has no parentheses, so it is shown as the text it is.
        SampleFacts{"TaglibRareFrames",
                    "taglib/rare_frames.mp3",
                    {"-d"},
                    {" Genre: Pop", " Genre: 13", " UFID: supermihi@web.de 12345678"}},
        // A 2.4 extended header moves the frame walk onto the first frame's size bytes, so the
        // tag is present without fields although the source reads the title.
        SampleFacts{"TinytagExtendedHeader",
                    "tinytag/cbr.mp3",
                    DisplayAll,
                    {" Title: ", " Encoder: LAME3.99r", " Header size: 246 bytes", " Frames: 19",
                     " Frequency: 44.100 kHz", " Tag version: V2.4"}},
        SampleFacts{"MutagenAiffWithTag",
                    "mutagen/with-id3.aif",
                    DisplayAll,
                    {" Title: AIFF title", " Type: AIFF ", " Channels: Mono", " Frequency: 8.000 kHz",
                     " Sample size: 16 bit", " Frames: 8000", " Length: 1 seconds", " Tag version: V2.4"}},
        SampleFacts{"MutagenAiffFourChannels",
                    "mutagen/8k-4ch-1s-silence.aif",
                    {"-m"},
                    {" Channels: Multi channel", " Frequency: 8.000 kHz", " Sample size: 16 bit",
                     " Length: 1 seconds"}},
        // 2941 sample frames (67 ms) leave more than four frames over a whole second, which
        // rounds up to 1 second.
        SampleFacts{"TaglibEmptyAiff",
                    "taglib/empty.aiff",
                    {"-m"},
                    {" Frequency: 44.100 kHz", " Channels: Mono", " Sample size: 16 bit", " Frames: 2941",
                     " Length: 1 seconds"}},
        SampleFacts{"TaglibAlawAifc",
                    "taglib/alaw.aifc",
                    {"-m"},
                    {" Frequency: 44.100 kHz", " Channels: Mono", " Sample size: 16 bit", " Frames: 1622"}},
        SampleFacts{"TaglibDuplicateAiffTags", "taglib/duplicate_id3v2.aiff", {"-d"}, {" Title: Title1"}},
        SampleFacts{"RustAifcTag",
                    "rust-id3/padding.aiff",
                    {"-d"},
                    {" Title: TEST TITLE", " Artist: TEST ARTIST"}},
        // The form size is far beyond the file, so the track opens only with -iac. The source's
        // 132 s become 133: 5840604 sample frames leave 19404 over 132 whole seconds.
        SampleFacts{"HsaudiotagAiffNeedsIac",
                    "hsaudiotag/with_id3.aif",
                    {"-d", "-m", "-iac"},
                    {" Artist: Assimil", " Frequency: 44.100 kHz", " Frames: 5840604", " Length: 2:13 (133 seconds)"}},
        SampleFacts{"HsaudiotagAiffRefusedWithoutIac",
                    "hsaudiotag/with_id3.aif",
                    {"-d"},
                    {"Failed to read the information from the file '" + corpusFile("hsaudiotag/with_id3.aif") +
                     "'."}},
        SampleFacts{"Mp3agicNotAnMp3",
                    "mp3agic/notanmp3.mp3",
                    {"-d"},
                    {"Failed to read the information from the file '" + corpusFile("mp3agic/notanmp3.mp3") + "'."}},
        SampleFacts{"MutagenEmptyFile",
                    "mutagen/emptyfile.mp3",
                    {"-d"},
                    {"Failed to read the information from the file '" + corpusFile("mutagen/emptyfile.mp3") + "'."}}),
    [](const testing::TestParamInfo<SampleFacts>& info) { return std::string(info.param.name); });

struct SampleValue {
    const char* name;
    const char* file;
    const char* option;
    const char* printed;
};

class CorpusValues : public testing::TestWithParam<SampleValue> {};

TEST_P(CorpusValues, MpegValueAgreesWithTheRecordedFacts) {
    std::string path = corpusFile(GetParam().file);
    if (path.empty()) GTEST_SKIP() << "no sample corpus";
    CliResult result = runCli({GetParam().option, path});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(
    Samples, CorpusValues,
    testing::Values(
        // The AIFF bit rate is bits x channels x rate in whole kbit/s: 16 x 1 x 8000 / 1000.
        SampleValue{"AiffMonoBitRate", "mutagen/8k-1ch-1s-silence.aif", "-mbtr", "128000\n"},
        SampleValue{"AiffFourChannelBitRate", "mutagen/8k-4ch-1s-silence.aif", "-mbtr", "512000\n"},
        SampleValue{"AiffFourChannelsAreMulti", "mutagen/8k-4ch-1s-silence.aif", "-mchn", "3\n"},
        SampleValue{"AiffMonoChannels", "mutagen/8k-1ch-1s-silence.aif", "-mchn", "1\n"},
        SampleValue{"AiffFrequency", "mutagen/8k-1ch-1s-silence.aif", "-mfrq", "8000\n"},
        SampleValue{"AiffLength", "mutagen/8k-1ch-1s-silence.aif", "-mlen", "1\n"},
        SampleValue{"Mp3Frequency48k", "lofty/full_test.mp3", "-mfrq", "48000\n"},
        SampleValue{"Mp3MonoChannels", "taglib/bladeenc.mp3", "-mchn", "1\n"},
        SampleValue{"Mp3CbrBitRate", "taglib/bladeenc.mp3", "-mbtr", "64000\n"},
        SampleValue{"Mp3Length", "taglib/bladeenc.mp3", "-mlen", "3\n"},
        SampleValue{"Mp3JointStereoChannels", "mutagen/silence-44-s-v1.mp3", "-mchn", "2\n"},
        SampleValue{"Mp3BitRate32k", "mutagen/silence-44-s-v1.mp3", "-mbtr", "32000\n"}),
    [](const testing::TestParamInfo<SampleValue>& info) { return std::string(info.param.name); });

// Bare tags shown as tag data files, against the facts of their sources.
struct BareTag {
    const char* name;
    const char* file;
    std::vector<std::string> lines;
};

class CorpusBareTags : public testing::TestWithParam<BareTag> {};

TEST_P(CorpusBareTags, TagDataFileShowsTheTag) {
    std::string source = corpusFile(GetParam().file);
    if (source.empty()) GTEST_SKIP() << "no sample corpus";
    TempDir dir;
    std::string path = dir.file("tag.tdf");
    fs::copy_file(source, path);
    CliResult result = runCli({"-d", path});
    EXPECT_EQ(result.status, 0);
    for (const std::string& line : GetParam().lines) {
        EXPECT_NE(("\n" + result.out).find("\n" + line + "\n"), std::string::npos) << "missing: " << line << "\n"
                                                                                  << result.out;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Samples, CorpusBareTags,
    testing::Values(
        BareTag{"PerFrameUnsynchronisation", "taglib/unsynch24.id3", {" Title: Hi"}},
        // Whole-tag unsynchronisation in a 2.3 tag is not read: the tag is there, without fields.
        BareTag{"WholeTagUnsynchronisationIsNotRead", "taglib/unsynch.id3", {"ID3 Version 2 tag data:", " Title: "}},
        BareTag{"Version22",
                "hsaudiotag/v22.tag",
                {" Title: Chanson de Nuit - Op. 15 No. 1", " Artist: Kennedy / Pettinger",
                 " Album: Salut d'Amour (Elgar)"}},
        // Encoding 2 (UTF-16 big-endian without a mark); the tag claims 4 bytes more than the file.
        BareTag{"Utf16WithoutMark", "tinytag/utf16_no_bom.mp3", {" Title: no bom test ë", " Artist: no bom test 2 ë"}},
        // A 2.4 frame with a plain size, read by the non-syncsafe fallback. The track number
        // has no total, and the line feed comes only with the " of" part.
        BareTag{"PlainSizedFrames",
                "taglib/005411.id3",
                {" Track: 1 Title: Sunshine Superman", " Artist: Donovan", " Picture count: 1"}}),
    [](const testing::TestParamInfo<BareTag>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tagwick::support
