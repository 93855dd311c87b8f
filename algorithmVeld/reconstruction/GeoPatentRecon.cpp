#include "algorithmVeld/reconstruction/GeoPatentRecon.h"

#include "algorithmVeld/MeshAssistant/MeshAssistant.h"
#include "algorithmVeld/cleanup/PostProcessing.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/mesh/Compaction.h"
#include "algorithmVeld/common/mesh/EarGeometry.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/frames/BorderFilter.h"
#include "algorithmVeld/reconstruction/frames/EmptiedOnException.h"
#include "algorithmVeld/reconstruction/frames/FrameNumbers.h"
#include "algorithmVeld/reconstruction/frames/FrameTriangulation.h"
#include "algorithmVeld/reconstruction/outliers/PlaneOutliers.h"
#include "algorithmVeld/reconstruction/stitch/BorderStitch.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <memory>

namespace OrvaneAlgorithm
{

namespace
{

using OpenMesh::VertexHandle;

/// Prints a line past the log while the log switch is on.
template <typename... Arguments>
void print(char const* format, Arguments... arguments)
{
    if (gPH.log_enabled)
    {
        detail::print_line(format, arguments...);
    }
}

/// Whether all frames have normals. The first frame is looked at in any case, and a list without
/// one tells so by the exception that hosts know.
bool have_vertex_normals(std::vector<RangeData const*> const& ranges)
{
    detail::at(ranges, 0);
    return std::all_of(ranges.begin(), ranges.end(),
                       [](RangeData const* frame)
                       { return frame != nullptr && frame->has_vNormal; });
}

bool has_all_status(TriMesh const& mesh)
{
    return mesh.has_vertex_status() && mesh.has_face_status() && mesh.has_halfedge_status() &&
           mesh.has_edge_status();
}

void provide_vertex_normals(TriMesh& mesh)
{
    if (!mesh.has_vertex_normals())
    {
        detail::provide_normals(mesh);
    }
}

/// A list of points with their normals, a line each; no file unless it is opened.
class PointList
{
public:
    bool open(char const* path)
    {
        file_.reset(std::fopen(path, "wt"));
        return file_ != nullptr;
    }

    void add(Vector3f const& p, Vector3f const& n)
    {
        if (file_)
        {
            std::fprintf(file_.get(), "%f %f %f %f %f %f\n", wide(p.x()), wide(p.y()), wide(p.z()),
                         wide(n.x()), wide(n.y()), wide(n.z()));
        }
    }

private:
    struct Close
    {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    static double wide(float value) { return static_cast<double>(value); }

    std::unique_ptr<std::FILE, Close> file_;
};

} // namespace

// -------------------------------------------------------------------------------- the whole merge

RetVal GeoPatentRecon::mesh_merge(std::vector<RangeData const*> const& ranges, double spacing,
                                  TriMesh& mesh, bool verbose, int max_hole_edges,
                                  int min_component_size, double longest_border_edge,
                                  std::vector<int>& vertex_frames)
{
    detail::EmptiedOnException const emptied(mesh); // goes last, after all that may throw
    detail::Stages stages({22, 78});
    stages.next();
    mesh.clear();
    point_spacing = spacing;
    long_edge_length = longest_border_edge;
    gPH.log_enabled = verbose;
    // Where the frames cannot be worked on it stays on the mesh.
    mesh.add_property(vert_frame_prop, "<vprop>");
    if (!convert_rge_to_mesh(ranges, mesh))
    {
        detail::log_and_print_line(true, "fail to convert rge to trimesh\n");
        return RET_INVALID_INPUT;
    }
    detail::FrameNumbers const frame_numbers(mesh, vert_frame_prop);
    stages.next();
    close_gaps(mesh, spacing, verbose, max_hole_edges, min_component_size);
    frame_numbers.copy_to(vertex_frames);
    return RET_SUCCESS;
}

void GeoPatentRecon::close_gaps(TriMesh& mesh, double spacing, bool verbose, int max_hole_edges,
                                int min_component_size)
{
    detail::Stages stages({5, 50, 45});
    stages.next();
    if (preprocess_enabled)
    {
        preprocess_mesh(mesh);
    }
    stages.next();
    if (removes_outliers_)
    {
        remove_outlier_before_repair(mesh);
    }
    repair_mesh(mesh);
    stages.next();
    mesh_fill_hole(spacing, mesh, verbose, max_hole_edges, min_component_size);
}

bool GeoPatentRecon::convert_rge_to_mesh(std::vector<RangeData const*> const& ranges, TriMesh& mesh)
{
    bool const log = gPH.log_enabled;
    detail::log_and_print_line(log, "convert_rge_to_mesh() ..\n");
    if (!have_vertex_normals(ranges))
    {
        detail::log_and_print_line(log, "lack of vertex normal\n");
        return false;
    }
    if (ranges.empty()) // Not reached: the test before has thrown.
    {
        detail::log_and_print_line(log, "empty RangeData\n");
        return false;
    }
    detail::triangulate_frames(ranges, detail::ColourRule::FIRST_FRAME, vert_frame_prop, mesh);
    return true;
}

// ------------------------------------------------------------------------------------- the stages

void GeoPatentRecon::preprocess_mesh(TriMesh& mesh)
{
    print("preprocess_mesh..\n");
    detail::DeletionScope const scope(mesh);
    detail::CompactedOnException const compacted(mesh);
    int const deleted =
        detail::delete_long_border_edges(mesh, long_edge_length, detail::EdgeWalk::LIVE);
    detail::compact(mesh);
    print("  deleted edge: %d\n", deleted);
}

float GeoPatentRecon::start_radius() const
{
    return static_cast<float>(point_spacing * 2.0);
}

void GeoPatentRecon::repair_mesh(TriMesh& mesh)
{
    print("repair_mesh() ..\n");
    detail::FanSettings settings;
    settings.start_radius = start_radius();
    settings.largest_radius = neighbour_factor * point_spacing;
    settings.longest_edge = neighbour_factor * point_spacing;
    settings.cos_normal_angle = detail::cosine_of_degrees(static_cast<double>(normal_angle_thr));

    provide_vertex_normals(mesh);
    // A vertex off the border now stays off it, for the stitch only adds faces.
    std::vector<VertexHandle> centres;
    detail::CancelPoll poll;
    for (auto const vertex : mesh.all_vertices())
    {
        poll.next();
        if (!detail::is_deleted(mesh, vertex) && mesh.is_boundary(vertex) &&
            mesh.point(vertex).allFinite())
        {
            centres.push_back(vertex);
        }
    }
    detail::stitch_borders_in_turn(mesh, centres, settings,
                                   [&](VertexHandle centre, detail::FanTriangle const& triangle)
                                   { report_refused(mesh, centre, triangle.a, triangle.b); });
}

void GeoPatentRecon::report_refused(TriMesh const& mesh, VertexHandle centre, VertexHandle a,
                                    VertexHandle b) const
{
    if (!gPH.log_enabled)
    {
        return;
    }
    for (bool const with_failed_face : {false, true})
    {
        MeshAssistant::output_neighbour_region(mesh, centre, a, b, mesh.point(centre),
                                               mesh.point(a), static_cast<float>(point_spacing),
                                               with_failed_face, "delaundy_mesh");
    }
    detail::log_and_print_line(true, "    --'add_face' fail [%s (%d)].\n", __FILE__, __LINE__);
}

RetVal GeoPatentRecon::mesh_fill_hole(double spacing, TriMesh& mesh, bool verbose,
                                      int max_hole_edges, int min_component_size)
{
    point_spacing = spacing;
    gPH.log_enabled = verbose;
    node_num_thr_ = max_hole_edges;
    edge_length_thr_ = ear_edge_factor * point_spacing;
    detail::Stages stages({2, 4, 2, 2});
    stages.next();
    mesh_filter(mesh);

    stages.next();
    edge_length_constraint_ = true;
    node_num_constraint_ = false;
    norm_constraint_ = true;
    EarClipping::fill_hole(mesh);

    stages.next();
    PostProcessing().remove_small_objects(mesh, min_component_size);

    stages.next();
    edge_length_constraint_ = false;
    node_num_constraint_ = true;
    norm_constraint_ = false;
    EarClipping::fill_hole(mesh);
    norm_constraint_ = true;
    return RET_SUCCESS;
}

void GeoPatentRecon::mesh_filter(TriMesh& mesh)
{
    print("mesh_filter() ..\n");
    detail::DeletionScope const scope(mesh);
    detail::CompactedOnException const compacted(mesh);
    detail::Stages stages({3, 2});
    stages.next();
    remove_outlier(mesh);
    stages.next();
    remove_isolated_face(mesh);
    detail::compact(mesh);
}

void GeoPatentRecon::remove_outlier(TriMesh& mesh)
{
    print("remove_outlier() ..\n");
    if (has_all_status(mesh))
    {
        int const deleted = detail::delete_thin_border_vertices(mesh);
        print(" deleted low connection nodes: %d\n", deleted);
    }
}

void GeoPatentRecon::remove_isolated_face(TriMesh& mesh)
{
    print("remove_isolated_face() ..\n");
    if (has_all_status(mesh))
    {
        int const deleted = detail::delete_lone_faces(mesh);
        print("removed isolated face: %d\n", deleted);
    }
}

void GeoPatentRecon::remove_outlier_before_repair(TriMesh& mesh)
{
    removed_outliers_ = 0;
    PointList removed;
    if (gPH.log_enabled)
    {
        char path[512];
        format_line(path, "%s/removed-outlies-before-repair-thr_%f.asc", gPH.debug_dir.c_str(),
                    static_cast<double>(outlier_factor));
        if (!removed.open(path))
        {
            print("fail to write '%s'.\n", static_cast<char const*>(path));
            return;
        }
    }
    provide_vertex_normals(mesh);
    detail::DeletionScope const scope(mesh);
    detail::CompactedOnException const compacted(mesh);
    removed_outliers_ = detail::delete_plane_outliers(
        mesh, {start_radius(), outlier_factor},
        [&](VertexHandle vertex) { removed.add(mesh.point(vertex), mesh.normal(vertex)); });
    detail::compact(mesh);
    print("deleted outlier before repair: %d\n", removed_outliers_);
}

} // namespace OrvaneAlgorithm
