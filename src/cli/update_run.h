// The branches of the track run that change files: the update (removals, copies between the
// two tag versions, imports, the MPEG values, field changes and their save steps, -out) and
// the export to a tag data file.
#pragma once

#include <string>

#include "cli/track_run.h"

namespace tagwick {

struct TagUpdate;

struct UpdateOutcome {
    TrackStatus status = TrackStatus::Ok;
    bool endsRun = false;  // the MPEG values act on the first track only
};

UpdateOutcome runUpdate(const TagUpdate& update, const std::string& path);

// -export file: the track's version 2 tag, then its version 1 record, into a new file.
TrackStatus runTagDataExport(const TagUpdate& update, const std::string& path);

}  // namespace tagwick
