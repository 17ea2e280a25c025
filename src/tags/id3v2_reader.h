// Reading an ID3 version 2 tag (2.2, 2.3, 2.4; higher read as 2.4) into the field set.
#pragma once

#include <cstdint>

#include "base/bytes.h"
#include "tags/id3v2_fields.h"

namespace tagwick {

struct V2ReadSettings {
    int tagTypeMode = 0;       // -tagtype: 0 drop unmapped frames, 1 keep standard ones, 2 keep all
    bool conversion = true;    // set: text stored as read; clear: text conversion mode 2
};

struct V2ParseOutcome {
    int status = 0;
    int minor = 0;       // the major version byte read (2, 3, 4 or higher)
    bool found = false;  // set whenever the frame loop ran or the tag was refused as unsynchronised
};

// Total tag size (header included) from at least 10 bytes, or 0 when they begin no tag.
uint32_t tagSizeFromHeader(Bytes header);
// `tag` holds the whole tag, header included.
V2ParseOutcome parseV2(Id3v2Tag& fields, Bytes tag, const V2ReadSettings& settings);

}  // namespace tagwick
