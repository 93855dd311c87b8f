#include "algorithmVeld/common/mesh_conversion.h"

#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <limits>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// Two faces over a square, with every channel that is carried.
BaseTriMesh square()
{
    BaseTriMesh mesh;
    mesh.set_vCoords({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
    mesh.add_face({0, 1, 2});
    mesh.add_face({0, 2, 3});
    mesh.enable_vNormal();
    mesh.enable_vColor();
    mesh.enable_fNormal();
    for (size_t i = 0; i < 4; ++i)
    {
        auto const x = static_cast<float>(i);
        mesh.vNrv[i] = {x, 0, 1};
        mesh.vColor[i] = {0.25F, x, 0};
    }
    mesh.fNrv = {{0, 0, 1}, {0, 0, 2}};
    return mesh;
}

std::array<int, 3> corners(TriMesh const& mesh, int face)
{
    std::array<int, 3> list{};
    size_t i = 0;
    for (auto const v : mesh.fv_range(OpenMesh::FaceHandle(face)))
    {
        list[i++] = v.idx();
    }
    return list;
}

/// The corners with the smallest one first, in the same sense.
std::array<int, 3> turned(std::array<int, 3> face)
{
    std::rotate(face.begin(), std::min_element(face.begin(), face.end()), face.end());
    return face;
}

} // namespace

TEST(ConvertToTriMesh, KeepsOrderAndCarriesNormalsAndColours)
{
    TriMesh mesh;
    EXPECT_EQ(BaseTriMesh_convert_to_TriMesh(square(), mesh), 0U);
    ASSERT_EQ(mesh.n_vertices(), 4U);
    ASSERT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(mesh.point(vh(2)), Vector3f(1, 1, 0));
    EXPECT_EQ(turned(corners(mesh, 0)), (std::array<int, 3>{0, 1, 2}));
    EXPECT_EQ(turned(corners(mesh, 1)), (std::array<int, 3>{0, 2, 3}));
    ASSERT_TRUE(mesh.has_vertex_normals() && mesh.has_vertex_colors() && mesh.has_face_normals());
    EXPECT_EQ(mesh.normal(vh(3)), Vector3f(3, 0, 1));
    EXPECT_EQ(mesh.color(vh(3)), Vector3f(0.25F, 3, 0));
    EXPECT_EQ(mesh.normal(OpenMesh::FaceHandle(1)), Vector3f(0, 0, 2));
    EXPECT_TRUE(mesh.is_legal());
}

TEST(ConvertToTriMesh, RequestsOnlyWhatTheSourceHas)
{
    BaseTriMesh source = square();
    source.disable_vNormal();
    source.disable_vColor();
    source.disable_fNormal();
    TriMesh mesh;
    BaseTriMesh_convert_to_TriMesh(source, mesh);
    EXPECT_FALSE(mesh.has_vertex_normals() || mesh.has_vertex_colors() || mesh.has_face_normals());
    EXPECT_FALSE(mesh.has_vertex_status() || mesh.has_face_status());
}

TEST(ConvertToTriMesh, ReplacesWhatWasThereAndKeepsRequestsBalanced)
{
    TriMesh mesh = grid(5, 5);
    mesh.request_vertex_normals();
    mesh.request_vertex_colors();
    BaseTriMesh source = square();
    source.disable_vColor();
    BaseTriMesh_convert_to_TriMesh(source, mesh);
    EXPECT_EQ(mesh.n_vertices(), 4U);
    EXPECT_EQ(mesh.color(vh(1)), Vector3f(0, 0, 0)) << "not left over, and not uninitialised";
    mesh.release_vertex_normals();
    EXPECT_FALSE(mesh.has_vertex_normals());
}

TEST(ConvertToTriMesh, FacesThatTheMeshCannotHoldAreLeftOutAndCounted)
{
    BaseTriMesh source = square();
    source.disable_fNormal();
    source.add_vCoord({0.5F, 0.5F, 1});
    source.add_face({0, 2, 4});  // a third face at the edge 0-2
    source.add_face({0, 1, 2});  // a second time
    source.add_face({2, 1, 1});  // a repeated vertex
    source.add_face({0, 1, 99}); // no such vertex
    source.add_face({-1, 1, 2});
    source.add_face({std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), 0});
    source.add_face({2, 1, 4});
    source.enable_fNormal();
    source.fNrv[8] = {0, 7, 0};
    TriMesh mesh;
    EXPECT_EQ(BaseTriMesh_convert_to_TriMesh(source, mesh), 6U);
    ASSERT_EQ(mesh.n_faces(), 3U);
    EXPECT_EQ(turned(corners(mesh, 2)), (std::array<int, 3>{1, 4, 2}));
    EXPECT_EQ(mesh.normal(OpenMesh::FaceHandle(2)), Vector3f(0, 7, 0));
    EXPECT_TRUE(mesh.is_legal());
}

TEST(ConvertToTriMesh, ChannelsOfAWrongLengthDoNoHarm)
{
    BaseTriMesh source = square();
    source.vNrv.resize(1);
    source.vColor.clear();
    source.fNrv.clear();
    TriMesh mesh;
    BaseTriMesh_convert_to_TriMesh(source, mesh);
    EXPECT_EQ(mesh.normal(vh(0)), Vector3f(0, 0, 1));
    EXPECT_EQ(mesh.normal(vh(3)), Vector3f(0, 0, 0));
    EXPECT_EQ(mesh.color(vh(0)), Vector3f(0, 0, 0));
}

TEST(ConvertToTriMesh, EmptyMeshStaysEmpty)
{
    TriMesh mesh = grid(2, 2);
    EXPECT_EQ(BaseTriMesh_convert_to_TriMesh(BaseTriMesh(), mesh), 0U);
    EXPECT_EQ(mesh.n_vertices(), 0U);
    BaseTriMesh array = square();
    TriMesh_convert_to_BaseTriMesh(mesh, array);
    EXPECT_EQ(array.get_vn() + array.get_fn(), 0U);
    EXPECT_FALSE(array.has_vNormal || array.has_vColor || array.has_fNormal);
}

TEST(ConvertToBaseTriMesh, KeepsOrderAndCarriesNormalsAndColours)
{
    TriMesh mesh;
    BaseTriMesh_convert_to_TriMesh(square(), mesh);
    BaseTriMesh array;
    array.add_vCoord({9, 9, 9});
    TriMesh_convert_to_BaseTriMesh(mesh, array);
    BaseTriMesh const expected = square();
    EXPECT_EQ(array.vCoord, expected.vCoord);
    EXPECT_EQ(array.vNrv, expected.vNrv);
    EXPECT_EQ(array.vColor, expected.vColor);
    EXPECT_EQ(array.fNrv, expected.fNrv);
    ASSERT_EQ(array.get_fn(), 2U);
    EXPECT_EQ(turned(array.faces[0].v), (std::array<int, 3>{0, 1, 2}));
    EXPECT_EQ(turned(array.faces[1].v), (std::array<int, 3>{0, 2, 3}));
    EXPECT_TRUE(array.is_legal());
}

TEST(ConvertToBaseTriMesh, LeavesOutWhatIsMarkedDeleted)
{
    TriMesh mesh = grid(3, 3);
    mesh.request_vertex_status();
    mesh.request_face_status();
    mesh.request_halfedge_status();
    mesh.request_edge_status();
    mesh.delete_vertex(vh(0), false); // the corner of faces 0 and 1
    BaseTriMesh array;
    TriMesh_convert_to_BaseTriMesh(mesh, array);
    EXPECT_EQ(array.get_vn(), 15U);
    EXPECT_EQ(array.get_fn(), 16U);
    EXPECT_EQ(array.vCoord[0], Vector3f(1, 0, 0));
    EXPECT_EQ(turned(array.faces[0].v), (std::array<int, 3>{0, 1, 5})) << "vertices 1, 2 and 6";
    EXPECT_TRUE(array.is_legal());
    EXPECT_EQ(mesh.n_faces(), 18U) << "the source is as it was";
}

TEST(ConvertToBaseTriMesh, ThereAndBackGivesTheSameMesh)
{
    for (TriMesh const& mesh : {tetrahedron(), pinched_pair(), bow_tie(), sphere(2)})
    {
        BaseTriMesh array;
        TriMesh_convert_to_BaseTriMesh(mesh, array);
        TriMesh back;
        ASSERT_EQ(BaseTriMesh_convert_to_TriMesh(array, back), 0U);
        ASSERT_EQ(back.n_faces(), mesh.n_faces());
        ASSERT_EQ(back.n_edges(), mesh.n_edges());
        for (int f = 0; f < static_cast<int>(mesh.n_faces()); ++f)
        {
            EXPECT_EQ(turned(corners(back, f)), turned(corners(mesh, f)));
        }
    }
}
