#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/mesh_io.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

/// \file
/// Distances between two surfaces, both ways: from the vertices of each to the triangles of the
/// other one. Prints mean, root of the mean square and 99th percentile in the unit of the first
/// mesh.

namespace
{

using OrvaneAlgorithm::KdTree3f;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

/// Distance from `p` to the part of a line between two points.
float to_segment(Vector3f const& p, Vector3f const& a, Vector3f const& b)
{
    Vector3f const ab = b - a;
    float const length2 = ab.squaredNorm();
    float const t = length2 > 0.0F ? std::clamp((p - a).dot(ab) / length2, 0.0F, 1.0F) : 0.0F;
    return (p - (a + t * ab)).norm();
}

/// Distance from `p` to a triangle: to its plane above the inside, to the sides elsewhere.
float to_triangle(Vector3f const& p, Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    Vector3f const normal = (b - a).cross(c - a);
    bool const inside = normal.dot((b - a).cross(p - a)) >= 0.0F &&
                        normal.dot((c - b).cross(p - b)) >= 0.0F &&
                        normal.dot((a - c).cross(p - c)) >= 0.0F;
    if (inside && normal.squaredNorm() > 0.0F)
    {
        return std::abs((p - a).dot(normal.normalized()));
    }
    return std::min({to_segment(p, a, b), to_segment(p, b, c), to_segment(p, c, a)});
}

/// A surface to measure to: the faces around the nearest vertex and around its neighbours.
class Surface
{
public:
    explicit Surface(TriMesh const& mesh) : mesh_(mesh)
    {
        std::vector<Vector3f> points;
        for (auto const v : mesh.vertices())
        {
            points.push_back(mesh.point(v));
        }
        tree_.build_kdtree(points);
    }

    float distance(Vector3f const& p) const
    {
        int nearest = 0;
        float square = 0.0F;
        tree_.nearest_search(p, nearest, square);
        float best = std::sqrt(square);
        OpenMesh::VertexHandle const centre(nearest);
        measure_around(p, centre, best);
        for (auto const v : mesh_.vv_range(centre))
        {
            measure_around(p, v, best);
        }
        return best;
    }

private:
    void measure_around(Vector3f const& p, OpenMesh::VertexHandle v, float& best) const
    {
        for (auto const f : mesh_.vf_range(v))
        {
            auto corner = mesh_.cfv_iter(f);
            Vector3f const a = mesh_.point(*corner);
            Vector3f const b = mesh_.point(*++corner);
            Vector3f const c = mesh_.point(*++corner);
            best = std::min(best, to_triangle(p, a, b, c));
        }
    }

    TriMesh const& mesh_;
    KdTree3f tree_;
};

void print_distances(char const* name, TriMesh const& from, TriMesh const& to)
{
    Surface const surface(to);
    std::vector<float> distances(from.n_vertices());
    auto const n = static_cast<std::ptrdiff_t>(distances.size());
#pragma omp parallel for
    for (std::ptrdiff_t i = 0; i < n; ++i)
    {
        distances[static_cast<std::size_t>(i)] =
            surface.distance(from.point(OpenMesh::VertexHandle(static_cast<int>(i))));
    }
    std::sort(distances.begin(), distances.end());
    double sum = 0.0;
    double squares = 0.0;
    for (float const distance : distances)
    {
        auto const d = static_cast<double>(distance);
        sum += d;
        squares += d * d;
    }
    auto const count = static_cast<double>(distances.size());
    std::printf("%s mean %.3f rms %.3f p99 %.3f\n", name, sum / count, std::sqrt(squares / count),
                static_cast<double>(distances[(distances.size() - 1) * 99 / 100]));
}

bool load(char const* path, double scale, TriMesh& mesh)
{
    OrvaneAlgorithm::MeshReadReport report;
    if (!OrvaneAlgorithm::read_mesh(path, mesh, report) || mesh.n_vertices() == 0)
    {
        std::fprintf(stderr, "%s: cannot be read\n", path);
        return false;
    }
    for (auto const v : mesh.vertices())
    {
        mesh.set_point(v, mesh.point(v) * static_cast<float>(scale));
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        std::fprintf(stderr, "usage: surface_distances MESH REFERENCE SCALE_OF_REFERENCE\n");
        return 1;
    }
    TriMesh mesh;
    TriMesh reference;
    if (!load(argv[1], 1.0, mesh) || !load(argv[2], std::atof(argv[3]), reference))
    {
        return 1;
    }
    print_distances("to", mesh, reference);
    print_distances("from", reference, mesh);
    return 0;
}
