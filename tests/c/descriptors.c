// Files by descriptors and by streams: open, lseek, stat in both sizes, temporary names, reopened streams, errno.
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wchar.h>

static char name[L_tmpnam + 8];

static void fill(void) {
    int fd = open(name, O_RDWR | O_CREAT | O_EXCL, 0600);
    char block[100];
    for (int i = 0; i < 100; i++) block[i] = (char)(i * 7);
    for (int i = 0; i < 5; i++) printf("%d ", (int)write(fd, block, sizeof block - (unsigned)i));
    printf("at %ld, ", (long)lseek(fd, 0, SEEK_CUR));
    printf("%lld ", (long long)lseek64(fd, -30, SEEK_END));
    unsigned char back[40];
    int n = (int)read(fd, back, sizeof back), sum = 0;
    for (int i = 0; i < n; i++) sum += back[i];
    printf("%d bytes sum %d, end %d\n", n, sum, (int)read(fd, back, 1));
    struct stat s;
    struct stat64 t;
    printf("%d %d: ", fstat(fd, &s), stat64(name, &t));
    printf("%ld %lld %o %d %d\n", (long)s.st_size, (long long)t.st_size, (unsigned)s.st_mode, S_ISREG(t.st_mode) != 0,
           s.st_mtime == t.st_mtime && (unsigned)s.st_ino == (unsigned)t.st_ino && s.st_nlink == 1);
    printf("%d ", ftruncate(fd, 10));
    fstat(fd, &s);
    printf("%ld %d\n", (long)s.st_size, close(fd));
}

static void streams(void) {
    FILE *f = fopen(name, "w+");
    fprintf(f, "%ls|%5lc|%.2ls|%-6ls|\n", L"wide", L'x', L"cut", L"left");
    fputs("second line\nthird", f);
    fflush(f);
    fseeko(f, 0, SEEK_SET);
    char line[64];
    while (fgets(line, sizeof line, f)) printf("<%s>", line);
    printf(" %lld %d %d\n", (long long)ftello(f), feof(f) != 0, ferror(f));
    f = freopen(name, "a", f);
    fputs("!", f);
    fclose(f);
    int fd = open(name, O_RDONLY);
    f = fdopen(fd, "r");
    int n = 0, c;
    while ((c = getc_unlocked(f)) != EOF) n += c == '\n' ? 100 : 1;
    printf("%d\n", n);
    fclose(f);
    f = tmpfile();
    fwrite("abc", 1, 3, f);
    rewind(f);
    printf("%c", getc(f));
    printf("%c\n", getc(f));
    fclose(f);
}

int main(void) {
    tmpnam(name);
    fill();
    streams();
    printf("%d ", access(name, R_OK));
    printf("%d ", unlink(name));
    errno = 0;
    int gone = open(name, O_RDONLY);
    printf("%d %d\n", gone, errno == ENOENT);
    gone = access(name, F_OK);
    printf("%d %d\n", gone, close(-1) == -1 && errno == EBADF);
    return 0;
}
