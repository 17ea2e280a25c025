// The audio summary of a track: first frame, encoder string, frame walk, averages and length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "base/bytes.h"
#include "base/file_reader.h"

namespace tagwick {

using ProgressCallback = std::function<void(const char* message, int percent)>;

// How far the summary walks the frames; TagsOnly leaves the stream alone (a save's read-back
// compares tags, and walking every frame again would double its reading).
enum class ScanMode : int { Full = 0, Steady = 1, Probe = 2, TagsOnly = 3 };

constexpr uint32_t VersionMpeg25 = 0, VersionReserved = 1, VersionMpeg2 = 2, VersionMpeg1 = 3,
                   VersionUnknown = 4, VersionAiff = 5;
constexpr uint8_t LayerNone = 4;
constexpr uint8_t ChannelMono = 3, ChannelMulti = 4, ChannelUnknown = 5;

// Sizes of the fixed text slots the summary's texts are cut to (terminator included).
constexpr size_t EncoderTextSize = 256;
constexpr size_t LengthTextSize = 48;
constexpr size_t BitrateTextSize = 64;

struct MpegInfo {
    std::string encoder;          // at most 255 characters
    uint64_t lengthSeconds = 0;
    std::string lengthText;
    uint64_t audioStart = 0;      // offset of the first frame header
    uint32_t versionCode = VersionUnknown;
    uint8_t layerCode = LayerNone;
    uint32_t protectionBit = 0;
    uint8_t channelMode = 0;      // a cleared summary reads as stereo (AIFF keeps it for two channels)
    uint32_t averageBitrate = 0;  // kbit/s
    bool vbrDetected = false;
    bool estimated = false;
    std::string bitrateText;
    uint32_t frequency = 0;       // sample-rate index (MPEG) or Hz (AIFF)
    uint32_t frameCount = 0;
    bool copyrightBit = false;
    bool originalBit = false;
    bool streamError = false;
    uint32_t sampleSize = 0;      // bits per sample (AIFF)

    void reset() { *this = MpegInfo{}; }
};

struct AiffCommon {
    uint16_t channels = 0;
    uint32_t sampleFrames = 0;
    uint32_t sampleSize = 0;
    uint32_t sampleRate = 0;
};

// Summarises the MPEG stream of `file`, searching for the first frame from `start`.
// `fileName` names the track in the final progress message. Only streamError is cleared
// here; the caller resets the rest (the track's reset does). Returns false when no usable
// frame was found.
bool loadMpegInfo(MpegInfo& info, FileReader& file, uint64_t start, ScanMode mode,
                  const ProgressCallback* progress, const char* fileName);
// The same over bytes in memory.
bool loadMpegInfo(MpegInfo& info, Bytes file, uint64_t start, ScanMode mode, const ProgressCallback* progress,
                  const char* fileName);
// The same summary from an AIFF common chunk; false when the sample rate is 0.
bool loadAiffInfo(MpegInfo& info, const AiffCommon& common);

// Frame length by the summary's rule: trunc(float(bitrate * 144000) / rate) + padding.
// 0 when the rate is 0.
uint32_t summaryFrameLength(uint32_t bitrateKbps, float sampleRate, uint32_t padding);
// Bit rate in kbit/s by (version & 1) * 3 + layer and index (15 gives 0). The reserved layer
// of an MPEG-1 (or reserved) version would read past the last row: it gives 0.
uint32_t summaryBitrate(uint32_t versionCode, uint32_t layerCode, uint32_t index);
// Sample rate in Hz by version code and rate index; 0 for an invalid pair.
float sampleRateFor(uint32_t versionCode, uint32_t index);

// Table texts for the codes; a code past the table gives the table's "unknown" entry.
std::string_view versionName(uint32_t code);
std::string_view layerName(uint32_t code);
std::string_view channelModeName(uint32_t code);
std::string_view rateLabel(bool vbr, bool estimated);

// Length fields from a numerator and denominator (lengthSeconds = quotient, 0 for 0).
void setLength(MpegInfo& info, uint64_t numerator, uint64_t denominator);

}  // namespace tagwick
