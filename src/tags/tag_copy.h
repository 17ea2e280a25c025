// Copying between the version 1 record and the version 2 fields of one track (-v1v2, -v2v1);
// the writers save the result. The XML export also copies a version 1 only track for a while.
#pragma once

namespace tagwick {

class ID3Tag;

// Title, album, artist, comment, year, track (1..254, else not set) and the genre's name go
// to version 2; the track is then marked as holding version 2 data made from version 1.
void copyV1ToV2(ID3Tag& track);
// Title, album, artist (30 bytes each), comment (29), year (4), the track byte (255 when the
// number does not fit one byte or its low byte is 0) and the genre number (12 without a genre,
// 255 for a name not in the list) go to version 1, which is then enabled.
void copyV2ToV1(ID3Tag& track);

}  // namespace tagwick
