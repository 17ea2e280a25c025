// Saves that meet a track which is gone, and the replacement itself: nothing is created in
// the track's place and no temporary file stays behind.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "base/safe_replace.h"
#include "support/cli_runner.h"
#include "support/log_capture.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"
#include "tags/id3_tag.h"
#include "tags/track_save.h"

namespace tagwick {
namespace {

using support::LogCapture;
using support::TempDir;

size_t filesIn(const std::string& folder) {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
    return count;
}

// The track was opened, then deleted before its save: both saves give up with the write
// check's message and the note, and leave the folder empty.
TEST(TrackSave, TrackThatVanishedBeforeTheSaveIsNotBroughtBack) {
    TempDir dir;
    const std::string path = dir.file("song.mp3");
    support::writeFile(path, support::concat({support::programTag(3, {support::latin1Frame("TIT2", "Old")}),
                                              support::buildStream({}, 20)}));
    ID3Tag track;
    ASSERT_NE(track.open(path.c_str()), 0);
    track.v2.title = TextValue::latin1("New");
    std::filesystem::remove(path);

    LogCapture log;
    EXPECT_EQ(updateV2(track, false, 0, false, false, 0), SourceNotOpenable);
    EXPECT_EQ(removeV2(track, false, false), SourceNotOpenable);
    EXPECT_TRUE(log.has(1, "Open file write check error: No such file or directory (2)")) << log.text();
    EXPECT_TRUE(log.has(1, "NOTE: the original file has not been altered.")) << log.text();
    EXPECT_EQ(filesIn(dir.path()), 0u);
}

TEST(TrackSave, ReplacementNeedsTheTargetStillThere) {
    TempDir dir;
    const std::string temporary = dir.file("song.mp3.t0"), target = dir.file("song.mp3");
    support::writeText(temporary, "new");
    LogCapture log;
    EXPECT_FALSE(replaceWithTemporary(temporary.c_str(), target.c_str(), false));
    EXPECT_TRUE(log.has(1, "Failed to remove the original file '" + target + "' (2)")) << log.text();
    support::writeText(target, "old");
    EXPECT_TRUE(replaceWithTemporary(temporary.c_str(), target.c_str(), false));
    EXPECT_EQ(support::readText(target), "new");
    EXPECT_EQ(filesIn(dir.path()), 1u);
}

}  // namespace
}  // namespace tagwick
