#include "algorithmVeld/reconstruction/MeshMerge.h"

#include "algorithmVeld/cleanup/PostProcessing.h"
#include "algorithmVeld/common/mesh/Compaction.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh_files/MeshDump.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/common/running/TimedStages.h"
#include "algorithmVeld/reconstruction/frames/BorderFilter.h"
#include "algorithmVeld/reconstruction/frames/EmptiedOnException.h"
#include "algorithmVeld/reconstruction/frames/FrameNumbers.h"
#include "algorithmVeld/reconstruction/frames/FrameTriangulation.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

constexpr detail::TimedStages MERGE("mesh-merge");

} // namespace

RetVal MeshMerge::mesh_merge(std::vector<RangeData const*> const& ranges, double stitch_radius,
                             TriMesh& mesh, bool verbose, int max_hole_edges,
                             int min_component_size, double long_edge_length,
                             std::vector<int>& vertex_frames)
{
    detail::EmptiedOnException const emptied(mesh); // goes last, after all that may throw
    gPH.log_enabled = verbose;
    detail::log("mesh_merge() ..\n");
    detail::StepTimer const timer("mesh-merge");
    detail::Stages stages({22, 78});
    stages.next();
    mesh.clear();
    mesh.add_property(vert_frame_prop, "<vprop>");
    detail::FrameNumbers const frame_numbers(mesh, vert_frame_prop);
    if (!MERGE.run("rge-to-mesh", [&] { return convert_rge_to_mesh(ranges, mesh); }))
    {
        detail::log("  fail to convert rge to mesh.\n");
        return RET_INVALID_INPUT;
    }
    save(mesh, "00-initial-mesh.stl", "save-initial-mesh");
    stages.next();
    close_gaps(mesh, static_cast<float>(stitch_radius), max_hole_edges, min_component_size,
               static_cast<float>(long_edge_length));
    frame_numbers.copy_to(vertex_frames);
    return RET_SUCCESS;
}

/// The stages on the one mesh. Small components go before the last round of trimming, which would
/// close a piece of few edges all around.
void MeshMerge::close_gaps(TriMesh& mesh, float stitch_radius, int max_hole_edges,
                           int min_component_size, float long_edge_length)
{
    detail::Stages stages({5, 50, 5, 15, 15, 10});

    stages.next();
    MERGE.run("delete-long-edge", [&] { delete_long_edge(mesh, long_edge_length); });
    save(mesh, "10-long-edge-deleted-mesh.stl", "save-long-edge-deleted-mesh");

    stages.next();
    MERGE.run("border-stitch", [&] { border_stitch(mesh, stitch_radius); });
    save(mesh, "20-stitched-mesh.stl", "save-stitched-mesh");

    stages.next();
    MERGE.run("mesh-filter", [&] { mesh_filter(mesh); });
    save(mesh, "30-filtered-mesh.stl", "save-filtered-mesh");

    stages.next();
    MERGE.run("ear-trimming-round-1", [&] { trim_ears(mesh, max_hole_edges, false); });
    save(mesh, "40-hole-filled-round-1-mesh.stl", "save-hole-filled-round-1-mesh");

    stages.next();
    MERGE.run("remove-small-components",
              [&] { PostProcessing().remove_small_objects(mesh, min_component_size); });
    save(mesh, "50-small-components-removed-mesh.stl", "save-small-components-removed-mesh");

    stages.next();
    MERGE.run("ear-trimming-round-2", [&] { trim_ears(mesh, max_hole_edges, true); });
    save(mesh, "60-hole-filled-round-2-mesh.stl", "save-hole-filled-round-2-mesh");
}

/// Holes of any size get good ears at first, and small holes any ears at last.
void MeshMerge::trim_ears(TriMesh& mesh, int max_hole_edges, bool is_last_round)
{
    ear_trimming(mesh, is_last_round, !is_last_round, !is_last_round, max_hole_edges,
                 ear_edge_factor * point_spacing, ear_normal_angle);
}

RetVal MeshMerge::frames_to_mesh(std::vector<RangeData const*> const& ranges,
                                 double long_edge_length, TriMesh& mesh)
{
    detail::EmptiedOnException const emptied(mesh);
    detail::StepTimer const timer("frames-to-mesh");
    mesh.clear();
    mesh.add_property(vert_frame_prop, "<vprop>");
    detail::FrameNumbers const frame_numbers(mesh, vert_frame_prop);
    detail::Stages stages({4, 1});
    stages.next();
    if (!convert_rge_to_mesh(ranges, mesh))
    {
        return RET_INVALID_INPUT;
    }
    stages.next();
    delete_long_edge(mesh, static_cast<float>(long_edge_length));
    return RET_SUCCESS;
}

void MeshMerge::close_seams(TriMesh& mesh, double stitch_radius,
                            std::vector<OpenMesh::VertexHandle> const& seams, int max_hole_edges)
{
    detail::StepTimer const timer("close-seams");
    detail::Stages stages({2, 1, 1});
    stages.next();
    std::vector<OpenMesh::VertexHandle> centres;
    std::copy_if(seams.begin(), seams.end(), std::back_inserter(centres),
                 [&](OpenMesh::VertexHandle vertex) { return mesh.point(vertex).allFinite(); });
    stitch_around(mesh, static_cast<float>(stitch_radius), std::move(centres));
    stages.next();
    trim_ears(mesh, max_hole_edges, false);
    stages.next();
    trim_ears(mesh, max_hole_edges, true);
}

void MeshMerge::save(TriMesh const& mesh, char const* name, char const* step) const
{
    if (gPH.log_enabled && save_debug_meshes)
    {
        detail::dump_mesh(mesh, gPH.result_dir + "/" + name, step);
    }
}

bool MeshMerge::convert_rge_to_mesh(std::vector<RangeData const*> const& ranges, TriMesh& mesh)
{
    detail::log("convert_rge_to_mesh() ..\n");
    if (!detail::have_normals(ranges))
    {
        return false;
    }
    detail::triangulate_frames(ranges, detail::ColourRule::ANY_FRAME, vert_frame_prop, mesh);
    return true;
}

void MeshMerge::delete_long_edge(TriMesh& mesh, float length)
{
    detail::log("delete_long_edge() ..\n");
    detail::DeletionScope const scope(mesh);
    int const deleted =
        detail::delete_long_border_edges(mesh, static_cast<double>(length), detail::EdgeWalk::ALL);
    if (deleted > 0)
    {
        detail::compact(mesh);
    }
    detail::log("  deleted long edges: %d\n", deleted);
}

void MeshMerge::mesh_filter(TriMesh& mesh)
{
    detail::log("mesh_filter() ..\n");
    detail::DeletionScope const scope(mesh);
    detail::Stages stages({3, 2});
    stages.next();
    int const vertices = detail::delete_thin_border_vertices(mesh);
    stages.next();
    int const faces = detail::delete_lone_faces(mesh);
    if (vertices > 0 || faces > 0)
    {
        detail::compact(mesh);
    }
}

} // namespace OrvaneAlgorithm
