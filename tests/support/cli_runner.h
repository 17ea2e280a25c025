// Helpers for end-to-end tests: a private temporary folder, whole-file reads and writes, and a
// runner that starts the built tagwickcli and captures its output and exit status.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tagwick::support {

// A fresh folder under the system's temporary folder, removed with everything in it at the end.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return path_; }
    std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }

private:
    std::string path_;
};

void writeFile(const std::string& path, std::span<const uint8_t> bytes);
void writeText(const std::string& path, std::string_view text);
// The whole file; empty when it cannot be read.
std::vector<uint8_t> readFile(const std::string& path);
std::string readText(const std::string& path);
// `text` with every `key` replaced by `value`.
std::string replaced(std::string text, std::string_view key, std::string_view value);

// A file call that fails in the child (see tests/support/shim/fault_shim.cpp).
struct Fault {
    std::string op;     // pwrite, copy (copy_file_range), close, rename, open (creating)
    std::string path;   // only calls on files whose path contains this
    long after = 0;     // matching calls that succeed first
    int error = 28;     // ENOSPC
    bool kill = false;  // SIGKILL instead of an error
};

struct CliOptions {
    std::string workingDir = {};                  // empty: the test's own working folder
    std::string user = "tagwick-test-nobody";     // USER for the run (LOGNAME is removed)
    std::vector<std::pair<std::string, std::string>> env = {};  // further variables to set
    std::optional<Fault> fault = {};              // loads the fault shim when given
};

struct CliResult {
    int status = -1;   // exit status, or 128 + signal number when the program was killed
    std::string out;
    std::string err;
};

// Runs the tagwickcli of this build with `args` (without the program name).
CliResult runCli(const std::vector<std::string>& args, const CliOptions& options = {});

// Full path of a file of the shared sample corpus, or "" when the corpus folder is absent.
std::string corpusFile(std::string_view relative);

}  // namespace tagwick::support
