"""The isoelastic lines as the program finds them in the table: linear interpolation on the Delaunay triangulation
of the min/max-normalised points, upward scan of deformation in 50 steps at each of 151 areas, bisection."""
import numpy as np

LEVELS = (0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.9, 1.2, 1.5, 2.0, 3.0)  # kPa


class Table:
    def __init__(self, rows):
        self.rows = np.asarray(rows, float)
        xy = self.rows[:, :2]
        self.low, self.high = xy.min(axis=0), xy.max(axis=0)
        self.xy = (xy - self.low) / (self.high - self.low)
        triangles = bowyer_watson(self.xy)
        self.triangles = triangles[~np.isnan(self.rows[triangles, 2]).any(axis=1)]

    def at(self, area, deform):
        """Modulus at points of one area (arrays), NaN outside the mesh."""
        p = (np.column_stack([area, deform]) - self.low) / (self.high - self.low)
        x, y = self.xy[self.triangles, 0], self.xy[self.triangles, 1]
        near = (x.min(axis=1) <= p[:, 0].max() + 1e-9) & (x.max(axis=1) >= p[:, 0].min() - 1e-9)
        t, x, y = self.triangles[near], x[near], y[near]
        den = (y[:, 0] - y[:, 2]) * (x[:, 2] - x[:, 1]) + (y[:, 1] - y[:, 2]) * (x[:, 0] - x[:, 2])
        keep = np.abs(den) >= 1e-20
        t, x, y, den = t[keep], x[keep], y[keep], den[keep]
        z = self.rows[t, 2]
        result = np.full(len(p), np.nan)
        for i, (px, py) in enumerate(p):
            l1 = ((py - y[:, 2]) * (x[:, 2] - x[:, 1]) + (px - x[:, 2]) * (y[:, 1] - y[:, 2])) / den
            l2 = ((y[:, 2] - y[:, 0]) * (px - x[:, 2]) + (py - y[:, 2]) * (x[:, 0] - x[:, 2])) / den
            inside = np.nonzero(np.minimum(np.minimum(l1, l2), 1 - l1 - l2) >= -1e-10)[0]
            if len(inside):
                k = inside[0]
                result[i] = l1[k] * z[k, 0] + l2[k] * z[k, 1] + (1 - l1[k] - l2[k]) * z[k, 2]
        return result

    def at_all(self, areas, deforms):
        """Modulus at any points (arrays), NaN outside the mesh."""
        from matplotlib.tri import Triangulation
        finder = Triangulation(*self.xy.T, self.triangles).get_trifinder()
        p = (np.column_stack([areas, deforms]) - self.low) / (self.high - self.low)
        found = finder(*p.T)
        corners = self.triangles[found]
        (x0, y0), (x1, y1), (x2, y2) = (self.xy[corners[:, k]].T for k in range(3))
        den = (y0 - y2) * (x2 - x1) + (y1 - y2) * (x0 - x2)
        l1 = ((p[:, 1] - y2) * (x2 - x1) + (p[:, 0] - x2) * (y1 - y2)) / den
        l2 = ((y2 - y0) * (p[:, 0] - x2) + (p[:, 1] - y2) * (x0 - x2)) / den
        z = self.rows[corners, 2]
        return np.where(found < 0, np.nan, l1 * z[:, 0] + l2 * z[:, 1] + (1 - l1 - l2) * z[:, 2])

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


def bowyer_watson(points):
    """Triangles of the program's incremental Delaunay triangulation (normalised points, in table order).

    Written out because a library's would differ at the hull: here a flat hull triangle is lost where its
    circumcircle holds one of the three far-off artificial vertices.
    """
    xy = np.vstack([points, [(-10, -10), (20, -10), (-10, 20)]])
    n = len(points)
    triangles = np.array([(n, n + 1, n + 2)])
    for i in range(n):
        d = xy[triangles] - xy[i]
        s = (d**2).sum(axis=2)
        (ax, ay), (bx, by), (cx, cy) = d[:, 0].T, d[:, 1].T, d[:, 2].T
        bad = (ax * (by * s[:, 2] - s[:, 1] * cy) - ay * (bx * s[:, 2] - s[:, 1] * cx)
               + s[:, 0] * (bx * cy - by * cx)) > 0
        edges = [e for a, b, c in triangles[bad] for e in ((a, b), (b, c), (c, a))]
        count = {}
        for a, b in edges:
            key = (min(a, b), max(a, b))
            count[key] = count.get(key, 0) + 1
        new = []
        for a, b in edges:
            if count[(min(a, b), max(a, b))] == 1:
                u, v = xy[a] - xy[i], xy[b] - xy[i]
                new.append((i, a, b) if u[0] * v[1] - u[1] * v[0] >= 0 else (i, b, a))
        triangles = np.vstack([triangles[~bad], np.array(new, int).reshape(-1, 3)])
    return triangles[(triangles < n).all(axis=1)]
