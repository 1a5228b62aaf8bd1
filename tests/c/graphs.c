// Graphs: shortest paths three ways, components by union-find, topological order, a spanning tree.
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { N = 24, FAR = INT_MAX / 2 };
static int w[N][N], d1[N], d2[N], all[N][N], parent[N];
static struct edge { int from, to, weight; } edges[N * N];
static int n_edges;

static int root(int v) { return parent[v] == v ? v : (parent[v] = root(parent[v])); }
static int by_weight(const void *a, const void *b) {
    const struct edge *x = a, *y = b;
    return x->weight != y->weight ? (x->weight > y->weight) - (x->weight < y->weight) : x->from * N + x->to - y->from * N - y->to;
}
static void dijkstra(int from) {
    char done[N] = {0};
    for (int i = 0; i < N; i++) d1[i] = FAR;
    d1[from] = 0;
    for (;;) {
        int best = -1;
        for (int i = 0; i < N; i++)
            if (!done[i] && d1[i] < FAR && (best < 0 || d1[i] < d1[best])) best = i;
        if (best < 0) return;
        done[best] = 1;
        for (int i = 0; i < N; i++)
            if (w[best][i] < FAR && d1[best] + w[best][i] < d1[i]) d1[i] = d1[best] + w[best][i];
    }
}
static int bellman(int from) {
    int rounds = 0;
    for (int i = 0; i < N; i++) d2[i] = i == from ? 0 : FAR;
    for (int changed = 1; changed && rounds < N; rounds++) {
        changed = 0;
        for (struct edge *e = edges; e < edges + n_edges; e++)
            if (d2[e->from] < FAR && d2[e->from] + e->weight < d2[e->to]) d2[e->to] = d2[e->from] + e->weight, changed = 1;
    }
    return rounds;
}
int main(void) {
    unsigned seed = 3;
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) {
            seed = seed * 1103515245u + 12345u;
            w[i][j] = i == j ? 0 : (seed >> 16) % 9 == 0 ? (int)(seed >> 20) % 50 + 1 : FAR;
            if (i != j && w[i][j] < FAR) edges[n_edges++] = (struct edge){i, j, w[i][j]};
        }
    memcpy(all, w, sizeof all);
    for (int k = 0; k < N; k++)
        for (int i = 0; i < N; i++)
            for (int j = 0; j < N; j++)
                if (all[i][k] + all[k][j] < all[i][j]) all[i][j] = all[i][k] + all[k][j];
    long sum = 0;
    for (int s = 0; s < N; s++) {
        dijkstra(s);
        int rounds = bellman(s);
        if (memcmp(d1, d2, sizeof d1) || memcmp(d1, all[s], sizeof d1)) return printf("differ at %d\n", s), 1;
        for (int i = 0; i < N; i++) sum += d1[i] < FAR ? d1[i] : 0;
        if (s % 8 == 0) printf("%d: %d rounds, %d\n", s, rounds, d1[(s + 5) % N] < FAR ? d1[(s + 5) % N] : -1);
    }
    for (int i = 0; i < N; i++) parent[i] = i;
    qsort(edges, (size_t)n_edges, sizeof *edges, by_weight);
    int tree = 0, parts = N;
    for (int i = 0; i < n_edges; i++) {
        int a = root(edges[i].from), b = root(edges[i].to);
        if (a != b) parent[a] = b, tree += edges[i].weight, parts--;
    }
    printf("%ld, %d edges, tree %d, %d parts\n", sum, n_edges, tree, parts);
    return 0;
}
