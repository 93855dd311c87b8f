#pragma once

#include "algorithmVeld/TextureFusion/solve/sources/Sites.h"

#include <cstddef>
#include <memory>

namespace OrvaneAlgorithm::detail
{

/// Green's function of Laplace's equation on a rectangle of pixels with no flow across its edge:
/// the field of a source of strength 1 in one pixel, which flows off evenly in all of them, up to a
/// constant. By the mirror images of the source it is a sum of four values of the periodic function
/// on twice the width and height, which is the table.
class GreensTable
{
public:
    GreensTable(std::size_t width, std::size_t height);

    double operator()(Site const& p, Site const& q) const
    {
        std::size_t const near_x = p.x > q.x ? p.x - q.x : q.x - p.x;
        std::size_t const near_y = p.y > q.y ? p.y - q.y : q.y - p.y;
        std::size_t const far_x = folded(p.x + q.x + 1, width_);
        std::size_t const far_y = folded(p.y + q.y + 1, height_);
        double const* const near_line = &values_[near_y * (width_ + 1)];
        double const* const far_line = &values_[far_y * (width_ + 1)];
        return (near_line[near_x] + near_line[far_x]) + (far_line[near_x] + far_line[far_x]);
    }

private:
    static std::size_t folded(std::size_t distance, std::size_t half)
    {
        return distance <= half ? distance : 2 * half - distance;
    }

    void set_frequencies(std::size_t begin, std::size_t end);

    std::size_t width_;
    std::size_t height_;
    std::unique_ptr<double[]> values_; ///< by distance in y, then in x
};

} // namespace OrvaneAlgorithm::detail
