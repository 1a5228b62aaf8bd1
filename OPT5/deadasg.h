// Dead assignments: an assignment whose value nobody reads before the next one goes, and with it what only it
// needed.
//
// Not active yet: leaves the function as it is.
#pragma once

// Removes the dead assignments of the current function.
void elim_dead_assigns(int keep_temporaries, int for_back_end);
