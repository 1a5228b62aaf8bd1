typedef __builtin_va_list va_list;
_Complex double turn(_Complex double z, int n) {
    static void *const ways[] = {&&in, &&out};
    int cells[n][n + 1];
    goto *ways[n & 1];
in:
    asm volatile("add %0, %1, %2" : "=r"(cells[0][0]) : "r"(n), "I"(4) : "memory", "cc");
    z *= cells[0][0] + 2.0i;
out:
    return ({ int k = n++; k & 1; }) ? z : ~z;
}
long long total(int n, ...) {
    va_list l;
    long long sum = 0;
    __builtin_va_start(l, n);
#pragma UNROLL(2)
    while (n--) {
        if (n == 77) continue;
        sum += n & 1 ? __builtin_va_arg(l, int) : (int)__builtin_va_arg(l, double);
        do sum = __builtin_expect(sum < 0, 0) ? -sum : sum >> 1;
        while (sum > 1000 || sum % 7 == 3);
    }
    __builtin_va_end(l);
    return __sync_fetch_and_add(&sum, 1) * __builtin_bswap32(n);
}
enum { MOST = 77 };
int pick(unsigned u) {
    switch (u) {
    case 1 ... 9: return 2;
    case 0x80000000u: u--; break;
    default:
        if (u > MOST) goto away;
    }
    return u;
away:
    __builtin_trap();
}
