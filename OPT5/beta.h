// Parameters with a known value: the value moves into the function, and the parameter leaves its calling sequence.
//
// beta_parms marks the parameters of a function when its arguments have been read; beta_convert rewrites body and
// calls when propagation has found values. Not active yet: leaves the function as it is.
#pragma once

// Looks at the parameters of the current function.
void beta_parms();

// Rewrites the current function and the calls in it.
void beta_convert();
