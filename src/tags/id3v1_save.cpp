// The version 1 record written or cut off in place: the record is built whole first, then put
// at the end of the file with one write (or the file is cut by 128 bytes), and read back.
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "base/bytes.h"
#include "base/files.h"
#include "base/logger.h"
#include "base/safe_replace.h"
#include "base/text.h"
#include "tags/id3_tag.h"
#include "tags/id3v1.h"
#include "tags/id3v1_writer.h"
#include "tags/track_save.h"

namespace tagwick {

namespace {

std::string pathFor(const ID3Tag& track, const std::string& path) { return path.empty() ? track.path : path; }

// The last 128 bytes of the file; nullopt when it is shorter or the read fails.
std::optional<V1Record> lastRecord(int fd, int64_t length) {
    V1Record record{};
    if (length < int64_t(Id3v1Size) || readAt(fd, uint64_t(length) - Id3v1Size, record) != Id3v1Size)
        return std::nullopt;
    return record;
}

bool holdsV1(const std::optional<V1Record>& record) {
    return record && startsWith(*record, 0, "TAG");
}

// The record over the old one, or appended; 5 when it could not be written whole.
int writeV1(int fd, const V1Record& record) {
    const int64_t length = ::lseek(fd, 0, SEEK_END);
    if (length < 0) return TagNotWritten;
    const int64_t at = holdsV1(lastRecord(fd, length)) ? length - int64_t(Id3v1Size) : length;
    if (::pwrite(fd, record.data(), record.size(), off_t(at)) != ssize_t(record.size())) return TagNotWritten;
    return TagSaved;
}

// The record as a reading of it gives it: a second track holding `record`.
void readRecordInto(ID3Tag& reading, const std::string& path, Bytes record) {
    ID3Tag::kindFromPath(path.c_str(), &reading);
    if (!startsWith(record, 0, "TAG")) return;
    parseV1(reading, record);
    reading.v1.enabled = true;
}

// Reads the record back and compares it with the record that was written, both read by the
// same rules (so that a genre of 255, written as it is and read as 12, is no difference). The
// written side keeps the track's loaded state, whose difference the comparison reports.
// A file that cannot be opened again counts as saved.
int verifyV1(const ID3Tag& track, const V1Record& written, const std::string& path) {
    UniqueFd fd(openLeavingAccessTime(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.valid()) return TagSaved;
    const auto stored = lastRecord(fd.get(), ::lseek(fd.get(), 0, SEEK_END));
    ID3Tag expected, actual;
    readRecordInto(expected, path, written);
    expected.v1Found = track.v1Found;
    if (stored) readRecordInto(actual, path, *stored);
    const int code = compareV1(expected, actual);
    if (code == 0) return TagSaved;
    const std::string_view label = fieldLabel(code);
    Logger::log(LogError, "Failed to verify the saved V1 tag data in '%s' (%d:%.*s)", path.c_str(), code,
                int(label.size()), label.data());
    return VerificationFailed;
}

}  // namespace

int updateV1(ID3Tag& track, bool removeApeFirst, bool keepDates, bool convert, const std::string& givenPath) {
    const std::string path = pathFor(track, givenPath);
    if (!track.isMp3 || path.empty()) return NothingToDo;
    Logger::log(LogProgress, "Updating ID3 V1 to track: %s", path.c_str());
    const FileDates dates = saveFileDates(path.c_str());
    // Cutting off an APE tag takes the old record with it, and this update then ends: the new
    // record is not written by this call.
    if (removeApeFirst && removeApe(track, path)) return TagSaved;

    UniqueFd fd(openLeavingAccessTime(path.c_str(), O_RDWR | O_CLOEXEC));
    if (!fd.valid()) {
        Logger::log(LogError, "Failed to open the file '%s' for writing (error: %s)", path.c_str(),
                    errorText(errno).c_str());
        return SourceNotOpenable;
    }
    const V1Record record = buildV1Record(track, convert);
    int result = writeV1(fd.get(), record);
    if (!fd.close() && result == TagSaved) result = TagNotWritten;
    if (result != TagSaved) return result;
    // The dates go back after the read-back, which would otherwise leave its access time.
    const int verified = verifyV1(track, record, path);
    if (keepDates) restoreFileDates(path.c_str(), dates);
    return verified;
}

int removeV1(ID3Tag& track, bool removeApeFirst, bool keepDates, const std::string& givenPath) {
    const std::string path = pathFor(track, givenPath);
    if (!track.isMp3 || path.empty()) return NothingToDo;
    Logger::log(LogProgress, "Removing V1 from track: %s", path.c_str());
    const FileDates dates = saveFileDates(path.c_str());
    if (removeApeFirst && removeApe(track, path)) return TagSaved;

    UniqueFd fd(openLeavingAccessTime(path.c_str(), O_RDWR | O_CLOEXEC));
    if (!fd.valid()) {
        Logger::log(LogError, "Failed to open the file '%s' to remove the version 1 tag (error: %s)", path.c_str(),
                    errorText(errno).c_str());
        return SourceNotOpenable;
    }
    int result = TagSaved;
    const int64_t length = ::lseek(fd.get(), 0, SEEK_END);
    if (holdsV1(lastRecord(fd.get(), length)) && ::ftruncate(fd.get(), off_t(length - int64_t(Id3v1Size))) != 0)
        result = TruncationFailed;
    if (!fd.close() && result == TagSaved) result = TruncationFailed;
    if (keepDates) restoreFileDates(path.c_str(), dates);
    return result;
}

}  // namespace tagwick
