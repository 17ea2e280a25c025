// Track information for -d, -m [novbr], -imd and the default run: the tags, the file
// information and the image details of one track, printed on standard output.
#pragma once

#include <cstdio>

namespace tagwick {

class ID3Tag;

struct DisplayOptions {
    bool showTags = false;              // -d
    bool showFileInfo = false;          // -m
    bool vbrScan = true;                // cleared by "-m novbr": the summary only probes the stream
    bool showImages = false;            // -imd
    bool ignoreAiffCorruption = false;  // -iac
};

// Opens `path` and prints "Track information for ..." and the blocks asked for. A track that
// cannot be opened gets "Failed to read the information from the file ..." instead. Returns
// whether the track opened; the run does not turn this into a status.
bool displayTrack(const char* path, const DisplayOptions& options);

// The printing half, for a track that is already open. Everything goes to `out`.
void printTrackInfo(FILE* out, const ID3Tag& track, const DisplayOptions& options);
void printTagBlocks(FILE* out, const ID3Tag& track);
void printFileInfo(FILE* out, const ID3Tag& track);
void printImageDetails(FILE* out, const ID3Tag& track);

// " label: " then the value and a line feed; a null value leaves just " label: " and the line feed.
void printLabelled(FILE* out, const char* label, const char* value);

}  // namespace tagwick
