"""Plots times against the number of rows as SVG, with logarithmic axes."""
import math

WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 640, 400, 70, 190, 20, 50
NAMES = {"fill": ("filling the table", "#1f5fa8"), "show": ("showing a map file", "#2e8b3d"),
         "run": ("running (recording rows)", "#b5462a")}


def ticks(low, high):
    return [10.0 ** n for n in range(math.floor(math.log10(low)), math.ceil(math.log10(high)) + 1)]


class Axis:
    def __init__(self, values, begin, end):
        self.ticks = ticks(min(values), max(values))
        self._low, self._high = math.log10(self.ticks[0]), math.log10(self.ticks[-1])
        self._begin, self._end = begin, end

    def position(self, value):
        fraction = (math.log10(value) - self._low) / (self._high - self._low)
        return self._begin + fraction * (self._end - self._begin)


def text(x, y, label, anchor="middle", colour="#333"):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" fill="{colour}">{label}</text>'


def line(x1, y1, x2, y2, colour="#ddd"):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}"/>'


def plot(seconds):
    """seconds: {(work, rows): seconds}"""
    x = Axis([rows for _, rows in seconds], LEFT, WIDTH - RIGHT)
    y = Axis(list(seconds.values()), HEIGHT - BOTTOM, TOP)
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" font-size="12">',
             f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>']
    for value in x.ticks:
        parts += [line(x.position(value), TOP, x.position(value), HEIGHT - BOTTOM),
                  text(x.position(value), HEIGHT - BOTTOM + 18, f"{value:,.0f}")]
    for value in y.ticks:
        parts += [line(LEFT, y.position(value), WIDTH - RIGHT, y.position(value)),
                  text(LEFT - 8, y.position(value) + 4, f"{value:g} s", "end")]
    parts.append(text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 10, "rows"))
    for work, (name, colour) in NAMES.items():
        points = sorted((rows, time) for (key, rows), time in seconds.items() if key == work)
        if not points:
            continue
        pixels = [(x.position(rows), y.position(time)) for rows, time in points]
        parts.append('<polyline fill="none" stroke-width="2" stroke="%s" points="%s"/>'
                     % (colour, " ".join(f"{px:.1f},{py:.1f}" for px, py in pixels)))
        parts += [f'<circle cx="{px:.1f}" cy="{py:.1f}" r="3" fill="{colour}"/>' for px, py in pixels]
        parts.append(text(pixels[-1][0] + 8, pixels[-1][1] + 4, name, "start", colour))
    return "\n".join(parts + ["</svg>", ""])
