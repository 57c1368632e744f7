#!/usr/bin/env python3
"""check_pages.py BINARY [--large] [--screenshots FOLDER]: the pages of vell-bv in headless Chromium.

No message on the console; what is selected in one view is selected in all; search, sorting, keyboard, dark mode and
narrow windows work; names of the script that look like HTML are text; a circuit's page computes what the operator does.
--large adds a page of a million terms.
"""
import argparse
import os
import pathlib
import subprocess
import sys
import tempfile

import browser

complaints = []


def expect(holds, complaint):
    if not holds:
        complaints.append(complaint)


def vell(binary, *arguments, stdin=b""):
    done = subprocess.run([binary, *map(str, arguments)], capture_output=True, input=stdin, timeout=900)
    if done.returncode != 0:
        sys.exit(f"vell-bv {' '.join(map(str, arguments))}: {done.stderr.decode(errors='replace')}")
    return done.stdout


HOSTILE = '|</script><img src=x onerror=window.hacked=1>|'
SCRIPT = f"""; <b>hostile</b> </script><script>window.hacked=1</script>
(declare-const {HOSTILE} (_ BitVec 8))
(declare-const y (_ BitVec 8))
(define-fun p () (_ BitVec 8) (bvmul {HOSTILE} y))
(assert (! (bvult p {HOSTILE}) :named |<img src=x onerror=window.hacked=1>|))
(assert (= (bvadd p y) (bvudiv y #x03)))
(assert (bvslt (bvor p y) (bvadd p y)))
(check-sat)
"""


class Views:
    """What the page shows as selected."""

    def __init__(self, b):
        self.b = b

    def text(self, css):
        return self.b.script("return [...document.querySelectorAll(arguments[0])].map((e) => e.textContent)", css)

    def check(self, what, operator, line):
        tree, row, source = (self.text(c) for c in ("#tree .selected", "#table tr.selected", "#script .selected .n"))
        detail = self.text("#detail")[0]
        expect(len(tree) == 1 and len(row) == 1 and source == [str(line)],
               f"{what}: selected {tree} in the tree, {row} in the table, {source} in the script")
        if operator is not None:
            expect(row[0].startswith(operator) and operator + ", width" in detail, f"{what}: {row}, {detail}")


def luminance(color):
    values = [float(v) / 255 for v in color[color.index("(") + 1:-1].split(",")[:3]]
    linear = [v / 12.92 if v <= 0.04045 else ((v + 0.055) / 1.055) ** 2.4 for v in values]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(b, css):
    """Between the text of an element and what is behind it."""
    color, back = b.script("""
        let e = document.querySelector(arguments[0]);
        const color = getComputedStyle(e).color;
        while (e !== null && /, 0\\)$|transparent/.test(getComputedStyle(e).backgroundColor)) e = e.parentElement;
        return [color, getComputedStyle(e ?? document.body).backgroundColor];""", css)
    high, low = sorted((luminance(color), luminance(back)), reverse=True)
    return (high + 0.05) / (low + 0.05)


def check_profile(b, binary, folder):
    # The folder's name ends in "<", so that the path shows a closing tag.
    odd = folder / "<"
    odd.mkdir()
    script = odd / "script><img src=x onerror=window.hacked=1>.smt2"
    script.write_text(SCRIPT)
    page = folder / "profile.html"
    vell(binary, "profile", script, "--words=none", "--html", page)
    piped = folder / "piped.html"
    vell(binary, "profile", "-", "--words=none", "--html", piped, stdin=SCRIPT.encode())
    expect("bvmul" in piped.read_text() and "&lt;stdin&gt;" in piped.read_text(), "no page of standard input")

    b.resize(1280, 900)
    b.open(page)
    views = Views(b)
    expect(b.script("return document.title") == "Clauses of " + script.name, "title")
    expect(any(HOSTILE in t for t in views.text("#script .src")), "the script's text is not shown as it is")

    # A row of the table, a box of the tree, a line of the script.
    b.click("#table tbody tr")
    first = views.text("#table tbody tr")[0].split("8")[0]
    views.check("table", first, 5 if first == "bvmul" else 6)
    expect(views.text("#lengths .some") != [], "no lengths of the selected term")
    b.click("#tree .term:last-child" if b.script("return document.querySelector('#tree .term:last-child') !== null")
            else "#tree .term")
    chosen = views.text("#tree .selected")
    expect(len(chosen) == 1 and len(views.text("#table tr.selected")) == 1 and len(views.text("#script .selected")) == 1,
           f"tree: {chosen}")
    b.click("#script .hot")
    views.check("script", None, 5)
    expect(views.text("#tab-assertions[aria-selected=true]") != [], "a line selects its assertion in the table")

    # The keyboard: down the tree, zoom in and out, along the tabs.
    b.script("document.querySelector('#tree').focus()")
    b.press("Home")
    expect("line" in views.text("#detail")[0], "Home selects the first assertion")
    b.press("ArrowDown")
    one = views.text("#detail")[0]
    b.press("ArrowDown", "ArrowRight")
    two = views.text("#detail")[0]
    expect(one != two and "Operator" in two, f"arrows: {one} {two}")
    crumbs = len(views.text("#crumbs button"))
    b.press("Enter")
    expect(len(views.text("#crumbs button")) > crumbs, "Enter does not zoom in")
    b.press("Escape")
    expect(len(views.text("#crumbs button")) >= crumbs, "Escape zooms out one step")
    active = b.script("return document.getElementById(document.querySelector('#tree').getAttribute('aria-activedescendant'))"
                      "?.getAttribute('aria-selected')")
    expect(active == "true", "aria-activedescendant is not the selected item")
    b.script("document.querySelector('[role=tab][aria-selected=true]').focus()")
    b.press("ArrowRight")
    expect(views.text("#tab-operators[aria-selected=true], #tab-assertions[aria-selected=true]") != [], "tabs")

    # Search and order.
    b.click("#tab-terms")
    b.type("#search", "BVADD")
    rows = views.text("#table tbody tr")
    expect(rows and all("bvadd" in r for r in rows) and "found" in views.text("#found")[0], f"search: {rows}")
    b.script("const s = document.querySelector('#search'); s.value = ''; s.dispatchEvent(new Event('input'))")
    column = "return [...document.querySelectorAll('#table tbody td:nth-child(4)')].map((e) => Number(e.textContent.replace(/,/g, '')))"
    numbers = b.script(column)
    expect(numbers == sorted(numbers, reverse=True) and len(set(numbers)) > 2, f"order: {numbers}")
    b.click("#table th:nth-child(4) button")
    expect(b.script(column) == sorted(numbers), "the other order")
    expect(b.script("return document.activeElement.closest('th')?.getAttribute('aria-sort')") == "ascending", "aria-sort")
    b.press("Enter")
    expect(b.script(column) == numbers, "order by keyboard")

    # Light and dark, and widths down to a phone's.
    backs = set()
    for scheme in ("light", "dark"):
        b.scheme(scheme)
        backs.add(b.script("return getComputedStyle(document.body).backgroundColor"))
        for css in ("h1", "header p", ".hint", "#tree .term", "#tree .root", "#table td", "#detail dt", ".row .n", ".row .src",
                    "#lengths .count", "tr.selected td"):
            if b.script("return document.querySelector(arguments[0]) !== null", css):
                expect(contrast(b, css) >= 4.5, f"{scheme}: {css} has a contrast of {contrast(b, css):.1f}")
    expect(len(backs) == 2, "dark mode changes nothing")
    b.scheme("light")
    for width in (360, 768, 1920):
        b.resize(width, 800)
        expect(b.script("return document.documentElement.scrollWidth") <= width, f"wider than {width}")
    # Nothing is said by colour alone: a shared term has a sign, the selected one is announced.
    b.resize(1280, 900)
    expect(any("\u21c4" in t for t in views.text("#tree .shared")), "a shared term has no sign")
    expect(b.script("return window.hacked") is None, "a name of the script ran as a script")
    expect(b.script("return document.querySelectorAll('img').length") == 0, "a name of the script became an element")
    return [page, piped]


def check_circuit(b, binary, folder):
    page = folder / "adder.html"
    vell(binary, "draw", "--circuit", "bvadd", "--width", 3, "--html", "-o", page)
    b.resize(1280, 900)
    b.open(page)
    words = lambda: [int(t.rsplit(" = ", 1)[1]) for t in
                     b.script("return [...document.querySelectorAll('#words div')].map((e) => e.textContent)")]
    expect(words() == [0, 0, 0], f"values at first: {words()}")
    for x, y in ((5, 6), (7, 7), (3, 1)):
        for i, value in ((0, x), (1, y)):
            for k in range(3):
                wanted = value >> k & 1
                if words()[i] >> k & 1 != wanted:
                    b.click(f"#in_{i}_{k} text")
        expect(words() == [x, y, (x + y) % 8], f"{x} + {y}: {words()}")
    expect(b.script("return document.querySelectorAll('.edge.on').length") > 0, "no line is marked")
    b.hover("#cell1 text")
    cell = b.script("return document.querySelector('#cell').textContent")
    expect("full adder" in cell and "14 clauses" in cell, f"hover: {cell}")
    b.script("document.querySelector('#in_0_0').focus()")
    b.press("Enter")
    expect(words()[0] == 2, "Enter on an input bit")
    for scheme in ("light", "dark"):
        b.scheme(scheme)
        fill = b.script("return getComputedStyle(document.querySelector('#cell0 text')).fill")
        back = b.script("return getComputedStyle(document.querySelector('#cell0 polygon')).fill")
        high, low = sorted((luminance(fill), luminance(back)), reverse=True)
        expect((high + 0.05) / (low + 0.05) >= 4.5, f"{scheme}: text of cells")
    b.scheme("light")
    b.resize(360, 800)
    expect(b.script("return document.documentElement.scrollWidth") <= 360, "the circuit's page is wider than 360")
    return [page]


def large_script(path, terms):
    """A chain and a tree over it; most terms are shared."""
    with open(path, "w") as f:
        f.write("(declare-const a (_ BitVec 4))\n(declare-const b (_ BitVec 4))\n"
                "(define-fun t0 () (_ BitVec 4) (bvxor a b))\n(define-fun t1 () (_ BitVec 4) (bvand a b))\n")
        operators = ("bvxor", "bvand", "bvor", "bvadd")
        for i in range(2, terms):
            f.write(f"(define-fun t{i} () (_ BitVec 4) ({operators[i % 4]} t{i - 1} t{i // 2}))\n")
            if i % max(20, terms // 1000) == 0:
                f.write(f"(assert (bvule t{i} t{i - 1}))\n")
        f.write("(check-sat)\n")


def check_size(b, binary, folder, terms, least):
    script, page = folder / "large.smt2", folder / "large.html"
    large_script(script, terms)
    vell(binary, "profile", script, "--words=none", "--html", page)
    expect(page.stat().st_size < 1_000_000, f"{terms} terms make a page of {page.stat().st_size} bytes")
    b.resize(1280, 900)
    b.open(page)
    found = b.script("return document.querySelector('#totals').textContent")
    expect(f"{terms:,}"[:-2] in found or any(c.isdigit() for c in found), found)
    expect(b.script("return document.querySelectorAll('#table tbody tr').length") >= least, "no terms in the table")
    b.click("#table tbody tr:nth-child(3)")
    views = Views(b)
    expect(len(views.text("#tree .selected")) == 1 and len(views.text("#table tr.selected")) == 1, "large: selection")
    expect(len(views.text("#script .selected")) == 1, "large: the line of the selected term is not shown")
    # Assertions that are too thin to be seen are put together; their box zooms in.
    b.resize(360, 800)
    b.open(page)
    expect("smaller" in "".join(views.text("#tree .group")), f"thin assertions: {views.text('#tree .node')[:5]}")
    for _ in range(4):
        if not views.text("#tree .root"):
            b.click("#tree .group:not(:first-child)")
    expect(len(views.text("#tree .root")) > 1 and len(views.text("#crumbs button")) > 1, "a box of thin ones does not zoom in")
    b.click("#tree .root")
    expect(len(views.text("#tree .selected")) == 1 and "Assertion" in views.text("#detail")[0], "a thin one is not selected")
    return [page]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("binary", type=os.path.abspath)
    parser.add_argument("--large", action="store_true")
    parser.add_argument("--screenshots", type=pathlib.Path, help="a folder to fill: every page, light and dark, narrow and wide")
    args = parser.parse_args()
    missing = browser.missing()
    if missing:
        print(f"{' and '.join(missing)} not installed: no page was opened")
        return 0
    with tempfile.TemporaryDirectory() as name, browser.Browser(scratch=name + "/user") as b:
        folder = pathlib.Path(name)
        pages = check_profile(b, args.binary, folder)
        pages += check_circuit(b, args.binary, folder)
        pages += check_size(b, args.binary, folder, 1_000_000 if args.large else 10_000, 50)
        for message in b.log():
            expect(False, f"console: {message}")
        if args.screenshots is not None:
            args.screenshots.mkdir(parents=True, exist_ok=True)
            for page in pages:
                for scheme in ("light", "dark"):
                    for width, height in ((1280, 1200), (390, 1400)):
                        b.scheme(scheme)
                        b.resize(width, height)
                        b.open(page)
                        b.screenshot(args.screenshots / f"{page.stem}-{scheme}-{width}.png")
    print("\n".join(complaints[:20]) or f"{len(pages)} pages, nothing to complain about")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
