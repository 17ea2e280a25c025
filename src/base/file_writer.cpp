// The buffered, checked file writer.
#include "base/file_writer.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace tagwick {

namespace {

// One kernel copy call moves at most this much. After each full step the kernel is asked to
// start writing the step out, so the disk works while the next one is copied; left alone, all of
// a large file would be written at the replacement, with the caller waiting.
constexpr uint64_t KernelCopyStep = uint64_t(8) << 20;
// The buffer starts this small and doubles as it fills, up to BufferSize: a small file never
// costs the whole buffer.
constexpr size_t FirstBufferSize = 16 * 1024;

// A hint only: its failure (a pipe, a file system without writeback) changes nothing.
void startWriteback(int fd, uint64_t offset, uint64_t length) {
    (void)sync_file_range(fd, off_t(offset), off_t(length), SYNC_FILE_RANGE_WRITE);
}

uint64_t positionOf(int fd) {
    const off_t here = fd >= 0 ? lseek(fd, 0, SEEK_CUR) : -1;
    return here > 0 ? uint64_t(here) : 0;
}

}  // namespace

FileWriter::FileWriter(int fd) : fd_(fd), bufferStart_(positionOf(fd)), start_(bufferStart_) {}

FileWriter::FileWriter(UniqueFd fd) : FileWriter(fd.get()) { owned_ = std::move(fd); }

FileWriter::FileWriter(FileWriter&& other) noexcept { *this = std::move(other); }

FileWriter& FileWriter::operator=(FileWriter&& other) noexcept {
    if (this != &other) {
        owned_ = std::move(other.owned_);
        fd_ = std::exchange(other.fd_, -1);
        buffer_ = std::move(other.buffer_);
        capacity_ = std::exchange(other.capacity_, 0);
        used_ = std::exchange(other.used_, 0);
        bufferStart_ = std::exchange(other.bufferStart_, 0);
        start_ = std::exchange(other.start_, 0);
        copied_ = std::exchange(other.copied_, 0);
        error_ = std::exchange(other.error_, 0);
    }
    return *this;
}

bool FileWriter::fail(int error) {
    if (error_ == 0) error_ = error != 0 ? error : EIO;
    return false;
}

void FileWriter::growBuffer(size_t wanted) {
    if (capacity_ >= wanted) return;
    size_t capacity = std::max(capacity_, FirstBufferSize);
    while (capacity < wanted) capacity *= 2;
    capacity = std::min(capacity, BufferSize);
    std::unique_ptr<uint8_t[]> grown(new uint8_t[capacity]);
    if (used_ > 0) std::memcpy(grown.get(), buffer_.get(), used_);
    buffer_ = std::move(grown);
    capacity_ = capacity;
}

bool FileWriter::writeFully(uint64_t offset, const uint8_t* data, size_t length) {
    if (fd_ < 0) return fail(EBADF);
    if (offset > uint64_t(LLONG_MAX) - length) return fail(EFBIG);
    size_t done = 0;
    while (done < length) {
        const ssize_t n = pwrite(fd_, data + done, length - done, off_t(offset + done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return fail(errno);
        if (n == 0) return fail(EIO);  // nothing taken and no reason given
        done += size_t(n);
    }
    return true;
}

bool FileWriter::write(Bytes bytes) {
    if (failed()) return false;
    while (!bytes.empty()) {
        // A piece at least as long as the buffer goes straight out when nothing waits before it.
        if (used_ == 0 && bytes.size() >= BufferSize) {
            if (!writeFully(bufferStart_, bytes.data(), bytes.size())) return false;
            bufferStart_ += bytes.size();
            return true;
        }
        growBuffer(std::min(used_ + bytes.size(), BufferSize));
        const size_t n = std::min(bytes.size(), capacity_ - used_);
        std::memcpy(buffer_.get() + used_, bytes.data(), n);
        used_ += n;
        bytes = bytes.subspan(n);
        if (used_ == BufferSize && !flush()) return false;
    }
    return true;
}

bool FileWriter::flush() {
    if (failed()) return false;
    if (used_ == 0) return true;
    if (!writeFully(bufferStart_, buffer_.get(), used_)) return false;
    bufferStart_ += used_;
    used_ = 0;
    return true;
}

bool FileWriter::writeAt(uint64_t offset, Bytes bytes) {
    if (failed()) return false;
    if (bytes.empty()) return true;
    if (offset > uint64_t(LLONG_MAX) - bytes.size()) return fail(EFBIG);
    const uint64_t end = offset + bytes.size();
    if (used_ > 0 && offset < position() && end > bufferStart_) {
        if (offset >= bufferStart_ && end <= position()) {
            std::memcpy(buffer_.get() + (offset - bufferStart_), bytes.data(), bytes.size());
            return true;
        }
        // Partly buffered: the buffer goes out first, so the patch lands on top of it.
        if (!flush()) return false;
    }
    return writeFully(offset, bytes.data(), bytes.size());
}

bool FileWriter::takeBack(uint64_t n) {
    if (failed() || n > position() - start_) return false;
    if (n <= used_) {
        used_ -= size_t(n);
        return true;
    }
    bufferStart_ -= n - used_;
    used_ = 0;
    return true;
}

bool FileWriter::truncateHere() {
    if (!flush()) return false;
    if (ftruncate(fd_, off_t(bufferStart_)) != 0) return fail(errno);
    return true;
}

bool FileWriter::close() {
    bool ok = flush();
    if (owned_.valid() && !owned_.close()) ok = fail(errno);
    fd_ = -1;
    return ok;
}

bool FileWriter::copyFrom(int sourceFd, uint64_t offset, uint64_t length) {
    copied_ = 0;
    if (!flush()) return false;
    if (offset > uint64_t(LLONG_MAX) || length > uint64_t(LLONG_MAX) - offset) return fail(EINVAL);
    if (length == 0) return true;
    return copyInKernel(sourceFd, offset, length);
}

bool FileWriter::copyInKernel(int sourceFd, uint64_t offset, uint64_t length) {
    loff_t in = loff_t(offset);
    loff_t out = loff_t(bufferStart_);
    while (copied_ < length) {
        const size_t step = size_t(std::min(length - copied_, KernelCopyStep));
        const ssize_t n = copy_file_range(sourceFd, &in, fd_, &out, step, 0);
        if (n < 0 && errno == EINTR) continue;
        // Refused (other file systems, special files, an old kernel) or nothing copied (which
        // some kernels also say for files they cannot copy): the buffer takes over, and tells
        // a real end of the source or a real error.
        if (n <= 0) return copyThroughBuffer(sourceFd, uint64_t(in), length - copied_);
        if (uint64_t(n) == KernelCopyStep) startWriteback(fd_, bufferStart_, uint64_t(n));
        copied_ += uint64_t(n);
        bufferStart_ += uint64_t(n);
    }
    return true;
}

bool FileWriter::copyThroughBuffer(int sourceFd, uint64_t offset, uint64_t length) {
    growBuffer(BufferSize);
    uint8_t* block = buffer_.get();
    while (length > 0) {
        const ssize_t got = pread(sourceFd, block, size_t(std::min<uint64_t>(length, BufferSize)), off_t(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return fail(errno);
        if (got == 0) return false;  // the source ended early
        if (!writeFully(bufferStart_, block, size_t(got))) return false;
        bufferStart_ += uint64_t(got);
        copied_ += uint64_t(got);
        offset += uint64_t(got);
        length -= uint64_t(got);
    }
    return true;
}

}  // namespace tagwick
