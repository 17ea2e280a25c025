#include "export/track_rename.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <new>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

#include "base/files.h"
#include "base/logger.h"
#include "base/text.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

constexpr size_t NameLimit = 1023;
constexpr size_t ExtensionLimit = 9;
constexpr mode_t FolderMode = 0777;
constexpr useconds_t RetryPauseMicroseconds = 500;

void replaceEach(std::string& text, std::string_view characters) {
    for (char& c : text)
        if (characters.find(c) != std::string_view::npos) c = '_';
}

std::string trimmed(const std::string& text) {
    size_t begin = 0, end = text.size();
    while (begin < end && std::isspace(static_cast<unsigned char>(text[begin]))) ++begin;
    while (end > begin && std::isspace(static_cast<unsigned char>(text[end - 1]))) --end;
    return text.substr(begin, end - begin);
}

// A number of 1 or more that is set; nothing otherwise.
std::string numberOrNothing(uint16_t number) { return number == NumberNotSet ? std::string() : numberText(number); }

// The track number with as many digits as the total has (no padding without a total).
std::string paddedTrackNumber(const Id3v2Tag& tag) {
    if (tag.trackNumber == NumberNotSet || tag.trackNumber == 0) return {};
    int digits = tag.trackTotal == NumberNotSet ? 0 : int(format("%u", unsigned(tag.trackTotal)).size());
    return format("%0*u", digits, unsigned(tag.trackNumber));
}

// The year field; when it is empty, the year of the release time, else of the recording time.
std::string yearText(const Id3v2Tag& tag) {
    if (!tag.year.empty()) return tag.year.substr(0, 4);
    const OptText& time = tag.releaseTime && !tag.releaseTime->empty() ? tag.releaseTime : tag.recordingTime;
    return time ? time->utf8().substr(0, 4) : std::string();
}

// A frequency cut to whole units; nothing below 1.
std::string wholeFrequency(float value) { return value < 1.0f ? std::string() : format("%d", int(value)); }

std::string sequenceText(const ID3Tag& track, char letter, bool utf8) {
    const Id3v2Tag& tag = track.v2;
    const long long seconds = static_cast<long long>(track.mpeg.lengthSeconds);
    switch (letter) {
        case '%': return "%";
        case 'A': return nameField(tag.artist, utf8);
        case 'L': return nameField(tag.album, utf8);
        case 'T': return nameField(tag.title, utf8);
        case 'N': return numberOrNothing(tag.trackNumber);
        case 'n': return paddedTrackNumber(tag);
        case 'M': return numberOrNothing(tag.trackTotal);
        case 'Y': return yearText(tag);
        case 'B': return format("%d", int(track.mpeg.averageBitrate));
        case 'b': return format("%d", int(track.mpeg.averageBitrate * 1000));
        case 'S': return clockText(seconds, false, '.');
        case 's': return clockText(seconds, true, '.');
        case 'F': return wholeFrequency(track.frequencyKHz());
        case 'f': return wholeFrequency(track.frequencyHz());
        default: return {};
    }
}

// Folders named by a format, without empty parts: a sequence that gave nothing must not turn
// "%A/%L" into a folder at the root ("/Album") or leave a trailing '/'.
std::string formatFolder(std::string_view text) {
    std::string out;
    size_t at = 0;
    while (at <= text.size()) {
        size_t end = text.find('/', at);
        if (end == std::string_view::npos) end = text.size();
        if (end > at) {
            if (!out.empty()) out += '/';
            out.append(text.substr(at, end - at));
        }
        at = end + 1;
    }
    return out;
}

bool endsWithFolder(const std::string& path, const std::string& folder) {
    return path == folder || (path.size() > folder.size() && path.ends_with(folder) &&
                              path[path.size() - folder.size() - 1] == '/');
}

// The folder the track goes to: its own, or the one asked for when it exists or can be made.
std::string destinationFolder(const std::string& trackPath, const std::string& folder) {
    const std::string current = directoryPart(trackPath.c_str());
    if (folder.empty()) return current;
    std::string wanted = current;
    if (folder.front() == '/') wanted = folder;
    else if (!endsWithFolder(current, folder)) wanted = current + "/" + folder;
    if (makeDirectories(wanted.c_str(), FolderMode) != 0 || !isDirectory(wanted.c_str())) return current;
    return wanted;
}

std::string todayPrefix() {
    std::time_t now = std::time(nullptr);
    std::tm local {};
    localtime_r(&now, &local);
    return format("%04d%02d%02d-", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
}

// Renames without ever replacing a file at `to`; 0 or the error number.
int renameWithoutReplacing(const std::string& from, const std::string& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    const int error = errno;
    if (error != EINVAL && error != ENOSYS && error != ENOTSUP) return error;
    // A file system that cannot refuse in the rename: a new link never replaces either.
    if (link(from.c_str(), to.c_str()) != 0) {
        const int linkError = errno;
        if (linkError != EPERM && linkError != ENOTSUP) return linkError;
        // Nor links: a plain rename, when nothing is there a moment before.
        struct stat info {};
        if (lstat(to.c_str(), &info) == 0) return EEXIST;
        return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
    }
    if (unlink(from.c_str()) == 0) return 0;
    const int unlinkError = errno;
    unlink(to.c_str());
    return unlinkError;
}

// Renaming a track is tried once more after a short pause; a taken name is not.
int renameTrackFile(const std::string& from, const std::string& to) {
    int error = renameWithoutReplacing(from, to);
    if (error == 0 || error == EEXIST) return error;
    usleep(RetryPauseMicroseconds);
    return renameWithoutReplacing(from, to);
}

}  // namespace

std::string nameField(const OptText& value, bool utf8) {
    if (!value) return {};
    std::string text = trimmed(utf8 ? value->utf8() : toSingleByte(*value, 2));
    replaceEach(text, "<>:\"/\\|?*");
    return text;
}

std::string expandNameFormat(const ID3Tag& track, std::string_view format, bool utf8) {
    format = format.substr(0, NameLimit);
    std::string out;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') {
            out += format[i];
            continue;
        }
        // The character after '%' goes with it, also when the sequence gives nothing.
        if (++i < format.size()) out += sequenceText(track, format[i], utf8);
    }
    replaceEach(out, "<>:\"\\|?*");
    if (out.size() > NameLimit) out.resize(NameLimit);
    return out;
}

namespace {

bool placeByTag(ID3Tag& track, bool withTrackNumber, bool datePrefix, bool toFolder, bool utf8,
                std::string_view format) {
    if (!format.empty()) {
        std::string name = expandNameFormat(track, format, utf8);
        const size_t slash = name.find_last_of('/');
        if (slash == std::string::npos) return moveTrack(track, datePrefix, 0, name, "");
        return moveTrack(track, datePrefix, 0, name.substr(slash + 1), formatFolder(name.substr(0, slash)));
    }
    const Id3v2Tag& tag = track.v2;
    std::string folder;
    if (toFolder) {
        std::string artist = nameField(tag.artist, utf8), album = nameField(tag.album, utf8);
        if (!artist.empty() && !album.empty()) folder = artist + "/" + album;
    }
    const bool numbered = withTrackNumber && tag.trackNumber >= 1 && tag.trackNumber < NumberNotSet;
    return moveTrack(track, datePrefix, numbered ? tag.trackNumber : 0, nameField(tag.title, utf8), folder);
}

}  // namespace

bool renameByTag(ID3Tag& track, bool withTrackNumber, bool datePrefix, bool toFolder, bool utf8,
                 std::string_view format) {
    try {
        return placeByTag(track, withTrackNumber, datePrefix, toFolder, utf8, format);
    } catch (const std::bad_alloc&) {
        Logger::log(LogError, "Failed to rename the file");
        return false;
    }
}

bool moveTrack(ID3Tag& track, bool datePrefix, int trackNumber, const std::string& newName,
               const std::string& folder) {
    if (track.path.empty() || newName.empty()) return false;
    std::string destination = destinationFolder(track.path, folder);
    if (!destination.ends_with('/')) destination += '/';
    if (datePrefix) destination += todayPrefix();
    if (trackNumber != 0) destination += format("%02d-", trackNumber);
    destination += newName;
    if (std::string extension = fileExtension(track.path.c_str()); !extension.empty())
        destination.append(".").append(extension, 0, ExtensionLimit);
    if (destination.size() > NameLimit) destination.resize(NameLimit);

    if (destination == track.path || sameFile(destination, track.path)) return true;
    std::optional<std::string> freeName = uniqueFileName(destination.c_str());
    // With every numbered name taken the track keeps its name.
    if (!freeName) return true;
    // The caller reports a failed move by its status alone.
    if (renameTrackFile(track.path, *freeName) != 0) return false;
    track.path = *freeName;
    return true;
}

}  // namespace tagwick
