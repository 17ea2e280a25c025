// One opened track: its kind, its version 1 record, its version 2 field set and its
// MPEG summary or AIFF sound parameters, loaded by open() in a fixed order.
#pragma once

#include <cstdint>
#include <string>

#include "base/bytes.h"
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
    float frequencyHz() const override;

    void reset();
    // Decides the kind from the four characters at the last '.'; stores it when `track` is given.
    static bool kindFromPath(const char* path, ID3Tag* track);
    // Loads the track; returns the stream summary's result (non-zero for success), or 0.
    int open(const char* path, const ProgressCallback* progress = nullptr, bool checkWritable = false);

    // Version 2.
    Id3v2Tag v2;
    bool v2Present = false;  // a version 2 tag was located and handed to the reader
    bool v2Found = false;
    int trackFormatFlag = 0;
    int tagTypeMode = 0;
    bool textConversion = true;

    std::string path;
    std::string sizeText;
    uint32_t aiffTagOffset = 0;
    uint32_t aiffTagSize = 0;
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
    bool spareFlag = false;

    MpegInfo mpeg;
    ScanMode scanMode = ScanMode::Full;
    std::string tagVersionText;
    int v2Minor = 0;

    // Set once the kind check of the first bytes passed (a tag data file counts as opened then).
    bool kindCheckPassed = false;
    uint64_t fileSize = 0;
};

}  // namespace tagwick
