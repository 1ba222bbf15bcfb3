"""Shared helpers of the package's tests."""

import os
import subprocess
import tempfile
from pathlib import Path

import numpy as np
import pytest

import morva

# Every format id with a name, by the name the package shows.
FORMATS = list(morva.formats())
PIXEL_FORMATS = {"bgra": 4, "bgr24": 3, "yuyv422": 2, "uyvy422": 2, "gray": 1}
WIDE_FORMATS = ["rgb565", "rgb555", "rgb444"]


def random_image(format, width, height, seed=0):
    """An image of the library's size whose every plane sample is random."""
    rng = np.random.default_rng(seed)
    image = morva.Image(width, height, format)
    for plane in image.planes:
        plane[...] = rng.integers(0, np.iinfo(plane.dtype).max, plane.shape, dtype=plane.dtype, endpoint=True)
    return image


class Reference:
    """The C++ program that makes the same calls as a library user would."""

    def __init__(self, program):
        self.program = program
        self.directory = tempfile.TemporaryDirectory()

    def _path(self, name):
        return os.path.join(self.directory.name, name)

    def _input(self, image, name):
        path = self._path(name)
        Path(path).write_bytes(image.tobytes())
        return path

    def run(self, *arguments):
        """The output bytes, or None if the library's call returned false."""
        out = self._path("out.bin")
        result = subprocess.run([self.program, out, *map(str, arguments)], capture_output=True, text=True)
        assert result.returncode in (0, 3), result.stderr
        return Path(out).read_bytes() if result.returncode == 0 else None

    def convert(self, image, format_id):
        w, h = image.stored_size
        return self.run("convert", image.format_id, format_id, w, h, self._input(image, "in.bin"))

    def resize(self, image, size, interpolation, scale_mode):
        w, h = image.stored_size
        return self.run("resize", image.format_id, w, h, *size, interpolation, scale_mode,
                        self._input(image, "in.bin"))

    def clear(self, format_id, size, color):
        return self.run("clear", format_id, *size, *color)

    def compose(self, format_id, size, layout, sources):
        """sources: (image, interpolation, scale mode) each."""
        arguments = []
        for index, (image, interpolation, mode) in enumerate(sources):
            w, h = image.stored_size
            arguments += [image.format_id, w, h, interpolation, mode, self._input(image, f"source{index}.bin")]
        return self.run("compose", format_id, *size, layout, *arguments)


@pytest.fixture(scope="session")
def reference():
    program = os.environ.get("MORVA_PYTHON_REFERENCE")
    if not program:
        pytest.skip("MORVA_PYTHON_REFERENCE names no reference program (run through ctest)")
    return Reference(program)
