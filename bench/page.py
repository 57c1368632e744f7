#!/usr/bin/env python3
"""page.py BINARY [--terms N] [--runs N]: how soon a profile's page of N terms is painted and can be used.

Makes the script of tests/report/check_pages.py --large, its page, and opens it in headless Chromium N times. Prints the
size of the page, the time that vell-bv took, and the medians of the first paint and of the end of the page's script, in
milliseconds since the navigation. Under 2 s is what the page is made for, however large the script is.
"""
import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests/report"))
import browser  # noqa: E402
import check_pages  # noqa: E402

PAINT = """
    const paint = performance.getEntriesByType('paint').find((e) => e.name === 'first-contentful-paint');
    const loaded = performance.getEntriesByType('navigation')[0].domContentLoadedEventEnd;
    return [paint === undefined ? null : paint.startTime, loaded];"""


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("binary", type=os.path.abspath)
    parser.add_argument("--terms", type=int, default=1_000_000)
    parser.add_argument("--runs", type=int, default=5)
    args = parser.parse_args()
    if browser.missing():
        print(f"{' and '.join(browser.missing())} not installed")
        return 1
    with tempfile.TemporaryDirectory() as name:
        script, page = pathlib.Path(name, "large.smt2"), pathlib.Path(name, "large.html")
        check_pages.large_script(script, args.terms)
        start = time.monotonic()
        subprocess.run([args.binary, "profile", script, "--words=none", "--html", page], check=True)
        seconds = time.monotonic() - start
        paints, loads = [], []
        with browser.Browser(scratch=name + "/user") as b:
            for _ in range(args.runs):
                b.open(page)
                time.sleep(0.5)
                paint, loaded = b.script(PAINT)
                paints.append(paint)
                loads.append(loaded)
        print(f"{args.terms:,} terms: page of {page.stat().st_size:,} bytes in {seconds:.1f} s; "
              f"first paint {statistics.median(paints):.0f} ms, usable {statistics.median(loads):.0f} ms")
    return 0


if __name__ == "__main__":
    sys.exit(main())
