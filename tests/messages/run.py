#!/usr/bin/env python3
"""What qlparse refuses and the faults that qlrun finds: the message, its place, the status, and no file left.

run.py --build DIR
"""
import argparse, os, re, subprocess, sys, tempfile

HEAP = "#include <stdlib.h>\n"
NEON = "#include <arm_neon.h>\n"
VECTOR = "typedef int v4si __attribute__((vector_size(16))); typedef short v8hi __attribute__((vector_size(16)));\n"

# source, options, message
REFUSED = [
    ("int f(void) {\n  asm goto(\"b %l0\" : : : : out); out: return 1; }", [], r"2:3: .*assembly that jumps"),
    ("int f(int a) { int g(int b) { return a + b; } return g(1); }", [], r"1:29: error: function definition is not allowed"),
    ("void f(int n) { struct { int a[n]; } s; }", [], r"1:30: error: fields must have a constant size"),
    ("__attribute__((naked)) void f(void) { asm(\"bx lr\"); }", [], r"1:29: .*naked"),
    ("static void *pick(void) { return 0; }\nint f(void) __attribute__((ifunc(\"pick\")));\nint g(void) { return f(); }", [],
     r"2:5: .*chosen when the program starts"),
    ("void *f(void *p) { return __builtin_apply((void (*)())f, p, 8); }", [], r"1:27: .*__builtin_apply"),
    ("__attribute__((interrupt(\"IRQ\"))) void f(void) {}", [], r"1:40: .*another entry and exit"),
    ("__attribute__((pcs(\"aapcs\"))) float f(float a) { return a; }", [], r"1:37: .*calling convention"),
    # attributes and pragmas whose loss would change the meaning; the next group is harmless
    ("struct { int a; } __attribute__((__scalar_storage_order__(\"big-endian\"))) s;", [], r"1:34: .*other byte order"),
    ("struct __attribute__((scalar_storage_order(\"little-endian\"))) { int a; } s;", ["--endian=big"], r"1:23: .*other byte order"),
    ("int a;\n  _Pragma(\"scalar_storage_order big-endian\") struct { int a; } s;", [], r"2:3: .*other byte order"),
    ("#pragma ms_struct on\nstruct s { char a : 3; int b : 5; } x;", [], r"2:8: .*layout"),
    ("int a;\n#pragma GCC diagnostic ignored \"-Wattributes\"\nint kept __attribute__((noinit));", [], r"3:25: .*outlives a restart"),
    ("int f(void); int __attribute__((copy(f))) g(void);", [], r"1:33: .*attributes of another"),
    ("__attribute__((isr(\"IRQ\"))) void f(void) {}", [], r"1:16: .*another entry and exit"),
    ("__attribute__((optimize(\"O2\", \"-ftrapv\"))) int f(int a) { return a + 1; }", [], r"1:16: .*adds code"),
    ("#pragma GCC optimize (\"trapv\")\nint f(int a) { return a + 1; }", [], r"1:1: .*adds code"),
    ("typedef int odd __attribute__((vector_size(12)));\nodd a;", [], r"2:5: .*power of two"),
    ("__attribute__((overloadable)) int f(int a) { return a; }", [], r"1:35: .*several functions"),
    ("int f(void *p) { return __builtin_dynamic_object_size(p, 0); }", [], r"1:25: .*__builtin_dynamic_object_size"),
    (NEON + "int32x2_t f(int32x2_t a) { return vadd_s32(a, vpadd_s32(a, a)); }", ["--endian=big"],
     r"\d+:\d+: .*SIMD unit on a big-endian target"),
    (VECTOR + "v8hi f(v4si a) { return (v8hi)a; }", ["--endian=big"], r"2:25: .*lanes of another size"),
    ("__fp16 f(__fp16 *p) { return *p * 2; }", [], r"1:\d+: .*(__fp16|half)"),
    ("struct s { int a[70000000], b; } x;\nint f(void) { return x.b; }", [], r"record of 256 megabytes"),
    ("int x = ;", [], r"1:9: error: expected expression"),
    ("extern int n; int x = n;", [], r"1:23: error: initializer element is not a compile-time constant"),
]

TAKEN = [
    "struct __attribute__((scalar_storage_order(\"little-endian\"))) { int a; } s;\n"
    "#pragma scalar_storage_order default\n#pragma GCC optimize (\"O2\", \"no-tree-vrp\")\nint x;",
    "__attribute__((noipa, noclone, optimize(\"O0\"), externally_visible, no_reorder, optimize(1))) int f(void) { return 1; }",
]

# source, options, words of the fault
FAULTS = [
    (HEAP + "int main(int c, char **v) { int *p = malloc(8); return p[c + 1]; }", [], r"read of 4 bytes .*outside a heap block"),
    (HEAP + "int main(void) { char *p = malloc(5); p[5] = 1; }", [], r"write of 1 bytes .*past the end of an object"),
    (HEAP + "int main(void) { int *p = malloc(8); free(p); return *p; }", [], r"freed heap block\n.*main\(\), t\.c:2:47"),
    (HEAP + "int main(void) { int *p = malloc(8); free(p); free(p); }", [], r"no live heap block"),
    ("int a[4]; int main(int c, char **v) { return a[c + 3]; }", [], r"outside a global object"),
    ("int main(int c, char **v) { int a[4] = {0}; return a[c + 3]; }", [], r"outside a local variable"),
    ("int main(int c, char **v) { int *p = c > 5 ? &c : 0; return *p; }", [], r"through a null pointer"),
    ("int main(int c, char **v) { int x; if (c > 5) x = 3; return x; }", ["--check-init"], r"4 uninitialised bytes"),
    ("int f(int a, int b) { return a % b; } int main(int c, char **v) { return f(c, c - 1); }", [],
     r"division by zero\n.*f\(\), t\.c:1:\d+\n.*called from main"),
    # what qsort moves about is as written as before
    (HEAP + "int order(const void *a, const void *b) { return *(int *)a - *(int *)b; }\n"
     "int main(void) { int a[4] = {4, 2, 3, 1}, x; qsort(a, 4, 4, order); return x; }", ["--check-init"],
     r"uninitialised bytes.*\n.*main\(\), t\.c:3"),
    ("int g(int); int main(void) { return g(1); }", [], r"the function 'g', which is not defined"),
    ("extern int g; int main(void) { return g; }", [], r"the symbol 'g' is not defined"),
    (VECTOR + "char b[64]; int main(int c, char **v) { v4si x = *(v4si *)(b + c); return x[0]; }", [], r"unaligned access to a vector"),
    (VECTOR + "char b[64]; int main(int c, char **v) { v4si x = {c}; *(v4si *)(b + 4 * c) = x; }", [], r"unaligned access"),
    ("int main(void) { asm volatile(\"mov r0, r0, lsl #1\"); }", [], r"assembly"),
    ("int main(int c, char **v) { _nassert(c > 3); }", ["--check-records"], r"assertion of the file does not hold"),
]

ap = argparse.ArgumentParser()
ap.add_argument("--build", required=True)
build = os.path.abspath(ap.parse_args().build)
failures = []
with tempfile.TemporaryDirectory() as folder:
    def go(*command):
        p = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, cwd=folder, timeout=60)
        return p.returncode, p.stderr

    def parse(source, options):
        with open(os.path.join(folder, "t.c"), "w") as f:
            f.write(source + "\n")
        return go(os.path.join(build, "tools/parse/qlparse"), "-w", "t.c", "-o", "t.if", *options)

    for source, options, message in REFUSED:
        status, told = parse(source, options)
        if status != 1 or not re.search(message, told) or os.path.exists(os.path.join(folder, "t.if")):
            failures.append((source, status, told))
    for source in TAKEN:
        status, told = parse(source, [])
        if status or told:
            failures.append((source, status, told))
    for source, options, message in FAULTS:
        status, told = parse(source, [])
        if not status:
            status, told = go(os.path.join(build, "tools/exec/qlrun"), *options, "t.if")
        if status != 120 or not re.search(message, told):
            failures.append((source, status, told))
for source, status, told in failures:
    print("%s\n  status %d: %s" % (source, status, told.strip()[:300]))
print("%d rows, %d wrong" % (len(REFUSED) + len(TAKEN) + len(FAULTS), len(failures)))
sys.exit(bool(failures))
