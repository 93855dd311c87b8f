#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "tests/reconstruction/reference_ball.h"
#include "tests/support/plain_walks.h"

#include <Eigen/Dense>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <set>
#include <utility>
#include <vector>

/// \file
/// The repair by projection as plainly as it can be written: around each boundary vertex a sweep
/// triangulation of its own, whose triangles lie in plain lists. What the library gives has to be
/// the same, to the bit.

namespace veld_test::reference
{

using Eigen::Matrix4d;

/// Projects points onto the plane through a point with a normal of any length.
struct Projection
{
    std::vector<Vector3f> points;
    std::vector<float> distances;
    std::vector<float> cosines; ///< For normals of length 1.

    Projection(Vector3f const& point, Vector3f const& normal, std::vector<Vector3f> const& sources,
               std::vector<Vector3f> const& source_normals)
    {
        float const d = -normal.dot(point);
        float const s = normal.dot(normal);
        float const l = std::sqrt(s);
        for (std::size_t i = 0; i < sources.size(); ++i)
        {
            cosines.push_back(source_normals[i].dot(normal));
            float const e = normal.dot(sources[i]) + d;
            points.push_back(sources[i] - (e / s) * normal);
            distances.push_back(std::abs(e) / l);
        }
    }
};

/// Turns by `-angle` about a unit axis, as seen against it.
inline Matrix4d turn_about(Vector3f const& axis, float angle)
{
    float const c = std::cos(angle);
    float const s = std::sin(angle);
    float const t = 1.0F - c;
    float const x = axis.x();
    float const y = axis.y();
    float const z = axis.z();
    std::array<float, 16> const columns{x * x * t + c,
                                        x * y * t - s * z,
                                        x * z * t + s * y,
                                        0.0F,
                                        x * y * t + s * z,
                                        y * y * t + c,
                                        y * z * t - s * x,
                                        0.0F,
                                        x * z * t - s * y,
                                        y * z * t + s * x,
                                        z * z * t + c,
                                        0.0F,
                                        0.0F,
                                        0.0F,
                                        0.0F,
                                        1.0F};
    Matrix4d rotation;
    for (int i = 0; i < 16; ++i)
    {
        rotation(i % 4, i / 4) = static_cast<double>(columns[static_cast<std::size_t>(i)]);
    }
    return rotation;
}

/// Turns points so that a normal that leans away from the z axis lies on it. One that looks down it
/// has no axis: everything is mirrored then.
inline void turn_upright(std::vector<Vector3f>& points, Vector3f const& normal, float thr = 0.95F)
{
    if (!(normal.z() < thr))
    {
        return;
    }
    Vector3f const axis = normal.cross(Vector3f(0.0F, 0.0F, 1.0F)).normalized();
    Matrix4d const rotation = turn_about(axis, -std::acos(normal.z()));
    for (auto& p : points)
    {
        std::array<double, 3> turned{};
        for (int row = 0; row < 3; ++row)
        {
            turned[static_cast<std::size_t>(row)] = rotation(row, 0) * static_cast<double>(p.x()) +
                                                    rotation(row, 1) * static_cast<double>(p.y()) +
                                                    rotation(row, 2) * static_cast<double>(p.z()) +
                                                    rotation(row, 3);
        }
        p = Vector3f(static_cast<float>(turned[0]), static_cast<float>(turned[1]),
                     static_cast<float>(turned[2]));
    }
}

/// A point of the plane; ordered by x, and by y where x is equal.
using PlanePoint = std::pair<float, float>;

struct Circle
{
    float x = 0.0F;
    float y = 0.0F;
    float radius = 0.0F;
    float wide_square = 0.0F;

    Circle(PlanePoint const& a, PlanePoint const& b, PlanePoint const& c)
    {
        auto const [x0, y0] = a;
        auto const [x1, y1] = b;
        auto const [x2, y2] = c;
        bool const is_level_01 = std::abs(y1 - y0) < 1.1920929e-7F;
        bool const is_level_12 = std::abs(y2 - y1) < 1.1920929e-7F;
        if (is_level_01 && is_level_12)
        {
            x = (std::min({x0, x1, x2}) + std::max({x0, x1, x2})) * 0.5F;
            y = y0;
        }
        else if (is_level_01)
        {
            float const m2 = -((x2 - x1) / (y2 - y1));
            x = (x1 + x0) * 0.5F;
            y = (x - (x2 + x1) * 0.5F) * m2 + (y2 + y1) * 0.5F;
        }
        else if (is_level_12)
        {
            float const m1 = -((x1 - x0) / (y1 - y0));
            x = (x2 + x1) * 0.5F;
            y = (x - (x1 + x0) * 0.5F) * m1 + (y1 + y0) * 0.5F;
        }
        else
        {
            float const m1 = -((x1 - x0) / (y1 - y0));
            float const m2 = -((x2 - x1) / (y2 - y1));
            float const mx1 = (x0 + x1) * 0.5F;
            float const mx2 = (x1 + x2) * 0.5F;
            float const my1 = (y0 + y1) * 0.5F;
            float const my2 = (y1 + y2) * 0.5F;
            x = (mx1 * m1 - mx2 * m2 + my2 - my1) / (m1 - m2);
            y = (x - mx1) * m1 + my1;
        }
        float const square = (x0 - x) * (x0 - x) + (y0 - y) * (y0 - y);
        radius = std::sqrt(square);
        wide_square = square * 1.000001F;
    }

    bool is_left_of(PlanePoint const& p) const { return p.first > x + radius; }
    bool holds(PlanePoint const& p) const
    {
        float const dx = p.first - x;
        float const dy = p.second - y;
        return dx * dx + dy * dy <= wide_square;
    }
};

/// The sweep triangulation. Triangles whose circle no vertex lies to the right of are lost.
class Sweep
{
public:
    struct Triangle
    {
        std::array<int, 3> corners;
        Circle circle;
    };

    /// \param vertices are numbered in their order
    explicit Sweep(std::set<PlanePoint> const& vertices)
        : points_(vertices.begin(), vertices.end()), n_(static_cast<int>(vertices.size()))
    {
        if (n_ < 3)
        {
            return;
        }
        add_super_triangle();
        for (int v = 0; v < n_; ++v)
        {
            take_completed(v);
            std::set<Edge, SmallerVertices> const outline = take_broken(v);
            for (auto const& edge : outline)
            {
                keep(work_, make({edge.first, edge.second, v}));
            }
        }
    }

    std::vector<Triangle> triangles() const { return result_; }

private:
    /// The smaller vertex first.
    using Edge = std::pair<int, int>;

    /// Edges are ordered by what they join, not by where that lies in memory.
    struct SmallerVertices
    {
        Sweep const* sweep;

        bool operator()(Edge const& a, Edge const& b) const
        {
            return a.first != b.first ? sweep->is_smaller(a.first, b.first)
                                      : sweep->is_smaller(a.second, b.second);
        }
    };

    PlanePoint const& point(int i) const { return points_[static_cast<std::size_t>(i)]; }

    bool is_smaller(int a, int b) const
    {
        return point(a) != point(b) ? point(a) < point(b) : a < b;
    }

    Triangle make(std::array<int, 3> const& v) const
    {
        return {v, Circle(point(v[0]), point(v[1]), point(v[2]))};
    }

    /// Lists are in the order of the centres: by x, then by y, numbers before what is none, and
    /// equal ones as they came.
    static void keep(std::vector<Triangle>& list, Triangle const& triangle)
    {
        auto const compare = [](float a, float b)
        {
            if (std::isnan(a) || std::isnan(b))
            {
                return static_cast<int>(std::isnan(a)) - static_cast<int>(std::isnan(b));
            }
            return static_cast<int>(a > b) - static_cast<int>(a < b);
        };
        auto place = list.begin();
        for (; place != list.end(); ++place)
        {
            int const by_x = compare(triangle.circle.x, place->circle.x);
            if (by_x < 0 || (by_x == 0 && compare(triangle.circle.y, place->circle.y) < 0))
            {
                break;
            }
        }
        list.insert(place, triangle);
    }

    void add_super_triangle()
    {
        float x_min = points_.front().first;
        float x_max = points_.back().first;
        float y_min = points_.front().second;
        float y_max = y_min;
        for (auto const& p : points_)
        {
            y_min = std::min(y_min, p.second);
            y_max = std::max(y_max, p.second);
        }
        float const more_x = 0.01F * (x_max - x_min);
        float const more_y = 0.01F * (y_max - y_min);
        float const dx = (x_max - x_min) + 2.0F * more_x;
        float const dy = (y_max - y_min) + 2.0F * more_y;
        x_min -= more_x;
        x_max += more_x;
        y_min -= more_y;
        y_max += more_y;
        constexpr float SQRT_3 = 1.7320508F;
        points_.emplace_back(x_min - dy * SQRT_3 / 3.0F, y_min);
        points_.emplace_back(x_max + dy * SQRT_3 / 3.0F, y_min);
        points_.emplace_back((x_min + x_max) * 0.5F, y_max + dx * SQRT_3 * 0.5F);
        work_.push_back(make({n_, n_ + 1, n_ + 2}));
    }

    /// Triangles that no vertex from here on can break leave the work, for the result unless they
    /// have a corner of the super triangle.
    void take_completed(int v)
    {
        std::vector<Triangle> rest;
        for (auto const& triangle : work_)
        {
            if (!triangle.circle.is_left_of(point(v)))
            {
                rest.push_back(triangle);
            }
            else if (*std::max_element(triangle.corners.begin(), triangle.corners.end()) < n_)
            {
                keep(result_, triangle);
            }
        }
        work_ = rest;
    }

    /// Takes away the triangles that a vertex breaks. \return the outline of what they covered
    std::set<Edge, SmallerVertices> take_broken(int v)
    {
        std::set<Edge, SmallerVertices> outline(SmallerVertices{this});
        std::vector<Triangle> rest;
        for (auto const& triangle : work_)
        {
            if (!triangle.circle.holds(point(v)))
            {
                rest.push_back(triangle);
                continue;
            }
            for (std::size_t i = 0; i < 3; ++i)
            {
                int const a = triangle.corners[i];
                int const b = triangle.corners[(i + 1) % 3];
                Edge const edge = is_smaller(a, b) ? Edge(a, b) : Edge(b, a);
                if (!outline.insert(edge).second)
                {
                    outline.erase(edge);
                }
            }
        }
        work_ = rest;
        return outline;
    }

    std::vector<PlanePoint> points_; ///< The last three are those of the super triangle.
    int n_;
    std::vector<Triangle> work_;
    std::vector<Triangle> result_;
};

/// Closes gaps between boundary vertices that are near each other. The mesh has vertex normals.
class ProjectionRepair
{
public:
    void repair(TriMesh& mesh)
    {
        border_.clear();
        border_points_.clear();
        for (auto const v : mesh.vertices())
        {
            if (mesh.is_boundary(v))
            {
                border_.push_back(v);
                border_points_.push_back(mesh.point(v));
            }
        }
        for (auto const c : mesh.vertices())
        {
            if (mesh.is_boundary(c))
            {
                repair_at(mesh, c);
            }
        }
    }

private:
    void repair_at(TriMesh& mesh, VertexHandle c) const
    {
        auto const hits = points_within(border_points_, mesh.point(c), 0.5F);
        if (hits.size() < 3)
        {
            return;
        }
        std::vector<Vector3f> points;
        std::vector<Vector3f> normals;
        for (int const hit : hits)
        {
            points.push_back(mesh.point(border_[static_cast<std::size_t>(hit)]));
            normals.push_back(mesh.normal(border_[static_cast<std::size_t>(hit)]));
        }
        points = Projection(mesh.point(c), mesh.normal(c), points, normals).points;
        turn_upright(points, mesh.normal(c));
        std::set<PlanePoint> plane;
        std::map<PlanePoint, VertexHandle> vertex_at;
        for (std::size_t i = 0; i < points.size(); ++i)
        {
            if (!points[i].allFinite())
            {
                return;
            }
            PlanePoint const p(points[i].x(), points[i].y());
            plane.insert(p);
            vertex_at[p] = border_[static_cast<std::size_t>(hits[i])];
        }
        std::vector<PlanePoint> const numbered(plane.begin(), plane.end());
        for (auto const& triangle : Sweep(plane).triangles())
        {
            std::array<VertexHandle, 3> v;
            for (std::size_t i = 0; i < 3; ++i)
            {
                v[i] = vertex_at.at(numbered[static_cast<std::size_t>(triangle.corners[i])]);
            }
            if (std::find(v.begin(), v.end(), c) != v.end())
            {
                // The way round in the plane says nothing: the mesh takes what it can.
                add_triangle(mesh, v[0], v[1], v[2]);
                add_triangle(mesh, v[0], v[2], v[1]);
            }
        }
    }

    std::vector<VertexHandle> border_;
    std::vector<Vector3f> border_points_;
};

} // namespace veld_test::reference
