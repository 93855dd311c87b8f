#include "algorithmVeld/algorithmVeld.h"
#include "algorithmVeld/common/running/Progress.h"
#include "tests/reconstruction/frames.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/print_capture.h"
#include "tests/support/sanitizers.h"
#include "tests/support/temp_dir.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// \file
/// Every long operation tells how far it is, ends where it is asked to, and leaves a mesh that can
/// be used.

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// A waved surface with many holes, some of which touch, and specks beside it.
TriMesh make_scan()
{
    constexpr int COLUMNS = 240;
    constexpr int ROWS = 160;
    std::vector<Cell> missing;
    for (int x = 5; x + 5 < COLUMNS; x += 7)
    {
        for (int y = 5; y + 5 < ROWS; y += 6)
        {
            missing.push_back({x, y});
            missing.push_back({x + 1, y + (x * y % 3 == 0 ? 1 : 0)});
        }
    }
    TriMesh mesh = grid_without(COLUMNS, ROWS, missing);
    for (auto const vertex : mesh.vertices())
    {
        auto& point = mesh.point(vertex);
        point.z() = 3.0F * std::sin(point.x() / 9.0F) * std::cos(point.y() / 11.0F);
    }
    for (int i = 0; i < 200; ++i)
    {
        Vector3f const corner(static_cast<float>(i), -20.0F, 0.0F);
        auto const a = mesh.add_vertex(corner);
        auto const b = mesh.add_vertex(corner + Vector3f(0.5F, 0.0F, 0.0F));
        auto const c = mesh.add_vertex(corner + Vector3f(0.0F, 0.5F, 0.0F));
        mesh.add_face(a, b, c);
    }
    return mesh;
}

TriMesh const& scan()
{
    static TriMesh const mesh = make_scan();
    return mesh;
}

/// Every fiftieth vertex, with normals upwards.
Verts marker_points()
{
    Verts points;
    for (std::size_t i = 0; i < scan().n_vertices(); i += 50)
    {
        points.push_back(scan().point(OpenMesh::VertexHandle(static_cast<int>(i))));
    }
    return points;
}

Verts marker_normals()
{
    return Verts(marker_points().size(), Vector3f::UnitZ());
}

/// An operation on a mesh. What it gives back, or writes, becomes the mesh as well.
struct MeshOperation
{
    char const* name;
    std::function<void(TriMesh& mesh)> run;
    bool begins_damaged = false; ///< It damages the mesh first, for there to be work.
};

std::ostream& operator<<(std::ostream& stream, MeshOperation const& operation)
{
    return stream << operation.name;
}

void through_arrays(TriMesh& mesh, std::function<void(BaseTriMesh&)> const& work)
{
    detail::Stages stages({1, 2, 2});
    stages.next();
    BaseTriMesh arrays;
    TriMesh_convert_to_BaseTriMesh(mesh, arrays);
    stages.next();
    work(arrays);
    stages.next();
    BaseTriMesh_convert_to_TriMesh(arrays, mesh);
}

/// Moves the vertices of holes, so that a list of holes shows in the mesh.
void show(Holes const& holes, TriMesh& mesh)
{
    for (std::size_t i = 0; i < holes.size(); ++i)
    {
        for (auto const vertex : holes[i])
        {
            mesh.point(vertex).z() += static_cast<float>(i);
        }
    }
}

void through_file(TriMesh& mesh, char const* name)
{
    TempDir const folder;
    detail::Stages stages({1, 1});
    stages.next();
    std::string error;
    ASSERT_TRUE(write_mesh(folder.file(name), mesh, error)) << error;
    stages.next();
    MeshReadReport report;
    ASSERT_TRUE(read_mesh(folder.file(name), mesh, report)) << report.error;
}

void break_links(TriMesh& mesh)
{
    mesh.set_next_halfedge_handle(OpenMesh::HalfedgeHandle(0), OpenMesh::HalfedgeHandle(0));
}

std::vector<RangeData> const& frames()
{
    static std::vector<RangeData> const list = random_frames(3, 3, 120, 0.12F);
    return list;
}

/// Textures the mesh by photographs from above, and moves vertices by their coordinates.
/// \param texture takes arrays, photographs, poses and intrinsics
template <typename Texture>
void texture_from_above(BaseTriMesh& arrays, Texture const& texture)
{
    std::vector<Image<3, unsigned char>> images;
    std::vector<RigidMatrix> poses;
    Matrix3d downwards;
    downwards << 1, 0, 0, 0, -1, 0, 0, 0, -1;
    for (double const x : {60.0, 120.0, 180.0})
    {
        images.emplace_back(200, 200);
        std::fill_n(images.back().data(), 3 * 200 * 200, static_cast<unsigned char>(x));
        RigidMatrix pose;
        pose.set_rotation(downwards);
        pose.set_translation({-x, 80.0, 300.0});
        poses.push_back(pose);
    }
    std::vector<CameraInParam> const cameras(3, CameraInParam(300.0, 300.0, 100.0, 100.0));
    ASSERT_EQ(texture(arrays, images, poses, cameras), RET_SUCCESS);
    for (std::size_t f = 0; f < arrays.get_fn(); ++f)
    {
        auto const id = static_cast<std::size_t>(arrays.face_texture_ids[f][0]);
        arrays.vCoord[static_cast<std::size_t>(arrays.faces[f][0])].z() =
            arrays.texture_coords[id].u;
    }
}

std::vector<MeshOperation> const& operations()
{
    static std::vector<MeshOperation> const list{
        {"find_holes",
         [](TriMesh& mesh)
         {
             Holes holes;
             FindHolesEx::find_holes(mesh, holes, false);
             show(holes, mesh);
         }},
        {"find_unsplit_holes",
         [](TriMesh& mesh)
         {
             Holes holes;
             FindHoles::find_holes(mesh, holes, false);
             show(holes, mesh);
         }},
        {"find_marker_holes",
         [](TriMesh& mesh)
         {
             Holes holes;
             find_marker_holes(mesh, marker_points(), marker_normals(), 2.0, 5.0, true, 0.5, holes,
                               false);
             show(holes, mesh);
         }},
        {"ear_clipping",
         [](TriMesh& mesh) { ear_clipping(mesh, true, false, false, 20, 0.0, 0.0); }},
        {"ear_trimming",
         [](TriMesh& mesh) { EarTrimming().ear_trimming(mesh, true, false, false, 20, 0.0, 0.0); }},
        {"fill_holes_core",
         [](TriMesh& mesh)
         {
             detail::Stages stages({1, 20});
             stages.next();
             Holes holes;
             FindHolesEx::find_holes(mesh, 30.0, holes, false);
             stages.next();
             std::vector<std::vector<OpenMesh::FaceHandle>> faces;
             Holes vertices;
             Holes patches;
             fill_holes_core(mesh, holes, 1, faces, vertices, patches, false);
         }},
        {"ball_pivoting",
         [](TriMesh& mesh)
         {
             BallPivoting ball;
             ball.set_norm_mode(true);
             ball.repair_mesh(mesh, {0.75F, 1.0F});
         }},
        {"hole_smooth",
         [](TriMesh& mesh)
         {
             detail::Stages stages({3, 10, 1});
             stages.next();
             HoleSmooth smoother(mesh, OpenMesh::VPropHandleT<bool>());
             smoother.set_all_active();
             smoother.initialize(HoleSmooth::Scale_Dependent, HoleSmooth::C1);
             stages.next();
             smoother.smooth(20);
             stages.next();
             smoother.get_iterative_smoothed_mesh(mesh);
         }},
        {"holes_filling",
         [](TriMesh& mesh)
         {
             HoleFilling filling;
             filling.set_topology_dis_thr(1);
             filling.set_max_perimeter(30.0);
             filling.holes_filling(mesh);
         }},
        {"marker_holes_filling",
         [](TriMesh& mesh)
         {
             MarkerHoleFilling filling;
             filling.set_topology_dis_thr(1);
             filling.set_max_perimeter(30.0);
             filling.set_marker_search_radius(5.0);
             filling.marker_holes_filling(mesh, marker_points());
         }},
        {"components_by_face",
         [](TriMesh& mesh) { remove_small_components_by_face(mesh, 10, false); }},
        {"components_by_vert",
         [](TriMesh& mesh) { remove_small_components_by_vert(mesh, 10, false); }},
        {"all_components_go",
         [](TriMesh& mesh) { remove_small_components_by_face(mesh, 1000000, false); }},
        {"strong_connection",
         [](TriMesh& mesh) { remove_small_components_by_face_strong_connection(mesh, 20, 2); }},
        {"small_objects", [](TriMesh& mesh) { PostProcessing().remove_small_objects(mesh, 10); }},
        {"non_manifold_verts", [](TriMesh& mesh) { remove_non_manifold_verts(mesh, false); }},
        {"n_rings", [](TriMesh& mesh) { RemoveBoundary::remove_n_rings(mesh, 1, false); }},
        {"marker_mesh", [](TriMesh& mesh)
         { remove_marker_mesh(mesh, marker_points(), {}, 1.5, false, 0.0, false); }},
        {"marker_mesh_ex", [](TriMesh& mesh)
         { remove_marker_mesh(mesh, marker_points(), marker_normals(), 1.5, true, 0.5, false); }},
        {"marker_arrays",
         [](TriMesh& mesh)
         {
             through_arrays(
                 mesh, [](BaseTriMesh& arrays)
                 { remove_marker_mesh(arrays, marker_points(), {}, 1.5, false, 0.0, false); });
         }},
        {"marker_arrays_ex",
         [](TriMesh& mesh)
         {
             through_arrays(mesh,
                            [](BaseTriMesh& arrays) {
                                remove_marker_mesh(arrays, marker_points(), marker_normals(), 1.5,
                                                   true, 0.5, false);
                            });
         }},
        {"sticks",
         [](TriMesh& mesh)
         {
             std::vector<TriMesh> sticks;
             auto const all = marker_points();
             Verts const seeds(all.begin(), all.begin() + 40);
             extract_sticks(mesh, seeds, std::vector<Vector2f>(40, Vector2f(8.0F, 9.0F)), sticks,
                            true, false);
             mesh = sticks.back();
         }},
        {"repair_links",
         [](TriMesh& mesh)
         {
             break_links(mesh);
             mesh.repair_illegal();
         },
         true},
        {"texture_fusion",
         [](TriMesh& mesh)
         {
             auto const texture = [](auto&... arguments)
             { return texture_fusion(arguments..., false); };
             through_arrays(mesh,
                            [&](BaseTriMesh& arrays) { texture_from_above(arrays, texture); });
         }},
        {"texture_mesh",
         [](TriMesh& mesh)
         {
             auto const texture = [](auto&... arguments)
             { return TextureMesh().texture_fusion(arguments..., false); };
             through_arrays(mesh,
                            [&](BaseTriMesh& arrays) { texture_from_above(arrays, texture); });
         }},
        {"arrays", [](TriMesh& mesh) { through_arrays(mesh, [](BaseTriMesh&) {}); }},
        {"ply_file", [](TriMesh& mesh) { through_file(mesh, "mesh.ply"); }},
        {"stl_file", [](TriMesh& mesh) { through_file(mesh, "mesh.stl"); }},
        {"obj_file", [](TriMesh& mesh) { through_file(mesh, "mesh.obj"); }},
        {"off_file", [](TriMesh& mesh) { through_file(mesh, "mesh.off"); }},
        {"om_file", [](TriMesh& mesh) { through_file(mesh, "mesh.om"); }},
        {"frame_alignment",
         [](TriMesh& mesh)
         {
             std::vector<RigidMatrix> poses;
             FrameAlignment().align(pointers(frames()), poses);
             mesh.clear();
             for (auto const& pose : poses)
             {
                 mesh.add_vertex(pose.get_translation().cast<float>());
             }
         }},
        {"frame_overlap",
         [](TriMesh& mesh)
         {
             FrameOverlap overlap;
             overlap.set_averages_layers(true);
             std::vector<RangeData> single;
             overlap.remove_overlap(pointers(frames()), single);
             mesh.clear();
             for (auto const& frame : single)
             {
                 for (auto const& point : frame.vCoord)
                 {
                     mesh.add_vertex(point);
                 }
             }
         }},
        {"outlier_merge",
         [](TriMesh& mesh)
         {
             std::vector<int> vertex_frames;
             GeoPatentRecon().mesh_merge(pointers(frames()), 0.12, mesh, false, 30, 10, 0.6,
                                         vertex_frames);
         }},
        {"space_based_sort",
         [](TriMesh& mesh)
         {
             std::vector<RigidMatrix> poses(mesh.n_vertices());
             for (std::size_t i = 0; i < poses.size(); ++i)
             {
                 poses[i].set_translation(
                     -mesh.point(OpenMesh::VertexHandle(static_cast<int>(i))).cast<double>());
             }
             std::vector<int> order;
             SelectKeyframes().space_based_sort(poses, order, false);
             for (std::size_t i = 0; i < order.size(); ++i)
             {
                 mesh.point(OpenMesh::VertexHandle(order[i])).z() += static_cast<float>(i);
             }
         }},
        {"topology_repair",
         [](TriMesh& mesh)
         {
             LogCapture const log(false);
             PrintCapture const print;
             TopologyRepair repair;
             repair.set_search_radius(2.0F);
             repair.repair_mesh(mesh);
         }},
        {"mesh_merge", [](TriMesh& mesh)
         {
             std::vector<int> vertex_frames;
             mesh_merge(pointers(frames()), 0.12, mesh, false, 30, 10, 0.6, vertex_frames);
         }}};
    return list;
}

/// How many properties a mesh carries, by kind of element.
std::vector<std::ptrdiff_t> property_counts(TriMesh const& mesh)
{
    auto const count = [](auto begin, auto end)
    { return std::count_if(begin, end, [](auto const* property) { return property != nullptr; }); };
    return {count(mesh.vprops_begin(), mesh.vprops_end()),
            count(mesh.hprops_begin(), mesh.hprops_end()),
            count(mesh.eprops_begin(), mesh.eprops_end()),
            count(mesh.fprops_begin(), mesh.fprops_end())};
}

class LongOperation : public testing::TestWithParam<MeshOperation>
{
};

} // namespace

/// At which parts of the work it is ended. A sanitizer sees the same paths each time, slowly.
std::vector<double> shares()
{
    return IS_SANITIZED ? std::vector<double>{0.33} : std::vector<double>{0.02, 0.33, 0.6};
}

TEST_P(LongOperation, TellsHowFarItIs)
{
    for (int const n : IS_SANITIZED ? std::vector<int>{2} : std::vector<int>{1, 2})
    {
        Threads const threads(n);
        TriMesh mesh = scan();
        std::vector<double> told;
        {
            RunScope const scope(CancelToken{}, [&](double fraction) { told.push_back(fraction); });
            GetParam().run(mesh);
        }
        ASSERT_GE(told.size(), 5U);
        EXPECT_TRUE(std::adjacent_find(told.begin(), told.end(), std::greater_equal<>()) ==
                    told.end());
        EXPECT_GT(told.front(), 0.0);
        EXPECT_EQ(told.back(), 1.0);
    }
}

TEST_P(LongOperation, EndsWhereItIsAskedToAndLeavesAUsableMesh)
{
    TriMesh whole = scan();
    GetParam().run(whole);
    for (int const n : IS_SANITIZED ? std::vector<int>{2} : std::vector<int>{1, 2})
    {
        Threads const threads(n);
        for (double const share : shares())
        {
            SCOPED_TRACE(share);
            TriMesh mesh = scan();
            CancelToken const token;
            bool was_cancelled = false;
            double last = 0.0;
            try
            {
                RunScope const scope(token,
                                     [&](double fraction)
                                     {
                                         last = fraction;
                                         if (fraction >= share)
                                         {
                                             token.cancel();
                                         }
                                     });
                GetParam().run(mesh);
            }
            catch (Cancelled const&)
            {
                was_cancelled = true;
            }
            EXPECT_TRUE(was_cancelled);
            EXPECT_LT(last, 1.0);
            EXPECT_TRUE(mesh.is_legal() || GetParam().begins_damaged);
            EXPECT_FALSE(mesh.has_vertex_status() || mesh.has_face_status() ||
                         mesh.has_edge_status() || mesh.has_halfedge_status());
            if (mesh.n_faces() > 0)
            {
                // Normals that an operation provides stay, whole; all else goes.
                auto const counts = property_counts(mesh);
                EXPECT_TRUE(counts == property_counts(scan()) || counts == property_counts(whole));
                GetParam().run(mesh);
                EXPECT_TRUE(mesh.is_legal());
            }
            TriMesh fresh = scan();
            GetParam().run(fresh);
            EXPECT_EQ(fingerprint(fresh), fingerprint(whole));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, LongOperation, testing::ValuesIn(operations()),
                         [](auto const& row) { return std::string(row.param.name); });
