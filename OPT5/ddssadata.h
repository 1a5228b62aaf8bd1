// Data flow on SSA form: definitions without use, recurrences, induction variables.
//
// Not active yet: leaves the function as it is.
#pragma once

// Removes definitions that nothing needs.
void eliminate_dead_SSA_assignments();
