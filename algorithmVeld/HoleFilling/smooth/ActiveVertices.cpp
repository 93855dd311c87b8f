#include "algorithmVeld/HoleFilling/smooth/ActiveVertices.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{
namespace
{

using OpenMesh::VertexHandle;

bool is_at_feature(TriMesh const& mesh, VertexHandle vertex)
{
    auto const is_feature = [&](auto element) { return mesh.status(element).feature(); };
    auto const edges = mesh.ve_range(vertex);
    auto const faces = mesh.vf_range(vertex);
    return is_feature(vertex) ||
           (mesh.has_edge_status() && std::any_of(edges.begin(), edges.end(), is_feature)) ||
           (mesh.has_face_status() && std::any_of(faces.begin(), faces.end(), is_feature));
}

/// Tags the vertices of the border and the rings beside it.
void tag_border(TriMesh& mesh, int rings)
{
    std::vector<VertexHandle> tagged;
    for (auto const vertex : mesh.all_vertices())
    {
        mesh.status(vertex).set_tagged(false);
    }
    for (auto const vertex : mesh.vertices())
    {
        if (mesh.is_boundary(vertex))
        {
            mesh.status(vertex).set_tagged(true);
            tagged.push_back(vertex);
        }
    }
    std::size_t next = 0;
    for (int ring = 0; ring < rings; ++ring)
    {
        for (std::size_t const ring_end = tagged.size(); next < ring_end; ++next)
        {
            for (auto const other : mesh.vv_range(tagged[next]))
            {
                if (!mesh.status(other).tagged())
                {
                    mesh.status(other).set_tagged(true);
                    tagged.push_back(other);
                }
            }
        }
    }
}

} // namespace

std::vector<bool> active_vertices(TriMesh& mesh, ActiveRule const& rule)
{
    tag_border(mesh, rule.rings_at_border);
    auto const vertices = mesh.vertices();
    bool const any_selected =
        std::any_of(vertices.begin(), vertices.end(),
                    [&](VertexHandle v) { return mesh.status(v).selected(); });
    std::vector<bool> active(mesh.n_vertices(), false);
    for (auto const vertex : mesh.vertices())
    {
        auto& status = mesh.status(vertex);
        active[static_cast<std::size_t>(vertex.idx())] =
            (status.selected() || !any_selected) && !status.tagged() && !status.locked() &&
            !(rule.skip_features && is_at_feature(mesh, vertex));
        status.set_tagged(false);
    }
    return active;
}

} // namespace OrvaneAlgorithm::detail
