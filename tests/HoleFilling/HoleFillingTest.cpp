#include "algorithmVeld/HoleFilling/HoleFilling.h"

#include "algorithmVeld/common/RunScope.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/steps.h"
#include "tests/support/temp_dir.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

namespace
{

using namespace OrvaneAlgorithm;
using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;
using veld_test::grid_without;
using veld_test::LogCapture;
using veld_test::sphere;
using veld_test::Threads;
using veld_test::vh;

/// A filler whose steps a test may call one by one.
class OpenWholeFiller : public HoleFilling
{
public:
    using HoleFilling::avg_area;
    using HoleFilling::avg_edge;
    using HoleFilling::avg_ring;
    using HoleFilling::begin_run;
    using HoleFilling::calc_mesh_fea;
    using HoleFilling::calc_tri_circum_circle;
    using HoleFilling::dijkstra_dis_thr_;
    using HoleFilling::expand_holes;
    using HoleFilling::fairing_minimization_with_ConjugateGradient;
    using HoleFilling::fairing_minimization_with_SimplicialCholesky;
    using HoleFilling::fairing_minimization_with_SparseLU;
    using HoleFilling::fairing_plane;
    using HoleFilling::find_holes_ordered_halfedges;
    using HoleFilling::hole_filling;
    using HoleFilling::hole_lengths_;
    using HoleFilling::holes_;
    using HoleFilling::is_flat_hole;
    using HoleFilling::max_area;
    using HoleFilling::max_edge;
    using HoleFilling::max_ring;
    using HoleFilling::mesh_;
    using HoleFilling::min_area;
    using HoleFilling::min_edge;
    using HoleFilling::min_ring;
    using HoleFilling::MKL_Pardiso;
    using HoleFilling::preprocessing;
    using HoleFilling::regions_;
    using HoleFilling::total_area;
    using HoleFilling::verify_mesh;
};

/// Neither smoothing nor cutting: only new elements differ.
constexpr int KEEP_REGION = 2;

/// A sphere without the faces that have a vertex above a height: one hole.
TriMesh open_sphere(int level, float height)
{
    TriMesh const whole = sphere(level);
    std::vector<Vector3f> points;
    std::vector<std::array<int, 3>> faces;
    for (auto const v : whole.vertices())
    {
        points.push_back(whole.point(v));
    }
    for (auto const f : whole.faces())
    {
        std::array<int, 3> corners{};
        bool above = false;
        std::size_t k = 0;
        for (auto const v : whole.fv_range(f))
        {
            corners[k++] = v.idx();
            above = above || whole.point(v).z() > height;
        }
        if (!above)
        {
            faces.push_back(corners);
        }
    }
    return veld_test::make_mesh(points, faces);
}

std::size_t boundary_edge_count(TriMesh const& mesh)
{
    return veld_test::boundary_edges(mesh).size();
}

int isolated_count(TriMesh const& mesh)
{
    int n = 0;
    for (auto const v : mesh.vertices())
    {
        n += mesh.is_isolated(v) ? 1 : 0;
    }
    return n;
}

TEST(HoleFilling, AMeshWithoutHolesKeepsItsFacesAndGetsNormals)
{
    TriMesh mesh = sphere(2);
    TriMesh const before = mesh;
    LogCapture const log;
    EXPECT_EQ(HoleFilling().holes_filling(mesh), RET_SUCCESS);
    EXPECT_EQ(veld_test::fingerprint(mesh), veld_test::fingerprint(before));
    EXPECT_TRUE(mesh.has_vertex_normals() && mesh.has_face_normals());
    EXPECT_EQ(log.count("process_holes() ..\n"), 1);
    EXPECT_EQ(log.count("hole_filling( "), 0);
}

TEST(HoleFilling, AnEmptyMeshStaysEmpty)
{
    TriMesh mesh;
    EXPECT_EQ(HoleFilling().holes_filling(mesh), RET_SUCCESS);
    EXPECT_EQ(mesh.n_vertices(), 0U);
}

TEST(HoleFilling, ClosesAHoleWhateverHappensToItsRegion)
{
    for (int const type : {0, 1, KEEP_REGION})
    {
        TriMesh mesh = open_sphere(4, 0.9F);
        ASSERT_GT(boundary_edge_count(mesh), 6U);
        HoleFilling filling;
        filling.set_region_process_type(type);
        filling.set_topology_dis_thr(3);
        EXPECT_EQ(filling.holes_filling(mesh), RET_SUCCESS);
        EXPECT_EQ(boundary_edge_count(mesh), 0U) << "region type " << type;
        EXPECT_TRUE(mesh.is_legal());
        EXPECT_TRUE(filling.open_holes().empty());
    }
}

TEST(HoleFilling, TheFillContinuesTheSphere)
{
    TriMesh mesh = open_sphere(5, 0.8F);
    HoleFilling filling;
    filling.set_region_process_type(KEEP_REGION);
    filling.holes_filling(mesh);
    for (auto const v : mesh.vertices())
    {
        if (!mesh.is_isolated(v))
        {
            // A flat lid would be 0.2 off.
            EXPECT_NEAR(mesh.point(v).norm(), 1.0F, 0.05F);
        }
    }
}

TEST(HoleFilling, LeavesOldVerticesWhereTheyAreUnlessTheRegionIsSmoothed)
{
    TriMesh const before = open_sphere(4, 0.8F);
    for (int const type : {0, KEEP_REGION})
    {
        TriMesh mesh = before;
        HoleFilling filling;
        filling.set_region_process_type(type);
        filling.holes_filling(mesh);
        int moved = 0;
        for (auto const v : before.vertices())
        {
            moved += mesh.point(v) != before.point(v) ? 1 : 0;
        }
        EXPECT_EQ(moved > 0, type == 0);
    }
}

TEST(HoleFilling, CuttingLeavesTheVerticesOfTheRegionBehind)
{
    // Nobody takes them away: hosts keep their own numbers of vertices over the call.
    TriMesh mesh = open_sphere(4, 0.8F);
    auto const vertices = mesh.n_vertices();
    int const isolated = isolated_count(mesh);
    HoleFilling filling;
    filling.set_topology_dis_thr(4);
    filling.holes_filling(mesh);
    EXPECT_EQ(boundary_edge_count(mesh), 0U);
    EXPECT_GT(isolated_count(mesh), isolated);
    EXPECT_GT(mesh.n_vertices(), vertices);
}

TEST(HoleFilling, CuttingEatsASmallOpenMesh)
{
    // The cut comes before the filling, and the region of the border is all there is.
    TriMesh mesh = veld_test::grid(4, 4);
    HoleFilling filling;
    EXPECT_EQ(filling.holes_filling(mesh), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 0U);
    EXPECT_EQ(mesh.n_vertices(), 25U);
    EXPECT_TRUE(filling.open_holes().empty());
}

TEST(HoleFilling, HolesOfFiveEdgesGoToTheEarsAndThoseOfSixToTheTriangulation)
{
    for (int const edges : {5, 6})
    {
        TriMesh mesh = open_sphere(4, 2.0F);
        mesh.request_vertex_status();
        mesh.request_edge_status();
        mesh.request_face_status();
        for (auto const v : mesh.vertices())
        {
            // The twelve corners of valence 4 of the octahedron have none; take what is asked for.
            if (static_cast<int>(mesh.valence(v)) == 6)
            {
                std::vector<FaceHandle> around;
                for (auto const f : mesh.vf_range(v))
                {
                    around.push_back(f);
                }
                std::size_t const cut = edges == 6 ? 6 : 3;
                for (std::size_t k = 0; k < cut; ++k)
                {
                    mesh.delete_face(around[k], false);
                }
                break;
            }
        }
        mesh.garbage_collection();
        mesh.release_vertex_status();
        mesh.release_edge_status();
        mesh.release_face_status();
        ASSERT_EQ(boundary_edge_count(mesh), static_cast<std::size_t>(edges));
        HoleFilling filling;
        filling.set_region_process_type(KEEP_REGION);
        LogCapture const log;
        filling.holes_filling(mesh);
        EXPECT_EQ(boundary_edge_count(mesh), 0U);
        EXPECT_EQ(log.count("hole_filling( 0 ) ..\n"), edges == 6 ? 1 : 0);
    }
}

TEST(HoleFilling, AHoleOfMoreEdgesThanTheLimitStaysOpen)
{
    for (int const limit : {3000, 11, 12})
    {
        // The outer border of a long strip has 3001 edges and more.
        TriMesh mesh = limit == 3000 ? veld_test::open_cone(3001) : veld_test::open_cone(12);
        HoleFilling filling;
        filling.set_region_process_type(KEEP_REGION);
        if (limit != 3000)
        {
            filling.set_hole_verts_thr(limit);
        }
        LogCapture const log;
        filling.holes_filling(mesh);
        EXPECT_EQ(boundary_edge_count(mesh) == 0, limit == 12);
        EXPECT_EQ(log.count("  skip hole[0] with "), limit == 12 ? 0 : 1);
        if (limit != 12)
        {
            ASSERT_EQ(filling.open_holes().size(), 1U);
            EXPECT_EQ(filling.open_holes()[0].reason, OpenReason::TOO_MANY_EDGES);
        }
    }
}

TEST(HoleFilling, RunsItsStepsInOrder)
{
    struct Case
    {
        int type;
        char const* regions;
    };
    for (auto const& [type, regions] :
         {Case{0, " smooth-holes-region"},
          Case{1, " delete-hole-region find-holes-border-2 expand-holes-2"}, Case{KEEP_REGION, ""}})
    {
        TriMesh mesh = open_sphere(4, 0.95F);
        gLH.clear_steps();
        HoleFilling filling;
        filling.set_region_process_type(type);
        filling.holes_filling(mesh);
        EXPECT_THAT(veld_test::outline(gLH),
                    testing::HasSubstr("holes-filling(preprocessing(calc-mesh-fea) fill-tiny-holes "
                                       "find-holes-border-1 expand-holes-1" +
                                       std::string(regions) +
                                       " process-holes(hole_triangulation hole_refinement "
                                       "smooth_hole_inner_patch hole_fairing) copy-final-mesh)"));
    }
}

TEST(HoleFilling, LeavesNoPropertyOfItsOwnOnTheMesh)
{
    TriMesh mesh = open_sphere(3, 0.8F);
    mesh.request_vertex_normals();
    mesh.request_face_normals();
    int const before = veld_test::count_properties(mesh);
    for (int run = 0; run < 2; ++run)
    {
        HoleFilling().holes_filling(mesh);
        EXPECT_EQ(veld_test::count_properties(mesh), before);
    }
}

TEST(HoleFilling, GivesTheSameBytesForAnyNumberOfThreads)
{
    TriMesh const input = grid_without(30, 30,
                                       {{4, 4},
                                        {5, 4},
                                        {4, 5},
                                        {5, 5},
                                        {20, 20},
                                        {21, 20},
                                        {12, 22},
                                        {13, 22},
                                        {14, 22},
                                        {22, 8},
                                        {22, 9}});
    for (int const type : {0, 1, KEEP_REGION})
    {
        std::vector<std::vector<int>> results;
        for (int const threads : {1, 2, 5})
        {
            Threads const scope(threads);
            TriMesh mesh = input;
            HoleFilling filling;
            filling.set_region_process_type(type);
            filling.set_topology_dis_thr(2);
            filling.holes_filling(mesh);
            results.push_back(veld_test::fingerprint(mesh));
        }
        EXPECT_EQ(results[0], results[1]);
        EXPECT_EQ(results[0], results[2]);
    }
}

TEST(HoleFilling, EndsOnPointsOfOneCircle)
{
    // Both diagonals of a square are equally good, and a flip is made where they are: a loop that
    // flips as long as anything flips would go on for ever.
    TriMesh mesh = grid_without(
        16, 16, {{6, 6}, {7, 6}, {8, 6}, {6, 7}, {7, 7}, {8, 7}, {6, 8}, {7, 8}, {8, 8}});
    HoleFilling filling;
    filling.set_region_process_type(KEEP_REGION);
    filling.holes_filling(mesh);
    // Only the border is left, and it is filled with everything else where it can be.
    EXPECT_TRUE(mesh.is_legal());
    for (auto const v : mesh.vertices())
    {
        EXPECT_TRUE(mesh.point(v).allFinite());
    }
}

TEST(HoleFilling, EndsOnCoordinatesThatAreNoNumbers)
{
    float const bad[] = {std::numeric_limits<float>::quiet_NaN(),
                         std::numeric_limits<float>::infinity(), 1e30F};
    for (float const value : bad)
    {
        TriMesh mesh = open_sphere(3, 0.7F);
        int k = 0;
        for (auto const v : mesh.vertices())
        {
            if (mesh.is_boundary(v) && !mesh.is_isolated(v) && k++ % 4 == 0)
            {
                mesh.set_point(v, Vector3f(value, value, 0.0F));
            }
        }
        for (int const type : {0, 1, KEEP_REGION})
        {
            TriMesh copy = mesh;
            HoleFilling filling;
            filling.set_region_process_type(type);
            EXPECT_EQ(filling.holes_filling(copy), RET_SUCCESS);
        }
    }
}

TEST(HoleFilling, EndsWhereNeighboursCoincide)
{
    // A scale of 0 asks for splits without end.
    std::vector<Vector3f> points;
    std::vector<std::array<int, 3>> faces;
    int const n = 9;
    for (int ring = 0; ring < 2; ++ring)
    {
        for (int i = 0; i < n; ++i)
        {
            double const a = 2.0 * 3.14159265 * i / n;
            points.emplace_back(static_cast<float>(std::cos(a)), static_cast<float>(std::sin(a)),
                                0.0F);
        }
    }
    for (int i = 0; i < n; ++i)
    {
        int const j = (i + 1) % n;
        faces.push_back({i, n + i, j});
        faces.push_back({j, n + i, n + j});
    }
    TriMesh mesh = veld_test::make_mesh(points, faces);
    HoleFilling filling;
    filling.set_region_process_type(KEEP_REGION);
    EXPECT_EQ(filling.holes_filling(mesh), RET_SUCCESS);
}

TEST(HoleFilling, ACancelledRunLeavesTheMeshAsItWas)
{
    TriMesh mesh = open_sphere(4, 0.8F);
    TriMesh const before = mesh;
    CancelToken token;
    RunScope const scope(token,
                         [&](double fraction)
                         {
                             if (fraction > 0.3)
                             {
                                 token.cancel();
                             }
                         });
    EXPECT_THROW(HoleFilling().holes_filling(mesh), Cancelled);
    EXPECT_EQ(veld_test::fingerprint(mesh), veld_test::fingerprint(before));
    EXPECT_FALSE(mesh.has_vertex_normals());
}

TEST(HoleFilling, MeasuresTheMesh)
{
    OpenWholeFiller filler;
    filler.begin_run(veld_test::grid(2, 1));
    LogCapture const log;
    filler.calc_mesh_fea();
    EXPECT_DOUBLE_EQ(filler.min_edge, 1.0);
    EXPECT_FLOAT_EQ(static_cast<float>(filler.max_edge), std::sqrt(2.0F));
    EXPECT_NEAR(filler.avg_edge, (7.0 + 2.0 * std::sqrt(2.0)) / 9.0, 1e-7);
    EXPECT_NEAR(filler.min_area, 0.5, 1e-6);
    EXPECT_NEAR(filler.max_area, 0.5, 1e-6);
    EXPECT_NEAR(filler.total_area, 2.0, 1e-6);
    EXPECT_NEAR(filler.avg_area, 0.5, 1e-6);
    EXPECT_EQ(filler.min_ring, 2);
    EXPECT_EQ(filler.max_ring, 4);
    EXPECT_DOUBLE_EQ(filler.avg_ring, 3.0);
    EXPECT_FLOAT_EQ(filler.dijkstra_dis_thr_, static_cast<float>(10.0 * filler.avg_edge));
    EXPECT_THAT(log.text(),
                testing::HasSubstr("\n=============== mesh info ===============\n"
                                   "  vertices:             6\n  faces:                4\n"
                                   "  edges:                9\n  halfedges:           18\n\n"));
}

TEST(HoleFilling, CountsTheEdgesThatAreLeftAtVertices)
{
    TriMesh mesh = veld_test::grid(3, 3);
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_halfedge_status();
    mesh.request_face_status();
    mesh.delete_vertex(vh(5), false); // an inner one
    mesh.add_vertex(Vector3f(9, 9, 9));
    int edges = 0;
    int most = 0;
    int vertices = 0;
    for (auto const v : mesh.vertices())
    {
        int at_vertex = 0;
        for (auto const e : mesh.edges())
        {
            at_vertex += e.v0() == v || e.v1() == v ? 1 : 0;
        }
        edges += at_vertex;
        most = std::max(most, at_vertex);
        ++vertices;
    }
    OpenWholeFiller filler;
    filler.begin_run(mesh);
    filler.calc_mesh_fea();
    EXPECT_EQ(filler.min_ring, 0);
    EXPECT_EQ(filler.max_ring, most);
    EXPECT_DOUBLE_EQ(filler.avg_ring, static_cast<double>(edges) / vertices);
}

TEST(HoleFilling, LogsTheLengthsOfTheHolesItFinds)
{
    OpenWholeFiller filler;
    filler.begin_run(veld_test::grid_with_hole(1));
    LogCapture const log;
    filler.find_holes_ordered_halfedges();
    EXPECT_THAT(filler.hole_lengths_, testing::UnorderedElementsAre(12.0, 4.0));
    EXPECT_THAT(log.text(), testing::HasSubstr("\n=============== hole info ===============\n"
                                               "  total holes:                 2\n"));
    EXPECT_THAT(log.text(), testing::HasSubstr("  hole length max:            12.000000\n"
                                               "  hole length min:             4.000000\n"
                                               "  hole length total:          16.000000\n"
                                               "  hole length avg:             8.000000\n\n"));
}

TEST(HoleFilling, TheAlternativeFairingGivesWhatTheUsualOneGives)
{
    TriMesh mesh = sphere(3);
    OpenMesh::VPropHandleT<bool> inner;
    mesh.add_property(inner);
    for (auto const v : mesh.vertices())
    {
        mesh.property(inner, v) = mesh.point(v).z() > 0.5F;
    }
    TriMesh other = mesh;
    OpenWholeFiller filler;
    EXPECT_TRUE(filler.fairing_minimization_with_SparseLU(mesh, inner));
    EXPECT_TRUE(filler.fairing_minimization_with_ConjugateGradient(other, inner));
    EXPECT_EQ(veld_test::fingerprint(mesh), veld_test::fingerprint(other));
    EXPECT_NE(veld_test::fingerprint(mesh), veld_test::fingerprint(sphere(3)));
}

TEST(HoleFilling, ASystemAboveTheLimitMovesNothingAndIsNoFailure)
{
    TriMesh mesh = sphere(2);
    OpenMesh::VPropHandleT<bool> inner;
    mesh.add_property(inner);
    int flagged = 0;
    for (auto const v : mesh.vertices())
    {
        bool const is_inner = mesh.point(v).z() > 0.0F;
        mesh.property(inner, v) = is_inner;
        flagged += is_inner ? 1 : 0;
    }
    auto const before = veld_test::fingerprint(mesh);
    OpenWholeFiller filler;
    filler.set_fairing_verts_thr(flagged - 1);
    LogCapture const log;
    EXPECT_TRUE(filler.fairing_minimization_with_SparseLU(mesh, inner));
    EXPECT_EQ(veld_test::fingerprint(mesh), before);
    // Without a line end: hosts look for the line as it has always been.
    EXPECT_THAT(log.text(),
                testing::ContainsRegex("  skip large dim Laplace's equation. \\[.*\\]$"));
    filler.set_fairing_verts_thr(flagged);
    EXPECT_TRUE(filler.fairing_minimization_with_SparseLU(mesh, inner));
    EXPECT_NE(veld_test::fingerprint(mesh), before);
}

TEST(HoleFilling, NothingToFairIsNoFailure)
{
    TriMesh mesh = sphere(1);
    OpenMesh::VPropHandleT<bool> inner;
    mesh.add_property(inner);
    for (auto const v : mesh.vertices())
    {
        mesh.property(inner, v) = false;
    }
    LogCapture const log;
    EXPECT_TRUE(OpenWholeFiller().fairing_minimization_with_SparseLU(mesh, inner));
    EXPECT_EQ(log.count("MKL_Pardiso() ..\n"), 0);
}

TEST(HoleFilling, TheSolverReportsItsSizes)
{
    HoleFilling::SparseRows a(2, 2);
    a.insert(0, 0) = 2.0;
    a.insert(0, 1) = 1.0;
    a.insert(1, 1) = 4.0;
    a.makeCompressed();
    HoleFilling::DenseVector b(2);
    b << 4.0, 8.0;
    std::vector<double> x{9.0}; // cleared first
    LogCapture const log;
    EXPECT_TRUE(OpenWholeFiller().MKL_Pardiso(a, b, 1, x));
    EXPECT_THAT(x, testing::ElementsAre(1.0, 2.0));
    EXPECT_THAT(log.text(), testing::HasSubstr(
                                "====================< MKL_Pardiso Param> ====================\n"
                                "  spareAMat.size() [rows, cols] = [2, 2]\n"
                                "  BVec.size()                   = 2\n"
                                "  inner verts:                  = 1\n"
                                "  vval.size()                   = 3\n"
                                "  vcol.size()                   = 3\n"
                                "  vrow.size()                   = 3\n"
                                "====================</MKL_Pardiso Param> ====================\n"));
    EXPECT_THAT(log.text(), testing::HasSubstr("   Reordering completed ... \n"));
    EXPECT_THAT(log.text(), testing::HasSubstr("   Number of nonzeros in factors = "));
    EXPECT_THAT(log.text(), testing::HasSubstr("   Number of factorization MFLOPS = "));
}

/// A grid with its inner vertices flagged, one of them out of the plane.
struct BumpyGrid
{
    TriMesh mesh = veld_test::grid(4, 4);
    OpenMesh::FPropHandleT<bool> face_new;
    OpenMesh::VPropHandleT<bool> vert_new;
    OpenMesh::VPropHandleT<bool> vert_boundary;

    BumpyGrid()
    {
        mesh.add_property(face_new);
        mesh.add_property(vert_new);
        mesh.add_property(vert_boundary);
        for (auto const v : mesh.vertices())
        {
            mesh.property(vert_new, v) = !mesh.is_boundary(v);
            mesh.property(vert_boundary, v) = mesh.is_boundary(v);
        }
        for (auto const f : mesh.faces())
        {
            mesh.property(face_new, f) = true;
        }
        mesh.set_point(vh(12), Vector3f(2.0F, 2.0F, 1.0F));
    }
};

TEST(HoleFilling, FairingWithTheBorderFlattensABumpInAPlane)
{
    BumpyGrid grid;
    EXPECT_TRUE(OpenWholeFiller().fairing_minimization_with_SimplicialCholesky(
        grid.mesh, grid.face_new, grid.vert_new, grid.vert_boundary));
    for (auto const v : grid.mesh.vertices())
    {
        EXPECT_NEAR(grid.mesh.point(v).z(), 0.0F, 1e-5F);
    }
}

TEST(HoleFilling, FairingWithTheBorderNamesEdgesThatLeaveIt)
{
    BumpyGrid grid;
    grid.mesh.property(grid.vert_boundary, vh(1)) = false;
    LogCapture const log;
    EXPECT_TRUE(OpenWholeFiller().fairing_minimization_with_SimplicialCholesky(
        grid.mesh, grid.face_new, grid.vert_new, grid.vert_boundary));
    EXPECT_GT(log.count("   !!!abnormal vh_from [") + log.count("   !!!abnormal vh_to ["), 0);
}

TEST(HoleFilling, OnePassOfThePlaneMovesEachVertexToItsNeighbours)
{
    BumpyGrid grid;
    for (auto const v : grid.mesh.vertices())
    {
        grid.mesh.property(grid.vert_new, v) = v.idx() == 12;
    }
    OpenWholeFiller().fairing_plane(grid.mesh, grid.vert_new);
    EXPECT_NEAR(grid.mesh.point(vh(12)).x(), 2.0F, 1e-6F);
    EXPECT_NEAR(grid.mesh.point(vh(12)).y(), 2.0F, 1e-6F);
    EXPECT_EQ(grid.mesh.point(vh(12)).z(), 0.0F);
}

TEST(HoleFilling, ALoneVertexStaysInThePlanePass)
{
    TriMesh mesh;
    auto const v = mesh.add_vertex(Vector3f(1.0F, 2.0F, 3.0F));
    OpenMesh::VPropHandleT<bool> inner;
    mesh.add_property(inner);
    mesh.property(inner, v) = true;
    OpenWholeFiller().fairing_plane(mesh, inner);
    EXPECT_EQ(mesh.point(v), Vector3f(1.0F, 2.0F, 3.0F));
}

TEST(HoleFilling, AHoleIsFlatIfNineTenthsOfItsSurroundingsAre)
{
    BumpyGrid flat;
    flat.mesh.set_point(vh(12), Vector3f(2.0F, 2.0F, 0.0F));
    for (auto const f : flat.mesh.faces())
    {
        flat.mesh.property(flat.face_new, f) = f.idx() < 4;
    }
    LogCapture const log;
    EXPECT_TRUE(OpenWholeFiller().is_flat_hole(flat.mesh, flat.face_new));
    EXPECT_EQ(log.count("  average normal of border triangles: 0.00000 / 0.00000 / 1.00000\n"), 1);
    EXPECT_EQ(log.count("    percentage of even triangles:  1.0000\n"), 1);

    TriMesh round = sphere(2);
    OpenMesh::FPropHandleT<bool> none;
    round.add_property(none);
    for (auto const f : round.faces())
    {
        round.property(none, f) = false;
    }
    EXPECT_FALSE(OpenWholeFiller().is_flat_hole(round, none));
}

TEST(HoleFilling, NamesNormalsThatAreNone)
{
    TriMesh mesh = veld_test::lone_triangle();
    mesh.request_vertex_normals();
    mesh.request_face_normals();
    mesh.update_normals();
    mesh.set_normal(vh(1), Vector3f::Constant(std::numeric_limits<float>::quiet_NaN()));
    LogCapture const log;
    OpenWholeFiller().verify_mesh(mesh);
    EXPECT_EQ(log.count("    invalid vert[1] normal: ("), 1);
    EXPECT_EQ(log.count("    invalid vert["), 1);
    EXPECT_EQ(log.count("    invalid face["), 0);
    EXPECT_EQ(log.count("  has vert nor:          1\n"), 1);
}

TEST(HoleFilling, FindsTheCircleThroughThreePoints)
{
    Vector3f centre;
    float radius = 0.0F;
    OpenWholeFiller::calc_tri_circum_circle({5, 1, 2}, {1, 5, 2}, {-3, 1, 2}, centre, radius);
    EXPECT_NEAR((centre - Vector3f(1, 1, 2)).norm(), 0.0F, 1e-6F);
    EXPECT_NEAR(radius, 4.0F, 1e-6F);
}

TEST(HoleFilling, WritesItsMeshesOnlyWithLoggingAndFileSaving)
{
    for (bool const log_enabled : {false, true})
    {
        for (bool const saving : {false, true})
        {
            veld_test::TempDir const dir;
            LogCapture const log(log_enabled);
            gPH.set_result_dir(dir.path().string());
            TriMesh mesh = open_sphere(3, 0.8F);
            HoleFilling filling;
            filling.set_topology_dis_thr(1);
            filling.set_enable_file_saving(saving);
            filling.holes_filling(mesh);
            std::vector<std::string> names;
            for (auto const& entry : std::filesystem::directory_iterator(dir.path()))
            {
                names.push_back(entry.path().filename().string());
            }
            if (log_enabled && saving)
            {
                std::string const hole = "extracted-hole-0000-sub-mesh";
                EXPECT_THAT(names, testing::UnorderedElementsAre(
                                       "00-initial-mesh.stl", "10-tiny-holes-filled-mesh.stl",
                                       "20-holes-region-deleted-mesh.stl", hole + ".stl",
                                       hole + "-step-1-filled.stl", hole + "-step-2-refined.stl",
                                       hole + "-step-3-hole-inner-patch-smoothed.stl",
                                       hole + "-step-4-faired.stl"));
            }
            else
            {
                EXPECT_TRUE(names.empty());
            }
        }
    }
}

} // namespace
