// What the source says about which way a branch mostly goes.
//
// In a file that is __builtin_expect around the test of a CBRANCH. Inside, the built-in would hide the test from every
// pass, so the reader takes it out and keeps what it says as a hint (NODE::branch_hint): 1 likely, -1 unlikely, 0
// nothing. Of a CBRANCH the hint is about its test. Of an IF it stands on the two LABELs, opposite on either side,
// and so goes along with a label wherever that is moved: who exchanges the labels and inverts the test need not know.
// A label that is pointed elsewhere keeps it too. A transfer that no longer depends on a test has no use for hints.
//
// The writer puts the built-in back around the test as it is then. What reads it is the code generator.
#pragma once

#include "OPT5/fwd.h"

// __builtin_expect(a, 1), __builtin_expect(a, 7) == 7, and the same under "!", as a test: what is tested without the
// built-in. Gives the hint; 0 when the test is something else and stays as it is.
int take_builtin_expect(NODE *&test);

// The same for the test of a CBRANCH, which keeps the hint.
void convert_CBRANCH_with_builtin_expect(NODE *branch);
// Puts the hint of a CBRANCH back into its test.
void revert_CBRANCH_with_builtin_expect(NODE *branch);

// The hint for the true side of an IF.
void set_hint_of_IF(NODE *transfer, int hint);
int hint_of_IF(const NODE *transfer);

// `label` is a LABEL of an IF. False when nothing is known.
bool branch_to_label_is_likely(const NODE *label);
bool branch_to_label_is_unlikely(const NODE *label);
// The same for the edge between two blocks.
bool branch_along_edge_is_likely(BBLK *from, BBLK *to);
bool branch_along_edge_is_unlikely(BBLK *from, BBLK *to);
