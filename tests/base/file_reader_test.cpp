// The buffered reader and writer: views across and behind the window, files that shrink or end
// before their claimed sizes; take-backs, patches, copies and failed writes. (The reads a walk
// costs are counted in the stream checker's tests, a named pipe refused in the run's.)
#include "base/file_reader.h"
#include "base/file_writer.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/cli_runner.h"

namespace tagwick {
namespace {

using support::TempDir;
using Vec = std::vector<uint8_t>;

constexpr uint64_t B = FileReader::BufferSize;

// Bytes that differ from their neighbours at every offset of a few windows.
Vec pattern(size_t size) {
    Vec bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = uint8_t(i * 7 + (i >> 9));
    return bytes;
}

Vec slice(const Vec& bytes, uint64_t offset, size_t n) {
    if (offset >= bytes.size()) return {};
    return Vec(bytes.begin() + long(offset), bytes.begin() + long(std::min<uint64_t>(bytes.size(), offset + n)));
}

struct ViewCase {
    const char* name;
    uint64_t before;  // a view made first, which places the window
    uint64_t offset;
    size_t n;
    size_t expected;  // bytes the view gives
};

class FileReaderView : public testing::TestWithParam<ViewCase> {};

TEST_P(FileReaderView, GivesTheFileBytes) {
    const ViewCase& c = GetParam();
    TempDir dir;
    const Vec file = pattern(3 * B + 1000);
    support::writeFile(dir.file("f"), file);
    FileReader reader;
    ASSERT_TRUE(reader.open(dir.file("f").c_str()));
    (void)reader.view(c.before, 4);
    const Bytes got = reader.view(c.offset, c.n);
    EXPECT_EQ(Vec(got.begin(), got.end()), slice(file, c.offset, c.expected));
    EXPECT_EQ(got.size(), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FileReaderView,
    testing::Values(ViewCase{"AcrossTheWindowEnd", 0, B - 10, 100, 100},
                    ViewCase{"StepBackOverTheWindowStart", 2 * B, 2 * B - 5000, 6000, 6000},
                    ViewCase{"FarBack", 3 * B, 10, 20, 20},
                    ViewCase{"LongestView", 5, B / 2, FileReader::MaxView + 100, FileReader::MaxView},
                    ViewCase{"CutAtTheEnd", 0, 3 * B + 950, 1000, 50},
                    ViewCase{"PastTheEnd", 0, 3 * B + 1005, 4, 0}),
    [](const testing::TestParamInfo<ViewCase>& info) { return info.param.name; });

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

TEST(FileWriter, CopiesFromAnotherFileAndTellsAnEarlyEnd) {
    TempDir dir;
    const Vec source = pattern(3 * B + 77);
    support::writeFile(dir.file("src"), source);
    UniqueFd in(open(dir.file("src").c_str(), O_RDONLY));
    FileWriter writer(UniqueFd(open(dir.file("out").c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600)));
    ASSERT_TRUE(writer.write(text("ID3")));
    ASSERT_TRUE(writer.copyFrom(in.get(), 5, 2 * B));
    EXPECT_EQ(writer.copied(), 2 * B);
    EXPECT_FALSE(writer.copyFrom(in.get(), 3 * B, 1000));  // 77 bytes are there
    EXPECT_EQ(writer.copied(), 77u);
    EXPECT_FALSE(writer.failed());
    ASSERT_TRUE(writer.write(text("!")));
    ASSERT_TRUE(writer.close());
    Vec expected = text("ID3");
    for (const Vec& part : {slice(source, 5, 2 * B), slice(source, 3 * B, 77), text("!")})
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
