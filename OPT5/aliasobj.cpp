#include "OPT5/aliasobj.h"

#include "OPT5/tree.h"

SYMTAB *object_name_if_known(const NODE *lvalue, bool strip_fields, bool) {
    for (const NODE *n = lvalue; n; n = n->left) {
        switch (n->op) {
        case NAME: return n->u.sym;
        case STDOT:
            if (!strip_fields) return nullptr;
            break;
        case IDENTITY:
        case DDNODE:
        case SSA_USE:
        case SSA_DEF:
        case SSA_MU:
        case SSA_CHI: break;
        default: return nullptr;
        }
    }
    return nullptr;
}
