// The files of a run: which are open, their names, and how they are closed.
//
// The output never stays behind half-written. From discard_output_on_exit on, every way out through exit() closes and
// removes it, until close_files has completed it. (A signal is the exception: the state of the program is unknown
// then, and the file stays as it is.) Devices and pipes are never removed.
//
// OPT5/startup opens them; here is what the rest of the program needs.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

class I_FILE;

constexpr size_t FILE_NAME_SIZE = 4096; // the system's limit of a path, with its zero
constexpr size_t BUG_FILE_NAME_SIZE = 2048;

extern I_FILE *i_file;                         // null while not open
extern I_FILE *o_file;                         // null while not open
extern char i_file_name[FILE_NAME_SIZE];       // "" without one
extern char o_file_name[FILE_NAME_SIZE];       // "" until it is settled
extern char bug_file_name[BUG_FILE_NAME_SIZE]; // of the current debug file; cut when it does not fit

// The source file of the function being read.
extern char curr_file[FILE_NAME_SIZE];
void set_curr_file(const char *name); // cut when it does not fit

// Fills one of the names above; a name that does not fit ends the run with status 1.
void store_file_name(char (&buffer)[FILE_NAME_SIZE], const std::string &name);

// Opens a text file for writing. Null, with errno set, on failure, or when it is the input file.
FILE *open_text_output(const std::string &name, const char *mode);

// From now on, exit() before close_files() removes what o_file_name names.
void discard_output_on_exit();

// Closes both intermediate files and the debug streams. A failure to write ends the run with status 1.
void close_files();

// Where graphs are drawn: "NAME.dot", emptied when it is opened for the first time; null when that fails.
FILE *open_drawing();

// Points fdebug at "NAME.odb", NAME being the input's without extension, with a dot and SUFFIX where one is given.
// Nothing happens when a debug file is open and there is no suffix. The stream that was open before stays open; its
// owner closes it. A file that this run has written before is continued. On failure, MUST_SUCCEED ends the run;
// otherwise fdebug becomes standard error.
void open_debug_file(bool must_succeed, const char *suffix);
