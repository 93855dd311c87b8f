#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <array>
#include <functional>

/// \file
/// The refinement of a fill: faces are split at their centroids, and edges flipped to the better
/// diagonal. The two passes and the flip need the four status attributes on the mesh.

namespace OrvaneAlgorithm::detail
{

/// The properties that a refinement keeps up to date.
struct RefinementFlags
{
    OpenMesh::FPropHandleT<bool> face_new;      ///< Faces that may change.
    OpenMesh::VPropHandleT<bool> vert_new;      ///< Set to true on new vertices.
    OpenMesh::VPropHandleT<bool> vert_boundary; ///< Set to false on new vertices.
};

/// A face that may be split.
struct FaceCorners
{
    std::array<OpenMesh::VertexHandle, 3> verts; ///< In halfedge order.
    std::array<Vector3f, 3> points;
    Vector3f centroid;
};

/// Whether to split a face.
using SplitCriterion = std::function<bool(FaceCorners const&)>;
/// Told of each new vertex and the corners of the face that it split.
using SplitNotice = std::function<void(OpenMesh::VertexHandle, FaceCorners const&)>;

/// Whether two of the face's edges are longer than `long_edge` and its centroid keeps half of that
/// from every corner.
bool is_coarse(FaceCorners const& face, double long_edge);

/// Splits the new faces that meet the criterion at their centroids, and flips the edges opposite to
/// the new vertices where that is better. Faces made here wait for the next pass.
/// \param notice may be empty
/// \return the number of splits
int split_pass(TriMesh& mesh, RefinementFlags const& flags, SplitCriterion const& criterion,
               SplitNotice const& notice = {});

/// Visits every edge between two new faces once and flips it where the other diagonal fits better,
/// or equally well.
/// \return the number of flips. On points of one circle every visit flips, so this need not come to
///         0.
int relax_pass(TriMesh& mesh, OpenMesh::FPropHandleT<bool> face_new);

/// Flips the edge `a`-`b` between the new faces `f` (with the third vertex `c`) and that of the
/// halfedge `h`, unless the angles at `a` and `b` are together larger than those opposite.
/// \return whether the edge was flipped
bool swap_edge(TriMesh& mesh, OpenMesh::FPropHandleT<bool> face_new, OpenMesh::FaceHandle f,
               OpenMesh::HalfedgeHandle h, OpenMesh::VertexHandle a, OpenMesh::VertexHandle b,
               OpenMesh::VertexHandle c);

/// What a refinement does, and how often.
struct RefinementRule
{
    SplitCriterion is_coarse; ///< Which faces it splits.
    int rounds;               ///< Rounds of a split pass and a relax pass, at most.
};

/// Runs the rounds, until one changes nothing, and collects the garbage: handles of the mesh
/// change.
void refine_fill(TriMesh& mesh, RefinementFlags const& flags, RefinementRule const& rule);

} // namespace OrvaneAlgorithm::detail
