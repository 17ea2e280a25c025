// The stream checker (-check): walks a whole file, classifies every stretch as a tag,
// a RIFF wrapper, an MPEG audio frame or invalid data, and reports what it found. The same
// walk with an output file is the rebuild (-check fix), see stream_rebuild.cpp.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

#include "base/bytes.h"
#include "base/file_reader.h"
#include "base/file_writer.h"

namespace tagwick {

// Frame counters, in the order the summary line lists them.
enum FrameKind : int {
    KindM1L1 = 0, KindM1L2, KindM1L3, KindM2L1, KindM2L2, KindM2L3, KindM25L1, KindM25L2, KindM25L3,
    FrameKindCount
};

// Everything one walk counts. Offsets of -1 mean "not met". The fields are 32-bit on purpose:
// the report prints them as such.
struct CheckStats {
    std::array<int32_t, FrameKindCount> frameCounts{};
    int32_t id3v1Count = 0;
    int32_t id3v2Count = 0;
    int32_t apeCount = 0;
    int32_t vbrHeaderFound = 0;
    int32_t vbrHeaderIsXing = 1;   // 1 Xing or Info, 0 VBRI
    int32_t headerHasBytes = 0;
    int32_t headerBytes = -1;
    int32_t headerHasFrames = 0;
    int32_t headerFrames = -1;
    int32_t riffOffset = -1;
    int32_t unknownFormatOffset = -1;
    int32_t truncatedOffset = -1;
    int32_t streamErrorOffset = -1;
    int32_t invalidStartOffset = -1;
    int32_t invalidEndOffset = -1;
    int32_t stereo = 0;
    int32_t protectedFrame = 0;
    int32_t crcPresent = 0;
    int32_t crcErrorSeen = 0;
    int32_t previousBitrate = -2;  // kbit/s of the last frame
    int32_t layer = 0;             // 1, 2 or 3
    int32_t version = 0;           // 1, 2 or 25
    int32_t vbr = 0;
    int32_t dataBytes = 0;
    int32_t errorCount = 0;
    int32_t framesDropped = 0;
    int32_t crcErrorCount = 0;

    // The sum of the nine frame counters.
    int32_t totalFrames() const;
};

void resetStats(CheckStats& stats);

// Report levels: 0 bare text, 1 "Error: ", 2 "Warning: ", 3 "Info: "; a line feed follows.
// Other levels and a null stream write nothing. Returns the characters written.
int report(FILE* stream, int level, const char* format, ...) __attribute__((format(printf, 3, 4)));

// Side-information length that follows the header (and the CRC): 17/32 for MPEG-1 mono/stereo,
// 9/17 for MPEG-2 and 2.5.
int sideInfoLength(int32_t version, bool stereo);

// Decodes the frame header `header` (the bytes at `offset`) with the standard's exact length
// rules. The caller has seen the sync bits; the kind's counter is incremented as soon as
// version and layer are known, and stays incremented when a later step fails. Returns the
// frame length, or -1 (and streamErrorOffset = offset); fewer than 4 bytes also fail.
int decodeFrameHeader(Bytes header, uint64_t offset, CheckStats& stats);

// Offset of the first frame of `count` decodable frames of one version and layer, back to
// back and wholly before `end`, at or after `from`; -1 when there is none. Counts nothing.
int64_t findFrameRun(FileReader& data, uint64_t from, uint64_t end, int count);

// CRC-16 of a layer III frame (header bytes 2-3 and the side information) against bytes 4-5 of
// `frame`, the frame's bytes from its start. Uses the version and channel mode of the frame
// just decoded into `stats`. On a mismatch counts the error and gives the right value in
// `computed`. True when it matched (or the bytes are too few to judge).
bool checkFrameCrc(Bytes frame, CheckStats& stats, uint16_t* computed = nullptr);

// VBR headers of the first frame, given its bytes from its start: "Xing"/"Info" after the side
// information, "VBRI" at +36. True when found.
bool readXingHeader(Bytes frame, CheckStats& stats);
bool readVbriHeader(Bytes frame, CheckStats& stats);

// A RIFF WAVE wrapper at `offset`: the offset of the "data" chunk's body (chunks read before
// `end`), or -1.
int64_t findRiffData(FileReader& data, uint64_t offset, uint64_t end);

// The walk. With `out`, accepted pieces are written to it (see stream_rebuild.cpp), wrong CRCs
// corrected there. Returns 0, or -1 when a write to the output failed.
int scanAudio(FileReader& data, CheckStats& stats, FILE* reportStream, FileWriter* out);
// The same over bytes in memory, writing to `outFd` (from where it stands) when `fix` is set.
int scanAudio(Bytes data, CheckStats& stats, FILE* reportStream, bool fix, int outFd);

// Warnings after a walk (some add to errorCount) and, unless `quiet`, the summary line.
void printReport(FILE* stream, CheckStats& stats, bool quiet);

// -check [fix] on one track. The report goes to `logPath` (opened "wb") or standard error.
// Returns the final errorCount (1 after a rebuild).
int checkAudioFile(const char* path, const char* logPath, bool fix, bool quiet, bool deleteBackup,
                   bool keepDates);

}  // namespace tagwick
