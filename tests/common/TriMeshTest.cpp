#include "algorithmVeld/common/TriMesh.h"

#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "swap_support.h"
#include "tests/support/files.h"
#include "tests/support/meshes.h"
#include "tests/support/special_floats.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// Everything that links the elements, in one list.
std::vector<int> links(TriMesh const& mesh)
{
    std::vector<int> list;
    for (auto const v : mesh.all_vertices())
    {
        list.push_back(mesh.halfedge_handle(v).idx());
    }
    for (auto const h : mesh.all_halfedges())
    {
        list.insert(list.end(), {mesh.to_vertex_handle(h).idx(), mesh.next_halfedge_handle(h).idx(),
                                 mesh.prev_halfedge_handle(h).idx(), mesh.face_handle(h).idx()});
    }
    for (auto const f : mesh.all_faces())
    {
        list.push_back(mesh.halfedge_handle(f).idx());
    }
    return list;
}

std::vector<Vector3f> points(TriMesh const& mesh)
{
    return {mesh.points(), mesh.points() + mesh.n_vertices()};
}

void expect_same(TriMesh const& a, TriMesh const& b)
{
    EXPECT_EQ(links(a), links(b));
    EXPECT_EQ(points(a), points(b));
}

void delete_face(TriMesh& mesh, int face, bool isolated_too)
{
    mesh.delete_face(OpenMesh::FaceHandle(face), isolated_too);
}

void request_status(TriMesh& mesh)
{
    mesh.request_vertex_status();
    mesh.request_face_status();
    mesh.request_halfedge_status();
    mesh.request_edge_status();
}

TriMesh grid_with_attributes()
{
    TriMesh mesh = grid_with_hole(2);
    request_status(mesh);
    mesh.request_face_normals();
    mesh.request_vertex_normals();
    mesh.update_normals();
    mesh.request_vertex_colors();
    mesh.request_vertex_texcoords2D();
    mesh.request_halfedge_texcoords2D();
    mesh.request_face_texture_index();
    for (auto const v : mesh.vertices())
    {
        auto const x = static_cast<float>(v.idx());
        mesh.set_color(v, {x, x / 2, 0});
        mesh.set_texcoord2D(v, Vector2f(x, -x));
    }
    for (auto const h : mesh.halfedges())
    {
        mesh.set_texcoord2D(h, Vector2f(static_cast<float>(h.idx()), 1));
    }
    for (auto const f : mesh.faces())
    {
        mesh.set_texture_index(f, f.idx() * 3);
    }
    return mesh;
}

} // namespace

TEST(TriMesh, ClearedMeshCanBeFilledAgainWithItsPropertiesInStep)
{
    TriMesh mesh = grid(3, 3);
    OpenMesh::VPropHandleT<int> vertex_property;
    OpenMesh::FPropHandleT<double> face_property;
    mesh.add_property(vertex_property);
    mesh.add_property(face_property);
    request_status(mesh);
    mesh.request_vertex_normals();
    mesh.property(vertex_property, vh(0)) = 7;
    mesh.status(vh(0)).set_deleted(true);
    static_cast<BaseData&>(mesh).clear();
    EXPECT_EQ(mesh.n_vertices() + mesh.n_edges() + mesh.n_faces(), 0U);
    EXPECT_EQ(mesh.property(vertex_property).n_elements(), 0U);

    for (int i = 0; i < 3; ++i)
    {
        mesh.add_vertex(Vector3f(static_cast<float>(i), static_cast<float>(i * i), 0));
    }
    ASSERT_TRUE(mesh.add_face(vh(0), vh(1), vh(2)).is_valid());
    EXPECT_EQ(mesh.property(vertex_property).n_elements(), 3U);
    EXPECT_EQ(mesh.property(vertex_property, vh(0)), 0) << "no value of the old mesh";
    EXPECT_EQ(mesh.property(face_property).n_elements(), 1U);
    EXPECT_FALSE(mesh.status(vh(0)).deleted());
    EXPECT_TRUE(mesh.has_vertex_normals());
    EXPECT_TRUE(mesh.is_legal());
    mesh.clear();
    mesh.clear();
}

TEST(TriMesh, CopiesAreDeep)
{
    TriMesh mesh = grid(2, 2);
    OpenMesh::VPropHandleT<int> property;
    mesh.add_property(property);
    mesh.property(property, vh(1)) = 11;
    TriMesh copy = mesh;
    mesh.set_point(vh(1), {9, 9, 9});
    mesh.property(property, vh(1)) = 12;
    EXPECT_EQ(copy.point(vh(1)), Vector3f(1, 0, 0));
    EXPECT_EQ(copy.property(property, vh(1)), 11) << "the handle is good for the copy";
    mesh = copy;
    EXPECT_EQ(mesh.point(vh(1)), Vector3f(1, 0, 0));
    mesh.add_vertex({5, 5, 5});
    EXPECT_EQ(copy.n_vertices() + 1, mesh.n_vertices());
}

TEST(TriMesh, CanBeAssignedToItself)
{
    TriMesh mesh = grid(2, 2);
    TriMesh const before = mesh;
    TriMesh const& same = mesh;
    mesh = same;
    expect_same(mesh, before);
}

TEST(TriMesh, LivesInAVector)
{
    std::vector<TriMesh> meshes;
    for (int i = 1; i < 10; ++i)
    {
        meshes.push_back(grid(i, 1));
    }
    meshes.erase(meshes.begin());
    meshes.resize(20);
    EXPECT_EQ(meshes[0].n_faces(), 4U);
    EXPECT_EQ(meshes[7].n_faces(), 18U);
    EXPECT_EQ(meshes[19].n_faces(), 0U);
    expect_same(meshes[3], grid(5, 1));
}

TEST(TriMesh, SqueezeWithoutStatusChangesNothing)
{
    TriMesh mesh = grid(3, 3);
    TriMesh const before = mesh;
    mesh.squeeze();
    expect_same(mesh, before);
    TriMesh empty;
    empty.squeeze();
    request_status(empty);
    empty.squeeze();
    EXPECT_EQ(empty.n_vertices(), 0U);
}

TEST(TriMesh, SqueezeWithSomeStatusAndNothingDeletedChangesNothing)
{
    TriMesh mesh = grid(3, 3);
    TriMesh const before = mesh;
    mesh.request_vertex_status();
    mesh.squeeze();
    mesh.request_face_status();
    mesh.squeeze();
    expect_same(mesh, before);
}

TEST(TriMesh, SqueezeWithStatusOfVerticesAloneFillsTheirGapsFromTheEnd)
{
    TriMesh mesh = grid(2, 2);
    for (int i = 0; i < 3; ++i)
    {
        mesh.add_vertex({static_cast<float>(i), 9, 9});
    }
    TriMesh const before = mesh;
    mesh.request_vertex_status();
    mesh.status(vh(9)).set_deleted(true);
    mesh.squeeze();
    ASSERT_EQ(mesh.n_vertices(), 11U);
    EXPECT_EQ(mesh.point(vh(9)), Vector3f(2, 9, 9));
    EXPECT_EQ(mesh.point(vh(10)), Vector3f(1, 9, 9));
    EXPECT_EQ(mesh.n_faces(), before.n_faces());
    EXPECT_TRUE(mesh.is_legal());
}

TEST(TriMesh, SqueezeRemovesWhatIsMarkedDeleted)
{
    TriMesh mesh = grid(3, 3);
    request_status(mesh);
    delete_face(mesh, 0, true);
    delete_face(mesh, 1, true);
    ASSERT_EQ(mesh.n_faces(), 18U);
    EXPECT_TRUE(mesh.is_legal()) << "what is marked is not looked at";
    static_cast<BaseData&>(mesh).squeeze();
    EXPECT_EQ(mesh.n_faces(), 16U);
    EXPECT_EQ(mesh.n_vertices(), 15U);
    EXPECT_TRUE(mesh.is_legal());
    EXPECT_TRUE(mesh.has_vertex_status());
}

TEST(TriMesh, BoundingBoxLeavesOutWhatIsNotFinite)
{
    TriMesh mesh = grid(2, 3);
    mesh.add_vertex({NOT_A_NUMBER, 50, 50});
    Vector3f min;
    Vector3f max;
    mesh.get_boundBox(min, max);
    EXPECT_EQ(min, Vector3f(0, 0, 0));
    EXPECT_EQ(max, Vector3f(2, 3, 0));
    TriMesh().get_boundBox(min, max);
    EXPECT_EQ(max, Vector3f(0, 0, 0));
}

TEST(TriMesh, LegalMeshesStayAsTheyAreWhenRepaired)
{
    for (TriMesh mesh :
         {TriMesh(), grid(3, 3), tetrahedron(), pinched_pair(), bow_tie(), sphere(1)})
    {
        EXPECT_TRUE(mesh.is_legal());
        TriMesh const before = mesh;
        mesh.repair_illegal();
        expect_same(mesh, before);
        EXPECT_FALSE(mesh.has_vertex_status());
    }
}

TEST(TriMesh, VertexThatIsNotFiniteGoesWithItsFaces)
{
    TriMesh mesh = grid(3, 3);
    mesh.set_point(vh(0), {0, NOT_A_NUMBER, 0}); // a corner with two faces
    mesh.add_vertex({HUGE_VALF, 0, 0});
    EXPECT_FALSE(mesh.is_legal());
    mesh.repair_illegal();
    EXPECT_TRUE(mesh.is_legal());
    EXPECT_EQ(mesh.n_faces(), 16U);
    EXPECT_EQ(mesh.n_vertices(), 15U);
    EXPECT_FALSE(mesh.has_vertex_status());
}

TEST(TriMesh, RepairTakesAnEdgeWithoutFacesOffAVertexThatIsNotFinite)
{
    TriMesh mesh = grid(2, 2);
    add_lone_edge(mesh, {std::numeric_limits<float>::quiet_NaN(), 0, 0}, {6, 0, 0});
    mesh.repair_illegal();
    EXPECT_TRUE(mesh.is_legal());
    EXPECT_EQ(mesh.n_vertices(), 10U);
    EXPECT_EQ(mesh.n_edges(), 16U);
}

TEST(TriMesh, BrokenLinksAreSeenAndRepaired)
{
    auto const expect_repaired = [](TriMesh mesh, size_t least_faces)
    {
        EXPECT_FALSE(mesh.is_legal());
        mesh.repair_illegal();
        EXPECT_TRUE(mesh.is_legal());
        EXPECT_EQ(mesh.n_vertices(), 16U);
        EXPECT_GE(mesh.n_faces(), least_faces);
    };
    using OpenMesh::FaceHandle;
    using OpenMesh::HalfedgeHandle;
    TriMesh mesh = grid(3, 3);
    mesh.set_halfedge_handle(FaceHandle(2), HalfedgeHandle(9999));
    expect_repaired(mesh, 16);
    mesh = grid(3, 3);
    mesh.set_halfedge_handle(vh(5), HalfedgeHandle(-1));
    mesh.set_halfedge_handle(vh(6), HalfedgeHandle(0));
    expect_repaired(mesh, 18);
    mesh = grid(3, 3);
    mesh.set_vertex_handle(HalfedgeHandle(7), vh(4711));
    expect_repaired(mesh, 16);
    mesh = grid(3, 3);
    mesh.set_next_halfedge_handle(HalfedgeHandle(0), HalfedgeHandle(0));
    expect_repaired(mesh, 16);
    mesh = grid(3, 3);
    mesh.set_face_handle(HalfedgeHandle(0), FaceHandle(12345));
    expect_repaired(mesh, 16);
}

TEST(TriMesh, VertexOfAFaceThatPassesForIsolatedIsSeenAndRepaired)
{
    TriMesh mesh = lone_triangle();
    mesh.set_isolated(vh(0));
    EXPECT_FALSE(mesh.is_legal());
    mesh.repair_illegal();
    EXPECT_TRUE(mesh.is_legal());
    EXPECT_FALSE(mesh.is_isolated(vh(0)));
    EXPECT_EQ(points(mesh), points(lone_triangle()));
    EXPECT_EQ(mesh.n_faces(), 1U);
}

TEST(TriMesh, RepairOfBrokenLinksKeepsVerticesAndTheirProperties)
{
    TriMesh mesh = grid(3, 3);
    OpenMesh::VPropHandleT<int> property;
    mesh.add_property(property);
    mesh.property(property, vh(9)) = 99;
    mesh.set_halfedge_handle(OpenMesh::FaceHandle(2), OpenMesh::HalfedgeHandle(-1));
    mesh.repair_illegal();
    EXPECT_EQ(mesh.n_faces(), 17U);
    EXPECT_EQ(mesh.property(property, vh(9)), 99);
    EXPECT_EQ(points(mesh), points(grid(3, 3)));
}

TEST(TriMesh, ReservedArraysDoNotMove)
{
    TriMesh mesh = grid(2, 2);
    mesh.reserve_more(10, 20, 10);
    Vector3f const* const before = mesh.points();
    for (int i = 0; i < 10; ++i)
    {
        mesh.add_vertex({0, 0, 0});
    }
    EXPECT_EQ(mesh.points(), before);
}

TEST(TriMesh, MakingRoomAgainAndAgainSeldomMovesTheArrays)
{
    TriMesh mesh = grid(20, 20);
    int moves = 0;
    Vector3f const* place = mesh.points();
    for (int i = 0; i < 441; ++i)
    {
        mesh.reserve_more(1, 2, 1);
        mesh.add_vertex({0, 0, 0});
        moves += mesh.points() != place ? 1 : 0;
        place = mesh.points();
    }
    EXPECT_LE(moves, 7) << "by an eighth each, from 441 to twice as many";
}

/// A grid whose arrays have no room for anything else.
TriMesh full_grid(int n)
{
    TriMesh const source = grid(n, n);
    TriMesh mesh;
    mesh.reserve(source.n_vertices(), source.n_edges(), source.n_faces());
    for (auto const v : source.vertices())
    {
        mesh.add_vertex(source.point(v));
    }
    for (auto const f : source.faces())
    {
        auto const h = source.halfedge_handle(f);
        mesh.add_face(source.from_vertex_handle(h), source.to_vertex_handle(h),
                      source.opposite_vh(h));
    }
    return mesh;
}

TEST(TriMesh, WhereLittleRoomIsMadeNewerArraysStayWhereTheyAre)
{
    TriMesh mesh = full_grid(8);
    detail::renew_normals(mesh);
    auto const* const normals = mesh.property(mesh.face_normals_pph()).data();
    mesh.reserve_more(1, 2, 1);
    mesh.resize(mesh.n_vertices() + 1, mesh.n_edges() + 2, mesh.n_faces() + 1);
    EXPECT_EQ(mesh.property(mesh.face_normals_pph()).data(), normals);
}

TEST(TriMesh, LinksOfACopyHaveRoomForMore)
{
    TriMesh const mesh = grid(8, 8);
    TriMesh assigned;
    assigned = mesh;
    for (TriMesh copy : {TriMesh(mesh), assigned})
    {
        auto const* const edges = &copy.edge(OpenMesh::EdgeHandle(0));
        auto const* const faces = &copy.face(OpenMesh::FaceHandle(0));
        copy.resize(copy.n_vertices(), copy.n_edges() + 10, copy.n_faces() + 10);
        EXPECT_EQ(&copy.edge(OpenMesh::EdgeHandle(0)), edges);
        EXPECT_EQ(&copy.face(OpenMesh::FaceHandle(0)), faces);
    }
}

TEST(TriMeshSwap, BringsLinksPointsAndAttributesBack)
{
    TriMesh mesh = grid_with_attributes();
    delete_face(mesh, 3, true); // marked only: it stays until the mesh is squeezed
    mesh.status(vh(2)).set_selected(true);
    TriMesh const before = mesh;
    ASSERT_EQ(mesh.swap_out_data(), 0);
    EXPECT_TRUE(std::filesystem::exists(swap_path(mesh)));
    EXPECT_EQ(mesh.n_vertices() + mesh.n_edges() + mesh.n_faces(), 0U);
    EXPECT_EQ(mesh.property(mesh.points_property_handle()).data_vector().capacity(), 0U);
    EXPECT_EQ(mesh.property(mesh.vertex_colors_pph()).data_vector().capacity(), 0U);
    EXPECT_EQ(mesh.swap_out_data(), 0);
    ASSERT_EQ(mesh.swap_in_data(), 0);
    EXPECT_EQ(mesh.swap_in_data(), 0);
    EXPECT_FALSE(has_leftover(swap_path(mesh)));

    expect_same(mesh, before);
    for (auto const v : before.all_vertices())
    {
        EXPECT_EQ(mesh.normal(v), before.normal(v));
        EXPECT_EQ(mesh.color(v), before.color(v));
        EXPECT_EQ(mesh.texcoord2D(v), before.texcoord2D(v));
        EXPECT_EQ(mesh.status(v).bits(), before.status(v).bits());
    }
    for (auto const h : before.all_halfedges())
    {
        EXPECT_EQ(mesh.texcoord2D(h), before.texcoord2D(h));
        EXPECT_EQ(mesh.status(h).bits(), before.status(h).bits());
    }
    for (auto const e : before.all_edges())
    {
        EXPECT_EQ(mesh.status(e).bits(), before.status(e).bits());
    }
    for (auto const f : before.all_faces())
    {
        EXPECT_EQ(mesh.normal(f), before.normal(f));
        EXPECT_EQ(mesh.texture_index(f), before.texture_index(f));
        EXPECT_EQ(mesh.status(f).bits(), before.status(f).bits());
    }
    mesh.squeeze();
    EXPECT_EQ(mesh.n_faces() + 1, before.n_faces());
    EXPECT_TRUE(mesh.is_legal());
}

TEST(TriMeshSwap, KeepsTheRequestsBalanced)
{
    TriMesh mesh = grid(2, 2);
    mesh.request_vertex_normals();
    mesh.request_vertex_normals();
    ASSERT_EQ(mesh.swap_out_data(), 0);
    ASSERT_EQ(mesh.swap_in_data(), 0);
    mesh.release_vertex_normals();
    EXPECT_TRUE(mesh.has_vertex_normals());
    mesh.release_vertex_normals();
    EXPECT_FALSE(mesh.has_vertex_normals());
    EXPECT_FALSE(mesh.has_vertex_status());
}

TEST(TriMeshSwap, PropertiesOfTheHostKeepHandlesAndValues)
{
    TriMesh mesh = grid(2, 2);
    OpenMesh::VPropHandleT<std::string> names;
    OpenMesh::EPropHandleT<bool> marks;
    OpenMesh::FPropHandleT<std::shared_ptr<int>> objects;
    OpenMesh::MPropHandleT<int> version;
    mesh.add_property(names, "names");
    mesh.add_property(marks);
    mesh.add_property(objects);
    mesh.add_property(version);
    mesh.property(names, vh(8)) = "the last one";
    mesh.property(marks, OpenMesh::EdgeHandle(3)) = true;
    mesh.property(objects, OpenMesh::FaceHandle(5)) = std::make_shared<int>(55);
    mesh.property(version) = 4;
    ASSERT_EQ(mesh.swap_out_data(), 0);
    ASSERT_EQ(mesh.swap_in_data(), 0);
    EXPECT_EQ(mesh.property(names, vh(8)), "the last one");
    EXPECT_TRUE(mesh.property(marks, OpenMesh::EdgeHandle(3)));
    EXPECT_FALSE(mesh.property(marks, OpenMesh::EdgeHandle(4)));
    EXPECT_EQ(*mesh.property(objects, OpenMesh::FaceHandle(5)), 55);
    EXPECT_EQ(mesh.property(version), 4);
}

TEST(TriMeshSwap, MeshWithoutElementsCanBeSwapped)
{
    TriMesh mesh;
    EXPECT_EQ(mesh.swap_out_data(), 0);
    EXPECT_EQ(mesh.swap_in_data(), 0);
    EXPECT_EQ(mesh.n_vertices(), 0U);
    for (int i = 0; i < 5; ++i)
    {
        mesh.add_vertex({0, 0, static_cast<float>(i)});
    }
    EXPECT_EQ(mesh.swap_out_data(), 0);
    EXPECT_EQ(mesh.swap_in_data(), 0);
    EXPECT_EQ(mesh.n_vertices(), 5U);
    EXPECT_EQ(mesh.point(vh(4)), Vector3f(0, 0, 4));
}

TEST(TriMeshSwap, MissingOrDamagedFileGivesAnEmptyMeshThatCanBeUsed)
{
    TriMesh const original = lone_triangle();
    for (size_t i = 0;; ++i)
    {
        TriMesh mesh = original;
        OpenMesh::VPropHandleT<int> property;
        mesh.add_property(property);
        ASSERT_EQ(mesh.swap_out_data(), 0);
        std::string bytes = file_content(swap_path(mesh));
        if (i == bytes.size())
        {
            std::filesystem::remove(swap_path(mesh));
            EXPECT_NE(mesh.swap_in_data(), 0);
            EXPECT_EQ(mesh.n_vertices(), 0U);
            break;
        }
        bytes[i] = static_cast<char>(~bytes[i]);
        write_file(swap_path(mesh), bytes);
        EXPECT_NE(mesh.swap_in_data(), 0) << i;
        EXPECT_EQ(mesh.n_vertices() + mesh.n_edges() + mesh.n_faces(), 0U);
        EXPECT_FALSE(has_leftover(swap_path(mesh)));
        mesh.add_vertex({1, 2, 3});
        EXPECT_EQ(mesh.property(property).n_elements(), 1U);
        EXPECT_EQ(mesh.point(vh(0)), Vector3f(1, 2, 3));
    }
}

TEST(TriMeshSwap, CopyOfASwappedMeshBringsTheSameDataBack)
{
    TriMesh mesh = grid_with_attributes();
    OpenMesh::VPropHandleT<int> property;
    mesh.add_property(property);
    mesh.property(property, vh(3)) = 33;
    TriMesh const before = mesh;
    ASSERT_EQ(mesh.swap_out_data(), 0);
    TriMesh copy = mesh;
    TriMesh assigned = grid(5, 5);
    assigned = mesh;
    mesh.clear();
    for (TriMesh* const other : {&copy, &assigned})
    {
        EXPECT_EQ(other->n_vertices(), 0U);
        ASSERT_EQ(other->swap_in_data(), 0);
        expect_same(*other, before);
        EXPECT_EQ(other->property(property, vh(3)), 33);
        EXPECT_EQ(other->color(vh(4)), before.color(vh(4)));
    }
}

TEST(TriMeshSwap, GrowingVectorKeepsSwappedMeshes)
{
    std::vector<TriMesh> meshes;
    for (int i = 1; i < 9; ++i)
    {
        meshes.push_back(grid(i, 1));
        ASSERT_EQ(meshes.back().swap_out_data(), 0);
    }
    for (int i = 1; i < 9; ++i)
    {
        auto& mesh = meshes[static_cast<size_t>(i - 1)];
        ASSERT_EQ(mesh.swap_in_data(), 0);
        expect_same(mesh, grid(i, 1));
    }
}
