#include "OPT5/ddvpset.h"

void eval_qc_ICALL(vpset *, NODE *, struct LOOP *, VPENV *) {}
void eval_MPY_ICALL(vpset *, NODE *, struct LOOP *, VPENV *) {}
void eval_MPY_32_32_64_ICALL(vpset *, NODE *, struct LOOP *, VPENV *) {}
