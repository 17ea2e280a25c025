// Building a version 2 tag from the field set: one frame at a time in the writer's fixed order,
// the header with its syncsafe size, and the padding. Pure: the bytes are returned, and the
// save path writes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "base/bytes.h"
#include "tags/id3v2_fields.h"

namespace tagwick {

class ID3Tag;

constexpr size_t V2HeaderSize = 10;
// The tag's size field holds 28 bits; a tag whose frames and padding need more is not built.
constexpr uint32_t V2SizeLimit = (1u << 28) - 1;

// 4 when a recording time is set; else 3 when no release time is set; else 4.
int chooseV2Version(const ID3Tag& track);
int chooseV2Version(const Id3v2Tag& fields);

// Frame sizes are syncsafe from 2.4 on and plain 32-bit numbers before.
constexpr bool writesSyncsafeSizes(int version) { return version * 256 > 1023; }

// One frame header: the ID in four bytes (cut, or filled with zero bytes), the payload size,
// two zero flag bytes.
void writeFrameHeader(ByteWriter& out, std::string_view id, uint32_t payloadSize, int version);
// Header and payload; returns the bytes added.
size_t writeFrame(ByteWriter& out, std::string_view id, Bytes payload, int version);

struct V2WriteSettings {
    int version = 3;             // 3 or 4 (a higher byte is written as given, with 2.4's rules)
    bool convert = false;        // -trim: text frames lose white space at both ends
    int mode = 0;                // -tagtype: user texts and kept frames are written unless 0
    bool allowTotalOnly = true;  // the track-number format flag: "/12" for a count alone
};

// The whole tag: "ID3", version, revision 0, flags 0, syncsafe size, the frames, and padding of
// 128 - ((frames + 10) % 128) zero bytes (128 more when that leaves 9 or fewer). Empty, after
// a logged error, when the tag would not fit its 28-bit size.
std::vector<uint8_t> buildV2Tag(const Id3v2Tag& fields, const V2WriteSettings& settings);
// The same for a track: a `version` below 3 is replaced by chooseV2Version; the track's
// number format flag decides whether a count alone is written.
std::vector<uint8_t> buildV2Tag(const ID3Tag& track, int version, bool convert, int mode);

// The -trim rule applied to the fields themselves: every text that the writer trims when
// `convert` is set (and the year), so that what is kept in memory matches what is written.
void trimTextFields(Id3v2Tag& fields);

// The padding that follows `framesSize` bytes of frames.
size_t v2PaddingFor(size_t framesSize);

}  // namespace tagwick
