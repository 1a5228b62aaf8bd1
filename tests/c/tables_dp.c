// Dynamic programming over tables: knapsack, longest common text, edit distance, coin change, matrix chains, partitions.
#include <stdio.h>
#include <string.h>

#define MAX(a, b) ((a) > (b) ? (a) : (b))
#define MIN(a, b) ((a) < (b) ? (a) : (b))
#define COUNT(a) ((int)(sizeof(a) / sizeof *(a)))

static int knapsack(const int (*items)[2], int n, int room) {
    int best[101] = {0};
    for (int i = 0; i < n; i++)
        for (int r = room; r >= items[i][0]; r--) best[r] = MAX(best[r], best[r - items[i][0]] + items[i][1]);
    return best[room];
}
static int common(const char *a, const char *b, char *out) {
    static unsigned char t[64][64];
    int n = (int)strlen(a), m = (int)strlen(b);
    memset(t, 0, sizeof t);
    for (int i = n - 1; i >= 0; i--)
        for (int j = m - 1; j >= 0; j--)
            t[i][j] = (unsigned char)(a[i] == b[j] ? t[i + 1][j + 1] + 1 : MAX(t[i + 1][j], t[i][j + 1]));
    for (int i = 0, j = 0; i < n && j < m;)
        if (a[i] == b[j]) *out++ = a[i], i++, j++;
        else if (t[i + 1][j] >= t[i][j + 1]) i++;
        else j++;
    *out = 0;
    return t[0][0];
}
static int edits(const char *a, const char *b) {
    int row[64], n = (int)strlen(a), m = (int)strlen(b);
    for (int j = 0; j <= m; j++) row[j] = j;
    for (int i = 1; i <= n; i++) {
        int diagonal = row[0];
        row[0] = i;
        for (int j = 1; j <= m; j++) {
            int up = row[j];
            int best = MIN(row[j - 1], up) + 1;
            best = MIN(best, diagonal + (a[i - 1] != b[j - 1]));
            diagonal = up, row[j] = best;
        }
    }
    return row[m];
}
static unsigned long long ways(const int *coins, int n, int sum) {
    unsigned long long t[201] = {1};
    for (int i = 0; i < n; i++)
        for (int s = coins[i]; s <= sum; s++) t[s] += t[s - coins[i]];
    return t[sum];
}
static int chain(const int *dims, int n) {
    int t[12][12] = {{0}};
    for (int len = 2; len <= n; len++)
        for (int i = 0; i + len <= n; i++) {
            int j = i + len - 1, best = -1;
            for (int k = i; k < j; k++) {
                int c = t[i][k] + t[k + 1][j] + dims[i] * dims[k + 1] * dims[j + 1];
                if (best < 0 || c < best) best = c;
            }
            t[i][j] = best;
        }
    return t[0][n - 1];
}
static unsigned partitions(int n) {
    static unsigned p[60];
    p[0] = 1;
    for (int i = 1; i <= n; i++) {
        p[i] = 0;
        for (int k = 1, g; (g = k * (3 * k - 1) / 2) <= i; k++) {
            unsigned v = p[i - g] + (g + k <= i ? p[i - g - k] : 0);
            if (k & 1) p[i] += v;
            else p[i] -= v;
        }
    }
    return p[n];
}
int main(void) {
    static const int items[][2] = {{12, 4}, {2, 2}, {1, 1}, {1, 2}, {4, 10}, {7, 9}, {3, 3}, {9, 13}};
    static const int coins[] = {1, 2, 5, 10, 20, 50, 100}, dims[] = {30, 35, 15, 5, 10, 20, 25};
    char out[64];
    for (int room = 0; room <= 40; room += 8) printf("%d ", knapsack(items, COUNT(items), room));
    int n = common("the longest common subsequence", "texts have some common letters in sequence", out);
    printf("\n%d %s\n%d %d %d\n", n, out, edits("kitten", "sitting"), edits("", "abc"), edits("intention", "execution"));
    printf("%llu %llu %d\n", ways(coins, COUNT(coins), 200), ways(coins, 3, 37), chain(dims, COUNT(dims) - 1));
    for (int i = 0; i < 50; i += 7) printf("%u ", partitions(i));
    putchar('\n');
    return 0;
}
