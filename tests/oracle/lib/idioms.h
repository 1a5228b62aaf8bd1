// Shapes on which the simplifier's rules look, in the notation of tests/oracle/lib/notation.h, from which random trees
// are put together: a tree of plain random operators hardly ever has two masks over one variable, or a shift back.
#pragma once

#include <span>

std::span<const char *const> value_idioms();     // of type T, without effects
std::span<const char *const> condition_idioms(); // of type int
std::span<const char *const> effect_idioms(); // of any type; at most one assignment each, or in a fixed order
