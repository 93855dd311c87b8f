#include "algorithmVeld/HoleFilling/HoleSmooth.h"

#include "algorithmVeld/common/RunScope.h"
#include "tests/HoleFilling/dense_smoothing.h"
#include "tests/HoleFilling/plain_smoothing.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/special_floats.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace
{

using namespace OrvaneAlgorithm;
using OpenMesh::VertexHandle;
using veld_test::LogCapture;
using veld_test::NOT_A_NUMBER;
using veld_test::vh;

using Component = HoleSmooth::Component;
using Continuity = HoleSmooth::Continuity;
using Setting = std::tuple<Component, Continuity>;
using Indices = std::vector<int>;

Component const COMPONENTS[] = {HoleSmooth::Tangential, HoleSmooth::Normal_Dir,
                                HoleSmooth::Tangential_and_Normal, HoleSmooth::Scale_Dependent};
Continuity const CONTINUITIES[] = {HoleSmooth::C0, HoleSmooth::C1};
char const* const COMPONENT_NAMES[] = {"Tangential", "Normal_Dir", "Tangential_and_Normal",
                                       "Scale_Dependent"};
char const* const CONTINUITY_NAMES[] = {"C0", "C1", "C2"};

/// A smoother whose inner state a test may look at.
class OpenSmooth : public HoleSmooth
{
public:
    using HoleSmooth::component;
    using HoleSmooth::compute_new_positions_C0;
    using HoleSmooth::compute_new_positions_C1;
    using HoleSmooth::continuity;
    using HoleSmooth::HoleSmooth;
    using HoleSmooth::is_active;
    using HoleSmooth::new_position;
    using HoleSmooth::orig_normal;
    using HoleSmooth::orig_position;
    using HoleSmooth::set_active_vertices;
    using HoleSmooth::set_new_position;
};

OpenSmooth smoother_of(TriMesh mesh, Indices const& active)
{
    OpenMesh::VPropHandleT<bool> flag;
    mesh.add_property(flag);
    for (auto const v : mesh.all_vertices())
    {
        mesh.property(flag, v) = false;
    }
    for (int const i : active)
    {
        mesh.property(flag, vh(i)) = true;
    }
    return OpenSmooth(mesh, flag);
}

/// The mesh with the positions that the smoother has reached.
TriMesh smoothed(HoleSmooth const& smoother, TriMesh mesh)
{
    EXPECT_TRUE(smoother.get_iterative_smoothed_mesh(mesh));
    return mesh;
}

TriMesh smooth(TriMesh const& mesh, Indices const& active, Component component,
               Continuity continuity, unsigned int iterations)
{
    auto smoother = smoother_of(mesh, active);
    smoother.initialize(component, continuity);
    EXPECT_EQ(smoother.smooth(iterations), RET_SUCCESS);
    return smoothed(smoother, mesh);
}

/// Moves every vertex a little, each by another amount.
TriMesh jittered(TriMesh mesh, float amount, unsigned int seed = 1, bool keep_z = false)
{
    std::mt19937 random(seed);
    auto const next = [&]
    { return amount * (static_cast<float>(random() % 2001U) / 1000.0F - 1.0F); };
    for (auto const v : mesh.vertices())
    {
        Vector3f const move(next(), next(), keep_z ? 0.0F : next());
        mesh.set_point(v, mesh.point(v) + move);
    }
    return mesh;
}

TriMesh bumpy_sphere()
{
    return jittered(veld_test::sphere(2), 0.04F);
}

/// An open surface with a hole, and a vertex that no face uses.
TriMesh bumpy_plane()
{
    TriMesh mesh = veld_test::grid_with_hole(2);
    for (auto const v : mesh.vertices())
    {
        // Oblique cells: the diagonals of square ones would weigh nothing by their cotangents.
        Vector3f const p = mesh.point(v);
        mesh.set_point(v, {p.x() + 0.4F * p.y(), p.y(), 0.1F * p.x() * p.x()});
    }
    mesh.add_vertex({3.0F, -2.0F, 5.0F});
    return jittered(mesh, 0.08F);
}

Indices all_of(TriMesh const& mesh)
{
    Indices all;
    for (auto const v : mesh.all_vertices())
    {
        all.push_back(v.idx());
    }
    return all;
}

/// About two thirds of the vertices, on borders too.
Indices many_of(TriMesh const& mesh)
{
    Indices many;
    for (auto const v : mesh.all_vertices())
    {
        if (v.idx() * 7 % 3 != 0)
        {
            many.push_back(v.idx());
        }
    }
    return many;
}

void expect_same_bits(TriMesh const& a, TriMesh const& b)
{
    EXPECT_EQ(veld_test::fingerprint(a), veld_test::fingerprint(b));
}

void expect_near(TriMesh const& a, TriMesh const& b, float distance)
{
    ASSERT_EQ(a.n_vertices(), b.n_vertices());
    for (auto const v : a.all_vertices())
    {
        EXPECT_LT((a.point(v) - b.point(v)).norm(), distance) << v.idx();
    }
}

class EverySetting : public testing::TestWithParam<Setting>
{
protected:
    Component component() const { return std::get<0>(GetParam()); }
    Continuity continuity() const { return std::get<1>(GetParam()); }
};

} // namespace

TEST_P(EverySetting, IsWhatDenseMatricesGive)
{
    for (TriMesh const& mesh : {bumpy_sphere(), bumpy_plane(), veld_test::open_cone(5)})
    {
        for (float const tolerance : {-1.0F, 0.02F})
        {
            auto smoother = smoother_of(mesh, many_of(mesh));
            smoother.initialize(component(), continuity());
            smoother.set_absolute_local_error(tolerance);
            smoother.smooth(4);
            veld_test::DenseSmoothing dense(mesh, component(), continuity());
            for (int i = 0; i < 4; ++i)
            {
                dense.step(many_of(mesh), static_cast<double>(tolerance));
            }
            TriMesh const result = smoothed(smoother, mesh);
            for (auto const v : result.vertices())
            {
                Eigen::RowVector3d const point = result.point(v).cast<double>();
                EXPECT_LT((point - dense.points().row(v.idx())).norm(), 2e-5) << v.idx();
            }
        }
    }
}

// Only what the active vertices depend on is computed anew in each step. Nobody can tell.
TEST_P(EverySetting, IsBitForBitThePlainSmoothingOfTheWholeMesh)
{
    std::mt19937 random(7);
    for (unsigned int seed = 0; seed < 40; ++seed)
    {
        TriMesh mesh =
            jittered(veld_test::grid_without(6, 5, {{1, 1}, {2, 2}, {4, 3}}), 0.3F, seed);
        mesh.add_vertex({1.0F, 2.0F, 3.0F});
        mesh.request_vertex_status();
        mesh.request_edge_status();
        mesh.request_face_status();
        mesh.delete_face(OpenMesh::FaceHandle(static_cast<int>(random() % mesh.n_faces())), true);
        mesh.delete_vertex(vh(static_cast<int>(random() % mesh.n_vertices())), false);
        Indices active;
        for (int const v : all_of(mesh))
        {
            if (random() % (1 + seed % 9) == 0)
            {
                active.push_back(v);
            }
        }
        float const tolerance = seed % 2 == 0 ? -1.0F : 0.01F;
        auto smoother = smoother_of(mesh, active);
        smoother.initialize(component(), continuity());
        smoother.set_absolute_local_error(tolerance);
        smoother.smooth(2);
        smoother.smooth(3);
        veld_test::plain::Smoothing plain;
        plain.mesh = mesh;
        plain.active.assign(mesh.n_vertices(), false);
        for (int const v : active)
        {
            plain.active[static_cast<std::size_t>(v)] = true;
        }
        plain.component = component();
        plain.continuity = continuity();
        plain.tolerance = tolerance;
        plain.initialize();
        for (int i = 0; i < 5; ++i)
        {
            plain.step();
        }
        expect_same_bits(smoothed(smoother, mesh), plain.mesh);
    }
}

TEST_P(EverySetting, IsTheSameForAnyNumberOfThreads)
{
    TriMesh const mesh = jittered(veld_test::grid(90, 60), 0.3F);
    TriMesh const alone = [&]
    {
        veld_test::Threads const threads(1);
        return smooth(mesh, many_of(mesh), component(), continuity(), 5);
    }();
    for (int const n : {2, 8})
    {
        veld_test::Threads const threads(n);
        expect_same_bits(smooth(mesh, many_of(mesh), component(), continuity(), 5), alone);
    }
}

TEST_P(EverySetting, TurnsAndGrowsWithTheMesh)
{
    // By powers of two nothing is rounded otherwise, but for lengths near the smallest.
    TriMesh const mesh = bumpy_sphere();
    TriMesh large = mesh;
    TriMesh turned = mesh;
    Eigen::Matrix3f const turn =
        Eigen::AngleAxisf(0.7F, Vector3f(1, 2, -1).normalized()).toRotationMatrix();
    for (auto const v : mesh.vertices())
    {
        large.set_point(v, 4.0F * mesh.point(v));
        turned.set_point(v, turn * mesh.point(v));
    }
    TriMesh expected = smooth(mesh, many_of(mesh), component(), continuity(), 3);
    TriMesh expected_turned = expected;
    for (auto const v : mesh.vertices())
    {
        expected_turned.set_point(v, turn * expected.point(v));
        expected.set_point(v, 4.0F * expected.point(v));
    }
    expect_same_bits(smooth(large, many_of(mesh), component(), continuity(), 3), expected);
    expect_near(smooth(turned, many_of(mesh), component(), continuity(), 3), expected_turned,
                2e-5F);
}

TEST_P(EverySetting, NoStepMovesNothing)
{
    TriMesh const mesh = bumpy_sphere();
    expect_same_bits(smooth(mesh, all_of(mesh), component(), continuity(), 0), mesh);
}

TEST_P(EverySetting, StepsOfSeveralCallsAreThoseOfOne)
{
    TriMesh const mesh = bumpy_sphere();
    auto smoother = smoother_of(mesh, many_of(mesh));
    smoother.initialize(component(), continuity());
    for (unsigned int const n : {1U, 0U, 3U, 2U})
    {
        smoother.smooth(n);
    }
    expect_same_bits(smoothed(smoother, mesh),
                     smooth(mesh, many_of(mesh), component(), continuity(), 6));
}

TEST_P(EverySetting, OthersThanActiveVerticesStayBitForBit)
{
    TriMesh const mesh = bumpy_sphere();
    auto const result = smooth(mesh, {5, 17, 40}, component(), continuity(), 3);
    for (auto const v : mesh.vertices())
    {
        bool const moves = v.idx() == 5 || v.idx() == 17 || v.idx() == 40;
        EXPECT_EQ(result.point(v) != mesh.point(v), moves) << v.idx();
    }
}

TEST_P(EverySetting, OthersFeedTheirPositionsIntoTheMeansOfTheirNeighbours)
{
    TriMesh mesh = veld_test::open_cone(6);
    auto const before = smooth(mesh, {0}, component(), continuity(), 1);
    mesh.set_point(vh(3), mesh.point(vh(3)) + Vector3f(0.25F, 0.5F, -0.25F));
    auto const after = smooth(mesh, {0}, component(), continuity(), 1);
    EXPECT_NE(before.point(vh(0)), after.point(vh(0)));
}

INSTANTIATE_TEST_SUITE_P(HoleSmooth, EverySetting,
                         testing::Combine(testing::ValuesIn(COMPONENTS),
                                          testing::ValuesIn(CONTINUITIES)),
                         [](auto const& row)
                         {
                             return std::string(COMPONENT_NAMES[std::get<0>(row.param)]) + "_" +
                                    CONTINUITY_NAMES[std::get<1>(row.param)];
                         });

TEST(HoleSmooth, LogsItsParametersBeforeTheSteps)
{
    TriMesh const mesh = bumpy_sphere();
    auto smoother = smoother_of(mesh, {1});
    for (int c = 0; c < 4; ++c)
    {
        for (int k = 0; k < 3; ++k)
        {
            smoother.initialize(static_cast<Component>(c), static_cast<Continuity>(k));
            LogCapture const log;
            smoother.smooth(0);
            EXPECT_EQ(log.text(), std::string("smooth() ..\n"
                                              "===============< Smooth Param >===============\n"
                                              "  iterations:    0\n"
                                              "  Component:     ") +
                                      COMPONENT_NAMES[c] +
                                      "\n  Continuity:    " + CONTINUITY_NAMES[k] +
                                      "\n===============</Smooth Param >===============\n");
        }
    }
    LogCapture const log;
    smoother.smooth(12);
    EXPECT_EQ(log.count("  iterations:    12\n"), 1);
}

TEST(HoleSmooth, LogsNothingWhileTheSwitchIsOff)
{
    TriMesh mesh = bumpy_sphere();
    TriMesh other = veld_test::lone_triangle();
    LogCapture const log(false);
    auto smoother = smoother_of(mesh, {1});
    smoother.initialize(HoleSmooth::Tangential, HoleSmooth::C1);
    smoother.smooth(1);
    smoother.get_iterative_smoothed_mesh(mesh);
    smoother.get_iterative_smoothed_mesh(other);
    EXPECT_EQ(log.text(), "");
}

// The mean over no neighbours is the origin, for the sum of the weights, 0, is not inverted. Hosts
// know it so.
TEST(HoleSmooth, AnIsolatedActiveVertexMovesTowardsTheOrigin)
{
    TriMesh mesh = veld_test::lone_triangle();
    mesh.add_vertex({8.0F, -4.0F, 16.0F});
    for (auto const component : COMPONENTS)
    {
        EXPECT_EQ(smooth(mesh, {3}, component, HoleSmooth::C0, 1).point(vh(3)),
                  Vector3f(4.0F, -2.0F, 8.0F));
        EXPECT_EQ(smooth(mesh, {3}, component, HoleSmooth::C0, 3).point(vh(3)),
                  Vector3f(1.0F, -0.5F, 2.0F));
        EXPECT_EQ(smooth(mesh, {3}, component, HoleSmooth::C1, 1).point(vh(3)),
                  Vector3f(6.0F, -3.0F, 12.0F));
    }
}

TEST(HoleSmooth, AStepOfC0GoesHalfWayToTheMean)
{
    TriMesh const mesh = veld_test::open_cone(4);
    auto const result = smooth(mesh, {0}, HoleSmooth::Tangential_and_Normal, HoleSmooth::C0, 1);
    EXPECT_LT((result.point(vh(0)) - Vector3f(0.0F, 0.0F, 0.5F)).norm(), 1e-6F);
}

// Each sees the others where they were before the step, whatever their order.
TEST(HoleSmooth, NeighboursMoveAtOnce)
{
    TriMesh const mesh = veld_test::make_mesh({{0, 0, 0}, {8, 0, 0}, {0, 8, 0}}, {{0, 1, 2}});
    auto const result =
        smooth(mesh, {0, 1, 2}, HoleSmooth::Tangential_and_Normal, HoleSmooth::C0, 1);
    EXPECT_EQ(result.point(vh(0)), Vector3f(2, 2, 0));
    EXPECT_EQ(result.point(vh(1)), Vector3f(4, 2, 0));
    EXPECT_EQ(result.point(vh(2)), Vector3f(2, 4, 0));
}

TEST(HoleSmooth, TangentialSmoothingOfAFlatPatchStaysInItsPlaneExactly)
{
    TriMesh mesh = veld_test::grid(12, 12);
    for (auto const v : mesh.vertices())
    {
        mesh.set_point(v, mesh.point(v) + Vector3f(0.0F, 0.0F, 0.3F));
    }
    mesh = jittered(mesh, 0.3F, 3, true);
    for (auto const continuity : CONTINUITIES)
    {
        auto const result = smooth(mesh, all_of(mesh), HoleSmooth::Tangential, continuity, 100);
        for (auto const v : result.vertices())
        {
            EXPECT_EQ(result.point(v).z(), 0.3F);
            EXPECT_NE(result.point(v), mesh.point(v));
        }
    }
}

TEST(HoleSmooth, TangentialSmoothingNeverLeavesThePlaneOfTheStart)
{
    TriMesh const mesh = bumpy_sphere();
    for (auto const continuity : CONTINUITIES)
    {
        auto smoother = smoother_of(mesh, all_of(mesh));
        smoother.initialize(HoleSmooth::Tangential, continuity);
        for (int i = 0; i < 3; ++i)
        {
            smoother.smooth(40);
            auto const result = smoothed(smoother, mesh);
            for (auto const v : mesh.vertices())
            {
                auto const way = result.point(v) - mesh.point(v);
                EXPECT_LT(std::abs(way.dot(smoother.orig_normal(v))), 1e-6F);
                EXPECT_GT(way.norm(), 1e-4F);
            }
        }
    }
}

// What is left of the way along the normal is rounding, and a limit of 0 would scale all of it
// away.
TEST(HoleSmooth, TangentialSmoothingDoesNotLookAtTheTolerance)
{
    TriMesh const mesh = bumpy_sphere();
    auto smoother = smoother_of(mesh, all_of(mesh));
    smoother.initialize(HoleSmooth::Tangential, HoleSmooth::C0);
    smoother.set_absolute_local_error(0.0F);
    smoother.smooth(5);
    expect_same_bits(smoothed(smoother, mesh),
                     smooth(mesh, all_of(mesh), HoleSmooth::Tangential, HoleSmooth::C0, 5));
}

TEST(HoleSmooth, WithoutToleranceAVertexThatMovesAlongItsNormalGoesBackToItsStart)
{
    TriMesh const mesh = bumpy_sphere();
    auto smoother = smoother_of(mesh, all_of(mesh));
    smoother.initialize(HoleSmooth::Tangential_and_Normal, HoleSmooth::C0);
    smoother.set_absolute_local_error(0.0F);
    smoother.smooth(3);
    expect_same_bits(smoothed(smoother, mesh), mesh);
}

TEST(HoleSmooth, WithoutToleranceAVertexMayMoveAlongItsPlane)
{
    TriMesh const mesh = jittered(veld_test::grid(6, 6), 0.3F, 3, true);
    auto smoother = smoother_of(mesh, many_of(mesh));
    smoother.initialize(HoleSmooth::Tangential_and_Normal, HoleSmooth::C0);
    smoother.set_absolute_local_error(0.0F);
    smoother.smooth(3);
    auto const result = smoothed(smoother, mesh);
    expect_same_bits(
        result, smooth(mesh, many_of(mesh), HoleSmooth::Tangential_and_Normal, HoleSmooth::C0, 3));
    EXPECT_NE(result.point(vh(1)), mesh.point(vh(1)));
}

// Hosts rely on the direction: what is too far along the normal is shortened as a whole.
TEST(HoleSmooth, TheToleranceShortensTheWholeWay)
{
    TriMesh const mesh = bumpy_sphere();
    auto smoother = smoother_of(mesh, {9});
    smoother.initialize(HoleSmooth::Tangential_and_Normal, HoleSmooth::C0);
    smoother.set_absolute_local_error(0.001F);
    smoother.smooth(1);
    Vector3f const way = smoothed(smoother, mesh).point(vh(9)) - mesh.point(vh(9));
    Vector3f const whole =
        smooth(mesh, {9}, HoleSmooth::Tangential_and_Normal, HoleSmooth::C0, 1).point(vh(9)) -
        mesh.point(vh(9));
    EXPECT_NEAR(std::abs(way.dot(smoother.orig_normal(vh(9)))), 0.001F, 1e-6F);
    EXPECT_LT(way.norm(), 0.5F * whole.norm());
    EXPECT_GT(way.normalized().dot(whole.normalized()), 0.999F);
}

TEST(HoleSmooth, TheToleranceIsMeasuredFromTheStartHoweverManyStepsAreTaken)
{
    TriMesh const mesh = bumpy_sphere();
    auto smoother = smoother_of(mesh, all_of(mesh));
    smoother.initialize(HoleSmooth::Scale_Dependent, HoleSmooth::C0);
    smoother.set_absolute_local_error(0.01F);
    smoother.smooth(10);
    smoother.smooth(20);
    auto const result = smoothed(smoother, mesh);
    for (auto const v : mesh.vertices())
    {
        auto const way = result.point(v) - smoother.orig_position(v);
        EXPECT_EQ(smoother.orig_position(v), mesh.point(v));
        EXPECT_LE(std::abs(way.dot(smoother.orig_normal(v))), 0.01F + 1e-6F);
    }
    // Begun anew, it is measured from there.
    smoother.initialize(HoleSmooth::Scale_Dependent, HoleSmooth::C0);
    EXPECT_EQ(smoother.orig_position(vh(4)), result.point(vh(4)));
    smoother.smooth(10);
    Vector3f const way = smoothed(smoother, mesh).point(vh(4)) - mesh.point(vh(4));
    EXPECT_GT(way.norm(), (result.point(vh(4)) - mesh.point(vh(4))).norm());
}

TEST(HoleSmooth, TheRelativeToleranceIsAFractionOfTheDiagonal)
{
    // The box is 2 x 3 x 6: its diagonal is 7.
    TriMesh const mesh =
        veld_test::make_mesh({{0, 0, 0}, {2, 0, 6}, {0, 3, 6}, {2, 3, 0}}, {{0, 1, 2}, {2, 1, 3}});
    auto relative = smoother_of(mesh, all_of(mesh));
    relative.initialize(HoleSmooth::Normal_Dir, HoleSmooth::C0);
    auto absolute = relative;
    auto unlimited = relative;
    relative.set_relative_local_error(0.0625F);
    absolute.set_absolute_local_error(0.4375F);
    unlimited.set_relative_local_error(0.0625F);
    unlimited.disable_local_error_check();
    for (auto* smoother : {&relative, &absolute, &unlimited})
    {
        smoother->smooth(2);
    }
    expect_same_bits(smoothed(relative, mesh), smoothed(absolute, mesh));
    EXPECT_NE(smoothed(unlimited, mesh).point(vh(0)), smoothed(absolute, mesh).point(vh(0)));
    expect_same_bits(smoothed(unlimited, mesh),
                     smooth(mesh, all_of(mesh), HoleSmooth::Normal_Dir, HoleSmooth::C0, 2));
}

// The directions in which neighbours weigh more change as the vertices come near each other.
TEST(HoleSmooth, WeightsAreThoseOfThePositionsBeforeEachStep)
{
    TriMesh const mesh = veld_test::make_mesh({{0, 0, 0}, {1, 0, 0}, {4, 0, 0}}, {{0, 1, 2}});
    auto smoother = smoother_of(mesh, {1});
    smoother.initialize(HoleSmooth::Scale_Dependent, HoleSmooth::C0);
    smoother.smooth(1);
    // Weights 1 and 1/3: the mean is (0 + 4/3) / (4/3) = 1, where the vertex is.
    EXPECT_NEAR(smoothed(smoother, mesh).point(vh(1)).x(), 1.0F, 1e-6F);
    auto uneven = smoother_of(mesh, {0});
    uneven.initialize(HoleSmooth::Scale_Dependent, HoleSmooth::C0);
    uneven.smooth(1);
    // Weights 1 and 1/4: the mean is (1 + 1) / (5/4) = 1.6, half of the way 0.8.
    EXPECT_NEAR(smoothed(uneven, mesh).point(vh(0)).x(), 0.8F, 1e-6F);
    uneven.smooth(1);
    // Lengths 0.2 and 3.2, weights 5 and 0.3125: the mean is 6.25 / 5.3125, half of the way 0.1882.
    EXPECT_NEAR(smoothed(uneven, mesh).point(vh(0)).x(), 0.8F + 0.188235F, 1e-5F);
}

// Nothing is computed for C2. What is taken are the new positions as they stand, and they stand
// where the vertices are.
TEST(HoleSmooth, C2LeavesAllVerticesWhereTheyAre)
{
    TriMesh const mesh = bumpy_sphere();
    for (auto const component : COMPONENTS)
    {
        expect_same_bits(smooth(mesh, all_of(mesh), component, HoleSmooth::C2, 3), mesh);
        auto smoother = smoother_of(mesh, many_of(mesh));
        smoother.initialize(component, HoleSmooth::C1);
        smoother.smooth(2);
        auto const before = smoothed(smoother, mesh);
        smoother.initialize(component, HoleSmooth::C2);
        smoother.smooth(2);
        expect_same_bits(smoothed(smoother, mesh), before);
    }
}

TEST(HoleSmooth, C2TakesNewPositionsThatADerivedClassSets)
{
    TriMesh const mesh = bumpy_sphere();
    auto smoother = smoother_of(mesh, {3, 4});
    smoother.initialize(HoleSmooth::Scale_Dependent, HoleSmooth::C2);
    smoother.set_new_position(vh(3), {1, 2, 3});
    smoother.set_new_position(vh(5), {1, 2, 3});
    smoother.smooth(1);
    EXPECT_EQ(smoothed(smoother, mesh).point(vh(3)), Vector3f(1, 2, 3));
    EXPECT_EQ(smoothed(smoother, mesh).point(vh(5)), mesh.point(vh(5)));
}

TEST(HoleSmooth, ADerivedClassSeesItsState)
{
    TriMesh mesh = veld_test::open_cone(6);
    auto smoother = smoother_of(mesh, {0, 2});
    EXPECT_EQ(smoother.component(), HoleSmooth::Tangential_and_Normal);
    smoother.initialize(HoleSmooth::Normal_Dir, HoleSmooth::C1);
    EXPECT_EQ(smoother.component(), HoleSmooth::Normal_Dir);
    EXPECT_EQ(smoother.continuity(), HoleSmooth::C1);
    EXPECT_TRUE(smoother.is_active(vh(0)));
    EXPECT_FALSE(smoother.is_active(vh(1)));
    EXPECT_EQ(smoother.orig_position(vh(0)), Vector3f(0, 0, 1));
    EXPECT_LT((smoother.orig_normal(vh(0)) - Vector3f::UnitZ()).norm(), 1e-6F);
    EXPECT_EQ(smoother.new_position(vh(0)), Vector3f(0, 0, 1));
    smoother.set_all_active();
    EXPECT_TRUE(smoother.is_active(vh(1)));
}

TEST(HoleSmooth, ADerivedClassCanChooseActiveVerticesByTheirStatus)
{
    TriMesh mesh = veld_test::grid(6, 6);
    mesh.request_vertex_status();
    mesh.status(vh(24)).set_feature(true);
    auto smoother = smoother_of(mesh, {0, 1});
    auto const active = [&]
    {
        Indices list;
        for (auto const v : mesh.vertices())
        {
            if (smoother.is_active(v))
            {
                list.push_back(v.idx());
            }
        }
        return list;
    };
    LogCapture const log;
    smoother.initialize(HoleSmooth::Tangential, HoleSmooth::C0);
    smoother.set_active_vertices();
    EXPECT_EQ(log.text(), "set_active_vertices() ..\n");
    EXPECT_EQ(active().size(), 25U);
    smoother.initialize(HoleSmooth::Tangential, HoleSmooth::C1);
    smoother.set_active_vertices();
    EXPECT_EQ(active(), (Indices{16, 17, 18, 23, 24, 25, 30, 31, 32}));
    smoother.initialize(HoleSmooth::Tangential, HoleSmooth::C2);
    smoother.set_active_vertices();
    EXPECT_EQ(active(), Indices{24});
    smoother.skip_features(true);
    smoother.set_active_vertices();
    EXPECT_EQ(active(), Indices());
}

TEST(HoleSmooth, ADerivedClassCanComputePositionsWithoutTakingThem)
{
    TriMesh const mesh = bumpy_sphere();
    for (auto const component : {HoleSmooth::Normal_Dir, HoleSmooth::Scale_Dependent})
    {
        auto smoother = smoother_of(mesh, {3});
        smoother.initialize(component, HoleSmooth::C0);
        smoother.set_all_active();
        smoother.compute_new_positions_C0();
        EXPECT_EQ(smoother.new_position(vh(8)),
                  smooth(mesh, all_of(mesh), component, HoleSmooth::C0, 1).point(vh(8)));
        smoother.compute_new_positions_C1();
        EXPECT_EQ(smoother.new_position(vh(8)),
                  smooth(mesh, all_of(mesh), component, HoleSmooth::C1, 1).point(vh(8)));
        expect_same_bits(smoothed(smoother, mesh), mesh);
    }
}

TEST(HoleSmooth, WorksOnACopyOfTheMesh)
{
    TriMesh mesh = bumpy_sphere();
    TriMesh const before = mesh;
    auto smoother = smoother_of(mesh, all_of(mesh));
    mesh.set_point(vh(0), {9, 9, 9});
    smoother.initialize(HoleSmooth::Tangential_and_Normal, HoleSmooth::C1);
    smoother.smooth(4);
    EXPECT_EQ(mesh.point(vh(0)), Vector3f(9, 9, 9));
    EXPECT_EQ(mesh.point(vh(1)), before.point(vh(1)));
    EXPECT_FALSE(mesh.has_vertex_status() || mesh.has_face_normals() || mesh.has_vertex_normals());
    expect_same_bits(
        smoothed(smoother, mesh),
        smooth(before, all_of(before), HoleSmooth::Tangential_and_Normal, HoleSmooth::C1, 4));
}

TEST(HoleSmooth, ACopyGoesOnAsItsSourceAndGoesItsOwnWay)
{
    TriMesh const mesh = bumpy_sphere();
    auto source = smoother_of(mesh, many_of(mesh));
    source.initialize(HoleSmooth::Scale_Dependent, HoleSmooth::C1);
    source.set_absolute_local_error(0.02F);
    source.smooth(2);
    OpenSmooth copy = source;
    OpenSmooth assigned;
    assigned = source;
    auto const before = smoothed(source, mesh);
    copy.smooth(3);
    expect_same_bits(smoothed(source, mesh), before);
    expect_same_bits(smoothed(assigned, mesh), before);
    source.smooth(3);
    assigned.smooth(3);
    expect_same_bits(smoothed(copy, mesh), smoothed(source, mesh));
    expect_same_bits(smoothed(assigned, mesh), smoothed(source, mesh));
    EXPECT_NE(smoothed(copy, mesh).point(vh(1)), before.point(vh(1)));
    copy.set_all_active();
    EXPECT_FALSE(source.is_active(vh(0)));
    EXPECT_TRUE(copy.is_active(vh(0)));
}

TEST(HoleSmooth, ACopyOutlivesItsSource)
{
    TriMesh const mesh = bumpy_sphere();
    OpenSmooth copy;
    {
        auto const source = smoother_of(mesh, all_of(mesh));
        copy = source;
    }
    copy.initialize(HoleSmooth::Tangential, HoleSmooth::C1);
    copy.smooth(3);
    expect_same_bits(smoothed(copy, mesh),
                     smooth(mesh, all_of(mesh), HoleSmooth::Tangential, HoleSmooth::C1, 3));
}

TEST(HoleSmooth, GivesBackOnlyToAMeshOfTheSameNumbers)
{
    TriMesh const mesh = bumpy_plane();
    auto smoother = smoother_of(mesh, all_of(mesh));
    smoother.initialize(HoleSmooth::Tangential, HoleSmooth::C1);
    smoother.smooth(1);
    LogCapture const log;
    TriMesh more_vertices = mesh;
    more_vertices.add_vertex({0, 0, 0});
    TriMesh const vertices_before = more_vertices;
    EXPECT_FALSE(smoother.get_iterative_smoothed_mesh(more_vertices));
    expect_same_bits(more_vertices, vertices_before);
    EXPECT_EQ(log.text(), "get_iterative_smoothed_mesh() ..\n  !!! different vertex number.\n");

    TriMesh more_faces = mesh;
    more_faces.add_face(vh(6), vh(7), vh(11));
    TriMesh const faces_before = more_faces;
    ASSERT_NE(more_faces.n_faces(), mesh.n_faces());
    EXPECT_FALSE(smoother.get_iterative_smoothed_mesh(more_faces));
    expect_same_bits(more_faces, faces_before);
    EXPECT_EQ(log.text(), "get_iterative_smoothed_mesh() ..\n  !!! different vertex number.\n"
                          "get_iterative_smoothed_mesh() ..\n  !!! different face number.\n");
}

TEST(HoleSmooth, TellsHowFarVerticesMoved)
{
    TriMesh mesh = veld_test::lone_triangle();
    mesh.add_vertex({0.0F, 0.0F, 8.0F});
    mesh.add_vertex({0.0F, 0.0F, 1e-8F});
    mesh.add_vertex({0.0F, 3.0F, 0.0F});
    auto smoother = smoother_of(mesh, {3, 4, 5});
    smoother.initialize(HoleSmooth::Tangential, HoleSmooth::C0);
    LogCapture const log;
    EXPECT_TRUE(smoother.get_iterative_smoothed_mesh(mesh));
    EXPECT_EQ(log.text(), "get_iterative_smoothed_mesh() ..\n  !!! no verts moved.\n");
    smoother.smooth(1);
    EXPECT_TRUE(smoother.get_iterative_smoothed_mesh(mesh));
    // By 4, 5e-9 and 1.5.
    EXPECT_EQ(log.count("  ### 2 points moved, ave dis = 2.750000\n"), 1);
    EXPECT_EQ(mesh.point(vh(3)), Vector3f(0.0F, 0.0F, 4.0F));
    EXPECT_EQ(mesh.point(vh(4)).z(), 0.5e-8F);
}

TEST(HoleSmooth, AVertexHasMovedIfItWentFurtherThanRounding)
{
    for (float const way : {0.95e-8F, 2e-8F})
    {
        TriMesh mesh = veld_test::lone_triangle();
        mesh.add_vertex({0.0F, 0.0F, 2.0F * way}); // goes half of the way to the origin
        auto smoother = smoother_of(mesh, {3});
        smoother.initialize(HoleSmooth::Tangential, HoleSmooth::C0);
        smoother.smooth(1);
        LogCapture const log;
        EXPECT_TRUE(smoother.get_iterative_smoothed_mesh(mesh));
        EXPECT_EQ(log.count("  ### 1 points moved, ave dis = 0.000000\n"), way > 1e-8F ? 1 : 0);
        EXPECT_EQ(log.count("  !!! no verts moved.\n"), way > 1e-8F ? 0 : 1);
    }
}

TEST(HoleSmooth, KeepsNormalsAndPropertiesOfTheTarget)
{
    TriMesh mesh = bumpy_sphere();
    mesh.request_vertex_normals();
    mesh.set_normal(vh(2), {3, 2, 1});
    OpenMesh::VPropHandleT<int> number;
    mesh.add_property(number);
    mesh.property(number, vh(2)) = 17;
    auto smoother = smoother_of(mesh, all_of(mesh));
    smoother.initialize(HoleSmooth::Tangential_and_Normal, HoleSmooth::C0);
    smoother.smooth(1);
    EXPECT_TRUE(smoother.get_iterative_smoothed_mesh(mesh));
    EXPECT_EQ(mesh.normal(vh(2)), Vector3f(3, 2, 1));
    EXPECT_EQ(mesh.property(number, vh(2)), 17);
}

TEST(HoleSmooth, EmptyMeshesDoNoHarm)
{
    OpenSmooth smoother;
    TriMesh mesh;
    for (auto const component : COMPONENTS)
    {
        smoother.initialize(component, HoleSmooth::C1);
        smoother.set_relative_local_error(0.1F);
        smoother.set_all_active();
        EXPECT_EQ(smoother.smooth(3), RET_SUCCESS);
        EXPECT_TRUE(smoother.get_iterative_smoothed_mesh(mesh));
        EXPECT_EQ(mesh.n_vertices(), 0U);
    }
}

TEST(HoleSmooth, WithoutAValidHandleNothingIsActive)
{
    TriMesh mesh = bumpy_sphere();
    OpenSmooth smoother(mesh, OpenMesh::VPropHandleT<bool>());
    smoother.initialize(HoleSmooth::Tangential_and_Normal, HoleSmooth::C0);
    smoother.smooth(4000000000U);
    expect_same_bits(smoothed(smoother, mesh), mesh);
    smoother.set_all_active();
    smoother.smooth(1);
    EXPECT_NE(smoothed(smoother, mesh).point(vh(0)), mesh.point(vh(0)));
}

TEST(HoleSmooth, WithoutInitializeAllWeighTheSame)
{
    TriMesh const mesh = veld_test::open_cone(4);
    auto smoother = smoother_of(mesh, {0});
    smoother.set_absolute_local_error(0.0F);
    smoother.smooth(1);
    EXPECT_LT((smoothed(smoother, mesh).point(vh(0)) - Vector3f(0.0F, 0.0F, 0.5F)).norm(), 1e-6F);
}

TEST(HoleSmooth, CoordinatesThatAreNoNumbersStayAmongTheirNeighbours)
{
    TriMesh mesh = bumpy_sphere();
    mesh.set_point(vh(0), Vector3f(NOT_A_NUMBER, 0.0F, std::numeric_limits<float>::infinity()));
    for (auto const component : COMPONENTS)
    {
        for (auto const continuity : CONTINUITIES)
        {
            auto smoother = smoother_of(mesh, all_of(mesh));
            smoother.initialize(component, continuity);
            smoother.set_relative_local_error(0.01F);
            EXPECT_EQ(smoother.smooth(1), RET_SUCCESS);
            auto const result = smoothed(smoother, mesh);
            int numbers = 0;
            for (auto const v : result.vertices())
            {
                numbers += result.point(v).allFinite() ? 1 : 0;
            }
            EXPECT_GT(numbers, 30);
            EXPECT_LT(numbers, static_cast<int>(mesh.n_vertices()));
            EXPECT_EQ(smoother.smooth(30), RET_SUCCESS);
        }
    }
}

// A length of 0 is not inverted, so the edge weighs nothing.
TEST(HoleSmooth, AnEdgeWithoutLengthWeighsNothingByItsLength)
{
    TriMesh mesh = veld_test::open_cone(6);
    mesh.set_point(vh(1), mesh.point(vh(0)));
    auto const result = smooth(mesh, {0}, HoleSmooth::Scale_Dependent, HoleSmooth::C0, 1);
    Vector3f sum = Vector3f::Zero();
    for (int i = 2; i <= 6; ++i)
    {
        sum += mesh.point(vh(i)); // all at a distance of sqrt(2)
    }
    Vector3f const expected = mesh.point(vh(0)) + 0.5F * (sum / 5.0F - mesh.point(vh(0)));
    EXPECT_LT((result.point(vh(0)) - expected).norm(), 1e-6F);
}

// Its cotangents may not be finite; they reach no farther than the steps do.
TEST(HoleSmooth, AFaceWithoutAreaSpoilsNothingFarAway)
{
    TriMesh mesh = veld_test::grid(8, 8);
    // Now the corners 0, 1 and 10 lie on a line.
    mesh.set_point(vh(1), {2.0F, 2.0F, 0.0F});
    for (auto const continuity : CONTINUITIES)
    {
        auto const result = smooth(mesh, all_of(mesh), HoleSmooth::Normal_Dir, continuity, 1);
        EXPECT_TRUE(result.point(vh(80)).allFinite());
        EXPECT_TRUE(result.point(vh(60)).allFinite());
    }
}

TEST(HoleSmooth, WhatIsMarkedDeletedNeitherMovesNorWeighs)
{
    TriMesh mesh = bumpy_sphere();
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_face_status();
    mesh.delete_vertex(vh(7), false);
    TriMesh compact = mesh;
    std::vector<VertexHandle> all;
    for (auto const v : mesh.vertices())
    {
        all.push_back(v);
    }
    std::vector<VertexHandle*> kept;
    std::vector<OpenMesh::HalfedgeHandle*> halfedges;
    std::vector<OpenMesh::FaceHandle*> faces;
    for (auto& v : all)
    {
        kept.push_back(&v);
    }
    auto const before = all;
    compact.garbage_collection(kept, halfedges, faces, true, true, true);
    for (auto const component : COMPONENTS)
    {
        auto const marked = smooth(mesh, all_of(mesh), component, HoleSmooth::C1, 2);
        auto const gone = smooth(compact, all_of(compact), component, HoleSmooth::C1, 2);
        EXPECT_EQ(marked.point(vh(7)), mesh.point(vh(7)));
        for (std::size_t i = 0; i < all.size(); ++i)
        {
            EXPECT_LT((marked.point(before[i]) - gone.point(all[i])).norm(), 1e-5F);
        }
    }
}

TEST(HoleSmooth, ACancelledRunHasTakenWholeSteps)
{
    TriMesh const mesh = jittered(veld_test::grid(90, 60), 0.3F);
    std::vector<TriMesh> after_steps;
    for (unsigned int n = 0; n <= 10; ++n)
    {
        after_steps.push_back(
            smooth(mesh, all_of(mesh), HoleSmooth::Scale_Dependent, HoleSmooth::C1, n));
    }
    for (int const threads : {1, 2})
    {
        veld_test::Threads const scope(threads);
        auto smoother = smoother_of(mesh, all_of(mesh));
        smoother.initialize(HoleSmooth::Scale_Dependent, HoleSmooth::C1);
        CancelToken const token;
        std::size_t steps = 0;
        auto const count = [&](double fraction)
        {
            steps = static_cast<std::size_t>(std::lround(10.0 * fraction));
            if (steps == 4)
            {
                token.cancel();
            }
        };
        {
            RunScope const run(token, count);
            EXPECT_THROW(smoother.smooth(10), Cancelled);
        }
        EXPECT_EQ(steps, 4U);
        expect_same_bits(smoothed(smoother, mesh), after_steps[4]);
        smoother.smooth(6);
        expect_same_bits(smoothed(smoother, mesh), after_steps[10]);
    }
}

TEST(HoleSmooth, NoStepBeginsInARunThatWasCancelledBefore)
{
    TriMesh const mesh = bumpy_sphere();
    auto smoother = smoother_of(mesh, all_of(mesh));
    smoother.initialize(HoleSmooth::Tangential, HoleSmooth::C1);
    CancelToken const token;
    token.cancel();
    {
        RunScope const run(token);
        EXPECT_THROW(smoother.initialize(HoleSmooth::Tangential, HoleSmooth::C1), Cancelled);
        EXPECT_THROW(smoother.smooth(1), Cancelled);
    }
    expect_same_bits(smoothed(smoother, mesh), mesh);
}
