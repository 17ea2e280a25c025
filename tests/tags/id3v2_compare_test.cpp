// The verification's comparison: the code and label of the first difference, the differences
// that are none (the forms the writer gives), and the two flag messages.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "support/tag_builders.h"
#include "tags/id3_tag.h"
#include "tags/id3v1.h"
#include "tags/id3v2_compare.h"

namespace tagwick {
namespace {

TextValue latin(std::string text) { return TextValue::latin1(std::move(text)); }
TextValue wide(std::u16string_view text, bool bigEndian) {
    support::ByteVec bytes = support::utf16Bytes(text, bigEndian);
    return TextValue::utf16(std::string(bytes.begin(), bytes.end()));
}

TEST(CompareV2, FirstDifferenceAndItsLabel) {
    Id3v2Tag base;
    base.title = wide(u"T", false), base.album = latin("A"), base.year = "2000", base.trackNumber = 3;
    base.trackTotal = 9, base.genre = latin("rock"), base.advisory = 5, base.hasUfid = true, base.ufid = "abc";
    base.isrc = wide(u"\u0100x", false), base.recordingTime = latin("2001"), base.setTotal = 4;
    using Change = std::function<void(Id3v2Tag&)>;
    const std::vector<std::tuple<Change, int, std::string_view, int>> cases = {
        {[](Id3v2Tag& t) { t.title.reset(), t.album = latin("B"); }, 103, "Title", 4},
        {[](Id3v2Tag& t) { t.title = wide(u"T", true), t.album = latin("B"); }, 104, "Album", 4},
        {[](Id3v2Tag& t) { t.year = "1999", t.trackTotal = 10; }, 109, "Tracks", 4},
        {[](Id3v2Tag& t) { t.genre = latin("(17)Rock"), t.composer = latin(""); }, 0, "", 4},
        {[](Id3v2Tag& t) { t.genre = latin("Pop"); }, 110, "Genre", 4},
        {[](Id3v2Tag& t) { t.pictures.resize(1); }, 129, "Picture count", 4},
        {[](Id3v2Tag& t) { t.isrc = latin("x"); }, 132, "ISRC", 4},
        {[](Id3v2Tag& t) { t.recordingTime = latin("2002"); }, 133, "Record time", 4},
        {[](Id3v2Tag& t) { t.recordingTime = latin("2002"), t.advisory = 2, t.compilation = true; }, 137, "Compilation", 3},
        {[](Id3v2Tag& t) { t.advisory = 1; }, 138, "Advisory", 4},
        {[](Id3v2Tag& t) { t.setTotal = 5, t.isrc = latin("?x"), t.mood = latin("m"); }, 140, "Mood", 4},
        {[](Id3v2Tag& t) { t.ufidOwner = "Default", t.ufid = "ab"; }, 0, "", 4},
        {[](Id3v2Tag& t) { t.hasUfid = false; }, 142, "UFID owner", 4},
        {[](Id3v2Tag& t) { t.ufid = "abd"; }, 143, "UFID data", 4},
    };
    for (const auto& [change, code, label, version] : cases) {
        Id3v2Tag other = base;
        change(other);
        EXPECT_EQ(compareV2Fields(base, other, version), code) << label;
        EXPECT_EQ(fieldLabel(code), label);
    }
}

TEST(CompareV2, FlagMessagesAndTracksWithoutVersion2Data) {
    ID3Tag a, b;
    a.v2.title = latin("A");
    a.v2Found = a.v2Present = true;
    support::LogCapture log;
    EXPECT_EQ(compareV2(a, b, 4), 0);
    EXPECT_EQ(log.lines().size(), 2u);
    EXPECT_TRUE(log.has(LogProgress, "Comparing V2 loaded state failed (1 != 0)"));
    EXPECT_TRUE(log.has(LogWarning, "Comparing V2 enabled state failed (1 != 0)"));
    b.v2Present = true;
    EXPECT_EQ(compareV2(a, b, 4), 103);
}

}  // namespace
}  // namespace tagwick
