#include "cli/help_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "cli/options.h"

namespace tagwick {
namespace {

std::vector<std::string> helpLines() {
    std::vector<std::string> lines;
    std::istringstream in(helpText());
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

size_t indexOf(const std::vector<std::string>& lines, const std::string& line) {
    auto at = std::find(lines.begin(), lines.end(), line);
    return at == lines.end() ? lines.size() : static_cast<size_t>(at - lines.begin());
}

// Option lines start with two blanks and a dash; their words run up to the description.
bool isOptionLine(const std::string& line) { return line.rfind("  -", 0) == 0; }

std::vector<std::string> optionColumnWords(const std::string& line) {
    std::vector<std::string> words;
    std::istringstream in(line.substr(0, line.find("  ", 2)));
    for (std::string word; in >> word;) {
        if (!word.empty() && word.back() == ',') word.pop_back();
        words.push_back(word);
    }
    return words;
}

TEST(HelpText, StartsWithUsageAndABlankLine) {
    std::vector<std::string> lines = helpLines();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[0], "Usage: tagwickcli [options] file [file]...");
    EXPECT_EQ(lines[1], "");
    EXPECT_EQ(lines[2], "Version 2 tag information:");
}

TEST(HelpText, GroupsComeInOrder) {
    std::vector<std::string> lines = helpLines();
    const char* groups[] = {"Version 2 tag information:", "Version 1 tag information:", "Podcast information:",
                            "MPEG information:", "Miscellaneous:"};
    size_t previous = 0;
    for (const char* group : groups) {
        size_t at = indexOf(lines, group);
        ASSERT_LT(at, lines.size()) << group;
        EXPECT_GT(at, previous) << group;
        EXPECT_EQ(lines[at - 1], "") << group;
        previous = at;
    }
}

TEST(HelpText, NotesCloseTheText) {
    std::vector<std::string> lines = helpLines();
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
    ASSERT_GT(lines.size(), notes.size());
    EXPECT_EQ(std::vector<std::string>(lines.end() - notes.size(), lines.end()), notes);
    EXPECT_EQ(helpText().back(), '\n');
}

TEST(HelpText, ExportNoteFollowsTheXmlOption) {
    std::vector<std::string> lines = helpLines();
    auto xml = std::find_if(lines.begin(), lines.end(), [](const std::string& l) { return l.rfind("  -xml ", 0) == 0; });
    ASSERT_NE(xml, lines.end());
    ASSERT_LT(xml + 2, lines.end());
    EXPECT_NE(xml->find("[noimg]"), std::string::npos);
    EXPECT_NE((xml + 1)->find("Note: If v is set to 1 the CSV or XML will be retricted"), std::string::npos);
    EXPECT_NE((xml + 2)->find("to a previous version for compatability"), std::string::npos);
}

TEST(HelpText, CheckFixWarnsAboutTheTag) {
    std::vector<std::string> lines = helpLines();
    auto check =
        std::find_if(lines.begin(), lines.end(), [](const std::string& l) { return l.rfind("  -check [fix]", 0) == 0; });
    ASSERT_NE(check, lines.end());
    ASSERT_LT(check + 1, lines.end());
    EXPECT_NE((check + 1)->find("Fixing errors may remove the ID3v2 tag"), std::string::npos);
}

TEST(HelpText, ListsEveryOptionTheScanKnows) {
    std::vector<std::string> listed;
    for (const std::string& line : helpLines()) {
        if (!isOptionLine(line)) continue;
        for (const std::string& word : optionColumnWords(line)) listed.push_back(word);
    }
    for (std::string_view word : optionWords()) {
        std::string option = "-" + std::string(word);
        EXPECT_NE(std::find(listed.begin(), listed.end(), option), listed.end()) << option;
    }
}

TEST(HelpText, ValueKindsFollowTheirOptions) {
    std::vector<std::string> lines = helpLines();
    const std::pair<const char*, std::vector<std::string>> expected[] = {
        {"-tr", {"-tr", "number"}},        {"-ti", {"-ti", "utext"}},     {"-yr", {"-yr", "text"}},
        {"-cf", {"-cf", "file"}},          {"-cl", {"-cl"}},              {"-uf", {"-uf", "owner", "id"}},
        {"-vn", {"-vn", "version"}},       {"-y", {"-y", "number"}},      {"-pcds", {"-pcds", "utext"}},
        {"-m", {"-m", "[novbr]"}},         {"-imex", {"-imex", "file", "[all]"}},
        {"-csv", {"-csv", "file", "[v]"}}, {"-rename", {"-rename", "[utf8]", "[format]"}},
    };
    for (const auto& [option, words] : expected) {
        auto line = std::find_if(lines.begin(), lines.end(), [&](const std::string& l) {
            return isOptionLine(l) && optionColumnWords(l).front() == option;
        });
        ASSERT_NE(line, lines.end()) << option;
        EXPECT_EQ(optionColumnWords(*line), words) << option;
    }
}

TEST(HelpText, DescriptionsShareOneColumn) {
    size_t column = 0;
    for (const std::string& line : helpLines()) {
        if (!isOptionLine(line)) continue;
        size_t gap = line.find("  ", 2);
        ASSERT_NE(gap, std::string::npos) << line;
        size_t start = line.find_first_not_of(' ', gap);
        if (column == 0) column = start;
        EXPECT_EQ(start, column) << line;
    }
    EXPECT_GT(column, 0u);
}

TEST(HelpText, PrintHelpWritesTheText) {
    FILE* out = std::tmpfile();
    ASSERT_NE(out, nullptr);
    printHelp(out);
    std::string written(static_cast<size_t>(std::ftell(out)), '\0');
    std::rewind(out);
    ASSERT_EQ(std::fread(written.data(), 1, written.size(), out), written.size());
    std::fclose(out);
    EXPECT_EQ(written, helpText());
}

}  // namespace
}  // namespace tagwick
