"""Soft sphere on the axis of a tube in creeping flow: the whole coupled problem and its Newton iteration.

Everything is scaled: lengths by the tube radius R, velocities by Q / R^2, stresses by eta Q / R^3. Coordinate 0 is the
axial one, z (downstream positive), coordinate 1 the distance r from the axis. Integrals leave out the factor 2 pi.

One mesh holds cell and fluid. It stays as it was made, around the undeformed sphere; the equations of both are pulled
back to it. Unknowns are, all at once,

    v, p  velocity (P2) and pressure (P1) of the fluid, in the frame that moves with the cell,
    d     displacement (P2) of the cell's material and, outside, of the fluid's mesh,
    s     pressure (P1) that keeps the cell's volume,
    U     the cell's speed, and log eps, the stiffness.

Elements at the surface are curved (displacement and geometry are both quadratic), so that fluid and cell share one outline.
The outline's displacement is a Fourier series in the angle on the undeformed sphere, cosines along the axis and sines away
from it, and equilibrium is weighed with each of its terms. High terms are held back by a skin with a bending stiffness (see
`Problem.skin`): without it a linear solid wrinkles at the rear edge where it is compressed to less than half, at the length
of the smallest element, whatever that is.
"""
import math

import gmsh
import numpy as np
import scipy.sparse as sp
import ufl
from dolfin import (Constant, FiniteElement, Function, FunctionSpace, LogLevel, Measure, Mesh, MeshEditor, MeshFunction,
                    MixedElement, SpatialCoordinate, TestFunction, TrialFunction, VectorElement, as_backend_type, assemble,
                    derivative, parameters, set_log_level)
from petsc4py import PETSc

set_log_level(LogLevel.ERROR)
parameters["form_compiler"]["quadrature_degree"] = 6
parameters["form_compiler"]["optimize"] = True
parameters["form_compiler"]["cpp_optimize"] = True
parameters["form_compiler"]["cpp_optimize_flags"] = "-O2"

CELL, FLUID = 1, 2
# Weight of (det F - 1)^2 in the solid's energy. It is zero for the solution and stiffens the waves of one element's
# length that the weak condition on det F leaves free.
AUGMENT = 10.0
END_DISTANCE = 3.0  # from the sphere to the ends; a disturbance dies off like exp(-4.5 z / R)


class NoSolution(Exception):
    """Newton's method has not converged, or the mesh has folded."""


# ---- Mesh ---------------------------------------------------------------------------------------------------------

REAR_EDGE = 1.2, 2.3  # angles from the rear between which soft cells get a sharp edge


def make_mesh(lam, edges, factor=1.0, grading=1.0):
    """Triangles around and inside a sphere of radius lam, as long as if there were `edges` on its half circle and
    `grading` times shorter around the rear edge; `factor` 0.5 halves all other sizes. Returns the mesh and the marks of
    its triangles."""
    h = lam * math.pi / edges
    far = max(0.2 * factor, 1.01 * h)
    wall = min(far * 0.8, max(h, 0.4 * (1 - lam) * factor))
    gmsh.initialize()
    gmsh.option.setNumber("General.Terminal", 0)
    gmsh.option.setNumber("Mesh.Algorithm", 6)
    g = gmsh.model.geo
    end = lam + END_DISTANCE
    rear = g.addPoint(-lam, 0, 0, h / math.sqrt(grading))
    front, middle = g.addPoint(lam, 0, 0, h), g.addPoint(0, 0, 0, h)
    sharp = [g.addPoint(-lam * math.cos(a), lam * math.sin(a), 0, h / grading) for a in REAR_EDGE]
    inner = [g.addPoint(x, 0, 0, 3.0 * h) for x in (-0.5 * lam, 0.5 * lam)]
    outlet = [g.addPoint(end, 0, 0, far), g.addPoint(end, 1, 0, far)]
    inlet = [g.addPoint(-end, 1, 0, far), g.addPoint(-end, 0, 0, far)]
    near = [g.addPoint(1.4 * lam, 1, 0, wall), g.addPoint(-lam, 1, 0, wall)]
    corners = [rear, *sharp, front]
    arcs = [g.addCircleArc(a, middle, b) for a, b in zip(corners, corners[1:])]
    axis = [g.addLine(a, b) for a, b in ((front, inner[1]), (inner[1], inner[0]), (inner[0], rear))]
    body = g.addPlaneSurface([g.addCurveLoop(arcs + axis)])
    corners = [front, outlet[0], outlet[1], near[0], near[1], inlet[0], inlet[1], rear]
    sides = [g.addLine(a, b) for a, b in zip(corners, corners[1:])]
    flow = g.addPlaneSurface([g.addCurveLoop(arcs + sides)])
    g.synchronize()
    gmsh.model.mesh.generate(2)
    tags, coordinates, _ = gmsh.model.mesh.getNodes()
    triangles = {s: gmsh.model.mesh.getElementsByType(2, s)[1].reshape(-1, 3) for s in (body, flow)}
    gmsh.finalize()

    used = np.unique(np.concatenate([t.ravel() for t in triangles.values()]))
    place = {tag: i for i, tag in enumerate(used)}
    xy = dict(zip(tags, coordinates.reshape(-1, 3)))
    mesh, editor = Mesh(), MeshEditor()
    count = sum(len(t) for t in triangles.values())
    editor.open(mesh, "triangle", 2, 2)
    editor.init_vertices(len(used))
    for tag, i in place.items():
        editor.add_vertex(i, [xy[tag][0], max(xy[tag][1], 0.0)])
    editor.init_cells(count)
    marks = []
    for surface, mark in ((body, CELL), (flow, FLUID)):
        for nodes in triangles[surface]:
            editor.add_cell(len(marks), [place[t] for t in nodes])
            marks.append(mark)
    editor.close()
    mesh.order()
    region = MeshFunction("size_t", mesh, 2)
    region.array()[:] = marks
    return mesh, region


# ---- Weak forms ---------------------------------------------------------------------------------------------------

def hoop_div(f2, f33, g2, hoop):
    """cof F : grad w of an axisymmetric map with plane part f2; also the change of det F along w."""
    plane = f2[0, 0] * g2[1, 1] + f2[1, 1] * g2[0, 0] - f2[1, 0] * g2[0, 1] - f2[0, 1] * g2[1, 0]
    return f33 * plane + ufl.det(f2) * hoop


class Problem:
    """One confinement `lam` on one mesh. `law` is "linear" (2 mu e(u) on the undeformed sphere) or "neo-Hookean"."""

    def __init__(self, lam, edges, factor=1.0, law="linear", terms=40, cutoff=16, grading=1.0):
        self.lam, self.law, self.terms = lam, law, terms
        order = np.arange(terms + 1)
        # stiffness of the skin relative to that of the body under a wave of k half-waves, mu k: equal at the cutoff
        self.skin = lam * order * (order / cutoff) ** 5
        self.mesh, region = make_mesh(lam, edges, factor, grading)
        vector, scalar = VectorElement("P", "triangle", 2), FiniteElement("P", "triangle", 1)
        self.space = FunctionSpace(self.mesh, MixedElement([vector, vector, scalar, scalar]))
        self.state = Function(self.space)
        self.base = Function(self.space)   # its d: the mesh from which the present one is moved
        self.curve = Function(self.space)  # its d: moves edge midpoints onto the sphere
        self.mu = Constant(1.0)
        self._number(region)
        self._build_forms(Measure("dx", domain=self.mesh, subdomain_data=region))
        self.speed, self.log_eps = 0.0, 0.0
        self.last_change = math.inf
        self._prepare_quality()
        self.rebase()

    # -- numbering

    def _number(self, region):
        """Which unknown is where: interface, fixed ones, and those that exist in only one of the two regions."""
        space, self.size = self.space, self.space.dim()
        xy = space.tabulate_dof_coordinates()
        part = {"vz": space.sub(0).sub(0), "vr": space.sub(0).sub(1), "dz": space.sub(1).sub(0),
                "dr": space.sub(1).sub(1), "p": space.sub(2), "s": space.sub(3)}
        at = {k: np.array(v.dofmap().dofs()) for k, v in part.items()}
        inside = {k: np.zeros(self.size, bool) for k in (CELL, FLUID)}
        for mark in (CELL, FLUID):
            for cell in np.nonzero(region.array() == mark)[0]:
                inside[mark][space.dofmap().cell_dofs(cell)] = True
        radius = np.hypot(xy[:, 0], xy[:, 1])
        both = inside[CELL] & inside[FLUID]
        end = self.lam + END_DISTANCE
        ends = np.abs(xy[:, 0]) > end - 1e-9
        outer = (xy[:, 1] > 1 - 1e-9) | ends
        axis = xy[:, 1] < 1e-9

        def rows(name, where):
            return at[name][where[at[name]]]

        def by_angle(name):
            dofs = rows(name, both)
            return dofs[np.argsort(np.arctan2(xy[dofs, 1], -xy[dofs, 0]))]

        self.face = {k: by_angle(k) for k in ("vz", "vr", "dz", "dr")}  # rear to front, vertices and midpoints
        dofs = self.face["dz"]
        self.angle = np.arctan2(xy[dofs, 1], -xy[dofs, 0])
        self.displacements = np.concatenate([at["dz"], at["dr"]])
        self.place = xy
        self.flow_unknowns = np.concatenate([rows(k, inside[FLUID]) for k in ("vz", "vr", "p")])
        self.cell_displacements = [rows(k, inside[CELL]) for k in ("dz", "dr")]
        self.cell_unknowns = np.concatenate(self.cell_displacements + [rows("s", inside[CELL])])
        only_cell, only_fluid = inside[CELL] & ~both, inside[FLUID] & ~both
        pinned = at["p"][[np.argmax(xy[at["p"], 0] - 1e-3 * xy[at["p"], 1])]]
        fixed = [rows(k, only_cell | both | outer) for k in ("vz", "vr")] + [rows("vr", axis)]
        fixed += [rows("dz", ends), rows("dr", outer), rows("dr", axis)]  # the mesh slides along wall and axis
        fixed += [rows("p", only_cell), rows("s", only_fluid), pinned]
        self.fixed = np.unique(np.concatenate(fixed))
        self.given = np.zeros(self.size)       # values of the fixed unknowns, apart from the cell's speed
        profile = rows("vz", ends)
        self.given[profile] = 2 / math.pi * (1 - xy[profile, 1] ** 2)
        self.moving = rows("vz", outer)        # whose value is less by the speed
        moved = np.zeros(self.size, bool)
        moved[np.concatenate([rows(k, only_fluid) for k in ("dz", "dr")])] = True
        moved[self.fixed] = False
        free = np.ones(self.size)
        free[self.fixed] = 0
        # Forces of the fluid on the interface, tested with its velocity's functions, load the cell there.
        pairs = [(d, v) for a, b in (("dz", "vz"), ("dr", "vr")) for d, v in zip(self.face[a], self.face[b]) if free[d]]
        d, v = np.array(pairs).T
        self.collect = (sp.diags(free) + sp.csr_matrix((np.ones(len(d)), (d, v)), (self.size, self.size))).tocsr()
        self.keep_moved = sp.diags(moved.astype(float)).tocsr()
        self.identity = sp.diags(1 - free).tocsr()
        # edge midpoints on the circle
        scale = self.lam / radius[dofs]
        curve = np.zeros(self.size)
        curve[self.face["dz"]] = xy[dofs, 0] * (scale - 1)
        curve[self.face["dr"]] = xy[dofs, 1] * (scale - 1)
        self.curve.vector().set_local(curve)
        self.curve_values = curve
        self._build_basis()

    def _build_basis(self):
        face = np.concatenate([self.face["dz"], self.face["dr"]])
        others = np.setdiff1d(np.arange(self.size), face)
        k = np.arange(self.terms + 1)
        blocks = np.zeros((len(face), 2 * self.terms + 1))
        nodes = len(self.angle)
        blocks[:nodes, :self.terms + 1] = np.cos(np.outer(self.angle, k))
        blocks[nodes:, self.terms + 1:] = np.sin(np.outer(self.angle, k[1:]))
        rows, columns = np.repeat(face, blocks.shape[1]), np.tile(np.arange(blocks.shape[1]), len(face)) + len(others)
        free = sp.csr_matrix((np.ones(len(others)), (others, np.arange(len(others)))), (self.size, len(others) + blocks.shape[1]))
        basis = free + sp.csr_matrix((blocks.ravel(), (rows, columns)), free.shape)
        self.basis = sp.block_diag([basis, sp.identity(2)], format="csr")
        self.weigh = self.basis.T.tocsr()
        self.modes = np.arange(len(others), len(others) + blocks.shape[1])  # their places in the reduced system
        self.to_modes = (np.linalg.pinv(blocks[:nodes, :self.terms + 1]), np.linalg.pinv(blocks[nodes:, self.terms + 1:]))
        self.mode_skin = np.concatenate([self.skin, self.skin[1:]])

    def series(self):
        """Terms of the outline's displacement: cosines along the axis from 0 on, sines away from it from 1 on."""
        w = self.state.vector().get_local()
        return np.concatenate([self.to_modes[0] @ w[self.face["dz"]], self.to_modes[1] @ w[self.face["dr"]]])

    def skin_force(self):
        return float(self.mu) * self.mode_skin * self.series()

    # -- equations

    def _build_forms(self, dx):
        self.forms, self.tensors = {}, {}
        x = SpatialCoordinate(self.mesh)
        v, d, p, s = ufl.split(self.state)
        c, b = ufl.split(self.curve)[1], ufl.split(self.base)[1]
        a, w, q, t = ufl.split(TestFunction(self.space))

        # cell
        ref = ufl.grad(x + c)
        inv, volume, big_r = ufl.inv(ref), ufl.det(ref), (x + c)[1]
        h2, h33 = ufl.grad(d) * inv, d[1] / big_r
        f2, f33 = ufl.Identity(2) + h2, 1 + h33
        g2, g33 = ufl.grad(w) * inv, w[1] / big_r
        if self.law == "linear":
            stress = ufl.inner(h2 + h2.T, g2) + 2 * h33 * g33
        else:  # W = mu / 2 (tr F^T F - 3); the term cof F only shifts the pressure, which is 0 at rest then
            stress = ufl.inner(f2, g2) + f33 * g33 - hoop_div(f2, f33, g2, g33)
        elastic = self.mu * stress * big_r * volume * dx(CELL)
        excess = ufl.det(f2) * f33 - 1
        pressure = s - AUGMENT * self.mu * excess
        solid = elastic - (pressure * hoop_div(f2, f33, g2, g33) + t * excess) * big_r * volume * dx(CELL)

        # fluid
        chi = x + c + d
        m = ufl.grad(chi)
        inv_m, volume_m, y = ufl.inv(m), ufl.det(m), chi[1]
        gv, ga = ufl.grad(v) * inv_m, ufl.grad(a) * inv_m
        fluid = (2 * ufl.inner(ufl.sym(gv), ufl.sym(ga)) + 2 * v[1] * a[1] / y**2 - p * (ufl.tr(ga) + a[1] / y)
                 - q * (ufl.tr(gv) + v[1] / y)) * y * volume_m * dx(FLUID)

        # mesh of the fluid: small triangles and distorted ones are stiff, so that the others take up the motion
        mb = ufl.grad(x + c + b)
        inv_b = ufl.inv(mb)
        trial = ufl.split(TrialFunction(self.space))[1]
        distortion = ufl.inner(mb, mb) / (2 * ufl.det(mb))  # 1 at rest
        stiff = distortion ** 2 / ufl.det(mb) / ufl.CellVolume(self.mesh)
        self.forms["mesh"] = stiff * ufl.inner(ufl.grad(trial) * inv_b, ufl.grad(w) * inv_b) * ufl.det(mb) * dx(FLUID)
        self.forms["elastic"] = elastic
        self.forms["solid"] = solid
        self.forms["residual"] = solid + fluid
        self.forms["jacobian"] = derivative(self.forms["residual"], self.state)
        self.forms["volume"] = ufl.det(f2) * f33 * big_r * volume * dx(CELL)
        self.reference_volume = assemble(big_r * volume * dx(CELL))
        self.centroid = assemble(w[0] * big_r * volume * dx(CELL)).get_local()
        self.centroid /= np.abs(self.centroid).sum()

    def rebase(self):
        """From now on the fluid's mesh is moved starting from where it is."""
        self.base.vector().set_local(self.state.vector().get_local())
        self.mesh_stiffness = self.keep_moved @ csr(self.assembled("mesh"))
        self.base_values = self.base.vector().get_local()

    # -- Newton

    def assembled(self, name):
        """Assembles a form into the tensor that it had the last time."""
        self.tensors[name] = assemble(self.forms[name], tensor=self.tensors.get(name), keep_diagonal=True)
        return self.tensors[name]

    def unknowns(self):
        return np.concatenate([self.state.vector().get_local(), [self.speed, self.log_eps]])

    def set_unknowns(self, values):
        self.state.vector().set_local(values[:-2])
        self.state.vector().apply("insert")
        self.speed, self.log_eps = values[-2], values[-1]
        self.mu.assign(math.exp(values[-1]) / 3)

    def residual(self):
        w = self.state.vector().get_local()
        r = self.collect @ self.assembled("residual").get_local() + self.mesh_stiffness @ (w - self.base_values)
        r[self.fixed] = w[self.fixed] - self.given[self.fixed]
        r[self.moving] += self.speed
        return r

    def jacobian(self, control):
        j = self.collect @ csr(self.assembled("jacobian")) + self.mesh_stiffness + self.identity
        column_u = np.zeros(self.size)
        column_u[self.moving] = 1
        column_e = self.collect @ self.assembled("elastic").get_local()
        column_e[self.fixed] = 0
        row_e, corner = control
        return sp.bmat([[j, sp.csr_matrix(column_u).T, sp.csr_matrix(column_e).T],
                        [sp.csr_matrix(self.centroid), None, None],
                        [sp.csr_matrix(row_e), None, sp.csr_matrix([[corner]])]], format="csr")

    def linearised(self, control):
        """The factors of the linearised system in the terms of the outline's series."""
        small = (self.weigh @ self.jacobian(control) @ self.basis).tocsr()
        force, rows = self.skin_force(), self.modes
        last = np.full(len(rows), small.shape[0] - 1)
        skin = sp.csr_matrix((np.concatenate([float(self.mu) * self.mode_skin, force]),
                              (np.concatenate([rows, rows]), np.concatenate([rows, last]))), small.shape)
        return Factors(small + skin)

    def newton_change(self, factors, residual):
        right = self.weigh @ residual
        right[self.modes] += self.skin_force()
        return self.basis @ factors.solve(-right)

    def solve(self, control, target, tolerance=2e-5, steps=12):
        """Newton's method with the last equation control . (state, log eps) = target. Returns the number of steps. Ends
        when a step moves the outline by less than `tolerance` radii. The linearised system is kept as long as every
        step is less than a twentieth of the last one, so that what is missing then is less than a twentieth of that.
        Leaves the state as it was where it fails."""
        before = self.unknowns()
        row, corner = control
        last, factors = math.inf, None
        for step in range(1, steps + 1):
            r = np.concatenate([self.residual(), [self.centroid @ self.state.vector().get_local(),
                                                  row @ self.state.vector().get_local() + corner * self.log_eps - target]])
            factors = factors or self.linearised(control)
            change = self.newton_change(factors, r)
            moved = max(np.abs(change[self.face["dz"]]).max(), np.abs(change[self.face["dr"]]).max())
            if not np.isfinite(moved) or moved > 0.5 or (step > 4 and moved > 4 * last):
                break
            if moved > min(0.05 * last, 0.02 * self.lam):
                factors = None
            last = moved
            self.set_unknowns(self.unknowns() + change)
            if self.folded():
                break
            if moved < tolerance * self.lam:
                self.last_change = moved
                return step
        self.set_unknowns(before)
        raise NoSolution(f"step {step}, change {moved:.3g}")

    def folded(self):
        """Whether a triangle has turned over, seen at its corners and edge midpoints."""
        return self.quality() <= 0

    def _prepare_quality(self):
        dz, dr = self.space.sub(1).sub(0).dofmap(), self.space.sub(1).sub(1).dofmap()
        cells = range(self.mesh.num_cells())
        self._cell_nodes = (np.array([dz.cell_dofs(i) for i in cells]), np.array([dr.cell_dofs(i) for i in cells]))
        # derivatives of the quadratic shape functions (vertices, then midpoints opposite to them) at six points
        points = np.array([[0, 0], [1, 0], [0, 1], [.5, .5], [0, .5], [.5, 0]])
        self._slopes = []
        for s, t in points:
            u = 1 - s - t
            self._slopes.append((np.array([1 - 4 * u, 4 * s - 1, 0, 4 * t, -4 * t, 4 * (u - s)]),
                                 np.array([1 - 4 * u, 0, 4 * t - 1, 4 * s, 4 * (u - t), -4 * s])))
        self._first = self._determinants(np.zeros(self.size))

    def _determinants(self, displacement):
        z, r = self._cell_nodes
        x = self.place[z, 0] + displacement[z] + self.curve_values[z]
        y = self.place[r, 1] + displacement[r] + self.curve_values[r]
        return np.array([(x @ a) * (y @ b) - (x @ b) * (y @ a) for a, b in self._slopes])

    def quality(self):
        """Smallest local area of the moved mesh relative to the first one's (1 at rest, 0 where it folds)."""
        return float((self._determinants(self.state.vector().get_local()) / self._first).min())

    # -- results

    def outline(self):
        """Coordinates (z, r) of 8 points a term of the series, rear to front, evenly spaced by angle on the undeformed
        sphere."""
        series = self.series()
        angle = np.linspace(0, math.pi, 8 * self.terms + 1)
        k = np.arange(self.terms + 1)
        z = np.cos(np.outer(angle, k)) @ series[:self.terms + 1] - self.lam * np.cos(angle)
        r = np.sin(np.outer(angle, k[1:])) @ series[self.terms + 1:] + self.lam * np.sin(angle)
        r[0] = r[-1] = 0
        return z, r

    def volume(self):
        return assemble(self.forms["volume"]) / self.reference_volume


def csr(matrix):
    mat = as_backend_type(matrix).mat()
    indptr, indices, data = mat.getValuesCSR()
    return sp.csr_matrix((data, indices, indptr), mat.getSize())


class Factors:
    """The LU factors of a sparse matrix."""

    def __init__(self, matrix):
        matrix.sort_indices()
        self.matrix = PETSc.Mat().createAIJ(matrix.shape, csr=(matrix.indptr, matrix.indices, matrix.data), comm=PETSc.COMM_SELF)
        self.solver = PETSc.KSP().create(PETSc.COMM_SELF)
        self.solver.setOperators(self.matrix)
        self.solver.setType("preonly")
        self.solver.getPC().setType("lu")
        self.solver.getPC().setFactorSolverType("umfpack")

    def solve(self, rhs):
        x, b = self.matrix.createVecs()
        b.array[:] = rhs
        self.solver.solve(b, x)
        result = x.array.copy()
        x.destroy()
        b.destroy()
        return result

    def __del__(self):
        self.solver.destroy()
        self.matrix.destroy()
