"""Making a C program smaller while it stays interesting.

The text becomes a tree of tokens: what stands in brackets is one item, and what stands in braces is a list of statements.
No grammar is behind it, so every C program can be taken in; a cut that makes no sense is refused by the compiler, which
costs little. The cuts go from coarse to fine and start again until none helps:

  names        a function, object or type goes together with all that mentions it; a call of it becomes a constant
  statements   at each level of braces, in chunks that halve
  initialisers a long list of values becomes a zero, or loses chunks that halve
  inlining     a typedef gives way to its type, a call to the function's statements
  unwrapping   a compound statement becomes what stands in it, an "if" loses its "else"
  parameters   a parameter goes with its arguments, or becomes a local variable
  expressions  an operand becomes a constant, one of its operands, or loses a cast
  words        qualifiers go, types become int, numbers small

The result is printed with one statement on a line.
"""
import re

TOKEN = re.compile(r'\s+|//[^\n]*|/\*.*?\*/|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|(?:u8|[uUL])?"(?:\\.|[^"\\])*"|[uUL]?\'(?:\\.|[^\'\\])*\'|'
                   r'\.?\d(?:[eEpP][-+]|[\w.])*|[A-Za-z_$][\w$]*|<<=|>>=|\.\.\.|->|\+\+|--|<=|>=|==|!=|&&|\|\||'
                   r'[-+*/%&|^]=|<<|>>|.', re.S | re.M)
CLOSES = {"(": ")", "[": "]", "{": "}"}
BINARY = set("+ - * / % & | ^ << >> < > <= >= == != && || , ? :".split())
ASSIGNS = set("= += -= *= /= %= &= |= ^= <<= >>=".split())
TYPES = set("void char short int long float double signed unsigned _Bool".split())
QUALIFIERS = set("static const volatile restrict __restrict inline __inline register extern __extension__".split())
RECORDS = ("struct", "union", "enum")
KEYWORDS = TYPES | QUALIFIERS | set(RECORDS) | set("if else for while do switch case default break continue return goto "
                                                   "sizeof typedef __attribute__ asm main".split())


class Group:
    """Items between brackets; OPEN is "" for the whole text."""

    def __init__(self, opening, items):
        self.open, self.items = opening, items

    def copy(self):
        return Group(self.open, [i.copy() if isinstance(i, Group) else i for i in self.items])


def is_group(item, opening):
    return isinstance(item, Group) and item.open == opening


def is_name(item):
    return isinstance(item, str) and (item[0].isalpha() or item[0] in "_$") and item not in KEYWORDS


def parse(text):
    """The tree of a text. Brackets without a partner stay tokens."""
    stack = [Group("", [])]
    for token in TOKEN.findall(text):
        if token.isspace() or token.startswith(("//", "/*")):
            continue
        if token in CLOSES:
            stack.append(Group(token, []))
        elif len(stack) > 1 and token == CLOSES[stack[-1].open]:
            done = stack.pop()
            stack[-1].items.append(done)
        else:
            stack[-1].items.append(token)
    while len(stack) > 1:
        broken = stack.pop()
        stack[-1].items += [broken.open] + broken.items
    return stack[0]


def groups(group):
    """All groups below, outer ones first."""
    level = [group]
    while level:
        yield from level
        level = [i for g in level for i in g.items if isinstance(i, Group)]


def statements(group):
    """[first, last + 1] of each statement of a list in braces, or of the whole text."""
    items, found, start = group.items, [], 0
    for n, item in enumerate(items):
        after = items[n + 1] if n + 1 < len(items) else None
        first = items[start]
        ends = False
        if item == ";":
            ends = after != "else"
        elif is_group(item, "{"):
            before = items[n - 1] if n > start else None
            record = any(i in RECORDS for i in items[start:n]) and not any(is_group(i, "(") for i in items[start:n])
            ends = not record and before not in ASSIGNS and after not in ("else", ";", ",", ")") and \
                not (first == "do" and after == "while")
        elif item == ":":
            ends = first in ("case", "default") or (n == start + 1 and is_name(first))
        elif isinstance(item, str) and item.lstrip().startswith("#"):
            ends = True
        if ends:
            found.append((start, n + 1))
            start = n + 1
    if start < len(items):
        found.append((start, len(items)))
    return found


def is_code(group):
    """Whether braces hold statements (or members) and no initialiser."""
    return group.open == "" or group.open == "{" and (not group.items or any(i == ";" or is_group(i, "{") and is_code(i)
                                                                             for i in group.items))


# ---- the text again

NO_SPACE_BEFORE = set(", ; ) ] . -> ++ -- :".split())
NO_SPACE_AFTER = set("( [ . -> ~ !".split())
UNARY = set("- + * & ++ --".split())


def spaced(tokens):
    """Tokens of one line with spaces where they read well."""
    out, before, unary = [], None, False
    for token in tokens:
        operand = before is not None and (before in (")", "]") or re.match(r"[\w$\"'.]", before) and
                                          before not in ("return", "case") and before not in TYPES)
        gap = before is not None and token not in NO_SPACE_BEFORE and before not in NO_SPACE_AFTER and not unary
        if token in ("(", "[") and operand and before not in KEYWORDS:
            gap = False
        if token in ("++", "--") and not operand and before is not None and before not in NO_SPACE_AFTER:
            gap = True
        if gap and token in UNARY and before in UNARY:
            gap = True
        elif unary and token[0] == before[0]:
            gap = True  # - -x is no --x
        if gap:
            out.append(" ")
        out.append(token)
        unary = token in UNARY and not operand
        before = token
    return "".join(out)


def flat(item):
    if isinstance(item, str):
        return [item]
    return [item.open] * bool(item.open) + [t for i in item.items for t in flat(i)] + \
        ([CLOSES[item.open]] if item.open else [])


def weight(items):
    return sum(len(flat(i)) for i in items)


def lines_of(group, indent):
    result = []
    for first, end in statements(group):
        line = []
        for item in group.items[first:end]:
            if is_group(item, "{") and is_code(item) and item.items:
                result.append(indent + (spaced(line) + " {" if line else "{"))
                result += lines_of(item, indent + "    ")
                line = ["}"]
            else:
                line += flat(item)
        if line == [";"] and result and result[-1].strip() == "}":
            result[-1] += ";"
        elif line:
            result.append(indent + spaced(line))
    return result


def text_of(tree):
    return "\n".join(lines_of(tree, "")) + "\n"


# ---- cuts

class Cutter:
    """The tree of a shrinker's text, and cuts that are taken back when they are refused."""

    def __init__(self, shrinker):
        self.shrinker = shrinker
        self.head = "".join(l for l in shrinker.text.splitlines(True)[:5] if re.match(r"//\s*(args|options):", l))
        self.tree = parse(shrinker.text)

    def late(self):
        return self.shrinker.late()

    def holds(self):
        return self.shrinker.try_text(self.head + text_of(self.tree))

    def swap(self, group, first, end, new):
        """Puts NEW in place of items; whether that holds."""
        old = group.items[first:end]
        group.items[first:end] = new
        if self.holds():
            return True
        group.items[first:first + len(new)] = old
        return False

    def trial(self, change):
        """CHANGE is applied to a copy of the tree; false from it means that there is nothing to try."""
        tree = self.tree
        self.tree = tree.copy()
        if change(self.tree) is not False and self.holds():
            return True
        self.tree = tree
        return False

    def chunks(self, count, attempt):
        """ATTEMPT(first, end) on chunks of COUNT things that halve; it answers whether they are gone."""
        size = max(1, count // 2)
        while size and not self.late():
            at = 0
            while at < count and not self.late():
                end = min(count, at + size)
                if attempt(at, end):
                    count -= end - at
                else:
                    at = end
            size //= 2

    # names

    def names(self):
        """What is declared anywhere, functions and large things first come first."""
        names = []
        for g in groups(self.tree):
            if not is_code(g):
                continue
            for first, end in statements(g):
                names += [n for n in declared(g.items[first:end]) if n not in names]
        found = list(reversed(names))

        def attempt(a, b):
            if self.trial(lambda tree: erase(tree, set(found[a:b]))):
                del found[a:b]
                return True
            return False

        self.chunks(len(found), attempt)

    # statements

    def lists(self):
        """The lists of statements, outer ones first. Cuts in one that is cut away meanwhile change nothing."""
        return [g for g in groups(self.tree) if is_code(g) and g.items]

    def statements(self):
        for g in self.lists():
            if self.late():
                return

            def attempt(a, b):
                found = statements(g)
                return b <= len(found) and self.swap(g, found[a][0], found[b - 1][1], [])

            self.chunks(len(statements(g)), attempt)

    def unwrap(self):
        for g in self.lists():
            n = 0
            while n < len(statements(g)) and not self.late():
                first, end = statements(g)[n]
                if not self.unwrap_one(g, first, end):
                    n += 1

    def unwrap_one(self, g, first, end):
        items = g.items[first:end]
        if g.open == "" or not items or items[0] in RECORDS:
            return False
        inner = [i for i in items if is_group(i, "{")]
        options = [i.items for i in inner]
        if "else" in items:
            k = items.index("else")
            options += [items[:k], items[k + 1:]]
        if items[0] in ("if", "for", "while", "switch") and len(items) > 2:
            options += [items[2:], [*items[1].items, ";"] if is_group(items[1], "(") else items[2:]]
        if items[0] in ("while", "for"):
            options.append(["if"] + items[1:])
        return any(weight(o) <= weight(items) and o != items and self.swap(g, first, end, o) for o in options)

    # initialisers

    def initialisers(self):
        for g in list(groups(self.tree)):
            if self.late():
                return
            if g.open != "{" or is_code(g) or len(g.items) < 4 or self.swap(g, 0, len(g.items), ["0"]):
                continue

            def attempt(a, b):
                parts = split_commas(g.items)
                return b - a < len(parts) and self.swap(g, 0, len(g.items), joined(parts[:a] + parts[b:]))

            self.chunks(len(split_commas(g.items)), attempt)

    # inlining

    def inlining(self):
        for first, end in reversed(statements(self.tree)):
            items = self.tree.items[first:end]
            if self.late() or not items:
                return
            if items[0] == "typedef" and is_name(items[-2]):
                for new in (["int"], items[1:-2]):
                    if self.trial(lambda tree: replace_word(erased(tree, first, end), items[-2], new)):
                        break
            elif is_group(items[-1], "{"):
                for name in declared(items):
                    self.trial(lambda tree: inline(erased(tree, first, end), name, items))

    # parameters

    def parameters(self):
        whole = self.tree
        for first, end in statements(whole):
            items = whole.items[first:end]
            for name in declared(items) if is_group(items[-1], "{") else []:
                self.parameters_of(name)

    def parameters_of(self, name):
        k = 0
        while k < 12 and not self.late():
            if not any(self.trial(lambda tree: drop_parameter(tree, name, k, keep)) for keep in (False, True)):
                k += 1

    # expressions

    def regions(self):
        """(group, first, end) of each run of items between separators, the longest first."""
        found = []
        for g in groups(self.tree):
            if g.open == "" or not g.items:
                continue
            start = 0
            for n, item in enumerate(g.items + [";"]):
                if item in (",", ";", "return", "?", ":", "case") or item in ASSIGNS or (is_group(item, "{") and g.open == "{"):
                    if n > start:
                        found.append((g, start, n))
                    start = n + 1
        return sorted(found, key=lambda r: weight(r[0].items[r[1]:r[2]]), reverse=True)

    def expressions(self):
        k = 0
        while not self.late():
            found = self.regions()
            if k >= len(found):
                return
            g, first, end = found[k]
            if not any(self.swap(g, first, end, option) for option in simpler(g.items[first:end], g.open)):
                k += 1

    # words

    def words(self):
        for g in list(groups(self.tree)):
            n = 0
            while n < len(g.items) and not self.late():
                item = g.items[n]
                options = []
                if item in QUALIFIERS or item in ("signed", "long", "unsigned"):
                    options = [[]]
                elif item == "__attribute__" and n + 1 < len(g.items):
                    if self.swap(g, n, n + 2, []):
                        continue
                elif item in ("char", "short", "float", "double"):
                    options = [["int"]]
                elif isinstance(item, str) and re.match(r"\d", item) and item not in ("0", "1"):
                    options = [["0"], ["1"], ["2"]] + ([[str(int(item) // 2)]] if item.isdigit() else [])
                    options += [[item.rstrip("uUlL")]] if item.rstrip("uUlL") != item else []
                if item in ASSIGNS and n + 1 < len(g.items):
                    stop = next((m for m in range(n, len(g.items)) if g.items[m] in (",", ";")), len(g.items))
                    self.swap(g, n, stop, [])
                if not any(o != [item] and self.swap(g, n, n + 1, o) for o in options) or options != [[]]:
                    n += 1
        self.commas()

    def commas(self):
        """Parts of lists: declarators, initialisers, arguments."""
        for g in list(groups(self.tree)):
            n = 0
            while n < len(g.items) and not self.late():
                if g.items[n] == ",":
                    before = next((m for m in range(n - 1, -1, -1) if g.items[m] in (",", ";")), -1) + 1
                    after = next((m for m in range(n + 1, len(g.items)) if g.items[m] in (",", ";")), len(g.items))
                    listed = g.open != "{" or not is_code(g)
                    if self.swap(g, n, after, []) or listed and self.swap(g, before, n + 1, []) or \
                       n and not listed and self.swap(g, n - 1, n + 1, []):
                        continue
                n += 1


def declared(items):
    """Names that a statement declares, if it looks like a declaration: the function, or each declarator."""
    if items and is_group(items[-1], "{"):
        for n, item in enumerate(items[:-1]):
            if is_name(item) and is_group(items[n + 1], "("):
                return [item]
            if is_group(item, "(") and len(item.items) == 1 and is_group(items[n + 1], "("):
                return item.items if is_name(item.items[0]) else []
        return []
    names = []
    typed = False
    for n, item in enumerate(items):
        after = items[n + 1] if n + 1 < len(items) else None
        if item in TYPES or item in RECORDS or item in QUALIFIERS or item == "typedef":
            typed = True
        elif is_name(item):
            if n and items[n - 1] in RECORDS:
                if is_group(after, "{") or after == ";":
                    names.append(item)
                continue
            if (typed or n) and (after in (";", ",", "=", ":") or is_group(after, "[") or is_group(after, "(")):
                names.append(item)
            typed = True
        elif item in ASSIGNS or item in BINARY and item not in ("*", ","):
            break
    return names if typed else []


def mentions(item, names):
    if isinstance(item, Group):
        return any(mentions(i, names) for i in item.items)
    return item in names


def erase(group, names):
    """Takes out all that mentions NAMES: calls become 0, statements go, conditions become 0. False when there is none."""
    seen = False
    for first, end in reversed(statements(group)):
        items = group.items[first:end]
        if not any(mentions(i, names) for i in items):
            continue
        seen = True
        is_body = any(is_group(i, "{") and is_code(i) for i in items)
        if set(declared(items)) & names or not is_body and not calls_erased(items, names):
            group.items[first:end] = []
            continue
        for item in items if is_body else []:
            if is_group(item, "{"):
                erase(item, names)
            elif is_group(item, "(") and mentions(item, names):
                calls_erased_in(item, names)
                if mentions(item, names):
                    item.items = [i for i in "0 ; 0 ; 0".split()] if ";" in item.items else ["0"]
        group.items[first:end] = items
    return seen


def calls_erased_in(group, names):
    """Calls of NAMES below become 0."""
    n = 0
    while n < len(group.items):
        item = group.items[n]
        if item in names and n + 1 < len(group.items) and is_group(group.items[n + 1], "("):
            group.items[n:n + 2] = ["0"]
        elif isinstance(item, Group):
            calls_erased_in(item, names)
        n += 1


def calls_erased(items, names):
    """The same for a statement's items, in place; false when the statement itself is the call or names remain."""
    if items[0] in names:
        return False
    whole = Group("", list(items))
    calls_erased_in(whole, names)
    items[:] = whole.items
    return not any(mentions(i, names) for i in items)


def erased(tree, first, end):
    tree.items[first:end] = []
    return tree


def replace_word(group, word, new):
    """Puts the items NEW for each WORD below; only for names, which stand for no member here or the compiler refuses it."""
    items = []
    for item in group.items:
        if isinstance(item, Group):
            replace_word(item, word, new)
        items += [i.copy() if isinstance(i, Group) else i for i in new] if item == word else [item]
    group.items[:] = items


def inline(tree, name, definition):
    """Calls of a function, as statements or of one that is a "return" alone, become what stands in it. False: no such call."""
    formals = next((split_commas(i.items) for i in definition if is_group(i, "(")), [])
    names = [p[-1] for p in formals if p != ["void"]]
    body = definition[-1].copy()
    found = statements(body)
    last = body.items[found[-1][0]:] if found else []
    value = last[1:-1] if last and last[0] == "return" and len(found) == 1 else None
    if last and last[0] == "return":
        body.items[found[-1][0]:] = []
    done = [False]

    def instance(what, arguments):
        what = what.copy()
        for formal, actual in zip(names, split_commas(arguments.items)):
            replace_word(what, formal, actual if len(actual) == 1 else [Group("(", actual)])
        return what

    def visit(group):
        n = 0
        while n + 1 < len(group.items):
            item, after = group.items[n], group.items[n + 1]
            if isinstance(item, Group):
                visit(item)
            elif item == name and is_group(after, "("):
                alone = (n == 0 or group.items[n - 1] == ";" or isinstance(group.items[n - 1], Group)) and \
                    n + 2 < len(group.items) and group.items[n + 2] == ";" and group.open == "{"
                if alone:
                    group.items[n:n + 3] = [instance(body, after)]
                    done[0] = True
                elif value:
                    group.items[n:n + 2] = [instance(Group("(", value), after)]
                    done[0] = True
            n += 1
        if group.items and isinstance(group.items[-1], Group):
            visit(group.items[-1])

    visit(tree)
    return done[0]


def split_commas(items):
    parts, start = [], 0
    for n, item in enumerate(items + [","]):
        if item == ",":
            parts.append(items[start:n])
            start = n + 1
    return parts if items else []


def joined(parts):
    return [i for n, p in enumerate(parts) for i in ([","] if n else []) + p]


def drop_parameter(tree, name, k, keep):
    """Parameter K of a function and the arguments for it; with KEEP it becomes a local variable of value 1."""
    done = [False]

    def visit(group):
        items = group.items
        for n, item in enumerate(items):
            if isinstance(item, Group):
                visit(item)
            if item != name or n + 1 >= len(items) or not is_group(items[n + 1], "("):
                continue
            arguments = items[n + 1]
            parts = split_commas(arguments.items)
            if k >= len(parts):
                continue
            gone = parts.pop(k)
            definition = group.open == "" and n + 2 < len(items) and is_group(items[n + 2], "{")
            arguments.items = joined(parts) or (["void"] if group.open == "" else [])
            if definition and gone != ["void"]:
                done[0] = True
                if keep:
                    items[n + 2].items[:0] = gone + ["=", "1", ";"]

    visit(tree)
    return done[0]


def simpler(items, opening):
    """What may stand for a run of items, small things first."""
    if len(items) == 1 and isinstance(items[0], str):
        return [["0"]] if is_name(items[0]) else []
    options = [["0"], ["1"]] if opening != "{" or len(items) > 1 else []
    start = 0
    for n, item in enumerate(items + ["+"]):
        if item in BINARY and n > start:
            part = items[start:n]
            if 0 < len(part) < len(items):
                options.append(part)
            start = n + 1
    for n, item in enumerate(items):
        if item in BINARY and 0 < n < len(items) - 1:
            options += [items[:n], items[n + 1:]]
    for n, item in enumerate(items):
        if is_group(item, "("):
            options.append(list(item.items))
            options += [p for p in split_commas(item.items) if len(p) < len(item.items)]
            rest = items[:n] + items[n + 1:]
            if rest:
                options += [rest] + ([items[:n] + item.items + items[n + 1:]] if len(item.items) == 1 else [])
        elif item in ("-", "~", "!", "*", "&", "++", "--"):
            options.append(items[:n] + items[n + 1:])
    unique = []
    for o in options:
        if o and o != items and o not in unique:
            unique.append(o)
    return unique


def shrink_c(shrinker):
    """All cuts, coarse to fine, until none helps."""
    cutter = Cutter(shrinker)
    if not cutter.holds() and cutter.head + text_of(cutter.tree) != shrinker.text:
        shrinker.say("taken apart and put together it is not interesting any more")
        return
    coarse = (cutter.names, cutter.statements, cutter.initialisers, cutter.inlining, cutter.unwrap)
    fine = (cutter.parameters, cutter.expressions, cutter.words)

    def until_none_helps(cuts, inner):
        before = None
        while before != shrinker.text and not shrinker.late():
            before = shrinker.text
            inner()
            for cut in cuts:
                cut()
                shrinker.say("%-12s %4d lines, %5d candidates" % (cut.__name__, shrinker.text.count("\n"), shrinker.asked))

    until_none_helps(fine, lambda: until_none_helps(coarse, lambda: None))
