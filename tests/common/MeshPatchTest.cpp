#include "algorithmVeld/common/mesh/MeshPatch.h"
#include "tests/support/ear_meshes.h"

#include <gtest/gtest.h>

#include <map>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using detail::KeyNumbers;
using detail::MeshPatch;

TEST(KeyNumbers, NumbersKeysInTheOrderInWhichTheyCome)
{
    KeyNumbers numbers;
    EXPECT_EQ(numbers.find(7), -1);
    EXPECT_EQ(numbers.add(7), std::pair(0, true));
    EXPECT_EQ(numbers.add(3), std::pair(1, true));
    EXPECT_EQ(numbers.add(7), std::pair(0, false));
    EXPECT_EQ(numbers.find(3), 1);
    EXPECT_EQ(numbers.find(4), -1);
    EXPECT_EQ(numbers.key(1), 3);
    numbers.clear();
    EXPECT_EQ(numbers.size(), 0);
    EXPECT_EQ(numbers.find(7), -1);
}

TEST(KeyNumbers, AgreesWithAMapOnManyKeys)
{
    std::mt19937 random(5);
    KeyNumbers numbers;
    std::map<int, int> expected;
    for (int i = 0; i < 20000; ++i)
    {
        // Keys in rows, as indices of a mesh are.
        int const key = static_cast<int>(random() % 300U) * 4096 + static_cast<int>(random() % 64U);
        auto const next = static_cast<int>(expected.size());
        auto const [it, added] = expected.emplace(key, next);
        ASSERT_EQ(numbers.add(key), std::pair(it->second, added));
    }
    EXPECT_EQ(numbers.size(), static_cast<int>(expected.size()));
}

TEST(KeyNumbers, ClearingCostsNoMoreThanTheKeysThatAreHeld)
{
    KeyNumbers numbers;
    for (int key = 0; key < 100000; ++key)
    {
        numbers.add(key);
    }
    EXPECT_EQ(numbers.clear(), 100000U);
    // The table is as large as before, a small set costs little all the same.
    for (int const key : {5, 99999, 200000})
    {
        EXPECT_EQ(numbers.find(key), -1);
        numbers.add(key);
    }
    EXPECT_EQ(numbers.clear(), 3U);
    EXPECT_EQ(numbers.clear(), 0U);
}

TEST(KeyNumbers, NothingIsLeftOfTheKeysBeforeClearing)
{
    // Sets of many sizes one after the other, in which keys meet on their way to a slot.
    std::mt19937 random(6);
    KeyNumbers numbers;
    for (int round = 0; round < 400; ++round)
    {
        std::map<int, int> expected;
        auto const size = static_cast<int>(random() % (round % 50 == 0 ? 3000U : 200U));
        for (int i = 0; i < size; ++i)
        {
            int const key = static_cast<int>(random() % 5000U) * 64;
            auto const next = static_cast<int>(expected.size());
            auto const [it, added] = expected.emplace(key, next);
            ASSERT_EQ(numbers.add(key), std::pair(it->second, added));
        }
        numbers.clear();
        for (auto const& entry : expected)
        {
            ASSERT_EQ(numbers.find(entry.first), -1);
        }
    }
}

namespace
{

/// What can be seen around a vertex, in the order in which the mesh shows it. Vertices are named as
/// in the whole mesh.
std::vector<int> surroundings(TriMesh const& mesh, OpenMesh::VertexHandle centre,
                              std::vector<int> const& name)
{
    auto const named = [&](OpenMesh::VertexHandle v)
    { return name[static_cast<std::size_t>(v.idx())]; };
    std::vector<int> seen{mesh.is_boundary(centre) ? 1 : 0};
    for (auto it = mesh.cvoh_iter(centre); it.is_valid(); ++it)
    {
        OpenMesh::HalfedgeHandle const out = *it;
        auto const in = mesh.opposite_halfedge_handle(out);
        seen.push_back(named(mesh.to_vertex_handle(out)));
        seen.push_back(named(mesh.from_vertex_handle(mesh.prev_halfedge_handle(out))));
        seen.push_back(named(mesh.to_vertex_handle(mesh.next_halfedge_handle(in))));
        seen.push_back(mesh.is_boundary(out) ? 1 : 0);
        seen.push_back(mesh.is_boundary(in) ? 1 : 0);
    }
    for (auto it = mesh.cvf_iter(centre); it.is_valid(); ++it)
    {
        for (auto v = mesh.cfv_iter(*it); v.is_valid(); ++v)
        {
            seen.push_back(named(*v));
        }
    }
    return seen;
}

std::vector<int> own_names(TriMesh const& mesh)
{
    std::vector<int> names;
    for (int v = 0; v < static_cast<int>(mesh.n_vertices()); ++v)
    {
        names.push_back(v);
    }
    return names;
}

} // namespace

TEST(MeshPatch, CannotBeToldFromTheMeshAroundItsCentres)
{
    TriMesh const closed = sphere(2);
    MeshPatch patch;
    for (unsigned seed = 0; seed < 300; ++seed)
    {
        SCOPED_TRACE(seed);
        TriMesh const mesh = mesh_with_random_holes(closed, seed);
        auto const loops = loops_of(mesh);
        std::vector<OpenMesh::VertexHandle> centres;
        for (auto const h : loops[seed % loops.size()])
        {
            centres.push_back(mesh.from_vertex_handle(h));
        }
        patch.copy(mesh, centres);
        std::vector<int> names;
        for (int v = 0; v < static_cast<int>(patch.mesh().n_vertices()); ++v)
        {
            names.push_back(patch.to_mesh(vh(v)).idx());
            EXPECT_EQ(patch.mesh().point(vh(v)), mesh.point(patch.to_mesh(vh(v))));
        }
        for (auto const centre : centres)
        {
            auto const copied = patch.to_patch(centre);
            EXPECT_EQ(patch.to_mesh(copied), centre);
            ASSERT_EQ(surroundings(patch.mesh(), copied, names),
                      surroundings(mesh, centre, own_names(mesh)));
        }
    }
}

TEST(MeshPatch, HoldsNothingFarFromItsCentres)
{
    TriMesh const mesh = grid(20, 20);
    MeshPatch patch;
    patch.copy(mesh, {vh(0)});
    // The corner of the grid, its three neighbours, the two faces between them.
    EXPECT_EQ(patch.mesh().n_vertices(), 4U);
    EXPECT_EQ(patch.mesh().n_faces(), 2U);
    EXPECT_EQ(patch.mesh().n_edges(), 5U);
    EXPECT_FALSE(patch.to_patch(vh(200)).is_valid());
}

TEST(MeshPatch, IsolatedCentreStaysIsolatedBesideTheFirstEdge)
{
    // The first edge of the mesh is 0 1; among the copied ones it is not the first.
    TriMesh mesh = grid(2, 1);
    auto const lonely = mesh.add_vertex(Vector3f(9, 9, 9));
    MeshPatch patch;
    patch.copy(mesh, {vh(5), vh(0), lonely});
    EXPECT_FALSE(patch.mesh().halfedge_handle(patch.to_patch(lonely)).is_valid());
}

TEST(MeshPatch, IsolatedCentreIsCopiedAlone)
{
    TriMesh mesh;
    mesh.add_vertex(Vector3f(1, 2, 3));
    MeshPatch patch;
    patch.copy(mesh, {vh(0)});
    EXPECT_EQ(patch.mesh().n_vertices(), 1U);
    EXPECT_TRUE(patch.mesh().is_isolated(vh(0)));
}
