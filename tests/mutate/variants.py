"""One source file that holds all mutants of another one, a number chooses between them.

A mutant of its own compiler run costs a hundred times what it costs to test. So code with mutants becomes a switch over
`vell_mutant`: a case for each of them, with the changed code, and the code as it was. The code is the run of plain
statements that the mutant is in, and elsewhere (in declarations, in conditions of blocks) the whole body of the function.
A case is a block of its own, so what does not compile in it is an error on its own lines.
"""

import re

from mutations import closing, continues, mask

DECLARATION = "extern int vell_mutant;"
# Set before anything of the library runs.
DEFINITION = """#include <cstdlib>
extern int vell_mutant;
int vell_mutant = -1;
[[gnu::constructor(101)]] static void choose_mutant() {
  if (char const* number = std::getenv("VELL_MUTANT")) vell_mutant = std::atoi(number);
}
"""


def function_bodies(source):
    """(begin, end, returns nothing) of every outermost function body, brackets included."""
    text = mask(source)
    bodies = []
    i = 0
    header = 0
    while i < len(text):
        if text[i] in ";}":
            header = i + 1
        elif text[i] == "{":
            head = " ".join(text[header:i].split())
            if re.match(r"(inline )?namespace\b", head) or re.match(r"(struct|class)\b[^()=]*$", head):
                header = i + 1
            else:
                end = closing(text, i) + 1
                if re.search(r"\)( const| noexcept| override)*$", head):
                    named = re.search(r"([\w:~]+)\(", head)  # an operator has no such name
                    name = named.group(1).split("::") if named else [""]
                    is_structor = len(name) > 1 and name[-1].lstrip("~") == name[-2]
                    bodies.append((i, end, is_structor or re.match(r"(inline |static )*void ", head) is not None))
                i = end - 1
                header = end
        i += 1
    return bodies


# A statement on one line that declares nothing.
PLAIN = re.compile(r"(?!.*\bbreak\b)(?:(?:return|if \(|for \(|while \().*|[\w.:>-]+\(.*\).*|[(*]*\w+(?:\)|->\w+|\.\w+|\[[^\]]*\])* = .*);")


def plain_runs(source, begin, end):
    """(begin, end) of the longest runs of plain statements, of one indentation each, between two offsets."""
    text = mask(source)[begin:end]
    runs = []
    offset = begin
    lines = text.split("\n")
    for i, line in enumerate(lines):
        statement = line.strip()
        indent = len(line) - len(line.lstrip())
        following = lines[i + 1].strip() if i + 1 < len(lines) else ""
        if (PLAIN.fullmatch(statement) and all(line.count(a) == line.count(b) for a, b in ("()", "[]", "{}"))
                and not following.startswith("else") and not continues(lines, i)):
            here = (offset + indent, offset + len(line.rstrip()))
            if runs and runs[-1][2] == i - 1 and runs[-1][3] == indent:
                runs[-1] = (runs[-1][0], here[1], i, indent)
            else:
                runs.append((*here, i, indent))
        offset += len(line) + 1
    return [(b, e) for b, e, _, _ in runs]


class Variants:
    """The text with every mutant of one file. `outside`: mutants that are in no function."""

    def __init__(self, source, mutants):
        """mutants: {number: Mutation}"""
        self.outside = set(mutants)
        self.lines = {}  # line of the text: number of the mutant that stands there
        pieces = [DECLARATION + "\n"]
        line = 2  # the next one to be written
        last = 0

        def put(piece):
            nonlocal line
            pieces.append(piece)
            line += piece.count("\n")

        def put_cases(begin, end, inside, ending):
            put("switch (vell_mutant) {\n")
            for number, m in inside.items():
                first = line
                put(f"case {number}: {{\n{source[begin : m.begin]}{m.text}{source[m.end : end]}\n}} {ending};\n")
                self.lines.update((n, number) for n in range(first, line))
            put("default:\n")

        for begin, end, returns_nothing in function_bodies(source):
            inside = {k: m for k, m in mutants.items() if begin < m.begin and m.end < end}
            self.outside -= set(inside)
            put(source[last:begin])
            last = begin
            runs = []
            for b, e in plain_runs(source, begin, end):
                in_run = {k: m for k, m in inside.items() if b <= m.begin and m.end <= e and "break" not in m.text}
                if in_run:
                    runs.append((b, e, in_run))
                    inside = {k: m for k, m in inside.items() if k not in in_run}
            if inside:
                put("{\n")
                put_cases(begin, end, inside, "return" if returns_nothing else "__builtin_trap()")
                put("break;\n}\n")
            for b, e, in_run in runs:
                put(source[last:b])
                last = e
                put_cases(b, e, in_run, "break")
                put(source[b:e] + "\n}\n")
            put(source[last:end])
            last = end
            if inside:
                put("\n}\n")
        put(source[last:])
        self.text = "".join(pieces)

    def rejected(self, name, messages):
        """The mutants that the compiler's messages are about."""
        found = set()
        for m in re.finditer(re.escape(name) + r":(\d+):(?:\d+:)? +(?:error|fatal error|required from)", messages):
            number = self.lines.get(int(m.group(1)))
            if number is not None:
                found.add(number)
        return found
