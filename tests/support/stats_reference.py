#!/usr/bin/env python3
"""Prints tests/stats/StatsReference.h: what NumPy, SciPy and scikit-learn say about samples that the tests make, too.

usage: stats_reference.py > tests/stats/StatsReference.h (then clang-format); needs the package python3-sklearn
"""

from fractions import Fraction

import numpy as np
import scipy
import sklearn
from scipy import ndimage, stats
from sklearn import metrics
from sklearn.discriminant_analysis import LinearDiscriminantAnalysis

KINDS = {
    "Plain": lambda u: u,
    "Shifted": lambda u: u + 0.4,
    "Tied": lambda u: np.floor(u * 5.0),
    "TiedShifted": lambda u: np.floor(u * 5.0) + 1.0,
    "Centred": lambda u: u - 0.45,
    "TiedCentred": lambda u: np.floor(u * 5.0) - 2.0,
    "Tiny": lambda u: (u - 0.3) * 1e-300,
    "Huge": lambda u: (u - 0.3) * 1e300,
    "Skewed": lambda u: u * u * u * 40.0,
    "Equal": lambda u: u * 0.0 + 0.1,
}


def sample(kind, seed, count):
    """As makeSample() in the tests: plain arithmetic, so that both make the same doubles."""
    x, values = seed, []
    for _ in range(count):
        x = (x * 1103515245 + 12345) % 2147483648
        values.append(x / 2147483648.0)
    return KINDS[kind](np.array(values))


def recipe(kind, seed, count):
    return f"{{SampleKind::{kind}, {seed}, {count}}}"


def number(value):
    return repr(float(value))


def normal_p(z):
    return min(1.0, 2.0 * stats.norm.sf(abs(z)))


def distinct(values):
    return len(np.unique(values)) == len(values)


def table(kind, name, rows):
    print(f"inline const std::vector<{kind}> {name}{{")
    for row in rows:
        print(f"    {{{', '.join(row)}}},")
    print("};\n")


def mann_whitney():
    cases = [
        (("Plain", 1, 8), ("Shifted", 2, 9)),
        (("Plain", 3, 3), ("Plain", 4, 3)),
        (("Tied", 5, 12), ("TiedShifted", 6, 10)),
        (("Tiny", 7, 20), ("Tiny", 8, 15)),
        (("Huge", 9, 20), ("Huge", 10, 15)),
        (("Plain", 11, 500), ("Shifted", 12, 400)),
        (("Tied", 13, 700), ("Tied", 14, 3)),
        (("Tied", 13, 3), ("TiedShifted", 13, 2000)),
    ]
    for one, two in cases:
        a, b = sample(*one), sample(*two)
        n1, n2 = len(a), len(b)
        found = stats.mannwhitneyu(a, b, use_continuity=False, method="asymptotic")
        u = min(found.statistic, n1 * n2 - found.statistic)
        # SciPy corrects for ties, which isn't wanted: the p-value is that of its U.
        p = normal_p((u - n1 * n2 / 2) / np.sqrt(n1 * n2 * (n1 + n2 + 1) / 12))
        if distinct(np.concatenate([a, b])):
            assert np.isclose(p, found.pvalue, rtol=1e-12)
        yield recipe(*one), recipe(*two), number(u), number(p)


def wilcoxon():
    for case in [("Centred", 21, 12), ("TiedCentred", 22, 40), ("Tiny", 23, 30), ("Huge", 24, 30), ("Centred", 25, 3),
                 ("Centred", 26, 900), ("Plain", 27, 25)]:  # fmt: skip
        d = sample(*case)
        found = stats.wilcoxon(d, zero_method="wilcox", correction=False, mode="approx")
        n = np.count_nonzero(d)
        p = normal_p((found.statistic - n * (n + 1) / 4) / np.sqrt(n * (n + 1) * (2 * n + 1) / 24))
        if distinct(np.abs(d)):
            assert np.isclose(p, found.pvalue, rtol=1e-12)
        yield recipe(*case), number(found.statistic), number(p)


def kruskal():
    for cases in [
        [("Plain", 31, 8), ("Shifted", 32, 9), ("Plain", 33, 3)],
        [("Tied", 34, 12), ("TiedShifted", 35, 10), ("Tied", 36, 8), ("Tied", 37, 5)],
        [("Tiny", 38, 6), ("Tiny", 39, 7)],
        [("Huge", 40, 300), ("Huge", 41, 200), ("Huge", 42, 100)],
        [("Plain", 43, 400), ("Shifted", 44, 400), ("Shifted", 45, 400)],
    ]:
        groups = [sample(*case) for case in cases]
        joined = np.concatenate(groups)
        # Without SciPy's correction for ties.
        h = stats.kruskal(*groups).statistic * stats.tiecorrect(stats.rankdata(joined))
        yield "{" + ", ".join(recipe(*case) for case in cases) + "}", number(h), number(stats.chi2.sf(h, len(groups) - 1))


def friedman():
    for cases in [
        [("Plain", 51, 8), ("Shifted", 52, 8), ("Plain", 53, 8)],
        [("Tied", 54, 30), ("TiedShifted", 55, 30), ("Tied", 56, 30), ("Tied", 57, 30)],
        [("Huge", 58, 3), ("Huge", 59, 3), ("Huge", 60, 3)],
    ]:
        conditions = np.array([sample(*case) for case in cases])
        k, n = conditions.shape
        sums = sum(stats.rankdata(column) for column in conditions.T)
        chi2 = 12 / (n * k * (k + 1)) * np.sum(sums**2) - 3 * n * (k + 1)
        if all(distinct(column) for column in conditions.T):
            assert np.isclose(chi2, stats.friedmanchisquare(*conditions).statistic, rtol=1e-12)
        yield "{" + ", ".join(recipe(*case) for case in cases) + "}", number(chi2), number(stats.chi2.sf(chi2, k - 1))


def chi2_tails():
    for degrees in (1, 2, 3, 5, 10, 59, 300):
        for p in (0.999, 0.9, 0.5, 0.1, 1e-3, 1e-10, 1e-100, 1e-300):
            x = float(f"{stats.chi2.isf(p, degrees):.6g}")
            yield number(x), str(degrees), number(stats.chi2.sf(x, degrees))


def summaries():
    for case in [("Plain", 61, 1), ("Plain", 62, 2), ("Skewed", 63, 5), ("Skewed", 64, 1000), ("Tied", 65, 44),
                 ("Centred", 66, 7), ("Equal", 67, 1001), ("Plain", 68, 30001)]:  # fmt: skip
        v = np.sort(sample(*case))
        n = len(v)
        equal = v[0] == v[-1]
        sd = 0.0 if n == 1 or equal else np.std(v, ddof=1)
        mean = v[0] if equal else np.mean(v)
        cv = sd / abs(mean) if abs(mean) >= 1e-15 else 0.0
        yield recipe(*case), *map(number, (np.median(v), mean, sd, cv, v[3 * n // 4] - v[n // 4]))


def roc():
    for one, two in [
        (("Plain", 71, 8), ("Shifted", 72, 9)),
        (("Shifted", 73, 8), ("Plain", 74, 9)),
        (("Tied", 75, 300), ("TiedShifted", 76, 200)),
        (("TiedShifted", 75, 30), ("Tied", 76, 20)),
        (("Tiny", 77, 15), ("Tiny", 78, 15)),
        (("Huge", 79, 15), ("Huge", 80, 15)),
        (("Plain", 81, 1), ("Plain", 82, 1)),
    ]:
        negatives, positives = sample(*one), sample(*two)
        labels = np.repeat([0, 1], [len(negatives), len(positives)])
        scores = np.concatenate([negatives, positives])
        higher = metrics.roc_auc_score(labels, scores) >= 0.5
        sign = 1.0 if higher else -1.0
        fpr, tpr, thresholds = metrics.roc_curve(labels, sign * scores, drop_intermediate=False)
        auc = metrics.roc_auc_score(labels, sign * scores)
        n0, n1 = len(negatives), len(positives)
        youden = [Fraction(round(t * n1), n1) - Fraction(round(f * n0), n0) for f, t in zip(fpr, tpr)]
        best = youden.index(max(youden))
        weights = np.arange(1, len(fpr) + 1)
        yield (
            recipe(*one), recipe(*two), "true" if higher else "false", str(len(fpr)), number(auc),
            number(sign * thresholds[best]), number(tpr[best]), number(1 - fpr[best]),
            number(np.dot(weights, fpr)), number(np.dot(weights, tpr)), number(sign * thresholds[0]),
        )  # fmt: skip


def discriminants():
    for n0, n1, seeds in [(8, 9, (91, 92)), (5, 12, (93, 94, 95)), (100, 80, (96, 97, 98, 99))]:
        negatives = np.array([sample("Plain", seed, n0) for seed in seeds])
        positives = np.array([sample("Shifted" if i % 2 == 0 else "Plain", seed + 100, n1) for i, seed in enumerate(seeds)])
        scatter = sum((x - x.mean(axis=1, keepdims=True)) @ (x - x.mean(axis=1, keepdims=True)).T for x in (negatives, positives))
        w = np.linalg.solve(scatter, positives.mean(axis=1) - negatives.mean(axis=1))
        x = np.hstack([negatives, positives]).T
        y = np.repeat([0, 1], [n0, n1])
        lda = LinearDiscriminantAnalysis(solver="lsqr").fit(x, y)
        assert np.allclose(lda.coef_[0] / np.linalg.norm(lda.coef_), w / np.linalg.norm(w), rtol=1e-6)
        auc = metrics.roc_auc_score(y, x @ w)
        yield (str(n0), str(n1), "{" + ", ".join(map(str, seeds)) + "}", "{" + ", ".join(map(number, w)) + "}", number(auc))


def densities():
    for case, low, high in [
        (("Skewed", 111, 3000), -5.0, 45.0), (("Tied", 112, 400), 0.0, 4.0), (("Plain", 113, 1), 0.0, 2.0),
        (("Equal", 114, 50), 0.1, 0.1), (("Shifted", 115, 2), 0.0, 1.5), (("Huge", 116, 200), -3e299, 7e299),
    ]:  # fmt: skip
        v = np.sort(sample(*case))
        n = len(v)
        r = high - low if high > low else 1.0
        start = low - 0.05 * r
        step = (low + r + 0.05 * r - start) / 255
        scale = 2.0 ** -1000 if abs(high) > 1e200 else 1.0  # keeps NumPy's squares in range
        sd = 0.0 if v[0] == v[-1] else np.std(v * scale) / scale
        s = min(sd, (v[3 * n // 4] - v[n // 4]) / 1.34)
        s = sd if s < 1e-15 else s
        s = r * 0.01 if s < 1e-15 else s
        h = max(0.5 * s * n**-0.2, step)
        t = (v - start) / step
        i = np.minimum(t.astype(int), 254)
        bins = np.zeros(256)
        np.add.at(bins, i, 1 - (t - i))
        np.add.at(bins, i + 1, t - i)
        k = max(int(np.ceil(4 * h / step)), 1)
        w = np.exp(-0.5 * (np.arange(-k, k + 1) * step / h) ** 2)
        d = ndimage.convolve1d(bins, w / w.sum(), mode="constant")
        d = d / (d.sum() * step)
        peak = int(np.argmax(d))
        yield (
            recipe(*case), number(low), number(high), number(start), number(step), str(peak),
            *(number(d[j] * r) for j in (peak, max(peak - 2, 0), min(peak + 5, 255), 17, 128)), number(np.dot(np.arange(256), d) * step),
        )  # fmt: skip


def main():
    print(f"""#pragma once

// Made by tests/support/stats_reference.py with NumPy {np.__version__}, SciPy {scipy.__version__} and scikit-learn {sklearn.__version__}.

#include "stats/StatsSamples.h"

namespace Tessaly {{
""")
    table("TwoSampleRow", "mannWhitneyRows", mann_whitney())
    table("OneSampleRow", "wilcoxonRows", wilcoxon())
    table("ManySampleRow", "kruskalRows", kruskal())
    table("ManySampleRow", "friedmanRows", friedman())
    table("TailRow", "tailRows", chi2_tails())
    table("SummaryRow", "summaryRows", summaries())
    table("RocRow", "rocRows", roc())
    table("DiscriminantRow", "discriminantRows", discriminants())
    table("DensityRow", "densityRows", densities())
    print("} // namespace Tessaly")


if __name__ == "__main__":
    main()
