// Renaming and filing tracks through the program itself: -rename with and without a format,
// -folder, utf8 names, the branches the rename step follows, free names and failed moves.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick::support {
namespace {

namespace fs = std::filesystem;

ByteVec track(std::vector<std::pair<const char*, ByteVec>> frames) {
    V2TagLayout layout;
    for (auto& [id, payload] : frames) layout.frames.push_back(v2Frame(id, std::move(payload)));
    return concat({buildV2Tag(layout), buildStream({}, 20)});
}

ByteVec song(std::string_view title, std::string_view number = "3/12") {
    return track({{"TIT2", latin1Payload(title)}, {"TPE1", latin1Payload("Band")}, {"TALB", latin1Payload("Record")},
                  {"TRCK", latin1Payload(number)}});
}

// The files below `dir`, as paths relative to it, sorted.
std::vector<std::string> filesIn(const TempDir& dir) {
    std::vector<std::string> out;
    for (const auto& entry : fs::recursive_directory_iterator(dir.path()))
        if (entry.is_regular_file()) out.push_back(fs::relative(entry.path(), dir.path()));
    std::sort(out.begin(), out.end());
    return out;
}

// A name the file system refuses, or no title to name the track by: status 7 and no message
// beyond the log header, and the track untouched where it was.
TEST(Rename, FormatsFoldersAndTheBranchesItFollows) {
    struct Case {
        const char* name;
        ByteVec bytes;
        std::vector<std::string> options;
        std::vector<std::string> files;
        int status = 0;
    };
    ByteVec greek = track({{"TIT2", textPayload(1, utf16Bytes(u"Björk Ω"))}});
    for (const Case& c : std::vector<Case>{
             {"TitleAndTrackNumber", song("Song"), {"-rename"}, {"03-Song.mp3"}},
             {"TitleMadeSafe", song("AC/DC: Live?", "0"), {"-rename"}, {"AC_DC_ Live_.mp3"}},
             {"FolderFromArtistAndAlbum", song("Song"), {"-rename", "-folder"}, {"Band/Record/03-Song.mp3"}},
             {"NoFolderWithoutAnAlbum", track({{"TIT2", latin1Payload("Song")}, {"TPE1", latin1Payload("Band")}}),
              {"-rename", "-folder"}, {"Song.mp3"}},
             {"FormatNamesFolders", song("Song"), {"-rename", "%A/%L/%n %T"}, {"Band/Record/03 Song.mp3"}},
             // A total without a number ("/5") leaves the number unset.
             {"FormatWithoutNumber", song("Title", "/5"), {"-rename", "%N - %T"}, {" - Title.mp3"}},
             {"Utf8Names", greek, {"-rename", "utf8"}, {"Björk Ω.mp3"}},
             {"SingleByteNames", greek, {"-rename"}, {"Bjrk.mp3"}},
             {"AfterTheDisplay", song("Song"), {"-d", "-rename"}, {"03-Song.mp3"}},
             {"AfterTheCheck", song("Song"), {"-check", "-rename", "%T"}, {"Song.mp3"}},
             {"FolderAloneDoesNothing", song("Song"), {"-folder"}, {"t.mp3"}},
             {"NameTheFileSystemRefuses", song(std::string(300, 'x')), {"-rename"}, {"t.mp3"}, 7},
             {"NoTitle", buildStream({}, 20), {"-rename"}, {"t.mp3"}, 7}}) {
        TempDir dir;
        writeFile(dir.file("t.mp3"), c.bytes);
        std::vector<std::string> args = {dir.file("t.mp3")};
        args.insert(args.end(), c.options.begin(), c.options.end());
        CliResult result = runCli(args, {dir.path()});
        EXPECT_EQ(result.status, c.status) << c.name << result.err;
        if (c.status != 0) {
            EXPECT_EQ(result.out + result.err, "\n# Tagwick CMD Version 1.24.38 (1.17.78.342)\n") << c.name;
        }
        EXPECT_EQ(filesIn(dir), c.files) << c.name;
        EXPECT_EQ(result.out.starts_with("Track information for"), c.options[0] == "-d" || c.options[0] == "-folder")
            << c.name;
        EXPECT_EQ(readFile(dir.file(c.files[0])), c.bytes) << c.name;
    }
}

}  // namespace
}  // namespace tagwick::support
