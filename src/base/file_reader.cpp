// The buffered track reader.
#include "base/file_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tagwick {

namespace {

// A refill starts this far before the byte asked for, so that a walk stepping back a little
// (a run search from inside the last frame) finds its bytes still in the window.
constexpr uint64_t StepBack = 4096;
constexpr uint64_t ReadAlignment = 4096;

static_assert(FileReader::BufferSize >= FileReader::MaxView + StepBack + ReadAlignment,
              "a refill must hold the whole view after the step back");

// The largest buffer a reader has let go, kept for the next one. A track is opened several
// times in a run (the open, the save, the read-back), and a fresh buffer of this size is mapped
// anew each time, paying a fault for every page it touches.
struct SpareBuffer {
    std::unique_ptr<uint8_t[]> data;
    size_t size = 0;
};
thread_local SpareBuffer spareBuffer;

}  // namespace

FileReader::FileReader(Bytes memory)
    : data_(memory.data()), windowLength_(memory.size()), size_(memory.size()), valid_(true) {}

FileReader::FileReader(FileReader&& other) noexcept { *this = std::move(other); }

FileReader::~FileReader() { releaseBuffer(); }

void FileReader::releaseBuffer() {
    if (buffer_ && allocated_ >= spareBuffer.size) {
        spareBuffer.data = std::move(buffer_);
        spareBuffer.size = allocated_;
    }
    buffer_.reset();
    allocated_ = 0;
}

FileReader& FileReader::operator=(FileReader&& other) noexcept {
    if (this != &other) {
        releaseBuffer();
        fd_ = std::move(other.fd_);
        buffer_ = std::move(other.buffer_);
        allocated_ = std::exchange(other.allocated_, 0);
        capacity_ = std::exchange(other.capacity_, 0);
        data_ = std::exchange(other.data_, nullptr);
        windowStart_ = std::exchange(other.windowStart_, 0);
        windowLength_ = std::exchange(other.windowLength_, 0);
        size_ = std::exchange(other.size_, 0);
        error_ = std::exchange(other.error_, 0);
        valid_ = std::exchange(other.valid_, false);
        readCalls_ = std::exchange(other.readCalls_, 0);
    }
    return *this;
}

bool FileReader::open(const char* path) {
    close();
    if (!path) {
        errno = EINVAL;
        return false;
    }
    // Non-blocking, so that a named pipe without a writer cannot keep the open waiting.
    UniqueFd fd(openLeavingAccessTime(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd.valid()) return false;
    struct stat info {};
    if (fstat(fd.get(), &info) != 0) return false;
    if (!S_ISREG(info.st_mode)) {
        // What a seek to the end of it would have said: a pipe cannot be sized at all.
        if (S_ISDIR(info.st_mode)) errno = EISDIR;
        else if (lseek(fd.get(), 0, SEEK_END) >= 0) errno = ENODEV;
        return false;
    }
    fd_ = std::move(fd);
    size_ = uint64_t(info.st_size);
    identity_ = {info.st_dev, info.st_ino};
    valid_ = true;
    return true;
}

void FileReader::close() { *this = FileReader(); }

void FileReader::adviseSequential() {
    if (fd_.valid()) posix_fadvise(fd_.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
}

Bytes FileReader::fill(uint64_t offset, size_t n) {
    if (offset >= size_ || n == 0) return {};
    n = size_t(std::min<uint64_t>(n, size_ - offset));
    if (inWindow(offset, n)) return {data_ + (offset - windowStart_), n};
    if (!fd_.valid()) return {};
    if (!buffer_) {
        // A small file gets a buffer of its own size, read whole by this first fill.
        capacity_ = size_t(std::min<uint64_t>(BufferSize, size_));
        if (spareBuffer.size >= capacity_) {
            buffer_ = std::move(spareBuffer.data);
            allocated_ = std::exchange(spareBuffer.size, 0);
        } else {
            buffer_.reset(new uint8_t[capacity_]);
            allocated_ = capacity_;
        }
    }
    const uint64_t start = size_ <= capacity_ ? 0 : (offset > StepBack ? offset - StepBack : 0) & ~(ReadAlignment - 1);
    const size_t length = size_t(std::min<uint64_t>(capacity_, size_ - start));
    // Moving forward over a window that still holds the first bytes wanted keeps them.
    size_t kept = 0;
    const uint64_t windowEnd = windowStart_ + windowLength_;
    if (data_ == buffer_.get() && start >= windowStart_ && start < windowEnd) {
        kept = size_t(windowEnd - start);
        std::memmove(buffer_.get(), buffer_.get() + (start - windowStart_), kept);
    }
    const size_t got = readFully(start + kept, buffer_.get() + kept, length - kept);
    data_ = buffer_.get();
    windowStart_ = start;
    windowLength_ = kept + got;
    const uint64_t skip = offset - start;
    if (skip >= windowLength_) return {};
    return {data_ + skip, std::min<size_t>(n, windowLength_ - size_t(skip))};
}

size_t FileReader::readFully(uint64_t offset, uint8_t* out, size_t length) {
    size_t done = 0;
    while (done < length) {
        ++readCalls_;
        const ssize_t got = pread(fd_.get(), out + done, length - done, off_t(offset + done));
        if (got < 0) {
            if (errno == EINTR) continue;
            error_ = errno;
            break;
        }
        if (got == 0) {
            // The file ends before the size it had at open.
            size_ = std::min(size_, offset + done);
            break;
        }
        done += size_t(got);
    }
    return done;
}

size_t FileReader::read(uint64_t offset, std::span<uint8_t> out) {
    if (offset >= size_ || out.empty()) return 0;
    const size_t n = size_t(std::min<uint64_t>(out.size(), size_ - offset));
    if (inWindow(offset, n)) {
        std::memcpy(out.data(), data_ + (offset - windowStart_), n);
        return n;
    }
    // Long reads go straight into the caller's memory; short ones through the window.
    if (n > MaxView) return readFully(offset, out.data(), n);
    const Bytes bytes = view(offset, n);
    std::copy(bytes.begin(), bytes.end(), out.begin());
    return bytes.size();
}

std::vector<uint8_t> FileReader::readRange(uint64_t offset, uint64_t length) {
    if (offset >= size_) return {};
    std::vector<uint8_t> out(size_t(std::min(length, size_ - offset)));
    out.resize(read(offset, out));
    return out;
}

}  // namespace tagwick
