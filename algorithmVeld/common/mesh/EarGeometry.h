#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <string>

namespace OrvaneAlgorithm::detail
{

/// What came of measuring a corner.
enum class CornerStatus
{
    MEASURED,
    SHORT_SIDE,     ///< The corner coincides with a neighbour.
    NO_HALFEDGE,    ///< No halfedge leads from the previous corner to this one.
    NOT_A_TRIANGLE, ///< There is no triangle across that halfedge.
    SHORT_FACE_SIDE ///< That triangle has corners that coincide.
};

/// A corner of a hole, as measured. Angle and length count only if it could be measured.
struct Corner
{
    CornerStatus status = CornerStatus::MEASURED;
    float angle = 0.0F;    ///< Interior angle in radians, 0 to 2 pi.
    float edge_len = 0.0F; ///< Distance between the two neighbours.
};

/// Measures the corner `cur` between its neighbours on the hole. Which side of the corner is the
/// hole is told by the face across the edge from `prev` to `cur`, never by a global normal.
Corner measure_corner(TriMesh const& mesh, OpenMesh::VertexHandle cur, OpenMesh::VertexHandle prev,
                      OpenMesh::VertexHandle next);

/// The line to log about a corner that could not be measured; empty for one that was.
/// \param file \param line the place in the source of whoever measures
std::string corner_message(CornerStatus status, char const* file, int line);

/// The threshold of `consistency_normal` for an angle in degrees.
float cosine_of_degrees(double degrees);

/// Whether a triangle is a sliver: the sine of the angle between two sides is below 0.001.
/// \param normal their cross product
bool is_sliver(Vector3f const& e1, Vector3f const& e2, Vector3f const& normal);

/// Whether the normal of a face is no farther off a normal of unit length than an angle; faces that
/// are no triangles always agree.
/// \param cos_thr cosine of the largest angle
bool face_agrees(TriMesh const& mesh, OpenMesh::FaceHandle face, Vector3f const& normal,
                 float cos_thr);

/// Whether all faces around a vertex agree with a normal of unit length.
bool faces_agree(TriMesh const& mesh, OpenMesh::VertexHandle vertex, Vector3f const& normal,
                 float cos_thr);

/// Whether a triangle is no sliver and its normal agrees with all faces around its three corners.
/// \param cos_thr cosine of the largest angle between the normals
bool consistency_normal(TriMesh const& mesh, OpenMesh::VertexHandle a, OpenMesh::VertexHandle b,
                        OpenMesh::VertexHandle c, float cos_thr);

} // namespace OrvaneAlgorithm::detail
