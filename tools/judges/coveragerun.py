#!/usr/bin/env python3
"""./ql coverage: which rewrite rules and transformations fire on the corpus, and which never do."""
import argparse, collections, itertools, json, os, re, sys, tempfile, time

from progress import Progress, clock, spread
import fuzzrun, stages

DEFAULT = "o2,o2.s0,o2.s5.vec,o4.wp"


def counts_of(text):
    """The table that qlopt prints with enable:rule_stats."""
    found = {}
    at = text.find("== RULES (")
    for line in text[at:].splitlines()[1:] if at >= 0 else []:
        m = re.match(r" *(\d+)  (.*)", line)
        if not m:
            break
        found[m.group(2)] = found.get(m.group(2), 0) + int(m.group(1))
    return found


def main():
    ap = argparse.ArgumentParser(prog="./ql coverage", description="Counts rewrites over a corpus.")
    ap.add_argument("--build", required=True, help=argparse.SUPPRESS)
    ap.add_argument("--root", required=True, help=argparse.SUPPRESS)
    ap.add_argument("--matrix", default=DEFAULT, help="configurations (%s)" % DEFAULT)
    ap.add_argument("--minutes", type=float, help="random programs for so long, instead of 200")
    ap.add_argument("--seed", type=int, default=1, help="the first seed of the random programs")
    ap.add_argument("--all", action="store_true", help="print the rules that fire, too")
    ap.add_argument("--json", metavar="FILE", help="write all counts there")
    ap.add_argument("--jobs", type=int, default=int(os.environ.get("QL_JOBS", os.cpu_count())))
    ap.add_argument("files", nargs="*", metavar="FILE.c", help="more programs")
    args = ap.parse_args()
    judge = stages.Judge(args.build, 20)
    configs = stages.matrix(args.matrix)
    corpus = list(args.files)
    for folder in ("tests/c", "tests/gen", "bench/kernels", "examples"):
        here = os.path.join(args.root, folder)
        corpus += sorted(os.path.join(here, n) for n in os.listdir(here) if n.endswith(".c"))
    end = time.monotonic() + 60 * (args.minutes or 0)
    progress = Progress()
    totals, failed = collections.Counter(), 0

    def work():
        yield from corpus
        for seed in itertools.count(args.seed):
            if (time.monotonic() > end) if args.minutes else seed >= args.seed + 200:
                return
            yield seed

    def one(item):
        with tempfile.TemporaryDirectory(prefix="qlcover") as place:
            path = item
            if isinstance(item, int):
                path = os.path.join(place, "s.c")
                if fuzzrun.make("own", item, path):
                    return item, {}, 0
            parsed = os.path.join(place, "p.if")
            if judge.parse(path, parsed).status:
                return item, {}, 1
            counts, bad = collections.Counter(), 0
            for config in configs:
                made = judge.optimize(parsed, os.path.join(place, "o.if"), config, ["--enable:rule_stats"])
                bad += made.status != 0
                counts.update(counts_of(made.err.decode(errors="replace")))
            return item, counts, bad

    for item, counts, bad in spread(one, work(), args.jobs):
        progress.step(bad)
        failed += bool(bad)
        if bad:
            progress.say("%s: %d runs fail" % (item if isinstance(item, str) else "seed %d" % item, bad))
        for rule, n in counts.items():
            totals[rule] += n
    progress.clear()
    never = sorted(r for r, n in totals.items() if n == 0)
    for rule in never:
        print("%12s  %s" % ("never", rule))
    if args.all:
        for rule, n in sorted(totals.items(), key=lambda r: r[1]):
            if n:
                print("%12d  %s" % (n, rule))
    if args.json:
        with open(args.json, "w") as f:
            json.dump({"configurations": configs, "programs": progress.done, "rules": dict(sorted(totals.items()))}, f, indent=1)
    print("%d programs in %d configurations, %s: %d of %d rules and transformations never fired, %d firings; %d programs failed" %
          (progress.done, len(configs), clock(time.monotonic() - progress.start), len(never), len(totals),
           sum(totals.values()), failed))
    sys.exit(1 if failed else 0)


main()
