#!/usr/bin/env python3
"""Independent values for the tests of trace filters, refinement, compensation, Fourier deformation and quality.

Prints, in the form of C++ initialisers, what tests/io/TraceFiltersTest.cpp and tests/calc/*Test.cpp hold as expected
values, computed plainly by NumPy, SciPy and OpenCV.
The values in the tests were printed with Python 3.11.2, NumPy 1.24.2, SciPy 1.10.1, OpenCV 4.6.0.
usage: calculation_reference.py filters|refinement|compensation|fourier|quality
"""

import math
import sys

import numpy
import scipy.interpolate
import scipy.signal
import scipy.spatial

single = numpy.float32


def listed(values, form="%.9g"):
    return ", ".join("NaN" if math.isnan(v) else form % v for v in values)


def wave(k):
    return math.sin(12.9898 * k)


# ---------------------------------------------------------------- filters


def windows(trace, k):
    return [trace[max(i - k, 0):i + k + 1] for i in range(len(trace))]


def upper_median(values):
    return numpy.sort(values)[len(values) // 2]


def hampel(trace, k, threshold):
    result = trace.copy()
    for i, window in enumerate(windows(trace, k)):
        median = upper_median(window)
        deviation = single(1.4826) * upper_median(numpy.abs(window - median))
        if deviation > 0 and abs(trace[i] - median) > deviation * single(threshold):
            result[i] = median
    return result


def smooth(trace, k):
    result = trace.copy()
    if len(trace) >= 2 * k + 1:
        inner = scipy.signal.savgol_filter(trace.astype(float), 2 * k + 1, 2)
        result[k:len(trace) - k] = inner[k:len(trace) - k]
    return result


def chain(trace):
    return smooth(hampel(hampel(trace, 5, 3.0), 11, 3.0), 3)


def sample_trace(count):
    trace = [round(300.0 * math.exp(-0.5 * ((s - 17) / 4.0) ** 2) + 15.0 * wave(s)) for s in range(count)]
    trace[5] += 400
    trace[6] += 350
    trace[count - 1] -= 300
    return numpy.array(trace, dtype=single)


def filters():
    trace = sample_trace(40)
    print("// trace\n", listed(trace))
    print("// Hampel 5\n", listed(hampel(trace, 5, 3.0)))
    print("// Hampel 11, threshold 1.5\n", listed(hampel(trace, 11, 1.5)))
    print("// median 3\n", listed([upper_median(w) for w in windows(trace, 3)]))
    print("// mean 3\n", listed([w.astype(float).mean() for w in windows(trace, 3)]))
    print("// Savitzky-Golay 3\n", listed(smooth(trace, 3)))
    print("// chain\n", listed(chain(trace)))


# ------------------------------------------------------------- refinement

SAMPLES, EVENTS, TIME, CENTRE, THRESHOLD = 101, 12, 3.2, 42.5, 400.0
OFFSETS = {1: 12.0, 4: -7.5}


def refinement_data():
    events = {"pos_x": [], "size_x": []}
    for c in OFFSETS:
        events["max", c], events["pos", c], events["trace", c] = [], [], []
    for e in range(EVENTS):
        middle = 30.0 + 3.7 * e
        events["pos_x"].append(CENTRE + 0.15 * (middle - SAMPLES // 2) * TIME + 0.4 * wave(e))
        events["size_x"].append(9.0 + wave(e + 100))
        for c in OFFSETS:
            height = 250.0 + 100.0 * e * (1 + c % 2)
            trace = [round(height * math.exp(-0.5 * ((s - middle) / 4.0) ** 2) + 15.0 * wave(s + 37 * e + 11 * c))
                     for s in range(SAMPLES)]
            spike = (29 * e + 13 * c) % (SAMPLES - 2)
            trace[spike] += 2000
            trace[spike + 1] += 1500
            events["trace", c].append(numpy.array(trace, dtype=single))
            events["max", c].append(height)
            events["pos", c].append(round(middle + wave(e + c)) * TIME)
    return events


def refinement():
    data = refinement_data()
    pairs = []
    for c in OFFSETS:
        for e in range(EVENTS):
            if data["max", c][e] > THRESHOLD:
                dx = data["pos_x"][e] - CENTRE
                dt = data["pos", c][e] - SAMPLES // 2 * TIME
                if abs(dt) >= 1e-6:
                    pairs.append((abs(dx), dx / dt))
    pairs.sort(key=lambda pair: -pair[0])
    speeds = sorted(speed for _, speed in pairs[:max(len(pairs) // 2, 1)])
    speed = speeds[len(speeds) // 2]
    spread = 1.4826 * sorted(abs(v - speed) for v in speeds)[len(speeds) // 2]
    print("// speed, spread\n %.15g, %.15g" % (speed, spread))
    for c, offset in OFFSETS.items():
        rows = {"max": [], "pos": [], "width": []}
        for e in range(EVENTS):
            centre = (data["pos_x"][e] - CENTRE) / (TIME * speed) + SAMPLES // 2
            half = data["size_x"][e] / speed / TIME * 0.5 * min(spread / speed + 1.0, 1.5)
            low, high = int(max(centre - half, 0)), int(min(centre + half, SAMPLES - 1))
            values = chain(data["trace", c][e]).astype(float) + offset
            peak = low + int(numpy.argmax(values[low:high + 1]))
            left = right = peak
            while left > low + 1 and values[left] >= values[peak] / 2:
                left -= 1
            while right < high and values[right] >= values[peak] / 2:
                right += 1
            rows["max"].append(values[peak])
            rows["pos"].append(peak * TIME)
            rows["width"].append((right - left) * TIME)
        for name, values in rows.items():
            print("// fl%d_%s_rf\n" % (c, name), listed(values))


# ----------------------------------------------------------- compensation


def compensation():
    matrix = numpy.array([[1.0, 0.02, 0.3], [0.12, 1.0, 0.0], [0.04, 0.25, 1.0]])
    measured = numpy.array([[1000.0 + 600.0 * wave(3 * e + c) for c in range(3)] for e in range(5)])
    for row in numpy.linalg.solve(matrix, measured.T):
        print("{%s}," % listed(row, "%.15g"))


# ---------------------------------------------------------------- Fourier


def blob(width, height, x0, y0, radius, *waves):
    """Pixels nearer to a point than a radius that changes with the angle."""
    mask = numpy.zeros((height, width), numpy.uint8)
    for y in range(height):
        for x in range(width):
            angle = math.atan2(y - y0, x - x0)
            limit = radius * (1.0 + sum(a * math.cos(k * angle + p) for k, a, p in waves))
            if math.hypot(x - x0, y - y0) < limit:
                mask[y, x] = 255
    return mask


MASKS = {
    "circle": [(64, 48, 31.3, 23.6, 18.2)],
    "ellipse": [(64, 48, 30.1, 24.2, 17.3, (2, 0.2, 0.1))],
    "egg": [(64, 48, 30.1, 24.2, 16.3, (1, 0.1, 0.3), (3, 0.1, 0.7))],
    "bullet": [(96, 64, 50.4, 30.7, 22.1, (1, 0.08, 0.0), (2, 0.12, 0.2), (3, 0.05, 0.0), (5, 0.03, 1.0))],
    "dent": [(64, 64, 30.1, 33.2, 20.3, (4, 0.2, 0.5))],
    "at the edge": [(40, 30, 3.2, 28.1, 14.7, (2, 0.1, 0.0))],
    "two": [(90, 40, 16.2, 18.4, 9.1), (90, 40, 60.7, 19.3, 14.2, (2, 0.15, 0.0))],
    "small": [(8, 6, 3.0, 3.0, 1.6)],
}


def analysed(outline, resample):
    import cv2
    hull = cv2.convexHull(outline)
    moments = cv2.moments(hull)
    corners = hull[:, 0, :] - numpy.array([moments["m10"], moments["m01"]]) / moments["m00"]
    closed = numpy.vstack([corners, corners[:1]])
    parts = 10 if resample else 50
    points = numpy.array([a + t / parts * (b - a) for a, b in zip(closed, closed[1:]) for t in range(parts)])
    theta = numpy.fmod(numpy.fmod(numpy.arctan2(points[:, 1], points[:, 0]), 2 * numpy.pi) + 2 * numpy.pi,
                       2 * numpy.pi)
    order = numpy.argsort(theta, kind="stable")
    theta, radius = theta[order], numpy.hypot(points[:, 0], points[:, 1])[order]
    if resample:
        grid = numpy.arange(100) * 2 * numpy.pi / 100
        radius = numpy.interp(grid, numpy.r_[theta[-1] - 2 * numpy.pi, theta, theta[0] + 2 * numpy.pi],
                              numpy.r_[radius[-1], radius, radius[0]])
        theta, weights = grid, numpy.full(100, 2 * numpy.pi / 100)
    else:
        before = numpy.fmod(theta - numpy.roll(theta, 1) + 2 * numpy.pi, 2 * numpy.pi)
        weights = 0.5 * (before + numpy.roll(before, -1))
    cosines = [(radius * numpy.cos(k * theta) * weights).sum() / numpy.pi for k in range(11)]
    sines = [(radius * numpy.sin(k * theta) * weights).sum() / numpy.pi for k in range(11)]
    result = []
    for orders in (range(1, 10, 2), range(2, 11, 2), range(1, 11)):
        r = cosines[0] / 2 + sum(cosines[k] * numpy.cos(k * theta) + sines[k] * numpy.sin(k * theta) for k in orders)
        polygon = numpy.stack([r * numpy.cos(theta), r * numpy.sin(theta)], axis=1).astype(single)
        result.append(1 - 2 * math.sqrt(math.pi * cv2.contourArea(polygon)) / cv2.arcLength(polygon, True))
    return result


def fourier():
    import cv2
    print("//", cv2.__version__)
    for name, blobs in MASKS.items():
        mask = sum(blob(*one) for one in blobs)
        outlines = cv2.findContours(mask, cv2.RETR_EXTERNAL, cv2.CHAIN_APPROX_NONE)[0]
        outline = max((o for o in outlines if len(o) >= 5), key=cv2.contourArea)
        print('{"%s", %d, %s, %s},' % (name, len(outline), listed(analysed(outline, True)),
                                       listed(analysed(outline, False))))


# ---------------------------------------------------------------- quality


def synthetic_table():
    rows = []
    for i in range(12):
        for j in range(9):
            k = 9 * i + j
            area = 40.0 + 20.0 * i + 6.0 * wave(k)
            deform = 0.01 + 0.02 * j + 0.006 * math.sin(78.233 * k + 1.0)
            rows.append((area, deform, 0.0005 * area ** 1.5 / (deform + 0.01)))
    return numpy.array(rows)


def quality():
    table = synthetic_table()
    low = table[:, :2].min(axis=0)
    high = table[:, :2].max(axis=0)
    span = high - low
    surface = scipy.interpolate.LinearNDInterpolator((table[:, :2] - low) / span, table[:, 2])

    def modulus(a, d):
        return float(surface(((numpy.array([a, d]) - low) / span)[None, :])[0])

    edge = numpy.full(200, high[1])
    for a, d, _ in table:
        place = min(int(200 * (a - low[0]) / span[0]), 199)
        edge[place] = min(edge[place], d)
    for place in range(1, 200):
        if edge[place] >= high[1]:
            edge[place] = edge[place - 1]
    for place in range(198, -1, -1):
        if edge[place] >= high[1]:
            edge[place] = edge[place + 1]

    s, factor = 20.0 / 25.0, (20.0 / 25.0) ** 3 * 0.08 / 0.16 * 5.5 / 1.002
    counts = dict.fromkeys(("small", "large", "low", "high", "near"), 0)
    moduli, interior, deforms, slopes = [], [], [], []
    # The next event lies in a sliver at the table's outline that an incremental triangulation may leave out.
    for k in range(372):
        area = 30.0 + 420.0 * ((0.618034 * k) % 1.0)
        deform = 0.004 + 0.2 * ((0.754878 * k) % 1.0) ** 2
        u = -area
        d = deform - (0.02 * math.exp(u / 7.1) + 0.0012 + 0.01 * math.exp(u / 38.6) + 0.005 * math.exp(u / 296))
        a = area * s * s
        if not low[0] <= a <= high[0]:
            counts["small" if a < low[0] else "large"] += 1
        elif not low[1] <= d <= high[1]:
            counts["low" if d < low[1] else "high"] += 1
        elif math.isnan(modulus(a, d)):
            middle = (low[1] + high[1]) / 2
            if not math.isnan(modulus(a, middle)):
                side = "high" if d > middle else "low"
            else:
                side = "low" if math.isnan(modulus(a, low[1] + 0.05 * span[1])) else "high"
            counts[side] += 1
        else:
            value = modulus(a, d) * factor
            moduli.append(value)
            deforms.append(d)
            gap = d - edge[min(int(200 * (a - low[0]) / span[0]), 199)]
            if 0 <= gap < 0.1 * span[1]:
                counts["near"] += 1
            else:
                interior.append(value)
            h = 0.001 * span[1]
            slope = abs((modulus(a, d + h) - modulus(a, d - h)) / (2 * h)) * factor / max(1e-10, value)
            if not math.isnan(slope):
                slopes.append(slope)

    def middle_of(values):
        return sorted(values)[len(values) // 2]

    centre = middle_of(deforms)
    robust = 1.4826 * middle_of([abs(d - centre) for d in deforms])
    slopes = [slope * robust for slope in slopes]
    print(counts, "mapped", len(moduli), "high sensitivity", sum(v > 1 for v in slopes))
    print("%.12g %.12g %.12g" % (middle_of(slopes), middle_of(moduli), middle_of(interior)))
    print("%.12g" % (abs(middle_of(moduli) - middle_of(interior)) / middle_of(interior)))


{"filters": filters, "refinement": refinement, "compensation": compensation, "fourier": fourier,
 "quality": quality}[sys.argv[1]]()
