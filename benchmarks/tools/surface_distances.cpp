#include "algorithmVeld/common/mesh_io.h"
#include "benchmarks/support/surface_distance.h"

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

using OrvaneAlgorithm::TriMesh;
using veld_benchmark::MeasuredSurface;

void print_distances(char const* name, TriMesh const& from, TriMesh const& to)
{
    MeasuredSurface const surface(to);
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
