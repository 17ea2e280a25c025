// Building the 128-byte ID3 version 1 record as the version 1 save writes it.
#pragma once

#include <array>
#include <cstdint>

#include "tags/id3v1.h"

namespace tagwick {

using V1Record = std::array<uint8_t, Id3v1Size>;

// "TAG", then title, artist, album, year and comment each copied as a terminated text bounded
// by its buffer (31, 31, 31, 5 and 30 bytes with the terminator), the next field overwriting the
// terminator; byte 126 the track (0 for 0 or 255), byte 127 the genre as it is. A 29-character
// comment thus reaches byte 125. With `convert` (-trim) each text is trimmed after its copy.
V1Record buildV1Record(const Id3v1Tag& v1, bool convert);
V1Record buildV1Record(const ID3Tag& track, bool convert);

}  // namespace tagwick
