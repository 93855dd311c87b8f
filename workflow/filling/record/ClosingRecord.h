#pragma once

#include "workflow/filling/record/OpenEdges.h"
#include "workflow/steps/FillResult.h"

#include <functional>
#include <vector>

namespace veld
{

/// Notes which pass of a filling closed which hole. Passes may cut and append, but keep the numbers
/// of vertices.
class ClosingRecord
{
public:
    /// \param holes all holes of the mesh
    ClosingRecord(OrvaneAlgorithm::TriMesh const& mesh, OrvaneAlgorithm::Holes const& holes);

    /// Notes the holes of which a pass left nothing open.
    /// \param before the mesh as it was, if the pass cut faces away, else nothing
    /// \param is_new whether the pass made a face
    void note(FillMethod method, OrvaneAlgorithm::TriMesh const& after,
              OrvaneAlgorithm::TriMesh const* before,
              std::function<bool(OpenMesh::FaceHandle)> const& is_new);

    std::vector<ClosedHoleReport> closed() const;

private:
    struct Entry
    {
        ClosedHoleReport report;
        std::vector<RimEdge> open; ///< What is left of it, or of what a cut has made of it.
        bool is_closed = false;
    };

    std::vector<Entry> holes_;
};

} // namespace veld
