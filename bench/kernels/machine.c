// An interpreter of a stack machine that runs a sieve and a recursion.
#include "kernel.h"

enum { PUSH, LOAD, STORE, FETCH, PUT, ADD, SUB, MUL, LESS, EQUAL, JUMP, JUMP_FALSE, CALL, RETURN, DUP, DROP, HALT };

static int memory[600], stack[200], variables[16];
static unsigned long steps;

static int run(const short *code, int pc)
{
    int *sp = stack;
    for (;;) {
        steps++;
        switch (code[pc++]) {
        case PUSH: *++sp = code[pc++]; break;
        case LOAD: *++sp = variables[code[pc++]]; break;
        case STORE: variables[code[pc++]] = *sp--; break;
        case FETCH: *sp = memory[*sp]; break;
        case PUT: memory[sp[0]] = sp[-1]; sp -= 2; break;
        case ADD: sp--; *sp += sp[1]; break;
        case SUB: sp--; *sp -= sp[1]; break;
        case MUL: sp--; *sp *= sp[1]; break;
        case LESS: sp--; *sp = *sp < sp[1]; break;
        case EQUAL: sp--; *sp = *sp == sp[1]; break;
        case JUMP: pc = code[pc]; break;
        case JUMP_FALSE: pc = *sp-- ? pc + 1 : code[pc]; break;
        case CALL: { // the argument stays on top of the return address
            int argument = *sp;
            *sp++ = pc + 1;
            *sp = argument;
            pc = code[pc];
            break;
        }
        case RETURN: { // the result replaces the return address
            int result = *sp--;
            pc = *sp;
            *sp = result;
            break;
        }
        case DUP: sp++; *sp = sp[-1]; break;
        case DROP: sp--; break;
        case HALT: return *sp;
        default: return -1;
        }
    }
}

static const short sieve[] = {
    PUSH, 2, STORE, 0,                                                // 0: i = 2
    LOAD, 0, PUSH, 500, LESS, JUMP_FALSE, 54,                         // 4: while (i < 500)
    LOAD, 0, FETCH, JUMP_FALSE, 18, JUMP, 45,                         // 11: if (!memory[i])
    LOAD, 0, DUP, ADD, STORE, 1,                                      // 18: j = i + i
    LOAD, 1, PUSH, 500, LESS, JUMP_FALSE, 45,                         // 24: while (j < 500)
    PUSH, 1, LOAD, 1, PUT, LOAD, 1, LOAD, 0, ADD, STORE, 1, JUMP, 24, // 31: memory[j] = 1, j += i
    LOAD, 0, PUSH, 1, ADD, STORE, 0, JUMP, 4,                         // 45: i++
    HALT};                                                            // 54

static const short sum[] = {
    PUSH, 60, CALL, 5, HALT,                               // 0: f(60)
    DUP, PUSH, 2, LESS, JUMP_FALSE, 12, RETURN,            // 5: f(n): n < 2 ? n
    DUP, PUSH, 1, SUB, CALL, 5, ADD, RETURN};              // 12: n + f(n - 1)

int main(void)
{
    for (int i = 0; i < 4; i++) {
        memset(memory, 0, sizeof memory);
        mix((unsigned)run(sieve, 0));
    }
    for (int i = 0; i < 500; i++) mix((unsigned)memory[i]);
    for (int i = 0; i < 40; i++) mix((unsigned)run(sum, 0));
    mix((unsigned)steps);
    return finish();
}
