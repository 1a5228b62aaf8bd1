// Built-ins from the table of intrinsics: words and vectors of up to 16 bytes, lane by lane.
#include "tools/exec/compile.h"
#include "typepkg/type_lanes.h"

namespace {

struct SIMD_CALL {
    INTRIN_FORM form;
    LANE_SHAPE have[INTRIN_OPERANDS], result; // as the tree has them
    XN *operand[INTRIN_OPERANDS] = {};
    bool is_wide[INTRIN_OPERANDS] = {};
};

void to_lanes(const WIDE &w, LANE_SHAPE s, LANES &to) {
    unsigned width = lane_bits(s.lane) / 8;
    for (unsigned i = 0; i < s.count; i++) {
        uint64_t v = 0;
        memcpy(&v, reinterpret_cast<const uint8_t *>(&w) + i * width, width);
        to.v[i] = lane_fit(int64_t(v), s.lane);
    }
}

void from_lanes(const LANES &from, LANE_SHAPE s, WIDE &w) {
    unsigned width = lane_bits(s.lane) / 8;
    w = WIDE();
    for (unsigned i = 0; i < s.count; i++)
        memcpy(reinterpret_cast<uint8_t *>(&w) + i * width, &from.v[i], width);
}

void run(const SIMD_CALL &c, FRAME *f, LANES &result) {
    LANES operand[INTRIN_OPERANDS];
    for (unsigned i = 0; i < c.form.n; i++) {
        LANES have;
        XN *x = c.operand[i];
        if (c.is_wide[i]) {
            WIDE w;
            x->wide(x, f, &w);
            to_lanes(w, c.have[i], have);
        } else have.v[0] = int64_t(x->fn(x, f));
        lanes_as(have, c.have[i], operand[i], c.form.operand[i]);
    }
    LANES r;
    intrin_eval(c.form, operand, &r);
    lanes_as(r, c.form.result, result, c.result);
}

} // namespace

XN *compile_simd(COMPILER &c, MNODE *t, const char *name, const std::vector<MNODE *> &args) {
    auto *call = new SIMD_CALL; // lives as long as the program
    call->result = lane_shape_of(t->type);
    bool fits = args.size() <= INTRIN_OPERANDS && call->result.lane != LANE_none;
    for (size_t i = 0; i < args.size() && fits; i++) {
        call->have[i] = lane_shape_of(args[i]->type);
        call->is_wide[i] = scalar_kind(args[i]->type) == SK_wide;
        fits = call->have[i].lane != LANE_none && call->have[i].bits() <= INTRIN_REGISTER_BITS;
    }
    if (fits) call->form = intrin_find(name, call->result, call->have, unsigned(args.size()));
    if (!call->form.row)
        c.cannot(t, ("the built-in '" + std::string(name) + "' on operands of these types").c_str());
    bool has_vectors = scalar_kind(t->type) == SK_wide;
    for (size_t i = 0; i < args.size(); i++) {
        if (args[i]->op == ICON && !intrin_immediate_fits(call->form, unsigned(i), args[i]->value))
            c.cannot(args[i],
                     ("an operand of the built-in '" + std::string(name) + "' that is out of range").c_str());
        call->operand[i] = call->is_wide[i] ? c.wide_value(args[i]) : c.value(args[i]);
        has_vectors |= call->is_wide[i];
    }
    XN *x = c.make(t);
    x->extra = call;
    c.count(has_vectors ? CN_VECTOR : CN_CALLS);
    x->fn = [](const XN *n, FRAME *f) -> uint64_t {
        LANES r;
        run(*static_cast<const SIMD_CALL *>(n->extra), f, r);
        return uint64_t(r.v[0]);
    };
    x->wide = [](const XN *n, FRAME *f, WIDE *out) {
        LANES r;
        auto *call = static_cast<const SIMD_CALL *>(n->extra);
        run(*call, f, r);
        from_lanes(r, call->result, *out);
    };
    return x;
}
