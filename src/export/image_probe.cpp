// Width, height and bits per pixel from the first bytes of a picture, for the image details.
// The offsets are the program's own (JPEG from byte 20, TIFF in reversed byte order); every
// read is checked against the bytes given, so no header can make the probe read past them.
#include "export/image_probe.h"

#include "base/logger.h"

namespace tagwick {

namespace {

void logInvalidHeader() { Logger::log(LogWarning, "Invalid picture header for size"); }

// Walks the JPEG markers from byte 20 (just behind a 16-byte JFIF segment) to the C0 frame header.
ImageSize probeJpeg(Bytes b) {
    ImageSize size;
    if (b.size() < 22) return size;
    size_t pos = 20;
    for (;;) {
        if (!hasBytes(b, pos, 2)) {
            logInvalidHeader();
            return size;
        }
        if (b[pos] != 0xFF) {
            logInvalidHeader();
            return size;
        }
        if (b[pos + 1] == 0xC0) break;
        if (!hasBytes(b, pos, 6)) {
            logInvalidHeader();
            return size;
        }
        // The segment length is read at bytes 4 and 5 counted from the FF; these offsets are
        // the program's own and stay as they are.
        pos += 2 + be16At(b, pos + 4);
    }
    if (!hasBytes(b, pos, 8)) {
        logInvalidHeader();
        return size;
    }
    size.height = be16At(b, pos + 3);
    size.width = be16At(b, pos + 5);
    size.bitsPerPixel = uint32_t(b[pos + 2]) * b[pos + 7];
    size.ok = true;
    return size;
}

ImageSize probePng(Bytes b) {
    ImageSize size;
    if (b.size() < 26 || !startsWith(b, 12, "IHDR")) return size;
    size.width = be32At(b, 16);
    size.height = be32At(b, 20);
    uint32_t depth = b[24];
    switch (b[25]) {
        case 2:
        case 3: size.bitsPerPixel = depth * 3; break;
        case 6: size.bitsPerPixel = depth * 4; break;
        case 4: size.bitsPerPixel = depth * 2; break;
        default: size.bitsPerPixel = depth; break;
    }
    size.ok = true;
    return size;
}

ImageSize probeGif(Bytes b) {
    ImageSize size;
    if (b.size() < 10) return size;
    size.width = le16At(b, 6);
    size.height = le16At(b, 8);
    size.ok = true;
    return size;
}

ImageSize probeBmp(Bytes b) {
    ImageSize size;
    if (b.size() < 30) return size;
    size.width = le32At(b, 18);
    size.height = le32At(b, 22);
    size.bitsPerPixel = le16At(b, 28);
    size.ok = true;
    return size;
}

// The directory offset and the entry tags are read little-endian for "MM" and big-endian for
// "II" (the reverse of the usual convention); kept as the program has always read them.
ImageSize probeTiff(Bytes b) {
    ImageSize size;
    if (b.size() < 8) return size;
    bool mm = b[0] == 'M';
    auto read16 = [&](size_t at) { return mm ? le16At(b, at) : be16At(b, at); };
    auto read32 = [&](size_t at) { return mm ? le32At(b, at) : be32At(b, at); };
    uint32_t directory = read32(4);
    if (b.size() - 8 < directory) return size;
    for (size_t entry = 10; hasBytes(b, entry, 12); entry += 8) {
        uint32_t tag = read16(entry);
        if (tag == 256) size.width = read32(entry + 8);
        else if (tag == 257) size.height = read32(entry + 8);
        if (size.width != 0 && size.height != 0) {
            size.ok = true;
            return size;
        }
    }
    // A width or height met on the way stays, though the probe is not ok.
    logInvalidHeader();
    return size;
}

}  // namespace

ImageSize probeImageSize(Bytes b) {
    if (b.size() < 4) return {};
    if (b[0] == 0xFF && b[1] == 0xD8) return probeJpeg(b);
    if (b[0] == 0x89 && startsWith(b, 1, "PNG")) return probePng(b);
    if (startsWith(b, 0, "GIF")) return probeGif(b);
    if (startsWith(b, 0, "BM")) return probeBmp(b);
    if (startsWith(b, 0, "II") || startsWith(b, 0, "MM")) return probeTiff(b);
    logInvalidHeader();
    return {};
}

int imageKind(Bytes b) {
    if (b.size() >= 2 && b[0] == 0xFF && b[1] == 0xD8) return ImageJpeg;
    if (startsWith(b, 0, "GIF")) return ImageGif;
    if (startsWith(b, 0, "MM")) return ImageTiff;
    if (b.size() >= 4 && b[0] == 0x89 && startsWith(b, 1, "PNG")) return ImagePng;
    return ImageUnknown;
}

}  // namespace tagwick
