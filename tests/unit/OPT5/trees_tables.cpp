// The opcode tables: against the file's table, and the relations against what they mean.
#include "OPT5/optab.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

struct tables : testing::Test {
    tables() { init_opcode_tables(); }
};

bool holds(int op, double a, double b) {
    bool unordered = std::isnan(a) || std::isnan(b);
    switch (op) {
    case FEQ: return a == b;
    case FLT: return a < b;
    case FLE: return a <= b;
    case FGT: return a > b;
    case FGE: return a >= b;
    case FNEQ: return !unordered && a != b;
    case FORD: return !unordered;
    case FUNO: return unordered;
    case FEQN: return unordered || a == b;
    case FLTN: return !(a >= b);
    case FLEN: return !(a > b);
    case FGTN: return !(a <= b);
    case FGEN: return !(a < b);
    case FNEQN: return a != b;
    }
    ADD_FAILURE() << op;
    return false;
}

bool holds(int op, int a, int b) {
    unsigned x = static_cast<unsigned>(a), y = static_cast<unsigned>(b);
    switch (op) {
    case EQ: return a == b;
    case NEQ: return a != b;
    case LE: return a <= b;
    case LT: return a < b;
    case GE: return a >= b;
    case GT: return a > b;
    case ULE: return x <= y;
    case ULT: return x < y;
    case UGE: return x >= y;
    case UGT: return x > y;
    }
    ADD_FAILURE() << op;
    return false;
}

const double relation_samples[4][2] = {{1, 1}, {1, 2}, {2, 1}, {NAN, 1}}; // equal, less, greater, unordered
const uint8_t relation_bits[4] = {MICRO_E, MICRO_L, MICRO_G, MICRO_U};

} // namespace

TEST_F(tables, every_opcode_of_the_tree_form_and_no_other) {
    int count = 0, without_count = 0;
    for (int op = 0; op < N_OPCODES; op++) {
        count += op_is_defined(op);
        if (op_is_defined(op) && number_of_operands[op] == NO_OPERAND_COUNT) without_count++;
        if (!op_is_defined(op)) {
            EXPECT_EQ(number_of_operands[op], NO_OPERAND_COUNT) << op;
            EXPECT_EQ(side_effects[op], SE_ANYTHING) << "an unknown opcode may do anything: " << op;
        }
        EXPECT_EQ(strlen(opname(op)), 8u) << op;
    }
    EXPECT_EQ(count, 174);
    EXPECT_EQ(without_count, 2) << "DFG_SSV and ILLOP";
    EXPECT_FALSE(op_is_defined(EPVAL)) << "exists in files only";
    EXPECT_FALSE(op_is_defined(-1));
    EXPECT_FALSE(op_is_defined(N_OPCODES));
    EXPECT_STREQ(opname(LABEL), "LABELREF");
    EXPECT_STREQ(opname(PLUS), "+       ");
    EXPECT_EQ(strlen(opname(1000)), 8u);
}

TEST_F(tables, a_difference_from_the_files_table_ends_the_run) {
    auto corrupt = [](int id, auto change) {
        change(if_node_info[id]);
        init_opcode_tables();
    };
    const char *message = "INTERNAL ERROR: if_node_info\\[\\] mismatch";
    EXPECT_EXIT(corrupt(PLUS, [](IF_NODE_INFO &r) { r.arity = 1; }), testing::ExitedWithCode(1), message);
    EXPECT_EXIT(corrupt(UMINUS, [](IF_NODE_INFO &r) { r.name = "MINUS"; }), testing::ExitedWithCode(1),
                message);
    EXPECT_EXIT(corrupt(FUNO, [](IF_NODE_INFO &r) { r.id = 0; }), testing::ExitedWithCode(1), message);
    EXPECT_EXIT(corrupt(VREG, [](IF_NODE_INFO &r) { r.name = nullptr; }), testing::ExitedWithCode(1),
                message);
    init_opcode_tables(); // unharmed here
}

TEST_F(tables, assignment_operators_and_back) {
    int count = 0;
    for (int op = 0; op < N_OPCODES; op++) {
        if (op_of_opASG[op] == ILLOP) continue;
        count++;
        EXPECT_EQ(opASG_of_op[op_of_opASG[op]], op);
        EXPECT_EQ(side_effects[op], SE_WRITES_LEFT);
        // the long form is named without the ending
        EXPECT_EQ(std::string(node_operator_name[op_of_opASG[op]]) + "ASG", node_operator_name[op]);
    }
    EXPECT_EQ(count, 10);
}

TEST_F(tables, relations_are_their_own_reverse) {
    for (int op = 0; op < N_OPCODES; op++) {
        if (boolean_inv[op] != ILLOP) {
            EXPECT_EQ(boolean_inv[boolean_inv[op]], op) << opname(op);
            EXPECT_TRUE(boolean_result[op]) << opname(op);
        }
        if (op != ILLOP && commute_inv[op] != ILLOP) {
            EXPECT_EQ(commute_inv[commute_inv[op]], op) << opname(op);
            EXPECT_EQ(number_of_operands[op], 2) << opname(op);
        }
    }
    EXPECT_FALSE(op_is_commutative(ILLOP));
    EXPECT_FALSE(op_is_commutative(MINUS));
}

TEST_F(tables, integer_comparisons_negated_and_exchanged) {
    for (int op = EQ; op <= UGT; op++)
        for (int a : {-2, -1, 0, 1, 2})
            for (int b : {-2, -1, 0, 1, 2}) {
                EXPECT_NE(holds(op, a, b), holds(boolean_inv[op], a, b)) << opname(op);
                EXPECT_EQ(holds(op, a, b), holds(commute_inv[op], b, a)) << opname(op);
            }
}

TEST_F(tables, float_comparisons_are_their_sets_of_relations) {
    for (int op = FEQ; op <= FUNO; op++)
        for (int s = 0; s < 4; s++) {
            double a = relation_samples[s][0], b = relation_samples[s][1];
            EXPECT_EQ(holds(op, a, b), (float_op_to_micro_ops[op] & relation_bits[s]) != 0)
                << opname(op) << s;
            EXPECT_NE(holds(op, a, b), holds(boolean_inv[op], a, b)) << opname(op) << s;
            EXPECT_EQ(holds(op, a, b), holds(commute_inv[op], b, a)) << opname(op) << s;
        }
    // so the meeting and the joining of two comparisons are & and | of their sets
    for (int x = FEQ; x <= FUNO; x++)
        for (int y = FEQ; y <= FUNO; y++) {
            int both = float_op_to_micro_ops[x] & float_op_to_micro_ops[y];
            if (both == 0) continue;
            int op = float_micro_ops_to_op[both];
            ASSERT_NE(op, ILLOP);
            for (auto [a, b] : relation_samples) EXPECT_EQ(holds(op, a, b), holds(x, a, b) && holds(y, a, b));
        }
    EXPECT_EQ(float_micro_ops_to_op[0], ILLOP);
    EXPECT_EQ(float_micro_ops_to_op[15], ILLOP);
}
