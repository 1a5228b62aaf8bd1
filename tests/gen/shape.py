#!/usr/bin/env python3
"""What the cross compiler makes of generated C: in the mode "select" it leaves the code as the optimizer left it.

shape.py --build DIR

Counts instructions in the assembly of small functions, in ARM state. Each row: function, a pattern, how often it must
stand there in mode select, and in a loop where the row says so; where O2 is named, its count shows that the pattern is
one that GCC would have changed.
"""
import argparse, os, re, subprocess, sys, tempfile

SOURCE = r"""
int cse(int a, int b, int c) { return (a * b + c) ^ ((a * b) >> 3) ^ (a * b - c); }
int invariant(int *p, int n, int a, int b) { int s = 0; for (int i = 0; i < n; i++) s += p[i] ^ (a * b); return s; }
int dead_store(int *p) { *p = 1; *p = 2; return *p; }
int reload(int *p, int *q) { int x = *p; q[1] = x; return *p + x; }
int unrolled(int *p) { int s = 0; for (int i = 0; i < 4; i++) s += p[i]; return s; }
static int callee(int x) { return x + 1; }
int inlined(int x) { return callee(x) * 2; }
int volatiles(volatile int *p) { int a = *p; a += *p; *p = a; *p; *p = a; return *p++; }
unsigned selected(unsigned *p, unsigned i, unsigned x) { return p[i] + (x << 5); }
unsigned stepping(unsigned char *p, int n) { unsigned s = 0; while (n--) s += *p++; return s; }
unsigned field(struct { unsigned a : 3, b : 9; } *f) { return f->b; }
int rounding(int c, int a, int b) { return c < 3 ? a : b; }
"""
SOURCE = SOURCE.replace("unsigned field(struct { unsigned a : 3, b : 9; } *f)",
                        "struct bits { unsigned a : 3, b : 9; };\nunsigned field(struct bits *f)")

ROWS = [
    # function, pattern, in a loop only, select, O2 (None: not looked at)
    ("cse", r"\bml?ul\b|\bmla\b|\bmls\b|\bmul\b", False, 3, 1),
    ("invariant", r"\bmul\b|\bmla\b", True, 1, 0),
    ("dead_store", r"\bstr\b", False, 2, 1),
    ("reload", r"\bldr\b", False, 2, None),
    ("unrolled", r"\bldr\b", True, 1, None),
    ("inlined", r"\bbl?\s+callee", False, 1, 0),
    ("volatiles", r"\bldr\b", False, 4, 4),
    ("volatiles", r"\bstr\b", False, 2, 2),
    ("selected", r"lsl #2\]|lsl #5", False, 2, 2),  # one load with its scaled index, one addition with its shift
    ("selected", r"^\s+[a-z]", False, 3, 3),
    ("stepping", r"ldrb\s+\w+, \[\w+\], #1", True, 1, None),
    ("field", r"ubfx", False, 1, 1),
    ("rounding", r"\bmov[a-z][a-z]\b", False, 2, None),
]


def body(assembly, name):
    m = re.search(r"^%s:\n(.*?)^\s*\.size\s+%s," % (name, name), assembly, re.M | re.S)
    return [l for l in m.group(1).split("\n") if not re.match(r"\s*[.@]\w", l) or l.startswith(".L")] if m else []


def loops(lines):
    """The lines between a label and a jump back to it."""
    inside = []
    for i, l in enumerate(lines):
        if l.startswith(".L"):
            label = l.split(":")[0]
            for j in range(len(lines) - 1, i, -1):
                if re.search(r"\bb\w*\s+%s\b" % re.escape(label), lines[j]):
                    inside += lines[i:j]
                    break
    return inside


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", required=True)
    args = ap.parse_args()
    tool = lambda *p: os.path.join(args.build, *p)
    bad = []
    with tempfile.TemporaryDirectory() as d:
        f = lambda n: os.path.join(d, n)
        with open(f("s.c"), "w") as out:
            out.write(SOURCE)
        subprocess.run([tool("tools", "parse", "qlparse"), f("s.c"), "-o", f("s.if")], check=True)
        assembly = {}
        for mode in ["select", "O2"]:
            subprocess.run([tool("tools", "gen", "qlgen"), f("s.if"), "-S", "-o", f(mode + ".s"), "--backend=" + mode,
                            "--", "-marm"], check=True)
            assembly[mode] = open(f(mode + ".s")).read()
        for name, pattern, in_loop, *counts in ROWS:
            for mode, want in zip(["select", "O2"], counts):
                lines = body(assembly[mode], name)
                got = sum(bool(re.search(pattern, l)) for l in (loops(lines) if in_loop else lines))
                if want is not None and (got != want or not lines):
                    bad.append("%s, mode %s: %d of %s instead of %d\n%s" % (name, mode, got, pattern, want, "\n".join(lines)))
    for b in bad:
        print(b)
    print("%d rows, %d differ" % (len(ROWS), len(bad)))
    sys.exit(1 if bad else 0)


main()
