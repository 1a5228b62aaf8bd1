#include "tests/oracle/lib/world.h"

#include <cstring>

#include "OPT5/bif.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/optab.h"
#include "OPT5/rules.h"
#include "OPT5/scopes.h"
#include "OPT5/symtab.h"
#include "options/opttable.h"
#include "typepkg/type_pkg.h"

SYMTAB *ORACLE_WORLD::make_symbol(const std::string &name, TYPE *type, int level) {
    SYMTAB *s = symbols.emplace_back(std::make_unique<SYMTAB>()).get();
    s->name = keep_text(name.c_str());
    s->type = s->otype = type;
    s->size = uint32_t(type->size);
    s->align = type->align;
    s->level = level;
    s->sclass = s->class_as_read = uint8_t(level == 0 ? SC_EXTDEF : SC_AUTO);
    s->flags = SF_LOCAL;
    if (level) s->scope = currfuninfo->scopes->child->child;
    return s;
}

SYMTAB *ORACLE_WORLD::variable(const char *name, TYPE *type) {
    SYMTAB *&s = variables[{name, type}];
    if (!s) {
        bool is_volatile = *name == 'u' || *name == 'v', pointer = *name == 'p' || *name == 'q';
        TYPE *of = is_volatile ? tp->mk_qual(type, QUAL_volatile) : pointer ? tp->mk_ptr(type) : type;
        std::string tag;
        for (const SCALAR &each : scalars)
            if (each.type == type) tag = each.name;
        s = make_symbol(name + ("_" + tag), of, *name == 'w' || is_volatile ? 0 : 2);
        layout.place(s);
    }
    return s;
}

TYPE *ORACLE_WORLD::named(const std::string &name) {
    for (const SCALAR &each : scalars)
        if (name == each.name) return each.type;
    return nullptr;
}

TYPE *ORACLE_WORLD::integer(int bits, bool is_signed) {
    return named((is_signed ? "i" : "u") + std::to_string(bits));
}

TYPE *ORACLE_WORLD::other_sign(TYPE *type) { return integer(int(type->size), !type->is_signed()); }

fkMDATA *ORACLE_WORLD::field(const std::string &name) {
    for (fkMDATA *f : fields)
        if (name == f->name) return f;
    return nullptr;
}

ORACLE_WORLD::ORACLE_WORLD() {
    TYPE_PKG::abi = 1;
    static TYPE_PKG package;
    init_type_pkg(&package);
    tp = &package;
    init_types();
    init_opcode_tables();
    static option_obj options;
    options.setopt(OO_OPT_LEVEL, long(ENUM_OPT_LEVEL_2));
    all_option_sets = {&options};
    file_options = &options;
    reset_global_flags();
    cpu_version = 6;
    init_BIF_descriptors();
    init_rules();

    const IKIND kinds[] = {IK_schar, IK_uchar, IK_short, IK_ushort, IK_int, IK_uint, IK_llong, IK_ullong};
    const char *const names[] = {"i8", "u8", "i16", "u16", "i32", "u32", "i64", "u64"};
    for (size_t k = 0; k < std::size(kinds); k++) integers.push_back({names[k], tp->basic[kinds[k]]});
    scalars = integers;
    scalars.push_back({"bool", tp->mk_int(IK_bool, false, 8, 8, true)});
    TYPE *colours = tp->mk_enum("colours", tp->basic[IK_uint], 32, 32, false);
    colours->add_etor("red", 0);
    colours->add_etor("blue", 7);
    tp->type_frozen(colours);
    scalars.push_back({"enum", colours});
    f32 = tp->basic[BT_float], f64 = tp->basic[BT_double];
    scalars.push_back({"f32", f32});
    scalars.push_back({"f64", f64});
    i32 = tp->basic[IK_int], u32 = tp->basic[IK_uint];
    ptr_i32 = tp->mk_ptr(i32);

    static FUNINFO function;
    SYMTAB *self = make_symbol("self", tp->mk_func(i32, std::vector<TYPE *>{}), 0);
    function.symbol = self;
    function.name = "self";
    LS *above = nullptr;
    for (int level = 0; level < 3; level++) {
        LS *scope = new LS;
        scope->inline_id = 1;
        scope->level = scope->number = level;
        scope->parent = above;
        if (above) above->child = above->last_child = scope;
        else function.scopes = scope;
        above = scope;
    }
    currfunc = self;
    currfuninfo = &function;

    // struct record { int a; int b; short s; signed char c; unsigned char uc; int bit:5; unsigned ubit:7; int wide:20;
    //                 long long ll; }
    record = tp->mk_struct("record", 256, 64, false);
    fields = {record->add_mdata("a", i32, 0),
              record->add_mdata("b", u32, 32),
              record->add_mdata("s", tp->basic[IK_short], 64),
              record->add_mdata("c", tp->basic[IK_schar], 80),
              record->add_mdata("uc", tp->basic[IK_uchar], 88),
              record->add_bitfield("bit", i32, 96, 5),
              record->add_bitfield("ubit", u32, 101, 7),
              record->add_bitfield("wide", i32, 108, 20),
              record->add_mdata("ll", tp->basic[IK_llong], 128),
              record->add_bitfield("one", u32, 192, 1)};
    tp->type_frozen(record);
    object = make_symbol("object", record, 2);
    array = make_symbol("array", tp->mk_array(i32, false, 8), 0);
    to_object = make_symbol("to_object", tp->mk_ptr(record), 2);
    to_array = make_symbol("to_array", ptr_i32, 2);
    count = make_symbol("n", i32, 2);
    for (SYMTAB *s : {object, array, to_object, to_array, count}) layout.place(s);

    TYPE *takes_int = tp->mk_func(i32, std::vector<TYPE *>{i32});
    pure = make_symbol("pure", takes_int, 0);
    ext = make_symbol("ext", takes_int, 0);
    ext2 = make_symbol("ext2", tp->mk_func(i32, std::vector<TYPE *>{i32, i32}), 0);
    make_FUNINFO(pure)->flags |=
        FUN_is_pure_fun | FUN_no_global_asg | FUN_no_global_use | FUN_no_ind_asg | FUN_no_ind_use;
    for (const SCALAR &each : scalars)
        for (const char *name : {"x", "y", "z", "w", "u", "v", "p", "q"}) variable(name, each.type);
}

ORACLE_WORLD &world() {
    static ORACLE_WORLD *the_world = new ORACLE_WORLD;
    return *the_world;
}
