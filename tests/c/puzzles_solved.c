// Search: sudoku by constraint bits, a knight's tour by Warnsdorff, tic-tac-toe by minimax, water jugs by breadth, a maze.
#include <stdio.h>
#include <string.h>

static unsigned short rows[9], cols[9], boxes[9];
static char grid[82];
static long tries;
static int solve(void) {
    int best = -1, fewest = 10;
    unsigned options = 0;
    for (int i = 0; i < 81; i++)
        if (grid[i] == '.') {
            unsigned o = 0x1ff & ~(rows[i / 9] | cols[i % 9] | boxes[i / 27 * 3 + i % 9 / 3]);
            int n = __builtin_popcount(o);
            if (n < fewest) fewest = n, best = i, options = o;
        }
    if (best < 0) return 1;
    for (; options; options &= options - 1) {
        unsigned short bit = (unsigned short)(options & -options);
        int d = __builtin_ctz(bit);
        grid[best] = (char)('1' + d), tries++;
        rows[best / 9] |= bit, cols[best % 9] |= bit, boxes[best / 27 * 3 + best % 9 / 3] |= bit;
        if (solve()) return 1;
        rows[best / 9] &= (unsigned short)~bit, cols[best % 9] &= (unsigned short)~bit, boxes[best / 27 * 3 + best % 9 / 3] &= (unsigned short)~bit;
    }
    grid[best] = '.';
    return 0;
}
enum { B = 6 };
static signed char board[B][B];
static const signed char jump[8][2] = {{1, 2}, {2, 1}, {2, -1}, {1, -2}, {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};
static int open_at(int x, int y) { return x >= 0 && y >= 0 && x < B && y < B && !board[y][x]; }
static int tour(int x, int y, int n) {
    board[y][x] = (signed char)n;
    if (n == B * B) return 1;
    int done = 0;
    for (;;) {
        int pick = -1, least = 9;
        for (int k = 0; k < 8; k++) {
            int u = x + jump[k][0], v = y + jump[k][1], exits = 0;
            if (done >> k & 1 || !open_at(u, v)) continue;
            for (int m = 0; m < 8; m++) exits += open_at(u + jump[m][0], v + jump[m][1]);
            if (exits < least) least = exits, pick = k;
        }
        if (pick < 0) break;
        done |= 1 << pick;
        if (tour(x + jump[pick][0], y + jump[pick][1], n + 1)) return 1;
    }
    board[y][x] = 0;
    return 0;
}
static int won(unsigned b) {
    static const unsigned lines[] = {7, 56, 448, 73, 146, 292, 273, 84};
    for (int i = 0; i < 8; i++)
        if ((b & lines[i]) == lines[i]) return 1;
    return 0;
}
static long positions;
static int minimax(unsigned me, unsigned you) {
    positions++;
    if (won(you)) return -1;
    if ((me | you) == 511) return 0;
    int best = -2;
    for (int i = 0; i < 9; i++)
        if (!((me | you) >> i & 1)) {
            int v = -minimax(you, me | 1u << i);
            if (v > best && (best = v) == 1) break;
        }
    return best;
}
static int jugs(int a, int b, int want) {
    short steps[16][16], queue[256];
    int head = 0, tail = 0;
    memset(steps, -1, sizeof steps);
    steps[0][0] = 0, queue[tail++] = 0;
    while (head < tail) {
        int x = queue[head] >> 4, y = queue[head] & 15;
        head++;
        if (x == want || y == want) return steps[x][y];
        int pour = x < b - y ? x : b - y, back = y < a - x ? y : a - x;
        const int next[6][2] = {{a, y}, {x, b}, {0, y}, {x, 0}, {x - pour, y + pour}, {x + back, y - back}};
        for (int i = 0; i < 6; i++)
            if (steps[next[i][0]][next[i][1]] < 0) {
                steps[next[i][0]][next[i][1]] = (short)(steps[x][y] + 1);
                queue[tail++] = (short)(next[i][0] << 4 | next[i][1]);
            }
    }
    return -1;
}
int main(void) {
    strcpy(grid, "53..7....6..195....98....6.8...6...34..8.3..17...2...6.6....28....419..5....8..79");
    for (int i = 0; i < 81; i++)
        if (grid[i] != '.') {
            unsigned short bit = (unsigned short)(1 << (grid[i] - '1'));
            rows[i / 9] |= bit, cols[i % 9] |= bit, boxes[i / 27 * 3 + i % 9 / 3] |= bit;
        }
    int ok = solve();
    printf("%d %ld %s\n", ok, tries, grid);
    ok = tour(0, 0, 1);
    for (int y = 0; y < B; y++)
        for (int x = 0; x < B; x++) printf("%d%c", board[y][x], x == B - 1 ? '\n' : ' ');
    ok += minimax(0, 0);
    printf("%d %ld\n", ok, positions);
    printf("%d %d %d %d\n", jugs(3, 5, 4), jugs(7, 11, 6), jugs(4, 6, 3), jugs(13, 15, 1));
    return 0;
}
