// Signals that a program raises itself: handlers, volatile flags, a jump out of a handler, atexit in order.
#include <setjmp.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

static volatile sig_atomic_t seen, last;
static jmp_buf back;
static void count(int number) { seen++, last = number; }
static void leave(int number) { longjmp(back, number); }
static void (*previous)(int);

static int guarded(int (*work)(int), int argument) {
    previous = signal(SIGUSR1, leave);
    volatile int result = -1;
    if (setjmp(back) == 0) result = work(argument);
    signal(SIGUSR1, previous);
    return result;
}
static int halves(int n) {
    if (n % 2) raise(SIGUSR1);
    return n / 2;
}
static void first(void) { printf("first %d\n", (int)seen); }
static void second(void) { printf("second\n"); }

int main(void) {
    atexit(first), atexit(second);
    signal(SIGINT, count);
    for (int i = 0; i < 3; i++) {
        raise(SIGINT);
        signal(SIGINT, count);
    }
    printf("%d %d\n", (int)seen, last == SIGINT);
    printf("%d ", guarded(halves, 10));
    printf("%d ", guarded(halves, 11));
    printf("%d\n", guarded(halves, 12));
    signal(SIGTERM, SIG_IGN);
    raise(SIGTERM);
    printf("%d\n", signal(SIGTERM, SIG_DFL) == SIG_IGN);
    struct sigaction act = {0}, old;
    act.sa_handler = count;
    sigaction(SIGUSR2, &act, NULL);
    sigaction(SIGUSR2, NULL, &old);
    raise(SIGUSR2);
    printf("%d %d\n", (int)seen, old.sa_handler == count);
    return 3;
}
