// Restructuring of loop nests for the vector unit: nests collapse into one loop, neighbours join.
//
// Not active yet: leaves the function as it is.
#pragma once

// Builds the hierarchy of the current function in normal form, restructures, and takes both back.
void do_dd_restructuring();
