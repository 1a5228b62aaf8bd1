// A small program under test: a type package, a current function with scopes of the levels 0 to 2, and makers for
// what tests need in one word. Everything is gone when the object is.
#pragma once

#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/rules.h"
#include "OPT5/scopes.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "options/optobj.h"
#include "typepkg/type_pkg.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

struct program : testing::Test {
    TYPE_PKG package;
    option_obj options;
    TYPE *i, *u, *c, *uc, *sh, *d, *v;
    FUNINFO *f = nullptr;

    program() {
        init_opcode_tables();
        TYPE_PKG::abi = 1;
        init_type_pkg(&package);
        tp = &package;
        init_types();
        reset_global_flags();
        file_options = &options;
        all_option_sets = {&options};
        init_symbols();
        i = tp->basic_int(IK_int);
        u = tp->basic_int(IK_uint);
        c = tp->basic_int(IK_schar);
        uc = tp->basic_int(IK_uchar);
        sh = tp->basic_int(IK_short);
        d = tp->basic[BT_double];
        v = tp->void_type();
    }
    ~program() override {
        write_firings();
        std::vector<FUNINFO *> records = all_FUNINFOs();
        for (FUNINFO *record : records) {
            currfuninfo = record;
            currfunc = record->symbol;
            erase_all();
        }
        erase_globals();
        erase_all_FUNINFOs();
        currfuninfo = nullptr;
        currfunc = nullptr;
        curr_scope = nullptr;
        file_options = nullptr;
        all_option_sets.clear();
        tp = nullptr;
    }
    // What all tests so far made fire, into the file that ./ql coverage asks for.
    static void write_firings() {
        const char *name = getenv("QL_RULE_STATS");
        FILE *file = name ? fopen(name, "w") : nullptr;
        if (!file) return;
        fprintf(file, "== RULES (0, %lu firings) ==\n", rules_fired);
        for (const REWRITE_RULE &r : all_rules()) fprintf(file, "%9lu  %s\n", r.fired, r.text);
        fclose(file);
    }
    static void erase_globals() {
        while (SYMTAB *s = global_symbols) {
            global_symbols = s->next;
            erase_symbol(s);
        }
        init_symbols();
    }

    // A record of what a file says; level 0 symbols are entered, others belong to the current function.
    SYMTAB *symbol(const char *name, TYPE *type, int sclass, int level, int cqual = 0, int policy = 0) {
        std::string error;
        SYMTAB *s =
            make_symbol_from_file(name, type, nullptr, type->is_func() ? 32 : uint32_t(type->size),
                                  type->align, 0, sclass, cqual, nullptr, 0, 0, policy, level, &error);
        EXPECT_NE(s, nullptr) << error;
        if (s) sym_def(s);
        return s;
    }
    SYMTAB *global(const char *name, TYPE *type, int sclass = SC_EXTDEF) {
        return symbol(name, type, sclass, 0);
    }
    SYMTAB *local(const char *name, TYPE *type, LS *scope = nullptr) {
        SYMTAB *s = symbol(name, type, SC_AUTO, 2);
        s->flags &= uint8_t(~SF_ALIASED);
        s->index = int(f->local_index++);
        LS_add_symbol(scope ? scope : LS_level_2_scope(f->scopes), s);
        return s;
    }
    TYPE *function_type(TYPE *result, std::vector<TYPE *> parameters = {}) {
        return tp->mk_func(result, parameters);
    }
    // Makes a function the current one, with scopes of levels 0, 1 and 2; the last is open.
    FUNINFO *begin_function(const char *name, TYPE *type = nullptr) {
        SYMTAB *s = global(name, type ? type : function_type(v));
        f = currfuninfo = make_FUNINFO(s);
        currfunc = s;
        f->is_defined = true;
        for (int level = 0; level < 3; level++) LS_open(nullptr, nullptr, 0);
        return f;
    }
    NODE *name(SYMTAB *s) { return mk_NAME(s); }
    NODE *icon(int value, TYPE *type = nullptr) { return mk_ICON(INT65(value), type ? type : i); }
    NODE *plus(NODE *a, NODE *b) { return maketree(PLUS, a, b, a->type, nullptr); }

    // Names of a chain, in order, with blanks between.
    static std::string names(const SYMTAB *chain) {
        std::string text;
        for (; chain; chain = chain->next) text += std::string(text.empty() ? "" : " ") + chain->name;
        return text;
    }
};
