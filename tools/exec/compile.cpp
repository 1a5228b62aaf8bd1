#include "tools/exec/compile.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "tools/exec/claims.h"

XN *new_xn() {
    static std::deque<XN> pool;
    return &pool.emplace_back();
}

XN *COMPILER::make(MNODE *t) {
    XN *x = new_xn();
    x->node = t;
    if (t) {
        x->kind = scalar_kind(t->type);
        count(CN_NODES);
    }
    return x;
}

XN *COMPILER::leaf(uint64_t v, SK k) {
    XN *x = new_xn();
    x->fn = eval_const(), x->imm = int64_t(v), x->kind = k;
    return x;
}

UNIT *COMPILER::new_unit() {
    static std::deque<UNIT> pool;
    UNIT *u = &pool.emplace_back();
    func->arms.push_back(u);
    return u;
}

void COMPILER::cannot(const MNODE *t, const char *why) {
    const char *op =
        t && t->op < IF_NODE_TABLE_SIZE && if_node_info[t->op].name ? if_node_info[t->op].name : "?";
    fault("cannot execute %s in %s: %s", op, func->name.c_str(), why);
}

// --- lvalues ---

// The lvalue with a note of each use.
LVALUE COMPILER::noted(MNODE *t, const LVALUE &lv, uint32_t id, int use) {
    if (lv.am == AM_FRAME && lv.offset < int64_t(func->checked_from)) return lv; // nothing else leads there
    XN *base = new_xn(), *note = new_xn();
    apply(base, lv);
    base->fn = eval_address(lv.am);
    note->a = base, note->kind = SK_u32, note->imm = id, note->node = t;
    note->imm2 =
        std::min<uint32_t>(255, lv.is_bits ? (lv.bit + lv.width + 7) / 8 : uint32_t(t->type->size / 8));
    note->shift = uint8_t(use);
    note->fn = [](const XN *n, FRAME *f) {
        uint64_t a = n->a->fn(n->a, f);
        claims_touch(f, n, uint32_t(a), n->shift & READS, n->shift & WRITES);
        return a;
    };
    LVALUE out = lv;
    out.am = AM_DYN, out.address = note, out.offset = 0;
    return out;
}

// A store, behind which the notes of its target count.
XN *COMPILER::then_stored(XN *store) {
    if (!notes_references) return store;
    XN *x = new_xn();
    x->a = store, x->kind = store->kind, x->node = store->node;
    x->fn = [](const XN *n, FRAME *f) {
        uint64_t v = n->a->fn(n->a, f);
        claims_stored(f);
        return v;
    };
    return x;
}

// --- variables that are dead behind a loop ---

// Those that nothing reaches but by name; as many as a word has bits.
void COMPILER::find_dead_behind() {
    for (const MRECORD &r : func->body->records) {
        if (r.tag != IF_INLOOP || !(r.n[1] & 2) || !r.sym || dead_behind.size() == 64) continue;
        auto it = slot.find(r.sym);
        if (it != slot.end() && it->second < func->checked_from)
            dead_behind.try_emplace(r.sym, unsigned(dead_behind.size()));
    }
}

const unsigned *COMPILER::dead_bit(const MNODE *t) const {
    if (dead_behind.empty()) return nullptr;
    while (t->op == DDNODE || t->op == EPVAL) t = t->left;
    auto it = t->op == NAME ? dead_behind.find(t->sym) : dead_behind.end();
    return it == dead_behind.end() ? nullptr : &it->second;
}

XN *COMPILER::read_of_dead(XN *read, const MNODE *t) {
    const unsigned *bit = dead_bit(t);
    if (!bit) return read;
    XN *x = new_xn();
    x->a = read, x->kind = read->kind, x->node = read->node, x->shift = uint8_t(*bit);
    x->fn = [](const XN *n, FRAME *f) {
        if (f->claims && f->claims->dead >> n->shift & 1)
            fault("a loop's record says that nothing reads its variable behind the loop");
        return n->a->fn(n->a, f);
    };
    return x;
}

XN *COMPILER::write_of_dead(XN *write, const MNODE *t) {
    const unsigned *bit = dead_bit(t);
    if (!bit) return write;
    XN *x = new_xn();
    x->a = write, x->kind = write->kind, x->node = write->node, x->shift = uint8_t(*bit);
    x->fn = [](const XN *n, FRAME *f) {
        uint64_t v = n->a->fn(n->a, f);
        if (f->claims) f->claims->dead &= ~(uint64_t(1) << n->shift);
        return v;
    };
    return x;
}

LVALUE COMPILER::lvalue(MNODE *t) {
    LVALUE lv;
    int use = std::exchange(next_use, int(READS));
    switch (t->op) {
    case NAME: {
        count(CN_NODES);
        if (!t->sym) cannot(t, "a name without symbol");
        auto it = slot.find(t->sym);
        if (it != slot.end()) {
            lv.am = AM_FRAME, lv.offset = it->second;
            return lv;
        }
        auto obj = program.object_of.find(t->sym);
        if (obj != program.object_of.end()) {
            lv.am = AM_ABS, lv.offset = obj->second;
            return lv;
        }
        auto fn = program.function_of.find(t->sym);
        if (fn != program.function_of.end()) {
            lv.am = AM_ABS, lv.offset = fn->second->address;
            return lv;
        }
        cannot(t, ("the symbol '" + t->sym->name + "' is not defined").c_str());
    }
    case UMULT: {
        count(CN_NODES);
        XN *a = value(t->left);
        if (a->fn == eval_address(AM_FRAME)) lv.am = AM_FRAME, lv.offset = a->imm;
        else if (a->fn == eval_address(AM_ABS)) lv.am = AM_ABS, lv.offset = a->imm;
        else lv.am = AM_DYN, lv.address = a;
        // An object reached through its own address may be larger than the access only when the types agree.
        if (lv.am != AM_DYN && t->left->op != UAND) lv.address = a, lv.am = AM_DYN, lv.offset = 0;
        return notes_all ? noted(t, lv, 0, use) : lv;
    }
    case STDOT: {
        count(CN_NODES, 2);
        next_use = use;
        lv = lvalue(t->left);
        const fkMDATA *md = t->right->member;
        if (!md) cannot(t, "a member that its record does not have");
        if (md->is_bitfld()) {
            lv.is_bits = true;
            lv.bit = uint32_t(md->offset & 7), lv.width = uint32_t(md->width());
        }
        lv.offset += md->offset >> 3;
        return lv;
    }
    case STREF: {
        count(CN_NODES, 2);
        lv.am = AM_DYN, lv.address = value(t->left);
        const fkMDATA *md = t->right->member;
        if (!md) cannot(t, "a member that its record does not have");
        if (md->is_bitfld())
            lv.is_bits = true, lv.bit = uint32_t(md->offset & 7), lv.width = uint32_t(md->width());
        lv.offset = md->offset >> 3;
        return notes_all ? noted(t, lv, 0, use) : lv;
    }
    case VFIELD: {
        count(CN_NODES);
        next_use = use;
        lv = lvalue(t->left);
        unsigned lane = unsigned(t->type->size / 8);
        if (t->right->op == ICON) {
            count(CN_NODES);
            lv.offset += t->right->value * lane;
            return lv;
        }
        XN *sum = make();
        sum->kind = SK_u32;
        XN *scale = make();
        scale->kind = SK_u32, scale->fn = eval_binary(MULT, SK_u32), scale->a = value(t->right),
        scale->b = leaf(lane, SK_u32);
        sum->fn = eval_binary(PLUS, SK_u32), sum->b = scale;
        XN *base = make();
        base->kind = SK_u32;
        apply(base, lv);
        base->fn = eval_address(lv.am);
        sum->a = base;
        lv = LVALUE();
        lv.am = AM_DYN, lv.address = sum;
        return lv;
    }
    case DDNODE: {
        count(CN_NODES);
        if (!notes_references) return lvalue(t->left);
        bool all = std::exchange(notes_all, false); // one note for each reference
        lv = lvalue(t->left);
        notes_all = all;
        return noted(t, lv, uint32_t(t->value), use);
    }
    case EPVAL:
        count(CN_NODES);
        next_use = use;
        return lvalue(t->left);
    case ASG:
    case STASG:
    case ARASG: {
        // The assignment happens, then its left side is the object.
        XN *first = value(t);
        LVALUE inner = lvalue(t->left);
        XN *addr = make();
        apply(addr, inner);
        addr->fn = eval_address(inner.am);
        XN *both = make();
        both->a = first, both->b = addr, both->kind = SK_u32;
        both->fn = [](const XN *n, FRAME *f) {
            n->a->fn(n->a, f);
            return n->b->fn(n->b, f);
        };
        lv.am = AM_DYN, lv.address = both;
        return lv;
    }
    case COMMAOP: {
        count(CN_NODES);
        XN *first = value(t->left);
        LVALUE inner = lvalue(t->right);
        XN *addr = make();
        apply(addr, inner);
        addr->fn = eval_address(inner.am);
        XN *both = make();
        both->a = first, both->b = addr, both->kind = SK_u32;
        both->fn = [](const XN *n, FRAME *f) {
            n->a->fn(n->a, f);
            return n->b->fn(n->b, f);
        };
        lv.am = AM_DYN, lv.address = both, lv.is_bits = inner.is_bits, lv.bit = inner.bit,
        lv.width = inner.width;
        return lv;
    }
    case REAL:
    case IMAG: {
        count(CN_NODES);
        next_use = use;
        lv = lvalue(t->left);
        if (t->op == IMAG) lv.offset += int64_t(t->type->size / 8);
        return lv;
    }
    case SCONV:
    case VRCONV:
    case PCONV: return lvalue(t->left);
    default: cannot(t, "it is no lvalue");
    }
}

void COMPILER::apply(XN *x, const LVALUE &lv) {
    x->imm = lv.offset;
    if (lv.am == AM_DYN) x->a = lv.address;
}

XN *COMPILER::address(MNODE *t) {
    LVALUE lv = lvalue(t);
    if (lv.is_bits) cannot(t, "the address of a bit-field");
    XN *x = make();
    x->kind = SK_u32;
    apply(x, lv);
    x->fn = eval_address(lv.am);
    if (lv.am == AM_DYN && lv.offset == 0) return lv.address;
    return x;
}

XN *COMPILER::load(MNODE *t) {
    LVALUE lv = lvalue(t);
    XN *x = new_xn();
    x->node = t;
    x->kind = scalar_kind(t->type);
    if (x->kind == SK_record ||
        t->type->is_func()) { // a record or array in value position stands for its address
        XN *a = make();
        a->kind = SK_u32;
        apply(a, lv);
        a->fn = eval_address(lv.am);
        return a;
    }
    apply(x, lv);
    x->is_volatile = t->type->is_volatile();
    count(CN_LOADS);
    if (lv.is_bits) {
        x->shift = uint8_t(lv.bit), x->imm2 = lv.width;
        x->fn = eval_bits_load(lv.am);
        count(CN_BYTES, (lv.bit + lv.width + 7) / 8);
        return x;
    }
    if (x->kind == SK_void) cannot(t, "a value of type void");
    x->fn = eval_load(x->kind, lv.am, x->is_volatile);
    count(CN_BYTES, sk_bytes(x->kind));
    return read_of_dead(x, t);
}

// --- conversions and operators ---

XN *COMPILER::to_kind(XN *x, SK to) {
    if (x->kind == to) return x;
    XN *c = new_xn();
    c->a = x, c->kind = to, c->from = x->kind, c->fn = eval_convert(to, x->kind, false), c->node = x->node;
    return c;
}

XN *COMPILER::convert(MNODE *t) {
    XN *x = make(t);
    count(CN_CONVERT);
    if (t->left->type->is_vector() ||
        t->left->type->is_complex()) { // reinterpretation of a short vector as a scalar
        x->a = wide_value(t->left);
        x->fn = [](const XN *n, FRAME *f) {
            WIDE w;
            n->a->wide(n->a, f, &w);
            return convert_value(n->kind, n->kind == SK_f32 || n->kind == SK_f64 ? n->kind : SK_u64, w.lo);
        };
        return x;
    }
    x->a = value(t->left);
    SK from = x->a->kind;
    if (from == SK_void || x->kind == SK_void) {
        x->fn = [](const XN *n, FRAME *f) { return n->a->fn(n->a, f); };
        return x;
    }
    x->from = from;
    x->fn = eval_convert(x->kind, from, t->type->is_bool());
    return x;
}

XN *COMPILER::binary(MNODE *t) {
    XN *x = make(t);
    int op = t->op;
    count(op == MULT ? CN_MULS : op == DIV || op == MOD ? CN_DIVS : CN_ARITH);
    if (x->kind == SK_f32 || x->kind == SK_f64) count(CN_FLOAT);
    x->a = to_kind(value(t->left), x->kind);
    x->b = value(t->right);
    if (op != SLL && op != SRL) x->b = to_kind(x->b, x->kind);
    x->fn = eval_binary(op, x->kind);
    if (!x->fn || x->kind >= SK_void) cannot(t, "operands of this type");
    return x;
}

XN *COMPILER::comparison(MNODE *t) {
    XN *x = make(t);
    count(CN_COMPARE);
    XN *a = value(t->left), *b = value(t->right);
    bool flt = a->kind == SK_f32 || a->kind == SK_f64 || b->kind == SK_f32 || b->kind == SK_f64;
    SK k;
    if (flt) k = a->kind == SK_f64 || b->kind == SK_f64 ? SK_f64 : SK_f32;
    else {
        bool wide = sk_bytes(a->kind) == 8 || sk_bytes(b->kind) == 8;
        bool uns = t->op >= ULE && t->op <= UGT;
        k = wide ? (uns ? SK_u64 : SK_i64) : (uns ? SK_u32 : SK_i32);
    }
    x->a = flt ? to_kind(a, k) : a;
    x->b = flt ? to_kind(b, k) : b;
    // Integers narrower than a word compare as words; the 64 bits of each value are cut to the kind by the comparison.
    x->fn = eval_compare(t->op, k);
    if (!x->fn) cannot(t, "operands of this type");
    return x;
}

XN *COMPILER::logical(MNODE *t) {
    XN *x = make(t);
    x->a = value(t->left);
    x->unit = arm([&] { x->b = value(t->right); });
    bool fa = x->a->kind == SK_f32 || x->a->kind == SK_f64, fb = x->b->kind == SK_f32 || x->b->kind == SK_f64;
    auto as_test = [&](XN *v) {
        XN *c = new_xn();
        c->a = v, c->kind = SK_i32, c->fn = eval_convert(SK_i32, v->kind, true);
        return c;
    };
    if (fa) x->a = as_test(x->a);
    if (fb) x->b = as_test(x->b);
    if (t->op == ANDAND)
        x->fn = [](const XN *n, FRAME *f) -> uint64_t {
            if (!n->a->fn(n->a, f)) return 0;
            n->unit->executed++;
            return n->b->fn(n->b, f) != 0;
        };
    else
        x->fn = [](const XN *n, FRAME *f) -> uint64_t {
            if (n->a->fn(n->a, f)) return 1;
            n->unit->executed++;
            return n->b->fn(n->b, f) != 0;
        };
    return x;
}

XN *COMPILER::conditional(MNODE *t) {
    XN *x = make(t);
    MNODE *colon = t->right;
    while (colon->op == EPVAL) colon = colon->left;
    if (colon->op != COLON) cannot(t, "its right side is no COLON");
    x->a = value(t->left);
    if (x->a->kind == SK_f32 || x->a->kind == SK_f64) {
        XN *c = new_xn();
        c->a = x->a, c->kind = SK_i32, c->fn = eval_convert(SK_i32, x->a->kind, true);
        x->a = c;
    }
    auto part = [&](MNODE *p) {
        XN *v = value(p);
        return x->kind == SK_void || v->kind == SK_void || x->kind == SK_record ? v : to_kind(v, x->kind);
    };
    x->unit = arm([&] { x->b = part(colon->left); });
    x->unit2 = arm([&] { x->c = part(colon->right); });
    x->fn = [](const XN *n, FRAME *f) {
        if (n->a->fn(n->a, f)) {
            n->unit->executed++;
            return n->b->fn(n->b, f);
        }
        n->unit2->executed++;
        return n->c->fn(n->c, f);
    };
    return x;
}

XN *COMPILER::comma(MNODE *first, MNODE *second, bool is_wide) {
    XN *x = new_xn();
    count(CN_NODES);
    SK k = scalar_kind(first->type);
    x->a = k == SK_wide ? wide_value(first) : value(first);
    if (k == SK_wide) {
        XN *drop = new_xn();
        drop->a = x->a;
        drop->fn = [](const XN *n, FRAME *f) -> uint64_t {
            WIDE w;
            n->a->wide(n->a, f, &w);
            return 0;
        };
        x->a = drop;
    }
    if (is_wide) {
        x->b = wide_value(second);
        x->kind = SK_wide;
        x->wide = [](const XN *n, FRAME *f, WIDE *out) {
            n->a->fn(n->a, f);
            n->b->wide(n->b, f, out);
        };
    } else {
        x->b = value(second);
        x->kind = x->b->kind;
        x->fn = [](const XN *n, FRAME *f) {
            n->a->fn(n->a, f);
            return n->b->fn(n->b, f);
        };
    }
    return x;
}

// --- assignments ---

XN *COMPILER::record_copy(MNODE *t, MNODE *to, MNODE *from, uint32_t bytes) {
    XN *x = make(t);
    x->kind = SK_u32;
    next_use = WRITES;
    x->a = address(to);
    SK fk = scalar_kind(from->type);
    if (from->op == CALL || from->op == UCALL || fk != SK_record) x->b = value(from);
    else x->b = address(from);
    x->imm = bytes;
    count(CN_LOADS), count(CN_STORES), count(CN_BYTES, 2 * bytes);
    x->fn = [](const XN *n, FRAME *f) {
        uint32_t to_a = uint32_t(n->a->fn(n->a, f)), from_a = uint32_t(n->b->fn(n->b, f));
        uint32_t size = uint32_t(n->imm);
        if (!mem.ok_range(from_a, size)) check_access(from_a, size, false);
        if (!mem.ok_range(to_a, size)) check_access(to_a, size, true);
        memmove(mem.base + to_a, mem.base + from_a, size);
        if (run_options.check_init) mem.mark_written(to_a, size);
        return uint64_t(to_a);
    };
    return then_stored(x);
}

XN *COMPILER::assignment(MNODE *t) {
    SK k = scalar_kind(t->left->type);
    if (t->op == STASG || t->op == ARASG || k == SK_record)
        return record_copy(t, t->left, t->right, uint32_t(t->left->type->size / 8));
    next_use = WRITES;
    LVALUE lv = lvalue(t->left);
    XN *x = make(t);
    x->kind = k;
    apply(x, lv);
    x->is_volatile = t->left->type->is_volatile();
    count(CN_STORES);
    if (lv.is_bits) {
        x->b = to_kind(value(t->right), k);
        x->shift = uint8_t(lv.bit), x->imm2 = lv.width;
        x->fn = eval_bits_store(lv.am);
        count(CN_BYTES, (lv.bit + lv.width + 7) / 8);
        return then_stored(x);
    }
    XN *v = value(t->right);
    bool same_bits = v->kind < SK_f32 && k < SK_f32; // integers are cut by the store
    x->b = same_bits ? v : to_kind(v, k);
    if (t->left->type->is_bool() && !t->right->type->is_bool()) {
        XN *c = new_xn();
        c->a = v, c->kind = k, c->fn = eval_convert(k, v->kind, true);
        x->b = c;
    }
    x->fn = eval_store(k, lv.am, x->is_volatile);
    count(CN_BYTES, sk_bytes(k));
    return write_of_dead(then_stored(x), t->left);
}

namespace {
int plain_op(int op) {
    switch (op) {
    case PLUSASG: return PLUS;
    case MINUSASG: return MINUS;
    case MULTASG: return MULT;
    case DIVASG: return DIV;
    case MODASG: return MOD;
    case SLLASG: return SLL;
    case SRLASG: return SRL;
    case ANDBASG: return ANDB;
    case ORBASG: return ORB;
    case XORBASG: return XORB;
    case PLUSPLUS: return PLUS;
    case MINMIN: return MINUS;
    default: return ILLOP;
    }
}
} // namespace

XN *COMPILER::op_assignment(MNODE *t) {
    int op = plain_op(t->op);
    bool post = t->op == PLUSPLUS || t->op == MINMIN;
    next_use = READS | WRITES;
    LVALUE lv = lvalue(t->left);
    XN *x = make(t);
    SK k = x->kind = scalar_kind(t->left->type);
    apply(x, lv);
    x->is_volatile = t->left->type->is_volatile();
    count(CN_LOADS), count(CN_STORES);
    count(op == MULT ? CN_MULS : op == DIV || op == MOD ? CN_DIVS : CN_ARITH);
    XN *v = value(t->right);
    x->b = op == SLL || op == SRL ? v : to_kind(v, k);
    if (lv.is_bits) {
        x->shift = uint8_t(lv.bit), x->imm2 = lv.width;
        x->c = new_xn();
        x->c->imm = op, x->c->imm2 = post, x->c->from = k;
        x->fn = eval_bits_op_store(lv.am);
        count(CN_BYTES, 2 * ((lv.bit + lv.width + 7) / 8));
        return then_stored(x);
    }
    count(CN_BYTES, 2 * sk_bytes(k));
    x->fn = post ? eval_post_step(k, lv.am, op == MINUS) : eval_op_store(op, k, lv.am);
    if (!x->fn || k >= SK_void) cannot(t, "operands of this type");
    return read_of_dead(then_stored(x), t->left);
}

XN *COMPILER::memcpy_node(MNODE *t) {
    // MEMCPY(COMMA(COMMA(to, from), size)) yields `to`.
    MNODE *list = t->left;
    if (!list || list->op != COMMA || !list->left || list->left->op != COMMA)
        cannot(t, "its operands are not three");
    XN *x = make(t);
    count(CN_NODES, 2);
    x->kind = SK_u32;
    x->a = value(list->left->left), x->b = value(list->left->right), x->c = value(list->right);
    count(CN_LOADS), count(CN_STORES);
    x->extra = func;
    x->fn = [](const XN *n, FRAME *f) {
        uint32_t to = uint32_t(n->a->fn(n->a, f)), from = uint32_t(n->b->fn(n->b, f)),
                 size = uint32_t(n->c->fn(n->c, f));
        if (!mem.ok_range(from, size)) check_access(from, size, false);
        if (!mem.ok_range(to, size)) check_access(to, size, true);
        memmove(mem.base + to, mem.base + from, size);
        if (run_options.check_init) mem.mark_written(to, size);
        if (f) f->func->dynamic_bytes += 2ull * size;
        return uint64_t(to);
    };
    return x;
}

// --- calls ---

XN *COMPILER::call(MNODE *t) {
    XN *x = make(t);
    count(CN_CALLS);
    auto *c = new XCALL; // lives as long as the program
    MNODE *callee = t->left;
    MNODE *name = callee->op == UAND && callee->left->op == NAME ? callee->left : nullptr;
    auto it = name ? program.function_of.find(name->sym) : program.function_of.end();
    if (name && it != program.function_of.end()) {
        c->direct = it->second;
        count(CN_NODES, 2);
    } else c->target = value(callee);
    if (c->direct)
        for (const char *twice : {"setjmp", "_setjmp", "sigsetjmp", "__sigsetjmp", "__builtin_setjmp"})
            if (c->direct->name == twice) saw_setjmp = c->is_setjmp = true;
    c->result = x->kind;
    c->result_type = t->type;
    std::vector<MNODE *> args;
    for (MNODE *list = t->op == CALL ? t->right : nullptr; list;) {
        if (list->op == COMMA) {
            args.push_back(list->right);
            list = list->left;
            count(CN_NODES);
        } else {
            args.push_back(list);
            break;
        }
    }
    std::reverse(args.begin(), args.end());
    for (MNODE *a : args) {
        while (a->op == ACONV) a = a->left, count(CN_NODES);
        XN *v;
        const TYPE *type = a->type;
        if (a->op == ARGREF || a->op == STARG) {
            count(CN_NODES);
            type = a->left->type;
            if (scalar_kind(type) == SK_wide) {
                v = wide_value(a->left);
            } else {
                v = address(a->left);
                XN *copy = new_xn();
                *copy = *v;
                copy->kind = SK_record;
                v = copy;
                count(CN_BYTES, 2 * uint32_t(type->size / 8));
            }
        } else if (scalar_kind(type) == SK_wide) {
            v = wide_value(a);
        } else if (scalar_kind(type) == SK_record) {
            XN *addr = address(a);
            v = new_xn();
            *v = *addr;
            v->kind = SK_record;
        } else v = value(a);
        c->args.push_back(v);
        c->types.push_back(type);
    }
    x->extra = c;
    constexpr unsigned MANY = 64;
    if (c->args.size() > MANY) cannot(t, "more than 64 arguments");
    x->fn = [](const XN *n, FRAME *f) {
        auto *call = static_cast<const XCALL *>(n->extra);
        // The second return of setjmp: its arguments took effect before the first one.
        if (call->is_setjmp && f->jumped_back) return f->jumped_back = false, f->jump_value;
        ARG args_v[MANY];
        uint32_t saved = program.stack_pointer, top = f ? f->alloca_top : 0;
        for (size_t i = 0; i < call->args.size(); i++) {
            const XN *a = call->args[i];
            if (a->kind == SK_wide) {
                WIDE w;
                a->wide(a, f, &w);
                uint32_t bytes = uint32_t(call->types[i]->size / 8);
                uint32_t at = uint32_t(push_stack(16, 16));
                unsigned lane = call->types[i]->is_complex()
                                    ? bytes / 2
                                    : unsigned(call->types[i]->elem_type()->size / 8);
                store_wide(at, bytes, lane, &w);
                args_v[i] = {at, call->types[i], SK_wide};
            } else args_v[i] = {a->fn(a, f), call->types[i], a->kind};
        }
        unsigned argc = unsigned(call->args.size());
        uint64_t v = call->direct ? call_function(call->direct, args_v, argc, f, call, nullptr)
                                  : call_address(uint32_t(call->target->fn(call->target, f)), args_v, argc, f,
                                                 call, nullptr);
        // Stack that the callee took for the caller (alloca) stays, and what it gave back is gone.
        program.stack_pointer = f && f->alloca_top != top ? f->alloca_top : saved;
        return v;
    };
    x->wide = [](const XN *n, FRAME *f, WIDE *out) {
        auto *call = static_cast<const XCALL *>(n->extra);
        n->fn(n, f);
        (void)call;
        *out = f ? f->wide_result : WIDE();
    };
    return x;
}

XN *COMPILER::intrinsic(MNODE *t) {
    const std::string &name = t->text;
    if (name == "_never_executed") {
        XN *x = make(t);
        x->fn = [](const XN *, FRAME *) -> uint64_t { fault("reached a place marked as never executed"); };
        return x;
    }
    std::vector<MNODE *> args;
    for (MNODE *list = t->left; list;) {
        if (list->op == COMMA) {
            args.push_back(list->right);
            list = list->left;
        } else {
            args.push_back(list);
            break;
        }
    }
    std::reverse(args.begin(), args.end());
    if (name == "__builtin_expect" || name == "DONOTCSE" || name == "def$assert") {
        if (scalar_kind(t->type) == SK_wide) return wide_value(args.at(0));
        XN *x = make(t);
        x->a = to_kind(value(args.at(0)), x->kind);
        x->fn = [](const XN *n, FRAME *f) { return n->a->fn(n->a, f); };
        return x;
    }
    if (name == "quest$colon" && args.size() == 3 && scalar_kind(t->type) == SK_wide) {
        XN *x = make(t);
        x->a = value(args[0]), x->b = wide_value(args[1]), x->c = wide_value(args[2]);
        x->wide = [](const XN *n, FRAME *f, WIDE *out) {
            bool yes = n->a->fn(n->a, f);
            WIDE no;
            n->b->wide(n->b, f, out);
            n->c->wide(n->c, f, &no);
            if (!yes) *out = no;
        };
        return x;
    }
    if (name == "quest$colon" && args.size() == 3) {
        XN *x = make(t);
        x->a = value(args[0]), x->b = to_kind(value(args[1]), x->kind),
        x->c = to_kind(value(args[2]), x->kind);
        x->fn = [](const XN *n, FRAME *f) {
            uint64_t test = n->a->fn(n->a, f), yes = n->b->fn(n->b, f), no = n->c->fn(n->c, f);
            return test ? yes : no;
        };
        return x;
    }
    if (intrin_is_known(name.c_str())) return compile_simd(*this, t, name.c_str(), args);
    INTRINSIC fn = find_intrinsic(name);
    if (!fn) cannot(t, ("the built-in '" + name + "' is not known").c_str());
    XN *x = make(t);
    count(CN_CALLS);
    auto *c = new XCALL;
    for (MNODE *a : args) {
        c->args.push_back(value(a));
        c->types.push_back(a->type);
    }
    c->result_type = t->type;
    struct BOUND {
        XCALL *call;
        INTRINSIC fn;
    };
    x->extra = new BOUND{c, fn};
    x->fn = [](const XN *n, FRAME *f) {
        auto *b = static_cast<const BOUND *>(n->extra);
        uint64_t v[8] = {};
        for (size_t i = 0; i < b->call->args.size() && i < 8; i++)
            v[i] = b->call->args[i]->fn(b->call->args[i], f);
        return b->fn(v, b->call->types.data(), b->call->result_type);
    };
    return x;
}

// --- any scalar tree ---

XN *COMPILER::value(MNODE *t) {
    if (!t) cannot(t, "a missing operand");
    SK k = scalar_kind(t->type);
    if (k == SK_wide && t->op != CALL && t->op != UCALL) {
        XN *x = new_xn();
        x->a = wide_value(t);
        x->kind = SK_void;
        x->fn = [](const XN *n, FRAME *f) -> uint64_t {
            WIDE w;
            n->a->wide(n->a, f, &w);
            return 0;
        };
        return x;
    }
    switch (t->op) {
    case NOP: {
        XN *x = make(t);
        x->fn = eval_const();
        return x;
    }
    case ICON: {
        XN *x = make(t);
        x->fn = eval_const();
        x->imm = int64_t(convert_value(k, t->type->is_signed() ? SK_i64 : SK_u64, uint64_t(t->value)));
        return x;
    }
    case LCON: {
        XN *x = make(t);
        x->fn = eval_const();
        uint64_t v = t->text[0] == '-' ? uint64_t(strtoll(t->text.c_str(), nullptr, 10))
                                       : strtoull(t->text.c_str(), nullptr, 10);
        x->imm = int64_t(convert_value(k, SK_u64, v));
        return x;
    }
    case FCON: {
        XN *x = make(t);
        x->fn = eval_const();
        double d = strtod(t->text.c_str(), nullptr);
        x->imm = int64_t(k == SK_f32   ? from_f32(float(d))
                         : k == SK_f64 ? from_f64(d)
                                       : convert_value(k, SK_f64, from_f64(d)));
        return x;
    }
    case SCON: {
        XN *x = make(t);
        uint32_t a = mem.add_global(uint32_t(t->text.size()), 4);
        memcpy(mem.base + a, t->text.data(), t->text.size());
        x->fn = eval_const(), x->imm = a, x->kind = SK_u32;
        return x;
    }
    case NAME:
    case UMULT:
    case STDOT:
    case STREF: return load(t);
    case VFIELD: {
        int base = t->left->op;
        if (base == NAME || base == UMULT || base == STDOT) return load(t);
        XN *x = make(t);
        x->a = wide_value(t->left), x->b = value(t->right), x->imm2 = uint32_t(t->type->size / 8);
        count(CN_VECTOR);
        x->fn = [](const XN *n, FRAME *f) {
            WIDE w;
            n->a->wide(n->a, f, &w);
            uint64_t lane = n->b->fn(n->b, f), v = 0;
            if (lane * n->imm2 >= sizeof w)
                fault("lane %llu of a vector", static_cast<unsigned long long>(lane));
            memcpy(&v, reinterpret_cast<uint8_t *>(&w) + lane * n->imm2, n->imm2);
            if (n->kind >= SK_f32) return v;
            return convert_value(n->kind, SK_u64, v);
        };
        return x;
    }
    case REAL:
    case IMAG: {
        if (t->left->op == NAME || t->left->op == UMULT || t->left->op == STDOT) return load(t);
        XN *x = make(t);
        x->a = wide_value(t->left), x->imm2 = uint32_t(t->type->size / 8), x->imm = t->op == IMAG;
        x->fn = [](const XN *n, FRAME *f) {
            WIDE w;
            n->a->wide(n->a, f, &w);
            uint64_t v = 0;
            memcpy(&v, reinterpret_cast<uint8_t *>(&w) + size_t(n->imm) * n->imm2, n->imm2);
            if (n->kind >= SK_f32) return v;
            return convert_value(n->kind, SK_u64, v);
        };
        return x;
    }
    case UAND:
    case ARGREF: {
        count(CN_NODES);
        return address(t->left);
    }
    case PLUS:
    case MINUS:
    case MULT:
    case DIV:
    case MOD:
    case ANDB:
    case ORB:
    case XORB:
    case SLL:
    case SRL: return binary(t);
    case EQ:
    case NEQ:
    case LE:
    case LT:
    case GE:
    case GT:
    case ULE:
    case ULT:
    case UGE:
    case UGT: return comparison(t);
    case ANDAND:
    case OROR: return logical(t);
    case QUEST: return conditional(t);
    case UMINUS:
    case NOTB:
    case ABS:
    case SQRT:
    case SQR:
    case RECIP:
    case EXCLAIM: {
        XN *x = make(t);
        count(t->op == SQR ? CN_MULS : t->op == SQRT || t->op == RECIP ? CN_DIVS : CN_ARITH);
        XN *v = value(t->left);
        x->a = t->op == EXCLAIM ? v : to_kind(v, k);
        x->fn = eval_unary(t->op, t->op == EXCLAIM ? v->kind : k);
        if (!x->fn) cannot(t, "operands of this type");
        return x;
    }
    case SCONV:
    case PCONV:
    case ACONV:
    case VRCONV: return convert(t);
    case DDNODE:
        if (notes_references && (t->left->op == UMULT || t->left->op == NAME || t->left->op == STDOT ||
                                 t->left->op == STREF || t->left->op == VFIELD))
            return load(t);
        count(CN_NODES);
        return value(t->left);
    case TOIEEE:
    case FRIEEE:
    case EPVAL: count(CN_NODES); return value(t->left);
    case PMCONV: { // index * (bits / 8)
        XN *x = make(t);
        count(CN_MULS);
        x->a = to_kind(value(t->left), k);
        x->b = leaf(uint64_t(t->right->value / 8), k);
        x->fn = eval_binary(MULT, k);
        return x;
    }
    case PVCONV: { // difference / (bits / 8)
        XN *x = make(t);
        count(CN_DIVS);
        x->a = to_kind(value(t->left), SK_i32);
        x->b = leaf(uint64_t(t->right->value / 8), SK_i32);
        x->fn = eval_binary(DIV, SK_i32);
        return x;
    }
    case COMMAOP:
    case PCOMMA:
    case COMMA: return comma(t->left, t->right, false);
    case ASG:
    case STASG:
    case ARASG: return assignment(t);
    case PLUSASG:
    case MINUSASG:
    case MULTASG:
    case DIVASG:
    case MODASG:
    case SLLASG:
    case SRLASG:
    case ANDBASG:
    case ORBASG:
    case XORBASG:
    case PLUSPLUS:
    case MINMIN: return op_assignment(t);
    case MEMCPY: return memcpy_node(t);
    case CALL:
    case UCALL: return call(t);
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: return intrinsic(t);
    case NASSERT:
    case ASSERT: {
        XN *x = make(t);
        if (!run_options.check_records) {
            x->fn = eval_const();
            return x;
        }
        x->a = value(t->left);
        x->fn = [](const XN *n, FRAME *f) -> uint64_t {
            if (!n->a->fn(n->a, f)) fault("an assertion of the file does not hold");
            return 0;
        };
        return x;
    }
    default: break;
    }
    if (t->op >= FEQ && t->op <= FUNO) return comparison(t);
    cannot(t, "no rule for this operator");
}

XN *COMPILER::wide_value(MNODE *t) { return compile_wide(*this, t); }
