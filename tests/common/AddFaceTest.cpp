#include "algorithmVeld/common/mesh/AddFace.h"

#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <random>

using namespace OrvaneAlgorithm;
using detail::add_face_checked;
using veld_test::vh;

namespace
{

bool can_add_face(TriMesh const& mesh, std::array<OpenMesh::VertexHandle, 3> const& corners)
{
    return detail::NewTriangle(mesh, corners).fits();
}

TriMesh loose_vertices(int n)
{
    TriMesh mesh;
    for (int i = 0; i < n; ++i)
    {
        mesh.add_vertex(Vector3f(static_cast<float>(i), 0, 0));
    }
    return mesh;
}

TEST(AddFace, RefusesARepeatedAndAnInvalidVertex)
{
    auto mesh = loose_vertices(3);
    EXPECT_FALSE(add_face_checked(mesh, vh(0), vh(1), vh(1)).is_valid());
    EXPECT_FALSE(add_face_checked(mesh, vh(0), vh(1), vh(3)).is_valid());
    EXPECT_FALSE(add_face_checked(mesh, vh(-1), vh(1), vh(2)).is_valid());
    EXPECT_EQ(mesh.n_edges(), 0U);
    EXPECT_TRUE(add_face_checked(mesh, vh(0), vh(1), vh(2)).is_valid());
}

TEST(AddFace, RefusesAThirdFaceAtAnEdgeAndATurnedNeighbour)
{
    auto mesh = loose_vertices(5);
    ASSERT_TRUE(add_face_checked(mesh, vh(0), vh(1), vh(2)).is_valid());
    EXPECT_FALSE(can_add_face(mesh, {vh(0), vh(1), vh(3)}));
    ASSERT_TRUE(add_face_checked(mesh, vh(1), vh(0), vh(3)).is_valid());
    EXPECT_FALSE(can_add_face(mesh, {vh(0), vh(1), vh(4)}));
    EXPECT_FALSE(can_add_face(mesh, {vh(1), vh(0), vh(4)}));
}

/// The last face would close a fan round vertex 0 while another fan hangs there: no gap is left for
/// that one.
TEST(AddFace, RefusesToLockAFanIn)
{
    auto mesh = loose_vertices(6);
    ASSERT_TRUE(add_face_checked(mesh, vh(0), vh(1), vh(2)).is_valid());
    ASSERT_TRUE(add_face_checked(mesh, vh(0), vh(2), vh(3)).is_valid());
    ASSERT_TRUE(add_face_checked(mesh, vh(0), vh(4), vh(5)).is_valid());
    EXPECT_FALSE(can_add_face(mesh, {vh(0), vh(3), vh(1)}));
}

/// The same with a third fan elsewhere: joining two of them leaves a gap.
TEST(AddFace, JoinsFansWithAnotherBetweenThem)
{
    auto mesh = loose_vertices(7);
    ASSERT_TRUE(add_face_checked(mesh, vh(0), vh(1), vh(2)).is_valid());
    ASSERT_TRUE(add_face_checked(mesh, vh(0), vh(3), vh(4)).is_valid());
    ASSERT_TRUE(add_face_checked(mesh, vh(0), vh(5), vh(6)).is_valid());
    EXPECT_TRUE(add_face_checked(mesh, vh(0), vh(2), vh(3)).is_valid());
    EXPECT_TRUE(add_face_checked(mesh, vh(0), vh(6), vh(1)).is_valid());
    EXPECT_TRUE(add_face_checked(mesh, vh(0), vh(4), vh(5)).is_valid());
    EXPECT_FALSE(mesh.is_boundary(vh(0)));
    EXPECT_TRUE(mesh.is_legal());
}

/// OpenMesh itself gets every triangle of many random heaps too, and has to agree about each:
/// links, order and all. Heaps of few vertices are full of corners where fans meet.
TEST(AddFace, LinksAsOpenmeshDoes)
{
    std::mt19937 random(7);
    omerr().disable();
    for (int heap = 0; heap < 600; ++heap)
    {
        int const n = 4 + heap % 13;
        auto mesh = loose_vertices(n);
        auto theirs = mesh;
        for (int i = 0; i < 12 * n; ++i)
        {
            auto const pick = [&] { return vh(static_cast<int>(random() % unsigned(n))); };
            auto const a = pick();
            auto const b = pick();
            auto const c = pick();
            if (a != b && b != c && c != a)
            {
                bool const expected = theirs.add_face(a, b, c).is_valid();
                ASSERT_EQ(can_add_face(mesh, {a, b, c}), expected) << "heap " << heap;
                ASSERT_EQ(add_face_checked(mesh, a, b, c).is_valid(), expected) << "heap " << heap;
                ASSERT_EQ(veld_test::fingerprint(mesh), veld_test::fingerprint(theirs))
                    << "heap " << heap;
            }
        }
        ASSERT_TRUE(mesh.is_legal());
    }
    omerr().enable();
}

} // namespace
