// The per-user run log: opened through the Logger at start-up, closed at the end of the run.
#pragma once

#include <string>

namespace tagwick {

// "/Users/<user>/library/logs/tagwick.log", cut to fit a 1024-byte path buffer.
std::string runLogPath(const std::string& userName);

class RunLog {
public:
    // Opens the log of the current user in append mode (standard error stands in when it
    // cannot be opened), writes the run header and turns console echo on.
    explicit RunLog(const char* buildText);
    // Closes the log stream and resets the Logger's stream.
    ~RunLog();
    RunLog(const RunLog&) = delete;
    RunLog& operator=(const RunLog&) = delete;

    bool opened() const { return opened_; }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    bool opened_ = false;
};

}  // namespace tagwick
