// Opens the input as a track three times, named as an MP3, an AIFF and a tag data file, the
// way the display opens a track: kind check, version 1 and 2 tags, chunk walk and summary.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "base/logger.h"
#include "tags/id3_tag.h"

namespace {

// One scratch folder per process, removed with its files at exit.
class Scratch {
public:
    Scratch() {
        char pattern[] = "/tmp/tagwick-open-fuzz.XXXXXX";
        if (mkdtemp(pattern)) folder_ = pattern;
        sink_ = std::fopen("/dev/null", "w");
        // Every message is formatted (level 3) but goes nowhere.
        tagwick::Logger::setConsoleStreams(sink_, sink_);
        tagwick::Logger::setMaxLevel(3);
    }
    ~Scratch() {
        for (const char* name : Names) unlink(path(name).c_str());
        if (!folder_.empty()) rmdir(folder_.c_str());
        tagwick::Logger::setConsoleStreams(nullptr, nullptr);
        if (sink_) std::fclose(sink_);
    }
    bool ready() const { return !folder_.empty(); }
    std::string path(const char* name) const { return folder_ + "/" + name; }

    static constexpr const char* Names[] = {"track.mp3", "track.aif", "track.tdf"};

private:
    std::string folder_;
    FILE* sink_ = nullptr;
};

bool writeWhole(const std::string& path, const uint8_t* data, size_t size) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    bool ok = std::fwrite(data, 1, size, f) == size;
    return std::fclose(f) == 0 && ok;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Scratch scratch;
    if (!scratch.ready()) return 0;
    for (const char* name : Scratch::Names) {
        std::string path = scratch.path(name);
        if (!writeWhole(path, data, size)) continue;
        for (bool ignoreCorruption : {true, false}) {
            tagwick::ID3Tag track;
            track.ignoreAiffCorruption = ignoreCorruption;
            track.tagTypeMode = 2;
            track.open(path.c_str());
            // What the display reads afterwards must be usable.
            (void)track.frequencyKHz();
            (void)track.tagVersionText.size();
        }
    }
    return 0;
}
