#include "cli/options.h"

#include <array>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string_view>

#include "base/files.h"
#include "base/logger.h"
#include "base/text.h"
#include "cli/field_files.h"
#include "cli/find_file.h"

namespace tagwick {

bool TagUpdate::anyV1FieldGiven() const {
    return v1Title || v1Artist || v1Album || v1Year || v1Comment || v1TrackNumber >= 0 || v1Genre >= 0;
}

bool TagUpdate::anyV2FieldGiven() const {
    const std::array<const Text*, 33> texts = {
        &title,       &artist,      &album,       &year,          &genre,        &comment,
        &composer,    &copyright,   &originalArtist, &encodedBy,  &url,          &lyrics,
        &conductor,   &lyricist,    &publisher,   &orchestra,     &contentGroup, &subtitle,
        &encoderSettings, &isrc,    &recordTime,  &releaseTime,   &initialKey,   &beatsPerMinute,
        &artistUrl,   &mood,        &producedNotice, &iswc,       &ufidOwner,    &ufidId,
        &podcastId,   &podcastFeed, &podcastDescription};
    for (const Text* text : texts) {
        if (text->has_value()) return true;
    }
    return trackNumber >= 0 || trackCount >= 0 || setNumber >= 0 || setCount >= 0 || advisory >= 0 ||
           compilation >= 0 || podcastMark >= 0 || removeImages || removeLyrics || pictureFile.has_value();
}

bool TagUpdate::anyMpegValueRequested() const {
    return printLength || printBitrate || printFrequency || printChannels;
}

bool TagUpdate::anyChangeRequested() const {
    return anyV1FieldGiven() || anyV2FieldGiven() || removeV1 || removeV2 || copyV1ToV2 || copyV2ToV1 ||
           importFile.has_value();
}

std::string resolveCommentEscapes(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '\\' && i + 1 < text.size()) {
            char next = text[i + 1];
            char replaced = next == 'n' ? '\n' : next == 'r' ? '\r' : next == 't' ? '\t' : next == '\\' ? '\\' : 0;
            if (replaced != 0) {
                out += replaced;
                ++i;
                continue;
            }
        }
        out += c;
    }
    return out;
}

namespace {

using Text = TagUpdate::Text;

bool opensOption(const char* arg) { return arg[0] == '-' || arg[0] == '/'; }
bool startsWithDigit(const char* text) { return text[0] >= '0' && text[0] <= '9'; }

// Leading decimal digits, like atoi, but saturating instead of overflowing.
int leadingNumber(const char* text) {
    long long value = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        value = value * 10 + (*text - '0');
        if (value > INT_MAX) return INT_MAX;
    }
    return static_cast<int>(value);
}

// The arguments and the position of the one being scanned.
class ArgCursor {
public:
    ArgCursor(int argc, const char* const* argv) : argc_(argc), argv_(argv) {}
    bool done() const { return index_ >= argc_; }
    const char* current() const { return argv_[index_]; }
    void advance() { ++index_; }
    // The argument `ahead` places after the current one, or null.
    const char* peek(int ahead = 1) const { return index_ + ahead < argc_ ? argv_[index_ + ahead] : nullptr; }
    // The next argument exists and does not open an option.
    bool valueFollows(int ahead = 1) const {
        const char* next = peek(ahead);
        return next != nullptr && !opensOption(next);
    }
    // Takes the next argument as a value and returns it.
    const char* take() { return argv_[++index_]; }
    // Takes the next argument when it equals `word`, ignoring case.
    bool takeWord(std::string_view word) {
        const char* next = peek();
        if (next == nullptr || !equalsNoCase(next, word)) return false;
        ++index_;
        return true;
    }

private:
    int argc_;
    const char* const* argv_;
    int index_ = 1;
};

struct TextOption {
    std::string_view name;
    Text TagUpdate::*field;
};

constexpr std::array textOptions = {
    TextOption{"ti", &TagUpdate::title},           TextOption{"ar", &TagUpdate::artist},
    TextOption{"al", &TagUpdate::album},           TextOption{"yr", &TagUpdate::year},
    TextOption{"gn", &TagUpdate::genre},           TextOption{"cm", &TagUpdate::composer},
    TextOption{"cp", &TagUpdate::copyright},       TextOption{"oa", &TagUpdate::originalArtist},
    TextOption{"en", &TagUpdate::encodedBy},       TextOption{"ur", &TagUpdate::url},
    TextOption{"ls", &TagUpdate::lyrics},          TextOption{"cn", &TagUpdate::conductor},
    TextOption{"lr", &TagUpdate::lyricist},        TextOption{"pb", &TagUpdate::publisher},
    TextOption{"or", &TagUpdate::orchestra},       TextOption{"ct", &TagUpdate::contentGroup},
    TextOption{"sb", &TagUpdate::subtitle},        TextOption{"es", &TagUpdate::encoderSettings},
    TextOption{"is", &TagUpdate::isrc},            TextOption{"rc", &TagUpdate::recordTime},
    TextOption{"rl", &TagUpdate::releaseTime},     TextOption{"ik", &TagUpdate::initialKey},
    TextOption{"au", &TagUpdate::artistUrl},       TextOption{"mo", &TagUpdate::mood},
    TextOption{"pn", &TagUpdate::producedNotice},  TextOption{"iw", &TagUpdate::iswc},
    TextOption{"t", &TagUpdate::v1Title},          TextOption{"a", &TagUpdate::v1Artist},
    TextOption{"b", &TagUpdate::v1Album},          TextOption{"c", &TagUpdate::v1Comment},
    TextOption{"pcid", &TagUpdate::podcastId},     TextOption{"pcfd", &TagUpdate::podcastFeed},
    TextOption{"pcds", &TagUpdate::podcastDescription},
    TextOption{"import", &TagUpdate::importFile},  TextOption{"export", &TagUpdate::exportFile},
};

// Number options whose value is kept as its text (year and beats per minute).
constexpr std::array numberTextOptions = {
    TextOption{"y", &TagUpdate::v1Year},
    TextOption{"bm", &TagUpdate::beatsPerMinute},
};

struct NumberOption {
    std::string_view name;
    int TagUpdate::*field;
};

constexpr std::array numberOptions = {
    NumberOption{"tr", &TagUpdate::trackNumber}, NumberOption{"ts", &TagUpdate::trackCount},
    NumberOption{"sn", &TagUpdate::setNumber},   NumberOption{"ss", &TagUpdate::setCount},
    NumberOption{"g", &TagUpdate::v1Genre},      NumberOption{"tagtype", &TagUpdate::tagType},
};

struct FlagOption {
    std::string_view name;
    bool TagUpdate::*field;
};

constexpr std::array flagOptions = {
    FlagOption{"mlen", &TagUpdate::printLength},     FlagOption{"mbtr", &TagUpdate::printBitrate},
    FlagOption{"mfrq", &TagUpdate::printFrequency},  FlagOption{"mchn", &TagUpdate::printChannels},
    FlagOption{"d", &TagUpdate::showTags},           FlagOption{"imd", &TagUpdate::showImages},
    FlagOption{"folder", &TagUpdate::folder},        FlagOption{"rmape", &TagUpdate::removeApe},
    FlagOption{"rm1", &TagUpdate::removeV1},         FlagOption{"rm2", &TagUpdate::removeV2},
    FlagOption{"rim", &TagUpdate::removeImages},     FlagOption{"rly", &TagUpdate::removeLyrics},
    FlagOption{"kd", &TagUpdate::keepDates},         FlagOption{"trim", &TagUpdate::trim},
    FlagOption{"iac", &TagUpdate::ignoreAiffCorruption}, FlagOption{"v1v2", &TagUpdate::copyV1ToV2},
    FlagOption{"v2v1", &TagUpdate::copyV2ToV1},      FlagOption{"e", &TagUpdate::stopOnError},
    FlagOption{"trash", &TagUpdate::trash},          FlagOption{"ver", &TagUpdate::versionRequested},
    FlagOption{"h", &TagUpdate::helpRequested},      FlagOption{"?", &TagUpdate::helpRequested},
};

// Only digits, at least one: a track name such as "1.mp3" is not a version.
bool isBareNumber(const char* text) {
    if (!startsWithDigit(text)) return false;
    while (startsWithDigit(text)) ++text;
    return *text == '\0';
}

// The v number after -csv / -xml: "2", "v 2" or "v2". Anything else is left for the scan.
int takeExportVersion(ArgCursor& args, int current) {
    const char* next = args.peek();
    if (next == nullptr) return current;
    if (isBareNumber(next)) return leadingNumber(args.take());
    if (next[0] != 'v' && next[0] != 'V') return current;
    if (isBareNumber(next + 1)) return leadingNumber(args.take() + 1);
    const char* after = args.peek(2);
    if (next[1] == '\0' && after != nullptr && isBareNumber(after)) {
        args.take();
        return leadingNumber(args.take());
    }
    return current;
}

// Options that do more than store one value. Each returns false when the option does not
// match because a value it needs is missing.
using SpecialHandler = bool (*)(ArgCursor&, TagUpdate&);

struct SpecialOption {
    std::string_view name;
    SpecialHandler handle;
};

bool handleComment(ArgCursor& args, TagUpdate& u) {
    if (!args.valueFollows()) return false;
    u.comment = resolveCommentEscapes(args.take());
    return true;
}

bool handleCommentsFile(ArgCursor& args, TagUpdate& u) {
    if (!args.valueFollows()) return false;
    u.comment = readCommentsFile(args.take());
    return true;
}

bool handleLyricsFile(ArgCursor& args, TagUpdate& u) {
    if (!args.valueFollows()) return false;
    u.lyrics = readLyricsFile(args.take());
    return true;
}

bool handleCompilation(ArgCursor&, TagUpdate& u) {
    ++u.compilation;
    return true;
}

// -im and -ir take the next argument whatever it begins with, so an absolute path works.
bool takePicture(ArgCursor& args, TagUpdate& u, bool replaces) {
    if (args.peek() == nullptr) return false;
    u.pictureFile = args.take();
    u.pictureReplaces = replaces;
    if (replaces) u.removeImages = true;
    return true;
}
bool handleAddPicture(ArgCursor& args, TagUpdate& u) { return takePicture(args, u, false); }
bool handleReplacePicture(ArgCursor& args, TagUpdate& u) { return takePicture(args, u, true); }

bool handleOutput(ArgCursor& args, TagUpdate& u) {
    if (args.peek() == nullptr) return false;
    u.outputFile = args.take();
    return true;
}

// Only the first character of the advisory value counts; the value is always consumed.
bool handleAdvisory(ArgCursor& args, TagUpdate& u) {
    if (!args.valueFollows()) return false;
    char first = args.take()[0];
    u.advisory = first == '1' ? 1 : first == '2' ? 2 : 0;
    return true;
}

bool handleUniqueFileId(ArgCursor& args, TagUpdate& u) {
    if (!args.valueFollows(1) || !args.valueFollows(2)) return false;
    u.ufidOwner = args.take();
    u.ufidId = args.take();
    return true;
}

bool handleWriteVersion(ArgCursor& args, TagUpdate& u) {
    if (!args.valueFollows()) return false;
    std::string_view value = args.take();
    if (value == "2.3") u.writeVersion = 3;
    if (value == "2.4") u.writeVersion = 4;
    return true;
}

// Unlike the other number options, -n without a usable value is accepted and ignored.
bool handleV1TrackNumber(ArgCursor& args, TagUpdate& u) {
    if (args.valueFollows() && startsWithDigit(args.peek())) u.v1TrackNumber = leadingNumber(args.take());
    return true;
}

bool handlePodcastOn(ArgCursor&, TagUpdate& u) {
    u.podcastMark = 1;
    return true;
}

bool handlePodcastOff(ArgCursor&, TagUpdate& u) {
    u.podcastMark = 0;
    return true;
}

bool handleShowFileInfo(ArgCursor& args, TagUpdate& u) {
    u.showFileInfo = true;
    if (args.takeWord("novbr")) u.skipVbrScan = true;
    return true;
}

bool handleCsv(ArgCursor& args, TagUpdate& u) {
    if (!args.valueFollows()) return false;
    u.csvFile = args.take();
    u.csvVersion = takeExportVersion(args, u.csvVersion);
    return true;
}

bool handleXml(ArgCursor& args, TagUpdate& u) {
    if (!args.valueFollows()) return false;
    u.xmlFile = args.take();
    if (args.takeWord("noimg")) u.xmlNoImages = true;
    u.xmlVersion = takeExportVersion(args, u.xmlVersion);
    return true;
}

bool handleImageExport(ArgCursor& args, TagUpdate& u) {
    if (!args.valueFollows()) return false;
    u.imageExportFile = args.take();
    if (args.takeWord("all")) u.imageExportAll = true;
    return true;
}

// Whatever follows -rename [utf8] and is not an option is its format, even a track name.
bool handleRename(ArgCursor& args, TagUpdate& u) {
    u.rename = args.takeWord("utf8") ? 2 : 1;
    if (args.valueFollows()) u.renameFormat = args.take();
    return true;
}

bool handleCheck(ArgCursor& args, TagUpdate& u) {
    u.check = args.takeWord("fix") ? 2 : 1;
    return true;
}

bool handleVerbose(ArgCursor&, TagUpdate& u) {
    Logger::setMaxLevel(LogProgress);
    ++u.verbose;
    return true;
}

constexpr std::array specialOptions = {
    SpecialOption{"co", handleComment},          SpecialOption{"cf", handleCommentsFile},
    SpecialOption{"ly", handleLyricsFile},       SpecialOption{"cl", handleCompilation},
    SpecialOption{"im", handleAddPicture},       SpecialOption{"ir", handleReplacePicture},
    SpecialOption{"out", handleOutput},          SpecialOption{"ad", handleAdvisory},
    SpecialOption{"uf", handleUniqueFileId},     SpecialOption{"vn", handleWriteVersion},
    SpecialOption{"n", handleV1TrackNumber},     SpecialOption{"pcon", handlePodcastOn},
    SpecialOption{"pcof", handlePodcastOff},     SpecialOption{"m", handleShowFileInfo},
    SpecialOption{"csv", handleCsv},             SpecialOption{"xml", handleXml},
    SpecialOption{"imex", handleImageExport},    SpecialOption{"rename", handleRename},
    SpecialOption{"check", handleCheck},         SpecialOption{"v", handleVerbose},
};

bool applyTextOption(std::string_view name, ArgCursor& args, TagUpdate& u) {
    for (const TextOption& option : textOptions) {
        if (!equalsNoCase(name, option.name) || !args.valueFollows()) continue;
        u.*option.field = args.take();
        return true;
    }
    return false;
}

// A number option needs a value; a value that does not start with a digit is left for the
// scan to read as an argument of its own.
bool applyNumberOption(std::string_view name, ArgCursor& args, TagUpdate& u) {
    for (const NumberOption& option : numberOptions) {
        if (!equalsNoCase(name, option.name) || !args.valueFollows()) continue;
        if (startsWithDigit(args.peek())) u.*option.field = leadingNumber(args.take());
        return true;
    }
    for (const TextOption& option : numberTextOptions) {
        if (!equalsNoCase(name, option.name) || !args.valueFollows()) continue;
        // Converted like the other numbers, then kept as the number's text ("0042" gives "42").
        if (startsWithDigit(args.peek())) u.*option.field = std::to_string(leadingNumber(args.take()));
        return true;
    }
    return false;
}

bool applyFlagOption(std::string_view name, TagUpdate& u) {
    for (const FlagOption& option : flagOptions) {
        if (!equalsNoCase(name, option.name)) continue;
        u.*option.field = true;
        return true;
    }
    return false;
}

bool applySpecialOption(std::string_view name, ArgCursor& args, TagUpdate& u) {
    for (const SpecialOption& option : specialOptions) {
        if (equalsNoCase(name, option.name) && option.handle(args, u)) return true;
    }
    return false;
}

struct DeleteOption {
    std::string_view name;
    Text TagUpdate::*text;
    int TagUpdate::*number;
    int removeValue;
};

constexpr DeleteOption deleteText(std::string_view name, Text TagUpdate::*field) {
    return {name, field, nullptr, 0};
}
constexpr DeleteOption deleteNumber(std::string_view name, int TagUpdate::*field, int value) {
    return {name, nullptr, field, value};
}

constexpr std::array deleteOptions = {
    deleteNumber("tr", &TagUpdate::trackNumber, 0),   deleteNumber("ts", &TagUpdate::trackCount, 0),
    deleteText("ti", &TagUpdate::title),              deleteText("ar", &TagUpdate::artist),
    deleteText("al", &TagUpdate::album),              deleteText("yr", &TagUpdate::year),
    deleteText("gn", &TagUpdate::genre),              deleteText("co", &TagUpdate::comment),
    deleteText("cm", &TagUpdate::composer),           deleteText("cp", &TagUpdate::copyright),
    deleteText("oa", &TagUpdate::originalArtist),     deleteText("en", &TagUpdate::encodedBy),
    deleteText("ur", &TagUpdate::url),                deleteText("ls", &TagUpdate::lyrics),
    deleteText("cn", &TagUpdate::conductor),          deleteText("lr", &TagUpdate::lyricist),
    deleteText("pb", &TagUpdate::publisher),          deleteText("or", &TagUpdate::orchestra),
    deleteText("ct", &TagUpdate::contentGroup),       deleteText("sb", &TagUpdate::subtitle),
    deleteNumber("sn", &TagUpdate::setNumber, 0),     deleteNumber("ss", &TagUpdate::setCount, 0),
    deleteText("is", &TagUpdate::isrc),               deleteText("rc", &TagUpdate::recordTime),
    deleteText("rl", &TagUpdate::releaseTime),        deleteText("ik", &TagUpdate::initialKey),
    deleteText("bm", &TagUpdate::beatsPerMinute),     deleteText("au", &TagUpdate::artistUrl),
    deleteNumber("ad", &TagUpdate::advisory, 0),      deleteText("mo", &TagUpdate::mood),
    deleteText("pn", &TagUpdate::producedNotice),     deleteText("iw", &TagUpdate::iswc),
    deleteText("t", &TagUpdate::v1Title),             deleteText("a", &TagUpdate::v1Artist),
    deleteText("b", &TagUpdate::v1Album),             deleteText("y", &TagUpdate::v1Year),
    deleteText("c", &TagUpdate::v1Comment),           deleteNumber("n", &TagUpdate::v1TrackNumber, 0),
    // Genre 12 ("Other") rather than no genre: kept as users know it.
    deleteNumber("g", &TagUpdate::v1Genre, 12),       deleteText("pcid", &TagUpdate::podcastId),
    deleteText("pcfd", &TagUpdate::podcastFeed),      deleteText("pcds", &TagUpdate::podcastDescription),
};

// "--help" and "--version", the forms a Linux user types first, act as -h and -ver.
bool applyLongOption(const char* name, TagUpdate& u) {
    if (equalsNoCase(name, "help")) {
        u.helpRequested = true;
    } else if (equalsNoCase(name, "version")) {
        u.versionRequested = true;
    } else {
        return false;
    }
    return true;
}

void applyDeleteCommand(const char* name, TagUpdate& u) {
    // "--cl" turns the compilation flag on, just like "-cl"; kept that way on purpose.
    if (equalsNoCase(name, "cl")) {
        ++u.compilation;
        return;
    }
    if (equalsNoCase(name, "uf")) {
        u.ufidOwner = "";
        u.ufidId = "";
        return;
    }
    for (const DeleteOption& option : deleteOptions) {
        if (!equalsNoCase(name, option.name)) continue;
        if (option.text != nullptr) u.*option.text = "";
        if (option.number != nullptr) u.*option.number = option.removeValue;
        return;
    }
    std::printf("Unknown delete command %s\n", name);
}

bool openableForReading(const char* path) {
    UniqueFd fd(::open(path, O_RDONLY | O_NONBLOCK));
    return fd.valid();
}

// Four characters from the last '.', ignoring case, as a track extension.
bool hasTrackExtension(const char* arg) {
    const char* dot = std::strrchr(arg, '.');
    if (dot == nullptr) return false;
    std::string_view ext(dot, strnlen(dot, 4));
    return equalsNoCase(ext, ".mp3") || equalsNoCase(ext, ".aif") || equalsNoCase(ext, ".tdf");
}

class Scanner {
public:
    Scanner(int argc, const char* const* argv) : args_(argc, argv) {}

    TagUpdate run() {
        for (; !args_.done(); args_.advance()) scanArgument(args_.current());
        return std::move(update_);
    }

private:
    void scanArgument(const char* arg) {
        if (arg[0] == '-' && arg[1] == '-') {
            if (!applyLongOption(arg + 2, update_)) applyDeleteCommand(arg + 2, update_);
        } else if (opensOption(arg)) {
            scanOption(arg);
        } else {
            finder_.find(arg, update_.tracks);
        }
    }

    void scanOption(const char* arg) {
        std::string_view name = arg + 1;
        if (applyTextOption(name, args_, update_) || applyNumberOption(name, args_, update_) ||
            applyFlagOption(name, update_) || applySpecialOption(name, args_, update_)) {
            clampTagType();
            return;
        }
        unknownOption(arg);
    }

    // An absolute path also starts with '/', so an unknown option may still be a track.
    void unknownOption(const char* arg) {
        if (openableForReading(arg)) {
            finder_.find(arg, update_.tracks);
        } else if (hasTrackExtension(arg)) {
            std::printf("File not found %s\n", arg);
        } else {
            std::printf("Unknown command %s\n", arg + 1);
        }
    }

    void clampTagType() {
        if (update_.tagType > 2) update_.tagType = 2;
    }

    ArgCursor args_;
    TagUpdate update_;
    FileFinder finder_;
};

}  // namespace

std::vector<std::string_view> optionWords() {
    std::vector<std::string_view> words;
    for (const TextOption& option : textOptions) words.push_back(option.name);
    for (const NumberOption& option : numberOptions) words.push_back(option.name);
    for (const TextOption& option : numberTextOptions) words.push_back(option.name);
    for (const FlagOption& option : flagOptions) words.push_back(option.name);
    for (const SpecialOption& option : specialOptions) words.push_back(option.name);
    return words;
}

std::vector<std::string_view> deleteWords() {
    std::vector<std::string_view> words = {"cl", "uf"};
    for (const DeleteOption& option : deleteOptions) words.push_back(option.name);
    return words;
}

TagUpdate scan(int argc, const char* const* argv) {
    if (argc <= 1) {
        TagUpdate update;
        update.helpRequested = true;
        return update;
    }
    return Scanner(argc, argv).run();
}

}  // namespace tagwick
