// Text layer: bounded copies, formatting helpers, the tag text value with its encodings,
// and the size, duration and clock texts.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tagwick {

// Bounded copy into a buffer of `size` bytes (size counts the terminator); always terminates.
void copyBounded(char* dest, size_t size, const char* src);
void appendBounded(char* dest, size_t size, const char* src);
// The same for at most `count` bytes of `src` (fewer when it ends earlier).
void copyBytesBounded(char* dest, size_t size, const char* src, size_t count);
void appendBytesBounded(char* dest, size_t size, const char* src, size_t count);
// printf into a std::string (no length limit) and into a bounded buffer.
std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
std::string formatv(const char* fmt, va_list args) __attribute__((format(printf, 1, 0)));
// Returns what snprintf returns (the untruncated length, or negative on an encoding error).
int formatBounded(char* dest, size_t size, const char* fmt, ...) __attribute__((format(printf, 3, 4)));
// Null-safe byte comparison: a missing text sorts before any text.
int compareText(const char* a, const char* b);
// Case-blind comparison; `limit` < 0 compares whole texts.
int compareNoCase(std::string_view a, std::string_view b, int limit = -1);
bool equalsNoCase(std::string_view a, std::string_view b);
// The system's message for an error number, cut to `limit` - 1 characters.
std::string errorText(int error, size_t limit = 256);
// "%d" for values of 1 or more, an empty text otherwise.
std::string numberText(long long value);

// UTF conversions. UTF-16 input may carry a byte-order mark (FE FF / FF FE); without one
// it is read big-endian. Invalid UTF-8 bytes are taken as ISO-8859-1 characters.
std::string latin1ToUtf8(std::string_view latin1);
std::string utf16ToUtf8(std::string_view utf16);
std::u16string utf8ToUtf16(std::string_view utf8);

// A tag text value: ISO-8859-1 bytes, or UTF-16 bytes beginning with a byte-order mark.
class TextValue {
public:
    TextValue() = default;
    static TextValue latin1(std::string bytes);
    // `bytes` must begin with FE FF or FF FE.
    static TextValue utf16(std::string bytes);
    // UTF-8 text: kept as ISO-8859-1 when no character lies above U+00FF, else as
    // little-endian UTF-16 with a mark.
    static TextValue fromUtf8(std::string_view utf8);
    // UTF-8 text as little-endian UTF-16 with a mark, whatever its characters.
    static TextValue utf16FromUtf8(std::string_view utf8);

    bool isUtf16() const { return utf16_; }
    const std::string& bytes() const { return bytes_; }
    bool empty() const;
    // The UTF-8 form, computed on first use; it ends at the first NUL character, as the
    // terminated text of a tag does. empty() is true when that form is empty.
    const std::string& utf8() const;

    bool operator==(const TextValue& other) const { return utf16_ == other.utf16_ && bytes_ == other.bytes_; }

private:
    std::string bytes_;
    bool utf16_ = false;
    mutable std::optional<std::string> utf8_;
};

// Single-byte form of UTF-16 text: code units above 31 and at most 126 (mode 1) or 207
// (mode 2) are kept as one byte, all others dropped. A first byte FE or 00 means big-endian,
// anything else little-endian; a mark is skipped and a NUL code unit ends the text.
// The TextValue form returns ISO-8859-1 values unchanged (up to their first NUL).
std::string toSingleByte(std::string_view utf16, int mode);
std::string toSingleByte(const TextValue& value, int mode);
// ISO-8859-1 form, for fields stored as 8-bit text: ISO-8859-1 values as they are, UTF-16
// characters up to U+00FF as their byte and any other character as '?'. Ends at the first NUL.
std::string toLatin1(const TextValue& value);

// Blanks, tabs and line breaks removed at both ends. A UTF-16 value keeps its mark and byte order.
std::string trimWhiteSpace(std::string_view text);
TextValue trimWhiteSpace(const TextValue& value);

// "1023 bytes", "1.00 KB (1536 bytes)", "0.98 MB (1024000 bytes)".
std::string sizeText(long long bytes);
// "59 seconds", "1:00 (60 seconds)", "1:01:01 (3661 seconds)"; seconds = value / divisor.
std::string durationText(long long value, long long divisor);
// "%lld", "%lld%c%02lld" or "%lld%c%02lld%c%02lld".
std::string clockText(long long seconds, bool plainOnly, char separator);

}  // namespace tagwick
