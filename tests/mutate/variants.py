"""One source file that holds all mutants of another one, a number chooses between them.

A mutant of its own compiler run costs a hundred times what it costs to test. So every function with mutants becomes a
switch over `vell_mutant`: a case for each of them, with the changed body, and behind the switch the body as it was. A
case is a block of its own, so what does not compile in it is an error on its own lines.
"""

import re

from mutations import closing, mask

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
                    name = re.search(r"([\w:~]+)\(", head).group(1).split("::")
                    is_structor = len(name) > 1 and name[-1].lstrip("~") == name[-2]
                    bodies.append((i, end, is_structor or re.match(r"(inline |static )*void ", head) is not None))
                i = end - 1
                header = end
        i += 1
    return bodies


class Variants:
    """The text with every mutant of one file. `outside`: mutants that are in no function."""

    def __init__(self, source, mutants):
        """mutants: {number: Mutation}"""
        self.outside = set(mutants)
        self.lines = {}  # line of the text: number of the mutant that stands there
        pieces = [DECLARATION + "\n"]
        line = 2
        last = 0

        def put(piece):
            nonlocal line
            pieces.append(piece)
            line += piece.count("\n")

        for begin, end, returns_nothing in function_bodies(source):
            inside = {k: m for k, m in mutants.items() if begin < m.begin and m.end < end}
            put(source[last:begin])
            last = end
            if inside:
                put("{\nswitch (vell_mutant) {\n")
                for number, m in inside.items():
                    first = line + 1
                    body = source[begin : m.begin] + m.text + source[m.end : end]
                    put(f"case {number}:\n{body}\n" + ("return;\n" if returns_nothing else "__builtin_trap();\n"))
                    for n in range(first, line):
                        self.lines[n] = number
                put("default: break;\n}\n")
                self.outside -= set(inside)
            put(source[begin:end])
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
