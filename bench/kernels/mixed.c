// The mixture that systems programs are said to be made of: records by pointer, enumerations, strings, small calls.
#include "kernel.h"

enum day { MONDAY, TUESDAY, WEDNESDAY, THURSDAY, FRIDAY };
typedef struct record {
    struct record *other;
    enum day day;
    int number;
    char text[31];
} record;

static record first, second;
static int global_count, flag;
static char letter_1, letter_2;
static int vector[50], table[50][50];

static int same_letter(char a, char b)
{
    char c = a;
    if (c != b) return 0;
    letter_1 = c;
    return 1;
}

static int text_is_greater(const char *a, const char *b)
{
    int at = 2;
    char c = 0;
    while (at <= 2)
        if (!same_letter(a[at], b[at + 1])) {
            c = 'A';
            at++;
        }
    if (c >= 'W' && c < 'Z') at = 7;
    if (c == 'R') return 1;
    if (strcmp(a, b) > 0) {
        global_count = at + 7;
        return 1;
    }
    return 0;
}

static void sum_up(int a, int b, int *out) { *out = b + a + 2; }

static void fill(int *v, int (*t)[50], int index, int value)
{
    int at = index + 5;
    v[at] = value;
    v[at + 1] = v[at];
    v[at + 30] = at;
    for (int i = at; i <= at + 1; i++) t[at][i] = at;
    t[at][at - 1]++;
    t[at + 10][at] = v[at];
    global_count = 5;
}

static void next_day(enum day in, enum day *out)
{
    *out = in;
    if (in == WEDNESDAY) *out = flag ? MONDAY : FRIDAY;
    switch (in) {
    case MONDAY: *out = MONDAY; break;
    case TUESDAY: *out = global_count > 100 ? MONDAY : FRIDAY; break;
    case WEDNESDAY: *out = TUESDAY; break;
    case THURSDAY: break;
    case FRIDAY: *out = WEDNESDAY; break;
    }
}

static void pass_on(record *r)
{
    record *next = r->other;
    *next = first;
    r->number = 5;
    next->number = r->number;
    next->other = r->other;
    if (next->day == MONDAY) {
        next->number = 6;
        next_day(r->day, &next->day);
        sum_up(next->number, 10, &next->number);
    } else {
        *r = *next;
    }
}

int main(void)
{
    char a[31], b[31];
    first.other = &second;
    first.day = WEDNESDAY;
    first.number = 40;
    strcpy(first.text, "A TEXT OF THIRTY LETTERS, MORE");
    strcpy(a, "A TEXT OF THIRTY LETTERS, 1'ST");
    table[8][7] = 10;
    for (int round = 1; round <= 3000; round++) {
        int x = 2, y = 3, z = 0;
        letter_1 = 'A';
        letter_2 = 'B';
        flag = letter_1 == 'A';
        strcpy(b, "A TEXT OF THIRTY LETTERS, 2'ND");
        flag = !text_is_greater(a, b);
        while (x < y) {
            z = 5 * x - y;
            sum_up(x, y, &z);
            x++;
        }
        fill(vector, table, x, z);
        pass_on(&first);
        for (char c = 'A'; c <= letter_2; c++)
            if (same_letter(c, 'C')) next_day(MONDAY, &first.day);
        y = y * x;
        x = y / z;
        y = 7 * (y - z) - x;
        first.day = (enum day)((round + y) % 5 < 0 ? 0 : (round + y) % 5);
        mix((unsigned)(x + y + z));
    }
    mix((unsigned)vector[8] + (unsigned)table[8][7] + (unsigned)first.number + (unsigned)second.number + (unsigned)global_count);
    return finish();
}
