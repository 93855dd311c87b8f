#include "algorithmVeld/HoleFilling/careful/HoleMerge.h"

#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"
#include "algorithmVeld/HoleFilling/careful/HoleWork.h"
#include "algorithmVeld/HoleFilling/triangulation/HoleTriangulation.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

namespace
{

using namespace OrvaneAlgorithm;
using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;
using veld_test::area_of;
using veld_test::vh;

/// A grid of 4 x 4 cells with a hole of 2 x 2 cells, and the private copy of the faces around it.
struct SquareHole
{
    TriMesh mesh = veld_test::grid_with_hole(2);
    std::vector<HalfedgeHandle> loop;
    detail::HoleSubMesh sub;

    SquareHole()
    {
        // The hole's corners (1, 1) and (2, 1): its boundary has the hole on its left.
        auto const start = mesh.find_halfedge(vh(6), vh(7));
        auto h = start;
        do
        {
            loop.push_back(h);
            h = mesh.next_halfedge_handle(h);
        } while (h != start);
        OpenMesh::FPropHandleT<bool> in_region;
        OpenMesh::VPropHandleT<float> edge_len;
        mesh.add_property(in_region);
        mesh.add_property(edge_len);
        auto const regions = detail::grow_regions(mesh, {loop}, {2, 100.0F}, in_region);
        open = detail::make_sub_mesh(mesh, regions[0], edge_len, 0, sub);
        mapped = detail::map_loop(mesh, loop, sub);
    }

    /// Closes the hole in the copy by a fan around a new vertex.
    void fill_with_fan(Vector3f const& apex)
    {
        auto const centre = sub.mesh.add_vertex(apex);
        sub.mesh.property(sub.vert_new, centre) = true;
        for (auto const h : sub.loop)
        {
            auto const from = sub.mesh.from_vertex_handle(h);
            auto const to = sub.mesh.to_vertex_handle(h);
            sub.mesh.property(sub.face_new, sub.mesh.add_face(from, to, centre)) = true;
        }
    }

    std::optional<OpenReason> open;
    bool mapped = false;
};

std::size_t count_boundary_edges(TriMesh const& mesh)
{
    std::size_t count = 0;
    for (auto const e : mesh.edges())
    {
        count += mesh.is_boundary(e) ? 1 : 0;
    }
    return count;
}

} // namespace

TEST(HoleMerge, ATriangulatedCopyClosesTheMesh)
{
    SquareHole hole;
    ASSERT_FALSE(hole.open);
    ASSERT_TRUE(hole.mapped);
    ASSERT_EQ(hole.loop.size(), 8U);
    ASSERT_FALSE(detail::triangulate_hole(hole.sub.mesh, hole.sub.loop, hole.sub.face_new, {}));
    auto const merged = detail::merge_fill(hole.mesh, detail::take_fill(hole.sub),
                                           detail::RefusedFace::IS_LEFT_OUT);
    EXPECT_TRUE(merged.complete);
    EXPECT_TRUE(merged.verts.empty());
    // 24 faces were there; a polygon of 8 corners takes 6.
    ASSERT_EQ(merged.faces.size(), 6U);
    for (std::size_t k = 0; k < merged.faces.size(); ++k)
    {
        EXPECT_EQ(merged.faces[k].idx(), 24 + static_cast<int>(k));
    }
    EXPECT_EQ(count_boundary_edges(hole.mesh), 16U);
    EXPECT_NEAR(area_of(hole.mesh), 16.0, 1e-5);
}

TEST(HoleMerge, NewVerticesComeWithTheirPoints)
{
    SquareHole hole;
    Vector3f const apex(2.0F, 2.25F, 0.5F);
    hole.fill_with_fan(apex);
    auto const merged = detail::merge_fill(hole.mesh, detail::take_fill(hole.sub),
                                           detail::RefusedFace::IS_LEFT_OUT);
    EXPECT_TRUE(merged.complete);
    ASSERT_EQ(merged.verts.size(), 1U);
    EXPECT_EQ(merged.verts[0], vh(25));
    EXPECT_EQ(hole.mesh.point(vh(25)), apex);
    EXPECT_EQ(hole.mesh.valence(vh(25)), 8U);
    ASSERT_EQ(merged.faces.size(), 8U);
    for (std::size_t k = 0; k < 8; ++k)
    {
        // The face of the k-th edge of the loop, turned as it was in the copy.
        EXPECT_EQ(hole.mesh.face_handle(hole.loop[k]), merged.faces[k]);
    }
}

TEST(HoleMerge, NormalsAndColoursOfNewElementsAreZeroWhateverWasInTheMemory)
{
    SquareHole hole;
    hole.fill_with_fan({2, 2, 0});
    auto& mesh = hole.mesh;
    mesh.request_vertex_normals();
    mesh.request_vertex_colors();
    mesh.request_face_normals();
    for (auto* const array : {&mesh.property(mesh.vertex_normals_pph()).data_vector(),
                              &mesh.property(mesh.vertex_colors_pph()).data_vector(),
                              &mesh.property(mesh.face_normals_pph()).data_vector()})
    {
        auto const n = array->size();
        array->assign(n + 50, Vector3f(7, 7, 7));
        array->resize(n);
    }
    auto const merged =
        detail::merge_fill(mesh, detail::take_fill(hole.sub), detail::RefusedFace::IS_LEFT_OUT);
    ASSERT_EQ(merged.verts.size(), 1U);
    EXPECT_EQ(mesh.normal(merged.verts[0]), Vector3f(0, 0, 0));
    EXPECT_EQ(mesh.color(merged.verts[0]), Vector3f(0, 0, 0));
    EXPECT_EQ(mesh.normal(vh(24)), Vector3f(7, 7, 7)) << "others stay";
    for (auto const face : merged.faces)
    {
        EXPECT_EQ(mesh.normal(face), Vector3f(0, 0, 0));
    }
}

TEST(HoleMerge, AFaceThatTheMeshRefusesIsLoggedAndTheOthersGoIn)
{
    SquareHole hole;
    hole.fill_with_fan({2, 2, 0});
    // Somebody else has put a triangle on two of the hole's edges.
    ASSERT_TRUE(hole.mesh.add_face(vh(6), vh(7), vh(11)).is_valid());
    veld_test::LogCapture const log;
    auto const merged = detail::merge_fill(hole.mesh, detail::take_fill(hole.sub),
                                           detail::RefusedFace::IS_LEFT_OUT);
    EXPECT_FALSE(merged.complete);
    EXPECT_EQ(merged.faces.size(), 6U);
    EXPECT_EQ(log.count("  !!!fail to add face ["), 2);
}

TEST(HoleMerge, AMergeThatEndsAtARefusedFaceLeavesOutThoseBehindIt)
{
    SquareHole hole;
    hole.fill_with_fan({2, 2, 0});
    // The triangle takes the fan's first two edges, so its first face is refused.
    ASSERT_TRUE(hole.mesh.add_face(vh(6), vh(7), vh(11)).is_valid());
    veld_test::LogCapture const log;
    auto const merged =
        detail::merge_fill(hole.mesh, detail::take_fill(hole.sub), detail::RefusedFace::ENDS_MERGE);
    EXPECT_FALSE(merged.complete);
    EXPECT_TRUE(merged.faces.empty());
    EXPECT_EQ(merged.verts.size(), 1U);
    EXPECT_EQ(log.count("  !!!fail to add face ["), 1);
}

TEST(HoleMerge, HolesThatWereGivenUpNeedNoRoom)
{
    SquareHole hole;
    std::vector<detail::HoleWork> works(2);
    works[0].open = OpenReason::TOO_MANY_EDGES; // and no fill
    works[1].fill = detail::take_fill(hole.sub);
    auto const vertices = hole.mesh.n_vertices();
    detail::reserve_for_fills(hole.mesh, works);
    EXPECT_EQ(hole.mesh.n_vertices(), vertices);
    EXPECT_EQ(hole.mesh.n_faces(), 24U);
}
