# SPDX-License-Identifier: MIT
"""Rounds in which each contender runs once, in an order that rotates."""

import os
from collections.abc import Callable

from .measure import Run, Unavailable


class Samples(dict[str, list[Run]]):
    """The runs of each contender, one for each round."""

    def values(self, name: str, figure: str) -> list[float]:  # type: ignore[override]
        if name not in self:
            raise Unavailable(f"{name} is not installed")
        return [getattr(run, figure) for run in self[name]]


def interleave(contenders: dict[str, Callable[[int], Run]], rounds: int) -> Samples:
    """Runs every contender once a round; it gets the number of the round. What one of them left to be written
    back is written before the next one starts."""
    samples = Samples({name: [] for name in contenders})
    names = list(contenders)
    for number in range(rounds):
        shift = number % len(names)
        for name in names[shift:] + names[:shift]:
            os.sync()
            samples[name].append(contenders[name](number))
    return samples
