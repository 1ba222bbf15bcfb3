#!/usr/bin/env python3
"""The morva package beside OpenCV's cv2 on the Python side: conversions and
resizes of 1080p frames, and the cost of one call on a 64x64 frame, where the
time is mostly the crossing from Python into the library.

Both run single-threaded (cv2.setNumThreads(1)) and write into destinations
made beforehand. The two calls of a case alternate, so that a machine shared
with other work slows both alike; the table gives medians per call and
morva's time over cv2's. The two libraries round differently: this compares
speed, not results.

    PYTHONPATH=build/python python3 bench/python_vs_cv2.py [--repeats N]
"""

import argparse
import statistics
import time

import cv2
import numpy as np

import morva

# name, morva source format, morva target format, cv2 conversion code (or None when cv2 has none)
CONVERSIONS = [
    ("bgr24 -> yuv420p", "bgr24", "yuv420p", "COLOR_BGR2YUV_I420"),
    ("yuv420p -> bgr24", "yuv420p", "bgr24", "COLOR_YUV2BGR_I420"),
    ("yuv420p -> bgra", "yuv420p", "bgra", "COLOR_YUV2BGRA_I420"),
    ("nv12 -> bgr24", "nv12", "bgr24", "COLOR_YUV2BGR_NV12"),
    ("yuyv422 -> bgr24", "yuyv422", "bgr24", "COLOR_YUV2BGR_YUY2"),
    ("uyvy422 -> bgra", "uyvy422", "bgra", "COLOR_YUV2BGRA_UYVY"),
    ("bgra -> bgr24", "bgra", "bgr24", "COLOR_BGRA2BGR"),
    ("bgr24 -> bgra", "bgr24", "bgra", "COLOR_BGR2BGRA"),
]

# morva method, cv2 interpolation
RESIZES = [("nn", cv2.INTER_NEAREST), ("linear", cv2.INTER_LINEAR), ("cubic", cv2.INTER_CUBIC),
           ("lanczos", cv2.INTER_LANCZOS4), ("super", cv2.INTER_AREA)]


def random_frame(format, width, height, rng):
    image = morva.Image(width, height, format)
    for plane in image.planes:
        plane[...] = rng.integers(0, 256, plane.shape, dtype=plane.dtype)
    return image


def interleaved(first, second, repeats):
    """Median seconds per call of each, measured in alternation."""
    times = ([], [])
    for _ in range(repeats):
        for index, call in enumerate((first, second)):
            start = time.perf_counter()
            call()
            times[index].append(time.perf_counter() - start)
    return statistics.median(times[0]), statistics.median(times[1])


def conversion_case(spec, width, height, rng):
    _, source_format, target_format, code = spec
    source = random_frame(source_format, width, height, rng)
    out = morva.Image(width, height, target_format)
    array = np.asarray(source)
    expected = cv2.cvtColor(array, getattr(cv2, code))
    destination = np.empty_like(expected)
    return (lambda: morva.convert(source, target_format, out=out),
            lambda: cv2.cvtColor(array, getattr(cv2, code), dst=destination))


def resize_case(method, interpolation, format, size, target, rng):
    source = random_frame(format, *size, rng)
    out = morva.Image(*target, format)
    array = np.asarray(source)
    destination = np.empty((target[1], target[0]) + array.shape[2:], array.dtype)
    return (lambda: morva.resize(source, target, method=method, out=out),
            lambda: cv2.resize(array, target, dst=destination, interpolation=interpolation))


def cases(width, height, rng):
    for spec in CONVERSIONS:
        if hasattr(cv2, spec[3]):
            yield f"convert {spec[0]}", conversion_case(spec, width, height, rng)
    target = (width * 2 // 3 // 4 * 4, height * 2 // 3 // 2 * 2)
    for format in ("bgra", "gray"):
        for method, interpolation in RESIZES:
            yield (f"resize {format} {method} to {target[0]}x{target[1]}",
                   resize_case(method, interpolation, format, (width, height), target, rng))


def run(width, height, repeats):
    rng = np.random.default_rng(1)
    print(f"\n{width}x{height}, {repeats} calls each, medians")
    print(f"{'case':44} {'morva':>10} {'cv2':>10} {'morva/cv2':>10}")
    for name, (ours, theirs) in cases(width, height, rng):
        ours(), theirs()  # first calls allocate tables and warm caches
        mine, other = interleaved(ours, theirs, repeats)
        print(f"{name:44} {mine * 1e6:8.1f}us {other * 1e6:8.1f}us {mine / other:10.2f}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--repeats", type=int, default=30, help="calls per case at 1080p (64x64: 50 times more)")
    arguments = parser.parse_args()
    cv2.setNumThreads(1)
    print(f"morva {morva.__file__}\ncv2 {cv2.__version__}, 1 thread")
    run(1920, 1080, arguments.repeats)
    run(64, 64, arguments.repeats * 50)


if __name__ == "__main__":
    main()
