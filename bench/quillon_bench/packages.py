# SPDX-License-Identifier: MIT
"""Packages of incompressible bytes, made once for a run, and the comparison of what arrived with them."""

import hashlib
import os
import subprocess
from dataclasses import dataclass
from pathlib import Path

from .measure import Failure

BLOCK = 16 << 20


@dataclass(frozen=True)
class Package:
    path: Path
    size: int

    @property
    def name(self) -> str:
        return self.path.name

    def md5(self) -> str:
        with open(self.path, "rb") as file:
            return hashlib.file_digest(file, "md5").hexdigest()


class Packages:
    """The packages of a run, in the folder that the servers serve."""

    def __init__(self, folder: Path):
        self._folder = folder
        folder.mkdir(parents=True, exist_ok=True)

    def get(self, size: int, variant: str = "a") -> Package:
        """A package of so many bytes. Another variant has other bytes."""
        path = self._folder / f"package-{size}-{variant}.exe"
        if not path.exists():
            with open(path, "wb") as file:
                for start in range(0, size, BLOCK):
                    file.write(os.urandom(min(BLOCK, size - start)))
                file.flush()
                os.fsync(file.fileno())
        return Package(path, size)

    def drop(self, package: Package) -> None:
        package.path.unlink(missing_ok=True)

    def serve_as(self, package: Package, name: str, modified: int) -> Package:
        """Puts the package under another name, in place of what has that name, with a time of modification in
        seconds since 1970. A web server makes its ETag of it."""
        os.utime(package.path, (modified, modified))
        target, new = self._folder / name, self._folder / (name + ".new")
        os.link(package.path, new)
        os.rename(new, target)
        new.unlink(missing_ok=True)  # it stays when both names are the same file already
        return Package(target, package.size)


def is_same(package: Package, file: Path) -> bool:
    return file.exists() and subprocess.run(["cmp", "-s", package.path, file], check=False).returncode == 0


def must_be_same(package: Package, file: Path, who: str) -> None:
    if not is_same(package, file):
        raise Failure(f"{who}: {file} differs from {package.path}")
