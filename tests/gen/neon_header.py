#!/usr/bin/env python3
"""Every function of arm_neon.h: neon_header.py --build DIR

The front end's header says which there are. A program that calls each on random operands is compiled by the cross compiler
under its own header, and by qlparse; both must print the same. Left out: half floats, and what the cross compiler lacks.
"""
import argparse, os, re, subprocess, sys, tempfile

FLAGS = ["-std=gnu11", "-mfpu=neon", "-march=armv7-a"]
HEAD = """#include <arm_neon.h>
#include <stdio.h>
#include <string.h>
static unsigned char ints[512], out[256];
static float floats[64];
static void show(const char *name, const void *p, int n) {
    printf("%s", name);
    for (int i = 0; i < n; i++) printf("%s%02x", i % 8 ? "" : " ", ((const unsigned char *)p)[i]);
    putchar('\\n');
}
static void fill(void) {
    unsigned x = 12345;
    for (int i = 0; i < 512; i++) x = x * 1103515245 + 12345, ints[i] = i % 5 ? x >> 16 : (unsigned char)(x >> 30) - 1;
    for (int i = 0; i < 64; i++) x = x * 1103515245 + 12345, floats[i] = (float)(int)(x >> 12) / 4096 * (i % 3 ? 1 : -1);
}
"""


def run(cmd, **more):
    return subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=300, **more)


def calls():
    """(name, type of the result or None, arguments): vectors by type, "p" a pointer, "i" a constant."""
    clang = ["clang-14", "--target=armv7a-none-linux-gnueabihf", "-mfpu=neon", "-E", "-x", "c", "-"]
    source = "#include <arm_neon.h>\n"
    text = run(clang, input=source).stdout
    skip = re.compile(r"float16|bf16|bfloat|p128|__noswap|_f16|_p64|poly64")
    for m in re.finditer(r"__attribute__\(\(__always_inline__, __nodebug__\)\)\s+(\w+) (v\w+)\((.*?)\)", text):
        if not skip.search(m.group(0)):
            yield m.group(2), m.group(1), [p.split()[0] for p in m.group(3).split(",") if p.strip()]
    for m in re.finditer(r"#define (v\w+)\(([^)]*)\) (.*)", run(clang + ["-dM"], input=source).stdout):
        name, params, body = m.groups()
        if skip.search(m.group(0)):
            continue
        args = []
        for i, p in enumerate(q.strip() for q in params.split(",")):
            t = re.search(r"(\w+) __s\d+\w* = %s;" % p, body)
            args.append(t.group(1) if t else "p" if i == 0 and re.match(r"v(ld|st)", name) else "i")
        yield name, None if name.startswith("vst") else "__auto_type", args


def text_of(name, result, args):
    place = 0
    parts = []
    for t in args:
        place += 24
        if t == "i":
            parts.append("0" if re.search("64", name) and re.search("lane|ext", name) and "q_" not in name.replace("dupq", "") else "1")
        elif t == "p":
            parts.append("(void *)%s" % ("out" if result is None else "floats" if "_f32" in name else "ints + 64"))
        else:
            parts.append("*(%s *)%s" % (t, "(floats + %d)" % (place // 4 % 32) if t.startswith("float") else "(ints + %d)" % place))
    call = "%s(%s)" % (name, ", ".join(parts))
    if result in (None, "void"):
        return 'static void t_%s(void) { memset(out, 0, sizeof out); %s; show("%s", out, 64); }' % (name, call, name)
    return 'static void t_%s(void) { %s r = %s; show("%s", &r, sizeof r); }' % (name, result, call, name)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", required=True)
    args = ap.parse_args()
    rows = sorted({c[0]: c for c in calls()}.values())
    with tempfile.TemporaryDirectory() as d:
        f = lambda n: os.path.join(d, n)

        def write():
            with open(f("all.c"), "w") as out:
                out.write(HEAD + "\n".join(text_of(*r) for r in rows) + "\nint main(void) {\nfill();\n" +
                          "".join("t_%s();\n" % r[0] for r in rows) + "return 0;\n}\n")

        all_rows = len(rows)
        first = HEAD.count("\n") + 1
        for attempt in range(4): # what the cross compiler does not have
            write()
            r = run(["arm-linux-gnueabihf-gcc", "-static", "-O1", "-w",
                     "-ffp-contract=off"] + FLAGS + [f("all.c"), "-o", f("ref")])
            lines = {int(n) - first for n in re.findall(r"all\.c:(\d+):\d+: error", r.stderr)}
            missing = set(re.findall(r"in function `t_(\w+)'", r.stderr))
            if r.returncode == 0 or not (lines or missing):
                break
            rows = [row for i, row in enumerate(rows) if i not in lines and row[0] not in missing]
        if r.returncode:
            sys.exit("the cross compiler: " + r.stderr[-500:])
        reference = run(["qemu-arm", f("ref")]).stdout.split("\n")
        r = run([os.path.join(args.build, "tools", "parse", "qlparse")] + FLAGS + [f("all.c"), "-o", f("all.if")])
        if r.returncode:
            sys.exit("qlparse: " + r.stderr[:500])
        r = run([os.path.join(args.build, "tools", "exec", "qlrun"), f("all.if")])
        got = r.stdout.split("\n")
        bad = [(a, b) for a, b in zip(reference, got) if a != b]
        for a, b in bad[:40]:
            print("cross compiler: %s\nqlrun:          %s" % (a, b))
        print("%d of %d functions, %d differ" % (len(rows), all_rows, len(bad)), r.stderr[:300])
        sys.exit(1 if bad or r.returncode or len(got) != len(reference) or len(rows) < 1500 else 0)


main()
