// Attributes and file-scope assembly: what the linker and the loader see.
#include <stdio.h>

static char log_text[32]; static int logged;
static void note(char c) { log_text[logged++] = c; }
__attribute__((constructor(200))) static void second(void) { note('2'); }
__attribute__((constructor(101))) static void first(void) { note('1'); }
__attribute__((constructor)) void third(void) { note('3'); }
__attribute__((destructor)) static void last(void) { printf("last %s\n", log_text); }

__attribute__((weak)) int overridden(void) { return 1; }
extern int missing(void) __attribute__((weak));
extern int missing_object __attribute__((weak));
int target(int x) { return x * 7; }
int other_name(int x) __attribute__((alias("target")));
__attribute__((section("my_section"))) int placed = 17;
extern int __start_my_section[], __stop_my_section[];
__attribute__((section("my_text"), noinline)) int placed_function(int x) { return x - placed; }
__attribute__((visibility("hidden"))) int hidden = 5;
__attribute__((used)) static int kept_symbol = 23;
int aligned_thing __attribute__((aligned(64))) = 1;
__attribute__((noreturn)) void leaves(void) { printf("leaving\n"); __builtin_exit(3); }
static const int *volatile const pointer = &placed;

__asm__(".text\n.global asm_twice\n.type asm_twice, %function\n.arm\nasm_twice:\n\tadd r0, r0, r0\n\tbx lr\n.previous");
int asm_twice(int);

int main(void) {
    register int local_aligned __attribute__((aligned(32))) = 3;
    int on_stack __attribute__((aligned(64))) = 4;
    __asm__ volatile("nop @ 100% {a|b}");
    printf("%d %d %d\n", overridden(), missing == 0, &missing_object == 0);
    printf("%d %d %d\n", other_name(6), placed_function(20), (int)(__stop_my_section - __start_my_section));
    printf("%d %d %d\n", asm_twice(hidden), (unsigned)&aligned_thing % 64, (unsigned)&on_stack % 64 + local_aligned);
    printf("%d\n", *pointer);
    if (aligned_thing) leaves();
    return 0;
}
