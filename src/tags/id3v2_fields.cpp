// Standard frame ID tables, the frame-to-field rows and the small value rules used when a frame
// becomes a field (number pairs, genres, advisory digits, picture format words).
#include "tags/id3v2_fields.h"

#include <algorithm>
#include <climits>

namespace tagwick {

// Rows 0..81 are the 2.3 IDs; the podcast and compilation frames among them count as standard
// on purpose, because the program writes them into 2.3 tags itself. Rows 82..99 exist in 2.4 only.
const std::array<std::string_view, 100> FrameIds4 = {
    "AENC", "APIC", "COMM", "COMR", "ENCR", "EQUA", "ETCO", "GEOB", "GRID", "IPLS", "LINK", "MCDI", "MLLT",
    "OWNE", "PRIV", "PCNT", "POPM", "POSS", "RBUF", "RVAD", "RVRB", "SYLT", "SYTC", "TALB", "TBPM", "TCOM",
    "TCON", "TCOP", "TDAT", "TDLY", "TENC", "TEXT", "TFLT", "TIME", "TIT1", "TIT2", "TIT3", "TKEY", "TLAN",
    "TLEN", "TMED", "TOAL", "TOFN", "TOLY", "TOPE", "TORY", "TOWN", "TPE1", "TPE2", "TPE3", "TPE4", "TPOS",
    "TPUB", "TRCK", "TRDA", "TRSN", "TRSO", "TSIZ", "TSRC", "TSSE", "TYER", "TXXX", "UFID", "USER", "USLT",
    "WCOM", "WCOP", "WOAF", "WOAR", "WOAS", "WORS", "WPAY", "WPUB", "WXXX", "TCMP", "PCST", "TGID", "WFED",
    "WFD ", "TDES", "TRTG", "TSWC", "ASPI", "EQU2", "RVA2", "SEEK", "SIGN", "TDEN", "TDOR", "TDRC", "TDRL",
    "TDTG", "TIPL", "TMCL", "TMOO", "TPRO", "TSOA", "TSOP", "TSOT", "TSST",
};

const std::array<std::string_view, 69> FrameIds3 = {
    "BUF", "CNT", "COM", "CRA", "CRM", "ETC", "EQU", "GEO", "IPL", "LNK", "MCI", "MLL", "PIC", "POP",
    "REV", "RVA", "SLT", "STC", "TAL", "TBP", "TCM", "TCO", "TCR", "TDA", "TDY", "TEN", "TFT", "TIM",
    "TKE", "TLA", "TLE", "TMT", "TOA", "TOF", "TOL", "TOR", "TOT", "TP1", "TP2", "TP3", "TP4", "TPA",
    "TPB", "TRC", "TRD", "TRK", "TSI", "TSS", "TT1", "TT2", "TT3", "TXT", "TXX", "TYE", "UFI", "ULT",
    "WAF", "WAR", "WAS", "WCM", "WCP", "WPB", "WXX", "TCP", "PCS", "TID", "WFD", "TDS", "TDR",
};

bool isStandardFrameId(std::string_view id, int version) {
    if (version <= 2) return std::find(FrameIds3.begin(), FrameIds3.end(), id) != FrameIds3.end();
    auto end = version == 3 ? FrameIds4.begin() + StandardIdCountV23 : FrameIds4.end();
    return std::find(FrameIds4.begin(), end, id) != end;
}

const V2FieldRow* findFieldRow(std::string_view id, int version) {
    for (const V2FieldRow& row : V2FieldRows) {
        bool match = version <= 2 ? !row.id22.empty() && row.id22 == id
                                  : row.id == id || (!row.altId.empty() && row.altId == id);
        if (match) return &row;
    }
    return nullptr;
}

namespace {
constexpr bool rowsFollowFieldOrder() {
    for (size_t i = 0; i < V2FieldRows.size(); ++i)
        if (size_t(V2FieldRows[i].field) != i) return false;
    return true;
}
static_assert(rowsFollowFieldOrder(), "V2FieldRows must list the fields in the order of V2Field");
}  // namespace

const V2FieldRow& fieldRow(V2Field field) { return V2FieldRows[size_t(field)]; }

namespace {

template <typename Tag>
auto textFieldOf(Tag& tag, V2Field field) -> decltype(&tag.title) {
    switch (field) {
        case V2Field::Title: return &tag.title;
        case V2Field::Artist: return &tag.artist;
        case V2Field::Album: return &tag.album;
        case V2Field::Genre: return &tag.genre;
        case V2Field::Comment: return &tag.comment;
        case V2Field::Composer: return &tag.composer;
        case V2Field::Copyright: return &tag.copyright;
        case V2Field::OriginalArtist: return &tag.originalArtist;
        case V2Field::EncodedBy: return &tag.encodedBy;
        case V2Field::Url: return &tag.url;
        case V2Field::Conductor: return &tag.conductor;
        case V2Field::Lyricist: return &tag.lyricist;
        case V2Field::Publisher: return &tag.publisher;
        case V2Field::Orchestra: return &tag.orchestra;
        case V2Field::ContentGroup: return &tag.contentGroup;
        case V2Field::Subtitle: return &tag.subtitle;
        case V2Field::EncoderSettings: return &tag.encoderSettings;
        case V2Field::Isrc: return &tag.isrc;
        case V2Field::Bpm: return &tag.bpm;
        case V2Field::InitialKey: return &tag.initialKey;
        case V2Field::ArtistUrl: return &tag.artistUrl;
        case V2Field::ReleaseTime: return &tag.releaseTime;
        case V2Field::RecordingTime: return &tag.recordingTime;
        case V2Field::ProducedNotice: return &tag.producedNotice;
        case V2Field::Mood: return &tag.mood;
        case V2Field::PodcastId: return &tag.podcastId;
        case V2Field::PodcastFeed: return &tag.podcastFeed;
        case V2Field::PodcastDescription: return &tag.podcastDescription;
        case V2Field::Iswc: return &tag.iswc;
        case V2Field::Lyrics: return &tag.lyrics;
        default: return nullptr;
    }
}

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

std::string lowerCase(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), lowerAscii);
    return out;
}

// UTF-16 little-endian with its mark, the form new UTF-16 values take.
TextValue utf16Value(std::string_view utf8) {
    std::string bytes = "\xFF\xFE";
    for (char16_t unit : utf8ToUtf16(utf8)) {
        bytes += char(unit & 0xFF);
        bytes += char(unit >> 8);
    }
    return TextValue::utf16(std::move(bytes));
}

}  // namespace

OptText* textField(Id3v2Tag& tag, V2Field field) { return textFieldOf(tag, field); }
const OptText* textField(const Id3v2Tag& tag, V2Field field) { return textFieldOf(tag, field); }

long readDecimal(std::string_view text) {
    size_t at = 0;
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) ++at;
    if (at >= text.size() || text[at] < '0' || text[at] > '9') return -1;
    long value = 0;
    constexpr long Ceiling = INT_MAX / 10;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        value = value >= Ceiling ? INT_MAX : value * 10 + (text[at] - '0');
    return value;
}

std::pair<uint16_t, uint16_t> parseNumberPair(std::string_view text) {
    auto number = [](std::string_view part) -> uint16_t {
        long value = readDecimal(part);
        return value < 0 || value >= long(NumberNotSet) ? NumberNotSet : uint16_t(value);
    };
    size_t slash = text.find('/');
    if (slash == std::string_view::npos) return {number(text), NumberNotSet};
    return {number(text.substr(0, slash)), number(text.substr(slash + 1))};
}

TextValue genreFromText(const TextValue& text) {
    // Latin-1 bytes are the characters themselves; UTF-16 is looked at in its UTF-8 form.
    const std::string& chars = text.isUtf16() ? text.utf8() : text.bytes();
    if (!chars.empty() && chars[0] == '(') {
        long number = readDecimal(std::string_view(chars).substr(1));
        if (number >= 0 && number < GenreCount) return TextValue::latin1(std::string(genreSlot(int(number))));
        if (number >= GenreCount && number < GenreCount + ExtendedGenreCount)
            return TextValue::latin1(std::string(extendedGenre(int(number - GenreCount))));
    }
    size_t close = chars.find(')');
    if (close == std::string::npos) return text;
    std::string rest = chars.substr(close + 1);
    return text.isUtf16() ? utf16Value(rest) : TextValue::latin1(std::move(rest));
}

int advisoryFromText(const TextValue& text) {
    const std::string& bytes = text.bytes();
    int first = 0;
    if (!text.isUtf16()) {
        if (!bytes.empty()) first = uint8_t(bytes[0]);
    } else if (bytes.size() >= 4) {
        bool bigEndian = uint8_t(bytes[0]) == 0xFE;
        first = bigEndian ? uint8_t(bytes[2]) << 8 | uint8_t(bytes[3]) : uint8_t(bytes[3]) << 8 | uint8_t(bytes[2]);
    }
    return first > '/' ? first - '0' : first;
}

std::string formatWordFromMime(std::string_view mime) {
    std::string lower = lowerCase(mime);
    std::string_view word = lower;
    if (word.starts_with("image/")) word.remove_prefix(6);
    if (word == "jpeg" || word == "jpg") return "jpeg";
    if (word == "tif" || word == "tiff") return "tiff";
    // Anything else keeps its own subtype, cut so that the writer's "image/%s" stays short.
    return std::string(word.substr(0, FormatWordLimit));
}

std::string mimeFromPicFormat(std::string_view format3) {
    std::string lower = lowerCase(format3.substr(0, std::min(format3.find('\0'), format3.size())));
    if (lower.empty()) return {};
    if (lower == "png") return "image/png";
    if (lower == "jpg") return "image/jpeg";
    return "image/" + lower;
}

}  // namespace tagwick
