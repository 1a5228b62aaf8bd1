// Errors by longjmp: nested handlers, stacks of handlers, cleanup lists, rethrow, a value that survives in volatile, jumps out of callbacks.
#include <setjmp.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct handler { jmp_buf at; struct handler *outer; };
static struct handler *top;
static const char *message;
static int cleanups;

#define TRY { struct handler handler_; handler_.outer = top; top = &handler_; int code_ = setjmp(handler_.at); if (!code_) {
#define CATCH(c) top = handler_.outer; } else { top = handler_.outer; int c = code_;
#define END } }
static void throw(int code, const char *what) {
    message = what;
    if (!top) puts("not caught"), exit(3);
    longjmp(top->at, code);
}
static int divide(int a, int b) {
    if (!b) throw(1, "zero");
    if (a == -1) throw(2, "minus one");
    return a / b;
}
static int compare(const void *a, const void *b) {
    int x = *(const int *)a, y = *(const int *)b;
    if (x == 99 || y == 99) throw(9, "99");
    return x - y;
}
static int guarded(int a, int b) {
    volatile int result = -100;
    TRY
        result = divide(a, b);
        result += divide(a + 1, b - 1);
    CATCH(code)
        cleanups++;
        if (code == 2) throw(5, "again");
        result = result * 10 + code;
    END
    return result;
}
// A stack of handlers that setjmp's own argument pushes: on the second return it is not pushed again.
static jmp_buf stack[4];
static int height;
static jmp_buf *push(void) { return &stack[height++]; }
static int on_the_stack(int n) {
    if (setjmp(*push())) return 10 * n + height;
    if (n < 3) n = on_the_stack(n + 1);
    longjmp(stack[--height], 1);
}
int main(void) {
    printf("%d ", on_the_stack(0));
    static const int cases[][2] = {{10, 5}, {10, 0}, {10, 1}, {-1, 4}, {-2, 3}};
    for (int i = 0; i < 5; i++) {
        TRY
            printf("%d ", guarded(cases[i][0], cases[i][1]));
        CATCH(code)
            printf("[%d %s] ", code, message);
        END
    }
    printf("| %d\n", cleanups);
    int data[] = {5, 3, 99, 1};
    for (int round = 0; round < 2; round++) {
        TRY
            qsort(data, 4, sizeof *data, compare);
            printf("%d %d\n", data[0], data[3]);
        CATCH(code)
            printf("sort: %d %s\n", code, message);
            data[0] = 7, data[1] = 3, data[2] = 8, data[3] = 1;
        END
    }
    volatile int depth = 0;
    TRY
        for (;;) {
            TRY
                if (++depth == 4) throw(40, "deep");
                throw(depth, "once more");
            CATCH(inner)
                if (inner == 40) throw(inner, message);
            END
        }
    CATCH(outer)
        printf("%d %d %s\n", outer, depth, message);
    END
    throw(1, "out");
    return 0;
}
