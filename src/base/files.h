// File helpers over POSIX: descriptors, mappings, temporary files, names, copies and moves.
// Copy and move report success as -1 and failure as an error number (callers test for it).
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <sys/stat.h>
#include <utility>

namespace tagwick {

constexpr int CopyOk = -1;  // copyFile/moveFile success

// Which file a path or descriptor led to: its device and inode.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileIdentity&) const = default;
};

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& o) noexcept : fd_(std::exchange(o.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& o) noexcept;
    ~UniqueFd();
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }
    bool valid() const { return fd_ >= 0; }
    // Closes now; false when close() failed.
    bool close();

private:
    int fd_ = -1;
};

class UniqueFile {
public:
    UniqueFile() = default;
    explicit UniqueFile(FILE* f) : f_(f) {}
    UniqueFile(UniqueFile&& o) noexcept : f_(std::exchange(o.f_, nullptr)) {}
    UniqueFile& operator=(UniqueFile&& o) noexcept;
    ~UniqueFile();
    FILE* get() const { return f_; }
    explicit operator bool() const { return f_ != nullptr; }
    // Closes now; false when fclose() failed (data not written).
    bool close();

private:
    FILE* f_ = nullptr;
};

// A private, writable mapping of a whole file (changes never reach the file).
class Mapping {
public:
    Mapping() = default;
    Mapping(Mapping&& o) noexcept;
    Mapping& operator=(Mapping&& o) noexcept;
    ~Mapping();
    bool valid() const { return valid_; }
    uint8_t* data() { return data_; }
    const uint8_t* data() const { return data_; }
    size_t size() const { return size_; }
    std::span<uint8_t> bytes() { return {data_, size_}; }
    std::span<const uint8_t> bytes() const { return {data_, size_}; }
    int fd() const { return fd_.get(); }
    // Tells the kernel the mapping will be read front to back (long walks over big files).
    bool adviseSequential();
    // Unmaps and closes now.
    void reset();

private:
    friend Mapping mapFile(const char* path);
    UniqueFd fd_;
    uint8_t* data_ = nullptr;
    size_t size_ = 0;
    size_t mappedLength_ = 0;
    bool valid_ = false;
};

// Opens read-only and maps (page size x (size / page size + 1)) bytes, PROT_READ|PROT_WRITE,
// MAP_PRIVATE. Invalid when the open or the mapping fails (errno as the failing call left it).
// An empty file gives a valid empty mapping.
Mapping mapFile(const char* path);

// Descriptor level; -1 makes each fail at once.
long seekFd(int fd, int32_t offset, bool fromCurrent);  // low 32 bits of the new position
int writeFd(int fd, const void* buffer, size_t length, size_t* written);  // 1 ok, 0 fail, -1 no fd
int truncateAtPosition(int fd);  // 0 on success
// pread until `out` is full or the file ends; the count read (short when the file is shorter).
size_t readAt(int fd, uint64_t offset, std::span<uint8_t> out);
long long fdSize(int fd);

// "/tmp/<prefix>.XXXXXX" through mkstemp; -1 when bufferLength < 1024.
int makeTempFile(char* buffer, size_t bufferLength, const char* prefix);
// Tries "<path>.t0" .. "<path>.t99" and opens the first free one "wb+".
FILE* createSiblingTempFile(const char* path, std::string* name);
// The path itself when free, else "<stem>-N<ext>" for N = 1..98; nullopt when none is free.
std::optional<std::string> uniqueFileName(const char* path);
int copyFile(const char* source, const char* destination);  // -1 ok, errno, or 2 for null paths
int moveFile(const char* source, const char* destination);  // -1 ok, else copyFile's result
bool removeFile(const char* path);
bool fileExists(const char* path);
long long fileSize(const char* path);
bool isDirectory(const char* path);

struct FileAttributes {
    mode_t mode = 0;
    struct timespec changed {};
    struct timespec accessed {};
    struct timespec modified {};
};
int getFileAttributes(const char* path, FileAttributes* attributes);  // always 0
int setFileAttributes(const char* path, const FileAttributes& attributes, bool restoreTimes);  // 0
int makeDirectories(const char* path, mode_t mode);  // -1 only when a mkdir fails with ENOENT

// True when both paths name one existing file (the same device and inode).
bool sameFile(const std::string& a, const std::string& b);

// Path parts: "/" and "\\" both separate; a leading drive prefix ("C:") is skipped.
std::string directoryPart(const char* path);
const char* fileNamePart(const char* path);
std::string fileExtension(const char* path);

void encodeSyncsafe(uint8_t out[4], uint32_t value);
bool writeSyncsafe(FILE* stream, uint32_t value);

// 80-bit IEEE extended (AIFF sample rate), big-endian, to an unsigned integer.
uint32_t extendedToUint(const uint8_t bytes[10]);

// open() that leaves the file's access time alone where the system allows it (the caller owns
// the file), so that reading a track never changes the dates that -kd keeps.
int openLeavingAccessTime(const char* path, int flags);

// Deleting and renaming a track are retried once after 500 microseconds.
bool removeWithRetry(const char* path);
bool renameWithRetry(const char* from, const char* to);

}  // namespace tagwick
