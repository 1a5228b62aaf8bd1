// Readable names for messages: turns the linkage name of a C++ entity into its declaration.
//
// The encoding is the Itanium one that the ARM ABI uses, decoded by the C++ runtime. A name that is not encoded,
// or that the runtime refuses, is its own readable form.
#ifndef SUPPORT_DEMANGLE_H
#define SUPPORT_DEMANGLE_H

#include <string>

// 1 when the input was compiled for the ARM EABI. Kept for readers that know other schemes; decoding itself
// recognises an encoded name by its prefix.
extern int decode_mangle_scheme;

// NAME may be null, which gives an empty text.
std::string decode_identifier(const char *name);

#endif
