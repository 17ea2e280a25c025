// Renaming and filing a track by its tags (-rename [utf8] [format], -folder).
#pragma once

#include <string>
#include <string_view>

#include "tags/id3v2_fields.h"

namespace tagwick {

class ID3Tag;

// Title, artist or album as a part of a file name: UTF-8, or the single-byte form, trimmed,
// with each of < > : " / \ | ? * made '_'. Empty when the tag does not hold the value.
std::string nameField(const OptText& value, bool utf8);

// The name a format describes (at most 1023 bytes of it are read, and the result is cut to
// 1023 bytes): "%A" artist, "%L" album, "%T" title, "%N" track, "%n" track padded to the
// digits of the total, "%M" total, "%Y" year, "%B"/"%b" bit rate in kbit/s / bit/s,
// "%S"/"%s" length as m.ss / seconds, "%F"/"%f" the track's frequency in kHz / Hz, "%%" a '%';
// any other sequence gives nothing. < > : " \ | ? * become '_'; '/' stays and names folders.
std::string expandNameFormat(const ID3Tag& track, std::string_view format, bool utf8);

// Renames the track from its tags and, with a format, into the folders the format names.
// Without a format the name is the title, led by the track number "%02d-" when
// `withTrackNumber` is set, and `toFolder` files it under "<artist>/<album>" when the tag
// has both. False when no name can be made or the track cannot be moved.
[[nodiscard]] bool renameByTag(ID3Tag& track, bool withTrackNumber, bool datePrefix, bool toFolder, bool utf8,
                               std::string_view format);

// Moves the track to `newName` (its extension kept), in `folder` when one is given (an absolute
// one, or one below the track's folder, made when missing; when it cannot be made the track
// stays in its folder), led by today's date "%04d%02d%02d-" and the track number "%02d-" when
// asked. An existing file is never replaced: a taken name gets "-1" ... "-98" before its
// extension (when all are taken nothing is done). True also when nothing had to be done; the
// track's path is the new one after a move. False without a path or a name, and when the
// move fails (the track is then where it was).
[[nodiscard]] bool moveTrack(ID3Tag& track, bool datePrefix, int trackNumber, const std::string& newName,
                             const std::string& folder);

}  // namespace tagwick
