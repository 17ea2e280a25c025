// Applying the command line's field changes to an opened track.
#include "cli/tag_changes.h"

#include <array>
#include <utility>

#include "base/genres.h"
#include "base/text.h"
#include "cli/field_files.h"
#include "cli/options.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

using Text = TagUpdate::Text;

// The version 2 text fields that a command-line text sets as it is.
constexpr std::array<std::pair<Text TagUpdate::*, V2Field>, 29> V2TextOptions = {{
    {&TagUpdate::title, V2Field::Title},
    {&TagUpdate::artist, V2Field::Artist},
    {&TagUpdate::album, V2Field::Album},
    {&TagUpdate::genre, V2Field::Genre},
    {&TagUpdate::comment, V2Field::Comment},
    {&TagUpdate::composer, V2Field::Composer},
    {&TagUpdate::copyright, V2Field::Copyright},
    {&TagUpdate::originalArtist, V2Field::OriginalArtist},
    {&TagUpdate::encodedBy, V2Field::EncodedBy},
    {&TagUpdate::url, V2Field::Url},
    {&TagUpdate::lyrics, V2Field::Lyrics},
    {&TagUpdate::conductor, V2Field::Conductor},
    {&TagUpdate::lyricist, V2Field::Lyricist},
    {&TagUpdate::publisher, V2Field::Publisher},
    {&TagUpdate::orchestra, V2Field::Orchestra},
    {&TagUpdate::contentGroup, V2Field::ContentGroup},
    {&TagUpdate::subtitle, V2Field::Subtitle},
    {&TagUpdate::encoderSettings, V2Field::EncoderSettings},
    {&TagUpdate::isrc, V2Field::Isrc},
    {&TagUpdate::recordTime, V2Field::RecordingTime},
    {&TagUpdate::releaseTime, V2Field::ReleaseTime},
    {&TagUpdate::initialKey, V2Field::InitialKey},
    {&TagUpdate::beatsPerMinute, V2Field::Bpm},
    {&TagUpdate::artistUrl, V2Field::ArtistUrl},
    {&TagUpdate::mood, V2Field::Mood},
    {&TagUpdate::producedNotice, V2Field::ProducedNotice},
    {&TagUpdate::iswc, V2Field::Iswc},
    {&TagUpdate::podcastId, V2Field::PodcastId},
    {&TagUpdate::podcastDescription, V2Field::PodcastDescription},
}};

constexpr size_t YearLimit = 4;
constexpr size_t V1TextLimit = 30;
constexpr size_t V1CommentLimit = 29;

// An empty text removes the field.
OptText textValue(const std::string& utf8) {
    if (utf8.empty()) return std::nullopt;
    return TextValue::fromUtf8(utf8);
}

// A number option: 0 (the delete form) clears it; other values are kept in 16 bits.
void setNumber(uint16_t& field, int value) {
    if (value < 0) return;
    field = value == 0 ? NumberNotSet : uint16_t(value);
}

bool applyV2Texts(Id3v2Tag& v2, const TagUpdate& update) {
    bool changed = false;
    for (const auto& [option, field] : V2TextOptions) {
        const Text& text = update.*option;
        if (!text) continue;
        *textField(v2, field) = textValue(*text);
        changed = true;
    }
    if (update.podcastFeed) {
        v2.podcastFeed = textValue(*update.podcastFeed);
        changed = true;
    }
    if (update.year) {
        v2.year = update.year->substr(0, YearLimit);
        changed = true;
    }
    return changed;
}

bool applyV2Numbers(Id3v2Tag& v2, const TagUpdate& update) {
    setNumber(v2.trackNumber, update.trackNumber);
    setNumber(v2.trackTotal, update.trackCount);
    setNumber(v2.setNumber, update.setNumber);
    setNumber(v2.setTotal, update.setCount);
    if (update.advisory >= 0) v2.advisory = update.advisory;
    // Each -cl (and --cl) counts one; the flag is on from the first.
    if (update.compilation >= 0) v2.compilation = true;
    if (update.podcastMark >= 0) v2.podcast = update.podcastMark == 1;
    return update.trackNumber >= 0 || update.trackCount >= 0 || update.setNumber >= 0 || update.setCount >= 0 ||
           update.advisory >= 0 || update.compilation >= 0 || update.podcastMark >= 0;
}

bool applyUniqueId(Id3v2Tag& v2, const TagUpdate& update) {
    if (!update.ufidOwner && !update.ufidId) return false;
    const std::string owner = update.ufidOwner.value_or("");
    const std::string id = update.ufidId.value_or("");
    v2.hasUfid = !owner.empty() || !id.empty();
    v2.ufidOwner = owner;
    v2.ufid = id.substr(0, UfidLimit);
    return true;
}

// Existing pictures go first (always the first, while there is one), then the new one is
// loaded. False when the picture could not be loaded.
bool applyPictures(Id3v2Tag& v2, const TagUpdate& update) {
    if (update.removeImages) {
        while (!v2.pictures.empty()) v2.pictures.erase(v2.pictures.begin());
    }
    if (!update.pictureFile) return true;
    Picture picture;
    if (!loadPicture(update.pictureFile->c_str(), picture.data, picture.format)) return false;
    picture.mime = "image/" + picture.format;
    v2.pictures.push_back(std::move(picture));
    return true;
}

bool applyV1Fields(Id3v1Tag& v1, const TagUpdate& update) {
    if (!update.anyV1FieldGiven()) return false;
    if (update.v1Title) v1.title = v1Text(*update.v1Title, V1TextLimit);
    if (update.v1Artist) v1.artist = v1Text(*update.v1Artist, V1TextLimit);
    if (update.v1Album) v1.album = v1Text(*update.v1Album, V1TextLimit);
    if (update.v1Year) v1.year = v1Text(*update.v1Year, YearLimit);
    if (update.v1Comment) v1.comment = v1Text(*update.v1Comment, V1CommentLimit);
    if (update.v1TrackNumber >= 0) v1.track = uint8_t(update.v1TrackNumber);
    if (update.v1Genre >= 0) v1.genre = uint8_t(update.v1Genre);
    v1.enabled = true;
    return true;
}

}  // namespace

std::string v1Text(const std::string& utf8, size_t limit) {
    std::string out;
    for (char16_t unit : utf8ToUtf16(utf8)) {
        if (unit <= 0xFF) out += char(unit);
    }
    if (out.size() > limit) out.resize(limit);
    return out;
}

ChangeMarks applyFieldChanges(ID3Tag& track, const TagUpdate& update) {
    ChangeMarks marks;
    Id3v2Tag& v2 = track.v2;
    bool v2Changed = applyV2Texts(v2, update);
    v2Changed |= applyV2Numbers(v2, update);
    v2Changed |= applyUniqueId(v2, update);
    if (update.removeLyrics) {
        v2.lyrics.reset();
        v2Changed = true;
    }
    if (update.removeImages || update.pictureFile) {
        marks.pictureFailed = !applyPictures(v2, update);
        v2Changed = true;
    }
    marks.v2 = v2Changed;
    if (v2Changed) track.v2Present = true;
    marks.v1 = applyV1Fields(track.v1, update);
    return marks;
}

}  // namespace tagwick
