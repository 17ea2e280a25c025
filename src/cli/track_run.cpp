// The per-track loop: the kind from the extension, then exactly one kind of work per track.
#include "cli/track_run.h"

#include <cstdio>

#include "base/files.h"
#include "cli/display.h"
#include "cli/export_run.h"
#include "cli/options.h"
#include "cli/update_run.h"
#include "mpeg/mpeg_info.h"
#include "mpeg/stream_checker.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

using TrackOutcome = UpdateOutcome;


DisplayOptions displayOptions(const TagUpdate& update, bool tags, bool fileInfo, bool images) {
    DisplayOptions options;
    options.showTags = tags;
    options.showFileInfo = fileInfo;
    options.vbrScan = !update.skipVbrScan;
    options.showImages = images;
    options.ignoreAiffCorruption = update.ignoreAiffCorruption;
    return options;
}

// The display sets no status: a track it cannot read gets its message and counts as done.
TrackStatus runDisplay(const TagUpdate& update, const std::string& path, bool tags, bool fileInfo, bool images) {
    (void)displayTrack(path.c_str(), displayOptions(update, tags, fileInfo, images));
    return TrackStatus::Ok;
}

TrackStatus runCheck(const std::string& path, bool fix) {
    int problems = checkAudioFile(path.c_str(), nullptr, fix, false, false, false);
    return problems > 0 ? TrackStatus::CheckFoundProblems : TrackStatus::Ok;
}

// The rename step that follows the display, check and fix branches.
TrackStatus thenRename(const TagUpdate& update, const std::string& path, TrackStatus status) {
    if (update.rename == 0) return status;
    TrackStatus renamed = runRename(update, path);
    return renamed == TrackStatus::Ok ? status : renamed;
}

TrackOutcome runTrack(const TagUpdate& update, const std::string& path) {
    if (!ID3Tag::kindFromPath(path.c_str(), nullptr)) {
        std::printf("File type is not supported for %s\n", path.c_str());
        return {};
    }
    switch (chooseWork(update)) {
        case TrackWork::Display:
            return {thenRename(update, path,
                               runDisplay(update, path, update.showTags, update.showFileInfo, update.showImages))};
        case TrackWork::Check: return {thenRename(update, path, runCheck(path, false))};
        case TrackWork::Fix: return {thenRename(update, path, runCheck(path, true))};
        case TrackWork::ExportTagData: return {runTagDataExport(update, path)};
        case TrackWork::ExportCsv: return {runCsvExport(update, path)};
        case TrackWork::ExportXml: return {runXmlExport(update, path)};
        case TrackWork::ExportImages: return {runImageExport(update, path)};
        case TrackWork::Update: return runUpdate(update, path);
        case TrackWork::Default:
            if (update.rename != 0) return {runRename(update, path)};
            return {runDisplay(update, path, true, true, false)};
    }
    return {};
}

}  // namespace

TrackWork chooseWork(const TagUpdate& update) {
    if (update.showTags || update.showFileInfo || update.showImages) return TrackWork::Display;
    if (update.check == 1) return TrackWork::Check;
    if (update.check == 2) return TrackWork::Fix;
    if (update.exportFile) return TrackWork::ExportTagData;
    if (update.csvFile) return TrackWork::ExportCsv;
    if (update.xmlFile) return TrackWork::ExportXml;
    if (update.imageExportFile) return TrackWork::ExportImages;
    if (update.anyChangeRequested() || update.anyMpegValueRequested()) return TrackWork::Update;
    return TrackWork::Default;
}

bool openTrackForRun(ID3Tag& track, const TagUpdate& update, const std::string& path) {
    track.ignoreAiffCorruption = update.ignoreAiffCorruption;
    track.tagTypeMode = update.tagType;
    const int result = track.open(path.c_str());
    return result != 0 || (track.isTagDataFile && track.kindCheckPassed);
}

int channelCode(unsigned channelMode) {
    switch (channelMode) {
        case ChannelMono: return 1;
        case 0:
        case 1:
        case 2: return 2;
        case ChannelMulti: return 3;
        default: return 4;
    }
}

int runTracks(const TagUpdate& update, const std::vector<std::string>& tracks) {
    TrackStatus status = TrackStatus::Ok;
    for (const std::string& path : tracks) {
        TrackOutcome outcome = runTrack(update, path);
        status = outcome.status;
        if (outcome.endsRun) break;
        if (status != TrackStatus::Ok && update.stopOnError) break;
    }
    return static_cast<int>(status);
}

}  // namespace tagwick
