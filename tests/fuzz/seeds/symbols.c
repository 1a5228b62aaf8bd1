__thread int own = 3;
static _Thread_local char buffer[9] __attribute__((aligned(8)));
struct __attribute__((packed)) bits {
    unsigned a : 3, : 2, b : 7;
    long long c : 40;
    volatile int d : 5;
    _Bool e : 1;
    int tail[];
};
struct bits first = {1, 2, -3, 4, 1}, *volatile where = &first;
enum big { MOST = 0x7fffffff } __attribute__((packed));
int target(enum big m) __attribute__((section(".fast"), noinline));
int target(enum big m) { return m + own + buffer[1]; }
extern int name(enum big) __attribute__((alias("target")));
extern int maybe(int) __attribute__((weak, pure, visibility("hidden")));
static void __attribute__((constructor)) start(void) { first.b ^= first.c << first.a; }
int (*const table[])(enum big) = {[2] = target, name};
int both(int x) { return maybe ? maybe(x) : table[x](MOST); }
