// Tables of patterns for the rules of the simplifier.
//
// A row has a text in the notation of tests/oracle/lib/notation.h, the integer types over which it runs, and, if
// wanted, a part of the text of the rule that it is there for. When that rule never fires, because another one came first
// or the text is wrong, the row has gone stale: it is named, and is a failure under --stale. Rows without a rule's name are for shapes that must stay right, the ones that a careless rule
// would break first among them.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "tests/oracle/lib/check.h"
#include "tests/oracle/lib/notation.h"

enum ROW_TYPES : unsigned {
    T_I8 = 1,
    T_U8 = 2,
    T_I16 = 4,
    T_U16 = 8,
    T_I32 = 16,
    T_U32 = 32,
    T_I64 = 64,
    T_U64 = 128,
    T_F32 = 256,
    T_F64 = 512,
    T_SIGNED = T_I8 | T_I16 | T_I32 | T_I64,
    T_UNSIGNED = T_U8 | T_U16 | T_U32 | T_U64,
    T_ALL = T_SIGNED | T_UNSIGNED,
    T_WORD = T_I32 | T_U32,
    T_FLOATS = T_F32 | T_F64,
};

struct oracle_row {
    const char *text;
    const char *rule = nullptr; // a part of the rule's text, or null
    unsigned types = T_ALL;
    COMPARE compare = COMPARE::VALUE;
};

// Runs each row over its types with several choices of constants, through `rewriter`; reports failures to GoogleTest.
void run_rows(const std::vector<oracle_row> &rows, const REWRITER &rewriter, int trees_for_each = 12);
// The same through simp_tree.
void run_rows(const std::vector<oracle_row> &rows, int trees_for_each = 12);
// Random trees of a size through a rewriter; `generator` makes one for a random state.
void run_random(const char *what, int trees, const std::function<NODE *(RANDOM &)> &generator,
                const REWRITER &rewriter, const CHECK &check = {});
// The same with another judge, which takes the tree.
void run_random_trees(const char *what, int trees, const std::function<NODE *(RANDOM &)> &generator,
                      const std::function<std::string(NODE *, const CHECK &)> &judge,
                      const CHECK &check = {});
