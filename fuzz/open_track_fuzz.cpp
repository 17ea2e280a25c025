// Opens the input as a track named as an MP3, an AIFF and a tag data file, the way the display
// opens a track: kind check, version 1 and 2 tags, chunk walk and summary. The AIFF is opened
// twice, overlooking its size errors and not (the setting means nothing to the other kinds).
//
// The input is written once into a scratch file through a descriptor kept open, and the three
// names are links to it, so an input costs two system calls besides the opens it is about.
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "quiet_logger.h"
#include "tags/id3_tag.h"

namespace {

// One scratch folder per process, removed with its files at exit.
class Scratch {
public:
    Scratch() {
        char pattern[] = "/tmp/tagwick-open-fuzz.XXXXXX";
        if (!mkdtemp(pattern)) return;
        folder_ = pattern;
        data_ = open(path("data").c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        for (const char* name : Names)
            if (symlink("data", path(name).c_str()) != 0) return;
        ready_ = data_ >= 0;
    }
    ~Scratch() {
        if (data_ >= 0) close(data_);
        for (const char* name : Names) unlink(path(name).c_str());
        unlink(path("data").c_str());
        if (!folder_.empty()) rmdir(folder_.c_str());
    }
    bool ready() const { return ready_; }
    std::string path(const char* name) const { return folder_ + "/" + name; }

    bool write(const uint8_t* data, size_t size) {
        return ftruncate(data_, off_t(size)) == 0 && pwrite(data_, data, size, 0) == ssize_t(size);
    }

    static constexpr const char* Names[] = {"track.mp3", "track.aif", "track.tdf"};

private:
    std::string folder_;
    int data_ = -1;
    bool ready_ = false;
};

void openAs(const std::string& path, bool ignoreCorruption) {
    tagwick::ID3Tag track;
    track.ignoreAiffCorruption = ignoreCorruption;
    track.tagTypeMode = 2;
    track.open(path.c_str());
    // What the display reads afterwards must be usable.
    (void)track.frequencyKHz();
    (void)track.tagVersionText.size();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    quietLogger();
    static Scratch scratch;
    if (!scratch.ready() || !scratch.write(data, size)) return 0;
    openAs(scratch.path("track.mp3"), true);
    openAs(scratch.path("track.tdf"), true);
    openAs(scratch.path("track.aif"), true);
    openAs(scratch.path("track.aif"), false);
    return 0;
}
