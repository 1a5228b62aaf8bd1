/* Commas and assignments inside expressions: what moves to the front, and what must not pass a read or a volatile. */
#include <stdio.h>

volatile int v, w;
struct bits { unsigned low : 3; int high : 4; unsigned rest : 25; } b;
_Bool flag;
short narrow;
int a, c, *p, array[8];
static int log_of(int x) { printf("[%d]", x); return x; }
static int fold(int x, int y) { return 10 * x + y; }

int main(void) {
    printf("%u\n", (b.low = 13) + 1u);
    printf("%d\n", (b.high = 9) * 2);
    printf("%d\n", (flag = 4) + 1);
    printf("%d\n", (narrow = 70000) + 1);
    printf("%d\n", (a = 3) + c);
    v = 1, w = 2;
    int before = a, both = before - (w = 5, w);
    printf("%d %d\n", both, w);
    int x = 4;
    x = (x = 6, x + 1) + (p = 0, 2), c = 2;
    printf("%d %d\n", x, c);
    p = array;
    *(p = p + 1) = 8, array[3] = 9;
    printf("%d %d %d\n", array[1], array[3], (int)(p - array));
    int chosen = a ? (c = 7, a + c) : (c = 8, a - c);
    printf("%d %d\n", chosen, c);
    chosen = (log_of(1), a) && (log_of(0), c == 0) || (log_of(2), c);
    printf(" %d\n", chosen);
    printf("%d\n", fold((log_of(1), log_of(2)), 3));
    a = c = 0;
    a = (c = 0) + 1;
    x = (x + a) + 5;
    x = 3 + (a + x);
    printf("%d %d %d\n", a, c, x);
    v = v + 1, v += v, w = w * 2 - w;
    printf("%d %d\n", v, w);
    b.rest = b.rest + 0x1ffffff, b.high = b.high - 1, b.high |= 0xf0 & x;
    printf("%u %d\n", b.rest, b.high);
    for (int k = 0; k < 5; k++) narrow += narrow * 3 - (k ? narrow : 0), narrow <<= 1, narrow ^= 0x12345;
    printf("%d\n", narrow);
    return 0;
}
