// Random typed trees, and the constants that make rules fire.
//
// A tree is well typed as the front end makes it: operands have the type of their operator, or stand under a
// conversion; a count of a shift is int; comparisons give int; a pointer plus an integer counts bytes. An object that a
// tree modifies is not read or modified by a part of the tree that has no fixed order to the modification, since C
// leaves that undefined.
#pragma once

#include <span>

#include "OPT5/fwd.h"
#include "support/xint.h"
#include "tests/oracle/lib/world.h"

// Random words: a counter, mixed. Environments draw millions of them.
struct RANDOM {
    uint64_t counter;
    explicit RANDOM(uint64_t seed) : counter(seed * 0x9E3779B97F4A7C15ull) {}
    uint64_t operator()() {
        uint64_t x = counter += 0x9E3779B97F4A7C15ull;
        x = (x ^ x >> 30) * 0xBF58476D1CE4E5B9ull, x = (x ^ x >> 27) * 0x94D049BB133111EBull;
        return x ^ x >> 31;
    }
};
inline unsigned pick(RANDOM &r, unsigned below) { return unsigned(r() % below); }
inline bool chance(RANDOM &r, unsigned percent) { return r() % 100 < percent; }

struct GENERATOR {
    RANDOM &random;
    bool effects = true; // volatile reads, calls, assignments
    bool memory = true;  // fields, indirections
    bool floats = true;
    bool narrow = true;    // operators of less than int size, and bool and enum
    bool control = true;   // &&, ||, ?:
    unsigned idioms = 25;  // percent of subtrees that come from tests/oracle/lib/idioms.h
    int bits = 0;          // only integers of that size; 0: all
    unsigned modified = 0; // assignments so far; keeps them apart

    NODE *tree(TYPE *type, int depth);
    NODE *condition(int depth);
    // A statement: an assignment, step, call or something whose value is not used.
    NODE *statement(int depth);
    TYPE *some_type();
    TYPE *integer_type(); // one of the eight
    NODE *leaf(TYPE *type);
    NODE *constant(TYPE *type);
    NODE *pointer_to_int(int depth);

  private:
    NODE *integer_tree(TYPE *type, int depth);
    NODE *float_tree(TYPE *type, int depth);
    NODE *with_effect(TYPE *type, int depth);
    NODE *builtin(int depth);
    NODE *transfer(int depth);
    NODE *idiom(TYPE *type, std::span<const char *const> list, int depth);
    NODE *target(TYPE *type);
};

// A constant of an integer type that sits where arithmetic turns over: small, a power of two, a mask, an end of
// the type, or next to one of these.
INT65 interesting_constant(TYPE *type, RANDOM &random);
// A shift count below `bits`: anywhere, or one that leaves or cuts off just what a narrower type holds.
int interesting_count(int bits, RANDOM &random);
// A value of the kind for a variable, from the same places or anywhere.
uint64_t interesting_value(VK kind, RANDOM &random);
// All boundary values of a kind, for cross products.
const std::vector<uint64_t> &boundary_values(VK kind);

// --- short makers ---
NODE *t_icon(long long v, TYPE *type);
NODE *t_binary(int op, NODE *a, NODE *b, TYPE *type = nullptr); // type: that of a, int for tests
NODE *t_unary(int op, NODE *a, TYPE *type = nullptr);
NODE *t_convert(TYPE *type, NODE *a); // nothing when it has the type
NODE *t_quest(NODE *c, NODE *a, NODE *b);
NODE *t_call(SYMTAB *f, NODE *args);
NODE *t_field(NODE *record, fkMDATA *m);    // STDOT
NODE *t_through(NODE *pointer, fkMDATA *m); // STREF
// The opcode of a comparison for operands of the type: signed, unsigned or floating. `which` 0 to 5: EQ NEQ LE LT GE GT.
int t_relation(int which, const TYPE *type);
