"""Builds the brinora package: the compiled core _brinora through CMake (only
that target, Release, the project's own compiler flags), then the Python
files as CMake lays them out (python/brinora, with _version.py made from the
project's version). See pyproject.toml."""

import os
import pathlib
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent


def project_version():
    text = (ROOT / "CMakeLists.txt").read_text()
    return re.search(r"project\(Brinora VERSION ([0-9.]+)", text).group(1)


class CMakeBuild(build_ext):
    """Builds _brinora with CMake for the interpreter that runs this build."""

    def build_extension(self, ext):
        build = pathlib.Path(self.build_temp).resolve() / "cmake"
        subprocess.run(["cmake", "-S", str(ROOT), "-B", str(build), "-DCMAKE_BUILD_TYPE=Release",
                        "-DBRINORA_BUILD_TESTS=OFF", "-DBRINORA_BUILD_CLI=OFF",
                        "-DBRINORA_BUILD_GUI=OFF", f"-DPython3_EXECUTABLE={sys.executable}"],
                       check=True)
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count() or 2))
        subprocess.run(["cmake", "--build", str(build), "--target", "_brinora", "-j", jobs],
                       check=True)
        target = pathlib.Path(self.get_ext_fullpath(ext.name)).parent
        target.mkdir(parents=True, exist_ok=True)
        for built in (build / "python" / "brinora").iterdir():
            if built.is_file():
                shutil.copy2(built, target / built.name)


setup(
    version=project_version(),
    package_dir={"": "python"},
    packages=["brinora"],
    package_data={"brinora": ["*.pyi", "py.typed"]},
    ext_modules=[Extension("brinora._brinora", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
    options={"build": {"build_base": "build-python"}},
    zip_safe=False,
)
