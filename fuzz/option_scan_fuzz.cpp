// Fuzz entry point for the command-line scan: the input's lines are the arguments. The scan runs
// in a scratch folder holding a track, a text file and a picture, so that file values and track
// names can resolve; its messages go to standard output, which is sent to /dev/null here.
#include <cstdint>
#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "cli/options.h"
#include "quiet_logger.h"

namespace {

constexpr size_t MaxArguments = 64;

void check(bool condition) {
    if (!condition) std::abort();
}

constexpr const char* ScratchFiles[] = {"a.mp3", "b.MP3", "notes.txt", "cover.jpg", "tags.tdf"};

// The scratch folder is the working folder while the process runs and is removed at its end.
class ScratchFolder {
public:
    ScratchFolder() {
        char pattern[] = "/tmp/tagwick-scan-fuzz.XXXXXX";
        if (!mkdtemp(pattern) || chdir(pattern) != 0) return;
        path_ = pattern;
        for (const char* name : ScratchFiles) {
            FILE* file = std::fopen(name, "wb");
            if (!file) return;
            std::fputs("\xFF\xFB\x90\x00 some bytes\n", file);
            std::fclose(file);
        }
        ready_ = std::freopen("/dev/null", "w", stdout) != nullptr;
    }
    ~ScratchFolder() {
        if (path_.empty()) return;
        for (const char* name : ScratchFiles) unlink((path_ + "/" + name).c_str());
        rmdir(path_.c_str());
    }
    bool ready() const { return ready_; }

private:
    std::string path_;
    bool ready_ = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const ScratchFolder scratch;
    if (!scratch.ready()) return 0;
    quietLogger();
    std::vector<std::string> words{"tagwickcli"};
    std::string_view input(reinterpret_cast<const char*>(data), size);
    while (!input.empty() && words.size() < MaxArguments) {
        const size_t end = std::min(input.find('\n'), input.size());
        words.emplace_back(input.substr(0, end));
        input.remove_prefix(std::min(end + 1, input.size()));
    }
    std::vector<const char*> argv;
    for (const std::string& word : words) argv.push_back(word.c_str());
    argv.push_back(nullptr);
    const tagwick::TagUpdate update = tagwick::scan(int(words.size()), argv.data());
    // The scan keeps only tracks that it found.
    for (const std::string& track : update.tracks) check(access(track.c_str(), F_OK) == 0);
    return 0;
}
