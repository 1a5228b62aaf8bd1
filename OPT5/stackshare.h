// Stack sharing: variables of blocks that are never open at the same time take the same place on the stack.
//
// The variables of a function that need memory (arrays, records, scalars whose address is taken) are sorted into a
// tree of sharing scopes that mirrors the lexical scopes. Where a scope has several subscopes with variables, these
// are laid over each other: one union with a struct for each of them becomes the type of one temporary, and each
// NAME of such a variable becomes a path of STDOTs into it.
//
// What makes that sound:
// - A variable takes part only if each statement that names it lies in its block, and if within each flow block the
//   statements of its block stand together; what passes moved or merged keeps its own place. Not taken: variables in
//   the exception table, const or volatile ones, parameters, temporaries.
// - Passes tell accesses through pointers apart by type and by restrict. So only variables of one type (the element's,
//   for an array) share a place, each type with a temporary of its own, and nothing is shared in a function with
//   restricted pointers. That the program has a union from then on is made known.
// - After setjmp a block may be entered again from behind its end: nothing is shared then.
//
// The first four operations build the tree and are also what finds variables that must stay (a tree of the exception
// table names them). Blocks nested deeper than MAX_SHARING_LEVEL, and unions deeper than MAX_NESTED_UNIONS, are not
// looked at: it keeps walks along the nesting and the types short.
#pragma once

#include "OPT5/fwd.h"

#include <cstdint>

// Empties the tree. Scopes are opened and closed like blocks; `id` is the number in names and dumps.
void init_stack_sharing();
void begin_stack_sharing_scope(int id);
void end_stack_sharing_scope();
void add_stack_sharing_variable(SYMTAB *);    // to the open scope
void delete_stack_sharing_variable(SYMTAB *); // it keeps its own place; any symbol may be given

// The pass, for the current function.
void share_stack_space();

// A record (or array of records) of at most `max_members` members that are all plain scalars, no bit-fields: it will
// be taken apart into variables. False for other types.
bool csu_type_has_only_simple_scalar_members(TYPE *, int max_members);

constexpr int MAX_SHARING_LEVEL = 256;
constexpr int MAX_NESTED_UNIONS = 8;
struct STACK_SHARING_COUNTS {
    unsigned variables = 0;  // that were moved into a temporary
    unsigned too_deep = 0;   // variables of blocks below MAX_SHARING_LEVEL
    unsigned flattened = 0;  // scopes whose subscopes were laid side by side because of MAX_NESTED_UNIONS
    uint64_t saved_bits = 0; // size of the variables less that of the temporaries
};
extern STACK_SHARING_COUNTS stack_sharing_counts; // over the whole run
