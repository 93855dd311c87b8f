#pragma once

#include "benchmarks/support/bumpy_sphere.h"

/// \file
/// A mesh like a scan that has not been cleaned: the bumpy sphere with specks that float around it
/// and with pinched vertices. The same arguments give the same mesh.

namespace veld_benchmark
{

/// Takes two triangles that do not share an edge away from the stars of some vertices, so that two
/// fans meet at each.
inline void pinch_vertices(Surface& sphere, int pinches)
{
    Stars const stars(sphere);
    std::vector<char> cut(sphere.triangles.size());
    auto const n = sphere.points.size();
    for (int p = 0; p < pinches; ++p)
    {
        auto const v =
            static_cast<std::size_t>(p) * n / static_cast<std::size_t>(pinches) + n / 900;
        auto const star = stars.around({static_cast<int>(v)});
        auto const shared = [&](std::size_t a, std::size_t b)
        {
            auto const& s = sphere.triangles[a];
            auto const& t = sphere.triangles[b];
            return std::count_if(s.begin(), s.end(),
                                 [&](int c) { return std::count(t.begin(), t.end(), c) > 0; });
        };
        auto const other = std::find_if(star.begin(), star.end(),
                                        [&](std::size_t t) { return shared(star[0], t) == 1; });
        if (other != star.end())
        {
            cut[star[0]] = cut[*other] = 1;
        }
    }
    drop_triangles(sphere, cut);
}

/// Adds specks, each a fan of six triangles, at even distances in the order of the triangles: so a
/// scan meets them too.
inline void add_specks(Surface& sphere, int specks)
{
    std::vector<Triangle> triangles;
    triangles.reserve(sphere.triangles.size() + static_cast<std::size_t>(specks) * 6);
    auto const step = sphere.triangles.size() / static_cast<std::size_t>(std::max(1, specks)) + 1;
    for (std::size_t t = 0; t < sphere.triangles.size(); ++t)
    {
        if (t % step == step / 2)
        {
            Vector3f const place = sphere.points[static_cast<std::size_t>(sphere.triangles[t][0])];
            int const apex = static_cast<int>(sphere.points.size());
            sphere.points.emplace_back(place * 1.1F);
            for (int k = 0; k < 6; ++k)
            {
                double const angle = k * PI / 3.0;
                sphere.points.emplace_back(place * 1.1F +
                                           Vector3f(static_cast<float>(std::cos(angle)),
                                                    static_cast<float>(std::sin(angle)), 0.0F) *
                                               0.001F);
                triangles.push_back({apex, apex + 1 + k, apex + 1 + (k + 1) % 6});
            }
        }
        triangles.push_back(sphere.triangles[t]);
    }
    sphere.triangles = std::move(triangles);
}

/// About `faces` triangles with `specks` specks of six triangles and `pinches` pinched vertices.
inline TriMesh dirty_sphere(int faces, int specks, int pinches)
{
    int const n = cells_for(faces);
    Surface sphere = cube_sphere(n);
    pinch_vertices(sphere, pinches);
    add_specks(sphere, specks);
    add_bumps(sphere, 100.0 * PI / 2.0 / n);
    return to_mesh(sphere);
}

} // namespace veld_benchmark
