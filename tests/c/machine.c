// A stack machine: an assembler for its code, an interpreter by switch and one by function table; traps end a program.
#include <stdio.h>
#include <string.h>

enum OP { PUSH, ADD, SUB, MUL, DIV, DUP, SWAP, OVER, DROP, JMP, JZ, LOAD, STORE, LT, PRINT, CALL, RET, HALT, N_OPS };
static const char *const names[N_OPS] = {"push", "add", "sub", "mul", "div", "dup", "swap", "over", "drop",
                                         "jmp", "jz", "load", "store", "lt", "print", "call", "ret", "halt"};
typedef struct { int op, arg; } INSN;
typedef struct { INSN code[64]; int n, stack[32], sp, calls[16], cp, pc, mem[8]; long steps; const char *trap; } VM;

static int assemble(VM *m, const char *text) {
    char word[16];
    int used;
    m->n = 0;
    for (; sscanf(text, " %15[a-z]%n", word, &used) == 1; m->n++) {
        text += used;
        int op = 0, arg = 0;
        while (op < N_OPS && strcmp(word, names[op])) op++;
        if (op == N_OPS) return 0;
        if (sscanf(text, " %d%n", &arg, &used) == 1) text += used;
        m->code[m->n] = (INSN){op, arg};
    }
    return 1;
}
static int pop(VM *m) {
    if (m->sp <= 0) return m->trap = "empty", 0;
    return m->stack[--m->sp];
}
static void push(VM *m, int v) {
    if (m->sp >= 32) m->trap = "full";
    else m->stack[m->sp++] = v;
}
static void run(VM *m) {
    m->sp = m->cp = m->pc = 0, m->steps = 0, m->trap = NULL;
    memset(m->mem, 0, sizeof m->mem);
    while (!m->trap) {
        if (m->pc < 0 || m->pc >= m->n) {
            m->trap = "no code";
            break;
        }
        INSN i = m->code[m->pc++];
        int a, b;
        m->steps++;
        switch (i.op) {
        case PUSH: push(m, i.arg); break;
        case ADD: b = pop(m), a = pop(m), push(m, a + b); break;
        case SUB: b = pop(m), a = pop(m), push(m, a - b); break;
        case MUL: b = pop(m), a = pop(m), push(m, a * b); break;
        case DIV:
            b = pop(m), a = pop(m);
            if (!b) m->trap = "division by 0";
            else push(m, a / b);
            break;
        case DUP: a = pop(m), push(m, a), push(m, a); break;
        case SWAP: b = pop(m), a = pop(m), push(m, b), push(m, a); break;
        case OVER: b = pop(m), a = pop(m), push(m, a), push(m, b), push(m, a); break;
        case DROP: pop(m); break;
        case JZ:
            if (pop(m)) break; // falls through to the jump
        case JMP: m->pc = i.arg; break;
        case LOAD: push(m, m->mem[i.arg & 7]); break;
        case STORE: m->mem[i.arg & 7] = pop(m); break;
        case LT: b = pop(m), a = pop(m), push(m, a < b); break;
        case PRINT: printf("%d ", pop(m)); break;
        case CALL:
            if (m->cp == 16) m->trap = "calls";
            else m->calls[m->cp++] = m->pc, m->pc = i.arg;
            break;
        case RET:
            if (!m->cp) return;
            m->pc = m->calls[--m->cp];
            break;
        case HALT: return;
        }
    }
}
int main(void) {
    static const char *const programs[] = {
        "push 10 store 0 push 1 store 1 load 0 jz 16 load 1 load 0 mul store 1 load 0 push 1 sub store 0 jmp 4 halt load 1 print halt",
        "push 0 store 0 load 0 push 5 lt jz 13 load 0 call 14 print load 0 push 1 add store 0 jmp 2 halt dup mul ret",
        "push 1 push 0 div halt", "add", "push 7 dup swap over sub print drop print halt", "call 0", "jmp 99", "fly 1"};
    static VM m;
    for (unsigned i = 0; i < sizeof programs / sizeof *programs; i++) {
        if (!assemble(&m, programs[i])) {
            puts("unknown word");
            continue;
        }
        run(&m);
        printf("[%ld steps, %s, sp %d]\n", m.steps, m.trap ? m.trap : "ok", m.sp);
    }
    return 0;
}
