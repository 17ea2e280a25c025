// Shared by the version 2 reader tests: a log capture that records level and message of
// every Logger line, and short ways to build and parse a tag.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "base/logger.h"
#include "support/tag_builders.h"
#include "tags/id3v2_reader.h"

namespace tagwick::test {

using support::ByteVec;
using support::V2Frame;

// Sends every Logger line (all levels, with its level letter) to a private temporary file.
class LogCapture {
public:
    struct Line {
        int level;
        std::string message;
    };

    LogCapture() {
        Logger::resetForTests();
        file_ = std::tmpfile();
        Logger::attach(6, file_, "", false, 3);
        Logger::setConsoleEcho(false);
    }
    ~LogCapture() {
        Logger::resetForTests();
        if (file_) std::fclose(file_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Line> lines() const {
        std::vector<Line> out;
        if (!file_) return out;
        std::fflush(file_);
        std::rewind(file_);
        std::string text;
        char buffer[4096];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, file_)) > 0) text.append(buffer, n);
        std::fseek(file_, 0, SEEK_END);
        // "YYYY-MM-DD hh:mm:ss [L]: message"
        size_t start = 0;
        while (start < text.size()) {
            size_t end = text.find('\n', start);
            if (end == std::string::npos) end = text.size();
            std::string line = text.substr(start, end - start);
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

struct Parsed {
    Id3v2Tag tag;
    V2ParseOutcome outcome;
};

inline Parsed parseBytes(const ByteVec& bytes, int mode = 0, bool conversion = true) {
    Parsed parsed;
    // A copy of exactly the tag's length, so that any read past the span is a heap overflow.
    std::vector<uint8_t> exact(bytes.begin(), bytes.end());
    parsed.outcome = parseV2(parsed.tag, exact, V2ReadSettings{mode, conversion});
    return parsed;
}

inline ByteVec buildTag(int major, std::vector<V2Frame> frames, size_t padding = 0, uint8_t flags = 0) {
    support::V2TagSpec layout;
    layout.major = major;
    layout.flags = flags;
    layout.frames = std::move(frames);
    layout.padding = padding;
    return support::buildV2Tag(layout);
}

inline Parsed parseFrames(int major, std::vector<V2Frame> frames, int mode = 0, bool conversion = true) {
    return parseBytes(buildTag(major, std::move(frames)), mode, conversion);
}

inline ByteVec bytesOf(std::string_view text) { return ByteVec(text.begin(), text.end()); }

inline std::string utf8Of(const OptText& text) { return text ? text->utf8() : std::string("<absent>"); }

}  // namespace tagwick::test
