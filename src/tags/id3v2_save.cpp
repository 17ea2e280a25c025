// The version 2 tag written or removed through a complete new file: the new tag (or none) and
// then the audio data copied behind it into a temporary file beside the track, which takes the
// track's place in one rename once every byte has been written; then the file is read back.
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/file_reader.h"
#include "base/file_writer.h"
#include "base/logger.h"
#include "base/safe_replace.h"
#include "base/text.h"
#include "tags/aiff_container.h"
#include "tags/id3_tag.h"
#include "tags/id3v1.h"
#include "tags/id3v2_compare.h"
#include "tags/id3v2_reader.h"
#include "tags/id3v2_writer.h"
#include "tags/track_save.h"

namespace tagwick {

namespace {

constexpr size_t TagHeaderSize = 10;
constexpr int HighestMode = 2;

// A new file beside the track (or the output file) with the track's permissions, owner and group.
SiblingTempFile newFileLike(const std::string& path, int originalFd) {
    struct stat info {};
    if (::fstat(originalFd, &info) != 0) return SiblingTempFile::create(path, 0644);
    return SiblingTempFile::create(path, info.st_mode & 07777, info.st_uid, info.st_gid);
}

// Where the audio data begins: after the tag at the file's start, never past the end.
uint64_t audioOffset(FileReader& source) {
    const uint64_t tagSize = tagSizeFromHeader(source.view(0, TagHeaderSize));
    return std::min<uint64_t>(tagSize, source.size());
}

// Every failed save of a version 2 tag ends with this line.
constexpr const char* NotAltered = "NOTE: the original file has not been altered.";

void logNotAltered(const char* what) {
    Logger::log(LogError, "%s", what);
    Logger::log(LogError, "%s", NotAltered);
}

// A track that its owner made read-only is not replaced, although its folder would allow it.
bool refusesChanges(const std::string& path) {
    if (!isWriteProtected(path.c_str())) return false;
    Logger::log(LogError, "%s", NotAltered);
    return true;
}

// A named output file gets the new file in one rename as well, so a failed save never leaves
// half of it there.
bool moveIntoPlace(const std::string& temporary, const std::string& outPath) {
    if (std::rename(temporary.c_str(), fileBehindLink(outPath).c_str()) == 0) return true;
    Logger::log(LogError, "Failed to replace the temporary file from '%s' to '%s' (%d)", temporary.c_str(),
                outPath.c_str(), errno);
    return false;
}

// The new tag, then everything after the old one.
int writeTaggedCopy(const ID3Tag& track, FileReader& source, FileWriter& out, const std::string& outName, int version,
                    bool convert, int mode) {
    const std::vector<uint8_t> tag = buildV2Tag(track, version, convert, mode);
    if (tag.empty() || !out.write(tag)) return TagNotWritten;
    const uint64_t audio = audioOffset(source);
    if (!out.copyFrom(source.fd(), audio, source.size() - audio)) {
        Logger::log(LogError, "Failed to copy the MPEG data to the output file '%s'", outName.c_str());
        return AudioNotCopied;
    }
    return TagSaved;
}

// Reads the saved file into a second track and compares the version 2 fields.
int verifyV2(const ID3Tag& track, int version) {
    ID3Tag second;
    second.tagTypeMode = track.tagTypeMode;
    second.ignoreAiffCorruption = track.ignoreAiffCorruption;
    second.scanMode = ScanMode::TagsOnly;
    second.open(track.path.c_str());
    if (!second.kindCheckPassed) return TagSaved;
    const int code = compareV2(track, second, version);
    if (code == 0) return TagSaved;
    const std::string_view label = fieldLabel(code);
    Logger::log(LogError, "Failed to verify the saved V2 tag data in '%s' (%d:%.*s)", track.path.c_str(), code,
                int(label.size()), label.data());
    return VerificationFailed;
}

}  // namespace

int updateV2(ID3Tag& track, bool trash, int version, bool keepDates, bool convert, int mode,
             const std::string& givenOutPath) {
    if (version == 0) version = chooseV2Version(track);
    if (mode > HighestMode) mode = 0;
    std::string outPath = givenOutPath;
    if (!outPath.empty() && (outPath == track.path || sameFile(outPath, track.path))) outPath.clear();
    if (track.path.empty()) return NothingToDo;
    Logger::log(LogProgress, "Updating V2 to track: %s", (outPath.empty() ? track.path : outPath).c_str());
    const FileDates dates = saveFileDates(track.path.c_str());

    FileReader source;
    if (!source.open(track.path.c_str())) {
        Logger::log(LogError, "Failed to open the source for read only (error: %s)", errorText(errno).c_str());
        Logger::log(LogError, "%s", NotAltered);
        return SourceNotOpenable;
    }
    if (refusesChanges(track.path)) return SourceNotOpenable;
    // The new file is made beside the track, or beside the output file when one is named.
    SiblingTempFile output = newFileLike(outPath.empty() ? track.path : outPath, source.fd());
    if (!output.valid()) {
        Logger::log(LogError, "Failed to open the output file '%s' (error: %s)",
                    (outPath.empty() ? output.name() : outPath).c_str(), errorText(errno).c_str());
        Logger::log(LogError, "%s", NotAltered);
        return OutputNotOpenable;
    }

    int status = TagSaved;
    {
        FileWriter out(output.fd());
        if (track.isAiff) status = writeAiffWithTag(track, source, out, version, convert, mode);
        else status = writeTaggedCopy(track, source, out, output.name(), version, convert, mode);
        if (status == TagSaved && !out.flush()) status = AudioNotCopied;
    }
    if (!output.close() && status == TagSaved) status = AudioNotCopied;
    if (status != TagSaved) {
        logNotAltered("An error occurred saving the version 2 tag data.");
        return status;
    }
    // Copied: the read-back takes over the reader's buffer.
    source.close();

    const bool placed = outPath.empty() ? replaceWithTemporary(output.name().c_str(), track.path.c_str(), trash)
                                        : moveIntoPlace(output.name(), outPath);
    if (!placed) {
        Logger::log(LogError, "%s", NotAltered);
        return ReplacementFailed;
    }
    output.keep();
    if (!outPath.empty()) track.path = outPath;
    track.writable = false;
    // The dates go back after the read-back, which would otherwise leave its access time.
    const int verified = verifyV2(track, version);
    if (keepDates) restoreFileDates(track.path.c_str(), dates);
    return verified;
}

int removeV2(ID3Tag& track, bool trash, bool keepDates, const std::string& givenPath) {
    const std::string path = givenPath.empty() ? track.path : givenPath;
    if (path.empty()) return NothingToDo;
    Logger::log(LogProgress, "Removing V2 from track: %s", path.c_str());
    const FileDates dates = saveFileDates(path.c_str());

    FileReader source;
    if (!source.open(path.c_str())) {
        Logger::log(LogError, "Failed to open the file '%s' for reading to remove the version 2 tag (error: %s)",
                    path.c_str(), errorText(errno).c_str());
        Logger::log(LogError, "%s", NotAltered);
        return SourceNotOpenable;
    }
    if (refusesChanges(path)) return SourceNotOpenable;
    SiblingTempFile temporary = newFileLike(path, source.fd());
    if (!temporary.valid()) {
        Logger::log(LogError, "Failed to open the temporary file to remove the version 2 tag (error: %s)",
                    errorText(errno).c_str());
        Logger::log(LogError, "%s", NotAltered);
        return OutputNotOpenable;
    }

    int status = TagSaved;
    {
        FileWriter out(temporary.fd());
        if (track.isAiff) {
            status = writeAiffWithoutTag(track, source, out);
        } else {
            const uint64_t audio = audioOffset(source);
            if (!out.copyFrom(source.fd(), audio, source.size() - audio)) status = AudioNotCopied;
        }
        if (status == TagSaved && !out.flush()) status = AudioNotCopied;
    }
    if (!temporary.close() && status == TagSaved) status = AudioNotCopied;
    if (status != TagSaved) {
        logNotAltered("An error occurred saving the file without the version 2 tag data.");
        return status;
    }
    if (!replaceWithTemporary(temporary.name().c_str(), path.c_str(), trash)) {
        Logger::log(LogError, "%s", NotAltered);
        return ReplacementFailed;
    }
    temporary.keep();
    if (keepDates) restoreFileDates(path.c_str(), dates);
    return TagSaved;
}

}  // namespace tagwick
