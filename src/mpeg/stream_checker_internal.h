// Pieces shared by the checker's walk and the rebuild: the output writer with its one-step
// take-back, and the rebuild driver that puts the new file in the track's place.
#pragma once

#include <cstdint>
#include <cstdio>

#include "base/bytes.h"
#include "base/files.h"
#include "mpeg/stream_checker.h"

namespace tagwick {

// Writes pieces of one source (the mapped track) to a descriptor and remembers the length of
// the last one, so that it can be taken back. Pieces that follow each other in the source are
// gathered and written with one call, which also makes most take-backs free: the last piece is
// usually still gathered, and only what reached the descriptor needs a seek back.
class PieceWriter {
public:
    PieceWriter(int fd, Bytes source);

    // length >= 0: writes `length` bytes of the source from `offset`, cut at `limit` when
    // limit >= 0, remembers and returns the count (-1 when a write failed). length < 0: the
    // take-back; drops the remembered piece, forgets it and returns its length (0 when none;
    // -1 when the seek back fails).
    int64_t writePiece(int64_t offset, int64_t length, int64_t limit);
    int64_t takeBack() { return writePiece(0, -1, -1); }

    // Output position as if everything accepted so far had been written.
    int64_t position() const { return written_ + int64_t(pendingLength_); }
    // Writes what is gathered; false when a write failed (now or before).
    bool flush();
    // Writes what is gathered when it holds either of the two source bytes at `offset`, which are
    // about to change.
    bool flushIfHolds(size_t offset);
    bool failed() const { return failed_; }
    int fd() const { return fd_; }

private:
    bool seekBack(int64_t length);

    int fd_;
    Bytes source_;
    int64_t remembered_ = 0;
    size_t pendingStart_ = 0;
    size_t pendingLength_ = 0;
    int64_t written_ = 0;  // the descriptor's position
    bool failed_ = false;
};

// The output side of a rebuild walk: what is kept, what is taken back, and the final
// truncation and VBR header patch.
class RebuildOutput {
public:
    RebuildOutput(int fd, Bytes source) : writer_(fd, source) {}

    // A tag (ID3v2 at the start, APEv2) written whole, cut at `limit`.
    bool writeTag(size_t offset, uint64_t length, size_t limit);
    // An accepted frame; the first one also fixes where its VBR header will be patched.
    bool writeFrame(size_t offset, size_t length, size_t limit, int sideInfo);
    // Call before the frame at `frameStart` gets its CRC corrected in the source.
    bool beforeCrcFix(size_t frameStart) { return writer_.flushIfHolds(frameStart + 4); }
    // Drops the last piece written; a frame is counted in framesDropped and its decoded
    // length taken off dataBytes.
    bool takeBackLast(CheckStats& stats);
    // The ID3v1 record at the end of the source.
    bool writeId3v1(size_t offset);
    // Writes what is gathered, cuts the output at its position and patches the VBR counts.
    bool finish(const CheckStats& stats);
    bool failed() const { return writer_.failed(); }

private:
    bool patchVbrHeader(const CheckStats& stats);
    bool writeBe32At(int64_t position, uint32_t value);

    PieceWriter writer_;
    bool lastWasFrame_ = false;
    int64_t lastFrameLength_ = 0;
    bool firstFrameWritten_ = false;
    int64_t firstFramePosition_ = 0;
    int firstSideInfo_ = 0;
};

// Step two of -check fix: rebuilds the mapped track into a temporary file and moves it into
// place, the original going to "<path>.bak". Unmaps `track`. Leaves errorCount at 1 when the
// rebuild run took place.
void rebuildTrack(const char* path, Mapping& track, const FileAttributes& attributes, CheckStats& stats,
                  FILE* reportStream, bool deleteBackup, bool keepDates);

}  // namespace tagwick
