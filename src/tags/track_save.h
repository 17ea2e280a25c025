// Saving a track's tags: the version 1 record written or cut off in place, an APE tag cut off,
// and the version 2 tag written or removed through a complete new copy of the file that then
// takes the original's place. Every save is read back and compared.
//
// The results are the program's tag file statuses.
#pragma once

#include <string>

namespace tagwick {

class ID3Tag;

enum TagFileStatus : int {
    TagSaved = 0,
    NothingToDo = 1,
    SourceNotOpenable = 2,
    OutputNotOpenable = 3,
    AudioNotCopied = 4,
    TagNotWritten = 5,
    AiffTagNotWritten = 6,
    VerificationFailed = 7,
    ReplacementFailed = 8,
    TruncationFailed = 9,
};

// Writes the version 1 record at the end of the track (over the old one, or appended), after
// cutting off an APE tag when `removeApe` is set (which then ends the update at once).
// `convert` is the -trim choice. `path` empty: the track's own path.
int updateV1(ID3Tag& track, bool removeApe, bool keepDates, bool convert, const std::string& path = {});
int removeV1(ID3Tag& track, bool removeApe, bool keepDates, const std::string& path = {});
// True when an APE tag (with its header) stood before the version 1 record or at the end and
// was cut off together with everything after it.
bool removeApe(const ID3Tag& track, const std::string& path);

// `version` 0 chooses 2.3 or 2.4 from the fields; `mode` is the -tagtype mode. With `outPath`
// naming another file, the new file is written there and the track takes that path.
int updateV2(ID3Tag& track, bool trash, int version, bool keepDates, bool convert, int mode,
             const std::string& outPath = {});
int removeV2(ID3Tag& track, bool trash, bool keepDates, const std::string& path = {});

}  // namespace tagwick
