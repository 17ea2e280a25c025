/* The floor of a safe save: for each track, read it whole, write a sibling temporary file with
 * the head (the version 2 tag, or nothing with -rm) and the rest of the track, close it, rename
 * it over the track, then read the head back. This is the least a save that never loses a
 * track has to do.
 *
 * Usage: save_floor [-rm] track... */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static unsigned char buffer[1 << 20];

static size_t tag_size(const unsigned char *head, size_t size) {
    if (size < 10 || memcmp(head, "ID3", 3) != 0) return 0;
    size_t n = ((size_t)(head[6] & 0x7F) << 21) | ((size_t)(head[7] & 0x7F) << 14) | ((size_t)(head[8] & 0x7F) << 7) |
               (size_t)(head[9] & 0x7F);
    return n + 10 > size ? size : n + 10;
}

static int save(const char *path, int remove_tag) {
    int in = open(path, O_RDONLY);
    if (in < 0) return -1;
    struct stat info;
    if (fstat(in, &info) != 0) return -1;
    char temp[4096];
    snprintf(temp, sizeof temp, "%s.t0", path);
    int out = open(temp, O_WRONLY | O_CREAT | O_EXCL, info.st_mode & 07777);
    if (out < 0) return -1;
    ssize_t n = read(in, buffer, sizeof buffer);
    if (n < 0) return -1;
    size_t skip = remove_tag ? tag_size(buffer, (size_t)n) : 0;
    if (write(out, buffer + skip, (size_t)n - skip) != n - (ssize_t)skip) return -1;
    while ((n = read(in, buffer, sizeof buffer)) > 0)
        if (write(out, buffer, (size_t)n) != n) return -1;
    if (n < 0 || close(out) != 0 || close(in) != 0) return -1;
    if (rename(temp, path) != 0) return -1;
    int back = open(path, O_RDONLY);
    if (back < 0 || read(back, buffer, 65536) < 0 || close(back) != 0) return -1;
    return 0;
}

int main(int argc, char **argv) {
    int first = 1, remove_tag = 0;
    if (argc > 1 && strcmp(argv[1], "-rm") == 0) remove_tag = 1, first = 2;
    for (int i = first; i < argc; ++i)
        if (save(argv[i], remove_tag) != 0) {
            perror(argv[i]);
            return 1;
        }
    return 0;
}
