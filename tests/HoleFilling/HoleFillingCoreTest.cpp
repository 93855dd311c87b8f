#include "algorithmVeld/HoleFilling/HoleFillingCore.h"

#include "algorithmVeld/common/RunScope.h"
#include "algorithmVeld/common/mesh_io.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "tests/support/array_watch.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/real_data.h"
#include "tests/support/temp_dir.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>

namespace
{

using namespace OrvaneAlgorithm;
using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;
using veld_test::LogCapture;
using veld_test::vh;

/// A filler whose inner state a test may look at and set.
class OpenCoreFiller : public HoleFillingCore
{
public:
    using HoleFillingCore::avg_edge_len_;
    using HoleFillingCore::face_new_prop_;
    using HoleFillingCore::hole_done_;
    using HoleFillingCore::hole_result_;
    using HoleFillingCore::mesh_;
    using HoleFillingCore::patches_;
    using HoleFillingCore::regions_;
    using HoleFillingCore::smooth_type_;
    using HoleFillingCore::vert_edge_len_prop_;
    using HoleFillingCore::vert_new_prop_;
    using HoleFillingCore::weight_type_;
};

struct Filled
{
    RetVal result = RET_FAILED;
    std::vector<std::vector<FaceHandle>> faces;
    Holes verts;
    Holes patches;
};

Holes holes_of(TriMesh& mesh)
{
    Holes holes;
    FindHolesEx::find_holes(mesh, holes, false);
    return holes;
}

/// Holes without the longest one, which is the border of an open mesh.
Holes inner_holes_of(TriMesh& mesh)
{
    Holes holes = holes_of(mesh);
    auto const longest = std::max_element(holes.begin(), holes.end(),
                                          [](auto& a, auto& b) { return a.size() < b.size(); });
    if (longest != holes.end())
    {
        holes.erase(longest);
    }
    return holes;
}

Filled fill(HoleFillingCore& filler, TriMesh& mesh, Holes const& holes, int rings = 3,
            bool verbose = false)
{
    Filled filled;
    filled.result = filler.fill_holes_core(mesh, holes, rings, filled.faces, filled.verts,
                                           filled.patches, verbose);
    return filled;
}

/// A sphere without the faces whose centre lies within an angle of a slanting axis.
TriMesh sphere_with_hole(int level, double angle)
{
    TriMesh const mesh = veld_test::sphere(level);
    Vector3f const axis = Vector3f(3, 5, 8).normalized();
    std::vector<Vector3f> points;
    std::vector<veld_test::Triangle> triangles;
    for (auto const v : mesh.vertices())
    {
        points.push_back(mesh.point(v));
    }
    for (auto const f : mesh.faces())
    {
        if (std::acos(mesh.calc_face_centroid(f).normalized().dot(axis)) > angle)
        {
            std::vector<int> corners;
            for (auto const v : mesh.fv_range(f))
            {
                corners.push_back(v.idx());
            }
            triangles.push_back({corners[0], corners[1], corners[2]});
        }
    }
    return veld_test::make_mesh(points, triangles);
}

bool same_bytes(TriMesh const& a, TriMesh const& b)
{
    if (a.n_vertices() != b.n_vertices() || a.n_edges() != b.n_edges() ||
        a.n_faces() != b.n_faces())
    {
        return false;
    }
    for (auto const v : a.vertices())
    {
        if (std::memcmp(a.point(v).data(), b.point(v).data(), sizeof(Vector3f)) != 0)
        {
            return false;
        }
    }
    for (auto const h : a.halfedges())
    {
        if (a.to_vertex_handle(h) != b.to_vertex_handle(h) ||
            a.next_halfedge_handle(h) != b.next_halfedge_handle(h) ||
            a.face_handle(h) != b.face_handle(h))
        {
            return false;
        }
    }
    return true;
}

std::size_t count_properties(TriMesh const& mesh)
{
    auto const live = [](auto first, auto last)
    { return last - first - std::count(first, last, nullptr); };
    return static_cast<std::size_t>(live(mesh.vprops_begin(), mesh.vprops_end()) +
                                    live(mesh.fprops_begin(), mesh.fprops_end()) +
                                    live(mesh.hprops_begin(), mesh.hprops_end()) +
                                    live(mesh.eprops_begin(), mesh.eprops_end()));
}

/// Largest distance from the unit sphere among the new vertices.
float worst_sphere_error(TriMesh const& mesh, std::size_t old_vertices)
{
    float worst = 0.0F;
    for (std::size_t i = old_vertices; i < mesh.n_vertices(); ++i)
    {
        worst = std::max(worst, std::abs(mesh.point(vh(static_cast<int>(i))).norm() - 1.0F));
    }
    return worst;
}

TEST(HoleFillingCore, FillsAHoleAndLeavesAnOrientedManifold)
{
    TriMesh mesh = sphere_with_hole(4, 0.5);
    Holes const holes = holes_of(mesh);
    ASSERT_EQ(holes.size(), 1U);
    std::size_t const old_faces = mesh.n_faces();
    HoleFillingCore filler;
    Filled const filled = fill(filler, mesh, holes);
    EXPECT_EQ(filled.result, RET_SUCCESS);
    EXPECT_TRUE(holes_of(mesh).empty());
    ASSERT_EQ(filled.faces.size(), 1U);
    EXPECT_EQ(filled.faces[0].size(), mesh.n_faces() - old_faces);
    EXPECT_EQ(static_cast<int>(mesh.n_vertices()) - static_cast<int>(mesh.n_edges()) +
                  static_cast<int>(mesh.n_faces()),
              2 + static_cast<int>(std::count_if(mesh.vertices().begin(), mesh.vertices().end(),
                                                 [&](auto v) { return mesh.is_isolated(v); })));
    EXPECT_TRUE(mesh.is_legal());
    EXPECT_TRUE(filler.open_holes().empty());
}

TEST(HoleFillingCore, HigherOrderComesNearerToTheSphere)
{
    // The hole has to be some edges wide and the region narrow against the sphere.
    for (double const angle : {0.1, 0.2, 0.3})
    {
        float error[3];
        for (int order = 0; order < 3; ++order)
        {
            TriMesh mesh = sphere_with_hole(6, angle);
            std::size_t const old_vertices = mesh.n_vertices();
            HoleFillingCore filler;
            filler.set_smooth_type(order);
            fill(filler, mesh, holes_of(mesh));
            ASSERT_GT(mesh.n_vertices(), old_vertices);
            error[order] = worst_sphere_error(mesh, old_vertices);
        }
        EXPECT_LT(error[1], 0.02F) << angle;
        EXPECT_LT(error[2], error[1]) << angle;
        EXPECT_LT(error[1], error[0]) << angle;
    }
}

TEST(HoleFillingCore, FlatHoleFilledWithC0StaysFlat)
{
    TriMesh mesh = veld_test::grid_with_hole(6);
    HoleFillingCore filler;
    filler.set_smooth_type(0);
    fill(filler, mesh, inner_holes_of(mesh), 1);
    for (auto const v : mesh.vertices())
    {
        EXPECT_LT(std::abs(mesh.point(v).z()), 1e-6F);
    }
}

TEST(HoleFillingCore, NothingOutsideThePatchesMoves)
{
    TriMesh mesh = sphere_with_hole(4, 0.5);
    TriMesh const before = mesh;
    HoleFillingCore filler;
    Filled const filled = fill(filler, mesh, holes_of(mesh), 2);
    ASSERT_EQ(filled.patches.size(), 1U);
    std::vector<bool> in_patch(mesh.n_vertices(), false);
    for (auto const v : filled.patches[0])
    {
        in_patch[static_cast<std::size_t>(v.idx())] = true;
    }
    int moved = 0;
    for (auto const v : before.vertices())
    {
        bool const same = mesh.point(v) == before.point(v);
        EXPECT_TRUE(same || in_patch[static_cast<std::size_t>(v.idx())]);
        moved += same ? 0 : 1;
    }
    EXPECT_GT(moved, 0) << "the vertices of the region are part of the patch";
}

TEST(HoleFillingCore, WithoutRingsTheRegionIsTheFacesAlongTheBoundary)
{
    TriMesh mesh = veld_test::grid_with_hole(2);
    OpenCoreFiller filler;
    fill(filler, mesh, inner_holes_of(mesh), 0);
    ASSERT_EQ(filler.regions_.size(), 1U);
    EXPECT_EQ(filler.regions_[0].size(), 8U);
}

TEST(HoleFillingCore, IllegalHoleIsLeftOutAndTheLegalOneFilled)
{
    TriMesh mesh = veld_test::grid_with_hole(3);
    Holes holes = inner_holes_of(mesh);
    holes.insert(holes.begin(), {vh(0), vh(7), vh(20)});
    LogCapture const log;
    HoleFillingCore filler;
    std::vector<bool> hole_filled;
    std::vector<std::vector<FaceHandle>> faces;
    Holes verts;
    Holes patches;
    EXPECT_EQ(filler.fill_holes_core_ex(mesh, holes, hole_filled, 3, faces, verts, patches, true),
              RET_SUCCESS);
    EXPECT_THAT(hole_filled, testing::ElementsAre(false, true));
    EXPECT_EQ(log.count("  !!! input hole[0] is illegal.\n"), 1);
    EXPECT_EQ(faces.size(), 1U);
    ASSERT_EQ(filler.open_holes().size(), 1U);
    EXPECT_EQ(filler.open_holes()[0].reason, OpenReason::NOT_A_BOUNDARY);
}

TEST(HoleFillingCore, WithoutALegalHoleNothingChanges)
{
    TriMesh mesh = veld_test::grid_with_hole(3);
    TriMesh const before = mesh;
    std::size_t const properties = count_properties(mesh);
    std::vector<std::vector<FaceHandle>> faces{{FaceHandle(7)}};
    Holes verts{{vh(7)}};
    Holes patches{{vh(8)}};
    HoleFillingCore filler;
    for (Holes const& holes : {Holes{}, Holes{{}}, Holes{{vh(0), vh(1)}},
                               Holes{{vh(0), vh(1), vh(999)}}, Holes{{vh(0), vh(-1), vh(2)}}})
    {
        EXPECT_EQ(filler.fill_holes_core(mesh, holes, 3, faces, verts, patches, false),
                  RET_INVALID_INPUT);
    }
    EXPECT_THAT(faces, testing::ElementsAre(testing::ElementsAre(FaceHandle(7))));
    EXPECT_THAT(verts, testing::ElementsAre(testing::ElementsAre(vh(7))));
    EXPECT_THAT(patches, testing::ElementsAre(testing::ElementsAre(vh(8))));
    EXPECT_TRUE(same_bytes(mesh, before));
    EXPECT_EQ(count_properties(mesh), properties);
}

TEST(HoleFillingCore, VerticesOfTheFirstLegalHoleAreNotReported)
{
    // Hosts have never been told these, though they get the faces.
    TriMesh mesh = veld_test::grid_without(20, 9,
                                           {{3, 3},
                                            {4, 3},
                                            {5, 3},
                                            {3, 4},
                                            {4, 4},
                                            {5, 4},
                                            {3, 5},
                                            {4, 5},
                                            {5, 5},
                                            {13, 3},
                                            {14, 3},
                                            {15, 3},
                                            {13, 4},
                                            {14, 4},
                                            {15, 4},
                                            {13, 5},
                                            {14, 5},
                                            {15, 5}});
    // Long edges all around make the refinement split: scale the rest of the mesh down by
    // splitting is not needed, the diagonals of the fill are long enough.
    HoleFillingCore filler;
    filler.set_smooth_type(0);
    Holes const holes = inner_holes_of(mesh);
    ASSERT_EQ(holes.size(), 2U);
    std::size_t const old_vertices = mesh.n_vertices();
    Filled const filled = fill(filler, mesh, holes);
    ASSERT_EQ(filled.faces.size(), 2U);
    ASSERT_EQ(filled.verts.size(), 2U);
    std::size_t const new_vertices = mesh.n_vertices() - old_vertices;
    ASSERT_GT(new_vertices, 0U);
    EXPECT_TRUE(filled.verts[0].empty());
    EXPECT_EQ(filled.verts[1].size() * 2, new_vertices) << "both holes are alike";
}

TEST(HoleFillingCore, SingleHoleReportsFacesAndPatchAndNeverVertices)
{
    TriMesh mesh = sphere_with_hole(4, 0.5);
    Holes const holes = holes_of(mesh);
    std::size_t const old_vertices = mesh.n_vertices();
    std::size_t const old_faces = mesh.n_faces();
    std::vector<FaceHandle> faces;
    std::vector<VertexHandle> verts{vh(1)};
    std::vector<VertexHandle> patch;
    bool filled = false;
    HoleFillingCore filler;
    EXPECT_EQ(
        filler.fill_single_hole_core_ex(mesh, holes[0], filled, 3, faces, verts, patch, false),
        RET_SUCCESS);
    EXPECT_TRUE(filled);
    EXPECT_EQ(faces.size(), mesh.n_faces() - old_faces);
    EXPECT_GT(mesh.n_vertices(), old_vertices);
    EXPECT_TRUE(verts.empty());
    EXPECT_GT(patch.size(), mesh.n_vertices() - old_vertices);
}

TEST(HoleFillingCore, SingleIllegalHoleIsRefused)
{
    TriMesh mesh = veld_test::grid_with_hole(3);
    std::vector<FaceHandle> faces{FaceHandle(3)};
    std::vector<VertexHandle> verts;
    std::vector<VertexHandle> patch;
    bool filled = true;
    LogCapture const log;
    HoleFillingCore filler;
    EXPECT_EQ(
        filler.fill_single_hole_core_ex(mesh, {vh(0), vh(1)}, filled, 3, faces, verts, patch, true),
        RET_INVALID_INPUT);
    EXPECT_FALSE(filled);
    EXPECT_EQ(faces.size(), 1U);
    EXPECT_EQ(log.text(), "fill_single_hole_core() ..\ncreate_hole_cell_from_verts() ..\n"
                          "  !!! wrong hole VertexHandle array.\n");
}

TEST(HoleFillingCore, StepsOutsideARunLogThatThereIsNoMeshAndFail)
{
    std::vector<std::vector<FaceHandle>> faces{{FaceHandle(3)}};
    Holes verts;
    std::vector<OpenMesh::HalfedgeHandle> halfedges;
    auto const take_every_step = [&](OpenCoreFiller& filler)
    {
        EXPECT_EQ(filler.create_hole_cell_from_verts({vh(0), vh(1), vh(2)}, halfedges),
                  RET_INVALID_INPUT);
        EXPECT_EQ(filler.main_process(), RET_FAILED);
        filler.calc_avg_edge_len();
        filler.find_holes_region();
        filler.process_holes_expanded();
        filler.create_smooth_patch();
        EXPECT_FALSE(filler.fairing_patch_C0());
        EXPECT_FALSE(filler.fairing_patch_C1());
        EXPECT_FALSE(filler.fairing_patch_C2());
        filler.check_C0_value();
        filler.check_C1_value();
        filler.check_C2_value();
        filler.get_extra_filling_info(faces, verts, verts);
        filler.show_hole_filling_param();
        filler.show_mesh_info();
        filler.save_mesh("mesh.stl");
        filler.save_holes();
    };
    LogCapture const log;
    OpenCoreFiller filler;
    take_every_step(filler);
    EXPECT_EQ(log.count("  !!!error: no mesh outside a run ["), 17);
    {
        TriMesh mesh = veld_test::grid_with_hole(3);
        fill(filler, mesh, inner_holes_of(mesh), 3, true);
    }
    EXPECT_EQ(filler.mesh_, nullptr);
    take_every_step(filler);
    EXPECT_EQ(log.count("  !!!error: no mesh outside a run ["), 2 * 17);
    EXPECT_TRUE(halfedges.empty());
    EXPECT_EQ(faces.size(), 1U);
}

TEST(HoleFillingCore, NothingOfAFormerRunIsLeftWhenTheNextFails)
{
    TriMesh mesh = sphere_with_hole(4, 0.5);
    OpenCoreFiller filler;
    fill(filler, mesh, holes_of(mesh));
    ASSERT_FALSE(filler.patches_.empty());
    TriMesh small = veld_test::lone_triangle();
    EXPECT_EQ(fill(filler, small, {{vh(0), vh(1)}}).result, RET_INVALID_INPUT);
    EXPECT_TRUE(filler.regions_.empty());
    EXPECT_TRUE(filler.patches_.empty());
    EXPECT_TRUE(filler.hole_done_.empty());
    EXPECT_EQ(filler.mesh_, nullptr);
}

TEST(HoleFillingCore, TheMeshIsLetGoOfWhenARunIsEnded)
{
    TriMesh mesh = veld_test::grid_with_hole(3);
    Holes const holes = inner_holes_of(mesh);
    CancelToken const token;
    token.cancel();
    RunScope const scope(token);
    OpenCoreFiller filler;
    EXPECT_THROW(fill(filler, mesh, holes), Cancelled);
    EXPECT_EQ(filler.mesh_, nullptr);
}

TEST(HoleFillingCore, ReversedHoleHasNoRegionAndStaysOpen)
{
    TriMesh mesh = veld_test::grid_with_hole(3);
    Holes holes = inner_holes_of(mesh);
    std::reverse(holes[0].begin(), holes[0].end());
    LogCapture const log;
    OpenCoreFiller filler;
    Filled const filled = fill(filler, mesh, holes, 3, true);
    EXPECT_EQ(filled.result, RET_SUCCESS);
    EXPECT_TRUE(filled.faces.empty());
    EXPECT_THAT(filler.hole_done_, testing::ElementsAre(false));
    EXPECT_EQ(log.count("  !!!abnormal: hole[0] with 0 vertices.\n"), 1);
}

TEST(HoleFillingCore, NinePropertiesStayAfterEachCall)
{
    // Hosts read them after the call; two normals are requested on the first one.
    TriMesh mesh = sphere_with_hole(3, 0.5);
    std::size_t const before = count_properties(mesh);
    HoleFillingCore filler;
    Holes const holes = holes_of(mesh);
    fill(filler, mesh, holes);
    EXPECT_EQ(count_properties(mesh), before + 9 + 2);
    TriMesh other = sphere_with_hole(3, 0.5);
    HoleFillingCore again;
    fill(again, other, holes);
    fill(again, other, {{vh(0), vh(1), vh(2)}});
    EXPECT_EQ(count_properties(other), before + 9 + 2);
}

TEST(HoleFillingCore, AllNormalsAreThoseOfTheMeshBeforeItIsFilled)
{
    TriMesh mesh = sphere_with_hole(3, 0.5);
    mesh.request_face_normals();
    mesh.request_vertex_normals();
    mesh.request_halfedge_normals();
    TriMesh expected = mesh;
    expected.update_normals();
    HoleFillingCore filler;
    fill(filler, mesh, holes_of(mesh));
    for (auto const v : expected.vertices())
    {
        ASSERT_EQ(mesh.normal(v), expected.normal(v));
    }
    for (auto const h : expected.halfedges())
    {
        ASSERT_EQ(mesh.normal(h), expected.normal(h));
    }
}

TEST(HoleFillingCore, GivesTheMeshNoMoreArraysThanThoseThatStay)
{
    TriMesh mesh = sphere_with_hole(4, 0.5);
    Holes const holes = holes_of(mesh);
    std::size_t const vertices = mesh.n_vertices();
    std::size_t const faces = mesh.n_faces();
    veld_test::ArrayWatch const watch(mesh);
    HoleFillingCore filler;
    fill(filler, mesh, holes);
    // The normals. Its nine properties come with their values.
    EXPECT_EQ(watch.vertices(), 1 + mesh.n_vertices() - vertices);
    EXPECT_EQ(watch.faces(), 1 + mesh.n_faces() - faces);
}

TEST(HoleFillingCore, MeasuresEdgesAtTheVerticesOfRegionsOnly)
{
    TriMesh mesh = sphere_with_hole(4, 0.5);
    std::size_t const old_vertices = mesh.n_vertices();
    OpenCoreFiller filler;
    fill(filler, mesh, holes_of(mesh));
    std::vector<bool> on_region(old_vertices, false);
    for (auto const f : filler.regions_[0])
    {
        for (auto const v : mesh.fv_range(f))
        {
            on_region[static_cast<std::size_t>(v.idx())] = true;
        }
    }
    for (std::size_t i = 0; i < old_vertices; ++i)
    {
        float const length = mesh.property(filler.vert_edge_len_prop_, vh(static_cast<int>(i)));
        EXPECT_EQ(length > 0.0F, on_region[i]);
    }
}

TEST(HoleFillingCore, ARunAfterAnotherFindsRoomInTheMesh)
{
    // Three holes, one a run: the first run makes room for an eighth more vertices.
    std::vector<veld_test::Cell> missing;
    for (int const x : {3, 4, 5, 10, 11, 12, 17, 18, 19})
    {
        for (int y = 3; y < 6; ++y)
        {
            missing.emplace_back(x, y);
        }
    }
    TriMesh mesh = veld_test::grid_without(24, 9, missing);
    mesh = TriMesh(mesh); // the points of a copy have no room
    Holes const holes = inner_holes_of(mesh);
    ASSERT_EQ(holes.size(), 3U);
    Vector3f const* place = mesh.points();
    int moves = 0;
    for (auto const& hole : holes)
    {
        std::size_t const vertices = mesh.n_vertices();
        HoleFillingCore filler;
        fill(filler, mesh, {hole});
        EXPECT_GT(mesh.n_vertices(), vertices);
        moves += mesh.points() != place ? 1 : 0;
        place = mesh.points();
    }
    EXPECT_EQ(moves, 1);
}

TEST(HoleFillingCore, AMeshWithRoomIsNotMovedAndGetsArraysWithRoom)
{
    TriMesh mesh = sphere_with_hole(4, 0.1);
    Holes const holes = holes_of(mesh);
    std::size_t const room = 2 * mesh.n_vertices();
    mesh.reserve(room, 3 * room, 2 * room);
    Vector3f const* const points = mesh.points();
    auto const* const edges = &mesh.edge(OpenMesh::EdgeHandle(0));
    OpenCoreFiller filler;
    fill(filler, mesh, holes);
    EXPECT_EQ(mesh.points(), points);
    EXPECT_EQ(&mesh.edge(OpenMesh::EdgeHandle(0)), edges);
    EXPECT_GE(mesh.property(filler.vert_edge_len_prop_).data_vector().capacity(), room);
    EXPECT_GE(mesh.property(filler.face_new_prop_).data_vector().capacity(), 2 * room);
    EXPECT_GE(mesh.property(mesh.vertex_normals_pph()).data_vector().capacity(), room);
    EXPECT_GE(mesh.property(mesh.face_normals_pph()).data_vector().capacity(), 2 * room);
}

TEST(HoleFillingCore, TooManyVerticesCountOnlyWhenTheLimitIsOn)
{
    Holes holes;
    {
        TriMesh mesh = veld_test::grid_with_hole(80);
        holes = inner_holes_of(mesh);
        ASSERT_EQ(holes[0].size(), 320U) << "more than the default limit of 300";
        HoleFillingCore filler;
        EXPECT_EQ(fill(filler, mesh, holes).faces.size(), 1U);
    }
    TriMesh mesh = veld_test::grid_with_hole(80);
    HoleFillingCore filler;
    filler.set_use_hole_vert_num_thr(true);
    LogCapture const log;
    EXPECT_EQ(fill(filler, mesh, holes, 3, true).faces.size(), 0U);
    EXPECT_EQ(log.count("  skip hole[0] with 320 boundary.\n"), 1);
    ASSERT_EQ(filler.open_holes().size(), 1U);
    EXPECT_EQ(filler.open_holes()[0].reason, OpenReason::TOO_MANY_EDGES);
    filler.set_hole_verts_thr(320);
    EXPECT_EQ(fill(filler, mesh, holes).faces.size(), 1U);
}

TEST(HoleFillingCore, OverlappingRegionsMergeWithoutConflict)
{
    TriMesh mesh = veld_test::grid_without(9, 5, {{2, 2}, {6, 2}});
    Holes const holes = inner_holes_of(mesh);
    ASSERT_EQ(holes.size(), 2U);
    OpenCoreFiller filler;
    Filled const filled = fill(filler, mesh, holes, 6);
    EXPECT_EQ(filled.faces.size(), 2U);
    auto first = filler.regions_[0];
    auto second = filler.regions_[1];
    std::sort(first.begin(), first.end());
    std::sort(second.begin(), second.end());
    std::vector<FaceHandle> both;
    std::set_intersection(first.begin(), first.end(), second.begin(), second.end(),
                          std::back_inserter(both));
    EXPECT_FALSE(both.empty());
    EXPECT_EQ(holes_of(mesh).size(), 1U);
}

TEST(HoleFillingCore, HoleClosedWithoutNewVerticesMovesNothing)
{
    TriMesh mesh = veld_test::grid_without(7, 7, {{3, 3}});
    for (auto const v : mesh.vertices())
    {
        mesh.point(v).z() = static_cast<float>((v.idx() * 7) % 5) * 0.1F;
    }
    TriMesh const before = mesh;
    HoleFillingCore filler;
    Filled const filled = fill(filler, mesh, inner_holes_of(mesh));
    EXPECT_EQ(mesh.n_vertices(), before.n_vertices());
    EXPECT_EQ(mesh.n_faces(), before.n_faces() + 2);
    EXPECT_TRUE(filled.patches.empty());
    for (auto const v : before.vertices())
    {
        EXPECT_EQ(mesh.point(v), before.point(v));
    }
}

TEST(HoleFillingCore, SizesOfTheSystemsAreLimitedStrictly)
{
    TriMesh const holed = sphere_with_hole(4, 0.5);
    auto const run = [&](int order, int most, int least)
    {
        TriMesh mesh = holed;
        HoleFillingCore filler;
        filler.set_smooth_type(order);
        filler.set_fairing_verts_thr(most);
        filler.set_fairing_min_verts_thr(least);
        LogCapture const log;
        Filled const filled = fill(filler, mesh, holes_of(mesh), 3, true);
        return std::make_pair(static_cast<int>(filled.patches[0].size()),
                              log.text().substr(0, log.text().find("check_C")));
    };
    int const n = run(1, 20000, 5).first;
    auto const large =
        "  skip large dim Laplace's equation (with " + std::to_string(n) + " verts)\n";
    auto const tiny = "  skip tiny dim Laplace's equation (with " + std::to_string(n) + " verts)\n";
    EXPECT_THAT(run(1, n, 5).second, testing::HasSubstr("   Solve completed ... \n"));
    EXPECT_THAT(run(1, n - 1, 5).second, testing::HasSubstr(large));
    EXPECT_THAT(run(0, 20000, n).second, testing::HasSubstr("   Solve completed ... \n"));
    EXPECT_THAT(run(0, 20000, n + 1).second, testing::HasSubstr(tiny));
    // The two higher orders call a system that is too small too large.
    EXPECT_THAT(run(1, 20000, n + 1).second, testing::HasSubstr(large));
    EXPECT_THAT(run(2, 20000, n + 1).second, testing::HasSubstr(large));
}

TEST(HoleFillingCore, CheckReportsNoVertexAfterFairing)
{
    TriMesh mesh = sphere_with_hole(4, 0.5);
    HoleFillingCore filler;
    filler.set_smooth_type(0);
    LogCapture const log;
    fill(filler, mesh, holes_of(mesh), 3, true);
    EXPECT_EQ(log.count("check_C0_value() ..\n"), 1);
    EXPECT_EQ(log.count(" error: patch "), 0);
}

TEST(HoleFillingCore, HiddenEdgesCountForTheMeanEdgeLengthAsOthersDo)
{
    TriMesh const holed = sphere_with_hole(4, 0.5);
    TriMesh plain = holed;
    HoleFillingCore filler;
    fill(filler, plain, holes_of(plain));
    for (int const shown : {10, static_cast<int>(holed.n_edges()) + 1})
    {
        TriMesh mesh = holed;
        mesh.request_edge_status();
        for (auto const edge : holed.edges())
        {
            mesh.status(edge).set_hidden((edge.idx() + 1) % shown != 0);
        }
        fill(filler, mesh, holes_of(mesh));
        ASSERT_TRUE(same_bytes(plain, mesh)) << "one edge of " << shown << " is shown";
    }
}

TEST(HoleFillingCore, DeletedEdgesAddNothingToTheMeanEdgeLengthButAreDividedBy)
{
    // Four unit edges and a diagonal; the triangle below the diagonal goes, and with it two edges.
    TriMesh mesh = veld_test::grid(1, 1);
    mesh.request_face_status();
    mesh.request_edge_status();
    mesh.request_halfedge_status();
    mesh.request_vertex_status();
    mesh.delete_face(FaceHandle(0));
    OpenCoreFiller filler;
    filler.mesh_ = &mesh;
    filler.calc_avg_edge_len();
    EXPECT_NEAR(filler.avg_edge_len_, (2.0 + std::sqrt(2.0)) / 5.0, 1e-7);
}

TEST(HoleFillingCore, ComponentWithoutFixedSurroundingsIsNoPatch)
{
    // Ten rings cover the whole small sphere: nothing is left to hold the patch.
    TriMesh mesh = sphere_with_hole(2, 0.7);
    HoleFillingCore filler;
    Filled const filled = fill(filler, mesh, holes_of(mesh), 100);
    EXPECT_EQ(filled.result, RET_SUCCESS);
    EXPECT_TRUE(filled.patches.empty());
}

TEST(HoleFillingCore, SmoothTypeTakes01And2Only)
{
    OpenCoreFiller filler;
    for (int const type : {0, 2, 1})
    {
        filler.set_smooth_type(type);
        EXPECT_EQ(filler.smooth_type_, type);
        filler.set_smooth_type(3);
        filler.set_smooth_type(-1);
        EXPECT_EQ(filler.smooth_type_, type);
    }
}

TEST(HoleFillingCore, VerboseStaysInTheLogSwitchAndFalsePrintsNothing)
{
    TriMesh mesh = veld_test::grid_with_hole(3);
    Holes const holes = inner_holes_of(mesh);
    LogCapture const log;
    HoleFillingCore filler;
    fill(filler, mesh, holes, 3, false);
    EXPECT_FALSE(gPH.log_enabled);
    EXPECT_EQ(log.text(), "");
    fill(filler, mesh, {}, 3, true);
    EXPECT_TRUE(gPH.log_enabled);
    EXPECT_EQ(log.text(), "fill_holes_core() ..try to fill 0 holes\n");
}

TEST(HoleFillingCore, ALimitOnThePerimeterIsShownAndLeavesNoHoleOpen)
{
    for (bool const is_on : {false, true})
    {
        TriMesh mesh = veld_test::grid_with_hole(3);
        HoleFillingCore filler;
        filler.set_use_hole_perimeter_thr(is_on);
        LogCapture const log;
        EXPECT_EQ(fill(filler, mesh, inner_holes_of(mesh), 2, true).faces.size(), 1U);
        EXPECT_EQ(log.count(is_on ? "  use hole perimeter thr:           1\n"
                                  : "  use hole perimeter thr:           0\n"),
                  1);
    }
}

TEST(HoleFillingCore, ParametersAreShownLineByLine)
{
    TriMesh mesh = veld_test::grid_with_hole(3);
    LogCapture const log;
    HoleFillingCore filler;
    fill(filler, mesh, inner_holes_of(mesh), 2, true);
    EXPECT_THAT(log.text(),
                testing::HasSubstr("show_hole_filling_param() ..\n"
                                   "\n===============< Hole Filling Param >===============\n"
                                   "  hole fairing weight type:        uniform\n"
                                   "  hole fairing type:               C1\n"
                                   "  topology dis thr:                 2 rings\n"));
    EXPECT_THAT(log.text(), testing::HasSubstr("  use hole vert num thr:            0\n"
                                               "  use hole perimeter thr:           1\n"
                                               "  hole verts thr:                 300\n"
                                               "  fairing verts thr:            20000\n"
                                               "\n  mesh info:\n"
                                               "    faces:                         32\n"
                                               "    verts:                         36\n"
                                               "  enable file saving:               0\n"
                                               "===============</Hole Filling Param "
                                               ">===============\n\n"));
}

TEST(HoleFillingCore, SubMeshesAreWrittenWhereLoggingAndSavingAreOn)
{
    veld_test::TempDir const dir;
    LogCapture const log;
    gPH.set_result_dir(dir.path().string());
    TriMesh mesh = veld_test::grid_with_hole(3);
    HoleFillingCore filler;
    filler.set_enable_file_saving(true);
    fill(filler, mesh, inner_holes_of(mesh), 3, true);
    for (char const* const name :
         {"extracted-hole-0000-sub-mesh.stl", "extracted-hole-0000-sub-mesh-step-1-filled.stl",
          "extracted-hole-0000-sub-mesh-step-2-refined.stl"})
    {
        EXPECT_GT(std::filesystem::file_size(dir.path() / name), 84U) << name;
    }
}

TEST(HoleFillingCore, TheMeshIsSavedWithBothSwitchesAndTheRegionsWithTheLog)
{
    TriMesh mesh = veld_test::grid_with_hole(3);
    OpenCoreFiller filler;
    fill(filler, mesh, inner_holes_of(mesh));
    filler.mesh_ = &mesh;
    for (bool const logging : {false, true})
    {
        for (bool const saving : {false, true})
        {
            veld_test::TempDir const dir;
            LogCapture const log(logging);
            gPH.set_result_dir(dir.path().string());
            filler.set_enable_file_saving(saving);
            filler.save_mesh("mesh.stl");
            filler.save_holes();
            EXPECT_EQ(std::filesystem::exists(dir.path() / "mesh.stl"), logging && saving);
            EXPECT_EQ(std::filesystem::exists(dir.path() / "hole-0000-sub-mesh.obj"), logging);
        }
    }
}

TEST(HoleFillingCore, DumpThatCannotBeWrittenIsLoggedAndChangesNothing)
{
    veld_test::TempDir const dir;
    LogCapture const log;
    gPH.set_result_dir(dir.file("missing"));
    TriMesh mesh = veld_test::grid_with_hole(3);
    TriMesh plain = mesh;
    Holes const holes = inner_holes_of(mesh);
    HoleFillingCore filler;
    filler.set_enable_file_saving(true);
    EXPECT_EQ(fill(filler, mesh, holes, 3, true).result, RET_SUCCESS);
    EXPECT_EQ(log.count("fail to write '" + dir.file("missing") +
                        "/extracted-hole-0000-sub-mesh.stl'.\n"),
              1);
    HoleFillingCore quiet;
    fill(quiet, plain, holes);
    EXPECT_TRUE(same_bytes(mesh, plain));
}

TEST(HoleFillingCore, GivesTheSameBytesForAnyNumberOfThreads)
{
    std::vector<veld_test::Cell> missing;
    for (int k = 0; k < 12; ++k)
    {
        for (int c = 0; c < 9 + k % 3 * 3; ++c)
        {
            missing.emplace_back(4 + (k % 4) * 9 + c % 3, 4 + (k / 4) * 9 + c / 3);
        }
    }
    TriMesh base = veld_test::grid_without(40, 30, missing);
    for (auto const v : base.vertices())
    {
        base.point(v).z() = static_cast<float>((v.idx() * 13) % 7) * 0.05F;
    }
    Holes const holes = inner_holes_of(base);
    ASSERT_EQ(holes.size(), 12U);
    int const threads = omp_get_max_threads();
    TriMesh first = base;
    omp_set_num_threads(1);
    HoleFillingCore one;
    fill(one, first, holes);
    for (int const n : {2, 8})
    {
        for (int repeat = 0; repeat < 5; ++repeat)
        {
            omp_set_num_threads(n);
            TriMesh mesh = base;
            HoleFillingCore filler;
            fill(filler, mesh, holes);
            EXPECT_TRUE(same_bytes(first, mesh)) << n << " threads";
        }
    }
    omp_set_num_threads(threads);
}

TEST(HoleFillingCore, LargeHolesGiveTheSameBytesForAnyNumberOfThreads)
{
    // Two holes of 260 edges and one of 4: fewer than threads, in the end.
    std::vector<veld_test::Cell> missing{{2, 2}};
    for (int y = 0; y < 65; ++y)
    {
        for (int x = 0; x < 65; ++x)
        {
            missing.emplace_back(5 + x, 5 + y);
            missing.emplace_back(75 + x, 5 + y);
        }
    }
    TriMesh base = veld_test::grid_without(145, 75, missing);
    for (auto const v : base.vertices())
    {
        base.point(v).z() = static_cast<float>((v.idx() * 13) % 7) * 0.05F;
    }
    Holes const holes = inner_holes_of(base);
    ASSERT_EQ(holes.size(), 3U);
    TriMesh first;
    for (int const n : {1, 2, 3, 8})
    {
        veld_test::Threads const threads(n);
        TriMesh mesh = base;
        HoleFillingCore filler;
        filler.set_smooth_type(0);
        Filled const filled = fill(filler, mesh, holes);
        EXPECT_EQ(filled.faces.size(), 3U);
        if (n == 1)
        {
            first = mesh;
        }
        EXPECT_TRUE(same_bytes(first, mesh)) << n << " threads";
    }
}

TEST(HoleFillingCore, SurvivesCoordinatesThatAreNoNumbers)
{
    for (float const bad :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()})
    {
        TriMesh mesh = sphere_with_hole(3, 0.5);
        Holes const holes = holes_of(mesh);
        mesh.set_point(holes[0][2], Vector3f(bad, 0, 0));
        HoleFillingCore filler;
        EXPECT_EQ(fill(filler, mesh, holes).result, RET_SUCCESS);
    }
}

TEST(CotangentWeight, IsTheSumOfTheTwoCotangents)
{
    // Two right isosceles triangles on both sides of a diagonal: both far angles are 90 degrees.
    TriMesh const square = veld_test::grid(1, 1);
    HoleFillingCore const filler;
    double weight = 0.0;
    EXPECT_TRUE(filler.calc_cot_weight(square, vh(0), vh(3), weight));
    EXPECT_NEAR(weight, 0.0, 1e-12);
    // Equilateral neighbours: 2 / sqrt(3).
    float const h = std::sqrt(3.0F) / 2.0F;
    TriMesh const rhombus = veld_test::make_mesh(
        {{0, 0, 0}, {1, 0, 0}, {0.5F, h, 0}, {0.5F, -h, 0}}, {{0, 1, 2}, {1, 0, 3}});
    EXPECT_TRUE(filler.calc_cot_weight(rhombus, vh(0), vh(1), weight));
    EXPECT_NEAR(weight, 2.0 / std::sqrt(3.0), 1e-6);
}

TEST(CotangentWeight, IsOneWhereTheEdgeHasNoTwoFaces)
{
    TriMesh const square = veld_test::grid(1, 1);
    HoleFillingCore const filler;
    LogCapture const log;
    double weight = 0.0;
    EXPECT_FALSE(filler.calc_cot_weight(square, vh(0), vh(1), weight));
    EXPECT_EQ(weight, 1.0);
    EXPECT_EQ(
        log.count("  # error: fail to find the face pair [algorithmVeld/HoleFilling/fairing/"), 1);
    EXPECT_FALSE(filler.calc_cot_weight(square, vh(1), vh(2), weight));
    EXPECT_EQ(weight, 1.0);
    EXPECT_EQ(log.count("  # error: fail to find target he ["), 1);
}

TEST(DirectSolver, FailsForASingularSystemAndTakesAnEmptyOne)
{
    HoleFillingCore const filler;
    std::vector<double> x{1.0};
    EXPECT_TRUE(filler.MKL_Pardiso(HoleFillingCore::SparseRows(0, 0), {}, x));
    EXPECT_TRUE(x.empty());
    HoleFillingCore::SparseRows diagonal(2, 2);
    diagonal.insert(0, 0) = 2.0;
    diagonal.insert(1, 1) = 4.0;
    HoleFillingCore::DenseVector b(2);
    b << 1.0, 1.0;
    EXPECT_TRUE(filler.MKL_Pardiso(diagonal, b, x));
    EXPECT_THAT(x, testing::ElementsAre(0.5, 0.25));
    b << std::numeric_limits<double>::quiet_NaN(), 1.0;
    EXPECT_FALSE(filler.MKL_Pardiso(diagonal, b, x));
    EXPECT_TRUE(x.empty());
}

using HoleFillingCoreRealData = veld_test::RealData;

TEST_F(HoleFillingCoreRealData, AllHolesAreClosedAndNothingElseMoves)
{
    for (auto const& file : veld_test::real_meshes())
    {
        SCOPED_TRACE(file.filename().string());
        TriMesh mesh;
        MeshReadReport report;
        ASSERT_TRUE(read_mesh(file.string(), mesh, report)) << report.error;
        Holes const holes = holes_of(mesh);
        if (holes.empty())
        {
            continue;
        }
        TriMesh const before = mesh;
        HoleFillingCore filler;
        std::vector<bool> hole_filled;
        Filled filled;
        filler.fill_holes_core_ex(mesh, holes, hole_filled, 3, filled.faces, filled.verts,
                                  filled.patches, false);
        EXPECT_TRUE(mesh.is_legal());
        std::vector<bool> in_patch(mesh.n_vertices(), false);
        for (auto const& patch : filled.patches)
        {
            for (auto const v : patch)
            {
                in_patch[static_cast<std::size_t>(v.idx())] = true;
            }
        }
        for (auto const v : before.vertices())
        {
            ASSERT_TRUE(in_patch[static_cast<std::size_t>(v.idx())] ||
                        mesh.point(v) == before.point(v));
        }
        for (auto const f : before.faces())
        {
            ASSERT_EQ(mesh.from_vertex_handle(mesh.halfedge_handle(f)),
                      before.from_vertex_handle(before.halfedge_handle(f)));
        }
        std::size_t const left = holes_of(mesh).size();
        EXPECT_EQ(left == 0, filler.open_holes().empty());
    }
}

} // namespace
