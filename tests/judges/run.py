#!/usr/bin/env python3
"""The judges' own parts: cutting texts, halving, comparing volatile accesses, the text form taken apart and put together.

run.py --build DIR
"""
import argparse, os, re, subprocess, sys, tempfile, unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tools", "judges"))
import bisectrun, generate, shrink, shrinkc, stages

BUILD = None


def tool(*path):
    return os.path.join(BUILD, "tools", *path)


class CuttingC(unittest.TestCase):
    def shrink(self, text, needed):
        """What is left of TEXT, spaces aside, when it is interesting as long as all of NEEDED match."""
        holds = lambda t: all(re.search(n, re.sub(r"\s+", " ", t)) for n in needed)
        s = shrink.Shrinker(text, holds)
        shrinkc.shrink_c(s)
        return re.sub(r"\s+", " ", s.text).strip()

    def test_only_what_is_needed_stays(self):
        lines = ["line%d;\n" % i for i in range(50)]
        for needed in (["line7"], ["line0", "line49"], ["line3", "line4", "line30"], []):
            self.assertEqual(self.shrink("".join(lines), [r"\b%s;" % n for n in needed]), " ".join(n + ";" for n in needed))

    def test_each_cut(self):
        for text, needed, left in (
            ("void m(void) { if (a) { b(); while (c) { d; } } e; }", [r"m ?\(", r"\bd;"], "void m(void) { d; }"),
            ("void m(void) { if (a) b(); else { c; } }", [r"m ?\(", r"\bc;"], "void m(void) { c; }"),
            ("int t[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9}; int u[4] = {1, 2, 3, 4}; int m = 1;", [r"t\[9\]", "3.*6", r"u\[4\]", "m = 1"],
             "int t[9] = { 3, 6 }; int u[4]; int m = 1;"),
            ("void m(void) { do { a; b; } while (c > 1); }", ["do", r"while ?\("], "void m(void) { do { } while (0); }"),
            ("static int f(int a, int b) { return a; } int m(void) { return f(1, 2) + keep; }", ["keep"],
             "int m(void) { return keep; }"),
            ("int f(int a, int b) { return a / b; } int m(int n) { return f(n * 3, 7); }", [r"int b.*/", r"return f\("],
             "int f(void) { int b; return a / b; } int m(void) { return f(); }"),
            ("typedef long T; void f(T *p) { keep(p); } void m(T *q) { f(q); }", [r"m ?\(.*(f|keep)\([pq]", r"keep\([pq]"], "void m(void) { keep(p); }"),
            ("int f(int a) { return a / 2; } int m(void) { return f(b); }", [r"m ?\(.*return", "return.* / 2", r"\bb\b"],
             "int m(void) { return b / 2; }"),
            ("int m(void) { return (int)(x * (y + 300)) >> 4; }", [r"x \* ?[\w(]"], "int m(void) { return x * 0; }"),
            ("struct s { int a, b[4]; char c; } r = {1, {2}, 3}; int g;", [r"struct s .*int .*b"], "struct s { int b[0]; } r;"),
            ("int m(int n) { switch (n) { case 1: a; case 2: b; break; default: c; } }", [r"switch ?\(", r"\bb;"],
             "int m(void) { switch (0) { b; } }")):
            self.assertEqual(self.shrink(text, needed), left)

    def test_a_program_printed_again_has_the_same_words(self):
        for name in ("tour.c", "descriptors.c", "control.c", "evaluation_order.c", "bitfields.c", "gnu_forms.c", "initialisers.c", "literals.c"):
            with open(os.path.join(HERE, "..", "c", name)) as f:
                tree = shrinkc.parse(f.read())
            self.assertEqual(shrinkc.flat(shrinkc.parse(shrinkc.text_of(tree))), shrinkc.flat(tree), name)

    def test_time_ends_it(self):
        s = shrink.Shrinker("a;\nb;\n", lambda text: True, seconds=-1)
        shrinkc.shrink_c(s)
        self.assertEqual(s.text, "a;\nb;\n")


class CuttingFiles(unittest.TestCase):
    def test_an_operand_gives_way_to_its_parts(self):
        def holds(text):
            trees = [shrink.parse_tree(u) for u in shrink.units(text)]
            return any(t and "DIV" in str(t) for t in trees)
        s = shrink.Shrinker('(ASG @a (PLUS:int (DIV (MULT %x "s)\\000") 12:uint) (UMULT:int (PLUS:ptr(int) %p 4))))\n', holds)
        shrink.shrink_text_form(s)
        self.assertEqual(s.text.strip(), "(DIV 0 0:uint)")


class TextForm(unittest.TestCase):
    def test_trees_written_again_make_the_same_file(self):
        with tempfile.TemporaryDirectory() as d:
            at = lambda n: os.path.join(d, n)
            for name in ("tour.c", "bitfields.c", "literals.c", "complexes.c"):
                subprocess.run([tool("parse", "qlparse"), os.path.join(HERE, "..", "c", name), "-o", at("a.if")], check=True)
                subprocess.run([tool("text", "qldump"), at("a.if"), "-o", at("a.ift")], check=True)
                with open(at("a.ift")) as f:
                    bare = "\n".join(l.split(" ; ")[0] if " ; " in l and '"' not in l.split(" ; ")[1] else l
                                     for l in f.read().split("\n"))
                trees, parts = 0, []
                for unit in shrink.units(bare):
                    tree = shrink.parse_tree(unit) if unit.strip().startswith("(") else None
                    trees += tree is not None
                    parts.append(shrink.write_tree(tree) if tree is not None else unit)
                self.assertGreater(trees, 50, name)
                for text, out in ((bare, "b"), (shrink.join_units(parts), "c")):
                    with open(at(out + ".ift"), "w") as f:
                        f.write(text)
                    subprocess.run([tool("text", "qlasm"), at(out + ".ift"), "-o", at(out + ".if")], check=True)
                with open(at("b.if"), "rb") as b, open(at("c.if"), "rb") as c:
                    self.assertEqual(b.read(), c.read(), name)


class Halving(unittest.TestCase):
    def test_the_first_number_that_fails(self):
        for threshold in (1, 2, 3, 4, 5, 63, 64, 65, 1000, 123457):
            self.assertEqual(bisectrun.first_failing(lambda n: n >= threshold), threshold)

    def test_always_and_never(self):
        self.assertEqual(bisectrun.first_failing(lambda n: True), 0)
        self.assertIsNone(bisectrun.first_failing(lambda n: False, 1 << 20))


class Volatile(unittest.TestCase):
    def order(self, *lines):
        return stages.volatile_order(b"".join(b"volatile " + l.encode() + b"\n" for l in lines))

    def test_moved_objects_are_the_same_and_other_orders_are_not(self):
        first = self.order("R4 0x00100000 00000001", "W2 0x00100008 00000002", "R4 0x00100000 00000001")
        self.assertEqual(first, self.order("R4 0x00200040 00000001", "W2 0x00200000 00000002", "R4 0x00200040 00000001"))
        for other in (["W2 0x00100008 00000002", "R4 0x00100000 00000001", "R4 0x00100000 00000001"],
                      ["R4 0x00100000 00000001", "W2 0x00100008 00000002"],
                      ["R4 0x00100000 00000001", "W2 0x00100008 00000003", "R4 0x00100000 00000001"],
                      ["R4 0x00100000 00000001", "W4 0x00100008 00000002", "R4 0x00100000 00000001"],
                      ["R4 0x00100000 00000001", "W2 0x00100000 00000002", "R4 0x00100000 00000001"]):
            self.assertNotEqual(first, self.order(*other), other)

    def test_the_stack_has_no_places_and_addresses_no_values(self):
        self.assertEqual(self.order("W4 0xefffffc0 00100000"), self.order("W4 0xefffff00 00100440"))


class Programs(unittest.TestCase):
    def test_a_seed_is_a_program_and_seeds_differ(self):
        for size in generate.SIZES:
            texts = {generate.program(seed, size) for seed in list(range(20)) * 2}
            self.assertEqual(len(texts), 20)


if __name__ == "__main__":
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", required=True)
    args, rest = ap.parse_known_args()
    BUILD = os.path.abspath(args.build)
    unittest.main(argv=[sys.argv[0]] + rest)
