// The exports through the program itself: whole XML and CSV documents of a track using every
// field, CSV tables over several runs, picture files and their names, and every sample track
// read back by python3's own XML and CSV parsers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "support/cli_runner.h"
#include "support/export_tracks.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick::support {
namespace {

namespace fs = std::filesystem;

V2Frame text(const char* id, std::string_view value) { return latin1Frame(id, value); }

ByteVec trackWith(std::vector<V2Frame> frames) {
    V2TagLayout layout;
    layout.frames = std::move(frames);
    return concat({buildV2Tag(layout), buildStream({}, 20)});
}

size_t count(const std::string& text, const std::string& part) {
    size_t n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

const std::string XmlHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- Created by Tagwick version 1.24.38 -->\n";

std::string value(const char* name, const char* type, const std::string& text) {
    return std::string("\t\t<value name=\"") + name + "\" type=\"" + type + "\">" + text + "</value>\n";
}

// The every-field track's document from the version 1 block to the end, "{dir}" for its folder.
std::string everyFieldDocument() {
    std::string jpegLine = "\t\t\t";
    for (int i = 0; i < 32; ++i) jpegLine += "QUFB";  // "AAA"
    return "<tag version=\"2.0\">\n\t<file name=\"full.mp3\" path=\"{dir}\" />\n\t<id3 version=\"1\">\n" +
           value("Track", "long", "5") + value("Title", "string", "Caf\xE9 V1 &lt;1&gt;") +
           value("Artist", "string", "Band") + value("Album", "string", "Record") + value("Year", "string", "1999") +
           value("Genre", "long", "17") + value("Comment", "string", "Two</br>lines") +
           "\t</id3>\n\t<id3 version=\"2\">\n" + value("Track", "long", "3") + value("Tracks", "long", "12") +
           value("Title", "string", "Rock &amp; &quot;Roll&quot; &lt;live&gt; &apos;x&apos; Καλημέρα") +
           value("Artist", "string", "Björk") + value("Album", "string", "Café Album") +
           value("Year", "string", "2004") + value("Genre", "string", "Rock") +
           value("Comment", "string", "First line</br>Second</br>Third</br>Fourth &amp; more") +
           value("Composer", "string", "Com,poser") + value("Copyright", "string", "Line\nbreak") +
           value("Original artist", "string", " Someone") + value("Encoded by", "string", "\tEncoder\\Person") +
           value("URL", "string", "http://example.com/track?a=1&amp;b=2") + value("Compilation", "bool", "true") +
           value("Lyrics", "string", "Verse one</br>Verse two</br></br>Chorus") +
           value("Conductor", "string", "The Conductor") + value("Lyricist", "string", "O&apos;Brien") +
           value("Orchestra", "string", "The Orchestra") + value("Publisher", "string", "He said &quot;hi&quot;") +
           value("Content", "string", "The Group") + value("Subtitle", "string", "Sub</br>title") +
           value("Set/Disc", "long", "1") + value("Sets/Discs", "long", "2") + value("ISRC", "string", "USABC0400001") +
           value("Record time", "string", "2004-05-06 07:08:09") + value("Release time", "string", "2004-07-08 10:11") +
           value("Initial key", "string", "Am") + value("BPM", "string", "120") +
           value("Artist URL", "string", "http://example.com/artist") + value("Podcast", "bool", "true") +
           value("Podcast ID", "string", "pod-42") + value("Podcast feed", "string", "http://example.com/feed") +
           value("Podcast description", "string", "Pod</br></br>description") +
           // From here to "UFID data" only in version 2 documents.
           value("Advisory", "string", "Clean lyrics") + value("Produced notice", "string", "2004 Producer") +
           value("Mood", "string", "Calm") + value("ISWC", "string", "T-034.524.680-1") +
           value("UFID", "string", "http://example.org") + value("UFID data", "string", "abc") +
           // The pictures of 2, 1 and 4 bytes are too small for the encoder and left out.
           "\t\t<picture content-encoding=\"base64\" content-type=\"image/jpeg\" size=\"200\">\n" + jpegLine + "\n" +
           jpegLine + "\n\t\t\tQUFBQUFBQUE=\n\t\t</picture>\n"
           "\t\t<picture content-encoding=\"base64\" content-type=\"image/png\" size=\"3\">\n\t\t\tUE5H\n"
           "\t\t</picture>\n"
           "\t\t<picture content-encoding=\"base64\" content-type=\"image/gif\" size=\"5\">\n\t\t\tR0lGODk=\n"
           "\t\t</picture>\n"
           "\t\t<picture content-encoding=\"base64\" content-type=\"image/bmp\" size=\"5\">\n\t\t\tQk1QeHg=\n"
           "\t\t</picture>\n\t</id3>\n</tag>\n";
}

// The XML document of the every-field track byte for byte in both versions; exports to targets
// that cannot be created. The track is never touched.
TEST(Exports, EveryFieldXmlAndTargetsThatCannotBeCreated) {
    TempDir dir;
    std::string track = dir.file("full.mp3");
    writeFile(track, everyFieldTrack());
    CliResult result = runCli({"-v", "-xml", "out.xml", track}, {dir.path()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Exporting XML tag data to: out.xml\n\n");
    EXPECT_EQ(count(result.err, "Failed to create the XML image base 64\n"), 3u) << result.err;
    std::string expected = replaced(everyFieldDocument(), "{dir}", dir.path());
    EXPECT_EQ(readText(dir.file("out.xml")), XmlHead + expected);

    // Version 1 without pictures, written over the longer document: the root reads 1.0 and
    // Advisory to UFID data are left out.
    ASSERT_EQ(runCli({"-xml", "out.xml", "noimg", "v1", track}, {dir.path()}).status, 0);
    std::string v1 = replaced(expected, "<tag version=\"2.0\">", "<tag version=\"1.0\">");
    const size_t advisory = v1.find("\t\t<value name=\"Advisory\""), end = v1.find("\t</id3>\n</tag>");
    v1.erase(advisory, end - advisory);
    EXPECT_EQ(readText(dir.file("out.xml")), XmlHead + v1);

    for (auto [option, target, message] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {"-xml", "missing/out.xml", "Failed to write the tag data to the XML file 'missing/out.xml' (2)"},
             {"-csv", "missing/out.csv", "Failed to write the tag data to the CSV file 'missing/out.csv' (2)"},
             {"-imex", "missing/out.jpg", "Failed to write the tag image to the file 'missing/out.jpg' (2)"},
             {"-xml", "full.mp3", "The export file 'full.mp3' is the track itself"},
             {"-csv", "full.mp3", "The export file 'full.mp3' is the track itself"}}) {
        CliResult failed = runCli({option, target, track}, {dir.path()});
        EXPECT_EQ(failed.status, 11) << option;
        EXPECT_NE(failed.err.find(message + "\n"), std::string::npos) << failed.err;
    }
    EXPECT_EQ(readFile(track), everyFieldTrack());
}

// A track with only a version 1 record is exported as if its version 2 tag held the copy; a
// track without tags gives the two head lines and the wording shared with the CSV export.
TEST(XmlExport, VersionOneOnlyTrackGoesThroughACopyAndNoTagsGiveTheHead) {
    TempDir dir;
    writeFile(dir.file("only.mp3"), concat({buildStream({}, 20), buildV1({"Song", "Band", "Record", "1999", "Nice", 3, 17})}));
    ASSERT_EQ(runCli({"-xml", "a.xml", dir.file("only.mp3")}, {dir.path()}).status, 0);
    const std::string copied = readText(dir.file("a.xml"));
    EXPECT_NE(copied.find("\t<id3 version=\"2\">\n" + value("Track", "long", "3") + value("Tracks", "long", "0") +
                          value("Title", "string", "Song") + value("Artist", "string", "Band") +
                          value("Album", "string", "Record") + value("Year", "string", "1999") +
                          value("Genre", "string", "Rock") + value("Comment", "string", "Nice")),
              std::string::npos) << copied;

    // One run over it and a track without tags: the last track's document (the head) is what
    // stays, cut to its length.
    writeFile(dir.file("bare.mp3"), buildStream({}, 20));
    CliResult two = runCli({"-xml", "two.xml", dir.file("only.mp3"), dir.file("bare.mp3")}, {dir.path()});
    EXPECT_EQ(two.status, 0);
    EXPECT_NE(two.err.find("No tag information was found to export to the CSV file '" + dir.file("bare.mp3") + "'\n"),
              std::string::npos) << two.err;
    EXPECT_EQ(readText(dir.file("two.xml")), XmlHead);
}

TEST(CsvExport, OneHeaderForThreeTracksThenRowsAppended) {
    TempDir dir;
    std::string full = dir.file("full.mp3"), plain = dir.file("plain.mp3"), bare = dir.file("bare.mp3");
    writeFile(full, everyFieldTrack());
    writeFile(plain, trackWith({text("TIT2", "AC/DC"), text("TPE1", "Abc"), text("TRCK", "0/7")}));
    writeFile(bare, buildStream({}, 20));
    CliResult result = runCli({"-v", "-csv", "tags.csv", full, bare, plain}, {dir.path()});
    EXPECT_EQ(result.status, 0);
    const std::string announced = "Exporting CSV tag data to: tags.csv\n\n";
    EXPECT_EQ(result.out, announced + announced + announced);
    EXPECT_NE(result.err.find("No tag information was found to export to the CSV file '" + bare + "'\n"),
              std::string::npos);
    const std::string header =
        "\xEF\xBB\xBFTrack,Tracks,Title,Artist,Album,Year,Genre,Comment,Composer,Copyright,Original artist,"
        "Encoded by,URL,Compilation,Picture,Lyrics,Conductor,Lyricist,Orchestra,Publisher,Content,Subtitle,Set/Disc,"
        "Sets/Discs,ISRC,Record time,Release time,Initial key,BPM,Artist URL,Podcast,Podcast ID,Podcast feed,"
        "Podcast description";
    const std::string plainRow = ",7,\"AC/DC\",Abc,,,,,,,,,,No,0,No,,,,,,,,,,,,,,,No,,,,";
    const std::string table =
        header + ",Advisory,Produced notice,Mood,ISWC,UFID\r\n"
        "3,12,\"Rock & \"\"Roll\"\" <live> 'x' Καλημέρα\",Björk,Café Album,2004,Rock,"
        "\"First line\r\nSecond\n\nThird\rFourth & more\",\"Com,poser\",\"Line\nbreak\",\" Someone\","
        "\"\tEncoder\\Person\",\"http://example.com/track?a=1&b=2\",Yes,7,Yes,The Conductor,\"O'Brien\",The Orchestra,"
        "\"He said \"\"hi\"\"\",The Group,\"Sub\ntitle\",1,2,USABC0400001,2004-05-06 07:08:09,2004-07-08 10:11,Am,"
        "120,\"http://example.com/artist\",Yes,pod-42,\"http://example.com/feed\",\"Pod\r\n\r\ndescription\","
        "Clean lyrics,2004 Producer,Calm,T-034.524.680-1,http://example.org abc,\r\n" +
        plainRow + ",,,,Default ,\r\n";
    EXPECT_EQ(readText(dir.file("tags.csv")), table);

    // An existing table only gets rows, whatever its columns; a new one of version 1 has fewer.
    ASSERT_EQ(runCli({"-csv", "tags.csv", "1", plain}, {dir.path()}).status, 0);
    EXPECT_EQ(readText(dir.file("tags.csv")), table + plainRow + "\r\n");
    ASSERT_EQ(runCli({"-csv", "old.csv", "v", "1", bare}, {dir.path()}).status, 0);
    EXPECT_EQ(readText(dir.file("old.csv")), header + "\r\n");
}

ByteVec picturesOf(std::vector<std::pair<const char*, std::string>> pictures) {
    std::vector<V2Frame> frames;
    for (const auto& [mime, bytes] : pictures)
        frames.push_back(v2Frame("APIC", apicPayload(mime, 3, "", bytesOf(bytes))));
    return trackWith(std::move(frames));
}

// Which files a run writes: the names come from the target and the picture types.
TEST(ImageExport, NamesFromTheTargetAndThePictureTypes) {
    TempDir dir;
    std::string track = dir.file("t.mp3");
    writeFile(track, picturesOf({{"image/jpeg", "jpeg-1"}, {"image/png", "png-2"}, {"image/bmp", "bmp-3"},
                                 {"image/tiff", "tiff-4"}}));
    using Files = std::vector<std::pair<std::string, std::string>>;  // name in the folder, content
    for (const auto& [options, files] : std::vector<std::pair<std::vector<std::string>, Files>>{
             {{"."}, {{"Picture.jpg", "jpeg-1"}}},
             {{".", "all"},
              {{"Picture.jpg", "jpeg-1"}, {"Picture1.png", "png-2"}, {"Picture2.png", "bmp-3"},
               {"Picture3.tif", "tiff-4"}}},
             {{"cover"}, {{"cover.jpg", "jpeg-1"}}},
             {{"cover.JPEG"}, {{"cover.JPEG", "jpeg-1"}}},
             {{"cover.bmp"}, {{"cover.bmp.jpg", "jpeg-1"}}},
             {{"cover.jpg", "all"},
              {{"cover.jpg", "jpeg-1"}, {"cover.jpg1.png", "png-2"}, {"cover.jpg2.png", "bmp-3"},
               {"cover.jpg3.tif", "tiff-4"}}}}) {
        TempDir out;
        std::vector<std::string> args = {"-v", "-imex"};
        args.insert(args.end(), options.begin(), options.end());
        args.push_back(track);
        CliResult result = runCli(args, {out.path()});
        EXPECT_EQ(result.status, 0) << options[0];
        EXPECT_EQ(result.out, "Exporting tag image" + std::string(options.size() > 1 ? "s" : "") + " to: " +
                                  options[0] + "\n\n");
        Files found;
        for (const auto& entry : fs::directory_iterator(out.path()))
            found.emplace_back(entry.path().filename(), readText(entry.path()));
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, files) << options[0];
    }
    writeFile(track, picturesOf({{"image/bmp", "bmp"}}));
    CliResult unsupported = runCli({"-imex", "x", track}, {dir.path()});
    EXPECT_EQ(unsupported.status, 14);
    EXPECT_NE(unsupported.err.find("Unsupported image to export\n"), std::string::npos);
    writeFile(track, picturesOf({{"image/unknown", "?"}}));
    unsupported = runCli({"-imex", "x", track}, {dir.path()});
    EXPECT_EQ(unsupported.status, 14);
    EXPECT_EQ(unsupported.err.find("Unsupported"), std::string::npos);
    writeFile(track, trackWith({text("TIT2", "No pictures")}));
    EXPECT_EQ(runCli({"-imex", "x", track}, {dir.path()}).status, 0);
    EXPECT_FALSE(fs::exists(dir.file("x.jpg")));
}

// Every sample track's XML document is read by python3's XML parser, and the CSV table of all of
// them by its CSV reader: one row per track that had tags, as wide as the header and the
// trailing comma. A document of a track without tags is the two head lines (no root element),
// and version 1 values are written as their stored bytes, which may not be UTF-8: they are read
// as ISO-8859-1 to parse the rest.
TEST(Exports, SampleTracksReadBackByPython) {
    const std::string corpus = corpusFile("");
    if (corpus.empty()) GTEST_SKIP() << "sample corpus not present";
    if (!fs::exists("/usr/bin/python3")) GTEST_SKIP() << "python3 not installed";
    TempDir dir;
    writeText(dir.file("check.py"), R"(
import csv, glob, os, subprocess, sys, xml.etree.ElementTree as ET
cli, corpus, out = sys.argv[1:]
head = b'<?xml version="1.0" encoding="UTF-8"?>\n<!-- Created by Tagwick version 1.24.38 -->\n'
tracks = sorted(t for t in glob.glob(corpus + '/*/*') if t.lower().endswith(('.mp3', '.aif', '.aiff', '.aifc')))
parsed = 0
for i, track in enumerate(tracks):
    name = '%s/%d.xml' % (out, i)
    assert subprocess.run([cli, '-xml', '%d.xml' % i, track], cwd=out, capture_output=True).returncode in (0, 1)
    data = open(name, 'rb').read() if os.path.exists(name) else head
    if data == head:
        continue
    start, end = data.index(b'\t<id3 version="1">'), data.index(b'\t<id3 version="2">')
    data = data[:start] + data[start:end].decode('latin-1').encode('utf-8') + data[end:]
    assert [e.get('version') for e in ET.fromstring(data).findall('id3')] == ['1', '2'], track
    parsed += 1
run = subprocess.run([cli, '-v', '-csv', 'all.csv'] + tracks, cwd=out, capture_output=True, text=True, errors='replace')
rows = list(csv.reader(open(out + '/all.csv', newline='', encoding='utf-8-sig')))
assert len(rows[0]) == 39 and rows[0][-1] == 'UFID', rows[0]
assert all(len(r) == 40 and r[-1] == '' for r in rows[1:])
assert len(rows) - 1 == run.stderr.count('Successfully exported the tag data')
assert parsed > 40 and len(rows) > 31, (parsed, len(rows))
)");
    std::string command = "/usr/bin/python3 " + dir.file("check.py") + " " + TAGWICK_CLI_PATH + " " + corpus + " " +
                          dir.path() + " > " + dir.file("py.out") + " 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << readText(dir.file("py.out"));
}

}  // namespace
}  // namespace tagwick::support
