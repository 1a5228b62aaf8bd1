// Switches: dense, sparse, ranges, fall-through, nested, on every width and sign, default in the middle, inside loops.
#include <limits.h>
#include <stdio.h>

static int dense(int n) {
    switch (n) {
    case 0: return 5;
    case 1: return 17;
    case 2: return -3;
    case 3: return 42;
    case 4: return 8;
    case 5: return 99;
    case 6: return 1;
    case 7: return 0;
    }
    return -1;
}
static int sparse(int n) {
    switch (n) {
    case INT_MIN: return 1;
    case -1000: return 2;
    case -1: return 3;
    case 0: return 4;
    case 77: return 5;
    case 1000000: return 6;
    case INT_MAX: return 7;
    default: return 0;
    }
}
static const char *ranges(unsigned n) {
    switch (n) {
    case 0 ... 9: return "digit";
    case 10 ... 99: return "two";
    case 100: return "hundred";
    case 101 ... 0x7fffffff: return "many";
    case 0xfffffff0 ... 0xffffffff: return "top";
    default: return "high";
    }
}
static int fall(int n) {
    int r = 0;
    switch (n) {
    default: r += 1000;
    case 1: r += 1;
    case 2: r += 10; break;
    case 3: r += 100;
    case 4:
    case 5: r *= 2;
    }
    return r;
}
static int nested(int a, int b) {
    switch (a) {
    case 0:
        switch (b) {
        case 0: return 1;
        case 1: break;
        default: a = 5;
        }
        break;
    case 1:
        switch (b) case 2: a = 20;
        return a;
    case 2:
        for (; b < 10; b++) {
            switch (b) {
            case 3: continue;
            case 7: break;
            default: a += b; continue;
            }
            break;
        }
        a *= 100;
    }
    return a + b;
}
static int narrow(signed char c) {
    switch (c) {
    case -128: return 1;
    case -1: return 2;
    case 127: return 3;
    }
    return 0;
}
static int unsigned_char(unsigned char c) {
    switch (c) {
    case 0: return 1;
    case 128 ... 200: return 2;
    case 255: return 3;
    }
    return 0;
}
static int wide(unsigned long long v) {
    switch (v) {
    case 0: return 1;
    case 0xffffffff: return 2;
    case 0x100000000: return 3;
    case 0x100000001 ... 0x1ffffffff: return 4;
    case ULLONG_MAX: return 5;
    }
    return 0;
}
enum op { PUSH = 1, ADD, MUL, DUP, JNZ = 10, SWAP, DEC, END = 100 };
static int machine(const signed char *code) {
    int stack[16], sp = 0, steps = 0;
    for (const signed char *pc = code; steps < 1000; steps++) {
        int t;
        switch ((enum op)*pc++) {
        case PUSH: stack[sp++] = *pc++; continue;
        case ADD: sp--, stack[sp - 1] += stack[sp]; break;
        case MUL: sp--, stack[sp - 1] = (int)((unsigned)stack[sp - 1] * stack[sp]); break;
        case DUP: stack[sp] = stack[sp - 1], sp++; break;
        case SWAP: t = stack[sp - 1], stack[sp - 1] = stack[sp - 2], stack[sp - 2] = t; break;
        case DEC: stack[sp - 1]--; break;
        case JNZ: pc += stack[sp - 1] ? *pc : 1; break;
        case END: return stack[0];
        default: return -steps;
        }
    }
    return -9999;
}

int main(void) {
    unsigned sum = 0;
    for (int i = -1; i <= 8; i++) printf("%d ", dense(i)), sum += dense(i);
    static const int odd[] = {INT_MIN, -1001, -1000, -1, 0, 1, 76, 77, 1000000, INT_MAX};
    for (int i = 0; i < 10; i++) printf("%d ", sparse(odd[i]));
    static const unsigned edges[] = {0, 9, 10, 99, 100, 101, 0x7fffffff, 0x80000000, 0xffffffef, 0xfffffff0, 0xffffffff};
    for (int i = 0; i < 11; i++) printf("%s ", ranges(edges[i]));
    for (int i = 0; i < 7; i++) printf("%d ", fall(i)), sum += fall(i);
    printf("\n");
    for (int a = 0; a < 4; a++)
        for (int b = 0; b < 9; b++) printf("%d ", nested(a, b)), sum += nested(a, b);
    for (int i = -128; i < 256; i++) sum = sum * 3 + narrow(i) + 7 * unsigned_char(i);
    static const unsigned long long ws[] = {0, 1, 0xffffffff, 0x100000000, 0x100000001, 0x1ffffffff, 0x200000000, -1ull};
    for (int i = 0; i < 8; i++) printf("%d ", wide(ws[i]));
    static const signed char power[] = {PUSH, 1, PUSH, 10, SWAP, PUSH, 2, MUL, SWAP, DEC, JNZ, -6, ADD, END};
    static const signed char bad[] = {PUSH, 1, 50};
    printf("\n%d %d %d\n", machine(power), machine(bad), sum);
    switch (sum & 1) { int hidden; case 0: hidden = 4; if (0) case 1: hidden = 6; sum += hidden; }
    switch (sum) default: sum++;
    return sum & 0x7f;
}
