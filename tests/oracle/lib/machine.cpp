#include "tests/oracle/lib/machine.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "typepkg/type_pkg.h"

// --- values ---

VK value_kind(const TYPE *type) {
    if (!type) return VK::none;
    if (type->is_ptr() || type->is_ref()) return VK::u32;
    if (type->is_fltpt()) return type->size == 32 ? VK::f32 : VK::f64;
    if (type->is_bool()) return VK::boolean;
    if (!type->is_integral() && !type->is_enum()) return VK::none;
    bool s = type->is_signed();
    switch (type->size) {
    case 8: return s ? VK::i8 : VK::u8;
    case 16: return s ? VK::i16 : VK::u16;
    case 32: return s ? VK::i32 : VK::u32;
    case 64: return s ? VK::i64 : VK::u64;
    default: return VK::none;
    }
}

bool vk_is_float(VK k) { return k == VK::f32 || k == VK::f64; }
bool vk_is_signed(VK k) { return k == VK::i8 || k == VK::i16 || k == VK::i32 || k == VK::i64; }
int vk_bits(VK k) {
    switch (k) {
    case VK::i8:
    case VK::u8:
    case VK::boolean: return 8;
    case VK::i16:
    case VK::u16: return 16;
    case VK::i32:
    case VK::u32:
    case VK::f32: return 32;
    case VK::i64:
    case VK::u64:
    case VK::f64: return 64;
    default: return 0;
    }
}

uint64_t vk_cut(uint64_t v, VK kind) {
    switch (kind) {
    case VK::i8: return uint64_t(int64_t(int8_t(v)));
    case VK::u8: return uint8_t(v);
    case VK::boolean: return v != 0;
    case VK::i16: return uint64_t(int64_t(int16_t(v)));
    case VK::u16: return uint16_t(v);
    case VK::i32: return uint64_t(int64_t(int32_t(v)));
    case VK::u32:
    case VK::f32: return uint32_t(v);
    default: return v;
    }
}

namespace {

float f32_of(uint64_t v) {
    uint32_t bits = uint32_t(v);
    float f;
    memcpy(&f, &bits, 4);
    return f;
}
double f64_of(uint64_t v) {
    double d;
    memcpy(&d, &v, 8);
    return d;
}
uint64_t bits_of(float f) {
    uint32_t bits;
    memcpy(&bits, &f, 4);
    return bits;
}
uint64_t bits_of(double d) {
    uint64_t bits;
    memcpy(&bits, &d, 8);
    return bits;
}
double float_value(uint64_t v, VK k) { return k == VK::f32 ? double(f32_of(v)) : f64_of(v); }

} // namespace

uint64_t vk_convert(uint64_t v, VK from, VK to, unsigned *undefined) {
    if (from == to || to == VK::none || from == VK::none) return v;
    if (vk_is_float(from)) {
        double d = float_value(v, from);
        if (to == VK::f32) return bits_of(float(d));
        if (to == VK::f64) return bits_of(d);
        if (to == VK::boolean) return d != 0;
        int bits = vk_bits(to);
        bool is_signed = vk_is_signed(to);
        double above = std::ldexp(1.0, is_signed ? bits - 1 : bits), below = is_signed ? -above : 0.0;
        if (d != d) {
            *undefined |= UNDEF_CONVERT;
            return 0;
        }
        double t = std::trunc(d);
        if (t >= above) {
            *undefined |= UNDEF_CONVERT;
            return is_signed ? uint64_t(std::numeric_limits<int64_t>::max() >> (64 - bits))
                             : ~0ull >> (64 - bits);
        }
        if (t < below) {
            *undefined |= UNDEF_CONVERT;
            return is_signed ? uint64_t(std::numeric_limits<int64_t>::min() >> (64 - bits)) : 0;
        }
        return t < 0 ? vk_cut(uint64_t(int64_t(t)), to) : vk_cut(uint64_t(t), to);
    }
    bool is_signed = vk_is_signed(from);
    if (to == VK::f32) return bits_of(is_signed ? float(int64_t(v)) : float(v));
    if (to == VK::f64) return bits_of(is_signed ? double(int64_t(v)) : double(v));
    return vk_cut(v, to);
}

std::string vk_text(uint64_t v, VK kind) {
    char text[64];
    if (vk_is_float(kind)) {
        snprintf(text, sizeof text, "%.17g (%a)", float_value(v, kind), float_value(v, kind));
        return text;
    }
    if (kind == VK::none) return "nothing";
    uint64_t mask = vk_bits(kind) == 64 ? ~0ull : (1ull << vk_bits(kind)) - 1;
    if (vk_is_signed(kind)) snprintf(text, sizeof text, "%lld", static_cast<long long>(v));
    else snprintf(text, sizeof text, "%llu", static_cast<unsigned long long>(v));
    std::string s = text;
    if (int64_t(v) < -9 || int64_t(v) > 9) {
        snprintf(text, sizeof text, " (0x%llx)", static_cast<unsigned long long>(v & mask));
        s += text;
    }
    return s;
}

std::string events_text(const std::vector<EVENT> &events) {
    std::string s;
    char text[96];
    for (const EVENT &e : events) {
        snprintf(text, sizeof text, "%s%c@%x=%llx", s.empty() ? "" : " ", e.what, e.where,
                 static_cast<unsigned long long>(e.value));
        s += text;
    }
    return s.empty() ? "none" : s;
}

// --- places ---

uint32_t LAYOUT::place(const SYMTAB *symbol) {
    auto known = places.find(symbol);
    if (known != places.end()) return known->second;
    uint32_t align = std::max<uint32_t>(symbol->type->align / 8, 1), bytes = uint32_t(symbol->type->size / 8);
    size = (size + align - 1) / align * align;
    uint32_t at = BASE + size;
    // A gap behind each object, so that no access runs from one into the next unseen.
    size += bytes + 16;
    places.emplace(symbol, at);
    return at;
}

uint64_t load_bytes(const std::vector<uint8_t> &memory, uint32_t address, VK kind) {
    uint64_t v = 0;
    memcpy(&v, memory.data() + (address - LAYOUT::BASE), size_t(vk_bits(kind) / 8));
    return kind == VK::boolean ? (v & 0xFF) : vk_cut(v, kind);
}
void store_bytes(std::vector<uint8_t> &memory, uint32_t address, VK kind, uint64_t v) {
    memcpy(memory.data() + (address - LAYOUT::BASE), &v, size_t(vk_bits(kind) / 8));
}

// --- code ---

enum CODE_KIND : uint8_t {
    C_PUSH,      // imm
    C_LOAD,      // [address] -> value
    C_LOAD_AT,   // imm -> value
    C_STORE,     // [address, value] -> value as stored
    C_OP_STORE,  // [address, operand] -> value as stored, or the one before
    C_CONVERT,   // [value] -> value
    C_BINARY,    // [a, b] -> value
    C_COMPARE,   // [a, b] -> 0 or 1
    C_UNARY,     // [a] -> value
    C_TRUTH,     // [a] -> 0 or 1
    C_DROP,      // [a] ->
    C_JUMP,      // to `label`
    C_JUMP_ZERO, // [a] -> ; to `label` when 0
    C_LABEL,
    C_CALL,    // [args...] -> value; `count` arguments, `where` the function
    C_BUILTIN, // the same with a model
    C_COPY,    // [to, from] -> ; imm bytes
    C_EVENT,   // [a] -> ; what, where
    C_SWITCH,  // [a] -> ; the table
    C_ASSERT,  // [a] -> ; a trap when 0
};

struct CODE_OP {
    CODE_KIND code;
    int16_t op = 0;     // the tree's opcode
    VK kind = VK::none; // of the result
    VK from = VK::none; // of operands, where it differs
    bool is_volatile = false;
    bool before = false;        // C_OP_STORE gives the old value
    uint8_t bit = 0, width = 0; // of a bit-field: width not 0
    uint32_t where = 0;         // label; function
    uint64_t imm = 0;
    BUILTIN_MODEL model = nullptr;
    char what = 0;
};

CODE::CODE() = default;
CODE::~CODE() = default;
CODE::CODE(CODE &&) = default;
CODE &CODE::operator=(CODE &&) = default;

namespace {

struct PLACE {
    VK kind;
    bool is_volatile;
    uint32_t bit = 0, width = 0; // bit-field
};

// The work that is left, the next thing last: nodes to translate, or code to put out.
struct TASK {
    enum { VALUE, PLACE_OF, EMIT } what;
    const NODE *node;
    VK to; // VALUE: converted to this kind, none: as it is
    CODE_OP op;
};

struct TRANSLATOR {
    CODE &code;
    LAYOUT &layout;
    std::vector<TASK> todo;
    uint32_t labels = 0;

    void refuse(const char *why, const NODE *n) {
        if (code.refused.empty()) code.refused = std::string(why) + " " + (n ? opname(n->op) : "");
    }

    // Tasks are given in the order in which they shall run; flush turns them around.
    std::vector<TASK> batch;
    void value(const NODE *n, VK to = VK::none) { batch.push_back({TASK::VALUE, n, to, {}}); }
    void place_of(const NODE *n) { batch.push_back({TASK::PLACE_OF, n, VK::none, {}}); }
    void emit(CODE_OP op) { batch.push_back({TASK::EMIT, nullptr, VK::none, op}); }
    void flush() {
        todo.insert(todo.end(), batch.rbegin(), batch.rend());
        batch.clear();
    }

    static CODE_OP push(uint64_t v, VK kind) { return {.code = C_PUSH, .kind = kind, .imm = v}; }
    static CODE_OP convert(VK from, VK to) { return {.code = C_CONVERT, .kind = to, .from = from}; }
    CODE_OP label_op(CODE_KIND k, uint32_t label) { return {.code = k, .where = label}; }

    void note_symbol(const SYMTAB *s) {
        if (std::find(code.symbols.begin(), code.symbols.end(), s) == code.symbols.end())
            code.symbols.push_back(s);
    }

    // What an access to the lvalue is like; its address is put out by place_of.
    PLACE access(const NODE *n) {
        PLACE p{value_kind(n->type), n->type->is_volatile()};
        if ((n->op == STDOT || n->op == STREF) && n->right && n->right->op == FIELD && n->right->member &&
            n->right->member->is_bitfld()) {
            p.bit = uint32_t(n->right->member->offset % 8);
            p.width = n->right->member->bitsize;
        }
        return p;
    }

    void translate_place(const NODE *n) {
        switch (n->op) {
        case NAME:
            note_symbol(n->u.sym);
            emit(push(layout.place(n->u.sym), VK::u32));
            break;
        case UMULT: value(n->left, VK::u32); break;
        case STDOT:
        case STREF: {
            if (!n->right || n->right->op != FIELD || !n->right->member) return refuse("no member under", n);
            if (n->op == STDOT) place_of(n->left);
            else value(n->left, VK::u32);
            uint64_t bytes = uint64_t(n->right->member->offset) / 8;
            if (bytes) {
                emit(push(bytes, VK::u32));
                emit({.code = C_BINARY, .op = PLUS, .kind = VK::u32});
            }
            break;
        }
        case COMMAOP:
            value(n->left);
            emit({.code = C_DROP});
            place_of(n->right);
            break;
        case IDENTITY: place_of(n->left); break;
        default: refuse("no place for", n);
        }
    }

    void load(const NODE *n) {
        PLACE p = access(n);
        if (p.kind == VK::none) return place_of(n); // a record: where it is
        CODE_OP op{.code = C_LOAD, .kind = p.kind, .is_volatile = p.is_volatile};
        op.bit = uint8_t(p.bit), op.width = uint8_t(p.width);
        if (p.is_volatile) code.has_effects = true;
        if (n->op == NAME) {
            note_symbol(n->u.sym);
            op.code = C_LOAD_AT;
            op.imm = layout.place(n->u.sym);
        } else {
            place_of(n);
            code.reads_memory = true;
        }
        emit(op);
    }

    void binary(const NODE *n) {
        VK k = value_kind(n->type);
        if (k == VK::none) return refuse("no kind of value for", n);
        bool shift = n->op == SLL || n->op == SRL;
        value(n->left, k);
        value(n->right, shift ? VK::i64 : k);
        emit({.code = C_BINARY, .op = n->op, .kind = k});
    }

    void compare(const NODE *n) {
        VK a = value_kind(n->left->type), b = value_kind(n->right->type), k;
        if (vk_is_float(a) || vk_is_float(b)) k = a == VK::f64 || b == VK::f64 ? VK::f64 : VK::f32;
        else {
            bool wide = vk_bits(a) == 64 || vk_bits(b) == 64, uns = n->op >= ULE && n->op <= UGT;
            k = wide ? uns ? VK::u64 : VK::i64 : uns ? VK::u32 : VK::i32;
        }
        value(n->left, k);
        value(n->right, k);
        emit({.code = C_COMPARE, .op = n->op, .kind = k});
    }

    void truth(const NODE *n) {
        value(n);
        emit({.code = C_TRUTH, .from = value_kind(n->type)});
    }

    void assign(const NODE *n, int op, bool before) {
        PLACE p = access(n->left);
        code.writes = true;
        if (p.is_volatile) code.has_effects = true;
        if (p.kind == VK::none) return refuse("assignment to no scalar:", n);
        place_of(n->left);
        CODE_OP c{.code = op == ASG ? C_STORE : C_OP_STORE, .op = int16_t(op), .kind = p.kind};
        c.is_volatile = p.is_volatile, c.before = before, c.bit = uint8_t(p.bit), c.width = uint8_t(p.width);
        value(n->right, op == SLL || op == SRL ? VK::i64 : p.kind);
        emit(c);
        if (VK k = value_kind(n->type); k != VK::none && k != p.kind) emit(convert(p.kind, k));
    }

    void call(const NODE *n) {
        const NODE *list = n->op == CALL ? n->right : n->op == UCALL ? nullptr : n->left;
        std::vector<NODE *> args = arg_list_args(const_cast<NODE *>(list));
        bool builtin = n->op == ICALL || n->op == UICALL;
        CODE_OP op{.code = builtin ? C_BUILTIN : C_CALL, .kind = value_kind(n->type)};
        for (const NODE *arg : args) {
            while (arg->op == ACONV) arg = arg->left;
            // a record by address stands for its bytes; the address names it well enough here
            if (arg->op == ARGREF)
                place_of(arg->left), emit(push(0, VK::u32)),
                    emit({.code = C_BINARY, .op = PLUS, .kind = VK::u32});
            else value(arg, builtin && !vk_is_float(value_kind(arg->type)) ? VK::i64 : VK::none);
        }
        op.imm = args.size();
        if (builtin) {
            op.model = find_builtin_model(n->u.icall);
            if (!op.model) return refuse("no model of the built-in under", n);
        } else {
            const NODE *callee = n->left && n->left->op == UAND ? n->left->left : nullptr;
            if (!callee || callee->op != NAME) return refuse("a call of no known function:", n);
            op.where = layout.place(callee->u.sym);
            op.is_volatile = strncmp(callee->u.sym->name, "pure", 4) != 0;
            if (op.is_volatile) code.has_effects = true;
        }
        emit(op);
    }

    void translate_value(const NODE *n, VK to) {
        VK kind = value_kind(n->type);
        if (to != VK::none && to != kind) emit(convert(kind, to));
        std::vector<TASK> tail = std::move(batch);
        batch.clear();
        translate_bare(n);
        batch.insert(batch.end(), tail.begin(), tail.end());
    }

    void short_circuit(const NODE *n) {
        uint32_t other = labels++, end = labels++;
        if (n->op == QUEST) {
            const NODE *colon = n->right;
            VK k = value_kind(n->type);
            truth(n->left);
            for (; colon && colon->op == COMMAOP; colon = colon->right) { // effects before the choice
                value(colon->left);
                emit({.code = C_DROP});
            }
            if (!colon || colon->op != COLON) return refuse("no COLON under", n);
            emit(label_op(C_JUMP_ZERO, other));
            value(colon->left, k);
            emit(label_op(C_JUMP, end));
            emit(label_op(C_LABEL, other));
            value(colon->right, k);
            emit(label_op(C_LABEL, end));
            return;
        }
        truth(n->left);
        if (n->op == OROR) emit({.code = C_UNARY, .op = EXCLAIM, .kind = VK::i32, .from = VK::i32});
        emit(label_op(C_JUMP_ZERO, other));
        truth(n->right);
        emit(label_op(C_JUMP, end));
        emit(label_op(C_LABEL, other));
        emit(push(n->op == OROR, VK::i32));
        emit(label_op(C_LABEL, end));
    }

    void control(const NODE *n) {
        code.has_effects = true;
        if (n->op == IF) {
            uint32_t other = labels++, end = labels++;
            truth(n->left);
            emit(label_op(C_JUMP_ZERO, other));
            emit(push(0, VK::i32));
            emit({.code = C_EVENT, .where = uint32_t(n->right->left->u.lval.low_i32()), .what = 'J'});
            emit(label_op(C_JUMP, end));
            emit(label_op(C_LABEL, other));
            emit(push(0, VK::i32));
            emit({.code = C_EVENT, .where = uint32_t(n->right->right->u.lval.low_i32()), .what = 'J'});
            emit(label_op(C_LABEL, end));
        } else if (n->op == CBRANCH) { // jumps when the condition is false
            uint32_t other = labels++, end = labels++;
            truth(n->left);
            emit(label_op(C_JUMP_ZERO, other));
            emit(label_op(C_JUMP, end));
            emit(label_op(C_LABEL, other));
            emit(push(0, VK::i32));
            emit({.code = C_EVENT, .where = uint32_t(n->right->u.lval.low_i32()), .what = 'J'});
            emit(label_op(C_LABEL, end));
        } else if (n->op == BRANCH) {
            emit(push(0, VK::i32));
            emit({.code = C_EVENT, .where = uint32_t(n->left->u.lval.low_i32()), .what = 'J'});
        } else if (n->op == RETURN) {
            value(n->right, value_kind(n->type));
            emit({.code = C_EVENT, .what = 'V'});
        } else if (n->op == SWITCH) {
            VK k = value_kind(n->left->type);
            if (vk_bits(k) < 32) k = VK::i32; // a narrow selector is promoted
            std::vector<const NODE *> parts;
            for (const NODE *c = n->right; c; c = c->op == COMMA ? c->left : nullptr) {
                if (c->op != COMMA) parts.push_back(c);
                else parts.push_back(c->right);
            }
            code.writes = true; // the selector stays in a cell of its own
            value(n->left, k);
            uint32_t end = labels++, fallback = ~0u;
            // selector is compared case by case: each comparison needs it again
            for (const NODE *part : parts)
                if (part->op == DEFAULT) fallback = uint32_t(part->left->u.lval.low_i32());
            CODE_OP table{.code = C_SWITCH, .kind = k, .where = uint32_t(tables.size())};
            tables.emplace_back();
            for (const NODE *part : parts)
                if (part->op == CASE)
                    tables.back().push_back(
                        {part->left->u.lval.to_uint64(), uint32_t(part->right->u.lval.low_i32())});
            table.imm = fallback;
            emit(table);
            emit(label_op(C_LABEL, end));
        }
        emit(push(0, VK::i32));
    }
    std::vector<std::vector<std::pair<uint64_t, uint32_t>>> tables;

    void translate_bare(const NODE *n) {
        VK kind = value_kind(n->type);
        switch (n->op) {
        case ICON: emit(push(vk_cut(n->u.lval.to_uint64(), kind), kind)); break;
        case FCON: {
            simul_fval f = *n->u.fval;
            trg_fval t;
            f_cvt_stot(&f, &t, kind == VK::f32 ? 0 : 1);
            emit(push(kind == VK::f32 ? t.word[0] : uint64_t(t.word[0]) << 32 | t.word[1], kind));
            break;
        }
        case NAME:
        case UMULT:
        case STDOT:
        case STREF: load(n); break;
        case UAND:
        case ARGREF: place_of(n->left); break;
        case SCONV:
        case PCONV:
        case ISP2CHAR:
        case ACONV:
        case IDENTITY:
        case OUIALIGN:
        case NONALIGN:
            if (kind == VK::none) { // a cast to void
                value(n->left);
                break;
            }
            value(n->left, kind);
            break;
        case PLUS:
        case MINUS:
        case MULT:
        case DIV:
        case MOD:
        case ANDB:
        case ORB:
        case XORB:
        case SLL:
        case SRL: binary(n); break;
        case PMCONV:
            value(n->left, VK::i32);
            emit(push(n->right->u.lval.to_uint64() / 8, VK::i32));
            emit({.code = C_BINARY, .op = MULT, .kind = VK::i32});
            break;
        case PVCONV:
            value(n->left, VK::i32);
            emit(push(n->right->u.lval.to_uint64() / 8, VK::i32));
            emit({.code = C_BINARY, .op = DIV, .kind = VK::i32});
            break;
        case UMINUS:
        case NOTB:
        case ABS:
        case SQR:
        case SQRT:
        case RECIP:
            value(n->left, kind);
            emit({.code = C_UNARY, .op = n->op, .kind = kind, .from = kind});
            break;
        case EXCLAIM:
            truth(n->left);
            emit({.code = C_UNARY, .op = EXCLAIM, .kind = VK::i32, .from = VK::i32});
            break;
        case ANDAND:
        case OROR:
        case QUEST: short_circuit(n); break;
        case COMMAOP:
        case PCOMMA:
            value(n->left);
            emit({.code = C_DROP});
            value(n->right, kind);
            break;
        case ASG: assign(n, ASG, false); break;
        case PLUSPLUS: assign(n, PLUS, true); break;
        case MINMIN: assign(n, MINUS, true); break;
        case STASG:
        case ARASG:
            code.writes = true;
            place_of(n->left);
            place_of(n->right);
            emit({.code = C_COPY, .imm = n->left->type->size / 8});
            emit(push(0, VK::i32));
            break;
        case CALL:
        case UCALL:
        case ICALL:
        case UICALL: call(n); break;
        case ASSERT:
        case NASSERT:
            truth(n->left);
            emit({.code = C_ASSERT});
            emit(push(0, VK::i32));
            break;
        case MEMCPY: {
            const NODE *list = n->left;
            if (list->op != COMMA || list->left->op != COMMA || list->right->op != ICON)
                return refuse("other operands than three, the last a constant:", n);
            code.writes = true;
            value(list->left->left, VK::u32);
            value(list->left->right, VK::u32);
            emit({.code = C_COPY, .imm = list->right->u.lval.to_uint64()});
            value(list->left->left, VK::u32);
            break;
        }
        case CBRANCH:
        case IF:
        case BRANCH:
        case SWITCH:
        case RETURN: control(n); break;
        default:
            if (n->op >= EQ && n->op <= UGT) compare(n);
            else if (n->op >= FEQ && n->op <= FUNO) compare(n);
            else if (op_of_opASG[n->op] != ILLOP) assign(n, op_of_opASG[n->op], false);
            else refuse("no meaning for", n);
        }
    }

    void all(const NODE *root) {
        value(root);
        flush();
        while (!todo.empty() && code.refused.empty()) {
            TASK t = todo.back();
            todo.pop_back();
            switch (t.what) {
            case TASK::EMIT: code.ops.push_back(t.op); break;
            case TASK::VALUE: translate_value(t.node, t.to); break;
            case TASK::PLACE_OF: translate_place(t.node); break;
            }
            flush();
        }
    }
};

// Switch tables of all code, kept apart from the operations.
std::vector<std::vector<std::pair<uint64_t, uint32_t>>> switch_tables;

} // namespace

CODE translate(const NODE *tree, LAYOUT &layout) {
    CODE code;
    if (!tree) {
        code.ops.push_back(TRANSLATOR::push(0, VK::i32));
        return code;
    }
    TRANSLATOR t{code, layout, {}, 0, {}, {}};
    bool jumps = side_effects[tree->op] == SE_CONTROL || tree->op == ASSERT || tree->op == NASSERT ||
                 tree->op == STASG;
    code.kind = jumps ? VK::none : value_kind(tree->type);
    t.all(tree);
    if (!code.refused.empty()) {
        code.ops.clear();
        return code;
    }
    std::vector<uint32_t> at(t.labels);
    for (size_t i = 0; i < code.ops.size(); i++)
        if (code.ops[i].code == C_LABEL) at[code.ops[i].where] = uint32_t(i);
    for (CODE_OP &op : code.ops) {
        if (op.code == C_JUMP || op.code == C_JUMP_ZERO) op.where = at[op.where];
        if (op.code == C_SWITCH) {
            switch_tables.push_back(t.tables[op.where]);
            op.where = uint32_t(switch_tables.size() - 1);
        }
    }
    return code;
}

// --- running ---

namespace {

uint64_t mixed(uint64_t x) {
    x ^= x >> 33, x *= 0xff51afd7ed558ccdull, x ^= x >> 33, x *= 0xc4ceb9fe1a85ec53ull;
    return x ^ x >> 33;
}

// A value of the kind that a hash stands for: often a small one.
uint64_t hashed_value(uint64_t h, VK kind) {
    h = mixed(h);
    if (kind == VK::boolean) return h & 1;
    int64_t n = int64_t(mixed(h + 1)) >> (h % 63);
    if (kind == VK::f32) return bits_of(float(double(n % 4096) / 8));
    if (kind == VK::f64) return bits_of(double(n % 4096) / 8);
    return vk_cut(uint64_t(n), kind);
}

template <class F> F float_combine(int op, F a, F b) {
    switch (op) {
    case PLUS: return a + b;
    case MINUS: return a - b;
    case MULT: return a * b;
    case DIV: return a / b;
    default: return a;
    }
}

// `b` of a shift is the count as a signed 64-bit value.
uint64_t combine(int op, uint64_t a, uint64_t b, VK kind, RESULT &r) {
    if (kind == VK::f32) return bits_of(float_combine(op, f32_of(a), f32_of(b)));
    if (kind == VK::f64) return bits_of(float_combine(op, f64_of(a), f64_of(b)));
    bool is_signed = vk_is_signed(kind);
    int bits = vk_bits(kind);
    typedef __int128 wide;
    wide x = is_signed ? wide(int64_t(a)) : wide(a), y = is_signed ? wide(int64_t(b)) : wide(b), v = 0;
    switch (op) {
    case PLUS: v = x + y; break;
    case MINUS: v = x - y; break;
    case MULT: // 64 by 64 bits unsigned does not fit 128 bits signed, but wraps to the right low bits
        v = wide(static_cast<unsigned __int128>(x) * static_cast<unsigned __int128>(y));
        break;
    case DIV:
    case MOD:
        if (y == 0) {
            r.trap = TRAP::divide;
            return 0;
        }
        v = op == DIV ? x / y : x % y;
        break;
    case ANDB: return vk_cut(a & b, kind);
    case ORB: return vk_cut(a | b, kind);
    case XORB: return vk_cut(a ^ b, kind);
    case SLL:
    case SRL: {
        int64_t n = int64_t(b);
        if (n < 0 || n >= bits) {
            r.undefined |= UNDEF_SHIFT;
            return op == SRL && is_signed && int64_t(a) < 0 ? vk_cut(~0ull, kind) : 0;
        }
        if (op == SLL) return vk_cut(a << n, kind);
        return vk_cut(is_signed ? uint64_t(int64_t(a) >> n) : a >> n, kind);
    }
    default: break;
    }
    uint64_t cut = vk_cut(uint64_t(v), kind);
    if (is_signed && bits >= 32 && v != wide(int64_t(cut))) r.undefined |= UNDEF_OVERFLOW;
    return cut;
}

template <class F> bool float_relation(int op, F a, F b) {
    bool less = a<b, equal = a == b, greater = a> b, unordered = !(less || equal || greater);
    switch (op) {
    case EQ:
    case FEQ: return equal;
    case NEQ: return !equal;
    case FNEQ: return less || greater;
    case FLT:
    case LT: return less;
    case FLE:
    case LE: return less || equal;
    case FGT:
    case GT: return greater;
    case FGE:
    case GE: return greater || equal;
    case FORD: return !unordered;
    case FUNO: return unordered;
    case FEQN: return equal || unordered;
    case FNEQN: return !equal;
    case FLTN: return less || unordered;
    case FLEN: return less || equal || unordered;
    case FGTN: return greater || unordered;
    case FGEN: return greater || equal || unordered;
    default: return false;
    }
}

bool relation(int op, uint64_t a, uint64_t b, VK kind) {
    if (kind == VK::f32) return float_relation(op, f32_of(a), f32_of(b));
    if (kind == VK::f64) return float_relation(op, f64_of(a), f64_of(b));
    int64_t x = int64_t(a), y = int64_t(b);
    switch (op) {
    case EQ: return a == b;
    case NEQ: return a != b;
    case LT: return x < y;
    case LE: return x <= y;
    case GT: return x > y;
    case GE: return x >= y;
    case ULT: return a < b;
    case ULE: return a <= b;
    case UGT: return a > b;
    case UGE: return a >= b;
    default: return false;
    }
}

bool is_true(uint64_t v, VK kind) { return vk_is_float(kind) ? float_value(v, kind) != 0 : v != 0; }

uint64_t unary(int op, uint64_t a, VK kind, RESULT &r) {
    if (vk_is_float(kind)) {
        double d = float_value(a, kind), v;
        switch (op) {
        case UMINUS: v = -d; break;
        case ABS: v = std::fabs(d); break;
        case SQR: return combine(MULT, a, a, kind, r);
        case SQRT: v = std::sqrt(d); break;
        case RECIP: return combine(DIV, kind == VK::f32 ? bits_of(1.0f) : bits_of(1.0), a, kind, r);
        default: v = d;
        }
        return kind == VK::f32 ? bits_of(float(v)) : bits_of(v);
    }
    switch (op) {
    case UMINUS: return combine(MINUS, 0, a, kind, r);
    case NOTB: return vk_cut(~a, kind);
    case ABS: return vk_is_signed(kind) && int64_t(a) < 0 ? combine(MINUS, 0, a, kind, r) : a;
    case SQR: return combine(MULT, a, a, kind, r);
    case EXCLAIM: return a == 0;
    default: r.trap = TRAP::illegal; return 0;
    }
}

struct RUNNER {
    const CODE &code;
    const std::vector<uint8_t> &initial;
    uint64_t seed;
    RESULT &r;
    uint8_t *memory;
    uint64_t volatile_reads = 0, calls = 0;

    bool in_memory(uint64_t address, unsigned bytes) {
        if (address >= LAYOUT::BASE && address + bytes <= LAYOUT::BASE + initial.size()) return true;
        r.trap = TRAP::access;
        return false;
    }
    uint64_t raw(uint32_t address, unsigned bytes) {
        uint64_t v = 0;
        memcpy(&v, memory + (address - LAYOUT::BASE), bytes);
        return v;
    }
    static unsigned access_bytes(const CODE_OP &op) {
        return op.width ? (op.bit + op.width + 7u) / 8u : unsigned(vk_bits(op.kind) / 8);
    }
    uint64_t load(const CODE_OP &op, uint32_t address) {
        unsigned bytes = access_bytes(op);
        if (!in_memory(address, bytes)) return 0;
        uint64_t v;
        if (op.is_volatile) {
            v = hashed_value(seed + ++volatile_reads * 77, op.width ? VK::u64 : op.kind);
            if (op.width) v = field(op, v);
            r.events.push_back({'R', address * 64 + op.bit, v});
            return v;
        }
        v = raw(address, bytes);
        if (op.width) return field(op, v >> op.bit);
        return op.kind == VK::boolean ? v & 0xFF : vk_cut(v, op.kind);
    }
    static uint64_t field(const CODE_OP &op, uint64_t v) {
        if (op.width >= 64) return v;
        v &= (1ull << op.width) - 1;
        if (vk_is_signed(op.kind) && v >> (op.width - 1) & 1) v |= ~0ull << op.width;
        return v;
    }
    uint64_t store(const CODE_OP &op, uint32_t address, uint64_t v) {
        unsigned bytes = access_bytes(op);
        if (!in_memory(address, bytes)) return 0;
        if (op.width) {
            uint64_t mask = (op.width >= 64 ? ~0ull : (1ull << op.width) - 1) << op.bit;
            uint64_t word = (raw(address, bytes) & ~mask) | (v << op.bit & mask);
            memcpy(memory + (address - LAYOUT::BASE), &word, bytes);
            v = field(op, v);
        } else memcpy(memory + (address - LAYOUT::BASE), &v, bytes);
        if (op.is_volatile) r.events.push_back({'W', address * 64 + op.bit, v});
        return v;
    }
    uint64_t call(const CODE_OP &op, const uint64_t *args) {
        uint64_t h = seed ^ op.where;
        if (op.is_volatile) {
            r.events.push_back({'C', op.where, op.imm});
            h += ++calls * 1001;
            for (uint64_t i = 0; i < op.imm; i++) r.events.push_back({'A', op.where, args[i]});
        }
        for (uint64_t i = 0; i < op.imm; i++) h = mixed(h + args[i]);
        return op.kind == VK::none ? 0 : hashed_value(h, op.kind);
    }
    void jump_table(const CODE_OP &op, uint64_t v) {
        uint32_t target = uint32_t(op.imm);
        for (auto [value, label] : switch_tables[op.where])
            if (vk_cut(value, op.kind) == v) {
                target = label;
                break;
            }
        r.events.push_back({'J', target, 0});
    }

    uint64_t *top; // one past the last value
    void go(std::vector<uint64_t> &stack) {
        top = stack.data();
        const CODE_OP *begin = code.ops.data(), *end = begin + code.ops.size();
        for (const CODE_OP *p = begin; p != end && r.trap == TRAP::none; p++) {
            const CODE_OP &op = *p;
            switch (op.code) {
            case C_PUSH: *top++ = op.imm; break;
            case C_LOAD: top[-1] = load(op, uint32_t(top[-1])); break;
            case C_LOAD_AT: *top++ = load(op, uint32_t(op.imm)); break;
            case C_STORE: top--, top[-1] = store(op, uint32_t(top[-1]), top[0]); break;
            case C_OP_STORE: {
                top--;
                uint32_t address = uint32_t(top[-1]);
                uint64_t old = load(op, address);
                if (r.trap != TRAP::none) break;
                uint64_t v = combine(op.op, old, top[0], op.kind, r);
                if (r.trap != TRAP::none) break;
                v = store(op, address, v);
                top[-1] = op.before ? old : v;
                break;
            }
            case C_CONVERT: top[-1] = vk_convert(top[-1], op.from, op.kind, &r.undefined); break;
            case C_BINARY: top--, top[-1] = combine(op.op, top[-1], top[0], op.kind, r); break;
            case C_COMPARE: top--, top[-1] = relation(op.op, top[-1], top[0], op.kind); break;
            case C_UNARY: top[-1] = unary(op.op, top[-1], op.kind, r); break;
            case C_TRUTH: top[-1] = is_true(top[-1], op.from); break;
            case C_DROP: top--; break;
            case C_JUMP: p = begin + op.where; break;
            case C_JUMP_ZERO:
                if (*--top == 0) p = begin + op.where;
                break;
            case C_LABEL: break;
            case C_CALL:
                top -= op.imm;
                *top = call(op, top);
                top++;
                break;
            case C_BUILTIN:
                top -= op.imm;
                *top = vk_cut(uint64_t(op.model(reinterpret_cast<int64_t *>(top))), op.kind);
                top++;
                break;
            case C_COPY:
                top -= 2;
                if (in_memory(top[0], unsigned(op.imm)) && in_memory(top[1], unsigned(op.imm)))
                    memmove(memory + (top[0] - LAYOUT::BASE), memory + (top[1] - LAYOUT::BASE), op.imm);
                break;
            case C_EVENT: r.events.push_back({op.what, op.where, *--top}); break;
            case C_SWITCH: jump_table(op, *--top); break;
            case C_ASSERT:
                if (*--top == 0) r.trap = TRAP::assertion;
                break;
            }
        }
    }
};

} // namespace

void run(const CODE &code, const std::vector<uint8_t> &memory, uint64_t seed, RESULT &r) {
    thread_local std::vector<uint64_t> stack;
    if (stack.size() < code.ops.size() + 8) stack.resize(code.ops.size() + 8);
    r.kind = code.kind;
    r.trap = TRAP::none;
    r.undefined = 0;
    r.events.clear();
    if (code.writes) r.memory = memory;
    RUNNER runner{
        code, memory, seed,   r, code.writes ? r.memory.data() : const_cast<uint8_t *>(memory.data()),
        0,    0,      nullptr};
    runner.go(stack);
    r.value = r.trap == TRAP::none && runner.top > stack.data() ? runner.top[-1] : 0;
}

uint64_t value_of_constant(const NODE *tree) {
    LAYOUT layout;
    CODE code = translate(tree, layout);
    RESULT r;
    run(code, {}, 0, r);
    return r.value;
}

#include "tests/unit/OPT5/bif_models.h"

// Operations of other targets, which have no descriptor here.
static int64_t saturated_difference(const int64_t *o) { return sat32(s32(o[0]) - s32(o[1])); }
static int64_t saturated_differences(const int64_t *o) {
    int64_t low = sat16(bottom(o[0]) - bottom(o[1])), high = sat16(top_half(o[0]) - top_half(o[1]));
    return s32(high * 65536 + (low & 0xFFFF));
}

BUILTIN_MODEL find_builtin_model(const char *name) {
    if (!strcmp(name, "_ssub")) return saturated_difference;
    if (!strcmp(name, "_ssub2")) return saturated_differences;
    const MODEL *m = find_model(name);
    return m ? m->f : nullptr;
}
