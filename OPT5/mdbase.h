// The rule base: what the machine description declares.
//
// No description is compiled in yet, so nothing is declared.
#pragma once

#include <cstdint>

// What a declaration says about a built-in that has no descriptor of its own.
struct BUILTIN_DECLARATION {
    bool is_barrier = false; // orders memory accesses
    uint32_t flags = 0;      // attribute word, bits as in BIF_flag_word
};

// The declaration of a built-in by its name, or null.
const BUILTIN_DECLARATION *find_builtin_declaration(const char *name);
