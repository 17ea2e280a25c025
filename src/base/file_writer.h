// Writing a new file through one buffer, with every write checked: the saved track and the
// rebuilt stream are built with it. Pieces are appended, the last bytes may be taken back,
// earlier (or later) places patched, and data copied from another file by the kernel.
//
// The writer works at its own position with pwrite, starting where the descriptor stood when
// it was handed over; the descriptor's offset is left alone (so it must be a regular file not
// opened with O_APPEND). The first failure sticks: every later call fails, and error() keeps
// its errno. Nothing is written on destruction: flush() or close() tell whether all of it
// reached the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "base/bytes.h"
#include "base/files.h"

namespace tagwick {

class FileWriter {
public:
    static constexpr size_t BufferSize = 256 * 1024;

    FileWriter() = default;
    // Writes to a descriptor the caller keeps and closes.
    explicit FileWriter(int fd);
    // Writes to a descriptor it owns; close() closes it (the destructor too, without a check).
    explicit FileWriter(UniqueFd fd);
    FileWriter(FileWriter&& other) noexcept;
    FileWriter& operator=(FileWriter&& other) noexcept;
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;

    bool valid() const { return fd_ >= 0; }
    int fd() const { return fd_; }

    // Appends at the position.
    bool write(Bytes bytes);
    // Appends `length` bytes of `sourceFd` from `offset` (its own offset is not used): a kernel
    // copy where the file systems allow it, else blocks of the buffer's size. False when a call
    // failed or the source ended early; copied() tells how much was appended either way. An
    // early end is the caller's to judge: it does not fail the writer.
    bool copyFrom(int sourceFd, uint64_t offset, uint64_t length);
    uint64_t copied() const { return copied_; }

    // Where the next byte goes, as if everything accepted so far had been written.
    uint64_t position() const { return bufferStart_ + used_; }
    // Replaces bytes at any place, before the position or past it; the position stays.
    bool writeAt(uint64_t offset, Bytes bytes);
    // Takes back the last n bytes appended: the position moves back by n. Bytes already in the
    // file stay there until they are written over or cut off by truncateHere(). False (and
    // nothing done) when fewer than n bytes were written through this writer.
    bool takeBack(uint64_t n);
    // Writes what is buffered and cuts the file at the position.
    bool truncateHere();
    // Writes what is buffered.
    bool flush();
    // flush() and, for an owned descriptor, a checked close().
    bool close();

    bool failed() const { return error_ != 0; }
    // errno of the first failure, 0 when none.
    int error() const { return error_; }

private:
    bool fail(int error);
    bool writeFully(uint64_t offset, const uint8_t* data, size_t length);
    bool copyInKernel(int sourceFd, uint64_t offset, uint64_t length);
    bool copyThroughBuffer(int sourceFd, uint64_t offset, uint64_t length);
    // Makes the buffer hold at least `wanted` bytes (at most BufferSize), keeping what it holds.
    void growBuffer(size_t wanted);

    UniqueFd owned_;
    int fd_ = -1;
    std::unique_ptr<uint8_t[]> buffer_;
    size_t capacity_ = 0;
    size_t used_ = 0;          // buffered bytes, which belong at bufferStart_
    uint64_t bufferStart_ = 0;
    uint64_t start_ = 0;       // where the writer began
    uint64_t copied_ = 0;
    int error_ = 0;
};

}  // namespace tagwick
