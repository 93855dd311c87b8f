#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <mutex>
#include <optional>

namespace OrvaneAlgorithm::detail
{

/// Unused edges and faces at the end of the mesh, which threads take in blocks. So the mesh's
/// arrays don't move while threads read and link it.
class ElementStore
{
public:
    /// Edges and faces side by side, for one thread.
    struct Block
    {
        OpenMesh::HalfedgeHandle edge(OpenMesh::VertexHandle from, OpenMesh::VertexHandle to)
        {
            OpenMesh::HalfedgeHandle const h(2 * (first_edge + edges++));
            mesh->set_vertex_handle(h, to);
            mesh->set_vertex_handle(mesh->opposite_halfedge_handle(h), from);
            return h;
        }
        OpenMesh::FaceHandle face() { return OpenMesh::FaceHandle(first_face + faces++); }

        TriMesh* mesh = nullptr;
        int first_edge = 0;
        int first_face = 0;
        int edges = 0; ///< How many are used.
        int faces = 0;
    };

    explicit ElementStore(TriMesh& mesh)
        : mesh_(mesh), next_edge_(mesh.n_edges()), next_face_(mesh.n_faces())
    {
    }

    /// Makes room for at least so many triangles. No thread may look at the mesh meanwhile.
    void enlarge(std::size_t triangles)
    {
        // Growing in one step by what is wanted, not to twice the size.
        mesh_.reserve_more(0, 3 * triangles, triangles);
        mesh_.resize(mesh_.n_vertices(), mesh_.n_edges() + 3 * triangles,
                     mesh_.n_faces() + triangles);
    }

    /// Takes what so many triangles can need. \return nothing if there is not so much left
    std::optional<Block> take(std::size_t triangles)
    {
        std::lock_guard<std::mutex> const lock(mutex_);
        if (next_face_ + triangles > mesh_.n_faces() ||
            next_edge_ + 3 * triangles > mesh_.n_edges())
        {
            return std::nullopt;
        }
        Block const block{&mesh_, static_cast<int>(next_edge_), static_cast<int>(next_face_)};
        next_edge_ += 3 * triangles;
        next_face_ += triangles;
        return block;
    }

private:
    TriMesh& mesh_;
    std::mutex mutex_;
    std::size_t next_edge_;
    std::size_t next_face_;
};

} // namespace OrvaneAlgorithm::detail
