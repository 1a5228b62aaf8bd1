#!/usr/bin/env python3
"""The interpreter and the generated C must print the same for files that no C source gives.

opcodes.py --build DIR [--seeds N] [--first SEED] [--modes select,O2]

The table of operators once, then N files of random trees (gen_opcodes), each through qlrun and through qlgen, the cross
compiler and qemu-arm.
"""
import argparse, concurrent.futures, os, subprocess, sys, tempfile


def run(cmd):
    p = subprocess.run(cmd, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=300)
    return p.returncode, p.stdout.decode(errors="replace"), p.stderr.decode(errors="replace")


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", required=True)
    ap.add_argument("--seeds", type=int, default=20)
    ap.add_argument("--first", type=int, default=1)
    ap.add_argument("--modes", default="select,O2")
    ap.add_argument("--jobs", type=int, default=os.cpu_count())
    args = ap.parse_args()
    tool = lambda *p: os.path.join(args.build, *p)

    def one(seed):
        what = ["table"] if seed is None else ["random", str(seed)]
        with tempfile.TemporaryDirectory() as d:
            f = lambda n: os.path.join(d, n)
            status, out, err = run([tool("tests", "gen", "gen_opcodes")] + what + [f("p.if")])
            if status:
                return ["%s: not made: %s" % (what, err)]
            status, reference, err = run([tool("tools", "exec", "qlrun"), f("p.if")])
            if status:
                return ["%s: qlrun: %s" % (what, err.strip())]
            failures = []
            for mode in args.modes.split(","):
                status, out, err = run([tool("tools", "gen", "qlgen"), f("p.if"), "-o", f("prog"), "--backend=" + mode,
                                        "--", "-static", "-lm"])
                if status:
                    failures.append("%s: qlgen: %s" % (what, err.strip()[:500]))
                    continue
                status, out, err = run(["qemu-arm", f("prog")])
                if (status, out) == (0, reference):
                    continue
                pairs = [(n, a, b) for n, (a, b) in enumerate(zip(reference.split("\n"), out.split("\n")))if a != b]
                failures.append("%s, mode %s: status %d, %d lines differ; first: %s" % (what, mode, status, len(pairs), pairs[:1]))
            return failures

    bad = 0
    seeds = [None] + list(range(args.first, args.first + args.seeds))
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        for failures in pool.map(one, seeds):
            bad += bool(failures)
            for line in failures:
                print(line, flush=True)
    print("%d files, %d differ" % (len(seeds), bad))
    sys.exit(1 if bad else 0)


main()
