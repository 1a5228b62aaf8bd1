// Pairing in straight-line code: two statements of one block that do the same on neighbouring data become one
// wider operation.
//
// Not active yet: leaves the function as it is.
#pragma once

// Walks every block of the current function as a region.
void do_cd_ilp();
