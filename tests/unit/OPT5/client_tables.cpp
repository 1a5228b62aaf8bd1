// Exception tables as they shrink, and the loop and dependence records of a function.
#include "OPT5/cfg.h"
#include "OPT5/eht.h"
#include "OPT5/files.h"
#include "OPT5/writeloop.h"
#include "tests/unit/OPT5/trees_world.h"
#include "tests/unit/ifile/if_testing.h"

#include <random>
#include <set>

namespace {

// A function whose one block holds calls that name entries of its table.
struct client_tables : trees_world {
    FUNINFO info;
    SYMTAB *f;
    BBLK *bb;

    client_tables() {
        f = function("f");
        currfunc = f;
        currfuninfo = &info;
        bb = mkbblock(nullptr, nullptr, &info);
        info.bb_list = bb;
    }
    ~client_tables() override {
        erase_table();
        info.bb_list = nullptr;
        erase_bblock(bb);
        release_dead_labels(&info);
        currfunc = nullptr;
    }
    void erase_table() {
        for (unsigned k = 1; k < info.eht_size; k++) erase_tree(static_cast<NODE *>(info.eht[k].cleanup));
        delete[] info.eht;
    }
    NODE *call_of(unsigned entry) {
        NODE *n = call(f, nullptr);
        n->i_eht_id = entry;
        return n;
    }
    struct ENTRY {
        EHT_ENTRY_KIND kind;
        unsigned next;
        unsigned cleanup_names = 0; // the entry that the call in its tree names
    };
    void make(std::vector<ENTRY> entries, std::vector<unsigned> calls) {
        erase_table();
        info.eht_size = unsigned(entries.size()) + 1;
        info.eht = new EHT_ENTRY[info.eht_size];
        for (unsigned k = 1; k < info.eht_size; k++) {
            EHT_ENTRY &e = info.eht[k];
            e.id = k, e.kind = entries[k - 1].kind, e.next = entries[k - 1].next;
            if (e.kind == EHK_CLEANUP) e.cleanup = call_of(entries[k - 1].cleanup_names);
        }
        erase_tree_list(bb->statements);
        bb->statements = nullptr;
        for (size_t k = calls.size(); k--;)
            bb->statements = mkelist(call_of(calls[k]), bb->statements, nullptr);
    }
    // "1:root>0 2:catch>1 | 2": the table, then what the calls name
    std::string shown() const {
        static const char *const names[] = {"root", "cleanup", "catch", "end", "catchend", "terminate"};
        std::string s;
        for (unsigned k = 1; k < info.eht_size; k++)
            s += std::to_string(info.eht[k].id) + ":" + names[info.eht[k].kind] + ">" +
                 std::to_string(info.eht[k].next) + " ";
        s += "|";
        for (LIST *l = bb->statements; l; l = l->next) s += " " + std::to_string(l->tree->i_eht_id);
        return s;
    }
};

TEST_F(client_tables, entries_that_no_call_needs_go) {
    struct {
        std::vector<ENTRY> entries;
        std::vector<unsigned> calls;
        const char *after;
    } rows[] = {
        {{{EHK_ROOT, 0}}, {}, "1:root>0 |"},
        {{{EHK_ROOT, 0}, {EHK_CLEANUP, 1}}, {0}, "1:root>0 | 0"},
        {{{EHK_ROOT, 0}, {EHK_CLEANUP, 1}}, {2}, "1:root>0 2:cleanup>1 | 2"},
        // what follows a needed entry is needed
        {{{EHK_ROOT, 0}, {EHK_CLEANUP, 1}, {EHK_CATCH, 2}, {EHK_CLEANUP, 1}},
         {3},
         "1:root>0 2:cleanup>1 3:catch>2 | 3"},
        // an end is skipped, by calls and by other entries, unless a cleanup leads to it
        {{{EHK_ROOT, 0}, {EHK_CLEANUP_END, 4}, {EHK_CATCH, 2}, {EHK_THROW_TERMINATE, 1}},
         {2, 3},
         "1:root>0 2:catch>3 3:terminate>1 | 3 2"},
        {{{EHK_ROOT, 0}, {EHK_CLEANUP_END, 1}, {EHK_CLEANUP, 2}},
         {3, 2},
         "1:root>0 2:end>1 3:cleanup>2 | 3 2"},
        {{{EHK_ROOT, 0}, {EHK_CLEANUP_END, 3}, {EHK_CLEANUP_END, 1}}, {2}, "1:root>0 | 1"},
        // the calls of a needed cleanup count, those of another do not
        {{{EHK_ROOT, 0}, {EHK_CATCH, 1}, {EHK_CLEANUP, 1, 2}, {EHK_CATCH, 1}, {EHK_CLEANUP, 1, 4}},
         {3},
         "1:root>0 2:catch>1 3:cleanup>1 | 3"},
    };
    for (auto &row : rows) {
        make(row.entries, row.calls);
        std::string before = shown();
        prune_eht();
        EXPECT_EQ(shown(), row.after) << "from " << before;
        prune_eht();
        EXPECT_EQ(shown(), row.after) << "the second time, from " << before;
    }
}

TEST_F(client_tables, long_tables_are_pruned_in_one_go) {
    constexpr unsigned N = 300000;
    std::vector<ENTRY> entries{{EHK_ROOT, 0}};
    for (unsigned k = 2; k <= N; k++) entries.push_back({k % 2 ? EHK_CLEANUP_END : EHK_CATCH, k - 1});
    std::vector<unsigned> calls;
    for (unsigned k = 1; k <= N; k += 3) calls.push_back(k);
    make(entries, calls);
    prune_eht();
    EXPECT_EQ(info.eht_size, N / 2 + 1); // no call names the last catch
    for (unsigned k = 1; k < info.eht_size; k++) EXPECT_EQ(info.eht[k].next, k - 1);
}

TEST_F(client_tables, catches_take_the_labels_of_their_cases) {
    make({{EHK_ROOT, 0}, {EHK_CATCH, 1}, {EHK_CATCH, 2}}, {});
    info.eht[2].catches = {{"A", 10, false}, {"B", 20, false}};
    info.eht[3].catches = {{"C", 10, false}};
    LBL *first = bb->labels = mklabel(5, nullptr, bb), *second = first->next = mklabel(10, nullptr, bb);
    first->refcount = second->refcount = 1;
    auto a_case = [&](int value, LBL *label) {
        NODE *ref = new NODE(LABEL, tp->void_type());
        ref->label = label;
        return B(CASE, I(value), ref, tp->void_type());
    };
    NODE *cases = args({a_case(10, first), a_case(20, second)});
    update_eht_labels(cases, true);
    EXPECT_EQ(info.eht[2].catches[0].label, -5);
    EXPECT_EQ(info.eht[2].catches[1].label, -10); // the new 10 is not taken for the old one
    EXPECT_EQ(info.eht[3].catches[0].label, -5);
    erase_tree(cases);
}

// --- loops and dependences ---

// What a function's records are when `write` adds to them.
std::string records(TYPE_PKG &pkg, const std::function<void()> &write) {
    T_SYM f;
    f.name = "_f";
    f.type = pkg.mk_func(pkg.void_type(), std::vector<TYPE *>());
    return written(pkg, [&](I_FILE &file) {
        file.if_enter_global(&f);
        o_file = &file;
        file.if_write_begin_func(&f, nullptr);
        write();
        file.if_write_control(I_EA, nullptr);
        file.if_write_end_locals(nullptr);
        file.if_write_end_func(nullptr);
        o_file = nullptr;
    });
}

std::string log_between(const std::string &bytes) {
    T_READ read(bytes);
    std::string &log = read.client.log;
    size_t from = log.find("begin_func");
    from = log.find('\n', from) + 1;
    return log.substr(from, log.find("end_args") - from);
}

TEST_F(client_tables, elements_of_dependence_vectors) {
    struct {
        DD_ELEMENT element;
        int flags, distance;
    } rows[] = {
        {{}, 0, 0},
        {{.same = true}, 1 | 4, 0},
        {{.fwd = 1}, 1 | 8, 1},
        {{.fwd = 1u << 31}, 1 | 8, 32},
        {{.bwd = 4}, 1 | 2, -3},
        {{.fwd = 12}, 1 | 8, 3}, // the least of several
        {{.bwd = 12}, 2, 0},
        {{.fwd = 2, .same = true}, 4 | 8, 0},
        {{.fwd = 2, .bwd = 2}, 2 | 8, 0},
        {{.fwd = ~0u, .overflow_high = true}, 1 | 8 | 16, 1},
        {{.overflow_high = true}, 1 | 8 | 16, 33},
        {{.overflow_low = true}, 2 | 16, 0},
        {{.fwd = ~0u, .bwd = ~0u, .overflow_high = true, .overflow_low = true, .same = true},
         2 | 4 | 8 | 16,
         0},
    };
    for (auto &row : rows) {
        uint8_t flags;
        int8_t distance;
        encode_dd_element(row.element, flags, distance);
        EXPECT_EQ(int(flags), row.flags);
        EXPECT_EQ(int(distance), row.distance);
    }
}

using client_records = client_tables;

TEST_F(client_records, loops_stand_behind_those_that_hold_them) {
    LOOP_RECORD inner{.number = 3, .trip_min = 10, .trip_max = 4, .trip_factor = 0};
    LOOP_RECORD outer{
        .number = 2, .flags = 0x100 | 0x20, .trip_min = 5, .trip_factor = 4, .subloops = {inner}};
    LOOP_RECORD other{.number = 4, .trip_factor = -3};
    LOOP_RECORD all{.number = 1, .is_pseudo = true, .trip_min = 9, .subloops = {outer, other}};
    std::string bytes = records(package, [&] { write_loop_icode(all); });
    tp = nullptr;
    EXPECT_EQ(log_between(bytes), "loop 1 in 1: 1..1 by 1 flags 0\n"
                                  "loop 2 in 1: 1..4294967295 by 1 flags 20\n"
                                  "loop 3 in 2: 10..10 by 1 flags 0\n"
                                  "loop 4 in 1: 1..4294967295 by 1 flags 0\n");
}

TEST_F(client_records, equal_vectors_share_a_record_and_edges_of_vanished_references_go) {
    auto reference = [&](unsigned id) {
        NODE *n = U(DDNODE, N("x"), i);
        n->rare().dval = new DDREC;
        n->dval()->id = id;
        return n;
    };
    NODE *condition = maketree(IF, reference(7), args({reference(9), I(1)}), tp->void_type(), nullptr);
    bb->statements = mkelist(B(ASG, N("y"), B(PLUS, reference(1), reference(2))),
                             mkelist(condition, nullptr, nullptr), nullptr);
    DD_VECTOR exact{.elements = {{.same = true}, {.fwd = 2}}}, flagged = exact, empty;
    flagged.not_all_same = true;
    std::string bytes = records(package, [&] {
        write_dd_edges({{1, 2, exact}, {2, 1, flagged}, {1, 7, exact}, {1, 9, empty}, {8, 1, empty}}, 4);
        finalize_dd_edges();
        finalize_dd_edges(); // nothing is left
    });
    tp = nullptr;
    EXPECT_EQ(log_between(bytes), "vector 0 flags 0 5/0 9/2\n"
                                  "vector 1 flags 8 5/0 9/2\n"
                                  "vector 2 flags 4\n"
                                  "edge 1 to 2 by 0\nedge 2 to 1 by 1\nedge 1 to 7 by 0\n");
}

} // namespace
