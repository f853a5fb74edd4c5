#!/usr/bin/python3
"""Checks of the fluid and of the solid on their own, against results found by other means."""
import math

import numpy as np
import scipy.sparse as sp
from dolfin import assemble, derivative

import cellflow

# Drag on rigid spheres on the axis over that in unbounded fluid: classical wall correction factors,
# moving in fluid at rest and held in the parabolic flow.
SIZES = [0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8]
MOVING = [1.679, 2.370, 3.591, 5.947, 11.09, 24.67, 74.65]
HELD = [1.635, 2.229, 3.216, 4.995, 8.612, 17.47, 47.61]

GAUSS = np.polynomial.legendre.leggauss(6)


def rigid_drags(problem):
    """Axial forces on the undeformed sphere: moving with speed 1 in fluid at rest, and held in flow of rate 1."""
    matrix = cellflow.csr(problem.assembled("jacobian"))
    flow = problem.flow_unknowns
    free = np.setdiff1d(flow, problem.fixed)
    forces = []
    for values in (speed_of_walls(problem), problem.given):
        right = -(matrix @ values)[free]
        solution = values.copy()
        solution[free] = cellflow.Factors(matrix[free][:, free].tocsr()).solve(right)
        forces.append(-2 * math.pi * (matrix @ solution)[problem.face["vz"]].sum())
    return forces


def speed_of_walls(problem):
    values = np.zeros(problem.size)
    values[problem.moving] = -1
    return values


def surface_load(problem, traction):
    """Nodal forces of a traction (force per undeformed area) on the sphere: traction(z, r, nz, nr) -> (tz, tr)."""
    load = np.zeros(problem.size)
    fz, fr = problem.face["dz"], problem.face["dr"]
    z, r = -problem.lam * np.cos(problem.angle), problem.lam * np.sin(problem.angle)
    for i in range(0, len(fz) - 1, 2):
        for xi, weight in zip(*GAUSS):
            shape = np.array([xi * (xi - 1) / 2, 1 - xi * xi, xi * (xi + 1) / 2])
            slope = np.array([xi - 0.5, -2 * xi, xi + 0.5])
            here, dz, dr = slice(i, i + 3), slope @ z[i:i + 3], slope @ r[i:i + 3]
            tz, tr = traction(shape @ z[here], shape @ r[here], -dr / math.hypot(dz, dr), dz / math.hypot(dz, dr))
            force = weight * math.hypot(dz, dr) * (shape @ r[here]) * shape
            load[fz[here]] += tz * force
            load[fr[here]] += tr * force
    return load


def solve_solid(problem, load):
    """The cell on its own under nodal forces, by Newton's method. Returns its displacement and pressure."""
    jacobian = derivative(problem.forms["solid"], problem.state)
    free = np.setdiff1d(problem.cell_unknowns, problem.fixed)
    centroid = sp.csr_matrix(problem.centroid[free])
    problem.state.vector()[:] = 0
    for _ in range(12):
        w = problem.state.vector().get_local()
        matrix = cellflow.csr(assemble(jacobian, keep_diagonal=True))[free][:, free]
        right = np.append((load - assemble(problem.forms["solid"]).get_local())[free], -(problem.centroid @ w))
        change = cellflow.Factors(sp.bmat([[matrix, centroid.T], [centroid, None]], format="csr")).solve(right)
        w[free] += change[:-1]
        problem.state.vector().set_local(w)
        if np.abs(change).max() < 1e-12:
            break
    return w


def solid_error(problem, w, field):
    """Root mean square of the displacement's error over the nodes, in per cent of that of the closed solution."""
    places = [problem.place[dofs, k] + problem.curve_values[dofs] for k, dofs in enumerate(problem.cell_displacements)]
    found = [w[dofs] for dofs in problem.cell_displacements]
    exact = list(field(*places))
    exact[0] = exact[0] - exact[0].mean() + found[0].mean()  # where the body stands on the axis is no one's business
    wrong = sum(((a - b) ** 2).sum() for a, b in zip(found, exact))
    size = sum((b ** 2).sum() for b in exact)
    return 100 * math.sqrt(wrong / size)


def solid_states(mu):
    """Known states: name, law, traction (z, r, nz, nr), displacement (z, r)."""
    e = 1e-4
    yield ("uniaxial e=1e-4", "linear", lambda z, r, nz, nr: (3 * mu * e * nz, 0.0), lambda z, r: (e * z, -e * r / 2))
    # Gradient of a solid harmonic of degree 4, z^4 - 3 z^2 r^2 + 3/8 r^4: no volume change, no pressure, stress
    # 2 mu grad grad. The displacement is cubic, so not contained in the finite-element space.
    yield ("harmonic degree 4", "linear",
           lambda z, r, nz, nr: (2 * mu * e * ((12 * z * z - 6 * r * r) * nz - 12 * z * r * nr),
                                 2 * mu * e * (-12 * z * r * nz + (-6 * z * z + 4.5 * r * r) * nr)),
           lambda z, r: (e * (4 * z**3 - 6 * z * r * r), e * (-6 * z * z * r + 1.5 * r**3)))
    # Finite uniaxial stretch: F = diag(s, g, g) with g = s^(-1/2); the pressure follows from zero lateral stress.
    s = 1.15
    g = 1 / math.sqrt(s)
    linear = 2 * mu * (s - 1) - 2 * mu * (g - 1) / (s * g) * g * g
    yield ("uniaxial stretch 1.15", "linear", lambda z, r, nz, nr: (linear * nz, 0.0), lambda z, r: ((s - 1) * z, (g - 1) * r))
    rubber = mu * (s - 1 / s**2)  # neo-Hookean, force per undeformed area
    yield ("uniaxial stretch 1.15", "neo-Hookean", lambda z, r, nz, nr: (rubber * nz, 0.0),
           lambda z, r: ((s - 1) * z, (g - 1) * r))


def main():
    print("drag lambda moving reference error% held reference error%")
    for lam, moving, held in zip(SIZES, MOVING, HELD):
        edges = 2 * int(32 + max(0, 50 * (lam - 0.7)))
        force = rigid_drags(cellflow.Problem(lam, edges, grading=4))
        a, b = -force[0] / (6 * math.pi * lam), force[1] / (6 * math.pi * lam * 2 / math.pi)
        print(f"drag {lam} {a:.6g} {moving} {100 * (abs(a) / moving - 1):.4f} {b:.6g} {held} {100 * (b / held - 1):.4f}", flush=True)
    print("solid state law error%")
    mu = 1.7
    for name, law, traction, field in solid_states(mu):
        problem = cellflow.Problem(0.5, 64, law=law, grading=4)
        problem.mu.assign(mu)
        w = solve_solid(problem, surface_load(problem, traction))
        print(f"solid {name.replace(' ', '_')} {law} {solid_error(problem, w, field):.6f}", flush=True)


if __name__ == "__main__":
    main()
