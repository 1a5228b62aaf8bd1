// Text of an intermediate file: its tokens, and messages about it.
//
// The whole text is cut into tokens first, so that declarations may stand in any order: the assembler finds the
// declarations, then works through the bodies. A token is 12 bytes; values are taken from the text when they are
// used. Newlines are tokens, since a construct ends with its line; whoever reads a construct in parentheses skips them.
//
// A position "; file:line:column" is one token. Without a file name it means the file of the position before it in
// the text, which is why positions are understood here and not where they are used.
//
// Errors and warnings are collected, at most MAX_ERRORS of each, and told in the order of the text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/model/model.h"

enum TOKEN_KIND : uint8_t {
    T_END,
    T_NEWLINE,
    T_ID,       // name or keyword
    T_GLOBAL,   // @name
    T_LOCAL,    // %name
    T_NUMBER,   // decimal or hexadecimal integer, with L at its end for an LCON
    T_FLOAT,    // hexadecimal or decimal float
    T_STRING,   // "text"
    T_POSITION, // ; file:line:column
    T_ELLIPSIS,
    T_PUNCT, // one of ()[]{}:,=
};

struct TOKEN {
    uint32_t at;     // offset in the text
    uint32_t length; // bytes; of a position its number
    TOKEN_KIND kind;
    char punct = 0; // of T_PUNCT
};

inline constexpr unsigned MAX_ERRORS = 20;

// Thrown when a construct can't be understood, after its error was told; caught where the next one can be found.
struct BAD_TEXT {};
// Thrown at the error that is one too many.
struct TOO_MANY_ERRORS {};

struct TEXT_FILE {
    std::string name; // for messages
    std::string text;
    std::vector<TOKEN> tokens; // ends with T_NEWLINE, T_END
    std::vector<const PSN *> positions;

    // Reads and cuts; positions belong to the model. False when the file can't be read (told on standard error).
    bool load(const char *path, MODEL &);
    void cut(MODEL &);

    std::string_view spelling(const TOKEN &t) const { return std::string_view(text).substr(t.at, t.length); }
    // The bytes of a T_STRING, or the name of a T_ID, T_GLOBAL or T_LOCAL.
    std::string value(const TOKEN &t) const;

    void error_at(uint32_t at, const char *format, ...) __attribute__((format(printf, 3, 4)));
    // Something that is most likely a mistake, but of which a file can be made.
    void warn_at(uint32_t at, const char *format, ...) __attribute__((format(printf, 3, 4)));
    [[noreturn]] void fail_at(uint32_t at, const char *format, ...) __attribute__((format(printf, 3, 4)));
    unsigned error_count() const { return error_count_; }
    // Prints what was told, in order.
    void print_messages(FILE *to);
    struct PLACE {
        unsigned line, column;
    };
    PLACE place(uint32_t at) const; // both from 1

    struct MESSAGE {
        uint32_t at;
        bool error; // else a warning
        std::string what;
    };
    std::vector<MESSAGE> messages;
    std::vector<uint32_t> line_starts;

  private:
    void tell(uint32_t at, bool error, const char *format, va_list args);
    unsigned error_count_ = 0, warning_count = 0;
};

// A text as a string of the text form, quotes included: printable ASCII as it stands, the rest as escapes.
void append_quoted(std::string &to, std::string_view bytes);
