// Track information display. Every line goes through the labelled-line routine or a fixed
// format, so the output stays byte-identical to what scripts parsing it expect.
#include "cli/display.h"

#include <exception>
#include <optional>
#include <string>

#include "base/files.h"
#include "base/genres.h"
#include "base/logger.h"
#include "base/text.h"
#include "export/image_probe.h"
#include "mpeg/mpeg_info.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

using Value = std::optional<std::string>;

constexpr size_t UfidDisplayLimit = 64;

// A text "printed as a line" gets a line feed at its end; the block headers begin with one,
// so each block is set off by a blank line.
void printLine(FILE* out, const char* text) {
    std::fputs(text, out);
    std::fputc('\n', out);
}

void printLabelledValue(FILE* out, const char* label, const Value& value) {
    printLabelled(out, label, value ? value->c_str() : nullptr);
}

const char* yesNo(bool on) { return on ? "Yes" : "No"; }

// The V2 text routine: any of the tag's encodings shown as UTF-8; an absent field shows as empty.
Value utf8Of(const OptText& text) {
    if (!text) return std::nullopt;
    return text->utf8();
}

// ------------------------------------------------------------------ version 1

void printV1Block(FILE* out, const ID3Tag& track) {
    if (!track.v1Found) {
        printLine(out, "\nNo ID3 Version 1 tag found");
        return;
    }
    const Id3v1Tag& v1 = track.v1;
    printLine(out, "\nID3 Version 1 tag data:");
    if (v1.track < 255) printLabelledValue(out, "Track", format("%d", v1.track));
    // Version 1 texts are 8-bit and shown as they stand.
    printLabelled(out, "Title", v1.title.c_str());
    printLabelled(out, "Artist", v1.artist.c_str());
    printLabelled(out, "Album", v1.album.c_str());
    printLabelled(out, "Year", v1.year.c_str());
    printLabelledValue(out, "Genre", std::string(genreName(v1.genre)));
    printLabelled(out, "Comment", v1.comment.c_str());
}

// ------------------------------------------------------------------ version 2

// " Track: %s" and " of %s\n" are printed independently, each when its number is set; the
// line feed belongs to the second, so a number without a total runs into the next line.
void printNumberPair(FILE* out, const char* head, uint16_t number, uint16_t total) {
    if (number < NumberNotSet) std::fprintf(out, " %s: %s", head, numberText(number).c_str());
    if (total < NumberNotSet) std::fprintf(out, " of %s\n", numberText(total).c_str());
}

void printTrackPair(FILE* out, const Id3v2Tag& v2) { printNumberPair(out, "Track", v2.trackNumber, v2.trackTotal); }
void printSetPair(FILE* out, const Id3v2Tag& v2) { printNumberPair(out, "Set/Disc", v2.setNumber, v2.setTotal); }

void printPictureCount(FILE* out, const Id3v2Tag& v2) {
    std::fprintf(out, " Picture count: %d\n", int(v2.pictures.size()));
}

// The UFID line always ends the block, also for a tag without a UFID frame, which shows the
// default owner and an empty identifier. The identifier is shown as a C string of at most
// 64 bytes, so it ends at its first NUL byte.
void printUfid(FILE* out, const Id3v2Tag& v2) {
    std::string id = v2.ufid.substr(0, UfidDisplayLimit);
    id = id.substr(0, id.find('\0'));
    const char* owner = v2.ufidOwner.empty() ? "Default" : v2.ufidOwner.c_str();
    std::fprintf(out, " UFID: %s %s\n", owner, id.c_str());
}

// A WhenPresent row is left out when its frame was not read; a frame read with empty text
// still shows its label.
enum class Shown { Always, WhenPresent };

// One row of the V2 block: a labelled value, or (without a label) a line of its own.
struct V2Row {
    const char* label;
    Value (*value)(const Id3v2Tag&);
    Shown shown;
    void (*line)(FILE*, const Id3v2Tag&);
};

constexpr V2Row Row(const char* label, Value (*value)(const Id3v2Tag&), Shown shown = Shown::Always) {
    return {label, value, shown, nullptr};
}
constexpr V2Row Line(void (*line)(FILE*, const Id3v2Tag&)) { return {nullptr, nullptr, Shown::Always, line}; }

// The V2 block in its printed order.
constexpr V2Row V2Rows[] = {
    Line(printTrackPair),
    Row("Title", [](const Id3v2Tag& t) { return utf8Of(t.title); }),
    Row("Artist", [](const Id3v2Tag& t) { return utf8Of(t.artist); }),
    Row("Album", [](const Id3v2Tag& t) { return utf8Of(t.album); }),
    Row("Year", [](const Id3v2Tag& t) -> Value { return latin1ToUtf8(t.year); }),
    Row("Genre", [](const Id3v2Tag& t) { return utf8Of(t.genre); }),
    Row("Comment", [](const Id3v2Tag& t) { return utf8Of(t.comment); }),
    Row("Composer", [](const Id3v2Tag& t) { return utf8Of(t.composer); }),
    Row("Copyright", [](const Id3v2Tag& t) { return utf8Of(t.copyright); }),
    Row("Original artist", [](const Id3v2Tag& t) { return utf8Of(t.originalArtist); }),
    Row("Encoded by", [](const Id3v2Tag& t) { return utf8Of(t.encodedBy); }, Shown::WhenPresent),
    Row("URL", [](const Id3v2Tag& t) { return utf8Of(t.url); }, Shown::WhenPresent),
    Row("Compilation", [](const Id3v2Tag& t) -> Value { return yesNo(t.compilation); }),
    Line(printPictureCount),
    Row("Lyrics", [](const Id3v2Tag& t) -> Value { return yesNo(t.lyrics.has_value()); }),
    Row("Conductor", [](const Id3v2Tag& t) { return utf8Of(t.conductor); }),
    Row("Lyricist", [](const Id3v2Tag& t) { return utf8Of(t.lyricist); }),
    Row("Orchestra/Album artist", [](const Id3v2Tag& t) { return utf8Of(t.orchestra); }),
    Row("Publisher", [](const Id3v2Tag& t) { return utf8Of(t.publisher); }),
    Row("Content", [](const Id3v2Tag& t) { return utf8Of(t.contentGroup); }),
    Row("Subtitle", [](const Id3v2Tag& t) { return utf8Of(t.subtitle); }),
    Line(printSetPair),
    Row("ISRC", [](const Id3v2Tag& t) { return utf8Of(t.isrc); }, Shown::WhenPresent),
    Row("Record time", [](const Id3v2Tag& t) { return utf8Of(t.recordingTime); }, Shown::WhenPresent),
    Row("Release time", [](const Id3v2Tag& t) { return utf8Of(t.releaseTime); }, Shown::WhenPresent),
    Row("Initial key", [](const Id3v2Tag& t) { return utf8Of(t.initialKey); }, Shown::WhenPresent),
    Row("BPM", [](const Id3v2Tag& t) { return utf8Of(t.bpm); }, Shown::WhenPresent),
    Row("Artist URL", [](const Id3v2Tag& t) { return utf8Of(t.artistUrl); }, Shown::WhenPresent),
    Row("Podcast", [](const Id3v2Tag& t) -> Value { return yesNo(t.podcast); }),
    Row("Podcast ID", [](const Id3v2Tag& t) { return utf8Of(t.podcastId); }),
    Row("Podcast feed", [](const Id3v2Tag& t) { return utf8Of(t.podcastFeed); }, Shown::WhenPresent),
    Row("Podcast description", [](const Id3v2Tag& t) { return utf8Of(t.podcastDescription); }),
    // Only the three known advisory values are shown; 0 shows an empty name.
    Row("Advisory",
        [](const Id3v2Tag& t) -> Value {
            if (t.advisory < 0 || t.advisory > 2) return std::nullopt;
            return std::string(advisoryName(t.advisory));
        },
        Shown::WhenPresent),
    Row("Mood", [](const Id3v2Tag& t) { return utf8Of(t.mood); }, Shown::WhenPresent),
    Row("Produced notice", [](const Id3v2Tag& t) { return utf8Of(t.producedNotice); }, Shown::WhenPresent),
    Row("ISWC", [](const Id3v2Tag& t) { return utf8Of(t.iswc); }, Shown::WhenPresent),
    Line(printUfid),
};

void printV2Block(FILE* out, const ID3Tag& track) {
    if (!track.v2Found) {
        printLine(out, "\nNo ID3 Version 2 tag found");
        return;
    }
    printLine(out, "\nID3 Version 2 tag data:");
    for (const V2Row& row : V2Rows) {
        if (!row.label) {
            row.line(out, track.v2);
            continue;
        }
        Value value = row.value(track.v2);
        if (!value && row.shown == Shown::WhenPresent) continue;
        printLabelledValue(out, row.label, value);
    }
}

// ------------------------------------------------------------------ file information

bool hasStreamSummary(const ID3Tag& track) { return track.isMp3 || track.isAiff; }

// Version, layer, rate and channels come from the summary, which an AIFF track gets from its
// COMM chunk (version "AIFF", no layer); a tag data file has no summary at all.
void printStreamLines(FILE* out, const ID3Tag& track) {
    const MpegInfo& info = track.mpeg;
    std::string version(versionName(info.versionCode));
    std::string layer(layerName(info.layerCode));
    std::fprintf(out, " Type: %s %s\n", version.c_str(), layer.c_str());
    std::fprintf(out, " Bitrate: %s\n", info.bitrateText.c_str());
    std::fprintf(out, " Frequency: %.3f kHz\n", double(track.frequencyKHz()));
    printLabelledValue(out, "Channels", std::string(channelModeName(info.channelMode)));
    printLabelled(out, "Copyright", yesNo(info.copyrightBit));
    printLabelled(out, "Original", yesNo(info.originalBit));
}

std::string displaySize(const ID3Tag& track) {
    if (!track.sizeText.empty()) return track.sizeText;
    return sizeText(static_cast<long long>(track.fileSize));
}

// ------------------------------------------------------------------ blocks with their failure messages

enum class Block { Tags, FileInfo, Images };

void logBlockFailure(Block block, const char* path) {
    switch (block) {
        case Block::Tags: Logger::log(LogError, "Failed to output the ID3 details for the file '%s'", path); break;
        case Block::FileInfo: Logger::log(LogError, "Failed to output the track details for the file '%s'", path); break;
        case Block::Images: Logger::log(LogError, "Failed to output the image details for the file '%s'", path); break;
    }
}

// A block that fails part way is cut off there and logged; the other blocks still print.
template <typename Print>
void printGuarded(const ID3Tag& track, Block block, Print print) {
    try {
        print();
    } catch (const std::exception&) {
        logBlockFailure(block, track.path.c_str());
    }
}

}  // namespace

void printLabelled(FILE* out, const char* label, const char* value) {
    std::fprintf(out, " %s: ", label);
    if (value) std::fputs(value, out);
    std::fputc('\n', out);
}

void printTagBlocks(FILE* out, const ID3Tag& track) {
    printV1Block(out, track);
    printV2Block(out, track);
}

void printFileInfo(FILE* out, const ID3Tag& track) {
    const MpegInfo& info = track.mpeg;
    printLine(out, "\nFile information:");
    printLabelledValue(out, "Location", directoryPart(track.path.c_str()));
    printLabelledValue(out, "Size", displaySize(track));
    printLabelled(out, "Length", info.lengthText.c_str());
    if (hasStreamSummary(track)) printStreamLines(out, track);
    if (track.isAiff) std::fprintf(out, " Sample size: %d bit\n", int(info.sampleSize));
    std::fprintf(out, " Frames: %lu\n", static_cast<unsigned long>(info.frameCount));
    std::fprintf(out, " Header size: %lu bytes\n", static_cast<unsigned long>(info.audioStart));
    if (!info.encoder.empty()) std::fprintf(out, " Encoder: %s\n", info.encoder.c_str());
    printLabelled(out, "Tag version", track.tagVersionText.c_str());
}

void printImageDetails(FILE* out, const ID3Tag& track) {
    const std::vector<Picture>& pictures = track.v2.pictures;
    if (pictures.empty()) {
        printLine(out, "\nNo images found");
        return;
    }
    printLine(out, "\nImage details:");
    for (const Picture& picture : pictures) {
        printLabelled(out, "Image type", picture.mime.c_str());
        // A picture the probe does not understand shows 0 x 0.
        ImageSize size = probeImageSize(picture.data);
        std::fprintf(out, " Image size: %d x %d\n", int(size.width), int(size.height));
    }
}

void printTrackInfo(FILE* out, const ID3Tag& track, const DisplayOptions& options) {
    std::fprintf(out, "Track information for '%s'\n", track.path.c_str());
    if (options.showTags) {
        printGuarded(track, Block::Tags, [&] { printTagBlocks(out, track); });
    }
    if (options.showFileInfo) {
        printGuarded(track, Block::FileInfo, [&] { printFileInfo(out, track); });
    }
    if (options.showImages) {
        printGuarded(track, Block::Images, [&] { printImageDetails(out, track); });
    }
}

bool displayTrack(const char* path, const DisplayOptions& options) {
    ID3Tag track;
    track.scanMode = options.vbrScan ? ScanMode::Full : ScanMode::Probe;
    track.ignoreAiffCorruption = options.ignoreAiffCorruption;
    int result = track.open(path);
    // A tag data file has no stream summary, so its open returns 0 even when it was read.
    bool opened = result != 0 || (track.isTagDataFile && track.kindCheckPassed);
    if (!opened) {
        std::printf("Failed to read the information from the file '%s'.\n", path);
        return false;
    }
    printTrackInfo(stdout, track, options);
    return true;
}

}  // namespace tagwick
