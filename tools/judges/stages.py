"""The stages that judges put a C program through, and what they say of it.

A program is first run as the cross compiler's -O0 makes it, under qemu-arm: that is the reference, what it prints and its
exit status. Then the parser's file in the interpreter, then qlopt's output in each configuration that was asked for.
Whatever differs is a finding: a kind, a configuration, one line of text.

A configuration is one word of parts joined by dots, so that it fits a command line and a file name:

  o0 .. o4   optimization level          s0 .. s5   size (0) against speed (5)
  vec        vectorizer, NEON            lir        both stages of the late form
  wp         the file is the program     big        big-endian: its reference is the parsed file in the interpreter
  again      qlopt twice                 gen        as ARM program too, through qlgen and qemu-arm
  alias      only pointers that the program makes count (without --aliased_variables)

The structure check runs after every pass and the claims of the output are checked while it runs. A volatile access is
compared by kind, width and value in order; its address by the order in which places first come up, because optimizing
moves objects.
"""
import hashlib, json, os, re, shutil, signal, subprocess, time

CROSS = ["arm-linux-gnueabihf-gcc", "-static", "-w", "-std=gnu11"]
INCLUDES = ["-I/usr/include/csmith"]
# Traps instead of messages: no run-time library, and the exit status tells. Shifts of negative numbers are defined by
# every compiler in question, and real programs have them.
UNDEFINED = ["-fsanitize=undefined", "-fno-sanitize=shift-base", "-fsanitize-undefined-trap-on-error"]

COMMON = ["--aliased_variables", "--fp_mode=strict", "--fp_reassoc=off", "--debug:validate"]
PARTS = {
    "vec": ["--neon", "--vectorize=on", "--silicon_version=7A8"],
    "lir": ["--enable:lir_early,lir_late"],
    "wp": ["--call_assumptions=2"],
}
QUICK = "o0 o1 o2 o2.s0 o2.s5.vec o2.lir o2.big o3 o4.wp o2.again".split()
LEVELS = "o0 o1 o2 o3 o4".split()


def full_matrix():
    """Levels, goals, byte order, vectorizer, whole program, late form, each with each; then what stands apart."""
    names = []
    for level in range(5):
        for goal in range(6) if level else [None]:
            for endian in ("", ".big"):
                for vector in ("", ".vec"):
                    for whole in ("", ".wp") if level >= 3 else ("",):
                        for late in ("", ".lir"):
                            speed = "" if goal is None else ".s%d" % goal
                            names.append("o%d%s%s%s%s%s" % (level, speed, vector, whole, late, endian))
    return names + ["o2.again", "o4.again", "o0.gen", "o2.gen", "o4.wp.gen"]


def matrix(name):
    """The configurations that a name of a matrix, or a list with commas, stands for."""
    return {"quick": QUICK, "levels": LEVELS, "full": full_matrix()}.get(name) or [check(n) for n in name.split(",")]


def check(name):
    for part in name.split("."):
        if not (re.fullmatch(r"o[0-4]|s[0-5]", part) or part in PARTS or part in ("big", "again", "gen", "alias")):
            raise SystemExit("no configuration '%s': '%s' is not known" % (name, part))
    return name


def options(name):
    """qlopt's options for a configuration."""
    parts = name.split(".")
    result = [o for o in COMMON if not (o == "--aliased_variables" and "alias" in parts)]
    for part in parts:
        if part[0] == "o" and part[1:].isdigit():
            result.append("--opt_level=" + part[1:])
        elif part[0] == "s" and part[1:].isdigit():
            result.append("--size_speed_goal=" + part[1:])
        else:
            result += PARTS.get(part, [])
    return result


class Outcome:
    """What a command left: status (as a shell gives it; -999 after a timeout), output, messages, seconds; whether a
    signal ended it, which its status alone does not tell."""

    def __init__(self, status, out, err, seconds, signalled=False):
        self.status, self.out, self.err, self.seconds, self.signalled = status, out, err, seconds, signalled

    def timed_out(self):
        return self.status == -999

    def says(self):
        lines = [l for l in self.err.decode(errors="replace").splitlines() if l.strip() and "note: disable pass" not in l]
        for wanted in ("+++++", "rror", "OPTIMIZER", "ssert", "fault"):
            for line in lines:
                if wanted in line:
                    return line.strip()[:240]
        return (lines or ["(no message)"])[-1].strip()[:240]


def run(command, stdin=None, timeout=60, env=None, cwd=None):
    start = time.monotonic()
    with open(stdin or os.devnull, "rb") as source:
        for patience in range(30, -1, -1):
            try:
                p = subprocess.Popen(command, stdin=source, stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=env, cwd=cwd,
                                     start_new_session=True)
                break
            except OSError:  # a build is replacing the program
                if not patience or not os.path.isabs(command[0]):
                    raise
                time.sleep(1)
        try:
            out, err = p.communicate(timeout=timeout)
        except subprocess.TimeoutExpired:
            os.killpg(p.pid, signal.SIGKILL)
            out, err = p.communicate()
            return Outcome(-999, out, err, time.monotonic() - start)
    status = p.returncode if p.returncode >= 0 else 128 - p.returncode
    return Outcome(status, out, err, time.monotonic() - start, p.returncode < 0)


def header(path, key):
    """The words behind "// KEY:" among the first lines of a C file."""
    with open(path, errors="replace") as f:
        for _, line in zip(range(5), f):
            m = re.match(r"//\s*%s:\s*(.*)" % key, line)
            if m:
                return m.group(1).split()
    return []


class Finding:
    """kind: parse, parsed (the parsed file runs differently), qlopt (its status), hang, differs, volatile, gen."""

    def __init__(self, kind, config, text):
        self.kind, self.config, self.text = kind, config, text

    def __str__(self):
        return "%s%s: %s" % (self.kind, " " + self.config if self.config else "", self.text)


def grouped(findings):
    """Lines for findings: those that say the same in one line, with their configurations."""
    groups = {}
    for f in findings:
        groups.setdefault((f.kind, f.text), []).append(f.config)
    return ["%s%s: %s" % (kind, "".join(" " + c for c in configs[:6]) +
                          (" and %d more" % (len(configs) - 6) if len(configs) > 6 else ""), text)
            for (kind, text), configs in groups.items()]


class Result:
    def __init__(self, path):
        self.path, self.findings, self.counts, self.runs, self.discarded = path, [], {}, 0, None


def is_address(value):
    """Whether a 32-bit value lies where the interpreter puts objects: globals and heap low, the stack high."""
    return 0x00010000 <= value < 0x40000000 or 0xE0000000 <= value < 0xF0000000


def volatile_order(err):
    """The volatile accesses in a form that does not depend on where objects lie, as a digest and a count."""
    places, digest, count = {}, hashlib.sha1(), 0
    for line in err.split(b"\n"):
        if not line.startswith(b"volatile "):
            continue
        _, kind, address, value = line.split()
        where = int(address, 16)
        # Calls that were integrated share no stack any more, so that a place there has no name of its own.
        place = "s" if where >= 0xE0000000 else places.setdefault(where, len(places))
        if len(value) == 8 and is_address(int(value, 16)):
            value = b"address"
        digest.update(b"%s %s %s\n" % (kind, str(place).encode(), value))
        count += 1
    return digest.hexdigest(), count


class Judge:
    """Runs programs through stages. Files go to the folder given with each call."""

    def __init__(self, build, seconds=5, extra=(), undefined=False, counts=False):
        build = os.path.abspath(build)
        self.tool = lambda *p: os.path.join(build, *p)
        self.qlopt = os.environ.get("QL_QLOPT", self.tool("qlopt"))
        self.seconds, self.extra, self.undefined, self.counts = seconds, list(extra), undefined, counts
        self.patience = 24 * seconds  # for the interpreter on the parsed file
        self.grace = 10  # what an optimized program may take besides ten times that
        self.backend = None

    # ---- single stages

    def compile(self, path, out, flags):
        return run(CROSS + INCLUDES + flags + header(path, "options") + [path, "-o", out, "-lm"], timeout=120)

    def parse(self, path, out, endian="little"):
        return run([self.tool("tools", "parse", "qlparse")] + INCLUDES + ["--endian=" + endian] +
                   header(path, "options") + [path, "-o", out], timeout=120)

    def optimize(self, source, out, name, more=()):
        return run([self.qlopt] + options(name) + self.extra + list(more) + [source, out], timeout=120)

    def execute(self, file, path, timeout, trace=False, counts=None, check=True):
        command = [self.tool("tools", "exec", "qlrun")]
        if trace:
            command.append("--trace-volatile")
        if check:
            command.append("--check-records")
        if counts:
            command += ["--counts=json", "--counts-file=" + counts]
        return run(command + [file, "--"] + header(path, "args"), self.stdin(path), timeout)

    def stdin(self, path):
        name = path[:-2] + ".in"
        return name if os.path.exists(name) else None

    def qemu(self, program, path, timeout):
        return run(["qemu-arm", program] + header(path, "args"), self.stdin(path), timeout, env={})

    def reference(self, path, place):
        """The program's outcome as the cross compiler's -O0 makes it, or (None, reason) when it can't be judged."""
        out = os.path.join(place, "reference")
        built = self.compile(path, out, ["-O0"])
        if built.status:
            return None, "the reference compiler refuses it: " + built.says()
        got = self.qemu(out, path, self.seconds)
        if got.timed_out():
            return None, "runs too long"
        if self.undefined:
            if got.signalled:
                return None, "ends by a signal"
            for flags in (["-O0"], ["-O2", "-fno-builtin"]):
                checked = self.compile(path, out, flags + UNDEFINED)
                if checked.status:
                    return None, "the checking compiler refuses it: " + checked.says()
                ran = self.qemu(out, path, 4 * self.seconds)
                if (ran.status, ran.out) != (got.status, got.out):
                    return None, "behaviour is undefined"
        return got, None

    # ---- one program

    def one(self, path, place, configs, trusting=False):
        """Everything about one program: findings, counts of each configuration, number of runs. TRUSTING: the parsed file
        in the interpreter is the reference at first, and the compilers are asked only when something is found. That is
        several times as quick, for programs that are good unless their generator is at fault."""
        result = Result(path)
        reference = None
        if not trusting:
            reference, reason = self.reference(path, place)
            if not reference:
                result.discarded = reason
                return result
        with open(path, errors="replace") as f:
            trace = "volatile" in f.read()
        bases = {}
        for name in configs:
            endian = "big" if "big" in name.split(".") else "little"
            if endian not in bases:
                bases[endian] = self.base(path, place, endian, reference, trace, result)
            if bases[endian]:
                self.optimized(path, place, name, bases[endian], result)
        if trusting and result.findings:
            self.confirm(path, place, bases.get("little"), result)
        return result

    def confirm(self, path, place, base, result):
        """Findings of a program whose behaviour is undefined go; one that the parser breaks is a finding of the parser."""
        reference, reason = self.reference(path, place)
        if not reference:
            result.findings, result.discarded = [], reason
        elif base and (base["outcome"].status, base["outcome"].out) != (reference.status, reference.out):
            result.findings = [Finding("parsed", "", difference(reference, base["outcome"]))]

    def base(self, path, place, endian, reference, trace, result):
        """The parsed file and how it ran; what optimized files are compared with. REFERENCE may be None."""
        file = os.path.join(place, endian + ".if")
        parsed = self.parse(path, file, endian)
        if parsed.status:
            result.findings.append(Finding("parse", "", "status %d: %s" % (parsed.status, parsed.says())))
            return None
        counts = os.path.join(place, "counts.json") if self.counts else None
        got = self.execute(file, path, self.patience, trace, counts)
        result.runs += 1
        if got.timed_out():
            result.discarded = "runs too long in the interpreter"
            return None
        if endian == "little" and reference and (got.status, got.out) != (reference.status, reference.out):
            result.findings.append(Finding("parsed", "", difference(reference, got)))
            return None
        if counts:
            result.counts["parsed" + (".big" if endian == "big" else "")] = total(counts)
        order = volatile_order(got.err) if trace else None
        return {"file": file, "outcome": got, "order": order, "native": reference or got}

    def base_of_file(self, path, place):
        """The same for an intermediate file, or its text, that is a program: it is its own reference."""
        file = os.path.join(place, "given.if")
        if path.endswith(".ift"):
            made = run([self.tool("tools", "text", "qlasm"), path, "-o", file])
            if made.status:
                return None
        else:
            shutil.copy(path, file)
        got = self.execute(file, path, self.patience, True)
        if got.timed_out() or got.status in (1, 2) and not got.out and got.err or got.status in (120, 124, 125):
            return None
        return {"file": file, "outcome": got, "order": volatile_order(got.err), "native": got}

    def optimized(self, path, place, name, base, result):
        out = os.path.join(place, "out.if")
        made = self.optimize(base["file"], out, name)
        if made.status == 0 and "again" in name.split("."):
            shutil.move(out, out + ".1")
            made = self.optimize(out + ".1", out, name)
        if made.timed_out():
            result.findings.append(Finding("hang", name, "qlopt does not end"))
            return
        if made.status:
            result.findings.append(Finding("qlopt", name, "status %d: %s" % (made.status, made.says())))
            return
        if "gen" in name.split("."):
            self.generated(path, place, name, out, base, result)
            return
        counts = os.path.join(place, "counts.json") if self.counts else None
        expected = base["outcome"]
        got = self.execute(out, path, self.grace + 10 * expected.seconds, base["order"] is not None, counts)
        result.runs += 1
        if got.timed_out():
            result.findings.append(Finding("hang", name, "the optimized program does not end"))
        elif (got.status, got.out) != (expected.status, expected.out):
            result.findings.append(Finding("differs", name, difference(expected, got)))
        elif base["order"] and volatile_order(got.err) != base["order"]:
            result.findings.append(Finding("volatile", name, "volatile accesses differ: %d, not %d" %
                                           (volatile_order(got.err)[1], base["order"][1])))
        elif counts:
            result.counts[name] = total(counts)

    def generated(self, path, place, name, file, base, result):
        if not self.backend:
            self.backend = run([self.tool("tools", "gen", "qlgen"), "--print-backend-options"]).out.decode().split()
        program = os.path.join(place, "program")
        made = run([self.tool("tools", "gen", "qlgen"), file, "-o", program + ".c"])
        if not made.status:
            made = run(CROSS + ["-marm"] + self.backend + [program + ".c", "-o", program, "-lm"], timeout=120)
        if made.status:
            result.findings.append(Finding("gen", name, "status %d: %s" % (made.status, made.says())))
            return
        got = self.qemu(program, path, 4 * self.seconds)
        result.runs += 1
        if (got.status, got.out) != (base["native"].status, base["native"].out):
            result.findings.append(Finding("gen", name, difference(base["native"], got)))


def total(path):
    with open(path) as f:
        return json.load(f)["total"]


def difference(expected, got):
    if got.status != expected.status:
        return "status %d, not %d: %s" % (got.status, expected.status, got.says())
    a, b = expected.out.split(b"\n"), got.out.split(b"\n")
    for line, (x, y) in enumerate(zip(a + [b"(nothing)"], b + [b"(nothing)"])):
        if x != y:
            return "line %d: %r, not %r" % (line + 1, y.decode(errors="replace")[:80], x.decode(errors="replace")[:80])
    return "output differs"
