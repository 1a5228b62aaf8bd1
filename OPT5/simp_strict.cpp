#include "OPT5/simp_strict.h"

bool strict_expr_allows_strict_expr(const NODE *, const NODE *, struct LOOP *) { return false; }
bool lvalue_is_inherently_strict(const NODE *, struct LOOP *) { return false; }
bool rhs_may_need_guard_in_lhs(const NODE *, const NODE *) { return true; }
int andor_andor_height(const NODE *, int, const NODE *) { return 666; }
bool find_or_make_safe_for_ANDB(NODE *&, bool) { return false; }
bool quest_colon_is_strict(const NODE *, const NODE *) { return false; }
