// A simulation by events: a binary heap of tagged unions, handlers in a table, queues of customers in a ring, statistics.
#include <stdio.h>
#include <string.h>

enum kind { ARRIVE, SERVED, BREAK, REPORT, KINDS };
struct event {
    unsigned long long at : 40;
    unsigned kind : 3, clerk : 5;
    union { struct { unsigned customer, patience; } visit; struct { signed char clerk; unsigned length; } pause; const char *title; } u;
};
struct heap { int n; struct event e[64]; };
struct clerk { unsigned customer; int busy, away; unsigned long long worked; };
struct queue { unsigned ring[16]; unsigned char head, tail; };

static struct heap heap;
static struct clerk clerks[3];
static struct queue waiting;
static unsigned long long now;
static unsigned seed = 99, left, served, reports;

static unsigned dice(unsigned n) { return (seed = seed * 1664525u + 1013904223u) / (0xffffffffu / n + 1); }
static void push(struct event e) {
    int i = heap.n++;
    for (; i && heap.e[(i - 1) / 2].at > e.at; i = (i - 1) / 2) heap.e[i] = heap.e[(i - 1) / 2];
    heap.e[i] = e;
}
static struct event pop(void) {
    struct event top = heap.e[0], last = heap.e[--heap.n];
    int i = 0, c;
    while ((c = 2 * i + 1) < heap.n) {
        if (c + 1 < heap.n && heap.e[c + 1].at < heap.e[c].at) c++;
        if (last.at <= heap.e[c].at) break;
        heap.e[i] = heap.e[c], i = c;
    }
    return heap.e[i] = last, top;
}
static unsigned length(const struct queue *q) { return (unsigned)(q->tail - q->head) & 15; }
static void serve(int c) {
    struct clerk *k = &clerks[c];
    if (k->busy || k->away || !length(&waiting)) return;
    k->customer = waiting.ring[waiting.head++ & 15], k->busy = 1;
    unsigned took = 20 + dice(50);
    k->worked += took;
    push((struct event){.at = now + took, .kind = SERVED, .clerk = (unsigned)c});
}
static void arrive(const struct event *e) {
    if (length(&waiting) >= e->u.visit.patience) left++;
    else waiting.ring[waiting.tail++ & 15] = e->u.visit.customer;
    for (int c = 0; c < 3; c++) serve(c);
    if (e->u.visit.customer < 400)
        push((struct event){now + 5 + dice(20), ARRIVE, 0, {.visit = {e->u.visit.customer + 1, 3 + dice(8)}}});
}
static void leave(const struct event *e) { served++, clerks[e->clerk].busy = 0, serve((int)e->clerk); }
static void pause(const struct event *e) {
    struct clerk *k = &clerks[e->u.pause.clerk];
    k->away = !k->away;
    if (!k->away) serve(e->u.pause.clerk);
    else push((struct event){.at = now + e->u.pause.length, .kind = BREAK, .u.pause = e->u.pause});
}
static void report(const struct event *e) {
    printf("%s %llu: %u served, %u left, %u wait, %d%d%d\n", e->u.title, now, served, left, length(&waiting), clerks[0].busy, clerks[1].busy,
           clerks[2].busy);
    if (++reports < 5) push((struct event){.at = now * 2, .kind = REPORT, .u = {.title = e->u.title + 1}});
}
static void (*const handlers[KINDS])(const struct event *) = {[REPORT] = report, [ARRIVE] = arrive, [BREAK] = pause, [SERVED] = leave};

int main(void) {
    push((struct event){3, ARRIVE, 0, {.visit = {1, 9}}});
    push((struct event){.at = 300, .kind = REPORT, .u.title = "00000at"});
    for (int c = 0; c < 3; c++) push((struct event){.at = 500u * (unsigned)(c + 1), .kind = BREAK, .u.pause = {(signed char)c, 200}});
    unsigned long long order = 0;
    int events = 0;
    while (heap.n) {
        struct event e = pop();
        if (e.at < order) printf("out of order\n");
        now = order = e.at;
        handlers[e.kind](&e), events++;
    }
    printf("%d %llu %llu %llu %llu\n", events, now, clerks[0].worked, clerks[1].worked, clerks[2].worked);
    return (int)(served + left) & 127;
}
