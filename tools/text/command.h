// The command line that qldump and qlasm share: one file, options with and without a value, --help.
#pragma once

#include <string>
#include <vector>

struct COMMAND_OPTION {
    const char *name;
    std::string *value; // of an option with a value (behind it, or behind '=' for a long one), else null
    bool *given;        // may be null when `value` is not
};

struct COMMAND {
    const char *program, *usage;
    std::vector<COMMAND_OPTION> options;

    // Sets what the options name and gives the one file. --help prints the usage and ends the program with status 0,
    // a mistake ends it with status 2.
    std::string parse(int argc, char **argv) const;
    [[noreturn]] void misused(const std::string &what) const;
};
