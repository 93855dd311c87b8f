#include "workflow/workflow.h"

#include "workflow/clouds/DistinctPoints.h"
#include "workflow/clouds/PlaneFits.h"

#include "tests/reconstruction/frames.h"
#include "tests/support/meshes.h"
#include "tests/support/real_data.h"
#include "tests/workflow/reason_of.h"

#include "algorithmVeld/common/mesh_files/Carried.h"

#include <gmock/gmock.h>

#include <Eigen/SVD>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <random>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::Cancelled;
using OrvaneAlgorithm::Vector3d;
using testing::HasSubstr;
using veld::NormalsResult;
using veld::NormalsSettings;

using Points = std::vector<Vector3f>;

constexpr double PI = 3.14159265358979323846;
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

NormalsResult estimate(Points const& points, NormalsSettings const& settings = {}, int threads = 0,
                       std::vector<veld::Warning>* warnings = nullptr)
{
    veld::Context context;
    context.threads = threads;
    context.warn = [&](veld::Warning const& warning)
    {
        if (warnings != nullptr)
        {
            warnings->push_back(warning);
        }
    };
    return veld::estimate_normals(make_mesh(points, {}), settings, context);
}

Points normals_of(NormalsResult const& result)
{
    Points normals;
    for (auto const v : result.cloud.vertices())
    {
        normals.push_back(result.cloud.normal(v));
    }
    return normals;
}

/// In degrees, 180 where a normal is turned over.
double angle_between(Vector3f const& a, Vector3d const& b)
{
    Vector3d const c = a.cast<double>();
    return std::atan2(c.cross(b).norm(), c.dot(b)) * 180.0 / PI;
}

/// The largest angle to the truth.
double worst_angle(NormalsResult const& result,
                   std::function<Vector3d(Vector3d const&)> const& truth)
{
    double worst = 0.0;
    for (auto const v : result.cloud.vertices())
    {
        Vector3d const normal = truth(result.cloud.point(v).cast<double>()).normalized();
        worst = std::max(worst, angle_between(result.cloud.normal(v), normal));
    }
    return worst;
}

/// Points of a plane with a unit normal, on a lattice of unit length.
Points plane(int n, Vector3d const& normal, Vector3d const& corner = Vector3d::Zero())
{
    Vector3d const u = normal.unitOrthogonal();
    Vector3d const v = normal.cross(u);
    Points points;
    for (int i = 0; i < n; ++i)
    {
        for (int j = 0; j < n; ++j)
        {
            points.emplace_back((corner + i * u + j * v).cast<float>());
        }
    }
    return points;
}

/// Evenly spread on a sphere, along a spiral.
Points spiral_sphere(int n, double radius, Vector3d const& centre = Vector3d::Zero())
{
    double const turn = PI * (3.0 - std::sqrt(5.0));
    Points points;
    for (int i = 0; i < n; ++i)
    {
        double const z = 1.0 - (2.0 * i + 1.0) / n;
        double const r = std::sqrt(1.0 - z * z);
        points.emplace_back(
            (centre + radius * Vector3d(r * std::cos(turn * i), r * std::sin(turn * i), z))
                .cast<float>());
    }
    return points;
}

/// The surface of a box of unit cells, without its edges.
Points box(int x, int y, int z)
{
    Points points;
    for (int i = 0; i <= x; ++i)
    {
        for (int j = 0; j <= y; ++j)
        {
            for (int k = 0; k <= z; ++k)
            {
                int const sides = int(i % x == 0) + int(j % y == 0) + int(k % z == 0);
                if (sides == 1)
                {
                    points.emplace_back(static_cast<float>(i), static_cast<float>(j),
                                        static_cast<float>(k));
                }
            }
        }
    }
    return points;
}

Points random_bumps(int n)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<float> place(-10.0F, 10.0F);
    std::uniform_real_distribution<float> noise(-0.05F, 0.05F);
    Points points;
    for (int i = 0; i < n; ++i)
    {
        float const x = place(random);
        float const y = place(random);
        points.emplace_back(x, y, std::sin(0.5F * x) * std::cos(0.4F * y) + noise(random));
    }
    return points;
}

// Planes.

TEST(Normals, ThoseOfAPlaneAreThePlanes)
{
    Vector3d const truth = Vector3d(1, -2, 3).normalized();
    auto const result = estimate(plane(20, truth, Vector3d(100, 200, 300)));
    EXPECT_LT(worst_angle(result, [&](Vector3d const&) { return truth; }), 0.01);
    EXPECT_EQ(result.pieces, 1U);
    EXPECT_EQ(result.normals, 400U);
}

TEST(Normals, AreTheLeastSquaresPlanesOfTheNearestPoints)
{
    constexpr std::size_t K = 9;
    auto const distinct = veld::distinct_points(random_bumps(300));
    auto const& points = distinct.points;
    auto const fits = veld::fit_planes(points, K);
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        // All points by their distance, and the singular vectors of those that count.
        std::vector<std::pair<double, std::size_t>> order;
        for (std::size_t j = 0; j < points.size(); ++j)
        {
            order.emplace_back((points[j] - points[i]).cast<double>().squaredNorm(), j);
        }
        std::sort(order.begin(), order.end());
        Eigen::MatrixXd rows(K + 1, 3);
        Eigen::VectorXd weights(K + 1);
        for (std::size_t k = 0; k <= K; ++k)
        {
            auto const row = static_cast<Eigen::Index>(k);
            rows.row(row) = points[order[k].second].cast<double>();
            weights[row] = 1.0 - 0.5 * order[k].first / order[K].first;
        }
        Eigen::RowVector3d const mean = weights.transpose() * rows / weights.sum();
        Eigen::MatrixXd const centred =
            weights.cwiseSqrt().asDiagonal() * (rows.rowwise() - mean).eval();
        Eigen::JacobiSVD<Eigen::MatrixXd> const svd(centred, Eigen::ComputeThinV);
        Vector3d const truth = svd.matrixV().col(2);
        double const angle = angle_between(fits.normals[i], truth);
        EXPECT_LT(std::min(angle, 180.0 - angle), 0.01) << i;
        EXPECT_NEAR(fits.normals[i].norm(), 1.0F, 1e-6F);
    }
}

TEST(Normals, ThreePointsAreAPlaneAndFewerAreNone)
{
    auto const three = estimate({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    EXPECT_EQ(normals_of(three), Points(3, Vector3f(0, 0, 1)));
    for (Points const& points : {Points{{1, 2, 3}}, Points{{1, 2, 3}, {4, 5, 6}},
                                 Points{{1, 2, 3}, {4, 5, 6}, {1, 2, 3}, {4, 5, 6}}})
    {
        EXPECT_THROW(estimate(points), veld::OperationError);
        EXPECT_EQ(reason_of([&] { estimate(points); }),
                  "no point gets a normal: " + std::to_string(points.size()) +
                      " of fewer than three different points");
    }
}

TEST(Normals, PointsOnALineHaveNone)
{
    // More than are ever asked around a point, and far from all others.
    Points line;
    for (int i = 0; i < 200; ++i)
    {
        line.emplace_back(Vector3f(1000, 50, 10) +
                          0.37F * static_cast<float>(i) * Vector3f(1, 2, 3));
    }
    EXPECT_THROW(estimate(line), veld::OperationError);
    EXPECT_EQ(reason_of([&] { estimate(line); }),
              "no point gets a normal: 200 with all points around on a line");
    Points points = line;
    Points const sheet = plane(5, Vector3d::UnitZ());
    points.insert(points.end(), sheet.begin(), sheet.end());
    std::vector<veld::Warning> warnings;
    auto const result = estimate(points, {}, 0, &warnings);
    EXPECT_EQ(result.on_a_line, 200U);
    EXPECT_EQ(result.normals, 25U);
    EXPECT_EQ(result.pieces, 1U);
    EXPECT_EQ(result.cloud.normal(vh(7)), Vector3f(0, 0, 0));
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].code, veld::WarningCode::NORMALS_MISSING);
    EXPECT_EQ(warnings[0].text,
              "200 points without a normal: 200 with all points around on a line");
}

TEST(Normals, LinesOfAScannerThatAreFarApartMakeASurfaceAllTheSame)
{
    Points points;
    for (int line = 0; line < 12; ++line)
    {
        for (int i = 0; i < 200; ++i)
        {
            points.emplace_back(0.05F * static_cast<float>(i), 1.0F * static_cast<float>(line),
                                0.0F);
        }
    }
    auto const result = estimate(points);
    EXPECT_EQ(result.on_a_line, 0U);
    EXPECT_EQ(result.pieces, 1U);
    EXPECT_LT(worst_angle(result, [](Vector3d const&) { return Vector3d::UnitZ(); }), 1e-3);
}

// Orientation.

TEST(Normals, ASphereLooksOutwards)
{
    Vector3d const centre(7, -5, 1000);
    auto const result = estimate(spiral_sphere(20000, 10.0, centre));
    EXPECT_LT(worst_angle(result, [&](Vector3d const& p) { return Vector3d(p - centre); }), 1.0);
    EXPECT_EQ(result.pieces, 1U);
}

TEST(Normals, ATorusLooksOutwardsAlsoInItsHole)
{
    constexpr double R = 20.0;
    Points points;
    for (int i = 0; i < 300; ++i)
    {
        for (int j = 0; j < 80; ++j)
        {
            double const a = 2.0 * PI * i / 300;
            double const b = 2.0 * PI * (j + 0.5 * (i % 2)) / 80;
            double const r = R + 5.0 * std::cos(b);
            points.emplace_back(
                Vector3d(r * std::cos(a), r * std::sin(a), 5.0 * std::sin(b)).cast<float>());
        }
    }
    auto const ring = [&](Vector3d const& p)
    { return Vector3d(p - R * Vector3d(p.x(), p.y(), 0).normalized()); };
    EXPECT_LT(worst_angle(estimate(points), ring), 2.0);
}

TEST(Normals, BothSidesOfAThinPlateLookOutwards)
{
    Vector3d const size(30, 24, 3);
    auto const result = estimate(box(30, 24, 3));
    EXPECT_EQ(result.pieces, 1U);
    for (auto const v : result.cloud.vertices())
    {
        Vector3d const p = result.cloud.point(v).cast<double>();
        Vector3d outwards = Vector3d::Zero();
        for (int axis = 0; axis < 3; ++axis)
        {
            outwards[axis] = p[axis] == 0.0 ? -1.0 : p[axis] == size[axis] ? 1.0 : 0.0;
        }
        EXPECT_LT(angle_between(result.cloud.normal(v), outwards), 60.0) << p.transpose();
    }
}

TEST(Normals, SheetsThatAreApartAreTurnedEachForItself)
{
    // So that both look up: each is a piece that ends where it lies highest.
    for (double const gap : {0.4, 5.0, 1000.0})
    {
        Points points = plane(30, Vector3d::UnitZ());
        for (auto const& point : plane(30, Vector3d::UnitZ(), Vector3d(0, 0, gap)))
        {
            points.push_back(point);
        }
        auto const result = estimate(points);
        if (gap > 4.0)
        {
            EXPECT_EQ(result.pieces, 2U);
            EXPECT_LT(worst_angle(result, [](Vector3d const&) { return Vector3d::UnitZ(); }), 1e-3);
        }
        // Nearer than their points, each still has one sense.
        Points const normals = normals_of(result);
        for (std::size_t sheet = 0; sheet < 2; ++sheet)
        {
            for (std::size_t i = 0; i < 900; ++i)
            {
                EXPECT_GT(normals[900 * sheet + i].z() * normals[900 * sheet + 450].z(), 0.5F)
                    << gap << " " << sheet << " " << i;
            }
        }
    }
}

TEST(Normals, LookAtTheSensorWhereThereIsOne)
{
    NormalsSettings settings;
    settings.sensor = Vector3f(3, 4, -50);
    auto const below = estimate(plane(12, Vector3d::UnitZ()), settings);
    EXPECT_EQ(below.sense, veld::NormalSense::SENSOR);
    EXPECT_LT(worst_angle(below, [](Vector3d const&) { return Vector3d(-Vector3d::UnitZ()); }),
              1e-3);
    settings.sensor = Vector3f(1, 1, 1);
    auto const inside = estimate(spiral_sphere(5000, 10.0), settings);
    EXPECT_LT(worst_angle(inside, [](Vector3d const& p) { return Vector3d(-p); }), 2.0);
}

veld::FrameSet one_frame(RangeData const& data, veld::Sensor sensor)
{
    veld::FrameSet set;
    set.source = "a scan";
    set.frames.push_back({"a frame", data, sensor});
    return set;
}

TEST(Normals, ThoseOfFramesLookAtTheirSensors)
{
    veld::Context context;
    RangeData frame = flat_frame(9, 9, 1.0F, Vector3f(0, 0, 40)); // its own normals look up
    auto const up = [&](veld::Sensor sensor)
    {
        auto const result = veld::estimate_normals(one_frame(frame, sensor), {}, context);
        EXPECT_EQ(result.sense, veld::NormalSense::FRAMES);
        return result.cloud.normal(vh(40)).z() > 0.99F;
    };
    EXPECT_TRUE(up(veld::Sensor::UNKNOWN));
    EXPECT_TRUE(up(veld::Sensor::PLUS_Z));
    EXPECT_FALSE(up(veld::Sensor::MINUS_Z));
    EXPECT_FALSE(up(veld::Sensor::ORIGIN));

    // The pose turns z to -z and moves the points.
    OrvaneAlgorithm::RigidMatrix pose;
    pose.set_rotation(Vector3d(1, -1, -1).asDiagonal());
    pose.set_translation(Vector3d(0, 0, 1000));
    frame.set_rigidMatrix(pose);
    EXPECT_FALSE(up(veld::Sensor::UNKNOWN));
    EXPECT_FALSE(up(veld::Sensor::PLUS_Z));
    EXPECT_TRUE(up(veld::Sensor::ORIGIN));
    auto const result = veld::estimate_normals(one_frame(frame, veld::Sensor::ORIGIN), {}, context);
    EXPECT_EQ(result.cloud.n_vertices(), 81U);
    EXPECT_EQ(result.cloud.point(vh(10)), Vector3f(1, -1, 960));
    NormalsSettings settings;
    settings.sensor = Vector3f(0, 0, 0);
    EXPECT_LT(veld::estimate_normals(one_frame(frame, veld::Sensor::ORIGIN), settings, context)
                  .cloud.normal(vh(40))
                  .z(),
              -0.99F)
        << "the sensor of the settings counts";
}

// What does not matter.

TEST(Normals, RepeatedPointsCountOnce)
{
    Points const once = random_bumps(500);
    Points often;
    for (int i = 0; i < 40; ++i)
    {
        often.insert(often.end(), once.begin(), once.end());
    }
    auto const result = estimate(often);
    EXPECT_EQ(result.repeated, 39U * 500U);
    Points const expected = normals_of(estimate(once));
    Points const normals = normals_of(result);
    for (std::size_t i = 0; i < normals.size(); ++i)
    {
        EXPECT_EQ(normals[i], expected[i % 500]);
    }
}

TEST(Normals, PointsThatAreNotFiniteHaveNoneAndDisturbNobody)
{
    Points points = random_bumps(500);
    Points expected = normals_of(estimate(points));
    for (auto const& bad :
         {Vector3f(NOT_A_NUMBER, 0, 0), Vector3f(0, INFINITY, 0), Vector3f(0, 0, 2e18F)})
    {
        points.insert(points.begin() + 7, bad);
        expected.insert(expected.begin() + 7, Vector3f(0, 0, 0));
    }
    std::vector<veld::Warning> warnings;
    auto const result = estimate(points, {}, 0, &warnings);
    EXPECT_EQ(normals_of(result), expected);
    EXPECT_EQ(result.unplaced, 3U);
    EXPECT_THROW(estimate({{NOT_A_NUMBER, 0, 0}}), veld::OperationError);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].text,
              "3 points without a normal: 3 with coordinates that are not finite or beyond 1e18");
}

TEST(Normals, AreTheSameForAnyNumberOfThreads)
{
    // Enough for several blocks in all loops.
    Points const points = random_bumps(90000);
    auto const one = estimate(points, {}, 1);
    for (int const threads : {2, 8})
    {
        auto const more = estimate(points, {}, threads);
        EXPECT_EQ(normals_of(more), normals_of(one));
        EXPECT_EQ(more.pieces, one.pieces);
    }
}

TEST(Normals, TheOrderOfThePointsAndAPowerOfTwoInScaleDoNotMatter)
{
    Points const points = random_bumps(3000);
    Points const expected = normals_of(estimate(points));
    std::vector<std::size_t> order(points.size());
    std::iota(order.begin(), order.end(), 0U);
    std::shuffle(order.begin(), order.end(), std::mt19937(3));
    Points other;
    for (auto const i : order)
    {
        other.emplace_back(0.25F * points[i]);
    }
    Points const normals = normals_of(estimate(other));
    for (std::size_t k = 0; k < order.size(); ++k)
    {
        EXPECT_EQ(normals[k], expected[order[k]]);
    }
}

TEST(Normals, TurnWithThePoints)
{
    Eigen::AngleAxisd const turn(1.1, Vector3d(1, 2, -1).normalized());
    Points points = spiral_sphere(4000, 10.0);
    Points const expected = normals_of(estimate(points));
    for (auto& point : points)
    {
        point = (turn * point.cast<double>()).cast<float>();
    }
    Points const normals = normals_of(estimate(points));
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        EXPECT_LT(angle_between(normals[i], turn * expected[i].cast<double>()), 0.1);
    }
}

TEST(Normals, TinyAndHugeCoordinatesHaveThemToo)
{
    for (float const scale : {1e-15F, 1e-6F, 1e15F})
    {
        Points points = spiral_sphere(500, 1.0);
        for (auto& point : points)
        {
            point *= scale;
        }
        auto const result = estimate(points);
        EXPECT_EQ(result.normals, 500U) << scale;
        for (auto const& normal : normals_of(result))
        {
            EXPECT_NEAR(normal.norm(), 1.0F, 1e-5F);
        }
    }
}

// Input and output.

TEST(Normals, TheCloudKeepsColoursAndValuesAndLosesFaces)
{
    TriMesh mesh = grid(4, 4);
    mesh.request_vertex_colors();
    mesh.request_vertex_normals();
    auto const value = OrvaneAlgorithm::detail::add_carried_value(mesh, "intensity");
    for (auto const v : mesh.vertices())
    {
        mesh.set_color(v, Vector3f(0.25F, 0.5F, static_cast<float>(v.idx()) / 25.0F));
        mesh.set_normal(v, Vector3f(1, 0, 0));
        mesh.property(value, v) = static_cast<float>(v.idx());
    }
    veld::Context context;
    auto const result = veld::estimate_normals(mesh, {}, context);
    EXPECT_EQ(mesh.n_faces(), 32U);
    EXPECT_EQ(mesh.normal(vh(3)), Vector3f(1, 0, 0));
    EXPECT_EQ(result.cloud.n_faces(), 0U);
    ASSERT_EQ(result.cloud.n_vertices(), 25U);
    auto const values = OrvaneAlgorithm::detail::carried_values(result.cloud);
    ASSERT_EQ(values.size(), 1U);
    for (auto const v : mesh.vertices())
    {
        EXPECT_EQ(result.cloud.point(v), mesh.point(v));
        EXPECT_EQ(result.cloud.color(v), mesh.color(v));
        EXPECT_EQ(result.cloud.property(values[0], v), static_cast<float>(v.idx()));
        EXPECT_EQ(result.cloud.normal(v), Vector3f(0, 0, 1));
    }
}

TEST(Normals, NoPointsAndSettingsThatAreNoneAreRefused)
{
    EXPECT_THAT(reason_of([] { estimate({}); }), HasSubstr("no points"));
    for (int const neighbours : {-1, 1, 1001})
    {
        NormalsSettings settings;
        settings.neighbours = neighbours;
        EXPECT_THAT(reason_of([&] { estimate(plane(3, Vector3d::UnitZ()), settings); }),
                    HasSubstr("2 to 1000 neighbours"));
    }
    NormalsSettings settings;
    settings.sensor = Vector3f(0, NOT_A_NUMBER, 0);
    EXPECT_THAT(reason_of([&] { estimate(plane(3, Vector3d::UnitZ()), settings); }),
                HasSubstr("sensor"));
}

TEST(Normals, MoreNeighboursThanPointsAreAllPoints)
{
    NormalsSettings settings;
    settings.neighbours = 1000;
    EXPECT_EQ(normals_of(estimate(plane(3, Vector3d::UnitZ()), settings)),
              Points(9, Vector3f(0, 0, 1)));
}

TEST(Normals, CanBeCancelledAnywhereAndTellTheirProgress)
{
    TriMesh const cloud = make_mesh(random_bumps(40000), {});
    std::vector<double> fractions;
    veld::Context telling;
    telling.progress = [&](veld::Progress const& progress)
    { fractions.push_back(progress.fraction); };
    NormalsSettings with_sensor;
    with_sensor.sensor = Vector3f(0, 0, 50);
    for (auto const& settings : {NormalsSettings(), with_sensor})
    {
        fractions.clear();
        veld::estimate_normals(cloud, settings, telling);
        EXPECT_EQ(fractions.front(), 0.0);
        EXPECT_EQ(fractions.back(), 1.0);
        EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
        EXPECT_GT(std::count_if(fractions.begin(), fractions.end(),
                                [](double fraction) { return fraction > 0.2 && fraction < 0.7; }),
                  10);
    }
    for (double const limit : {0.0, 0.05, 0.2, 0.5, 0.7, 0.77, 0.85, 0.93})
    {
        veld::Context context;
        context.progress = [&](veld::Progress const& progress)
        {
            if (progress.fraction >= limit)
            {
                context.cancel.cancel();
            }
        };
        EXPECT_THROW(veld::estimate_normals(cloud, {}, context), Cancelled) << limit;
    }
}

using NormalsRealData = RealData;

TEST_F(NormalsRealData, TheBunnysPointsGetTheNormalsOfItsMesh)
{
    veld::Context context;
    auto file = veld::read_mesh(real_data("meshes_holes/bun_zipper.ply"), context);
    auto const result = veld::estimate_normals(file.mesh, {}, context);
    file.mesh.request_face_normals();
    file.mesh.request_vertex_normals();
    file.mesh.update_normals();
    std::size_t compared = 0;
    std::size_t close = 0;
    std::size_t alike = 0;
    for (auto const v : file.mesh.vertices())
    {
        if (!file.mesh.is_isolated(v))
        {
            double const angle =
                angle_between(result.cloud.normal(v), file.mesh.normal(v).cast<double>());
            ++compared;
            close += angle < 15.0 ? 1 : 0;
            alike += angle < 90.0 ? 1 : 0;
        }
    }
    EXPECT_EQ(compared, 34834U);
    EXPECT_GT(static_cast<double>(close), 0.99 * static_cast<double>(compared));
    EXPECT_EQ(alike, compared);
}

} // namespace
