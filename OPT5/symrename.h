// Renaming: independent live ranges of a variable become variables of their own, and induction variables that run
// alike become one.
//
// Not active yet: leaves the function as it is.
#pragma once

// Splits the variables of the current function.
void rename_symbols();

// Merges the induction variables of the current function.
void merge_symbols();
