"""Images from numpy arrays: wrapping, copying, views, and refusals."""

import gc

import numpy as np
import pytest
from hypothesis import given, settings, strategies as st

import morva
from conftest import PIXEL_FORMATS, WIDE_FORMATS


def pixels(width, height, channels, dtype=np.uint8, seed=1):
    rng = np.random.default_rng(seed)
    shape = (height, width) if channels == 1 else (height, width, channels)
    return rng.integers(0, np.iinfo(dtype).max, shape, dtype=dtype, endpoint=True)


@pytest.mark.parametrize("format", [*PIXEL_FORMATS, *WIDE_FORMATS])
def test_pixel_arrays_are_wrapped_and_shared(format):
    channels = PIXEL_FORMATS.get(format, 1)
    array = pixels(16, 6, channels, np.uint16 if format in WIDE_FORMATS else np.uint8)
    image = morva.Image.from_array(array, format)
    assert image.base is array and image.copy_reason is None
    assert (image.width, image.height, image.format) == (16, 6, format)
    assert np.shares_memory(image.array, array) and np.array_equal(np.asarray(image), array)
    image.planes[0][...] = 0  # the library's plane is the array's memory
    assert not array.any()


@pytest.mark.parametrize("format, rows", [("yuv420p", 9), ("yv12", 9), ("nv12", 9), ("yuv422p", 12),
                                          ("yuv444p", 18), ("yuva420p", 15), ("graya", 12)])
def test_planar_arrays_hold_the_planes_one_behind_the_other(format, rows):
    array = pixels(8, rows, 1)
    image = morva.Image.from_array(array, format)
    assert image.base is array and (image.width, image.height) == (8, 6)
    flat, offset = array.ravel(), 0
    for plane in image.planes:
        assert np.shares_memory(plane, array)
        assert np.array_equal(plane.ravel(), flat[offset:offset + plane.size])
        offset += plane.size
    assert offset == array.size == image.nbytes


def test_formats_without_whole_rows_take_their_size():
    # yvu9 chroma is a quarter of each side: 8x2 has 16 + 2 * 2 bytes.
    array = pixels(20, 1, 1).ravel()
    image = morva.Image.from_array(array, "yvu9", size=(8, 2))
    assert image.base is array and [p.shape for p in image.planes] == [(2, 8), (1, 2), (1, 2)]
    with pytest.raises(ValueError, match="give size"):
        morva.Image.from_array(pixels(8, 3, 1), "yvu9")
    with pytest.raises(ValueError, match="has 20 bytes in the library's layout; the array has 19"):
        morva.Image.from_array(array[:19], "yvu9", size=(8, 2))


@pytest.mark.parametrize("view, reason", [
    (lambda a: a[::-1], "not C-contiguous"),
    (lambda a: a[:, ::-1], "not C-contiguous"),
    (lambda a: a[:, :, ::-1], "not C-contiguous"),
    (lambda a: a[::2], "not C-contiguous"),
    (lambda a: a[:, 1:9], "not C-contiguous"),
    (lambda a: np.asfortranarray(a), "not C-contiguous"),
    (lambda a: a[:7, :10], "width is a multiple of 4"),
])
def test_arrays_the_library_cant_hold_are_copied_and_say_why(view, reason):
    source = view(pixels(12, 12, 3))
    image = morva.Image.from_array(source, "bgr24")
    assert image.base is None and reason in image.copy_reason
    assert np.array_equal(np.asarray(image), source) and not np.shares_memory(image.array, source)
    with pytest.raises(ValueError, match="can't be wrapped without a copy: .*" + reason):
        morva.Image.from_array(source, "bgr24", copy=False)


def test_padding_repeats_the_last_column_and_row():
    source = pixels(10, 7, 4)
    image = morva.Image.from_array(source, "bgra")
    assert image.stored_size == (12, 8) and "held as 12x8" in repr(image)
    stored = image.planes[0]
    assert np.array_equal(stored[:7, 10], source[:, 9]) and np.array_equal(stored[:7, 11], source[:, 9])
    assert np.array_equal(stored[7], stored[6])


def test_copy_true_always_copies():
    source = pixels(8, 4, 4)
    image = morva.Image.from_array(source, "bgra", copy=True)
    assert image.copy_reason == "copy=True was given" and not np.shares_memory(image.array, source)


def test_read_only_arrays_give_read_only_images():
    source = pixels(8, 4, 4)
    source.setflags(write=False)
    image = morva.Image.from_array(source, "bgra")
    assert image.readonly and image.base is source and "read-only" in repr(image)
    assert not image.array.flags.writeable and not image.planes[0].flags.writeable
    assert np.array_equal(morva.convert(image, "bgr24").array, source[:, :, :3])
    with pytest.raises(ValueError, match="read-only"):
        morva.clear(image, (1, 2, 3))
    with pytest.raises(ValueError, match="read-only"):
        morva.convert(morva.Image(8, 4, "bgr24"), "bgra", out=image)
    with pytest.raises(ValueError, match="read-only"):
        morva.compose(image, [], "rows:1;columns:1;")


def test_views_keep_the_image_alive():
    image = morva.Image(8, 4, "bgra")
    morva.clear(image, (1, 2, 3, 4))
    view, planes = image.array, image.planes
    del image
    gc.collect()
    assert view[3, 7].tolist() == [3, 2, 1, 4] and planes[0][0, 0].tolist() == [3, 2, 1, 4]


def test_wrapped_arrays_live_as_long_as_the_image():
    image = morva.Image.from_array(pixels(8, 4, 3), "bgr24")
    gc.collect()
    expected = image.array.copy()
    assert np.array_equal(morva.convert(image, "bgra").array[..., :3], expected)


def test_new_images_are_zero_and_named():
    image = morva.Image(10, 5, "yuv420p", name="camera")
    assert image.name == "camera" and image.stored_size == (12, 6) and not image.tobytes().strip(b"\0")
    assert image.array.shape == (9, 12) and [p.shape for p in image.planes] == [(6, 12), (3, 6), (3, 6)]
    assert repr(image) == "<morva.Image 'camera' 10x5 yuv420p, 108 bytes, held as 12x6>"
    copied = image.copy()
    assert copied.id != image.id and copied.tobytes() == image.tobytes()


def test_formats_are_taken_by_name_alias_and_id():
    assert morva.Image(4, 2, "i420").format == "yuv420p"
    assert morva.Image(4, 2, 11).format == "bgra"
    assert morva.Image(4, 2, "8").format == "8"  # the second 4:2:0 id has no name


@pytest.mark.parametrize("call, error, message", [
    (lambda: morva.Image(4, 2, "rgb48"), ValueError, "unknown format 'rgb48'; known: bgra, bgr24"),
    (lambda: morva.Image(4, 2, 22), ValueError, "outside 0 to 21"),
    (lambda: morva.Image(4, 2, True), TypeError, "not a bool"),
    (lambda: morva.Image(4, 2, 1.5), TypeError, "not float"),
    (lambda: morva.Image(0, 2, "bgra"), ValueError, "at least 1x1"),
    (lambda: morva.Image(200000, 100000, "bgra"), ValueError, "too large"),
    (lambda: morva.Image.from_array(np.zeros((4, 8, 3), np.float32), "bgr24"), TypeError, "uint8, not float32"),
    (lambda: morva.Image.from_array(np.zeros((4, 8), np.uint8), "rgb565"), TypeError, "uint16"),
    (lambda: morva.Image.from_array(np.zeros((4, 8), ">u2"), "rgb565"), TypeError, "native byte order"),
    (lambda: morva.Image.from_array(np.zeros((4, 8, 3), np.uint8), "bgra"), ValueError,
     r"shape \(height, width, 4\), not \(4, 8, 3\)"),
    (lambda: morva.Image.from_array(np.zeros((4, 8, 4), np.uint8), "bgra", size=(8, 2)), ValueError,
     "differs from the array's 8x4"),
    (lambda: morva.Image.from_array(np.zeros(10, np.uint8), "yuv420p"), ValueError, "2-D array"),
    (lambda: morva.Image.from_array(np.zeros((5, 8), np.uint8), "yuv420p"), ValueError, "holds no yuv420p"),
    (lambda: morva.Image.from_array([[1, 2]], "gray"), TypeError, "uint8, not int64"),
])
def test_wrong_arguments_say_what_was_wrong(call, error, message):
    with pytest.raises(error, match=message):
        call()


@settings(max_examples=60, deadline=None)
@given(width=st.integers(1, 40), height=st.integers(1, 30), channels=st.sampled_from([1, 2, 3, 4]),
       row_step=st.sampled_from([1, 2, -1, -2]), column_step=st.sampled_from([1, 3, -1]),
       channel_reversed=st.booleans(), seed=st.integers(0, 2**32 - 1))
def test_any_strides_round_trip(width, height, channels, row_step, column_step, channel_reversed, seed):
    format = {1: "gray", 2: "yuyv422", 3: "bgr24", 4: "bgra"}[channels]
    base = pixels(width * abs(column_step), height * abs(row_step), channels, seed=seed)
    view = base[::row_step, ::column_step]
    if channel_reversed and channels > 1:
        view = view[..., ::-1]
    image = morva.Image.from_array(view, format)
    assert np.array_equal(np.asarray(image), view)
    assert (image.base is view) == (image.copy_reason is None)
