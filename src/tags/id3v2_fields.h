// The program's own model of a version 2 tag: a fixed set of named fields plus user texts,
// pictures and kept raw frames; the standard frame ID tables; the frame-to-field rows.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
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

// Longest unique file identifier kept.
constexpr size_t UfidLimit = 64;
// Longest picture format word kept ("jpeg", "tiff", ...).
constexpr size_t FormatWordLimit = 5;

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
constexpr size_t StandardIdCountV23 = 82;
// `version` is the major version byte: 2 (and below) uses the 3-character table, 3 its first
// 82 rows, 4 and above all 100 rows.
bool isStandardFrameId(std::string_view id, int version);

// ---------------------------------------------------------------- frame-to-field rows

enum class V2Field : uint8_t {
    Track, Title, Artist, Album, Year, Genre, Comment, Composer, Copyright, OriginalArtist, EncodedBy, Url,
    Compilation, Conductor, Lyricist, Publisher, Orchestra, ContentGroup, Subtitle, EncoderSettings, Set, Isrc,
    Bpm, InitialKey, ArtistUrl, Rating, Ufid, CdIdentifier, ReleaseTime, RecordingTime, ProducedNotice, Mood,
    Podcast, PodcastId, PodcastFeed, PodcastDescription, Advisory, Iswc, UserText, Lyrics, Picture,
};

// How a frame's payload is laid out (and, for the writer, whether text goes out as 8-bit).
enum class V2FrameKind : uint8_t {
    Text,           // encoding byte, text
    Text8,          // the same, written as 8-bit text
    NumberPair,     // "number/total"
    Year,           // 8-bit text of at most 4 characters
    Genre,          // text with the "(n)" genre numbers
    Comment,        // encoding, language, description, text (COMM and USLT)
    UserUrl,        // encoding, description, URL (WXXX)
    Flag,           // "1" when set (TCMP)
    Url,            // URL only (WOAR)
    Popularimeter,  // email, rating byte, counter
    UniqueId,       // owner, NUL, identifier
    Binary,         // raw bytes (MCDI)
    PodcastFlag,    // any payload sets the flag
    FeedUrl,        // encoding byte, URL
    Advisory,       // a digit
    UserText,       // kept as the whole payload
    Picture,        // APIC (PIC in 2.2)
};

struct V2FieldRow {
    V2Field field;
    std::string_view id22;   // empty: no 2.2 frame
    std::string_view id;     // 2.3/2.4 frame, also the one written
    std::string_view altId;  // a second 2.3/2.4 ID read into the same field (empty: none)
    V2FrameKind kind;
};

// In the order the writer puts them out.
inline constexpr std::array<V2FieldRow, 41> V2FieldRows = {{
    {V2Field::Track, "TRK", "TRCK", "", V2FrameKind::NumberPair},
    {V2Field::Title, "TT2", "TIT2", "", V2FrameKind::Text},
    {V2Field::Artist, "TP1", "TPE1", "", V2FrameKind::Text},
    {V2Field::Album, "TAL", "TALB", "", V2FrameKind::Text},
    {V2Field::Year, "TYE", "TYER", "", V2FrameKind::Year},
    {V2Field::Genre, "TCO", "TCON", "", V2FrameKind::Genre},
    {V2Field::Comment, "COM", "COMM", "", V2FrameKind::Comment},
    {V2Field::Composer, "TCM", "TCOM", "", V2FrameKind::Text},
    {V2Field::Copyright, "TCR", "TCOP", "", V2FrameKind::Text},
    {V2Field::OriginalArtist, "TOA", "TOPE", "", V2FrameKind::Text},
    {V2Field::EncodedBy, "TEN", "TENC", "", V2FrameKind::Text8},
    {V2Field::Url, "WXX", "WXXX", "", V2FrameKind::UserUrl},
    {V2Field::Compilation, "TCP", "TCMP", "", V2FrameKind::Flag},
    {V2Field::Conductor, "TP3", "TPE3", "", V2FrameKind::Text},
    {V2Field::Lyricist, "TXT", "TEXT", "", V2FrameKind::Text},
    {V2Field::Publisher, "TPB", "TPUB", "", V2FrameKind::Text},
    {V2Field::Orchestra, "TP2", "TPE2", "", V2FrameKind::Text},
    {V2Field::ContentGroup, "TT1", "TIT1", "", V2FrameKind::Text},
    {V2Field::Subtitle, "TT3", "TIT3", "", V2FrameKind::Text},
    {V2Field::EncoderSettings, "TSS", "TSSE", "", V2FrameKind::Text},
    {V2Field::Set, "TPA", "TPOS", "", V2FrameKind::NumberPair},
    {V2Field::Isrc, "TRC", "TSRC", "", V2FrameKind::Text8},
    {V2Field::Bpm, "TBP", "TBPM", "", V2FrameKind::Text8},
    {V2Field::InitialKey, "TKE", "TKEY", "", V2FrameKind::Text8},
    {V2Field::ArtistUrl, "WAR", "WOAR", "", V2FrameKind::Url},
    {V2Field::Rating, "POP", "POPM", "", V2FrameKind::Popularimeter},
    {V2Field::Ufid, "UFI", "UFID", "", V2FrameKind::UniqueId},
    {V2Field::CdIdentifier, "MCI", "MCDI", "", V2FrameKind::Binary},
    // The 2.2 "TDR" frame is read only with a tag type mode other than 0.
    {V2Field::ReleaseTime, "TDR", "TDRL", "", V2FrameKind::Text8},
    {V2Field::RecordingTime, "", "TDRC", "", V2FrameKind::Text8},
    {V2Field::ProducedNotice, "", "TPRO", "", V2FrameKind::Text8},
    {V2Field::Mood, "", "TMOO", "", V2FrameKind::Text8},
    {V2Field::Podcast, "PCS", "PCST", "", V2FrameKind::PodcastFlag},
    {V2Field::PodcastId, "TID", "TGID", "", V2FrameKind::Text},
    {V2Field::PodcastFeed, "WFD", "WFED", "WFD ", V2FrameKind::FeedUrl},
    {V2Field::PodcastDescription, "TDS", "TDES", "", V2FrameKind::Text},
    {V2Field::Advisory, "", "TRTG", "", V2FrameKind::Advisory},
    {V2Field::Iswc, "", "TSWC", "", V2FrameKind::Text8},
    {V2Field::UserText, "TXX", "TXXX", "", V2FrameKind::UserText},
    {V2Field::Lyrics, "ULT", "USLT", "", V2FrameKind::Comment},
    {V2Field::Picture, "PIC", "APIC", "", V2FrameKind::Picture},
}};

// The row whose 2.2 ID (version 2 and below) or 2.3/2.4 IDs (version 3 and above) match; null when none.
const V2FieldRow* findFieldRow(std::string_view id, int version);
const V2FieldRow& fieldRow(V2Field field);

// The text value behind a field, or null for fields that are not one text (pairs, flags, lists...).
OptText* textField(Id3v2Tag& tag, V2Field field);
const OptText* textField(const Id3v2Tag& tag, V2Field field);

// ---------------------------------------------------------------- value rules used when reading

// Decimal digits after optional blanks; -1 when no digit follows. Large values saturate.
long readDecimal(std::string_view text);
// "number/total": each part decimal; a missing part or one outside 0..65534 is NumberNotSet.
std::pair<uint16_t, uint16_t> parseNumberPair(std::string_view text);
// The genre of a TCON text: "(n)" names for 0..125, else the text after the first ')', else the
// whole text. The encoding of the value is kept for the text forms.
TextValue genreFromText(const TextValue& text);
// The advisory number of a TRTG text: first character minus '0' when above '/', else its value.
int advisoryFromText(const TextValue& text);
// Format word of a picture MIME type ("image/jpeg" -> "jpeg"); at most FormatWordLimit characters.
std::string formatWordFromMime(std::string_view mime);
// MIME type of a 2.2 picture format ("PNG" -> "image/png", "JPG" -> "image/jpeg").
std::string mimeFromPicFormat(std::string_view format3);

}  // namespace tagwick
