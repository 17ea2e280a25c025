// The MPEG stream summary and the AIFF sound summary.
//
// The summary walks the file as a reader stepping through a stream would: it reads the
// headers, skips the bodies, and may stand past the end after a skip; every read there finds
// the end of the file. The headers are looked at in the reader's window, so a full walk over
// a large file costs about one read per buffer and nothing is allocated per frame.
#include "mpeg/mpeg_info.h"

#include <array>
#include <charconv>
#include <cstring>
#include <stdexcept>

#include "base/logger.h"
#include "base/text.h"

namespace tagwick {

namespace {

constexpr std::array<std::string_view, 6> VersionNames{"MPEG-2.5 LSF", "RESERVED", "MPEG-2 LSF",
                                                       "MPEG-1",       "UNKNOWN",  "AIFF"};
constexpr std::array<std::string_view, 5> LayerNames{"layer 1", "layer 2", "layer 3", "unknown", ""};
constexpr std::array<std::string_view, 6> ChannelModeNames{"Stereo", "Joint stereo", "Dual channel",
                                                           "Mono",   "Multi channel", "unknown"};

// Indexed by version code (2.5, reserved, 2, 1) and the header's rate index; 0 marks an invalid pair.
constexpr float SampleRates[4][4] = {
    {11025.0f, 12000.0f, 8000.0f, 0.0f},
    {0.0f, 0.0f, 0.0f, 0.0f},
    {22050.0f, 24000.0f, 16000.0f, 0.0f},
    {44100.0f, 48000.0f, 32000.0f, 0.0f},
};

// Rows 0-2: MPEG-2/2.5 layers I, II, III; rows 3-5: MPEG-1 layers I, II, III. Index 0 is free format.
constexpr size_t BitrateRows = 6, BitrateColumns = 15;
constexpr uint16_t Bitrates[BitrateRows][BitrateColumns] = {
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
};

// A word whose top 12 bits are set starts a frame.
constexpr uint32_t SyncMask = 0xFFF00000u;
// "TAG" of an ID3v1 record, tested as a bit mask: any word holding these bits ends the walk quietly.
constexpr uint32_t TagWordMask = 0x54414700u;

// Encoder probes of the first frame, in bytes from the frame start.
constexpr size_t EncoderProbeAt = 36;
constexpr size_t LameAfterXingAt = 156;  // behind a Xing header holding all its optional fields
constexpr size_t LameTagRead = 255;
constexpr size_t BareLameLength = 8;
constexpr double LongVersionFrom = 3.9;

// Frame bodies are scanned for "LAME" while the frame number is below this and no encoder is known.
constexpr uint32_t BodyScanFrameLimit = 200;
// The scan starts this many bytes before the body's end, so that 8 bytes fit behind an "L".
constexpr uint32_t BodyScanTail = 13;

constexpr uint32_t ProbeFrameLimit = 1000;   // mode 2 without VBR
constexpr uint32_t SteadyFrameLimit = 500;   // mode 1 without VBR, and mode 1's minimum walk
constexpr uint32_t SteadyEstimateLimit = 1000;
constexpr int64_t SteadySpan = 200;
constexpr uint32_t SteadyTolerance = 2;

constexpr size_t ProgressTextSize = 1056;

constexpr uint32_t ruleBitrate(uint32_t versionCode, uint32_t layerCode, uint32_t index) {
    const size_t row = size_t(versionCode & 1) * 3 + layerCode;
    if (row >= BitrateRows || index >= BitrateColumns) return 0;
    return Bitrates[row][index];
}

constexpr float ruleRate(uint32_t versionCode, uint32_t index) {
    if (versionCode > 3 || index > 3) return 0.0f;
    return SampleRates[versionCode][index];
}

constexpr uint32_t ruleLength(uint32_t bitrateKbps, float sampleRate, uint32_t padding) {
    if (!(sampleRate > 0.0f)) return 0;
    const uint32_t product = bitrateKbps * 144000u;
    const float quotient = float(product) / sampleRate;
    // Only an absurd rate could push the quotient past 32 bits; keep the conversion defined.
    if (!(quotient < 4294967296.0f)) return UINT32_MAX;
    return uint32_t(quotient) + padding;
}

// What the walk needs of a header word, by its version, layer, bit-rate and rate bits (bits
// 20-17 without the protection bit, and 15-10). Looked up rather than computed, which keeps a
// division off the path from one header to the next.
struct FrameRule {
    uint16_t kbps = 0;
    uint16_t length = 0;  // without the padding byte
    bool rateValid = false;
};
constexpr size_t FrameRuleCount = 1024;

constexpr size_t frameRuleKey(uint32_t word) { return ((word >> 10) & 0x3F) | ((word >> 17) & 0xF) << 6; }

constexpr std::array<FrameRule, FrameRuleCount> makeFrameRules() {
    std::array<FrameRule, FrameRuleCount> rules{};
    for (uint32_t key = 0; key < FrameRuleCount; ++key) {
        const uint32_t word = (key & 0x3F) << 10 | (key >> 6) << 17;
        const uint32_t version = (word >> 19) & 3;
        const uint32_t kbps = ruleBitrate(version, 3 - ((word >> 17) & 3), (word >> 12) & 15);
        const float rate = ruleRate(version, (word >> 10) & 3);
        rules[key] = {uint16_t(kbps), uint16_t(ruleLength(kbps, rate, 0)), rate != 0.0f};
    }
    return rules;
}
constexpr std::array<FrameRule, FrameRuleCount> FrameRules = makeFrameRules();


std::string cutText(std::string text, size_t slotSize) {
    if (text.size() >= slotSize) text.resize(slotSize - 1);
    return text;
}

char lowerAscii(uint8_t c) { return char(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c); }

// The number a C library's strtod would read at the start of `text` (in the "C" locale):
// blanks skipped, an optional sign, then a decimal number; 0 when there is none.
double leadingNumber(const char* text) {
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) ++text;
    bool negative = false;
    if (*text == '+' || *text == '-') negative = *text++ == '-';
    double value = 0.0;
    const char* end = text + std::strlen(text);
    if (std::from_chars(text, end, value).ec != std::errc{}) return 0.0;
    return negative ? -value : value;
}

// One run of the summary over one file.
class StreamSummary {
public:
    StreamSummary(MpegInfo& info, FileReader& file, uint64_t start, ScanMode mode)
        : info_(info), file_(file), pos_(start), mode_(mode) {}

    // Search, probe, walk and sum up; any frame that leaves nothing to go on sends the search
    // on from where the reading stopped. False when no usable frame was found before the end.
    bool run() {
        for (;;) {
            if (!findFirstFrame()) return false;
            const uint64_t frameAt = info_.audioStart;
            probeEncoder(frameAt);
            pos_ = frameAt + 4;

            const uint32_t bitrate = summaryBitrate(info_.versionCode, info_.layerCode, firstBitrateIndex_);
            const float rate = sampleRateFor(info_.versionCode, info_.frequency);
            if (rate == 0.0f) continue;
            const uint32_t length = summaryFrameLength(bitrate, rate, firstPadding_);
            if (length == 0) continue;

            if (walk(frameAt, length, bitrate) == WalkEnd::Restart) continue;
            if (finish()) return true;
        }
    }

private:
    enum class WalkEnd { Done, Restart };

    // Copies what the file holds of `count` bytes at `at`; the rest of `out` is left as it is.
    void copyAvailable(uint64_t at, char* out, size_t count) {
        file_.read(at, std::span(reinterpret_cast<uint8_t*>(out), count));
    }

    // Bytes past the end of the file read as zero, which matches no letter.
    bool matchesNoCase(uint64_t at, std::string_view lowerText) {
        const Bytes bytes = file_.view(at, lowerText.size());
        if (bytes.size() < lowerText.size()) return false;
        for (size_t i = 0; i < lowerText.size(); ++i)
            if (lowerAscii(bytes[i]) != lowerText[i]) return false;
        return true;
    }

    // The first pair 0xFF, then a byte with its top three bits and bit 1 set (layers I and III
    // only), searched from the current position without a distance limit; the header found
    // there is decoded into the summary.
    bool findFirstFrame() {
        uint64_t from = pos_;
        for (;;) {
            const Bytes block = file_.view(from, FileReader::MaxView);
            if (block.empty()) {
                pos_ = std::max(pos_, file_.size());
                return false;
            }
            const void* hit = std::memchr(block.data(), 0xFF, block.size());
            if (hit == nullptr) {
                from += block.size();
                continue;
            }
            const uint64_t at = from + uint64_t(static_cast<const uint8_t*>(hit) - block.data());
            const Bytes header = file_.view(at, 4);
            if (header.size() < 2) {
                pos_ = file_.size();
                return false;
            }
            if ((header[1] & 0xE2) == 0xE2) return decodeFirstHeader(at, header);
            from = at + 1;
        }
    }

    bool decodeFirstHeader(uint64_t at, Bytes header) {
        const uint8_t second = header[1];
        info_.versionCode = (second >> 3) & 3;
        info_.layerCode = uint8_t(3 - ((second >> 1) & 3));
        info_.protectionBit = second & 1;
        if (header.size() < 4) {
            pos_ = file_.size();
            return false;
        }
        const uint8_t third = header[2];
        const uint8_t fourth = header[3];
        firstBitrateIndex_ = third >> 4;
        info_.frequency = (third >> 2) & 3;
        firstPadding_ = (third >> 1) & 1;
        info_.channelMode = uint8_t(fourth >> 6);
        info_.copyrightBit = (fourth >> 3) & 1;
        info_.originalBit = (fourth >> 2) & 1;
        info_.audioStart = at;
        pos_ = at + 4;
        return true;
    }

    // "Xing"/"Info" at 36 leads to a LAME tag at 156; a bare "LAME" at 36 is taken as it is.
    void probeEncoder(uint64_t frameAt) {
        encoder_.fill(0);
        if (matchesNoCase(frameAt + EncoderProbeAt, "xing") || matchesNoCase(frameAt + EncoderProbeAt, "info")) {
            // The 255 bytes go straight into the encoder buffer: whatever text stands there
            // (another encoder's name, say) is the encoder unless it is a LAME tag to be cut.
            copyAvailable(frameAt + LameAfterXingAt, encoder_.data(), LameTagRead);
            const char* tag = encoder_.data();
            if (lowerAscii(uint8_t(tag[0])) != 'l' || lowerAscii(uint8_t(tag[1])) != 'a' ||
                lowerAscii(uint8_t(tag[2])) != 'm' || lowerAscii(uint8_t(tag[3])) != 'e')
                return;
            // "LAME3.90.3" keeps "LAME3.90", "LAME3.96r" all 9 characters; older versions wrote
            // longer texts, of which 20 characters are kept.
            const double version = leadingNumber(tag + 4);
            const size_t keep = version >= LongVersionFrom ? (tag[8] == '.' ? 8 : 9) : 20;
            std::fill(encoder_.begin() + keep, encoder_.end(), 0);
        } else if (matchesNoCase(frameAt + EncoderProbeAt, "lame")) {
            copyAvailable(frameAt + EncoderProbeAt, encoder_.data(), BareLameLength);
        }
    }

    // Backwards from body offset length - 13: zero bytes are skipped, an "L" ends the scan
    // (taking "LAME" and the 4 bytes after it when they stand there), and any other byte outside
    // 0x20-0x7F ends it. Bytes past the end of the file read as zero.
    void scanBody(uint64_t frameAt, uint32_t length) {
        const uint64_t body = frameAt + 4;
        const Bytes bytes = file_.view(body, length - BodyScanTail + 1);
        for (size_t offset = size_t(length - BodyScanTail) + 1; offset-- > 0;) {
            const uint8_t byte = offset < bytes.size() ? bytes[offset] : 0;
            if (byte == 0) continue;
            if (byte == 'L' || byte == 'l') {
                if (matchesNoCase(body + offset, "lame")) copyAvailable(body + offset, encoder_.data(), BareLameLength);
                return;
            }
            if (byte < 0x20 || byte > 0x7F) return;
        }
    }

    // The frame walk. The next header stands `length` bytes after the current one (a relative skip of
    // length - 4 after the header, so a length below 4 steps back).
    WalkEnd walk(uint64_t frameAt, uint32_t length, uint32_t bitrate) {
        info_.frameCount = 1;
        info_.vbrDetected = false;
        bitrateSum_ = bitrate;
        uint32_t previous = bitrate;
        while (length != 0) {
            if (info_.frameCount < BodyScanFrameLimit && encoder_[0] == 0 && length > 12) scanBody(frameAt, length);
            if (mode_ == ScanMode::Full && walkPlainFrames(frameAt, length, previous)) continue;

            const uint64_t next = frameAt + length;
            const Bytes header = file_.view(next, 4);
            if (header.size() < 4) {
                pos_ = std::max(next, file_.size());
                return WalkEnd::Done;
            }
            const uint32_t word = be32At(header, 0);
            pos_ = next + 4;
            if ((word & SyncMask) != SyncMask) {
                if ((word & TagWordMask) != TagWordMask) info_.streamError = true;
                return WalkEnd::Done;
            }

            ++info_.frameCount;
            const FrameRule& rule = FrameRules[frameRuleKey(word)];
            const uint32_t kbps = rule.kbps;
            if (kbps != previous) info_.vbrDetected = true;
            if (!rule.rateValid) return WalkEnd::Restart;
            bitrateSum_ += kbps;
            length = rule.length + ((word >> 9) & 1);
            sumLengths_ += length;
            frameAt = next;

            if (mode_ == ScanMode::Steady && steadyStop()) return WalkEnd::Done;
            if (!info_.vbrDetected && noVbrLimitReached()) return WalkEnd::Done;
            previous = kbps;
        }
        return WalkEnd::Done;
    }

    // The bulk of a full walk, once the bodies are no longer scanned: the frames that follow are
    // counted straight through what the reader holds, as the walk would count them. Stops before
    // a header it does not hold or that the walk must look at (no frame, no rate); true when it
    // counted any.
    bool walkPlainFrames(uint64_t& frameAt, uint32_t& length, uint32_t& previous) {
        if (info_.frameCount < BodyScanFrameLimit && encoder_[0] == 0) return false;
        const Bytes block = file_.buffered(frameAt);
        uint64_t at = length;  // the next header, from frameAt
        uint32_t frames = info_.frameCount;
        uint64_t bitrateSum = bitrateSum_, lengthSum = sumLengths_;
        bool vbr = info_.vbrDetected;
        while (length != 0 && at <= block.size() && block.size() - at >= 4) {
            const uint32_t word = be32At(block, size_t(at));
            if ((word & SyncMask) != SyncMask) break;
            const FrameRule& rule = FrameRules[frameRuleKey(word)];
            if (!rule.rateValid) break;
            ++frames;
            if (rule.kbps != previous) vbr = true;
            bitrateSum += rule.kbps;
            length = rule.length + ((word >> 9) & 1);
            lengthSum += length;
            previous = rule.kbps;
            at += length;
        }
        const uint32_t counted = frames - info_.frameCount;
        if (counted == 0) return false;
        const uint64_t lastHeader = frameAt + (at - length);
        frameAt = lastHeader;
        pos_ = lastHeader + 4;
        info_.frameCount = frames;
        info_.vbrDetected = vbr;
        bitrateSum_ = bitrateSum;
        sumLengths_ = lengthSum;
        return true;
    }

    // Mode 1: the average is steady once it stayed within 2 of its reference for more than 200
    // frames (and more than 500 frames were seen). The reference and its mark outlive a return
    // to the frame search.
    bool steadyStop() {
        const uint32_t average = uint32_t(bitrateSum_ / info_.frameCount);
        const uint32_t distance = average > steadyReference_ ? average - steadyReference_ : steadyReference_ - average;
        if (distance > SteadyTolerance) {
            steadyReference_ = average;
            steadyMark_ = info_.frameCount;
            return false;
        }
        if (steadyMark_ != 0 && int64_t(info_.frameCount) - int64_t(steadyMark_) > SteadySpan &&
            info_.frameCount > SteadyFrameLimit)
            return true;
        if (info_.frameCount > SteadyEstimateLimit) {
            info_.estimated = true;
            return true;
        }
        return false;
    }

    bool noVbrLimitReached() {
        const uint32_t limit = mode_ == ScanMode::Probe    ? ProbeFrameLimit
                               : mode_ == ScanMode::Steady ? SteadyFrameLimit
                                                           : 0;
        if (limit == 0 || info_.frameCount <= limit) return false;
        info_.estimated = true;
        Logger::log(LogProgress, "VBR has not been found in the first %d frames (assuming CBR)", int(limit));
        return true;
    }

    // Average, label, extrapolated count and length; false when the average came out as zero
    // (the search then goes on).
    bool finish() {
        info_.averageBitrate = uint32_t(bitrateSum_ / info_.frameCount);
        const std::string_view label = rateLabel(info_.vbrDetected, info_.estimated);
        info_.bitrateText = cutText(format("%d kbps (%.*s)", int(info_.averageBitrate), int(label.size()), label.data()),
                                    BitrateTextSize);
        // The size as the reads found it (a file that shrank while read counts as it is now).
        const uint64_t size = file_.size();
        const uint64_t audioBytes = size > info_.audioStart ? size - info_.audioStart : 0;
        if (info_.estimated) {
            // The first frame's length is not in the sum while it is in the count: the slightly
            // low average length is part of the design.
            const uint64_t averageLength = sumLengths_ / info_.frameCount;
            if (averageLength == 0) throw std::domain_error("no frame length to extrapolate from");
            info_.frameCount = uint32_t(audioBytes / averageLength);
        }
        if (info_.averageBitrate == 0) return false;
        setLength(info_, audioBytes * 8, uint64_t(info_.averageBitrate) * 1000);
        info_.encoder = encoder_.data();
        return true;
    }

    MpegInfo& info_;
    FileReader& file_;
    uint64_t pos_;
    ScanMode mode_;
    std::array<char, EncoderTextSize> encoder_{};
    uint32_t firstBitrateIndex_ = 0;
    uint32_t firstPadding_ = 0;
    uint64_t bitrateSum_ = 0;
    // Kept across returns to the frame search within one call.
    uint64_t sumLengths_ = 0;
    uint32_t steadyReference_ = 0;
    uint32_t steadyMark_ = 0;
};

}  // namespace

uint32_t summaryFrameLength(uint32_t bitrateKbps, float sampleRate, uint32_t padding) {
    return ruleLength(bitrateKbps, sampleRate, padding);
}

uint32_t summaryBitrate(uint32_t versionCode, uint32_t layerCode, uint32_t index) {
    return ruleBitrate(versionCode, layerCode, index);
}

float sampleRateFor(uint32_t versionCode, uint32_t index) { return ruleRate(versionCode, index); }

std::string_view versionName(uint32_t code) {
    return code < VersionNames.size() ? VersionNames[code] : VersionNames[VersionUnknown];
}

std::string_view layerName(uint32_t code) { return code < LayerNames.size() ? LayerNames[code] : LayerNames[3]; }

std::string_view channelModeName(uint32_t code) {
    return code < ChannelModeNames.size() ? ChannelModeNames[code] : ChannelModeNames[ChannelUnknown];
}

std::string_view rateLabel(bool vbr, bool estimated) {
    if (vbr) return estimated ? "VBR quick" : "VBR average";
    return estimated ? "CBR quick" : "CBR";
}

void setLength(MpegInfo& info, uint64_t numerator, uint64_t denominator) {
    info.lengthSeconds = denominator != 0 ? numerator / denominator : 0;
    info.lengthText = cutText(durationText((long long)numerator, (long long)denominator), LengthTextSize);
}

bool loadMpegInfo(MpegInfo& info, FileReader& file, uint64_t start, ScanMode mode,
                  const ProgressCallback* progress, const char* fileName) {
    info.streamError = false;
    // A full walk reads a large file front to back.
    if (mode == ScanMode::Full && file.size() > FileReader::BufferSize) file.adviseSequential();
    try {
        StreamSummary summary(info, file, start, mode);
        if (!summary.run()) return false;
    } catch (...) {
        Logger::log(LogError, "Failed to parse the MPEG data");
    }
    if (progress != nullptr && *progress) {
        char message[ProgressTextSize];
        formatBounded(message, sizeof message, "Loading %s", fileName ? fileName : "(null)");
        (*progress)(message, 100);
    }
    return true;
}

bool loadMpegInfo(MpegInfo& info, Bytes file, uint64_t start, ScanMode mode, const ProgressCallback* progress,
                  const char* fileName) {
    FileReader reader(file);
    return loadMpegInfo(info, reader, start, mode, progress, fileName);
}

bool loadAiffInfo(MpegInfo& info, const AiffCommon& common) {
    info.versionCode = VersionAiff;
    info.layerCode = LayerNone;
    if (common.sampleRate == 0) return false;
    info.sampleSize = common.sampleSize;
    // Unsigned 32-bit on purpose: the product wraps for absurd values rather than widening.
    info.averageBitrate = common.sampleSize * uint32_t(common.channels) * common.sampleRate / 1000u;
    if (common.channels == 1) info.channelMode = ChannelMono;
    else if (common.channels > 2) info.channelMode = ChannelMulti;
    info.frameCount = common.sampleFrames;
    info.frequency = common.sampleRate;
    // Five or more sample frames past the last whole second count as one more second.
    const uint64_t frames = common.sampleFrames;
    const uint64_t rate = common.sampleRate;
    setLength(info, frames % rate > 4 ? frames + rate : frames, rate);
    return true;
}

}  // namespace tagwick
