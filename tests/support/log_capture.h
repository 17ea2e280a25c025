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
    struct Line {
        int level;
        std::string message;
    };

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

    // The message of every line "YYYY-MM-DD hh:mm:ss [L]: message"; header lines without a prefix are skipped.
    std::vector<std::string> messages() const {
        std::vector<std::string> out;
        std::istringstream all(text());
        for (std::string line; std::getline(all, line);) {
            const size_t close = line.find("]: ");
            if (close != std::string::npos && close >= 3 && line.compare(close - 3, 2, " [") == 0)
                out.push_back(line.substr(close + 3));
        }
        return out;
    }

    // A line at exactly this level (0 none, 1 error ... 6 debug) with exactly this message.
    bool has(int level, std::string_view message) const {
        const std::string line = std::string(" [") + "XEWSNVD"[level] + "]: " + std::string(message) + "\n";
        return text().find(line) != std::string::npos;
    }

private:
    FILE* file_ = nullptr;
    char* buffer_ = nullptr;
    size_t size_ = 0;
};

}  // namespace tagwick::support
