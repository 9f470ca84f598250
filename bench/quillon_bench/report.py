# SPDX-License-Identifier: MIT
"""Tables for the terminal and for the page of results."""

from pathlib import Path

from .chart import draw
from .model import Section, Verdict, precise


def verdict_line(verdict: Verdict) -> str:
    if verdict.met is None:
        return f"goal {verdict.goal}: {verdict.text}: {verdict.outcome()}"
    sign = "at most" if verdict.is_upper else "at least"
    goal = f"{sign} {precise(verdict.limit)}{verdict.unit}"
    return f"goal {verdict.goal}: {verdict.text}: {precise(verdict.figure)}{verdict.unit}, {goal}: {verdict.outcome()}"


def for_terminal(section: Section) -> str:
    lines = [f"\n== {section.title}"]
    table = [section.columns, *section.rows] if section.columns else []
    widths = [max(len(row[column]) for row in table) for column in range(len(section.columns))]
    for row in table:
        first, *others = (cell.ljust(width) for cell, width in zip(row, widths))
        cells = [first, *(cell.strip().rjust(len(cell)) for cell in others)]
        lines.append("  " + "   ".join(cells).rstrip())
    lines += [f"  {note}" for note in section.notes]
    lines += [f"  {verdict_line(verdict)}" for verdict in section.verdicts]
    return "\n".join(lines)


def markdown_table(columns: list[str], rows: list[list[str]]) -> list[str]:
    rule = "|" + "---|" + "---:|" * (len(columns) - 1)
    return ["| " + " | ".join(columns) + " |", rule, *("| " + " | ".join(row) + " |" for row in rows)]


def verdict_row(verdict: Verdict) -> list[str]:
    figure = "" if verdict.figure is None else precise(verdict.figure) + verdict.unit
    sign = "≤ " if verdict.is_upper else "≥ "
    limit = "" if verdict.limit is None else sign + precise(verdict.limit) + verdict.unit
    outcome = verdict.outcome()
    return [f"{verdict.goal} {verdict.text}", figure, limit, outcome if verdict.met else f"**{outcome}**"]


def page(name: str, about: str, machine: list[tuple[str, str]], sections: list[Section]) -> str:
    verdicts = [verdict_row(verdict) for section in sections for verdict in section.verdicts]
    lines = [f"# Benchmark of {name}", "", about, "", f"![Medians, shorter is better]({name}.svg)", "", "## Goals", ""]
    lines += markdown_table(["goal", "measured", "limit", "outcome"], verdicts)
    for section in sections:
        lines += ["", f"## {section.title}", ""]
        if section.rows:
            lines += markdown_table(section.columns, section.rows)
        lines += ["", *section.notes] if section.notes else []
    lines += ["", "## The machine", "", *markdown_table(["", ""], [list(pair) for pair in machine])]
    return "\n".join(lines) + "\n"


def write(folder: Path, name: str, about: str, machine: list[tuple[str, str]], sections: list[Section]) -> Path:
    """Writes the page and, beside it, the chart."""
    folder.mkdir(parents=True, exist_ok=True)
    (folder / f"{name}.svg").write_text(draw(sections), encoding="utf-8")
    path = folder / f"{name}.md"
    path.write_text(page(name, about, machine, sections), encoding="utf-8")
    return path
