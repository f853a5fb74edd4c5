"""The isoelastic lines as the program finds them in the table: linear interpolation on the Delaunay triangulation
of the min/max-normalised points, upward scan of deformation in 50 steps at each of 151 areas, bisection."""
import numpy as np
from scipy.spatial import Delaunay
from scipy.interpolate import LinearNDInterpolator

LEVELS = (0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.9, 1.2, 1.5, 2.0, 3.0)  # kPa


class Table:
    def __init__(self, rows):
        self.rows = np.asarray(rows, float)
        xy = self.rows[:, :2]
        self.low, self.high = xy.min(axis=0), xy.max(axis=0)
        self.mesh = Delaunay((xy - self.low) / (self.high - self.low))
        self.value = LinearNDInterpolator(self.mesh, self.rows[:, 2])

    def at(self, area, deform):
        x = (np.array([area, deform], float).T - self.low) / (self.high - self.low)
        return self.value(x)

    def line(self, level):
        points = []
        scan = np.linspace(self.low[1], self.high[1], 51)
        for area in np.linspace(self.low[0], self.high[0], 151):
            f = self.at(np.full(51, area), scan)
            with np.errstate(invalid="ignore"):
                hit = np.nonzero((f[:-1] - level) * (f[1:] - level) <= 0)[0]
            if len(hit):
                points.append((area, self.bisect(area, scan[hit[0]], scan[hit[0] + 1], f[hit[0]], level)))
        return np.array(points).reshape(-1, 2)

    def bisect(self, area, low, high, f_low, level):
        for _ in range(40):
            middle = 0.5 * (low + high)
            f = float(self.at([area], [middle])[0])
            if np.isnan(f) or high - low < 1e-8:
                break
            if (f - level) * (f_low - level) > 0:
                low, f_low = middle, f
            else:
                high = middle
        return 0.5 * (low + high)

    def lines(self):
        return {level: self.line(level) for level in LEVELS}


def plot(table, lines, path):
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    figure, axes = plt.subplots(1, 2, figsize=(13, 5.5))
    for a in axes:
        a.plot(table.rows[:, 0], table.rows[:, 1], ".", color="0.8", ms=2)
        for level, p in lines.items():
            a.plot(p[:, 0], p[:, 1], "-", lw=1, label=f"{level} kPa")
        a.set_xlabel("area / um^2")
        a.set_ylabel("deformation")
    axes[1].set_yscale("log")
    axes[1].set_ylim(1e-5, table.high[1] * 1.1)
    axes[0].legend(fontsize=7)
    figure.tight_layout()
    figure.savefig(path, dpi=80)
