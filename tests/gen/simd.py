#!/usr/bin/env python3
"""The table of intrinsics against the processor: simd.py --build DIR

Every form of every row over boundary and random lanes (gen_simd): the interpreter, the generated C with the SIMD and DSP
instructions, and the generated C in its portable form must print the same. qemu-arm is the processor.
"""
import argparse, os, subprocess, sys, tempfile

PARTS = 4
MODES = {"processor": ["-mfpu=neon", "-march=armv7-a"], "portable": ["-march=armv7-a+fp", "-U__ARM_FEATURE_SIMD32"]}


def run(cmd):
    p = subprocess.run(cmd, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=300)
    return p.returncode, p.stdout.decode(errors="replace"), p.stderr.decode(errors="replace")


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", required=True)
    args = ap.parse_args()
    tool = lambda *p: os.path.join(args.build, *p)
    bad = lines = 0
    with tempfile.TemporaryDirectory() as d:
        f = lambda n: os.path.join(d, n)
        for part in range(PARTS):
            status, out, err = run([tool("tests", "gen", "gen_simd"), f("p.if"), str(part), str(PARTS)])
            status, reference, err = run([tool("tools", "exec", "qlrun"), f("p.if")])
            if status or not reference:
                sys.exit("qlrun: %s" % err)
            lines += reference.count("\n")
            for mode, options in MODES.items():
                status, out, err = run([tool("tools", "gen", "qlgen"), f("p.if"), "-o", f("prog"), "--", "-static"] + options)
                if status:
                    sys.exit("qlgen, %s: %s" % (mode, err[:500]))
                status, out, err = run(["qemu-arm", f("prog")])
                differing = [(a, b) for a, b in zip(reference.split("\n"), out.split("\n")) if a != b]
                if status or differing or len(out) != len(reference):
                    bad += 1
                    names = sorted({a.split(" ")[0] for a, b in differing})
                    print("part %d, %s: status %d, %d lines differ: %s" % (part, mode, status, len(differing), names))
                    for a, b in differing[:3]:
                        print("  interpreter %s\n  program     %s" % (a, b))
    print("%d results, %d of %d comparisons differ" % (lines, bad, PARTS * len(MODES)))
    sys.exit(1 if bad else 0)


main()
