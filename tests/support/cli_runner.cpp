#include "support/cli_runner.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#ifndef TAGWICK_CLI_PATH
#define TAGWICK_CLI_PATH "tagwickcli"
#endif
#ifndef TAGWICK_CORPUS_DIR
#define TAGWICK_CORPUS_DIR ""
#endif

extern char** environ;

namespace tagwick::support {

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/tagwick-test.XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = buffer.data();
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void writeFile(const std::string& path, std::span<const uint8_t> bytes) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) throw std::runtime_error("cannot create " + path);
    size_t written = bytes.empty() ? 0 : std::fwrite(bytes.data(), 1, bytes.size(), f);
    bool closed = std::fclose(f) == 0;
    if (written != bytes.size() || !closed) throw std::runtime_error("cannot write " + path);
}

void writeText(const std::string& path, std::string_view text) {
    writeFile(path, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

std::vector<uint8_t> readFile(const std::string& path) {
    std::vector<uint8_t> out;
    FILE* f = std::fopen(path.c_str(), "rb");
    if (f == nullptr) return out;
    uint8_t buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) out.insert(out.end(), buffer, buffer + n);
    std::fclose(f);
    return out;
}

std::string readText(const std::string& path) {
    std::vector<uint8_t> bytes = readFile(path);
    return std::string(bytes.begin(), bytes.end());
}

namespace {

// A temporary file that the child writes one of its streams into.
struct CaptureFile {
    std::string path;
    int fd = -1;
    CaptureFile() {
        const char* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/tagwick-capture.XXXXXX";
        std::vector<char> buffer(pattern.begin(), pattern.end());
        buffer.push_back('\0');
        fd = mkstemp(buffer.data());
        if (fd < 0) throw std::runtime_error("mkstemp failed");
        path = buffer.data();
    }
    ~CaptureFile() {
        if (fd >= 0) ::close(fd);
        ::unlink(path.c_str());
    }
};

std::vector<std::string> childEnvironment(const CliOptions& options) {
    std::vector<std::string> env;
    for (char** e = environ; *e != nullptr; ++e) {
        std::string_view entry = *e;
        if (entry.starts_with("USER=") || entry.starts_with("LOGNAME=")) continue;
        if (options.fault && (entry.starts_with("ASAN_OPTIONS=") || entry.starts_with("LD_PRELOAD="))) continue;
        bool overridden = false;
        for (const auto& [name, value] : options.env) {
            if (entry.starts_with(name + "=")) overridden = true;
        }
        if (!overridden) env.emplace_back(entry);
    }
    if (!options.user.empty()) env.push_back("USER=" + options.user);
    for (const auto& [name, value] : options.env) env.push_back(name + "=" + value);
    if (const std::optional<Fault>& fault = options.fault) {
        env.push_back(std::string("LD_PRELOAD=") + TAGWICK_FAULT_SHIM_PATH);
        // A sanitizer build wants its runtime first; the shim only passes calls on.
        const char* asan = std::getenv("ASAN_OPTIONS");
        env.push_back(std::string("ASAN_OPTIONS=") + (asan ? std::string(asan) + ":" : "") + "verify_asan_link_order=0");
        env.push_back("TAGWICK_FAULT_OP=" + fault->op);
        env.push_back("TAGWICK_FAULT_PATH=" + fault->path);
        env.push_back("TAGWICK_FAULT_AFTER=" + std::to_string(fault->after));
        env.push_back("TAGWICK_FAULT_ERRNO=" + std::to_string(fault->error));
        if (fault->kill) env.push_back("TAGWICK_FAULT_KILL=1");
    }
    return env;
}

}  // namespace

CliResult runCli(const std::vector<std::string>& args, const CliOptions& options) {
    CaptureFile out, err;
    std::vector<std::string> env = childEnvironment(options);

    std::vector<char*> argv;
    std::string program = options.fault ? TAGWICK_DYNAMIC_CLI_PATH : TAGWICK_CLI_PATH;
    argv.push_back(program.data());
    std::vector<std::string> copies(args);
    for (std::string& a : copies) argv.push_back(a.data());
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (std::string& e : env) envp.push_back(e.data());
    envp.push_back(nullptr);

    std::fflush(stdout);
    std::fflush(stderr);
    pid_t pid = fork();
    if (pid < 0) throw std::runtime_error("fork failed");
    if (pid == 0) {
        int devNull = ::open("/dev/null", O_RDONLY);
        if (devNull >= 0) dup2(devNull, 0);
        dup2(out.fd, 1);
        dup2(err.fd, 2);
        if (!options.workingDir.empty() && chdir(options.workingDir.c_str()) != 0) _exit(126);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    int raw = 0;
    while (waitpid(pid, &raw, 0) < 0 && errno == EINTR) {
    }
    CliResult result;
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
    result.out = readText(out.path);
    result.err = readText(err.path);
    return result;
}

std::string corpusFile(std::string_view relative) {
    std::string dir = TAGWICK_CORPUS_DIR;
    struct stat st {};
    if (dir.empty() || ::stat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return "";
    return dir + "/" + std::string(relative);
}

}  // namespace tagwick::support
