"""Making a text smaller while it stays interesting; here for the text form of intermediate files, for C in shrinkc.

Greedy: a smaller text that is still interesting replaces the present one at once. Parts are taken out in chunks
that halve (delta debugging); what is left is gone over until nothing more can go.
"""
import re, time


class Shrinker:
    """INTERESTING(text) tells; SAY(text) hears of progress; after SECONDS, or when so few lines as are ENOUGH are left, it
    stops with what it has."""

    def __init__(self, text, interesting, say=lambda text: None, seconds=600, enough=0):
        self.text, self.interesting, self.say, self.enough = text, interesting, say, enough
        self.end = time.monotonic() + seconds
        self.asked = 0
        self.refused = set()

    def late(self):
        return time.monotonic() > self.end or 0 < self.text.count("\n") <= self.enough

    def try_text(self, text):
        if text == self.text or self.late() or hash(text) in self.refused:
            return False
        self.asked += 1
        if self.interesting(text):
            self.text = text
            return True
        self.refused.add(hash(text))
        return False

    def without(self, parts, join, groups):
        """Takes out groups (lists of indices into PARTS) in chunks; gives the parts that stay."""
        alive = [True] * len(parts)

        def text():
            return join([p for p, a in zip(parts, alive) if a])

        chunk = max(1, len(groups) // 2)
        while chunk and not self.late():
            at, gone = 0, False
            while at < len(groups):
                taken = [i for g in groups[at:at + chunk] for i in g if alive[i]]
                for i in taken:
                    alive[i] = False
                if taken and self.try_text(text()):
                    del groups[at:at + chunk]
                    gone = True
                else:
                    for i in taken:
                        alive[i] = True
                    at += chunk
            if not gone or chunk > 1:
                chunk //= 2
        return [p for p, a in zip(parts, alive) if a]


# ---- the text form, by structure

def units(text):
    """The text as a list of constructs: a tree over its lines, a line, a line with its block in braces."""
    result, pending, depth, curly = [], [], 0, 0
    for line in text.split("\n"):
        if not pending and not line.strip():
            continue
        plain = re.sub(r'"(\\.|[^"\\])*"', '""', line)
        plain = re.sub(r"\s[;#].*", "", " " + plain)
        depth += plain.count("(") - plain.count(")")
        curly += plain.count("{") - plain.count("}")
        pending.append(line.rstrip())
        if depth <= 0 and curly <= 0:
            result.append("\n".join(pending))
            pending, depth, curly = [], 0, 0
    if pending:
        result.append("\n".join(pending))
    return result


def word(unit):
    return unit.split(None, 1)[0] if unit.split() else ""


def ranges(parts, opening, closing):
    """[first, last] of each construct that goes from a unit with one word to one with another; inner ones too."""
    stack, found = [], []
    for n, unit in enumerate(parts):
        if word(unit) == opening:
            stack.append(n)
        elif word(unit) == closing and stack:
            found.append((stack.pop(), n))
    return found


def join_units(parts):
    return "\n".join(parts) + "\n"


TOKEN = re.compile(r'\s*("(?:\\.|[^"\\])*"(?::[^\s()]*(?:\([^()]*(?:\([^()]*(?:\([^()]*\)[^()]*)*\)[^()]*)*\))?)?|'
                   r'[^\s()"]+(?:\((?:[^()"]|"[^"]*"|\((?:[^()"]|\((?:[^()"]|\([^()"]*\))*\))*\))*\))?|[()])')


def tokens(text):
    """Words of a tree. A word may have parentheses of its own, as types have: "PCONV:ptr(int)", "field(struct s, f)"."""
    result, at = [], 0
    text = text.strip()
    while at < len(text):
        m = TOKEN.match(text, at)
        if not m:
            raise ValueError(text[at:at + 20])
        result.append(m.group(1))
        at = m.end()
    return result


def parse_tree(text):
    """A tree as nested lists of words; None when it has a form that is not understood."""
    text = "\n".join(re.sub(r"\s[;#][^\"]*$", "", line) for line in text.split("\n"))
    try:
        words = tokens(text)
    except ValueError:
        return None
    stack = [[]]
    for w in words:
        if w == "(":
            stack.append([])
        elif w == ")":
            if len(stack) < 2:
                return None
            done = stack.pop()
            stack[-1].append(done)
        else:
            stack[-1].append(w)
    return stack[0][0] if len(stack) == 1 and len(stack[0]) == 1 and isinstance(stack[0][0], list) else None


def write_tree(node):
    return node if isinstance(node, str) else "(" + " ".join(write_tree(n) for n in node) + ")"


def size(node):
    return 1 if isinstance(node, str) else sum(size(n) for n in node)


def places(node, path=()):
    """Paths to all operands, those near the root first."""
    result, level = [], [(path, node)]
    while level:
        below = []
        for at, n in level:
            if isinstance(n, list):
                for i, child in enumerate(n[1:], 1):
                    below.append((at + (i,), child))
        result += [p for p, _ in below]
        level = below
    return result


def at(node, path):
    for i in path:
        if not isinstance(node, list) or i >= len(node):
            return None
        node = node[i]
    return node


def replaced(node, path, new):
    if not path:
        return new
    return [replaced(n, path[1:], new) if i == path[0] else n for i, n in enumerate(node)]


def type_of(node):
    """The type that is written on a node, with its colon, or nothing."""
    head = node[0] if isinstance(node, list) and node and isinstance(node[0], str) else node if isinstance(node, str) else ""
    return head[head.index(":"):] if ":" in head and not head.startswith('"') else ""


def smaller(node):
    """What may stand for an operand: constants, its own operands, and theirs."""
    t = type_of(node)
    options = []
    if isinstance(node, list):
        options += ["0" + t, "1" + t] if t else ["0", "1"]
        options += [n for n in node[1:] if not (isinstance(n, str) and "=" in n)]
        for n in node[1:]:
            if isinstance(n, list):
                options += n[1:]
    elif re.match(r"-?\d", node) and "x" not in node and "." not in node:
        value = int(re.match(r"-?\d+", node).group(0))
        rest = node[len(re.match(r"-?\d+", node).group(0)):]
        options = [str(v) + rest for v in (0, 1, value // 2) if abs(v) < abs(value)]
    elif node[0] in "%@":
        options = ["0" + t]
    return [o for o in options if size(o) <= size(node) and o != node]


def shrink_trees(shrinker):
    """Each statement as a whole becomes one of its operands, each operand something smaller."""
    parts = units(shrinker.text)
    for n, unit in enumerate(parts):
        tree = parse_tree(unit) if unit.strip().startswith("(") else None
        if tree is None or shrinker.late():
            continue

        def attempt(candidate):
            return isinstance(candidate, list) and \
                shrinker.try_text(join_units(parts[:n] + ["  " + write_tree(candidate)] + parts[n + 1:]))

        again = True
        while again and not shrinker.late():
            again = False
            for child in tree[1:]:
                if attempt(child):
                    tree, again = child, True
                    break
            if again:
                parts[n] = "  " + write_tree(tree)
                continue
            for path in places(tree):
                here = at(tree, path)
                if here is None:
                    continue
                for option in smaller(here):
                    candidate = replaced(tree, path, option)
                    if attempt(candidate):
                        tree, again = candidate, True
                        parts[n] = "  " + write_tree(tree)
                        break


def shrink_text_form(shrinker):
    shrinker.try_text("\n".join(re.sub(r"\s;\s[^\"]*$", "", l) for l in shrinker.text.split("\n")))
    before = None
    while before != shrinker.text and not shrinker.late():
        before = shrinker.text
        for opening, closing in (("function", "end"), ("block", "endblock")):
            parts = units(shrinker.text)
            found = ranges(parts, opening, closing)
            shrinker.without(parts, join_units, [list(range(a, b + 1)) for a, b in found])
        parts = units(shrinker.text)
        shrinker.without(parts, join_units, [[i] for i in range(len(parts))])
        # a block without its frame: what stands in it stays
        n = 0
        while n < len(ranges(units(shrinker.text), "block", "endblock")):
            parts = units(shrinker.text)
            a, b = ranges(parts, "block", "endblock")[n]
            inner = parts[a + 1:b]
            body = next((i for i, u in enumerate(inner) if word(u) == "body"), -1)
            if not shrinker.try_text(join_units(parts[:a] + inner[body + 1:] + parts[b + 1:])):
                n += 1
        # members of records, lines of initialisers
        for n, unit in enumerate(units(shrinker.text)):
            parts = units(shrinker.text)
            if n < len(parts) and "\n" in parts[n] and parts[n].rstrip().endswith("}"):
                lines = parts[n].split("\n")
                shrinker.without(lines, lambda ls, n=n, parts=parts: join_units(parts[:n] + ["\n".join(ls)] + parts[n + 1:]),
                                 [[i] for i in range(1, len(lines) - 1)])
        shrink_trees(shrinker)
        shrinker.say("%d constructs" % len(units(shrinker.text)))
