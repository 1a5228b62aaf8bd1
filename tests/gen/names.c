// Names that the generated text can't use as they stand, or that mean several things.
#include <stdio.h>

int u32 = 1, s8 = 2, t1 = 3, L1 = 4, result = 5, v_2 = 6, class = 7;
static int f64(int c8) { int s32 = c8, u8 = s32; { int s32 = u8 + 1; { int s32 = 100; u8 += s32; } u8 += s32; } return u8 + s32; }
int renamed(int x) __asm__("a.b.c");
int renamed(int x) { return x + 1; }
int odd_name __asm__("odd$name") = 11;
extern int same_thing __asm__("odd$name");
static int twice(void) { static int n = 1; return n *= 2; }
static int thrice(void) { static int n = 1; { static int n = 10; n++; if (n > 11) return n; } return n *= 3; }
struct memcpy { int memcpy; };
static int index(int strlen) { struct memcpy memcpy = {strlen}; return memcpy.memcpy * 2; }
double round(double x) { return x + 1000; } // not what the library has
typedef struct s { int s; } s;
static s shadow(s s) { struct s r = s; r.s++; return r; }
enum e { e = 3 };
int labels(int x) { L1: if (x < 5) { x++; goto L1; } goto end; end: return x; }
inline int inl(int x) { return x + 9; }
extern int inl(int x);

int main(int argc, char **argv) {
    int (*p)(int) = renamed;
    s one = {41};
    printf("%d %d %d %d %d %d %d\n", u32, s8, t1, L1, result, v_2, class);
    printf("%d %d %d %d %d\n", f64(3), renamed(5), p(6), odd_name, ++same_thing + odd_name);
    printf("%d %d %d %d %d\n", twice(), twice(), thrice(), thrice(), index(21));
    printf("%g %d %d %d %d\n", round(u32 + 0.5), shadow(one).s, e, labels(argc), inl(t1));
    return argv[0] == 0;
}
