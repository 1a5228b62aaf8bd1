#!/usr/bin/env python3
"""Programs through the C generator: what they print and return must be what the cross compiler's own -O0 gives.

run.py --build DIR [--modes select,O2,O0] [--levels none,0,2] [--shifts exact,machine] [FILE.c ...]

Each program: qlparse, qlopt at each level that is not "none", qlgen, the cross compiler in each mode, qemu-arm. A
program may have NAME.in (standard input) and among its first lines "// args: ...", "// options: ..." (for the
compiler), or "// partner: FILE.c" (a second source, compiled by the cross compiler alone: the border to foreign code).
"""
import argparse, concurrent.futures, os, re, subprocess, sys, tempfile

CROSS = "arm-linux-gnueabihf-gcc"
FLAGS = ["-O0", "-w", "-std=gnu11"]
LINK = ["-static"]


def run(cmd, stdin=None, timeout=100):
    try:
        with open(stdin or os.devnull, "rb") as f:
            p = subprocess.run(cmd, stdin=f, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=timeout)
        return p.returncode, p.stdout, p.stderr
    except subprocess.TimeoutExpired:
        return -999, b"", b"timeout"


def tail(text):
    lines = [l for l in text.decode(errors="replace").strip().splitlines() if "note: disable pass" not in l]
    errors = [l for l in lines if "error" in l]
    return (errors or lines or ["(nothing)"])[0][:300]


def header(path, key):
    with open(path, errors="replace") as f:
        for line in list(f)[:5]:
            m = re.match(r"//\s*%s:\s*(.*)" % key, line)
            if m:
                return m.group(1).split()
    return []


class Checker:
    def __init__(self, build, modes, levels, shifts):
        self.tool = lambda *p: os.path.join(build, *p)
        self.modes, self.levels, self.shifts = modes, levels, shifts
        self.options = {m: subprocess.run([self.tool("tools", "gen", "qlgen"), "--print-backend-options=" + m],
                                          stdout=subprocess.PIPE, check=True).stdout.decode().split() for m in modes}

    def one(self, path, options=(), where=None):
        """The list of failures of one program."""
        failures = []
        stdin = path[:-2] + ".in"
        stdin = stdin if os.path.exists(stdin) else None
        argv, options = header(path, "args"), list(options) + header(path, "options")
        partners = [os.path.join(os.path.dirname(path), p) for p in header(path, "partner")]
        with tempfile.TemporaryDirectory(dir=where) as d:
            f = lambda n: os.path.join(d, n)
            status, out, err = run([CROSS] + FLAGS + LINK + options + [path] + partners + ["-o", f("ref"), "-lm"])
            if status:
                return ["%s: the reference compiler refuses it: %s" % (path, tail(err))]
            objects = []
            for i, p in enumerate(partners):
                objects.append(f("partner%d.o" % i))
                run([CROSS] + FLAGS + options + ["-c", p, "-o", objects[-1]])
            reference = run(["qemu-arm", f("ref")] + argv, stdin)
            if reference[0] < 0:
                return []  # the program itself crashes or takes too long: nothing to compare with
            status, out, err = run([self.tool("tools", "parse", "qlparse")] + options + [path, "-o", f("p.if")])
            if status:
                return ["%s: qlparse: %s" % (path, tail(err))]
            for level in self.levels:
                file = f("p.if")
                if level != "none":
                    file = f("o.if")
                    status, out, err = run([self.tool("qlopt"), "--opt_level=" + level, "--aliased_variables",
                                            f("p.if"), file])
                    if status:
                        failures.append("%s: qlopt level %s: %s" % (path, level, tail(err)))
                        continue
                for shifts in self.shifts:
                    status, out, err = run([self.tool("tools", "gen", "qlgen"), "--shifts=" + shifts, file, "-o",
                                            f("g.c")])
                    if status:
                        failures.append("%s: qlgen, level %s: %s" % (path, level, tail(err)))
                        continue
                    for mode in self.modes:
                        what = "level %s, shifts %s, mode %s" % (level, shifts, mode)
                        status, out, err = run([CROSS] + self.options[mode] + LINK + [f("g.c")] + objects +
                                               ["-o", f("prog"), "-lm"])
                        if status:
                            failures.append("%s: %s: the text is refused: %s" % (path, what, tail(err)))
                            continue
                        got = run(["qemu-arm", f("prog")] + argv, stdin)
                        if got[:2] != reference[:2]:
                            failures.append("%s: %s: status %d instead of %d%s" %
                                            (path, what, got[0], reference[0],
                                             "" if got[1] == reference[1] else ", other output"))
        return failures


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", required=True)
    ap.add_argument("--modes", default="select,O2")
    ap.add_argument("--levels", default="none")
    ap.add_argument("--shifts", default="exact")
    ap.add_argument("--jobs", type=int, default=os.cpu_count())
    ap.add_argument("files", nargs="*")
    args = ap.parse_args()
    here = os.path.dirname(os.path.abspath(__file__))
    files = args.files
    for folder in [here, os.path.join(here, "..", "c")]:
        if not args.files and os.path.isdir(folder):
            files = files + sorted(os.path.join(folder, n) for n in os.listdir(folder)
                                   if n.endswith(".c") and not n.endswith("_partner.c"))
    checker = Checker(args.build, args.modes.split(","), args.levels.split(","), args.shifts.split(","))
    bad = 0
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        for failures in pool.map(checker.one, files):
            bad += bool(failures)
            for line in failures:
                print(line, flush=True)
    print("%d programs, %d differ" % (len(files), bad))
    sys.exit(1 if bad or not files else 0)


if __name__ == "__main__":
    main()
