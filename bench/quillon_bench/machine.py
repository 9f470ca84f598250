# SPDX-License-Identifier: MIT
"""A description of the machine that measured."""

import os
import platform
import subprocess
from pathlib import Path

from .surroundings import Bench, file_system

PEERS = {
    "curl": ["curl", "--version"],
    "aria2c": ["aria2c", "--version"],
    "axel": ["axel", "--version"],
    "wget": ["wget", "--version"],
    "nginx": ["/usr/sbin/nginx", "-v"],
    "openssl": ["openssl", "version"],
}


def field(file: str, name: str) -> str:
    for line in Path(file).read_text(encoding="utf-8", errors="replace").splitlines():
        key, _, value = line.partition(":")
        if key.strip() == name:
            return value.strip()
    return "unknown"


def version(command: list[str]) -> str:
    try:
        done = subprocess.run(command, capture_output=True, text=True, check=False)
    except OSError:
        return "not installed"
    return (done.stdout + done.stderr).strip().partition("\n")[0][:80]


def commit() -> str:
    here = Path(__file__).parent
    command = ["git", "-C", str(here), "-c", f"safe.directory={here.parents[1]}", "describe", "--always", "--dirty"]
    return version(command)


def describe(bench: Bench) -> list[tuple[str, str]]:
    memory = int(field("/proc/meminfo", "MemTotal").split()[0]) / (1 << 20)
    return [
        ("processor", f"{field('/proc/cpuinfo', 'model name')}, {os.cpu_count()} cores"),
        ("memory", f"{memory:.1f} GiB"),
        ("kernel", f"{platform.system()} {platform.release()}"),
        ("disk", file_system(bench.disk)),
        ("file system in memory", file_system(bench.memory)),
        ("module", commit()),
        *((name, version(command)) for name, command in PEERS.items()),
    ]
