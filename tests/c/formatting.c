// A printf of its own: lists of arguments passed on by value and by pointer, copied, and taken with every type that they
// can hold; records among them; functions that call back with the list.
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

struct out { char text[256]; size_t n; };
struct point { short x, y; };
struct span { struct point from; long long length; };
typedef void printer(struct out *, va_list *);

static void put(struct out *o, char c) {
    if (o->n + 1 < sizeof o->text) o->text[o->n++] = c, o->text[o->n] = 0;
}
static void digits(struct out *o, unsigned long long v, unsigned base, int width, char pad) {
    char b[24];
    int n = 0;
    do b[n++] = "0123456789abcdef"[v % base];
    while (v /= base);
    while (width-- > n) put(o, pad);
    while (n) put(o, b[--n]);
}
static void print_point(struct out *o, va_list *list) {
    struct point p = va_arg(*list, struct point);
    put(o, '('), digits(o, (unsigned)p.x, 10, 0, 0), put(o, ','), digits(o, (unsigned)p.y, 10, 0, 0), put(o, ')');
}
static void print_span(struct out *o, va_list *list) {
    struct span s = va_arg(*list, struct span);
    digits(o, (unsigned)s.from.x, 10, 3, '.'), put(o, '+'), digits(o, (unsigned long long)s.length, 16, 0, 0);
}
static void format_list(struct out *o, const char *f, va_list *list) {
    for (; *f; f++) {
        if (*f != '%') {
            put(o, *f);
            continue;
        }
        int width = 0, longs = 0;
        char pad = ' ';
        if (f[1] == '0') pad = '0', f++;
        while (*++f >= '0' && *f <= '9') width = width * 10 + *f - '0';
        if (*f == '*') width = va_arg(*list, int), f++;
        while (*f == 'l') longs++, f++;
        switch (*f) {
        case 'd': {
            long long v = longs == 2 ? va_arg(*list, long long) : longs ? va_arg(*list, long) : va_arg(*list, int);
            if (v < 0) put(o, '-'), v = -v;
            digits(o, (unsigned long long)v, 10, width, pad);
            break;
        }
        case 'x': digits(o, longs == 2 ? va_arg(*list, unsigned long long) : va_arg(*list, unsigned), 16, width, pad); break;
        case 'f': {
            double v = va_arg(*list, double);
            if (v < 0) put(o, '-'), v = -v;
            digits(o, (unsigned long long)v, 10, width, pad), put(o, '.');
            digits(o, (unsigned long long)((v - (double)(unsigned long long)v) * 1000 + 0.5), 10, 3, '0');
            break;
        }
        case 's':
            for (const char *s = va_arg(*list, const char *); *s; s++) put(o, *s);
            break;
        case 'c': put(o, (char)va_arg(*list, int)); break;
        case 'P': va_arg(*list, printer *)(o, list); break;
        default: put(o, *f);
        }
    }
}
static size_t format(struct out *o, const char *f, ...) {
    va_list list;
    o->n = 0;
    va_start(list, f);
    format_list(o, f, &list);
    va_end(list);
    return o->n;
}
static int both(struct out *o, char *mine, size_t room, const char *f, va_list list) {
    va_list again;
    va_copy(again, list);
    o->n = 0;
    format_list(o, f, &again);
    va_end(again);
    return vsnprintf(mine, room, f, list);
}
static int agrees(const char *f, ...) {
    struct out o;
    char theirs[256];
    va_list list;
    va_start(list, f);
    int n = both(&o, theirs, sizeof theirs, f, list);
    va_end(list);
    return n == (int)o.n && !strcmp(o.text, theirs);
}

int main(void) {
    struct out o;
    struct span s = {{300, 4}, 1ll << 36};
    size_t n = format(&o, "%d|%5d|%05d|%lld|%llx|%c|%s", -7, 42, 42, -1234567890123ll, 0xfedcba9876543210ull, 'x', "text");
    printf("%u %s\n", (unsigned)n, o.text);
    format(&o, "%P %d %P %f %P%%", print_point, (struct point){1, 2}, 3, print_span, s, 2.5, print_point, s.from);
    printf("%s\n", o.text);
    format(&o, "%*d %f %c %ld", 6, 5, -0.125f, 65, -5L);
    printf("%s\n", o.text);
    printf("%d", agrees("%d %s %x", 1, "two", 3u));
    printf("%d", agrees("%08x|%8d|%c", 0xbeefu, -5 + 9, '*'));
    printf("%d", agrees("%lld %d %llx %d", 1ll << 60, 1, ~0ull, 2));
    printf("%d\n", agrees("%*d%*d", 4, 1, 7, 2));
    return (int)format(&o, "%s", "");
}
