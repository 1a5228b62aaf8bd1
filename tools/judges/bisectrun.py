#!/usr/bin/env python3
"""./ql bisect: the pass run, and the single rewrite, that make a failure.

Passes and rewrites are counted by qlopt, and it stops at a given number (debug:limit_passes, debug:limit_rules). So the
first number with which the failure is there is found by halving: first over the runs of passes on functions, then, with
the later ones left out, over the rewrites. What the last rewrite changed is shown from the debug files of the runs with
and without it.
"""
import argparse, difflib, os, re, sys, tempfile

import stages


class Case:
    """One failing program in one configuration. A .if or .ift file is its own reference."""

    def __init__(self, judge, path, place, config):
        self.judge, self.path, self.place, self.config = judge, path, place, config
        self.asked = 0
        self.kind = None
        base = stages.Result(path)
        if path.endswith(".c"):
            reference, reason = judge.reference(path, place)
            if not reference:
                raise SystemExit("%s: %s" % (path, reason))
            with open(path, errors="replace") as f:
                trace = "volatile" in f.read()
            endian = "big" if "big" in config.split(".") else "little"
            self.base = judge.base(path, place, endian, reference, trace, base)
        else:
            self.base = judge.base_of_file(path, place)
        if not self.base:
            raise SystemExit("%s: fails before qlopt: %s" % (path, base.findings[0] if base.findings else base.discarded))

    def fails(self, *switches):
        """The finding with these switches of qlopt, when it is one of the kind that is hunted; else None."""
        result = stages.Result(self.path)
        saved = self.judge.extra
        self.judge.extra = saved + ["--debug:" + s for s in switches]
        self.judge.optimized(self.path, self.place, self.config, self.base, result)
        self.judge.extra = saved
        self.asked += 1
        for finding in result.findings:
            if self.kind in (None, finding.kind):
                return finding
        return None

    def debug_text(self, name, *switches):
        """What the debug file and the messages of a run say."""
        folder = os.path.join(self.place, name)
        os.makedirs(folder, exist_ok=True)
        source = os.path.join(folder, "in.if")
        with open(self.base["file"], "rb") as f, open(source, "wb") as g:
            g.write(f.read())
        more = ["--print_debug"] + ["--debug:" + s for s in switches]
        command = [self.judge.qlopt] + stages.options(self.config) + self.judge.extra + more
        got = stages.run(command + [source, os.path.join(folder, "out.if")], timeout=300, cwd=folder)
        debug = os.path.join(folder, "in.odb")
        text = ""
        if os.path.exists(debug):
            with open(debug, errors="replace") as f:
                text = f.read()
        return text, got.err.decode(errors="replace")


def first_failing(fails, upper=None):
    """The least N >= 1, found by halving, with which it fails and not with N - 1; 0 when it fails with none (-1 is asked
    for that); None when no number up to a million makes it fail."""
    if fails(-1):
        return 0
    low, high = 0, 1
    while not fails(high):
        low, high = high, high * 4
        if high > (upper or 1 << 40) * 4:
            return None
    while high - low > 1:
        middle = (low + high) // 2
        if fails(middle):
            high = middle
        else:
            low = middle
    return high


def place_of_rule(text, number):
    """(name of the rule, function, step) from a debug file."""
    function = step = ""
    for line in text.splitlines():
        m = re.match(r"=+ FUNCTION (.*)\(\) =+", line)
        if m:
            function, step = m.group(1), "while reading" if "ENTERING step" not in text[:text.find(line)] else ""
        m = re.search(r"-+ (ENTERING|EXITING) step (\d+ '.*?') -+", line)
        if m:
            step = "in step " + m.group(2) if m.group(1) == "ENTERING" else "behind step " + m.group(2)
        m = re.match(r"rule (\d+): (.*)", line)
        if m and int(m.group(1)) == number:
            return m.group(2), function, step
    return None, function, step


def changes(before, after, most=30):
    """The lines that differ first between two debug files, less what always differs."""
    def lines(text):
        return [l for l in text.splitlines() if not re.match(r"rule \d+:|\(\d+\.\d sec|Option set|\s+--|Debug ", l)]

    a, b = lines(before), lines(after)
    start = 0
    while start < min(len(a), len(b)) and a[start] == b[start]:
        start += 1
    a, b = a[max(0, start - 1):start + 400], b[max(0, start - 1):start + 400]
    hunks, seen, shown = [], set(), []
    for line in difflib.unified_diff(a, b, n=1, lineterm=""):
        if line.startswith(("---", "+++")):
            continue
        if line.startswith("@@"):
            hunks.append([])
        else:
            hunks[-1].append(line)
    # the same change shows in every dump from there on
    for hunk in hunks:
        text = "\n".join(l for l in hunk if l[0] != " ")
        if text not in seen:
            seen.add(text)
            shown += hunk
    return shown[:most]


def bisect(case, say):
    """Says what is to blame; returns (pass run or None, rule number or None)."""
    run = first_failing(lambda n: case.fails("limit_passes=%d" % n), 1 << 24)
    within = []
    if run is None:
        say("no number of pass runs makes it fail: it may depend on what the limit itself changes")
    elif run == 0:
        say("pass: none; it fails with all passes left out but those that others count on (reading, output)")
        within = ["limit_passes=-1"]
    else:
        _, err = case.debug_text("passes", "limit_passes=%d" % run, "trace_passes")
        found = re.findall(r"pass run %d: (\d+) '(.*)' (.*)" % run, err)
        number, name, function = found[0] if found else ("?", "?", "?")
        say("pass: run %d, pass %s '%s' of function '%s'" % (run, number, name, function))
        within = ["limit_passes=%d" % run]
        if number.isdigit() and int(number) > 0:
            healed = not case.fails("skip_pass=%s" % number)
            say("      without pass %s in all functions %s" % (number, "it does not fail" if healed else "it still fails"))
    rule = first_failing(lambda n: case.fails("limit_rules=%d" % n, *within), 1 << 26)
    if not rule:
        say("rewrite: none of those that are counted%s" % (
            "; the pass does it without asking" if rule == 0 and run else "" if rule == 0 else " can be told apart"))
        if run:
            before, _ = case.debug_text("before", "limit_passes=%d" % (run - 1 if run > 1 else -1))
            after, _ = case.debug_text("after", "limit_passes=%d" % run)
            for line in changes(before, after):
                say("    " + line)
        return run, None
    before, _ = case.debug_text("before", "limit_rules=%d" % (rule - 1 if rule > 1 else -1), "trace_rules", *within)
    after, _ = case.debug_text("after", "limit_rules=%d" % rule, "trace_rules", *within)
    name, function, step = place_of_rule(after, rule)
    say("rewrite: number %d, \"%s\", function '%s', %s" % (rule, name, function, step or "outside of a step"))
    say("before (-) and after (+):")
    for line in changes(before, after):
        say("    " + line)
    say("repeat: --qlopt-option=--debug:%s" % ",".join(["limit_rules=%d" % rule] + within))
    return run, rule


def main():
    ap = argparse.ArgumentParser(prog="./ql bisect", description="Finds the pass and the rewrite that break a program.")
    ap.add_argument("--build", required=True, help=argparse.SUPPRESS)
    ap.add_argument("--matrix", default="quick", help="the configuration; of several, the first that fails is taken")
    ap.add_argument("--qlopt-option", action="append", default=[], metavar="OPTION", help="one more option for qlopt")
    ap.add_argument("file", metavar="FILE", help="a C program, or an intermediate file (.if, .ift), which must run")
    args = ap.parse_args()
    judge = stages.Judge(args.build, 20, args.qlopt_option)
    with tempfile.TemporaryDirectory(prefix="qlbisect") as place:
        for config in stages.matrix(args.matrix):
            case = Case(judge, os.path.abspath(args.file), place, config)
            finding = case.fails()
            if finding:
                break
        else:
            print("%s: does not fail in %s" % (args.file, args.matrix))
            sys.exit(2)
        case.kind = finding.kind
        print("%s: %s" % (args.file, finding), flush=True)
        run, rule = bisect(case, lambda text: print(text, flush=True))
        print("%s in %d runs of qlopt" % ("found" if run is not None or rule else "not found", case.asked))
        sys.exit(0 if run is not None or rule else 1)


if __name__ == "__main__":
    main()
