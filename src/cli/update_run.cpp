// The update branch of the track run, step by step, and the export to a tag data file.
#include "cli/update_run.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/file_reader.h"
#include "base/files.h"
#include "base/safe_replace.h"
#include "cli/export_run.h"
#include "cli/options.h"
#include "cli/tag_changes.h"
#include "mpeg/mpeg_info.h"
#include "tags/id3_tag.h"
#include "tags/id3v1.h"
#include "tags/id3v1_writer.h"
#include "tags/id3v2_merge.h"
#include "tags/id3v2_writer.h"
#include "tags/tag_copy.h"
#include "tags/track_save.h"

namespace tagwick {

namespace {

// -mlen, -mbtr, -mfrq and -mchn, in that order, each when given.
void printMpegValues(const TagUpdate& update, const ID3Tag& track) {
    const MpegInfo& info = track.mpeg;
    if (update.printLength) std::printf("%lld\n", static_cast<long long>(info.lengthSeconds));
    if (update.printBitrate) std::printf("%d\n", static_cast<int>(info.averageBitrate * 1000));
    if (update.printFrequency) std::printf("%lld\n", static_cast<long long>(track.frequencyHz()));
    if (update.printChannels) std::printf("%d\n", channelCode(info.channelMode));
}

// -rm1 and -rm2: each removes its tag when the track has one. The removals write the file
// themselves; nothing else follows.
TrackStatus removeTags(ID3Tag& track, const TagUpdate& update) {
    TrackStatus status = TrackStatus::Ok;
    if (update.removeV1 && track.v1Found) {
        const int result = removeV1(track, update.removeApe, update.keepDates);
        if (result != TagSaved) {
            std::printf("Failed to remove the V1 tag data for '%s' (%d)\n", track.path.c_str(), result);
            status = TrackStatus::TagNotWritten;
        }
    }
    if (update.removeV2 && track.v2Present) {
        const int result = removeV2(track, update.trash, update.keepDates);
        if (result != TagSaved) {
            std::printf("Failed to remove the V2 tag data for '%s' (%d)\n", track.path.c_str(), result);
            status = TrackStatus::TagNotWritten;
        }
    }
    if (status == TrackStatus::Ok && update.verboseOn()) std::printf("Successfully removed the ID3 tag information\n");
    return status;
}

// -v1v2 (which wins) or -v2v1, when the track holds the tag to copy from.
ChangeMarks copyBetweenVersions(ID3Tag& track, const TagUpdate& update) {
    ChangeMarks marks;
    char from = 0, to = 0;
    if (update.copyV1ToV2) {
        if (!track.v1Found) return marks;
        copyV1ToV2(track);
        marks.v2 = true;
        from = '1', to = '2';
    } else {
        if (!track.v2Present) return marks;
        copyV2ToV1(track);
        marks.v1 = true;
        from = '2', to = '1';
    }
    if (update.verboseOn()) std::printf("Copied ID3 tag information from V%c to V%c\n", from, to);
    return marks;
}

// A tag data file ends with a version 1 record, which the opening of a track does not read.
void loadTrailingV1(ID3Tag& source) {
    FileReader reader;
    if (reader.open(source.path.c_str()) && reader.size() >= Id3v1Size) readV1(source, reader);
}

// -import: the other file's version 2 fields are merged into the track's; its version 1
// record, when it has one, replaces the track's. A file that cannot be opened is skipped.
ChangeMarks importTags(ID3Tag& track, const TagUpdate& update) {
    ChangeMarks marks;
    if (update.verboseOn()) std::printf("Importing tag data from: %s\n", update.importFile->c_str());
    ID3Tag source;
    if (!openTrackForRun(source, update, *update.importFile)) return marks;
    if (source.isTagDataFile) loadTrailingV1(source);
    if (source.v2Present) {
        mergeV2Fields(track.v2, source.v2);
        track.v2Present = true;
        marks.v2 = true;
    }
    if (source.v1.enabled && track.isMp3) {
        track.v1 = source.v1;
        marks.v1 = true;
    }
    return marks;
}

// The save steps: the version 1 record in place, then the version 2 tag through a new file.
TrackStatus saveChanges(ID3Tag& track, const TagUpdate& update, const ChangeMarks& marks, TrackStatus status) {
    if (!marks.v1 && !marks.v2) {
        std::printf("No changes are required for track '%s'\n", track.path.c_str());
        return status;
    }
    // The fields kept in memory are trimmed as they are written, so that the saves verify.
    if (update.trim) trimTextFields(track.v2);
    bool failed = false;
    if (marks.v1) {
        const int result = updateV1(track, update.removeApe, update.keepDates, update.trim);
        if (result != TagSaved) {
            std::printf("Failed to update the V1 tag data for '%s' (%d)\n", track.path.c_str(), result);
            failed = true;
        }
    }
    if (marks.v2) {
        const int result = updateV2(track, update.trash, update.writeVersion, update.keepDates, update.trim,
                                    update.tagType);
        if (result != TagSaved) {
            std::printf("Failed to update the V2 tag data for '%s' (%d)\n", track.path.c_str(), result);
            failed = true;
        }
    }
    if (failed) return TrackStatus::TagNotWritten;
    if (update.verboseOn()) std::printf("Successfully updated the %s tag information\n", "ID3");
    return status;
}

// -out: the input is copied to the output file first, and everything after works on the copy.
// A copy that fails skips the track with status 0.
bool prepareOutputFile(const TagUpdate& update, const std::string& input, std::string& target) {
    target = input;
    if (!update.outputFile) return true;
    const std::string& output = *update.outputFile;
    if (!sameFile(input, output)) {
        const int result = copyFileReplacing(input.c_str(), output.c_str());
        if (result != CopyOk) {
            std::printf("Failed to create the output file '%s' (%d)\n", output.c_str(), result);
            return false;
        }
    }
    target = output;
    return true;
}

}  // namespace

UpdateOutcome runUpdate(const TagUpdate& update, const std::string& path) {
    if (update.verboseOn()) std::printf("Updating the %s tag information for '%s'\n", "ID3", fileNamePart(path.c_str()));
    std::string target;
    if (!prepareOutputFile(update, path, target)) return {};

    ID3Tag track;
    if (!openTrackForRun(track, update, target)) return {TrackStatus::NotOpened};

    // The first sub-branch asked for runs: removal, copy, import, MPEG values, field changes.
    if (update.removeV1 || update.removeV2) return {removeTags(track, update)};
    TrackStatus status = TrackStatus::Ok;
    ChangeMarks marks;
    if (update.copyV1ToV2 || update.copyV2ToV1) {
        marks = copyBetweenVersions(track, update);
    } else if (update.importFile) {
        marks = importTags(track, update);
    } else if (update.anyMpegValueRequested()) {
        printMpegValues(update, track);
        // Deliberately the end of the whole run, whatever tracks follow.
        return {TrackStatus::Ok, true};
    } else {
        marks = applyFieldChanges(track, update);
        if (marks.pictureFailed) status = TrackStatus::PictureNotLoaded;
    }
    status = saveChanges(track, update, marks, status);

    if (update.rename != 0) {
        const TrackStatus renamed = runRename(update, track.path);
        if (renamed != TrackStatus::Ok) status = renamed;
    }
    return {status};
}

TrackStatus runTagDataExport(const TagUpdate& update, const std::string& path) {
    std::optional<std::string> target = uniqueFileName(update.exportFile->c_str());
    if (!target) return TrackStatus::Ok;
    const bool verbose = update.verboseOn();
    if (verbose) std::printf("Exporting tag data to: %s\n\n", target->c_str());

    UniqueFd out(::open(target->c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!out.valid()) {
        std::printf("Failed to write the tag data to the file '%s' (%d)\n", target->c_str(), errno);
        return TrackStatus::ExportNotWritable;
    }
    // A track that cannot be opened leaves the target as it was made: empty.
    ID3Tag track;
    if (!openTrackForRun(track, update, path)) return TrackStatus::NotOpened;

    std::vector<uint8_t> bytes;
    if (track.v2Present) {
        bytes = buildV2Tag(track, track.v2Minor, false, update.tagType);
        if (verbose) std::printf("Successfully exported the V2 tag data\n");
    } else if (verbose) {
        // The target's name, not the track's: the program has always said it so.
        std::printf("No V2 tag information was found to export in the track file '%s'\n", target->c_str());
    }
    if (track.v1Found) {
        const auto record = buildV1Record(track, false);
        bytes.insert(bytes.end(), record.begin(), record.end());
        if (verbose) std::printf("Successfully exported the V1 tag data\n");
    } else if (verbose) {
        std::printf("No V1 tag information was found to export in the track file '%s'\n", target->c_str());
    }

    size_t written = 0;
    if (writeFd(out.get(), bytes.data(), bytes.size(), &written) != 1 || !out.close()) {
        std::printf("Failed to write the tag data to the file '%s' (%d)\n", target->c_str(), errno);
        ::unlink(target->c_str());
        return TrackStatus::ExportNotWritable;
    }
    return TrackStatus::Ok;
}

}  // namespace tagwick
