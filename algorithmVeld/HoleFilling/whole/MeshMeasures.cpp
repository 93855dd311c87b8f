#include "algorithmVeld/HoleFilling/whole/MeshMeasures.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// In double, from the lengths of the sides.
double face_area(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    std::array<double, 3> sides{};
    std::size_t n = 0;
    for (auto const h : mesh.fh_range(face))
    {
        sides[n++ % 3] = mesh.calc_edge_length(h);
    }
    if (n != 3)
    {
        log("  !!!error: non-triangle [%s (%d)]\n", __FILE__, __LINE__);
        return 0.0;
    }
    double const s = (sides[0] + sides[1] + sides[2]) / 2.0;
    double const square = s * (s - sides[0]) * (s - sides[1]) * (s - sides[2]);
    if (square < 0.0)
    {
        log("  !!!invlid face area square:  %18.10f [%s (%d)]\n", square, __FILE__, __LINE__);
        return 0.0;
    }
    return std::sqrt(square);
}

std::size_t index_of(OpenMesh::VertexHandle vertex)
{
    return static_cast<std::size_t>(vertex.idx());
}

template <typename Handle, typename Measure>
Spread measure_all(TriMesh const& mesh, std::size_t n, Measure const& measure)
{
    Spread spread;
    LoopProgress progress(n);
    for (std::size_t i = 0; i < n; ++i)
    {
        progress.next();
        Handle const element(static_cast<int>(i));
        if (!is_deleted(mesh, element))
        {
            spread.add(measure(element));
        }
    }
    return spread;
}

} // namespace

void Spread::add(double value)
{
    min = count == 0 ? value : std::min(min, value);
    max = count == 0 ? value : std::max(max, value);
    total += value;
    ++count;
}

Spread edge_lengths(TriMesh const& mesh)
{
    return measure_all<OpenMesh::EdgeHandle>(
        mesh, mesh.n_edges(),
        [&](OpenMesh::EdgeHandle edge)
        { return static_cast<double>(mesh.calc_edge_length(edge)); });
}

Spread face_areas(TriMesh const& mesh)
{
    return measure_all<OpenMesh::FaceHandle>(
        mesh, mesh.n_faces(), [&](OpenMesh::FaceHandle face) { return face_area(mesh, face); });
}

Spread valences(TriMesh const& mesh)
{
    // Walking round each vertex would read the links of the whole mesh out of their order.
    std::vector<int> edges(mesh.n_vertices(), 0);
    CancelPoll poll;
    for (auto const edge : mesh.all_edges())
    {
        poll.next();
        if (!is_deleted(mesh, edge))
        {
            ++edges[index_of(mesh.to_vertex_handle(mesh.halfedge_handle(edge, 0)))];
            ++edges[index_of(mesh.to_vertex_handle(mesh.halfedge_handle(edge, 1)))];
        }
    }
    return measure_all<OpenMesh::VertexHandle>(
        mesh, mesh.n_vertices(),
        [&](OpenMesh::VertexHandle vertex)
        { return static_cast<double>(edges[index_of(vertex)]); });
}

} // namespace OrvaneAlgorithm::detail
