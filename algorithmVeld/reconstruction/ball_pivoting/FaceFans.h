#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <map>

namespace OrvaneAlgorithm::detail
{

/// The faces around a vertex, which fall into several fans where the boundary passes it more than
/// once.
class FaceFans
{
public:
    /// Looks at the faces that are not marked deleted.
    FaceFans(TriMesh const& mesh, OpenMesh::VertexHandle vertex);

    /// For each face, how many others can be reached from it around the vertex across shared edges:
    /// one less than its fan has faces, or more than there are faces around the vertex if its fan
    /// is closed.
    std::map<OpenMesh::FaceHandle, int> const& reach() const { return reach_; }

    /// Whether a face reaches less than half of the faces around the vertex, rounded down.
    bool is_minor(int reach) const { return reach < static_cast<int>(n_faces_) / 2; }

    /// False if the walk around the vertex passed a face twice.
    bool is_consistent() const { return n_faces_ == reach_.size(); }

private:
    int count_reachable(TriMesh const& mesh, OpenMesh::VertexHandle vertex,
                        OpenMesh::FaceHandle face) const;

    std::size_t n_faces_ = 0; ///< as often as the walk passed them
    std::map<OpenMesh::FaceHandle, int> reach_;
};

} // namespace OrvaneAlgorithm::detail
