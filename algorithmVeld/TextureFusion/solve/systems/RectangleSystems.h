#pragma once

#include "algorithmVeld/TextureFusion/solve/RectangleSolve.h"

#include <array>
#include <cstddef>

/// \file
/// The sparse systems behind `solve_rectangle`. Each needs a known and an unknown pixel.

namespace OrvaneAlgorithm::detail
{

/// The neighbours of a pixel that lie in the rectangle, by linear index, in rising order.
struct PixelNeighbours
{
    std::array<std::size_t, 4> index{};
    std::size_t n = 0;

    PixelNeighbours(std::size_t i, std::size_t width, std::size_t height)
    {
        std::size_t const x = i % width;
        add(i >= width, i - width);
        add(x > 0, i - 1);
        add(x + 1 < width, i + 1);
        add(i / width + 1 < height, i + width);
    }
    std::size_t const* begin() const { return index.data(); }
    std::size_t const* end() const { return index.data() + n; }

private:
    void add(bool is_inside, std::size_t neighbour)
    {
        if (is_inside)
        {
            index[n++] = neighbour;
        }
    }
};

/// One unknown for each unknown pixel, factorised by Eigen's simplicial LDLT.
RectangleFailure solve_simplicial(Image<3, float>& field, Image<1, unsigned char> const& mask);

/// The same unknowns, by Eigen's sparse LU. Steps "fill-sparse-matrix(*)" and
/// "matrix-decomposition(*)"; what Eigen says of a failure goes to the log.
/// \param parent the step above them
RectangleFailure solve_sparse_lu(Image<3, float>& field, Image<1, unsigned char> const& mask,
                                 char const* parent);

/// One unknown for each pixel and channel, by the direct solver.
RectangleFailure solve_pardiso(Image<3, float>& field, Image<1, unsigned char> const& mask);

} // namespace OrvaneAlgorithm::detail
