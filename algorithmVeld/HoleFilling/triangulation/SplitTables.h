#pragma once

#include "algorithmVeld/HoleFilling/triangulation/PolygonSearch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Costs and choices of all sub-polygons i..j of a polygon, i < j.
///
/// A sub-polygon is looked at as the right part of a split from a later corner j and as the left
/// part of one from an earlier corner i; both scans find what they compare side by side. The
/// splits of a sub-polygon lie `stride` apart, so the corners i of a column j are grouped by their
/// remainder, and a row i keeps only what a split can meet.
class SplitTables
{
public:
    SplitTables(std::vector<Vector3f> const& points, std::size_t stride)
        : n_(points.size()), stride_(stride), place_(n_), row_(n_)
    {
        std::size_t const pairs = n_ * (n_ - 1) / 2;
        weight_angle_ = make<float>(pairs);
        weight_area_ = make<float>(pairs);
        lambda_ = make<int>(pairs);
        normal_ = make<Vector3f>(pairs);

        std::size_t row_places = 0;
        for (std::size_t i = 0; i < n_; ++i)
        {
            place_[i] = {i % stride, i / stride};
            row_[i] = row_places;
            row_places += (n_ - 1 - i + stride - 1) / stride;
        }
        row_angle_ = make<float>(row_places);
        row_area_ = make<float>(row_places);
        sort_points(points);
    }

    std::size_t size() const { return n_; }
    std::size_t stride() const { return stride_; }

    /// Place of i..j in the columns. The corners i, i + stride, .. of a column follow each other.
    std::size_t at(std::size_t i, std::size_t j) const
    {
        Place const& p = place_[i];
        Place const& column = place_[j];
        return j * (j - 1) / 2 + p.remainder * column.quotient +
               std::min(p.remainder, column.remainder) + p.quotient;
    }

    /// What is compared lies side by side: in the column of j from a place on, in the row of i.
    float const* column_angle(std::size_t at) const { return &weight_angle_[at]; }
    float const* column_area(std::size_t at) const { return &weight_area_[at]; }
    float const* row_angle(std::size_t i) const { return &row_angle_[row_[i]]; }
    float const* row_area(std::size_t i) const { return &row_area_[row_[i]]; }

    /// Place of a corner where all are sorted as in a column.
    std::size_t place(std::size_t i) const
    {
        Place const& p = place_[i];
        return p.remainder * (n_ / stride_) + std::min(p.remainder, n_ % stride_) + p.quotient;
    }
    /// Coordinates of the corners i, i + stride, .. that follow each other.
    std::array<float const*, 3> coordinates(std::size_t i) const
    {
        std::size_t const k = place(i);
        return {&coordinates_[0][k], &coordinates_[1][k], &coordinates_[2][k]};
    }

    int split(std::size_t i, std::size_t j) const { return lambda_[at(i, j)]; }
    Vector3f const& normal(std::size_t i, std::size_t j) const { return normal_[at(i, j)]; }
    SplitCost cost(std::size_t i, std::size_t j) const
    {
        return {weight_angle_[at(i, j)], weight_area_[at(i, j)]};
    }

    /// \param normal unit normal of the triangle on i-j
    void set(std::size_t i, std::size_t j, SplitCost const& cost, int split, Vector3f const& normal)
    {
        std::size_t const c = at(i, j);
        weight_angle_[c] = cost.angle;
        weight_area_[c] = cost.area;
        lambda_[c] = split;
        normal_[c] = normal;
        if ((j - i - 1) % stride_ == 0)
        {
            std::size_t const r = row_[i] + (j - i - 1) / stride_;
            row_angle_[r] = cost.angle;
            row_area_[r] = cost.area;
        }
    }

private:
    struct Place
    {
        std::size_t remainder;
        std::size_t quotient;
    };

    /// Without touching the memory: every element is written before it is read.
    template <typename T>
    static std::unique_ptr<T[]> make(std::size_t size)
    {
        return std::unique_ptr<T[]>(new T[size]);
    }

    void sort_points(std::vector<Vector3f> const& points)
    {
        for (std::size_t first = 0; first < stride_; ++first)
        {
            for (std::size_t i = first; i < n_; i += stride_)
            {
                for (int c = 0; c < 3; ++c)
                {
                    coordinates_[static_cast<std::size_t>(c)].push_back(points[i][c]);
                }
            }
        }
    }

    std::size_t n_;
    std::size_t stride_;
    std::array<std::vector<float>, 3> coordinates_;
    std::vector<Place> place_;
    std::vector<std::size_t> row_;
    std::unique_ptr<float[]> weight_angle_;
    std::unique_ptr<float[]> weight_area_;
    std::unique_ptr<int[]> lambda_;
    std::unique_ptr<Vector3f[]> normal_;
    std::unique_ptr<float[]> row_angle_;
    std::unique_ptr<float[]> row_area_;
};

} // namespace OrvaneAlgorithm::detail
