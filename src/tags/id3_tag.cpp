// Opening a track: the kind from the file name, the kind check of the first bytes, then the
// version 1 record, the version 2 tag and the audio summary, always in this order.
//
// The file is read through one buffered reader per open: a small track in one read, a large
// one a window at a time, and a chunk that claims more bytes than the file holds costs nothing.
#include "tags/id3_tag.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include <sys/stat.h>

#include "base/files.h"
#include "base/logger.h"
#include "base/safe_replace.h"
#include "base/text.h"
#include "tags/aiff_chunks.h"
#include "tags/id3v2_reader.h"

namespace tagwick {

namespace {

constexpr size_t SyncScanLimit = 8192;

void report(const ProgressCallback* progress, const char* message, int percent) {
    if (progress && *progress) (*progress)(message, percent);
}

// Byte `at` of the file, or 0 past its end (a short read leaves the buffer's zeros).
uint8_t byteAt(Bytes file, size_t at) { return at < file.size() ? file[at] : 0; }

bool textAtNoCase(Bytes file, size_t at, std::string_view text) {
    return hasBytes(file, at, text.size()) && equalsNoCase(asText(file.subspan(at, text.size())), text);
}

enum class KindCheck { Accepted, NotAiff, Mp4, NotMp3 };

// The first bytes must fit the kind the name promised. `streamPosition` receives where a
// stream reader would stand afterwards: 0 after a rewind, else just past the accepted pair.
KindCheck checkFirstBytes(Bytes file, const ID3Tag& track, uint64_t* streamPosition) {
    *streamPosition = 0;
    if (track.isAiff) return textAtNoCase(file, 0, "FORM") ? KindCheck::Accepted : KindCheck::NotAiff;
    if (textAtNoCase(file, 0, "ID3")) return KindCheck::Accepted;
    if (textAtNoCase(file, 4, "ftyp")) return KindCheck::Mp4;
    size_t end = 0;
    if (!scanForFrameSync(file, track.isTagDataFile, &end)) return KindCheck::NotMp3;
    *streamPosition = end;
    return KindCheck::Accepted;
}

void logRefusal(KindCheck check, Bytes file) {
    uint8_t b0 = byteAt(file, 0), b1 = byteAt(file, 1), b2 = byteAt(file, 2), b3 = byteAt(file, 3);
    switch (check) {
        case KindCheck::NotAiff:
            Logger::log(LogError, "File is not a valid AIFF file (0x%02X%02X%02X%02X)", b0, b1, b2, b3);
            break;
        case KindCheck::Mp4: Logger::log(LogError, "File appears to be an MP4 not a valid MP3 file"); break;
        case KindCheck::NotMp3:
            Logger::log(LogError, "File is not a valid MP3 file (0x%02X%02X%02X%02X)", b0, b1, b2, b3);
            break;
        case KindCheck::Accepted: break;
    }
}

}  // namespace

bool scanForFrameSync(Bytes file, bool tagDataFile, size_t* end) {
    size_t scanned = file.size() < SyncScanLimit ? file.size() : SyncScanLimit;
    if (end) *end = scanned;
    auto isSyncPair = [&](size_t second) { return file[second - 1] == 0xFF && (file[second] & 0xE0) == 0xE0; };
    for (size_t i = 1; i < scanned; ++i) {
        if (!isSyncPair(i)) continue;
        // An MP3 needs the low layer bit (layer I or III); a tag data file takes any pair.
        if (tagDataFile || (file[i] & 0x02) != 0) {
            if (end) *end = i + 1;
            return true;
        }
    }
    // A scan that stops right on a pair that failed the layer test accepts the file all the same.
    return scanned >= 2 && isSyncPair(scanned - 1);
}

float ID3Tag::frequencyHz() const {
    if (isAiff) return float(aiff.sampleRate);
    if (mpeg.versionCode > VersionMpeg1 || mpeg.frequency > 3) return 0.0f;
    return sampleRateFor(mpeg.versionCode, mpeg.frequency);
}

void ID3Tag::reset() {
    isMp3 = isAiff = isTagDataFile = false;
    path.clear();
    sizeText.clear();
    fileSize = 0;
    identity = {};
    trackFormatFlag = 1;
    clearLoadedState();
    ignoreAiffCorruption = true;
    writable = true;
    v2TextConversion = true;
    chunkAfterSound = true;
    kindCheckPassed = false;
}

void ID3Tag::clearLoadedState() {
    v1Found = false;
    v1.clear();  // track and genre back to 255
    v2.clear();
    v2Present = false;
    v2Found = false;
    v2Minor = 0;
    mpeg.reset();
    aiff = AiffCommon{};
    aiffTagOffset = 0;
    aiffTagSize = 0;
    tagVersionText.clear();
}

bool ID3Tag::kindFromPath(const char* path, ID3Tag* track) {
    const char* dot = path ? std::strrchr(path, '.') : nullptr;
    // Exactly four characters from the last '.': ".aiff" is AIFF, ".mp3x" MP3, ".mp3.bak" nothing.
    auto is = [&](const char* extension) {
        return dot && std::strlen(dot) >= 4 && compareNoCase(dot, extension, 4) == 0;
    };
    bool tagData = is(".tdf"), mp3 = is(".mp3"), aiffKind = is(".aif");
    if (track) {
        track->isTagDataFile = tagData;
        track->isMp3 = mp3;
        track->isAiff = aiffKind;
    }
    return tagData || mp3 || aiffKind;
}

int ID3Tag::loadTagAt(FileReader& file, uint64_t offset, uint64_t size) {
    // The whole tag must be there: a read that ends early at the end of the file (which sets
    // no error number) hands nothing to the reader.
    std::vector<uint8_t> tag;
    if (offset <= file.size() && size <= file.size() - offset) tag = file.readRange(offset, size);
    if (tag.size() != size) {
        Logger::log(LogError, "Failed to load the tag data (error: %s)", errorText(file.error()).c_str());
        return 0;
    }
    V2ParseOutcome outcome = parseV2(v2, tag, V2ReadSettings{tagTypeMode, v2TextConversion});
    v2Minor = outcome.minor;
    v2Found = outcome.found;
    return 1;
}

int ID3Tag::open(const char* filePath, const ProgressCallback* progress, bool checkWritable) {
    writable = true;
    if (!kindFromPath(filePath, this)) return 0;
    Logger::log(LogProgress, "Opening ID3 track: %s", filePath);
    if (checkWritable) writable = !isWriteProtected(filePath);

    kindCheckPassed = false;
    FileReader file;
    if (!file.open(filePath)) {
        int error = errno;
        // A folder opens for reading but holds no bytes of a track: it reads as none at all.
        struct stat info {};
        if (::stat(filePath, &info) != 0 || !S_ISDIR(info.st_mode)) {
            Logger::log(LogError, "Failed to open the file '%s' for reading (error: %s)", filePath,
                        errorText(error).c_str());
            return 0;
        }
    }

    uint64_t position = 0;
    const Bytes head = file.view(0, SyncScanLimit);
    KindCheck check = checkFirstBytes(head, *this, &position);
    if (check != KindCheck::Accepted) {
        logRefusal(check, head);
        return 0;
    }
    kindCheckPassed = true;

    int result = 0;
    try {
        path = filePath;
        report(progress, "Starting...", 0);
        clearLoadedState();
        fileSize = file.size();
        identity = file.identity();

        if (isAiff) {
            AiffForm form = readAiffForm(file.view(0, AiffFormHeaderSize));
            if (uint64_t(form.formSize) + 8 != fileSize) {
                Logger::log(LogWarning, "Size in header is not consistent with file size (%lu <> %lu - 8)%s",
                            static_cast<unsigned long>(form.formSize), static_cast<unsigned long>(fileSize),
                            ignoreAiffCorruption ? " (ignoring...)" : "");
                if (!ignoreAiffCorruption) return 0;
            }
            position = std::min<uint64_t>(fileSize, AiffFormHeaderSize);
            if (form.known) {
                Logger::log(LogProgress, "%sAIFF header found", form.compressed ? "Compressed " : "");
                AiffWalk walk = walkAiffChunks(file, AiffFormHeaderSize);
                position = walk.position;
                if (walk.id3Found) {
                    aiffTagOffset = uint32_t(walk.position);
                    aiffTagSize = walk.id3Size;
                }
                if (walk.commFound) aiff = walk.common;
            }
        }

        if (isMp3) {
            report(progress, "Loading V1...", 20);
            readV1(*this, file);
        }

        // An MP3's tag is looked for at the start; AIFF and tag data files where the stream stands.
        const uint64_t tagStart = isMp3 ? 0 : position;
        uint64_t audioStart = 0;
        uint32_t tagSize = tagSizeFromHeader(file.view(tagStart, 10));
        if (tagSize != 0) {
            report(progress, "Loading V2...", 40);
            loadTagAt(file, tagStart, tagSize);
            v2Present = true;
            audioStart = std::min<uint64_t>(tagSize, file.size());
        }
        buildVersionLabel(*this, v2Minor);
        sizeText = tagwick::sizeText(static_cast<long long>(fileSize));

        report(progress, "Parsing...", 70);
        if (isMp3 && scanMode == ScanMode::TagsOnly) result = 1;
        else if (isMp3) result = loadMpegInfo(mpeg, file, audioStart, scanMode, progress, filePath) ? 1 : 0;
        else if (isAiff) result = loadAiffInfo(mpeg, aiff) ? 1 : 0;
        report(progress, "Finished", 90);
    } catch (...) {
        Logger::log(LogError, "Failed to open the ID3 data in the file '%s'", filePath);
    }
    return result;
}

}  // namespace tagwick
