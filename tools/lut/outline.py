"""Area and deformation of the silhouettes that sweep.py stores (lengths in tube radii)."""
import math

import numpy as np
from scipy.interpolate import CubicSpline
from scipy.spatial import ConvexHull

# Reference conditions of the table.
CHANNEL_WIDTH = 20.0  # um
FLOW_RATE = 0.16  # uL/s
VISCOSITY = 1.002  # mPa s


SAMPLES = 8000  # points on the whole outline; its inscribed polygon costs 4e-7 of deformation at most
# deformation of a circle sampled like the outlines: an inscribed polygon
POLYGON_OFFSET = 1 - math.sqrt(math.pi / SAMPLES / math.tan(math.pi / SAMPLES))


def soft_step(lam):
    """Step in deformation from one soft solution to the next; finer for small lambda, whose columns of rows lie close together in area."""
    return 0.0055 * max(0.28, min(1, (lam / 0.42) ** 2))


def equivalent_radius():
    """Radius in um of the tube that carries the same flow rate at the same pressure gradient.

    Square duct of side w (series solution of the Poisson equation for the velocity):
        Q = K w^4 G / eta,  K = 1/12 (1 - 192/pi^5 sum_{k odd} tanh(k pi / 2) / k^5) = 0.03514
    Tube: Q = pi R^4 G / (8 eta).  Equal Q and G:  R = (8 K / pi)^(1/4) w = 0.547 w = 1.094 w / 2.
    """
    total = sum(math.tanh(k * math.pi / 2) / k**5 for k in range(1, 200, 2))
    k_duct = (1 - 192 / math.pi**5 * total) / 12
    return (8 * k_duct / math.pi) ** 0.25 * CHANNEL_WIDTH


RADIUS = equivalent_radius()  # um
# eta Q / R^3: mPa s * uL/s / um^3 = 1e-3 Pa s * 1e-9 m^3/s / 1e-18 m^3 = 1e6 Pa = 1e3 kPa
STRESS_SCALE = 1e3 * VISCOSITY * FLOW_RATE / RADIUS**3  # kPa


def resampled(z, r):
    """The mirrored outline as a fine polygon: a periodic cubic spline through the vertices."""
    z_all = np.concatenate([z, z[-2::-1]])
    r_all = np.concatenate([r, -r[-2::-1]])
    z_all[-1], r_all[-1] = z_all[0], r_all[0]
    t = np.arange(len(z_all))
    s = np.linspace(0, len(z_all) - 1, SAMPLES, endpoint=False)
    return (CubicSpline(t, z_all, bc_type="periodic")(s), CubicSpline(t, r_all, bc_type="periodic")(s))


def measure(z, r):
    """Area and deformation 1 - 2 sqrt(pi A) / P of the convex hull, volume of the body of revolution."""
    zs, rs = resampled(np.asarray(z), np.asarray(r))
    hull = ConvexHull(np.column_stack([zs, rs]))
    area, perimeter = hull.volume, hull.area  # scipy's names in two dimensions
    half = SAMPLES // 2 + 1
    zh, rh = zs[:half], rs[:half]
    volume = math.pi * np.sum(np.diff(zh) * (rh[1:] ** 2 + rh[1:] * rh[:-1] + rh[:-1] ** 2)) / 3
    return area, 1 - 2 * math.sqrt(math.pi * area) / perimeter, volume


def hull(z, r):
    """Indices of the convex hull's corners, closed."""
    corners = ConvexHull(np.column_stack([z, r])).vertices
    return np.append(corners, corners[0])


def read_sweep(path):
    """Points of one sweep file and why it ended: dicts with lambda, eps, steps, change, speed, volume (of the finite
    elements), edges, triangles, unknowns, z, r, area (um^2), deform, E (kPa), outline_volume (of the spline), both
    volumes over the sphere's."""
    points, current, left, reason = [], None, 0, "unfinished"
    with open(path) as lines:
        for line in lines:
            words = line.split()
            if words[0] == "mesh":
                mesh = dict(zip(("edges", "triangles", "unknowns"), map(int, words[1:])))
            elif words[0] == "end":
                reason = " ".join(words[1:])
            elif words[0] == "point":
                keys = ("lambda", "nodes", "eps", "steps", "change", "speed", "volume")
                current = dict(zip(keys, map(float, words[1:])), z=[], r=[])
                left = int(current["nodes"])
            else:
                current["z"].append(float(words[0]))
                current["r"].append(float(words[1]))
                left -= 1
                if left == 0:
                    points.append(current)
    for p in points:
        area, deform, volume = measure(p["z"], p["r"])
        p["area"] = area * RADIUS**2
        p["deform"] = deform
        p["outline_volume"] = volume / (4 / 3 * math.pi * p["lambda"] ** 3)
        p["E"] = p["eps"] * STRESS_SCALE
        p.update(mesh)
    return points, reason
