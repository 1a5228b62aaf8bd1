#include "OPT5/simp_known.h"

unsigned known_bits_depth_hits;
INT65 find_known_ones(const NODE *, TYPE *) { return INT65(0); }
INT65 find_known_zeros(const NODE *, TYPE *) { return INT65(-1); }
INT65 find_known_zeros_in_ANDB(const NODE *, struct LOOP *) { return INT65(-1); }
INT65 find_known_zeros_in_range(INT65, INT65) { return INT65(-1); }
INT65 find_known_ones_in_range(INT65, INT65) { return INT65(0); }
