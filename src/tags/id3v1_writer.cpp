// The version 1 record as written: fields in their fixed places, track and genre bytes.
#include "tags/id3v1_writer.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "base/text.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

using namespace v1layout;
// The copies are bounded by the fields' buffers, which hold a terminator after the text.
constexpr size_t TextBuffer = TextWidth + 1, YearBuffer = YearWidth + 1, CommentBuffer = CommentWidth + 1;
constexpr uint8_t NoTrack = 255;

// A bounded copy of a terminated text: at most `buffer` - 1 bytes, then its terminator.
void copyField(V1Record& record, size_t at, size_t buffer, std::string_view text, bool convert) {
    std::string copy(text.substr(0, std::min({text.find('\0'), text.size(), buffer - 1})));
    if (convert) copy = trimWhiteSpace(copy);
    std::copy(copy.begin(), copy.end(), record.begin() + at);
    record[at + copy.size()] = 0;
}

}  // namespace

V1Record buildV1Record(const Id3v1Tag& v1, bool convert) {
    V1Record record{};
    std::copy_n("TAG", 3, record.begin());
    copyField(record, TitleAt, TextBuffer, v1.title, convert);
    copyField(record, ArtistAt, TextBuffer, v1.artist, convert);
    copyField(record, AlbumAt, TextBuffer, v1.album, convert);
    copyField(record, YearAt, YearBuffer, v1.year, convert);
    copyField(record, CommentAt, CommentBuffer, v1.comment, convert);
    record[TrackAt] = v1.track == NoTrack ? 0 : v1.track;
    record[GenreAt] = v1.genre;
    return record;
}

V1Record buildV1Record(const ID3Tag& track, bool convert) { return buildV1Record(track.v1, convert); }

}  // namespace tagwick
