// Byte-exact ID3v2 payloads, frames and tags for the tests (the version 2 half of tag_builders.h).
#include <string>

#include "support/tag_builders.h"

namespace tagwick::support {

namespace {

void append(ByteVec& out, std::span<const uint8_t> bytes) { out.insert(out.end(), bytes.begin(), bytes.end()); }

void append(ByteVec& out, std::string_view text) { out.insert(out.end(), text.begin(), text.end()); }

size_t terminatorLength(uint8_t encoding) { return encoding == 1 || encoding == 2 ? 2 : 1; }

void appendBe32(ByteVec& out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(uint8_t(value >> shift));
}

}  // namespace

ByteVec utf16Bytes(std::u16string_view text, bool bigEndian, bool withBom) {
    ByteVec out;
    auto unit = [&](char16_t u) {
        out.push_back(uint8_t(bigEndian ? u >> 8 : u));
        out.push_back(uint8_t(bigEndian ? u : u >> 8));
    };
    if (withBom) unit(0xFEFF);
    for (char16_t u : text) unit(u);
    return out;
}

ByteVec textPayload(uint8_t encoding, std::span<const uint8_t> text) {
    ByteVec out{encoding};
    append(out, text);
    return out;
}

ByteVec latin1Payload(std::string_view text) {
    return textPayload(0, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

ByteVec commentPayload(uint8_t encoding, std::string_view language, std::span<const uint8_t> description,
                       std::span<const uint8_t> text) {
    ByteVec out{encoding};
    append(out, std::string(language).append(3, '\0').substr(0, 3));  // cut or filled to 3 bytes
    append(out, description);
    out.insert(out.end(), terminatorLength(encoding), 0);
    append(out, text);
    return out;
}

ByteVec apicPayload(std::string_view mime, uint8_t pictureType, std::string_view description,
                    std::span<const uint8_t> data) {
    ByteVec out{0};
    append(out, mime);
    out.insert(out.end(), {0, pictureType});
    append(out, description);
    out.push_back(0);
    append(out, data);
    return out;
}

ByteVec ufidPayload(std::string_view owner, std::span<const uint8_t> identifier) {
    ByteVec out;
    append(out, owner);
    out.push_back(0);
    append(out, identifier);
    return out;
}

ByteVec userUrlPayload(uint8_t encoding, std::span<const uint8_t> description, std::string_view url) {
    ByteVec out{encoding};
    append(out, description);
    out.insert(out.end(), terminatorLength(encoding), 0);
    append(out, url);
    return out;
}

namespace {

ByteVec buildV2Frame(int major, const V2Frame& frame) {
    ByteVec out;
    append(out, frame.id);
    uint32_t size = frame.sizeOverride.value_or(uint32_t(frame.payload.size()));
    if (major <= 2) {
        out.push_back(uint8_t(size >> 16));
        out.push_back(uint8_t(size >> 8));
        out.push_back(uint8_t(size));
    } else {
        if (major >= 4 && !frame.plainSize) append(out, syncsafeBytes(size));
        else appendBe32(out, size);
        out.push_back(uint8_t(frame.flags >> 8));
        out.push_back(uint8_t(frame.flags));
    }
    append(out, frame.payload);
    return out;
}

}  // namespace

ByteVec buildV2Tag(const V2TagLayout& layout) {
    ByteVec body = layout.extendedHeader;
    for (const V2Frame& frame : layout.frames) append(body, buildV2Frame(layout.major, frame));
    body.insert(body.end(), layout.padding, 0);
    ByteVec out{'I', 'D', '3', uint8_t(layout.major), 0, layout.flags};
    append(out, syncsafeBytes(uint32_t(body.size())));
    append(out, body);
    return out;
}

ByteVec unsynchronise(std::span<const uint8_t> data) {
    ByteVec out;
    out.reserve(data.size() + data.size() / 8);
    for (size_t i = 0; i < data.size(); ++i) {
        out.push_back(data[i]);
        if (data[i] != 0xFF) continue;
        bool last = i + 1 == data.size();
        if (last || data[i + 1] >= 0xE0 || data[i + 1] == 0) out.push_back(0);
    }
    return out;
}

ByteVec syncsafeBytes(uint32_t value) {
    return {uint8_t((value >> 21) & 0x7F), uint8_t((value >> 14) & 0x7F), uint8_t((value >> 7) & 0x7F),
            uint8_t(value & 0x7F)};
}

V2Frame v2Frame(std::string id, ByteVec payload) { return {std::move(id), std::move(payload), 0, {}, false}; }

V2Frame latin1Frame(std::string id, std::string_view latin1) { return v2Frame(std::move(id), latin1Payload(latin1)); }

ByteVec programTag(int major, std::vector<V2Frame> frames) {
    V2TagLayout layout;
    layout.major = major;
    layout.frames = std::move(frames);
    const size_t used = buildV2Tag(layout).size();
    layout.padding = 128 - used % 128;
    if (layout.padding <= 9) layout.padding += 128;
    return buildV2Tag(layout);
}

}  // namespace tagwick::support
