#include "OPT5/ddssautil.h"

#include <cstring>

#include "OPT5/tree.h"

bool is_def_assert_ICALL_name(const char *name) { return name && strcmp(name, "def$assert") == 0; }
bool is_def_entry_ICALL_name(const char *name) { return name && strcmp(name, "def$entry") == 0; }
bool is_def_assert_ICALL_tree(const NODE *tree) {
    return tree->op == ICALL && is_def_assert_ICALL_name(tree->u.icall);
}
bool is_def_entry_ICALL_tree(const NODE *tree) {
    return tree->op == ICALL && is_def_entry_ICALL_name(tree->u.icall);
}
