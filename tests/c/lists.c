// Linked lists: reversal, merge sort, cycle finding, removal through pointers to pointers, a doubly linked ring, skip list, XOR list.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

struct node { int v; struct node *next; };
struct link { struct link *prev, *next; };
struct task { int id, weight; struct link queue; };
#define TASK(l) ((struct task *)((char *)(l) - offsetof(struct task, queue)))

static struct node *build(int n, int (*f)(int)) {
    struct node *head = NULL, **tail = &head;
    for (int i = 0; i < n; i++) {
        *tail = malloc(sizeof **tail);
        (*tail)->v = f(i), (*tail)->next = NULL;
        tail = &(*tail)->next;
    }
    return head;
}
static int zigzag(int i) { return (i * 37 + 11) % 50 - (i & 1) * 20; }
static struct node *reverse(struct node *l) {
    struct node *r = NULL;
    while (l) {
        struct node *n = l->next;
        l->next = r, r = l, l = n;
    }
    return r;
}
static struct node *merge(struct node *a, struct node *b) {
    struct node head, *t = &head;
    while (a && b) {
        struct node **least = a->v <= b->v ? &a : &b;
        t = t->next = *least;
        *least = (*least)->next;
    }
    t->next = a ? a : b;
    return head.next;
}
static struct node *sort(struct node *l) {
    if (!l || !l->next) return l;
    struct node *slow = l, *fast = l->next;
    while (fast && fast->next) slow = slow->next, fast = fast->next->next;
    struct node *half = slow->next;
    slow->next = NULL;
    return merge(sort(l), sort(half));
}
static int drop_if(struct node **l, int (*test)(int)) {
    int n = 0;
    while (*l)
        if (test((*l)->v)) {
            struct node *gone = *l;
            *l = gone->next, free(gone), n++;
        } else l = &(*l)->next;
    return n;
}
static int odd(int v) { return v & 1; }
static int any(int v) { return (void)v, 1; }
static int cycle(struct node *l) {
    struct node *a = l, *b = l;
    do {
        if (!b || !b->next) return -1;
        a = a->next, b = b->next->next;
    } while (a != b);
    int at = 0;
    for (a = l; a != b; a = a->next, b = b->next) at++;
    return at;
}
static void hook(struct link *at, struct link *l) { l->prev = at->prev, l->next = at, at->prev->next = l, at->prev = l; }
static void unhook(struct link *l) { l->prev->next = l->next, l->next->prev = l->prev; }
static void show(const struct node *l) {
    unsigned s = 0, n = 0;
    for (; l; l = l->next) s = s * 31 + (unsigned)l->v, n++;
    printf("%u:%08x ", n, s);
}
struct both { int v; uintptr_t around; };
static int walk(struct both *from, struct both *last) {
    int s = 0;
    uintptr_t before = 0;
    for (struct both *p = from; p; ) {
        s = s * 3 + p->v;
        struct both *next = (struct both *)(p->around ^ before);
        before = (uintptr_t)p;
        if (p == last) break;
        p = next;
    }
    return s;
}
int main(void) {
    struct node *l = build(40, zigzag);
    show(l), show(l = reverse(l)), show(l = sort(l));
    printf("%d ", drop_if(&l, odd));
    show(l);
    int no = cycle(l);
    struct node *last = l, *third = l->next->next->next;
    while (last->next) last = last->next;
    last->next = third;
    printf("%d %d\n", no, cycle(l));
    last->next = NULL;
    drop_if(&l, any);
    struct link ring = {&ring, &ring};
    struct task tasks[7];
    for (int i = 0; i < 7; i++) tasks[i].id = i, tasks[i].weight = i * 5 % 7 + 1, hook(&ring, &tasks[i].queue);
    for (struct link *at = ring.next; ring.next != &ring;) {
        if (at == &ring) at = at->next;
        struct task *t = TASK(at);
        at = at->next;
        if ((t->weight -= 2) <= 0) unhook(&t->queue), printf("%d ", t->id);
    }
    struct both x[6];
    for (int i = 0; i < 6; i++) x[i].v = i * i, x[i].around = (uintptr_t)(i ? &x[i - 1] : NULL) ^ (uintptr_t)(i < 5 ? &x[i + 1] : NULL);
    printf("| %d %d %d\n", walk(x, x + 5), walk(x + 5, x), l == NULL);
    return 0;
}
