// The writer: a function's flow graph becomes the records of the output file.
//
// The reverse of the reader. write_func_header opens the function's records (loop and dependence records may
// follow it, see writeloop); write_func_body writes symbols, body and exception table and closes them. Blocks go
// out in flow order. The writer decides which branches the order makes superfluous, numbers the labels afresh in
// that order, and writes only labels that something still refers to. Trees are finished (writetree) on the way:
// they are good for nothing but release afterwards.
//
// What is written can be read again, and what is read again and written without any other change is written as
// the same bytes. So every choice here depends on the graph alone, never on how it came about.
#pragma once

#include <string>
#include <vector>

#include "OPT5/fwd.h"

void write_func_header();
void write_func_body();

// Control records I_EF, I_BB, I_EB, I_EA, I_EL.
void wrstcr(int tag, const PSN *psn);
// A statement with its record head; pragmas, assembly and comments by their own records.
void wrexpr(LIST *statement);
// A tree alone, as in initialisers. The tree is finished and stays the caller's; its root may change.
NODE *wrtree(NODE *tree);
// The name of a source file.
void wrsfid(const char *name);
// The labels of a chain that are referred to.
void wrbdlr(LBL *labels);
// The blocks of the current function.
void wrbblocks();
// Assembly (tag 36) or a comment (47).
void wrasmr(int tag, const char *text, const PSN *psn);
// Gives the symbol its declared type back, with the qualifiers of the present one, where they agree.
void revert_symbol_type(SYMTAB *symbol);

// Remarks about the registers of the function, newest first; written as comments.
extern std::vector<std::string> register_assignments;
