#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Gives numbers 0, 1, 2, ... to the keys that are added, in the order in which they come: a hash
/// table with open addresses that keeps its memory when it is cleared.
class KeyNumbers
{
public:
    /// \return the key's number, and whether the key is new
    std::pair<int, bool> add(int key);

    /// The key's number, -1 if it has none.
    int find(int key) const;

    int key(int number) const { return keys_[static_cast<std::size_t>(number)]; }
    int size() const { return static_cast<int>(keys_.size()); }

    /// Forgets all keys. Costs as much as keys are held, however large the table has become: one
    /// long loop must not slow down all the short ones after it.
    /// \return the number of slots that were written
    std::size_t clear();

private:
    std::size_t slot(int key) const;
    void grow();

    std::vector<int> keys_;  // By number.
    std::vector<int> slots_; // Numbers by hash, -1 where none is; a power of two of them.
};

/// A private copy of the mesh around some vertices, the centres. Around a centre it cannot be told
/// from the mesh: its halfedges in and out with their faces and links, the order in which they
/// come, and what `add_face` does to them. Farther out it ends.
class MeshPatch
{
public:
    /// Copies anew. What was copied before is forgotten, its memory is used again.
    void copy(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& centres);

    TriMesh& mesh() { return patch_; }
    TriMesh const& mesh() const { return patch_; }

    /// The patch's vertex for a vertex of the mesh, invalid if it was not copied.
    OpenMesh::VertexHandle to_patch(OpenMesh::VertexHandle vertex) const
    {
        return OpenMesh::VertexHandle(vertices_.find(vertex.idx()));
    }

    /// The mesh's vertex for a vertex of the patch.
    OpenMesh::VertexHandle to_mesh(OpenMesh::VertexHandle vertex) const
    {
        return OpenMesh::VertexHandle(vertices_.key(vertex.idx()));
    }

private:
    void number_elements(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& centres);
    void link_elements(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& centres);
    OpenMesh::HalfedgeHandle to_patch(OpenMesh::HalfedgeHandle h) const;

    TriMesh patch_;
    KeyNumbers vertices_;
    KeyNumbers edges_;
    KeyNumbers faces_;
};

} // namespace OrvaneAlgorithm::detail
