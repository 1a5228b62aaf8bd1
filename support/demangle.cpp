#include "support/demangle.h"

#include <cstdlib>
#include <cxxabi.h>

int decode_mangle_scheme;

std::string decode_identifier(const char *name) {
    if (!name) return "";
    // Without the prefix the runtime would take plain C names for type encodings: "i" for int.
    if (name[0] != '_' || name[1] != 'Z') return name;
    int status = 0;
    char *text = abi::__cxa_demangle(name, nullptr, nullptr, &status);
    std::string result = status == 0 && text ? text : name;
    free(text);
    return result;
}
