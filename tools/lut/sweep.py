#!/usr/bin/python3
"""One confinement, from stiff to soft. Writes how many edges there are on the cell's half circle, triangles and unknowns,

    mesh EDGES TRIANGLES UNKNOWNS

then the converged outlines, one block per solution:

    point LAMBDA NODES EPS STEPS CHANGE SPEED VOLUME
    z r          (NODES lines, rear to front, in tube radii, evenly spaced by angle on the undeformed sphere)

Stiff solutions are found for a given eps, soft ones by following the branch: the length of the step along the outline's
displacement is given and eps is unknown, so that the branch is followed round folds, of the stiffness, which starts to
rise again, or of the deformation, which starts to fall. A last line "end REASON" tells why
the sweep ended.
"""
import argparse
import math
import time

import numpy as np

import cellflow
import outline

BEND = 98.0         # eps at which the coarse stiff steps end, 12 kPa
FLATTEST = 4e-7     # deformation of the stiffest solution


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("lam", type=float)
    parser.add_argument("edges", type=int, help="as many as would be on the half circle without grading")
    parser.add_argument("out")
    parser.add_argument("--law", default="linear", choices=["linear", "neo-Hookean"])
    parser.add_argument("--factor", type=float, default=1.0, help="of all other element sizes")
    parser.add_argument("--grading", type=float, default=4.0, help="how much shorter elements are at the rear edge")
    parser.add_argument("--terms", type=int, default=40, help="of the outline's series")
    parser.add_argument("--cutoff", type=float, default=16, help="term at which skin and body are equally stiff")
    parser.add_argument("--step", type=float, help="in deformation, where cells are soft")
    parser.add_argument("--coarse", action="store_true", help="few stiff solutions")
    parser.add_argument("--longest", type=float, default=0.015, help="step along the outline's displacement, in radii")
    parser.add_argument("--top", type=float, default=0.21, help="deformation at which to end")
    parser.add_argument("--past", type=int, default=4, help="solutions to follow beyond a fold")
    return parser.parse_args()


class Sweep:
    def __init__(self, options, out):
        self.options, self.out = options, out
        o = options
        self.problem = cellflow.Problem(o.lam, o.edges, o.factor, o.law, o.terms, o.cutoff, o.grading)
        out.write(f"mesh {len(self.problem.angle) // 2} {self.problem.mesh.num_cells()} {self.problem.size}\n")
        face = self.problem.face
        self.face = np.concatenate([face["dz"], face["dr"]])
        self.by_eps = (np.zeros(self.problem.size), 1.0)
        self.found = []   # unknowns of the last three solutions
        self.deforms = []
        self.step = o.step or outline.soft_step(o.lam)

    def solve(self, control, target):
        begun = time.time()
        steps = self.problem.solve(control, target)
        quality = self.problem.quality()
        self.problem.rebase()
        z, r = self.problem.outline()
        _, deform, _ = outline.measure(z, r)
        self.found = self.found[-2:] + [self.problem.unknowns()]
        self.deforms.append(deform)
        eps = math.exp(self.problem.log_eps)
        self.out.write(f"point {self.options.lam} {len(z)} {eps:.10g} {steps} {self.problem.last_change:.3g} "
                       f"{self.problem.speed:.8g} {self.problem.volume():.12g}\n")
        self.out.writelines(f"{a:.10g} {b:.10g}\n" for a, b in zip(z, r))
        self.out.flush()
        print(f"eps {eps:.5f} d {deform:.6f} steps {steps} quality {quality:.3f} {time.time() - begun:.1f} s", flush=True)

    def at_eps(self, eps):
        p, target = self.problem, math.log(eps)
        if not self.found:
            start = p.unknowns()
            start[-1] = target
            p.set_unknowns(start)
        elif len(self.found) == 1:
            p.set_unknowns(np.append(self.found[-1][:-1], target))
        else:  # eps times displacement is nearly constant for stiff cells
            a, b = self.found[-2:]
            t = (target - b[-1]) / (b[-1] - a[-1])
            ea, eb = math.exp(a[-1]), math.exp(b[-1])
            guess = b + t * (b - a)
            d = np.zeros(len(b), bool)
            d[self.problem.displacements] = True
            guess[d] = (eb * b[d] + t * (eb * b[d] - ea * a[d])) / eps
            guess[-1] = target
            p.set_unknowns(guess)
        self.solve(self.by_eps, target)

    def along(self, length):
        """One step of the given length (root mean square over the outline) along the branch."""
        before, last = self.found[-2:]
        tangent = (last - before)[self.face]
        norm = np.linalg.norm(tangent) / math.sqrt(len(self.face))
        row = np.zeros(self.problem.size)
        row[self.face] = tangent / norm / len(self.face)
        t = length / norm
        guess = last + t * (last - before)
        if len(self.found) == 3:  # quadratic, by the length so far
            first = self.found[0]
            s0 = -np.linalg.norm((before - first)[self.face]) / math.sqrt(len(self.face)) - norm
            s1, s = -norm, length
            guess = (first * (s - s1) * s / ((s0 - s1) * s0) + before * (s - s0) * s / ((s1 - s0) * s1)
                     + last * (s - s0) * (s - s1) / (s0 * s1))
        self.problem.set_unknowns(guess)
        try:
            self.solve((row, 0.0), row @ last[:-2] + length)
        except cellflow.NoSolution:
            self.problem.set_unknowns(last)
            raise
        return norm

    def stiff(self):
        """Solutions for given eps until a step of 1.12 in eps is more than one in deformation."""
        coarse, fine = (4.0, 1.6) if self.options.coarse else (1.6, 1.12)
        self.problem.set_unknowns(np.append(self.problem.unknowns()[:-1], math.log(1000)))
        self.problem.solve(self.by_eps, math.log(1000))
        _, deform, _ = outline.measure(*self.problem.outline())
        start = 1000 * math.sqrt(max(deform - outline.POLYGON_OFFSET, 1e-9) / FLATTEST)
        count = max(1, round(math.log(start / BEND) / math.log(coarse)))
        self.found = []
        for k in range(count):
            self.at_eps(BEND * (start / BEND) ** (1 - k / count))
        eps = BEND
        while True:
            self.at_eps(eps)
            growth = (fine ** 3.0 - 1) * self.deforms[-1]
            if growth > self.step:
                break
            eps /= fine

    def soft(self):
        rise = self.deforms[-1] - self.deforms[-2]
        length = np.linalg.norm((self.found[-1] - self.found[-2])[self.face]) / math.sqrt(len(self.face))
        length *= min(2.0, self.step / rise)
        past, halvings = 0, 0
        while True:
            try:
                self.along(length)
            except cellflow.NoSolution as reason:
                halvings += 1
                length /= 2
                if halvings > 12 or length < 1e-5 * self.options.lam:
                    return f"no solution ({reason})"
                continue
            rise = self.deforms[-1] - self.deforms[-2]
            if self.deforms[-1] >= self.options.top:
                return "top"
            if rise <= 0 or self.found[-1][-1] > self.found[-2][-1] or past:
                past += 1
                if past > self.options.past:
                    return "fold"
            else:
                length *= min(1.3, max(0.7, self.step / rise))
                length = min(length, self.options.longest * self.options.lam)


def main():
    options = arguments()
    with open(options.out, "w") as out:
        sweep = Sweep(options, out)
        try:
            sweep.stiff()
            reason = sweep.soft()
        except cellflow.NoSolution as stopped:
            reason = f"no solution ({stopped})"
        out.write(f"end {reason}\n")
        print("end", reason)


if __name__ == "__main__":
    main()
