// The process-wide levelled log.
//
// Layout of one line: "YYYY-MM-DD hh:mm:ss" + optional ".mmm" + optional " [L]" + context
// prefix, then the message, with a line feed added when it does not end in one (or in a
// carriage return). A format beginning with '#' or a line feed gets no prefix, which is how
// the run headers and their blank separator lines are written. While a log stream is open
// and echo is on, the bare message also goes to standard output; without a stream everything
// goes to standard error.
#include "base/logger.h"

#include <cstring>
#include <ctime>
#include <string_view>

#include "base/text.h"

namespace tagwick {

namespace {

constexpr const char* LevelLetters = "XEWSNVD";
constexpr size_t PrefixBufferSize = 144;
constexpr size_t MessageBufferSize = 1024;
constexpr size_t LastLineLimit = 1023;
constexpr size_t ContextLimit = 79;
constexpr size_t DirectoryLimit = 1023;
constexpr size_t NamePrefixLimit = 11;
constexpr size_t DatedPathLimit = 1023;
constexpr const char* DefaultContext = ": ";

timeval systemClock() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now;
}

struct LoggerState {
    unsigned maxLevel = 2;
    FILE* stream = nullptr;
    bool ownsStream = false;  // opened here by openDated (attach()ed streams belong to the caller until close())
    bool echo = true;
    bool milliseconds = false;
    int letterMode = 0;
    std::string context = DefaultContext;
    std::string directory;
    std::string namePrefix;
    int openedYear = 0;  // years since 1900; 0 while no dated file is open
    int openedDay = 0;   // day of the year
    std::string lastLine;
    std::string datedPath;
    std::function<timeval()> clock = systemClock;
    FILE* console = nullptr;  // null: the real stdout
    FILE* errors = nullptr;   // null: the real stderr
};

LoggerState& state() {
    static LoggerState s;
    return s;
}

FILE* consoleStream() { return state().console ? state().console : stdout; }
FILE* errorStream() { return state().errors ? state().errors : stderr; }
FILE* targetStream() { return state().stream ? state().stream : errorStream(); }

std::string cut(std::string text, size_t limit) {
    if (text.size() > limit) text.resize(limit);
    return text;
}

tm localTime(const timeval& now) {
    tm local{};
    time_t seconds = now.tv_sec;
    localtime_r(&seconds, &local);
    return local;
}

char levelLetter(int level, int letterMode) {
    bool shown = (letterMode == 1 && level == 1) || (letterMode == 2 && (level == 1 || level == 2)) ||
                 (letterMode == 3 && level >= 0 && level <= 6);
    return shown ? LevelLetters[level] : '\0';
}

// The year 2000 is written "100": years since 1900, less 100 only when above 100.
int twoDigitYear(int yearsSince1900) { return yearsSince1900 > 100 ? yearsSince1900 - 100 : yearsSince1900; }

std::string datedFileName(const std::string& directory, const std::string& namePrefix, const tm& local) {
    std::string path = directory;
    // An empty folder means the current one rather than the root.
    if (!path.empty() && path.back() != '/' && path.back() != '\\') path += '/';
    path += format("%s%02d%02d%02d.log", namePrefix.c_str(), twoDigitYear(local.tm_year), local.tm_mon + 1,
                   local.tm_mday);
    return cut(std::move(path), DatedPathLimit);
}

void closeStream() {
    LoggerState& s = state();
    if (s.stream && s.stream != stderr && s.stream != s.errors) fclose(s.stream);
    s.stream = nullptr;
    s.ownsStream = false;
    s.openedYear = 0;
    s.openedDay = 0;
}

void attachStream(unsigned maxLevel, FILE* stream, bool showMilliseconds, int letterMode) {
    LoggerState& s = state();
    if (s.stream && s.stream != stream && s.ownsStream) closeStream();
    s.maxLevel = maxLevel;
    s.stream = stream;
    s.ownsStream = false;
    s.milliseconds = showMilliseconds;
    s.letterMode = letterMode;
    s.openedYear = 0;
    s.openedDay = 0;
}

// Opens the file of the current day; the context is left as it is (the daily rotation keeps it).
FILE* openDatedFile(unsigned maxLevel, std::string directory, std::string namePrefix, bool showMilliseconds,
                    int letterMode) {
    LoggerState& s = state();
    s.directory = cut(std::move(directory), DirectoryLimit);
    s.namePrefix = cut(std::move(namePrefix), NamePrefixLimit);
    tm local = localTime(s.clock());
    s.datedPath = datedFileName(s.directory, s.namePrefix, local);
    FILE* stream = fopen(s.datedPath.c_str(), "a+");
    attachStream(maxLevel, stream, showMilliseconds, letterMode);
    s.ownsStream = stream != nullptr;
    // Recorded as the file is named, so a day that could not be opened is tried again the next day.
    s.openedYear = local.tm_year;
    s.openedDay = local.tm_yday;
    return stream;
}

void rotateWhenDayChanged(const tm& local) {
    LoggerState& s = state();
    if (s.openedYear == 0) return;
    if (s.openedYear >= local.tm_year && local.tm_yday <= s.openedDay) return;
    unsigned maxLevel = s.maxLevel;
    bool milliseconds = s.milliseconds;
    int letterMode = s.letterMode;
    closeStream();
    openDatedFile(maxLevel, s.directory, s.namePrefix, milliseconds, letterMode);
}

std::string buildPrefix(int level) {
    LoggerState& s = state();
    timeval now = s.clock();
    tm local = localTime(now);
    rotateWhenDayChanged(local);
    std::string milliseconds = s.milliseconds ? format(".%03d", int(now.tv_usec / 1000)) : std::string();
    char letter = levelLetter(level, s.letterMode);
    std::string letterPart = letter ? format(" [%c]", letter) : std::string();
    char prefix[PrefixBufferSize];
    formatBounded(prefix, sizeof prefix, "%04d-%02d-%02d %02d:%02d:%02d%s%s%s", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, milliseconds.c_str(),
                  letterPart.c_str(), s.context.c_str());
    return prefix;
}

std::string buildMessage(const char* format, va_list args) {
    char message[MessageBufferSize] = "";
    if (format && vsnprintf(message, sizeof message, format, args) < 0) message[0] = '\0';
    std::string text = message;
    if (text.empty() || (text.back() != '\r' && text.back() != '\n')) text += '\n';
    return text;
}

bool writeAll(FILE* stream, std::string_view text) {
    return fwrite(text.data(), 1, text.size(), stream) == text.size();
}

}  // namespace

int Logger::logv(int level, const char* format, va_list args) {
    LoggerState& s = state();
    // Compared as unsigned, so a negative level is never shown.
    if (unsigned(level) > s.maxLevel) return 0;

    bool bare = format && (format[0] == '#' || format[0] == '\n');
    s.lastLine.clear();
    if (!bare) {
        std::string prefix = buildPrefix(level);
        if (!writeAll(targetStream(), prefix)) return -1;
        s.lastLine = prefix;
    }

    std::string message = buildMessage(format, args);
    if (s.stream && s.echo) {
        writeAll(consoleStream(), message);
        fflush(consoleStream());
    }
    FILE* target = targetStream();
    bool written = writeAll(target, message);
    s.lastLine = cut(s.lastLine + message, LastLineLimit);
    if (fflush(target) != 0 || !written) return -1;
    return int(message.size());
}

int Logger::log(int level, const char* format, ...) {
    va_list args;
    va_start(args, format);
    int result = logv(level, format, args);
    va_end(args);
    return result;
}

void Logger::setMaxLevel(unsigned level) { state().maxLevel = level; }

unsigned Logger::maxLevel() { return state().maxLevel; }

void Logger::setConsoleEcho(bool on) { state().echo = on; }

void Logger::attach(unsigned maxLevel, FILE* stream, const char* contextName, bool showMilliseconds,
                    int letterMode) {
    attachStream(maxLevel, stream, showMilliseconds, letterMode);
    setContext(contextName, 0);
}

FILE* Logger::openDated(unsigned maxLevel, const char* directory, const char* namePrefix, const char* contextName,
                        bool showMilliseconds, int letterMode, int contextNumber) {
    FILE* stream = openDatedFile(maxLevel, directory ? directory : "", namePrefix ? namePrefix : "",
                                 showMilliseconds, letterMode);
    setContext(contextName, contextNumber);
    return stream;
}

void Logger::setContext(const char* name, int number) {
    bool named = name && name[0] != '\0';
    std::string context;
    if (named && number != 0) context = format(" [%.56s][%d] ", name, number);
    else if (named) context = format(" [%.64s] ", name);
    else if (number != 0) context = format(" [%d] ", number);
    else context = DefaultContext;
    state().context = cut(std::move(context), ContextLimit);
}

void Logger::close() { closeStream(); }

const std::string& Logger::lastLine() { return state().lastLine; }

const std::string& Logger::contextPrefix() { return state().context; }

const std::string& Logger::datedPath() { return state().datedPath; }

void Logger::setClock(std::function<timeval()> clock) { state().clock = clock ? std::move(clock) : systemClock; }

void Logger::setConsoleStreams(FILE* out, FILE* err) {
    state().console = out;
    state().errors = err;
}

void Logger::resetForTests() {
    LoggerState& s = state();
    if (s.ownsStream) closeStream();
    s = LoggerState{};
}

}  // namespace tagwick
