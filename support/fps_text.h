// Text of floating constants, both ways.
//
// The hexadecimal form ("%a") is the one that files use: it is exact, and reading it back gives the same datum
// for every finite value. Decimal text is read digit by digit with the arithmetic of fps_arith.h and
// scaled by the powers 10^1, 10^2, 10^4, ... 10^256, each rounded to the six words of a value, so a decimal
// constant is good to about 64 bits or more: enough for the nearest double but for texts that lie within a few parts in
// 2^64 of a tie. Decimal output serves debug texts and messages; its digits are exact, rounded half
// to even on the exact value.
//
// State: the table of powers, rounded on first use, and nothing else.

#ifndef SUPPORT_FPS_TEXT_H
#define SUPPORT_FPS_TEXT_H

#include "support/fps_arith.h"

#include <cstddef>
#include <string>

// One row of the table of decimal powers before its rounding on first use.
struct precise_sim_fval {
    uint16_t mantissa[10];
    int16_t exponent;
    int16_t filler;
};

// Text to value. Takes "nan..." and "inf..." in either letter case (inf behind an optional sign), "0x" hexadecimal
// with an optional binary exponent behind "p", and decimal with an optional exponent behind "e", each
// behind an optional sign. The number ends at the first character that does not continue it; text without
// digits gives a zero.
// Returns 0; -1 if the value is out of range (*r is then a signed infinity or zero and fp_error tells which)
// or the text holds a second point (*r is a zero).
int f_atof(const char *text, simul_fval *r);

// Value to text by one conversion of the letters a, e, f, g: format is copied up to "%", the conversion is
// "%", digits (ignored), an optional "." with a precision (6 without it), the letter; the rest is copied. The
// letter of the conversion does not change case in the output. An unknown letter gives the "g" form.
// f_ftoa writes into the caller's buffer, which must hold f_ftoa_size bytes, the terminating zero included.
std::string f_ftoa_text(const char *format, const simul_fval *a);
size_t f_ftoa_size(const char *format, const simul_fval *a);
char *f_ftoa(char *out, const char *format, const simul_fval *a);

#endif
