// tagwickcli -check and -check fix, run as a program: the report on standard error, the exit
// status, and the rebuilt file with its backup.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/cli_runner.h"
#include "support/mpeg_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::concat;
using support::FrameSpec;

ByteVec id3v1Tag() {
    ByteVec tag(128, 0);
    tag[0] = 'T';
    tag[1] = 'A';
    tag[2] = 'G';
    tag[127] = 255;
    return tag;
}

ByteVec cleanTrack() { return concat({support::buildStream({}, 10), id3v1Tag()}); }

FrameSpec protectedFrame(bool wrong) {
    FrameSpec frame;
    frame.crc = true;
    frame.wrongCrc = wrong;
    frame.filler = 0x44;
    return frame;
}

// Twelve frames, the fifth with a wrong CRC, and 60 bytes of noise at the end.
ByteVec damagedTrack() {
    return concat({support::buildStream(protectedFrame(false), 4), support::buildStream(protectedFrame(true), 1),
                   support::buildStream(protectedFrame(false), 7), ByteVec(60, 0x20), id3v1Tag()});
}

// What the rebuild makes of it: the CRC corrected, the noise and the frame before it gone.
ByteVec repairedTrack() { return concat({support::buildStream(protectedFrame(false), 11), id3v1Tag()}); }

bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

TEST(CheckCommand, SoundTrackReportsAndExitsZero) {
    support::TempDir dir;
    const std::string path = dir.file("clean.mp3");
    support::writeFile(path, cleanTrack());
    support::CliResult run = support::runCli({"-check", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(endsWith(run.err, "Checking audio file '" + path + "'...\n"
                                  "Information: MPEG 1 Layer III, 10 MPEG frames, CBR, ID3v1\n"))
        << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(support::readFile(path), cleanTrack());
}

TEST(CheckCommand, ProblemsGiveExitStatusFour) {
    support::TempDir dir;
    const std::string path = dir.file("damaged.mp3");
    support::writeFile(path, damagedTrack());
    support::CliResult run = support::runCli({"-check", path});
    EXPECT_EQ(run.status, 4);
    EXPECT_TRUE(endsWith(run.err, "Checking audio file '" + path + "'...\n"
                                  "Warning: Invalid data at the end of the file\n"
                                  "Warning: 1 frames have the wrong CRC\n"
                                  "Information: MPEG 1 Layer III, 12 MPEG frames, CBR, CRC, ID3v1\n"))
        << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(support::readFile(path), damagedTrack());
    EXPECT_FALSE(std::filesystem::exists(path + ".bak"));
}

TEST(CheckCommand, FixRebuildsAndKeepsABackup) {
    support::TempDir dir;
    const std::string path = dir.file("damaged.mp3");
    support::writeFile(path, damagedTrack());
    support::CliResult run = support::runCli({"-check", "fix", path});
    EXPECT_EQ(run.status, 4);
    EXPECT_TRUE(endsWith(run.err, "Information: MPEG 1 Layer III, 12 MPEG frames, CBR, CRC, ID3v1\n"
                                  "Rebuilding file '" + path + "'...\n\n"
                                  "Audio file has been rebuilt\n"))
        << run.err;
    EXPECT_EQ(support::readFile(path), repairedTrack());
    EXPECT_EQ(support::readFile(path + ".bak"), damagedTrack());

    // The rebuilt track now checks clean.
    support::CliResult again = support::runCli({"-check", path});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_TRUE(endsWith(again.err, "Information: MPEG 1 Layer III, 11 MPEG frames, CBR, CRC, ID3v1\n")) << again.err;
}

TEST(CheckCommand, FixLeavesASoundTrackAlone) {
    support::TempDir dir;
    const std::string path = dir.file("clean.mp3");
    support::writeFile(path, cleanTrack());
    support::CliResult run = support::runCli({"-check", "fix", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err.find("Rebuilding"), std::string::npos) << run.err;
    EXPECT_EQ(support::readFile(path), cleanTrack());
    EXPECT_FALSE(std::filesystem::exists(path + ".bak"));
}

TEST(CheckCommand, UnknownFormatIsNotAProblemCount) {
    support::TempDir dir;
    const std::string path = dir.file("noise.mp3");
    support::writeFile(path, ByteVec(3000, 0x55));
    support::CliResult run = support::runCli({"-check", "fix", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(endsWith(run.err, "Checking audio file '" + path + "'...\nError: Unknown audio format\n")) << run.err;
    EXPECT_FALSE(std::filesystem::exists(path + ".bak"));
}

}  // namespace
}  // namespace tagwick
