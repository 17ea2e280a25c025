#include "export/export_file.h"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <vector>
#include <sys/stat.h>
#include <unistd.h>

#include "base/logger.h"
#include "tags/id3_tag.h"

namespace tagwick {

struct ExportFile::KeptTarget {
    std::string path;
    int flags = 0;
    UniqueFd fd;
    dev_t device = 0;
    ino_t inode = 0;
    bool regular = false;
    off_t size = 0;
};

namespace {

std::vector<std::unique_ptr<ExportFile::KeptTarget>>& keptTargets() {
    static std::vector<std::unique_ptr<ExportFile::KeptTarget>> targets;
    return targets;
}

ExportFile::KeptTarget* findKept(const std::string& path, int flags) {
    for (const auto& kept : keptTargets())
        if (kept->path == path && (flags < 0 || kept->flags == flags)) return kept.get();
    return nullptr;
}

}  // namespace

// The file is not emptied on opening but cut to what was written when it is closed: on ext4,
// emptying a file and writing it again starts its write-back at the close, and the next
// emptying waits for it (an export over many tracks rewrites one target for each of them).
bool ExportFile::create(const std::string& path, bool keep) {
    cutAtClose_ = true;
    return open(path, O_RDWR | O_CREAT, keep);
}

bool ExportFile::openForAppend(const std::string& path, bool keep) {
    return open(path, O_RDWR | O_CREAT | O_APPEND, keep);
}

bool ExportFile::open(const std::string& path, int flags, bool keep) {
    path_ = path;
    if (keep) {
        if (KeptTarget* kept = findKept(path, flags)) {
            kept_ = kept;
            regular_ = kept->regular;
            sizeAtOpen_ = kept->size;
            return true;
        }
    }
    // Non-blocking, so that a named pipe without a reader fails instead of waiting.
    fd_ = UniqueFd(::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0666));
    if (!fd_.valid()) return false;
    struct stat info {};
    if (fstat(fd_.get(), &info) == 0) {
        regular_ = S_ISREG(info.st_mode);
        sizeAtOpen_ = info.st_size;
    }
    // Writes wait as usual once it is open (a pipe with a reader, a terminal).
    fcntl(fd_.get(), F_SETFL, fcntl(fd_.get(), F_GETFL) & ~O_NONBLOCK);
    // Only a regular file is kept: the next track must find it as this one left it.
    if (keep && regular_) {
        auto kept = std::make_unique<KeptTarget>();
        kept->path = path;
        kept->flags = flags;
        kept->fd = std::move(fd_);
        kept->device = info.st_dev;
        kept->inode = info.st_ino;
        kept->regular = true;
        kept->size = sizeAtOpen_;
        kept_ = kept.get();
        keptTargets().push_back(std::move(kept));
    }
    return true;
}

int ExportFile::fd() const { return kept_ ? kept_->fd.get() : fd_.get(); }

// A kept target that failed is closed and opened afresh by the next track.
void ExportFile::forgetKept() {
    if (!kept_) return;
    auto& targets = keptTargets();
    for (auto it = targets.begin(); it != targets.end(); ++it) {
        if (it->get() == kept_) {
            targets.erase(it);
            break;
        }
    }
    kept_ = nullptr;
}

void ExportFile::fail(int error) {
    if (error_ == 0) error_ = error != 0 ? error : EIO;
}

size_t ExportFile::write(Bytes bytes) {
    if (error_ != 0 || fd() < 0) return 0;
    // A document written again into a kept file starts at its beginning.
    const bool fromStart = kept_ && cutAtClose_;
    size_t done = 0;
    while (done < bytes.size()) {
        ssize_t n = fromStart ? ::pwrite(fd(), bytes.data() + done, bytes.size() - done, written_ + off_t(done))
                              : ::write(fd(), bytes.data() + done, bytes.size() - done);
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
    const off_t size = cutAtClose_ ? written_ : sizeAtOpen_ + written_;
    // A kept file that already has the new length needs no cut.
    const bool needsCut = cutAtClose_ && regular_ && (!kept_ || kept_->size != written_);
    if (fd() >= 0 && needsCut && error_ == 0 && ftruncate(fd(), written_) != 0) fail(errno);
    if (kept_) {
        kept_->size = size;
        if (error_ != 0) {
            kept_->fd.close();
            forgetKept();
        }
        kept_ = nullptr;
        return error_ == 0;
    }
    if (fd_.valid() && !fd_.close()) fail(errno);
    return error_ == 0;
}

void ExportFile::discard() {
    fd_.close();
    if (KeptTarget* kept = findKept(path_, -1)) {
        kept_ = kept;
        forgetKept();
    }
    if (regular_ && !path_.empty()) ::unlink(path_.c_str());
}

void ExportFile::cutBack() {
    if (!regular_ || path_.empty()) return;
    if (KeptTarget* kept = findKept(path_, -1)) {
        if (ftruncate(kept->fd.get(), sizeAtOpen_) == 0) {
            kept->size = sizeAtOpen_;
            return;
        }
        kept_ = kept;
        forgetKept();
    }
    if (fd_.valid()) {
        if (ftruncate(fd_.get(), sizeAtOpen_) == 0) return;
    }
    (void)::truncate(path_.c_str(), sizeAtOpen_);
}

void closeKeptExportFiles() { keptTargets().clear(); }

off_t exportTargetSize(const std::string& path) {
    if (const ExportFile::KeptTarget* kept = findKept(path, -1)) return kept->size;
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_size : -1;
}

bool targetIsTrack(const std::string& target, const ID3Tag& track) {
    if (const ExportFile::KeptTarget* kept = findKept(target, -1))
        return FileIdentity{kept->device, kept->inode} == track.identity;
    struct stat info {};
    return ::stat(target.c_str(), &info) == 0 && FileIdentity{info.st_dev, info.st_ino} == track.identity;
}

ExportStatus targetIsTheTrack(const std::string& path) {
    Logger::log(LogError, "The export file '%s' is the track itself", path.c_str());
    return ExportStatus::NotCreatable;
}

}  // namespace tagwick
