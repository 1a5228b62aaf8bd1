#!/usr/bin/env python3
"""The command line of qlcc: what is written where, what the programs print, statuses and messages.

run.py --build DIR
"""
import argparse, os, re, shutil, subprocess, sys, tempfile

FILES = {
    "main.c": '#include <stdio.h>\n#include "part.h"\nint main(int argc, char **argv) {\n#ifdef LOUD\n'
              '  printf("loud %d\\n", LOUD);\n#endif\n  printf("%d %s\\n", part(argc), argv[argc - 1]);\n  return 0; }\n',
    "part.c": '#include "part.h"\nint part(int x) { return x * 3 + FACTOR; }\n',
    "inc/part.h": "#define FACTOR 4\nint part(int);\n",
    "math.c": '#include <math.h>\n#include <stdio.h>\nint main(void) { volatile double x = 2; printf("%.6f\\n", pow(x, 0.5)); return 7; }\n',
    "fn.s": ".text\n.global fn\n.type fn, %function\n.arm\nfn:\n  mov r0, #42\n  bx lr\n.section .note.GNU-stack,\"\",%progbits\n",
    "uses_fn.c": '#include <stdio.h>\nint fn(void); int main(void) { printf("%d\\n", fn()); return 0; }\n',
    "bad.c": "int f(void) { return 1 +; }\n",
    "undefined.c": "int g(void); int main(void) { return g(); }\n",
    "refused.c": "int f(int x) {\n  asm goto(\"\" : : : : out);\n  return x;\nout:\n  return 0;\n}\n",
    "twin1.c": '''#include <stdio.h>
struct s { int a; struct s *next; }; enum e { ONE = 1 };
static int state = 10; static int step(void) { static int n; return ++n; }
struct s shared = {7, 0}; extern int table[]; int other(int (*)(void)); int helper(void) { return 30; }
int main(void) { int a = step(), b = other(step); printf("%d %d %d %d %d %d", a, state, b / 10, b % 10 * 10, shared.a, helper());
  printf(" %d\\n", table[2]); return 0; }
''',
    "twin2.c": '''struct s { int a; struct s *next; }; extern struct s shared; enum e { ONE = 1 };
static int state = 20; static int step(void) { static int n = 1; return ++n; } int table[3] = {1, 2, 3};
static int helper(void) { return 2; }
int other(int (*f)(void)) { shared.next = &shared; return step() * 10 + (f() == 2 && state == 20 && shared.next->a == 7 ? helper() : 9); }
''',
    "clash.c": "struct t { float f; };\nextern struct t shared; float clash(void) { return shared.f; }\n",
    # names without linkage mean something else in each source, also those of a system header
    "own1.c": '''#include <stdio.h>
#include <sys/select.h>
struct node { int a; struct node *next; }; typedef int num; enum colour { RED, GREEN = 5 }; typedef struct { int x; } anon;
static num sum(struct node *n) { return n ? n->a + sum(n->next) : 0; }
int other(int);
int main(void) { struct node b = {3, 0}, a = {1, &b}; anon q = {4}; fd_set s; FD_ZERO(&s); FD_SET(3, &s); struct timeval t = {0, 0};
  printf("%d %d %d %d %d\\n", sum(&a), GREEN, other(4), q.x, select(0, &s, 0, 0, &t) + !!FD_ISSET(3, &s)); return 0; }
''',
    "own2.c": '''#define _GNU_SOURCE
#include <stdio.h>
#include <sys/select.h>
struct node { double a; char name[3]; }; typedef double num; enum colour { BLUE = 3, GREEN = 7 }; typedef struct { char x, y; } anon;
static num sum(struct node *n) { return n->a + n->name[1]; }
int other(int k) { struct node n = {1.5, "ab"}; anon q = {1, 2}; fd_set s; FD_ZERO(&s); FD_SET(33, &s); struct timeval t = {0, 0};
  printf("[%g %d %d %d] ", sum(&n), GREEN, q.y, !!FD_ISSET(33, &s) + select(0, &s, 0, 0, &t)); return k * 2; }
''',
    "defined.c": '#include <stdio.h>\n#ifdef GONE\n#error gone\n#endif\n#if __STDC_VERSION__ != 199901L\n#error std\n#endif\n'
                 'int main(void) { printf("%d %d\\n", BOTH, FROM_FILE); return 0; }\n',
    "forced.h": "#define FROM_FILE 6\n",
    "sys/forced2.h": "#define SYSTEM 1\n",
    "sums.c": '#include <stdio.h>\ndouble scale(double x) { return x * 1.5; }\nunsigned word = 0x01020304;\n'
              'int main(void) { volatile float f = 2.5f; printf("%g %g\\n", scale(f), (double)f / 3 * 3); return *(char *)&word; }\n',
    "chars.c": '#include <stdio.h>\nint main(void) { char c = -1; printf("%d\\n", c < 0); return 0; }\n',
    "words.rsp": "-DLOUD=5 'main.c'\npart.c \"-Iinc\" -o spaced\\ name\n",
    "math with blank.c": "int main(void) { return 5; }\n",
}

# Commands, status, a pattern of standard error (None: it must be empty), files that must have come into being; then
# what a program among them prints and returns.
ROWS = [
    (["main.c", "part.c", "-Iinc"], 0, None, ["a.out"], ("a.out", ["x"], "10 x\n", 0)),
    (["-O2", "-Iinc", "-DLOUD=2", "main.c", "part.c", "-o", "prog"], 0, None, ["prog"], ("prog", [], "loud 2\n7 ./prog\n", 0)),
    (["-c", "-Iinc", "main.c", "part.c", "-Os"], 0, None, ["main.o", "part.o"], None),
    (["main.o", "part.o", "-o", "linked", "-static"], 0, None, ["linked"], ("linked", ["a", "b"], "13 b\n", 0)),
    (["-O3", "-c", "-Iinc", "part.c", "-o", "inc/p.o", "-MMD", "-MP"], 0, None, ["inc/p.o", "inc/p.d"], None),
    (["-M", "-Iinc", "part.c"], 0, None, [], None),
    (["-S", "-O2", "-Iinc", "part.c", "-o", "p.asm"], 0, None, ["p.asm"], None),
    (["-emit-if", "-O2", "-Iinc", "part.c", "-o", "p.if"], 0, None, ["p.if"], None),
    (["-emit-c", "-Iinc", "part.c"], 0, None, ["part.ql.c"], None),
    (["-Iinc", "main.c", "p.if", "-o", "mixed"], 0, None, ["mixed"], ("mixed", [], "7 ./mixed\n", 0)),
    (["-E", "-Iinc", "main.c", "-o", "main.i"], 0, None, ["main.i"], None),
    (["main.i", "part.o", "-o", "from_i"], 0, None, ["from_i"], ("from_i", [], "7 ./from_i\n", 0)),
    (["-O1", "math.c", "-lm", "-o", "math"], 0, None, ["math"], ("math", [], "1.414214\n", 7)),
    (["-O4", "-mthumb", "-mcpu=cortex-a8", "-ffast-math", "-g", "-Wall", "-fno-strict-aliasing", "-funroll-loops", "math.c",
      "-lm", "-o", "math2"], 0, None, ["math2"], ("math2", [], "1.414214\n", 7)),
    (["-O2", "-marm", "-mfpu=neon", "math.c", "-lm", "-o", "math3"], 0, None, ["math3"], ("math3", [], "1.414214\n", 7)),
    (["uses_fn.c", "fn.s", "-o", "fn"], 0, None, ["fn"], ("fn", [], "42\n", 0)),
    (["-fsigned-char", "chars.c", "-o", "chars"], 0, None, ["chars"], ("chars", [], "1\n", 0)),
    (["math with blank.c", "-o", "blank name"], 0, None, ["blank name"], ("blank name", [], "", 5)),
    (["@words.rsp"], 0, None, ["spaced name"], ("spaced name", [], "loud 5\n7 ./spaced name\n", 0)),
    (["--save-temps", "-O2", "-c", "-Iinc", "part.c"], 0, None, ["part.parsed.if", "part.if", "part.ql.c", "part.s", "part.o"], None),
    (["-Wp,-MMD,dep.d", "-Iinc", "-c", "part.c", "-o", "x.o"], 0, None, ["dep.d", "x.o"], None),
    (["-fwhole-program", "-O3", "math.c", "-lm", "-o", "whole"], 0, None, ["whole"], ("whole", [], "1.414214\n", 7)),
    (["-fwhole-program", "-O3", "-Iinc", "main.c", "part.c", "-o", "whole2"], 0, None, ["whole2"], ("whole2", [], "7 ./whole2\n", 0)),
    (["-fwhole-program", "-O4", "-c", "-Iinc", "main.c", "part.c", "-o", "w.o"], 0, None, ["w.o"], None),
    (["-fwhole-program", "-O4", "twin1.c", "twin2.c", "-o", "twins"], 0, None, ["twins"], ("twins", [], "1 10 2 20 7 30 3\n", 0)),
    (["-fwhole-program", "-O3", "own1.c", "own2.c", "-o", "own"], 0, None, ["own"], ("own", [], "[99.5 7 2 1] 4 5 8 4 1\n", 0)),
    (["-fwhole-program", "-O3", "uses_fn.c", "fn.s", "-o", "whole3"], 0, r"-fwhole-program has no effect", ["whole3"],
     ("whole3", [], "42\n", 0)),
    (["-###", "-O2", "-c", "-Iinc", "part.c"], 0, r"qlopt.*--opt_level=2", [], None),
    (["-###", "-O2", "-c", "-mcpu=cortex-m4", "-mfpu=fpv4-sp-d16", "part.c"], 0, r"silicon_version=7M4 --float_support=fpv4spd16", [], None),
    (["-###", "-O2", "-c", "-march=armv5te", "-mfloat-abi=soft", "part.c"], 0, r"silicon_version=5e --float_support=none", [], None),
    (["-###", "-O2", "-c", "-mcpu=cortex-a9", "-mfpu=neon-vfpv4", "part.c"], 0, r"silicon_version=7A8 --float_support=vfpv4 .*--neon", [], None),
    (["-###", "-O4", "-c", "-march=armv7-m", "-mthumb", "part.c"], 0, r"silicon_version=7M3 .*--code_state=16", [], None),
    (["-###", "-Os", "-c", "part.c"], 0, r"--opt_level=2 --size_speed_goal=0 --aliased_variables", [], None),
    (["-###", "-O2", "-fno-aliased-variables", "-ffast-math", "-ftree-vectorize", "-c", "part.c"], 0,
     r"--opt_level=2 --silicon.*--vectorize=on --fp_mode=relaxed --fp_reassoc=on", [], None),
    (["-###", "-funsafe-math-optimizations", "-fno-fast-math", "-c", "part.c"], 0, r"--fp_mode=strict --fp_reassoc=off", [], None),
    (["-###", "-O3", "-fwhole-program", "math.c"], 0, r"--call_assumptions=2", [], None),
    (["-###", "-c", "-mbig-endian", "part.c"], 0, r"qlparse.*--endian=big.*\n(.*\n)*.*gcc.*-mbig-endian", [], None),
    (["-DBOTH=3", "-UGONE", "-DGONE", "-U", "GONE", "-include", "forced.h", "-isystem", "sys", "-std=c99", "defined.c", "-o", "defs"], 0,
     None, ["defs"], ("defs", [], "3 6\n", 0)),
    (["-O0", "sums.c", "-o", "s0"], 0, None, ["s0"], ("s0", [], "3.75 2.5\n", 4)),
    (["-O1", "sums.c", "-o", "s1"], 0, None, ["s1"], ("s1", [], "3.75 2.5\n", 4)),
    (["-c", "part.c", "-Iinc", "-MM"], 0, None, [], None),
    (["-c", "part.c", "-Iinc", "-MD", "-MF", "made.d", "-MT", "one", "-MQ", "two$"], 0, None, ["part.o", "made.d"], None),
    (["part.o", "-L.", "-lparts", "main.o", "-lparts", "-o", "archived"], 0, None, ["archived"], ("archived", [], "7 ./archived\n", 0)),
    (["main.o", "libparts.a", "-o", "archived2"], 0, None, ["archived2"], ("archived2", [], "7 ./archived2\n", 0)),
    (["-E", "-dM", "part.c", "-DA=5", "-Iinc", "-o", "macros"], 0, None, ["macros"], None),
    (["-S", "part.c", "-Iinc", "-g"], 0, None, ["part.s"], None),
    (["-Wq,--print_debug:cfg=0", "-Wq,--opt_level=1", "-###", "-c", "part.c"], 0, r"--print_debug:cfg=0 --opt_level=1", [], None),
    (["-print-multiarch"], 0, None, [], None),
    # failures
    (["-c", "bad.c"], 1, r"bad\.c:1:25: error: expected expression", [], None),
    (["-c", "refused.c"], 1, r"refused\.c:2:3: error: qlparse does not take this: assembly that jumps", [], None),
    (["-c", "bad.c", "part.c", "-Iinc"], 1, r"bad\.c", ["part.o"], None),  # the other source is compiled
    (["-fwhole-program", "twin1.c", "clash.c", "-o", "clash"], 1, r"clash\.c:2.*shared", [], None),
    (["undefined.c"], 1, r"undefined reference to `g'", [], None),
    (["none.c"], 1, r"none\.c: No such file or directory", [], None),
    ([], 1, r"no input files", [], None),
    (["-lm"], 1, r"no input files", [], None),
    (["-c", "main.c", "part.c", "-o", "both.o"], 1, r"cannot specify '-o'", [], None),
    (["-ftrapv", "-c", "part.c"], 1, r"'-ftrapv' is not supported", [], None),
    (["-frobnicate", "-c", "math.c"], 1, r"frobnicate", [], None),
    (["--frobnicate", "math.c"], 1, r"unrecognized command-line option '--frobnicate'", [], None),
    (["-Wq,--no_such_option", "-c", "math.c"], 1, r"no_such_option", [], None),
    (["part.c", "-c", "-o", "part.c", "-Iinc"], 1, r"one of the inputs", [], None),
    (["part.c", "-o"], 1, r"argument to '-o' is missing", [], None),
    (["x.cpp"], 1, r"only C", [], None),
]


def run(cmd, cwd, env=None):
    p = subprocess.run(cmd, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=200, cwd=cwd, env=env)
    return p.returncode, p.stdout.decode(errors="replace"), p.stderr.decode(errors="replace")


def tree(folder):
    return {os.path.relpath(os.path.join(r, f), folder): os.path.getmtime(os.path.join(r, f))
            for r, _, files in os.walk(folder) for f in files}


def installed(build, folder):
    """A copy of the programs as an installation lays them out."""
    os.makedirs(os.path.join(folder, "bin"))
    os.makedirs(os.path.join(folder, "libexec", "ql"))
    for path, where in [("tools/cc/qlcc", "bin"), ("tools/parse/qlparse", "libexec/ql"), ("tools/gen/qlgen", "libexec/ql"),
                        ("qlopt", "bin")]:
        shutil.copy(os.path.join(build, path), os.path.join(folder, where))
    return os.path.join(folder, "bin", "qlcc")


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", required=True)
    args = ap.parse_args()
    qlcc = os.path.join(os.path.abspath(args.build), "tools", "cc", "qlcc")
    bad = []
    with tempfile.TemporaryDirectory() as top:
        d, temps = os.path.join(top, "work"), os.path.join(top, "temps")
        os.makedirs(os.path.join(d, "inc")), os.makedirs(os.path.join(d, "sys")), os.makedirs(temps)
        for name, text in FILES.items():
            with open(os.path.join(d, name), "w") as f:
                f.write(text)
        for words in (["arm-linux-gnueabihf-gcc", "-c", "-Iinc", "part.c", "-o", "p.o"], ["arm-linux-gnueabihf-ar", "rc", "libparts.a", "p.o"]):
            subprocess.run(words, cwd=d, check=True)
        env = dict(os.environ, TMPDIR=temps, QEMU_LD_PREFIX="/usr/arm-linux-gnueabihf")

        def check(words, status, pattern, made, program, compiler=qlcc):
            before = tree(d)
            got, out, err = run([compiler] + words, d, env)
            after = tree(d)
            new = {n for n in after if before.get(n) != after[n]}
            problems = []
            if got != status:
                problems.append("status %d" % got)
            if (err if pattern is None else not re.search(pattern, err)):
                problems.append("standard error: " + err.strip()[:400])
            if new != set(made):
                problems.append("files %s" % sorted(new))
            if os.listdir(temps):
                problems.append("left %s" % os.listdir(temps))
                for n in os.listdir(temps):
                    os.remove(os.path.join(temps, n))
            if program and not problems:
                name, argv, text, want = program
                s, o, e = run(["qemu-arm", "./" + name] + argv, d, env)
                if (s, o) != (want, text):
                    problems.append("the program gives %d, %r, %s" % (s, o, e))
            if problems:
                bad.append("%s: %s" % (" ".join(words), "; ".join(problems)))

        for row in ROWS:
            check(*row)
        check(["-O2", "-Iinc", "main.c", "part.c", "-o", "there"], 0, None, ["there"], ("there", [], "7 ./there\n", 0),
              installed(args.build, os.path.join(top, "installed")))
        if shutil.which("arm-linux-gnueabi-gcc"):
            check(["-O2", "-march=armv5te", "-mfloat-abi=soft", "-static", "sums.c", "-o", "soft"], 0, None, ["soft"],
                  ("soft", [], "3.75 2.5\n", 4))
        dep = open(os.path.join(d, "inc", "p.d")).read()
        if not re.match(r"inc/p\.o: part\.c inc/part\.h\n\s*inc/part\.h:", dep):
            bad.append("dependencies: %r" % dep)
        made = open(os.path.join(d, "made.d")).read()
        if not made.startswith("one two$$: part.c ") or "inc/part.h" not in made:
            bad.append("dependencies: %r" % made)
    for b in bad:
        print(b)
    print("%d rows, %d differ" % (len(ROWS) + 2, len(bad)))
    sys.exit(1 if bad else 0)


main()
