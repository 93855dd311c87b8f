#include "workflow/clouds/PlaneFits.h"

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <Eigen/Eigenvalues>

#include <algorithm>
#include <cstddef>

namespace veld
{

namespace
{

namespace detail = OrvaneAlgorithm::detail;
using OrvaneAlgorithm::KdTree3f;
using OrvaneAlgorithm::Matrix3d;
using OrvaneAlgorithm::Vector3d;

constexpr int MOST_GROWTH = 8;

/// Points whose spread across is less than this part of the one along lie on a line.
constexpr double LINE_RATIO = 0.01;

/// Beyond all distances of points that the tree holds, and its square is finite.
constexpr float ANY_DISTANCE = 1e19F;

/// The point in front, then its neighbours in rising distance.
struct Surroundings
{
    std::vector<int> points;
    std::vector<float> sq_dists;
};

/// Directions in which points spread, and how far.
struct Spread
{
    Vector3d least = Vector3d::Zero();
    bool is_line = true;
};

/// The weights fall with the square of the distance, to a half. No function that rounds
/// differently from machine to machine is needed for that.
Spread spread_of(std::vector<Vector3f> const& points, std::vector<int> const& around)
{
    auto const place = [&](int i) -> Vector3d
    { return points[static_cast<std::size_t>(i)].cast<double>(); };
    Vector3d const origin = place(around.front());
    double const reach = (place(around.back()) - origin).squaredNorm();
    double weights = 0.0;
    Vector3d sum = Vector3d::Zero();
    Matrix3d squares = Matrix3d::Zero();
    for (int const i : around)
    {
        Vector3d const d = place(i) - origin;
        double const weight = 1.0 - 0.5 * d.squaredNorm() / reach;
        weights += weight;
        sum += weight * d;
        squares += weight * d * d.transpose();
    }
    squares -= sum * sum.transpose() / weights;
    Eigen::SelfAdjointEigenSolver<Matrix3d> const solver(squares);
    auto const& squared_lengths = solver.eigenvalues(); // rising
    Spread spread;
    spread.least = solver.eigenvectors().col(0);
    spread.is_line = !(squared_lengths[1] > LINE_RATIO * LINE_RATIO * squared_lengths[2]);
    return spread;
}

/// Of the two senses the one whose largest coordinate is positive, for a start that does not hang
/// on how the solver works.
Vector3f in_one_sense(Vector3d const& normal)
{
    Eigen::Index axis = 0;
    normal.cwiseAbs().maxCoeff(&axis);
    Vector3d const turned = normal[axis] < 0.0 ? Vector3d(-normal) : normal;
    return turned.cast<float>();
}

/// Neighbours at ranks that are evenly apart, the nearest and the farthest among them.
SomeNeighbours some_of(std::vector<int> const& around)
{
    SomeNeighbours some;
    some.fill(-1);
    std::size_t const n = around.size() - 1;
    for (std::size_t k = 0; k < std::min(n, some.size()); ++k)
    {
        some[k] = around[1 + (n <= some.size() ? k : k * (n - 1) / (some.size() - 1))];
    }
    return some;
}

/// The nearest points, with the point itself in front.
void find_surroundings(std::vector<Vector3f> const& points, KdTree3f const& tree, std::size_t i,
                       int neighbours, Surroundings& around)
{
    tree.radius_search(points[i], ANY_DISTANCE, around.points, around.sq_dists, neighbours + 1);
    // Squares of tiny distances may all be zero, so that others stand in front.
    auto const self = std::find(around.points.begin(), around.points.end(), static_cast<int>(i));
    if (self != around.points.end())
    {
        std::rotate(around.points.begin(), self, self + 1);
    }
}

void fit_plane(std::vector<Vector3f> const& points, KdTree3f const& tree, int neighbours,
               std::size_t i, Surroundings& around, PlaneFits& fits)
{
    int const most = std::min(MOST_GROWTH * neighbours, static_cast<int>(points.size()) - 1);
    int n = std::min(neighbours, most);
    find_surroundings(points, tree, i, n, around);
    Spread spread = spread_of(points, around.points);
    while (spread.is_line && n < most)
    {
        n = std::min(2 * n, most);
        find_surroundings(points, tree, i, n, around);
        spread = spread_of(points, around.points);
    }
    if (!spread.is_line)
    {
        fits.normals[i] = in_one_sense(spread.least);
        fits.fits[i] = PlaneFit::DONE;
        fits.neighbours[i] = some_of(around.points);
    }
}

} // namespace

PlaneFits fit_planes(std::vector<Vector3f> const& points, int neighbours)
{
    constexpr std::size_t FEWEST_POINTS = 3;
    constexpr std::size_t BLOCK = 256;
    std::size_t const n = points.size();
    SomeNeighbours none;
    none.fill(-1);
    PlaneFits fits;
    fits.normals.assign(n, Vector3f::Zero());
    fits.fits.assign(n, n < FEWEST_POINTS ? PlaneFit::FEW_POINTS : PlaneFit::LINE);
    fits.neighbours.assign(n, none);
    if (n < FEWEST_POINTS)
    {
        return fits;
    }
    detail::Stages stages({1, 9});
    stages.next();
    KdTree3f tree;
    tree.build_kdtree(points);
    stages.next();
    detail::parallel_for_uneven(static_cast<std::ptrdiff_t>((n + BLOCK - 1) / BLOCK),
                                [&](std::ptrdiff_t k)
                                {
                                    Surroundings around; // once for the points of a block
                                    auto const begin = static_cast<std::size_t>(k) * BLOCK;
                                    for (std::size_t i = begin; i < std::min(n, begin + BLOCK); ++i)
                                    {
                                        fit_plane(points, tree, neighbours, i, around, fits);
                                    }
                                });
    return fits;
}

} // namespace veld
