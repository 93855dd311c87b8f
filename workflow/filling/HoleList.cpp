#include "workflow/filling/HoleList.h"

#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"

namespace veld
{

using OrvaneAlgorithm::Holes;
using OrvaneAlgorithm::TriMesh;

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

} // namespace veld
