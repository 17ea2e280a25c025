// Replays every file of a seed folder through a fuzz entry point, so that the normal and the
// sanitizer builds run the checked-in corpora as tests.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s SEED_FOLDER\n", argv[0]);
        return 2;
    }
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {  // throws when it is missing
        std::ifstream in(entry.path(), std::ios::binary);
        const std::vector<uint8_t> data{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        LLVMFuzzerTestOneInput(data.data(), data.size());
        ++count;
    }
    std::printf("replayed %d seed files\n", count);
    return count > 0 ? 0 : 1;  // an empty seed folder is a mistake, not a pass
}
