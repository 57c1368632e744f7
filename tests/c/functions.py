#!/usr/bin/env python3
"""Every function that vell.h declares is called in tests/c/interface.c, with a wrong handle if it takes one."""

import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parents[2]
header = (root / "vell/c/vell.h").read_text()
program = (root / "tests/c/interface.c").read_text()
functions = re.findall(r"^VELL_C_API [\w *]*?\*?(vell_\w+)\(", header, re.M)
handles = program[program.index("static void wrong_handles"):program.index("static void wrong_arguments")]
without = {"vell_version", "vell_error_text", "vell_message", "vell_string_free", "vell_terms_new"}
problems = [f"{f} is not called" for f in functions if f + "(" not in program]
problems += [f"{f} is not called with a wrong handle" for f in functions if f not in without and f + "(" not in handles]
print("\n".join(problems) or f"{len(functions)} functions")
sys.exit(1 if problems or len(functions) < 50 else 0)
