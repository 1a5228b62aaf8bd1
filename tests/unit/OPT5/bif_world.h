// What tests of built-ins share: the table of descriptors, plain models in C of what the operations compute, and an
// evaluator that knows calls, conditionals and assignments. Trees are compared by what they evaluate to.
#pragma once

#include "OPT5/bif.h"
#include "OPT5/bifbounds.h"
#include "OPT5/flags.h"
#include "OPT5/icalls.h"
#include "OPT5/icmult.h"
#include "OPT5/icternary.h"
#include "options/opttable.h"
#include "tests/unit/OPT5/bif_models.h"
#include "tests/unit/OPT5/trees_world.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

// Values where 16-bit and 32-bit arithmetic turns over.
inline const std::vector<int64_t> turning_points = {
    0,      1,       2,       3,       255,        0x4000,     0x7FFF,      0x8000,
    0x8001, 0xFFFF,  0x10000, 0x10001, 0x7FFF0000, 0x7FFFFFFF, -1,          -2,
    -3,     -0x7FFF, -0x8000, -0x8001, -0x10000,   -0x10001,   -0x7FFFFFFF, -0x80000000LL};

struct bif_world : trees_world {
    option_obj options;
    TYPE *sht, *usht;

    bif_world() {
        sht = sh;
        usht = tp->basic[IK_ushort];
        all_option_sets = {&options};
        file_options = &options;
        cpu_version = 6;
        init_BIF_descriptors();
    }
    ~bif_world() override {
        all_option_sets.clear();
        file_options = nullptr;
        cpu_version = 0;
    }
    // The table for another target.
    void retarget(long silicon, int version) {
        options.setopt(OO_SILICON_VERSION, silicon);
        cpu_version = version;
        init_BIF_descriptors();
    }
    bool exists(const char *name) { return find_BIF_descriptor(name) != nullptr; }

    NODE *ICALL_of(const char *name, std::initializer_list<NODE *> operands, TYPE *type = nullptr) {
        return mk_ICALL(name, args(operands), type ? type : i);
    }

    // Reads of volatile variables and assignments, in the order in which they happen.
    std::vector<std::string> trace;
    // What the tree evaluates to, as a number of its type.
    INT65 run(const NODE *n);
};

inline INT65 bif_world::run(const NODE *n) {
    if (n->op == NAME && n->type->is_volatile()) trace.push_back(n->u.sym->name);
    if (n->op == ICON || n->op == NAME) return *eval(n);
    auto of_type = [n](INT65 v) { return truncate_to_type(v, n->type); };
    switch (n->op) {
    case ASG: {
        INT65 v = truncate_to_type(run(n->right), n->left->type);
        trace.push_back(n->left->u.sym->name);
        return values[n->left->u.sym] = v;
    }
    case COMMAOP: run(n->left); return run(n->right);
    case QUEST: return of_type(run(run(n->left).is_zero() ? n->right->right : n->right->left));
    case ABS: {
        INT65 v = run(n->left);
        return of_type(v.is_negative() ? -v : v);
    }
    case ICALL: {
        const MODEL *model = find_model(n->u.icall);
        std::vector<int64_t> o;
        for (NODE *operand : arg_list_args(n->left)) o.push_back(run(operand).to_int64());
        if (!model) ADD_FAILURE() << "no model of " << n->u.icall;
        return model ? of_type(INT65(static_cast<long long>(model->f(o.data())))) : INT65(0);
    }
    }
    // An operator of numbers, whose operands are evaluated here; arithmetic converts them to its own type.
    NODE *with_values = copy_node(n);
    bool converts = !boolean_result[n->op] && n->type->is_integral();
    auto operand = [&](NODE *x, bool is_count) {
        return mk_ICON(run(x), converts && !is_count ? n->type->dtype : x->type->dtype);
    };
    with_values->left = operand(n->left, false);
    if (n->right) with_values->right = operand(n->right, n->op == SLL || n->op == SRL);
    std::optional<INT65> v = eval(with_values);
    erase_tree(with_values);
    EXPECT_TRUE(v.has_value()) << opname(n->op);
    return v.value_or(INT65(0));
}
