# SPDX-License-Identifier: MIT
"""What the module's saving of its state costs, from a trace of its system calls: goal 8."""

import json
import re
from collections.abc import Iterator
from dataclasses import dataclass, replace

from .links import relay
from .measure import Unavailable, run
from .model import Section, at_most, not_measured, number
from .packages import Package, must_be_same
from .servers import Nginx
from .surroundings import Bench
from .transfer import idle_host

STATE_FILE = re.compile(r"CvBreakResumeDownLoad")
PACKAGE_FILE = "Corvina9(x64).tmp"
GIGABYTE = 1_000_000_000
CALLS = (
    "openat,close,read,lseek,fstat,newfstatat,statx,stat,lstat,access,write,writev,pwrite64,pwritev,rename,renameat,"
    "renameat2,link,linkat,unlink,ftruncate,fallocate,flock,fcntl,fsync,fdatasync,sync_file_range,msync,syncfs"
)
SYNCS = ("fsync", "fdatasync", "sync_file_range", "msync", "syncfs")
LINE = re.compile(r"^\d+ +(?P<name>\w+)\((?P<rest>.*)$")
COUNT = re.compile(r'""(?:\.\.\.)?, (\d+)')  # strace -s 0 shows no content


@dataclass
class Trace:
    """Counts between the first and the last write of the package. `state_bytes` are those written to the state file."""

    chunks: int = 0
    state_calls: int = 0
    state_bytes: int = 0
    state_writes: int = 0
    syncs: int = 0
    syncs_in_all: int = 0


def read_trace(text: str) -> Trace:
    """Calls after the last chunk do not count: they end the package, whatever its size."""
    trace, until_last = Trace(), Trace()
    for line in text.splitlines():
        match = LINE.match(line)
        if not match:
            continue
        name, rest = match["name"], match["rest"]
        if name in SYNCS:
            trace.syncs_in_all += 1
        if "write" in name and PACKAGE_FILE in rest:
            trace.chunks += 1
            until_last = replace(trace)
        elif trace.chunks and name in SYNCS:
            trace.syncs += 1
        elif trace.chunks and STATE_FILE.search(rest):
            trace.state_calls += 1
            if "write" in name:
                trace.state_writes += 1
                written = COUNT.search(rest)
                trace.state_bytes += int(written[1]) if written else 0
    return replace(until_last, syncs_in_all=trace.syncs_in_all)


def traced(bench: Bench, nginx: Nginx, package: Package, piece: int, pause: float) -> Trace:
    """One download of which every answer comes in pieces of this size, under strace."""
    behind = ["--to", f"127.0.0.1:{nginx.port}", "--piece", str(piece), "--pause", str(pause)]
    with relay(*behind) as port, bench.folder(bench.disk) as folder:
        trace = folder / "trace"
        strace = f"strace -f --seccomp-bpf -y -qq -s 0 -e trace={CALLS} -e signal=none -o".split()
        job = bench.job(folder, nginx, f"http://127.0.0.1:{port}", package, prefix=[*strace, str(trace)])
        bench.module.whole(job)
        must_be_same(package, bench.module.output(job), "the traced module")
        return read_trace(trace.read_text(encoding="utf-8", errors="replace"))


def cpu_in_pieces(bench: Bench, nginx: Nginx, package: Package, piece: int, pause: float) -> float:
    """Seconds of CPU time that the same download takes without strace."""
    with relay("--to", f"127.0.0.1:{nginx.port}", "--piece", str(piece), "--pause", str(pause)) as port:
        base = f"http://127.0.0.1:{port}"
        return bench.fetch(bench.module, bench.disk, nginx, base, package).cpu


def cpu_of_a_save(bench: Bench) -> float | None:
    """Seconds, by the program that saves and does nothing else; None where it is not built."""
    program = bench.build / "bench/state-timing"
    if not program.exists():
        return None
    with bench.folder(bench.disk) as folder:
        result = run([str(program), "--dir", str(folder), "--saves", "2000"])
    return json.loads(result.output)["cpu_us_per_save"] / 1e6


def state_cost(bench: Bench) -> Iterator[Section]:
    package = bench.packages.get((32 if bench.quick else 256) << 20)
    section = Section(
        f"8. Saving the state, {package.size >> 20} MiB, counted for 1 GB",
        ["pieces", "chunks", "calls on the state file", "its writes", "its bytes", "syncs", "syncs for 64 MiB",
         "CPU s of saving", "of the CPU time"],
    )
    save = cpu_of_a_save(bench)
    scale = GIGABYTE / package.size
    worst_syncs = worst_share = 0.0
    with bench.server() as nginx:
        idle_host(bench, nginx, package)
        for piece, pause in ((16 << 10, 0.005), (1 << 20, 0.02)):
            trace = traced(bench, nginx, package, piece, pause)
            if trace.chunks == 0:
                raise Unavailable(f"the trace has no write to {PACKAGE_FILE}")
            syncs = trace.syncs * (64 << 20) / package.size
            saving = (save or 0) * trace.state_writes
            share = saving / cpu_in_pieces(bench, nginx, package, piece, pause)
            row = [f"{piece >> 10} KiB", *(f"{value * scale:,.0f}" for value in (
                trace.chunks, trace.state_calls, trace.state_writes, trace.state_bytes, trace.syncs))]
            section.rows.append([*row, number(syncs), number(saving * scale), f"{share:.1%}"])
            worst_syncs, worst_share = max(worst_syncs, syncs), max(worst_share, share)
    text = "syncs for every 64 MiB while the package arrives"
    section.verdicts.append(
        not_measured("8a", text, "the package is smaller than what is flushed at once") if bench.quick
        else at_most("8a", text, worst_syncs, 2))
    text = "CPU time of saving the state, share of the whole"
    if save is None:
        section.verdicts.append(not_measured("8b", text, "state-timing is not built"))
    else:
        section.verdicts.append(at_most("8b", text, worst_share, 0.01))
    section.notes.append("Calls are counted from the first to the last write of the package, under strace.")
    yield section

