// What a big-endian program of the tests stands on, in place of a C library: start, output, memory, strings.
#include <stdarg.h>
#include <stddef.h>

static int system_call(int number, int a, const void *b, int c) {
    register int r0 __asm__("r0") = a;
    register const void *r1 __asm__("r1") = b;
    register int r2 __asm__("r2") = c;
    register int r7 __asm__("r7") = number;
    __asm__ volatile("svc 0" : "+r"(r0) : "r"(r1), "r"(r2), "r"(r7) : "memory");
    return r0;
}

static char buffer[4096];
static int filled;
static void flush(void) { system_call(4, 1, buffer, filled), filled = 0; }
int putchar(int c) {
    if (filled == sizeof buffer) flush();
    return buffer[filled++] = (char)c;
}
static int put(const char *s) {
    int n = 0;
    while (s[n]) putchar(s[n++]);
    return n;
}
int puts(const char *s) { return put(s) + (putchar('\n') != 0); }

// Digits without division, which the compiler would take from a library of the other byte order.
static int number(unsigned long long v, unsigned base, int width, int zeros, int negative, int capital) {
    char text[32];
    int n = 0, printed = 0;
    do {
        unsigned digit = 0;
        unsigned long long quotient = 0;
        for (int bit = 63; bit >= 0; bit--) {
            digit = digit << 1 | (unsigned)(v >> bit & 1);
            quotient <<= 1;
            if (digit >= base) digit -= base, quotient |= 1;
        }
        text[n++] = (char)(digit < 10 ? '0' + digit : (capital ? 'A' : 'a') + digit - 10);
        v = quotient;
    } while (v);
    if (negative && zeros) putchar('-'), printed++;
    for (int pad = width - n - negative; pad > 0; pad--) putchar(zeros ? '0' : ' '), printed++;
    if (negative && !zeros) putchar('-'), printed++;
    while (n) putchar(text[--n]), printed++;
    return printed;
}

int printf(const char *f, ...) {
    va_list list;
    int printed = 0;
    va_start(list, f);
    for (; *f; f++) {
        if (*f != '%') {
            putchar(*f), printed++;
            continue;
        }
        int zeros = *++f == '0', width = 0, longs = 0;
        for (; *f >= '0' && *f <= '9'; f++) width = width * 10 + *f - '0';
        for (; *f == 'l'; f++) longs++;
        switch (*f) {
        case 'd': {
            long long v = longs > 1 ? va_arg(list, long long) : va_arg(list, int);
            printed += number(v < 0 ? 0 - (unsigned long long)v : (unsigned long long)v, 10, width, zeros, v < 0, 0);
            break;
        }
        case 'u':
        case 'x':
        case 'X': {
            unsigned long long v = longs > 1 ? va_arg(list, unsigned long long) : va_arg(list, unsigned);
            printed += number(v, *f == 'u' ? 10 : 16, width, zeros, 0, *f == 'X');
            break;
        }
        case 'c': putchar(va_arg(list, int)), printed++; break;
        case 's': printed += put(va_arg(list, const char *)); break;
        case '%': putchar('%'), printed++; break;
        default: put("?format?");
        }
    }
    va_end(list);
    return printed;
}

void *memcpy(void *to, const void *from, size_t n) {
    char *t = to;
    const char *s = from;
    while (n--) *t++ = *s++;
    return to;
}
void *memmove(void *to, const void *from, size_t n) {
    char *t = to;
    const char *s = from;
    if (t <= s) return memcpy(to, from, n);
    while (n--) t[n] = s[n];
    return to;
}
void *memset(void *to, int c, size_t n) {
    char *t = to;
    while (n--) *t++ = (char)c;
    return to;
}
int memcmp(const void *a, const void *b, size_t n) {
    const unsigned char *x = a, *y = b;
    for (; n; n--, x++, y++)
        if (*x != *y) return *x < *y ? -1 : 1;
    return 0;
}
size_t strlen(const char *s) {
    size_t n = 0;
    while (s[n]) n++;
    return n;
}
char *strcpy(char *to, const char *from) { return memcpy(to, from, strlen(from) + 1); }
int strcmp(const char *a, const char *b) {
    while (*a && *a == *b) a++, b++;
    return (unsigned char)*a - (unsigned char)*b;
}

int main(void);
void _start(void) {
    int status = main();
    flush();
    system_call(1, status, 0, 0);
}
