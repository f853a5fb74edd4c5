#include "calc/LinearAlgebra.h"

// Failures are told by results; Armadillo would also write lines of its own.
#define ARMA_DONT_PRINT_ERRORS
#define ARMA_WARN_LEVEL 0
#include <algorithm>
#include <armadillo>
#include <limits>

namespace Tessaly {

namespace {

/// A row of Armadillo's over memory of ours, which is neither copied nor written to.
arma::rowvec viewOf(std::span<const double> values) {
    return {const_cast<double*>(values.data()), values.size(), false, true};
}

} // namespace

std::optional<SquareMatrix> inverseOf(const SquareMatrix& matrix) {
    const arma::uword size = matrix.size();
    arma::mat values(size, size);
    for (arma::uword row = 0; row < size; ++row) {
        for (arma::uword column = 0; column < size; ++column) {
            values(row, column) = matrix[row][column];
        }
    }
    arma::mat inverted;
    if (size == 0 || !values.is_finite() || !arma::inv(inverted, values) || !inverted.is_finite()) {
        return std::nullopt;
    }
    // Rows that depend on each other often leave a pivot that is not quite 0.
    if (arma::rcond(values) < std::numeric_limits<double>::epsilon()) {
        return std::nullopt;
    }
    SquareMatrix result(size, std::vector<double>(size));
    for (arma::uword row = 0; row < size; ++row) {
        for (arma::uword column = 0; column < size; ++column) {
            result[row][column] = inverted(row, column);
        }
    }
    return result;
}

void interpolateLinearly(std::span<const double> x, std::span<const double> y, std::span<const double> places,
                         std::span<double> result) {
    arma::rowvec values;
    arma::interp1(viewOf(x), viewOf(y), viewOf(places), values, "*linear");
    std::copy(values.begin(), values.end(), result.begin());
}

} // namespace Tessaly
