# SPDX-License-Identifier: MIT
"""What all sections share: the build, folders on the disk and in memory, the packages, sizes and rounds."""

import os
import shutil
from contextlib import contextmanager
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

from .downloaders import Downloader, Job, Module
from .measure import Run
from .packages import Package, Packages, must_be_same
from .servers import Nginx

MEMORY = Path("/dev/shm")


@dataclass
class Bench:
    build: Path
    disk: Path
    memory: Path
    quick: bool
    rounds: int
    packages: Packages
    module: Module

    def size(self) -> int:
        """The size of the package of most sections, in bytes: a length that no number of ranges divides."""
        return 100_000_007 if self.quick else 1_000_000_003

    def paced_rounds(self) -> int:
        """Rounds of a section whose time is set by a link or a limit, and so hardly differs from round to round."""
        return 1 if self.quick else self.rounds

    @contextmanager
    def folder(self, root: Path) -> Iterator[Path]:
        """An empty folder, which is removed afterwards."""
        place = root / "place"
        shutil.rmtree(place, ignore_errors=True)
        place.mkdir(parents=True)
        try:
            yield place
        finally:
            shutil.rmtree(place, ignore_errors=True)

    def server(self, **options: object) -> Nginx:
        return Nginx(self.disk / "nginx", self.disk / "packages", **options)

    def job(self, folder: Path, nginx: Nginx, base: str, package: Package, **options: object) -> Job:
        ca = nginx.ca if base.startswith("https") else None
        return Job(folder, package, nginx.package_url(base, package), nginx.update_url(base, package), ca, **options)

    def fetch(self, who: Downloader, root: Path, nginx: Nginx, base: str, package: Package, **options: object) -> Run:
        """One download into an empty folder, compared byte by byte."""
        with self.folder(root) as folder:
            job = self.job(folder, nginx, base, package, **options)
            result = who.download(job)
            must_be_same(package, who.output(job), who.name)
            return result


def file_system(path: Path) -> str:
    """The type of the file system that a path is on."""
    found, kind = "", "unknown"
    real = os.path.realpath(path)
    for line in Path("/proc/self/mounts").read_text(encoding="utf-8").splitlines():
        _, mount, name, *_ = line.split()
        if (real + "/").startswith(mount.rstrip("/") + "/") and len(mount) >= len(found):
            found, kind = mount, name
    return kind
