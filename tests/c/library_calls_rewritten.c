/* Library calls with literal arguments: the ones that may become cheaper calls, each beside one that must not. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static char text[64];
static int steps;
static char *next(void) { return text + 8 * steps++; }
static int count(int n) { steps += n; return n; }

int main(void) {
    puts("puts is there");
    fputs("fputs is there\n", stdout);
    printf("plain\n");
    printf("no newline");
    printf("\n");
    printf("percent %%\n");
    printf("cut\0 here\n");
    printf("%s", "argument\n");
    int written = printf("result used\n");
    printf("%d\n", written);
    printf("%d\n", printf("twelve chars\n"));
    fprintf(stdout, "to a stream\n");
    fprintf(stdout, "percent %% again\n");
    written = fprintf(stdout, "used too\n");
    printf("%d\n", written + (printf("in a comma\n"), 3));

    printf("%d %d %d\n", (int)strlen("four"), (int)strlen("cut\0off"), (int)strlen(""));
    printf("%d\n", (int)strlen("skipped" + 3));
    char *d = strcpy(next(), "abc");
    printf("%s %d %d\n", d, (int)(d - text), steps);
    memset(text, '#', 40);
    strcpy(text, "ab\0cd");
    printf("%d %c %c\n", text[2], text[3], text[4]);
    printf("%s\n", (char *)memmove(text + 1, "moved", 6));
    memmove(text + 1, text, 6);
    printf("%s\n", text);
    printf("%d\n", memcpy(next(), "x", 0) == text + 8);

    struct pair { int a, b; } p = {1, 2}, q;
    memcpy(&q, &p, sizeof q);
    memcpy(&p.a, &q.b, sizeof p.a);
    unsigned bits;
    float one = 1.0f;
    memcpy(&bits, &one, sizeof bits);
    int two[2] = {7, 8}, copy[2];
    memcpy(copy, two, sizeof two);
    printf("%d %d %d %d %x %d %d\n", p.a, p.b, q.a, q.b, bits, copy[0], copy[1]);

    /* effects leave argument lists in their order */
    int x = 1;
    steps = 0;
    printf("%d\n", abs((count(2), count(3) - 7)));
    printf("%d\n", abs((x = 3, -4)));
    printf("%d %d\n", x, steps);
    return (x = 3) + steps;
}
