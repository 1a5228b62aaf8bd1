// A JSON reader and writer over a tree of tagged unions: strings with escapes, numbers, nesting, errors with places.
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum kind { NUL, BOOL, NUMBER, TEXT, LIST, MAP };
typedef struct value {
    enum kind kind;
    char *key;
    union { int truth; double number; char *text; struct value *first; };
    struct value *next;
} VALUE;
static const char *at, *begin, *error;
static int live;

static VALUE *fresh(enum kind k) {
    VALUE *v = calloc(1, sizeof *v);
    v->kind = k, live++;
    return v;
}
static void drop(VALUE *v) {
    while (v) {
        VALUE *next = v->next;
        free(v->key);
        if (v->kind == TEXT) free(v->text);
        if (v->kind >= LIST) drop(v->first);
        free(v), live--;
        v = next;
    }
}
static VALUE *bad(const char *why) {
    if (!error) error = why;
    return NULL;
}
static int is(char c) {
    while (isspace((unsigned char)*at)) at++;
    return *at == c && at++;
}
static char *text(void) {
    char buffer[64];
    int n = 0;
    for (; *at != '"'; at++) {
        if (!*at || n == 60) return bad("text"), NULL;
        char c = *at;
        if (c == '\\')
            switch (*++at) {
            case 'n': c = '\n'; break;
            case 't': c = '\t'; break;
            case '"': case '\\': case '/': c = *at; break;
            case 'u': {
                unsigned u;
                if (sscanf(at + 1, "%4x", &u) != 1) return bad("code"), NULL;
                at += 4;
                if (u < 0x80) c = (char)u;
                else if (u < 0x800) buffer[n++] = (char)(0xC0 | u >> 6), c = (char)(0x80 | (u & 63));
                else buffer[n++] = (char)(0xE0 | u >> 12), buffer[n++] = (char)(0x80 | (u >> 6 & 63)), c = (char)(0x80 | (u & 63));
                break;
            }
            default: return bad("escape"), NULL;
            }
        buffer[n++] = c;
    }
    at++;
    buffer[n] = 0;
    return strcpy(malloc((size_t)n + 1), buffer);
}
static VALUE *parse(int depth) {
    VALUE *v;
    if (depth > 8) return bad("deep");
    if (is('[') || is('{')) {
        int map = at[-1] == '{';
        VALUE **tail = &(v = fresh(map ? MAP : LIST))->first;
        if (is(map ? '}' : ']')) return v;
        do {
            char *key = NULL;
            if (map && (!is('"') || !(key = text()) || !is(':'))) {
                free(key), drop(v);
                return bad("key");
            }
            *tail = parse(depth + 1);
            if (!*tail) {
                free(key), drop(v);
                return NULL;
            }
            (*tail)->key = key, tail = &(*tail)->next;
        } while (is(','));
        if (is(map ? '}' : ']')) return v;
        drop(v);
        return bad("bracket");
    }
    if (is('"')) {
        char *t = text();
        if (!t) return NULL;
        v = fresh(TEXT), v->text = t;
        return v;
    }
    if (!strncmp(at, "null", 4)) return at += 4, fresh(NUL);
    for (int t = 0; t < 2; t++)
        if (!strncmp(at, t ? "true" : "false", (size_t)(5 - t))) {
            at += 5 - t, v = fresh(BOOL), v->truth = t;
            return v;
        }
    char *end;
    double d = strtod(at, &end);
    if (end == at) return bad("value");
    at = end, v = fresh(NUMBER), v->number = d;
    return v;
}
static void print(const VALUE *v) {
    switch (v->kind) {
    case NUL: printf("null"); break;
    case BOOL: printf("%s", v->truth ? "true" : "false"); break;
    case NUMBER: printf("%g", v->number); break;
    case TEXT:
        putchar('"');
        for (const char *p = v->text; *p; p++)
            if ((unsigned char)*p < 32 || *p == '"') printf("\\x%02x", *p);
            else putchar(*p);
        putchar('"');
        break;
    default:
        putchar(v->kind == MAP ? '{' : '[');
        for (const VALUE *e = v->first; e; e = e->next) {
            if (e->key) printf("%s=", e->key);
            print(e);
            if (e->next) putchar(' ');
        }
        putchar(v->kind == MAP ? '}' : ']');
    }
}
static double sum(const VALUE *v) {
    double s = v->kind == NUMBER ? v->number : v->kind == BOOL ? v->truth : 0;
    if (v->kind >= LIST)
        for (const VALUE *e = v->first; e; e = e->next) s += sum(e);
    return s;
}
int main(void) {
    static const char *const docs[] = {
        "{\"a\": 1, \"b\": [true, false, null], \"c\": {\"d\": -2.5e1, \"e\": \"x\\ny\\u00e4\\\"\"}}", "[[[[1], 2], 3], [4, [5, [6]]]]", " 17 ", "[]",
        "{}", "[1, 2", "{\"a\" 1}", "\"open", "[1 2]", "nope", "[[[[[[[[[[1]]]]]]]]]]", "\"bad \\q\"", "[1e3, 0.125, -0, 1e-7]"};
    for (unsigned i = 0; i < sizeof docs / sizeof *docs; i++) {
        at = begin = docs[i], error = NULL;
        VALUE *v = parse(0);
        if (v) print(v), printf(" %g\n", sum(v));
        else printf("%s at %d\n", error, (int)(at - begin));
        drop(v);
    }
    return live;
}
