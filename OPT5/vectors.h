// Vector operations in disguise: the scalar passes see an opaque built-in where a vector operation stands.
//
// Disguising and disclosing are inverse to each other; both skip functions without vector and complex operations.
// Not active yet: leaves the function as it is.
#pragma once

// Vector operations become built-in calls.
void disguise_vector_operations();

// The calls become operations again.
void disclose_vector_operations();
