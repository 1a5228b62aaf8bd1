// Attributes and pragmas that the front end does not know, or knows and passes over, and whose loss would change what a
// program means: how a record lies in memory, where an object's first value comes from, which name a function has. They
// are errors where they stand, with the reason. What is only advice (noclone, noipa, optimize("O2"), access, ...) is
// dropped without a word.
#pragma once

#include "clang/Lex/Preprocessor.h"

// The attributes register themselves when the program starts; the pragmas are added to each preprocessor.
void add_refused_pragmas(clang::Preprocessor &);
