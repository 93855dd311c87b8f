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
    double const longest_ear_edge = ear_edge_factor * point_spacing;
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
    MERGE.run("ear-trimming-round-1",
              [&] {
                  ear_trimming(mesh, false, true, true, max_hole_edges, longest_ear_edge,
                               ear_normal_angle);
              });
    save(mesh, "40-hole-filled-round-1-mesh.stl", "save-hole-filled-round-1-mesh");

    stages.next();
    MERGE.run("remove-small-components",
              [&] { PostProcessing().remove_small_objects(mesh, min_component_size); });
    save(mesh, "50-small-components-removed-mesh.stl", "save-small-components-removed-mesh");

    stages.next();
    MERGE.run("ear-trimming-round-2",
              [&] {
                  ear_trimming(mesh, true, false, false, max_hole_edges, longest_ear_edge,
                               ear_normal_angle);
              });
    save(mesh, "60-hole-filled-round-2-mesh.stl", "save-hole-filled-round-2-mesh");
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
