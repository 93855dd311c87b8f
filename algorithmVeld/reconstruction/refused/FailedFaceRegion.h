#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <array>
#include <string>

namespace OrvaneAlgorithm::detail
{

/// A triangle that a mesh has refused.
struct FailedFace
{
    std::array<OpenMesh::VertexHandle, 3> corners;
    Vector3f point_a; ///< Where the first corner is, as printed.
    Vector3f point_b;
    float radius = 0.0F; ///< How wide its finder looked; part of the file's name.
    int level = 0;       ///< Which of its finder's attempts it was; part of the file's name.
};

/// Whether the file of a region has the refused triangle, as its first face.
enum class FailedFaceIn
{
    LEFT_OUT,
    WRITTEN
};

/// Prints the faces around the corners of a refused triangle past the log, and writes them as text
/// OBJ to `directory`/patch_radius-R_[A-B-C]_level-L.obj, or with the triangle to
/// `directory`/patch_radius-R_[A-B-C]_level-L_with-failed-face.obj.
/// \param directory empty for no file; one that cannot be written is told
void output_failed_face_region(TriMesh const& mesh, FailedFace const& failed,
                               std::string const& directory, FailedFaceIn triangle);

} // namespace OrvaneAlgorithm::detail
