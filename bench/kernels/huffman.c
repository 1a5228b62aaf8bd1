// Coding bytes by frequency: tree, codes, bits out, bits in.
#include "kernel.h"

#define N 3000
struct node {
    int weight, parent, child[2];
};
static unsigned char text[N], coded[2 * N], decoded[N];
static struct node nodes[512];
static unsigned codes[256];
static int lengths[256], node_count;

static int lightest(int count)
{
    int best = -1;
    for (int i = 0; i < count; i++)
        if (nodes[i].weight && nodes[i].parent < 0 && (best < 0 || nodes[i].weight < nodes[best].weight)) best = i;
    return best;
}

static int build(void)
{
    for (int i = 0; i < 512; i++) nodes[i].weight = 0, nodes[i].parent = nodes[i].child[0] = nodes[i].child[1] = -1;
    for (int i = 0; i < N; i++) nodes[text[i]].weight++;
    node_count = 256;
    for (;;) {
        int a = lightest(node_count);
        nodes[a].parent = node_count;
        int b = lightest(node_count);
        if (b < 0) {
            nodes[a].parent = -1;
            return a;
        }
        nodes[b].parent = node_count;
        nodes[node_count].weight = nodes[a].weight + nodes[b].weight;
        nodes[node_count].child[0] = a;
        nodes[node_count++].child[1] = b;
    }
}

static void assign_codes(int node, unsigned code, int length)
{
    if (node < 256) {
        codes[node] = code;
        lengths[node] = length;
        return;
    }
    assign_codes(nodes[node].child[0], code << 1, length + 1);
    assign_codes(nodes[node].child[1], code << 1 | 1, length + 1);
}

static int encode(void)
{
    unsigned bits = 0;
    int have = 0, out = 0;
    for (int i = 0; i < N; i++) {
        bits = bits << lengths[text[i]] | codes[text[i]];
        have += lengths[text[i]];
        while (have >= 8) {
            have -= 8;
            coded[out++] = (unsigned char)(bits >> have);
        }
    }
    coded[out++] = (unsigned char)(bits << (8 - have));
    return out;
}

static void decode(int root)
{
    int at = root, bit = 0;
    for (int i = 0; i < N; bit++) {
        at = nodes[at].child[coded[bit >> 3] >> (7 - (bit & 7)) & 1];
        if (at < 256) {
            decoded[i++] = (unsigned char)at;
            at = root;
        }
    }
}

int main(void)
{
    for (int i = 0; i < N; i++) {
        unsigned r = next_random();
        text[i] = (unsigned char)('a' + (r % 26) * (r / 26 % 26) / 26);
    }
    int root = build();
    assign_codes(root, 0, 0);
    int n = encode();
    decode(root);
    for (int i = 0; i < N; i++)
        if (text[i] != decoded[i]) return 1;
    for (int i = 0; i < n; i++) mix(coded[i]);
    return finish();
}
