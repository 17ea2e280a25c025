#include "cli/options.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <string>
#include <tuple>
#include <vector>

#include "base/logger.h"
#include "support/cli_runner.h"

namespace tagwick {
namespace {

using Text = TagUpdate::Text;
using Args = std::vector<std::string>;
using Paths = std::vector<std::string>;

struct ScanResult {
    TagUpdate update;
    std::string printed;
};

// Scans inside a scratch folder, so that track names resolve (as "./name").
class Scan : public testing::Test {
protected:
    void SetUp() override {
        char buffer[4096];
        ASSERT_NE(getcwd(buffer, sizeof buffer), nullptr);
        previous_ = buffer;
        ASSERT_EQ(chdir(dir_.path().c_str()), 0);
        Logger::resetForTests();
    }
    void TearDown() override {
        EXPECT_EQ(chdir(previous_.c_str()), 0);
        Logger::resetForTests();
    }
    // The scan of `args` (the program name is added) and what it printed.
    static ScanResult run(const Args& args) {
        std::vector<const char*> argv = {"tagwickcli"};
        for (const std::string& a : args) argv.push_back(a.c_str());
        testing::internal::CaptureStdout();
        TagUpdate update = scan(static_cast<int>(argv.size()), argv.data());
        std::fflush(stdout);
        return {std::move(update), testing::internal::GetCapturedStdout()};
    }
    void touch(std::initializer_list<const char*> names) {
        for (const char* name : names) support::writeText(dir_.file(name), "x");
    }
    support::TempDir dir_;
    std::string previous_;
};

std::string unknown(const std::string& name) { return "Unknown command " + name + "\n"; }

// Every word accepted after "--".
const std::vector<std::string> DeleteList = {
    "tr", "ts", "ti", "ar", "al", "yr", "gn", "co", "cm", "cp", "oa", "en", "ur", "ls", "cn", "lr", "pb", "or",
    "ct", "sb", "sn", "ss", "is", "rc", "rl", "ik", "bm", "au", "cl", "ad", "mo", "pn", "iw", "uf", "t", "a",
    "b", "y", "c", "n", "g", "pcid", "pcfd", "pcds"};

// One option of each kind of text value (the full list is the option table itself).
const std::pair<const char*, Text TagUpdate::*> TextOptions[] = {
    {"ti", &TagUpdate::title},       {"yr", &TagUpdate::year},       {"es", &TagUpdate::encoderSettings},
    {"t", &TagUpdate::v1Title},      {"pcds", &TagUpdate::podcastDescription}, {"co", &TagUpdate::comment},
    {"import", &TagUpdate::importFile}, {"export", &TagUpdate::exportFile}, {"csv", &TagUpdate::csvFile},
    {"xml", &TagUpdate::xmlFile},    {"imex", &TagUpdate::imageExportFile}};

TEST_F(Scan, TextOptionsStoreTheirValueButNeverOneOpeningAnOption) {
    for (const auto& [name, field] : TextOptions) {
        SCOPED_TRACE(name);
        std::string option = std::string("-") + name;
        ScanResult r = run({option, "Some value"});
        EXPECT_EQ(r.update.*field, Text("Some value"));
        EXPECT_EQ(r.printed, "");
        EXPECT_TRUE(r.update.tracks.empty());
        // The option does not match; the value is then scanned as an option of its own.
        r = run({option, "/value"});
        EXPECT_FALSE((r.update.*field).has_value());
        EXPECT_EQ(r.printed, unknown(name) + unknown("value"));
        EXPECT_EQ(run({option}).printed, unknown(name));
        if (std::find(DeleteList.begin(), DeleteList.end(), name) != DeleteList.end()) {
            EXPECT_EQ(run({"-" + option}).update.*field, Text(""));
        }
    }
}

TEST_F(Scan, DeleteListIsExactAndIgnoresCase) {
    std::vector<std::string> expected = DeleteList;
    const std::vector<std::string_view> listed = deleteWords();
    std::vector<std::string> words(listed.begin(), listed.end());
    std::sort(words.begin(), words.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(words, expected);
    for (std::string word : expected) {
        for (char& c : word) c = char(std::toupper(static_cast<unsigned char>(c)));
        ScanResult r = run({"--" + word});
        EXPECT_EQ(r.printed, "") << word;
        EXPECT_TRUE(r.update.anyChangeRequested()) << word;
    }
    for (const char* word : {"cf", "im", "ir", "ly", "es", "vn", "pcon", "pcof", "xyz", ""}) {
        ScanResult r = run({std::string("--") + word});
        EXPECT_EQ(r.printed, std::string("Unknown delete command ") + word + "\n");
        EXPECT_FALSE(r.update.anyChangeRequested()) << word;
    }
}

TEST_F(Scan, DeleteFormsOfNumbersStoreTheirRemoveValues) {
    TagUpdate u = run({"--tr", "--ts", "--sn", "--ss", "--ad", "--n", "--g", "--y", "--bm", "--uf"}).update;
    for (int value : {u.trackNumber, u.trackCount, u.setNumber, u.setCount, u.advisory, u.v1TrackNumber})
        EXPECT_EQ(value, 0);
    EXPECT_EQ(u.v1Genre, 12);
    for (const Text& text : {u.v1Year, u.beatsPerMinute, u.ufidOwner, u.ufidId}) EXPECT_EQ(text, Text(""));
    // "--cl" turns the compilation flag on just like "-cl": each one counts.
    EXPECT_EQ(u.compilation, -1);
    EXPECT_EQ(run({"--cl"}).update.compilation, 0);
    EXPECT_EQ(run({"--cl", "-CL", "/cl"}).update.compilation, 2);
}

TEST_F(Scan, NumberOptionsTakeLeadingDigitsAndLeaveOtherValuesToTheScan) {
    touch({"abc"});
    const std::pair<const char*, int TagUpdate::*> numbers[] = {
        {"tr", &TagUpdate::trackNumber}, {"ts", &TagUpdate::trackCount}, {"sn", &TagUpdate::setNumber},
        {"ss", &TagUpdate::setCount},    {"g", &TagUpdate::v1Genre},     {"tagtype", &TagUpdate::tagType}};
    for (const auto& [name, field] : numbers) {
        SCOPED_TRACE(name);
        std::string option = std::string("-") + name;
        EXPECT_EQ(run({option, "2"}).update.*field, 2);
        EXPECT_EQ(run({option, "1abc"}).update.*field, 1);
        EXPECT_EQ(run({option}).printed, unknown(name));
        EXPECT_EQ(run({option, "-5"}).printed, unknown(name) + unknown("5"));
        ScanResult r = run({option, "abc"});
        EXPECT_EQ(r.update.*field, TagUpdate{}.*field);
        EXPECT_EQ(r.update.tracks, Paths{"./abc"});
        EXPECT_EQ(r.printed, "");
    }
    ScanResult kept = run({"-y", "0042x", "-bm", "fast"});
    EXPECT_EQ(kept.update.v1Year, Text("42"));
    EXPECT_FALSE(kept.update.beatsPerMinute.has_value());
    // Out-of-range values are handed on; only -tagtype is limited.
    EXPECT_EQ(run({"-g", "300"}).update.v1Genre, 300);
    EXPECT_EQ(run({"-tr", "99999999999999999999"}).update.trackNumber, INT_MAX);
    EXPECT_EQ(run({"-tagtype", "3"}).update.tagType, 2);
}

TEST_F(Scan, VersionOneTrackNumberAcceptsAndIgnoresBadValues) {
    touch({"abc"});
    ScanResult r = run({"-n", "abc", "-n", "-ti", "x", "-n"});
    EXPECT_EQ(r.update.v1TrackNumber, -1);
    EXPECT_EQ(r.update.title, Text("x"));
    EXPECT_EQ(r.update.tracks, Paths{"./abc"});
    EXPECT_EQ(r.printed, "");  // neither the dash value nor the missing one is reported
    EXPECT_EQ(run({"-n", "1000"}).update.v1TrackNumber, 1000);
    EXPECT_EQ(run({"-n", "/x"}).printed, unknown("x"));
}

TEST_F(Scan, AdvisoryWriteVersionAndUniqueFileId) {
    const std::pair<const char*, int> advisories[] = {{"1", 1}, {"2", 2}, {"12", 1}, {"21", 2}, {"3", 0}, {"x", 0}};
    for (const auto& [value, stored] : advisories) {
        ScanResult r = run({"-ad", value, "-vn", value});
        EXPECT_EQ(r.update.advisory, stored) << value;
        EXPECT_EQ(r.update.writeVersion, 0);
        EXPECT_TRUE(r.update.tracks.empty());
        EXPECT_EQ(r.printed, "");
    }
    EXPECT_EQ(run({"-vn", "2.3"}).update.writeVersion, 3);
    EXPECT_EQ(run({"-vn", "2.4"}).update.writeVersion, 4);
    EXPECT_EQ(run({"-ad"}).printed, unknown("ad"));
    ScanResult r = run({"-uf", "http://example.org", "id-1"});
    EXPECT_EQ(std::tie(r.update.ufidOwner, r.update.ufidId), std::tuple(Text("http://example.org"), Text("id-1")));
    r = run({"-uf", "owner", "-ti", "x"});  // both values are needed
    EXPECT_FALSE(r.update.ufidOwner.has_value());
    EXPECT_EQ(r.update.title, Text("x"));
    EXPECT_EQ(r.printed, unknown("uf"));
}

TEST_F(Scan, FlagsConsumeNothing) {
    const std::pair<const char*, bool TagUpdate::*> flags[] = {
        {"mlen", &TagUpdate::printLength}, {"d", &TagUpdate::showTags},          {"m", &TagUpdate::showFileInfo},
        {"rm1", &TagUpdate::removeV1},     {"iac", &TagUpdate::ignoreAiffCorruption}, {"e", &TagUpdate::stopOnError},
        {"ver", &TagUpdate::versionRequested}, {"h", &TagUpdate::helpRequested}, {"?", &TagUpdate::helpRequested}};
    const TagUpdate plain = run({"-ti", "x"}).update;
    for (const auto& [name, field] : flags) {
        ScanResult r = run({std::string("-") + name, "-ti", "x"});
        EXPECT_TRUE(!(plain.*field) && r.update.*field) << name;
        EXPECT_EQ(r.update.title, Text("x")) << name;
        EXPECT_EQ(r.printed, "") << name;
    }
    EXPECT_EQ(plain.podcastMark, -1);
    EXPECT_EQ(run({"-pcof", "-pcon"}).update.podcastMark, 1);
    EXPECT_EQ(run({"-pcon", "-pcof"}).update.podcastMark, 0);
    EXPECT_TRUE(run({}).update.helpRequested);  // no arguments at all
    // Each -v raises the log level to 3 and counts.
    ASSERT_EQ(Logger::maxLevel(), 2u);
    EXPECT_EQ(run({"-v", "/V"}).update.verbose, 2);
    EXPECT_EQ(Logger::maxLevel(), 3u);
}

TEST_F(Scan, NamesAreWholeWordsIgnoringCaseAfterDashOrSlash) {
    for (const char* form : {"-TI", "-Ti", "/ti", "/TI"}) EXPECT_EQ(run({form, "x"}).update.title, Text("x"));
    EXPECT_EQ(run({"-tit", "x"}).printed + run({"-vers"}).printed, unknown("tit") + unknown("vers"));
}

TEST_F(Scan, PicturesAndOutputTakeAnyNextArgument) {
    ScanResult r = run({"-im", "/pictures/front.jpg", "-out", "/tmp/copy.mp3"});
    EXPECT_EQ(r.update.pictureFile, Text("/pictures/front.jpg"));
    EXPECT_FALSE(r.update.removeImages);
    EXPECT_EQ(r.update.outputFile, Text("/tmp/copy.mp3"));
    EXPECT_EQ(r.printed, "");
    // A later picture replaces an earlier one; -ir has marked the images for removal.
    r = run({"-ir", "-odd name.png", "-im", "b.png"});
    EXPECT_EQ(r.update.pictureFile, Text("b.png"));
    EXPECT_FALSE(r.update.pictureReplaces);
    EXPECT_TRUE(r.update.removeImages);
    EXPECT_TRUE(run({"-im", "a.jpg", "-ir", "b.png"}).update.pictureReplaces);
    EXPECT_EQ(run({"-ir"}).printed + run({"-out"}).printed, unknown("ir") + unknown("out"));
}

TEST_F(Scan, UnknownArgumentWithATrackExtensionIsAMissingFile) {
    // Four characters from the last dot are compared, ignoring case, wherever that dot is.
    for (const auto& [argument, missing] :
         {std::pair{"/missing/SONG.MP3", true}, {"/missing/song.aif", true}, {"/missing/song.tdf", true},
          {"/missing/song.mp3x", true}, {"/missing.mp3/song", true}, {"-nosuch.mp3", true},
          {"/missing/song.mp", false}, {"/missing/song.wav", false}, {"-", false}}) {
        ScanResult r = run({argument});
        EXPECT_EQ(r.printed, missing ? std::string("File not found ") + argument + "\n" : unknown(argument + 1));
        EXPECT_TRUE(r.update.tracks.empty());
    }
}

TEST_F(Scan, TracksKeepTheirOrderAndEveryOptionApplies) {
    touch({"b.mp3", "a.txt"});
    ScanResult r = run({dir_.file("b.mp3"), "-ti", "x", "*.txt", "/d"});
    // An absolute path is tried as an option first, and taken as a track when it opens.
    EXPECT_EQ(r.update.tracks, (Paths{dir_.file("b.mp3"), "./a.txt"}));
    EXPECT_EQ(r.update.title, Text("x"));
    EXPECT_TRUE(r.update.showTags);
    EXPECT_EQ(r.printed, "");
}

TEST_F(Scan, OptionalWordsAreTakenOnlyWhenTheyMatch) {
    ScanResult r =
        run({"-m", "NOVBR", "-check", "fix", "-rename", "UTF8", "-imex", "pics", "all", "-xml", "out.xml", "noimg"});
    EXPECT_TRUE(r.update.skipVbrScan && r.update.imageExportAll && r.update.xmlNoImages);
    EXPECT_EQ(r.update.check, 2);
    EXPECT_EQ(r.update.rename, 2);
    EXPECT_TRUE(r.update.tracks.empty());

    touch({"novbr2", "fixed", "all", "noimg"});
    r = run({"-m", "novbr2", "-check", "fixed", "-imex", "pics", "noimg", "-xml", "out.xml", "all", "-rename"});
    EXPECT_FALSE(r.update.skipVbrScan || r.update.imageExportAll || r.update.xmlNoImages);
    EXPECT_EQ(r.update.check, 1);
    EXPECT_EQ(r.update.rename, 1);
    EXPECT_EQ(r.update.tracks, (Paths{"./novbr2", "./fixed", "./noimg", "./all"}));
    // After -rename [utf8], a word that opens no option is the format, even a track's name.
    r = run({"-rename", "all", "-rename", "utf8", "%A - %T", "fixed", "-rename", "-d", "noimg"});
    EXPECT_EQ(r.update.renameFormat, Text("%A - %T"));
    EXPECT_EQ(r.update.tracks, (Paths{"./fixed", "./noimg"}));
}

TEST_F(Scan, ExportVersionFollowsTheFile) {
    touch({"1.mp3", "v", "x", "noimg"});
    const std::tuple<Args, int, int, Paths> cases[] = {
        {{"-csv", "t", "1"}, 1, 0, {}},        {{"-csv", "t", "v", "1"}, 1, 0, {}}, {{"-csv", "t", "V2"}, 2, 0, {}},
        {{"-csv", "t", "1.mp3"}, 0, 0, {"./1.mp3"}}, {{"-csv", "t", "v", "x"}, 0, 0, {"./v", "./x"}},
        {{"-xml", "t", "NOIMG", "v1"}, 0, 1, {}}, {{"-xml", "t", "1", "noimg"}, 0, 1, {"./noimg"}}};
    for (const auto& [args, csv, xml, tracks] : cases) {
        ScanResult r = run(args);
        EXPECT_EQ(std::tuple(r.update.csvVersion, r.update.xmlVersion, r.update.tracks), std::tuple(csv, xml, tracks))
            << testing::PrintToString(args);
    }
}

TEST_F(Scan, CommentEscapesAndTextFiles) {
    const std::pair<std::string, std::string> cases[] = {
        {"a\\\\b\\tc\\q", "a\\b\tc\\q"}, {"one\\ntwo\\r", "one\ntwo\r"}, {"end\\", "end\\"},
        {"\\\\n", "\\n"},                {"\\N\\T", "\\N\\T"}};
    for (const auto& [input, expected] : cases) EXPECT_EQ(resolveCommentEscapes(input), expected) << input;
    EXPECT_EQ(run({"-co", "a\\\\b\\tc\\q"}).update.comment, Text("a\\b\tc\\q"));
    // A file's text replaces the typed one, and gets no escape handling.
    support::writeText(dir_.file("notes.txt"), "From a file\\n");
    support::writeText(dir_.file("lyrics.txt"), "la la");
    ScanResult r = run({"-co", "typed", "-cf", "notes.txt", "-ls", "typed", "-ly", "lyrics.txt"});
    EXPECT_EQ(r.update.comment, Text("From a file\\n"));
    EXPECT_EQ(r.update.lyrics, Text("la la"));
}

TEST_F(Scan, ModifiersAloneAreNoChange) {
    TagUpdate modifiers = run({"-rmape", "-kd", "-trim", "-trash", "-tagtype", "1", "-vn", "2.4", "-out", "o"}).update;
    EXPECT_FALSE(modifiers.anyChangeRequested() || modifiers.anyMpegValueRequested());
    for (const Args& args : {Args{"-rm1"}, {"-v2v1"}, {"-import", "a.tdf"}, {"-im", "a.jpg"}, {"-pcof"}, {"-rly"}})
        EXPECT_TRUE(run(args).update.anyChangeRequested()) << args[0];
    TagUpdate v1 = run({"-t", "x"}).update, podcast = run({"-pcid", "x"}).update;
    EXPECT_TRUE(v1.anyV1FieldGiven() && !v1.anyV2FieldGiven());
    EXPECT_TRUE(podcast.anyV2FieldGiven() && !podcast.anyV1FieldGiven());
    EXPECT_TRUE(run({"-mchn"}).update.anyMpegValueRequested());
}

}  // namespace
}  // namespace tagwick
