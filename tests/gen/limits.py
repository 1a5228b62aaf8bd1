#!/usr/bin/env python3
"""Deep trees, and files and command lines that qlgen must refuse: message, exit status, nothing left behind.

limits.py --build DIR
"""
import argparse, os, re, subprocess, sys, tempfile, time


def run(cmd, cwd):
    p = subprocess.run(cmd, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=200, cwd=cwd)
    return p.returncode, p.stdout.decode(errors="replace"), p.stderr.decode(errors="replace")


REFUSED = [
    # what gen_opcodes makes, what the message says
    ("built-in", r"bad\.c:12:5: error: .*'no_such_thing' is not known"),
    ("operands", r"bad\.c:12:5: error: .*'_smulbb' with 1 operands"),
    ("label", r"error: .*label 77"),
    ("twice", r"error: .*label that stands twice"),
    ("register", r"bad\.c:12:5: error: .*VREG in function 'f'"),
    ("vector", r"error: .*variable 'v'"),
    ("fixed", r"error: .*variable 'v'"),
    ("bit address", r"bad\.c:12:5: error: .*address of a bit-field"),
]
COMMANDS = [
    # arguments, status, message
    (["none.if", "-o", "x.c"], 1, r"none\.if: cannot open"),
    (["text.if", "-o", "x.c"], 1, r"text\.if: not an intermediate file"),
    (["good.if", "-o", "no/where.c"], 1, r"cannot write no/where\.c"),
    (["good.if", "other.if"], 2, r"more than one file"),
    (["good.if", "--frob"], 2, r"unknown option --frob"),
    (["good.if", "--backend=O9"], 2, r"no backend mode 'O9'"),
    (["good.if", "-c", "-o", "x.o", "--", "-frobnicate"], 1, r"frobnicate"),
    (["good.if", "-o", "prog", "--", "-lnothing_of_the_kind"], 1, r"nothing_of_the_kind"),
    ([], 2, r"no file"),
    (["--help"], 0, None),
]


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", required=True)
    args = ap.parse_args()
    build = os.path.abspath(args.build)
    qlgen, maker = os.path.join(build, "tools", "gen", "qlgen"), os.path.join(build, "tests", "gen", "gen_opcodes")
    bad = []
    with tempfile.TemporaryDirectory() as d:
        for what, pattern in REFUSED:
            status, out, err = run([maker, "bad", what, "bad.if"], d)
            status, out, err = run([qlgen, "bad.if", "-o", "bad.c"], d)
            if status != 1 or not re.search(pattern, err) or os.path.exists(os.path.join(d, "bad.c")):
                bad.append("%s: status %d, %s" % (what, status, err.strip()))
        with open(os.path.join(d, "text.if"), "w") as f:
            f.write("this is no such file\n" * 10)
        run([maker, "deep", "3", "good.if"], d)
        for words, want, pattern in COMMANDS:
            before = set(os.listdir(d))
            status, out, err = run([qlgen] + words, d)
            if status != want or (pattern and not re.search(pattern, err)) or set(os.listdir(d)) != before:
                bad.append("%s: status %d, %s" % (words, status, err.strip()[:300]))
        # Function types that take function types double with each level.
        with open(os.path.join(d, "types.ift"), "w") as f:
            f.write("type t0 = int\n" + "".join("type t%d = func(int, ptr(t%d), ptr(t%d))\n" % (i, i - 1, i - 1) for i in range(1, 60))
                    + "global @v : ptr(t59)\n")
        run([os.path.join(build, "tools", "text", "qlasm"), "types.ift", "-o", "types.if"], d)
        status, out, err = run([qlgen, "types.if", "-o", "types.c"], d)
        if status != 1 or "more than 8000 characters" not in err:
            bad.append("types: status %d, %s" % (status, err.strip()[:300]))
        # Time and size must grow with the tree, not with its square.
        texts = {}
        for n in [2000, 20000]:
            run([maker, "deep", str(n), "deep.if"], d)
            began = time.time()
            status, out, err = run([qlgen, "deep.if", "-o", "deep%d.c" % n], d)
            texts[n] = (os.path.getsize(os.path.join(d, "deep%d.c" % n)) if status == 0 else 0, time.time() - began)
            if status:
                bad.append("deep %d: status %d, %s" % (n, status, err.strip()[:300]))
        if texts[20000][0] > 15 * texts[2000][0] or texts[20000][1] > 60:
            bad.append("deep: %s" % texts)
        run([maker, "deep", "1500", "deep.if"], d)
        status, want, err = run([os.path.join(build, "tools", "exec", "qlrun"), "deep.if"], d)
        status, out, err = run([qlgen, "deep.if", "-o", "deep", "--", "-static"], d)
        got = run(["qemu-arm", "./deep"], d)[1] if status == 0 else err[:300]
        if got != want:
            bad.append("deep: prints %s instead of %s" % (got, want))
    for b in bad:
        print(b)
    print("%d rows, %d differ" % (len(REFUSED) + len(COMMANDS) + 4, len(bad)))
    sys.exit(1 if bad else 0)


main()
