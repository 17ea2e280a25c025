#include "cli/help_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "cli/options.h"

namespace tagwick {
namespace {

std::string written(void (*print)(FILE*)) {
    FILE* out = std::tmpfile();
    if (out == nullptr) return "";
    print(out);
    std::string text(static_cast<size_t>(std::ftell(out)), '\0');
    std::rewind(out);
    text.resize(std::fread(text.data(), 1, text.size(), out));
    std::fclose(out);
    return text;
}

std::vector<std::string> helpLines() {
    std::vector<std::string> lines;
    std::istringstream in(helpText());
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// The words of an option line ("  -csv file [v]   description") before its description.
std::vector<std::string> optionColumn(const std::string& line) {
    std::vector<std::string> words;
    if (line.rfind("  -", 0) != 0) return words;
    std::istringstream in(line.substr(0, line.find("  ", 2)));
    for (std::string word; in >> word;) words.push_back(word.back() == ',' ? word.substr(0, word.size() - 1) : word);
    return words;
}

// Runs first: the build text is process-wide and is formed once.
TEST(Version, BuildTextIsFormedAtStartUp) {
    EXPECT_STREQ(buildText(), "unknown");
    EXPECT_EQ(written(printVersionLine), "Tagwick version: 1.24.38 (unknown) \n\n");
    formBuildText();
    EXPECT_EQ(written(printVersionLine), "Tagwick version: 1.24.38 (1.17.78.342) \n\n");
}

TEST(HelpText, UsageGroupsAndClosingNotes) {
    std::vector<std::string> lines = helpLines();
    ASSERT_GE(lines.size(), 12u);
    EXPECT_EQ(lines[0], "Usage: tagwickcli [options] file [file]...");
    EXPECT_EQ(lines[1], "");
    size_t previous = 1;
    for (const char* group : {"Version 2 tag information:", "Version 1 tag information:", "Podcast information:",
                              "MPEG information:", "Miscellaneous:"}) {
        size_t at = size_t(std::find(lines.begin(), lines.end(), group) - lines.begin());
        ASSERT_LT(at, lines.size()) << group;
        EXPECT_GT(at, previous) << group;
        EXPECT_EQ(lines[at - 1], "") << group;
        previous = at;
    }
    const std::vector<std::string> notes = {
        "",
        "Where text can be in 8 bit ISO-8859-1 (Latin 1) format or 7 bit ASCII and",
        "utext can also be in UTF-8 for Unicode support.",
        "File names can also be in UTF-8 format if supported by the operating system.",
        "Note: The ID3 V1 standard does not support Unicode.",
        "",
        "To delete a tag field add an extra '-' to the argument, for example",
        "'-ti \"A title\"' would add the title and '--ti' would delete the title.",
        "Note: The delete option is only available for V1, V2 and Podcast fields and",
        "does not include cf, cl, im, ir, ly, es, vn, pcon or pcof.",
    };
    EXPECT_EQ(std::vector<std::string>(lines.end() - notes.size(), lines.end()), notes);
    EXPECT_EQ(written(printHelp), helpText());
}

TEST(HelpText, EveryOptionIsListedWithItsValueKinds) {
    std::vector<std::string> lines = helpLines(), listed;
    for (const std::string& line : lines)
        for (const std::string& word : optionColumn(line)) listed.push_back(word);
    for (std::string_view word : optionWords())
        EXPECT_NE(std::find(listed.begin(), listed.end(), "-" + std::string(word)), listed.end()) << word;
    auto lineOf = [&](const std::string& column) {
        auto starts = [&](const std::string& line) { return line.starts_with("  " + column + "  "); };
        return std::find_if(lines.begin(), lines.end(), starts);
    };
    for (const char* column : {"-tr number", "-ti utext", "-yr text", "-cf file", "-cl", "-uf owner id", "-m [novbr]",
                               "-imex file [all]", "-csv file [v]", "-rename [utf8] [format]", "-h, -?"})
        EXPECT_NE(lineOf(column), lines.end()) << column;
    auto xml = lineOf("-xml file [noimg] [v]");
    ASSERT_LT(xml + 2, lines.end());
    EXPECT_NE((xml + 1)->find("Note: If v is set to 1 the CSV or XML will be retricted"), std::string::npos);
    EXPECT_NE((xml + 2)->find("to a previous version for compatability"), std::string::npos);
    auto check = lineOf("-check [fix]");
    ASSERT_LT(check + 1, lines.end());
    EXPECT_NE((check + 1)->find("Fixing errors may remove the ID3v2 tag"), std::string::npos);
}


// Each option line carries its whole description on the line itself.
TEST(HelpText, DescriptionsUseTheDocumentedWordingOnOneLine) {
    std::vector<std::string> lines = helpLines();
    auto has = [&](const std::string& column, const std::string& words) {
        return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
            return line.starts_with("  " + column + "  ") && line.find(words) != std::string::npos;
        });
    };
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"-co utext", "comments, with escapes"},
        {"-rl text", "release time stamp (same form)"},
        {"-bm number", "beats per minute (kept as text)"},
        {"-ad number", "advisory: only the value's first character counts: 1 explicit (1), 2 clean (2), "
                       "anything else none (0); the value is always consumed"},
        {"-uf owner id", "unique file identifier: two values, both required, an owner string (such as a URL) "
                         "and an identifier; the identifier is cut to 64 bytes and an empty owner becomes "
                         "\"Default\" when the frame is built"},
        {"-vn version", "version to write: \"2.3\" gives 3, \"2.4\" gives 4; any other value is consumed and "
                        "ignored, and without the option the version is chosen automatically"},
        {"-y number", "year (four digits; kept as text)"},
        {"-mchn", "print the channel code: 1 mono, 2 stereo, 3 multi, 4 unknown"},
        {"-out file", "save to this file instead of updating the input track"},
        {"-m [novbr]", "display the track information; novbr skips the VBR scan for speed"},
        {"-import file", "load tag data from a .mp3 or .tdf file into every track"},
        {"-csv file [v]", "save tag data as CSV; v 1 restricts to the previous output version"},
        {"-imex file [all]", "save the first tag image, or all with all (numbered names); a folder gets the "
                             "default name such as Picture.jpg"},
        {"-folder", "make a folder from album and artist and move the track into it; it acts only together "
                    "with -rename"},
        {"-rename [utf8] [format]", "rename the updated track from its tags; %A artist, %L album, %T title, "
                                    "%N track, %Y year"},
        {"-rmape", "remove an APE tag when the V1 tag is saved or removed"},
        {"-tagtype number", "how tag fields are replaced: 0 replace existing fields (default), 1 supported "
                            "fields only, 2 all valid fields; a value above 2 is taken as 2"},
        {"-v", "verbose: each -v raises the log level to 3 and counts one"},
    };
    for (const auto& [column, words] : expected) EXPECT_TRUE(has(column, words)) << column;
}

}  // namespace
}  // namespace tagwick
