#!/usr/bin/env python3
"""./ql reduce: makes a failing program small.

A C program is cut by lines first, which is quick, then creduce goes over it. An intermediate file is cut in its text form.
A candidate counts when it shows the same failure, and besides is a good program: for C, no undefined behaviour, nothing
read before it is written; for an intermediate file, a run of the file itself without a fault. With --script the script
alone decides: it gets the file's name, and a status of 0 keeps the candidate.
"""
import argparse, os, re, shutil, stat, subprocess, sys, tempfile, time

import shrink, stages

# Mistakes that a smaller program must not be made of.
MISTAKES = ["-Wall", "-Werror=uninitialized", "-Werror=maybe-uninitialized", "-Werror=return-type", "-Werror=array-bounds",
            "-Werror=implicit-function-declaration", "-Werror=implicit-int", "-Werror=int-conversion",
            "-Werror=incompatible-pointer-types", "-Werror=format", "-Werror=stringop-overflow", "-Werror=overflow",
            "-Werror=strict-aliasing", "-Werror=sequence-point"]


def shape(text):
    """A message without what changes while a program shrinks."""
    return re.sub(r"\d+|'[^']*'|\"[^\"]*\"|\b[a-z]\w*\.(c|if|cpp)\b", "*", text)


class Failure:
    """What a program must show to be interesting: a kind of finding in a configuration; with the message for qlopt."""

    def __init__(self, judge, config, kind, message, mistakes=MISTAKES):
        self.judge, self.config, self.kind, self.message = judge, config, kind, message
        self.mistakes, self.initialised = list(mistakes), True

    def excuse(self, path, place):
        """What the program does wrong from the start, as a compiler sees it, does not count against smaller ones."""
        base = [c for c in stages.CROSS if c != "-w"] + stages.INCLUDES + stages.header(path, "options")
        refused = lambda flags: stages.run(base + flags + ["-O2", "-S", path, "-o", os.path.join(place, "excuse.s")]).status
        if refused(self.mistakes):
            self.mistakes = [m for m in self.mistakes if not refused(["-Wall", m])]
        file = os.path.join(place, "excuse.if")
        if not self.judge.parse(path, file).status:
            run = lambda more: stages.run([self.judge.tool("tools", "exec", "qlrun")] + more + [file, "--"] +
                                          stages.header(path, "args"), self.judge.stdin(path), 60)
            plain, checked = run([]), run(["--check-init"])
            self.initialised = (plain.status, plain.out) == (checked.status, checked.out)

    def is_it(self, finding):
        return finding.kind == self.kind and (not self.message or self.kind not in ("qlopt", "parse") or
                                              shape(finding.text) == self.message)

    def shown_by_c(self, path, place):
        judge = self.judge
        if self.kind in ("parse", "parsed"):
            result = judge.one(path, place, [])
            return any(self.is_it(f) for f in result.findings) and self.is_good(path, place, None)
        endian = "big" if "big" in self.config.split(".") else "little"
        file = os.path.join(place, "candidate.if")
        if judge.parse(path, file, endian).status:
            return False
        got = judge.execute(file, path, judge.patience, "volatile" in self.kind)
        if got.timed_out() or got.status >= 120:
            return False
        return self.shown_after({"file": file, "outcome": got, "order": order(self, got), "native": got}, path, place) and \
            self.is_good(path, place, None if endian == "big" else got)

    def shown_after(self, base, path, place):
        result = stages.Result(path)
        self.judge.optimized(path, place, self.config, base, result)
        return any(self.is_it(f) for f in result.findings)

    def is_good(self, path, place, expected):
        """No undefined behaviour that a compiler or the interpreter can see."""
        judge, out = self.judge, os.path.join(place, "good")
        base = [c for c in stages.CROSS if c != "-w"] + stages.INCLUDES + stages.header(path, "options")
        outcomes = []
        for flags in (self.mistakes + ["-O2"], ["-w", "-O0"] + stages.UNDEFINED):
            if stages.run(base + flags + [path, "-o", out, "-lm"]).status:
                return False
            ran = judge.qemu(out, path, judge.seconds)
            outcomes.append((ran.status, ran.out))
        if expected and self.initialised:
            init = stages.run([judge.tool("tools", "exec", "qlrun"), "--check-init", os.path.join(place, "candidate.if"),
                               "--"] + stages.header(path, "args"), judge.stdin(path), judge.patience)
            outcomes.append((init.status, init.out))
        if expected:
            outcomes.append((expected.status, expected.out))
        return len(set(outcomes)) == 1 and -999 != outcomes[0][0] < 128

    def shown_by_file(self, path, place):
        base = self.judge.base_of_file(path, place)
        if not base:
            return False
        base["order"] = order(self, base["outcome"])
        return self.shown_after(base, path, place)


def order(failure, outcome):
    return stages.volatile_order(outcome.err) if failure.kind == "volatile" else None


def asks_script(script):
    return lambda path, place: subprocess.run([script, path], cwd=place, stdout=subprocess.DEVNULL,
                                              stderr=subprocess.DEVNULL).returncode == 0


def find_failure(judge, path, configs, place):
    """The first failure of a program in one of the configurations."""
    for config in configs:
        if path.endswith(".c"):
            findings = judge.one(path, place, [config]).findings
        else:
            base = judge.base_of_file(path, place)
            if not base:
                raise SystemExit("%s: the file itself does not run" % path)
            result = stages.Result(path)
            judge.optimized(path, place, config, base, result)
            findings = result.findings
        if findings:
            return Failure(judge, config, findings[0].kind, shape(findings[0].text)), findings[0]
    return None, None


def creduce(path, args, judge, failure, place, seconds, say):
    """creduce over PATH, in place; a script in PLACE asks this program again."""
    if not shutil.which("creduce"):
        say("creduce is not there: lines only")
        return
    test = os.path.join(place, "interesting.sh")
    if args.script:
        ask = "exec %s %s" % (os.path.abspath(args.script), os.path.basename(path))
    else:
        words = [sys.executable, os.path.abspath(__file__), "--build", os.path.abspath(args.build), "--check", failure.kind,
                 "--message", failure.message, "--matrix", failure.config or "o0", "--wait", str(judge.seconds),
                  "--mistakes=" + " ".join(failure.mistakes)] + ([] if failure.initialised else ["--uninitialised"])
        words += ["--qlopt-option=" + o for o in args.qlopt_option] + [os.path.basename(path)]
        ask = "exec " + " ".join("'%s'" % w.replace("'", "'\\''") for w in words)
    with open(test, "w") as f:
        f.write("#!/bin/sh\n%s\n" % ask)
    os.chmod(test, os.stat(test).st_mode | stat.S_IXUSR)
    p = subprocess.Popen(["creduce", "--n", str(args.jobs), "--timeout", "60", test, os.path.basename(path)], cwd=place,
                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
    try:
        p.wait(seconds)
    except subprocess.TimeoutExpired:
        os.killpg(p.pid, 15)
        p.wait()
        say("creduce stopped after its time")


def reduce(args, judge, interesting, failure, place):
    say = lambda text: print("  " + text, flush=True)
    is_c = args.file.endswith(".c")
    with open(args.file if is_c else textual(judge, args.file, place), errors="surrogateescape") as f:
        text = f.read()
    name = "r.c" if is_c else "r.ift"
    work = os.path.join(place, "work")
    os.makedirs(work)

    def holds(candidate):
        path = os.path.join(work, name)
        with open(path, "w", errors="surrogateescape") as f:
            f.write(candidate)
        return interesting(path, work)

    if is_c and failure:
        failure.excuse(args.file, work)
    started = time.monotonic()
    if not holds(text):
        raise SystemExit("%s: is not interesting" % args.file)
    # what became endless by cutting is not worth waiting for
    judge.seconds = judge.patience = judge.grace = round(max(0.3, min(2.0, 2 * (time.monotonic() - started))), 1)
    shrinker = shrink.Shrinker(text, holds, say, 60 * args.minutes)
    (shrink.shrink_c if is_c else shrink.shrink_text_form)(shrinker)
    text = shrinker.text
    say("%d candidates" % shrinker.asked)
    if is_c and not args.no_creduce and not shrinker.late():
        folder = os.path.join(place, "creduce")
        os.makedirs(folder)
        path = os.path.join(folder, name)
        with open(path, "w") as f:
            f.write(text)
        creduce(path, args, judge, failure, folder, max(1, shrinker.end - time.monotonic()), say)
        with open(path, errors="surrogateescape") as f:
            text = f.read()
    return text


def textual(judge, path, place):
    """The name of the text form of an intermediate file."""
    if path.endswith(".ift"):
        return path
    out = os.path.join(place, "given.ift")
    made = stages.run([judge.tool("tools", "text", "qldump"), path, "-o", out])
    if made.status:
        raise SystemExit(made.says())
    return out


def main():
    ap = argparse.ArgumentParser(prog="./ql reduce", description="Makes a failing program small.")
    ap.add_argument("--build", required=True, help=argparse.SUPPRESS)
    ap.add_argument("--matrix", default="quick", help="the configuration; of several, the first that fails is taken")
    ap.add_argument("--script", help="decides instead: gets the file's name, status 0 keeps the candidate")
    ap.add_argument("-o", dest="out", metavar="FILE", help="the result (default: NAME.small.c or NAME.small.ift)")
    ap.add_argument("--minutes", type=float, default=10, help="at most that long")
    ap.add_argument("--no-creduce", action="store_true", help="C by lines only")
    ap.add_argument("--qlopt-option", action="append", default=[], metavar="OPTION", help="one more option for qlopt")
    ap.add_argument("--jobs", type=int, default=int(os.environ.get("QL_JOBS", os.cpu_count())))
    ap.add_argument("--check", help=argparse.SUPPRESS)
    ap.add_argument("--mistakes", default="", help=argparse.SUPPRESS)
    ap.add_argument("--uninitialised", action="store_true", help=argparse.SUPPRESS)
    ap.add_argument("--wait", type=float, default=10, help=argparse.SUPPRESS)
    ap.add_argument("--message", default="", help=argparse.SUPPRESS)
    ap.add_argument("file", metavar="FILE", help="a C program, or an intermediate file (.if, .ift)")
    args = ap.parse_args()
    args.file = os.path.abspath(args.file)
    judge = stages.Judge(args.build, args.wait, args.qlopt_option, undefined=True)
    with tempfile.TemporaryDirectory(prefix="qlreduce") as place:
        if args.check:
            judge.patience = judge.grace = args.wait
            failure = Failure(judge, args.matrix, args.check, args.message, args.mistakes.split())
            failure.initialised = not args.uninitialised
            sys.exit(0 if failure.shown_by_c(args.file, place) else 1)
        failure = None
        if args.script:
            interesting = asks_script(os.path.abspath(args.script))
        else:
            failure, finding = find_failure(judge, args.file, stages.matrix(args.matrix), place)
            if not failure:
                print("%s: does not fail in %s" % (args.file, args.matrix))
                sys.exit(2)
            print("%s: %s" % (args.file, finding), flush=True)
            interesting = failure.shown_by_c if args.file.endswith(".c") else failure.shown_by_file
        text = reduce(args, judge, interesting, failure, place)
    out = args.out or re.sub(r"\.(c|if|ift)$", lambda m: ".small." + ("c" if m.group(1) == "c" else "ift"), args.file)
    with open(out, "w", errors="surrogateescape") as f:
        f.write(text)
    print("%s: %d lines" % (out, text.count("\n")))


if __name__ == "__main__":
    main()
