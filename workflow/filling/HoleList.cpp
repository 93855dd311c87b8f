#include "workflow/filling/HoleList.h"

#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"

namespace veld
{

using OrvaneAlgorithm::Holes;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;

Holes all_holes(TriMesh& mesh)
{
    Holes holes;
    OrvaneAlgorithm::FindHolesEx::find_holes(mesh, holes, OrvaneAlgorithm::gPH.log_enabled);
    return holes;
}

Vector3d hole_centre(TriMesh const& mesh, Hole const& hole)
{
    Vector3d sum = Vector3d::Zero();
    for (auto const vertex : hole)
    {
        sum += mesh.point(vertex).cast<double>();
    }
    return sum / static_cast<double>(hole.size());
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

} // namespace veld
