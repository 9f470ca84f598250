# SPDX-License-Identifier: MIT
"""Downloads that are killed at half and started again: goal 12."""

import signal
import time
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

from .downloaders import Aria2, Axel, Curl, Downloader, Job, Wget
from .measure import Failure, Process
from .model import Section, at_most
from .packages import is_same
from .servers import Nginx
from .surroundings import Bench
from .transfer import present

CHUNK = 1 << 20  # what a chunk had at most when the goal was set
FILE = "resumed.exe"
SECONDS_TO_HALF = 120


class TooFast(Exception):
    """The download ended before it could be killed."""


@dataclass
class Outcome:
    """`again` is the number of bytes that were fetched a second time; `status` is the exit of the second run."""

    again: int
    right: bool
    status: int


def half_is_written(process: Process, size: int) -> bool:
    """Waits until the process has written half of the package. False when it ended before."""
    deadline = time.monotonic() + SECONDS_TO_HALF
    while time.monotonic() < deadline:
        try:
            lines = Path(f"/proc/{process.pid}/io").read_text(encoding="ascii").splitlines()
        except OSError:
            return False
        written = next((int(line.split()[1]) for line in lines if line.startswith("wchar:")), 0)
        if written >= size // 2:
            return True
        if not process.running(0.001):
            return False
    return False


def bytes_on_the_way(port: int) -> int:
    """Bytes that the server on that port has sent and no client has read."""
    total = 0
    for line in Path("/proc/net/tcp").read_text(encoding="ascii").splitlines()[1:]:
        _, local, remote, _, queues, *_ = line.split()
        sending, receiving = (int(part, 16) for part in queues.split(":"))
        if int(local.rpartition(":")[2], 16) == port:
            total += sending
        elif int(remote.rpartition(":")[2], 16) == port:
            total += receiving
    return total


def settled(port: int) -> int:
    """The same once the server has filled all buffers before a client that was stopped."""
    before, now = -1, bytes_on_the_way(port)
    while before != now:
        time.sleep(0.1)
        before, now = now, bytes_on_the_way(port)
    return now


def kill_at_half(bench: Bench, who: Downloader, job: Job, nginx: Nginx) -> int:
    """Returns the bytes of the package that the process had received when it was killed."""
    nginx.forget_requests()
    process = who.start(job)
    try:
        reached = half_is_written(process, job.package.size)
        process.signal(signal.SIGSTOP)
        unread = settled(nginx.port)
    finally:
        process.signal(signal.SIGKILL)
        ended = process.wait()
    if not reached:
        raise TooFast(f"{who.name} did not get to half:\n{ended.output[-2000:]}")
    time.sleep(0.3)  # nginx logs a request when it sees that the connection is gone
    return nginx.bytes_sent(job.package) - unread


def kill_and_resume(bench: Bench, who: Downloader, nginx: Nginx, replaced: bool) -> Outcome:
    size, made = bench.size(), int(time.time()) - 7200
    package = bench.packages.serve_as(bench.packages.get(size), FILE, made)
    with bench.folder(bench.disk) as folder:
        # Each manifest has the MD5 of its package, as a service's has: the module tells packages apart by it.
        job = bench.job(folder, nginx, nginx.plain, package)
        nginx.update_url(nginx.plain, package, with_md5=True)
        received = kill_at_half(bench, who, job, nginx)
        if replaced:
            package = bench.packages.serve_as(bench.packages.get(size, "b"), FILE, made + 3600)
            nginx.update_url(nginx.plain, package, with_md5=True)
        nginx.forget_requests()
        result = who.start(job, again=True).wait()
        time.sleep(0.1)
        again = received + nginx.bytes_sent(package) - size
        return Outcome(again, is_same(package, who.output(job)), result.status)


def at_third_try(bench: Bench, who: Downloader, nginx: Nginx, replaced: bool) -> Outcome:
    for left in (2, 1, 0):
        try:
            return kill_and_resume(bench, who, nginx, replaced)
        except TooFast as reason:
            if left == 0:
                raise Failure(str(reason)) from reason
    raise AssertionError


def row_of(name: str, kept: Outcome, replaced: Outcome, size: int) -> list[str]:
    def told(outcome: Outcome) -> str:
        if outcome.right:
            return "right"
        return "wrong, told as right" if outcome.status == 0 else f"not there, exit {outcome.status}"

    fetched = f"{1 + kept.again / size:.3f} ×"
    return [name, f"{kept.again / CHUNK:,.1f}", fetched, told(kept), told(replaced)]


def resumed(bench: Bench) -> Iterator[Section]:
    size = bench.size()
    section = Section(
        f"12. Killed at half of {size:,} bytes and started again",
        ["contender", "fetched twice MiB", "fetched in all", "result", "result when the file was replaced"],
    )
    peers = [] if bench.quick else [Curl(), Wget(), Aria2(), Axel()]
    contenders: list[Downloader] = present([*peers, bench.module])
    with bench.server() as nginx:
        for who in contenders:
            kept, replaced = (at_third_try(bench, who, nginx, replaced=each) for each in (False, True))
            section.rows.append(row_of(who.name, kept, replaced, size))
            if who is bench.module:
                again, right = kept, kept.right and replaced.right
    section.verdicts = [at_most("12a", "bytes fetched a second time, in chunks of 1 MiB", again.again / CHUNK, 5)]
    section.verdicts.append(at_most("12b", "wrong results of the module", 0 if right else 1, 0))
    section.notes.append("Chunks of 1 MiB are those of the goal; the module writes 0.44 to 0.56 MiB at once, in five ranges.")
    section.notes.append("aria2c saves its state every 60 s and axel every 10 s, and this download takes about a second.")
    section.notes.append("Received is what the server sent less what stood unread in the buffers of the system.")
    yield section
