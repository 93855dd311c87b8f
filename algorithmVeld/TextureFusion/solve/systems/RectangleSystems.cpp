#include "algorithmVeld/TextureFusion/solve/systems/RectangleSystems.h"

#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/common/solver/LoggedSolve.h"

#include <Eigen/SparseCholesky>
#include <Eigen/SparseLU>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr int N_CHANNELS = 3;

std::size_t n_pixels(Image<1, unsigned char> const& mask)
{
    return static_cast<std::size_t>(mask.width()) * static_cast<std::size_t>(mask.height());
}

PixelNeighbours neighbours_of(std::size_t i, Image<1, unsigned char> const& mask)
{
    return {i, static_cast<std::size_t>(mask.width()), static_cast<std::size_t>(mask.height())};
}

/// Pixels, and the entries of the direct solver, are counted by `int`.
bool fits_a_matrix(std::size_t n_entries)
{
    return n_entries <= static_cast<std::size_t>(std::numeric_limits<int>::max());
}

/// The unknown pixels in their order, and the number of each pixel among them, -1 for known ones.
struct UnknownPixels
{
    std::vector<int> pixels;
    std::vector<int> numbers;

    explicit UnknownPixels(Image<1, unsigned char> const& mask) : numbers(n_pixels(mask), -1)
    {
        for (std::size_t i = 0; i < numbers.size(); ++i)
        {
            if (mask.data()[i] == 0)
            {
                numbers[i] = static_cast<int>(pixels.size());
                pixels.push_back(static_cast<int>(i));
            }
        }
    }
};

/// Its factors may have more entries than an `int` counts.
using UnknownMatrix = Eigen::SparseMatrix<double, Eigen::ColMajor, std::ptrdiff_t>;

/// The lower triangle of the symmetric matrix of the unknown pixels.
UnknownMatrix unknown_matrix(UnknownPixels const& unknown, Image<1, unsigned char> const& mask)
{
    auto const n = static_cast<int>(unknown.pixels.size());
    UnknownMatrix a(n, n);
    a.reserve(3 * static_cast<Eigen::Index>(n));
    for (int k = 0; k < n; ++k)
    {
        auto const i = static_cast<std::size_t>(unknown.pixels[static_cast<std::size_t>(k)]);
        auto const neighbours = neighbours_of(i, mask);
        a.startVec(k);
        a.insertBack(k, k) = static_cast<double>(neighbours.n);
        for (std::size_t const j : neighbours)
        {
            if (unknown.numbers[j] > k)
            {
                a.insertBack(unknown.numbers[j], k) = -1.0;
            }
        }
    }
    a.finalize();
    return a;
}

/// For each unknown pixel the sum of the known ones beside it.
Eigen::MatrixX3d unknown_right_side(UnknownPixels const& unknown, Image<3, float> const& field,
                                    Image<1, unsigned char> const& mask)
{
    auto const n = static_cast<Eigen::Index>(unknown.pixels.size());
    Eigen::MatrixX3d b = Eigen::MatrixX3d::Zero(n, N_CHANNELS);
    for (Eigen::Index k = 0; k < n; ++k)
    {
        auto const i = static_cast<std::size_t>(unknown.pixels[static_cast<std::size_t>(k)]);
        for (std::size_t const j : neighbours_of(i, mask))
        {
            for (int c = 0; c < N_CHANNELS && mask.data()[j] != 0; ++c)
            {
                b(k, c) += static_cast<double>(field.data()[N_CHANNELS * j + c]);
            }
        }
    }
    return b;
}

void store_unknown(Eigen::MatrixX3d const& x, UnknownPixels const& unknown, Image<3, float>& field)
{
    for (std::size_t k = 0; k < unknown.pixels.size(); ++k)
    {
        float* const pixel =
            field.data() + N_CHANNELS * static_cast<std::size_t>(unknown.pixels[k]);
        for (int c = 0; c < N_CHANNELS; ++c)
        {
            pixel[c] = static_cast<float>(x(static_cast<Eigen::Index>(k), c));
        }
    }
}

/// Each unknown pixel less the mean of its neighbours is 0; known ones are what they are.
RowMajorMatrix mean_matrix(Image<1, unsigned char> const& mask)
{
    std::size_t const n = n_pixels(mask);
    auto const n_rows = static_cast<Eigen::Index>(N_CHANNELS * n);
    RowMajorMatrix a(n_rows, n_rows);
    a.reserve(5 * n_rows);
    for (std::size_t i = 0; i < n; ++i)
    {
        auto const neighbours = neighbours_of(i, mask);
        double const weight = -1.0 / static_cast<double>(neighbours.n);
        for (std::size_t c = 0; c < N_CHANNELS; ++c)
        {
            auto const row = static_cast<Eigen::Index>(N_CHANNELS * i + c);
            auto const add = [&](std::size_t j, double value)
            { a.insertBack(row, static_cast<Eigen::Index>(N_CHANNELS * j + c)) = value; };
            a.startVec(row);
            bool has_diagonal = false;
            for (std::size_t k = 0; k < neighbours.n && mask.data()[i] == 0; ++k)
            {
                if (neighbours.index[k] > i && !has_diagonal)
                {
                    add(i, 1.0);
                    has_diagonal = true;
                }
                add(neighbours.index[k], weight);
            }
            if (!has_diagonal)
            {
                add(i, 1.0);
            }
        }
    }
    a.finalize();
    return a;
}

} // namespace

RectangleFailure solve_simplicial(Image<3, float>& field, Image<1, unsigned char> const& mask)
{
    if (!fits_a_matrix(n_pixels(mask)))
    {
        return RectangleFailure::DECOMPOSITION;
    }
    UnknownPixels const unknown(mask);
    Eigen::SimplicialLDLT<UnknownMatrix> solver;
    poll_cancel();
    solver.compute(unknown_matrix(unknown, mask));
    poll_cancel();
    if (solver.info() != Eigen::Success)
    {
        return RectangleFailure::DECOMPOSITION;
    }
    Eigen::MatrixX3d const x = solver.solve(unknown_right_side(unknown, field, mask));
    if (solver.info() != Eigen::Success || !x.allFinite())
    {
        return RectangleFailure::SOLUTION;
    }
    store_unknown(x, unknown, field);
    return RectangleFailure::NONE;
}

RectangleFailure solve_sparse_lu(Image<3, float>& field, Image<1, unsigned char> const& mask,
                                 char const* parent)
{
    UnknownPixels const unknown(mask);
    UnknownMatrix a;
    Eigen::MatrixX3d b;
    {
        StepTimer const timer("fill-sparse-matrix(*)", parent);
        a = unknown_matrix(unknown, mask).selfadjointView<Eigen::Lower>();
        b = unknown_right_side(unknown, field, mask);
    }
    Eigen::SparseLU<UnknownMatrix> solver;
    {
        StepTimer const timer("matrix-decomposition(*)", parent);
        poll_cancel();
        solver.compute(a);
        poll_cancel();
    }
    if (solver.info() != Eigen::Success)
    {
        log("%s\n", solver.lastErrorMessage().c_str());
        return RectangleFailure::SPARSE_LU;
    }
    Eigen::MatrixX3d const x = solver.solve(b);
    if (!x.allFinite())
    {
        return RectangleFailure::SPARSE_LU;
    }
    store_unknown(x, unknown, field);
    return RectangleFailure::NONE;
}

RectangleFailure solve_pardiso(Image<3, float>& field, Image<1, unsigned char> const& mask)
{
    std::size_t const n = N_CHANNELS * n_pixels(mask);
    if (!fits_a_matrix(5 * n))
    {
        return RectangleFailure::PARDISO;
    }
    Eigen::VectorXd b = Eigen::VectorXd::Zero(static_cast<Eigen::Index>(n));
    for (std::size_t i = 0; i < n; ++i)
    {
        if (mask.data()[i / N_CHANNELS] != 0)
        {
            b[static_cast<Eigen::Index>(i)] = static_cast<double>(field.data()[i]);
        }
    }
    std::vector<double> x;
    if (!solve_logged(mean_matrix(mask), b, x))
    {
        return RectangleFailure::PARDISO;
    }
    for (std::size_t i = 0; i < n; ++i)
    {
        if (mask.data()[i / N_CHANNELS] == 0)
        {
            field.data()[i] = static_cast<float>(x[i]);
        }
    }
    return RectangleFailure::NONE;
}

} // namespace OrvaneAlgorithm::detail
