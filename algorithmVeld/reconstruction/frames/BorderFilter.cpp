#include "algorithmVeld/reconstruction/frames/BorderFilter.h"

#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr int FEW_NEIGHBOURS = 3;

bool has_few_neighbours(TriMesh const& mesh, OpenMesh::VertexHandle vertex)
{
    int neighbours = 0;
    for (auto it = mesh.cvv_iter(vertex); it.is_valid() && neighbours < FEW_NEIGHBOURS; ++it)
    {
        ++neighbours;
    }
    return neighbours < FEW_NEIGHBOURS;
}

/// Whether no face lies across an edge.
bool is_lone(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    return AcrossEdges(mesh)(face, [](OpenMesh::FaceHandle) { return false; });
}

} // namespace

int delete_long_border_edges(TriMesh& mesh, double length, EdgeWalk walk)
{
    int deleted = 0;
    LoopProgress progress(mesh.n_edges());
    for (auto const edge : mesh.all_edges())
    {
        progress.next();
        bool const passed_over = walk == EdgeWalk::LIVE && mesh.status(edge).deleted();
        if (!passed_over && mesh.is_boundary(edge) &&
            static_cast<double>(mesh.calc_edge_length(edge)) > length)
        {
            if (is_bare(mesh, mesh.halfedge_handle(edge, 0)))
            {
                delete_bare_edge(mesh, edge);
            }
            else
            {
                mesh.delete_edge(edge, false);
            }
            ++deleted;
        }
    }
    return deleted;
}

int delete_thin_border_vertices(TriMesh& mesh)
{
    Stages stages({1, 1});
    stages.next();
    std::vector<char> is_thin(mesh.n_vertices());
    parallel_for_even(static_cast<std::ptrdiff_t>(mesh.n_vertices()),
                      [&](std::ptrdiff_t i)
                      {
                          is_thin[static_cast<std::size_t>(i)] =
                              has_few_neighbours(mesh, OpenMesh::VertexHandle(static_cast<int>(i)))
                                  ? 1
                                  : 0;
                      });
    stages.next();
    int deleted = 0;
    LoopProgress progress(mesh.n_vertices());
    for (auto const vertex : mesh.all_vertices())
    {
        progress.next();
        if (is_thin[static_cast<std::size_t>(vertex.idx())] != 0 && !is_deleted(mesh, vertex) &&
            mesh.is_boundary(vertex))
        {
            delete_vertex_checked(mesh, vertex, IsolatedVertices::KEPT);
            ++deleted;
        }
    }
    return deleted;
}

int delete_lone_faces(TriMesh& mesh)
{
    int deleted = 0;
    LoopProgress progress(mesh.n_faces());
    for (auto const face : mesh.all_faces())
    {
        progress.next();
        if (!is_deleted(mesh, face) && is_lone(mesh, face))
        {
            mesh.delete_face(face, false);
            ++deleted;
        }
    }
    return deleted;
}

} // namespace OrvaneAlgorithm::detail
