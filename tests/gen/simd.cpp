// Makes intermediate files that execute the table of intrinsics: gen_simd FILE.if PART PARTS
//
// Each form of each row, with small, middle and large immediates, over vectors of boundary and random lanes; one line of
// output a result, as words. simd.py compares the interpreter with the processor and with portable C.
#include <cstdlib>
#include <map>
#include <random>

#include "support/intrin.h"
#include "tests/gen/maker.h"

namespace {

constexpr unsigned VECTORS = 48;

struct SHAPES { // of rows that take any shape
    const char *name;
    LANE_SHAPE result;
    std::vector<LANE_SHAPE> operands;
};
const SHAPES any_shape[] = {
    {"__pack12", {LANE_s16, 8}, {{LANE_s16, 4}, {LANE_s16, 4}}},
    {"__pack12", {LANE_s32, 2}, {{LANE_s32, 1}, {LANE_s32, 1}}},
    {"__pack1234", {LANE_u16, 4}, {{LANE_u32, 1}, {LANE_s32, 1}, {LANE_u16, 1}, {LANE_u16, 1}}},
    {"__pack1234", {LANE_f32, 4}, {{LANE_f32, 1}, {LANE_f32, 1}, {LANE_f32, 1}, {LANE_f32, 1}}},
    {"__pack12345678", {LANE_s8, 8}, std::vector<LANE_SHAPE>(8, {LANE_s32, 1})},
    {"__pack1p", {LANE_s16, 8}, {{LANE_s16, 1}, {LANE_s16, 1}}},
    {"__packm", {LANE_u8, 16}, {{LANE_u8, 1}}},
    {"__packm", {LANE_u8, 16}, {{LANE_u8, 8}}},
    {"__repack", {LANE_s32, 4}, {{LANE_s16, 4}}},
    {"__repack", {LANE_u8, 8}, {{LANE_s16, 8}}},
    {"__repack", {LANE_f32, 4}, {{LANE_u32, 4}}},
    {"__s2v", {LANE_u8, 8}, {{LANE_s64, 1}}},
    {"__v2s", {LANE_s64, 1}, {{LANE_s16, 4}}},
    {"__subvec", {LANE_u8, 8}, {{LANE_u8, 16}, {LANE_s32, 1}}},
    {"__subvec", {LANE_f32, 2}, {{LANE_f32, 4}, {LANE_s32, 1}}},
};

struct SIMD : MAKER {
    std::map<std::pair<int, int>, MSYM *> arrays;
    std::map<std::pair<int, int>, TYPE *> types;
    std::mt19937_64 random{20};
    MSYM *out = nullptr;
    unsigned count = 0;

    TYPE *lane_type(LANE l) {
        static const IKIND kinds[] = {IK_schar, IK_uchar, IK_short, IK_ushort,
                                      IK_int,   IK_uint,  IK_llong, IK_ullong};
        return l == LANE_f32 ? m.package->basic[BT_float] : t(kinds[l]);
    }
    TYPE *type(LANE_SHAPE s) {
        TYPE *&v = types[{s.lane, s.count}];
        if (!v) v = s.count == 1 ? lane_type(s.lane) : m.package->mk_vector(lane_type(s.lane), s.count);
        return v;
    }

    uint64_t lane_value(LANE l) {
        unsigned bits = lane_bits(l);
        if (lane_is_float(l)) {
            static const uint32_t marks[] = {0,          0x80000000, 0x3F800000, 0xBF800000, 0x7F800000,
                                             0xFF800000, 0x7FC00001, 0x00000001, 0x807FFFFF, 0x00800000,
                                             0x7F7FFFFF, 0x3F000000, 0x40400000, 0x00FFFFFF, 0x4B000000,
                                             0xFFC12345, 0x7E800000, 0x7EFFFFFF, 0x01000000};
            uint64_t r = random();
            if (r % 3 == 0) return marks[r / 3 % (sizeof marks / sizeof *marks)];
            if (r % 3 == 1) return (r >> 8 & 0x807FFFFF) | (120 + (r >> 40) % 14) << 23;
            return r >> 16 & 0xFFFFFFFF & ((r & 0x40) ? ~0ull : 0xBFFFFFFF);
        }
        uint64_t top = (1ull << (bits - 1)) - 1, r = random();
        const uint64_t marks[] = {
            0, 1, ~0ull, top, top + 1, top - 1, top + 2, 0x4000, 0x8000, uint64_t(bits), 0 - uint64_t(bits)};
        switch (r % 4) {
        case 0: return marks[r / 4 % (sizeof marks / sizeof *marks)];
        case 1: return uint64_t(int64_t(r / 4 % (bits * 4)) - int64_t(bits * 2));
        default: return random();
        }
    }

    MSYM *array(LANE_SHAPE s) {
        MSYM *&v = arrays[{s.lane, s.count}];
        if (v) return v;
        std::vector<MNODE *> words;
        uint64_t pending = 0;
        unsigned held = 0;
        for (unsigned i = 0; i < VECTORS * s.count; i++) {
            uint64_t x = lane_value(s.lane);
            unsigned bits = lane_bits(s.lane);
            if (bits == 64) {
                words.push_back(ic(int32_t(x))), words.push_back(ic(int32_t(x >> 32)));
                continue;
            }
            pending |= (x & ((1ull << bits) - 1)) << held;
            held += bits;
            if (held == 32) words.push_back(ic(int32_t(pending))), pending = 0, held = 0;
        }
        return v = data("in_" + std::to_string(s.lane) + "_" + std::to_string(s.count),
                        m.package->mk_array(i32(), false, words.size()), words);
    }

    MNODE *load(LANE_SHAPE s, MSYM *i, unsigned k) {
        static const unsigned step[] = {1, 7, 11, 13, 17, 19, 23, 29};
        MNODE *at =
            n(MOD, i32(), n(PLUS, i32(), n(MULT, i32(), name(i), ic(step[k])), ic(3 * k)), ic(VECTORS));
        TYPE *p = ptr(type(s));
        MNODE *base = n(PCONV, p, addr(name(array(s))));
        return n(UMULT, type(s), n(PLUS, p, base, n(MULT, i32(), at, ic(s.bits() / 8))));
    }

    // A loop over the vectors; immediates instead of operands where they are set.
    void function(const char *what, LANE_SHAPE result, const std::vector<LANE_SHAPE> &o,
                  const std::map<unsigned, int64_t> &immediates) {
        std::string s =
            std::string(what) + "/" + std::to_string(result.lane) + "x" + std::to_string(result.count);
        for (auto &i : immediates) s += " #" + std::to_string(i.second);
        begin("f" + std::to_string(++count));
        MSYM *i = local("i", i32());
        int head = next_label++, out_label = next_label++;
        emit(n(ASG, i32(), name(i), ic(0)));
        label(head);
        unless(n(LT, i32(), name(i), ic(VECTORS)), out_label);
        MNODE *args = nullptr;
        for (unsigned k = 0; k < o.size(); k++) {
            auto imm = immediates.find(k);
            MNODE *a = imm != immediates.end() ? ic(imm->second) : load(o[k], i, k);
            args = args ? n(COMMA, void_t(), args, a) : a;
        }
        emit(n(ASG, type(result), n(UMULT, type(result), n(PCONV, ptr(type(result)), addr(name(out)))),
               named(ICALL, type(result), what, args)));
        MNODE *list_ = n(COMMA, void_t(), text(s + " %d: %08x %08x %08x %08x\n"), name(i));
        for (int w = 0; w < 4; w++) {
            MNODE *at = n(PLUS, ptr(i32()), n(PCONV, ptr(i32()), addr(name(out))), ic(4 * w));
            list_ = n(COMMA, void_t(), list_, n(UMULT, i32(), at));
        }
        emit(call(printf_sym, list_));
        emit(n(ASG, i32(), name(i), n(PLUS, i32(), name(i), ic(1))));
        branch(head);
        label(out_label);
        end();
    }

    void form(const INTRIN_FORM &f) {
        std::vector<LANE_SHAPE> o(f.operand, f.operand + f.n);
        if (!f.immediates) return function(f.row->name, f.result, o, {});
        for (int pick = 0; pick < 3; pick++) { // small, large, some other
            std::map<unsigned, int64_t> immediates;
            for (unsigned k = 0; k < f.n; k++) {
                if (!(f.immediates >> k & 1)) continue;
                std::vector<int64_t> fit;
                for (int64_t v = 0; v <= 64; v++)
                    if (intrin_immediate_fits(f, k, v)) fit.push_back(v);
                if (f.row->imm == IMM_BYTE) fit = {0xFF, 0x5A00, 0};
                immediates[k] = pick == 0 ? fit.front() : pick == 1 ? fit.back() : fit[fit.size() / 2];
            }
            function(f.row->name, f.result, o, immediates);
        }
    }

    void make(unsigned part, unsigned parts) {
        start();
        out = global("out", m.package->mk_array(t(IK_llong), false, 2));
        size_t rows;
        const INTRIN_ROW *r = intrin_rows(rows);
        unsigned k = 0;
        for (size_t i = 0; i < rows; i++)
            for (const INTRIN_FORM &f : intrin_forms(r[i]))
                if (k++ % parts == part) form(f);
        if (part == 0)
            for (const SHAPES &s : any_shape)
                for (int64_t v = 0; v < (s.operands.size() == 2 && !strcmp(s.name, "__subvec") ? 2 : 1); v++)
                    function(s.name, s.result, s.operands,
                             strcmp(s.name, "__subvec") ? std::map<unsigned, int64_t>()
                                                        : std::map<unsigned, int64_t>{{1, v}});
        finish();
    }
};

} // namespace

int main(int argc, char **argv) {
    TYPE_PKG::abi = 1;
    if_node_table_init();
    if (argc != 4) {
        fprintf(stderr, "usage: gen_simd FILE.if PART PARTS\n");
        return 2;
    }
    SIMD s;
    s.make(unsigned(atoi(argv[2])), unsigned(atoi(argv[3])));
    return !write_model(s.m, argv[1]);
}
