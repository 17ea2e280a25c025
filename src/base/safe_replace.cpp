// Replacing a track by its updated copy. The copy is always complete before the original is
// touched, and the switch is one rename, so an interrupted save leaves one of the two whole.
#include "base/safe_replace.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

#include "base/file_reader.h"
#include "base/file_writer.h"
#include "base/logger.h"
#include "base/text.h"
#include "base/user_name.h"

namespace tagwick {

namespace {

constexpr int SiblingTempCount = 100;
constexpr useconds_t RetryPauseMicroseconds = 500;
constexpr size_t TrashPathLimit = 1023;

bool pathExists(const char* path) {
    struct stat info {};
    return ::lstat(path, &info) == 0;
}

// "%XX" for every byte but the unreserved ones and '/', as trash info files want their paths.
std::string percentEncoded(std::string_view path) {
    static const char* const Hex = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : path) {
        bool plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
                     c == '_' || c == '.' || c == '~' || c == '/';
        if (plain) {
            out += char(c);
        } else {
            out += '%';
            out += Hex[c >> 4];
            out += Hex[c & 15];
        }
    }
    return out;
}

std::string absolutePath(const char* path) {
    char* resolved = ::realpath(path, nullptr);
    if (!resolved) return path;
    std::string out(resolved);
    std::free(resolved);
    return out;
}

// The user's desktop trash: $XDG_DATA_HOME/Trash, else ~/.local/share/Trash.
std::string freedesktopTrash() {
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    if (dataHome && dataHome[0] == '/') return std::string(dataHome) + "/Trash";
    const char* home = std::getenv("HOME");
    if (!home || !*home) return {};
    return std::string(home) + "/.local/share/Trash";
}

// The copy plus the info file that tells the desktop where the file came from.
int copyToFreedesktopTrash(const char* path, const std::string& trash) {
    const std::string files = trash + "/files";
    const std::string info = trash + "/info";
    if (makeDirectories(files.c_str(), 0700) != 0 || makeDirectories(info.c_str(), 0700) != 0) return errno ? errno : ENOENT;
    std::optional<std::string> target = uniqueFileName((files + "/" + fileNamePart(path)).c_str());
    if (!target) return CopyOk;  // no free name: no copy, silently
    const std::string original = absolutePath(path);
    int result = copyFile(path, target->c_str());
    if (result != CopyOk) {
        ::unlink(target->c_str());
        return result;
    }
    char date[32];
    const time_t now = ::time(nullptr);
    struct tm local {};
    ::localtime_r(&now, &local);
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    const std::string infoPath = info + "/" + fileNamePart(target->c_str()) + ".trashinfo";
    const std::string text = "[Trash Info]\nPath=" + percentEncoded(original) + "\nDeletionDate=" + date + "\n";
    UniqueFile stream(std::fopen(infoPath.c_str(), "wb"));
    if (!stream || std::fwrite(text.data(), 1, text.size(), stream.get()) != text.size() || !stream.close()) {
        const int error = errno ? errno : EIO;
        ::unlink(infoPath.c_str());
        return error;
    }
    return CopyOk;
}

}  // namespace

std::string fileBehindLink(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return path;
    return absolutePath(path.c_str());
}

FileDates saveFileDates(const char* path) {
    FileDates dates;
    struct stat info {};
    if (!path || ::stat(path, &info) != 0) {
        dates.status = path ? errno : ENOENT;
        return dates;
    }
    dates.accessed = info.st_atim;
    dates.modified = info.st_mtim;
    dates.status = 0;
    return dates;
}

int restoreFileDates(const char* path, const FileDates& dates) {
    if (dates.status != 0) return dates.status;
    const struct timespec times[2] = {dates.accessed, dates.modified};
    if (::utimensat(AT_FDCWD, path, times, 0) == 0) return 0;
    const int error = errno;
    Logger::log(LogError, "Failed to copy the file dates to the updated file '%s' (%d)", path, error);
    return error;
}

bool isWriteProtected(const char* path) {
    FILE* stream = std::fopen(path, "rb+");
    if (stream) {
        std::fclose(stream);
        return false;
    }
    const int error = errno;
    if (error != EPERM) Logger::log(LogError, "Open file write check error: %s (%d)", errorText(error).c_str(), error);
    return true;
}

SiblingTempFile::SiblingTempFile(SiblingTempFile&& other) noexcept
    : fd_(std::move(other.fd_)), name_(std::move(other.name_)), created_(std::exchange(other.created_, false)) {}

SiblingTempFile& SiblingTempFile::operator=(SiblingTempFile&& other) noexcept {
    if (this != &other) {
        SiblingTempFile old(std::move(*this));
        fd_ = std::move(other.fd_);
        name_ = std::move(other.name_);
        created_ = std::exchange(other.created_, false);
    }
    return *this;
}

SiblingTempFile::~SiblingTempFile() {
    fd_.close();
    if (created_ && !name_.empty()) ::unlink(name_.c_str());
}

SiblingTempFile SiblingTempFile::create(const std::string& path, mode_t mode, uid_t owner, gid_t group) {
    const std::string file = fileBehindLink(path);
    SiblingTempFile temp;
    for (int i = 0; i < SiblingTempCount; ++i) {
        temp.name_ = format("%s.t%d", file.c_str(), i);
        if (pathExists(temp.name_.c_str())) continue;
        // Exclusive: a name taken between the test and the create is never truncated.
        int fd = ::open(temp.name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode & 07777);
        if (fd < 0) {
            if (errno == EEXIST) continue;
            return temp;
        }
        temp.fd_ = UniqueFd(fd);
        temp.created_ = true;
        temp.takeOwnerAndMode(owner, group, mode & 07777);
        return temp;
    }
    errno = EEXIST;
    return temp;
}

// Owner and group only where the process may give them (the group alone may still be allowed);
// the permissions last, as a change of owner may clear some of them, and because the umask may
// have taken bits away. What the new file already has is left alone: each change is a journal
// entry, which waits while the file system is busy writing.
void SiblingTempFile::takeOwnerAndMode(uid_t owner, gid_t group, mode_t mode) {
    const int fd = fd_.get();
    struct stat made {};
    const bool known = ::fstat(fd, &made) == 0;
    const bool ownerDiffers = owner != uid_t(-1) && (!known || made.st_uid != owner);
    const bool groupDiffers = group != gid_t(-1) && (!known || made.st_gid != group);
    if (ownerDiffers || groupDiffers) {
        if (::fchown(fd, owner, group) != 0) (void)::fchown(fd, uid_t(-1), group);
    }
    if (ownerDiffers || groupDiffers || !known || (made.st_mode & 07777) != mode) ::fchmod(fd, mode);
}

bool SiblingTempFile::close() { return fd_.close(); }

int copyFileReplacing(const char* source, const char* destination) {
    FileReader in;
    if (!in.open(source)) return errno ? errno : EIO;
    struct stat info {};
    ::fstat(in.fd(), &info);
    // The copy is made to be changed: its owner may write it even when the source was read-only.
    SiblingTempFile temporary = SiblingTempFile::create(destination, info.st_mode | S_IWUSR);
    if (!temporary.valid()) return errno ? errno : EEXIST;
    FileWriter out(temporary.fd());
    if (!out.copyFrom(in.fd(), 0, in.size()) || !out.flush()) return out.error() ? out.error() : EIO;
    if (!temporary.close()) return errno ? errno : EIO;
    if (std::rename(temporary.name().c_str(), fileBehindLink(destination).c_str()) != 0) return errno;
    temporary.keep();
    return CopyOk;
}

int copyToTrash(const char* path) {
    if (!path) return 2;
    const std::string user = currentUserName();
    const std::string homeTrash = "/Users/" + user + "/.Trash";
    if (!user.empty() && isDirectory(homeTrash.c_str())) {
        std::string target = homeTrash + "/" + fileNamePart(path);
        if (target.size() > TrashPathLimit) target.resize(TrashPathLimit);
        std::optional<std::string> free = uniqueFileName(target.c_str());
        if (!free) return CopyOk;  // every name taken: no copy, silently
        return copyFile(path, free->c_str());
    }
    const std::string trash = freedesktopTrash();
    if (trash.empty()) return ENOENT;
    return copyToFreedesktopTrash(path, trash);
}

bool replaceWithTemporary(const char* temporaryPath, const char* targetPath, bool toTrash) {
    // Through a link, the file it points to is the original: it goes to the trash and is replaced.
    const std::string file = fileBehindLink(targetPath);
    if (toTrash) {
        const int result = copyToTrash(file.c_str());
        if (result != CopyOk) Logger::log(LogError, "Error moving the original to the trash (%d)", result);
    }
    // The original is replaced in one rename rather than deleted first, but a track that has
    // gone meanwhile is not brought back.
    if (!pathExists(targetPath)) {
        Logger::log(LogError, "Failed to remove the original file '%s' (%d)", targetPath, ENOENT);
        return false;
    }
    if (std::rename(temporaryPath, file.c_str()) == 0) return true;
    ::usleep(RetryPauseMicroseconds);
    if (std::rename(temporaryPath, file.c_str()) == 0) return true;
    Logger::log(LogError, "Failed to replace the temporary file from '%s' to '%s' (%d)", temporaryPath, targetPath,
                errno);
    return false;
}

}  // namespace tagwick
