// What happens when a signal ends the run.
//
// install_common_handlers takes over the signals that mean "stop" (interrupt, hang-up, terminate) and those
// that mean a defect (segmentation fault, illegal instruction, ...). The program's handler adds what was being
// worked on and calls common_signal_handler, which reports and leaves with status 2, without running exit
// handlers: the state of the program can't be trusted any more. A stop asked for from outside prints one line;
// a defect prints the internal error and asks for a test case.
//
// Handlers run on a stack of their own, so that running out of stack is reported like any other fault. Text is
// put together in static buffers and written to standard error; only the flush of open streams touches stdio.
#ifndef SUPPORT_SIGNALSUPPORT_H
#define SUPPORT_SIGNALSUPPORT_H

#include <cstddef>

// Installs HANDLER for all signals named above and remembers CALLBACK (null for none), which
// common_signal_handler calls with the signal number last of all, to close debug files.
void install_common_handlers(void (*handler)(int), void (*callback)(int));

// Reports SIGNAL and ends the process with status 2. PROGRAM_NAME and FORMAT are taken for absent when they are
// null or too small to be addresses. FORMAT and what follows describe the work in hand, cut at 2,047 bytes.
[[noreturn]] void common_signal_handler(int signal, const char *program_name, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

// Appends SOURCE to the zero-ended text in BUFFER of SIZE bytes, cutting what does not fit. Safe in a handler.
// Gives BUFFER.
char *sigstrnappend(char *buffer, const char *source, size_t size);

#endif
