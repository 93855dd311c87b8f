#pragma once

#include "workflow/steps/LoadFrames.h"
#include "workflow/steps/Merge.h"
#include "workflow/tiling/plan/TileBoxes.h"

#include <cstddef>
#include <vector>

namespace veld
{

/// What the first look at all frames tells.
class Survey
{
public:
    explicit Survey(MergeSettings const& settings);

    void add(NamedFrame const& frame);

    double spacing() const;
    double measured_spacing() const;

    /// Whether the noise of the frames would be taken out in a whole.
    bool is_noisy(MergeSettings const& settings) const;

    double side = 0.0; ///< of the cells; 0 as long as no frame has a spacing, and nothing counted
    CellCounts counts;
    std::size_t points = 0;
    std::size_t frames = 0;
    bool has_colours = false;
    bool has_photos = false;

private:
    using Points = std::vector<OrvaneAlgorithm::Vector3f>;

    void count(Points const& samples);

    double given_spacing_;
    double given_noise_;
    Points uncounted_; ///< of frames before the first that has a spacing
    std::vector<double> spacings_;
    std::vector<double> noise_; ///< of each frame
    bool are_cameras_ = true;
};

} // namespace veld
