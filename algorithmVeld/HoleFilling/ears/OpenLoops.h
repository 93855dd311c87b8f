#pragma once

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/common/TriMesh.h"

#include <unordered_map>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Notes what attempts at holes left open, and tells at the end of a run which loops are open and
/// why.
class OpenLoops
{
public:
    /// Notes an attempt that did not close its hole.
    /// \param loop the boundary halfedges that were tried
    /// \param first_edge,last_edge the edges that the attempt made, the last one not included
    void note(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
              std::size_t first_edge, std::size_t last_edge, OpenReason reason);

    /// The noted loops that are open now, in the order in which they were noted first. The latest
    /// attempt at any piece of a loop tells its reason.
    /// \param apart whether a boundary that touches itself is told as several simple loops, each
    ///        with a reason of its own
    std::vector<OpenHole> collect(TriMesh const& mesh, bool apart) const;

private:
    struct Attempt
    {
        std::size_t number;
        OpenReason reason;
    };

    void note(TriMesh const& mesh, OpenMesh::HalfedgeHandle h, Attempt const& attempt);
    OpenReason reason_of(std::vector<OpenMesh::HalfedgeHandle> const& loop) const;

    std::size_t attempts_ = 0;
    std::vector<OpenMesh::HalfedgeHandle> noted_;
    std::unordered_map<int, Attempt> latest_;
};

} // namespace OrvaneAlgorithm::detail
