# SPDX-License-Identifier: MIT
"""What a user of the host notices: a window that answers, the check, the digest, the patch. Goals 7, 9 and 10."""

import json
import os
import shutil
import subprocess
import sys
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path

from .downloaders import events
from .measure import Failure, Run, Unavailable, run
from .model import Section, at_most, median, not_measured, number, ratio, spread
from .packages import Package
from .rounds import interleave
from .servers import Nginx
from .surroundings import Bench

OFFSCREEN = {"QT_QPA_PLATFORM": "offscreen"}
PACED_CONNECTION = 40_000_000  # bytes a second for each of the five: a link of 1.6 Gbit/s

KEEP_BUSY = """import os, sys
block = os.urandom(1 << 20)
parent = os.getppid()
while os.getppid() == parent:
    with open(sys.argv[1], "wb") as file:
        for _ in range(64):
            file.write(block)
        file.flush()
        os.fsync(file.fileno())
"""


def program(bench: Bench, name: str) -> str:
    path = bench.build / name
    if not path.exists():
        raise Unavailable(f"{name} is not built")
    return str(path)


@contextmanager
def busy_disk(file: Path) -> Iterator[None]:
    """A process that writes 64 MiB and syncs them, again and again; ended by its id."""
    process = subprocess.Popen([sys.executable, "-c", KEEP_BUSY, file])
    try:
        yield
    finally:
        process.kill()
        process.wait()
        file.unlink(missing_ok=True)


def gaps_of_downloads(bench: Bench, nginx: Nginx, base: str, package: Package) -> tuple[list[float], list[float]]:
    """The longest gap of each download, and the one that 99.9 % of its gaps are below."""
    told = []
    for _ in range(bench.rounds):
        with bench.folder(bench.disk) as folder:
            job = bench.job(folder, nginx, base, package)
            of_this = events(bench.module.whole(job, options=("--gaps",)), "gaps")
        if len(of_this) != 1:
            raise Failure("corvina-demo --gaps tells no gaps")
        told += of_this
    return [each["max_ms"] for each in told], [each["p999_ms"] for each in told]


def gaps(bench: Bench) -> Iterator[Section]:
    package = bench.packages.get(bench.size())
    if "--gaps" not in run([bench.module.program, "--help"], OFFSCREEN).output:
        raise Unavailable("corvina-demo has no --gaps")
    title = f"7. Gaps of a heartbeat of 1 ms on the GUI thread, {package.size:,} bytes, while the disk is busy"
    section = Section(title, ["", "gap", "median ms", "smallest – largest"])

    def add(label: str, base: str) -> tuple[float, float]:
        longest, usual = gaps_of_downloads(bench, nginx, base, package)
        section.rows.append([label, "longest of a download", number(median(longest)), spread(longest)])
        section.rows.append([label, "99.9 % are below", number(median(usual)), spread(usual)])
        return median(longest), median(usual)

    with bench.server(limit=PACED_CONNECTION) as nginx, busy_disk(bench.disk / "busy"):
        longest, usual = add("as fast as it goes", nginx.plain)
        if not bench.quick:
            add(f"at most {5 * PACED_CONNECTION / 1e6:.0f} MB/s", nginx.limited)
    section.verdicts = [
        at_most("7a", "longest gap, ms", longest, 50, " ms"),
        at_most("7b", "99.9 % of the gaps, ms", usual, 16, " ms"),
    ]
    if bench.quick:
        section.verdicts[1] = not_measured("7b", "99.9 % of the gaps, ms", "this package brings fewer than 1,000 beats")
    section.notes.append(
        "A download as fast as it goes has about 1,000 beats: 99.9 % is its longest gap then, or the second longest."
    )
    yield section


def json_lines(result: Run) -> list[dict]:
    return [json.loads(line) for line in result.output.splitlines() if line.startswith("{")]


def version_check(bench: Bench) -> Iterator[Section]:
    rounds = 5 if bench.quick else max(bench.rounds, 9)
    package = bench.packages.get(100_000_007)
    plain, module = program(bench, "bench/plain-check"), program(bench, "bench/module-timing")
    with bench.server() as nginx, bench.folder(bench.disk) as folder:
        url = nginx.update_url(nginx.plain, package)
        env = {"HOME": str(folder), "XDG_CONFIG_HOME": str(folder), "XDG_CONFIG_DIRS": str(folder), **OFFSCREEN}
        timed = [module, "--update-url", url, "--config-dir", str(folder)]
        run(timed, env)  # so that the libraries are in memory
        samples = interleave({"plain": lambda _: run([plain, url], env), "module": lambda _: run(timed, env)}, rounds)
    bare = [json_lines(each)[0]["ms"] for each in samples["plain"]]
    told: dict[str, dict[str, list[float]]] = {}
    for each in samples["module"]:
        for line in json_lines(each):
            for key, value in line.items():
                if key != "name":
                    told.setdefault(line["name"], {}).setdefault(key, []).append(value)
    section = Section("9. The check and the start", ["", "median ms", "smallest – largest"])
    section.rows.append(["bare exchange by a plain Qt program", number(median(bare)), spread(bare)])
    for name, figures in told.items():
        for key, values in figures.items():
            label = name if key == "ms" else f"{name}: {key.removesuffix('_ms')}"
            section.rows.append([label, number(median(values)), spread(values)])
    for goal, name, limit in (("9a", "live_update", 20), ("9b", "is_need_update", 5)):
        more = median([ours - other for ours, other in zip(told[name]["ms"], bare)])
        section.verdicts.append(at_most(goal, f"{name} over the bare exchange, ms", more, limit, " ms"))
    start = median(told["load_and_construct"]["ms"])
    section.verdicts.append(at_most("9c", "loading the library and constructing UpdateMain, ms", start, 40, " ms"))
    yield section


def digest(bench: Bench) -> Iterator[Section]:
    package = bench.packages.get(bench.size() if bench.quick else 1 << 30)
    ours = program(bench, "bench/digest-timing")
    contenders = {
        "openssl md5": lambda _: run(["openssl", "md5", str(package.path)]),
        "module": lambda _: run([ours, str(package.path)]),
    }
    run(["openssl", "md5", str(package.path)])  # so that the file is in memory
    samples = interleave(contenders, bench.rounds)
    if json_lines(samples["module"][0])[0]["md5"] not in samples["openssl md5"][0].output:
        raise Failure("FileMd5Hex and openssl md5 disagree")
    section = Section(f"10. The MD5 of {package.size:,} bytes", ["", "wall s", "smallest – largest"])
    walls = {name: samples.values(name, "wall") for name in samples}
    walls["module"] = [json_lines(each)[0]["ms"] / 1000 for each in samples["module"]]
    for name, values in walls.items():
        section.rows.append([{"module": "FileMd5Hex"}.get(name, name), number(median(values)), spread(values)])
    over = ratio(walls["module"], walls["openssl md5"])
    section.verdicts = [at_most("10a", "time over openssl md5, which includes its start", over, 1.1)]
    yield section


def patch(bench: Bench) -> Iterator[Section]:
    megabytes = 64 if bench.quick else 256
    make, ours = program(bench, "bench/installer-pair"), program(bench, "demo/bspatch.exe")
    theirs = shutil.which("bspatch")
    if theirs is None:
        raise Unavailable("Debian's bspatch is not installed")
    folder = bench.disk / "pair"
    folder.mkdir(exist_ok=True)
    run([make, str(folder), str(megabytes)])
    os.sync()

    def applied(command: str):
        def apply(_: int) -> Run:
            result = run([command, str(folder / "old"), str(folder / "made"), str(folder / "patch")], limit=600)
            run(["cmp", str(folder / "made"), str(folder / "new")])
            (folder / "made").unlink()
            return result

        return apply

    samples = interleave({"bspatch of Debian": applied(theirs), "bspatch": applied(ours)}, 1 if bench.quick else 5)
    shutil.rmtree(folder)
    title = f"10. A patch between installers of {megabytes} MiB"
    section = Section(title, ["", "wall s", "smallest – largest", "peak MiB"])
    for name in samples:
        walls = samples.values(name, "wall")
        section.rows.append([name, number(median(walls)), spread(walls), number(median(samples.values(name, "peak")))])
    for goal, figure, limit in (("10b", "wall", 1.05), ("10c", "peak", 0.1)):
        over = ratio(samples.values("bspatch", figure), samples.values("bspatch of Debian", figure))
        text = {"wall": "time", "peak": "memory"}[figure] + " over Debian's bspatch"
        section.verdicts.append(at_most(goal, text, over, limit))
    yield section
