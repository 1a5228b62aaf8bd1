// The whole file: names, declarations, definitions in an order that C accepts.
#include <algorithm>
#include <cstdlib>

#include "tools/gen/gen.h"

namespace {

const char *const preamble = "typedef signed char s8;\n"
                             "typedef unsigned char u8;\n"
                             "typedef char c8;\n"
                             "typedef short s16 __attribute__((may_alias));\n"
                             "typedef unsigned short u16 __attribute__((may_alias));\n"
                             "typedef int s32 __attribute__((may_alias));\n"
                             "typedef unsigned int u32 __attribute__((may_alias));\n"
                             "typedef long long s64 __attribute__((may_alias));\n"
                             "typedef unsigned long long u64 __attribute__((may_alias));\n"
                             "typedef float f32 __attribute__((may_alias));\n"
                             "typedef double f64 __attribute__((may_alias));\n\n";

bool is_builtin_name(const std::string &name) {
    for (const char *prefix : {"__builtin_", "__atomic_", "__sync_"})
        if (name.rfind(prefix, 0) == 0) return true;
    return false;
}

std::string thread_of(MSYM *s) { return s->find_pragma(PRAG_THREAD_LOCAL) ? "__thread " : ""; }

bool twice_returning(const std::string &name) {
    return name == "setjmp" || name == "_setjmp" || name == "__sigsetjmp" || name == "sigsetjmp" ||
           name == "__builtin_setjmp" || name == "vfork";
}

std::string section_of(const std::string &title, const std::string &text) {
    return text.empty() ? "" : "/* " + title + " */\n" + text + "\n";
}

} // namespace

std::string asm_text(const std::string &text) {
    std::string escaped;
    for (char c : text) {
        if (c == '%') escaped += '%';
        escaped += c;
    }
    return c_string(escaped);
}

void FILE_GEN::fail(const PSN *where, const std::string &what) {
    if (where && where->file)
        fprintf(stderr, "%s:%u:%u: error: qlgen: %s\n", where->file, where->line, where->column,
                what.c_str());
    else fprintf(stderr, "%s: error: qlgen: %s\n", model.file_name.c_str(), what.c_str());
    throw GEN_FAILED();
}

// --- names ---

// The type of a function that is defined here, as its own parameters say.
const CTYPE *FILE_GEN::defined_type(MFUNC *f) {
    TYPE *t = f->symbol->type, *result = types.record_result(t);
    std::vector<const CTYPE *> params;
    for (MRECORD &r : f->records)
        if (r.tag == IF_SYMBOL && r.sym->level == 1) params.push_back(types.of(r.sym->type));
    if (result && !params.empty()) params.erase(params.begin());
    return types.function(types.of(result ? result : t->return_type()), params, t->is_vararg());
}

void FILE_GEN::choose_name(MSYM *s, GLOBAL &v) {
    bool outside = s->sclass != 3;
    if (outside && is_builtin_name(s->name)) v.name = s->name, v.is_builtin = s->is_function();
    else if (names.take(s->name)) v.name = s->name;
    else {
        v.name = names.fresh(s->name);
        v.renamed = outside;
    }
}

// Names that the linker sees go first, so that they can stay.
void FILE_GEN::collect() {
    for (MSYM *s : model.globals) globals[s].type = nullptr;
    for (MITEM &item : model.items)
        if (item.func) globals[item.func->symbol].body = item.func.get();
    for (MRECORD &r : model.inits) globals[r.sym].init = &r;
    std::unordered_map<std::string, MSYM *> outside;
    for (int pass = 0; pass < 2; pass++)
        for (MSYM *s : model.globals) {
            if ((s->sclass == 3) != (pass == 1)) continue;
            GLOBAL &v = globals[s];
            v.type = v.body ? defined_type(v.body) : types.of(s->type);
            if (pass == 0) {
                auto [it, fresh] = outside.try_emplace(s->name, s);
                GLOBAL &first = globals[it->second];
                if (!fresh && first.type == v.type && !(v.body && first.body)) {
                    // Another symbol of the same thing: the one with the definition is declared.
                    v.name = first.name, v.renamed = first.renamed, v.is_builtin = first.is_builtin;
                    bool mine = v.body || v.init || (it->second->sclass == 5 && s->sclass == 2);
                    (mine ? first : v).declared = true;
                    if (mine) it->second = s;
                    continue;
                }
            }
            choose_name(s, v);
        }
}

GLOBAL &FILE_GEN::global(MSYM *s) {
    auto it = globals.find(s);
    if (it == globals.end()) fail(s->psn, "the symbol '" + s->name + "' is not in the file's table");
    touched.push_back(s);
    return it->second;
}

// --- attributes ---

// The name under which the output defines what the file calls so.
std::string FILE_GEN::linker_name(const std::string &name) {
    if (symbols_of_name.empty())
        for (MSYM *s : model.globals) symbols_of_name[s->name].push_back(s);
    for (MSYM *s : symbols_of_name[name])
        if (globals[s].name.size()) return globals[s].renamed ? name : globals[s].name;
    return name;
}

std::string FILE_GEN::attributes(MSYM *s) {
    std::vector<std::string> list;
    GLOBAL &v = globals[s];
    bool defined = v.body || (!s->is_function() && s->sclass != 5);
    for (const PRAGMA *p = s->pragmas; p; p = p->next) {
        std::string first = p->args.empty() ? "" : p->args[0];
        switch (p->number) {
        case PRAG_QL_WEAK: list.push_back("weak"); break;
        case PRAG_CODE_SECTION:
        case PRAG_DATA_SECTION:
            if (!first.empty()) list.push_back("section(" + c_string(first) + ")");
            break;
        case PRAG_SYM_VISIBILITY:
            if (first == "hidden" || first == "protected" || first == "internal" || first == "default")
                list.push_back("visibility(" + c_string(first) + ")");
            break;
        case PRAG_FUNC_NEVER_RETURNS: list.push_back("noreturn"); break;
        case PRAG_FUNC_CANNOT_INLINE: list.push_back("noinline"); break;
        case PRAG_SYM_IS_REFERENCED:
        case PRAG_RETAIN:
            if (defined) list.push_back("used");
            break;
        case PRAG_FUNC_IN_INIT_ARRAY: {
            if (!v.body) break;
            std::string what = first == "D" ? "destructor" : "constructor";
            long priority = p->args.size() > 1 ? atol(p->args[1].c_str()) : 65535;
            if (priority >= 0 && priority < 65535) what += "(" + std::to_string(priority) + ")";
            list.push_back(what);
            break;
        }
        case PRAG_DATA_ALIGN:
        case PRAG_CODE_ALIGN:
            if (atol(first.c_str()) > 0) list.push_back("aligned(" + first + ")");
            break;
        case PRAG_CODE_STATE:
            if (first == "16" || first == "32")
                list.push_back(first == "16" ? "target(\"thumb\")" : "target(\"arm\")");
            break;
        case PRAG_FUNC_IS_NAKED: list.push_back("naked"); break;
        case PRAG_INTERRUPT:
            list.push_back(first.empty() ? "interrupt" : "interrupt(" + c_string(first) + ")");
            break;
        case PRAG_NOINIT: list.push_back("noinit"); break;
        case PRAG_FUNC_SYNONYM:
            if (!v.body && !first.empty() && (s->is_function() || s->sclass == 5))
                list.push_back("alias(" + c_string(linker_name(first)) + ")");
            break;
        default: break;
        }
    }
    if (s->is_function() && twice_returning(s->name)) list.push_back("returns_twice");
    if (!s->is_function() && s->align > s->type->align)
        list.push_back("aligned(" + std::to_string(s->align / 8) + ")");
    // Repeated pragmas come from several declarations of one thing.
    std::string text;
    std::set<std::string> seen;
    for (const std::string &a : list)
        if (seen.insert(a).second) text += (text.empty() ? "" : ", ") + a;
    return text.empty() ? "" : " __attribute__((" + text + "))";
}

// --- functions ---

bool FILE_GEN::emits_body(MSYM *s, const GLOBAL &v) {
    if (!v.body) return false;
    return s->policy != POLICY_NEVER || (s->sclass == 3 && v.referenced);
}

std::string FILE_GEN::function_declarations() {
    std::string out;
    for (MSYM *s : model.globals) {
        GLOBAL &v = globals[s];
        if (!s->is_function() || v.is_builtin || v.declared) continue;
        bool defined = emits_body(s, v);
        bool alias = s->find_pragma(PRAG_FUNC_SYNONYM) && !v.body;
        if (!v.referenced && !defined && !alias) continue;
        v.declared = true;
        out += s->sclass == 3 ? "static " : "";
        out += v.type->declare(v.name);
        if (v.renamed) out += " __asm__(" + c_string(s->name) + ")";
        out += attributes(s) + ";\n";
    }
    return out;
}

// --- data ---

std::string FILE_GEN::data_head(MSYM *s, const char *linkage) {
    GLOBAL &v = globals[s];
    std::string before = v.type->before;
    auto qualify = [&](const char *word) {
        if (v.type->before.back() == '*') before += std::string(word) + " ";
        else before = std::string(word) + " " + before;
    };
    if (s->type->is_volatile()) qualify("volatile");
    if (s->type->is_const()) qualify("const");
    std::string text = linkage + thread_of(s) + before + v.name + v.type->after;
    if (v.renamed) text += " __asm__(" + c_string(s->name) + ")";
    return text + attributes(s);
}

std::string FILE_GEN::data_definition(MSYM *s) {
    GLOBAL &v = globals[s];
    const char *linkage = s->sclass == 3 ? "static " : "";
    if (v.type->kind == CK_none || v.type->kind == CK_void)
        fail(s->psn, "the object '" + s->name + "' has the type " + s->type->printstr());
    INITIALISER init;
    if (v.init) init = initialiser(*this, s, *v.init);
    if (init.members.empty()) {
        std::string value = init.value.empty() ? "" : " = " + init.value;
        // A weak or const object without value is still a definition of its own.
        if (v.init && value.empty() && v.type->kind != CK_vector && v.type->bytes)
            value = v.type->is_scalar() ? " = 0" : v.type->kind == CK_complex ? "" : " = {0}";
        return data_head(s, linkage) + value + ";\n";
    }
    // The scalars in a packed record under the object's name for the linker; C reaches it as an outside object.
    std::string raw = names.fresh(v.name + "_bytes"),
                label = v.renamed || s->sclass != 3 ? s->name : v.name + ".init";
    std::string text = s->sclass == 3 ? "extern " + thread_of(s) + v.type->declare(v.name) + " __asm__(" +
                                            c_string(label) + ");\n"
                                      : data_head(s, "extern ") + ";\n";
    unsigned align = std::max(s->align, s->type->align) / 8;
    text += linkage + thread_of(s) + (s->type->is_const() ? "const " : "") +
            "struct __attribute__((packed, aligned(" + std::to_string(std::max(1u, align)) + "))) {\n" +
            init.members + "} " + raw + " __asm__(" + c_string(label) + ")" + attributes(s) +
            (s->sclass == 3 ? " __attribute__((used))" : "") + " = " + init.raw + ";\n";
    return text;
}

std::string FILE_GEN::data_text() {
    std::set<const MSYM *> defined, announced;
    std::string out, outside;
    for (MSYM *s : model.globals) {
        if (s->is_function() || globals[s].declared || s->sclass == 5) continue;
        touched.clear();
        std::string text = data_definition(s);
        for (MSYM *other :
             touched) { // an address in the initial value: of something that stands further down
            bool known = other == s || other->is_function() || other->sclass == 5 || defined.count(other);
            if (known || !announced.insert(other).second) continue;
            out += data_head(other, other->sclass == 3 ? "static " : "extern ") + ";\n";
        }
        defined.insert(s);
        out += text;
    }
    for (MSYM *s : model.globals) {
        GLOBAL &v = globals[s];
        bool wanted = v.referenced || s->find_pragma(PRAG_FUNC_SYNONYM);
        if (!s->is_function() && s->sclass == 5 && wanted && !v.declared)
            outside += data_head(s, "extern ") + ";\n";
    }
    return outside + out;
}

// --- the file ---

std::string FILE_GEN::generate() {
    collect();
    // Bodies and data first: they show what has to be declared.
    std::vector<std::string> bodies(model.items.size());
    std::vector<bool> made(model.items.size());
    auto make_bodies = [&] {
        for (bool again = true; again;) {
            again = false;
            for (size_t i = 0; i < model.items.size(); i++) {
                MFUNC *f = model.items[i].func.get();
                if (!f || made[i] || !emits_body(f->symbol, globals[f->symbol])) continue;
                made[i] = again = true;
                bodies[i] = FUNC_GEN(*this, f).function() + "\n";
            }
        }
    };
    make_bodies();
    std::string data = data_text();
    make_bodies(); // what only data refers to
    std::string text;
    for (size_t i = 0; i < model.items.size(); i++) {
        const MRECORD &r = model.items[i].record;
        if (!model.items[i].func && r.tag == IF_ASSEMBLY) text += "__asm__(" + c_string(r.text) + ");\n\n";
        else text += bodies[i];
    }
    std::string functions = function_declarations();
    std::string types_text = types.declarations();
    return "/* Made from " + model.file_name +
           ". Compile with -std=gnu11 -fwrapv -fno-strict-aliasing "
           "-fno-delete-null-pointer-checks. */\n\n" +
           std::string(preamble) + section_of("Types", types_text) +
           section_of("Built-in operations", support_text) + section_of("Functions", functions) +
           section_of("Data", data) + text;
}
