// Speed of reading and writing an expression-heavy file: 1 MB in a test run, QL_BENCH=1 takes 50 MB. The numbers go to
// the output; a slow machine fails nothing.
#include "tests/unit/ifile/if_testing.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

namespace {

double seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct COUNTING_NODES {
    uint32_t nodes = 0, statements = 0;
    void operator()(BASE_NODE *n) {
        std::vector<BASE_NODE *> todo{n};
        for (statements++; !todo.empty(); nodes++) {
            BASE_NODE *top = todo.back();
            todo.pop_back();
            if (BASE_NODE *left = top->base_left()) todo.push_back(left);
            if (BASE_NODE *right = top->base_right()) todo.push_back(right);
        }
    }
};

// s[i].a = g * 3 + (x >> 2) and the like, as compilers see it.
T_NODE *assignment(T_CLIENT &c, TYPE *t, TYPE *ptr, T_SYM *array, T_SYM *x, T_SYM *y, int i) {
    T_NODE *address =
        c.node(PLUS, ptr, c.node(ACONV, ptr, c.name(array)), c.node(MULT, t, c.name(x), c.icon(i, t)));
    T_NODE *value = c.node(PLUS, t, c.node(MULT, t, c.name(y), c.icon(i * 7, t)),
                           c.node(SRL, t, c.node(SCONV, t, c.name(x)), c.icon(2, t)));
    return c.node(ASG, t, c.node(UMULT, t, address), value);
}

} // namespace

TEST(if_speed, reading_and_writing) {
    double megabytes = getenv("QL_BENCH") ? 50 : 1;
    COUNTING_NODES count;
    std::string bytes;
    {
        T_PKG package;
        T_CLIENT c;
        TYPE *t = package.p.int_type(), *ptr = package.p.mk_ptr(t);
        TYPE *func = package.p.mk_func(t, std::vector<TYPE *>{});
        T_SYM *array = c.sym("a", package.p.mk_array(t, false, 100)), *x = c.sym("x", t), *y = c.sym("y", t);
        array->size = 3200;
        std::vector<T_NODE *> trees;
        for (int i = 0; i < 100; i++) trees.push_back(assignment(c, t, ptr, array, x, y, i * 29));
        PSN psn{"speed.c", 1, 5};

        double start = seconds();
        bytes = written(package.p, [&](I_FILE &f) {
            f.if_enter_global(array);
            while (f.if_tell() < megabytes * 1e6) {
                T_SYM *body = c.sym("f", func);
                f.if_enter_global(body);
                f.if_write_begin_func(body, &psn);
                f.if_write_control(I_EA, &psn);
                for (T_SYM *local : {x, y}) {
                    f.if_enter_local(local);
                    f.if_write_symbol(local);
                }
                f.if_write_end_locals(&psn);
                for (T_NODE *tree : trees) {
                    psn.line++;
                    f.if_write_expr(tree, &psn);
                }
                f.if_write_end_func(&psn);
            }
        });
        double end = seconds(), mb = double(bytes.size()) / 1e6;
        for (T_NODE *tree : trees) count(tree);
        double nodes = count.nodes * double(c.syms.size() - 3);
        printf("written: %6.1f MB %7.1f MB/s %6.1f million nodes/s\n", mb, mb / (end - start),
               nodes / (end - start) / 1e6);
    }

    // A client that keeps nothing but the nodes of one statement, so that the time is the library's.
    struct LEAN : T_CLIENT {
        std::deque<T_NODE> pool = std::deque<T_NODE>(64);
        size_t used = 0;
        uint32_t nodes = 0, statements = 0;
        BASE_NODE *new_node(int op, TYPE *type) override {
            T_NODE &n = pool.at(used++);
            n.op = op, n.type = type, n.left = n.right = nullptr;
            nodes++;
            return &n;
        }
        void cl_expr(BASE_NODE *, const PSN *) override { used = 0, statements++; }
    } lean;
    T_PKG package;
    double start = seconds();
    std::unique_ptr<I_FILE> f(I_FILE::if_open(open_bytes(bytes), &lean));
    double opened = seconds();
    f->if_type_init(&package.p);
    f->if_read_file();
    double end = seconds(), mb = double(bytes.size()) / 1e6;
    printf("read:    %6.1f MB %7.1f MB/s %6.1f million nodes/s, behind %.0f ms for the file\n", mb,
           mb / (end - start), lean.nodes / (end - start) / 1e6, (opened - start) * 1e3);
    EXPECT_EQ(lean.nodes % count.nodes, 0u);
    EXPECT_EQ(lean.statements / count.statements, lean.nodes / count.nodes);
    EXPECT_GT(lean.nodes, 10000u);
}
