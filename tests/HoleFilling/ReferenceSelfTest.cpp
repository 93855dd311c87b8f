#include "tests/HoleFilling/random_hole_meshes.h"
#include "tests/HoleFilling/reference_markers.h"
#include "tests/HoleFilling/reference_smooth.h"
#include "tests/HoleFilling/reference_whole.h"
#include "tests/support/ear_meshes.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"

#include <Eigen/Dense>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

/// \file
/// Whether the references themselves do what they should, on meshes that are known by hand.

namespace
{

using namespace veld_test;
using reference::Outcome;

std::vector<bool> only(TriMesh const& mesh, std::vector<int> const& chosen)
{
    std::vector<bool> flags(mesh.n_vertices(), false);
    for (int const v : chosen)
    {
        flags[static_cast<std::size_t>(v)] = true;
    }
    return flags;
}

Vector3f smoothed(TriMesh const& mesh, int vertex, reference::Component component,
                  reference::Continuity continuity, unsigned iterations, float tolerance = -1.0F)
{
    return reference::smooth(mesh, only(mesh, {vertex}), component, continuity, iterations,
                             tolerance)[static_cast<std::size_t>(vertex)];
}

/// A field of 2 x 2 cells whose middle, vertex 4, is moved: its six neighbours have their mean at
/// (1, 1, 0).
TriMesh moved_middle(Vector3f const& middle)
{
    TriMesh mesh = grid(2, 2);
    mesh.set_point(vh(4), middle);
    return mesh;
}

/// The faces of a mesh without those at some vertices, and without these.
TriMesh without_fans(TriMesh const& mesh, std::set<int> const& vertices)
{
    Cut cut;
    for (int const v : vertices)
    {
        for (auto const f : mesh.vf_range(vh(v)))
        {
            cut.insert(f);
        }
    }
    Pieces pieces;
    pieces.add(mesh, cut, false, 1.0F, Vector3f::Zero());
    return make_mesh(pieces.points, pieces.triangles);
}

/// The vertex nearest to a direction.
int vertex_towards(TriMesh const& mesh, Vector3f const& direction)
{
    int best = 0;
    for (auto const v : mesh.vertices())
    {
        if (mesh.point(v).dot(direction) > mesh.point(vh(best)).dot(direction))
        {
            best = v.idx();
        }
    }
    return best;
}

/// The vertices of a fan and its apex.
std::set<int> fan_of(TriMesh const& mesh, int apex)
{
    std::set<int> vertices{apex};
    for (auto const v : mesh.vv_range(vh(apex)))
    {
        vertices.insert(v.idx());
    }
    return vertices;
}

/// A sphere with a round hole, two rings of faces around a vertex: 12 edges.
TriMesh open_ball(int level)
{
    TriMesh const ball = sphere(level);
    return without_fans(ball, fan_of(ball, vertex_towards(ball, Vector3f(1, 1, 1))));
}

reference::WholeSettings with_region(int process_type, int rings)
{
    reference::WholeSettings settings;
    settings.region_process_type = process_type;
    settings.topology_dis_thr = rings;
    return settings;
}

bool is_closed(TriMesh const& mesh)
{
    return loops_of(mesh).empty();
}

/// Vertices that faces use, minus edges, plus faces.
int euler(TriMesh const& mesh)
{
    int used = 0;
    for (auto const v : mesh.vertices())
    {
        used += mesh.is_isolated(v) ? 0 : 1;
    }
    return used - static_cast<int>(mesh.n_edges()) + static_cast<int>(mesh.n_faces());
}

double largest_distance_to_unit_sphere(TriMesh const& mesh)
{
    double largest = 0.0;
    for (auto const v : mesh.vertices())
    {
        if (!mesh.is_isolated(v))
        {
            largest = std::max(largest, std::abs(static_cast<double>(mesh.point(v).norm()) - 1.0));
        }
    }
    return largest;
}

/// The umbrella operator (I - E) with all weights 1, dense.
Eigen::MatrixXd dense_umbrella(TriMesh const& mesh)
{
    auto const n = static_cast<Eigen::Index>(mesh.n_vertices());
    Eigen::MatrixXd umbrella = Eigen::MatrixXd::Identity(n, n);
    for (auto const v : mesh.vertices())
    {
        for (auto const u : mesh.vv_range(v))
        {
            umbrella(v.idx(), u.idx()) = -1.0 / static_cast<double>(mesh.valence(v));
        }
    }
    return umbrella;
}

Eigen::MatrixXd dense_points(TriMesh const& mesh)
{
    Eigen::MatrixXd points(static_cast<Eigen::Index>(mesh.n_vertices()), 3);
    for (auto const v : mesh.vertices())
    {
        points.row(v.idx()) = mesh.point(v).cast<double>().transpose();
    }
    return points;
}

} // namespace

TEST(ReferenceSmooth, C0MovesHalfwayToTheMeanOfTheNeighbours)
{
    TriMesh const mesh = moved_middle({1.5F, 1, 0.5F});
    EXPECT_EQ(smoothed(mesh, 4, reference::Component::TANGENTIAL_AND_NORMAL,
                       reference::Continuity::C0, 1),
              Vector3f(1.25F, 1, 0.25F));
}

TEST(ReferenceSmooth, C1DividesTheSecondUmbrellaByItsDiagonal)
{
    TriMesh mesh = open_ball(2);
    int const vertex = vertex_towards(mesh, Vector3f(0, 0, -1));
    mesh.set_point(vh(vertex), Vector3f(0.1F, 0.05F, -1.2F));
    Eigen::MatrixXd const umbrella = dense_umbrella(mesh);
    Eigen::MatrixXd const twice = umbrella * umbrella;
    Eigen::Vector3d const q =
        (twice * dense_points(mesh)).row(vertex).transpose() / twice(vertex, vertex);
    Vector3f const expected = mesh.point(vh(vertex)) - 0.25F * q.cast<float>();
    EXPECT_LT((smoothed(mesh, vertex, reference::Component::TANGENTIAL_AND_NORMAL,
                        reference::Continuity::C1, 1) -
               expected)
                  .norm(),
              1e-6F);
}

TEST(ReferenceSmooth, ScaleDependentWeightsAreInverseLengths)
{
    // Neighbours at distances 1, 1 and 2, 2 along the axes: weights 1, 1, 1/2, 1/2.
    TriMesh const mesh = make_mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-2, 0, 0}, {0, -2, 0}},
                                   {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 1}});
    // The weighted neighbours add up to 0, so does their mean.
    EXPECT_EQ(
        smoothed(mesh, 0, reference::Component::SCALE_DEPENDENT, reference::Continuity::C0, 1),
        Vector3f(0, 0, 0));
    EXPECT_EQ(smoothed(mesh, 0, reference::Component::TANGENTIAL_AND_NORMAL,
                       reference::Continuity::C0, 1),
              Vector3f(-0.125F, -0.125F, 0));
}

TEST(ReferenceSmooth, CotangentWeightsLeaveAPointOfAPlaneWhereItIs)
{
    TriMesh const mesh = moved_middle({1.25F, 1.125F, 0});
    Vector3f const moved =
        smoothed(mesh, 4, reference::Component::NORMAL_DIR, reference::Continuity::C0, 1);
    EXPECT_LT((moved - mesh.point(vh(4))).norm(), 1e-6F);
}

TEST(ReferenceSmooth, TangentialStaysInThePlaneOfTheStart)
{
    TriMesh mesh = moved_middle({1.5F, 1, 0});
    EXPECT_EQ(
        smoothed(mesh, 4, reference::Component::TANGENTIAL, reference::Continuity::C0, 60).z(),
        0.0F);
    for (auto const v : mesh.vertices())
    {
        Vector3f const p = mesh.point(v);
        mesh.set_point(v, Vector3f(p.x(), p.y(), v.idx() == 4 ? 0.0F : 1.0F));
    }
    // All neighbours are above, but its normal points up.
    Vector3f const moved =
        smoothed(mesh, 4, reference::Component::TANGENTIAL, reference::Continuity::C0, 1);
    EXPECT_NEAR(moved.z(), 0.0F, 0.2F);
    Vector3f const free = smoothed(mesh, 4, reference::Component::TANGENTIAL_AND_NORMAL,
                                   reference::Continuity::C0, 1);
    EXPECT_EQ(free.z(), 0.5F);
}

TEST(ReferenceSmooth, AnErrorOf0TakesBackWhatLeavesThePlane)
{
    TriMesh const above = open_cone(6, 0.5F);
    EXPECT_EQ(smoothed(above, 0, reference::Component::TANGENTIAL_AND_NORMAL,
                       reference::Continuity::C0, 3, 0.0F),
              Vector3f(0, 0, 0.5F));
    TriMesh const flat = moved_middle({1.5F, 1, 0});
    EXPECT_EQ(smoothed(flat, 4, reference::Component::TANGENTIAL_AND_NORMAL,
                       reference::Continuity::C0, 1, 0.0F),
              Vector3f(1.25F, 1, 0));
}

TEST(ReferenceSmooth, AnErrorScalesTheWholeDisplacement)
{
    TriMesh const mesh = open_cone(6, 0.5F);
    Vector3f const moved = smoothed(mesh, 0, reference::Component::TANGENTIAL_AND_NORMAL,
                                    reference::Continuity::C0, 1, 0.125F);
    EXPECT_NEAR(moved.z(), 0.375F, 1e-6F);
}

TEST(ReferenceSmooth, AnIsolatedVertexHalvesTowardsTheOrigin)
{
    TriMesh mesh = grid(1, 1);
    auto const lone = mesh.add_vertex(Vector3f(4, 8, 16));
    EXPECT_EQ(smoothed(mesh, lone.idx(), reference::Component::TANGENTIAL_AND_NORMAL,
                       reference::Continuity::C0, 2),
              Vector3f(1, 2, 4));
}

TEST(ReferenceSmooth, NothingMovesForC2OrWithoutIterations)
{
    TriMesh const mesh = moved_middle({1.5F, 1, 0.5F});
    for (auto const component :
         {reference::Component::TANGENTIAL, reference::Component::NORMAL_DIR,
          reference::Component::TANGENTIAL_AND_NORMAL, reference::Component::SCALE_DEPENDENT})
    {
        EXPECT_EQ(smoothed(mesh, 4, component, reference::Continuity::C2, 5), mesh.point(vh(4)));
        EXPECT_EQ(smoothed(mesh, 4, component, reference::Continuity::C1, 0), mesh.point(vh(4)));
    }
}

TEST(ReferenceSmooth, ActiveVerticesKeepAwayFromTheBorder)
{
    TriMesh mesh = grid(6, 6);
    mesh.request_vertex_status();
    auto const count = [&](reference::Continuity continuity)
    {
        auto const active = reference::active_vertices(mesh, continuity, false);
        return std::count(active.begin(), active.end(), true);
    };
    EXPECT_EQ(count(reference::Continuity::C0), 25);
    EXPECT_EQ(count(reference::Continuity::C1), 9);
    EXPECT_EQ(count(reference::Continuity::C2), 1);
    mesh.status(vh(24)).set_selected(true);
    EXPECT_EQ(count(reference::Continuity::C0), 1);
    mesh.status(vh(24)).set_locked(true);
    EXPECT_EQ(count(reference::Continuity::C0), 0);
}

TEST(ReferenceWhole, FiguresOfAGrid)
{
    auto const figures = reference::measure_figures(grid(1, 1));
    double const diagonal = static_cast<double>(std::sqrt(2.0F));
    EXPECT_EQ(figures.min_edge, 1.0);
    EXPECT_EQ(figures.max_edge, diagonal);
    EXPECT_NEAR(figures.avg_edge, (4.0 + diagonal) / 5.0, 1e-12);
    EXPECT_NEAR(figures.total_area, 1.0, 1e-6);
    EXPECT_NEAR(figures.avg_area, 0.5, 1e-6);
    EXPECT_EQ(figures.min_ring, 2);
    EXPECT_EQ(figures.max_ring, 3);
    EXPECT_EQ(figures.avg_ring, 2.5);
}

TEST(ReferenceWhole, ARegionGrowsRingByRing)
{
    // The seeds are the faces at the four edges of the one cell that is missing.
    TriMesh const mesh = grid_without(11, 11, {{5, 5}});
    auto const loops = reference::find_loops(mesh);
    ASSERT_EQ(loops.size(), 2U);
    std::vector<bool> const inner{loops[0].size() == 4, loops[1].size() == 4};
    std::size_t const hole = inner[0] ? 0 : 1;
    auto const size = [&](int rings, float distance)
    {
        reference::RegionGrowth growth(mesh, rings, distance);
        return growth.grow(loops, inner).regions[hole].size();
    };
    EXPECT_EQ(size(0, 100.0F), 4U);
    EXPECT_EQ(size(1, 100.0F), 4U);
    EXPECT_GT(size(2, 100.0F), 4U);
    EXPECT_EQ(size(2, 0.1F), 4U);
    EXPECT_EQ(size(100, 100.0F), mesh.n_faces());
}

TEST(ReferenceWhole, AHoleInAPlaneIsFilledInThePlane)
{
    for (int const type : {0, 2})
    {
        TriMesh mesh = grid_with_hole(2);
        auto settings = with_region(type, 10);
        settings.hole_verts_thr = 8; // the outer border has 16
        reference::WholeFilling filling(settings);
        filling.holes_filling(mesh);
        EXPECT_EQ(loops_of(mesh).size(), 1U);
        EXPECT_EQ(euler(mesh), 1);
        for (auto const v : mesh.vertices())
        {
            EXPECT_EQ(mesh.point(v).z(), 0.0F);
        }
        EXPECT_EQ(std::count(filling.outcomes.begin(), filling.outcomes.end(), Outcome::FILLED), 1);
        EXPECT_EQ(
            std::count(filling.outcomes.begin(), filling.outcomes.end(), Outcome::TOO_MANY_EDGES),
            1);
    }
}

TEST(ReferenceWhole, ABallIsClosedAndRound)
{
    for (int const type : {0, 1, 2})
    {
        for (int const weight : {0, 1})
        {
            TriMesh mesh = open_ball(4);
            auto settings = with_region(type, 3);
            settings.weight_type = weight;
            settings.density_thr = 0.7F;
            reference::WholeFilling filling(settings);
            auto const before = mesh.n_vertices();
            filling.holes_filling(mesh);
            EXPECT_TRUE(is_closed(mesh));
            EXPECT_EQ(euler(mesh), 2);
            EXPECT_EQ(broken_link(mesh), "");
            EXPECT_GT(mesh.n_vertices(), before);
            EXPECT_LT(largest_distance_to_unit_sphere(mesh), 0.05);
        }
    }
}

TEST(ReferenceWhole, AThinMeshIsEatenBeforeAnythingIsFilled)
{
    TriMesh mesh = open_ball(2);
    auto const vertices = mesh.n_vertices();
    reference::WholeFilling filling(with_region(1, 10));
    filling.holes_filling(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U);
    EXPECT_EQ(mesh.n_vertices(), vertices);
    EXPECT_TRUE(filling.holes.empty());
}

TEST(ReferenceWhole, AHoleOfTooManyEdgesIsSkipped)
{
    TriMesh mesh = open_ball(3);
    int const edges = static_cast<int>(loops_of(mesh)[0].size());
    ASSERT_GT(edges, 5);
    auto settings = with_region(2, 3);
    settings.hole_verts_thr = edges - 1;
    reference::WholeFilling few(settings);
    few.holes_filling(mesh);
    EXPECT_EQ(few.outcomes, std::vector<Outcome>{Outcome::TOO_MANY_EDGES});
    settings.hole_verts_thr = edges;
    reference::WholeFilling enough(settings);
    enough.holes_filling(mesh);
    EXPECT_EQ(enough.outcomes, std::vector<Outcome>{Outcome::FILLED});
    EXPECT_TRUE(is_closed(mesh));
}

TEST(ReferenceWhole, TinyHolesAreClosedWithEarsAndSixEdgesAreNot)
{
    TriMesh const ball = sphere(3);
    TriMesh five = without_fans(ball, {vertex_towards(ball, Vector3f(1, 0, 0))});
    ASSERT_EQ(loops_of(five)[0].size(), 4U);
    auto const vertices = five.n_vertices();
    reference::WholeFilling filling(with_region(2, 3));
    filling.holes_filling(five);
    EXPECT_TRUE(is_closed(five));
    EXPECT_TRUE(filling.holes.empty());
    EXPECT_EQ(five.n_vertices(), vertices);

    TriMesh six = without_fans(ball, {vertex_towards(ball, Vector3f(1, 1, 1))});
    ASSERT_EQ(loops_of(six)[0].size(), 6U);
    filling.holes_filling(six);
    EXPECT_TRUE(is_closed(six));
    EXPECT_EQ(filling.holes.size(), 1U);
}

TEST(ReferenceWhole, AMeshWithoutHolesStays)
{
    for (int const type : {0, 1, 2})
    {
        TriMesh mesh = sphere(2);
        auto const before = fingerprint(mesh);
        reference::WholeFilling(with_region(type, 10)).holes_filling(mesh);
        EXPECT_EQ(fingerprint(mesh), before);
        TriMesh none;
        reference::WholeFilling(with_region(type, 10)).holes_filling(none);
        EXPECT_EQ(none.n_vertices(), 0U);
    }
}

TEST(ReferenceWhole, AFlatSquareOfManyVerticesComesToAnEnd)
{
    // All squares lie on a circle with their corners: every flip is as good as none.
    TriMesh mesh = grid_with_hole(8);
    auto settings = with_region(2, 3);
    settings.density_thr = 0.3F;
    settings.hole_verts_thr = 32; // the outer border has 40
    reference::WholeFilling filling(settings);
    filling.holes_filling(mesh);
    EXPECT_EQ(loops_of(mesh).size(), 1U);
    EXPECT_GT(mesh.n_vertices(), 121U);
}

TEST(ReferenceWhole, FairingSolvesThePowersOfTheUmbrella)
{
    TriMesh const ball = open_ball(2);
    std::vector<bool> inner(ball.n_vertices(), false);
    std::vector<int> unknowns;
    for (auto const v : ball.vertices())
    {
        if (ball.point(v).z() < -0.3F && !ball.is_boundary(v))
        {
            inner[static_cast<std::size_t>(v.idx())] = true;
            unknowns.push_back(v.idx());
        }
    }
    ASSERT_GT(unknowns.size(), 10U);
    Eigen::MatrixXd const points = dense_points(ball);
    Eigen::MatrixXd power = Eigen::MatrixXd::Identity(points.rows(), points.rows());
    for (int order = 1; order <= 3; ++order)
    {
        power = power * dense_umbrella(ball);
        auto const n = static_cast<Eigen::Index>(unknowns.size());
        Eigen::MatrixXd left(n, n);
        Eigen::MatrixXd fixed = points;
        for (int const v : unknowns)
        {
            fixed.row(v).setZero();
        }
        Eigen::MatrixXd right(n, 3);
        for (Eigen::Index r = 0; r < n; ++r)
        {
            int const v = unknowns[static_cast<std::size_t>(r)];
            right.row(r) = -power.row(v) * fixed;
            for (Eigen::Index c = 0; c < n; ++c)
            {
                left(r, c) = power(v, unknowns[static_cast<std::size_t>(c)]);
            }
        }
        Eigen::MatrixXd const expected = left.fullPivLu().solve(right);
        TriMesh faired = ball;
        reference::fair(faired, inner, 0, order, 20000);
        double largest = 0.0;
        for (Eigen::Index r = 0; r < n; ++r)
        {
            Vector3f const got = faired.point(vh(unknowns[static_cast<std::size_t>(r)]));
            largest = std::max(largest, (got.cast<double>() - expected.row(r).transpose()).norm());
        }
        EXPECT_LT(largest, 1e-4) << "order " << order;

        TriMesh skipped = ball;
        reference::fair(skipped, inner, 0, order, static_cast<int>(unknowns.size()) - 1);
        EXPECT_EQ(fingerprint(skipped), fingerprint(ball));
    }
}

TEST(ReferenceWhole, FairingPlaneTakesTheWeightedMean)
{
    TriMesh mesh = make_mesh({{0, 0, 0}, {2, 0, 0}, {0, 4, 0}, {-2, 0, 0}, {0, -4, 0}, {9, 9, 9}},
                             {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 1}});
    mesh.set_point(vh(2), Vector3f(0, 4, 8)); // at a distance of sqrt(80)
    reference::fairing_plane(mesh, only(mesh, {0, 5}));
    double const w = 1.0 / std::sqrt(80.0);
    double const sum = 0.5 + 0.5 + 0.25 + w;
    EXPECT_NEAR(mesh.point(vh(0)).y(), (4.0 * w - 1.0) / sum, 1e-6);
    EXPECT_NEAR(mesh.point(vh(0)).z(), 8.0 * w / sum, 1e-6);
    EXPECT_EQ(mesh.point(vh(5)), Vector3f(9, 9, 9));
}

TEST(ReferenceWhole, AFlatHoleIsOneWhoseBorderLooksOneWay)
{
    TriMesh flat = grid_with_hole(2);
    flat.request_face_normals();
    flat.update_face_normals();
    EXPECT_TRUE(reference::is_flat_hole(flat, std::vector<bool>(flat.n_faces(), false)));
    EXPECT_FALSE(reference::is_flat_hole(flat, std::vector<bool>(flat.n_faces(), true)));
    TriMesh ball = open_ball(2);
    ball.request_face_normals();
    ball.update_face_normals();
    EXPECT_FALSE(reference::is_flat_hole(ball, std::vector<bool>(ball.n_faces(), false)));
}

TEST(ReferenceWhole, VerifyNamesNormalsThatAreNoNumbers)
{
    TriMesh mesh = grid(1, 1);
    mesh.request_vertex_normals();
    mesh.request_face_normals();
    mesh.update_normals();
    EXPECT_TRUE(reference::verify_mesh(mesh).verts.empty());
    float const nan = std::numeric_limits<float>::quiet_NaN();
    mesh.set_normal(vh(2), Vector3f(0, nan, 0));
    mesh.set_normal(OpenMesh::FaceHandle(1), Vector3f(nan, 0, 0));
    EXPECT_EQ(reference::verify_mesh(mesh).verts, std::vector<int>{2});
    EXPECT_EQ(reference::verify_mesh(mesh).faces, std::vector<int>{1});
}

namespace
{

/// A ball with two holes, at +x and -x.
TriMesh ball_with_two_holes()
{
    TriMesh const ball = sphere(4);
    auto holes = fan_of(ball, vertex_towards(ball, Vector3f(1, 0, 0)));
    auto const other = fan_of(ball, vertex_towards(ball, Vector3f(-1, 0, 0)));
    holes.insert(other.begin(), other.end());
    return without_fans(ball, holes);
}

} // namespace

TEST(ReferenceMarkers, OnlyHolesWithAMarkerAreFilled)
{
    for (int const type : {0, 1, 2})
    {
        TriMesh mesh = ball_with_two_holes();
        ASSERT_EQ(loops_of(mesh).size(), 2U);
        reference::MarkerFilling filling(with_region(type, 3), 0.5);
        filling.marker_holes_filling(mesh, {{1, 0, 0}, {0.9F, 0, 0}, {0, 0, 5}});
        auto const loops = loops_of(mesh);
        ASSERT_EQ(loops.size(), 1U);
        EXPECT_LT(mesh.point(mesh.from_vertex_handle(loops[0][0])).x(), 0.0F);
        EXPECT_EQ(euler(mesh), 1);
        EXPECT_LT(largest_distance_to_unit_sphere(mesh), 0.05);
    }
}

TEST(ReferenceMarkers, WithoutMarkersNothingIsFilled)
{
    for (int const type : {0, 1})
    {
        TriMesh mesh = ball_with_two_holes();
        auto const before = fingerprint(mesh);
        reference::MarkerFilling filling(with_region(type, 3));
        filling.marker_holes_filling(mesh, {});
        EXPECT_EQ(fingerprint(mesh), before);
        EXPECT_EQ(filling.hole_selected, std::vector<bool>(2, false));
    }
}

TEST(ReferenceMarkers, TinyHolesWithoutAMarkerStayOpen)
{
    TriMesh const ball = sphere(3);
    TriMesh mesh = without_fans(ball, {vertex_towards(ball, Vector3f(1, 0, 0))});
    reference::MarkerFilling(with_region(2, 3)).marker_holes_filling(mesh, {{-1, 0, 0}});
    EXPECT_EQ(loops_of(mesh).size(), 1U);
    reference::MarkerFilling(with_region(2, 3)).marker_holes_filling(mesh, {{1, 0, 0}});
    EXPECT_TRUE(is_closed(mesh));
}

TEST(ReferenceMarkers, AHoleWhoseCentreMovesAwayWithTheCutStaysCut)
{
    TriMesh mesh = ball_with_two_holes();
    auto const faces = mesh.n_faces();
    // The centre goes from x = 0.98 inwards with each ring that is cut.
    reference::MarkerFilling filling(with_region(1, 3), 0.035);
    filling.marker_holes_filling(mesh, {{1, 0, 0}});
    EXPECT_EQ(filling.hole_selected, std::vector<bool>(2, false));
    EXPECT_LT(mesh.n_faces(), faces);
    EXPECT_EQ(loops_of(mesh).size(), 2U);
}

TEST(ReferenceMarkers, RadiiOfASquare)
{
    TriMesh mesh = grid_with_hole(2);
    reference::MarkerFilling filling(with_region(2, 1), 0.1);
    // Region type 2 deletes here, too; the far marker chooses nothing.
    filling.marker_holes_filling(mesh, {{9, 9, 9}});
    ASSERT_EQ(filling.hole_radii.size(), 2U);
    std::size_t const hole = filling.holes[0].size() == 8 ? 0 : 1;
    auto const& radius = filling.hole_radii[hole];
    EXPECT_EQ(filling.hole_centers[hole], Vector3f(2, 2, 0));
    EXPECT_NEAR(radius.r_p, 8.0 / 6.283185307179586, 1e-6);
    EXPECT_NEAR(radius.r_d, (1.0 + std::sqrt(2.0)) / 2.0, 1e-6);
    EXPECT_NEAR(radius.r_b, std::sqrt(2.0), 1e-6);
    EXPECT_NEAR(radius.r_a, (radius.r_p + radius.r_d + radius.r_b) / 3.0, 1e-12);
}

TEST(RandomHoleMeshes, AreSoundAndOfAllKinds)
{
    int tiny = 0;
    int large = 0;
    int pinched = 0;
    int in_pieces = 0;
    int with_lone_vertices = 0;
    for (unsigned seed = 0; seed < 100; ++seed)
    {
        TriMesh const mesh = random_hole_mesh(seed);
        EXPECT_EQ(broken_link(mesh), "");
        for (auto const& loop : loops_of(mesh))
        {
            tiny += loop.size() <= 5 ? 1 : 0;
            large += loop.size() >= 30 && loop.size() <= 60 ? 1 : 0;
        }
        pinched += count_pinched(mesh) > 0 ? 1 : 0;
        in_pieces += face_component_sizes(mesh).size() > 1 ? 1 : 0;
        bool lone = false;
        for (auto const v : mesh.vertices())
        {
            EXPECT_LT(mesh.point(v).cwiseAbs().maxCoeff(), 4.0F);
            lone = lone || mesh.is_isolated(v);
        }
        with_lone_vertices += lone ? 1 : 0;
        EXPECT_EQ(fingerprint(random_hole_mesh(seed)), fingerprint(mesh));
    }
    EXPECT_GT(tiny, 50);
    EXPECT_GT(large, 20);
    EXPECT_GT(pinched, 20);
    EXPECT_GT(in_pieces, 20);
    EXPECT_GT(with_lone_vertices, 10);
}

TEST(RandomHoleMeshes, TheReferencesFillThemSoundly)
{
    int filled = 0;
    int with_marker = 0;
    for (unsigned seed = 0; seed < 20; ++seed)
    {
        TriMesh const mesh = random_hole_mesh(seed);
        auto const settings = random_whole_settings(seed);
        TriMesh whole = mesh;
        reference::WholeFilling filling(settings);
        filling.holes_filling(whole);
        EXPECT_EQ(broken_link(whole), "") << "seed " << seed;
        filled += static_cast<int>(
            std::count(filling.outcomes.begin(), filling.outcomes.end(), Outcome::FILLED));

        TriMesh marked = mesh;
        reference::MarkerFilling markers(settings, 0.4);
        markers.marker_holes_filling(marked, random_markers(mesh, seed));
        EXPECT_EQ(broken_link(marked), "") << "seed " << seed;
        with_marker += static_cast<int>(
            std::count(markers.outcomes.begin(), markers.outcomes.end(), Outcome::FILLED));
    }
    EXPECT_GT(filled, 10);
    EXPECT_GT(with_marker, 10);
}
