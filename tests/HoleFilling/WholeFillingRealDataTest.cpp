#include "scan_checks.h"

#include "tests/support/holes.h"
#include "tests/support/meshes.h"
#include "tests/support/threads.h"

#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/HoleFilling/HoleFilling.h"
#include "algorithmVeld/HoleFilling/MarkerHoleFilling.h"
#include "algorithmVeld/common/mesh/MeshScope.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace
{

using namespace OrvaneAlgorithm;
using OpenMesh::VertexHandle;
using veld_test::expect_oriented_manifold;
using veld_test::IS_SANITIZED;
using veld_test::vh;

/// What happens to the regions around holes.
enum class Region
{
    SMOOTHED = 0,
    CUT = 1,
    LEFT = 2
};

TriMesh scan(std::string const& name)
{
    TriMesh mesh;
    MeshFileContents contents;
    EXPECT_TRUE(
        read_and_mend_mesh(veld_test::real_data("meshes_holes/" + name + ".ply"), mesh, contents))
        << contents.error;
    return mesh;
}

/// Longer than any hole and shorter than the border of an open scan.
double box_diagonal(TriMesh const& mesh)
{
    Eigen::AlignedBox3f box;
    for (auto const v : mesh.vertices())
    {
        box.extend(mesh.point(v));
    }
    return static_cast<double>(box.diagonal().norm());
}

HoleFilling filling_with(TriMesh const& mesh, Region region)
{
    HoleFilling filling;
    filling.set_max_perimeter(box_diagonal(mesh));
    filling.set_region_process_type(static_cast<int>(region));
    filling.set_topology_dis_thr(3);
    return filling;
}

double length(TriMesh const& mesh, std::vector<VertexHandle> const& hole)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < hole.size(); ++i)
    {
        sum += static_cast<double>(
            (mesh.point(hole[i]) - mesh.point(hole[(i + 1) % hole.size()])).norm());
    }
    return sum;
}

void expect_only_long_holes(TriMesh const& mesh, double limit)
{
    for (auto const& hole : veld_test::plain_holes(mesh))
    {
        EXPECT_GE(length(mesh, hole), limit * (1.0 - 1e-6)) << hole.size() << " edges";
    }
}

/// Mean of what the surface turns by at edges, in degrees.
struct MeanTurn
{
    double sum = 0.0;
    int count = 0;

    void add(std::optional<double> turn)
    {
        sum += turn.value_or(0.0);
        count += turn ? 1 : 0;
    }
    double value() const { return sum / std::max(count, 1); }
};

/// Vertices within two edges of the rims of fills.
std::set<VertexHandle> near_rims(TriMesh const& mesh, std::vector<VertexHandle> const& rims)
{
    std::set<VertexHandle> near(rims.begin(), rims.end());
    for (int ring = 0; ring < 2; ++ring)
    {
        for (auto const v : std::set<VertexHandle>(near))
        {
            near.insert(mesh.cvv_begin(v), mesh.cvv_end(v));
        }
    }
    return near;
}

/// How much more the surface turns along the rims of the fills, on the mean, than at the old edges
/// around them.
double crease(TriMesh const& mesh, std::vector<char> const& is_old)
{
    auto const old_sides = [&](OpenMesh::SmartEdgeHandle e)
    {
        int count = 0;
        for (auto const face : {e.h0().face(), e.h1().face()})
        {
            count += face.is_valid() && is_old[static_cast<std::size_t>(face.idx())] != 0 ? 1 : 0;
        }
        return count;
    };
    MeanTurn rim;
    std::vector<VertexHandle> rims;
    for (auto const e : mesh.edges())
    {
        if (!e.is_boundary() && old_sides(e) == 1)
        {
            rim.add(veld_test::turn_at(mesh, e));
            rims.insert(rims.end(), {e.v0(), e.v1()});
        }
    }
    auto const near = near_rims(mesh, rims);
    MeanTurn around;
    for (auto const e : mesh.edges())
    {
        if (old_sides(e) == 2 && near.count(e.v0()) > 0 && near.count(e.v1()) > 0)
        {
            around.add(veld_test::turn_at(mesh, e));
        }
    }
    EXPECT_GT(rim.count, 0);
    EXPECT_GT(around.value(), 0.0);
    return rim.value() / around.value();
}

/// The same behind a filling. A cut moves faces into the places of others.
template <typename Fill>
double crease_behind(TriMesh& mesh, Fill const& fill)
{
    detail::ScopedProperty<OpenMesh::FPropHandleT<char>> is_old(mesh, "<old>");
    std::fill(is_old.data().begin(), is_old.data().end(), 1);
    fill();
    return crease(mesh, is_old.data());
}

/// A scan into which round holes are cut, at places far from each other.
struct PuncturedScan
{
    TriMesh mesh;
    std::vector<Vector3f> places;
    std::size_t own_holes = 0; ///< Those that the scan had.
};

/// Places on a mesh, so far from each other and from its border.
std::vector<Vector3f> spread_places(TriMesh const& mesh, std::size_t count, float apart)
{
    std::vector<Vector3f> taken;
    auto const gaps = veld_test::gaps_of(mesh);
    for (std::size_t v = 0; v < gaps.size(); ++v)
    {
        if (gaps[v] > 0)
        {
            taken.push_back(mesh.point(vh(static_cast<int>(v))));
        }
    }
    auto const border = taken.size();
    for (std::size_t i = 0; i < mesh.n_vertices() && taken.size() < border + count; ++i)
    {
        // Steps of a large prime go all over the mesh.
        auto const v = (i * 7919) % mesh.n_vertices();
        Vector3f const place = mesh.point(vh(static_cast<int>(v)));
        if (std::all_of(taken.begin(), taken.end(),
                        [&](Vector3f const& other) { return (place - other).norm() > apart; }))
        {
            taken.push_back(place);
        }
    }
    return {taken.begin() + static_cast<std::ptrdiff_t>(border), taken.end()};
}

/// Cuts the faces with a corner within a radius of one of the places.
PuncturedScan punctured(std::string const& name, float radius, std::size_t count)
{
    PuncturedScan result{scan(name), {}, 0};
    TriMesh& mesh = result.mesh;
    result.own_holes = veld_test::plain_holes(mesh).size();
    result.places = spread_places(mesh, count, 4.5F * radius);
    mesh.request_face_status();
    mesh.request_edge_status();
    mesh.request_vertex_status();
    for (auto const v : mesh.vertices())
    {
        for (auto const& place : result.places)
        {
            if ((mesh.point(v) - place).norm() < radius)
            {
                mesh.delete_vertex(v, true);
                break;
            }
        }
    }
    mesh.garbage_collection();
    return result;
}

float mean_edge(TriMesh const& mesh)
{
    double sum = 0.0;
    for (auto const e : mesh.edges())
    {
        sum += static_cast<double>(mesh.calc_edge_length(e));
    }
    return static_cast<float>(sum / static_cast<double>(mesh.n_edges()));
}

using WholeFillingRealData = veld_test::RealData;
using MarkerFillingRealData = veld_test::RealData;

TEST_F(WholeFillingRealData, EveryHoleBelowTheLimitIsClosed)
{
    for (std::string const name :
         {"bun_zipper", "bun_zipper_res2", "bun_zipper_res3", "diana", "diana_hole_top",
          "elephant_with_holes", "face_holes", "lion", "lion_head", "mech_holes_shark",
          "squirrel_hole_back_round", "squirrel_missing_tip", "squirrel_sideholes"})
    {
        SCOPED_TRACE(name);
        TriMesh mesh = scan(name);
        auto filling = filling_with(mesh, Region::LEFT);
        double const limit = box_diagonal(mesh);
        auto const before = veld_test::plain_holes(mesh).size();
        filling.holes_filling(mesh);
        expect_only_long_holes(mesh, limit);
        EXPECT_EQ(veld_test::plain_holes(mesh).size(), filling.open_holes().size());
        EXPECT_LE(filling.open_holes().size(), before);
    }
}

TEST_F(WholeFillingRealData, FillIsAnOrientedManifoldWhateverHappensToTheRegion)
{
    for (auto const& file : veld_test::real_meshes())
    {
        if (std::filesystem::file_size(file) >= (IS_SANITIZED ? 250'000 : 1'000'000))
        {
            continue; // takes too long there
        }
        TriMesh const mesh = scan(file.stem().string());
        for (auto const region : {Region::LEFT, Region::SMOOTHED, Region::CUT})
        {
            SCOPED_TRACE(testing::Message() << file << ", region " << static_cast<int>(region));
            TriMesh filled = mesh;
            filling_with(mesh, region).holes_filling(filled);
            // What a cut leaves of a border may touch itself.
            expect_oriented_manifold(filled, region == Region::CUT
                                                 ? std::vector<int>(mesh.n_vertices(), 1000)
                                                 : veld_test::gaps_of(mesh));
        }
    }
}

TEST_F(WholeFillingRealData, SameForAnyNumberOfThreads)
{
    for (std::string const name : {"b9_mesh", "elephant_with_holes", "bun_zipper_res3"})
    {
        TriMesh const mesh = scan(name);
        for (auto const region : {Region::LEFT, Region::SMOOTHED, Region::CUT})
        {
            std::vector<int> first;
            for (int const n : {1, 2, 8})
            {
                veld_test::Threads const threads(n);
                TriMesh filled = mesh;
                filling_with(mesh, region).holes_filling(filled);
                auto const now = veld_test::fingerprint(filled);
                first = n == 1 ? now : first;
                EXPECT_TRUE(now == first) << name << ", " << n << " threads";
            }
        }
    }
}

TEST_F(WholeFillingRealData, FillGoesOnFromACleanRimWithoutACrease)
{
    // The rims of these scans are ragged until the regions are cut away.
    for (std::string const name : {"bun_zipper", "face_holes", "squirrel_hole_back_round",
                                   "squirrel_missing_tip", "squirrel_sideholes"})
    {
        TriMesh mesh = scan(name);
        auto filling = filling_with(mesh, Region::CUT);
        EXPECT_LT(crease_behind(mesh, [&] { filling.holes_filling(mesh); }), 1.5) << name;
    }
}

MarkerHoleFilling marker_filling(Region region, float radius)
{
    MarkerHoleFilling filling;
    filling.set_region_process_type(static_cast<int>(region));
    filling.set_keep_regions(region == Region::LEFT);
    filling.set_topology_dis_thr(2);
    filling.set_marker_search_radius(static_cast<double>(radius));
    return filling;
}

/// Whether a hole has its middle near a place.
bool has_hole_at(TriMesh const& mesh, Holes const& holes, Vector3f const& place, float radius)
{
    return std::any_of(holes.begin(), holes.end(),
                       [&](std::vector<VertexHandle> const& hole)
                       { return (veld_test::exact_mean(mesh, hole) - place).norm() < radius; });
}

/// Scans into which marker holes are cut. The first is small enough for slow builds.
std::vector<std::string> scans_for_markers()
{
    return IS_SANITIZED ? std::vector<std::string>{"squirrel_noholes"}
                        : std::vector<std::string>{"squirrel_noholes", "bun_zipper", "igea"};
}

TEST_F(MarkerFillingRealData, ExactlyTheHolesAtMarkersAreFilled)
{
    for (auto const& name : scans_for_markers())
    {
        float const radius = 4.0F * mean_edge(scan(name));
        auto const given = punctured(name, radius, 8);
        ASSERT_EQ(given.places.size(), 8U);
        ASSERT_EQ(veld_test::plain_holes(given.mesh).size(), given.own_holes + 8);
        for (auto const region : {Region::LEFT, Region::SMOOTHED, Region::CUT})
        {
            SCOPED_TRACE(testing::Message() << name << ", region " << static_cast<int>(region));
            TriMesh mesh = given.mesh;
            auto filling = marker_filling(region, radius);
            filling.marker_holes_filling(mesh, {given.places.begin(), given.places.begin() + 4});
            EXPECT_TRUE(filling.open_holes().empty());
            auto const left = veld_test::plain_holes(mesh);
            EXPECT_EQ(left.size(), given.own_holes + 4);
            for (std::size_t i = 0; i < 8; ++i)
            {
                EXPECT_EQ(has_hole_at(mesh, left, given.places[i], radius), i >= 4) << i;
            }
            expect_oriented_manifold(mesh, veld_test::gaps_of(given.mesh));
        }
    }
}

TEST_F(MarkerFillingRealData, SameForAnyNumberOfThreads)
{
    float const radius = 4.0F * mean_edge(scan("squirrel_noholes"));
    auto const given = punctured("squirrel_noholes", radius, 8);
    for (auto const region : {Region::LEFT, Region::SMOOTHED, Region::CUT})
    {
        std::vector<int> first;
        for (int const n : {1, 2, 8})
        {
            veld_test::Threads const threads(n);
            TriMesh mesh = given.mesh;
            marker_filling(region, radius).marker_holes_filling(mesh, given.places);
            auto const now = veld_test::fingerprint(mesh);
            first = n == 1 ? now : first;
            EXPECT_TRUE(now == first) << n << " threads";
        }
    }
}

TEST_F(MarkerFillingRealData, FillGoesOnWithoutACreaseWhereFlatTrianglesWouldNot)
{
    if (IS_SANITIZED)
    {
        GTEST_SKIP() << "takes too long here";
    }
    float const radius = 4.0F * mean_edge(scan("igea"));
    auto const given = punctured("igea", radius, 30);
    for (auto const region : {Region::LEFT, Region::SMOOTHED, Region::CUT})
    {
        TriMesh mesh = given.mesh;
        auto filling = marker_filling(region, radius);
        EXPECT_LT(crease_behind(mesh, [&] { filling.marker_holes_filling(mesh, given.places); }),
                  1.3)
            << static_cast<int>(region);
    }
    TriMesh flat = given.mesh;
    EarTrimming ears;
    ears.set_node_num_constraint(false);
    ears.set_edge_length_constraint(false);
    EXPECT_GT(crease_behind(flat, [&] { ears.ear_trimming(flat); }), 1.5);
}

} // namespace
