"""The plot of a benchmark report, as SVG text: instructions by kernel and variant, cost by size."""
import math

COLOURS = {"o0": "#bbbbbb", "o1": "#9ecae1", "o2": "#3182bd", "o3": "#31a354", "o4.wp": "#756bb1", "gcc -O2": "#e6550d",
           "clang -O2": "#fdae6b"}


def text(x, y, words, size=11, anchor="start", turn=None):
    turned = ' transform="rotate(%d %.1f %.1f)"' % (turn, x, y) if turn else ""
    words = str(words).replace("&", "&amp;").replace("<", "&lt;")
    return '<text x="%.1f" y="%.1f" font-size="%d" text-anchor="%s"%s>%s</text>' % (x, y, size, anchor, turned, words)


def line(x1, y1, x2, y2, colour="#ccc", width=1):
    return '<line x1="%.1f" y1="%.1f" x2="%.1f" y2="%.1f" stroke="%s" stroke-width="%g"/>' % (x1, y1, x2, y2, colour, width)


def bars(results, variants, left, top, width, height):
    """Executed instructions in percent of what the parsed program executes."""
    parts = [text(left, top - 30, "Executed ARM instructions, percent of the program without optimizing", 14)]
    most = 110
    ratios = {k: {v: 100 * f[v]["instructions"] / f["none"]["instructions"] for v in variants if v in f}
              for k, f in results.items() if "none" in f}
    for percent in range(0, most + 1, 20):
        y = top + height - height * percent / most
        parts += [line(left, y, left + width, y), text(left - 6, y + 4, percent, 10, "end")]
    group = width / max(1, len(ratios))
    bar = group * 0.85 / len(variants)
    for i, (kernel, found) in enumerate(ratios.items()):
        for j, v in enumerate(variants):
            if v not in found:
                continue
            h = height * min(found[v], most) / most
            parts.append('<rect x="%.1f" y="%.1f" width="%.1f" height="%.1f" fill="%s"><title>%s %s: %.1f%%</title></rect>' %
                         (left + i * group + group * 0.07 + j * bar, top + height - h, bar, h, COLOURS[v], kernel, v, found[v]))
        parts.append(text(left + (i + 0.5) * group, top + height + 14, kernel, 10, "middle"))
    for j, v in enumerate(variants):
        x = left + j * 90
        parts += ['<rect x="%.1f" y="%.1f" width="10" height="10" fill="%s"/>' % (x, top - 20, COLOURS[v]), text(x + 14, top - 11, v)]
    return parts


def curve(report, key, unit, left, top, width, height):
    """Both axes in powers of ten."""
    points = [(p["size"], p[key] / unit[1]) for p in report["points"] if p[key] > 0]
    if len(points) < 2:
        return []
    x0, x1 = math.log10(points[0][0]), math.log10(points[-1][0])
    y0, y1 = math.floor(math.log10(min(y for _, y in points))), math.ceil(math.log10(max(y for _, y in points)) + 1e-9)
    at = lambda x, y: (left + width * (math.log10(x) - x0) / (x1 - x0), top + height - height * (math.log10(y) - y0) / max(1, y1 - y0))
    parts = [line(left, top, left, top + height, "#333"), line(left, top + height, left + width, top + height, "#333")]
    for e in range(y0, y1 + 1):
        y = at(points[0][0], 10.0 ** e)[1]
        parts += [line(left, y, left + width, y), text(left - 6, y + 4, "%g %s" % (10.0 ** e, unit[0]), 10, "end")]
    for x, y in points:
        px, py = at(x, y)
        parts += ['<circle cx="%.1f" cy="%.1f" r="3" fill="#3182bd"/>' % (px, py), text(px, top + height + 14, x, 9, "middle")]
    parts.append('<polyline fill="none" stroke="#3182bd" stroke-width="2" points="%s"/>' %
                 " ".join("%.1f,%.1f" % at(x, y) for x, y in points))
    return parts


def plot(report):
    parts, top = [], 70
    variants = [v for v in report["variants"] if v != "none"]
    if report.get("quality"):
        parts += bars(report["quality"], variants, 60, top, 1120, 260)
        top += 360
    if "regions" in report:
        for i, (what, key, unit) in enumerate((("regions", "seconds", ("s", 1)), ("regions", "memory", ("MB", 1e6)),
                                               ("functions", "seconds", ("s", 1)), ("functions", "memory", ("MB", 1e6)))):
            left = 80 + i * 290
            name = "time" if key == "seconds" else "memory"
            parts.append(text(left, top - 12, "%s by %s, exponent %s" % (name, what, report[what]["%s exponent" % name]), 12))
            parts += curve(report[what], key, unit, left, top, 200, 180)
        top += 240
    return '<svg xmlns="http://www.w3.org/2000/svg" width="1220" height="%d" font-family="sans-serif">\n' \
        '<rect width="100%%" height="100%%" fill="white"/>\n%s\n</svg>\n' % (top, "\n".join(parts))
