#include "tools/parse/lower.h"

#include <algorithm>

using namespace clang;

// Assembly. Text without operands stands in the function as it is. An empty text with operands, which programs use to
// keep a value or memory from being known, becomes copies through volatile temporaries.
//
// Any other text with operands becomes a function of its own in file-scope assembly, whose one argument is a table of
// the operands' values, 8 bytes each: it loads the inputs into registers, runs the text and stores the outputs. An
// operand in memory is one whose value is an address. Every operand has a register of its own, so that nothing depends
// on early clobbers; the function keeps all registers that a call must keep, whatever the text does to them.

constexpr int NONE = -1;

struct ASM_OPERAND {
    const Expr *expr = nullptr;
    bool output = false, input = false; // both: read and written
    bool memory = false, constant = false;
    bool vector = false; // in a register of the floating-point unit
    int64_t value = 0;   // of a constant
    unsigned bytes = 4;
    int reg = NONE; // the lower of two for 8 bytes; s or d registers by number for `vector`
    unsigned slot = 0;
};

namespace {

// The number of a register by any of its names; NONE for others.
int register_number(StringRef name) {
    static const char *const other[] = {"r0",  "r1",  "r2", "r3", "r4", "r5", "r6", "r7", "r8", "r9",  "r10",
                                        "r11", "r12", "sp", "lr", "a1", "a2", "a3", "a4", "v1", "v2",  "v3",
                                        "v4",  "v5",  "v6", "v7", "v8", "sb", "sl", "fp", "ip", "r13", "r14"};
    static const signed char number[] = {0, 1, 2, 3, 4, 5, 6, 7, 8,  9,  10, 11, 12, 13, 14, 0, 1,
                                         2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 9,  10, 11, 12, 13, 14};
    name.consume_front("%");
    for (size_t i = 0; i < sizeof number; i++)
        if (name.equals_insensitive(other[i])) return number[i];
    return NONE;
}

// The register that a local variable was declared for.
int pinned_register(const Expr *e) {
    auto *ref = dyn_cast<DeclRefExpr>(e->IgnoreParenImpCasts());
    auto *v = ref ? dyn_cast<VarDecl>(ref->getDecl()) : nullptr;
    if (!v || v->getStorageClass() != SC_Register) return NONE;
    auto *label = v->getAttr<AsmLabelAttr>();
    return label ? register_number(label->getLabel()) : NONE;
}

std::string core_register(int n) { return n == 13 ? "sp" : n == 14 ? "lr" : "r" + std::to_string(n); }

} // namespace

// The text of one function, with its operands placed.
struct ASM_FUNCTION {
    std::vector<ASM_OPERAND> operands;
    std::vector<std::string> clobbers;
    std::string name, error;
    bool thumb = false, big = false, uses_vectors = false;

    // Registers: those that variables were declared for first, then pairs, then the rest.
    bool place() {
        unsigned taken = 1u << 13 | 1u << 15;
        int next_vector = 0; // a single's number
        for (const std::string &c : clobbers) {
            int n = register_number(c);
            if (n != NONE) taken |= 1u << n;
            const char *family = strchr("sdq", c[0]);
            if (n != NONE || !family || c.size() < 2 || !isdigit(static_cast<unsigned char>(c[1]))) continue;
            int singles = *family == 's'   ? 1
                          : *family == 'd' ? 2
                                           : 4,
                end = (atoi(c.c_str() + 1) + 1) * singles;
            uses_vectors = true;
            if (end <= 16) next_vector = std::max(next_vector, (end + 1) & ~1);
        }
        for (ASM_OPERAND &o : operands)
            if (o.reg != NONE) taken |= 1u << o.reg | (o.bytes == 8 ? 2u << o.reg : 0);
        static const int order[] = {4, 5, 6, 8, 9, 10, 11, 7, 0, 1, 2, 3, 12, 14};
        for (bool pairs : {true, false})
            for (ASM_OPERAND &o : operands) {
                if (o.constant || o.reg != NONE || (o.bytes == 8 && !o.memory) != pairs) continue;
                if (o.vector) {
                    // Doubles first, so that no single falls into one.
                    o.reg = pairs ? next_vector / 2 : next_vector;
                    next_vector += pairs ? 2 : 1;
                    uses_vectors = true;
                    if (next_vector > 16) return false;
                    continue;
                }
                for (int n : order) {
                    unsigned bits = pairs ? 3u << n : 1u << n;
                    if (taken & bits || (pairs && n % 2)) continue;
                    o.reg = n, taken |= bits;
                    break;
                }
                if (o.reg == NONE) return false;
            }
        return true;
    }

    std::string transfer(const ASM_OPERAND &o, bool load, int base) const {
        std::string at = "[" + core_register(base) + ", #" + std::to_string(o.slot * 8);
        if (o.vector)
            return std::string(load ? "vldr " : "vstr ") + (o.bytes == 8 ? "d" : "s") +
                   std::to_string(o.reg) + ", " + at + "]\n\t";
        std::string text;
        for (int word = 0; word < (o.bytes == 8 && !o.memory ? 2 : 1); word++)
            text += std::string(load ? "ldr " : "str ") + core_register(o.reg + word) + ", [" +
                    core_register(base) + ", #" + std::to_string(o.slot * 8 + unsigned(word) * 4) + "]\n\t";
        return text;
    }

    // What stands for %N; empty, with `error`, for a form that is not known.
    std::string operand_text(const ASM_OPERAND &o, char modifier) {
        if (o.constant) {
            if (modifier == 'c' || modifier == 'n')
                return std::to_string(modifier == 'n' ? -o.value : o.value);
            if (modifier == 'B') return "#" + std::to_string(~o.value);
            if (modifier == 'L') return "#" + std::to_string(o.value & 0xffff);
            if (!modifier) return "#" + std::to_string(o.value);
        } else if (o.memory) {
            if (modifier == 'm') return core_register(o.reg);
            if (!modifier || modifier == 'a') return "[" + core_register(o.reg) + "]";
        } else if (o.vector) {
            if (!modifier || modifier == 'P')
                return (o.bytes == 8 || modifier == 'P' ? "d" : "s") + std::to_string(o.reg);
        } else {
            int low = big ? 1 : 0;
            if (!modifier) return core_register(o.reg);
            if (modifier == 'a') return "[" + core_register(o.reg) + "]";
            if (o.bytes == 8 && modifier == 'H') return core_register(o.reg + 1);
            if (o.bytes == 8 && modifier == 'Q') return core_register(o.reg + low);
            if (o.bytes == 8 && modifier == 'R') return core_register(o.reg + 1 - low);
            if (o.bytes == 8 && modifier == 'M')
                return "{" + core_register(o.reg) + "-" + core_register(o.reg + 1) + "}";
            if (o.bytes < 8 && modifier == 'Q') return core_register(o.reg);
        }
        error = std::string("the operand form %") + modifier + " of assembly";
        return "";
    }

    std::string text(const std::string &body) {
        std::string t = "\t.pushsection .text\n\t.align 2\n\t";
        t += thumb ? ".thumb\n\t.thumb_func\n\t" : ".arm\n\t";
        t += ".type " + name + ", %function\n" + name + ":\n\tstmfd sp!, {r0, r2-r11, lr}\n\t";
        if (uses_vectors) t += ".fpu neon-vfpv4\n\tvpush {d8-d15}\n\t";
        const ASM_OPERAND *last = nullptr; // the one that takes the table's own register
        unsigned held = 1u << 13;
        for (const ASM_OPERAND &o : operands) {
            if (o.output && !o.vector && !o.memory) held |= (o.bytes == 8 ? 3u : 1u) << o.reg;
            if (o.constant || !o.input) continue;
            bool covers = !o.vector && (o.reg == 0 || (o.reg == NONE));
            if (covers) last = &o;
            else t += transfer(o, true, 0);
        }
        if (last) {
            // A pair over the table's register is loaded from its upper word down.
            ASM_OPERAND low = *last;
            if (low.bytes == 8 && !low.memory)
                t += "ldr r1, [r0, #" + std::to_string(low.slot * 8 + 4) + "]\n\t", low.bytes = 4;
            t += transfer(low, true, 0);
        }
        t += "\n\t" + body + "\n\t";
        int base = 0;
        while (held >> base & 1) base++;
        t += "ldr " + core_register(base) + ", [sp, #" + std::to_string(uses_vectors ? 64 : 0) + "]\n\t";
        for (const ASM_OPERAND &o : operands)
            if (o.output && !o.memory) t += transfer(o, false, base);
        if (uses_vectors) t += "vpop {d8-d15}\n\t";
        t += "add sp, sp, #12\n\tldmfd sp!, {r4-r11, lr}\n\tbx lr\n\t.ltorg\n\t.size " + name + ", .-" +
             name + "\n\t.popsection";
        return t;
    }
};

void LOWER::assembly(const AsmStmt *s) {
    auto *g = dyn_cast<GCCAsmStmt>(s);
    if (!g) refuse(s->getBeginLoc(), "this form of assembly");
    if (g->isAsmGoto()) refuse(s->getBeginLoc(), "assembly that jumps");
    std::string text = g->getAsmString()->getString().str();
    bool operands = g->getNumOutputs() || g->getNumInputs();
    if (operands && text.find_first_not_of(" \t\n") == std::string::npos) return kept_operands(g);
    if (operands) return assembly_function(g);
    // Where operands could stand, a percent sign is written twice.
    for (size_t at = 0; !g->isSimple() && (at = text.find("%%", at)) != std::string::npos; at++)
        text.erase(at, 1);
    assembly_text(text);
}

void LOWER::assembly_text(const std::string &text) {
    MRECORD &r = func->records.emplace_back();
    r.tag = IF_ASSEMBLY, r.psn = position, r.text = text;
}

// The outputs of an empty text take the values of the inputs that share their place, or keep their own.
void LOWER::kept_operands(const GCCAsmStmt *g) {
    auto through = [&](MNODE *value, TYPE *t) {
        MSYM *kept = temp(t);
        TYPE *shown = m.package->mk_qual(t, QUAL_volatile);
        kept->type = shown;
        emit(assign(m.name(kept), value));
        return kept;
    };
    auto scalar = [](QualType q) { return q->isScalarType() || q->isVectorType(); };
    std::vector<MSYM *> inputs;
    for (unsigned i = 0; i < g->getNumInputs(); i++) {
        const Expr *e = g->getInputExpr(i);
        inputs.push_back(nullptr);
        if (e->isGLValue() || !scalar(e->getType())) { // an object in memory
            MNODE *lv = is_record(e->getType()) ? record_value(e) : lvalue(e);
            if (e->HasSideEffects(ctx)) emit(address_of(lv));
        } else inputs[i] = through(rvalue(e), unqualified(e->getType()));
    }
    for (unsigned i = 0; i < g->getNumClobbers(); i++)
        if (g->getClobber(i) == "memory") assembly_text("");
    for (unsigned i = 0; i < g->getNumOutputs(); i++) {
        const Expr *e = g->getOutputExpr(i);
        if (!scalar(e->getType())) continue; // its memory stays as it is
        MSYM *from = nullptr;
        for (unsigned k = 0; k < g->getNumInputs(); k++)
            if (g->getInputConstraint(k) == std::to_string(i)) from = inputs[k];
        MNODE *first = nullptr, *lv = stable_lvalue(e, first);
        if (first) emit(first);
        if (!from && !g->isOutputPlusConstraint(i)) continue; // no value is promised
        if (!from) from = through(m.copy(lv), unqualified(e->getType()));
        emit(assign(lv, convert(m.name(from), unqualified(e->getType()))));
    }
}

// What a constraint allows: the first alternative decides.
void LOWER::asm_constraint(ASM_OPERAND &o, StringRef c) {
    bool core = false, memory = false, constant = false;
    QualType q = o.expr->getType();
    for (c = c.split(',').first; !c.empty(); c = c.drop_front()) {
        char l = c[0];
        if (strchr("rlhgpXT", l)) core = true;
        else if (strchr("wtxy", l)) o.vector = true;
        else if (strchr("moVQU", l)) memory = true;
        else if (strchr("insEFGHIJKLMNOPD", l)) constant = true;
        else if (!strchr("=+&%*?! ", l))
            refuse(o.expr->getBeginLoc(), std::string("the constraint '") + l + "' of assembly");
        if (strchr("TUD", l) && c.size() > 1) c = c.drop_front();
    }
    Expr::EvalResult known;
    if (core || o.vector) o.vector &= !core;
    else if (memory) o.memory = true;
    else if (constant && o.expr->EvaluateAsInt(known, ctx))
        o.constant = true, o.value = known.Val.getInt().getExtValue();
    else refuse(o.expr->getBeginLoc(), "an assembly operand that is no integer constant");
    if (o.memory || o.constant) return;
    if (!q->isScalarType() || q->isAnyComplexType())
        refuse(o.expr->getBeginLoc(), "an assembly operand of this type");
    o.bytes = size_of(q) == 8 ? 8 : 4;
    o.reg = o.vector ? NONE : pinned_register(o.expr);
    if (o.reg == 13 || (o.bytes == 8 && o.reg != NONE))
        refuse(o.expr->getBeginLoc(), "an assembly operand in this register");
}

void LOWER::assembly_function(const GCCAsmStmt *g) {
    ASM_FUNCTION f;
    unsigned outputs = g->getNumOutputs(), inputs = g->getNumInputs();
    std::vector<int> place_of; // operand of the source -> of the function
    for (unsigned i = 0; i < outputs; i++) {
        ASM_OPERAND &o = f.operands.emplace_back();
        o.expr = g->getOutputExpr(i), o.output = true, o.input = g->isOutputPlusConstraint(i);
        asm_constraint(o, g->getOutputConstraint(i));
        place_of.push_back(int(i));
    }
    std::vector<const Expr *> value_of(outputs);
    for (unsigned i = 0; i < outputs; i++)
        if (f.operands[i].input) value_of[i] = f.operands[i].expr;
    for (unsigned i = 0; i < inputs; i++) {
        StringRef c = g->getInputConstraint(i);
        int tied = -1;
        if (!c.empty() && isdigit(static_cast<unsigned char>(c[0]))) tied = atoi(c.str().c_str());
        else if (c.startswith("[")) tied = g->getNamedOperand(c.drop_front().split(']').first);
        if (tied >= 0 && unsigned(tied) < outputs && !f.operands[size_t(tied)].memory) {
            f.operands[size_t(tied)].input = true, value_of[size_t(tied)] = g->getInputExpr(i);
            place_of.push_back(tied);
            continue;
        }
        place_of.push_back(int(f.operands.size()));
        ASM_OPERAND &o = f.operands.emplace_back();
        o.expr = g->getInputExpr(i), o.input = true;
        value_of.push_back(o.expr);
        asm_constraint(o, c);
    }
    // "+" outputs count as inputs behind all others.
    for (unsigned i = 0; i < outputs; i++)
        if (g->isOutputPlusConstraint(i)) place_of.push_back(int(i));
    for (unsigned i = 0; i < f.operands.size(); i++) f.operands[i].slot = i;
    for (unsigned i = 0; i < g->getNumClobbers(); i++) f.clobbers.push_back(g->getClobber(i).str());
    const TargetInfo &target = ctx.getTargetInfo();
    f.thumb = target.getTriple().isThumb(), f.big = target.isBigEndian();
    if (!f.place()) refuse(g->getBeginLoc(), "assembly with so many operands");

    // The table, written before and read behind the call.
    TYPE *word = uint_t(), *wide = m.package->basic_int(IK_ullong), *vp = m.package->void_ptr_type();
    MSYM *table = temp(m.package->mk_array(wide, false, f.operands.size()));
    auto kind = [&](const ASM_OPERAND &o) {
        QualType q = o.expr->getType();
        return o.memory || q->isPointerType() ? vp
               : q->isRealFloatingType()      ? unqualified(q)
               : o.bytes == 8                 ? wide
                                              : word;
    };
    auto slot = [&](const ASM_OPERAND &o) {
        TYPE *cp = pointer_to(char_t());
        MNODE *at = m.node(PLUS, cp, m.node(PCONV, cp, address_of(m.name(table))), icon(o.slot * 8, int_t()));
        return deref(m.node(PCONV, pointer_to(kind(o)), at), kind(o));
    };
    auto as = [&](MNODE *v, TYPE *t) { return t->is_ptr() ? m.node(PCONV, t, v) : convert(v, t); };
    std::vector<MNODE *> targets(outputs);
    for (unsigned i = 0; i < f.operands.size(); i++) {
        ASM_OPERAND &o = f.operands[i];
        if (o.constant) continue;
        if (o.memory) {
            emit(assign(slot(o), m.node(PCONV, vp, address_of(lvalue(o.expr)))));
            o.input = true;
            continue;
        }
        if (o.output) {
            MNODE *first = nullptr;
            targets[i] = stable_lvalue(o.expr, first);
            if (first) emit(first);
        }
        if (!o.input) continue;
        MNODE *v = o.output && value_of[i] == o.expr ? m.copy(targets[i]) : rvalue(value_of[i]);
        emit(assign(slot(o), as(v, kind(o))));
    }

    SmallVector<GCCAsmStmt::AsmStringPiece, 8> pieces;
    unsigned offset;
    if (g->AnalyzeAsmString(pieces, ctx, offset)) refuse(g->getBeginLoc(), "this form of assembly");
    std::string body;
    for (auto &p : pieces)
        if (p.isString()) body += p.getString();
        else body += f.operand_text(f.operands[size_t(place_of[p.getOperandNo()])], p.getModifier());
    if (!f.error.empty()) refuse(g->getBeginLoc(), f.error);
    auto replace = [&](const std::string &what, const std::string &by) {
        for (size_t at = 0; (at = body.find(what, at)) != std::string::npos; at += by.size())
            body.replace(at, what.size(), by);
    };
    replace("$$", "$");
    replace("${:uid}", std::to_string(++asm_count));
    f.name = "__asm_" + std::to_string(++asm_count);
    while (global_names.count(f.name)) f.name += "_";
    MRECORD &r = m.items.emplace_back().record;
    r.tag = IF_ASSEMBLY, r.psn = position, r.text = f.text(body);
    MSYM *callee = library_function(f.name.c_str(), m.package->mk_func(void_t(), {vp}, false));
    emit(call_of(callee, m.node(PCONV, vp, address_of(m.name(table))), void_t()));
    for (unsigned i = 0; i < outputs; i++)
        if (const ASM_OPERAND &o = f.operands[i]; !o.memory)
            emit(assign(targets[i], as(slot(o), unqualified(o.expr->getType()))));
}
