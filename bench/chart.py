"""Pictures for docs/: bars and lines, as SVG."""

from html import escape

WIDTH, BAR, GAP, LABELS, NUMBERS = 720, 22, 10, 210, 80
COLOURS = ("#2f6f9f", "#b0b7bf", "#d9a441", "#7c9f4b")
STYLE = ('<style>text{font:13px sans-serif;fill:#222}.axis{stroke:#888;stroke-width:1}'
         '@media(prefers-color-scheme:dark){text{fill:#ddd}}</style>')


def svg(height, title, parts):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
            f'viewBox="0 0 {WIDTH} {height}" role="img"><title>{escape(title)}</title>{STYLE}'
            f'<text x="8" y="20" font-weight="bold">{escape(title)}</text>\n' + "\n".join(parts) + "\n</svg>\n")


def text(x, y, content, anchor="start"):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}">{escape(str(content))}</text>'


def bars(title, values):
    """One bar for each name, with its value behind it."""
    most = max(values.values())
    parts = []
    for number, (name, value) in enumerate(values.items()):
        top = 36 + number * (BAR + GAP)
        length = max(1, value / most * (WIDTH - LABELS - NUMBERS))
        colour = COLOURS[0] if name.startswith("ptpsnmp") else COLOURS[1]
        parts += [text(LABELS - 8, top + BAR - 6, name, "end"),
                  f'<rect x="{LABELS}" y="{top}" width="{length:.1f}" height="{BAR}" rx="2" fill="{colour}"/>',
                  text(LABELS + length + 6, top + BAR - 6, f"{value:,.2f}".rstrip("0").rstrip("."))]
    return svg(36 + len(values) * (BAR + GAP) + 4, title, parts)


def lines(title, places, series):
    """A line for each name over places that stand side by side, from 0 up."""
    left, top, bottom, right = 60, 40, 250, WIDTH - 150
    most = max(max(values) for values in series.values()) * 1.05
    step = (right - left) / max(1, len(places) - 1)

    def y(value):
        return bottom - value / most * (bottom - top)

    parts = [f'<line class="axis" x1="{left}" y1="{bottom}" x2="{right}" y2="{bottom}"/>',
             f'<line class="axis" x1="{left}" y1="{top}" x2="{left}" y2="{bottom}"/>']
    for share in (0, 0.25, 0.5, 0.75, 1):
        value = most / 1.05 * share
        parts.append(text(left - 8, y(value) + 4, f"{value:.1f}", "end"))
    for number, place in enumerate(places):
        parts.append(text(left + number * step, bottom + 18, place, "middle"))
    for (name, values), colour in zip(series.items(), COLOURS):
        points = [(left + number * step, y(value)) for number, value in enumerate(values)]
        parts.append(f'<polyline fill="none" stroke="{colour}" stroke-width="2.5" points="'
                     + " ".join(f"{a:.1f},{b:.1f}" for a, b in points) + '"/>')
        parts += [f'<circle cx="{a:.1f}" cy="{b:.1f}" r="3.5" fill="{colour}"/>' for a, b in points]
    for number, ((name, _), colour) in enumerate(zip(series.items(), COLOURS)):
        parts += [f'<rect x="{right + 20}" y="{top + number * 22}" width="14" height="14" fill="{colour}"/>',
                  text(right + 40, top + number * 22 + 12, name)]
    return svg(bottom + 32, title, parts)
