"""Many PNG and YUV4MPEG2 files composed into grid outputs, spread over a Dask cluster.

Each output is one composition by the command-line tool's own readers,
writers and composition, so an output holds the bytes `morva compose` writes
for the same inputs and options, wherever it was made::

    from morva import batch
    jobs = batch.plan_grids(sorted(glob.glob("recordings/*.y4m")), "grids", per_grid=4)
    report = batch.run(jobs, batch.GridOptions(size=(1920, 1080), format="yuv420p"))
    for path, reason in report.skipped_inputs:
        print("skipped", path, reason)

By default the work runs on a Dask LocalCluster of worker processes on this
machine; give run() a scheduler address (or a distributed.Client) to use an
existing cluster, whose workers must have morva installed and see the files
under the same paths; or scheduler="process" to run everything in this
process without Dask. An input that can't be read is reported and left out
of its grid; an output that can't be made is reported; nothing is dropped
without a word. From the shell: ``python3 -m morva.batch --help``.
"""

import argparse
import os
import sys
from dataclasses import dataclass, field
from typing import Callable, Iterable, List, Optional, Sequence, Tuple, Union

from . import _morva

__all__ = ["GridJob", "GridOptions", "GridResult", "BatchReport", "plan_grids", "compose_grid", "run", "main"]


@dataclass(frozen=True)
class GridJob:
    """One output and the inputs composed into it, in cell order."""

    output: str
    inputs: Tuple[str, ...]


@dataclass(frozen=True)
class GridOptions:
    """How every grid is composed; the options of `morva compose`.

    layout: a layout text, or "" for a near-square grid for each output's
    inputs. method: None for the tool's default (linear, nn for 16-bit RGB).
    """

    size: Tuple[int, int] = (1280, 720)
    format: str = "bgra"
    layout: str = ""
    method: Optional[str] = None
    antialias: bool = False
    fit: str = "fit"
    background: Tuple[int, int, int] = (0, 0, 0)
    max_frames: Optional[int] = None


@dataclass
class GridResult:
    """What became of one job: written or not, and the inputs left out."""

    job: GridJob
    written: bool
    skipped_inputs: List[Tuple[str, str]] = field(default_factory=list)  # (path, reason)
    error: Optional[str] = None


@dataclass
class BatchReport:
    results: List[GridResult]

    @property
    def written(self) -> List[str]:
        return [r.job.output for r in self.results if r.written]

    @property
    def failed_outputs(self) -> List[Tuple[str, str]]:
        return [(r.job.output, r.error or "") for r in self.results if not r.written]

    @property
    def skipped_inputs(self) -> List[Tuple[str, str]]:
        return [skip for r in self.results for skip in r.skipped_inputs]

    @property
    def ok(self) -> bool:
        return not self.failed_outputs and not self.skipped_inputs

    def summary(self) -> str:
        return (f"{len(self.results)} grids: {len(self.written)} written, {len(self.failed_outputs)} failed; "
                f"{len(self.skipped_inputs)} inputs skipped")


def plan_grids(inputs: Sequence[str], output_dir: str, per_grid: int = 4, kind: str = "auto",
               name: str = "grid-{index:04d}") -> List[GridJob]:
    """Groups the inputs, in order, `per_grid` to an output in output_dir.

    kind: "png", "y4m", or "auto": a video when any input of the group is a
    .y4m file, else a picture. name: the output's name without extension,
    formatted with the group's index.
    """
    if per_grid < 1:
        raise ValueError(f"per_grid is at least 1, not {per_grid}")
    if kind not in ("auto", "png", "y4m"):
        raise ValueError(f"kind is 'auto', 'png' or 'y4m', not {kind!r}")
    jobs = []
    for index, start in enumerate(range(0, len(inputs), per_grid)):
        group = tuple(os.fspath(path) for path in inputs[start:start + per_grid])
        extension = kind if kind != "auto" else (
            "y4m" if any(path.lower().endswith(".y4m") for path in group) else "png")
        jobs.append(GridJob(os.path.join(output_dir, name.format(index=index) + "." + extension), group))
    return jobs


def compose_grid(job: GridJob, options: GridOptions = GridOptions()) -> GridResult:
    """Composes one job here, leaving out inputs that can't be read."""
    readable, skipped = [], []
    for path in job.inputs:
        try:
            _morva._probe_input(path)
            readable.append(path)
        except ValueError as error:
            skipped.append((path, str(error)))
    if not readable:
        return GridResult(job, False, skipped, "none of its inputs could be read")
    try:
        os.makedirs(os.path.dirname(job.output) or ".", exist_ok=True)
        _morva._compose_files(readable, job.output, tuple(options.size), options.format, options.layout,
                              options.method, options.antialias, options.fit, tuple(options.background),
                              options.max_frames)
    except (ValueError, OSError) as error:
        return GridResult(job, False, skipped, str(error))
    return GridResult(job, True, skipped)


class Progress:
    """One line per finished output on a stream, with what was left out."""

    def __init__(self, total: int, stream=None):
        self.total, self.done, self.stream = total, 0, stream if stream is not None else sys.stderr

    def __call__(self, result: GridResult) -> None:
        self.done += 1
        width = len(str(self.total))
        state = "wrote" if result.written else "FAILED"
        line = f"[{self.done:{width}}/{self.total}] {state} {result.job.output}"
        if result.error:
            line += f": {result.error}"
        for path, reason in result.skipped_inputs:
            line += f"\n    skipped {path}: {reason}"
        print(line, file=self.stream, flush=True)


Scheduler = Union[None, str, "distributed.Client"]


def run(jobs: Sequence[GridJob], options: GridOptions = GridOptions(), scheduler: Scheduler = None,
        workers: int = 2, progress: Union[bool, Callable[[GridResult], None]] = True) -> BatchReport:
    """Composes every job and reports what became of each, in the jobs' order.

    scheduler: None for a LocalCluster of `workers` single-threaded worker
    processes, started and stopped here; a scheduler address such as
    "tcp://host:8786", or a distributed.Client, for an existing cluster;
    "process" to compose in this process, one job after another.
    progress: True for a line per finished output on standard error, False
    for none, or a callable that gets each GridResult as it finishes.
    """
    _check(options)
    report = progress if callable(progress) else Progress(len(jobs)) if progress else (lambda result: None)
    if scheduler == "process":
        results = []
        for job in jobs:
            results.append(compose_grid(job, options))
            report(results[-1])
        return BatchReport(results)
    return BatchReport(_run_on_cluster(list(jobs), options, scheduler, workers, report))


def _check(options: GridOptions) -> None:
    """Refuses options every job would fail on, before any work is sent out."""
    probe = _morva.Image(4, 2, options.format)
    probe.set_attributes(method=options.method or "linear", fit=options.fit, antialias=options.antialias)
    _morva.Image(*options.size, "gray")


def _run_on_cluster(jobs, options, scheduler, workers, report):
    import distributed

    with _client(distributed, scheduler, workers) as client:
        futures = [client.submit(compose_grid, job, options, pure=False) for job in jobs]
        order = {future.key: index for index, future in enumerate(futures)}
        results = [None] * len(jobs)
        for future in distributed.as_completed(futures):
            try:
                result = future.result()
            except Exception as error:  # a worker lost, say: the output is reported, not dropped
                result = GridResult(jobs[order[future.key]], False, [], f"{type(error).__name__}: {error}")
            results[order[future.key]] = result
            report(result)
        return results


class _client:
    """A client of the given cluster, or of a LocalCluster that lives as long as the client."""

    def __init__(self, distributed, scheduler, workers):
        self.cluster, self.owned = None, True
        if scheduler is None:
            if workers < 1:
                raise ValueError(f"workers is at least 1, not {workers}")
            self.cluster = distributed.LocalCluster(n_workers=workers, threads_per_worker=1, processes=True,
                                                    dashboard_address=None, silence_logs=40)
            self.client = distributed.Client(self.cluster)
        elif isinstance(scheduler, str):
            self.client = distributed.Client(scheduler)
        else:
            self.client, self.owned = scheduler, False

    def __enter__(self):
        return self.client

    def __exit__(self, *exception):
        if self.owned:
            self.client.close()
        if self.cluster is not None:
            self.cluster.close()


def _size(text: str) -> Tuple[int, int]:
    width, _, height = text.partition("x")
    try:
        return int(width), int(height)
    except ValueError:
        raise argparse.ArgumentTypeError(f"a size is WIDTHxHEIGHT, not {text!r}") from None


def main(argv: Optional[Iterable[str]] = None) -> int:
    parser = argparse.ArgumentParser(prog="python3 -m morva.batch", description=(
        "Composes PNG and YUV4MPEG2 files, PER_GRID at a time in the order given, into grid outputs "
        "as `morva compose` would, on a Dask cluster. Unreadable inputs are reported and left out; "
        "the exit status is 1 if any input or output failed."))
    parser.add_argument("inputs", nargs="+", help="PNG and .y4m files")
    parser.add_argument("-o", "--output-dir", default=".", help="where the outputs go (default: here)")
    parser.add_argument("--per-grid", type=int, default=4, help="inputs per output (default 4)")
    parser.add_argument("--kind", default="auto", choices=["auto", "png", "y4m"],
                        help="output kind; auto: y4m when a group has a video")
    parser.add_argument("--scheduler", help="scheduler address of an existing cluster, or 'process' to work "
                        "in this process (default: a local cluster)")
    parser.add_argument("--workers", type=int, default=2, help="processes of the local cluster (default 2)")
    parser.add_argument("--size", type=_size, default=(1280, 720), help="target size (default 1280x720)")
    parser.add_argument("--format", default="bgra", help="target pixel format (default bgra)")
    parser.add_argument("--layout", default="", help="layout text (default: a near-square grid)")
    parser.add_argument("--method", help="interpolation method (default linear)")
    parser.add_argument("--antialias", action="store_true")
    parser.add_argument("--fit", default="fit", choices=["stretch", "fit", "fill"])
    parser.add_argument("--frames", type=int, help="at most this many frames of video outputs")
    parser.add_argument("-q", "--quiet", action="store_true", help="no progress lines")
    arguments = parser.parse_args(argv)
    try:
        os.makedirs(arguments.output_dir, exist_ok=True)
        jobs = plan_grids(arguments.inputs, arguments.output_dir, arguments.per_grid, arguments.kind)
        options = GridOptions(arguments.size, arguments.format, arguments.layout, arguments.method,
                              arguments.antialias, arguments.fit, max_frames=arguments.frames)
        report = run(jobs, options, arguments.scheduler, arguments.workers, progress=not arguments.quiet)
    except (ValueError, OSError) as error:
        print(f"morva.batch: {error}", file=sys.stderr)
        return 2
    print(report.summary(), file=sys.stderr)
    return 0 if report.ok else 1


if __name__ == "__main__":
    sys.exit(main())
