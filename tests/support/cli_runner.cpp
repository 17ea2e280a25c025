#include "support/cli_runner.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace tagwick::support {

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/tagwick-test.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void writeFile(const std::string& path, std::span<const uint8_t> bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    out.close();
    if (!out) throw std::runtime_error("cannot write " + path);
}

void writeText(const std::string& path, std::string_view text) {
    writeFile(path, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

std::vector<uint8_t> readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string readText(const std::string& path) {
    const std::vector<uint8_t> bytes = readFile(path);
    return {bytes.begin(), bytes.end()};
}

std::string replaced(std::string text, std::string_view key, std::string_view value) {
    for (size_t at = text.find(key); at != std::string::npos; at = text.find(key, at + value.size()))
        text.replace(at, key.size(), value);
    return text;
}

namespace {

// In the child: the test's environment without USER and LOGNAME, with the run's own variables,
// and with those that load the fault shim when a fault is given.
void setRunEnvironment(const CliOptions& options) {
    unsetenv("USER");
    unsetenv("LOGNAME");
    std::vector<std::pair<std::string, std::string>> vars = options.env;
    if (!options.user.empty()) vars.emplace_back("USER", options.user);
    if (const std::optional<Fault>& fault = options.fault) {
        // A sanitizer build wants its runtime first; the shim only passes calls on.
        const char* asan = std::getenv("ASAN_OPTIONS");
        vars.insert(vars.end(), {{"LD_PRELOAD", TAGWICK_FAULT_SHIM_PATH},
                                 {"ASAN_OPTIONS", (asan ? std::string(asan) + ":" : "") + "verify_asan_link_order=0"},
                                 {"TAGWICK_FAULT_OP", fault->op},
                                 {"TAGWICK_FAULT_PATH", fault->path},
                                 {"TAGWICK_FAULT_AFTER", std::to_string(fault->after)},
                                 {"TAGWICK_FAULT_ERRNO", std::to_string(fault->error)},
                                 {"TAGWICK_FAULT_KILL", fault->kill ? "1" : ""}});
    }
    for (const auto& [name, value] : vars) setenv(name.c_str(), value.c_str(), 1);
}

}  // namespace

CliResult runCli(const std::vector<std::string>& args, const CliOptions& options) {
    TempDir capture;  // the child's standard output and error
    const std::string outPath = capture.file("out"), errPath = capture.file("err");
    std::vector<const char*> argv = {options.fault ? TAGWICK_DYNAMIC_CLI_PATH : TAGWICK_CLI_PATH};
    for (const std::string& arg : args) argv.push_back(arg.c_str());
    argv.push_back(nullptr);

    std::fflush(stdout);
    std::fflush(stderr);
    pid_t pid = fork();
    if (pid < 0) throw std::runtime_error("fork failed");
    if (pid == 0) {  // the tests run no other threads, so the child may allocate
        if (!std::freopen("/dev/null", "r", stdin) || !std::freopen(outPath.c_str(), "w", stdout) ||
            !std::freopen(errPath.c_str(), "w", stderr))
            _exit(125);
        if (!options.workingDir.empty() && chdir(options.workingDir.c_str()) != 0) _exit(126);
        setRunEnvironment(options);
        execv(argv[0], const_cast<char* const*>(argv.data()));
        _exit(127);
    }
    int raw = 0;
    while (waitpid(pid, &raw, 0) < 0 && errno == EINTR) {
    }
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw), readText(outPath), readText(errPath)};
}

std::string corpusFile(std::string_view relative) {
    const std::string dir = TAGWICK_CORPUS_DIR;
    return !dir.empty() && std::filesystem::is_directory(dir) ? dir + "/" + std::string(relative) : "";
}

}  // namespace tagwick::support
