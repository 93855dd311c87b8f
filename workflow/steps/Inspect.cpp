#include "workflow/steps/Inspect.h"

#include "workflow/StepScope.h"
#include "workflow/filling/HoleList.h"

#include "algorithmVeld/cleanup/PatchEditor.h"
#include "algorithmVeld/common/mesh/EdgeLengths.h"
#include "algorithmVeld/common/mesh/Surroundings.h"

#include <algorithm>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

namespace
{

std::size_t count_boundary_edges(TriMesh const& mesh)
{
    auto const edges = mesh.edges();
    return static_cast<std::size_t>(std::count_if(
        edges.begin(), edges.end(), [](auto const& edge) { return edge.is_boundary(); }));
}

} // namespace

double average_edge_length(TriMesh const& mesh)
{
    double sum = 0.0;
    std::size_t n = 0;
    for (auto const edge : mesh.all_edges()) // the other range leaves hidden ones out
    {
        if (!mesh.has_edge_status() || !mesh.status(edge).deleted())
        {
            sum += OrvaneAlgorithm::detail::edge_length(mesh, edge);
            ++n;
        }
    }
    return n == 0 ? 0.0 : sum / static_cast<double>(n);
}

MeshHealth measure_health(TriMesh& mesh)
{
    MeshHealth health;
    health.vertices = mesh.n_vertices();
    health.faces = mesh.n_faces();
    health.edges = mesh.n_edges();
    health.boundary_edges = count_boundary_edges(mesh);
    health.holes = all_holes(mesh).size();
    health.components = OrvaneAlgorithm::PatchEditor::count_components_by_face(mesh);
    for (auto const vertex : mesh.vertices())
    {
        health.isolated_vertices += mesh.is_isolated(vertex) ? 1 : 0;
        health.non_manifold_vertices +=
            OrvaneAlgorithm::detail::count_gaps(mesh, vertex) > 1 ? 1 : 0;
    }
    health.closed = health.faces > 0 && health.boundary_edges == 0;
    health.average_edge_length = average_edge_length(mesh);
    mesh.get_boundBox(health.box_min, health.box_max);
    return health;
}

MeshHealth inspect(TriMesh& mesh, Context& context)
{
    StepScope const scope(context, "measure-health", "measure the mesh");
    return measure_health(mesh);
}

} // namespace veld
