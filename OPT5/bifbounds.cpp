#include "OPT5/bifbounds.h"

#include <algorithm>
#include <unordered_map>

#include "OPT5/bif.h"
#include "OPT5/symbolic.h"
#include "OPT5/tree.h"
#include "typepkg/type_pkg.h"

unsigned bif_bound_depth_hits = 0;

namespace {

struct RANGE {
    INT65 low, high;
    bool contains(const RANGE &r) const { return low <= r.low && r.high <= high; }
};

constexpr RANGE WHOLE = {INT65::min(), INT65::max()};

bool is_integer(const TYPE *type) { return type->is_integral() || type->is_enum(); }

RANGE signed_range(int bits) { return {-(INT65(1) << (bits - 1)), (INT65(1) << (bits - 1)) - INT65(1)}; }
RANGE unsigned_range(int bits) { return {INT65(0), (INT65(1) << bits) - INT65(1)}; }

RANGE range_of_type(const TYPE *type) {
    if (!is_integer(type)) return WHOLE;
    if (type->is_bool()) return {INT65(0), INT65(1)};
    return type->is_unsigned() ? unsigned_range(int(type->size)) : signed_range(int(type->size));
}

// --- arithmetic of ranges ---

RANGE operator+(RANGE a, RANGE b) { return {a.low + b.low, a.high + b.high}; }
RANGE operator-(RANGE a) { return {-a.high, -a.low}; }
RANGE operator-(RANGE a, RANGE b) { return a + -b; }
RANGE operator<<(RANGE a, int n) { return {a.low << n, a.high << n}; }
RANGE operator>>(RANGE a, int n) { return {a.low >> n, a.high >> n}; }
// The extremes of a product stand at corners.
RANGE operator*(RANGE a, RANGE b) {
    auto [low, high] = std::minmax({a.low * b.low, a.low * b.high, a.high * b.low, a.high * b.high});
    return {low, high};
}

RANGE saturated(RANGE a, int bits) {
    RANGE limits = signed_range(bits);
    return {std::clamp(a.low, limits.low, limits.high), std::clamp(a.high, limits.low, limits.high)};
}
RANGE wrapped(RANGE a, RANGE type) { return type.contains(a) ? a : type; }

// What a shift by an unknown signed count gives: the sign stays or becomes that of 0, the magnitude may grow up to the
// limits.
RANGE shifted(RANGE a, int bits) {
    RANGE limits = signed_range(bits);
    return {a.low.is_negative() ? limits.low : INT65(0), a.high.is_positive() ? limits.high : INT65(0)};
}

RANGE magnitude(RANGE a) {
    INT65 low = a.low.is_negative() ? -a.low : a.low, high = a.high.is_negative() ? -a.high : a.high;
    bool crosses_zero = a.low.is_negative() && a.high.is_positive();
    return {crosses_zero ? INT65(0) : std::min(low, high), std::max(low, high)};
}

// --- operations; o[k] is the range of operand k in its parameter's type ---

// The product of two fractions of 15 bits, doubled to one of 31, saturated: 0x8000 * 0x8000 has no place.
RANGE fraction_product(RANGE a, RANGE b) { return saturated((a * b) << 1, 32); }
// The upper half of a word, rounded.
RANGE rounded(RANGE a) {
    INT65 half(0x8000);
    return saturated(a + RANGE{half, half}, 32) >> 16;
}

RANGE etsi_add(const RANGE *o) { return saturated(o[0] + o[1], 16); }
RANGE etsi_sub(const RANGE *o) { return saturated(o[0] - o[1], 16); }
RANGE etsi_negate(const RANGE *o) { return saturated(-o[0], 16); }
RANGE etsi_mult(const RANGE *o) { return saturated((o[0] * o[1]) >> 15, 16); }
RANGE etsi_mult_r(const RANGE *o) {
    INT65 half(0x4000);
    return saturated((o[0] * o[1] + RANGE{half, half}) >> 15, 16);
}
RANGE etsi_shift(const RANGE *o) { return shifted(o[0], 16); }
RANGE etsi_extract_h(const RANGE *o) { return o[0] >> 16; }
RANGE etsi_extract_l(const RANGE *o) { return wrapped(o[0], signed_range(16)); }
RANGE etsi_round(const RANGE *o) { return rounded(o[0]); }
RANGE etsi_l_add(const RANGE *o) { return saturated(o[0] + o[1], 32); }
RANGE etsi_l_sub(const RANGE *o) { return saturated(o[0] - o[1], 32); }
RANGE etsi_l_negate(const RANGE *o) { return saturated(-o[0], 32); }
RANGE etsi_l_mult(const RANGE *o) { return fraction_product(o[0], o[1]); }
RANGE etsi_l_mac(const RANGE *o) { return saturated(o[0] + fraction_product(o[1], o[2]), 32); }
RANGE etsi_l_msu(const RANGE *o) { return saturated(o[0] - fraction_product(o[1], o[2]), 32); }
RANGE etsi_mac_r(const RANGE *o) { return rounded(etsi_l_mac(o)); }
RANGE etsi_msu_r(const RANGE *o) { return rounded(etsi_l_msu(o)); }
RANGE etsi_l_deposit_h(const RANGE *o) { return o[0] << 16; }
RANGE etsi_l_deposit_l(const RANGE *o) { return o[0]; }
RANGE etsi_l_shift(const RANGE *o) { return shifted(o[0], 32); }

// The parameter of a bottom half is a short, that of a top half the whole int.
RANGE smulbb(const RANGE *o) { return o[0] * o[1]; }
RANGE smulbt(const RANGE *o) { return o[0] * (o[1] >> 16); }
RANGE smultb(const RANGE *o) { return (o[0] >> 16) * o[1]; }
RANGE smultt(const RANGE *o) { return (o[0] >> 16) * (o[1] >> 16); }
RANGE smlabb(const RANGE *o) { return wrapped(smulbb(o) + o[2], signed_range(32)); }
RANGE smlabt(const RANGE *o) { return wrapped(smulbt(o) + o[2], signed_range(32)); }
RANGE smlatb(const RANGE *o) { return wrapped(smultb(o) + o[2], signed_range(32)); }
RANGE smlatt(const RANGE *o) { return wrapped(smultt(o) + o[2], signed_range(32)); }
RANGE mull(const RANGE *o) { return o[0] * o[1]; }

// Calls that give one of their operands.
RANGE first_operand(const RANGE *o) { return o[0]; }
RANGE either_arm(const RANGE *o) { return {std::min(o[1].low, o[2].low), std::max(o[1].high, o[2].high)}; }

using OPERATION = RANGE (*)(const RANGE *);
struct OPERATION_ROW {
    const char *name;
    OPERATION range;
};

// clang-format off
constexpr OPERATION_ROW operations[] = {
    {"ETSI_ADD",         etsi_add},         {"ETSI_SUB",         etsi_sub},
    {"ETSI_NEGATE",      etsi_negate},      {"ETSI_MULT",        etsi_mult},
    {"ETSI_MULT_R",      etsi_mult_r},      {"ETSI_SHL",         etsi_shift},
    {"ETSI_SHR",         etsi_shift},       {"ETSI_SHR_R",       etsi_shift},
    {"ETSI_SHIFT_R",     etsi_shift},       {"ETSI_EXTRACT_H",   etsi_extract_h},
    {"ETSI_EXTRACT_L",   etsi_extract_l},   {"ETSI_ROUND",       etsi_round},
    {"ETSI_L_ADD",       etsi_l_add},       {"ETSI_L_SUB",       etsi_l_sub},
    {"ETSI_L_NEGATE",    etsi_l_negate},    {"ETSI_L_MULT",      etsi_l_mult},
    {"ETSI_L_MAC",       etsi_l_mac},       {"ETSI_L_MSU",       etsi_l_msu},
    {"ETSI_MAC_R",       etsi_mac_r},       {"ETSI_MSU_R",       etsi_msu_r},
    {"ETSI_L_DEPOSIT_H", etsi_l_deposit_h}, {"ETSI_L_DEPOSIT_L", etsi_l_deposit_l},
    {"ETSI_L_SHL",       etsi_l_shift},     {"ETSI_L_SHR",       etsi_l_shift},
    {"ETSI_L_SHR_R",     etsi_l_shift},     {"ETSI_L_SHIFT_R",   etsi_l_shift},
    {"_smulbb",          smulbb},           {"_smulbt",          smulbt},
    {"_smultb",          smultb},           {"_smultt",          smultt},
    {"_smlabb",          smlabb},           {"_smlabt",          smlabt},
    {"_smlatb",          smlatb},           {"_smlatt",          smlatt},
    {"quest$colon",      either_arm},       {"__builtin_expect", first_operand},
    {"DONOTCSE",         first_operand},
    {"_smull",           mull},             {"_umull",           mull},
};
// clang-format on

// By the generic name, where there is one.
OPERATION find_operation(const BIF *bif) {
    static const auto table = [] {
        std::unordered_map<const char *, OPERATION> by_name; // interned
        for (const OPERATION_ROW &row : operations) by_name.emplace(intern_name(row.name), row.range);
        return by_name;
    }();
    bool is_instance = bif->generic_link && !(bif->flags2 & BIF_IS_GENERIC);
    auto found = table.find(is_instance ? bif->generic_link->name : bif->name);
    return found == table.end() ? nullptr : found->second;
}

constexpr int MAX_OPERANDS = 3; // of what is bounded by its operands

// The range of a call with that descriptor, in its result type, from those of its operands.
RANGE range_by_descriptor(const BIF *bif, const RANGE *o) {
    RANGE type = range_of_type(bif->result_type);
    bool takes_one = bif->nparms == 1, takes_two = bif->nparms == 2;
    // A magnitude without place in the type is saturated or wraps, by the operation; only the former is known.
    if (bif->flags2 & BIF_IS_PROPER_ABSVAL && takes_one) {
        RANGE r = magnitude(o[0]);
        bool saturates = bif->flags2 & BIF_IS_GENERIC || bif->generic_link;
        return type.contains(r) ? r : saturates ? saturated(r, int(bif->result_type->size)) : type;
    }
    if (bif->flags2 & BIF_IS_PROPER_MINVAL && takes_two)
        return {std::min(o[0].low, o[1].low), std::min(o[0].high, o[1].high)};
    if (bif->flags3 & BIF_IS_PROPER_MAXVAL && takes_two)
        return {std::max(o[0].low, o[1].low), std::max(o[0].high, o[1].high)};
    if (bif->flags2 & BIF_RETURNS_1_OR_0) return {INT65(0), INT65(1)};
    if (OPERATION operation = find_operation(bif)) return operation(o);
    RANGE r = type;
    if (bif->flags1 & BIF_MINVAL_IS_KNOWN) r.low = std::max(r.low, bif->minval);
    if (bif->flags1 & BIF_MAXVAL_IS_KNOWN) r.high = std::min(r.high, bif->maxval);
    return r;
}

struct DEPTH {
    static inline int depth = 0;
    DEPTH() { depth++; }
    ~DEPTH() { depth--; }
};

RANGE range_of_call(NODE *call, struct LOOP *loop) {
    RANGE type = range_of_type(call->type);
    const BIF *bif = is_integer(call->type) ? find_BIF_descriptor(call->u.icall) : nullptr;
    if (!bif || bif->nparms > MAX_OPERANDS || arg_list_count(call->left) != bif->nparms) return type;
    DEPTH guard;
    if (DEPTH::depth > BIF_BOUND_DEPTH) {
        bif_bound_depth_hits++;
        return type;
    }
    RANGE o[MAX_OPERANDS];
    for (int k = 0; k < bif->nparms; k++) {
        NODE *operand = arg_list_lookup(call->left, k);
        RANGE own = {calculate_minval_for_tree(operand, loop), calculate_maxval_for_tree(operand, loop)};
        TYPE *parameter = arg_list_lookup(bif->parameters, k)->type;
        o[k] = is_integer(parameter) ? wrapped(own, range_of_type(parameter)) : own;
    }
    RANGE result = range_by_descriptor(bif, o);
    return result.low <= result.high ? wrapped(result, type) : type;
}

} // namespace

INT65 calculate_maxval_for_BIF_call(NODE *call, struct LOOP *loop) { return range_of_call(call, loop).high; }
INT65 calculate_minval_for_BIF_call(NODE *call, struct LOOP *loop) { return range_of_call(call, loop).low; }
