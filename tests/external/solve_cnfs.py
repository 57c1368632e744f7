#!/usr/bin/env python3
"""CNF files of vell-bv before SAT solvers that know nothing of it.

    solve_cnfs.py VELL_BV [--limit SECONDS] [--jobs N] [--folder NAME] [--log FILE] [--again LOG]

For every query of every script of manifest.tsv below the folder: `vell-bv cnf` writes it, each SAT solver that is
installed decides it, its verdict must be the manifest's, and `vell-bv decode` must turn its model into one that z3
accepts: the script up to that check-sat with the model as further assertions. The scripts lie in $VELL_BENCHMARKS, or
in ../shared/benchmarks beside the source directory; without them, it says so and does nothing.

Counts stand at the end, for each solver: right, wrong, time limit, no answer; models that z3 accepts, refuses, leaves
open. cvc5 is asked where z3 does not understand the script, such as the overflow predicates. A script that the tool
refuses by name is counted apart. All that is not right is listed. --again runs nothing but the queries that a log of a
former run lists as not right. Exit code 1 when a verdict is wrong, a model is refused, or anything else goes wrong that
a longer limit does not mend.
"""

import argparse
import concurrent.futures
import lzma
import math
import os
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "regress"))
from run_manifest import ERROR, benchmarks  # noqa: E402

# The command, and whether the solution goes to a file of its own rather than to standard output.
SOLVERS = {
    "cadical": (["cadical", "-q", "{cnf}"], False),
    "minisat": (["minisat", "-verb=0", "{cnf}", "{solution}"], True),
    "cryptominisat5": (["cryptominisat5", "--verb", "0", "{cnf}"], False),
}
VERDICTS = {b"s SATISFIABLE": "sat", b"s UNSATISFIABLE": "unsat", b"SAT": "sat", b"UNSAT": "unsat"}
# What a run of one solver on one query can end in. Those of the second line call for a repair.
GOOD = ("right", "time limit")
BAD = ("wrong", "no answer", "not decoded", "model refused")
MODELS = ("accepted", "refused", "open")


def run(command, limit, text=None):
    """Standard output, standard error, and the exit code; None for it when the time was up.

    The limit is on processor time: what is decided must not depend on what else the machine does. At the hard limit
    the kernel kills, which no handler of a solver can turn into something else.
    """
    bound = (math.ceil(limit), math.ceil(limit))
    try:
        p = subprocess.run(command, input=text, stdin=None if text is not None else subprocess.DEVNULL,
                           stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60 * limit,
                           preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU, bound))
    except subprocess.TimeoutExpired:
        return b"", b"", None
    return p.stdout, p.stderr, None if p.returncode in (-signal.SIGKILL, -signal.SIGXCPU) else p.returncode


# ---- the script that z3 has to accept ----

TOKEN = re.compile(rb';[^\n]*|"(?:[^"]|"")*"|\|[^|]*\||[()]')


def commands(text):
    """The script's top-level commands as text."""
    out = []
    depth = 0
    start = 0
    for token in TOKEN.finditer(text):
        if token.group() == b"(":
            if depth == 0:
                start = token.start()
            depth += 1
        elif token.group() == b")":
            depth -= 1
            if depth == 0:
                out.append(text[start:token.end()])
    return out


def head(command):
    match = re.match(rb"\(\s*(?:;[^\n]*\n\s*)*([^\s();]+)", command)
    return match.group(1) if match else b""


KEPT = {b"set-logic", b"declare-const", b"declare-fun", b"declare-sort", b"define-fun", b"define-const", b"define-sort",
        b"assert", b"push", b"pop", b"reset", b"reset-assertions"}


def script_with_model(text, query, model):
    """What stands before the query, the model's values as assertions, the query."""
    out = []
    checks = 0
    for command in commands(text):
        name = head(command)
        if name in (b"check-sat", b"check-sat-assuming"):
            checks += 1
            if checks == query:
                return b"\n".join(out) + b"\n" + model + command + b"\n"
        elif name in KEPT or (name == b"set-option" and b":global-declarations" in command):
            out.append(command)
    raise ValueError("the script has no query %d" % query)


def as_assertions(decoded):
    """The definitions of a printed model as assertions."""
    out = []
    for command in commands(b"(" + decoded.split(b"(", 1)[1])[:1]:
        for definition in commands(command[1:-1]):
            match = re.match(rb"\(define-fun (\|[^|]*\||\S+) \(\) (\([^()]*\)|\S+) (.*)\)$", definition, re.S)
            if not match:
                raise ValueError("no definition: %r" % definition)
            out.append(b"(assert (= %s %s))\n" % (match.group(1), match.group(3)))
    return b"".join(out)


class Query:
    """One query of one script: its CNF before every solver."""

    def __init__(self, vell, root, row, query, expected, limit, solvers):
        self.vell, self.row, self.query, self.expected = vell, row, query, expected
        self.path = os.path.join(root, row["file"])
        self.limit, self.solvers = limit, solvers
        self.judged = {}  # model -> what z3 said of it

    def work(self):
        """Pairs of a solver ("" for the tool itself) and how it ended, with the accepted models between them."""
        with tempfile.TemporaryDirectory() as folder:
            cnf = os.path.join(folder, "query.cnf")
            out, err, code = run([self.vell, "cnf", self.path, "--query", str(self.query), "-o", cnf], self.limit)
            if code is None:
                return [("", "time limit", "")]
            if code != 0:
                line = err.decode(errors="replace").strip()
                # The tool's own message has the form FILE:LINE:COLUMN: what it does not do.
                named = ERROR.match('(error "%s")' % line.removeprefix("vell-bv: "))
                return [("", "refused" if code == 1 and named else "no CNF", line)]
            return [(s, *self.solve(s, cnf, os.path.join(folder, "solution"))) for s in self.solvers]

    def solve(self, solver, cnf, solution):
        command, to_file = SOLVERS[solver]
        out, err, code = run([a.format(cnf=cnf, solution=solution) for a in command], self.limit)
        if code is None:
            return "time limit", ""
        if to_file:
            if not os.path.exists(solution):
                return "no answer", (out + err).decode(errors="replace").strip()[-200:]
            with open(solution, "rb") as f:
                out = f.read()
        else:
            with open(solution, "wb") as f:
                f.write(out)
        verdict = next((VERDICTS[l.strip()] for l in out.split(b"\n") if l.strip() in VERDICTS), None)
        if verdict is None:
            return "no answer", "exit code %d: %s" % (code, (out + err).decode(errors="replace").strip()[-200:])
        if verdict != self.expected:
            return "wrong", "%s, expected %s" % (verdict, self.expected)
        decoded, err, code = run([self.vell, "decode", cnf, solution], self.limit)
        if code != 0 or decoded.split(b"\n")[0].decode() != verdict:
            return "not decoded", (decoded + err).decode(errors="replace").strip()[:200]
        if verdict == "unsat":
            return "right", ""
        model = as_assertions(decoded)
        if model not in self.judged:
            self.judged[model] = self.judge(model)
        return {"accepted": ("right", "accepted"), "refused": ("model refused", "")}.get(
            self.judged[model], ("right", self.judged[model]))

    def judge(self, model):
        """accepted, refused, or "open: why". z3 decides; cvc5 where z3 does not understand the script."""
        opener = lzma.open if self.path.endswith(".xz") else open
        with opener(self.path, "rb") as f:
            script = script_with_model(f.read(), self.query, model)
        why = "open: neither z3 nor cvc5 is installed"
        for judge in (["z3", "-smt2", "-in"], ["cvc5", "--incremental", "--lang=smt2"]):
            if not shutil.which(judge[0]):
                continue
            out, err, code = run(judge, self.limit, script)
            lines = (out + err).split(b"\n")
            answers = [l for l in lines if l in (b"sat", b"unsat", b"unknown")]
            errors = [l for l in lines if l.startswith(b"(error")]
            if code is None:
                why = f"open: {judge[0]} took longer than the limit"
            elif errors or not answers or answers[-1] == b"unknown":
                why = f"open: {judge[0]}: " + (errors or [b"unknown"])[0].decode(errors="replace")
            else:
                return "accepted" if answers[-1] == b"sat" else "refused"
        return why


def listed(log):
    """The queries that a log lists as not right."""
    with open(log, encoding="utf-8") as f:
        return {(m.group(1), int(m.group(2))) for m in (re.match(r"(\S+) query (\d+): ", l) for l in f) if m}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("vell")
    parser.add_argument("--limit", type=float, default=60, help="seconds of processor time for each program on each query")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--folder", default="regress")
    parser.add_argument("--log", help="the report goes to this file as well")
    parser.add_argument("--again", metavar="LOG", help="only the queries that this log lists")
    args = parser.parse_args()

    root, scripts = benchmarks()
    if scripts is None:
        return 0
    solvers = [s for s in SOLVERS if shutil.which(s)]
    if not solvers:
        print("none of %s is installed: nothing was run" % ", ".join(SOLVERS))
        return 0
    wanted = listed(args.again) if args.again else None
    vell = os.path.abspath(args.vell)
    work = [Query(vell, root, row, i + 1, expected, args.limit, solvers)
            for row in scripts if row["file"].startswith(args.folder + "/")
            for i, expected in enumerate(row["expected"].split())
            if wanted is None or (row["file"], i + 1) in wanted]
    tool = {"written": 0, "refused": 0, "time limit": 0, "no CNF": 0}
    count = {s: dict.fromkeys(GOOD + BAD, 0) for s in solvers}
    models = {s: dict.fromkeys(MODELS, 0) for s in solvers}
    lines = []
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        for query, results in zip(work, pool.map(Query.work, work)):
            place = f"{query.row['file']} query {query.query}"
            tool["written" if results[0][0] else results[0][1]] += 1
            for solver, ended, detail in results:
                if not solver:
                    lines.append(f"{place}: vell-bv cnf: {ended}: {detail}")
                    continue
                count[solver][ended] += 1
                model = "refused" if ended == "model refused" else detail.split(":")[0]
                if model in MODELS:
                    models[solver][model] += 1
                if ended != "right" or model == "open":
                    lines.append(f"{place}: {solver}: {ended}" + (f": {detail}" if detail else ""))
    report = sorted(lines)
    report.append(f"{args.folder}: {len(work)} queries, limit {args.limit:g} s: " +
                  ", ".join(f"{n} {what}" for what, n in tool.items()))
    for s in solvers:
        report.append(f"{s}: " + ", ".join(f"{n} {what}" for what, n in count[s].items()) + "; models " +
                      ", ".join(f"{n} {what}" for what, n in models[s].items()))
    print("\n".join(report))
    if args.log:
        with open(args.log, "w", encoding="utf-8") as f:
            f.write("\n".join(report) + "\n")
    return 1 if tool["no CNF"] or any(count[s][b] for s in solvers for b in BAD) else 0


if __name__ == "__main__":
    sys.exit(main())
