// Assembly with operands: registers, pairs, tied and early-clobbered outputs, memory, constants, names, registers that
// options: -marm -march=armv7-a -mfpu=neon
// variables were declared for, floating-point registers, clobbers, labels, and text that uses the stack.
#include <stdint.h>
#include <stdio.h>

static inline uint32_t rev(uint32_t v) {
    uint32_t r;
    __asm__("rev %0, %1" : "=r"(r) : "r"(v));
    return r;
}
static inline unsigned clz(unsigned v) {
    __asm__("clz %0, %0" : "+r"(v));
    return v;
}
static uint64_t wide_product(uint32_t a, uint32_t b) {
    uint64_t r;
    __asm__("umull %Q0, %R0, %1, %2" : "=&r"(r) : "r"(a), "r"(b));
    return r;
}
static int64_t accumulate(int64_t sum, int a, int b) {
    __asm__("smlal %Q[sum], %R[sum], %[a], %[b]" : [sum] "+r"(sum) : [a] "r"(a), [b] "r"(b) : "cc");
    return sum;
}
static int carry(uint32_t a, uint32_t b, uint32_t *sum) {
    int c;
    __asm__("adds %1, %2, %3\n\tmov %0, #0\n\tadc %0, %0, #0" : "=&r"(c), "=&r"(*sum) : "r"(a), "ri"(b) : "cc");
    return c;
}
static unsigned loop(const unsigned char *p, unsigned n) {
    unsigned sum = 0, t;
    __asm__ volatile("cmp %2, #0\n\tbeq 2f\n"
                     "1:\tldrb %3, [%1], #1\n\tadd %0, %0, %3\n\tsubs %2, %2, #1\n\tbne 1b\n2:"
                     : "+r"(sum), "+r"(p), "+r"(n), "=&r"(t) : : "cc", "memory");
    return sum;
}
static int memory(int *p, int by) {
    int old;
    __asm__ volatile("ldr %0, %1\n\tadd %0, %0, %2\n\tstr %0, %1" : "=&r"(old), "+m"(*p) : "r"(by));
    return old - by;
}
static int constants(int x) {
    __asm__("add %0, %0, %1\n\tsub %0, %0, #%c2\n\t@ %% and $ stay" : "+r"(x) : "I"(200), "n"(sizeof(int)));
    return x;
}
static int same_place(int a, int b) {
    int r;
    __asm__("sub %0, %0, %2" : "=r"(r) : "0"(a), "r"(b));
    return r;
}
static int all_registers(int a) {
    int r;
    __asm__("push {r4, lr}\n\tmov r4, %1\n\tmov r5, #1\n\tmov r12, #3\n\tadd %0, r4, r5\n\tadd %0, %0, r12\n\tpop {r4, lr}"
            : "=r"(r) : "r"(a) : "r4", "r5", "r6", "r8", "r12", "lr");
    return r;
}
static int pinned(int number, const void *at, int n) {
    register int r0 __asm__("r0") = number;
    register const void *r1 __asm__("r1") = at;
    register int r2 __asm__("r2") = n;
    register int r7 __asm__("r7") = 4; /* write */
    __asm__ volatile("svc #0" : "+r"(r0) : "r"(r1), "r"(r2), "r"(r7) : "memory");
    return r0;
}
static double root(double x, float y) {
    double r;
    float s;
    __asm__("vsqrt.f64 %P0, %P1" : "=w"(r) : "w"(x));
    __asm__("vmul.f32 %0, %1, %1" : "=t"(s) : "t"(y) : "s0", "d9");
    return r + s;
}
static int condition(int a, int b) {
    int less;
    __asm__("cmp %1, %2\n\tite lt\n\tmovlt %0, #1\n\tmovge %0, #0" : "=r"(less) : "r"(a), "r"(b) : "cc");
    return less;
}
struct bits { unsigned low : 4, high : 12; };
static signed char narrow(signed char c, struct bits *b) {
    unsigned char out;
    __asm__("mvn %0, %1" : "=r"(out) : "r"(c));
    __asm__("add %0, %0, #17" : "+r"(b->high));
    return (signed char)out;
}
static unsigned calls;
static int *next(int *p) { return calls++, p + 1; }

int main(void) {
    static const unsigned char data[] = {1, 2, 3, 250};
    int cells[3] = {5, 6, 7};
    struct bits b = {3, 4090};
    uint32_t sum;
    printf("%08x %u %u\n", rev(0x12345678), clz(0x00010000), clz(0));
    printf("%llx %lld\n", (unsigned long long)wide_product(0xffffffff, 0xfffffffe), (long long)accumulate(-5, -70000, 80000));
    int c = carry(0xffffff00, 0x1ff, &sum);
    printf("%d %x %u %u\n", c, sum, loop(data, 4), loop(data, 0));
    int before = memory(cells + 1, 10);
    printf("%d %d %d %d\n", before, cells[1], constants(1), same_place(50, 8));
    __asm__ volatile("str %1, [%0]\n\tadd %0, %0, #4" : "+r"(*(int **)&(int *){cells}) : "r"(99) : "memory");
    __asm__("add %0, %0, #1" : "+r"(*next(cells)));
    printf("%d %d %u %d\n", cells[0], cells[1], calls, all_registers(38));
    fflush(stdout);
    printf("%d %g %d%d\n", pinned(1, "direct\n", 7), root(6.25, 1.5f), condition(-1, 1), condition(2, 1));
    int n = narrow(5, &b);
    printf("%d %u %u\n", n, b.low, b.high);
    return 0;
}
