// The picture export (-imex file [all]): the first picture of a track, or every picture, into
// image files named after the target.
#pragma once

#include <string>
#include <string_view>

#include "export/export_status.h"

namespace tagwick {

class ID3Tag;

// File extensions of a picture's format word, by its first letter; empty for a letter
// without a file type.
struct PictureExtensions {
    std::string_view preferred;  // ".jpg"
    std::string_view accepted;   // ".jpeg" (the same as preferred for most types)
};
PictureExtensions pictureExtensions(char formatLetter);

// The file name of picture `index` (0 is never numbered) for the export target:
// an existing folder gets "<folder>/Picture<n><preferred>"; a target ending in the preferred
// or the accepted extension (any letter case) gets the number before its own extension;
// any other target gets the number and the preferred extension after it ("cover.bmp.jpg").
// A name longer than 1023 bytes is cut.
std::string pictureFileName(const std::string& target, bool targetIsFolder, int index,
                            const PictureExtensions& extensions);

// Writes the first picture, or with `all` every picture, of `track`. Ok also without
// pictures; NotCreatable when a file cannot be created or written (no unfinished file is left
// behind); PictureNotExportable for a picture type without a file extension; NoTrack without
// a track.
[[nodiscard]] ExportStatus exportPictures(const ID3Tag* track, const std::string& target, bool all);

}  // namespace tagwick
