#include "export/xml_export.h"

#include <cerrno>

#include "base/files.h"
#include "base/genres.h"
#include "base/logger.h"
#include "base/text.h"
#include "cli/help_text.h"
#include "export/export_file.h"
#include "export/tag_values.h"
#include "tags/id3_tag.h"
#include "tags/tag_copy.h"

namespace tagwick {

namespace {

constexpr size_t Base64LineLength = 128;
constexpr uint8_t V1NoNumber = 255;

void appendEscaped(std::string_view text, bool multiline, std::string& out) {
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        switch (c) {
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '&': out += "&amp;"; break;
            case '\'': out += "&apos;"; break;
            case '"': out += "&quot;"; break;
            case '\r':
            case '\n':
                if (!multiline) {
                    out += c;
                    break;
                }
                out += "</br>";
                // A pair of line-break characters ("\r\n", "\n\r", "\n\n", "\r\r") is one break.
                if (i + 1 < text.size() && (text[i + 1] == '\r' || text[i + 1] == '\n')) ++i;
                break;
            default: out += c;
        }
    }
}

enum class Multiline { No, Yes };

void stringValue(std::string& out, std::string_view name, std::string_view text, Multiline lines = Multiline::No) {
    writeXmlValue(name, text, "string", out, lines == Multiline::Yes);
}
void longValue(std::string& out, std::string_view name, long value) {
    writeXmlValue(name, format("%ld", value), "long", out, false);
}
void boolValue(std::string& out, std::string_view name, bool value) {
    writeXmlValue(name, value ? "true" : "false", "bool", out, false);
}

// A number of the tag; 0 when it is not set.
long numberValue(uint16_t number) { return number == NumberNotSet ? 0 : number; }

void columnAsXml(const Id3v2Tag& t, const ExportColumn& column, std::string& out) {
    const Multiline lines = column.multiline ? Multiline::Yes : Multiline::No;
    switch (column.kind) {
        case ColumnKind::Number:
        case ColumnKind::Total: longValue(out, column.name, numberValue(columnNumber(t, column))); break;
        case ColumnKind::Text:
        case ColumnKind::Timestamp:
        case ColumnKind::Lyrics: stringValue(out, column.name, columnText(t, column), lines); break;
        case ColumnKind::Year: stringValue(out, column.name, exportYear(t)); break;
        case ColumnKind::Flag: boolValue(out, column.name, columnFlag(t, column)); break;
        case ColumnKind::PictureCount: break;  // the pictures follow as elements of their own
        case ColumnKind::Advisory: stringValue(out, column.name, advisoryName(t.advisory)); break;
        case ColumnKind::Ufid:
            stringValue(out, column.name, ufidOwnerText(t));
            stringValue(out, "UFID data", ufidDataText(t));
            break;
    }
}

std::string v2AsXml(const Id3v2Tag& t, int version) {
    std::string out = "\t<id3 version=\"2\">\n";
    for (const ExportColumn& column : ExportColumns)
        if (hasColumn(column, version)) columnAsXml(t, column, out);
    return out;
}

// The picture element, or nothing for a picture without data or one the encoder refuses.
std::optional<std::string> pictureAsXml(const Picture& picture) {
    if (picture.data.empty()) return std::nullopt;
    std::optional<std::string> encoded = pictureBase64(picture.data);
    if (!encoded) {
        Logger::log(LogProgress, "Failed to create the XML image base 64");
        return std::nullopt;
    }
    std::string out = format("\t\t<picture content-encoding=\"base64\" content-type=\"image/%s\" size=\"%lu\">\n",
                             picture.format.c_str(), static_cast<unsigned long>(picture.data.size()));
    for (size_t at = 0; at < encoded->size(); at += Base64LineLength) {
        out += "\t\t\t";
        out.append(*encoded, at, Base64LineLength);
        out += '\n';
    }
    out += "\t\t</picture>\n";
    return out;
}

// A track with only a version 1 record is exported through a copy of it into version 2; the
// flags telling what version 2 holds are given back when the export ends.
class V1CopyForExport {
public:
    explicit V1CopyForExport(ID3Tag& track)
        : track_(track), v2Modified_(track.v2Modified), v2Present_(track.v2Present) {
        if (!track.v2Present && track.v1.enabled) copyV1ToV2(track);
    }
    ~V1CopyForExport() {
        track_.v2Modified = v2Modified_;
        track_.v2Present = v2Present_;
    }
    V1CopyForExport(const V1CopyForExport&) = delete;
    V1CopyForExport& operator=(const V1CopyForExport&) = delete;

private:
    ID3Tag& track_;
    bool v2Modified_;
    bool v2Present_;
};

ExportStatus notWritten(const std::string& path, int error) {
    Logger::log(LogError, "Failed to write the tag data to the XML file '%s' (%d)", path.c_str(), error);
    return ExportStatus::NotCreatable;
}

}  // namespace

void writeXmlValue(std::string_view name, std::string_view text, std::string_view type, std::string& out,
                   bool multiline) {
    out += "\t\t<value name=\"";
    out += name;
    out += "\" type=\"";
    out += type;
    out += "\">";
    appendEscaped(text, multiline, out);
    out += "</value>\n";
}

std::string v1AsXml(const ID3Tag& track) {
    const Id3v1Tag& v1 = track.v1;
    std::string out = "\t<id3 version=\"1\">\n";
    longValue(out, "Track", v1.track >= V1NoNumber ? 0 : v1.track);
    stringValue(out, "Title", v1.title);
    stringValue(out, "Artist", v1.artist);
    stringValue(out, "Album", v1.album);
    stringValue(out, "Year", v1.year);
    longValue(out, "Genre", v1.genre);
    stringValue(out, "Comment", v1.comment, Multiline::Yes);
    out += "\t</id3>\n";
    return out;
}

std::optional<std::string> pictureBase64(Bytes picture) {
    static constexpr char Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const size_t encodedLength = (picture.size() + 2) / 3 * 4;
    // The encoder writes into a buffer of twice the picture's size and needs room for the
    // text's end as well.
    if (encodedLength >= 2 * picture.size()) return std::nullopt;
    std::string out;
    out.reserve(encodedLength);
    size_t at = 0;
    for (; picture.size() - at >= 3; at += 3) {
        const uint32_t group = uint32_t(picture[at]) << 16 | uint32_t(picture[at + 1]) << 8 | picture[at + 2];
        for (int shift = 18; shift >= 0; shift -= 6) out += Alphabet[(group >> shift) & 0x3F];
    }
    if (const size_t left = picture.size() - at; left > 0) {
        uint32_t group = uint32_t(picture[at]) << 16;
        if (left == 2) group |= uint32_t(picture[at + 1]) << 8;
        out += Alphabet[(group >> 18) & 0x3F];
        out += Alphabet[(group >> 12) & 0x3F];
        out += left == 2 ? Alphabet[(group >> 6) & 0x3F] : '=';
        out += '=';
    }
    return out;
}

ExportStatus exportXml(const std::string& path, ID3Tag* track, int version, bool withPictures) {
    if (track == nullptr) return ExportStatus::NoTrack;
    version = version == 1 ? 1 : 2;
    if (targetIsTrack(path, *track)) return targetIsTheTrack(path);
    ExportFile file;
    if (!file.create(path, true)) return notWritten(path, errno);

    V1CopyForExport v1Copy(*track);
    std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    document += format("<!-- Created by %s version %d.%d.%d -->\n", ProductName, VersionMajor, VersionMinor,
                       VersionPatch);
    if (!track->v2Present) {
        // The wording names the CSV file: it is shared with the CSV export.
        Logger::log(LogError, "No tag information was found to export to the CSV file '%s'", track->path.c_str());
        file.write(document);
        if (!file.close()) {
            file.discard();
            return notWritten(path, file.error());
        }
        return ExportStatus::Ok;
    }

    const std::string& trackPath = track->path;
    document += format("<tag version=\"%d.0\">\n", version);
    document += "\t<file name=\"" + std::string(fileNamePart(trackPath.c_str())) + "\" path=\"" +
                directoryPart(trackPath.c_str()) + "\" />\n";
    document += v1AsXml(*track);
    document += v2AsXml(track->v2, version);
    constexpr std::string_view DocumentEnd = "\t</id3>\n</tag>\n";
    if (withPictures && !track->v2.pictures.empty()) {
        file.write(document);
        for (const Picture& picture : track->v2.pictures) {
            std::optional<std::string> element = pictureAsXml(picture);
            if (element && file.write(*element) < element->size())
                Logger::log(LogError, "Failed to write the picture data to the XML file (%d)", file.error());
        }
        file.write(DocumentEnd);
    } else {
        // Without pictures the document goes out in one write.
        document += DocumentEnd;
        file.write(document);
    }
    if (!file.close()) {
        file.discard();
        return notWritten(path, file.error());
    }
    Logger::log(LogProgress, "Successfully exported the tag data");
    return ExportStatus::Ok;
}

}  // namespace tagwick
