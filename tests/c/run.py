#!/usr/bin/env python3
"""Runs C programs through every stage and compares output and exit status with the cross compiler's.

run.py --build DIR [--qlopt] [--levels 0,2,...] [FILE.c ...]

For each program: cross GCC -O0 under qemu-arm gives the reference; then qlrun on the parser's file; with --qlopt also
qlrun on qlopt's output at each level, and at level 2 on what qlopt makes of its own output. A program may have NAME.in (standard input) and a
first line "// args: ..." or "// options: ..." (for the compiler). Prints one line for each difference and a summary.
"""
import argparse, concurrent.futures, os, re, subprocess, sys, tempfile

CROSS = ["arm-linux-gnueabihf-gcc", "-static", "-O0", "-w", "-std=gnu11"]


def run(cmd, stdin=None, timeout=60):
    try:
        with open(stdin or os.devnull, "rb") as f:
            p = subprocess.run(cmd, stdin=f, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=timeout)
        return p.returncode, p.stdout, p.stderr
    except subprocess.TimeoutExpired:
        return -999, b"", b"timeout"


def tail(text):
    lines = text.decode(errors="replace").strip().splitlines()
    return lines[-1][:200] if lines else "(nothing)"


def header(path, key):
    with open(path, errors="replace") as f:
        for line in list(f)[:5]:
            m = re.match(r"//\s*%s:\s*(.*)" % key, line)
            if m:
                return m.group(1).split()
    return []


def one(path, args):
    """The list of failures of one program."""
    tool = lambda *p: os.path.join(args.build, *p)
    failures = []
    stdin = path[:-2] + ".in"
    stdin = stdin if os.path.exists(stdin) else None
    argv, options = header(path, "args"), header(path, "options")
    with tempfile.TemporaryDirectory() as d:
        f = lambda n: os.path.join(d, n)
        status, out, err = run(CROSS + options + [path, "-o", f("ref"), "-lm"])
        if status:
            return ["%s: the reference compiler refuses it: %s" % (path, tail(err))]
        reference = run(["qemu-arm", f("ref")] + argv, stdin)
        if reference[0] < 0:
            reference = (128 - reference[0],) + reference[1:]

        def compare(what, file):
            got = run([tool("tools", "exec", "qlrun"), file, "--"] + argv, stdin, 120)
            if got[:2] != reference[:2]:
                failures.append("%s: %s: status %d instead of %d; %s" %
                                (path, what, got[0], reference[0], tail(got[2]) if got[2] else "output differs"))
                return False
            return True

        status, out, err = run([tool("tools", "parse", "qlparse")] + options + [path, "-o", f("p.if")])
        if status:
            return ["%s: qlparse: %s" % (path, tail(err))]
        if not compare("parsed", f("p.if")) or not args.qlopt:
            return failures
        for level in args.levels.split(","):
            status, out, err = run([tool("qlopt"), "--opt_level=" + level, "--debug:validate", f("p.if"), f("o.if")])
            if status:
                failures.append("%s: qlopt level %s: status %d: %s" % (path, level, status, tail(err)))
                continue
            if not compare("level " + level, f("o.if")) or level != "2":
                continue
            status, out, err = run([tool("qlopt"), "--opt_level=" + level, "--debug:validate", f("o.if"), f("a.if")])
            if status:
                failures.append("%s: qlopt on its own output: status %d: %s" % (path, status, tail(err)))
            else:
                compare("level 2 twice", f("a.if"))
    return failures


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", required=True)
    ap.add_argument("--qlopt", action="store_true")
    ap.add_argument("--levels", default="0,1,2,3,4")
    ap.add_argument("--jobs", type=int, default=os.cpu_count())
    ap.add_argument("files", nargs="*")
    args = ap.parse_args()
    here = os.path.dirname(os.path.abspath(__file__))
    files = args.files or sorted(os.path.join(here, n) for n in os.listdir(here) if n.endswith(".c"))
    bad = 0
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        for failures in pool.map(lambda p: one(p, args), files):
            bad += bool(failures)
            for line in failures:
                print(line, flush=True)
    print("%d programs, %d differ" % (len(files), bad))
    sys.exit(1 if bad else 0)


main()
