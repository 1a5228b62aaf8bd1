// What tests of built-ins share: the table of descriptors, plain models in C of what the operations compute, and an
// evaluator that knows calls, conditionals and assignments. Trees are compared by what they evaluate to.
#pragma once

#include "OPT5/bif.h"
#include "OPT5/bifbounds.h"
#include "OPT5/flags.h"
#include "OPT5/icalls.h"
#include "OPT5/icmult.h"
#include "OPT5/icternary.h"
#include "options/opttable.h"
#include "tests/unit/OPT5/trees_world.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

// --- models: what the operations are defined to compute, on operands as they come ---

inline int64_t clamped(int64_t v, int64_t low, int64_t high) { return v < low ? low : v > high ? high : v; }
inline int64_t sat16(int64_t v) { return clamped(v, INT16_MIN, INT16_MAX); }
inline int64_t sat32(int64_t v) { return clamped(v, INT32_MIN, INT32_MAX); }
inline int64_t floor_shift(int64_t v, int64_t n) {
    return n > 62 ? (v < 0 ? -1 : 0) : v >= 0 ? v >> n : ~(~v >> n);
}
// To the left for positive counts, saturating at each place as the codecs' reference does.
inline int64_t etsi_left(int64_t v, int64_t n, int64_t (*saturate)(int64_t)) {
    if (n < 0) return floor_shift(v, -n);
    for (; n > 0 && v != 0 && saturate(2 * v) == 2 * v; n--) v *= 2;
    return n > 0 && v != 0 ? saturate(2 * v) : v;
}
inline int64_t etsi_right_rounded(int64_t v, int64_t n, int64_t (*saturate)(int64_t), int bits) {
    if (n < 0) return etsi_left(v, -n, saturate);
    if (n >= bits) return 0;
    return n == 0 ? v : floor_shift(v, n) + (floor_shift(v, n - 1) & 1);
}
inline int64_t l_mult(int64_t a, int64_t b) { return sat32(a * b * 2); }
inline int64_t etsi_rounded(int64_t v) { return floor_shift(sat32(v + 0x8000), 16); }
inline int64_t norm(int64_t v, int bits) {
    if (v == 0) return 0;
    if (v < 0) v = ~v;
    int64_t n = 0;
    for (; n < bits - 1 && v < int64_t{1} << (bits - 2); n++) v *= 2;
    return n;
}
inline int64_t B(int64_t v) { return int16_t(v); }
inline int64_t T(int64_t v) { return int16_t(uint32_t(v) >> 16); }
inline int64_t s16(int64_t v) { return int16_t(v); }
inline int64_t s32(int64_t v) { return int32_t(v); }
inline int64_t u32(int64_t v) { return uint32_t(v); }
inline bool less_unsigned(int64_t a, int64_t b) { return uint64_t(a) < uint64_t(b); }

struct MODEL {
    const char *name;
    int64_t (*f)(const int64_t *);
};

// clang-format off
inline const MODEL models[] = {
    {"MIN",    [](const int64_t *o) { return std::min(s32(o[0]), s32(o[1])); }},
    {"LMIN",   [](const int64_t *o) { return std::min(s32(o[0]), s32(o[1])); }},
    {"LLMIN",  [](const int64_t *o) { return std::min(o[0], o[1]); }},
    {"MINU",   [](const int64_t *o) { return std::min(u32(o[0]), u32(o[1])); }},
    {"LMINU",  [](const int64_t *o) { return std::min(u32(o[0]), u32(o[1])); }},
    {"LLMINU", [](const int64_t *o) { return less_unsigned(o[1], o[0]) ? o[1] : o[0]; }},
    {"MAX",    [](const int64_t *o) { return std::max(s32(o[0]), s32(o[1])); }},
    {"LMAX",   [](const int64_t *o) { return std::max(s32(o[0]), s32(o[1])); }},
    {"LLMAX",  [](const int64_t *o) { return std::max(o[0], o[1]); }},
    {"MAXU",   [](const int64_t *o) { return std::max(u32(o[0]), u32(o[1])); }},
    {"LMAXU",  [](const int64_t *o) { return std::max(u32(o[0]), u32(o[1])); }},
    {"LLMAXU", [](const int64_t *o) { return less_unsigned(o[0], o[1]) ? o[1] : o[0]; }},
    {"ETSI_ABS_S",       [](const int64_t *o) { return sat16(std::abs(s16(o[0]))); }},
    {"ETSI_L_ABS",       [](const int64_t *o) { return sat32(std::abs(s32(o[0]))); }},
    {"ETSI_ADD",         [](const int64_t *o) { return sat16(s16(o[0]) + s16(o[1])); }},
    {"ETSI_SUB",         [](const int64_t *o) { return sat16(s16(o[0]) - s16(o[1])); }},
    {"ETSI_NEGATE",      [](const int64_t *o) { return sat16(-s16(o[0])); }},
    {"ETSI_MULT",        [](const int64_t *o) { return sat16(floor_shift(s16(o[0]) * s16(o[1]), 15)); }},
    {"ETSI_MULT_R",      [](const int64_t *o) { return sat16(floor_shift(s16(o[0]) * s16(o[1]) + 0x4000, 15)); }},
    {"ETSI_SHL",         [](const int64_t *o) { return etsi_left(s16(o[0]), s16(o[1]), sat16); }},
    {"ETSI_SHR",         [](const int64_t *o) { return etsi_left(s16(o[0]), -s16(o[1]), sat16); }},
    {"ETSI_SHR_R",       [](const int64_t *o) { return etsi_right_rounded(s16(o[0]), s16(o[1]), sat16, 16); }},
    {"ETSI_SHIFT_R",     [](const int64_t *o) { return etsi_right_rounded(s16(o[0]), -s16(o[1]), sat16, 16); }},
    {"ETSI_EXTRACT_H",   [](const int64_t *o) { return T(o[0]); }},
    {"ETSI_EXTRACT_L",   [](const int64_t *o) { return B(o[0]); }},
    {"ETSI_ROUND",       [](const int64_t *o) { return etsi_rounded(s32(o[0])); }},
    {"ETSI_NORM_S",      [](const int64_t *o) { return norm(s16(o[0]), 16); }},
    {"ETSI_NORM_L",      [](const int64_t *o) { return norm(s32(o[0]), 32); }},
    {"ETSI_L_ADD",       [](const int64_t *o) { return sat32(s32(o[0]) + s32(o[1])); }},
    {"ETSI_L_SUB",       [](const int64_t *o) { return sat32(s32(o[0]) - s32(o[1])); }},
    {"ETSI_L_NEGATE",    [](const int64_t *o) { return sat32(-s32(o[0])); }},
    {"ETSI_L_MULT",      [](const int64_t *o) { return l_mult(s16(o[0]), s16(o[1])); }},
    {"ETSI_L_MAC",       [](const int64_t *o) { return sat32(s32(o[0]) + l_mult(s16(o[1]), s16(o[2]))); }},
    {"ETSI_L_MSU",       [](const int64_t *o) { return sat32(s32(o[0]) - l_mult(s16(o[1]), s16(o[2]))); }},
    {"ETSI_MAC_R",       [](const int64_t *o) { return etsi_rounded(sat32(s32(o[0]) + l_mult(s16(o[1]), s16(o[2])))); }},
    {"ETSI_MSU_R",       [](const int64_t *o) { return etsi_rounded(sat32(s32(o[0]) - l_mult(s16(o[1]), s16(o[2])))); }},
    {"ETSI_L_DEPOSIT_H", [](const int64_t *o) { return s16(o[0]) * 65536; }},
    {"ETSI_L_DEPOSIT_L", [](const int64_t *o) { return s16(o[0]); }},
    {"ETSI_L_SHL",       [](const int64_t *o) { return etsi_left(s32(o[0]), s16(o[1]), sat32); }},
    {"ETSI_L_SHR",       [](const int64_t *o) { return etsi_left(s32(o[0]), -s16(o[1]), sat32); }},
    {"ETSI_L_SHR_R",     [](const int64_t *o) { return etsi_right_rounded(s32(o[0]), s16(o[1]), sat32, 32); }},
    {"ETSI_L_SHIFT_R",   [](const int64_t *o) { return etsi_right_rounded(s32(o[0]), -s16(o[1]), sat32, 32); }},
    {"_smulbb", [](const int64_t *o) { return B(o[0]) * B(o[1]); }},
    {"_smulbt", [](const int64_t *o) { return B(o[0]) * T(o[1]); }},
    {"_smultb", [](const int64_t *o) { return T(o[0]) * B(o[1]); }},
    {"_smultt", [](const int64_t *o) { return T(o[0]) * T(o[1]); }},
    {"_smlabb", [](const int64_t *o) { return s32(B(o[0]) * B(o[1]) + o[2]); }},
    {"_smlabt", [](const int64_t *o) { return s32(B(o[0]) * T(o[1]) + o[2]); }},
    {"_smlatb", [](const int64_t *o) { return s32(T(o[0]) * B(o[1]) + o[2]); }},
    {"_smlatt", [](const int64_t *o) { return s32(T(o[0]) * T(o[1]) + o[2]); }},
    {"_smull",  [](const int64_t *o) { return s32(o[0]) * s32(o[1]); }},
    {"_umull",  [](const int64_t *o) { return int64_t(uint64_t(u32(o[0])) * uint64_t(u32(o[1]))); }},
    {"quest$colon",      [](const int64_t *o) { return o[0] ? o[1] : o[2]; }},
    {"__builtin_expect", [](const int64_t *o) { return s32(o[0]); }},
    {"DONOTCSE",         [](const int64_t *o) { return o[0]; }},
};
// clang-format on

inline const MODEL *find_model(const char *name) {
    for (const MODEL &m : models)
        if (strcmp(m.name, name) == 0) return &m;
    return nullptr;
}

// Values where 16-bit and 32-bit arithmetic turns over.
inline const std::vector<int64_t> turning_points = {
    0,      1,       2,       3,       255,        0x4000,     0x7FFF,      0x8000,
    0x8001, 0xFFFF,  0x10000, 0x10001, 0x7FFF0000, 0x7FFFFFFF, -1,          -2,
    -3,     -0x7FFF, -0x8000, -0x8001, -0x10000,   -0x10001,   -0x7FFFFFFF, -0x80000000LL};

struct bif_world : trees_world {
    option_obj options;
    TYPE *sht, *usht;

    bif_world() {
        sht = sh;
        usht = tp->basic[IK_ushort];
        all_option_sets = {&options};
        file_options = &options;
        cpu_version = 6;
        init_BIF_descriptors();
    }
    ~bif_world() override {
        all_option_sets.clear();
        file_options = nullptr;
        cpu_version = 0;
    }
    // The table for another target.
    void retarget(long silicon, int version) {
        options.setopt(OO_SILICON_VERSION, silicon);
        cpu_version = version;
        init_BIF_descriptors();
    }
    bool exists(const char *name) { return find_BIF_descriptor(name) != nullptr; }

    NODE *ICALL_of(const char *name, std::initializer_list<NODE *> operands, TYPE *type = nullptr) {
        return mk_ICALL(name, args(operands), type ? type : i);
    }

    // Reads of volatile variables and assignments, in the order in which they happen.
    std::vector<std::string> trace;
    // What the tree evaluates to, as a number of its type.
    INT65 run(const NODE *n);
};

inline INT65 bif_world::run(const NODE *n) {
    if (n->op == NAME && n->type->is_volatile()) trace.push_back(n->u.sym->name);
    if (n->op == ICON || n->op == NAME) return *eval(n);
    auto of_type = [n](INT65 v) { return truncate_to_type(v, n->type); };
    switch (n->op) {
    case ASG: {
        INT65 v = truncate_to_type(run(n->right), n->left->type);
        trace.push_back(n->left->u.sym->name);
        return values[n->left->u.sym] = v;
    }
    case COMMAOP: run(n->left); return run(n->right);
    case QUEST: return of_type(run(run(n->left).is_zero() ? n->right->right : n->right->left));
    case ABS: {
        INT65 v = run(n->left);
        return of_type(v.is_negative() ? -v : v);
    }
    case ICALL: {
        const MODEL *model = find_model(n->u.icall);
        std::vector<int64_t> o;
        for (NODE *operand : arg_list_args(n->left)) o.push_back(run(operand).to_int64());
        if (!model) ADD_FAILURE() << "no model of " << n->u.icall;
        return model ? of_type(INT65(static_cast<long long>(model->f(o.data())))) : INT65(0);
    }
    }
    // An operator of numbers, whose operands are evaluated here.
    NODE *with_values = copy_node(n);
    with_values->left = mk_ICON(run(n->left), n->left->type->dtype);
    if (n->right) with_values->right = mk_ICON(run(n->right), n->right->type->dtype);
    std::optional<INT65> v = eval(with_values);
    erase_tree(with_values);
    EXPECT_TRUE(v.has_value()) << opname(n->op);
    return v.value_or(INT65(0));
}
