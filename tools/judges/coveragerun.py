#!/usr/bin/env python3
"""./ql coverage: which rewrite rules and transformations fire on the corpus or in the rewrite oracle, and which never do."""
import argparse, collections, glob, itertools, json, os, re, subprocess, sys, tempfile, time

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


def counts_of_tests(args, progress):
    """Counts of the programs of the rewrite oracle, but of the one for size, and of the unit tests that build trees;
    and how many failed. No counts when they are not built."""
    oracle = [p for p in glob.glob(os.path.join(args.build, "tests/oracle/oracle_*")) if not p.endswith("deep_trees")]
    units = []
    for path in glob.glob(os.path.join(args.root, "tests/unit/OPT5/*.cpp")):
        with open(path) as f:
            if "OPT5/program.h" in f.read():
                units.append(os.path.join(args.build, "test_" + os.path.basename(path)[:-4]))
    programs = sorted(p for p in oracle + units if os.path.isfile(p) and os.access(p, os.X_OK))
    counts, failed = (collections.Counter(), collections.Counter()), 0

    def one(program):
        with tempfile.NamedTemporaryFile(prefix="qlcover", suffix=".rules") as f:
            unit = program in units
            run = subprocess.run([program] + ([] if unit else ["--rule-stats=" + f.name]), stdout=subprocess.DEVNULL,
                                 stderr=subprocess.DEVNULL, env=dict(os.environ, QL_RULE_STATS=f.name) if unit else None)
            return program, unit, run.returncode, counts_of(f.read().decode(errors="replace"))

    for program, unit, status, found in spread(one, iter(programs), args.jobs):
        progress.step(status)
        if status:
            failed += 1
            progress.say("%s: status %d" % (program, status))
        counts[unit].update(found)
    return counts if programs else None, failed


def main():
    ap = argparse.ArgumentParser(prog="./ql coverage", description="Counts rewrites over a corpus.")
    ap.add_argument("--build", required=True, help=argparse.SUPPRESS)
    ap.add_argument("--root", required=True, help=argparse.SUPPRESS)
    ap.add_argument("--matrix", default=DEFAULT, help="configurations (%s)" % DEFAULT)
    ap.add_argument("--minutes", type=float, help="random programs for so long, instead of 200")
    ap.add_argument("--seed", type=int, default=1, help="the first seed of the random programs")
    ap.add_argument("--no-oracle", action="store_true", help="C programs only")
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
    programs, spent = progress.done, progress.start
    tests = None
    if not args.no_oracle:
        tests, broken = counts_of_tests(args, progress)
        failed += broken
    progress.clear()
    never = sorted(r for r, n in totals.items() if n == 0)
    oracle, units = tests or ({}, {})
    nowhere = [r for r in never if not oracle.get(r) and not units.get(r)]
    for title, some in (("never fired on programs, but in the oracle:", [r for r in never if oracle.get(r)]),
                        ("only in unit tests:", [r for r in never if not oracle.get(r) and units.get(r)]),
                        ("never fired anywhere:" if tests else "never fired on programs:", nowhere)):
        print(title)
        for rule in some:
            print("%12s  %s" % (oracle.get(rule) or units.get(rule) or "", rule))
    if args.all:
        print("fired on programs:")
        for rule, n in sorted(totals.items(), key=lambda r: r[1]):
            if n:
                print("%12d  %s" % (n, rule))
    if args.json:
        with open(args.json, "w") as f:
            json.dump({"configurations": configs, "programs": programs, "rules": dict(sorted(totals.items())),
                       "oracle": dict(sorted(oracle.items())), "unit tests": dict(sorted(units.items()))}, f, indent=1)
    print("%d programs in %d configurations, %s: %d of %d rules and transformations never fired on programs, %s; %d firings; %d programs failed" %
          (programs, len(configs), clock(time.monotonic() - spent), len(never), len(totals),
           "%d never fired anywhere" % len(nowhere) if tests else "the oracle was not run",
           sum(totals.values()), failed))
    sys.exit(1 if failed else 0)


main()
