// The verification's comparison: the code and label of the first difference, the differences
// that are no difference (the forms the writer gives), and the two flag messages.
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
TextValue wide(std::u16string_view text, bool bigEndian = false) {
    support::ByteVec bytes = support::utf16Bytes(text, bigEndian);
    return TextValue::utf16(std::string(bytes.begin(), bytes.end()));
}

struct Difference {
    const char* name;
    std::function<void(Id3v2Tag&)> change;
    int code;
    const char* label;
    int version = 4;
};

TEST(CompareV2, FirstDifferenceAndItsLabel) {
    Id3v2Tag base;
    base.title = latin("T"), base.album = latin("A"), base.year = "2000", base.trackNumber = 3, base.trackTotal = 9;
    base.genre = latin("rock"), base.advisory = 5, base.hasUfid = true, base.ufid = "abc", base.isrc = wide(u"\u0100x");
    base.recordingTime = latin("2001"), base.setTotal = 4;
    const std::vector<Difference> cases = {
        {"Title", [](Id3v2Tag& t) { t.title = latin("U"); }, 103, "Title"},
        {"TitleAndAlbum", [](Id3v2Tag& t) { t.title.reset(), t.album = latin("B"); }, 103, "Title"},
        {"Album", [](Id3v2Tag& t) { t.album = latin("B"); }, 104, "Album"},
        {"YearNeverDiffers", [](Id3v2Tag& t) { t.year = "1999"; }, 0, ""},
        {"TrackTotal", [](Id3v2Tag& t) { t.trackTotal = 10; }, 109, "Tracks"},
        {"GenreAsListed", [](Id3v2Tag& t) { t.genre = latin("(17)Rock"); }, 0, ""},
        {"Genre", [](Id3v2Tag& t) { t.genre = latin("Pop"); }, 110, "Genre"},
        {"EmptyTextIsAbsentText", [](Id3v2Tag& t) { t.composer = latin(""); }, 0, ""},
        {"Utf16ByteOrder", [](Id3v2Tag& t) { t.title = wide(u"T", true); }, 0, ""},
        {"Lyrics", [](Id3v2Tag& t) { t.lyrics = wide(u"x"); }, 116, "Lyrics"},
        {"Pictures", [](Id3v2Tag& t) { t.pictures.resize(1); }, 129, "Picture count"},
        {"SetTotalWithoutNumber", [](Id3v2Tag& t) { t.setTotal = 5; }, 0, ""},
        {"EightBitForm", [](Id3v2Tag& t) { t.isrc = latin("?x"); }, 0, ""},
        {"Isrc", [](Id3v2Tag& t) { t.isrc = latin("x"); }, 132, "ISRC"},
        {"RecordTime", [](Id3v2Tag& t) { t.recordingTime = latin("2002"); }, 133, "Record time"},
        {"RecordTimeIn23", [](Id3v2Tag& t) { t.recordingTime = latin("2002"); }, 0, "", 3},
        {"AdvisoryAsWritten", [](Id3v2Tag& t) { t.advisory = 2, t.compilation = true; }, 137, "Compilation"},
        {"Advisory", [](Id3v2Tag& t) { t.advisory = 1; }, 138, "Advisory"},
        {"Mood", [](Id3v2Tag& t) { t.mood = latin("m"); }, 140, "Mood"},
        {"DefaultOwner", [](Id3v2Tag& t) { t.ufidOwner = "Default"; }, 0, ""},
        {"UfidOwner", [](Id3v2Tag& t) { t.hasUfid = false; }, 142, "UFID owner"},
        {"UfidOverTheShorterLength", [](Id3v2Tag& t) { t.ufid = "ab"; }, 0, ""},
        {"UfidData", [](Id3v2Tag& t) { t.ufid = "abd"; }, 143, "UFID data"},
    };
    for (const Difference& d : cases) {
        Id3v2Tag other = base;
        d.change(other);
        int code = compareV2Fields(base, other, d.version);
        EXPECT_EQ(code, d.code) << d.name;
        EXPECT_EQ(fieldLabel(code), d.label) << d.name;
    }
}

TEST(CompareV2, FlagMessagesAndTracksWithoutVersion2Data) {
    ID3Tag a, b;
    a.v2.title = latin("A");
    a.v2Found = a.v2Present = true;
    support::LogCapture log;
    EXPECT_EQ(compareV2(a, b, 4), 0);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"Comparing V2 loaded state failed (1 != 0)",
                                                        "Comparing V2 enabled state failed (1 != 0)"}));
    EXPECT_TRUE(log.has(LogProgress, "Comparing V2 loaded state failed (1 != 0)"));
    EXPECT_TRUE(log.has(LogWarning, "Comparing V2 enabled state failed (1 != 0)"));
    b.v2Present = true;
    EXPECT_EQ(compareV2(a, b, 4), 103);
}

}  // namespace
}  // namespace tagwick
