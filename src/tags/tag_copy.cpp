#include "tags/tag_copy.h"

#include <string>

#include "base/genres.h"
#include "base/text.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

constexpr size_t V1TextLimit = 30;
constexpr size_t V1CommentLimit = 29;
constexpr size_t V1YearLimit = 4;
constexpr uint8_t V1NoNumber = 255;
constexpr uint8_t V1HighestTrack = 254;

// The 8-bit form a version 1 field holds: ISO-8859-1 text as it is, Unicode text with every
// character above U+00FF left out. Both end at the first NUL and are cut to `limit` bytes.
std::string v1Text(const OptText& value, size_t limit) {
    if (!value) return {};
    std::string out;
    if (!value->isUtf16()) {
        out = toSingleByte(*value, 2);
    } else {
        for (char16_t unit : utf8ToUtf16(value->utf8()))
            if (unit <= 0xFF) out.push_back(char(unit));
    }
    if (out.size() > limit) out.resize(limit);
    return out;
}

uint8_t v1TrackByte(uint16_t number) {
    if (number < 256 && (number & 0xFF) != 0) return uint8_t(number);
    return V1NoNumber;
}

uint8_t v1GenreByte(const OptText& genre) {
    if (!genre || genre->empty()) return GenreOther;
    int index = genreIndex(genre->utf8().c_str(), false);
    return index < 0 ? V1NoNumber : uint8_t(index);
}

}  // namespace

void copyV1ToV2(ID3Tag& track) {
    const Id3v1Tag& v1 = track.v1;
    Id3v2Tag& v2 = track.v2;
    v2.title = TextValue::latin1(v1.title);
    v2.album = TextValue::latin1(v1.album);
    v2.artist = TextValue::latin1(v1.artist);
    v2.comment = TextValue::latin1(v1.comment);
    v2.year = v1.year.substr(0, V1YearLimit);
    // The total stays as it was.
    v2.trackNumber = v1.track >= 1 && v1.track <= V1HighestTrack ? v1.track : NumberNotSet;
    v2.genre = TextValue::latin1(std::string(genreName(v1.genre)));
    track.v2Modified = true;
    track.v2Present = true;
}

void copyV2ToV1(ID3Tag& track) {
    const Id3v2Tag& v2 = track.v2;
    Id3v1Tag& v1 = track.v1;
    v1.title = v1Text(v2.title, V1TextLimit);
    v1.album = v1Text(v2.album, V1TextLimit);
    v1.artist = v1Text(v2.artist, V1TextLimit);
    v1.comment = v1Text(v2.comment, V1CommentLimit);
    v1.year = v2.year.substr(0, V1YearLimit);
    v1.track = v1TrackByte(v2.trackNumber);
    v1.genre = v1GenreByte(v2.genre);
    track.v1FromV2 = true;
    v1.enabled = true;
}

}  // namespace tagwick
