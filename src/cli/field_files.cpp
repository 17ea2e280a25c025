#include "cli/field_files.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <unistd.h>

#include "base/files.h"
#include "base/text.h"

namespace tagwick {

namespace {

// The words that differ between the comments and the lyrics readers.
struct TextFileKind {
    const char* openFailure;
    const char* readFailure;
};

constexpr TextFileKind CommentsKind{"Failed to open the comments file '%s' (%d)\n",
                                    "Failed to read the comments data (%d)\n"};
constexpr TextFileKind LyricsKind{"Failed to open the lyrics file '%s' (%d)\n", "Failed to read the lyrics data (%d)\n"};

// Opens `path` with mode "rb" without waiting: a named pipe with no writer would otherwise
// block the open for ever. Null with errno set on failure.
FILE* openForReading(const char* path) {
    int fd = ::open(path, O_RDONLY | O_NONBLOCK);
    if (fd < 0) return nullptr;
    FILE* file = ::fdopen(fd, "rb");
    if (file == nullptr) {
        int error = errno;
        ::close(fd);
        errno = error;
    }
    return file;
}

// Reads exactly `size` bytes; false on a short read (errno tells why, when anything does).
bool readExactly(FILE* file, std::vector<uint8_t>& data, size_t size) {
    try {
        data.resize(size);
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
    errno = 0;
    return size == 0 || std::fread(data.data(), 1, size, file) == size;
}

std::optional<std::string> readTextFile(const char* path, const TextFileKind& kind) {
    long long size = fileSize(path);
    UniqueFile file(openForReading(path));
    if (!file) {
        std::printf(kind.openFailure, path, errno);
        return std::nullopt;
    }
    std::vector<uint8_t> data;
    if (size < 0 || !readExactly(file.get(), data, static_cast<size_t>(size))) {
        std::printf(kind.readFailure, errno);
        return std::nullopt;
    }
    return textFileContents(data);
}

std::string cutAtZero(std::string text) {
    size_t zero = text.find('\0');
    if (zero != std::string::npos) text.resize(zero);
    return text;
}

bool hasByteOrderMark(std::span<const uint8_t> data) {
    return data.size() >= 2 && ((data[0] == 0xFE && data[1] == 0xFF) || (data[0] == 0xFF && data[1] == 0xFE));
}

}  // namespace

std::string textFileContents(std::span<const uint8_t> data) {
    if (!hasByteOrderMark(data)) return cutAtZero(std::string(data.begin(), data.end()));
    // The mark and size/2 code units after it; an odd last byte pairs with a zero byte, as if
    // the text were followed by its two-byte terminator.
    std::string utf16(data.begin(), data.end());
    utf16.append(2, '\0');
    utf16.resize(2 + (data.size() / 2) * 2);
    return cutAtZero(utf16ToUtf8(utf16));
}

std::optional<std::string> readCommentsFile(const char* path) { return readTextFile(path, CommentsKind); }

std::optional<std::string> readLyricsFile(const char* path) { return readTextFile(path, LyricsKind); }

PictureType pictureTypeOf(std::span<const uint8_t> head) {
    if (head.size() >= 2 && head[0] == 0xFF && head[1] == 0xD8) return PictureType::Jpeg;
    if (head.size() >= 3 && head[0] == 'G' && head[1] == 'I' && head[2] == 'F') return PictureType::Gif;
    // Only the big-endian TIFF mark: "II" files are refused.
    if (head.size() >= 2 && head[0] == 'M' && head[1] == 'M') return PictureType::Tiff;
    if (head.size() >= 4 && head[0] == 0x89 && head[1] == 'P' && head[2] == 'N' && head[3] == 'G') {
        return PictureType::Png;
    }
    return PictureType::Unknown;
}

const char* pictureTypeWord(PictureType type) {
    static constexpr std::array<const char*, 5> Words = {"unknown", "jpeg", "gif", "tiff", "png"};
    size_t index = static_cast<size_t>(type);
    return index < Words.size() ? Words[index] : Words[0];
}

bool loadPicture(const char* path, std::vector<uint8_t>& data, std::string& formatWord) {
    long long size = fileSize(path);
    UniqueFile file(openForReading(path));
    if (!file) {
        std::printf("Failed to open the picture '%s' (%d)\n", path, errno);
        return false;
    }
    std::array<uint8_t, 4> head{};
    errno = 0;
    if (std::fread(head.data(), 1, head.size(), file.get()) != head.size()) {
        std::printf("Failed to read the picture type (%d)\n", errno);
        return false;
    }
    PictureType type = pictureTypeOf(head);
    if (type == PictureType::Unknown) {
        std::printf("Invalid image type detected for '%s'\n", path);
        return false;
    }
    // The whole file again from its start, as big as the file system says it is.
    if (std::fseek(file.get(), 0, SEEK_SET) != 0 || size < 0 ||
        !readExactly(file.get(), data, static_cast<size_t>(size))) {
        std::printf("Failed to read the picture data (%d)\n", errno);
        data.clear();
        return false;
    }
    formatWord = pictureTypeWord(type);
    return true;
}

}  // namespace tagwick
