// Switches: dense, sparse, ranges, negative, 64 bits, chars, enums, nested, in loops, with jumps in, one case, only default.
#include <limits.h>
#include <stdio.h>

enum color { RED, GREEN = 5, BLUE, NONE = -1 };
static int dense(int v) {
    switch (v) {
    case 0: return 11;
    case 1: return 7;
    case 2: return 5;
    case 3: return 3;
    case 4: return 2;
    case 5: return 1;
    case 6: return 13;
    }
    return -1;
}
static int sparse(int v) {
    switch (v) {
    case INT_MIN: return 1;
    case -1000: return 2;
    case 0: return 3;
    case 100000: return 4;
    case INT_MAX: return 5;
    default: return v > 0 ? 6 : 7;
    }
}
static int ranges(int c) {
    switch (c) {
    case '0' ... '9': return c - '0';
    case 'a' ... 'f': return c - 'a' + 10;
    case 'A' ... 'F': return c - 'A' + 10;
    case ' ':
    case '\t': return -2;
    default: return -1;
    }
}
static int wide(unsigned long long v) {
    switch (v) {
    case 0: return 0;
    case 0x100000000ull: return 1;
    case 0x1ffffffffull: return 2;
    case ~0ull: return 3;
    case 0xffffffffu: return 4;
    }
    return 5;
}
static int narrow(unsigned char v) {
    switch (v) {
    case 255: return 1;
    case (unsigned char)300: return 2;
    default: return 0;
    }
}
static const char *name(enum color c) {
    switch (c) {
    case RED: return "red";
    case BLUE: return "blue";
    case GREEN: return "green";
    case NONE: break;
    }
    return "none";
}
static int through(int v) {
    int r = 0;
    switch (v) {
    default: r += 1000;
    case 3: r += 100;
    case 2: r += 10; break;
    case 1: r += 1;
    case 0: r += 2;
    }
    return r;
}
static int one(int v) {
    switch (v & 7) {
    case 4: v = -v;
    }
    switch (v) default: v++;
    switch (v) {}
    return v;
}
static int nested(int a, int b) {
    switch (a) {
    case 1:
        switch (b) {
        case 1: return 11;
        case 2: goto two;
        default: break;
        }
        return 10;
    case 2:
    two:
        if (b) {
        case 3: return a * 100 + b;
        }
        return 20;
    }
    return 0;
}
static int counted(int n) {
    int t = 0;
    for (int i = 0; i < n; i++)
        switch (i % 6) {
        case 0: continue;
        case 1: t += 1; break;
        case 2: t <<= 1; break;
        case 3:
            if (t > 50) return t;
        case 4: t -= 3; break;
        default: t ^= i;
        }
    return -t;
}
static int computed(int i) {
    switch (i++ * 2 + (i > 3)) {
    case 0: return i;
    case 2: return i * 10;
    case 4: return i * 100;
    case 7: return i * 1000;
    }
    return -i;
}
static int always(void) {
    switch (3) {
    case 1: return 1;
    case 3: return 33;
    }
    return 0;
}
int main(void) {
    static const int probe[] = {INT_MIN, INT_MIN + 1, -1001, -1000, -1, 0, 1, 2, 3, 4, 5, 6, 7, 99999, 100000, INT_MAX};
    for (int i = 0; i < 16; i++) printf("%d%d%d%d ", dense(probe[i]), sparse(probe[i]), through(probe[i]), one(probe[i] % 50));
    putchar('\n');
    for (const char *p = "09afAFgG @\t/:"; *p; p++) printf("%d ", ranges(*p));
    printf("%d%d%d%d%d%d\n", wide(0), wide(1ull << 32), wide(~0ull >> 31), wide(~0ull), wide(~0u), wide(7));
    printf("%d%d%d %s %s %s %s\n", narrow(255), narrow(44), narrow(43), name(RED), name(BLUE), name(GREEN), name(NONE));
    for (int a = 0; a < 4; a++)
        for (int b = 0; b < 3; b++) printf("%d ", nested(a, b));
    for (int n = 0; n < 40; n += 13) printf("%d ", counted(n));
    for (int i = 0; i < 5; i++) printf("%d ", computed(i));
    printf("%d\n", always());
    return 0;
}
