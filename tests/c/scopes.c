// Declarations that hide, nested records and unions without names, typedefs, unusual declarators, const and volatile
// host: no
// members, sizeof and alignment of expressions that are not evaluated.
#include <stddef.h>
#include <stdio.h>

typedef int number, row[3], (*action)(row, number);
typedef struct list { struct list *next; union { number n; char c[4]; struct { short lo, hi; }; }; } list;
struct outer { struct inner { int v; } i; enum { PART = 7, WHOLE } kind; struct { struct { char deep; } b; } a; };
static struct inner loose = {5};
static int (*(*factory(int n))(row r, number k))[3];
static row store[2] = {{1, 2, 3}, {4, 5, 6}};

static int (*pick0(row r, number k))[3] { return r[0] > k ? &store[0] : &store[1]; }
static int (*pick1(row r, number k))[3] { return r[k] & 1 ? &store[1] : &store[0]; }
static int (*(*factory(int n))(row r, number k))[3] { return n ? pick1 : pick0; }
static int total(row r, number k) { return r[0] + r[1] * k + r[2] * k * k; }
static int product(row r, number k) { return r[0] * r[1] * r[2] - k; }
static const action actions[] = {total, product};

static int number_shadow(int number) {
    int total = number * 2;
    {
        typedef char number;
        number small = 300 + total;
        total += small + sizeof(number);
    }
    for (int total = 0; total < 3; total++) number += total;
    if (number > 5) {
        enum { PART = 100 };
        total += PART;
    } else
        total += PART;
    return total * 1000 + number;
}
static int unevaluated(void) {
    int i = 3, a[5];
    int s = sizeof(i++) + sizeof a[i++] + sizeof(a) / sizeof *a + _Alignof(long long);
    s += sizeof(struct { char c; int v; }) + sizeof ""
         "abc" + sizeof(char[i]) + sizeof((char)i + 'a');
    return s * 10 + i;
}
static int parameters(int a[static 2], const char s[], int (*f)(row, number), int callback(row, number)) {
    a++;
    return *a + s[1] + f(store[0], 2) + callback(store[1], 1);
}
static int qualified(const volatile int *p, int *const q) {
    *q += *p;
    const int *const *pp = &(const int *){q};
    return **pp + *p;
}

int main(void) {
    list l[3] = {{l + 1, {.n = 0x41424344}}, {l + 2, {.c = "ab"}}, {NULL, {.lo = -1}}};
    int sum = 0;
    for (list *p = l; p; p = p->next) printf("%x %d %d %.2s\n", p->n, p->lo, p->hi, p->hi ? p->c : "--"), sum += p->lo;
    struct outer o = {{3}, WHOLE, {{'d'}}}, *op = &o;
    loose = op->i, loose.v += op->kind + o.a.b.deep;
    printf("%d %d %d\n", loose.v, (int)offsetof(struct outer, a.b.deep), (int)sizeof o);
    for (int i = 0; i < 2; i++) {
        int(*r)[3] = factory(i)(store[i], i + 1);
        printf("%d %d %d\n", (*r)[2], (*factory(!i))(*r, 0)[0][1], actions[i](*r, i + 2));
        sum += (*r)[i];
    }
    printf("%d %d %d\n", number_shadow(1), number_shadow(9), unevaluated());
    printf("%d\n", parameters(store[1], "xyz", total, &product));
    int v = 20;
    printf("%d\n", qualified(&v, &v));
    row *last = store + 1, copy[2] = {{9}, [1][2] = 8};
    copy[0][1] = (*last)[0] + last[-1][2];
    printf("%d %d %d\n", copy[0][1], copy[1][2], copy[1][0]);
    long double wide = 1.5L;
    wide *= 3;
    printf("%.2f %d\n", (double)wide, (int)sizeof wide);
    return (sum + v + copy[0][1]) & 0x7f;
}
