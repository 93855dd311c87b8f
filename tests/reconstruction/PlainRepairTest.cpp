#include "algorithmVeld/reconstruction/BallPivoting.h"
#include "algorithmVeld/reconstruction/GeoPatentRecon.h"
#include "algorithmVeld/reconstruction/TopologyRepair.h"
#include "algorithmVeld/reconstruction/repair/SweepDelaunay.h"
#include "tests/reconstruction/random_gaps.h"
#include "tests/reconstruction/reference_ball.h"
#include "tests/reconstruction/reference_projection.h"
#include "tests/reconstruction/reference_recon.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/print_capture.h"
#include "tests/support/sanitizers.h"
#include "tests/support/temp_dir.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>

/// \file
/// The repairs, on hundreds of inputs drawn by lot, against the same once more as plainly as it can
/// be written: every link, every bit and every word.

namespace
{

using namespace OrvaneAlgorithm;
using namespace veld_test;

constexpr int N_SEEDS = IS_SANITIZED ? 20 : 200;

/// Every link and every bit, of normals as well.
std::vector<int> whole_of(TriMesh const& mesh)
{
    auto result = fingerprint(mesh);
    result.push_back(mesh.has_vertex_normals() ? 1 : 0);
    result.push_back(mesh.has_face_normals() ? 1 : 0);
    result.push_back(mesh.has_vertex_status() || mesh.has_face_status() ? 1 : 0);
    for (auto const v : mesh.vertices())
    {
        int bits[3] = {};
        if (mesh.has_vertex_normals())
        {
            std::memcpy(bits, mesh.normal(v).data(), sizeof bits);
        }
        result.insert(result.end(), bits, bits + 3);
    }
    return result;
}

/// The length of an edge, or about that if there is none.
float size_of_cells(TriMesh const& mesh)
{
    return mesh.n_edges() > 0 ? cell_size(mesh) : 0.25F;
}

void apply(reference::BallSettings const& settings, BallPivoting& ball)
{
    ball.set_NormConsistencyThr(settings.norm_consistency_thr);
    ball.set_norm_mode(settings.norm_mode);
    ball.set_node_in_sphere_restrain(settings.node_in_sphere_restrain);
    ball.set_enable_delete_isolated_faces(settings.delete_isolated_faces);
}

/// The last drawing of each name stays.
std::map<std::string, std::string> drawings(reference::BallRepair const& plain)
{
    std::map<std::string, std::string> result;
    for (auto const& patch : plain.patches())
    {
        result[patch.file_name] = patch.text;
    }
    return result;
}

std::map<std::string, std::string> content_of(TempDir const& folder)
{
    std::map<std::string, std::string> result;
    for (auto const& name : files_in(folder.path()))
    {
        result[name] = file_content(folder.path() / name);
    }
    return result;
}

} // namespace

TEST(PlainBall, ASeriesGivesTheSameMeshWordsAndFiles)
{
    int n_grown = 0;
    int n_refused = 0;
    int n_lost = 0;
    int n_without_start = 0;
    for (unsigned seed = 0; seed < N_SEEDS; ++seed)
    {
        SCOPED_TRACE(seed);
        TriMesh const gaps = random_gap_mesh(seed, Normals::ANY);
        auto const settings = random_ball_settings(gaps, seed);
        auto radii = random_radii(gaps, seed);
        for (float& radius : radii)
        {
            // A large ball that need not be empty would go on through everything.
            radius =
                settings.node_in_sphere_restrain ? radius : std::min(radius, size_of_cells(gaps));
        }
        TriMesh expected = gaps;
        reference::BallRepair plain(settings);
        bool const expected_result = plain.repair(expected, radii);

        TempDir const folder;
        LogCapture const log(seed % 2 == 0);
        PrintCapture const print;
        BallPivoting ball;
        apply(settings, ball);
        ball.set_debug_save_path(folder.path().string());
        TriMesh mesh = gaps;
        ASSERT_EQ(ball.repair_mesh(mesh, radii), expected_result);
        ASSERT_EQ(whole_of(mesh), whole_of(expected));
        ASSERT_EQ(print.text(), plain.printed());
        ASSERT_EQ(log.text(), plain.logged());
        ASSERT_EQ(content_of(folder), drawings(plain));
        n_grown += mesh.n_faces() > gaps.n_faces() ? 1 : 0;
        n_refused += plain.patches().empty() ? 0 : 1;
        n_lost += plain.deleted_faces() > 0 ? 1 : 0;
        n_without_start += count_of(plain.printed(), "find origial sphere.\n") > 0 ? 1 : 0;
    }
    EXPECT_GT(n_grown, N_SEEDS / 2);
    EXPECT_GT(n_refused, N_SEEDS / 10);
    EXPECT_GT(n_lost, 0);
    EXPECT_GT(n_without_start, 0);
}

// What is in the way of the ball was seen by a series on another mesh, or there is nothing.
TEST(PlainBall, APassAfterPassGivesTheSameMeshAndNumbers)
{
    int n_more = 0;
    for (unsigned seed = 1000; seed < 1000 + N_SEEDS; ++seed)
    {
        SCOPED_TRACE(seed);
        TriMesh expected = random_gap_mesh(seed, Normals::ANY);
        TriMesh mesh = expected;
        auto const settings = random_ball_settings(mesh, seed);
        float const cell = size_of_cells(mesh);
        // A pass alone takes every ball for empty, and a large one would go on through everything.
        bool const has_obstacles = seed % 4 != 0;
        reference::BallRepair plain(settings);
        BallPivoting ball;
        apply(settings, ball);
        LogCapture const log;
        PrintCapture const print;
        if (has_obstacles)
        {
            TriMesh seen = mesh;
            TriMesh also_seen = mesh;
            plain.repair(seen, {0.01F * cell});
            ball.repair_mesh(also_seen, std::vector<float>{0.01F * cell});
        }
        auto radii = random_radii(mesh, seed);
        radii.resize(1, cell);
        float const radius = std::min(radii[0], has_obstacles ? 1.2F * cell : 0.6F * cell);
        for (int level = 0; level < 2; ++level)
        {
            int added = -1;
            int boundary = -1;
            bool const result = ball.repair_mesh(mesh, radius, added, boundary, level);
            auto const pass = plain.pass(expected, radius, level);
            ASSERT_EQ(result, pass.grew);
            ASSERT_EQ(added, pass.added_faces);
            ASSERT_EQ(boundary, pass.boundary_vertices);
            ASSERT_EQ(whole_of(mesh), whole_of(expected));
            n_more += level == 1 && added > 0 ? 1 : 0;
        }
        ASSERT_EQ(print.text(), plain.printed());
    }
    EXPECT_GT(n_more, 0) << "a second pass can add what the first could not";
}

TEST(PlainBall, ACloudGrowsTheSameFromAFewFaces)
{
    std::size_t n_faces = 0;
    for (unsigned seed = 2000; seed < 2000 + N_SEEDS / 4; ++seed)
    {
        SCOPED_TRACE(seed);
        TriMesh expected = random_cloud(seed, 1 + static_cast<int>(seed % 3));
        TriMesh mesh = expected;
        float const cell = size_of_cells(mesh);
        reference::BallSettings settings;
        settings.delete_isolated_faces = seed % 2 == 0;
        reference::BallRepair plain(settings);
        plain.repair(expected, {0.7F * cell, 1.2F * cell});
        LogCapture const log;
        PrintCapture const print;
        BallPivoting ball;
        apply(settings, ball);
        ball.repair_mesh(mesh, {0.7F * cell, 1.2F * cell});
        ASSERT_EQ(whole_of(mesh), whole_of(expected));
        ASSERT_EQ(print.text(), plain.printed());
        n_faces += mesh.n_faces();
    }
    EXPECT_GT(n_faces, static_cast<std::size_t>(N_SEEDS / 4) * 100U);
}

namespace
{

/// Points of the plane by lot: anywhere, on a lattice where many lie on one circle or line, close
/// to such a lattice, or far from the origin.
std::set<reference::PlanePoint> random_plane_points(unsigned seed)
{
    Lot lot(seed);
    int const kind = lot.below(5);
    int const n = 1 + lot.below(80);
    float const origin = kind == 4 ? 100.0F : 0.0F;
    std::set<reference::PlanePoint> points;
    for (int i = 0; i < n; ++i)
    {
        float x = 0.5F * lot.unit();
        float y = 0.5F * lot.unit();
        if (kind == 1 || kind == 2)
        {
            x = 0.0625F * static_cast<float>(lot.below(8));
            y = 0.0625F * static_cast<float>(lot.below(8));
        }
        if (kind == 2)
        {
            x += 1e-6F * lot.unit();
            y += 1e-6F * lot.unit();
        }
        if (kind == 3)
        {
            y = lot.one_in(4) ? y : 0.25F;
        }
        points.emplace(origin + x, origin + y);
    }
    return points;
}

} // namespace

TEST(PlainProjection, TheSweepGivesTheSameTrianglesInTheSameOrder)
{
    std::size_t n_triangles = 0;
    for (unsigned seed = 0; seed < 5 * N_SEEDS; ++seed)
    {
        SCOPED_TRACE(seed);
        auto const plane = random_plane_points(seed);
        std::vector<Vector2f> vertices;
        for (auto const& [x, y] : plane)
        {
            vertices.emplace_back(x, y);
        }
        Lot lot(seed);
        lot.shuffle(vertices);
        std::vector<detail::DelaunayTriangle> triangles;
        std::vector<Vector2f> points;
        std::vector<std::array<int, 3>> triples;
        detail::delaunay_triangulate(vertices, triangles, points, triples);

        auto const expected = reference::Sweep(plane).triangles();
        ASSERT_EQ(triangles.size(), expected.size());
        ASSERT_EQ(triples.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
        {
            ASSERT_EQ(triples[i], expected[i].corners);
            ASSERT_EQ(triangles[i].circle.cx, expected[i].circle.x);
            ASSERT_EQ(triangles[i].circle.cy, expected[i].circle.y);
            ASSERT_EQ(triangles[i].circle.radius, expected[i].circle.radius);
            ASSERT_EQ(triangles[i].circle.wide_square_radius, expected[i].circle.wide_square);
        }
        n_triangles += expected.size();
    }
    EXPECT_GT(n_triangles, static_cast<std::size_t>(N_SEEDS) * 50U);
}

TEST(PlainProjection, ARepairGivesTheSameMeshForAnyNumberOfThreads)
{
    int n_grown = 0;
    for (unsigned seed = 3000; seed < 3000 + N_SEEDS; ++seed)
    {
        SCOPED_TRACE(seed);
        TriMesh gaps = seed % 8 == 0 ? random_cloud(seed, static_cast<int>(seed % 3))
                                     : random_gap_mesh(seed, Normals::SOME);
        // The reach is absolute: between one edge and two.
        float const scale =
            0.5F / (size_of_cells(gaps) * (1.0F + 0.25F * static_cast<float>(seed % 5)));
        for (auto const v : gaps.vertices())
        {
            gaps.point(v) *= scale;
        }
        TriMesh expected = gaps;
        reference::ProjectionRepair().repair(expected);
        Threads const threads(static_cast<int>(seed % 3) + 1);
        LogCapture const log;
        PrintCapture const print;
        TriMesh mesh = gaps;
        ASSERT_TRUE(TopologyRepair().repair_mesh(mesh));
        ASSERT_EQ(whole_of(mesh), whole_of(expected));
        n_grown += mesh.n_faces() > gaps.n_faces() ? 1 : 0;
    }
    EXPECT_GT(n_grown, N_SEEDS / 2);
}

TEST(PlainRecon, AMergeGivesTheSameMeshAndFrames)
{
    int n_refused = 0;
    for (unsigned seed = 1; seed <= N_SEEDS; ++seed)
    {
        SCOPED_TRACE(seed);
        Lot lot(seed);
        reference::MergeSettings settings;
        settings.point_spacing = lot.of<double>({0.05, 0.1, 0.1, 0.15});
        settings.neighbour_factor = 2 + lot.below(8);
        settings.normal_angle_thr = lot.of<float>({10.0F, 30.0F, 30.0F, 70.0F});
        settings.ear_edge_factor = lot.of<double>({1.5, 5.0});
        settings.long_edge_length = lot.of<double>({0.12, 0.16, 0.5});
        settings.max_hole_edges = lot.below(30);
        settings.min_component_size = lot.below(20);
        bool const is_preprocessed = !lot.one_in(4);
        auto const frames = random_frames(seed, 2 + lot.below(3), 6 + lot.below(5), 0.1F);
        TempDir const folder;
        LogCapture const log(seed % 4 == 0);
        gPH.debug_dir = folder.path().string();
        PrintCapture const print;
        TriMesh expected;
        std::vector<int> expected_frames;
        gPH.log_enabled = false;
        int const refused = reference::mesh_merge_in_turn(frames, settings, is_preprocessed,
                                                          expected, expected_frames);
        GeoPatentRecon recon;
        recon.set_normal_angle_thr(settings.normal_angle_thr);
        recon.set_neighbour_factor(settings.neighbour_factor);
        recon.set_ear_edge_factor(settings.ear_edge_factor);
        recon.set_preprocess_enabled(is_preprocessed);
        TriMesh mesh;
        std::vector<int> vertex_frames;
        bool const is_verbose = seed % 4 == 0;
        ASSERT_EQ(recon.mesh_merge(pointers(frames), settings.point_spacing, mesh, is_verbose,
                                   settings.max_hole_edges, settings.min_component_size,
                                   settings.long_edge_length, vertex_frames),
                  RET_SUCCESS);
        ASSERT_EQ(vertex_frames, expected_frames);
        ASSERT_EQ(whole_of(mesh), whole_of(expected));
        if (is_verbose)
        {
            ASSERT_EQ(print.count("    --'add_face' fail ["), refused);
            n_refused += refused;
        }
    }
    EXPECT_TRUE(n_refused > 0 || IS_SANITIZED);
}

TEST(PlainRecon, TheSameLoosePointsGo)
{
    std::size_t n_removed = 0;
    for (unsigned seed = 4000; seed < 4000 + N_SEEDS; ++seed)
    {
        SCOPED_TRACE(seed);
        TriMesh const gaps = seed % 4 == 0 ? random_cloud(seed, static_cast<int>(seed % 8))
                                           : random_gap_mesh(seed, Normals::SOME);
        Lot lot(seed + 5000000U);
        double const spacing = static_cast<double>(size_of_cells(gaps) * (0.2F + lot.unit()));
        auto const factor = lot.of<float>({0.0F, 0.5F, 1.0F, 2.0F, 5.0F});
        TriMesh expected = gaps;
        auto const removed = reference::PlainOutliers(expected, spacing, factor).run();
        std::string lines;
        for (int const i : removed)
        {
            Vector3d const p = gaps.point(vh(i)).cast<double>();
            Vector3d const n = gaps.normal(vh(i)).cast<double>();
            lines +=
                reference::line("%f %f %f %f %f %f\n", p.x(), p.y(), p.z(), n.x(), n.y(), n.z());
        }

        TempDir const folder;
        bool const is_told = seed % 8 == 0;
        LogCapture const log(is_told);
        gPH.debug_dir = folder.path().string();
        PrintCapture const print;
        GeoPatentRecon recon;
        recon.set_point_spacing(spacing);
        recon.set_outlier_factor(factor);
        TriMesh mesh = gaps;
        recon.remove_outlier_before_repair(mesh);
        ASSERT_EQ(whole_of(mesh), whole_of(expected));
        if (is_told)
        {
            auto const name = reference::line("removed-outlies-before-repair-thr_%f.asc",
                                              static_cast<double>(factor));
            ASSERT_EQ(file_content(folder.path() / name), lines);
            ASSERT_EQ(print.text(), reference::line("deleted outlier before repair: %d\n",
                                                    static_cast<int>(removed.size())));
        }
        n_removed += removed.size();
    }
    EXPECT_GT(n_removed, static_cast<std::size_t>(N_SEEDS));
}
