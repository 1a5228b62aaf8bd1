// Types as text for messages and dumps, in the manner of C declarators: TYPE::printstr, print_parts, dump
// and their kin are declared in the class; here are the words that other printers share.
//
// A chain of types of any depth is printed without recursion along the chain; a declarator longer than
// TYPE_PRINT_LIMIT levels is cut with "...".
#pragma once

#include "typepkg/type_pkg.h"

inline constexpr unsigned TYPE_PRINT_LIMIT = 200;

// "const volatile " and so on for a set of qualifier bits, each word with its space; "" for none.
std::string qualifier_words(unsigned bits);
// One line of text for a type that stands `depth` parameter lists deep inside another.
std::string type_text(const TYPE *t, unsigned depth);
