// Forward declarations of the records that the optimizer's files share. The record headers (tree, symtab, cfg,
// funinfo, ...) define them; a header that only holds pointers includes this one.
#pragma once

struct NODE;
struct BASE_NODE;
struct LIST;
struct LLIST;
struct NODELIST;
struct NODEPAIRLIST;
struct SYMTAB;
struct SYMLIST;
struct SYMALIST;
struct SYMPAIRLIST;
struct EXPR_LIST;
struct PRAGMA;
struct PSN;
struct TYPE;
struct fkMDATA;
struct TYPE_PKG;
struct BBLK;
struct EDGE;
struct LBL;
struct Dominator;
struct FUNINFO;
struct LS;
struct PTR;
struct PTENV;
struct SPMAP;
struct SNMAP;
struct LOOP;
struct CALLSITE;
struct BIF;
struct DDREC;
struct BITVEC;
struct EHT_ENTRY;
struct SBLK;
struct WIDENED;
class option_obj;
class I_FILE;
struct INT65;
struct simul_fval;
namespace LIR {
struct inst;
struct reg;
struct bblock;
struct function;
} // namespace LIR
