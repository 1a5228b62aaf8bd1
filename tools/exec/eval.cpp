#include "tools/exec/eval.h"

#include <cmath>
#include <limits>
#include <type_traits>

namespace {

template <class T> T get(uint64_t v) {
    if constexpr (std::is_same_v<T, float>) return as_f32(v);
    else if constexpr (std::is_same_v<T, double>) return as_f64(v);
    else return static_cast<T>(v);
}
template <class T> uint64_t put(T v) {
    if constexpr (std::is_same_v<T, float>) return from_f32(v);
    else if constexpr (std::is_same_v<T, double>) return from_f64(v);
    else if constexpr (std::is_signed_v<T>) return static_cast<uint64_t>(static_cast<int64_t>(v));
    else return static_cast<uint64_t>(v);
}

template <class T> T swap_bytes(T v) {
    if constexpr (sizeof(T) == 1) return v;
    else if constexpr (sizeof(T) == 2) return static_cast<T>(__builtin_bswap16(static_cast<uint16_t>(v)));
    else if constexpr (sizeof(T) == 4) return static_cast<T>(__builtin_bswap32(static_cast<uint32_t>(v)));
    else return static_cast<T>(__builtin_bswap64(static_cast<uint64_t>(v)));
}

// How a kind lies in memory.
template <class T> struct MEM_OF { using type = T; };
template <> struct MEM_OF<float> { using type = uint32_t; };
template <> struct MEM_OF<double> { using type = uint64_t; };

template <class T, bool BE> uint64_t load_host(const uint8_t *p) {
    typename MEM_OF<T>::type v;
    memcpy(&v, p, sizeof v);
    if (BE) v = swap_bytes(v);
    return put<typename MEM_OF<T>::type>(v);
}
template <class T, bool BE> void store_host(uint8_t *p, uint64_t value) {
    auto v = static_cast<typename MEM_OF<T>::type>(value);
    if (BE) v = swap_bytes(v);
    memcpy(p, &v, sizeof v);
}

// The host address of an access, checked when it is computed.
template <ADDRESSING AM> uint8_t *place(const XN *n, FRAME *f, unsigned bytes, bool write) {
    if constexpr (AM == AM_FRAME) return f->host + n->imm;
    else if constexpr (AM == AM_ABS) return mem.base + n->imm;
    else {
        uint32_t a = static_cast<uint32_t>(n->a->fn(n->a, f)) + static_cast<uint32_t>(n->imm);
        if (!mem.ok(a, bytes) || run_options.check_init) check_access(a, bytes, write);
        return mem.base + a;
    }
}

// The same for a store: the address comes first, and is checked when the value is there, whose evaluation may end the
// program or free the object.
template <ADDRESSING AM> uint8_t *target(const XN *n, FRAME *f, unsigned bytes, uint64_t *value) {
    if constexpr (AM == AM_DYN) {
        uint32_t a = static_cast<uint32_t>(n->a->fn(n->a, f)) + static_cast<uint32_t>(n->imm);
        *value = n->b->fn(n->b, f);
        if (!mem.ok(a, bytes) || run_options.check_init) check_access(a, bytes, true);
        return mem.base + a;
    } else {
        *value = n->b->fn(n->b, f);
        return place<AM>(n, f, bytes, true);
    }
}

void note_write(uint8_t *p, unsigned bytes) {
    if (run_options.check_init) mem.mark_written(uint32_t(p - mem.base), bytes);
}
void note_read(const uint8_t *p, unsigned bytes) {
    if (run_options.check_init) check_access(uint32_t(p - mem.base), bytes, false);
}

template <class T, ADDRESSING AM, bool BE> uint64_t load(const XN *n, FRAME *f) {
    return load_host<T, BE>(place<AM>(n, f, sizeof(T), false));
}
template <class T, ADDRESSING AM, bool BE> uint64_t load_slow(const XN *n, FRAME *f) {
    uint8_t *p = place<AM>(n, f, sizeof(T), false);
    note_read(p, sizeof(T));
    uint64_t v = load_host<T, BE>(p);
    if (n->is_volatile && run_options.trace_volatile)
        trace_volatile('R', uint32_t(p - mem.base), sizeof(T), v);
    return v;
}
template <class T, ADDRESSING AM, bool BE> uint64_t store(const XN *n, FRAME *f) {
    // The address first, then the value: the order in which a reader of the tree expects effects.
    uint64_t v;
    uint8_t *p = target<AM>(n, f, sizeof(T), &v);
    store_host<T, BE>(p, v);
    return put<typename MEM_OF<T>::type>(static_cast<typename MEM_OF<T>::type>(v));
}
template <class T, ADDRESSING AM, bool BE> uint64_t store_slow(const XN *n, FRAME *f) {
    uint64_t v;
    uint8_t *p = target<AM>(n, f, sizeof(T), &v);
    note_write(p, sizeof(T));
    store_host<T, BE>(p, v);
    if (n->is_volatile && run_options.trace_volatile)
        trace_volatile('W', uint32_t(p - mem.base), sizeof(T), v);
    return put<typename MEM_OF<T>::type>(static_cast<typename MEM_OF<T>::type>(v));
}

// --- operators ---

template <class T>
using UNS = typename std::conditional_t<std::is_floating_point_v<T>, std::type_identity<T>,
                                        std::make_unsigned<T>>::type;

[[noreturn]] void division_by_zero() { fault("integer division by zero"); }

// A NaN that an operation makes is the target's positive one, whatever the host's looks like.
template <class T> T made_here(T r, T a, T b) {
    return __builtin_expect(r != r, 0) && a == a && b == b ? std::numeric_limits<T>::quiet_NaN() : r;
}

template <int OP, class T> T combine(T a, T b) {
    using U = UNS<T>;
    if constexpr (std::is_floating_point_v<T>) {
        T r = OP == PLUS ? a + b : OP == MINUS ? a - b : OP == MULT ? a * b : OP == DIV ? a / b : T(0);
        return made_here(r, a, b);
    } else if constexpr (OP == PLUS) return static_cast<T>(static_cast<U>(a) + static_cast<U>(b));
    else if constexpr (OP == MINUS) return static_cast<T>(static_cast<U>(a) - static_cast<U>(b));
    else if constexpr (OP == MULT) return static_cast<T>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
    else if constexpr (OP == DIV) {
        if (b == 0) division_by_zero();
        if constexpr (std::is_signed_v<T>)
            if (b == -1) return static_cast<T>(U(0) - static_cast<U>(a));
        return static_cast<T>(a / b);
    } else if constexpr (OP == MOD) {
        if (b == 0) division_by_zero();
        if constexpr (std::is_signed_v<T>)
            if (b == -1) return 0;
        return static_cast<T>(a % b);
    } else if constexpr (OP == ANDB) return static_cast<T>(a & b);
    else if constexpr (OP == ORB) return static_cast<T>(a | b);
    else if constexpr (OP == XORB) return static_cast<T>(a ^ b);
    else return a;
}

template <int OP, class T> T shift(T a, int64_t n) {
    constexpr int bits = sizeof(T) * 8;
    if constexpr (std::is_floating_point_v<T>) return a;
    else if constexpr (OP == SLL)
        return n < 0 || n >= bits ? T(0) : static_cast<T>(static_cast<UNS<T>>(a) << n);
    else if (n < 0 || n >= bits) return a < 0 ? static_cast<T>(-1) : T(0);
    else return static_cast<T>(a >> n);
}

template <int OP, class T> uint64_t binary(const XN *n, FRAME *f) {
    T a = get<T>(n->a->fn(n->a, f));
    T b = get<T>(n->b->fn(n->b, f));
    return put<T>(combine<OP, T>(a, b));
}
template <int OP, class T> uint64_t shifted(const XN *n, FRAME *f) {
    T a = get<T>(n->a->fn(n->a, f));
    return put<T>(shift<OP, T>(a, static_cast<int64_t>(n->b->fn(n->b, f))));
}
template <int OP, class T> uint64_t apply(uint64_t a, uint64_t b) {
    if constexpr (OP == SLL || OP == SRL) return put<T>(shift<OP, T>(get<T>(a), static_cast<int64_t>(b)));
    else return put<T>(combine<OP, T>(get<T>(a), get<T>(b)));
}

template <int OP, class T, ADDRESSING AM, bool BE> uint64_t op_store(const XN *n, FRAME *f) {
    uint8_t *p = place<AM>(n, f, sizeof(T), true);
    note_read(p, sizeof(T));
    uint64_t b = n->b->fn(n->b, f);
    uint64_t old = load_host<T, BE>(p);
    uint64_t v = apply<OP, T>(old, b);
    store_host<T, BE>(p, v);
    if (n->is_volatile && run_options.trace_volatile) {
        trace_volatile('R', uint32_t(p - mem.base), sizeof(T), old);
        trace_volatile('W', uint32_t(p - mem.base), sizeof(T), v);
    }
    return v;
}
template <int OP, class T, ADDRESSING AM, bool BE> uint64_t post_step(const XN *n, FRAME *f) {
    uint8_t *p = place<AM>(n, f, sizeof(T), true);
    note_read(p, sizeof(T));
    uint64_t old = load_host<T, BE>(p);
    uint64_t v = apply<OP, T>(old, n->b->fn(n->b, f));
    store_host<T, BE>(p, v);
    if (n->is_volatile && run_options.trace_volatile) {
        trace_volatile('R', uint32_t(p - mem.base), sizeof(T), old);
        trace_volatile('W', uint32_t(p - mem.base), sizeof(T), v);
    }
    return old;
}

template <int OP, class T> bool relate(T a, T b) {
    switch (OP) {
    case EQ:
    case FEQ: return a == b;
    case NEQ:
    case FNEQN: return !(a == b);
    case LT:
    case ULT:
    case FLT: return a < b;
    case LE:
    case ULE:
    case FLE: return a <= b;
    case GT:
    case UGT:
    case FGT: return a > b;
    case GE:
    case UGE:
    case FGE: return a >= b;
    case FNEQ: return a < b || a > b;
    case FEQN: return !(a < b || a > b);
    case FLTN: return !(a >= b);
    case FLEN: return !(a > b);
    case FGTN: return !(a <= b);
    case FGEN: return !(a < b);
    case FORD: return a == a && b == b;
    case FUNO: return !(a == a && b == b);
    default: return false;
    }
}
template <int OP, class T> uint64_t compare(const XN *n, FRAME *f) {
    T a = get<T>(n->a->fn(n->a, f));
    T b = get<T>(n->b->fn(n->b, f));
    return relate<OP, T>(a, b);
}

template <int OP, class T> uint64_t unary(const XN *n, FRAME *f) {
    T a = get<T>(n->a->fn(n->a, f));
    using U = UNS<T>;
    if constexpr (OP == UMINUS) {
        if constexpr (std::is_floating_point_v<T>) return put<T>(-a);
        else return put<T>(static_cast<T>(U(0) - static_cast<U>(a)));
    } else if constexpr (OP == ABS) {
        if constexpr (std::is_floating_point_v<T>) return put<T>(std::fabs(a));
        else return put<T>(a < 0 ? static_cast<T>(U(0) - static_cast<U>(a)) : a);
    } else if constexpr (OP == SQRT) {
        auto r = static_cast<T>(std::sqrt(a));
        if constexpr (std::is_floating_point_v<T>) r = made_here(r, a, a);
        return put<T>(r);
    } else if constexpr (OP == SQR) return put<T>(combine<MULT, T>(a, a));
    else if constexpr (OP == RECIP)
        return put<T>(static_cast<T>(T(1) / (a == 0 && !std::is_floating_point_v<T> ? T(1) : a)));
    else if constexpr (OP == NOTB && !std::is_floating_point_v<T>) return put<T>(static_cast<T>(~a));
    else return put<T>(a);
}
uint64_t logical_not(const XN *n, FRAME *f) { return n->a->fn(n->a, f) == 0; }
template <class T> uint64_t float_not(const XN *n, FRAME *f) { return get<T>(n->a->fn(n->a, f)) == T(0); }

template <class TO, class FROM> TO convert_to(FROM v) {
    if constexpr (std::is_floating_point_v<FROM> && !std::is_floating_point_v<TO>) {
        if (v != v) return 0;
        using L = std::numeric_limits<TO>;
        if (v <= static_cast<FROM>(L::min())) return L::min();
        if (v >= static_cast<FROM>(L::max())) return L::max();
        return static_cast<TO>(v);
    } else return static_cast<TO>(v);
}
template <class TO, class FROM> uint64_t convert(const XN *n, FRAME *f) {
    return put<TO>(convert_to<TO, FROM>(get<FROM>(n->a->fn(n->a, f))));
}
template <class FROM> uint64_t to_bool(const XN *n, FRAME *f) {
    return get<FROM>(n->a->fn(n->a, f)) != FROM(0);
}

uint64_t constant(const XN *n, FRAME *) { return static_cast<uint64_t>(n->imm); }

// Calls F::run<T> for the type of a kind.
template <class F> auto by_kind(SK k, F f) {
    switch (k) {
    case SK_i8: return f(int8_t());
    case SK_u8: return f(uint8_t());
    case SK_i16: return f(int16_t());
    case SK_u16: return f(uint16_t());
    case SK_i32: return f(int32_t());
    case SK_u32: return f(uint32_t());
    case SK_i64: return f(int64_t());
    case SK_u64: return f(uint64_t());
    case SK_f32: return f(float());
    default: return f(double());
    }
}

template <class T, bool BE> EVAL pick_load(ADDRESSING am, bool slow) {
    if (slow)
        return am == AM_FRAME ? load_slow<T, AM_FRAME, BE>
               : am == AM_ABS ? load_slow<T, AM_ABS, BE>
                              : load_slow<T, AM_DYN, BE>;
    return am == AM_FRAME ? load<T, AM_FRAME, BE> : am == AM_ABS ? load<T, AM_ABS, BE> : load<T, AM_DYN, BE>;
}
template <class T, bool BE> EVAL pick_store(ADDRESSING am, bool slow) {
    if (slow)
        return am == AM_FRAME ? store_slow<T, AM_FRAME, BE>
               : am == AM_ABS ? store_slow<T, AM_ABS, BE>
                              : store_slow<T, AM_DYN, BE>;
    return am == AM_FRAME ? store<T, AM_FRAME, BE>
           : am == AM_ABS ? store<T, AM_ABS, BE>
                          : store<T, AM_DYN, BE>;
}
template <int OP, class T, bool BE> EVAL pick_op_store(ADDRESSING am) {
    return am == AM_FRAME ? op_store<OP, T, AM_FRAME, BE>
           : am == AM_ABS ? op_store<OP, T, AM_ABS, BE>
                          : op_store<OP, T, AM_DYN, BE>;
}
template <int OP, class T, bool BE> EVAL pick_step(ADDRESSING am) {
    return am == AM_FRAME ? post_step<OP, T, AM_FRAME, BE>
           : am == AM_ABS ? post_step<OP, T, AM_ABS, BE>
                          : post_step<OP, T, AM_DYN, BE>;
}

bool slow_access(bool is_volatile) {
    return run_options.check_init || (is_volatile && run_options.trace_volatile);
}

// --- bit-fields: bit 0 is the field's lowest, `shift` its place in the first byte ---

uint64_t bits_get(const XN *n, const uint8_t *p) {
    unsigned width = n->imm2, bytes = (n->shift + width + 7) / 8;
    unsigned __int128 raw = 0;
    if (run_options.big_endian) {
        for (unsigned i = 0; i < bytes; i++) raw = raw << 8 | p[i];
        raw >>= bytes * 8 - n->shift - width;
    } else {
        for (unsigned i = bytes; i-- > 0;) raw = raw << 8 | p[i];
        raw >>= n->shift;
    }
    uint64_t v = static_cast<uint64_t>(raw);
    if (width < 64) {
        v &= (1ull << width) - 1;
        bool is_signed = n->kind == SK_i8 || n->kind == SK_i16 || n->kind == SK_i32 || n->kind == SK_i64;
        if (is_signed && v >> (width - 1) & 1) v |= ~0ull << width;
    }
    return v;
}
void bits_put(const XN *n, uint8_t *p, uint64_t v) {
    unsigned width = n->imm2;
    for (unsigned i = 0; i < width; i++) {
        unsigned bit = n->shift + i; // from the field's start in memory order
        unsigned source = run_options.big_endian ? width - 1 - i : i;
        unsigned in_byte = run_options.big_endian ? 7 - (bit & 7) : bit & 7;
        uint8_t mask = static_cast<uint8_t>(1u << in_byte);
        p[bit >> 3] = static_cast<uint8_t>(v >> source & 1 ? p[bit >> 3] | mask : p[bit >> 3] & ~mask);
    }
}
unsigned bits_bytes(const XN *n) { return (n->shift + n->imm2 + 7) / 8; }
template <ADDRESSING AM> uint8_t *bits_place(const XN *n, FRAME *f, bool write) {
    if constexpr (AM == AM_DYN) {
        uint32_t a = static_cast<uint32_t>(n->a->fn(n->a, f)) + static_cast<uint32_t>(n->imm);
        if (!mem.ok_range(a, bits_bytes(n))) check_access(a, bits_bytes(n), write);
        return mem.base + a;
    } else return place<AM>(n, f, 1, write);
}
template <ADDRESSING AM> uint64_t bits_load(const XN *n, FRAME *f) {
    uint8_t *p = bits_place<AM>(n, f, false);
    uint64_t v = bits_get(n, p);
    if (n->is_volatile && run_options.trace_volatile)
        trace_volatile('R', uint32_t(p - mem.base), bits_bytes(n), v);
    return v;
}
template <ADDRESSING AM> uint64_t bits_store(const XN *n, FRAME *f) {
    uint8_t *p = bits_place<AM>(n, f, true);
    uint64_t v = n->b->fn(n->b, f);
    bits_put(n, p, v);
    note_write(p, bits_bytes(n));
    v = bits_get(n, p); // what the field holds of it
    if (n->is_volatile && run_options.trace_volatile)
        trace_volatile('W', uint32_t(p - mem.base), bits_bytes(n), v);
    return v;
}
// The operator stands in n->c (imm: opcode, imm2: 1 for a post-form, from: the kind).
template <ADDRESSING AM> uint64_t bits_op(const XN *n, FRAME *f) {
    uint8_t *p = bits_place<AM>(n, f, true);
    uint64_t b = n->b->fn(n->b, f);
    uint64_t old = bits_get(n, p);
    bits_put(n, p, apply_binary(int(n->c->imm), n->c->from, old, b));
    note_write(p, bits_bytes(n));
    uint64_t v = bits_get(n, p);
    if (n->is_volatile && run_options.trace_volatile) {
        trace_volatile('R', uint32_t(p - mem.base), bits_bytes(n), old);
        trace_volatile('W', uint32_t(p - mem.base), bits_bytes(n), v);
    }
    return n->c->imm2 ? old : v;
}

template <ADDRESSING AM> uint64_t address(const XN *n, FRAME *f) {
    if constexpr (AM == AM_FRAME) return f->base + static_cast<uint32_t>(n->imm);
    else if constexpr (AM == AM_ABS) return static_cast<uint32_t>(n->imm);
    else return static_cast<uint32_t>(n->a->fn(n->a, f) + static_cast<uint64_t>(n->imm));
}

#define BY_AM(F) (am == AM_FRAME ? F<AM_FRAME> : am == AM_ABS ? F<AM_ABS> : F<AM_DYN>)

} // namespace

EVAL eval_load(SK k, ADDRESSING am, bool is_volatile) {
    bool slow = slow_access(is_volatile);
    return by_kind(k, [=](auto t) -> EVAL {
        using T = decltype(t);
        return run_options.big_endian ? pick_load<T, true>(am, slow) : pick_load<T, false>(am, slow);
    });
}

EVAL eval_store(SK k, ADDRESSING am, bool is_volatile) {
    bool slow = slow_access(is_volatile);
    return by_kind(k, [=](auto t) -> EVAL {
        using T = decltype(t);
        return run_options.big_endian ? pick_store<T, true>(am, slow) : pick_store<T, false>(am, slow);
    });
}

#define BY_OPERATOR(CASE)                                                                                    \
    switch (op) {                                                                                            \
    case PLUS: CASE(PLUS);                                                                                   \
    case MINUS: CASE(MINUS);                                                                                 \
    case MULT: CASE(MULT);                                                                                   \
    case DIV: CASE(DIV);                                                                                     \
    case MOD: CASE(MOD);                                                                                     \
    case ANDB: CASE(ANDB);                                                                                   \
    case ORB: CASE(ORB);                                                                                     \
    case XORB: CASE(XORB);                                                                                   \
    case SLL: CASE(SLL);                                                                                     \
    case SRL: CASE(SRL);                                                                                     \
    default: return nullptr;                                                                                 \
    }

EVAL eval_op_store(int op, SK k, ADDRESSING am) {
    return by_kind(k, [=](auto t) -> EVAL {
        using T = decltype(t);
#define CASE(OP)                                                                                             \
    return run_options.big_endian ? pick_op_store<OP, T, true>(am) : pick_op_store<OP, T, false>(am)
        BY_OPERATOR(CASE)
#undef CASE
    });
}

EVAL eval_post_step(SK k, ADDRESSING am, bool minus) {
    return by_kind(k, [=](auto t) -> EVAL {
        using T = decltype(t);
        if (minus)
            return run_options.big_endian ? pick_step<MINUS, T, true>(am) : pick_step<MINUS, T, false>(am);
        return run_options.big_endian ? pick_step<PLUS, T, true>(am) : pick_step<PLUS, T, false>(am);
    });
}

EVAL eval_bits_load(ADDRESSING am) { return BY_AM(bits_load); }
EVAL eval_bits_store(ADDRESSING am) { return BY_AM(bits_store); }
EVAL eval_bits_op_store(ADDRESSING am) { return BY_AM(bits_op); }
EVAL eval_address(ADDRESSING am) { return BY_AM(address); }
EVAL eval_const() { return constant; }

EVAL eval_binary(int op, SK k) {
    return by_kind(k, [=](auto t) -> EVAL {
        using T = decltype(t);
#define CASE(OP)                                                                                             \
    if constexpr (OP == SLL || OP == SRL) return shifted<OP, T>;                                             \
    else return binary<OP, T>
        BY_OPERATOR(CASE)
#undef CASE
    });
}

EVAL eval_compare(int op, SK k) {
    return by_kind(k, [=](auto t) -> EVAL {
        using T = decltype(t);
        switch (op) {
            // clang-format off
#define ROW(OP) case OP: return compare<OP, T>;
            ROW(EQ) ROW(NEQ) ROW(LE) ROW(LT) ROW(GE) ROW(GT) ROW(ULE) ROW(ULT) ROW(UGE) ROW(UGT) ROW(FEQ) ROW(FNEQ)
            ROW(FLE) ROW(FLT) ROW(FGE) ROW(FGT) ROW(FEQN) ROW(FNEQN) ROW(FLEN) ROW(FLTN) ROW(FGEN) ROW(FGTN) ROW(FORD)
            ROW(FUNO)
#undef ROW
                // clang-format on
                default : return nullptr;
        }
    });
}

EVAL eval_unary(int op, SK k) {
    return by_kind(k, [=](auto t) -> EVAL {
        using T = decltype(t);
        switch (op) {
        case UMINUS: return unary<UMINUS, T>;
        case NOTB: return unary<NOTB, T>;
        case ABS: return unary<ABS, T>;
        case SQRT: return unary<SQRT, T>;
        case SQR: return unary<SQR, T>;
        case RECIP: return unary<RECIP, T>;
        case EXCLAIM:
            if constexpr (std::is_floating_point_v<T>) return float_not<T>;
            else return logical_not;
        default: return nullptr;
        }
    });
}

EVAL eval_convert(SK to, SK from, bool bool_result) {
    return by_kind(from, [=](auto f) -> EVAL {
        using FROM = decltype(f);
        if (bool_result) return to_bool<FROM>;
        return by_kind(to, [](auto t) -> EVAL { return convert<decltype(t), FROM>; });
    });
}

uint64_t apply_binary(int op, SK k, uint64_t a, uint64_t b) {
    return by_kind(k, [=](auto t) -> uint64_t {
        using T = decltype(t);
        switch (op) {
            // clang-format off
#define ROW(OP) case OP: return apply<OP, T>(a, b);
            ROW(PLUS) ROW(MINUS) ROW(MULT) ROW(DIV) ROW(MOD) ROW(ANDB) ROW(ORB) ROW(XORB) ROW(SLL) ROW(SRL)
#undef ROW
                // clang-format on
                default : return 0;
        }
    });
}

uint64_t convert_value(SK to, SK from, uint64_t v) {
    return by_kind(from, [=](auto f) -> uint64_t {
        using FROM = decltype(f);
        return by_kind(to, [=](auto t) -> uint64_t {
            using TO = decltype(t);
            return put<TO>(convert_to<TO, FROM>(get<FROM>(v)));
        });
    });
}

uint64_t load_scalar(SK k, uint32_t a) {
    return by_kind(k, [=](auto t) -> uint64_t {
        using T = decltype(t);
        return run_options.big_endian ? load_host<T, true>(mem.base + a) : load_host<T, false>(mem.base + a);
    });
}

void store_scalar(SK k, uint32_t a, uint64_t v) {
    by_kind(k, [=](auto t) -> int {
        using T = decltype(t);
        if (run_options.big_endian) store_host<T, true>(mem.base + a, v);
        else store_host<T, false>(mem.base + a, v);
        return 0;
    });
    note_write(mem.base + a, sk_bytes(k));
}

void load_wide(uint32_t a, unsigned bytes, unsigned lane, WIDE *out) {
    *out = WIDE();
    auto *to = reinterpret_cast<uint8_t *>(out);
    memcpy(to, mem.base + a, bytes);
    if (run_options.big_endian)
        for (unsigned i = 0; i + lane <= bytes; i += lane)
            for (unsigned j = 0; j < lane / 2; j++) std::swap(to[i + j], to[i + lane - 1 - j]);
}

void store_wide(uint32_t a, unsigned bytes, unsigned lane, const WIDE *in) {
    WIDE copy = *in;
    auto *from = reinterpret_cast<uint8_t *>(&copy);
    if (run_options.big_endian)
        for (unsigned i = 0; i + lane <= bytes; i += lane)
            for (unsigned j = 0; j < lane / 2; j++) std::swap(from[i + j], from[i + lane - 1 - j]);
    memcpy(mem.base + a, from, bytes);
    note_write(mem.base + a, bytes);
}

unsigned sk_bytes(SK k) {
    static const uint8_t sizes[] = {1, 1, 2, 2, 4, 4, 8, 8, 4, 8, 0, 0, 0};
    return sizes[k];
}

SK scalar_kind(const TYPE *t) {
    if (!t) return SK_void;
    switch (t->dkind()) {
    case K_int:
    case K_enum: {
        const TYPE *d = t->dtype;
        if (d->kind == K_enum) d = d->underlying_type()->dtype;
        bool s = d->is_signed();
        switch (d->size) {
        case 8: return s ? SK_i8 : SK_u8;
        case 16: return s ? SK_i16 : SK_u16;
        case 64: return s ? SK_i64 : SK_u64;
        default: return s ? SK_i32 : SK_u32;
        }
    }
    case K_float: return t->size == 32 ? SK_f32 : SK_f64;
    case K_fixpt: return t->size > 32 ? SK_i64 : SK_i32;
    case K_ptr:
    case K_ref:
    case K_func:
    case K_ptm: return SK_u32;
    case K_complex: return SK_wide;
    case K_array: return t->is_vector() ? SK_wide : SK_record;
    case K_class:
    case K_struct:
    case K_union: return SK_record;
    default: return SK_void;
    }
}
