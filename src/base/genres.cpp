// Genre names, number pairs, timestamps and advisory names.
#include "base/genres.h"

#include <array>
#include <cstdio>

#include "base/text.h"

namespace tagwick {

namespace {

constexpr size_t GenreSlotSize = 20;  // names are kept in fixed slots of 20 bytes
constexpr size_t TimestampLimit = 63;

// The version 1 list in its standard order (spellings as the standard has them), then
// the "unknown" slot.
constexpr std::array<std::string_view, GenreCount + 1> Genres = {
    "Blues", "Classic Rock", "Country", "Dance", "Disco", "Funk", "Grunge", "Hip-Hop",
    "Jazz", "Metal", "New Age", "Oldies", "Other", "Pop", "R&B", "Rap",
    "Reggae", "Rock", "Techno", "Industrial", "Alternative", "Ska", "Death Metal", "Pranks",
    "Soundtrack", "Euro-Techno", "Ambient", "Trip-Hop", "Vocal", "Jazz+Funk", "Fusion", "Trance",
    "Classical", "Instrumental", "Acid", "House", "Game", "Sound Clip", "Gospel", "Noise",
    "AlternRock", "Bass", "Soul", "Punk", "Space", "Meditative", "Instrumental Pop", "Instrumental Rock",
    "Ethnic", "Gothic", "Darkwave", "Techno-Industrial", "Electronic", "Pop-Folk", "Eurodance", "Dream",
    "Southern Rock", "Comedy", "Cult", "Gangsta", "Top 40", "Christian Rap", "Pop/Funk", "Jungle",
    "Native American", "Cabaret", "New Wave", "Psychadelic", "Rave", "Showtunes", "Trailer", "Lo-Fi",
    "Tribal", "Acid Punk", "Acid Jazz", "Polka", "Retro", "Musical", "Rock & Roll", "Hard Rock",
    "unknown",
};

// Genres 80..125 as commonly extended; kept for reference, not used by the lookups.
constexpr std::array<std::string_view, ExtendedGenreCount> ExtendedGenres = {
    "Folk", "Folk-Rock", "National Folk", "Swing", "Fast Fusion", "Bebob", "Latin", "Revival",
    "Celtic", "Bluegrass", "Avantgarde", "Gothic Rock", "Progressive Rock", "Psychedelic Rock", "Symphonic Rock",
    "Slow Rock", "Big Band", "Chorus", "Easy Listening", "Acoustic", "Humour", "Speech", "Chanson",
    "Opera", "Chamber Music", "Sonata", "Symphony", "Booty Bass", "Primus", "Porn Groove", "Satire",
    "Slow Jam", "Club", "Tango", "Samba", "Folklore", "Ballad", "Power Ballad", "Rhythmic Soul",
    "Freestyle", "Duet", "Punk Rock", "Drum Solo", "A Capella", "Euro-House", "Dance Hall",
};

constexpr bool fitSlots(auto const& names, size_t slot) {
    for (std::string_view name : names)
        if (name.size() >= slot) return false;
    return true;
}
static_assert(fitSlots(Genres, GenreSlotSize) && fitSlots(ExtendedGenres, GenreSlotSize));

constexpr std::array<std::string_view, 3> Advisories = {"", "Explicit lyrics", "Clean lyrics"};

std::string cut(std::string text, size_t limit) {
    if (text.size() > limit) text.resize(limit);
    return text;
}

}  // namespace

std::string_view genreSlot(int index) {
    if (index < 0 || size_t(index) >= Genres.size()) return {};
    return Genres[size_t(index)];
}

std::string_view extendedGenre(int index) {
    if (index < 0 || size_t(index) >= ExtendedGenres.size()) return {};
    return ExtendedGenres[size_t(index)];
}

std::string_view genreName(unsigned index) {
    // Neither "unknown" nor the extended names are shown: everything from 80 on is "Other".
    return index < unsigned(GenreCount) ? Genres[index] : Genres[GenreOther];
}

int genreIndex(const char* name, bool fallbackToOther) {
    const int notFound = fallbackToOther ? GenreOther : -1;
    if (!name) return notFound;
    for (int i = 0; i < GenreCount; ++i)
        if (equalsNoCase(Genres[size_t(i)], name)) return i;
    return notFound;
}

std::string numberPairText(uint16_t number, uint16_t total, bool allowTotalOnly) {
    bool hasNumber = number != NumberNotSet;
    bool hasTotal = total != NumberNotSet;
    if (hasNumber && hasTotal) return format("%u/%u", unsigned(number), unsigned(total));
    if (hasNumber) return format("%u", unsigned(number));
    if (hasTotal && allowTotalOnly) return format("/%u", unsigned(total));
    return {};
}

std::string normalTimestamp(const char* text, bool dateTimeSeparatorIsT, bool appendZ) {
    if (!text) return {};
    int year = -1, month = -1, day = -1, hour = -1, minute = -1, second = -1;
    char separatorRead = 0;
    std::sscanf(text, "%4d-%2d-%2d%c%2d:%2d:%2d", &year, &month, &day, &separatorRead, &hour, &minute, &second);
    if (year < 1100) return {};
    const char separator = dateTimeSeparatorIsT ? 'T' : ' ';
    const std::string zone = appendZ ? "Z" : "";
    std::string out;
    if (month < 0 || month > 12) out = format("%4d", year);
    else if (day < 0 || day > 31) out = format("%4d-%02d", year, month);
    else if (hour < 0 || hour > 23) out = format("%4d-%02d-%02d", year, month, day);
    else if (minute < 0 || minute > 59) out = format("%4d-%02d-%02d%c%02d", year, month, day, separator, hour) + zone;
    else if (second < 0 || second > 59)
        out = format("%4d-%02d-%02d%c%02d:%02d", year, month, day, separator, hour, minute) + zone;
    else
        out = format("%4d-%02d-%02d%c%02d:%02d:%02d", year, month, day, separator, hour, minute, second) + zone;
    return cut(std::move(out), TimestampLimit);
}

std::string displayTimestamp(const char* text) {
    if (!text) return {};
    std::string out = cut(text, TimestampLimit);
    size_t t = out.find('T');
    if (t != std::string::npos) out[t] = ' ';
    return out;
}

std::string_view advisoryName(int code) {
    if (code < 0 || size_t(code) >= Advisories.size()) return {};
    return Advisories[size_t(code)];
}

}  // namespace tagwick
