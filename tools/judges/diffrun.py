#!/usr/bin/env python3
"""./ql diff: C programs through the stages, each configuration against the reference."""
import argparse, json, os, sys, tempfile

from progress import Progress, spread
import stages


def main():
    ap = argparse.ArgumentParser(prog="./ql diff", description="Compares C programs in every configuration.")
    ap.add_argument("--build", required=True, help=argparse.SUPPRESS)
    ap.add_argument("--matrix", default="quick", help="quick (default), levels, full, or a list such as o2,o2.s5.vec")
    ap.add_argument("--undefined", action="store_true", help="leave out programs whose behaviour is undefined")
    ap.add_argument("--json", metavar="FILE", help="write findings and executed counts there")
    ap.add_argument("--qlopt-option", action="append", default=[], metavar="OPTION", help="one more option for qlopt")
    ap.add_argument("--seconds", type=float, default=20, help="time limit of the reference run")
    ap.add_argument("--jobs", type=int, default=int(os.environ.get("QL_JOBS", os.cpu_count())))
    ap.add_argument("files", nargs="+", metavar="FILE.c")
    args = ap.parse_args()
    configs = stages.matrix(args.matrix)
    judge = stages.Judge(args.build, args.seconds, args.qlopt_option, args.undefined, counts=bool(args.json))
    progress = Progress(len(args.files))

    def one(path):
        with tempfile.TemporaryDirectory(prefix="qldiff") as place:
            return judge.one(path, place, configs)

    differ = discarded = runs = 0
    report = []
    for result in spread(one, args.files, args.jobs):
        progress.step(result.findings)
        differ += bool(result.findings)
        discarded += result.discarded is not None
        runs += result.runs
        if result.discarded:
            progress.say("%s: left out, %s" % (result.path, result.discarded))
        for line in stages.grouped(result.findings):
            progress.say("%s: %s" % (result.path, line))
        report.append({"file": result.path, "left out": result.discarded, "counts": result.counts,
                       "findings": [{"kind": f.kind, "config": f.config, "text": f.text} for f in result.findings]})
    progress.clear()
    if args.json:
        with open(args.json, "w") as f:
            json.dump({"configurations": configs, "programs": sorted(report, key=lambda r: r["file"])}, f, indent=1)
    print("%d programs, %d configurations, %d runs; %d left out, %d differ" %
          (len(args.files), len(configs), runs, discarded, differ))
    sys.exit(1 if differ else 0)


main()
