// One opened track: its kind, its version 1 record, its version 2 field set and its
// MPEG summary or AIFF sound parameters, loaded by open() in a fixed order.
#pragma once

#include <cstdint>
#include <string>

#include "base/bytes.h"
#include "base/files.h"
#include "base/file_reader.h"
#include "mpeg/mpeg_info.h"
#include "tags/id3v1.h"
#include "tags/id3v2_fields.h"

namespace tagwick {

class Tag {
public:
    virtual ~Tag() = default;
    virtual float frequencyKHz() const = 0;
    virtual float frequencyHz() const = 0;
};

class ID3Tag : public Tag {
public:
    ID3Tag() { reset(); }
    ~ID3Tag() override { v2.clear(); reset(); }
    ID3Tag(const ID3Tag&) = delete;
    ID3Tag& operator=(const ID3Tag&) = delete;

    float frequencyKHz() const override { return frequencyHz() / 1000.0f; }
    // MPEG: the sample rate of the first frame's version and rate index; AIFF: the COMM rate.
    float frequencyHz() const override;

    // Back to a fresh track: no kind, no path, empty tags and summary, default settings.
    void reset();
    // Decides the kind from the four characters at the last '.'; stores it when `track` is given.
    static bool kindFromPath(const char* path, ID3Tag* track);
    // Loads the track; returns the stream summary's result (non-zero for success), or 0.
    // A tag data file returns 0 even when it was read: kindCheckPassed tells that it opened.
    int open(const char* path, const ProgressCallback* progress = nullptr, bool checkWritable = false);
    // Hands the whole tag at `offset` (`size` bytes claimed, header included) to the version 2
    // reader. A tag that runs past the end of the file is refused with a message. Returns 1 when parsed.
    int loadTagAt(FileReader& file, uint64_t offset, uint64_t size);

    // Version 2.
    Id3v2Tag v2;
    bool v2Present = false;  // a version 2 tag was located and handed to the reader
    bool v2Found = false;
    int trackFormatFlag = 1;
    int tagTypeMode = 0;

    std::string path;
    std::string sizeText;
    uint32_t aiffTagOffset = 0;  // data offset of the "ID3 " chunk met by the chunk walk
    uint32_t aiffTagSize = 0;    // its data size (odd sizes rounded up)
    bool writable = true;
    bool v2TextConversion = true;
    bool isMp3 = false, isAiff = false, isTagDataFile = false;

    // Version 1.
    Id3v1Tag v1;
    bool v1Found = false;
    bool v1FromV2 = false;
    bool v2Modified = false;
    bool chunkAfterSound = true;
    bool ignoreAiffCorruption = true;

    MpegInfo mpeg;
    ScanMode scanMode = ScanMode::Full;
    std::string tagVersionText;
    int v2Minor = 0;

    // Set once the kind check of the first bytes passed (a tag data file counts as opened then).
    bool kindCheckPassed = false;
    uint64_t fileSize = 0;
    FileIdentity identity;  // the file that was opened
    // The AIFF sound parameters from the last COMM chunk of the walk.
    AiffCommon aiff;

private:
    // The tags, the summary and what the chunk walk found (the settings stay).
    void clearLoadedState();
};

// The frame sync scan of the kind check over the first 8192 bytes: a 0xFF byte followed by
// one with its top three bits set; an MP3 also needs bit 1 of that second byte, except when
// the scan stops right on a pair that failed only that test. `end` receives the position
// just past the accepted pair (or where the scan stopped).
bool scanForFrameSync(Bytes file, bool tagDataFile, size_t* end = nullptr);

}  // namespace tagwick
