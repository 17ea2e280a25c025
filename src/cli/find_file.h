// The find-file rule: a track argument names a folder and a shell-style pattern; every entry of
// that folder matching the pattern becomes a track path, in the order the folder lists them.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tagwick {

// "[" becomes "[[]" and "]" becomes "[]]", so brackets in real names match themselves.
std::string escapeBrackets(std::string_view name);

// True when `name` can match only itself: no '*', '?', backslash or '/' (a trailing separator
// that the name part may keep); brackets are escaped later.
bool isLiteralName(std::string_view name);

class FileFinder {
public:
    // Appends "<folder>/<entry>" for each match of `argument` to `tracks`. A folder that cannot
    // be opened prints "Failed to find the file using '%s'\n" and adds nothing.
    void find(const char* argument, std::vector<std::string>& tracks);

    // How many times a folder was opened, for checking that plain names are not listed.
    size_t folderOpens() const { return folderOpens_; }

private:
    bool folderOpenable(const std::string& folder);
    // Appends the entries matching `pattern` in listing order; false when the folder won't open.
    bool listMatches(const std::string& folder, const std::string& pattern, std::vector<std::string>& tracks);

    // Folders already tried, so a long list of plain names opens each folder once.
    std::map<std::string, bool> openable_;
    size_t folderOpens_ = 0;
};

}  // namespace tagwick
