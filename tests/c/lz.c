// A sliding-window compressor with hash chains, its decompressor, and run lengths, over texts, runs and noise.
#include <stdio.h>
#include <string.h>

enum { MAX = 2000, HASH = 256, WINDOW = 255 };
static unsigned char packed[3 * MAX], back[MAX];
static short head[HASH], prev[MAX];

static unsigned hash3(const unsigned char *p) { return (p[0] * 33u ^ p[1] * 7u ^ p[2]) & (HASH - 1); }
static int compress(const unsigned char *in, int n) {
    int out = 0, i = 0;
    memset(head, -1, sizeof head);
    while (i < n) {
        int best = 0, where = 0;
        if (i + 3 <= n)
            for (int j = head[hash3(in + i)], tries = 16; j >= 0 && i - j <= WINDOW && tries--; j = prev[j]) {
                int len = 0;
                while (len < 63 && i + len < n && in[j + len] == in[i + len]) len++;
                if (len > best) best = len, where = i - j;
            }
        int step = best >= 3 ? best : 1;
        if (best >= 3) packed[out++] = (unsigned char)(0x80 | best), packed[out++] = (unsigned char)where;
        else packed[out++] = 0, packed[out++] = in[i];
        for (; step--; i++)
            if (i + 3 <= n) {
                unsigned h = hash3(in + i);
                prev[i] = head[h], head[h] = (short)i;
            }
    }
    return out;
}
static int expand(int n) {
    int o = 0;
    for (int i = 0; i < n; i += 2)
        if (packed[i] & 0x80)
            for (int len = packed[i] & 63, d = packed[i + 1]; len--; o++) back[o] = back[o - d];
        else back[o++] = packed[i + 1];
    return o;
}
int main(void) {
    unsigned char data[MAX];
    unsigned seed = 7;
    for (int kind = 0; kind < 5; kind++) {
        int n = 300 + kind * 400;
        for (int i = 0; i < n; i++) {
            seed = seed * 69069u + 1;
            switch (kind) {
            case 0: data[i] = (unsigned char)"the quick brown fox jumps over the lazy dog "[i % 44]; break;
            case 1: data[i] = 'a'; break;
            case 2: data[i] = (unsigned char)(seed >> 24); break;
            case 3: data[i] = (unsigned char)(seed >> 30); break;
            default: data[i] = (unsigned char)(i / 50 * 3 + i % 5); break;
            }
        }
        int len = compress(data, n), m = expand(len);
        printf("%d: %d -> %d, %s\n", kind, n, len, m == n && !memcmp(data, back, (size_t)n) ? "same" : "WRONG");
    }
    return 0;
}
