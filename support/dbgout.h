// The debug stream and the information stream.
//
// Debug text is for the people who work on the optimizer; it goes to fdebug (the ".odb" file) while print_debug
// is nonzero. Information is for the user who asked why a loop was or was not transformed; it goes to finfo
// (the ".nfo" file) while write_opt_info is nonzero. Both levels are plain globals so that a test of them is
// one load.
//
// dprintf is a macro: with print_debug at 0 neither the call nor the evaluation of its arguments happens, so a
// dump may hand costly texts to it freely. For the same reason an argument must not have a side effect that
// the program needs. Debug output is flushed after every call, because its last lines matter most when the run
// dies; a failed write or flush ends the run, since a silently cut log misleads.
//
// The streams are opened and closed by OPT5/files; null means not open.
#ifndef SUPPORT_DBGOUT_H
#define SUPPORT_DBGOUT_H

#include <cstdio>

extern FILE *fdebug;
extern FILE *finfo;

// Levels; 0 is off.
extern int print_debug;
extern int write_opt_info;

// Formats to fdebug and flushes. Does nothing while fdebug is null. Fatal when the stream can't take it.
void write_debug_text(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Formats to finfo. Does nothing while finfo is null.
void write_info_text(const char *format, ...) __attribute__((format(printf, 1, 2)));

// (The C library has a dprintf for file descriptors; <cstdio> above has declared it before the name is taken.)
#define dprintf(...) ((void)(print_debug && (write_debug_text(__VA_ARGS__), 0)))
#define info_printf(...) ((void)(write_opt_info && (write_info_text(__VA_ARGS__), 0)))

#endif
