#include "base/files.h"
#include "base/safe_replace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

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

TEST(TempFiles, ShortBufferAndNegativeSeekFail) {
    char shortBuffer[1023] = "untouched";
    EXPECT_EQ(makeTempFile(shortBuffer, sizeof shortBuffer, "abc"), -1);
    EXPECT_STREQ(shortBuffer, "untouched");
    TempDir dir;
    writeText(dir.file("f"), "data");
    UniqueFile f(std::fopen(dir.file("f").c_str(), "rb"));
    EXPECT_EQ(seekFd(fileno(f.get()), -5, false), -1);
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

}  // namespace
}  // namespace tagwick
