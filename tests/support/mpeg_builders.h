// Builders for byte-exact MPEG audio test data: single frames of every version and layer,
// frames carrying Xing/Info, LAME or VBRI headers, whole CBR and VBR streams, APEv2 tags
// and RIFF WAVE wrappers. Every builder returns the bytes; nothing touches the disk.
//
// A builder throws std::invalid_argument when asked for something it cannot encode
// (a bit rate missing from the table, a header that does not fit in the frame), so a
// test that asks for impossible data fails loudly instead of running on wrong bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tagwick::support {

using ByteVec = std::vector<uint8_t>;

// One frame. Defaults: MPEG-1 layer III, 128 kbit/s, 44100 Hz, stereo, no CRC, 417 bytes.
struct FrameLayout {
    int version = 1;                 // 1, 2 or 25 (MPEG 2.5)
    int layer = 3;                   // 1, 2 or 3
    int bitrateKbps = 128;           // looked up in the standard table of version and layer
    int sampleRateIndex = 0;         // 0..3 (3 is reserved)
    bool padding = false;
    int channelMode = 0;             // 0 stereo, 1 joint stereo, 2 dual channel, 3 mono
    bool copyright = false;
    bool original = false;
    bool crc = false;                // protection bit 0 and a CRC-16 at bytes 4-5
    bool wrongCrc = false;           // store the correct CRC with its low bit flipped
    std::optional<size_t> length;    // total frame length in bytes (header included), overriding the rules
    uint8_t filler = 0;              // value of every body byte not otherwise written
    std::optional<uint8_t> layerBits;    // raw two layer bits (e.g. 0 for the reserved layer)
};

// The summary's single rule for every version and layer: trunc(float(kbps*144000)/rate) + pad.
size_t summaryRuleLength(const FrameLayout& layout);
// The length buildFrame uses: layout.length, else the standard's exact length (layer I
// (12*kbps*1000/rate + pad)*4; layer II and MPEG-1 layer III 144*kbps*1000/rate + pad; MPEG-2/2.5
// layer III 72*kbps*1000/rate + pad), else 4 (header only).
size_t frameLength(const FrameLayout& layout);
// Side information size: 17 MPEG-1 mono, 32 MPEG-1 other, 9 MPEG-2/2.5 mono, 17 other.
size_t sideInfoLength(const FrameLayout& layout);

// Recomputes bytes 4-5 after the body was edited (the wrong CRC again when layout.wrongCrc):
// CRC-16 (poly 0x8005, MSB first, init 0xFFFF) over bytes 2-3 and the side information from
// byte 6, sized by the frame's own header bits. Does nothing for frames without a CRC.
void refreshCrc(ByteVec& frame, const FrameLayout& layout);

void putBe32(ByteVec& frame, size_t at, uint32_t value);

// One frame: header, CRC when asked, body filled with layout.filler.
ByteVec buildFrame(const FrameLayout& layout);

struct XingLayout {
    std::string tag = "Xing";              // "Xing", "Info" or any 4 characters
    std::optional<uint32_t> frames;        // sets flag bit 1 and writes the count
    std::optional<uint32_t> bytes;         // sets flag bit 2 and writes the count
    std::optional<size_t> offset;          // from the frame start; default 4 + side information
    std::string lame;                      // written at lameOffset when not empty
    size_t lameOffset = 156;               // from the frame start
};
// A frame carrying a Xing/Info header (flags as a big-endian word, then frames, then bytes).
ByteVec buildXingFrame(const FrameLayout& layout, const XingLayout& xing);
// The placement the summary probes: the header at 36 from the frame start, whatever the
// version and channel mode (for MPEG-1 stereo this is also the standard placement).
ByteVec buildXingFrameAt36(const FrameLayout& layout, XingLayout xing);

struct VbriLayout {
    uint32_t bytes = 0;
    uint32_t frames = 0;
};
// A frame with "VBRI" at +36, version 1 at +40, bytes at +46 and frames at +50 (big-endian).
ByteVec buildVbriFrame(const FrameLayout& layout, const VbriLayout& vbri);

// `count` frames of one layout, back to back.
ByteVec buildStream(const FrameLayout& layout, size_t count);
// One frame per entry, each with layout's other settings and that bit rate in kbit/s.
ByteVec buildVbrStream(const FrameLayout& layout, std::span<const int> bitratesKbps);

// Concatenation of byte blocks.
ByteVec concat(std::initializer_list<std::span<const uint8_t>> parts);
void append(ByteVec& to, std::span<const uint8_t> part);
ByteVec bytesOf(std::string_view text);

struct ApeItem {
    std::string key;
    std::string value;
    uint32_t flags = 0;
};
struct ApeLayout {
    std::vector<ApeItem> items;
    bool withHeader = true;
    uint32_t extraFlags = 0;                // ORed into header and footer flags
    std::optional<uint32_t> sizeOverride;   // a lying size field (header and footer)
};
// APEv2: optional 32-byte header, items (le32 value size, le32 flags, key, 0, value), and a
// 32-byte footer "APETAGEX", version 2000, size = items + footer, item count, flags
// (bit 31 when a header exists, bit 29 in the header only), 8 zero bytes.
ByteVec buildApeTag(const ApeLayout& layout);

struct RiffChunk {
    std::string id;    // 4 characters
    ByteVec body;      // written as given (no pad byte added)
};
// "RIFF", le32 size (total - 8), "WAVE", a 16-byte "fmt " chunk (MPEG layer III format tag
// 0x55, 2 channels, 44100 Hz), "data" around `audio`, then the trailing chunk when given.
ByteVec buildRiffWave(std::span<const uint8_t> audio, const std::optional<RiffChunk>& trailing = std::nullopt);

}  // namespace tagwick::support
