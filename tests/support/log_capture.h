// Captures what the Logger writes during a test: every line at every level up to `maxLevel`,
// with its level letter, in a private stream in memory.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "base/logger.h"

namespace tagwick::support {

class LogCapture {
public:
    explicit LogCapture(unsigned maxLevel = 3) : file_(open_memstream(&buffer_, &size_)) {
        Logger::resetForTests();
        Logger::attach(maxLevel, file_, "", false, 3);
        Logger::setConsoleEcho(false);
    }
    ~LogCapture() {
        Logger::resetForTests();
        if (file_ != nullptr) std::fclose(file_);
        std::free(buffer_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Everything written, prefixes included.
    std::string text() const {
        if (file_ == nullptr || std::fflush(file_) != 0) return "";
        return std::string(buffer_, size_);
    }

    // Everything written, each line "YYYY-MM-DD hh:mm:ss [L]: message" without its date.
    std::string undated() const {
        std::string out;
        std::istringstream all(text());
        for (std::string line; std::getline(all, line);)
            out += (line.size() > 20 && line.compare(19, 2, " [") == 0 ? line.substr(20) : line) + "\n";
        return out;
    }

    // The message of every line with a level; header lines without one are skipped.
    std::vector<std::string> messages() const {
        std::vector<std::string> out;
        std::istringstream all(undated());
        for (std::string line; std::getline(all, line);)
            if (line.size() >= 5 && line[0] == '[' && line.compare(2, 3, "]: ") == 0) out.push_back(line.substr(5));
        return out;
    }

    // A line at exactly this level (0 none, 1 error ... 6 debug) with exactly this message.
    bool has(int level, std::string_view message) const {
        const std::string wanted = std::string(1, '[') + "XEWSNVD"[level] + "]: " + std::string(message);
        std::istringstream all(undated());
        for (std::string line; std::getline(all, line);)
            if (line == wanted) return true;
        return false;
    }

private:
    FILE* file_ = nullptr;
    char* buffer_ = nullptr;
    size_t size_ = 0;
};

}  // namespace tagwick::support
