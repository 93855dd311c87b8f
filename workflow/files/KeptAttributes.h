#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <vector>

namespace veld
{

/// Normals and colours of a mesh's vertices across a change that moves vertices and adds some.
/// The library's careful filling computes normals for itself, also for a mesh that had none, and
/// knows nothing of colours.
class KeptAttributes
{
public:
    /// Remembers the mesh as it is before the change.
    explicit KeptAttributes(OrvaneAlgorithm::TriMesh const& mesh);

    /// Gives the changed mesh the attributes that it had: the same values where the surface is the
    /// same, new normals where it is not, and to new vertices the colours around them.
    void restore(OrvaneAlgorithm::TriMesh& mesh) const;

private:
    void restore_normals(OrvaneAlgorithm::TriMesh& mesh) const;
    bool is_changed(OrvaneAlgorithm::TriMesh const& mesh, OpenMesh::FaceHandle face) const;
    void colour_new_vertices(OrvaneAlgorithm::TriMesh& mesh) const;

    bool had_vertex_normals_;
    bool had_face_normals_;
    std::size_t faces_;
    std::vector<OrvaneAlgorithm::Vector3f> points_;
    std::vector<OrvaneAlgorithm::Vector3f> normals_;
};

} // namespace veld
