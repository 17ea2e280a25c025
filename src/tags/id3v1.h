// The 128-byte ID3 version 1 record at the end of an MP3 file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/bytes.h"
#include "base/file_reader.h"

namespace tagwick {

class ID3Tag;

struct Id3v1Tag {
    bool enabled = false;
    std::string title;    // at most 30 bytes
    std::string artist;   // at most 30
    std::string album;    // at most 30
    std::string year;     // at most 4
    std::string comment;  // at most 29
    uint8_t track = 255;  // 255: no track number
    uint8_t genre = 255;  // 255: no genre

    void clear() { *this = Id3v1Tag{}; }
};

constexpr size_t Id3v1Size = 128;

// Where the record keeps its fields, and how many bytes each text may fill (no terminator).
namespace v1layout {
constexpr size_t TitleAt = 3, ArtistAt = 33, AlbumAt = 63, YearAt = 93, CommentAt = 97;
constexpr size_t TextWidth = 30, YearWidth = 4, CommentWidth = 29;
constexpr size_t TrackAt = 126, GenreAt = 127;
}  // namespace v1layout

// Reads the last 128 bytes of `file` into the track; true when 128 bytes were there.
bool readV1(ID3Tag& track, FileReader& file);
bool readV1(ID3Tag& track, Bytes file);
// Fills the record from 128 bytes (genre above 79 becomes 12, track 0 becomes 255).
bool parseV1(ID3Tag& track, Bytes record);
// 0 when equal, else the field code of the first difference (3 title ... 10 genre).
int compareV1(const ID3Tag& a, const ID3Tag& b);
// Field code c names entry c - 3 of the 42 labels; outside 3..44 gives "".
std::string_view fieldLabel(int code);
// "V1", "V2.%d%s", "V1 and V2.%d%s", plus " (podcast)".
void buildVersionLabel(ID3Tag& track, int minor);

}  // namespace tagwick
