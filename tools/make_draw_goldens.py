#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the expected recordings of the drawing functions, straight from what they are to draw.

Nothing of the project is run: coordinates come from Python's own arithmetic (every product and sum is exact in
these cases), texts of values from Python's own number formatting. Standard library only.

    make_draw_goldens.py FOLDER     writes FOLDER/draw_*.expected.txt (the tests read tests/goldens)
"""
import os
import sys


def number(value):
    return "%.17g" % value


def single(value):
    return "%.9g" % value


def place(p):
    return " ".join(number(c) for c in (*p, 1.0))


def colour(r, g, b, a=1.0):
    return "setColor " + " ".join(single(c) for c in (r, g, b, a))


def text(p, label):
    return 'text %s "%s" 0' % (place(p), label)


def line(a, b):
    return "line %s  %s" % (place(a), place(b))


def polyline(points):
    return [line(a, b) for a, b in zip(points, points[1:])]


def transformed(p, m):
    """Row vector times matrix, divided by the fourth component."""
    v = (*p, 1.0)
    r = [sum(v[k] * m[k][c] for k in range(4)) for c in range(4)]
    return [c / r[3] for c in r[:3]]


def frame(m, length):
    calls, origin = ["beginDrawable 2 0"], m[3][:3]
    for axis in range(3):
        end = [0.0, 0.0, 0.0]
        end[axis] = length
        calls.append(colour(*[1.0 if c == axis else 0.0 for c in range(3)]))
        calls.append(line(origin, transformed(end, m)))
    return calls + ["endDrawable"]


def labelled(points, values, by_index, grey):
    calls = []
    for i, p in enumerate(points):
        if by_index:
            calls += ["point " + place(p), text(p, str(i))]
            continue
        if values is None or i >= len(values) or abs(values[i]) <= 0.00001:
            continue
        v = values[i]
        calls.append("point " + place(p))
        if grey:
            g = min(max(v, 0.0), 1.0)
            calls.append(colour(g, g, g))
        calls.append(text(p, "%.0f" % v if abs(v - round(v)) < 0.01 else "%.2f" % v))
    return calls


def vector(p, v, size, width):
    end = [a + b for a, b in zip(p, v)]
    return ["setPointSize " + single(size), "point " + place(p), "setLineWidth " + single(width), line(p, end)]


# All numbers of the labels are exact in single precision, or far from where a label changes.
POINTS = [(0.0, 0.0, 0.0), (1.5, -2.0, 0.25), (-3.0, 4.0, 5.5), (1e-3, 2e6, -1e-9), (7.0, 8.0, 9.0)]
VALUES = [0.5, -2.5, 2.0, 1.0]
MATRIX = [[0.0, 2.0, 0.0, 0.0], [-3.0, 0.0, 0.0, 0.0], [0.0, 0.0, 0.5, 0.0], [10.0, 20.0, 30.0, 1.0]]
PROJECTIVE = [[1.0, 0.0, 0.0, 0.5], [0.0, 1.0, 0.0, 0.0], [0.0, 0.0, 1.0, 0.0], [4.0, 2.0, 1.0, 1.0]]

RECORDINGS = {
    "polyline": polyline(POINTS),
    "frame": frame(MATRIX, 2.0) + frame(PROJECTIVE, 2.0),
    "labels_index": labelled(POINTS, None, True, False),
    "labels_value": labelled(POINTS, VALUES, False, False),
    "labels_grey": labelled(POINTS, VALUES, False, True),
    "vector": vector(POINTS[1], (2.0, 0.5, -0.25), 7.5, 2.0),
}


def main(arguments):
    if len(arguments) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    for name, calls in RECORDINGS.items():
        path = os.path.join(arguments[0], "draw_%s.expected.txt" % name)
        with open(path, "w", encoding="utf-8", newline="\n") as file:
            file.write("# Expected draw calls, written by tools/make_draw_goldens.py without this project.\n")
            file.write("\n".join(calls) + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
