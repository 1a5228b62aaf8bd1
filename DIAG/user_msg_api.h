// Messages to the user that need no row of their own: a printf-like front end to the generic diagnostics.
//
// USER_MSG is one object for the whole program. Each operation formats its text and reports it at its severity;
// see DIAG/diag.h for what is printed where and what ends the run. The forms that begin with a position take
// ownership of it; null means no position.
#ifndef DIAG_USER_MSG_API_H
#define DIAG_USER_MSG_API_H

#include "DIAG/diag.h"

#include <cstdarg>
#include <string>

class USER_MSG {
  public:
    static USER_MSG *get_umsg_obj();

    // For developers; printed when DIAGNOSTIC::debug_m is on.
    void debug(const char *format, ...) __attribute__((format(printf, 2, 3)));
    void remark(const char *format, ...) __attribute__((format(printf, 2, 3)));
    void advice(const char *format, ...) __attribute__((format(printf, 2, 3)));
    // Becomes an error, in number and count, when warnings are to be errors.
    void warning(const char *format, ...) __attribute__((format(printf, 2, 3)));
    void error(const char *format, ...) __attribute__((format(printf, 2, 3)));
    // A defect of this program that it can live with; counted as an error.
    void apperror(const char *format, ...) __attribute__((format(printf, 2, 3)));
    // End the run: with status 1, and by abort().
    void fatal(const char *format, ...) __attribute__((format(printf, 2, 3)));
    void die(const char *prefix, const char *format, ...) __attribute__((format(printf, 3, 4)));

    void remark(DIAG_SRCINFO *position, const char *format, ...) __attribute__((format(printf, 3, 4)));
    void advice(DIAG_SRCINFO *position, const char *format, ...) __attribute__((format(printf, 3, 4)));
    void warning(DIAG_SRCINFO *position, const char *format, ...) __attribute__((format(printf, 3, 4)));
    void error(DIAG_SRCINFO *position, const char *format, ...) __attribute__((format(printf, 3, 4)));
    void fatal(DIAG_SRCINFO *position, const char *format, ...) __attribute__((format(printf, 3, 4)));

    unsigned get_error_count() const { return DIAGNOSTIC::error_count_m; }
    void emit_warnings_as_errors(bool on = true) { emit_warnings_as_errors_m = on; }

    static std::string make_msg_str(const char *format, va_list args);

  private:
    USER_MSG() = default;
    bool emit_warnings_as_errors_m = false;
};

#endif
