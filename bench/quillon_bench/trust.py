# SPDX-License-Identifier: MIT
"""What it costs to trust a signature and not TLS alone: goal 13."""

import shutil
from collections.abc import Iterator

from .desktop import json_lines, program
from .measure import Failure, Run, run
from .model import Section, at_most, median, number, ratio, spread
from .rounds import interleave
from .surroundings import Bench

VERIFICATIONS = 1000


def trust(bench: Bench) -> Iterator[Section]:
    ours = program(bench, "bench/trust-timing")
    yield verification(ours, bench.rounds)
    yield private_copy(bench, ours)


def verification(ours: str, rounds: int) -> Section:
    figures = [json_lines(run([ours, "verify", str(VERIFICATIONS)]))[0] for _ in range(rounds)]
    section = Section(f"13. A signed manifest of {figures[0]['bytes']:,} bytes", ["", "median ms", "smallest – largest"])
    for key, label in (("verify_ms", "verified"), ("read_ms", "verified and parsed"), ("verify_worst_ms", "slowest of a round")):
        values = [each[key] for each in figures]
        section.rows.append([label, f"{median(values):.3f}", spread(values)])
    verified = median([each["verify_ms"] for each in figures])
    section.verdicts = [at_most("13a", "verification of a manifest", verified, 1, " ms")]
    return section


def private_copy(bench: Bench, ours: str) -> Section:
    """The digest and the copy are made in one pass. The programs of the system need one for each."""
    package = bench.packages.get(bench.size())
    folder = bench.disk / "private"
    copied = folder / "copy"

    def fresh(argv: list[str]):
        def contender(_: object) -> Run:
            shutil.rmtree(folder, ignore_errors=True)
            folder.mkdir()
            return run(argv)

        return contender

    contenders = {
        "sha256sum": fresh(["sha256sum", str(package.path)]),
        "cp": fresh(["cp", "--reflink=never", str(package.path), str(copied)]),
        "module": fresh([ours, "copy", str(package.path), str(folder)]),
    }
    run(["sha256sum", str(package.path)])  # so that the file is in memory
    samples = interleave(contenders, bench.rounds)
    shutil.rmtree(folder, ignore_errors=True)
    if json_lines(samples["module"][0])[0]["sha256"] not in samples["sha256sum"][0].output:
        raise Failure("PrivateCopy and sha256sum disagree")
    walls = {name: samples.values(name, "wall") for name in samples}
    walls["module"] = [json_lines(each)[0]["ms"] / 1000 for each in samples["module"]]
    walls["sha256sum, then cp"] = [a + b for a, b in zip(walls["sha256sum"], walls["cp"])]
    section = Section(f"13. The private copy of {package.size:,} bytes", ["", "wall s", "smallest – largest"])
    for name, values in walls.items():
        section.rows.append([{"module": "PrivateCopy"}.get(name, name), number(median(values)), spread(values)])
    over = ratio(walls["module"], walls["sha256sum, then cp"])
    section.verdicts = [at_most("13b", "digest and copy over sha256sum and then cp", over, 1.1)]
    return section
