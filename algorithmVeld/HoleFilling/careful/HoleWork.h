#pragma once

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/HoleFilling/careful/HoleMerge.h"
#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"
#include "algorithmVeld/HoleFilling/triangulation/HoleCrew.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// One hole on its way through the stages: its sub-mesh, what has been made of it at the end, and
/// why it was given up, if it was. A sub-mesh is dropped as soon as it has served, so that ten
/// thousand holes need little more room than their new faces.
struct HoleWork
{
    std::unique_ptr<HoleSubMesh> sub;
    Fill fill;
    std::optional<OpenReason> open;
};

/// Works on one hole.
/// \param turn none if it is the only hole: then all threads are its own
using HoleStage = std::function<void(std::size_t hole, HoleTurn const* turn)>;

/// Runs a stage for each hole, side by side, the large ones first. Of several exceptions the one of
/// the first hole in that order is thrown.
/// \param loops boundary halfedges of each hole
void for_each_hole(std::vector<std::vector<OpenMesh::HalfedgeHandle>> const& loops,
                   HoleStage const& stage);

/// Makes room in the mesh for the fills of all holes that were not given up.
void reserve_for_fills(TriMesh& mesh, std::vector<HoleWork> const& works);

} // namespace OrvaneAlgorithm::detail
