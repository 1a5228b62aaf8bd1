// Assignments to parts of a variable: members, bit-fields, elements, with what is known of the rest.
//
// Not active yet: leaves the function as it is.
#pragma once

// Propagates parts that were assigned.
void lcse_subrange_assignments();

// Removes assignments to parts that nobody reads.
void elim_dead_subrange_assigns();
