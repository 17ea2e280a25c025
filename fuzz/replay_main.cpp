// Replays every file of a seed folder through a fuzz entry point, so that the normal and the
// sanitizer builds run the checked-in corpora as tests.
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static bool readWhole(const std::string& path, std::vector<uint8_t>& out) {
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return false;
    out.clear();
    uint8_t buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) out.insert(out.end(), buffer, buffer + n);
    std::fclose(f);
    return true;
}

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s SEED_FOLDER\n", argv[0]);
        return 2;
    }
    DIR* dir = opendir(argv[1]);
    if (!dir) {
        std::fprintf(stderr, "cannot open seed folder %s\n", argv[1]);
        return 2;
    }
    int count = 0;
    std::vector<uint8_t> data;
    while (dirent* entry = readdir(dir)) {
        std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        std::string path = std::string(argv[1]) + "/" + name;
        if (!readWhole(path, data)) continue;
        LLVMFuzzerTestOneInput(data.data(), data.size());
        ++count;
    }
    closedir(dir);
    std::printf("replayed %d seed files\n", count);
    return count > 0 ? 0 : 1;  // an empty seed folder is a mistake, not a pass
}
