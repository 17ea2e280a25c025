// What another reader makes of the tags the writer builds: python3-mutagen reads a track made of
// a built tag and a few MPEG frames. Skipped when python3 or mutagen is not there.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"
#include "tags/id3v2_writer.h"

namespace tagwick {
namespace {

using namespace tagwick::support;

// Prints the version and mutagen's own listing of the frames.
constexpr std::string_view ReadScript = R"(import sys
try:
    import mutagen.mp3
except ImportError:
    sys.exit(77)
f = mutagen.mp3.MP3(sys.argv[1])
print("version 2.%d" % f.tags.version[1])
print(f.tags.pprint())
)";

struct ScriptRun {
    int status = -1;
    std::string out;
};

ScriptRun runPython(const std::string& script, const std::string& track) {
    ScriptRun run;
    std::string command = "/usr/bin/python3 '" + script + "' '" + track + "' 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return run;
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) run.out.append(buffer, n);
    int raw = pclose(pipe);
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return run;
}

TextValue latin(std::string text) { return TextValue::latin1(std::move(text)); }

TEST(V2WriterInterop, MutagenReadsWhatWasWritten) {
    if (::access("/usr/bin/python3", X_OK) != 0) GTEST_SKIP() << "no /usr/bin/python3";
    TempDir dir;
    writeText(dir.file("read.py"), ReadScript);
    Id3v2Tag fields;
    fields.title = TextValue::fromUtf8("H\u00e9llo \u263a");
    fields.artist = latin("Artist");
    fields.album = TextValue::fromUtf8("Alb\u00fcm");
    fields.trackNumber = 3, fields.trackTotal = 12, fields.setNumber = 1, fields.setTotal = 2;
    fields.genre = latin("rock");
    fields.year = "2006";
    fields.comment = TextValue::fromUtf8("\u00c7omment \u263a");
    fields.lyrics = latin("La la");
    fields.pictures = {{"image/png", "png", 3, "", pngImage(1, 1)}};
    for (int version : {3, 4}) {
        std::string track = dir.file("v" + std::to_string(version) + ".mp3");
        writeFile(track, concat({buildV2Tag(fields, V2WriteSettings{version, false, 0, true}), buildStream({}, 10)}));
        ScriptRun run = runPython(dir.file("read.py"), track);
        if (run.status == 77) GTEST_SKIP() << "mutagen is not installed";
        EXPECT_EQ(run.status, 0) << run.out;
        // mutagen shows the year as a recording time. In 2.4, where a text frame may hold several
        // values, the two zero bytes that end a UTF-16 comment read as a second, empty value.
        std::string comment = version == 3 ? "\u00c7omment \u263a" : "\u00c7omment \u263a / ";
        EXPECT_EQ(run.out, "version 2." + std::to_string(version) + "\n" +
                               "APIC=other,  (image/png, " + std::to_string(fields.pictures[0].data.size()) +
                               " bytes)\n"
                               "COMM==eng=" + comment + "\n"
                               "TALB=Alb\u00fcm\n"
                               "TCON=Rock\n"
                               "TDRC=2006\n"
                               "TIT2=H\u00e9llo \u263a\n"
                               "TPE1=Artist\n"
                               "TPOS=1/2\n"
                               "TRCK=3/12\n"
                               "USLT==eng=La la\n");
    }
}

}  // namespace
}  // namespace tagwick
