// Pieces shared by the checker's walk and the rebuild: the output side of a rebuild walk, and
// the rebuild driver that puts the new file in the track's place.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>

#include "base/file_reader.h"
#include "base/file_writer.h"
#include "base/files.h"
#include "mpeg/stream_checker.h"

namespace tagwick {

// What a rebuild walk keeps: pieces of the track copied to the output, the last of which can
// be taken back, then the final cut and the VBR header patch. A piece stands for `length`
// bytes of the track, cut at a limit and at the track's end; its length is remembered until
// the next piece or a take-back.
class RebuildOutput {
public:
    RebuildOutput(FileReader& track, FileWriter& out) : track_(track), out_(out) {}

    // A tag (ID3v2 at the start, APEv2) written whole, cut at `limit`.
    bool writeTag(uint64_t offset, uint64_t length, uint64_t limit);
    // An accepted frame, with its CRC bytes replaced by `crc` when given. The first one also
    // fixes where its VBR header will be patched.
    bool writeFrame(uint64_t offset, uint64_t length, uint64_t limit, int sideInfo, std::optional<uint16_t> crc);
    // Drops the last piece written; a frame is counted in framesDropped and its decoded
    // length taken off dataBytes.
    bool takeBackLast(CheckStats& stats);
    // The ID3v1 record at the end of the track.
    bool writeId3v1(uint64_t offset);
    // Cuts the output at its position and patches the VBR counts.
    bool finish(const CheckStats& stats);
    bool failed() const { return out_.failed(); }

private:
    bool writePiece(uint64_t offset, uint64_t length, uint64_t limit);
    bool patchVbrHeader(const CheckStats& stats);
    bool writeBe32At(uint64_t position, uint32_t value);

    FileReader& track_;
    FileWriter& out_;
    uint64_t lastPiece_ = 0;
    bool lastWasFrame_ = false;
    int64_t lastFrameLength_ = 0;
    bool firstFrameWritten_ = false;
    uint64_t firstFramePosition_ = 0;
    int firstSideInfo_ = 0;
};

// Step two of -check fix: rebuilds the track into a temporary file and moves it into place,
// the original going to "<path>.bak". Closes `track`. Leaves errorCount at 1 when the rebuild
// run took place.
void rebuildTrack(const char* path, FileReader& track, const FileAttributes& attributes, CheckStats& stats,
                  FILE* reportStream, bool deleteBackup, bool keepDates);

}  // namespace tagwick
