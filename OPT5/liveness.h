// Live variables, and the choice of variables for registers.
//
// Not active yet: leaves the function as it is.
#pragma once

// Prefers variables for registers, and tells the code generator by comments.
void allocate_regs();
