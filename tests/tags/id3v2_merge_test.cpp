// -import's merge: what the imported field set holds replaces the track's, the rest stays.
#include <gtest/gtest.h>

#include "tags/id3v2_merge.h"
#include "tags/id3v2_writer.h"

namespace tagwick {
namespace {

TextValue latin(std::string text) { return TextValue::latin1(std::move(text)); }

TEST(MergeV2Fields, HeldFieldsAndNonEmptyListsReplaceTheTracks) {
    Id3v2Tag target, source, expected;
    target.title = latin("Old"), target.artist = latin("Kept"), target.trackNumber = 1, target.trackTotal = 2;
    target.advisory = 1, target.pictures = {{"", "png", 0, "", {1}}}, target.userTexts = {{0, 'u'}};
    target.keptFrames = {{"PRIV", 0, {1}}};

    source.title = latin("New"), source.comment = latin(""), source.trackTotal = 12, source.compilation = true;
    source.hasUfid = true, source.ufid = "id", source.pictures = {{"", "jpeg", 0, "", {2}}, {"", "gif", 0, "", {3}}};
    source.keptFrames = {{"RVA2", 0, {9}}};

    expected.title = latin("New"), expected.artist = latin("Kept"), expected.comment = latin("");
    expected.trackTotal = 12, expected.compilation = true, expected.advisory = 1, expected.hasUfid = true;
    expected.ufid = "id", expected.pictures = source.pictures, expected.userTexts = target.userTexts;
    expected.keptFrames = source.keptFrames;

    mergeV2Fields(target, source);
    V2WriteSettings everything{4, false, 2, true};
    EXPECT_EQ(buildV2Tag(target, everything), buildV2Tag(expected, everything));
}

}  // namespace
}  // namespace tagwick
