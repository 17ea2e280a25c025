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

bool needsQuotes(std::string_view text) {
    return text.front() == ' ' || text.front() == '\t' || text.find_first_of("\"'\n\r,/\\") != std::string_view::npos;
}

// Numbers of 1 or more; 0 and a number that is not set give an empty field.
void numberField(uint16_t number, std::string& out) {
    writeCsvField(number == NumberNotSet ? std::string() : numberText(number), out);
}

void flagField(bool on, std::string& out) { writeCsvField(on ? "Yes" : "No", out); }

void columnAsCsv(const Id3v2Tag& t, const ExportColumn& column, std::string& out) {
    switch (column.kind) {
        case ColumnKind::Number:
        case ColumnKind::Total: numberField(columnNumber(t, column), out); break;
        case ColumnKind::Text:
        case ColumnKind::Timestamp: writeCsvField(columnText(t, column), out); break;
        case ColumnKind::Year: writeCsvField(exportYear(t), out); break;
        case ColumnKind::Flag: flagField(columnFlag(t, column), out); break;
        // The picture count goes out bare.
        case ColumnKind::PictureCount: out += format("%d,", int(t.pictures.size())); break;
        // Whether the tag holds lyrics, not the lyrics themselves.
        case ColumnKind::Lyrics: flagField(t.lyrics.has_value(), out); break;
        case ColumnKind::Advisory: writeCsvField(advisoryName(t.advisory), out); break;
        // Owner and identifier go out bare, without quotes or doubling.
        case ColumnKind::Ufid: out += ufidOwnerText(t) + " " + ufidDataText(t) + ","; break;
    }
}

std::string csvRow(const Id3v2Tag& t, int version) {
    std::string out;
    for (const ExportColumn& column : ExportColumns)
        if (hasColumn(column, version)) columnAsCsv(t, column, out);
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
    std::string out;
    for (const ExportColumn& column : ExportColumns) {
        if (!hasColumn(column, version == 1 ? 1 : 2)) continue;
        if (!out.empty()) out += ',';
        out += column.name;
    }
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
