// Conditions as values: diamonds of the flow graph, and the ternaries that evaluate all their operands (strict
// ternaries).
//
// Some passes want a strict ternary as flow graph and some as a value; the two conversions here are inverse to
// each other. Not active yet: leaves the function as it is.
#pragma once

// Makes branches of the strict ternaries.
void revert_strict_ternary_ICALLs_to_CFG();

// Makes strict ternaries of what the former left unchanged.
void restructure_strict_ternary_ICALLs_from_CFG();
