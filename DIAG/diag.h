// Diagnostics: numbered messages with a severity, and how they reach a stream.
//
// A message is a DIAGNOSTIC bound to a row of the message table, DIAG_INFO_ENTRY. The row gives number, format
// and severity; a subclass carries the arguments. Reporting is always the same sequence:
//
//     print_header()    "file.c", line 7: error:
//     print(...)        the text, wrapped to the line width
//     flush()           ends the line, counts errors, ends the run when it must
//
// and report() runs it. A severity that is switched off prints nothing at all. Severities up to "debug" and
// "remark" go to standard output and the rest to standard error, unless fp_m redirects everything.
//
// Errors are counted. The run ends with status 1 on a fatal error, and on an error (or anything below one) that
// comes when more than max_errors_m have been counted; an internal fatal error aborts the process. While the
// top of the debug-mode stack is on, messages print but neither count nor end the run.
//
// Class-wide settings are plain static members with the names that end in _m; they hold for every message.
#ifndef DIAG_DIAG_H
#define DIAG_DIAG_H

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

// In order of weight; higher values than these print as "(unknown)".
enum class dc_SEVERITY : int {
    suppressed = 0,
    no_error = 1,
    advice = 2,
    debug = 3,
    remark = 4,
    warning = 5,
    error = 6,
    fatal = 7,
};

struct DIAG_INFO {
    int number;
    const char *format; // null for numbers that are kept free
    int reserved;
    dc_SEVERITY severity; // override_severity changes it
    bool internal;        // a defect of the program: printed with the place in its source
    bool not_discretionary;
};

// The message table; ends at number 0.
extern DIAG_INFO DIAG_INFO_ENTRY[];

// A position in the user's source.
class DIAG_SRCINFO {
  public:
    virtual const char *file() const = 0; // null or empty: unknown
    virtual int line() const = 0;         // 0: unknown
    virtual int column() const = 0;       // from 1; 0: unknown
    virtual bool approx() const = 0;
    virtual ~DIAG_SRCINFO() = default;
    virtual bool is_equal(const DIAG_SRCINFO *other) const;
};

class DIAG_SRCINFO_DATA : public DIAG_SRCINFO {
  public:
    DIAG_SRCINFO_DATA(const char *file, int line, int column = 0, bool approx = false)
        : file_(file ? file : ""), line_(line), column_(column), approx_(approx) {}
    const char *file() const override { return file_.c_str(); }
    int line() const override { return line_; }
    int column() const override { return column_; }
    bool approx() const override { return approx_; }

  private:
    std::string file_;
    int line_;
    int column_;
    bool approx_;
};

class DIAGNOSTIC {
  public:
    // INFO must not be null. FILE and LINE are the place in the program's own source; FILE is a literal.
    DIAGNOSTIC(DIAG_INFO *info, const char *file, unsigned line);
    DIAGNOSTIC(const DIAGNOSTIC &other);
    DIAGNOSTIC &operator=(const DIAGNOSTIC &) = delete;
    virtual ~DIAGNOSTIC();

    virtual DIAGNOSTIC *alloc() const = 0; // a copy on the heap, owned by the caller
    virtual void report();
    virtual const char *get_sp_buffer() { return ""; }    // the text alone; owned by the message
    virtual bool is_equal(const DIAGNOSTIC *other) const; // same row, place and text
    virtual void free_mem() {}                            // gives up the kept text
    virtual void dump(FILE *stream);                      // for developers

    void print_header();
    void print(const char *format, ...) __attribute__((format(printf, 2, 3)));
    void vprint(const char *format, va_list args);
    void flush();

    const DIAG_INFO *info() const { return info_; }
    const char *sev_str() const;
    FILE *fp() const;
    bool suppress() const; // true when this severity is switched off
    bool is_discretionary() const;
    void set_src(DIAG_SRCINFO *position); // takes ownership; null for none
    const DIAG_SRCINFO *src() const { return src_.get(); }
    // "file.c", line 7 (approximate); empty without a position.
    static std::string srcinfo_str(const DIAG_SRCINFO *position);
    void show_annotated_source(); // the source line and a caret below the column

    // Null when there is no such row.
    static DIAG_INFO *get_info(int number);

    // Change the severity of one row, of all rows of one severity, or of the rows in a list "6002,24016".
    // Advice, fatal, internal and not discretionary rows keep theirs, and no row becomes "no error", advice or
    // debug. Each gives the number of rows changed.
    static int override_severity(int number, dc_SEVERITY severity);
    static int override_severity(dc_SEVERITY from, dc_SEVERITY to);
    static int override_severity(const char *numbers, dc_SEVERITY severity);

    static void push_indent(int indent); // replaces the indent until the matching pop
    static void pop_indent();
    static void push_debug_mode(bool on);
    static void pop_debug_mode();

    static int diag_cols_m;   // line width
    static int wrap_indent_m; // further indent of continuation lines
    static unsigned max_errors_m;
    static bool warnings_m;
    static bool wrap_enabled_m;
    static bool advice_m;
    static bool debug_m;
    static bool remarks_m;
    static bool verbose_m;      // show the source line
    static bool wrap_headers_m; // wrap headers too
    static bool display_ipos_m; // the place in the program's own source
    static bool display_code_m; // message numbers
    static bool debug_mode_m;
    static int indent_m;
    static unsigned error_count_m;
    static FILE *fp_m;

  private:
    static std::vector<int> indent_stack_m;
    static std::vector<bool> debug_mode_stack_m;

    void print_formatted(const char *text, size_t length);
    void emit(const char *text, size_t length);
    void new_line();

    DIAG_INFO *info_;
    int columns_left_;
    bool text_on_line_ = false;
    std::unique_ptr<DIAG_SRCINFO> src_;
    const char *file_;
    unsigned line_;
    bool header_printed_ = false;
};

namespace DIAG {

// A message whose text is complete when it is made.
class text_message : public DIAGNOSTIC {
  public:
    text_message(int number, const char *file, unsigned line) : DIAGNOSTIC(get_info(number), file, line) {}
    void report() override;
    const char *get_sp_buffer() override { return text_.c_str(); }
    bool is_equal(const DIAGNOSTIC *other) const override;
    void free_mem() override { std::string().swap(text_); }

  protected:
    void compose(const char *format, ...); // the format is the row's
    std::string text_;
};

// A message of one row, made from the arguments that the row's format takes.
template <int NUMBER, class... ARGS> class numbered : public text_message {
  public:
    static constexpr int number = NUMBER;
    numbered(const char *file, unsigned line, ARGS... args) : text_message(NUMBER, file, line) {
        compose(info()->format, args...);
    }
    DIAGNOSTIC *alloc() const override { return new numbered(*this); }
};

using max_errors = numbered<99900, unsigned>;

// The forms behind USER_MSG: rows with the format "%s". The internal ones show their text in parentheses.
using gdebug = numbered<99920, const char *>;
using gremark = numbered<99921, const char *>;
using gwarning = numbered<99922, const char *>;
using gerror = numbered<99923, const char *>;
using gapperror = numbered<99924, const char *>;
using gfatal = numbered<99925, const char *>;
using gdie = numbered<99926, const char *>;
using gadvice = numbered<99927, const char *>;

} // namespace DIAG

#endif
