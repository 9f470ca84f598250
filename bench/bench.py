#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures the module beside its peers and says which goals are met. `./dev bench` builds what it needs and runs it.

A goal that is missed does not fail the run; a file that arrives wrong does."""

import argparse
import datetime
import os
import shutil
import signal
import sys
import tempfile
import time
from collections.abc import Callable, Iterator
from pathlib import Path

from quillon_bench import desktop, links, machine, memory, report, resume, state, transfer, trust
from quillon_bench.downloaders import Module
from quillon_bench.measure import Failure, Unavailable
from quillon_bench.model import Section, not_measured
from quillon_bench.packages import Packages
from quillon_bench.surroundings import MEMORY, Bench, file_system

Runner = Callable[[Bench], Iterator[Section]]

SECTIONS: dict[str, Runner] = {
    "disk": transfer.plain_on_disk,
    "memory-disk": transfer.plain_in_memory,
    "tls": transfer.tls_on_disk,
    "limited": transfer.limited_connections,
    "link": links.slow_link,
    "memory": memory.memory_over_idle,
    "gaps": desktop.gaps,
    "state": state.state_cost,
    "check": desktop.version_check,
    "digest": desktop.digest,
    "patch": desktop.patch,
    "trust": trust.trust,
    "busy": transfer.busy_machine,
    "resume": resume.resumed,
}


QUICK = (
    "A quick run: smaller packages, fewer rounds, one round of what a link or a limit paces. Its verdicts are hints."
)


def options() -> argparse.Namespace:
    root = Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=root / "build/linux-release", help="the release build")
    parser.add_argument("--quick", action="store_true", help="3 rounds of smaller packages, in under two minutes")
    parser.add_argument("--only", default="", help="sections, separated by commas: " + ", ".join(SECTIONS))
    parser.add_argument("--rounds", type=int, help="rounds of each section (9, quick: 3)")
    parser.add_argument("--results", type=Path, help="folder of the page (bench/results; of a part: build/bench)")
    given = parser.parse_args()
    given.build = given.build.resolve()
    given.names = [name for name in given.only.split(",") if name] or list(SECTIONS)
    unknown = [name for name in given.names if name not in SECTIONS]
    if unknown:
        parser.error("no such section: " + ", ".join(unknown))
    if given.results is None:
        given.results = root / ("build/bench" if given.quick or given.only else "bench/results")
    return given


def measured(name: str, bench: Bench) -> Iterator[Section]:
    try:
        yield from SECTIONS[name](bench)
    except Unavailable as reason:
        yield Section(name, verdicts=[not_measured(name, "the whole section", str(reason))])


def main() -> int:
    given = options()
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda *_: sys.exit(143))  # so that servers and namespaces end as well
    work = Path(tempfile.mkdtemp(prefix="bench-", dir=given.build.parent))
    memory_folder = Path(tempfile.mkdtemp(prefix="quillon-bench-", dir=MEMORY if os.access(MEMORY, os.W_OK) else work))
    rounds = given.rounds or (3 if given.quick else 9)
    module = Module(given.build)
    bench = Bench(given.build, work, memory_folder, given.quick, rounds, Packages(work / "packages"), module)
    started = time.monotonic()
    sections: list[Section] = []
    try:
        if not module.available():
            raise Failure(f"{module.program} is not built")
        if file_system(work) == "tmpfs":
            print(f"{work} is in memory: the figures of goals 1, 3 and 11 are not those of a disk")
        for name in given.names:
            before = time.monotonic()
            for section in measured(name, bench):
                print(report.for_terminal(section), flush=True)
                sections.append(section)
            print(f"  ({name}: {time.monotonic() - before:.0f} s)", flush=True)
        about = about_text(given, rounds, time.monotonic() - started)
        page = report.write(given.results, datetime.date.today().isoformat(), about, machine.describe(bench), sections)
    except Failure as reason:
        print(f"bench: {reason}", file=sys.stderr)
        return 1
    finally:
        shutil.rmtree(work, ignore_errors=True)
        shutil.rmtree(memory_folder, ignore_errors=True)
    print(summary(sections) + f"\n{about}\nThe page is {page}")
    return 0


def about_text(given: argparse.Namespace, rounds: int, seconds: float) -> str:
    kind = QUICK if given.quick else "A whole run."
    sections = f" Only: {', '.join(given.names)}." if given.only else ""
    return (
        f"{kind}{sections} {rounds} interleaved rounds, {seconds / 60:.1f} minutes; medians, and medians of the "
        "ratios within each round. Check, patch, memory, state and resume have rounds of their own."
    )


def summary(sections: list[Section]) -> str:
    verdicts = [verdict for section in sections for verdict in section.verdicts]
    counts = {kind: sum(verdict.met is kind for verdict in verdicts) for kind in (True, False, None)}
    lines = [f"\n== {counts[True]} goals met, {counts[False]} missed, {counts[None]} not measured"]
    lines += [f"  {report.verdict_line(verdict)}" for verdict in verdicts if not verdict.met]
    return "\n".join(lines)


if __name__ == "__main__":
    sys.exit(main())
