#pragma once

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"

#include <memory>
#include <optional>

namespace OrvaneAlgorithm::detail
{

/// One hole on its way through the stages: its sub-mesh, and why it was given up, if it was.
struct HoleWork
{
    std::unique_ptr<HoleSubMesh> sub;
    std::optional<OpenReason> open;
};

} // namespace OrvaneAlgorithm::detail
