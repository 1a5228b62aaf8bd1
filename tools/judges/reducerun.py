#!/usr/bin/env python3
"""./ql reduce: makes a failing program small.

C is freed of its headers and cut as a tree of tokens (shrinkc); what is still long then goes to cvise. An intermediate
file is cut in its text form (shrink). A candidate counts when it shows the same failure, and besides is a good program:
for an intermediate file, a run of the file itself without a fault; for C, the host's compiler with its sanitizer agrees
with the interpreter, and nothing is read before it is written. The question that most candidates fail comes first: does
qlopt still break it. The result is checked once more as ./ql fuzz checks programs; when it does not hold there, all is
done again with that check for every candidate. With --script the script alone decides: it gets the file's name, and a
status of 0 keeps the candidate.
"""
import argparse, os, re, shutil, stat, subprocess, sys, tempfile, time

import shrink, shrinkc, stages

# Mistakes that a smaller program must not be made of.
MISTAKES = ["-Wall", "-Werror=uninitialized", "-Werror=return-type", "-Werror=implicit-function-declaration",
            "-Werror=implicit-int", "-Werror=int-conversion", "-Werror=incompatible-pointer-types", "-Werror=format",
            "-Werror=overflow", "-Werror=strict-aliasing", "-Werror=sequence-point", "-Werror=div-by-zero",
            "-Werror=shift-count-overflow", "-Werror=shift-count-negative"]
SHORT = 25  # lines: with no more of them, cvise is not asked


def shape(text):
    """A message without what changes while a program shrinks."""
    return re.sub(r"\d+|'[^']*'|\"[^\"]*\"|\b[a-z]\w*\.(c|if|cpp)\b", "*", text)


class Failure:
    """What a program must show to be interesting: a kind of finding in a configuration; with the message for qlopt."""

    def __init__(self, judge, config, kind, message):
        self.judge, self.config, self.kind, self.message = judge, config, kind, message
        self.mistakes, self.initialised, self.thorough = list(MISTAKES), True, False
        self.compiler, self.emulator = ["gcc", "-std=gnu11", "-funsigned-char"], None

    def build(self, path, out, flags):
        return stages.run(self.compiler + stages.INCLUDES + stages.header(path, "options") + flags + [path, "-o", out, "-lm"],
                          timeout=30)

    def native(self, program, path):
        judge = self.judge
        if self.emulator:
            return judge.qemu(program, path, 4 * judge.seconds)
        return stages.run([program] + stages.header(path, "args"), judge.stdin(path), judge.seconds, env={})

    def excuse(self, path, place):
        """What the program does wrong from the start does not count against smaller ones. One that runs differently on
        the host is judged by the cross compiler."""
        out, file = os.path.join(place, "excuse"), os.path.join(place, "excuse.if")
        if not self.judge.parse(path, file).status:
            plain = self.judge.execute(file, path, 60, check=False)
            checked = self.interpreted(path, file, 60)
            self.initialised = (plain.status, plain.out) == (checked.status, checked.out)
            if not self.build(path, out, ["-w"] + stages.UNDEFINED).status:
                ran = self.native(out, path)
                if (ran.status, ran.out) != (plain.status, plain.out):
                    self.compiler, self.emulator = [c for c in stages.CROSS if c != "-w"], "qemu-arm"
        if self.build(path, out, self.mistakes).status:
            self.mistakes = [m for m in self.mistakes if not self.build(path, out, ["-Wall", m]).status]

    def interpreted(self, path, file, timeout):
        return stages.run([self.judge.tool("tools", "exec", "qlrun"), "--check-init", file, "--"] +
                          stages.header(path, "args"), self.judge.stdin(path), timeout)

    def is_it(self, finding):
        return finding.kind == self.kind and (not self.message or self.kind not in ("qlopt", "parse") or
                                              shape(finding.text) == self.message)

    def shown_by_c(self, path, place):
        judge = self.judge
        if self.thorough or self.kind in ("parse", "parsed"):
            result = judge.one(path, place, [self.config] if self.config else [])
            if not any(self.is_it(f) for f in result.findings):
                return False
        if self.kind in ("parse", "parsed"):
            return True
        endian = "big" if "big" in self.config.split(".") else "little"
        file = os.path.join(place, "candidate.if")
        if judge.parse(path, file, endian).status:
            return False
        got = judge.execute(file, path, judge.patience, self.kind == "volatile", check=False)
        if got.timed_out() or got.status >= 120:
            return False
        return self.shown_after({"file": file, "outcome": got, "order": order(self, got), "native": got}, path, place) and \
            self.is_good(path, place, file, got, endian)

    def shown_after(self, base, path, place):
        result = stages.Result(path)
        self.judge.optimized(path, place, self.config, base, result)
        return any(self.is_it(f) for f in result.findings)

    def is_good(self, path, place, file, expected, endian):
        """No undefined behaviour that the host's compiler or the interpreter can see. (Big-endian programs may print
        something else than the host.)"""
        outcomes = {(expected.status, expected.out)}
        if self.initialised:
            checked = self.interpreted(path, file, 4 * self.judge.patience)
            outcomes.add((checked.status, checked.out))
        if len(outcomes) > 1:
            return False
        out = os.path.join(place, "good")
        if self.build(path, out, self.mistakes + ["-O1"] + stages.UNDEFINED).status:
            return False
        ran = self.native(out, path)
        if endian == "big":
            return not ran.timed_out() and ran.status < 128
        return (ran.status, ran.out) in outcomes

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
    """The first failure of a program in one of the configurations and what is found; (None, why not) when there is none."""
    base, why = None, "does not fail in " + ",".join(configs)
    for config in configs:
        if path.endswith(".c"):
            result = judge.one(path, place, [config])
            findings, why = result.findings, result.discarded or why
        else:
            base = base or judge.base_of_file(path, place)
            if not base:
                raise SystemExit("%s: the file itself does not run" % path)
            result = stages.Result(path)
            judge.optimized(path, place, config, base, result)
            findings = result.findings
        if findings:
            return Failure(judge, config, findings[0].kind, shape(findings[0].text)), findings[0]
    return None, why


def simplest(judge, path, failure, place):
    """The same kind of failure in a simpler configuration, where it shows there."""
    parts = failure.config.split(".")
    if failure.kind not in ("qlopt", "differs", "volatile", "hang") or len(parts) > 1 and "big" in parts:
        return failure
    for config in ["o0", "o1", "o2", parts[0]]:
        if config == failure.config:
            break
        simple, _ = find_failure(judge, path, [config], place)
        if simple and (simple.kind, simple.message) == (failure.kind, failure.message) or \
           simple and simple.kind == failure.kind == "differs":
            return simple
    return failure


def without_headers(path):
    """The program's text after the preprocessor, so that what its headers declare can go too."""
    # clang, as the parser is made of it: headers say different things to different compilers
    made = stages.run(["clang-14", "--target=arm-linux-gnueabihf", "-isystem", "/usr/arm-linux-gnueabihf/include", "-std=gnu11",
                       "-w"] + stages.INCLUDES + stages.header(path, "options") + ["-E", "-P", path])
    with open(path, errors="surrogateescape") as f:
        text = f.read()
    if made.status or "#include" not in text:
        return text
    head = "".join(l + "\n" for l in text.splitlines()[:5] if re.match(r"//\s*(args|options):", l))
    whole = made.out.decode(errors="surrogateescape")
    # types that GCC has by itself and clang from the header
    for kind, name in re.findall(r"^typedef ([\w ]+) (_Float\w+);$", whole, re.M):
        whole = re.sub(r"\b%s\b" % name, kind, re.sub(r"^typedef [\w ]+ %s;$" % name, "", whole, flags=re.M))
    return head + whole


def cvise(path, args, judge, failure, place, seconds, say):
    """cvise over PATH, in place; a script in PLACE asks this program again."""
    if not shutil.which("cvise"):
        say("cvise is not there")
        return
    test = os.path.join(place, "interesting.sh")
    if args.script:
        ask = "exec %s %s" % (os.path.abspath(args.script), os.path.basename(path))
    else:
        words = [sys.executable, os.path.abspath(__file__), "--build", os.path.abspath(args.build), "--check", failure.kind,
                 "--message", failure.message, "--matrix", failure.config or "o0", "--wait", str(judge.seconds),
                 "--mistakes=" + " ".join(failure.mistakes)] + ([] if failure.initialised else ["--uninitialised"]) + \
            (["--cross"] if failure.emulator else [])
        words += ["--qlopt-option=" + o for o in args.qlopt_option] + [os.path.basename(path)]
        ask = "exec " + " ".join("'%s'" % w.replace("'", "'\\''") for w in words)
    with open(test, "w") as f:
        f.write("#!/bin/sh\n%s\n" % ask)
    os.chmod(test, os.stat(test).st_mode | stat.S_IXUSR)
    p = subprocess.Popen(["cvise", "--n", str(args.jobs), "--timeout", "20", test, os.path.basename(path)], cwd=place,
                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
    try:
        p.wait(seconds)
    except subprocess.TimeoutExpired:
        os.killpg(p.pid, 15)
        p.wait()
        say("cvise stopped after its time")


def reduce(args, judge, interesting, failure, place, end):
    say = lambda text: print("  " + text, flush=True)
    is_c = args.file.endswith(".c")
    name = "r.c" if is_c else "r.ift"
    work = os.path.join(place, "work")
    shutil.rmtree(work, ignore_errors=True)
    os.makedirs(work)

    def holds(candidate):
        path = os.path.join(work, name)
        with open(path, "w", errors="surrogateescape") as f:
            f.write(candidate)
        return interesting(path, work)

    with open(args.file if is_c else textual(judge, args.file, place), errors="surrogateescape") as f:
        text = f.read()
    if is_c and failure:
        failure.excuse(args.file, work)
    started = time.monotonic()
    if not holds(text):
        raise SystemExit("%s: is not interesting" % args.file)
    # what became endless by cutting is not worth waiting for
    judge.seconds = judge.patience = judge.grace = round(max(0.5, min(3.0, 2 * (time.monotonic() - started))), 1)
    whole = without_headers(args.file) if is_c else text
    if whole != text and holds(whole):
        text = whole
    shrinker = shrink.Shrinker(text, holds, say, end - time.monotonic(), args.lines)
    (shrinkc.shrink_c if is_c else shrink.shrink_text_form)(shrinker)
    text = shrinker.text
    say("%d candidates" % shrinker.asked)
    if is_c and not args.no_cvise and text.count("\n") > SHORT and not shrinker.late():
        folder = os.path.join(place, "cvise")
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)
        path = os.path.join(folder, name)
        with open(path, "w", errors="surrogateescape") as f:
            f.write(text)
        cvise(path, args, judge, failure, folder, max(1, shrinker.end - time.monotonic()), say)
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
    ap.add_argument("--lines", type=int, default=0, metavar="N", help="so few lines are good enough")
    ap.add_argument("--no-cvise", action="store_true", help="leave cvise out, which takes over what is longer than %d lines" % SHORT)
    ap.add_argument("--qlopt-option", action="append", default=[], metavar="OPTION", help="one more option for qlopt")
    ap.add_argument("--jobs", type=int, default=int(os.environ.get("QL_JOBS", os.cpu_count())))
    for hidden in ("--check", "--mistakes", "--message"):
        ap.add_argument(hidden, default="", help=argparse.SUPPRESS)
    for hidden in ("--uninitialised", "--cross"):
        ap.add_argument(hidden, action="store_true", help=argparse.SUPPRESS)
    ap.add_argument("--wait", type=float, default=10, help=argparse.SUPPRESS)
    ap.add_argument("file", metavar="FILE", help="a C program, or an intermediate file (.if, .ift)")
    args = ap.parse_args()
    args.file = os.path.abspath(args.file)
    judge = stages.Judge(args.build, args.wait, args.qlopt_option, undefined=True)
    with tempfile.TemporaryDirectory(prefix="qlreduce") as place:
        if args.check:
            judge.patience = judge.grace = args.wait
            failure = Failure(judge, args.matrix, args.check, args.message)
            failure.mistakes, failure.initialised = args.mistakes.split(), not args.uninitialised
            if args.cross:
                failure.compiler, failure.emulator = [c for c in stages.CROSS if c != "-w"], "qemu-arm"
            sys.exit(0 if failure.shown_by_c(args.file, place) else 1)
        text = found(args, judge, place)
    out = args.out or re.sub(r"\.(c|if|ift)$", lambda m: ".small." + ("c" if m.group(1) == "c" else "ift"), args.file)
    with open(out, "w", errors="surrogateescape") as f:
        f.write(text)
    print("%s: %d lines" % (out, text.count("\n")))


def found(args, judge, place):
    """The small text."""
    end = time.monotonic() + 60 * args.minutes
    if args.script:
        return reduce(args, judge, asks_script(os.path.abspath(args.script)), None, place, end)
    failure, finding = find_failure(judge, args.file, stages.matrix(args.matrix), place)
    if not failure:
        print("%s: %s" % (args.file, finding))
        sys.exit(2)
    print("%s: %s" % (args.file, finding), flush=True)
    failure = simplest(judge, args.file, failure, place)
    if not args.file.endswith(".c"):
        return reduce(args, judge, failure.shown_by_file, failure, place, end)
    seconds = judge.seconds
    for failure.thorough in (False, True):
        judge.seconds = seconds
        text = reduce(args, judge, failure.shown_by_c, failure, place, end)
        small = os.path.join(place, "small.c")
        with open(small, "w", errors="surrogateescape") as f:
            f.write(text)
        judge.seconds = seconds
        last = judge.one(small, place, [failure.config] if failure.config else [])
        if any(failure.is_it(f) for f in last.findings):
            return text
        print("  the small program does not count: %s" % (last.discarded or "another finding"), flush=True)
    return text


if __name__ == "__main__":
    main()
