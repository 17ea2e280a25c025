// Rebuilding an AIFF or AIFF-C file chunk by chunk around a new (or no) "ID3 " chunk. Every
// other chunk is copied unchanged and in order; an old "ID3 " chunk is always left out; the
// form size is set to what was written.
#include "tags/aiff_container.h"

#include <array>
#include <cstdint>
#include <exception>
#include <string>

#include "base/bytes.h"
#include "base/file_reader.h"
#include "base/file_writer.h"
#include "base/logger.h"
#include "base/text.h"
#include "tags/id3_tag.h"
#include "tags/id3v2_writer.h"
#include "tags/track_save.h"

namespace tagwick {

namespace {

constexpr int AiffCopied = 0;
constexpr int AiffNotCopied = 5;
constexpr uint64_t FormHeaderSize = 12;
constexpr uint64_t ChunkHeaderSize = 8;
constexpr uint64_t FormSizeAt = 4;

using ChunkId = std::array<uint8_t, 4>;

// Chunk IDs are compared without regard to case.
bool isChunk(const ChunkId& id, std::string_view name) { return equalsNoCase(asText(id), name); }

// For messages: every byte outside 0x20..0x7E is shown as '?'.
std::string printable(const ChunkId& id) {
    std::string out;
    for (uint8_t c : id) out += c >= 0x20 && c <= 0x7E ? char(c) : '?';
    return out;
}

bool setFormSize(FileWriter& output) {
    ByteWriter size;
    size.be32(uint32_t(output.position() - ChunkHeaderSize));
    return output.writeAt(FormSizeAt, size.data());
}

// One pass over the chunks of a source, copying or skipping each.
class ChunkCopy {
public:
    ChunkCopy(const ID3Tag& track, FileReader& source, FileWriter& output, std::string_view stopAfter,
              std::string_view resumeAfter)
        : source_(source), output_(output), stopAfter_(stopAfter), resumeAfter_(resumeAfter),
          forgiving_(track.ignoreAiffCorruption) {}

    int run() {
        if (!readForm()) return AiffNotCopied;
        copying_ = resumeAfter_.empty();
        if (copying_ && !output_.write(source_.view(0, FormHeaderSize))) {
            Logger::log(LogError, "Could not copy the AIFF header");
            return AiffNotCopied;
        }
        uint64_t position = FormHeaderSize;
        for (;;) {
            const Step step = nextChunk(position);
            if (step == Step::Failed) return AiffNotCopied;
            if (step == Step::Finished) break;
        }
        return setFormSize(output_) ? AiffCopied : AiffNotCopied;
    }

private:
    enum class Step { Next, Finished, Failed };

    bool readForm() {
        Bytes head = source_.view(0, FormHeaderSize);
        if (head.size() < 4 || !equalsNoCase(asText(head.first(4)), "FORM")) {
            Logger::log(LogError, "Could not find the AIFF form for copying");
            return false;
        }
        remaining_ = head.size() >= 8 ? int64_t(be32At(head, 4)) : 0;
        const std::string_view type = head.size() >= FormHeaderSize ? asText(head.subspan(8, 4)) : std::string_view{};
        if (!equalsNoCase(type, "AIFF") && !equalsNoCase(type, "AIFC")) {
            Logger::log(LogError, "Could not find the AIFF data start for copying");
            return false;
        }
        remaining_ -= 4;
        return true;
    }

    // Corruption is overlooked only after the sound data, and only with -iac.
    bool forgives() const { return soundSeen_ && forgiving_; }

    Step nextChunk(uint64_t& position) {
        const uint64_t chunkStart = position;
        ChunkId id{};
        const size_t idRead = source_.read(chunkStart, id);
        if (idRead < id.size()) {
            if (remaining_ == int64_t(idRead) || forgives()) return Step::Finished;
            Logger::log(LogError, "Error reading the AIFF chunk ID (%d)", source_.error());
            return Step::Failed;
        }
        remaining_ -= 4;
        std::array<uint8_t, 4> sizeField{};
        if (source_.read(chunkStart + 4, sizeField) < sizeField.size()) {
            Logger::log(LogError, "Could not load the AIFF chunk size (%d)", source_.error());
            return Step::Failed;
        }
        remaining_ -= 4;
        uint64_t size = be32At(sizeField, 0);
        size += size & 1;  // the pad byte of an odd chunk
        const std::string shown = printable(id);
        if (int64_t(size) > remaining_) {
            Logger::log(LogError, "AIFF data integrity error for the chunk %s (%u/%u)%s", shown.c_str(),
                        uint32_t(size), uint32_t(remaining_), forgives() ? " (ignoring...)" : "");
            return forgives() ? Step::Finished : Step::Failed;
        }
        if (isChunk(id, "SSND")) soundSeen_ = true;
        remaining_ -= int64_t(size);
        position = chunkStart + ChunkHeaderSize + size;

        if (copying_ && !isChunk(id, "ID3 ")) return copyChunk(id, shown, chunkStart, ChunkHeaderSize + size);
        // A skip only moves the position: it cannot fail on a file.
        if (!copying_ && isChunk(id, resumeAfter_)) copying_ = true;
        return remaining_ < 4 ? Step::Finished : Step::Next;
    }

    Step copyChunk(const ChunkId& id, const std::string& shown, uint64_t start, uint64_t length) {
        if (!output_.copyFrom(source_.fd(), start, length)) {
            const uint64_t copied = output_.copied();
            if (output_.failed() || copied == 0 || !forgives()) {
                Logger::log(LogError, "Could not copy the AIFF chunk %s (%lu/%lu)", shown.c_str(),
                            static_cast<unsigned long>(copied), static_cast<unsigned long>(length));
                return Step::Failed;
            }
            Logger::log(LogError, "Copied %lu of AIFF chunk %s but expected %lu (ignoring truncation...)",
                        static_cast<unsigned long>(copied), shown.c_str(), static_cast<unsigned long>(length));
            // The chunk keeps what the file held of it, and its size says so; an odd size gets
            // its pad byte, so that a chunk written after it starts where readers look for it.
            if (copied >= ChunkHeaderSize) {
                ByteWriter size;
                size.be32(uint32_t(copied - ChunkHeaderSize));
                if (!output_.writeAt(output_.position() - copied + 4, size.data())) return Step::Failed;
                if (copied % 2 != 0 && !output_.write(std::array<uint8_t, 1>{0})) return Step::Failed;
            }
            return Step::Finished;
        }
        if (!stopAfter_.empty() && isChunk(id, stopAfter_)) return Step::Finished;
        return remaining_ < 4 ? Step::Finished : Step::Next;
    }

    FileReader& source_;
    FileWriter& output_;
    std::string_view stopAfter_;
    std::string_view resumeAfter_;
    bool forgiving_;
    bool copying_ = true;
    bool soundSeen_ = false;
    int64_t remaining_ = 0;  // what the form size says is left
};

}  // namespace

int copyAiff(const ID3Tag& track, FileReader& source, FileWriter& output, std::string_view stopAfter,
             std::string_view resumeAfter) {
    if (!track.isAiff) return NothingToDo;
    try {
        return ChunkCopy(track, source, output, stopAfter, resumeAfter).run();
    } catch (const std::exception&) {
        Logger::log(LogError, "Failed to copy the AIFF data");
        return AiffNotCopied;
    }
}

int writeAiffWithTag(const ID3Tag& track, FileReader& source, FileWriter& output, int version, bool convert,
                     int mode) {
    // Directly after the sound data (the reset's choice), or at the end of the form.
    const bool afterSound = track.chunkAfterSound;
    int status = copyAiff(track, source, output, afterSound ? "SSND" : "");
    if (status != AiffCopied) return status;

    const std::vector<uint8_t> tag = buildV2Tag(track, version, convert, mode);
    if (tag.empty()) return AiffTagNotWritten;
    ByteWriter chunk;
    chunk.text("ID3 ");
    chunk.be32(uint32_t(tag.size()));
    if (!output.write(chunk.data()) || !output.write(tag)) return AiffTagNotWritten;
    if (tag.size() % 2 != 0 && !output.write(std::array<uint8_t, 1>{0})) return AiffTagNotWritten;

    if (afterSound) return copyAiff(track, source, output, "", "SSND");
    return setFormSize(output) ? TagSaved : AiffTagNotWritten;
}

int writeAiffWithoutTag(const ID3Tag& track, FileReader& source, FileWriter& output) {
    return copyAiff(track, source, output);
}

}  // namespace tagwick
