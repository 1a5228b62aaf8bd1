// The late form's own list of passes, run at two places of the pipeline: early, before the first propagation, and
// late, behind everything else.
//
// A function is converted to the late form, the passes of the list run over it, and it is converted back. Not
// active yet: leaves the function as it is.
#pragma once

// The list named "early"; with SSA form under use_llvm() or "enable:lirssa".
void run_early_LIR();

// The list named "late".
void run_late_LIR();
