// The program's own model of a version 2 tag: a fixed set of named fields plus user texts,
// pictures and kept raw frames; the standard frame ID tables; the frame-to-field mapping.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/bytes.h"
#include "base/genres.h"
#include "base/text.h"

namespace tagwick {

struct Picture {
    std::string mime;           // as read ("image/jpeg"), shown by the image details
    std::string format;         // format word: "jpeg", "png", "gif", "tiff", "bmp", ...
    uint8_t pictureType = 0;
    std::string description;    // raw bytes as read
    std::vector<uint8_t> data;
};

// One frame kept raw (tag type modes 1 and 2): its ID and the data as read.
struct KeptFrame {
    std::string id;
    uint16_t flags = 0;
    std::vector<uint8_t> data;
};

using OptText = std::optional<TextValue>;

struct Id3v2Tag {
    uint16_t trackNumber = NumberNotSet;
    uint16_t trackTotal = NumberNotSet;
    OptText title, artist, album;
    std::string year;  // at most 4 characters
    OptText genre, comment, composer, copyright, originalArtist, encodedBy, url;
    bool compilation = false;
    OptText conductor, lyricist, publisher, orchestra, contentGroup, subtitle, encoderSettings;
    uint16_t setNumber = NumberNotSet;
    uint16_t setTotal = NumberNotSet;
    OptText isrc, bpm, initialKey, artistUrl;
    bool hasRating = false;
    uint8_t rating = 0;
    bool hasUfid = false;
    std::string ufidOwner;
    std::string ufid;  // at most 64 bytes
    std::vector<uint8_t> cdIdentifier;
    OptText releaseTime, recordingTime, producedNotice, mood;
    bool podcast = false;
    OptText podcastId, podcastFeed, podcastDescription;
    int advisory = 0;
    OptText iswc;
    std::vector<std::vector<uint8_t>> userTexts;  // TXXX payloads as read
    OptText lyrics;
    std::vector<Picture> pictures;
    std::vector<KeptFrame> keptFrames;

    void clear() { *this = Id3v2Tag{}; }
};

// Standard frame ID tables: 4-character (82 standard for 2.3, 100 for 2.4) and 3-character (2.2).
extern const std::array<std::string_view, 100> FrameIds4;
extern const std::array<std::string_view, 69> FrameIds3;
bool isStandardFrameId(std::string_view id, int version);

}  // namespace tagwick
