// The files of a run: from the command line to an open input and output.
//
// open_files does everything between the start of the program and the first table: it parses the command line, opens
// the input, lays the command line over the option sets that the input holds, settles the global flags, makes the
// type package, and opens information, debug and output file. Whatever is wrong with a name, a file or an option is
// said on standard error and ends the run with status 1.
//
// The output never stays behind half-written. From its opening on, every way out through exit() closes and removes
// it, until close_files has completed it. (A signal is the exception: the state of the program is unknown then, and
// the file stays as it is.)
//
// The output must not be the input, in whatever spelling: the input would be gone before it is read.
#pragma once

#include <cstddef>
#include <cstdio>

class I_FILE;

constexpr size_t FILE_NAME_SIZE = 4096; // the system's limit of a path, with its zero
constexpr size_t BUG_FILE_NAME_SIZE = 2048;

extern I_FILE *i_file;                         // null while not open
extern I_FILE *o_file;                         // null while not open
extern char i_file_name[FILE_NAME_SIZE];       // "" without one
extern char o_file_name[FILE_NAME_SIZE];       // "" until it is settled
extern char bug_file_name[BUG_FILE_NAME_SIZE]; // of the current debug file

// The source file of the function being read.
extern char curr_file[FILE_NAME_SIZE];
void set_curr_file(const char *name); // cut when it does not fit

// The start of a run, all of it up to the first table initialisation. Listing options end the run with status 0.
void open_files(int argc, char **argv);

// Closes both intermediate files and the debug streams. A failure to write ends the run.
void close_files();

// Points fdebug at "NAME.odb", NAME being the input's without extension, with a dot and SUFFIX where one is given.
// Nothing happens when a debug file is open and there is no suffix. The stream that was open before stays open; its
// owner closes it. On failure, MUST_SUCCEED ends the run; otherwise fdebug becomes standard error.
void open_debug_file(bool must_succeed, const char *suffix);

// Records the command line as a comment in the output, once; in debug, lists the option sets.
void emit_cmd_line_text();

// The next raw argument, for an option whose argument stands apart; null at the end.
const char *next_arg();

// Prints the prefix, the build and a newline.
void buildid(FILE *stream, const char *prefix);
