#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>

namespace veld
{

/// Counts of a mesh that tell what shape it is in.
struct MeshHealth
{
    std::size_t vertices = 0;              ///< All, isolated ones among them.
    std::size_t faces = 0;                 ///< All.
    std::size_t edges = 0;                 ///< All.
    std::size_t boundary_edges = 0;        ///< Edges with a face on one side only.
    std::size_t holes = 0;                 ///< Boundary loops, each simple.
    std::size_t components = 0;            ///< Pieces of faces joined by edges.
    std::size_t non_manifold_vertices = 0; ///< Vertices whose faces form more than one fan.
    std::size_t isolated_vertices = 0;     ///< Vertices without a face.
    bool closed = false;                   ///< There are faces, and no edge has only one.
    double average_edge_length = 0.0;      ///< Millimetres; 0 without edges.
    OrvaneAlgorithm::Vector3f box_min =
        OrvaneAlgorithm::Vector3f::Zero(); ///< Lower corner of the bounding box.
    OrvaneAlgorithm::Vector3f box_max =
        OrvaneAlgorithm::Vector3f::Zero(); ///< Upper corner of the bounding box.
};

/// Counts a mesh and checks its health.
/// \param mesh not changed, but for a temporary property of the hole search
VELD_WORKFLOW_API MeshHealth inspect(OrvaneAlgorithm::TriMesh& mesh, Context& context);

/// The same for other steps, without one of its own.
MeshHealth measure_health(OrvaneAlgorithm::TriMesh& mesh);

/// Millimetres, over all edges that are not deleted, hidden ones too; 0 without any.
double average_edge_length(OrvaneAlgorithm::TriMesh const& mesh);

} // namespace veld
