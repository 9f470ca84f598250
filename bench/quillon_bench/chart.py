# SPDX-License-Identifier: MIT
"""Draws the bars of the sections as an SVG that is legible on a light and on a dark page."""

from html import escape

from .model import Section, number

WIDTH, LEFT, RIGHT = 860, 290, 120
BAR, STEP, TITLE = 16, 22, 34

STYLE = """<style>
text { font: 13px sans-serif; fill: #24292f; }
.title { font-weight: bold; }
.peer { fill: #8c959f; }
.module { fill: #0969da; }
@media (prefers-color-scheme: dark) {
  text { fill: #e6edf3; }
  .peer { fill: #6e7681; }
  .module { fill: #58a6ff; }
}
</style>"""


def draw(sections: list[Section]) -> str:
    """Each section has a scale of its own, from 0 to its longest bar; shorter is better in all of them."""
    parts: list[str] = []
    y = 10
    for section in sections:
        if not section.bars:
            continue
        y += TITLE
        parts.append(f'<text class="title" x="10" y="{y - 8}">{escape(section.title)}</text>')
        longest = max(value for _, value, _ in section.bars) or 1
        for label, value, unit in section.bars:
            length = max(1.0, (WIDTH - LEFT - RIGHT) * value / longest)
            ours = label == "module" or unit == "MiB"
            parts.append(f'<text x="{LEFT - 8}" y="{y + 13}" text-anchor="end">{escape(label)}</text>')
            parts.append(f'<rect class="{"module" if ours else "peer"}" x="{LEFT}" y="{y}" '
                         f'width="{length:.1f}" height="{BAR}" rx="2"/>')
            parts.append(f'<text x="{LEFT + length + 6:.1f}" y="{y + 13}">{number(value)} {unit}</text>')
            y += STEP
    height = y + 14
    return (
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
        f'viewBox="0 0 {WIDTH} {height}" role="img">\n'
        f"<title>Medians of ./dev bench; shorter is better</title>\n{STYLE}\n" + "\n".join(parts) + "\n</svg>\n"
    )
