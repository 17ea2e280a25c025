// Writes the benchmark data: a large constant-bit-rate track, a large variable-bit-rate track
// led by a Xing/LAME frame, and a folder of small tagged tracks.
//
//   make_bench_files <folder> [megabytes] [tracks]
//
// cbr.mp3:  MPEG-1 layer III, 128 kbit/s, 44100 Hz joint stereo, with the padding pattern of a
//           real encoder; a small ID3v2.3 tag in front and an ID3v1 record at the end.
// vbr.mp3:  the same format with bit rates drawn from 32 to 320 kbit/s, a Xing header (frame and
//           byte counts) and a LAME tag in the first frame.
// damaged.mp3: the CBR format with a CRC in every frame, one CRC in 100 wrong, a stretch of
//           garbage every 16 MB and half a frame at the end, so that -check fix rebuilds it.
// tracks/track0000.mp3 ...: an ID3v2.3 tag with a few text frames, 40 frames of audio, ID3v1.
//
// Frame bodies hold pseudo-random bytes from a fixed seed, so every run writes the same files.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

using namespace tagwick::support;

namespace {

constexpr int SampleRate = 44100;
constexpr size_t FramesPerTrack = 40;

class Random {
public:
    explicit Random(uint64_t seed) : state_(seed) {}
    uint64_t next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_;
    }
    void fill(uint8_t* out, size_t n) {
        while (n >= 8) {
            const uint64_t v = next();
            std::memcpy(out, &v, 8);
            out += 8;
            n -= 8;
        }
        if (n > 0) {
            const uint64_t v = next();
            std::memcpy(out, &v, n);
        }
    }

private:
    uint64_t state_;
};

// Writes a file in one go; failures end the program (the script stops on them).
class Output {
public:
    explicit Output(const std::string& path) : path_(path), file_(std::fopen(path.c_str(), "wb")) {
        if (!file_) fail("cannot create");
    }
    ~Output() {
        if (file_ && std::fclose(file_) != 0) fail("cannot close");
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void write(const uint8_t* data, size_t n) {
        if (n > 0 && std::fwrite(data, 1, n, file_) != n) fail("cannot write");
    }
    void write(const ByteVec& bytes) { write(bytes.data(), bytes.size()); }

private:
    [[noreturn]] void fail(const char* what) const {
        std::fprintf(stderr, "make_bench_files: %s '%s': %s\n", what, path_.c_str(), std::strerror(errno));
        std::exit(1);
    }

    std::string path_;
    FILE* file_;
};

V2Frame textFrame(const char* id, const std::string& text) { return V2Frame{id, latin1Payload(text), 0, {}, false}; }

ByteVec smallTag(const std::string& title, const std::string& artist, const std::string& album, int track) {
    V2TagLayout tag;
    tag.major = 3;
    tag.frames = {
        textFrame("TIT2", title),
        textFrame("TPE1", artist),
        textFrame("TALB", album),
        textFrame("TRCK", std::to_string(track) + "/1000"),
        textFrame("TYER", "2024"),
        textFrame("TCON", "(17)Rock"),
    };
    tag.padding = 256;
    return buildV2Tag(tag);
}

ByteVec v1Record(const std::string& title, int track) {
    V1Layout v1;
    v1.title = title;
    v1.artist = "Bench Artist";
    v1.album = "Bench Album";
    v1.year = "2024";
    v1.comment = "benchmark";
    v1.track = track % 255 + 1;
    v1.genre = 17;
    return buildV1(v1);
}

FrameLayout streamLayout(int kbps) {
    FrameLayout layout;
    layout.bitrateKbps = kbps;
    layout.channelMode = 1;
    layout.original = true;
    return layout;
}

// The padding an encoder gives a frame so that the stream keeps its exact bit rate.
class PaddingPattern {
public:
    bool next(int kbps) {
        remainder_ += uint64_t(kbps) * 144000 % SampleRate;
        if (remainder_ >= SampleRate) {
            remainder_ -= SampleRate;
            return true;
        }
        return false;
    }

private:
    uint64_t remainder_ = 0;
};

// One frame with a random body; the header is built once per (bit rate, padding) pair.
class FrameWriter {
public:
    explicit FrameWriter(uint64_t seed) : random_(seed) {}

    size_t write(Output& out, int kbps, bool padding) {
        FrameLayout layout = streamLayout(kbps);
        layout.padding = padding;
        ByteVec frame = buildFrame(layout);
        random_.fill(frame.data() + 4, frame.size() - 4);
        out.write(frame);
        return frame.size();
    }

private:
    Random random_;
};

ByteVec xingFrame(uint32_t frames, uint32_t bytes) {
    XingLayout xing;
    xing.tag = "Xing";
    xing.frames = frames;
    xing.bytes = bytes;
    xing.lame = "LAME3.100";
    return buildXingFrameAt36(streamLayout(128), xing);
}

void writeCbr(const std::string& path, size_t targetBytes) {
    Output out(path);
    out.write(smallTag("Constant", "Bench Artist", "Bench Album", 1));
    FrameWriter frames(1);
    PaddingPattern padding;
    size_t written = 0;
    while (written < targetBytes) written += frames.write(out, 128, padding.next(128));
    out.write(v1Record("Constant", 1));
}

// Frame bit rates drawn once; the Xing frame leads with the count and size of what follows.
void writeVbr(const std::string& path, size_t targetBytes) {
    static const int rates[] = {32, 64, 96, 112, 128, 128, 160, 160, 192, 192, 224, 256, 320};
    Random pick(7);
    std::vector<int> plan;
    std::vector<bool> pads;
    PaddingPattern padding;
    size_t planned = 0;
    while (planned < targetBytes) {
        const int kbps = rates[pick.next() % (sizeof rates / sizeof rates[0])];
        const bool pad = padding.next(kbps);
        FrameLayout layout = streamLayout(kbps);
        layout.padding = pad;
        planned += frameLength(layout);
        plan.push_back(kbps);
        pads.push_back(pad);
    }
    const ByteVec first = xingFrame(uint32_t(plan.size() + 1), uint32_t(planned + frameLength(streamLayout(128))));

    Output out(path);
    out.write(smallTag("Variable", "Bench Artist", "Bench Album", 2));
    out.write(first);
    FrameWriter frames(2);
    for (size_t i = 0; i < plan.size(); ++i) frames.write(out, plan[i], pads[i]);
    out.write(v1Record("Variable", 2));
}

void writeDamaged(const std::string& path, size_t targetBytes) {
    constexpr size_t GarbageEvery = 16 * 1024 * 1024;
    Output out(path);
    out.write(smallTag("Damaged", "Bench Artist", "Bench Album", 3));
    Random random(4);
    PaddingPattern padding;
    size_t written = 0, nextGarbage = GarbageEvery;
    for (size_t count = 0; written < targetBytes; ++count) {
        FrameLayout layout = streamLayout(128);
        layout.padding = padding.next(128);
        layout.crc = true;
        layout.wrongCrc = count % 100 == 99;
        ByteVec frame = buildFrame(layout);
        random.fill(frame.data() + 6, frame.size() - 6);
        refreshCrc(frame, layout);
        out.write(frame);
        written += frame.size();
        if (written >= nextGarbage) {
            ByteVec garbage(700);
            random.fill(garbage.data(), garbage.size());
            out.write(garbage);
            written += garbage.size();
            nextGarbage += GarbageEvery;
        }
    }
    ByteVec half = buildFrame(streamLayout(128));
    half.resize(half.size() / 2);
    out.write(half);
    out.write(v1Record("Damaged", 3));
}

void writeTracks(const std::string& folder, int count) {
    if (mkdir(folder.c_str(), 0755) != 0 && errno != EEXIST) {
        std::fprintf(stderr, "make_bench_files: cannot create '%s': %s\n", folder.c_str(), std::strerror(errno));
        std::exit(1);
    }
    FrameWriter frames(3);
    for (int i = 0; i < count; ++i) {
        char name[64];
        std::snprintf(name, sizeof name, "/track%04d.mp3", i);
        const std::string title = "Track " + std::to_string(i);
        Output out(folder + name);
        out.write(smallTag(title, "Artist " + std::to_string(i % 37), "Album " + std::to_string(i / 12), i + 1));
        out.write(xingFrame(uint32_t(FramesPerTrack), uint32_t(FramesPerTrack * 417)));
        PaddingPattern padding;
        for (size_t f = 1; f < FramesPerTrack; ++f) frames.write(out, 128, padding.next(128));
        out.write(v1Record(title, i));
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: make_bench_files <folder> [megabytes] [tracks]\n");
        return 2;
    }
    const std::string folder = argv[1];
    const long megabytes = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 100;
    const long tracks = argc > 3 ? std::strtol(argv[3], nullptr, 10) : 1000;
    if (megabytes <= 0 || tracks < 0) {
        std::fprintf(stderr, "make_bench_files: bad size or track count\n");
        return 2;
    }
    const size_t target = size_t(megabytes) * 1024 * 1024;
    writeCbr(folder + "/cbr.mp3", target);
    writeVbr(folder + "/vbr.mp3", target);
    writeDamaged(folder + "/damaged.mp3", target);
    writeTracks(folder + "/tracks", int(tracks));
    return 0;
}
