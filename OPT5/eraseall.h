// The end of a function's body.
//
// A file may hold a hundred thousand functions; each is released as soon as it is written. erase_all frees all that
// the current function owns: statements, blocks with labels and dominators, symbols, scopes, restrict records, exception
// table, the records of widened symbols. What stays is the FUNINFO with what the whole program knows of the function, and what other
// functions own, such as the copies of its symbols that were made for them. Linear in what is freed.
//
// Maps and graphs that only their owners know how to free (flow analyses, late forms) register an eraser.
#pragma once

#include "OPT5/fwd.h"

// Releases the body of currfuninfo.
void erase_all();
// Registers what else erase_all has to release; erasers run before anything is freed. Registering twice is harmless.
void register_body_eraser(void (*)(FUNINFO *));
