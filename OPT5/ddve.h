// Dependence vectors: for two references in a nest of loops, the distances at which they may meet, one element for
// each loop.
//
// Not active yet.
#pragma once

// In debug: exercises the operations on vectors and reports what fails.
void do_DVE_unit_testing();
