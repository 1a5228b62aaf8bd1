// Quicksort with insertion sort below, heapsort, merge sort.
#include "kernel.h"

#define N 3000
static int data[N], scratch[N];

static void fill(void)
{
    for (int i = 0; i < N; i++) data[i] = (int)(next_random() % 100000) - 50000;
}

static void quick(int *a, int low, int high)
{
    while (high - low > 12) {
        int pivot = a[(low + high) / 2], i = low, j = high;
        while (i <= j) {
            while (a[i] < pivot) i++;
            while (a[j] > pivot) j--;
            if (i <= j) {
                int t = a[i];
                a[i++] = a[j];
                a[j--] = t;
            }
        }
        if (j - low < high - i) {
            quick(a, low, j);
            low = i;
        } else {
            quick(a, i, high);
            high = j;
        }
    }
    for (int i = low + 1; i <= high; i++) {
        int v = a[i], j = i;
        for (; j > low && a[j - 1] > v; j--) a[j] = a[j - 1];
        a[j] = v;
    }
}

static void sift(int *a, int root, int n)
{
    int v = a[root];
    for (int child; (child = 2 * root + 1) < n; root = child) {
        if (child + 1 < n && a[child + 1] > a[child]) child++;
        if (a[child] <= v) break;
        a[root] = a[child];
    }
    a[root] = v;
}

static void heap(int *a, int n)
{
    for (int i = n / 2; i-- > 0;) sift(a, i, n);
    for (int i = n - 1; i > 0; i--) {
        int t = a[0];
        a[0] = a[i];
        a[i] = t;
        sift(a, 0, i);
    }
}

static void merge(int *a, int *b, int n)
{
    for (int width = 1; width < n; width *= 2) {
        for (int at = 0; at < n; at += 2 * width) {
            int i = at, middle = at + width < n ? at + width : n, j = middle;
            int end = at + 2 * width < n ? at + 2 * width : n;
            for (int k = at; k < end; k++) b[k] = i < middle && (j >= end || a[i] <= a[j]) ? a[i++] : a[j++];
        }
        memcpy(a, b, sizeof(int) * (unsigned)n);
    }
}

int main(void)
{
    for (int round = 0; round < 3; round++) {
        fill();
        if (round == 0) quick(data, 0, N - 1);
        else if (round == 1) heap(data, N);
        else merge(data, scratch, N);
        for (int i = 1; i < N; i++) {
            if (data[i - 1] > data[i]) return 1;
            mix((unsigned)data[i]);
        }
    }
    return finish();
}
