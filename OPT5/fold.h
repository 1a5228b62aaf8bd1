// Constant folding, and the arithmetic of constants in the types of the compiled program.
//
// An integer constant is kept as an INT65 that holds the value exactly as its type would: truncate_to_type
// brings a computed value there. An operand is first converted to the type in which its operator computes, as
// the target would do. Floating constants are kept in the software format, computed in it, and rounded once to the
// precision of the target.
//
// Not folded: what traps or raises a flag at run time (x / 0, the overflow of INT_MIN / -1, 1e38f * 10), shifts by
// counts that the type has no bits for, arithmetic with a NaN (its sign and payload are the target's affair), and
// a result of which the software format does not tell the right rounding, since its operations cut: one that lies
// halfway between two numbers of the target and may have lost bits.
#pragma once

#include <string>

#include "OPT5/fwd.h"
#include "support/fps_arith.h"
#include "support/xint.h"
#include "typepkg/type_pkg.h"

// Types whose values are integers: integral types, enums, and pointers, which count as int.
inline bool TYPE_IS_INT(const TYPE *type) { return type->is_integral() || type->is_enum() || type->is_ptr(); }

// Folds what can be folded in the whole tree. Takes it.
NODE *fold_constants(NODE *tree);
// The same for one node whose operands are folded.
NODE *fold_constant_node(NODE *node);

// The value as the type would hold it: masked to its size, sign-extended for a signed type. Integer types only.
INT65 truncate_to_type(INT65 v, TYPE *type);
// The value with its sign taken from the type's top bit, not masked (a value of an unsigned type stays); and the same by
// the size alone, whatever the type's sign.
INT65 sign_extend_by_type(INT65 v, TYPE *type);
INT65 sign_extend_by_type_size(INT65 v, TYPE *type);

// Rounds to float or to double, whichever the type's size says; sets fp_error as the conversion does.
void truncate_fval_to_target(simul_fval *v, TYPE *type);

// An ICON or FCON in place as a constant of another arithmetic type, as the target converts it. False, and nothing
// done, when there is no such constant: the value is out of the integer's range, or a NaN, or overflows.
bool convert_constant(NODE *constant, TYPE *type);

// A value for people: "0.5", "1.0F", "1e+30", with the suffix of its type (F of float, L of long double).
std::string fval2text(const simul_fval *v, const TYPE *type);

// The text of a floating literal in canonical form: "-" where it is negative, one digit, point, digits, "e" and the
// exponent; no zeros that say nothing ("012.50f" is "1.25e1"). A zero is "0.0" or "-0.0". Text that is no decimal
// number comes back as it is.
std::string normalize_fcon(const char *text, int length);
