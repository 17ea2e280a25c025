// The chunk walk of an opened AIFF track. It reads the bytes the way a stream reader would:
// a skip may run past the end of the file (a seek there succeeds), and only the next failed
// read of a chunk ID ends the walk.
#include "tags/aiff_chunks.h"

#include "base/files.h"
#include "base/text.h"

namespace tagwick {

namespace {

constexpr uint32_t CommMinimumSize = 18;  // channels, frames, sample size, 80-bit rate
constexpr size_t ExtendedSize = 10;

AiffCommon readCommon(Bytes file, size_t at) {
    // A COMM chunk cut short by the end of the file gives zeros for what is missing.
    ByteReader r(file, at <= file.size() ? at : file.size());
    AiffCommon common;
    common.channels = uint16_t(r.be16());
    common.sampleFrames = r.be32();
    common.sampleSize = r.be16();
    Bytes rate = r.take(ExtendedSize);
    common.sampleRate = rate.size() == ExtendedSize ? extendedToUint(rate.data()) : 0;
    return common;
}

}  // namespace

AiffForm readAiffForm(Bytes file) {
    AiffForm form;
    if (hasBytes(file, 4, 4)) form.formSize = be32At(file, 4);
    if (file.size() > 8) form.type = asText(file.subspan(8, file.size() - 8 < 4 ? file.size() - 8 : 4));
    form.known = form.type.size() == 4 && (equalsNoCase(form.type, "AIFF") || equalsNoCase(form.type, "AIFC"));
    form.compressed = form.type.size() == 4 && (form.type[3] == 'C' || form.type[3] == 'c');
    return form;
}

AiffWalk walkAiffChunks(Bytes file, size_t start) {
    AiffWalk walk;
    // 64 bits: a position may pass the end of the file by up to one 32-bit chunk size.
    uint64_t pos = start;
    // Every round consumes at least the 8 header bytes, so the walk ends within size / 8 rounds.
    while (pos < file.size() && file.size() - pos >= 4) {
        std::string_view id = asText(file.subspan(size_t(pos), 4));
        pos += 4;
        if (file.size() - pos < 4) {
            // The size cannot be read: the walk goes on, and the next ID read fails.
            pos = file.size();
            continue;
        }
        uint64_t size = be32At(file, size_t(pos));
        pos += 4;
        if (size & 1) ++size;
        ++walk.chunkCount;
        if (equalsNoCase(id, "ID3 ")) {
            walk.id3Found = true;
            walk.id3Size = uint32_t(size);  // 0xFFFFFFFF rounds up to 2^32, kept as 0 like a 32-bit field
            walk.position = size_t(pos);
            return walk;
        }
        if (equalsNoCase(id, "COMM") && size >= CommMinimumSize) {
            walk.common = readCommon(file, size_t(pos));
            walk.commFound = true;
        }
        pos += size;
    }
    // The failed ID read left the stream at the end of the file.
    walk.position = file.size();
    return walk;
}

}  // namespace tagwick
