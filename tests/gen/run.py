#!/usr/bin/env python3
"""Programs through the C generator: what they print and return must be what the cross compiler's own -O0 gives.

run.py --build DIR [--modes select,O2,O0] [--levels none,0,2] [--shifts exact,machine] [FILE.c ...]

Each program: qlparse, qlopt at each level that is not "none", qlgen, the cross compiler in each mode (for what is
optimized, in the first one), qemu-arm.
"""
import argparse, functools, itertools, os, subprocess, sys

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.dirname(here))
import programs

CROSS = ["arm-linux-gnueabihf-gcc", "-static"]


@functools.lru_cache(None)
def backend(qlgen, mode):
    return subprocess.run([qlgen, "--print-backend-options=" + mode], stdout=subprocess.PIPE,
                          check=True).stdout.decode().split()


def check(p, args, f):
    tool = lambda *w: os.path.join(args.build, *w)
    qlgen = tool("tools", "gen", "qlgen")
    cross = CROSS + programs.FLAGS + p.options
    if not p.build(cross + [p.path] + p.partners + ["-o", f("ref"), "-lm"], "the reference compiler"):
        return
    reference = p.go(["qemu-arm", f("ref")])
    objects = [f("partner%d.o" % i) for i in range(len(p.partners))]
    for source, to in zip(p.partners, objects):
        programs.run(cross + ["-c", source, "-o", to])
    if not p.build([tool("tools", "parse", "qlparse")] + p.options + [p.path, "-o", f("none.if")], "qlparse"):
        return
    for level, shifts in itertools.product(args.levels.split(","), args.shifts.split(",")):
        file, what = f(level + ".if"), "level %s, shifts %s" % (level, shifts)
        qlopt = [tool("qlopt"), "--opt_level=" + level, "--aliased_variables", f("none.if"), file]
        if level != "none" and not p.build(qlopt, "qlopt level " + level):
            continue
        if not p.build([qlgen, "--shifts=" + shifts, file, "-o", f("g.c")], what + ", qlgen"):
            continue
        modes = args.modes.split(",")
        for mode in modes if level == "none" else modes[:1]:
            options = CROSS + backend(qlgen, mode)
            if p.build(options + [f("g.c")] + objects + ["-o", f("prog"), "-lm"], what + ", mode " + mode):
                p.compare(what + ", mode " + mode, reference, ["qemu-arm", f("prog")])


ap = argparse.ArgumentParser()
ap.add_argument("--modes", default="select,O2")
ap.add_argument("--levels", default="none,2")
ap.add_argument("--shifts", default="exact")
programs.main(check, ap, [here, os.path.join(here, "..", "c")])
