#include "cli/help_text.h"

#include <array>
#include <string_view>

#include "base/text.h"

namespace tagwick {

namespace {

constexpr int BuildNumbers[4] = {1, 17, 78, 342};
constexpr size_t BuildTextSize = 64;

char buildTextBuffer[BuildTextSize] = "unknown";

// One option line: the option with its value kinds, then the description. A description may
// hold '\n'; each further line is aligned under the first.
struct HelpEntry {
    std::string_view option;
    std::string_view description;
};

struct HelpGroup {
    std::string_view title;
    const HelpEntry* entries;
    size_t count;
};

constexpr size_t OptionIndent = 2;
constexpr size_t DescriptionColumn = 28;

constexpr HelpEntry Version2Entries[] = {
    {"-tr number", "track number"},
    {"-ts number", "number of tracks"},
    {"-ti utext", "title/songname/content description"},
    {"-ar utext", "lead artist(s)/performer(s)/soloist(s)"},
    {"-al utext", "album/movie/show title"},
    {"-yr text", "year of the recording"},
    {"-gn utext", "genre or content type"},
    {"-co utext", "comments, with escapes (\\n, \\r, \\t and \\\\)"},
    {"-cf file", "comments from a text file"},
    {"-cm utext", "composer(s)"},
    {"-cp utext", "copyright message"},
    {"-oa utext", "original artist(s)/performer(s)"},
    {"-en text", "person or organisation that encoded the track"},
    {"-ur text", "URL link concerning the track"},
    {"-cl", "compilation flag on (iTunes)"},
    {"-im file", "add a picture"},
    {"-ir file", "replace the current images with the picture"},
    {"-ls utext", "lyrics or text transcription"},
    {"-ly file", "lyrics from a text file"},
    {"-cn utext", "conductor"},
    {"-lr utext", "writer(s) of the text or lyrics"},
    {"-pb utext", "label or publisher"},
    {"-or utext", "band/orchestra/accompaniment (iTunes \"Album Artist\")"},
    {"-ct utext", "content group description"},
    {"-sb utext", "subtitle/description refinement"},
    {"-es utext", "software/hardware and settings used for encoding"},
    {"-sn number", "set number"},
    {"-ss number", "number of sets (iTunes \"Disk Number\")"},
    {"-is text", "ISRC"},
    {"-rc text", "recording time stamp (e.g. yyyy-MM-dd HH:mm:ss)"},
    {"-rl text", "release time stamp (same form)"},
    {"-ik text", "initial musical key"},
    {"-bm number", "beats per minute (kept as text)"},
    {"-au text", "artist URL link"},
    {"-ad number", "advisory: only the value's first character counts: 1 explicit (1), 2 clean (2), anything "
                    "else none (0); the value is always consumed"},
    {"-mo text", "mood"},
    {"-pn text", "produced notice"},
    {"-iw text", "ISWC"},
    {"-uf owner id", "unique file identifier: two values, both required, an owner string (such as a URL) "
                     "and an identifier; the identifier is cut to 64 bytes and an empty owner becomes "
                     "\"Default\" when the frame is built"},
    {"-vn version", "version to write: \"2.3\" gives 3, \"2.4\" gives 4; any other value is consumed and "
                    "ignored, and without the option the version is chosen automatically"},
};

constexpr HelpEntry Version1Entries[] = {
    {"-t text", "title"},
    {"-a text", "artist"},
    {"-b text", "album"},
    {"-y number", "year (four digits; kept as text)"},
    {"-c text", "short comment"},
    {"-n number", "track number 0-255"},
    {"-g number", "genre ID"},
};

constexpr HelpEntry PodcastEntries[] = {
    {"-pcon", "mark the track as a podcast"},
    {"-pcof", "remove the podcast mark"},
    {"-pcid utext", "podcast ID"},
    {"-pcfd text", "podcast feed"},
    {"-pcds utext", "podcast description"},
};

constexpr HelpEntry MpegEntries[] = {
    {"-mlen", "print the track length in seconds"},
    {"-mbtr", "print the bit rate in bit/s"},
    {"-mfrq", "print the frequency in Hz"},
    {"-mchn", "print the channel code: 1 mono, 2 stereo, 3 multi, 4 unknown"},
    {"-check [fix]", "check the MPEG stream, and with fix rebuild it\n"
                     "Fixing errors may remove the ID3v2 tag"},
};

constexpr HelpEntry MiscellaneousEntries[] = {
    {"-out file", "save to this file instead of updating the input track"},
    {"-d", "display the track's tags"},
    {"-m [novbr]", "display the track information; novbr skips the VBR scan for speed"},
    {"-imd", "display tag image types and sizes"},
    {"-import file", "load tag data from a .mp3 or .tdf file into every track"},
    {"-export file", "save the track's tag data to a file"},
    {"-csv file [v]", "save tag data as CSV; v 1 restricts to the previous output version"},
    {"-xml file [noimg] [v]", "save tag data as XML, without images with noimg\n"
                              "Note: If v is set to 1 the CSV or XML will be retricted\n"
                              "to a previous version for compatability"},
    {"-imex file [all]", "save the first tag image, or all with all (numbered names); a folder gets "
                         "the default name such as Picture.jpg"},
    {"-folder", "make a folder from album and artist and move the track into it; it acts "
                "only together with -rename"},
    {"-rename [utf8] [format]", "rename the updated track from its tags; %A artist, %L album, %T title, "
                                "%N track, %Y year"},
    {"-rmape", "remove an APE tag when the V1 tag is saved or removed"},
    {"-rm1", "remove V1 tags"},
    {"-rm2", "remove V2 tags"},
    {"-rim", "remove all images"},
    {"-rly", "remove all lyrics"},
    {"-kd", "keep the file dates after updating"},
    {"-trim", "trim white space at both ends of text fields"},
    {"-tagtype number", "how tag fields are replaced: 0 replace existing fields (default), 1 "
                        "supported fields only, 2 all valid fields; a value above 2 is taken as 2"},
    {"-iac", "ignore AIFF corruption"},
    {"-v1v2", "copy the V1 tag to V2"},
    {"-v2v1", "copy the V2 tag to V1"},
    {"-e", "do not process the next track after an error"},
    {"-trash", "move the original track to the trash when updating"},
    {"-v", "verbose: each -v raises the log level to 3 and counts one"},
    {"-ver", "print the version line"},
    {"-h, -?", "print the help text"},
};

template <size_t N>
constexpr HelpGroup group(std::string_view title, const HelpEntry (&entries)[N]) {
    return {title, entries, N};
}

constexpr std::array HelpGroups = {
    group("Version 2 tag information:", Version2Entries),
    group("Version 1 tag information:", Version1Entries),
    group("Podcast information:", PodcastEntries),
    group("MPEG information:", MpegEntries),
    group("Miscellaneous:", MiscellaneousEntries),
};

constexpr std::string_view UsageLine = "Usage: tagwickcli [options] file [file]...\n";

constexpr std::string_view Notes =
    "Where text can be in 8 bit ISO-8859-1 (Latin 1) format or 7 bit ASCII and\n"
    "utext can also be in UTF-8 for Unicode support.\n"
    "File names can also be in UTF-8 format if supported by the operating system.\n"
    "Note: The ID3 V1 standard does not support Unicode.\n"
    "\n"
    "To delete a tag field add an extra '-' to the argument, for example\n"
    "'-ti \"A title\"' would add the title and '--ti' would delete the title.\n"
    "Note: The delete option is only available for V1, V2 and Podcast fields and\n"
    "does not include cf, cl, im, ir, ly, es, vn, pcon or pcof.\n";

void appendEntry(std::string& out, const HelpEntry& entry) {
    std::string line(OptionIndent, ' ');
    line += entry.option;
    // An option wider than its column still gets one blank before the description.
    line.append(line.size() < DescriptionColumn ? DescriptionColumn - line.size() : 1, ' ');
    std::string_view rest = entry.description;
    for (bool first = true; !rest.empty(); first = false) {
        size_t end = rest.find('\n');
        std::string_view part = rest.substr(0, end);
        if (!first) line.assign(DescriptionColumn, ' ');
        out += line;
        out += part;
        out += '\n';
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
}

}  // namespace

const char* buildText() { return buildTextBuffer; }

void formBuildText() {
    formatBounded(buildTextBuffer, sizeof buildTextBuffer, "%d.%d.%d.%d", BuildNumbers[0], BuildNumbers[1],
                  BuildNumbers[2], BuildNumbers[3]);
}

void printVersionLine(FILE* out) {
    std::fprintf(out, "%s version: %d.%d.%d (%s) %s\n\n", ProductName, VersionMajor, VersionMinor, VersionPatch,
                 buildText(), "");
}

std::string helpText() {
    std::string out(UsageLine);
    for (const HelpGroup& g : HelpGroups) {
        out += '\n';
        out += g.title;
        out += '\n';
        for (size_t i = 0; i < g.count; ++i) appendEntry(out, g.entries[i]);
    }
    out += '\n';
    out += Notes;
    return out;
}

void printHelp(FILE* out) {
    std::string text = helpText();
    std::fwrite(text.data(), 1, text.size(), out);
}

}  // namespace tagwick
