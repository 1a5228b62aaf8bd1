// Facts in the form of statements: NASSERT and ASSERT carry what a pass proved to the passes behind it.
//
// Not active yet: leaves the function as it is.
#pragma once

// Drops the conditions that the global passes noted.
void clean_up_assert_RELOPs();
