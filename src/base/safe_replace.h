// Putting an updated track in the place of the original: the temporary file beside it, the
// replacement itself, the kept file dates (-kd), the copy in the user's trash (-trash) and the
// write check made when a track is opened.
#pragma once

#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>

#include "base/files.h"

namespace tagwick {

// Access and modification times of a file, kept to the nanosecond. `status` is 0 when they
// were read, else the error number of the failed stat.
struct FileDates {
    struct timespec accessed {};
    struct timespec modified {};
    int status = -1;
};

FileDates saveFileDates(const char* path);
// Gives the dates back; does nothing and returns the record's status when they were not read.
// Returns 0 or the error number (after "Failed to copy the file dates to the updated file ...").
int restoreFileDates(const char* path, const FileDates& dates);

// True when the file cannot be opened for reading and writing; a refusal other than EPERM is
// logged.
bool isWriteProtected(const char* path);

// The file a save replaces for `path`: a symbolic link is followed to the file it points to, so
// that the link stays a link; any other path is itself.
std::string fileBehindLink(const std::string& path);

// A new file beside the file behind `path` (fileBehindLink): the first free name of
// "<file>.t0" .. "<file>.t99", created exclusively with the given permission bits and, where the
// process may set them, the given owner and group. The file is removed when the object goes
// away unless keep() was called (after it was renamed into place).
class SiblingTempFile {
public:
    SiblingTempFile() = default;
    SiblingTempFile(SiblingTempFile&& other) noexcept;
    SiblingTempFile& operator=(SiblingTempFile&& other) noexcept;
    ~SiblingTempFile();
    SiblingTempFile(const SiblingTempFile&) = delete;
    SiblingTempFile& operator=(const SiblingTempFile&) = delete;

    // Invalid when no name is free or the create failed (errno tells why; name() holds the last
    // name tried).
    static SiblingTempFile create(const std::string& path, mode_t mode, uid_t owner = uid_t(-1),
                                  gid_t group = gid_t(-1));

    bool valid() const { return fd_.valid(); }
    int fd() const { return fd_.get(); }
    const std::string& name() const { return name_; }
    // Closes the descriptor, reporting a failed close (data that never reached the file).
    bool close();
    // The file was put in place under another name: nothing to remove any more.
    void keep() { name_.clear(); }

private:
    void takeOwnerAndMode(uid_t owner, gid_t group, mode_t mode);

    UniqueFd fd_;
    std::string name_;
    bool created_ = false;
};

// Puts `temporaryPath` in the place of the file behind `targetPath` in one rename, so that the
// track is never missing: a process killed at any moment leaves the old file or the new one.
// With `toTrash`, a copy of the original goes to the user's trash first (a failed copy only
// logs). The target must still exist. Logs its failures; the caller removes the temporary file when this fails.
bool replaceWithTemporary(const char* temporaryPath, const char* targetPath, bool toTrash);

// Copies `source` to (the file behind) `destination` through a temporary file beside it that is
// renamed over it once complete, so a failed copy never leaves half a file. Returns -1 on
// success, else the error number.
int copyFileReplacing(const char* source, const char* destination);

// Copies `path` into the user's trash under a free name; returns -1 on success or the copy's
// error number ("Error moving the original to the trash (%d)" is the caller's message).
int copyToTrash(const char* path);

}  // namespace tagwick
