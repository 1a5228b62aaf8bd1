// A state machine: words, numbers, strings, comments and operators of a small language, told apart and counted.
#include "kernel.h"

enum token { END, NAME, KEYWORD, NUMBER, REAL, STRING, OPERATOR, BAD };
enum { KINDS = BAD + 1 };

static const char source[] =
    "int main(void) { /* start */ double x = 3.25e-2; char *s = \"a \\\"quoted\\\" text\"; // rest\n"
    "  for (i = 0; i < 100; i++) { if (x >= 1.5 && y != 0x1f) total += f(x, y) << 3; else return -1; }\n"
    "  while (a->b || !c) a = a->next; /* a * in / it */ z = x / y; @ $ x = 'c'; }\n";

static int is_letter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
static int is_digit(int c) { return c >= '0' && c <= '9'; }

static int is_keyword(const char *s, int n)
{
    static const char *const keywords[] = {"int", "void", "double", "char", "for", "if", "else", "return", "while"};
    for (unsigned i = 0; i < sizeof keywords / sizeof *keywords; i++)
        if (!strncmp(keywords[i], s, (unsigned)n) && !keywords[i][n]) return 1;
    return 0;
}

static enum token next(const char **at)
{
    const char *p = *at, *start;
    enum { START, WORD, INTEGER, HEX, FRACTION, EXPONENT, TEXT, ESCAPE, LINE, BLOCK, STAR } state = START;
    for (start = p;; p++) {
        int c = *p;
        switch (state) {
        case START:
            start = p;
            if (c == ' ' || c == '\n') continue;
            if (!c) return *at = p, END;
            if (is_letter(c)) state = WORD;
            else if (c == '0' && p[1] == 'x') state = HEX, p++;
            else if (is_digit(c)) state = INTEGER;
            else if (c == '"') state = TEXT;
            else if (c == '/' && p[1] == '/') state = LINE;
            else if (c == '/' && p[1] == '*') state = BLOCK, p++;
            else {
                *at = p + 1;
                switch (c) {
                case '+': case '-': case '<': case '>': case '=': case '&': case '|': case '!':
                    if (p[1] == c || p[1] == '=' || (c == '-' && p[1] == '>')) ++*at;
                    return OPERATOR;
                case '*': case '/': case '(': case ')': case '{': case '}': case ',': case ';': case '.': return OPERATOR;
                default: return BAD;
                }
            }
            break;
        case WORD:
            if (is_letter(c) || is_digit(c)) break;
            *at = p;
            return is_keyword(start, (int)(p - start)) ? KEYWORD : NAME;
        case INTEGER:
            if (is_digit(c)) break;
            if (c == '.') { state = FRACTION; break; }
            return *at = p, NUMBER;
        case HEX:
            if (is_digit(c) || (c >= 'a' && c <= 'f')) break;
            return *at = p, NUMBER;
        case FRACTION:
            if (is_digit(c)) break;
            if (c == 'e') { state = EXPONENT; p += p[1] == '-'; break; }
            return *at = p, REAL;
        case EXPONENT:
            if (is_digit(c)) break;
            return *at = p, REAL;
        case TEXT:
            if (c == '\\') state = ESCAPE;
            else if (c == '"') return *at = p + 1, STRING;
            break;
        case ESCAPE: state = TEXT; break;
        case LINE: if (c == '\n') state = START; break;
        case BLOCK: if (c == '*') state = STAR; break;
        case STAR: state = c == '/' ? START : c == '*' ? STAR : BLOCK; break;
        }
    }
}

int main(void)
{
    unsigned counts[KINDS] = {0};
    for (int round = 0; round < 60; round++) {
        const char *at = source;
        enum token t;
        while ((t = next(&at)) != END) counts[t]++;
    }
    for (int i = 0; i < KINDS; i++) mix(counts[i]);
    return finish();
}
