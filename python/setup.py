"""Builds the extension with the project's own CMake build, so that the package
carries the library it was built with. Used by `pip install --no-build-isolation ./python`.
"""

import os
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

PROJECT = Path(__file__).resolve().parent.parent


class CMakeBuild(build_ext):
    def build_extension(self, extension):
        build = PROJECT / "build-pip"
        package = Path(self.get_ext_fullpath(extension.name)).resolve().parent.parent
        subprocess.run(["cmake", "-S", str(PROJECT), "-B", str(build), "-DCMAKE_BUILD_TYPE=Release",
                        f"-DPython3_EXECUTABLE={sys.executable}", "-DBUILD_TESTING=OFF",
                        "-DMORVA_BUILD_BENCH=OFF"], check=True)
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", "2")
        subprocess.run(["cmake", "--build", str(build), "--target", "_morva", "-j", jobs], check=True)
        # The module and libmorva.so.1 beside it, found through the module's $ORIGIN run path.
        subprocess.run(["cmake", "--install", str(build), "--component", "python", "--prefix", str(package)],
                       check=True)


setup(ext_modules=[Extension("morva._morva", sources=[])], cmdclass={"build_ext": CMakeBuild})
