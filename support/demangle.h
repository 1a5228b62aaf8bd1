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

// Whether decoding NAME stays cheap. An encoded name refers back to its own parts, and a text of 250 bytes can so
// stand for 500 megabytes: names beyond these bounds, which real programs hardly reach, stay encoded.
constexpr unsigned MAX_DEMANGLE_LENGTH = 4096;
constexpr unsigned MAX_DEMANGLE_REFERENCES = 20;
bool name_is_cheap_to_decode(const char *name);

// NAME may be null, which gives an empty text.
std::string decode_identifier(const char *name);

#endif
