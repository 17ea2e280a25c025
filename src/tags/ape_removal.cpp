// Cutting an APE tag off the end of an MP3 track. The tag must have its header as well as its
// footer; whatever follows the footer (the version 1 record) goes with it.
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "base/bytes.h"
#include "base/files.h"
#include "base/logger.h"
#include "base/text.h"
#include "tags/id3_tag.h"
#include "tags/id3v1.h"
#include "tags/track_save.h"

namespace tagwick {

namespace {

constexpr uint64_t ApeFooterSize = 32;
constexpr uint64_t TrailerWithV1 = Id3v1Size + ApeFooterSize;
constexpr std::string_view ApePreamble = "APETAGEX";

// `N` bytes at `offset`; false when the file does not hold them all.
template <size_t N>
bool readExactAt(int fd, int64_t offset, std::array<uint8_t, N>& out) {
    return offset >= 0 && readAt(fd, uint64_t(offset), out) == N;
}

// Where the tag's header starts, or -1 when there is no complete APE tag.
int64_t apeTagStart(int fd, int64_t length) {
    std::array<uint8_t, 3> tag{};
    const bool v1Follows = readExactAt(fd, length - int64_t(Id3v1Size), tag) && asText(tag) == "TAG";
    const int64_t footer = length - int64_t(v1Follows ? TrailerWithV1 : ApeFooterSize);
    std::array<uint8_t, 16> head{};  // preamble, version, size
    if (!readExactAt(fd, footer, head) || !equalsNoCase(asText(Bytes(head).first(8)), ApePreamble)) return -1;
    // The size counts the items and the footer: the header's 32 bytes stand that far before the
    // footer's end.
    const int64_t header = footer - int64_t(le32At(head, 12));
    std::array<uint8_t, 8> preamble{};
    if (!readExactAt(fd, header, preamble) || asText(preamble) != ApePreamble) return -1;
    return header;
}

}  // namespace

bool removeApe(const ID3Tag& track, const std::string& path) {
    if (!track.isMp3) return false;
    UniqueFd fd(openLeavingAccessTime(path.c_str(), O_RDWR | O_CLOEXEC));
    if (!fd.valid()) {
        Logger::log(LogError, "Failed to open the file '%s' to remove the APE tag (error: %s)", path.c_str(),
                    errorText(errno).c_str());
        return false;
    }
    const int64_t length = ::lseek(fd.get(), 0, SEEK_END);
    const int64_t start = length < 0 ? -1 : apeTagStart(fd.get(), length);
    if (start < 0) return false;
    if (::ftruncate(fd.get(), off_t(start)) != 0 || !fd.close()) {
        Logger::log(LogError, "Failed to truncate the file '%s' after removing the APE tag (error: %s)",
                    path.c_str(), errorText(errno).c_str());
        return false;
    }
    return true;
}

}  // namespace tagwick
