"""A copy of the tree, built once, and its tests linked against a library that is every mutant in one."""

import concurrent.futures
import json
import math
import os
import re
import shutil
import subprocess
import sys
from dataclasses import dataclass
from pathlib import Path

from variants import DEFINITION, Variants

MEMORY_KIB = 4 << 20
# The tests that evaluate what the others compare with fixed clauses; they take longest.
MEANING = "*Meaning*:*Exhaustive*:*Random*:Conversion*:StandardFormat.*:SmallFormat.*:ShiftAmounts.*"


def clausifier_stages(scripts):
    unit = ["bv_tests", "--gtest_brief=1", "--gtest_fail_fast"]
    # The cheap ones first.
    stages = [("scenarios", ["scenarios_tests", "--gtest_brief=1", "--gtest_fail_fast"]),
              ("unit tests", [*unit, f"--gtest_filter=-{MEANING}"])]
    for first in range(0, scripts, 25):
        stages.append(("random scripts", ["vell-generate", "check", first, min(25, scripts - first), "--seconds", "20"]))
    return [*stages, ("tests of meaning", [*unit, f"--gtest_filter={MEANING}"])]


def words_stages(scripts):
    # So many formulas in the place of a script, in pieces, since most mutants fall at once. The test of the tally says
    # what the passes find, and needs the formulas of its own.
    stages = [("random formulas", ["vell-words-check", "--seed", first, "--count", 500]) for first in range(0, 20 * scripts, 500)]
    return [*stages[:1], ("unit tests", ["words_tests", "--gtest_brief=1", "--gtest_fail_fast"]), *stages[1:]]


@dataclass(frozen=True)
class Subject:
    """What is changed, and what has to notice it."""
    folder: str  # of the sources
    archive: str  # the target that they are compiled for
    programs: tuple
    needs_tool: bool  # whether the command line's parts are built
    equivalents: str  # file with the changes that make no difference
    inlined: str  # a header whose code is tested as a part of the source that has its name; None for none
    stages: callable  # (number of scripts) -> [(name, command)]


SUBJECTS = {
    "bv": Subject("vell/bv", "vell.dir", ("scenarios_tests", "bv_tests", "vell-generate"), False, "equivalent.txt", "gates",
                  clausifier_stages),
    "words": Subject("vell/words", "vell_tool.dir", ("words_tests", "vell-words-check"), True, "equivalent-words.txt",
                     None, words_stages),
}


def run(command, environment, folder, seconds, memory=MEMORY_KIB):
    """Exit code, output, and processor seconds of a command that may use so many of them."""
    limits = f"ulimit -c 0; ulimit -v {memory}; ulimit -t {seconds}; exec \"$@\""
    process = subprocess.Popen(["sh", "-c", limits, "sh", *map(str, command)], cwd=folder, env=environment,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    with process.stdout:
        output = process.stdout.read().decode(errors="replace")
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    return process.returncode, output, usage.ru_utime + usage.ru_stime


class Scratch:
    def __init__(self, root, folder, subject, scripts, build=None):
        """build: a release build of the tree that is there already, in the place of one of a copy."""
        self.root = root
        self.ready = build is not None
        self.subject = subject
        self.folder = folder
        self.tree = root if self.ready else folder / "tree"
        self.build = build if self.ready else folder / "build"
        self.all_mutants = folder / "all"
        self.stages = subject.stages(scripts)
        self.seconds = [600] * len(self.stages)

    def prepare(self):
        if self.ready:
            self.read_build()
            return
        files = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=self.root,
                               capture_output=True, check=True).stdout.decode().split("\0")
        wanted = {f for f in files if f and (self.root / f).is_file()}
        if self.tree.exists():
            for old in self.tree.rglob("*"):
                if old.is_file() and str(old.relative_to(self.tree)) not in wanted:
                    old.unlink()
        for f in wanted:
            target = self.tree / f
            if target.exists() and target.read_bytes() == (self.root / f).read_bytes():
                continue
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(self.root / f, target)
        # No assertions: a mutant has to be caught by what the tests expect.
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        subprocess.run(
            ["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
             "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG", f"-DVELL_BUILD_TOOL={'ON' if self.subject.needs_tool else 'OFF'}",
             "-DVELL_BUILD_BENCHMARKS=OFF", *launcher],
            check=True, stdout=subprocess.DEVNULL)
        subprocess.run(["cmake", "--build", self.build, "-j2", "--target", *self.subject.programs], check=True)
        self.read_build()

    def read_build(self):
        """The commands that compile a file of the folder and that link a program."""
        self.compile = {}
        for entry in json.loads((self.build / "compile_commands.json").read_text()):
            source = Path(entry["file"])
            if source.is_relative_to(self.tree / self.subject.folder) and self.subject.archive in entry["command"]:
                command = entry["command"].split()
                self.compile[source.relative_to(self.tree / self.subject.folder).as_posix()] = command[1:] if command[0].endswith("ccache") else command
        self.links = {}
        for program in self.subject.programs:
            commands = subprocess.run(["ninja", "-t", "commands", program], cwd=self.build, capture_output=True, text=True,
                                      check=True).stdout.splitlines()
            command = commands[-1].split(" && ")[1].split()
            self.links[program] = command[1:] if command[0].endswith("ccache") else command

    def compile_source(self, name, text, target):
        """The compiler's messages; empty when the object is there. name: the file that it stands for."""
        source = target.with_suffix(".cpp")
        source.write_text(text)
        command = list(self.compile[name])
        command[command.index("-o") + 1] = str(target)
        command[command.index("-c") + 1] = str(source)
        # Without optimisation: there is a hundred times as much code as is ever run.
        command = ["-O0" if re.fullmatch("-O[1-3]", a) else a for a in command]
        # An index out of bounds ends the program, as in the sanitizer build.
        command[1:1] = ["-w", "-fmax-errors=0", "-fno-diagnostics-show-caret", "-D_GLIBCXX_ASSERTIONS"]
        if shutil.which("ccache"):
            command.insert(0, "ccache")
        done = subprocess.run(command, cwd=self.build, capture_output=True, text=True, check=False)
        if done.returncode == 0:
            return ""
        return done.stderr

    def link(self, objects, folder):
        """The programs, with the objects in the place of those of the library."""
        for program, link in self.links.items():
            command = list(link)
            command[command.index("-o") + 1] = str(folder / program)
            # First of all, so that the checked instantiations of std::vector are the ones that are linked.
            command[1:1] = map(str, objects)
            subprocess.run(command, check=True, cwd=self.build)

    def link_all(self, sources, mutants, jobs):
        """Programs with all mutants, {number: Mutation}. Returns those that do not compile."""
        folder = self.all_mutants
        folder.mkdir(parents=True, exist_ok=True)
        objects = [folder / "selector.o"]
        if messages := self.compile_source(next(iter(self.compile)), DEFINITION, objects[0]):
            raise RuntimeError(messages)
        refused = set()
        self.outside = set()

        def compile_file(name):
            here = {n: m for n, m in mutants.items() if m.file == name}
            target = folder / Path(name).with_suffix(".o").name
            while here:
                variants = Variants(sources[name], here)
                messages = self.compile_source(name, variants.text, target)
                if not messages:
                    objects.append(target)
                    self.outside |= variants.outside
                    break
                rejected = variants.rejected(target.with_suffix(".cpp").name, messages)
                if not rejected:
                    raise RuntimeError(f"{name}: {messages[:2000]}")
                refused.update(rejected)
                here = {n: m for n, m in here.items() if n not in rejected}
            print(f"  {name}: {len(here)} mutants", file=sys.stderr, flush=True)

        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            for future in [pool.submit(compile_file, name) for name in sources]:
                future.result()
        self.link(objects, folder)
        return refused

    def link_one(self, number, mutation, source):
        """The folder of programs with one mutant; None when it does not compile."""
        folder = self.folder / "separate" / str(number)
        folder.mkdir(parents=True, exist_ok=True)
        target = folder / "changed.o"
        if self.compile_source(mutation.file, mutation.apply(source), target):
            return None
        self.link([target], folder)
        return folder

    def killer(self, folder, number=None, measure=False):
        """The first test that notices the mutant, as (program, test); None when all pass. measure: take the time that
        each needs as what a mutant may need a few times over."""
        environment = dict(os.environ, MALLOC_PERTURB_="165")  # what is used after its release is no longer what it was
        environment.pop("VELL_MUTANT", None)
        if number is not None:
            environment["VELL_MUTANT"] = str(number)
        for i, (name, command) in enumerate(self.stages):
            code, output, used = run([folder / command[0], *command[1:]], environment, folder, self.seconds[i])
            if code in (126, 127):
                raise RuntimeError(f"{command[0]} does not start: {output[:500]}")
            if code in (-9, -24):
                return name, "time"
            if code != 0:
                failed = re.search(r"\[  FAILED  \] (\S+?),? ", output) or re.search(r"^seed \d+: ([\w -]+):", output, re.M)
                return name, failed.group(1) if failed else "crash"
            if measure:
                self.seconds[i] = 2 + math.ceil(5 * used)
        return None
