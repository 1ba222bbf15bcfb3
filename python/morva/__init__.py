"""morva: exact video frame conversion, resizing and composition for numpy.

A frame lives in a :class:`Image`, which wraps a numpy array's memory where it
can. The functions work on images and give new ones::

    import numpy as np, morva
    frame = np.zeros((480, 640, 3), np.uint8)          # bgr24 pixels
    image = morva.Image.from_array(frame, "bgr24")      # wraps, no copy
    yuv = morva.convert(image, "yuv420p")
    small = morva.resize(yuv, (320, 240), method="lanczos")

The library works without the GIL, so threads run in parallel.
"""

import logging as _logging

from ._morva import (
    BitmapHeader,
    Image,
    clear,
    compose,
    convert,
    define_layout,
    formats,
    pick_format,
    resize,
)
from . import _morva

__all__ = [
    "BitmapHeader",
    "Image",
    "clear",
    "compose",
    "convert",
    "define_layout",
    "formats",
    "pick_format",
    "resize",
    "set_tracing",
    "is_tracing",
]

logger = _logging.getLogger("morva")

_tracing = False


def set_tracing(enabled: bool) -> bool:
    """Switches the trace of calls into the library on or off; returns the former state.

    Each call then logs what it did and how long the library took, at DEBUG
    level, on the logger "morva". If logging isn't set up, the lines go to
    standard error.
    """
    global _tracing
    former = _tracing
    _tracing = bool(enabled)
    if _tracing:
        if not logger.handlers and not _logging.getLogger().handlers:
            logger.addHandler(_logging.StreamHandler())
        if logger.getEffectiveLevel() > _logging.DEBUG:
            logger.setLevel(_logging.DEBUG)
        _morva._set_trace_sink(logger.debug)
    else:
        _morva._set_trace_sink(None)
    return former


def is_tracing() -> bool:
    """Whether calls into the library are traced."""
    return _tracing
