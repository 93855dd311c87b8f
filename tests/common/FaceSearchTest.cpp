#include "algorithmVeld/common/mesh/FaceSearch.h"

#include "algorithmVeld/common/arrays/DisjointSets.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <set>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using detail::Growth;
using OpenMesh::FaceHandle;

namespace
{

/// Takes every face once.
auto each_once(std::set<FaceHandle>& met)
{
    return [&met](FaceHandle, FaceHandle other)
    { return met.insert(other).second ? Growth::TAKE : Growth::PASS; };
}

} // namespace

TEST(FaceSearch, GrowsBreadthFirstInTheOrderOfTheMesh)
{
    TriMesh const mesh = grid(4, 3);
    std::set<FaceHandle> met{FaceHandle(5)};
    std::vector<FaceHandle> faces{FaceHandle(5)};
    EXPECT_TRUE(detail::grow_faces(mesh, faces, each_once(met)));

    std::vector<FaceHandle> expected{FaceHandle(5)};
    std::set<FaceHandle> seen{FaceHandle(5)};
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        for (auto it = mesh.cff_iter(expected[i]); it.is_valid(); ++it)
        {
            if (seen.insert(*it).second)
            {
                expected.push_back(*it);
            }
        }
    }
    EXPECT_EQ(faces, expected);
    EXPECT_EQ(faces.size(), mesh.n_faces());
}

TEST(FaceSearch, StopsAtOnceWhereTheRuleSaysSo)
{
    TriMesh const mesh = grid(4, 3);
    std::vector<FaceHandle> faces{FaceHandle(5)};
    int asked = 0;
    EXPECT_FALSE(detail::grow_faces(mesh, faces,
                                    [&](FaceHandle, FaceHandle)
                                    { return ++asked == 2 ? Growth::STOP : Growth::TAKE; }));
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(faces.size(), 2U);
}

TEST(FaceSearch, AsksAboutEveryNeighbourOfEveryListedFaceAndNamesBoth)
{
    TriMesh const mesh = tetrahedron();
    std::vector<FaceHandle> faces{FaceHandle(0), FaceHandle(1)};
    std::vector<std::pair<int, int>> asked;
    detail::grow_faces(mesh, faces,
                       [&](FaceHandle face, FaceHandle other)
                       {
                           asked.emplace_back(face.idx(), other.idx());
                           return Growth::PASS;
                       });
    ASSERT_EQ(asked.size(), 6U);
    for (std::size_t i = 0; i < 6; ++i)
    {
        EXPECT_EQ(asked[i].first, i < 3 ? 0 : 1);
        EXPECT_NE(asked[i].second, asked[i].first);
    }
}

TEST(FaceSearch, PassesOverBordersAndFacesThatAreNotValid)
{
    TriMesh const mesh = lone_triangle();
    std::vector<FaceHandle> faces{FaceHandle(), FaceHandle(0)};
    EXPECT_TRUE(
        detail::grow_faces(mesh, faces, [](FaceHandle, FaceHandle) { return Growth::STOP; }));
    EXPECT_EQ(faces.size(), 2U);
    std::vector<FaceHandle> none;
    EXPECT_TRUE(
        detail::grow_faces(mesh, none, [](FaceHandle, FaceHandle) { return Growth::STOP; }));
}

TEST(FaceSearch, FacesThatShareOnlyAVertexAreNoNeighbours)
{
    TriMesh const mesh = bow_tie();
    std::set<FaceHandle> met{FaceHandle(0)};
    std::vector<FaceHandle> faces{FaceHandle(0)};
    detail::grow_faces(mesh, faces, each_once(met));
    EXPECT_EQ(faces.size(), 1U);
}

TEST(DisjointSets, TheLowestNumberStandsForASetInWhateverOrderItIsJoined)
{
    detail::DisjointSets sets(6);
    EXPECT_EQ(sets.size(), 6U);
    sets.join(5, 4);
    sets.join(4, 2);
    sets.join(3, 1);
    sets.join(3, 3);
    for (auto const& [i, root] : {std::pair{0, 0}, {1, 1}, {2, 2}, {3, 1}, {4, 2}, {5, 2}})
    {
        EXPECT_EQ(sets.root(i), root);
    }
    sets.join(5, 3);
    EXPECT_EQ(sets.root(4), 1);
}
