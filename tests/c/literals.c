// Statement expressions, compound literals, designated initialisers, nested braces, arrays sized by their initialisers.
#include <stdio.h>
#include <string.h>

struct point { int x, y; };
struct line { struct point from, to; char name[6]; };
struct shape { int kind; union { struct point c; struct line l; double r[2]; } u; int tail[]; };
enum { MON, TUE, WED, THU, FRI, SAT, SUN, DAYS };

static const char *const day[DAYS] = {[TUE] = "tue", [MON] = "mon", [SUN] = "sun", [WED ... FRI] = "mid"};
static int sparse[] = {1, 2, [10] = 3, 4, [5] = 9, 10, [1] = 7};
static struct line lines[] = {[2] = {{1, 2}, {3, 4}, "abcdef"}, [0] = {.to.y = 5, .name = {'x', [3] = 'y'}}, {{6}}};
static struct point *where = (struct point[]){{1, 2}, {3, 4}, {5, 6}};
static int *numbers = (int[5]){1, [3] = 4};
static struct { struct { int a, b; } in[2]; int t; } flat = {1, 2, 3, 4, 5};
static char text[2][4] = {"abc", {"de"}};
static char exact[3] = "xyz", sized[] = "sized", braces[] = {"in braces"};
static struct line self = {.from = {.y = sizeof self, .x = 3}, .from.x = 9};
static double matrix[3][3] = {[0][0] = 1, [1] = {[1] = 2.5}, [2][2] = -1};
static char *const *names = (char *const[]){"ann", "bob", 0};
static const void *addresses[] = {&lines[2].to.y, sparse + 5, &text[1][1], (char *)&flat + 4, "text" + 1};

#define MAX(a, b) ({ __typeof__(a) a_ = (a); __typeof__(b) b_ = (b); a_ > b_ ? a_ : b_; })
#define SWAP(a, b) do { __typeof__(a) t_ = a; a = b; b = t_; } while (0)

static int dist(struct point a, const struct point *b) { return (a.x - b->x) * (a.x - b->x) + (a.y - b->y) * (a.y - b->y); }
static struct point mid(struct line l) { return (struct point){(l.from.x + l.to.x) / 2, (l.from.y + l.to.y) / 2}; }
static int sum(const int *p) {
    int s = 0;
    while (*p) s += *p++;
    return s;
}
static struct point *fresh(struct point *store, int v) { return *store = (struct point){.y = v}, store; }

int main(void) {
    int total = 0;
    for (int i = 0; i < DAYS; i++) printf("%s ", day[i] ? day[i] : "-");
    for (unsigned i = 0; i < sizeof sparse / sizeof *sparse; i++) printf("%d ", sparse[i]), total += sparse[i];
    printf("\n%d %d %.6s %d %d\n", lines[2].to.x, lines[0].to.y, lines[2].name, lines[0].name[3], lines[1].from.x);
    printf("%d %d %d %d\n", where[2].y, numbers[3], numbers[4], flat.in[1].b + flat.t);
    printf("%s %s %.3s %u %u\n", text[0], text[1], exact, (unsigned)sizeof sized, (unsigned)sizeof braces);
    printf("%d %d %g %g\n", self.from.x, self.from.y, matrix[1][1], matrix[2][2] + matrix[0][1]);
    printf("%d %d %c %d %s\n", *(const int *)addresses[0], *(const int *)addresses[1], *(const char *)addresses[2],
           *(const int *)addresses[3], (const char *)addresses[4]);
    for (char *const *p = names; *p; p++) printf("%s ", *p);
    printf("%d %d\n", dist((struct point){1, 2}, &(struct point){4, 6}), mid((struct line){{1, 2}, {.y = 10, .x = 5}}).y);
    printf("%d %d\n", sum((int[]){5, 6, 7, 0}), sum((int[8]){[0 ... 6] = total}));
    for (int i = 0; i < 3; i++) {
        struct point p = {i}, *q = &(struct point){.y = i * i};
        q->x += p.x + p.y;
        int a[4] = {[2] = i, i + 1};
        total += q->x + q->y + a[0] + a[2] * a[3];
    }
    int big = ({ int s = 0; for (int i = 0; i < 5; i++) { if (i == 3) continue; s += i; } s; });
    struct point best = ({ struct point r = {0, 0}; for (int i = 0; i < 3; i++) if (where[i].x > r.x) r = where[i]; r; });
    printf("%d %d %d %g\n", total, best.x, MAX(big++, total), MAX(1.5, 1));
    SWAP(best.x, best.y);
    SWAP(lines[0], lines[2]);
    printf("%d %d %d %s\n", best.x, best.y, lines[0].from.y, ({ char *p = sized; p + 2; }));
    struct point store, *p = fresh(&store, ({ total & 1 ? 3 : 4; }));
    printf("%d %d %d\n", p->x, p->y, ((struct point){7, 8}).y);
    struct shape s = {.kind = 2, .u.r = {[1] = 2.5}}, z = {0};
    s.u.l = (struct line){.name = "abc"};
    strcat(s.u.l.name, "d");
    printf("%s %d %d\n", s.u.l.name, z.u.l.to.x, (int)sizeof(struct shape));
    if (({ int k = total; k > 5; }) && ({ goto skip; 1; })) total = 0;
skip:
    while (({ total -= 3; total > 20; }))
        ;
    char local[] = {'a', 'b', [5] = 'c', 0}, grown[8] = "hi";
    printf("%u %d %d %d\n", (unsigned)sizeof local, local[4], local[5], grown[7]);
    return (total + big) & 0x7f;
}
