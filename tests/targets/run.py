#!/usr/bin/env python3
"""Programs on other targets than the usual one: big-endian, soft floats on old cores, Thumb.

run.py --build DIR [--targets big,thumb,...] [FILE.c ...]

The reference is what a cross GCC -O0 for the same target makes, under qemu; qlrun on the parser's and the optimized
file, and the generated C through the same GCC, must agree. No C library is big-endian here: those programs stand on
bare.c. A target whose compiler is missing is left out, and said so.
"""
import argparse, os, shutil, sys

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.dirname(here))
import programs

HARD, SOFT = "arm-linux-gnueabihf-gcc", "arm-linux-gnueabi-gcc"
BIG = ["-mbig-endian", "-Wl,--be8", "-marm", "-mcpu=cortex-a15", "-mfpu=neon-vfpv4", "-mfloat-abi=hard", "-nostdlib",
       "-static", "-fno-builtin", "-fno-stack-protector", "-fno-pie", "-no-pie", os.path.join(here, "bare.c")]

# cross compiler and its options, how to run, for qlparse, for qlopt
TARGETS = {
    "big": (HARD, BIG, ["qemu-armeb"], ["--endian=big"], []),
    "thumb": (HARD, ["-static", "-mthumb", "-mcpu=cortex-a8"], ["qemu-arm"], [], ["--code_state=16"]),
    "v5soft": (SOFT, ["-static", "-march=armv5te"], ["qemu-arm", "-cpu", "arm926"], ["--float=soft"],
               ["--silicon_version=5e", "--float_support=none"]),
    "v4thumb": (SOFT, ["-static", "-march=armv4t", "-mthumb"], ["qemu-arm", "-cpu", "arm926"], ["--float=soft"],
                ["--silicon_version=4", "--float_support=none", "--code_state=16"]),
    "v6": (SOFT, ["-static", "-march=armv6", "-marm"], ["qemu-arm", "-cpu", "arm1136"], ["--float=soft"],
           ["--silicon_version=6", "--float_support=none"]),
}

# The program of this folder goes to every target, others of the corpus to those with a library.
ELSEWHERE = "bitfields byvalue packed_access unions varied_calls atomics complexes float_kernels longjump vlas".split()

# What the generated C counts on.
BACKEND = ["-O1", "-w", "-std=gnu11", "-fwrapv", "-fno-strict-aliasing", "-fno-delete-null-pointer-checks",
           "-ffp-contract=off"]


def check(p, args, f):
    tool = lambda *w: os.path.join(args.build, *w)
    name = os.path.basename(p.path)[:-2]
    for target in args.targets.split(","):
        cross, options, runner, parse, optimize = TARGETS[target]
        if not shutil.which(cross) or target == "big" and name != "byte_orders":
            continue
        libraries = {HARD: ["-lm"], SOFT: ["-lm", "-latomic"]}[cross] if target != "big" else []
        reference_compiler = [cross] + programs.FLAGS + options + p.options
        if not p.build(reference_compiler + [p.path, "-o", f("ref")] + libraries, target + ", the reference compiler"):
            continue
        reference = p.go(runner + [f("ref")])
        if not p.build([tool("tools", "parse", "qlparse")] + parse + p.options + [p.path, "-o", f("none.if")], target):
            continue
        for level in ["none", "2"]:
            what = "%s, level %s" % (target, level)
            file = f(level + ".if")
            if level != "none" and not p.build([tool("qlopt"), "--opt_level=" + level, "--aliased_variables",
                                                "--debug:validate"] + optimize + [f("none.if"), file], what):
                continue
            p.compare(what + ", interpreted", reference, [tool("tools", "exec", "qlrun"), file, "--"])
            if not p.build([tool("tools", "gen", "qlgen"), file, "-o", f("g.c")], what):
                continue
            if p.build([cross] + BACKEND + options + [f("g.c"), "-o", f("prog")] + libraries, what):
                p.compare(what, reference, runner + [f("prog")])


ap = argparse.ArgumentParser()
ap.add_argument("--targets", default=",".join(TARGETS))
for target, row in TARGETS.items():
    if not shutil.which(row[0]):
        print("%s is left out: there is no %s" % (target, row[0]))
programs.main(check, ap, [os.path.join(here, "byte_orders.c")] + [os.path.join(here, "..", "c", n + ".c") for n in ELSEWHERE])
