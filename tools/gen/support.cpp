// Built-in operations by name. Each becomes a small static function that stands in the output when it is used.
#include <algorithm>
#include <cstring>

#include "tools/gen/gen.h"

namespace {

struct ROW {
    const char *name;     // of the operation; the C function is ql_name
    const char *types;    // result, then parameters a, b, c ...
    const char *body;     // a value, or statements when it begins with a brace
    bool ordered = false; // keeps its place among calls and volatile accesses
};

#define SAT16(x) "ql_sat16(" x ")"
#define SAT32(x) "ql_sat32(" x ")"
#define LOW(x) "(s16)(" x ")"
#define HIGH(x) "((s32)(" x ") >> 16)"
#define BARRIER_ASM(text) "{ __asm__ volatile(\"" text "\" ::: \"memory\"); }"

// clang-format off
const ROW rows[] = {
    // shifts by any count
    {"shl_s32", "s32 s32 u32", "b < 32 ? a << b : 0"},
    {"shl_u32", "u32 u32 u32", "b < 32 ? a << b : 0"},
    {"shl_s64", "s64 s64 u32", "b < 64 ? a << b : 0"},
    {"shl_u64", "u64 u64 u32", "b < 64 ? a << b : 0"},
    {"shr_s32", "s32 s32 u32", "a >> (b < 32 ? b : 31)"},
    {"shr_u32", "u32 u32 u32", "b < 32 ? a >> b : 0"},
    {"shr_s64", "s64 s64 u32", "a >> (b < 64 ? b : 63)"},
    {"shr_u64", "u64 u64 u32", "b < 64 ? a >> b : 0"},
    {"shl_s32_by64", "s32 s32 u64", "b < 32 ? a << b : 0"},
    {"shl_u32_by64", "u32 u32 u64", "b < 32 ? a << b : 0"},
    {"shl_s64_by64", "s64 s64 u64", "b < 64 ? a << b : 0"},
    {"shl_u64_by64", "u64 u64 u64", "b < 64 ? a << b : 0"},
    {"shr_s32_by64", "s32 s32 u64", "a >> (b < 32 ? b : 31)"},
    {"shr_u32_by64", "u32 u32 u64", "b < 32 ? a >> b : 0"},
    {"shr_s64_by64", "s64 s64 u64", "a >> (b < 64 ? b : 63)"},
    {"shr_u64_by64", "u64 u64 u64", "b < 64 ? a >> b : 0"},
    {"recip_s32", "s32 s32", "1 / (a ? a : 1)"},
    {"recip_u32", "u32 u32", "1 / (a ? a : 1)"},
    {"recip_s64", "s64 s64", "1 / (a ? a : 1)"},
    {"recip_u64", "u64 u64", "1 / (a ? a : 1)"},
    // square roots as the floating point unit takes them, without errno
    {"sqrt_f32", "f32 f32", "{ f32 r; __asm__(\"vsqrt.f32 %0, %1\" : \"=t\"(r) : \"t\"(a)); return r; }"},
    {"sqrt_f64", "f64 f64", "{ f64 r; __asm__(\"vsqrt.f64 %P0, %P1\" : \"=w\"(r) : \"w\"(a)); return r; }"},

    // smaller and greater
    {"MIN", "s32 s32 s32", "a < b ? a : b"},    {"MAX", "s32 s32 s32", "a > b ? a : b"},
    {"LMIN", "s32 s32 s32", "a < b ? a : b"},   {"LMAX", "s32 s32 s32", "a > b ? a : b"},
    {"LLMIN", "s64 s64 s64", "a < b ? a : b"},  {"LLMAX", "s64 s64 s64", "a > b ? a : b"},
    {"MINU", "u32 u32 u32", "a < b ? a : b"},   {"MAXU", "u32 u32 u32", "a > b ? a : b"},
    {"LMINU", "u32 u32 u32", "a < b ? a : b"},  {"LMAXU", "u32 u32 u32", "a > b ? a : b"},
    {"LLMINU", "u64 u64 u64", "a < b ? a : b"}, {"LLMAXU", "u64 u64 u64", "a > b ? a : b"},
    {"FMIN", "f32 f32 f32", "a < b ? a : b"},   {"FMAX", "f32 f32 f32", "a > b ? a : b"},
    {"DMIN", "f64 f64 f64", "a < b ? a : b"},   {"DMAX", "f64 f64 f64", "a > b ? a : b"},
    {"LDMIN", "f64 f64 f64", "a < b ? a : b"},  {"LDMAX", "f64 f64 f64", "a > b ? a : b"},

    // saturation
    {"sat8", "s32 s32", "a > 127 ? 127 : a < -128 ? -128 : a"},
    {"sat16", "s32 s32", "a > 32767 ? 32767 : a < -32768 ? -32768 : a"},
    {"sat32", "s32 s64", "a > 2147483647 ? 2147483647 : a < -2147483648ll ? -2147483647 - 1 : (s32)a"},
    {"usat", "u32 s32 u32", "a < 0 ? 0 : (u32)a > b ? b : (u32)a"},
    {"_sadd", "s32 s32 s32", SAT32("(s64)a + b")},
    {"_ssub", "s32 s32 s32", SAT32("(s64)a - b")},
    {"_sdadd", "s32 s32 s32", "ql_sat32((s64)a + ql_sat32((s64)b * 2))"},
    {"_sdsub", "s32 s32 s32", "ql_sat32((s64)a - ql_sat32((s64)b * 2))"},

    // halves of words
    {"_smulbb", "s32 s32 s32", LOW("a") " * " LOW("b")},
    {"_smulbt", "s32 s32 s32", LOW("a") " * " HIGH("b")},
    {"_smultb", "s32 s32 s32", HIGH("a") " * " LOW("b")},
    {"_smultt", "s32 s32 s32", HIGH("a") " * " HIGH("b")},
    {"_smlabb", "s32 s32 s32 s32", LOW("a") " * " LOW("b") " + c"},
    {"_smlabt", "s32 s32 s32 s32", LOW("a") " * " HIGH("b") " + c"},
    {"_smlatb", "s32 s32 s32 s32", HIGH("a") " * " LOW("b") " + c"},
    {"_smlatt", "s32 s32 s32 s32", HIGH("a") " * " HIGH("b") " + c"},
    {"_smulwb", "s32 s32 s32", "(s32)((s64)a * " LOW("b") " >> 16)"},
    {"_smulwt", "s32 s32 s32", "(s32)((s64)a * " HIGH("b") " >> 16)"},
    {"_smlawb", "s32 s32 s32 s32", "(s32)((s64)a * " LOW("b") " >> 16) + c"},
    {"_smlawt", "s32 s32 s32 s32", "(s32)((s64)a * " HIGH("b") " >> 16) + c"},
    {"_smull", "s64 s32 s32", "(s64)a * b"},
    {"_umull", "u64 u32 u32", "(u64)a * b"},
    {"_smlal", "s64 s64 s32 s32", "a + (s64)b * c"},
    {"_umlal", "u64 u64 u32 u32", "a + (u64)b * c"},
    {"_smlalbb", "s64 s64 s32 s32", "a + " LOW("b") " * " LOW("c")},
    {"_smlalbt", "s64 s64 s32 s32", "a + " LOW("b") " * " HIGH("c")},
    {"_smlaltb", "s64 s64 s32 s32", "a + " HIGH("b") " * " LOW("c")},
    {"_smlaltt", "s64 s64 s32 s32", "a + " HIGH("b") " * " HIGH("c")},
    {"_smmul", "s32 s32 s32", "(s32)((s64)a * b >> 32)"},
    {"_smmulr", "s32 s32 s32", "(s32)(((s64)a * b + 0x80000000ll) >> 32)"},
    {"_smuad", "s32 s32 s32", LOW("a") " * " LOW("b") " + " HIGH("a") " * " HIGH("b")},
    {"_smuadx", "s32 s32 s32", LOW("a") " * " HIGH("b") " + " HIGH("a") " * " LOW("b")},
    {"_smusd", "s32 s32 s32", LOW("a") " * " LOW("b") " - " HIGH("a") " * " HIGH("b")},
    {"_smusdx", "s32 s32 s32", LOW("a") " * " HIGH("b") " - " HIGH("a") " * " LOW("b")},
    {"_smlad", "s32 s32 s32 s32", LOW("a") " * " LOW("b") " + " HIGH("a") " * " HIGH("b") " + c"},
    {"_smladx", "s32 s32 s32 s32", LOW("a") " * " HIGH("b") " + " HIGH("a") " * " LOW("b") " + c"},
    {"_smlsd", "s32 s32 s32 s32", LOW("a") " * " LOW("b") " - " HIGH("a") " * " HIGH("b") " + c"},
    {"_smlsdx", "s32 s32 s32 s32", LOW("a") " * " HIGH("b") " - " HIGH("a") " * " LOW("b") " + c"},
    {"_sxtb", "s32 u32 u32", "(s8)(a >> b | a << (32 - b & 31))"},
    {"_sxth", "s32 u32 u32", "(s16)(a >> b | a << (32 - b & 31))"},
    {"_uxtb", "u32 u32 u32", "(u8)(a >> b | a << (32 - b & 31))"},
    {"_uxth", "u32 u32 u32", "(u16)(a >> b | a << (32 - b & 31))"},

    // basic operations of speech coders
    {"ETSI_ADD", "s32 s32 s32", SAT16(LOW("a") " + " LOW("b"))},
    {"ETSI_SUB", "s32 s32 s32", SAT16(LOW("a") " - " LOW("b"))},
    {"ETSI_ABS_S", "s32 s32", SAT16("__builtin_abs(" LOW("a") ")")},
    {"ETSI_NEGATE", "s32 s32", SAT16("-" LOW("a"))},
    {"ETSI_MULT", "s32 s32 s32", SAT16(LOW("a") " * " LOW("b") " >> 15")},
    {"ETSI_MULT_R", "s32 s32 s32", SAT16("(" LOW("a") " * " LOW("b") " + 0x4000) >> 15")},
    {"ETSI_EXTRACT_H", "s32 s32", "a >> 16"},
    {"ETSI_EXTRACT_L", "s32 s32", LOW("a")},
    {"ETSI_ROUND", "s32 s32", SAT32("(s64)a + 0x8000") " >> 16"},
    {"ETSI_L_ABS", "s32 s32", SAT32("__builtin_llabs(a)")},
    {"ETSI_L_NEGATE", "s32 s32", SAT32("-(s64)a")},
    {"ETSI_L_ADD", "s32 s32 s32", SAT32("(s64)a + b")},
    {"ETSI_L_SUB", "s32 s32 s32", SAT32("(s64)a - b")},
    {"ETSI_L_MULT", "s32 s32 s32", SAT32("(s64)" LOW("a") " * " LOW("b") " * 2")},
    {"ETSI_L_MAC", "s32 s32 s32 s32", SAT32("(s64)a + " SAT32("(s64)" LOW("b") " * " LOW("c") " * 2"))},
    {"ETSI_L_MSU", "s32 s32 s32 s32", SAT32("(s64)a - " SAT32("(s64)" LOW("b") " * " LOW("c") " * 2"))},
    {"ETSI_L_DEPOSIT_H", "s32 s32", "a << 16"},
    {"ETSI_L_DEPOSIT_L", "s32 s32", LOW("a")},
    {"ETSI_NORM_S", "s32 s32", "(s16)a == 0 ? 0 : __builtin_clrsb((s16)a) - 16"},
    {"ETSI_NORM_L", "s32 s32", "a == 0 ? 0 : __builtin_clrsb(a)"},

    // the processor
    {"BARRIER", "void", BARRIER_ASM(""), true},
    {"_dmb", "void", BARRIER_ASM("dmb"), true},
    {"_dsb", "void", BARRIER_ASM("dsb"), true},
    {"_isb", "void", BARRIER_ASM("isb"), true},
    {"_get_CPSR", "u32", "{ u32 r; __asm__ volatile(\"mrs %0, cpsr\" : \"=r\"(r)); return r; }", true},
    {"_set_CPSR", "void u32", "{ __asm__ volatile(\"msr cpsr_cxsf, %0\" :: \"r\"(a) : \"memory\", \"cc\"); }", true},
    {"__ldrexb", "u32 ptr", "{ u32 r; __asm__ volatile(\"ldrexb %0, [%1]\" : \"=r\"(r) : \"r\"(a) : \"memory\"); return r; }", true},
    {"__ldrexh", "u32 ptr", "{ u32 r; __asm__ volatile(\"ldrexh %0, [%1]\" : \"=r\"(r) : \"r\"(a) : \"memory\"); return r; }", true},
    {"__ldrex", "u32 ptr", "{ u32 r; __asm__ volatile(\"ldrex %0, [%1]\" : \"=r\"(r) : \"r\"(a) : \"memory\"); return r; }", true},
    {"__strexb", "s32 u32 ptr", "{ s32 r; __asm__ volatile(\"strexb %0, %1, [%2]\" : \"=&r\"(r) : \"r\"(a), \"r\"(b) : \"memory\"); return r; }", true},
    {"__strexh", "s32 u32 ptr", "{ s32 r; __asm__ volatile(\"strexh %0, %1, [%2]\" : \"=&r\"(r) : \"r\"(a), \"r\"(b) : \"memory\"); return r; }", true},
    {"__strex", "s32 u32 ptr", "{ s32 r; __asm__ volatile(\"strex %0, %1, [%2]\" : \"=&r\"(r) : \"r\"(a), \"r\"(b) : \"memory\"); return r; }", true},
};
// clang-format on

const ROW *find_row(const std::string &name) {
    for (const ROW &r : rows)
        if (name == r.name) return &r;
    return nullptr;
}

std::vector<std::string> words(const char *text) {
    std::vector<std::string> w{""};
    for (; *text; text++)
        if (*text == ' ') w.emplace_back();
        else w.back() += *text;
    return w;
}

std::string function_text(const ROW &r) {
    std::vector<std::string> types = words(r.types);
    std::string text = "static inline " + types[0] + " ql_" + r.name + "(";
    for (size_t i = 1; i < types.size(); i++)
        text += (i > 1 ? ", " : "") + (types[i] == "ptr" ? "volatile void *" : types[i] + " ") +
                char('a' + i - 1);
    text += types.size() == 1 ? "void) " : ") ";
    return text + (r.body[0] == '{' ? std::string(r.body) : std::string("{ return ") + r.body + "; }") + "\n";
}

} // namespace

std::string FILE_GEN::support(const std::string &name) {
    const ROW *r = find_row(name);
    if (!support_names.insert(name).second) return "ql_" + name;
    for (const char *used : {"sat16", "sat32"})
        if (strstr(r->body, used)) support(used);
    support_text += function_text(*r);
    return "ql_" + name;
}

EXPR FUNC_GEN::apply_support(const std::string &name, std::vector<EXPR> args) {
    const ROW *r = find_row(name);
    std::vector<std::string> type_names = words(r->types);
    auto type = [&](const std::string &n) -> const CTYPE * {
        const CTYPE *v = types.of(g.model.package->void_type());
        if (n == "void") return v;
        if (n == "ptr") return types.pointer_to(v, true);
        for (CK k = CK_s8; k <= CK_f64; k = CK(k + 1))
            if (types.basic(k)->text == n) return types.basic(k);
        return v;
    };
    if (args.size() != type_names.size() - 1)
        cannot(nullptr, "the built-in '" + name + "' with " + std::to_string(args.size()) + " operands");
    for (size_t i = 0; i < args.size(); i++) args[i] = convert(args[i], type(type_names[i + 1]));
    EXPR e = call_text(g.support(name), args, type(type_names[0]));
    if (r->ordered) e.fx.add(EFFECTS::call());
    return e;
}

EXPR FUNC_GEN::intrinsic(MNODE *t) {
    const std::string &name = t->text;
    const CTYPE *answer = types.of(t->type);
    auto as_answer = [&](EXPR e) {
        if (answer->is_scalar() && e.type->is_scalar()) return convert(e, answer);
        if (answer->is_wide() && e.type != answer && e.type->kind != CK_void) return reinterpret(e, answer);
        return e;
    };
    if (name == "_never_executed") {
        EXPR e = call_text("__builtin_unreachable", {}, types.of(g.model.package->void_type()));
        e.fx.add(EFFECTS::call());
        return e;
    }
    std::vector<MNODE *> nodes = list_of(t->left);
    if (nodes.empty() && t->op == MCALL) cannot(t, "the built-in '" + name + "' without operands");
    if ((name == "DONOTCSE" || name == "def$assert") && !nodes.empty()) return as_answer(value(nodes[0]));
    if (name == "__builtin_expect" && nodes.size() == 2) {
        std::vector<EXPR> v = values(nodes);
        EXPR r = call_text(name, {v[0], v[1]}, types.basic(CK_s32));
        r.is_truth = v[0].is_truth;
        return as_answer(r);
    }
    if (name == "quest$colon" && nodes.size() == 3) {
        std::vector<EXPR> v = values(nodes);
        if (v[1].fx.changes_something()) v[1] = temp(v[1], seq->last());
        if (v[2].fx.changes_something()) v[2] = temp(v[2], seq->last());
        if (answer->is_scalar()) v[1] = convert(v[1], answer), v[2] = convert(v[2], answer);
        EXPR r;
        r.text = operand(v[0], P_EQ) + " ? " + operand(v[1], P_OROR) + " : " + operand(v[2], P_OROR);
        r.prec = P_COND, r.type = v[1].type;
        for (EXPR &e : v) r.fx.add(e.fx), r.depth = std::max(r.depth, e.depth + 1);
        return r;
    }
    bool on_vectors = t->type->is_vector();
    for (MNODE *n : nodes) on_vectors |= n->type->is_vector();
    if (is_simd(name) && (on_vectors || !find_row(name))) return as_answer(simd(t, nodes));
    if (!find_row(name)) cannot(t, "the built-in '" + name + "' is not known");
    return as_answer(apply_support(name, values(nodes)));
}
