// Fuzz entry point for the version 2 reader: the header check, then the frame walk over the
// tag it sizes (or over all the bytes when they begin no tag), in every tag type mode and with
// both text settings. Broken invariants abort, so the fuzzer reports them.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "quiet_logger.h"
#include "tags/id3v2_reader.h"

namespace {

void check(bool condition) {
    if (!condition) std::abort();
}

void checkFields(const tagwick::Id3v2Tag& tag, size_t inputSize) {
    check(tag.ufid.size() <= tagwick::UfidLimit);
    check(tag.cdIdentifier.size() <= inputSize);
    for (const tagwick::Picture& picture : tag.pictures) {
        check(!picture.mime.empty());
        check(picture.format.size() <= tagwick::FormatWordLimit);
        check(picture.data.size() <= inputSize);
    }
    for (const tagwick::KeptFrame& kept : tag.keptFrames) check(kept.data.size() <= inputSize + 2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    quietLogger();
    tagwick::Bytes input(data, size);
    uint32_t tagSize = tagwick::tagSizeFromHeader(input);
    tagwick::Bytes tag = tagSize ? input.first(std::min<size_t>(tagSize, size)) : input;
    for (int mode : {0, 1, 2})
        for (bool conversion : {true, false}) {
            tagwick::Id3v2Tag fields;
            tagwick::V2ParseOutcome outcome = tagwick::parseV2(fields, tag, {mode, conversion});
            check(outcome.found == (tag.size() >= 10));
            checkFields(fields, tag.size());
            if (mode == 0) check(fields.keptFrames.empty());
        }
    return 0;
}
