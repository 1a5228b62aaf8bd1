// The optimizer's reader: receives every record of the input and builds the program in memory.
//
// One IF_CLIENT object serves the run. Types come from the package; symbols become SYMTABs; the statements of a
// function collect in its FUNINFO, last one first, and cl_end_func turns them into a flow graph. What a record
// holds is believed only after a check: a symbol against its type and class, a tree against the table of
// statement shapes (readexpr), a label against its single definition, an exception table against the chain that
// each of its entries must form. Whatever fails goes to refuse_input, which names the function and what is wrong
// and, through the file object, the byte; nothing behind the reader meets a malformed tree.
//
// Dropped on purpose: loop, dependence, load-speculation and IR records, DDNODE marks and "makes no calls" notes,
// which the optimizer derives itself; comments that begin with ";", which an optimizer wrote; block structure,
// which lives on in the scopes alone.
//
// Assembly, comments and pragmas outside functions have no place to wait in and go straight to the output file.
#pragma once

#include <string>
#include <vector>

#include "OPT5/fwd.h"
#include "ifile/if_faces.h"

// The client that the input file is opened with; one object, never deleted.
IF_CLIENT *opt_client();

extern std::vector<OPTION_SET> icode_optionlist; // option sets of the input, in file order; kept for the run
extern int lex; // lexical level: 0 outside functions, 1 arguments, 2 locals, above in blocks
extern unsigned arg_offset;
extern unsigned unique_call_index; // last number given to a call of the function
extern int output_index;
extern bool input_has_union; // some union stands among the input's types

// The symbol that built-ins of unknown effect are said to touch, so that passes keep their order, and the lvalue
// of it. Null until the input's main stream begins. The symbol is in no table and in no file.
extern SYMTAB *mcall_implicit_state_symbol;
extern NODE *mcall_implicit_state_tree;

// Refuses the input: the text (one line, no newline) behind the name of the function in work. Does not return.
[[noreturn]] void refuse_input(const char *format, ...) __attribute__((format(printf, 1, 2)));
