// The XML export (-xml file [noimg] [v]): the version 1 values, the version 2 values under
// fixed names and, unless left out, every picture in base64.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/bytes.h"
#include "export/export_status.h"

namespace tagwick {

class ID3Tag;

// Appends one value line to `out`: "\t\t<value name=\"" name "\" type=\"" type "\">" text
// "</value>\n", the text escaped; in a multiline value each line break becomes "</br>".
void writeXmlValue(std::string_view name, std::string_view text, std::string_view type, std::string& out,
                   bool multiline);
// The version 1 element, its stored bytes unconverted.
std::string v1AsXml(const ID3Tag& track);
// Base64 of a picture, or nothing when the encoder's buffer of twice the picture's size has
// no room for the text and its end (pictures of 1, 2 or 4 bytes).
std::optional<std::string> pictureBase64(Bytes picture);

// Writes the document for `track` into `path`. Version 1 leaves out the values from Advisory
// on; any other version is 2. A track with only a version 1 record is exported through a
// copy of it into version 2, after which its flags are as before.
// Ok also when the track has no tag information; NotCreatable when the file cannot be
// created or written (an unfinished document is removed); NoTrack without a track.
[[nodiscard]] ExportStatus exportXml(const std::string& path, ID3Tag* track, int version, bool withPictures);

}  // namespace tagwick
