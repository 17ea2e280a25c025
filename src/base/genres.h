// Genre names, number pairs, timestamps and advisory names shared by tags, display and exports.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tagwick {

constexpr uint16_t NumberNotSet = 65535;
constexpr int GenreOther = 12;
constexpr int GenreCount = 80;       // version 1 genres; slot 80 holds "unknown"
constexpr int ExtendedGenreCount = 46;  // 80..125

// Slots 0..80 ("unknown" at 80).
std::string_view genreSlot(int index);
// Names of genres 80..125 by (number - 80).
std::string_view extendedGenre(int index);
// Name for 0 <= index < 80; "Other" for 80 and above.
std::string_view genreName(unsigned index);
// First of slots 0..79 equal to `name` ignoring case; else 12 with the fallback, else -1.
int genreIndex(const char* name, bool fallbackToOther);

std::string numberPairText(uint16_t number, uint16_t total, bool allowTotalOnly);
std::string normalTimestamp(const char* text, bool dateTimeSeparatorIsT, bool appendZ);
std::string displayTimestamp(const char* text);

// "" for 0, "Explicit lyrics" for 1, "Clean lyrics" for 2; "" otherwise.
std::string_view advisoryName(int code);

}  // namespace tagwick
