// Reading an ID3 version 2 tag (2.2, 2.3, 2.4; higher read as 2.4) into the field set.
#pragma once

#include <cstdint>
#include <vector>

#include "base/bytes.h"
#include "tags/id3v2_fields.h"

namespace tagwick {

struct V2ReadSettings {
    int tagTypeMode = 0;       // -tagtype: 0 drop unmapped frames, 1 keep standard ones, 2 keep all
    bool conversion = true;    // set: text stored as read; clear: text conversion mode 2
};

// How the frame walk ended (the open sequence does not act on it; the fields tell the result).
enum V2ParseStatus : int {
    V2ParseComplete = 0,        // reached the end of the tag or its padding
    V2ParseStopped = 1,         // stopped at a damaged frame; the frames before it were taken
    V2ParseUnsynchronised = 2,  // 2.3 (or lower) whole-tag unsynchronisation: present, nothing read
    V2ParseTooShort = 3,        // fewer than 10 bytes: no header to read
};

struct V2ParseOutcome {
    int status = 0;
    int minor = 0;       // the major version byte read (2, 3, 4 or higher)
    bool found = false;  // set whenever the frame loop ran or the tag was refused as unsynchronised
};

// Total tag size (header included) from at least 10 bytes, or 0 when they begin no tag.
uint32_t tagSizeFromHeader(Bytes header);
// `tag` holds the whole tag, header included. Nothing outside the span is read.
V2ParseOutcome parseV2(Id3v2Tag& fields, Bytes tag, const V2ReadSettings& settings);

// Undoes unsynchronisation: every 00 byte that directly follows an FF byte is removed.
std::vector<uint8_t> removeUnsynchronisation(Bytes data);

}  // namespace tagwick
