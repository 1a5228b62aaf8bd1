// Complex numbers and vectors: values of up to 16 bytes, lane 0 at the lowest place.
#include <cstdio>
#include <cmath>

#include "tools/exec/compile.h"

namespace {

struct SHAPE {
    SK lane = SK_u32;
    unsigned lanes = 0, lane_bytes = 0, bytes = 0;
    bool complex = false;
};

SHAPE shape_of(const TYPE *t) {
    SHAPE s;
    const TYPE *part = t->is_complex() ? t->part_type() : t->elem_type();
    s.complex = t->is_complex();
    s.lane = scalar_kind(part);
    s.lane_bytes = unsigned(part->size / 8);
    s.bytes = unsigned(t->size / 8);
    s.lanes = s.lane_bytes ? s.bytes / s.lane_bytes : 0;
    return s;
}

uint64_t lane_get(const WIDE &w, const SHAPE &s, unsigned i) {
    uint64_t v = 0;
    memcpy(&v, reinterpret_cast<const uint8_t *>(&w) + i * s.lane_bytes, s.lane_bytes);
    return s.lane >= SK_f32 ? v : convert_value(s.lane, SK_u64, v);
}
void lane_set(WIDE &w, const SHAPE &s, unsigned i, uint64_t v) {
    memcpy(reinterpret_cast<uint8_t *>(&w) + i * s.lane_bytes, &v, s.lane_bytes);
}

struct WIDE_INFO {
    int op = 0;
    SHAPE to, from;
};

// --- complex arithmetic ---

using CFLOAT = __complex__ float;
using CDOUBLE = __complex__ double;

// As the target's run-time functions compute it: the host compiler's are the same for float and double.
template <class FLOAT, class CPX>
void complex_float(int op, const SHAPE &s, const WIDE &a, const WIDE &b, WIDE &r) {
    auto get = [&](const WIDE &w) {
        FLOAT part[2];
        for (unsigned i = 0; i < 2; i++) {
            uint64_t v = lane_get(w, s, i);
            memcpy(&part[i], &v, sizeof(FLOAT));
        }
        CPX z;
        __real__ z = part[0], __imag__ z = part[1];
        return z;
    };
    CPX x = get(a), y = get(b);
    CPX z = op == PLUS ? x + y : op == MINUS ? x - y : op == MULT ? x * y : x / y;
    FLOAT part[2] = {__real__ z, __imag__ z};
    for (unsigned i = 0; i < 2; i++) {
        uint64_t v = 0;
        memcpy(&v, &part[i], sizeof(FLOAT));
        lane_set(r, s, i, v);
    }
}

void complex_integer(int op, const SHAPE &s, const WIDE &a, const WIDE &b, WIDE &r) {
    auto f = [&](int o, uint64_t l, uint64_t m) { return apply_binary(o, s.lane, l, m); };
    uint64_t x = lane_get(a, s, 0), y = lane_get(a, s, 1), u = lane_get(b, s, 0), v = lane_get(b, s, 1), re,
             im;
    if (op == PLUS || op == MINUS) re = f(op, x, u), im = f(op, y, v);
    else if (op == MULT)
        re = f(MINUS, f(MULT, x, u), f(MULT, y, v)), im = f(PLUS, f(MULT, x, v), f(MULT, y, u));
    else {
        auto size = [&](uint64_t n) {
            return s.lane == SK_u8 || s.lane == SK_u16 || s.lane == SK_u32 || s.lane == SK_u64 ? n
                   : int64_t(n) < 0                                                            ? 0 - n
                                                                                               : n;
        };
        if (size(u) < size(v)) { // both parts of the divisor by the larger one
            uint64_t ratio = f(DIV, u, v), d = f(PLUS, f(MULT, u, ratio), v);
            re = f(DIV, f(PLUS, f(MULT, x, ratio), y), d), im = f(DIV, f(MINUS, f(MULT, y, ratio), x), d);
        } else {
            uint64_t ratio = f(DIV, v, u), d = f(PLUS, f(MULT, v, ratio), u);
            re = f(DIV, f(PLUS, f(MULT, y, ratio), x), d), im = f(DIV, f(MINUS, y, f(MULT, x, ratio)), d);
        }
    }
    lane_set(r, s, 0, re), lane_set(r, s, 1, im);
}

void wide_binary(const XN *n, FRAME *f, WIDE *out) {
    auto *info = static_cast<const WIDE_INFO *>(n->extra);
    const SHAPE &s = info->to;
    WIDE a, b, r;
    n->a->wide(n->a, f, &a);
    n->b->wide(n->b, f, &b);
    if (s.complex && s.lane == SK_f32) complex_float<float, CFLOAT>(info->op, s, a, b, r);
    else if (s.complex && s.lane == SK_f64) complex_float<double, CDOUBLE>(info->op, s, a, b, r);
    else if (s.complex) complex_integer(info->op, s, a, b, r);
    else
        for (unsigned i = 0; i < s.lanes; i++)
            lane_set(r, s, i, apply_binary(info->op, s.lane, lane_get(a, s, i), lane_get(b, s, i)));
    *out = r;
}

void wide_shift(const XN *n, FRAME *f, WIDE *out) { // by a scalar count
    auto *info = static_cast<const WIDE_INFO *>(n->extra);
    WIDE a, r;
    n->a->wide(n->a, f, &a);
    uint64_t count = n->b->fn(n->b, f);
    for (unsigned i = 0; i < info->to.lanes; i++)
        lane_set(r, info->to, i, apply_binary(info->op, info->to.lane, lane_get(a, info->to, i), count));
    *out = r;
}

void wide_unary(const XN *n, FRAME *f, WIDE *out) {
    auto *info = static_cast<const WIDE_INFO *>(n->extra);
    const SHAPE &s = info->to;
    WIDE a, r;
    n->a->wide(n->a, f, &a);
    for (unsigned i = 0; i < s.lanes; i++) {
        uint64_t v = lane_get(a, s, i);
        if (info->op == NOTB) v = ~v;
        else if (info->op == ABS) {
            if (s.lane == SK_f32) v &= 0x7FFFFFFF;
            else if (s.lane == SK_f64) v &= ~(1ull << 63);
            else if (int64_t(v) < 0) v = apply_binary(MINUS, s.lane, 0, v);
        } else if (s.lane == SK_f32) v ^= 0x80000000u;
        else if (s.lane == SK_f64) v ^= 1ull << 63;
        else v = apply_binary(MINUS, s.lane, 0, v);
        lane_set(r, s, i, v);
    }
    *out = r;
}

// A vector behind a pointer has the alignment of its type; a member of a packed record has not. n->imm: the bits of the
// address that must be zero.
void check_alignment(const XN *n, uint32_t a) {
    if (a & uint32_t(n->imm))
        fault("unaligned access to a vector at 0x%08x, where %u bytes of alignment hold", a,
              uint32_t(n->imm) + 1);
}
int64_t alignment_bits(const MNODE *place) {
    return place->op == UMULT && place->type->is_vector() ? int64_t(place->type->align / 8) - 1 : 0;
}

void wide_load(const XN *n, FRAME *f, WIDE *out) {
    auto *info = static_cast<const WIDE_INFO *>(n->extra);
    uint32_t a = uint32_t(n->a->fn(n->a, f));
    check_alignment(n, a);
    if (!mem.ok_range(a, info->to.bytes)) check_access(a, info->to.bytes, false);
    if (run_options.check_init) check_access(a, info->to.bytes, false);
    load_wide(a, info->to.bytes, info->to.lane_bytes, out);
}

void wide_store(const XN *n, FRAME *f, WIDE *out) {
    auto *info = static_cast<const WIDE_INFO *>(n->extra);
    uint32_t a = uint32_t(n->a->fn(n->a, f));
    n->b->wide(n->b, f, out);
    check_alignment(n, a);
    if (!mem.ok_range(a, info->to.bytes)) check_access(a, info->to.bytes, true);
    store_wide(a, info->to.bytes, info->to.lane_bytes, out);
}

void wide_pack(const XN *n, FRAME *f, WIDE *out) {
    auto *info = static_cast<const WIDE_INFO *>(n->extra);
    WIDE r;
    unsigned i = 0;
    for (const XN *part = n->a; part && i < info->to.lanes; part = part->c, i++)
        lane_set(r, info->to, i, part->a->fn(part->a, f));
    *out = r;
}
void wide_splat(const XN *n, FRAME *f, WIDE *out) {
    auto *info = static_cast<const WIDE_INFO *>(n->extra);
    WIDE r;
    uint64_t v = n->a->fn(n->a, f);
    for (unsigned i = 0; i < info->to.lanes; i++) lane_set(r, info->to, i, v);
    *out = r;
}
void wide_convert(const XN *n, FRAME *f, WIDE *out) {
    auto *info = static_cast<const WIDE_INFO *>(n->extra);
    WIDE a, r;
    n->a->wide(n->a, f, &a);
    for (unsigned i = 0; i < info->to.lanes; i++)
        lane_set(r, info->to, i, convert_value(info->to.lane, info->from.lane, lane_get(a, info->from, i)));
    *out = r;
}
void wide_comparison(const XN *n, FRAME *f, WIDE *out) { // all ones where it holds
    auto *info = static_cast<const WIDE_INFO *>(n->extra);
    static const struct {
        int op, k; // 0 ==, 1 >=, 2 >, 3 <=, 4 <, 5 != ; integers and floats
    } kinds[] = {{EQ, 0},  {GE, 1},  {UGE, 1}, {GT, 2},  {UGT, 2}, {LE, 3},  {ULE, 3}, {LT, 4},
                 {ULT, 4}, {NEQ, 5}, {FEQ, 0}, {FGE, 1}, {FGT, 2}, {FLE, 3}, {FLT, 4}, {FNEQN, 5}};
    int k = 0;
    for (auto &row : kinds)
        if (row.op == info->op) k = row.k;
    bool is_unsigned = info->op >= ULE && info->op <= UGT;
    WIDE a, b, r;
    n->a->wide(n->a, f, &a);
    n->b->wide(n->b, f, &b);
    for (unsigned i = 0; i < info->from.lanes; i++) {
        uint64_t x = lane_get(a, info->from, i), y = lane_get(b, info->from, i);
        bool less = is_unsigned ? x < y : int64_t(x) < int64_t(y), equal = x == y, ordered = true;
        if (info->from.lane >= SK_f32) {
            double u = info->from.lane == SK_f32 ? double(as_f32(x)) : as_f64(x);
            double v = info->from.lane == SK_f32 ? double(as_f32(y)) : as_f64(y);
            less = u < v, equal = u == v, ordered = u == u && v == v;
        }
        bool greater = ordered && !less && !equal;
        bool yes = k == 0   ? equal
                   : k == 1 ? greater || equal
                   : k == 2 ? greater
                   : k == 3 ? less || equal
                   : k == 4 ? less
                            : !equal;
        lane_set(r, info->to, i, yes ? ~0ull : 0);
    }
    *out = r;
}
void wide_same(const XN *n, FRAME *f, WIDE *out) { n->a->wide(n->a, f, out); }

std::vector<MNODE *> list_of(MNODE *list) {
    std::vector<MNODE *> parts;
    for (; list && list->op == COMMA; list = list->left) parts.push_back(list->right);
    if (list) parts.push_back(list);
    return {parts.rbegin(), parts.rend()};
}
bool has_vector_parts(MNODE *list) {
    for (MNODE *p : list_of(list))
        if (p->type->is_vector()) return true;
    return false;
}

} // namespace

XN *compile_wide(COMPILER &c, MNODE *t) {
    auto *info = new WIDE_INFO; // lives as long as the program
    info->op = t->op;
    info->to = shape_of(t->type);
    if (info->to.bytes > sizeof(WIDE)) c.cannot(t, "a vector of more than 16 bytes");
    XN *x = c.make(t);
    x->extra = info;
    x->kind = SK_wide;
    c.count(CN_VECTOR);
    // As a scalar the whole is evaluated for its effects alone.
    auto scalar_lanes = [&](MNODE *list) {
        std::vector<MNODE *> parts;
        for (; list && list->op == COMMA; list = list->left) parts.push_back(list->right);
        if (list) parts.push_back(list);
        XN *chain = nullptr;
        for (MNODE *p : parts) { // parts stand in reverse: the chain grows at its head
            XN *link = new_xn();
            XN *v = c.value(p);
            link->a = new_xn();
            link->a->a = v, link->a->kind = info->to.lane,
            link->a->fn = eval_convert(info->to.lane, v->kind, false);
            link->c = chain;
            chain = link;
        }
        return chain;
    };
    switch (t->op) {
    case NAME:
    case UMULT:
    case STDOT:
    case STREF:
        x->a = c.address(t);
        x->imm = alignment_bits(t);
        x->wide = wide_load;
        c.count(CN_LOADS), c.count(CN_BYTES, info->to.bytes);
        return x;
    case ASG:
    case ARASG:
    case STASG:
        x->a = c.address(t->left);
        x->b = c.wide_value(t->right);
        x->imm = alignment_bits(t->left);
        x->wide = wide_store;
        c.count(CN_STORES), c.count(CN_BYTES, info->to.bytes);
        return x;
    case PLUS:
    case MINUS:
    case MULT:
    case DIV:
    case MOD:
    case ANDB:
    case ORB:
    case XORB:
        x->a = c.wide_value(t->left), x->b = c.wide_value(t->right);
        x->wide = wide_binary;
        return x;
    case SLL:
    case SRL:
        x->a = c.wide_value(t->left);
        if (scalar_kind(t->right->type) == SK_wide) x->b = c.wide_value(t->right), x->wide = wide_binary;
        else x->b = c.value(t->right), x->wide = wide_shift;
        return x;
    case UMINUS:
    case NOTB:
    case ABS:
        x->a = c.wide_value(t->left);
        x->wide = wide_unary;
        return x;
    case COMPLEX: {
        XN *im = new_xn(), *re = new_xn();
        XN *a = c.value(t->left), *b = c.value(t->right);
        re->a = new_xn(), im->a = new_xn();
        re->a->a = a, re->a->kind = info->to.lane, re->a->fn = eval_convert(info->to.lane, a->kind, false);
        im->a->a = b, im->a->kind = info->to.lane, im->a->fn = eval_convert(info->to.lane, b->kind, false);
        re->c = im;
        x->a = re;
        x->wide = wide_pack;
        return x;
    }
    case VPACK:
        if (has_vector_parts(t->left)) return compile_simd(c, t, "__pack", list_of(t->left));
        x->a = scalar_lanes(t->left);
        x->wide = wide_pack;
        return x;
    case VPACK1P: return compile_simd(c, t, "__pack1p", {t->left, t->right});
    case VPACKM: {
        if (has_vector_parts(t->left)) return compile_simd(c, t, "__packm", {t->left});
        XN *v = c.value(t->left);
        x->a = new_xn();
        x->a->a = v, x->a->kind = info->to.lane, x->a->fn = eval_convert(info->to.lane, v->kind, false);
        x->wide = wide_splat;
        return x;
    }
    case SCONV:
    case VRCONV: {
        SK from_kind = scalar_kind(t->left->type);
        if (from_kind != SK_wide) { // bits of a scalar as a short vector
            x->b = c.value(t->left);
            x->wide = [](const XN *n, FRAME *f, WIDE *out) {
                *out = WIDE();
                out->lo = n->b->fn(n->b, f);
            };
            return x;
        }
        x->a = c.wide_value(t->left);
        info->from = shape_of(t->left->type);
        bool converts = t->op == SCONV && info->from.lanes == info->to.lanes;
        x->wide = converts ? wide_convert : wide_same;
        c.count(CN_CONVERT);
        return x;
    }
    case DDNODE:
    case EPVAL: return c.wide_value(t->left);
    case COMMAOP:
    case PCOMMA: {
        XN *first = scalar_kind(t->left->type) == SK_wide ? nullptr : c.value(t->left);
        XN *first_wide = first ? nullptr : c.wide_value(t->left);
        x->a = first ? first : first_wide;
        x->imm = first != nullptr;
        x->b = c.wide_value(t->right);
        x->wide = [](const XN *n, FRAME *f, WIDE *out) {
            WIDE drop;
            if (n->imm) n->a->fn(n->a, f);
            else n->a->wide(n->a, f, &drop);
            n->b->wide(n->b, f, out);
        };
        return x;
    }
    case QUEST: {
        MNODE *colon = t->right->op == EPVAL ? t->right->left : t->right;
        x->a = c.value(t->left);
        x->unit = c.arm([&] { x->b = c.wide_value(colon->left); });
        x->unit2 = c.arm([&] { x->c = c.wide_value(colon->right); });
        x->wide = [](const XN *n, FRAME *f, WIDE *out) {
            bool yes = n->a->fn(n->a, f);
            (yes ? n->unit : n->unit2)->executed++;
            const XN *part = yes ? n->b : n->c;
            part->wide(part, f, out);
        };
        return x;
    }
    case CALL:
    case UCALL: return c.value(t);
    case ICALL:
    case MCALL: return c.intrinsic(t);
    case EQ:
    case NEQ:
    case LE:
    case LT:
    case GE:
    case GT:
    case ULE:
    case ULT:
    case UGE:
    case UGT:
    case FEQ:
    case FNEQN:
    case FLE:
    case FLT:
    case FGE:
    case FGT:
        info->from = shape_of(t->left->type);
        if (info->from.complex || info->from.lanes != info->to.lanes) break;
        x->a = c.wide_value(t->left), x->b = c.wide_value(t->right);
        x->wide = wide_comparison;
        return x;
    default: break;
    }
    c.cannot(t, "no rule for this operator on vectors or complex numbers");
}
