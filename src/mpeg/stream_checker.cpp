// The stream checker: one walk over the whole file, frame by frame, with the exact frame
// lengths of the standard (unlike the summary's quick estimate), then a report. The walk looks
// at the file through the reader's window, so it reads about one buffer per system call.
#include "mpeg/stream_checker.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <optional>
#include <string>

#include "base/files.h"
#include "mpeg/stream_checker_internal.h"

namespace tagwick {
namespace {

struct KindInfo {
    int32_t version;      // 1, 2 or 25
    int32_t layer;        // 1, 2 or 3
    int bitrateTable;     // index into kBitrates
    int rateRow;          // index into kSampleRates
    const char* name;     // the summary's name when it is the only kind
    const char* label;    // the summary's short form when there are several
};

constexpr KindInfo kKinds[FrameKindCount] = {
    {1, 1, 0, 0, "MPEG 1 Layer I", "M1 L1"},       {1, 2, 1, 0, "MPEG 1 Layer II", "M1 L2"},
    {1, 3, 2, 0, "MPEG 1 Layer III", "M1 L3"},     {2, 1, 3, 1, "MPEG 2 Layer I", "M2 L1"},
    {2, 2, 4, 1, "MPEG 2 Layer II", "M2 L2"},      {2, 3, 4, 1, "MPEG 2 Layer III", "M2 L3"},
    {25, 1, 3, 2, "MPEG 2.5 Layer I", "M2.5 L1"},  {25, 2, 4, 2, "MPEG 2.5 Layer II", "M2.5 L2"},
    {25, 3, 4, 2, "MPEG 2.5 Layer III", "M2.5 L3"},
};

// Version and layer bits together (bits 4-1 of header byte 1) to the kind; -1 is reserved.
constexpr int8_t kKindByCode[16] = {
    -1,        KindM25L3, KindM25L2, KindM25L1, -1, -1,       -1,       -1,
    -1,        KindM2L3,  KindM2L2,  KindM2L1,  -1, KindM1L3, KindM1L2, KindM1L1,
};

// kbit/s by bit-rate index; index 0 (free format) and 15 are rejected.
constexpr int kBitrates[5][16] = {
    {-1, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448, -1},  // MPEG-1 layer I
    {-1, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, -1},     // MPEG-1 layer II
    {-1, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, -1},      // MPEG-1 layer III
    {-1, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256, -1},     // MPEG-2/2.5 layer I
    {-1, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, -1},          // MPEG-2/2.5 layers II, III
};

constexpr int kSampleRates[3][3] = {{44100, 48000, 32000}, {22050, 24000, 16000}, {11025, 12000, 8000}};

// The standard's frame length of a kind for the bit-rate and rate indices and the padding bit.
constexpr int frameLength(const KindInfo& info, int kbps, int rate, int padding) {
    if (info.layer == 1) return (12000 * kbps / rate + padding) * 4;
    if (info.layer == 2 || info.version == 1) return 144000 * kbps / rate + padding;
    return 72000 * kbps / rate + padding;
}

// The lengths by kind and bits 7-1 of header byte 2 (bit-rate index, rate index, padding), 0
// where an index is invalid: looked up, the walk's step from one header to the next needs no
// division.
using LengthTable = std::array<std::array<int32_t, 128>, FrameKindCount>;
constexpr LengthTable makeLengthTable() {
    LengthTable lengths{};
    for (int kind = 0; kind < FrameKindCount; ++kind) {
        const KindInfo& info = kKinds[kind];
        for (int bits = 0; bits < 128; ++bits) {
            const int kbps = kBitrates[info.bitrateTable][bits >> 3];
            const int rateIndex = (bits >> 1) & 3;
            if (kbps < 0 || rateIndex == 3) continue;
            lengths[size_t(kind)][size_t(bits)] = frameLength(info, kbps, kSampleRates[info.rateRow][rateIndex], bits & 1);
        }
    }
    return lengths;
}
constexpr LengthTable kFrameLengths = makeLengthTable();

// CRC-16 of the audio standard: polynomial 0x8005, most significant bit first.
constexpr std::array<uint16_t, 256> makeCrcTable() {
    std::array<uint16_t, 256> table{};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned crc = i << 8;
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x8000) ? (crc << 1) ^ 0x8005 : crc << 1;
        table[i] = uint16_t(crc);
    }
    return table;
}
constexpr std::array<uint16_t, 256> kCrcTable = makeCrcTable();

uint16_t crcUpdate(uint16_t crc, uint8_t byte) {
    return uint16_t((crc << 8) ^ kCrcTable[((crc >> 8) ^ byte) & 0xFF]);
}

// Offsets and counts are kept in 32 bits; wrap rather than overflow on giant inputs.
int32_t toOffset(uint64_t offset) { return int32_t(uint32_t(offset)); }
void addTo(int32_t& counter, int64_t amount) { counter = int32_t(uint32_t(counter) + uint32_t(amount)); }

bool isFrameSync(Bytes word) { return word.size() >= 2 && word[0] == 0xFF && (word[1] & 0xE0) == 0xE0; }

// Up to n bytes at `at`, never past `end`.
Bytes viewBefore(FileReader& data, uint64_t at, size_t n, uint64_t end) {
    if (at >= end) return {};
    return data.view(at, size_t(std::min<uint64_t>(n, end - at)));
}

// Bytes of the first frame that its VBR headers can reach (a VBRI header ends at +54).
constexpr size_t VbrHeaderSpan = 64;
// The CRC covers the side information, at most 32 bytes after the 6 of header and CRC.
constexpr size_t CrcSpan = 6 + 32;

// Appends printf-style text to a string (the summary line is built piece by piece).
void appendf(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void appendf(std::string& out, const char* format, ...) {
    char buffer[64];
    va_list args;
    va_start(args, format);
    int n = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (n > 0) out.append(buffer, std::min(size_t(n), sizeof buffer - 1));
}

// A header of the kind of the last one decoded (the same version, layer, protection, rate and
// channel mode; bit rate and padding free) changes nothing decodeFrameHeader sets but the kind's
// counter, the bit rate with its VBR mark and the data bytes: that is all the quick path does.
class HeaderDecoder {
public:
    // As decodeFrameHeader; `header` holds at least 4 bytes.
    int decode(Bytes header, uint64_t offset, CheckStats& stats) {
        const int quick = decodeQuick(be32At(header, 0), stats);
        if (quick > 0) return quick;
        const int length = decodeFrameHeader(header, offset, stats);
        // A failed decode leaves fields half set: the next header is decoded in full.
        kindBits_ = None;
        if (length > 0) {
            kindBits_ = be32At(header, 0) & KindBits;
            kind_ = size_t(kKindByCode[(header[1] >> 1) & 0xF]);
            bitrates_ = kBitrates[kKinds[kind_].bitrateTable];
        }
        return length;
    }

    // The quick path alone, for the word of a frame's first four bytes; 0 when it does not apply.
    int decodeQuick(uint32_t word, CheckStats& stats) {
        if ((word & KindBits) != kindBits_) return 0;
        const int kbps = bitrates_[(word >> 12) & 0xF];
        if (kbps < 0) return 0;
        addTo(stats.frameCounts[kind_], 1);
        if (stats.previousBitrate > 0 && kbps != stats.previousBitrate) stats.vbr = 1;
        stats.previousBitrate = kbps;
        const int length = kFrameLengths[kind_][(word >> 9) & 0x7F];
        addTo(stats.dataBytes, length);
        return length;
    }

private:
    // The sync byte, byte 1 (sync, version, layer, protection), the rate bits of byte 2 and the
    // channel mode of byte 3.
    static constexpr uint32_t KindBits = 0xFFFF0CC0;
    static constexpr uint32_t None = 0;  // no word masked by KindBits (its sync bits are set)
    uint32_t kindBits_ = None;
    size_t kind_ = 0;
    const int* bitrates_ = nullptr;
};

// One walk over the data; with `out` set it is the rebuild run.
class Walk {
public:
    Walk(FileReader& data, CheckStats& stats, FILE* reportStream, RebuildOutput* out)
        : data_(data), stats_(stats), report_(reportStream), out_(out) {}

    int run();

private:
    enum class Step { Next, Stop };

    void startAfterId3v2();
    Step atFrame(int length);
    void walkPlainFrames();
    Step atApe();
    Step atInvalidData();
    bool writeFailed() const { return out_ && out_->failed(); }
    // Up to n bytes at `offset`, never past the data's end (the walk's one way of looking).
    Bytes at(uint64_t offset, size_t n) {
        if (offset >= end_) return {};
        if (end_ - offset < n) n = size_t(end_ - offset);
        return data_.view(offset, n);
    }

    FileReader& data_;
    uint64_t end_ = 0;   // the data's end, before an ID3v1 record
    uint64_t p_ = 0;
    bool frameSeen_ = false;
    uint64_t lastFrameStart_ = 0;
    HeaderDecoder decoder_;
    CheckStats& stats_;
    FILE* report_;
    RebuildOutput* out_;
};

int Walk::run() {
    resetStats(stats_);
    const uint64_t size = data_.size();
    end_ = size;
    if (size > 127 && startsWith(data_.view(size - 128, 3), 0, "TAG")) {
        stats_.id3v1Count = 1;
        end_ = size - 128;
    }
    startAfterId3v2();

    if (end_ >= 4) {
        while (p_ != end_ && !writeFailed()) {
            Bytes word = at(p_, 4);
            // Fewer than 4 bytes left (or a track that ended before its size).
            if (word.size() < 4) {
                stats_.truncatedOffset = toOffset(p_);
                break;
            }
            if (!frameSeen_ && startsWith(word, 0, "RIFF")) {
                stats_.riffOffset = toOffset(p_);
                int64_t body = findRiffData(data_, p_, end_);
                if (body >= 0) {
                    p_ = uint64_t(body);
                    continue;
                }
                word = at(p_, 4);
            }
            if (isFrameSync(word)) {
                int length = decoder_.decode(word, p_, stats_);
                if (length > 0) {
                    if (atFrame(length) == Step::Stop) break;
                    walkPlainFrames();
                    continue;
                }
            }
            Step step = startsWith(word, 0, "APET") ? atApe() : atInvalidData();
            if (step == Step::Stop) break;
        }
    }

    if (!out_) return 0;
    // The rest of the rebuild: a cut-short end loses its last piece, the ID3v1 record goes
    // back on, and the output is cut and its VBR header given this run's counts.
    if (stats_.truncatedOffset >= 0) out_->takeBackLast(stats_);
    if (stats_.id3v1Count) out_->writeId3v1(size - 128);
    bool ok = out_->finish(stats_);
    stats_.errorCount = 1;
    return ok ? 0 : -1;
}

void Walk::startAfterId3v2() {
    const Bytes head = data_.view(0, 10);
    if (!startsWith(head, 0, "ID3")) return;
    if (end_ > 9 && head.size() == 10) {
        ++stats_.id3v2Count;
        p_ = 10 + uint64_t(syncsafeAt(head, 6)) + ((head[5] & 0x10) ? 10 : 0);
        if (out_) out_->writeTag(0, p_, end_);
    } else {
        stats_.truncatedOffset = 0;
    }
}

Walk::Step Walk::atFrame(int length) {
    const uint64_t start = p_;
    std::optional<uint16_t> correctCrc;
    if (stats_.layer == 3 && stats_.protectedFrame && uint64_t(length) <= end_ - p_) {
        uint16_t computed = 0;
        if (!checkFrameCrc(at(start, CrcSpan), stats_, &computed)) correctCrc = computed;
    }
    if (!frameSeen_) {
        if (!readXingHeader(at(start, VbrHeaderSpan), stats_)) readVbriHeader(at(start, VbrHeaderSpan), stats_);
        frameSeen_ = true;
    }
    if (out_) out_->writeFrame(start, uint64_t(length), end_, sideInfoLength(stats_.version, stats_.stereo), correctCrc);
    lastFrameStart_ = p_;
    p_ += uint64_t(length);
    return Step::Next;
}

// The bulk of a check: frames of one kind back to back, with no CRC to check and nothing to
// write, each decoded by the quick path, through what the reader holds. The same as going round
// the walk once per frame; the walk reads on where this stops.
void Walk::walkPlainFrames() {
    if (out_ || !frameSeen_ || (stats_.layer == 3 && stats_.protectedFrame) || p_ >= end_) return;
    Bytes block = data_.buffered(p_);
    if (block.size() > end_ - p_) block = block.first(size_t(end_ - p_));
    size_t i = 0;
    while (block.size() >= 4 && i <= block.size() - 4) {
        const int length = decoder_.decodeQuick(be32At(block, i), stats_);
        if (length <= 0) break;
        lastFrameStart_ = p_ + i;
        i += size_t(length);
    }
    p_ += i;
}

Walk::Step Walk::atApe() {
    const Bytes footer = at(p_, 16);
    if (footer.size() < 16) {
        stats_.truncatedOffset = toOffset(p_);
        return Step::Stop;
    }
    ++stats_.apeCount;
    // The size field counts the items and the footer; the header makes 32 more.
    const uint64_t length = 32 + uint64_t(le32At(footer, 12));
    if (out_) out_->writeTag(p_, length, end_);
    p_ += length;
    return Step::Next;
}

Walk::Step Walk::atInvalidData() {
    // None of the invalid bytes are kept, nor the piece just before them.
    if (out_) out_->takeBackLast(stats_);
    if (p_ == 0) {
        int64_t run = findFrameRun(data_, 0, end_, 8);
        if (run < 0) {
            stats_.unknownFormatOffset = 0;
            return Step::Stop;
        }
        stats_.invalidStartOffset = 0;
        report(report_, 2, "Invalid data at the beginning of the file");
        ++stats_.errorCount;
        p_ = uint64_t(run);
        return Step::Next;
    }
    // The last frame's length may have been wrong, so the search starts inside it.
    const uint64_t from = frameSeen_ ? lastFrameStart_ + 1 : p_;
    int64_t run = findFrameRun(data_, from, end_, 6);
    if (run < 0) {
        stats_.invalidEndOffset = toOffset(p_);
        report(report_, 2, "Invalid data at the end of the file");
        ++stats_.errorCount;
        return Step::Stop;
    }
    stats_.streamErrorOffset = toOffset(p_);
    report(report_, 2, "An MPEG stream error has been detected");
    ++stats_.errorCount;
    p_ = uint64_t(run);
    return Step::Next;
}

bool anyCount(const CheckStats& stats, std::initializer_list<int> kinds) {
    for (int kind : kinds)
        if (stats.frameCounts[size_t(kind)] != 0) return true;
    return false;
}

int kindsCounted(const CheckStats& stats) {
    int kinds = 0;
    for (int32_t count : stats.frameCounts) kinds += count != 0;
    return kinds;
}

std::string summaryLine(const CheckStats& stats) {
    const int32_t total = stats.totalFrames();
    std::string line = "Information: ";
    if (total == 0) {
        line += "No MPEG frames";
    } else if (kindsCounted(stats) > 1) {
        line += "MPEG versions";
        for (int kind = 0; kind < FrameKindCount; ++kind)
            if (stats.frameCounts[size_t(kind)] != 0)
                appendf(line, " %d %s", stats.frameCounts[size_t(kind)], kKinds[kind].label);
    } else {
        for (int kind = 0; kind < FrameKindCount; ++kind)
            if (stats.frameCounts[size_t(kind)] != 0) line += kKinds[kind].name;
    }
    if (total != 0) appendf(line, ", %d MPEG frames", total);

    line += ", ";
    if (!stats.vbr) line += "CBR";
    else if (stats.vbrHeaderFound) line += stats.vbrHeaderIsXing ? "VBR (Xing header)" : "VBR (VBRI header)";
    else line += "VBR is present but no VBR header was found";

    if (stats.crcPresent) line += ", CRC";

    line += ",";
    if (!stats.id3v1Count && !stats.id3v2Count && !stats.apeCount) {
        line += " No tags";
    } else if (stats.id3v1Count > 1 || stats.id3v2Count > 1 || stats.apeCount > 1) {
        appendf(line, " Multiple tags found (ID3v1 x%d, ", stats.id3v1Count);
        appendf(line, "ID3v2 x%d, ", stats.id3v2Count);
        appendf(line, "APEv2 x%d)", stats.apeCount);
    } else {
        if (stats.id3v1Count) line += " ID3v1";
        if (stats.id3v2Count) line += " ID3v2";
        if (stats.apeCount) line += " APEv2";
    }
    return line;
}

}  // namespace

int32_t CheckStats::totalFrames() const {
    uint32_t total = 0;
    for (int32_t count : frameCounts) total += uint32_t(count);
    return int32_t(total);
}

void resetStats(CheckStats& stats) { stats = CheckStats{}; }

int report(FILE* stream, int level, const char* format, ...) {
    static constexpr const char* kPrefixes[] = {"", "Error: ", "Warning: ", "Info: "};
    if (!stream || level < 0 || level > 3) return 0;
    int written = std::fputs(kPrefixes[level], stream) >= 0 ? int(std::strlen(kPrefixes[level])) : 0;
    va_list args;
    va_start(args, format);
    int n = std::vfprintf(stream, format, args);
    va_end(args);
    if (n > 0) written += n;
    if (std::fputc('\n', stream) != EOF) ++written;
    return written;
}

int sideInfoLength(int32_t version, bool stereo) {
    if (version == 1) return stereo ? 32 : 17;
    return stereo ? 17 : 9;
}

int decodeFrameHeader(Bytes header, uint64_t offset, CheckStats& stats) {
    auto fail = [&] {
        stats.streamErrorOffset = toOffset(offset);
        return -1;
    };
    if (header.size() < 4) return fail();
    const uint8_t b1 = header[1], b2 = header[2], b3 = header[3];

    if (b1 & 1) {
        stats.protectedFrame = 0;
    } else {
        stats.protectedFrame = 1;
        stats.crcPresent = 1;
    }
    const int kind = kKindByCode[(b1 >> 1) & 0xF];
    if (kind < 0) return fail();
    addTo(stats.frameCounts[size_t(kind)], 1);  // counted even if the rest is bad
    const KindInfo& info = kKinds[kind];

    const int kbps = kBitrates[info.bitrateTable][b2 >> 4];
    if (kbps < 0) return fail();
    if (stats.previousBitrate > 0 && kbps != stats.previousBitrate) stats.vbr = 1;
    stats.previousBitrate = kbps;

    if (((b2 >> 2) & 3) == 3) return fail();
    stats.stereo = (b3 >> 6) != 3;
    stats.version = info.version;
    stats.layer = info.layer;

    const int length = kFrameLengths[size_t(kind)][b2 >> 1];
    addTo(stats.dataBytes, length);
    return length;
}

int64_t findFrameRun(FileReader& data, uint64_t from, uint64_t end, int count) {
    if (end < 4 || from > end - 4) return -1;
    CheckStats scratch;
    uint64_t p = from;
    while (p <= end - 4) {
        // The next 0xFF, stopping 3 bytes before the end.
        const Bytes block = viewBefore(data, p, FileReader::MaxView, end - 3);
        if (block.empty()) return -1;
        const void* hit = std::memchr(block.data(), 0xFF, block.size());
        if (!hit) {
            p += block.size();
            continue;
        }
        p += uint64_t(static_cast<const uint8_t*>(hit) - block.data());
        const uint64_t start = p++;
        Bytes header = viewBefore(data, start, 4, end);
        if (header.size() < 4) return -1;
        if ((header[1] & 0xE0) != 0xE0) continue;
        int length = decodeFrameHeader(header, start, scratch);
        if (length <= 0 || uint64_t(length) > end - start) continue;
        const int32_t version = scratch.version, layer = scratch.layer;
        uint64_t next = start + uint64_t(length);
        int found = 1;
        while (found < count) {
            // The later headers are decoded where they fall, sync or not.
            header = viewBefore(data, next, 4, end);
            if (header.size() < 4) break;
            length = decodeFrameHeader(header, next, scratch);
            if (length <= 0 || scratch.version != version || scratch.layer != layer) break;
            if (uint64_t(length) > end - next) break;
            next += uint64_t(length);
            ++found;
        }
        if (found >= count) return int64_t(start);
    }
    return -1;
}

bool checkFrameCrc(Bytes frame, CheckStats& stats, uint16_t* computed) {
    const size_t side = size_t(sideInfoLength(stats.version, stats.stereo));
    if (!hasBytes(frame, 0, 6 + side)) return true;  // nothing to judge
    uint16_t crc = 0xFFFF;
    crc = crcUpdate(crc, frame[2]);
    crc = crcUpdate(crc, frame[3]);
    for (size_t i = 0; i < side; ++i) crc = crcUpdate(crc, frame[6 + i]);
    if (crc == be16At(frame, 4)) return true;
    stats.crcErrorSeen = 1;
    ++stats.crcErrorCount;
    if (computed) *computed = crc;
    return false;
}

bool readXingHeader(Bytes frame, CheckStats& stats) {
    const size_t h = 4 + size_t(sideInfoLength(stats.version, stats.stereo));
    if (!startsWith(frame, h, "Xing") && !startsWith(frame, h, "Info")) return false;
    if (!hasBytes(frame, h, 8)) return false;
    stats.vbrHeaderFound = 1;
    stats.vbrHeaderIsXing = 1;
    // A count whose field lies beyond the data is taken as absent.
    auto field = [&](size_t at, int32_t& has, int32_t& value) {
        if (!hasBytes(frame, at, 4)) return;
        has = 1;
        value = int32_t(be32At(frame, at));
    };
    switch (frame[h + 7] & 3) {
    case 3:
        field(h + 8, stats.headerHasFrames, stats.headerFrames);
        field(h + 12, stats.headerHasBytes, stats.headerBytes);
        break;
    case 1: field(h + 8, stats.headerHasFrames, stats.headerFrames); break;
    case 2: field(h + 8, stats.headerHasBytes, stats.headerBytes); break;
    default: break;
    }
    return true;
}

bool readVbriHeader(Bytes frame, CheckStats& stats) {
    const size_t v = 36;
    if (!startsWith(frame, v, "VBRI") || !hasBytes(frame, v, 18)) return false;
    stats.vbrHeaderFound = 1;
    stats.vbrHeaderIsXing = 0;
    stats.headerHasBytes = 1;
    stats.headerBytes = int32_t(be32At(frame, v + 10));
    stats.headerHasFrames = 1;
    stats.headerFrames = int32_t(be32At(frame, v + 14));
    return true;
}

int64_t findRiffData(FileReader& data, uint64_t offset, uint64_t end) {
    const Bytes head = viewBefore(data, offset, 12, end);
    if (head.size() < 12 || !startsWith(head, 0, "RIFF") || !startsWith(head, 8, "WAVE")) return -1;
    uint64_t chunk = offset + 12;
    while (chunk <= end && end - chunk >= 8) {
        const Bytes chunkHead = viewBefore(data, chunk, 8, end);
        if (chunkHead.size() < 8) return -1;
        if (startsWith(chunkHead, 0, "data")) return int64_t(chunk + 8);
        chunk += 8 + uint64_t(le32At(chunkHead, 4));
    }
    return -1;
}

int scanAudio(FileReader& data, CheckStats& stats, FILE* reportStream, FileWriter* out) {
    if (!out) return Walk(data, stats, reportStream, nullptr).run();
    RebuildOutput output(data, *out);
    return Walk(data, stats, reportStream, &output).run();
}

int scanAudio(Bytes data, CheckStats& stats, FILE* reportStream, bool fix, int outFd) {
    FileReader reader(data);
    if (!fix) return scanAudio(reader, stats, reportStream, nullptr);
    FileWriter out(outFd);
    return scanAudio(reader, stats, reportStream, &out);
}

namespace {

// The counts a Xing/Info or VBRI header gives against what the walk found. A Xing header may or
// may not count its own frame; a VBRI header must be exact.
void checkVbrHeaderCounts(FILE* stream, CheckStats& stats, int32_t total) {
    const bool xing = stats.vbrHeaderIsXing;
    const char* name = xing ? "Xing" : "VBRI";
    const bool framesAgree = stats.headerFrames == total || (xing && stats.headerFrames == total - 1);
    if (stats.headerHasFrames && !framesAgree) {
        report(stream, 2, "Wrong number of MPEG frames specified in %s header (%d found, expected %d)", name,
               stats.headerFrames, total);
        ++stats.errorCount;
    }
    if (stats.headerHasBytes && stats.headerBytes != stats.dataBytes) {
        report(stream, 2, "Wrong number of MPEG data bytes specified in %s header (%d found, expected %d)", name,
               stats.headerBytes, stats.dataBytes);
        ++stats.errorCount;
    }
}

}  // namespace

void printReport(FILE* stream, CheckStats& stats, bool quiet) {
    if (stats.unknownFormatOffset >= 0) {
        report(stream, 1, "Unknown audio format");
        return;
    }
    const int32_t total = stats.totalFrames();
    if (total <= 9) report(stream, 2, "Too few MPEG frames (this is not a valid MPEG audio file)");
    if (stats.riffOffset >= 0) {
        report(stream, 2, "This is a RIFF file, not an MPEG audio stream");
        ++stats.errorCount;
    }
    if (stats.truncatedOffset >= 0) {
        report(stream, 2,
               "The audio track has been truncated or there is invalid data at the end of the file (from offset %ld)",
               long(stats.truncatedOffset));
        ++stats.errorCount;
    }
    if (stats.crcErrorSeen) {
        report(stream, 2, "%d frames have the wrong CRC", stats.crcErrorCount);
        ++stats.errorCount;
    }
    if (stats.vbrHeaderFound) checkVbrHeaderCounts(stream, stats, total);
    if (stats.vbr && !stats.vbrHeaderFound)
        report(stream, 2, "VBR detected, but no VBR header is present (seeking may not work properly)");
    if (anyCount(stats, {KindM1L1, KindM1L2, KindM2L1, KindM2L2, KindM25L1, KindM25L2})) {
        report(stream, 2, "Invalid layer-III frame encountered");
        ++stats.errorCount;
    }
    if (kindsCounted(stats) > 1) report(stream, 2, "Different MPEG versions or layers in one file");
    if (stats.apeCount > 1) {
        report(stream, 2, "More than one APEv2 tags have been found");
        ++stats.errorCount;
    }
    if (!stats.id3v1Count && !stats.id3v2Count && !stats.apeCount) report(stream, 2, "No supported tags were found");

    if (!quiet) report(stream, 0, "%s", summaryLine(stats).c_str());
}

int checkAudioFile(const char* path, const char* logPath, bool fix, bool quiet, bool deleteBackup,
                   bool keepDates) {
    FileAttributes attributes;
    getFileAttributes(path, &attributes);
    FileReader track;
    if (!track.open(path) || track.size() == 0) {
        report(stderr, 1, "Cannot open track '%s' or it is empty", path ? path : "");
        return 0;
    }
    UniqueFile log;
    FILE* stream = stderr;
    if (logPath) {
        log = UniqueFile(std::fopen(logPath, "wb"));
        if (!log) {
            report(stderr, 1, "Failed to open the log file '%s'", logPath);
            return 0;
        }
        stream = log.get();
    }
    if (track.size() > FileReader::BufferSize) track.adviseSequential();

    report(stream, 0, "Checking audio file '%s'...", path);
    CheckStats stats;
    scanAudio(track, stats, stream, nullptr);
    if (track.error() != 0) {
        // A read that failed half-way is no report on the track.
        report(stream, 1, "Cannot open track '%s' or it is empty", path);
        return 0;
    }
    printReport(stream, stats, quiet);
    if (fix && stats.errorCount != 0) rebuildTrack(path, track, attributes, stats, stream, deleteBackup, keepDates);
    return stats.errorCount;
}

}  // namespace tagwick
