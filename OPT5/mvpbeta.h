// The form of OPT5/beta that takes its values from interprocedural metavalues.
//
// Not active yet: leaves the function as it is.
#pragma once

// Whether these take the place of beta_parms and beta_convert.
extern bool do_beta_MVP;

// Looks at the parameters of the current function.
void beta_parms_using_mvp_ip();

// Rewrites the current function and the calls in it.
void beta_convert_using_mvp_ip();
