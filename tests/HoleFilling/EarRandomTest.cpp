#include "reference_ears.h"

#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

// Enough that every way in which a hole stays open is drawn.
constexpr unsigned SEEDS = 4000;

reference::Settings random_settings(std::mt19937& random)
{
    auto const draw = [&](std::vector<double> const& values)
    { return values[random() % values.size()]; };
    reference::Settings settings;
    settings.node_num = random() % 2 == 0;
    settings.edge_length = random() % 2 == 0;
    settings.norm = random() % 2 == 0;
    settings.node_num_thr = static_cast<int>(draw({4, 7, 20, 40}));
    settings.edge_length_thr = draw({0.3, 0.6, 1.0});
    settings.norm_thr = draw({20.0, 60.0, 90.0, 150.0, 180.0});
    return settings;
}

TriMesh random_mesh(unsigned seed)
{
    static std::vector<TriMesh> const closed{tetrahedron(), sphere(0), sphere(1), sphere(2)};
    return mesh_with_random_holes(closed[seed % closed.size()], seed);
}

void trim(EarTrimming& trimming, TriMesh& mesh, reference::Settings const& s)
{
    EXPECT_EQ(trimming.ear_trimming(mesh, s.node_num, s.edge_length, s.norm, s.node_num_thr,
                                    s.edge_length_thr, s.norm_thr),
              RET_SUCCESS);
}

/// The loops of the mesh and those that were reported, each as a sorted list of corners.
template <typename Filler>
void expect_all_loops_explained(TriMesh const& mesh, Filler const& filler)
{
    std::multiset<std::vector<OpenMesh::VertexHandle>> open;
    for (auto const& loop : loops_of(mesh))
    {
        std::vector<OpenMesh::VertexHandle> corners;
        for (auto const h : loop)
        {
            corners.push_back(mesh.from_vertex_handle(h));
        }
        std::sort(corners.begin(), corners.end());
        open.insert(corners);
    }
    std::multiset<std::vector<OpenMesh::VertexHandle>> reported;
    for (auto const& hole : filler.open_holes())
    {
        auto corners = hole.corners;
        std::sort(corners.begin(), corners.end());
        reported.insert(corners);
    }
    EXPECT_EQ(reported, open);
}

} // namespace

TEST(EarRandom, TrimmingIsTheSameAsOneHoleAfterTheOtherOnTheMeshItself)
{
    std::map<OpenReason, int> reasons;
    for (unsigned seed = 0; seed < SEEDS; ++seed)
    {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed + 100000);
        auto const settings = random_settings(random);
        TriMesh const before = random_mesh(seed);
        TriMesh expected = before;
        reference::trim_holes(expected, settings);

        TriMesh mesh = before;
        EarTrimming trimming;
        trim(trimming, mesh, settings);
        ASSERT_EQ(fingerprint(mesh), fingerprint(expected));
        expect_only_added_to(before, mesh);
        expect_all_loops_explained(mesh, trimming);
        for (auto const& hole : trimming.open_holes())
        {
            ++reasons[hole.reason];
        }
        if (HasFailure())
        {
            return;
        }
    }
    // The draw reaches the ways in which a hole stays open.
    for (auto const reason :
         {OpenReason::TOO_MANY_EDGES, OpenReason::EDGE_TOO_LONG, OpenReason::NORMALS_DISAGREE,
          OpenReason::FACE_REFUSED, OpenReason::BOUNDARY_TANGLED})
    {
        EXPECT_GT(reasons[reason], 0) << to_string(reason);
    }
}

TEST(EarRandom, ClippingIsTheSameAsWithPlainListsAndSearches)
{
    TempDir const directory;
    std::map<OpenReason, int> reasons;
    for (unsigned seed = 0; seed < SEEDS; ++seed)
    {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed + 200000);
        auto const settings = random_settings(random);
        TriMesh const before = random_mesh(seed);
        TriMesh expected = before;
        reference::Clipping reference;
        reference.run(expected, settings);

        TriMesh mesh = before;
        EarClipping clipping;
        LogCapture const log;
        gPH.debug_dir = directory.file("missing"); // the counters are wanted, not the dumps
        clipping.fill_hole(mesh, settings.node_num, settings.edge_length, settings.norm,
                           settings.node_num_thr, settings.edge_length_thr, settings.norm_thr);
        ASSERT_EQ(fingerprint(mesh), fingerprint(expected));
        char counters[512];
        format_line(counters,
                    "partial loop closure: %d\nfull loop closure:    %d\n"
                    "add face failed:      %d\nadd face succeed:     %d\n",
                    reference.partial_closures, reference.full_closures, reference.failed,
                    reference.succeeded);
        EXPECT_THAT(log.text(), testing::EndsWith(counters));
        expect_only_added_to(before, mesh);
        expect_all_loops_explained(mesh, clipping);
        for (auto const& hole : clipping.open_holes())
        {
            ++reasons[hole.reason];
        }
        if (HasFailure())
        {
            return;
        }
    }
    for (auto const reason :
         {OpenReason::TOO_MANY_EDGES, OpenReason::CORNER_TOO_WIDE, OpenReason::EDGE_TOO_LONG,
          OpenReason::NORMALS_DISAGREE, OpenReason::FACE_REFUSED})
    {
        EXPECT_GT(reasons[reason], 0) << to_string(reason);
    }
}

using Corners = std::set<OpenMesh::VertexHandle>;

/// The corners of each simple loop of the boundary.
std::multiset<Corners> simple_holes(TriMesh mesh)
{
    Holes holes;
    FindHolesEx::find_holes(mesh, holes, false);
    std::multiset<Corners> result;
    for (auto const& hole : holes)
    {
        result.insert({hole.begin(), hole.end()});
    }
    return result;
}

/// Each simple loop is told of once, and what was a hole before is not said to have more edges than
/// it has.
template <typename Filler>
void expect_true_reasons(TriMesh const& before, TriMesh const& mesh, Filler const& filler,
                         reference::Settings const& settings)
{
    auto const holes_before = simple_holes(before);
    std::multiset<Corners> told;
    for (auto const& open : filler.open_holes())
    {
        Corners const corners(open.corners.begin(), open.corners.end());
        told.insert(corners);
        if (open.reason == OpenReason::TOO_MANY_EDGES && holes_before.count(corners) > 0)
        {
            EXPECT_GT(corners.size(), static_cast<std::size_t>(settings.node_num_thr));
        }
    }
    EXPECT_EQ(told, simple_holes(mesh));
}

TEST(EarRandom, WhatIsTakenApartIsFilledBesideAllElse)
{
    std::map<OpenReason, int> reasons;
    std::size_t more_faces = 0;
    for (unsigned seed = 0; seed < SEEDS && !HasFailure(); ++seed)
    {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed + 300000);
        auto settings = random_settings(random);
        settings.node_num = true;
        TriMesh const before = random_mesh(seed);
        TriMesh together = before;
        EarTrimming trimming;
        trim(trimming, together, settings);

        TriMesh apart = before;
        trimming.set_take_apart(true);
        trim(trimming, apart, settings);
        expect_only_added_to(together, apart);
        expect_true_reasons(before, apart, trimming, settings);
        more_faces += apart.n_faces() - together.n_faces();

        TriMesh clipped = before;
        EarClipping clipping;
        clipping.set_take_apart(true);
        clipping.fill_hole(clipped, true, settings.edge_length, settings.norm,
                           settings.node_num_thr, settings.edge_length_thr, settings.norm_thr);
        expect_only_added_to(before, clipped);
        expect_true_reasons(before, clipped, clipping, settings);
        for (auto const& hole : trimming.open_holes())
        {
            ++reasons[hole.reason];
        }
    }
    EXPECT_GT(more_faces, 500U);
    EXPECT_GT(reasons[OpenReason::HANGS_ON_A_VERTEX], 0);
    EXPECT_GT(reasons[OpenReason::TOO_MANY_EDGES], 0);
}

TEST(EarRandom, ScatteredTrianglesReachTheWaysInWhichTheListOfCornersFails)
{
    // Triangles of a sphere that hang together by single corners: their boundaries pass the same
    // vertices again and again, so that a link finds the wrong node of a vertex, or none.
    struct Case
    {
        std::string text;
        bool norm;
        std::vector<Triangle> triangles;
    };
    std::vector<Case> const cases{
        {"unmatched hole type",
         false,
         {{2, 15, 9}, {5, 16, 15}, {5, 14, 17}, {2, 9, 7}, {11, 16, 17}, {1, 9, 16}}},
        {"unmatched node size",
         false,
         {{1, 10, 9},
          {3, 13, 12},
          {3, 11, 17},
          {3, 17, 13},
          {7, 9, 10},
          {6, 7, 8},
          {4, 12, 8},
          {10, 11, 12},
          {0, 8, 13}}},
        {"fail to find previous node",
         true,
         {{1, 9, 16},
          {1, 11, 10},
          {0, 8, 13},
          {11, 16, 17},
          {3, 13, 12},
          {6, 7, 8},
          {3, 12, 11},
          {7, 9, 10}}},
        {"fail to find next node",
         false,
         {{2, 9, 7},
          {4, 7, 10},
          {6, 14, 15},
          {1, 10, 9},
          {11, 16, 17},
          {10, 11, 12},
          {5, 16, 15},
          {9, 15, 16}}},
        {"\\$\\$\\$: unexpected hole type",
         true,
         {{6, 7, 8},
          {7, 9, 10},
          {3, 17, 13},
          {1, 11, 10},
          {9, 15, 16},
          {4, 10, 12},
          {5, 17, 16},
          {3, 12, 11}}}};
    TriMesh const ball = sphere(1);
    std::vector<Vector3f> const points(ball.points(), ball.points() + ball.n_vertices());
    TempDir const directory;
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.text);
        TriMesh const before = mesh_as_far_as_it_goes(points, c.triangles);
        ASSERT_EQ(before.n_faces(), c.triangles.size());
        reference::Settings settings;
        settings.norm = c.norm;
        TriMesh expected = before;
        reference::Clipping().run(expected, settings);

        TriMesh mesh = before;
        EarClipping clipping;
        LogCapture const log;
        gPH.debug_dir = directory.file("missing");
        clipping.fill_hole(mesh, false, false, c.norm, settings.node_num_thr,
                           settings.edge_length_thr, settings.norm_thr);
        EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
        EXPECT_THAT(log.text(), testing::ContainsRegex("\n" + c.text +
                                                       " \\[[^ ]*HoleFilling/EarClipping\\.cpp "
                                                       "\\([0-9]+\\)\\]\n"));
        expect_only_added_to(before, mesh);
        expect_all_loops_explained(mesh, clipping);
    }
}

TEST(EarRandom, HolesThatTouchInChainsComeOutTheSameForAnyNumberOfThreads)
{
    TriMesh const before = chains_of_holes(40, 25);
    ASSERT_EQ(loops_of(before).size(), 1001U); // the last one is the border of the grid
    for (bool const with_limits : {false, true})
    {
        reference::Settings settings;
        settings.node_num = true;
        settings.edge_length = with_limits;
        settings.edge_length_thr = 1.6;
        settings.norm = with_limits;
        TriMesh expected = before;
        reference::trim_holes(expected, settings);
        EXPECT_GT(expected.n_faces(), before.n_faces() + 1000);

        std::string serial_log;
        for (int const threads : {1, 2, 8})
        {
            SCOPED_TRACE(threads);
            Threads const scope(threads);
            LogCapture const log;
            TriMesh mesh = before;
            EarTrimming trimming;
            trim(trimming, mesh, settings);
            EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
            expect_all_loops_explained(mesh, trimming);
            serial_log = threads == 1 ? log.text() : serial_log;
            EXPECT_EQ(log.text(), serial_log);
        }
    }
}

TEST(EarRandom, ThreadsDoNotMatterForRandomMeshesEither)
{
    for (unsigned seed = 0; seed < 300; ++seed)
    {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed + 300000);
        auto const settings = random_settings(random);
        std::vector<int> serial;
        for (int const threads : {1, 2, 8})
        {
            Threads const scope(threads);
            TriMesh mesh = random_mesh(seed * 4 + 3);
            EarTrimming trimming;
            trim(trimming, mesh, settings);
            serial = threads == 1 ? fingerprint(mesh) : serial;
            ASSERT_EQ(fingerprint(mesh), serial);
        }
    }
}

TEST(EarRandom, CoordinatesThatAreNoNumbersNeverHang)
{
    float const odd[] = {std::numeric_limits<float>::quiet_NaN(),
                         std::numeric_limits<float>::infinity(), 1e30F, -1e30F, 0.0F};
    for (unsigned seed = 0; seed < 500; ++seed)
    {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed + 400000);
        auto const settings = random_settings(random);
        TriMesh mesh = random_mesh(seed);
        for (int i = 0; i < 4; ++i)
        {
            auto const v = vh(static_cast<int>(random() % mesh.n_vertices()));
            mesh.point(v)[static_cast<int>(random() % 3)] = odd[random() % 5];
        }
        TriMesh expected = mesh;
        reference::trim_holes(expected, settings);
        TriMesh trimmed = mesh;
        EarTrimming trimming;
        trim(trimming, trimmed, settings);
        ASSERT_EQ(fingerprint(trimmed), fingerprint(expected));
        expect_all_loops_explained(trimmed, trimming);

        expected = mesh;
        reference::Clipping().run(expected, settings);
        EarClipping clipping;
        clipping.fill_hole(mesh, settings.node_num, settings.edge_length, settings.norm,
                           settings.node_num_thr, settings.edge_length_thr, settings.norm_thr);
        ASSERT_EQ(fingerprint(mesh), fingerprint(expected));
    }
}

TEST(EarRandom, BorderOfManyThousandCornersIsFilledWithoutDelay)
{
    // Round a cone of 20 000 corners a search of the whole list for every ear would be felt.
    TriMesh mesh = open_cone(20000);
    EarTrimming trimming;
    trimming.ear_trimming(mesh, false, false, false, 20, 0.6, 150.0);
    EXPECT_EQ(mesh.n_faces(), 20000U + 19998U);
    EXPECT_TRUE(trimming.open_holes().empty());
}
