#!/usr/bin/env python3
"""Runs C programs through every stage and compares output and exit status with the cross compiler's.

run.py --build DIR [--qlopt] [--levels 0,2,...] [FILE.c ...]

For each program: cross GCC -O0 under qemu-arm gives the reference. The host's GCC -O0 must agree, unless the program
shows its target; then qlrun on the parser's file; with --qlopt also qlrun on qlopt's output at each level, and at
level 2 on what qlopt makes of its own output, where statements come to rest and a third output is the second one.
Prints one line for each difference and a summary.
"""
import argparse, os, re, sys

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.dirname(here))
import programs

CROSS = ["arm-linux-gnueabihf-gcc", "-static"] + programs.FLAGS
HOST = ["gcc", "-funsigned-char", "-ffp-contract=off"] + programs.FLAGS


def check_rest(p, tool, f):
    """The third output is the second one, and no statement changes each time that it is simplified."""
    status, _, err = programs.run([tool("qlopt"), "--opt_level=2", "--debug:simp_again", f("a.if"), f("b.if")])
    if status or b"changes each time" in err:
        p.fail("simplified again and again", "status %d" % status, err.decode(errors="replace")[:400])
    # a function whose loops have several entries may get its blocks in another order each time
    second, third = (sorted(line for line in programs.run([tool("tools", "text", "qldump"), f(n)])[1].splitlines()
                            if not re.match(rb"comment|L\d+:|.*BRANCH", line)) for n in ("a.if", "b.if"))
    if second != third or not second:
        p.fail("the third output differs from the second", str([l.decode() for l in third if l not in second][:3]))


def check(p, args, f):
    tool = lambda *w: os.path.join(args.build, *w)
    if not p.build(CROSS + p.options + [p.path, "-o", f("ref"), "-lm"], "the reference compiler"):
        return
    reference = p.go(["qemu-arm", f("ref")])
    if p.host and p.build(HOST + p.options + [p.path, "-o", f("host"), "-lm"], "the host's compiler"):
        p.compare("host", reference, [f("host")])
    interpreted = lambda what, file: p.compare(what, reference, [tool("tools", "exec", "qlrun"), file, "--"])
    if not p.build([tool("tools", "parse", "qlparse")] + p.options + [p.path, "-o", f("p.if")], "qlparse"):
        return
    if not interpreted("parsed", f("p.if")) or not args.qlopt:
        return
    for level in args.levels.split(","):
        qlopt = [tool("qlopt"), "--opt_level=" + level, "--debug:validate"]
        if p.build(qlopt + [f("p.if"), f("o.if")], "level " + level) and interpreted("level " + level, f("o.if")):
            if level == "2" and p.build(qlopt + [f("o.if"), f("a.if")], "level 2 twice"):
                interpreted("level 2 twice", f("a.if"))
                check_rest(p, tool, f)


ap = argparse.ArgumentParser()
ap.add_argument("--qlopt", action="store_true")
ap.add_argument("--levels", default="0,1,2,3,4")
programs.main(check, ap, [here])
