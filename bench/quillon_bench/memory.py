# SPDX-License-Identifier: MIT
"""Peak memory of the module over its idle host: goal 6. MiB, the high-water mark of the resident set."""

from collections.abc import Iterator
from pathlib import Path

from .measure import Failure, Run
from .model import Section, at_most, median, not_measured, number
from .packages import Package
from .servers import Nginx
from .surroundings import Bench
from .transfer import idle_host

SLOW_BYTES_PER_SECOND = 20_000_000
LIMIT_MIB, EQUAL_WITHIN_MIB = 20, 4


def slow_writer(bench: Bench) -> dict[str, str] | None:
    """What makes writes to the package slow, or None where it is not built."""
    library = bench.build / "bench/libslow-writer.so"
    if not library.exists():
        return None
    return {
        "LD_PRELOAD": str(library),
        "SLOW_WRITER_PATH": "Corvina9(x64).tmp",
        "SLOW_WRITER_BYTES_PER_SECOND": str(SLOW_BYTES_PER_SECOND),
    }


def memory_over_idle(bench: Bench) -> Iterator[Section]:
    sizes = [100_000_007] if bench.quick else [100_000_007, 1_000_000_003, 2_147_000_000]
    section = Section("6. Peak memory over the idle host", ["package", "peak MiB", "over idle MiB"])
    peaks: list[float] = []
    with bench.server() as nginx:
        idle = idle_host(bench, nginx, bench.packages.get(sizes[0])).peak
        section.rows.append(["none: the host shows its dialog", number(idle), ""])

        def add(label: str, runs: list[Run]) -> None:
            over = median([each.peak for each in runs]) - idle
            peaks.append(over)
            section.rows.append([label, number(over + idle), number(over)])
            section.bars.append((label, over, "MiB"))

        for size in sizes:
            package = bench.packages.get(size)
            add(f"{size:,} bytes", repeated(bench, nginx, package, 3 if size < bench.size() else 1))
            if size > bench.size():
                bench.packages.drop(package)
        env = slow_writer(bench)
        if env:
            package = bench.packages.get(sizes[0])
            slow = bench.fetch(bench.module, bench.disk, nginx, nginx.plain, package, env=env)
            if slow.wall < 0.9 * package.size / SLOW_BYTES_PER_SECOND:
                raise Failure("slow-writer does not slow the module down")
            add(f"{sizes[0]:,} bytes, written at {SLOW_BYTES_PER_SECOND / 1e6:.0f} MB/s", [slow])
        else:
            section.verdicts.append(not_measured("6c", "with a slow writer", "libslow-writer.so is not built"))
    section.verdicts.append(at_most("6a", "peak over idle, MiB", max(peaks), LIMIT_MIB, " MiB"))
    if len(peaks) > 1:
        text = "difference between these packages, MiB"
        section.verdicts.append(at_most("6b", text, max(peaks) - min(peaks), EQUAL_WITHIN_MIB, " MiB"))
    else:
        section.verdicts.append(not_measured("6b", "difference between these packages, MiB", "there is one only"))
    if bench.quick:
        section.notes.append("The quick run leaves out 1 GB and 2 GiB.")
    yield section


def repeated(bench: Bench, nginx: Nginx, package: Package, times: int, **options: object) -> list[Run]:
    root: Path = bench.disk
    return [bench.fetch(bench.module, root, nginx, nginx.plain, package, **options) for _ in range(times)]
