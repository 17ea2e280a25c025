#include "export/tag_values.h"

#include "base/genres.h"
#include "base/text.h"

namespace tagwick {

namespace {

std::string exportText(const OptText& value) { return value ? value->utf8() : std::string(); }

std::string exportTimestamp(const OptText& value) {
    return value ? displayTimestamp(value->utf8().c_str()) : std::string();
}

}  // namespace

std::string columnText(const Id3v2Tag& tag, const ExportColumn& column) {
    const OptText* value = textField(tag, column.field);
    if (value == nullptr) return {};
    return column.kind == ColumnKind::Timestamp ? exportTimestamp(*value) : exportText(*value);
}

uint16_t columnNumber(const Id3v2Tag& tag, const ExportColumn& column) {
    const bool total = column.kind == ColumnKind::Total;
    if (column.field == V2Field::Set) return total ? tag.setTotal : tag.setNumber;
    return total ? tag.trackTotal : tag.trackNumber;
}

bool columnFlag(const Id3v2Tag& tag, const ExportColumn& column) {
    return column.field == V2Field::Podcast ? tag.podcast : tag.compilation;
}

std::string exportYear(const Id3v2Tag& tag) { return latin1ToUtf8(tag.year); }

std::string ufidOwnerText(const Id3v2Tag& tag) { return tag.ufidOwner.empty() ? "Default" : tag.ufidOwner; }

std::string ufidDataText(const Id3v2Tag& tag) {
    std::string id = tag.ufid.substr(0, UfidLimit);
    return id.substr(0, id.find('\0'));
}

}  // namespace tagwick
