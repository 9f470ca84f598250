# SPDX-License-Identifier: MIT
"""A link of 200 Mbit/s, plain, with a delay, and with cut connections: goal 5."""

import os
import random
import subprocess
import sys
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path
from statistics import mean

from .downloaders import Aria2, Curl, Downloader, PersistentCurl, Wget
from .measure import Failure, Run, Unavailable
from .model import Section, at_most, median, number
from .packages import Package
from .rounds import Samples, interleave
from .servers import Nginx
from .surroundings import Bench
from .transfer import best_peer, fill_table, idle_host, present, ratio_of, runs_of

NAMESPACE_SIDE, OUR_SIDE = "10.209.77.2", "10.209.77.1"
RATE = "200mbit"
DELAY_SECONDS = 0.05
ACCURACY = 0.01  # costs below that share of a download are not told apart
CUT_EVERY = 100 << 20  # one of a hundred pieces of 1 MiB


@contextmanager
def limited_link() -> Iterator[list[str]]:
    """A network namespace at the other end of a link of 200 Mbit/s; yields what goes before a command in it."""
    name, device = f"quillon-{os.getpid()}", f"qb{os.getpid()}"
    commands = [
        f"ip netns add {name}",
        f"ip link add {device} type veth peer name far netns {name}",
        f"ip addr add {OUR_SIDE}/30 dev {device}",
        f"ip link set {device} up",
        f"ip -n {name} addr add {NAMESPACE_SIDE}/30 dev far",
        f"ip -n {name} link set far up",
        f"ip -n {name} link set lo up",
        f"tc qdisc add dev {device} root tbf rate {RATE} burst 128kb latency 50ms",
    ]
    try:
        for command in commands:
            done = subprocess.run(command.split(), capture_output=True, text=True, check=False)
            if done.returncode != 0:
                raise Unavailable(f"no network namespace here: {command}: {done.stderr.strip()}")
        yield ["ip", "netns", "exec", name]
    finally:
        # The device goes with its other end.
        subprocess.run(["ip", "link", "del", device], capture_output=True, check=False)
        subprocess.run(["ip", "netns", "del", name], capture_output=True, check=False)


@contextmanager
def relay(*options: str) -> Iterator[int]:
    """The bench's relay; yields its port."""
    process = subprocess.Popen(
        [sys.executable, "-m", "quillon_bench.relay", *options],
        cwd=Path(__file__).parent.parent, stdout=subprocess.PIPE, text=True)
    try:
        line = process.stdout.readline()
        if not line:
            raise Failure("the relay does not start")
        yield int(line)
    finally:
        process.kill()
        process.wait()


def cuts(size: int, number_of_round: int) -> list[str]:
    """Where the downloads of one round are cut: the same for every contender."""
    places = random.Random(number_of_round)
    count = max(1, round(size / CUT_EVERY))
    return [str(places.randrange(size // 10, size * 9 // 10)) for _ in range(count)]


def behind_relay(
    bench: Bench, contenders: list[Downloader], nginx: Nginx, package: Package, prefix: list[str], cutting: bool
) -> Samples:
    def one(who: Downloader):
        def fetch(number_of_round: int) -> Run:
            places = ["--cut-at", *cuts(package.size, number_of_round)] if cutting else []
            behind = ["--address", OUR_SIDE, "--to", f"{OUR_SIDE}:{nginx.port}", "--delay", str(DELAY_SECONDS)]
            with relay(*behind, *places) as port:
                return bench.fetch(who, bench.disk, nginx, f"http://{OUR_SIDE}:{port}", package, prefix=prefix)

        return fetch

    return interleave({who.name: one(who) for who in present(contenders)}, bench.paced_rounds())


def section_of(title: str, samples: Samples, goal: str) -> Section:
    section = Section(title)
    fill_table(section, samples)
    peer = best_peer(samples)
    section.verdicts.append(at_most(goal, f"wall time over the best peer, {peer}", ratio_of(samples, peer), 1.03))
    return section


def add_costs(section: Section, calm: Samples, cut: Samples) -> None:
    """What the cuts cost each contender: the mean over the rounds, as where a connection is cut matters."""
    costs = {name: mean(cut.values(name, "wall")) - mean(calm.values(name, "wall")) for name in cut}
    section.columns = [*section.columns, "cuts cost s"]
    for row in section.rows:
        row.append(number(costs[row[0]]))
    peer = min((name for name in costs if name != "module"), key=costs.__getitem__)
    accuracy = ACCURACY * median(calm.values("module", "wall"))
    text = f"cost of the cuts against the least of any peer, {peer}, and {ACCURACY:.0%} of a download"
    section.verdicts.append(at_most("5d", text, costs["module"], max(0.0, costs[peer]) + accuracy, " s"))


def slow_link(bench: Bench) -> Iterator[Section]:
    package = bench.packages.get(100_000_007 if bench.quick else 125_000_003)
    title = f"5. A link of 200 Mbit/s, {package.size:,} bytes"
    with limited_link() as prefix, bench.server(address=OUR_SIDE) as nginx:
        idle_host(bench, nginx, package)
        contenders = [Curl(), Aria2(), bench.module]
        rounds = bench.paced_rounds()
        samples = runs_of(bench, contenders, bench.disk, nginx, nginx.plain, package, rounds, prefix=prefix)
        yield section_of(title, samples, "5a")

        others = [] if bench.quick else [Wget()]
        contenders = [PersistentCurl(), Aria2(), *others, bench.module]
        calm = behind_relay(bench, contenders, nginx, package, prefix, cutting=False)
        yield section_of(f"{title}, 50 ms each way", calm, "5b")
        cut = behind_relay(bench, contenders, nginx, package, prefix, cutting=True)
        pieces = f"{len(cuts(package.size, 0))} of {package.size >> 20}"
        section = section_of(f"{title}, 50 ms each way, cut at {pieces} pieces of 1 MiB", cut, "5c")
        add_costs(section, calm, cut)
        yield section
