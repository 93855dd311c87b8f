#pragma once

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/HoleFilling/careful/HoleCrew.h"
#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// One hole on its way through the stages: its sub-mesh, and why it was given up, if it was.
struct HoleWork
{
    std::unique_ptr<HoleSubMesh> sub;
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

} // namespace OrvaneAlgorithm::detail
