// Runs a command and writes its processor seconds and its peak memory in kilobytes:
//
//     spent FILE COMMAND ARGUMENT...
//
// Peak memory is inherited from whoever starts a program, up to the moment when it begins; so the starter must be small.
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char **argv)
{
    if (argc < 3) return 125;
    pid_t child = fork();
    if (child < 0) return 125;
    if (child == 0) {
        execv(argv[2], argv + 2);
        _exit(127);
    }
    int status;
    struct rusage usage;
    if (wait4(child, &status, 0, &usage) < 0) return 125;
    FILE *out = fopen(argv[1], "w");
    if (!out) return 125;
    fprintf(out, "%.6f %ld\n",
            (double)(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) + 1e-6 * (double)(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec),
            usage.ru_maxrss);
    fclose(out);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 126;
}
