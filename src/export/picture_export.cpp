#include "export/picture_export.h"

#include <cerrno>

#include "base/files.h"
#include "base/logger.h"
#include "base/text.h"
#include "export/export_file.h"
#include "tags/id3_tag.h"

namespace tagwick {

namespace {

constexpr size_t NameLimit = 1023;

// The text from the last '.' of the whole target, dot included; empty without one.
std::string_view targetExtension(std::string_view target) {
    size_t dot = target.find_last_of('.');
    return dot == std::string_view::npos ? std::string_view() : target.substr(dot);
}

enum class Written { Yes, NotCreated, Unfinished };

// Writes one picture, giving the message when its file cannot be created or written; an
// unfinished file is removed again.
Written writePicture(const std::string& name, const Picture& picture) {
    ExportFile file;
    if (!file.create(name)) {
        Logger::log(LogError, "Failed to write the tag image to the file '%s' (%d)", name.c_str(), errno);
        return Written::NotCreated;
    }
    const size_t written = file.write(Bytes(picture.data));
    if (file.close()) return Written::Yes;
    Logger::log(LogError, "Failed to write the picture data to the file (%d) (wrote %d of %d)", file.error(),
                int(written), int(picture.data.size()));
    file.discard();
    return Written::Unfinished;
}

}  // namespace

PictureExtensions pictureExtensions(char formatLetter) {
    switch (formatLetter) {
        case 'j': return {".jpg", ".jpeg"};
        case 'g': return {".gif", ".gif"};
        case 't': return {".tif", ".tiff"};
        case 'p': return {".png", ".png"};
        default: return {};
    }
}

std::string pictureFileName(const std::string& target, bool targetIsFolder, int index,
                            const PictureExtensions& extensions) {
    const std::string number = index >= 1 ? format("%d", index) : std::string();
    std::string name;
    std::string_view extension = targetExtension(target);
    if (targetIsFolder) {
        name = target + "/Picture" + number + std::string(extensions.preferred);
    } else if (equalsNoCase(extension, extensions.preferred) || equalsNoCase(extension, extensions.accepted)) {
        std::string_view stem = std::string_view(target).substr(0, target.size() - extension.size());
        name = std::string(stem) + number + std::string(extension);
    } else {
        name = target + number + std::string(extensions.preferred);
    }
    // Names are built in a buffer of 1024 bytes: a longer one is cut.
    if (name.size() > NameLimit) name.resize(NameLimit);
    return name;
}

ExportStatus exportPictures(const ID3Tag* track, const std::string& target, bool all) {
    if (track == nullptr) return ExportStatus::NoTrack;
    const bool targetIsFolder = isDirectory(target.c_str());
    const std::vector<Picture>& pictures = track->v2.pictures;
    PictureExtensions extensions;
    ExportStatus result = ExportStatus::Ok;
    for (size_t i = 0; i < pictures.size(); ++i) {
        const Picture& picture = pictures[i];
        const char letter = picture.format.empty() ? '\0' : picture.format[0];
        if (letter == 'u') return ExportStatus::PictureNotExportable;
        // A type without extensions of its own takes those of the picture before it.
        if (PictureExtensions own = pictureExtensions(letter); !own.preferred.empty()) {
            extensions = own;
        } else if (extensions.preferred.empty()) {
            Logger::log(LogError, "Unsupported image to export");
            return ExportStatus::PictureNotExportable;
        }
        switch (writePicture(pictureFileName(target, targetIsFolder, int(i), extensions), picture)) {
            case Written::Yes: break;
            case Written::NotCreated: return ExportStatus::NotCreatable;
            // The other pictures are still written; the export reports the failure at its end.
            case Written::Unfinished: result = ExportStatus::NotCreatable; break;
        }
        if (!all) break;
    }
    return result;
}

}  // namespace tagwick
