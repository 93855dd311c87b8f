#pragma once

#include "algorithmVeld/common/types.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

/// \file
/// The triangulation of a polygon written down as plainly as it is described: full tables, every
/// split, recursion. Slow, and with nothing in common with the library but the formulas.

namespace veld_test
{

using OrvaneAlgorithm::Vector3f;

inline float plain_angle(Vector3f u, Vector3f v)
{
    u.normalize();
    v.normalize();
    float const x = u.dot(v);
    float angle = 0.0F;
    if (x > -0.7 && x < 0.7)
    {
        angle = std::acos(x);
    }
    else
    {
        float const s = u.cross(v).norm();
        angle = std::asin(s);
        if (x <= 0.0F)
        {
            angle = static_cast<float>(3.141592653589793 - angle);
        }
        if (x < -0.98)
        {
            angle = 3.1415927F;
        }
    }
    return angle;
}

inline float plain_area(Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    float const ab = (b - a).norm();
    float const bc = (c - b).norm();
    float const ca = (a - c).norm();
    float const s = (ab + bc + ca) * 0.5F;
    float const radicand = s * (s - ab) * (s - bc) * (s - ca);
    return radicand > 0.0F ? std::sqrt(radicand) : 0.0F;
}

inline Vector3f plain_normal(Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    Vector3f normal = -((b - a).cross(c - a));
    normal.normalize();
    return normal;
}

/// A polygon in space with the normals of the faces beyond its sides.
struct PlainPolygon
{
    std::vector<Vector3f> points;
    std::vector<Vector3f> normals;
    std::vector<bool> edge_exist;

    std::size_t size() const { return points.size(); }
    void join(std::size_t a, std::size_t b)
    {
        edge_exist[a * size() + b] = true;
        edge_exist[b * size() + a] = true;
    }
};

class PlainTriangulation
{
public:
    PlainTriangulation(PlainPolygon const& polygon, float penalty, bool flat, int sample_num)
        : polygon_(polygon),
          n_(polygon.size()),
          penalty_(penalty),
          flat_(flat),
          weight_angle(n_ * n_, 0.0F),
          weight_area(n_ * n_, 0.0F),
          lambda(n_ * n_, -1)
    {
        for (std::size_t i = 0; i + 2 < n_; ++i)
        {
            weigh(i, i + 1, i + 2, weight_angle[i * n_ + i + 2], weight_area[i * n_ + i + 2]);
        }
        std::size_t const stride = n_ / static_cast<std::size_t>(sample_num) + 1;
        for (std::size_t gap = 3; gap < n_; ++gap)
        {
            for (std::size_t i = 0; i + gap < n_; ++i)
            {
                split(i, i + gap, stride);
            }
        }
    }

    /// Cost of triangle i, m, j.
    void weigh(std::size_t i, std::size_t m, std::size_t j, float& angle, float& area) const
    {
        Vector3f const& pi = polygon_.points[i];
        Vector3f const& pm = polygon_.points[m];
        Vector3f const& pj = polygon_.points[j];
        area = plain_area(pi, pm, pj);
        angle = 0.0F;

        Vector3f const im = (pm - pi).normalized();
        Vector3f const mj = (pj - pm).normalized();
        Vector3f const ji = (pi - pj).normalized();
        float const first = plain_angle(im, -ji);
        float const second = plain_angle(mj, -im);
        float const third = static_cast<float>(3.141592653589793 - first - second);
        float const largest = std::max({first, second, third});
        float const smallest = std::min({first, second, third});
        if (largest > 3.132866F || smallest < 0.017453292F)
        {
            area += penalty_;
        }

        Vector3f n = (pi - pj).cross(pm - pj);
        n.normalize();
        auto const meet = [&](Vector3f const& q) { angle = std::max(angle, plain_angle(n, q)); };
        meet(m == i + 1 ? polygon_.normals[i] : normal_between(i, m));
        meet(j == m + 1 ? polygon_.normals[m] : normal_between(m, j));
        if (i == 0 && j == n_ - 1)
        {
            meet(polygon_.normals[j]);
        }
        if (flat_ && angle < 3.132866F)
        {
            angle = 0.0F;
        }
        if (polygon_.edge_exist[i * n_ + j])
        {
            angle += 6.2831855F;
        }
        if (polygon_.edge_exist[m * n_ + j])
        {
            angle += 6.2831855F;
        }
        angle = static_cast<float>(angle * 180.0 / 3.141592653589793);
        if (angle > 179.5)
        {
            area += penalty_;
        }
    }

    std::vector<std::array<int, 3>> triangles() const
    {
        std::vector<std::array<int, 3>> list;
        if (n_ > 2)
        {
            collect(0, n_ - 1, list);
        }
        return list;
    }

private:
    Vector3f normal_between(std::size_t a, std::size_t b) const
    {
        std::size_t const m = b == a + 2 ? a + 1 : static_cast<std::size_t>(lambda[a * n_ + b]);
        return plain_normal(polygon_.points[b], polygon_.points[m], polygon_.points[a]);
    }

    void split(std::size_t i, std::size_t j, std::size_t stride)
    {
        float best_angle = 0.0F;
        float best_area = 0.0F;
        int best = -1;
        for (std::size_t m = i + 1; m < j; m += stride)
        {
            float angle = 0.0F;
            float area = 0.0F;
            weigh(i, m, j, angle, area);
            angle = std::max({weight_angle[i * n_ + m], weight_angle[m * n_ + j], angle});
            area = area + weight_area[i * n_ + m] + weight_area[m * n_ + j];
            if (best < 0 || angle < best_angle ||
                (std::fabs(angle - best_angle) < 1e-5 && area < best_area))
            {
                best_angle = angle;
                best_area = area;
                best = static_cast<int>(m);
            }
        }
        weight_angle[i * n_ + j] = best_angle;
        weight_area[i * n_ + j] = best_area;
        lambda[i * n_ + j] = best;
    }

    void collect(std::size_t i, std::size_t j, std::vector<std::array<int, 3>>& list) const
    {
        std::size_t const m = j == i + 2 ? i + 1 : static_cast<std::size_t>(lambda[i * n_ + j]);
        if (m != i + 1)
        {
            collect(i, m, list);
        }
        list.push_back({static_cast<int>(i), static_cast<int>(m), static_cast<int>(j)});
        if (m + 1 != j)
        {
            collect(m, j, list);
        }
    }

    PlainPolygon const& polygon_;
    std::size_t n_;
    float penalty_;
    bool flat_;

public:
    std::vector<float> weight_angle;
    std::vector<float> weight_area;
    std::vector<int> lambda;
};

/// What a random polygon is like.
enum class PolygonKind
{
    NOISY,   ///< A ring on a bumpy sphere.
    WILD,    ///< Corners anywhere.
    PLANAR,  ///< In the plane z = 0, convex.
    JAGGED,  ///< In a tilted plane, neither convex nor smooth.
    GRID,    ///< The rim of a square hole in a grid: many equal areas.
    REPEATED ///< Noisy, and passing some corners twice.
};

inline constexpr std::array<PolygonKind, 6> ALL_POLYGON_KINDS{
    PolygonKind::NOISY,  PolygonKind::WILD, PolygonKind::PLANAR,
    PolygonKind::JAGGED, PolygonKind::GRID, PolygonKind::REPEATED};

/// Corner k of n, and the third corner of the face beyond the side after it.
struct RimCorner
{
    Vector3f point;
    Vector3f outer;
};

inline RimCorner random_corner(PolygonKind kind, std::size_t k, std::size_t n, std::mt19937& random)
{
    std::normal_distribution<float> noise(0.0F, 1.0F);
    float const step = 6.2831853F / static_cast<float>(n);
    float const angle = -step * static_cast<float>(k);
    float const radius = 1.0F / step; // sides of length 1
    Vector3f const here(std::cos(angle), std::sin(angle), 0.0F);
    Vector3f const beyond(std::cos(angle - step / 2), std::sin(angle - step / 2), 0.0F);
    RimCorner corner{here * radius, beyond * (radius + 1.0F)};
    switch (kind)
    {
    case PolygonKind::NOISY:
    case PolygonKind::REPEATED:
        corner.point += 0.2F * Vector3f(noise(random), noise(random), noise(random));
        corner.outer.z() -= 0.3F + 0.2F * noise(random);
        break;
    case PolygonKind::WILD:
        corner.point = Vector3f(noise(random), noise(random), noise(random));
        corner.outer = Vector3f(noise(random), noise(random), noise(random));
        break;
    case PolygonKind::PLANAR:
        break;
    case PolygonKind::JAGGED:
    {
        Eigen::Matrix3f const turn =
            Eigen::AngleAxisf(0.7F, Vector3f(1, 2, 3).normalized()).toRotationMatrix();
        corner.point = turn * (corner.point + 0.3F * Vector3f(noise(random), noise(random), 0.0F));
        corner.outer = turn * corner.outer;
        break;
    }
    case PolygonKind::GRID:
    {
        auto const side = static_cast<float>((n + 3) / 4);
        auto const walk = static_cast<float>(k);
        float const along = std::fmod(walk, side);
        switch (static_cast<int>(walk / side))
        {
        case 0:
            corner = {{0, along, 0}, {-1, along, 0}};
            break;
        case 1:
            corner = {{along, side, 0}, {along, side + 1, 0}};
            break;
        case 2:
            corner = {{side, side - along, 0}, {side + 1, side - along, 0}};
            break;
        default:
            corner = {{side - along, 0, 0}, {side - along, -1, 0}};
            break;
        }
        break;
    }
    }
    return corner;
}

/// A random polygon of n corners, with some chords that are edges already.
inline PlainPolygon random_polygon(PolygonKind kind, std::size_t n, std::size_t chords,
                                   std::mt19937& random)
{
    PlainPolygon polygon;
    std::vector<Vector3f> outer;
    for (std::size_t k = 0; k < n; ++k)
    {
        auto const corner = random_corner(kind, k, n, random);
        polygon.points.push_back(corner.point);
        outer.push_back(corner.outer);
    }
    std::uniform_int_distribution<std::size_t> any(0, n - 1);
    if (kind == PolygonKind::REPEATED)
    {
        for (std::size_t k = 0; k < 1 + n / 20; ++k)
        {
            polygon.points[any(random)] = polygon.points[any(random)];
        }
    }
    for (std::size_t k = 0; k < n; ++k)
    {
        Vector3f const& a = polygon.points[k];
        Vector3f const& b = polygon.points[(k + 1) % n];
        polygon.normals.push_back((b - outer[k]).cross(a - outer[k]).normalized());
    }
    polygon.edge_exist.assign(n * n, false);
    for (std::size_t k = 0; k < chords; ++k)
    {
        std::size_t const a = any(random);
        std::size_t const b = any(random);
        if (a != b)
        {
            polygon.join(a, b);
        }
    }
    return polygon;
}

} // namespace veld_test
