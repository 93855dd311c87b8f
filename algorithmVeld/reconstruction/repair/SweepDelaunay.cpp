#include "algorithmVeld/reconstruction/repair/SweepDelaunay.h"

#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr float SMALLEST_RISE = 1.1920929e-7F; ///< Of an edge that is not along x.
constexpr float ROOT_OF_3 = 1.7320508F;
constexpr float MARGIN = 0.01F; ///< Of the box around the points, in its sides.
constexpr float WIDENED = 1.000001F;
constexpr std::size_t POLL_STRIDE = 256;

bool is_level(float rise)
{
    return std::abs(rise) < SMALLEST_RISE;
}

float middle(float a, float b)
{
    return (a + b) * 0.5F;
}

/// The slope of the line that halves an edge at a right angle.
float bisector_slope(Vector2f const& a, Vector2f const& b)
{
    return -((b.x() - a.x()) / (b.y() - a.y()));
}

/// The centre where the edge `a`-`b` is along x and the edge `c`-`d` is not.
Vector2f centre_over_level_edge(Vector2f const& a, Vector2f const& b, Vector2f const& c,
                                Vector2f const& d)
{
    float const cx = middle(b.x(), a.x());
    return {cx, (cx - middle(d.x(), c.x())) * bisector_slope(c, d) + middle(d.y(), c.y())};
}

Vector2f centre_of_level_corners(Vector2f const& a, Vector2f const& b, Vector2f const& c)
{
    auto const [least, largest] = std::minmax({a.x(), b.x(), c.x()});
    return {middle(least, largest), a.y()};
}

Vector2f centre_where_bisectors_meet(Vector2f const& a, Vector2f const& b, Vector2f const& c)
{
    float const m1 = bisector_slope(a, b);
    float const m2 = bisector_slope(b, c);
    float const mx1 = middle(a.x(), b.x());
    float const mx2 = middle(b.x(), c.x());
    float const my1 = middle(a.y(), b.y());
    float const my2 = middle(b.y(), c.y());
    float const cx = (mx1 * m1 - mx2 * m2 + my2 - my1) / (m1 - m2);
    return {cx, (cx - mx1) * m1 + my1};
}

Vector2f circumcentre(Vector2f const& a, Vector2f const& b, Vector2f const& c)
{
    bool const is_first_level = is_level(b.y() - a.y());
    bool const is_second_level = is_level(c.y() - b.y());
    if (is_first_level)
    {
        return is_second_level ? centre_of_level_corners(a, b, c)
                               : centre_over_level_edge(a, b, b, c);
    }
    return is_second_level ? centre_over_level_edge(b, c, a, b)
                           : centre_where_bisectors_meet(a, b, c);
}

/// Corners of the triangle that the sweep begins with.
std::array<Vector2f, 3> super_triangle(std::vector<Vector2f> const& points)
{
    auto const [lowest, highest] =
        std::minmax_element(points.begin(), points.end(),
                            [](Vector2f const& a, Vector2f const& b) { return a.y() < b.y(); });
    float dx = points.back().x() - points.front().x();
    float dy = highest->y() - lowest->y();
    float const margin_x = dx * MARGIN;
    float const margin_y = dy * MARGIN;
    float const xmin = points.front().x() - margin_x;
    float const xmax = points.back().x() + margin_x;
    float const ymin = lowest->y() - margin_y;
    float const ymax = highest->y() + margin_y;
    dx += 2.0F * margin_x;
    dy += 2.0F * margin_y;
    return {Vector2f(xmin - dy * ROOT_OF_3 / 3.0F, ymin),
            Vector2f(xmax + dy * ROOT_OF_3 / 3.0F, ymin),
            Vector2f(middle(xmin, xmax), ymax + dx * ROOT_OF_3 * 0.5F)};
}

/// The sweep over points in its order.
class Sweep
{
public:
    Sweep(std::vector<Vector2f> const& points, std::vector<DelaunayTriangle>& completed)
        : n_(static_cast<int>(points.size())), corners_(points), completed_(completed)
    {
        auto const super = super_triangle(points);
        corners_.insert(corners_.end(), super.begin(), super.end());
        add_triangle(n_, n_ + 1, n_ + 2);
    }

    void run()
    {
        CancelPoll poll(POLL_STRIDE);
        for (int i = 0; i < n_; ++i)
        {
            poll.next();
            pass(corner(i));
            close_hole(i);
        }
    }

private:
    struct Edge
    {
        int first; // Comes before the second in the order of the sweep.
        int second;
    };

    Vector2f const& corner(int i) const { return corners_[static_cast<std::size_t>(i)]; }

    /// Points are numbered in this order; the three corners around them find their places by
    /// position.
    bool comes_before(int a, int b) const
    {
        if (a < n_ && b < n_)
        {
            return a < b;
        }
        return is_swept_before(corner(a), corner(b)) ||
               (!is_swept_before(corner(b), corner(a)) && a < b);
    }

    void add_triangle(int a, int b, int c)
    {
        open_.push_back({{a, b, c}, circumcircle(corner(a), corner(b), corner(c))});
    }

    bool is_among_points(DelaunayTriangle const& triangle) const
    {
        return std::all_of(triangle.corners.begin(), triangle.corners.end(),
                           [this](int i) { return i < n_; });
    }

    /// Takes out the triangles that the sweep has passed, and those whose circle holds the point,
    /// of which the edges stay. What is left keeps its order.
    void pass(Vector2f const& point)
    {
        auto const goes = [&](DelaunayTriangle const& triangle)
        {
            auto const& circle = triangle.circle;
            if (point.x() > circle.cx + circle.radius)
            {
                if (is_among_points(triangle))
                {
                    completed_.push_back(triangle);
                }
                return true;
            }
            float const dx = point.x() - circle.cx;
            float const dy = point.y() - circle.cy;
            if (dx * dx + dy * dy <= circle.wide_square_radius)
            {
                add_edges(triangle);
                return true;
            }
            return false;
        };
        std::size_t kept = 0;
        for (auto const& triangle : open_)
        {
            if (!goes(triangle))
            {
                open_[kept++] = triangle;
            }
        }
        open_.resize(kept);
    }

    void add_edges(DelaunayTriangle const& triangle)
    {
        for (std::size_t i = 0; i < 3; ++i)
        {
            int const a = triangle.corners[i];
            int const b = triangle.corners[(i + 1) % 3];
            hole_edges_.push_back(comes_before(a, b) ? Edge{a, b} : Edge{b, a});
        }
    }

    /// Connects the point to the outline of the hole around it. Edges that come up twice are inside
    /// the hole; where rounding lets one come up more often, every second time takes it out again.
    void close_hole(int point)
    {
        std::sort(hole_edges_.begin(), hole_edges_.end(),
                  [this](Edge const& a, Edge const& b)
                  {
                      return a.first != b.first
                                 ? comes_before(a.first, b.first)
                                 : a.second != b.second && comes_before(a.second, b.second);
                  });
        for (std::size_t i = 0; i < hole_edges_.size();)
        {
            auto const edge = hole_edges_[i];
            bool is_outline = false;
            for (; i < hole_edges_.size() && hole_edges_[i].first == edge.first &&
                   hole_edges_[i].second == edge.second;
                 ++i)
            {
                is_outline = !is_outline;
            }
            if (is_outline)
            {
                add_triangle(edge.first, edge.second, point);
            }
        }
        hole_edges_.clear();
    }

    int n_;                         // Points; three corners more lie around them.
    std::vector<Vector2f> corners_; // In the order of the sweep, then those three.
    std::vector<DelaunayTriangle>& completed_;
    std::vector<DelaunayTriangle> open_; // In the order in which they were made.
    std::vector<Edge> hole_edges_;
};

/// The different ones of some points in the order of the sweep; of equal ones the first.
std::vector<Vector2f> in_sweep_order(std::vector<Vector2f> points)
{
    std::stable_sort(points.begin(), points.end(), is_swept_before);
    points.erase(std::unique(points.begin(), points.end()), points.end());
    return points;
}

} // namespace

Circumcircle circumcircle(Vector2f const& a, Vector2f const& b, Vector2f const& c)
{
    Vector2f const centre = circumcentre(a, b, c);
    float const dx = a.x() - centre.x();
    float const dy = a.y() - centre.y();
    float const square_radius = dx * dx + dy * dy;
    return {centre.x(), centre.y(), std::sqrt(square_radius), square_radius * WIDENED};
}

void delaunay_triangulate(std::vector<Vector2f> const& vertices,
                          std::vector<DelaunayTriangle>& triangles, std::vector<Vector2f>& points,
                          std::vector<std::array<int, 3>>& triples)
{
    triangles.clear();
    triples.clear();
    points = in_sweep_order(vertices);
    if (points.size() < 3)
    {
        points.clear();
        return;
    }
    Sweep(points, triangles).run();
    // What a point completes comes in the order in which it was made, so that equal centres do.
    std::stable_sort(
        triangles.begin(), triangles.end(),
        [](DelaunayTriangle const& a, DelaunayTriangle const& b) {
            return is_swept_before({a.circle.cx, a.circle.cy}, {b.circle.cx, b.circle.cy});
        });
    triples.reserve(triangles.size());
    for (auto const& triangle : triangles)
    {
        triples.push_back(triangle.corners);
    }
}

} // namespace OrvaneAlgorithm::detail
