// The version 2 values as the XML and CSV exports write them: the columns both exports list, in
// their order, and the UTF-8 texts, timestamps and unique file identifier parts they hold.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "tags/id3v2_fields.h"

namespace tagwick {

// How a column takes its value from the tag; each export writes the kinds in its own way.
enum class ColumnKind : uint8_t {
    Number,        // the first number of the field's pair (track, set)
    Total,         // the second (tracks, sets)
    Text,          // the field's text
    Year,          // the 8-bit year
    Timestamp,     // a time field in its display form
    Flag,          // compilation, podcast
    PictureCount,  // the CSV export's count; the XML document holds the pictures themselves
    Lyrics,        // the XML export writes the lyrics, the CSV export whether there are any
    Advisory,      // the advisory's name
    Ufid,          // the identifier's owner and data
};

struct ExportColumn {
    std::string_view name;
    ColumnKind kind;
    V2Field field;
    bool multiline = false;   // XML line breaks become "</br>"
    bool versionTwo = false;  // only in exports of version 2
};

inline constexpr std::array<ExportColumn, 39> ExportColumns = {{
    {"Track", ColumnKind::Number, V2Field::Track},
    {"Tracks", ColumnKind::Total, V2Field::Track},
    {"Title", ColumnKind::Text, V2Field::Title},
    {"Artist", ColumnKind::Text, V2Field::Artist},
    {"Album", ColumnKind::Text, V2Field::Album},
    {"Year", ColumnKind::Year, V2Field::Year},
    {"Genre", ColumnKind::Text, V2Field::Genre},
    {"Comment", ColumnKind::Text, V2Field::Comment, true},
    {"Composer", ColumnKind::Text, V2Field::Composer},
    {"Copyright", ColumnKind::Text, V2Field::Copyright},
    {"Original artist", ColumnKind::Text, V2Field::OriginalArtist},
    {"Encoded by", ColumnKind::Text, V2Field::EncodedBy},
    {"URL", ColumnKind::Text, V2Field::Url},
    {"Compilation", ColumnKind::Flag, V2Field::Compilation},
    {"Picture", ColumnKind::PictureCount, V2Field::Picture},
    {"Lyrics", ColumnKind::Lyrics, V2Field::Lyrics, true},
    {"Conductor", ColumnKind::Text, V2Field::Conductor},
    {"Lyricist", ColumnKind::Text, V2Field::Lyricist},
    {"Orchestra", ColumnKind::Text, V2Field::Orchestra},
    {"Publisher", ColumnKind::Text, V2Field::Publisher},
    {"Content", ColumnKind::Text, V2Field::ContentGroup},
    {"Subtitle", ColumnKind::Text, V2Field::Subtitle, true},
    {"Set/Disc", ColumnKind::Number, V2Field::Set},
    {"Sets/Discs", ColumnKind::Total, V2Field::Set},
    {"ISRC", ColumnKind::Text, V2Field::Isrc},
    {"Record time", ColumnKind::Timestamp, V2Field::RecordingTime},
    {"Release time", ColumnKind::Timestamp, V2Field::ReleaseTime},
    {"Initial key", ColumnKind::Text, V2Field::InitialKey},
    {"BPM", ColumnKind::Text, V2Field::Bpm},
    {"Artist URL", ColumnKind::Text, V2Field::ArtistUrl},
    {"Podcast", ColumnKind::Flag, V2Field::Podcast},
    {"Podcast ID", ColumnKind::Text, V2Field::PodcastId},
    {"Podcast feed", ColumnKind::Text, V2Field::PodcastFeed},
    {"Podcast description", ColumnKind::Text, V2Field::PodcastDescription, true},
    {"Advisory", ColumnKind::Advisory, V2Field::Advisory, false, true},
    {"Produced notice", ColumnKind::Text, V2Field::ProducedNotice, false, true},
    {"Mood", ColumnKind::Text, V2Field::Mood, false, true},
    {"ISWC", ColumnKind::Text, V2Field::Iswc, false, true},
    {"UFID", ColumnKind::Ufid, V2Field::Ufid, false, true},
}};

// Whether an export of `version` (1 or 2) has the column.
constexpr bool hasColumn(const ExportColumn& column, int version) { return version > 1 || !column.versionTwo; }

// The text of a Text, Timestamp or Lyrics column in UTF-8, empty when the tag does not hold it;
// a timestamp has its first 'T' made a blank and is at most 63 bytes.
std::string columnText(const Id3v2Tag& tag, const ExportColumn& column);
// The number of a Number or Total column; NumberNotSet when the tag holds none.
uint16_t columnNumber(const Id3v2Tag& tag, const ExportColumn& column);
// The flag of a Flag column.
bool columnFlag(const Id3v2Tag& tag, const ExportColumn& column);
// The year field (8-bit text) in UTF-8.
std::string exportYear(const Id3v2Tag& tag);
// The owner, "Default" when the tag names none.
std::string ufidOwnerText(const Id3v2Tag& tag);
// The identifier as text: up to its first zero byte, at most 64 bytes.
std::string ufidDataText(const Id3v2Tag& tag);

}  // namespace tagwick
