// The string and character functions, string literals with every escape, concatenation, wide and Unicode literals.
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <wchar.h>

static const char escapes[] = "\a\b\f\n\r\t\v\\\'\"\?\0\x7f\101\1234" "5" "\x4" "1";
static const wchar_t wide[] = L"wide \x263a \u00e9" L"\t!";
static const unsigned short u16[] = u"\U0001f600z";
static const unsigned u32[] = U"\U0001f600z";
static const char utf8[] = u8"\u00e9\u20ac";

static int sign(int v) { return (v > 0) - (v < 0); }
static size_t wlen(const wchar_t *w) {
    const wchar_t *p = w;
    while (*p) p++;
    return p - w;
}

int main(void) {
    char b[64], c[64];
    unsigned sum = 0;
    for (unsigned i = 0; i < sizeof escapes; i++) sum = sum * 31 + (unsigned char)escapes[i];
    for (unsigned i = 0; i < sizeof wide / sizeof *wide; i++) sum = sum * 31 + wide[i];
    for (unsigned i = 0; i < sizeof u16 / sizeof *u16; i++) sum = sum * 31 + u16[i];
    for (unsigned i = 0; i < sizeof u32 / sizeof *u32; i++) sum = sum * 31 + u32[i];
    for (unsigned i = 0; i < sizeof utf8; i++) sum = sum * 31 + (unsigned char)utf8[i];
    printf("%u %u %u %u %x %d\n", sum, (unsigned)sizeof escapes, (unsigned)wlen(wide), (unsigned)sizeof wide, u16[0], 'ab');
    strcpy(b, "hello");
    strcat(b, ", world");
    strncat(b, "!!!!!!", 2);
    printf("%s %u %u\n", b, (unsigned)strlen(b), (unsigned)strnlen(b, 4));
    memset(c, '#', sizeof c);
    strncpy(c, "abc", 6);
    strncpy(c + 8, "toolong", 3);
    printf("%.3s %d %d %c %.4s\n", c, c[4], c[5], c[6], c + 8);
    printf("%d %d %d %d\n", sign(strcmp("abc", "abd")), sign(strcmp("abc", "ab")), sign(strcmp("", "")),
           sign(strcmp("\xff", "a")));
    printf("%d %d %d %d\n", sign(strncmp("abcx", "abcy", 3)), sign(memcmp("a\0b", "a\0c", 3)), sign(strcasecmp("HeLLo", "hEllO")),
           sign(strncasecmp("ABx", "aby", 3)));
    printf("%s %s %s %d\n", strchr(b, 'o'), strrchr(b, 'o'), strstr(b, "wor"), strstr(b, "xyz") == NULL);
    printf("%d %d %s %d\n", (int)strspn(b, "hel"), (int)strcspn(b, " ,"), strpbrk(b, "rw"), (int)(strchr(b, 0) - b));
    printf("%d %d\n", (int)((char *)memchr(b, 'w', 20) - b), memchr(b, 'z', 14) == NULL);
    memmove(b + 2, b, 10), b[12] = 0;
    printf("%s\n", b);
    memmove(b, b + 3, 9), memcpy(b + 9, "END", 4);
    printf("%s\n", b);
    char line[] = "key = value ; other=2;;last", *save;
    for (char *t = strtok_r(line, ";", &save); t; t = strtok_r(NULL, ";", &save)) printf("[%s]", t);
    char again[] = " a  b c ";
    for (char *t = strtok(again, " "); t; t = strtok(NULL, " ")) printf("<%s>", t);
    char *d = strdup("copied");
    d[0] = toupper(d[0]);
    printf("%s %s\n", d, stpcpy(c, "end") - 2);
    free(d);
    unsigned classes = 0;
    for (int i = 0; i < 128; i++)
        classes = classes * 3 + !!isalpha(i) + 2 * !!isdigit(i) + 4 * !!isspace(i) + 8 * !!ispunct(i) + 16 * !!isxdigit(i) +
                  32 * !!iscntrl(i) + 64 * !!isprint(i) + tolower(i) + toupper(i) * 2 + 5 * !!isalnum(i) + 7 * !!isgraph(i);
    printf("%d %s %d\n", classes, &"literal"[3], "abc"[1]);
    char words[4][8] = {"pear", "apple", "fig", "kiwi"}, *sorted[4];
    for (int i = 0; i < 4; i++) {
        int j = i;
        while (j > 0 && strcmp(sorted[j - 1], words[i]) > 0) sorted[j] = sorted[j - 1], j--;
        sorted[j] = words[i];
    }
    for (int i = 0; i < 4; i++) printf("%s ", sorted[i]);
    for (char *p = b, *q = b + strlen(b) - 1; p < q;) {
        char t = *p;
        *p++ = *q, *q-- = t;
    }
    printf("%s %s\n", b, __func__);
    return (sum + classes) & 0x7f;
}
