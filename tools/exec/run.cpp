// Linking, frames, the step loop, faults.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string_view>
#include <unordered_map>

#include "tools/exec/claims.h"
#include "tools/exec/compile.h"

RUN_OPTIONS run_options;
PROGRAM program;
FRAME *current_frame;

namespace {

constexpr uint32_t STACK_LIMIT = STACK_TOP - STACK_SIZE;
uint64_t next_frame_id = 1;
uint64_t call_depth = 0;
// The host recursion that goes with the guest's; the thread's stack is sized for it.
constexpr uint64_t MAX_CALL_DEPTH = 1000000;

constexpr uint32_t round_up(uint64_t n, uint32_t to) { return uint32_t((n + to - 1) / to * to); }

} // namespace

void fault(const char *format, ...) {
    fflush(stdout);
    fputs("qlrun: ", stderr);
    va_list ap;
    va_start(ap, format);
    vfprintf(stderr, format, ap);
    va_end(ap);
    if (FRAME *f = current_frame) {
        fprintf(stderr, "\n    in function %s()", f->func->name.c_str());
        if (f->step && f->step->psn)
            fprintf(stderr, ", %s:%u:%u", f->step->psn->file ? f->step->psn->file : "?", f->step->psn->line,
                    f->step->psn->column);
        int shown = 0;
        for (f = f->caller; f && shown < 20; f = f->caller, shown++) {
            fprintf(stderr, "\n    called from %s()", f->func->name.c_str());
            if (f->step && f->step->psn)
                fprintf(stderr, ", %s:%u", f->step->psn->file ? f->step->psn->file : "?", f->step->psn->line);
        }
        if (f) fputs("\n    ...", stderr);
    }
    fputc('\n', stderr);
    fflush(nullptr);
    _Exit(120);
}

void check_access(uint32_t a, uint64_t n, bool is_write) {
    if (!mem.ok_range(a, n))
        fault("invalid %s of %s", is_write ? "write" : "read", mem.explain(a, n).c_str());
    if (run_options.check_init && !is_write && !mem.is_written(a, uint32_t(n)))
        fault("read of %llu uninitialised bytes at 0x%08x", static_cast<unsigned long long>(n), a);
}

void trace_volatile(char what, uint32_t a, unsigned n, uint64_t v) {
    fprintf(stderr, "volatile %c%u 0x%08x %0*llx\n", what, n, a, int(n * 2),
            static_cast<unsigned long long>(n < 8 ? v & ((1ull << n * 8) - 1) : v));
}

uint64_t push_stack(uint32_t bytes, uint32_t align) {
    uint64_t sp = program.stack_pointer;
    if (bytes > sp - STACK_LIMIT) fault("stack overflow");
    program.stack_pointer = uint32_t((sp - bytes) & ~uint64_t(align - 1));
    if (program.stack_pointer < STACK_LIMIT) fault("stack overflow");
    return program.stack_pointer;
}

// --- linking ---

namespace {

struct WEAK_INFO {
    bool defined = false, weak = false;
    MSYM *sym = nullptr;
};

XFUNC *new_function(MSYM *s, const std::string &name) {
    auto *f = new XFUNC;
    f->symbol = s;
    f->name = name;
    f->address = CODE_BASE + CODE_STEP * uint32_t(program.functions.size());
    program.functions.push_back(f);
    return f;
}

void enter_functions() {
    for (auto &m : program.models)
        for (MITEM &item : m->items) {
            if (!item.func) continue;
            MSYM *s = item.func->symbol;
            bool weak = s->find_pragma(PRAG_QL_WEAK);
            XFUNC *f = new_function(s, s->name);
            f->model = m.get(), f->body = item.func.get();
            program.function_of[s] = f;
            if (s->sclass == 3) continue;
            auto [it, fresh] = program.by_name.try_emplace(s->name, f);
            if (fresh) continue;
            bool other_weak = it->second->symbol->find_pragma(PRAG_QL_WEAK);
            if (other_weak && !weak) it->second = f;
            else if (!other_weak && !weak) {
                fprintf(stderr, "qlrun: %s is defined twice\n", s->name.c_str());
                exit(124);
            }
        }
}

// Tentative definitions of one name are one object of the greatest of their sizes; an initialised one decides its place.
void enter_objects() {
    std::unordered_map<std::string_view, uint32_t> greatest; // in bits
    for (auto &m : program.models)
        for (MSYM *s : m->globals)
            if (s->sclass == 2 && !s->is_function())
                greatest[s->name] = std::max(greatest[s->name], uint32_t(s->size));
    for (auto &m : program.models)
        for (MSYM *s : m->globals) {
            if (s->is_function() || s->sclass == 5) continue;
            if (s->sclass != 3) {
                auto it = program.objects.find(s->name);
                if (it != program.objects.end()) {
                    program.object_of[s] = it->second;
                    continue;
                }
            }
            uint32_t bytes = s->size / 8;
            if (s->sclass != 3)
                if (auto same = greatest.find(s->name); same != greatest.end())
                    bytes = std::max(bytes, same->second / 8);
            uint32_t a = mem.add_global(bytes, std::max(1u, s->align / 8));
            program.object_of[s] = a;
            if (s->sclass != 3) program.objects[s->name] = a;
        }
}

using GLOBALS_BY_NAME = std::unordered_map<std::string_view, std::vector<MSYM *>>;

// The file's function or object of the name that an alias stands for; else null.
MSYM *alias_target(const GLOBALS_BY_NAME &globals, const MSYM *s, const PRAGMA *alias) {
    auto named = globals.find(alias->args[0]);
    if (named == globals.end()) return nullptr;
    for (MSYM *o : named->second)
        if (o != s && o->is_function() == s->is_function()) return o;
    return nullptr;
}

// Aliases define their names, also for other files.
void enter_aliases() {
    for (auto &m : program.models) {
        GLOBALS_BY_NAME globals;
        for (MSYM *s : m->globals) {
            const PRAGMA *alias = s->find_pragma(PRAG_FUNC_SYNONYM);
            if (!alias || alias->args.empty()) continue;
            if (globals.empty())
                for (MSYM *o : m->globals) globals[o->name].push_back(o);
            MSYM *target = alias_target(globals, s, alias);
            if (!target) continue;
            if (auto f = program.function_of.find(target); f != program.function_of.end()) {
                program.function_of[s] = f->second;
                program.by_name.try_emplace(s->name, f->second);
            } else if (auto o = program.object_of.find(target); o != program.object_of.end()) {
                program.object_of[s] = o->second;
                program.objects.try_emplace(s->name, o->second);
            }
        }
    }
}

void resolve_references() {
    for (auto &m : program.models)
        for (MSYM *s : m->globals) {
            if (s->is_function()) {
                if (program.function_of.count(s)) continue;
                std::string name = s->name;
                auto it = program.by_name.find(name);
                XFUNC *f = it != program.by_name.end() ? it->second : library_function(name);
                if (!f) {
                    if (s->find_pragma(PRAG_QL_WEAK)) { // its address is null
                        program.object_of[s] = 0;
                        continue;
                    }
                    f = new_function(s, name); // calling it is a fault
                    program.by_name[name] = f;
                }
                program.function_of[s] = f;
            } else if (s->sclass == 5 && !program.object_of.count(s)) {
                auto it = program.objects.find(s->name);
                if (it != program.objects.end()) program.object_of[s] = it->second;
                else if (uint32_t a = library_object(s->name, s->size / 8))
                    program.object_of[s] = a, program.objects[s->name] = a;
                else if (s->find_pragma(PRAG_QL_WEAK)) program.object_of[s] = 0;
            }
        }
}

void initialise_objects() {
    for (auto &m : program.models) {
        XFUNC loader;
        loader.name = "(initialisers)";
        for (MRECORD &r : m->inits) {
            auto it = program.object_of.find(r.sym);
            if (it == program.object_of.end()) continue;
            uint32_t a = it->second;
            COMPILER c(&loader, m.get());
            FRAME frame;
            frame.func = &loader;
            current_frame = &frame;
            for (MNODE *t : r.trees) {
                if (t->op == ENDINIT) break;
                if (t->op == SKIP) {
                    a += uint32_t(t->value);
                    continue;
                }
                SK k = scalar_kind(t->type);
                if (k == SK_wide) {
                    WIDE w;
                    XN *x = c.wide_value(t);
                    x->wide(x, &frame, &w);
                    uint32_t bytes = uint32_t(t->type->size / 8);
                    store_wide(a, bytes,
                               t->type->is_complex() ? bytes / 2 : unsigned(t->type->elem_type()->size / 8),
                               &w);
                    a += bytes;
                    continue;
                }
                XN *x = c.constant_tree(t);
                store_scalar(k, a, convert_value(k, x->kind, x->fn(x, &frame)));
                a += sk_bytes(k);
            }
            current_frame = nullptr;
        }
    }
}

void collect_constructors() {
    std::vector<std::pair<long, uint32_t>> ctors, dtors;
    for (auto &m : program.models)
        for (MSYM *s : m->globals)
            if (const PRAGMA *p = s->find_pragma(PRAG_FUNC_IN_INIT_ARRAY)) {
                auto it = program.function_of.find(s);
                if (it == program.function_of.end()) continue;
                long priority = p->args.size() > 1 ? atol(p->args[1].c_str()) : 65535;
                (p->args.empty() || p->args[0] != "D" ? ctors : dtors)
                    .emplace_back(priority, it->second->address);
            }
    std::stable_sort(ctors.begin(), ctors.end(), [](auto &a, auto &b) { return a.first < b.first; });
    std::stable_sort(dtors.begin(), dtors.end(), [](auto &a, auto &b) { return a.first > b.first; });
    for (auto &c : ctors) program.constructors.push_back(c.second);
    for (auto &d : dtors) program.destructors.push_back(d.second);
}

} // namespace

void link_program() {
    new_function(nullptr, "(null)")->compiled = true;
    enter_functions();
    enter_objects();
    enter_aliases();
    resolve_references();
    initialise_objects();
    collect_constructors();
}

XFUNC *enter_library_function(const std::string &name, uint64_t (*fn)(CALL_CONTEXT &)) {
    XFUNC *f = new_function(nullptr, name);
    f->library = fn;
    program.by_name.try_emplace(name, f);
    return f;
}

// --- functions to steps ---

namespace {

// The symbols whose address a tree takes, or that are no scalars: they live in the checked part of the frame.
void note_addresses(MNODE *root, std::unordered_map<const MSYM *, bool> &checked) {
    std::vector<MNODE *> todo{root};
    while (!todo.empty()) {
        MNODE *t = todo.back();
        todo.pop_back();
        if (t->op == UAND || t->op == ARGREF) {
            MNODE *o = t->left;
            while (o &&
                   (o->op == STDOT || o->op == DDNODE || o->op == VFIELD || o->op == REAL || o->op == IMAG))
                o = o->left;
            if (o && o->op == NAME) checked[o->sym] = true;
        }
        if (t->left) todo.push_back(t->left);
        if (t->right) todo.push_back(t->right);
    }
}

} // namespace

void COMPILER::layout_frame() {
    std::unordered_map<const MSYM *, bool> checked;
    std::vector<MSYM *> all;
    std::vector<MSYM *> parms;
    for (MRECORD &r : func->body->records) {
        if (r.tag == IF_SYMBOL) (r.sym->level == 1 ? parms : all).push_back(r.sym);
        if (r.tag == IF_STATEMENT && r.tree) note_addresses(r.tree, checked);
    }
    uint32_t at = 0;
    std::vector<MSYM *> with_address;
    auto place = [&](MSYM *s) {
        SK k = scalar_kind(s->type);
        if (run_options.check_init || checked.count(s) || k == SK_record || k == SK_wide) {
            with_address.push_back(s);
            return;
        }
        uint32_t bytes = std::max(1u, s->size / 8), align = std::min(8u, std::max(1u, s->align / 8));
        at = round_up(at, align);
        slot[s] = at;
        at += bytes;
    };
    for (MSYM *s : parms) place(s);
    for (MSYM *s : all) place(s);
    place_symbols(with_address);
    (void)at;
    // place_symbols starts behind what was laid out here.
    for (MSYM *s : parms) {
        SK k = scalar_kind(s->type);
        func->parms.push_back({s, k, slot[s], s->size / 8});
    }
}

void COMPILER::place_symbols(const std::vector<MSYM *> &checked) {
    uint32_t at = 0;
    for (auto &[s, offset] : slot) at = std::max(at, offset + std::max(1u, s->size / 8));
    at = round_up(at, 8);
    func->checked_from = at;
    std::vector<uint8_t> &image = func->shadow_image;
    auto fill = [&](uint32_t to, uint8_t v) { image.resize((to - func->checked_from) / 8, v); };
    if (!checked.empty()) {
        at += 8;
        fill(at, SHADOW_RED_STACK);
    }
    for (MSYM *s : checked) {
        uint32_t bytes = s->size / 8, align = std::max(8u, s->align / 8);
        uint32_t from = round_up(at, align);
        fill(from, SHADOW_RED_STACK);
        slot[s] = from;
        at = from + (bytes & ~7u);
        fill(at, SHADOW_OK);
        if (bytes & 7) {
            at += 8;
            fill(at, uint8_t(bytes & 7));
        }
        at += 8; // red zone
        fill(at, SHADOW_RED_STACK);
    }
    func->frame_bytes = round_up(at, 16);
    fill(func->frame_bytes, checked.empty() ? SHADOW_UNMAPPED : SHADOW_RED_STACK);
}

void COMPILER::switch_statement(MNODE *t, STEP &s) {
    s.kind = ST_SWITCH;
    s.tree = value(t->left);
    s.table = new XSWITCH;
    uint32_t here = uint32_t(func->steps.size());
    s.table->other = ~0u;
    std::vector<MNODE *> todo{t->right};
    while (!todo.empty()) {
        MNODE *c = todo.back();
        todo.pop_back();
        if (c->op == COMMA) {
            todo.push_back(c->left);
            todo.push_back(c->right);
        } else if (c->op == CASE) {
            // A selector narrower than int is compared as the int that it promotes to.
            SK k = sk_bytes(s.tree->kind) < 4 ? SK_i32 : s.tree->kind;
            uint64_t v =
                c->left->op == LCON ? strtoull(c->left->text.c_str(), nullptr, 10) : uint64_t(c->left->value);
            s.table->cases[int64_t(convert_value(k, SK_u64, v))] =
                uint32_t(c->right->value); // labels for now
        } else if (c->op == DEFAULT) s.table->other = uint32_t(c->left->value);
    }
    fixups.emplace_back(here, -1);
}

void COMPILER::statement(MNODE *t, const PSN *psn, uint32_t record) {
    STEP s;
    s.psn = psn;
    s.line_of_record = record;
    unit = &s.unit;
    saw_setjmp = false;
    while (t->op == EPVAL) t = t->left;
    switch (t->op) {
    case CBRANCH: {
        s.kind = ST_CBRANCH;
        count(CN_NODES, 2);
        s.tree = value(t->left);
        if (s.tree->kind == SK_f32 || s.tree->kind == SK_f64) {
            XN *c = new_xn();
            c->a = s.tree, c->kind = SK_i32, c->fn = eval_convert(SK_i32, s.tree->kind, true);
            s.tree = c;
        }
        fixups.emplace_back(uint32_t(func->steps.size()), int(t->right->value));
        break;
    }
    case BRANCH:
        s.kind = ST_BRANCH;
        count(CN_NODES, 2);
        fixups.emplace_back(uint32_t(func->steps.size()),
                            int((t->left->op == EPVAL ? t->left->left : t->left)->value));
        break;
    case SWITCH:
        count(CN_NODES);
        switch_statement(t, s);
        break;
    case RETURN: {
        count(CN_NODES, 2);
        SK k = scalar_kind(func->symbol->type->return_type());
        if (k == SK_wide) {
            s.kind = ST_RETURN_WIDE;
            s.tree = wide_value(t->right);
        } else {
            s.kind = ST_RETURN;
            XN *v = value(t->right);
            s.tree = k == SK_void || k == SK_record || v->kind == SK_void ? v : to_kind(v, k);
        }
        break;
    }
    case URETURN:
        count(CN_NODES);
        s.kind = ST_END;
        break;
    default:
        s.kind = ST_EXPR;
        s.tree = value(t);
        break;
    }
    s.has_setjmp = saw_setjmp;
    func->steps.push_back(s);
    unit = &scratch;
}

// Text that has no effect on one thread: nothing, comments, barriers, hints.
static bool is_idle(const std::string &text) {
    std::stringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::stringstream words(line.substr(0, line.find_first_of("@;")));
        std::string word;
        bool idle = !(words >> word);
        for (const char *known : {"nop", "dmb", "dsb", "isb", "yield", "sev", "wfe", "wfi"})
            idle |= word == known;
        if (!idle) return false;
    }
    return true;
}

bool makes_step(const MRECORD &r) {
    return (r.tag == IF_STATEMENT && r.tree) || (r.tag == IF_ASSEMBLY && !is_idle(r.text));
}

void COMPILER::assembly(const PSN *psn, uint32_t record) {
    STEP s;
    s.psn = psn, s.line_of_record = record;
    s.kind = ST_EXPR;
    s.tree = new_xn();
    s.tree->fn = [](const XN *, FRAME *) -> uint64_t { fault("assembly can't be interpreted"); };
    func->steps.push_back(s);
}

void COMPILER::resolve_labels() {
    auto find = [&](int label) {
        auto it = label_step.find(label);
        if (it == label_step.end()) fault("function %s has no label %d", func->name.c_str(), label);
        return it->second;
    };
    for (auto [step_no, label] : fixups) {
        STEP &s = func->steps[step_no];
        if (s.kind != ST_SWITCH) {
            s.target = find(label);
            continue;
        }
        for (auto &c : s.table->cases) c.second = find(int(c.second));
        s.table->other = s.table->other == ~0u ? step_no + 1 : find(int(s.table->other));
    }
}

void COMPILER::loops() {
    std::unordered_map<unsigned, size_t> by_number;
    size_t open = ~size_t(0);
    uint32_t from = 0, step_no = 0;
    auto close = [&](uint32_t to) {
        if (open != ~size_t(0) && to > from) func->loops[open].ranges.emplace_back(from, to);
    };
    for (MRECORD &r : func->body->records) {
        if (r.tag == IF_LOOP) {
            XLOOP l;
            l.number = r.n[0], l.parent = r.n[1], l.min = r.n[2], l.max = r.n[3], l.factor = r.n[4],
            l.flags = r.n[5];
            by_number[l.number] = func->loops.size();
            func->loops.push_back(l);
        } else if (r.tag == IF_INLOOP) {
            close(step_no);
            auto it = by_number.find(r.n[0]);
            open = it == by_number.end() ? ~size_t(0) : it->second;
            if (r.n[1] & 2 && r.sym && it != by_number.end())
                if (auto bit = dead_behind.find(r.sym); bit != dead_behind.end())
                    func->loops[open].dead |= uint64_t(1) << bit->second;
            from = step_no;
        } else if (makes_step(r)) step_no++;
    }
    close(step_no);
}

void COMPILER::body() {
    if (run_options.check_records) notes_references = claims_need_references(func->body, &notes_all);
    layout_frame();
    if (run_options.check_records) find_dead_behind();
    func->result = scalar_kind(func->symbol->type->return_type());
    uint32_t n = 0;
    for (MRECORD &r : func->body->records) {
        if (r.tag == IF_LABEL) label_step[int(r.n[0])] = uint32_t(func->steps.size());
        else if (r.tag == IF_ASSEMBLY && makes_step(r)) assembly(r.psn, n);
        else if (makes_step(r)) statement(r.tree, r.psn, n);
        n++;
    }
    STEP end;
    end.kind = ST_END;
    func->steps.push_back(end);
    resolve_labels();
    loops();
    if (run_options.check_records) func->claims = collect_claims(func);
}

void compile_function(XFUNC *f) {
    if (f->compiled) return;
    f->compiled = true;
    if (!f->body && f->name.rfind("__asm_", 0) == 0) fault("assembly can't be interpreted");
    if (!f->body) fault("call of the function '%s', which is not defined", f->name.c_str());
    COMPILER c(f, f->model);
    c.body();
}

// --- execution ---

namespace {

template <bool CHECKS> uint64_t run_steps(FRAME &f, uint32_t at) {
    XFUNC *func = f.func;
    STEP *steps = func->steps.data();
    STEP *s = steps + at;
    for (;;) {
        f.step = s;
        s->unit.executed++;
        if (CHECKS) claims_at_step(&f, uint32_t(s - steps));
        switch (s->kind) {
        case ST_EXPR:
            s->tree->fn(s->tree, &f);
            s++;
            break;
        case ST_CBRANCH:
            if (s->tree->fn(s->tree, &f)) s++;
            else {
                s->taken++;
                s = steps + s->target;
            }
            break;
        case ST_BRANCH: s = steps + s->target; break;
        case ST_SWITCH: {
            auto it = s->table->cases.find(int64_t(s->tree->fn(s->tree, &f)));
            s = steps + (it == s->table->cases.end() ? s->table->other : it->second);
            break;
        }
        case ST_RETURN: return s->tree->fn(s->tree, &f);
        case ST_RETURN_WIDE: {
            WIDE w;
            s->tree->wide(s->tree, &f, &w);
            if (f.caller) f.caller->wide_result = w;
            return 0;
        }
        case ST_END: return 0;
        case ST_NOP: s++; break;
        }
    }
}

uint64_t run_frame(FRAME &f) {
    uint32_t at = 0;
    for (;;) {
        try {
            if (!f.claims) return run_steps<false>(f, at);
            uint64_t v = run_steps<true>(f, at);
            claims_at_return(&f);
            return v;
        } catch (LONG_JUMP &j) {
            if (j.frame_id != f.id) throw;
            current_frame = &f;
            f.jumped_back = true;
            f.jump_value = j.value;
            at = j.step;
            // What the step executed before the jump counts once.
            f.func->steps[at].unit.executed--;
        }
    }
}

void store_arguments(XFUNC *f, FRAME &fr, const ARG *args, unsigned n) {
    unsigned named = unsigned(f->parms.size());
    for (unsigned i = 0; i < named && i < n; i++) {
        const XPARM &p = f->parms[i];
        uint32_t to = fr.base + p.offset;
        if (p.kind == SK_record || p.kind == SK_wide) {
            if (args[i].kind != SK_record && args[i].kind != SK_wide)
                fault("argument %u of %s() is no record", i + 1, f->name.c_str());
            uint32_t from = uint32_t(args[i].value);
            if (!mem.ok_range(from, p.bytes) && args[i].kind == SK_record) check_access(from, p.bytes, false);
            memcpy(mem.base + to, mem.base + from, p.bytes);
            if (run_options.check_init) mem.mark_written(to, p.bytes);
        } else {
            uint64_t v = args[i].value;
            if (args[i].kind != p.kind && args[i].kind < SK_void) v = convert_value(p.kind, args[i].kind, v);
            store_scalar(p.kind, to, v);
        }
    }
}

// Variadic arguments: 4-byte slots in memory, 8-byte things aligned to 8.
uint32_t spread_varargs(const ARG *args, unsigned from, unsigned n) {
    uint64_t bytes = 8;
    for (unsigned i = from; i < n; i++) bytes += 16 + (args[i].kind >= SK_wide ? args[i].type->size / 8 : 8);
    uint32_t base = uint32_t(push_stack(uint32_t(bytes), 16));
    mem.unpoison(base, uint32_t(bytes) & ~7u);
    uint32_t at = base;
    for (unsigned i = from; i < n; i++) {
        SK k = args[i].kind;
        if (k == SK_record || k == SK_wide) {
            uint32_t size = uint32_t(args[i].type->size / 8);
            if (args[i].type->align >= 64) at = round_up(at, 8);
            memcpy(mem.base + at, mem.base + uint32_t(args[i].value), size);
            if (run_options.check_init) mem.mark_written(at, size);
            at += round_up(size, 4);
        } else if (k == SK_f64 || k == SK_i64 || k == SK_u64 || k == SK_f32) {
            at = round_up(at, 8);
            if (k == SK_f32) store_scalar(SK_f64, at, convert_value(SK_f64, SK_f32, args[i].value));
            else store_scalar(k, at, args[i].value);
            at += 8;
        } else {
            store_scalar(SK_u32, at, args[i].value);
            at += 4;
        }
    }
    return base;
}

} // namespace

uint64_t call_function(XFUNC *f, const ARG *args, unsigned n, FRAME *caller, const XCALL *call, WIDE *) {
    if (f->library) {
        f->entered++;
        CALL_CONTEXT c{caller, args, n, f, call};
        return f->library(c);
    }
    if (!f->compiled) {
        compile_function(f);
        if (f->address == CODE_BASE) fault("call through a null function pointer");
    }
    if (!f->body) fault("call of the function '%s', which is not defined", f->name.c_str());
    if (n < f->parms.size())
        fault("call of %s() with %u arguments, it has %zu parameters", f->name.c_str(), n, f->parms.size());
    if (++call_depth > MAX_CALL_DEPTH)
        fault("call depth above %llu", static_cast<unsigned long long>(MAX_CALL_DEPTH));
    uint32_t saved = program.stack_pointer;
    FRAME fr;
    if (n > f->parms.size()) fr.varargs = spread_varargs(args, unsigned(f->parms.size()), n);
    else fr.varargs = saved;
    fr.base = uint32_t(push_stack(f->frame_bytes, 64));
    fr.host = mem.base + fr.base;
    fr.func = f, fr.caller = caller, fr.id = next_frame_id++;
    uint8_t *shadow = mem.shadow + ((fr.base + f->checked_from) >> 3);
    if (!f->shadow_image.empty()) memcpy(shadow, f->shadow_image.data(), f->shadow_image.size());
    if (run_options.check_init) mem.mark_unwritten(fr.base, f->frame_bytes);
    store_arguments(f, fr, args, n);
    f->entered++;
    CLAIM_STATE claims;
    if (f->claims) fr.claims = &claims;
    FRAME *outer = current_frame;
    current_frame = &fr;
    uint64_t v;
    try {
        v = run_frame(fr);
    } catch (...) {
        if (!f->shadow_image.empty()) memset(shadow, SHADOW_STACK_FREE, f->shadow_image.size());
        program.stack_pointer = saved;
        current_frame = outer;
        call_depth--;
        throw;
    }
    if (!f->shadow_image.empty()) memset(shadow, SHADOW_STACK_FREE, f->shadow_image.size());
    if (fr.varargs != saved) mem.poison(fr.varargs, (saved - fr.varargs) & ~7u, SHADOW_STACK_FREE);
    program.stack_pointer = saved;
    current_frame = outer;
    call_depth--;
    return v;
}

uint64_t call_address(uint32_t a, const ARG *args, unsigned n, FRAME *caller, const XCALL *call, WIDE *wide) {
    uint32_t i = (a - CODE_BASE) / CODE_STEP;
    if (a == 0 || a == CODE_BASE) fault("call through a null function pointer");
    if (a < CODE_BASE || (a - CODE_BASE) % CODE_STEP || i >= program.functions.size())
        fault("call through 0x%08x, which is no function", a);
    return call_function(program.functions[i], args, n, caller, call, wide);
}

uint64_t call_guest(uint32_t address, std::initializer_list<uint64_t> values) {
    ARG args[8];
    unsigned n = 0;
    static const TYPE *word = tp->basic_int(IK_uint);
    for (uint64_t v : values) args[n++] = {v, word, SK_u32};
    return call_address(address, args, n, current_frame, nullptr, nullptr);
}

double CALL_CONTEXT::f64(unsigned i) const {
    if (i >= n) return 0;
    return args[i].kind == SK_f32   ? as_f32(args[i].value)
           : args[i].kind == SK_f64 ? as_f64(args[i].value)
                                    : double(int64_t(args[i].value));
}
float CALL_CONTEXT::f32(unsigned i) const { return float(f64(i)); }

int run_program(int argc, char **argv, char **) {
    auto it = program.by_name.find("main");
    if (it == program.by_name.end() || !it->second->body) {
        fputs("qlrun: no function 'main'\n", stderr);
        return 124;
    }
    program.name = argc ? strrchr(argv[0], '/') ? strrchr(argv[0], '/') + 1 : argv[0] : "";
    uint32_t vector = mem.add_global(uint32_t(argc + 1) * 4, 4);
    for (int i = 0; i < argc; i++) {
        uint32_t len = uint32_t(strlen(argv[i]) + 1);
        uint32_t a = mem.add_global(len, 1);
        memcpy(mem.base + a, argv[i], len);
        store_scalar(SK_u32, vector + uint32_t(i) * 4, a);
    }
    int status;
    try {
        for (uint32_t c : program.constructors) call_guest(c, {});
        XFUNC *m = it->second;
        compile_function(m);
        ARG args[3] = {{uint64_t(argc), tp->int_type(), SK_i32},
                       {vector, tp->basic_int(IK_uint), SK_u32},
                       {vector + uint32_t(argc) * 4, tp->basic_int(IK_uint), SK_u32}};
        status = int(call_function(m, args, unsigned(std::min<size_t>(3, m->parms.size())), nullptr, nullptr,
                                   nullptr)) &
                 255;
        run_exit_handlers();
    } catch (EXIT_PROGRAM &e) { status = e.status & 255; } catch (LONG_JUMP &) {
        fault("longjmp to a function that has returned");
    }
    return status;
}
