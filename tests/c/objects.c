// Classes in C: tables of functions, a common head, containers of shapes, reference counts, a visitor.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct shape;
struct class {
    const char *name;
    double (*area)(const struct shape *);
    void (*scale)(struct shape *, double);
    void (*drop)(struct shape *);
    const struct class *base;
};
struct shape { const struct class *is; int refs; };
struct box { struct shape head; double w, h; };
struct ring { struct shape head; double r, hole; };
struct group { struct shape head; int n; struct shape **members; };

static double no_area(const struct shape *s) { return (void)s, 0; }
static double box_area(const struct shape *s) {
    const struct box *b = (const struct box *)s;
    return b->w * b->h;
}
static void box_scale(struct shape *s, double k) {
    struct box *b = (struct box *)s;
    b->w *= k, b->h *= k;
}
static double ring_area(const struct shape *s) {
    const struct ring *r = (const void *)s;
    return 3 * (r->r * r->r - r->hole * r->hole);
}
static void ring_scale(struct shape *s, double k) { ((struct ring *)s)->r *= k, ((struct ring *)s)->hole *= k; }
static double group_area(const struct shape *s) {
    double sum = 0;
    const struct group *g = (const struct group *)s;
    for (int i = 0; i < g->n; i++) sum += g->members[i]->is->area(g->members[i]);
    return sum;
}
static void group_scale(struct shape *s, double k) {
    struct group *g = (struct group *)s;
    for (int i = 0; i < g->n; i++) g->members[i]->is->scale(g->members[i], k);
}
static int dropped;
static void let_go(struct shape *s) {
    if (--s->refs == 0) s->is->drop(s);
}
static void plain_drop(struct shape *s) { dropped++, free(s); }
static void group_drop(struct shape *s) {
    struct group *g = (struct group *)s;
    while (g->n) let_go(g->members[--g->n]);
    free(g->members);
    plain_drop(s);
}
static const struct class shape_class = {"shape", no_area, NULL, plain_drop, NULL};
static const struct class box_class = {.name = "box", .area = box_area, .scale = box_scale, .drop = plain_drop, .base = &shape_class};
static const struct class ring_class = {"ring", ring_area, ring_scale, plain_drop, &shape_class};
static const struct class square_class = {"square", box_area, box_scale, plain_drop, &box_class};
static const struct class group_class = {"group", group_area, group_scale, group_drop, &shape_class};

static void *make(const struct class *c, size_t n) {
    struct shape *s = calloc(1, n);
    s->is = c, s->refs = 1;
    return s;
}
static struct shape *new_box(const struct class *c, double w, double h) {
    struct box *b = make(c, sizeof *b);
    b->w = w, b->h = h;
    return &b->head;
}
static struct shape *new_ring(double r, double hole) {
    struct ring *g = make(&ring_class, sizeof *g);
    g->r = r, g->hole = hole;
    return &g->head;
}
static void add(struct group *g, struct shape *s) {
    g->members = realloc(g->members, (size_t)(g->n + 1) * sizeof *g->members);
    g->members[g->n++] = s;
    s->refs++;
}
static int is_a(const struct shape *s, const struct class *c) {
    for (const struct class *k = s->is; k; k = k->base)
        if (k == c) return 1;
    return 0;
}
int main(void) {
    struct group *all = make(&group_class, sizeof *all), *inner = make(&group_class, sizeof *inner);
    struct shape *items[] = {new_box(&box_class, 2, 3), new_ring(4, 1), new_box(&square_class, 5, 5), &inner->head, new_ring(1, 0)};
    for (int i = 0; i < 5; i++) add(i == 4 ? inner : all, items[i]);
    add(inner, items[0]);
    for (int i = 0; i < 5; i++)
        printf("%s %.1f %d%d\n", items[i]->is->name, items[i]->is->area(items[i]), is_a(items[i], &box_class), is_a(items[i], &shape_class));
    all->head.is->scale(&all->head, 2);
    printf("%.1f %.1f\n", all->head.is->area(&all->head), items[0]->is->area(items[0]));
    for (int i = 0; i < 5; i++) let_go(items[i]);
    printf("%d\n", dropped);
    let_go(&all->head);
    printf("%d\n", dropped);
    return 0;
}
