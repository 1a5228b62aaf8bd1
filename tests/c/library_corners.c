// Less common parts of the C library: options, wide texts, generators, environments, sets, formats of time.
#define _GNU_SOURCE
#include <complex.h>
#include <fenv.h>
#include <getopt.h>
#include <inttypes.h>
#include <math.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>
#include <wchar.h>
#include <wctype.h>

static void options(void) {
    char *argv[] = {"prog",    "one",    "-a", "-bvalue", "two", "-c", "arg", "--long=7",
                    "--other", "--take", "x",  "-z",      "--",  "-a", NULL};
    int argc = 14, c, index = -1, seen = 0;
    struct option rows[] = {{"long", required_argument, NULL, 'L'},
                            {"other", no_argument, &seen, 42},
                            {"take", required_argument, NULL, 'T'},
                            {0, 0, 0, 0}};
    opterr = 0;
    optind = 0;
    while ((c = getopt_long(argc, argv, "ab:c:", rows, &index)) != -1)
        printf("%d:%s:%d ", c, optarg ? optarg : "-", c == '?' ? optopt : 0);
    printf("| %d %d %d |", optind, index, seen);
    for (int i = optind; i < argc; i++) printf(" %s", argv[i]);
    char *plain[] = {"prog", "-xy", "stop", "-x", NULL};
    optind = 0;
    printf(" |");
    while ((c = getopt(4, plain, "+xy")) != -1) printf(" %c", c);
    printf(" %d\n", optind);
}

static void wide(void) {
    wchar_t text[64] = L"alpha beta,gamma", *rest, *word, out[40];
    for (word = wcstok(text, L" ,", &rest); word; word = wcstok(NULL, L" ,", &rest))
        printf("%ls/%zu ", word, wcslen(word));
    printf("%d %ls\n", swprintf(out, 40, L"%d %s %5.2f", -3, "bytes", 2.5), out);
    wcscpy(text, L"a1B2 ");
    wcsncat(text, L"tail and more", 4);
    printf("%ls %zu %zu %ls %d\n", text, wcsspn(text, L"1aB"), wcscspn(text, L" "), wcsstr(text, L"ta"),
           wcscmp(text, L"a2"));
    for (int i = 0; text[i]; i++)
        putchar(iswalpha(text[i]) ? (int)towupper(text[i]) : iswdigit(text[i]) ? '#' : '_');
    printf(" %ld %lu %g ", wcstol(L" -12x", &rest, 10), wcstoul(L"ff", NULL, 16), wcstod(L"1.5e2", NULL));
    char bytes[16];
    printf("%zu %zu ", wcstombs(bytes, L"to bytes", 16), mbstowcs(out, "to wide", 40));
    printf("%s %ls %d %d\n", bytes, out, mblen("x", 1), iswctype(L'3', wctype("digit")) != 0);
}

static void numbers(void) {
    unsigned seed = 7;
    unsigned short state[3] = {1, 2, 3};
    srand48(5);
    long first = lrand48(), second = mrand48();
    printf("%ld %ld %.6f %ld %d\n", first, second, drand48(), nrand48(state), rand_r(&seed));
    double whole, s, c;
    int q, sign;
    sincos(0.5, &s, &c);
    double rest = remquo(17, 5, &q), gamma = lgamma_r(-0.5, &sign), part = modf(-2.75, &whole);
    printf("%.6f %.6f %.6f %.6f %d ", s, c, rest, gamma, sign);
    printf("%d %g %g %d\n", q, part, whole, scalbln(3, 4) == 48);
    fesetround(FE_UPWARD);
    volatile double one = 1, three = 3;
    volatile double up = one / three; // divided before the direction changes back
    long rounded = lrint(one + 0.25);
    fesetround(FE_TONEAREST);
    printf("%d %ld %d\n", up > one / three, rounded, fegetround() == FE_TONEAREST);
    printf("%.4f %.4f\n", creal(csqrt(-4 + 0 * I)), cimag(cexp(I)));
}

static int by_key(const void *a, const void *b, void *order) {
    return (*(const int *)a - *(const int *)b) * *(int *)order;
}

static void texts(void) {
    char buffer[32] = "key=value", *end = memccpy(buffer + 16, "abc;def", ';', 8);
    printf("%d %s ", (int)(end - buffer), (char *)memmem(buffer, 9, "va", 2));
    end = stpncpy(buffer, "xy", 5);
    printf("%d %s ", (int)(end - buffer), buffer);
    printf("%d %d %s\n", strverscmp("a10", "a9") > 0, ffsll(1LL << 40), basename("/usr/lib/x.so"));
    setenv("QL_A", "first", 1);
    setenv("QL_A", "second", 0);
    printf("%s ", getenv("QL_A"));
    unsetenv("QL_A");
    printf("%d ", getenv("QL_A") == NULL);
    int v[] = {3, 1, 2}, order = -1;
    qsort_r(v, 3, sizeof *v, by_key, &order);
    printf("%d%d%d\n", v[0], v[1], v[2]);
    time_t day = 86400 * 365;
    struct tm t = *gmtime(&day);
    printf("%s", asctime(&t));
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    printf("%d %d %" PRIdMAX "\n", sigismember(&set, SIGTERM), sigismember(&set, SIGINT),
           strtoimax("-99", NULL, 10));
}

static void maps(void) {
    int *p = mmap(NULL, 10000, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0), sum = 0;
    if (p == MAP_FAILED) return;
    for (int i = 0; i < 2500; i++) sum += p[i] += i;
    printf("%d %d\n", sum, munmap(p, 10000));
}

int main(void) {
    options();
    wide();
    numbers();
    texts();
    maps();
    printf("%2$d %1$s|%1$5s|%3$*2$d %4$.2f %5$lld\n", "ab", 7, 42, 2.5, 1LL << 40);
    printf("%12p|%-12p|\n", (void *)0x1234, (void *)0);
    return 0;
}
