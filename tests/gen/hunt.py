#!/usr/bin/env python3
"""Random programs through the C generator, for a time or a number of seeds.

hunt.py --build DIR [--seeds N] [--first SEED] [--minutes M] [--levels ...] [--modes ...] [--keep FOLDER]

csmith makes the programs; a difference from the cross compiler's own result is printed with its seed, and the source is
kept. The checks are those of run.py.
"""
import argparse, concurrent.futures, os, random, shutil, subprocess, sys, tempfile, time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from run import Checker

# What every seed may vary, so that small programs with one construct come up as well as large ones.
SHAPES = [[], ["--no-pointers"], ["--no-structs", "--no-unions"], ["--packed-struct"], ["--max-funcs", "3"],
          ["--no-float"], ["--float"], ["--no-bitfields"], ["--max-block-depth", "3"], ["--no-volatiles"]]


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", required=True)
    ap.add_argument("--seeds", type=int, default=100)
    ap.add_argument("--first", type=int, default=random.randrange(1 << 30))
    ap.add_argument("--minutes", type=float, default=1e9)
    ap.add_argument("--modes", default="select,O2")
    ap.add_argument("--levels", default="none")
    ap.add_argument("--shifts", default="exact")
    ap.add_argument("--include", default="/usr/include/csmith")
    ap.add_argument("--keep", default=".")
    ap.add_argument("--jobs", type=int, default=os.cpu_count())
    args = ap.parse_args()
    checker = Checker(args.build, args.modes.split(","), args.levels.split(","), args.shifts.split(","))
    end = time.time() + args.minutes * 60
    print("seeds from %d on" % args.first, flush=True)

    def one(seed):
        if time.time() > end:
            return None
        with tempfile.TemporaryDirectory() as d:
            path = os.path.join(d, "s%d.c" % seed)
            with open(path, "w") as f:
                subprocess.run(["csmith", "--seed", str(seed)] + SHAPES[seed % len(SHAPES)], stdout=f, check=True, cwd=d)
            failures = checker.one(path, ["-I" + args.include])
            if failures:
                shutil.copy(path, args.keep)
            return failures

    tried = bad = 0
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        for failures in pool.map(one, range(args.first, args.first + args.seeds)):
            if failures is None:
                continue
            tried += 1
            bad += bool(failures)
            for line in failures:
                print(line, flush=True)
    print("%d seeds, %d differ" % (tried, bad))
    sys.exit(1 if bad else 0)


main()
