// The manual page and the bash completion offer exactly the options the scan knows, and both
// files are accepted by the tools that read them.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/options.h"

namespace tagwick {
namespace {

using Words = std::set<std::string>;

const std::string ManualPage = std::string(TAGWICK_SOURCE_DIR) + "/man/tagwickcli.1";
const std::string Completion = std::string(TAGWICK_SOURCE_DIR) + "/completion/tagwickcli";

std::string readSource(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

Words withPrefix(const std::vector<std::string_view>& names, const std::string& prefix) {
    Words words;
    for (std::string_view name : names) words.insert(prefix + std::string(name));
    return words;
}

Words scannedOptions() { return withPrefix(optionWords(), "-"); }
Words scannedDeleteForms() { return withPrefix(deleteWords(), "--"); }

// The words missing from `listed` and those it has beyond `expected`; empty when they agree.
std::string drift(const Words& listed, const Words& expected) {
    std::string missing, extra;
    for (const std::string& word : expected)
        if (!listed.contains(word)) missing += " " + word;
    for (const std::string& word : listed)
        if (!expected.contains(word)) extra += " " + word;
    return (missing.empty() ? "" : "missing:" + missing) + (extra.empty() ? "" : " extra:" + extra);
}

struct Shell {
    int status;
    std::string output;  // standard output and standard error
};

Shell runShell(const std::string& command) {
    Shell result{-1, ""};
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return result;
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) result.output.append(buffer, n);
    result.status = pclose(pipe);
    return result;
}

std::string shellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

bool haveTool(const std::string& name) { return runShell("command -v " + name + " >/dev/null").status == 0; }

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
    const std::string page = readSource(ManualPage);
    ASSERT_FALSE(page.empty()) << ManualPage;
    Words expected = scannedOptions();
    expected.insert({"--help", "--version"});
    EXPECT_EQ(drift(manualEntries(page), expected), "");
    Words listedDeleteForms;
    for (const std::string& word : roffOptions(between(page, "\n.SS Deleting a field\n", "\n.SH ")))
        if (word.starts_with("--")) listedDeleteForms.insert(word);
    EXPECT_EQ(drift(listedDeleteForms, scannedDeleteForms()), "");
}

TEST(Docs, ManualPageRendersWithoutWarnings) {
    if (!haveTool("groff")) GTEST_SKIP() << "groff is not installed";
    Shell groff = runShell("groff -man -ww -z '" + ManualPage + "'");
    EXPECT_EQ(groff.status, 0);
    EXPECT_EQ(groff.output, "");
}

// The replies of the completion function for the command line `words`; without the
// bash-completion package, stand-ins for its two helpers are used.
Words completions(const std::string& words) {
    const std::string script =
        "if [ -r /usr/share/bash-completion/bash_completion ]; then . /usr/share/bash-completion/bash_completion;"
        " else _init_completion() { words=(\"${COMP_WORDS[@]}\"); cword=$COMP_CWORD;"
        " cur=${words[cword]}; prev=${words[cword-1]}; }; _filedir() { :; }; fi; "
        ". '" + Completion + "'; COMP_WORDS=(" + words + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); "
        "COMP_LINE=\"${COMP_WORDS[*]}\"; COMP_POINT=${#COMP_LINE}; _tagwickcli; printf '%s\\n' \"${COMPREPLY[@]}\"";
    Shell bash = runShell("cd / && bash -c " + shellQuoted(script));
    std::istringstream lines(bash.output);
    Words replies;
    for (std::string line; std::getline(lines, line);)
        if (!line.empty()) replies.insert(line);
    return replies;
}

TEST(Docs, CompletionOffersEveryOptionAndDeleteForm) {
    if (!haveTool("bash")) GTEST_SKIP() << "bash is not installed";
    Shell syntax = runShell("bash -n '" + Completion + "'");
    EXPECT_EQ(syntax.status, 0) << syntax.output;
    EXPECT_EQ(drift(completions("tagwickcli -"), scannedOptions()), "");
    Words expected = scannedDeleteForms();
    expected.insert({"--help", "--version"});
    EXPECT_EQ(drift(completions("tagwickcli --"), expected), "");
}

}  // namespace
}  // namespace tagwick
