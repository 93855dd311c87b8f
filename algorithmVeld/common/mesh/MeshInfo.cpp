#include "algorithmVeld/common/mesh/MeshInfo.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

namespace OrvaneAlgorithm::detail
{

namespace
{

using Has = bool (*)(TriMesh const&);
using Request = void (*)(TriMesh&);

/// The elements of one kind that are not marked deleted and for which `counts` is true.
template <typename Handle, typename Counts>
int count_if(TriMesh const& mesh, std::size_t n, Counts const& counts)
{
    int found = 0;
    CancelPoll poll;
    for (std::size_t i = 0; i < n; ++i)
    {
        poll.next();
        Handle const element(static_cast<int>(i));
        found += !is_deleted(mesh, element) && counts(element) ? 1 : 0;
    }
    return found;
}

template <typename Counts>
MeshCounts count_elements_if(TriMesh const& mesh, Counts const& counts)
{
    return {count_if<OpenMesh::VertexHandle>(mesh, mesh.n_vertices(), counts),
            count_if<OpenMesh::FaceHandle>(mesh, mesh.n_faces(), counts),
            count_if<OpenMesh::HalfedgeHandle>(mesh, mesh.n_halfedges(), counts),
            count_if<OpenMesh::EdgeHandle>(mesh, mesh.n_edges(), counts)};
}

} // namespace

// Function pointers of the kernel's own would be of many types, hence the small functions around.
#define VELD_ATTRIBUTE(text, name)                                                                 \
    StandardAttribute                                                                              \
    {                                                                                              \
        text, Has([](TriMesh const& mesh) { return mesh.has_##name(); }),                          \
            Request([](TriMesh& mesh) { mesh.request_##name(); })                                  \
    }

std::array<StandardAttribute, 18> const STANDARD_ATTRIBUTES{
    {VELD_ATTRIBUTE("  Has edge colors\n", edge_colors),
     VELD_ATTRIBUTE("  Has edge status\n", edge_status),
     VELD_ATTRIBUTE("  Has face colors\n", face_colors),
     VELD_ATTRIBUTE("  Has face normals\n", face_normals),
     VELD_ATTRIBUTE("  Has face status\n", face_status),
     VELD_ATTRIBUTE("  Has face texture index\n", face_texture_index),
     VELD_ATTRIBUTE("  Has halfedge colors\n", halfedge_colors),
     VELD_ATTRIBUTE("  Has halfedge normals\n", halfedge_normals),
     VELD_ATTRIBUTE("  Has halfedge status\n", halfedge_status),
     VELD_ATTRIBUTE("  Has halfedge texcoords1D\n", halfedge_texcoords1D),
     VELD_ATTRIBUTE("  Has halfedge texcoords2D\n", halfedge_texcoords2D),
     VELD_ATTRIBUTE("  Has halfedge texcoords3D\n", halfedge_texcoords3D),
     VELD_ATTRIBUTE("  Has vertex colors\n", vertex_colors),
     VELD_ATTRIBUTE("  Has vertex normals\n", vertex_normals),
     VELD_ATTRIBUTE("  Has vertex status\n", vertex_status),
     VELD_ATTRIBUTE("  Has vertex texcoords1D\n", vertex_texcoords1D),
     VELD_ATTRIBUTE("  Has vertex texcoords2D\n", vertex_texcoords2D),
     VELD_ATTRIBUTE("  Has vertex texcoords3D\n", vertex_texcoords3D)}};

#undef VELD_ATTRIBUTE

MeshCounts count_elements(TriMesh const& mesh)
{
    return count_elements_if(mesh, [](auto) { return true; });
}

MeshCounts count_boundary_elements(TriMesh const& mesh)
{
    return count_elements_if(mesh, [&](auto element) { return mesh.is_boundary(element); });
}

void print_counts(bool enabled, char const* title, MeshCounts const& counts)
{
    log_and_print_line(enabled, title);
    log_and_print_line(enabled, "  Vertex: \t %d\n", counts.vertices);
    log_and_print_line(enabled, "  Face: \t %d\n", counts.faces);
    log_and_print_line(enabled, "  HalfEdge: \t %d\n", counts.halfedges);
    log_and_print_line(enabled, "  Edge: \t %d\n", counts.edges);
}

void log_size(bool enabled, char const* heading, TriMesh const& mesh)
{
    log_line(enabled, heading);
    log_line(enabled, "    # verts:         %8d\n", static_cast<int>(mesh.n_vertices()));
    log_line(enabled, "    # faces:         %8d\n", static_cast<int>(mesh.n_faces()));
}

} // namespace OrvaneAlgorithm::detail
