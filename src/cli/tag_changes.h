// The field changes of the command line applied to one opened track: version 2 texts,
// numbers and flags, podcast fields, pictures, lyrics and the unique file identifier, and the
// version 1 record. Nothing is written here; the save steps write what changed.
#pragma once

#include <string>

namespace tagwick {

class ID3Tag;
struct TagUpdate;

// Which tags the changes touched. The new values are not compared with the old ones: giving a
// field its present value still counts as a change.
struct ChangeMarks {
    bool v1 = false;
    bool v2 = false;
    bool pictureFailed = false;  // the picture of -im / -ir could not be loaded (status 5)
};

// Applies every field given on the command line. Texts are taken as UTF-8 and kept as
// ISO-8859-1 when they fit, else as UTF-16. The picture loader prints its own failure message.
ChangeMarks applyFieldChanges(ID3Tag& track, const TagUpdate& update);

// A command-line text for a version 1 field: UTF-8 narrowed to ISO-8859-1 (characters above
// U+00FF are dropped), cut to `limit` bytes.
std::string v1Text(const std::string& utf8, size_t limit);

}  // namespace tagwick
