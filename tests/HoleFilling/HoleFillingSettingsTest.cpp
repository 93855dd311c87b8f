#include "algorithmVeld/HoleFilling/HoleFilling.h"
#include "algorithmVeld/HoleFilling/MarkerHoleFilling.h"

#include "algorithmVeld/common/RunScope.h"
#include "hole_meshes.h"
#include "random_hole_meshes.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/special_floats.h"

#include <Eigen/Dense>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

/// \file
/// What the filling of whole meshes and of marker holes does without being told otherwise, and what
/// a run leaves behind: on the mesh, and on the object for its next run.

namespace
{

using namespace OrvaneAlgorithm;
using veld_test::fingerprint;
using veld_test::HoleMesh;
using veld_test::LogCapture;
using veld_test::Lot;
using veld_test::vh;

constexpr int UNTOUCHED_REGION = 2;
/// No corner is as wide: nothing is split.
constexpr float NO_SPLITS = 4.0F;

/// A filler whose steps and figures a test may use.
class SteppedFilling : public HoleFilling
{
public:
    using HoleFilling::avg_area;
    using HoleFilling::begin_run;
    using HoleFilling::calc_weight;
    using HoleFilling::expand_holes;
    using HoleFilling::face_region_prop_;
    using HoleFilling::fairing_lambda_;
    using HoleFilling::fairing_minimization_with_SimplicialCholesky;
    using HoleFilling::fairing_minimization_with_SparseLU;
    using HoleFilling::find_holes_ordered_halfedges;
    using HoleFilling::hole_fairing;
    using HoleFilling::hole_filling;
    using HoleFilling::hole_refinement;
    using HoleFilling::hole_triangulation;
    using HoleFilling::holes_;
    using HoleFilling::mesh_;
    using HoleFilling::preprocessing;
    using HoleFilling::regions_;

    /// Begins a run and goes as far as the search for regions.
    void prepare(TriMesh const& mesh)
    {
        begin_run(mesh);
        preprocessing();
        find_holes_ordered_halfedges();
        expand_holes();
    }
};

/// A shaken ball with a hole of about thirty edges on top, a tiny one below, and a vertex that no
/// face uses.
TriMesh holed_ball(unsigned seed = 1)
{
    TriMesh ball = veld_test::sphere(4);
    Lot lot(seed);
    for (auto const v : ball.vertices())
    {
        ball.set_point(v, ball.point(v) + 0.01F * lot.vector());
    }
    veld_test::Cut cut;
    for (auto const f : ball.faces())
    {
        bool const is_on_top = ball.calc_face_centroid(f).z() > 0.9F;
        if (is_on_top || f.idx() == static_cast<int>(ball.n_faces()) - 1)
        {
            cut.insert(f);
        }
    }
    veld_test::Pieces pieces;
    pieces.add(ball, cut, false, 1.0F, Vector3f::Zero());
    TriMesh mesh = veld_test::make_mesh(pieces.points, pieces.triangles);
    mesh.add_vertex(Vector3f(0.0F, 0.0F, 3.0F));
    return mesh;
}

/// Near the centre of its large hole.
Vector3f const TOP(0.0F, 0.0F, 0.9F);

HoleFilling narrow_filling(int region_type)
{
    HoleFilling filling;
    filling.set_region_process_type(region_type);
    filling.set_topology_dis_thr(2);
    return filling;
}

std::vector<int> filled(TriMesh mesh, std::function<void(HoleFilling&)> const& set)
{
    HoleFilling filling;
    filling.set_region_process_type(UNTOUCHED_REGION);
    set(filling);
    filling.holes_filling(mesh);
    return fingerprint(mesh);
}

TEST(HoleFillingSettings, AtFirstTenRingsAreCutAndWeightsGoByLength)
{
    TriMesh mesh = holed_ball();
    LogCapture const log;
    HoleFilling().holes_filling(mesh);
    EXPECT_EQ(log.count("  hole region process type:    delete\n"), 1);
    EXPECT_EQ(log.count("delete_hole_region() ..\n"), 1);
    EXPECT_EQ(log.count("  hole fairing weight type:    scale-dependent\n"), 1);
    EXPECT_EQ(log.count("  |  topology dis thr:       10\n"), 2);
}

TEST(HoleFillingSettings, AtFirstTenRingsAreCutAndNotNineOrEleven)
{
    auto const faces_left = [](std::function<void(HoleFilling&)> const& set)
    {
        TriMesh mesh = veld_test::grid_without(60, 60, {{29, 29}, {30, 29}, {29, 30}, {30, 30}});
        HoleFilling filling;
        filling.set_hole_verts_thr(0); // nothing is filled
        set(filling);
        filling.holes_filling(mesh);
        return mesh.n_faces();
    };
    auto const rings = [&](int n)
    { return faces_left([&](HoleFilling& filling) { filling.set_topology_dis_thr(n); }); };
    auto const at_first = faces_left([](HoleFilling&) {});
    EXPECT_EQ(at_first, rings(10));
    EXPECT_LT(at_first, rings(9));
    EXPECT_GT(at_first, rings(11));
}

TEST(HoleFillingSettings, AllWeightsBut0GoByLength)
{
    TriMesh const mesh = holed_ball();
    auto const weight = [&](int type)
    { return filled(mesh, [&](HoleFilling& filling) { filling.set_weight_type(type); }); };
    auto const at_first = filled(mesh, [](HoleFilling&) {});
    for (int const type : {1, 2, -1})
    {
        EXPECT_EQ(at_first, weight(type));
    }
    EXPECT_NE(at_first, weight(0));
}

/// The faces into which the refinement divides one triangle.
std::size_t faces_of_refined(std::array<Vector3f, 3> const& corners, float edge_len,
                             SteppedFilling const& filling = {})
{
    HoleMesh hole;
    hole.mesh = veld_test::make_mesh({corners[0], corners[1], corners[2]}, {{0, 1, 2}});
    hole.add_flags();
    hole.mesh.property(hole.face_new, OpenMesh::FaceHandle(0)) = true;
    for (auto const v : hole.mesh.vertices())
    {
        hole.mesh.property(hole.vert_edge_len, v) = edge_len;
    }
    EXPECT_TRUE(filling.hole_refinement(hole.mesh, hole.face_new, hole.vert_new, hole.vert_boundary,
                                        hole.vert_edge_len));
    return hole.mesh.n_faces();
}

TEST(HoleFillingSettings, TheDensityIs1414ThousandthsAtFirst)
{
    // Its corners are 1 away from the centroid.
    float const half = std::sqrt(0.75F);
    std::array<Vector3f, 3> const regular{Vector3f(1, 0, 0), Vector3f(-0.5F, half, 0),
                                          Vector3f(-0.5F, -half, 0)};
    // 1.414 * 0.7072 = 0.99998, and sqrt(2) * 0.7072 = 1.0001.
    EXPECT_EQ(faces_of_refined(regular, 0.7072F), 3U);
    // 1.414 * 0.7073 = 1.00012.
    EXPECT_EQ(faces_of_refined(regular, 0.7073F), 1U);
    SteppedFilling filling;
    filling.set_density_thr(1.413F);
    EXPECT_EQ(faces_of_refined(regular, 0.7073F, filling), 3U);
}

TEST(HoleFillingSettings, FacesWithACornerBelowTwoAndAHalfDegreesAreNotSplitAtFirst)
{
    auto const slice = [](double degrees)
    {
        double const half = 0.5 * degrees * detail::PI / 180.0;
        auto const x = static_cast<float>(std::cos(half));
        auto const y = static_cast<float>(std::sin(half));
        return std::array<Vector3f, 3>{Vector3f(0, 0, 0), Vector3f(x, -y, 0), Vector3f(x, y, 0)};
    };
    EXPECT_EQ(faces_of_refined(slice(2.499), 0.05F), 1U);
    EXPECT_GT(faces_of_refined(slice(2.501), 0.05F), 1U);
    SteppedFilling filling;
    filling.set_angle_thr(0.0436F);
    EXPECT_GT(faces_of_refined(slice(2.499), 0.05F, filling), 1U);
}

/// The triangles of a wavy polygon of `n` corners.
std::vector<std::array<int, 3>> triangulated(int n, SteppedFilling const& filling)
{
    std::vector<Vector3f> points;
    std::vector<Vector3f> outer;
    Lot lot(3);
    for (int k = 0; k < n; ++k)
    {
        auto const on_circle = [&](double turn, float radius)
        {
            double const angle = 2.0 * detail::PI * turn / n;
            return Vector3f(radius * static_cast<float>(std::cos(angle)),
                            radius * static_cast<float>(std::sin(angle)), 0.0F);
        };
        points.push_back(on_circle(k, 3.0F) + 0.01F * lot.vector());
        outer.push_back(on_circle(k + 0.5, 3.2F) + 0.02F * lot.vector());
    }
    auto hole = veld_test::mesh_around(points, outer);
    EXPECT_TRUE(filling.hole_triangulation(hole.mesh, hole.loop, hole.face_new));
    return hole.faces_from(static_cast<std::size_t>(n));
}

TEST(HoleFillingSettings, EverySplitIsTriedBelow400CornersAtFirstAndEverySecondFrom400On)
{
    for (int const n : {399, 400})
    {
        SteppedFilling every;
        every.set_triangulation_sample_num(n + 1);
        SteppedFilling every_second;
        every_second.set_triangulation_sample_num(n);
        auto const exact = triangulated(n, every);
        auto const coarse = triangulated(n, every_second);
        EXPECT_EQ(exact.size(), static_cast<std::size_t>(n - 2));
        EXPECT_NE(exact, coarse);
        EXPECT_EQ(triangulated(n, SteppedFilling()), n == 399 ? exact : coarse);
    }
}

TEST(HoleFillingSettings, AHoleOf3000EdgesIsTakenAtFirstAndOneMoreIsNot)
{
    for (int const n : {3000, 3001})
    {
        SteppedFilling filling;
        filling.prepare(veld_test::open_cone(n));
        filling.regions_.at(0).clear(); // it ends there, where 3000 edges would take their time
        LogCapture const log;
        EXPECT_FALSE(filling.hole_filling(0));
        EXPECT_EQ(log.count("hole_filling( 0 ) ..\n"), 1);
        EXPECT_EQ(log.count("  skip hole[0] with 3001 boundary.\n"), n == 3001 ? 1 : 0);
        EXPECT_EQ(log.count("  !!!abnormal: hole[0] with 0 vertices.\n"), n == 3000 ? 1 : 0);
        ASSERT_EQ(filling.open_holes().size(), 1U);
        EXPECT_EQ(filling.open_holes()[0].corners.size(), static_cast<std::size_t>(n));
    }
}

TEST(HoleFillingSettings, AFillOf20000VerticesIsFairedAtFirstAndOneMoreIsNot)
{
    for (int const n : {20000, 20001})
    {
        TriMesh mesh = veld_test::grid(10000, 1);
        OpenMesh::VPropHandleT<bool> inner;
        mesh.add_property(inner);
        for (auto const v : mesh.vertices())
        {
            mesh.property(inner, v) = v.idx() < n;
        }
        LogCapture const log;
        EXPECT_TRUE(SteppedFilling().fairing_minimization_with_SparseLU(mesh, inner));
        EXPECT_EQ(log.count("  skip large dim Laplace's equation. ["), n == 20001 ? 1 : 0);
        EXPECT_EQ(log.count("MKL_Pardiso() ..\n"), n == 20000 ? 1 : 0);
    }
}

/// A grid of nine cells, all of them new, with its four inner vertices new and its border bent.
struct BentPatch : HoleMesh
{
    BentPatch()
    {
        mesh = veld_test::grid(3, 3);
        add_flags();
        for (auto const f : mesh.faces())
        {
            mesh.property(face_new, f) = true;
        }
        Lot lot(4);
        for (auto const v : mesh.vertices())
        {
            mesh.property(vert_boundary, v) = mesh.is_boundary(v);
            mesh.property(vert_new, v) = !mesh.is_boundary(v);
            mesh.set_point(v, mesh.point(v) + lot.vector());
        }
    }

    /// Where the sum of the squares of the new vertices' Laplacians and of `hold` times those of
    /// how far the border would move is least.
    Eigen::MatrixX3d best_points(double hold) const
    {
        auto const n = static_cast<Eigen::Index>(mesh.n_vertices());
        Eigen::MatrixXd laplacians = Eigen::MatrixXd::Zero(n, n);
        Eigen::MatrixXd held = Eigen::MatrixXd::Zero(n, n);
        Eigen::MatrixX3d points(n, 3);
        for (auto const v : mesh.vertices())
        {
            points.row(v.idx()) = mesh.point(v).cast<double>();
            if (mesh.is_boundary(v))
            {
                held(v.idx(), v.idx()) = hold;
                continue;
            }
            laplacians(v.idx(), v.idx()) = -1.0;
            for (auto const u : mesh.vv_range(v))
            {
                laplacians(v.idx(), u.idx()) += 1.0 / mesh.valence(v);
            }
        }
        Eigen::MatrixXd const system = laplacians.transpose() * laplacians + held;
        return system.fullPivLu().solve(held * points);
    }

    double distance_to(Eigen::MatrixX3d const& points) const
    {
        double farthest = 0.0;
        for (auto const v : mesh.vertices())
        {
            if (!mesh.is_boundary(v))
            {
                Eigen::RowVector3d const point = mesh.point(v).cast<double>();
                farthest = std::max(farthest, (point - points.row(v.idx())).norm());
            }
        }
        return farthest;
    }
};

// There are as many Laplacians as new vertices, so all of them can vanish, whatever the hold.
TEST(HoleFillingSettings, TheBorderIsHeldWith1AtFirstAndAnyHoldGivesTheSame)
{
    EXPECT_EQ(SteppedFilling().fairing_lambda_, 1.0);
    for (double const hold : {1.0, 0.25, 8.0})
    {
        BentPatch patch;
        auto const expected = patch.best_points(hold);
        EXPECT_GT(patch.distance_to(expected), 0.1);
        SteppedFilling filling;
        filling.set_fairing_lambda(hold);
        EXPECT_TRUE(filling.fairing_minimization_with_SimplicialCholesky(
            patch.mesh, patch.face_new, patch.vert_new, patch.vert_boundary));
        EXPECT_LT(patch.distance_to(expected), 1e-5);
    }
}

TEST(HoleFillingSettings, NeedlesAndFoldsWeighAThousandMeanAreas)
{
    // Corners 0, 1 and 2 in a line; the face beyond the side from 3 to 0 lies over the polygon.
    auto const hole = veld_test::mesh_around({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {1, 2, 0}},
                                             {{0, -1, 0}, {2, -1, 0}, {3, 2, 0}, {2, 1, 0}});
    std::vector<OpenMesh::VertexHandle> const verts{vh(0), vh(1), vh(2), vh(3)};
    std::vector<OpenMesh::FaceHandle> faces;
    for (int k = 0; k < 4; ++k)
    {
        faces.emplace_back(k);
    }
    std::vector<int> const lambda(16, -1);
    std::vector<bool> edge_exist(16, false);
    SteppedFilling filling;
    filling.avg_area = 0.37;
    auto const area_of = [&](int i, int m, int j)
    {
        float angle = -1.0F;
        float area = -1.0F;
        filling.calc_weight(hole.mesh, verts, faces, lambda, i, m, j, angle, area, edge_exist);
        return area;
    };
    EXPECT_EQ(area_of(0, 1, 2), 370.0F);        // a needle
    EXPECT_NEAR(area_of(1, 2, 3), 1.0, 1e-4);   // a sound triangle
    EXPECT_NEAR(area_of(0, 1, 3), 371.0, 1e-4); // folded at the last side
    edge_exist[1 * 4 + 3] = true;
    EXPECT_NEAR(area_of(1, 2, 3), 371.0, 1e-4); // with an edge that is there already
}

/// What a filling does to a mesh, as a function, and its name.
struct WayToFill
{
    std::string name;
    std::function<void(TriMesh&)> run;
};

/// Every way that leaves a call in the end, by itself or early.
std::vector<WayToFill> ways_to_fill()
{
    std::vector<WayToFill> ways;
    for (int const type : {0, 1, UNTOUCHED_REGION})
    {
        auto const name = std::to_string(type);
        ways.push_back({"region type " + name,
                        [type](TriMesh& mesh) { narrow_filling(type).holes_filling(mesh); }});
        ways.push_back({"too many edges, " + name, [type](TriMesh& mesh)
                        {
                            auto filling = narrow_filling(type);
                            filling.set_hole_verts_thr(0);
                            filling.holes_filling(mesh);
                        }});
        for (bool const at_marker : {false, true})
        {
            ways.push_back({"markers, " + name + (at_marker ? " at one" : " elsewhere"),
                            [type, at_marker](TriMesh& mesh)
                            {
                                MarkerHoleFilling filling;
                                filling.set_region_process_type(type);
                                filling.set_topology_dis_thr(2);
                                filling.set_marker_search_radius(0.2);
                                filling.marker_holes_filling(
                                    mesh, {at_marker ? TOP : Vector3f(9.0F, 9.0F, 9.0F)});
                            }});
        }
    }
    ways.push_back({"kept regions", [](TriMesh& mesh)
                    {
                        MarkerHoleFilling filling;
                        filling.set_keep_regions(true);
                        filling.set_marker_search_radius(0.2);
                        filling.marker_holes_filling(mesh, {TOP});
                    }});
    return ways;
}

/// Takes the normals away, request by request.
/// \return how many requests there were, of normals of vertices and of faces alike
int take_normals_away(TriMesh& mesh)
{
    int n = 0;
    for (; mesh.has_vertex_normals() && mesh.has_face_normals(); ++n)
    {
        mesh.release_vertex_normals();
        mesh.release_face_normals();
    }
    EXPECT_FALSE(mesh.has_vertex_normals() || mesh.has_face_normals());
    return n;
}

TEST(HoleFillingTraces, OneReleaseTakesTheNormalsOfARunAway)
{
    for (auto const& way : ways_to_fill())
    {
        TriMesh mesh = holed_ball();
        way.run(mesh);
        EXPECT_EQ(take_normals_away(mesh), 1) << way.name;
    }
}

TEST(HoleFillingTraces, OneReleaseLeavesTheNormalsThatTheHostHadBefore)
{
    for (auto const& way : ways_to_fill())
    {
        TriMesh mesh = holed_ball();
        mesh.request_vertex_normals();
        mesh.request_face_normals();
        way.run(mesh);
        EXPECT_EQ(take_normals_away(mesh), 2) << way.name;
    }
}

TEST(HoleFillingTraces, NothingButNormalsIsAddedToTheMeshAndNoStatusStays)
{
    for (auto const& way : ways_to_fill())
    {
        for (TriMesh mesh : {holed_ball(), veld_test::sphere(2), TriMesh()})
        {
            int const before = veld_test::count_properties(mesh);
            way.run(mesh);
            EXPECT_EQ(veld_test::count_properties(mesh), before + 2) << way.name;
            EXPECT_FALSE(mesh.has_vertex_status() || mesh.has_edge_status() ||
                         mesh.has_halfedge_status() || mesh.has_face_status())
                << way.name;
        }
    }
}

/// Leaves a run as soon as it is so far.
class LeavingAt
{
public:
    explicit LeavingAt(double fraction)
        : scope_(CancelToken(),
                 [fraction](double reached)
                 {
                     if (reached >= fraction)
                     {
                         throw std::runtime_error("far enough");
                     }
                 })
    {
    }

private:
    RunScope scope_;
};

TEST(HoleFillingTraces, AnExceptionLeavesTheMeshWithoutATraceAndTheObjectAsANewOne)
{
    TriMesh const input = holed_ball();
    for (int const type : {0, 1, UNTOUCHED_REGION})
    {
        TriMesh expected = input;
        narrow_filling(type).holes_filling(expected);
        auto filling = narrow_filling(type);
        for (double fraction = 0.0; fraction < 1.0; fraction += 0.11)
        {
            TriMesh mesh = holed_ball(2);
            auto const before = fingerprint(mesh);
            int const properties = veld_test::count_properties(mesh);
            {
                LeavingAt const leaving(fraction);
                EXPECT_THROW(filling.holes_filling(mesh), std::runtime_error) << fraction;
            }
            EXPECT_EQ(fingerprint(mesh), before);
            EXPECT_EQ(veld_test::count_properties(mesh), properties);
            TriMesh next = input;
            filling.holes_filling(next);
            EXPECT_EQ(fingerprint(next), fingerprint(expected)) << type << " left at " << fraction;
        }
    }
}

TEST(HoleFillingTraces, AnExceptionAmongMarkersLeavesNoTraceEither)
{
    TriMesh const input = holed_ball();
    for (int const type : {0, 1})
    {
        MarkerHoleFilling fresh;
        fresh.set_region_process_type(type);
        fresh.set_topology_dis_thr(2);
        fresh.set_marker_search_radius(0.2);
        MarkerHoleFilling filling = fresh;
        TriMesh expected = input;
        fresh.marker_holes_filling(expected, {TOP});
        for (double fraction = 0.0; fraction < 1.0; fraction += 0.19)
        {
            TriMesh mesh = holed_ball(2);
            auto const before = fingerprint(mesh);
            int const properties = veld_test::count_properties(mesh);
            {
                LeavingAt const leaving(fraction);
                EXPECT_THROW(filling.marker_holes_filling(mesh, {TOP, Vector3f(1, 1, 1)}),
                             std::runtime_error)
                    << fraction;
            }
            EXPECT_EQ(fingerprint(mesh), before);
            EXPECT_EQ(veld_test::count_properties(mesh), properties);
            TriMesh next = input;
            filling.marker_holes_filling(next, {TOP});
            EXPECT_EQ(fingerprint(next), fingerprint(expected)) << type << " left at " << fraction;
        }
    }
}

TEST(HoleFillingTraces, ASecondRunIsThatOfANewObject)
{
    for (int const type : {0, 1, UNTOUCHED_REGION})
    {
        for (double const perimeter : {0.0, 1.0})
        {
            auto used = narrow_filling(type);
            used.set_max_perimeter(perimeter);
            auto fresh = used;
            TriMesh other = holed_ball(2);
            used.holes_filling(other); // with a perimeter limit its large hole stays open
            TriMesh expected = veld_test::open_cone(12, 0.5F);
            TriMesh mesh = expected;
            fresh.holes_filling(expected);
            used.holes_filling(mesh);
            EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
            EXPECT_EQ(used.open_holes().size(), fresh.open_holes().size());
        }
    }
}

TriMesh scaled(TriMesh mesh, float factor)
{
    for (auto const v : mesh.vertices())
    {
        mesh.set_point(v, factor * mesh.point(v));
    }
    return mesh;
}

TEST(HoleFillingTraces, WhatARunLeavesOutTheNextOneFills)
{
    // The large hole as the cut leaves it, with corners of the same numbers.
    TriMesh const ball = scaled(holed_ball(), 0.1F);
    TriMesh cut = ball;
    auto cutting = narrow_filling(1);
    cutting.set_hole_verts_thr(0);
    cutting.holes_filling(cut);
    ASSERT_EQ(cutting.open_holes().size(), 1U);

    auto filling = narrow_filling(1);
    filling.set_max_perimeter(1.0);
    TriMesh large = scaled(cut, 10.0F);
    filling.holes_filling(large);
    ASSERT_EQ(filling.open_holes().size(), 1U);
    EXPECT_EQ(filling.open_holes()[0].reason, OpenReason::PERIMETER_TOO_LONG);
    TriMesh small = ball;
    filling.holes_filling(small);
    EXPECT_TRUE(filling.open_holes().empty());
    EXPECT_TRUE(veld_test::boundary_edges(small).empty());
}

// Wide regions, which end where the path is too long, depend on each other.
TEST(HoleFillingTraces, OneObjectFillsMeshAfterMeshAsNewOnesDo)
{
    HoleFilling used;
    used.set_topology_dis_thr(25);
    for (unsigned seed = 0; seed < 24; ++seed)
    {
        TriMesh mesh = veld_test::random_hole_mesh(seed);
        TriMesh expected = mesh;
        HoleFilling fresh;
        fresh.set_topology_dis_thr(25);
        fresh.holes_filling(expected);
        used.holes_filling(mesh);
        EXPECT_EQ(fingerprint(mesh), fingerprint(expected)) << "seed " << seed;
    }
}

TEST(HoleFillingTraces, ASecondRunAtMarkersIsThatOfANewObject)
{
    for (int const type : {0, 1})
    {
        MarkerHoleFilling used;
        used.set_region_process_type(type);
        used.set_topology_dis_thr(2);
        used.set_marker_search_radius(0.2);
        auto fresh = used;
        TriMesh other = holed_ball(2);
        used.marker_holes_filling(other, {TOP, Vector3f(1, 1, 1)});
        for (auto const& markers : {std::vector<Vector3f>{}, std::vector<Vector3f>{TOP}})
        {
            TriMesh expected = holed_ball();
            TriMesh mesh = expected;
            LogCapture log;
            fresh.marker_holes_filling(expected, markers);
            auto const said = log.text().size();
            used.marker_holes_filling(mesh, markers);
            EXPECT_EQ(log.text().substr(0, said), log.text().substr(said));
            EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
        }
    }
}

TEST(HoleFillingSteps, AHoleThatIsNotThereIsOutOfRange)
{
    SteppedFilling filling;
    EXPECT_THROW(filling.hole_filling(0), std::out_of_range);
    filling.prepare(veld_test::open_cone(8));
    ASSERT_EQ(filling.holes_.size(), 1U);
    auto const before = fingerprint(filling.mesh_);
    for (int const hole : {-1, 1, 1000, -2147483647})
    {
        EXPECT_THROW(filling.hole_filling(hole), std::out_of_range) << hole;
    }
    EXPECT_EQ(fingerprint(filling.mesh_), before);
    EXPECT_TRUE(filling.open_holes().empty());
    EXPECT_TRUE(filling.hole_filling(0));
    filling.regions_.clear(); // a hole, but nothing is known of what lies around it
    EXPECT_THROW(filling.hole_filling(0), std::out_of_range);
    // Nothing is left to fill behind a run, which gave its mesh back.
    TriMesh mesh = veld_test::open_cone(8);
    filling.holes_filling(mesh);
    EXPECT_THROW(filling.hole_filling(0), std::out_of_range);
}

TEST(HoleFillingSteps, TheMergeEndsAtTheFirstFaceThatTheMeshRefuses)
{
    TriMesh const cone = veld_test::open_cone(8);
    SteppedFilling filling;
    filling.set_angle_thr(NO_SPLITS);
    filling.prepare(cone);
    EXPECT_TRUE(filling.hole_filling(0));
    auto const fill = veld_test::corners_of(filling.mesh_);
    ASSERT_EQ(fill.size(), 14U);
    for (std::size_t k = 8; k < 14; ++k)
    {
        // One of its faces is there before the others come.
        filling.prepare(cone);
        auto const& [a, b, c] = fill[k];
        ASSERT_TRUE(filling.mesh_.add_face(vh(a), vh(b), vh(c)).is_valid());
        LogCapture const log;
        EXPECT_FALSE(filling.hole_filling(0));
        EXPECT_EQ(log.count("  !!!fail to add face ["), 1);
        auto expected = std::vector<std::array<int, 3>>(fill.begin(), fill.begin() + 8);
        expected.push_back(fill[k]);
        expected.insert(expected.end(), fill.begin() + 8,
                        fill.begin() + static_cast<std::ptrdiff_t>(k));
        EXPECT_EQ(veld_test::corners_of(filling.mesh_), expected) << "face " << k;
        ASSERT_EQ(filling.open_holes().size(), 1U);
        EXPECT_EQ(filling.open_holes()[0].reason, OpenReason::FACE_REFUSED);
    }
}

TEST(HoleFillingSteps, EarsCloseATinyHoleUpToTwiceTheMeanEdge)
{
    for (float const wider : {0.25F, 0.35F})
    {
        // The hole's corners move out along its diagonals, which then have lengths of 2.12 and
        // 2.40. The mean edge is 1.14 or a little more.
        TriMesh mesh = veld_test::grid_without(12, 12, {{5, 5}});
        for (int const x : {5, 6})
        {
            for (int const y : {5, 6})
            {
                Vector3f const out(x == 5 ? -wider : wider, y == 5 ? -wider : wider, 0.0F);
                auto const corner = vh(13 * y + x);
                mesh.set_point(corner, mesh.point(corner) + out);
            }
        }
        auto filling = narrow_filling(UNTOUCHED_REGION);
        LogCapture const log;
        filling.holes_filling(mesh);
        EXPECT_EQ(log.count("hole_filling( "), wider < 0.3F ? 1 : 2); // with the outer border
    }
}

TEST(HoleFillingSteps, AHoleWhoseSurroundingsDoNotFitItStaysOpen)
{
    TriMesh const cone = veld_test::open_cone(8);
    SteppedFilling filling;
    LogCapture const log;
    for (bool const has_first : {false, true})
    {
        filling.prepare(cone);
        // One face of the cone: at the hole's first halfedge, or somewhere else.
        auto const first = filling.mesh_.opposite_halfedge_handle(filling.holes_.at(0).at(0));
        auto const other = filling.mesh_.opposite_halfedge_handle(filling.holes_.at(0).at(4));
        filling.regions_.at(0) = {filling.mesh_.face_handle(has_first ? first : other)};
        EXPECT_FALSE(filling.hole_filling(0));
        ASSERT_EQ(filling.open_holes().size(), 1U);
        EXPECT_EQ(filling.open_holes()[0].reason, OpenReason::BOUNDARY_TANGLED);
        EXPECT_EQ(filling.mesh_.n_faces(), 8U);
    }
    EXPECT_EQ(log.count("  !!!fail to find first halfedge in hole[0] mesh.\n"), 1);
    EXPECT_EQ(log.count("  !!!border size is inconsistent with hole[0].\n"), 1);
}

TEST(HoleFillingSteps, AHoleThatOnlyAFoldCouldCloseStaysOpen)
{
    SteppedFilling filling;
    filling.prepare(veld_test::lone_triangle());
    LogCapture const log;
    EXPECT_FALSE(filling.hole_filling(0));
    EXPECT_EQ(log.count("  fail to fill hole [     0].\n"), 1);
    EXPECT_EQ(log.count("hole_refinement() ..\n"), 0);
    ASSERT_EQ(filling.open_holes().size(), 1U);
    EXPECT_EQ(filling.open_holes()[0].reason, OpenReason::FOLDS_TOO_SHARPLY);
}

TEST(HoleFillingSteps, FlagsOfARegionBeforeAreCleared)
{
    SteppedFilling filling;
    filling.set_topology_dis_thr(1);
    filling.prepare(veld_test::grid_without(12, 12, {{5, 5}, {6, 5}}));
    auto const flagged = [&]
    {
        std::size_t n = 0;
        for (auto const f : filling.mesh_.faces())
        {
            n += filling.mesh_.property(filling.face_region_prop_, f) ? 1 : 0;
        }
        return n;
    };
    auto const with_border = flagged();
    auto& holes = filling.holes_;
    holes.erase(std::max_element(holes.begin(), holes.end(),
                                 [](auto const& a, auto const& b) { return a.size() < b.size(); }));
    filling.expand_holes();
    EXPECT_GT(with_border, flagged());
    EXPECT_EQ(flagged(), filling.regions_.at(0).size());
}

TEST(HoleFillingSteps, LoopsBeyondTheLimitsStayAsTheyAreAndWhatTheCutJoinsToThem)
{
    struct Limits
    {
        double perimeter;
        double angle;
        OpenReason reason;
    };
    for (auto const& [perimeter, angle, reason] :
         {Limits{0.0, 90.0, OpenReason::NORMALS_DISAGREE},
          Limits{60.0, 180.0, OpenReason::PERIMETER_TOO_LONG},
          Limits{60.0, 90.0, OpenReason::PERIMETER_TOO_LONG}})
    {
        for (int const type : {1, UNTOUCHED_REGION})
        {
            // The first hole lies by itself, the second one beside the border.
            TriMesh mesh = veld_test::grid_without(
                20, 20, {{9, 9}, {10, 9}, {9, 10}, {10, 10}, {1, 4}, {2, 4}, {1, 5}, {2, 5}});
            HoleFilling filling;
            filling.set_region_process_type(type);
            filling.set_topology_dis_thr(3);
            filling.set_max_perimeter(perimeter);
            filling.set_rim_angle_thr(angle);
            filling.holes_filling(mesh);
            ASSERT_EQ(filling.open_holes().size(), 1U);
            EXPECT_EQ(filling.open_holes()[0].reason, reason);
            EXPECT_EQ(filling.open_holes()[0].corners.size(), 80U);
            EXPECT_EQ(veld_test::plain_holes(mesh).size(), 1U);
            EXPECT_EQ(veld_test::boundary_edges(mesh).size() > 80U, type == 1);
        }
    }
}

TEST(HoleFillingSteps, EarsLeaveATinyHoleOpenWhosePerimeterIsBeyondTheLimit)
{
    for (double const limit : {3.9, 4.1}) // its four edges have a length of 1
    {
        TriMesh mesh = veld_test::grid_without(12, 12, {{5, 5}});
        auto filling = narrow_filling(UNTOUCHED_REGION);
        filling.set_max_perimeter(limit);
        filling.holes_filling(mesh);
        EXPECT_EQ(veld_test::plain_holes(mesh).size(), limit < 4.0 ? 2U : 1U);
        EXPECT_EQ(filling.open_holes().size(), limit < 4.0 ? 2U : 1U);
    }
}

TEST(HoleFillingSteps, RegionTypesThatAreNoneLeaveTheRegionAloneButAreCutAtMarkers)
{
    for (int const type : {-1, 2, 3, 100})
    {
        TriMesh whole = holed_ball();
        auto const faces = veld_test::corners_of(whole);
        LogCapture const log;
        narrow_filling(type).holes_filling(whole);
        EXPECT_EQ(log.count("delete_hole_region() ..\n"), 0) << type;
        EXPECT_EQ(log.count("smooth_holes_region() ..\n"), 0) << type;
        EXPECT_EQ(log.count("expand_holes() ..\n"), 1) << type;
        auto now = veld_test::corners_of(whole);
        ASSERT_GT(now.size(), faces.size());
        now.resize(faces.size());
        EXPECT_EQ(now, faces);

        TriMesh marked = holed_ball();
        MarkerHoleFilling filling;
        filling.set_region_process_type(type);
        filling.set_topology_dis_thr(2);
        filling.set_marker_search_radius(0.2);
        filling.marker_holes_filling(marked, {TOP});
        EXPECT_EQ(log.count("delete_hole_region() ..\n"), 1) << type;
        EXPECT_NE(fingerprint(marked), fingerprint(whole));
    }
}

TEST(HoleFillingSteps, AFillThatIsTooLargeToFairIsMergedAsItIs)
{
    auto const fill = [](int limit, std::size_t& vertices)
    {
        TriMesh mesh = holed_ball();
        auto filling = narrow_filling(UNTOUCHED_REGION);
        filling.set_fairing_verts_thr(limit);
        filling.holes_filling(mesh);
        EXPECT_TRUE(veld_test::boundary_edges(mesh).empty());
        EXPECT_TRUE(filling.open_holes().empty());
        vertices = mesh.n_vertices();
        return fingerprint(mesh);
    };
    std::size_t fair = 0;
    std::size_t plain = 0;
    EXPECT_NE(fill(20000, fair), fill(0, plain));
    EXPECT_EQ(fair, plain);
}

TEST(HoleFillingSteps, AFillThatTheSolverFailsOnStaysAndIsNoFailure)
{
    BentPatch patch;
    patch.mesh.set_point(vh(0), Vector3f::Constant(veld_test::NOT_A_NUMBER));
    std::vector<Vector3f> before;
    for (auto const v : patch.mesh.vertices())
    {
        before.push_back(patch.mesh.point(v));
    }
    LogCapture const log;
    EXPECT_TRUE(SteppedFilling().hole_fairing(patch.mesh, patch.face_new, patch.vert_new,
                                              patch.vert_boundary));
    EXPECT_EQ(log.count("  MKL_Pardiso failed.\n"), 1);
    for (int i = 1; i < 16; ++i)
    {
        EXPECT_EQ(patch.mesh.point(vh(i)), before[static_cast<std::size_t>(i)]) << i;
    }
}

TEST(HoleFillingSteps, ARegionIsSmoothedInOnePassThatSeesWhatHasMoved)
{
    TriMesh mesh = veld_test::grid_without(9, 9, {{4, 4}, {5, 4}, {4, 5}, {5, 5}});
    Lot lot(5);
    for (auto const v : mesh.vertices())
    {
        mesh.set_point(v, mesh.point(v) + 0.2F * lot.vector());
    }
    mesh.add_vertex(Vector3f(1, 2, 3));
    TriMesh expected = mesh;
    for (auto const v : mesh.vertices())
    {
        Vector3f sum = Vector3f::Zero();
        int n = 0;
        for (auto const u : mesh.vv_range(v))
        {
            sum += expected.point(u);
            ++n;
        }
        if (n > 0)
        {
            expected.set_point(v, sum / static_cast<float>(n));
        }
    }
    HoleFilling filling;
    filling.set_region_process_type(0);
    filling.set_hole_verts_thr(0); // nothing is filled
    filling.holes_filling(mesh);
    EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
}

// Those of the whole filling stay as they were before: hosts know both so.
TEST(HoleFillingSteps, NormalsFollowASmoothedRegionAtMarkersOnly)
{
    for (bool const at_markers : {false, true})
    {
        TriMesh mesh = veld_test::grid_without(16, 16, {{7, 7}, {8, 7}, {7, 8}, {8, 8}});
        Lot lot(6);
        for (auto const v : mesh.vertices())
        {
            mesh.set_point(v, mesh.point(v) + 0.2F * lot.vector());
        }
        TriMesh before = mesh;
        if (at_markers)
        {
            MarkerHoleFilling filling;
            filling.set_region_process_type(0);
            filling.set_hole_verts_thr(0); // nothing is filled
            filling.marker_holes_filling(mesh, {Vector3f(8.0F, 8.0F, 0.0F)});
        }
        else
        {
            HoleFilling filling;
            filling.set_region_process_type(0);
            filling.set_hole_verts_thr(0);
            filling.holes_filling(mesh);
        }
        ASSERT_NE(fingerprint(mesh), fingerprint(before));
        TriMesh expected = at_markers ? mesh : before;
        expected.request_face_normals();
        expected.request_vertex_normals();
        expected.update_face_normals();
        expected.update_vertex_normals();
        for (auto const f : mesh.faces())
        {
            EXPECT_EQ(mesh.normal(f), expected.normal(f)) << f.idx();
        }
        for (auto const v : mesh.vertices())
        {
            EXPECT_TRUE(mesh.is_isolated(v) || mesh.normal(v) == expected.normal(v)) << v.idx();
        }
    }
}

TEST(HoleFillingSteps, AHoleIsFoundAtTheMeanOfItsCornersAndNowhereElse)
{
    struct Case
    {
        Vector3f marker;
        int filled;
    };
    for (auto const& [marker, filled] :
         {Case{{11.3F, 10.8F, 0.0F}, 1},   // the mean of its ten corners
          Case{{11.5F, 11.0F, 0.0F}, 0},   // the centre of its box
          Case{{13.0F, 10.0F, 0.0F}, 0},   // a corner
          Case{{11.25F, 10.75F, 0.0F}, 0}, // the centre of its area
          Case{{11.3F, 10.8F, 0.11F}, 0}})
    {
        TriMesh mesh = veld_test::grid_without(24, 24, {{10, 10}, {11, 10}, {12, 10}, {10, 11}});
        MarkerHoleFilling filling;
        filling.set_keep_regions(true);
        filling.set_marker_search_radius(0.05);
        LogCapture const log;
        filling.marker_holes_filling(mesh, {marker});
        EXPECT_EQ(log.count("hole_filling( "), filled) << marker.transpose();
    }
}

} // namespace
