#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The positions of all vertices, by index.
inline std::vector<Vector3f> const& points_of(TriMesh const& mesh)
{
    return mesh.property(mesh.points_property_handle()).data_vector();
}

} // namespace OrvaneAlgorithm::detail
