"""What the runners of C programs share: commands with a time limit, the notes at the head of a program, the reference.

A program may have NAME.in (standard input) and, among its first lines, notes:
  // args: WORD...       its arguments
  // options: WORD...    for the compiler
  // partner: FILE.c...  further sources, compiled by the cross compiler alone: the border to foreign code
  // host: no            sizes or layouts of the target show in its output
"""
import argparse, concurrent.futures, os, re, subprocess, sys, tempfile

FLAGS = ["-O0", "-w", "-std=gnu11"]


def run(cmd, stdin=None, timeout=100, env=None):
    """Status, output, errors; a signal is a status above 128."""
    try:
        with open(stdin or os.devnull, "rb") as f:
            p = subprocess.run(cmd, stdin=f, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=timeout, env=env)
        return (128 - p.returncode if p.returncode < 0 else p.returncode), p.stdout, p.stderr
    except subprocess.TimeoutExpired:
        return -999, b"", b"timeout"


def tail(text):
    """The line of a message that says most."""
    lines = [l for l in text.decode(errors="replace").strip().splitlines() if "note: disable pass" not in l]
    errors = [l for l in lines if "error" in l]
    return (errors or lines[-1:] or ["(nothing)"])[0][:300]


class Program:
    def __init__(self, path):
        self.path, folder = path, os.path.dirname(path)
        stdin = path[:-2] + ".in"
        self.stdin = stdin if os.path.exists(stdin) else None
        with open(path, errors="replace") as f:
            head = "".join(list(f)[:5])
        note = lambda key: " ".join(re.findall(r"^//\s*%s:\s*(.*)" % key, head, re.M)).split()
        self.args, self.options, self.host = note("args"), note("options"), note("host") != ["no"]
        self.partners = [os.path.join(folder, p) for p in note("partner")]
        self.failures = []

    def fail(self, *words):
        self.failures.append(": ".join((self.path,) + words))

    def build(self, command, what):
        """Runs a step; False, with the failure noted, when its status is not 0."""
        status, out, err = run(command)
        if status:
            self.fail(what, "status %d" % status, tail(err))
        return not status

    def go(self, command, timeout=100):
        return run(command + self.args, self.stdin, timeout)

    def compare(self, what, reference, command, timeout=120):
        got = self.go(command, timeout)
        if got[:2] == reference[:2]:
            return True
        other = "" if got[1] == reference[1] else "other output; "
        self.fail(what, "status %d instead of %d; %s%s" % (got[0], reference[0], other, tail(got[2]) if got[2] else ""))
        return False


def main(check, parser, defaults):
    """Runs check(program, args, scratch names) over the named programs, else over the defaults and what is in them."""
    parser.add_argument("--build", required=True)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("files", nargs="*")
    args = parser.parse_args()
    inside = lambda f: [os.path.join(f, n) for n in sorted(os.listdir(f)) if n.endswith(".c")] if os.path.isdir(f) else [f]
    files = args.files or [p for f in defaults for p in inside(f) if not p.endswith("_partner.c")]

    def one(path):
        program = Program(path)
        with tempfile.TemporaryDirectory() as d:
            check(program, args, lambda n: os.path.join(d, n))
        return program.failures

    bad = 0
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        for failures in pool.map(one, files):
            bad += bool(failures)
            for line in failures:
                print(line, flush=True)
    print("%d programs, %d differ" % (len(files), bad))
    sys.exit(1 if bad or not files else 0)
