#include "algorithmVeld/HoleFilling/smooth/ActiveVertices.h"

#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using namespace OrvaneAlgorithm;
using detail::active_vertices;
using detail::ActiveRule;
using veld_test::vh;

namespace
{

TriMesh grid_with_status(int cells)
{
    TriMesh mesh = veld_test::grid(cells, cells);
    mesh.request_vertex_status();
    return mesh;
}

std::vector<int> active_of(TriMesh& mesh, ActiveRule const& rule)
{
    auto const active = active_vertices(mesh, rule);
    std::vector<int> list;
    for (std::size_t i = 0; i < active.size(); ++i)
    {
        if (active[i])
        {
            list.push_back(static_cast<int>(i));
        }
    }
    return list;
}

} // namespace

TEST(ActiveVertices, AreAllInsideTheBorder)
{
    TriMesh mesh = grid_with_status(3);
    EXPECT_EQ(active_of(mesh, {}), (std::vector<int>{5, 6, 9, 10}));
}

TEST(ActiveVertices, AreTheSelectedOnesIfThereAreSome)
{
    TriMesh mesh = grid_with_status(3);
    mesh.status(vh(0)).set_selected(true); // on the border
    mesh.status(vh(6)).set_selected(true);
    EXPECT_EQ(active_of(mesh, {}), std::vector<int>{6});
}

TEST(ActiveVertices, LockedOnesStay)
{
    TriMesh mesh = grid_with_status(3);
    mesh.status(vh(6)).set_locked(true);
    mesh.status(vh(9)).set_selected(true);
    mesh.status(vh(9)).set_locked(true);
    mesh.status(vh(10)).set_selected(true);
    EXPECT_EQ(active_of(mesh, {}), std::vector<int>{10});
}

TEST(ActiveVertices, DeletedAndIsolatedOnesStay)
{
    TriMesh mesh = veld_test::tetrahedron();
    mesh.add_vertex({5, 5, 5}); // counts as a border
    mesh.request_vertex_status();
    EXPECT_EQ(active_of(mesh, {}), (std::vector<int>{0, 1, 2, 3}));
    mesh.status(vh(2)).set_deleted(true);
    EXPECT_EQ(active_of(mesh, {}), (std::vector<int>{0, 1, 3}));
}

TEST(ActiveVertices, RingsBesideTheBorderStay)
{
    TriMesh mesh = grid_with_status(6);
    ActiveRule rule;
    rule.rings_at_border = 1;
    EXPECT_EQ(active_of(mesh, rule), (std::vector<int>{16, 17, 18, 23, 24, 25, 30, 31, 32}));
    rule.rings_at_border = 2;
    EXPECT_EQ(active_of(mesh, rule), std::vector<int>{24});
}

TEST(ActiveVertices, FeaturesStayIfTheyAreSkipped)
{
    TriMesh mesh = grid_with_status(4);
    ActiveRule skipping;
    skipping.skip_features = true;
    auto const inside = active_of(mesh, {});
    EXPECT_EQ(inside, (std::vector<int>{6, 7, 8, 11, 12, 13, 16, 17, 18}));
    EXPECT_EQ(active_of(mesh, skipping), inside);
    mesh.status(vh(6)).set_feature(true);
    mesh.request_edge_status();
    mesh.request_face_status();
    mesh.status(mesh.edge_handle(mesh.find_halfedge(vh(7), vh(8)))).set_feature(true);
    mesh.status(mesh.face_handle(mesh.find_halfedge(vh(16), vh(17)))).set_feature(true);
    EXPECT_EQ(active_of(mesh, {}), inside);
    // The face beside 16-17 has its third corner beyond the edge, on the border or inside.
    std::vector<int> expected{11, 12, 13, 18};
    for (auto const v : mesh.fv_range(mesh.face_handle(mesh.find_halfedge(vh(16), vh(17)))))
    {
        expected.erase(std::remove(expected.begin(), expected.end(), v.idx()), expected.end());
    }
    EXPECT_EQ(active_of(mesh, skipping), expected);
}

TEST(ActiveVertices, NoTagIsLeft)
{
    TriMesh mesh = grid_with_status(3);
    mesh.status(vh(6)).set_tagged(true);
    ActiveRule rule;
    rule.rings_at_border = 1;
    EXPECT_TRUE(active_of(mesh, rule).empty());
    EXPECT_EQ(active_of(mesh, {}), (std::vector<int>{5, 6, 9, 10}));
    for (auto const v : mesh.all_vertices())
    {
        EXPECT_FALSE(mesh.status(v).tagged());
    }
}
