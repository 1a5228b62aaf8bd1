#include "support/demangle.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>

int decode_mangle_scheme;

// Substitutions are S_, S0_, S1_ ..., template parameters T_, T0_ ...
bool name_is_cheap_to_decode(const char *name) {
    unsigned references = 0;
    size_t length = strlen(name);
    for (size_t i = 0; i < length; i++) {
        if (name[i] != 'S' && name[i] != 'T') continue;
        size_t end = i + 1;
        while (isdigit(uint8_t(name[end])) || isupper(uint8_t(name[end]))) end++;
        references += name[end] == '_';
    }
    return length <= MAX_DEMANGLE_LENGTH && references <= MAX_DEMANGLE_REFERENCES;
}

std::string decode_identifier(const char *name) {
    if (!name) return "";
    // Without the prefix the runtime would take plain C names for type encodings: "i" for int.
    if (name[0] != '_' || name[1] != 'Z' || !name_is_cheap_to_decode(name)) return name;
    int status = 0;
    char *text = abi::__cxa_demangle(name, nullptr, nullptr, &status);
    std::string result = status == 0 && text ? text : name;
    free(text);
    return result;
}
