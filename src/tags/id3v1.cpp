// Reading, comparing and labelling the ID3 version 1 record.
#include "tags/id3v1.h"

#include <array>
#include <cerrno>
#include <cstring>

#include "base/genres.h"
#include "base/logger.h"
#include "base/text.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

using namespace v1layout;
constexpr size_t MaxLabel = 63;

// The labels of the field codes: version 1 codes start at 3, version 2 codes at 103.
constexpr std::array<std::string_view, 42> FieldLabels = {
    "Title", "Album", "Artist", "Comment", "Year", "Track", "Tracks", "Genre",
    "Composer", "Original artist", "Copyright", "URL", "Encoded by", "Lyrics",
    "Conductor", "Lyricist", "Publisher", "Orchestra", "Content", "Subtitle",
    "Encoder settings", "Artist URL", "Podcast", "Podcast ID", "Podcast feed",
    "Podcast description", "Picture count", "Set", "Sets", "ISRC", "Record time",
    "Release time", "BPM", "Initial key", "Compilation", "Advisory", "Produced notice",
    "Mood", "ISWC", "UFID owner", "UFID data", "",
};

// A record field is a NUL-terminated string bounded by its buffer: it ends at the first
// zero byte or after `width` bytes.
std::string boundedField(Bytes record, size_t at, size_t width) {
    Bytes field = record.subspan(at, width);
    size_t length = 0;
    while (length < field.size() && field[length] != 0) ++length;
    return std::string(asText(field.first(length)));
}

}  // namespace

bool readV1(ID3Tag& track, FileReader& file) {
    const Bytes record = file.size() >= Id3v1Size ? file.view(file.size() - Id3v1Size, Id3v1Size) : Bytes();
    if (record.size() < Id3v1Size) {
        // A seek to 128 bytes before the start of a short file fails with EINVAL; a file that
        // could not be read (or shrank meanwhile) is reported the same way.
        const int error = file.error() != 0 ? file.error() : EINVAL;
        Logger::log(LogError, "Failed to load the V1 tag (error: %s)", errorText(error).c_str());
        return false;
    }
    if (startsWith(record, 0, "TAG")) {
        parseV1(track, record);
        track.v1.enabled = true;
    }
    return true;
}

bool readV1(ID3Tag& track, Bytes file) {
    FileReader reader(file);
    return readV1(track, reader);
}

bool parseV1(ID3Tag& track, Bytes record) {
    if (record.size() < Id3v1Size) return false;
    Id3v1Tag& v1 = track.v1;
    v1.title = boundedField(record, TitleAt, TextWidth);
    v1.artist = boundedField(record, ArtistAt, TextWidth);
    v1.album = boundedField(record, AlbumAt, TextWidth);
    v1.year = boundedField(record, YearAt, YearWidth);
    v1.comment = boundedField(record, CommentAt, CommentWidth);
    v1.track = record[TrackAt] == 0 ? 255 : record[TrackAt];
    // Only the first 80 genres are kept; everything else, "no genre" included, is Other on purpose.
    v1.genre = record[GenreAt] >= GenreCount ? GenreOther : record[GenreAt];
    track.v1Found = true;
    return true;
}

int compareV1(const ID3Tag& a, const ID3Tag& b) {
    if (!a.isMp3 || !b.isMp3) return 0;
    if (a.v1Found != b.v1Found)
        Logger::log(LogProgress, "Comparing V1 loaded state failed (%d != %d)", int(a.v1Found), int(b.v1Found));
    if (a.v1.enabled != b.v1.enabled)
        Logger::log(LogWarning, "Comparing V1 enabled state failed (%d != %d)", int(a.v1.enabled),
                    int(b.v1.enabled));
    if (!a.v1.enabled || !b.v1.enabled) return 0;
    if (a.v1.title != b.v1.title) return 3;
    if (a.v1.album != b.v1.album) return 4;
    if (a.v1.artist != b.v1.artist) return 5;
    if (a.v1.comment != b.v1.comment) return 6;
    if (a.v1.year != b.v1.year) return 7;
    if (a.v1.track != b.v1.track) return 8;
    if (a.v1.genre != b.v1.genre) return 10;
    return 0;
}

std::string_view fieldLabel(int code) {
    int index = code - 3;
    if (code >= 103) index = code - 103;
    else if (code > 44) return {};
    if (index < 0 || index >= int(FieldLabels.size())) return {};
    return FieldLabels[size_t(index)];
}

void buildVersionLabel(ID3Tag& track, int minor) {
    track.v2Minor = minor;
    const char* unsupported = minor >= 5 ? " (unsupported)" : "";
    if (track.v1Found) {
        track.tagVersionText = track.v2Found ? format("V1 and V2.%d%s", minor, unsupported) : "V1";
    } else if (track.v2Found) {
        track.tagVersionText = format("V2.%d%s", minor, unsupported);
    }
    if (track.v2.podcast) track.tagVersionText += " (podcast)";
    if (track.tagVersionText.size() > MaxLabel) track.tagVersionText.resize(MaxLabel);
}

}  // namespace tagwick
