#include "support/mpeg_builders.h"

#include <array>
#include <stdexcept>

namespace tagwick::support {
namespace {

// Bit rates in kbit/s of ISO/IEC 11172-3 and 13818-3, index 0..14 (15 is invalid).
constexpr std::array<int, 15> kMpeg1Layer1{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448};
constexpr std::array<int, 15> kMpeg1Layer2{0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384};
constexpr std::array<int, 15> kMpeg1Layer3{0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
constexpr std::array<int, 15> kMpeg2Layer1{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256};
constexpr std::array<int, 15> kMpeg2Layer23{0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};

constexpr std::array<int, 4> kRates1{44100, 48000, 32000, 0};
constexpr std::array<int, 4> kRates2{22050, 24000, 16000, 0};
constexpr std::array<int, 4> kRates25{11025, 12000, 8000, 0};

const std::array<int, 15>& bitrateTable(const FrameLayout& layout) {
    if (layout.version == 1) {
        if (layout.layer == 1) return kMpeg1Layer1;
        return layout.layer == 2 ? kMpeg1Layer2 : kMpeg1Layer3;
    }
    return layout.layer == 1 ? kMpeg2Layer1 : kMpeg2Layer23;
}

int bitrateIndexFor(const FrameLayout& layout) {
    const auto& table = bitrateTable(layout);
    for (size_t i = 1; i < table.size(); ++i)
        if (table[i] == layout.bitrateKbps) return int(i);
    throw std::invalid_argument("bit rate not in the table of this version and layer");
}

int sampleRateHz(const FrameLayout& layout) {
    if (layout.sampleRateIndex < 0 || layout.sampleRateIndex > 3) throw std::invalid_argument("rate index 0..3");
    const auto& rates = layout.version == 1 ? kRates1 : layout.version == 2 ? kRates2 : kRates25;
    return rates[size_t(layout.sampleRateIndex)];
}

uint32_t headerWord(const FrameLayout& layout) {
    const uint32_t versionBits = layout.version == 1 ? 3 : layout.version == 2 ? 2 : 0;
    const uint32_t layerBits = layout.layerBits ? *layout.layerBits & 3 : uint32_t(4 - layout.layer);
    uint32_t word = 0xFFE00000u | versionBits << 19 | layerBits << 17;
    word |= layout.crc ? 0u : 1u << 16;
    word |= uint32_t(bitrateIndexFor(layout)) << 12;
    word |= uint32_t(layout.sampleRateIndex & 3) << 10;
    word |= layout.padding ? 1u << 9 : 0u;
    word |= uint32_t(layout.channelMode & 3) << 6;
    word |= layout.copyright ? 1u << 3 : 0u;
    word |= layout.original ? 1u << 2 : 0u;
    return word;
}

size_t standardFrameLength(const FrameLayout& layout) {
    const long long kbps = bitrateTable(layout)[size_t(bitrateIndexFor(layout))];
    const long long rate = sampleRateHz(layout);
    if (rate == 0) return 0;
    const long long pad = layout.padding ? 1 : 0;
    if (layout.layer == 1) return size_t((12 * kbps * 1000 / rate + pad) * 4);
    if (layout.layer == 3 && layout.version != 1) return size_t(72 * kbps * 1000 / rate + pad);
    return size_t(144 * kbps * 1000 / rate + pad);
}

// The CRC over bytes 2-3 and the side information the frame's own header bits size.
uint16_t frameCrc(std::span<const uint8_t> frame) {
    const bool mpeg1 = ((frame[1] >> 3) & 3) == 3;
    const bool mono = ((frame[3] >> 6) & 3) == 3;
    const size_t side = mpeg1 ? (mono ? 17 : 32) : (mono ? 9 : 17);
    uint16_t crc = 0xFFFF;
    auto feed = [&crc](uint8_t byte) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool top = (crc & 0x8000) != 0;
            const bool in = ((byte >> bit) & 1) != 0;
            crc = uint16_t(crc << 1);
            if (top != in) crc ^= 0x8005;
        }
    };
    feed(frame[2]);
    feed(frame[3]);
    for (size_t i = 6; i < 6 + side && i < frame.size(); ++i) feed(frame[i]);
    return crc;
}

void ensureRoom(const ByteVec& frame, size_t at, size_t n) {
    if (at > frame.size() || frame.size() - at < n) throw std::invalid_argument("data does not fit in the frame");
}

void putText(ByteVec& frame, size_t at, std::string_view text) {
    ensureRoom(frame, at, text.size());
    for (size_t i = 0; i < text.size(); ++i) frame[at + i] = uint8_t(text[i]);
}

}  // namespace

size_t summaryRuleLength(const FrameLayout& layout) {
    const int kbps = bitrateTable(layout)[size_t(bitrateIndexFor(layout))];
    const int rate = sampleRateHz(layout);
    if (rate == 0) return 0;
    const int32_t product = int32_t(kbps) * 144000;
    return size_t(float(product) / float(rate)) + (layout.padding ? 1 : 0);
}

size_t frameLength(const FrameLayout& layout) {
    if (layout.length) return *layout.length;
    size_t standard = standardFrameLength(layout);
    return standard == 0 ? 4 : standard;
}

size_t sideInfoLength(const FrameLayout& layout) {
    const bool mono = layout.channelMode == 3;
    if (layout.version == 1) return mono ? 17 : 32;
    return mono ? 9 : 17;
}

void refreshCrc(ByteVec& frame, const FrameLayout& layout) {
    if (!layout.crc || frame.size() < 6) return;
    uint16_t crc = frameCrc(frame);
    if (layout.wrongCrc) crc ^= 1;
    frame[4] = uint8_t(crc >> 8);
    frame[5] = uint8_t(crc);
}

void putBe32(ByteVec& frame, size_t at, uint32_t value) {
    ensureRoom(frame, at, 4);
    for (size_t i = 0; i < 4; ++i) frame[at + i] = uint8_t(value >> (24 - 8 * i));
}

ByteVec buildFrame(const FrameLayout& layout) {
    const size_t length = frameLength(layout);
    if (length < 4) throw std::invalid_argument("a frame needs at least its 4 header bytes");
    ByteVec frame(length, layout.filler);
    putBe32(frame, 0, headerWord(layout));
    refreshCrc(frame, layout);
    return frame;
}

ByteVec buildXingFrame(const FrameLayout& layout, const XingLayout& xing) {
    ByteVec frame = buildFrame(layout);
    const size_t at = xing.offset.value_or(4 + sideInfoLength(layout));
    putText(frame, at, xing.tag);
    putBe32(frame, at + 4, (xing.frames ? 1u : 0u) | (xing.bytes ? 2u : 0u));
    size_t field = at + 8;
    if (xing.frames) { putBe32(frame, field, *xing.frames); field += 4; }
    if (xing.bytes) putBe32(frame, field, *xing.bytes);
    if (!xing.lame.empty()) putText(frame, xing.lameOffset, xing.lame);
    refreshCrc(frame, layout);
    return frame;
}

ByteVec buildXingFrameAt36(const FrameLayout& layout, XingLayout xing) {
    xing.offset = 36;
    return buildXingFrame(layout, xing);
}

ByteVec buildVbriFrame(const FrameLayout& layout, const VbriLayout& vbri) {
    ByteVec frame = buildFrame(layout);
    putText(frame, 36, "VBRI");
    putText(frame, 40, std::string_view("\0\1", 2));  // version 1
    putBe32(frame, 46, vbri.bytes);
    putBe32(frame, 50, vbri.frames);
    refreshCrc(frame, layout);
    return frame;
}

ByteVec buildStream(const FrameLayout& layout, size_t count) {
    const ByteVec frame = buildFrame(layout);
    ByteVec out;
    for (size_t i = 0; i < count; ++i) append(out, frame);
    return out;
}

ByteVec buildVbrStream(const FrameLayout& layout, std::span<const int> bitratesKbps) {
    ByteVec out;
    for (int kbps : bitratesKbps) {
        FrameLayout one = layout;
        one.bitrateKbps = kbps;
        append(out, buildFrame(one));
    }
    return out;
}

ByteVec concat(std::initializer_list<std::span<const uint8_t>> parts) {
    ByteVec out;
    for (auto part : parts) append(out, part);
    return out;
}

void append(ByteVec& to, std::span<const uint8_t> part) { to.insert(to.end(), part.begin(), part.end()); }

ByteVec bytesOf(std::string_view text) { return ByteVec(text.begin(), text.end()); }

namespace {

void appendLe32(ByteVec& out, uint32_t v) {
    for (int i = 0; i < 4; ++i) out.push_back(uint8_t(v >> (8 * i)));
}

void appendApeBlock(ByteVec& out, uint32_t size, uint32_t count, uint32_t flags) {
    append(out, bytesOf("APETAGEX"));
    for (uint32_t field : {2000u, size, count, flags}) appendLe32(out, field);
    out.insert(out.end(), 8, 0);
}

void appendChunk(ByteVec& out, const RiffChunk& chunk) {
    if (chunk.id.size() != 4) throw std::invalid_argument("a chunk ID has 4 characters");
    append(out, bytesOf(chunk.id));
    appendLe32(out, uint32_t(chunk.body.size()));
    append(out, chunk.body);
}

}  // namespace

ByteVec buildApeTag(const ApeLayout& layout) {
    ByteVec items;
    for (const auto& item : layout.items) {
        appendLe32(items, uint32_t(item.value.size()));
        appendLe32(items, item.flags);
        append(items, bytesOf(item.key));
        items.push_back(0);
        append(items, bytesOf(item.value));
    }
    const uint32_t size = layout.sizeOverride.value_or(uint32_t(items.size() + 32));
    const uint32_t count = uint32_t(layout.items.size());
    const uint32_t hasHeader = layout.withHeader ? 0x80000000u : 0;
    ByteVec out;
    if (layout.withHeader) appendApeBlock(out, size, count, hasHeader | 0x20000000u | layout.extraFlags);
    append(out, items);
    appendApeBlock(out, size, count, hasHeader | layout.extraFlags);
    return out;
}

ByteVec buildRiffWave(std::span<const uint8_t> audio, const std::optional<RiffChunk>& trailing) {
    // MPEG layer III, 2 channels, 44100 Hz, 16000 bytes per second, block align 1, 0 bits per sample.
    const ByteVec format = {0x55, 0, 2, 0, 0x44, 0xAC, 0, 0, 0x80, 0x3E, 0, 0, 1, 0, 0, 0};
    ByteVec out = bytesOf("RIFF");
    appendLe32(out, 0);
    append(out, bytesOf("WAVE"));
    appendChunk(out, {"fmt ", format});
    appendChunk(out, {"data", ByteVec(audio.begin(), audio.end())});
    if (trailing) appendChunk(out, *trailing);
    const uint32_t riffSize = uint32_t(out.size() - 8);
    for (int i = 0; i < 4; ++i) out[4 + size_t(i)] = uint8_t(riffSize >> (8 * i));
    return out;
}

}  // namespace tagwick::support
