#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
struct two {
    short s;
    char c;
};
struct one_byte {
    char c;
};
struct hfa {
    float x, y;
};
struct hfa4 {
    double d[4];
};
struct big {
    int a[3];
    char c;
};
struct ll {
    long long v;
};
union either {
    int i;
    float f;
};

struct two mine_two(int), theirs_two(int);
struct one_byte mine_byte(char), theirs_byte(char);
struct hfa mine_hfa(float, struct hfa), theirs_hfa(float, struct hfa), theirs_make(int);
struct hfa4 mine_hfa4(struct hfa4 *), theirs_hfa4(struct hfa4 *);
struct big mine_big(struct big, int), theirs_big(struct big, int);
struct ll mine_ll(char, struct ll, short), theirs_ll(char, struct ll, short);
union either mine_union(int), theirs_union(int);
_Complex double mine_complex(_Complex float), theirs_complex(_Complex float);
long long mine_many(char, long long, short, double, float, unsigned char, int, struct two, long long);
long long theirs_many(char, long long, short, double, float, unsigned char, int, struct two, long long);
int mine_va(const char *, ...), theirs_va(const char *, ...), theirs_vsum(const char *, va_list);
struct hfa (*pick(int))(int);
void theirs_calls_back(void);
int theirs_calls_old(void);
