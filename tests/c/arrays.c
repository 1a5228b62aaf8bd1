// Arrays of arrays, pointers to arrays, pointer arithmetic and differences, arrays as parameters, negative indices.
#include <stdio.h>
#include <string.h>

static int cube[3][4][5];
static short tri[4][4] = {{1}, {1, 1}, {1, 2, 1}, {1, 3, 3, 1}};
static const char *const words[][3] = {{"one", "two", "three"}, {"eins", "zwei"}, {"un", [2] = "trois"}};
static char grid[3][8] = {"first", "second", "thirdxyz"};
static int (*rows)[4][5] = cube + 1;
static int *inner = &cube[2][1][3];

static int sum_rows(int a[][5], int n) {
    int s = 0;
    for (int i = 0; i < n; i++)
        for (int j = 0; j < 5; j++) s += a[i][j] * (i + 1);
    return s;
}
static int sum_block(int (*a)[4][5], int n) {
    int s = 0;
    for (int (*p)[4][5] = a; p < a + n; p++)
        for (int (*q)[5] = *p; q != *p + 4; q++)
            for (int *r = *q; r < *q + 5; r++) s = s * 3 + *r;
    return s;
}
static int (*pick(int n))[5] { return cube[n] + 1; }
static void transpose(int n, double m[n][n]) {
    for (int i = 0; i < n; i++)
        for (int j = 0; j < i; j++) {
            double t = m[i][j];
            m[i][j] = m[j][i];
            m[j][i] = t;
        }
}
static long total(const short *from, const short *to) {
    long s = 0;
    while (to > from) s = s * 2 + *--to;
    return s;
}

int main(void) {
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 4; j++)
            for (int k = 0; k < 5; k++) cube[i][j][k] = i * 100 + j * 10 + k;
    printf("%d %d %d\n", sum_rows(cube[1], 4), sum_block(cube, 3), sum_block(rows, 2));
    printf("%d %d %d\n", (*rows)[2][3], rows[1][0][4], rows[-1][1][1]);
    printf("%d %d %d\n", *inner, inner[-3], *(inner - 20));
    printf("%d %d\n", (*pick(2))[2], pick(0)[1][0]);
    printf("%d %d %d\n", (int)(&cube[2][0][0] - &cube[0][3][1]), (int)(&cube[2] - &cube[0]), (int)(cube[1] - cube[0]));
    printf("%u %u %u\n", (unsigned)sizeof cube, (unsigned)sizeof *cube, (unsigned)sizeof **rows);
    printf("%ld %ld\n", total(tri[0], tri[4]), total(*tri + 5, tri[3]));
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++) printf("%s ", words[i][j] ? words[i][j] : "-");
    printf("\n%c%c %.8s %d\n", words[0][2][1], *words[1][1], grid[2], (int)strlen(grid[1]));
    char *p = grid[0] + 7;
    *p = '!', p[-1] = '?', p[-2] = '#', 1 [p] = 'S';
    printf("%.16s\n", grid[0]);
    double m[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    transpose(3, m);
    printf("%g %g %g\n", m[0][1], m[2][0], (*(m + 1))[2]);
    int local[2][2] = {1, 2, 3, 4}, copy[2][2];
    memcpy(copy, local, sizeof local);
    copy[1][0] += local[0][1]++ + --local[1][1];
    printf("%d %d %d\n", copy[1][0], local[0][1], local[1][1]);
    int *ends[] = {&local[0][0], &copy[1][1], inner, cube[0][0]}, **pp = ends;
    int (*whole)[2][2] = &local;
    printf("%d %d %d\n", **pp + *pp[1], ***whole, (*whole)[1][1]);
    *(*(pp += 2))-- += 5;
    printf("%d %d\n", cube[2][1][3], *ends[2]);
    unsigned char idx = 3;
    signed char neg = -1;
    long long wide = 2;
    printf("%d %d %d\n", cube[1][idx][wide], inner[neg], (&cube[1][idx])[neg][wide]);
    printf("%d%d%d\n", &cube[0][0][0] < inner, inner == &cube[2][1][3], ends + 4 > pp);
    return sum_block(cube, 3) & 0xff;
}
