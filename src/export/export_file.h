// A file an export writes: every write and the close are checked, and a file left unfinished
// can be taken back (removed, or cut back to where the export began appending). Only regular
// files are taken back, never a device or a pipe named as the target.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>

#include "base/bytes.h"
#include "base/files.h"
#include "export/export_status.h"

namespace tagwick {

class ID3Tag;

class ExportFile {
public:
    // Creates or replaces the file's content (like fopen "wb+"); false with errno set when it
    // cannot. With `keep`, the file stays open for the next export to the same path (see below).
    bool create(const std::string& path, bool keep = false);
    // Opens for appending, creating it when missing (like fopen "ab+").
    bool openForAppend(const std::string& path, bool keep = false);

    // Writes all of `bytes`; returns how many were written. After a failure nothing more is
    // written and error() tells why.
    size_t write(Bytes bytes);
    size_t write(std::string_view text) { return write(asBytes(text)); }
    // Closes; false when a write or the close failed (error() then holds the error number).
    bool close();
    int error() const { return error_; }
    // The size the file had when it was opened.
    off_t sizeAtOpen() const { return sizeAtOpen_; }

    // A target held open from one track to the next.
    struct KeptTarget;

    // Removes a created file / cuts an appended one back to its size at opening. Works after
    // close() too.
    void discard();
    void cutBack();

private:
    bool open(const std::string& path, int flags, bool keep);
    void fail(int error);
    int fd() const;
    void forgetKept();

    UniqueFd fd_;
    KeptTarget* kept_ = nullptr;  // the target held open across tracks, when this is one
    std::string path_;
    off_t sizeAtOpen_ = 0;
    bool regular_ = false;
    bool cutAtClose_ = false;
    off_t written_ = 0;
    int error_ = 0;
};

// An export over many tracks writes one CSV table or XML document for each of them: the target
// is opened once and kept open from track to track, which costs a write where opening,
// checking and closing it again would cost more than the export itself. These close them all
// at the end of the run.
void closeKeptExportFiles();

// The size of a kept target, or of the file at `path`; -1 when there is none.
off_t exportTargetSize(const std::string& path);
// True when the export target and the opened track are one file (the same device and inode).
bool targetIsTrack(const std::string& target, const ID3Tag& track);

// An export never writes into the track it exports: the message, and NotCreatable.
ExportStatus targetIsTheTrack(const std::string& path);

}  // namespace tagwick
