// Numbering of the subexpressions of a function: equal expressions get one number, the triple, which indexes all
// global sets.
//
// Not active yet: there are no triples.
#pragma once

// Numbers the expressions of the current function, and makes the sets of its blocks.
void annotate_cfg();
