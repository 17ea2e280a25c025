#include "cli/options.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <string>
#include <vector>

#include "base/logger.h"
#include "support/cli_runner.h"

namespace tagwick {
namespace {

using support::TempDir;
using Text = TagUpdate::Text;

// Runs the scan over the given arguments (the program name is added) and keeps what it printed.
struct ScanResult {
    TagUpdate update;
    std::string printed;
};

ScanResult scanArgs(const std::vector<std::string>& args) {
    std::vector<const char*> argv = {"tagwickcli"};
    for (const std::string& a : args) argv.push_back(a.c_str());
    testing::internal::CaptureStdout();
    TagUpdate update = scan(static_cast<int>(argv.size()), argv.data());
    std::fflush(stdout);
    return {std::move(update), testing::internal::GetCapturedStdout()};
}

// Scans inside a scratch folder that holds the named files, so that track names resolve.
class ScanInFolder : public testing::Test {
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
    void touch(const std::string& name) { support::writeText(dir_.file(name), "x"); }

    TempDir dir_;
    std::string previous_;
};

// ---- text options ----

struct TextCase {
    const char* name;
    Text TagUpdate::*field;
};

std::string caseName(const char* name) {
    std::string out;
    for (const char* p = name; *p; ++p) out += std::isalnum(static_cast<unsigned char>(*p)) ? *p : 'X';
    return out;
}

class TextOptionStores : public testing::TestWithParam<TextCase> {};

TEST_P(TextOptionStores, ValueIsStored) {
    const TextCase& c = GetParam();
    ScanResult r = scanArgs({std::string("-") + c.name, "Some value"});
    ASSERT_TRUE((r.update.*c.field).has_value());
    EXPECT_EQ(*(r.update.*c.field), "Some value");
    EXPECT_EQ(r.printed, "");
    EXPECT_TRUE(r.update.tracks.empty());
}

TEST_P(TextOptionStores, ValueOpeningAnOptionMakesTheOptionUnknown) {
    const TextCase& c = GetParam();
    ScanResult r = scanArgs({std::string("-") + c.name, "/value"});
    EXPECT_FALSE((r.update.*c.field).has_value());
    // The option is unknown, then "/value" is itself tried as an option.
    EXPECT_EQ(r.printed, std::string("Unknown command ") + c.name + "\nUnknown command value\n");
}

TEST_P(TextOptionStores, MissingValueMakesTheOptionUnknown) {
    const TextCase& c = GetParam();
    ScanResult r = scanArgs({std::string("-") + c.name});
    EXPECT_FALSE((r.update.*c.field).has_value());
    EXPECT_EQ(r.printed, std::string("Unknown command ") + c.name + "\n");
}

const TextCase TextCases[] = {
    {"ti", &TagUpdate::title},
    {"ar", &TagUpdate::artist},
    {"al", &TagUpdate::album},
    {"yr", &TagUpdate::year},
    {"gn", &TagUpdate::genre},
    {"cm", &TagUpdate::composer},
    {"cp", &TagUpdate::copyright},
    {"oa", &TagUpdate::originalArtist},
    {"en", &TagUpdate::encodedBy},
    {"ur", &TagUpdate::url},
    {"ls", &TagUpdate::lyrics},
    {"cn", &TagUpdate::conductor},
    {"lr", &TagUpdate::lyricist},
    {"pb", &TagUpdate::publisher},
    {"or", &TagUpdate::orchestra},
    {"ct", &TagUpdate::contentGroup},
    {"sb", &TagUpdate::subtitle},
    {"es", &TagUpdate::encoderSettings},
    {"is", &TagUpdate::isrc},
    {"rc", &TagUpdate::recordTime},
    {"rl", &TagUpdate::releaseTime},
    {"ik", &TagUpdate::initialKey},
    {"au", &TagUpdate::artistUrl},
    {"mo", &TagUpdate::mood},
    {"pn", &TagUpdate::producedNotice},
    {"iw", &TagUpdate::iswc},
    {"t", &TagUpdate::v1Title},
    {"a", &TagUpdate::v1Artist},
    {"b", &TagUpdate::v1Album},
    {"c", &TagUpdate::v1Comment},
    {"pcid", &TagUpdate::podcastId},
    {"pcfd", &TagUpdate::podcastFeed},
    {"pcds", &TagUpdate::podcastDescription},
    {"import", &TagUpdate::importFile},
    {"export", &TagUpdate::exportFile},
    {"csv", &TagUpdate::csvFile},
    {"xml", &TagUpdate::xmlFile},
    {"imex", &TagUpdate::imageExportFile},
    {"co", &TagUpdate::comment},
};

INSTANTIATE_TEST_SUITE_P(Options, TextOptionStores, testing::ValuesIn(TextCases),
                         [](const auto& info) { return caseName(info.param.name); });

// ---- delete forms ----

class DeleteFormStoresEmptyText : public testing::TestWithParam<TextCase> {};

TEST_P(DeleteFormStoresEmptyText, FieldBecomesEmpty) {
    const TextCase& c = GetParam();
    ScanResult r = scanArgs({std::string("--") + c.name});
    ASSERT_TRUE((r.update.*c.field).has_value());
    EXPECT_EQ(*(r.update.*c.field), "");
    EXPECT_EQ(r.printed, "");
}

const TextCase DeleteTextCases[] = {
    {"ti", &TagUpdate::title},           {"ar", &TagUpdate::artist},
    {"al", &TagUpdate::album},           {"yr", &TagUpdate::year},
    {"gn", &TagUpdate::genre},           {"co", &TagUpdate::comment},
    {"cm", &TagUpdate::composer},        {"cp", &TagUpdate::copyright},
    {"oa", &TagUpdate::originalArtist},  {"en", &TagUpdate::encodedBy},
    {"ur", &TagUpdate::url},             {"ls", &TagUpdate::lyrics},
    {"cn", &TagUpdate::conductor},       {"lr", &TagUpdate::lyricist},
    {"pb", &TagUpdate::publisher},       {"or", &TagUpdate::orchestra},
    {"ct", &TagUpdate::contentGroup},    {"sb", &TagUpdate::subtitle},
    {"is", &TagUpdate::isrc},            {"rc", &TagUpdate::recordTime},
    {"rl", &TagUpdate::releaseTime},     {"ik", &TagUpdate::initialKey},
    {"bm", &TagUpdate::beatsPerMinute},  {"au", &TagUpdate::artistUrl},
    {"mo", &TagUpdate::mood},            {"pn", &TagUpdate::producedNotice},
    {"iw", &TagUpdate::iswc},            {"t", &TagUpdate::v1Title},
    {"a", &TagUpdate::v1Artist},         {"b", &TagUpdate::v1Album},
    {"y", &TagUpdate::v1Year},           {"c", &TagUpdate::v1Comment},
    {"pcid", &TagUpdate::podcastId},     {"pcfd", &TagUpdate::podcastFeed},
    {"pcds", &TagUpdate::podcastDescription},
};

INSTANTIATE_TEST_SUITE_P(Options, DeleteFormStoresEmptyText, testing::ValuesIn(DeleteTextCases),
                         [](const auto& info) { return caseName(info.param.name); });

struct DeleteNumberCase {
    const char* name;
    int TagUpdate::*field;
    int stored;
};

class DeleteFormStoresNumber : public testing::TestWithParam<DeleteNumberCase> {};

TEST_P(DeleteFormStoresNumber, RemoveValueIsStored) {
    const DeleteNumberCase& c = GetParam();
    ScanResult r = scanArgs({std::string("--") + c.name});
    EXPECT_EQ(r.update.*c.field, c.stored);
    EXPECT_EQ(r.printed, "");
}

const DeleteNumberCase DeleteNumberCases[] = {
    {"tr", &TagUpdate::trackNumber, 0}, {"ts", &TagUpdate::trackCount, 0}, {"sn", &TagUpdate::setNumber, 0},
    {"ss", &TagUpdate::setCount, 0},    {"ad", &TagUpdate::advisory, 0},   {"n", &TagUpdate::v1TrackNumber, 0},
    {"g", &TagUpdate::v1Genre, 12},     {"cl", &TagUpdate::compilation, 0},
};

INSTANTIATE_TEST_SUITE_P(Options, DeleteFormStoresNumber, testing::ValuesIn(DeleteNumberCases),
                         [](const auto& info) { return caseName(info.param.name); });

class DeleteFormNotAllowed : public testing::TestWithParam<const char*> {};

TEST_P(DeleteFormNotAllowed, PrintsUnknownDeleteCommand) {
    ScanResult r = scanArgs({std::string("--") + GetParam(), "--xyz"});
    EXPECT_EQ(r.printed, std::string("Unknown delete command ") + GetParam() + "\nUnknown delete command xyz\n");
    EXPECT_FALSE(r.update.anyChangeRequested());
}

INSTANTIATE_TEST_SUITE_P(Options, DeleteFormNotAllowed,
                         testing::Values("cf", "im", "ir", "ly", "es", "vn", "pcon", "pcof", "tagtype", "xyz", "d",
                                         "title", ""),
                         [](const auto& info) { return info.param[0] ? caseName(info.param) : std::string("Empty"); });

TEST(Options, DeleteFormIgnoresCase) {
    ScanResult r = scanArgs({"--TI", "--G"});
    EXPECT_EQ(r.update.title, Text(""));
    EXPECT_EQ(r.update.v1Genre, 12);
}

TEST(Options, DeleteUniqueFileIdEmptiesOwnerAndId) {
    ScanResult r = scanArgs({"--uf"});
    EXPECT_EQ(r.update.ufidOwner, Text(""));
    EXPECT_EQ(r.update.ufidId, Text(""));
}

TEST(Options, CompilationCountsEveryForm) {
    EXPECT_EQ(scanArgs({}).update.compilation, -1);
    EXPECT_EQ(scanArgs({"-cl"}).update.compilation, 0);
    EXPECT_EQ(scanArgs({"-cl", "--cl"}).update.compilation, 1);
    EXPECT_EQ(scanArgs({"--cl", "-CL", "/cl"}).update.compilation, 2);
}

// ---- number options ----

struct NumberCase {
    const char* name;
    int TagUpdate::*field;
};

class NumberOptionStores : public testing::TestWithParam<NumberCase> {};

TEST_P(NumberOptionStores, LeadingDigitsAreConverted) {
    const NumberCase& c = GetParam();
    EXPECT_EQ(scanArgs({std::string("-") + c.name, "2"}).update.*c.field, 2);
    EXPECT_EQ(scanArgs({std::string("-") + c.name, "1abc"}).update.*c.field, 1);
    EXPECT_EQ(scanArgs({std::string("-") + c.name, "0"}).update.*c.field, 0);
}

TEST_P(NumberOptionStores, MissingValueMakesTheOptionUnknown) {
    const NumberCase& c = GetParam();
    ScanResult r = scanArgs({std::string("-") + c.name});
    EXPECT_EQ(r.printed, std::string("Unknown command ") + c.name + "\n");
    EXPECT_EQ(r.update.*c.field, c.field == &TagUpdate::tagType ? 0 : -1);
}

TEST_P(NumberOptionStores, DashValueMakesTheOptionUnknown) {
    const NumberCase& c = GetParam();
    ScanResult r = scanArgs({std::string("-") + c.name, "-5"});
    EXPECT_EQ(r.printed, std::string("Unknown command ") + c.name + "\nUnknown command 5\n");
}

const NumberCase NumberCases[] = {
    {"tr", &TagUpdate::trackNumber}, {"ts", &TagUpdate::trackCount}, {"sn", &TagUpdate::setNumber},
    {"ss", &TagUpdate::setCount},    {"g", &TagUpdate::v1Genre},     {"tagtype", &TagUpdate::tagType},
};

INSTANTIATE_TEST_SUITE_P(Options, NumberOptionStores, testing::ValuesIn(NumberCases),
                         [](const auto& info) { return caseName(info.param.name); });

TEST(Options, OutOfRangeNumbersAreHandedOnUnchanged) {
    EXPECT_EQ(scanArgs({"-g", "300"}).update.v1Genre, 300);
    EXPECT_EQ(scanArgs({"-n", "1000"}).update.v1TrackNumber, 1000);
    EXPECT_EQ(scanArgs({"-tr", "70000"}).update.trackNumber, 70000);
}

TEST(Options, HugeNumberDoesNotOverflow) {
    EXPECT_EQ(scanArgs({"-tr", "99999999999999999999"}).update.trackNumber, 2147483647);
}

TEST(Options, TagTypeAboveTwoIsTakenAsTwo) {
    EXPECT_EQ(scanArgs({"-tagtype", "1"}).update.tagType, 1);
    EXPECT_EQ(scanArgs({"-tagtype", "2"}).update.tagType, 2);
    EXPECT_EQ(scanArgs({"-tagtype", "3"}).update.tagType, 2);
    EXPECT_EQ(scanArgs({"-tagtype", "250"}).update.tagType, 2);
}

TEST(Options, NumberOptionsKeptAsTextStoreTheirDigits) {
    EXPECT_EQ(scanArgs({"-y", "1999"}).update.v1Year, Text("1999"));
    EXPECT_EQ(scanArgs({"-y", "0042x"}).update.v1Year, Text("0042"));
    EXPECT_EQ(scanArgs({"-bm", "120"}).update.beatsPerMinute, Text("120"));
    EXPECT_FALSE(scanArgs({"-bm", "fast"}).update.beatsPerMinute.has_value());
    EXPECT_EQ(scanArgs({"-bm"}).printed, "Unknown command bm\n");
}

TEST_F(ScanInFolder, NonDigitValueIsScannedAsATrack) {
    touch("abc");
    ScanResult r = scanArgs({"-tr", "abc", "-y", "abc"});
    EXPECT_EQ(r.update.trackNumber, -1);
    EXPECT_FALSE(r.update.v1Year.has_value());
    EXPECT_EQ(r.update.tracks, (std::vector<std::string>{"./abc", "./abc"}));
    EXPECT_EQ(r.printed, "");
}

TEST_F(ScanInFolder, TrackNumberOfVersionOneIgnoresBadValues) {
    touch("abc");
    ScanResult r = scanArgs({"-n", "abc", "-n", "-ti", "x", "-n"});
    EXPECT_EQ(r.update.v1TrackNumber, -1);
    EXPECT_EQ(r.update.title, Text("x"));
    EXPECT_EQ(r.update.tracks, (std::vector<std::string>{"./abc"}));
    // Neither the dash value nor the missing one is reported for -n.
    EXPECT_EQ(r.printed, "");
    EXPECT_EQ(scanArgs({"-n", "7"}).update.v1TrackNumber, 7);
}

TEST(Options, TrackNumberOfVersionOneLeavesSlashValueToTheScan) {
    ScanResult r = scanArgs({"-n", "/x"});
    EXPECT_EQ(r.update.v1TrackNumber, -1);
    EXPECT_EQ(r.printed, "Unknown command x\n");
}

// ---- special options ----

struct AdvisoryCase {
    const char* value;
    int stored;
};

class AdvisoryFirstCharacter : public testing::TestWithParam<AdvisoryCase> {};

TEST_P(AdvisoryFirstCharacter, OnlyTheFirstCharacterCounts) {
    ScanResult r = scanArgs({"-ad", GetParam().value});
    EXPECT_EQ(r.update.advisory, GetParam().stored);
    // The value is consumed whatever it is.
    EXPECT_TRUE(r.update.tracks.empty());
    EXPECT_EQ(r.printed, "");
}

INSTANTIATE_TEST_SUITE_P(Options, AdvisoryFirstCharacter,
                         testing::Values(AdvisoryCase{"1", 1}, AdvisoryCase{"2", 2}, AdvisoryCase{"12", 1},
                                         AdvisoryCase{"21", 2}, AdvisoryCase{"0", 0}, AdvisoryCase{"3", 0},
                                         AdvisoryCase{"explicit", 0}, AdvisoryCase{"", 0}),
                         [](const auto& info) {
                             return info.param.value[0] ? caseName(info.param.value) : std::string("Empty");
                         });

TEST(Options, AdvisoryNeedsAValue) {
    ScanResult r = scanArgs({"-ad"});
    EXPECT_EQ(r.update.advisory, -1);
    EXPECT_EQ(r.printed, "Unknown command ad\n");
}

TEST(Options, UniqueFileIdTakesTwoValues) {
    ScanResult r = scanArgs({"-uf", "http://example.org", "id-1"});
    EXPECT_EQ(r.update.ufidOwner, Text("http://example.org"));
    EXPECT_EQ(r.update.ufidId, Text("id-1"));
    EXPECT_EQ(r.printed, "");
}

TEST(Options, UniqueFileIdWithOneValueIsUnknown) {
    ScanResult r = scanArgs({"-uf", "owner", "-ti", "x"});
    EXPECT_FALSE(r.update.ufidOwner.has_value());
    EXPECT_FALSE(r.update.ufidId.has_value());
    EXPECT_EQ(r.update.title, Text("x"));
    EXPECT_EQ(r.printed, "Unknown command uf\n");
    EXPECT_EQ(scanArgs({"-uf", "owner"}).printed, "Unknown command uf\n");
}

struct WriteVersionCase {
    const char* value;
    int stored;
};

class WriteVersion : public testing::TestWithParam<WriteVersionCase> {};

TEST_P(WriteVersion, ValueIsConsumed) {
    ScanResult r = scanArgs({"-vn", GetParam().value, "-ti", "x"});
    EXPECT_EQ(r.update.writeVersion, GetParam().stored);
    EXPECT_EQ(r.update.title, Text("x"));
    EXPECT_TRUE(r.update.tracks.empty());
    EXPECT_EQ(r.printed, "");
}

INSTANTIATE_TEST_SUITE_P(Options, WriteVersion,
                         testing::Values(WriteVersionCase{"2.3", 3}, WriteVersionCase{"2.4", 4},
                                         WriteVersionCase{"2.2", 0}, WriteVersionCase{"2.40", 0},
                                         WriteVersionCase{"4", 0}, WriteVersionCase{"abc", 0}),
                         [](const auto& info) { return caseName(info.param.value); });

TEST(Options, PodcastMark) {
    EXPECT_EQ(scanArgs({}).update.podcastMark, -1);
    EXPECT_EQ(scanArgs({"-pcon"}).update.podcastMark, 1);
    EXPECT_EQ(scanArgs({"-pcof"}).update.podcastMark, 0);
    EXPECT_EQ(scanArgs({"-pcof", "-pcon"}).update.podcastMark, 1);
}

TEST(Options, PictureOptionsTakeAnyValue) {
    ScanResult added = scanArgs({"-im", "/pictures/front.jpg"});
    EXPECT_EQ(added.update.pictureFile, Text("/pictures/front.jpg"));
    EXPECT_FALSE(added.update.pictureReplaces);
    EXPECT_FALSE(added.update.removeImages);
    EXPECT_EQ(added.printed, "");

    ScanResult replaced = scanArgs({"-ir", "-odd name.png"});
    EXPECT_EQ(replaced.update.pictureFile, Text("-odd name.png"));
    EXPECT_TRUE(replaced.update.pictureReplaces);
    EXPECT_TRUE(replaced.update.removeImages);
    EXPECT_EQ(replaced.printed, "");
}

TEST(Options, LaterPictureReplacesEarlierOne) {
    ScanResult r = scanArgs({"-im", "a.jpg", "-ir", "b.png"});
    EXPECT_EQ(r.update.pictureFile, Text("b.png"));
    EXPECT_TRUE(r.update.pictureReplaces);
    ScanResult back = scanArgs({"-ir", "a.jpg", "-im", "b.png"});
    EXPECT_EQ(back.update.pictureFile, Text("b.png"));
    EXPECT_FALSE(back.update.pictureReplaces);
    // The images were already marked for removal by -ir.
    EXPECT_TRUE(back.update.removeImages);
}

TEST(Options, PictureAndOutputNeedAValue) {
    EXPECT_EQ(scanArgs({"-im"}).printed, "Unknown command im\n");
    EXPECT_EQ(scanArgs({"-ir"}).printed, "Unknown command ir\n");
    EXPECT_EQ(scanArgs({"-out"}).printed, "Unknown command out\n");
}

TEST(Options, OutputTakesAnAbsolutePath) {
    ScanResult r = scanArgs({"-out", "/tmp/copy.mp3"});
    EXPECT_EQ(r.update.outputFile, Text("/tmp/copy.mp3"));
    EXPECT_EQ(r.printed, "");
    EXPECT_TRUE(r.update.tracks.empty());
}

TEST(Options, VerboseRaisesTheLogLevelAndCounts) {
    Logger::resetForTests();
    ASSERT_EQ(Logger::maxLevel(), 2u);
    ScanResult r = scanArgs({"-v", "/V"});
    EXPECT_EQ(r.update.verbose, 2);
    EXPECT_TRUE(r.update.verboseOn());
    EXPECT_EQ(Logger::maxLevel(), 3u);
    Logger::resetForTests();
}

// ---- flags ----

struct FlagCase {
    const char* name;
    bool TagUpdate::*field;
};

class FlagOptionSets : public testing::TestWithParam<FlagCase> {};

TEST_P(FlagOptionSets, FlagIsSetAndNothingIsConsumed) {
    const FlagCase& c = GetParam();
    ScanResult before = scanArgs({"-ti", "x"});
    EXPECT_FALSE(before.update.*c.field);
    ScanResult r = scanArgs({std::string("-") + c.name, "-ti", "x"});
    EXPECT_TRUE(r.update.*c.field);
    EXPECT_EQ(r.update.title, Text("x"));
    EXPECT_EQ(r.printed, "");
}

const FlagCase FlagCases[] = {
    {"mlen", &TagUpdate::printLength},
    {"mbtr", &TagUpdate::printBitrate},
    {"mfrq", &TagUpdate::printFrequency},
    {"mchn", &TagUpdate::printChannels},
    {"d", &TagUpdate::showTags},
    {"m", &TagUpdate::showFileInfo},
    {"imd", &TagUpdate::showImages},
    {"folder", &TagUpdate::folder},
    {"rmape", &TagUpdate::removeApe},
    {"rm1", &TagUpdate::removeV1},
    {"rm2", &TagUpdate::removeV2},
    {"rim", &TagUpdate::removeImages},
    {"rly", &TagUpdate::removeLyrics},
    {"kd", &TagUpdate::keepDates},
    {"trim", &TagUpdate::trim},
    {"iac", &TagUpdate::ignoreAiffCorruption},
    {"v1v2", &TagUpdate::copyV1ToV2},
    {"v2v1", &TagUpdate::copyV2ToV1},
    {"e", &TagUpdate::stopOnError},
    {"trash", &TagUpdate::trash},
    {"ver", &TagUpdate::versionRequested},
    {"h", &TagUpdate::helpRequested},
    {"?", &TagUpdate::helpRequested},
};

INSTANTIATE_TEST_SUITE_P(Options, FlagOptionSets, testing::ValuesIn(FlagCases),
                         [](const auto& info) { return caseName(info.param.name); });

TEST(Options, NoArgumentsAsksForHelp) {
    EXPECT_TRUE(scanArgs({}).update.helpRequested);
    EXPECT_FALSE(scanArgs({"-d"}).update.helpRequested);
}

// ---- names ----

TEST(Options, NamesIgnoreCaseAndSlashOpensOptions) {
    for (const char* form : {"-ti", "-TI", "-Ti", "/ti", "/TI"}) {
        ScanResult r = scanArgs({form, "x"});
        EXPECT_EQ(r.update.title, Text("x")) << form;
        EXPECT_EQ(r.printed, "") << form;
    }
}

TEST(Options, NamesAreWholeWords) {
    ScanResult r = scanArgs({"-tit", "x"});
    EXPECT_FALSE(r.update.title.has_value());
    EXPECT_EQ(r.printed, "Unknown command tit\n");
    EXPECT_EQ(scanArgs({"-vers"}).printed, "Unknown command vers\n");
}

TEST(Options, NumberAsLastArgumentIsUnknown) { EXPECT_EQ(scanArgs({"-tr"}).printed, "Unknown command tr\n"); }

TEST(Options, DashValueLeavesTheNextOptionToTheScan) {
    ScanResult r = scanArgs({"-ti", "-ar", "Artist"});
    EXPECT_FALSE(r.update.title.has_value());
    EXPECT_EQ(r.update.artist, Text("Artist"));
    EXPECT_EQ(r.printed, "Unknown command ti\n");
}

struct UnknownCase {
    const char* argument;
    const char* printed;
};

class UnknownArgument : public testing::TestWithParam<UnknownCase> {};

TEST_P(UnknownArgument, PrintsTheRightMessage) {
    ScanResult r = scanArgs({GetParam().argument});
    EXPECT_EQ(r.printed, GetParam().printed);
    EXPECT_TRUE(r.update.tracks.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Options, UnknownArgument,
    testing::Values(UnknownCase{"/nosuchoption", "Unknown command nosuchoption\n"},
                    UnknownCase{"/missing/song.mp3", "File not found /missing/song.mp3\n"},
                    UnknownCase{"/missing/SONG.MP3", "File not found /missing/SONG.MP3\n"},
                    UnknownCase{"/missing/song.aif", "File not found /missing/song.aif\n"},
                    UnknownCase{"/missing/song.tdf", "File not found /missing/song.tdf\n"},
                    // Four characters are compared, so a longer extension starting alike counts.
                    UnknownCase{"/missing/song.mp3x", "File not found /missing/song.mp3x\n"},
                    UnknownCase{"/missing/song.mp", "Unknown command missing/song.mp\n"},
                    UnknownCase{"/missing/song.wav", "Unknown command missing/song.wav\n"},
                    UnknownCase{"/missing.mp3/song", "File not found /missing.mp3/song\n"},
                    UnknownCase{"-nosuch.mp3", "File not found -nosuch.mp3\n"},
                    UnknownCase{"-", "Unknown command \n"}),
    [](const auto& info) { return "Case" + std::to_string(info.index); });

TEST(Options, AbsolutePathOfAReadableFileIsATrack) {
    TempDir dir;
    std::string path = dir.file("song.mp3");
    support::writeText(path, "data");
    ScanResult r = scanArgs({path, "-d"});
    EXPECT_EQ(r.update.tracks, std::vector<std::string>{path});
    EXPECT_TRUE(r.update.showTags);
    EXPECT_EQ(r.printed, "");
}

TEST(Options, AbsolutePathThatNamesAnOptionIsTheOption) {
    // "/d" is the display option even when such a file would exist.
    ScanResult r = scanArgs({"/d"});
    EXPECT_TRUE(r.update.showTags);
    EXPECT_TRUE(r.update.tracks.empty());
}

TEST_F(ScanInFolder, TracksKeepCommandLineOrderAndLaterOptionsStillApply) {
    touch("b.mp3");
    touch("a.mp3");
    ScanResult r = scanArgs({"b.mp3", "-ti", "x", "a.mp3", "-d"});
    EXPECT_EQ(r.update.tracks, (std::vector<std::string>{"./b.mp3", "./a.mp3"}));
    EXPECT_EQ(r.update.title, Text("x"));
    EXPECT_TRUE(r.update.showTags);
}

TEST_F(ScanInFolder, MissingFolderOfATrackIsReported) {
    ScanResult r = scanArgs({"nosuchfolder/a.mp3"});
    EXPECT_EQ(r.printed, "Failed to find the file using 'nosuchfolder/a.mp3'\n");
    EXPECT_TRUE(r.update.tracks.empty());
}

// ---- optional words ----

TEST_F(ScanInFolder, OptionalWordsAreTakenOnlyWhenTheyMatch) {
    ScanResult r = scanArgs({"-m", "NOVBR", "-check", "fix", "-rename", "UTF8", "-imex", "pics", "all", "-xml",
                             "out.xml", "noimg"});
    EXPECT_TRUE(r.update.showFileInfo);
    EXPECT_TRUE(r.update.skipVbrScan);
    EXPECT_EQ(r.update.check, 2);
    EXPECT_EQ(r.update.rename, 2);
    EXPECT_FALSE(r.update.renameFormat.has_value());
    EXPECT_EQ(r.update.imageExportFile, Text("pics"));
    EXPECT_TRUE(r.update.imageExportAll);
    EXPECT_EQ(r.update.xmlFile, Text("out.xml"));
    EXPECT_TRUE(r.update.xmlNoImages);
    EXPECT_TRUE(r.update.tracks.empty());
    EXPECT_EQ(r.printed, "");
}

TEST_F(ScanInFolder, OtherWordsAfterOptionalOnesAreTracks) {
    for (const char* word : {"novbr2", "fixed", "all", "noimg"}) touch(word);
    ScanResult r = scanArgs({"-m", "novbr2", "-check", "fixed", "-imex", "pics", "noimg", "-xml", "out.xml", "all"});
    EXPECT_TRUE(r.update.showFileInfo);
    EXPECT_FALSE(r.update.skipVbrScan);
    EXPECT_EQ(r.update.check, 1);
    EXPECT_FALSE(r.update.imageExportAll);
    EXPECT_FALSE(r.update.xmlNoImages);
    EXPECT_EQ(r.update.tracks, (std::vector<std::string>{"./novbr2", "./fixed", "./noimg", "./all"}));
}

TEST(Options, CheckAndRenameWithoutWords) {
    ScanResult r = scanArgs({"-check", "-rename"});
    EXPECT_EQ(r.update.check, 1);
    EXPECT_EQ(r.update.rename, 1);
    EXPECT_FALSE(r.update.renameFormat.has_value());
}

TEST_F(ScanInFolder, RenameTakesTheNextWordAsItsFormat) {
    touch("song.mp3");
    ScanResult r = scanArgs({"-rename", "song.mp3"});
    EXPECT_EQ(r.update.renameFormat, Text("song.mp3"));
    EXPECT_TRUE(r.update.tracks.empty());

    ScanResult utf8 = scanArgs({"-rename", "utf8", "%A - %T", "song.mp3"});
    EXPECT_EQ(utf8.update.rename, 2);
    EXPECT_EQ(utf8.update.renameFormat, Text("%A - %T"));
    EXPECT_EQ(utf8.update.tracks, std::vector<std::string>{"./song.mp3"});

    ScanResult option = scanArgs({"-rename", "-d", "song.mp3"});
    EXPECT_FALSE(option.update.renameFormat.has_value());
    EXPECT_TRUE(option.update.showTags);
    EXPECT_EQ(option.update.tracks, std::vector<std::string>{"./song.mp3"});
}

// ---- export versions ----

struct ExportVersionCase {
    const char* label;
    std::vector<std::string> args;
    int csvVersion;
    int xmlVersion;
    bool noImages;
    std::vector<std::string> tracks;
};

class ExportVersion : public ScanInFolder, public testing::WithParamInterface<ExportVersionCase> {};

TEST_P(ExportVersion, VersionFollowsTheFile) {
    for (const char* name : {"1.mp3", "v", "x", "noimg", "2"}) touch(name);
    const ExportVersionCase& c = GetParam();
    ScanResult r = scanArgs(c.args);
    EXPECT_EQ(r.update.csvVersion, c.csvVersion);
    EXPECT_EQ(r.update.xmlVersion, c.xmlVersion);
    EXPECT_EQ(r.update.xmlNoImages, c.noImages);
    EXPECT_EQ(r.update.tracks, c.tracks);
    EXPECT_EQ(r.printed, "");
}

INSTANTIATE_TEST_SUITE_P(
    Options, ExportVersion,
    testing::Values(
        ExportVersionCase{"CsvNone", {"-csv", "t.csv"}, 0, 0, false, {}},
        ExportVersionCase{"CsvBareNumber", {"-csv", "t.csv", "1"}, 1, 0, false, {}},
        ExportVersionCase{"CsvWordAndNumber", {"-csv", "t.csv", "v", "1"}, 1, 0, false, {}},
        ExportVersionCase{"CsvJoined", {"-csv", "t.csv", "v1"}, 1, 0, false, {}},
        ExportVersionCase{"CsvJoinedUpper", {"-csv", "t.csv", "V2"}, 2, 0, false, {}},
        ExportVersionCase{"CsvTrackNotTaken", {"-csv", "t.csv", "1.mp3"}, 0, 0, false, {"./1.mp3"}},
        ExportVersionCase{"CsvWordAlone", {"-csv", "t.csv", "v", "x"}, 0, 0, false, {"./v", "./x"}},
        ExportVersionCase{"CsvJoinedNotNumber", {"-csv", "t.csv", "v1x"}, 0, 0, false, {}},
        ExportVersionCase{"XmlBareNumber", {"-xml", "t.xml", "1"}, 0, 1, false, {}},
        ExportVersionCase{"XmlNoImagesThenVersion", {"-xml", "t.xml", "noimg", "v", "1"}, 0, 1, true, {}},
        ExportVersionCase{"XmlNoImagesThenJoined", {"-xml", "t.xml", "NOIMG", "v1"}, 0, 1, true, {}},
        ExportVersionCase{"XmlVersionBeforeNoImages", {"-xml", "t.xml", "1", "noimg"}, 0, 1, false, {"./noimg"}},
        ExportVersionCase{"BothExports", {"-csv", "t.csv", "2", "-xml", "t.xml", "v", "1"}, 2, 1, false, {}}),
    [](const auto& info) { return std::string(info.param.label); });

// ---- comments ----

struct EscapeCase {
    const char* label;
    std::string input;
    std::string expected;
};

class CommentEscapes : public testing::TestWithParam<EscapeCase> {};

TEST_P(CommentEscapes, AreResolved) {
    EXPECT_EQ(resolveCommentEscapes(GetParam().input), GetParam().expected);
    ScanResult r = scanArgs({"-co", GetParam().input});
    EXPECT_EQ(r.update.comment, Text(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(Options, CommentEscapes,
                         testing::Values(EscapeCase{"Plain", "plain text", "plain text"},
                                         EscapeCase{"Mixed", "a\\\\b\\tc\\q", "a\\b\tc\\q"},
                                         EscapeCase{"LineFeed", "one\\ntwo", "one\ntwo"},
                                         EscapeCase{"Return", "one\\rtwo", "one\rtwo"},
                                         EscapeCase{"TrailingBackslash", "end\\", "end\\"},
                                         EscapeCase{"BackslashThenEscape", "\\\\n", "\\n"},
                                         EscapeCase{"UpperCaseIsNotAnEscape", "\\N\\T", "\\N\\T"},
                                         EscapeCase{"Empty", "", ""}),
                         [](const auto& info) { return std::string(info.param.label); });

TEST_F(ScanInFolder, CommentsFileReplacesTheComment) {
    support::writeText(dir_.file("notes.txt"), "From a file\\n");
    ScanResult r = scanArgs({"-co", "typed", "-cf", "notes.txt"});
    // File texts get no escape handling.
    EXPECT_EQ(r.update.comment, Text("From a file\\n"));
    EXPECT_EQ(r.printed, "");
}

TEST_F(ScanInFolder, LyricsFileReplacesTheLyrics) {
    support::writeText(dir_.file("lyrics.txt"), "la la");
    ScanResult r = scanArgs({"-ls", "typed", "-ly", "lyrics.txt"});
    EXPECT_EQ(r.update.lyrics, Text("la la"));
    EXPECT_EQ(r.printed, "");
}

TEST_F(ScanInFolder, UnreadableCommentsFileIsReported) {
    ScanResult r = scanArgs({"-cf", "missing.txt"});
    EXPECT_FALSE(r.update.comment.has_value());
    EXPECT_EQ(r.printed, "Failed to open the comments file 'missing.txt' (2)\n");
    ScanResult lyrics = scanArgs({"-ly", "missing.txt"});
    EXPECT_FALSE(lyrics.update.lyrics.has_value());
    EXPECT_EQ(lyrics.printed, "Failed to open the lyrics file 'missing.txt' (2)\n");
}

TEST(Options, FileValuesCannotBeAbsolutePaths) {
    // Only -out, -im and -ir take a value that opens an option.
    ScanResult r = scanArgs({"-cf", "/notes.txt"});
    EXPECT_FALSE(r.update.comment.has_value());
    EXPECT_EQ(r.printed, "Unknown command cf\nUnknown command notes.txt\n");
}

// ---- what counts as a change ----

TEST(Options, ModifiersAloneAreNoChange) {
    TagUpdate modifiers = scanArgs({"-rmape", "-kd", "-trim", "-trash", "-tagtype", "1", "-vn", "2.4", "-out", "o.mp3"})
                              .update;
    EXPECT_FALSE(modifiers.anyChangeRequested());
    EXPECT_FALSE(modifiers.anyMpegValueRequested());
}

TEST(Options, ChangesAreRecognised) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"-ti", "x"}, {"-t", "x"}, {"-rm1"}, {"-rm2"}, {"-v1v2"}, {"-v2v1"},
          {"-import", "a.tdf"}, {"-im", "a.jpg"}, {"-pcof"}, {"-rim"}, {"-rly"}, {"--ti"}, {"-cl"}, {"-n", "1"},
          {"-uf", "o", "i"}}) {
        EXPECT_TRUE(scanArgs(args).update.anyChangeRequested()) << args[0];
    }
    EXPECT_TRUE(scanArgs({"-t", "x"}).update.anyV1FieldGiven());
    EXPECT_FALSE(scanArgs({"-t", "x"}).update.anyV2FieldGiven());
    EXPECT_TRUE(scanArgs({"-pcid", "x"}).update.anyV2FieldGiven());
    EXPECT_FALSE(scanArgs({"-pcid", "x"}).update.anyV1FieldGiven());
    EXPECT_TRUE(scanArgs({"-mchn"}).update.anyMpegValueRequested());
}

}  // namespace
}  // namespace tagwick
