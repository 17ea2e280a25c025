#include "export/csv_export.h"

#include <cerrno>
#include <sys/stat.h>

#include "base/genres.h"
#include "base/logger.h"
#include "base/text.h"
#include "export/export_file.h"
#include "export/tag_values.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view LineEnd = "\r\n";

constexpr std::string_view HeaderV1 =
    "Track,Tracks,Title,Artist,Album,Year,Genre,Comment,Composer,Copyright,Original artist,Encoded by,URL,"
    "Compilation,Picture,Lyrics,Conductor,Lyricist,Orchestra,Publisher,Content,Subtitle,Set/Disc,Sets/Discs,ISRC,"
    "Record time,Release time,Initial key,BPM,Artist URL,Podcast,Podcast ID,Podcast feed,Podcast description";
constexpr std::string_view HeaderV2Additions = ",Advisory,Produced notice,Mood,ISWC,UFID";

bool needsQuotes(std::string_view text) {
    return text.front() == ' ' || text.front() == '\t' || text.find_first_of("\"'\n\r,/\\") != std::string_view::npos;
}

// Numbers of 1 or more; 0 and a number that is not set give an empty field.
void numberField(uint16_t number, std::string& out) {
    writeCsvField(number == NumberNotSet ? std::string() : numberText(number), out);
}

void flagField(bool on, std::string& out) { writeCsvField(on ? "Yes" : "No", out); }

std::string csvRow(const Id3v2Tag& t, int version) {
    std::string out;
    numberField(t.trackNumber, out);
    numberField(t.trackTotal, out);
    writeCsvField(exportText(t.title), out);
    writeCsvField(exportText(t.artist), out);
    writeCsvField(exportText(t.album), out);
    writeCsvField(exportYear(t), out);
    writeCsvField(exportText(t.genre), out);
    writeCsvField(exportText(t.comment), out);
    writeCsvField(exportText(t.composer), out);
    writeCsvField(exportText(t.copyright), out);
    writeCsvField(exportText(t.originalArtist), out);
    writeCsvField(exportText(t.encodedBy), out);
    writeCsvField(exportText(t.url), out);
    flagField(t.compilation, out);
    // The picture count goes out bare.
    out += format("%d,", int(t.pictures.size()));
    // Whether the tag holds lyrics, not the lyrics themselves.
    flagField(t.lyrics.has_value(), out);
    writeCsvField(exportText(t.conductor), out);
    writeCsvField(exportText(t.lyricist), out);
    writeCsvField(exportText(t.orchestra), out);
    writeCsvField(exportText(t.publisher), out);
    writeCsvField(exportText(t.contentGroup), out);
    writeCsvField(exportText(t.subtitle), out);
    numberField(t.setNumber, out);
    numberField(t.setTotal, out);
    writeCsvField(exportText(t.isrc), out);
    writeCsvField(exportTimestamp(t.recordingTime), out);
    writeCsvField(exportTimestamp(t.releaseTime), out);
    writeCsvField(exportText(t.initialKey), out);
    writeCsvField(exportText(t.bpm), out);
    writeCsvField(exportText(t.artistUrl), out);
    flagField(t.podcast, out);
    writeCsvField(exportText(t.podcastId), out);
    writeCsvField(exportText(t.podcastFeed), out);
    writeCsvField(exportText(t.podcastDescription), out);
    if (version > 1) {
        writeCsvField(advisoryName(t.advisory), out);
        writeCsvField(exportText(t.producedNotice), out);
        writeCsvField(exportText(t.mood), out);
        writeCsvField(exportText(t.iswc), out);
        // Owner and identifier go out bare, without quotes or doubling.
        out += ufidOwnerText(t) + " " + ufidDataText(t) + ",";
    }
    out += LineEnd;
    return out;
}

// A file that does not exist or is empty gets the header.
bool isNewFile(const std::string& path) { return exportTargetSize(path) <= 0; }

ExportStatus notWritten(const std::string& path, int error) {
    Logger::log(LogError, "Failed to write the tag data to the CSV file '%s' (%d)", path.c_str(), error);
    return ExportStatus::NotCreatable;
}

}  // namespace

void writeCsvField(std::string_view text, std::string& out) {
    if (text.empty()) {
        out += ',';
        return;
    }
    const bool quoted = needsQuotes(text);
    if (quoted) out += '"';
    for (char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    if (quoted) out += '"';
    out += ',';
}

std::string csvHeader(int version) {
    std::string out(HeaderV1);
    if (version != 1) out += HeaderV2Additions;
    out += LineEnd;
    return out;
}

ExportStatus exportCsv(const std::string& path, const ID3Tag* track, int version) {
    if (track == nullptr) return ExportStatus::NoTrack;
    version = version == 1 ? 1 : 2;
    if (targetIsTrack(path, *track)) return targetIsTheTrack(path);
    const bool isNew = isNewFile(path);
    ExportFile file;
    if (!file.openForAppend(path, true)) return notWritten(path, errno);

    std::string text;
    if (isNew) text = std::string(ByteOrderMark) + csvHeader(version);
    const bool hasTag = track->v2Present;
    if (hasTag) text += csvRow(track->v2, version);
    file.write(text);
    if (!file.close()) {
        // The file keeps the rows of earlier tracks, and only those.
        file.cutBack();
        return notWritten(path, file.error());
    }
    if (!hasTag) {
        Logger::log(LogError, "No tag information was found to export to the CSV file '%s'", track->path.c_str());
        return ExportStatus::Ok;
    }
    Logger::log(LogProgress, "Successfully exported the tag data");
    return ExportStatus::Ok;
}

}  // namespace tagwick
