"""Puts what CMake builds into the Python package: the module, and in selvarin/native the library with its shaders,
styles, languages, papers, reader and program.

SELVARIN_BUILD_DIR names a CMake build that is complete already; without it one is made in build/wheel.
"""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent
WORK = ROOT / "build" / "wheel"
OPTIONS = ["-DCMAKE_BUILD_TYPE=Release", "-DSELVARIN_TESTS=OFF", "-DSELVARIN_STUDIO=OFF", "-DSELVARIN_PYTHON=ON",
           f"-DPython_EXECUTABLE={sys.executable}"]


def version():
    return re.search(r"project\(Selvarin VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text()).group(1)


def built():
    given = os.environ.get("SELVARIN_BUILD_DIR")
    if given:
        return Path(given)
    folder = WORK / "cmake"
    generator = ["-G", "Ninja"] if shutil.which("ninja") else []
    subprocess.run(["cmake", "-S", str(ROOT), "-B", str(folder), *generator, *OPTIONS], check=True)
    subprocess.run(["cmake", "--build", str(folder), "--parallel", str(os.cpu_count() or 1), "--target",
                    "selvarin_python_package"], check=True)
    return folder


class BuildByCMake(build_ext):
    def build_extension(self, extension):
        module = Path(self.get_ext_fullpath(extension.name)).resolve()
        source = built()
        native = module.parent / "native"
        shutil.rmtree(native, ignore_errors=True)
        native.mkdir(parents=True)
        shutil.copy2(source / "python" / "selvarin" / module.name, module)
        for item in sorted((source / "bin").iterdir()):
            if item.is_dir():
                shutil.copytree(item, native / item.name)
            elif item.name != "selvarin-studio":
                shutil.copy2(item, native / item.name)


WORK.mkdir(parents=True, exist_ok=True)
setup(version=version(), ext_modules=[Extension("selvarin._core", [])], cmdclass={"build_ext": BuildByCMake},
      options={"build": {"build_base": str(WORK)}, "egg_info": {"egg_base": str(WORK)}})
