// Literals of every character width, with escapes and universal names, joined, in arrays and through pointers.
#include <stdio.h>
#include <stddef.h>
#include <string.h>

typedef __CHAR16_TYPE__ c16;
typedef __CHAR32_TYPE__ c32;
static const char narrow[] = "tab\tquote\"oct\101hex\x41" "B" "\?\a\0end";
static const char utf8[] = u8"\u00e9\u20ac\U0001F600";
static const c16 half[] = u"a\u20ac\U0001F600z";
static const c32 full[5] = U"\U0001F600\u00e9";
static const wchar_t wide[][4] = {L"one", L"\x12345", {L'a', L'\u00df'}};
static const c16 *const names[] = {u"first", u"", u"third"};
static const struct { char tag; c16 text[4]; const c32 *more; } records[] = {{'x', u"abc", U"long"}, {'y', {u'd'}, U""}};

static unsigned hash16(const c16 *s) {
    unsigned h = 5381;
    for (; *s; s++) h = h * 33 ^ *s;
    return h;
}
static unsigned decode(const c16 **s) {
    unsigned v = *(*s)++;
    if (v >= 0xd800 && v < 0xdc00) v = 0x10000 + ((v & 0x3ff) << 10) + (*(*s)++ & 0x3ff);
    return v;
}
static int encode(unsigned v, unsigned char *to) {
    if (v < 0x80) return to[0] = (unsigned char)v, 1;
    int n = v < 0x800 ? 2 : v < 0x10000 ? 3 : 4;
    for (int i = n; --i; v >>= 6) to[i] = 0x80 | (v & 0x3f);
    return to[0] = (unsigned char)((0xf00 >> n & 0xff) | v), n;
}

int main(void) {
    printf("%d %d %d %d %d\n", (int)sizeof narrow, (int)sizeof utf8, (int)(sizeof half / sizeof *half), (int)sizeof full, narrow[4]);
    for (size_t i = 0; i < sizeof utf8; i++) printf("%02x ", (unsigned char)utf8[i]);
    for (size_t i = 0; i < sizeof half / 2; i++) printf("%04x ", half[i]);
    printf("\n%x %x %x %d %d\n", full[0], full[1], full[2], (int)wide[0][2], wide[1][0] == 0x12345 && wide[2][1] == 0xdf && !wide[2][2]);
    printf("%u %u %u\n", hash16(names[0]), hash16(names[1]), hash16(names[2]));
    for (int i = 0; i < 2; i++) printf("%c%c%d%x ", records[i].tag, records[i].text[0], records[i].text[3], records[i].more[0]);
    printf("\n%u %u %d %d\n", (unsigned)'ab', (unsigned)'abcd', '\377' == (char)255, L'\377' == 255);
    unsigned char out[32];
    int n = 0;
    for (const c16 *s = half; *s;) n += encode(decode(&s), out + n);
    out[n] = 0;
    for (int i = 0; i < n; i++) printf("%02x", out[i]);
    printf(" %d %.3s|%s\n", strcmp((char *)out + 1, utf8 + 2) > 0, narrow + 4, "a" /* joined */ "b" "\x63" "d");
    c16 local[] = u"local", *p = local;
    while (*p) p++;
    *--p = u'\u0141';
    printf("%x %d %u\n", local[4], (int)(p - local), 0b10110u + 0B11);
    return (int)(sizeof L"abc" / sizeof(wchar_t));
}
