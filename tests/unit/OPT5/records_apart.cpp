// Records taken apart, results constructed in place, narrow variables widened: random straight-line programs are run
// before and after and must leave the same memory behind; each precondition is broken once.
#include "tests/unit/OPT5/program.h"

#include "OPT5/cfg.h"
#include "OPT5/seqtrees.h"
#include "OPT5/symexplode.h"
#include "OPT5/symwiden.h"
#include "OPT5/treewalk.h"

#include <cstring>
#include <map>
#include <random>

namespace {

// Runs statements over byte arrays, one for each symbol. A pointer holds the number of a symbol and a byte offset.
struct machine {
    std::map<const SYMTAB *, std::vector<uint8_t>> memory;
    std::vector<const SYMTAB *> numbers;

    struct place {
        const SYMTAB *symbol;
        uint64_t bit;
        unsigned width; // bits
    };

    uint8_t *bytes(const SYMTAB *s) {
        std::vector<uint8_t> &m = memory[s];
        if (m.empty()) m.resize(s->size / 8 + 8, 0xCD);
        return m.data();
    }
    int64_t load(const place &p, const TYPE *type) {
        uint64_t raw;
        memcpy(&raw, bytes(p.symbol) + p.bit / 8, 8);
        raw >>= p.bit % 8;
        return cut(int64_t(raw), p.width, type);
    }
    void store(const place &p, int64_t value) {
        uint64_t raw, mask = (p.width == 64 ? ~0ull : (1ull << p.width) - 1) << p.bit % 8;
        memcpy(&raw, bytes(p.symbol) + p.bit / 8, 8);
        raw = (raw & ~mask) | (uint64_t(value) << p.bit % 8 & mask);
        memcpy(bytes(p.symbol) + p.bit / 8, &raw, 8);
    }
    static int64_t cut(int64_t value, unsigned width, const TYPE *type) {
        if (width >= 64) return value;
        uint64_t low = uint64_t(value) << (64 - width);
        return type->is_unsigned() || type->is_ptr() ? int64_t(low >> (64 - width))
                                                     : int64_t(low) >> (64 - width);
    }
    place lvalue(const NODE *n) {
        switch (n->op) {
        case NAME: return {n->u.sym, 0, unsigned(n->type->size)};
        case STDOT: {
            place p = lvalue(n->left);
            return {p.symbol, p.bit + uint64_t(n->right->member->offset),
                    unsigned(n->right->member->width())};
        }
        case UMULT: {
            int64_t address = value(n->left);
            return {numbers.at(size_t(address >> 16)), uint64_t(address & 0xFFFF) * 8,
                    unsigned(n->type->size)};
        }
        default: ADD_FAILURE() << "no lvalue: " << node_operator_name[n->op]; return {nullptr, 0, 0};
        }
    }
    int64_t value(const NODE *n) {
        switch (n->op) {
        case ICON: return n->u.lval.to_int64();
        case NAME:
        case STDOT:
        case UMULT: return load(lvalue(n), n->type);
        case PLUS: return cut(value(n->left) + value(n->right), unsigned(n->type->size), n->type);
        case SCONV:
        case PCONV: return cut(value(n->left), unsigned(n->type->size), n->type);
        case UAND: {
            place p = lvalue(n->left);
            numbers.push_back(p.symbol);
            return int64_t(numbers.size() - 1) << 16 | int64_t(p.bit / 8);
        }
        case ASG: {
            place p = lvalue(n->left);
            store(p, value(n->right));
            return load(p, n->type);
        }
        default: ADD_FAILURE() << "no value: " << node_operator_name[n->op]; return 0;
        }
    }
    void execute(const NODE *n) {
        if (n->op == PCOMMA) {
            execute(n->left);
            execute(n->right);
        } else if (n->op == STASG) {
            place to = lvalue(n->left), from = lvalue(n->right);
            EXPECT_EQ(n->left->type->size, n->right->type->size);
            memmove(bytes(to.symbol) + to.bit / 8, bytes(from.symbol) + from.bit / 8,
                    n->left->type->size / 8);
        } else if (n->op != URETURN && n->op != NASSERT) {
            value(n);
        }
    }
    // The contents of the observed symbols after the statements.
    std::vector<std::vector<uint8_t>> run(BBLK *bb, const std::vector<SYMTAB *> &observed,
                                          const SYMTAB *input) {
        for (size_t k = 0; input && k < input->size / 8; k++) bytes(input)[k] = uint8_t(k * 37 + 11);
        for (LIST *l = bb->statements; l; l = l->next) execute(l->tree);
        std::vector<std::vector<uint8_t>> result;
        for (SYMTAB *s : observed) result.push_back({bytes(s), bytes(s) + s->size / 8});
        return result;
    }
};

struct records_apart : program {
    BBLK *block = nullptr;
    LIST **tail = nullptr;
    TYPE *inner = nullptr, *record = nullptr;
    // x: int, n: unsigned char, in: {lo, hi: short}, b: 5 bits, a: int[2], q: pointer, k: const int, v: volatile int
    std::map<std::string, fkMDATA *> m;

    records_apart() {
        inner = tp->mk_struct("inner", 32, 16, false);
        m["lo"] = inner->add_mdata("lo", sh, 0);
        m["hi"] = inner->add_mdata("hi", sh, 16);
        tp->type_frozen(inner);
        record = tp->mk_struct("record", 288, 32, false);
        m["x"] = record->add_mdata("x", i, 0);
        m["n"] = record->add_mdata("n", uc, 32);
        m["in"] = record->add_mdata("in", inner, 64);
        m["b"] = record->add_bitfield("b", u, 96, 5);
        m["a"] = record->add_mdata("a", tp->mk_array(i, false, 2), 128);
        m["q"] = record->add_mdata("q", tp->mk_ptr(i), 192);
        m["k"] = record->add_mdata("k", tp->mk_qual(i, QUAL_const), 224);
        m["v"] = record->add_mdata("v", tp->mk_qual(i, QUAL_volatile), 256);
        tp->type_frozen(record);
    }
    void begin() {
        options.setopt(OO_OPT_LEVEL, 39);
        begin_function("f");
        block = f->bb_list = mkbblock(nullptr, nullptr, f);
        tail = &block->statements;
    }
    void state(NODE *tree) {
        *tail = mkelist(tree, nullptr, nullptr);
        tail = &(*tail)->next;
    }
    NODE *dot(NODE *base, const char *member) {
        fkMDATA *data = m.at(member);
        NODE *field = new_node(FIELD, data->type);
        field->mk_field(1, data, base->type);
        return maketree(STDOT, base, field, data->type->normalized(), nullptr);
    }
    NODE *as_int(NODE *n) { return n->type == i ? n : maketree(SCONV, n, nullptr, i, nullptr); }
    NODE *set(NODE *lvalue, NODE *value) {
        TYPE *type = lvalue->type->is_qual() ? lvalue->type->stqs() : lvalue->type;
        if (value->type != type) value = maketree(SCONV, value, nullptr, type, nullptr);
        return mk_ASG(lvalue, value);
    }
    NODE *parts(SYMTAB *s, unsigned choice) {
        switch (choice % 4) {
        case 0: return dot(name(s), "x");
        case 1: return dot(name(s), "n");
        case 2: return dot(dot(name(s), "in"), "hi");
        default: return dot(dot(name(s), "in"), "lo");
        }
    }
    bool exploded(SYMTAB *s) {
        for (SYMTAB *chain : {f->nonscalars, f->symbols})
            for (SYMTAB *t = chain; t; t = t->next)
                if (t == s) return false;
        for (LIST *l = block->statements; l; l = l->next)
            EXPECT_EQ(find_node(l->tree,
                                [s](NODE *n) { return n->u.sym == s && (n->op == NAME || n->op == STASG); }),
                      nullptr);
        return true;
    }
    int count_statements() {
        int n = 0;
        for (LIST *l = block->statements; l; l = l->next) n++;
        return n;
    }
};

} // namespace

TEST_F(records_apart, random_programs_compute_the_same) {
    std::mt19937 random;
    int apart = 0, whole = 0;
    SYMTAB *out = global("out", tp->mk_array(i, false, 4)), *all = global("all", record),
           *ptr = global("ptr", i);
    TYPE *out_record = tp->mk_struct("out_record", 128, 32, false);
    for (const char *name : {"o0", "o1", "o2", "o3"})
        m[name] = out_record->add_mdata(name, i, (name[1] - '0') * 32);
    tp->type_frozen(out_record);
    SYMTAB *results = global("results", out_record);
    for (unsigned seed = 1; seed <= 600; seed++) {
        random.seed(seed);
        begin();
        SYMTAB *parm = symbol("p", record, SC_PARM, 1), *p = local("p", record);
        std::vector<SYMTAB *> records = {p, local("r", record), local("s", record), local("t", record)};
        SYMTAB *x = symbol("w", i, SC_REG_PARM, 1), *w = local("w", i);
        state(maketree(PCOMMA, mk_ASG(name(w), name(x)), mk_ASG(name(p), name(parm)), v, nullptr));
        f->first_statement = copy_tree(block->statements->tree);
        auto pick = [&] { return records[random() % 4]; };
        for (SYMTAB *s : records)
            for (unsigned k = 0; k < 4; k++)
                if (s != p || random() % 2) state(set(parts(s, k), icon(int(random() % 1000))));
        for (int n = 0; n < 12; n++) {
            switch (random() % 24) {
            case 0: state(mk_ASG(name(pick()), name(pick()))); break;
            case 1: state(mk_ASG(name(all), name(pick()))); break;
            case 2:
                state(set(name(ptr), maketree(UMULT, mk_UAND(dot(name(pick()), "x")), nullptr, i, nullptr)));
                break;
            case 3: state(set(dot(name(pick()), "b"), as_int(name(w)))); break;
            default:
                state(set(parts(pick(), random()),
                          plus(as_int(parts(pick(), random())), as_int(parts(pick(), random())))));
            }
        }
        for (unsigned k = 0; k < 4; k++)
            state(set(dot(name(results), ("o" + std::to_string(k)).c_str()), as_int(parts(records[k], k))));
        auto before = machine().run(block, {results, all, ptr}, parm);
        explode_auto_struct_vars();
        auto after = machine().run(block, {results, all, ptr}, parm);
        ASSERT_EQ(before, after) << "seed " << seed;
        for (SYMTAB *s : records) (exploded(s) ? apart : whole)++;
    }
    EXPECT_GT(apart, 300);
    EXPECT_GT(whole, 300);
    (void)out;
}

TEST_F(records_apart, what_keeps_a_record_whole) {
    const struct {
        const char *what;
        bool apart;
    } rows[] = {
        {"members", true},          {"whole copy to", false},   {"whole copy from", false},
        {"address of it", false},   {"address in it", false},   {"as an argument", false},
        {"bit-field", false},       {"array member", false},    {"inner whole", false},
        {"volatile member", false}, {"volatile record", false}, {"union", false},
        {"exception table", false}, {"setjmp", false},          {"other type", false},
        {"const member", true},     {"in-out argument", false},
    };
    TYPE *either = tp->mk_union("either", 32, 32, false);
    m["as_int"] = either->add_mdata("as_int", i, 0);
    m["as_short"] = either->add_mdata("as_short", sh, 0);
    tp->type_frozen(either);
    SYMTAB *g = global("g", record), *callee = global("callee", function_type(v)),
           *number = global("number", i);
    SYMTAB *jump = global("setjmp", function_type(i));
    for (const auto &row : rows) {
        std::string what = row.what;
        begin();
        TYPE *type = what == "union"             ? either
                     : what == "volatile record" ? tp->mk_qual(record, QUAL_volatile)
                                                 : record;
        SYMTAB *s = local("s", type);
        const char *x = what == "union" ? "as_int" : "x";
        state(set(dot(name(s), x), icon(1)));
        state(set(name(number), dot(name(s), x)));
        if (what == "whole copy to") state(mk_ASG(name(s), name(g)));
        if (what == "whole copy from") state(mk_ASG(name(g), name(s)));
        if (what == "address of it") state(mk_UAND(name(s)));
        if (what == "address in it") state(mk_UAND(dot(name(s), "x")));
        if (what == "as an argument") state(maketree(CALL, mk_UAND(name(callee)), name(s), v, nullptr));
        if (what == "bit-field") state(set(dot(name(s), "b"), icon(1, u)));
        if (what == "array member")
            state(maketree(ACONV, dot(name(s), "a"), nullptr, tp->mk_ptr(i), nullptr));
        if (what == "inner whole") state(mk_ASG(dot(name(s), "in"), dot(name(g), "in")));
        if (what == "volatile member") state(set(dot(name(s), "v"), icon(1)));
        if (what == "const member") state(set(dot(name(s), "k"), icon(1)));
        if (what == "in-out argument")
            state(mk_MCALL("_builtin", maketree(ARGREF, dot(name(s), "x"), nullptr, i, nullptr), v));
        if (what == "setjmp") state(maketree(UCALL, mk_UAND(name(jump)), nullptr, i, nullptr));
        if (what == "other type") {
            NODE *n = dot(name(s), "x");
            n->type = tp->basic[BT_float];
            state(n);
        }
        if (what == "exception table") {
            f->eht_size = 1;
            f->eht = new EHT_ENTRY[1];
            f->eht[0].cleanup = mk_UAND(name(s));
        }
        explode_auto_struct_vars();
        EXPECT_EQ(exploded(s), row.apart) << what;
        if (what == "members") {
            EXPECT_EQ(names(f->scalars), "$O$CSU$s$x");
            EXPECT_EQ(f->scalars->scope, s->scope);
        }
        if (what == "const member") {
            for (SYMTAB *t = f->scalars; t; t = t->next)
                EXPECT_FALSE(t->type->is_const()) << "it is assigned";
        }
    }
}

TEST_F(records_apart, copies_of_small_records_become_those_of_their_members) {
    auto make = [&](const char *name, unsigned bits, std::initializer_list<TYPE *> members) {
        TYPE *made = tp->mk_struct(name, bits, 32, false);
        int at = 0;
        for (TYPE *type : members) {
            made->add_mdata(("m" + std::to_string(at)).c_str(), type, at);
            at += int(type->size);
        }
        tp->type_frozen(made);
        return made;
    };
    begin();
    TYPE *pair = make("pair", 64, {i, sh, uc, c}), *gap = make("gap", 64, {i, sh}),
         *many = make("many", 160, {i, i, i, i, i}),
         *fixed = make("fixed", 64, {i, tp->mk_qual(i, QUAL_const)}),
         *seen = make("seen", 64, {i, tp->mk_qual(i, QUAL_volatile)}),
         *lists = make("lists", 64, {tp->mk_array(i, false, 2)});
    TYPE *seen_pair = tp->mk_qual(pair, QUAL_volatile), *fixed_pair = tp->mk_qual(pair, QUAL_const);
    auto two = [&](TYPE *type) { return mk_ASG(name(local("a", type)), name(local("b", type))); };
    const struct {
        const char *what;
        NODE *copy;
        int members; // 0: stays whole
    } rows[] = {
        {"locals", two(pair), 4},
        {"local to global", mk_ASG(name(global("g", pair)), name(local("a", pair))), 4},
        {"constant to local", mk_ASG(name(local("a", pair)), name(global("h", fixed_pair))), 4},
        {"globals", mk_ASG(name(global("k", pair)), name(global("l", pair))), 0},
        {"part of a record", mk_ASG(dot(name(local("r", record)), "in"), name(local("n", inner))), 2},
        {"parameter", mk_ASG(name(local("p", pair)), name(symbol("p", pair, SC_PARM, 1))), 0},
        {"pointer",
         mk_ASG(name(local("a", pair)),
                maketree(UMULT, name(local("q", tp->mk_ptr(pair))), nullptr, pair, nullptr)),
         0},
        {"bits between members", two(gap), 0},
        {"many members", two(many), 0},
        {"const member", two(fixed), 0},
        {"volatile member", two(seen), 0},
        {"array member", two(lists), 0},
        {"volatile", two(seen_pair), 0},
        {"const", two(fixed_pair), 0},
        {"another type", mk_ASG(name(local("a", pair)), name(local("b", fixed))), 0},
    };
    for (const auto &row : rows) {
        NODE *whole = copy_tree(row.copy), *n = convert_STASG_to_asgs(row.copy, 4);
        int members = 0;
        if (n->op == COMMAOP) {
            machine by_members, at_once;
            machine::place from = at_once.lvalue(whole->right), to = at_once.lvalue(whole->left);
            for (unsigned k = 0; k < from.width / 8; k++)
                for (machine *each : {&by_members, &at_once})
                    each->bytes(from.symbol)[from.bit / 8 + k] = uint8_t(k + 1);
            at_once.execute(whole);
            for (NODE *rest = n; rest; rest = rest->op == COMMAOP ? rest->left : nullptr, members++)
                by_members.execute(rest->op == COMMAOP ? rest->right : rest);
            EXPECT_EQ(by_members.memory[to.symbol], at_once.memory[to.symbol]) << row.what;
        }
        EXPECT_EQ(members, row.members) << row.what;
        erase_tree(whole);
        erase_tree(n);
    }
}

TEST_F(records_apart, a_parameter_is_taken_apart_with_its_prolog) {
    for (bool alone : {true, false}) {
        begin();
        SYMTAB *parm = symbol("p", record, SC_PARM, 1), *p = local("p", record);
        SYMTAB *other_parm = symbol("w", i, SC_REG_PARM, 1), *w = local("w", i);
        SYMTAB *out = global("out", i);
        NODE *copy = mk_ASG(name(p), name(parm));
        state(alone ? copy : maketree(PCOMMA, copy, mk_ASG(name(w), name(other_parm)), v, nullptr));
        f->first_statement = copy_tree(block->statements->tree);
        state(set(name(out), plus(dot(name(p), "x"), as_int(dot(dot(name(p), "in"), "hi")))));
        auto before = machine().run(block, {out}, parm);
        explode_auto_struct_vars();
        EXPECT_TRUE(exploded(p));
        EXPECT_EQ(machine().run(block, {out}, parm), before);
        EXPECT_EQ(count_statements(), alone ? 3 : 4);
        if (alone) {
            EXPECT_EQ(f->first_statement, nullptr);
        } else {
            EXPECT_EQ(block->statements->tree->op, ASG) << "the rest of the prolog stays in front";
            EXPECT_EQ(f->first_statement->op, ASG);
        }
    }
}

TEST_F(records_apart, a_result_is_constructed_in_place_when_nothing_can_tell) {
    const struct {
        const char *what;
        bool in_place;
    } rows[] = {
        {"plain", true},         {"two exits", true},        {"another local", false},
        {"pointer used", false}, {"no copy", false},         {"volatile local", false},
        {"static", false},       {"exception table", false}, {"over-aligned", false},
        {"no pointer", false},
    };
    TYPE *pointer = tp->mk_qual(tp->mk_ptr(record), QUAL_const);
    SYMTAB *fixed = global("fixed", record, SC_STATIC), *seen = global("seen", i);
    for (const auto &row : rows) {
        std::string what = row.what;
        begin();
        SYMTAB *result = symbol("result", pointer, SC_REG_PARM, 1);
        if (what != "no pointer") f->const_pointer_parm = result;
        TYPE *type = what == "volatile local" ? tp->mk_qual(record, QUAL_volatile) : record;
        SYMTAB *s = what == "static" ? fixed : local("s", type), *t = local("t", record);
        if (what == "over-aligned") s->align = 64;
        auto object = [&] { return maketree(UMULT, name(result), nullptr, record, nullptr); };
        auto leave = [&](SYMTAB *from) {
            if (what != "no copy")
                state(mk_ASG(object(), maketree(UMULT, mk_UAND(name(from)), nullptr, from->type, nullptr)));
            state(maketree(URETURN, name(currfunc), nullptr, v, nullptr));
        };
        state(maketree(NASSERT, maketree(NEQ, name(result), icon(0), i, nullptr), nullptr, v, nullptr));
        state(set(dot(name(s), "x"), icon(5)));
        state(set(maketree(UMULT, mk_UAND(dot(name(s), "x")), nullptr, i, nullptr), icon(6)));
        if (what == "pointer used") state(set(name(seen), dot(object(), "x")));
        leave(s);
        if (what == "two exits" || what == "another local") {
            block->dflink = mkbblock(nullptr, nullptr, f);
            tail = &block->dflink->statements;
            leave(what == "two exits" ? s : t);
        }
        if (what == "exception table") {
            f->eht_size = 1;
            f->eht = new EHT_ENTRY[1];
            f->eht[0].cleanup = mk_UAND(name(s));
        }
        // The result pointer leads to an object of the caller.
        auto run = [&] {
            machine vm;
            vm.numbers.push_back(fixed);
            memset(vm.bytes(result), 0, 4);
            return vm.run(block, {fixed}, nullptr)[0];
        };
        std::vector<uint8_t> before = run();
        int statements = count_statements();
        subst_csu_returning_temp_for_local_var();
        EXPECT_EQ(count_statements() < statements, row.in_place) << what;
        if (what != "static") { EXPECT_EQ(exploded(s), row.in_place) << what; }
        if (row.in_place) {
            std::vector<uint8_t> after = run();
            EXPECT_EQ(after[0], before[0]) << "x of the result";
        }
    }
}

TEST_F(records_apart, widened_variables_hold_what_the_narrow_ones_did) {
    std::mt19937 random;
    int widened = 0, kept = 0;
    SYMTAB *out = global("out", i), *wide = global("wide", u);
    for (unsigned seed = 1; seed <= 400; seed++) {
        random.seed(seed);
        begin();
        std::vector<SYMTAB *> vars = {local("c", c), local("uc", uc), local("sh", sh), local("w", i)};
        auto pick = [&] { return vars[random() % 4]; };
        for (SYMTAB *s : vars) state(set(name(s), icon(int(random()))));
        for (int n = 0; n < 10; n++) {
            NODE *sum = plus(as_int(name(pick())), as_int(name(pick())));
            if (random() % 4 == 0) sum = plus(sum, as_int(set(name(pick()), icon(int(random())))));
            if (random() % 8 == 0) sum = as_int(maketree(SCONV, sum, nullptr, uc, nullptr));
            state(set(name(pick()), sum));
        }
        if (random() % 4 == 0) state(mk_UAND(name(vars[0])));
        for (SYMTAB *s : vars) state(set(name(out), plus(plus(name(out), name(out)), as_int(name(s)))));
        state(set(name(wide), name(vars[0])));
        auto before = machine().run(block, {out, wide}, nullptr);
        std::vector<TYPE *> types = {c, uc, sh, i};
        widen_user_variables();
        ASSERT_EQ(machine().run(block, {out, wide}, nullptr), before) << "seed " << seed;
        for (int n = 0; n < 3; n++) {
            WIDENED *entry = find_widened_symbol_entry(vars[size_t(n)]);
            EXPECT_EQ(entry != nullptr, vars[size_t(n)]->type == i);
            if (entry) { EXPECT_EQ(entry->type, types[size_t(n)]); }
            (entry ? widened : kept)++;
        }
    }
    EXPECT_GT(widened, 500);
    EXPECT_GT(kept, 50);
}

TEST_F(records_apart, bits_that_a_range_leaves_open) {
    begin();
    for (auto [type, limits] : {std::pair(c, std::pair(-128, 127)), std::pair(uc, std::pair(0, 255))}) {
        for (int low = limits.first; low <= limits.second; low += 7) {
            for (int high = low; high <= limits.second; high += 11) {
                SYMTAB *s = local("s", i);
                WIDENED *w = make_widened_symbol_entry(s, type, INT65(low), INT65(high));
                int ones = -1, zeros = 0;
                for (int value = low; value <= high; value++) ones &= value, zeros |= value;
                // A bound of the truth, exact above the highest bit in which the ends differ.
                EXPECT_EQ((w->known_ones & ~INT65(ones)), INT65(0)) << low << " " << high;
                EXPECT_EQ((INT65(zeros) & ~w->known_zeros), INT65(0)) << low << " " << high;
                if (low == high) {
                    EXPECT_EQ(w->known_ones, INT65(low));
                    EXPECT_EQ(w->known_zeros, INT65(low));
                }
            }
        }
    }
    SYMTAB *s = local("s", i);
    make_shortened_symbol_entry(s, uc);
    WIDENED *w = find_shortened_symbol_entry(s);
    EXPECT_EQ(w->known_zeros, INT65(255));
    EXPECT_EQ(w->known_ones, INT65(0));
    EXPECT_EQ(make_shortened_symbol_entry(s, d), nullptr);
    EXPECT_EQ(find_widened_symbol_entry(s), nullptr);
    erase_widened_entries(f);
    EXPECT_EQ(find_shortened_symbol_entry(s), nullptr);
}
