// The export branches of the track run (-csv, -xml, -imex) and the rename step (-rename with
// -folder) that follows the update, display, check and fix branches.
#pragma once

#include <string>

#include "cli/track_run.h"

namespace tagwick {

struct TagUpdate;

// Each opens the track at `path` (NotOpened when it cannot be) and returns the export's result.
[[nodiscard]] TrackStatus runCsvExport(const TagUpdate& update, const std::string& path);
[[nodiscard]] TrackStatus runXmlExport(const TagUpdate& update, const std::string& path);
[[nodiscard]] TrackStatus runImageExport(const TagUpdate& update, const std::string& path);

// Opens the track at `path` again and renames it by its tags: by the -rename format, else by
// its title and track number; into "<artist>/<album>" with -folder; UTF-8 names with utf8.
// RenameFailed when the track cannot be opened or renamed.
[[nodiscard]] TrackStatus runRename(const TagUpdate& update, const std::string& path);

}  // namespace tagwick
