#include "OPT5/simp_call.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/coerce.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/icalls.h"
#include "OPT5/pragma.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp_shape.h"
#include "OPT5/symtab.h"
#include "OPT5/typefacts.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"

unsigned argument_span_cap_hits;

// ---------------------------------------------------------------------------------------------------------
// commas in argument lists
// ---------------------------------------------------------------------------------------------------------

namespace {

constexpr int ARGUMENT_SPAN_CAP = 64; // arguments in front of an effect that are looked at

// The places of the arguments, leftmost first. A call's are on the right, those of a built-in on the left.
std::vector<NODE **> argument_places(NODE *call) {
    std::vector<NODE **> places;
    NODE **list = op_is_icall(call->op) ? &call->left : &call->right;
    if (!*list) return places;
    for (; (*list)->op == COMMA; list = &(*list)->left) places.push_back(&(*list)->right);
    places.push_back(list);
    std::reverse(places.begin(), places.end());
    return places;
}

// The COMMAOP of an argument, through the wrappers that say how it is passed; null when there is none.
NODE **comma_of_argument(NODE **place) {
    while ((*place)->op == ACONV || (*place)->op == ARGREF || (*place)->op == STARG) place = &(*place)->left;
    return (*place)->op == COMMAOP ? place : nullptr;
}

bool some_argument_is_comma(NODE *call) {
    NODE **list = op_is_icall(call->op) ? &call->left : &call->right;
    if (!*list) return false;
    for (; (*list)->op == COMMA; list = &(*list)->left)
        if (comma_of_argument(&(*list)->right)) return true;
    return comma_of_argument(list) != nullptr;
}

bool keeps_its_value(const NODE *x, const NODE *effect) {
    if (is_constant_leaf(x) || is_address_of_name(x) || x->op == SCON) return true;
    return is_free_of_effects(x) && !tree_modifies_lvalue_in_tree(effect, x);
}

// f(a, (e, x), b)  ->  (e, f(a, x, b))         e changes nothing that the callee and the arguments in front read
// Gives the effects, or null.
NODE *lift_effects_of_arguments(NODE *call) {
    NODE *effects = nullptr;
    if (!some_argument_is_comma(call)) return nullptr;
    std::vector<NODE **> places = argument_places(call);
    const NODE *callee = op_is_icall(call->op) ? nullptr : call->left;
    for (size_t i = 0; i < places.size(); i++) {
        while (NODE **place = comma_of_argument(places[i])) {
            NODE *comma = *place;
            bool moves = !callee || keeps_its_value(callee, comma->left);
            if (i > ARGUMENT_SPAN_CAP) moves = false, ++argument_span_cap_hits;
            for (size_t before = 0; moves && before < i; before++)
                moves = keeps_its_value(*places[before], comma->left);
            if (!moves || !RULE("CALL: f(a, (e, x)) -> (e, f(a, x))")) return effects;
            *place = comma->right;
            NODE *effect = comma->left;
            comma->left = comma->right = nullptr;
            erase_node(comma);
            effects = effects ? mk_COMMAOP(effects, effect) : effect;
        }
    }
    return effects;
}

} // namespace

// ---------------------------------------------------------------------------------------------------------
// functions of the C library
// ---------------------------------------------------------------------------------------------------------

namespace {

// The function of that name which the program declares, but does not define, and which is the library's.
SYMTAB *library_function(const char *name) {
    SYMTAB *s = find_global_function(name);
    return s && s->sclass == SC_EXTREF && s->type->is_func() && !func_is_nonconforming(s) ? s : nullptr;
}

bool is_library_call(const NODE *call) {
    if ((call->op != CALL && call->op != UCALL) || call->left->op != UAND || call->left->left->op != NAME)
        return false;
    const SYMTAB *s = call->left->left->u.sym;
    return s && s->sclass == SC_EXTREF && s->type && s->type->is_func() && !is_internal_symbol(s) &&
           !func_is_nonconforming(s);
}

void call_other(NODE *call, SYMTAB *function) {
    NODE *name = mk_NAME(function, call->left->scope);
    erase_tree(call->left);
    call->left = mk_UAND(name);
    call->left->scope = name->scope;
}

// The string literal behind a pointer to its beginning.
NODE *literal(NODE *p) {
    while ((p->op == PCONV || p->op == ISP2CHAR || p->op == ACONV) && p->left && p->left->type->is_ptr())
        p = p->left;
    return p->op == SCON && p->text ? p : nullptr;
}

// Its length as strlen counts; negative when the literal does not end.
long length_of(const NODE *scon) {
    size_t size = size_t(scon->u.lval.to_uint64());
    const void *end = memchr(scon->text, 0, size);
    return end ? long(static_cast<const char *>(end) - scon->text) : -1;
}

// What printf prints as it stands: no conversions, and no NUL that would end it early.
bool is_plain_text(const NODE *scon) {
    long length = length_of(scon);
    return length > 0 && INT65(length + 1) == scon->u.lval && !memchr(scon->text, '%', size_t(length));
}

bool are_pointer_pointer_integer(const std::vector<NODE *> &args) {
    return args.size() == 3 && args[0]->type->is_ptr() && args[1]->type->is_ptr() &&
           is_int_type(args[2]->type);
}

// An argument that says "has this type already" becomes an ordinary conversion.
NODE *plain_conversion(NODE *arg, struct LOOP *loop) {
    if (arg->op != ACONV || !arg->type->is_scalar() || !arg->left->type->is_scalar()) return arg;
    arg->op = arg->type->is_ptr() ? PCONV : SCONV;
    return simp_node(arg, loop);
}

NODE *simp_memcpy(NODE *n, struct LOOP *loop) {
    if (!are_pointer_pointer_integer(arg_list_args(n->right)) || !n->type->is_ptr()) return n;
    for (NODE **place : argument_places(n))
        if ((*place)->op == ACONV && RULE("CALL: memcpy(ACONV(p), ...) -> memcpy((T*)p, ...)"))
            *place = plain_conversion(*place, loop);
    return n;
}

// strlen("text")  ->  4
NODE *simp_strlen(NODE *n, struct LOOP *loop) {
    NODE *text = n->right && n->right->op != COMMA ? literal(n->right) : nullptr;
    if (!text || !is_int_type(n->type) || length_of(text) < 0 ||
        !RULE("CALL: strlen(\"text\") -> its length"))
        return n;
    TYPE *type = n->type;
    NODE *length = new_ICON(INT65(length_of(text)), type, n->scope);
    erase_tree(n);
    return in_type(type, length, loop);
}

// strcpy(d, "text")  ->  memcpy(d, "text", 5)
NODE *simp_strcpy(NODE *n, struct LOOP *loop) {
    NODE *list = n->right;
    if (!list || arg_list_count(list) != 2 || !n->type->is_ptr() || !list->left->type->is_ptr()) return n;
    NODE *text = literal(list->right);
    if (!text || length_of(text) < 0 || !RULE("CALL: strcpy(d, \"text\") -> memcpy(d, \"text\", size)"))
        return n;
    NODE *size = new_ICON(INT65(length_of(text) + 1), tp->basic_int(IK_uint), n->scope);
    NODE *args = maketree(COMMA, list, size, size->type, n->scope);
    list->type = list->right->type;
    if (SYMTAB *memcpy_function = library_function("memcpy")) {
        n->right = args;
        call_other(n, memcpy_function);
        return n;
    }
    TYPE *type = n->type;
    LS *scope = n->scope;
    n->right = nullptr;
    erase_tree(n);
    return simp_new(MEMCPY, args, nullptr, type, scope, loop);
}

// memmove(d, "text", n)  ->  memcpy(d, "text", n)
NODE *simp_memmove(NODE *n, struct LOOP *loop) {
    std::vector<NODE *> args = arg_list_args(n->right);
    if (!are_pointer_pointer_integer(args) || !n->type->is_ptr() || !literal(args[1])) return n;
    SYMTAB *memcpy_function = library_function("memcpy");
    if (!memcpy_function || !RULE("CALL: memmove(d, \"text\", n) -> memcpy(d, \"text\", n)")) return n;
    call_other(n, memcpy_function);
    return simp_memcpy(n, loop);
}

// printf("text\n")  ->  puts("text")      printf("text")  ->  fputs("text", standard output)       result unused
NODE *simp_printf(NODE *n, struct LOOP *loop) {
    NODE *text = n->right && n->right->op != COMMA ? literal(n->right) : nullptr;
    if (!text || !is_plain_text(text)) return n;
    long length = length_of(text);
    if (text->text[length - 1] == '\n') {
        SYMTAB *puts_function = library_function("puts");
        if (!puts_function || !RULE("CALL: printf(\"text\\n\") -> puts(\"text\")")) return n;
        text->text[length - 1] = 0;
        text->u.lval = INT65(length);
        call_other(n, puts_function);
        return n;
    }
    SYMTAB *fputs_function = library_function("fputs"), *files = find_global_symbol("_ftable");
    if (!fputs_function || !files || !files->type->is_array()) return n;
    if (!RULE("CALL: printf(\"text\") -> fputs(\"text\", stdout)")) return n;
    TYPE *element = files->type->elem_type(), *to = tp->mk_ptr(element);
    NODE *table = in_type(to, mk_UAND(mk_NAME(files, n->scope)), loop);
    NODE *stream =
        simp_new(PLUS, table, new_ICON(INT65((long long)element->size_in_bytes()), tp->int_type(), n->scope),
                 to, n->scope, loop);
    n->right = maketree(COMMA, n->right, stream, to, n->scope);
    call_other(n, fputs_function);
    return n;
}

// fprintf(f, "text")  ->  fputs("text", f)        result unused
NODE *simp_fprintf(NODE *n, struct LOOP *) {
    NODE *list = n->right;
    if (!list || arg_list_count(list) != 2) return n;
    NODE *text = literal(list->right);
    SYMTAB *fputs_function = library_function("fputs");
    if (!text || !is_plain_text(text) || !fputs_function ||
        !RULE("CALL: fprintf(f, \"text\") -> fputs(\"text\", f)"))
        return n;
    std::swap(list->left, list->right);
    list->type = list->right->type;
    call_other(n, fputs_function);
    return n;
}

struct LIBRARY_RULE {
    const char *name;
    bool needs_unused_result;
    NODE *(*simp)(NODE *, struct LOOP *);
};
// clang-format off
constexpr LIBRARY_RULE library_rules[] = {
    {"memcpy",  false, simp_memcpy},
    {"strlen",  false, simp_strlen},
    {"strcpy",  false, simp_strcpy},
    {"memmove", false, simp_memmove},
    {"printf",  true,  simp_printf},
    {"fprintf", true,  simp_fprintf},
};
// clang-format on

} // namespace

NODE *simp_call(NODE *n, struct LOOP *loop) {
    bool unused = is_statement_in_work(n);
    if (NODE *effects = lift_effects_of_arguments(n)) {
        NODE *value = simp_node(n, loop);
        return simp_COMMAOP(maketree(COMMAOP, effects, value, value->type, n->scope), loop);
    }
    if (opt_level() == 0) return n;
    if (n->op == ICALL) return simp_ICALL(n, loop);
    if (!is_library_call(n)) return n;
    const char *name = skip_name_prefix(n->left->left->u.sym->name);
    for (const LIBRARY_RULE &rule : library_rules)
        if (!strcmp(name, rule.name)) return rule.needs_unused_result && !unused ? n : rule.simp(n, loop);
    return n;
}

// ---------------------------------------------------------------------------------------------------------
// MEMCPY
// ---------------------------------------------------------------------------------------------------------

namespace {

// The type of the object that a pointer leads to, for a copy by assignment; null when the copy must stay one of bytes:
// an access by another type than the object's would mislead who tells objects apart by type.
TYPE *copied_type(const NODE *pointer) {
    pointer = strip_pointer_wrappers(pointer);
    if (!pointer->type->is_ptr()) return nullptr;
    TYPE *type = pointer->type->type_pointed_to();
    if (type->is_csu()) return type->is_complete() ? type : nullptr;
    return type->is_scalar() && pointer->op == UAND ? type : nullptr;
}

bool types_copy_alike(TYPE *a, TYPE *b) {
    if (a->size != b->size || a->size == 0 || a->is_volatile() || b->is_volatile() || a->is_const())
        return false;
    if (a->is_bool() || b->is_bool()) return false;
    return (is_int_type(a) && is_int_type(b)) || (a->is_ptr() && b->is_ptr()) || compatible_types(a, b, true);
}

NODE *indirection(NODE *pointer, TYPE *type, INT65 by, struct LOOP *loop) {
    TYPE *to = tp->mk_ptr(type);
    LS *scope = pointer->scope;
    NODE *address = in_type(to, pointer, loop);
    if (!by.is_zero())
        address = simp_new(PLUS, address, new_ICON(by, tp->int_type(), scope), to, scope, loop);
    return simp_new(UMULT, address, nullptr, type, scope, loop);
}

// A pointer that is used more than once: itself where it is an address, else a temporary, whose assignment joins the
// effects.
NODE *held_pointer(NODE *pointer, NODE *&effects) {
    if (pointer_is_an_adcon(pointer)) return pointer;
    NODE *name = mk_NAME(sym_temp('C', -1, pointer->type, pointer->scope), pointer->scope);
    NODE *asg = mk_ASG(copy_tree(name), pointer);
    effects = effects ? mk_COMMAOP(effects, asg) : asg;
    return name;
}

constexpr int MEMCPY_ELEMENTS = 2; // a copy of more stays

// memcpy(d, s, sizeof *d)      ->  (t = d, *t = *s, t)
// memcpy(d, s, 2 * sizeof *d)  ->  (t = d, u = s, t[0] = u[0], t[1] = u[1], t)             scalars
NODE *copy_by_assignment(NODE *n, struct LOOP *loop) {
    NODE *list = n->left, *to = list->left->left, *from = list->left->right;
    TYPE *a = copied_type(to), *b = copied_type(from);
    if (!a || !b || !types_copy_alike(a, b) || !currfuninfo) return n;
    INT65 bytes = list->right->u.lval, element = INT65((long long)a->size_in_bytes());
    if (!bytes.is_positive() || !(bytes % element).is_zero() || bytes / element > INT65(MEMCPY_ELEMENTS))
        return n;
    int count = (bytes / element).low_i32();
    if (count > 1 && (!a->is_scalar() || !b->is_scalar())) return n;
    if (!RULE("MEMCPY: memcpy(d, s, sizeof *d) -> *d = *s")) return n;
    TYPE *type = n->type;
    list->left->left = list->left->right = nullptr;
    erase_tree(n);
    NODE *effects = nullptr;
    to = held_pointer(to, effects);
    if (count > 1 || !pointer_is_an_adcon(to)) from = held_pointer(from, effects);
    for (int i = 0; i < count; i++) {
        INT65 by = element * INT65(i);
        bool last = i + 1 == count;
        NODE *target = indirection(copy_tree(to), a->stqs(), by, loop);
        NODE *source = indirection(last ? from : copy_tree(from), b->stqs(), by, loop);
        NODE *asg = simp_node(mk_ASG(target, source), loop);
        effects = effects ? mk_COMMAOP(effects, asg) : asg;
    }
    NODE *value = in_type(type, to, loop);
    return simp_COMMAOP(maketree(COMMAOP, effects, value, type, value->scope), loop);
}

} // namespace

NODE *simp_MEMCPY(NODE *n, struct LOOP *loop) {
    NODE *list = n->left;
    if (!list || n->right || list->op != COMMA || list->left->op != COMMA || list->left->left->op == COMMA ||
        !list->left->left->type->is_ptr() || !list->left->right->type->is_ptr())
        abort_optimizer("MEMCPY without a list of two pointers and a size");
    NODE *to = list->left->left, *from = list->left->right, *size = list->right;
    if (!is_icon(size)) return n;
    if (!size->u.lval.is_zero()) return copy_by_assignment(n, loop);
    // the effects of the source come first now
    if (!may_exchange(to, from) || !RULE("MEMCPY: memcpy(d, s, 0) -> (s, d)")) return n;
    TYPE *type = n->type;
    list->left->left = list->left->right = nullptr;
    erase_tree(n);
    return value_after_effects(from, in_type(type, to, loop), loop);
}
