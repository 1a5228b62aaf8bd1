struct s { int a : 3; char c; struct s *n; double d[2]; };
enum e { X, Y = -5 };
union u { int i; float f; };
static struct s g = {1, 'x', &g, {1.5, 2}};
extern int ext(int, ...);
const char *text = "text";
int loop(int n, struct s *p, union u v) {
    int sum = 0;
#pragma MUST_ITERATE(1, 10, 1)
    for (int i = 0; i < n; i++) sum += p->n ? p->a : v.i * i;
    switch (n) {
    case 1: return ext(1, 2.0, "x");
    case 5: sum++;
    default: sum <<= 2;
    }
    return n > 3 && sum ? sum++ : (int)(g.d[1] / n);
}
struct s copy(struct s x) {
    asm("nop");
    x.a = Y;
    return x;
}
void tail(int n, int *p) {
    if (n) {
        *p = n;
        tail(n - 1, p + 1);
    }
}
