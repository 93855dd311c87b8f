#include "workflow/tiling/plan/Survey.h"

#include "workflow/steps/FrameNoise.h"
#include "workflow/tiling/plan/FrameSamples.h"

#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/reconstruction/DepthFrames.h"
#include "algorithmVeld/reconstruction/DepthNoise.h"
#include "algorithmVeld/reconstruction/FrameOverlap.h"

namespace veld
{

using OrvaneAlgorithm::DepthFrames;
using OrvaneAlgorithm::FrameOverlap;
using OrvaneAlgorithm::Vector3f;

namespace
{

/// Side of the cells by which samples are counted, in spacings of the first frame that has one.
constexpr double CELL_SPACINGS = 16.0;
/// More of them are put together: what is counted stays small whatever the spacing.
constexpr std::size_t MOST_CELLS = std::size_t{1} << 20;

} // namespace

Survey::Survey(MergeSettings const& settings)
    : given_spacing_(settings.spacing), given_noise_(settings.noise)
{
}

void Survey::add(NamedFrame const& frame)
{
    RangeData const& data = frame.data;
    double const spacing = FrameOverlap::measure_point_spacing({&data});
    if (spacing > 0.0)
    {
        spacings_.push_back(spacing);
    }
    Points samples;
    for_each_sample(data,
                    [&](std::size_t /*i*/, Vector3f const& point) { samples.push_back(point); });
    points += samples.size();
    if (side == 0.0 && this->spacing() > 0.0)
    {
        side = CELL_SPACINGS * this->spacing();
        count(uncounted_);
        uncounted_ = {};
    }
    if (side == 0.0)
    {
        uncounted_.insert(uncounted_.end(), samples.begin(), samples.end());
    }
    else
    {
        count(samples);
    }
    has_colours = has_colours || data.has_vColor;
    has_photos = has_photos || frame.photo != nullptr;
    are_cameras_ = are_cameras_ && DepthFrames::is_camera_frame(data);
    if (are_cameras_)
    {
        noise_.push_back(noise_of({&data}, given_noise_).in_the_middle());
    }
    ++frames;
}

double Survey::spacing() const
{
    return given_spacing_ > 0.0 ? given_spacing_ : measured_spacing();
}

double Survey::measured_spacing() const
{
    return OrvaneAlgorithm::detail::median(spacings_);
}

bool Survey::is_noisy(MergeSettings const& settings) const
{
    return settings.preparation == Preparation::AUTO && settings.layers == Layers::MEAN &&
           are_cameras_ &&
           OrvaneAlgorithm::detail::hides_surface(OrvaneAlgorithm::detail::median(noise_),
                                                  measured_spacing());
}

void Survey::count(Points const& samples)
{
    // Most samples are in the cell of the one before.
    auto last = counts.end();
    for (auto const& point : samples)
    {
        auto const cell = cell_of(point, side);
        if (last == counts.end() || last->first != cell)
        {
            last = counts.emplace(cell, 0).first;
        }
        ++last->second;
    }
    while (counts.size() > MOST_CELLS)
    {
        counts = in_larger_cells(counts);
        side *= 2.0;
    }
}

} // namespace veld
