#include "base/files.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <string>
#include <vector>

#include "support/cli_runner.h"
#include "support/log_capture.h"

namespace tagwick {
namespace {

using support::readText;
using support::TempDir;
using support::writeFile;
using support::writeText;

std::vector<uint8_t> patternBytes(size_t count) {
    std::vector<uint8_t> bytes(count);
    for (size_t i = 0; i < count; ++i) bytes[i] = uint8_t(i * 7 + 3);
    return bytes;
}

bool exists(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

bool fdOpen(int fd) { return fcntl(fd, F_GETFD) != -1; }

TEST(PathParts, FolderNameAndExtension) {
    const std::array<const char*, 4> cases[] = {
        // path, directoryPart, fileNamePart, fileExtension
        {"", ".", "", ""},                       {"name", ".", "name", ""},
        {"/name", "/", "name", ""},              {"dir/sub/", "dir", "sub/", ""},
        {"dir//sub", "dir", "sub", ""},          {"/a/b/c.mp3", "/a/b", "c.mp3", "mp3"},
        {"a/b\\c.AIF", "a/b", "c.AIF", "AIF"},   {"C:\\dir\\x.mp3", "C:\\dir", "x.mp3", "mp3"},
        {"C:\\x", "C:\\", "x", ""},              {"C:", ".", "C:", ""},
        {"//host/share", "//host", "share", ""}, {"//x", "//", "x", ""},
        {"a.b/name", "a.b", "name", ""},         {"dir/.hidden.mp3", "dir", ".hidden.mp3", ""},
        {"a.tar.gz", ".", "a.tar.gz", "gz"},     {"name.", ".", "name.", ""},
    };
    for (const auto& [path, folder, name, extension] : cases) {
        SCOPED_TRACE(path);
        EXPECT_EQ(directoryPart(path), folder);
        const char* part = fileNamePart(path);
        EXPECT_STREQ(part, name);
        EXPECT_TRUE(part >= path && part <= path + std::strlen(path));  // a pointer into the path
        EXPECT_EQ(fileExtension(path), extension);
    }
    EXPECT_EQ(directoryPart(nullptr), ".");
}

TEST(Syncsafe, SevenBitGroupsWithTheTopByteUnmasked) {
    const std::pair<uint32_t, std::array<uint8_t, 4>> cases[] = {
        {0x7F, {0, 0, 0, 0x7F}}, {0x80, {0, 0, 1, 0}}, {0x0FFFFFFF, {0x7F, 0x7F, 0x7F, 0x7F}},
        {0x10000000, {0x80, 0, 0, 0}}};
    for (const auto& [value, bytes] : cases) {
        std::array<uint8_t, 4> out{};
        encodeSyncsafe(out.data(), value);
        EXPECT_EQ(out, bytes) << value;
    }
    TempDir dir;
    UniqueFile f(std::fopen(dir.file("s").c_str(), "wb"));
    ASSERT_TRUE(f);
    EXPECT_TRUE(writeSyncsafe(f.get(), 257));
    ASSERT_TRUE(f.close());
    EXPECT_EQ(readText(dir.file("s")), std::string("\0\0\2\1", 4));

    UniqueFile readOnly(std::fopen(dir.file("s").c_str(), "rb"));
    support::LogCapture log;
    EXPECT_FALSE(writeSyncsafe(readOnly.get(), 300));
    // The error text is held in 8 bytes: only its first 7 characters appear.
    std::string cut = std::string(strerror(EBADF)).substr(0, 7);
    EXPECT_TRUE(log.has(LogError, "Failed to write the syncsafe size 300 (error: " + cut + ")")) << log.text();
}

TEST(ExtendedToUint, ConvertsSaturatesAndRefuses) {
    // 44100, 22050.5 (cut), one half, negative, not a number, 2^32 (saturates).
    const std::pair<std::array<uint8_t, 10>, uint32_t> cases[] = {
        {{0x40, 0x0E, 0xAC, 0x44}, 44100}, {{0x40, 0x0D, 0xAC, 0x44, 0x80}, 22050}, {{0x3F, 0xFE, 0x80}, 0},
        {{0xC0, 0x0E, 0xAC, 0x44}, 0},     {{0x7F, 0xFF, 0xC0}, 0},                 {{0x40, 0x1F, 0x80}, UINT32_MAX}};
    for (const auto& [bytes, expected] : cases) EXPECT_EQ(extendedToUint(bytes.data()), expected) << expected;
}

TEST(Descriptors, SeekWriteTruncateAndSize) {
    TempDir dir;
    std::string path = dir.file("data.bin");
    writeFile(path, patternBytes(100));
    UniqueFd fd(::open(path.c_str(), O_RDWR));
    ASSERT_TRUE(fd.valid());
    EXPECT_EQ(seekFd(fd.get(), 10, false), 10);
    EXPECT_EQ(seekFd(fd.get(), -3, true), 7);
    EXPECT_EQ(fdSize(fd.get()), 100);
    EXPECT_EQ(lseek(fd.get(), 0, SEEK_CUR), 7);  // fdSize seeks back
    EXPECT_EQ(seekFd(fd.get(), -5, false), -1);
    EXPECT_EQ(errno, EINVAL);
    size_t written = 99;
    ASSERT_EQ(seekFd(fd.get(), 0, false), 0);
    EXPECT_EQ(writeFd(fd.get(), "hello", 5, &written), 1);
    EXPECT_EQ(written, 5u);
    EXPECT_EQ(truncateAtPosition(fd.get()), 0);
    EXPECT_EQ(readText(path), "hello");

    UniqueFd readOnly(::open(path.c_str(), O_RDONLY));
    EXPECT_EQ(writeFd(readOnly.get(), "x", 1, &written), 0);
    EXPECT_EQ(written, 0u);  // the count is cleared whatever happens
    written = 99;
    EXPECT_EQ(writeFd(-1, "x", 1, &written), -1);
    EXPECT_EQ(written, 0u);
    for (long long result : {(long long)seekFd(-1, 0, false), (long long)truncateAtPosition(-1), fdSize(-1)})
        EXPECT_EQ(result, -1);
}

TEST(MapFile, MapsPrivatelyWithZerosToThePageEnd) {
    TempDir dir;
    auto bytes = patternBytes(100);
    writeFile(dir.file("a"), bytes);
    Mapping m = mapFile(dir.file("a").c_str());
    ASSERT_TRUE(m.valid());
    ASSERT_EQ(m.size(), 100u);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), m.data()));
    for (size_t i = 100; i < size_t(getpagesize()); ++i) ASSERT_EQ(m.data()[i], 0) << i;
    EXPECT_TRUE(m.adviseSequential());
    m.data()[0] = 'Z';
    EXPECT_EQ(support::readFile(dir.file("a")), bytes);

    int fd = m.fd();
    m.reset();
    EXPECT_FALSE(m.valid() || fdOpen(fd));

    writeText(dir.file("empty"), "");
    Mapping empty = mapFile(dir.file("empty").c_str());
    EXPECT_TRUE(empty.valid());
    EXPECT_EQ(empty.size(), 0u);
    errno = 0;
    EXPECT_FALSE(mapFile(dir.file("missing").c_str()).valid());
    EXPECT_EQ(errno, ENOENT);
}

TEST(TempFiles, MakeTempFileNeedsAFullPathBuffer) {
    char shortBuffer[1023];
    std::memset(shortBuffer, 'x', sizeof shortBuffer);
    EXPECT_EQ(makeTempFile(shortBuffer, sizeof shortBuffer, "abc"), -1);
    for (char c : shortBuffer) ASSERT_EQ(c, 'x');
    for (const char* prefix : {"tagwicktest", static_cast<const char*>(nullptr)}) {
        char buffer[1024];
        UniqueFd fd(makeTempFile(buffer, sizeof buffer, prefix));
        std::string start = std::string("/tmp/") + (prefix ? prefix : "tmp") + ".";
        EXPECT_TRUE(fd.valid() && exists(buffer));
        EXPECT_TRUE(std::string(buffer).starts_with(start) && std::strlen(buffer) == start.size() + 6) << buffer;
        unlink(buffer);
    }
}

TEST(TempFiles, SiblingTakesTheFirstFreeOfAHundredNames) {
    TempDir dir;
    std::string track = dir.file("t.mp3");
    for (const char* taken : {".t0", ".t1"}) writeText(track + taken, "");
    std::string name;
    UniqueFile f(createSiblingTempFile(track.c_str(), &name));
    ASSERT_TRUE(f);
    EXPECT_EQ(name, track + ".t2");
    ASSERT_EQ(std::fputc('a', f.get()), 'a');  // opened "wb+": it reads back what was written
    std::rewind(f.get());
    EXPECT_EQ(std::fgetc(f.get()), 'a');

    UniqueFile unnamed(createSiblingTempFile(track.c_str(), nullptr));
    EXPECT_TRUE(unnamed && exists(track + ".t3"));
    for (int i = 4; i < 100; ++i) writeText(track + ".t" + std::to_string(i), "");
    name = "stale";
    EXPECT_EQ(createSiblingTempFile(track.c_str(), &name), nullptr);
    EXPECT_TRUE(name.empty());
    EXPECT_EQ(createSiblingTempFile(dir.file("nofolder/t").c_str(), &name), nullptr);
}

TEST(UniqueFileName, NumbersBeforeTheExtensionUpTo98) {
    TempDir dir;
    EXPECT_EQ(uniqueFileName(dir.file("s.mp3").c_str()), dir.file("s.mp3"));
    ASSERT_EQ(mkdir(dir.file("b.c").c_str(), 0755), 0);
    for (const char* name : {"s.mp3", "s", "b.c/name"}) writeText(dir.file(name), "");
    EXPECT_EQ(uniqueFileName(dir.file("s").c_str()), dir.file("s-1"));
    EXPECT_EQ(uniqueFileName(dir.file("b.c/name").c_str()), dir.file("b.c/name-1"));
    for (int n = 1; n <= 97; ++n) writeText(dir.file("s-" + std::to_string(n) + ".mp3"), "");
    EXPECT_EQ(uniqueFileName(dir.file("s.mp3").c_str()), dir.file("s-98.mp3"));
    writeText(dir.file("s-98.mp3"), "");
    EXPECT_EQ(uniqueFileName(dir.file("s.mp3").c_str()), std::nullopt);  // "s-99.mp3" is never tried
}

TEST(CopyAndMove, ReportSuccessAsMinusOneAndFailureAsAnErrorNumber) {
    TempDir dir;
    std::string src = dir.file("src"), dst = dir.file("dst");
    writeText(src, "");
    EXPECT_EQ(copyFile(src.c_str(), dst.c_str()), CopyOk);
    EXPECT_TRUE(exists(dst) && fileSize(dst.c_str()) == 0);
    writeText(dst, std::string(2000, 'o'));
    for (size_t size : {511u, 512u, 1500u}) {
        writeFile(src, patternBytes(size));
        ASSERT_EQ(copyFile(src.c_str(), dst.c_str()), CopyOk);
        EXPECT_EQ(support::readFile(dst), patternBytes(size)) << size;
    }
    EXPECT_EQ(copyFile(dir.file("missing").c_str(), dir.file("new").c_str()), ENOENT);
    EXPECT_FALSE(exists(dir.file("new")));
    EXPECT_EQ(copyFile(src.c_str(), dir.file("nofolder/dst").c_str()), ENOENT);
    for (int result : {copyFile(nullptr, dst.c_str()), copyFile(src.c_str(), nullptr), moveFile(nullptr, "x")})
        EXPECT_EQ(result, 2);

    EXPECT_EQ(moveFile(src.c_str(), dir.file("moved").c_str()), CopyOk);
    EXPECT_FALSE(exists(src));
    // rename() onto a folder fails, and so does the copy; the source stays.
    ASSERT_EQ(mkdir(dir.file("folder").c_str(), 0755), 0);
    EXPECT_EQ(moveFile(dir.file("moved").c_str(), dir.file("folder").c_str()), EISDIR);
    EXPECT_TRUE(exists(dir.file("moved")));
}

TEST(FileQueries, ExistenceSizeKindRemovalAndRetries) {
    TempDir dir;
    std::string f = dir.file("f"), g = dir.file("g"), missing = dir.file("missing");
    writeFile(f, patternBytes(1500));
    EXPECT_TRUE(fileExists(f.c_str()) && !fileExists(missing.c_str()));
    EXPECT_EQ(fileSize(f.c_str()), 1500);
    EXPECT_EQ(fileSize(missing.c_str()), 0);
    EXPECT_TRUE(isDirectory(dir.path().c_str()) && !isDirectory(f.c_str()));
    EXPECT_TRUE(renameWithRetry(f.c_str(), g.c_str()) && !renameWithRetry(f.c_str(), missing.c_str()));
    EXPECT_TRUE(removeWithRetry(g.c_str()) && !removeWithRetry(g.c_str()));
    writeText(f, "x");
    EXPECT_TRUE(removeFile(f.c_str()) && !removeFile(f.c_str()));
}

TEST(FileAttributes, CarryModeAlwaysAndTimesWhenAsked) {
    TempDir dir;
    std::string original = dir.file("original"), rebuilt = dir.file("rebuilt"), other = dir.file("other");
    for (const std::string& path : {original, rebuilt, other}) writeText(path, "x");
    ASSERT_EQ(chmod(original.c_str(), 0640), 0);
    const struct timespec times[2] = {{1147441501, 123456789}, {1147441000, 987654321}};
    ASSERT_EQ(utimensat(AT_FDCWD, original.c_str(), times, 0), 0);
    FileAttributes attributes;
    EXPECT_EQ(getFileAttributes(original.c_str(), &attributes), 0);
    EXPECT_EQ(setFileAttributes(rebuilt.c_str(), attributes, true), 0);
    EXPECT_EQ(setFileAttributes(other.c_str(), attributes, false), 0);
    struct stat info {}, untimed {};
    ASSERT_EQ(stat(rebuilt.c_str(), &info) + stat(other.c_str(), &untimed), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(untimed.st_mode & 07777, 0640u);
    EXPECT_EQ(info.st_atim.tv_sec * 1000000000LL + info.st_atim.tv_nsec, 1147441501123456789LL);
    EXPECT_EQ(info.st_mtim.tv_sec * 1000000000LL + info.st_mtim.tv_nsec, 1147441000987654321LL);
    EXPECT_NE(untimed.st_mtim.tv_sec, 1147441000);
}

TEST(MakeDirectories, CreatesEveryLevelAndFailsOnlyWithEnoent) {
    TempDir dir;
    EXPECT_EQ(makeDirectories(dir.file("a/b/c/").c_str(), 0755), 0);
    EXPECT_TRUE(isDirectory(dir.file("a/b/c").c_str()));
    EXPECT_EQ(makeDirectories(dir.file("a/b/c").c_str(), 0755), 0);  // an existing folder is no failure
    // A dangling link keeps its parent from being created (ENOENT below it).
    ASSERT_EQ(symlink(dir.file("nowhere").c_str(), dir.file("link").c_str()), 0);
    EXPECT_EQ(makeDirectories(dir.file("link/x/y").c_str(), 0755), -1);
    // A file in the way fails with ENOTDIR, which is not reported.
    writeText(dir.file("plain"), "");
    EXPECT_EQ(makeDirectories(dir.file("plain/x").c_str(), 0755), 0);
    EXPECT_FALSE(isDirectory(dir.file("plain/x").c_str()));
}

}  // namespace
}  // namespace tagwick
