#include "workflow/workflow.h"

#include "workflow/repairing/Spacing.h"
#include "workflow/steps/StepJson.h"

#include "algorithmVeld/common/KdTree3f.h"
#include "tests/support/files.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/real_data.h"
#include "tests/support/temp_dir.h"
#include "tests/workflow/reason_of.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <random>
#include <set>

namespace
{

using namespace veld_test;
using testing::HasSubstr;
using veld::RepairMethod;
using veld::RepairResult;
using veld::RepairSettings;

/// Warnings of a step.
struct Listener
{
    veld::Context context;
    std::vector<veld::Warning> warnings;

    Listener()
    {
        context.warn = [this](veld::Warning const& warning) { warnings.push_back(warning); };
    }
};

RepairSettings by(RepairMethod method)
{
    RepairSettings settings;
    settings.method = method;
    return settings;
}

RepairResult repaired(TriMesh const& mesh, RepairSettings const& settings = {})
{
    veld::Context context;
    return veld::repair(mesh, settings, context);
}

/// Two sheets of unit cells beside each other, turned to their sides by `place`.
TriMesh two_sheets(std::function<Vector3f(Vector3f const&)> const& place,
                   bool second_turned = false)
{
    TriMesh const sheet = grid(8, 8);
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;
    for (int k = 0; k < 2; ++k)
    {
        int const first = static_cast<int>(points.size());
        for (auto const vertex : sheet.vertices())
        {
            Vector3f const p = sheet.point(vertex);
            points.push_back(k == 0 ? p : place(p));
        }
        for (auto const& t : corners_of(sheet))
        {
            bool const turned = k == 1 && second_turned;
            triangles.push_back(
                {first + t[0], first + t[turned ? 2 : 1], first + t[turned ? 1 : 2]});
        }
    }
    return make_mesh(points, triangles);
}

/// The gap between the sheets is so wide.
TriMesh sheets_apart(float gap)
{
    return two_sheets([gap](Vector3f const& p) { return Vector3f(p + Vector3f(8 + gap, 0, 0)); });
}

/// The points of a mesh with the normals of its faces, and some faces or none.
TriMesh cloud_of(TriMesh const& mesh)
{
    TriMesh surface = mesh;
    surface.request_face_normals();
    surface.request_vertex_normals();
    surface.update_normals();
    TriMesh cloud;
    cloud.request_vertex_normals();
    for (auto const vertex : surface.vertices())
    {
        cloud.set_normal(cloud.add_vertex(surface.point(vertex)), surface.normal(vertex));
    }
    return cloud;
}

/// A mesh without a part of its faces, chosen by lot; as many as in a scan that lost points.
TriMesh torn(TriMesh const& mesh, unsigned seed, double share)
{
    std::mt19937 random(seed);
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;
    for (auto const vertex : mesh.vertices())
    {
        points.push_back(mesh.point(vertex));
    }
    for (auto const& t : corners_of(mesh))
    {
        if (static_cast<double>(random() % 1000) >= 1000.0 * share)
        {
            triangles.push_back(t);
        }
    }
    return make_mesh(points, triangles);
}

/// A sphere whose vertices are off their places by up to the half of an edge, and which lacks a
/// third of its faces: the ball meets borders everywhere.
TriMesh rough_sphere(unsigned seed)
{
    TriMesh mesh = sphere(4);
    std::mt19937 random(seed);
    for (auto const vertex : mesh.vertices())
    {
        Vector3f shift;
        for (int axis = 0; axis < 3; ++axis)
        {
            shift[axis] = (static_cast<float>(random() % 1000) / 1000.0F - 0.5F) * 0.07F;
        }
        mesh.set_point(vertex, mesh.point(vertex) + shift);
    }
    return torn(mesh, seed, 0.35);
}

std::vector<Vector3f> points_of_mesh(TriMesh const& mesh)
{
    std::vector<Vector3f> points;
    for (auto const vertex : mesh.vertices())
    {
        points.push_back(mesh.point(vertex));
    }
    return points;
}

Vector3f normal_of(TriMesh const& mesh, std::array<int, 3> const& t)
{
    Vector3f const a = mesh.point(vh(t[0]));
    return (mesh.point(vh(t[1])) - a).cross(mesh.point(vh(t[2])) - a).normalized();
}

class RepairStep : public testing::TestWithParam<RepairMethod>
{
};

INSTANTIATE_TEST_SUITE_P(Methods, RepairStep,
                         testing::Values(RepairMethod::BALL, RepairMethod::PROJECT),
                         [](auto const& method) { return veld::to_string(method.param); });

TEST_P(RepairStep, GapBetweenTwoSheetsIsClosedAndNoVertexMoves)
{
    TriMesh const mesh = sheets_apart(1.0F);
    RepairResult const result = repaired(mesh, by(GetParam()));
    EXPECT_EQ(result.before.components, 2U);
    EXPECT_EQ(result.after.components, 1U);
    // 16 faces lie in the gap; corners at its ends may get one more on either side.
    EXPECT_GE(result.new_faces, 14U);
    EXPECT_EQ(result.mesh.n_faces(), mesh.n_faces() + result.new_faces);
    EXPECT_LT(result.after.boundary_edges, result.before.boundary_edges);
    EXPECT_EQ(result.after.non_manifold_vertices, 0U);
    EXPECT_EQ(points_of_mesh(result.mesh), points_of_mesh(mesh));
}

TEST_P(RepairStep, OldFacesKeepTheirNumbersAndNewOnesTheOrientation)
{
    TriMesh const mesh = sheets_apart(1.0F);
    RepairResult const result = repaired(mesh, by(GetParam()));
    auto const before = corners_of(mesh);
    auto const after = corners_of(result.mesh);
    ASSERT_GT(after.size(), before.size());
    EXPECT_TRUE(std::equal(before.begin(), before.end(), after.begin()));
    for (auto const& t : after)
    {
        EXPECT_GT(normal_of(result.mesh, t).z(), 0.99F);
    }
}

TEST_P(RepairStep, NoFaceBridgesAWall)
{
    // Both sides of a wall, thinner than the reach of both methods.
    TriMesh const wall =
        two_sheets([](Vector3f const& p) { return Vector3f(p - Vector3f(0, 0, 1.5F)); }, true);
    RepairResult const result = repaired(wall, by(GetParam()));
    int const half = static_cast<int>(wall.n_vertices()) / 2;
    for (auto const& t : corners_of(result.mesh))
    {
        EXPECT_EQ(t[0] < half, t[1] < half);
        EXPECT_EQ(t[0] < half, t[2] < half);
    }
    EXPECT_EQ(result.after.components, 2U);
}

TEST_P(RepairStep, TornMeshHasNoNonManifoldVertexInTheEnd)
{
    for (unsigned seed = 0; seed < 6; ++seed)
    {
        TriMesh const mesh = torn(sphere(4), seed, 0.1 + 0.05 * seed);
        RepairResult const result = repaired(mesh, by(GetParam()));
        ASSERT_GT(count_pinched(mesh), 0);
        EXPECT_EQ(count_pinched(result.mesh), 0) << seed;
        EXPECT_LT(result.after.boundary_edges, result.before.boundary_edges / 2) << seed;
        EXPECT_EQ(result.mesh.n_faces(), mesh.n_faces() + result.new_faces - result.lost_faces);
    }
}

TEST_P(RepairStep, SameMeshForAnyNumberOfThreads)
{
    TriMesh const mesh = torn(sphere(4), 3, 0.2);
    veld::Context context;
    context.threads = 1;
    auto const expected = fingerprint(veld::repair(mesh, by(GetParam()), context).mesh);
    context.threads = 4;
    EXPECT_EQ(fingerprint(veld::repair(mesh, by(GetParam()), context).mesh), expected);
}

TEST_P(RepairStep, UnitsDoNotMatter)
{
    // A power of two, so that no coordinate is rounded.
    TriMesh const mesh = torn(sphere(4), 5, 0.15);
    TriMesh small = mesh;
    for (auto const vertex : small.vertices())
    {
        small.set_point(vertex, mesh.point(vertex) / 1024.0F);
    }
    RepairResult const result = repaired(mesh, by(GetParam()));
    RepairResult const in_metres = repaired(small, by(GetParam()));
    EXPECT_EQ(corners_of(in_metres.mesh).size(), corners_of(result.mesh).size());
    EXPECT_DOUBLE_EQ(in_metres.settings.spacing * 1024.0, result.settings.spacing);
}

TEST_P(RepairStep, ClosedMeshIsLeftAsItIsWithoutAWarning)
{
    Listener listener;
    RepairResult const result = veld::repair(sphere(2), by(GetParam()), listener.context);
    EXPECT_EQ(result.new_faces, 0U);
    EXPECT_EQ(fingerprint(result.mesh), fingerprint(sphere(2)));
    EXPECT_THAT(listener.warnings, testing::IsEmpty());
}

TEST_P(RepairStep, LoosePointsBesideAClosedMeshAreNoFailure)
{
    TriMesh mesh = sphere(2);
    mesh.add_vertex(Vector3f(0, 0, 1.1F));
    Listener listener;
    RepairResult const result = veld::repair(mesh, by(GetParam()), listener.context);
    EXPECT_EQ(result.after.isolated_vertices, 1U);
    EXPECT_THAT(listener.warnings, testing::IsEmpty());
}

TEST_P(RepairStep, OpenSheetWithNothingNearItIsToldSo)
{
    Listener listener;
    RepairResult const result = veld::repair(grid(20, 20), by(GetParam()), listener.context);
    EXPECT_EQ(result.new_faces, 0U);
    ASSERT_EQ(listener.warnings.size(), 1U);
    EXPECT_EQ(listener.warnings[0].code, veld::WarningCode::NOTHING_CLOSED);
    EXPECT_THAT(listener.warnings[0].text, HasSubstr("nothing is closed: "));
}

TEST_P(RepairStep, FaceIsNotBackedByASecondOne)
{
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;
    for (int i = 0; i < 10; ++i)
    {
        auto const x = 100.0F * static_cast<float>(i);
        points.insert(points.end(), {{x, 0, 0}, {x + 1, 0, 0}, {x, 1, 0}});
        triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
    }
    TriMesh const mesh = make_mesh(points, triangles);
    Listener listener;
    RepairResult const result = veld::repair(mesh, by(GetParam()), listener.context);
    EXPECT_EQ(corners_of(result.mesh), corners_of(mesh));
    EXPECT_EQ(result.new_faces, 0U);
    EXPECT_EQ(result.after.holes, 10U);
    ASSERT_EQ(listener.warnings.size(), 1U);
    EXPECT_THAT(listener.warnings[0].text, HasSubstr("would lie back to back"));
}

TEST_P(RepairStep, ProgressGrowsToAllAndACancelLeavesNothingBehind)
{
    TriMesh const mesh = torn(sphere(4), 2, 0.1);
    auto const before = fingerprint(mesh);
    std::vector<double> fractions;
    veld::Context context;
    context.progress = [&](veld::Progress const& progress)
    { fractions.push_back(progress.fraction); };
    veld::repair(mesh, by(GetParam()), context);
    EXPECT_EQ(fractions.front(), 0.0);
    EXPECT_EQ(fractions.back(), 1.0);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    std::set<double> const different(fractions.begin(), fractions.end());
    for (double const at :
         {0.0, *std::next(different.begin(), static_cast<long>(different.size() / 2))})
    {
        veld::Context cancelled;
        cancelled.progress = [&](veld::Progress const& progress)
        {
            if (progress.fraction >= at)
            {
                cancelled.cancel.cancel();
            }
        };
        EXPECT_THROW(veld::repair(mesh, by(GetParam()), cancelled), OrvaneAlgorithm::Cancelled);
    }
    EXPECT_EQ(fingerprint(mesh), before);
}

TEST_P(RepairStep, NormalsAndColoursStayWhereNoFaceIsNew)
{
    TriMesh mesh = sheets_apart(1.0F);
    mesh.request_vertex_normals();
    mesh.request_vertex_colors();
    for (auto const vertex : mesh.vertices())
    {
        mesh.set_normal(vertex, Vector3f(0.6F, 0, 0.8F));
        mesh.set_color(vertex, Vector3f(0.25F, 0.5F, static_cast<float>(vertex.idx() % 2)));
    }
    RepairResult const result = repaired(mesh, by(GetParam()));
    int unchanged = 0;
    for (auto const vertex : mesh.vertices())
    {
        EXPECT_EQ(result.mesh.color(vertex), mesh.color(vertex));
        unchanged += result.mesh.normal(vertex) == mesh.normal(vertex) ? 1 : 0;
    }
    EXPECT_GT(unchanged, 100);
    EXPECT_LT(unchanged, 162);
    EXPECT_FALSE(repaired(sheets_apart(1.0F), by(GetParam())).mesh.has_vertex_normals());
}

// ------------------------------------------------------------------------------------------ ball

TEST(RepairByBall, LengthsAreMeasuredAndReported)
{
    RepairResult const result = repaired(sheets_apart(1.0F));
    EXPECT_DOUBLE_EQ(result.settings.spacing, 1.0);
    EXPECT_EQ(result.settings.radii, veld::repair_radii(RepairMethod::BALL, 1.0, false));
    EXPECT_DOUBLE_EQ(result.settings.ear_perimeter.value(), 25.0);
    std::size_t sum = 0;
    for (auto const& pass : result.passes)
    {
        sum += pass.new_faces;
    }
    EXPECT_GE(sum, result.new_faces);
}

TEST(RepairByBall, GapIsClosedUpToTwiceTheRadiusAndNotBeyond)
{
    RepairSettings settings;
    settings.radii = {2.0};
    settings.ear_perimeter = 0.0;
    EXPECT_EQ(repaired(sheets_apart(3.5F), settings).after.components, 1U);
    EXPECT_EQ(repaired(sheets_apart(4.5F), settings).after.components, 2U);
}

TEST(RepairByBall, BorderFarFromAllOthersIsToldTheReach)
{
    RepairSettings settings;
    settings.radii = {1.0};
    settings.ear_perimeter = 0.0;
    Listener listener;
    veld::repair(sheets_apart(4.5F), settings, listener.context);
    ASSERT_EQ(listener.warnings.size(), 1U);
    EXPECT_EQ(listener.warnings[0].text, "nothing is closed: there is no other border within 2 mm");
}

TEST(RepairByBall, LoosePointsInTheGapAreTiedIn)
{
    TriMesh mesh = sheets_apart(2.0F);
    for (int i = 0; i < 9; ++i)
    {
        mesh.add_vertex(Vector3f(9.0F, static_cast<float>(i), 0.0F));
    }
    RepairResult const result = repaired(mesh);
    EXPECT_EQ(result.before.isolated_vertices, 9U);
    EXPECT_EQ(result.after.isolated_vertices, 0U);
    EXPECT_EQ(result.after.components, 1U);
    EXPECT_EQ(result.after.holes, 1U);
}

TEST(RepairByBall, FacesThatTurnAwayStayOutAndTheWarningSaysWhy)
{
    // The second sheet stands upright beside the first.
    TriMesh const corner =
        two_sheets([](Vector3f const& p) { return Vector3f(9.0F, p.y(), p.x() + 0.5F); }, false);
    RepairSettings settings;
    settings.normal_angle = 20.0;
    Listener listener;
    RepairResult const result = veld::repair(corner, settings, listener.context);
    EXPECT_EQ(result.new_faces, 0U);
    ASSERT_EQ(listener.warnings.size(), 1U);
    EXPECT_THAT(listener.warnings[0].text, HasSubstr("turned more than 20 degrees"));
}

TEST(RepairByBall, WithoutTheCareForFansVerticesMayBeNonManifold)
{
    TriMesh const mesh = rough_sphere(1);
    RepairSettings settings;
    settings.ear_perimeter = 0.0;
    settings.manifold = false;
    RepairResult const result = repaired(mesh, settings);
    EXPECT_GT(result.after.non_manifold_vertices, 0U);
    EXPECT_EQ(result.dropped_faces, 0U);
    EXPECT_EQ(result.lost_faces, 0U);
}

TEST(RepairByBall, RefusedFacesAreCountedAndTheirSurroundingsWritten)
{
    TempDir const dir;
    for (unsigned seed = 0; seed < 20; ++seed)
    {
        RepairSettings settings;
        settings.refused_faces = dir.path();
        RepairResult const result = repaired(rough_sphere(seed), settings);
        if (result.refused_faces > 0)
        {
            EXPECT_THAT(files_in(dir.path()), testing::Each(testing::EndsWith(".obj")));
            EXPECT_FALSE(files_in(dir.path()).empty());
            return;
        }
        EXPECT_TRUE(files_in(dir.path()).empty());
    }
    FAIL() << "none of the meshes refused a face";
}

// ----------------------------------------------------------------------------------- from points

TEST(RepairOfPoints, SphereGetsItsSurfaceFromNormalsAlone)
{
    TriMesh const cloud = cloud_of(sphere(4));
    RepairResult const result = repaired(cloud);
    EXPECT_EQ(result.after.components, 1U);
    EXPECT_EQ(result.after.holes, 0U);
    EXPECT_EQ(result.after.non_manifold_vertices, 0U);
    EXPECT_EQ(result.mesh.n_faces(), sphere(4).n_faces());
    for (auto const& t : corners_of(result.mesh))
    {
        EXPECT_GT(normal_of(result.mesh, t).dot(result.mesh.normal(vh(t[0]))), 0.5F);
    }
    for (auto const vertex : cloud.vertices())
    {
        EXPECT_EQ(result.mesh.point(vertex), cloud.point(vertex));
        EXPECT_EQ(result.mesh.normal(vertex), cloud.normal(vertex));
    }
}

TEST(RepairOfPoints, ThreePointsGiveOneFaceOnTheSideOfTheirNormals)
{
    for (float const side : {1.0F, -1.0F})
    {
        TriMesh cloud;
        cloud.request_vertex_normals();
        for (Vector3f const& point : {Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 1, 0)})
        {
            cloud.set_normal(cloud.add_vertex(point), Vector3f(0, 0, side));
        }
        RepairResult const result = repaired(cloud);
        ASSERT_EQ(result.mesh.n_faces(), 1U);
        EXPECT_EQ(normal_of(result.mesh, corners_of(result.mesh)[0]), Vector3f(0, 0, side));
    }
}

TEST(RepairOfPoints, PiecesFarFromEachOtherGetOneSurfaceEach)
{
    TriMesh const first = cloud_of(sphere(3));
    TriMesh cloud = first;
    for (auto const vertex : first.vertices())
    {
        Vector3f const normal = cloud.normal(vertex);
        cloud.set_normal(cloud.add_vertex(cloud.point(vertex) + Vector3f(5, 0, 0)), normal);
    }
    RepairResult const result = repaired(cloud);
    EXPECT_EQ(result.after.components, 2U);
    EXPECT_EQ(result.after.holes, 0U);
}

TEST(RepairOfPoints, PlaceThatIsThereTwiceGetsOneVertexOfTheSurface)
{
    TriMesh const once = cloud_of(sphere(4));
    TriMesh twice;
    twice.request_vertex_normals();
    for (auto const vertex : once.vertices())
    {
        // The first of each two has no normal.
        twice.set_normal(twice.add_vertex(once.point(vertex)), Vector3f::Zero());
        twice.set_normal(twice.add_vertex(once.point(vertex)), once.normal(vertex));
    }
    Listener listener;
    RepairResult const result = veld::repair(twice, {}, listener.context);
    RepairResult const expected = repaired(once);
    EXPECT_DOUBLE_EQ(result.settings.spacing, expected.settings.spacing);
    auto triangles = corners_of(expected.mesh);
    for (auto& t : triangles)
    {
        t = {2 * t[0] + 1, 2 * t[1] + 1, 2 * t[2] + 1};
    }
    EXPECT_EQ(corners_of(result.mesh), triangles);
    EXPECT_EQ(result.after.holes, 0U);
    EXPECT_EQ(points_of_mesh(result.mesh), points_of_mesh(twice));
    for (auto const vertex : twice.vertices())
    {
        EXPECT_EQ(result.mesh.normal(vertex), twice.normal(vertex));
    }
    ASSERT_EQ(listener.warnings.size(), 1U);
    EXPECT_EQ(listener.warnings[0].code, veld::WarningCode::POINTS_REPEATED);
    EXPECT_EQ(listener.warnings[0].text, std::to_string(once.n_vertices()) +
                                             " points lie where another one does, and get no face");
}

TEST(RepairOfPoints, ManyPointsWithoutAFaceAreAWarning)
{
    TriMesh const sheet = cloud_of(grid(9, 9));
    // Each point farther from the others than the largest ball reaches.
    auto const with_specks = [&](int specks)
    {
        TriMesh cloud = sheet;
        for (int i = 0; i < specks; ++i)
        {
            auto const x = 100.0F * static_cast<float>(i + 1);
            cloud.set_normal(cloud.add_vertex(Vector3f(x, 0, 0)), Vector3f(0, 0, 1));
        }
        return cloud;
    };
    Listener few;
    veld::repair(with_specks(11), {}, few.context);
    EXPECT_THAT(few.warnings, testing::IsEmpty());
    Listener many;
    veld::repair(with_specks(12), {}, many.context);
    ASSERT_EQ(many.warnings.size(), 1U);
    EXPECT_EQ(many.warnings[0].code, veld::WarningCode::POINTS_LEFT);
    EXPECT_THAT(many.warnings[0].text, HasSubstr("12 of 112 points have no face"));
}

TEST(RepairOfPoints, LengthOfTheNormalsDoesNotMatter)
{
    TriMesh cloud = cloud_of(sphere(3));
    auto const expected = corners_of(repaired(cloud).mesh);
    for (float const length : {1e-30F, 1e-6F, 1e30F})
    {
        TriMesh other = cloud;
        for (auto const vertex : cloud.vertices())
        {
            other.set_normal(vertex, cloud.normal(vertex) * length);
        }
        EXPECT_EQ(corners_of(repaired(other).mesh).size(), expected.size()) << length;
    }
}

TEST(RepairOfPoints, PassesCountTheTrianglesFromWhichTheBallStarts)
{
    RepairResult const result = repaired(cloud_of(sphere(3)));
    EXPECT_EQ(result.dropped_faces, 0U);
    std::size_t sum = 0;
    for (auto const& pass : result.passes)
    {
        sum += pass.new_faces;
    }
    EXPECT_EQ(sum, result.new_faces);
}

TEST(RepairOfPoints, PointsWithoutNormalsAreAnErrorThatTellsWhatToDo)
{
    TriMesh const surface = sphere(2);
    TriMesh cloud;
    for (auto const vertex : surface.vertices())
    {
        cloud.add_vertex(surface.point(vertex));
    }
    EXPECT_THAT(reason_of([&] { repaired(cloud); }), HasSubstr("'veld normals' estimates them"));
    cloud.request_vertex_normals();
    for (auto const vertex : cloud.vertices())
    {
        cloud.set_normal(vertex, Vector3f::Zero());
    }
    EXPECT_THAT(reason_of([&] { repaired(cloud); }), HasSubstr("'veld normals' estimates them"));
}

/// The setting that an error names.
std::string setting_of(std::function<void()> const& work)
{
    try
    {
        work();
    }
    catch (veld::Error const& error)
    {
        return error.setting();
    }
    return "no error";
}

TEST(RepairOfPoints, NoFaceIsAnErrorWithTheTrueReason)
{
    TriMesh const cloud = cloud_of(sphere(3));
    RepairSettings settings;
    settings.radii = {1e-3};
    EXPECT_EQ(setting_of([&] { repaired(cloud, settings); }), "radii");
    EXPECT_THAT(reason_of([&] { repaired(cloud, settings); }),
                HasSubstr("the points give no face: there are no three points within 0.002 mm"));
    TriMesh turned = cloud;
    std::mt19937 random(1);
    for (auto const vertex : turned.vertices())
    {
        turned.set_normal(vertex, Vector3f::Unit(static_cast<int>(random() % 3)) *
                                      (random() % 2 == 0 ? 1.0F : -1.0F));
    }
    settings.radii.clear();
    settings.normal_angle = 1.0;
    EXPECT_EQ(setting_of([&] { repaired(turned, settings); }), "normal_angle");
}

TEST(RepairOfPoints, ProjectionAndNewNormalsNeedFaces)
{
    TriMesh const cloud = cloud_of(sphere(2));
    EXPECT_EQ(setting_of([&] { repaired(cloud, by(RepairMethod::PROJECT)); }), "method");
    RepairSettings settings;
    settings.renew_normals = true;
    EXPECT_EQ(setting_of([&] { repaired(cloud, settings); }), "renew_normals");
}

// ---------------------------------------------------------------------------------------- checks

TEST(RepairInput, WrongNumbersAreRefusedByName)
{
    TriMesh const mesh = sheets_apart(1.0F);
    auto const refusal = [&](std::function<void(RepairSettings&)> const& change)
    {
        RepairSettings settings;
        change(settings);
        return setting_of([&] { repaired(mesh, settings); });
    };
    EXPECT_EQ(refusal([](RepairSettings& s) { s.spacing = -1.0; }), "spacing");
    EXPECT_EQ(refusal([](RepairSettings& s) { s.spacing = std::nan(""); }), "spacing");
    EXPECT_EQ(refusal([](RepairSettings& s) { s.radii = {1.0, 0.0}; }), "radii");
    EXPECT_EQ(refusal([](RepairSettings& s) { s.ear_perimeter = -1.0; }), "ear_perimeter");
    EXPECT_EQ(refusal([](RepairSettings& s) { s.normal_angle = 181.0; }), "normal_angle");
}

TEST(RepairInput, TooFewVerticesAndPointsInOnePlaceAreErrors)
{
    EXPECT_THAT(reason_of([] { repaired(TriMesh()); }),
                HasSubstr("a face takes three vertices, and there are 0"));
    TriMesh single;
    single.add_vertex(Vector3f::Zero());
    EXPECT_THAT(reason_of([&] { repaired(single); }), HasSubstr("and there is 1"));
    TriMesh cloud;
    cloud.request_vertex_normals();
    for (int i = 0; i < 9; ++i)
    {
        cloud.set_normal(cloud.add_vertex(Vector3f(1, 2, 3)), Vector3f(0, 0, 1));
    }
    EXPECT_EQ(setting_of([&] { repaired(cloud); }), "spacing");
}

TEST(RepairInput, SettingsAndResultsHaveAJsonForm)
{
    auto const json = veld::to_json(repaired(sheets_apart(1.0F)));
    EXPECT_EQ(json["method"], "ball");
    EXPECT_EQ(json["before"]["components"], 2);
    EXPECT_EQ(json["after"]["components"], 1);
    EXPECT_EQ(json["spacing"], 1.0);
    EXPECT_EQ(json["passes"].size(), 8U); // seven balls and the ears
}

// ------------------------------------------------------------------------------------ real scans

using RepairRealData = RealData;

/// Some vertices of a scan, and faces between them.
TriMesh with_vertices(TriMesh const& scan, std::function<bool(OpenMesh::VertexHandle)> const& stays,
                      std::vector<Triangle> faces)
{
    std::vector<Vector3f> points;
    std::vector<int> number(scan.n_vertices(), -1);
    for (auto const vertex : scan.vertices())
    {
        if (stays(vertex))
        {
            number[static_cast<std::size_t>(vertex.idx())] = static_cast<int>(points.size());
            points.push_back(scan.point(vertex));
        }
    }
    for (auto& t : faces)
    {
        for (int& corner : t)
        {
            corner = number[static_cast<std::size_t>(corner)];
        }
    }
    return make_mesh(points, faces);
}

/// Pieces of a scan: bands of a width without faces cut it along all axes, and a part of their
/// vertices are loose points.
TriMesh cut_into_pieces(TriMesh const& scan, double distance, double width)
{
    std::mt19937 random(7);
    auto const is_cut = [&](int vertex)
    {
        Vector3f const p = scan.point(vh(vertex));
        for (int axis = 0; axis < 3; ++axis)
        {
            if (std::abs(std::remainder(static_cast<double>(p[axis]), distance)) < width / 2.0)
            {
                return true;
            }
        }
        return false;
    };
    std::vector<Triangle> kept;
    std::vector<char> stays(scan.n_vertices(), 0);
    for (auto const& t : corners_of(scan))
    {
        if (!is_cut(t[0]) && !is_cut(t[1]) && !is_cut(t[2]))
        {
            kept.push_back(t);
            for (int const corner : t)
            {
                stays[static_cast<std::size_t>(corner)] = 1;
            }
        }
    }
    return with_vertices(
        scan,
        [&](OpenMesh::VertexHandle vertex)
        {
            return stays[static_cast<std::size_t>(vertex.idx())] != 0 ||
                   (!scan.is_isolated(vertex) && random() % 10 == 0);
        },
        kept);
}

/// Largest distance from the middles of faces to the nearest of densely set points.
double farthest_from(TriMesh const& surface, TriMesh const& mesh, std::size_t first_face)
{
    std::vector<Vector3f> samples = points_of_mesh(surface);
    auto const middle = [](TriMesh const& m, std::array<int, 3> const& t)
    { return Vector3f((m.point(vh(t[0])) + m.point(vh(t[1])) + m.point(vh(t[2]))) / 3.0F); };
    for (auto const& t : corners_of(surface))
    {
        samples.push_back(middle(surface, t));
    }
    OrvaneAlgorithm::KdTree3f tree;
    tree.build_kdtree(samples);
    double farthest = 0.0;
    auto const faces = corners_of(mesh);
    for (std::size_t i = first_face; i < faces.size(); ++i)
    {
        int nearest = -1;
        float square = 0.0F;
        EXPECT_TRUE(tree.nearest_search(middle(mesh, faces[i]), nearest, square));
        farthest = std::max(farthest, std::sqrt(static_cast<double>(square)));
    }
    return farthest;
}

TEST_F(RepairRealData, GapsWithinReachAreClosedOnTheSurfaceThatWasCut)
{
    veld::Context context;
    TriMesh const read = veld::read_mesh(real_data("meshes_holes/bun_zipper.ply"), context).mesh;
    // Without the holes of its own, in which no face is near the surface.
    veld::FillSettings all;
    all.method = veld::FillMethod::WHOLE;
    all.max_perimeter = 0.0;
    TriMesh scan = veld::fill(read, all, context).mesh;
    for (auto const vertex : scan.vertices())
    {
        scan.set_point(vertex, scan.point(vertex) * 1024.0F);
    }
    double const spacing = 1.4;
    for (double const gap : {2.0, 4.0, 6.0}) // in spacings; the largest ball reaches across eight
    {
        TriMesh const pieces = cut_into_pieces(scan, 40.0, gap * spacing);
        RepairSettings settings;
        settings.manifold = false; // so that old faces keep their numbers
        RepairResult const loose = repaired(pieces, settings);
        // A face across a gap in a bent place lies beside the surface, but next to it; a wall is
        // many times as far away.
        EXPECT_LT(farthest_from(scan, loose.mesh, pieces.n_faces()), 2.0 * spacing) << gap;
        RepairResult const result = repaired(pieces);
        EXPECT_GT(result.before.components, 20U);
        EXPECT_EQ(result.after.components, 1U) << gap;
        // With the faces that hung into it, the widest gap is at the end of the ball's reach.
        EXPECT_LT(result.after.boundary_edges, result.before.boundary_edges / (gap > 4.0 ? 5 : 10))
            << gap;
        EXPECT_EQ(result.after.non_manifold_vertices, 0U) << gap;
        EXPECT_LT(result.after.isolated_vertices, 1 + result.before.isolated_vertices / 100) << gap;
        EXPECT_EQ(points_of_mesh(result.mesh), points_of_mesh(pieces)) << gap;
    }
}

TEST_F(RepairRealData, HardlyABorderIsLeftOfATenthOfTheFaces)
{
    veld::Context context;
    TriMesh const scan = veld::read_mesh(real_data("meshes_holes/bun_zipper.ply"), context).mesh;
    // Without what was loose before, inside the surface.
    TriMesh const surface = with_vertices(
        scan, [&](OpenMesh::VertexHandle vertex) { return !scan.is_isolated(vertex); },
        corners_of(scan));
    TriMesh const holed = torn(surface, 1, 0.1);
    RepairResult const result = repaired(holed);
    EXPECT_GT(result.before.boundary_edges, 15000U);
    EXPECT_LT(result.after.boundary_edges, 100U);
    EXPECT_EQ(result.after.non_manifold_vertices, 0U);
    EXPECT_EQ(result.after.components, 1U);
    EXPECT_EQ(points_of_mesh(result.mesh), points_of_mesh(holed));
}

TEST_F(RepairRealData, PointsOfAScanBecomeOneSurface)
{
    veld::Context context;
    TriMesh const scan = veld::read_mesh(real_data("meshes_holes/bun_zipper.ply"), context).mesh;
    RepairResult const result = repaired(cloud_of(scan));
    EXPECT_EQ(result.after.components, 1U);
    EXPECT_EQ(result.after.non_manifold_vertices, 0U);
    EXPECT_LT(result.after.holes, 20U);
    EXPECT_LT(result.after.boundary_edges, 200U);
}

TEST(RepairSpacing, IsThatOfTheEdgesThatHaveALength)
{
    auto mesh = grid_without(4, 4, {});
    for (auto const vertex : mesh.vertices())
    {
        if (mesh.point(vertex).x() == 0.0F || mesh.point(vertex).y() == 0.0F)
        {
            mesh.point(vertex).z() = std::nanf("");
        }
    }
    EXPECT_EQ(veld::measure_spacing(mesh), 1.0);
}

} // namespace
