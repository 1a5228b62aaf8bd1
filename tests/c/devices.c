// Volatile registers of a pretended device: reads that clear, writes that count, polling loops, memory that changes by signals.
#include <signal.h>
#include <stdio.h>
#include <string.h>

static struct { volatile unsigned status, data; volatile const unsigned id; volatile unsigned char bytes[4]; volatile unsigned flags : 3, mode : 5; } dev = {.id = 0x1234};
static volatile int ticks;
static volatile sig_atomic_t hits;

static void on_signal(int s) { hits += s == SIGUSR1 ? 1 : 100; }
static unsigned poll(void) {
    unsigned n = 0;
    dev.status = 5;
    while (dev.status) dev.status = dev.status - 1, n++;
    return n;
}
static int same_twice(void) { return ticks - ticks + (ticks == ticks); }
static void write_all(volatile unsigned *p, int n, unsigned v) {
    for (int i = 0; i < n; i++) *p = v + (unsigned)i;
}
int main(void) {
    signal(SIGUSR1, on_signal);
    signal(SIGUSR2, on_signal);
    raise(SIGUSR1), raise(SIGUSR2), raise(SIGUSR1);
    printf("%d %u %d\n", (int)hits, poll(), same_twice());
    write_all(&dev.data, 10, 90);
    printf("%u %x\n", dev.data, dev.id);
    dev.bytes[1] = 0xAB, dev.bytes[2] |= 0x0F, dev.bytes[2] <<= 2;
    dev.flags = 9, dev.mode = 33, dev.mode += 3;
    printf("%x %x %u %u\n", dev.bytes[1], dev.bytes[2], (unsigned)dev.flags, (unsigned)dev.mode);
    (void)dev.status;
    dev.status;
    volatile int local = 3, *p = &local;
    int r = local++ * 10;
    r += *p + (*p)-- - --local;
    ticks += 2, ticks *= 3, ticks ^= 5;
    for (ticks = 0; ticks < 4; ticks++) r += ticks;
    printf("%d %d %d\n", r, local, ticks);
    volatile double d = 0.1;
    d += 0.2, d *= d;
    volatile long long w = 1;
    w <<= 40, w |= 7, w -= 1;
    printf("%.17g %lld\n", d, w);
    return 0;
}
