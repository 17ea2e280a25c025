/* The floor for reading many small tracks: opens each file named, reads it whole into one
 * reused buffer and closes it, nothing more. A tag tool cannot do less.
 *
 *   read_floor file...
 *
 * Prints the number of bytes read, so that the reads cannot be left out. */
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

int main(int argc, char** argv) {
    static unsigned char buffer[128 * 1024];
    unsigned long long total = 0;
    int status = 0;
    for (int i = 1; i < argc; ++i) {
        int fd = open(argv[i], O_RDONLY);
        if (fd < 0) {
            perror(argv[i]);
            status = 1;
            continue;
        }
        ssize_t n;
        while ((n = read(fd, buffer, sizeof buffer)) > 0) total += (unsigned long long)n;
        if (n < 0) {
            perror(argv[i]);
            status = 1;
        }
        close(fd);
    }
    printf("%llu bytes\n", total);
    return status;
}
