// Changing tracks through the program: field options down to the bytes written, removals,
// copies between the tag versions, imports and tag data exports, -out, -kd and -trash.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick::support {
namespace {

ByteVec audio() { return buildStream({}, 20); }

V2Frame text(std::string id, std::string_view latin1) { return latin1Frame(std::move(id), latin1); }

class Update : public testing::Test {
protected:
    TempDir dir;
    const std::string track = dir.file("song.mp3");
};

// Field options on an untagged track: each reaches its frame, in the writer's order.
TEST_F(Update, FieldOptionsBecomeFramesInTheWritersOrder) {
    struct Case {
        const char* name;
        std::vector<std::string> args;
        int major;
        std::vector<V2Frame> frames;
    };
    const ByteVec euroText = textPayload(1, concat({utf16Bytes(u"\u20acuro"), ByteVec{0, 0}}));
    const std::vector<Case> cases = {
        {"Texts", {"-ar", "Artist", "-ti", "Song", "-tr", "3", "-ts", "12", "-gn", "Rock", "-yr", "1999"}, 3,
         {text("TRCK", "3/12"), text("TIT2", "Song"), text("TPE1", "Artist"), text("TYER", "1999"),
          text("TCON", "(17)Rock")}},
        {"Utf16", {"-ti", "\xe2\x82\xacuro", "-al", "Caf\xc3\xa9"}, 3,
         {v2Frame("TIT2", euroText), text("TALB", "Caf\xe9")}},
        {"ReleaseTimeChoosesV24", {"-rl", "2006-05-12", "-yr", "2006"}, 4,
         {text("TYER", "2006"), text("TDRL", "2006-05-12")}},
        {"ForcedV24", {"-vn", "2.4", "-ti", "Song"}, 4, {text("TIT2", "Song")}},
        {"Comment", {"-co", "a\\tb"}, 3, {v2Frame("COMM", commentPayload(0, "eng", {}, bytesOf("a\tb")))}},
        {"CompilationAndSet", {"-cl", "-sn", "1", "-ss", "2"}, 3, {text("TCMP", "1"), text("TPOS", "1/2")}},
    };
    for (Case c : cases) {
        writeFile(track, audio());
        c.args.push_back(track);
        EXPECT_EQ(runCli(c.args).out, "") << c.name;
        EXPECT_EQ(readFile(track), concat({programTag(c.major, c.frames), audio()})) << c.name;
    }
}

// Both tags saved in one run; the version 1 record then overwritten in place and removed with
// -rm1. -rm2 cuts the version 2 tag; -rmape with a V1 change takes the APE tag and the old record,
// and no new record is written.
TEST_F(Update, Version1RecordInPlaceAndRemovals) {
    writeFile(track, audio());
    CliResult saved = runCli({"-v", "-ti", "Song", "-t", "Title", "-a", "Artist", "-g", "17", "-n", "3", track});
    EXPECT_EQ(saved.out,
              "Updating the ID3 tag information for 'song.mp3'\nSuccessfully updated the ID3 tag information\n");
    EXPECT_NE(saved.err.find("Comparing V1 loaded state failed (0 != 1)\n"), std::string::npos) << saved.err;
    const ByteVec tag = programTag(3, {text("TIT2", "Song")});
    EXPECT_EQ(readFile(track), concat({tag, audio(), buildV1({"Title", "Artist", "", "", "", 3, 17})}));
    ASSERT_EQ(runCli({"-b", "Album", "--g", track}).status, 0);
    EXPECT_EQ(readFile(track), concat({tag, audio(), buildV1({"Title", "Artist", "Album", "", "", 3, 12})}));
    EXPECT_EQ(runCli({"-v", "-rm1", "-ti", "ignored", track}).out,
              "Updating the ID3 tag information for 'song.mp3'\nSuccessfully removed the ID3 tag information\n");
    EXPECT_EQ(readFile(track), concat({tag, audio()}));

    const ByteVec ape = buildApeTag(ApeLayout{{{"Title", "x"}}, true, 0, std::nullopt});
    const ByteVec record = buildV1({"V1", "", "", "", "", 0, 255});
    writeFile(track, concat({tag, audio(), ape, record}));
    ASSERT_EQ(runCli({"-rm2", track}).status, 0);
    EXPECT_EQ(readFile(track), concat({audio(), ape, record}));
    ASSERT_EQ(runCli({"-rmape", "-t", "New", track}).status, 0);
    EXPECT_EQ(readFile(track), audio());
}

TEST_F(Update, CopiesBetweenTheVersions) {
    // Copying V1 into a track without V1 data changes nothing, and says so without -v.
    writeFile(track, audio());
    EXPECT_EQ(runCli({"-v1v2", track}).out, "No changes are required for track '" + track + "'\n");
    EXPECT_EQ(readFile(track), audio());
    writeFile(track, concat({audio(), buildV1({"Title", "Artist", "Album", "1999", "Note", 7, 17})}));
    EXPECT_EQ(runCli({"-v", "-v1v2", track}).out, "Updating the ID3 tag information for 'song.mp3'\nCopied ID3 tag "
              "information from V1 to V2\nSuccessfully updated the ID3 tag information\n");
    const ByteVec tag = programTag(3, {text("TRCK", "7"), text("TIT2", "Title"), text("TPE1", "Artist"),
                                      text("TALB", "Album"), text("TYER", "1999"), text("TCON", "(17)Rock"),
                                      v2Frame("COMM", commentPayload(0, "eng", {}, bytesOf("Note")))});
    EXPECT_EQ(readFile(track), concat({tag, audio(), buildV1({"Title", "Artist", "Album", "1999", "Note", 7, 17})}));

    writeFile(track, concat({programTag(3, {text("TIT2", std::string(40, 'x')), text("TRCK", "300")}), audio()}));
    ASSERT_EQ(runCli({"-v2v1", track}).status, 0);
    const ByteVec after = readFile(track);
    EXPECT_EQ(ByteVec(after.end() - 128, after.end()), buildV1({std::string(30, 'x'), "", "", "", "", 0, 12}));
}

// -export writes the V2 tag and the V1 record to a free name; -import brings them into a track.
TEST_F(Update, TagDataFilesAreExportedAndImported) {
    const CliOptions inDir{dir.path()};  // file values are relative: one beginning with '/' is an option
    const ByteVec tag = programTag(3, {text("TIT2", "Song"), text("TPE1", "Artist")});
    const ByteVec record = buildV1({"V1 title", "", "", "", "", 0, 17});
    writeFile(dir.file("source.mp3"), concat({tag, audio(), record}));
    writeText(dir.file("tags.tdf"), "taken");
    EXPECT_EQ(runCli({"-v", "-export", "tags.tdf", "source.mp3"}, inDir).out,
              "Exporting tag data to: tags-1.tdf\n\nSuccessfully exported the V2 tag data\n"
              "Successfully exported the V1 tag data\n");
    EXPECT_EQ(readFile(dir.file("tags-1.tdf")), concat({tag, record}));

    writeFile(dir.file("target.mp3"), concat({programTag(3, {text("TIT2", "Old"), text("TALB", "Album")}), audio()}));
    ASSERT_EQ(runCli({"-import", "tags-1.tdf", "target.mp3"}, inDir).status, 0);
    EXPECT_EQ(readFile(dir.file("target.mp3")),
              concat({programTag(3, {text("TIT2", "Song"), text("TPE1", "Artist"), text("TALB", "Album")}), audio(),
                      record}));

    // A track with only a V1 record exports 128 bytes.
    writeFile(dir.file("source.mp3"), concat({audio(), record}));
    EXPECT_EQ(runCli({"-v", "-export", "v1.tdf", "source.mp3"}, inDir).out, "Exporting tag data to: v1.tdf\n\nNo V2 "
              "tag information was found to export in the track file 'v1.tdf'\nSuccessfully exported the V1 tag data\n");
    EXPECT_EQ(readFile(dir.file("v1.tdf")), record);
    writeText(dir.file("bad.mp3"), "junk");
    EXPECT_EQ(runCli({"-export", "bad.tdf", "bad.mp3"}, inDir).status, 1);
    EXPECT_TRUE(std::filesystem::exists(dir.file("bad.tdf")) && readFile(dir.file("bad.tdf")).empty());
}

TEST_F(Update, OutLeavesTheInputAsItWas) {
    const std::string input = dir.file("in.mp3"), output = dir.file("out.mp3");
    writeFile(input, audio());
    EXPECT_EQ(runCli({"-ti", "Song", "-out", output, input}).status, 0);
    EXPECT_EQ(readFile(input), audio());
    EXPECT_EQ(readFile(output), concat({programTag(3, {text("TIT2", "Song")}), audio()}));
    // -out into a folder that does not exist: the track is skipped with status 0.
    CliResult missing = runCli({"-ti", "Song", "-out", dir.file("none/out.mp3"), input});
    EXPECT_EQ(missing.status, 0);
    EXPECT_EQ(missing.out, "Failed to create the output file '" + dir.file("none/out.mp3") + "' (2)\n");
    EXPECT_EQ(readFile(input), audio());
}

// Through a link, the file behind it is replaced, trashed and keeps dates, permissions and owner.
TEST_F(Update, KeptDatesAndTheTrashCopyThroughALink) {
    writeFile(track, audio());
    const uid_t owner = geteuid() == 0 ? 65534 : geteuid();
    ASSERT_EQ(chown(track.c_str(), owner, owner == 65534 ? 65534 : getegid()) | chmod(track.c_str(), 0640), 0);
    const struct timespec times[2] = {{1000000000, 123456789}, {1100000000, 987654321}};
    ASSERT_EQ(utimensat(AT_FDCWD, track.c_str(), times, 0) | symlink(track.c_str(), dir.file("link.mp3").c_str()), 0);
    const CliOptions options{"", "tagwick-test-nobody", {{"XDG_DATA_HOME", dir.file("data")}}};
    ASSERT_EQ(runCli({"-kd", "-trash", "-ti", "One", dir.file("link.mp3")}, options).status, 0);
    struct stat info {};
    EXPECT_TRUE(lstat(dir.file("link.mp3").c_str(), &info) == 0 && S_ISLNK(info.st_mode));
    ASSERT_EQ(stat(track.c_str(), &info), 0);
    EXPECT_TRUE(info.st_mode % 010000 == 0640 && info.st_uid == owner);
    EXPECT_TRUE(info.st_atim.tv_sec == times[0].tv_sec && info.st_atim.tv_nsec == times[0].tv_nsec);
    EXPECT_TRUE(info.st_mtim.tv_sec == times[1].tv_sec && info.st_mtim.tv_nsec == times[1].tv_nsec);
    EXPECT_EQ(readFile(dir.file("data/Trash/files/song.mp3")), audio());
    const std::string info1 = readText(dir.file("data/Trash/info/song.mp3.trashinfo"));
    EXPECT_TRUE(info1.starts_with("[Trash Info]\nPath=" + dir.file("song.mp3") + "\nDeletionDate=")) << info1;

    ASSERT_EQ(runCli({"-trash", "-ti", "Two", track}, options).status, 0);
    EXPECT_EQ(readFile(dir.file("data/Trash/files/song-1.mp3")),
              concat({programTag(3, {text("TIT2", "One")}), audio()}));
}

// A picture that cannot be loaded gives status 5 and says why, and the rest is saved; the type
// comes from the first bytes, whatever the name says.
TEST_F(Update, PictureThatCannotBeLoadedGivesStatus5AndTheRestIsSaved) {
    writeText(dir.file("notes.png"), "not a picture");
    writeFile(dir.file("tiny.jpg"), ByteVec{0xFF, 0xD8, 0xFF});
    for (auto [name, message] : std::vector<std::pair<std::string, std::string>>{
             {"notes.png", "Invalid image type detected for '" + dir.file("notes.png") + "'\n"},
             {"none", "Failed to open the picture '" + dir.file("none") + "' (2)\n"},
             {"tiny.jpg", "Failed to read the picture type (0)\n"}}) {
        writeFile(track, audio());
        CliResult result = runCli({"-im", dir.file(name), "-ti", "Song", track});
        EXPECT_EQ(result.status, 5) << name;
        EXPECT_EQ(result.out, message);
        EXPECT_EQ(readFile(track), concat({programTag(3, {text("TIT2", "Song")}), audio()})) << name;
    }
    const ByteVec png = pngImage(2, 3);
    writeFile(dir.file("cover.jpg"), png);
    ASSERT_EQ(runCli({"-im", dir.file("cover.jpg"), track}).status, 0);
    ByteVec apic = apicPayload("image/png", 0, "", png);
    EXPECT_EQ(readFile(track), concat({programTag(3, {text("TIT2", "Song"), v2Frame("APIC", apic)}), audio()}));
}

// A save that fails at any write, close or rename leaves the track as it was and no temporary
// file; the messages end with the note that nothing was altered. Killed at the same call, the
// program leaves the old track or the new one, never neither.
TEST_F(Update, FailedOrKilledSaveLeavesTheTrack) {
    struct Case {
        const char* name;
        Fault fault;
        std::string log;  // the program's own message on standard error
    };
    const std::vector<Case> cases = {
        {"TagWrite", {"pwrite", ".t0"}, "An error occurred saving the version 2 tag data.\n"},
        // The tag goes out first; the kernel copy and its fallback then fail.
        {"AudioCopy", {"copy,pwrite", ".t0", 1}, "Failed to copy the MPEG data to the output file"},
        {"Close", {"close", ".t0"}, "An error occurred saving the version 2 tag data.\n"},
        {"Rename", {"rename", ".t0"}, "Failed to replace the temporary file from"},
        {"Create", {"open", ".t0", 0, EACCES}, "Failed to open the output file '"},
    };
    const ByteVec original = concat({programTag(3, {text("TIT2", "Old")}), audio()});
    const ByteVec updated = concat({programTag(3, {text("TIT2", "New")}), audio()});
    for (const Case& c : cases) {
        writeFile(track, original);
        CliResult result = runCli({"-ti", "New", track}, {.fault = c.fault});
        EXPECT_EQ(result.status, 2) << c.name;
        EXPECT_NE(result.err.find(c.log), std::string::npos) << c.name << ": " << result.err;
        EXPECT_NE(result.err.find("NOTE: the original file has not been altered.\n"), std::string::npos) << c.name;
        EXPECT_TRUE(result.out.starts_with("Failed to update the V2 tag data for '" + track + "' (")) << c.name;
        EXPECT_EQ(readFile(track), original) << c.name;
        EXPECT_FALSE(std::filesystem::exists(track + ".t0")) << c.name;

        Fault kill = c.fault;
        kill.kill = true;
        EXPECT_EQ(runCli({"-ti", "New", track}, {.fault = kill}).status, 128 + SIGKILL) << c.name;
        const ByteVec after = readFile(track);
        EXPECT_TRUE(after == original || after == updated) << c.name;
        std::filesystem::remove(track + ".t0");  // a killed save may leave its temporary file
    }
}

// A track its owner made read-only is left alone with a clear message (root may write anything,
// so the case cannot be made there).
TEST_F(Update, ReadOnlyTrackIsNotReplaced) {
    if (geteuid() == 0) GTEST_SKIP() << "root writes read-only files";
    writeFile(track, audio());
    ASSERT_EQ(chmod(track.c_str(), 0444), 0);
    CliResult result = runCli({"-ti", "New", track});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("Open file write check error: Permission denied (13)\n"), std::string::npos) << result.err;
    EXPECT_EQ(result.out, "Failed to update the V2 tag data for '" + track + "' (2)\n");
    EXPECT_EQ(readFile(track), audio());
}

}  // namespace
}  // namespace tagwick::support
