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

}  // namespace
}  // namespace tagwick
