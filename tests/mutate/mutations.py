"""Single-token changes of C++ source.

A mutation is a replacement of one stretch of text by another one. The operators below know as much of C++ as they need:
comments, preprocessor lines, assertions and string literals are masked, brackets are matched.
"""

import re
from dataclasses import dataclass


@dataclass(frozen=True)
class Mutation:
    file: str  # name within vell/bv
    begin: int  # offsets into the file's text
    end: int
    text: str  # what replaces it
    operator: str

    def apply(self, source):
        return source[: self.begin] + self.text + source[self.end :]

    def lines(self, source):
        """The lines that change, before and after, without indentation; lines of one version are joined by ` / `."""
        first = source.rfind("\n", 0, self.begin) + 1
        last = source.find("\n", self.end)
        last = len(source) if last < 0 else last
        before = source[first:last]
        after = source[first : self.begin] + self.text + source[self.end : last]
        return squeeze(before), squeeze(after)

    def line_number(self, source):
        return source.count("\n", 0, self.begin) + 1


def squeeze(text):
    return " / ".join(" ".join(line.split()) for line in text.strip().split("\n"))


def mask(source):
    """The source with comments, preprocessor lines, assertions and the inside of strings blanked out, same length."""
    out = list(source)

    def blank(begin, end):
        for i in range(begin, end):
            if out[i] != "\n":
                out[i] = " "

    i = 0
    while i < len(source):
        if source.startswith("//", i):
            end = source.find("\n", i)
            blank(i, end)
            i = end
        elif source[i] == "#" and source[:i].rpartition("\n")[2].strip() == "":
            end = source.find("\n", i)
            blank(i, end)
            i = end
        elif source[i] == '"':
            end = i + 1
            while source[end] != '"':
                end += 2 if source[end] == "\\" else 1
            blank(i + 1, end)
            i = end + 1
        else:
            i += 1
    text = "".join(out)
    for m in re.finditer(r"\bassert\(", text):
        end = closing(text, m.end() - 1)
        blank(m.start(), end + 1)
        text = "".join(out)
    return text


def closing(text, opening):
    """The offset of the bracket that closes the one at `opening`."""
    depth = 0
    for i in range(opening, len(text)):
        if text[i] in "([{":
            depth += 1
        elif text[i] in ")]}":
            depth -= 1
            if depth == 0:
                return i
    raise ValueError("unbalanced brackets")


def arguments(text, opening):
    """The (begin, end) offsets of the arguments of the call whose bracket opens at `opening`."""
    end = closing(text, opening)
    spans = []
    depth = 0
    begin = opening + 1
    for i in range(opening + 1, end):
        c = text[i]
        if c in "([{":
            depth += 1
        elif c in ")]}":
            depth -= 1
        elif c == "," and depth == 0:
            spans.append((begin, i))
            begin = i + 1
    spans.append((begin, end))
    trimmed = []
    for b, e in spans:
        while b < e and text[b].isspace():
            b += 1
        while e > b and text[e - 1].isspace():
            e -= 1
        if b < e:
            trimmed.append((b, e))
    return trimmed


def negated(argument):
    if argument.startswith("-"):
        return argument[1:]
    return "-" + argument if re.fullmatch(r"[\w.\[\]>()-]+", argument) else f"-({argument})"


# Calls whose arguments matter by order: gates, circuits, clauses and what else takes the sink.
CALL = re.compile(r"\b(emit|bit_(?:and|or|xor|ite)|word_\w+|full_adder|add_bits|correct_by_signs|tie_to_atom|fp_to_bv|choose)\(")


def calls(text, source):
    """(name, opening offset, arguments) of the calls, not of the definitions, in the text."""
    for m in CALL.finditer(text):
        before = text[: m.start()].rstrip()
        if before.endswith("::") or re.search(r"\bWord\w*::$", before):
            continue
        spans = arguments(text, m.end() - 1)
        if not spans or any(re.match(r"(ClauseSink|Term_|BvLit\w*)\b.*\w", source[b:e]) for b, e in spans):
            continue
        yield m.group(1), m.end() - 1, spans


# A declaration whose initializer reads what no neighbour changes: two of them, or one and a trace, may stand in any order.
READ = re.compile(
    r"(?:[\w:<>]+[*&]* )+\w+"
    r"(?: = (?:-?\*?[\w:]+|\(?\*?\w+\)?(?:->|\.)(?:size|back|front|symbol)(?:\(\))?|\(\*\w+\)\[\w+\]|\w+\[\w+(?: [+-] \w+)?\]"
    r"|\w+->children\[\d\]|\w+->symbol->get_output_type\(\)|\*?lookup\([\w>\[\]-]+\)|width_of\([\w>\[\]-]+\)));")


def mutations_of(file, source):
    text = mask(source)
    found = []

    def add(begin, end, replacement, operator):
        if source[begin:end] != replacement:
            found.append(Mutation(file, begin, end, replacement, operator))

    # ---- calls: order and sign of their arguments ----
    for name, opening, spans in calls(text, source):
        operands = [s for s in spans if source[s[0] : s[1]] != "sink"]
        for (b1, e1), (b2, e2) in zip(operands, operands[1:]):
            add(b1, e2, source[b2:e2] + source[e1:b2] + source[b1:e1], "swap arguments")
        if name == "emit" or name.startswith("bit_"):
            for b, e in operands:
                add(b, e, negated(source[b:e]), "negate argument")
        if name == "bit_ite" and len(operands) == 3:
            (b1, e1), (b3, e3) = operands[0], operands[2]
            add(b1, e3, source[b3:e3] + source[e1:b3] + source[b1:e1], "swap arguments")
    gates = {"bit_and": "bit_or", "bit_or": "bit_and", "bit_xor": "bit_or"}
    for m in re.finditer(r"(?<!::)\b(bit_and|bit_or|bit_xor)\(", text):
        add(m.start(1), m.end(1), gates[m.group(1)], "other gate")
    circuits = {"word_ule": "word_ult", "word_ult": "word_ule", "word_sl": "word_sr", "word_neg": None}
    for m in re.finditer(r"(?<!::)\b(word_ule|word_ult)\(", text):
        add(m.start(1), m.end(1), circuits[m.group(1)], "other circuit")

    # ---- constants ----
    for m in re.finditer(r"\bl_(true|false|undef)\b", text):
        for other in {"true": ["l_false"], "false": ["l_true"], "undef": ["l_true", "l_false"]}[m.group(1)]:
            add(m.start(), m.end(), other, "other constant")
    for m in re.finditer(r"\b(true|false|nullptr)\b", text):
        if m.group(1) != "nullptr":
            add(m.start(), m.end(), "false" if m.group(1) == "true" else "true", "other constant")
    for m in re.finditer(r"(?<![\w.])(\d+)(?![\w.])", text):
        # Levels of traces are done below.
        if re.search(r"(VELL_TRACE|loglevel)\($", text[: m.start()]):
            continue
        n = int(m.group(1))
        add(m.start(), m.end(), str(n + 1), "number by one")
        if n > 0:
            add(m.start(), m.end(), str(n - 1), "number by one")

    # ---- operators ----
    swaps = {
        "==": ["!="], "!=": ["=="], "<": ["<="], "<=": ["<"], ">": [">="], ">=": [">"],
        "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"], "%": ["/"], "*": ["+"],
    }
    for m in re.finditer(r"(?<=\s)(==|!=|<=|>=|&&|\|\||<|>|\+|-|%|\*)(?=\s)", text):
        for other in swaps[m.group(1)]:
            add(m.start(), m.end(), other, "other operator")
    for m in re.finditer(r"(?<=[\s(,\[{])([-!])(?=[\w(])", text):
        add(m.start(), m.end(), "", "drop sign")
    for m in re.finditer(r"(?<=return )(?!true;|false;)(?=[a-z]\w*;)", text):
        add(m.start(), m.end(), "-", "negate result")
    for m in re.finditer(r" \? ", text):
        colon = matching_colon(text, m.end())
        if colon is None:
            continue
        end = end_of_expression(text, colon + 3)
        add(m.end(), end, source[colon + 3 : end] + " : " + source[m.end() : colon], "swap branches")

    # ---- indices and bounds ----
    for m in re.finditer(r"(?<=[\w)])\[([^\[\]]*[a-z_][^\[\]]*)\]", text):
        if "&" in m.group(1) or "=" in m.group(1):
            continue
        add(m.start(1), m.end(1), source[m.start(1) : m.end(1)] + " + 1", "index by one")
    for m in re.finditer(r"\b(front|back|begin|end|rbegin|rend)\(\)", text):
        other = {"front": "back", "back": "front"}.get(m.group(1))
        if other:
            add(m.start(1), m.end(1), other, "other end")
    for m in re.finditer(r"\.detach\(\)", text):
        add(m.start(), m.end(), ".get()", "no detach")
    for m in re.finditer(r"\bcontinue\b", text):
        add(m.start(), m.end(), "break", "break")

    # ---- traces ----
    for m in re.finditer(r"VELL_TRACE\((\d)\)", text):
        level = int(m.group(1))
        add(m.start(1), m.end(1), str(level + 1), "trace level")
        add(m.start(1), m.end(1), str(level - 1), "trace level")
        end = text.index(";", m.end())
        add(m.start(), end, "(void)0", "no trace")
        for s in re.finditer(r'"([^"]*)"', source[m.end() : end]):
            begin = m.end() + s.start(1)
            if not s.group(1):
                continue
            at = begin + len(s.group(1)) // 2
            if source[at - 1] == "\\" or source[at] == "\\":
                at = begin
            add(at, at + 1, "_" if source[at] != "_" else " ", "trace text")
            if s.group(1).endswith(" "):
                last = begin + len(s.group(1)) - 1
                add(last, last + 1, "", "trace text")
        for s in re.finditer(r" << endlog", text[m.end() : end]):
            add(m.end() + s.start(), m.end() + s.end(), "", "no end of log")
        pieces = [p for p in re.finditer(r"<< (\*?[a-z]\w*(?:\[\w+\])?)(?= )", text[m.end() : end]) if p.group(1) != "endlog"]
        for p, q in zip(pieces, pieces[1:]):
            b1, e1, b2, e2 = (m.end() + o for o in (p.start(1), p.end(1), q.start(1), q.end(1)))
            add(b1, e2, source[b2:e2] + source[e1:b2] + source[b1:e1], "swap pieces")

    # ---- statements ----
    lines = []
    offset = 0
    for line in text.split("\n"):
        lines.append((offset, line))
        offset += len(line) + 1

    def is_statement(line):
        s = line.strip()
        # What begins with an operator continues the line above; a lone semicolon is a blanked assertion.
        return s.endswith(";") and not re.match(r"(return\b|break|continue|namespace|using|#|\}|;|<<|static_assert)", s)

    def balanced(line):
        return all(line.count(a) == line.count(b) for a, b in ("()", "[]", "{}"))

    texts = [line for _, line in lines]
    for i, (offset, line) in enumerate(lines):
        indent = len(line) - len(line.lstrip())
        if indent == 0 or not is_statement(line) or not balanced(line) or continues(texts, i):
            continue
        begin = offset + indent
        end = offset + len(line.rstrip())
        declaration = re.match(r"\s*(?:[\w:]+(?:<[\w:, ]+>)?(?: const)?[&*]?(?: const)?\s+)+[*&]?\w+(?:\[\d+\])?\s*(=|;|\()", line) and not re.match(
            r"\s*(return|delete|throw)\b", line
        )
        if not declaration and not line.strip().startswith("VELL_TRACE") and not re.match(r"\s*(if|for|while|else)\b", line):
            add(begin, end, "(void)0;", "drop statement")
        if i + 1 < len(lines):
            next_offset, next_line = lines[i + 1]
            next_indent = len(next_line) - len(next_line.lstrip())
            only_reads = [READ.fullmatch(s.strip()) is not None for s in (line, next_line)]
            if all(only_reads) or (any(only_reads) and line.strip().startswith("VELL_TRACE")):
                continue
            if next_indent == indent and is_statement(next_line) and balanced(next_line) and not re.match(r"\s*(else)\b", next_line):
                next_end = next_offset + len(next_line.rstrip())
                add(begin, next_end,
                    source[next_offset + indent : next_end] + "\n" + " " * indent + source[begin:end], "swap statements")
    return sorted(set(found), key=lambda m: (m.begin, m.end, m.text))


def continues(lines, i):
    """Whether line i goes on with the statement of the line above."""
    if re.match(r"\s*(\?|:|&&|\|\||<<|[-+*/%<>&|^] |[=!<>]= |\.)", lines[i]):
        return True
    above = next((line.strip() for line in reversed(lines[:i]) if line.strip()), "")
    if re.match(r"(case\b.*|default|public|private|protected)\s*:$", above):
        return False
    return re.search(r"([-=(,?:+*/%&|^<]|\breturn)$", above) is not None


def matching_colon(text, start):
    """The offset of the " : " that belongs to a " ? " that ends at `start`."""
    depth = 0
    questions = 0
    for i in range(start, min(len(text), start + 400)):
        c = text[i]
        if c in "([{":
            depth += 1
        elif c in ")]}":
            if depth == 0:
                return None
            depth -= 1
        elif depth == 0 and text.startswith(" ? ", i):
            questions += 1
        elif depth == 0 and text.startswith(" : ", i):
            if questions == 0:
                return i
            questions -= 1
        elif c == ";":
            return None
    return None


def end_of_expression(text, start):
    depth = 0
    for i in range(start, len(text)):
        c = text[i]
        if c in "([{":
            depth += 1
        elif c in ")]}":
            if depth == 0:
                return i
            depth -= 1
        elif depth == 0 and c in ";,":
            return i
    return len(text)
