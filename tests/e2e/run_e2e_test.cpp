// The per-track run through the program itself: statuses, -e, the MPEG value options, a named
// pipe, and the branches that only display.
#include <gtest/gtest.h>

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

TEST(Run, MpegValuesActOnTheFirstTrackOnlyInTheirOwnOrder) {
    TempDir dir;
    std::string a = dir.file("a.mp3"), b = dir.file("b.mp3");
    writeFile(a, fiveSecondTrack());
    writeFile(b, buildStream({}, 400));  // 10 seconds
    ByteVec before = readFile(b);
    CliResult result = runCli({"-mchn", "-mfrq", "-mbtr", "-mlen", a, b});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "5\n128000\n44100\n2\n");
    EXPECT_EQ(readFile(b), before);
    EXPECT_EQ(runCli({"-v", "-mlen", b, a}).out, "Updating the ID3 tag information for 'b.mp3'\n10\n");
}

// A named pipe with no writer must not keep the program waiting: it cannot be read as a track.
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
}

// Of three tracks the second fails its check; the third (notes.txt, skipped with success) is
// reached only without -e. The status is that of the last track processed.
TEST(Run, FailingTrackStopsTheRunOnlyWithE) {
    TempDir dir;
    std::string good = dir.file("good.mp3"), bad = dir.file("bad.mp3"), notes = dir.file("notes.txt");
    writeFile(good, fiveSecondTrack());
    ByteVec garbage = buildStream({}, 20);
    garbage.insert(garbage.end(), 2000, 0x55);
    writeFile(bad, garbage);
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

// -d with a field only displays; a modifier alone leads to the default display. Neither writes.
TEST(Run, DisplayAndModifiersAloneWriteNothing) {
    TempDir dir;
    std::string a = dir.file("a.mp3");
    writeFile(a, fiveSecondTrack());
    ByteVec before = readFile(a);
    EXPECT_EQ(runCli({"-d", "-ti", "x", a}).out, runCli({"-d", a}).out);
    EXPECT_EQ(runCli({"-rmape", "-kd", "-trim", a}).out, runCli({"-d", "-m", a}).out);
    EXPECT_EQ(readFile(a), before);
}

}  // namespace
}  // namespace tagwick::support
