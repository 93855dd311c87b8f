#pragma once

#include "workflow/export.h"

#include "algorithmVeld/common/types.h"

#include <filesystem>
#include <vector>

namespace veld
{

/// Where sticks stand and how large they are.
struct StickSeeds
{
    OrvaneAlgorithm::Verts points;                ///< A point on each stick, in millimetres.
    std::vector<OrvaneAlgorithm::Vector2f> sizes; ///< Diameter and height in millimetres.
};

/// Reads a seed file: one stick a line, `x y z diameter height`, `#` begins a comment.
/// Throws `InputError` for a line that is none, or a file without any.
VELD_WORKFLOW_API StickSeeds read_seeds(std::filesystem::path const& path);

} // namespace veld
