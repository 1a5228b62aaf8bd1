// The vectorizer: regions and loops lifted to data-flow form, matched against the rules of the machine
// description, and put back as vector operations.
//
// Not active yet: leaves the function as it is.
#pragma once

// Tries the regions and loops of the current function.
void do_cd_vectorization();
