# SPDX-License-Identifier: MIT
"""What a benchmark yields: sections with a table and verdicts, and the statistics behind them."""

import statistics
from dataclasses import dataclass, field

from .reasons import REASONS


@dataclass
class Verdict:
    """Whether one goal is met. `met` is None for a goal that was not measured; `reason` says why. Why a goal that was
    measured is missed stands in reasons.py."""

    goal: str
    text: str
    figure: float | None = None
    limit: float | None = None
    met: bool | None = None
    reason: str = ""
    unit: str = ""
    is_upper: bool = True

    def outcome(self) -> str:
        if self.met is None:
            return f"not measured: {self.reason}"
        if self.met:
            return "met"
        distance = abs(self.figure - self.limit)
        share = f" ({distance / abs(self.limit):.1%})" if self.limit else ""
        reason = REASONS.get(self.goal, "")
        return f"missed by {precise(distance)}{self.unit}{share}" + (f": {reason}" if reason else "")


@dataclass
class Section:
    """One table. `bars` (label, value, unit) are drawn in the chart; `notes` are printed below the table."""

    title: str
    columns: list[str] = field(default_factory=list)
    rows: list[list[str]] = field(default_factory=list)
    verdicts: list[Verdict] = field(default_factory=list)
    bars: list[tuple[str, float, str]] = field(default_factory=list)
    notes: list[str] = field(default_factory=list)


def precise(value: float) -> str:
    """For a figure that stands beside its limit: what is missed by a thousandth shows."""
    if value == int(value) or abs(value) >= 10:
        return number(value) if value != int(value) else f"{value:,.0f}"
    return f"{value:.3f}"


def at_most(goal: str, text: str, figure: float, limit: float, unit: str = "") -> Verdict:
    return Verdict(goal, text, figure, limit, figure <= limit, unit=unit)


def at_least(goal: str, text: str, figure: float, limit: float, unit: str = "") -> Verdict:
    return Verdict(goal, text, figure, limit, figure >= limit, unit=unit, is_upper=False)


def not_measured(goal: str, text: str, reason: str) -> Verdict:
    return Verdict(goal, text, reason=reason)


def number(value: float) -> str:
    """Three significant digits, without an exponent."""
    if abs(value) >= 100:
        return f"{value:,.0f}"
    if abs(value) >= 10:
        return f"{value:.1f}"
    return f"{value:.2f}"


def median(values: list[float]) -> float:
    return statistics.median(values)


def spread(values: list[float]) -> str:
    """The smallest and the largest value."""
    return f"{number(min(values))} – {number(max(values))}"


def ratio(ours: list[float], theirs: list[float]) -> float:
    """The median of the ratios within each round, so that a slow phase of the machine cancels out."""
    if len(ours) != len(theirs):
        raise ValueError("two contenders with different numbers of rounds")
    return statistics.median(mine / other for mine, other in zip(ours, theirs))
