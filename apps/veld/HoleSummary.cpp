#include "HoleSummary.h"

#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"

#include <fmt/format.h>

namespace veld
{

using OrvaneAlgorithm::Holes;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

Holes all_holes(TriMesh& mesh)
{
    Holes holes;
    OrvaneAlgorithm::FindHolesEx::find_holes(mesh, holes, OrvaneAlgorithm::gPH.log_enabled);
    return holes;
}

double hole_perimeter(TriMesh const& mesh, Hole const& hole)
{
    double perimeter = 0.0;
    for (std::size_t i = 0; i < hole.size(); ++i)
    {
        // In double, where the square of no float overflows.
        perimeter += (mesh.point(hole[(i + 1) % hole.size()]).cast<double>() -
                      mesh.point(hole[i]).cast<double>())
                         .norm();
    }
    return perimeter;
}

HoleSummary summarise(TriMesh const& mesh, Hole const& hole)
{
    HoleSummary summary;
    summary.vertices = hole.size();
    summary.edges = hole.size();
    summary.perimeter = hole_perimeter(mesh, hole);
    for (auto const vertex : hole)
    {
        summary.centre += mesh.point(vertex).cast<double>();
    }
    summary.centre /= static_cast<double>(hole.empty() ? 1 : hole.size());
    return summary;
}

double box_diagonal(TriMesh const& mesh)
{
    Vector3f min;
    Vector3f max;
    mesh.get_boundBox(min, max);
    return (max.cast<double>() - min.cast<double>()).norm();
}

std::string counted(std::size_t n, std::string const& noun)
{
    return fmt::format("{} {}{}", n, noun, n == 1 ? "" : "s");
}

} // namespace veld
