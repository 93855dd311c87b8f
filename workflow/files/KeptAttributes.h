#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <functional>
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
    /// The same where faces were taken out and others have moved into their places.
    /// \param is_old whether a face was there before
    void restore(OrvaneAlgorithm::TriMesh& mesh,
                 std::function<bool(OpenMesh::FaceHandle)> const& is_old) const;

private:
    void restore_normals(OrvaneAlgorithm::TriMesh& mesh,
                         std::function<bool(OpenMesh::FaceHandle)> const& is_old) const;
    bool is_moved(OrvaneAlgorithm::TriMesh const& mesh, OpenMesh::FaceHandle face) const;
    void colour_new_vertices(OrvaneAlgorithm::TriMesh& mesh) const;

    bool had_vertex_normals_;
    bool had_face_normals_;
    std::size_t faces_;
    std::vector<OrvaneAlgorithm::Vector3f> points_;
    std::vector<OrvaneAlgorithm::Vector3f> normals_;
};

/// \name What a mesh carries from file to file, across a change
/// @{
/// Completes what was added: new vertices, which stand behind the old ones, get the mean of their
/// neighbours' values, from the rims inwards; new faces have no texture coordinates. \param made_by
/// 0 for each old face of the mesh
void complete_carried(OrvaneAlgorithm::TriMesh const& before, OrvaneAlgorithm::TriMesh& after,
                      std::vector<int> const& made_by);

/// Gives points that were made anew the values that they had. Those that are left have their order,
/// and of points at one place with one normal all are left or none.
void carry_over(OrvaneAlgorithm::TriMesh const& before, OrvaneAlgorithm::TriMesh& after);
/// @}

} // namespace veld
