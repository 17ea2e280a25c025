// Writing and removing the "ID3 " chunk of AIFF and AIFF-C tracks through the program: the
// container rebuilt chunk by chunk, every other chunk unchanged, and the corruption rules; every
// MP3 and AIFF sample track updated once.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <strings.h>
#include <vector>

#include "support/cli_runner.h"
#include "support/mpeg_builders.h"
#include "support/tag_builders.h"

namespace tagwick::support {
namespace {

AiffChunk chunk(std::string id, ByteVec body, std::optional<uint32_t> size = std::nullopt) {
    return {std::move(id), std::move(body), size, true};
}

AiffChunk comm() { return chunk("COMM", commBody(2, 100, 16, 44100)); }
AiffChunk ssnd() { return chunk("SSND", ssndBody(400, 0x11)); }
AiffChunk anno() { return chunk("ANNO", bytesOf("odd"));  }  // three bytes and a pad byte

ByteVec form(std::vector<AiffChunk> chunks, std::string type = "AIFF", std::string id = "FORM") {
    AiffLayout layout;
    layout.formId = std::move(id);
    layout.formType = std::move(type);
    layout.chunks = std::move(chunks);
    return buildAiff(layout);
}

AiffChunk id3Chunk(const ByteVec& tag) { return chunk("ID3 ", tag); }

ByteVec titleTag(std::string_view title) { return programTag(3, {latin1Frame("TIT2", title)}); }

// The chunks of a form other than "ID3 ", each with its header and pad byte; none when they do
// not fill the file exactly as the form size says.
std::optional<std::vector<ByteVec>> otherChunks(const ByteVec& file) {
    auto be32 = [&](size_t at) {
        return size_t(file[at]) << 24 | size_t(file[at + 1]) << 16 | size_t(file[at + 2]) << 8 | file[at + 3];
    };
    std::vector<ByteVec> out;
    size_t at = 12, size = 0;
    for (; file.size() - at >= 8 && (size = be32(at + 4) + (file[at + 7] & 1)) <= file.size() - at - 8; at += 8 + size)
        if (strncasecmp(reinterpret_cast<const char*>(&file[at]), "ID3 ", 4) != 0)
            out.emplace_back(file.begin() + at, file.begin() + at + 8 + size);
    if (at != file.size() || be32(4) + 8 != file.size()) return std::nullopt;
    return out;
}

struct AiffCase {
    const char* name;
    std::vector<AiffChunk> before;
    std::vector<AiffChunk> after;  // what is written, the new tag's chunk marked by "ID3 "; none: refused
    std::string log = "";          // a message the program logs
    bool iac = false;
    std::string type = "AIFF";
    std::string formId = "FORM";
};

// The new "ID3 " chunk stands directly after SSND; every old one is left out; the other chunks
// keep their bytes and order; the form size is what was written; -rm2 takes the chunk out again.
// A chunk that claims more than the form holds: after SSND, -iac ends the copy there (the chunk is
// dropped) and the save goes on; without -iac, and before SSND in any case, it fails.
// Non-printable bytes of a chunk ID are shown as '?'.
TEST(AiffUpdate, NewTagChunkFollowsTheSoundData) {
    const ByteVec tag = titleTag("Song");
    const AiffChunk liar = chunk("JUNK", bytesOf("abcd"), 4000);
    const std::vector<AiffCase> cases = {
        {"Plain", {comm(), ssnd(), anno()}, {comm(), ssnd(), id3Chunk(tag), anno()}},
        {"TwoOldTagChunks",
         {comm(), id3Chunk(titleTag("Old")), ssnd(), anno(), id3Chunk(titleTag("Older"))},
         {comm(), ssnd(), id3Chunk(tag), anno()}, "", false, "AIFC"},
        {"LowerCaseForm", {comm(), ssnd()}, {comm(), ssnd(), id3Chunk(tag)}, "", false, "aiff", "form"},
        {"NoSoundChunk", {comm(), anno()}, {comm(), anno(), id3Chunk(tag)}},
        {"OversizedAfterSoundWithIac", {comm(), ssnd(), liar}, {comm(), ssnd(), id3Chunk(tag)},
         "AIFF data integrity error for the chunk JUNK (4000/4) (ignoring...)\n", true},
        {"OversizedAfterSound", {comm(), ssnd(), liar}, {}, "AIFF data integrity error for the chunk JUNK (4000/4)\n"},
        {"OversizedBeforeSoundWithIac", {comm(), liar, ssnd()}, {},
         "AIFF data integrity error for the chunk JUNK (4000/", true},
        {"UnprintableId", {comm(), ssnd(), chunk(std::string("J\x01N\x7F", 4), bytesOf("ab"), 999)}, {},
         "AIFF data integrity error for the chunk J?N? (1000/2)\n"},
    };
    for (const AiffCase& c : cases) {
        TempDir dir;
        const std::string track = dir.file("song.aif");
        const ByteVec original = form(c.before, c.type, c.formId);
        writeFile(track, original);
        std::vector<std::string> args = {"-ti", "Song", track};
        if (c.iac) args.insert(args.begin(), "-iac");
        CliResult result = runCli(args);
        EXPECT_EQ(result.status, c.after.empty() ? 2 : 0) << c.name << result.err;
        EXPECT_NE(result.err.find(c.log), std::string::npos) << c.name << result.err;
        if (c.after.empty()) {
            EXPECT_NE(result.err.find("NOTE: the original file has not been altered.\n"), std::string::npos) << c.name;
            EXPECT_EQ(readFile(track), original) << c.name;
            continue;
        }
        EXPECT_EQ(readFile(track), form(c.after, c.type, c.formId)) << c.name;
        ASSERT_EQ(runCli({"-rm2", track}).status, 0) << c.name;
        std::vector<AiffChunk> without;
        for (const AiffChunk& kept : c.after)
            if (kept.id != "ID3 ") without.push_back(kept);
        EXPECT_EQ(readFile(track), form(without, c.type, c.formId)) << c.name;
    }
}

// Each MP3 and AIFF file of the sample corpus is updated and read back, or refused and left as it
// was; every other AIFF chunk keeps its bytes, and python3-mutagen reads the title that was written.
TEST(CorpusUpdate, TracksAreUpdatedOrRefused) {
    const std::string corpus = corpusFile("");
    if (corpus.empty()) GTEST_SKIP() << "no sample corpus";
    TempDir dir;
    int files = 0;
    std::string updated;  // the paths of the saved tracks, each after a space
    for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus)) {
        const std::string extension = entry.path().extension().string(), name = entry.path().filename().string();
        if (extension != ".aif" && extension != ".aiff" && extension != ".mp3") continue;
        const bool aiff = extension != ".mp3";
        const std::string track = dir.file(std::to_string(++files) + (aiff ? ".aif" : ".mp3"));
        std::filesystem::copy_file(entry.path(), track);
        std::filesystem::permissions(track, std::filesystem::perms::owner_write, std::filesystem::perm_options::add);
        const ByteVec original = readFile(track);
        CliResult result = runCli({"-iac", "-ti", "Corpus title", track});
        if (result.status != 0) {
            // Not opened (status 1; an AIFF file logs why, an MP3 without frames may not), or a save
            // that failed and says so; the file is as it was.
            const std::string why =
                result.status != 1 ? "NOTE: the original file has not been altered.\n" : aiff ? "\n2" : "";
            EXPECT_NE(result.err.find(why), std::string::npos) << name << result.err;
            EXPECT_EQ(readFile(track), original) << name;
            continue;
        }
        updated += " " + track;
        EXPECT_NE(runCli({"-iac", "-d", track}).out.find(" Title: Corpus title\n"), std::string::npos) << name;
        if (!aiff) continue;
        const auto before = otherChunks(original), after = otherChunks(readFile(track));
        EXPECT_TRUE(after.has_value()) << name;
        if (before) {
            EXPECT_EQ(after, before) << name;
        }
    }
    EXPECT_GT(std::count(updated.begin(), updated.end(), ' '), 40);
    if (std::system("/usr/bin/python3 -c 'import mutagen' 2>/dev/null") != 0) return;
    const std::string check = "/usr/bin/python3 -c \"import sys; from mutagen.aiff import AIFF; from mutagen.id3 "
                              "import ID3; bad = [p for p in sys.argv[1:] if str((AIFF(p).tags if p.endswith('.aif') "
                              "else ID3(p))['TIT2']) != 'Corpus title']; sys.exit(str(bad) if bad else 0)\"" + updated;
    EXPECT_EQ(std::system(check.c_str()), 0);
}

}  // namespace
}  // namespace tagwick::support
