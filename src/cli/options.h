// The command-line scan: every option is read into one TagUpdate before any track is touched.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tagwick {

// Numbers use -1 for "leave alone"; texts use nullopt for "leave alone" and "" for "remove".
struct TagUpdate {
    using Text = std::optional<std::string>;

    // --- ID3v2 number fields ---
    int trackNumber = -1;  // -tr
    int trackCount = -1;   // -ts
    int setNumber = -1;    // -sn
    int setCount = -1;     // -ss
    int advisory = -1;     // -ad: 0 none, 1 explicit, 2 clean
    int compilation = -1;  // -cl count; the flag is on when 0 or more

    // --- ID3v2 text fields ---
    Text title;             // -ti
    Text artist;            // -ar
    Text album;             // -al
    Text year;              // -yr
    Text genre;             // -gn
    Text comment;           // -co (escapes resolved) or the -cf file's text
    Text composer;          // -cm
    Text copyright;         // -cp
    Text originalArtist;    // -oa
    Text encodedBy;         // -en
    Text url;               // -ur
    Text lyrics;            // -ls or the -ly file's text
    Text conductor;         // -cn
    Text lyricist;          // -lr
    Text publisher;         // -pb
    Text orchestra;         // -or (album artist)
    Text contentGroup;      // -ct
    Text subtitle;          // -sb
    Text encoderSettings;   // -es
    Text isrc;              // -is
    Text recordTime;        // -rc
    Text releaseTime;       // -rl
    Text initialKey;        // -ik
    Text beatsPerMinute;    // -bm: a number option, kept as its text
    Text artistUrl;         // -au
    Text mood;              // -mo
    Text producedNotice;    // -pn
    Text iswc;              // -iw
    Text ufidOwner;         // -uf first value
    Text ufidId;            // -uf second value
    int writeVersion = 0;   // -vn: 0 automatic, 3 or 4

    // --- ID3v1 fields ---
    Text v1Title;           // -t
    Text v1Artist;          // -a
    Text v1Album;           // -b
    Text v1Year;            // -y: a number option, kept as its text
    Text v1Comment;         // -c
    int v1TrackNumber = -1; // -n
    int v1Genre = -1;       // -g

    // --- Podcast ---
    int podcastMark = -1;       // -pcon 1, -pcof 0
    Text podcastId;             // -pcid
    Text podcastFeed;           // -pcfd
    Text podcastDescription;    // -pcds

    // --- Pictures ---
    Text pictureFile;            // -im / -ir; a later one replaces an earlier one
    bool pictureReplaces = false;  // the picture came from -ir
    bool removeImages = false;     // -ir or -rim

    // --- Removals and modifiers ---
    bool removeV1 = false;       // -rm1
    bool removeV2 = false;       // -rm2
    bool removeApe = false;      // -rmape
    bool removeLyrics = false;   // -rly
    bool keepDates = false;      // -kd
    bool trim = false;           // -trim
    bool ignoreAiffCorruption = false;  // -iac
    bool copyV1ToV2 = false;     // -v1v2
    bool copyV2ToV1 = false;     // -v2v1
    bool stopOnError = false;    // -e
    bool trash = false;          // -trash
    int tagType = 0;             // -tagtype 0..2
    int verbose = 0;             // count of -v
    bool versionRequested = false;  // -ver
    bool helpRequested = false;     // -h, -? or no arguments

    // --- Modes ---
    int check = 0;   // -check: 0 none, 1 check, 2 check and fix
    int rename = 0;  // -rename: 0 none, 1 rename, 2 with UTF-8 names
    Text renameFormat;  // the word after -rename [utf8]
    bool folder = false;  // -folder (acts only with -rename)

    // --- Display ---
    bool showTags = false;      // -d
    bool showFileInfo = false;  // -m
    bool skipVbrScan = false;   // novbr after -m
    bool showImages = false;    // -imd

    // --- MPEG values ---
    bool printLength = false;     // -mlen
    bool printBitrate = false;    // -mbtr
    bool printFrequency = false;  // -mfrq
    bool printChannels = false;   // -mchn

    // --- Files of the actions ---
    Text outputFile;        // -out
    Text importFile;        // -import
    Text exportFile;        // -export
    Text csvFile;           // -csv
    int csvVersion = 0;     // the v number after -csv
    Text xmlFile;           // -xml
    bool xmlNoImages = false;  // noimg after -xml
    int xmlVersion = 0;     // the v number after -xml
    Text imageExportFile;   // -imex
    bool imageExportAll = false;  // all after -imex

    // Track paths, in command-line order, as the find-file rule produced them.
    std::vector<std::string> tracks;

    // A field, removal, copy, import, picture or podcast mark was asked for. The modifiers
    // -rmape -kd -trim -trash -tagtype -vn -out do not count by themselves.
    bool anyChangeRequested() const;
    bool anyMpegValueRequested() const;
    bool anyV1FieldGiven() const;
    // V2 fields including the podcast fields and mark.
    bool anyV2FieldGiven() const;
    bool verboseOn() const { return verbose > 0; }
};

// Scans argv[1..argc-1] into a TagUpdate. Problems are printed to standard output and the
// scan goes on; it never ends the program.
TagUpdate scan(int argc, const char* const* argv);

// Every option word the scan knows, without its leading '-' (as the help text lists them).
std::vector<std::string_view> optionWords();
// Every word accepted after "--".
std::vector<std::string_view> deleteWords();

// Resolves the -co escapes \n \r \t and \\; any other backslash stays.
std::string resolveCommentEscapes(const std::string& text);

}  // namespace tagwick
