// Comparing two version 2 field sets, as the save's verification does after reading a written
// tag back: the code of the first field that differs, named by fieldLabel().
#pragma once

#include "tags/id3v2_fields.h"

namespace tagwick {

class ID3Tag;

constexpr int FirstV2FieldCode = 103;

// 0 when the field sets agree, else the code of the first difference, 103 "Title" to
// 143 "UFID data". `version` is the version written: record and release times count from 2.4.
int compareV2Fields(const Id3v2Tag& a, const Id3v2Tag& b, int version);
// The same for two tracks, after logging a difference of their loaded or present flags;
// 0 when either has no version 2 data.
int compareV2(const ID3Tag& a, const ID3Tag& b, int version);

}  // namespace tagwick
