// Captures what the Logger writes during a test: every line at every level up to `maxLevel`,
// with its level letter, in a private temporary file.
#pragma once

#include <cstdio>
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

    explicit LogCapture(unsigned maxLevel = 3) : file_(std::tmpfile()) {
        Logger::resetForTests();
        Logger::attach(maxLevel, file_, "", false, 3);
        Logger::setConsoleEcho(false);
    }
    ~LogCapture() {
        Logger::resetForTests();
        if (file_ != nullptr) std::fclose(file_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Everything written, prefixes included.
    std::string text() const {
        std::string out;
        if (file_ == nullptr) return out;
        std::fflush(file_);
        std::rewind(file_);
        char buffer[4096];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, file_)) > 0) out.append(buffer, n);
        std::fseek(file_, 0, SEEK_END);
        return out;
    }

    // Lines of the form "YYYY-MM-DD hh:mm:ss [L]: message"; header lines without a prefix are skipped.
    std::vector<Line> lines() const {
        std::vector<Line> out;
        std::string all = text();
        size_t start = 0;
        while (start < all.size()) {
            size_t end = all.find('\n', start);
            if (end == std::string::npos) end = all.size();
            std::string line = all.substr(start, end - start);
            start = end + 1;
            size_t open = line.find(" [");
            size_t close = line.find("]: ");
            if (open == std::string::npos || close != open + 3) continue;
            out.push_back({levelOf(line[open + 2]), line.substr(close + 3)});
        }
        return out;
    }

    std::vector<std::string> messages() const {
        std::vector<std::string> out;
        for (const Line& line : lines()) out.push_back(line.message);
        return out;
    }

    // A line at exactly this level with exactly this message.
    bool has(int level, std::string_view message) const {
        for (const Line& line : lines())
            if (line.level == level && line.message == message) return true;
        return false;
    }

private:
    static int levelOf(char letter) {
        std::string_view letters = "XEWSNVD";
        size_t at = letters.find(letter);
        return at == std::string_view::npos ? -1 : int(at);
    }

    FILE* file_ = nullptr;
};

}  // namespace tagwick::support
