#include "cli/find_file.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include "base/files.h"

namespace tagwick {

namespace {

// Closes the listing on every way out.
class DirHandle {
public:
    explicit DirHandle(const char* path) : dir_(::opendir(path)) {}
    ~DirHandle() {
        if (dir_ != nullptr) ::closedir(dir_);
    }
    DirHandle(const DirHandle&) = delete;
    DirHandle& operator=(const DirHandle&) = delete;
    bool valid() const { return dir_ != nullptr; }
    DIR* get() const { return dir_; }

private:
    DIR* dir_;
};

void reportNotFound(const char* argument) { std::printf("Failed to find the file using '%s'\n", argument); }

}  // namespace

std::string escapeBrackets(std::string_view name) {
    std::string out;
    out.reserve(name.size());
    for (char c : name) {
        if (c == '[') out += "[[]";
        else if (c == ']') out += "[]]";
        else out += c;
    }
    return out;
}

bool isLiteralName(std::string_view name) { return name.find_first_of("*?\\/") == std::string_view::npos; }

void FileFinder::find(const char* argument, std::vector<std::string>& tracks) {
    std::string folder = directoryPart(argument);
    std::string_view name = fileNamePart(argument);
    if (name.empty()) return;

    // A plain name can match only the entry of that very name, so a stat of it gives what the
    // listing would give, without reading the folder once per track of a long command line.
    if (isLiteralName(name)) {
        if (!folderOpenable(folder)) {
            reportNotFound(argument);
            return;
        }
        std::string path = folder + "/" + std::string(name);
        struct stat info {};
        // lstat, not stat: a dangling link is still a folder entry.
        if (::lstat(path.c_str(), &info) == 0) {
            tracks.push_back(std::move(path));
            return;
        }
        // A folder that may be read but not searched hides its entries from lstat only.
        if (errno != ENOENT && errno != ENOTDIR) {
            listMatches(folder, escapeBrackets(name), tracks);
        }
        return;
    }

    bool listed = listMatches(folder, escapeBrackets(name), tracks);
    openable_[folder] = listed;
    if (!listed) reportNotFound(argument);
}

bool FileFinder::listMatches(const std::string& folder, const std::string& pattern,
                             std::vector<std::string>& tracks) {
    ++folderOpens_;
    DirHandle dir(folder.c_str());
    if (!dir.valid()) return false;
    while (const dirent* entry = ::readdir(dir.get())) {
        if (::fnmatch(pattern.c_str(), entry->d_name, 0) == 0) tracks.push_back(folder + "/" + entry->d_name);
    }
    return true;
}

bool FileFinder::folderOpenable(const std::string& folder) {
    auto known = openable_.find(folder);
    if (known != openable_.end()) return known->second;
    ++folderOpens_;
    bool openable = DirHandle(folder.c_str()).valid();
    openable_.emplace(folder, openable);
    return openable;
}

}  // namespace tagwick
