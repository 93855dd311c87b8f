#pragma once

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"

#include <cstddef>
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

/// Runs `stage(i)` for each hole. The large holes come one after the other, each with all threads
/// for itself; the others side by side.
template <typename Stage>
void for_each_hole(std::vector<std::vector<OpenMesh::HalfedgeHandle>> const& loops,
                   Stage const& stage)
{
    constexpr std::size_t LARGE = 256;
    std::vector<std::size_t> small;
    std::vector<std::size_t> large;
    for (std::size_t i = 0; i < loops.size(); ++i)
    {
        (loops[i].size() < LARGE ? small : large).push_back(i);
    }
    // A large hole takes as long as many others.
    double const n = static_cast<double>(100 * large.size() + small.size());
    for (std::size_t k = 0; k < large.size(); ++k)
    {
        ProgressPart const part(100.0 * static_cast<double>(k) / n,
                                100.0 * static_cast<double>(k + 1) / n);
        stage(large[k]);
    }
    ProgressPart const rest(100.0 * static_cast<double>(large.size()) / n, 1.0);
    parallel_for_uneven(static_cast<std::ptrdiff_t>(small.size()),
                        [&](std::ptrdiff_t k) { stage(small[static_cast<std::size_t>(k)]); });
}

} // namespace OrvaneAlgorithm::detail
