// All placements of n queens: by recursion over bits, by permutation arrays, and with an explicit stack.
#include <stdio.h>

static int bits(unsigned all, unsigned cols, unsigned l, unsigned r) {
    if (cols == all) return 1;
    int n = 0;
    for (unsigned free = all & ~(cols | l | r); free;) {
        unsigned q = free & -free;
        free -= q;
        n += bits(all, cols | q, (l | q) << 1, (r | q) >> 1);
    }
    return n;
}
static int place[12], found;
static int safe(int row, int col) {
    for (int i = 0; i < row; i++)
        if (place[i] == col || place[i] - col == row - i || col - place[i] == row - i) return 0;
    return 1;
}
static void arrays(int n, int row) {
    if (row == n) {
        found++;
        return;
    }
    for (int c = 0; c < n; c++)
        if (safe(row, c)) {
            place[row] = c;
            arrays(n, row + 1);
        }
}
static int iterative(int n) {
    int row = 0, count = 0;
    place[0] = -1;
    while (row >= 0) {
        int c = place[row] + 1;
        while (c < n && !safe(row, c)) c++;
        if (c == n) {
            row--;
            continue;
        }
        place[row] = c;
        if (row == n - 1) count++;
        else place[++row] = -1;
    }
    return count;
}
int main(void) {
    for (int n = 1; n <= 8; n++) {
        found = 0;
        arrays(n, 0);
        printf("%d: %d %d %d\n", n, bits((1u << n) - 1, 0, 0, 0), found, iterative(n));
    }
    return found % 256;
}
