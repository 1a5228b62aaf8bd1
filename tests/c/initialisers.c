// Initial values: nested designators, addresses with offsets, arrays of texts, unions, bit-fields, functions, wide texts, ranges.
// host: no
#include <stddef.h>
#include <stdio.h>
#include <wchar.h>

struct inner { short s[3]; char name[6]; };
struct outer { int n; struct inner in[2]; const char *text; int *where; int (*call)(int); unsigned a : 3, b : 7, : 4, c : 9; signed d : 5; };
static int numbers[10] = {[0 ... 3] = 7, [5] = 1, 2, [9] = -1};
static int inc(int v) { return v + 1; }
static struct outer table[] = {
    {1, {{{1, 2}, "one"}, {{[2] = 9}, {'x', 'y'}}}, "first", &numbers[5], inc, 5, 100, 300, -7},
    [2] = {.n = 3, .in[1].s[1] = 4, .in[0].name = "abcdef", .where = numbers + 3, .c = 511, .text = "third" + 2},
};
static const char *const words[][2] = {{"a", "b"}, {"c"}, {[1] = "d"}};
static const char flat[][4] = {"abc", "de", "", "wxyz"};
static union { double d; unsigned char b[8]; int i[2]; } u1 = {1.0}, u2 = {.b = {1, 2, [7] = 3}}, u3 = {.i[1] = 5};
static struct { char c; struct { int x; union { int y; float z; }; }; } anon = {'k', {1, {.z = 2.5f}}};
static int *chain0 = numbers, **chain1 = &chain0, ***chain2 = &chain1;
static const size_t sizes[] = {sizeof table, offsetof(struct outer, text), sizeof(struct inner[3]), sizeof(words[0])};
static char *between = (char *)&table[1].in[1].s[2] - 1;
static const wchar_t wide[] = L"w\x00e4\u20ac";
static double computed = 1.0 / 3 + 2 * (3 > 2), hexed = 0x1.8p3, huge = 1e300 * 10;
static long long big = (1ll << 40) - 1 + (unsigned char)300 * sizeof(int);
static unsigned char flags[4] = {1 << 7 | 1, ~0 & 0xff, 'A' + 1, (unsigned char)-2};
static struct node { int v; struct node *next; } ring[3] = {{1, ring + 1}, {2, ring + 2}, {3, ring}};
static int zeroed[1000], (*matrix)[5] = (int[][5]){{1, 2}, {[4] = 3}};
// A later designator changes a part of what an earlier one gave.
struct label {
    char text[6];
    int number;
} labels[] = {{{"foo"}, 1}, [0].text[0] = 'b'},
  short_label[] = {{{"foo"}, 1}, [0].text = {"a"}, [0].number = 2};
struct part {
    int first;
    short pair[2];
    unsigned low : 5, high : 7;
};
struct whole {
    struct part a, b;
    int last;
} again = {.a = {1, {2, 3}, 4, 5}, .a.pair[1] = 0, .a.low = 0, .last = 3, .b.high = 2};

static void designated_again(void) {
    struct whole here = {.a = {1, {2, 3}, 4, 5}, .a.pair[1] = 0, .a.low = 0, .last = 3, .b.high = 2};
    struct label there[2] = {{{"foo"}, 1}, [0].text[0] = 'b', [1] = {"xy"}, [1].text[1] = 'z'};
    printf("%s %d %s %d %s %d %s\n", labels[0].text, labels[0].number, short_label[0].text,
           short_label[0].number, there[0].text, there[0].number, there[1].text);
    for (struct whole *p = &again; p; p = p == &again ? &here : 0)
        printf("%d %d %d %d %d %d %d\n", p->a.first, p->a.pair[0], p->a.pair[1], p->a.low, p->a.high, p->last,
               p->b.high);
}

int main(void) {
    for (int i = 0; i < 10; i++) printf("%d ", numbers[i]);
    for (int i = 0; i < 3; i++) {
        struct outer *o = table + i;
        printf("\n%d %d %d %d %.6s|%.6s %s %d %d %u %u %u %d", o->n, o->in[0].s[1], o->in[1].s[1], o->in[1].s[2], o->in[0].name,
               o->in[1].name, o->text ? o->text : "-", o->where ? *o->where : -9, o->call ? o->call(41) : 0, o->a, o->b, o->c, o->d);
    }
    printf("\n%s%s%s %s %.4s%d\n", words[0][1], words[1][0], words[2][1], words[1][1] ? "?" : "null", flat[3], flat[2][0]);
    printf("%g %d %d %d\n", u1.d, u2.b[1], u2.b[7], u3.i[0] + u3.i[1]);
    printf("%c %d %g %d\n", anon.c, anon.x, (double)anon.z, ***chain2);
    for (unsigned i = 0; i < sizeof sizes / sizeof *sizes; i++) printf("%u ", (unsigned)sizes[i]);
    printf("%d %d %d\n", (int)(between - (char *)table), (int)(sizeof wide / sizeof *wide), (int)wide[2]);
    printf("%.6f %g %g %lld %d %d %d %d\n", computed, hexed, huge, big, flags[0], flags[1], flags[2], flags[3]);
    struct outer local[2] = {table[0], {.in = {[1] = {.s = {5}, .name = "q"}}}};
    char text[] = "sized", part[3] = "abc", empty[8] = "";
    int s = 0;
    for (struct node *n = ring; s < 50; n = n->next) s += n->v;
    printf("%d %d %s %d %d %d %d %d\n", local[0].in[0].s[0], local[1].in[1].s[0], local[1].in[1].name, (int)sizeof text, part[2], empty[7], s,
           zeroed[999] + matrix[1][4]);
    designated_again();
    return 0;
}
