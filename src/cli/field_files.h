// Field values taken from files: the comments (-cf) and lyrics (-ly) texts, and the picture
// of -im / -ir. Each reader prints its own failure message to standard output.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tagwick {

// The whole file as text; a UTF-16 file (FE FF or FF FE first) is converted to UTF-8.
// nullopt after "Failed to open the comments file '%s' (%d)\n" or a short read.
std::optional<std::string> readCommentsFile(const char* path);
// Likewise, with the lyrics wording.
std::optional<std::string> readLyricsFile(const char* path);

// The text form of a text file's bytes: converted from UTF-16 when a byte-order mark leads,
// else the bytes as they are; cut at the first zero character.
std::string textFileContents(std::span<const uint8_t> data);

enum class PictureType : int { Unknown = 0, Jpeg = 1, Gif = 2, Tiff = 3, Png = 4 };

// The type told from the first four bytes (only the big-endian TIFF mark is taken).
PictureType pictureTypeOf(std::span<const uint8_t> head);
// "unknown", "jpeg", "gif", "tiff" or "png".
const char* pictureTypeWord(PictureType type);

// Reads a picture for a picture frame. False after printing the reason.
bool loadPicture(const char* path, std::vector<uint8_t>& data, std::string& formatWord);

}  // namespace tagwick
