// The frame of the loop passes, and the dependence analysis for the code generator.
//
// A loop pass brings the statements to normal form, builds what it needs (hierarchy, dependences, SSA form), works,
// and takes everything back, so that the passes around it never see the form. The rows of the passes stand here; the
// pipeline (OPT5/passes) takes them in right behind its first vectorizer pass.
//
// Not active yet: the rows have their names, places and gates, and no action.
#pragma once

#include <vector>

struct pass;

// Makes the 32 loop passes and appends them, in order, to the list.
void add_dd_normal_order_passes(std::vector<pass *> &list);

// Analyses the dependences of the current function in its final form and writes its loop and dependence records.
void do_dd_analysis_for_be();
