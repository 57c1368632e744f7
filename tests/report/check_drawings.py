#!/usr/bin/env python3
"""check_drawings.py BINARY: pictures of vell-bv draw.

Every operator with a handler is drawn; an SVG is well-formed, names no resource outside, and has each box once. Pictures
in docs are those of the commands beside them: an SVG holds the SHA-256 of the DOT text that it was made of, and that text
does not depend on Graphviz. Where Graphviz is not installed, only the DOT texts are checked.
"""
import argparse
import hashlib
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as xml

root = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(root / "tests/regress"))
import run_manifest  # noqa: E402

complaints = []


def expect(holds, complaint):
    if not holds:
        complaints.append(complaint)


def draw(binary, *arguments, folder=None, env=None):
    return subprocess.run([binary, "draw", *map(str, arguments)], capture_output=True, text=True, cwd=folder, env=env,
                          stdin=subprocess.DEVNULL, timeout=300)


def check_svg(path):
    """Well-formed, and nothing in it is fetched from elsewhere."""
    text = path.read_text()
    expect("<!DOCTYPE" not in text and "<!ENTITY" not in text and "<?xml-stylesheet" not in text, f"{path.name}: a DTD")
    tree = xml.fromstring(text)
    ids = [e.get("id") for e in tree.iter() if e.get("id")]
    expect(len(ids) == len(set(ids)), f"{path.name}: an id twice")
    for element in tree.iter():
        expect(element.tag.rsplit("}")[-1] in
               {"svg", "g", "title", "polygon", "text", "ellipse", "path", "polyline", "a", "defs", "linearGradient", "stop"},
               f"{path.name}: element {element.tag}")
        for name, value in element.attrib.items():
            expect(not name.endswith("href") and "url(" not in value and "//" not in value, f"{path.name}: {name}={value}")
    return ids


def check_circuits(binary, folder, graphviz):
    names = draw(binary, "--circuit", "none", "-o", folder / "x.dot").stderr.split("there are ")[1].split()
    expect(len(names) >= 36, f"only {names}")
    for name in names:
        done = draw(binary, "--circuit", name, "--width", 3, "-o", folder / "c.dot")
        expect(done.returncode == 0, f"{name}: {done.stderr}")
        dot = (folder / "c.dot").read_text()
        cells = len(re.findall(r"^  cell\d+ \[", dot, re.M))
        if not graphviz or cells > 40:
            continue
        done = draw(binary, "--circuit", name, "--width", 3, "-o", folder / "c.svg")
        expect(done.returncode == 0, f"{name}: {done.stderr}")
        ids = check_svg(folder / "c.svg")
        expect(sum(i.startswith("cell") for i in ids) == cells, f"{name}: {ids} for {cells} cells")


def check_scripts(binary, folder, graphviz, every):
    scripts = sorted((root / "examples").glob("*.smt2"))
    benchmarks, work = run_manifest.benchmarks(without="only the examples were drawn")
    scripts += [pathlib.Path(benchmarks, r["file"]) for r in (work or []) if r["file"].startswith("regress/")][::every]
    for i, script in enumerate(scripts):
        suffix = "svg" if graphviz and i % 4 == 0 else "dot"
        done = draw(binary, script, "--most", 40, "-o", folder / f"t.{suffix}")
        expect(done.returncode == 0, f"{script}: {done.stderr}")
        if suffix == "svg":
            check_svg(folder / "t.svg")


def check_without_graphviz(binary, folder):
    env = {**os.environ, "PATH": "/nowhere"}
    done = draw(binary, "--circuit", "bvadd", "-o", folder / "n.svg", env=env)
    expect(done.returncode == 1 and "graphviz" in done.stderr and done.stderr.count("\n") == 1, done.stderr)
    expect(not (folder / "n.svg").exists(), "n.svg is left behind")
    expect(draw(binary, "--circuit", "bvadd", "-o", folder / "n.dot", env=env).returncode == 0, "no n.dot")


def check_command_lines(binary, folder):
    """One line for a wrong command line (exit code 2) or wrong input (1), and no file."""
    script = root / "examples/midpoint.smt2"
    good = folder / "w.dot"
    for code, *arguments in (
            (2, script, "--circuit", "bvadd", "-o", good), (2, "-o", good), (2, script), (2, script, "-o", folder / "w.pdf"),
            (2, script, "-o", folder / "w.html"), (2, script, "--html", "-o", good), (2, script, "--least", "101", "-o", good),
            (2, "--circuit", "bvadd", "--html", "-o", good), (2, "--circuit", "bvadd", "--depth", "2", "-o", good),
            (2, script, "--width", "2", "-o", good), (2, "--circuit", "bvadd", "--format", "5", "-o", good),
            (1, "--circuit", "bvadd", "--constants", "01", "-o", good), (1, "--circuit", "nix", "-o", good),
            (1, "--circuit", "bvmul", "--width", "64", "-o", good), (1, script, "--only", "nobody", "-o", good),
            (1, script, "--query", "7", "-o", good), (1, folder / "none.smt2", "-o", good),
            (1, script, "--model", script, "-o", good), (1, script, "-o", folder / "no" / "w.dot")):
        done = draw(binary, *arguments)
        expect(done.returncode == code and done.stderr.startswith("vell-bv: ") and done.stderr.count("\n") == 1,
               f"draw {' '.join(map(str, arguments))}: {done.returncode}, {done.stderr!r}")
    for code, *arguments in ((2, "--json", "--html", folder / "w.html"), (2, "--json", "--against", script),
                             (2, "--top", "0"), (1, "--against", script), (1, "--query", "9")):
        done = subprocess.run([binary, "profile", script, *map(str, arguments)], capture_output=True, text=True)
        expect(done.returncode == code and done.stdout == "" and done.stderr.count("\n") == 1,
               f"profile {' '.join(map(str, arguments))}: {done.returncode}, {done.stderr!r}")
    left = [p.name for p in folder.glob("w*")]
    expect(not left, f"left behind: {left}")


def check_documented(binary, folder):
    """The commands in the documentation give the pictures in the documentation."""
    made = set()
    for page in [root / "README.md", *sorted((root / "docs").glob("*.md"))]:
        for command in re.findall(r"^ *\./run (draw .* -o docs/.*\.svg)$", page.read_text(), re.M):
            arguments = shlex.split(command)[1:]
            picture = root / arguments[-1]
            made.add(picture)
            done = draw(binary, *arguments[:-1], folder / "doc.dot", folder=root)
            expect(done.returncode == 0, f"{command}: {done.stderr}")
            digest = hashlib.sha256((folder / "doc.dot").read_bytes()).hexdigest()
            expect(picture.exists() and f"sha256 of the DOT text: {digest}" in picture.read_text(),
                   f"{picture.name} is stale: ./run {command}")
            if picture.exists():
                check_svg(picture)
    there = set((root / "docs").rglob("*.svg"))
    expect(made == there, f"pictures without a command: {there - made}, commands without a picture: {made - there}")
    expect(len(made) >= 4, f"only {len(made)} pictures")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("binary", type=os.path.abspath)
    parser.add_argument("--every", type=int, default=100)
    args = parser.parse_args()
    graphviz = shutil.which("dot") is not None
    if not graphviz:
        print("graphviz is not installed: only DOT texts are checked")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        check_documented(args.binary, folder)
        check_command_lines(args.binary, folder)
        check_without_graphviz(args.binary, folder)
        check_circuits(args.binary, folder, graphviz)
        check_scripts(args.binary, folder, graphviz, args.every)
    print("\n".join(complaints[:20]) or "every drawing is as it should be")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
