// A balanced search tree: insertion with rotations, searching, walking, depth.
#include "kernel.h"

struct node {
    int key, height, count;
    struct node *left, *right;
};

static struct node pool[2000];
static int used;

static int height(const struct node *n) { return n ? n->height : 0; }

static void update(struct node *n)
{
    int l = height(n->left), r = height(n->right);
    n->height = (l > r ? l : r) + 1;
}

static struct node *turn_right(struct node *n)
{
    struct node *l = n->left;
    n->left = l->right;
    l->right = n;
    update(n);
    update(l);
    return l;
}

static struct node *turn_left(struct node *n)
{
    struct node *r = n->right;
    n->right = r->left;
    r->left = n;
    update(n);
    update(r);
    return r;
}

static struct node *insert(struct node *n, int key)
{
    if (!n) {
        n = &pool[used++];
        n->key = key, n->height = n->count = 1, n->left = n->right = 0;
        return n;
    }
    if (key == n->key) {
        n->count++;
        return n;
    }
    if (key < n->key) n->left = insert(n->left, key);
    else n->right = insert(n->right, key);
    update(n);
    int lean = height(n->left) - height(n->right);
    if (lean > 1) {
        if (key > n->left->key) n->left = turn_left(n->left);
        return turn_right(n);
    }
    if (lean < -1) {
        if (key < n->right->key) n->right = turn_right(n->right);
        return turn_left(n);
    }
    return n;
}

static int find(const struct node *n, int key)
{
    int depth = 0;
    for (; n; depth++) {
        if (n->key == key) return depth;
        n = key < n->key ? n->left : n->right;
    }
    return -depth;
}

static unsigned walk(const struct node *n)
{
    return n ? walk(n->left) * 31 + (unsigned)n->key * (unsigned)n->count + walk(n->right) : 7;
}

int main(void)
{
    struct node *root = 0;
    for (int i = 0; i < 2000; i++) root = insert(root, (int)(next_random() % 5000));
    for (int i = 0; i < 3000; i++) mix((unsigned)find(root, (int)(next_random() % 6000)));
    mix(walk(root));
    mix((unsigned)height(root));
    return finish();
}
