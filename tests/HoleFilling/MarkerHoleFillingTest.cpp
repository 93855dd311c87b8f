#include "algorithmVeld/HoleFilling/MarkerHoleFilling.h"

#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/steps.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace
{

using namespace OrvaneAlgorithm;
using veld_test::Cell;
using veld_test::LogCapture;

/// A flat sheet with three square holes of two cells a side, far from each other and the border.
TriMesh sheet()
{
    std::vector<Cell> missing;
    for (auto const& [x, y] : {std::pair{10, 10}, {30, 10}, {20, 30}})
    {
        missing.insert(missing.end(), {{x, y}, {x + 1, y}, {x, y + 1}, {x + 1, y + 1}});
    }
    return veld_test::grid_without(42, 42, missing);
}

Vector3f const FIRST(11.0F, 11.0F, 0.0F);
Vector3f const SECOND(31.0F, 11.0F, 0.0F);
Vector3f const THIRD(21.0F, 31.0F, 0.0F);

int loop_count(TriMesh& mesh)
{
    return static_cast<int>(veld_test::plain_holes(mesh).size());
}

/// The region is left alone but for smoothing, which does nothing in a plane's middle.
MarkerHoleFilling gentle()
{
    MarkerHoleFilling filling;
    filling.set_region_process_type(0);
    filling.set_topology_dis_thr(2);
    return filling;
}

TEST(MarkerHoleFilling, FillsTheHolesAtMarkersAndNoOthers)
{
    TriMesh mesh = sheet();
    ASSERT_EQ(loop_count(mesh), 4);
    auto filling = gentle();
    EXPECT_EQ(filling.marker_holes_filling(mesh, {FIRST, THIRD}), RET_SUCCESS);
    EXPECT_EQ(loop_count(mesh), 2);
    EXPECT_TRUE(filling.open_holes().empty());
    Holes const left = veld_test::plain_holes(mesh);
    auto const& small = left[0].size() < left[1].size() ? left[0] : left[1];
    EXPECT_LT((veld_test::exact_mean(mesh, small) - SECOND).norm(), 1e-4F);
}

TEST(MarkerHoleFilling, TheFactorOfMarkersIsWithoutInfluence)
{
    std::vector<std::vector<int>> filled;
    for (double const factor : {10.0, 0.0, 1000.0})
    {
        TriMesh mesh = sheet();
        auto filling = gentle();
        filling.set_marker_expand_factor(factor);
        EXPECT_EQ(filling.marker_holes_filling(mesh, {FIRST}), RET_SUCCESS);
        filled.push_back(veld_test::fingerprint(mesh));
    }
    EXPECT_EQ(filled[1], filled[0]);
    EXPECT_EQ(filled[2], filled[0]);
}

TEST(MarkerHoleFilling, WithoutMarkersOnlyNormalsAreAdded)
{
    TriMesh mesh = sheet();
    auto const before = veld_test::fingerprint(mesh);
    EXPECT_EQ(MarkerHoleFilling().marker_holes_filling(mesh, {}), RET_SUCCESS);
    EXPECT_EQ(veld_test::fingerprint(mesh), before);
    EXPECT_TRUE(mesh.has_vertex_normals() && mesh.has_face_normals());
}

TEST(MarkerHoleFilling, AMeshWithoutHolesIsLeftAlone)
{
    TriMesh mesh = veld_test::sphere(2);
    auto const before = veld_test::fingerprint(mesh);
    EXPECT_EQ(MarkerHoleFilling().marker_holes_filling(mesh, {FIRST}), RET_SUCCESS);
    EXPECT_EQ(veld_test::fingerprint(mesh), before);
}

TEST(MarkerHoleFilling, TinyHolesAreNotFilledFirst)
{
    // Only what belongs to a marker is closed, however small the others are.
    TriMesh mesh = veld_test::grid_without(24, 24, {{12, 12}});
    ASSERT_EQ(loop_count(mesh), 2);
    auto filling = gentle();
    filling.marker_holes_filling(mesh, {Vector3f(3.0F, 3.0F, 0.0F)});
    EXPECT_EQ(loop_count(mesh), 2);
}

TEST(MarkerHoleFilling, AMarkerBetweenTwoHolesSelectsBothAndTwoInOneSelectItOnce)
{
    for (auto const& markers :
         {std::vector<Vector3f>{0.5F * (FIRST + SECOND) - Vector3f(0.0F, 3.0F, 0.0F)},
          std::vector<Vector3f>{FIRST, FIRST + Vector3f(0.2F, 0.0F, 0.0F), SECOND}})
    {
        TriMesh mesh = sheet();
        auto filling = gentle();
        filling.set_marker_search_radius(10.5);
        LogCapture const log;
        filling.marker_holes_filling(mesh, markers);
        EXPECT_EQ(loop_count(mesh), 2);
        EXPECT_EQ(log.count("hole_filling( "), 2);
    }
}

TEST(MarkerHoleFilling, TheSearchRadiusItselfIsOutOfReach)
{
    for (float const distance : {0.5F, 1.0F})
    {
        TriMesh mesh = sheet();
        auto filling = gentle();
        filling.marker_holes_filling(mesh, {FIRST + Vector3f(0.0F, 0.0F, distance)});
        EXPECT_EQ(loop_count(mesh), distance < 1.0F ? 3 : 4);
    }
}

TEST(MarkerHoleFilling, KeptRegionsAreNeitherCutNorSmoothed)
{
    for (int const type : {0, 1, 2})
    {
        TriMesh mesh = sheet();
        auto const vertices = mesh.n_vertices();
        auto const faces = mesh.n_faces();
        mesh.point(veld_test::vh(9 * 43 + 11)).z() =
            0.25F; // two edges from the first hole's centre
        std::vector<Vector3f> points;
        for (auto const v : mesh.vertices())
        {
            points.push_back(mesh.point(v));
        }
        MarkerHoleFilling filling;
        filling.set_region_process_type(type);
        filling.set_keep_regions(true);
        filling.marker_holes_filling(mesh, {FIRST});
        EXPECT_EQ(loop_count(mesh), 3);
        EXPECT_GT(mesh.n_faces(), faces);
        for (std::size_t i = 0; i < vertices; ++i)
        {
            EXPECT_EQ(mesh.point(veld_test::vh(static_cast<int>(i))), points[i]);
        }
    }
}

TEST(MarkerHoleFilling, CutsTheRegionAwayAndFillsWhatGrew)
{
    // The third way of the whole-mesh filling, neither cutting nor smoothing, is none here.
    for (int const type : {1, 2})
    {
        TriMesh mesh = sheet();
        auto const before = veld_test::fingerprint(mesh);
        MarkerHoleFilling filling;
        filling.set_region_process_type(type);
        filling.set_topology_dis_thr(4);
        LogCapture const log;
        filling.marker_holes_filling(mesh, {FIRST});
        EXPECT_EQ(loop_count(mesh), 3);
        EXPECT_EQ(log.count("delete_hole_region() ..\n"), 1);
        EXPECT_EQ(log.count("match_markers() ..\n"), 2);
        EXPECT_NE(veld_test::fingerprint(mesh), before);
    }
}

TEST(MarkerHoleFilling, AHoleWhoseCentreMovesOutOfReachStaysOpenAndCut)
{
    // Near the border the cut runs into it, and the hole is a part of the border from then on.
    TriMesh mesh = veld_test::grid_without(40, 40, {{2, 20}, {3, 20}, {2, 21}, {3, 21}});
    ASSERT_EQ(loop_count(mesh), 2);
    auto const faces = mesh.n_faces();
    MarkerHoleFilling filling;
    filling.set_topology_dis_thr(8);
    filling.marker_holes_filling(mesh, {Vector3f(3.0F, 21.0F, 0.0F)});
    EXPECT_LT(mesh.n_faces(), faces);
    EXPECT_EQ(loop_count(mesh), 1);
}

TEST(MarkerHoleFilling, SmoothsTheRegionInFivePassesOfAllAtOnce)
{
    TriMesh mesh = veld_test::grid_without(12, 12, {{5, 5}, {6, 5}, {5, 6}, {6, 6}});
    auto const bump = OpenMesh::VertexHandle(4 * 13 + 5);
    mesh.set_point(bump, mesh.point(bump) + Vector3f(0.0F, 0.0F, 1.0F));
    // The vertices of the ring of faces around the hole, and five times all of them at once.
    std::vector<bool> in_region(mesh.n_vertices(), false);
    for (auto const f : mesh.faces())
    {
        for (auto const h : mesh.fh_range(f))
        {
            auto const v = mesh.point(mesh.from_vertex_handle(h));
            bool const beside = mesh.is_boundary(mesh.edge_handle(h)) && v.x() > 3.5F &&
                                v.x() < 8.5F && v.y() > 3.5F && v.y() < 8.5F;
            if (beside)
            {
                for (auto const w : mesh.fv_range(f))
                {
                    in_region[static_cast<std::size_t>(w.idx())] = true;
                }
            }
        }
    }
    TriMesh expected = mesh;
    for (int round = 0; round < 5; ++round)
    {
        TriMesh const before = expected;
        for (auto const v : expected.vertices())
        {
            if (in_region[static_cast<std::size_t>(v.idx())] && !expected.is_isolated(v))
            {
                Vector3f sum = Vector3f::Zero();
                int n = 0;
                for (auto const w : before.vv_range(v))
                {
                    sum += before.point(w);
                    ++n;
                }
                expected.set_point(v, sum / static_cast<float>(n));
            }
        }
    }
    MarkerHoleFilling filling;
    filling.set_region_process_type(0);
    filling.set_topology_dis_thr(1);
    filling.set_max_perimeter(20.0); // the outer border has the same centre
    TriMesh filled = mesh;
    filling.marker_holes_filling(filled, {Vector3f(6.0F, 6.0F, 0.0F)});
    for (auto const v : mesh.vertices())
    {
        EXPECT_EQ(filled.point(v), expected.point(v)) << v.idx();
    }
}

TEST(MarkerHoleFilling, TellsOfEachMarkerAndOfTheHolesThatItFills)
{
    TriMesh mesh = sheet();
    auto filling = gentle();
    LogCapture const log;
    filling.marker_holes_filling(mesh, {FIRST + Vector3f(0.5F, 0.0F, 0.0F)});
    EXPECT_EQ(log.count("calc_hole_diameter() ..\n"), 1);
    EXPECT_EQ(log.count("  marker (11.500000, 11.000000, 0.000000) has [1] candidate holes\n"), 1);
    EXPECT_THAT(log.text(),
                testing::ContainsRegex("    candidate .[0-9]. hole-center.11.000000, 11.000000, "
                                       "0.000000. \t c-to-c-dis = 0.500000 \t dis2 = 0.250000\n"));
    EXPECT_EQ(log.count("\n========== holes to filled ==========\n"), 1);
    // A square of side 2: perimeter 8; corners at 1 and sqrt(2); a box with a diagonal of sqrt(8).
    EXPECT_THAT(log.text(), testing::HasSubstr("r_p = 1.273240 \t r_d = 1.207107 \t r_b = 1.414214 "
                                               "\t r_a = 1.298187\n"));
    EXPECT_EQ(log.count("\n  total markers: 1\n"), 1);
}

TEST(MarkerHoleFilling, KeepsTheMatchToItselfIfAskedTo)
{
    TriMesh mesh = sheet();
    auto filling = gentle();
    filling.set_verbose_match(false);
    LogCapture const log;
    filling.marker_holes_filling(mesh, {FIRST});
    EXPECT_EQ(log.count("candidate"), 0);
    EXPECT_EQ(log.count("holes to filled"), 0);
    EXPECT_EQ(log.count("hole_filling( "), 1);
}

TEST(MarkerHoleFilling, TimesTheWorkOnHoles)
{
    TriMesh mesh = sheet();
    gLH.clear_steps();
    gentle().marker_holes_filling(mesh, {FIRST});
    EXPECT_THAT(veld_test::outline(gLH),
                testing::HasSubstr("marker-holes-filling(process-holes(hole_triangulation"));
}

TEST(MarkerHoleFilling, GivesTheSameBytesForAnyNumberOfThreads)
{
    for (int const type : {0, 1})
    {
        std::vector<std::vector<int>> results;
        for (int const threads : {1, 2, 5})
        {
            veld_test::Threads const scope(threads);
            TriMesh mesh = sheet();
            MarkerHoleFilling filling;
            filling.set_region_process_type(type);
            filling.set_topology_dis_thr(3);
            filling.marker_holes_filling(mesh, {FIRST, SECOND, THIRD});
            results.push_back(veld_test::fingerprint(mesh));
        }
        EXPECT_EQ(results[0], results[1]);
        EXPECT_EQ(results[0], results[2]);
    }
}

TEST(MarkerHoleFilling, AMarkerThatIsNoPlaceSelectsNothing)
{
    TriMesh mesh = sheet();
    auto const before = veld_test::fingerprint(mesh);
    float const nan = std::numeric_limits<float>::quiet_NaN();
    gentle().marker_holes_filling(mesh, {Vector3f(nan, 0.0F, 0.0F), Vector3f(1e38F, 0.0F, 0.0F)});
    EXPECT_EQ(veld_test::fingerprint(mesh), before);
}

} // namespace
