#include "support/signalsupport.h"

#include "support/fatal.h"

#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

constexpr int handled_signals[] = {SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGTERM, SIGINT,
                                   SIGHUP, SIGTRAP, SIGBUS, SIGSYS,  SIGXCPU, SIGXFSZ};

struct signal_phrase {
    int signal;
    const char *phrase;
};

// clang-format off
constexpr signal_phrase signal_phrases[] = {
    {SIGILL,  "executed an illegal instruction"},
    {SIGTRAP, "received a TRAP signal"},
    {SIGABRT, "had an internal inconsistency and aborted"},
    {SIGBUS,  "experienced a bus alignment fault"},
    {SIGFPE,  "received a floating point exception"},
    {SIGSEGV, "experienced a segmentation fault"},
    {SIGXCPU, "exceeded the CPU time limit"},
    {SIGXFSZ, "exceeded the file size limit"},
    {SIGSYS,  "experienced a bad system call"},
};
// clang-format on

constexpr size_t SIGNAL_STACK_SIZE = 128 * 1024; // room for formatting and for flushing streams
alignas(16) char signal_stack[SIGNAL_STACK_SIZE];

void (*signal_callback)(int);

// A pointer that came from a damaged caller may be a small number instead of an address.
bool is_plausible(const char *pointer) { return reinterpret_cast<uintptr_t>(pointer) > 100000; }

void write_text(const char *text) {
    size_t left = strlen(text);
    while (left > 0) {
        ssize_t done = write(STDERR_FILENO, text, left);
        if (done <= 0) return;
        text += done;
        left -= static_cast<size_t>(done);
    }
}

const char *phrase_for(int signal) {
    for (const signal_phrase &row : signal_phrases)
        if (row.signal == signal) return row.phrase;
    return "experienced a fatal internal fault";
}

} // namespace

void install_common_handlers(void (*handler)(int), void (*callback)(int)) {
    signal_callback = callback;

    stack_t stack = {};
    stack.ss_sp = signal_stack;
    stack.ss_size = sizeof signal_stack;
    sigaltstack(&stack, nullptr);

    for (int signal : handled_signals) {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = SA_ONSTACK | SA_RESTART;
        sigemptyset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

void common_signal_handler(int signal, const char *program_name, const char *format, ...) {
    static char line[512];
    static char detail[2048];
    static const char *phrase;

    if (!is_plausible(program_name)) program_name = "unknown";

    if (signal == SIGHUP || signal == SIGINT || signal == SIGTERM) {
        line[0] = 0;
        sigstrnappend(line, "[", sizeof line);
        sigstrnappend(line, program_name, sizeof line - 64); // the reason must not be cut off by a long name
        sigstrnappend(line, signal == SIGTERM ? " received a terminate signal]\n" : " forced exit]\n",
                      sizeof line);
        write_text(line);
        _Exit(2);
    }

    detail[0] = 0;
    if (is_plausible(format)) {
        va_list args;
        va_start(args, format);
        vsnprintf(detail, sizeof detail, format, args);
        va_end(args);
    }
    // A second fault on the way out (say, an abort while flushing) is reported under the name of the first.
    if (!phrase) phrase = phrase_for(signal);

    line[0] = 0;
    sigstrnappend(line, "\nINTERNAL ERROR: ", sizeof line);
    sigstrnappend(line, program_name, sizeof line - 128);
    sigstrnappend(line, " ", sizeof line);
    sigstrnappend(line, phrase, sizeof line);
    sigstrnappend(line, "\n", sizeof line);
    write_text(line);
    if (detail[0]) {
        write_text("                  ");
        write_text(detail);
        write_text("\n");
    }
    write_text("\n");
    fflush(nullptr);
    write_text(support_message_text());
    fflush(nullptr);

    if (signal_callback) signal_callback(signal);
    _Exit(2);
}

char *sigstrnappend(char *buffer, const char *source, size_t size) {
    if (size == 0) return buffer;
    size_t at = 0;
    while (at < size && buffer[at]) ++at;
    if (at == size) return buffer;
    while (at + 1 < size && *source) buffer[at++] = *source++;
    buffer[at] = 0;
    return buffer;
}
