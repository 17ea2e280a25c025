// The version 2 reader: the header check, then one walk over the frames of a tag held in
// memory. Each frame is checked, copied into a reused frame buffer, freed of its data length
// indicator and unsynchronisation, decoded (text encoding byte) and handed to the field rows;
// frames that no field takes are dropped or kept raw according to the tag type mode.
//
// Every read goes through at(), which yields 0 past the end of the span: the frame buffer of
// this program has always been followed by zero bytes, and the checks below rely on that.
#include "tags/id3v2_reader.h"

#include <algorithm>
#include <bitset>
#include <exception>
#include <new>
#include <string>

#include "base/logger.h"

namespace tagwick {

namespace {

constexpr int HighestVersion = 4;
constexpr int64_t HeaderSize = 10;
constexpr int64_t InitialCapacity = 256;
// The frame buffer always keeps room for the zero bytes that end any text.
constexpr int64_t BufferSlack = 5;

constexpr uint8_t TagFlagUnsync = 0x80;
constexpr uint8_t TagFlagExtended = 0x40;
constexpr uint8_t TagFlagFooter = 0x10;
constexpr uint16_t FrameFlagDataLength = 0x0001;
constexpr uint16_t FrameFlagUnsync = 0x0002;

enum Encoding : int { Latin1 = 0, Utf16WithMark = 1, Utf16BigEndian = 2, Utf8 = 3 };

Bytes slice(Bytes data, size_t from, size_t to) {
    from = std::min(from, data.size());
    to = std::clamp(to, from, data.size());
    return data.subspan(from, to - from);
}

uint8_t byteAt(Bytes data, size_t at) { return at < data.size() ? data[at] : 0; }

// Index of the terminator that starts at or after `from` (one zero byte, or two on a 16-bit
// boundary for UTF-16), or the size when there is none.
size_t terminatorAt(Bytes data, size_t from, bool wide) {
    if (!wide) {
        for (size_t i = from; i < data.size(); ++i)
            if (data[i] == 0) return i;
        return data.size();
    }
    for (size_t i = from; i + 1 < data.size(); i += 2)
        if (data[i] == 0 && data[i + 1] == 0) return i;
    return data.size();
}

// Byte order marks are recognised by their top seven bits, as the program always did.
bool looksLikeMark(Bytes text) { return (byteAt(text, 0) & 0xFE) == 0xFE && (byteAt(text, 1) & 0xFE) == 0xFE; }

// UTF-16 without a mark is accepted when it reads as big-endian Latin text: every high byte
// zero up to the terminator.
bool isPlainBigEndianLatin(Bytes text) {
    for (size_t i = 0; i < text.size(); i += 2) {
        uint8_t high = text[i], low = byteAt(text, i + 1);
        if (high != 0) return false;
        if (low == 0) return true;
    }
    return true;
}

std::vector<uint8_t> withBigEndianMark(Bytes text) {
    std::vector<uint8_t> out(text.size() + 2);
    out[0] = 0xFE;
    out[1] = 0xFF;
    std::copy(text.begin(), text.end(), out.begin() + 2);
    return out;
}

// A text as stored in a field: up to its terminator, Latin-1, UTF-16 with a mark, or UTF-8
// taken into one of those two.
TextValue decodeText(Bytes text, int encoding) {
    if (encoding == Utf16WithMark) {
        std::string bytes(asText(slice(text, 0, terminatorAt(text, 2, true))));
        if (bytes.size() < 2) return TextValue::utf16("\xFF\xFE");
        if (bytes.size() % 2) bytes.pop_back();
        // Any mark-like pair is taken by its first byte, which is how the single-byte form reads it.
        bytes[1] = uint8_t(bytes[0]) == 0xFE ? char(0xFF) : char(0xFE);
        return TextValue::utf16(std::move(bytes));
    }
    std::string_view chars = asText(slice(text, 0, terminatorAt(text, 0, false)));
    return encoding == Utf8 ? TextValue::fromUtf8(chars) : TextValue::latin1(std::string(chars));
}

// A description in UTF-8, to be compared with known prefixes.
std::string describedText(Bytes description, bool wide) {
    if (!wide) return std::string(asText(slice(description, 0, terminatorAt(description, 0, false))));
    if (looksLikeMark(description)) return decodeText(description, Utf16WithMark).utf8();
    return decodeText(withBigEndianMark(description), Utf16WithMark).utf8();
}

// Text frames (but not the user text frames) and the podcast feed frames carry an encoding byte.
bool carriesEncodingByte(std::string_view id) {
    if (!id.empty() && id[0] == 'T') return !id.starts_with("TXX");
    return id == "WFD" || id == "WFED" || id == "WFD ";
}

bool isFrameIdCharacter(uint8_t c) {
    if (c >= 'a' && c <= 'z') c = uint8_t(c - 'a' + 'A');
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

struct FrameHeader {
    std::string id;         // as read, ending at a NUL byte
    int64_t size = 0;       // syncsafe reading for 2.4 and above
    int64_t plainSize = 0;  // plain reading of the same bytes (2.4 and above), else 0
    uint16_t flags = 0;
};

// One frame after the encoding step: the whole payload, and for text frames the text after
// the encoding byte (a mark put in front for UTF-16 big-endian without one).
struct FrameView {
    const FrameHeader& header;
    Bytes payload;
    Bytes text;
    int encoding = Latin1;
};

class Parser {
public:
    Parser(Id3v2Tag& tag, Bytes data, const V2ReadSettings& settings)
        : tag_(tag), data_(data), size_(int64_t(data.size())), settings_(settings) {}

    V2ParseOutcome run();

private:
    enum class Step { Next, End, Stop };

    uint8_t at(int64_t i) const { return i >= 0 && i < size_ ? data_[size_t(i)] : 0; }
    uint32_t be24(int64_t i) const { return uint32_t(at(i)) << 16 | uint32_t(at(i + 1)) << 8 | at(i + 2); }
    uint32_t be32(int64_t i) const { return uint32_t(at(i)) << 24 | be24(i + 1); }
    uint32_t syncsafe(int64_t i) const {
        return uint32_t(at(i) & 0x7F) << 21 | uint32_t(at(i + 1) & 0x7F) << 14 | uint32_t(at(i + 2) & 0x7F) << 7 |
               (at(i + 3) & 0x7F);
    }
    bool looksLikeFrameStart(int64_t i) const;
    std::string idAt(int64_t i, int length) const;

    Step readFrame();
    Step readHeader22(FrameHeader& header);
    Step readHeader23(FrameHeader& header);
    bool growBuffer(int64_t needed);
    void copyFrame(int64_t length);
    Step readWithPlainSize(const FrameHeader& header, int64_t frameSize);
    void handleFrame(const FrameHeader& header);
    void keepFrame(const FrameHeader& header, std::vector<uint8_t> data);

    // The field rows.
    bool mapFrame(const FrameView& frame);
    bool takeOnce(V2Field field, bool (Parser::*take)(const FrameView&), const FrameView& frame);
    TextValue stored(TextValue value) const;
    TextValue text(const FrameView& frame) const { return stored(decodeText(frame.text, frame.encoding)); }
    bool takeText(const FrameView& frame);
    bool takeYear(const FrameView& frame);
    bool takePair(const FrameView& frame);
    bool takeGenre(const FrameView& frame);
    bool takeComment(const FrameView& frame);
    bool takeUserUrl(const FrameView& frame);
    bool takeFlag(const FrameView& frame);
    bool takeUrl(const FrameView& frame);
    bool takeRating(const FrameView& frame);
    bool takeUniqueId(const FrameView& frame);
    bool takeBinary(const FrameView& frame);
    void takePicture(const FrameView& frame);
    std::optional<TextValue> commentText(Bytes payload, bool skipITunes) const;

    Id3v2Tag& tag_;
    Bytes data_;
    int64_t size_;
    const V2ReadSettings& settings_;
    int version_ = 0;
    int64_t pos_ = HeaderSize;
    int64_t capacity_ = InitialCapacity;
    std::vector<uint8_t> frame_;
    V2Field currentField_ = V2Field::Title;
    std::bitset<V2FieldRows.size()> taken_;
};

V2ParseOutcome Parser::run() {
    V2ParseOutcome outcome;
    if (size_ < HeaderSize) {
        outcome.status = V2ParseTooShort;
        return outcome;
    }
    version_ = data_[3];
    outcome.minor = version_;
    if (version_ > HighestVersion)
        Logger::log(LogWarning, "Warning: Tag version 2.%d found (max allowed is 2.%d)", version_, HighestVersion);
    uint8_t flags = data_[5];
    outcome.found = true;
    if ((flags & TagFlagUnsync) && version_ <= 3) {
        Logger::log(LogWarning, "Warning: Unsynchronisation is not supported in version 2.%d", version_);
        outcome.status = V2ParseUnsynchronised;
        return outcome;
    }
    if (flags & TagFlagExtended) {
        int64_t extendedSize = version_ >= 4 ? syncsafe(HeaderSize) : be32(HeaderSize);
        // The size field is not counted as part of the extended header, and four more bytes are
        // skipped for every version: right for 2.3, four bytes past the end for 2.4. Kept as is.
        pos_ = extendedSize + 14;
    }
    frame_.reserve(size_t(InitialCapacity + BufferSlack));
    Step step = Step::Next;
    try {
        while (step == Step::Next && pos_ < size_) step = readFrame();
    } catch (const std::exception&) {
        Logger::log(LogError, "Failed to read the version 2 tag data (pos: %u)", unsigned(pos_));
        step = Step::Stop;
    }
    outcome.status = step == Step::Stop ? V2ParseStopped : V2ParseComplete;
    return outcome;
}

bool Parser::looksLikeFrameStart(int64_t i) const {
    if (at(i) == 0) return true;  // padding
    for (int k = 0; k < 4; ++k)
        if (!isFrameIdCharacter(at(i + k))) return false;
    return true;
}

std::string Parser::idAt(int64_t i, int length) const {
    std::string id;
    for (int k = 0; k < length && at(i + k) != 0; ++k) id += char(at(i + k));
    return id;
}

Parser::Step Parser::readHeader22(FrameHeader& header) {
    if (pos_ + 4 > size_) {
        Logger::log(LogError, "Failed to read the 2.2 frame ID (%d:%d)", int(size_), int(pos_ + 4));
        return Step::Stop;
    }
    if (at(pos_) == 0) return Step::End;
    header.id = idAt(pos_, 3);
    header.size = be24(pos_ + 3);
    pos_ += 6;
    return Step::Next;
}

Parser::Step Parser::readHeader23(FrameHeader& header) {
    if (pos_ + 4 > size_) {
        Logger::log(LogError, "Failed to get the 2.%d frame ID (%d:%d)", version_, int(size_), int(pos_ + 4));
        return Step::Stop;
    }
    if (at(pos_) == 0) return Step::End;
    header.id = idAt(pos_, 4);
    if (pos_ + 10 > size_) {
        Logger::log(LogError, "Failed to get the frame size (%d:%d)", int(size_), int(pos_ + 10));
        return Step::Stop;
    }
    if (version_ >= 4) {
        header.size = syncsafe(pos_ + 4);
        header.plainSize = be32(pos_ + 4);
    } else {
        header.size = be32(pos_ + 4);
    }
    header.flags = uint16_t(uint32_t(at(pos_ + 8)) << 8 | at(pos_ + 9));
    pos_ += 10;
    return Step::Next;
}

bool Parser::growBuffer(int64_t needed) {
    int64_t wanted = needed + BufferSlack;
    try {
        // The logical capacity follows the sizes read; real memory never exceeds what the tag holds.
        frame_.reserve(size_t(std::min(wanted, size_ + BufferSlack)));
    } catch (const std::bad_alloc&) {
        Logger::log(LogError, "Failed to allocate a frame buffer of size %d", int(wanted));
        return false;
    }
    capacity_ = wanted;
    return true;
}

void Parser::copyFrame(int64_t length) {
    auto first = data_.begin() + pos_;
    frame_.assign(first, first + length);
    pos_ += length;
}

Parser::Step Parser::readFrame() {
    FrameHeader header;
    Step step = version_ <= 2 ? readHeader22(header) : readHeader23(header);
    if (step != Step::Next) return step;
    const char* id = header.id.c_str();

    if (!isStandardFrameId(header.id, version_))
        Logger::log(LogError, "Non-standard 2.%d tag ID found '%s' (size %u)", version_, id, unsigned(header.size));
    if (header.size == 0 || header.size > size_) {
        Logger::log(LogError, "Tag 2.%d frame %s size error (%u, max %lu)", version_, id, unsigned(header.size),
                    (unsigned long)size_);
        return Step::Stop;
    }
    if ((header.size > capacity_ || header.plainSize > capacity_) &&
        !growBuffer(std::max(header.size, header.plainSize)))
        return Step::Stop;

    int64_t frameSize = header.size;
    if (version_ >= 4 && (header.flags & FrameFlagDataLength)) {
        frameSize -= 4;
        pos_ += 4;
    }
    int64_t left = size_ - pos_;
    // A frame shorter than its data length indicator leaves a negative size: refused here too.
    if (frameSize < 0 || frameSize > capacity_ || frameSize > left) {
        Logger::log(LogError, "Frame buffer size mismatch (%d:%d %d)", int(frameSize), int(capacity_), int(left));
        return Step::Stop;
    }
    copyFrame(frameSize);

    // Some writers put plain 32-bit sizes into 2.4 frames. The syncsafe reading stands when the
    // bytes after the frame look like the next frame (or padding); otherwise the plain one is tried.
    if (version_ >= 4 && header.plainSize != header.size && pos_ < size_ && !looksLikeFrameStart(pos_)) {
        step = readWithPlainSize(header, frameSize);
        if (step != Step::Next) return step;
    }
    handleFrame(header);
    return Step::Next;
}

Parser::Step Parser::readWithPlainSize(const FrameHeader& header, int64_t frameSize) {
    // Back to where the data began (after an indicator, whose four bytes stay in the plain size).
    pos_ -= frameSize;
    if (pos_ + header.plainSize > size_) {
        Logger::log(LogError, "Failed to read the 2.%d non-syncsafe frame (%d:%d)", version_, int(size_),
                    int(pos_ + header.plainSize));
        return Step::Stop;
    }
    copyFrame(header.plainSize);
    if (pos_ < size_ && !looksLikeFrameStart(pos_)) {
        Logger::log(LogError, "Failed to validate the tag position after a non-syncsafe frame");
        return Step::Stop;
    }
    return Step::Next;
}

void Parser::handleFrame(const FrameHeader& header) {
    if (header.flags & FrameFlagUnsync) frame_ = removeUnsynchronisation(frame_);

    Bytes payload = frame_;
    FrameView view{header, payload, {}, Latin1};
    std::vector<uint8_t> marked;
    std::vector<uint8_t> keptData;
    if (carriesEncodingByte(header.id)) {
        int encoding = byteAt(payload, 0);
        Bytes text = slice(payload, 1, payload.size());
        switch (encoding) {
            case Latin1:
            case Utf8:
                view.text = text;
                view.encoding = encoding;
                keptData = frame_;
                break;
            case Utf16BigEndian:
                marked = withBigEndianMark(text);
                view.text = marked;
                view.encoding = Utf16WithMark;
                // Kept as what it now is: UTF-16 with a mark.
                keptData.push_back(Utf16WithMark);
                keptData.insert(keptData.end(), marked.begin(), marked.end());
                break;
            case Utf16WithMark:
                if (!looksLikeMark(text)) return;  // dropped without a word
                view.text = text;
                view.encoding = Utf16WithMark;
                keptData = frame_;
                break;
            default:
                Logger::log(LogError, "Unknown Unicode type %d found for frame ID %s", encoding, header.id.c_str());
                return;
        }
    } else {
        keptData = frame_;
    }
    if (!mapFrame(view)) keepFrame(header, std::move(keptData));
}

void Parser::keepFrame(const FrameHeader& header, std::vector<uint8_t> data) {
    int mode = settings_.tagTypeMode;
    bool keep = mode == 2 || (mode == 1 && isStandardFrameId(header.id, version_));
    if (!keep) return;
    if (version_ <= 2) {
        Logger::log(LogWarning, "Copying all tag data is not supported for frame ID %s in version 2.%d",
                    header.id.c_str(), version_);
        return;
    }
    // The two messages belong to the modes this way round; scripts reading the log rely on it.
    if (mode == 1) Logger::log(LogProgress, "Adding non-standard tag field '%s'", header.id.c_str());
    else Logger::log(LogProgress, "Adding unsupported but valid tag field '%s'", header.id.c_str());
    // The data no longer carries an indicator or unsynchronisation, so those flags go.
    uint16_t undone = FrameFlagUnsync | (version_ >= 4 ? FrameFlagDataLength : 0);
    tag_.keptFrames.push_back(KeptFrame{header.id.substr(0, 8), uint16_t(header.flags & ~undone), std::move(data)});
}

// ---------------------------------------------------------------- the field rows

TextValue Parser::stored(TextValue value) const {
    if (!settings_.conversion && value.isUtf16()) return TextValue::latin1(toSingleByte(value, 2));
    return value;
}

bool Parser::takeOnce(V2Field field, bool (Parser::*take)(const FrameView&), const FrameView& frame) {
    size_t row = size_t(field);
    if (taken_[row]) return true;  // the first frame of a field wins
    currentField_ = field;
    if ((this->*take)(frame)) taken_[row] = true;
    return true;
}

bool Parser::mapFrame(const FrameView& frame) {
    const V2FieldRow* row = findFieldRow(frame.header.id, version_);
    if (!row) return false;
    if (row->field == V2Field::ReleaseTime && version_ <= 2 && settings_.tagTypeMode == 0) return false;
    switch (row->kind) {
        case V2FrameKind::Text:
        case V2FrameKind::Text8:
        case V2FrameKind::FeedUrl: return takeOnce(row->field, &Parser::takeText, frame);
        case V2FrameKind::Year: return takeOnce(row->field, &Parser::takeYear, frame);
        case V2FrameKind::NumberPair: return takeOnce(row->field, &Parser::takePair, frame);
        case V2FrameKind::Genre: return takeOnce(row->field, &Parser::takeGenre, frame);
        case V2FrameKind::Comment: return takeOnce(row->field, &Parser::takeComment, frame);
        case V2FrameKind::UserUrl: return takeOnce(row->field, &Parser::takeUserUrl, frame);
        case V2FrameKind::Flag: return takeOnce(row->field, &Parser::takeFlag, frame);
        case V2FrameKind::Url: return takeOnce(row->field, &Parser::takeUrl, frame);
        case V2FrameKind::Popularimeter: return takeOnce(row->field, &Parser::takeRating, frame);
        case V2FrameKind::UniqueId: return takeOnce(row->field, &Parser::takeUniqueId, frame);
        case V2FrameKind::Binary: return takeOnce(row->field, &Parser::takeBinary, frame);
        case V2FrameKind::PodcastFlag: tag_.podcast = true; return true;
        case V2FrameKind::Advisory:
            if (tag_.advisory == 0) tag_.advisory = advisoryFromText(text(frame));
            return true;
        case V2FrameKind::UserText: tag_.userTexts.emplace_back(frame.payload.begin(), frame.payload.end()); return true;
        case V2FrameKind::Picture: takePicture(frame); return true;
    }
    return false;
}

bool Parser::takeText(const FrameView& frame) {
    *textField(tag_, currentField_) = text(frame);
    return true;
}

bool Parser::takeYear(const FrameView& frame) {
    tag_.year = toSingleByte(text(frame), 2).substr(0, 4);
    return true;
}

bool Parser::takePair(const FrameView& frame) {
    auto [number, total] = parseNumberPair(text(frame).utf8());
    if (currentField_ == V2Field::Track) {
        tag_.trackNumber = number;
        tag_.trackTotal = total;
    } else {
        tag_.setNumber = number;
        tag_.setTotal = total;
    }
    return true;
}

bool Parser::takeGenre(const FrameView& frame) {
    tag_.genre = genreFromText(text(frame));
    return true;
}

bool Parser::takeFlag(const FrameView& frame) {
    tag_.compilation = readDecimal(text(frame).utf8()) > 0;
    return true;
}

bool Parser::takeUrl(const FrameView& frame) {
    tag_.artistUrl = decodeText(frame.payload, Latin1);
    return true;
}

std::optional<TextValue> Parser::commentText(Bytes payload, bool skipITunes) const {
    int encoding = byteAt(payload, 0);
    bool wide = encoding == Utf16WithMark || encoding == Utf16BigEndian;
    const size_t descriptionStart = 4;  // encoding byte and language
    size_t descriptionEnd = terminatorAt(payload, descriptionStart, wide);
    Bytes description = slice(payload, descriptionStart, descriptionEnd);
    Bytes text = slice(payload, descriptionEnd + (wide ? 2 : 1), payload.size());

    // iTunes keeps its normalisation and gapless data in comments of its own.
    if (skipITunes && describedText(description, wide).starts_with("iTun")) return std::nullopt;
    if (!wide) return stored(decodeText(text, encoding == Utf8 ? Utf8 : Latin1));
    if (looksLikeMark(text)) return stored(decodeText(text, Utf16WithMark));
    if (isPlainBigEndianLatin(text)) return stored(decodeText(withBigEndianMark(text), Utf16WithMark));
    return std::nullopt;
}

bool Parser::takeComment(const FrameView& frame) {
    std::optional<TextValue> value = commentText(frame.payload, currentField_ == V2Field::Comment);
    if (!value) return false;
    *textField(tag_, currentField_) = std::move(*value);
    return true;
}

bool Parser::takeUserUrl(const FrameView& frame) {
    int encoding = byteAt(frame.payload, 0);
    bool wide = encoding == Utf16WithMark || encoding == Utf16BigEndian;
    size_t descriptionEnd = terminatorAt(frame.payload, 1, wide);
    tag_.url = decodeText(slice(frame.payload, descriptionEnd + (wide ? 2 : 1), frame.payload.size()), Latin1);
    return true;
}

bool Parser::takeRating(const FrameView& frame) {
    size_t emailEnd = terminatorAt(frame.payload, 0, false);
    tag_.hasRating = true;
    tag_.rating = byteAt(frame.payload, emailEnd + 1);
    return true;
}

bool Parser::takeUniqueId(const FrameView& frame) {
    size_t ownerEnd = terminatorAt(frame.payload, 0, false);
    Bytes identifier = slice(frame.payload, ownerEnd + 1, frame.payload.size());
    tag_.hasUfid = true;
    tag_.ufidOwner = std::string(asText(slice(frame.payload, 0, ownerEnd)));
    tag_.ufid = std::string(asText(identifier.first(std::min(identifier.size(), UfidLimit))));
    return true;
}

bool Parser::takeBinary(const FrameView& frame) {
    tag_.cdIdentifier.assign(frame.payload.begin(), frame.payload.end());
    return true;
}

void Parser::takePicture(const FrameView& frame) {
    Bytes payload = frame.payload;
    int encoding = byteAt(payload, 0);
    bool wide = encoding == Utf16WithMark || encoding == Utf16BigEndian;
    Picture picture;
    size_t typeAt;
    if (version_ <= 2) {
        picture.mime = mimeFromPicFormat(asText(slice(payload, 1, 4)));
        typeAt = 4;
    } else {
        size_t mimeEnd = terminatorAt(payload, 1, false);
        picture.mime = std::string(asText(slice(payload, 1, mimeEnd)));
        typeAt = mimeEnd + 1;
    }
    if (picture.mime.empty()) {
        Logger::log(LogError, "Invalid picture MIME %s", picture.mime.c_str());
        return;
    }
    picture.format = formatWordFromMime(picture.mime);
    picture.pictureType = byteAt(payload, typeAt);
    size_t descriptionEnd = terminatorAt(payload, typeAt + 1, wide);
    picture.description = std::string(asText(slice(payload, typeAt + 1, descriptionEnd)));
    Bytes data = slice(payload, descriptionEnd + (wide ? 2 : 1), payload.size());
    picture.data.assign(data.begin(), data.end());
    tag_.pictures.push_back(std::move(picture));
}

}  // namespace

uint32_t tagSizeFromHeader(Bytes header) {
    if (header.size() < size_t(HeaderSize) || !startsWith(header, 0, "ID3")) return 0;
    int version = header[3];
    if (version > HighestVersion)
        Logger::log(LogError, "ID3 tag version 2.%d is incompatible (max 2.%d)", version, HighestVersion);
    uint8_t flags = header[5];
    // A flags byte with only bits this program does not know (0x20 experimental) is no tag at all.
    if (flags != 0 && !(flags & (TagFlagUnsync | TagFlagExtended | TagFlagFooter))) return 0;
    return syncsafeAt(header, 6) + uint32_t(HeaderSize);
}

V2ParseOutcome parseV2(Id3v2Tag& fields, Bytes tag, const V2ReadSettings& settings) {
    return Parser(fields, tag, settings).run();
}

std::vector<uint8_t> removeUnsynchronisation(Bytes data) {
    std::vector<uint8_t> out;
    out.reserve(data.size());
    for (size_t i = 0; i < data.size(); ++i)
        if (!(data[i] == 0 && i > 0 && data[i - 1] == 0xFF)) out.push_back(data[i]);
    return out;
}

}  // namespace tagwick
