#include "OPT5/schedule.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

#include "OPT5/bif.h"
#include "OPT5/casts.h"
#include "OPT5/cdmatch.h"
#include "OPT5/cfg.h"
#include "OPT5/cfgdump.h"
#include "OPT5/combasg.h"
#include "OPT5/dddriver.h"
#include "OPT5/ddve.h"
#include "OPT5/deadasg.h"
#include "OPT5/eht.h"
#include "OPT5/fileopt.h"
#include "OPT5/files.h"
#include "OPT5/flags.h"
#include "OPT5/eraseall.h"
#include "OPT5/funinfo.h"
#include "OPT5/globalsyms.h"
#include "OPT5/increments.h"
#include "OPT5/liveness.h"
#include "OPT5/looprot.h"
#include "OPT5/mdparse.h"
#include "OPT5/passes.h"
#include "OPT5/procint.h"
#include "OPT5/read.h"
#include "OPT5/rules.h"
#include "OPT5/simpcheck.h"
#include "OPT5/readexpr.h"
#include "OPT5/sblk.h"
#include "OPT5/simpcfg.h"
#include "OPT5/startup.h"
#include "OPT5/symtab.h"
#include "OPT5/target.h"
#include "OPT5/tree.h"
#include "OPT5/unsimp.h"
#include "OPT5/validate.h"
#include "OPT5/vectors.h"
#include "OPT5/write.h"
#include "OPT5/writeloop.h"
#include "ifile/if_file.h"
#include "support/dbgout.h"
#include "support/demangle.h"
#include "support/fatal.h"
#include "support/flatmap.h"
#include "support/register_option.h"

namespace {

const register_option split_switch("debug:split_odb");
const register_option parser_switch("debug:parser");
const register_option draw_switch("debug:draw_cfg");

// ---- the schedule

// How far each function has come in `schedule`: the active passes and, last, "output function".
std::vector<pass *> schedule;
flat_map<uint32_t> steps_table;

pass *next_pass(const SYMTAB *function) {
    const uint32_t *step = steps_table.find(function);
    return step && *step < schedule.size() ? schedule[*step] : nullptr;
}

// While a function has its turn, its debug text may go to a file of its own.
class function_debug_file {
  public:
    explicit function_debug_file(const SYMTAB *function) : saved_(fdebug) {
        if (print_debug && split_switch) open_debug_file(true, function->name);
    }
    ~function_debug_file() {
        if (fdebug == saved_) return;
        if (fdebug) fclose(fdebug);
        fdebug = saved_;
    }
    function_debug_file(const function_debug_file &) = delete;
    function_debug_file &operator=(const function_debug_file &) = delete;

  private:
    FILE *saved_;
};

void announce_function() {
    if (!print_debug) return;
    dump_function_header();
    info_printf("\n%s\n", std::string(78, '=').c_str());
    dump_FUNINFO(currfuninfo);
    if (currfuninfo->has_flag(FUN_is_suppressed) && opt_level() > 2)
        dprintf("\n!!! %s() (%s) must be unsuppressed !!!\n\n", currfunc->name,
                decode_identifier(currfunc->name).c_str());
}

// Runs a function up to its next barrier, or to its end.
void run_to_barrier(SYMTAB *function) {
    pass *next = next_pass(function);
    if (!next || next->is_barrier()) return;

    currfunc = function;
    currfuninfo = make_FUNINFO(function);
    if (currfuninfo->symbol != currfunc) {
        currfunc = get_sym_def_for_decl(currfunc);
        QL_ASSERT(currfunc == currfuninfo->symbol);
    }
    function_debug_file debug_file(currfunc);
    announce_function();
    while ((next = next_pass(function)) && !next->is_barrier()) {
        if (next != schedule.back()) currfuninfo->graph_is_settled = false; // passes change tests in place
        next->run();
        ++steps_table[function];
    }
    currfunc = nullptr;
    currfuninfo = nullptr;
}

// The barrier that all functions have come to, taken off their lists; null when all are done.
pass *take_barrier() {
    pass *barrier = nullptr;
    for (SYMTAB *function : functions) {
        pass *next = next_pass(function);
        if (!next) continue;
        if (!barrier) barrier = next;
        QL_ASSERT(barrier == next);
        ++steps_table[function];
    }
    return barrier;
}

void run_schedule() {
    schedule = active_passes;
    schedule.push_back(new pass("output function", output_function, NEEDED));
    for (SYMTAB *function : functions) steps_table[function] = 0;
    matcher_init();

    for (;;) {
        // By index: a pass may add a function behind the others.
        for (size_t i = 0; i < functions.size(); ++i) run_to_barrier(functions[i]);
        pass *barrier = take_barrier();
        if (!barrier) break;
        barrier->run();
        for (FUNINFO *f : all_FUNINFOs()) f->graph_is_settled = false;
    }
    dump_psnrefs();
}

// ---- the output step

template <class VISIT> void for_each_statement(VISIT visit) {
    for (BBLK *block = currfuninfo->bb_list; block; block = block->dflink)
        for (LIST *statement = block->statements; statement; statement = statement->next) visit(statement);
}

// Whether the function's trees hold an MCALL, as found when names were last counted.
bool holds_MCALL;

void count_names(const NODE *root) {
    static std::vector<const NODE *> pending;
    pending.assign(1, root);
    while (!pending.empty()) {
        const NODE *node = pending.back();
        pending.pop_back();
        for (; node; node = node->left) {
            holds_MCALL |= node->op == MCALL;
            if (node->op == NAME && node->u.sym && node->u.sym->use_count != 0xFFFF) ++node->u.sym->use_count;
            if (node->right) pending.push_back(node->right);
        }
    }
}

// Unlinks the automatic variables without use from the function; they are not written then.
void unlink_unused_locals() {
    const auto is_local = [](const SYMTAB *symbol) {
        return symbol->level == 2 && symbol->sclass == SC_AUTO;
    };
    for (SYMTAB *symbol = currfuninfo->nonscalars; symbol; symbol = symbol->next)
        if (is_local(symbol)) symbol->use_count = 0;
    holds_MCALL = false;
    for_each_statement([](LIST *statement) { count_names(statement->tree); });

    for (SYMTAB **link = &currfuninfo->nonscalars; *link;) {
        SYMTAB *symbol = *link;
        if (is_local(symbol) && symbol->use_count == 0 && !sym_appears_in_EHT(symbol)) *link = symbol->next;
        else link = &symbol->next;
    }
}

// The graph as it goes to the output.
void draw_function() {
    FILE *drawing = open_drawing();
    if (!drawing) {
        fprintf(stderr, "\n>>>> WARNING: The flow graph of %s can't be drawn: %s\n", currfunc->name,
                strerror(errno));
        return;
    }
    view_CFG_graph(drawing);
    fclose(drawing);
}

void write_function() {
    write_func_header();
    fold_ANDBASGs();
    do_early_cross_jumping();
    if (holds_MCALL)
        for_each_statement([](LIST *statement) { statement->tree = remove_implicit_state(statement->tree); });
    do_dd_analysis_for_be();
    simpcfg_if_changed(true, false);
    rotate_loops();
    straighten_traces_in_cfg();
    disclose_vector_operations();
    unsimplify();
    disguise_vector_operations();
    finalize_dd_edges();
    disclose_vector_operations();
    if (draw_switch) draw_function();
    write_func_body();
}

} // namespace

void output_function() {
    // The records of a function lie together, but were last used before those of many others. Asked for at once, they
    // come while its trees are looked at.
    for (const SYMTAB *symbol : currfuninfo->owned_symbols) __builtin_prefetch(symbol);
    validate_deferred();
    unlink_unused_locals();
    combine_asgs_to_memory();
    optimize_SWITCH_cases();
    init_reg_defs();
    allocate_regs();
    elim_dead_assigns(0, 0);
    // A function whose calls are all integrated has no body in the output.
    if (!currfuninfo->has_flag(FUN_is_suppressed)) write_function();

    erase_all();
    currfuninfo = nullptr;
    currfunc = nullptr;
    restore_global_flags();
}

// ---- symbols

namespace {

constexpr uint32_t NEEDED_FUNCTION =
    FUN_is_main | FUN_is_interrupt | FUN_is_anonymous | FUN_is_processed | FUN_is_referenced;

// A definition that nobody can need any more is not emitted: nothing outside may refer to it, and nothing inside does.
bool definition_is_unneeded(SYMTAB *symbol) {
    if (symbol->sclass != SC_EXTDEF && symbol->sclass != SC_STATIC) return false;
    if (symbol->is_function()) {
        bool hidden = no_outside_callers || symbol->sclass == SC_STATIC;
        if (hidden ? symbol->policy == POLICY_ALWAYS : symbol->policy < POLICY_EXTERNAL) return false;
        const FUNINFO *info = find_FUNINFO(symbol);
        return info && info->is_defined && !info->has_flag(NEEDED_FUNCTION);
    }
    bool hidden = symbol->sclass == SC_STATIC && no_outside_writers;
    if (hidden ? symbol->policy == POLICY_ALWAYS : symbol->policy < POLICY_EXTERNAL) return false;
    return !(symbol->cqual & CQ_REFERENCED);
}

void dump_symbol(const SYMTAB *symbol) {
    static const char *const policies[] = {"DEFAULT_C", "ALWAYS", "EXTERNAL", "NEVER"};
    dprintf("%c   %-11.32s %2u\t%4d   %2d  %#6x  %2u %-16s %13s", symbol->init ? '*' : ' ', symbol->name,
            symbol->size, static_cast<int>(symbol->value), symbol->sclass, symbol->cqual, symbol->align,
            symbol->type ? symbol->type->printstr().c_str() : "",
            symbol->policy < 4 ? policies[symbol->policy] : "?");
    dprintf("\t; (%d,%d)\n", symbol->index, static_cast<int>(symbol->option_set));
}

void dump_pragmas(const SYMTAB *symbol) {
    if (!print_debug) return;
    for (const PRAGMA *pragma = symbol->pragmas; pragma; pragma = pragma->next) {
        dprintf("\t#pragma %s", PRAGMA::name(pragma->number));
        for (const std::string &arg : pragma->args) dprintf(" \"%s\"", arg.c_str());
        dprintf("\n");
    }
}

void write_initializer(SYMTAB *symbol) {
    if (!symbol->init) return;
    o_file->if_write_init(symbol);
    for (NODE *&tree : symbol->init->trees) tree = wrtree(insert_mandatory_casts(tree));
}

} // namespace

void finalize_symbols() {
    for (SYMTAB *symbol = global_symbols; symbol; symbol = symbol->next) {
        if (symbol->flags & SF_CLUSTERED) symbol->sclass = symbol->sclass == SC_EXTDEF ? 'm' : 'l';
        revert_symbol_type(symbol);
        if (definition_is_unneeded(symbol)) symbol->policy = POLICY_NEVER;
    }
    dprintf("\f\nGlobal symbols\n-- variable -- size -- offset/class/scqual/aln/stype -- policy;\n");
    for (SYMTAB *symbol = global_symbols; symbol; symbol = symbol->next) {
        dump_symbol(symbol);
        write_initializer(symbol);
        dump_pragmas(symbol);
    }
    interned_stats();
}

// ---- the run

namespace {

// Exceptions end here, one step of the run at a time; passes know none.
template <class STEP> void guarded(STEP step) {
    try {
        step();
    } catch (const std::bad_alloc &) {
        abort_optimizer("ERROR - OUT OF MEMORY");
    } catch (const std::exception &failure) {
        fprintf(stderr, "Exception:  %s\n", failure.what());
        fputs(support_message_text(), stderr);
        exit(1);
    }
}

void init_tables() {
    init_opcode_tables();
    init_target();
    TYPE_PKG::cpu_version = cpu_version;
    init_types();
    init_symbols();
    init_fileopts();
    init_BIF_descriptors();
    init_rules();
    setup_passes(true);
}

void read_and_optimize() {
    if (print_debug) do_DVE_unit_testing();
    user_error_count = 0;
    guarded([] { i_file->if_read_file(); });
    if (functions.empty()) guarded(analyze_global_symbols);
    else guarded(run_schedule);
    guarded(finalize_symbols);
    report_pass_times();
    report_rule_stats();
    report_simp_again();
}

} // namespace

int optimizer_main(int argc, char **argv) {
    guarded([&] { open_files(argc, argv); });
    guarded(init_tables);
    if (parser_switch) guarded([] { parse_md_file(nullptr); });
    else read_and_optimize();
    guarded(close_files);
    delete tp;
    tp = nullptr;
    return 0;
}
