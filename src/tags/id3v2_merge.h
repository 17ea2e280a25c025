// Taking fields from one version 2 field set into another, as -import does.
#pragma once

#include "tags/id3v2_fields.h"

namespace tagwick {

// True when the field set holds a value for the field: a text (even an empty one), a number of
// a pair, a year, a set flag, a rating or identifier, a non-zero advisory, or list entries.
bool holdsField(const Id3v2Tag& tag, V2Field field);

// Every field that `source` holds replaces the target's (a number pair as a whole); fields the
// source lacks stay as they were. The source's user texts, pictures and kept frames replace
// the target's lists when the source has any.
void mergeV2Fields(Id3v2Tag& target, const Id3v2Tag& source);

}  // namespace tagwick
