#include "algorithmVeld/cleanup/VertexEditor.h"

#include "algorithmVeld/common/mesh/Compaction.h"
#include "algorithmVeld/common/mesh/MeshInfo.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh/Surroundings.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

namespace OrvaneAlgorithm
{

using detail::IsolatedVertices;
using OpenMesh::VertexHandle;

namespace
{

/// The vertices with more than one gap, in their order, without what is marked deleted or hidden,
/// as a walk over the mesh passes them. The mesh has its status attributes. One pass over the
/// halfedges tells which can have more than one, since every gap has a halfedge that leaves the
/// vertex; only those are looked at closely.
std::vector<VertexHandle> non_manifold_vertices(TriMesh const& mesh)
{
    std::vector<unsigned char> gaps(mesh.n_vertices(), 0);
    int const n = static_cast<int>(mesh.n_halfedges());
    detail::LoopProgress progress(mesh.n_halfedges());
    for (int i = 0; i < n; ++i)
    {
        progress.next();
        OpenMesh::HalfedgeHandle const h(i);
        auto const from = mesh.from_vertex_handle(h);
        if (mesh.is_boundary(h) && mesh.is_valid_handle(from))
        {
            auto& count = gaps[static_cast<std::size_t>(from.idx())];
            count = count < 2 ? static_cast<unsigned char>(count + 1) : count;
        }
    }
    std::vector<VertexHandle> found;
    detail::CancelPoll poll;
    for (std::size_t v = 0; v < gaps.size(); ++v)
    {
        poll.next();
        VertexHandle const vertex(static_cast<int>(v));
        auto const& status = mesh.status(vertex);
        if (gaps[v] > 1 && !status.deleted() && !status.hidden() &&
            detail::count_gaps(mesh, vertex) > 1)
        {
            found.push_back(vertex);
        }
    }
    return found;
}

/// Deletes vertices, and keeps the list of those that lost a neighbour.
class Removal
{
public:
    explicit Removal(TriMesh& mesh) : mesh_(mesh), queued_(mesh.n_vertices(), false) {}

    void remove(VertexHandle vertex)
    {
        for (auto const neighbour : mesh_.vv_range(vertex))
        {
            if (neighbour.is_valid() && !queued(neighbour))
            {
                work_.push_back(neighbour);
                queued(neighbour) = true;
            }
        }
        detail::delete_vertex_checked(mesh_, vertex, IsolatedVertices::DELETED);
    }

    /// A vertex on the list goes even if the removal of another has left it with one gap.
    void remove_all(std::vector<VertexHandle> const& vertices)
    {
        detail::LoopProgress progress(vertices.size());
        for (auto const vertex : vertices)
        {
            progress.next();
            if (!detail::is_deleted(mesh_, vertex))
            {
                remove(vertex);
            }
        }
    }

    void remove_what_was_damaged()
    {
        detail::CancelPoll poll;
        for (std::size_t i = 0; i < work_.size(); ++i)
        {
            poll.next();
            VertexHandle const vertex = work_[i];
            if (mesh_.is_isolated(vertex))
            {
                detail::delete_vertex_checked(mesh_, vertex, IsolatedVertices::DELETED);
            }
            else if (detail::count_gaps(mesh_, vertex) > 1)
            {
                remove(vertex);
            }
            else
            {
                // It stays for now, so a later deletion next to it has to bring it back. The mark
                // of a vertex that went is kept.
                queued(vertex) = false;
            }
        }
    }

private:
    std::vector<bool>::reference queued(VertexHandle vertex)
    {
        return queued_[static_cast<std::size_t>(vertex.idx())];
    }

    TriMesh& mesh_;
    std::vector<bool> queued_;
    std::vector<VertexHandle> work_;
};

} // namespace

RetVal VertexEditor::remove_non_manifold_verts(TriMesh& mesh, bool verbose)
{
    detail::log_line(verbose, "remove_non_manifold_verts() ..\n");
    detail::log_size(verbose, detail::INITIAL_SIZE, mesh);
    {
        detail::DeletionScope const status(mesh);
        detail::CompactedOnException const compacted(mesh);
        detail::Stages stages({6, 2, 2});
        stages.next();
        Removal removal(mesh);
        auto const vertices = non_manifold_vertices(mesh);
        stages.next();
        removal.remove_all(vertices);
        removal.remove_what_was_damaged();
        stages.next();
        detail::compact(mesh);
    }
    detail::log_size(verbose, detail::FINAL_SIZE, mesh);
    return RET_SUCCESS;
}

} // namespace OrvaneAlgorithm
