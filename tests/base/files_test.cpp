// The file helpers (path parts, syncsafe sizes, temporary files, free names, copies and moves,
// folders, the replacement of a track by its temporary file) and the buffered reader and writer
// (views across and behind the window, files that shrink or end before their claimed sizes;
// take-backs, patches, copies and failed writes). The reads a walk costs are counted in the
// stream checker's tests, a named pipe is refused in the run's end-to-end tests.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "base/file_reader.h"
#include "base/file_writer.h"
#include "base/files.h"
#include "base/safe_replace.h"
#include "support/cli_runner.h"
#include "support/log_capture.h"

namespace tagwick {
namespace {

using support::TempDir;

using support::writeText;

TEST(PathParts, FolderNameAndExtension) {
    const std::array<const char*, 4> cases[] = {
        // path, directoryPart, fileNamePart, fileExtension
        {"/name", "/", "name", ""},     {"dir//sub/", "dir", "sub/", ""},   {"C:\\dir\\x.Mp3", "C:\\dir", "x.Mp3", "Mp3"},
        {"//x", "//", "x", ""},         {"a.b/name", "a.b", "name", ""},    {"dir/.hidden.mp3", "dir", ".hidden.mp3", ""},
    };
    for (const auto& [path, folder, name, extension] : cases) {
        EXPECT_EQ(directoryPart(path), folder) << path;
        EXPECT_STREQ(fileNamePart(path), name);
        EXPECT_EQ(fileExtension(path), extension) << path;
    }
}

TEST(Syncsafe, TopByteIsUnmaskedAndWriteErrorsKeepSevenCharacters) {
    std::array<uint8_t, 4> out{};
    encodeSyncsafe(out.data(), 0x10000080);
    EXPECT_EQ(out, (std::array<uint8_t, 4>{0x80, 0, 1, 0}));
    TempDir dir;
    writeText(dir.file("s"), "");
    UniqueFile readOnly(std::fopen(dir.file("s").c_str(), "rb"));
    support::LogCapture log;
    EXPECT_FALSE(writeSyncsafe(readOnly.get(), 300));
    std::string cut = std::string(strerror(EBADF)).substr(0, 7);
    EXPECT_TRUE(log.has(LogError, "Failed to write the syncsafe size 300 (error: " + cut + ")")) << log.text();
}

TEST(TempFiles, ShortBufferFails) {
    char shortBuffer[1023] = "untouched";
    EXPECT_EQ(makeTempFile(shortBuffer, sizeof shortBuffer, "abc"), -1);
    EXPECT_STREQ(shortBuffer, "untouched");
}

TEST(UniqueFileName, NumbersBeforeTheExtensionUpTo98) {
    TempDir dir;
    EXPECT_EQ(uniqueFileName(dir.file("s.mp3").c_str()), dir.file("s.mp3"));
    ASSERT_EQ(mkdir(dir.file("b.c").c_str(), 0755), 0);
    for (const char* name : {"s.mp3", "b.c/name"}) writeText(dir.file(name), "");
    EXPECT_EQ(uniqueFileName(dir.file("b.c/name").c_str()), dir.file("b.c/name-1"));
    for (int n = 1; n <= 97; ++n) writeText(dir.file("s-" + std::to_string(n) + ".mp3"), "");
    EXPECT_EQ(uniqueFileName(dir.file("s.mp3").c_str()), dir.file("s-98.mp3"));
    writeText(dir.file("s-98.mp3"), "");
    EXPECT_EQ(uniqueFileName(dir.file("s.mp3").c_str()), std::nullopt);  // "s-99.mp3" is never tried
}

TEST(CopyAndMove, SuccessIsMinusOneAndFailureAnErrorNumber) {
    TempDir dir;
    const std::string src = dir.file("src"), dst = dir.file("dst");
    writeText(src, "");
    writeText(dst, "old contents");
    EXPECT_EQ(copyFile(src.c_str(), dst.c_str()), -1);
    EXPECT_EQ(support::readText(dst), "");
    EXPECT_EQ(copyFile(dir.file("missing").c_str(), dst.c_str()), ENOENT);
    EXPECT_EQ(copyFile(nullptr, dst.c_str()), 2);
    // rename() onto a folder fails, and so does the copy; the source stays.
    ASSERT_EQ(mkdir(dir.file("folder").c_str(), 0755), 0);
    EXPECT_EQ(moveFile(src.c_str(), dir.file("folder").c_str()), EISDIR);
    EXPECT_EQ(access(src.c_str(), F_OK), 0);
}

TEST(MakeDirectories, FailsOnlyWhenAParentIsMissing) {
    TempDir dir;
    EXPECT_EQ(makeDirectories(dir.file("a/b/c/").c_str(), 0755), 0);
    EXPECT_EQ(makeDirectories(dir.file("a/b/c").c_str(), 0755), 0);  // an existing folder is no failure
    ASSERT_EQ(symlink(dir.file("nowhere").c_str(), dir.file("link").c_str()), 0);
    EXPECT_EQ(makeDirectories(dir.file("link/x").c_str(), 0755), -1);
    writeText(dir.file("plain"), "");  // ENOTDIR is not reported
    EXPECT_EQ(makeDirectories(dir.file("plain/x").c_str(), 0755), 0);
}

TEST(SafeReplace, ReplacementNeedsTheTargetStillThere) {
    TempDir dir;
    const std::string temporary = dir.file("song.mp3.t0"), target = dir.file("song.mp3");
    writeText(temporary, "new");
    support::LogCapture log;
    EXPECT_FALSE(replaceWithTemporary(temporary.c_str(), target.c_str(), false));
    EXPECT_TRUE(log.has(1, "Failed to remove the original file '" + target + "' (2)")) << log.text();
    writeText(target, "old");
    EXPECT_TRUE(replaceWithTemporary(temporary.c_str(), target.c_str(), false));
    EXPECT_EQ(support::readText(target), "new");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
}

// ---------------------------------------------------------------- the buffered reader and writer

using Vec = std::vector<uint8_t>;

constexpr uint64_t B = FileReader::BufferSize;

// Bytes that differ from their neighbours at every offset of a few windows.
Vec pattern(size_t size) {
    Vec bytes(size);
    // No period short of the sizes used, so a block copied to the wrong place shows.
    for (size_t i = 0; i < size; ++i) bytes[i] = uint8_t(i * 7 + (i >> 9) + (i >> 17) * 31 + (i >> 23) * 101);
    return bytes;
}

Vec slice(const Vec& bytes, uint64_t offset, size_t n) {
    if (offset >= bytes.size()) return {};
    return Vec(bytes.begin() + long(offset), bytes.begin() + long(std::min<uint64_t>(bytes.size(), offset + n)));
}

// A view made first places the window; the second gives the file's bytes, or fewer at its end.
TEST(FileReader, ViewsGiveTheFileBytes) {
    TempDir dir;
    const Vec file = pattern(3 * B + 1000);
    support::writeFile(dir.file("f"), file);
    const struct {
        const char* name;
        uint64_t before, offset;
        size_t n, expected;
    } cases[] = {
        {"AcrossTheWindowEnd", 0, B - 10, 100, 100},
        {"StepBackOverTheWindowStart", 2 * B, 2 * B - 5000, 6000, 6000},
        {"FarBack", 3 * B, 10, 20, 20},
        {"LongestView", 5, B / 2, FileReader::MaxView + 100, FileReader::MaxView},
        {"CutAtTheEnd", 0, 3 * B + 950, 1000, 50},
        {"PastTheEnd", 0, 3 * B + 1005, 4, 0},
    };
    for (const auto& c : cases) {
        FileReader reader;
        ASSERT_TRUE(reader.open(dir.file("f").c_str()));
        (void)reader.view(c.before, 4);
        const Bytes got = reader.view(c.offset, c.n);
        EXPECT_EQ(Vec(got.begin(), got.end()), slice(file, c.offset, c.expected)) << c.name;  // its size too
    }
}

TEST(FileReader, ShrinkingFileAndClaimedSizesPastTheEnd) {
    TempDir dir;
    const Vec file = pattern(2 * B);
    support::writeFile(dir.file("f"), file);
    FileReader reader;
    ASSERT_TRUE(reader.open(dir.file("f").c_str()));
    EXPECT_EQ(reader.view(0, 8).size(), 8u);
    // A tag claiming far more than the file holds gets what there is, nothing allocated beyond.
    EXPECT_EQ(reader.readRange(B + 100, uint64_t(1) << 40), slice(file, B + 100, B));
    ASSERT_EQ(truncate(dir.file("f").c_str(), off_t(B + 300)), 0);
    EXPECT_EQ(reader.size(), 2 * B);                    // not known before a read finds it
    EXPECT_EQ(reader.view(B + 280, 40).size(), 20u);    // this read finds the new end
    EXPECT_EQ(reader.size(), B + 300);
    EXPECT_EQ(reader.view(B + 400, 4).size(), 0u);
    EXPECT_EQ(reader.error(), 0);
    Vec out(100, 0xEE);
    EXPECT_EQ(reader.read(B + 250, out), 50u);
    EXPECT_EQ(slice(out, 0, 50), slice(file, B + 250, 50));
}

// ---- FileWriter ----

Vec text(const std::string& s) { return Vec(s.begin(), s.end()); }

TEST(FileWriter, TakeBackAcrossAFlushAndPatchesAnywhere) {
    TempDir dir;
    UniqueFd fd(open(dir.file("out").c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600));
    ASSERT_TRUE(fd.valid());
    FileWriter writer(fd.get());
    const Vec head = pattern(B - 10);
    ASSERT_TRUE(writer.write(head));
    ASSERT_TRUE(writer.write(Vec(30, 'b')));  // fills the buffer: ten of these reach the file
    EXPECT_FALSE(writer.takeBack(B + 100));   // more than was ever written
    ASSERT_TRUE(writer.takeBack(35));         // back over the flush, into the head
    EXPECT_EQ(writer.position(), B - 15);
    ASSERT_TRUE(writer.write(text("tail")));
    ASSERT_TRUE(writer.writeAt(1, text("XY")));          // flushed
    ASSERT_TRUE(writer.writeAt(B - 14, text("A")));      // still buffered
    ASSERT_TRUE(writer.truncateHere());
    ASSERT_TRUE(writer.writeAt(B, text("far")));         // past the end: zeros up to it
    ASSERT_TRUE(writer.flush());
    Vec expected = slice(head, 0, B - 15);
    for (uint8_t c : text("tAil")) expected.push_back(c);
    expected[1] = 'X', expected[2] = 'Y';
    expected.resize(B, 0);
    for (uint8_t c : text("far")) expected.push_back(c);
    EXPECT_EQ(support::readFile(dir.file("out")), expected);
}

TEST(FileWriter, CopiesFromAnotherFileInStepsAndTellsAnEarlyEnd) {
    TempDir dir;
    const Vec source = pattern(40 * B + 77);
    support::writeFile(dir.file("src"), source);
    UniqueFd in(open(dir.file("src").c_str(), O_RDONLY));
    FileWriter writer(UniqueFd(open(dir.file("out").c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600)));
    ASSERT_TRUE(writer.write(text("ID3")));
    ASSERT_TRUE(writer.copyFrom(in.get(), 5, 36 * B));  // 9 MB: more than one kernel step
    EXPECT_EQ(writer.copied(), 36 * B);
    EXPECT_FALSE(writer.copyFrom(in.get(), 40 * B, 1000));  // 77 bytes are there
    EXPECT_EQ(writer.copied(), 77u);
    EXPECT_FALSE(writer.failed());
    ASSERT_TRUE(writer.write(text("!")));
    ASSERT_TRUE(writer.close());
    Vec expected = text("ID3");
    for (const Vec& part : {slice(source, 5, 36 * B), slice(source, 40 * B, 77), text("!")})
        expected.insert(expected.end(), part.begin(), part.end());
    EXPECT_EQ(support::readFile(dir.file("out")), expected);
}

TEST(FileWriter, FailedWritesAreReportedAndStick) {
    TempDir dir;
    support::writeFile(dir.file("ro"), text("keep"));
    UniqueFd readOnly(open(dir.file("ro").c_str(), O_RDONLY));
    FileWriter writer(readOnly.get());
    EXPECT_TRUE(writer.write(text("buffered")));  // nothing reached the file yet
    EXPECT_FALSE(writer.flush());
    EXPECT_EQ(writer.error(), EBADF);
    EXPECT_FALSE(writer.write(text("x")));
    EXPECT_FALSE(writer.truncateHere());
    // A source that cannot be read fails the copy the same way.
    UniqueFd out(open(dir.file("out").c_str(), O_RDWR | O_CREAT, 0600));
    UniqueFd writeOnly(open(dir.file("ro").c_str(), O_WRONLY));
    FileWriter copier(out.get());
    EXPECT_FALSE(copier.copyFrom(writeOnly.get(), 0, 4));
    EXPECT_EQ(copier.error(), EBADF);
    EXPECT_EQ(support::readFile(dir.file("ro")), text("keep"));
}

}  // namespace
}  // namespace tagwick
