// A small Forth: words in a linked dictionary, compiled to threads of cells, run by an inner interpreter.
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef long cell;
typedef struct word word;
typedef void (*primitive)(void);
struct word { const word *link; char name[8]; primitive run; const word *const *body; unsigned char immediate; };

static cell stack[32], *sp = stack;
static const word *const **returns[32], ***rp = returns;
static const word *const *ip;
static const word *latest, *compiling, *code[400], **here = code;
static const word *current;
static const char *source;
static int faults;

#define PUSH(v) (*sp++ = (v))
#define POP() (sp > stack ? *--sp : (faults++, 0))
#define BINARY(id, text, op) static void id(void) { cell b = POP(), a = POP(); PUSH(a op b); }
BINARY(do_add, "+", +) BINARY(do_sub, "-", -) BINARY(do_mul, "*", *) BINARY(do_less, "<", <)
static void do_dup(void) { cell a = POP(); PUSH(a), PUSH(a); }
static void do_swap(void) { cell b = POP(), a = POP(); PUSH(b), PUSH(a); }
static void do_over(void) { cell b = POP(), a = POP(); PUSH(a), PUSH(b), PUSH(a); }
static void do_drop(void) { (void)POP(); }
static void do_dot(void) { printf("%ld ", (long)POP()); }
static void do_literal(void) { PUSH((cell)*ip++); }
static void do_jump_zero(void) { if (POP()) ip++; else ip += (cell)*ip; }
static void do_jump(void) { ip += (cell)*ip; }
static void do_exit(void) { ip = (const word *const *)*--rp; }
static void do_colon(void) { *rp++ = (const word *const **)ip, ip = current->body; }

static word literal = {0, "", do_literal, 0, 0}, jump = {0, "", do_jump, 0, 0}, jump_zero = {0, "", do_jump_zero, 0, 0},
            leave = {0, "", do_exit, 0, 0};
static void comma(const void *v) { *here++ = v; }
static void do_if(void) { comma(&jump_zero), PUSH(here - code), comma(0); }
static void do_then(void) { cell at = POP(); code[at] = (const word *)(here - code - at); }
static void do_else(void) {
    cell at = POP();
    comma(&jump), PUSH(here - code), comma(0);
    code[at] = (const word *)(here - code - at);
}
static void do_begin(void) { PUSH(here - code); }
static void do_until(void) { cell to = POP(); comma(&jump_zero), comma((const void *)(to - (here - code))); }
static void do_semicolon(void) { comma(&leave), latest = compiling, compiling = 0; }
static void do_recurse(void) { comma(compiling); }

static const struct { const char *name; primitive run; int immediate; } primitives[] = {
    {"+", do_add, 0}, {"-", do_sub, 0}, {"*", do_mul, 0}, {"<", do_less, 0}, {"dup", do_dup, 0}, {"swap", do_swap, 0}, {"over", do_over, 0},
    {"drop", do_drop, 0}, {".", do_dot, 0}, {"if", do_if, 1}, {"else", do_else, 1}, {"then", do_then, 1}, {"begin", do_begin, 1},
    {"until", do_until, 1}, {";", do_semicolon, 1}, {"recurse", do_recurse, 1},
};
static word pool[64];
static int used;
static word *define(const char *name, primitive run, int immediate) {
    word *w = &pool[used++];
    strncpy(w->name, name, sizeof w->name - 1);
    w->link = latest, w->run = run, w->immediate = (unsigned char)immediate;
    return w;
}
static int next(char *to) {
    while (isspace((unsigned char)*source)) source++;
    while (*source && !isspace((unsigned char)*source)) *to++ = *source++;
    *to = 0;
    return *source || to[-1];
}
static void execute(const word *w) {
    static const word *stop[1];
    ip = stop, current = w, w->run();
    while (ip != stop) current = *ip++, current->run();
}
static void interpret(const char *text) {
    char token[32], *end;
    for (source = text; *source && next(token);) {
        if (!strcmp(token, ":")) {
            next(token);
            word *w = define(token, do_colon, 0);
            w->body = here, compiling = w;
            continue;
        }
        const word *w = latest;
        while (w && strcmp(w->name, token)) w = w->link;
        cell v = w ? 0 : strtol(token, &end, 0);
        if (!w && *end) printf("%s? ", token), faults++;
        else if (compiling && w && !w->immediate) comma(w);
        else if (w) execute(w);
        else if (compiling) comma(&literal), comma((const void *)v);
        else PUSH(v);
    }
}

int main(void) {
    for (unsigned i = 0; i < sizeof primitives / sizeof *primitives; i++) latest = define(primitives[i].name, primitives[i].run, primitives[i].immediate);
    interpret(": sq dup * ; : fib dup 2 < if else dup 1 - recurse swap 2 - recurse + then ;");
    interpret(": count 0 begin 1 + dup . over over < 0 < swap drop dup 1 < until drop ;");
    interpret("7 sq . 0x10 sq . 15 fib . -3 sq 4 swap - .");
    interpret(": sum 0 swap begin dup sq over 0 * + swap over drop 1 - dup 1 < until drop ; 5 sum . nothing 1 . drop");
    printf("%d %d\n", faults, (int)(sp - stack));
    return (int)(here - code) & 63;
}
