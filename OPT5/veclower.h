// Vector operations that the target lacks become ones that it has, or scalar ones.
//
// Not active yet: leaves the function as it is.
#pragma once

// Lowers the statements of the current function.
void lower_vector_statements();

// Joins local vectors that always go together.
void coalesce_local_vector_symbols();
