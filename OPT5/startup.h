// The start of a run: from the command line to open files.
//
// open_files does everything before the first table: it parses the command line, opens the input, lays the command
// line over the option sets that the input holds, settles the global flags, makes the type package, and opens
// information, debug and output file. Whatever is wrong with a name, a file or an option is said on standard error
// and ends the run with status 1. An option that the command line should not have is an error; one in an option set
// of the file, which a later parser may have written, is a warning.
//
// The output must not be the input, in whatever spelling: the input would be gone before it is read.
#pragma once

#include <cstdio>

// Options that only list something end the run with status 0.
void open_files(int argc, char **argv);

// Records the command line as a comment in the output, once; in debug, lists the option sets.
void emit_cmd_line_text();

// The next raw argument, for an option whose argument stands apart; null at the end.
const char *next_arg();

// Prints the prefix, the build and a newline.
void buildid(FILE *stream, const char *prefix);
