// The rebuild (-check fix): the checker's walk writes what it accepts into a temporary file,
// which then takes the track's place while the original becomes "<path>.bak".
#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

#include "mpeg/stream_checker.h"
#include "mpeg/stream_checker_internal.h"

namespace tagwick {

PieceWriter::PieceWriter(int fd, Bytes source) : fd_(fd), source_(source) {
    long here = seekFd(fd, 0, true);
    written_ = here < 0 ? 0 : int64_t(here);
}

int64_t PieceWriter::writePiece(int64_t offset, int64_t length, int64_t limit) {
    if (length < 0) {
        const int64_t piece = std::exchange(remembered_, 0);
        if (piece == 0) return 0;
        // Whatever is still gathered is simply dropped; only the rest needs a seek back.
        const int64_t gathered = std::min(piece, int64_t(pendingLength_));
        pendingLength_ -= size_t(gathered);
        if (piece > gathered && !seekBack(piece - gathered)) return -1;
        return piece;
    }
    if (failed_) return -1;
    const int64_t size = int64_t(source_.size());
    if (offset < 0 || offset > size) offset = size;
    if (limit >= 0 && length > limit - offset) length = std::max<int64_t>(0, limit - offset);
    length = std::min(length, size - offset);  // never beyond the source
    if (length > 0) {
        if (pendingLength_ > 0 && int64_t(pendingStart_ + pendingLength_) == offset) {
            pendingLength_ += size_t(length);
        } else {
            if (!flush()) return -1;
            pendingStart_ = size_t(offset);
            pendingLength_ = size_t(length);
        }
    }
    remembered_ = length;
    return length;
}

bool PieceWriter::flush() {
    if (failed_) return false;
    if (pendingLength_ == 0) return true;
    size_t done = 0;
    if (writeFd(fd_, source_.data() + pendingStart_, pendingLength_, &done) != 1 || done != pendingLength_) {
        failed_ = true;
        return false;
    }
    written_ += int64_t(pendingLength_);
    pendingLength_ = 0;
    return true;
}

bool PieceWriter::flushIfHolds(size_t offset) {
    // The two CRC bytes at `offset` against the gathered range.
    if (pendingLength_ == 0 || offset + 2 <= pendingStart_ || offset >= pendingStart_ + pendingLength_) return true;
    return flush();
}

bool PieceWriter::seekBack(int64_t length) {
    while (length > 0) {
        const int32_t step = int32_t(std::min<int64_t>(length, INT32_MAX));
        const int64_t target = written_ - step;
        if (target < 0 || seekFd(fd_, -step, true) != long(int32_t(uint32_t(uint64_t(target))))) {
            failed_ = true;
            return false;
        }
        written_ = target;
        length -= step;
    }
    return true;
}

bool RebuildOutput::writeTag(size_t offset, uint64_t length, size_t limit) {
    const int64_t capped = int64_t(std::min<uint64_t>(length, uint64_t(INT64_MAX / 2)));
    lastWasFrame_ = false;
    return writer_.writePiece(int64_t(offset), capped, int64_t(limit)) >= 0;
}

bool RebuildOutput::writeFrame(size_t offset, size_t length, size_t limit, int sideInfo) {
    if (!firstFrameWritten_) {
        firstFrameWritten_ = true;
        firstFramePosition_ = writer_.position();
        firstSideInfo_ = sideInfo;
    }
    lastWasFrame_ = true;
    lastFrameLength_ = int64_t(length);
    return writer_.writePiece(int64_t(offset), int64_t(length), int64_t(limit)) >= 0;
}

bool RebuildOutput::takeBackLast(CheckStats& stats) {
    const int64_t dropped = writer_.takeBack();
    if (dropped < 0) return false;
    if (dropped > 0 && lastWasFrame_) {
        ++stats.framesDropped;
        stats.dataBytes = int32_t(uint32_t(stats.dataBytes) - uint32_t(lastFrameLength_));
    }
    lastWasFrame_ = false;
    return true;
}

bool RebuildOutput::writeId3v1(size_t offset) {
    lastWasFrame_ = false;
    return writer_.writePiece(int64_t(offset), 128, -1) >= 0;
}

bool RebuildOutput::finish(const CheckStats& stats) {
    if (!writer_.flush()) return false;
    // Take-backs that reached the descriptor leave bytes past the position.
    if (truncateAtPosition(writer_.fd()) != 0) return false;
    return patchVbrHeader(stats);
}

bool RebuildOutput::patchVbrHeader(const CheckStats& stats) {
    if (!stats.vbrHeaderFound || !firstFrameWritten_) return true;
    const uint32_t frames = uint32_t(stats.totalFrames()) - uint32_t(stats.framesDropped);
    const uint32_t bytes = uint32_t(stats.dataBytes);
    if (!stats.vbrHeaderIsXing)
        return writeBe32At(firstFramePosition_ + 46, bytes) && writeBe32At(firstFramePosition_ + 50, frames);
    // The count fields follow the "Xing" word and the flags.
    const int64_t field = firstFramePosition_ + firstSideInfo_ + 12;
    if (stats.headerHasFrames && stats.headerHasBytes) return writeBe32At(field, frames) && writeBe32At(field + 4, bytes);
    if (stats.headerHasFrames) return writeBe32At(field, frames);
    if (stats.headerHasBytes) return writeBe32At(field, bytes);
    return true;
}

bool RebuildOutput::writeBe32At(int64_t position, uint32_t value) {
    // A field the output no longer reaches (its frame was taken back with nothing after it)
    // is written all the same, which lengthens the file up to it.
    if (position < 0 || position > INT32_MAX - 4) return true;
    if (seekFd(writer_.fd(), int32_t(position), false) != long(position)) return false;
    const uint8_t field[4] = {uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8), uint8_t(value)};
    size_t done = 0;
    return writeFd(writer_.fd(), field, sizeof field, &done) == 1 && done == sizeof field;
}

void rebuildTrack(const char* path, Mapping& track, const FileAttributes& attributes, CheckStats& stats,
                  FILE* reportStream, bool deleteBackup, bool keepDates) {
    char tempName[1024];
    UniqueFd temp(makeTempFile(tempName, sizeof tempName, "mp3"));
    if (!temp.valid()) {
        report(reportStream, 1, "Failed to open the temporary file");
        return;
    }
    report(reportStream, 0, "Rebuilding file '%s'...\n", path);

    const int result = scanAudio(track.bytes(), stats, nullptr, true, temp.get());
    // A failed close may mean the data never reached the disk: the same as a failed write.
    const bool closed = temp.close();
    if (result < 0 || !closed) {
        report(reportStream, 1, "Failed to write to the temporary file");
        removeFile(tempName);
        return;
    }
    track.reset();

    char backup[1025];
    if (std::snprintf(backup, sizeof backup, "%s.bak", path) >= int(sizeof backup)) {
        // A cut name could be the track's own: refuse rather than lose the original.
        report(reportStream, 1, "Could not rename the audio file from '%s' to '%s'", path, backup);
        removeFile(tempName);
        return;
    }
    // moveFile gives -1 for success and an error number otherwise, so a failed move is not
    // caught here: when the first fails, the second still puts the rebuilt file in place.
    // The comparison with 0 is intended and kept.
    if (moveFile(path, backup) == 0) {
        report(reportStream, 1, "Could not rename the audio file from '%s' to '%s'", path, backup);
        removeFile(tempName);
        return;
    }
    const int moved = moveFile(tempName, path);
    if (moved != CopyOk) removeFile(tempName);  // nothing of a failed run stays in /tmp
    if (moved == 0) {
        report(reportStream, 1, "Could not rename the audio file from '%s' to '%s'", tempName, path);
        return;
    }
    setFileAttributes(path, attributes, keepDates);
    if (deleteBackup) removeFile(backup);
    report(reportStream, 0, "Audio file has been rebuilt");
}

}  // namespace tagwick
