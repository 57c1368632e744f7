#!/usr/bin/env python3
"""check_profiles.py BINARY [--every N] [--limit SECONDS]: profiles against the CNF files of the same scripts.

Of the examples and of every Nth script of regress, with and without passes on words: the totals of `profile --json` are
those of cnf's header, the rows of each table add up to them, each listed term has the clauses that stand behind its
comment in `cnf --annotate`, and the JSON fits the schema of docs/profile.md (where python3-jsonschema is installed).
"""
import argparse
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys

root = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(root / "tests/regress"))
import run_manifest  # noqa: E402

try:
    import jsonschema
except ImportError:
    jsonschema = None


def schema():
    page = (root / "docs/profile.md").read_text()
    return json.loads(re.search(r"^```json schema\n(.*?)^```$", page, re.M | re.S).group(1))


def annotated_clauses(cnf):
    """From a term's number to its clauses; None: those behind the line of a root."""
    counts = {}
    current = None
    for line in cnf.splitlines():
        if line.startswith("c term #"):
            current = int(line[8:].split(" ", 1)[0])
            counts.setdefault(current, 0)
        elif line.startswith("c root "):
            current = None
        elif line and line[0] not in "cp":
            counts[current] = counts.get(current, 0) + 1
    return counts


def run(command, limit):
    return subprocess.run(command, capture_output=True, timeout=limit, stdin=subprocess.DEVNULL)


def compare(binary, script, options, limit, validator):
    """A complaint, "" where there is none, None where the script was not translated in time or both refuse it."""
    name = f"{script} {' '.join(options)}"
    try:
        cnf = run([binary, "cnf", script, "--annotate", *options], limit)
        profile = run([binary, "profile", script, "--json", "--top=1000000", *options], limit)
    except subprocess.TimeoutExpired:
        return None
    if cnf.returncode != 0:
        return None if profile.returncode == 1 and not profile.stdout else f"{name}: profiled, but cnf refuses it"
    if profile.returncode != 0:
        return f"{name}: {profile.stderr.decode(errors='replace').strip()}"
    data = json.loads(profile.stdout)
    if validator is not None:
        for error in validator.iter_errors(data):
            return f"{name}: {error.json_path}: {error.message}"
    text = cnf.stdout.decode(errors="replace")
    variables, clauses = map(int, re.search(r"^p cnf (\d+) (\d+)$", text, re.M).groups())
    total = data["total"]
    if (total["variables"], total["clauses"]) != (variables, clauses):
        return f"{name}: {total} but p cnf {variables} {clauses}"
    literals = sum(len(l.split()) - 1 for l in text.splitlines() if l and l[0] not in "cp")
    if total["literals"] != literals or sum(total["lengths"]) != clauses:
        return f"{name}: {total} but {literals} literals"
    for table, units in (("operators", total["units"]), ("assertions", 0), ("terms", total["units"])):
        for column in ("variables", "clauses"):
            rows = sum(row[column] for row in data[table]) + (units if column == "clauses" else 0)
            if rows != total[column]:
                return f"{name}: {table} add up to {rows} {column}, not {total[column]}"
    annotated = annotated_clauses(text)
    for row in data["terms"]:
        if annotated.get(row["id"], 0) != row["clauses"]:
            return f"{name}: term #{row['id']}: {row['clauses']} clauses, annotated {annotated.get(row['id'], 0)}"
        if row["cumulative"]["clauses"] < row["clauses"]:
            return f"{name}: term #{row['id']} costs more alone than with what is below"
    if data["passes"]["steps"] and data["passes"]["steps"][-1]["after"]["clauses"] not in (None, clauses):
        return f"{name}: {data['passes']['steps'][-1]['after']} after the last pass"
    return ""


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("binary", type=os.path.abspath)
    parser.add_argument("--every", type=int, default=40)
    parser.add_argument("--limit", type=float, default=10)
    parser.add_argument("--jobs", type=int, default=2)
    args = parser.parse_args()
    scripts = [str(p) for p in sorted((root / "examples").glob("*.smt2"))]
    least = len(scripts)
    folder, work = run_manifest.benchmarks(without="only the examples were compared")
    scripts += [os.path.join(folder, r["file"]) for r in (work or []) if r["file"].startswith("regress/")][::args.every]
    validator = None
    if jsonschema is None:
        print("python3-jsonschema is not installed: the schema is not checked")
    else:
        validator = jsonschema.Draft202012Validator(schema())
    jobs = [(s, o) for s in scripts for o in ([], ["--words=none"])]
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        verdicts = list(pool.map(lambda j: compare(args.binary, *j, args.limit, validator), jobs))
    complaints = [v for v in verdicts if v]
    compared = verdicts.count("")
    print("\n".join(complaints[:20]) or f"{compared} profiles agree, {verdicts.count(None)} scripts not translated")
    return 1 if complaints or compared < 2 * least else 0


if __name__ == "__main__":
    sys.exit(main())
