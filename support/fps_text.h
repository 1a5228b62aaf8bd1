// Text of floating constants, both ways.
//
// The hexadecimal form ("%a") is the one that files use. It is exact: reading it back gives the same datum for
// every finite value.
//
// Decimal text is read digit by digit with the arithmetic of fps_arith.h and then scaled by powers of ten,
// 10^1, 10^2, 10^4 to 10^256, each rounded to the six words of a value. Every step cuts the result to 65 bits
// or more, so the nearest double comes out unless the text lies within some parts in 2^64 of the middle between
// two. The exact middle itself, written out in more digits than the six words hold, may go either way.
//
// Decimal output serves debug texts and messages. Its digits are those of the exact value, rounded half to
// even at the end; "%g" chooses its form a little differently from printf, see below.
//
// The only state is the table of powers, rounded on first use.

#ifndef SUPPORT_FPS_TEXT_H
#define SUPPORT_FPS_TEXT_H

#include "support/fps_arith.h"

#include <cstddef>
#include <string>

// A row of the table of decimal powers as written down, left-justified, before its rounding on first use.
struct precise_sim_fval {
    uint16_t mantissa[10];
    int16_t exponent;
    int16_t filler;
};

// Text to value: "nan..." and "inf..." in either letter case; "0x", hexadecimal digits with a point among them
// and a binary exponent behind "p"; or decimal digits likewise with an exponent behind "e". A sign may stand
// before each. The number ends at the first character that does not continue it; no digits give a zero.
// Returns 0, or -1 when the value is out of range (then *r is a signed infinity or zero, and fp_error has the
// bit) or hexadecimal text has a second point (then *r is a zero). A decimal exponent is out of range from
// 512 up, counted behind the last nonzero digit.
int f_atof(const char *text, simul_fval *r);

// Value to text. The format is copied up to a "%"; then come digits (ignored), an optional point with a
// precision (6 without it, 0 for a point alone), and a letter; what follows is copied. Either case of a letter
// gives the same text, an unknown letter that of "g".
//   a   0x1.8p+1: all digits that the value has, whatever the precision
//   f   digits, a point and `precision` digits
//   e   1.5e+00 with `precision` digits behind the point
//   g   `precision` digits in all, trailing zeros dropped: for a value 0.ddd * 10^p with -5 < p < precision
//       the "f" form, else the "e" form
// NaN is "nan", infinities are "inf" and "-inf".
std::string f_ftoa_text(const char *format, const simul_fval *a);

// Room that f_ftoa needs for one "%a", or one "%g" or "%e" with a precision up to 20, alone.
inline constexpr size_t FTOA_ROOM = 40;
// The bytes that any other format needs, the terminating zero included.
size_t f_ftoa_size(const char *format, const simul_fval *a);
// The same text into the caller's buffer, which must have that room. Returns `out`.
char *f_ftoa(char *out, const char *format, const simul_fval *a);

#endif
