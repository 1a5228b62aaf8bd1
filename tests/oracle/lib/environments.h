// The environments in which a tree is tried: memory images in which pointers lead to objects of their type and values
// are near the ends of their types more often than not. With few bits of variables, all values of them.
#pragma once

#include <string>
#include <vector>

#include "tests/oracle/lib/generate.h"
#include "tests/oracle/lib/machine.h"
#include "tests/oracle/lib/world.h"

struct ENVIRONMENTS {
    std::vector<uint8_t> memory; // the present one

    // At most `samples` random environments, and all boundary values of the variables where these are few.
    ENVIRONMENTS(const CODE &code, uint64_t seed, int samples, int enumerate_bits);
    // Makes the next environment; false at the end.
    bool next();
    // The plain variables with their values.
    std::string text() const;

  private:
    struct VARIABLE { // an integer or float of the tree
        const SYMTAB *symbol;
        VK kind;
        bool is_count;
        uint32_t at;
        uint64_t radix; // how many values of it are combined
        uint64_t random_value(RANDOM &random) const;
    };
    RANDOM random;
    std::vector<VARIABLE> variables;
    bool enumerable = true, only_variables; // nothing else is read or written
    uint64_t step = 0, steps = 0, combined_steps = 0;

    void fill();
};
