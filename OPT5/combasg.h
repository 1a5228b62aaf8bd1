// Assignments inside expressions and neighbouring assignments to memory.
//
// combine_asgs_to_memory joins stores to adjoining places; the promotion makes a statement of each assignment that
// is buried in an expression, so that passes meet assignments at the root only.
//
// Not active yet: leaves the function as it is.
#pragma once

// Joins adjoining stores of the current function.
void combine_asgs_to_memory();

// Makes embedded assignments of the current function statements of their own.
void promote_all_embedded_assignments();
