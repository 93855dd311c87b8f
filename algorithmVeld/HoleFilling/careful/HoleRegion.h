#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/mesh/MeshScope.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Grows regions of faces around holes, limited by rings and by the length of a path over the
/// centroids. Its temporary properties are on the mesh while it lives.
///
/// Ring and path length of a face stay from one region to the next: a face that an earlier hole
/// reached in fewer steps keeps that number, so the order of the holes matters.
class HoleRegionGrowth
{
public:
    explicit HoleRegionGrowth(TriMesh& mesh);

    /// The region around one hole: the faces along its boundary, then those around them, in the
    /// order in which they are reached.
    /// \param loop boundary halfedges of the hole; one without a face behind it is passed over
    /// \param max_ring,max_length a face is taken while it lies within both, the limits excluded;
    ///        the faces along the boundary are taken in any case
    /// \param in_region set on every face that is taken
    std::vector<OpenMesh::FaceHandle> grow(std::vector<OpenMesh::HalfedgeHandle> const& loop,
                                           int max_ring, float max_length,
                                           OpenMesh::FPropHandleT<bool> in_region);

private:
    void visit_neighbours(OpenMesh::FaceHandle face, int max_ring, float max_length,
                          std::vector<OpenMesh::FaceHandle>& front);

    TriMesh& mesh_;
    ScopedProperty<OpenMesh::FPropHandleT<bool>> visited_;
    ScopedProperty<OpenMesh::FPropHandleT<int>> ring_;
    ScopedProperty<OpenMesh::FPropHandleT<float>> length_;
    ScopedProperty<OpenMesh::FPropHandleT<Vector3f>> centroid_;
};

} // namespace OrvaneAlgorithm::detail
