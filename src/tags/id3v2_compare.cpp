// The verification's field-by-field comparison. Each field is compared in the form the writer
// gives it, so that what the writer changes on purpose (little-endian UTF-16, the ISO-8859-1
// form of 8-bit fields, the genre's list spelling, the advisory digit, the UFID's default
// owner) reads back as equal, and anything lost or altered does not.
#include "tags/id3v2_compare.h"

#include <algorithm>
#include <array>

#include "base/logger.h"
#include "base/text.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

enum class Aspect : uint8_t {
    Value,
    Total,   // the count of a number pair, compared only while the number is set
    Count,   // the number of pictures
    Owner,   // the UFID owner
    Data,    // the UFID identifier over the shorter length
    Never,   // the year: compared with the first track's own year, so it never differs (kept so)
    From24,  // record and release times, written only from 2.4 on
};

struct Check {
    V2Field field;
    Aspect aspect = Aspect::Value;
};

// In the order of the codes: entry i gives code 103 + i.
constexpr std::array<Check, 41> Checks = {{
    {V2Field::Title}, {V2Field::Album}, {V2Field::Artist}, {V2Field::Comment}, {V2Field::Year, Aspect::Never},
    {V2Field::Track}, {V2Field::Track, Aspect::Total}, {V2Field::Genre}, {V2Field::Composer},
    {V2Field::OriginalArtist}, {V2Field::Copyright}, {V2Field::Url}, {V2Field::EncodedBy}, {V2Field::Lyrics},
    {V2Field::Conductor}, {V2Field::Lyricist}, {V2Field::Publisher}, {V2Field::Orchestra}, {V2Field::ContentGroup},
    {V2Field::Subtitle}, {V2Field::EncoderSettings}, {V2Field::ArtistUrl}, {V2Field::Podcast}, {V2Field::PodcastId},
    {V2Field::PodcastFeed}, {V2Field::PodcastDescription}, {V2Field::Picture, Aspect::Count}, {V2Field::Set},
    {V2Field::Set, Aspect::Total}, {V2Field::Isrc}, {V2Field::RecordingTime, Aspect::From24},
    {V2Field::ReleaseTime, Aspect::From24}, {V2Field::Bpm}, {V2Field::InitialKey}, {V2Field::Compilation},
    {V2Field::Advisory}, {V2Field::ProducedNotice}, {V2Field::Mood}, {V2Field::Iswc}, {V2Field::Ufid, Aspect::Owner},
    {V2Field::Ufid, Aspect::Data},
}};

// Absent texts compare as empty.
std::string textOf(const OptText& value) { return value ? value->utf8() : std::string(); }
std::string latin1Of(const OptText& value) { return value ? toLatin1(*value) : std::string(); }

// The genre as it reads back: "(17)" forms give the list's name, compared without regard to case.
std::string genreOf(const OptText& value) { return value ? genreFromText(*value).utf8() : std::string(); }

// The advisory as the writer puts it: nothing for 0, "1" for 1, "2" for any other value.
int writtenAdvisory(int advisory) { return advisory == 0 ? 0 : advisory == 1 ? 1 : 2; }

std::string_view ufidOwnerOf(const Id3v2Tag& tag) {
    if (!tag.hasUfid) return {};
    return tag.ufidOwner.empty() ? std::string_view("Default") : std::string_view(tag.ufidOwner);
}

bool sameValue(const Id3v2Tag& a, const Id3v2Tag& b, V2Field field) {
    const V2FieldRow& row = fieldRow(field);
    switch (row.kind) {
        case V2FrameKind::Text:
        case V2FrameKind::Comment:
        case V2FrameKind::FeedUrl: return textOf(*textField(a, field)) == textOf(*textField(b, field));
        case V2FrameKind::Text8:
        case V2FrameKind::Url:
        case V2FrameKind::UserUrl: return latin1Of(*textField(a, field)) == latin1Of(*textField(b, field));
        case V2FrameKind::Genre: return equalsNoCase(genreOf(a.genre), genreOf(b.genre));
        case V2FrameKind::NumberPair:
            return field == V2Field::Track ? a.trackNumber == b.trackNumber : a.setNumber == b.setNumber;
        case V2FrameKind::Flag: return a.compilation == b.compilation;
        case V2FrameKind::PodcastFlag: return a.podcast == b.podcast;
        case V2FrameKind::Advisory: return writtenAdvisory(a.advisory) == writtenAdvisory(b.advisory);
        default: return true;  // the remaining kinds have aspects of their own
    }
}

bool sameTotal(const Id3v2Tag& a, const Id3v2Tag& b, V2Field field) {
    if (field == V2Field::Track) return a.trackNumber >= NumberNotSet || a.trackTotal == b.trackTotal;
    return a.setNumber >= NumberNotSet || a.setTotal == b.setTotal;
}

bool same(const Id3v2Tag& a, const Id3v2Tag& b, const Check& check, int version) {
    switch (check.aspect) {
        case Aspect::Value: return sameValue(a, b, check.field);
        case Aspect::Total: return sameTotal(a, b, check.field);
        case Aspect::Count: return a.pictures.size() == b.pictures.size();
        case Aspect::Owner: return ufidOwnerOf(a) == ufidOwnerOf(b);
        case Aspect::Data: {
            size_t length = std::min(a.ufid.size(), b.ufid.size());
            return a.ufid.compare(0, length, b.ufid, 0, length) == 0;
        }
        case Aspect::Never: return true;
        case Aspect::From24: return version <= 3 || sameValue(a, b, check.field);
    }
    return true;
}

}  // namespace

int compareV2Fields(const Id3v2Tag& a, const Id3v2Tag& b, int version) {
    for (size_t i = 0; i < Checks.size(); ++i)
        if (!same(a, b, Checks[i], version)) return FirstV2FieldCode + int(i);
    return 0;
}

int compareV2(const ID3Tag& a, const ID3Tag& b, int version) {
    if (a.v2Found != b.v2Found)
        Logger::log(LogProgress, "Comparing V2 loaded state failed (%d != %d)", int(a.v2Found), int(b.v2Found));
    if (a.v2Present != b.v2Present)
        Logger::log(LogWarning, "Comparing V2 enabled state failed (%d != %d)", int(a.v2Present), int(b.v2Present));
    if (!a.v2Present || !b.v2Present) return 0;
    return compareV2Fields(a.v2, b.v2, version);
}

}  // namespace tagwick
