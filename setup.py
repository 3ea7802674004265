"""Installs the Python package `tessel` with the system's compiler and CMake, offline:

    /usr/bin/python3 -m pip install --no-build-isolation .

The build configures this repository with only the core and the Python module, builds the
module target and places it beside the package's Python files. TESSEL_CMAKE_ARGS adds
arguments to the configure step; TESSEL_BUILD_DIR keeps the CMake build between runs.
"""

import os
import shlex
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

HERE = os.path.dirname(os.path.abspath(__file__))


def version():
    with open(os.path.join(HERE, "CMakeLists.txt"), encoding="utf-8") as f:
        for line in f:
            if line.startswith("project(tessel VERSION "):
                return line.split()[2]
    return "0"


class CMakeExtension(Extension):
    def __init__(self, name):
        super().__init__(name, sources=[])


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build_dir = os.environ.get("TESSEL_BUILD_DIR") or os.path.join(
            os.path.abspath(self.build_temp), "cmake")
        configure = [
            "cmake", "-S", HERE, "-B", build_dir, "-DCMAKE_BUILD_TYPE=Release",
            "-DTESSEL_BUILD_PYTHON=ON", "-DTESSEL_BUILD_TESTS=OFF", "-DTESSEL_BUILD_GUI=OFF",
            "-DTESSEL_BUILD_BENCH=OFF", "-DPython3_EXECUTABLE=" + sys.executable,
        ]
        if shutil.which("ninja"):
            configure += ["-G", "Ninja"]
        configure += shlex.split(os.environ.get("TESSEL_CMAKE_ARGS", ""))
        subprocess.run(configure, check=True)
        subprocess.run(["cmake", "--build", build_dir, "--target", "tessel_python",
                        "--parallel", str(os.cpu_count() or 1)], check=True)
        built = os.path.join(build_dir, "python", "tessel", os.path.basename(
            self.get_ext_filename(ext.name)))
        target = self.get_ext_fullpath(ext.name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copyfile(built, target)


setup(
    name="tessel",
    version=version(),
    description="Cell-signalling network analysis",
    packages=["tessel"],
    package_dir={"": "python"},
    ext_modules=[CMakeExtension("tessel._core")],
    cmdclass={"build_ext": CMakeBuild},
    python_requires=">=3.9",
    zip_safe=False,
)
