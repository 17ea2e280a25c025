// A fault-injecting shim for end-to-end tests, loaded into tagwickcli with LD_PRELOAD. It
// makes one kind of file call fail (or kills the process) once a given number of matching
// calls have gone through, so a test can prove that a failed or killed save loses nothing.
//
//   TAGWICK_FAULT_OP     pwrite | copy | close | rename | open, or several
//                        of them separated by commas (they share one count)
//   TAGWICK_FAULT_PATH   only calls on a file whose path contains this text (default: any file)
//   TAGWICK_FAULT_AFTER  calls that succeed before the first fault (default 0)
//   TAGWICK_FAULT_ERRNO  the error of a failed call (default ENOSPC)
//   TAGWICK_FAULT_KILL   when set, the process kills itself with SIGKILL instead of failing
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
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

struct Settings {
    std::string op;
    std::string path;
    long after = 0;
    int error = ENOSPC;
    bool kill = false;
};

const Settings& settings() {
    static const Settings s = [] {
        Settings out;
        if (const char* v = std::getenv("TAGWICK_FAULT_OP")) out.op = v;
        if (const char* v = std::getenv("TAGWICK_FAULT_PATH")) out.path = v;
        if (const char* v = std::getenv("TAGWICK_FAULT_AFTER")) out.after = std::atol(v);
        if (const char* v = std::getenv("TAGWICK_FAULT_ERRNO")) out.error = std::atoi(v);
        out.kill = std::getenv("TAGWICK_FAULT_KILL") != nullptr;
        return out;
    }();
    return s;
}

std::atomic<long> matchingCalls{0};

bool pathMatches(const char* path) {
    const Settings& s = settings();
    return path && (s.path.empty() || std::strstr(path, s.path.c_str()) != nullptr);
}

bool fdMatches(int fd) {
    if (fd <= 2) return false;  // the test captures the console into files: never touch it
    struct stat info {};
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) return false;
    char link[64];
    char target[4096];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    ssize_t n = readlink(link, target, sizeof target - 1);
    if (n < 0) return false;
    target[n] = 0;
    return pathMatches(target);
}

// True when this call is to fail (errno is set); never returns when the process is to die.
bool namesOp(const std::string& ops, const char* op) {
    const std::string wanted = std::string(",") + op + ",";
    return ("," + ops + ",").find(wanted) != std::string::npos;
}

bool strikes(const char* op, bool matches) {
    const Settings& s = settings();
    if (!matches || !namesOp(s.op, op)) return false;
    if (matchingCalls.fetch_add(1) < s.after) return false;
    if (s.kill) raise(SIGKILL);
    errno = s.error;
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
    if (strikes("close", fdMatches(fd))) {
        real(fd);  // a failed close still releases the descriptor
        return -1;
    }
    return real(fd);
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
