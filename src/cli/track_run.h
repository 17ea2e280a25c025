// The walk through the track list: one kind of work on every track, and the run's status.
#pragma once

#include <string>
#include <vector>

namespace tagwick {

class ID3Tag;
struct TagUpdate;

// A track's outcome; the numbers are the program's exit statuses.
enum class TrackStatus : int {
    Ok = 0,                 // also for skipped tracks
    NotOpened = 1,
    TagNotWritten = 2,      // a tag could not be removed or written
    ExportNotWritable = 3,
    CheckFoundProblems = 4,
    PictureNotLoaded = 5,
    RenameFailed = 7,
    // The exports' own results.
    ExportNotCreatable = 11,
    ExportWithoutTrack = 12,
    PictureNotFetched = 13,
    PictureNotExportable = 14,
};

// The one kind of work a run does, the first asked for in this order.
enum class TrackWork { Display, Check, Fix, ExportTagData, ExportCsv, ExportXml, ExportImages, Update, Default };

[[nodiscard]] TrackWork chooseWork(const TagUpdate& update);

// Runs every track of `tracks` with the scanned options; returns the status of the last track
// processed. With -e the first failing track ends the run; -mlen/-mbtr/-mfrq/-mchn end it after
// the first track that prints them.
int runTracks(const TagUpdate& update, const std::vector<std::string>& tracks);

// Opens a track with the run's settings (-iac, -tagtype). True when it opened; a tag data file,
// which has no stream summary, counts as opened once its first bytes were accepted.
[[nodiscard]] bool openTrackForRun(ID3Tag& track, const TagUpdate& update, const std::string& path);

// -mchn's code for an MpegInfo channel mode: 1 mono, 2 stereo, 3 multi channel, 4 unknown.
[[nodiscard]] int channelCode(unsigned channelMode);

}  // namespace tagwick
