// Builders for byte-exact tag and container test data: ID3v2.2/2.3/2.4 frames and tags
// (syncsafe or plain sizes, flags, unsynchronisation, extended header), ID3v1 records,
// AIFF/AIFC forms with their chunks, and the first bytes of PNG, JPEG, TIFF and BMP
// pictures. Every builder returns the bytes; nothing touches the disk.
//
// ID3v2 parts live in id3v2_builders.cpp; ID3v1, AIFF and picture parts in container_builders.cpp.
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

// ---------------------------------------------------------------- ID3v2 payloads

// UTF-16 code units as bytes, little-endian (bigEndian false) or big-endian, with or without
// the byte-order mark in front (FF FE little-endian, FE FF big-endian). No terminator.
ByteVec utf16Bytes(std::u16string_view text, bool bigEndian = false, bool withBom = true);

// A text frame payload: the encoding byte followed by `text` exactly as given (the caller
// encodes it: Latin-1 bytes, utf16Bytes(...), UTF-8 bytes). No terminator is added.
ByteVec textPayload(uint8_t encoding, std::span<const uint8_t> text);
// Encoding 0 and the Latin-1 bytes of `text`.
ByteVec latin1Payload(std::string_view text);

// COMM / USLT (and 2.2 COM / ULT): encoding, 3-byte language, description, its terminator
// (one zero byte for encodings 0 and 3, two for 1 and 2), then the text as given.
ByteVec commentPayload(uint8_t encoding, std::string_view language, std::span<const uint8_t> description,
                       std::span<const uint8_t> text);
// APIC: encoding 0, MIME text, 0, picture type, description, 0, data.
ByteVec apicPayload(std::string_view mime, uint8_t pictureType, std::string_view description,
                    std::span<const uint8_t> data);
// UFID: owner text, 0, identifier bytes.
ByteVec ufidPayload(std::string_view owner, std::span<const uint8_t> identifier);
// WXXX: encoding, description, terminator, URL (Latin-1).
ByteVec userUrlPayload(uint8_t encoding, std::span<const uint8_t> description, std::string_view url);

// ---------------------------------------------------------------- ID3v2 frames and tags

struct V2Frame {
    std::string id;                       // 3 characters for 2.2, 4 for 2.3/2.4 (written as given)
    ByteVec payload;
    uint16_t flags = 0;                   // 2.3/2.4 only
    std::optional<uint32_t> sizeOverride; // a lying size field
    bool plainSize = false;               // 2.4: write the size as a plain 32-bit number
};


struct V2TagLayout {
    int major = 3;
    uint8_t flags = 0;                     // written as given (0x80 unsync, 0x40 ext...)
    std::vector<V2Frame> frames;
    ByteVec extendedHeader;                // written right after the header, as given
    size_t padding = 0;                    // zero bytes after the frames
};

// Header "ID3", major, revision 0, flags, syncsafe size of everything after the header, then the
// extended header, frames and padding. A frame has a 6-byte header with a 3-byte size in 2.2, a
// 10-byte header with a plain size in 2.3, a syncsafe size (unless plainSize) from 2.4 on. Its
// size counts the payload as given (the caller adds data length indicators and unsynchronises).
ByteVec buildV2Tag(const V2TagLayout& layout);

// A frame with its payload (flags 0, true size).
V2Frame v2Frame(std::string id, ByteVec payload);
// A text frame of encoding 0 holding `latin1`.
V2Frame latin1Frame(std::string id, std::string_view latin1);
// A tag laid out as the program writes one: the frames, then zero padding up to a multiple of
// 128 bytes that leaves at least 10 of them.
ByteVec programTag(int major, std::vector<V2Frame> frames);

// The unsynchronisation scheme: a 00 byte is inserted after every FF that is followed by a
// byte >= E0 or by 00, and after a final FF.
ByteVec unsynchronise(std::span<const uint8_t> data);

// The four syncsafe bytes of a value below 2^28.
ByteVec syncsafeBytes(uint32_t value);

// ---------------------------------------------------------------- ID3v1

struct V1Layout {
    std::string title, artist, album, year, comment;  // cut to 30, 30, 30, 4, 30 (28 with a track)
    int track = 0;        // 1..255 writes ID3v1.1 (zero at 125, track at 126); 0 leaves both as text/zero
    uint8_t genre = 255;
};
// The 128-byte record: "TAG", the fields zero-padded, byte 126 the track, byte 127 the genre.
ByteVec buildV1(const V1Layout& layout);

// ---------------------------------------------------------------- AIFF

struct AiffChunk {
    std::string id;                       // 4 characters, written as given
    ByteVec body;
    std::optional<uint32_t> sizeOverride; // a lying size field
    bool padOdd = true;                   // add the pad byte after an odd-sized body
};

// COMM body: channels (16), sample frames (32), sample size (16), rate (80-bit IEEE extended); AIFC adds
// the compression type and an empty name when `compression` is given.
ByteVec commBody(uint16_t channels, uint32_t sampleFrames, uint16_t sampleSize, double sampleRate,
                 std::optional<std::string> compression = std::nullopt);
// SSND body: offset 0, block size 0, then `soundBytes` bytes of `filler`.
ByteVec ssndBody(size_t soundBytes, uint8_t filler = 0);

struct AiffLayout {
    std::string formId = "FORM";
    std::string formType = "AIFF";          // "AIFF" or "AIFC" (any 4 characters)
    std::vector<AiffChunk> chunks;
    std::optional<uint32_t> formSizeOverride;  // default: total length - 8
};
ByteVec buildAiff(const AiffLayout& layout);

// ---------------------------------------------------------------- picture headers

// PNG signature, IHDR chunk (length 13) with width, height, bit depth, colour type, then
// its CRC field (zeros are fine for the probe), padded with `extra` zero bytes.
ByteVec pngImage(uint32_t width, uint32_t height, uint8_t bitDepth = 8, uint8_t colourType = 2, size_t extra = 16);
// FF D8, a 16-byte JFIF APP0 segment (FF E0 00 10 "JFIF" 0 ...), optional further segments
// of the given lengths, then an SOF0 (FF C0) of the standard layout: length, precision,
// height, width, component count, components; then `extra` zero bytes.
ByteVec jpegImage(uint16_t width, uint16_t height, uint8_t components = 3,
                  std::span<const uint16_t> extraSegmentLengths = {}, size_t extra = 16);
// "BM" header and BITMAPINFOHEADER start: width at 18, height at 22, bits per pixel at 28 (LE).
ByteVec bmpImage(uint32_t width, uint32_t height, uint16_t bitsPerPixel = 24, size_t extra = 16);
// "MM\0*" or "II*\0" with the directory offset and entries for tags 256 (width) and
// 257 (height), laid out in the byte order the picture probe reads (see image_probe.h).
ByteVec tiffImage(bool bigEndianMark, uint32_t width, uint32_t height);

}  // namespace tagwick::support
