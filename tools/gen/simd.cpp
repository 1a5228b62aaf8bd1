// Built-ins of the table of intrinsics as C. Each form becomes a small function that stands in the text when it is used:
// what the processor has for it (arm_neon.h, or one instruction) where the text is compiled for such a processor, else
// a loop over the table's lane function.
#include <cstring>

#include "tools/gen/gen.h"
#include "typepkg/type_lanes.h"

namespace {

CK kind_of(LANE l) { return CK(int(CK_s8) + int(l)); } // both count from s8 to f64
static_assert(int(CK_u64) == int(LANE_u64) && int(CK_f32) == int(LANE_f32) && int(CK_f64) == int(LANE_f64));

std::string neon_name(LANE_SHAPE s) {
    bool flt = lane_is_float(s.lane), is_signed = lane_is_signed(s.lane);
    std::string bits = std::to_string(lane_bits(s.lane));
    return (flt ? "float" : is_signed ? "int" : "uint") + bits + "x" + std::to_string(s.count) + "_t";
}

struct SIMD_FUNCTION {
    const INTRIN_FORM &form;
    std::vector<const CTYPE *> params; // of the operands that are no constants
    std::vector<std::string> operand;  // by operand: its parameter's name or its constant
    const CTYPE *result;
    bool all_constant = true; // immediates

    std::string signature(const std::string &name) const {
        std::string s = "static inline __attribute__((always_inline)) " + result->text + " " + name + "(";
        for (size_t i = 0; i < params.size(); i++)
            s += (i ? ", " : "") + params[i]->declare(std::string(1, char('a' + i)));
        return s + ")";
    }

    std::string neon() const {
        std::string r;
        unsigned immediate = 0;
        for (const char *p = form.row->machine; *p; p++) {
            bool is_last = !p[1];
            if (*p == '@') r += form.base.bits() == 128 ? "q" : "";
            else if (*p == '$') {
                LANE l = form.base.lane;
                r += lane_is_float(l) ? "_f" : lane_is_signed(l) ? "_s" : "_u";
                r += std::to_string(lane_bits(l));
            } else if (*p != '%' || is_last) r += *p;
            else if (*++p == 'n') r += std::to_string(form.base.count);
            else if (*p == 'i') {
                while (!(form.immediates >> immediate & 1)) immediate++;
                r += operand[immediate];
            } else {
                unsigned k = unsigned(*p - '1');
                r += "(" + neon_name(form.operand[k]) + ")" + operand[k];
            }
        }
        return "return (" + result->text + ")" + r + ";";
    }

    bool is_instruction() const { return !strchr(form.row->machine, '('); }

    std::string vector_instruction() const {
        std::string text, inputs;
        for (const char *p = form.row->machine; *p; p++) {
            text += *p;
            if (*p == '%')
                text += (p[1] == '0' ? form.result : form.operand[p[1] - '1']).bits() == 128 ? 'q' : 'P';
        }
        for (unsigned i = 0; i < form.n; i++)
            inputs += std::string(i ? ", " : "") + "\"w\"(" + operand[i] + ")";
        return result->text + " r; __asm__(\"" + text + "\" : \"=w\"(r) : " + inputs + "); return r;";
    }

    std::string instruction() const {
        std::string text = form.row->machine, zero = "#0";
        std::vector<std::string> immediates;
        for (unsigned i = 0; i < form.n; i++)
            if (form.immediates >> i & 1) immediates.push_back(operand[i]);
        for (size_t i = 0; i < immediates.size(); i++) {
            size_t at = text.find(i ? "%j" : "%i");
            text.replace(at, 2, immediates[i]);
        }
        for (const char *none : {", lsl #0", ", asr #0", ", ror #0"})
            if (text.size() > strlen(none) &&
                text.compare(text.size() - strlen(none), strlen(none), none) == 0)
                text.erase(text.size() - strlen(none));
        bool several = text.find('\\') != std::string::npos;
        bool accumulates = form.n == 3 && lane_bits(form.result.lane) == 64 && form.operand[0] == form.result;
        std::string inputs;
        for (unsigned i = 0; i < form.n; i++)
            if (!(form.immediates >> i & 1))
                inputs += std::string(i ? ", " : "") + (accumulates && i == 0 ? "\"0\"(" : "\"r\"(") +
                          operand[i] + ")";
        return result->text + " r; __asm__(\"" + text + "\" : \"=" + (several ? "&" : "") +
               "r\"(r) : " + inputs + "); return r;";
    }

    // What an operand's lane i is as 64 bits; of floats the pattern.
    std::string lane(unsigned k, const std::string &i) const {
        if (k >= form.n) return "0";
        LANE_SHAPE s = form.operand[k];
        if (s.count == 1) return operand[k];
        return (lane_is_float(s.lane) ? "((v" + std::to_string(s.count) + "u32)" + operand[k] + ")"
                                      : operand[k]) +
               "[" + i + "]";
    }

    std::string portable() const {
        const INTRIN_ROW &r = *form.row;
        auto width = [](LANE l) { return (lane_is_signed(l) ? -1 : 1) * int(lane_bits(l)); };
        unsigned last = form.n;
        while (last > 1 && (form.immediates >> (last - 1) & 1)) last--;
        std::string tail = ", " + std::to_string(width(form.operand[last - 1].lane)) + ", " +
                           std::to_string(width(form.result.lane)) + ", " + std::to_string(r.k) + ")";
        auto apply = [&](const std::string &a, const std::string &b, const std::string &c) {
            return "ql_lane_" + std::string(r.fn_name) + "(" + a + ", " + b + ", " + c + tail;
        };
        if (form.result.count == 1 && r.walk == WALK_LANES)
            return "return (" + result->text + ")" + apply(lane(0, ""), lane(1, ""), lane(2, "")) + ";";
        bool flt = lane_is_float(form.result.lane);
        std::string count = std::to_string(form.result.count), body;
        if (r.walk == WALK_LANES) body = apply(lane(0, "i"), lane(1, "i"), lane(2, "i"));
        else if (r.walk == WALK_TABLE)
            body = "b[i] < " + std::to_string(form.operand[0].count) + " ? a[b[i]] : 0";
        else {
            unsigned first = r.walk == WALK_PAIRS_ACC ? 1 : 0;
            unsigned pairs = form.operand[first].count / 2u;
            std::string at = "2 * (i % " + std::to_string(pairs) + ")";
            auto of = [&](unsigned k) { return apply(lane(k, at), lane(k, at + " + 1"), "0"); };
            body = of(first);
            if (first + 1 < form.n)
                body = "i < " + std::to_string(pairs) + " ? " + body + " : " + of(first + 1);
            if (first) body += " + a[i]";
        }
        std::string type = flt ? "v" + count + "u32" : result->text;
        if (form.result.count == 1) return "return (" + result->text + ")(" + replaced(body) + ");";
        return type + " r; for (u32 i = 0; i < " + count + "; i++) r[i] = " + body + "; return (" +
               result->text + ")r;";
    }

    // Of one lane only.
    static std::string replaced(std::string body) {
        std::string out = body;
        for (size_t at; (at = out.find("a[i]")) != std::string::npos;) out.replace(at, 4, "a");
        for (size_t at; (at = out.find("i % 1")) != std::string::npos;) out.replace(at, 5, "0");
        return out;
    }
};

} // namespace

bool FUNC_GEN::is_simd(const std::string &name) { return intrin_is_known(name.c_str()); }

EXPR FUNC_GEN::simd(MNODE *t, const std::vector<MNODE *> &nodes) {
    const std::string &name = t->text;
    LANE_SHAPE result = lane_shape_of(t->type), have[INTRIN_OPERANDS];
    bool fits = nodes.size() <= INTRIN_OPERANDS && result.lane != LANE_none;
    for (size_t i = 0; i < nodes.size() && fits; i++) {
        have[i] = lane_shape_of(nodes[i]->type);
        fits = have[i].lane != LANE_none;
    }
    INTRIN_FORM form;
    if (fits) form = intrin_find(name.c_str(), result, have, unsigned(nodes.size()));
    if (!form.row) cannot(t, "the built-in '" + name + "' on operands of these types");
    const CTYPE *answer = types.of(t->type);
    switch (form.row->walk) {
    case WALK_JOIN: return packed(nodes, false, answer);
    case WALK_SPREAD: return packed(nodes, true, answer);
    case WALK_BITS: return reinterpret(value(nodes[0]), answer);
    case WALK_CONVERT: {
        EXPR e = value(nodes[0]), type;
        if (e.type->is_scalar() && answer->is_scalar()) return convert(e, answer);
        if (e.type == answer) return e;
        type.text = answer->text;
        return call_text("__builtin_convertvector", {e, type}, answer);
    }
    case WALK_PART: {
        std::vector<EXPR> v = values(nodes);
        EXPR e = keep(v[0]), at = keep(convert(v[1], types.basic(CK_s32)));
        auto index = [&](unsigned i) {
            if (at.is_const) return std::to_string(at.value * result.count + i);
            return operand(at, P_MUL) + " * " + std::to_string(result.count) + " + " + std::to_string(i);
        };
        std::vector<std::string> lanes;
        for (unsigned i = 0; i < result.count; i++) lanes.push_back(e.text + "[" + index(i) + "]");
        if (answer->kind == CK_vector) return vector_of(lanes, answer, e.fx);
        EXPR r;
        r.text = lanes[0], r.prec = P_POSTFIX, r.type = e.type->part, r.fx = e.fx;
        return convert(r, answer);
    }
    default: return simd_call(form, nodes, answer, t);
    }
}

EXPR FUNC_GEN::simd_call(const INTRIN_FORM &form, const std::vector<MNODE *> &nodes, const CTYPE *answer,
                         MNODE *t) {
    auto type_of = [&](LANE_SHAPE s) {
        const CTYPE *lane = types.basic(kind_of(s.lane));
        return s.count == 1 ? lane : types.vector(lane, s.count);
    };
    SIMD_FUNCTION f{form, {}, {}, type_of(form.result)};
    std::string name =
        "ql_" + std::string(form.row->name + strspn(form.row->name, "_")) + "_" + f.result->text;
    std::vector<EXPR> all = values(nodes), passed;
    for (unsigned i = 0; i < form.n; i++) {
        const CTYPE *type = type_of(form.operand[i]);
        EXPR &e = all[i];
        bool immediate = form.immediates >> i & 1;
        if (immediate && nodes[i]->op == ICON) {
            if (!intrin_immediate_fits(form, i, nodes[i]->value))
                cannot(t, "an operand of the built-in '" + t->text + "' that is out of range");
            f.operand.push_back(std::to_string(nodes[i]->value));
            name += "_" + f.operand.back();
            continue;
        }
        if (immediate) f.all_constant = false;
        f.operand.emplace_back(1, char('a' + f.params.size()));
        f.params.push_back(type);
        name += "_" + type->text;
        passed.push_back(e.type->is_scalar() && type->is_scalar() ? convert(e, type) : reinterpret(e, type));
    }
    if (lane_is_float(form.base.lane)) types.vector(types.basic(CK_u32), form.base.count);
    const INTRIN_ROW &row = *form.row;
    if (row.fn_name)
        for (const std::string &n : lane_function_names(row.fn_name))
            g.support_for("ql_lane_" + n, [&] { return lane_function_text(n); });
    bool is_word = row.flags & INTRIN_WORD;
    if (!is_word)
        g.support_for("arm_neon.h", [] { return "#ifdef __ARM_NEON\n#include <arm_neon.h>\n#endif\n"; });
    g.support_for(name, [&] {
        if (!row.machine || !f.all_constant) return f.signature(name) + " { " + f.portable() + " }\n";
        return f.signature(name) + "\n{\n" +
               (is_word
                    ? "#ifdef __ARM_FEATURE_SIMD32\n    " + f.instruction()
                    : "#ifdef __ARM_NEON\n    " + (f.is_instruction() ? f.vector_instruction() : f.neon())) +
               "\n#else\n    " + f.portable() + "\n#endif\n}\n";
    });
    EXPR r = call_text(name, passed, f.result);
    if (answer->is_scalar() && f.result->is_scalar()) return convert(r, answer);
    return reinterpret(r, answer);
}
