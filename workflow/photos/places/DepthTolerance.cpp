#include "workflow/photos/places/DepthTolerance.h"

#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/common/mesh/EdgeLengths.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::detail::edge_length;
using OrvaneAlgorithm::detail::median;

namespace
{

double median_edge(TriMesh const& mesh)
{
    std::vector<double> lengths;
    lengths.reserve(mesh.n_edges());
    for (auto const edge : mesh.edges())
    {
        double const length = edge_length(mesh, edge);
        if (std::isfinite(length))
        {
            lengths.push_back(length);
        }
    }
    return median(std::move(lengths));
}

/// What a pixel is wide where photographs have places in view that are turned to them.
double median_pixel(std::vector<SampledPlace> const& places, std::vector<PhotoView> const& views)
{
    std::vector<double> widths;
    for (auto const& view : views)
    {
        PlacedCamera const camera(view);
        double const focal_length = std::sqrt(view.intrinsics.get_fx() * view.intrinsics.get_fy());
        for (auto const& place : places)
        {
            if (camera.pixel_inside(place.point) && camera.faces(place, 0.0))
            {
                widths.push_back(camera.depth(place.point) / focal_length);
            }
        }
    }
    return median(std::move(widths));
}

} // namespace

double measure_photo_spacing(TriMesh const& mesh, std::vector<SampledPlace> const& places,
                             std::vector<PhotoView> const& views)
{
    return std::max(median_edge(mesh), median_pixel(places, views));
}

} // namespace veld
