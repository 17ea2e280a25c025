// The AIFF container as the save steps see it: the chunks copied one by one around a new (or
// no) "ID3 " chunk, with the form size set to what was written.
#pragma once

#include <string_view>

namespace tagwick {

class FileReader;
class FileWriter;
class ID3Tag;

// Copies the form header and the chunks of `source` into `output`, never an "ID3 " chunk.
// With `stopAfter` the copy ends after that chunk; with `resumeAfter` the header is not copied
// and the chunks up to and including that one are skipped. 0 on success, 5 on failure, 1 when
// the track is not AIFF.
int copyAiff(const ID3Tag& track, FileReader& source, FileWriter& output, std::string_view stopAfter = {},
             std::string_view resumeAfter = {});

// The whole new file with the track's tag in a new "ID3 " chunk (after the sound data when the
// track's placement flag is set, else at the end of the form); a tag save status.
int writeAiffWithTag(const ID3Tag& track, FileReader& source, FileWriter& output, int version, bool convert,
                     int mode);
// The whole new file without any "ID3 " chunk; a tag save status.
int writeAiffWithoutTag(const ID3Tag& track, FileReader& source, FileWriter& output);

}  // namespace tagwick
