// ID3v1 records, AIFF/AIFC forms and the first bytes of pictures, byte for byte.
#include <cmath>
#include <cstring>

#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick::support {

namespace {

void put(ByteVec& out, std::string_view text) { out.insert(out.end(), text.begin(), text.end()); }
void zeros(ByteVec& out, size_t n) { out.insert(out.end(), n, 0); }
// The low `n` bytes of `v`, most significant first (big) or last.
void number(ByteVec& out, uint32_t v, int n, bool big) {
    for (int i = 0; i < n; ++i) out.push_back(uint8_t(v >> 8 * (big ? n - 1 - i : i)));
}
void be16(ByteVec& out, uint32_t v) { number(out, v, 2, true); }
void be32(ByteVec& out, uint32_t v) { number(out, v, 4, true); }
void le16(ByteVec& out, uint32_t v) { number(out, v, 2, false); }
void le32(ByteVec& out, uint32_t v) { number(out, v, 4, false); }

// `text` cut to `width` bytes into the record at `at` (the rest stays zero).
void putField(ByteVec& record, size_t at, const std::string& text, size_t width) {
    std::memcpy(record.data() + at, text.data(), text.size() < width ? text.size() : width);
}

}  // namespace

// ---------------------------------------------------------------- ID3v1

ByteVec buildV1(const V1Layout& layout) {
    ByteVec record(128, 0);
    std::memcpy(record.data(), "TAG", 3);
    putField(record, 3, layout.title, 30);
    putField(record, 33, layout.artist, 30);
    putField(record, 63, layout.album, 30);
    putField(record, 93, layout.year, 4);
    bool v11 = layout.track > 0;
    putField(record, 97, layout.comment, v11 ? 28 : 30);
    if (v11) {
        record[125] = 0;
        record[126] = uint8_t(layout.track);
    }
    record[127] = layout.genre;
    return record;
}

// ---------------------------------------------------------------- AIFF

namespace {

// 80-bit IEEE extended big-endian form of a sample rate.
ByteVec extended80(double value) {
    ByteVec out(10, 0);
    if (value == 0.0 || std::isnan(value)) return out;
    uint16_t sign = value < 0 ? 0x8000 : 0;
    int exponent = 0;
    double fraction = std::frexp(std::fabs(value), &exponent);  // value = fraction * 2^exponent, fraction in [0.5, 1)
    // The 64-bit mantissa carries its integer bit explicitly: fraction * 2^64 has its top bit set.
    uint64_t mantissa = uint64_t(std::ldexp(fraction, 64));
    uint16_t biased = uint16_t(sign | ((exponent - 1 + 16383) & 0x7FFF));
    out[0] = uint8_t(biased >> 8);
    out[1] = uint8_t(biased);
    for (int i = 0; i < 8; ++i) out[size_t(2 + i)] = uint8_t(mantissa >> (56 - 8 * i));
    return out;
}

}  // namespace

ByteVec commBody(uint16_t channels, uint32_t sampleFrames, uint16_t sampleSize, double sampleRate,
                 std::optional<std::string> compression) {
    ByteVec out;
    be16(out, channels);
    be32(out, sampleFrames);
    be16(out, sampleSize);
    ByteVec rate = extended80(sampleRate);
    out.insert(out.end(), rate.begin(), rate.end());
    if (compression) {
        std::string type = compression->substr(0, 4);
        type.resize(4, ' ');
        put(out, type);
        // An empty Pascal-string name: its count byte and the pad byte that makes it even.
        zeros(out, 2);
    }
    return out;
}

ByteVec ssndBody(size_t soundBytes, uint8_t filler) {
    ByteVec out;
    zeros(out, 8);  // offset and block size
    out.insert(out.end(), soundBytes, filler);
    return out;
}

ByteVec buildAiff(const AiffLayout& layout) {
    ByteVec out;
    put(out, layout.formId.substr(0, 4));
    be32(out, 0);  // patched below
    put(out, layout.formType.substr(0, 4));
    for (const AiffChunk& chunk : layout.chunks) {
        put(out, chunk.id.substr(0, 4));
        be32(out, chunk.sizeOverride.value_or(uint32_t(chunk.body.size())));
        out.insert(out.end(), chunk.body.begin(), chunk.body.end());
        if (chunk.padOdd && chunk.body.size() % 2 == 1) out.push_back(0);
    }
    putBe32(out, 4, layout.formSizeOverride.value_or(uint32_t(out.size() - 8)));
    return out;
}

// ---------------------------------------------------------------- picture headers

ByteVec pngImage(uint32_t width, uint32_t height, uint8_t bitDepth, uint8_t colourType, size_t extra) {
    ByteVec out = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    be32(out, 13);
    put(out, "IHDR");
    be32(out, width);
    be32(out, height);
    out.push_back(bitDepth);
    out.push_back(colourType);
    zeros(out, 3);  // compression, filter, interlace
    zeros(out, 4);  // CRC
    zeros(out, extra);
    return out;
}

ByteVec jpegImage(uint16_t width, uint16_t height, uint8_t components, std::span<const uint16_t> extraSegmentLengths,
                  size_t extra) {
    ByteVec out = {0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10};
    put(out, std::string_view("JFIF\0", 5));
    const uint8_t app0Rest[] = {1, 1, 0, 0, 1, 0, 1, 0, 0};  // version, units, densities, no thumbnail
    out.insert(out.end(), std::begin(app0Rest), std::end(app0Rest));
    for (uint16_t length : extraSegmentLengths) {
        // A standard APP1 segment of `length` (counting its length field). Its first two data
        // bytes repeat the length, which is where the probe reads the step to the next marker,
        // so a standard reader and the probe both walk it.
        size_t start = out.size();
        out.push_back(0xFF);
        out.push_back(0xE1);
        be16(out, length);
        zeros(out, length >= 2 ? length - 2u : 0u);
        if (length >= 4) {
            out[start + 4] = uint8_t(length >> 8);
            out[start + 5] = uint8_t(length);
        }
    }
    out.push_back(0xFF);
    out.push_back(0xC0);
    be16(out, 8u + 3u * components);
    out.push_back(8);  // precision
    be16(out, height);
    be16(out, width);
    out.push_back(components);
    for (uint8_t c = 1; c <= components; ++c) {
        out.push_back(c);
        out.push_back(0x11);
        out.push_back(0);
    }
    zeros(out, extra);
    return out;
}

ByteVec bmpImage(uint32_t width, uint32_t height, uint16_t bitsPerPixel, size_t extra) {
    ByteVec out;
    put(out, "BM");
    // File size (not consulted), reserved, pixel data offset, info header size, width, height.
    for (uint32_t field : {0u, 0u, 54u, 40u, width, height}) le32(out, field);
    le16(out, 1);   // planes
    le16(out, bitsPerPixel);
    zeros(out, extra);
    return out;
}

ByteVec tiffImage(bool bigEndianMark, uint32_t width, uint32_t height) {
    // The probe reads "MM" data little-endian and "II" data big-endian, and looks at 8-byte
    // steps from byte 10, taking the value 8 bytes into a step. The width entry stands at 10
    // (value at 18) and the height entry at 26 (value at 34); the step at 18 falls on the
    // width's value and is passed over unless that value happens to read as tag 256 or 257.
    ByteVec out;
    if (bigEndianMark) put(out, std::string_view("MM\0*", 4));
    else put(out, std::string_view("II*\0", 4));
    auto w16 = [&](uint32_t v) { bigEndianMark ? le16(out, v) : be16(out, v); };
    auto w32 = [&](uint32_t v) { bigEndianMark ? le32(out, v) : be32(out, v); };
    w32(8);   // directory offset
    w16(2);   // entry count (not consulted)
    w16(256); // at 10
    zeros(out, 6);
    w32(width);  // at 18
    zeros(out, 4);
    w16(257); // at 26
    zeros(out, 6);
    w32(height);  // at 34
    zeros(out, 4);
    return out;
}

}  // namespace tagwick::support
