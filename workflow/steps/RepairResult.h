#pragma once

#include "workflow/steps/Inspect.h"
#include "workflow/steps/RepairSettings.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <vector>

namespace veld
{

/// What one pass did.
struct RepairPass
{
    double radius = 0.0;       ///< Millimetres; 0: ears.
    std::size_t new_faces = 0; ///< Faces that were added.
};

/// What repairing made.
struct RepairResult
{
    /// Vertices keep their numbers, and faces too as long as none are lost; new ones come last.
    OrvaneAlgorithm::TriMesh mesh;
    RepairSettings settings;        ///< As they were taken: no length is 0.
    MeshHealth before;              ///< Of the mesh as it was.
    MeshHealth after;               ///< Of the repaired mesh.
    std::size_t new_faces = 0;      ///< Faces that were added.
    std::size_t refused_faces = 0;  ///< Times that the mesh could not take a face of the ball.
    std::size_t dropped_faces = 0;  ///< New faces that went again.
    std::size_t lost_faces = 0;     ///< Old faces in fans that went.
    std::vector<RepairPass> passes; ///< In the order in which they ran.
    double seconds = 0.0;           ///< Of the repair alone.
};

} // namespace veld
