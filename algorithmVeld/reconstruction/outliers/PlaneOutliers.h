#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <functional>

namespace OrvaneAlgorithm::detail
{

/// Which points lie off the surface.
struct OutlierSettings
{
    float start_radius = 0.0F;   ///< Of the search around vertices with shorter border edges.
    float outlier_factor = 0.0F; ///< Largest squared distance, in means of those of a place.
};

/// Is told of a vertex before it is marked deleted.
using OutlierNotice = std::function<void(OpenMesh::VertexHandle)>;

/// Marks loose points as deleted that lie off the surface of their place: around each border vertex
/// a plane is fitted through it, and vertices without faces go whose squared distance from the
/// plane is more than `outlier_factor` times the mean of those of all border vertices there.
/// Vertices with faces stay, however far off they are. The mesh needs its four status attributes,
/// and vertex normals. Logs places without a plane if the log switch is on. \return how many were
/// deleted
int delete_plane_outliers(TriMesh& mesh, OutlierSettings const& settings,
                          OutlierNotice const& notice);

} // namespace OrvaneAlgorithm::detail
