// Results of the export and placement functions; the numbers are the program's own.
#pragma once

namespace tagwick {

enum class ExportStatus : int {
    Ok = 0,
    NotCreatable = 11,          // the target file could not be created or written
    NoTrack = 12,
    PictureNotFetched = 13,
    PictureNotExportable = 14,  // a picture type without a file extension
};

}  // namespace tagwick
