// Cleanup functions of variables, and the stack space of variable arrays, on every way out of a block.
#include <stdio.h>
#include <string.h>

static int depth;
static void leave(int *p) { printf("leave %d\n", *p); }
static void close_it(void *p) { depth--; memset(p, 0, 1); }
#define LEAVE __attribute__((cleanup(leave)))

struct two { int a, b; };
static struct two record(int n) {
    LEAVE int x = n;
    struct two t = {x, x + 1};
    x = 100;
    return t;
}

static int ways(int how) {
    LEAVE int first = 1;
    for (LEAVE int i = 10; i < 13; i++) {
        LEAVE int inner = 20 + i;
        if (how == 0) continue;
        if (how == 1) break;
        if (how == 2) return first + inner; // the value is taken before they run
        if (how == 3) goto out;
        { LEAVE int innermost = 40; if (how == 4) goto again; }
        inner = 50;
        continue;
    again:
        inner = 60;
    }
    switch (how) {
    case 0: { LEAVE int in_switch = 4; break; }
    default:;
    }
    int v = ({ LEAVE int s = 70; s + 1; });
    printf("value %d\n", v);
    if (how == 5) { LEAVE int last = 3; return 55 + last; }
out:
    printf("out\n");
    return 5;
}

static unsigned arrays(int n) {
    unsigned sum = 0;
    for (int i = 0; i < n; i++) { // without giving the space back this takes 400 MB of stack
        unsigned char room[i % 2 ? 100000 : 300000];
        memset(room, i & 255, sizeof room);
        sum += room[i & 1023];
        if (i % 3 == 0) continue;
        if (i % 5 == 0) goto next;
        sum ^= (unsigned)sizeof room;
    next:;
    }
    int k = 0;
again: {
        char one[50000 + k % 7];
        one[k % 50000] = 1;
        if (++k < 2000) goto again;
        sum += (unsigned)one[(k - 1) % 50000];
    }
    return sum;
}

int main(void) {
    for (int how = 0; how < 6; how++) printf("way %d: %d\n", how, ways(how));
    struct two t = record(7);
    printf("%d %d\n", t.a, t.b);
    for (int i = 0; i < 5; i++) { __attribute__((cleanup(close_it))) char c = 1; depth++; if (i == 3) break; depth += c; }
    printf("%d %u\n", depth, arrays(2000));
    return 0;
}
