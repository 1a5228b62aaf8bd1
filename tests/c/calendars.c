// Dates: day numbers both ways over four centuries, weekdays, leap years, Easter, ISO weeks, durations with signs.
#include <stdio.h>

struct date { int y; unsigned char m, d; };
static int leap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }
static int length(int y, int m) { return m == 2 ? 28 + leap(y) : 30 + (m + (m > 7)) % 2; }
static int floor_div(int a, int b) { return a / b - (a % b != 0 && (a < 0) != (b < 0)); }
static int number(struct date t) { // days since 1970-01-01
    int y = t.m <= 2 ? t.y - 1 : t.y, era = floor_div(y, 400);
    unsigned yoe = (unsigned)(y - era * 400), doy = (153u * (t.m + (t.m > 2 ? -3 : 9)) + 2) / 5 + t.d - 1;
    return era * 146097 + (int)(yoe * 365 + yoe / 4 - yoe / 100 + doy) - 719468;
}
static struct date from_number(int n) {
    n += 719468;
    int era = floor_div(n, 146097);
    unsigned doe = (unsigned)(n - era * 146097), yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100), mp = (5 * doy + 2) / 153;
    struct date r = {(int)yoe + era * 400 + (mp >= 10), (unsigned char)(mp < 10 ? mp + 3 : mp - 9), (unsigned char)(doy - (153 * mp + 2) / 5 + 1)};
    return r;
}
static int weekday(int n) { return ((n + 4) % 7 + 7) % 7; }
static int zeller(int d, int m, int y) {
    if (m < 3) m += 12, y--;
    return (d + 13 * (m + 1) / 5 + y % 100 + y % 100 / 4 + y / 100 / 4 + 5 * (y / 100) + 6) % 7;
}
static struct date easter(int y) {
    int a = y % 19, b = y / 100, c = y % 100, d = b / 4, e = b % 4, g = (8 * b + 13) / 25;
    int h = (19 * a + b - d - g + 15) % 30, i = c / 4, k = c % 4, l = (32 + 2 * e + 2 * i - h - k) % 7;
    int m = (a + 11 * h + 22 * l) / 451, n = h + l - 7 * m + 114;
    return (struct date){y, (unsigned char)(n / 31), (unsigned char)(n % 31 + 1)};
}
static int iso_week(struct date t) {
    int n = number(t), thursday = n - (weekday(n) + 6) % 7 + 3;
    struct date th = from_number(thursday), first = {th.y, 1, 1};
    return (thursday - number(first)) / 7 + 1;
}
int main(void) {
    int n = number((struct date){1799, 12, 31}), count = 0;
    for (int y = 1800; y < 2200; y++)
        for (int m = 1; m <= 12; m++)
            for (int d = 1; d <= length(y, m); d++) {
                struct date t = {y, (unsigned char)m, (unsigned char)d}, back = from_number(++n);
                if (number(t) != n || back.y != y || back.m != m || back.d != d || weekday(n) != zeller(d, m, y))
                    return printf("wrong %d-%d-%d\n", y, m, d), 1;
                count += d == 13 && weekday(n) == 5;
            }
    printf("%d Fridays, last day %d\n", count, n);
    for (int y = 1990; y < 2030; y += 5) {
        struct date e = easter(y);
        printf("%d-%02d-%02d w%d ", e.y, e.m, e.d, iso_week(e));
    }
    struct date early = from_number(-1000000);
    printf("\n%d-%d-%d %d\n", early.y, early.m, early.d, iso_week((struct date){2021, 1, 3}));
    return 0;
}
