#include "typepkg/type_print.h"

namespace {

// clang-format off
constexpr const char *INT_WORDS[IK_count] = {
    "bool ",  "char ",          "unsigned char ", "wchar_t ",      "short ",     "unsigned short ",
    "int ",   "unsigned ",      "long ",          "unsigned long ", "long long ", "unsigned long long ",
};
constexpr const char *FLOAT_WORDS[FK_count] = {"float ", "double ", "long double "};

constexpr struct { unsigned bit; const char *word; } QUAL_WORDS[] = {
    {QUAL_const,    "const "},    {QUAL_volatile, "volatile "}, {QUAL_packed,   "packed "},
    {QUAL_near,     "near "},     {QUAL_far,      "far "},      {QUAL_ioport,   "ioport "},
    {QUAL_restrict, "restrict "}, {QUAL_onchip,   "onchip "},
};

constexpr struct { bool (TYPE::*is)() const; const char *word; } COMPLEX_WORDS[] = {
    {&TYPE::is_cchar,  "cchar "},  {&TYPE::is_cshort, "cshort "}, {&TYPE::is_cint,    "cint "},
    {&TYPE::is_clong,  "clong "},  {&TYPE::is_cllong, "cllong "}, {&TYPE::is_cfloat,  "cfloat "},
    {&TYPE::is_cdouble, "cdouble "},
};
// clang-format on

std::string tag_text(const TYPE *t) {
    const char *word = t->kind == K_enum    ? "enum "
                       : t->kind == K_union ? "union "
                       : t->kind == K_class ? "class "
                                            : "struct ";
    std::string plain;
    TYPE_PKG::demangle_type_name(t->name(), plain);
    return word + plain + " ";
}

std::string int_text(const TYPE *t) {
    std::string text = INT_WORDS[t->sub.i.ikind];
    if (t->sub.i.expl_sign && t->sub.i.ikind == IK_schar) text = "[ExplSign] " + text;
    if (t->sub.i.is_boolean && t->sub.i.ikind != IK_bool) text += "bool ";
    return text;
}

// How deep types inside types are printed, parameters and parts.
constexpr unsigned INSIDE_DEPTH = 4;
// How long a list of parameters may grow before it is cut: they may have long lists too.
constexpr size_t PARAMS_SIZE = 1000;

std::string part_text(const TYPE *t, unsigned depth) {
    return depth < INSIDE_DEPTH ? type_text(t, depth + 1) : "...";
}

// The text of a type that ends a chain of declarators.
std::string core_text(const TYPE *t, unsigned depth) {
    switch (t->kind) {
    case K_void: return "void ";
    case K_int: return int_text(t);
    case K_float: return FLOAT_WORDS[t->sub.fkind];
    case K_fixpt: return part_text(t->sub.part, depth) + " [FxtPt:" + std::to_string(t->sub2.fx.binpt) + "] ";
    case K_complex:
        for (auto &row : COMPLEX_WORDS)
            if ((t->*row.is)()) return row.word;
        return "complex " + part_text(t->sub.part, depth) + " ";
    case K_typedef: return std::string(t->sub.td->name) + " ";
    default: return tag_text(t);
    }
}

std::string params_text(const tpFUNC *fn, unsigned depth) {
    if (!fn->proto && fn->params.empty()) return "()";
    std::string text = "(";
    for (const fkPARAM *p = fn->params.first; p; p = p->next) {
        if (p != fn->params.first) text += ", ";
        if (text.size() > PARAMS_SIZE) {
            text += "...";
            break;
        }
        text += part_text(p->type, depth);
    }
    if (fn->vararg) text += fn->params.empty() ? "..." : ", ...";
    if (fn->params.empty() && !fn->vararg) text += "void";
    return text + ")";
}

void declarator_parts(const TYPE *t, std::string &before, std::string &after, unsigned depth) {
    // `left` grows leftwards in front of the name, `right` rightwards behind it. A pointer's star needs
    // brackets where an array or function follows.
    std::string left, right, lead;
    bool star_is_last = false;
    auto bracket = [&] {
        if (star_is_last) {
            left.insert(0, "(");
            right += ")";
        }
        star_is_last = false;
    };
    unsigned level = 0;
    for (;; level++) {
        if (level == TYPE_PRINT_LIMIT) {
            before += "... " + left;
            after += right;
            return;
        }
        switch (t->kind) {
        case K_ptr:
        case K_ref:
            left.insert(0, t->kind == K_ptr ? "*" : "&");
            star_is_last = true;
            t = t->sub.part;
            continue;
        case K_ptm: {
            std::string plain;
            if (const char *name = t->sub2.of_class->dtype->name()) TYPE_PKG::demangle_type_name(name, plain);
            left.insert(0, plain + "::*");
            star_is_last = true;
            t = t->sub.part;
            continue;
        }
        case K_qual:
            // Behind the star of a pointer, in front of anything else.
            (t->sub.part->kind == K_ptr ? left : lead).insert(0, qualifier_words(t->sub2.own_qual));
            t = t->sub.part;
            continue;
        case K_array:
            bracket();
            right += t->sub.arr->complete ? "[" + std::to_string(t->sub.arr->count) + "]" : "[]";
            if (t->sub.arr->vector) right += "v";
            t = t->sub.arr->elem_type;
            continue;
        case K_func:
            bracket();
            right += params_text(t->sub.fn, depth);
            t = t->sub.fn->return_type;
            continue;
        default: break;
        }
        break;
    }
    before += lead + core_text(t, depth) + left;
    after += right;
}

std::string trimmed(std::string text) {
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

} // namespace

std::string type_text(const TYPE *t, unsigned depth) {
    std::string before, after;
    declarator_parts(t, before, after, depth);
    return trimmed(before + after);
}

std::string qualifier_words(unsigned bits) {
    std::string text;
    for (auto &row : QUAL_WORDS)
        if (bits & row.bit) text += row.word;
    return text;
}

void TYPE::print_parts(std::string &before, std::string &after) const {
    declarator_parts(this, before, after, 0);
}

std::string TYPE::printstr() const { return type_text(this, 0); }

void TYPE::print(FILE *out) const { fputs(printstr().c_str(), out ? out : stdout); }

void TYPE::println(FILE *out) const { fprintf(out ? out : stdout, "%s\n", printstr().c_str()); }

void TYPE::dump(FILE *out) const {
    if (!out) out = stdout;
    fprintf(out, "#%u %s  size %llu align %u%s%s%s%s\n", uid, printstr().c_str(),
            static_cast<unsigned long long>(size), align, frozen ? "" : " open", refd ? " refd" : "",
            writ ? " writ" : "", equiv ? " merged" : "");
    if (kind == K_enum)
        for (const ETOR *e = sub.en->etors.first; e; e = e->next)
            fprintf(out, "    %s = %lld\n", e->name, static_cast<long long>(e->value));
    if (kind < K_class) return;
    for (const fkBCLASS *b = sub.csu->bclass.first; b; b = b->next)
        fprintf(out, "    : %s off:%3llu \n", b->type ? b->type->printstr().c_str() : "?",
                static_cast<unsigned long long>(b->offset));
    for (const fkMDATA *m = sub.csu->mdata.first; m; m = m->next) {
        std::string before, after;
        m->type->print_parts(before, after);
        fprintf(out, "    %2u off:%3llu ", m->index, static_cast<unsigned long long>(m->offset));
        if (m->fti) fprintf(out, "fti:%x ", m->fti);
        if (m->bitfld) fprintf(out, "bitfld(%2d) ", int(m->bitsize));
        fprintf(out, "%s%s%s\n", before.c_str(), m->name, after.c_str());
    }
}

void TYPE::dump_based_list(FILE *out) const {
    walk_type_tree(const_cast<TYPE *>(this), [&](TYPE *t) { t->dump(out); });
}
