#include "algorithmVeld/common/mesh/MeetingOrder.h"

#include "tests/support/meshes.h"

#include <gmock/gmock.h>

namespace
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;
using OrvaneAlgorithm::detail::IndexTable;
using testing::ElementsAre;

TEST(MeetingOrder, NotesEachElementOnce)
{
    IndexTable numbers;
    std::vector<FaceHandle> met;
    EXPECT_EQ(OrvaneAlgorithm::detail::meet(FaceHandle(7), numbers, met), 0);
    EXPECT_EQ(OrvaneAlgorithm::detail::meet(FaceHandle(2), numbers, met), 1);
    EXPECT_EQ(OrvaneAlgorithm::detail::meet(FaceHandle(7), numbers, met), 0);
    EXPECT_THAT(met, ElementsAre(FaceHandle(7), FaceHandle(2)));
}

TEST(MeetingOrder, HasTheVerticesOfFacesAsTheFacesCome)
{
    auto const mesh = veld_test::make_mesh({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 0, 0}},
                                           {{0, 1, 2}, {0, 2, 3}, {1, 4, 2}});
    IndexTable numbers;
    auto const vertices =
        OrvaneAlgorithm::detail::vertices_of(mesh, {FaceHandle(2), FaceHandle(0)}, numbers);
    // Only which faces come first is ours: where a face begins to be walked is the mesh's.
    ASSERT_EQ(vertices.size(), 4U);
    EXPECT_EQ(vertices.back(), VertexHandle(0)) << "the one that the first face lacks";
    for (std::size_t i = 0; i < vertices.size(); ++i)
    {
        EXPECT_EQ(numbers.find(vertices[i].idx()), static_cast<int>(i));
    }
    EXPECT_FALSE(numbers.contains(3));
}

} // namespace
