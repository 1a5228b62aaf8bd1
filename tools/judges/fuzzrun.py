#!/usr/bin/env python3
"""./ql fuzz: random programs through the stages, for a time.

A seed stands for a program and for the configurations it is judged in, which change from seed to seed. What is found is kept with a note of what to call.
"""
import argparse, collections, itertools, os, random, sys, tempfile, time

from progress import Progress, clock, spread
import generate, stages

# Option sets of csmith, drawn by seed: small programs with one construct come up as well as large ones.
CSMITH = [[], ["--no-pointers"], ["--no-structs", "--no-unions"], ["--packed-struct"], ["--max-funcs", "3"], ["--float"],
          ["--no-bitfields"], ["--max-block-depth", "3"], ["--no-volatiles"], ["--no-arrays", "--max-expr-complexity", "20"],
          ["--max-funcs", "2", "--max-expr-complexity", "4", "--max-block-depth", "2"], ["--no-longlong"],
          ["--no-safe-math", "--max-funcs", "4"], ["--inline-function"], ["--no-jumps"], ["--no-embedded-assigns"],
          ["--no-global-variables"], ["--const-pointers", "--volatile-pointers"], ["--max-pointer-depth", "5"],
          ["--max-funcs", "4", "--max-block-depth", "3"]]
CHECKED = 16  # one program in that many is compiled by the compilers too, so that parser and interpreter are judged as well
SIZES = ["small", "small", "normal", "normal", "normal", "large"]


def make(generator, seed, path):
    """Writes the program of a seed; says why not, or None. "both" alternates."""
    if generator == "csmith" or (generator == "both" and seed % 4 == 3):
        made = stages.run(["csmith", "--seed", str(seed), "-o", path] + CSMITH[seed // 4 % len(CSMITH)], timeout=5)
        return "csmith does not end" if made.status else None
    with open(path, "w") as f:
        f.write(generate.program(seed, SIZES[seed % len(SIZES)]))
    return None


def configurations(seed, wanted):
    if wanted:
        return stages.matrix(wanted)
    # Many programs in some configurations find more than few in all: three that every program has, and some of the
    # others in turn. Big-endian ones need a parse of their own: those of every fourth program are.
    big = lambda name: "big" in name.split(".")
    few = lambda names, count, step: [names[(seed * step + k * 53) % len(names)] for k in range(count)]
    always = ["o0", "o2", "o4.wp"]
    some = few([n for n in stages.QUICK if n not in always and not big(n)], 2, 1)
    more = few([n for n in stages.full_matrix() if big(n) == (seed % 4 == 1) and "gen" not in n], 2, 7)
    return always + some + more + (["o2.big"] if seed % 4 == 1 else []) + (["o2.gen"] if seed % CHECKED == 0 else [])


def main():
    ap = argparse.ArgumentParser(prog="./ql fuzz", description="Hunts with random programs.")
    ap.add_argument("--build", required=True, help=argparse.SUPPRESS)
    ap.add_argument("--minutes", type=float, help="how long (10, unless --count is given)")
    ap.add_argument("--count", type=int, help="how many programs")
    ap.add_argument("--seed", type=int, help="the first seed; drawn otherwise")
    ap.add_argument("--generator", choices=["own", "csmith", "both"], default="both")
    ap.add_argument("--size", choices=list(generate.SIZES), help="of our own programs; mixed otherwise")
    ap.add_argument("--matrix", help="configurations as for ./ql diff; the quick ones and some more otherwise")
    ap.add_argument("--keep", metavar="FOLDER", help="where failing programs go (default: fuzz in the build folder)")
    ap.add_argument("--qlopt-option", action="append", default=[], metavar="OPTION", help="one more option for qlopt")
    ap.add_argument("--check-all", action="store_true",
                    help="ask the compilers and their sanitizer about every program, not only about one in %d and those "
                    "in which something is found" % CHECKED)
    ap.add_argument("--no-sanitizer", action="store_true", help="trust the generators that behaviour is defined")
    ap.add_argument("--stop", action="store_true", help="stop at the first finding")
    ap.add_argument("--jobs", type=int, default=int(os.environ.get("QL_JOBS", os.cpu_count())))
    args = ap.parse_args()
    if args.size:
        SIZES[:] = [args.size]
    minutes = args.minutes if args.minutes is not None else 1e6 if args.count else 10
    first = args.seed if args.seed is not None else random.randrange(1 << 30)
    args.keep = args.keep or os.path.join(args.build, "fuzz")
    judge = stages.Judge(args.build, 5, args.qlopt_option, undefined=not args.no_sanitizer)
    judge.patience = 5  # for what the generators make, a fraction of a second is usual
    end = time.monotonic() + 60 * minutes
    progress = Progress(args.count, 60 * minutes)
    found = collections.Counter()
    left_out = collections.Counter()
    runs = 0
    state = {"stop": False}
    print("seeds from %d on" % first, flush=True)

    def seeds():
        for seed in range(first, first + args.count) if args.count else itertools.count(first):
            if time.monotonic() > end or state["stop"]:
                return
            yield seed

    def one(seed):
        with tempfile.TemporaryDirectory(prefix="qlfuzz") as place:
            path = os.path.join(place, "s%d.c" % seed)
            why = make(args.generator, seed, path)
            if why:
                result = stages.Result(path)
                result.discarded = why
                return seed, result, None
            result = judge.one(path, place, configurations(seed, args.matrix), trusting=not args.check_all and seed % CHECKED != 0)
            with open(path) as f:
                return seed, result, f.read() if result.findings else None

    for seed, result, text in spread(one, seeds(), args.jobs):
        progress.step(result.findings)
        runs += result.runs
        if result.discarded:
            left_out[result.discarded.split(":")[0]] += 1
        if not result.findings:
            continue
        os.makedirs(args.keep, exist_ok=True)
        kept = os.path.join(args.keep, "s%d.c" % seed)
        with open(kept, "w") as f:
            f.write(text)
        for kind in {f.kind for f in result.findings}:
            found[kind] += 1
        for line in stages.grouped(result.findings):
            progress.say("seed %d: %s" % (seed, line))
        worst = result.findings[0]
        progress.say("  repeat: ./ql diff %s%s%s" % ("--matrix=%s " % worst.config if worst.config else "",
                                                   "".join("--qlopt-option=%s " % o for o in args.qlopt_option), kept))
        state["stop"] = args.stop
    progress.clear()
    details = "".join(", %d %s" % (n, k) for k, n in left_out.most_common())
    print("%d programs in %s, seeds %d to %d, %d runs, %d left out%s; %s" % (
        progress.done, clock(time.monotonic() - progress.start), first, first + max(0, progress.done - 1), runs,
        sum(left_out.values()), " (%s)" % details[2:] if details else "",
        "%d programs differ: %s" % (progress.failed, ", ".join("%d %s" % (n, k) for k, n in found.most_common()))
        if found else "nothing found"))
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
