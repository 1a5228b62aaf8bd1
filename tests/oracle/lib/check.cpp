#include "tests/oracle/lib/check.h"

#include <csignal>
#include <cstring>
#include <ctime>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "OPT5/infix.h"
#include "OPT5/rules.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treecheck.h"
#include "OPT5/treewalk.h"
#include "tests/oracle/lib/environments.h"
#include "typepkg/type_pkg.h"

ORACLE_COUNTS oracle_counts;

namespace {

constexpr int SECONDS_FOR_A_TREE = 60;

std::string typed_text(const NODE *tree) {
    return tree ? tree2infix(tree) + "   [" + type2text(tree->type) + "]" : "nothing";
}

// --- a rewriter that hangs ---

std::string text_under_way;
void out_of_time(int) {
    static const char message[] = "the rewriter does not return; the tree was\n";
    if (write(2, message, sizeof message - 1) < 0 ||
        write(2, text_under_way.data(), text_under_way.size()) < 0)
        _exit(3);
    _exit(3);
}

clock_t time_spent; // by the last rewriting, of this process alone
NODE *rewrite_in_time(NODE *tree, const REWRITER &rewriter, const CHECK &check) {
    text_under_way = typed_text(tree) + "\n" + repeat_command(check.seed) + "\n";
    signal(SIGALRM, out_of_time);
    alarm(SECONDS_FOR_A_TREE);
    clock_t begin = clock();
    NODE *result = rewriter(tree);
    time_spent = clock() - begin;
    alarm(0);
    return result;
}

// --- comparing two runs ---

bool same_float(uint64_t a, uint64_t b, VK k) {
    if (a == b) return true;
    auto nan = [&](uint64_t v) {
        return k == VK::f32 ? (v & 0x7FFFFFFF) > 0x7F800000 : (v & ~(1ull << 63)) > 0x7FF0000000000000ull;
    };
    return nan(a) && nan(b);
}

bool truth(uint64_t v, VK k) {
    if (!vk_is_float(k)) return v != 0;
    return k == VK::f32 ? (v & 0x7FFFFFFF) != 0 : (v & ~(1ull << 63)) != 0;
}

std::string value_difference(const RESULT &a, const RESULT &b, const CHECK &check) {
    bool same = true;
    unsigned ignored = 0;
    switch (check.compare) {
    case COMPARE::EFFECT: return "";
    case COMPARE::VALUE:
        if (a.kind == VK::none) return "";
        if (vk_is_float(a.kind) || vk_is_float(b.kind))
            same = a.kind == b.kind && same_float(a.value, b.value, a.kind);
        else same = a.value == b.value || (!check.keep_type && vk_cut(b.value, a.kind) == a.value);
        break;
    case COMPARE::TRUTH: same = truth(a.value, a.kind) == truth(b.value, b.kind); break;
    case COMPARE::NEGATE: same = b.value == !truth(a.value, a.kind); break;
    case COMPARE::BOOL: same = b.value == truth(a.value, a.kind); break;
    case COMPARE::MASK:
        same = ((a.value ^ vk_convert(b.value, b.kind, a.kind, &ignored)) & check.mask) == 0;
        break;
    }
    if (same) return "";
    return "value " + vk_text(a.value, a.kind) + " before, " + vk_text(b.value, b.kind) + " after";
}

// "" when the second run is as good as the first. Nothing is asked of an environment in which the tree has no defined
// meaning; then *undefined is set.
std::string difference(const RESULT &a, const RESULT &b, const CHECK &check, bool *undefined) {
    bool wraps = check.wraps || oracle_options.wraps;
    *undefined = (a.undefined & (wraps ? unsigned(UNDEF_CONVERT) : ~0u)) != 0 ||
                 (a.trap != TRAP::none && a.trap != TRAP::assertion && !check.traps);
    if (*undefined) return "";
    static const char *const traps[] = {"none", "division by zero", "access outside of objects", "illegal",
                                        "a false assertion"};
    if (a.trap != b.trap)
        return std::string("trap ") + traps[int(a.trap)] + " before, " + traps[int(b.trap)] + " after";
    if (a.trap != TRAP::none) return ""; // a trap may move within its statement
    if (a.events != b.events)
        return "events before: " + events_text(a.events) + "; after: " + events_text(b.events);
    return value_difference(a, b, check);
}

std::string memory_difference(const std::vector<uint8_t> &initial, const RESULT &a, const CODE &ca,
                              const RESULT &b, const CODE &cb) {
    if (!ca.writes && !cb.writes) return "";
    const std::vector<uint8_t> &x = ca.writes ? a.memory : initial, &y = cb.writes ? b.memory : initial;
    if (x == y) return "";
    ORACLE_WORLD &w = world();
    for (const auto &s : w.symbols) {
        auto place = w.layout.places.find(s.get());
        if (place == w.layout.places.end()) continue;
        size_t at = place->second - LAYOUT::BASE, bytes = size_t(s->type->size / 8);
        if (memcmp(x.data() + at, y.data() + at, bytes) != 0) {
            VK k = value_kind(s->type);
            if (vk_is_float(k) &&
                same_float(load_bytes(x, place->second, k), load_bytes(y, place->second, k), k))
                continue;
            std::string text = std::string("memory differs at ") + s->name;
            if (k != VK::none)
                text += ": " + vk_text(load_bytes(x, place->second, k), k) + " before, " +
                        vk_text(load_bytes(y, place->second, k), k) + " after";
            return text;
        }
    }
    return "";
}

// --- one check ---

struct FAILURE {
    std::string error;       // "" : none
    std::string environment; // "" : it is not about values
    std::string after, rules;
};

std::string rules_between(const std::vector<unsigned long> &before) {
    std::string s;
    size_t k = 0;
    for (const REWRITE_RULE &r : all_rules()) {
        if (k < before.size() && r.fired != before[k]) s += "    " + std::string(r.text) + "\n";
        k++;
    }
    return s;
}

// Node for node, so that nothing is left to compare by running.
bool same_tree(const NODE *a, const NODE *b) {
    walk_stack<const NODE *> todo;
    todo.push(a), todo.push(b);
    while (!todo.empty()) {
        const NODE *y = todo.pop(), *x = todo.pop();
        if (!x && !y) continue;
        if (!x || !y || x->op != y->op || x->type != y->type || x->op == SCON) return false;
        if (x->op == FCON ? !f_bit_eq(x->u.fval, y->u.fval)
                          : x->u.lval != y->u.lval || x->u.rval != y->u.rval || x->payload != y->payload)
            return false;
        todo.push(x->left), todo.push(y->left);
        todo.push(x->right), todo.push(y->right);
    }
    return true;
}

// Which values the two pieces of code give, over all environments.
void compare_runs(const CODE &before, const CODE &after, const CHECK &check, FAILURE &f) {
    ENVIRONMENTS e(before, check.seed, check.samples, check.enumerate_bits);
    RESULT a, b;
    for (uint64_t n = 0; e.next(); n++) {
        uint64_t seed = check.seed + n;
        e.memory.resize(world().layout.size + 8);
        run(before, e.memory, seed, a);
        run(after, e.memory, seed, b);
        oracle_counts.environments++;
        bool undefined = false;
        f.error = difference(a, b, check, &undefined);
        if (undefined) {
            oracle_counts.undefined++;
            continue;
        }
        if (f.error.empty() && a.trap == TRAP::none)
            f.error = memory_difference(e.memory, a, before, b, after);
        if (!f.error.empty()) {
            f.environment = e.text();
            return;
        }
    }
}

std::string structure_error(const NODE *after, size_t nodes_before, const CHECK &check) {
    if (!after) return check.compare == COMPARE::EFFECT ? "" : "the rewriter gave nothing";
    if (const char *error = tree_shape_error(after)) return std::string("not well formed: ") + error;
    node_census census;
    if (census.add(after)) return "a node has two parents";
    size_t alive = nodes_in_use() - nodes_before, in_tree = 0;
    for_each_node(after, [&](const NODE *) { in_tree++; });
    if (alive > in_tree) return std::to_string(alive - in_tree) + " nodes were lost";
    if (alive < in_tree) return "more nodes in the tree than are alive";
    return "";
}

// `tree` stays. With `code` the translation of it.
FAILURE judge(const NODE *tree, const REWRITER &rewriter, const CHECK &check) {
    FAILURE f;
    LAYOUT &layout = world().layout;
    CODE before = translate(tree, layout);
    if (!before.refused.empty()) {
        oracle_counts.skipped++;
        return f;
    }
    size_t nodes = nodes_in_use(), size = 0;
    for_each_node(tree, [&](const NODE *) { size++; });
    std::vector<unsigned long> fired;
    for (const REWRITE_RULE &r : all_rules()) fired.push_back(r.fired);
    unsigned long firings = rules_fired, allowed = check.firings ? check.firings : 50 * size + 1000;
    NODE *after = rewrite_in_time(copy_tree(tree), rewriter, check);
    f.error = structure_error(after, nodes, check);
    f.after = typed_text(after);
    if (!f.error.empty()) { // such a tree can't be handled any further, and is left lying
        f.rules = rules_between(fired);
        return f;
    }
    if (rules_fired - firings > allowed)
        f.error = std::to_string(rules_fired - firings) + " firings of rules for " + std::to_string(size) +
                  " nodes";
    double allowed_seconds = 0.1 + 1e-4 * double(size);
    if (f.error.empty() && double(time_spent) / CLOCKS_PER_SEC > allowed_seconds)
        f.error =
            std::to_string(time_spent * 1000 / CLOCKS_PER_SEC) + " ms for " + std::to_string(size) + " nodes";
    CODE code = translate(after, layout);
    if (f.error.empty() && !code.refused.empty()) f.error = "the result has " + code.refused;
    bool unchanged = after && same_tree(tree, after);
    bool value_mode = check.compare == COMPARE::VALUE;
    if (f.error.empty() && !(unchanged && value_mode)) compare_runs(before, code, check, f);
    if (!f.error.empty()) f.rules = rules_between(fired);
    if (!unchanged) oracle_counts.changed++;
    if (f.error.empty() && check.twice && after && !(unchanged && value_mode)) {
        NODE *again = rewrite_in_time(copy_tree(after), rewriter, check);
        size_t of_after = 0;
        for_each_node(after, [&](const NODE *) { of_after++; });
        f.error = structure_error(again, nodes + of_after, check);
        if (f.error.empty()) {
            if (!same_tree(after, again)) {
                oracle_counts.not_idempotent++;
                CODE second = translate(again, layout);
                CHECK same = check;
                if (check.compare == COMPARE::BOOL || check.compare == COMPARE::NEGATE)
                    same.compare = COMPARE::VALUE;
                if (check.compare == COMPARE::BOOL || check.compare == COMPARE::NEGATE)
                    compare_runs(code, second, same, f);
                else compare_runs(before, second, check, f);
            }
            if (!f.error.empty()) {
                f.error += " (rewritten twice)";
                f.after += "\n   then " + typed_text(again);
                f.rules = rules_between(fired);
            }
            erase_tree(again);
        }
    }
    erase_tree(after);
    return f;
}

// --- cutting down ---

// The places of a tree that hold a value, which may give way to another tree of the type. A place that is an
// lvalue, a payload or part of a statement's shape is none.
std::vector<NODE **> value_slots(NODE **root) {
    std::vector<NODE **> slots;
    walk_tree_slots(*root, [&](NODE *&n) {
        slots.push_back(&n);
        switch (n->op) {
        case UAND:
        case ARGREF:
        case STDOT: return WALK_OVER;
        case STREF: return WALK_LEFT;
        default: return WALK_INTO;
        }
    });
    std::vector<NODE **> good;
    for (NODE **slot : slots) {
        VK k = value_kind((*slot)->type);
        int op = (*slot)->op;
        if (k == VK::none || op == COLON || op == FIELD || op == LABEL || op == COMMA) continue;
        good.push_back(slot);
    }
    return good;
}

bool is_written(NODE *root, const NODE *slot) {
    return find_node(root,
                     [&](const NODE *n) { return side_effects[n->op] == SE_WRITES_LEFT && n->left == slot; });
}

std::vector<NODE *> smaller_trees(const NODE *n) {
    std::vector<NODE *> v;
    TYPE *type = n->type->dtype;
    for (const NODE *child : {n->left, n->right}) {
        if (!child) continue;
        std::vector<const NODE *> parts = {child};
        if (child->op == COLON) parts = {child->left, child->right};
        for (const NODE *part : parts)
            if (value_kind(part->type) != VK::none && (type->is_ptr() == part->type->is_ptr()))
                v.push_back(t_convert(type, copy_tree(part)));
    }
    if (type->is_ptr()) return v;
    if (n->op != NAME && n->op != ICON && n->op != FCON) {
        bool known = false;
        for (const SCALAR &s : world().scalars) known = known || s.type == type;
        if (known) v.push_back(mk_NAME(world().variable("x", type)));
    }
    if (!type->is_fltpt() && n->op != ICON) v.push_back(t_icon(1, type)), v.push_back(t_icon(0, type));
    if (n->op == ICON && !n->u.lval.is_zero()) {
        v.push_back(t_icon(0, type));
        if (n->u.lval != INT65(1)) v.push_back(t_icon(1, type));
        if (n->u.lval > INT65(8)) v.push_back(mk_ICON(n->u.lval >> 1, type));
    }
    return v;
}

// Gives the least tree found that still fails, and its failure. Takes the tree.
NODE *cut_down(NODE *tree, const std::function<FAILURE(const NODE *)> &test, FAILURE &failure) {
    int budget = 3000;
    for (bool progress = true; progress && budget > 0;) {
        progress = false;
        size_t n = value_slots(&tree).size();
        for (size_t k = 0; k < n && !progress; k++) {
            std::vector<NODE **> slots = value_slots(&tree);
            NODE **slot = slots[k];
            if (is_written(tree, *slot)) continue;
            std::vector<NODE *> candidates = smaller_trees(*slot);
            for (NODE *candidate : candidates) {
                if (progress || budget-- <= 0) {
                    erase_tree(candidate);
                    continue;
                }
                NODE *old = *slot;
                *slot = candidate;
                FAILURE f = tree_shape_error(tree) ? FAILURE{} : test(tree);
                if (f.error.empty()) {
                    *slot = old;
                    erase_tree(candidate);
                } else {
                    failure = f;
                    erase_tree(old);
                    progress = true;
                }
            }
        }
    }
    return tree;
}

std::string report(const NODE *tree, const FAILURE &f, const CHECK &check) {
    std::string s = f.error + "\n   tree " + typed_text(tree);
    if (!f.after.empty()) s += "\n  after " + f.after;
    if (!f.environment.empty()) s += "\n   with " + f.environment;
    if (!f.rules.empty()) s += "\n  rules\n" + f.rules;
    else s += "\n";
    return s + " repeat " + repeat_command(check.seed) + "\n";
}

} // namespace

std::string check_rewrite(NODE *tree, const REWRITER &rewriter, const CHECK &check) {
    oracle_counts.trees++;
    FAILURE f = judge(tree, rewriter, check);
    std::string text;
    if (!f.error.empty()) {
        std::string original = typed_text(tree);
        if (check.shrink) {
            CHECK smaller = check;
            tree = cut_down(
                tree, [&](const NODE *t) { return judge(t, rewriter, smaller); }, f);
        }
        text = report(tree, f, check);
        if (typed_text(tree) != original) text += " first found in " + original + "\n";
    }
    erase_tree(tree);
    return text;
}

std::string check_property(NODE *tree, const PROPERTY &property, const CHECK &check) {
    oracle_counts.trees++;
    auto test = [&](const NODE *t) {
        FAILURE f;
        f.error = property(t, &f.environment);
        return f;
    };
    FAILURE f = test(tree);
    std::string text;
    if (!f.error.empty()) {
        if (check.shrink) tree = cut_down(tree, test, f);
        text = report(tree, f, check);
    }
    erase_tree(tree);
    return text;
}
