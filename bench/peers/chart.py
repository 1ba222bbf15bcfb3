#!/usr/bin/env python3
"""Draws the ratios of a morva_peers JSON file as an SVG bar chart.

    bench/peers/chart.py results.json chart.svg

One bar per row, from 1.0 to the row's ratio on a logarithmic axis, so that
"twice as fast" and "twice as slow" are the same length. Green: morva is at
least as fast; orange: slower but within the row's goal; red: beyond it; grey:
the row's check failed. Lines mark 1.0 and 1.25. Only the standard library is
used.
"""

import json
import math
import sys
from xml.sax.saxutils import escape

ROW_HEIGHT = 16
LABEL_WIDTH = 560
PLOT_WIDTH = 520
MARGIN = 12
HEADER = 80
GROUP_GAP = 22

COLOURS = {"ahead": "#3a9a4a", "within": "#e69a28", "beyond": "#d0483c", "failed": "#9a9a9a"}


def axis_limits(ratios):
    """Powers of two around every ratio, and at least 0.25 to 4."""
    low = min([0.25] + [r for r in ratios if r > 0])
    high = max([4.0] + ratios)
    return 2.0 ** math.floor(math.log2(low)), 2.0 ** math.ceil(math.log2(high))


def status(row):
    if row["problems"] or not row["ratio"]:
        return "failed"
    if row["ratio"] <= 1.0:
        return "ahead"
    return "within" if row["ratio"] <= row["goal"] else "beyond"


def chart(results):
    rows = results["rows"]
    low, high = axis_limits([r["ratio"] or 0.0 for r in rows])

    def x_of(ratio):
        span = math.log2(high) - math.log2(low)
        return LABEL_WIDTH + PLOT_WIDTH * (math.log2(ratio) - math.log2(low)) / span

    groups = []
    for r in rows:
        if not groups or groups[-1] != r["group"]:
            groups.append(r["group"])
    height = HEADER + len(rows) * ROW_HEIGHT + len(groups) * GROUP_GAP + 40
    width = LABEL_WIDTH + PLOT_WIDTH + 70
    out = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
        f'font-family="sans-serif" font-size="11">',
        f'<rect width="{width}" height="{height}" fill="white"/>',
        f'<text x="{MARGIN}" y="20" font-size="14" font-weight="bold">'
        "morva time over the fastest peer (antialiasing: over morva without it)</text>",
        f'<text x="{MARGIN}" y="38" fill="#555">{escape(results["machine"])}; '
        f'{escape(results["libraries"])}; {results["rounds"]} rounds</text>',
    ]
    legend = (("ahead", "at most 1"), ("within", "within the goal of its group"),
              ("beyond", "beyond the goal"), ("failed", "check failed"))
    x = MARGIN
    for kind, text in legend:
        out.append(f'<rect x="{x}" y="46" width="10" height="10" fill="{COLOURS[kind]}"/>')
        out.append(f'<text x="{x + 14}" y="55">{text}</text>')
        x += 14 + 6.2 * len(text) + 14
    top, bottom = HEADER, height - 30
    tick = low
    while tick <= high:
        x = x_of(tick)
        out.append(f'<line x1="{x:.1f}" y1="{top}" x2="{x:.1f}" y2="{bottom}" stroke="#eee"/>')
        out.append(f'<text x="{x:.1f}" y="{bottom + 14}" text-anchor="middle" fill="#555">{tick:g}</text>')
        tick *= 2
    for ratio, dash in ((1.0, ""), (1.25, ' stroke-dasharray="4 3"')):
        x = x_of(ratio)
        out.append(f'<line x1="{x:.1f}" y1="{top - 6}" x2="{x:.1f}" y2="{bottom}" stroke="#333"{dash}/>')
        out.append(f'<text x="{x:.1f}" y="{top - 8}" text-anchor="middle">{ratio:g}</text>')

    y = top
    group = None
    for r in rows:
        if r["group"] != group:
            group = r["group"]
            y += GROUP_GAP
            out.append(f'<text x="{MARGIN}" y="{y - 6}" font-weight="bold">{escape(group)}</text>')
        kind = status(r)
        label = escape(r["title"])
        out.append(f'<text x="{LABEL_WIDTH - 8}" y="{y + 12}" text-anchor="end">{label}</text>')
        if kind == "failed":
            out.append(f'<text x="{x_of(1.0) + 6:.1f}" y="{y + 12}" fill="{COLOURS[kind]}">check failed</text>')
        else:
            x0, x1 = sorted((x_of(1.0), x_of(r["ratio"])))
            out.append(f'<rect x="{x0:.1f}" y="{y + 3}" width="{max(x1 - x0, 1):.1f}" '
                       f'height="{ROW_HEIGHT - 5}" fill="{COLOURS[kind]}"/>')
            if r["ratio"] <= 1.0:
                out.append(f'<text x="{x0 - 4:.1f}" y="{y + 12}" text-anchor="end">{r["ratio"]:.2f}</text>')
            else:
                out.append(f'<text x="{x1 + 4:.1f}" y="{y + 12}">{r["ratio"]:.2f}</text>')
        y += ROW_HEIGHT
    out.append("</svg>")
    return "\n".join(out) + "\n"


def main(argv):
    if len(argv) != 3:
        sys.stderr.write(__doc__)
        return 2
    with open(argv[1], encoding="utf-8") as f:
        results = json.load(f)
    with open(argv[2], "w", encoding="utf-8") as f:
        f.write(chart(results))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
