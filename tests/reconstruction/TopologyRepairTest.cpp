#include "algorithmVeld/reconstruction/TopologyRepair.h"
#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/reconstruction/repair/PlaneProjection.h"
#include "algorithmVeld/reconstruction/repair/SweepDelaunay.h"
#include "tests/support/ear_meshes.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/special_floats.h"
#include "tests/support/standard_output.h"
#include "tests/support/steps.h"
#include "tests/support/temp_dir.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <stdexcept>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

using Points = std::vector<Vector3f>;
using Corners = std::set<int>;

Vector3f const UP(0, 0, 1);
Vector3f const NONE(0, 0, 0);

/// Loose points, all with one normal.
TriMesh loose_points(Points const& points, Vector3f const& normal = UP)
{
    TriMesh mesh;
    mesh.request_vertex_normals();
    for (auto const& point : points)
    {
        mesh.set_normal(mesh.add_vertex(point), normal);
    }
    return mesh;
}

/// Takes the direction of every normal but those of some vertices, so that only these get faces.
void leave_normals_of(TriMesh& mesh, std::set<int> const& centres)
{
    for (auto const vertex : mesh.vertices())
    {
        if (centres.count(vertex.idx()) == 0)
        {
            mesh.set_normal(vertex, NONE);
        }
    }
}

/// Repairs without a sound. \return what was said
std::string repair(TriMesh& mesh, TopologyRepair repairer = TopologyRepair())
{
    LogCapture const quiet;
    return output_of([&] { EXPECT_TRUE(repairer.repair_mesh(mesh)); });
}

/// The corners of all faces, without their order.
std::multiset<Corners> faces_of(TriMesh const& mesh)
{
    std::multiset<Corners> faces;
    for (auto const face : mesh.faces())
    {
        Corners corners;
        for (auto const corner : mesh.fv_range(face))
        {
            corners.insert(corner.idx());
        }
        faces.insert(corners);
    }
    return faces;
}

/// 0, 1 and 2 are a triangle against the clock whose circle ends at x = 0.08; 3 lies to the right
/// of it, and has no triangle of its own since nothing is to the right of that.
Points const TRIANGLE_AND_ONE{{0, -0.05F, 0}, {0.08F, 0, 0}, {0, 0.05F, 0}, {0.4F, 0, 0}};

/// The mesh takes a free triangle in both orientations.
std::multiset<Corners> const BACK_TO_BACK{{0, 1, 2}, {0, 1, 2}};

/// The triangle as a hole in a large plate, with the loose point over the plate: 0, 1 and 2 bound
/// the hole, 4, 5 and 6 the plate, all with normals upwards.
TriMesh plate_with_triangular_hole()
{
    Points points = TRIANGLE_AND_ONE;
    points.insert(points.end(), {{-8, -8, 0}, {10, 0, 0}, {-8, 8, 0}});
    TriMesh mesh =
        make_mesh(points, {{0, 4, 1}, {1, 4, 5}, {1, 5, 2}, {2, 5, 6}, {2, 6, 0}, {0, 6, 4}});
    mesh.request_vertex_normals();
    for (auto const vertex : mesh.vertices())
    {
        mesh.set_normal(vertex, UP);
    }
    return mesh;
}

/// Turns a mesh about an axis through the origin, with its normals.
void turn(TriMesh& mesh, float angle, Vector3f const& axis)
{
    Eigen::Matrix3f const rotation = Eigen::AngleAxisf(angle, axis).toRotationMatrix();
    for (auto const vertex : mesh.vertices())
    {
        mesh.set_point(vertex, rotation * mesh.point(vertex));
        mesh.set_normal(vertex, rotation * mesh.normal(vertex));
    }
}

void turn_to_cosine(TriMesh& mesh, float cosine)
{
    turn(mesh, std::acos(cosine), Vector3f::UnitY());
}

/// A wavy sheet of loose points in no order, about 0.1 apart, with their normals.
TriMesh loose_sheet(int side)
{
    std::mt19937 random(4);
    auto const shake = [&] { return static_cast<float>(random()) / 4294967296.0F * 0.06F; };
    Points points;
    for (int i = 0; i < side * side; ++i)
    {
        float const x = 0.1F * static_cast<float>(i % side) + shake();
        float const y = 0.1F * static_cast<float>(i / side) + shake();
        points.emplace_back(x, y, 0.2F * std::sin(x) * std::cos(2.0F * y));
    }
    std::shuffle(points.begin(), points.end(), random);
    TriMesh mesh = loose_points(points);
    for (auto const vertex : mesh.vertices())
    {
        Vector3f const p = mesh.point(vertex);
        mesh.set_normal(vertex, Vector3f(-0.2F * std::cos(p.x()) * std::cos(2.0F * p.y()),
                                         0.4F * std::sin(p.x()) * std::sin(2.0F * p.y()), 1.0F)
                                    .normalized());
    }
    return mesh;
}

using Vertices = std::vector<OpenMesh::VertexHandle>;

/// The vertices nearer to another than 0.5, nearest first, found by looking at all of them.
Vertices near(TriMesh const& mesh, Vertices const& vertices, OpenMesh::VertexHandle centre)
{
    std::vector<std::pair<float, OpenMesh::VertexHandle>> hits;
    for (auto const vertex : vertices)
    {
        Vector3f const offset = mesh.point(centre) - mesh.point(vertex);
        float const square =
            offset.x() * offset.x() + offset.y() * offset.y() + offset.z() * offset.z();
        if (square < 0.25F)
        {
            hits.emplace_back(square, vertex);
        }
    }
    std::sort(hits.begin(), hits.end());
    Vertices result;
    for (auto const& hit : hits)
    {
        result.push_back(hit.second);
    }
    return result;
}

/// The places of some vertices in the plane of another one.
std::vector<Vector2f> flattened(TriMesh const& mesh, Vertices const& vertices,
                                OpenMesh::VertexHandle centre)
{
    Points points;
    for (auto const vertex : vertices)
    {
        points.push_back(mesh.point(vertex));
    }
    Vector3f const normal = mesh.normal(centre);
    Points projected;
    std::vector<float> distances;
    std::vector<float> cosines;
    TopologyRepair().compute_projective_point(mesh.point(centre), normal, points, points, projected,
                                              distances, cosines);
    if (normal.z() < 0.95F)
    {
        detail::turn_onto_z(normal, projected);
    }
    std::vector<Vector2f> flat;
    for (auto const& point : projected)
    {
        flat.emplace_back(point.x(), point.y());
    }
    return flat;
}

/// Triangulates the vertices around another one and adds its triangles at once.
void connect_plainly(TriMesh& mesh, Vertices const& around, OpenMesh::VertexHandle centre)
{
    auto const flat = flattened(mesh, around, centre);
    std::map<std::pair<float, float>, OpenMesh::VertexHandle> owners;
    for (std::size_t i = 0; i < flat.size(); ++i)
    {
        owners[{flat[i].x(), flat[i].y()}] = around[i];
    }
    std::vector<detail::DelaunayTriangle> triangles;
    std::vector<Vector2f> sweep;
    std::vector<std::array<int, 3>> triples;
    detail::delaunay_triangulate(flat, triangles, sweep, triples);
    for (auto const& triple : triples)
    {
        Vertices v;
        for (int const i : triple)
        {
            auto const& point = sweep[static_cast<std::size_t>(i)];
            v.push_back(owners.at({point.x(), point.y()}));
        }
        if (std::find(v.begin(), v.end(), centre) != v.end())
        {
            detail::add_face_checked(mesh, v[0], v[1], v[2]);
            detail::add_face_checked(mesh, v[0], v[2], v[1]);
        }
    }
}

/// The repair, one vertex after the other: each is triangulated when its turn comes.
void repair_plainly(TriMesh& mesh)
{
    Vertices boundary;
    for (auto const vertex : mesh.vertices())
    {
        if (mesh.is_boundary(vertex))
        {
            boundary.push_back(vertex);
        }
    }
    for (auto const centre : boundary)
    {
        if (mesh.is_boundary(centre))
        {
            connect_plainly(mesh, near(mesh, boundary, centre), centre);
        }
    }
}

} // namespace

// --------------------------------------------------------------------------------- which faces

TEST(TopologyRepair, AFreeTriangleOfVerticesGetsAFaceOnEitherSide)
{
    TriMesh mesh = loose_points(TRIANGLE_AND_ONE);
    repair(mesh);
    EXPECT_EQ(faces_of(mesh), BACK_TO_BACK);
    EXPECT_TRUE(mesh.is_isolated(vh(3)));
}

TEST(TopologyRepair, AHoleIsClosedOnTheSideOfTheMeshAndNoVertexMoves)
{
    TriMesh mesh = plate_with_triangular_hole();
    TriMesh const before = mesh;
    repair(mesh);
    ASSERT_EQ(mesh.n_faces(), 7U);
    EXPECT_EQ(faces_of(mesh).count({0, 1, 2}), 1U);
    EXPECT_GT(mesh.calc_face_normal(OpenMesh::FaceHandle(6)).z(), 0.99F);
    EXPECT_FALSE(mesh.is_boundary(vh(0)));
    for (auto const vertex : before.vertices())
    {
        EXPECT_EQ(mesh.point(vertex), before.point(vertex));
    }
}

TEST(TopologyRepair, ThreePointsAreLostToTheRightRim)
{
    Points points = TRIANGLE_AND_ONE;
    points.pop_back();
    TriMesh mesh = loose_points(points);
    repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U);
}

TEST(TopologyRepair, FewerThanThreeNearVerticesGetNoFace)
{
    // The last two are near nobody.
    TriMesh mesh = loose_points({{0, 0, 0}, {0.1F, 0, 0}, {0.7F, 0, 0}, {5, 0, 0}});
    repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U);
}

TEST(TopologyRepair, TheRadiusIsAbsoluteAndItsEndIsNotWithin)
{
    Points points = TRIANGLE_AND_ONE;
    points[3] = Vector3f(0.5F, -0.05F, 0);
    TriMesh mesh = loose_points(points);
    leave_normals_of(mesh, {0});
    repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U) << "0 and 3 are 0.5 apart";

    points[3].x() = 0.499F;
    mesh = loose_points(points);
    leave_normals_of(mesh, {0});
    repair(mesh);
    EXPECT_EQ(faces_of(mesh), BACK_TO_BACK);
}

TEST(TopologyRepair, AnotherRadiusCanBeSetForMeshesOfAnotherSize)
{
    Points points = TRIANGLE_AND_ONE;
    for (auto& point : points)
    {
        point *= 16.0F;
    }
    TriMesh mesh = loose_points(points);
    repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U);
    TopologyRepair wide;
    wide.set_search_radius(8.0F);
    repair(mesh, wide);
    EXPECT_EQ(faces_of(mesh), BACK_TO_BACK);
}

TEST(TopologyRepair, ATriangleIsAddedOnlyAroundItsOwnCorners)
{
    TriMesh mesh = loose_points(TRIANGLE_AND_ONE);
    leave_normals_of(mesh, {3});
    repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U) << "3 sees the triangle, but is none of its corners";
    for (int const corner : {0, 1, 2})
    {
        mesh = loose_points(TRIANGLE_AND_ONE);
        leave_normals_of(mesh, {corner});
        repair(mesh);
        EXPECT_EQ(faces_of(mesh), BACK_TO_BACK);
    }
}

TEST(TopologyRepair, OfNeighboursOnOnePointTheFarthestStandsForAll)
{
    // 4 lies over 0, farther from 1.
    Points points = TRIANGLE_AND_ONE;
    points.emplace_back(0, -0.05F, 0.2F);
    TriMesh mesh = loose_points(points);
    leave_normals_of(mesh, {1});
    repair(mesh);
    EXPECT_EQ(faces_of(mesh), (std::multiset<Corners>{{1, 2, 4}, {1, 2, 4}}));
}

TEST(TopologyRepair, ACentreThatAnotherVertexCoversGetsNoFace)
{
    Points points = TRIANGLE_AND_ONE;
    points.emplace_back(0, -0.05F, 0.2F);
    TriMesh mesh = loose_points(points);
    leave_normals_of(mesh, {0});
    repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U);
}

TEST(TopologyRepair, VerticesInsideTheMeshAreNoNeighbours)
{
    // The first repair takes the triangle off the boundary, and 3 is left alone.
    TriMesh mesh = loose_points(TRIANGLE_AND_ONE);
    repair(mesh);
    TriMesh const before = mesh;
    repair(mesh);
    EXPECT_EQ(fingerprint(mesh), fingerprint(before));
}

// ------------------------------------------------------------------------------------ the plane

/// The circle of 0, 1 and 2 ends at x = 0.1207, left of 3 with its x = 0.122. With x shortened by a
/// factor of 0.96 it ends at 0.1173, right of 3 with 0.1171; with 0.94 at 0.1156 and 0.1147.
Points const CLOSE_CALL{{0, 0, 0}, {0.1F, 0, 0}, {0, 0.1F, 0}, {0.122F, -0.2F, 0}};

TEST(TopologyRepair, ATiltUpToTheLimitIsNotCorrected)
{
    TriMesh mesh = loose_points(CLOSE_CALL);
    repair(mesh);
    EXPECT_EQ(faces_of(mesh), BACK_TO_BACK);

    mesh = loose_points(CLOSE_CALL);
    turn_to_cosine(mesh, 0.96F);
    repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U);

    mesh = loose_points(CLOSE_CALL);
    turn_to_cosine(mesh, 0.94F);
    repair(mesh);
    EXPECT_EQ(faces_of(mesh), BACK_TO_BACK);
}

TEST(TopologyRepair, TheLimitOfTheTiltCanBeSet)
{
    TopologyRepair exact;
    exact.set_normal_z_thr(0.97F);
    TriMesh mesh = loose_points(CLOSE_CALL);
    turn_to_cosine(mesh, 0.96F);
    repair(mesh, exact);
    EXPECT_EQ(faces_of(mesh), BACK_TO_BACK);

    TopologyRepair never;
    never.set_normal_z_thr(-2.0F);
    mesh = loose_points(CLOSE_CALL);
    turn_to_cosine(mesh, 0.94F);
    repair(mesh, never);
    EXPECT_EQ(mesh.n_faces(), 0U);
}

TEST(TopologyRepair, APlaneAcrossAnyDirectionIsTurnedOntoZ)
{
    for (float const angle : {0.5F, 1.0F, 1.5707964F, 2.5F, -1.0F})
    {
        SCOPED_TRACE(angle);
        TriMesh mesh = plate_with_triangular_hole();
        turn(mesh, angle, Vector3f::UnitY());
        repair(mesh);
        EXPECT_EQ(mesh.n_faces(), 7U);
    }
}

TEST(TopologyRepair, ANormalAgainstZMirrorsThePlane)
{
    TriMesh mesh = plate_with_triangular_hole();
    for (auto const vertex : mesh.vertices())
    {
        Vector3f const p = mesh.point(vertex);
        mesh.set_point(vertex, Vector3f(-p.x(), p.y(), -p.z()));
        mesh.set_normal(vertex, -UP);
    }
    TriMesh unturned = mesh;
    repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 7U);

    // Without it the loose point is to the left, and the triangle at the right rim.
    TopologyRepair never;
    never.set_normal_z_thr(-2.0F);
    repair(unturned, never);
    EXPECT_EQ(unturned.n_faces(), 6U);
}

TEST(PlaneProjection, TheNormalNeedNotHaveUnitLength)
{
    Points projected{NONE};
    std::vector<float> distances{7};
    std::vector<float> cosines{7};
    TopologyRepair const repairer;
    repairer.compute_projective_point({0, 0, 1}, {0, 0, 2}, {{3, 4, 5}, {1, 1, -1}},
                                      {{0, 0, 1}, {0.6F, 0, -0.8F}}, projected, distances, cosines);
    EXPECT_THAT(projected, ElementsAre(Vector3f(3, 4, 1), Vector3f(1, 1, 1)));
    EXPECT_THAT(distances, ElementsAre(4.0F, 2.0F));
    EXPECT_THAT(cosines, ElementsAre(2.0F, -1.6F));
}

TEST(PlaneProjection, ANormalWithoutLengthGivesNoPlane)
{
    Points projected;
    std::vector<float> distances;
    std::vector<float> cosines;
    TopologyRepair().compute_projective_point(NONE, NONE, {{3, 4, 5}}, {UP}, projected, distances,
                                              cosines);
    EXPECT_FALSE(projected.at(0).allFinite());
    EXPECT_FALSE(std::isfinite(distances.at(0)));
    EXPECT_EQ(cosines.at(0), 0.0F);
}

TEST(PlaneProjection, AMissingNormalIsOutOfRange)
{
    Points projected;
    std::vector<float> distances;
    std::vector<float> cosines;
    EXPECT_THROW(TopologyRepair().compute_projective_point(NONE, UP, {{3, 4, 5}, {1, 1, 1}}, {UP},
                                                           projected, distances, cosines),
                 std::out_of_range);
}

TEST(PlaneProjection, TheMatrixTurnsTheOtherWayRound)
{
    Eigen::Matrix4d rotation;
    detail::rotate_arbitrary_axis({0, 0, 1}, 0.5F, rotation);
    EXPECT_EQ(rotation(0, 0), static_cast<double>(std::cos(0.5F)));
    EXPECT_EQ(rotation(1, 0), -static_cast<double>(std::sin(0.5F)));
    EXPECT_EQ(rotation(0, 1), static_cast<double>(std::sin(0.5F)));
    EXPECT_EQ(rotation(2, 2), static_cast<double>(std::cos(0.5F) + (1.0F - std::cos(0.5F))));
    EXPECT_EQ(rotation.row(3), Eigen::RowVector4d(0, 0, 0, 1));
    EXPECT_EQ(rotation.col(3), Eigen::Vector4d(0, 0, 0, 1));

    Vector3f const axis = Vector3f(1, 2, -3).normalized();
    detail::rotate_arbitrary_axis(axis, 0.8F, rotation);
    Eigen::Matrix3f const usual = Eigen::AngleAxisf(0.8F, axis).toRotationMatrix();
    EXPECT_TRUE((rotation.topLeftCorner<3, 3>().cast<float>().isApprox(usual.transpose(), 1e-5F)));
}

TEST(PlaneProjection, AnyNormalIsTurnedOntoZ)
{
    std::mt19937 random(9);
    auto const unit = [&] { return static_cast<float>(random()) / 2147483648.0F - 1.0F; };
    for (int i = 0; i < 100; ++i)
    {
        float const x = unit();
        float const y = unit();
        Vector3f const normal = Vector3f(x, y, unit()).normalized();
        Vector3f const beside = normal.unitOrthogonal();
        Points points{normal, beside};
        detail::turn_onto_z(normal, points);
        EXPECT_NEAR((points[0] - UP).norm(), 0.0F, 2e-3F); // Near -z the axis is short.
        EXPECT_NEAR(points[1].norm(), 1.0F, 1e-3F);
        EXPECT_NEAR(points[1].z(), 0.0F, 2e-3F);
    }
}

TEST(PlaneProjection, ANormalAgainstZHasNoAxisAndMirrorsAtTheOrigin)
{
    Points points{{1, 2, 3}};
    detail::turn_onto_z(-UP, points);
    EXPECT_THAT(points, ElementsAre(Vector3f(-1, -2, -3)));
}

// --------------------------------------------------------------------------- meshes of any kind

TEST(TopologyRepair, AMeshWithoutBoundaryStaysAsItIs)
{
    TriMesh mesh = tetrahedron();
    TriMesh const before = mesh;
    repair(mesh);
    EXPECT_EQ(fingerprint(mesh), fingerprint(before));
    EXPECT_FALSE(mesh.has_vertex_normals());

    TriMesh empty;
    repair(empty);
    EXPECT_EQ(empty.n_vertices(), 0U);
}

TEST(TopologyRepair, NormalsAreComputedWhereTheMeshHasNone)
{
    TriMesh mesh = plate_with_triangular_hole();
    mesh.release_vertex_normals();
    ASSERT_FALSE(mesh.has_vertex_normals());
    repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 7U);
    EXPECT_TRUE(mesh.has_vertex_normals());
    EXPECT_TRUE(mesh.has_face_normals());
}

TEST(TopologyRepair, NormalsThatAreThereAreUsedAsTheyAre)
{
    TriMesh mesh = plate_with_triangular_hole();
    leave_normals_of(mesh, {});
    repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 6U) << "no plane, though the faces would give one";
    EXPECT_EQ(mesh.normal(vh(0)), NONE);
}

TEST(TopologyRepair, DeletedVerticesAreLeftOut)
{
    TriMesh mesh = loose_points(TRIANGLE_AND_ONE);
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_face_status();
    mesh.delete_vertex(vh(3), false);
    std::string const said = repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U) << "three points are left";
    EXPECT_THAT(said, HasSubstr("  Vertex: \t 3\n"));
}

TEST(TopologyRepair, WhatIsNoNumberHarmsNobodyElse)
{
    Points points = TRIANGLE_AND_ONE;
    points.insert(points.end(), {{NOT_A_NUMBER, 0, 0}, {0, INFINITE, 0}, {0, 0, -INFINITE}});
    TriMesh mesh = loose_points(points);
    repair(mesh);
    EXPECT_EQ(faces_of(mesh), BACK_TO_BACK);

    // Only the normal of the centre has a say.
    mesh = loose_points(TRIANGLE_AND_ONE);
    mesh.set_normal(vh(0), Vector3f(0, NOT_A_NUMBER, 1));
    mesh.set_normal(vh(1), Vector3f(0, 0, -1.001F)); // has no arc cosine
    mesh.set_normal(vh(3), Vector3f(INFINITE, 0, 0));
    repair(mesh);
    EXPECT_EQ(faces_of(mesh), BACK_TO_BACK);
}

TEST(TopologyRepair, ManyVerticesOnOnePlaceGetNoFace)
{
    TriMesh mesh = loose_points(Points(100, Vector3f(1, 2, 3)));
    repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U);
}

TEST(TopologyRepair, VerticesWithSeveralFansStayWhole)
{
    TriMesh mesh = gap_between_three_fans();
    for (auto const vertex : mesh.vertices())
    {
        mesh.point(vertex) *= 0.02F;
    }
    repair(mesh);
    EXPECT_TRUE(mesh.is_legal());
}

// ------------------------------------------------------------------------------- order and state

TEST(TopologyRepair, GivesWhatOneVertexAfterTheOtherGives)
{
    TriMesh plain = loose_sheet(45);
    TriMesh mesh = plain;
    repair_plainly(plain);
    ASSERT_GT(plain.n_faces(), 900U);
    repair(mesh);
    EXPECT_EQ(fingerprint(mesh), fingerprint(plain));
    EXPECT_TRUE(mesh.is_legal());
}

TEST(TopologyRepair, GivesTheSameForAnyNumberOfThreads)
{
    std::vector<std::vector<int>> results;
    for (int const n : {1, 2, 8})
    {
        Threads const threads(n);
        TriMesh mesh = loose_sheet(45);
        repair(mesh);
        results.push_back(fingerprint(mesh));
    }
    EXPECT_EQ(results[0], results[1]);
    EXPECT_EQ(results[0], results[2]);
}

TEST(TopologyRepair, ThePassWorksOnTheBoundaryOfTheLastRepair)
{
    TriMesh mesh = loose_points(TRIANGLE_AND_ONE);
    TopologyRepair repairer;
    EXPECT_TRUE(repairer.compute_projective_neighbours(mesh));
    EXPECT_EQ(mesh.n_faces(), 0U) << "there was none";

    TriMesh same = mesh;
    LogCapture const quiet;
    output_of([&] { repairer.repair_mesh(same); });
    EXPECT_TRUE(repairer.compute_projective_neighbours(mesh));
    EXPECT_EQ(faces_of(mesh), BACK_TO_BACK) << "it is the same boundary";

    TopologyRepair copy(repairer);
    TriMesh third = loose_points(TRIANGLE_AND_ONE);
    EXPECT_TRUE(copy.compute_projective_neighbours(third));
    EXPECT_EQ(fingerprint(third), fingerprint(mesh));
}

TEST(TopologyRepair, ThePassDoesNothingToAMeshWithoutThatBoundary)
{
    TriMesh mesh = loose_points(TRIANGLE_AND_ONE);
    TopologyRepair repairer;
    {
        LogCapture const quiet;
        output_of([&] { repairer.repair_mesh(mesh); });
    }
    TriMesh smaller = lone_triangle();
    EXPECT_TRUE(repairer.compute_projective_neighbours(smaller));
    EXPECT_EQ(smaller.n_faces(), 1U);

    TriMesh thinned = loose_points(TRIANGLE_AND_ONE);
    thinned.request_vertex_status();
    thinned.request_edge_status();
    thinned.request_face_status();
    thinned.delete_vertex(vh(1), false);
    EXPECT_TRUE(repairer.compute_projective_neighbours(thinned));
    EXPECT_EQ(thinned.n_faces(), 0U);
}

// -------------------------------------------------------------------------------- log and files

TEST(TopologyRepair, TellsTheSizeOfTheMeshOnBothRoutesWhateverTheSwitchSays)
{
    std::string const expected = "repairing ..\n"
                                 "\n--------------------------------\n"
                                 "Mesh info:\n"
                                 "  Vertex: \t 3\n"
                                 "  Face: \t 1\n"
                                 "  HalfEdge: \t 6\n"
                                 "  Edge: \t 3\n"
                                 "--------------------------------\n\n";
    TriMesh mesh = lone_triangle();
    LogCapture const log(false);
    TopologyRepair repairer;
    repairer.initialize();
    EXPECT_EQ(output_of([&] { repairer.repair_mesh(mesh); }), expected);
    EXPECT_EQ(log.text(), expected);
}

TEST(TopologyRepair, TimesTheTriangulationAndTheFaces)
{
    TriMesh mesh = loose_points(TRIANGLE_AND_ONE);
    gLH.clear_steps();
    repair(mesh);
    EXPECT_EQ(outline(gLH), "TopologyRepair::repair_mesh()(Delaunay(add_face))");

    TriMesh closed = tetrahedron();
    gLH.clear_steps();
    repair(closed);
    EXPECT_EQ(outline(gLH), "TopologyRepair::repair_mesh()");
}

namespace
{

/// Two faces on the edge 1 2; 0 1 3 is no face.
TriMesh two_faces()
{
    return make_mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0.5F}}, {{0, 1, 2}, {1, 3, 2}});
}

std::string output_region(std::string const& directory, bool with_failed_face)
{
    TriMesh const mesh = two_faces();
    TopologyRepair repairer;
    repairer.set_debug_save_path(directory);
    auto third = mesh.vertices_begin();
    std::advance(third, 3);
    return output_of(
        [&]
        {
            repairer.OutputNeighbourRegion(mesh, vh(0), vh(1), third, mesh.point(vh(0)),
                                           mesh.point(vh(1)), 0.25F, 1, with_failed_face);
        });
}

std::string const REGION_PRINTED =
    "\ninvalid face:\n"
    "  [vertex idx:]    0 1 3\n"
    "  [vertex pos:]"
    "    (0.000000,0.000000,0.000000) (1.000000,0.000000,0.000000) (1.000000,1.000000,0.500000)\n"
    "Faces around vertex [0]:\n"
    "  0  1  2\n"
    "Faces around vertex [1]:\n"
    "  1  3  2\n"
    "Faces around vertex [3]:\n";

std::string const REGION_VERTICES = "v 0.000000 0.000000 0.000000\n"
                                    "v 1.000000 0.000000 0.000000\n"
                                    "v 1.000000 1.000000 0.500000\n"
                                    "v 0.000000 1.000000 0.000000\n";

} // namespace

TEST(FailedFaceRegion, FacesAroundTheCornersArePrintedOnceEach)
{
    LogCapture const log;
    EXPECT_EQ(output_region("", true), REGION_PRINTED);
    EXPECT_EQ(log.text(), "");
}

TEST(FailedFaceRegion, TheFileBeginsWithTheCornersAndTheTriangleIfWanted)
{
    TempDir const dir;
    EXPECT_EQ(output_region(dir.path().string(), false), REGION_PRINTED);
    EXPECT_EQ(file_content(dir.file("patch_radius-0.250000_[0-1-3]_level-1.obj")),
              REGION_VERTICES + "f 1 2 4\nf 2 3 4\n");
    EXPECT_EQ(output_region(dir.path().string(), true), REGION_PRINTED);
    EXPECT_EQ(file_content(dir.file("patch_radius-0.250000_[0-1-3]_level-1_with-failed-face.obj")),
              REGION_VERTICES + "f 1 2 3\nf 1 2 4\nf 2 3 4\n");
}

TEST(FailedFaceRegion, AFileThatCannotBeWrittenIsTold)
{
    TempDir const dir;
    std::string const missing = dir.file("missing");
    EXPECT_EQ(output_region(missing, false), REGION_PRINTED + "fail to write '" + missing +
                                                 "/patch_radius-0.250000_[0-1-3]_level-1.obj'.\n");
}

TEST(FailedFaceRegion, CornersThatAreEqualAreWrittenOnceAndThoseThatAreNotThereNotAtAll)
{
    TriMesh const mesh = two_faces();
    TempDir const dir;
    TopologyRepair repairer;
    repairer.set_debug_save_path(dir.path().string());
    output_of(
        [&]
        {
            repairer.OutputNeighbourRegion(mesh, vh(0), vh(0), mesh.vertices_begin(), NONE, NONE,
                                           1.0F, 0, false);
        });
    EXPECT_EQ(file_content(dir.file("patch_radius-1.000000_[0-0-0]_level-0.obj")),
              "v 0.000000 0.000000 0.000000\nv 1.000000 0.000000 0.000000\n"
              "v 0.000000 1.000000 0.000000\nf 1 2 3\n");
    EXPECT_EQ(output_of(
                  [&]
                  {
                      repairer.OutputNeighbourRegion(mesh, vh(0), vh(99), mesh.vertices_begin(),
                                                     NONE, NONE, 1.0F, 0, false);
                  }),
              "");
}
