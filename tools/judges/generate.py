#!/usr/bin/env python3
"""Random C programs with defined behaviour, for what optimizers get wrong.

generate.py --seed N [--size small|normal|large] [-o FILE.c]

A program is a set of global objects and a chain of functions, each of one kind: loop nests, pointer walks, records and
bit-fields, switch ladders, recursion, variable arguments, floats with NaN, kept addresses, jumps. A function may only
call those before it, so the calls end; its cost is estimated and calls that would make a run long are left out. main
calls them all and prints a checksum after each, so that the first wrong line names the function.

Behaviour is defined by construction: an integer expression carries the interval of its values; where a signed operation
could leave its type it is done unsigned, a divisor excludes zero, a shift count its width, a subscript the array's bounds.
Nothing is read before it is written; an operand that has side effects stands where C orders it. The judges check the
programs with the compilers' sanitizer all the same.

The same seed gives the same program everywhere: the random numbers are our own.
"""
import argparse, sys

SIZES = {"small": (2, 3, 2, 6000), "normal": (5, 5, 3, 60000), "large": (12, 8, 4, 300000)}

INTEGERS = {"s8": ("signed char", 8, True), "u8": ("unsigned char", 8, False), "s16": ("short", 16, True),
            "u16": ("unsigned short", 16, False), "s32": ("int", 32, True), "u32": ("unsigned", 32, False),
            "s64": ("long long", 64, True), "u64": ("unsigned long long", 64, False)}
FLOATS = {"f32": "float", "f64": "double"}


class Random:
    def __init__(self, seed):
        self.state = (seed * 0x9E3779B97F4A7C15 + 0x1234567) & (2**64 - 1) or 1

    def bits(self):
        x = self.state
        x ^= (x << 13) & (2**64 - 1)
        x ^= x >> 7
        x ^= (x << 17) & (2**64 - 1)
        self.state = x
        return (x * 0x2545F4914F6CDD1D & (2**64 - 1)) >> 32

    def upto(self, n):
        """0 to n - 1"""
        return self.bits() % n

    def between(self, a, b):
        return a + self.upto(b - a + 1)

    def chance(self, percent):
        return self.upto(100) < percent

    def pick(self, things):
        return things[self.upto(len(things))]

    def weighted(self, pairs):
        n = self.upto(sum(w for w, _ in pairs))
        for w, thing in pairs:
            n -= w
            if n < 0:
                return thing


def span(t):
    _, bits, signed = INTEGERS[t]
    return (-(1 << bits - 1), (1 << bits - 1) - 1) if signed else (0, (1 << bits) - 1)


def promoted(t):
    return t if t in FLOATS or INTEGERS[t][1] >= 32 else "s32"


def common(a, b):
    """The usual arithmetic conversions."""
    a, b = promoted(a), promoted(b)
    for t in ("f64", "f32", "u64", "s64", "u32"):
        if t in (a, b):
            return t
    return "s32"


def c_type(t):
    return FLOATS.get(t) or INTEGERS[t][0]


def literal(value, t):
    lo, hi = span(t)
    assert lo <= value <= hi
    suffix = {"u32": "u", "s64": "ll", "u64": "ull"}.get(t, "")
    if value < 0:
        return "(%d%s - 1)" % (value + 1, suffix) if value == lo and t in ("s32", "s64") else "(%d%s)" % (value, suffix)
    return "%d%s" % (value, suffix)


class E:
    """An expression: text that binds tightly, type, interval (None for floats), whether it is a constant."""

    def __init__(self, text, t, lo=None, hi=None, constant=False):
        self.text, self.t, self.lo, self.hi, self.constant = text, t, lo, hi, constant
        if t in INTEGERS and lo is None:
            self.lo, self.hi = span(t)


class Var:
    """A scalar place: text, type, the interval its values keep, whether statements may store to it, and whether a store
    cuts a value to that interval by itself, as that to a bit-field does (its type is the promoted one)."""

    def __init__(self, text, t, lo=None, hi=None, writable=True, truncates=False):
        self.text, self.t, self.writable, self.truncates = text, t, writable, truncates
        if t in INTEGERS:
            full = span(t)
            self.lo, self.hi = (full[0] if lo is None else lo), (full[1] if hi is None else hi)
        else:
            self.lo = self.hi = None


class Array:
    """text[0] to text[length - 1] are elements of type t with values in [lo, hi]."""

    def __init__(self, text, t, length, lo=None, hi=None, writable=True):
        self.text, self.t, self.length, self.writable = text, t, length, writable
        v = Var(text, t, lo, hi)
        self.lo, self.hi = v.lo, v.hi

    def element(self, subscript):
        return Var("%s[%s]" % (self.text, subscript), self.t, self.lo, self.hi, self.writable)


class Grid:
    """text[0][0] to text[rows - 1][columns - 1], as Array."""

    def __init__(self, text, t, rows, columns):
        self.text, self.t, self.rows, self.columns, self.writable = text, t, rows, columns, True


class Function:
    """PARAMETERS: types. PURE: no side effects, so that a call may stand anywhere in an expression."""

    def __init__(self, name, result, parameters, cost, pure):
        self.name, self.result, self.parameters, self.cost, self.pure = name, result, parameters, cost, pure


class Scope:
    """What a statement sees: variables, arrays, loop counters; how often it runs, and the cost of the function so far
    (shared by its scopes). ALONE: no global object is touched. LOOP: what "break" and "continue" would mean."""

    def __init__(self, parent=None, times=1, alone=False):
        self.variables = list(parent.variables) if parent else []
        self.arrays = list(parent.arrays) if parent else []
        self.counters = list(parent.counters) if parent else []
        self.times = parent.times * times if parent else times
        self.records = list(parent.records) if parent else []  # local ones: (text, struct, 0)
        self.loop = parent.loop if parent else ""
        self.alone = parent.alone if parent else alone
        self.spent = parent.spent if parent else [0]

    def charge(self, cost):
        self.spent[0] += cost * self.times


class Constants(Scope):
    """A scope in which only constants are read."""


class Program:
    def __init__(self, seed, size):
        self.rnd = Random(seed)
        self.seed = seed
        self.n_functions, self.n_statements, self.depth, self.budget = SIZES[size]
        self.size = size
        self.scalars, self.arrays, self.grids, self.functions = [], [], [], []
        self.structs, self.records, self.devices = [], [], []
        self.top, self.bodies, self.calls = [], [], []
        self.number = 0

    def fresh(self, prefix):
        self.number += 1
        return "%s%d" % (prefix, self.number)

    # ---- constants and expressions

    def constant(self, t, lo=None, hi=None):
        """A value of integer type T within [LO, HI], mostly one at an edge."""
        low, high = span(t)
        lo, hi = max(low, low if lo is None else lo), min(high, high if hi is None else hi)
        r = self.rnd
        kind = r.upto(10)
        if kind < 4:
            value = r.pick([0, 1, 2, 3, 4, 5, 7, 8, 10, 16, -1, -2, -3, -8])
        elif kind < 7:
            k = r.upto(INTEGERS[t][1])
            value = (1 << k) + r.between(-1, 1)
            if r.chance(30):
                value = -value
        elif kind == 7:
            value = r.pick([lo, hi, lo + 1, hi - 1])
        elif kind == 8:
            value = r.pick([0xFF, 0xFF00, 0xFFFF, 0x7F, 0x80, 0x8000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFF00FF, 100,
                            1000, -100, 12345])
        else:
            value = r.bits() << 32 | r.bits() if INTEGERS[t][1] > 32 else r.bits()
        if not lo <= value <= hi:
            value = lo + value % (hi - lo + 1)
        return E(literal(value, t if INTEGERS[t][1] >= 32 else "s32"), t if INTEGERS[t][1] >= 32 else "s32", value, value,
                 True)

    def float_constant(self, t):
        text = self.rnd.pick(["0.0", "1.0", "-1.0", "0.5", "2.0", "3.25", "-0.0", "100.0", "1e10", "1e-10", "0.1", "-7.75",
                              "65536.0", "1e30", "0.0 / zero", "1.0 / zero"])
        if t == "f32":
            return E("(float)(%s)" % text if "/" in text else "(%sf)" % text, t)
        return E("(%s)" % text, t)

    def shared(self, scope):
        """The global scalars and arrays that a function may touch; none but tables for one without side effects."""
        return ([], [a for a in self.arrays if not a.writable]) if scope.alone else (self.scalars, self.arrays)

    def read(self, scope, want=None):
        """Some place that can be read, as an expression; a constant where there is none."""
        r = self.rnd
        if isinstance(scope, Constants):
            return self.float_constant(want) if want in FLOATS else self.constant(want or r.pick(["s32", "u32", "s64", "u64"]))
        scalars, shared = self.shared(scope)
        places = [v for v in scope.variables + scalars if not want or v.t == want]
        arrays = [a for a in scope.arrays + shared if not want or a.t == want]
        if not scope.alone:
            arrays += [g for g in self.grids if not want or g.t == want]
        if arrays and (not places or r.chance(35)):
            v = self.element(scope, r.pick(arrays))
            return E(v.text, v.t, v.lo, v.hi)
        if not places or r.chance(8):
            t = want or r.pick(list(INTEGERS))
            return self.float_constant(t) if t in FLOATS else self.constant(t)
        # what is near is read more often than globals
        local = [v for v in scope.variables if not want or v.t == want]
        v = r.pick(local) if local and r.chance(70) else r.pick(places)
        return E(v.text, v.t, v.lo, v.hi)

    def element(self, scope, a):
        """Some element of an array or grid."""
        if isinstance(a, Grid):
            return Var("%s[%s][%s]" % (a.text, self.subscript(scope, a.rows), self.subscript(scope, a.columns)), a.t)
        return a.element(self.subscript(scope, a.length))

    def subscript(self, scope, length):
        """The text of an expression with values in [0, LENGTH - 1]; often affine in the loop counters."""
        r = self.rnd
        counters = [v for v in scope.counters if v.hi < length and v.lo >= 0]
        kind = r.upto(10)
        if scope.counters and kind < 6:
            v = r.pick(scope.counters)
            options = []
            if counters:
                w = r.pick(counters)
                options.append(w.text)
                options.append(w.text)
                if length - 1 - w.hi > 0:
                    options.append("%s + %d" % (w.text, r.between(1, length - 1 - w.hi)))
                if w.lo > 0:
                    options.append("%s - %d" % (w.text, r.between(1, w.lo)))
                options.append("%d - %s" % (length - 1, w.text))
                if w.hi - w.lo > 0 and w.hi * 2 + 1 < length:
                    options.append("%s * 2 + %d" % (w.text, r.upto(2)))
                    options.append("(%s << 1)" % w.text)
                options.append("%s >> %d" % (w.text, r.between(1, 2)))
                for u in counters:
                    if u is not w and u.hi + w.hi < length:
                        options.append("%s + %s" % (u.text, w.text))
                    if u is not w and w.hi * (u.hi + 1) + u.hi < length:
                        options.append("%s * %d + %s" % (w.text, u.hi + 1, u.text))
            if v.lo >= 0 and v.hi < 30000:
                options.append("(%s * %d + %d) %% %d" % (v.text, r.between(1, 7), r.upto(9), length))
                options.append("%s * %s %% %d" % (v.text, v.text, length))
            if options:
                return r.pick(options)
        if kind < 8:
            return str(r.upto(length))
        e = self.expression(scope, 1, integer=True)
        if length & (length - 1) == 0:
            return "%s & %d" % (e.text, length - 1)
        return "(unsigned)%s %% %du" % (e.text, length)

    def expression(self, scope, depth, want=None, integer=False):
        """An expression. WANT: its type is converted to this one by the reader of it (a hint), INTEGER: no float."""
        r = self.rnd
        if integer and want in FLOATS:
            want = None
        if depth <= 0 or r.chance(12):
            e = self.read(scope, want if want and r.chance(60) else None)
            return e if not (integer and e.t in FLOATS) else self.constant(want or "s32")
        kind = r.weighted([(34, "arithmetic"), (12, "bits"), (9, "shift"), (7, "divide"), (10, "compare"), (5, "logical"),
                           (6, "choice"), (7, "unary"), (8, "cast"), (6, "float"), (6, "call"), (5, "minmax"), (4, "idiom"),
                           (6, "piece"), (4, "constants")])
        if kind == "float" and integer:
            kind = "arithmetic"
        return getattr(self, "e_" + kind)(scope, depth, want)

    def integer(self, scope, depth, want=None):
        return self.expression(scope, depth, want, True)

    def e_arithmetic(self, scope, depth, want):
        r = self.rnd
        a = self.integer(scope, depth - 1, want)
        b = self.constant(promoted(a.t)) if r.chance(35) else self.integer(scope, depth - 1, want)
        if r.chance(15):
            a, b = b, a
        return self.combine(r.pick(["+", "+", "-", "-", "*"]), a, b)

    def combine(self, op, a, b):
        """a op b; where the type can't hold it, modulo the type's size."""
        t = common(a.t, b.t)
        if op == "+":
            lo, hi = a.lo + b.lo, a.hi + b.hi
        elif op == "-":
            lo, hi = a.lo - b.hi, a.hi - b.lo
        else:
            ends = [x * y for x in (a.lo, a.hi) for y in (b.lo, b.hi)]
            lo, hi = min(ends), max(ends)
        low, high = span(t)
        text = "(%s %s %s)" % (a.text, op, b.text)
        converts = INTEGERS[t][2] or (a.lo >= 0 and b.lo >= 0)
        if converts and low <= lo and hi <= high:
            return E(text, t, lo, hi, a.constant and b.constant)
        if not INTEGERS[t][2]:
            return E(text, t)
        unsigned = "u" + t[1:]
        e = E("((%s)%s %s (%s)%s)" % (c_type(unsigned), a.text, op, c_type(unsigned), b.text), unsigned)
        return e if self.rnd.chance(40) else E("(%s)%s" % (c_type(t), e.text), t)

    def e_constants(self, scope, depth, want):
        """What can be computed before the program runs."""
        return getattr(self, self.rnd.pick(["e_arithmetic", "e_bits", "e_shift", "e_divide", "e_compare", "e_compare", "e_cast",
                                            "e_unary", "e_choice"]))(Constants(scope), 1, want)

    def e_bits(self, scope, depth, want):
        r = self.rnd
        a = self.integer(scope, depth - 1, want)
        b = self.constant(promoted(a.t)) if r.chance(50) else self.integer(scope, depth - 1, want)
        op = r.pick("&&|^")
        t = common(a.t, b.t)
        e = E("(%s %s %s)" % (a.text, op, b.text), t)
        if op == "&":
            for x in (a, b):
                if x.lo >= 0:
                    e.lo, e.hi = 0, min(e.hi, x.hi)
        elif a.lo >= 0 and b.lo >= 0:
            e.lo, e.hi = 0, min(e.hi, (1 << max(a.hi.bit_length(), b.hi.bit_length())) - 1)
        return e

    def e_shift(self, scope, depth, want):
        r = self.rnd
        a = self.integer(scope, depth - 1, want)
        t = promoted(a.t)
        width = INTEGERS[t][1]
        if r.chance(75):
            n = r.pick([1, 2, 3, 4, 7, 8, 15, 16, 24, width - 1, width // 2, r.upto(width)])
            count, least, most = str(n), n, n
        else:
            c = self.integer(scope, depth - 1)
            k = r.pick([3, 7, 15, width - 1])
            count, least, most = "(%s & %d)" % (c.text, k), 0, k
        if r.chance(50):
            lo, hi = (a.lo >> (least if a.lo < 0 else most)), (a.hi >> (most if a.hi < 0 else least))
            return E("(%s >> %s)" % (a.text, count), t, lo, hi)
        if INTEGERS[t][2] and not (a.lo >= 0 and a.hi << most <= span(t)[1]):
            e = E("((%s)%s << %s)" % (c_type("u" + t[1:]), a.text, count), "u" + t[1:])
            return e if r.chance(50) else E("(%s)%s" % (c_type(t), e.text), t)
        if not INTEGERS[t][2] and a.hi << most > span(t)[1]:
            return E("(%s << %s)" % (a.text, count), t)
        return E("(%s << %s)" % (a.text, count), t, a.lo << least, a.hi << most)

    def e_divide(self, scope, depth, want):
        r = self.rnd
        a = self.integer(scope, depth - 1, want)
        if r.chance(70):
            b = self.constant(promoted(a.t), 1, None)
            if a.lo > span(promoted(a.t))[0] and r.chance(25):
                b = E("(-%s)" % b.text, b.t, -b.hi, -b.lo, True)
                if not INTEGERS[b.t][2]:
                    b = E("7", "s32", 7, 7, True)
        else:
            c = self.integer(scope, depth - 1)
            k = r.pick([1, 3, 15, 255])
            b = E("((%s & %d) + 1)" % (c.text, k), common(c.t, "s32"), 1, k + 1)
        t = common(a.t, b.t)
        op = r.pick("/%")
        e = E("(%s %s %s)" % (a.text, op, b.text), t)
        if INTEGERS[t][2] and b.lo > 0:
            if op == "/":
                e.lo, e.hi = (a.lo if a.lo < 0 else 0), max(a.hi, 0)
            else:
                e.lo, e.hi = (-(b.hi - 1) if a.lo < 0 else 0), b.hi - 1 if a.hi > 0 else 0
        elif op == "%" and b.lo > 0:
            e.lo, e.hi = 0, b.hi - 1
        return e

    def e_compare(self, scope, depth, want):
        r = self.rnd
        if r.chance(12):
            a, b = self.floating(scope, depth - 1), self.floating(scope, depth - 1)
        else:
            a = self.integer(scope, depth - 1)
            b = self.constant(promoted(a.t)) if r.chance(50) else self.integer(scope, depth - 1)
        return E("(%s %s %s)" % (a.text, r.pick(["<", "<=", ">", ">=", "==", "!="]), b.text), "s32", 0, 1)

    def e_logical(self, scope, depth, want):
        r = self.rnd
        if r.chance(30):
            return E("(!%s)" % self.expression(scope, depth - 1).text, "s32", 0, 1)
        a, b = self.expression(scope, depth - 1), self.expression(scope, depth - 1)
        return E("(%s %s %s)" % (a.text, r.pick(["&&", "||"]), b.text), "s32", 0, 1)

    def e_choice(self, scope, depth, want):
        c = self.expression(scope, depth - 1)
        a, b = self.integer(scope, depth - 1, want), self.integer(scope, depth - 1, want)
        t = common(a.t, b.t)
        e = E("(%s ? %s : %s)" % (c.text, a.text, b.text), t)
        if INTEGERS[t][2] or (a.lo >= 0 and b.lo >= 0):
            e.lo, e.hi = min(a.lo, b.lo), max(a.hi, b.hi)
        return e

    def e_unary(self, scope, depth, want):
        r = self.rnd
        a = self.integer(scope, depth - 1, want)
        t = promoted(a.t)
        if r.chance(50):
            return E("(~%s)" % a.text, t, ~a.hi, ~a.lo) if INTEGERS[t][2] else E("(~%s)" % a.text, t)
        if not INTEGERS[t][2]:
            return E("(-%s)" % a.text, t)
        if a.lo == span(t)[0]:
            return E("(%s)(-(%s)%s)" % (c_type(t), c_type("u" + t[1:]), a.text), t)
        return E("(-%s)" % a.text, t, -a.hi, -a.lo)

    def e_cast(self, scope, depth, want):
        r = self.rnd
        t = r.pick(list(INTEGERS))
        a = self.integer(scope, depth - 1)
        e = E("((%s)%s)" % (c_type(t), a.text), t)
        if e.lo <= a.lo and a.hi <= e.hi:
            e.lo, e.hi = a.lo, a.hi
        return e

    def e_piece(self, scope, depth, want):
        """A part of a value, cut out by a shift and a conversion: the shift leaves just the bits of the type, or some
        more or less, and the two agree about the sign or not."""
        r = self.rnd
        a = self.integer(scope, depth - 1)
        wide, narrow = r.pick(["s32", "u32", "s64", "u64"]), r.pick(list(INTEGERS))
        width, kept = INTEGERS[wide][1], min(INTEGERS[narrow][1], INTEGERS[wide][1])
        count = r.pick([width - kept, width - kept, width - kept, width - kept + 1, width - kept - 1, kept, kept - 1])
        count = min(max(count, 0), width - 1)
        text = "(%s)%s >> %d" % (c_type(wide), a.text, count)
        if r.chance(25):
            keep = r.pick([width - count, kept, kept - 1])
            text = "(%s) & %s" % (text, literal((1 << min(keep, width - 1)) - 1, wide))
        return E("((%s)(%s))" % (c_type(narrow), text), narrow)

    def floating(self, scope, depth, want=None):
        r = self.rnd
        t = want or r.pick(["f32", "f64"])
        if depth <= 0 or r.chance(20):
            return self.read(scope, t)
        kind = r.upto(8)
        if kind < 4:
            a, b = self.floating(scope, depth - 1), self.floating(scope, depth - 1)
            return E("(%s %s %s)" % (a.text, r.pick("+-*/"), b.text), common(a.t, b.t))
        if kind == 4:
            a = self.floating(scope, depth - 1)
            return E("(-%s)" % a.text, a.t)
        if kind == 5:
            c, a, b = self.expression(scope, depth - 1), self.floating(scope, depth - 1), self.floating(scope, depth - 1)
            return E("(%s ? %s : %s)" % (c.text, a.text, b.text), common(a.t, b.t))
        if kind == 6:
            return E("((%s)%s)" % (c_type(t), self.integer(scope, depth - 1).text), t)
        return E("((%s)%s)" % (c_type(t), self.floating(scope, depth - 1).text), t)

    def e_float(self, scope, depth, want):
        """A float, taken to an integer where that is defined."""
        a = self.floating(scope, min(depth - 1, 2))
        t = self.rnd.pick(["s32", "s32", "u32", "s64", "s16", "u8"])
        low, high = (0 if t[0] == "u" else -100), 100
        return E("((%s >= %d && %s <= %d) ? (%s)%s : %d)" % (a.text, low, a.text, high, c_type(t), a.text, low), promoted(t),
                 low, high)

    def e_minmax(self, scope, depth, want):
        r = self.rnd
        a = self.read(scope)
        if a.t in FLOATS:
            a = self.constant("s32")
        b = self.constant(promoted(a.t)) if r.chance(50) else self.read(scope, a.t)
        t = common(a.t, b.t)
        e = E("(%s %s %s ? %s : %s)" % (a.text, r.pick("<>"), b.text, a.text, b.text), t)
        if INTEGERS[t][2] or (a.lo >= 0 and b.lo >= 0):
            e.lo, e.hi = min(a.lo, b.lo), max(a.hi, b.hi)
        return e

    def e_idiom(self, scope, depth, want):
        """Shapes that programs write and rewriters know: sign tests, rotations, extraction, absolute values."""
        r = self.rnd
        v = self.integer(scope, min(1, depth - 1))
        x = "(unsigned)%s" % v.text
        n, m = r.between(1, 31), r.between(0, 31)
        text, t, lo, hi = r.pick([
            ("((%s << %d) | (%s >> %d))" % (x, n, x, 32 - n), "u32", None, None),
            ("((%s >> %d) & %du)" % (x, n, (1 << r.between(1, 31 - n + 1)) - 1), "u32", None, None),
            ("((int)(%s << %d) >> %d)" % (x, n, n), "s32", None, None),
            ("((%s << %d) >> %d)" % (x, n, n), "u32", None, None),
            ("((%s %s %d) %s %d)" % (x, r.pick(["<<", ">>"]), n, r.pick(["<<", ">>"]), m), "u32", None, None),
            ("((%s >> %d) << %d)" % (x, min(n, m), max(n, m)), "u32", None, None),
            ("((%s & 0xFF00u) >> 8)" % x, "u32", 0, 255),
            ("((%s >> 31) & 1u)" % x, "u32", 0, 1),
            ("((int)%s >> 31)" % x, "s32", -1, 0),
            ("((%s & %du) != 0)" % (x, 1 << n), "s32", 0, 1),
            ("((%s & 15u) * 5 / 5)" % x, "u32", None, None),
            ("(%s - %s / %du * %du)" % (x, x, n, n), "u32", None, None),
            ("((%s ^ 0x80000000u) > 0x80000000u)" % x, "s32", 0, 1),
            ("((%s + 1u) <= %du)" % (x, n), "s32", 0, 1),
            ("(%s - 3u < %du)" % (x, n), "s32", 0, 1),
            ("(((int)(%s & 0xFFFFu) - 5) < %d)" % (x, n), "s32", 0, 1),
            ("((long long)(int)%s * (int)(%s >> %d))" % (x, x, n), "s64", None, None),
            ("((unsigned long long)%s << %d)" % (x, n), "u64", None, None),
            ("(unsigned)(((unsigned long long)%s * 0x%Xu) >> 32)" % (x, r.bits() | 1), "u32", None, None),
            ("((short)%s * (short)(%s >> 16))" % (x, x), "s32", -(1 << 30), 1 << 30),
        ])
        return E("(%s)" % text, t, lo, hi)

    def e_call(self, scope, depth, want):
        """A call of a function without side effects; an ordinary expression where there is none that fits."""
        candidates = [f for f in self.functions if f.pure and self.affords(scope, f.cost)]
        if not candidates:
            return self.e_arithmetic(scope, depth, want)
        f = self.rnd.pick(candidates)
        scope.charge(f.cost)
        args = [self.integer(scope, min(1, depth - 1)).text for t in f.parameters]
        return E("%s(%s)" % (f.name, ", ".join(args)), f.result)

    def affords(self, scope, cost):
        return scope.spent[0] + cost * scope.times < self.budget

    # ---- stores

    def fitted(self, e, lo, hi, t):
        """The text of E as a value for a place of type T that keeps to [LO, HI]."""
        full = span(t)
        if (lo, hi) == full or (lo <= e.lo and e.hi <= hi):
            return e.text
        if e.t in FLOATS:
            return str(lo)
        if lo == 0 and hi & (hi + 1) == 0:
            return "%s & %d" % (e.text, hi)
        if lo == 0:
            return "(unsigned)%s %% %du" % (e.text, hi + 1)
        bound = min(-lo, hi)
        return "(int)((unsigned)%s %% %du) - %d" % (e.text, 2 * bound + 1, bound)

    def assign(self, scope, v, depth):
        """A statement that stores to V, which is a place."""
        r = self.rnd
        if v.t in FLOATS:
            e = self.floating(scope, depth)
            op = r.pick(["=", "=", "+=", "-=", "*="])
            return "%s %s %s;" % (v.text, op, e.text)
        full = v.truncates or (v.lo, v.hi) == span(v.t)
        kind = r.upto(10)
        if full and kind == 0:
            if v.t == "s32" or v.t == "s64":
                return "%s = (%s)((%s)%s + 1);" % (v.text, c_type(v.t), c_type("u" + v.t[1:]), v.text)
            return r.pick(["%s++;", "%s--;", "++%s;", "--%s;"]) % v.text
        if full and kind < 4:
            op = r.pick(["+=", "-=", "^=", "|=", "&=", "*=", ">>=", "<<="])
            narrow = INTEGERS[v.t][1] < 32
            if op in (">>=", "<<="):
                limit = 31 if op == ">>=" or not narrow else 15
                if op == "<<=" and INTEGERS[v.t][2]:
                    op = ">>="
                return "%s %s %d;" % (v.text, op, r.upto(min(limit, INTEGERS[v.t][1] - 1)) + 0)
            if op in ("^=", "|=", "&="):
                return "%s %s %s;" % (v.text, op, self.integer(scope, depth).text)
            e = self.integer(scope, depth)
            t = common(v.t, e.t)
            if INTEGERS[t][2]:
                # the sum is made in a signed type: only where it fits
                made = self.combine(op[0], E(v.text, v.t, v.lo, v.hi), e)
                if not made.text.startswith("(" + v.text):
                    return "%s %s (%s)%s;" % (v.text, op, c_type("u32" if t == "s32" else "u64"), e.text)
            return "%s %s %s;" % (v.text, op, e.text)
        e = self.integer(scope, depth, v.t)
        return "%s = %s;" % (v.text, e.text if full else self.fitted(e, v.lo, v.hi, v.t))

    def target(self, scope):
        """A place that may be stored to; None where there is none."""
        r = self.rnd
        places = [v for v in scope.variables if v.writable]
        scalars, tables = self.shared(scope)
        arrays = [a for a in scope.arrays + tables if a.writable]
        shared = [v for v in scalars if v.writable]
        kind = r.upto(10)
        if not scope.alone:
            arrays += self.grids
        if arrays and kind < 4:
            return self.element(scope, r.pick(arrays))
        if places and kind < 8:
            return r.pick(places)
        return r.pick(shared) if shared else r.pick(places) if places else None


    # ---- statements; each gives lines of text

    def statements(self, scope, count, depth):
        lines = []
        for _ in range(count):
            lines += self.statement(scope, depth)
        return lines

    def statement(self, scope, depth):
        r = self.rnd
        scope.charge(1)
        kind = r.weighted([(40, "store"), (14, "if"), (12 if depth > 0 else 0, "loop"), (6 if depth > 0 else 0, "switch"),
                           (6, "step"), (8, "called"), (5, "leave"), (4, "chain"), (4, "block"), (5, "record"),
                           (3, "condition"), (3, "around"), (3, "value"), (2 if depth > 1 else 0, "nest"), (3, "device"), (2, "pun"),
                           (4 if depth > 0 else 0, "siblings"), (4 if depth > 0 else 0, "constant"), (1 if depth > 0 else 0, "duff")])
        return getattr(self, "s_" + kind)(scope, depth)

    def s_store(self, scope, depth):
        v = self.target(scope)
        return [self.assign(scope, v, self.rnd.between(1, self.depth))] if v else [";"]

    def s_if(self, scope, depth):
        r = self.rnd
        condition = self.expression(scope, r.between(1, 2)) if r.chance(92) else \
            r.pick([self.constant("s32"), self.combine("*", self.constant("s32", -9, 9), self.constant("s32", 0, 1))])
        lines = ["if (%s) {" % condition.text]
        lines += indent(self.statements(Scope(scope), r.between(1, 2), depth - 1))
        if r.chance(45):
            lines += ["} else {"] + indent(self.statements(Scope(scope), r.between(1, 2), depth - 1))
        return lines + ["}"]

    def s_block(self, scope, depth):
        inner = Scope(scope)
        lines = ["{"] + indent(self.locals(inner, self.rnd.between(0, 2), 50))
        lines += indent(self.statements(inner, self.rnd.between(1, 3), depth - 1)) + ["}"]
        # a second one beside it, whose variables may lie in the same place
        return lines + self.s_block(scope, depth - 1) if self.rnd.chance(50) and depth > 0 else lines

    def s_siblings(self, scope, depth):
        """A block with an array around blocks with arrays of the same type: which of them may lie in one place?"""
        r = self.rnd
        t = r.pick(["s32", "u8", "s16", "u32", "u16"])

        def block(scope, depth):
            inner = Scope(scope)
            a = Array(self.fresh("a"), t, r.pick([3, 4, 6, 8]))
            values = ", ".join(self.constant(t).text for _ in range(r.between(1, a.length)))
            inner.arrays.append(a)
            lines = ["%s %s[%d] = {%s};" % (c_type(t), a.text, a.length, values)]
            lines += [self.assign(inner, self.element(inner, a), 1)] + (self.s_store(inner, 0) if r.chance(50) else [])
            for _ in range(r.between(1, 3) if depth > 0 else 0):
                lines += block(inner, depth - 1)
            places = [v for v in scope.variables if v.writable and v.t in ("u8", "u16", "u32", "u64")]
            sum_of = "%s[%d] + %s[%d]" % (a.text, r.upto(a.length), a.text, r.upto(a.length))
            lines.append("%s += (unsigned)%s;" % (r.pick(places).text, sum_of.replace(" + ", " + (unsigned)")) if places else
                         "if (%s) ;" % self.element(inner, a).text)
            return ["{"] + indent(lines) + ["}"]

        return block(scope, r.between(1, 2)) + (block(scope, r.between(0, 1)) if r.chance(60) else [])

    def s_chain(self, scope, depth):
        """a = b = expression, over variables only, so that no order is open."""
        places = [v for v in scope.variables if v.writable and v.t in INTEGERS and (v.lo, v.hi) == span(v.t) and
                  v.text.isidentifier()]
        if len(places) < 2:
            return self.s_store(scope, depth)
        a, b = self.rnd.pick(places), self.rnd.pick(places)
        if a is b:
            return self.s_store(scope, depth)
        return ["%s = %s = %s;" % (a.text, b.text, self.integer(scope, 2).text)]

    def s_value(self, scope, depth):
        """A value that nobody wants, and a comma; volatile objects are read all the same."""
        r = self.rnd
        a = self.expression(scope, 2)
        v = self.target(scope)
        if not v or v.t in FLOATS or r.chance(50):
            return ["(void)%s;" % a.text]
        e = self.integer(scope, 1)
        return ["%s = (%s, %s);" % (v.text, a.text, e.text if v.truncates else self.fitted(e, v.lo, v.hi, v.t))]

    def s_nest(self, scope, depth):
        """Two loops around one store, over a grid or an array as one; affine in both counters."""
        r = self.rnd
        flat = [a for a in self.arrays if a.writable and a.length >= 8 and (a.t in FLOATS or (a.lo, a.hi) == span(a.t))]
        if scope.alone or not (self.grids or flat) or not self.affords(scope, 300):
            return self.s_loop(scope, depth - 1)
        i, j = self.fresh("i"), self.fresh("j")
        low = r.between(0, 1)
        if flat and (not self.grids or r.chance(50)):
            g, h = r.pick(flat), r.pick(flat)
            length = min(g.length, h.length)
            columns = r.between(2, length // 4)
            rows = length // columns
            place = g.element("%s * %d + %s" % (i, columns, j))
            x = h.element("%s * %d + %s" % (i if not low or r.chance(50) else "(%s - 1)" % i, columns,
                                            j if not low or r.chance(50) else "%s - 1" % j) if r.chance(70) else
                          "%s + %s" % (i, j) if r.chance(50) else "%d - %s * %d - %s" % (rows * columns - 1, i, columns, j))
        else:
            g, h = r.pick(self.grids), r.pick(self.grids)
            rows, columns = min(g.rows, h.rows), min(g.columns, h.columns)
            place = Var("%s[%s][%s]" % (g.text, i, j), g.t)
            x = Var("%s[%s - %d][%s - %d]" % (h.text, i, r.upto(low + 1), j, r.upto(low + 1)), h.t)
        inner = Scope(scope, rows * columns)
        inner.loop = "bc"
        for name, first, last in ((i, low, rows - 1), (j, low, columns - 1)):
            counter = Var(name, "s32", first, last, writable=False)
            inner.counters.append(counter)
            inner.variables.append(counter)
        heads = ["for (%s = %d; %s < %d; %s++)" % (i, low, i, rows, i) if r.chance(75) else
                 "for (%s = %d; %s >= %d; %s--)" % (i, rows - 1, i, low, i),
                 "for (%s = %d; %s < %d; %s++)" % (j, low, j, columns, j)]
        if r.chance(30):
            heads.reverse()
        lines = []
        if g.t in FLOATS:
            lines.append("%s %s %s;" % (place.text, r.pick(["=", "+="]), x.text))
        elif h.t in FLOATS:
            lines.append("%s += %s < %s;" % (x.text, place.text, self.constant("s32").text))
        else:
            e = self.combine(r.pick("+-*"), E(x.text, x.t, x.lo, x.hi), self.integer(inner, 1))
            lines.append("%s = %s;" % (place.text, e.text))
        if r.chance(40):
            lines += self.statement(inner, 0)
        return ["{", "    int %s, %s;" % (i, j), "    " + heads[0], "        %s {" % heads[1]] + \
            indent(indent(indent(lines))) + ["        }", "}"]

    def s_step(self, scope, depth):
        """table[i++ & mask] = expression without i."""
        r = self.rnd
        steps = [v for v in scope.variables if v.writable and v.t in ("u8", "u16", "u32") and (v.lo, v.hi) == span(v.t) and
                 v.text.isidentifier()]
        arrays = [a for a in scope.arrays + self.shared(scope)[1] if a.writable and a.length & (a.length - 1) == 0 and
                  a.t in INTEGERS and (a.lo, a.hi) == span(a.t)]
        if not steps or not arrays:
            return self.s_store(scope, depth)
        v, a = r.pick(steps), r.pick(arrays)
        rest = Scope(scope)
        rest.variables = [w for w in scope.variables if w is not v]
        e = self.integer(rest, 2)
        return ["%s[%s & %d] %s %s;" % (a.text, r.pick(["%s++", "%s--", "++%s", "--%s"]) % v.text, a.length - 1,
                                        r.pick(["=", "=", "^=", "|="]), e.text)]

    def s_called(self, scope, depth):
        """A call as a statement of its own, its value to a variable."""
        candidates = [f for f in self.functions if (f.pure or not scope.alone) and self.affords(scope, f.cost)]
        places = [v for v in scope.variables if v.writable and v.t in INTEGERS and (v.lo, v.hi) == span(v.t)]
        if not candidates or not places:
            return self.s_store(scope, depth)
        f, v = self.rnd.pick(candidates), self.rnd.pick(places)
        scope.charge(f.cost)
        args = [self.integer(scope, 1).text for _ in f.parameters]
        call = "%s(%s)" % (f.name, ", ".join(args))
        if self.rnd.chance(15):
            return [self.rnd.pick(["if (%s) ;", "switch (%s) { }", "if (%s > 2) { } else ;", "(void)%s;"]) % call]
        return ["%s %s %s;" % (v.text, self.rnd.pick(["=", "^=", "="]), call)]

    def s_condition(self, scope, depth):
        """Short circuits with effects: C orders them."""
        places = [v for v in scope.variables + self.shared(scope)[0] if v.writable and v.t in ("u8", "u16", "u32", "u64") and
                  (v.lo, v.hi) == span(v.t)]
        if not places:
            return self.s_store(scope, depth)
        r = self.rnd
        a, b = r.pick(places), r.pick(places)
        if r.chance(25):
            # nothing depends on it: what is left is the effect
            test = "%s %s %s" % (a.text, r.pick(["+=", "^=", "-=", "="]), self.integer(Scope(scope), 1).text)
            return r.pick([["if (%s) ;" % test], ["if (!(%s)) {" % test, "}"], ["if ((%s) > 3) { } else ;" % test],
                           ["switch (%s) {" % test, "}"],
                           ["switch (%s) {" % test, "default:"] + indent(self.s_store(scope, 0)) + ["}"]])
        return ["if ((%s %s %s) %s (%s += %s) %s %s)" % (
            a.text, r.pick(["+=", "^=", "-="]), self.constant("s32").text, r.pick(["&&", "||"]), b.text,
            self.constant("s32").text, r.pick(["!=", "<", ">"]), self.constant("s32", 0).text)] + \
            indent(self.s_store(scope, depth))

    def s_leave(self, scope, depth):
        """An early way out: of the loop, of one round, of the function."""
        r = self.rnd
        ways = ["return (unsigned)%s;" % self.integer(scope, 1).text]
        if "b" in scope.loop:
            ways += ["break;"] * 3
        if "c" in scope.loop:
            ways += ["continue;"] * 3
        guard = self.expression(scope, 1)
        if not scope.loop:
            ways[0] = "return %s;" % self.integer(scope, 2).text
        return ["if (%s && %s) %s" % (guard.text, self.e_compare(scope, 1, None).text, r.pick(ways))]

    def s_around(self, scope, depth):
        """A jump forward over statements."""
        label = self.fresh("over")
        lines = ["if (%s) goto %s;" % (self.expression(scope, 1).text, label)]
        lines += self.statements(Scope(scope), self.rnd.between(1, 2), 0)
        return lines + ["%s:;" % label]

    def s_record(self, scope, depth):
        """Traffic of records: members, bit-fields, whole copies."""
        r = self.rnd
        records = scope.records * 2 + ([] if scope.alone else self.records)
        if not records:
            return self.s_store(scope, depth)
        text, struct, length = r.pick(records)
        here = "%s[%s]" % (text, self.subscript(scope, length)) if length else text
        others = [(t, n) for t, s, n in records if s is struct]
        kind = r.upto(7)
        if kind == 0:
            other, n = r.pick(others)
            return ["%s = %s;" % (here, "%s[%s]" % (other, self.subscript(scope, n)) if n else other)]
        if kind == 1:
            p = self.fresh("p")
            lines = ["{", "    struct %s *%s = &%s;" % (struct[0], p, here)]
            for _ in range(r.between(1, 3)):
                lines.append("    " + self.assign(scope, member(p + "->", r.pick(struct[1])), 2))
            return lines + ["}"]
        if kind == 2 and struct[2]:
            other, n = r.pick(others)
            other = "%s[%d]" % (other, r.upto(n)) if n else other
            return ["%s = %s(%s, %s);" % (here, struct[2], other, self.integer(scope, 1).text)]
        if kind == 4 and struct[4]:
            return ["%s = %s(%s);" % (here, struct[4], self.integer(scope, 1).text)]
        if kind == 3 and struct[3]:
            return ["%s(&%s, %s);" % (struct[3], here, self.integer(scope, 1).text)]
        return [self.assign(scope, member(here + ".", r.pick(struct[1])), 2)]

    def s_pun(self, scope, depth):
        """The parts of a union: stored as one type, read as another, through a pointer as well."""
        r = self.rnd
        u, p = self.fresh("u"), self.fresh("p")
        parts = [("w", "u32", 1), ("n", "s32", 1), ("h", "u16", 2), ("k", "s16", 2), ("b", "u8", 4), ("c", "s8", 4), ("d", "u64", 1)]
        names = ["%s %s%s;" % (c_type(t), f, "[%d]" % n if n > 1 else "") for f, t, n in parts]
        lines = ["union { %s } %s = {%s}, *%s = &%s;" % (" ".join(names), u, self.constant("u32").text, p, u), "%s.d = %s;" % (
            u, self.integer(scope, 1).text)]
        inner = Scope(scope)
        for f, t, n in parts:
            for base in (u + ".", p + "->"):
                if n > 1:
                    inner.arrays.append(Array(base + f, t, n))
                else:
                    inner.variables.append(Var(base + f, t))
        own = Scope(alone=True)
        own.variables, own.arrays = inner.variables[-6:], inner.arrays[-8:]
        for _ in range(r.between(1, 3)):
            lines.append(self.assign(r.pick([inner, scope]), self.target(own), 1))
        lines += self.s_store(inner, depth)
        places = [v for v in scope.variables if v.writable and v.t in ("u32", "u64")]
        lines += ["%s ^= %s;" % (r.pick(places).text, r.pick(own.variables).text)] if places else []
        return ["{"] + indent(lines) + ["}"]

    def s_device(self, scope, depth):
        """Volatile members: read, written, changed in place, tested, read for nothing."""
        r = self.rnd
        if scope.alone or not self.devices:
            return self.s_record(scope, depth)
        text, fields = r.pick(self.devices)
        at, lines = text + ".", []
        pointer = r.chance(30)
        if pointer:
            at = self.fresh("p") + "->"
        for _ in range(r.between(1, 3)):
            f = member(at, r.pick(fields))
            v = self.target(scope)
            kind = r.upto(7)
            if kind == 0:
                lines.append("(void)%s;" % f.text)
            elif kind == 1 and v and v.t in INTEGERS:
                lines.append("%s = %s;" % (v.text, f.text if v.truncates else self.fitted(E(f.text, f.t, f.lo, f.hi), v.lo, v.hi, v.t)))
            elif kind == 2:
                lines += ["if (%s %s %s)" % (f.text, r.pick(["&", "<", "=="]), self.constant("s32", 0, 9).text)] + \
                    indent(self.s_store(scope, 0))
            elif kind == 3:
                g = member(at, r.pick(fields))
                lines.append("if (%s && %s) %s = %s;" % (f.text, g.text, g.text, self.constant("s32", 0, 3).text))
            elif kind == 4 and f.t in INTEGERS:
                lines.append("%s %s %s;" % (f.text, r.pick(["|=", "&=", "^="]), self.constant("s32", 0, 99).text))
            else:
                lines.append(self.assign(scope, f, 1))
        if pointer:
            return ["{", "    volatile struct %s *%s = &%s;" % (text + "s", at[:-2], text)] + indent(lines) + ["}"]
        return lines

    def s_constant(self, scope, depth):
        """Branches that always go one way, code that nothing reaches, loops that run once."""
        r = self.rnd
        few = lambda s=scope: indent(self.statements(Scope(s), r.between(1, 2), depth - 1))
        once = Scope(scope)
        once.loop = "b"
        shape = r.upto(9)
        if shape == 0:
            return ["do {"] + indent(self.statements(once, r.between(1, 3), depth - 1)) + ["} while (0);"]
        if shape == 1:
            return [r.pick(["for (;;) {", "while (1) {"])] + indent(self.statements(once, r.between(1, 2), depth - 1)) + \
                ["    break;"] + (few() if r.chance(50) else []) + ["}"]
        if shape == 2:
            label = self.fresh("over")
            return ["goto %s;" % label] + few() + ["%s:;" % label]
        if shape == 3:
            label = self.fresh("inside")
            return ["if (%s) goto %s;" % (self.expression(scope, 1).text, label), "if (%s) {" % r.pick(["0", "1", "1 > 2"])] + \
                few() + ["    %s:;" % label] + few() + ["}"]
        if shape == 4:
            return ["while (0) {"] + few() + ["}"]
        if shape == 5:
            c = self.expression(scope, 1).text
            return ["if (%s) {" % c, "    if (%s) {" % c] + indent(few()) + ["    } else {"] + indent(few()) + ["    }", "}"]
        if shape == 6:
            return ["if (%s) {" % self.expression(scope, 1).text, "} else {"] + few() + ["}"]
        if shape == 7:
            value = r.between(-1, 4)
            lines = ["switch (%d) {" % value]
            for k in sorted({r.between(-1, 4) for _ in range(3)}):
                lines += ["case %d:" % k] + self.case(scope, "")
            return lines + (["default:"] + self.case(scope, "") if r.chance(50) else ["default:", "    ;"]) + ["}"]
        same = few()
        return ["if (%s) {" % self.expression(scope, 1).text] + same + ["} else {"] + same + ["}"] if not any(
            ":" in l and "?" not in l for l in same) else ["{"] + same + ["}"]

    def s_duff(self, scope, depth):
        """A loop that a switch jumps into; every case falls to the next."""
        r = self.rnd
        n, rounds = self.fresh("n"), r.between(1, 4)
        inner = Scope(scope, 3 * rounds)
        inner.loop = ""
        lines = ["{", "    int %s = %d;" % (n, rounds), "    switch (%s & 3) {" % self.integer(scope, 1).text,
                 "    case 0:", "        do {"]
        for k in (3, 2, 1):
            lines += indent(indent(indent(self.s_store(inner, 0)))) + ["    case %d:" % k]
        return lines + indent(indent(indent(self.s_store(inner, 0)))) + ["        } while (--%s > 0);" % n, "    }", "}"]

    def s_switch(self, scope, depth):
        r = self.rnd
        dense = r.chance(55)
        n = r.between(2, 7)
        leaves = r.pick([75, 75, 75, 30, 0])  # per cent of the cases
        if dense:
            first = r.pick([0, 0, 1, -2, 100])
            values = [first + i for i in range(n)]
            if n > 3 and r.chance(40):
                values.remove(r.pick(values[1:-1]))
            wide = r.chance(12)
            selector = "(int)(%s & 7) + %d" % (self.integer(scope, 1).text, first)
            if wide:
                selector = "(long long)(%s)" % selector
        else:
            values = sorted({r.pick([-1000, -1, 0, 1, 5, 10, 77, 255, 256, 1000, 40000, 1 << 20, -(1 << 20), 0x7FFFFFFF])
                             for _ in range(n)})
            selector = self.fitted(self.integer(scope, 1), -(1 << 31), (1 << 31) - 1, "s32")
            selector = "(int)%s" % self.integer(scope, 1).text if r.chance(50) else "(%s & 1) ? %d : %d" % (
                self.integer(scope, 1).text, r.pick(values), r.pick(values))
        if r.chance(30):
            values = values[::-1]
        inner_loop = scope.loop.replace("b", "") + "b"
        lines = ["switch (%s) {" % selector]
        default_at = r.upto(len(values) + 1) if r.chance(70) else -1
        for i, value in enumerate(values + [None]):
            if i == default_at:
                lines.append("default:")
                lines += self.case(scope, inner_loop, leaves)
            if value is not None:
                lines.append("case %s:" % (str(value) if value >= 0 else "(%d)" % value))
                if r.chance(80):
                    lines += self.case(scope, inner_loop, leaves)
        if lines[-1].startswith(("case", "default")):
            lines.append("    ;")
        return lines + ["}"]

    def case(self, scope, loop, leaves=75):
        inner = Scope(scope)
        inner.loop = loop.replace("b", "") if "c" in loop else ""
        lines = indent(self.statements(inner, self.rnd.between(1, 2), 0))
        return lines + (["    break;"] if self.rnd.chance(leaves) else [])

    # ---- loops

    def s_loop(self, scope, depth):
        r = self.rnd
        trips = r.pick([1, 2, 3, 4, 5, 7, 8, 9, 12, 16, 17, 24, 33])
        while trips > 1 and scope.spent[0] + scope.times * trips * 8 > self.budget:
            trips //= 2
        i = self.fresh("i")
        t = r.weighted([(12, "s32"), (6, "u32"), (3, "s16"), (2, "u8"), (2, "s64"), (2, "u16")])
        inner = Scope(scope, trips)
        inner.loop = "bc"
        step = r.pick([1, 1, 1, 1, 2, 3])
        first = r.pick([0, 0, 0, 0, 1, 2, 5])
        last = first + (trips - 1) * step
        shape = r.weighted([(10, "up"), (3, "closed"), (3, "bound"), (3, "down"), (2, "past"), (2, "while"), (2, "do"),
                            (1, "jump"), (1, "unequal"), (1, "counted"), (1, "doubling")])
        counter = Var(i, t, first, last, writable=False)
        inner.counters.append(counter)
        inner.variables.append(counter)
        before, name = [], c_type(t)
        if shape == "up":
            head = "for (%s = %d; %s < %d; %s)" % (i, first, i, last + 1, r.pick(["%s += %d" % (i, step)] if step > 1 else
                                                                                 [i + "++", "++" + i]))
        elif shape == "closed":
            head = "for (%s = %d; %s <= %d; %s += %d)" % (i, first, i, last, i, step)
        elif shape == "bound":
            # known only when it runs; up to TRIPS rounds
            n = self.fresh("n")
            e = self.integer(scope, 1)
            before = ["int %s = (int)((unsigned)%s %% %du);" % (n, e.text, trips + 1)]
            counter.lo, counter.hi = 0, max(0, trips - 1)
            t = "s32"
            counter.t, name = t, c_type(t)
            head = "for (%s = 0; %s < %s; %s++)" % (i, i, n, i)
        elif shape == "down":
            if not INTEGERS[t][2]:
                counter.t, name = "s32", "int"
            head = "for (%s = %d; %s >= %d; %s -= %d)" % (i, last, i, first, i, step)
        elif shape == "past":
            counter.lo, counter.hi = 0, trips - 1
            head = "for (%s = %d; %s-- %s 0;)" % (i, trips, i, "> " if r.chance(50) else "!=")
        elif shape == "unequal":
            head = "for (%s = %d; %s != %d; %s += %d)" % (i, first, i, last + step, i, step)
        elif shape == "doubling":
            counter.lo, counter.hi = 1, 1 << min(trips - 1, 14)
            counter.t, name = "u32", "unsigned"
            head = "for (%s = 1; %s < %d; %s <<= 1)" % (i, i, counter.hi + 1, i)
        else:
            return self.odd_loop(scope, inner, depth, shape, i, counter, trips)
        body = self.loop_body(inner, depth)
        lines = ["{"] + indent(["%s %s;" % (name, i)] + before + [head + " {"] + indent(body) + ["}"])
        if r.chance(35):
            lines += indent(self.after_loop(scope, counter, i))
        return lines + ["}"]

    def odd_loop(self, scope, inner, depth, shape, i, counter, trips):
        """Loops whose update stands in the body; "continue" would pass it by in some."""
        r = self.rnd
        counter.t, counter.lo, counter.hi = "s32", 0, max(0, trips - 1)
        lines = ["int %s = 0;" % i]
        if shape == "while":
            inner.loop = "b"
            lines += ["while (%s < %d) {" % (i, trips)] + indent(self.loop_body(inner, depth)) + ["    %s++;" % i, "}"]
        elif shape == "do":
            inner.loop = "b"
            lines += ["do {"] + indent(self.loop_body(inner, depth)) + ["} while (++%s < %d);" % (i, trips)]
        elif shape == "counted":
            n = self.fresh("n")
            lines += ["unsigned %s = %d;" % (n, trips), "while (%s--) {" % n, "    %s = (int)%s;" % (i, n)]
            lines += indent(self.loop_body(inner, depth)) + ["}"]
        else:
            label, out = self.fresh("again"), self.fresh("out")
            inner.loop = ""
            lines += ["%s:" % label] + indent(self.loop_body(inner, depth))
            lines += ["if (%s) goto %s;" % (self.e_compare(inner, 1, None).text, out)] if r.chance(40) else []
            lines += ["if (++%s < %d) goto %s;" % (i, trips, label), "%s:;" % out]
        return ["{"] + indent(lines) + ["}"]

    def loop_body(self, inner, depth):
        r = self.rnd
        lines = []
        if r.chance(45):
            lines += self.reduction(inner)
        if r.chance(30):
            lines += self.neighbours(inner)
        return lines + self.statements(inner, r.between(0 if lines else 1, 3), depth - 1)

    def reduction(self, scope):
        """Sums, products, extremes, parities over elements."""
        r = self.rnd
        places = [v for v in scope.variables if v.writable and (v.t in FLOATS or (v.lo, v.hi) == span(v.t))]
        arrays = scope.arrays + self.shared(scope)[1] + ([] if scope.alone else self.grids)
        if not places or not arrays:
            return []
        v, x, y = r.pick(places), self.element(scope, r.pick(arrays)), self.element(scope, r.pick(arrays))
        if v.t in FLOATS:
            if x.t in INTEGERS and y.t in INTEGERS:
                return ["%s += %s;" % (v.text, self.combine("*", E(x.text, x.t, x.lo, x.hi), E(y.text, y.t, y.lo, y.hi)).text)]
            return ["%s += %s%s;" % (v.text, x.text, r.pick(["", " * %s" % y.text]))]
        if x.t in FLOATS or y.t in FLOATS:
            return ["%s += %s < %s;" % (v.text, x.text, y.text)] if v.t[0] == "u" else []
        kind = r.upto(5)
        if kind == 0:
            return ["if (%s %s %s) %s = %s;" % (x.text, r.pick("<>"), v.text, v.text, x.text)]
        if kind == 1:
            return ["%s %s %s;" % (v.text, r.pick(["^=", "|=", "&="]), x.text)]
        product = self.combine("*", E(x.text, x.t, x.lo, x.hi), E(y.text, y.t, y.lo, y.hi)) if kind == 2 else \
            E(x.text, x.t, x.lo, x.hi)
        t = common(v.t, product.t)
        if INTEGERS[t][2]:
            return ["%s %s (%s)%s;" % (v.text, r.pick(["+=", "-="]), c_type("u" + t[1:]), product.text)]
        return ["%s %s %s;" % (v.text, r.pick(["+=", "-="]), product.text)]

    def neighbours(self, scope):
        """a[i] from a[i - k] or b[i + k]: dependences of every direction and distance."""
        r = self.rnd
        arrays = [a for a in scope.arrays + self.shared(scope)[1] if a.t in INTEGERS and (a.lo, a.hi) == span(a.t)]
        counters = [c for c in scope.counters if c.t in INTEGERS]
        writable = [a for a in arrays if a.writable]
        if not writable or not counters:
            return []
        a, c = r.pick(writable), r.pick(counters)
        if c.hi >= a.length or c.lo < 0:
            return []
        b = r.pick([x for x in arrays if x.length > c.hi])

        def near(x):
            low, high = -min(c.lo, 4), min(x.length - 1 - c.hi, 4)
            k = r.between(low, high)
            return x.element("%s %s %d" % (c.text, "-" if k < 0 else "+", abs(k)) if k else c.text)

        x, y, z = near(a), near(b), near(a)
        e = self.combine(r.pick("+-*"), E(y.text, y.t, y.lo, y.hi), E(z.text, z.t, z.lo, z.hi)) if r.chance(60) else \
            E(y.text, y.t, y.lo, y.hi)
        guard = "if (%s) " % self.e_compare(scope, 1, None).text if r.chance(25) else ""
        return ["%s%s = %s;" % (guard, x.text, e.text)]

    def after_loop(self, scope, counter, i):
        """The counter's last value is used."""
        places = [v for v in scope.variables if v.writable and v.t in ("u32", "u64", "u16", "u8")]
        return ["%s += %s;" % (self.rnd.pick(places).text, i)] if places else []

    def locals(self, scope, count, arrays=25):
        """Declarations of scalars, arrays and records, initialised; they come into SCOPE."""
        r = self.rnd
        lines = []
        for _ in range(count):
            t = r.weighted([(10, "s32"), (8, "u32"), (3, "s16"), (3, "u16"), (3, "s8"), (3, "u8"), (4, "s64"), (3, "u64"),
                            (2, "f32"), (2, "f64")])
            name = self.fresh("v")
            if t in FLOATS:
                lines.append("%s %s = %s;" % (c_type(t), name, self.floating(scope, 1).text))
                scope.variables.append(Var(name, t))
                continue
            lo, hi = span(t)
            if t in ("s32", "s16") and r.chance(45):
                lo, hi = r.pick([(-100, 100), (0, 15), (-1000, 1000), (0, 255), (-30000, 30000)])
            e = self.integer(scope, r.between(0, 2))
            lines.append("%s %s = %s;" % (c_type(t), name, self.fitted(e, lo, hi, t)))
            scope.variables.append(Var(name, t, lo, hi))
        if self.structs and r.chance(arrays):
            name, fields, change, _, make = struct = r.pick(self.structs)
            same = [t for t, s, n in scope.records + ([] if scope.alone else self.records) if s is struct and not n]
            local, pointer = self.fresh("l"), self.fresh("q")
            value = r.pick(same) if same else "{0}"
            if same and change and r.chance(40):
                value = "%s(%s, %s)" % (change, value, self.integer(scope, 1).text)
            elif make and r.chance(40):
                value = "%s(%s)" % (make, self.integer(scope, 1).text)
            lines.append("struct %s %s = %s;" % (name, local, value))
            scope.records.append((local, struct, 0))
            scope.variables += [member(local + ".", f) for f in fields]
            if r.chance(35):
                lines.append("struct %s *%s = &%s;" % (name, pointer, local))
                scope.variables += [member(pointer + "->", f) for f in fields]
        if r.chance(arrays):
            t = r.pick(["s32", "u8", "s16", "u32", "u16"])
            n = r.pick([4, 8, 16, 5])
            name = self.fresh("a")
            values = [self.constant(t).text for _ in range(r.between(1, n))]
            lines.append("%s %s[%d] = {%s};" % (c_type(t), name, n, ", ".join(values)))
            scope.arrays.append(Array(name, t, n))
        return lines


    # ---- what a program is made of

    def globals(self):
        r = self.rnd
        small = self.size == "small"
        for _ in range(r.between(2, 4 if small else 7)):
            t = r.pick(list(INTEGERS) + ["f32", "f64", "s32", "u32"])
            name = self.fresh("g")
            keep = r.weighted([(6, "static "), (3, ""), (2, "static volatile ")])
            value = self.constant(t).text if t in INTEGERS else self.float_constant(t).text
            if "zero" in value:
                value = "1.5"
            self.top.append("%s%s %s = %s;" % (keep, c_type(t), name, value))
            self.scalars.append(Var(name, t))
        for i in range(r.between(2, 3 if small else 6)):
            t = r.weighted([(5, "s32"), (4, "u32"), (3, "u8"), (2, "s8"), (3, "s16"), (2, "u16"), (2, "s64"), (1, "u64"),
                            (2, "f32"), (1, "f64")])
            length = r.pick([8, 16, 16, 32, 10, 20, 33, 64])
            name = self.fresh("t")
            table = i == 0 and r.chance(50)
            lo, hi = (None, None)
            if t == "s32" and r.chance(40):
                lo, hi = r.pick([(-1000, 1000), (0, 255), (-30000, 30000)])
            values = [self.constant(t, lo, hi).text if t in INTEGERS else "%d.25" % r.between(-50, 50)
                      for _ in range(r.between(1, length) if r.chance(50) else length)]
            if lo is not None and lo > 0:
                values = values + [str(lo)] * (length - len(values))
            self.top.append("%s%s %s[%d] = {%s};" % ("static const " if table else r.pick(["static ", ""]), c_type(t), name,
                                                     length, ", ".join(values)))
            self.arrays.append(Array(name, t, length, lo, hi, not table))
        for _ in range(r.between(0, 1 if small else 2)):
            t, rows, columns = r.pick(["s32", "u32", "s16", "u8", "f32"]), r.pick([4, 5, 8, 16]), r.pick([4, 8, 9, 16])
            name = self.fresh("w")
            self.top.append("static %s %s[%d][%d];" % (c_type(t), name, rows, columns))
            self.grids.append(Grid(name, t, rows, columns))
        for _ in range(r.between(0, 1 if small else 2)):
            self.struct()
        if r.chance(60):
            self.device()

    def device(self):
        """A record of registers, all volatile."""
        r = self.rnd
        name, fields = self.fresh("d"), []
        self.top.append("struct %ss {" % name)
        for _ in range(r.between(2, 5)):
            f, t = self.fresh("m"), r.pick(["u32", "u32", "s32", "u8", "u16", "s16", "s8"])
            bits = r.pick([1, 3, 8, 12]) if t in ("u32", "s32") and r.chance(35) else None
            fields.append((f, t, bits))
            self.top.append("    %s%s %s%s;" % ("signed " if t == "s32" else "", c_type(t), f, " : %d" % bits if bits else ""))
        self.top += ["};", "static volatile struct %ss %s;" % (name, name)]
        self.devices.append((name, fields))

    def struct(self):
        """A record type with objects of it, and a function that takes and returns one."""
        r = self.rnd
        name = self.fresh("S")
        fields, lines = [], ["struct %s {" % name]
        for _ in range(r.between(2, 7)):
            f = self.fresh("m")
            if r.chance(45):
                t, bits = r.pick(["s32", "u32", "u32"]), r.pick([1, 2, 3, 4, 5, 7, 8, 11, 15, 16, 17, 24, 31])
                lines.append("    %s %s : %d;" % ("signed int" if t == "s32" else "unsigned", f, bits))
                fields.append((f, t, bits))
            else:
                t = r.pick(list(INTEGERS) + ["s32", "f32", "f64"])
                lines.append("    %s %s;" % (c_type(t), f))
                fields.append((f, t, None))
        self.top += lines + ["};"]
        change = None
        if r.chance(60):
            change = self.fresh("f")
            scope = Scope(alone=True)
            scope.variables = [Var("n", "s32")] + [member("s.", f) for f in fields]
            inner = Scope(scope)
            lines = self.statements(inner, r.between(1, 3), 1)
            self.bodies.append(["static struct %s %s(struct %s s, int n)" % (name, change, name), "{"] + indent(
                [l.replace("return ", "if ((int)(").replace(";", ") == 0) n++;") if "return " in l else l for l in lines]
                + ["return s;"]) + ["}"])
        poke = None
        if r.chance(50):
            poke = self.fresh("f")
            scope = Scope(alone=True)
            scope.variables = [Var("n", "s32", writable=False)]
            lines = [self.assign(scope, member("s->", r.pick(fields)), 1) for _ in range(r.between(1, 2))]
            self.bodies.append(["%svoid %s(struct %s *s, int n)" % (r.pick(["static ", "__attribute__((noinline)) "]), poke, name),
                                "{"] + indent(lines) + ["}"])
        make = self.maker(name, fields) if r.chance(50) else None
        struct = (name, fields, change, poke, make)
        self.structs.append(struct)
        for _ in range(r.between(1, 2)):
            n, g = r.pick([0, 0, 4, 6]), self.fresh("r")
            self.top.append("static struct %s %s%s;" % (name, g, "[%d]" % n if n else ""))
            self.records.append((g, struct, n))

    def maker(self, name, fields):
        """A function that returns one local record or another."""
        r = self.rnd
        make, a, b = self.fresh("f"), self.fresh("l"), self.fresh("l")
        scope = Scope(alone=True)
        scope.variables = [Var("n", "s32", writable=False)]
        both = Scope(scope)
        both.variables += [member(v + ".", f) for f in fields for v in (a, b)]
        lines = ["struct %s %s = {0}, %s = {0};" % (name, a, b)]
        lines += [self.assign(scope, member(r.pick([a, b]) + ".", r.pick(fields)), 1) for _ in range(r.between(1, 3))]
        lines += ["if (%s) return %s;" % (self.e_compare(scope, 1, None).text, a)] if r.chance(70) else []
        lines += [self.assign(both, member(b + ".", r.pick(fields)), 1) for _ in range(r.between(0, 2))]
        self.bodies.append(["%sstruct %s %s(int n)" % (r.pick(["static ", "__attribute__((noinline)) "]), name, make), "{"] +
                           indent(lines + ["return %s;" % b]) + ["}"])
        return make

    def function(self):
        r = self.rnd
        kind = r.weighted([(10, "general"), (8, "loops"), (6, "pure"), (5, "pointers"), (5, "walk"), (7, "values"), (5, "recursive"),
                           (3, "variable"), (3, "kept"), (4, "machine"), (3, "copies"), (3, "indirect"), (3, "floats")])
        getattr(self, "f_" + kind)()

    def finish(self, name, result, parameters, scope, lines, keep="static "):
        """Appends the function, and a call of it to main where the cost allows. PARAMETERS: (type, name)."""
        text = ", ".join("%s %s" % (c_type(t), p) for t, p in parameters) or "void"
        self.bodies.append(["%s%s %s(%s)" % (keep, c_type(result), name, text), "{"] + indent(lines) + ["}"])
        types = [t for t, _ in parameters]
        cost = scope.spent[0] + 3
        self.functions.append(Function(name, result, types, cost, scope.alone))
        for _ in range(self.rnd.between(1, 2)):
            args = [self.constant(t).text if t in INTEGERS else self.float_constant(t).text for t in types]
            self.calls.append((name, "mix(%s(%s));" % (name, ", ".join(args))))

    def start(self, count, alone=False):
        """A name, parameters and a scope that holds them."""
        r = self.rnd
        scope = Scope(alone=alone)
        parameters = []
        for _ in range(count):
            t, p = r.pick(["s32", "s32", "u32", "u32", "s16", "u8", "s64", "u64", "s8", "u16"]), self.fresh("p")
            parameters.append((t, p))
            scope.variables.append(Var(p, t))
        return self.fresh("f"), parameters, scope

    def result(self, scope):
        return "return %s;" % self.integer(scope, 2).text

    def linkage(self):
        return self.rnd.weighted([(6, "static "), (3, ""), (2, "static inline "), (2, "__attribute__((noinline)) ")])

    def f_general(self):
        name, parameters, scope = self.start(self.rnd.between(0, 4))
        lines = self.locals(scope, self.rnd.between(2, 5))
        lines += self.statements(scope, self.rnd.between(2, self.n_statements), self.depth)
        self.finish(name, self.rnd.pick(["u32", "s32", "s64", "s16", "u8"]), parameters, scope,
                    lines + [self.result(scope)], self.linkage())

    def f_loops(self):
        name, parameters, scope = self.start(self.rnd.between(0, 2))
        lines = self.locals(scope, self.rnd.between(2, 4))
        for _ in range(self.rnd.between(1, 2)):
            lines += self.s_loop(scope, self.depth)
        self.finish(name, "u32", parameters, scope, lines + [self.result(scope)], self.linkage())

    def f_pure(self):
        """Small, without side effects: what expressions call and inliners take."""
        name, parameters, scope = self.start(self.rnd.between(1, 3), alone=True)
        lines = self.locals(scope, self.rnd.between(0, 2)) + self.statements(scope, self.rnd.between(0, 2), 1)
        self.finish(name, self.rnd.pick(list(INTEGERS)), parameters, scope, lines + [self.result(scope)], self.linkage())

    def f_values(self):
        """One expression after another over variables of every type, in rounds in which all of their bits change: what
        goes wrong for some values only has many to go wrong for."""
        r = self.rnd
        name, parameters, scope = self.start(1, alone=True)
        x, s, i = self.fresh("v"), self.fresh("v"), self.fresh("i")
        rounds = r.between(3, 12)
        scope.variables, body = [], []
        for t in INTEGERS:
            v = self.fresh("v")
            body.append("%s %s = (%s)(%s >> %d);" % (c_type(t), v, c_type(t), x, r.between(0, 64 - INTEGERS[t][1])))
            scope.variables.append(Var(v, t, writable=False))
        scope.spent[0] += rounds * 20
        for _ in range(r.between(4, 10)):
            kind = r.pick(["piece", "piece", "shift", "cast", "bits", "idiom", "compare", "divide", "arithmetic", "choice"])
            body.append("%s = %s * 31u + (unsigned)%s;" % (s, s, getattr(self, "e_" + kind)(scope, r.between(1, 2), None).text))
        lines = ["unsigned long long %s = (unsigned long long)%s + %s;" % (x, parameters[0][1], literal(r.bits() | 1, "u64")),
                 "unsigned %s = 0;" % s, "int %s;" % i, "for (%s = 0; %s < %d; %s++) {" % (i, i, rounds, i)]
        lines += indent(body + ["%s = (%s ^ %s >> 29) * 0x9E3779B97F4A7C15ull + %s;" % (x, x, x, i)])
        self.finish(name, "u32", parameters, scope, lines + ["}", "return %s;" % s], self.linkage())

    def f_floats(self):
        r = self.rnd
        name, scope = self.fresh("f"), Scope()
        parameters = [(r.pick(["f32", "f64"]), self.fresh("p")) for _ in range(r.between(1, 3))]
        scope.variables += [Var(p, t) for t, p in parameters]
        lines = self.locals(scope, r.between(1, 3))
        for _ in range(r.between(1, 3)):
            a, b = self.floating(scope, 2), self.floating(scope, 2)
            v = self.target(scope)
            compare = "if (%s(%s %s %s)) {" % (r.pick(["", "!"]), a.text, r.pick(["<", "<=", ">", ">=", "==", "!="]), b.text)
            lines += [compare] + indent([self.assign(scope, v, 2)]) + ["}"] if v else []
        lines += self.statements(scope, r.between(1, 3), 1)
        lines += ["mixd(%s);" % v.text for v in scope.variables if v.t in FLOATS]
        self.finish(name, "u32", parameters, scope, lines + [self.result(scope)], self.linkage())

    def f_pointers(self):
        """Arrays through parameters, some restrict (then different arrays come in), some that may overlap."""
        r = self.rnd
        writable = [a for a in self.arrays if a.writable and a.length >= 8]
        if not writable:
            return self.f_loops()
        name, scope = self.fresh("f"), Scope(alone=True)
        restrict = r.chance(50)
        count = r.between(1, 3)
        chosen, formals, actuals = [], [], []
        for _ in range(count):
            pool = [a for a in writable if a not in chosen] if restrict else writable
            if not pool:
                break
            a = r.pick(pool)
            chosen.append(a)
            p = self.fresh("p")
            offset = 0 if restrict else r.pick([0, 0, 1, 2, 4])
            formals.append("%s *%s%s" % (c_type(a.t), "restrict " if restrict else "", p))
            actuals.append("%s + %d" % (a.text, offset) if offset else a.text)
            scope.arrays.append(Array(p, a.t, a.length - offset, a.lo, a.hi))
        n = self.fresh("n")
        scope.variables.append(Var(n, "s32", 0, 15, writable=False))
        lines = self.locals(scope, r.between(1, 3))
        for _ in range(r.between(1, 2)):
            lines += self.s_loop(scope, max(1, self.depth - 1))
        lines += self.statements(scope, r.between(0, 2), 1) + [self.result(scope)]
        text = "%sunsigned %s(%s, int %s)" % (self.linkage(), name, ", ".join(formals), n)
        self.bodies.append([text, "{"] + indent(lines) + ["}"])
        self.calls.append((name, "mix(%s(%s, %d));" % (name, ", ".join(actuals), r.upto(16))))

    def f_walk(self):
        """Pointers that move: ends, steps, two of them, backwards."""
        r = self.rnd
        arrays = [a for a in self.arrays if a.t in INTEGERS and (a.lo, a.hi) == span(a.t)]
        writable = [a for a in arrays if a.writable]
        if not writable:
            return self.f_loops()
        name, parameters, scope = self.start(1)
        a, b = r.pick(writable), r.pick(arrays)
        n = min(a.length, b.length)
        p, q, e, s = self.fresh("p"), self.fresh("q"), self.fresh("e"), self.fresh("v")
        star = "const " if not b.writable else ""
        x, y = parameters[0][1], s
        work = Scope(scope)
        work.variables = [Var(s, "u32"), Var(x, parameters[0][0])]
        extra = self.integer(work, 2).text
        shape = r.upto(6)
        ta, tb = c_type(a.t), c_type(b.t)
        lines = ["unsigned %s = 0;" % s, "%s *%s = %s;" % (ta, p, a.text)]
        if shape == 0:
            lines += ["%s%s *%s = %s, *%s = %s + %d;" % (star, tb, q, b.text, e, b.text, n),
                      "while (%s < %s) *%s++ = *%s++;" % (q, e, p, q)]
        elif shape == 1:
            lines += ["%s%s *%s = %s + %d;" % (star, tb, q, b.text, n), "int %s = %d;" % (e, n),
                      "do { *%s++ ^= *--%s; %s += *%s; } while (--%s);" % (p, q, y, q, e)]
        elif shape == 2:
            lines += ["%s *%s = %s + %d;" % (ta, e, p, a.length),
                      "for (; %s != %s; ++%s) if (*%s > %s) { %s += *%s; break; } else %s ^= %s;" %
                      (p, e, p, p, self.constant(promoted(a.t)).text, y, p, y, extra)]
        elif shape == 3:
            k = r.between(1, 3)
            lines += ["%s *%s = %s + %d;" % (ta, e, p, a.length - k),
                      "while (%s < %s) { %s += %s[%d] - (unsigned)*%s; %s[0] = %s[%d]; %s += %d; }" %
                      (p, e, y, p, k, p, p, p, k, p, r.between(1, 2))]
        elif shape == 4:
            lines += ["%s *%s = %s + %d;" % (ta, e, p, a.length - 1), "while (%s < %s) {" % (p, e),
                      "    %s %s = *%s;" % (ta, q, p), "    *%s++ = *%s;" % (p, e), "    *%s-- = %s;" % (e, q), "}"]
        else:
            lines += ["int %s;" % q, "for (%s = 0; %s < %d; %s++) {" % (q, q, a.length - 1, q),
                      "    %s = %s + %s;" % (p, a.text, q),
                      "    if (%s[0] > %s[1]) { %s %s = %s[0]; %s[0] = %s[1]; %s[1] = %s; %s++; }" %
                      (p, p, ta, e, p, p, p, p, e, y), "}"]
        scope.charge(2 * a.length)
        self.finish(name, "u32", parameters, scope, lines + ["return %s + (unsigned)%s;" % (s, extra)], self.linkage())

    def f_recursive(self):
        """Statics over the rounds; parameters that change places when the function calls itself, at its end or before."""
        r = self.rnd
        name, kept, n = self.fresh("f"), self.fresh("k"), self.fresh("n")
        if r.chance(25):
            return self.recursion_over_locals(name, n, self.fresh("p"))
        scope = Scope(alone=r.chance(50))
        passed = [(r.pick(["u32", "u32", "s32", "u8", "s64"]), self.fresh("p")) for _ in range(r.between(1, 4))]
        scope.variables = [Var(p, t) for t, p in passed] + [Var(kept, "u32"), Var(n, "s32", 0, 12, writable=False)]
        lines = ["static unsigned %s = %d;" % (kept, r.upto(9)),
                 "if (%s <= 0) return %s;" % (n, " * 5u + ".join("(unsigned)" + p for _, p in passed))]
        shape = r.pick([0, 0, 0, 1, 2])
        if shape == 0 and r.chance(70):
            # nothing but parameters, so that the next round may take this one's place
            lines += [self.assign(scope, self.target(scope), 1) for _ in range(r.between(0, 2))]
        else:
            lines += self.locals(scope, r.between(1, 2)) + self.statements(scope, r.between(1, 3), 1)
        counter = r.upto(len(passed) + 1)
        formals = ["%s %s" % (c_type(t), p) for t, p in passed]
        formals.insert(counter, "int " + n)

        def call():
            values = [r.pick(passed)[1] if r.chance(50) else self.integer(scope, 2).text for _ in passed]
            values.insert(counter, n + " - 1")
            return "%s(%s)" % (name, ", ".join(values))

        again = call()
        if shape == 0:
            lines += ["if (%s) return %s;" % (self.expression(scope, 1).text, call())] if r.chance(30) else []
            lines.append("return %s;" % again)
        elif shape == 1:
            lines += ["%s += %s;" % (kept, again), "return %s ^ %s;" % (kept, self.integer(scope, 1).text)]
        else:
            lines.append("return %s * 3u + (unsigned)%s;" % (again, n))
        self.bodies.append(["static unsigned %s(%s)" % (name, ", ".join(formals)), "{"] + indent(lines) + ["}"])
        first = [self.constant(t).text for t, _ in passed]
        first.insert(counter, str(r.between(1, 12)))
        self.calls.append((name, "mix(%s(%s));" % (name, ", ".join(first))))

    def recursion_over_locals(self, name, n, a):
        """Each round has the address of a variable of the round before."""
        r = self.rnd
        v, p = self.fresh("v"), self.fresh("q")
        op, other = r.pick("+^-"), r.pick("+^-")
        lines = ["unsigned %s = *%s * %du %s (unsigned)%s, *%s = &%s;" % (v, a, r.between(2, 9), op, n, p, v),
                 "if (%s <= 0) return *%s %s %s;" % (n, a, other, v)]
        if r.chance(50):
            lines.append("if (%s & 1) *%s %s= %s;" % (n, a, other, v))
        lines.append("return %s(%s - 1, %s);" % (name, n, r.pick([p, p, "&" + v, a])))
        self.bodies.append(["static unsigned %s(int %s, unsigned *%s)" % (name, n, a), "{"] + indent(lines) + ["}"])
        start = self.fresh("g")
        self.top.append("static unsigned %s = %d;" % (start, r.upto(9)))
        self.calls.append((name, "mix(%s(%d, &%s));" % (name, r.between(1, 12), start)))

    def f_variable(self):
        r = self.rnd
        name, kinds = self.fresh("f"), [("int", "s32"), ("unsigned", "u32"), ("long long", "s64"), ("double", "f64")]
        types = [r.pick(kinds) for _ in range(r.between(1, 6))]
        lines = ["va_list ap;", "unsigned long long s = (unsigned)n;", "va_start(ap, n);"]
        if r.chance(50):
            c, t = types[0]
            types = [types[0]] * len(types)
            lines.append("while (n-- > 0) { %s x = va_arg(ap, %s); %s }" % (c, c, "mixd(x);" if t == "f64" else "s = s * 3u + x;"))
        else:
            for c, t in types:
                lines.append("if (n-- > 0) { %s x = va_arg(ap, %s); %s }" % (c, c, "mixd(x);" if t == "f64" else "s ^= x; s += s << 7;"))
        lines += ["va_end(ap);", "return (unsigned)s;"]
        self.bodies.append(["static unsigned %s(int n, ...)" % name, "{"] + indent(lines) + ["}"])
        args = ["(%s)%s" % (c, self.constant(t).text if t in INTEGERS else self.float_constant(t).text) for c, t in types]
        self.calls.append((name, "mix(%s(%d, %s));" % (name, len(args), ", ".join(args))))

    def f_kept(self):
        """A callee keeps the address of a local; later calls store through it."""
        r = self.rnd
        keep, poke, name, hold = self.fresh("f"), self.fresh("f"), self.fresh("f"), self.fresh("k")
        x, y = self.fresh("v"), self.fresh("v")
        scope = Scope(alone=True)
        scope.variables = [Var(x, "u32"), Var(y, "u32", writable=False)]
        self.top.append("static unsigned *%s;" % hold)
        self.bodies.append(["__attribute__((noinline)) static void %s(unsigned *p) { %s = p; }" % (keep, hold)])
        self.bodies.append(["__attribute__((noinline)) static void %s(unsigned n) { if (%s) *%s %s n; }" %
                            (poke, hold, hold, r.pick(["=", "+=", "^="]))])
        lines = ["unsigned %s = %s, %s = 1;" % (x, self.constant("u32").text, y), "%s(&%s);" % (keep, x)]
        for _ in range(r.between(1, 3)):
            lines += ["%s(%s);" % (poke, self.constant("u32").text), "%s = %s * 5u + %s;" % (y, y, x)]
            lines += self.statements(scope, 1, 0) if r.chance(50) else []
        if r.chance(40):
            lines += ["{", "    int i;", "    for (i = 0; i < %d; i++) { %s(i); %s += %s; }" % (r.between(1, 9), poke, y, x), "}"]
        lines += ["%s = 0;" % hold, "return %s ^ %s;" % (x, y)]
        lines = [l.replace("return ", "if (0) return ") if "return " in l and l is not lines[-1] and l.startswith("if") else l
                 for l in lines]
        self.bodies.append(["static unsigned %s(void)" % name, "{"] + indent(lines) + ["}"])
        self.calls.append((name, "%s = 0; mix(%s());" % (hold, name)))

    def f_machine(self):
        """States and jumps between them, in no order that a loop has; a step count ends it."""
        r = self.rnd
        name, parameters, scope = self.start(1)
        lines = self.locals(scope, r.between(2, 3))
        steps, n = self.fresh("i"), r.between(3, 6)
        labels = [self.fresh("state") for _ in range(n)]
        lines.append("int %s = 0;" % steps)
        limit = r.between(5, 40)
        inner = Scope(scope, limit)
        done = self.fresh("done")
        if r.chance(40):
            lines.append("if (%s) goto %s;" % (self.expression(scope, 1).text, r.pick(labels)))
        for label in labels:
            lines += ["%s:" % label, "    if (%s++ > %d) goto %s;" % (steps, limit, done)]
            lines += indent(self.statements(inner, r.between(1, 2), 0))
            for _ in range(r.between(0, 2)):
                lines.append("    if (%s) goto %s;" % (self.integer(inner, 2).text, r.pick(labels)))
            if r.chance(40):
                lines.append("    goto %s;" % r.pick(labels + [done]))
        lines.append("%s:;" % done)
        self.finish(name, "u32", parameters, scope, lines + [self.result(scope)])

    def f_copies(self):
        """Bytes moved by the library: copies, sets, compares, lengths."""
        r = self.rnd
        writable = [a for a in self.arrays if a.writable and a.t in INTEGERS and (a.lo, a.hi) == span(a.t)]
        if not writable:
            return self.f_general()
        name, parameters, scope = self.start(1)
        a, b = r.pick(writable), r.pick(writable)
        n = min(a.length * INTEGERS[a.t][1] // 8, b.length * INTEGERS[b.t][1] // 8)
        k = r.between(0, n)
        text = "".join(r.pick("abcxyz019 ") for _ in range(r.between(0, 20)))
        other = text[:r.upto(len(text) + 1)] + r.pick(["", "a", "z"])
        lines = ["unsigned s = (unsigned)%s;" % parameters[0][1], "char buffer[48];"]
        for _ in range(r.between(2, 5)):
            lines.append(r.pick([
                "memmove(%s, %s, %d);" % (a.text, b.text, k), "memset(%s, %d, %d);" % (a.text, r.upto(256), k),
                "s += memcmp(%s, %s, %d) == 0;" % (a.text, b.text, k), "strcpy(buffer, \"%s\"); s += strlen(buffer);" % text,
                "s = s * 5 + (strcmp(\"%s\", \"%s\") < 0);" % (text, other), "s ^= (unsigned)strlen(\"%s\");" % other,
                "memcpy(buffer, \"%s\", %d); s += buffer[0];" % (text, len(text) + 1),
                "strcpy(buffer, \"%s\"); strcat(buffer, \"%s\"); s += strchr(buffer, 'a') != 0;" % (text, other),
                "s += (unsigned)abs((int)(s %% 1000) - %d);" % r.upto(1000)]))
        self.finish(name, "u32", parameters, scope, lines + ["return s;"])

    def f_indirect(self):
        """Calls through a table of functions."""
        r = self.rnd
        groups = {}
        for f in self.functions:
            groups.setdefault((f.result, tuple(f.parameters)), []).append(f)
        group = r.pick(list(groups.values())) if groups else None
        if not group or sum(f.cost for f in group) * 4 > self.budget:
            return self.f_pure()
        name, table, scope = self.fresh("f"), self.fresh("h"), Scope()
        f = group[0]
        types = ", ".join(c_type(t) for t in f.parameters) or "void"
        members = [r.pick(group).name for _ in range(r.between(1, 4))]
        self.bodies.append(["static %s (*%s%s[])(%s) = {%s};" % (c_type(f.result), r.pick(["", "const "]), table, types,
                                                                  ", ".join(members))])
        scope.charge(sum(g.cost for g in group) * 2)
        parameters = [("s32", self.fresh("p"))]
        scope.variables = [Var(parameters[0][1], "s32")]
        args = ", ".join(self.integer(scope, 1).text for _ in f.parameters)
        lines = ["unsigned s = 1;", "int i;", "for (i = 0; i < %d; i++)" % (len(members) * 2),
                 "    s = s * 7u + (unsigned)%s[(i + (unsigned)%s) %% %du](%s);" % (table, parameters[0][1], len(members), args),
                 "return s;"]
        self.finish(name, "u32", parameters, scope, lines)

    def text(self):
        r = self.rnd
        self.globals()
        for _ in range(r.between(max(1, self.n_functions // 2), self.n_functions)):
            self.function()
        head = ["#include <stdarg.h>", "#include <stdio.h>", "#include <stdlib.h>", "#include <string.h>", "",
                "static unsigned crc = 1;", "static double zero = 0.0;", "",
                "static void mix(unsigned long long v)", "{",
                "    crc = (crc << 5 | crc >> 27) ^ (unsigned)v ^ (unsigned)(v >> 32) * 31u;", "}", "",
                "static void mixd(double d)", "{", "    unsigned long long bits;",
                "    if (d != d) { mix(0x7FF8u); return; }", "    memcpy(&bits, &d, 8);", "    mix(bits);", "}", ""]
        lines = ["// seed %d, %s" % (self.seed, self.size)] + head + self.top + [""]
        for body in self.bodies:
            lines += body + [""]
        lines += ["int main(void)", "{", "    unsigned k;"]
        for name, call in self.calls:
            lines += ["    %s" % call, "    printf(\"%s %%08x\\n\", crc);" % name]
        for v in self.scalars:
            lines.append("    mix%s(%s);" % ("d" if v.t in FLOATS else "", v.text))
        for a in self.arrays:
            lines.append("    for (k = 0; k < %d; k++) mix%s(%s[k]);" % (a.length, "d" if a.t in FLOATS else "", a.text))
        for g in self.grids:
            lines.append("    for (k = 0; k < %d; k++) mix%s(%s[k / %d][k %% %d]);" % (
                g.rows * g.columns, "d" if g.t in FLOATS else "", g.text, g.columns, g.columns))
        for text, struct, n in self.records:
            where = "%s[k]." % text if n else text + "."
            mixes = " ".join("mix%s(%s%s);" % ("d" if t in FLOATS else "", where, f) for f, t, _ in struct[1])
            lines.append("    %s{ %s }" % ("for (k = 0; k < %d; k++) " % n if n else "", mixes))
        for text, fields in self.devices:
            lines.append("    %s" % " ".join("mix(%s.%s);" % (text, f) for f, _, _ in fields))
        lines += ["    printf(\"%08x\\n\", crc);", "    return (int)(crc & 63);", "}", ""]
        return "\n".join(lines)


def indent(lines):
    return ["    " + l for l in lines]


def member(prefix, field):
    name, t, bits = field
    if not bits:
        return Var(prefix + name, t)
    lo, hi = (-(1 << bits - 1), (1 << bits - 1) - 1) if t == "s32" else (0, (1 << bits) - 1)
    return Var(prefix + name, "u32" if t == "u32" and bits == 32 else "s32", lo, hi, truncates=True)


def program(seed, size="normal"):
    return Program(seed, size).text()


def main():
    ap = argparse.ArgumentParser(description="Writes a random C program with defined behaviour.")
    ap.add_argument("--seed", type=int, required=True)
    ap.add_argument("--size", choices=list(SIZES), default="normal")
    ap.add_argument("-o", metavar="FILE.c")
    args = ap.parse_args()
    text = program(args.seed, args.size)
    if args.o:
        with open(args.o, "w") as f:
            f.write(text)
    else:
        sys.stdout.write(text)


if __name__ == "__main__":
    main()
