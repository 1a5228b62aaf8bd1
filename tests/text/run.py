#!/usr/bin/env python3
"""Tests of the text form.

  run.py hand  TOOLS           the texts beside this script: what they come to, and that nothing moves any more
  run.py files TOOLS FILE...   intermediate files and C programs: the way over the text is the way without it
  run.py bad   TOOLS           texts with mistakes: message and place of each, exit status, no file left
  run.py deep  TOOLS           nesting of all kinds, both ways, in time that grows with the size
  run.py usage TOOLS           command lines, summaries, single functions
  run.py noise TOOLS [SEED [COUNT]]   texts with random damage: told or taken, never a crash

TOOLS is the build directory's list of programs, as name=path.
"""
import os
import random
import re
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
failures = []


def fail(what):
    failures.append(what)
    print("FAILED: " + what)


def run(*argv, timeout=120):
    return subprocess.run(argv, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=timeout)


def must(*argv, **more):
    done = run(*argv, **more)
    if done.returncode:
        fail("%s: status %d: %s" % (" ".join(argv), done.returncode, done.stderr.decode(errors="replace")[:500]))
    return not done.returncode


def read(path, mode="rb"):
    with open(path, mode) as f:
        return f.read()


def write(path, text):
    with open(path, "w" if isinstance(text, str) else "wb") as f:
        f.write(text)


def same(a, b, what):
    if read(a) != read(b):
        fail(what + ": the files differ")


# --- the way over the text ---

MAX_ROUNDS = 4  # of reading and writing, until a file stays as it is


def check_file(tools, path, what):
    """Over the text and back is the same as reading and writing, now and once the file has settled."""
    for step in range(MAX_ROUNDS):
        copy, text, back = "copy%d.if" % step, "text%d.ift" % step, "back%d.if" % step
        if not (must(tools["text_recopy"], path, copy) and must(tools["qldump"], path, "-o", text)
                and must(tools["qlasm"], text, "-o", back)):
            return None
        same(copy, back, "%s, round %d" % (what, step))
        if read(copy) == read(path):
            return text
        path = copy
    fail("%s: still moves after %d rounds" % (what, MAX_ROUNDS))
    return None


# --- texts written by hand ---

def without_file(line):
    """A position repeats its file's name or not, by what stands before it."""
    return re.sub(r'; (?:"(?:[^"\\]|\\.)*":|\S*:)?(\d+:\d+)$', r"; \1", line)


def expected_lines(text):
    for line in text.splitlines():
        line = line.strip()
        if line.startswith("#="):
            yield without_file(line[2:].strip())
        elif line and not line.startswith("#") and "#~" not in line:
            yield without_file(line)


def leaf_opcodes():
    """Opcodes of leaves that are not spelled with their name in the text."""
    return {"LABEL": r"\bL\d+\)", "SCON": r'[ (]"', "ICON": r" \d+\)", "FCON": "0x1", "LCON": r"\dL", "FIELD": r"field\(",
            "NAME": "%"}


def test_hand(tools):
    names = sorted(n for n in os.listdir(HERE) if n.endswith(".ift"))
    everything = ""
    for name in names:
        source = os.path.join(HERE, name)
        if not must(tools["qlasm"], source, "-o", "hand.if") or not must(tools["qldump"], "hand.if", "-o", "hand.ift"):
            continue
        dump = read("hand.ift", "r")
        everything += dump
        lines = [without_file(line.strip()) for line in dump.splitlines()]
        for line in expected_lines(read(source, "r")):
            if line in lines:
                lines.remove(line)
            else:
                fail("%s: the dump has no line %r" % (name, line))
        check_file(tools, "hand.if", name)
    # The examples of the manual are good.
    with open(os.path.join(HERE, "../../docs/text-form.md")) as f:
        examples = re.findall(r"^```ift\n(.*?)^```", f.read(), re.M | re.S)
    for number, text in enumerate(examples, 1):
        write("example.ift", text)
        done = run(tools["qlasm"], "example.ift")
        if done.returncode or done.stderr:
            fail("example %d of the manual: %s" % (number, done.stderr.decode()))
        else:
            check_file(tools, "example.if", "example %d" % number)
    if not examples:
        fail("the manual has no examples")
    # Together the texts have every opcode of a file and every word of a main stream.
    with open(os.path.join(HERE, "../../ifile/opcodes.def")) as f:
        rows = re.findall(r"_ROW\s*\(\s*(\d+), (\w+),", f.read())
    for number, opcode in rows:
        pattern = leaf_opcodes().get(opcode, r"\(%s\b" % opcode)
        if int(number) < 164 and opcode not in ("ENDINIT", "SKIP") and not re.search(pattern, everything):
            fail("no text has the opcode " + opcode)


# --- files ---

def test_files(tools, paths):
    for path in paths:
        what = os.path.basename(path)
        if path.endswith(".c"):
            if not must(tools["qlparse"], path, "-o", "c.if"):
                continue
            path = "c.if"
        check_file(tools, path, what)
    for seed in range(1, 9):
        if must(tools["rt_genfile"], "--seed", str(seed), "generated.if"):
            check_file(tools, "generated.if", "seed %d" % seed)


# --- mistakes ---

HEAD = "global @f : func(void)\nglobal @i : int\nstruct s size 64 align 32 {\n  a : int at 0\n  a : int at 32\n}\n"


def body(text):
    """A function around lines; the first is on line 8."""
    return HEAD + "function @f\n" + text + "\nend\n"


# name, text, messages with their place
BAD = [
    ("word at the top", "nonsense\n", ["1:1: a declaration or function should stand here, not 'nonsense'"]),
    ("bad byte", "producer \x01\n", ["1:10: a stray byte 0x01"]),
    ("string without end", 'producer "abc\n', ["1:10: a string without end"]),
    ("escape", 'producer "a\\q"\n', ["1:12: unknown escape '\\q'"]),
    ("no number", "options 12ab ()\n", ["1:9: '12ab' is no number"]),
    ("first position", "global @i : int ; 3:4\n", ["1:17: the first position must name its file"]),
    ("position", "global @i : int ; a.c:x:4\n", ["1:17: a position is '; file:line:column'"]),
    ("two producers", 'producer "a"\nproducer "b"\n', ["2:1: a second producer"]),
    ("option sets", 'options 0 ("a")\noptions 0 ()\noptions 7 ()\n',
     ["2:9: option set 0 twice", "1:1: option set 7 where there are 3"]),
    ("option set of a symbol", "global @i : int options 1\n", ["1:17: option set 1 where there are 0"]),
    ("several lines", "global @i : nope\nglobal @j : ptr(nope)\nglobal @i : int pragma NOPE()\n",
     ["1:13: unknown type nope", "2:17: unknown type nope", "3:8: '@i' is declared twice", "3:24: unknown pragma NOPE"]),
    ("type twice", "struct s size 8 align 8\nstruct s size 8 align 8\n", ["2:8: struct s is declared twice"]),
    ("built on itself", "type a = ptr(b)\ntype b = ptr(a)\nglobal @x : a\n", ["2:14: a is built on itself"]),
    ("typedef of itself", "typedef t = t\n", ["1:13: t is built on itself"]),
    ("name of a type", "typedef ptr = int\n", ["1:9: 'ptr' is a word for types and can't be a name"]),
    ("record without size", "struct s\n", ["1:9: a record needs its size and align, or is incomplete"]),
    ("alignment", "global @x : int[align 24]\n", ["1:16: an alignment of 24 bits"]),
    ("size", "global @x : int[size 65]\n", ["1:16: a size of 65 bits where 1 to 64 can be"]),
    ("attribute", "global @x : int[vararg]\n",
     ["1:17: one of size align boolean ptm plain explicit should stand here, not 'vararg'"]),
    ("piece of an attribute", "global @x : int[e]\n", ["1:17: one of size align boolean"]),
    ("array of void", "global @x : array(void, 3)\n", ["1:13: an array of a type without values"]),
    ("array size", "global @x : array(int, 3)[size 64]\n", ["1:13: an array of another size than its elements"]),
    ("parts", "global @x : complex(ptr(int))\nglobal @y : fixed(float, 1)\nglobal @z : ptm(int, int)\n",
     ["1:13: a complex of no number", "2:13: a fixed point type over no integer",
      "3:13: a pointer to member of no class"]),
    ("member outside", "struct s size 32 align 32 {\n  a : int at 8\n  b : int at 0 bits 33\n}\n",
     ["2:3: a member that ends at bit 40 of a record of 32 bits", "3:3: a bit-field of 33 bits that its type can't hold"]),
    ("incomplete member", "struct t size 0 align 8 incomplete\nstruct s size 32 align 32 {\n  a : struct t\n}\n",
     ["3:3: a member that is an incomplete record"]),
    ("records in each other", "struct s size 32 align 32 {\n  a : struct t\n}\nstruct t size 32 align 32 {\n  a : struct s\n}\n",
     ["a record that contains itself"]),
    ("member index twice", "struct s size 64 align 32 {\n  a : int index 2\n  b : int\n}\n",
     ["1:28: s has two members with the index 2"]),
    ("record line", "struct s size 64 align 32 {\n  what ever\n  base int\n  empty nothing\n}\n",
     ["2:3: a member, or base, access_decl,", "3:8: a base that is no class", "4:9: the name of a list should stand"]),
    ("enumerator", "enum e : uchar {\n  A = 256\n}\nglobal @x : enum e\n", ["2:7: an enumerator is 256, which lies outside 0 to 255"]),
    ("open brace", "global @x : int\nstruct s size 64 align 32 {\n  a : int\nglobal @y : int\n", ["2:27: this '{' is never closed"]),
    ("depth of types", "global @x : " + "ptr(" * 201 + "int" + ")" * 201 + "\n", ["types nest more than 200 deep here"]),
    ("unknown symbols", body("  (ASG %x @y)"), ["8:8: unknown local symbol '%x'"]),
    ("local twice", body("  local %a : int\n  local %a : int"), ["9:9: '%a' is declared twice"]),
    ("opcode", body("  (FROB 1)"), ["8:4: unknown opcode 'FROB'"]),
    ("too few", body("  (ASG @i)"), ["8:3: ASG has 2 operands, not 1"]),
    ("too many", body("  (BRANCH L1 L2)\nL1:\nL2:"), ["8:14: BRANCH has 1 operand, and here is one more"]),
    ("leaf in parentheses", body("  (ICON 1)"), ["8:4: ICON is written like 42"]),
    ("no type", body("  (ASG @i (SCONV @i))"), ["8:11: SCONV needs a type: write SCONV:type"]),
    ("no target", body("  (UMULT @i)"), ["8:3: UMULT needs a type"]),
    ("operand", body("  (CALL eh=1 frob=2 @f 1)"), ["8:14: CALL has no operand 'frob'"]),
    ("constants", body("  (ASG @i 2147483648)\n  (ASG @i -1:uint)\n  (ASG @i 99999999999)\n  (ASG @i 18446744073709551616L)"),
     ["8:11: 2147483648 does not fit the type", "9:11: -1 does not fit the type of the constant, which is unsigned",
      "10:11: an integer constant is 99999999999, which lies outside", "11:11: 18446744073709551616 has more than 64 bits"]),
    ("float", body("  (ASG @i 0x1.8)"), ["8:11: '0x1.8' is no hexadecimal float like 0x1.8p+3"]),
    ("cases", body("  (SWITCH cases=3 @i (CASE 1 L1))\nL1:"), ["8:3: SWITCH of 3 cases, but 1 are there"]),
    ("fields", body("  (ASG (STDOT @i field(struct s, b)) 1)\n  (NOP) x\n  (ASG @i field(struct s, a))\n  (ASG @i field(int, a))"),
     ["8:34: the record has no member b", "9:9: the end of the line should stand here, not 'x'",
      "10:27: 2 members are called a: write the index of the one meant", "11:11: a field of a type that is no record"]),
    ("forgotten parenthesis", body("  (ASG @i (PLUS 1 2) ; a.c:1:1\n  (ASG @i 1"), ["8:22: an operand or ')' should stand here, not a position",
                                                                                 "10:1: an operand or ')' should stand here, not 'end'"]),
    ("place", body("  (NOP)\n  param %a : int\nlocals\nbody"),
     ["9:3: a symbol behind the end of the locals", "10:1: locals can't stand in a body", "11:1: a second body"]),
    ("blocks", body("  endblock\n  block"), ["8:3: the end of a block where none is open", "10:1: 1 blocks are open"]),
    ("statement outside", "inloop 1\n", ["1:1: 'inloop' outside a function"]),
    ("function without end", HEAD + "function @f\n  (NOP)\n", ["7:1: function '@f' has no end"]),
    ("bodies", body("") + "function @f\nend\nfunction @i\nend\nfunction @g\nend\n",
     ["10:10: a second body of '@f'", "12:10: a body of '@i', which is no function", "14:10: unknown global symbol '@g'"]),
    ("initialisers", HEAD + "init @i {\n  1\n}\ninit @i {\n}\ninit @f {\n}\n",
     ["10:6: a second initialiser of '@i'", "12:6: an initialiser of a function"]),
    ("ENDINIT", body("  (ENDINIT)") + "init @i {\n  (ENDINIT)\n  1\n}\n", ["8:3: ENDINIT outside an initialiser", "12:3: something behind ENDINIT"]),
    ("loops", body("  loop 1\n  loop 1\n  loop 2 in 3\n  inloop 4"),
     ["9:8: loop 1 twice in a function", "10:10: loop 3 is not there", "11:10: loop 4 is not there"]),
    ("dependences", body("  vector 1\n  edge 1 2 vector 0\n  vector 0 (X)\n  vector 0 flags 4 (F)"),
     ["8:10: dependence vector 1 where 0 should come", "9:19: dependence vector 0 is not there",
      "10:13: letters of B, S, F and O should stand here", "11:10: elements, but the flags say that there are none"]),
    ("exceptions", body("  exceptions {\n    1 root\n    1 root next 5\n  }\n  exceptions {\n  }\n"),
     ["10:5: exception table entry 1 twice", "10:5: entry 1 is followed by 5, which is not there", "12:14: a second exception table",
      "12:14: an exception table without entries"]),
    ("pragmas", "global @i : int" + " pragma UNUSED()" * 128 + "\n", ["more than 127 pragmas on a symbol"]),
    ("ranges", "global @i : int quals 65536 size -1\nglobal @j : int size 4294967296\n",
     ["1:23: qualifiers is 65536, which lies outside 0 to 65535", "2:22: a size is 4294967296, which lies outside"]),
]


def test_bad(tools):
    for name, text, wanted in BAD:
        write("bad.ift", text)
        write("bad.if", "left from before")
        done = run(tools["qlasm"], "bad.ift")
        told = done.stderr.decode()
        if done.returncode != 1:
            fail("%s: status %d" % (name, done.returncode))
        if os.path.exists("bad.if") or os.path.exists("bad.if.new"):
            fail(name + ": a file is left")
        for message in wanted:
            found = ("bad.ift:%s" % message.replace(": ", ": error: ", 1)) if message[0].isdigit() else message
            if found not in told:
                fail("%s: no message %r in:\n%s" % (name, found, told))
        if told.count(": error: ") > len(wanted):
            fail("%s: more messages than mistakes:\n%s" % (name, told))
    write("many.ift", "nonsense\n" * 50)
    told = run(tools["qlasm"], "many.ift").stderr.decode()
    if told.count(": error: ") != 20 or not told.endswith("too many errors\n"):
        fail("too many errors:\n" + told)
    write("warned.ift", "global @f : func(void)\nfunction @f\n  (BRANCH L1)\nL2:\nL2:\nend\n")
    done = run(tools["qlasm"], "warned.ift")
    wanted = ("warned.ift:3:11: warning: label L1 is nowhere in the function\n"
              "warned.ift:5:1: warning: label L2 twice in a function\n")
    if done.returncode or done.stderr.decode() != wanted or not os.path.exists("warned.if"):
        fail("warnings: " + done.stderr.decode())


# --- depth ---

def chain(opening, levels, end="1"):
    return "(" + opening + " " + ("(" + opening + " ") * (levels - 1) + end + ")" * levels


def test_deep(tools):
    levels = 1000000
    head = "global @f : func(void)\nfunction @f\n"
    texts = {
        "left": head + "  " + "(PLUS " * levels + "1" + " 2)" * levels + "\nend\n",
        "right": head + "  " + chain("PLUS 2", levels) + "\nend\n",
        "blocks": head + "block\n" * 100000 + "endblock\n" * 100000 + "end\n",
        "forward types": "".join("type t%d = ptr(t%d)\n" % (i, i + 1) for i in range(100000))
                         + "type t100000 = int\nglobal @x : t0\n",
        "one line of parentheses": head + "  " + "(NOTB " * levels + "\nend\n",
    }
    for name, text in texts.items():
        write("deep.ift", text)
        start = time.time()
        done = run(tools["qlasm"], "deep.ift")
        if name.startswith("one line"):
            if done.returncode != 1 or b"should stand here, not 'end'" not in done.stderr:
                fail("%s: status %d %s" % (name, done.returncode, done.stderr[:300]))
            continue
        if done.returncode:
            fail("%s: status %d %s" % (name, done.returncode, done.stderr[:300]))
            continue
        check_file(tools, "deep.if", name)
        print("%-16s %6.1f s, dump %d bytes" % (name, time.time() - start, os.path.getsize("text0.ift")))


# --- random damage ---

def damage(rng, text, words):
    lines = text.splitlines()
    for _ in range(rng.randint(1, 3)):
        at = rng.randrange(len(lines))
        line = lines[at]
        cut = rng.randrange(len(line) + 1)
        kind = rng.randrange(6)
        if kind == 0:
            lines[at] = line[:cut] + line[cut + rng.randint(1, 9):]
        elif kind == 1:
            lines[at] = line[:cut] + " " + rng.choice(words) + " " + line[cut:]
        elif kind == 2:
            lines[at] = line[:cut] + rng.choice("()[]{}:,=;\"@%\\#0-L.") + line[cut + 1:]
        elif kind == 3:
            lines.insert(rng.randrange(len(lines)), line)
        elif kind == 4:
            lines[at] = re.sub(r"\d+", lambda m: str(rng.choice([0, 1, 7, 2**31, 2**32, 10**30])), line, count=1)
        elif len(lines) > 1:
            del lines[at]
    return "\n".join(lines) + "\n"


def test_noise(tools, seed=1, count=300):
    rng = random.Random(seed)
    texts = [read(os.path.join(HERE, n), "r") for n in sorted(os.listdir(HERE)) if n.endswith(".ift")]
    words = sorted(set(" ".join(texts).split()))
    taken = 0
    for number in range(count):
        text = damage(rng, rng.choice(texts), words)
        write("noise.ift", text)
        done = run(tools["qlasm"], "noise.ift", timeout=20)
        told = done.stderr.decode(errors="replace")
        # A place in the text, or the one line of the reader that tries the file.
        good = done.returncode == 0 or (done.returncode == 1 and re.match(r"(noise\.ift:\d+:\d+: |qlasm: )", told))
        if not good:
            fail("seed %d, text %d: status %d, %s\n%s" % (seed, number, done.returncode, told[:300], text))
        if done.returncode == 0:
            taken += 1
            check_file(tools, "noise.if", "seed %d, text %d" % (seed, number))
    print("%d of %d texts were taken" % (taken, count))


# --- command lines ---

def test_usage(tools):
    write("two.ift", "global @f : func(void)\nglobal @g : func(int)\nextern @x : int\nfunction @f\n  (URETURN @f)\nend\n"
                     "function @g\n  local %i : int\n  (ASG %i @x) ; t.c:1:1\n  (RETURN @g %i)\nend\n")
    must(tools["qlasm"], "two.ift")
    one = run(tools["qldump"], "two.if", "--function", "g").stdout.decode()
    if one != "function @g\nlocals\n  local %i : int\nbody\n  (ASG %i @x) ; t.c:1:1\n  (RETURN @g %i)\nend\n":
        fail("one function: " + one)
    summary = run(tools["qldump"], "--summary", "two.if").stdout.decode()
    size = os.path.getsize("two.if")
    for pattern in [r"^functions +2$", r"^statements +3$", r"^nodes in functions +8$", r"^deepest tree +2$",
                    r"^  all +%d$" % size, r"^  global +2 +0$", r"^  extern +0 +1$", r"^  function +2$",
                    r"^ +\d+ +1 +2 +0 +0 +0 +2  f$", r"^ +\d+ +2 +6 +1 +0 +0 +2  g$"]:
        if not re.search(pattern, summary, re.M):
            fail("the summary has no line %r:\n%s" % (pattern, summary))
    # Devices are written to and stay; a link stays a link.
    write("target.if", "")
    os.symlink("target.if", "link.if")
    must(tools["qlasm"], "two.ift", "-o", "/dev/null")
    must(tools["qlasm"], "two.ift", "-o", "link.if")
    if not os.path.islink("link.if") or read("target.if") != read("two.if"):
        fail("the link is gone")
    if run(tools["qldump"], "two.if", "-o", "/dev/full").returncode != 1 or not os.path.exists("/dev/full"):
        fail("a full device")
    write("broken.if", read("two.if")[:-3])
    for argv, status in [(["qldump"], 2), (["qldump", "--frob", "two.if"], 2), (["qldump", "two.if", "two.if"], 2),
                         (["qldump", "-o"], 2), (["qldump", "none.if"], 1), (["qldump", "two.ift"], 1),
                         (["qldump", "broken.if", "-o", "broken.ift"], 1),
                         (["qldump", "two.if", "--function", "h", "-o", "h.ift"], 1), (["qldump", "--help"], 0),
                         (["qlasm"], 2), (["qlasm", "-x"], 2), (["qlasm", "none.ift"], 1), (["qlasm", "--help"], 0),
                         (["qlasm", "two.ift", "-o", "two.ift"], 2), (["qlasm", "two.ift", "-o", "no/such/place"], 1)]:
        done = run(tools[argv[0]], *argv[1:])
        if done.returncode != status or (status and not done.stderr):
            fail("%s: status %d, %s" % (" ".join(argv), done.returncode, done.stderr))
    for path in ["broken.ift", "h.ift"]:
        if os.path.exists(path):
            fail(path + " is left")


def main():
    kind, tools = sys.argv[1], dict(t.split("=", 1) for t in sys.argv[2].split(","))
    more = sys.argv[3:]
    paths = [os.path.abspath(p) for p in more]
    with tempfile.TemporaryDirectory() as place:
        os.chdir(place)
        if kind == "files":
            test_files(tools, paths)
        elif kind == "noise":
            test_noise(tools, *map(int, more))
        else:
            {"hand": test_hand, "bad": test_bad, "deep": test_deep, "usage": test_usage}[kind](tools)
    return 1 if failures else 0


sys.exit(main())
