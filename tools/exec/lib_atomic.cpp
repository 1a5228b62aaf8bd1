// The compiler's run-time functions for atomic objects. One thread runs: each is the plain operation.
#include "tools/exec/library.h"

namespace {

template <class WORD> WORD get(uint32_t a) {
    check_access(a, sizeof(WORD), false);
    constexpr SK kind = sizeof(WORD) == 1   ? SK_u8
                        : sizeof(WORD) == 2 ? SK_u16
                        : sizeof(WORD) == 4 ? SK_u32
                                            : SK_u64;
    return WORD(load_scalar_checked(kind, a));
}
template <class WORD> void put(uint32_t a, WORD v) {
    check_access(a, sizeof(WORD), true);
    constexpr SK kind = sizeof(WORD) == 1   ? SK_u8
                        : sizeof(WORD) == 2 ? SK_u16
                        : sizeof(WORD) == 4 ? SK_u32
                                            : SK_u64;
    store_scalar_checked(kind, a, v);
}

enum OPERATION { ADD, SUB, AND, OR, XOR, NAND, EXCHANGE };

template <class WORD, OPERATION op, bool old_value> uint64_t modify(CALL_CONTEXT &c) {
    uint32_t at = c.u32(0);
    WORD old = get<WORD>(at), v = WORD(c.u64(1));
    WORD next = op == ADD    ? WORD(old + v)
                : op == SUB  ? WORD(old - v)
                : op == AND  ? WORD(old & v)
                : op == OR   ? WORD(old | v)
                : op == XOR  ? WORD(old ^ v)
                : op == NAND ? WORD(~(old & v))
                             : v;
    put<WORD>(at, next);
    return old_value ? old : next;
}

template <class WORD> uint64_t compare_exchange(CALL_CONTEXT &c) {
    uint32_t at = c.u32(0), expected = c.u32(1);
    WORD old = get<WORD>(at);
    if (old == get<WORD>(expected)) {
        put<WORD>(at, WORD(c.u64(2)));
        return 1;
    }
    put<WORD>(expected, old);
    return 0;
}

uint64_t test_and_set(CALL_CONTEXT &c) {
    uint8_t old = get<uint8_t>(c.u32(0));
    put<uint8_t>(c.u32(0), 1);
    return old;
}
uint64_t clear(CALL_CONTEXT &c) {
    put<uint8_t>(c.u32(0), 0);
    return 0;
}
uint64_t nothing(CALL_CONTEXT &) { return 0; }

} // namespace

// clang-format off
#define SIZES(name, op, old_value) \
    {"__atomic_" name "_1", modify<uint8_t, op, old_value>},  {"__atomic_" name "_2", modify<uint16_t, op, old_value>}, \
    {"__atomic_" name "_4", modify<uint32_t, op, old_value>}, {"__atomic_" name "_8", modify<uint64_t, op, old_value>}

const LIBRARY_ROW library_atomic[] = {
    SIZES("fetch_add",  ADD,      true),
    SIZES("fetch_sub",  SUB,      true),
    SIZES("fetch_and",  AND,      true),
    SIZES("fetch_or",   OR,       true),
    SIZES("fetch_xor",  XOR,      true),
    SIZES("fetch_nand", NAND,     true),
    SIZES("add_fetch",  ADD,      false),
    SIZES("sub_fetch",  SUB,      false),
    SIZES("and_fetch",  AND,      false),
    SIZES("or_fetch",   OR,       false),
    SIZES("xor_fetch",  XOR,      false),
    SIZES("nand_fetch", NAND,     false),
    SIZES("exchange",   EXCHANGE, true),
    {"__atomic_compare_exchange_1", compare_exchange<uint8_t>},
    {"__atomic_compare_exchange_2", compare_exchange<uint16_t>},
    {"__atomic_compare_exchange_4", compare_exchange<uint32_t>},
    {"__atomic_compare_exchange_8", compare_exchange<uint64_t>},
    {"__atomic_test_and_set", test_and_set},
    {"__atomic_clear",        clear},
    {"__sync_synchronize",    nothing},
    {"__atomic_is_lock_free", FN(c.u32(0) <= 8 && !(c.u32(0) & (c.u32(0) - 1)))},
    {nullptr, nullptr},
};
// clang-format on
