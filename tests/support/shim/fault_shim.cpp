// A fault-injecting shim for end-to-end tests, loaded into tagwickcli with LD_PRELOAD. It
// makes one kind of file call fail (or kills the process) once a given number of matching
// calls have gone through, so a test can prove that a failed or killed save loses nothing.
//
//   TAGWICK_FAULT_OP     pwrite | copy | close | rename | open, or several
//                        of them separated by commas (they share one count)
//   TAGWICK_FAULT_PATH   only calls on a file whose path contains this text (default: any file)
//   TAGWICK_FAULT_AFTER  calls that succeed before the first fault (default 0)
//   TAGWICK_FAULT_ERRNO  the error of a failed call (default ENOSPC)
//   TAGWICK_FAULT_KILL   when not empty, the process kills itself with SIGKILL instead of failing
//
// Once the fault has struck, every later matching call fails too (a full disk stays full).
// Calls on descriptors that are not regular files (the console, pipes) are never touched.
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char* setting(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::atomic<long> matchingCalls{0};

bool pathMatches(const char* path) { return path && std::strstr(path, setting("TAGWICK_FAULT_PATH")); }

bool fdMatches(int fd) {
    struct stat info {};
    if (fd <= 2 || fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) return false;  // never the console
    std::error_code error;
    const std::filesystem::path target = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), error);
    return !error && pathMatches(target.c_str());
}

// True when this call is to fail (errno is set); never returns when the process is to die.
bool strikes(const char* op, bool matches) {
    const std::string ops = std::string(",") + setting("TAGWICK_FAULT_OP") + ",";
    if (!matches || ops.find(std::string(",") + op + ",") == std::string::npos) return false;
    if (matchingCalls.fetch_add(1) < std::atol(setting("TAGWICK_FAULT_AFTER"))) return false;
    if (*setting("TAGWICK_FAULT_KILL")) raise(SIGKILL);
    errno = *setting("TAGWICK_FAULT_ERRNO") ? std::atoi(setting("TAGWICK_FAULT_ERRNO")) : ENOSPC;
    return true;
}

template <typename F>
F next(const char* name) {
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

ssize_t pwrite(int fd, const void* buffer, size_t count, off_t offset) {
    static auto real = next<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite");
    if (strikes("pwrite", fdMatches(fd))) return -1;
    return real(fd, buffer, count, offset);
}

int close(int fd) {
    static auto real = next<int (*)(int)>("close");
    const bool fails = strikes("close", fdMatches(fd));
    const int result = real(fd);  // a failed close still releases the descriptor
    return fails ? -1 : result;
}

int rename(const char* from, const char* to) {
    static auto real = next<int (*)(const char*, const char*)>("rename");
    if (strikes("rename", pathMatches(from) || pathMatches(to))) return -1;
    return real(from, to);
}

ssize_t copy_file_range(int in, off_t* inOffset, int out, off_t* outOffset, size_t length, unsigned flags) {
    static auto real = next<ssize_t (*)(int, off_t*, int, off_t*, size_t, unsigned)>("copy_file_range");
    if (strikes("copy", fdMatches(out))) return -1;
    return real(in, inOffset, out, outOffset, length, flags);
}

int open(const char* path, int flags, ...) {
    static auto real = next<int (*)(const char*, int, ...)>("open");
    mode_t mode = 0;
    if (flags & (O_CREAT | O_TMPFILE)) {
        va_list args;
        va_start(args, flags);
        mode = mode_t(va_arg(args, int));
        va_end(args);
    }
    if ((flags & O_CREAT) && strikes("open", pathMatches(path))) return -1;
    return real(path, flags, mode);
}

}  // extern "C"
