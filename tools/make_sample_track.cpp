// Writes a small, fully tagged sample track: an ID3v2.3 tag, ten seconds of 128 kbit/s
// MPEG-1 layer III audio led by an Info/LAME header, and an ID3v1 record.
#include <cstdio>
#include <string>
#include <utility>

#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

using namespace tagwick::support;

namespace {

V2Frame frame(const char* id, ByteVec payload) {
    V2Frame f;
    f.id = id;
    f.payload = std::move(payload);
    return f;
}

V2Frame textFrame(const char* id, std::string_view text) { return frame(id, latin1Payload(text)); }

ByteVec sampleTag() {
    V2TagLayout tag;
    tag.major = 3;
    tag.frames = {
        textFrame("TIT2", "Sample Song"),
        textFrame("TPE1", "The Sample Makers"),
        textFrame("TALB", "Made Here"),
        textFrame("TYER", "2026"),
        textFrame("TRCK", "1/10"),
        textFrame("TCON", "(17)Rock"),
        frame("COMM", commentPayload(0, "eng", {}, bytesOf("A track made by make_sample_track"))),
    };
    tag.padding = 128;
    return buildV2Tag(tag);
}

ByteVec sampleAudio() {
    FrameLayout layout;  // MPEG-1 layer III, 128 kbit/s, 44100 Hz, stereo
    const size_t frames = 383;  // about ten seconds
    XingLayout info;
    info.tag = "Info";
    info.frames = frames;
    info.bytes = uint32_t(frameLength(layout) * frames);
    info.lame = "LAME3.100";
    ByteVec audio = buildXingFrame(layout, info);
    append(audio, buildStream(layout, frames - 1));
    return audio;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT.mp3\n", argv[0]);
        return 2;
    }
    ByteVec track = sampleTag();
    append(track, sampleAudio());
    V1Layout v1;
    v1.title = "Sample Song";
    v1.artist = "The Sample Makers";
    v1.album = "Made Here";
    v1.year = "2026";
    v1.comment = "Sample";
    v1.track = 1;
    v1.genre = 17;
    append(track, buildV1(v1));
    FILE* out = std::fopen(argv[1], "wb");
    if (out == nullptr) {
        std::perror(argv[1]);
        return 1;
    }
    bool ok = std::fwrite(track.data(), 1, track.size(), out) == track.size();
    if (std::fclose(out) != 0 || !ok) {
        std::perror(argv[1]);
        return 1;
    }
    return 0;
}
