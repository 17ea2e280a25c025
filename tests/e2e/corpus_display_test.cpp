// Every real sample track through the display, and the facts recorded for the samples compared
// with what the program shows. Where this program's own rules give another value than the
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

// The name a sample is displayed under: track names as they are; MPEG layer II files as ".mp3";
// bare tags (".id3", ".tag") as tag data files. "-": not a track of any kind.
std::string displayExtension(const fs::path& path) {
    std::string extension = path.extension().string();
    for (char& c : extension) c = char(std::tolower(static_cast<unsigned char>(c)));
    if (extension == ".mp3" || extension == ".aif" || extension == ".aiff" || extension == ".aifc") return "";
    if (extension == ".mp2") return ".mp3";
    if (extension == ".id3" || extension == ".tag") return ".tdf";
    return "-";
}

TEST(Corpus, EverySampleIsDisplayedWithoutACrash) {
    std::string root = corpusFile("");
    if (root.empty()) GTEST_SKIP() << "no sample corpus";
    TempDir copies;
    size_t displayed = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        std::string rename = entry.is_regular_file() ? displayExtension(entry.path()) : "-";
        if (rename == "-") continue;
        std::string path = entry.path().string();
        if (!rename.empty()) {
            path = copies.file(entry.path().parent_path().filename().string() + "_" +
                               entry.path().filename().string() + rename);
            fs::copy_file(entry.path(), path, fs::copy_options::overwrite_existing);
        }
        for (const std::vector<std::string>& options :
             {std::vector<std::string>{"-d", "-m", "-imd"}, {"-m", "novbr", "-iac"}}) {
            std::vector<std::string> args = options;
            args.push_back(path);
            CliResult result = runCli(args);
            SCOPED_TRACE(path + " with " + options[0] + " " + options[1]);
            EXPECT_EQ(result.status, 0);
            EXPECT_EQ(result.err.find("Sanitizer"), std::string::npos) << result.err;
            EXPECT_EQ(result.err.find("runtime error"), std::string::npos) << result.err;
            EXPECT_TRUE(result.out.starts_with("Track information for '" + path + "'\n") ||
                        result.out == "Failed to read the information from the file '" + path + "'.\n")
                << result.out;
        }
        ++displayed;
    }
    EXPECT_GE(displayed, 90u);
}

struct SampleFacts {
    const char* name;
    const char* file;                  // relative to the corpus folder
    std::vector<std::string> options;  // before the file
    std::vector<std::string> lines;    // whole lines of standard output, in this order; "{path}": the file shown
    bool asTagDataFile = false;        // a bare tag, shown from a copy named ".tdf"
};

class CorpusFacts : public testing::TestWithParam<SampleFacts> {};

TEST_P(CorpusFacts, OutputAgreesWithTheRecordedFacts) {
    const SampleFacts& facts = GetParam();
    std::string path = corpusFile(facts.file);
    if (path.empty()) GTEST_SKIP() << "no sample corpus";
    TempDir dir;
    if (facts.asTagDataFile) {
        fs::copy_file(path, dir.file("tag.tdf"));
        path = dir.file("tag.tdf");
    }
    std::vector<std::string> args = facts.options;
    args.push_back(path);
    CliResult result = runCli(args);
    EXPECT_EQ(result.status, 0);
    std::string out = "\n" + result.out;
    size_t at = 0;
    for (std::string line : facts.lines) {
        if (size_t key = line.find("{path}"); key != std::string::npos) line.replace(key, 6, path);
        at = out.find("\n" + line + "\n", at);
        ASSERT_NE(at, std::string::npos) << "missing, or out of order: " << line << "\n" << result.out;
        ++at;
    }
}

const std::vector<std::string> Both = {"-d", "-m"};
const char* const NotRead = "Failed to read the information from the file '{path}'.";

INSTANTIATE_TEST_SUITE_P(
    Samples, CorpusFacts,
    testing::Values(
        // The source counts 6 audio frames; the summary also counts the Xing frame that leads
        // them. 156 ms of audio is 0 whole seconds. The average 125 kbit/s is the source's too.
        SampleFacts{"V1AndV23Tags", "mp3agic/v1andv23tags.mp3", Both,
                    {" Track: 1", " Title: TITLE1234567890123456789012345", " Genre: Pop",
                     " Comment: COMMENT123456789012345678901", " Length: 0 seconds", " Bitrate: 125 kbps (VBR average)",
                     " Channels: Joint stereo", " Original: Yes", " Frames: 7", " Header size: 1099 bytes",
                     " Tag version: V1 and V2.3"}},
        SampleFacts{"V23UnicodeTags", "mp3agic/v23unicodetags.mp3", Both,
                    {" Title: 中文", " Artist: γειά σου", " Album: こんにちは", " Composer: હેલ્લો",
                     " Header size: 202 bytes", " Tag version: V2.3"}},
        // 1464 ms is 1 whole second.
        SampleFacts{"FullTest", "lofty/full_test.mp3", Both,
                    {" Artist: Bar artist", " Artist: Foo artist", " Length: 1 seconds", " Frequency: 48.000 kHz",
                     " Channels: Stereo", " Copyright: No", " Original: No", " Header size: 31 bytes",
                     " Tag version: V1 and V2.4"}},
        // The first frame header follows the four junk bytes.
        SampleFacts{"JunkBetweenTagAndAudio", "lofty/junk_between_id3_and_mp3.mp3", Both,
                    {" Title: title test", " Artist: artist test", " Album: album test", " Header size: 287 bytes"}},
        // About 3.77 s of audio is 3 whole seconds; genre byte 50 is Darkwave.
        SampleFacts{"SilenceV1Only", "mutagen/silence-44-s-v1.mp3", Both,
                    {" Track: 2", " Title: Silence", " Genre: Darkwave", "No ID3 Version 2 tag found",
                     " Length: 3 seconds", " Bitrate: 32 kbps (CBR)", " Frames: 143", " Tag version: V1"}},
        SampleFacts{"V22Test", "mutagen/id3v22-test.mp3", Both,
                    {" Track: 3 of 11", " Title: cosmic american", " Album: Hymns for the Exiled",
                     " Bitrate: 160 kbps (CBR)", " Header size: 2225 bytes", " Tag version: V2.2"}},
        // The album comes from the V1 tag alone.
        SampleFacts{"V1AndV24Combined", "mutagen/id3v1v2-combined.mp3", {"-d"},
                    {" Artist: Anais Mitchell", " Album: Hymns for the Exiled", " Year: 1337", " Comment: v1 comment",
                     " Track: 3 of 11", " Year: 2004", " Comment: Waterbug Records, www.anaismitchell.com"}},
        SampleFacts{"Itunes10", "taglib/itunes10.mp3", {"-m"},
                    {" Bitrate: 192 kbps (CBR)", " Frames: 3", " Header size: 10433 bytes", " Encoder: LAME3.96r",
                     " Tag version: V2.2"}},
        // 3553 ms is 3 whole seconds.
        SampleFacts{"MonoCbr", "taglib/bladeenc.mp3", Both,
                    {"No ID3 Version 1 tag found", "No ID3 Version 2 tag found", " Length: 3 seconds",
                     " Bitrate: 64 kbps (CBR)", " Frequency: 44.100 kHz", " Channels: Mono", " Frames: 136"}},
        SampleFacts{"MonoCbrValues", "taglib/bladeenc.mp3", {"-mchn", "-mbtr", "-mlen"}, {"3", "64000", "1"}},
        // The 2.4 genre "13" has no parentheses, so it is shown as the text it is.
        SampleFacts{"RareFrames", "taglib/rare_frames.mp3", {"-d"},
                    {" Genre: Pop", " Genre: 13", " UFID: supermihi@web.de 12345678"}},
        // A 2.4 extended header moves the frame walk onto the first frame's size bytes, so the
        // tag is present without fields although the source reads the title.
        SampleFacts{"ExtendedHeader", "tinytag/cbr.mp3", Both,
                    {" Title: ", " Frequency: 44.100 kHz", " Frames: 19", " Header size: 246 bytes",
                     " Encoder: LAME3.99r", " Tag version: V2.4"}},
        SampleFacts{"AiffWithTag", "mutagen/with-id3.aif", Both,
                    {" Title: AIFF title", " Length: 1 seconds", " Type: AIFF ", " Channels: Mono",
                     " Sample size: 16 bit", " Frames: 8000", " Tag version: V2.4"}},
        // The AIFF bit rate is bits x channels x rate in whole kbit/s: 16 x 1 x 8000 / 1000.
        SampleFacts{"AiffMonoValues", "mutagen/8k-1ch-1s-silence.aif", {"-mchn", "-mfrq", "-mbtr", "-mlen"},
                    {"1", "128000", "8000", "1"}},
        SampleFacts{"AiffFourChannels", "mutagen/8k-4ch-1s-silence.aif", {"-m"}, {" Channels: Multi channel"}},
        SampleFacts{"AiffFourChannelValues", "mutagen/8k-4ch-1s-silence.aif", {"-mchn", "-mbtr"}, {"512000", "3"}},
        // 2941 sample frames (67 ms) leave more than four frames over a whole second, which
        // rounds up to 1 second.
        SampleFacts{"EmptyAiff", "taglib/empty.aiff", {"-m"},
                    {" Length: 1 seconds", " Frequency: 44.100 kHz", " Frames: 2941"}},
        SampleFacts{"AlawAifc", "taglib/alaw.aifc", {"-m"}, {" Frequency: 44.100 kHz", " Frames: 1622"}},
        SampleFacts{"DuplicateAiffTags", "taglib/duplicate_id3v2.aiff", {"-d"}, {" Title: Title1"}},
        // The form size is far beyond the file, so the track opens only with -iac. The source's
        // 132 s become 133: 5840604 sample frames leave 19404 over 132 whole seconds.
        SampleFacts{"AiffNeedsIac", "hsaudiotag/with_id3.aif", {"-d", "-m", "-iac"},
                    {" Artist: Assimil", " Length: 2:13 (133 seconds)", " Frequency: 44.100 kHz",
                     " Frames: 5840604"}},
        SampleFacts{"AiffRefusedWithoutIac", "hsaudiotag/with_id3.aif", {"-d"}, {NotRead}},
        SampleFacts{"EmptyFile", "mutagen/emptyfile.mp3", {"-d"}, {NotRead}},
        SampleFacts{"PerFrameUnsynchronisation", "taglib/unsynch24.id3", {"-d"}, {" Title: Hi"}, true},
        // Whole-tag unsynchronisation in a 2.3 tag is not read: the tag is there, without fields.
        SampleFacts{"WholeTagUnsynchronisationIsNotRead", "taglib/unsynch.id3", {"-d"},
                    {"ID3 Version 2 tag data:", " Title: "}, true},
        SampleFacts{"BareV22Tag", "hsaudiotag/v22.tag", {"-d"},
                    {" Title: Chanson de Nuit - Op. 15 No. 1", " Artist: Kennedy / Pettinger",
                     " Album: Salut d'Amour (Elgar)"},
                    true},
        // The tag claims 4 bytes more than the file holds: it is not loaded at all.
        SampleFacts{"TagLongerThanTheFile", "tinytag/utf16_no_bom.mp3", {"-d"},
                    {"No ID3 Version 1 tag found", "No ID3 Version 2 tag found"}, true},
        // A Xing header followed by another encoder's name where a LAME tag would stand.
        SampleFacts{"OtherEncoderBehindXing", "lofty/full_test.mp3", {"-m"},
                    {" Bitrate: 61 kbps (VBR average)", " Encoder: Lavc58.91"}},
        // A 2.4 frame with a plain size, read by the non-syncsafe fallback. The track number
        // has no total, and the line feed comes only with the " of" part.
        SampleFacts{"PlainSizedFrames", "taglib/005411.id3", {"-d"},
                    {" Track: 1 Title: Sunshine Superman", " Artist: Donovan", " Picture count: 1"}, true}),
    [](const testing::TestParamInfo<SampleFacts>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tagwick::support
