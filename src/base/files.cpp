// File helpers over POSIX: descriptors, mappings, temporary files, names, copies and moves.
#include "base/files.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "base/logger.h"
#include "base/text.h"

namespace tagwick {

namespace {

constexpr size_t TempNameMinimum = 1024;
constexpr int SiblingTempCount = 100;
constexpr int UniqueNameLimit = 98;
constexpr size_t CopyBlockSize = 512;
constexpr useconds_t RetryPauseMicroseconds = 500;

bool isSeparator(char c) { return c == '/' || c == '\\'; }

// Length of the drive prefix ("C:") or of the one leading separator skipped when a path
// starts with two or more, so that "//host" keeps one of them.
size_t prefixLength(std::string_view path) {
    if (path.size() >= 2 && std::isalpha(uint8_t(path[0])) && path[1] == ':') return 2;
    size_t run = 0;
    while (run < path.size() && isSeparator(path[run])) ++run;
    return run > 1 ? 1 : 0;
}

// Index of the last separator at or after `from` within `text`, npos when none.
size_t lastSeparator(std::string_view text, size_t from) {
    for (size_t i = text.size(); i > from; --i)
        if (isSeparator(text[i - 1])) return i - 1;
    return std::string_view::npos;
}

// Page-rounded length of a mapping: one page more than the whole pages of the size.
size_t mappedLengthFor(long long size) {
    size_t page = size_t(getpagesize());
    return page * (size_t(size) / page + 1);
}

int errorOr(int fallback) { return errno != 0 ? errno : fallback; }

}  // namespace

// ---- RAII holders ----

UniqueFd& UniqueFd::operator=(UniqueFd&& o) noexcept {
    if (this != &o) {
        close();
        fd_ = std::exchange(o.fd_, -1);
    }
    return *this;
}

UniqueFd::~UniqueFd() { close(); }

bool UniqueFd::close() {
    if (fd_ < 0) return true;
    return ::close(std::exchange(fd_, -1)) == 0;
}

UniqueFile& UniqueFile::operator=(UniqueFile&& o) noexcept {
    if (this != &o) {
        close();
        f_ = std::exchange(o.f_, nullptr);
    }
    return *this;
}

UniqueFile::~UniqueFile() { close(); }

bool UniqueFile::close() {
    if (!f_) return true;
    return std::fclose(std::exchange(f_, nullptr)) == 0;
}

Mapping::Mapping(Mapping&& o) noexcept
    : fd_(std::move(o.fd_)),
      data_(std::exchange(o.data_, nullptr)),
      size_(std::exchange(o.size_, 0)),
      mappedLength_(std::exchange(o.mappedLength_, 0)),
      valid_(std::exchange(o.valid_, false)) {}

Mapping& Mapping::operator=(Mapping&& o) noexcept {
    if (this != &o) {
        reset();
        fd_ = std::move(o.fd_);
        data_ = std::exchange(o.data_, nullptr);
        size_ = std::exchange(o.size_, 0);
        mappedLength_ = std::exchange(o.mappedLength_, 0);
        valid_ = std::exchange(o.valid_, false);
    }
    return *this;
}

Mapping::~Mapping() { reset(); }

void Mapping::reset() {
    if (data_ && mappedLength_ > 0) munmap(data_, mappedLength_);
    data_ = nullptr;
    size_ = 0;
    mappedLength_ = 0;
    valid_ = false;
    fd_.close();
}

bool Mapping::adviseSequential() {
    if (!data_ || mappedLength_ == 0) return false;
    return madvise(data_, mappedLength_, MADV_SEQUENTIAL) == 0;
}

Mapping mapFile(const char* path) {
    Mapping mapping;
    if (!path) {
        errno = EINVAL;
        return mapping;
    }
    // errno is left as open() set it, so the caller can report why.
    // Non-blocking, so that a named pipe fails at once (it cannot be sized) instead of waiting.
    UniqueFd fd(openLeavingAccessTime(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd.valid()) return mapping;
    long long size = fdSize(fd.get());
    if (size < 0) return mapping;
    if (static_cast<unsigned long long>(size) > SIZE_MAX / 2) {
        errno = EFBIG;
        return mapping;
    }
    // One page more than the whole pages of the file, so the length is never zero and an
    // empty file still maps. Only the bytes up to size() are backed by the file: reading a
    // page that lies wholly past the end faults, so readers stay within bytes().
    size_t length = mappedLengthFor(size);
    void* address = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE, fd.get(), 0);
    if (address == MAP_FAILED) {
        int error = errno;
        fd.close();
        errno = error;
        return mapping;
    }
    mapping.fd_ = std::move(fd);
    mapping.data_ = static_cast<uint8_t*>(address);
    mapping.size_ = size_t(size);
    mapping.mappedLength_ = length;
    mapping.valid_ = true;
    return mapping;
}

// ---- Descriptor level ----

long seekFd(int fd, int32_t offset, bool fromCurrent) {
    if (fd == -1) return -1;
    off_t position = lseek(fd, off_t(offset), fromCurrent ? SEEK_CUR : SEEK_SET);
    // Only the low 32 bits are handed back; a failed seek stays -1.
    return long(int32_t(uint32_t(uint64_t(position) & 0xFFFFFFFFu)));
}

int writeFd(int fd, const void* buffer, size_t length, size_t* written) {
    if (written) *written = 0;
    if (fd == -1) return -1;
    if (!buffer && length > 0) return 0;
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    size_t done = 0;
    while (done < length) {
        ssize_t n = ::write(fd, bytes + done, length - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return 0;
        done += size_t(n);
    }
    if (written) *written = done;
    return 1;
}

size_t readAt(int fd, uint64_t offset, std::span<uint8_t> out) {
    size_t done = 0;
    while (done < out.size()) {
        const ssize_t n = ::pread(fd, out.data() + done, out.size() - done, off_t(offset + done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        done += size_t(n);
    }
    return done;
}

int truncateAtPosition(int fd) {
    if (fd == -1) return -1;
    off_t position = lseek(fd, 0, SEEK_CUR);
    if (position < 0) return -1;
    return ftruncate(fd, position);
}

long long fdSize(int fd) {
    if (fd == -1) return -1;
    off_t here = lseek(fd, 0, SEEK_CUR);
    if (here < 0) return -1;
    off_t end = lseek(fd, 0, SEEK_END);
    lseek(fd, here, SEEK_SET);
    return end;
}

// ---- Path level ----

int makeTempFile(char* buffer, size_t bufferLength, const char* prefix) {
    if (!buffer || bufferLength < TempNameMinimum) return -1;
    formatBounded(buffer, bufferLength, "/tmp/%s.XXXXXX", prefix ? prefix : "tmp");
    return mkstemp(buffer);
}

FILE* createSiblingTempFile(const char* path, std::string* name) {
    if (name) name->clear();
    if (!path) return nullptr;
    for (int i = 0; i < SiblingTempCount; ++i) {
        std::string candidate = format("%s.t%d", path, i);
        struct stat info {};
        if (stat(candidate.c_str(), &info) == 0) continue;
        FILE* stream = std::fopen(candidate.c_str(), "wb+");
        if (stream && name) *name = std::move(candidate);
        return stream;
    }
    return nullptr;
}

std::optional<std::string> uniqueFileName(const char* path) {
    if (!path) return std::nullopt;
    struct stat info {};
    if (stat(path, &info) != 0) return std::string(path);
    std::string_view whole(path);
    // The extension is looked for in the last component only, so "b.c/name" has none.
    size_t separator = lastSeparator(whole, 0);
    size_t nameStart = separator == std::string_view::npos ? 0 : separator + 1;
    size_t dot = whole.find_last_of('.');
    if (dot == std::string_view::npos || dot < nameStart) dot = whole.size();
    std::string_view stem = whole.substr(0, dot);
    std::string_view extension = whole.substr(dot);
    // Room for the path plus a dash and two digits; a longer number would be cut.
    const size_t room = whole.size() + 3;
    for (int n = 1; n <= UniqueNameLimit; ++n) {
        std::string candidate = format("%.*s-%d%.*s", int(stem.size()), stem.data(), n, int(extension.size()),
                                       extension.data());
        if (candidate.size() > room) candidate.resize(room);
        if (stat(candidate.c_str(), &info) != 0) return candidate;
    }
    // The next number is never tried: 98 taken names mean there is no free one.
    return std::nullopt;
}

int copyFile(const char* source, const char* destination) {
    if (!source || !destination) return 2;
    errno = 0;
    UniqueFile in(std::fopen(source, "rb"));
    if (!in) return errorOr(EIO);
    UniqueFile out(std::fopen(destination, "wb+"));
    if (!out) return errorOr(EIO);
    uint8_t block[CopyBlockSize];
    for (;;) {
        size_t n = std::fread(block, 1, sizeof block, in.get());
        if (n > 0) {
            errno = 0;
            if (std::fwrite(block, 1, n, out.get()) != n) return errorOr(EIO);
        }
        if (n < sizeof block) {
            if (std::ferror(in.get())) return errorOr(EIO);
            break;
        }
    }
    errno = 0;
    if (!out.close()) return errorOr(EIO);
    return CopyOk;
}

int moveFile(const char* source, const char* destination) {
    if (!source || !destination) return 2;
    if (std::rename(source, destination) == 0) return CopyOk;
    int result = copyFile(source, destination);
    if (result == CopyOk) unlink(source);
    return result;
}

bool removeFile(const char* path) { return path && unlink(path) == 0; }

bool fileExists(const char* path) {
    if (!path) return false;
    UniqueFile f(std::fopen(path, "rb"));
    return bool(f);
}

long long fileSize(const char* path) {
    struct stat info {};
    if (!path || stat(path, &info) != 0) return 0;
    return info.st_size;
}

bool isDirectory(const char* path) {
    struct stat info {};
    if (!path || stat(path, &info) != 0) return false;
    return (info.st_mode & 0xF000) == 0x4000;
}

int getFileAttributes(const char* path, FileAttributes* attributes) {
    if (!attributes) return 0;
    *attributes = FileAttributes{};
    struct stat info {};
    if (!path || stat(path, &info) != 0) return 0;
    attributes->mode = info.st_mode;
    attributes->changed = info.st_ctim;
    attributes->accessed = info.st_atim;
    attributes->modified = info.st_mtim;
    return 0;
}

int setFileAttributes(const char* path, const FileAttributes& attributes, bool restoreTimes) {
    if (!path) return 0;
    chmod(path, attributes.mode & 07777);
    if (restoreTimes) {
        const struct timespec times[2] = {attributes.accessed, attributes.modified};
        utimensat(AT_FDCWD, path, times, 0);
    }
    return 0;
}

int makeDirectories(const char* path, mode_t mode) {
    if (!path || !*path) return 0;
    std::string whole(path);
    if (whole.size() > 1 && isSeparator(whole.back())) whole.pop_back();
    if (mkdir(whole.c_str(), mode) == 0) return 0;
    // The prefix before a leading separator is empty and is not tried.
    for (size_t i = 1; i < whole.size(); ++i) {
        if (!isSeparator(whole[i])) continue;
        std::string prefix = whole.substr(0, i);
        if (mkdir(prefix.c_str(), mode) != 0 && errno == ENOENT) return -1;
    }
    if (mkdir(whole.c_str(), mode) != 0 && errno == ENOENT) return -1;
    return 0;
}

bool sameFile(const std::string& a, const std::string& b) {
    struct stat first {}, second {};
    return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

std::string directoryPart(const char* path) {
    if (!path || !*path) return ".";
    std::string text(path);
    const size_t start = prefixLength(text);
    for (;;) {
        size_t separator = lastSeparator(text, start);
        if (separator == std::string::npos) return ".";
        // "/name" keeps its root.
        if (separator == start) return text.substr(0, separator + 1);
        // Trailing separators do not count.
        if (separator == text.size() - 1) {
            text.pop_back();
            continue;
        }
        size_t cut = separator;
        while (cut > start + 1 && isSeparator(text[cut - 1])) --cut;
        text.resize(cut);
        return text;
    }
}

const char* fileNamePart(const char* path) {
    if (!path) return "";
    std::string_view text(path);
    const size_t start = prefixLength(text);
    if (start >= text.size()) return path;
    // The last separator that has a character after it ("dir/sub/" gives "sub/").
    for (size_t i = text.size() - 1; i > start; --i)
        if (isSeparator(text[i - 1])) return path + i;
    return path + start;
}

std::string fileExtension(const char* path) {
    if (!path || !*path) return {};
    std::string name(fileNamePart(path));
    while (!name.empty() && isSeparator(name.back())) name.pop_back();
    if (name.empty() || name[0] == '.') return {};
    size_t dot = name.find_last_of('.');
    if (dot == std::string::npos) return {};
    return name.substr(dot + 1);
}

void encodeSyncsafe(uint8_t out[4], uint32_t value) {
    // The top byte is not masked: sizes of 2^28 and above spill into bit 7 of byte 0.
    out[0] = uint8_t(value >> 21);
    out[1] = uint8_t((value >> 14) & 0x7F);
    out[2] = uint8_t((value >> 7) & 0x7F);
    out[3] = uint8_t(value & 0x7F);
}

bool writeSyncsafe(FILE* stream, uint32_t value) {
    uint8_t bytes[4];
    encodeSyncsafe(bytes, value);
    errno = 0;
    if (stream && std::fwrite(bytes, 1, sizeof bytes, stream) == sizeof bytes) return true;
    int error = errorOr(stream ? EIO : EBADF);
    // The error text is held in 8 bytes, so only its first 7 characters are shown.
    std::string text = errorText(error, 8);
    Logger::log(LogError, "Failed to write the syncsafe size %u (error: %s)", value, text.c_str());
    return false;
}

uint32_t extendedToUint(const uint8_t bytes[10]) {
    if (!bytes) return 0;
    if (bytes[0] & 0x80) return 0;  // negative
    int exponent = (bytes[0] & 0x7F) << 8 | bytes[1];
    uint64_t mantissa = 0;
    for (int i = 2; i < 10; ++i) mantissa = mantissa << 8 | bytes[i];
    if (exponent == 0x7FFF) return (mantissa << 1) == 0 ? UINT32_MAX : 0;  // infinity saturates, NaN is 0
    if (mantissa == 0) return 0;
    int power = exponent - 16383;  // value = mantissa * 2^(power - 63)
    if (power < 0) return 0;
    if (power >= 32) return UINT32_MAX;
    return uint32_t(mantissa >> (63 - power));
}

int openLeavingAccessTime(const char* path, int flags) {
    int fd = ::open(path, flags | O_NOATIME);
    if (fd < 0 && errno == EPERM) fd = ::open(path, flags);
    return fd;
}

bool removeWithRetry(const char* path) {
    if (!path) return false;
    if (unlink(path) == 0) return true;
    usleep(RetryPauseMicroseconds);
    return unlink(path) == 0;
}

bool renameWithRetry(const char* from, const char* to) {
    if (!from || !to) return false;
    if (std::rename(from, to) == 0) return true;
    usleep(RetryPauseMicroseconds);
    return std::rename(from, to) == 0;
}

}  // namespace tagwick
