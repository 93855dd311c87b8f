#pragma once

#include "workflow/steps/RepairSettings.h"

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/reconstruction/BallPivoting.h"

#include <cstddef>

namespace veld
{

/// A ball that rolls over one mesh in passes of different radii.
class BallSeries
{
public:
    explicit BallSeries(RepairSettings const& settings);

    /// Runs a pass. \param radius in the lengths of the mesh
    void roll(OrvaneAlgorithm::TriMesh& mesh, float radius);

    /// Times that the mesh could not take a face, in all passes.
    std::size_t refused_faces() const { return static_cast<std::size_t>(ball_.refused_faces()); }

private:
    OrvaneAlgorithm::BallPivoting ball_;
    bool deletes_fans_;
    bool knows_vertices_ = false; ///< Whether the ball does.
};

} // namespace veld
