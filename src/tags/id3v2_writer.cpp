// The version 2 writer: every field of the set becomes its frame, row by row in the order of
// the field table, each kind with its own payload layout; then the kept frames, the padding and
// the header's size.
#include "tags/id3v2_writer.h"

#include <algorithm>

#include "base/genres.h"
#include "base/logger.h"
#include "base/text.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

constexpr uint8_t Latin1Encoding = 0;
constexpr uint8_t Utf16Encoding = 1;
constexpr size_t FrameIdLength = 4;
constexpr size_t TagSizeAt = 6;
constexpr size_t PaddingBlock = 128;
constexpr size_t MinimumPadding = 10;
constexpr std::string_view CommentLanguage = "eng";
constexpr std::string_view DefaultUfidOwner = "Default";
// "image/%s" is formatted into 12 bytes: at most 11 characters of the MIME text are written.
constexpr size_t MimeLimit = 11;
constexpr std::string_view MimePrefix = "image/";
// The fixed bytes of a picture frame besides the MIME text's format word and the data:
// encoding, "image/", the MIME terminator, the picture type and the empty description.
constexpr size_t PictureFixedBytes = 10;
constexpr size_t PodcastPayloadSize = 4;
constexpr uint8_t NoPictureType = 0;

// The frames whose text goes through the conversion (-trim): text frames but the user texts,
// the compilation flag, the advisory and the ISWC.
bool convertsText(const V2FieldRow& row) {
    return row.id.starts_with('T') && !row.id.starts_with("TXX") && row.kind != V2FrameKind::Flag &&
           row.kind != V2FrameKind::Advisory && row.field != V2Field::Iswc;
}

// TDRL, TDRC, TPRO and TMOO exist in 2.4 only: they are the rows outside the 2.3 ID table.
bool writtenIn(const V2FieldRow& row, int version) { return version >= 4 || isStandardFrameId(row.id, 3); }

std::string cutAtNul(std::string_view text) { return std::string(text.substr(0, text.find('\0'))); }

// UTF-16 as written: little-endian after an FF FE mark (big-endian text is swapped), ending
// before the first NUL character, then the two-byte terminator.
std::string littleEndianUtf16(const TextValue& value) {
    const std::string& in = value.bytes();
    bool swap = !in.empty() && uint8_t(in[0]) == 0xFE;
    std::string out = "\xFF\xFE";
    for (size_t at = 2; at + 1 < in.size(); at += 2) {
        char low = swap ? in[at + 1] : in[at];
        char high = swap ? in[at] : in[at + 1];
        if (low == 0 && high == 0) break;
        out += low;
        out += high;
    }
    out.append(2, '\0');
    return out;
}

// Genre names of both lists, numbers 0 to 125, matched without regard to case; -1 when none.
int listedGenreNumber(std::string_view name) {
    for (int i = 0; i < GenreCount; ++i)
        if (equalsNoCase(genreSlot(i), name)) return i;
    for (int i = 0; i < ExtendedGenreCount; ++i)
        if (equalsNoCase(extendedGenre(i), name)) return GenreCount + i;
    return -1;
}

std::string_view listedGenreName(int number) {
    return number < GenreCount ? genreSlot(number) : extendedGenre(number - GenreCount);
}

// "(17)Rock": the name goes after three bytes of room for numbers 0 to 9 and four for every
// larger one, so a three-digit number loses its ')' to the name: "(100Humour". Kept so.
std::string listedGenreText(int number) {
    std::string text = format("(%d)", number);
    text.resize(number < 10 ? 3 : 4);
    text += listedGenreName(number);
    return text;
}

class FrameBuilder {
public:
    FrameBuilder(ByteWriter& out, const V2WriteSettings& settings) : out_(out), settings_(settings) {}

    void field(const Id3v2Tag& tag, const V2FieldRow& row);
    void keptFrame(const KeptFrame& frame) { emit(frame.id, frame.data); }

private:
    // Frames without a payload are left out: a frame of size 0 ends every reader's walk.
    void emit(std::string_view id, Bytes payload) {
        if (!payload.empty()) writeFrame(out_, id, payload, settings_.version);
    }
    void emit(std::string_view id, ByteWriter& payload) { emit(id, Bytes(payload.data())); }

    void textRow(const V2FieldRow& row, const TextValue& value);
    void text(std::string_view id, const TextValue& value);
    void text8(std::string_view id, std::string_view bytes);
    void genre(std::string_view id, const TextValue& value);
    void comment(std::string_view id, const TextValue& value);
    void picture(const Picture& picture);
    void pair(std::string_view id, uint16_t number, uint16_t total);
    void uniqueId(std::string_view id, const Id3v2Tag& tag);

    ByteWriter& out_;
    const V2WriteSettings& settings_;
};

void FrameBuilder::text(std::string_view id, const TextValue& value) {
    ByteWriter payload;
    if (value.isUtf16()) {
        payload.u8(Utf16Encoding);
        payload.text(littleEndianUtf16(value));
    } else {
        payload.u8(Latin1Encoding);
        payload.text(cutAtNul(value.bytes()));  // 8-bit text has no terminator
    }
    emit(id, payload);
}

void FrameBuilder::text8(std::string_view id, std::string_view bytes) {
    ByteWriter payload;
    payload.u8(Latin1Encoding);
    payload.text(bytes);
    emit(id, payload);
}

void FrameBuilder::genre(std::string_view id, const TextValue& value) {
    int number = listedGenreNumber(value.utf8());
    if (number < 0) return text(id, value);
    std::string listed = listedGenreText(number);
    text(id, value.isUtf16() ? TextValue::utf16FromUtf8(listed) : TextValue::latin1(listed));
}

// Encoding, "eng", an empty description, the text. UTF-16 marks the empty description too, and
// the frame ends with two zero bytes after the text's own terminator.
void FrameBuilder::comment(std::string_view id, const TextValue& value) {
    ByteWriter payload;
    if (value.isUtf16()) {
        payload.u8(Utf16Encoding);
        payload.text(CommentLanguage);
        payload.text(std::string_view("\xFF\xFE\0\0", 4));
        payload.text(littleEndianUtf16(value));
        payload.zeros(2);
    } else {
        payload.u8(Latin1Encoding);
        payload.text(CommentLanguage);
        payload.u8(0);
        payload.text(cutAtNul(value.bytes()));
    }
    emit(id, payload);
}

// Encoding 0, "image/<format word>" cut to 11 characters, picture type 0, an empty description,
// the data. The size is counted from the whole format word; when the MIME text was cut, zero
// bytes fill the frame to that size.
void FrameBuilder::picture(const Picture& picture) {
    std::string mime = (std::string(MimePrefix) + picture.format).substr(0, MimeLimit);
    size_t size = picture.data.size() + picture.format.size() + PictureFixedBytes;
    writeFrameHeader(out_, "APIC", uint32_t(size), settings_.version);
    size_t start = out_.size();
    out_.u8(Latin1Encoding);
    out_.text(mime);
    out_.u8(0);
    out_.u8(NoPictureType);
    out_.u8(0);
    out_.bytes(picture.data);
    out_.zeros(size - (out_.size() - start));
}

// The rows that hold one text value; the conversion applies to the text frames among them.
void FrameBuilder::textRow(const V2FieldRow& row, const TextValue& given) {
    const TextValue value = settings_.convert && convertsText(row) ? trimWhiteSpace(given) : given;
    switch (row.kind) {
        case V2FrameKind::Text:
        case V2FrameKind::FeedUrl: return text(row.id, value);
        case V2FrameKind::Text8: return text8(row.id, toLatin1(value));
        case V2FrameKind::Genre: return genre(row.id, value);
        case V2FrameKind::Comment: return comment(row.id, value);
        case V2FrameKind::UserUrl: {
            ByteWriter payload;
            payload.u8(Latin1Encoding);
            payload.u8(0);  // empty description
            payload.text(toLatin1(value));
            return emit(row.id, payload);
        }
        case V2FrameKind::Url: return emit(row.id, asBytes(toLatin1(value)));
        default: return;
    }
}

void FrameBuilder::uniqueId(std::string_view id, const Id3v2Tag& tag) {
    ByteWriter payload;
    payload.text(tag.ufidOwner.empty() ? DefaultUfidOwner : std::string_view(tag.ufidOwner));
    payload.u8(0);
    payload.text(std::string_view(tag.ufid).substr(0, UfidLimit));
    emit(id, payload);
}

void FrameBuilder::field(const Id3v2Tag& tag, const V2FieldRow& row) {
    if (const OptText* value = textField(tag, row.field)) {
        if (*value) textRow(row, **value);
        return;
    }
    const std::string_view id = row.id;
    switch (row.field) {
        case V2Field::Track: return pair(id, tag.trackNumber, tag.trackTotal);
        case V2Field::Set: return pair(id, tag.setNumber, tag.setTotal);
        case V2Field::Year: {
            std::string year = cutAtNul(tag.year).substr(0, 4);
            if (!year.empty()) text8(id, settings_.convert ? trimWhiteSpace(year) : year);
            return;
        }
        case V2Field::Compilation:
            if (tag.compilation) text8(id, "1");
            return;
        case V2Field::Rating:
            // An empty email and the rating byte; no play counter.
            if (tag.hasRating) emit(id, std::vector<uint8_t>{0, tag.rating});
            return;
        case V2Field::Ufid:
            if (tag.hasUfid) uniqueId(id, tag);
            return;
        case V2Field::CdIdentifier: return emit(id, tag.cdIdentifier);
        case V2Field::Podcast:
            if (tag.podcast) emit(id, std::vector<uint8_t>(PodcastPayloadSize, 0));
            return;
        case V2Field::Advisory:
            if (tag.advisory != 0) text8(id, tag.advisory == 1 ? "1" : "2");
            return;
        case V2Field::UserText:
            if (settings_.mode != 0)
                for (const std::vector<uint8_t>& payload : tag.userTexts) emit(id, payload);
            return;
        case V2Field::Picture:
            for (const Picture& each : tag.pictures) picture(each);
            return;
        default: return;
    }
}

void FrameBuilder::pair(std::string_view id, uint16_t number, uint16_t total) {
    std::string text = numberPairText(number, total, settings_.allowTotalOnly);
    if (!text.empty()) text8(id, text);
}

size_t reservedSize(const Id3v2Tag& tag) {
    size_t size = 4096 + tag.cdIdentifier.size();
    for (const Picture& picture : tag.pictures) size += picture.data.size() + 32;
    for (const KeptFrame& frame : tag.keptFrames) size += frame.data.size() + V2HeaderSize;
    for (const std::vector<uint8_t>& payload : tag.userTexts) size += payload.size() + V2HeaderSize;
    return size;
}

}  // namespace

void trimTextFields(Id3v2Tag& fields) {
    for (const V2FieldRow& row : V2FieldRows) {
        OptText* value = textField(fields, row.field);
        if (value && *value && convertsText(row)) *value = trimWhiteSpace(**value);
    }
    fields.year = trimWhiteSpace(fields.year);
}

int chooseV2Version(const Id3v2Tag& fields) {
    if (fields.recordingTime && !fields.recordingTime->empty()) return 4;
    if (!fields.releaseTime || fields.releaseTime->empty()) return 3;
    return 4;
}

int chooseV2Version(const ID3Tag& track) { return chooseV2Version(track.v2); }

void writeFrameHeader(ByteWriter& out, std::string_view id, uint32_t payloadSize, int version) {
    std::string_view shown = id.substr(0, std::min(id.size(), FrameIdLength));
    out.text(shown);
    out.zeros(FrameIdLength - shown.size());
    if (writesSyncsafeSizes(version)) out.syncsafe32(payloadSize);
    else out.be32(payloadSize);
    out.be16(0);  // flags are always written as zero
}

size_t writeFrame(ByteWriter& out, std::string_view id, Bytes payload, int version) {
    size_t before = out.size();
    writeFrameHeader(out, id, uint32_t(payload.size()), version);
    out.bytes(payload);
    return out.size() - before;
}

size_t v2PaddingFor(size_t framesSize) {
    size_t padding = PaddingBlock - (framesSize + V2HeaderSize) % PaddingBlock;
    return padding < MinimumPadding ? padding + PaddingBlock : padding;
}

std::vector<uint8_t> buildV2Tag(const Id3v2Tag& fields, const V2WriteSettings& settings) {
    ByteWriter out;
    out.data().reserve(reservedSize(fields));
    out.text("ID3");
    out.u8(uint8_t(settings.version));
    out.u8(0);  // revision
    out.u8(0);  // flags
    out.zeros(4);

    FrameBuilder frames(out, settings);
    for (const V2FieldRow& row : V2FieldRows)
        if (writtenIn(row, settings.version)) frames.field(fields, row);
    if (settings.mode != 0)
        for (const KeptFrame& kept : fields.keptFrames) frames.keptFrame(kept);

    size_t body = out.size() - V2HeaderSize;
    body += v2PaddingFor(body);
    if (body > V2SizeLimit) {
        Logger::log(LogError, "Failed to save the version 2 tag data");
        return {};
    }
    out.zeros(body + V2HeaderSize - out.size());
    out.patchSyncsafe(TagSizeAt, uint32_t(body));
    return out.take();
}

std::vector<uint8_t> buildV2Tag(const ID3Tag& track, int version, bool convert, int mode) {
    V2WriteSettings settings;
    settings.version = version < 3 ? chooseV2Version(track) : version;
    settings.convert = convert;
    settings.mode = mode;
    settings.allowTotalOnly = track.trackFormatFlag != 0;
    return buildV2Tag(track.v2, settings);
}

}  // namespace tagwick
