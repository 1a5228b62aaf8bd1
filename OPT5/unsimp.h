// The way back from canonical form: trees take the shapes that the code generator selects best.
//
// Not active yet: leaves the function as it is.
#pragma once

// Rewrites the statements of the current function.
void unsimplify();
