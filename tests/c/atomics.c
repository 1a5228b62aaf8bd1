// Atomic objects: the operations' results, sizes, pointers, and the older names.
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>

static _Atomic int counter = 5;
static _Atomic uint64_t wide = 0xFFFFFFFFFFull;
static _Atomic(short *) walker;
static atomic_uchar small;
static atomic_flag flag = ATOMIC_FLAG_INIT;
static short room[10];

#define SHOW(e) printf("%d ", (int)(e)) // one at a time: the order of arguments is open

int main(void) {
    SHOW(counter++), SHOW(++counter), counter -= 3, SHOW(counter--), SHOW(counter);
    counter |= 0x70, counter &= ~0x10, counter ^= 0xF;
    SHOW(counter);
    walker = room;
    SHOW(walker++ - room), SHOW(walker - room), SHOW(++walker - room);
    wide += 1ull << 40;
    SHOW(atomic_fetch_sub(&wide, 1) >> 36), SHOW(wide >> 20), SHOW(wide);
    small = 250;
    SHOW(atomic_fetch_add_explicit(&small, 10, memory_order_relaxed)), SHOW(small), small -= 5, SHOW(small);
    SHOW(atomic_flag_test_and_set(&flag)), SHOW(atomic_flag_test_and_set(&flag));
    atomic_flag_clear(&flag);
    SHOW(atomic_flag_test_and_set(&flag));

    int expected = 1, plain = 7;
    SHOW(atomic_compare_exchange_strong(&counter, &expected, 100)), SHOW(expected);
    SHOW(atomic_compare_exchange_weak(&counter, &expected, 100)), SHOW(expected), SHOW(counter);
    SHOW(__atomic_exchange_n(&plain, 8, __ATOMIC_SEQ_CST)), SHOW(__atomic_load_n(&plain, __ATOMIC_ACQUIRE));
    SHOW(__atomic_nand_fetch(&plain, 12, 5)), SHOW(__atomic_fetch_xor(&plain, -1, 5)), SHOW(plain);
    __atomic_store_n(&plain, 3, __ATOMIC_RELEASE);
    int got, put = 44;
    __atomic_exchange(&plain, &put, &got, 5);
    SHOW(got), SHOW(plain);
    SHOW(__sync_fetch_and_add(&plain, 2)), SHOW(__sync_add_and_fetch(&plain, 2)), SHOW(__sync_lock_test_and_set(&plain, 1));
    SHOW(__sync_bool_compare_and_swap(&plain, 1, 60)), SHOW(__sync_bool_compare_and_swap(&plain, 1, 62));
    SHOW(__sync_val_compare_and_swap(&plain, 1, 61)), SHOW(__sync_val_compare_and_swap(&plain, 60, 61)), SHOW(plain);
    __sync_lock_release(&plain);
    __sync_synchronize();
    signed char narrow = -3;
    SHOW(plain), SHOW(__sync_sub_and_fetch(&narrow, 126)), SHOW(__sync_fetch_and_or(&narrow, -128)), SHOW(narrow);
    return 0;
}
