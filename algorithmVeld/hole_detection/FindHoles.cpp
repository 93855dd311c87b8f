#include "algorithmVeld/hole_detection/FindHoles.h"

#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/hole_detection/loops/BoundaryLoops.h"
#include "algorithmVeld/hole_detection/loops/HoleCentres.h"

#include <algorithm>

namespace OrvaneAlgorithm
{

namespace
{

/// All boundary loops as they are, by their to-vertices: where a halfedge ends the next one starts.
Holes unsplit_holes(TriMesh& mesh)
{
    Holes holes = detail::boundary_walks_by_vertex(mesh);
    for (auto& hole : holes)
    {
        std::rotate(hole.begin(), hole.begin() + 1, hole.end());
    }
    return holes;
}

} // namespace

RetVal FindHoles::find_holes(TriMesh& mesh, Holes& holes, bool verbose)
{
    gPH.log_enabled = verbose;
    detail::log_line(verbose, "find_holes() [for hole verts] ..\n");
    holes = unsplit_holes(mesh);
    detail::log_line(verbose, " found holes:     %6d\n", static_cast<int>(holes.size()));
    return RET_SUCCESS;
}

RetVal FindHoles::find_holes(TriMesh& mesh, std::vector<Vector3f> const& hole_centres,
                             double distance, std::vector<OpenMesh::VertexHandle>& start_verts,
                             bool verbose)
{
    gPH.log_enabled = verbose;
    detail::log_line(verbose, "find_holes() [for starting point] ..\n");
    if (hole_centres.empty())
    {
        detail::log_line(verbose, "!!!empty verts.\n");
        return RET_INVALID_INPUT;
    }
    detail::Stages stages({4, 1});
    stages.next();
    Holes const holes = unsplit_holes(mesh);
    detail::log_line(verbose, "  input hole center num:       %6d\n",
                     static_cast<int>(hole_centres.size()));
    detail::log_line(verbose, "  hole match distance thr:     %9.2f mm\n\n", distance);
    auto const any = [](std::size_t, std::size_t) { return true; };
    stages.next();
    auto const marked = detail::holes_near(mesh, holes, hole_centres, distance, any);
    start_verts.clear();
    for (std::size_t i = 0; i < holes.size(); ++i)
    {
        if (marked[i])
        {
            start_verts.push_back(holes[i].front());
        }
    }
    if (start_verts.empty())
    {
        detail::log_line(verbose, "!!!fail to find corresponding holes.\n");
        return RET_INVALID_INPUT;
    }
    return RET_SUCCESS;
}

RetVal FindHoles::find_simple_holes(TriMesh& mesh, Holes& holes, bool verbose)
{
    detail::log_line(verbose, "find_simple_holes() ..\n");
    detail::log_line(verbose, "\n---------- mesh info ----------\n");
    detail::log_line(verbose, "  vertices:      %8d\n", static_cast<int>(mesh.n_vertices()));
    detail::log_line(verbose, "  faces:         %8d\n", static_cast<int>(mesh.n_faces()));
    holes = detail::split_into_simple_holes(mesh, detail::boundary_walks_by_vertex(mesh));
    return RET_SUCCESS;
}

} // namespace OrvaneAlgorithm
