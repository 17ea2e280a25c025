// Text layer: bounded copies, formatting, comparisons, the tag text encodings and the
// size, duration and clock texts.
#include "base/text.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstring>
#include <strings.h>

namespace tagwick {

namespace {

constexpr char32_t ReplacementCharacter = 0xFFFD;

size_t boundedLength(const char* text, size_t limit) { return text ? strnlen(text, limit) : 0; }

// Appends up to `count` bytes of `src` after the text already in `dest`, keeping it terminated.
void appendInto(char* dest, size_t size, size_t used, const char* src, size_t count) {
    if (used >= size) {
        dest[size - 1] = '\0';
        return;
    }
    size_t room = size - 1 - used;
    size_t n = std::min(room, boundedLength(src, count));
    if (n > 0) memcpy(dest + used, src, n);
    dest[used + n] = '\0';
}

// glibc offers the GNU strerror_r (returns the text); other systems the XSI one (returns 0).
[[maybe_unused]] const char* pickErrorText(const char* text, const char*) { return text; }
[[maybe_unused]] const char* pickErrorText(int result, const char* buffer) {
    return result == 0 ? buffer : "Unknown error";
}

void appendUtf8(char32_t cp, std::string& out) {
    if (cp < 0x80) {
        out += char(cp);
    } else if (cp < 0x800) {
        out += char(0xC0 | (cp >> 6));
        out += char(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += char(0xE0 | (cp >> 12));
        out += char(0x80 | ((cp >> 6) & 0x3F));
        out += char(0x80 | (cp & 0x3F));
    } else {
        out += char(0xF0 | (cp >> 18));
        out += char(0x80 | ((cp >> 12) & 0x3F));
        out += char(0x80 | ((cp >> 6) & 0x3F));
        out += char(0x80 | (cp & 0x3F));
    }
}

bool isContinuation(std::string_view s, size_t at, uint8_t low = 0x80, uint8_t high = 0xBF) {
    if (at >= s.size()) return false;
    uint8_t b = uint8_t(s[at]);
    return b >= low && b <= high;
}

// One character at `at`, advancing past it. A byte that does not begin a well-formed
// sequence (overlong forms and encoded surrogates included) stands for itself as Latin-1.
char32_t nextCodePoint(std::string_view s, size_t& at) {
    uint8_t b = uint8_t(s[at]);
    if (b < 0x80) {
        ++at;
        return b;
    }
    if (b >= 0xC2 && b <= 0xDF && isContinuation(s, at + 1)) {
        char32_t cp = char32_t(b & 0x1F) << 6 | (uint8_t(s[at + 1]) & 0x3F);
        at += 2;
        return cp;
    }
    if (b >= 0xE0 && b <= 0xEF) {
        uint8_t low = b == 0xE0 ? 0xA0 : 0x80;
        uint8_t high = b == 0xED ? 0x9F : 0xBF;
        if (isContinuation(s, at + 1, low, high) && isContinuation(s, at + 2)) {
            char32_t cp = char32_t(b & 0x0F) << 12 | char32_t(uint8_t(s[at + 1]) & 0x3F) << 6 |
                          (uint8_t(s[at + 2]) & 0x3F);
            at += 3;
            return cp;
        }
    }
    if (b >= 0xF0 && b <= 0xF4) {
        uint8_t low = b == 0xF0 ? 0x90 : 0x80;
        uint8_t high = b == 0xF4 ? 0x8F : 0xBF;
        if (isContinuation(s, at + 1, low, high) && isContinuation(s, at + 2) && isContinuation(s, at + 3)) {
            char32_t cp = char32_t(b & 0x07) << 18 | char32_t(uint8_t(s[at + 1]) & 0x3F) << 12 |
                          char32_t(uint8_t(s[at + 2]) & 0x3F) << 6 | (uint8_t(s[at + 3]) & 0x3F);
            at += 4;
            return cp;
        }
    }
    ++at;
    return b;
}

std::u32string decodeUtf8(std::string_view utf8) {
    std::u32string out;
    out.reserve(utf8.size());
    for (size_t at = 0; at < utf8.size();) out += nextCodePoint(utf8, at);
    return out;
}

void appendUtf16(char32_t cp, std::u16string& out) {
    if (cp < 0x10000) {
        out += char16_t(cp);
    } else {
        cp -= 0x10000;
        out += char16_t(0xD800 | (cp >> 10));
        out += char16_t(0xDC00 | (cp & 0x3FF));
    }
}

bool isHighSurrogate(char16_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool isLowSurrogate(char16_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

bool hasBigEndianMark(std::string_view b) { return b.size() >= 2 && uint8_t(b[0]) == 0xFE && uint8_t(b[1]) == 0xFF; }
bool hasLittleEndianMark(std::string_view b) { return b.size() >= 2 && uint8_t(b[0]) == 0xFF && uint8_t(b[1]) == 0xFE; }

char16_t unitAt(std::string_view b, size_t at, bool bigEndian) {
    uint8_t first = uint8_t(b[at]), second = uint8_t(b[at + 1]);
    return bigEndian ? char16_t(first << 8 | second) : char16_t(second << 8 | first);
}

std::string cutAtNul(std::string text) {
    size_t nul = text.find('\0');
    if (nul != std::string::npos) text.resize(nul);
    return text;
}

}  // namespace

void copyBounded(char* dest, size_t size, const char* src) {
    if (!dest || size == 0) return;
    appendInto(dest, size, 0, src, size);
}

void appendBounded(char* dest, size_t size, const char* src) {
    if (!dest || size == 0) return;
    appendInto(dest, size, strnlen(dest, size), src, size);
}

void copyBytesBounded(char* dest, size_t size, const char* src, size_t count) {
    if (!dest || size == 0) return;
    appendInto(dest, size, 0, src, count);
}

void appendBytesBounded(char* dest, size_t size, const char* src, size_t count) {
    if (!dest || size == 0) return;
    appendInto(dest, size, strnlen(dest, size), src, count);
}

std::string formatv(const char* fmt, va_list args) {
    if (!fmt) return {};
    va_list copy;
    va_copy(copy, args);
    int length = vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    if (length <= 0) return {};
    std::string out(size_t(length) + 1, '\0');
    vsnprintf(out.data(), out.size(), fmt, args);
    out.resize(size_t(length));
    return out;
}

std::string format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    std::string out = formatv(fmt, args);
    va_end(args);
    return out;
}

int formatBounded(char* dest, size_t size, const char* fmt, ...) {
    if (!dest || size == 0) return 0;
    if (!fmt) {
        dest[0] = '\0';
        return 0;
    }
    va_list args;
    va_start(args, fmt);
    int result = vsnprintf(dest, size, fmt, args);
    va_end(args);
    if (result < 0) dest[0] = '\0';
    return result;
}

int compareText(const char* a, const char* b) {
    if (!a || !b) return a ? 1 : (b ? -1 : 0);
    return strcmp(a, b);
}

int compareNoCase(std::string_view a, std::string_view b, int limit) {
    size_t n = std::max(a.size(), b.size());
    if (limit >= 0) n = std::min(n, size_t(limit));
    for (size_t i = 0; i < n; ++i) {
        // A shorter text behaves as if terminated, as the C comparison would see it.
        int ca = i < a.size() ? tolower(uint8_t(a[i])) : 0;
        int cb = i < b.size() ? tolower(uint8_t(b[i])) : 0;
        if (ca != cb) return ca - cb;
        if (ca == 0) return 0;
    }
    return 0;
}

bool equalsNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && compareNoCase(a, b) == 0;
}

std::string errorText(int error, size_t limit) {
    if (limit == 0) return {};
    char buffer[1024] = "";
    std::string text = pickErrorText(strerror_r(error, buffer, sizeof buffer), buffer);
    if (text.size() > limit - 1) text.resize(limit - 1);
    return text;
}

std::string numberText(long long value) { return value >= 1 ? format("%lld", value) : std::string(); }

std::string latin1ToUtf8(std::string_view latin1) {
    std::string out;
    out.reserve(latin1.size() * 2);
    for (char c : latin1) appendUtf8(uint8_t(c), out);
    return out;
}

std::string utf16ToUtf8(std::string_view utf16) {
    bool bigEndian = !hasLittleEndianMark(utf16);
    size_t start = hasBigEndianMark(utf16) || hasLittleEndianMark(utf16) ? 2 : 0;
    std::string out;
    out.reserve(utf16.size() / 2 * 3);
    for (size_t at = start; at + 1 < utf16.size(); at += 2) {
        char16_t unit = unitAt(utf16, at, bigEndian);
        if (isHighSurrogate(unit) && at + 3 < utf16.size()) {
            char16_t next = unitAt(utf16, at + 2, bigEndian);
            if (isLowSurrogate(next)) {
                appendUtf8(0x10000 + (char32_t(unit - 0xD800) << 10) + (next - 0xDC00), out);
                at += 2;
                continue;
            }
        }
        appendUtf8(isHighSurrogate(unit) || isLowSurrogate(unit) ? ReplacementCharacter : unit, out);
    }
    return out;
}

std::u16string utf8ToUtf16(std::string_view utf8) {
    std::u16string out;
    out.reserve(utf8.size());
    for (char32_t cp : decodeUtf8(utf8)) appendUtf16(cp, out);
    return out;
}

TextValue TextValue::latin1(std::string bytes) {
    TextValue value;
    value.bytes_ = std::move(bytes);
    return value;
}

TextValue TextValue::utf16(std::string bytes) {
    TextValue value;
    value.bytes_ = std::move(bytes);
    value.utf16_ = true;
    return value;
}

TextValue TextValue::fromUtf8(std::string_view utf8) {
    std::u32string characters = decodeUtf8(utf8);
    bool fitsLatin1 = std::all_of(characters.begin(), characters.end(), [](char32_t c) { return c <= 0xFF; });
    if (fitsLatin1) return latin1(std::string(characters.begin(), characters.end()));
    return utf16FromUtf8(utf8);
}

TextValue TextValue::utf16FromUtf8(std::string_view utf8) {
    std::string bytes = "\xFF\xFE";
    for (char16_t unit : utf8ToUtf16(utf8)) {
        bytes += char(unit & 0xFF);
        bytes += char(unit >> 8);
    }
    return utf16(std::move(bytes));
}

bool TextValue::empty() const { return utf8().empty(); }

const std::string& TextValue::utf8() const {
    if (!utf8_) utf8_ = cutAtNul(utf16_ ? utf16ToUtf8(bytes_) : latin1ToUtf8(bytes_));
    return *utf8_;
}

std::string toSingleByte(std::string_view utf16, int mode) {
    if (utf16.size() < 2) return {};
    bool bigEndian = uint8_t(utf16[0]) == 0xFE || utf16[0] == 0;
    size_t start = hasBigEndianMark(utf16) || hasLittleEndianMark(utf16) ? 2 : 0;
    char16_t highest = mode == 2 ? 207 : 126;
    std::string out;
    for (size_t at = start; at + 1 < utf16.size(); at += 2) {
        char16_t unit = unitAt(utf16, at, bigEndian);
        if (unit == 0) break;
        if (unit > 31 && unit <= highest) out += char(unit);
    }
    return out;
}

std::string toSingleByte(const TextValue& value, int mode) {
    return value.isUtf16() ? toSingleByte(value.bytes(), mode) : cutAtNul(value.bytes());
}

std::string toLatin1(const TextValue& value) {
    if (!value.isUtf16()) return cutAtNul(value.bytes());
    std::string_view utf16 = value.bytes();
    bool bigEndian = !hasLittleEndianMark(utf16);
    size_t start = hasBigEndianMark(utf16) || hasLittleEndianMark(utf16) ? 2 : 0;
    std::string out;
    for (size_t at = start; at + 1 < utf16.size(); at += 2) {
        char16_t unit = unitAt(utf16, at, bigEndian);
        if (unit == 0) break;
        // A surrogate pair is one character beyond U+00FF: one '?' for both halves.
        if (isLowSurrogate(unit) && at > start && isHighSurrogate(unitAt(utf16, at - 2, bigEndian))) continue;
        out += unit <= 0xFF ? char(unit) : '?';
    }
    return out;
}

namespace {
bool isWhiteSpace(char32_t c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
}  // namespace

std::string trimWhiteSpace(std::string_view text) {
    size_t first = 0, last = text.size();
    while (first < last && isWhiteSpace(uint8_t(text[first]))) ++first;
    while (last > first && isWhiteSpace(uint8_t(text[last - 1]))) --last;
    return std::string(text.substr(first, last - first));
}

TextValue trimWhiteSpace(const TextValue& value) {
    if (!value.isUtf16()) return TextValue::latin1(trimWhiteSpace(value.bytes()));
    std::string_view bytes = value.bytes();
    bool bigEndian = !hasLittleEndianMark(bytes);
    size_t markLength = hasBigEndianMark(bytes) || hasLittleEndianMark(bytes) ? 2 : 0;
    size_t first = markLength, last = markLength + (bytes.size() - markLength) / 2 * 2;
    while (first < last && isWhiteSpace(unitAt(bytes, first, bigEndian))) first += 2;
    while (last > first && isWhiteSpace(unitAt(bytes, last - 2, bigEndian))) last -= 2;
    std::string out(bytes.substr(0, markLength));
    out.append(bytes.substr(first, last - first));
    return TextValue::utf16(std::move(out));
}

std::string sizeText(long long bytes) {
    long long kilobytes = bytes / 1024;
    if (kilobytes < 1) return format("%lld bytes", bytes);
    // The whole kilobytes are printed, so the fraction always reads ".00".
    if (kilobytes < 1000) return format("%.2f KB (%lld bytes)", double(kilobytes), bytes);
    return format("%.2f MB (%lld bytes)", double(kilobytes) / 1024.0, bytes);
}

std::string durationText(long long value, long long divisor) {
    // LLONG_MIN / -1 does not fit; the negated divisor gives the same quotient otherwise.
    long long seconds = divisor == 0 ? value : divisor == -1 ? (value == LLONG_MIN ? LLONG_MAX : -value) : value / divisor;
    if (seconds < 60) return format("%lld seconds", seconds);
    if (seconds < 3600) return format("%lld:%02lld (%lld seconds)", seconds / 60, seconds % 60, seconds);
    return format("%lld:%02lld:%02lld (%lld seconds)", seconds / 3600, seconds % 3600 / 60, seconds % 60, seconds);
}

std::string clockText(long long seconds, bool plainOnly, char separator) {
    if (seconds < 60 || plainOnly) return format("%lld", seconds);
    if (seconds < 3600) return format("%lld%c%02lld", seconds / 60, separator, seconds % 60);
    return format("%lld%c%02lld%c%02lld", seconds / 3600, separator, seconds % 3600 / 60, separator, seconds % 60);
}

}  // namespace tagwick
