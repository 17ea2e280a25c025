#include "cli/run_log.h"

#include <cstdio>

#include "base/logger.h"
#include "base/text.h"
#include "base/user_name.h"
#include "cli/help_text.h"

namespace tagwick {

namespace {

constexpr size_t PathBufferSize = 1024;

}  // namespace

std::string runLogPath(const std::string& userName) {
    char path[PathBufferSize];
    formatBounded(path, sizeof path, "/Users/%s/library/logs/tagwick.log", userName.c_str());
    return path;
}

RunLog::RunLog(const char* buildText) : path_(runLogPath(currentUserName())) {
    FILE* file = std::fopen(path_.c_str(), "a+");
    opened_ = file != nullptr;
    Logger::attach(LogWarning, file, nullptr, false, 0);
    // The header goes to the log only: echo is turned on after it, so the console never shows it.
    Logger::setConsoleEcho(false);
    Logger::log(LogHeader, "\n# %s CMD Version %d.%d.%d (%s)", ProductName, VersionMajor, VersionMinor,
                VersionPatch, buildText);
    Logger::setConsoleEcho(true);
}

RunLog::~RunLog() { Logger::close(); }

}  // namespace tagwick
