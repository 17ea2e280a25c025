// The rebuild of a damaged stream: the piece writer and its take-back, what the rebuild walk
// keeps and drops, the VBR header patch, and the driver that swaps the files.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <glob.h>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

#include "mpeg/stream_checker.h"
#include "mpeg/stream_checker_internal.h"
#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::concat;
using support::FrameLayout;

constexpr size_t kFrame = 417;  // the default frame: MPEG-1 layer III, 128 kbit/s, 44100 Hz

FrameLayout withCrc(bool wrong) {
    FrameLayout s;
    s.crc = true;
    s.wrongCrc = wrong;
    return s;
}

ByteVec frames(size_t count, const FrameLayout& frame = {}) { return support::buildStream(frame, count); }
ByteVec zeros(size_t n) { return ByteVec(n, 0); }
ByteVec id3v1(const char* title = "") {
    support::V1Layout v1;
    v1.title = title;
    return support::buildV1(v1);
}
ByteVec id3v2(size_t padding) {
    support::V2TagLayout tag;
    tag.padding = padding;
    return support::buildV2Tag(tag);
}
ByteVec apeTag() {
    support::ApeLayout ape;
    ape.items.push_back({"Artist", "someone"});
    return support::buildApeTag(ape);
}

// An output file in a private folder, read back whole.
struct Output {
    support::TempDir dir;
    int fd = open(dir.file("out").c_str(), O_RDWR | O_CREAT, 0600);
    ~Output() { close(fd); }
    ByteVec bytes() const { return support::readFile(dir.file("out")); }
};

struct Rebuilt {
    int result = 0;
    CheckStats stats;
    ByteVec out;
};

Rebuilt rebuild(ByteVec data) {
    Rebuilt r;
    Output output;
    r.result = scanAudio(data, r.stats, nullptr, true, output.fd);
    r.out = output.bytes();
    return r;
}

TEST(PieceWriter, CutsAtTheLimitAndTakesBackTheLastPieceOnly) {
    const ByteVec digits = support::bytesOf("0123456789");
    Output output;
    PieceWriter writer(output.fd, digits);
    EXPECT_EQ(writer.writePiece(0, 3, -1), 3);
    EXPECT_EQ(writer.writePiece(3, 4, 5), 2);   // cut at the limit
    EXPECT_EQ(writer.writePiece(7, 3, 6), 0);   // starts past the limit: forgets the last piece
    EXPECT_EQ(writer.takeBack(), 0);
    EXPECT_EQ(writer.writePiece(5, 2, -1), 2);
    EXPECT_EQ(writer.takeBack(), 2);
    EXPECT_EQ(writer.takeBack(), 0);            // nothing remembered any more
    EXPECT_EQ(writer.writePiece(8, 5, -1), 2);  // never past the source
    ASSERT_TRUE(writer.flush());
    EXPECT_EQ(output.bytes(), support::bytesOf("0123489"));
    // A piece that reached the file is taken back by seeking; the truncation removes the rest.
    EXPECT_EQ(writer.takeBack(), 2);
    EXPECT_EQ(writer.position(), 5);
    writer.writePiece(0, 1, -1);
    ASSERT_TRUE(writer.flush());
    ASSERT_EQ(truncateAtPosition(output.fd), 0);
    EXPECT_EQ(output.bytes(), support::bytesOf("012340"));
}

struct WalkCase {
    const char* name;
    ByteVec (*data)();
    ByteVec (*expected)();
    int framesDropped;
};

class RebuildWalk : public testing::TestWithParam<WalkCase> {};

TEST_P(RebuildWalk, KeepsAndDrops) {
    const Rebuilt r = rebuild(GetParam().data());
    EXPECT_EQ(r.result, 0);
    EXPECT_EQ(r.out, GetParam().expected());
    EXPECT_EQ(r.stats.framesDropped, GetParam().framesDropped);
    EXPECT_EQ(r.stats.errorCount, 1);  // after any rebuild run
}

ByteVec soundFile() { return concat({id3v2(200), frames(12), apeTag(), id3v1()}); }
ByteVec lyingFrameInside() {
    FrameLayout lying;
    lying.padding = true;  // claims 418 bytes, has 417
    ByteVec bad = support::buildFrame(lying);
    bad.pop_back();
    return concat({frames(5), bad, frames(10)});
}
ByteVec riffWithTrailingChunk() {
    support::RiffLayout riff;
    riff.trailing = support::RiffChunk{"LIST", ByteVec(30, 'x')};
    return support::buildRiffWave(frames(10), riff);
}
ByteVec oversizedId3v2() {
    ByteVec data = concat({id3v2(100), frames(3)});
    data[8] = 0x7F;  // the tag claims more than the file holds
    return data;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RebuildWalk,
    testing::Values(
        WalkCase{"SoundFileIsCopied", soundFile, soundFile, 0},
        WalkCase{"Id3v2BeforeGarbage", [] { return concat({id3v2(100), zeros(30), frames(10), id3v1()}); },
                 [] { return concat({frames(10), id3v1()}); }, 0},
        WalkCase{"GarbageCostsTheFrameBeforeIt", [] { return concat({frames(5), zeros(50), frames(10)}); },
                 [] { return frames(14); }, 1},
        WalkCase{"FrameWithAWrongLength", lyingFrameInside, [] { return frames(15); }, 1},
        WalkCase{"ApeBeforeGarbage", [] { return concat({frames(10), apeTag(), zeros(40)}); },
                 [] { return frames(10); }, 0},
        WalkCase{"RiffWrapper", [] { return support::buildRiffWave(frames(10)); }, [] { return frames(10); }, 0},
        // A chunk after the data is invalid data, which also takes the last frame back.
        WalkCase{"RiffTrailingChunk", riffWithTrailingChunk, [] { return frames(9); }, 1},
        WalkCase{"TruncatedTagTakenBack", oversizedId3v2, [] { return ByteVec{}; }, 0}),
    [](const testing::TestParamInfo<WalkCase>& info) { return info.param.name; });

TEST(RebuildWalkDetail, CrcFixInsideAKeptFrameDoesNotChangeThatFrame) {
    // Frame F holds, 100 bytes in, the start of a protected frame G with a wrong CRC. An APE
    // tag follows F, then noise: the tag is taken back and the search finds G inside F. G's
    // CRC is corrected in the data, but F was already written with the old bytes.
    const ByteVec g = support::buildFrame(withCrc(true));
    ByteVec data = frames(1);
    std::copy(g.begin(), g.begin() + 317, data.begin() + 100);
    ByteVec ape(64, 0);
    std::copy_n("APETAGEX", 8, ape.begin());
    ape[12] = 32;  // items and footer: 32 bytes, so the tag is 64 long
    support::append(data, ape);
    data.resize(100 + kFrame, 0);
    support::append(data, frames(5));

    const Rebuilt r = rebuild(data);
    ByteVec fixedG(data.begin() + 100, data.begin() + 100 + long(kFrame));
    const uint16_t crc = support::frameCrc(fixedG);
    fixedG[4] = uint8_t(crc >> 8);
    fixedG[5] = uint8_t(crc);
    ASSERT_NE(fixedG[5], data[105]);
    EXPECT_EQ(r.out, concat({ByteVec(data.begin(), data.begin() + long(kFrame)), fixedG, frames(5)}));
    EXPECT_EQ(r.stats.crcErrorCount, 1);
}

TEST(RebuildWalkDetail, VbrHeaderGetsTheCountsOfTheRebuiltStream) {
    support::XingLayout both;
    both.frames = 999;
    both.bytes = 1;
    const ByteVec head = support::buildXingFrame({}, both);
    ByteVec data = concat({head, frames(10), id3v1()});
    data.erase(data.end() - 128 - 200, data.end() - 128);  // half a frame at the end is dropped
    const Rebuilt r = rebuild(data);
    EXPECT_EQ(r.stats.totalFrames(), 11);
    // The counts after "Xing" and the flags (36 + 8 for MPEG-1 stereo), everything else as it was.
    ByteVec expected = concat({head, frames(9), id3v1()});
    support::putBe32(expected, 44, 10);
    support::putBe32(expected, 48, uint32_t(10 * kFrame));
    EXPECT_EQ(r.out, expected);

    // Garbage at the end costs the last frame. Only the counts the header holds are written: in
    // MPEG-1 mono "Xing" is at 21, so the one count at 29.
    FrameLayout mono;
    mono.channelMode = 3;
    for (bool framesOnly : {true, false}) {
        support::XingLayout one;
        (framesOnly ? one.frames : one.bytes) = 5;
        const ByteVec first = support::buildXingFrame(mono, one);
        ByteVec patched = concat({first, frames(5, mono)});
        support::putBe32(patched, 29, framesOnly ? 6 : uint32_t(6 * kFrame));
        EXPECT_EQ(rebuild(concat({first, frames(6, mono), zeros(20)})).out, patched) << framesOnly;
    }
    // VBRI: the bytes at 46, the frames at 50.
    const ByteVec vbri = support::buildVbriFrame({}, {7, 7, 1});
    ByteVec patched = concat({vbri, frames(8)});
    support::putBe32(patched, 46, uint32_t(9 * kFrame));
    support::putBe32(patched, 50, 9);
    EXPECT_EQ(rebuild(concat({vbri, frames(9), zeros(40)})).out, patched);
}

TEST(RebuildWalkDetail, VbrCountsAreWrittenAtTheirPlaceEvenPastTheOutputEnd) {
    // The only frame is taken back: the counts still go to 44 and 48, which lengthens the file.
    support::XingLayout both;
    both.frames = 1;
    both.bytes = uint32_t(kFrame);
    const Rebuilt r = rebuild(concat({support::buildXingFrame({}, both), zeros(500)}));
    EXPECT_EQ(r.out, zeros(52));
}

// Eleven frames, one with a wrong CRC, then half a frame; the title tells the tests apart.
ByteVec damagedTrack(const char* title) {
    ByteVec data = concat({frames(10), frames(1, withCrc(true)), frames(1), id3v1(title)});
    data.erase(data.end() - 128 - 100, data.end() - 128);
    return data;
}
ByteVec repairedTrack(const char* title) { return concat({frames(10), frames(1, withCrc(false)), id3v1(title)}); }

int checkAndFix(const std::string& path, const std::string& log, bool fix = true, bool deleteBackup = false,
                bool keepDates = false) {
    return checkAudioFile(path.c_str(), log.c_str(), fix, false, deleteBackup, keepDates);
}

TEST(RebuildTrack, ResultIsOneWhateverTheProblems) {
    support::TempDir dir;
    const std::string path = dir.file("bad.mp3");
    FrameLayout layer2;
    layer2.layer = 2;
    support::writeFile(path, concat({zeros(10), frames(8), frames(2, withCrc(true)), frames(3, layer2), zeros(10)}));
    EXPECT_EQ(checkAndFix(path, dir.file("log"), false), 4);
    EXPECT_EQ(checkAndFix(path, dir.file("log")), 1);
}

// The command line never sets these two flags.
TEST(RebuildTrack, KeepDatesAndDeleteBackup) {
    support::TempDir dir;
    const std::string path = dir.file("kept.mp3");
    const struct timespec old[2] = {{1000000000, 123456789}, {1000000500, 987654321}};
    support::writeFile(path, damagedTrack("dates"));
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), old, 0), 0);
    EXPECT_EQ(checkAndFix(path, dir.file("log"), true, true, true), 1);
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(std::tie(info.st_mtim.tv_sec, info.st_mtim.tv_nsec, info.st_atim.tv_sec),
              std::tie(old[1].tv_sec, old[1].tv_nsec, old[0].tv_sec));
    EXPECT_FALSE(std::filesystem::exists(path + ".bak"));
    EXPECT_EQ(support::readFile(path), repairedTrack("dates"));
}

// The rebuild's temporary files ("/tmp/mp3.XXXXXX") now there.
std::set<std::string> tempFiles() {
    std::set<std::string> names;
    glob_t found{};
    if (glob("/tmp/mp3.*", 0, nullptr, &found) == 0) names.insert(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    globfree(&found);
    return names;
}

// A temporary file made since `before` that holds a non-empty start of `wanted` (other tests
// may be rebuilding at the same time, so only this test's own bytes count).
bool leftoverTempFile(const std::set<std::string>& before, const ByteVec& wanted) {
    for (const std::string& name : tempFiles()) {
        const ByteVec held = before.count(name) ? ByteVec{} : support::readFile(name);
        if (!held.empty() && held.size() <= wanted.size() && std::equal(held.begin(), held.end(), wanted.begin()))
            return true;
    }
    return false;
}

TEST(RebuildTrack, FailedTemporaryWriteLeavesTheTrackAlone) {
    support::TempDir dir;
    const std::string path = dir.file("big.mp3"), log = dir.file("log");
    FrameLayout own;
    own.filler = 0x66;
    const ByteVec original = concat({frames(30, own), zeros(100), frames(30, own)});
    support::writeFile(path, original);
    const std::set<std::string> before = tempFiles();
    struct rlimit saved {};
    getrlimit(RLIMIT_FSIZE, &saved);
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit = saved;
    limit.rlim_cur = 4096;  // the rebuilt file may not grow past this
    setrlimit(RLIMIT_FSIZE, &limit);
    const int result = checkAndFix(path, log);
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previous);

    EXPECT_EQ(result, 1);
    EXPECT_EQ(support::readFile(path), original);
    EXPECT_FALSE(std::filesystem::exists(path + ".bak"));
    EXPECT_FALSE(leftoverTempFile(before, original));
    const std::string text = support::readText(log);
    EXPECT_NE(text.find("Rebuilding file '" + path + "'...\n\nError: Failed to write to the temporary file\n"),
              std::string::npos) << text;
    EXPECT_EQ(text.find("rebuilt"), std::string::npos);
}

// A move's result is compared with 0, which a move never returns: when the track cannot be
// moved to its backup name, the rebuilt file still takes its place.
TEST(RebuildTrack, FailedMoveToTheBackupIsNotDetected) {
    support::TempDir dir;
    const std::string path = dir.file("t.mp3"), log = dir.file("log");
    support::writeFile(path, damagedTrack("move"));
    ASSERT_EQ(mkdir((path + ".bak").c_str(), 0700), 0);
    support::writeText(path + ".bak/keep", "x");  // a folder in the way that cannot be replaced
    EXPECT_EQ(checkAndFix(path, log), 1);
    EXPECT_EQ(support::readFile(path), repairedTrack("move"));
    EXPECT_TRUE(std::filesystem::is_directory(path + ".bak"));
    const std::string text = support::readText(log);
    EXPECT_NE(text.find("Audio file has been rebuilt\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("Could not rename"), std::string::npos) << text;
}

}  // namespace
}  // namespace tagwick
