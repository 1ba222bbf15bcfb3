"""The operations give the bytes of the same C++ calls, and refuse what they can't do."""

import logging
import itertools

import numpy as np
import pytest
from hypothesis import given, settings, strategies as st

import morva
from conftest import FORMATS, random_image

INTER = {"nn": 1, "linear": 2, "cubic": 4, "bspline": 5, "catmullrom": 6, "b05c03": 7, "super": 8, "lanczos": 16}
FIT = {"stretch": 0, "fit": 1, "fill": 2}
RESIZED_FORMATS = ["bgra", "bgr24", "yuv420p", "nv12", "yuyv422", "uyvy422", "rgb565", "gray", "yuv422p"]


def test_every_conversion_gives_the_library_bytes_or_a_clear_refusal(reference):
    for index, (source_format, target_format) in enumerate(itertools.product(FORMATS, FORMATS)):
        source = random_image(source_format, 16, 6, seed=index)
        expected = reference.convert(source, morva.Image(4, 2, target_format).format_id)
        if expected is None:
            with pytest.raises(ValueError, match=f"no conversion from {source_format} to {target_format}"):
                morva.convert(source, target_format)
        else:
            assert morva.convert(source, target_format).tobytes() == expected, (source_format, target_format)


@pytest.mark.parametrize("format", RESIZED_FORMATS)
def test_resizes_give_the_library_bytes(reference, format):
    source = random_image(format, 36, 22, seed=3)
    for (method, interpolation), (fit, mode) in itertools.product(INTER.items(), FIT.items()):
        size = (20, 12) if method == "super" else (52, 30)
        expected = reference.resize(source, size, interpolation, mode)
        assert morva.resize(source, size, method=method, fit=fit).tobytes() == expected, (method, fit)
    for flags, keywords in [(0x20000000, {"antialias": True}), (0x40000000, {"edge": "subpixel"}),
                            (-0x80000000, {"edge": "smooth"})]:
        expected = reference.resize(source, (16, 10), INTER["cubic"] | flags, 0)
        assert morva.resize(source, (16, 10), method="cubic", **keywords).tobytes() == expected, keywords


@pytest.mark.parametrize("format", ["bgra", "bgr24", "yuv420p", "yv12", "nv12", "yuyv422", "uyvy422"])
def test_clears_give_the_library_bytes(reference, format, recwarn):
    image = morva.Image(64, 32, format)
    morva.clear(image, (200, 100, 50, 25))
    assert image.tobytes() == reference.clear(image.format_id, (64, 32), (200, 100, 50, 25))
    warned = [str(w.message) for w in recwarn]
    assert bool(warned) == (format in ("nv12", "uyvy422", "yv12")), warned


def test_compositions_give_the_library_bytes(reference):
    sources = [random_image(format, 40 + 8 * i, 30, seed=i) for i, format in
               enumerate(["bgra", "yuv420p", "yuyv422", "bgr24", "uyvy422"])]
    attributes = [("linear", "fit"), ("lanczos", "fill"), ("nn", "stretch"), ("cubic", "fit"), ("bspline", "fit")]
    for source, (method, fit) in zip(sources, attributes):
        source.method, source.fit = method, fit
    for target_format, layout in [("bgra", "rows:2;columns:3;"), ("yuv420p", "rows:2;columns:3;"),
                                  ("bgr24", "rows:3;columns:3;width:50;margin-right:10;")]:
        target = morva.Image(120, 60, target_format)
        expected = reference.compose(target.format_id, (120, 60), layout,
                                     [(s, INTER[m], FIT[f]) for s, (m, f) in zip(sources, attributes)])
        assert morva.compose(target, sources, layout) is target
        assert target.tobytes() == expected and expected.strip(b"\0"), (target_format, layout)


def test_named_layouts_and_texts_compose_alike():
    morva.define_layout("Pair", "rows:1;columns:2;")
    sources = [random_image("bgra", 32, 16, seed=s) for s in (1, 2)]
    by_name, by_text = morva.Image(64, 16, "bgra"), morva.Image(64, 16, "bgra")
    morva.compose(by_name, sources, "PAIR")
    morva.compose(by_text, sources, "rows:1;columns:2;")
    assert by_name.tobytes() == by_text.tobytes() and by_name.tobytes().strip(b"\0")
    # A None source leaves its cell as it was; the others keep their cells.
    morva.compose(by_name, [None, sources[0]], "pair")
    assert np.array_equal(by_name.array[:, 32:], sources[0].array) and np.array_equal(by_name.array[:, :32],
                                                                                       sources[0].array)
    morva.define_layout("pair", None)
    with pytest.raises(ValueError, match="no layout named 'pair'"):
        morva.compose(by_name, sources, "pair")


@settings(max_examples=25, deadline=None)
@given(width=st.integers(1, 48), height=st.integers(1, 24), seed=st.integers(0, 2**32 - 1))
def test_lossless_round_trips(width, height, seed):
    rng = np.random.default_rng(seed)
    bgr = rng.integers(0, 255, (height, width, 3), dtype=np.uint8, endpoint=True)
    image = morva.Image.from_array(bgr, "bgr24")
    assert np.array_equal(morva.convert(morva.convert(image, "bgra"), "bgr24").array, bgr)
    yuv = random_image("yuv420p", width, height, seed=seed)
    for middle in ("nv12", "yuv422p"):
        assert morva.convert(morva.convert(yuv, middle), "yuv420p").tobytes() == yuv.tobytes(), middle
    assert morva.resize(yuv, (width, height), method="lanczos").tobytes() == yuv.tobytes()


def test_conversions_write_into_out():
    source = random_image("yuyv422", 16, 8)
    out = morva.Image(16, 8, "bgra")
    assert morva.convert(source, "bgra", out=out) is out
    assert out.tobytes() == morva.convert(source, "bgra").tobytes()
    assert morva.resize(source, (8, 4), out=morva.Image(8, 4, "yuyv422")).tobytes() == \
        morva.resize(source, (8, 4)).tobytes()


@pytest.mark.parametrize("call, error, message", [
    (lambda s: morva.convert(s, "yuv444p"), ValueError, "no conversion from bgra to yuv444p"),
    (lambda s: morva.convert(s, "bgr24", out=morva.Image(16, 8, "bgra")), ValueError,
     "out is 16x8 bgra; this call needs a 16x8 bgr24 image"),
    (lambda s: morva.convert(s, "bgra", out=s), ValueError, "out is the source image"),
    (lambda s: morva.convert(s, "bgra", out=np.zeros(4)), TypeError, "out is a morva.Image"),
    (lambda s: morva.resize(s, (32, 16), method="super"), ValueError, "'super' only reduces"),
    (lambda s: morva.resize(s, (8, 4), method="nn", antialias=True), ValueError, "no effect with method 'nn'"),
    (lambda s: morva.resize(s, (8, 4), antialias=True, edge="smooth"), ValueError, "can't be combined"),
    (lambda s: morva.resize(s, (8, 4), method="area"), ValueError, "unknown method 'area'; known: 'nn'"),
    (lambda s: morva.resize(s, (8, 4), fit="cover"), ValueError, "unknown fit 'cover'"),
    (lambda s: morva.resize(s, (8, 4), edge=1), TypeError, "edge is None"),
    (lambda s: morva.resize(s, (0, 4)), ValueError, "at least 1x1"),
    (lambda s: morva.resize(s, 8), TypeError, "incompatible function arguments"),
    (lambda s: morva.resize(morva.Image(8, 2, "y41p"), (16, 4)), ValueError, "can't resize y41p"),
    (lambda s: morva.clear(s, (1, 2)), ValueError, r"\(red, green, blue\)"),
    (lambda s: morva.clear(s, (1, 2, 300)), ValueError, "0 to 255, not 300"),
    (lambda s: morva.clear(morva.Image(8, 2, "gray"), (1, 2, 3)), ValueError, "doesn't clear gray"),
    (lambda s: morva.compose(s, [s], "rows:1;columns:1;"), ValueError, "source 0 is the target itself"),
    (lambda s: morva.compose(s, ["a.png"], "rows:1;columns:1;"), TypeError, "source 0 is a str"),
    (lambda s: morva.compose(s, [morva.Image(8, 2, "yuv444p")], "rows:1;columns:1;"), ValueError,
     r"source 0 \(yuv444p\) can't be converted to the target's format bgra"),
    (lambda s: morva.compose(s, [], "rows:2"), ValueError, "holds no 'name:value;' pair"),
    (lambda s: morva.compose(s, [], ""), ValueError, "layout is empty"),
    (lambda s: morva.define_layout("", "rows:1;"), ValueError, "not empty"),
    (lambda s: morva.define_layout("x", "rows=2;"), ValueError, "holds no 'name:value;' pair"),
    (lambda s: morva.pick_format([1], (0, 0)), TypeError, "header 0 is not a morva.BitmapHeader"),
    (lambda s: morva.BitmapHeader(8, 8, "YUY"), ValueError, "four characters"),
])
def test_wrong_calls_say_what_was_wrong(call, error, message):
    with pytest.raises(error, match=message):
        call(random_image("bgra", 16, 8))


def test_attributes_are_kept_by_the_library():
    image = morva.Image(8, 4, "bgra")
    assert (image.method, image.fit, image.antialias, image.edge) == ("nn", "fit", False, None)
    image.set_attributes(method="lanczos", fit="fill", antialias=True)
    assert (image.method, image.fit, image.antialias, image.edge) == ("lanczos", "fill", True, None)
    image.antialias = False
    image.edge = "subpixel"
    assert (image.method, image.edge) == ("lanczos", "subpixel")
    with pytest.raises(ValueError, match="edge 'smooth'"):
        image.edge = "smooth"
    with pytest.raises(ValueError, match="no effect with method 'nn'"):
        image.set_attributes(method="nn", antialias=True)
    assert (image.method, image.edge) == ("lanczos", "subpixel")


def test_pick_format_prefers_rgb_then_the_narrowest_that_fits():
    yuy2, rgb = morva.BitmapHeader(640, 480, "YUY2", 16), morva.BitmapHeader(320, 240, 0, 32)
    assert (yuy2.format, yuy2.fourcc, rgb.format, rgb.fourcc) == ("yuyv422", "YUY2", "bgra", None)
    assert morva.pick_format([yuy2, rgb], (640, 480)) == 0
    assert morva.pick_format([yuy2, None, rgb]) == 2
    assert morva.pick_format([morva.BitmapHeader(640, 480, "NV12", 12)]) is None
    header = morva.Image(10, 6, "yuv420p").bitmap_header()
    assert (header.width, header.height, header.bit_count, header.fourcc) == (12, -6, 8, "I420")


def test_tracing_logs_each_call(caplog):
    image = random_image("bgr24", 16, 8)
    with caplog.at_level(logging.DEBUG, logger="morva"):
        assert morva.set_tracing(True) is False
        morva.convert(image, "bgra")
        assert morva.set_tracing(False) is True
        morva.convert(image, "bgra")
    assert [r.message.split(" in ")[0] for r in caplog.records] == ["convert 16x8 bgr24 to bgra"]
    assert not morva.is_tracing()
