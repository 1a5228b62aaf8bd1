// Promotion of memory variables to registers: a variable that is loaded and stored over and over lives in a
// temporary between.
//
// Not active yet: leaves the function as it is.
#pragma once

// WITH_SPECULATION: a load may move where the variable was not read before, if it can't fault.
void promote_vars_to_registers(bool with_speculation);
