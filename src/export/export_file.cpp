#include "export/export_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/logger.h"

namespace tagwick {

// The file is not emptied on opening but cut to what was written when it is closed: on ext4,
// emptying a file and writing it again starts its write-back at the close, and the next
// emptying waits for it (an export over many tracks rewrites one target for each of them).
bool ExportFile::create(const std::string& path) {
    cutAtClose_ = true;
    return open(path, O_RDWR | O_CREAT);
}

bool ExportFile::openForAppend(const std::string& path) { return open(path, O_RDWR | O_CREAT | O_APPEND); }

bool ExportFile::open(const std::string& path, int flags) {
    // Non-blocking, so that a named pipe without a reader fails instead of waiting.
    fd_ = UniqueFd(::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0666));
    if (!fd_.valid()) return false;
    path_ = path;
    struct stat info {};
    if (fstat(fd_.get(), &info) == 0) {
        regular_ = S_ISREG(info.st_mode);
        sizeAtOpen_ = info.st_size;
    }
    // Writes wait as usual once it is open (a pipe with a reader, a terminal).
    fcntl(fd_.get(), F_SETFL, fcntl(fd_.get(), F_GETFL) & ~O_NONBLOCK);
    return true;
}

void ExportFile::fail(int error) {
    if (error_ == 0) error_ = error != 0 ? error : EIO;
}

size_t ExportFile::write(Bytes bytes) {
    if (error_ != 0 || !fd_.valid()) return 0;
    size_t done = 0;
    while (done < bytes.size()) {
        ssize_t n = ::write(fd_.get(), bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            fail(n < 0 ? errno : ENOSPC);
            break;
        }
        done += size_t(n);
    }
    written_ += done;
    return done;
}

bool ExportFile::close() {
    if (fd_.valid() && cutAtClose_ && regular_ && error_ == 0 && ftruncate(fd_.get(), written_) != 0) fail(errno);
    if (fd_.valid() && !fd_.close()) fail(errno);
    return error_ == 0;
}

void ExportFile::discard() {
    fd_.close();
    if (regular_ && !path_.empty()) ::unlink(path_.c_str());
}

void ExportFile::cutBack() {
    if (!regular_ || path_.empty()) return;
    if (fd_.valid()) {
        if (ftruncate(fd_.get(), sizeAtOpen_) == 0) return;
    }
    (void)::truncate(path_.c_str(), sizeAtOpen_);
}

bool sameFile(const std::string& a, const std::string& b) {
    struct stat first {}, second {};
    return stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

ExportStatus targetIsTheTrack(const std::string& path) {
    Logger::log(LogError, "The export file '%s' is the track itself", path.c_str());
    return ExportStatus::NotCreatable;
}

}  // namespace tagwick
