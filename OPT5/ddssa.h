// SSA form: every use of a variable gets one definition, named in the trees themselves.
//
// SSA_USE, SSA_DEF, SSA_PHI, SSA_MU and SSA_CHI nodes decorate the statements; passes on SSA form read the
// decorations and the trees together. A pass builds the form, works, and takes it back (OPT5/ddssaout), so that no
// other pass meets it.
//
// Not active yet: no form is built.
#pragma once

// Whether the trees of the current function are decorated.
extern bool function_is_in_SSA_form;

// The form outlives the pass that built it.
extern bool keep_SSA_form;

// Builds the form for the current function; false when it is not fit for it.
bool construct_SSA_form(int keep_names, int with_memory, int scalars_only);
