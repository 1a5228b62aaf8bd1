// Rules for masks and known bits, row by row, and on random trees full of masks. None of them may rely on arithmetic that
// does not wrap.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

#include "OPT5/simp2.h"
#include "OPT5/simp_known.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "tests/oracle/lib/environments.h"
#include "typepkg/type_pkg.h"

namespace {

// The workers by themselves, so that no rule of another operator takes a row's shape away before them.
NODE *bits_alone(NODE *t) {
    return rewrite_tree(t, [](NODE *n) -> NODE * {
        switch (n->op) {
        case ANDB: return simp_ANDB(n, nullptr);
        case ORB: return simp_ORB(n, nullptr);
        case XORB: return simp_XORB(n, nullptr);
        default: return n;
        }
    });
}

struct WRAPPING {
    bool old = oracle_options.wraps;
    WRAPPING() { oracle_options.wraps = true; }
    ~WRAPPING() { oracle_options.wraps = old; }
};

// clang-format off
const std::vector<oracle_row> rows = {
    {"x & x", "bits: x & x"},
    {"x | x", "x | x -> x"},
    {"x ^ x", "XORB: x ^ x"},
    {"(x == y) & c"},
    {"((x & {-t}) + c) & {-t}", "(u & d) + (e & d)"},
    {"(x << k) & c", "known bits of x"},
    {"(x >> k) & c"},
    {"(x * t) & {t - 1}", "x has no bit of c"},
    {"(x & {t - 1}) & {-t}"},
    {"(x | c) & d", "(u & c) | (d & c)"},
    {"(x | c) & c"},
    {"((i32)(x | 5) & 7) | 8", "((u | e) & d) | c", T_I8 | T_U8 | T_I16 | T_U16},
    {"((i32)(x | -128) & 1023) | 8", nullptr, T_I8 | T_I16},
    {"((W)(x | c) & d) | e", nullptr, T_I8 | T_U8 | T_I16 | T_U16},
    {"((W)(x@i32 | c) & d) | e", nullptr, T_I16},
    {"(g(x) | c) & c", "x has all bits of c", T_WORD},
    {"((x & c) | (y & d)) & e"},
    {"((x & c) | d) & e"},
    {"(x + c) & m", "constant of a sum"},
    {"(x - c) & m"},
    {"(x + (y & c)) & m", "mask: x & c -> x"},
    {"(x + y) & 1", "mask 1: x + y"},
    {"(x - y) & 1", "mask 1: x + y"},
    {"(-x) & 1", "mask 1: -x"},
    {"(x * y) & 1", "mask 1: x * y"},
    {"(x * c) & m"},
    {"(x * c + y) & m"},
    {"(x + {t * 2}) & {t - 1}", "mask: x + c"},
    {"(x * {t + 1}) & {t - 1}"},
    {"((x << k) >> l) & c", "(x << a) >> b"},
    {"((x * t) >> k) & c"},
    {"((x + y) >> k) & m"},
    {"(x >> k) & {t - 1}"},
    {"((x + c) >> k) & 1"},
    {"(x ? y & c : c) & m"},
    {"((x ^ c) | d) & e"},
    {"((U)x) & c", "SCONV(x)"},
    {"((W)x) & c"},
    {"((H)x) & c"},
    {"((T)(H)(x + y)) & c"},
    {"((T)(x@u8 + y@u8)) & c"},
    {"((T)(x@i8 + y@i8)) & c"},
    {"((T)x@u16) & c"},
    {"((T)x@i16) & c"},
    {"x@u8 & c"},
    {"x@i8 & c"},
    {"(x@i8 | c) & d"},
    {"(x@i8 ^ c) & d"},
    {"(x@i8 + c) & m"},
    {"(x >= c) & (x <= d)"},
    {"(x >= {m - 5}) & (x <= m)", "a - lo ULE hi - lo"},
    {"(x > {0 - t}) & (x < t)"},
    {"(x < c) & (x > d)"},
    {"(x@u8 >= 3) & (x@u8 <= 200)"},
    {"(x@i8 >= -3) & (x@i8 <= 100)"},
    {"(x >= 10) & (y <= 20)"},
    {"(x < {m - 5}) | (x > m)", "a - lo UGT hi - lo"},
    {"(x > c) | (x <= d)"},
    {"(x@i8 > 100) | (x@i8 < -3)"},
    {"(x >= {m - 5}) && (x <= m)"},
    {"(x < c) || (x >= d)"},
    {"(x > {0 - t}) && (x < t)"},
    {"(x < 5) || (x > 5)"},
    {"(x & c) | c"},
    {"(x & c) | d", "x & (c & mask)"},
    {"(x | c) | {~c}", "all bits are set"},
    {"((x & c) | {c + 1}) | d"},
    {"((x & m) ^ c) | {m + 1}", "u has no bit of c"},
    {"((x | c) & d) | e"},
    {"(x & c) | (x & d)", "a & (d | c)"},
    {"(y | (x & c)) | (x & d)", "a & (d | c)"},
    {"((x & c) | (y * z)) | (x & d)", "a & (d | c)"},
    {"(x & y) & y", "(u & v) & v"},
    {"(y | x) | y", "(u & v) & v"},
    {"(x ^ y) ^ y", "(u ^ v) ^ v"},
    {"((T)(U)y ^ x) ^ y"},
    {"(y@i8 ^ x) ^ y@i8"},
    {"(x@i8 & c) | (x@i8 & d)"},
    {"(x + c) | {~m}"},
    {"(x << k) | c"},
    {"((x * t) | c) & d"},
    {"(x & m) ^ {m + 1}", "x has no bit of c"},
    {"(x | c) ^ c", "x has all bits of c"},
    {"(x & c) ^ c", "(u ^ c) & c"},
    {"(x & c) ^ (-1)", "(u ^ -1)"},
    {"(x ^ c) & d"},
    {"(x ^ -1) & m"},
    {"(x ^ (y + c)) & m"},
    {"(x | (y + c)) & m"},
    {"((x & y) + c) & m"},
    {"(~(x + c)) & m"},
    {"-(x + c) & m"},
    // volatile reads and divisions
    {"u & 0"},
    {"u ^ u"},
    {"(u & c) | (u & d)"},
    {"(x ^ u) ^ u"},
    {"(x ^ (w = y)) ^ x"},
    {"(w ^ (w = y)) ^ w"},
    {"((w & c) | (w = y)) | (w & d)"},
    {"((x / y) & c) & {~c}"},
    {"((u & c) << k) & m"},
};
// clang-format on

// Operators of bits, sums and shifts, mostly with constants, and conversions.
NODE *bit_tree(RANDOM &r, TYPE *t, int depth) {
    GENERATOR g{r};
    g.effects = g.floats = false;
    if (depth == 0) return chance(r, 85) ? g.leaf(t) : t_convert(t, g.leaf(g.some_type()));
    auto sub = [&] { return bit_tree(r, t, depth - 1); };
    auto constant = [&] { return mk_ICON(interesting_constant(t, r), t); };
    auto another_type = [&] { return world().integers[pick(r, unsigned(world().integers.size()))].type; };
    switch (pick(r, 16)) {
    case 0:
    case 1:
    case 2: return t_binary(ANDB, sub(), constant());
    case 3: return t_binary(ORB, sub(), constant());
    case 4: return t_binary(XORB, sub(), constant());
    case 5: return t_binary(PLUS, sub(), chance(r, 50) ? constant() : sub());
    case 6: return t_binary(MINUS, sub(), sub());
    case 7: return t_binary(MULT, sub(), constant());
    case 8:
    case 9:
        return t_binary(chance(r, 50) ? SLL : SRL, sub(), t_icon(pick(r, unsigned(t->size)), world().i32));
    case 10: return t_quest(g.leaf(world().i32), sub(), chance(r, 30) ? constant() : sub());
    case 11: return t_convert(t, t_convert(another_type(), sub()));
    case 12: return t_convert(t, bit_tree(r, another_type(), depth - 1));
    case 13: return t_binary(ORB, sub(), sub());
    case 14: return t_binary(chance(r, 50) ? ANDB : XORB, sub(), sub());
    default: return t_unary(chance(r, 50) ? UMINUS : NOTB, sub());
    }
}

// Known bits of the tree in every integer type, against all values.
std::string known_bits_error(const NODE *tree, const CHECK &check, std::string *environment) {
    CODE code = translate(tree, world().layout);
    VK kind = code.kind;
    if (!code.refused.empty() || kind == VK::none || vk_is_float(kind)) {
        oracle_counts.skipped++;
        return "";
    }
    struct ANSWER {
        int bits;
        uint64_t ones, maybe;
    };
    std::vector<ANSWER> answers;
    for (const SCALAR &s : world().integers)
        answers.push_back({int(s.type->size), find_known_ones(tree, s.type).to_uint64(),
                           find_known_zeros(tree, s.type).to_uint64()});
    if (tree->op == ANDB)
        answers.push_back({int(tree->type->size), 0, find_known_zeros_in_ANDB(tree, nullptr).to_uint64()});
    ENVIRONMENTS e(code, check.seed, check.samples, check.enumerate_bits);
    RESULT r;
    for (uint64_t n = 0; e.next(); n++) {
        run(code, e.memory, check.seed + n, r);
        oracle_counts.environments++;
        if (r.trap != TRAP::none || (r.undefined & UNDEF_CONVERT)) {
            oracle_counts.undefined++;
            continue;
        }
        for (const ANSWER &a : answers) {
            INT65 v = INT65(static_cast<unsigned long long>(vk_cut(r.value, kind))).truncate_unsigned(a.bits);
            if ((v.to_uint64() & a.ones) == a.ones && (v.to_uint64() & ~a.maybe) == 0) continue;
            *environment = e.text();
            return "in " + std::to_string(a.bits) + " bits " + int65_to_hex(v) + ": ones " +
                   int65_to_hex(INT65(static_cast<unsigned long long>(a.ones))) + ", possible " +
                   int65_to_hex(INT65(static_cast<unsigned long long>(a.maybe)));
        }
    }
    return "";
}

std::string known_bits_hold(NODE *tree, const CHECK &check) {
    auto property = [&](const NODE *n, std::string *environment) {
        return known_bits_error(n, check, environment);
    };
    return check_property(tree, property, check);
}

} // namespace

// In the whole simplifier another rule may come first.
TEST(rows_bits, hold) {
    std::vector<oracle_row> shapes = rows;
    for (oracle_row &row : shapes) row.rule = nullptr;
    run_rows(shapes);
}

TEST(rows_bits, hold_for_the_workers_alone) {
    WRAPPING wraps;
    run_rows(rows, bits_alone);
}

TEST(rows_bits, trees_of_masks) {
    WRAPPING wraps;
    for (const SCALAR &each : world().integers)
        run_random(
            each.name, 200, [&](RANDOM &r) { return bit_tree(r, each.type, 4); }, bits_alone);
}

TEST(rows_bits, pushed_masks) {
    WRAPPING wraps;
    for (const SCALAR &each : world().integers) {
        for (int k = 0; k < 24; k++) {
            RANDOM random(oracle_options.seed + uint64_t(k) * 31 + each.type->size);
            CHECK check;
            check.compare = COMPARE::MASK;
            check.mask = k % 3 == 0   ? ~0ull >> pick(random, 64)
                         : k % 3 == 1 ? interesting_constant(each.type, random).to_uint64()
                                      : random();
            run_random(
                each.name, 12, [&](RANDOM &r) { return bit_tree(r, each.type, 4); },
                [&](NODE *t) {
                    return prop_mask_into_subtree(t, INT65(static_cast<unsigned long long>(check.mask)));
                },
                check);
        }
    }
}

TEST(known_bits, in_every_type) {
    for (const SCALAR &each : world().integers)
        run_random_trees(
            each.name, 100, [&](RANDOM &r) { return bit_tree(r, each.type, 4); }, known_bits_hold);
    auto anything = [](RANDOM &r) {
        GENERATOR g{r};
        return g.tree(g.some_type(), 4);
    };
    run_random_trees("anything", 800, anything, known_bits_hold);
}
