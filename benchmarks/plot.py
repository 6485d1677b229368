"""Draws curves over logarithmic axes as an SVG picture. Standard library only."""

import math
from xml.sax.saxutils import escape

WIDTH, HEIGHT = 720, 420
LEFT, RIGHT, TOP, BOTTOM = 80, 40, 70, 60
# The library first; every side keeps its colour in all pictures.
COLOURS = {
    "library": "#0b6fa4",
    "plain model": "#8a8a8a",
    "Boost.Beast": "#d9772b",
    "Boost.URL": "#d9772b",
    "POCO": "#4c9f50",
    "std::stringstream": "#a23b72",
}
OTHER_COLOUR = "#444444"


def decades(values):
    """The powers of ten that enclose all values, at least two."""
    low = math.floor(math.log10(min(values)))
    high = math.ceil(math.log10(max(values)))
    return low, max(high, low + 1)


def number(value):
    """1000000 -> "1,000,000", 0.01 -> "0.01"."""
    return f"{value:,.0f}" if value >= 1 else f"{value:g}"


class Axis:
    """Maps a value to a coordinate, decade by decade."""

    def __init__(self, values, start, end):
        self.low, self.high = decades(values)
        self.start, self.end = start, end

    def at(self, value):
        share = (math.log10(value) - self.low) / (self.high - self.low)
        return round(self.start + share * (self.end - self.start), 1)

    def powers(self):
        return [10.0 ** exponent for exponent in range(self.low, self.high + 1)]

    def between(self):
        """2, 3 ... 9 times each power below the last."""
        return [factor * power for power in self.powers()[:-1] for factor in range(2, 10)]


def text(x, y, content, anchor="middle", more=""):
    return f'<text x="{x}" y="{y}" text-anchor="{anchor}"{more}>{escape(content)}</text>'


def line(x1, y1, x2, y2, colour):
    return f'<line x1="{x1}" y1="{y1}" x2="{x2}" y2="{y2}" stroke="{colour}"/>'


def draw(series, title, x_label, y_label):
    """The picture of `series`, a mapping of names to lists of points (x, y), all positive."""
    xs = [x for points in series.values() for x, _ in points]
    ys = [y for points in series.values() for _, y in points]
    if not xs or min(xs) <= 0 or min(ys) <= 0:
        raise ValueError("logarithmic axes need points, and positive ones")
    across = Axis(xs, LEFT, WIDTH - RIGHT)
    up = Axis(ys, HEIGHT - BOTTOM, TOP)
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" '
        f'viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" font-size="13" fill="#222222">',
        f"<title>{escape(title)}</title>",
        f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>',
        text(WIDTH / 2, 24, title, more=' font-size="16"'),
    ]
    for values, colour in ((across.between(), "#f2f2f2"), (across.powers(), "#cfcfcf")):
        parts += [line(across.at(x), TOP, across.at(x), HEIGHT - BOTTOM, colour) for x in values]
    for values, colour in ((up.between(), "#f2f2f2"), (up.powers(), "#cfcfcf")):
        parts += [line(LEFT, up.at(y), WIDTH - RIGHT, up.at(y), colour) for y in values]
    parts += [text(across.at(x), HEIGHT - BOTTOM + 20, number(x)) for x in across.powers()]
    parts += [text(LEFT - 8, up.at(y) + 4, number(y), "end") for y in up.powers()]
    parts.append(text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 14, x_label))
    middle = (TOP + HEIGHT - BOTTOM) / 2
    parts.append(text(20, middle, y_label, more=f' transform="rotate(-90 20 {middle})"'))

    legend = LEFT
    for name in sorted(series, key=lambda name: (name != "library", name)):
        colour = COLOURS.get(name, OTHER_COLOUR)
        width = 3 if name == "library" else 2
        points = " ".join(f"{across.at(x)},{up.at(y)}" for x, y in series[name])
        parts.append(f'<polyline points="{points}" fill="none" stroke="{colour}" '
                     f'stroke-width="{width}"/>')
        parts += [f'<circle cx="{across.at(x)}" cy="{up.at(y)}" r="3" fill="{colour}"/>'
                  for x, y in series[name]]
        parts.append(f'<rect x="{legend}" y="42" width="18" height="4" fill="{colour}"/>')
        parts.append(text(legend + 24, 49, name, "start"))
        legend += 24 + 8 * len(name) + 24
    return "\n".join(parts) + "\n</svg>\n"
