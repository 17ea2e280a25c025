// The chunk walk of an opened AIFF track. It reads the bytes the way a stream reader would:
// a skip may run past the end of the file (a seek there succeeds), and only the next failed
// read of a chunk ID ends the walk.
#include "tags/aiff_chunks.h"

#include <algorithm>

#include "base/files.h"
#include "base/text.h"

namespace tagwick {

namespace {

constexpr uint32_t CommMinimumSize = 18;  // channels, frames, sample size, 80-bit rate
constexpr size_t ExtendedSize = 10;

AiffCommon readCommon(Bytes body) {
    // A COMM chunk cut short by the end of the file gives zeros for what is missing.
    ByteReader r(body);
    AiffCommon common;
    common.channels = uint16_t(r.be16());
    common.sampleFrames = r.be32();
    common.sampleSize = r.be16();
    Bytes rate = r.take(ExtendedSize);
    common.sampleRate = rate.size() == ExtendedSize ? extendedToUint(rate.data()) : 0;
    return common;
}

}  // namespace

AiffForm readAiffForm(Bytes head) {
    AiffForm form;
    if (hasBytes(head, 4, 4)) form.formSize = be32At(head, 4);
    std::string_view type = head.size() > 8 ? asText(head.subspan(8, std::min<size_t>(head.size() - 8, 4))) : "";
    form.known = type.size() == 4 && (equalsNoCase(type, "AIFF") || equalsNoCase(type, "AIFC"));
    form.compressed = type.size() == 4 && (type[3] == 'C' || type[3] == 'c');
    return form;
}

AiffWalk walkAiffChunks(FileReader& file, uint64_t start) {
    AiffWalk walk;
    // A position may pass the end of the file by up to one 32-bit chunk size. Every round
    // consumes at least the 8 header bytes, so the walk ends within size / 8 rounds.
    uint64_t pos = start;
    for (;;) {
        const Bytes head = file.view(pos, 8);
        if (head.size() < 4) break;
        std::string_view id = asText(head.first(4));
        // A size that cannot be read leaves the stream at the end, where the next ID read fails.
        if (head.size() < 8) break;
        uint64_t size = be32At(head, 4);
        pos += 8;
        if (size & 1) ++size;
        ++walk.chunkCount;
        if (equalsNoCase(id, "ID3 ")) {
            walk.id3Found = true;
            walk.id3Size = uint32_t(size);  // 0xFFFFFFFF rounds up to 2^32, kept as 0 like a 32-bit field
            walk.position = pos;
            return walk;
        }
        if (equalsNoCase(id, "COMM") && size >= CommMinimumSize) {
            walk.common = readCommon(file.view(pos, CommMinimumSize));
            walk.commFound = true;
        }
        pos += size;
    }
    // The failed ID read left the stream at the end of the file.
    walk.position = file.size();
    return walk;
}

AiffWalk walkAiffChunks(Bytes file, uint64_t start) {
    FileReader reader(file);
    return walkAiffChunks(reader, start);
}

}  // namespace tagwick
