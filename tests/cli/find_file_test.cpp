#include "cli/find_file.h"

#include <dirent.h>
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/cli_runner.h"

namespace tagwick {
namespace {

using support::TempDir;
using Paths = std::vector<std::string>;

struct FindResult {
    Paths tracks;
    std::string printed;
};

FindResult findAll(FileFinder& finder, const std::vector<std::string>& arguments) {
    FindResult result;
    testing::internal::CaptureStdout();
    for (const std::string& argument : arguments) finder.find(argument.c_str(), result.tracks);
    std::fflush(stdout);
    result.printed = testing::internal::GetCapturedStdout();
    return result;
}

FindResult findOne(const std::string& argument) {
    FileFinder finder;
    return findAll(finder, {argument});
}

// The rule as written, by listing the folder: the oracle for the direct lookup of plain names.
Paths listedMatches(const std::string& folder, const std::string& name) {
    Paths out;
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) return out;
    std::string pattern;
    for (char c : name) pattern += c == '[' ? std::string("[[]") : c == ']' ? std::string("[]]") : std::string(1, c);
    while (const dirent* entry = readdir(dir)) {
        if (fnmatch(pattern.c_str(), entry->d_name, 0) == 0) out.push_back(folder + "/" + entry->d_name);
    }
    closedir(dir);
    return out;
}

// Entry names of a folder in listing order, filtered by a predicate written without fnmatch.
template <typename Keep>
Paths listedWhere(const std::string& folder, Keep keep) {
    Paths out;
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) return out;
    while (const dirent* entry = readdir(dir)) {
        if (keep(std::string(entry->d_name))) out.push_back(folder + "/" + entry->d_name);
    }
    closedir(dir);
    return out;
}

struct BracketCase {
    const char* name;
    const char* escaped;
};

class EscapeBrackets : public testing::TestWithParam<BracketCase> {};

TEST_P(EscapeBrackets, EachBracketBecomesAClass) { EXPECT_EQ(escapeBrackets(GetParam().name), GetParam().escaped); }

INSTANTIATE_TEST_SUITE_P(FindFile, EscapeBrackets,
                         testing::Values(BracketCase{"plain.mp3", "plain.mp3"},
                                         BracketCase{"Song [Live].mp3", "Song [[]Live[]].mp3"},
                                         BracketCase{"]][[", "[]][]][[][[]"}, BracketCase{"*?.mp3", "*?.mp3"},
                                         BracketCase{"", ""}),
                         [](const auto& info) { return "Case" + std::to_string(info.index); });

TEST(FindFile, LiteralNamesHaveNoPatternCharacters) {
    EXPECT_TRUE(isLiteralName("song.mp3"));
    EXPECT_TRUE(isLiteralName("Song [Live].mp3"));
    EXPECT_TRUE(isLiteralName("."));
    EXPECT_FALSE(isLiteralName("*.mp3"));
    EXPECT_FALSE(isLiteralName("song?.mp3"));
    EXPECT_FALSE(isLiteralName("song\\.mp3"));
    EXPECT_FALSE(isLiteralName("sub/"));
}

TEST(FindFile, PlainNameFindsItsFile) {
    TempDir dir;
    support::writeText(dir.file("song.mp3"), "x");
    FindResult r = findOne(dir.file("song.mp3"));
    EXPECT_EQ(r.tracks, Paths{dir.file("song.mp3")});
    EXPECT_EQ(r.printed, "");
}

TEST(FindFile, NameInTheCurrentFolderGetsDotSlash) {
    TempDir dir;
    support::writeText(dir.file("song.mp3"), "x");
    char previous[4096];
    ASSERT_NE(getcwd(previous, sizeof previous), nullptr);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    FindResult plain = findOne("song.mp3");
    FindResult pattern = findOne("*.mp3");
    ASSERT_EQ(chdir(previous), 0);
    EXPECT_EQ(plain.tracks, Paths{"./song.mp3"});
    EXPECT_EQ(pattern.tracks, Paths{"./song.mp3"});
}

TEST(FindFile, BracketsInANameMatchThemselves) {
    TempDir dir;
    support::writeText(dir.file("Song [Live].mp3"), "x");
    // Unescaped, "[Live]" would be a class matching this one-letter name.
    support::writeText(dir.file("Song L.mp3"), "x");
    EXPECT_EQ(findOne(dir.file("Song [Live].mp3")).tracks, Paths{dir.file("Song [Live].mp3")});
    EXPECT_EQ(findOne(dir.file("Song [Live]*")).tracks, Paths{dir.file("Song [Live].mp3")});
    EXPECT_EQ(findOne(dir.file("Song [L].mp3")).tracks, Paths{});
}

TEST(FindFile, PatternAddsEveryMatchInListingOrder) {
    TempDir dir;
    for (const char* name : {"b.mp3", "a.mp3", "c.txt", "d.MP3", "ee.mp3"}) support::writeText(dir.file(name), "x");
    FindResult r = findOne(dir.file("*.mp3"));
    Paths expected = listedWhere(dir.path(), [](const std::string& n) { return n.ends_with(".mp3"); });
    ASSERT_EQ(expected.size(), 3u);
    EXPECT_EQ(r.tracks, expected);
    EXPECT_EQ(r.printed, "");

    Paths oneLetter = listedWhere(dir.path(), [](const std::string& n) { return n.size() == 5 && n.ends_with(".mp3"); });
    EXPECT_EQ(findOne(dir.file("?.mp3")).tracks, oneLetter);
}

TEST(FindFile, NameThatMatchesNothingAddsNothingSilently) {
    TempDir dir;
    EXPECT_EQ(findOne(dir.file("missing.mp3")).tracks, Paths{});
    EXPECT_EQ(findOne(dir.file("missing.mp3")).printed, "");
    EXPECT_EQ(findOne(dir.file("*.nothing")).printed, "");
}

TEST(FindFile, EmptyNameAddsNothing) {
    FindResult r = findOne("");
    EXPECT_TRUE(r.tracks.empty());
    EXPECT_EQ(r.printed, "");
}

TEST(FindFile, MissingFolderIsReported) {
    for (const char* argument : {"/nonexistent-tagwick-folder/song.mp3", "/nonexistent-tagwick-folder/*.mp3"}) {
        FindResult r = findOne(argument);
        EXPECT_TRUE(r.tracks.empty());
        EXPECT_EQ(r.printed, std::string("Failed to find the file using '") + argument + "'\n");
    }
}

TEST(FindFile, FileUsedAsFolderIsReported) {
    TempDir dir;
    support::writeText(dir.file("plain"), "x");
    std::string argument = dir.file("plain") + "/song.mp3";
    EXPECT_EQ(findOne(argument).printed, "Failed to find the file using '" + argument + "'\n");
}

TEST(FindFile, UnopenableFolderIsReportedForEveryArgument) {
    FileFinder finder;
    FindResult r = findAll(finder, {"/nonexistent-tagwick-folder/a.mp3", "/nonexistent-tagwick-folder/b.mp3"});
    EXPECT_EQ(r.printed,
              "Failed to find the file using '/nonexistent-tagwick-folder/a.mp3'\n"
              "Failed to find the file using '/nonexistent-tagwick-folder/b.mp3'\n");
    EXPECT_EQ(finder.folderOpens(), 1u);
}

TEST(FindFile, PlainNamesDoNotListTheFolderEachTime) {
    TempDir dir;
    std::vector<std::string> arguments;
    Paths expected;
    for (int i = 0; i < 1000; ++i) {
        std::string name = "track" + std::to_string(i) + ".mp3";
        support::writeText(dir.file(name), "x");
        arguments.push_back(dir.file(name));
        expected.push_back(dir.file(name));
    }
    FileFinder finder;
    FindResult r = findAll(finder, arguments);
    EXPECT_EQ(r.tracks, expected);
    EXPECT_EQ(finder.folderOpens(), 1u);
}

TEST(FindFile, PatternsStillListTheFolder) {
    TempDir dir;
    support::writeText(dir.file("a.mp3"), "x");
    FileFinder finder;
    FindResult r = findAll(finder, {dir.file("*.mp3"), dir.file("*.mp3")});
    EXPECT_EQ(r.tracks, (Paths{dir.file("a.mp3"), dir.file("a.mp3")}));
    EXPECT_EQ(finder.folderOpens(), 2u);
}

// The direct lookup of a plain name gives what listing the folder gives, for every kind of entry.
class PlainLookupMatchesListing : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        support::writeText(dir_.file("song.mp3"), "x");
        support::writeText(dir_.file("Song [Live].mp3"), "x");
        support::writeText(dir_.file("with space.mp3"), "x");
        support::writeText(dir_.file(".hidden.mp3"), "x");
        ASSERT_EQ(mkdir(dir_.file("sub").c_str(), 0755), 0);
        ASSERT_EQ(symlink("nowhere.mp3", dir_.file("dangling.mp3").c_str()), 0);
    }
    TempDir dir_;
};

TEST_P(PlainLookupMatchesListing, SameTracks) {
    std::string name = GetParam();
    ASSERT_TRUE(isLiteralName(name));
    FindResult r = findOne(dir_.file(name));
    EXPECT_EQ(r.tracks, listedMatches(dir_.path(), name));
    EXPECT_EQ(r.printed, "");
}

INSTANTIATE_TEST_SUITE_P(FindFile, PlainLookupMatchesListing,
                         testing::Values("song.mp3", "Song [Live].mp3", "with space.mp3", ".hidden.mp3", "sub",
                                         "dangling.mp3", "missing.mp3", "SONG.MP3", ".", "..", "Song L.mp3"),
                         [](const auto& info) { return "Case" + std::to_string(info.index); });

TEST(FindFile, TrailingSeparatorMatchesNoEntry) {
    TempDir dir;
    ASSERT_EQ(mkdir(dir.file("sub").c_str(), 0755), 0);
    // The name part keeps the separator, and no entry name holds one.
    FindResult r = findOne(dir.file("sub/"));
    EXPECT_TRUE(r.tracks.empty());
    EXPECT_EQ(r.printed, "");
}

}  // namespace
}  // namespace tagwick
