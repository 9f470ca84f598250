# SPDX-License-Identifier: MIT
"""Runs one command and says what it cost. Times are seconds, memory is MiB."""

import os
import select
import signal
import subprocess
import tempfile
import time
from dataclasses import dataclass, replace

POLL_SECONDS = 0.05


class Failure(Exception):
    """A command that failed, or a file that is not what it should be. It ends the benchmark."""


class Unavailable(Exception):
    """What a section needs is not there. The section is reported as not measured."""


@dataclass
class Run:
    wall: float
    cpu: float
    peak: float
    switches: int
    status: int
    output: str


class Process:
    """A command that runs. Its output goes to a file, so that it never waits for a reader."""

    def __init__(self, argv: list[str], env: dict[str, str] | None = None, limit: float = 900):
        self.argv = [str(part) for part in argv]
        self._output = tempfile.TemporaryFile()
        self._deadline = time.monotonic() + limit
        self._peak_kib = 0
        self._started = time.monotonic()
        # A proxy that only some contenders use would compare two networks.
        without_proxy = {name: value for name, value in os.environ.items() if not name.lower().endswith("_proxy")}
        try:
            self._child = subprocess.Popen(
                self.argv,
                stdin=subprocess.DEVNULL,
                stdout=self._output,
                stderr=subprocess.STDOUT,
                env={**without_proxy, "LC_ALL": "C", **(env or {})},
            )
        except FileNotFoundError as missing:
            raise Unavailable(f"{self.argv[0]} is not installed") from missing
        self.pid = self._child.pid

    def running(self, seconds: float = 0) -> bool:
        """Whether it still runs after waiting so long for its end."""
        handle = os.pidfd_open(self.pid)
        try:
            return not select.select([handle], [], [], seconds)[0]
        finally:
            os.close(handle)

    def signal(self, number: int) -> None:
        os.kill(self.pid, number)

    def wait(self) -> Run:
        """Waits for the end. The peak is that of the program itself: the figure of wait4 begins with the memory
        of the process that started it."""
        try:
            while self.running(POLL_SECONDS):
                self._read_peak()
                if time.monotonic() > self._deadline:
                    self.signal(signal.SIGKILL)
        except BaseException:  # the benchmark is ended from outside
            self.signal(signal.SIGKILL)
            raise
        _, status, usage = os.wait4(self.pid, 0)
        wall = time.monotonic() - self._started
        self._child.returncode = os.waitstatus_to_exitcode(status)
        self._output.seek(0)
        text = self._output.read().decode(errors="replace")
        self._output.close()
        cpu = usage.ru_utime + usage.ru_stime
        return Run(wall, cpu, self._peak_kib / 1024, usage.ru_nvcsw, self._child.returncode, text)

    def _read_peak(self) -> None:
        try:
            with open(f"/proc/{self.pid}/status", encoding="ascii", errors="replace") as status:
                for line in status:
                    if line.startswith("VmHWM:"):
                        self._peak_kib = max(self._peak_kib, int(line.split()[1]))
        except OSError:
            pass  # it has just ended


def run(argv: list[str], env: dict[str, str] | None = None, limit: float = 900) -> Run:
    """Runs a command to its end; raises Failure unless it exits with 0."""
    result = Process(argv, env, limit).wait()
    if result.status != 0:
        command = " ".join(str(part) for part in argv)
        raise Failure(f"exit {result.status} of: {command}\n{result.output[-2000:]}")
    return result


def in_sequence(runs: list[Run]) -> Run:
    """Commands that ran one after the other, as one."""
    return replace(
        runs[-1],
        wall=sum(each.wall for each in runs),
        cpu=sum(each.cpu for each in runs),
        peak=max(each.peak for each in runs),
        switches=sum(each.switches for each in runs),
    )
