#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <vector>

namespace veld
{

/// What happens where several fans of faces meet at a vertex.
enum class Pinches
{
    KEPT,
    OF_NEW_FACES, ///< Fans of new faces alone go beside others.
    OF_ALL_FACES  ///< One fan stays: the one with the most old faces, or the most faces.
};

/// Faces that a repair should not leave.
struct SpoiltFaces
{
    Pinches pinches = Pinches::OF_NEW_FACES; ///< With new faces back to back, unless they are kept.
    /// New faces go whose normal has a smaller product with that of a corner; -1 for none. Normals
    /// that are zero are not asked.
    double min_cosine = -1.0;
};

/// Takes spoilt faces out of a mesh, and those that are spoilt by it. Old faces keep their numbers
/// unless some of them go.
/// \param is_old of each face, not 0 where it was there before; it goes along with the faces
/// \return how many went
std::size_t drop_spoilt_faces(OrvaneAlgorithm::TriMesh& mesh, OpenMesh::FPropHandleT<char> is_old,
                              SpoiltFaces const& spoilt);

} // namespace veld
