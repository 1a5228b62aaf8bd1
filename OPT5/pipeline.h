// The pipeline: the 78 passes in their order, one table row each.
//
// The position of a row is the serial number of its pass, by which --opt_passes and "debug:skip_pass" name it. See
// OPT5/passes for what a row says. Passes of one call stand in the row; passes of several have a function of their
// own here, so that the table reads as the schedule.
#pragma once

#include <vector>

struct pass;

// Makes all passes but "output function" (which the driver adds) and appends them to the list.
void add_pipeline_passes(std::vector<pass *> &list);
