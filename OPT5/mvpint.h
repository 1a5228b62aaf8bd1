// Metavalue propagation of integers: ranges, strides and value sets through SSA form.
//
// Not active yet: do_int_MVP stays off.
#pragma once

// Whether integer metavalues are propagated; a step that finds the function unfit clears it.
extern bool do_int_MVP;

// Folds what the metavalues of the current function prove; it must be in SSA form.
void do_integer_value_propagation();
