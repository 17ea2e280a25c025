#include "base/files.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "base/logger.h"
#include "support/cli_runner.h"

namespace tagwick {
namespace {

using support::readFile;
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
    return stat(path.c_str(), &info) == 0;
}

// ---- Path parts ----

struct PathCase {
    const char* name;
    const char* path;
    const char* expected;
};

std::string caseName(const testing::TestParamInfo<PathCase>& info) { return info.param.name; }

class DirectoryPart : public testing::TestWithParam<PathCase> {};

TEST_P(DirectoryPart, GivesTheFolder) { EXPECT_EQ(directoryPart(GetParam().path), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(Cases, DirectoryPart,
                         testing::Values(PathCase{"Empty", "", "."}, PathCase{"BareName", "name", "."},
                                         PathCase{"RootFile", "/name", "/"}, PathCase{"Root", "/", "/"},
                                         PathCase{"TrailingSeparator", "dir/sub/", "dir"},
                                         PathCase{"TrailingRun", "dir/sub//", "dir"},
                                         PathCase{"DoubledSeparator", "dir//sub", "dir"},
                                         PathCase{"Nested", "/a/b/c.mp3", "/a/b"},
                                         PathCase{"RootedTrailing", "/dir/", "/"},
                                         PathCase{"Backslashes", "a\\b\\c", "a\\b"},
                                         PathCase{"MixedSeparators", "a/b\\c", "a/b"},
                                         PathCase{"DriveRoot", "C:\\x", "C:\\"},
                                         PathCase{"DriveFolder", "C:\\dir\\x.mp3", "C:\\dir"},
                                         PathCase{"DriveOnly", "C:", "."},
                                         PathCase{"DoubleLeadingKeepsBoth", "//host/share", "//host"},
                                         PathCase{"DoubleLeadingOnly", "//x", "//"},
                                         PathCase{"DottedFolder", "a/b.c/name", "a/b.c"}),
                         caseName);

TEST(DirectoryPartNull, GivesDot) { EXPECT_EQ(directoryPart(nullptr), "."); }

class FileNamePart : public testing::TestWithParam<PathCase> {};

TEST_P(FileNamePart, PointsAtTheLastComponent) {
    const char* path = GetParam().path;
    const char* part = fileNamePart(path);
    EXPECT_STREQ(part, GetParam().expected);
    // A pointer into the given text, not a copy.
    EXPECT_GE(part, path);
    EXPECT_LE(part, path + std::strlen(path));
}

INSTANTIATE_TEST_SUITE_P(Cases, FileNamePart,
                         testing::Values(PathCase{"Nested", "dir/sub/file.mp3", "file.mp3"},
                                         PathCase{"BareName", "name", "name"},
                                         PathCase{"TrailingSeparator", "dir/sub/", "sub/"},
                                         PathCase{"Rooted", "/x", "x"},
                                         PathCase{"Backslash", "a\\b.aif", "b.aif"},
                                         PathCase{"DriveName", "C:name", "name"},
                                         PathCase{"DriveFolder", "C:\\d\\x.mp3", "x.mp3"},
                                         PathCase{"DriveOnly", "C:", "C:"}, PathCase{"Empty", "", ""}),
                         caseName);

class FileExtension : public testing::TestWithParam<PathCase> {};

TEST_P(FileExtension, TakesTextAfterTheLastDot) { EXPECT_EQ(fileExtension(GetParam().path), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(Cases, FileExtension,
                         testing::Values(PathCase{"Simple", "song.mp3", "mp3"},
                                         PathCase{"LastDotWins", "a.tar.gz", "gz"},
                                         PathCase{"KeepsCase", "dir\\x.AIF", "AIF"},
                                         PathCase{"NoDot", "noext", ""},
                                         PathCase{"DotInFolderOnly", "a.b/name", ""},
                                         PathCase{"HiddenFile", ".hidden", ""},
                                         PathCase{"HiddenInFolder", "dir/.hidden.mp3", ""},
                                         PathCase{"TrailingDot", "name.", ""},
                                         PathCase{"Drive", "C:x.mp3", "mp3"}, PathCase{"Empty", "", ""}),
                         caseName);

TEST(FileExtensionNull, IsEmpty) { EXPECT_EQ(fileExtension(nullptr), ""); }

// ---- Syncsafe ----

struct SyncsafeCase {
    const char* name;
    uint32_t value;
    std::array<uint8_t, 4> bytes;
};

class EncodeSyncsafe : public testing::TestWithParam<SyncsafeCase> {};

TEST_P(EncodeSyncsafe, SplitsIntoSevenBitGroups) {
    uint8_t out[4] = {0xAA, 0xAA, 0xAA, 0xAA};
    encodeSyncsafe(out, GetParam().value);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 4), std::vector<uint8_t>(GetParam().bytes.begin(), GetParam().bytes.end()));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, EncodeSyncsafe,
    testing::Values(SyncsafeCase{"Zero", 0, {0, 0, 0, 0}}, SyncsafeCase{"SevenBits", 0x7F, {0, 0, 0, 0x7F}},
                    SyncsafeCase{"EighthBitCarries", 0x80, {0, 0, 1, 0}},
                    SyncsafeCase{"TwoFiftySeven", 257, {0, 0, 2, 1}},
                    SyncsafeCase{"Largest", 0x0FFFFFFF, {0x7F, 0x7F, 0x7F, 0x7F}},
                    // The top byte is not masked: 2^28 lands in bit 7 of byte 0.
                    SyncsafeCase{"TopByteUnmasked", 0x10000000, {0x80, 0, 0, 0}}),
    [](const testing::TestParamInfo<SyncsafeCase>& info) { return std::string(info.param.name); });

TEST(EncodeSyncsafeRoundTrip, ReadsBackWithTheByteReader) {
    for (uint32_t value : {1u, 1000u, 65536u, 0x01234567u, 0x0ABCDEF0u}) {
        uint8_t out[4];
        encodeSyncsafe(out, value);
        EXPECT_EQ(syncsafeAt(Bytes(out, 4), 0), value);
    }
}

TEST(WriteSyncsafe, WritesTheFourBytes) {
    UniqueFile f(std::tmpfile());
    ASSERT_TRUE(f);
    EXPECT_TRUE(writeSyncsafe(f.get(), 0x80));
    std::rewind(f.get());
    uint8_t back[5] = {};
    EXPECT_EQ(std::fread(back, 1, 5, f.get()), 4u);
    EXPECT_EQ(std::vector<uint8_t>(back, back + 4), (std::vector<uint8_t>{0, 0, 1, 0}));
}

TEST(WriteSyncsafe, FailureLogsSevenCharactersOfTheErrorText) {
    TempDir dir;
    writeText(dir.file("ro"), "x");
    UniqueFile readOnly(std::fopen(dir.file("ro").c_str(), "rb"));
    ASSERT_TRUE(readOnly);
    UniqueFile errors(std::tmpfile());
    Logger::resetForTests();
    Logger::setConsoleStreams(nullptr, errors.get());
    Logger::setClock([] { return timeval{0, 0}; });
    EXPECT_FALSE(writeSyncsafe(readOnly.get(), 300));
    Logger::resetForTests();

    std::string expected = "Failed to write the syncsafe size 300 (error: " + std::string(strerror(EBADF)).substr(0, 7) + ")\n";
    std::rewind(errors.get());
    char text[512] = {};
    size_t n = std::fread(text, 1, sizeof text - 1, errors.get());
    std::string written(text, n);
    ASSERT_GE(written.size(), expected.size());
    EXPECT_EQ(written.substr(written.size() - expected.size()), expected);
}

// ---- 80-bit extended ----

struct ExtendedCase {
    const char* name;
    std::array<uint8_t, 10> bytes;
    uint32_t expected;
};

class ExtendedToUint : public testing::TestWithParam<ExtendedCase> {};

TEST_P(ExtendedToUint, Converts) { EXPECT_EQ(extendedToUint(GetParam().bytes.data()), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(
    Rates, ExtendedToUint,
    testing::Values(ExtendedCase{"Rate44100", {0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0}, 44100},
                    ExtendedCase{"Rate48000", {0x40, 0x0E, 0xBB, 0x80, 0, 0, 0, 0, 0, 0}, 48000},
                    ExtendedCase{"Rate22050", {0x40, 0x0D, 0xAC, 0x44, 0, 0, 0, 0, 0, 0}, 22050},
                    ExtendedCase{"Rate8000", {0x40, 0x0B, 0xFA, 0, 0, 0, 0, 0, 0, 0}, 8000},
                    ExtendedCase{"One", {0x3F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0, 0}, 1},
                    ExtendedCase{"FractionIsCut", {0x40, 0x0D, 0xAC, 0x44, 0x80, 0, 0, 0, 0, 0}, 22050},
                    ExtendedCase{"Half", {0x3F, 0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0}, 0},
                    ExtendedCase{"Zero", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 0},
                    ExtendedCase{"Negative", {0xC0, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0}, 0},
                    ExtendedCase{"NotANumber", {0x7F, 0xFF, 0xC0, 0, 0, 0, 0, 0, 0, 0}, 0},
                    ExtendedCase{"InfinitySaturates", {0x7F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0, 0}, UINT32_MAX},
                    ExtendedCase{"LargestFitting", {0x40, 0x1E, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}, 0xFFFFFFFFu},
                    ExtendedCase{"TwoToThe32Saturates", {0x40, 0x1F, 0x80, 0, 0, 0, 0, 0, 0, 0}, UINT32_MAX},
                    ExtendedCase{"HugeSaturates", {0x43, 0xFF, 0x80, 0, 0, 0, 0, 0, 0, 0}, UINT32_MAX}),
    [](const testing::TestParamInfo<ExtendedCase>& info) { return std::string(info.param.name); });

// ---- Descriptor level ----

class FdFixture : public testing::Test {
protected:
    void SetUp() override {
        path_ = dir_.file("data.bin");
        writeFile(path_, patternBytes(100));
        fd_ = UniqueFd(::open(path_.c_str(), O_RDWR));
        ASSERT_TRUE(fd_.valid());
    }
    TempDir dir_;
    std::string path_;
    UniqueFd fd_;
};

using SeekFd = FdFixture;

TEST_F(SeekFd, SeeksFromStartAndFromCurrent) {
    EXPECT_EQ(seekFd(fd_.get(), 10, false), 10);
    EXPECT_EQ(seekFd(fd_.get(), 5, true), 15);
    EXPECT_EQ(seekFd(fd_.get(), -3, true), 12);
    EXPECT_EQ(lseek(fd_.get(), 0, SEEK_CUR), 12);
}

TEST_F(SeekFd, NegativeAbsoluteOffsetFailsAsLseekDoes) {
    EXPECT_EQ(seekFd(fd_.get(), -5, false), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST(SeekFdNoFile, FailsAtOnce) { EXPECT_EQ(seekFd(-1, 0, false), -1); }

using WriteFd = FdFixture;

TEST_F(WriteFd, StoresTheCountOnSuccess) {
    size_t written = 99;
    ASSERT_EQ(seekFd(fd_.get(), 0, false), 0);
    EXPECT_EQ(writeFd(fd_.get(), "hello", 5, &written), 1);
    EXPECT_EQ(written, 5u);
    auto bytes = readFile(path_);
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 5), "hello");
}

TEST_F(WriteFd, ReadOnlyDescriptorFailsWithZeroCount) {
    UniqueFd readOnly(::open(path_.c_str(), O_RDONLY));
    size_t written = 99;
    EXPECT_EQ(writeFd(readOnly.get(), "x", 1, &written), 0);
    EXPECT_EQ(written, 0u);
}

TEST(WriteFdNoFile, ReturnsMinusOneAndClearsTheCount) {
    size_t written = 99;
    EXPECT_EQ(writeFd(-1, "x", 1, &written), -1);
    EXPECT_EQ(written, 0u);
}

using TruncateAtPosition = FdFixture;

TEST_F(TruncateAtPosition, CutsAtTheCurrentPosition) {
    ASSERT_EQ(seekFd(fd_.get(), 40, false), 40);
    EXPECT_EQ(truncateAtPosition(fd_.get()), 0);
    EXPECT_EQ(fileSize(path_.c_str()), 40);
    EXPECT_EQ(truncateAtPosition(-1), -1);
}

using FdSize = FdFixture;

TEST_F(FdSize, GivesTheSizeAndKeepsThePosition) {
    ASSERT_EQ(seekFd(fd_.get(), 7, false), 7);
    EXPECT_EQ(fdSize(fd_.get()), 100);
    EXPECT_EQ(lseek(fd_.get(), 0, SEEK_CUR), 7);
    EXPECT_EQ(fdSize(-1), -1);
}

// ---- Mapping ----

TEST(MapFile, MapsTheWholeFile) {
    TempDir dir;
    auto bytes = patternBytes(5000);
    writeFile(dir.file("a"), bytes);
    Mapping m = mapFile(dir.file("a").c_str());
    ASSERT_TRUE(m.valid());
    ASSERT_EQ(m.size(), bytes.size());
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), m.data()));
    EXPECT_GE(m.fd(), 0);
    EXPECT_TRUE(m.adviseSequential());
}

TEST(MapFile, ReachesOnePagePastTheWholePages) {
    TempDir dir;
    writeFile(dir.file("a"), patternBytes(100));
    Mapping m = mapFile(dir.file("a").c_str());
    ASSERT_TRUE(m.valid());
    // The rest of the last page reads as zeros.
    size_t page = size_t(getpagesize());
    for (size_t i = 100; i < page; ++i) ASSERT_EQ(m.data()[i], 0) << i;
}

TEST(MapFile, ChangesStayPrivate) {
    TempDir dir;
    writeText(dir.file("a"), "abcdef");
    {
        Mapping m = mapFile(dir.file("a").c_str());
        ASSERT_TRUE(m.valid());
        m.data()[0] = 'Z';
        EXPECT_EQ(m.data()[0], 'Z');
    }
    EXPECT_EQ(support::readText(dir.file("a")), "abcdef");
}

TEST(MapFile, EmptyFileGivesValidEmptyMapping) {
    TempDir dir;
    writeText(dir.file("empty"), "");
    Mapping m = mapFile(dir.file("empty").c_str());
    EXPECT_TRUE(m.valid());
    EXPECT_EQ(m.size(), 0u);
    EXPECT_NE(m.data(), nullptr);
    EXPECT_TRUE(m.bytes().empty());
}

TEST(MapFile, MissingFileIsInvalidAndKeepsErrno) {
    TempDir dir;
    errno = 0;
    Mapping m = mapFile(dir.file("missing").c_str());
    EXPECT_FALSE(m.valid());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(m.data(), nullptr);
    EXPECT_EQ(m.fd(), -1);
}

TEST(MapFile, FolderIsInvalid) {
    TempDir dir;
    ASSERT_EQ(mkdir(dir.file("folder.mp3").c_str(), 0755), 0);
    Mapping m = mapFile(dir.file("folder.mp3").c_str());
    EXPECT_FALSE(m.valid());
    EXPECT_NE(errno, 0);
}

TEST(MapFile, MoveHandsOverAndResetReleases) {
    TempDir dir;
    writeText(dir.file("a"), "abc");
    Mapping first = mapFile(dir.file("a").c_str());
    ASSERT_TRUE(first.valid());
    int fd = first.fd();
    Mapping second = std::move(first);
    EXPECT_FALSE(first.valid());
    EXPECT_EQ(first.fd(), -1);
    ASSERT_TRUE(second.valid());
    EXPECT_EQ(second.fd(), fd);
    EXPECT_EQ(second.data()[2], 'c');
    second.reset();
    EXPECT_FALSE(second.valid());
    // The descriptor is closed with the mapping.
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}

// ---- RAII ----

TEST(UniqueFd, ClosesOnDestruction) {
    int fd = ::open("/dev/null", O_RDONLY);
    ASSERT_GE(fd, 0);
    { UniqueFd owner(fd); }
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}

TEST(UniqueFd, ReleaseKeepsItOpen) {
    int fd = ::open("/dev/null", O_RDONLY);
    {
        UniqueFd owner(fd);
        EXPECT_EQ(owner.release(), fd);
        EXPECT_FALSE(owner.valid());
    }
    EXPECT_NE(fcntl(fd, F_GETFD), -1);
    ::close(fd);
}

TEST(UniqueFile, CloseReportsSuccessOnce) {
    UniqueFile f(std::tmpfile());
    ASSERT_TRUE(f);
    EXPECT_TRUE(f.close());
    EXPECT_FALSE(f);
    EXPECT_TRUE(f.close());  // nothing left to close
}

// ---- Temporary files ----

TEST(MakeTempFile, ShortBufferFailsWithoutTouchingIt) {
    char buffer[1023];
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(makeTempFile(buffer, sizeof buffer, "abc"), -1);
    for (char c : buffer) ASSERT_EQ(c, 'x');
}

TEST(MakeTempFile, CreatesUnderTmpWithThePrefix) {
    char buffer[1024];
    UniqueFd fd(makeTempFile(buffer, sizeof buffer, "tagwicktest"));
    ASSERT_TRUE(fd.valid());
    std::string name = buffer;
    EXPECT_EQ(name.rfind("/tmp/tagwicktest.", 0), 0u) << name;
    EXPECT_EQ(name.size(), std::strlen("/tmp/tagwicktest.XXXXXX"));
    EXPECT_EQ(name.find("XXXXXX"), std::string::npos);
    EXPECT_TRUE(exists(name));
    unlink(buffer);
}

TEST(MakeTempFile, DefaultPrefixIsTmp) {
    char buffer[2048];
    UniqueFd fd(makeTempFile(buffer, sizeof buffer, nullptr));
    ASSERT_TRUE(fd.valid());
    EXPECT_EQ(std::string(buffer).rfind("/tmp/tmp.", 0), 0u) << buffer;
    unlink(buffer);
}

TEST(CreateSiblingTempFile, TakesTheFirstFreeNumber) {
    TempDir dir;
    std::string track = dir.file("track.mp3");
    writeText(track + ".t0", "");
    writeText(track + ".t1", "");
    std::string name;
    UniqueFile f(createSiblingTempFile(track.c_str(), &name));
    ASSERT_TRUE(f);
    EXPECT_EQ(name, track + ".t2");
    EXPECT_TRUE(exists(name));
}

TEST(CreateSiblingTempFile, OpensForReadAndWrite) {
    TempDir dir;
    std::string track = dir.file("track.mp3");
    std::string name;
    UniqueFile f(createSiblingTempFile(track.c_str(), &name));
    ASSERT_TRUE(f);
    EXPECT_EQ(name, track + ".t0");
    ASSERT_GE(std::fputs("abc", f.get()), 0);
    std::rewind(f.get());
    char back[4] = {};
    EXPECT_EQ(std::fread(back, 1, 3, f.get()), 3u);
    EXPECT_STREQ(back, "abc");
}

TEST(CreateSiblingTempFile, AllHundredTakenGivesNull) {
    TempDir dir;
    std::string track = dir.file("t");
    for (int i = 0; i < 100; ++i) writeText(track + ".t" + std::to_string(i), "");
    std::string name = "stale";
    EXPECT_EQ(createSiblingTempFile(track.c_str(), &name), nullptr);
    EXPECT_TRUE(name.empty());
}

TEST(CreateSiblingTempFile, WithoutNameStillGivesTheStream) {
    TempDir dir;
    std::string track = dir.file("t");
    UniqueFile f(createSiblingTempFile(track.c_str(), nullptr));
    EXPECT_TRUE(f);
    EXPECT_TRUE(exists(track + ".t0"));
}

TEST(CreateSiblingTempFile, OpenFailureGivesNull) {
    TempDir dir;
    std::string name = "stale";
    EXPECT_EQ(createSiblingTempFile(dir.file("nofolder/t").c_str(), &name), nullptr);
    EXPECT_TRUE(name.empty());
}

// ---- Unique names ----

TEST(UniqueFileName, FreePathIsItself) {
    TempDir dir;
    EXPECT_EQ(uniqueFileName(dir.file("song.mp3").c_str()), dir.file("song.mp3"));
}

TEST(UniqueFileName, NumbersBeforeTheExtension) {
    TempDir dir;
    writeText(dir.file("song.mp3"), "");
    EXPECT_EQ(uniqueFileName(dir.file("song.mp3").c_str()), dir.file("song-1.mp3"));
    writeText(dir.file("song-1.mp3"), "");
    EXPECT_EQ(uniqueFileName(dir.file("song.mp3").c_str()), dir.file("song-2.mp3"));
}

TEST(UniqueFileName, NoExtensionAppendsTheNumber) {
    TempDir dir;
    writeText(dir.file("song"), "");
    EXPECT_EQ(uniqueFileName(dir.file("song").c_str()), dir.file("song-1"));
}

TEST(UniqueFileName, DotInFolderIsNoExtension) {
    TempDir dir;
    ASSERT_EQ(mkdir(dir.file("b.c").c_str(), 0755), 0);
    writeText(dir.file("b.c/name"), "");
    EXPECT_EQ(uniqueFileName(dir.file("b.c/name").c_str()), dir.file("b.c/name-1"));
}

TEST(UniqueFileName, NinetyEightIsTheLastTried) {
    TempDir dir;
    writeText(dir.file("s.mp3"), "");
    for (int n = 1; n <= 97; ++n) writeText(dir.file("s-" + std::to_string(n) + ".mp3"), "");
    EXPECT_EQ(uniqueFileName(dir.file("s.mp3").c_str()), dir.file("s-98.mp3"));
    writeText(dir.file("s-98.mp3"), "");
    // "s-99.mp3" is free but never tried.
    EXPECT_FALSE(exists(dir.file("s-99.mp3")));
    EXPECT_EQ(uniqueFileName(dir.file("s.mp3").c_str()), std::nullopt);
}

TEST(UniqueFileName, NullGivesNothing) { EXPECT_EQ(uniqueFileName(nullptr), std::nullopt); }

// ---- Copy and move ----

TEST(CopyFile, EmptySourceSucceedsWithEmptyDestination) {
    TempDir dir;
    writeText(dir.file("src"), "");
    EXPECT_EQ(copyFile(dir.file("src").c_str(), dir.file("dst").c_str()), CopyOk);
    EXPECT_TRUE(exists(dir.file("dst")));
    EXPECT_EQ(fileSize(dir.file("dst").c_str()), 0);
}

TEST(CopyFile, CopiesEveryByteAcrossBlocks) {
    TempDir dir;
    for (size_t size : {511u, 512u, 1024u, 1500u}) {
        auto bytes = patternBytes(size);
        writeFile(dir.file("src"), bytes);
        ASSERT_EQ(copyFile(dir.file("src").c_str(), dir.file("dst").c_str()), CopyOk);
        EXPECT_EQ(readFile(dir.file("dst")), bytes) << size;
    }
}

TEST(CopyFile, ReplacesALongerDestination) {
    TempDir dir;
    writeText(dir.file("src"), "short");
    writeText(dir.file("dst"), "a much longer old content");
    EXPECT_EQ(copyFile(dir.file("src").c_str(), dir.file("dst").c_str()), CopyOk);
    EXPECT_EQ(support::readText(dir.file("dst")), "short");
}

TEST(CopyFile, MissingSourceGivesErrno) {
    TempDir dir;
    EXPECT_EQ(copyFile(dir.file("missing").c_str(), dir.file("dst").c_str()), ENOENT);
    EXPECT_FALSE(exists(dir.file("dst")));
}

TEST(CopyFile, UncreatableDestinationGivesErrno) {
    TempDir dir;
    writeText(dir.file("src"), "x");
    EXPECT_EQ(copyFile(dir.file("src").c_str(), dir.file("nofolder/dst").c_str()), ENOENT);
}

TEST(CopyFile, NullPathGivesTwo) {
    EXPECT_EQ(copyFile(nullptr, "/tmp/x"), 2);
    EXPECT_EQ(copyFile("/tmp/x", nullptr), 2);
}

TEST(MoveFile, RenamesWithinAFolder) {
    TempDir dir;
    writeText(dir.file("src"), "payload");
    EXPECT_EQ(moveFile(dir.file("src").c_str(), dir.file("dst").c_str()), CopyOk);
    EXPECT_FALSE(exists(dir.file("src")));
    EXPECT_EQ(support::readText(dir.file("dst")), "payload");
}

TEST(MoveFile, FailedFallbackCopyKeepsTheSource) {
    TempDir dir;
    writeText(dir.file("src"), "payload");
    ASSERT_EQ(mkdir(dir.file("folder").c_str(), 0755), 0);
    // rename() onto a folder fails, and so does opening the folder for writing.
    EXPECT_EQ(moveFile(dir.file("src").c_str(), dir.file("folder").c_str()), EISDIR);
    EXPECT_EQ(support::readText(dir.file("src")), "payload");
}

TEST(MoveFile, CopiesAcrossFileSystems) {
    TempDir dir;
    struct stat here {}, shm {};
    if (stat(dir.path().c_str(), &here) != 0 || stat("/dev/shm", &shm) != 0 || here.st_dev == shm.st_dev ||
        access("/dev/shm", W_OK) != 0)
        GTEST_SKIP() << "no second writable file system";
    std::string target = "/dev/shm/tagwick-move-" + std::to_string(getpid());
    writeText(dir.file("src"), "across");
    EXPECT_EQ(moveFile(dir.file("src").c_str(), target.c_str()), CopyOk);
    EXPECT_FALSE(exists(dir.file("src")));
    EXPECT_EQ(support::readText(target), "across");
    unlink(target.c_str());
}

TEST(MoveFile, NullPathGivesTwo) { EXPECT_EQ(moveFile(nullptr, "/tmp/x"), 2); }

// ---- Queries ----

TEST(FileQueries, ReportExistenceSizeAndKind) {
    TempDir dir;
    writeFile(dir.file("f"), patternBytes(1500));
    EXPECT_TRUE(fileExists(dir.file("f").c_str()));
    EXPECT_FALSE(fileExists(dir.file("missing").c_str()));
    EXPECT_FALSE(fileExists(nullptr));
    EXPECT_EQ(fileSize(dir.file("f").c_str()), 1500);
    EXPECT_EQ(fileSize(dir.file("missing").c_str()), 0);
    EXPECT_TRUE(isDirectory(dir.path().c_str()));
    EXPECT_FALSE(isDirectory(dir.file("f").c_str()));
    EXPECT_FALSE(isDirectory(dir.file("missing").c_str()));
}

TEST(RemoveFile, TellsWhetherItWasRemoved) {
    TempDir dir;
    writeText(dir.file("f"), "x");
    EXPECT_TRUE(removeFile(dir.file("f").c_str()));
    EXPECT_FALSE(exists(dir.file("f")));
    EXPECT_FALSE(removeFile(dir.file("f").c_str()));
}

TEST(RetryHelpers, SucceedOrFailAfterTheRetry) {
    TempDir dir;
    writeText(dir.file("a"), "x");
    EXPECT_TRUE(renameWithRetry(dir.file("a").c_str(), dir.file("b").c_str()));
    EXPECT_TRUE(exists(dir.file("b")));
    EXPECT_FALSE(renameWithRetry(dir.file("a").c_str(), dir.file("c").c_str()));
    EXPECT_TRUE(removeWithRetry(dir.file("b").c_str()));
    EXPECT_FALSE(exists(dir.file("b")));
    EXPECT_FALSE(removeWithRetry(dir.file("b").c_str()));
    EXPECT_FALSE(removeWithRetry(nullptr));
}

// ---- Attributes ----

TEST(FileAttributes, CarryModeAndNanosecondTimes) {
    TempDir dir;
    writeText(dir.file("original"), "x");
    writeText(dir.file("rebuilt"), "y");
    ASSERT_EQ(chmod(dir.file("original").c_str(), 0640), 0);
    const struct timespec times[2] = {{1147441501, 123456789}, {1147441000, 987654321}};
    ASSERT_EQ(utimensat(AT_FDCWD, dir.file("original").c_str(), times, 0), 0);

    FileAttributes attributes;
    EXPECT_EQ(getFileAttributes(dir.file("original").c_str(), &attributes), 0);
    EXPECT_EQ(attributes.mode & 07777, 0640u);
    EXPECT_EQ(attributes.accessed.tv_sec, 1147441501);
    EXPECT_EQ(attributes.modified.tv_nsec, 987654321);
    EXPECT_EQ(setFileAttributes(dir.file("rebuilt").c_str(), attributes, true), 0);

    struct stat info {};
    ASSERT_EQ(stat(dir.file("rebuilt").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(info.st_atim.tv_sec, 1147441501);
    EXPECT_EQ(info.st_atim.tv_nsec, 123456789);
    EXPECT_EQ(info.st_mtim.tv_sec, 1147441000);
    EXPECT_EQ(info.st_mtim.tv_nsec, 987654321);
}

TEST(FileAttributes, WithoutTheFlagOnlyTheModeChanges) {
    TempDir dir;
    writeText(dir.file("f"), "x");
    struct stat before {};
    ASSERT_EQ(stat(dir.file("f").c_str(), &before), 0);
    FileAttributes attributes;
    attributes.mode = S_IFREG | 0600;
    attributes.modified = {1000, 0};
    attributes.accessed = {1000, 0};
    EXPECT_EQ(setFileAttributes(dir.file("f").c_str(), attributes, false), 0);
    struct stat after {};
    ASSERT_EQ(stat(dir.file("f").c_str(), &after), 0);
    EXPECT_EQ(after.st_mode & 07777, 0600u);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
}

// ---- Folders ----

TEST(MakeDirectories, CreatesEveryLevel) {
    TempDir dir;
    std::string deep = dir.file("a/b/c/");
    EXPECT_EQ(makeDirectories(deep.c_str(), 0755), 0);
    EXPECT_TRUE(isDirectory(dir.file("a/b/c").c_str()));
    // An existing folder is no failure.
    EXPECT_EQ(makeDirectories(deep.c_str(), 0755), 0);
}

TEST(MakeDirectories, MissingParentFailsOnlyWithEnoent) {
    TempDir dir;
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
