// Reading a track through one reused buffer: a window over the file, filled with pread, that
// the walks move along (skip forward, step back a little, look at the next bytes). A walk over
// a large file then costs about one system call per buffer and its memory stays bounded,
// where a mapping would fault in every page and grow with the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "base/bytes.h"
#include "base/files.h"

namespace tagwick {

class FileReader {
public:
    // The window's size; a file no larger than this is read whole with its first view.
    static constexpr size_t BufferSize = 256 * 1024;
    // The longest contiguous view one call gives.
    static constexpr size_t MaxView = 64 * 1024;

    FileReader() = default;
    // Bytes already in memory, read through the same interface: views point straight into them
    // and nothing is copied. The bytes must outlive the reader.
    explicit FileReader(Bytes memory);
    FileReader(FileReader&& other) noexcept;
    FileReader& operator=(FileReader&& other) noexcept;
    ~FileReader();
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;

    // Opens a regular file read-only. Never waits on a named pipe: anything but a regular file
    // fails (EISDIR for a folder). False with errno set.
    bool open(const char* path);
    void close();
    bool valid() const { return valid_; }
    // The descriptor, -1 when closed or reading from memory.
    int fd() const { return fd_.get(); }
    // The size at open; smaller once a read found the file shorter (it shrank while read).
    uint64_t size() const { return size_; }
    // The device and inode the file had at open: which file it is, whatever its name.
    FileIdentity identity() const { return identity_; }

    // Up to n bytes at `offset` (n is capped at MaxView), contiguous. Fewer only at the end of the
    // file or when a read failed (error() tells). Valid until the next call on this reader.
    Bytes view(uint64_t offset, size_t n) {
        if (n > MaxView) n = MaxView;
        if (inWindow(offset, n)) return {data_ + (offset - windowStart_), n};
        return fill(offset, n);
    }
    // What the window holds from `offset` on, without reading: empty when it holds nothing there.
    // A walk over many small pieces can go through it and look again once it runs out.
    Bytes buffered(uint64_t offset) const {
        if (offset < windowStart_ || offset - windowStart_ >= windowLength_) return {};
        return {data_ + (offset - windowStart_), windowLength_ - size_t(offset - windowStart_)};
    }
    // Copies what the file holds of out.size() bytes at `offset`; returns the count copied.
    size_t read(uint64_t offset, std::span<uint8_t> out);
    // Any length, cut at the end of the file (the length is checked before anything is allocated).
    std::vector<uint8_t> readRange(uint64_t offset, uint64_t length);

    // errno of the last failed read, 0 when none failed.
    int error() const { return error_; }
    // Tells the kernel the file will be read front to back (long walks over big files).
    void adviseSequential();
    // System reads made so far (a walk's cost in calls).
    uint64_t readCalls() const { return readCalls_; }

private:
    bool inWindow(uint64_t offset, size_t n) const {
        return offset >= windowStart_ && offset - windowStart_ <= windowLength_ &&
               windowLength_ - (offset - windowStart_) >= n;
    }
    Bytes fill(uint64_t offset, size_t n);
    // Gives the buffer back for the next reader to use.
    void releaseBuffer();
    // pread until `length` bytes are in or the file ends; the count read.
    size_t readFully(uint64_t offset, uint8_t* out, size_t length);

    UniqueFd fd_;
    std::unique_ptr<uint8_t[]> buffer_;
    size_t allocated_ = 0;  // the buffer's size, which may be more than the window uses
    size_t capacity_ = 0;
    const uint8_t* data_ = nullptr;  // the window's first byte (or the memory read from)
    uint64_t windowStart_ = 0;
    size_t windowLength_ = 0;
    uint64_t size_ = 0;
    FileIdentity identity_;
    int error_ = 0;
    bool valid_ = false;
    uint64_t readCalls_ = 0;
};

}  // namespace tagwick
