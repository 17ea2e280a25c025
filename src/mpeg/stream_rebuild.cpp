// The rebuild (-check fix): the checker's walk writes what it accepts into a temporary file,
// which then takes the track's place while the original becomes "<path>.bak". The track is
// only read: corrected CRCs are written into the output.
#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

#include "mpeg/stream_checker.h"
#include "mpeg/stream_checker_internal.h"

namespace tagwick {

bool RebuildOutput::writePiece(uint64_t offset, uint64_t length, uint64_t limit) {
    const uint64_t size = track_.size();
    offset = std::min(offset, size);
    length = std::min({length, limit > offset ? limit - offset : 0, size - offset});
    // Copied a view at a time; a track that ends early (it shrank) gives a shorter piece.
    uint64_t done = 0;
    while (done < length) {
        const Bytes bytes = track_.view(offset + done, size_t(std::min<uint64_t>(length - done, FileReader::MaxView)));
        if (bytes.empty()) break;
        if (!out_.write(bytes)) return false;
        done += bytes.size();
    }
    lastPiece_ = done;
    return true;
}

bool RebuildOutput::writeTag(uint64_t offset, uint64_t length, uint64_t limit) {
    lastWasFrame_ = false;
    return writePiece(offset, length, limit);
}

bool RebuildOutput::writeFrame(uint64_t offset, uint64_t length, uint64_t limit, int sideInfo,
                               std::optional<uint16_t> crc) {
    const uint64_t position = out_.position();
    if (!firstFrameWritten_) {
        firstFrameWritten_ = true;
        firstFramePosition_ = position;
        firstSideInfo_ = sideInfo;
    }
    lastWasFrame_ = true;
    lastFrameLength_ = int64_t(length);
    if (!writePiece(offset, length, limit)) return false;
    if (!crc || lastPiece_ < 6) return true;
    const uint8_t field[2] = {uint8_t(*crc >> 8), uint8_t(*crc)};
    return out_.writeAt(position + 4, field);
}

bool RebuildOutput::takeBackLast(CheckStats& stats) {
    const uint64_t dropped = std::exchange(lastPiece_, 0);
    if (dropped > 0 && !out_.takeBack(dropped)) return false;
    if (dropped > 0 && lastWasFrame_) {
        ++stats.framesDropped;
        stats.dataBytes = int32_t(uint32_t(stats.dataBytes) - uint32_t(lastFrameLength_));
    }
    lastWasFrame_ = false;
    return true;
}

bool RebuildOutput::writeId3v1(uint64_t offset) {
    lastWasFrame_ = false;
    return writePiece(offset, 128, UINT64_MAX);
}

bool RebuildOutput::finish(const CheckStats& stats) {
    // Take-backs that reached the file leave bytes past the position.
    if (!out_.truncateHere()) return false;
    return patchVbrHeader(stats) && out_.flush();
}

bool RebuildOutput::patchVbrHeader(const CheckStats& stats) {
    if (!stats.vbrHeaderFound || !firstFrameWritten_) return true;
    const uint32_t frames = uint32_t(stats.totalFrames()) - uint32_t(stats.framesDropped);
    const uint32_t bytes = uint32_t(stats.dataBytes);
    if (!stats.vbrHeaderIsXing)
        return writeBe32At(firstFramePosition_ + 46, bytes) && writeBe32At(firstFramePosition_ + 50, frames);
    // The count fields follow the "Xing" word and the flags.
    const uint64_t field = firstFramePosition_ + uint64_t(firstSideInfo_) + 12;
    if (stats.headerHasFrames && stats.headerHasBytes) return writeBe32At(field, frames) && writeBe32At(field + 4, bytes);
    if (stats.headerHasFrames) return writeBe32At(field, frames);
    if (stats.headerHasBytes) return writeBe32At(field, bytes);
    return true;
}

bool RebuildOutput::writeBe32At(uint64_t position, uint32_t value) {
    // A field the output no longer reaches (its frame was taken back with nothing after it)
    // is written all the same, which lengthens the file up to it. Positions are 32-bit.
    if (position > uint64_t(INT32_MAX - 4)) return true;
    const uint8_t field[4] = {uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8), uint8_t(value)};
    return out_.writeAt(position, field);
}

void rebuildTrack(const char* path, FileReader& track, const FileAttributes& attributes, CheckStats& stats,
                  FILE* reportStream, bool deleteBackup, bool keepDates) {
    char tempName[1024];
    UniqueFd temp(makeTempFile(tempName, sizeof tempName, "mp3"));
    if (!temp.valid()) {
        report(reportStream, 1, "Failed to open the temporary file");
        return;
    }
    report(reportStream, 0, "Rebuilding file '%s'...\n", path);

    FileWriter out(std::move(temp));
    const int result = scanAudio(track, stats, nullptr, &out);
    // A failed close may mean the data never reached the disk: the same as a failed write.
    const bool closed = out.close();
    const bool readFailed = track.error() != 0;
    if (result < 0 || !closed || readFailed) {
        // Half a track must never take the original's place.
        if (readFailed) report(reportStream, 1, "Cannot open track '%s' or it is empty", path);
        else report(reportStream, 1, "Failed to write to the temporary file");
        removeFile(tempName);
        return;
    }
    track.close();

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
