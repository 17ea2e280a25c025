// The AIFF/AIFC form header and the chunk walk made when a track is opened: where the
// "ID3 " chunk's data lies and what the COMM chunk says about the sound.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/bytes.h"
#include "base/file_reader.h"
#include "mpeg/mpeg_info.h"

namespace tagwick {

constexpr size_t AiffFormHeaderSize = 12;  // "FORM", size, form type

struct AiffForm {
    uint32_t formSize = 0;   // 0 when the file is too short to hold it
    bool known = false;      // the form type is "AIFF" or "AIFC", compared without regard to case
    bool compressed = false; // the type's fourth character is 'C' or 'c'
};

// Reads the 12-byte form header from the first bytes of the file (the caller checked "FORM").
AiffForm readAiffForm(Bytes head);

struct AiffWalk {
    // Where the walk left the stream: at the "ID3 " chunk's data when one was met, else at
    // the point where a chunk ID could no longer be read (clamped to the file's end).
    uint64_t position = 0;
    bool id3Found = false;
    uint32_t id3Size = 0;     // data size, odd sizes rounded up
    bool commFound = false;   // a COMM chunk larger than 17 bytes was read
    AiffCommon common;
    size_t chunkCount = 0;
};

// Walks the chunks from `start` (just after the form header). Odd sizes are rounded up; the
// first "ID3 " chunk ends the walk; a COMM chunk larger than 17 bytes is read; every other
// chunk is skipped by its size. The walk ends silently when a chunk ID cannot be read.
AiffWalk walkAiffChunks(FileReader& file, uint64_t start);
AiffWalk walkAiffChunks(Bytes file, uint64_t start);

}  // namespace tagwick
