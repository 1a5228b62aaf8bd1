// Commas inside operands: effects that give nothing, before values that go on; the output of the optimizer reads back.
#include <stdio.h>

static int trace, y = 4;
static int f(void) { return trace = trace * 3 + 1; }
static void nothing(void) { trace = trace * 5 + 2; }
int main(void) {
    int r = (f(), (nothing(), y) + 1);
    r += (f(), (nothing(), f(), y) * 2) + ((nothing(), 3), y);
    int s = (nothing(), (f(), nothing(), r ? (nothing(), y) : 2) - 1);
    char c = (char)(nothing(), (f(), y + 300));
    if ((nothing(), (f(), y) & 4)) r += 100;
    printf("%d %d %d %d\n", r, s, c, trace);
    return 0;
}
