// The per-track run through the program itself: statuses, -e, the MPEG value options, a named
// pipe, and the branches that only display; -check and -check fix: the report on standard error,
// the exit status, and the rebuilt file with its backup (or without one when the backup cannot be
// made).
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick::support {
namespace {

// 200 frames of 417 bytes at 128 kbit/s: 83400 x 8 / 128000 = 5.2 seconds.
ByteVec fiveSecondTrack() { return concat({buildStream({}, 200), buildV1({"Old", "", "", "", "", 0, 255})}); }

// The MPEG values act on the first track only, in their own order; -d with a field only
// displays, and a modifier alone leads to the default display. None of them writes.
TEST(Run, DisplayingBranchesWriteNothing) {
    TempDir dir;
    std::string a = dir.file("a.mp3"), b = dir.file("b.mp3");
    writeFile(a, fiveSecondTrack());
    writeFile(b, buildStream({}, 400));  // 10 seconds
    CliResult result = runCli({"-mchn", "-mfrq", "-mbtr", "-mlen", a, b});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "5\n128000\n44100\n2\n");
    EXPECT_EQ(runCli({"-v", "-mlen", b, a}).out, "Updating the ID3 tag information for 'b.mp3'\n10\n");
    EXPECT_EQ(runCli({"-d", "-ti", "x", a}).out, runCli({"-d", a}).out);
    EXPECT_EQ(runCli({"-rmape", "-kd", "-trim", a}).out, runCli({"-d", "-m", a}).out);
    EXPECT_EQ(readFile(a), fiveSecondTrack());
    EXPECT_EQ(readFile(b), buildStream({}, 400));
}

// A named pipe with no writer must not keep the program waiting: it cannot be read as a track,
// nor as a comments, lyrics or picture file.
TEST(Run, NamedPipeIsRefusedWithoutWaiting) {
    TempDir dir;
    std::string pipe = dir.file("pipe.mp3");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    CliResult display = runCli({pipe});
    EXPECT_EQ(display.out, "Failed to read the information from the file '" + pipe + "'.\n");
    EXPECT_NE(display.err.find("Failed to open the file '" + pipe + "' for reading"), std::string::npos);
    EXPECT_EQ(runCli({"-mlen", pipe}).status, 1);
    EXPECT_NE(runCli({"-check", pipe}).err.find("Error: Cannot open track '" + pipe + "' or it is empty"),
              std::string::npos);
    writeFile(dir.file("t.mp3"), fiveSecondTrack());
    CliResult files =
        runCli({"-cf", "pipe.mp3", "-ly", "pipe.mp3", "-im", "pipe.mp3", "-ti", "x", "t.mp3"}, {dir.path()});
    EXPECT_EQ(files.status, 5);
    EXPECT_EQ(files.out, "Failed to read the picture type (0)\n");
}

// Of three tracks the second fails its check; the third (notes.txt, skipped with success) is
// reached only without -e. The status is that of the last track processed.
TEST(Run, FailingTrackStopsTheRunOnlyWithE) {
    TempDir dir;
    std::string good = dir.file("good.mp3"), bad = dir.file("bad.mp3"), notes = dir.file("notes.txt");
    writeFile(good, fiveSecondTrack());
    writeFile(bad, concat({buildStream({}, 20), ByteVec(2000, 0x55)}));
    writeText(notes, "text");

    CliResult all = runCli({"-check", good, bad, notes});
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.out, "File type is not supported for " + notes + "\n");
    CliResult stopped = runCli({"-e", "-check", good, bad, notes});
    EXPECT_EQ(stopped.status, 4);
    EXPECT_EQ(stopped.out, "");
    writeText(bad, std::string(9000, 'x'));  // now a track that cannot be opened
    EXPECT_EQ(runCli({"-e", "-mlen", bad, good}).status, 1);
}

ByteVec protectedFrames(size_t count, bool wrong = false) {
    FrameLayout frame;
    frame.crc = true;
    frame.wrongCrc = wrong;
    frame.filler = 0x44;
    return buildStream(frame, count);
}

// The run, its standard error cut to start at the checker's first line (the log banner goes before).
CliResult check(const std::vector<std::string>& args) {
    CliResult run = runCli(args);
    EXPECT_EQ(run.out, "");
    run.err.erase(0, std::min(run.err.size(), run.err.find("Checking audio file '")));
    return run;
}

TEST(CheckCommand, ProblemsAreReportedAndFixed) {
    TempDir dir;
    const std::string path = dir.file("damaged.mp3");
    // Twelve frames, the fifth with a wrong CRC, and 60 bytes of noise before the ID3v1 record.
    const ByteVec damaged = concat({protectedFrames(4), protectedFrames(1, true), protectedFrames(7), ByteVec(60, 0x20),
                                    buildV1({})});
    writeFile(path, damaged);
    ASSERT_EQ(chmod(path.c_str(), 0604), 0);
    const std::string report = "Checking audio file '" + path + "'...\n"
                               "Warning: Invalid data at the end of the file\n"
                               "Warning: 1 frames have the wrong CRC\n"
                               "Information: MPEG 1 Layer III, 12 MPEG frames, CBR, CRC, ID3v1\n";
    const CliResult checked = check({"-check", path});
    EXPECT_EQ(checked.status, 4);
    EXPECT_EQ(checked.err, report);
    EXPECT_EQ(readFile(path), damaged);

    const CliResult fixed = check({"-check", "FIX", path});
    EXPECT_EQ(fixed.status, 4);
    EXPECT_EQ(fixed.err, report + "Rebuilding file '" + path + "'...\n\nAudio file has been rebuilt\n");
    // The CRC corrected, the noise and the frame before it gone; the old file kept, the mode too.
    EXPECT_EQ(readFile(path), concat({protectedFrames(11), buildV1({})}));
    EXPECT_EQ(readFile(path + ".bak"), damaged);
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0604u);
    // A sound track is not rebuilt: neither it nor the backup changes.
    const CliResult again = check({"-check", "fix", path});
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(again.err, "Checking audio file '" + path + "'...\n"
                            "Information: MPEG 1 Layer III, 11 MPEG frames, CBR, CRC, ID3v1\n");
    EXPECT_EQ(readFile(path), concat({protectedFrames(11), buildV1({})}));
    EXPECT_EQ(readFile(path + ".bak"), damaged);
}

// A move's result is compared with 0, which a move never returns: when the track cannot be
// moved to its backup name, the rebuilt file still takes its place.
TEST(CheckCommand, FailedMoveToTheBackupIsNotDetected) {
    TempDir dir;
    const std::string path = dir.file("t.mp3");
    writeFile(path, concat({protectedFrames(1, true), protectedFrames(11)}));
    ASSERT_EQ(mkdir((path + ".bak").c_str(), 0700), 0);
    writeText(path + ".bak/keep", "x");  // a folder in the way that cannot be replaced
    EXPECT_NE(check({"-check", "fix", path}).err.find("Audio file has been rebuilt\n"), std::string::npos);
    EXPECT_EQ(readFile(path), protectedFrames(12));
    EXPECT_TRUE(std::filesystem::is_directory(path + ".bak"));
}

}  // namespace
}  // namespace tagwick::support
