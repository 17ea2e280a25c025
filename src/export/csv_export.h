// The CSV export (-csv file [v]): one row per track appended under one header, so that a run
// over many tracks builds one table. UTF-8 with a byte-order mark, "\r\n" line ends.
#pragma once

#include <string>
#include <string_view>

#include "export/export_status.h"

namespace tagwick {

class ID3Tag;

// Appends one field and its ','. An empty text is the bare ','; a text beginning with a blank
// or a tab, or holding any of " ' \n \r , / \ is enclosed in double quotes, its own doubled.
void writeCsvField(std::string_view text, std::string& out);

// The header line of a version (1, or anything else for 2), its "\r\n" included.
std::string csvHeader(int version);

// Appends the row of `track` to `path`, after the byte-order mark and the header when the file
// is new or empty. Ok also when the track has no tag information (nothing but a new file's
// header is written then); NotCreatable when the file cannot be opened or written (what this
// call appended is taken back); NoTrack without a track.
[[nodiscard]] ExportStatus exportCsv(const std::string& path, const ID3Tag* track, int version);

}  // namespace tagwick
