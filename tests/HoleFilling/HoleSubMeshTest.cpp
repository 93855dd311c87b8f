#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"

#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using namespace OrvaneAlgorithm;
using detail::HoleSubMesh;
using detail::LoopMatch;
using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using veld_test::vh;

/// A grid of 4 x 4 cells with a hole of 2 x 2 cells: vertices 6 and 18 are opposite corners of it.
struct HoleInGrid
{
    TriMesh mesh = veld_test::grid_with_hole(2);
    OpenMesh::VPropHandleT<float> edge_len;
    std::vector<HalfedgeHandle> loop;
    HoleSubMesh sub;

    HoleInGrid()
    {
        mesh.add_property(edge_len);
        auto h = mesh.find_halfedge(vh(6), vh(7));
        do
        {
            loop.push_back(h);
            h = mesh.next_halfedge_handle(h);
        } while (h != loop.front());
    }

    std::optional<OpenReason> copy(std::vector<FaceHandle> const& region, int hole = 0)
    {
        return detail::make_sub_mesh(mesh, region, edge_len, hole, sub);
    }

    std::vector<FaceHandle> all_faces() const
    {
        return std::vector<FaceHandle>(mesh.faces_begin(), mesh.faces_end());
    }

    /// Those without the faces at one corner of the hole.
    std::vector<FaceHandle> faces_away_from(int vertex) const
    {
        std::vector<FaceHandle> faces;
        for (auto const face : mesh.faces())
        {
            bool is_at_it = false;
            for (auto const corner : face.vertices())
            {
                is_at_it = is_at_it || corner == vh(vertex);
            }
            if (!is_at_it)
            {
                faces.push_back(face);
            }
        }
        return faces;
    }

    std::size_t n_marked() const
    {
        std::size_t n = 0;
        for (auto const vertex : sub.mesh.vertices())
        {
            n += sub.mesh.property(sub.vert_boundary, vertex) ? 1 : 0;
        }
        return n;
    }
};

} // namespace

TEST(HoleSubMesh, HasTheRegionsElementsInItsOrderWithWhatTheyHave)
{
    HoleInGrid hole;
    veld_test::set_normals(hole.mesh, {0, 0, 1});
    hole.mesh.request_face_normals();
    hole.mesh.request_vertex_colors();
    for (auto const vertex : hole.mesh.vertices())
    {
        hole.mesh.set_color(vertex, Vector3f(0.1F * static_cast<float>(vertex.idx()), 0, 0));
        hole.mesh.property(hole.edge_len, vertex) = 2.0F + static_cast<float>(vertex.idx());
    }
    hole.mesh.set_normal(FaceHandle(4), Vector3f(1, 0, 0));
    // Face 4 has the vertices 2, 3, 8; face 5 has 2, 8, 7.
    ASSERT_FALSE(hole.copy({FaceHandle(4), FaceHandle(5)}));
    auto const& sub = hole.sub;
    ASSERT_EQ(sub.mesh.n_vertices(), 4U);
    ASSERT_EQ(sub.mesh.n_faces(), 2U);
    EXPECT_EQ(sub.old_edges, 5U);
    EXPECT_EQ(sub.mesh.normal(FaceHandle(0)), Vector3f(1, 0, 0));
    for (auto const face : sub.mesh.faces())
    {
        EXPECT_FALSE(sub.mesh.property(sub.face_new, face));
    }
    for (auto const copy : sub.mesh.vertices())
    {
        auto const origin = sub.mesh.property(sub.vert_origin, copy);
        EXPECT_EQ(sub.copies.find(origin.idx()), copy.idx());
        EXPECT_EQ(sub.mesh.point(copy), hole.mesh.point(origin));
        EXPECT_EQ(sub.mesh.color(copy), hole.mesh.color(origin));
        EXPECT_EQ(sub.mesh.normal(copy), Vector3f(0, 0, 1));
        EXPECT_EQ(sub.mesh.property(sub.vert_edge_len, copy),
                  2.0F + static_cast<float>(origin.idx()));
        EXPECT_FALSE(sub.mesh.property(sub.vert_new, copy));
    }
    EXPECT_EQ(hole.n_marked(), 0U);
}

TEST(HoleSubMesh, OfNoFacesIsEmptyAndNoBoundary)
{
    HoleInGrid hole;
    veld_test::LogCapture const log;
    EXPECT_EQ(hole.copy({}, 7), OpenReason::NOT_A_BOUNDARY);
    EXPECT_EQ(hole.sub.mesh.n_vertices(), 0U);
    EXPECT_EQ(log.text(), "  !!!abnormal: hole[7] with 0 vertices.\n");
}

TEST(HoleSubMesh, AFaceThatItCannotTakeIsToldAndTheOthersGoIn)
{
    HoleInGrid hole;
    veld_test::LogCapture const log;
    EXPECT_EQ(hole.copy({FaceHandle(0), FaceHandle(0), FaceHandle(1)}),
              OpenReason::BOUNDARY_TANGLED);
    EXPECT_EQ(hole.sub.mesh.n_faces(), 2U);
    EXPECT_EQ(log.count("  !!!fail to add face ["), 1);
}

TEST(HoleSubMesh, FindsTheHoleInACopyOfAllThatIsAroundIt)
{
    for (bool const is_walked : {false, true})
    {
        HoleInGrid hole;
        ASSERT_FALSE(hole.copy(hole.all_faces()));
        if (is_walked)
        {
            EXPECT_EQ(detail::walk_loop(hole.mesh, hole.loop, hole.sub), LoopMatch::SAME);
        }
        else
        {
            EXPECT_TRUE(detail::map_loop(hole.mesh, hole.loop, hole.sub));
        }
        ASSERT_EQ(hole.sub.loop.size(), 8U);
        EXPECT_EQ(hole.n_marked(), 8U);
        for (std::size_t k = 0; k < 8; ++k)
        {
            auto const from = hole.sub.mesh.from_vertex_handle(hole.sub.loop[k]);
            EXPECT_EQ(hole.sub.mesh.property(hole.sub.vert_origin, from),
                      hole.mesh.from_vertex_handle(hole.loop[k]));
        }
    }
}

TEST(HoleSubMesh, AHoleOfWhichAHalfedgeIsMissingIsNotFound)
{
    HoleInGrid hole;
    ASSERT_FALSE(hole.copy(hole.faces_away_from(18)));
    EXPECT_FALSE(detail::map_loop(hole.mesh, hole.loop, hole.sub));
}

TEST(HoleSubMesh, AWalkNeedsTheFirstHalfedge)
{
    HoleInGrid hole;
    ASSERT_FALSE(hole.copy(hole.faces_away_from(6)));
    EXPECT_EQ(detail::walk_loop(hole.mesh, hole.loop, hole.sub), LoopMatch::NO_FIRST_HALFEDGE);
    EXPECT_EQ(detail::walk_loop(hole.mesh, {}, hole.sub), LoopMatch::NO_FIRST_HALFEDGE);
    EXPECT_TRUE(hole.sub.loop.empty());
}

TEST(HoleSubMesh, AWalkThatIsLongerThanTheHoleEndsBehindIt)
{
    // Without the faces at a corner the hole and the rim of the grid are one boundary.
    HoleInGrid hole;
    ASSERT_FALSE(hole.copy(hole.faces_away_from(18)));
    EXPECT_EQ(detail::walk_loop(hole.mesh, hole.loop, hole.sub), LoopMatch::OTHER_LENGTH);
    EXPECT_EQ(hole.sub.loop.size(), 9U);
}

TEST(HoleSubMesh, AWalkMayBeShorterThanTheHole)
{
    HoleInGrid hole;
    // Around the face beside the first halfedge.
    auto const face = hole.mesh.face_handle(hole.mesh.opposite_halfedge_handle(hole.loop[0]));
    ASSERT_FALSE(hole.copy({face}));
    EXPECT_EQ(detail::walk_loop(hole.mesh, hole.loop, hole.sub), LoopMatch::OTHER_LENGTH);
    EXPECT_EQ(hole.sub.loop.size(), 3U);
}
