#!/usr/bin/env python3
"""Independent values for the tests of the Young's modulus engine, by NumPy and SciPy.

Prints, in the form of C++ initialisers, what tests/calc/EModulus*Test.cpp hold as expected values:
interpolation over a synthetic table (SciPy's Delaunay triangulation and linear interpolation in coordinates normalised
to the table's bounds), viscosities, and the pixelation correction.
The values in the tests were printed with Python 3.11.2, NumPy 1.24.2, SciPy 1.10.1.
"""

import math
import platform

import numpy
import scipy
from scipy.interpolate import LinearNDInterpolator

print("//", platform.python_version(), numpy.__version__, scipy.__version__)


def synthetic_table():
    rows = []
    for i in range(12):
        for j in range(9):
            k = 9 * i + j
            area = 40.0 + 20.0 * i + 6.0 * math.sin(12.9898 * k)
            deform = 0.01 + 0.02 * j + 0.006 * math.sin(78.233 * k + 1.0)
            rows.append((area, deform, 0.0005 * area ** 1.5 / (deform + 0.01)))
    return numpy.array(rows)


table = synthetic_table()
low = table[:, :2].min(axis=0)
span = table[:, :2].max(axis=0) - low
surface = LinearNDInterpolator((table[:, :2] - low) / span, table[:, 2])

print("// area, deform, modulus")
for k in range(24):
    area = 30.0 + 255.0 * ((0.618034 * k) % 1.0)
    deform = 0.002 + 0.18 * ((0.754878 * k) % 1.0)
    value = float(surface(((numpy.array([area, deform]) - low) / span)[None, :])[0])
    print("{%.17g, %.17g, %s}," % (area, deform, "NaN" if math.isnan(value) else "%.15g" % value))


def herold(medium, width, flow, temperature):
    factor, exponent, consistency, reference = {
        0: (1.6707050335189184, -0.32299999999999995, 0.179, 23.2),
    }.get(medium, (1.706549572791479, -0.366, 0.36, 23.6))
    shear_rate = 2.0 / 3.0 * flow * 7.1136e-9 / (width * 1e-6) ** 3 * factor
    return consistency * shear_rate ** exponent * (temperature / reference) ** -0.866 * 1e3


def kestin(temperature):
    d = 20.0 - temperature
    return 1.002 * 10 ** (numpy.polyval([5.7e-6, -0.00137, 1.2364], d) * d / (96.0 + temperature))


def power_law(medium, width, flow, temperature):
    a, b = {0: (2.3e-6, -0.0056), 3: (1.652e-5, -0.1455)}.get(medium, (5.7e-6, -0.0744))
    kelvin = temperature + 273.15
    n = 0.00223 * kelvin + b
    rate = (0.6671 + 0.2121 / n) * 8.0 * flow / (width / 1000.0) ** 3
    return 1000.0 * a * math.exp(3379.7 / kelvin) * rate ** (n - 1.0)


print("// model, medium, width, flow, temperature, viscosity")
for model, medium, width, flow, temperature in [
    (0, 0, 20.0, 0.04, 23.0), (0, 1, 20.0, 0.04, 23.0), (0, 3, 20.0, 0.04, 23.0), (0, 1, 30.0, 0.16, 25.5),
    (0, 0, 40.0, 0.32, 37.0), (1, 2, 20.0, 0.04, 20.0), (1, 2, 20.0, 0.04, 23.0), (1, 2, 20.0, 0.04, 37.0),
    (2, 0, 20.0, 0.04, 23.0), (2, 1, 20.0, 0.04, 23.0), (2, 3, 30.0, 0.16, 25.0),
]:
    value = {0: lambda: herold(medium, width, flow, temperature), 1: lambda: kestin(temperature),
             2: lambda: power_law(medium, width, flow, temperature)}[model]()
    print("{%d, %d, %g, %g, %g, %.15g}," % (model, medium, width, flow, temperature, value))

print("// deform, area, pixel size, corrected")
for deform, area, pixel in [(0.1, 0.0, 0.34), (0.1, 50.0, 0.34), (0.05, 200.0, 0.34), (0.05, 50.0, 0.17), (0.02, 10.0, 0.68)]:
    u = area * (0.34 / pixel) ** 2
    shift = 0.0012 + sum(w * math.exp(-u / scale) for w, scale in ((0.02, 7.1), (0.01, 38.6), (0.005, 296.0)))
    print("{%g, %g, %g, %.15g}," % (deform, area, pixel, deform - shift))
