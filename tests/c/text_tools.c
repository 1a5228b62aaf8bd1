// Text: words counted, lines justified, CSV with quotes, roman numerals, number words, case, trimming, a tokenizer, caesar.
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char story[] = "It was the best of times, it was the worst of times;\nit was the age of wisdom...\n\n  the end\t!";
static void justify(const char *text, int width) {
    char line[80];
    int n = 0, words = 0;
    while (*text) {
        char word[32];
        int len = 0;
        while (isspace((unsigned char)*text)) text++;
        while (*text && !isspace((unsigned char)*text)) word[len++] = *text++;
        if (n && n + 1 + len > width) {
            int gaps = words - 1, extra = width - n;
            for (int i = 0; i < n; i++) {
                putchar(line[i]);
                if (line[i] == ' ' && gaps) {
                    int add = (extra + gaps - 1) / gaps;
                    extra -= add, gaps--;
                    while (add--) putchar(' ');
                }
            }
            printf("|\n");
            n = words = 0;
        }
        if (n) line[n++] = ' ';
        memcpy(line + n, word, (size_t)len), n += len, words++;
    }
    printf("%.*s\n", n, line);
}
static int fields(char *line, char **out, int max) {
    int n = 0;
    for (char *p = line; n < max;) {
        char *to = p;
        out[n++] = p;
        if (*p == '"') {
            for (p++; *p && (*p != '"' || p[1] == '"'); *to++ = *p++)
                if (*p == '"') p++;
            if (*p) p++;
        } else
            while (*p && *p != ',') *to++ = *p++;
        char end = *p++;
        *to = 0;
        if (!end) break;
    }
    return n;
}
static char *roman(int v, char *out) {
    static const struct { int v; char s[3]; } parts[] = {{1000, "M"}, {900, "CM"}, {500, "D"}, {400, "CD"}, {100, "C"}, {90, "XC"},
                                                         {50, "L"}, {40, "XL"}, {10, "X"}, {9, "IX"}, {5, "V"}, {4, "IV"}, {1, "I"}};
    *out = 0;
    for (unsigned i = 0; i < sizeof parts / sizeof *parts; i++)
        for (; v >= parts[i].v; v -= parts[i].v) strcat(out, parts[i].s);
    return out;
}
static int from_roman(const char *s) {
    static const char letters[] = "IVXLCDM";
    static const int values[] = {1, 5, 10, 50, 100, 500, 1000};
    int sum = 0, last = 0;
    for (int i = (int)strlen(s) - 1; i >= 0; i--) {
        int v = values[strchr(letters, s[i]) - letters];
        sum += v < last ? -v : v;
        if (v > last) last = v;
    }
    return sum;
}
static void say(long v) {
    static const char *const small[] = {"zero", "one", "two", "three", "four", "five", "six", "seven", "eight", "nine", "ten", "eleven", "twelve"};
    static const char *const tens[] = {"", "", "twenty", "thirty", "forty", "fifty", "sixty", "seventy", "eighty", "ninety"};
    if (v < 0) printf("minus "), v = -v;
    if (v >= 1000) say(v / 1000), printf(" thousand"), v %= 1000, v ? putchar(' ') : 0;
    else if (!v) printf("zero");
    if (v >= 100) printf("%s hundred", small[v / 100]), v %= 100, v ? printf(" and ") : 0;
    if (v > 12 && v < 20) printf("%s%s", v == 13 ? "thir" : v == 15 ? "fif" : v == 18 ? "eigh" : small[v - 10], "teen");
    else {
        if (v >= 20) printf("%s", tens[v / 10]), v %= 10, v ? putchar('-') : 0;
        if (v) printf("%s", small[v]);
    }
}
static int by_word(const void *a, const void *b) { return strcmp(*(char *const *)a, *(char *const *)b); }
int main(void) {
    int chars = 0, words = 0, lines = 0, in = 0;
    for (const char *p = story; *p; p++) {
        chars++, lines += *p == '\n';
        if (!isspace((unsigned char)*p) != in) in = !in, words += in;
    }
    printf("%d %d %d\n", lines, words, chars);
    justify(story, 24);
    char row[] = "plain,\"quoted, comma\",\"say \"\"hi\"\"\",,last", *f[8];
    int n = fields(row, f, 8);
    for (int i = 0; i < n; i++) printf("[%s]", f[i]);
    putchar('\n');
    char r[20];
    int bad = 0;
    for (int i = 1; i < 3000; i += 7) bad += from_roman(roman(i, r)) != i;
    printf("%d %s\n", bad, roman(1994, r));
    for (long v = -7; v < 300000; v = v * 7 + 61) say(v), printf("; ");
    putchar('\n');
    char copy[sizeof story], *list[40];
    strcpy(copy, story);
    n = 0;
    for (char *t = strtok(copy, " ,;.\n\t!"); t; t = strtok(NULL, " ,;.\n\t!")) {
        for (char *c = t; *c; c++) *c = (char)tolower((unsigned char)*c);
        list[n++] = t;
    }
    qsort(list, (size_t)n, sizeof *list, by_word);
    for (int i = 0, k; i < n; i += k) {
        for (k = 1; i + k < n && !strcmp(list[i], list[i + k]); k++) {}
        if (k > 1) printf("%s %d ", list[i], k);
    }
    for (char *c = copy; *c; c++)
        if (isalpha((unsigned char)*c)) *c = (char)((*c | 32) < 'n' ? *c + 13 : *c - 13);
    printf("%s\n", copy);
    return 0;
}
