// The audio summary of a track: first frame, encoder string, frame walk, averages and length.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "base/bytes.h"

namespace tagwick {

using ProgressCallback = std::function<void(const char* message, int percent)>;

enum class ScanMode : int { Full = 0, Steady = 1, Probe = 2 };

constexpr uint32_t VersionMpeg25 = 0, VersionReserved = 1, VersionMpeg2 = 2, VersionMpeg1 = 3,
                   VersionUnknown = 4, VersionAiff = 5;
constexpr uint8_t LayerNone = 4;
constexpr uint8_t ChannelMono = 3, ChannelMulti = 4, ChannelUnknown = 5;

struct MpegInfo {
    std::string encoder;          // at most 255 characters
    uint64_t lengthSeconds = 0;
    std::string lengthText;
    uint64_t audioStart = 0;      // offset of the first frame header
    uint32_t versionCode = VersionUnknown;
    uint8_t layerCode = LayerNone;
    uint32_t protectionBit = 0;
    uint8_t channelMode = ChannelUnknown;
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
// `fileName` names the track in the final progress message.
bool loadMpegInfo(MpegInfo& info, Bytes file, size_t start, ScanMode mode, const ProgressCallback* progress,
                  const char* fileName);
bool loadAiffInfo(MpegInfo& info, const AiffCommon& common);

// Frame length by the summary's rule: trunc(float(bitrate * 144000) / rate) + padding.
uint32_t summaryFrameLength(uint32_t bitrateKbps, float sampleRate, uint32_t padding);
// Bit rate in kbit/s by (version & 1) * 3 + layer and index (15 gives 0).
uint32_t summaryBitrate(uint32_t versionCode, uint32_t layerCode, uint32_t index);
float sampleRateFor(uint32_t versionCode, uint32_t index);

std::string_view versionName(uint32_t code);
std::string_view layerName(uint32_t code);
std::string_view channelModeName(uint32_t code);
std::string_view rateLabel(bool vbr, bool estimated);

// Length fields from a numerator and denominator (lengthSeconds = quotient, 0 for 0).
void setLength(MpegInfo& info, uint64_t numerator, uint64_t denominator);

}  // namespace tagwick
