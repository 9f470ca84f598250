# SPDX-License-Identifier: MIT
"""The contenders: how each of them downloads one package, and how it goes on after it was killed."""

import json
import shutil
import statistics
import sys
from dataclasses import dataclass, field, replace
from pathlib import Path

from .measure import Failure, Process, Run, in_sequence, run
from .packages import Package


@dataclass
class Job:
    """One download into a folder. `ca` is set for TLS; `prefix` goes before the command, `env` into its environment."""

    folder: Path
    package: Package
    url: str
    update_url: str
    ca: Path | None = None
    prefix: list[str] = field(default_factory=list)
    env: dict[str, str] = field(default_factory=dict)


class Downloader:
    """A peer. `command` downloads from the start, `resume` goes on; most need no other command for that."""

    name = ""
    program = ""

    def command(self, job: Job) -> list[str]:
        raise NotImplementedError

    def resume(self, job: Job) -> list[str]:
        return self.command(job)

    def output(self, job: Job) -> Path:
        return job.folder / job.package.name

    def start(self, job: Job, again: bool = False) -> Process:
        argv = self.resume(job) if again else self.command(job)
        return Process(job.prefix + [str(part) for part in argv], job.env)

    def download(self, job: Job) -> Run:
        return run(job.prefix + [str(part) for part in self.command(job)], job.env)

    def available(self) -> bool:
        return shutil.which(self.program) is not None


class Curl(Downloader):
    name = program = "curl"

    def command(self, job: Job) -> list[str]:
        trust = ["--cacert", job.ca] if job.ca else []
        return ["curl", "-q", "-sS", "--fail", *trust, "-o", self.output(job), job.url]

    def resume(self, job: Job) -> list[str]:
        return self.command(job)[:-1] + ["-C", "-", job.url]


class SyncedCurl(Curl):
    """A copy that is as safe as the module's: it is on stable storage when it is told complete."""

    name = "curl + sync"

    def download(self, job: Job) -> Run:
        return in_sequence([super().download(job), run(["sync", "-d", str(self.output(job))])])


class PlainCopy(Downloader):
    """What is left when a downloader does nothing but copy; no peer, since it can do nothing else."""

    name = "plain copy + sync"
    program = sys.executable

    def command(self, job: Job) -> list[str]:
        return [sys.executable, "-B", Path(__file__).parent / "plain_copy.py", job.url, self.output(job)]


class PersistentCurl(Curl):
    """Goes on after each cut. curl alone ends there."""

    name = "curl -C -, repeated"

    def download(self, job: Job) -> Run:
        runs = [self.start(job).wait()]
        while runs[-1].status != 0 and len(runs) < 50:
            runs.append(self.start(job, again=True).wait())
        if runs[-1].status != 0:
            raise Failure(f"curl does not get to the end: {runs[-1].output}")
        return in_sequence(runs)


class Aria2(Downloader):
    name = program = "aria2c"

    def command(self, job: Job) -> list[str]:
        trust = [f"--ca-certificate={job.ca}"] if job.ca else []
        return ["aria2c", "-q", "--no-conf", "-x5", "-s5", "-k1M", "--file-allocation=trunc", *trust,
                "-d", job.folder, "-o", job.package.name, job.url]

    def resume(self, job: Job) -> list[str]:
        return self.command(job)[:-1] + ["-c", job.url]


class Axel(Downloader):
    name = program = "axel"

    def command(self, job: Job) -> list[str]:
        return ["axel", "-q", "-n", "5", "-o", self.output(job), job.url]


class Wget(Downloader):
    name = program = "wget"

    def command(self, job: Job) -> list[str]:
        trust = [f"--ca-certificate={job.ca}"] if job.ca else []
        return ["wget", "-q", "--no-config", *trust, "-P", job.folder, job.url]

    def resume(self, job: Job) -> list[str]:
        return self.command(job)[:-1] + ["-c", job.url]


class Module(Downloader):
    """The module in its demo host. A download counts from the page of the new version, where "Update Now" is pressed at
    once, to the question whether to install. The CPU time of the same host that only shows that page is subtracted."""

    name = "module"

    def __init__(self, build: Path):
        self.program = str(build / "demo/corvina-demo")
        self._idle: Run | None = None

    def command(self, job: Job, version: str = "update", options: tuple[str, ...] = ()) -> list[str]:
        home = job.folder
        trust = ["--ca", job.ca] if job.ca else []
        # No program listens on port 1, so reports fail at once.
        return [self.program, "--update-url", job.update_url, "--product-version", "9.1.0.0", "--config-dir", home,
                "--data-dir", home, "--log", home / "log", "--statistics-host", "127.0.0.1:1", *trust,
                "--check", "interactive", "--on-version", version, "--on-prompt", "cancel", "--on-hint", "close",
                "--timeout", "600", *options]

    def output(self, job: Job) -> Path:
        return job.folder / "data/Halvard" / job.package.name

    def start(self, job: Job, again: bool = False) -> Process:
        return Process(job.prefix + [str(part) for part in self.command(job)], self._environment(job))

    def download(self, job: Job) -> Run:
        return self.timed(job, self.whole(job))

    def whole(self, job: Job, version: str = "update", options: tuple[str, ...] = ()) -> Run:
        """The whole process, with the start and the end of the host."""
        argv = self.command(job, version, options)
        return run(job.prefix + [str(part) for part in argv], self._environment(job))

    def timed(self, job: Job, whole: Run) -> Run:
        page = [e["t_ms"] for e in events(whole, "page") if e["name"] == "version"]
        prompt = [e["t_ms"] for e in events(whole, "prompt")]
        if not page or not prompt:
            raise Failure("the module did not get to the question whether to install:\n" + whole.output[-2000:])
        return replace(whole, wall=(prompt[0] - page[0]) / 1000, cpu=max(0.0, whole.cpu - self.idle(job).cpu))

    def idle(self, job: Job) -> Run:
        """The host that shows the page of the new version and closes: the median of five runs."""
        if self._idle is None:
            folder = job.folder / "idle"
            folder.mkdir()
            runs = [self.whole(replace(job, folder=folder, env={}), "close") for _ in range(5)]
            shutil.rmtree(folder)
            cpu, peak = (statistics.median(getattr(each, name) for each in runs) for name in ("cpu", "peak"))
            self._idle = replace(runs[0], cpu=cpu, peak=peak)
        return self._idle

    def _environment(self, job: Job) -> dict[str, str]:
        home = str(job.folder)
        return {"HOME": home, "XDG_DATA_HOME": home + "/data", "XDG_CONFIG_HOME": home + "/config",
                "XDG_CONFIG_DIRS": home + "/etc", "QT_QPA_PLATFORM": "offscreen", **job.env}


def events(whole: Run, name: str) -> list[dict]:
    """The events of that name that the demo host printed."""
    found = []
    for line in whole.output.splitlines():
        try:
            event = json.loads(line)
        except ValueError:
            continue  # a message of a library between the events
        if isinstance(event, dict) and event.get("event") == name:
            found.append(event)
    return found
