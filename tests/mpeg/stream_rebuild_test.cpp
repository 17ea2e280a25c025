// The rebuild of a damaged stream: the piece writer and its take-back, what the rebuild walk
// keeps and drops, the VBR header patch, and the driver that swaps the files.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <glob.h>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "mpeg/stream_checker.h"
#include "mpeg/stream_checker_internal.h"
#include "support/cli_runner.h"
#include "support/mpeg_builders.h"

namespace tagwick {
namespace {

using support::ByteVec;
using support::concat;
using support::FrameSpec;

constexpr size_t kFrame = 417;

ByteVec frames(size_t count, FrameSpec frame = {}) { return support::buildStream(frame, count); }
ByteVec zeros(size_t n) { return ByteVec(n, 0); }

ByteVec id3v2Tag(uint32_t bodySize) {
    ByteVec tag = {'I', 'D', '3', 3, 0, 0, 0, 0, uint8_t((bodySize >> 7) & 0x7F), uint8_t(bodySize & 0x7F)};
    tag.resize(10 + bodySize, 0x11);
    return tag;
}

ByteVec id3v1Tag(uint8_t fill = 'v') {
    ByteVec tag(128, fill);
    tag[0] = 'T';
    tag[1] = 'A';
    tag[2] = 'G';
    return tag;
}

ByteVec apeTag() {
    support::ApeSpec ape;
    ape.items.push_back({"Artist", "someone"});
    return support::buildApeTag(ape);
}

ByteVec readAll(int fd) {
    ByteVec out;
    lseek(fd, 0, SEEK_SET);
    uint8_t buffer[4096];
    ssize_t n;
    while ((n = read(fd, buffer, sizeof buffer)) > 0) out.insert(out.end(), buffer, buffer + n);
    return out;
}

// A scratch descriptor, closed and removed at the end.
class ScratchFd {
public:
    ScratchFd() : file_(std::tmpfile()) {}
    ~ScratchFd() { std::fclose(file_); }
    int fd() const { return fileno(file_); }

private:
    FILE* file_;
};

struct Rebuilt {
    int result = 0;
    CheckStats stats;
    ByteVec out;
};

Rebuilt rebuild(ByteVec data) {
    Rebuilt r;
    ScratchFd scratch;
    r.result = scanAudio(data, r.stats, nullptr, true, scratch.fd());
    r.out = readAll(scratch.fd());
    return r;
}

uint32_t be32(const ByteVec& data, size_t at) {
    return uint32_t(data.at(at)) << 24 | uint32_t(data.at(at + 1)) << 16 | uint32_t(data.at(at + 2)) << 8 |
           data.at(at + 3);
}

// ------------------------------------------------------------------ PieceWriter

const ByteVec kDigits = support::bytesOf("0123456789");

TEST(PieceWriter, WritesPiecesCutAtTheLimit) {
    ScratchFd scratch;
    PieceWriter writer(scratch.fd(), kDigits);
    EXPECT_EQ(writer.writePiece(0, 3, -1), 3);
    EXPECT_EQ(writer.writePiece(3, 4, 5), 2);
    EXPECT_EQ(writer.writePiece(8, 5, -1), 2);  // never past the source
    EXPECT_EQ(writer.writePiece(7, 3, 6), 0);   // starts past the limit
    EXPECT_EQ(writer.position(), 7);
    ASSERT_TRUE(writer.flush());
    EXPECT_EQ(readAll(scratch.fd()), support::bytesOf("0123489"));
}

TEST(PieceWriter, TakeBackDropsOnlyTheLastPiece) {
    ScratchFd scratch;
    PieceWriter writer(scratch.fd(), kDigits);
    writer.writePiece(0, 3, -1);
    writer.writePiece(5, 2, -1);
    EXPECT_EQ(writer.takeBack(), 2);
    EXPECT_EQ(writer.takeBack(), 0);  // nothing remembered any more
    writer.writePiece(9, 1, -1);
    ASSERT_TRUE(writer.flush());
    EXPECT_EQ(readAll(scratch.fd()), support::bytesOf("0129"));
}

TEST(PieceWriter, TakeBackSeeksOverWrittenBytes) {
    ScratchFd scratch;
    PieceWriter writer(scratch.fd(), kDigits);
    writer.writePiece(0, 2, -1);
    writer.writePiece(4, 4, -1);
    ASSERT_TRUE(writer.flush());
    EXPECT_EQ(writer.takeBack(), 4);
    EXPECT_EQ(writer.position(), 2);
    writer.writePiece(9, 1, -1);
    ASSERT_TRUE(writer.flush());
    ASSERT_EQ(truncateAtPosition(scratch.fd()), 0);
    EXPECT_EQ(readAll(scratch.fd()), support::bytesOf("019"));
}

TEST(PieceWriter, ZeroLengthPieceForgetsTheLastOne) {
    ScratchFd scratch;
    PieceWriter writer(scratch.fd(), kDigits);
    writer.writePiece(0, 3, -1);
    writer.writePiece(5, 0, -1);
    EXPECT_EQ(writer.takeBack(), 0);
    ASSERT_TRUE(writer.flush());
    EXPECT_EQ(readAll(scratch.fd()), support::bytesOf("012"));
}

TEST(PieceWriter, FailedWriteIsReported) {
    support::TempDir dir;
    support::writeText(dir.file("ro"), "");
    int fd = open(dir.file("ro").c_str(), O_RDONLY);
    ASSERT_GE(fd, 0);
    PieceWriter writer(fd, kDigits);
    EXPECT_EQ(writer.writePiece(0, 3, -1), 3);  // only gathered so far
    EXPECT_EQ(writer.writePiece(5, 1, -1), -1);
    EXPECT_TRUE(writer.failed());
    EXPECT_FALSE(writer.flush());
    close(fd);
}

// ------------------------------------------------------------------ the rebuild walk

TEST(RebuildWalk, SoundFileIsCopiedByteForByte) {
    ByteVec data = concat({id3v2Tag(200), frames(12), apeTag(), id3v1Tag()});
    Rebuilt r = rebuild(data);
    EXPECT_EQ(r.result, 0);
    EXPECT_EQ(r.out, data);
    EXPECT_EQ(r.stats.errorCount, 1);  // after any rebuild run
    EXPECT_EQ(r.stats.framesDropped, 0);
}

TEST(RebuildWalk, Id3v2BeforeGarbageIsLeftOut) {
    ByteVec audio = frames(10);
    Rebuilt r = rebuild(concat({id3v2Tag(100), zeros(30), audio, id3v1Tag()}));
    EXPECT_EQ(r.out, concat({audio, id3v1Tag()}));
    EXPECT_EQ(r.stats.framesDropped, 0);
    EXPECT_EQ(r.stats.dataBytes, int32_t(10 * kFrame));
}

TEST(RebuildWalk, GarbageInsideCostsTheFrameBeforeIt) {
    ByteVec data = concat({frames(5), zeros(50), frames(10)});
    Rebuilt r = rebuild(data);
    EXPECT_EQ(r.out, frames(14));
    EXPECT_EQ(r.stats.framesDropped, 1);
    EXPECT_EQ(r.stats.totalFrames(), 15);
    EXPECT_EQ(r.stats.dataBytes, int32_t(14 * kFrame));
}

TEST(RebuildWalk, FrameWithAWrongLengthIsLeftOut) {
    FrameSpec lying;
    lying.padding = true;
    ByteVec bad = support::buildFrame(lying);
    bad.pop_back();
    Rebuilt r = rebuild(concat({frames(5), bad, frames(10)}));
    EXPECT_EQ(r.out, frames(15));
    EXPECT_EQ(r.stats.framesDropped, 1);
    EXPECT_EQ(r.stats.dataBytes, int32_t(15 * kFrame));
}

TEST(RebuildWalk, CrcFixInsideAKeptFrameDoesNotChangeThatFrame) {
    // Frame F holds, 100 bytes in, the start of a protected frame G with a wrong CRC. An APE
    // tag follows F, then noise: the tag is taken back and the search finds G inside F. G's
    // CRC is corrected in the data, but F was already written with the old bytes.
    FrameSpec protectedSpec;
    protectedSpec.crc = true;
    protectedSpec.wrongCrc = true;
    const ByteVec g = support::buildFrame(protectedSpec);
    ByteVec data = frames(1);
    std::copy(g.begin(), g.begin() + 317, data.begin() + 100);
    ByteVec ape(64, 0);
    std::copy_n("APETAGEX", 8, ape.begin());
    ape[12] = 32;  // items and footer: 32 bytes, so the tag is 64 long
    support::append(data, ape);
    data.resize(100 + kFrame, 0);
    support::append(data, frames(5));

    Rebuilt r = rebuild(data);
    ByteVec fixedG(data.begin() + 100, data.begin() + 100 + long(kFrame));
    const uint16_t crc = support::frameCrc(fixedG);
    fixedG[4] = uint8_t(crc >> 8);
    fixedG[5] = uint8_t(crc);
    ASSERT_NE(fixedG[5], data[105]);
    EXPECT_EQ(r.out, concat({ByteVec(data.begin(), data.begin() + long(kFrame)), fixedG, frames(5)}));
    EXPECT_EQ(r.stats.crcErrorCount, 1);
    EXPECT_EQ(r.stats.apeCount, 1);
}

TEST(RebuildWalk, ApeBeforeGarbageIsLeftOutWithoutCountingAFrame) {
    Rebuilt r = rebuild(concat({frames(10), apeTag(), zeros(40)}));
    EXPECT_EQ(r.out, frames(10));
    EXPECT_EQ(r.stats.framesDropped, 0);
}

TEST(RebuildWalk, HalfFrameAtTheEndIsDroppedAndXingCountsPatched) {
    const ByteVec head = support::buildXingFrame({}, [] {
        support::XingSpec x;
        x.frames = 999;
        x.bytes = 1;
        return x;
    }());
    ByteVec data = concat({head, frames(10), id3v1Tag()});
    data.erase(data.end() - 128 - 200, data.end() - 128);  // the last frame loses 200 bytes
    Rebuilt r = rebuild(data);
    EXPECT_EQ(r.stats.totalFrames(), 11);
    EXPECT_EQ(r.stats.framesDropped, 1);
    ASSERT_EQ(r.out.size(), 10 * kFrame + 128);
    // Counts after "Xing" and the flags: 36 + 8 for MPEG-1 stereo.
    EXPECT_EQ(be32(r.out, 44), 10u);
    EXPECT_EQ(be32(r.out, 48), uint32_t(10 * kFrame));
    ByteVec expected = concat({head, frames(9), id3v1Tag()});
    std::copy(r.out.begin() + 44, r.out.begin() + 52, expected.begin() + 44);
    EXPECT_EQ(r.out, expected);
}

TEST(RebuildWalk, XingWithOneCountGetsThatCountOnly) {
    for (bool framesOnly : {true, false}) {
        support::XingSpec x;
        if (framesOnly) x.frames = 5;
        else x.bytes = 5;
        FrameSpec monoSpec;
        monoSpec.channelMode = 3;
        ByteVec data = concat({support::buildXingFrame(monoSpec, x), frames(6, monoSpec), zeros(20)});
        Rebuilt r = rebuild(data);
        ASSERT_EQ(r.out.size(), 6 * kFrame);
        // MPEG-1 mono: side information 17, "Xing" at 21, first count at 29.
        EXPECT_EQ(be32(r.out, 29), framesOnly ? 6u : uint32_t(6 * kFrame)) << framesOnly;
        EXPECT_EQ(be32(r.out, 33), 0u);  // the body beyond stays as it was
    }
}

TEST(RebuildWalk, VbriCountsPatched) {
    support::VbriSpec v;
    v.bytes = 7;
    v.frames = 7;
    Rebuilt r = rebuild(concat({support::buildVbriFrame({}, v), frames(9), zeros(40)}));
    ASSERT_EQ(r.out.size(), 9 * kFrame);
    EXPECT_EQ(be32(r.out, 46), uint32_t(9 * kFrame));
    EXPECT_EQ(be32(r.out, 50), 9u);
}

TEST(RebuildWalk, RiffWrapperIsStripped) {
    ByteVec audio = frames(10);
    Rebuilt bare = rebuild(support::buildRiffWave(audio));
    EXPECT_EQ(bare.out, audio);
    // A chunk after the data is invalid data, which also takes the last frame back.
    support::RiffSpec riff;
    riff.trailing = support::RiffChunk{"LIST", ByteVec(30, 'x')};
    Rebuilt trailing = rebuild(support::buildRiffWave(audio, riff));
    EXPECT_EQ(trailing.out, frames(9));
    EXPECT_EQ(trailing.stats.framesDropped, 1);
}

TEST(RebuildWalk, WrongCrcsAreCorrected) {
    FrameSpec good;
    good.crc = true;
    good.filler = 0x33;
    FrameSpec bad = good;
    bad.wrongCrc = true;
    ByteVec data = concat({frames(3, good), frames(2, bad), frames(5, good)});
    Rebuilt r = rebuild(data);
    EXPECT_EQ(r.out, frames(10, good));
    EXPECT_EQ(r.stats.crcErrorCount, 2);
}

TEST(RebuildWalk, TruncatedTagAtTheStartIsTakenBack) {
    ByteVec data = concat({id3v2Tag(100), frames(3)});
    data[8] = 0x7F;  // the tag claims more than the file holds
    Rebuilt r = rebuild(data);
    EXPECT_TRUE(r.out.empty());
    EXPECT_EQ(r.stats.framesDropped, 0);
}

TEST(RebuildWalk, RebuildingTwiceGivesTheSameBytes) {
    const ByteVec head = support::buildXingFrame({}, [] {
        support::XingSpec x;
        x.frames = 1;
        x.bytes = 2;
        return x;
    }());
    FrameSpec bad;
    bad.crc = true;
    bad.wrongCrc = true;
    ByteVec damaged = concat({zeros(33), head, frames(9), frames(2, bad), zeros(9), frames(8), apeTag()});
    damaged.resize(damaged.size() - 10);
    Rebuilt once = rebuild(damaged);
    EXPECT_EQ(once.out.size(), 19 * kFrame);
    Rebuilt twice = rebuild(once.out);
    EXPECT_EQ(twice.out, once.out);
    CheckStats stats;
    scanAudio(once.out, stats, nullptr, false, -1);
    printReport(nullptr, stats, true);
    EXPECT_EQ(stats.errorCount, 0);
}

TEST(RebuildWalk, WriteFailureIsReported) {
    support::TempDir dir;
    support::writeText(dir.file("ro"), "");
    int fd = open(dir.file("ro").c_str(), O_RDONLY);
    ASSERT_GE(fd, 0);
    ByteVec data = concat({frames(10), zeros(20), frames(10)});
    CheckStats stats;
    EXPECT_EQ(scanAudio(data, stats, nullptr, true, fd), -1);
    EXPECT_EQ(stats.errorCount, 1);
    close(fd);
}

// ------------------------------------------------------------------ the rebuild driver

std::set<std::string> tempFiles() {
    std::set<std::string> names;
    glob_t found{};
    if (glob("/tmp/mp3.*", 0, nullptr, &found) == 0)
        for (size_t i = 0; i < found.gl_pathc; ++i) names.insert(found.gl_pathv[i]);
    globfree(&found);
    return names;
}

// True when a temporary file made since `before` is still there and holds `wanted` or a
// non-empty start of it. Other tests may be rebuilding at the same time, so only files with
// this test's own bytes count.
bool leftoverTempFile(const std::set<std::string>& before, const ByteVec& wanted) {
    for (const std::string& name : tempFiles()) {
        if (before.count(name)) continue;
        const ByteVec held = support::readFile(name);
        if (!held.empty() && held.size() <= wanted.size() && std::equal(held.begin(), held.end(), wanted.begin()))
            return true;
    }
    return false;
}

// `fill` tells the tracks of different tests apart.
ByteVec damagedTrack(uint8_t fill = 'v') {
    FrameSpec bad;
    bad.crc = true;
    bad.wrongCrc = true;
    ByteVec data = concat({frames(10), frames(1, bad), frames(1), id3v1Tag(fill)});
    data.erase(data.end() - 128 - 100, data.end() - 128);
    return data;
}

ByteVec repairedTrack(uint8_t fill = 'v') {
    FrameSpec good;
    good.crc = true;
    return concat({frames(10), frames(1, good), id3v1Tag(fill)});
}

TEST(RebuildTrack, SoundTrackIsLeftAlone) {
    support::TempDir dir;
    const std::string path = dir.file("clean.mp3");
    const ByteVec data = concat({frames(10), id3v1Tag('c')});
    support::writeFile(path, data);
    const auto before = tempFiles();
    EXPECT_EQ(checkAudioFile(path.c_str(), dir.file("log").c_str(), true, false, false, false), 0);
    EXPECT_EQ(support::readFile(path), data);
    EXPECT_FALSE(std::filesystem::exists(path + ".bak"));
    EXPECT_FALSE(leftoverTempFile(before, data));
    EXPECT_EQ(support::readText(dir.file("log")).find("Rebuilding"), std::string::npos);
}

TEST(RebuildTrack, DamagedTrackIsReplacedAndKeptAsBackup) {
    support::TempDir dir;
    const std::string path = dir.file("damaged.mp3");
    const std::string log = dir.file("log");
    const ByteVec original = damagedTrack('d');
    support::writeFile(path, original);
    ASSERT_EQ(chmod(path.c_str(), 0604), 0);
    const auto before = tempFiles();

    EXPECT_EQ(checkAudioFile(path.c_str(), log.c_str(), true, false, false, false), 1);
    EXPECT_EQ(support::readFile(path), repairedTrack('d'));
    EXPECT_EQ(support::readFile(path + ".bak"), original);
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0604u);
    EXPECT_FALSE(leftoverTempFile(before, repairedTrack('d')));
    EXPECT_EQ(support::readText(log),
              "Checking audio file '" + path + "'...\n"
              "Warning: The audio track has been truncated or there is invalid data at the end of the file (from "
              "offset " + std::to_string(12 * kFrame) + ")\n"
              "Warning: 1 frames have the wrong CRC\n"
              "Information: MPEG 1 Layer III, 12 MPEG frames, CBR, CRC, ID3v1\n"
              "Rebuilding file '" + path + "'...\n\n"
              "Audio file has been rebuilt\n");
}

TEST(RebuildTrack, ResultIsOneWhateverTheProblems) {
    support::TempDir dir;
    const std::string path = dir.file("bad.mp3");
    FrameSpec layer2;
    layer2.layer = 2;
    FrameSpec bad;
    bad.crc = true;
    bad.wrongCrc = true;
    support::writeFile(path, concat({zeros(10), frames(8), frames(2, bad), frames(3, layer2), zeros(10)}));
    EXPECT_EQ(checkAudioFile(path.c_str(), dir.file("log").c_str(), false, false, false, false), 4);
    EXPECT_EQ(checkAudioFile(path.c_str(), dir.file("log").c_str(), true, false, false, false), 1);
}

TEST(RebuildTrack, KeepDatesAndDeleteBackup) {
    support::TempDir dir;
    const std::string kept = dir.file("kept.mp3");
    const std::string fresh = dir.file("fresh.mp3");
    const struct timespec old[2] = {{1000000000, 123456789}, {1000000500, 987654321}};
    for (const std::string& path : {kept, fresh}) {
        support::writeFile(path, damagedTrack());
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), old, 0), 0);
    }
    checkAudioFile(kept.c_str(), dir.file("log").c_str(), true, false, true, true);
    checkAudioFile(fresh.c_str(), dir.file("log").c_str(), true, false, false, false);
    struct stat info {};
    ASSERT_EQ(stat(kept.c_str(), &info), 0);
    EXPECT_EQ(info.st_mtim.tv_sec, old[1].tv_sec);
    EXPECT_EQ(info.st_mtim.tv_nsec, old[1].tv_nsec);
    EXPECT_EQ(info.st_atim.tv_sec, old[0].tv_sec);
    EXPECT_FALSE(std::filesystem::exists(kept + ".bak"));
    ASSERT_EQ(stat(fresh.c_str(), &info), 0);
    EXPECT_NE(info.st_mtim.tv_sec, old[1].tv_sec);
    EXPECT_TRUE(std::filesystem::exists(fresh + ".bak"));
    EXPECT_EQ(support::readFile(kept), repairedTrack());
}

// Limits the size of files this process may write while it lives.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &saved_);
        previous_ = std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit = saved_;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &saved_);
        std::signal(SIGXFSZ, previous_);
    }

private:
    struct rlimit saved_ {};
    void (*previous_)(int) = nullptr;
};

TEST(RebuildTrack, FailedTemporaryWriteLeavesTheTrackAlone) {
    support::TempDir dir;
    const std::string path = dir.file("big.mp3");
    const std::string log = dir.file("log");
    FrameSpec own;
    own.filler = 0x66;
    const ByteVec original = concat({frames(30, own), zeros(100), frames(30, own)});
    support::writeFile(path, original);
    const auto before = tempFiles();
    int result;
    {
        FileSizeLimit limit(4096);
        result = checkAudioFile(path.c_str(), log.c_str(), true, false, false, false);
    }
    EXPECT_EQ(result, 1);
    EXPECT_EQ(support::readFile(path), original);
    EXPECT_FALSE(std::filesystem::exists(path + ".bak"));
    EXPECT_FALSE(leftoverTempFile(before, original));
    const std::string text = support::readText(log);
    EXPECT_NE(text.find("Rebuilding file '" + path + "'...\n\nError: Failed to write to the temporary file\n"),
              std::string::npos)
        << text;
    EXPECT_EQ(text.find("rebuilt"), std::string::npos);
}

TEST(RebuildTrack, BackupNameTooLongLeavesTheTrackAlone) {
    support::TempDir dir;
    std::string folder = dir.path();
    for (char c : {'a', 'b', 'c', 'd'}) {
        folder += "/" + std::string(250, c);
        ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    }
    const std::string path = folder + "/t.mp3";
    ASSERT_GT(path.size() + 4, 1024u);
    const ByteVec original = damagedTrack('l');
    support::writeFile(path, original);
    const auto before = tempFiles();
    EXPECT_EQ(checkAudioFile(path.c_str(), dir.file("log").c_str(), true, false, false, false), 1);
    EXPECT_EQ(support::readFile(path), original);
    EXPECT_FALSE(leftoverTempFile(before, repairedTrack('l')));
    EXPECT_NE(support::readText(dir.file("log")).find("Error: Could not rename the audio file from '" + path + "' to '"),
              std::string::npos);
}

// ------------------------------------------------------------------ every sample file

TEST(RebuildCorpus, EverySampleChecksAndRebuildsSafely) {
    const std::string root = support::corpusFile("");
    if (root.empty()) GTEST_SKIP() << "no sample corpus";
    support::TempDir dir;
    int checked = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        const std::string ext = entry.path().extension().string();
        if (!entry.is_regular_file() || (ext != ".mp3" && ext != ".mp2")) continue;
        const ByteVec original = support::readFile(entry.path().string());
        const std::string copy = dir.file(std::to_string(checked) + ext);
        const std::string log = dir.file("log");
        support::writeFile(copy, original);
        const int found = checkAudioFile(copy.c_str(), log.c_str(), false, false, false, false);
        EXPECT_GE(found, 0) << entry.path();
        EXPECT_EQ(support::readFile(copy), original) << entry.path();
        const int fixed = checkAudioFile(copy.c_str(), log.c_str(), true, false, false, false);
        if (found == 0) {
            EXPECT_EQ(fixed, 0) << entry.path();
            EXPECT_FALSE(std::filesystem::exists(copy + ".bak")) << entry.path();
        } else {
            EXPECT_EQ(fixed, 1) << entry.path();
            EXPECT_EQ(support::readFile(copy + ".bak"), original) << entry.path();
            EXPECT_LE(support::readFile(copy).size(), original.size() + 8) << entry.path();
        }
        ++checked;
    }
    EXPECT_GT(checked, 50);
}

}  // namespace
}  // namespace tagwick
