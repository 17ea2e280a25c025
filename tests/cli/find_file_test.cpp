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

// The entries of a folder, in listing order, whose names match `pattern` as given.
Paths listed(const std::string& folder, const std::string& pattern) {
    Paths out;
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) return out;
    while (const dirent* entry = readdir(dir))
        if (fnmatch(pattern.c_str(), entry->d_name, 0) == 0) out.push_back(folder + "/" + entry->d_name);
    closedir(dir);
    return out;
}

TEST(FindFile, BracketsInANameMatchThemselves) {
    EXPECT_EQ(escapeBrackets("]][[*?"), "[]][]][[][[]*?");
    for (const char* name : {"song.mp3", "Song [Live].mp3", "."}) EXPECT_TRUE(isLiteralName(name)) << name;
    for (const char* name : {"*.mp3", "song?.mp3", "song\\.mp3", "sub/"}) EXPECT_FALSE(isLiteralName(name)) << name;
    TempDir dir;
    // Unescaped, "[Live]" would be a class matching the one-letter name.
    for (const char* name : {"Song [Live].mp3", "Song L.mp3"}) support::writeText(dir.file(name), "x");
    EXPECT_EQ(findOne(dir.file("Song [Live].mp3")).tracks, Paths{dir.file("Song [Live].mp3")});
    EXPECT_EQ(findOne(dir.file("Song [Live]*")).tracks, Paths{dir.file("Song [Live].mp3")});
    EXPECT_EQ(findOne(dir.file("Song [L].mp3")).tracks, Paths{});
}

TEST(FindFile, PatternAddsEveryMatchInListingOrder) {
    TempDir dir;
    for (const char* name : {"b.mp3", "a.mp3", "c.txt", "d.MP3", "ee.mp3"}) support::writeText(dir.file(name), "x");
    for (const char* pattern : {"*.mp3", "?.mp3", "*.nothing"}) {
        FindResult r = findOne(dir.file(pattern));
        EXPECT_EQ(r.tracks, listed(dir.path(), pattern)) << pattern;
        EXPECT_EQ(r.printed, "");
    }
    EXPECT_EQ(findOne(dir.file("*.mp3")).tracks.size(), 3u);
}

TEST(FindFile, PlainNamesGiveWhatTheListingGives) {
    TempDir dir;
    for (const char* name : {"song.mp3", ".hidden.mp3"}) support::writeText(dir.file(name), "x");
    ASSERT_EQ(mkdir(dir.file("sub").c_str(), 0755), 0);
    ASSERT_EQ(symlink("nowhere.mp3", dir.file("dangling.mp3").c_str()), 0);
    for (const char* name : {"song.mp3", ".hidden.mp3", "sub", "dangling.mp3", "missing.mp3", "SONG.MP3", ".", ".."}) {
        FindResult r = findOne(dir.file(name));
        EXPECT_EQ(r.tracks, listed(dir.path(), name)) << name;
        EXPECT_EQ(r.printed, "") << name;
    }
    // The name part keeps a trailing separator, and no entry name holds one.
    EXPECT_EQ(findOne(dir.file("sub/")).tracks, Paths{});
    EXPECT_EQ(findOne("").tracks, Paths{});
}

TEST(FindFile, UnopenableFolderIsReportedForEveryArgument) {
    TempDir dir;
    support::writeText(dir.file("plain"), "x");
    const std::vector<std::string> arguments = {"/nonexistent-tagwick/a.mp3", "/nonexistent-tagwick/b.mp3",
                                                "/nonexistent-tagwick/*.mp3", dir.file("plain") + "/song.mp3"};
    FileFinder finder;
    FindResult r = findAll(finder, arguments);
    EXPECT_TRUE(r.tracks.empty());
    std::string expected;
    for (const std::string& argument : arguments) expected += "Failed to find the file using '" + argument + "'\n";
    EXPECT_EQ(r.printed, expected);
}

}  // namespace
}  // namespace tagwick
