// Test data for the exports: a track whose tag uses every field they write, and a guard that
// makes files stop growing at a given size (a full disk, as seen by the writer).
#pragma once

#include <cstddef>
#include <sys/resource.h>

#include "support/tag_builders.h"

namespace tagwick::support {

// A version 2.4 tag with every field the exports write: ISO-8859-1, UTF-16 with and without a
// byte-order mark, characters to escape and quote, multiline comment, lyrics, subtitle and
// podcast description, and seven pictures (JPEG of 200 bytes, PNG, GIF, BMP, then a TIFF and two
// JPEGs of 2, 1 and 4 bytes, too small for the XML encoder);
// then a version 1 record with an ISO-8859-1 title and 20 frames of audio.
ByteVec everyFieldTrack();

// While it lives, writes that would make any file of this process (and of the processes it
// starts) larger than `bytes` fail with EFBIG (SIGXFSZ is ignored from then on).
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    struct rlimit previous_ {};
};

}  // namespace tagwick::support
