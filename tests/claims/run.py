#!/usr/bin/env python3
"""qlrun --check-records: claims about loops and dependences that hold pass, each claim that does not is told.

run.py --build DIR

A row is a program, what is put in its places, and the words of the fault, or None when everything holds.
"""
import argparse, os, subprocess, sys, tempfile

# 31 iterations of a[i] = a[i - 1] + 1, i from 4, each inside one of two iterations of an outer loop.
NEST = """\
global @a : array(int, 80)
global @main : func(int)
function @main
locals
  local %i : int
  local %j : int
  loop 1 max 4294967295
  loop 2 in 1 INNER
body
  (ASG %j 0)
  VECTORS
L3:
  inloop 1
  (ASG %i 4)
  PRAGMA
L1:
  inloop 2 DEAD
  (ASG (DDNODE id=2 (UMULT (PLUS (PCONV:ptr(int) (UAND @a)) (MULT %i STRIDE))))
    (PLUS (DDNODE id=1 (UMULT (PLUS (PCONV:ptr(int) (UAND @a)) (MULT (MINUS %i LAG) STRIDE)))) %j))
  EARLY
  (PLUSPLUS %i 1)
  (CBRANCH (LT %i 35) L2)
  (BRANCH L1)
L2:
  inloop 1
  BEHIND
  (PLUSPLUS %j 1)
  (CBRANCH (LT %j 2) L4)
  (BRANCH L3)
L4:
  (RETURN @main 0)
end
"""
# Between the nest's references: from the store to the load of the next iteration, and around the outer loop all ways.
RIGHT = """vector 0 (BSFO) (S) (F 1)
  vector 1 (BSFO) (F) (BSF)
  edge 2 1 vector 0
  edge 2 1 vector 1
  edge 1 2 vector 1
  edge 2 2 vector 1"""
C_GUARD = """\
#include <stdlib.h>
int a[100];
int main(int argc, char **argv) {
    int n = argc > 1 ? atoi(argv[1]) : 0, i;
PRAGMA
    for (i = 0; i < n; i++) { a[i] = i; if (a[i] == 13) break; }
    return 0;
}
"""

NO = "no fault"
ROWS = [
    # name, places, words
    ("edges that hold", {}, NO),
    ("no edge at all", {"VECTORS": ""}, "no edge tells"),
    ("an edge the wrong way", {"VECTORS": "vector 0 (BSFO) (BSFO) (BSFO)\n  edge 1 2 vector 0"}, "reference 2 and later"),
    ("a distance that is too long", {"VECTORS": RIGHT.replace("(F 1)", "(F 2)")}, "at the distance (0, 1)"),
    ("a threshold below the distance", {"LAG": "3", "VECTORS": RIGHT.replace("(F 1)", "(F 2)")}, NO),
    ("the same iteration alone", {"VECTORS": RIGHT.replace("(F 1)", "(S)")}, "which their edge excludes"),
    ("a vector that is not sure", {"VECTORS": RIGHT.replace("vector 0 (", "vector 0 flags 1 (").replace("(F 1)", "(S)")}, NO),
    ("no carried store", {"VECTORS": RIGHT.replace("\n  edge 2 2 vector 1", "")}, "reference 2 and later reference 2"),
    ("bytes that do not meet", {"LAG": "-32", "VECTORS": "vector 0 (BSFO) (F) (BSF)\n  edge 2 2 vector 0"}, NO),
    ("trips that hold", {"INNER": "min 31 max 31 factor 31"}, NO),
    ("more trips than said", {"INNER": "min 1 max 30 factor 1"}, "31 times; its record says at most 30"),
    ("fewer trips than said", {"INNER": "min 32 max 64 factor 1"}, "at least 32"),
    ("no multiple", {"INNER": "min 1 max 64 factor 2"}, "a multiple of 2"),
    ("a way out that a record must count", {"INNER": "min 31 max 31 factor 1", "EARLY": "(CBRANCH (NEQ %i 7) L2)"}, "4 times"),
    ("a variable that is dead behind its loop", {"DEAD": "%i flags 2"}, NO),
    ("one that is written before it is read", {"DEAD": "%i flags 2", "BEHIND": "(ASG %i 5)\n  (PLUSASG %i %i)"}, NO),
    ("one that is read behind its loop", {"DEAD": "%i flags 2", "BEHIND": "(ASG (UMULT (UAND @a)) %i)"}, "nothing reads its variable"),
    ("one that is stepped behind its loop", {"DEAD": "%i flags 2", "BEHIND": "(ASG %i (PLUS %i 1))"}, "nothing reads its variable"),
    ("iterations that are not parallel", {"PRAGMA": "pragma PARALLEL_LOOP()"}, "parallel loop"),
    ("parallel iterations", {"PRAGMA": "pragma PARALLEL_LOOP()", "LAG": "0",
                             "VECTORS": "vector 0 (BSFO) (BSF) (BSF)\n  edge 1 2 vector 0\n  edge 2 1 vector 0\n  edge 2 2 vector 0"}, NO),
    ("aliases where none may be", {"PRAGMA": "pragma LOOP_NO_ALIAS()"}, "without aliases"),
]
C_ROWS = [
    ("a promise kept", "#pragma MUST_ITERATE(4, 12, 4)", "8", NO),
    ("a promise of at least one, none", "#pragma MUST_ITERATE(1)", "0", "at least 1"),
    ("no promise of a first iteration", "#pragma MUST_ITERATE(0, 12)", "0", NO),
    ("more than promised", "#pragma MUST_ITERATE(1, 12)", "13", "at most 12"),
    ("not the promised multiple", "#pragma MUST_ITERATE(1, 12, 4)", "9", "a multiple of 4"),
    ("left in the middle", "#pragma MUST_ITERATE(20, , 4)", "40", NO),
]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True)
    build = parser.parse_args().build
    tool = lambda *p: os.path.join(build, "tools", *p)
    bad = 0

    def check(name, file, argument, words):
        nonlocal bad
        p = subprocess.run([tool("exec", "qlrun"), "--check-records", file, "--"] + argument, capture_output=True, text=True)
        said = p.stderr.strip().splitlines()[0] if p.stderr.strip() else NO
        if words not in said or (words == NO) != (p.returncode == 0):
            print("%s: status %d: %s (expected: %s)" % (name, p.returncode, said, words))
            bad += 1

    with tempfile.TemporaryDirectory() as d:
        text, file = os.path.join(d, "t.ift"), os.path.join(d, "t.if")
        for name, places, words in ROWS:
            program = NEST
            for key, value in {"INNER": "max 4294967295", "VECTORS": RIGHT, "PRAGMA": "", "EARLY": "", "BEHIND": "", "DEAD": "", "LAG": "1", "STRIDE": "4"}.items():
                program = program.replace(key, places.get(key, value))
            open(text, "w").write(program)
            p = subprocess.run([tool("text", "qlasm"), text, "-o", file], capture_output=True, text=True)
            if p.returncode:
                print("%s: %s" % (name, p.stderr.strip()))
                bad += 1
                continue
            check(name, file, [], words)
        for name, pragma, argument, words in C_ROWS:
            source = os.path.join(d, "t.c")
            open(source, "w").write(C_GUARD.replace("PRAGMA", pragma))
            if subprocess.run([tool("parse", "qlparse"), source, "-o", file]).returncode:
                bad += 1
                continue
            check(name, file, [argument], words)
    print("%d claims, %d wrong" % (len(ROWS) + len(C_ROWS), bad))
    return bad != 0


sys.exit(main())
