// goto into and out of blocks, loops with every kind of exit, labels in odd places, loops that share a tail.
#include <stdio.h>

static int into(int where) {
    int n = 0, i = 100;
    if (where == 1) goto inside;
    if (where == 2) goto branch;
    for (i = 0; i < 5; i++) {
        n += 1;
    inside:
        n += 10;
        if (n > 60) goto out;
    }
    if (n & 1) {
    branch:
        n += 1000;
    } else
        n += 2000;
out:
    return n + i;
}
static int out_of_three(int stop) {
    int n = 0;
    for (int i = 0; i < 10; i++)
        for (int j = 0;; j++) {
            int k = 0;
            do {
                if (++n == stop) goto done;
                if (k == j) break;
            } while (k++ < 4);
            if (j > 4) break;
        }
    n += 10000;
done:
    return n;
}
static int backward(int n) {
    int s = 0, round = 0;
again: {
    int fresh = n * 2;
    s += fresh;
    if (--n > 0) goto again;
}
    if (round++ < 2) {
        n = round * 3;
        goto again;
    }
    return s;
}
// Two loops through one body: no single entry.
static int tangled(int a, int b) {
    int n = 0;
    if (a & 1) goto second;
first:
    n += a;
    if (--a < 0) return n;
    if (n % 3 == 0) goto first;
second:
    n += b * 2;
    if (--b < 0) return -n;
    if (n % 5 == 1) goto second;
    goto first;
}
static int exits(int kind, int n) {
    int r = 0;
    while (1) {
        if (kind == 0 && r > n) break;
        if (kind == 1 && r > n) return -r;
        if (kind == 2 && r > n) goto far;
        if (r % 7 == 6) {
            r += 2;
            continue;
        }
        switch (kind) {
        case 3:
            if (r > n) goto far;
            continue_here: r += 3; continue;
        case 4:
            if (r < n) goto continue_here;
            return r;
        }
        r++;
    }
    return r * 10;
far:
    return r * 100;
}
static int in_switch(int n) {
    int r = 0;
    switch (n) {
        for (; n < 20; n += 4) {
        case 1: r += 1;
        case 2: r += 10; if (r > 45) break;
        case 3: r += 100; continue;
        case 4: r += 1000;
        }
        r = -r;
    case 9:;
    }
    return r;
}
static int do_forms(int n) {
    int r = 0;
    do r += n; while (n--, n > 3);
    do {
        if (n == 2) continue;
        r *= 2;
    } while (--n > 0);
    for (;; ) if (r++ % 11 == 0) break; else continue;
    while (r > 1000) if (r & 1) r /= 3; else r /= 2;
    for (int a = 0, b = 20; a < b; a += 3, b--) r += a ^ b;
    for (unsigned u = 5; u-- > 0; ) r += u;
    return r;
}
static const char *word(const char *p, int n) {
next:
    while (*p == ' ') p++;
    if (!*p) return "-";
    if (n-- == 0) return p;
    while (*p && *p != ' ') p++;
    goto next;
}
static int jump_over_array(int n) {
    if (n < 0) goto end;
    {
        int a[4] = {n, n + 1, n + 2};
        n = a[0] + a[1] * a[2] + a[3];
        if (n > 50) goto end;
        a[3] = n;
        n += a[3];
    }
end:
    return n;
}

int main(void) {
    unsigned sum = 0;
    for (int i = 0; i < 3; i++) printf("%d ", into(i)), sum += into(i);
    for (int i = 1; i < 200; i += 37) printf("%d ", out_of_three(i)), sum += out_of_three(i);
    for (int i = 0; i < 5; i++) printf("%d ", backward(i)), sum += backward(i);
    printf("\n");
    for (int a = 0; a < 9; a++)
        for (int b = 0; b < 9; b++) sum = sum * 3 + tangled(a, b);
    printf("%d\n", sum);
    for (int k = 0; k < 5; k++) printf("%d %d ", exits(k, 10), exits(k, 33));
    printf("\n");
    for (int i = 0; i < 6; i++) printf("%d ", in_switch(i));
    for (int i = 0; i < 12; i += 2) printf("%d ", do_forms(i)), sum += do_forms(i);
    for (int i = 0; i < 4; i++) printf("%.2s ", word("  ab cd   ef", i));
    for (int i = -1; i < 9; i += 3) printf("%d ", jump_over_array(i));
    printf("\n");
    return sum & 0x7f;
}
