// Options of a command, short, long and out of order; the environment, the parts of a path, a directory's names.
#define _FILE_OFFSET_BITS 64
#include <dirent.h>
#include <err.h>
#include <getopt.h>
#include <libgen.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static int verbose;
static const struct option longs[] = {{"size", required_argument, 0, 's'}, {"colour", optional_argument, 0, 300},
                                      {"verbose", no_argument, &verbose, 7}, {0, 0, 0, 0}};
static void options(const char *shorts, const char *text) {
    char line[120], *argv[20], *word = strtok(strcpy(line, text), " ");
    int argc = 0, c, index;
    for (; word; word = strtok(0, " ")) argv[argc++] = word;
    argv[argc] = 0;
    optind = 0, opterr = 0, verbose = 0; // 0: GNU's way to begin again
    while (index = -1, (c = *shorts == '+' ? getopt(argc, argv, shorts) : getopt_long(argc, argv, shorts, longs, &index)) != -1)
        if (c == '?') printf("?%c ", optopt > 31 && optopt < 127 ? optopt : '-');
        else printf(c > 31 && c < 127 ? "%c" : "<%d>", c), printf("%s%s/%d ", optarg ? "=" : "", optarg ? optarg : "", index);
    printf("| %d:", verbose);
    while (optind < argc) printf(" %s", argv[optind++]);
    puts("");
}
int main(void) {
    options("+ab:c", "prog -a -bvalue -cb other file -a");
    options("+ab:c", "prog -ac -x -b");
    options("ab:c", "prog one -a two -b three -- -c");
    options("ab::c", "prog -b -bx --size=4 --size 5 --colour --colour=red --verbose rest");
    options("a", "prog --si 3 --verb --nothing -a --size");

    setenv("QL_NAME", "first", 1), setenv("QL_NAME", "second", 0);
    static char place[] = "QL_OTHER=in place";
    putenv(place);
    place[9] = 'I';
    printf("%s %s ", getenv("QL_NAME"), getenv("QL_OTHER"));
    unsetenv("QL_NAME");
    printf("%d\n", getenv("QL_NAME") == 0);
    static const char *const paths[] = {"/usr/lib", "/usr/", "usr", "/", "", "a//b//", "."};
    for (int i = 0; i < 7; i++) {
        char one[20], two[20];
        printf("%s,%s ", dirname(strcpy(one, paths[i])), basename(strcpy(two, paths[i])));
    }
    char folder[] = "/tmp/names.XXXXXX", name[64];
    int fd = mkstemp(folder), sum = 0, n = 0;
    close(fd), unlink(folder), mkdir(folder, 0700);
    for (int i = 0; i < 3; i++) {
        sprintf(name, "%s/file%d", folder, i);
        fclose(fopen(name, "w"));
    }
    DIR *d = opendir(folder);
    for (struct dirent *e; (e = readdir(d));)
        if (e->d_name[0] == 'f') {
            sum += e->d_name[4], n++;
            sprintf(name, "%s/%s", folder, e->d_name);
            unlink(name);
        }
    closedir(d);
    printf("\n%d %d %d ", n, sum, rmdir(folder));
    printf("%d\n", opendir(folder) == 0);
    warnx("%d of %s", 1, "these");
    errx(3, "the end");
}
