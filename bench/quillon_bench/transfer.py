# SPDX-License-Identifier: MIT
"""Whole downloads over loopback, beside the peers: goals 1, 2, 3, 4 and 11."""

import os
import shutil
import subprocess
import sys
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path

from .downloaders import Aria2, Axel, Curl, Downloader, PlainCopy, SyncedCurl, Wget
from .measure import Run, Unavailable
from .model import Section, at_least, at_most, median, not_measured, number, ratio, spread
from .packages import Package
from .rounds import Samples, interleave
from .servers import Nginx
from .surroundings import Bench, file_system

COMPUTE = """import os
parent = os.getppid()
while os.getppid() == parent:
    for _ in range(1_000_000):
        pass
"""
COLUMNS = ["contender", "wall s", "smallest – largest", "CPU s", "peak MiB", "waits"]


def fill_table(section: Section, samples: Samples, unit: str = "s") -> None:
    """One row for each contender: medians, and the spread of the wall time. "waits" are voluntary context switches."""
    section.columns = COLUMNS
    for name in samples:
        wall = samples.values(name, "wall")
        section.rows.append(
            [name, number(median(wall)), spread(wall), number(median(samples.values(name, "cpu"))),
             number(median(samples.values(name, "peak"))), f"{median(samples.values(name, 'switches')):,.0f}"]
        )
        section.bars.append((name, median(wall), unit))


def ratio_of(samples: Samples, other: str, figure: str = "wall") -> float:
    return ratio(samples.values("module", figure), samples.values(other, figure))


def best_peer(samples: Samples) -> str:
    peers = [name for name in samples if name != "module"]
    if not peers:
        raise Unavailable("no peer is installed")
    return min(peers, key=lambda name: median(samples.values(name, "wall")))


def present(contenders: list[Downloader]) -> list[Downloader]:
    return [each for each in contenders if each.available()]


def runs_of(
    bench: Bench,
    contenders: list[Downloader],
    root: Path,
    nginx: Nginx,
    base: str,
    package: Package,
    rounds: int | None = None,
    **options: object,
) -> Samples:
    def one(who: Downloader):
        return lambda number: bench.fetch(who, root, nginx, base, package, **options)

    return interleave({who.name: one(who) for who in present(contenders)}, rounds or bench.rounds)


def host_note(bench: Bench, nginx: Nginx, package: Package) -> str:
    idle = idle_host(bench, nginx, package)
    return (
        "The module's wall time is from \"Update Now\" to the question whether to install; "
        f"{idle.cpu:.2f} s of CPU time of the host that only shows its dialog are subtracted. The manifest names no MD5, "
        "as no peer compares one; with it the module reads the file once more, see FileMd5Hex in section 10."
    )


def idle_host(bench: Bench, nginx: Nginx, package: Package) -> Run:
    with bench.folder(bench.disk) as folder:
        return bench.module.idle(bench.job(folder, nginx, nginx.plain, package))


def on_disk(
    bench: Bench, title: str, contenders: list[Downloader], is_tls: bool, goal: str, wall: float, cpu: float
) -> Section:
    """1 GB onto the disk, against curl + sync in wall time and aria2c in CPU time, at most so many times as much."""
    package = bench.packages.get(bench.size())
    section = Section(f"{title}, {package.size:,} bytes, {file_system(bench.disk)} on a disk")
    with bench.server() as nginx:
        section.notes.append(host_note(bench, nginx, package))
        base = nginx.tls if is_tls else nginx.plain
        samples = runs_of(bench, contenders, bench.disk, nginx, base, package)
    fill_table(section, samples)
    section.verdicts = [
        at_most(goal + "a", "wall time over curl + sync", ratio_of(samples, "curl + sync"), wall),
        at_most(goal + "b", "CPU time over aria2c", ratio_of(samples, "aria2c", "cpu"), cpu),
    ]
    return section


def plain_on_disk(bench: Bench) -> Iterator[Section]:
    others = [] if bench.quick else [PlainCopy(), Curl()]
    contenders = [*others, SyncedCurl(), Aria2(), bench.module]
    yield on_disk(bench, "1. Plain HTTP", contenders, is_tls=False, goal="1", wall=1.05, cpu=1.0)


def plain_in_memory(bench: Bench) -> Iterator[Section]:
    package = bench.packages.get(bench.size())
    section = Section(f"2. Plain HTTP, {package.size:,} bytes, a file system in memory")
    if file_system(bench.memory) != "tmpfs":
        raise Unavailable(f"{bench.memory} is not a file system in memory")
    if shutil.disk_usage(bench.memory).free < 2 * package.size:
        raise Unavailable(f"{bench.memory} is too small")
    with bench.server() as nginx:
        idle_host(bench, nginx, package)
        others = [] if bench.quick else [Wget(), Axel()]
        contenders = [Curl(), Aria2(), *others, bench.module]
        samples = runs_of(bench, contenders, bench.memory, nginx, nginx.plain, package)
    fill_table(section, samples)
    peer = best_peer(samples)
    section.verdicts = [at_most("2", f"wall time over the best peer, {peer}", ratio_of(samples, peer), 1.25)]
    yield section


def tls_on_disk(bench: Bench) -> Iterator[Section]:
    contenders = [SyncedCurl(), Aria2(), bench.module]
    yield on_disk(bench, "3. TLS", contenders, is_tls=True, goal="3", wall=1.15, cpu=1.3)


def limited_connections(bench: Bench) -> Iterator[Section]:
    limit = 10_000_000
    package = bench.packages.get(100_000_007)
    section = Section(f"4. A server that limits each connection to {limit:,} bytes a second, {package.size:,} bytes")
    with bench.server(limit=limit) as nginx:
        idle_host(bench, nginx, package)
        contenders = [Curl(), Aria2(), bench.module]
        samples = runs_of(bench, contenders, bench.disk, nginx, nginx.limited, package, bench.paced_rounds())
    fill_table(section, samples)
    speed = ratio(samples.values("curl", "wall"), samples.values("module", "wall"))
    section.verdicts = [at_least("4", "speed over one connection's, which is curl's", speed, 4.8)]
    yield section


@contextmanager
def busy_processes(count: int) -> Iterator[None]:
    """Processes that do nothing but compute, ended by their id, or by themselves when the benchmark is gone."""
    busy: list[subprocess.Popen] = []
    try:
        for _ in range(count):
            busy.append(subprocess.Popen([sys.executable, "-c", COMPUTE]))
        yield
    finally:
        for process in busy:
            process.kill()
            process.wait()


def busy_machine(bench: Bench) -> Iterator[Section]:
    package = bench.packages.get(bench.size())
    count = (os.cpu_count() or 1) + 1
    section = Section(f"11. {count} busy processes on {count - 1} cores, plain HTTP, {package.size:,} bytes")
    with bench.server() as nginx:
        idle_host(bench, nginx, package)
        contenders = [Aria2(), bench.module] if bench.quick else [SyncedCurl(), Aria2(), bench.module]
        with busy_processes(count):
            samples = runs_of(bench, contenders, bench.disk, nginx, nginx.plain, package)
    fill_table(section, samples)
    waits = median(samples.values("module", "switches")) * 1_000_000_000 / package.size
    text = "voluntary context switches for 1 GB"
    section.verdicts = [at_most("11a", "wall time over aria2c", ratio_of(samples, "aria2c"), 1.1)]
    if bench.quick:
        reason = f"this package is too small; {waits:,.0f} if those of the start are counted ten times"
        section.verdicts.append(not_measured("11b", text, reason))
    else:
        section.verdicts.append(at_most("11b", text, waits, 2500))
    yield section
