// Stack sharing: what is laid over what, and each reason for a variable to keep a place of its own.
#include "tests/unit/OPT5/program.h"

#include "OPT5/cfg.h"
#include "OPT5/read.h"
#include "OPT5/restrict.h"
#include "OPT5/stackshare.h"
#include "OPT5/treewalk.h"

#include <map>
#include <random>
#include <set>

namespace {

struct stack_sharing : program {
    BBLK *block = nullptr;
    LIST **tail = nullptr;
    std::vector<SYMTAB *> variables;

    void begin() {
        begin_function("f");
        block = f->bb_list = mkbblock(nullptr, nullptr, f);
        tail = &block->statements;
    }
    void open() { LS_open(nullptr, nullptr, 0); }
    void close() { LS_close(nullptr, nullptr, 0); }
    void next_block() {
        block->dflink = mkbblock(nullptr, nullptr, f);
        block = block->dflink;
        tail = &block->statements;
    }
    void state(NODE *tree) {
        LS_assign_scope_to_tree(curr_scope, tree);
        *tail = mkelist(tree, nullptr, nullptr);
        tail = &(*tail)->next;
    }
    // A variable of the open block with a statement that takes its address.
    SYMTAB *variable(const char *name, TYPE *type) {
        SYMTAB *s = local(name, type, curr_scope);
        variables.push_back(s);
        use(s);
        return s;
    }
    void use(SYMTAB *s) { state(mk_UAND(name(s))); }
    TYPE *array(TYPE *element, int count) { return tp->mk_array(element, false, unsigned(count)); }

    // Where each variable ended up: the temporary and the bit offset, from the statements.
    struct PLACE {
        SYMTAB *temporary;
        uint64_t offset, size;
        bool overlaps(const PLACE &other) const {
            return temporary == other.temporary && offset < other.offset + other.size &&
                   other.offset < offset + size;
        }
    };
    std::map<std::string, PLACE> run() {
        std::set<const SYMTAB *> before;
        for (SYMTAB *s : f->owned_symbols) before.insert(s);
        share_stack_space();
        std::map<std::string, PLACE> places;
        for (BBLK *bb = f->bb_list; bb; bb = bb->dflink) {
            for (LIST *l = bb->statements; l; l = l->next) {
                for_each_node(l->tree, [&](NODE *n) {
                    if (n->op == NAME) {
                        EXPECT_TRUE(n->u.sym->level == 0 || before.count(n->u.sym))
                            << "a path was not seen from its top";
                        return WALK_INTO;
                    }
                    if (n->op != STDOT) return WALK_INTO;
                    std::string member = n->right->member->name;
                    uint64_t offset = 0, size = n->type->size;
                    EXPECT_EQ(size, n->right->member->type->size);
                    for (; n->op == STDOT; n = n->left) {
                        EXPECT_EQ(n->right->u.csu->dtype, n->left->type->dtype);
                        offset += uint64_t(n->right->member->offset);
                    }
                    EXPECT_LE(offset + size, n->u.sym->size);
                    places[member.substr(member.find('$') + 1)] = {n->u.sym, offset, size};
                    return WALK_OVER;
                });
            }
        }
        return places;
    }
    // Names of the variables that were moved, in alphabetical order.
    std::string moved() {
        std::string text;
        for (auto &entry : run()) text += entry.first + " ";
        return text;
    }
    void two_blocks(TYPE *type) {
        begin();
        open();
        variable("a", type);
        close();
        open();
        variable("b", type);
        close();
    }
};

} // namespace

TEST_F(stack_sharing, variables_overlap_only_if_their_blocks_exclude_each_other_and_their_types_agree) {
    std::mt19937 random;
    unsigned shared = 0;
    for (unsigned seed = 1; seed <= 300; seed++) {
        random.seed(seed);
        begin();
        variables.clear();
        TYPE *elements[] = {i, c, d};
        int depth = 0, count = 0;
        for (unsigned n = 0; n < 5 + seed % 60; n++) {
            switch (random() % 4) {
            case 0:
                open();
                depth++;
                break;
            case 1:
                if (depth) close(), depth--;
                break;
            default:
                variable(("v" + std::to_string(count++)).c_str(),
                         array(elements[random() % 3], 1 + int(random() % 9)));
            }
        }
        std::map<std::string, PLACE> places = run();
        uint64_t moved_bits = 0, temporary_bits = 0;
        std::set<SYMTAB *> temporaries;
        for (auto &[name, place] : places) {
            moved_bits += place.size;
            temporaries.insert(place.temporary);
        }
        for (SYMTAB *t : temporaries) temporary_bits += t->size;
        for (SYMTAB *s : variables) {
            auto place = places.find(s->name);
            if (place == places.end()) continue;
            EXPECT_EQ(place->second.size, s->size);
            EXPECT_EQ(place->second.offset % std::max(32u, s->align), 0u);
            for (SYMTAB *t : variables) {
                auto other = places.find(t->name);
                if (t == s || other == places.end() || !place->second.overlaps(other->second)) continue;
                shared++;
                EXPECT_FALSE(s->scope->encloses(t->scope) || t->scope->encloses(s->scope))
                    << seed << s->name << t->name;
                EXPECT_EQ(s->type->elem_type(), t->type->elem_type()) << seed;
            }
        }
        std::string left = names(f->nonscalars) + " " + names(f->symbols);
        for (SYMTAB *s : variables)
            EXPECT_EQ((" " + left + " ").find(" " + std::string(s->name) + " ") == std::string::npos,
                      places.count(s->name) != 0);
        LS_validate(f->scopes);
    }
    EXPECT_GT(shared, 1000u) << "the random programs must have something to share";
}

TEST_F(stack_sharing, the_temporary_is_as_large_as_its_largest_block) {
    begin();
    variable("outside", array(i, 100));
    open();
    variable("a", array(i, 10));
    open();
    variable("a1", array(i, 5));
    close();
    open();
    variable("a2", array(i, 7));
    close();
    close();
    open();
    variable("b", array(i, 12));
    close();
    std::map<std::string, PLACE> places = run();
    ASSERT_EQ(places.size(), 4u);
    EXPECT_EQ(places["a"].temporary->size, 17u * 32);
    EXPECT_TRUE(places["a1"].overlaps(places["a2"]));
    EXPECT_STREQ(places["a"].temporary->name, "$O$O1");
    EXPECT_EQ(places["a"].temporary->type->name(), std::string("U3_1"));
    EXPECT_TRUE(input_has_union);
    EXPECT_EQ(names(f->nonscalars), "$O$O1 outside");
}

TEST_F(stack_sharing, what_must_keep_its_own_place) {
    TYPE *ints = array(i, 4);
    TYPE *small = tp->mk_struct("small", 0, 32, false);
    small->size = 64;
    small->add_mdata("x", i, 0);
    small->add_mdata("y", i, 32);
    tp->type_frozen(small);
    const struct {
        const char *what;
        TYPE *type;
        const char *moved;
    } rows[] = {
        {"arrays", ints, "a b "},
        {"scalars whose address is taken", i, "a b "},
        {"records whose address is taken", small, "a b "},
        {"volatile", tp->mk_qual(ints, QUAL_volatile), ""},
        {"const", tp->mk_qual(ints, QUAL_const), ""},
        {"vectors", tp->mk_vector(i, 4), ""},
        {"complex", tp->mk_complex(i), ""},
    };
    for (const auto &row : rows) {
        two_blocks(row.type);
        EXPECT_EQ(moved(), row.moved) << row.what;
    }

    auto without_address = [&](TYPE *type) {
        begin();
        for (const char *name : {"a", "b"}) {
            open();
            SYMTAB *s = local(name, type, curr_scope);
            state(this->name(s));
            close();
        }
        return moved();
    };
    EXPECT_EQ(without_address(i), "") << "a register serves better";
    EXPECT_EQ(without_address(small), "") << "it is taken apart later";
    EXPECT_EQ(without_address(array(small, 3)), "");
    EXPECT_EQ(without_address(ints), "a b ");

    two_blocks(ints);
    use(variables[variables.size() - 2]); // a statement of the outer block names it: a pass brought it there
    EXPECT_EQ(moved(), "");

    two_blocks(ints);
    f->eht_size = 2;
    f->eht = new EHT_ENTRY[2];
    f->eht[1].cleanup = mk_UAND(name(variables.back()));
    EXPECT_EQ(moved(), "");

    two_blocks(ints);
    find_or_make_PTR_entry(local("r", tp->mk_qual(tp->mk_ptr(i), QUAL_restrict)));
    EXPECT_EQ(moved(), "") << "restricted pointers are taken to reach different memory";

    two_blocks(ints);
    state(maketree(UCALL, mk_UAND(name(global("_setjmp", function_type(i)))), nullptr, i, nullptr));
    EXPECT_EQ(moved(), "");

    begin();
    open();
    variable("a", ints);
    open();
    variable("b", ints);
    EXPECT_EQ(moved(), "") << "both are live";
}

TEST_F(stack_sharing, blocks_that_were_merged_do_not_share) {
    TYPE *ints = array(i, 4);
    const struct {
        const char *order; // statements of the blocks a and b, and of x inside of a; '|' begins a flow block
        const char *moved;
    } rows[] = {
        {"aabb", "a b x "}, {"ab|ab", "a b x "}, {"axaxb", "a b "}, {"axb", "a b x "},
        {"aba", ""},        {"axba", ""},        {"axbx", ""},      {"ab|ba", "a b x "},
    };
    for (const auto &row : rows) {
        begin();
        open();
        LS *sa = curr_scope;
        SYMTAB *a = local("a", ints, sa);
        open();
        LS *sx = curr_scope;
        SYMTAB *x = local("x", ints, sx);
        close();
        close();
        open();
        LS *sb = curr_scope;
        SYMTAB *b = local("b", ints, sb);
        close();
        for (const char *p = row.order; *p; p++) {
            if (*p == '|') {
                next_block();
                continue;
            }
            curr_scope = *p == 'a' ? sa : *p == 'b' ? sb : sx;
            use(*p == 'a' ? a : *p == 'b' ? b : x);
        }
        // Each variable that is meant to move must be seen in a statement.
        next_block();
        for (auto [s, scope] : {std::pair(a, sa), std::pair(x, sx), std::pair(b, sb)}) {
            curr_scope = scope;
            next_block();
            use(s);
        }
        EXPECT_EQ(moved(), row.moved) << row.order;
    }
}

TEST_F(stack_sharing, deep_blocks_and_many_variables_take_linear_time) {
    begin();
    for (int n = 0; n < 20000; n++) {
        open();
        variable(("d" + std::to_string(n)).c_str(), array(i, 2));
    }
    for (int n = 0; n < 20000; n++) close();
    for (int n = 0; n < 20000; n++) {
        open();
        variable(("w" + std::to_string(n)).c_str(), array(i, 2));
        close();
    }
    std::map<std::string, PLACE> places = run();
    EXPECT_EQ(places.size(), 20000u + MAX_SHARING_LEVEL - 2);
    delete f->scopes;
    f->scopes = nullptr;
}
