// Twelve ways to sort, over patterns that hurt each of them; all must agree and report their comparisons.
#include <stdio.h>
#include <string.h>

enum { N = 96 };
static long compares;
static int less(int a, int b) { return compares++, a < b; }
static void swap(int *a, int *b) {
    int t = *a;
    *a = *b, *b = t;
}
static void bubble(int *a, int n) {
    for (int done = 0; !done; n--) {
        done = 1;
        for (int i = 1; i < n; i++)
            if (less(a[i], a[i - 1])) swap(a + i, a + i - 1), done = 0;
    }
}
static void cocktail(int *a, int n) {
    for (int lo = 0, hi = n - 1; lo < hi;) {
        int last = lo;
        for (int i = lo; i < hi; i++)
            if (less(a[i + 1], a[i])) swap(a + i, a + i + 1), last = i;
        hi = last, last = hi;
        for (int i = hi; i > lo; i--)
            if (less(a[i], a[i - 1])) swap(a + i, a + i - 1), last = i;
        lo = last;
    }
}
static void selection(int *a, int n) {
    for (int i = 0; i < n - 1; i++) {
        int m = i;
        for (int j = i + 1; j < n; j++)
            if (less(a[j], a[m])) m = j;
        swap(a + i, a + m);
    }
}
static void insertion(int *a, int n) {
    for (int i = 1; i < n; i++) {
        int v = a[i], j = i;
        for (; j > 0 && less(v, a[j - 1]); j--) a[j] = a[j - 1];
        a[j] = v;
    }
}
static void binary(int *a, int n) {
    for (int i = 1; i < n; i++) {
        int v = a[i], lo = 0, hi = i;
        while (lo < hi) {
            int mid = (lo + hi) / 2;
            if (less(v, a[mid])) hi = mid;
            else lo = mid + 1;
        }
        memmove(a + lo + 1, a + lo, (size_t)(i - lo) * sizeof *a);
        a[lo] = v;
    }
}
static void shell(int *a, int n) {
    for (int gap = n / 2; gap > 0; gap /= 2)
        for (int i = gap; i < n; i++) {
            int v = a[i], j;
            for (j = i; j >= gap && less(v, a[j - gap]); j -= gap) a[j] = a[j - gap];
            a[j] = v;
        }
}
static void comb(int *a, int n) {
    for (int gap = n, again = 1; gap > 1 || again;) {
        gap = gap * 10 / 13 > 0 ? gap * 10 / 13 : 1;
        again = 0;
        for (int i = 0; i + gap < n; i++)
            if (less(a[i + gap], a[i])) swap(a + i, a + i + gap), again = 1;
    }
}
static void heap(int *a, int n) {
    for (int i = n / 2 - 1, end = n; end > 1;) {
        if (i >= 0) {
        } else swap(a, a + --end), i = 0;
        for (int r = i, c; (c = 2 * r + 1) < end; r = c) {
            if (c + 1 < end && less(a[c], a[c + 1])) c++;
            if (!less(a[r], a[c])) break;
            swap(a + r, a + c);
        }
        i--;
    }
}
static void quick(int *a, int n) {
    while (n > 1) {
        int p = a[n / 2], i = 0, j = n - 1;
        for (;; i++, j--) {
            while (less(a[i], p)) i++;
            while (less(p, a[j])) j--;
            if (i >= j) break;
            swap(a + i, a + j);
        }
        if (i < n - i) quick(a, i), a += i, n -= i;
        else quick(a + i, n - i), n = i;
    }
}
static void merge(int *a, int n) {
    int other[N], *from = a, *to = other;
    for (int w = 1; w < n; w *= 2) {
        for (int lo = 0; lo < n; lo += 2 * w) {
            int mid = lo + w < n ? lo + w : n, hi = lo + 2 * w < n ? lo + 2 * w : n, i = lo, j = mid;
            for (int k = lo; k < hi; k++) to[k] = i < mid && (j >= hi || !less(from[j], from[i])) ? from[i++] : from[j++];
        }
        int *t = from;
        from = to, to = t;
    }
    if (from != a) memcpy(a, from, (size_t)n * sizeof *a);
}
static void radix(int *a, int n) {
    int other[N];
    for (int shift = 0; shift < 32; shift += 8) {
        int at[257] = {0};
        for (int i = 0; i < n; i++) at[(((unsigned)a[i] ^ 0x80000000) >> shift & 255) + 1]++;
        for (int i = 0; i < 256; i++) at[i + 1] += at[i];
        for (int i = 0; i < n; i++) other[at[((unsigned)a[i] ^ 0x80000000) >> shift & 255]++] = a[i];
        memcpy(a, other, (size_t)n * sizeof *a);
    }
}
static void gnome(int *a, int n) {
    for (int i = 0; i < n;)
        if (i && less(a[i], a[i - 1])) swap(a + i, a + i - 1), i--;
        else i++;
}
static const struct { const char *name; void (*sort)(int *, int); } sorts[] = {
    {"insertion", insertion}, {"bubble", bubble}, {"cocktail", cocktail}, {"selection", selection}, {"binary", binary}, {"shell", shell},
    {"comb", comb}, {"heap", heap}, {"quick", quick}, {"merge", merge}, {"radix", radix}, {"gnome", gnome}};
int main(void) {
    int data[N], right[N];
    for (unsigned k = 0; k < sizeof sorts / sizeof *sorts; k++) {
        printf("%-10s", sorts[k].name);
        for (int pattern = 0; pattern < 6; pattern++) {
            for (int i = 0; i < N; i++)
                switch (pattern) {
                case 0: data[i] = i; break;
                case 1: data[i] = N - i; break;
                case 2: data[i] = 5; break;
                case 3: data[i] = (i * 7919 % 97 - 48) * 1000003; break;
                case 4: data[i] = i < N / 2 ? i : N - i; break;
                case 5: data[i] = i % 3 - 1; break;
                }
            memcpy(right, data, sizeof data);
            insertion(right, N);
            compares = 0;
            sorts[k].sort(data, N);
            if (memcmp(data, right, sizeof data)) return printf("wrong: pattern %d\n", pattern), 1;
            printf("%7ld", compares);
        }
        putchar('\n');
    }
    return 0;
}
