// Type records: what is written comes back, in every version that can be read, and nothing malformed gets in.
#include "if_testing.h"

#include <gtest/gtest.h>

#include "ifile/if_wtype.h"
#include "typepkg/type_merge.h"
#include "typepkg/type_query.h"

namespace {

std::string t(const std::string &payload) { return rec(IF_TYPE, payload); }
std::string list(int id, int number, const std::string &elements) {
    return t(b({id, ITF_LIST, number})) + elements + t(b({id, ITF_LIST_END, number}));
}

std::string place(const PSN &psn) { return psn.file ? show(&psn) : ""; }

template <class T> std::string element_texts(const char *what, const TLIST<T> &elements, auto text) {
    std::string all;
    for (const T *e = elements.first; e; e = e->next) all += std::string(" ") + what + "{" + text(*e) + "}";
    return all;
}

// All that a record says.
std::string csu_text(const tpCSU &c) {
    return format(" word %llx complete %d vector %d low %d bits %d ordered %d lists %x",
                  (unsigned long long)c.word, c.complete, c.struct_vector, c.low, c.seen_bitfield,
                  c.ordered_union, c.lists) +
           element_texts(
               "base", c.bclass,
               [](auto &e) { return show(e.type) + format(" %d %d %d", e.offset, e.access, e.is_virtual); }) +
           element_texts("access", c.adecl, [](auto &e) { return format("%d", e.access); }) +
           element_texts("ffriend", c.ffriend, [](auto &e) { return e.name + (" " + show(e.type)); }) +
           element_texts("cfriend", c.cfriend, [](auto &e) { return show(e.type); }) +
           element_texts("ntype", c.ntype, [](auto &e) { return show(e.type); }) +
           element_texts("member", c.mdata,
                         [](auto &e) {
                             return format("%u %s %lld:%u %d %d %d%d%d ", e.index, e.name,
                                           (long long)e.offset, e.bitsize, e.access, e.fti, e.bitfld, e.flag2,
                                           e.flag3) +
                                    show(e.type) + place(e.psn);
                         }) +
           element_texts("static", c.sdata,
                         [](auto &e) { return e.name + (" " + show(e.type)) + format(" %d", e.access); }) +
           element_texts("method", c.mfunc,
                         [](auto &e) {
                             return e.name + (" " + show(e.type)) +
                                    format(" %d %d %d%d%d%d", e.access, e.word, e.flags[0], e.flags[1],
                                           e.flags[2], e.flags[3]);
                         }) +
           element_texts("param", c.params,
                         [](auto &e) { return e.name + (" " + show(e.type)) + format(" %u", e.kind); });
}

// All that a type is, down to what it is built on.
std::string describe(TYPE *type) {
    std::string text;
    for (TYPE *last = nullptr; type != last; last = type, type = type->pkg->base_type(type)) {
        text += format("[%s kind %d size %llu align %u cpp %d", show(type).c_str(), type->kind,
                       (unsigned long long)type->size, type->align, type->cpp) +
                place(type->psn);
        switch (type->kind) {
        case K_int:
            text += format(" %d%d%d%d", type->sub.i.ikind, type->sub.i.expl_sign, type->sub.i.is_boolean,
                           type->sub.i.is_ptm);
            break;
        case K_fixpt:
            text += format(" %d %d", type->sub2.fx.binpt, type->sub2.fx.sign) + show(type->sub.part);
            break;
        case K_qual: text += format(" %x", type->sub2.own_qual); break;
        case K_typedef: text += format(" lowered %d", type->is_lowered()); break;
        case K_array:
            text += format(" %llu %d %d", (unsigned long long)type->num_elem(), type->is_complete(),
                           type->is_vector());
            break;
        case K_ptm: text += show(type->ptm_class()); break;
        case K_func:
            text += format(" %d %d %d", type->is_vararg(), type->has_proto(), type->cc_kind()) +
                    element_texts("param", type->sub.fn->params, [](auto &e) {
                        return e.name + (" " + show(e.type)) + format(" %u", e.kind);
                    });
            break;
        case K_enum:
            text += format(" complete %d ", type->is_complete()) + show(type->underlying_type()) +
                    element_texts("etor", type->sub.en->etors, [](auto &e) {
                        return e.name + format(" %lld", (long long)e.value) + place(e.psn);
                    });
            break;
        default:
            if (type->is_csu()) text += csu_text(*type->sub.csu);
        }
        text += "] ";
    }
    return text;
}

// One of each kind, in an order that the writer has to change: what is referred to comes late.
std::vector<TYPE *> all_kinds(TYPE_PKG &p) {
    const PSN at = {"k.cpp", 7, 3};
    TYPE *i = p.int_type(), *v = p.void_type(), *c = p.mk_int(IK_schar, false);
    TYPE *late = p.mk_struct("aaa", 32, 32, false), *node = p.mk_struct("node", 96, 32, false, 0x1234);
    TYPE *fn = p.mk_func(p.mk_ptr(node), false, true, true, 3);
    fn->add_param(p.mk_qual(p.mk_ptr(late), QUAL_const), "late", 2);
    fn->add_param(p.mk_ptr(p.mk_func(v, std::vector<TYPE *>{p.mk_ptr(c)})));
    p.type_frozen(fn);
    node->set_psn(&at);
    node->add_mdata("next", p.mk_ptr(node), 0);
    node->add_bitfield("low", i, 32, 5)->flag2 = true;
    node->add_bitfield("high", p.basic[IK_uint], 37, 27)->flag3 = true;
    fkMDATA *call = node->add_mdata("call", p.mk_ptr(fn), 64);
    call->access = 2;
    call->fti = 9;
    node->set_member_psn(call, &at);
    p.type_frozen(node);
    late->add_mdata("only", i, 0);
    p.type_frozen(late);

    TYPE *base = p.mk_class("N1n4baseE", 8, 8, true);
    p.type_frozen(base);
    TYPE *klass = p.mk_class("3top", 64, 32, true);
    TYPE *nested = p.mk_enum("3top1e", p.basic[IK_uchar], 8, 8, true);
    nested->add_etor("most", 255, &at);
    p.type_frozen(nested);
    const bool flags[4] = {true, false, true, true};
    klass->add_bclass(base, -8, 1, true);
    klass->add_adecl(0, 3);
    klass->add_ffriend("friendly", fn);
    klass->add_ffriend("nobody", nullptr);
    klass->add_cfriend(node);
    klass->add_ntype(nested);
    klass->add_mdata("field", p.mk_ptm(fn, klass, 64, 32), 0);
    klass->add_sdata("shared", p.mk_array(c, true), 1);
    klass->add_mfunc("method", fn, 2, -40, flags);
    klass->add_param(p.mk_typedef("T", true, i, TP_SIZE, TP_ALIGN, true, &at), "T", 1);
    klass->set_is_lowered();
    p.type_frozen(klass);

    TYPE *sgn = p.mk_enum("sgn", i, 32, 32, false), *open_enum = p.mk_enum("later", i, 0, 0, false);
    sgn->add_etor("minus", -1);
    sgn->add_etor("plus", 1);
    p.type_frozen(sgn);
    p.type_frozen(open_enum);
    TYPE *empty = p.mk_struct("empty", 0, 8, false), *forward = p.mk_union("forward");
    empty->open_list(TPL_mdata);
    p.type_frozen(empty);
    p.type_frozen(forward);
    TYPE *u = p.mk_union(nullptr, 32, 32, false);
    u->add_mdata("", late, 0)->index = 4;
    u->add_mdata("f", p.basic[BT_float], 0);
    p.type_frozen(u);
    TYPE *old_style = p.mk_func(i, false, false, false);
    p.type_frozen(old_style);

    std::vector<TYPE *> types = {v,
                                 c,
                                 p.mk_boolean_int(i),
                                 p.mk_ptm_int(i),
                                 p.mk_int(IK_int, true, 24, 8),
                                 p.basic[BT_double],
                                 p.mk_fxtpt(i, -4),
                                 p.mk_fxtpt(p.basic[IK_uint], 4, 32, 32, 1),
                                 p.mk_complex(p.basic[BT_float]),
                                 p.mk_ref(node),
                                 p.mk_qual(p.mk_ptr(i), QUAL_restrict),
                                 p.mk_qual(i, QUAL_packed, 32, 8),
                                 p.mk_array(p.mk_array(i, false, 3), true, 2),
                                 p.mk_vector(c, 3),
                                 p.mk_array(node, false),
                                 node,
                                 late,
                                 klass,
                                 base,
                                 nested,
                                 sgn,
                                 open_enum,
                                 empty,
                                 forward,
                                 u,
                                 fn,
                                 old_style,
                                 p.mk_struct_vector("pair", p.mk_vector(i, 2), 2),
                                 p.mk_typedef("name", false, p.mk_qual(u, QUAL_volatile))};
    for (int kind = 0; kind < IK_count; kind++) types.push_back(p.basic[kind]);
    return types;
}

std::string written_symbols(TYPE_PKG &package, const std::vector<TYPE *> &types, std::deque<T_SYM> &symbols) {
    for (TYPE *type : types) symbols.emplace_back().type = type;
    clear_output_marks(package.root);
    return written(package, [&](I_FILE &f) {
        for (T_SYM &s : symbols) f.if_enter_global(&s);
    });
}

// A bare type area behind the types of RAW.
RAW raw_types(const std::string &types, int version = IF_VERSION) {
    RAW raw;
    raw.version = version;
    raw.types = types;
    return raw.build();
}

std::string refusal(const std::string &bytes) {
    THROWING throwing;
    try {
        T_READ read(bytes);
    } catch (const BAD_FILE &bad) { return bad.text; }
    return "accepted";
}

} // namespace

TEST(types_records, every_kind_comes_back) {
    T_PKG first;
    std::deque<T_SYM> symbols;
    std::vector<TYPE *> types = all_kinds(first.p);
    T_READ second(written_symbols(first.p, types, symbols));
    ASSERT_EQ(second.client.syms.size(), types.size());
    std::vector<TYPE *> again;
    for (size_t n = 0; n < types.size(); n++) {
        again.push_back(second.client.syms[n].type);
        EXPECT_EQ(describe(types[n]), describe(again[n]));
    }
    // Identity is kept too, through pointers back to a record and to the basic types.
    TYPE *node = again[15];
    EXPECT_EQ(node->mdata()->type->type_pointed_to(), node);
    EXPECT_EQ(again[9]->type_refd(), node);
    for (int kind = 0; kind < IK_count; kind++)
        EXPECT_EQ(again[types.size() - IK_count + size_t(kind)], second.package.p.basic[kind]);

    // From here on the file is its own fixed point.
    std::deque<T_SYM> symbols2, symbols3;
    std::string bytes = written_symbols(second.package.p, again, symbols2);
    T_READ third(bytes);
    std::vector<TYPE *> last;
    for (T_SYM &s : third.client.syms) last.push_back(s.type);
    EXPECT_EQ(written_symbols(third.package.p, last, symbols3), bytes);
}

TEST(types_records, only_what_is_referred_to_is_written_and_once) {
    T_PKG package;
    TYPE_PKG &p = package.p;
    TYPE *used = p.mk_struct("used", 32, 32, false), *unused = p.mk_struct("unused", 32, 32, false);
    used->add_mdata("p", p.mk_ptr(p.mk_struct("behind", 0, 8, false)), 0);
    p.type_frozen(used);
    p.type_frozen(unused);
    auto count = [](const std::string &bytes, const char *name) {
        size_t n = 0;
        for (size_t at = 0; (at = bytes.find(name, at)) != std::string::npos; at++) n++;
        return n;
    };
    std::deque<T_SYM> symbols;
    std::string bytes = written_symbols(p, {p.mk_ptr(used), used, p.mk_array(used, false, 2)}, symbols);
    EXPECT_EQ(count(bytes, z("used").c_str()), 1u);
    EXPECT_EQ(count(bytes, "behind"), 1u);
    EXPECT_EQ(count(bytes, "unused"), 0u);

    FILE *stream = tmpfile(), *back = fdopen(dup(fileno(stream)), "rb");
    clear_output_marks(p.root);
    EXPECT_FALSE(I_FILE::if_create(stream, &p, "t")->if_close(true, false)) << "named types are wanted";
    rewind(back);
    std::string named;
    for (int ch; (ch = fgetc(back)) != EOF;) named += char(ch);
    fclose(back);
    EXPECT_EQ(count(named, "unused"), 1u);
}

// Two units are read into one package. A record that is the same in both becomes one, with what is built on it; one
// whose members differ stays two.
TEST(types_records, units_in_one_package_share_what_agrees) {
    auto unit = [](unsigned member) {
        T_PKG package;
        TYPE_PKG &p = package.p;
        TYPE *same = p.mk_struct("same", 64, 32, false), *other = p.mk_struct("other", 32, 32, false);
        same->add_mdata("next", p.mk_ptr(same), 0);
        same->add_mdata("m", p.int_type(), 32);
        other->add_mdata("m", p.basic[member], 0);
        p.type_frozen(same);
        p.type_frozen(other);
        std::deque<T_SYM> symbols;
        return written_symbols(p, {same, p.mk_ptr(same), other}, symbols);
    };
    std::string bytes = unit(BT_float);
    T_READ first(unit(IK_int));
    first.package.p.tu = 1;
    T_CLIENT client;
    std::unique_ptr<I_FILE> second(I_FILE::if_open(open_bytes(bytes), &client, "y"));
    second->if_type_init(&first.package.p);
    second->if_read_file();
    auto joined = [&](size_t n) { return client.syms[n].type->rep() == first.client.syms[n].type->rep(); };
    EXPECT_FALSE(joined(0));
    second->if_merge_type_defs();
    EXPECT_TRUE(joined(0));
    EXPECT_TRUE(joined(1)) << "the pointer to it";
    EXPECT_FALSE(joined(2)) << "another member";
}

TEST(types_records, bytes_of_lists_and_enumerators) {
    T_PKG package;
    TYPE_PKG &p = package.p;
    TYPE *none = p.mk_func(p.void_type(), std::vector<TYPE *>{});
    TYPE *minus = p.mk_enum("s", p.int_type(), 32, 32, false),
         *most = p.mk_enum("u", p.basic[IK_uint], 32, 32, false);
    minus->add_etor("m", -1);
    most->add_etor("m", 0xFFFFFFFF);
    p.type_frozen(minus);
    p.type_frozen(most);
    std::deque<T_SYM> symbols;
    std::string bytes = written_symbols(p, {none, minus, most}, symbols);
    auto id = [](TYPE *type) { return int(type->uid); };
    for (const std::string &part : {
             t(b({id(none), 20, id(p.void_type()), 0, 1, 0, 0})) + list(id(none), 0, ""),
             t(b({id(minus), 23}) + z("m") + b({0x7F, 0})),
             t(b({id(most), 23}) + z("m") + b({0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 0})),
         })
        EXPECT_NE(bytes.find(part), std::string::npos);
}

TEST(types_records, functions_are_told_apart_when_their_list_ends) {
    std::string twice;
    for (int id : {20, 21, 22}) // int (int), int (int), int (unsigned)
        twice += t(b({id, 20, 2, 0, 1, 0, 0})) + list(id, 0, t(b({id, 21, id == 22 ? 3 : 2, 0, 0, 0})));
    T_READ read(raw_types(twice).bytes);
    EXPECT_EQ(read.file->find_typeref(20), read.file->find_typeref(21));
    EXPECT_NE(read.file->find_typeref(20), read.file->find_typeref(22));
    EXPECT_EQ(read.file->find_typeref(0), nullptr);
    EXPECT_STREQ(read.file->find_mdataref(6, 1)->name, "a");
    EXPECT_EQ(read.file->find_mdataref(6, 2), nullptr);
    EXPECT_EQ(read.file->find_mdataref(0, 1), nullptr);
}

TEST(types_records, fields_that_depend_on_the_version) {
    for (int version = IF_OLDEST_VERSION; version <= IF_VERSION; version++) {
        SCOPED_TRACE(version);
        auto has = [&](IF_GATE gate) { return if_gate(gate, version); };
        auto when = [&](IF_GATE gate, int value) { return has(gate) ? b({value}) : std::string(); };
        std::string bits = has(GATE_MEMBER_NEW_BITS) ? b({5, 1, 1, 1}) : b({1, 5, 1});
        std::string types =
            t(b({20, 24, ICK_UNION}) + z("N1a1uE") + b({1, 0, 32, 32, 1}) + when(GATE_STRUCT_VECTOR, 1) +
              when(GATE_CPP, 0) + b({0})) +
            list(20, 7,
                 t(b({20, 28, 1}) + z("m") + b({2, 0, 3}) + when(GATE_MEMBER_FTI, 6) + bits + b({0}))) +
            t(b({21, 22}) + z("e") + b({32, 32, 2}) + when(GATE_CPP, 1) + b({0})) + list(21, 1, "") +
            t(b({22, 18, 2, 2, 64, 32, 0, 1}) + when(GATE_ARRAY_VECTOR, 1) + when(GATE_ARRAY_IGNORED, 1));
        T_READ read(raw_types(types, version).bytes);
        TYPE *u = read.file->find_typeref(20);
        const fkMDATA *m = read.file->find_mdataref(20, 1);
        EXPECT_EQ(u->is_struct_vector(), version >= -84);
        EXPECT_EQ(u->cpp, version < -81) << "by the name where the file does not say";
        EXPECT_EQ(u->sub.csu->ordered_union, version < -80);
        EXPECT_EQ(m->bitsize, 5u);
        EXPECT_TRUE(m->is_bitfld() && m->flag2);
        EXPECT_EQ(m->flag3, version >= -85);
        EXPECT_EQ(m->fti, version >= -74 ? 6 : 0);
        EXPECT_EQ(read.file->find_typeref(21)->cpp, version >= -81);
        EXPECT_EQ(read.file->find_typeref(22)->is_vector(), version >= -76);
    }
}

TEST(types_records, forms_without_meaning_are_passed_over) {
    for (int form : {26, 27, 37, 48, 52, 253}) {
        std::string bytes = raw_types(t(b({20, form, 1, 2, 3})) + t(b({21, 15, 2, 32, 32}))).bytes;
        T_READ read(bytes);
        EXPECT_NE(read.file->find_typeref(21), nullptr);
        EXPECT_NE(
            refusal(raw_types(t(b({20, form})) + t(b({21, 15, 20, 32, 32}))).bytes).find("invalid forward"),
            std::string::npos);
    }
}

TEST(types_records, malformed_records_are_refused) {
    const std::string record = t(b({20, 24, 0}) + z("r") + b({1, 0, 64, 32, 1, 0, 0, 0}));
    const std::string wide = t(b({21, 24, 0}) + z("w") + b({1, 0, 64, 32, 1, 0, 0, 0}));
    auto member = [](int owner, int index, int type, int offset) {
        return t(b({owner, 28, index}) + z("m") + b({type, 0, offset, 0, 0, 0, 0, 0, 0}));
    };
    auto bits = [](int type, int width) {
        return t(b({20, 28, 1}) + z("m") + b({type, 0, 0, 0, width, 1, 0, 0, 0}));
    };
    const std::string enumeration = t(b({20, 22}) + z("e") + b({8, 8, 2, 0, 0}));
    const std::string unsigned_enum = t(b({20, 22}) + z("e") + b({8, 8, 3, 0, 0}));
    auto etor = [](const std::string &value) { return t(b({20, 23}) + z("v") + value + b({0})); };
    const std::string function = t(b({20, 20, 2, 0, 1, 0, 0}));
    struct ROW {
        const char *what;
        std::string types;
        const char *message;
    } rows[] = {
        // references and ids
        {"unknown id", t(b({20, 15, 99, 32, 32})), "TP>> internal error: invalid forward reference"},
        {"itself", t(b({20, 15, 20, 32, 32})), "invalid forward reference"},
        {"no target", t(b({20, 15, 0, 32, 32})), "type 20 has no target"},
        {"same id", t(b({2, 49})), "TP>> internal error: read type twice"},
        {"id 0", t(b({0, 49})), "a type with the id 0"},
        {"open function", function + t(b({21, 15, 20, 32, 32})), "invalid forward reference"},
        {"bytes left", t(b({20, 49, 0})), "1 bytes left over"},
        {"bytes missing", t(b({20, 15, 2, 32})), "ends within a field"},
        {"endless name", t(b({20, 14, 'a', 'b'})), "a string without end"},
        // sizes, alignments, kinds of parts
        {"wide integer", t(b({20, 6, 0, 65, 32, 0, 0})), "an integer of 65 bits"},
        {"no integer", t(b({20, 6, 0, 0, 32, 0, 0})), "an integer of 0 bits"},
        {"odd alignment", t(b({20, 6, 0, 32, 24, 0, 0})), "an alignment of 24 bits"},
        {"bit alignment", t(b({20, 6, 0, 32, 4, 0, 0})), "an alignment of 4 bits"},
        {"no alignment", t(b({20, 6, 0, 32, 0, 0, 0})), "an alignment of 0 bits"},
        {"huge alignment", t(b({20, 15, 2, 32}) + u(1u << 29)), "an alignment of 536870912 bits"},
        {"float size", t(b({20, 10, 8, 8})), "a floating type of 8 bits"},
        {"complex size", t(b({20, 36, 32, 32, 4})), "a complex of 32 bits with parts of 32"},
        {"complex part", t(b({20, 36, 64, 32, 7})), "complex of no number"},
        {"fixed point sign", t(b({20, 13, 4, 2, 2, 32, 32})), "a sign of 2"},
        {"fixed point part", t(b({20, 13, 4, 1, 4, 32, 32})), "over no integer"},
        {"qualifier bits", t(b({20, 17, 2}) + u(256) + b({32, 32})), "qualifier bits 0x100"},
        {"reference to void", t(b({20, 16, 1, 32, 32})), "a reference to void"},
        {"wide pointer", t(b({20, 15, 2}) + u(128) + b({32})), "a pointer of 128 bits"},
        {"array size", t(b({20, 18, 2, 3, 64, 32, 0, 1, 0})),
         "an array of 64 bits with 3 elements of 32 bits"},
        {"array too big to say", t(b({20, 18, 2}) + u(1u << 27) + b({0, 32, 0, 1, 0})), "134217728 elements"},
        {"array of void", t(b({20, 18, 1, 3, 0, 8, 0, 1, 0})), "an array of a type without values"},
        {"vector of nothing", t(b({20, 18, 2, 0, 0, 32, 0, 1, 1})), "a vector of 0 bits"},
        {"vector of records", t(b({20, 18, 6, 2, 64, 32, 0, 1, 1})), "a vector of 64 bits"},
        {"member of no class", t(b({20, 19, 2, 2, 32, 32})), "a pointer to member of no class"},
        {"function from function", t(b({20, 20, 5, 0, 1, 0, 0})), "a function that returns a function"},
        {"function from array", t(b({20, 20, 8, 0, 1, 0, 0})), "a function that returns an array"},
        {"enum over float", t(b({20, 22}) + z("e") + b({32, 32, 4, 0, 0})), "an enum over no integer"},
        {"record kind", t(b({20, 24, 3}) + z("r") + b({1, 0, 64, 32, 0, 0, 0, 0})), "a record of kind 3"},
        // lists
        {"list of no type", t(b({20, 254, 0})), "invalid forward reference"},
        {"list on a pointer", t(b({7, 254, 0})), "TP>> internal error: Unexpected type attribute"},
        {"list id", record + t(b({20, 254, 10})), "has a list 10"},
        {"negative list id", record + t(b({20, 254, 0xFF})), "has a list -1"},
        {"list not announced", record + list(20, 2, ""), "Unexpected type attribute"},
        {"wrong list for a function", function + list(20, 7, ""), "Unexpected type attribute"},
        {"parameters twice", function + t(b({20, 254, 0})) + t(b({20, 254, 0})),
         "Duplicate function parameters"},
        {"enumerators twice", enumeration + t(b({20, 254, 1})) + t(b({20, 254, 1})),
         "Duplicate enumerator attributes"},
        {"members twice", record + t(b({20, 254, 7})) + t(b({20, 254, 7})), "Duplicate CSU attributes"},
        {"one list too many", record + list(20, 7, "") + t(b({20, 254, 7})), "Unexpected type attribute"},
        {"element outside its list", record + member(20, 1, 2, 0), "an element outside list 7"},
        {"element behind its list", record + list(20, 7, "") + member(20, 1, 2, 0),
         "an element outside list 7"},
        {"element of the wrong kind", record + t(b({20, 254, 7})) + t(b({20, 21, 2, 0, 0, 0})),
         "outside list 0"},
        {"end without a list", record + t(b({20, 255, 7})), "the end of list 7 without its header"},
        {"list without end", record + t(b({20, 254, 7})), "type 20: 1 attribute lists never ended"},
        {"list that never came", function, "type 20: 1 attribute lists never ended"},
        // elements
        {"enumerator too big", enumeration + list(20, 1, etor(b({0x80, 1}))),
         "an enumerator of 128 in an enum of 8 bits"},
        {"enumerator too small", enumeration + list(20, 1, etor(b({0xFF, 0x7E}))), "an enumerator of -129"},
        {"unsigned enumerator", unsigned_enum + list(20, 1, etor(b({0x80, 2}))), "an enumerator of 256"},
        {"member of void", record + list(20, 7, member(20, 1, 1, 0)), "a member of a type without values"},
        {"member outside", record + list(20, 7, member(20, 1, 2, 33)), "at bit 33 of 32 bits lies outside"},
        {"member in front", record + list(20, 7, member(20, 1, 2, 0x7F)),
         "at bit -1 of 32 bits lies outside"},
        {"same index", record + list(20, 7, member(20, 1, 2, 0) + member(20, 1, 2, 32)),
         "two members with the index 1"},
        {"wide bit-field", record + list(20, 7, bits(2, 33)), "a bit-field of 33 bits"},
        {"bit-field of float", record + list(20, 7, bits(4, 3)), "a bit-field of 3 bits"},
        {"incomplete member",
         t(b({21, 24, 0}) + z("i") + b({0, 0, 0, 0, 0, 0, 0, 0})) + record +
             list(20, 7, member(20, 1, 21, 0)),
         "an incomplete record"},
        {"record in itself", record + list(20, 7, member(20, 1, 20, 0)), "a record that contains itself"},
        {"records in each other",
         record + wide + list(20, 7, member(20, 1, 21, 0)) + list(21, 7, member(21, 1, 20, 0)),
         "a record that contains itself"},
        {"array of itself",
         record + t(b({22, 18, 20, 1, 64, 32, 0, 1, 0})) + list(20, 7, member(20, 1, 22, 0)),
         "a record that contains itself"},
    };
    for (const ROW &row : rows) {
        SCOPED_TRACE(row.what);
        RAW raw = raw_types(row.types);
        std::string text = refusal(raw.bytes);
        EXPECT_NE(text.find(row.message), std::string::npos) << text;
        EXPECT_EQ(text.find('\n'), std::string::npos) << "one line";
        unsigned at = 0;
        EXPECT_EQ(sscanf(strstr(text.c_str(), "byte ") ? strstr(text.c_str(), "byte ") : "", "byte %u", &at),
                  1)
            << text;
        // Faults of a whole area are found at its end, and then its place is given.
        EXPECT_GE(at, raw.offsets[AREA_TYPES]);
        EXPECT_LT(at, raw.offsets[AREA_GLOBALS]);
    }
}

TEST(types_records, nesting_has_a_limit_and_chains_have_none) {
    auto arrays = [](unsigned levels) {
        std::string types;
        for (unsigned n = 0; n < levels; n++)
            types += t(u(100 + n) + b({18}) + u(n ? 99 + n : 2) + b({1, 32, 32, 0, 1, 0}));
        return raw_types(types).bytes;
    };
    EXPECT_EQ(refusal(arrays(MAX_TYPE_NESTING)), "accepted");
    EXPECT_NE(refusal(arrays(MAX_TYPE_NESTING + 1)).find("arrays nest too deep"), std::string::npos);

    auto records = [](unsigned levels) {
        std::string heads, lists;
        for (unsigned n = 0; n < levels; n++) {
            std::string id = u(100 + n), type = n + 1 < levels ? u(101 + n) : u(2);
            heads += t(id + b({24, 0}) + z("r") + b({1, 0, 32, 32, 1, 0, 0, 0}));
            lists += t(id + b({254, 7})) + t(id + b({28, 1}) + z("m") + type + b({0, 0, 0, 0, 0, 0, 0, 0})) +
                     t(id + b({255, 7}));
        }
        return raw_types(heads + lists).bytes;
    };
    EXPECT_EQ(refusal(records(MAX_TYPE_NESTING)), "accepted");
    EXPECT_NE(refusal(records(MAX_TYPE_NESTING + 1)).find("records nest too deep"), std::string::npos);

    T_PKG package;
    TYPE *chain = package.p.int_type();
    for (int n = 0; n < 300000; n++) chain = package.p.mk_ptr(chain);
    std::deque<T_SYM> symbols;
    T_READ read(written_symbols(package.p, {chain}, symbols));
    TYPE *again = read.client.syms.back().type;
    for (; chain->is_ptr() && again->is_ptr(); chain = chain->type_pointed_to())
        again = again->type_pointed_to();
    EXPECT_TRUE(again->is_int() && chain->is_int());
}
