#include "cli/export_run.h"

#include <cstdio>

#include "cli/options.h"
#include "export/csv_export.h"
#include "export/picture_export.h"
#include "export/track_rename.h"
#include "export/xml_export.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

TrackStatus statusOf(ExportStatus status) { return static_cast<TrackStatus>(static_cast<int>(status)); }

}  // namespace

TrackStatus runCsvExport(const TagUpdate& update, const std::string& path) {
    const std::string& target = *update.csvFile;
    if (update.verboseOn()) std::printf("Exporting CSV tag data to: %s\n\n", target.c_str());
    ID3Tag track;
    if (!openTrackForRun(track, update, path)) return TrackStatus::NotOpened;
    return statusOf(exportCsv(target, &track, update.csvVersion));
}

TrackStatus runXmlExport(const TagUpdate& update, const std::string& path) {
    const std::string& target = *update.xmlFile;
    if (update.verboseOn()) std::printf("Exporting XML tag data to: %s\n\n", target.c_str());
    ID3Tag track;
    if (!openTrackForRun(track, update, path)) return TrackStatus::NotOpened;
    return statusOf(exportXml(target, &track, update.xmlVersion, !update.xmlNoImages));
}

TrackStatus runImageExport(const TagUpdate& update, const std::string& path) {
    const std::string& target = *update.imageExportFile;
    if (update.verboseOn())
        std::printf("Exporting tag image%s to: %s\n\n", update.imageExportAll ? "s" : "", target.c_str());
    ID3Tag track;
    if (!openTrackForRun(track, update, path)) return TrackStatus::NotOpened;
    return statusOf(exportPictures(&track, target, update.imageExportAll));
}

TrackStatus runRename(const TagUpdate& update, const std::string& path) {
    ID3Tag track;
    if (!openTrackForRun(track, update, path)) return TrackStatus::RenameFailed;
    const std::string format = update.renameFormat.value_or("");
    const bool utf8Names = update.rename == 2;
    // No option asks for the date in front of the name.
    const bool datePrefix = false;
    return renameByTag(track, true, datePrefix, update.folder, utf8Names, format) ? TrackStatus::Ok
                                                                                  : TrackStatus::RenameFailed;
}

}  // namespace tagwick
