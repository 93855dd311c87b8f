#include "algorithmVeld/common/mesh_files/PolygonTriangles.h"

#include <Eigen/Geometry>

#include <limits>
#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

using Vector2d = Eigen::Vector2d;

/// Twice the area of a triangle; positive if it turns to the left.
double turn(Vector2d const& a, Vector2d const& b, Vector2d const& c)
{
    return (b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x());
}

/// The polygon in the plane of its mean normal, in which it turns to the left.
std::vector<Vector2d> flattened(std::vector<Vector3f> const& corners)
{
    std::vector<Vector3d> points;
    points.reserve(corners.size());
    for (auto const& corner : corners)
    {
        points.push_back(corner.cast<double>() - corners.front().cast<double>());
    }
    Vector3d normal = Vector3d::Zero();
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        normal += points[i].cross(points[(i + 1) % points.size()]);
    }
    // The coordinate along which the normal is longest is left out: no rounding by a rotation.
    Eigen::Index longest = 0;
    normal.cwiseAbs().maxCoeff(&longest);
    Eigen::Index u = (longest + 1) % 3;
    Eigen::Index v = (longest + 2) % 3;
    if (normal[longest] < 0.0)
    {
        std::swap(u, v);
    }
    std::vector<Vector2d> flat;
    flat.reserve(points.size());
    for (auto const& point : points)
    {
        flat.emplace_back(point[u], point[v]);
    }
    return flat;
}

/// A polygon from which ears are cut until three corners are left.
class EarCutter
{
public:
    explicit EarCutter(std::vector<Vector3f> const& corners)
        : corners_(corners),
          flat_(flattened(corners)),
          before_(corners.size()),
          after_(corners.size()),
          obstacle_(corners.size())
    {
        for (std::size_t i = 0; i < corners.size(); ++i)
        {
            after_[i] = (i + 1) % corners.size();
            before_[after_[i]] = i;
        }
        for (std::size_t i = 0; i < corners.size(); ++i)
        {
            obstacle_[i] = obstacle_of(i);
        }
    }

    std::vector<std::array<int, 3>> cut()
    {
        std::vector<std::array<int, 3>> triangles;
        std::size_t left = corners_.size();
        for (; left > 3; --left)
        {
            auto const ear = best_ear();
            triangles.push_back(triangle(ear));
            auto const before = before_[ear];
            auto const after = after_[ear];
            after_[before] = after;
            before_[after] = before;
            first_ = after;
            renew(before);
            renew(after);
        }
        triangles.push_back(triangle(first_));
        return triangles;
    }

private:
    static constexpr std::size_t NONE = std::numeric_limits<std::size_t>::max();

    std::array<int, 3> triangle(std::size_t i) const
    {
        return {static_cast<int>(before_[i]), static_cast<int>(i), static_cast<int>(after_[i])};
    }

    bool is_convex(std::size_t i) const
    {
        return turn(flat_[before_[i]], flat_[i], flat_[after_[i]]) > 0.0;
    }

    /// What keeps a corner from being an ear: itself if it is not convex, or one that lies in its
    /// triangle; NONE for an ear. It is enough to ask those that are not convex. One at the place
    /// of a corner of the triangle, as at a bridge to a hole, is not in the way.
    std::size_t obstacle_of(std::size_t i) const
    {
        if (!is_convex(i))
        {
            return i;
        }
        auto const& a = flat_[before_[i]];
        auto const& b = flat_[i];
        auto const& c = flat_[after_[i]];
        for (auto other = after_[after_[i]]; other != before_[i]; other = after_[other])
        {
            auto const& p = flat_[other];
            bool const is_inside =
                turn(a, b, p) >= 0.0 && turn(b, c, p) >= 0.0 && turn(c, a, p) >= 0.0;
            if (is_inside && p != a && p != b && p != c && !is_convex(other))
            {
                return other;
            }
        }
        return NONE;
    }

    /// Looks at a corner again beside which one was cut off. If that made it convex it no longer is
    /// in the way of others.
    void renew(std::size_t i)
    {
        bool const was_convex = obstacle_[i] != i;
        obstacle_[i] = obstacle_of(i);
        if (was_convex || obstacle_[i] == i)
        {
            return;
        }
        for (auto other = after_[i]; other != i; other = after_[other])
        {
            if (obstacle_[other] == i)
            {
                obstacle_[other] = obstacle_of(other);
            }
        }
    }

    /// The ear with the shortest cut. Where the polygon crosses itself there may be none: then any
    /// convex corner, then any.
    std::size_t best_ear() const
    {
        for (int const demand : {2, 1, 0})
        {
            double best = std::numeric_limits<double>::infinity();
            std::size_t ear = corners_.size();
            auto i = first_;
            do
            {
                double const cut =
                    (corners_[before_[i]].cast<double>() - corners_[after_[i]].cast<double>())
                        .squaredNorm();
                bool const fits =
                    demand == 2 ? obstacle_[i] == NONE : demand == 0 || obstacle_[i] != i;
                if (fits && (cut < best || (cut == best && i < ear)))
                {
                    best = cut;
                    ear = i;
                }
                i = after_[i];
            } while (i != first_);
            if (ear < corners_.size())
            {
                return ear;
            }
        }
        return first_;
    }

    std::vector<Vector3f> const& corners_;
    std::vector<Vector2d> flat_;
    std::vector<std::size_t> before_;
    std::vector<std::size_t> after_;
    std::vector<std::size_t> obstacle_;
    std::size_t first_ = 0; ///< A corner that is still there.
};

} // namespace

std::vector<std::array<int, 3>> triangulate_polygon(std::vector<Vector3f> const& corners)
{
    return EarCutter(corners).cut();
}

} // namespace OrvaneAlgorithm::detail
