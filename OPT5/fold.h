// Constant folding, and the arithmetic of constants in the types of the compiled program.
//
// An integer constant is kept as an INT65 that holds the value exactly as its type would: truncate_to_type
// brings a computed value there. Floating constants are kept in the software format and brought to the
// precision of the target by truncate_fval_to_target. What would trap or raise a flag at run time is not folded.
#pragma once

#include <string>

#include "OPT5/fwd.h"
#include "support/fps_arith.h"
#include "support/xint.h"
#include "typepkg/type_pkg.h"

// Types whose values are integers: integral types, enums, and pointers, which count as int.
inline bool TYPE_IS_INT(const TYPE *type) { return type->is_integral() || type->is_enum() || type->is_ptr(); }

// Folds what can be folded in the tree. Takes it.
NODE *fold_constants(NODE *tree);

// The value as the type would hold it: masked to its size, sign-extended for a signed type. Integer types only.
INT65 truncate_to_type(INT65 v, TYPE *type);
// The value with its sign taken from the type's top bit, not masked (a value of an unsigned type stays); and the same by
// the size alone, whatever the type's sign.
INT65 sign_extend_by_type(INT65 v, TYPE *type);
INT65 sign_extend_by_type_size(INT65 v, TYPE *type);

// Rounds to float or to double, whichever the type's size says; sets fp_error as the conversion does.
void truncate_fval_to_target(simul_fval *v, TYPE *type);

// The text of a floating literal in canonical form: sign, one digit, point, digits, exponent; no zeros that say
// nothing. A zero keeps its sign.
std::string normalize_fcon(const char *text, int length);
