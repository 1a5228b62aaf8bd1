// Huffman codes from counts: a heap of nodes, codes by walking, encoding into bits and back.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct NODE { unsigned count; int symbol; struct NODE *kid[2]; } NODE;
static NODE pool[512];
static int used, heap_n;
static NODE *heap[256];
static struct { unsigned bits; int len; } codes[256];

static int less(const NODE *a, const NODE *b) {
    return a->count != b->count ? a->count < b->count : a->symbol < b->symbol;
}
static void push(NODE *n) {
    int i = heap_n++;
    for (; i && less(n, heap[(i - 1) / 2]); i = (i - 1) / 2) heap[i] = heap[(i - 1) / 2];
    heap[i] = n;
}
static NODE *pop(void) {
    NODE *top = heap[0], *last = heap[--heap_n];
    int i = 0;
    for (int c; (c = 2 * i + 1) < heap_n; i = c) {
        if (c + 1 < heap_n && less(heap[c + 1], heap[c])) c++;
        if (!less(heap[c], last)) break;
        heap[i] = heap[c];
    }
    heap[i] = last;
    return top;
}
static void walk(const NODE *n, unsigned bits, int len) {
    if (!n->kid[0]) {
        codes[n->symbol].bits = bits, codes[n->symbol].len = len;
        return;
    }
    for (int b = 0; b < 2; b++) walk(n->kid[b], bits << 1 | (unsigned)b, len + 1);
}
int main(void) {
    static const char text[] = "she sells sea shells by the sea shore; the shells she sells are surely seashells";
    unsigned counts[256] = {0};
    for (const char *p = text; *p; p++) counts[(unsigned char)*p]++;
    for (int i = 0; i < 256; i++)
        if (counts[i]) pool[used] = (NODE){counts[i], i, {NULL, NULL}}, push(&pool[used++]);
    while (heap_n > 1) {
        NODE *a = pop(), *b = pop();
        pool[used] = (NODE){a->count + b->count, 256 + used, {a, b}};
        push(&pool[used++]);
    }
    const NODE *root = pop();
    walk(root, 0, 0);
    for (int i = 0; i < 256; i++)
        if (codes[i].len) {
            printf("%c ", i);
            for (int b = codes[i].len; b--;) putchar('0' + (codes[i].bits >> b & 1));
            putchar('\n');
        }
    unsigned char out[128] = {0};
    int bit = 0;
    for (const char *p = text; *p; p++)
        for (int b = codes[(unsigned char)*p].len; b--; bit++)
            if (codes[(unsigned char)*p].bits >> b & 1) out[bit >> 3] |= (unsigned char)(0x80 >> (bit & 7));
    char back[128];
    int n = 0;
    const NODE *at = root;
    for (int i = 0; i < bit; i++) {
        at = at->kid[out[i >> 3] >> (7 - (i & 7)) & 1];
        if (!at->kid[0]) back[n++] = (char)at->symbol, at = root;
    }
    back[n] = 0;
    printf("%d bits, %s\n", bit, strcmp(text, back) ? "WRONG" : back);
    return 0;
}
