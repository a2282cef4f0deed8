"""A small picture of lines over a logarithmic axis, as SVG."""

import math

WIDTH, HEIGHT = 640, 300
LEFT, RIGHT, TOP, BOTTOM = 50, 600, 40, 255
COLOURS = ("#1b6ca8", "#c2571a", "#2e7d32", "#7b1fa2")


def step_of(highest):
    """A round number that divides an axis in three to six."""
    rough = highest / 4
    unit = 10 ** math.floor(math.log10(rough))
    return min((unit * factor for factor in (1, 2, 5, 10)), key=lambda step: abs(step - rough))


def draw(path, xs, lines, unit):
    """Writes the picture: `lines` are names with a value for each of `xs`, powers of ten. Axis from 0, in `unit`."""
    highest = max(max(values) for values in lines.values())
    step = step_of(highest)
    top = step * math.ceil(highest / step)

    def x_of(x):
        return LEFT + (RIGHT - LEFT) * math.log(x / xs[0]) / math.log(xs[-1] / xs[0])

    def y_of(y):
        return BOTTOM - (BOTTOM - TOP) * y / top

    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" font-size="12">',
        f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
    ]
    for i in range(round(top / step) + 1):
        y = y_of(i * step)
        parts.append(f'<path d="M{LEFT} {y:.1f}H{RIGHT}" stroke="#ddd"/>')
        parts.append(f'<text x="{LEFT - 6}" y="{y + 4:.1f}" text-anchor="end">{i * step:g}</text>')
    for x in xs:
        parts.append(f'<text x="{x_of(x):.1f}" y="{BOTTOM + 18}" text-anchor="middle">{x:,}</text>')
    parts.append(f'<text x="{(LEFT + RIGHT) / 2}" y="{HEIGHT - 8}" text-anchor="middle">ranks</text>')
    for i, (name, values) in enumerate(lines.items()):
        points = " ".join(f"{x_of(x):.1f},{y_of(y):.1f}" for x, y in zip(xs, values))
        colour = COLOURS[i % len(COLOURS)]
        parts.append(f'<polyline points="{points}" fill="none" stroke="{colour}" stroke-width="2"/>')
        parts.append(f'<text x="{LEFT + 130 * i}" y="20" fill="{colour}">{name}, {unit}</text>')
    with open(path, "w", encoding="utf-8") as file:
        file.write("\n".join(parts) + "\n</svg>\n")
