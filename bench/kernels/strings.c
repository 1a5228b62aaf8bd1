// Text without the library: length, compare, search, reverse, numbers to text and back, words counted.
#include "kernel.h"

static char text[4096], other[4096], number[16];

static int length(const char *s)
{
    const char *p = s;
    while (*p) p++;
    return (int)(p - s);
}

static int compare(const char *a, const char *b)
{
    while (*a && *a == *b) a++, b++;
    return (unsigned char)*a - (unsigned char)*b;
}

static int find(const char *s, const char *what)
{
    for (int i = 0; s[i]; i++) {
        int j = 0;
        while (what[j] && s[i + j] == what[j]) j++;
        if (!what[j]) return i;
    }
    return -1;
}

static void reverse(char *s)
{
    for (int i = 0, j = length(s) - 1; i < j; i++, j--) {
        char c = s[i];
        s[i] = s[j];
        s[j] = c;
    }
}

static char *to_text(int v, char *out)
{
    unsigned u = v < 0 ? 0u - (unsigned)v : (unsigned)v;
    char *p = out;
    do *p++ = (char)('0' + u % 10);
    while (u /= 10);
    if (v < 0) *p++ = '-';
    *p = 0;
    reverse(out);
    return out;
}

static int to_number(const char *s)
{
    int sign = 1, v = 0;
    if (*s == '-') sign = -1, s++;
    while (*s >= '0' && *s <= '9') v = v * 10 + (*s++ - '0');
    return sign * v;
}

static int words(const char *s)
{
    int count = 0, inside = 0;
    for (; *s; s++) {
        int space = *s == ' ' || *s == '\n' || *s == '\t';
        if (!space && !inside) count++;
        inside = !space;
    }
    return count;
}

static int to_upper(char *s)
{
    int changed = 0;
    for (; *s; s++)
        if (*s >= 'a' && *s <= 'z') *s -= 'a' - 'A', changed++;
    return changed;
}

int main(void)
{
    char *p = text;
    while (p < text + 4000) *p++ = next_random() % 6 ? (char)('a' + next_random() % 26) : ' ';
    strcpy(other, text);
    other[3900] = '#';
    for (int i = 0; i < 5; i++) {
        mix((unsigned)length(text));
        mix((unsigned)compare(text, other));
        mix((unsigned)find(text, "qzj"));
        mix((unsigned)words(text));
        reverse(text);
    }
    for (int i = 0; i < 600; i++) mix((unsigned)to_number(to_text((int)next_random() - (1 << 23), number)));
    mix((unsigned)to_upper(text));
    return finish();
}
