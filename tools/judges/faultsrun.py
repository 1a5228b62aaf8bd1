#!/usr/bin/env python3
"""./ql faults: how good the judges are, shown on planted faults.

Each patch of tests/judges/faults breaks one thing in qlopt: a guard, an edge, a shift count. One after another they are
compiled from a copy of the source and linked with the rest of the build folder; what comes out is judged: by the C programs of the tests and 200 random programs,
each at two levels, by the rewrite oracle, and when no program shows the fault, by ./ql fuzz. The smallest program that
fails is bisected and reduced. A patch begins with two lines: "What:" is wrong, and "Where:" the bisection must end, a
pass's name or "simplifier".
"""
import argparse, json, os, pickle, re, shlex, shutil, subprocess, sys, tempfile, time

from progress import Progress, clock, spread
import generate, stages

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
LEVELS = ["o0", "o2"]
ORACLE = ["rows_arith", "rows_bits", "rows_cond", "rows_rare", "rows_vals", "shapes_cond", "value_queries", "whole_trees"]
RANDOM = 200
ENOUGH = 10  # programs that show a fault
SMALLEST = 4  # of them, as many are tried to be reduced
PASSES = ("simpcfg", "stackshare", "symexplode", "csu_temp", "tailcall")


class Workshop:
    """Programs of the build folder with broken objects linked in; C programs that are parsed once for all faults."""

    def __init__(self, args):
        self.args = args
        self.place = os.path.join(os.path.abspath(args.build), "faults")
        self.bin, self.objects = os.path.join(self.place, "bin"), []
        os.makedirs(self.bin, exist_ok=True)
        self.corpus = None

    def commands(self, target):
        p = subprocess.run(["ninja", "-C", self.args.build, "-t", "commands", target], stdout=subprocess.PIPE, text=True)
        return p.stdout.splitlines()

    def plant(self, patch):
        """Compiles what the patch changes, sources only, from a copy; the complaint when that fails."""
        copy = os.path.join(self.place, "sources")
        shutil.rmtree(copy, ignore_errors=True)
        with open(patch) as f:
            files = re.findall(r"^\+\+\+ b/(\S+\.cpp)$", f.read(), re.M)
        for name in files:
            os.makedirs(os.path.dirname(os.path.join(copy, name)), exist_ok=True)
            shutil.copyfile(os.path.join(ROOT, name), os.path.join(copy, name))
        # no repository above counts: the copy is no part of one
        env = dict(os.environ, GIT_CEILING_DIRECTORIES=self.place)
        p = subprocess.run(["git", "apply", "-C1", "--recount", patch], cwd=copy, env=env, stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT, text=True)
        if p.returncode or not files:
            return "the patch does not apply: " + (p.stdout.strip().splitlines() or ["it changes no source"])[0]
        self.objects = []
        compiles = self.commands("qlopt")
        for name in files:
            source, out = os.path.join(copy, name), os.path.join(copy, name + ".o")
            line = next((l for l in compiles if l.endswith("-c " + os.path.join(ROOT, name))), None)
            if not line:
                return "qlopt has no part " + name
            words = shlex.split(line.replace(os.path.join(ROOT, name), source))
            for option in ("-o", "-MF"):
                words[words.index(option) + 1] = out if option == "-o" else out + ".d"
            p = subprocess.run(words, cwd=self.args.build, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            if p.returncode:
                return "does not compile: " + p.stdout[-1500:]
            self.objects.append(out)
        return self.link("qlopt", "qlopt")

    def link(self, target, name):
        """Links a program of the build folder with the broken objects in front of the libraries."""
        line = self.commands(target)[-1].removeprefix(": && ").removesuffix(" && :")
        words = shlex.split(line)
        words[words.index("-o") + 1] = os.path.join(self.bin, name)
        at = next(i for i, w in enumerate(words) if w.endswith(".a"))
        p = subprocess.run(words[:at] + self.objects + words[at:], cwd=self.args.build, stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT, text=True)
        return "does not link: " + p.stdout[-1500:] if p.returncode else None

    def programs(self, judge):
        """(path, base) of the tests' programs and the random ones; made once, kept in the build folder."""
        if self.corpus is not None:
            return self.corpus
        folder = os.path.join(self.place, "programs")
        os.makedirs(folder, exist_ok=True)
        tests = os.path.join(ROOT, "tests", "c")
        sources = [(n, open(os.path.join(tests, n), errors="surrogateescape").read()) for n in sorted(os.listdir(tests)) if
                   n.endswith(".c")]
        sources += [("r%03d.c" % s, generate.program(s, "small")) for s in range(1, RANDOM + 1)]

        newest = max(os.path.getmtime(judge.tool("tools", *t)) for t in (("parse", "qlparse"), ("exec", "qlrun")))

        def one(item):
            name, text = item
            path = os.path.join(folder, name)
            kept = path[:-2] + ".base"
            stdin = os.path.join(tests, name[:-2] + ".in")
            if os.path.exists(stdin):
                shutil.copyfile(stdin, path[:-2] + ".in")
            if os.path.exists(kept) and os.path.getmtime(kept) > newest and open(path, errors="surrogateescape").read() == text:
                with open(kept, "rb") as f:
                    return path, pickle.load(f)
            with open(path, "w", errors="surrogateescape") as f:
                f.write(text)
            with tempfile.TemporaryDirectory(prefix="qlfaults") as place:
                result = stages.Result(path)
                base = judge.base(path, place, "little", None, "volatile" in text, result)
                if base:
                    base["file"] = shutil.copyfile(base["file"], path[:-2] + ".if")
            with open(kept, "wb") as f:
                pickle.dump(base, f)
            return path, base

        self.corpus = sorted((p, b) for p, b in spread(one, sources, self.args.jobs) if b)
        return self.corpus


def failing_programs(shop, judge):
    """(tests' programs, random programs) that fail, with their first finding; how many of each were run; the seconds to
    the first finding. Short runs come first, and with a good handful of findings it ends: most of what a gross fault
    does is to hang."""
    started, first, done, found = time.monotonic(), None, [0, 0], [[], []]

    def one(item):
        path, base = item
        with tempfile.TemporaryDirectory(prefix="qlfaults") as place:
            result = stages.Result(path)
            for level in LEVELS:
                if not result.findings and len(found[0]) + len(found[1]) < ENOUGH:
                    judge.optimized(path, place, level, base, result)
            return path, result.findings

    corpus = sorted(shop.programs(judge), key=lambda item: item[1]["outcome"].seconds)
    for path, findings in spread(one, (item for item in corpus if len(found[0]) + len(found[1]) < ENOUGH), shop.args.jobs):
        drawn = bool(re.fullmatch(r"r\d+\.c", os.path.basename(path)))
        done[drawn] += 1
        if findings:
            first = first or time.monotonic() - started
            found[drawn].append((path, findings[0]))
    return found, done, first


def oracle(shop):
    """What the oracle's programs find, as their names; "" when nothing."""
    found = []
    for name in ORACLE:
        more = ["--effort=0.25"] if name in ("whole_trees", "value_queries") else []
        if shop.link("tests/oracle/oracle_" + name, "oracle"):
            return name + " does not link"
        try:
            p = subprocess.run([os.path.join(shop.bin, "oracle")] + more, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               timeout=300)
            failed = p.returncode
        except subprocess.TimeoutExpired:
            failed = 1
        if failed:
            found.append(name)
    return " ".join(found)


def call(shop, tool, *arguments, timeout=900):
    env = dict(os.environ, QL_QLOPT=os.path.join(shop.bin, "qlopt"), QL_JOBS=str(shop.args.jobs))
    try:
        p = subprocess.run([sys.executable, os.path.join(HERE, tool), "--build", shop.args.build] + list(arguments), env=env,
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace", timeout=timeout)
        return p.stdout
    except subprocess.TimeoutExpired as e:
        return (e.stdout or b"").decode(errors="replace") + "\n(stopped after its time)\n"


def hunt(shop, name):
    """A program that ./ql fuzz finds, its configuration, the seconds; None when it finds none."""
    folder = os.path.join(shop.place, "fuzz-" + name)
    shutil.rmtree(folder, ignore_errors=True)
    started = time.monotonic()
    text = call(shop, "fuzzrun.py", "--minutes", str(shop.args.fuzz_minutes), "--seed", "900000", "--stop", "--keep", folder,
                "--jobs", str(shop.args.jobs), timeout=60 * shop.args.fuzz_minutes + 120)
    m = re.search(r"repeat: ./ql diff (?:--matrix=(\S+) )?(\S+)", text)
    return (m.group(2), m.group(1) or "o0", time.monotonic() - started) if m else None


def bisected(text, where):
    """(what the bisection names, whether that is the right place)."""
    rewrite = re.search(r'^rewrite: number \d+, "(.*?)"', text, re.M)
    run = re.search(r"^pass: run \d+, pass \d+ '(.*?)'", text, re.M)
    names = (rewrite.group(1) if rewrite else "") + (" in '%s'" % run.group(1) if run else "")
    of_pass = rewrite and rewrite.group(1).startswith(PASSES)
    if where == "simplifier":
        return names or "nothing", bool(rewrite) and not of_pass
    return names or "nothing", where in names


def reduced(shop, row, path, config, where, name):
    """Bisects and reduces a program that fails; whether it came out smaller."""
    small = os.path.join(shop.place, name + ".c")
    if os.path.exists(small):
        os.unlink(small)
    started = time.monotonic()
    log = call(shop, "reducerun.py", path, "--matrix", config, "--minutes", str(shop.args.reduce_minutes),
               "--lines", "20", "-o", small, timeout=60 * shop.args.reduce_minutes + 300)
    spent = time.monotonic() - started
    text = call(shop, "bisectrun.py", path, "--matrix", config, timeout=300)
    with open(small[:-2] + ".log", "w") as f:
        f.write(text + log)
    row["program"] = path
    row["bisected to"], row["right"] = bisected(text, where)
    if not os.path.exists(small):
        return False
    row["reduction seconds"] = round(spent, 1)
    with open(small) as f:
        row["lines"] = sum(1 for l in f if l.strip())
    return True


def judge_fault(shop, name, patch):
    with open(patch) as f:
        text = f.read()
    what, where = (re.search("^%s: (.*)" % k, text, re.M).group(1) for k in ("What", "Where"))
    row = {"fault": name, "what": what, "caught by": [], "seconds": None, "bisected to": "", "right": False, "lines": None,
           "reduction seconds": None}
    broken = shop.plant(patch)
    if broken:
        row["error"] = broken
        return row
    os.environ["QL_QLOPT"] = os.path.join(shop.bin, "qlopt")
    judge = stages.Judge(shop.args.build, 5)
    judge.patience, judge.grace = 20, 2
    started = time.monotonic()
    (tests, drawn), done, first = failing_programs(shop, judge)
    spent = time.monotonic() - started
    for found, count, kind in ((tests, done[0], "C"), (drawn, done[1], "random")):
        if found:
            row["caught by"].append("%d of %d %s programs" % (len(found), count, kind))
    row["seconds"] = round(first, 1) if first else None
    if shop.args.oracle and where == "simplifier":
        started = time.monotonic()
        found = oracle(shop)
        if found:
            row["caught by"].append("oracle " + found)
            row["seconds"] = row["seconds"] or round(spent + time.monotonic() - started, 1)
    candidates = sorted((os.path.getsize(p), p, f.config) for p, f in tests + drawn)
    if not any(reduced(shop, row, p, config, where, name) for _, p, config in candidates[:SMALLEST]):
        # none, or none whose behaviour the compilers agree to be defined
        got = hunt(shop, name)
        if got:
            row["caught by"].append("fuzz")
            row["seconds"] = row["seconds"] or round(spent + got[2], 1)
            reduced(shop, row, got[0], got[1], where, name)
    return row


def show(row):
    if "error" in row:
        return "%-28s %s" % (row["fault"], row["error"])
    return "%-28s %-52s %6s s  %-4s %-60s %4s lines, %s s" % (
        row["fault"], ", ".join(row["caught by"]) or "NOT CAUGHT", row["seconds"], "yes" if row["right"] else "NO",
        row["bisected to"][:60], row["lines"], row["reduction seconds"])


def main():
    ap = argparse.ArgumentParser(prog="./ql faults", description="Plants faults and tells which judge catches them.")
    ap.add_argument("--build", required=True, help=argparse.SUPPRESS)
    ap.add_argument("--fuzz-minutes", type=float, default=5, help="for a fault that the fast tests miss (5)")
    ap.add_argument("--reduce-minutes", type=float, default=5, help="for each reduction (5)")
    ap.add_argument("--no-oracle", dest="oracle", action="store_false", help="leave the rewrite oracle out")
    ap.add_argument("--patches", default=os.path.join(ROOT, "tests", "judges", "faults"), metavar="FOLDER")
    ap.add_argument("--jobs", type=int, default=int(os.environ.get("QL_JOBS", os.cpu_count())))
    ap.add_argument("names", nargs="*", metavar="FAULT", help="patches by name; all otherwise")
    args = ap.parse_args()
    args.build = os.path.abspath(args.build)
    names = args.names or sorted(n[:-6] for n in os.listdir(args.patches) if n.endswith(".patch"))
    shop = Workshop(args)
    shop.programs(stages.Judge(args.build, 5))
    progress = Progress(len(names))
    rows = []
    for name in names:
        row = judge_fault(shop, name, os.path.abspath(os.path.join(args.patches, name + ".patch")))
        rows.append(row)
        good = "error" not in row and row["caught by"]
        progress.step(not good)
        progress.say(show(row))
    progress.clear()
    with open(os.path.join(shop.place, "faults.json"), "w") as f:
        json.dump(rows, f, indent=1)
    caught = sum(bool(r["caught by"]) for r in rows)
    right = sum(r["right"] for r in rows)
    short = sum(r["lines"] is not None and r["lines"] < 25 for r in rows)
    print("%d faults in %s: %d caught, %d bisected to the right place, %d reduced to less than 25 lines" %
          (len(rows), clock(time.monotonic() - progress.start), caught, right, short))
    sys.exit(0 if caught == len(rows) else 1)


if __name__ == "__main__":
    main()
