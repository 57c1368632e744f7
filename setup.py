"""Builds the module of the Python package with CMake; pyproject.toml has the rest."""

import os
import pathlib
import re
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

root = pathlib.Path(__file__).resolve().parent
version = re.search(r'define VELL_VERSION "(.*)"', (root / "vell/utils/version.h").read_text()).group(1)


class CMakeBuild(build_ext):
    def build_extension(self, extension):
        target = pathlib.Path(self.get_ext_fullpath(extension.name)).resolve()
        build = pathlib.Path(self.build_temp).resolve()
        subprocess.check_call([
            "cmake", "-S", str(root), "-B", str(build), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DVELL_BUILD_PYTHON=ON",
            "-DVELL_BUILD_TESTS=OFF", "-DVELL_BUILD_BENCHMARKS=OFF", f"-DPython_EXECUTABLE={sys.executable}",
            *os.environ.get("CMAKE_ARGS", "").split()])
        subprocess.check_call(["cmake", "--build", str(build), "--target", "vell_python"])
        target.parent.mkdir(parents=True, exist_ok=True)
        self.copy_file(str(next((build / "python/vell").glob("_vell*.so"))), str(target))


setup(version=version, ext_modules=[Extension("vell._vell", [])], cmdclass={"build_ext": CMakeBuild})
