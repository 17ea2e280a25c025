#include "cli/options.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

#include "base/logger.h"
#include "support/cli_runner.h"
#include "support/tag_builders.h"

namespace tagwick {
namespace {

using Text = TagUpdate::Text;
using Paths = std::vector<std::string>;

// Scans inside a scratch folder, so that track names resolve (as "./name").
class Scan : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(chdir(dir_.path().c_str()), 0);
        Logger::resetForTests();
    }
    void TearDown() override {
        EXPECT_EQ(chdir(previous_.c_str()), 0);
        Logger::resetForTests();
    }
    // The update, with what the scan printed in `printed`.
    TagUpdate run(const std::vector<std::string>& args) {
        std::vector<const char*> argv = {"tagwickcli"};
        for (const std::string& a : args) argv.push_back(a.c_str());
        testing::internal::CaptureStdout();
        TagUpdate update = scan(static_cast<int>(argv.size()), argv.data());
        std::fflush(stdout);
        printed = testing::internal::GetCapturedStdout();
        return update;
    }
    void touch(std::initializer_list<const char*> names) {
        for (const char* name : names) support::writeText(dir_.file(name), "x");
    }
    const std::string previous_ = std::filesystem::current_path().string();
    support::TempDir dir_;
    std::string printed;
};

std::string unknown(const std::string& name) { return "Unknown command " + name + "\n"; }

TEST_F(Scan, OptionNamesAreWholeWordsAndValuesNeverOpenAnOption) {
    for (const char* form : {"-ti", "-TI", "/ti", "/Ti"}) EXPECT_EQ(run({form, "x"}).title, Text("x"));
    // Pictures and the output file take any next argument; a later picture replaces an earlier one.
    TagUpdate u = run({"-ir", "/pics/a.png", "-im", "-b.jpg", "-out", "/tmp/copy.mp3"});
    EXPECT_EQ(u.pictureFile, Text("-b.jpg"));
    EXPECT_TRUE(u.removeImages && !u.pictureReplaces);
    EXPECT_EQ(u.outputFile, Text("/tmp/copy.mp3"));
    EXPECT_EQ(printed, "");
}

TEST_F(Scan, DeleteFormsIgnoreCaseAndStoreRemoveValues) {
    for (std::string_view listed : deleteWords()) {  // the list the manual and the completion are checked against
        std::string word(listed);
        for (char& c : word) c = char(std::toupper(static_cast<unsigned char>(c)));
        EXPECT_TRUE(run({"--" + word}).anyChangeRequested()) << word;
        EXPECT_EQ(printed, "") << word;
    }
    for (std::string word : {"cf", "im", "ir", "ly", "es", "vn", "pcon", "pcof", "v", "xyz"}) {
        run({"--" + word});
        EXPECT_EQ(printed, "Unknown delete command " + word + "\n");
    }
    TagUpdate u = run({"--tr", "--ti", "--g", "--y"});
    EXPECT_TRUE(u.trackNumber == 0 && u.title == Text("") && u.v1Genre == 12 && u.v1Year == Text(""));
    // "--cl" turns the compilation flag on just as "-cl" does; each one counts.
    EXPECT_EQ(run({"--cl"}).compilation, 0);
    EXPECT_EQ(run({"--cl", "-CL", "/cl"}).compilation, 2);
}

TEST_F(Scan, NumberValuesNeedALeadingDigit) {
    touch({"abc"});
    TagUpdate u = run({"-tr", "abc", "-ts", "12x", "-g", "300", "-y", "0042x", "-bm", "fast"});
    EXPECT_EQ(u.trackNumber, -1);
    EXPECT_EQ(u.tracks, Paths{"./abc"});  // the value is left to the scan
    EXPECT_EQ(u.trackCount, 12);
    EXPECT_EQ(u.v1Genre, 300);  // out-of-range values are handed on
    EXPECT_EQ(u.v1Year, Text("42"));
    EXPECT_FALSE(u.beatsPerMinute.has_value());
    EXPECT_EQ(printed, "");
    run({"-tr", "-5", "-ts"});
    EXPECT_EQ(printed, unknown("tr") + unknown("5") + unknown("ts"));
    EXPECT_EQ(run({"-tagtype", "3"}).tagType, 2);
    // The V1 track number quietly ignores a missing or non-digit value.
    u = run({"-n", "abc", "-n", "-ti", "x", "-n"});
    EXPECT_EQ(u.v1TrackNumber, -1);
    EXPECT_TRUE(u.title == Text("x") && u.tracks == Paths{"./abc"} && printed.empty());
}

TEST_F(Scan, AdvisoryVersionUniqueFileIdentifierAndVerbosity) {
    for (const auto& [value, stored] : {std::pair{"1", 1}, {"21", 2}, {"3", 0}, {"x", 0}}) {
        TagUpdate u = run({"-ad", value, "-vn", value});  // both always consume their value
        EXPECT_TRUE(u.advisory == stored && u.writeVersion == 0 && u.tracks.empty() && printed.empty()) << value;
    }
    EXPECT_EQ(run({"-vn", "2.3"}).writeVersion + run({"-vn", "2.4"}).writeVersion, 7);
    EXPECT_FALSE(run({"-uf", "owner", "-ti", "x"}).ufidOwner.has_value());  // both values are needed
    EXPECT_EQ(printed, unknown("uf"));
    EXPECT_EQ(run({"-pcof", "-pcon"}).podcastMark, 1);
    ASSERT_EQ(Logger::maxLevel(), 2u);
    EXPECT_EQ(run({"-v", "/V"}).verbose, 2);
    EXPECT_EQ(Logger::maxLevel(), 3u);
}

TEST_F(Scan, TrackArgumentsKeepTheirOrderAndMayBePatterns) {
    touch({"Song [Live].mp3", "Song L.mp3", "a.txt"});
    // An absolute path is tried as an option first; brackets in a name match themselves.
    TagUpdate u = run({dir_.file("Song L.mp3"), "-ti", "x", "Song [Live].mp3", "*.txt", "/d"});
    EXPECT_EQ(u.tracks, (Paths{dir_.file("Song L.mp3"), "./Song [Live].mp3", "./a.txt"}));
    EXPECT_TRUE(u.title == Text("x") && u.showTags && printed.empty());
    EXPECT_EQ(run({"Song [L].mp3", "*.nothing"}).tracks, Paths{});
    u = run({"*.mp3"});
    std::sort(u.tracks.begin(), u.tracks.end());
    EXPECT_EQ(u.tracks, (Paths{"./Song L.mp3", "./Song [Live].mp3"}));
    // Unknown names with a track's extension (four characters from the last dot) are missing files.
    for (const char* missing : {"/missing/SONG.MP3", "/missing/a.tdfx", "/missing.aif/song"}) {
        run({missing});
        EXPECT_EQ(printed, std::string("File not found ") + missing + "\n");
    }
}

TEST_F(Scan, OptionalWordsAreTakenOnlyWhenTheyMatch) {
    touch({"fixed", "noimg"});
    TagUpdate u = run({"-check", "fixed", "-imex", "p", "noimg"});
    EXPECT_TRUE(u.check == 1 && !u.imageExportAll);
    EXPECT_EQ(u.tracks, (Paths{"./fixed", "./noimg"}));
    // After -rename [utf8] the next word that opens no option is the format, even a track's name.
    u = run({"-rename", "utf8", "fixed", "noimg"});
    EXPECT_EQ(u.renameFormat, Text("fixed"));
    EXPECT_EQ(u.tracks, Paths{"./noimg"});
}

TEST_F(Scan, CommentEscapesAndTextFiles) {
    EXPECT_EQ(run({"-co", "a\\\\b\\tc\\q"}).comment, Text("a\\b\tc\\q"));
    EXPECT_EQ(run({"-co", "1\\n2\\r\\"}).comment, Text("1\n2\r\\"));
    // A file's text replaces the typed one, gets no escape handling, and is decoded from UTF-16.
    support::writeFile(dir_.file("notes.txt"), support::ByteVec{0xFF, 0xFE, 'H', 0, 0xE9, 0, '\\', 0, 'n', 0});
    support::writeText(dir_.file("lyrics.txt"), "la la");
    TagUpdate u = run({"-co", "typed", "-cf", "notes.txt", "-ls", "typed", "-ly", "lyrics.txt"});
    EXPECT_EQ(u.comment, Text("H\xC3\xA9\\n"));
    EXPECT_EQ(u.lyrics, Text("la la"));
    u = run({"-cf", "none.txt", "-ly", "none.txt"});
    EXPECT_EQ(printed, "Failed to open the comments file 'none.txt' (2)\nFailed to open the lyrics file 'none.txt' (2)\n");
    EXPECT_FALSE(u.comment.has_value() || u.lyrics.has_value());
}

}  // namespace
}  // namespace tagwick
