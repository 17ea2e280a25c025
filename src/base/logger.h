// The process-wide levelled log. Levels 0..6 are lettered "XEWSNVD"; the program writes
// 0 (headers), 1 (errors), 2 (warnings) and 3 (progress and success).
#pragma once

#include <cstdarg>
#include <cstdio>
#include <functional>
#include <string>
#include <sys/time.h>

namespace tagwick {

enum LogLevel : int { LogHeader = 0, LogError = 1, LogWarning = 2, LogProgress = 3 };

class Logger {
public:
    // Writes one message; see the layout rules in logger.cpp. Returns the count of the final
    // write, 0 when the message was filtered, or a negative value when a write failed.
    static int log(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
    // The same with an argument list, for wrappers that take their own "...".
    static int logv(int level, const char* format, va_list args) __attribute__((format(printf, 2, 0)));

    static void setMaxLevel(unsigned level);
    static unsigned maxLevel();
    static void setConsoleEcho(bool on);
    // Uses an opened stream (none: output goes to standard error).
    static void attach(unsigned maxLevel, FILE* stream, const char* contextName, bool showMilliseconds,
                       int letterMode);
    // Opens "<directory>/<prefix>YYMMDD.log" in append mode and attaches it.
    static FILE* openDated(unsigned maxLevel, const char* directory, const char* namePrefix,
                           const char* contextName, bool showMilliseconds, int letterMode, int contextNumber);
    static void setContext(const char* name, int number);
    static void close();

    // The latest prefix and message, as written.
    static const std::string& lastLine();
    static const std::string& contextPrefix();
    // Path of the dated file opened last (empty when none).
    static const std::string& datedPath();

    // Test seams: the clock and the stream standing for standard output / standard error.
    static void setClock(std::function<timeval()> clock);
    static void setConsoleStreams(FILE* out, FILE* err);
    // Back to the state at program start (no stream, level 2, echo on, no context). A stream
    // given to attach() is dropped without being closed (the test owns it); a dated file is closed.
    static void resetForTests();
};

}  // namespace tagwick
