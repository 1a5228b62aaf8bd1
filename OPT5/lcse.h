// Common subexpressions within a block.
//
// Not active yet: leaves the function as it is.
#pragma once

// Works on each block of the current function.
void lcse();
