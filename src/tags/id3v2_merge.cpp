// -import: the fields of the imported tag replace the track's, field by field along the table.
#include "tags/id3v2_merge.h"

namespace tagwick {

namespace {

void copyField(Id3v2Tag& to, const Id3v2Tag& from, V2Field field) {
    if (const OptText* text = textField(from, field)) {
        *textField(to, field) = *text;
        return;
    }
    switch (field) {
        case V2Field::Track: to.trackNumber = from.trackNumber, to.trackTotal = from.trackTotal; return;
        case V2Field::Set: to.setNumber = from.setNumber, to.setTotal = from.setTotal; return;
        case V2Field::Year: to.year = from.year; return;
        case V2Field::Compilation: to.compilation = from.compilation; return;
        case V2Field::Rating: to.hasRating = from.hasRating, to.rating = from.rating; return;
        case V2Field::Ufid:
            to.hasUfid = from.hasUfid, to.ufidOwner = from.ufidOwner, to.ufid = from.ufid;
            return;
        case V2Field::CdIdentifier: to.cdIdentifier = from.cdIdentifier; return;
        case V2Field::Podcast: to.podcast = from.podcast; return;
        case V2Field::Advisory: to.advisory = from.advisory; return;
        case V2Field::UserText: to.userTexts = from.userTexts; return;
        case V2Field::Picture: to.pictures = from.pictures; return;
        default: return;
    }
}

}  // namespace

bool holdsField(const Id3v2Tag& tag, V2Field field) {
    if (const OptText* text = textField(tag, field)) return text->has_value();
    switch (field) {
        case V2Field::Track: return tag.trackNumber != NumberNotSet || tag.trackTotal != NumberNotSet;
        case V2Field::Set: return tag.setNumber != NumberNotSet || tag.setTotal != NumberNotSet;
        case V2Field::Year: return !tag.year.empty();
        case V2Field::Compilation: return tag.compilation;
        case V2Field::Rating: return tag.hasRating;
        case V2Field::Ufid: return tag.hasUfid;
        case V2Field::CdIdentifier: return !tag.cdIdentifier.empty();
        case V2Field::Podcast: return tag.podcast;
        case V2Field::Advisory: return tag.advisory != 0;
        case V2Field::UserText: return !tag.userTexts.empty();
        case V2Field::Picture: return !tag.pictures.empty();
        default: return false;
    }
}

void mergeV2Fields(Id3v2Tag& target, const Id3v2Tag& source) {
    for (const V2FieldRow& row : V2FieldRows)
        if (holdsField(source, row.field)) copyField(target, source, row.field);
    if (!source.keptFrames.empty()) target.keptFrames = source.keptFrames;
}

}  // namespace tagwick
