#!/usr/bin/env python3
"""Runs the recipes of docs/cluster.md as they stand there: check_recipes.py VELL_BV [NAME...]

parallel   the first block below "GNU parallel", in an empty folder with a script hard.smt2; interrupted and run again
ssh        the second one, over two servers of ssh on the loopback device, one of which is killed half-way; resumed
slurm      cube.sbatch by shellcheck, and run for each number by bash
mpi        `portfolio` and its command, with two ranks

A recipe whose programs are not installed, or that may not be tried here, says so and is left out.
"""

import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

root = pathlib.Path(__file__).resolve().parents[2]
# Factors of ten bits: of the largest prime that intervals of the factors do not exclude, which has none, and of the
# product of two primes.
SCRIPT = """(set-logic QF_BV)
(declare-const x (_ BitVec 10))(declare-const y (_ BitVec 10))
(assert (= (bvmul ((_ zero_extend 10) x) ((_ zero_extend 10) y)) (_ bv{} 20)))
(check-sat)
"""
UNSAT = SCRIPT.format(1046527)
SAT = SCRIPT.format(1009 * 1013)


def blocks(title):
    text = (root / "docs/cluster.md").read_text()
    part = re.search(rf"^## {re.escape(title)}\n(.*?)(?=^## |\Z)", text, re.M | re.S).group(1)
    return re.findall(r"^```(?:sh|bash)\n(.*?)^```$", part, re.M | re.S)


def missing(*programs):
    lacking = [p for p in programs if shutil.which(p) is None and not os.path.exists(f"/usr/sbin/{p}")]
    if lacking:
        print(f"left out: no {' and no '.join(lacking)} here")
    return bool(lacking)


class Place:
    """A folder with hard.smt2, and vell-bv in the path."""

    def __init__(self, vell, folder, script):
        self.folder = pathlib.Path(folder)
        bin_folder = self.folder / "bin"
        bin_folder.mkdir()
        os.symlink(os.path.abspath(vell), bin_folder / "vell-bv")
        self.path = f"{bin_folder}:{os.environ['PATH']}"
        self.env = {**os.environ, "PATH": self.path, "HOME": str(self.folder), "OMPI_ALLOW_RUN_AS_ROOT": "1",
                    "OMPI_ALLOW_RUN_AS_ROOT_CONFIRM": "1", "OMPI_MCA_rmaps_base_oversubscribe": "1",
                    "OMPI_MCA_btl_base_warn_component_unused": "0"}
        (self.folder / "hard.smt2").write_text(script)
        self.script = script

    def start(self, text):
        return subprocess.Popen(["bash", "-c", text], cwd=self.folder, env=self.env, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, start_new_session=True)

    def run(self, text):
        p = self.start(text)
        out, err = p.communicate(timeout=600)
        return out, err

    def verdicts(self):
        return len(list(self.folder.glob("hard/*.verdict")))

    def expect(self, condition, *more):
        if not condition:
            sys.exit("\n".join(["FAILED", *map(str, more)]))


def wait_for(condition, seconds=120):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            sys.exit("FAILED: waited in vain")
        time.sleep(0.01)


def try_parallel(vell):
    if missing("parallel"):
        return
    recipe = blocks("GNU parallel")[0]
    for script, answer in ((SAT, "sat"), (UNSAT, "unsat")):
        with tempfile.TemporaryDirectory() as folder:
            place = Place(vell, folder, script)
            out, err = place.run(recipe)
            place.expect(out.splitlines()[-1] == "unsat" if answer == "unsat" else "define-fun x" in out, out, err)
    # Interrupted, and the middle line typed again.
    with tempfile.TemporaryDirectory() as folder:
        place = Place(vell, folder, UNSAT)
        split, run, join = recipe.strip().splitlines()
        out, _ = place.run(f"{split}; echo $cubes")
        again = f"cubes={out.split()[-1]}\n{run}\n"
        p = place.start(again)
        wait_for(lambda: place.verdicts() > 3)
        os.killpg(p.pid, signal.SIGKILL)
        p.communicate()
        out, err = place.run(join)
        place.expect(out == "unknown\n" and "have no verdict" in err, out, err)
        before = place.verdicts()
        out, err = place.run(again + join)
        place.expect(out.splitlines()[-1] == "unsat", out, err)
        jobs = (place.folder / "hard.log").read_text().splitlines()
        place.expect(before < place.verdicts() and len(jobs) == place.verdicts() + 1, jobs[:3])
    print("parallel: good")


class Server:
    """sshd on the loopback device, for this user alone."""

    def __init__(self, place, port):
        self.port = port
        folder = place.folder / f"sshd{port}"
        folder.mkdir(mode=0o700)
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", folder / "key"], check=True)
        (folder / "config").write_text(
            f"Port {port}\nListenAddress 127.0.0.1\nHostKey {folder}/key\nPidFile none\nStrictModes no\nUsePAM no\n"
            f"AuthorizedKeysFile {place.folder}/id.pub\nPasswordAuthentication no\nPermitRootLogin yes\n"
            # HOME: no start-up file of the user's shell has a part in this.
            f"MaxStartups 100\nSetEnv PATH={place.path} HOME={place.folder}\n")
        self.process = subprocess.Popen(["/usr/sbin/sshd", "-D", "-e", "-f", folder / "config"],
                                        stderr=subprocess.DEVNULL, start_new_session=True)

    def answers(self, place, name):
        return subprocess.run(["ssh", "-F", place.folder / "ssh_config", name, "true"], stdin=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, check=False).returncode == 0

    def kill(self):
        """The host dies: the server, its connections, and what runs in them."""
        def children(of):
            out = subprocess.run(["ps", "-o", "pid=", "--ppid", str(of)], capture_output=True, text=True, check=False)
            return [int(p) for p in out.stdout.split()]
        waiting, found = [self.process.pid], []
        while waiting:
            found.append(waiting.pop())
            waiting += children(found[-1])
        for pid in found:
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        self.process.wait()


def try_ssh(vell):
    if missing("parallel", "ssh", "ssh-keygen", "sshd"):
        return
    with tempfile.TemporaryDirectory() as folder:
        place = Place(vell, folder, UNSAT)
        try:
            os.makedirs("/run/sshd", exist_ok=True)
        except OSError as e:
            print(f"ssh: left out: {e}")
            return
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", place.folder / "id"], check=True)
        base = 20000 + os.getpid() % 20000
        names = {"node1": Server(place, base), "node2": Server(place, base + 1)}
        (place.folder / "ssh_config").write_text("".join(
            f"Host {name}\n HostName 127.0.0.1\n Port {s.port}\n IdentityFile {folder}/id\n BatchMode yes\n"
            f" StrictHostKeyChecking no\n UserKnownHostsFile /dev/null\n LogLevel ERROR\n" for name, s in names.items()))
        # ssh as parallel calls it, with this configuration and no other.
        (place.folder / "bin/ssh").write_text(f"#!/bin/sh\nexec {shutil.which('ssh')} -F {folder}/ssh_config \"$@\"\n")
        (place.folder / "bin/ssh").chmod(0o755)
        try:
            end = time.monotonic() + 20
            while not all(s.answers(place, n) for n, s in names.items()):
                if time.monotonic() > end or any(s.process.poll() is not None for s in names.values()):
                    print("ssh: left out: no server of ssh can be started here")
                    return
                time.sleep(0.2)
            recipe = blocks("GNU parallel")[1]
            split, rest = recipe.split("\n", 1)
            out, _ = place.run(f"{split}; echo $cubes")
            again = f"cubes={out.split()[-1]}\n{rest}"
            p = place.start(again)
            wait_for(lambda: place.verdicts() > 3 or p.poll() is not None)
            names["node2"].kill()
            out, err = p.communicate(timeout=600)
            log = [line.split("\t") for line in (place.folder / "hard.log").read_text().splitlines()[1:]]
            hosts = {line[1] for line in log}
            place.expect({"node1", "node2"} <= hosts, hosts, out, err)
            place.expect(out.splitlines()[-1] in ("unknown", "unsat"), out, err)
            lost = place.verdicts() < int(again.split("\n")[0].split("=")[1])
            # The host is back, and the same line is typed again.
            names["node2"] = Server(place, base + 2)
            config = (place.folder / "ssh_config").read_text().replace(f"Port {base + 1}", f"Port {base + 2}")
            (place.folder / "ssh_config").write_text(config)
            wait_for(lambda: names["node2"].answers(place, "node2"))
            out, err = place.run(again)
            place.expect(out.splitlines()[-1] == "unsat", out, err)
            print(f"ssh: good; cubes were lost with the host: {lost}")
        finally:
            for s in names.values():
                s.kill()


def try_slurm(vell):
    if missing("shellcheck"):
        return
    batch, submit, numbers = blocks("Slurm")
    with tempfile.TemporaryDirectory() as folder:
        place = Place(vell, folder, UNSAT)
        (place.folder / "cube.sbatch").write_text(batch)
        out, err = place.run("shellcheck cube.sbatch && echo good")
        place.expect(out == "good\n", out, err)
        # Programs of the names of Slurm's: sbatch runs the array, in this order, scancel notes the job.
        for name, text in (("sbatch", 'for k in $(seq "${1#--array=1-}"); do SLURM_ARRAY_TASK_ID=$k SLURM_ARRAY_JOB_ID=7 '
                            'bash "$2"; done\n'), ("scancel", 'echo "cancel $1"\n')):
            (place.folder / "bin" / name).write_text("#!/bin/bash\n" + text)
            (place.folder / "bin" / name).chmod(0o755)
        out, err = place.run(submit)
        place.expect("cancel" not in out and place.run("vell-bv join hard")[0] == "unsat\n", out, err)
        (place.folder / "hard/3.verdict").unlink()
        (place.folder / "hard/4.verdict").unlink()
        (place.folder / "hard/6.verdict").unlink()
        out, err = place.run(numbers)
        place.expect(out == "3-4,6\n", out, err)
    with tempfile.TemporaryDirectory() as folder:
        place = Place(vell, folder, SAT)
        (place.folder / "cube.sbatch").write_text(batch)
        (place.folder / "bin/scancel").write_text('#!/bin/bash\necho "cancel $1"\n')
        (place.folder / "bin/scancel").chmod(0o755)
        place.run("vell-bv cubes hard.smt2 -n 4 -o hard")
        out, err = place.run("for k in 1 2 3 4; do SLURM_ARRAY_TASK_ID=$k SLURM_ARRAY_JOB_ID=7 bash cube.sbatch; done")
        place.expect("cancel 7\n" in out, out, err)
    print("slurm: good")


def try_mpi(vell):
    if missing("mpirun", "cadical", "cryptominisat5"):
        return
    portfolio, command = blocks("Open MPI")
    for script, answer in ((SAT, "sat"), (UNSAT, "unsat")):
        with tempfile.TemporaryDirectory() as folder:
            place = Place(vell, folder, script)
            (place.folder / "portfolio").write_text(portfolio)
            (place.folder / "portfolio").chmod(0o755)
            out, err = place.run(command)
            place.expect(out == answer + "\n", out, err)
            out, err = place.run("shellcheck portfolio || true") if shutil.which("shellcheck") else ("", "")
            place.expect(out == "", out)
    print("mpi: good")


TRIES = {"parallel": try_parallel, "ssh": try_ssh, "slurm": try_slurm, "mpi": try_mpi}
for name in sys.argv[2:] or TRIES:
    TRIES[name](sys.argv[1])
