#include "ifile/if_rtype.h"

#include "typepkg/type_merge.h"
#include "typepkg/type_query.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

// Reads the rest of one record, behind id and form.
struct IF_TYPE_READER {
    I_FILE &f;
    TYPE_PKG &p;
    uint32_t id;

    struct LAYOUT {
        uint32_t size, align;
    };

    // ---- faults. Broken order of records has texts of its own.
    [[noreturn]] static void die(const I_FILE &f, const char *what, uint32_t id) {
        char line[256];
        snprintf(line, sizeof line, "TP>> internal error: %s (%s, byte %u, type %u)", what,
                 f.display_name_.c_str(), unsigned(f.record_start_), unsigned(id));
        if_bad_file_handler(line);
        abort(); // the handler does not return
    }

    // ---- parts
    TYPE *maybe() { return f.find_typeref(f.i_read_uint()); }
    TYPE *part(const char *what) {
        TYPE *t = maybe();
        if (!t) f.bad_file("type %u has no %s", id, what);
        return t;
    }
    // What has no values can't be a part of an object.
    void check_holdable(const TYPE *t, const char *what) {
        if (t->is_void() || t->is_func()) f.bad_file("type %u: %s of a type without values", id, what);
    }
    void enter(TYPE *t, uint16_t announced = 0) {
        TYPE_INFO info;
        info.type = t;
        info.announced = announced;
        info.open_lists = std::popcount(announced);
        f.enter_type(id, info);
    }

    // Size and alignment; 0 is allowed where nothing is known yet.
    LAYOUT layout() {
        LAYOUT l;
        l.size = f.i_read_uint();
        l.align = f.i_read_uint();
        bool nothing = l.size == 0 && l.align == 0;
        if (!nothing && (!std::has_single_bit(l.align) || l.align < 8 || l.align > MAX_TYPE_ALIGN))
            f.bad_file("type %u has an alignment of %u bits", id, l.align);
        return l;
    }
    LAYOUT layout(const char *what, uint32_t least, uint32_t most) {
        LAYOUT l = layout();
        if (l.size < least || l.size > most) f.bad_file("type %u: %s of %u bits", id, what, l.size);
        return l;
    }

    void integral(IKIND kind) {
        bool expl_sign = f.i_read_bool();
        LAYOUT l = layout("an integer", 1, 64);
        bool truth = f.i_read_bool(), again = f.i_read_bool();
        // The first flag says that bool is a truth value, which is no news; the second repeats the first but for
        // integers that hold a pointer to member.
        enter(p.mk_int(kind, expl_sign, l.size, l.align, truth && kind != IK_bool, again && !truth));
    }
    void tp_make_void_type() { enter(p.mk_void()); }
    void tp_make_integral_type(IKIND kind) { integral(kind); }
    void tp_make_float_type(FKIND kind) {
        LAYOUT l = layout("a floating type", 16, 128);
        enter(p.mk_fltpt(kind, l.size, l.align));
    }

    void tp_make_fixpt_type() {
        int binpt = f.i_read_s8();
        unsigned sign = f.i_read_u8();
        if (sign > 1) f.bad_file("type %u has a sign of %u", id, sign);
        TYPE *underlying = part("underlying type");
        if (!underlying->is_integral()) f.bad_file("type %u: a fixed point type over no integer", id);
        LAYOUT l = layout("a fixed point type", 1, 64);
        enter(p.mk_fxtpt(underlying, binpt, l.size, l.align, uint8_t(sign)));
    }

    void tp_make_complex_type() {
        LAYOUT l = layout();
        TYPE *t = part("part type");
        if (!t->is_integral() && !t->is_fltpt()) f.bad_file("type %u: complex of no number", id);
        if (l.size != 2 * t->size)
            f.bad_file("type %u: a complex of %u bits with parts of %llu", id, l.size,
                       static_cast<unsigned long long>(t->size));
        enter(p.mk_complex(t, l.size, l.align));
    }

    void tp_make_typedef() {
        std::string name = f.i_read_string(0);
        TYPE *named = part("named type");
        LAYOUT l = layout();
        bool cpp = f.i_read_bool(), lowered = f.i_read_bool();
        enter(p.mk_typedef(name.c_str(), cpp, named, l.size, l.align, lowered, f.i_read_psn()));
    }

    void tp_make_addr_type() {
        TYPE *target = part("target");
        LAYOUT l = layout("a pointer", 8, 64);
        enter(p.mk_ptr(target, l.size, l.align));
    }

    void tp_make_ref_type() {
        TYPE *target = part("target");
        if (target->is_void()) f.bad_file("type %u: a reference to void", id);
        LAYOUT l = layout("a reference", 8, 64);
        enter(p.mk_ref(target, l.size, l.align));
    }

    void tp_make_qual_type() {
        TYPE *base = part("qualified type");
        uint32_t bits = f.i_read_uint();
        if (bits > 255) f.bad_file("type %u has the qualifier bits 0x%x", id, bits);
        LAYOUT l = layout();
        enter(p.mk_qual(base, bits, l.size, l.align));
    }

    void array() {
        TYPE *elem = part("element");
        check_holdable(elem, "an array");
        uint32_t count = f.i_read_uint();
        LAYOUT l = layout();
        bool cpp = f.i_read_bool(), complete = f.i_read_bool();
        bool vector = f.gate(GATE_ARRAY_VECTOR) && f.i_read_bool();
        if (f.gate(GATE_ARRAY_IGNORED)) f.i_read_bool();
        if (elem->dtype->dims >= MAX_TYPE_NESTING) f.bad_file("type %u: arrays nest too deep", id);
        if (vector) tp_make_vector_type(elem, count, l, cpp, complete);
        else tp_make_array_type(elem, count, l, cpp, complete);
    }
    // An element that was incomplete when it got its other names is measured by its definition.
    bool is_product(uint64_t size, const TYPE *elem, uint64_t count) {
        return size == elem->size * count || size == elem->dtype->size * count;
    }
    void tp_make_array_type(TYPE *elem, uint32_t count, LAYOUT l, bool cpp, bool complete) {
        if (!is_product(l.size, elem, count) && (complete || l.size != 0))
            f.bad_file("type %u: an array of %u bits with %u elements of %llu bits", id, l.size, count,
                       static_cast<unsigned long long>(elem->size));
        enter(p.mk_array_full(elem, cpp, count, complete, false, l.size, l.align));
    }
    void tp_make_vector_type(TYPE *elem, uint32_t count, LAYOUT l, bool cpp, bool complete) {
        bool of_scalars = elem->is_scalar() && count > 0;
        uint64_t lanes = elem->size * count; // three lanes may take the room of four
        if (!of_scalars || l.size < lanes || l.size > 2 * lanes)
            f.bad_file("type %u: a vector of %u bits with %u elements of %llu bits", id, l.size, count,
                       static_cast<unsigned long long>(elem->size));
        enter(p.mk_array_full(elem, cpp, count, complete, true, l.size, l.align));
    }

    void tp_make_ptm_type() {
        TYPE *target = part("target"), *of_class = part("class");
        if (!of_class->is_csu()) f.bad_file("type %u: a pointer to member of no class", id);
        LAYOUT l = layout("a pointer to member", 8, 256);
        enter(p.mk_ptm(target, of_class, l.size, l.align));
    }

    void tp_make_func_type() {
        TYPE *returns = part("return type");
        if (returns->is_array() && !returns->is_vector())
            f.bad_file("type %u: a function that returns an array", id);
        if (returns->is_func()) f.bad_file("type %u: a function that returns a function", id);
        bool vararg = f.i_read_bool(), proto = f.i_read_bool();
        CC_KIND cc = uint8_t(f.i_read_u8());
        bool cpp = f.i_read_bool();
        enter(p.mk_func(returns, cpp, vararg, proto, cc), 1u << TPL_params);
    }

    void tp_make_enum_type() {
        std::string name = f.i_read_string(0);
        LAYOUT l = layout("an enum", 0, 64);
        TYPE *underlying = maybe();
        if (underlying && !underlying->is_integral()) f.bad_file("type %u: an enum over no integer", id);
        bool cpp = f.gate(GATE_CPP) ? f.i_read_bool() : if_read_type_is_cpp(name.c_str());
        TYPE *t = p.mk_enum(name.c_str(), underlying, l.size, l.align, cpp);
        t->set_psn(f.i_read_psn());
        enter(t, 1u << TPL_etors);
    }

    // Older files leave it to the name.
    static bool if_read_type_is_cpp(const char *name) {
        std::string plain;
        return TYPE_PKG::demangle_type_name(name, plain);
    }

    void tp_make_csu(bool long_form) {
        static constexpr KIND kinds[] = {K_struct, K_union, K_class};
        unsigned kind = f.i_read_u8();
        if (kind > ICK_CLASS) f.bad_file("type %u: a record of kind %u", id, kind);
        std::string name = f.i_read_string(0);
        bool complete = f.i_read_bool(), lowered = f.i_read_bool();
        LAYOUT l = layout();
        uint32_t word = long_form ? f.i_read_uint() : 0;
        uint16_t announced = 0;
        for (TP_LIST list : IF_CSU_LISTS)
            if ((long_form || list == TPL_mdata) && f.i_read_bool()) announced |= 1u << list;
        bool struct_vector = f.gate(GATE_STRUCT_VECTOR) && f.i_read_bool();
        bool cpp = f.gate(GATE_CPP) ? f.i_read_bool() : if_read_type_is_cpp(name.c_str());
        TYPE *t = p.mk_csu(kinds[kind], name.c_str(), l.size, l.align, cpp, word, complete);
        t->set_is_lowered(lowered);
        t->set_struct_vector(struct_vector);
        if (kind == ICK_UNION && !f.gate(GATE_UNION_UNORDERED)) t->set_ordered_union();
        t->set_psn(f.i_read_psn());
        enter(t, announced);
        if (!announced) p.type_frozen(t);
    }

    // ---- lists
    TYPE_INFO &owner() {
        TYPE_INFO *found = f.types_.find(id);
        if (!found || !found->type) die(f, "invalid forward reference", id);
        return *found;
    }

    TP_LIST list_id() {
        int list = f.i_read_s8();
        if (list < 0 || list >= TPL_count) f.bad_file("type %u has a list %d", id, list);
        return TP_LIST(list);
    }

    void tp_make_list() {
        TYPE_INFO &info = owner();
        TP_LIST list = list_id();
        if (!info.open_lists) die(f, "Unexpected type attribute", id);
        if (info.type->has_list(list))
            die(f,
                info.type->kind == K_func   ? "Duplicate function parameters"
                : info.type->kind == K_enum ? "Duplicate enumerator attributes"
                                            : "Duplicate CSU attributes",
                id);
        if (!(info.announced >> list & 1)) die(f, "Unexpected type attribute", id);
        info.open |= 1u << list;
        info.type->open_list(list);
    }

    void tp_end_list() {
        TYPE_INFO &info = owner();
        TP_LIST list = list_id();
        if (!(info.open >> list & 1))
            f.bad_file("type %u: the end of list %d without its header", id, int(list));
        info.open &= ~(1u << list);
        if (list == TPL_mdata) check_indices(info.type);
        if (!--info.open_lists) p.type_frozen(info.type);
    }

    TYPE *list_owner(TP_LIST list) {
        TYPE_INFO &info = owner();
        if (!(info.open >> list & 1)) f.bad_file("type %u: an element outside list %d", id, int(list));
        return info.type;
    }

    void tp_make_param_list() {
        TYPE *t = list_owner(TPL_params), *type = part("parameter type");
        f.i_read_bool();
        unsigned kind = f.i_read_uint();
        t->add_param(type, f.i_read_string(0), kind);
    }

    void tp_make_etor_list() {
        TYPE *t = list_owner(TPL_etors);
        std::string name = f.i_read_string(0);
        bool is_signed = t->underlying_type()->is_signed();
        int64_t value = is_signed ? int64_t{f.i_read_sint()} : int64_t{f.i_read_uint()};
        if (t->size && t->size < 33) {
            int64_t range = int64_t{1} << (t->size - is_signed);
            if (value >= range || value < (is_signed ? -range : 0))
                f.bad_file("type %u: an enumerator of %lld in an enum of %u bits", id,
                           static_cast<long long>(value), unsigned(t->size));
        }
        t->add_etor(name.c_str(), value, f.i_read_psn());
    }

    void tp_make_bclass_list() {
        TYPE *t = list_owner(TPL_bclass), *base = part("base class");
        if (!base->is_csu()) f.bad_file("type %u: a base that is no class", id);
        int32_t offset = f.i_read_sint();
        uint8_t access = uint8_t(f.i_read_u8());
        t->add_bclass(base, offset, access, f.i_read_bool());
    }

    void tp_make_adecl_list() {
        TYPE *t = list_owner(TPL_adecl);
        uint32_t word = f.i_read_uint();
        t->add_adecl(word, uint8_t(f.i_read_u8()));
    }

    void tp_make_ffriend_list() {
        TYPE *t = list_owner(TPL_ffriend);
        std::string name = f.i_read_string(0);
        t->add_ffriend(name.c_str(), maybe());
    }

    void tp_make_cfriend_list() {
        TYPE *t = list_owner(TPL_cfriend);
        t->add_cfriend(maybe());
    }

    void tp_make_ntype_list() {
        TYPE *t = list_owner(TPL_ntype);
        t->add_ntype(maybe());
    }

    void tp_make_sdata_list() {
        TYPE *t = list_owner(TPL_sdata);
        std::string name = f.i_read_string(0);
        TYPE *type = maybe();
        t->add_sdata(name.c_str(), type, uint8_t(f.i_read_u8()));
    }

    void tp_make_func_list() {
        TYPE *t = list_owner(TPL_mfunc);
        std::string name = f.i_read_string(0);
        TYPE *type = maybe();
        uint8_t access = uint8_t(f.i_read_u8());
        int32_t word = f.i_read_sint();
        bool flags[4];
        for (bool &flag : flags) flag = f.i_read_bool();
        t->add_mfunc(name.c_str(), type, access, word, flags);
    }

    void tp_make_mdata_list() {
        TYPE *t = list_owner(TPL_mdata);
        uint32_t index = f.i_read_uint();
        std::string name = f.i_read_string(0);
        TYPE *type = part("member type");
        check_holdable(type, "a member");
        uint8_t access = uint8_t(f.i_read_u8());
        int32_t offset = f.i_read_sint();
        uint8_t fti = f.gate(GATE_MEMBER_FTI) ? uint8_t(f.i_read_u8()) : 0;
        uint32_t width;
        bool is_bitfield, flag2, flag3 = false;
        if (f.gate(GATE_MEMBER_NEW_BITS)) {
            width = f.i_read_uint();
            is_bitfield = f.i_read_bool();
            flag2 = f.i_read_bool();
            flag3 = f.i_read_bool();
        } else {
            is_bitfield = f.i_read_bool();
            width = f.i_read_uint();
            flag2 = f.i_read_bool();
        }
        if (is_bitfield && ((!type->is_integral() && !type->is_enum()) || width > type->size))
            f.bad_file("type %u: a bit-field of %u bits that its type can't hold", id, width);
        fkMDATA *member = is_bitfield ? t->add_bitfield(name.c_str(), type, offset, width)
                                      : t->add_mdata(name.c_str(), type, offset);
        member->bitsize = width;
        member->index = index;
        member->access = access;
        member->fti = fti;
        member->flag2 = flag2;
        member->flag3 = flag3;
        t->set_member_psn(member, f.i_read_psn());
        check_member(t, member);
    }

    void check_member(const TYPE *t, const fkMDATA *member) {
        if (member->type->is_csu() && !member->type->is_complete())
            f.bad_file("type %u: member %u is an incomplete record", id, member->index);
        uint64_t end = uint64_t(member->offset) + member->width();
        if (member->offset < 0 || (t->sub.csu->complete && end > t->size))
            f.bad_file("type %u: member %u at bit %lld of %llu bits lies outside the record", id,
                       member->index, static_cast<long long>(member->offset),
                       static_cast<unsigned long long>(member->width()));
    }

    // A field of a tree names its member by index.
    void check_indices(const TYPE *t) {
        std::vector<uint32_t> indices;
        for (const fkMDATA *m = t->mdata(); m; m = m->next)
            if (m->index) indices.push_back(m->index);
        std::sort(indices.begin(), indices.end());
        auto twice = std::adjacent_find(indices.begin(), indices.end());
        if (twice != indices.end()) f.bad_file("type %u has two members with the index %u", id, *twice);
    }

    void check_nesting(TYPE *top);
    void dispatch(unsigned form);
};

// Records by value in records, depth first; a record that is met again on its own way down holds itself.
void IF_TYPE_READER::check_nesting(TYPE *top) {
    constexpr uint16_t ON_THE_WAY = UINT16_MAX;
    struct FRAME {
        tpCSU *csu;
        const fkMDATA *member;
        const fkBCLASS *base;
        unsigned deepest = 0;
    };
    std::vector<FRAME> stack;
    auto visit = [&](const TYPE *t) -> unsigned { // the nesting, 0: to be found first
        t = t->dtype;
        while (t->kind == K_array) t = t->sub.arr->elem_type->dtype;
        if (t->kind < K_class) return 1;
        tpCSU *csu = t->sub.csu;
        if (csu->nesting == ON_THE_WAY) f.bad_file("type %u: a record that contains itself", id);
        if (csu->nesting) return csu->nesting + 1u;
        csu->nesting = ON_THE_WAY;
        stack.push_back({csu, csu->mdata.first, csu->bclass.first});
        return 0;
    };
    visit(top);
    while (!stack.empty()) {
        FRAME &frame = stack.back();
        const TYPE *inner = frame.member ? frame.member->type : frame.base ? frame.base->type : nullptr;
        if (!inner) {
            if (frame.deepest > MAX_TYPE_NESTING) f.bad_file("type %u: records nest too deep", id);
            frame.csu->nesting = uint16_t(std::max(frame.deepest, 1u));
            stack.pop_back();
            continue;
        }
        unsigned nesting = visit(inner); // may move the frame
        if (!nesting) continue;
        FRAME &same = stack.back();
        same.deepest = std::max(same.deepest, nesting);
        if (same.member) same.member = same.member->next;
        else same.base = same.base->next;
    }
}

void IF_TYPE_READER::dispatch(unsigned form) {
    switch (form) {
    case ITF_FLOAT:
    case ITF_DOUBLE:
    case ITF_LDOUBLE: return tp_make_float_type(FKIND(form - ITF_FLOAT));
    case ITF_FIXPT: return tp_make_fixpt_type();
    case ITF_TYPEDEF: return tp_make_typedef();
    case ITF_PTR: return tp_make_addr_type();
    case ITF_REF: return tp_make_ref_type();
    case ITF_QUAL: return tp_make_qual_type();
    case ITF_ARRAY: return array();
    case ITF_PTM: return tp_make_ptm_type();
    case ITF_FUNC: return tp_make_func_type();
    case ITF_PARAM: return tp_make_param_list();
    case ITF_ENUM: return tp_make_enum_type();
    case ITF_ETOR: return tp_make_etor_list();
    case ITF_CSU_SHORT: return tp_make_csu(false);
    case ITF_CSU_LONG: return tp_make_csu(true);
    case ITF_MDATA: return tp_make_mdata_list();
    case ITF_BCLASS: return tp_make_bclass_list();
    case ITF_ADECL: return tp_make_adecl_list();
    case ITF_FFRIEND: return tp_make_ffriend_list();
    case ITF_CFRIEND: return tp_make_cfriend_list();
    case ITF_NTYPE: return tp_make_ntype_list();
    case ITF_SDATA: return tp_make_sdata_list();
    case ITF_MFUNC: return tp_make_func_list();
    case ITF_COMPLEX: return tp_make_complex_type();
    case ITF_VOID: return tp_make_void_type();
    case ITF_LLONG: return tp_make_integral_type(IK_llong);
    case ITF_ULLONG: return tp_make_integral_type(IK_ullong);
    case ITF_LIST: return tp_make_list();
    case ITF_LIST_END: return tp_end_list();
    default:
        if (form <= ITF_LAST_INT) return tp_make_integral_type(IKIND(form));
        f.i_read_skip(f.record_end_ - f.position_); // no form that we know: nothing can refer to it
    }
}

// ---- the file's side

TYPE *I_FILE::look_up_type(uint32_t id) {
    if (!id) return nullptr;
    const TYPE_INFO *found = types_.find(id);
    TYPE *t = found ? found->type : nullptr;
    // A function has no place in the package, and may yet turn out to be a known one, until its list ends.
    if (!t || !t->uid) IF_TYPE_READER::die(*this, "invalid forward reference", id);
    constexpr uint32_t LARGEST_SMALL_ID = 1 << 16;
    if (id < LARGEST_SMALL_ID) {
        if (id >= known_types_.size()) known_types_.resize(id + id / 2 + 64);
        known_types_[id] = t;
    }
    return t;
}

void I_FILE::enter_type(uint32_t id, TYPE_INFO info) {
    if (!id) bad_file("a type with the id 0");
    TYPE_INFO &entry = types_[id];
    if (entry.type) IF_TYPE_READER::die(*this, "read type twice", id);
    entry = info;
    type_ids_.push_back(id);
    if (info.open_lists) open_types_.push_back(id);
}

fkMDATA *I_FILE::find_mdataref(uint32_t csu_id, uint32_t member_index) {
    TYPE *t = find_typeref(csu_id);
    if (!t) return nullptr;
    if (!t->is_csu()) bad_file("a member of type %u, which is no record", csu_id);
    return t->find_mdata(member_index);
}

void I_FILE::if_read_type(uint32_t) {
    uint32_t id = i_read_uint();
    unsigned form = i_read_u8();
    if (id < known_types_.size())
        known_types_[id] = nullptr; // it may get another type, and fails now while it is open
    IF_TYPE_READER{*this, *package_, id}.dispatch(form);
    i_end_record();
}

void I_FILE::if_end_type_area() {
    for (uint32_t id : open_types_) {
        const TYPE_INFO &info = types_[id];
        if (info.open_lists) bad_file("type %u: %d attribute lists never ended", id, info.open_lists);
    }
    for (uint32_t id : open_types_)
        if (TYPE *t = types_[id].type; t->kind >= K_class)
            IF_TYPE_READER{*this, *package_, id}.check_nesting(t);
    open_types_.clear();
}

void I_FILE::if_merge_type_defs() {
    for (uint32_t id : type_ids_)
        if (TYPE *t = find_typeref(id)) find_equivalent_type(t);
}
