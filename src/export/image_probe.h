// Reading the size of a picture from its header bytes, and telling its kind from the first bytes.
#pragma once

#include <cstdint>

#include "base/bytes.h"

namespace tagwick {

struct ImageSize {
    bool ok = false;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t bitsPerPixel = 0;
};

// JPEG, PNG, GIF, BMP and TIFF headers; anything else is not ok.
ImageSize probeImageSize(Bytes image);

enum ImageKind : int { ImageUnknown = -1, ImageJpeg = 1, ImageGif = 2, ImageTiff = 3, ImagePng = 4 };
// FF D8 JPEG, "GIF", "MM" (big-endian TIFF only), 89 "PNG"; else -1.
int imageKind(Bytes image);

}  // namespace tagwick
