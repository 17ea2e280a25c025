// One byte cursor for every parser: big/little-endian and syncsafe reads over a span.
// Failure is sticky: a read past the end returns 0 (or an empty span) and clears ok().
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tagwick {

using Bytes = std::span<const uint8_t>;

inline std::string_view asText(Bytes b) {
    return {reinterpret_cast<const char*>(b.data()), b.size()};
}

inline Bytes asBytes(std::string_view s) {
    return {reinterpret_cast<const uint8_t*>(s.data()), s.size()};
}

// Plain readers at an offset; the caller has checked that the bytes exist.
inline uint32_t be16At(Bytes b, size_t at) { return uint32_t(b[at]) << 8 | b[at + 1]; }
inline uint32_t be24At(Bytes b, size_t at) { return uint32_t(b[at]) << 16 | uint32_t(b[at + 1]) << 8 | b[at + 2]; }
inline uint32_t be32At(Bytes b, size_t at) {
    return uint32_t(b[at]) << 24 | uint32_t(b[at + 1]) << 16 | uint32_t(b[at + 2]) << 8 | b[at + 3];
}
inline uint32_t le16At(Bytes b, size_t at) { return uint32_t(b[at + 1]) << 8 | b[at]; }
inline uint32_t le32At(Bytes b, size_t at) {
    return uint32_t(b[at + 3]) << 24 | uint32_t(b[at + 2]) << 16 | uint32_t(b[at + 1]) << 8 | b[at];
}
// 28-bit ID3v2 size: seven bits per byte, most significant first.
inline uint32_t syncsafeAt(Bytes b, size_t at) {
    return uint32_t(b[at] & 0x7F) << 21 | uint32_t(b[at + 1] & 0x7F) << 14 | uint32_t(b[at + 2] & 0x7F) << 7 |
           (b[at + 3] & 0x7F);
}

// True when `n` bytes are available at `at` (written so that it cannot overflow).
inline bool hasBytes(Bytes b, size_t at, size_t n) { return at <= b.size() && b.size() - at >= n; }

inline bool startsWith(Bytes b, size_t at, std::string_view s) {
    return hasBytes(b, at, s.size()) && asText(b.subspan(at, s.size())) == s;
}

class ByteReader {
public:
    explicit ByteReader(Bytes data, size_t pos = 0) : data_(data), pos_(pos) {
        if (pos_ > data_.size()) { pos_ = data_.size(); ok_ = false; }
    }

    bool ok() const { return ok_; }
    size_t position() const { return pos_; }
    size_t remaining() const { return data_.size() - pos_; }
    bool atEnd() const { return pos_ == data_.size(); }

    uint8_t u8() { return need(1) ? data_[pos_++] : 0; }
    uint32_t be16() { return read(2, be16At); }
    uint32_t be24() { return read(3, be24At); }
    uint32_t be32() { return read(4, be32At); }
    uint32_t le16() { return read(2, le16At); }
    uint32_t le32() { return read(4, le32At); }
    uint32_t syncsafe32() { return read(4, syncsafeAt); }

    Bytes take(size_t n) {
        if (!need(n)) return {};
        Bytes out = data_.subspan(pos_, n);
        pos_ += n;
        return out;
    }
    std::string_view takeText(size_t n) { return asText(take(n)); }
    void skip(size_t n) {
        if (need(n)) pos_ += n;
    }
    void seek(size_t pos) {
        if (pos > data_.size()) { ok_ = false; pos_ = data_.size(); }
        else pos_ = pos;
    }

private:
    bool need(size_t n) {
        if (remaining() >= n) return true;
        ok_ = false;
        pos_ = data_.size();
        return false;
    }
    template <typename F>
    uint32_t read(size_t n, F f) {
        if (!need(n)) return 0;
        uint32_t v = f(data_, pos_);
        pos_ += n;
        return v;
    }

    Bytes data_;
    size_t pos_;
    bool ok_ = true;
};

class ByteWriter {
public:
    void u8(uint8_t v) { out_.push_back(v); }
    void be16(uint32_t v) { u8(uint8_t(v >> 8)); u8(uint8_t(v)); }
    void be24(uint32_t v) { u8(uint8_t(v >> 16)); be16(v); }
    void be32(uint32_t v) { be16(v >> 16); be16(v); }
    void le16(uint32_t v) { u8(uint8_t(v)); u8(uint8_t(v >> 8)); }
    void le32(uint32_t v) { le16(v); le16(v >> 16); }
    // The syncsafe encoder does not mask the top byte (values of 2^28 and above spill into bit 7).
    void syncsafe32(uint32_t v) {
        u8(uint8_t(v >> 21)); u8(uint8_t((v >> 14) & 0x7F)); u8(uint8_t((v >> 7) & 0x7F)); u8(uint8_t(v & 0x7F));
    }
    void bytes(Bytes b) { out_.insert(out_.end(), b.begin(), b.end()); }
    void text(std::string_view s) { bytes(asBytes(s)); }
    void zeros(size_t n) { out_.insert(out_.end(), n, 0); }
    void patchBe32(size_t at, uint32_t v) {
        out_[at] = uint8_t(v >> 24); out_[at + 1] = uint8_t(v >> 16); out_[at + 2] = uint8_t(v >> 8); out_[at + 3] = uint8_t(v);
    }
    void patchSyncsafe(size_t at, uint32_t v) {
        out_[at] = uint8_t(v >> 21); out_[at + 1] = uint8_t((v >> 14) & 0x7F);
        out_[at + 2] = uint8_t((v >> 7) & 0x7F); out_[at + 3] = uint8_t(v & 0x7F);
    }
    size_t size() const { return out_.size(); }
    std::vector<uint8_t>& data() { return out_; }
    std::vector<uint8_t> take() { return std::move(out_); }

private:
    std::vector<uint8_t> out_;
};

}  // namespace tagwick
