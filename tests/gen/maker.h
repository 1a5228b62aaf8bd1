// Builds intermediate files out of trees: what the file makers of this folder share.
#pragma once

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "tools/model/model.h"

struct MAKER {
    MODEL m;
    MFUNC *func = nullptr;
    MSYM *printf_sym = nullptr;
    std::vector<MSYM *> functions;
    int next_label = 1, next_name = 1;

    TYPE *t(IKIND k) { return m.package->basic_int(k); }
    TYPE *i32() { return t(IK_int); }
    TYPE *void_t() { return m.package->void_type(); }
    TYPE *ptr(TYPE *to) { return m.package->mk_ptr(to); }
    MNODE *n(int op, TYPE *type, MNODE *a = nullptr, MNODE *b = nullptr) { return m.node(op, type, a, b); }
    MNODE *ic(int64_t v) { return m.icon(v, i32()); }
    MNODE *name(MSYM *s) { return m.name(s); }
    MNODE *addr(MNODE *lv) { return n(UAND, ptr(lv->type), lv); }
    MNODE *list(std::initializer_list<MNODE *> parts) {
        MNODE *l = nullptr;
        for (MNODE *p : parts) l = l ? n(COMMA, void_t(), l, p) : p;
        return l;
    }
    MNODE *named(int op, TYPE *type, const char *text, MNODE *args) {
        MNODE *c = n(op, type, args);
        c->text = text;
        return c;
    }
    MNODE *text(const std::string &s) {
        MNODE *c = n(SCON, ptr(m.package->mk_int(IK_uchar, false)));
        c->text = s + '\0';
        return c;
    }
    MNODE *fcon(double v, TYPE *type) {
        char s[64];
        snprintf(s, sizeof s, "%a", v);
        MNODE *c = n(FCON, type);
        c->text = s;
        return c;
    }

    MSYM *global(const std::string &s, TYPE *type, int sclass = 2) {
        MSYM *v = m.symbol(s.c_str(), type, sclass);
        m.globals.push_back(v);
        return v;
    }
    // An object with these scalars one behind the other.
    MSYM *data(const std::string &s, TYPE *type, const std::vector<MNODE *> &values) {
        MSYM *v = global(s, type);
        MRECORD r;
        r.tag = IF_INIT, r.sym = v, r.trees = values;
        r.trees.push_back(n(ENDINIT, void_t()));
        m.inits.push_back(std::move(r));
        return v;
    }

    MRECORD &record(int tag) {
        MRECORD &r = func->records.emplace_back();
        r.tag = tag;
        return r;
    }
    void emit(MNODE *tree) { record(IF_STATEMENT).tree = tree; }
    void label(int l) { record(IF_LABEL).n[0] = uint32_t(l); }
    void branch(int l) { emit(n(BRANCH, void_t(), m.label(l, void_t()))); }
    void unless(MNODE *c, int l) { emit(n(CBRANCH, void_t(), c, m.label(l, void_t()))); }
    MSYM *local(const char *s, TYPE *type) {
        MSYM *v = m.symbol(s, type, 1);
        v->level = 2;
        MRECORD r;
        r.tag = IF_SYMBOL, r.sym = v;
        size_t at = 0;
        while (func->records[at].tag != I_EL) at++;
        func->records.insert(func->records.begin() + long(at), std::move(r));
        return v;
    }
    MSYM *begin(const std::string &s, TYPE *returns = nullptr, std::vector<TYPE *> params = {}) {
        MSYM *f = global(s, m.package->mk_func(returns ? returns : void_t(), params));
        m.items.emplace_back().func = std::make_unique<MFUNC>();
        func = m.items.back().func.get();
        func->symbol = f;
        record(I_BF).sym = f;
        int k = 0;
        for (TYPE *p : params) {
            MSYM *v = m.symbol(("p" + std::to_string(++k)).c_str(), p, 17);
            v->level = 1;
            record(IF_SYMBOL).sym = v;
        }
        record(I_EA), record(I_EL);
        return f;
    }
    MSYM *param(unsigned i) { return func->records[1 + i].sym; }
    void end() {
        emit(n(URETURN, void_t(), name(func->symbol)));
        record(I_EF);
        functions.push_back(func->symbol);
    }
    MNODE *call(MSYM *f, MNODE *args) {
        MNODE *callee = addr(name(f));
        TYPE *r = f->type->return_type();
        return args ? n(CALL, r, callee, args) : n(UCALL, r, callee);
    }
    void print(const std::string &what, MNODE *value) {
        bool flt = value->type->is_fltpt();
        MNODE *v = n(SCONV, flt ? m.package->basic[BT_double] : t(IK_llong), value);
        emit(call(printf_sym, list({text(what + (flt ? " %a\n" : " %lld\n")), v})));
    }
    void start() {
        std::vector<TYPE *> params{ptr(m.package->mk_int(IK_uchar, false))};
        printf_sym = global("printf", m.package->mk_func(i32(), params, true), 5);
    }
    void finish() {
        std::vector<MSYM *> all = functions;
        begin("main", i32());
        for (MSYM *f : all) emit(call(f, nullptr));
        emit(n(RETURN, i32(), name(func->symbol), ic(0)));
        record(I_EF);
    }
};
