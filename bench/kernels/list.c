// Linked lists: building, searching, reversing, sorting by merging, removing.
#include "kernel.h"

struct item {
    struct item *next;
    int key;
    short weight;
    unsigned char mark;
};

static struct item pool[1500];
static int used;

static struct item *push(struct item *list, int key)
{
    struct item *i = &pool[used++];
    i->next = list;
    i->key = key;
    i->weight = (short)(key % 100);
    i->mark = 0;
    return i;
}

static struct item *reverse(struct item *list)
{
    struct item *done = 0;
    while (list) {
        struct item *next = list->next;
        list->next = done;
        done = list;
        list = next;
    }
    return done;
}

static struct item *merge(struct item *a, struct item *b)
{
    struct item head, *tail = &head;
    while (a && b) {
        struct item **less = a->key <= b->key ? &a : &b;
        tail = tail->next = *less;
        *less = (*less)->next;
    }
    tail->next = a ? a : b;
    return head.next;
}

static struct item *sort(struct item *list)
{
    if (!list || !list->next) return list;
    struct item *slow = list, *fast = list->next;
    while (fast && fast->next) slow = slow->next, fast = fast->next->next;
    struct item *half = slow->next;
    slow->next = 0;
    return merge(sort(list), sort(half));
}

static int find(const struct item *list, int key)
{
    int steps = 0;
    while (list && list->key != key) list = list->next, steps++;
    return list ? steps : -steps;
}

static struct item *remove_odd(struct item *list)
{
    struct item **link = &list;
    while (*link)
        if ((*link)->key & 1) *link = (*link)->next;
        else link = &(*link)->next;
    return list;
}

int main(void)
{
    for (int round = 0; round < 3; round++) {
        struct item *list = 0;
        used = 0;
        for (int i = 0; i < 1500; i++) list = push(list, (int)(next_random() % 10000));
        for (int i = 0; i < 60; i++) mix((unsigned)find(list, (int)(next_random() % 10000)));
        list = sort(reverse(list));
        list = remove_odd(list);
        unsigned sum = 0;
        for (struct item *i = list; i; i = i->next) sum = sum * 3 + (unsigned)i->key - (unsigned)i->weight;
        mix(sum);
    }
    return finish();
}
