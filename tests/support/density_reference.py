#!/usr/bin/env python3
"""Reference values for DensityTest.cpp, from NumPy and SciPy. Printed with NumPy 1.24.2 and SciPy 1.10.1."""

import numpy as np
import scipy
from scipy import ndimage


def cloud(count, narrow):
    """The points of makeCloud() in DensityTest.cpp: plain arithmetic, so that both make the same doubles."""
    i = np.arange(count, dtype=np.int64)
    u = ((i * 7919) % 10007) / 10007.0
    v = ((i * 104729) % 20011) / 20011.0
    w = ((i * 1299709) % 30011) / 30011.0
    x = 40.0 + 30.0 * u * u + 5.0 * v
    y = 0.02 + 0.08 * v * w + 0.01 * u
    if narrow:  # half of the points in a small spot
        spot = i % 2 == 0
        x = np.where(spot, 50.0 + 0.5 * u * v, x)
        y = np.where(spot, 0.05 + 0.001 * w * v, y)
    return x, y


def extent(v):
    return v.max() - v.min() if v.max() > v.min() else 1.0


def bins(v, origin, step, size):
    return np.clip(np.trunc((v - origin) / step).astype(int), 0, size - 1)


def counts(x, y, size, x0, y0, dx, dy):
    grid = np.zeros((size, size))
    np.add.at(grid, (bins(y, y0, dy, size), bins(x, x0, dx, size)), 1.0)
    return grid


def optimal_grid_size(x, y):
    costs = {}
    for k in range(20):
        n = int(np.floor(np.exp(k * 2.7725888 / 19 + 3.4657359) + 0.5))
        dx, dy = extent(x) / n, extent(y) / n
        c = counts(x, y, n, x.min(), y.min(), dx, dy)
        costs[n] = (2 * c.mean() - c.var()) / (dx * dy) ** 2
    return min(costs, key=costs.get)


def bandwidth(v):
    iqr = np.quantile(v, 0.75) - np.quantile(v, 0.25)
    sd = np.std(v)
    sigma = min(iqr / 1.34, sd) if iqr > 0 else sd
    h = len(v) ** (-1 / 6) * sigma
    return h if h > 0 else 1.0


def kernel(c):
    r = max(int(np.ceil(4 * c)), 1)
    k = np.arange(-r, r + 1)
    w = np.exp(-0.5 * (k / c) ** 2)
    return w / w.sum()


def density_grid(x, y, size):
    hx, hy = bandwidth(x), bandwidth(y)
    x0, y0 = x.min() - 3 * hx, y.min() - 3 * hy
    dx, dy = (x.max() + 3 * hx - x0) / size, (y.max() + 3 * hy - y0) / size
    grid = counts(x, y, size, x0, y0, dx, dy)
    grid = ndimage.convolve1d(grid, kernel(hx / dx), axis=1, mode="constant")
    grid = ndimage.convolve1d(grid, kernel(hy / dy), axis=0, mode="constant")
    return grid, x0, y0, dx, dy


def main():
    print("NumPy", np.__version__, "SciPy", scipy.__version__)
    for count, narrow in ((300, False), (4000, False), (4000, True), (20000, True)):
        x, y = cloud(count, narrow)
        size = optimal_grid_size(x, y)
        grid, x0, y0, dx, dy = density_grid(x, y, size)
        places = np.array([(y - y0) / dy - 0.5, (x - x0) / dx - 0.5])
        density = ndimage.map_coordinates(grid, places, order=1, mode="nearest")
        hist = counts(x, y, size, x.min(), y.min(), extent(x) / size, extent(y) / size)
        own = hist[bins(y, y.min(), extent(y) / size, size), bins(x, x.min(), extent(x) / size, size)]
        print(f"{{{count}, {str(narrow).lower()}, {size}, {x0:.17g}, {y0:.17g}, {dx:.17g}, {dy:.17g}, {grid.sum():.17g}, "
              f"{density[0]:.17g}, {density[1]:.17g}, {density[count - 1]:.17g}, {density.sum():.17g}, {own.sum():.0f}}},")
    x, y = cloud(300, False)
    grid = density_grid(x, y, 8)[0]
    print("grid of 8, rows 0, 3, 7:")
    for row in (0, 3, 7):
        print("{" + ", ".join(f"{value:.15g}" for value in grid[row]) + "},")


if __name__ == "__main__":
    main()
