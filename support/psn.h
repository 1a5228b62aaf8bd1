// PSN: a position in the user's source text, as the intermediate file carries it on types, symbols,
// statements and members.
//
// The file name is not owned: it points into the file-name table of the reader or to a literal, both of
// which live to the end of the run. Line and column count from 1. Where a position may be missing, a null
// `PSN*`, or a `PSN` by value whose `file` is null, says so; `NO_FILE` is the name of a position whose
// file is unknown.
#pragma once

struct PSN {
    const char *file = nullptr;
    unsigned line = 0;
    unsigned column = 0;
};

inline constexpr const char *NO_FILE = "NO_FILE";
