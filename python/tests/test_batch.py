"""Batch composition: the same bytes on a cluster of two workers as in one process, and no input lost silently."""

import struct
import zlib

import numpy as np
import pytest

from morva import batch


def write_png(path, rgb):
    def chunk(tag, data):
        return struct.pack(">I", len(data)) + tag + data + struct.pack(">I", zlib.crc32(tag + data))

    height, width, _ = rgb.shape
    rows = b"".join(b"\0" + row.tobytes() for row in rgb)
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
                     chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def write_y4m(path, frames):
    height, width = frames[0].shape
    with open(path, "wb") as out:
        out.write(f"YUV4MPEG2 W{width} H{height} F25:1 Ip A1:1 C420jpeg\n".encode())
        for luma in frames:
            chroma = luma[::2, ::2]
            out.write(b"FRAME\n" + luma.tobytes() + chroma.tobytes() + (255 - chroma).tobytes())


@pytest.fixture(scope="module")
def inputs(tmp_path_factory):
    """Videos and pictures of several sizes, one file that is neither, in an order that mixes them."""
    directory = tmp_path_factory.mktemp("inputs")
    rng = np.random.default_rng(5)
    paths = []
    for index in range(7):
        path = directory / (f"clip{index}.y4m" if index % 2 == 0 else f"still{index}.png")
        width, height = 32 + 8 * index, 24 + 2 * index
        if index == 3:
            path.write_bytes(b"not a picture")
        elif index % 2 == 0:
            write_y4m(path, [rng.integers(0, 256, (height, width), dtype=np.uint8) for _ in range(index + 1)])
        else:
            write_png(path, rng.integers(0, 256, (height, width, 3), dtype=np.uint8))
        paths.append(str(path))
    paths.append(str(directory / "missing.png"))
    return paths


OPTIONS = batch.GridOptions(size=(96, 64), format="yuv420p", method="lanczos")


def outputs(report):
    return {path.rsplit("/", 1)[1]: open(path, "rb").read() for path in report.written}


def test_a_cluster_of_two_workers_gives_the_bytes_of_one_process(inputs, tmp_path):
    local = batch.run(batch.plan_grids(inputs, str(tmp_path / "local"), per_grid=3), OPTIONS,
                      scheduler="process", progress=False)
    finished = []
    cluster = batch.run(batch.plan_grids(inputs, str(tmp_path / "cluster"), per_grid=3), OPTIONS,
                        workers=2, progress=finished.append)
    assert sorted(outputs(local)) == ["grid-0000.y4m", "grid-0001.y4m", "grid-0002.y4m"]
    assert outputs(cluster) == outputs(local)
    assert len(finished) == 3 and not cluster.failed_outputs
    skipped = [(path.rsplit("/", 1)[1], reason) for path, reason in cluster.skipped_inputs]
    assert [name for name, _ in skipped] == ["still3.png", "missing.png"]
    assert "not a PNG or YUV4MPEG2 file" in skipped[0][1] and "No such file" in skipped[1][1]


def test_a_grid_without_any_readable_input_is_reported(inputs, tmp_path):
    jobs = [batch.GridJob(str(tmp_path / "empty.png"), (inputs[3], inputs[7])),
            batch.GridJob(str(tmp_path / "pictures.png"), (inputs[1], inputs[5]))]
    report = batch.run(jobs, OPTIONS, scheduler="process", progress=False)
    assert report.written == [jobs[1].output] and not report.ok
    assert report.failed_outputs == [(jobs[0].output, "none of its inputs could be read")]
    assert open(jobs[1].output, "rb").read(4) == b"\x89PNG"


def test_the_command_line_reports_progress_and_failures(inputs, tmp_path, capsys):
    status = batch.main(["--scheduler", "process", "-o", str(tmp_path), "--per-grid", "4", "--kind", "png",
                         "--size", "64x48", *inputs[:4]])
    err = capsys.readouterr().err
    assert status == 1 and (tmp_path / "grid-0000.png").exists()
    assert "[1/1] wrote" in err and "skipped" in err and "1 grids: 1 written, 0 failed; 1 inputs skipped" in err
    assert batch.main(["--scheduler", "process", "--format", "rgb48", inputs[0]]) == 2
    assert "unknown format 'rgb48'" in capsys.readouterr().err


def test_plans_group_inputs_in_order():
    jobs = batch.plan_grids(["a.png", "b.y4m", "c.png", "d.png", "e.png"], "out", per_grid=2)
    assert [(j.output, j.inputs) for j in jobs] == [("out/grid-0000.y4m", ("a.png", "b.y4m")),
                                                   ("out/grid-0001.png", ("c.png", "d.png")),
                                                   ("out/grid-0002.png", ("e.png",))]
    with pytest.raises(ValueError, match="per_grid is at least 1"):
        batch.plan_grids(["a.png"], "out", per_grid=0)


def test_an_existing_cluster_is_reached_by_its_address(inputs, tmp_path):
    distributed = pytest.importorskip("distributed")
    with distributed.LocalCluster(n_workers=1, threads_per_worker=1, processes=True, dashboard_address=None,
                                  silence_logs=40) as cluster:
        jobs = batch.plan_grids(inputs[:2], str(tmp_path / "remote"), per_grid=2)
        remote = batch.run(jobs, OPTIONS, scheduler=cluster.scheduler_address, progress=False)
    local = batch.run(batch.plan_grids(inputs[:2], str(tmp_path / "here"), per_grid=2), OPTIONS,
                      scheduler="process", progress=False)
    assert remote.ok and outputs(remote) == outputs(local)
