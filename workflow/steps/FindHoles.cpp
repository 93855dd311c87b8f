#include "workflow/steps/FindHoles.h"

#include "workflow/StepScope.h"
#include "workflow/filling/HoleList.h"

#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"

namespace veld
{

using OrvaneAlgorithm::FindHolesEx;
using OrvaneAlgorithm::gPH;
using OrvaneAlgorithm::Holes;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

namespace
{

HoleSummary summarise(TriMesh const& mesh, Hole const& hole)
{
    HoleSummary summary;
    summary.vertices = hole.size();
    summary.edges = hole.size();
    summary.perimeter = hole_perimeter(mesh, hole);
    summary.centre = hole_centre(mesh, hole);
    return summary;
}

Holes holes_of(TriMesh& mesh, HolesOfMarkers const& settings)
{
    Holes holes;
    FindHolesEx::find_marker_holes(mesh, settings.markers.points, settings.markers.normals,
                                   settings.match, settings.radius, settings.use_normals,
                                   settings.normal_dot, holes, gPH.log_enabled);
    return holes;
}

Holes nearest(TriMesh const& mesh, Holes const& holes, HoleNearPlace const& wanted)
{
    Hole hole;
    FindHolesEx::find_hole(mesh, wanted.place, holes, wanted.distance, hole, gPH.log_enabled);
    return hole.empty() ? Holes() : Holes{hole};
}

Holes holes_by_size(TriMesh& mesh, FindHolesSettings const& settings)
{
    Holes holes;
    if (settings.max_perimeter > 0.0)
    {
        FindHolesEx::find_holes(mesh, settings.max_perimeter, holes, gPH.log_enabled);
    }
    else
    {
        holes = all_holes(mesh);
    }
    return settings.nearest_to ? nearest(mesh, holes, *settings.nearest_to) : holes;
}

} // namespace

double box_diagonal(TriMesh const& mesh)
{
    Vector3f min;
    Vector3f max;
    mesh.get_boundBox(min, max);
    return (max.cast<double>() - min.cast<double>()).norm();
}

FindHolesResult find_holes(TriMesh& mesh, FindHolesSettings const& settings, Context& context)
{
    StepScope const scope(context, "find-holes", "find the holes");
    FindHolesResult result;
    result.holes =
        settings.of_markers ? holes_of(mesh, *settings.of_markers) : holes_by_size(mesh, settings);
    for (auto const& hole : result.holes)
    {
        result.summaries.push_back(summarise(mesh, hole));
    }
    return result;
}

} // namespace veld
