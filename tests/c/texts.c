// printf and scanf formats, string to number conversions with their errors, files written and read back.
// host: no
#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void numbers(const char *s, int base) {
    char *end;
    errno = 0;
    long l = strtol(s, &end, base);
    printf("%ld %d %d|", l, (int)(end - s), errno);
    errno = 0;
    unsigned long u = strtoul(s, &end, base);
    printf("%lu %d|", u, errno);
    errno = 0;
    long long ll = strtoll(s, &end, base);
    printf("%lld %d|", ll, errno);
    errno = 0;
    unsigned long long ull = strtoull(s, NULL, base);
    printf("%llu %d\n", ull, errno);
}

int main(void) {
    printf("[%5d][%-5d][%05d][%+d][% d][%x][%#X][%#o][%.3d][%8.3d]\n", 42, 42, 42, 42, 42, 255, 255, 8, 7, -7);
    printf("[%hhd][%hd][%ld][%lld][%zu][%td][%hhu][%llx]\n", 300, 70000, -5L, -1LL << 40, sizeof(int), (ptrdiff_t)-3, 511, ~0ull);
    printf("[%10.3f][%-10.2e][%g][%G][%+.0f][%#.0f][%010.2f][%g][%g]\n", 3.14159, 31415.9, 1e-5, 1e20, 2.5, 3.0, -1.5, 1e5, 1234567.0);
    printf("[%s][%10s][%-6s][%.2s][%*s][%-*s][%.*s]\n", "abc", "abc", "abc", "abc", 5, "ab", 4, "cd", 1, "xyz");
    printf("[%c][%3c][%%][%5.1f%%]\n", 'x', 'y', 99.5);
    printf("[%f][%e][%F][%5.2g]\n", 1.0 / 3, 0.0, 1e10, 0.00012345);
    int n;
    printf("count%n", &n);
    char b[16];
    int need = snprintf(b, sizeof b, "%s-%d", "truncated text", 5);
    printf(" %d %d %s\n", n, need, b);
    static const char *const samples[] = {"123", "  -77x", "0x1fG", "0777", "", "abc", "99999999999", "-99999999999999999999", "+5"};
    for (int i = 0; i < 9; i++) numbers(samples[i], 0), numbers(samples[i], 10), numbers(samples[i], 16), numbers(samples[i], 36);
    char *end;
    const char *f = "1.5e3abc";
    double d = strtod(f, &end);
    printf("%g %s %g %g %d %lld\n", d, end, strtod("-.25", NULL), atof("0x1p4"), atoi(" 12b"), atoll("-1234567890123"));
    int a, c;
    short h;
    long long w;
    float g;
    char word[10], rest[10], ch;
    int k = sscanf("12 -7 0x1f hello,world 2.5e1 99999999999 z", "%d %hd %i %9[a-z],%9s %f %lld %c", &a, &h, &c, word, rest, &g, &w, &ch);
    printf("%d %d %d %d %s %s %g %lld %c\n", k, a, h, c, word, rest, g, w, ch);
    int used;
    k = sscanf("5:06:7x", "%d:%2d:%d%n", &a, &c, &n, &used);
    printf("%d %d %d %d %d\n", k, a, c, n, used);
    printf("%d %d\n", sscanf("", "%d", &a), sscanf("q", "%d", &a));
    FILE *t = tmpfile();
    if (!t) return 1;
    for (int i = 0; i < 10; i++) fprintf(t, "line %d %x\n", i, i * i * 37);
    rewind(t);
    char line[40];
    int lines = 0, sum = 0, v;
    while (fgets(line, sizeof line, t)) lines++, sum += sscanf(line, "line %*d %x", &v) == 1 ? v : 0;
    printf("%d %d %d %ld\n", lines, sum, !!feof(t), ftell(t));
    fseek(t, 5, SEEK_SET);
    k = fgetc(t), ungetc('Q', t);
    a = fgetc(t), c = fgetc(t);
    printf("%c%c%d ", k, a, c);
    fseek(t, -4, SEEK_END);
    size_t got = fread(line, 1, sizeof line, t);
    printf("%d %.3s\n", (int)got, line);
    fseek(t, 0, SEEK_SET);
    struct { int x; double y; } out[3] = {{1, 2.5}, {3, 4.5}, {5, 6.5}}, in[3];
    fwrite(out, sizeof *out, 3, t);
    rewind(t);
    printf("%d %d\n", (int)fread(in, sizeof *in, 3, t), in[2].x + (int)(in[1].y * 2));
    fclose(t);
    puts("end");
    fputs("no newline", stdout);
    putchar('\n');
    return (sum + a + c) & 0x7f;
}
