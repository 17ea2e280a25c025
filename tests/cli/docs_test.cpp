// The manual page and the bash completion offer exactly the options the scan knows, and both
// files are accepted by the tools that read them.
#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/options.h"
#include "support/cli_runner.h"

namespace tagwick {
namespace {

using Words = std::set<std::string>;

const std::string ManualPage = std::string(TAGWICK_SOURCE_DIR) + "/man/tagwickcli.1";
const std::string Completion = std::string(TAGWICK_SOURCE_DIR) + "/completion/tagwickcli";

// `words` and every name with `prefix` in front.
Words withPrefix(const std::vector<std::string_view>& names, const std::string& prefix, Words words = {}) {
    for (std::string_view name : names) words.insert(prefix + std::string(name));
    return words;
}

// The words missing from `listed` and those it has beyond `expected`; empty when they agree.
std::string drift(const Words& listed, const Words& expected) {
    std::string missing, extra;
    for (const std::string& word : expected)
        if (!listed.contains(word)) missing += " " + word;
    for (const std::string& word : listed)
        if (!expected.contains(word)) extra += " " + word;
    return (missing.empty() ? "" : "missing:" + missing) + (extra.empty() ? "" : " extra:" + extra);
}

// The status of a shell command and what it wrote to standard output and error.
std::pair<int, std::string> runShell(const std::string& command) {
    std::string output;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return {-1, ""};
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
    return {pclose(pipe), output};
}

bool haveTool(const std::string& name) { return runShell("command -v " + name + " >/dev/null").first == 0; }

std::string between(const std::string& text, const std::string& from, const std::string& to) {
    size_t start = text.find(from);
    if (start == std::string::npos) return "";
    size_t end = text.find(to, start + from.size());
    return text.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

// Every option written in roff ("\-ti", "\-\-help") in the text, in plain form.
Words roffOptions(const std::string& text) {
    static const std::regex option(R"(((?:\\-)+)([a-z0-9?]+))");
    Words words;
    for (std::sregex_iterator it(text.begin(), text.end(), option), end; it != end; ++it)
        words.insert(std::string((*it)[1].length() / 2, '-') + (*it)[2].str());
    return words;
}

// The options named by the entry lines (the line after ".TP") of the OPTIONS section.
Words manualEntries(const std::string& page) {
    std::istringstream section(between(page, "\n.SH OPTIONS\n", "\n.SH "));
    Words words;
    bool entryLine = false;
    for (std::string line; std::getline(section, line);) {
        if (entryLine) words.merge(roffOptions(line));
        entryLine = line == ".TP";
    }
    return words;
}

TEST(Docs, ManualPageHasAnEntryForEveryOptionAndNoOther) {
    const std::string page = support::readText(ManualPage);
    ASSERT_FALSE(page.empty()) << ManualPage;
    EXPECT_EQ(drift(manualEntries(page), withPrefix(optionWords(), "-", {"--help", "--version"})), "");
    Words listedDeleteForms;
    for (const std::string& word : roffOptions(between(page, "\n.SS Deleting a field\n", "\n.SH ")))
        if (word.starts_with("--")) listedDeleteForms.insert(word);
    EXPECT_EQ(drift(listedDeleteForms, withPrefix(deleteWords(), "--")), "");
}

TEST(Docs, ManualPageRendersWithoutWarnings) {
    if (!haveTool("groff")) GTEST_SKIP() << "groff is not installed";
    EXPECT_EQ(runShell("groff -man -ww -z '" + ManualPage + "'"), std::make_pair(0, std::string()));
}

// The replies of the completion function for the command line `words`; without the
// bash-completion package, stand-ins for its two helpers are used.
Words completions(const std::string& words) {
    support::TempDir dir;
    support::writeText(dir.file("complete.sh"),
        "if [ -r /usr/share/bash-completion/bash_completion ]; then . /usr/share/bash-completion/bash_completion;"
        " else _init_completion() { words=(\"${COMP_WORDS[@]}\"); cword=$COMP_CWORD;"
        " cur=${words[cword]}; prev=${words[cword-1]}; }; _filedir() { :; }; fi; "
        ". '" + Completion + "'; COMP_WORDS=(" + words + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); "
        "COMP_LINE=\"${COMP_WORDS[*]}\"; COMP_POINT=${#COMP_LINE}; _tagwickcli; printf '%s\\n' \"${COMPREPLY[@]}\"");
    std::istringstream lines(runShell("cd / && bash " + dir.file("complete.sh")).second);
    Words replies;
    for (std::string line; std::getline(lines, line);)
        if (!line.empty()) replies.insert(line);
    return replies;
}

TEST(Docs, CompletionOffersEveryOptionAndDeleteForm) {
    if (!haveTool("bash")) GTEST_SKIP() << "bash is not installed";
    const auto [status, output] = runShell("bash -n '" + Completion + "'");
    EXPECT_EQ(status, 0) << output;
    EXPECT_EQ(drift(completions("tagwickcli -"), withPrefix(optionWords(), "-")), "");
    EXPECT_EQ(drift(completions("tagwickcli --"), withPrefix(deleteWords(), "--", {"--help", "--version"})), "");
}

}  // namespace
}  // namespace tagwick
